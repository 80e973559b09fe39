// What to say when a name is not one of the names allowed in its place.
#ifndef GCUSCHEMA_DOCUMENT_SUGGEST_H
#define GCUSCHEMA_DOCUMENT_SUGGEST_H

#include <string>
#include <string_view>
#include <vector>

namespace gcuschema::document::internal {

// "did you mean \"inMinValue\"?" when one of `candidates` is close to
// `wrong` (same letters but for case, or a few edits away); else empty.
std::string DidYouMean(std::string_view wrong, const std::vector<std::string>& candidates);

// "the <what> are a, b, c" (shortened when long).
std::string ListNames(const std::vector<std::string>& candidates, std::string_view what);

// DidYouMean, or else ListNames.
std::string SuggestName(std::string_view wrong, const std::vector<std::string>& candidates, std::string_view what);

}  // namespace gcuschema::document::internal

#endif
