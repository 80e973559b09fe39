// -o naming a stream the run was given (/dev/stdout, /dev/stderr,
// /dev/fd/N, or the file a standard stream is open on) writes through that
// stream, where the shell's redirection put it: after what is there for
// >>, at the stream's position for >; the file behind it is never replaced.
// The runs go through the shell, whose redirections are what is pinned.
#include <sys/stat.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

ino_t Inode(const std::string& path) {
  struct stat st {};
  EXPECT_EQ(::stat(path.c_str(), &st), 0) << path;
  return st.st_ino;
}

std::string Json(const ScratchDir& dir, const std::string& doc) {
  return RunToolOk({"decode", dir.File(doc)}).out;
}

TEST(ToolOutputStreamTest, StandardErrorByNameAppendsToTheFileItIsOpenOn) {
  ScratchDir dir;
  const std::string log = dir.Put("b.log", "log\n");
  const ino_t inode = Inode(log);
  ProcessResult result = RunToolScript(dir.path(), "\"$T\" sample -n 2 -o /dev/stderr 2>>b.log");
  ASSERT_EQ(result.exit_status, 0) << ReadFileBytes(log);
  EXPECT_TRUE(ReadFileBytes(log) == "log\n" + SampleBytes("ConfigData", 2, 1));
  EXPECT_EQ(Inode(log), inode);
  EXPECT_EQ(dir.Entries(), std::vector<std::string>{"b.log"});
}

TEST(ToolOutputStreamTest, StandardOutputByNameKeepsWhatCameBeforeAndAfter) {
  ScratchDir dir;
  dir.Put("s.bin", SampleBytes("ConfigData", 2, 1));
  const std::string out = dir.Put("f", "old\n");
  ProcessResult result = RunToolScript(dir.path(), "( \"$T\" decode s.bin -o /dev/stdout; echo after ) >>f");
  ASSERT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(ReadFileBytes(out), "old\n" + Json(dir, "s.bin") + "after\n");
}

TEST(ToolOutputStreamTest, DescriptorByNumberIsWrittenThroughInItsAppendMode) {
  ScratchDir dir;
  dir.Put("s.bin", SampleBytes("ConfigData", 2, 1));
  const std::string out = dir.Put("f", "old\n");
  const ino_t inode = Inode(out);
  for (const std::string& name : {"/dev/fd/3", "/proc/self/fd/3"}) {
    ProcessResult result = RunToolScript(dir.path(), "\"$T\" decode s.bin -o " + name + " 3>>f");
    ASSERT_EQ(result.exit_status, 0) << result.err;
  }
  EXPECT_EQ(ReadFileBytes(out), "old\n" + Json(dir, "s.bin") + Json(dir, "s.bin"));
  EXPECT_EQ(Inode(out), inode);
}

TEST(ToolOutputStreamTest, FileAStandardStreamIsOpenOnIsWrittenAtTheStreamsPosition) {
  // Any name of the file: its own, or a link to it. With > the stream
  // writes at its position (after "head"), with >> at the end.
  ScratchDir dir;
  dir.Put("s.bin", SampleBytes("ConfigData", 2, 1));
  const std::string out = dir.File("f");
  ProcessResult result = RunToolScript(dir.path(), "ln -s f link && { printf 'head\\n'; \"$T\" decode s.bin -o f; "
                                       "\"$T\" decode s.bin -o link; echo tail; } >f");
  ASSERT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(ReadFileBytes(out), "head\n" + Json(dir, "s.bin") + Json(dir, "s.bin") + "tail\n");

  const std::string log = dir.Put("b.log", "log\n");
  const ino_t inode = Inode(log);
  result = RunToolScript(dir.path(), "\"$T\" sample -n 2 -o b.log 2>>b.log");
  ASSERT_EQ(result.exit_status, 0) << ReadFileBytes(log);
  EXPECT_TRUE(ReadFileBytes(log) == "log\n" + SampleBytes("ConfigData", 2, 1));
  EXPECT_EQ(Inode(log), inode);
  EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"b.log", "f", "link", "s.bin"}));
}

TEST(ToolOutputStreamTest, FileStandardInputReadsIsNotReplaced) {
  // Standard input is open for reading only: its file is neither written
  // through it nor replaced under it.
  ScratchDir dir;
  const std::string in = dir.Put("h", "keep\n");
  for (const std::string& name : {"h", "/dev/stdin"}) {
    SCOPED_TRACE(name);
    ProcessResult result = RunToolScript(dir.path(), "\"$T\" sample -o " + name + " <h");
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.err, "gcuschema: " + name +
                              ": is the file standard input is open on, for reading only; refusing to replace "
                              "it: choose another -o\n");
  }
  EXPECT_EQ(ReadFileBytes(in), "keep\n");
  EXPECT_EQ(dir.Entries(), std::vector<std::string>{"h"});
}

TEST(ToolOutputStreamTest, DescriptorNotOpenIsRefused) {
  ScratchDir dir;
  ProcessResult result = RunToolScript(dir.path(), "\"$T\" sample -o /dev/fd/9 9>&-");
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.err,
            "gcuschema: /dev/fd/9: names descriptor 9, which is not open in this run; open it for writing "
            "(9>FILE in the shell) or choose another -o\n");
  EXPECT_TRUE(dir.Entries().empty());
}

TEST(ToolOutputStreamTest, BinaryToATerminalNamedAsStandardOutputIsRefused) {
  ProcessResult result = RunOnTerminal({GCUSCHEMA_TOOL, "sample", "-o", "/dev/stdout"});
  EXPECT_EQ(result.exit_status, 2) << result.out;
  EXPECT_NE(result.out.find("gcuschema: /dev/stdout: is a terminal"), std::string::npos) << result.out;
}

}  // namespace
}  // namespace gcuschema::test
