#ifndef GCUSCHEMA_TOOL_DOCUMENT_H
#define GCUSCHEMA_TOOL_DOCUMENT_H

#include <memory>
#include <string>

#include <google/protobuf/arena.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <gcuschema/document/binary.h>

#include "io.h"

namespace gcuschema::tool {

// Parses an input as an encoded record of `type`. Throws Failure naming the
// input and, where the library finds it, the byte offset and field path.
std::unique_ptr<google::protobuf::Message> ParseEncoded(const Input& input,
                                                        const google::protobuf::Descriptor* type);

// Reads and parses in one step (file, or standard input for "" or "-").
std::unique_ptr<google::protobuf::Message> LoadEncoded(const std::string& path,
                                                       const google::protobuf::Descriptor* type);

// A large record, kept with everything it holds on an arena: made in big
// blocks rather than object by object, and freed all at once.
class Document {
 public:
  explicit Document(const google::protobuf::Descriptor* type);
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  google::protobuf::Message* record() const { return record_; }

 private:
  std::unique_ptr<google::protobuf::Arena> arena_;
  google::protobuf::Message* record_;
};

// ParseEncoded into a Document, on up to `threads` threads (0: one per core).
std::unique_ptr<Document> ParseDocument(const Input& input, const google::protobuf::Descriptor* type,
                                        int threads);

// The record's wire encoding, fields in ascending number as the runtime
// writes them.
std::string Encode(const google::protobuf::Message& record);
// The same for a large record, written in place into memory offered for
// huge pages (no string cleared first, no small pages faulted in).
document::TextPieces EncodeLarge(const google::protobuf::Message& record);

}  // namespace gcuschema::tool

#endif
