// Where -o writes: a new file, an existing one replaced whole, the file
// behind a symbolic link (even one not there yet), a device; never a
// directory, a read-only file or another user's file; and what a killed run
// leaves behind is removed by the next one.
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <utility>
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

TEST(ToolOutputTest, StandardOutputByNameIsWrittenInPlace) {
  // /dev/stdout is a link to /proc/self/fd/1, here a pipe: the kernel's
  // link, not a file to create.
  ScratchDir dir;
  const std::string doc = dir.Put("doc.bin", SampleBytes("ConfigData"));
  ProcessResult named = RunTool({"decode", "-o", "/dev/stdout", doc});
  ASSERT_EQ(named.exit_status, 0) << named.err;
  EXPECT_EQ(named.out, RunTool({"decode", doc}).out);
  EXPECT_EQ(dir.Entries(), std::vector<std::string>{"doc.bin"});
}

TEST(ToolOutputTest, EmptyOutputNameIsRefused) {
  // An unset shell variable (-o "$OUT") must not send a document to
  // standard output, nor (--output="$OUT" IN) make the input the output.
  ScratchDir dir;
  const std::string text = dir.Put("doc.txt", "version: 1\n");
  const std::string doc = dir.Put("doc.bin", SampleBytes("ConfigData"));
  const std::vector<std::vector<std::string>> runs = {{"sample", "-o", ""},
                                                      {"encode", "-o", "", text},
                                                      {"decode", "-o", "", doc},
                                                      {"sample", "--output="},
                                                      {"encode", "--output=", text},
                                                      {"decode", "--output=", doc}};
  for (const std::vector<std::string>& arguments : runs) {
    SCOPED_TRACE(arguments[0] + " " + arguments[1]);
    // A document on standard input too, which --output= IN would have
    // written over IN.
    ProcessResult result =
        RunTool(arguments, arguments[0] == "decode" ? SampleBytes("ConfigData", 2, 1) : "version: 2\n");
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_TRUE(result.out.empty()) << result.out.size() << " bytes to standard output";
    EXPECT_EQ(result.err, "gcuschema: --output: is empty; give a file name, or - for standard output; see "
                          "`gcuschema " + arguments[0] + " --help`\n");
  }
  EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"doc.bin", "doc.txt"}));
  EXPECT_TRUE(ReadFileBytes(doc) == SampleBytes("ConfigData"));
  EXPECT_EQ(ReadFileBytes(text), "version: 1\n");
}

TEST(ToolOutputTest, InputReadFromStandardInputIsNotReplaced) {
  // As for a named input: the same file under any name, whether standard
  // input is open on it for reading or for writing too (<>).
  ScratchDir dir;
  const std::string doc = dir.Put("s.bin", SampleBytes("ConfigData", 2, 1));
  const std::string json = RunToolOk({"decode", doc}).out;
  dir.Put("x.json", json);
  const std::vector<std::pair<std::string, std::string>> runs = {
      {"x.json", "\"$T\" encode -o x.json <x.json"},
      {"x.json", "\"$T\" encode -o x.json 0<>x.json"},
      {"link", "ln -s x.json link && \"$T\" encode -o link <x.json"},
      {"/dev/stdin", "\"$T\" encode -o /dev/stdin 0<>x.json"},
      {"s.bin", "\"$T\" decode -o s.bin <s.bin"},
  };
  for (const auto& [output, script] : runs) {
    SCOPED_TRACE(script);
    ProcessResult result = RunToolScript(dir.path(), script);
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.err, "gcuschema: " + output +
                              ": is the input, read from standard input; refusing to replace it, choose another "
                              "-o\n");
  }
  EXPECT_EQ(ReadFileBytes(dir.File("x.json")), json);
  EXPECT_TRUE(ReadFileBytes(doc) == SampleBytes("ConfigData", 2, 1));
  EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"link", "s.bin", "x.json"}));

  // Another file is written as ever.
  ASSERT_EQ(RunToolScript(dir.path(), "\"$T\" encode -o again.bin <x.json").exit_status, 0);
  EXPECT_TRUE(ReadFileBytes(dir.File("again.bin")) == SampleBytes("ConfigData", 2, 1));
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

TEST(ToolOutputTest, DanglingSymbolicLinkCreatesItsTargetAndKeepsTheLink) {
  ScratchDir dir;
  const std::string link = dir.File("link.bin");
  ASSERT_EQ(::symlink("target.bin", link.c_str()), 0);
  // A chain of links ends at the same missing file.
  const std::string outer = dir.File("outer.bin");
  ASSERT_EQ(::symlink("link.bin", outer.c_str()), 0);
  ProcessResult result = RunTool({"sample", "--inputs", "2", "-o", outer});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  for (const std::string& path : {link, outer}) {
    struct stat st {};
    ASSERT_EQ(::lstat(path.c_str(), &st), 0);
    EXPECT_TRUE(S_ISLNK(st.st_mode)) << path;
  }
  struct stat st {};
  ASSERT_EQ(::lstat(dir.File("target.bin").c_str(), &st), 0);
  EXPECT_TRUE(S_ISREG(st.st_mode));
  EXPECT_TRUE(ReadFileBytes(dir.File("target.bin")) == SampleBytes("ConfigData", 2, 1));
  EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"link.bin", "outer.bin", "target.bin"}));
}

