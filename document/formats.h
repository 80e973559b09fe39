#ifndef GCUSCHEMA_DOCUMENT_FORMATS_H
#define GCUSCHEMA_DOCUMENT_FORMATS_H

// Private to the document library: the reader and writer of each format
// that io.cc chooses between.

#include <cstddef>
#include <string>
#include <string_view>

#include <google/protobuf/message.h>

#include <gcuschema/document/sink.h>

namespace gcuschema::document::internal {

// The encoded bytes into `record` (cleared first), accepting exactly what
// the runtime accepts; Error says where they stop making sense.
void ReadBinary(std::string_view bytes, google::protobuf::Message* record);

// What makes encoded bytes, which the runtime reads as a `type`, differ
// from the encoding of the record read from them, which first differs at
// byte `first_difference`: the cause that changes the earliest byte, where
// it stands and its field path; an empty `what` when none is known (the
// path is then that of the field holding the first differing byte).
struct EncodingCause {
  std::string path;
  std::size_t offset;
  std::string what;
};
EncodingCause ExplainEncoding(std::string_view bytes, const google::protobuf::Descriptor* type,
                              std::size_t first_difference);

// The record's encoding, fields in ascending number as the runtime writes
// them, in stretches.
void WriteBinary(const google::protobuf::Message& record, const Sink& sink);

// Text format into `record` (cleared first); Error carries the line and
// column, and names the valid field or value names where one is wrong.
void ReadText(std::string_view text, google::protobuf::Message* record);

// Text format, the elements of large lists printed by up to `threads`
// threads (0: one per core).
void WriteText(const google::protobuf::Message& record, const Sink& sink, int threads);

}  // namespace gcuschema::document::internal

#endif
