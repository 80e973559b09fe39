// gcuschema set: a document edited by field path, in the format it came in
// (or the one -f names), in place through -o or between standard streams,
// and nothing written when an edit is refused.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

// Positions at which two byte strings of one length differ.
std::vector<std::size_t> Differences(const std::string& a, const std::string& b) {
  std::vector<std::size_t> at;
  for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
    if (a[i] != b[i]) at.push_back(i);
  }
  return at;
}

TEST(ToolSetTest, EditsABinaryDocumentInPlaceChangingOnlyTheEditedByte) {
  ScratchDir dir;
  const std::string original = SampleBytes("ConfigData", 24, 1);
  const std::string path = dir.Put("config.bin", original);
  // Input 2 of the sample is a digital input with delay 24.
  RunToolOk({"set", "-o", path, path, "inputs[id=2].config.delay=50"});
  const std::string edited = ReadFileBytes(path);
  ASSERT_EQ(edited.size(), original.size());
  EXPECT_EQ(Differences(original, edited).size(), 1u);
  const ProcessResult diff = RunTool({"diff", dir.Put("before.bin", original), path});
  EXPECT_EQ(diff.out, "~ inputs[id=2 \"Switch_002\"].config<DigitalInConfiguration>.delay: 24 -> 50\n");
  EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"before.bin", "config.bin"}));
}

TEST(ToolSetTest, ReadsStandardInputAndWritesStandardOutput) {
  const std::string original = SampleBytes("ConfigData", 6, 2);
  const ProcessResult result = RunToolOk({"set", "-", "version=4", "gcuNo=Rig 7"}, original);
  EXPECT_EQ(result.err, "");
  const ProcessResult decoded = RunToolOk({"decode"}, result.out);
  EXPECT_NE(decoded.out.find("\"version\": 4,"), std::string::npos);
  EXPECT_NE(decoded.out.find("\"gcuNo\": \"Rig 7\","), std::string::npos);
}

TEST(ToolSetTest, JsonStaysJsonWithOnlyTheEditedLineChanged) {
  ScratchDir dir;
  const std::string bin = dir.Put("config.bin", SampleBytes("ConfigData", 24, 1));
  RunToolOk({"decode", "-o", dir.File("config.json"), bin});
  const std::string json = ReadFileBytes(dir.File("config.json"));
  const ProcessResult edited = RunToolOk({"set", dir.File("config.json"), "inputs[id=2].config.delay=50"});
  const std::string before = "\"delay\": 24,";
  const std::string after = "\"delay\": 50,";
  ASSERT_NE(json.find(before), std::string::npos);
  std::string expected = json;
  expected.replace(json.find(before), before.size(), after);
  EXPECT_EQ(edited.out, expected);
}

TEST(ToolSetTest, FormatNamesAnotherOutputFormat) {
  ScratchDir dir;
  const std::string bin = dir.Put("config.bin", SampleBytes("ConfigData", 8, 3));
  const std::string edit = "inputs[0].alias=Oil temperature";
  RunToolOk({"set", "-o", dir.File("edited.bin"), bin, edit});
  const ProcessResult as_json = RunToolOk({"set", "-f", "json", bin, edit});
  EXPECT_EQ(as_json.out, RunToolOk({"decode", dir.File("edited.bin")}).out);
  const ProcessResult as_text = RunToolOk({"set", "--format", "text", bin, edit});
  EXPECT_EQ(as_text.out, RunToolOk({"decode", "-f", "text", dir.File("edited.bin")}).out);
  const std::string json = dir.Put("config.json", RunToolOk({"decode", bin}).out);
  const ProcessResult as_binary = RunToolOk({"set", "-f", "binary", "-o", dir.File("back.bin"), json, edit});
  EXPECT_TRUE(ReadFileBytes(dir.File("back.bin")) == ReadFileBytes(dir.File("edited.bin")));
}

TEST(ToolSetTest, FromNamesTheInputsFormat) {
  ScratchDir dir;
  const std::string text = dir.Put("config.txt", "version: 3\n");
  EXPECT_EQ(RunToolOk({"set", "--from", "text", text, "version=5"}).out, "version: 5\n");
  const ProcessResult wrong = RunTool({"set", "--from", "json", text, "version=5"});
  EXPECT_EQ(wrong.exit_status, 2);
  EXPECT_NE(wrong.err.find("gcuschema: " + text + ": line 1, column 1"), std::string::npos) << wrong.err;
}

TEST(ToolSetTest, AJsonDocumentNamingItsRecordIsEditedAsThatRecord) {
  ScratchDir dir;
  const std::string bin = dir.Put("device.bin", SampleBytes("DeviceData", 6, 1));
  const std::string json = dir.Put("device.json", RunToolOk({"decode", "--type", "DeviceData", bin}).out);
  const ProcessResult edited = RunToolOk({"set", json, "config.inputs[id=2].config.delay=7"});
  EXPECT_NE(edited.out.find("\"delay\": 7"), std::string::npos);
}

