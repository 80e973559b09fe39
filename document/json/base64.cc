#include "json/base64.h"

#include <google/protobuf/stubs/strutil.h>

namespace gcuschema::document::internal {

bool DecodeBase64(std::string_view text, std::string* bytes) {
  // Brought to the one form the runtime's decoder takes strictly: the
  // standard alphabet, padded, without whitespace.
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
  return google::protobuf::Base64Unescape(
      google::protobuf::StringPiece(normal.data(), static_cast<google::protobuf::StringPiece::size_type>(normal.size())),
      bytes);
}

}  // namespace gcuschema::document::internal
