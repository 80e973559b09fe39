// The bash completion the build writes by running `gcuschema completion
// bash`: sourced into bash, it completes the commands, their options and the
// values an option or operand takes.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <gcuschema/document/records.h>

#include "support/completion.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

bool HasLine(const std::string& lines, const std::string& line) {
  return ("\n" + lines).find("\n" + line + "\n") != std::string::npos;
}

TEST(ToolCompletionTest, CompletesCommands) {
  EXPECT_EQ(Complete({"gcuschema", "de"}), "decode\n");
  EXPECT_EQ(Complete({"gcuschema", "s"}), "schemas\nsample\nset\n");
  EXPECT_EQ(Complete({"gcuschema", "--v"}), "--version\n");
  EXPECT_EQ(Complete({"gcuschema", "comp"}), "completion\n");
}

TEST(ToolCompletionTest, CompletesEachCommandsOptions) {
  EXPECT_EQ(Complete({"gcuschema", "decode", "--no"}), "--no-expand\n");
  EXPECT_EQ(Complete({"gcuschema", "lint", "--fr"}), "--from\n");
  // Every command that reads a document has --from.
  for (const char* command : {"decode", "encode", "inspect", "lint", "diff", "set"}) {
    EXPECT_EQ(Complete({"gcuschema", command, "--fr"}), "--from\n") << command;
  }
  // encode's old -f/--format is still read but no longer offered.
  EXPECT_EQ(Complete({"gcuschema", "encode", "--fo"}), "");
  EXPECT_EQ(Complete({"gcuschema", "sample", "--s"}), "--seed\n");
  // Options of another command are not offered.
  EXPECT_EQ(Complete({"gcuschema", "sample", "--no"}), "");
  // Nor anything for a command the tool does not have.
  EXPECT_EQ(Complete({"gcuschema", "frobnicate", "--"}), "");
}

TEST(ToolCompletionTest, CompletesTheValuesAnOptionTakes) {
  EXPECT_EQ(Complete({"gcuschema", "decode", "--format", ""}), "json\ntext\n");
  EXPECT_EQ(Complete({"gcuschema", "diff", "--format", ""}), "text\njson\nhtml\n");
  EXPECT_EQ(Complete({"gcuschema", "inspect", "-f", "j"}), "json\n");
  EXPECT_EQ(Complete({"gcuschema", "diff", "--from", "b"}), "binary\n");
  EXPECT_EQ(Complete({"gcuschema", "encode", "--from", ""}), "binary\njson\ntext\n");
  EXPECT_EQ(Complete({"gcuschema", "set", "-f", ""}), "binary\njson\ntext\n");
  EXPECT_EQ(Complete({"gcuschema", "diff", "--format", ""}), "text\njson\nhtml\n");
  EXPECT_EQ(Complete({"gcuschema", "inspect", "-t", "Dev"}), "DeviceData\n");
  // The hidden -f of encode still takes its value, so the word after it is one.
  EXPECT_EQ(Complete({"gcuschema", "encode", "-f", ""}), "json\ntext\n");
  // A number has nothing to offer.
  EXPECT_EQ(Complete({"gcuschema", "decode", "--threads", ""}), "");
  EXPECT_EQ(Complete({"gcuschema", "completion", ""}), "bash\n");
}

TEST(ToolCompletionTest, CompletesFileNamesForInputsAndOutputs) {
  ScratchDir dir;
  dir.Put("config.bin", "");
  dir.Put("other.json", "");
  EXPECT_EQ(Complete({"gcuschema", "decode", "co"}, dir.path()), "config.bin\n");
  EXPECT_EQ(Complete({"gcuschema", "encode", "-o", "ot"}, dir.path()), "other.json\n");
  EXPECT_EQ(Complete({"gcuschema", "set", "co"}, dir.path()), "config.bin\n");
  EXPECT_EQ(Complete({"gcuschema", "lint", "--template", "co"}, dir.path()), "config.bin\n");
  // diff's second document, after an option and its value.
  EXPECT_EQ(Complete({"gcuschema", "diff", "-t", "ConfigData", "a.bin", "ot"}, dir.path()), "other.json\n");
  // After --, a word starting with '-' is a file.
  dir.Put("-odd.bin", "");
  EXPECT_EQ(Complete({"gcuschema", "decode", "--", "-o"}, dir.path()), "-odd.bin\n");
}

