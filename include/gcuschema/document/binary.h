#ifndef GCUSCHEMA_DOCUMENT_BINARY_H
#define GCUSCHEMA_DOCUMENT_BINARY_H

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <google/protobuf/message.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/export.h>

namespace gcuschema::document {

// Parses encoded bytes into `record` (cleared first). On failure throws
// Error saying where the bytes stop making sense: the byte offset and the
// field path when they can be found ("byte 312 (inputs[4].alias): invalid
// UTF-8"), else what the runtime reported.
GCUSCHEMA_DOCUMENT_API void ParseBinary(std::string_view bytes, google::protobuf::Message* record);

// Text format, as protoc --decode prints it (unknown fields by number).
GCUSCHEMA_DOCUMENT_API std::string ToText(const google::protobuf::Message& record);
// Parses text format; Error carries line and column.
GCUSCHEMA_DOCUMENT_API void FromText(std::string_view text, google::protobuf::Message* record);

// A large output made without copying it together: the text is the pieces
// one after the other, each piece within blocks of memory owned here (so a
// writer can hand them to the system in one gathered write).
class GCUSCHEMA_DOCUMENT_API TextPieces {
 public:
  TextPieces();
  // Starting with blocks of `first_block_size` bytes, for an output known
  // to be large (blocks otherwise start small and grow; 0 as by default).
  explicit TextPieces(std::size_t first_block_size);
  ~TextPieces();
  TextPieces(TextPieces&& other) noexcept;
  TextPieces& operator=(TextPieces&& other) noexcept;
  TextPieces(const TextPieces&) = delete;
  TextPieces& operator=(const TextPieces&) = delete;

  const std::vector<std::string_view>& pieces() const { return pieces_; }
  std::size_t size() const { return size_; }
  std::string ToString() const;

  // Appends a copy of `text`.
  void Append(std::string_view text);
  // Appends `other`'s pieces, taking its blocks over (nothing is copied).
  void Append(TextPieces&& other);
  // Takes over the blocks of `written`, whose text is no longer needed, to
  // fill before allocating new ones: memory already in use is much cheaper
  // to write than fresh memory, which the system must first clear.
  void Reuse(TextPieces&& written);

  // For writers filling memory in place: room at the end, `*size` bytes
  // (at least `at_least`) counted as written; Unwrite(n) takes back the
  // last n of them.
  char* Grab(std::size_t at_least, std::size_t* size);
  void Unwrite(std::size_t count);

 private:
  void Extend(const char* start, std::size_t length);
  void Release();

  std::vector<std::pair<char*, std::size_t>> blocks_;  // start, size
  std::vector<std::pair<char*, std::size_t>> spare_;   // to fill before allocating
  std::vector<std::string_view> pieces_;
  std::size_t size_ = 0;
  std::size_t next_block_size_;
  char* room_ = nullptr;  // unused end of the last block
  std::size_t room_size_ = 0;
};

// Large documents can be worked on by several threads: `threads` below is
// how many at most (0: one per core; 1: the calling thread only). The
// results never depend on it; small documents stay on the calling thread.

// ToText on up to `threads` threads, giving exactly ToText(*record). The
// record's top-level fields (and slices of its large lists) are lent to
// the threads, each printing its share, and given back before the call
// returns: the record must not be used by anyone else meanwhile, and its
// elements stay the same objects.
GCUSCHEMA_DOCUMENT_API TextPieces PrintText(google::protobuf::Message* record, int threads = 0);

// Where a long output goes as it is made: called in order with consecutive
// stretches of it, the pieces valid during the call only.
using TextWriter = std::function<void(const std::vector<std::string_view>& pieces)>;

// PrintText handing the text to `write` as it is made, through memory that
// is filled again once written (never all of it at once).
GCUSCHEMA_DOCUMENT_API void PrintText(google::protobuf::Message* record, const TextWriter& write, int threads = 0);

// FromText on up to `threads` threads: the same record, or the same Error.
GCUSCHEMA_DOCUMENT_API void FromText(std::string_view text, google::protobuf::Message* record, int threads);

// ParseBinary on up to `threads` threads: the same record, or the same Error.
GCUSCHEMA_DOCUMENT_API void ParseBinary(std::string_view bytes, google::protobuf::Message* record, int threads);

}  // namespace gcuschema::document

#endif
