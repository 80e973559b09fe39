// Bad input: one line on stderr naming the file, where and what; exit 2;
// no output file left behind; the input never touched.
#include <algorithm>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

// Exit status 2, nothing on stdout, and exactly one line on stderr that
// starts "gcuschema: <subject>: ".
void ExpectFailure(const ProcessResult& result, const std::string& subject) {
  EXPECT_EQ(result.exit_status, 2) << result.err;
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  EXPECT_EQ(result.err.rfind("gcuschema: " + subject + ": ", 0), 0u) << result.err;
}

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(ToolErrorsTest, TruncatedFileNamesTheFileAndTheByte) {
  ScratchDir dir;
  const std::string bytes = SampleBytes("ConfigData");
  const std::string path = dir.Put("cut.bin", bytes.substr(0, bytes.size() / 2));
  ProcessResult result = RunTool({"decode", path});
  ExpectFailure(result, path);
  EXPECT_TRUE(Contains(result.err, "byte ")) << result.err;
}

TEST(ToolErrorsTest, TruncatedStandardInputIsNamedStdin) {
  const std::string bytes = SampleBytes("DeviceData");
  ProcessResult result = RunTool({"decode", "--type", "DeviceData"}, bytes.substr(0, bytes.size() - 3));
  ExpectFailure(result, "<stdin>");
}

TEST(ToolErrorsTest, InvalidUtf8InAStringFieldNamesTheField) {
  ScratchDir dir;
  // inputs[0] { alias: C3 28 }: a lead byte followed by a non-continuation.
  const std::string path = dir.Put("bad-alias.bin", std::string("\x1A\x04\x2A\x02\xC3\x28", 6));
  ProcessResult result = RunTool({"decode", path});
  ExpectFailure(result, path);
  EXPECT_TRUE(Contains(result.err, "inputs[0].alias")) << result.err;
  EXPECT_TRUE(Contains(result.err, "UTF-8")) << result.err;
}

TEST(ToolErrorsTest, MalformedJsonGivesLineAndColumn) {
  ScratchDir dir;
  const std::string path = dir.Put("bad.json", "{\n  \"version\": 1,\n  \"password\": \n}\n");
  ProcessResult result = RunTool({"encode", path, "-o", dir.File("out.bin")});
  ExpectFailure(result, path);
  EXPECT_TRUE(std::regex_search(result.err, std::regex("line 4, column [0-9]+"))) << result.err;
}

TEST(ToolErrorsTest, MalformedTextFormatGivesLineAndColumn) {
  ProcessResult result = RunTool({"encode", "--from", "text", "-o", "/dev/null"},
                                 "version: 1\npassword \"x\"\nnoSuchField: 3\n");
  ExpectFailure(result, "<stdin>");
  EXPECT_TRUE(std::regex_search(result.err, std::regex("line 2, column [0-9]+"))) << result.err;
}

TEST(ToolErrorsTest, ErrorLineShowsBadBytesEscaped) {
  // The JSON reader quotes the ill-formed text; the line must stay UTF-8.
  ProcessResult json = RunTool({"encode", "-o", "/dev/null"}, "{\"password\": \"\xC3\x28\"}");
  ExpectFailure(json, "<stdin>");
  EXPECT_TRUE(Contains(json.err, "\\xC3")) << json.err;
  EXPECT_FALSE(Contains(json.err, "\xC3")) << json.err;
  // A file name with a terminal escape in it is shown, not obeyed.
  ScratchDir dir;
  const std::string name = dir.File("bad\x1B[31mname");
  ProcessResult escape = RunTool({"decode", name});
  EXPECT_EQ(escape.exit_status, 2);
  EXPECT_TRUE(Contains(escape.err, "bad\\x1B[31mname: cannot open")) << escape.err;
  EXPECT_FALSE(Contains(escape.err, "\x1B")) << escape.err;
}

TEST(ToolErrorsTest, UnknownAtTypeNamesTheEntryAndTheType) {
  ScratchDir dir;
  const std::string path =
      dir.Put("unknown-type.json",
              "{\"inputs\": [{\"id\": 1, \"config\": {\"@type\": \"NoSuchSettings\"}}]}\n");
  ProcessResult result = RunTool({"encode", path, "-o", dir.File("out.bin")});
  ExpectFailure(result, path);
  EXPECT_TRUE(Contains(result.err, "inputs[0]")) << result.err;
  EXPECT_TRUE(Contains(result.err, "NoSuchSettings")) << result.err;
}

TEST(ToolErrorsTest, MissingFileIsNamed) {
  ScratchDir dir;
  const std::string path = dir.File("absent.bin");
  for (const char* command : {"decode", "encode", "inspect", "lint"}) {
    SCOPED_TRACE(command);
    // -o for all, as encode writes binary: only the missing input may fail.
    ProcessResult result = std::string(command) == "decode" || std::string(command) == "encode"
                               ? RunTool({command, path, "-o", dir.File("out")})
                               : RunTool({command, path});
    ExpectFailure(result, path);
    EXPECT_TRUE(Contains(result.err, "No such file or directory")) << result.err;
  }
  ProcessResult diff = RunTool({"diff", path, path});
  ExpectFailure(diff, path);
  EXPECT_TRUE(dir.Entries().empty());
}

