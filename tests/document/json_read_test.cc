// JSON read by the codec's walk (text or tree) gives what the protobuf
// runtime's JSON parser gives (the reference way of the codec): the same
// record, or the same error, for what the codec writes and for hand-written
// variations.
#include <gcuschema/document/json.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/MapConfig.pb.h>
#include <gcuschema/PhonicWheelConfiguration.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>
#include <gcuschema/document/samples.h>

#include "support/wire.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;

JsonCodec Codec(JsonCodec::Engine engine) {
  PairingCatalogue pairing = PairingCatalogue::Standard();
  pairing.SetMapTable(FindRecord("Map3D"));
  JsonCodec codec(pairing);
  codec.set_engine(engine);
  return codec;
}

// The bytes of the record read, or the error, with `start` as what the
// record held before.
std::string Read(JsonCodec::Engine engine, const std::string& text, const pb::Descriptor* type,
                 const std::string& start = "") {
  std::unique_ptr<pb::Message> record = NewRecord(type);
  EXPECT_TRUE(record->ParseFromString(start));
  try {
    Codec(engine).FromJsonText(text, record.get());
  } catch (const Error& e) {
    return std::string("error at ") + e.where() + ": " + e.message();
  }
  return test::Hex(test::Encode(*record));
}

// The same from a tree (FromJson), when the text is JSON at all.
std::string ReadTree(JsonCodec::Engine engine, const Json& tree, const pb::Descriptor* type, const std::string& start) {
  std::unique_ptr<pb::Message> record = NewRecord(type);
  EXPECT_TRUE(record->ParseFromString(start));
  try {
    Codec(engine).FromJson(tree, record.get());
  } catch (const Error& e) {
    return std::string("error at ") + e.where() + ": " + e.message();
  }
  return test::Hex(test::Encode(*record));
}

void ExpectSameRead(const std::string& text, const pb::Descriptor* type = ConfigData::descriptor(),
                    const std::string& start = "") {
  EXPECT_EQ(Read(JsonCodec::Engine::kWalk, text, type, start), Read(JsonCodec::Engine::kRuntime, text, type, start))
      << text.substr(0, 400);
  const Json tree = Json::parse(text, nullptr, false);
  if (tree.is_discarded()) return;
  EXPECT_EQ(ReadTree(JsonCodec::Engine::kWalk, tree, type, start),
            ReadTree(JsonCodec::Engine::kRuntime, tree, type, start))
      << text.substr(0, 400);
}

TEST(JsonReadTest, WhatTheCodecWritesReadsBackAlike) {
  SampleOptions options;
  options.inputs = 400;
  for (std::uint64_t seed : {1, 2}) {
    options.seed = seed;
    ConfigData config;
    SampleConfig(options, &config);
    DeviceData image;
    SampleDeviceData(options, &image);
    for (bool expand : {true, false}) {
      for (int indent : {-1, 2}) {
        const std::string config_text = Codec(JsonCodec::Engine::kWalk).ToJsonText(config, expand, indent);
        ExpectSameRead(config_text);
        EXPECT_EQ(Read(JsonCodec::Engine::kWalk, config_text, ConfigData::descriptor()),
                  test::Hex(test::Encode(config)));
        ExpectSameRead(Codec(JsonCodec::Engine::kWalk).ToJsonText(image, expand, indent), DeviceData::descriptor());
      }
    }
  }
}

