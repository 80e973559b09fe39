#include "json/spelling.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include <google/protobuf/stubs/strutil.h>

namespace gcuschema::document::internal {
namespace {

constexpr char kHex[] = "0123456789abcdef";

// Which bytes need escaping: quotes, backslashes and control characters.
bool NeedsEscape(unsigned char c) { return c < 0x20 || c == '"' || c == '\\'; }

template <typename T>
void AppendChars(T value, std::string* out) {
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  out->append(buffer, result.ptr);
}

template <typename T>
void AppendFloating(T value, std::string* out) {
  if (std::isnan(value)) {
    out->append("\"NaN\"");
  } else if (std::isinf(value)) {
    out->append(value > 0 ? "\"Infinity\"" : "\"-Infinity\"");
  } else if (value == 0 && std::signbit(value)) {
    // "-0" reads as the integer zero in many readers: the point keeps the sign.
    out->append("-0.0");
  } else {
    AppendChars(value, out);
  }
}

template <typename T>
bool SameBits(T a, T b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace

void AppendJsonString(std::string_view text, std::string* out) {
  out->push_back('"');
  std::size_t run = 0;  // start of the stretch that needs no escaping
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (!NeedsEscape(c)) continue;
    out->append(text.data() + run, i - run);
    run = i + 1;
    switch (c) {
      case '"': out->append("\\\""); break;
      case '\\': out->append("\\\\"); break;
      case '\b': out->append("\\b"); break;
      case '\f': out->append("\\f"); break;
      case '\n': out->append("\\n"); break;
      case '\r': out->append("\\r"); break;
      case '\t': out->append("\\t"); break;
      default:
        out->append("\\u00");
        out->push_back(kHex[c >> 4]);
        out->push_back(kHex[c & 15]);
    }
  }
  out->append(text.data() + run, text.size() - run);
  out->push_back('"');
}

void AppendInteger(std::int64_t value, std::string* out) { AppendChars(value, out); }
void AppendUnsigned(std::uint64_t value, std::string* out) { AppendChars(value, out); }

void AppendQuotedInteger(std::int64_t value, std::string* out) {
  out->push_back('"');
  AppendChars(value, out);
  out->push_back('"');
}

void AppendQuotedUnsigned(std::uint64_t value, std::string* out) {
  out->push_back('"');
  AppendChars(value, out);
  out->push_back('"');
}

void AppendFloat(float value, std::string* out) { AppendFloating(value, out); }
void AppendDouble(double value, std::string* out) { AppendFloating(value, out); }

void AppendBase64(std::string_view bytes, std::string* out) {
  const int length = google::protobuf::CalculateBase64EscapedLen(static_cast<int>(bytes.size()));
  const std::size_t start = out->size();
  out->resize(start + static_cast<std::size_t>(length) + 2);
  (*out)[start] = '"';
  const int written = google::protobuf::Base64Escape(reinterpret_cast<const unsigned char*>(bytes.data()),
                                                     static_cast<int>(bytes.size()), out->data() + start + 1, length);
  out->resize(start + 1 + static_cast<std::size_t>(written));
  out->push_back('"');
}

bool IsPlainNan(float value) { return SameBits(value, std::numeric_limits<float>::quiet_NaN()); }
bool IsPlainNan(double value) { return SameBits(value, std::numeric_limits<double>::quiet_NaN()); }

}  // namespace gcuschema::document::internal
