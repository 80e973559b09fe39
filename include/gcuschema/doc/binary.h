#ifndef GCUSCHEMA_DOC_BINARY_H
#define GCUSCHEMA_DOC_BINARY_H

#include <string>
#include <string_view>

#include <google/protobuf/message.h>

#include <gcuschema/doc/error.h>
#include <gcuschema/doc/export.h>

namespace gcuschema::doc {

// Parses encoded bytes into `record` (cleared first). On failure throws
// Error saying where the bytes stop making sense: the byte offset and the
// field path when they can be found ("byte 312 (inputs[4].alias): invalid
// UTF-8"), else what the runtime reported.
GCUSCHEMA_DOC_API void ParseBinary(std::string_view bytes, google::protobuf::Message* record);

// Text format, as protoc --decode prints it (unknown fields by number).
GCUSCHEMA_DOC_API std::string ToText(const google::protobuf::Message& record);
// Parses text format; Error carries line and column.
GCUSCHEMA_DOC_API void FromText(std::string_view text, google::protobuf::Message* record);

}  // namespace gcuschema::doc

#endif
