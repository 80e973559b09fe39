// How values are spelled in the JSON text the codec writes.
#ifndef GCUSCHEMA_DOCUMENT_JSON_SPELLING_H
#define GCUSCHEMA_DOCUMENT_JSON_SPELLING_H

#include <cstdint>
#include <string>
#include <string_view>

#include "json/text_buffer.h"

namespace gcuschema::document::internal {

// Each value is appended to a string (as it stands) or to a TextBuffer (the
// writer's, at its cursor).

// `text` as a JSON string: quoted, with quotes, backslashes and control
// characters escaped and everything else (UTF-8 included) as it stands.
void AppendJsonString(std::string_view text, std::string* out);
void AppendJsonString(std::string_view text, TextBuffer* out);

void AppendInteger(std::int64_t value, std::string* out);
void AppendInteger(std::int64_t value, TextBuffer* out);
void AppendUnsigned(std::uint64_t value, std::string* out);
void AppendUnsigned(std::uint64_t value, TextBuffer* out);
// 64-bit integers are strings in the JSON mapping: JavaScript numbers
// cannot hold them all.
void AppendQuotedInteger(std::int64_t value, std::string* out);
void AppendQuotedInteger(std::int64_t value, TextBuffer* out);
void AppendQuotedUnsigned(std::uint64_t value, std::string* out);
void AppendQuotedUnsigned(std::uint64_t value, TextBuffer* out);

// The shortest text that reads back as the same value ("0.1", "-0.0",
// "1e+20"), as std::to_chars spells it; NaN and the infinities as the
// strings "NaN", "Infinity" and "-Infinity".
void AppendFloat(float value, std::string* out);
void AppendFloat(float value, TextBuffer* out);
void AppendDouble(double value, std::string* out);
void AppendDouble(double value, TextBuffer* out);

// Bytes as a base64 string (standard alphabet, padded), quoted.
void AppendBase64(std::string_view bytes, std::string* out);
void AppendBase64(std::string_view bytes, TextBuffer* out);

// Whether `text` is UTF-8, which JSON text must be.
bool IsUtf8(std::string_view text);

// Whether a float or double NaN is the one NaN the JSON text "NaN" reads
// back as: any other (sign bit, payload) cannot be spelled.
bool IsPlainNan(float value);
bool IsPlainNan(double value);

}  // namespace gcuschema::document::internal

#endif
