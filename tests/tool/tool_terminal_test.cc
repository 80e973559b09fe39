// Binary output is never sprayed over a terminal; text output is fine there.
#include <string>

#include <gtest/gtest.h>

#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

TEST(ToolTerminalTest, BinaryToATerminalIsRefused) {
  for (const char* command : {"sample", "encode"}) {
    SCOPED_TRACE(command);
    // encode reads an empty file, a valid empty document, so that only its
    // destination can be wrong.
    ProcessResult result = std::string(command) == "encode"
                               ? RunOnTerminal({GCUSCHEMA_TOOL, command, "--format", "text",
                                                "/dev/null"})
                               : RunOnTerminal({GCUSCHEMA_TOOL, command});
    EXPECT_EQ(result.exit_status, 2) << result.out;
    EXPECT_NE(result.out.find("terminal"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("-o"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("redirect"), std::string::npos) << result.out;
  }
}

TEST(ToolTerminalTest, BinaryToAFileFromATerminalIsWritten) {
  ScratchDir dir;
  ProcessResult result = RunOnTerminal({GCUSCHEMA_TOOL, "sample", "-o", dir.File("s.bin")});
  EXPECT_EQ(result.exit_status, 0) << result.out;
  EXPECT_TRUE(ReadFileBytes(dir.File("s.bin")) == SampleBytes("ConfigData", 24, 1));
}

TEST(ToolTerminalTest, TextToATerminalIsWritten) {
  ScratchDir dir;
  const std::string path = dir.Put("doc.bin", SampleBytes("ConfigData"));
  ProcessResult result = RunOnTerminal({GCUSCHEMA_TOOL, "decode", path});
  EXPECT_EQ(result.exit_status, 0) << result.out;
  EXPECT_NE(result.out.find("\"inputs\""), std::string::npos);
}

}  // namespace
}  // namespace gcuschema::test
