// lint, diff and inspect read a document as JSON or text format as well as
// binary, told from its content or named with --from; encode tells JSON
// from text format. So edit -> lint -> diff needs no file in between.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

// One document written four ways, in files named so that the name tells
// nothing: only the content does.
struct Written {
  std::string binary, json, plain_json, text;
};

Written WriteEachWay(const ScratchDir& dir, const std::string& type) {
  const std::string bytes = SampleBytes(type);
  Written written;
  written.binary = dir.Put("a", bytes);
  written.json = dir.Put("b", RunToolOk({"decode", "--type", type}, bytes).out);
  written.plain_json = dir.Put("c", RunToolOk({"decode", "--type", type, "--no-expand"}, bytes).out);
  written.text = dir.Put("d", RunToolOk({"decode", "--type", type, "--format", "text"}, bytes).out);
  return written;
}

TEST(ToolFormatsTest, InspectAndLintReadEveryFormatAlike) {
  ScratchDir dir;
  for (const char* type : {"ConfigData", "DeviceData"}) {
    SCOPED_TRACE(type);
    const Written w = WriteEachWay(dir, type);
    for (const char* command : {"inspect", "lint"}) {
      SCOPED_TRACE(command);
      const std::string expected = RunToolOk({command, "--type", type, w.binary}).out;
      for (const std::string& path : {w.json, w.plain_json, w.text}) {
        EXPECT_EQ(RunToolOk({command, "--type", type, path}).out, expected) << path;
      }
    }
  }
}

TEST(ToolFormatsTest, DiffComparesDocumentsInDifferentFormats) {
  ScratchDir dir;
  const Written w = WriteEachWay(dir, "ConfigData");
  for (const std::string& other : {w.json, w.plain_json, w.text}) {
    ProcessResult result = RunTool({"diff", w.binary, other});
    EXPECT_EQ(result.exit_status, 0) << result.err;
    EXPECT_EQ(result.out, "");
  }
}

TEST(ToolFormatsTest, EditedJsonIsLintedAndComparedWithoutEncodingIt) {
  ScratchDir dir;
  const Written w = WriteEachWay(dir, "ConfigData");
  std::string json = ReadFileBytes(w.json);
  const std::string before = "\"alias\": \"Analog_001\"";
  ASSERT_NE(json.find(before), std::string::npos);
  json.replace(json.find(before), before.size(), "\"alias\": \"Oil temperature\"");
  const std::string edited = dir.Put("edited.json", json);
  RunToolOk({"lint", edited});
  ProcessResult diff = RunTool({"diff", w.binary, edited});
  EXPECT_EQ(diff.exit_status, 1) << diff.err;
  EXPECT_EQ(diff.out, "~ inputs[id=1 \"Oil temperature\"].alias: \"Analog_001\" -> \"Oil temperature\"\n");
  // From standard input too.
  ProcessResult piped = RunTool({"diff", w.binary, "-"}, json);
  EXPECT_EQ(piped.exit_status, 1) << piped.err;
  EXPECT_EQ(piped.out, diff.out);
}

TEST(ToolFormatsTest, FromNamesTheFormatInsteadOfTheContent) {
  ScratchDir dir;
  const Written w = WriteEachWay(dir, "ConfigData");
  const std::string expected = RunToolOk({"inspect", w.binary}).out;
  EXPECT_EQ(RunToolOk({"inspect", "--from", "text", w.text}).out, expected);
  EXPECT_EQ(RunToolOk({"inspect", "--from", "json", w.json}).out, expected);
  EXPECT_EQ(RunToolOk({"inspect", "--from", "binary", w.binary}).out, expected);
  // Read as told, the wrong format fails where that reader stops.
  ProcessResult as_json = RunTool({"lint", "--from", "json", w.text});
  EXPECT_EQ(as_json.exit_status, 2);
  EXPECT_EQ(as_json.err.rfind("gcuschema: " + w.text + ": line 1, column 1: ", 0), 0u) << as_json.err;
  ProcessResult as_binary = RunTool({"lint", "--from", "binary", w.json});
  EXPECT_EQ(as_binary.exit_status, 2);
  EXPECT_EQ(as_binary.err.rfind("gcuschema: " + w.json + ": byte ", 0), 0u) << as_binary.err;
  ProcessResult unknown = RunTool({"lint", "--from", "yaml", w.json});
  EXPECT_EQ(unknown.exit_status, 2);
  EXPECT_NE(unknown.err.find("--from"), std::string::npos) << unknown.err;
}

TEST(ToolFormatsTest, BrokenJsonIsReportedWithLineAndColumnByEveryReader) {
  const std::string broken = "{\n  \"version\": 3,\n  \"inputs\": [\n";
  for (const char* command : {"lint", "inspect"}) {
    ProcessResult result = RunTool({command, "-"}, broken);
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.err.rfind("gcuschema: <stdin>: line 4, column 1: ", 0), 0u) << result.err;
  }
}

TEST(ToolFormatsTest, EncodeTellsTextFormatFromJson) {
  ScratchDir dir;
  const Written w = WriteEachWay(dir, "ConfigData");
  const std::string bytes = ReadFileBytes(w.binary);
  EXPECT_TRUE(RunToolOk({"encode", w.text}).out == bytes);
  EXPECT_TRUE(RunToolOk({"encode", w.json}).out == bytes);
  EXPECT_TRUE(RunToolOk({"encode"}, ReadFileBytes(w.text)).out == bytes);
  // A comment first is text format as well.
  EXPECT_TRUE(RunToolOk({"encode"}, "# edited by hand\n" + ReadFileBytes(w.text)).out == bytes);
}

TEST(ToolFormatsTest, EncodeOfAnEncodedDocumentSaysWhatItReads) {
  ScratchDir dir;
  const std::string path = dir.Put("doc", SampleBytes("ConfigData"));
  ProcessResult result = RunTool({"encode", path, "-o", dir.File("out.bin")});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.err.rfind("gcuschema: " + path + ": is an encoded document already", 0), 0u) << result.err;
  EXPECT_NE(result.err.find("--from json or --from text"), std::string::npos) << result.err;
  EXPECT_EQ(dir.Entries(), std::vector<std::string>{"doc"});
}

}  // namespace
}  // namespace gcuschema::test
