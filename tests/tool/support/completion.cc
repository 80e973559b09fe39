#include "support/completion.h"

#include <gtest/gtest.h>

#include "support/process.h"

namespace gcuschema::test {
namespace {

// 'text', as bash reads it back.
std::string Quoted(const std::string& text) {
  std::string out = "'";
  for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

// Between what was offered and the compopt calls.
constexpr char kMarker[] = "--- compopt\n";

struct Completion {
  std::string offered;
  std::string options;
};

Completion RunCompletion(const std::vector<std::string>& words, const std::string& directory,
                            const std::string& line) {
  std::string script = "load() { source " + Quoted(GCUSCHEMA_COMPLETION) + "; }\nload || exit 3\n";
  // compopt works only while bash completes; here it writes what it was told.
  script += "compopt_calls=''\ncompopt() { compopt_calls+=\"$*\"$'\\n'; }\n";
  script += "cd " + Quoted(directory) + " || exit 3\n";
  script += "COMP_WORDS=(";
  for (const std::string& word : words) script += " " + Quoted(word);
  script += " )\nCOMP_CWORD=" + std::to_string(words.size() - 1) + "\n";
  if (!line.empty()) {
    script += "COMP_LINE=" + Quoted(line) + "\nCOMP_POINT=" + std::to_string(line.size()) + "\n";
  }
  // The function `complete` registered for the command, as bash calls it.
  script += "function=$(complete -p gcuschema | sed -n 's/.*-F \\([^ ]*\\).*/\\1/p')\n";
  script += "[ -n \"$function\" ] || exit 4\n";
  script += "$function\n";
  script += "for word in \"${COMPREPLY[@]}\"; do printf '%s\\n' \"$word\"; done\n";
  script += "printf '%s%s' " + Quoted(kMarker) + " \"$compopt_calls\"\n";
  ProcessResult result = RunProcess({"/bin/bash", "--norc", "--noprofile", "-c", script});
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  const std::size_t marker = result.out.find(kMarker);
  EXPECT_NE(marker, std::string::npos) << result.out;
  if (marker == std::string::npos) return {};
  return {result.out.substr(0, marker), result.out.substr(marker + std::string(kMarker).size())};
}

}  // namespace

std::string Complete(const std::vector<std::string>& words, const std::string& directory, const std::string& line) {
  return RunCompletion(words, directory, line).offered;
}

std::string CompletionOptions(const std::vector<std::string>& words) { return RunCompletion(words, ".", "").options; }

}  // namespace gcuschema::test
