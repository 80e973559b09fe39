// decode --type-names: inputs', outputs' and maps' type codes by name,
// which encode (and every command that reads JSON) reads back to the same
// bytes; plain proto3 JSON keeps them numbers.
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

// "line L, column C" of the byte at `offset` of `text` (one line of ASCII).
std::string LineAndColumn(const std::string& text, std::size_t offset) {
  std::size_t line = 1;
  std::size_t line_start = 0;
  for (std::size_t i = 0; i < offset; ++i) {
    if (text[i] == '\n') {
      ++line;
      line_start = i + 1;
    }
  }
  return "line " + std::to_string(line) + ", column " + std::to_string(offset - line_start + 1);
}

// `text` with its first `from` replaced by `to`.
std::string ReplacedOnce(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at != std::string::npos) text.replace(at, from.size(), to);
  return text;
}

class ToolTypeNamesTest : public ::testing::TestWithParam<const char*> {};

TEST_P(ToolTypeNamesTest, DecodeWithTypeNamesThenEncodeGivesBackTheBytes) {
  const std::string type = GetParam();
  for (const int inputs : {3, 24, 70}) {
    SCOPED_TRACE(inputs);
    const std::string bytes = SampleBytes(type, inputs, 5);
    ASSERT_FALSE(bytes.empty());
    ProcessResult decoded = RunTool({"decode", "--type", type, "--type-names"}, bytes);
    ASSERT_EQ(decoded.exit_status, 0) << decoded.err;
    EXPECT_EQ(decoded.err, "");
    // No --type: the document names its record.
    ProcessResult encoded = RunTool({"encode"}, decoded.out);
    ASSERT_EQ(encoded.exit_status, 0) << encoded.err;
    EXPECT_EQ(encoded.out.size(), bytes.size());
    EXPECT_TRUE(encoded.out == bytes) << "re-encoded bytes differ";
  }
}

INSTANTIATE_TEST_SUITE_P(DocumentTypes, ToolTypeNamesTest,
                         ::testing::Values("ConfigData", "DeviceData", "CalibrationData",
                                           "CalibrationTemplateData"));

TEST(ToolTypeNamesTest, EveryInputOutputAndMapSaysItsTypeByName) {
  const std::string bytes = SampleBytes("ConfigData", 24);
  ProcessResult named = RunToolOk({"decode", "--type-names"}, bytes);
  EXPECT_NE(named.out.find("\"type\": \"DigitalInput\""), std::string::npos);
  EXPECT_NE(named.out.find("\"type\": \"AdcInput\""), std::string::npos);
  EXPECT_NE(named.out.find("\"type\": \"PwmOutput\""), std::string::npos);
  EXPECT_NE(named.out.find("\"type\": \"SplitterOutput\""), std::string::npos);
  EXPECT_NE(named.out.find("\"type\": \"Point3dMap\""), std::string::npos);
  // Without the option: numbers, and code 0 left out.
  ProcessResult numbered = RunToolOk({"decode"}, bytes);
  EXPECT_EQ(numbered.out.find("\"type\": \"DigitalInput\""), std::string::npos);
  EXPECT_NE(numbered.out.find("\"type\": 2,"), std::string::npos);
  EXPECT_EQ(numbered.out.find("\"type\": \"AdcInput\""), std::string::npos);
  EXPECT_EQ(numbered.out.find("\"type\": \"Point3dMap\""), std::string::npos);
}

TEST(ToolTypeNamesTest, NamedDocumentsAreReadByEveryCommand) {
  ScratchDir dir;
  const std::string original = dir.Put("config.bin", SampleBytes("ConfigData", 24));
  ProcessResult decoded = RunToolOk({"decode", "--type-names", original, "-o", dir.File("named.json")});
  ProcessResult diff = RunTool({"diff", original, dir.File("named.json")});
  EXPECT_EQ(diff.exit_status, 0) << diff.out << diff.err;
  EXPECT_EQ(diff.out, "");
  ProcessResult lint = RunTool({"lint", "-q", dir.File("named.json")});
  EXPECT_EQ(lint.exit_status, 0) << lint.out << lint.err;
}

TEST(ToolTypeNamesTest, PlainJsonRefusesANameSayingToGiveTheNumberOrExpandedJson) {
  const std::string bytes = SampleBytes("ConfigData", 24);
  ProcessResult plain = RunToolOk({"decode", "--no-expand"}, bytes);
  const std::string edited = ReplacedOnce(plain.out, "\"type\": 2,", "\"type\": \"DigitalInput\",");
  const std::size_t at = edited.find("\"DigitalInput\"");
  ProcessResult encoded = RunTool({"encode"}, edited);
  EXPECT_EQ(encoded.exit_status, 2);
  EXPECT_EQ(encoded.out, "");
  // Where the first digital input of the sample stands: the second input.
  EXPECT_EQ(encoded.err,
            "gcuschema: <stdin>: " + LineAndColumn(edited, at) +
                " (inputs[1].type): \"DigitalInput\" is the name of type code 2, but the document is plain proto3 "
                "JSON (it carries no \"@type\"), which gives type codes as numbers: write 2, or make it expanded "
                "JSON by giving it \"@type\": \"ConfigData\" as its first member\n");
  // The same text with the number reads.
  RunToolOk({"encode"}, plain.out);
}

TEST(ToolTypeNamesTest, AMistypedNameGetsTheNearestValidOne) {
  const std::string bytes = SampleBytes("ConfigData", 24);
  ProcessResult named = RunToolOk({"decode", "--type-names"}, bytes);
  const std::string edited = ReplacedOnce(named.out, "\"type\": \"DigitalInput\"", "\"type\": \"DigitalInptu\"");
  ProcessResult encoded = RunTool({"encode"}, edited);
  EXPECT_EQ(encoded.exit_status, 2);
  EXPECT_EQ(encoded.out, "");
  EXPECT_EQ(encoded.err, "gcuschema: <stdin>: " + LineAndColumn(edited, edited.find("\"DigitalInptu\"")) +
                             " (inputs[1].type): \"DigitalInptu\" is not a number or a value of Input.Type; did you "
                             "mean \"DigitalInput\"?\n");
}

TEST(ToolTypeNamesTest, TypeNamesWithPlainJsonOrTextFormatAreRefused) {
  const std::string bytes = SampleBytes("ConfigData");
  ProcessResult plain = RunTool({"decode", "--type-names", "--no-expand"}, bytes);
  EXPECT_EQ(plain.exit_status, 2);
  EXPECT_EQ(plain.out, "");
  EXPECT_EQ(plain.err,
            "gcuschema: --type-names: writes names that only expanded JSON reads back, and --no-expand writes "
            "plain proto3 JSON, which gives type codes as numbers: leave out one of the two; see `gcuschema "
            "decode --help`\n");
  ProcessResult text = RunTool({"decode", "--type-names", "--format", "text"}, bytes);
  EXPECT_EQ(text.exit_status, 2);
  EXPECT_EQ(text.out, "");
  EXPECT_EQ(text.err,
            "gcuschema: --type-names: names type codes in JSON only; text format gives them as numbers: leave out "
            "--type-names or --format text; see `gcuschema decode --help`\n");
}

TEST(ToolTypeNamesTest, AFailedRunWritesNoOutputFile) {
  ScratchDir dir;
  const std::string original = dir.Put("config.bin", SampleBytes("ConfigData"));
  ProcessResult run = RunTool({"decode", "--type-names", "--no-expand", original, "-o", dir.File("out.json")});
  EXPECT_EQ(run.exit_status, 2);
  EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"config.bin"}));
}

}  // namespace
}  // namespace gcuschema::test
