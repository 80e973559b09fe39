#include "diff_order.h"

#include <algorithm>
#include <unordered_map>

namespace gcuschema::document::internal {
namespace {

// A line stays short whatever the list: this many stretches are told, and
// this many identifiers of each.
constexpr std::size_t kStretchesTold = 4;
constexpr std::size_t kIdsTold = 8;

// Which positions of `order` (a sequence of distinct numbers) belong to a
// longest increasing run, found in O(n log n) by patience sorting.
std::vector<bool> LongestIncreasing(const std::vector<std::size_t>& order) {
  std::vector<std::size_t> tails;  // positions ending the best run of each length
  std::vector<std::size_t> previous(order.size(), order.size());
  for (std::size_t i = 0; i < order.size(); ++i) {
    const auto at = std::lower_bound(tails.begin(), tails.end(), order[i],
                                     [&](std::size_t tail, std::size_t value) { return order[tail] < value; });
    if (at != tails.begin()) previous[i] = *(at - 1);
    if (at == tails.end()) {
      tails.push_back(i);
    } else {
      *at = i;
    }
  }
  std::vector<bool> kept(order.size(), false);
  for (std::size_t i = tails.empty() ? order.size() : tails.back(); i < order.size(); i = previous[i]) kept[i] = true;
  return kept;
}

}  // namespace

Moves DescribeMoves(const std::vector<std::int64_t>& before, const std::vector<std::int64_t>& after) {
  Moves moves;
  if (before == after) return moves;
  std::unordered_map<std::int64_t, std::size_t> place;
  place.reserve(before.size());
  for (std::size_t i = 0; i < before.size(); ++i) place.emplace(before[i], i);
  std::vector<std::size_t> order;
  order.reserve(after.size());
  for (std::int64_t id : after) order.push_back(place.at(id));
  const std::vector<bool> kept = LongestIncreasing(order);

  std::size_t told = 0;
  std::size_t untold = 0;
  for (std::size_t i = 0; i < after.size();) {
    if (kept[i]) {
      ++i;
      continue;
    }
    std::size_t end = i;
    while (end < after.size() && !kept[end]) moves.moved.push_back(end++);
    if (told == kStretchesTold) {
      untold += end - i;
      i = end;
      continue;
    }
    std::string stretch = moves.words.empty() ? "" : "; ";
    for (std::size_t j = i; j < end && j < i + kIdsTold; ++j) stretch += (j > i ? ", " : "") + std::to_string(after[j]);
    if (end - i > kIdsTold) stretch += " and " + std::to_string(end - i - kIdsTold) + " more";
    // Some entry is kept: a longest run holds at least one.
    stretch += end < after.size() ? " before " + std::to_string(after[end]) : " after " + std::to_string(after[i - 1]);
    moves.words += stretch;
    ++told;
    i = end;
  }
  if (untold > 0) moves.words += "; " + std::to_string(untold) + " more moved";
  return moves;
}

}  // namespace gcuschema::document::internal