TEST(ToolCompletionTest, OffersNoFileForAnEdit) {
  ScratchDir dir;
  dir.Put("config.bin", "");
  // set DOC EDIT...: the document is a file, every word after it an edit.
  EXPECT_EQ(Complete({"gcuschema", "set", "config.bin", "co"}, dir.path()), "");
  EXPECT_EQ(Complete({"gcuschema", "set", "config.bin", "alias=x", "co"}, dir.path()), "");
}

TEST(ToolCompletionTest, CompletesRecordNames) {
  EXPECT_EQ(Complete({"gcuschema", "decode", "--type", "Map3"}), "Map3D\nMap3DPoint\nMap3DRow\n");
  EXPECT_EQ(Complete({"gcuschema", "lint", "--map-table", "Map2"}), "Map2D\nMap2DPoint\n");
  EXPECT_EQ(Complete({"gcuschema", "sample", "-t", "CalibrationData.Ad"}), "CalibrationData.AdcCalibrationData\n");
  EXPECT_EQ(Complete({"gcuschema", "encode", "--type=Dev"}), "--type=DeviceData\n");
}

TEST(ToolCompletionTest, PairOffersKindsThenCodesByNameAndNumberThenRecords) {
  EXPECT_EQ(Complete({"gcuschema", "decode", "--pair", ""}), "input:\noutput:\nmap:\ndriver:\nhandler:\n");
  EXPECT_EQ(Complete({"gcuschema", "lint", "--pair", "o"}), "output:\n");
  const std::string inputs = Complete({"gcuschema", "decode", "--pair", "input:"});
  for (const char* code : {"input:AdcInput=", "input:0=", "input:DigitalInput=", "input:2=", "input:TestInput=",
                           "input:99=", "input:AnalogSwitchInput=", "input:5="}) {
    EXPECT_TRUE(HasLine(inputs, code)) << code << "\n" << inputs;
  }
  EXPECT_FALSE(HasLine(inputs, "input:16=")) << inputs;  // no input type has code 16
  EXPECT_FALSE(HasLine(inputs, "input:PwmOutput=")) << inputs;
  EXPECT_EQ(Complete({"gcuschema", "decode", "--pair", "input:Dig"}), "input:DigitalInput=\n");
  EXPECT_EQ(Complete({"gcuschema", "schemas", "--pair", "map:Near"}), "map:NearestNeighbour3dMap=\n");
  EXPECT_EQ(Complete({"gcuschema", "decode", "--pair", "output:5=Splitter"}), "output:5=SplitterOutputConfigData\n");
  EXPECT_EQ(Complete({"gcuschema", "decode", "--pair", "input:AnalogSwitchInput=AdcS"}),
            "input:AnalogSwitchInput=AdcSwitchConfiguration\n");
  // Driver and handler codes are plain numbers: nothing to offer.
  EXPECT_EQ(Complete({"gcuschema", "decode", "--pair", "driver:"}), "");
  EXPECT_EQ(Complete({"gcuschema", "decode", "--pair", "gearbox:"}), "");
}

// bash cuts a word at ':' and '=', passes the pieces as words, and puts a
// completion in place of the last piece only.
TEST(ToolCompletionTest, PairValuesCutAtColonAndEqualsAsBashPassesThem) {
  EXPECT_EQ(Complete({"gcuschema", "decode", "--pair", "input", ":", "Dig"}, ".", "gcuschema decode --pair input:Dig"),
            "DigitalInput=\n");
  const std::string after_colon =
      Complete({"gcuschema", "decode", "--pair", "input", ":"}, ".", "gcuschema decode --pair input:");
  EXPECT_TRUE(HasLine(after_colon, ":DigitalInput=")) << after_colon;
  EXPECT_TRUE(HasLine(after_colon, ":2=")) << after_colon;
  EXPECT_EQ(Complete({"gcuschema", "decode", "--pair", "input", ":", "DigitalInput", "=", "AdcC"}, ".",
                     "gcuschema decode --pair input:DigitalInput=AdcC"),
            "AdcConfiguration\n");
  // After '=', the word bash replaces is "=" itself.
  std::string records;
  for (const std::string& name : document::RecordNames()) records += "=" + name + "\n";
  EXPECT_EQ(Complete({"gcuschema", "decode", "--pair", "output", ":", "5", "="}, ".",
                     "gcuschema decode --pair output:5="),
            records);
  EXPECT_EQ(Complete({"gcuschema", "decode", "--from", "=", "js"}, ".", "gcuschema decode --from=js"), "json\n");
  EXPECT_EQ(Complete({"gcuschema", "schemas", "output", ":", "Pw"}, ".", "gcuschema schemas output:Pw"),
            "PwmOutput\n");
}

