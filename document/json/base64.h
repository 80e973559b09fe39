// Base64 as the JSON mapping reads it for bytes.
#ifndef GCUSCHEMA_DOCUMENT_JSON_BASE64_H
#define GCUSCHEMA_DOCUMENT_JSON_BASE64_H

#include <string>
#include <string_view>

namespace gcuschema::document::internal {

// Decodes base64 of the standard or the URL-safe alphabet (or a mix), with
// or without padding, whitespace ignored, appending the bytes to `bytes`.
// False when `text` is not base64, `bytes` then as it was.
bool DecodeBase64(std::string_view text, std::string* bytes);

}  // namespace gcuschema::document::internal

#endif
