// The JSON the codec makes by walking records is the JSON the protobuf
// runtime prints: for every record of the library with every field set (in
// several ways, edge values included), against MessageToJsonString itself
// and against the codec's reference path through the runtime; and written
// in pieces, on any number of threads, it is what one dump of it gives.
#include <gcuschema/document/json.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/util/json_util.h>
#include <gtest/gtest.h>

#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/document/records.h>
#include <gcuschema/document/samples.h>

#include "support/wire.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;
using pb::FieldDescriptor;

float Float(std::uint32_t bits) {
  float value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

const std::vector<double>& EdgeDoubles() {
  static const std::vector<double> values = {
      -0.0, 0.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
      -std::numeric_limits<double>::infinity(), 1, -1, 0.1, 1.0 / 3, 999999, 999999.5, 1e6, -1e6, 1e15, 1e16,
      1e21, 123456789012345678.0, 5e-324, 2.2250738585072014e-308, std::numeric_limits<double>::max(),
      -std::numeric_limits<double>::max(), 0.30000000000000004, 4294967296.0, -9223372036854775808.0,
      18446744073709551616.0, 1e-7, 1.5e300};
  return values;
}

const std::vector<float>& EdgeFloats() {
  static const std::vector<float> values = {
      -0.0f, 0.0f, std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
      -std::numeric_limits<float>::infinity(), 1, -1, 0.1f, 1.0f / 3, 999999, 999999.5f, 1e6f, -1e6f,
      16777216.0f, 16777217.0f, 123456789.0f, 1e10f, Float(1), Float(0x00800000u),
      std::numeric_limits<float>::max(), -std::numeric_limits<float>::max(), -40.5f, 3001, 1e-7f, 2.5e-5f};
  return values;
}

// Sets every field of `record`: singular fields to a value chosen by
// `seed` (edge values among them), lists to several values including
// every edge value, sub-records in turn down to `depth`.
void Fill(pb::Message* record, std::uint32_t seed, int depth = 3) {
  const pb::Descriptor* type = record->GetDescriptor();
  const pb::Reflection* r = record->GetReflection();
  for (int i = 0; i < type->field_count(); ++i) {
    const FieldDescriptor* field = type->field(i);
    const std::uint32_t pick = seed * 7919u + static_cast<std::uint32_t>(i) * 104729u;
    const bool list = field->is_repeated();
    switch (field->cpp_type()) {
      case FieldDescriptor::CPPTYPE_INT32: {
        const std::vector<std::int32_t> values = {-7, 0, 1, std::numeric_limits<std::int32_t>::min(),
                                                  std::numeric_limits<std::int32_t>::max(), -1,
                                                  static_cast<std::int32_t>(pick % 100000)};
        if (list) {
          for (std::int32_t v : values) r->AddInt32(record, field, v);
        } else {
          r->SetInt32(record, field, values[pick % values.size()]);
        }
        break;
      }
      case FieldDescriptor::CPPTYPE_INT64: {
        const std::vector<std::int64_t> values = {-(1LL << 40), std::numeric_limits<std::int64_t>::min(),
                                                  std::numeric_limits<std::int64_t>::max(), 3, -1};
        if (list) {
          for (std::int64_t v : values) r->AddInt64(record, field, v);
        } else {
          r->SetInt64(record, field, values[pick % values.size()]);
        }
        break;
      }
      case FieldDescriptor::CPPTYPE_UINT32: {
        const std::vector<std::uint32_t> values = {4000000000u, 0, 1, std::numeric_limits<std::uint32_t>::max(),
                                                   pick % 70000u};
        if (list) {
          for (std::uint32_t v : values) r->AddUInt32(record, field, v);
        } else {
          r->SetUInt32(record, field, values[pick % values.size()]);
        }
        break;
      }
      case FieldDescriptor::CPPTYPE_UINT64: {
        const std::vector<std::uint64_t> values = {1ULL << 60, 0, std::numeric_limits<std::uint64_t>::max(), 9};
        if (list) {
          for (std::uint64_t v : values) r->AddUInt64(record, field, v);
        } else {
          r->SetUInt64(record, field, values[pick % values.size()]);
        }
        break;
      }
      case FieldDescriptor::CPPTYPE_FLOAT:
        if (list) {
          for (float v : EdgeFloats()) r->AddFloat(record, field, v);
          r->AddFloat(record, field, static_cast<float>(pick % 1000) / 7.0f);
        } else {
          r->SetFloat(record, field, EdgeFloats()[pick % EdgeFloats().size()]);
        }
        break;
      case FieldDescriptor::CPPTYPE_DOUBLE:
        if (list) {
          for (double v : EdgeDoubles()) r->AddDouble(record, field, v);
          r->AddDouble(record, field, static_cast<double>(pick % 1000) / 7.0);
        } else {
          r->SetDouble(record, field, EdgeDoubles()[pick % EdgeDoubles().size()]);
        }
        break;
      case FieldDescriptor::CPPTYPE_BOOL:
        if (list) {
          r->AddBool(record, field, true);
          r->AddBool(record, field, false);
        } else {
          r->SetBool(record, field, pick % 3 != 0);
        }
        break;
      case FieldDescriptor::CPPTYPE_ENUM: {
        const pb::EnumDescriptor* e = field->enum_type();
        // Named values, and numbers the enumeration does not name.
        const std::vector<int> values = {e->value(e->value_count() - 1)->number(), e->value(0)->number(), 1000, -3};
        if (list) {
          for (int v : values) r->AddEnumValue(record, field, v);
        } else {
          r->SetEnumValue(record, field, values[pick % values.size()]);
        }
        break;
      }
      case FieldDescriptor::CPPTYPE_STRING: {
        const bool bytes = field->type() == FieldDescriptor::TYPE_BYTES;
        const std::vector<std::string> values =
            bytes ? std::vector<std::string>{std::string("\x00\xFF\x7F", 3), "", "abc", std::string(1, '\xFB')}
                  : std::vector<std::string>{"caf\xC3\xA9 \"q\"\n", "", "\\/\t\x01", "\xF0\x9F\x98\x80 e\xE2\x80\xA8"};
        if (list) {
          for (const std::string& v : values) r->AddString(record, field, v);
        } else {
          r->SetString(record, field, values[pick % values.size()]);
        }
        break;
      }
      case FieldDescriptor::CPPTYPE_MESSAGE:
        if (depth > 0) {
          if (list) {
            Fill(r->AddMessage(record, field), seed + 1, depth - 1);
            r->AddMessage(record, field);  // an empty element
            Fill(r->AddMessage(record, field), seed + 2, depth - 1);
          } else if (pick % 5 == 0) {
            r->MutableMessage(record, field);  // present but empty
          } else {
            Fill(r->MutableMessage(record, field), seed + 3, depth - 1);
          }
        }
        break;
    }
  }
}

std::vector<const pb::Descriptor*> EveryRecord() {
  std::vector<const pb::Descriptor*> records;
  std::vector<const pb::Descriptor*> pending;
  for (const std::string& name : SchemaFileNames()) {
    const pb::FileDescriptor* file = pb::DescriptorPool::generated_pool()->FindFileByName(name);
    for (int i = 0; file && i < file->message_type_count(); ++i) pending.push_back(file->message_type(i));
  }
  while (!pending.empty()) {
    const pb::Descriptor* type = pending.back();
    pending.pop_back();
    records.push_back(type);
    for (int i = 0; i < type->nested_type_count(); ++i) pending.push_back(type->nested_type(i));
  }
  return records;
}

JsonCodec Codec(JsonCodec::Engine engine, bool with_maps = true) {
  PairingCatalogue pairing = PairingCatalogue::Standard();
  if (with_maps) pairing.SetMapTable(FindRecord("Map3D"));
  JsonCodec codec(pairing);
  codec.set_engine(engine);
  return codec;
}

// Both ways, as text: every character must agree.
void ExpectWalkIsRuntime(const pb::Message& record, const std::string& what) {
  for (bool expand : {false, true}) {
    const std::string walked = Codec(JsonCodec::Engine::kWalk).ToJson(record, expand).dump(1);
    const std::string printed = Codec(JsonCodec::Engine::kRuntime).ToJson(record, expand).dump(1);
    EXPECT_EQ(walked, printed) << what << (expand ? " expanded" : "");
  }
}

TEST(JsonWalkTest, EveryRecordFilledEveryWayIsWhatTheRuntimePrints) {
  const std::vector<const pb::Descriptor*> records = EveryRecord();
  ASSERT_GT(records.size(), 35u);
  int compared = 0;
  for (const pb::Descriptor* type : records) {
    for (std::uint32_t seed = 1; seed <= 6; ++seed) {
      std::unique_ptr<pb::Message> record = NewRecord(type);
      Fill(record.get(), seed);
      const std::string what = type->full_name() + " seed " + std::to_string(seed);

      // The runtime's own printer: the same members and values (read back,
      // so that the order of keys does not count, and its "-0" for a
      // negative zero equals the walk's -0.0).
      std::string runtime;
      pb::util::JsonPrintOptions options;
      options.preserve_proto_field_names = true;
      ASSERT_TRUE(pb::util::MessageToJsonString(*record, &runtime, options).ok()) << what;
      const Json walked = Codec(JsonCodec::Engine::kWalk).ToJson(*record, false);
      EXPECT_EQ(nlohmann::json::parse(walked.dump()), nlohmann::json::parse(runtime)) << what << "\n" << runtime;

      ExpectWalkIsRuntime(*record, what);
      ++compared;
    }
  }
  EXPECT_EQ(compared, static_cast<int>(records.size()) * 6);
}

TEST(JsonWalkTest, EdgeValuesOneByOne) {
  // Each edge value alone in a singular field, where presence is decided
  // by the value (a zero of either sign is left out, a NaN is not).
  for (float v : EdgeFloats()) {
    ConfigData doc;
    doc.add_inputs()->set_minvalue(v);
    doc.mutable_inputs(0)->set_maxvalue(-v);
    ExpectWalkIsRuntime(doc, "float " + std::to_string(v));
  }
  for (double v : EdgeDoubles()) {
    ConfigData doc;
    Estimations* estimation = doc.add_estimationdata();
    estimation->set_ymaxsaturation(v);
    estimation->add_thetavalues(v);
    ExpectWalkIsRuntime(doc, "double " + std::to_string(v));
  }
  const Json j = Codec(JsonCodec::Engine::kWalk).ToJson([] {
    ConfigData doc;
    doc.add_inputs()->set_minvalue(-0.0f);
    doc.add_estimationdata()->add_thetavalues(-0.0);
    return doc;
  }());
  EXPECT_FALSE(j["inputs"][0].contains("minValue"));
  EXPECT_TRUE(std::signbit(j["estimationData"][0]["thetaValues"][0].get<double>()));
}

TEST(JsonWalkTest, UnknownFieldsAndSettingsOfEveryPairedRecord) {
  const JsonCodec codec = Codec(JsonCodec::Engine::kWalk);
  for (const auto& [key, settings] : codec.pairing().entries()) {
    std::unique_ptr<pb::Message> record = NewRecord(settings);
    Fill(record.get(), static_cast<std::uint32_t>(key.second) + 1);
    const std::string bytes = test::Encode(*record);
    ConfigData doc;
    switch (key.first) {
      case EntryKind::kInput:
        doc.add_inputs()->set_type(key.second);
        doc.mutable_inputs(0)->set_config(bytes);
        doc.add_inputs()->set_type(key.second);  // empty settings
        break;
      case EntryKind::kOutput:
        doc.add_outputs()->set_type(key.second);
        doc.mutable_outputs(0)->set_config(bytes);
        break;
      case EntryKind::kMap:
        doc.add_maps()->set_type(static_cast<Map_MapType>(key.second));
        doc.mutable_maps(0)->set_config(bytes);
        break;
      default:
        continue;
    }
    // Unknown fields at the top and inside an element.
    std::string encoded = test::Encode(doc) + test::Bytes({0x98, 0x06, 0x2A});
    ConfigData with_unknown;
    ASSERT_TRUE(with_unknown.ParseFromString(encoded));
    Units* units = with_unknown.mutable_units();
    units->GetReflection()->MutableUnknownFields(units)->AddVarint(77, 5);
    ExpectWalkIsRuntime(with_unknown, settings->full_name());
  }
}

TEST(JsonWalkTest, SampleDocuments) {
  SampleOptions options;
  options.inputs = 300;
  for (std::uint64_t seed : {1, 2, 3}) {
    options.seed = seed;
    ConfigData config;
    SampleConfig(options, &config);
    ExpectWalkIsRuntime(config, "config");
    DeviceData image;
    SampleDeviceData(options, &image);
    ExpectWalkIsRuntime(image, "device data");
    CalibrationData calibration;
    SampleCalibration(options, &calibration);
    ExpectWalkIsRuntime(calibration, "calibration");
  }
}

TEST(JsonWalkTest, RecordsTheWalkLeavesToTheRuntimeStillPrint) {
  // Text that is not UTF-8 cannot come from parsing, but can be set.
  ConfigData doc;
  doc.set_gcuno("ok");
  doc.add_inputs()->set_alias("bad \xC3");
  const JsonCodec walk = Codec(JsonCodec::Engine::kWalk);
  const JsonCodec runtime = Codec(JsonCodec::Engine::kRuntime);
  std::string walked;
  std::string printed;
  try {
    walked = walk.ToJsonText(doc);
  } catch (const std::exception& e) {
    walked = std::string("error: ") + e.what();
  }
  try {
    printed = runtime.ToJsonText(doc);
  } catch (const std::exception& e) {
    printed = std::string("error: ") + e.what();
  }
  EXPECT_EQ(walked, printed);
}

TEST(JsonPiecesTest, SameAsOneDumpForAnyIndentAndThreads) {
  SampleOptions options;
  options.inputs = 3000;
  ConfigData config;
  SampleConfig(options, &config);
  DeviceData image;
  SampleDeviceData({200, 4}, &image);
  CalibrationData calibration;
  SampleCalibration(options, &calibration);
  ConfigData small;
  small.add_inputs()->set_id(1);
  const ConfigData empty;
  const std::vector<const pb::Message*> records = {&config, &image, &calibration, &small, &empty};
  JsonCodec reference = Codec(JsonCodec::Engine::kRuntime);
  for (const pb::Message* record : records) {
    for (bool expand : {true, false}) {
      const Json j = reference.ToJson(*record, expand);
      for (int indent : {-1, 0, 1, 2, 4}) {
        const std::string expected = j.dump(indent);
        for (int threads : {1, 2, 3}) {
          JsonCodec codec = Codec(JsonCodec::Engine::kWalk);
          codec.set_threads(threads);
          const TextPieces pieces = codec.ToJsonPieces(*record, expand, indent);
          EXPECT_TRUE(pieces.ToString() == expected)
              << record->GetDescriptor()->full_name() << " indent " << indent << " threads " << threads;
          EXPECT_TRUE(codec.ToJson(*record, expand) == j) << record->GetDescriptor()->full_name();
        }
      }
    }
  }
}

TEST(JsonPiecesTest, WrittenAsItIsMadeInOrder) {
  ConfigData config;
  SampleConfig({3000, 2}, &config);
  ConfigData small;
  small.set_gcuno("x");
  for (const ConfigData* record : {&config, &small}) {
    for (int threads : {1, 2, 3}) {
      JsonCodec codec;
      codec.set_threads(threads);
      std::string written;
      int calls = 0;
      // The pieces are valid during the call only: copied at once.
      codec.WriteJson(*record, [&](const std::vector<std::string_view>& pieces) {
        ++calls;
        for (std::string_view piece : pieces) written.append(piece.data(), piece.size());
      });
      EXPECT_TRUE(written == codec.ToJson(*record).dump(2)) << threads;
      if (record == &config) EXPECT_GT(calls, 4) << threads;
    }
  }
  // A record the walk leaves to the runtime is written whole, the same.
  ConfigData bad;
  bad.add_inputs()->set_alias("bad \xC3");
  std::string written;
  std::string error;
  try {
    JsonCodec().WriteJson(bad, [&](const std::vector<std::string_view>& pieces) {
      for (std::string_view piece : pieces) written.append(piece.data(), piece.size());
    });
  } catch (const std::exception& e) {
    error = e.what();
  }
  std::string expected;
  std::string expected_error;
  try {
    expected = Codec(JsonCodec::Engine::kRuntime).ToJsonText(bad);
  } catch (const std::exception& e) {
    expected_error = e.what();
  }
  EXPECT_EQ(written, expected);
  EXPECT_EQ(error, expected_error);
}

TEST(JsonPiecesTest, LargeListsAreWrittenInManyPieces) {
  ConfigData config;
  SampleConfig({3000, 2}, &config);
  JsonCodec codec;
  codec.set_threads(2);
  const TextPieces pieces = codec.ToJsonPieces(config);
  EXPECT_GT(pieces.pieces().size(), 4u);
  EXPECT_TRUE(pieces.ToString() == codec.ToJson(config).dump(2));
}

}  // namespace
}  // namespace gcuschema::document
