// A large document decoded by the tool to JSON on one thread and on
// several: the same output, encoded back to the same bytes; and its text
// format, which is protoc's, read back.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

// Large enough for every threaded path, and over a megabyte encoded, so
// that files are mapped.
std::string LargeDocument() {
  static const std::string bytes = SampleBytes("ConfigData", 10000, 5);
  return bytes;
}

ProcessResult RunOk(const std::vector<std::string>& arguments, const std::string& input = "") {
  ProcessResult result = RunTool(arguments, input);
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  return result;
}

TEST(ToolThreadsTest, LargeTextIsProtocsOnAnyNumberOfThreadsAndEncodesBack) {
  const std::string bytes = LargeDocument();
  ASSERT_GT(bytes.size(), 1024u * 1024u);
  ProcessResult protoc = RunProcess({GCUSCHEMA_PROTOC, "--decode=ConfigData", "-I", GCUSCHEMA_SCHEMA_DIR,
                                     std::string(GCUSCHEMA_SCHEMA_DIR) + "/Config.proto"},
                                    bytes);
  ASSERT_EQ(protoc.exit_status, 0) << protoc.err;
  ScratchDir dir;
  const std::string file = dir.Put("doc.bin", bytes);
  const std::string text = RunOk({"decode", "--format", "text", file}).out;
  EXPECT_TRUE(text == protoc.out);
  for (const char* threads : {"1", "2", "3"}) {
    EXPECT_TRUE(RunOk({"decode", "--format", "text", "-j", threads}, bytes).out == protoc.out) << threads;
  }
  EXPECT_TRUE(RunOk({"encode", "--format", "text"}, text).out == bytes);
}

TEST(ToolThreadsTest, JsonIsTheSameOnAnyNumberOfThreadsAndEncodesBack) {
  const std::string bytes = LargeDocument();
  ScratchDir dir;
  const std::string file = dir.Put("doc.bin", bytes);
  for (const char* expand : {"", "--no-expand"}) {
    SCOPED_TRACE(expand);
    std::vector<std::string> one = {"decode", "-j", "1", file};
    if (*expand != '\0') one.push_back(expand);
    const std::string json = RunOk(one).out;
    ASSERT_FALSE(json.empty());
    for (const char* threads : {"2", "3"}) {
      std::vector<std::string> more = {"decode", "-j", threads, file};
      if (*expand != '\0') more.push_back(expand);
      EXPECT_TRUE(RunOk(more).out == json) << threads;
    }
    EXPECT_TRUE(RunOk({"encode"}, json).out == bytes);
  }
}

TEST(ToolThreadsTest, ThreadCountCannotBeNegative) {
  ProcessResult result = RunTool({"decode", "-j", "-2"}, LargeDocument());
  EXPECT_NE(result.exit_status, 0);
  EXPECT_EQ(result.out, "");
}

}  // namespace
}  // namespace gcuschema::test