TEST(ToolErrorsTest, UnknownTypeIsNamedWithAWayOut) {
  ScratchDir dir;
  const std::string path = dir.Put("doc.bin", SampleBytes("ConfigData"));
  ProcessResult result = RunTool({"decode", "--type", "NoSuchRecord", path});
  ExpectFailure(result, "--type");
  EXPECT_TRUE(Contains(result.err, "NoSuchRecord")) << result.err;
  EXPECT_TRUE(Contains(result.err, "gcuschema schemas")) << result.err;
}

TEST(ToolErrorsTest, BadPairingIsNamed) {
  ProcessResult result = RunTool({"decode", "--pair", "input:5=NoSuchRecord"}, "");
  ExpectFailure(result, "--pair");
  EXPECT_TRUE(Contains(result.err, "input:5=NoSuchRecord")) << result.err;
  ProcessResult table = RunTool({"decode", "--map-table", "NoSuchTable"}, "");
  ExpectFailure(table, "--map-table");
  EXPECT_TRUE(Contains(table.err, "NoSuchTable")) << table.err;
}

TEST(ToolErrorsTest, FailedRunLeavesNoOutputAndKeepsAnExistingOne) {
  ScratchDir dir;
  const std::string input = dir.Put("bad.json", "{\"version\": }");
  ProcessResult fresh = RunTool({"encode", input, "-o", dir.File("new.bin")});
  ExpectFailure(fresh, input);
  EXPECT_EQ(dir.Entries(), std::vector<std::string>{"bad.json"});

  const std::string existing = dir.Put("old.bin", "previous contents");
  ProcessResult over = RunTool({"encode", input, "-o", existing});
  ExpectFailure(over, input);
  EXPECT_EQ(ReadFileBytes(existing), "previous contents");
  EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"bad.json", "old.bin"}));
  EXPECT_EQ(ReadFileBytes(input), "{\"version\": }");
}

TEST(ToolErrorsTest, BadBinaryInputIsLeftUntouched) {
  ScratchDir dir;
  const std::string bytes = SampleBytes("ConfigData");
  const std::string cut = bytes.substr(0, bytes.size() - 1);
  const std::string input = dir.Put("cut.bin", cut);
  ProcessResult result = RunTool({"decode", input, "-o", dir.File("out.json")});
  ExpectFailure(result, input);
  EXPECT_TRUE(ReadFileBytes(input) == cut);
  EXPECT_EQ(dir.Entries(), std::vector<std::string>{"cut.bin"});
}

TEST(ToolErrorsTest, OutputOverTheInputIsRefused) {
  ScratchDir dir;
  const std::string bytes = SampleBytes("ConfigData");
  const std::string input = dir.Put("doc.bin", bytes);
  ProcessResult decoded = RunTool({"decode", input, "-o", input});
  ExpectFailure(decoded, input);
  EXPECT_TRUE(Contains(decoded.err, "-o")) << decoded.err;
  EXPECT_TRUE(ReadFileBytes(input) == bytes);

  // The same file under another name is the same input.
  const std::string json = dir.Put("doc.json", RunTool({"decode", input}).out);
  ProcessResult encoded = RunTool({"encode", dir.path() + "/./doc.json", "-o", json});
  ExpectFailure(encoded, json);
  EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"doc.bin", "doc.json"}));
}

TEST(ToolErrorsTest, UsageErrorsExitWithStatusTwo) {
  for (const std::vector<std::string>& args :
       std::vector<std::vector<std::string>>{{},
                                             {"frobnicate"},
                                             {"decode", "--format", "yaml"},
                                             {"decode", "a", "b"},
                                             {"diff", "only-one"},
                                             {"sample", "--inputs", "many"}}) {
    ProcessResult result = RunTool(args);
    EXPECT_EQ(result.exit_status, 2) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_EQ(result.err.rfind("gcuschema: ", 0), 0u) << result.err;
    EXPECT_TRUE(Contains(result.err, "--help")) << result.err;
  }
}

TEST(ToolErrorsTest, FlagGivenAnEmptyValueIsNamed) {
  // As --output= is an empty file name, --no-expand= is a flag given a value
  // of nothing: named, not blamed on the argument after it.
  ScratchDir dir;
  const std::string doc = dir.Put("doc.bin", SampleBytes("ConfigData"));
  ProcessResult result = RunTool({"decode", "--no-expand=", doc});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_TRUE(result.out.empty());
  EXPECT_EQ(result.err, "gcuschema: --no-expand: is a flag and takes no value; give --no-expand alone; see "
                        "`gcuschema decode --help`\n");
  // After "--" it is an operand.
  EXPECT_TRUE(Contains(RunTool({"decode", "--", "--no-expand="}).err, "--no-expand="));
}

TEST(ToolErrorsTest, HelpOfEachCommandExitsZero) {
  for (const char* command :
       {"decode", "encode", "inspect", "lint", "diff", "schemas", "sample"}) {
    ProcessResult result = RunTool({command, "--help"});
    EXPECT_EQ(result.exit_status, 0) << command << ": " << result.err;
    EXPECT_TRUE(Contains(result.out, command)) << result.out;
  }
  ProcessResult decode = RunTool({"decode", "--help"});
  EXPECT_TRUE(Contains(decode.out, "--no-expand")) << decode.out;
}

}  // namespace
}  // namespace gcuschema::test