TEST(ToolOutputTest, ReadOnlyFileIsNotReplaced) {
  // Also as the superuser, whom the system itself would let write it.
  ScratchDir dir;
  const std::string out = dir.Put("out.bin", "keep me");
  ASSERT_EQ(::chmod(out.c_str(), 0444), 0);
  const std::string link = dir.File("link.bin");
  ASSERT_EQ(::symlink("out.bin", link.c_str()), 0);
  for (const std::string& path : {out, link}) {
    ProcessResult result = RunTool({"sample", "-o", path});
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.err.rfind("gcuschema: " + path + ": ", 0), 0u) << result.err;
    EXPECT_NE(result.err.find("read-only"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("chmod u+w"), std::string::npos) << result.err;
  }
  EXPECT_EQ(ReadFileBytes(out), "keep me");
  EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"link.bin", "out.bin"}));
}

TEST(ToolOutputTest, AnotherUsersFileIsNotReplaced) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs the superuser, to give a file to another user";
  ScratchDir dir;
  const std::string out = dir.Put("out.bin", "theirs");
  ASSERT_EQ(::chmod(out.c_str(), 0666), 0);
  ASSERT_EQ(::chown(out.c_str(), 65534, 65534), 0);  // nobody
  ProcessResult result = RunTool({"sample", "-o", out});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.err.rfind("gcuschema: " + out + ": ", 0), 0u) << result.err;
  EXPECT_NE(result.err.find("belongs to"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("choose another -o"), std::string::npos) << result.err;
  struct stat st {};
  ASSERT_EQ(::stat(out.c_str(), &st), 0);
  EXPECT_EQ(st.st_uid, 65534u);
  EXPECT_EQ(ReadFileBytes(out), "theirs");
}

// The name a run's temporary file has: hidden, after the file it becomes,
// with the host and process that write it.
std::string TemporaryName(const std::string& base, const std::string& pid, const std::string& tail) {
  char host[256] = {};
  ::gethostname(host, sizeof host - 1);
  return "." + base + ".gcuschema-" + host + "-" + pid + "-" + tail;
}

TEST(ToolOutputTest, StaleTemporariesOfDeadRunsAreRemoved) {
  ScratchDir dir;
  // A process that has ended: its id names no running process.
  ProcessResult ended = RunProcess({"/bin/true"});
  ASSERT_EQ(ended.exit_status, 0);
  const std::string pid = std::to_string(ended.pid);
  const std::string stale = TemporaryName("old.bin", pid, "Ab12Cd");
  const std::string live = TemporaryName("old.bin", std::to_string(::getpid()), "Ab12Cd");
  const std::string elsewhere = ".old.bin.gcuschema-other.host.example-" + pid + "-Ab12Cd";
  for (const std::string& name : {stale, live, elsewhere, std::string("keep.bin")}) {
    dir.Put(name, std::string(1000, 'x'));
  }
  ProcessResult result = RunTool({"sample", "-o", dir.File("new.bin")});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  // Only the dead run's; a live run's, another host's and other files stay.
  EXPECT_FALSE(FileExists(dir.File(stale)));
  std::vector<std::string> expected = {elsewhere, live, "keep.bin", "new.bin"};
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(dir.Entries(), expected);
}

TEST(ToolOutputTest, RunKilledWhileWritingLeavesATemporaryTheNextRunRemoves) {
  ScratchDir dir;
  const std::string input = dir.File("big.bin");
  ASSERT_EQ(RunTool({"sample", "--inputs", "100000", "-o", input}).exit_status, 0);
  const int pid = StartTool({"decode", "-j", "1", "-o", dir.File("big.json"), input});
  ASSERT_GT(pid, 0);
  // Killed once its temporary holds part of the output.
  const std::string prefix = ".big.json.gcuschema-";
  std::string temporary;
  const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (temporary.empty() && std::chrono::steady_clock::now() < give_up) {
    for (const std::string& name : dir.Entries()) {
      struct stat st {};
      if (name.rfind(prefix, 0) == 0 && ::stat(dir.File(name).c_str(), &st) == 0 && st.st_size > 0) {
        temporary = name;
      }
    }
    if (temporary.empty()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  ::kill(pid, SIGKILL);
  ProcessResult killed = WaitForProcess(pid);
  ASSERT_FALSE(temporary.empty()) << "no temporary seen";
  ASSERT_EQ(killed.signal, SIGKILL) << "the run ended before it could be killed";
  EXPECT_TRUE(FileExists(dir.File(temporary)));
  EXPECT_FALSE(FileExists(dir.File("big.json")));

  ProcessResult next = RunTool({"sample", "-o", dir.File("next.bin")});
  ASSERT_EQ(next.exit_status, 0) << next.err;
  EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"big.bin", "next.bin"}));
}

}  // namespace
}  // namespace gcuschema::test
