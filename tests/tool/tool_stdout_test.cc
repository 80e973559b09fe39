// Whatever a command writes to standard output, a write that fails (a full
// disk, /dev/full) fails the run: exit status 2 and one line on stderr,
// never a silent success.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

void ExpectWriteFailure(const std::vector<std::string>& arguments) {
  ProcessResult result = RunToolWritingTo("/dev/full", arguments);
  EXPECT_EQ(result.exit_status, 2) << result.err;
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  EXPECT_EQ(result.err.rfind("gcuschema: <stdout>: cannot write: ", 0), 0u) << result.err;
}

TEST(ToolStdoutTest, VersionIsTheProjectsOnOneLine) {
  ProcessResult result = RunTool({"--version"});
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.out, std::string("gcuschema ") + GCUSCHEMA_VERSION + "\n");
}

TEST(ToolStdoutTest, HelpAndVersionToAFullDeviceFail) {
  ExpectWriteFailure({"--help"});
  ExpectWriteFailure({"decode", "--help"});
  ExpectWriteFailure({"--version"});
}

TEST(ToolStdoutTest, EveryCommandsOutputToAFullDeviceFails) {
  ScratchDir dir;
  const std::string doc = dir.Put("doc.bin", SampleBytes("ConfigData"));
  // A lint finding: inputs[0].type 16, a type code Input.Type lacks.
  const std::string bad = dir.Put("bad.bin", std::string("\x1A\x02\x18\x10", 4));
  const std::string text = dir.Put("doc.txt", "version: 1\n");
  ExpectWriteFailure({"decode", doc});
  ExpectWriteFailure({"decode", "--format", "text", doc});
  ExpectWriteFailure({"encode", "--from", "text", text});
  ExpectWriteFailure({"sample"});
  ExpectWriteFailure({"inspect", doc});
  ExpectWriteFailure({"lint", bad});
  ExpectWriteFailure({"diff", doc, bad});
  ExpectWriteFailure({"schemas"});
  ExpectWriteFailure({"schemas", "ConfigData"});
}

}  // namespace
}  // namespace gcuschema::test
