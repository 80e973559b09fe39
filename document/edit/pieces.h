// A document's bytes made anew only where an edit reached: stretches of
// the original replaced by new text, everything between them kept.
#ifndef GCUSCHEMA_DOCUMENT_EDIT_PIECES_H
#define GCUSCHEMA_DOCUMENT_EDIT_PIECES_H

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace gcuschema::document::internal {

// [begin, end) of the original replaced by `text`; begin == end puts text in.
struct Piece {
  std::size_t begin;
  std::size_t end;
  std::string text;
};

// The original with the pieces in place. What is put in at a place goes
// before what is replaced from there; pieces put in at one place keep the
// order they were given in.
inline std::string Spliced(std::string_view original, std::vector<Piece> pieces) {
  std::stable_sort(pieces.begin(), pieces.end(), [](const Piece& a, const Piece& b) {
    return a.begin != b.begin ? a.begin < b.begin : a.end < b.end;
  });
  std::string out;
  std::size_t at = 0;
  for (const Piece& piece : pieces) {
    out.append(original.substr(at, piece.begin - at));
    out += piece.text;
    at = piece.end;
  }
  out.append(original.substr(at));
  return out;
}

}  // namespace gcuschema::document::internal

#endif
