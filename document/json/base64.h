// Base64 as the JSON mapping reads it for bytes.
#ifndef GCUSCHEMA_DOCUMENT_JSON_BASE64_H
#define GCUSCHEMA_DOCUMENT_JSON_BASE64_H

#include <cstddef>
#include <string>
#include <string_view>

namespace gcuschema::document::internal {

// Decodes base64 of the standard or the URL-safe alphabet (or a mix), with
// or without padding, whitespace ignored, appending the bytes to `bytes`.
// False when `text` is not base64, `bytes` then as it was.
bool DecodeBase64(std::string_view text, std::string* bytes);

// Base64 of `bytes` in the standard alphabet, padded: EncodedBase64Size
// characters written at `out`; returns their end.
std::size_t EncodedBase64Size(std::size_t size);
char* EncodeBase64(std::string_view bytes, char* out);

}  // namespace gcuschema::document::internal

#endif
