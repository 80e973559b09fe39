#ifndef GCUSCHEMA_TESTS_TOOL_SUPPORT_COMPLETION_H
#define GCUSCHEMA_TESTS_TOOL_SUPPORT_COMPLETION_H

#include <string>
#include <vector>

namespace gcuschema::test {

// What the bash completion the build wrote offers for the words of a
// command line, the last one being the word under the cursor: one
// completion per line, as bash would put them in place of that word.
// `line`, when given, is the command line up to the cursor as bash gives it
// beside the words (bash cuts "input:Duty" into "input", ":", "Duty").
// The script is sourced from inside a function, as bash-completion loads it.
std::string Complete(const std::vector<std::string>& words, const std::string& directory = ".",
                     const std::string& line = "");

// The options the completion set for what it offered (compopt's arguments,
// one call per line): "-o nospace" where no space is to follow.
std::string CompletionOptions(const std::vector<std::string>& words);

}  // namespace gcuschema::test

#endif
