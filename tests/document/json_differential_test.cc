// The codec against the protobuf runtime's own JSON (MessageToJsonString and
// JsonStringToMessage, the reference here and nowhere in the library): for
// every record of the library filled in several ways, edge values
// included, and for sample documents, each reads what the other writes to
// the same record, and both write the same members with the same values.
#include <gcuschema/document/io.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <google/protobuf/util/json_util.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/document/records.h>
#include <gcuschema/document/samples.h>

#include "support/fill.h"
#include "support/wire.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;
using test::EdgeDoubles;
using test::EdgeFloats;

// The runtime prints a singular float holding -0.0 (it decides presence by
// the bits); the records do not write it, nor does the codec.
void DropNegativeZeroMembers(nlohmann::json* value) {
  if (value->is_object()) {
    for (auto it = value->begin(); it != value->end();) {
      if (it->is_number_float() && it->get<double>() == 0 && std::signbit(it->get<double>())) {
        it = value->erase(it);
      } else {
        DropNegativeZeroMembers(&*it);
        ++it;
      }
    }
  } else if (value->is_array()) {
    for (nlohmann::json& element : *value) {
      if (element.is_object()) DropNegativeZeroMembers(&element);
    }
  }
}

// Numbers compared by value: the codec writes the shortest text that reads
// back (for a float, as a float), the runtime up to 17 digits (9 for a
// float); a zero's sign is left to the byte comparisons, as the runtime
// writes a negative zero "-0", which JSON readers take for the integer 0.
bool SameJson(const nlohmann::json& a, const nlohmann::json& b) {
  if (a.is_number() && b.is_number()) {
    const double x = a.get<double>();
    const double y = b.get<double>();
    return x == y || static_cast<float>(x) == static_cast<float>(y);
  }
  if (a.type() != b.type() || a.size() != b.size()) return false;
  if (a.is_object()) {
    for (auto it = a.begin(); it != a.end(); ++it) {
      if (!b.contains(it.key()) || !SameJson(*it, b.at(it.key()))) return false;
    }
    return true;
  }
  if (a.is_array()) {
    for (std::size_t i = 0; i < a.size(); ++i) {
      if (!SameJson(a[i], b[i])) return false;
    }
    return true;
  }
  return a == b;
}

void ExpectAgreesWithRuntime(const pb::Message& record, const std::string& what) {
  WriteOptions plain;
  plain.expand = false;
  const std::string ours = WriteString(record, Format::kJson, plain);
  std::string runtime;
  ASSERT_TRUE(pb::util::MessageToJsonString(record, &runtime).ok()) << what;
  const std::string bytes = test::Encode(record);

  // The runtime reads the codec's JSON to the same record...
  std::unique_ptr<pb::Message> by_runtime(record.New());
  const auto status = pb::util::JsonStringToMessage(ours, by_runtime.get());
  ASSERT_TRUE(status.ok()) << what << ": " << status.ToString() << "\n" << ours.substr(0, 2000);
  EXPECT_EQ(test::Hex(test::Encode(*by_runtime)), test::Hex(bytes)) << what;

  // ...and the codec reads the runtime's.
  std::unique_ptr<pb::Message> by_codec(record.New());
  Read(runtime, by_codec.get(), ReadOptions{Format::kJson});
  EXPECT_EQ(test::Hex(test::Encode(*by_codec)), test::Hex(bytes)) << what;

  // The same members with the same values.
  nlohmann::json expected = nlohmann::json::parse(runtime);
  DropNegativeZeroMembers(&expected);
  EXPECT_TRUE(SameJson(nlohmann::json::parse(ours), expected)) << what << "\nours:    " << ours.substr(0, 2000)
                                                               << "\nruntime: " << runtime.substr(0, 2000);
}

TEST(JsonDifferentialTest, EveryRecordFilledEveryWayAgreesWithTheRuntime) {
  const std::vector<const pb::Descriptor*> records = test::EveryRecord();
  ASSERT_EQ(records.size(), 68u);
  for (const pb::Descriptor* type : records) {
    for (std::uint32_t seed = 1; seed <= 6; ++seed) {
      std::unique_ptr<pb::Message> record = NewRecord(type);
      test::Fill(record.get(), seed);
      ExpectAgreesWithRuntime(*record, type->full_name() + " seed " + std::to_string(seed));
    }
  }
}

