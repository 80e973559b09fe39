// The paths of edits as written: "inputs[id=2].config.delay".
#ifndef GCUSCHEMA_DOCUMENT_EDIT_PATH_H
#define GCUSCHEMA_DOCUMENT_EDIT_PATH_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace gcuschema::document::internal {

// One member of a path and how an element of it is chosen, if it is.
struct PathStep {
  enum class Select { kNone, kIndex, kField };

  std::string name;
  Select select = Select::kNone;
  std::uint64_t index = 0;  // kIndex: the position in the list, from 0
  std::string field;        // kField: a field of the element
  std::string value;        // kField: the value it must hold, as written (quotes kept)
  // The path as written up to and including this step, for messages.
  std::string written;
};

// The steps of `path`; throws Error (at `path`) saying which character is
// wrong and what a path is made of.
std::vector<PathStep> ParsePath(std::string_view path);

// Where the '=' between a path and its value stands in an assignment: the
// first one outside brackets and the quotes inside them; npos when none.
std::size_t AssignmentSign(std::string_view text);

}  // namespace gcuschema::document::internal

#endif
