#include "suggest.h"

#include <algorithm>
#include <cctype>

namespace gcuschema::document::internal {
namespace {

char Lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

// Edits (insertions, deletions, substitutions) from a to b, letters
// compared without case.
std::size_t Distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t above = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (Lower(a[i - 1]) == Lower(b[j - 1]) ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[b.size()];
}

}  // namespace

std::string DidYouMean(std::string_view wrong, const std::vector<std::string>& candidates) {
  constexpr std::size_t kLongest = 64;  // beyond this, a name is no slip of the hand
  if (wrong.size() > kLongest) return "";
  const std::string* best = nullptr;
  std::size_t best_distance = 0;
  for (const std::string& candidate : candidates) {
    const std::size_t distance = Distance(wrong, candidate);
    if (best == nullptr || distance < best_distance) {
      best = &candidate;
      best_distance = distance;
    }
  }
  const std::size_t allowed = std::max<std::size_t>(2, wrong.size() / 3);
  if (best == nullptr || best_distance > allowed) return "";
  return "did you mean \"" + *best + "\"?";
}

std::string ListNames(const std::vector<std::string>& candidates, std::string_view what) {
  if (candidates.empty()) return "there are no " + std::string(what);
  constexpr std::size_t kShown = 12;
  std::string out = "the " + std::string(what) + " are ";
  for (std::size_t i = 0; i < candidates.size() && i < kShown; ++i) {
    if (i > 0) out += ", ";
    out += candidates[i];
  }
  if (candidates.size() > kShown) out += ", ... (" + std::to_string(candidates.size()) + " in all)";
  return out;
}

std::string SuggestName(std::string_view wrong, const std::vector<std::string>& candidates, std::string_view what) {
  std::string suggestion = DidYouMean(wrong, candidates);
  return suggestion.empty() ? ListNames(candidates, what) : suggestion;
}

}  // namespace gcuschema::document::internal
