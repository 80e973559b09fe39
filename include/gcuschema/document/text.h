#ifndef GCUSCHEMA_DOCUMENT_TEXT_H
#define GCUSCHEMA_DOCUMENT_TEXT_H

#include <string>
#include <string_view>

#include <google/protobuf/message.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/export.h>
#include <gcuschema/document/sink.h>

namespace gcuschema::document {

// Protobuf text format, as protoc --decode prints it (unknown fields by
// number). Text format has one spelling for NaN: a float holding a NaN with
// its sign bit or payload set would read back as another value, so it is
// an Error naming the field rather than a silent change.
GCUSCHEMA_DOCUMENT_API std::string ToText(const google::protobuf::Message& record);

struct TextWriteOptions {
  // The elements of large lists of records are printed by up to this many
  // threads (0: one per core; never more than one per core). The text never
  // depends on it.
  int threads = 1;
};

// ToText handed to `sink` as it is made, never held whole.
GCUSCHEMA_DOCUMENT_API void WriteText(const google::protobuf::Message& record, const Sink& sink,
                                      const TextWriteOptions& options = {});

// Parses text format into `record` (cleared first); Error carries the line
// and column, and names the valid field or value names where one is wrong.
GCUSCHEMA_DOCUMENT_API void FromText(std::string_view text, google::protobuf::Message* record);

}  // namespace gcuschema::document

#endif
