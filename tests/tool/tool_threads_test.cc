// A large document decoded and encoded by the tool on one thread and on
// several: the same output, the text still protoc's, the bytes given back;
// from files and from pipes.
#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

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

TEST(ToolThreadsTest, TextIsProtocsOnAnyNumberOfThreads) {
  const std::string bytes = LargeDocument();
  ASSERT_GT(bytes.size(), 1024u * 1024u);
  ProcessResult protoc = RunProcess({GCUSCHEMA_PROTOC, "--decode=ConfigData", "-I", GCUSCHEMA_SCHEMA_DIR,
                                     std::string(GCUSCHEMA_SCHEMA_DIR) + "/Config.proto"},
                                    bytes);
  ASSERT_EQ(protoc.exit_status, 0) << protoc.err;
  ScratchDir dir;
  const std::string file = dir.Put("doc.bin", bytes);
  for (const char* threads : {"1", "2", "3"}) {
    SCOPED_TRACE(threads);
    EXPECT_TRUE(RunOk({"decode", "--format", "text", "-j", threads}, bytes).out == protoc.out);
    EXPECT_TRUE(RunOk({"decode", "--format", "text", "--threads", threads, file}).out == protoc.out);
  }
}

TEST(ToolThreadsTest, TextEncodesBackOnAnyNumberOfThreads) {
  const std::string bytes = LargeDocument();
  const std::string text = RunOk({"decode", "--format", "text", "-j", "1"}, bytes).out;
  ScratchDir dir;
  const std::string file = dir.Put("doc.txt", text);
  for (const char* threads : {"1", "2", "3"}) {
    SCOPED_TRACE(threads);
    EXPECT_TRUE(RunOk({"encode", "--format", "text", "-j", threads}, text).out == bytes);
    RunOk({"encode", "--format", "text", "-j", threads, file, "-o", dir.File("out.bin")});
    EXPECT_TRUE(ReadFileBytes(dir.File("out.bin")) == bytes);
  }
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

TEST(ToolThreadsTest, ErrorsAreTheSameOnAnyNumberOfThreads) {
  const std::string text = RunOk({"decode", "--format", "text", "-j", "1"}, LargeDocument()).out;
  const std::string bad = text + "inputs {\n  id: \"seven\"\n}\n";
  ProcessResult one = RunTool({"encode", "--format", "text", "-j", "1"}, bad);
  ProcessResult two = RunTool({"encode", "--format", "text", "-j", "2"}, bad);
  EXPECT_NE(one.exit_status, 0);
  EXPECT_EQ(two.exit_status, one.exit_status);
  EXPECT_NE(one.err.find("column 7"), std::string::npos) << one.err;
  EXPECT_EQ(two.err, one.err);
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
  for (const char* command : {"decode", "encode"}) {
    ProcessResult help = RunOk({command, "--help"});
    EXPECT_NE(help.out.find("at most one per core"), std::string::npos) << help.out;
  }
}

}  // namespace
}  // namespace gcuschema::test
