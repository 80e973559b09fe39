// --from names how an input is written, for every command that reads a
// document; -f/--format is decode's output format. Without --from the
// format is told by what parses, and an empty input, whose format nothing
// tells, is refused.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>

#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"
#include "support/wire.h"

namespace gcuschema::test {
namespace {

std::size_t Count(const std::string& text, const std::string& part) {
  std::size_t n = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

TEST(ToolFromTest, EveryCommandThatReadsADocumentTakesFrom) {
  ScratchDir dir;
  const std::string bytes = SampleBytes("ConfigData");
  const std::string binary = dir.Put("a", bytes);
  const std::string json_text = RunToolOk({"decode", binary}).out;
  const std::string json = dir.Put("b", json_text);
  const std::string text = dir.Put("c", RunToolOk({"decode", "--format", "text", binary}).out);
  const std::string summary = RunToolOk({"inspect", binary}).out;
  for (const auto& [from, path] : std::vector<std::pair<std::string, std::string>>{
           {"binary", binary}, {"json", json}, {"text", text}}) {
    SCOPED_TRACE(from);
    EXPECT_EQ(RunToolOk({"decode", "--from", from, path}).out, json_text);
    EXPECT_TRUE(RunToolOk({"encode", "--from", from, path}).out == bytes);
    EXPECT_EQ(RunToolOk({"lint", "--from", from, path}).out, "ok: 0 errors, 0 warnings\n");
    EXPECT_EQ(RunToolOk({"inspect", "--from", from, path}).out, summary);
    EXPECT_EQ(RunToolOk({"diff", "--from", from, path, path}).out, "");
  }
  // The limits template is read as --from says too.
  const std::string calibration = dir.Put("d", SampleBytes("CalibrationData"));
  const std::string limits = dir.Put("e", SampleBytes("CalibrationTemplateData"));
  const ProcessResult checked = RunTool({"lint", "--template", limits, calibration});
  ASSERT_NE(checked.out, "");
  const std::string calibration_json = dir.Put("f", RunToolOk({"decode", "--type", "CalibrationData", calibration}).out);
  const std::string limits_json =
      dir.Put("g", RunToolOk({"decode", "--type", "CalibrationTemplateData", limits}).out);
  const ProcessResult as_json = RunTool({"lint", "--from", "json", "--template", limits_json, calibration_json});
  EXPECT_EQ(as_json.exit_status, checked.exit_status) << as_json.err;
  EXPECT_EQ(as_json.out, checked.out);

  // Named wrongly, the document is read as named, and refused as such.
  const ProcessResult wrong = RunTool({"decode", "--from", "json", binary});
  EXPECT_EQ(wrong.exit_status, 2);
  EXPECT_EQ(wrong.err.rfind("gcuschema: " + binary + ": line 1, column ", 0), 0u) << wrong.err;
}

TEST(ToolFromTest, FormatIsTheOutputFormatOfDecode) {
  ScratchDir dir;
  const std::string bytes = SampleBytes("ConfigData");
  const std::string text = RunToolOk({"decode", "-f", "text"}, bytes).out;
  const std::string json = dir.Put("doc.json", RunToolOk({"decode"}, bytes).out);
  EXPECT_EQ(RunToolOk({"decode", "--from", "json", "-f", "text", json}).out, text);
  EXPECT_EQ(RunToolOk({"decode", "--format", "text", json}).out, text);
}

TEST(ToolFromTest, EncodeTakesFormatForOneReleaseWithANote) {
  const std::string bytes = SampleBytes("ConfigData");
  const std::string text = RunToolOk({"decode", "--format", "text"}, bytes).out;
  const ProcessResult old = RunToolOk({"encode", "-f", "text"}, text);
  EXPECT_TRUE(old.out == bytes);
  EXPECT_EQ(old.err, "gcuschema: encode: -f/--format is now --from (how the input is written); -f goes in the "
                     "next release\n");
  const ProcessResult both = RunTool({"encode", "-f", "json", "--from", "text"}, text);
  EXPECT_EQ(both.exit_status, 2);
  EXPECT_NE(both.err.find("give --from alone"), std::string::npos) << both.err;
  // The help shows --from only.
  const std::string help = RunToolOk({"encode", "--help"}).out;
  EXPECT_NE(help.find("--from"), std::string::npos) << help;
  EXPECT_EQ(help.find("--format"), std::string::npos) << help;
}

TEST(ToolFromTest, DecodePipedToEncodeGivesBackADocumentWithADelInAString) {
  ConfigData doc;
  doc.set_gcuno("G\x7F");
  doc.add_inputs()->set_alias("oil\x7Ftemp");
  const std::string bytes = Encode(doc);
  const std::string json = RunToolOk({"decode"}, bytes).out;
  // JSON needs no escape for it: it stands as it is.
  EXPECT_EQ(Count(json, "\x7F"), 2u) << json;
  EXPECT_TRUE(RunToolOk({"encode"}, json).out == bytes);
}

TEST(ToolFromTest, AnEncodingStartingWithAnAtSignIsReadAsOne) {
  // canObjectCount (field 8, tag 0x40 '@') 3, gcuNo "G".
  const std::string bytes = Bytes({0x40, 0x03, 0x5A, 0x01, 0x47});
  EXPECT_EQ(RunToolOk({"decode"}, bytes).out, "{\n  \"@type\": \"ConfigData\",\n  \"canObjectCount\": 3,\n  \"gcuNo\": \"G\"\n}\n");
  EXPECT_EQ(RunToolOk({"lint", "-"}, bytes).out, "ok: 0 errors, 0 warnings\n");
  EXPECT_TRUE(RunToolOk({"encode", "--from", "binary"}, bytes).out == bytes);
  const ProcessResult again = RunTool({"encode"}, bytes);
  EXPECT_EQ(again.exit_status, 2);
  EXPECT_EQ(again.err.rfind("gcuschema: <stdin>: is an encoded document already", 0), 0u) << again.err;
}

TEST(ToolFromTest, EmptyInputIsRefusedUnlessItsFormatIsNamed) {
  ScratchDir dir;
  for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
           {"decode"}, {"encode", "-o", dir.File("out.bin")}, {"lint", "-"}, {"inspect", "-"}}) {
    SCOPED_TRACE(command[0]);
    const ProcessResult result = RunTool(command, "");
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "gcuschema: <stdin>: the input is empty, so its format cannot be told from it; name the format to "
              "read it as an empty document (--from binary or --from text)\n");
  }
  EXPECT_EQ(dir.Entries(), std::vector<std::string>{});
  // Named, it is the empty document.
  EXPECT_EQ(RunToolOk({"encode", "--from", "text"}, "").out, "");
  EXPECT_EQ(RunToolOk({"decode", "--from", "binary"}, "").out, "{\n  \"@type\": \"ConfigData\"\n}\n");
}