// A kind or a code goes on with what follows it: bash adds no space after
// "input:" or "input:DutyInput=", but does after a record or a format.
TEST(ToolCompletionTest, NoSpaceFollowsAKindOrACode) {
  EXPECT_EQ(CompletionOptions({"gcuschema", "decode", "--pair", "in"}), "-o nospace\n");
  EXPECT_EQ(CompletionOptions({"gcuschema", "decode", "--pair", "input:Duty"}), "-o nospace\n");
  EXPECT_EQ(CompletionOptions({"gcuschema", "schemas", "in"}), "-o nospace\n");
  EXPECT_EQ(CompletionOptions({"gcuschema", "decode", "--pair", "input:DutyInput=DutyIn"}), "");
  EXPECT_EQ(CompletionOptions({"gcuschema", "schemas", "input:Duty"}), "");
  EXPECT_EQ(CompletionOptions({"gcuschema", "decode", "--from", "j"}), "");
  // Offered both, a record and a kind, bash adds its space as usual.
  EXPECT_EQ(CompletionOptions({"gcuschema", "schemas", ""}), "");
  // File names are completed as such (a directory gets its '/').
  EXPECT_EQ(CompletionOptions({"gcuschema", "decode", "x"}), "-o filenames\n");
}

TEST(ToolCompletionTest, AWordAfterABlankIsNotJoinedToTheColonBeforeIt) {
  ScratchDir dir;
  dir.Put("config.bin", "");
  // --pair took input: as its value; the next word is the document.
  EXPECT_EQ(
      Complete({"gcuschema", "decode", "--pair", "input", ":", ""}, dir.path(), "gcuschema decode --pair input: "),
      "config.bin\n");
}

TEST(ToolCompletionTest, SchemasCompletesRecordsAndTypeCodes) {
  EXPECT_EQ(Complete({"gcuschema", "schemas", "Map3"}), "Map3D\nMap3DPoint\nMap3DRow\n");
  EXPECT_EQ(Complete({"gcuschema", "schemas", "in"}), "input:\n");
  // A code is named with its kind.
  EXPECT_EQ(Complete({"gcuschema", "schemas", "DutyInp"}), "");
  EXPECT_EQ(Complete({"gcuschema", "schemas", "map:"}),
            "map:Point3dMap\nmap:0\nmap:Interpolated3dMap\nmap:1\nmap:NearestNeighbour3dMap\nmap:2\n");
  EXPECT_EQ(Complete({"gcuschema", "schemas", "input:Duty"}), "input:DutyInput\n");
  EXPECT_EQ(Complete({"gcuschema", "schemas", "--json-schema", "CalibrationT"}),
            "CalibrationTemplateData\nCalibrationTemplateData.AdcCalibrationData\n"
            "CalibrationTemplateData.CanbusCalibrationData\nCalibrationTemplateData.DacCalibrationData\n"
            "CalibrationTemplateData.DigitalInputCalibrationData\n"
            "CalibrationTemplateData.DigitalOutputCalibrationData\nCalibrationTemplateData.FreqCalibrationData\n"
            "CalibrationTemplateData.FreqPull\nCalibrationTemplateData.PwmCalibrationData\n"
            "CalibrationTemplateData.QeiCalibrationData\n");
}

}  // namespace
}  // namespace gcuschema::test
