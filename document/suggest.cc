#include "suggest.h"

#include <algorithm>
#include <cctype>
#include <tuple>

namespace gcuschema::document::internal {
namespace {

// Lists up to this many valid names in full when none is close.
constexpr std::size_t kListedNames = 12;
// A start of a name is taken as meant only from this many letters on.
constexpr std::size_t kShortestStart = 3;

char Folded(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

// Edits (insert, delete, change, swap of neighbours) that turn `a` into
// `b`, letters compared as `same` says.
template <typename Same>
std::size_t EditDistance(std::string_view a, std::string_view b, Same same) {
  // Three rows of the table suffice: the swap looks two rows back.
  std::vector<std::size_t> before(b.size() + 1), previous(b.size() + 1), current(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) previous[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    current[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t change = same(a[i - 1], b[j - 1]) ? 0 : 1;
      current[j] = std::min({previous[j] + 1, current[j - 1] + 1, previous[j - 1] + change});
      if (i > 1 && j > 1 && same(a[i - 1], b[j - 2]) && same(a[i - 2], b[j - 1])) {
        current[j] = std::min(current[j], before[j - 2] + 1);
      }
    }
    std::swap(before, previous);
    std::swap(previous, current);
  }
  return previous[b.size()];
}

bool StartsWithFolded(std::string_view name, std::string_view start) {
  if (start.size() > name.size()) return false;
  for (std::size_t i = 0; i < start.size(); ++i) {
    if (Folded(name[i]) != Folded(start[i])) return false;
  }
  return true;
}

std::string Quoted(std::string_view name) { return "\"" + std::string(name) + "\""; }

// "A", "A or B", "A, B or C" (with `last` as the last joint).
std::string Joined(const std::vector<std::string>& names, bool quoted, const char* last) {
  std::string out;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) out += i + 1 == names.size() ? last : ", ";
    out += quoted ? Quoted(names[i]) : names[i];
  }
  return out;
}

}  // namespace

std::vector<std::string> ClosestNames(std::string_view wrong, const std::vector<std::string>& candidates,
                                      std::size_t limit) {
  const auto folded = [](char a, char b) { return Folded(a) == Folded(b); };
  const auto exact = [](char a, char b) { return a == b; };
  // Ranked by edits ignoring case, then by edits counting it, then by name;
  // a name that merely starts with `wrong` comes after every near miss.
  std::vector<std::tuple<std::size_t, std::size_t, std::string>> ranked;
  for (const std::string& candidate : candidates) {
    if (candidate == wrong) continue;
    const std::size_t distance = EditDistance(wrong, candidate, folded);
    const std::size_t tolerated = std::max<std::size_t>(1, std::min(wrong.size(), candidate.size()) / 3);
    if (distance <= tolerated) {
      ranked.emplace_back(distance, EditDistance(wrong, candidate, exact), candidate);
    } else if (wrong.size() >= kShortestStart && StartsWithFolded(candidate, wrong)) {
      ranked.emplace_back(tolerated + 1 + candidate.size(), 0, candidate);
    }
  }
  std::sort(ranked.begin(), ranked.end());
  std::vector<std::string> closest;
  for (std::size_t i = 0; i < ranked.size() && i < limit; ++i) closest.push_back(std::get<2>(ranked[i]));
  return closest;
}

std::string Suggestion(std::string_view wrong, const std::vector<std::string>& candidates) {
  const std::vector<std::string> closest = ClosestNames(wrong, candidates);
  if (!closest.empty()) return "did you mean " + Joined(closest, true, " or ") + "?";
  if (!candidates.empty() && candidates.size() <= kListedNames) {
    return "the valid names are " + Joined(candidates, false, " and ");
  }
  return "";
}

std::string UnknownName(std::string_view what, std::string_view wrong, const std::vector<std::string>& candidates,
                        bool* named) {
  std::string message = Quoted(wrong) + " is not " + std::string(what);
  const std::string hint = Suggestion(wrong, candidates);
  if (!hint.empty()) message += "; " + hint;
  if (named != nullptr) *named = !hint.empty();
  return message;
}

std::string UnknownValue(std::string_view enumeration, std::string_view wrong, const std::vector<std::string>& values) {
  std::string message = Quoted(wrong) + " is not a value of " + std::string(enumeration);
  const std::vector<std::string> closest = ClosestNames(wrong, values);
  const bool listed = values.size() <= kListedNames;
  if (!closest.empty()) {
    message += "; did you mean " + Joined(closest, true, " or ") + "?";
    if (listed) message += " (the values are " + Joined(values, false, " and ") + ")";
  } else if (listed) {
    message += "; the values are " + Joined(values, false, " and ");
  }
  return message;
}

}  // namespace gcuschema::document::internal
