// Threads for large documents, and the moves that let them share a record.
#ifndef GCUSCHEMA_DOCUMENT_PARALLEL_H
#define GCUSCHEMA_DOCUMENT_PARALLEL_H

#include <cstdint>
#include <functional>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/io/zero_copy_stream.h>
#include <google/protobuf/message.h>

#include <gcuschema/document/binary.h>
#include <gcuschema/document/memory.h>

namespace gcuschema::document::internal {

// 0 asks for one thread per core; anything else is taken as given (at least 1).
int ThreadCount(int requested);

// Runs work(0) ... work(count - 1), each once, on up to `threads` threads
// (the calling one included) taking the next index as they become free.
// When any throws, the rest are skipped and the exception of the lowest
// index that threw is rethrown once all threads have stopped.
void ForEachIndex(int count, int threads, const std::function<void(int)>& work);

// Makes `count` units of text, make(u, &text) for each, on up to `threads`
// threads (the calling one included), and hands each to `write` on the
// calling thread, in order, as soon as it and all before it are made.
// Whatever blocks `write` leaves in a unit are filled again by later
// units, so that a long output is written through memory already in use.
// When anything throws, the rest is skipped and the exception of the
// lowest unit that threw (or of `write`) is rethrown once all have stopped.
void StreamUnits(int count, int threads, std::size_t first_block_size,
                 const std::function<void(int, TextPieces*)>& make, const std::function<void(TextPieces*)>& write);

// The first block of each share of a large output printed apart: a huge
// page, and no small blocks on the way to it.
constexpr std::size_t kShareBlockSize = kLargeBlockSize;

// A protobuf output stream that writes into TextPieces.
class PiecesOutput : public google::protobuf::io::ZeroCopyOutputStream {
 public:
  explicit PiecesOutput(TextPieces* out) : out_(out) {}
  bool Next(void** data, int* size) override;
  void BackUp(int count) override;
  int64_t ByteCount() const override { return static_cast<int64_t>(out_->size()); }

 private:
  TextPieces* out_;
};

// Whether a record's top level can be lent out in shares and merged back by
// moving: generated records without map fields or extensions.
bool CanShare(const google::protobuf::Message& record);

// Lends a record's present top-level fields, in field-number order, to
// `shares` records of its type on its arena, about equal in element count
// (large lists of records are cut into slices; anything else goes whole),
// the unknown fields to the last. Printing the shares one after the other
// gives the record's text. Everything goes back to the record, in order,
// when the Lender is destroyed.
class Lender {
 public:
  Lender(google::protobuf::Message* record, int shares);
  ~Lender();
  Lender(const Lender&) = delete;
  Lender& operator=(const Lender&) = delete;

  int size() const { return static_cast<int>(holders_.size()); }
  const google::protobuf::Message& share(int k) const { return *holders_[k]; }

 private:
  struct Part {
    const google::protobuf::FieldDescriptor* field;
    int begin;  // slice of a list of records; -1 for a whole field
    int end;
  };
  void GiveBack();

  google::protobuf::Message* record_;
  std::vector<google::protobuf::Message*> holders_;
  std::vector<std::vector<Part>> parts_;
  bool lent_unknown_ = false;
};

// Moves what `from` holds to the end of `into` (lists appended, anything
// else moved across; the two on one arena), as if `from`'s encoding
// followed `into`'s. A non-repeated field set in both is the caller's to
// rule out beforehand; here `into` keeps its own.
void MoveAppend(google::protobuf::Message* from, google::protobuf::Message* into);

// A new record of `record`'s type on its arena (owned by the caller when
// there is none).
google::protobuf::Message* NewLike(const google::protobuf::Message& record);
void DeleteLike(const google::protobuf::Message& record, google::protobuf::Message* made);

}  // namespace gcuschema::document::internal

#endif
