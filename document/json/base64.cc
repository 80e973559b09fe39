#include "json/base64.h"

#include <google/protobuf/stubs/strutil.h>

namespace gcuschema::document::internal {
namespace {

bool IsStandard(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/';
}

bool Unescape(std::string_view text, std::string* bytes) {
  return google::protobuf::Base64Unescape(
      google::protobuf::StringPiece(text.data(), static_cast<google::protobuf::StringPiece::size_type>(text.size())),
      bytes);
}

// Already the one form the runtime's decoder takes strictly: the standard
// alphabet, padded, without whitespace. What the writer writes, so the
// common case, decoded without a copy.
bool IsCanonical(std::string_view text) {
  if (text.size() % 4 != 0) return false;
  std::size_t end = text.size();
  for (int pad = 0; pad < 2 && end > 0 && text[end - 1] == '='; ++pad) --end;
  for (std::size_t i = 0; i < end; ++i) {
    if (!IsStandard(text[i])) return false;
  }
  return true;
}

}  // namespace

bool DecodeBase64(std::string_view text, std::string* bytes) {
  if (IsCanonical(text)) return Unescape(text, bytes);
  // Brought to that form first.
  std::string normal;
  normal.reserve(text.size() + 2);
  std::size_t padding = 0;
  for (char c : text) {
    if (c == ' ' || c == '\n' || c == '\r' || c == '\t') continue;
    if (c == '=') {
      ++padding;
      continue;
    }
    if (padding > 0) return false;  // data after padding
    if (c == '-') c = '+';
    if (c == '_') c = '/';
    normal.push_back(c);
  }
  if (normal.size() % 4 == 1 || padding > 2) return false;
  while (normal.size() % 4 != 0) normal.push_back('=');
  return Unescape(normal, bytes);
}

}  // namespace gcuschema::document::internal