// Floats and doubles of many bit patterns, as written and as a person
// might write them.
TEST(JsonReadTest, FloatsAndDoublesOfEveryKind) {
  std::uint64_t state = 12345;
  auto next = [&state] {
    state += 0x9E3779B97F4A7C15ULL;
    std::uint64_t z = state;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
  };
  PhonicWheelConfiguration wheel;
  for (int i = 0; i < 3000; ++i) {
    const auto bits = static_cast<std::uint32_t>(next());
    float value;
    std::memcpy(&value, &bits, sizeof value);
    if (std::isnan(value)) continue;
    wheel.add_referencebpvoltage(value);
  }
  for (float value : {0.1f, -0.0f, 3.4028235e38f, 1e-45f, 16777217.0f, 1e6f, 999999.5f}) {
    wheel.add_referencebpvoltage(value);
  }
  ConfigData doc;
  doc.add_inputs()->set_type(Input::PhonicWheelInput);
  doc.mutable_inputs(0)->set_config(test::Encode(wheel));
  for (int i = 0; i < 2000; ++i) {
    const std::uint64_t bits = next();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    if (!std::isnan(value)) doc.add_estimationdata()->add_thetavalues(value);
  }
  const std::string text = Codec(JsonCodec::Engine::kWalk).ToJsonText(doc);
  ExpectSameRead(text);
  EXPECT_EQ(Read(JsonCodec::Engine::kWalk, text, ConfigData::descriptor()), test::Hex(test::Encode(doc)));

  for (const char* number :
       {"0.1", "1.00000001", "3.4028235e38", "3.4028236e38", "3.5e38", "1e-50", "-0", "-0.0", "1e400", "16777217",
        "16777216", "-16777217", "123456789", "0.30000000000000004", "2.5e-45", "7e-46", "1", "-1", "1.5E3",
        "\"1.5\"", "\"NaN\"", "\"Infinity\"", "\"-Infinity\"", "\"nan\"", "true", "null", "[]", "{}"}) {
    const std::string n = number;
    ExpectSameRead("{\"inputs\": [{\"minValue\": " + n + "}]}");
    ExpectSameRead("{\"estimationData\": [{\"yMaxSaturation\": " + n + ", \"thetaValues\": [" + n + "]}]}");
    ExpectSameRead("{\"maps\": [{\"type\": \"Interpolated3dMap\", \"config\": {\"@type\": \"Map3D\", \"values\": [" + n +
                   "]}}]}");
    ExpectSameRead("{\"inputs\": [{\"type\": \"PhonicWheelInput\", \"config\": {\"@type\": \"PhonicWheelConfiguration\", "
                   "\"referenceBpVoltage\": [" + n + "]}}]}");
  }
}

TEST(JsonReadTest, IntegersEnumerationsStringsAndBytes) {
  for (const char* value :
       {"0", "7", "-7", "2147483647", "2147483648", "-2147483648", "-2147483649", "4294967295", "4294967296", "1.0",
        "1e2", "\"7\"", "\"-7\"", "\" 7\"", "\"x\"", "true", "null", "18446744073709551615", "-9223372036854775808"}) {
    const std::string v = value;
    ExpectSameRead("{\"version\": " + v + "}");
    ExpectSameRead("{\"inputs\": [{\"id\": " + v + ", \"type\": " + v + "}]}");
    ExpectSameRead("{\"canbus\": [{\"baudrate\": " + v + "}]}");
  }
  for (const char* value : {"\"AdcInput\"", "\"adcinput\"", "\"NoSuchType\"", "3", "1000", "-1", "\"3\""}) {
    ExpectSameRead(std::string("{\"inputs\": [{\"type\": ") + value + "}]}");
  }
  for (const char* value : {"\"\"", "\"caf\\u00e9 \\\"q\\\"\\n\"", "\"\\ud83d\\ude00\"", "7", "null"}) {
    ExpectSameRead(std::string("{\"gcuNo\": ") + value + ", \"inputs\": [{\"alias\": " + value + "}]}");
  }
  for (const char* value : {"\"AP8Q\"", "\"AP8\"", "\"AP8=\"", "\"AP-_\"", "\"AP+/\"", "\"A\"", "\"@@\"", "\"\"", "7"}) {
    ExpectSameRead(std::string("{\"inputs\": [{\"type\": 5, \"config\": ") + value + "}]}");
    ExpectSameRead(std::string("{\"dynamicAdaptation\": ") + value + "}", DeviceData::descriptor());
  }
}

