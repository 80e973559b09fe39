#include "json/spelling.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include <google/protobuf/stubs/common.h>
#include <google/protobuf/stubs/strutil.h>

#include "json/base64.h"

namespace gcuschema::document::internal {
namespace {

constexpr char kHex[] = "0123456789abcdef";

// Room for any number spelled here, quoted: a double's shortest form is
// at most 24 characters, a 64-bit integer 20.
constexpr std::size_t kNumberRoom = 32;

// Which bytes need escaping: quotes, backslashes and control characters.
constexpr std::array<bool, 256> kNeedsEscape = [] {
  std::array<bool, 256> table{};
  for (int c = 0; c < 0x20; ++c) table[static_cast<std::size_t>(c)] = true;
  table['"'] = true;
  table['\\'] = true;
  return table;
}();

// Strings are escaped a stretch at a time, so that the room asked for (six
// bytes for each byte at worst) stays small however long the text.
constexpr std::size_t kEscapeStretch = 4096;

template <std::size_t N>
char* Copy(const char (&text)[N], char* at) {
  std::memcpy(at, text, N - 1);
  return at + N - 1;
}

char* Escape(std::string_view text, char* at) {
  std::size_t run = 0;  // start of the stretch that needs no escaping
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (!kNeedsEscape[c]) continue;
    std::memcpy(at, text.data() + run, i - run);
    at += i - run;
    run = i + 1;
    switch (c) {
      case '"': at = Copy("\\\"", at); break;
      case '\\': at = Copy("\\\\", at); break;
      case '\b': at = Copy("\\b", at); break;
      case '\f': at = Copy("\\f", at); break;
      case '\n': at = Copy("\\n", at); break;
      case '\r': at = Copy("\\r", at); break;
      case '\t': at = Copy("\\t", at); break;
      default:
        at = Copy("\\u00", at);
        *at++ = kHex[c >> 4];
        *at++ = kHex[c & 15];
    }
  }
  std::memcpy(at, text.data() + run, text.size() - run);
  return at + (text.size() - run);
}

template <typename T>
char* SpellInteger(T value, char* at) {
  return std::to_chars(at, at + kNumberRoom, value).ptr;
}

template <typename T>
char* SpellQuoted(T value, char* at) {
  *at++ = '"';
  at = SpellInteger(value, at);
  *at++ = '"';
  return at;
}

template <typename T>
char* SpellFloating(T value, char* at) {
  if (std::isnan(value)) return Copy("\"NaN\"", at);
  if (std::isinf(value)) return value > 0 ? Copy("\"Infinity\"", at) : Copy("\"-Infinity\"", at);
  // "-0" reads as the integer zero in many readers: the point keeps the sign.
  if (value == 0 && std::signbit(value)) return Copy("-0.0", at);
  // A whole number below 100 000 is spelled as its digits by the shortest
  // form too (the exponent form, "1e+05" and longer, never beats them
  // there), and integer digits take a fraction of the time.
  if (std::fabs(value) < 100000 && value == static_cast<T>(static_cast<std::int32_t>(value))) {
    return SpellInteger(static_cast<std::int32_t>(value), at);
  }
  return std::to_chars(at, at + kNumberRoom, value).ptr;
}

template <typename T, typename Spell>
void AppendNumber(T value, Spell spell, std::string* out) {
  char buffer[kNumberRoom];
  out->append(buffer, spell(value, buffer));
}

template <typename T, typename Spell>
void AppendNumber(T value, Spell spell, TextBuffer* out) {
  out->Advance(spell(value, out->Room(kNumberRoom)));
}

template <typename T>
bool SameBits(T a, T b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace

void AppendJsonString(std::string_view text, TextBuffer* out) {
  char* at = out->Room(2 + std::min(text.size(), kEscapeStretch) * 6);
  *at++ = '"';
  for (;;) {
    const std::string_view stretch = text.substr(0, kEscapeStretch);
    at = Escape(stretch, at);
    text.remove_prefix(stretch.size());
    if (text.empty()) break;
    out->Advance(at);
    at = out->Room(1 + std::min(text.size(), kEscapeStretch) * 6);
  }
  *at++ = '"';
  out->Advance(at);
}

void AppendJsonString(std::string_view text, std::string* out) {
  TextBuffer buffer(out);
  AppendJsonString(text, &buffer);
}

void AppendInteger(std::int64_t value, std::string* out) { AppendNumber(value, SpellInteger<std::int64_t>, out); }
void AppendInteger(std::int64_t value, TextBuffer* out) { AppendNumber(value, SpellInteger<std::int64_t>, out); }
void AppendUnsigned(std::uint64_t value, std::string* out) { AppendNumber(value, SpellInteger<std::uint64_t>, out); }
void AppendUnsigned(std::uint64_t value, TextBuffer* out) { AppendNumber(value, SpellInteger<std::uint64_t>, out); }

void AppendQuotedInteger(std::int64_t value, std::string* out) {
  AppendNumber(value, SpellQuoted<std::int64_t>, out);
}
void AppendQuotedInteger(std::int64_t value, TextBuffer* out) {
  AppendNumber(value, SpellQuoted<std::int64_t>, out);
}
void AppendQuotedUnsigned(std::uint64_t value, std::string* out) {
  AppendNumber(value, SpellQuoted<std::uint64_t>, out);
}
void AppendQuotedUnsigned(std::uint64_t value, TextBuffer* out) {
  AppendNumber(value, SpellQuoted<std::uint64_t>, out);
}

void AppendFloat(float value, std::string* out) { AppendNumber(value, SpellFloating<float>, out); }
void AppendFloat(float value, TextBuffer* out) { AppendNumber(value, SpellFloating<float>, out); }
void AppendDouble(double value, std::string* out) { AppendNumber(value, SpellFloating<double>, out); }
void AppendDouble(double value, TextBuffer* out) { AppendNumber(value, SpellFloating<double>, out); }

void AppendBase64(std::string_view bytes, TextBuffer* out) {
  char* at = out->Room(EncodedBase64Size(bytes.size()) + 2);
  *at++ = '"';
  at = EncodeBase64(bytes, at);
  *at++ = '"';
  out->Advance(at);
}

void AppendBase64(std::string_view bytes, std::string* out) {
  TextBuffer buffer(out);
  AppendBase64(bytes, &buffer);
}

bool IsUtf8(std::string_view text) {
  // Most text is ASCII, which is looked at eight bytes at a time; the
  // runtime's check takes over from the first byte that is not.
  const char* data = text.data();
  const std::size_t size = text.size();
  std::size_t i = 0;
  for (std::uint64_t word = 0; i + 8 <= size; i += 8) {
    std::memcpy(&word, data + i, 8);
    if ((word & 0x8080808080808080u) != 0) break;
  }
  while (i < size && static_cast<unsigned char>(data[i]) < 0x80) ++i;
  return i == size || google::protobuf::internal::IsStructurallyValidUTF8(data + i, static_cast<int>(size - i));
}

bool IsPlainNan(float value) { return SameBits(value, std::numeric_limits<float>::quiet_NaN()); }
bool IsPlainNan(double value) { return SameBits(value, std::numeric_limits<double>::quiet_NaN()); }

}  // namespace gcuschema::document::internal
