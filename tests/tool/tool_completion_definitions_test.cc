// The bash completion stays in step with the tool: the build's script is
// what the tool writes now, and it holds every command the help lists, every
// option each command's help lists, and every record of the library.
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <gcuschema/document/records.h>

#include "support/completion.h"
#include "support/process.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = text.find('\n', at);
    lines.push_back(text.substr(at, end - at));
    if (end == std::string::npos) break;
    at = end + 1;
  }
  return lines;
}

// The commands `gcuschema --help` lists.
std::vector<std::string> CommandsInHelp() {
  std::vector<std::string> commands;
  bool listing = false;
  const std::regex command("  ([a-z][a-z-]*) .*");
  for (const std::string& line : Lines(RunToolOk({"--help"}).out)) {
    std::smatch match;
    if (line == "Subcommands:") {
      listing = true;
    } else if (line.empty()) {
      listing = false;
    } else if (listing && std::regex_match(line, match, command)) {
      commands.push_back(match[1]);
    }
  }
  return commands;
}

// The options `gcuschema COMMAND --help` lists ("-t", "--type", ...). CLI11
// sets the names in the first 30 columns of a line of the Options section.
std::set<std::string> OptionsInHelp(const std::string& command) {
  std::set<std::string> options;
  bool listing = false;
  const std::regex name("(^|,)(--?[A-Za-z][A-Za-z0-9-]*)");
  for (const std::string& line : Lines(RunToolOk({command, "--help"}).out)) {
    if (line == "Options:") {
      listing = true;
    } else if (line.empty() || line[0] != ' ') {
      listing = false;
    } else if (listing && line.rfind("  -", 0) == 0) {
      const std::string names = line.substr(2, line.find(' ', 2) - 2);
      for (std::sregex_iterator it(names.begin(), names.end(), name), end; it != end; ++it) {
        options.insert((*it)[2]);
      }
    }
  }
  return options;
}

std::set<std::string> LineSet(const std::string& text) {
  std::set<std::string> lines;
  for (const std::string& line : Lines(text)) lines.insert(line);
  return lines;
}

TEST(ToolCompletionDefinitionsTest, TheBuildsScriptIsWhatTheToolWrites) {
  const ProcessResult written = RunToolOk({"completion", "bash"});
  EXPECT_FALSE(written.out.empty());
  EXPECT_TRUE(written.out == ReadFileBytes(GCUSCHEMA_COMPLETION))
      << "the build's " << GCUSCHEMA_COMPLETION << " is not what `gcuschema completion bash` writes";
  // And to a file through -o, as the build writes it.
  ScratchDir dir;
  RunToolOk({"completion", "bash", "-o", dir.File("completion")});
  EXPECT_TRUE(ReadFileBytes(dir.File("completion")) == written.out);
}

TEST(ToolCompletionDefinitionsTest, OffersEveryCommandTheHelpLists) {
  const std::vector<std::string> commands = CommandsInHelp();
  ASSERT_GE(commands.size(), 10u);
  std::string expected;
  for (const std::string& command : commands) expected += command + "\n";
  expected += "-h\n--help\n--version\n";
  EXPECT_EQ(Complete({"gcuschema", ""}), expected);
}

TEST(ToolCompletionDefinitionsTest, OffersEveryOptionEachCommandsHelpLists) {
  for (const std::string& command : CommandsInHelp()) {
    const std::set<std::string> in_help = OptionsInHelp(command);
    EXPECT_GE(in_help.size(), 3u) << command;  // -h, --help and one of its own at least
    const std::set<std::string> offered = LineSet(Complete({"gcuschema", command, "-"}));
    EXPECT_EQ(offered, in_help) << command;
  }
}

TEST(ToolCompletionDefinitionsTest, OffersEveryRecordOfTheLibrary) {
  std::string expected;
  for (const std::string& name : document::RecordNames()) expected += name + "\n";
  EXPECT_EQ(Complete({"gcuschema", "decode", "--type", ""}), expected);
  EXPECT_EQ(Complete({"gcuschema", "report", "--map-table", ""}), expected);
  // And each is a record the tool takes.
  for (const char* name : {"Map3D", "CalibrationData.AdcCalibrationData", "WaveformInputConfigData"}) {
    EXPECT_EQ(RunTool({"schemas", name}).exit_status, 0) << name;
  }
}

TEST(ToolCompletionDefinitionsTest, EveryCodeOfferedForSchemasIsOneTheToolTakes) {
  for (const char* kind : {"input:", "output:", "map:"}) {
    const std::vector<std::string> codes = Lines(Complete({"gcuschema", "schemas", kind}));
    EXPECT_GE(codes.size(), 6u) << kind;
    for (const std::string& code : codes) {
      if (code.empty()) continue;
      const ProcessResult shown = RunTool({"schemas", code});
      EXPECT_EQ(shown.exit_status, 0) << code << ": " << shown.err;
    }
  }
}

TEST(ToolCompletionDefinitionsTest, OnlyBashIsWritten) {
  const ProcessResult result = RunTool({"completion", "zsh"});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_NE(result.err.find("zsh"), std::string::npos) << result.err;
  EXPECT_EQ(result.out, "");
}

}  // namespace
}  // namespace gcuschema::test
