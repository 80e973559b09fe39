// Edits of JSON and text-format documents: the edited values spelt anew as
// the writers spell them, everything else of the text kept, so that a
// document as decode writes it is edited into what decode writes of the
// edited document, and a document written by hand keeps its layout.
#include <gcuschema/document/edit.h>

#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <gcuschema/all_records.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/io.h>

#include "support/edits.h"
#include "support/sample_bytes.h"

namespace gcuschema::document {
namespace {

using test::Edits;

// The document edited in the format it is in.
std::string Edited(const std::string& text, const std::vector<std::string>& edits, google::protobuf::Message* record) {
  std::string out;
  EditDocument(text, record, Edits(edits), &out);
  return out;
}

struct Case {
  const char* name;
  std::vector<std::string> edits;
};

void PrintTo(const Case& edit, std::ostream* out) { *out << edit.name; }

const Case kCases[] = {
    {"a setting changed", {"inputs[id=2].config.delay=50"}},
    {"a setting taken out", {"inputs[id=2].config.delay=0", "inputs[id=2].config.enableFilter=false"}},
    {"a setting put in", {"inputs[id=1].config.enableInterpolation=true"}},
    {"a type with new settings", {"inputs[0].type=DigitalInput", "inputs[0].config=", "inputs[0].config.delay=5"}},
    {"a type with empty settings", {"inputs[0].type=DigitalInput", "inputs[0].config="}},
    {"fields of the document", {"units.pressureUnit=kPa", "version=0", "password=x", "canObjectCount=9"}},
    {"a record made by the path", {"inputs[0].linearization.alias=lin", "inputs[0].linearization.type=Interpolated3dMap"}},
    {"a record in a list in a list", {"canbus[canbusId=1].standardInputFrames[0].messageId=4660"}},
    {"a list's element", {"maps[0].config.values[0]=12", "estimationData[0].thetaValues[1]=2.5"}},
    {"first and last fields of an entry", {"inputs[2].id=77", "inputs[2].isPreset=true", "inputs[2].unit="}},
    {"every field of an entry's settings", {"inputs[id=2].config.enableFilter=false", "inputs[id=2].config.delay=0",
                                            "inputs[id=2].config.hold=0", "inputs[id=2].config.interspace=0",
                                            "inputs[id=2].config.invert=false", "inputs[id=2].config.mode=0"}},
    {"settings given whole", {"outputs[0].config=CAE="}},
    {"text with escapes", {"inputs[1].alias=\"tab\\there \\u00e9\"", "deviceDescription=x\"y"}},
};

class EditAsDecodeWritesTest : public ::testing::TestWithParam<Case> {};

// A document as decode writes it, edited, is what decode writes of the
// binary document edited.
TEST_P(EditAsDecodeWritesTest, JsonEditedIsTheJsonOfTheEditedDocument) {
  const std::string bytes = test::SampleBytes("ConfigData", 24, 1);
  ConfigData binary;
  const std::string edited_bytes = [&] {
    std::string out;
    EditDocument(bytes, &binary, Edits(GetParam().edits), &out);
    return out;
  }();
  ConfigData original;
  ASSERT_TRUE(original.ParseFromString(bytes));
  WriteOptions options;
  options.type_name = true;
  const std::string json = WriteString(original, Format::kJson, options) + "\n";
  ConfigData from_json;
  const std::string edited_json = Edited(json, GetParam().edits, &from_json);
  ConfigData expected;
  ASSERT_TRUE(expected.ParseFromString(edited_bytes));
  EXPECT_EQ(edited_json, WriteString(expected, Format::kJson, options) + "\n");
  EXPECT_TRUE(from_json.SerializeAsString() == edited_bytes);
}

TEST_P(EditAsDecodeWritesTest, TextEditedIsTheTextOfTheEditedDocument) {
  const std::string bytes = test::SampleBytes("ConfigData", 24, 1);
  ConfigData binary;
  std::string edited_bytes;
  EditDocument(bytes, &binary, Edits(GetParam().edits), &edited_bytes);
  ConfigData original;
  ASSERT_TRUE(original.ParseFromString(bytes));
  ConfigData from_text;
  const std::string edited_text = Edited(WriteString(original, Format::kText), GetParam().edits, &from_text);
  ConfigData expected;
  ASSERT_TRUE(expected.ParseFromString(edited_bytes));
  EXPECT_EQ(edited_text, WriteString(expected, Format::kText));
}

TEST_P(EditAsDecodeWritesTest, PlainJsonKeepsSettingsInBase64) {
  const std::string bytes = test::SampleBytes("ConfigData", 24, 1);
  ConfigData binary;
  std::string edited_bytes;
  EditDocument(bytes, &binary, Edits(GetParam().edits), &edited_bytes);
  ConfigData original;
  ASSERT_TRUE(original.ParseFromString(bytes));
  WriteOptions plain;
  plain.expand = false;
  ConfigData from_json;
  const std::string edited_json = Edited(WriteString(original, Format::kJson, plain), GetParam().edits, &from_json);
  ConfigData expected;
  ASSERT_TRUE(expected.ParseFromString(edited_bytes));
  EXPECT_EQ(edited_json, WriteString(expected, Format::kJson, plain));
}

INSTANTIATE_TEST_SUITE_P(Edits, EditAsDecodeWritesTest, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<Case>& info) {
                           std::string name;
                           for (const char* c = info.param.name; *c != '\0'; ++c) {
                             if (*c != ' ') name += *c == '\'' ? 'Q' : *c;
                           }
                           return name;
                         });

TEST(EditJsonTest, AHandWrittenDocumentKeepsItsLayout) {
  const std::string json =
      "{\n"
      "    \"version\": 3,\n"
      "    \"inputs\": [\n"
      "        { \"id\": 1, \"alias\": \"A\",\n"
      "          \"config\": { \"@type\": \"AdcConfiguration\", \"range\": \"range12V\" } },\n"
      "        {\n"
      "            \"id\": 2,\n"
      "            \"type\": \"2\",\n"
      "            \"config\": {\"@type\": \"DigitalInConfiguration\",   \"delay\":24}\n"
      "        }\n"
      "    ],\n"
      "    \"gcuNo\": \"G1\"\n"
      "}\n";
  ConfigData config;
  EXPECT_EQ(Edited(json,
                   {"inputs[id=2].config.delay=50", "inputs[id=1].config.saturation=true", "gcuNo=G2", "password=pw",
                    "inputs[1].id=0"},
                   &config),
            "{\n"
            "    \"version\": 3,\n"
            "    \"password\": \"pw\",\n"
            "    \"inputs\": [\n"
            "        { \"id\": 1, \"alias\": \"A\",\n"
            "          \"config\": { \"@type\": \"AdcConfiguration\", \"range\": \"range12V\", \"saturation\": true } },\n"
            "        {\n"
            "            \"type\": \"2\",\n"
            "            \"config\": {\"@type\": \"DigitalInConfiguration\",   \"delay\":50}\n"
            "        }\n"
            "    ],\n"
            "    \"gcuNo\": \"G2\"\n"
            "}\n");
}

TEST(EditJsonTest, JsonOnOneLineStaysOnOneLine) {
  const std::string json =
      "{\"inputs\":[{\"id\":2,\"type\":2,\"config\":{\"@type\":\"DigitalInConfiguration\",\"delay\":24}}]}";
  ConfigData config;
  EXPECT_EQ(Edited(json, {"inputs[0].config.delay=0", "inputs[0].config.hold=1", "inputs[0].alias=x", "version=1"},
                   &config),
            "{\"version\":1,\"inputs\":[{\"id\":2,\"type\":2,\"alias\":\"x\",\"config\":{\"@type\":"
            "\"DigitalInConfiguration\",\"hold\":1}}]}");
}

TEST(EditJsonTest, AnEmptyRecordGetsItsFirstMemberIndented) {
  const std::string json =
      "{\n"
      "  \"units\": {}\n"
      "}";
  ConfigData config;
  EXPECT_EQ(Edited(json, {"units.pressureUnit=mBar", "units.timeUnit=s"}, &config),
            "{\n"
            "  \"units\": {\n"
            "    \"pressureUnit\": \"mBar\",\n"
            "    \"timeUnit\": \"s\"\n"
            "  }\n"
            "}");
}

TEST(EditJsonTest, TheLastMemberTakenOutLeavesAnEmptyRecord) {
  const std::string json = "{\n  \"units\": {\n    \"pressureUnit\": \"mBar\"\n  }\n}";
  ConfigData config;
  EXPECT_EQ(Edited(json, {"units.pressureUnit=kPa"}, &config), "{\n  \"units\": {}\n}");
}

TEST(EditJsonTest, OriginalNamesAreKeptWhereTheDocumentUsesThem) {
  ConfigData original;
  Output* output = original.add_outputs();
  output->set_type(Output::CurrentOutput);
  CurrentConfiguration current;
  current.set___unused1(1);
  output->set_config(current.SerializeAsString());
  WriteOptions names;
  names.original_names = true;
  const std::string json = WriteString(original, Format::kJson, names);
  ConfigData config;
  const std::string edited = Edited(json, {"outputs[0].config.Unused1=2", "outputs[0].config.__unused2=3"}, &config);
  EXPECT_NE(edited.find("\"__unused1\": 2"), std::string::npos) << edited;
  EXPECT_NE(edited.find("\"__unused2\": 3"), std::string::npos) << edited;
}

TEST(EditTextTest, AHandWrittenDocumentKeepsItsCommentsAndLayout) {
  const std::string text =
      "# bench rig 4\n"
      "version: 3\n"
      "inputs {\n"
      "  id: 2  # the switch\n"
      "  type: 2\n"
      "  config: \"\\010\\001\"\n"
      "}\n"
      "gcuNo: \"G1\"\n";
  ConfigData config;
  EXPECT_EQ(Edited(text, {"inputs[id=2].config.delay=5", "version=4", "inputs[0].alias=sw", "inputs[0].id=7",
                          "gcuNo="},
                   &config),
            "# bench rig 4\n"
            "version: 4\n"
            "inputs {\n"
            "  id: 7  # the switch\n"
            "  type: 2\n"
            "  alias: \"sw\"\n"
            "  config: \"\\010\\001\\020\\n\"\n"
            "}\n");
}

TEST(EditTextTest, AFieldPutInAnEmptyRecordGoesInsideItsBraces) {
  ConfigData config;
  EXPECT_EQ(Edited("units {\n}\n", {"units.timeUnit=s"}, &config), "units {\n  timeUnit: s\n}\n");
  EXPECT_EQ(Edited("units {}\n", {"units.timeUnit=s"}, &config), "units {\n  timeUnit: s\n}\n");
  EXPECT_EQ(Edited("version: 1", {"gcuNo=G"}, &config), "version: 1\ngcuNo: \"G\"\n");
}

TEST(EditDeviceDataTest, TheConfigurationInADeviceImageIsEditedInEveryFormat) {
  const std::string bytes = test::SampleBytes("DeviceData", 12, 5);
  const std::vector<std::string> edits = {"config.inputs[id=2].config.delay=7", "config.version=4", "gcuSerialNo=S1"};
  DeviceData binary;
  std::string edited_bytes;
  EditDocument(bytes, &binary, Edits(edits), &edited_bytes);
  DeviceData expected;
  ASSERT_TRUE(expected.ParseFromString(edited_bytes));
  ConfigData config;
  ASSERT_TRUE(config.ParseFromString(expected.config()));
  EXPECT_EQ(config.version(), 4u);
  DeviceData original;
  ASSERT_TRUE(original.ParseFromString(bytes));
  WriteOptions options;
  options.type_name = true;
  DeviceData from_json;
  EXPECT_EQ(Edited(WriteString(original, Format::kJson, options), edits, &from_json),
            WriteString(expected, Format::kJson, options));
  DeviceData from_text;
  EXPECT_EQ(Edited(WriteString(original, Format::kText), edits, &from_text), WriteString(expected, Format::kText));
}

}  // namespace
}  // namespace gcuschema::document
