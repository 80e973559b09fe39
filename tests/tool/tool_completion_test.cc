// The bash completion the package installs: sourced into bash, it completes
// the commands, their options and the values an option takes.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/process.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

// What bash offers for the words of a command line, the last one being the
// word under the cursor: one completion per line.
std::string Complete(const std::vector<std::string>& words, const std::string& directory = ".") {
  const std::string tool = GCUSCHEMA_TOOL;
  std::string script = "PATH=" + tool.substr(0, tool.rfind('/')) + ":$PATH\n";
  script += "source '" + std::string(GCUSCHEMA_COMPLETION) + "' || exit 3\n";
  script += "cd '" + directory + "' || exit 3\n";
  script += "COMP_WORDS=(";
  for (const std::string& word : words) script += " '" + word + "'";
  script += " )\nCOMP_CWORD=" + std::to_string(words.size() - 1) + "\n";
  // The function `complete` registered for the command, as bash calls it.
  script += "function=$(complete -p gcuschema | sed -n 's/.*-F \\([^ ]*\\).*/\\1/p')\n";
  script += "[ -n \"$function\" ] || exit 4\n";
  script += "$function\n";
  script += "for word in \"${COMPREPLY[@]}\"; do echo \"$word\"; done\n";
  ProcessResult result = RunProcess({"/bin/bash", "--norc", "--noprofile", "-c", script});
  EXPECT_EQ(result.exit_status, 0) << result.err;
  return result.out;
}

TEST(ToolCompletionTest, CompletesCommands) {
  EXPECT_EQ(Complete({"gcuschema", "de"}), "decode\n");
  EXPECT_EQ(Complete({"gcuschema", "s"}), "schemas\nsample\nset\n");
  EXPECT_EQ(Complete({"gcuschema", "--v"}), "--version\n");
}

TEST(ToolCompletionTest, CompletesEachCommandsOptions) {
  EXPECT_EQ(Complete({"gcuschema", "decode", "--no"}), "--no-expand\n");
  EXPECT_EQ(Complete({"gcuschema", "lint", "--fr"}), "--from\n");
  // Every command that reads a document has --from.
  for (const char* command : {"decode", "encode", "inspect", "lint", "diff", "set"}) {
    EXPECT_EQ(Complete({"gcuschema", command, "--fr"}), "--from\n") << command;
  }
  // encode's old -f/--format is still read but no longer offered.
  EXPECT_EQ(Complete({"gcuschema", "encode", "--fo"}), "");
  EXPECT_EQ(Complete({"gcuschema", "sample", "--s"}), "--seed\n");
  // Options of another command are not offered.
  EXPECT_EQ(Complete({"gcuschema", "sample", "--no"}), "");
}

TEST(ToolCompletionTest, CompletesTheValuesAnOptionTakes) {
  EXPECT_EQ(Complete({"gcuschema", "decode", "--format", ""}), "json\ntext\n");
  EXPECT_EQ(Complete({"gcuschema", "diff", "--format", ""}), "text\njson\nhtml\n");
  EXPECT_EQ(Complete({"gcuschema", "inspect", "-f", "j"}), "json\n");
  EXPECT_EQ(Complete({"gcuschema", "diff", "--from", "b"}), "binary\n");
  EXPECT_EQ(Complete({"gcuschema", "encode", "--from", ""}), "binary\njson\ntext\n");
  EXPECT_EQ(Complete({"gcuschema", "set", "-f", ""}), "binary\njson\ntext\n");
  EXPECT_EQ(Complete({"gcuschema", "inspect", "-t", "Dev"}), "DeviceData\n");
}

TEST(ToolCompletionTest, CompletesFileNamesForInputsAndOutputs) {
  ScratchDir dir;
  dir.Put("config.bin", "");
  dir.Put("other.json", "");
  EXPECT_EQ(Complete({"gcuschema", "decode", "co"}, dir.path()), "config.bin\n");
  EXPECT_EQ(Complete({"gcuschema", "encode", "-o", "ot"}, dir.path()), "other.json\n");
  EXPECT_EQ(Complete({"gcuschema", "set", "co"}, dir.path()), "config.bin\n");
}

}  // namespace
}  // namespace gcuschema::test