TEST(JsonDifferentialTest, EdgeValuesOneByOne) {
  for (float v : EdgeFloats()) {
    ConfigData doc;
    doc.add_inputs()->set_minvalue(v);
    // A NaN with its sign bit set has no spelling in plain JSON.
    doc.mutable_inputs(0)->set_maxvalue(std::isnan(v) ? v : -v);
    ExpectAgreesWithRuntime(doc, "float " + std::to_string(v));
  }
  for (double v : EdgeDoubles()) {
    ConfigData doc;
    Estimations* estimation = doc.add_estimationdata();
    estimation->set_ymaxsaturation(v);
    estimation->add_thetavalues(v);
    ExpectAgreesWithRuntime(doc, "double " + std::to_string(v));
  }
}

TEST(JsonDifferentialTest, SampleDocuments) {
  SampleOptions options;
  options.inputs = 300;
  for (std::uint64_t seed : {1, 2, 3}) {
    options.seed = seed;
    ConfigData config;
    SampleConfig(options, &config);
    ExpectAgreesWithRuntime(config, "config");
    DeviceData image;
    SampleDeviceData(options, &image);
    ExpectAgreesWithRuntime(image, "device data");
    CalibrationData calibration;
    SampleCalibration(options, &calibration);
    ExpectAgreesWithRuntime(calibration, "calibration");
  }
}

// Where the mapping leaves room, the codec decides as the runtime does:
// the bytes each makes of `text` read as a `T`, or "refused".
template <typename T>
std::string RuntimeReads(const std::string& text) {
  T record;
  if (!pb::util::JsonStringToMessage(text, &record).ok()) return "refused";
  return test::Hex(test::Encode(record));
}

template <typename T>
std::string CodecReads(const std::string& text) {
  T record;
  try {
    Read(text, &record, ReadOptions{Format::kJson});
  } catch (const Error&) {
    return "refused";
  }
  return test::Hex(test::Encode(record));
}

TEST(JsonDifferentialTest, AQuotedIntegerWithAPlusSignIsReadLikeTheRuntime) {
  // Input.id is field 1, an int32.
  const std::string text = R"({"id": "+5"})";
  EXPECT_EQ(RuntimeReads<Input>(text), test::Hex(test::Bytes({0x08, 0x05})));
  EXPECT_EQ(CodecReads<Input>(text), test::Hex(test::Bytes({0x08, 0x05})));
  // A sign alone or two signs are no number to either.
  for (const char* wrong : {R"({"id": "+"})", R"({"id": "+-5"})", R"({"id": "++5"})"}) {
    EXPECT_EQ(RuntimeReads<Input>(wrong), "refused") << wrong;
    EXPECT_EQ(CodecReads<Input>(wrong), "refused") << wrong;
  }
}

TEST(JsonDifferentialTest, AnEnumerationGivenAsAnIntegralFloatIsReadLikeTheRuntime) {
  // Units.pressureUnit is field 1; 1 is Bar.
  const std::string text = R"({"pressureUnit": 1.0})";
  EXPECT_EQ(RuntimeReads<Units>(text), test::Hex(test::Bytes({0x08, 0x01})));
  EXPECT_EQ(CodecReads<Units>(text), test::Hex(test::Bytes({0x08, 0x01})));
  const std::string fraction = R"({"pressureUnit": 1.5})";
  EXPECT_EQ(RuntimeReads<Units>(fraction), "refused");
  EXPECT_EQ(CodecReads<Units>(fraction), "refused");
}

TEST(JsonDifferentialTest, EmptyTextIsRefusedLikeTheRuntimeRefusesIt) {
  for (const char* text : {"", " \n\t"}) {
    EXPECT_EQ(RuntimeReads<ConfigData>(text), "refused");
    ConfigData record;
    try {
      Read(text, &record, ReadOptions{Format::kJson});
      ADD_FAILURE() << "empty text accepted";
    } catch (const Error& e) {
      EXPECT_EQ(e.message(), "the text holds no JSON value; expected an object holding a ConfigData");
      EXPECT_EQ(e.where().rfind("line ", 0), 0u) << e.where();
    }
  }
}

}  // namespace
}  // namespace gcuschema::document
