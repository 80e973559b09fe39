#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

#include <gcuschema/document/error.h>

#include "article.h"
#include "field_path.h"
#include "json/number_text.h"
#include "json/reader_descent.h"
#include "json/syntax.h"

namespace gcuschema::document::internal {
namespace {

bool IsNumberCharacter(char c) {
  return (c >= '0' && c <= '9') || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E';
}

}  // namespace

std::string Shortened(std::string_view text) {
  constexpr std::size_t kShown = 40;
  return text.size() <= kShown ? std::string(text) : std::string(text.substr(0, kShown)) + "...";
}

// -------------------------------------------------------------------- text

bool JsonDescent::KeyIs(const char* key, std::string_view quoted) const {
  const char* start = key - 1;
  return static_cast<std::size_t>(end_ - start) >= quoted.size() &&
         std::memcmp(start, quoted.data(), quoted.size()) == 0;
}

// A member's name (`key` is just past its opening quote), unescaped.
std::string_view JsonDescent::KeyText(const char* key, const char* value_at) {
  return StringAt(key - 1, static_cast<std::size_t>(value_at - (key - 1)));
}

// The contents of the string whose opening quote is at `at`, unescaped;
// the string ends within `bound` bytes.
std::string_view JsonDescent::StringAt(const char* at, std::size_t bound) {
  const char* contents = at + 1;
  const std::size_t room = bound > 0 ? bound - 1 : 0;
  if (const void* quote = std::memchr(contents, '"', room)) {
    const auto length = static_cast<std::size_t>(static_cast<const char*>(quote) - contents);
    if (std::memchr(contents, '\\', length) == nullptr) return {contents, length};
  }
  if (unescaped_.size() < bound + simdjson::SIMDJSON_PADDING) unescaped_.resize(bound + simdjson::SIMDJSON_PADDING);
  std::uint8_t* out = reinterpret_cast<std::uint8_t*>(unescaped_.data());
  std::string_view text;
  if (parser_.unescape(sj::raw_json_string(reinterpret_cast<const std::uint8_t*>(contents)), out).get(text)) {
    SyntaxFailure(at);
  }
  return text;
}

std::string_view JsonDescent::NumberText(const char* at) const {
  const char* end = at;
  while (end < end_ && IsNumberCharacter(*end)) ++end;
  return {at, static_cast<std::size_t>(end - at)};
}

// A number simdjson would not convert: either not JSON (then the text is
// at fault) or too large for any number type.
std::string_view JsonDescent::CheckedNumber(const char* at) {
  const std::string_view text = NumberText(at);
  const char* after = at + text.size();
  const bool delimited = after < end_ && (IsSpace(*after) || *after == ',' || *after == '}' || *after == ']');
  if (!delimited || !IsJsonNumber(text)) SyntaxFailure(at);
  if (std::isinf(DoubleOfJsonNumber(text))) TooLarge(at);
  return text;
}

// What the value at `at` is, for messages; a value that is not JSON is
// the error to report instead.
std::string JsonDescent::Describe(const char* at) {
  if (!Wellformed(at)) SyntaxFailure(at);
  return DescribeToken(at);
}

bool JsonDescent::Wellformed(const char* at) const {
  std::string_view token;
  switch (*at) {
    case '{':
    case '[':
    case '"': return true;
    case 't': token = "true"; break;
    case 'f': token = "false"; break;
    case 'n': token = "null"; break;
    default:
      token = NumberText(at);
      if (!IsJsonNumber(token)) return false;
  }
  const char* after = at + token.size();
  return after < end_ && std::memcmp(at, token.data(), token.size()) == 0 &&
         (IsSpace(*after) || *after == ',' || *after == '}' || *after == ']');
}

std::string JsonDescent::DescribeToken(const char* at) {
  switch (*at) {
    case '{': return "an object";
    case '[': return "a list";
    case 't': return "true";
    case 'f': return "false";
    case 'n': return "null";
    case '"': {
      const char* end = at + 1;
      while (end < end_ && *end != '"') end += *end == '\\' ? 2 : 1;
      const std::size_t bound = static_cast<std::size_t>(std::min(end + 1, end_) - at);
      return "the string \"" + Shortened(StringAt(at, bound)) + "\"";
    }
    default: return "the number " + std::string(NumberText(at));
  }
}

// ------------------------------------------------------------------ errors

[[noreturn]] void JsonDescent::RootIsNoObject(const char* at) {
  bool valid = false;
  switch (*at) {
    case '[': valid = true; break;
    case '"': {
      std::string_view text;
      valid = !document_.get_string().get(text);
      break;
    }
    case 't':
    case 'f': {
      bool truth;
      valid = !document_.get_bool().get(truth);
      break;
    }
    case 'n': {
      bool null = false;
      valid = !document_.is_null().get(null) && null;
      break;
    }
    default: valid = IsNumberStart(*at) && IsJsonNumber(NumberText(at));
  }
  if (!valid) SyntaxFailure(at);
  Fail(at, "", "expected a JSON object holding " + WithArticle(root_->full_name()) + ", found " + DescribeToken(at));
}

std::string JsonDescent::Path() const { return walk_.Path(); }

// Line and column as an editor shows them: a line ends at a CR, an LF or
// a CR LF, and a column is a character (a code point), whatever its bytes.
std::string JsonDescent::Position(std::size_t offset) const {
  offset = std::min(offset, text_.size());
  std::size_t line = 1;
  std::size_t line_start = 0;
  for (std::size_t i = 0; i < offset; ++i) {
    if (text_[i] != '\n' && text_[i] != '\r') continue;
    if (text_[i] == '\r' && i + 1 < offset && text_[i + 1] == '\n') ++i;
    ++line;
    line_start = i + 1;
  }
  std::size_t column = 1;
  for (std::size_t i = line_start; i < offset; ++i) {
    if ((static_cast<unsigned char>(text_[i]) & 0xC0) != 0x80) ++column;  // not a continuation byte
  }
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

void JsonDescent::Fail(std::size_t offset, const std::string& path, const std::string& message,
                       const Remedy& remedy) const {
  std::string where = Position(offset);
  if (!path.empty()) where += " (" + path + ")";
  throw Error(where, message, remedy);
}

// simdjson found the text is not JSON: the scan that says where and how
// runs only now.
void JsonDescent::SyntaxFailure(const char* near) {
  syntax_failed_ = true;
  if (const std::optional<SyntaxFault> fault = FindSyntaxFault(text_, kMaxJsonDepth)) {
    Fail(fault->offset, "", fault->message);
  }
  const simdjson::simdjson_result<const char*> current = document_.current_location();
  const char* at = near != nullptr ? near : current.error() ? end_ : current.value_unsafe();
  Fail(std::min(at, end_), "", "the JSON reader cannot read the text here; fix the JSON text there");
}

// A number beyond every floating-point type: reported at its field (in a
// list, the list's).
void JsonDescent::TooLarge(const char* at) {
  Fail(at, walk_.at_element() ? walk_.Path(walk_.size() - 1) : Path(),
       "the number " + std::string(NumberText(at)) +
           " is beyond the range of every number type; no field can hold a number that large");
}

}  // namespace gcuschema::document::internal
