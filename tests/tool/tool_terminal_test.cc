// Binary output is never sprayed over a terminal, whether it is standard
// output or named with -o; text output is fine there.
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

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
    // encode reads an empty file named text format, a valid empty document,
    // so that only its destination can be wrong.
    ProcessResult result = std::string(command) == "encode"
                               ? RunOnTerminal({GCUSCHEMA_TOOL, command, "--from", "text",
                                                "/dev/null"})
                               : RunOnTerminal({GCUSCHEMA_TOOL, command});
    EXPECT_EQ(result.exit_status, 2) << result.out;
    EXPECT_NE(result.out.find("terminal"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("-o"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("redirect"), std::string::npos) << result.out;
  }
}

TEST(ToolTerminalTest, BinaryToATerminalNamedByOutputIsRefused) {
  // The controlling terminal by its generic name.
  ProcessResult tty = RunOnTerminal({GCUSCHEMA_TOOL, "sample", "-o", "/dev/tty"});
  EXPECT_EQ(tty.exit_status, 2) << tty.out;
  EXPECT_NE(tty.out.find("gcuschema: /dev/tty: is a terminal"), std::string::npos) << tty.out;
  EXPECT_EQ(tty.out.find('\x08'), std::string::npos) << "binary reached the terminal";

  // Another terminal by its own name, from a run that has none.
  const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_GE(master, 0);
  ASSERT_EQ(::grantpt(master), 0);
  ASSERT_EQ(::unlockpt(master), 0);
  const std::string name = ::ptsname(master);
  for (const char* command : {"sample", "encode"}) {
    SCOPED_TRACE(command);
    ProcessResult result = std::string(command) == "encode"
                               ? RunTool({command, "--from", "text", "-o", name, "/dev/null"})
                               : RunTool({command, "-o", name});
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.err.rfind("gcuschema: " + name + ": is a terminal", 0), 0u) << result.err;
  }
  // Nothing was written to it.
  ::fcntl(master, F_SETFL, O_NONBLOCK);
  char byte = 0;
  EXPECT_LT(::read(master, &byte, 1), 1);
  ::close(master);
}

TEST(ToolTerminalTest, TextToATerminalNamedByOutputIsWritten) {
  ScratchDir dir;
  const std::string path = dir.Put("doc.bin", SampleBytes("ConfigData"));
  ProcessResult result = RunOnTerminal({GCUSCHEMA_TOOL, "decode", "-o", "/dev/tty", path});
  EXPECT_EQ(result.exit_status, 0) << result.out;
  EXPECT_NE(result.out.find("\"inputs\""), std::string::npos);
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