TEST(JsonReadTest, HandWrittenShapes) {
  const std::vector<std::string> texts = {
      "{}",
      "[]",
      "7",
      "{\"version\": 1, \"version\": 2}",
      "{\"inputs\": [{}, {\"id\": 2}], \"inputs\": [{\"id\": 3}]}",
      "{\"gcuNo\": \"a\", \"bogus\": 1}",
      "{\"canObjectCount\": 3, \"canobjectcount\": 4}",
      "{\"inputs\": [{\"dataloggerChannel\": 3}]}",
      "{\"inputs\": [{\"datalogger_channel\": 3}]}",
      "{\"inputs\": {\"id\": 1}}",
      "{\"inputs\": [1]}",
      "{\"inputs\": [null]}",
      "{\"inputs\": null}",
      "{\"units\": null}",
      "{\"units\": {}}",
      "{\"units\": {\"pressureUnit\": \"Bar\"}, \"units\": {}}",
      "{\"@type\": \"ConfigData\", \"version\": 1}",
      "{\"version\": 1, \"@type\": \"DeviceData\"}",
      "{\"@unknown\": \"mAYq\"}",
      "{\"@unknown\": \"mAY\"}",
      "{\"@unknown\": \"***\"}",
      "{\"@unknown\": 7}",
      "{\"inputs\": [{\"id\": 2, \"@unknown\": \"mAYq\"}, {\"@unknown\": \"mAYq\", \"id\": 3}]}",
      "{\"inputs\": [{\"type\": 0, \"config\": {\"@type\": \"AdcConfiguration\", \"range\": \"range12V\"}}]}",
      "{\"inputs\": [{\"type\": 0, \"config\": {\"range\": \"range12V\", \"@type\": \"AdcConfiguration\"}}]}",
      "{\"inputs\": [{\"type\": 0, \"config\": {\"@type\": \"NoSuch\"}}]}",
      "{\"inputs\": [{\"type\": 0, \"config\": {\"@type\": 7}}]}",
      "{\"inputs\": [{\"type\": 0, \"config\": {}}]}",
      "{\"inputs\": [{\"type\": 0, \"config\": {\"@type\": \"AdcConfiguration\", \"@unknown\": \"kAMB\"}}]}",
      "{\"inputs\": [{\"type\": 0, \"config\": {\"@type\": \"AdcConfiguration\", \"bogus\": 1}}]}",
      "{\"inputs\": [{\"type\": 0, \"config\": {\"@type\": \"CalibrationData_AdcCalibrationData\"}}]}",
      "{\"outputs\": [{\"type\": 5, \"config\": {\"@type\": \"SplitterOutputConfigData\", \"outputIds\": [1, -2]}}]}",
      "{\"config\": {\"@type\": \"ConfigData\", \"inputs\": [{\"type\": 0, \"config\": {\"@type\": "
      "\"AdcConfiguration\"}}]}}",
      "{\"inputs\": [{\"linearization\": {\"type\": \"Interpolated3dMap\", \"config\": {\"@type\": \"Map3D\", "
      "\"x\": [1, 2]}}}]}",
      "{\"version\": 1,}",
      "{\"version\": 1",
      "{\"gcuNo\": \"\xC3\x28\"}",
      "{\"inputs\": [[[]]]}",
  };
  for (const std::string& text : texts) {
    ExpectSameRead(text);
    ExpectSameRead(text, DeviceData::descriptor());
  }
  // Merging into what the record holds.
  ConfigData held;
  held.add_inputs()->set_id(1);
  held.set_gcuno("old");
  held.set_version(5);
  for (const std::string& text : texts) ExpectSameRead(text, ConfigData::descriptor(), test::Encode(held));
}

TEST(JsonReadTest, DeepNestingIsLeftToTheReferenceWay) {
  std::string text = "{\"inputs\": ";
  for (int i = 0; i < 300; ++i) text += "[";
  for (int i = 0; i < 300; ++i) text += "]";
  text += "}";
  ExpectSameRead(text);
  // Settings nested in settings, beyond the codec's limit.
  std::string nested = "{}";
  for (int i = 0; i < 20; ++i) nested = "{\"@type\": \"DeviceData\", \"config\": " + nested + "}";
  ExpectSameRead(nested.substr(std::string("{\"@type\": \"DeviceData\", ").size() - 1), DeviceData::descriptor());
}

}  // namespace
}  // namespace gcuschema::document
