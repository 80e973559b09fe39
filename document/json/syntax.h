// Where JSON text breaks the grammar, and how to say so. The reader's fast
// parser only tells that the text is not JSON; this scan, run only then,
// finds the first place that is wrong and words what was expected there.
#ifndef GCUSCHEMA_DOCUMENT_JSON_SYNTAX_H
#define GCUSCHEMA_DOCUMENT_JSON_SYNTAX_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace gcuschema::document::internal {

struct SyntaxFault {
  std::size_t offset;   // of the first byte that cannot stand where it does
  std::string message;  // what was expected there, and what to do
};

// The first place where `text` is not one JSON value (RFC 8259: UTF-8,
// nothing but whitespace around the value), or where it nests more than
// `max_depth` objects and lists; nothing when it is valid JSON.
std::optional<SyntaxFault> FindSyntaxFault(std::string_view text, int max_depth);

// Whether `text` is exactly a JSON number ("-0", "1.5e3"; not "01", "+1",
// "1.", ".5").
bool IsJsonNumber(std::string_view text);

// The message of a nesting deeper than `max_depth`.
std::string DepthMessage(int max_depth);

}  // namespace gcuschema::document::internal

#endif
