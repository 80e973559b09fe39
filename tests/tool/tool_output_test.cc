// Where -o writes: a new file, an existing one replaced whole, the file
// behind a symbolic link, a device; never a directory.
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

TEST(ToolOutputTest, ReplacesAnExistingFileWholeAndKeepsItsMode) {
  ScratchDir dir;
  const std::string out = dir.Put("out.bin", std::string(100000, 'x'));
  ASSERT_EQ(::chmod(out.c_str(), 0640), 0);
  ProcessResult result = RunTool({"sample", "--inputs", "3", "-o", out});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  EXPECT_TRUE(ReadFileBytes(out) == SampleBytes("ConfigData", 3, 1));
  struct stat st {};
  ASSERT_EQ(::stat(out.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0640u);
  EXPECT_EQ(dir.Entries(), std::vector<std::string>{"out.bin"});
}

TEST(ToolOutputTest, ThroughASymbolicLinkReplacesTheTargetAndKeepsTheLink) {
  ScratchDir dir;
  const std::string target = dir.Put("target.bin", "old");
  const std::string link = dir.File("link.bin");
  ASSERT_EQ(::symlink("target.bin", link.c_str()), 0);
  ProcessResult result = RunTool({"sample", "--inputs", "2", "-o", link});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  struct stat st {};
  ASSERT_EQ(::lstat(link.c_str(), &st), 0);
  EXPECT_TRUE(S_ISLNK(st.st_mode));
  EXPECT_TRUE(ReadFileBytes(target) == SampleBytes("ConfigData", 2, 1));
  EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"link.bin", "target.bin"}));
}

TEST(ToolOutputTest, DeviceIsWrittenToNotReplaced) {
  ProcessResult result = RunTool({"sample", "-o", "/dev/null"});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  struct stat st {};
  ASSERT_EQ(::stat("/dev/null", &st), 0);
  EXPECT_TRUE(S_ISCHR(st.st_mode));
}

TEST(ToolOutputTest, DirectoryIsRefused) {
  ScratchDir dir;
  for (const std::string& out : {dir.path(), dir.path() + "/"}) {
    ProcessResult result = RunTool({"sample", "-o", out});
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.err.rfind("gcuschema: " + out + ": is a directory", 0), 0u) << result.err;
  }
  EXPECT_TRUE(dir.Entries().empty());
}

TEST(ToolOutputTest, MissingDirectoryIsNamed) {
  ScratchDir dir;
  const std::string out = dir.File("no-such-dir/out.bin");
  ProcessResult result = RunTool({"sample", "-o", out});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.err.rfind("gcuschema: " + out + ": ", 0), 0u) << result.err;
  EXPECT_NE(result.err.find("No such file or directory"), std::string::npos) << result.err;
}

}  // namespace
}  // namespace gcuschema::test
