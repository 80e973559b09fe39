#ifndef GCUSCHEMA_DOCUMENT_BINARY_H
#define GCUSCHEMA_DOCUMENT_BINARY_H

#include <string_view>

#include <google/protobuf/message.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/export.h>

namespace gcuschema::document {

// Parses encoded bytes into `record` (cleared first), accepting exactly what
// the protobuf runtime accepts. On failure throws Error saying where the
// bytes stop making sense: the byte offset and the field path when they can
// be found ("byte 312 (inputs[4].alias)": invalid UTF-8), else what the
// runtime reported.
GCUSCHEMA_DOCUMENT_API void ParseBinary(std::string_view bytes, google::protobuf::Message* record);

}  // namespace gcuschema::document

#endif
