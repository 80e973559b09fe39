// Type codes by name (WriteOptions::type_names): written for inputs,
// outputs and maps, code 0 included, read back to the same bytes in a
// document that carries "@type", refused in plain proto3 JSON; Read and
// Encode agree on both.
#include <gcuschema/document/io.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>
#include <gcuschema/document/samples.h>

#include "support/wire.h"

namespace gcuschema::document {
namespace {

using test::Bytes;
using test::Hex;

WriteOptions Named(int indent = 0) {
  WriteOptions options;
  options.type_names = true;
  options.indent = indent;
  return options;
}

// The encoding Encode makes of `json` as a ConfigData, or "error at <where>:
// <message>".
std::string Encoded(std::string_view json, const ReadOptions& options = ReadOptions{Format::kJson}) {
  std::string encoded;
  try {
    Encode(json, ConfigData::descriptor(), &encoded, options);
  } catch (const Error& e) {
    return "error at " + e.where() + ": " + e.message();
  }
  return Hex(encoded);
}

// The same through Read and a record written in binary.
std::string ReadThenWritten(std::string_view json, const ReadOptions& options = ReadOptions{Format::kJson}) {
  ConfigData doc;
  try {
    Read(json, &doc, options);
  } catch (const Error& e) {
    return "error at " + e.where() + ": " + e.message();
  }
  return Hex(WriteString(doc, Format::kBinary));
}

// Every kind of entry, with named codes (0 among them), a code without a
// name, and the plain-number codes of drivers and handlers.
ConfigData EveryKind() {
  ConfigData doc;
  doc.add_inputs()->set_type(Input::DigitalInput);
  Input* adc = doc.add_inputs();
  adc->set_id(7);
  adc->mutable_linearization();  // a map of type 0
  doc.add_inputs()->set_type(16);
  doc.add_outputs()->set_type(Output::SplitterOutput);
  doc.add_outputs();
  doc.add_maps()->set_type(Map::Interpolated3dMap);
  doc.add_maps();
  doc.add_drivers()->set_type(3);
  doc.add_canbus()->add_entityhandler()->set_type(4);
  return doc;
}

TEST(JsonTypeNamesTest, InputsOutputsAndMapsGiveTheirTypeByNameCodeZeroIncluded) {
  EXPECT_EQ(WriteString(EveryKind(), Format::kJson, Named()),
            R"({"@type":"ConfigData","inputs":[)"
            R"({"type":"DigitalInput","config":{"@type":"DigitalInConfiguration"}},)"
            R"({"id":7,"type":"AdcInput","config":{"@type":"AdcConfiguration"},)"
            R"("linearization":{"type":"Point3dMap","config":{"@type":"Map3D"}}},{"type":16}],)"
            R"("outputs":[{"type":"SplitterOutput","config":{"@type":"SplitterOutputConfigData"}},)"
            R"({"type":"PwmOutput","config":{"@type":"PwmConfiguration"}}],)"
            R"("maps":[{"type":"Interpolated3dMap","config":{"@type":"Map3D"}},)"
            R"({"type":"Point3dMap","config":{"@type":"Map3D"}}],)"
            R"("drivers":[{"type":3}],"canbus":[{"entityHandler":[{"type":4}]}]})");
}

TEST(JsonTypeNamesTest, WithoutTheOptionCodesAreNumbersAndZeroIsLeftOut) {
  WriteOptions options;
  options.indent = 0;
  EXPECT_EQ(WriteString(EveryKind(), Format::kJson, options),
            R"({"inputs":[{"type":2,"config":{"@type":"DigitalInConfiguration"}},)"
            R"({"id":7,"config":{"@type":"AdcConfiguration"},"linearization":{"config":{"@type":"Map3D"}}},)"
            R"({"type":16}],"outputs":[{"type":5,"config":{"@type":"SplitterOutputConfigData"}},)"
            R"({"config":{"@type":"PwmConfiguration"}}],)"
            R"("maps":[{"type":"Interpolated3dMap","config":{"@type":"Map3D"}},{"config":{"@type":"Map3D"}}],)"
            R"("drivers":[{"type":3}],"canbus":[{"entityHandler":[{"type":4}]}]})");
}

TEST(JsonTypeNamesTest, TheDocumentCarriesItsTypeSoThatTheNamesReadBack) {
  // Neither "@type" nor expansion asked for: the names would not read back
  // without the one, so it is written.
  WriteOptions options = Named();
  options.type_name = false;
  options.expand = false;
  ConfigData doc;
  doc.add_inputs()->set_type(Input::DigitalInput);
  const std::string json = WriteString(doc, Format::kJson, options);
  EXPECT_EQ(json, R"({"@type":"ConfigData","inputs":[{"type":"DigitalInput"}]})");
  EXPECT_EQ(Encoded(json), Hex(Bytes({0x1A, 0x02, 0x18, 0x02})));
}

TEST(JsonTypeNamesTest, NamesReadAsTheirCodes) {
  EXPECT_EQ(Encoded(R"({"@type": "ConfigData", "inputs": [{"type": "DigitalInput"}]})"),
            Hex(Bytes({0x1A, 0x02, 0x18, 0x02})));
  EXPECT_EQ(Encoded(R"({"@type": "ConfigData", "outputs": [{"type": "SplitterOutput"}]})"),
            Hex(Bytes({0x22, 0x02, 0x18, 0x05})));
  EXPECT_EQ(Encoded(R"({"@type": "ConfigData", "inputs": [{"type": "TestInput"}]})"),
            Hex(Bytes({0x1A, 0x02, 0x18, 0x63})));
  // Code 0 is left out, as the record leaves it out.
  EXPECT_EQ(Encoded(R"({"@type": "ConfigData", "inputs": [{"type": "AdcInput", "id": 7}]})"),
            Hex(Bytes({0x1A, 0x02, 0x08, 0x07})));
  EXPECT_EQ(Encoded(R"({"@type": "ConfigData", "outputs": [{"type": "PwmOutput"}]})"), Hex(Bytes({0x22, 0x00})));
  EXPECT_EQ(Encoded(R"({"@type": "ConfigData", "maps": [{"type": "Point3dMap"}]})"), Hex(Bytes({0x2A, 0x00})));
  // Numbers, also in strings, read as before.
  EXPECT_EQ(Encoded(R"({"@type": "ConfigData", "inputs": [{"type": 2}, {"type": "2"}]})"),
            Hex(Bytes({0x1A, 0x02, 0x18, 0x02, 0x1A, 0x02, 0x18, 0x02})));
}

TEST(JsonTypeNamesTest, ANameChoosesTheSettingsItsCodeHolds) {
  // DigitalInput holds DigitalInConfiguration, not AdcConfiguration.
  EXPECT_EQ(Encoded(R"({"@type": "ConfigData", "inputs": [{"type": "DigitalInput", )"
                    R"("config": {"@type": "AdcConfiguration"}}]})"),
            "error at line 1, column 81 (inputs[0].config): \"@type\" AdcConfiguration, but type 2 (DigitalInput) "
            "holds DigitalInConfiguration; AdcConfiguration is what type 0 (AdcInput) holds: set type to 0 if the "
            "settings are right, or give settings of DigitalInConfiguration if the type is");
  EXPECT_EQ(Encoded(R"({"@type": "ConfigData", "inputs": [{"type": "DigitalInput", )"
                    R"("config": {"@type": "DigitalInConfiguration"}}]})"),
            Hex(Bytes({0x1A, 0x02, 0x18, 0x02})));
}

TEST(JsonTypeNamesTest, AnyTypeAnywhereMakesTheDocumentExpanded) {
  // The document's own "@type" after the names.
  EXPECT_EQ(Encoded(R"({"inputs": [{"type": "DigitalInput"}], "@type": "ConfigData"})"),
            Hex(Bytes({0x1A, 0x02, 0x18, 0x02})));
  // A `config` object's "@type", after the name.
  EXPECT_EQ(Encoded(R"({"inputs": [{"type": "DigitalInput"}, {"config": {"@type": "AdcConfiguration"}}]})"),
            Hex(Bytes({0x1A, 0x02, 0x18, 0x02, 0x1A, 0x00})));
}

TEST(JsonTypeNamesTest, PlainJsonRefusesANameSayingToGiveTheNumberOrExpandedJson) {
  const std::string expected =
      "error at line 1, column 31 (inputs[0].type): \"DigitalInput\" is the name of type code 2, but the "
      "document is plain proto3 JSON (it carries no \"@type\"), which gives type codes as numbers: write 2, or "
      "make it expanded JSON by giving it \"@type\": \"ConfigData\" as its first member";
  EXPECT_EQ(Encoded(R"({"inputs": [{"id": 1, "type": "DigitalInput"}]})"), expected);
  // The first name is the one reported, wherever the others stand.
  EXPECT_EQ(Encoded(R"({"inputs": [{"id": 1, "type": "DigitalInput"}], "outputs": [{"type": "DacOutput"}]})"),
            expected);
  EXPECT_EQ(Encoded(R"({"outputs": [{"type": "PwmOutput"}]})"),
            "error at line 1, column 23 (outputs[0].type): \"PwmOutput\" is the name of type code 0, but the "
            "document is plain proto3 JSON (it carries no \"@type\"), which gives type codes as numbers: write 0, "
            "or make it expanded JSON by giving it \"@type\": \"ConfigData\" as its first member");
  // Map types are an enumeration, read by name in any JSON.
  EXPECT_EQ(Encoded(R"({"maps": [{"type": "Interpolated3dMap"}]})"), Hex(Bytes({0x2A, 0x02, 0x30, 0x01})));
}

TEST(JsonTypeNamesTest, AnUnknownNameIsRefusedWithTheNearestValidOnes) {
  EXPECT_EQ(Encoded(R"({"@type": "ConfigData", "inputs": [{"type": "DigitalInptu"}]})"),
            "error at line 1, column 45 (inputs[0].type): \"DigitalInptu\" is not a number or a value of Input.Type; "
            "did you mean \"DigitalInput\"?");
  EXPECT_EQ(Encoded(R"({"@type": "ConfigData", "outputs": [{"type": "pwmoutput"}]})"),
            "error at line 1, column 46 (outputs[0].type): \"pwmoutput\" is not a number or a value of Output.Type; "
            "did you mean \"PwmOutput\", \"DacOutput\" or \"MapOutput\"?");
  // In plain JSON too: it is no name there either.
  EXPECT_EQ(Encoded(R"({"inputs": [{"type": "DigitalInptu"}]})"),
            "error at line 1, column 22 (inputs[0].type): \"DigitalInptu\" is not a number or a value of Input.Type; "
            "did you mean \"DigitalInput\"?");
}

TEST(JsonTypeNamesTest, AnUnknownNameIsSkippedWhereUnknownNamesAreIgnored) {
  ReadOptions lenient{Format::kJson};
  lenient.ignore_unknown_fields = true;
  EXPECT_EQ(Encoded(R"({"@type": "ConfigData", "inputs": [{"type": "NewInput", "id": 7}]})", lenient),
            Hex(Bytes({0x1A, 0x02, 0x08, 0x07})));
}

TEST(JsonTypeNamesTest, DriversAndHandlersHaveNoNamesForTheirCodes) {
  EXPECT_EQ(Encoded(R"({"@type": "ConfigData", "drivers": [{"type": "AdcInput"}]})"),
            "error at line 1, column 46 (drivers[0].type): the string \"AdcInput\" is not a number for a uint32 "
            "field");
}

TEST(JsonTypeNamesTest, SampleDocumentsWrittenWithNamesEncodeToTheirOwnBytes) {
  for (const char* name : {"ConfigData", "DeviceData", "CalibrationData", "CalibrationTemplateData"}) {
    for (const int inputs : {1, 24, 60}) {
      SCOPED_TRACE(std::string(name) + ", " + std::to_string(inputs) + " inputs");
      const google::protobuf::Descriptor* type = FindRecord(name);
      SampleOptions samples;
      samples.inputs = inputs;
      samples.seed = static_cast<std::uint64_t>(inputs);
      const std::unique_ptr<google::protobuf::Message> sample = Sample(type, samples);
      ASSERT_NE(sample, nullptr);
      const std::string bytes = WriteString(*sample, Format::kBinary);
      const std::string json = WriteString(*sample, Format::kJson, Named(2));
      std::string encoded;
      Encode(json, type, &encoded, ReadOptions{Format::kJson});
      EXPECT_EQ(Hex(encoded), Hex(bytes));
      const std::unique_ptr<google::protobuf::Message> read = NewRecord(type);
      Read(json, read.get(), ReadOptions{Format::kJson});
      EXPECT_EQ(Hex(WriteString(*read, Format::kBinary)), Hex(bytes));
    }
  }
}

TEST(JsonTypeNamesTest, TheConfigurationSampleShowsNamesOnly) {
  SampleOptions samples;
  samples.inputs = 24;
  ConfigData doc;
  SampleConfig(samples, &doc);
  const std::string json = WriteString(doc, Format::kJson, Named(2));
  EXPECT_NE(json.find("\"type\": \"AdcInput\""), std::string::npos);
  EXPECT_NE(json.find("\"type\": \"DigitalInput\""), std::string::npos);
  EXPECT_NE(json.find("\"type\": \"PwmOutput\""), std::string::npos);
  EXPECT_NE(json.find("\"type\": \"Point3dMap\""), std::string::npos);
  // Every input's, output's and map's code has a name in the sample: no
  // number before the drivers, whose codes have none.
  const std::string entries = json.substr(0, json.find("\"drivers\""));
  ASSERT_NE(entries.size(), json.size());
  EXPECT_EQ(entries.find("\"type\": 0"), std::string::npos);
  EXPECT_EQ(entries.find("\"type\": 1"), std::string::npos);
  EXPECT_EQ(entries.find("\"type\": 2"), std::string::npos);
  EXPECT_EQ(entries.find("\"type\": 9"), std::string::npos);
  EXPECT_NE(json.find("\"type\": 1,", entries.size()), std::string::npos);  // the driver's
}

TEST(JsonTypeNamesTest, ReadAndEncodeAgreeOnNamesAndTheirRefusals) {
  ReadOptions lenient{Format::kJson};
  lenient.ignore_unknown_fields = true;
  const std::string_view texts[] = {
      R"({"@type": "ConfigData", "inputs": [{"type": "DigitalInput", "id": 3}, {"type": "AdcInput"}]})",
      R"({"inputs": [{"id": 1, "type": "CounterInput"}], "@type": "ConfigData"})",
      R"({"outputs": [{"type": "TachoOutput", "config": {"@type": "TachoOutputConfigData"}}]})",
      R"({"inputs": [{"type": "DigitalInput"}]})",
      R"({"inputs": [{"type": "DigitalInput"}, {"bogus": 1}]})",
      R"({"inputs": [{"type": "DigitalInput"}], "version": 3,)",
      R"({"@type": "ConfigData", "inputs": [{"type": "DigitalInptu"}]})",
      R"({"@type": "ConfigData", "inputs": [{"type": ""}]})",
      R"({"@type": "ConfigData", "inputs": [{"type": "AdcInput", "type": 0}]})",
      R"({"@type": "ConfigData", "inputs": [{"type": "DigitalInput", "@unknown": "GAI="}]})",
      R"({"@type": "ConfigData", "inputs": [{"type": "99999999999"}]})",
  };
  for (const std::string_view text : texts) {
    EXPECT_EQ(Encoded(text), ReadThenWritten(text)) << text;
    EXPECT_EQ(Encoded(text, lenient), ReadThenWritten(text, lenient)) << text;
  }
}

}  // namespace
}  // namespace gcuschema::document