TEST(ToolFromTest, TheToolsHintFollowsTheLibrarysMessageOnce) {
  // A record no input code holds: pairing one with it is the way besides the text.
  const ProcessResult paired = RunTool({"encode", "-o", "/dev/null"},
                                       R"({"inputs": [{"type": 2, "config": {"@type": "AdcSwitchConfiguration"}}]})");
  EXPECT_EQ(paired.exit_status, 2);
  EXPECT_EQ(paired.err,
            "gcuschema: <stdin>: line 1, column 45 (inputs[0].config): \"@type\" AdcSwitchConfiguration, but type 2 "
            "(DigitalInput) holds DigitalInConfiguration, and no input type code holds AdcSwitchConfiguration: give "
            "the entry settings of DigitalInConfiguration, or pair its code with AdcSwitchConfiguration "
            "(--pair input:2=AdcSwitchConfiguration)\n");
  // A record another code holds: that code is what agrees, and no pairing is offered.
  const ProcessResult held =
      RunTool({"encode", "-o", "/dev/null"}, R"({"inputs": [{"type": 2, "config": {"@type": "AdcConfiguration"}}]})");
  EXPECT_EQ(held.exit_status, 2);
  EXPECT_EQ(held.err,
            "gcuschema: <stdin>: line 1, column 45 (inputs[0].config): \"@type\" AdcConfiguration, but type 2 "
            "(DigitalInput) holds DigitalInConfiguration; AdcConfiguration is what type 0 (AdcInput) holds: set type "
            "to 0 if the settings are right, or give settings of DigitalInConfiguration if the type is\n");

  const ProcessResult record = RunTool({"decode", "--pair", "input:5=Zzzzzzzzzzzzzzzz"}, SampleBytes("ConfigData"));
  EXPECT_EQ(record.exit_status, 2);
  EXPECT_EQ(record.err,
            "gcuschema: --pair: pairing \"input:5=Zzzzzzzzzzzzzzzz\": \"Zzzzzzzzzzzzzzzz\" is not a record of the "
            "schema library; run `gcuschema schemas` to list the records\n");

  const ProcessResult field = RunTool({"encode", "-o", "/dev/null"}, R"({"zzzzzzzzzzzz": 1})");
  EXPECT_EQ(field.exit_status, 2);
  EXPECT_EQ(Count(field.err, "run `gcuschema schemas ConfigData` to list them"), 1u) << field.err;

  // A lint finding gets it the same way.
  ConfigData doc;
  Map* map = doc.add_maps();
  map->set_type(Map::Point3dMap);
  map->set_config(Bytes({0xFF}));
  const ProcessResult lint = RunTool({"lint", "-q", "-"}, Encode(doc));
  EXPECT_EQ(lint.exit_status, 0) << lint.err;
  EXPECT_EQ(lint.out,
            "maps[0].config: warning: the 1 bytes do not parse as Map3D (the table its type 0 names); pair the map "
            "type with the table it holds (--map-table RECORD or --pair map:0=RECORD) [config-unreadable]\n");
}

}  // namespace
}  // namespace gcuschema::test