TEST(ToolSetTest, ARefusedEditWritesNothing) {
  ScratchDir dir;
  const std::string original = SampleBytes("ConfigData", 24, 1);
  const std::string path = dir.Put("config.bin", original);
  const ProcessResult in_place = RunTool({"set", "-o", path, path, "version=4", "inputs[id=2].config.delai=5"});
  EXPECT_EQ(in_place.exit_status, 2);
  EXPECT_EQ(in_place.err,
            "gcuschema: " + path +
                ": inputs[id=2].config.delai: \"delai\" is not a field of DigitalInConfiguration; did you mean "
                "\"delay\"?\n");
  EXPECT_TRUE(ReadFileBytes(path) == original);
  const ProcessResult elsewhere = RunTool({"set", "-o", dir.File("out.bin"), path, "inputs[id=99].alias=x"});
  EXPECT_EQ(elsewhere.exit_status, 2);
  EXPECT_EQ(elsewhere.err, "gcuschema: " + path +
                               ": inputs[id=99].alias: no element of inputs has id 99; the elements there have 24 "
                               "values of id, the closest 24, 23 and 22\n");
  EXPECT_EQ(dir.Entries(), std::vector<std::string>{"config.bin"});
}

TEST(ToolSetTest, AnEditWithoutASignIsRefusedBeforeTheInputIsRead) {
  const ProcessResult result = RunTool({"set", "/nonexistent/config.bin", "inputs[id=2].alias"});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.err,
            "gcuschema: inputs[id=2].alias: an edit is PATH=VALUE, and there is no '=' after the path; give the value "
            "after one (inputs[id=2].config.delay=50, or inputs[id=2].alias= for an empty one)\n");
}

TEST(ToolSetTest, SettingsOfAnUnpairedCodeAreRefusedWithThePairingOption) {
  ScratchDir dir;
  // The sample's driver has type 3, which no record is paired with.
  const std::string path = dir.Put("config.bin", SampleBytes("ConfigData", 4, 1));
  const ProcessResult result = RunTool({"set", path, "drivers[0].config.range=1"});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.err, "gcuschema: " + path +
                            ": drivers[0].config.range: driver type 3 holds no settings record, so the fields of its "
                            "config have no names; set the bytes whole (drivers[0].config=BASE64), or pair the code "
                            "with the record they hold (--pair driver:3=RECORD)\n");
  // Bytes of a code paired with no record are taken whole; with a pairing
  // given, they are read as that record.
  RunToolOk({"set", "-o", path, path, "drivers[0].config=CAI="});
  const ProcessResult paired =
      RunToolOk({"set", "--pair", "driver:3=AdcConfiguration", "-f", "json", path, "drivers[0].config.saturation=true"});
  EXPECT_NE(paired.out.find("\"@type\": \"AdcConfiguration\",\n        \"range\": \"range12V\",\n        "
                            "\"saturation\": true\n"),
            std::string::npos)
      << paired.out;
}

TEST(ToolSetTest, BinaryIsNotWrittenToATerminal) {
  ScratchDir dir;
  const std::string path = dir.Put("config.bin", SampleBytes("ConfigData", 4, 1));
  const ProcessResult binary = RunOnTerminal({GCUSCHEMA_TOOL, "set", path, "version=4"});
  EXPECT_EQ(binary.exit_status, 2) << binary.out;
  EXPECT_NE(binary.out.find("gcuschema: <stdout>: refusing to write binary data to a terminal"), std::string::npos)
      << binary.out;
  const ProcessResult json = RunOnTerminal({GCUSCHEMA_TOOL, "set", "-f", "json", path, "version=4"});
  EXPECT_EQ(json.exit_status, 0) << json.out;
  EXPECT_NE(json.out.find("\"version\": 4"), std::string::npos);
}

TEST(ToolSetTest, HelpDescribesPathsSelectorsAndValues) {
  const ProcessResult help = RunToolOk({"set", "--help"});
  for (const char* part : {"Usage: gcuschema set [OPTIONS] DOC EDIT...", "inputs[id=2]", "outputs[4]",
                           "inputs[id=2].config.delay", "config=BASE64", "type=DigitalInput", "-f,--format",
                           "--from", "Examples:"}) {
    EXPECT_NE(help.out.find(part), std::string::npos) << part << "\n" << help.out;
  }
}

TEST(ToolSetTest, AnEditIsRequired) {
  const ProcessResult result = RunTool({"set", "config.bin"});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_NE(result.err.find("EDIT is required"), std::string::npos) << result.err;
}

}  // namespace
}  // namespace gcuschema::test
