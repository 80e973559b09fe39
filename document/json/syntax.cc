#include "json/syntax.h"

#include <cstdio>
#include <vector>

namespace gcuschema::document::internal {
namespace {

constexpr char kFix[] = "; fix the JSON text there";

bool IsSpace(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsHex(char c) { return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

// "the end of the text", "'x'", "a line break", "byte 0xC3": the character
// at `offset`, for messages.
std::string DescribeCharacter(std::string_view text, std::size_t offset) {
  if (offset >= text.size()) return "the end of the text";
  const auto c = static_cast<unsigned char>(text[offset]);
  if (c == '\n' || c == '\r') return "a line break";
  if (c == '\t') return "a tab";
  if (c >= 0x20 && c < 0x7F) return "'" + std::string(1, static_cast<char>(c)) + "'";
  char byte[16];
  std::snprintf(byte, sizeof byte, "byte 0x%02X", c);
  return byte;
}

// Length of the well-formed UTF-8 sequence at `at` (Unicode's table: no
// overlong forms, no surrogates, nothing past U+10FFFF), or 0.
std::size_t Utf8Length(std::string_view text, std::size_t at) {
  auto byte = [&](std::size_t i) -> unsigned {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
  };
  auto in = [](unsigned c, unsigned low, unsigned high) { return c >= low && c <= high; };
  const unsigned c = byte(at);
  if (c < 0x80) return 1;
  if (in(c, 0xC2, 0xDF)) return in(byte(at + 1), 0x80, 0xBF) ? 2 : 0;
  if (in(c, 0xE0, 0xEF)) {
    const unsigned low = c == 0xE0 ? 0xA0 : 0x80;
    const unsigned high = c == 0xED ? 0x9F : 0xBF;
    return in(byte(at + 1), low, high) && in(byte(at + 2), 0x80, 0xBF) ? 3 : 0;
  }
  if (in(c, 0xF0, 0xF4)) {
    const unsigned low = c == 0xF0 ? 0x90 : 0x80;
    const unsigned high = c == 0xF4 ? 0x8F : 0xBF;
    return in(byte(at + 1), low, high) && in(byte(at + 2), 0x80, 0xBF) && in(byte(at + 3), 0x80, 0xBF) ? 4 : 0;
  }
  return 0;
}

class Scanner {
 public:
  Scanner(std::string_view text, int max_depth) : text_(text), max_depth_(max_depth) {}

  std::optional<SyntaxFault> Run() {
    bool value_next = true;  // else: what may follow a value
    for (;;) {
      SkipSpace();
      if (value_next) {
        if (!Value()) return fault_;
        value_next = false;
        continue;
      }
      if (open_.empty()) {
        if (at_ == text_.size()) return std::nullopt;
        return Fault(at_, "text after the end of the document (" + Found() + "); only whitespace may follow it");
      }
      const char close = open_.back() == '{' ? '}' : ']';
      if (Peek() == close) {
        ++at_;
        open_.pop_back();
      } else if (Peek() == ',') {
        ++at_;
        if (open_.back() == '{' && !Key()) return fault_;
        value_next = true;
      } else if (open_.back() == '{') {
        return Fault(at_, "expected ',' or '}' after a member, found " + Found());
      } else {
        return Fault(at_, "expected ',' or ']' after an element, found " + Found());
      }
    }
  }

 private:
  char Peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }
  bool AtEnd() const { return at_ >= text_.size(); }
  std::string Found() const { return DescribeCharacter(text_, at_); }

  void SkipSpace() {
    while (at_ < text_.size() && IsSpace(text_[at_])) ++at_;
  }

  std::optional<SyntaxFault> Fault(std::size_t offset, const std::string& what) {
    fault_ = SyntaxFault{offset, what + kFix};
    return fault_;
  }

  // A value, or the opening of an object or list (then what comes first
  // inside it, up to its first value).
  bool Value() {
    if (AtEnd()) {
      Fault(at_, "the text ends where a value belongs");
      return false;
    }
    const char c = text_[at_];
    if (c == '{' || c == '[') {
      if (static_cast<int>(open_.size()) >= max_depth_) {
        fault_ = SyntaxFault{at_, DepthMessage(max_depth_)};
        return false;
      }
      open_.push_back(c);
      ++at_;
      SkipSpace();
      if (Peek() == (c == '{' ? '}' : ']')) {
        ++at_;
        open_.pop_back();
        return true;
      }
      if (c == '{') return Key() && Value();
      SkipSpace();
      return Value();
    }
    if (c == '"') return String();
    if (c == '-' || IsDigit(c)) return Number();
    if (c == 't') return Literal("true");
    if (c == 'f') return Literal("false");
    if (c == 'n') return Literal("null");
    Fault(at_, "expected a value (an object, a list, a string, a number, true, false or null), found " + Found());
    return false;
  }

  // A member's name and its colon, leaving the scan at its value.
  bool Key() {
    SkipSpace();
    if (Peek() != '"') {
      Fault(at_, "expected a member name in double quotes, found " + Found());
      return false;
    }
    if (!String()) return false;
    SkipSpace();
    if (Peek() != ':') {
      Fault(at_, "expected ':' after the member name, found " + Found());
      return false;
    }
    ++at_;
    SkipSpace();
    return true;
  }

  bool String() {
    const std::size_t start = at_++;
    for (;;) {
      if (AtEnd()) {
        Fault(start, "a string starts here and is never closed");
        return false;
      }
      const auto c = static_cast<unsigned char>(text_[at_]);
      if (c == '"') {
        ++at_;
        return true;
      }
      if (c == '\\') {
        if (!Escape()) return false;
        continue;
      }
      if (c < 0x20) {
        char example[8];
        std::snprintf(example, sizeof example, "\\u%04X", c);
        Fault(at_, "a control character (" + DescribeCharacter(text_, at_) +
                       ") inside a string; write it escaped (\\n, \\t, " + example + ")");
        return false;
      }
      const std::size_t length = Utf8Length(text_, at_);
      if (length == 0) {
        // Quoted as they stand: the caller shows them escaped.
        std::size_t end = at_ + 1;
        while (end < text_.size() && end < at_ + 4 && (static_cast<unsigned char>(text_[end]) & 0xC0) == 0x80) ++end;
        Fault(at_, "the text is not UTF-8 here (\"" + std::string(text_.substr(at_, end - at_)) +
                       "\" is no UTF-8 character); save it as UTF-8");
        return false;
      }
      at_ += length;
    }
  }

  // Four hex digits at `at`, as a number, or -1.
  long Hex4(std::size_t at) const {
    if (at + 4 > text_.size()) return -1;
    long value = 0;
    for (std::size_t i = at; i < at + 4; ++i) {
      const char c = text_[i];
      if (!IsHex(c)) return -1;
      value = value * 16 + (IsDigit(c) ? c - '0' : (c | 0x20) - 'a' + 10);
    }
    return value;
  }

  bool Escape() {
    const std::size_t start = at_;
    const char c = at_ + 1 < text_.size() ? text_[at_ + 1] : '\0';
    if (c == '"' || c == '\\' || c == '/' || c == 'b' || c == 'f' || c == 'n' || c == 'r' || c == 't') {
      at_ += 2;
      return true;
    }
    if (c != 'u') {
      const bool shown = c >= 0x20 && c < 0x7F;
      Fault(start, (shown ? "\\" + std::string(1, c) : "a backslash before " + DescribeCharacter(text_, start + 1)) +
                       " is no escape of JSON; its escapes are \\\" \\\\ "
                   "\\/ \\b \\f \\n \\r \\t and \\u with four hexadecimal digits");
      return false;
    }
    const long unit = Hex4(start + 2);
    if (unit < 0) {
      Fault(start, "\\u must be followed by four hexadecimal digits");
      return false;
    }
    at_ = start + 6;
    if (unit >= 0xDC00 && unit <= 0xDFFF) {
      Fault(start, "\\u" + std::string(text_.substr(start + 2, 4)) +
                       " is the second half of a surrogate pair without the first; a character beyond U+FFFF is "
                       "written as a pair (\\uD83D\\uDE00)");
      return false;
    }
    if (unit >= 0xD800 && unit <= 0xDBFF) {
      const long low = at_ + 1 < text_.size() && text_[at_] == '\\' && text_[at_ + 1] == 'u' ? Hex4(at_ + 2) : -1;
      if (low < 0xDC00 || low > 0xDFFF) {
        Fault(start, "\\u" + std::string(text_.substr(start + 2, 4)) +
                         " is the first half of a surrogate pair without the second (\\uDC00 to \\uDFFF)");
        return false;
      }
      at_ += 6;
    }
    return true;
  }

  bool Number() {
    if (Peek() == '-') ++at_;
    if (!IsDigit(Peek())) {
      Fault(at_, "expected a digit after '-', found " + Found());
      return false;
    }
    if (Peek() == '0') {
      ++at_;
      if (IsDigit(Peek())) {
        Fault(at_, "a number cannot have leading zeros");
        return false;
      }
    }
    while (IsDigit(Peek())) ++at_;
    if (Peek() == '.') {
      ++at_;
      if (!IsDigit(Peek())) {
        Fault(at_, "expected a digit after the decimal point, found " + Found());
        return false;
      }
      while (IsDigit(Peek())) ++at_;
    }
    if (Peek() == 'e' || Peek() == 'E') {
      ++at_;
      if (Peek() == '+' || Peek() == '-') ++at_;
      if (!IsDigit(Peek())) {
        Fault(at_, "expected a digit in the exponent, found " + Found());
        return false;
      }
      while (IsDigit(Peek())) ++at_;
    }
    return true;
  }

  bool Literal(std::string_view word) {
    for (const char c : word) {
      if (Peek() != c) {
        Fault(at_, "expected the literal " + std::string(word) + ", found " + Found());
        return false;
      }
      ++at_;
    }
    return true;
  }

  std::string_view text_;
  int max_depth_;
  std::size_t at_ = 0;
  std::vector<char> open_;  // '{' or '[' of each object and list not yet closed
  std::optional<SyntaxFault> fault_;
};

}  // namespace

std::optional<SyntaxFault> FindSyntaxFault(std::string_view text, int max_depth) {
  return Scanner(text, max_depth).Run();
}

bool IsJsonNumber(std::string_view text) {
  std::size_t i = 0;
  auto digits = [&] {
    const std::size_t start = i;
    while (i < text.size() && IsDigit(text[i])) ++i;
    return i > start;
  };
  if (i < text.size() && text[i] == '-') ++i;
  if (i < text.size() && text[i] == '0') {
    ++i;
  } else if (!digits()) {
    return false;
  }
  if (i < text.size() && text[i] == '.') {
    ++i;
    if (!digits()) return false;
  }
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    ++i;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    if (!digits()) return false;
  }
  return i == text.size();
}

std::string DepthMessage(int max_depth) {
  return "the JSON nests deeper than " + std::to_string(max_depth) + " levels, deeper than any record does";
}

}  // namespace gcuschema::document::internal
