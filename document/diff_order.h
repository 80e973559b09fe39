// How the entries of a list moved between two documents, told in words.
#ifndef GCUSCHEMA_DOCUMENT_DIFF_ORDER_H
#define GCUSCHEMA_DOCUMENT_DIFF_ORDER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace gcuschema::document::internal {

struct Moves {
  // "2 before 1"; "4, 5 before 1; 9 after 12".
  std::string words;
  // Positions in the second order of the entries moved.
  std::vector<std::size_t> moved;
};

// `before` and `after` hold the same identifiers, each once, in two orders.
// The entries kept in place are as many as can be (a longest run that
// stands in the same order in both); the others are moved, and each stretch
// of moved entries that stand together in `after` is said to stand before
// the kept entry that follows it there (after the one before it, at the
// end). Empty when the orders are the same.
Moves DescribeMoves(const std::vector<std::int64_t>& before, const std::vector<std::int64_t>& after);

}  // namespace gcuschema::document::internal

#endif
