// A large document decoded by the tool to JSON and text on one thread and
// on several: the same output, the text still protoc's, encoded back to the
// same bytes; and the thread count's limits.
#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/memory_bounds.h"
#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

// Large enough for every threaded path (over a megabyte encoded).
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
  EXPECT_TRUE(RunOk({"encode", "--from", "text"}, text).out == bytes);
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

TEST(ToolThreadsTest, NegativeOrNonNumericThreadCountIsRefusedInOneShortLine) {
  for (const char* count : {"-1", "-2", "many", "1.5"}) {
    SCOPED_TRACE(count);
    ProcessResult result = RunTool({"decode", "-j", count}, LargeDocument());
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.rfind("gcuschema: --threads: ", 0), 0u) << result.err;
    EXPECT_NE(result.err.find(std::string("not ") + count), std::string::npos) << result.err;
    EXPECT_LT(result.err.size(), 200u) << result.err;
  }
}

TEST(ToolThreadsTest, ThreadCountBeyondTheCoresIsTakenAsTheCores) {
  if (!GCUSCHEMA_MEMORY_BOUNDS_HOLD) GTEST_SKIP() << "memory bounds do not hold under a sanitizer";
  const std::string bytes = LargeDocument();
  const std::string cores = std::to_string(std::max(1u, std::thread::hardware_concurrency()));
  const std::string beyond = std::to_string(std::max(1u, std::thread::hardware_concurrency()) * 32);
  const ProcessResult at_cores = RunOk({"decode", "-j", cores}, bytes);
  // Far beyond every core, and beyond every integer type.
  for (const std::string& count : {beyond, std::string("10000"), std::string("99999999999999999999999")}) {
    SCOPED_TRACE(count);
    const ProcessResult result = RunOk({"decode", "-j", count}, bytes);
    EXPECT_TRUE(result.out == at_cores.out);
    // No more threads, so no more memory than one per core.
    EXPECT_LT(result.max_rss_kb, at_cores.max_rss_kb * 3 / 2 + 16 * 1024)
        << "at the core count: " << at_cores.max_rss_kb << " KiB";
  }
}

TEST(ToolThreadsTest, HelpSaysTheThreadCountIsCappedAtTheCores) {
  ProcessResult help = RunOk({"decode", "--help"});
  EXPECT_NE(help.out.find("at most one per core"), std::string::npos) << help.out;
}

}  // namespace
}  // namespace gcuschema::test
