#include "edit/path.h"

#include <charconv>
#include <string>

#include <gcuschema/document/edit.h>
#include <gcuschema/document/error.h>

namespace gcuschema::document {
namespace internal {
namespace {

constexpr const char* kGrammar =
    "a path is field names joined by '.', each list entered by position or by a field of its "
    "elements: inputs[3].alias, inputs[id=2].config.delay";

bool IsNameStart(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool IsNameChar(char c) { return IsNameStart(c) || (c >= '0' && c <= '9'); }

std::string Shown(char c) {
  if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) >= 0x7F) {
    static const char digits[] = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(c);
    return std::string("byte 0x") + digits[byte >> 4] + digits[byte & 15];
  }
  return std::string("'") + c + "'";
}

// The end of the quoted string starting at `at` (a '"'), just past its
// closing quote; npos when it is not closed.
std::size_t QuotedEnd(std::string_view text, std::size_t at) {
  for (std::size_t i = at + 1; i < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (text[i] == '"') {
      return i + 1;
    }
  }
  return std::string_view::npos;
}

class PathParser {
 public:
  explicit PathParser(std::string_view path) : path_(path) {}

  std::vector<PathStep> Run() {
    if (path_.empty()) Fail("the path is empty; " + std::string(kGrammar));
    std::vector<PathStep> steps;
    while (true) {
      PathStep step;
      step.name = Name("a field name");
      if (at_ < path_.size() && path_[at_] == '[') Selector(&step);
      step.written = std::string(path_.substr(0, at_));
      steps.push_back(std::move(step));
      if (at_ == path_.size()) return steps;
      if (path_[at_] == '[') Fail("a list element is chosen once: " + Here() + " cannot follow ']'");
      if (path_[at_] != '.') Fail(Here() + " cannot follow a field name; " + kGrammar);
      ++at_;
    }
  }

 private:
  [[noreturn]] void Fail(const std::string& message) const { throw Error(std::string(path_), message); }

  // "'x' at character 7" (characters counted from 1).
  std::string Here() const {
    if (at_ >= path_.size()) return "the end";
    return Shown(path_[at_]) + " at character " + std::to_string(at_ + 1);
  }

  std::string Name(const char* what) {
    const std::size_t start = at_;
    if (at_ >= path_.size() || !IsNameStart(path_[at_])) {
      Fail(std::string(what) + " was expected at character " + std::to_string(at_ + 1) + ", not " +
           (at_ >= path_.size() ? std::string("the end") : Shown(path_[at_])) + "; " + kGrammar);
    }
    while (at_ < path_.size() && IsNameChar(path_[at_])) ++at_;
    return std::string(path_.substr(start, at_ - start));
  }

  void Selector(PathStep* step) {
    const std::size_t open = at_++;
    const std::string unclosed = "the '[' at character " + std::to_string(open + 1) + " is not closed by ']'";
    if (at_ < path_.size() && path_[at_] >= '0' && path_[at_] <= '9') {
      const std::size_t start = at_;
      while (at_ < path_.size() && path_[at_] >= '0' && path_[at_] <= '9') ++at_;
      const auto [end, status] = std::from_chars(path_.data() + start, path_.data() + at_, step->index);
      if (status != std::errc() || end != path_.data() + at_) {
        Fail("the position " + std::string(path_.substr(start, at_ - start)) + " at character " +
             std::to_string(start + 1) + " is far beyond the length of any list");
      }
      if (at_ >= path_.size()) Fail(unclosed);
      if (path_[at_] != ']') Fail("a position is digits alone: " + Here() + " cannot stand in it; " + kGrammar);
      ++at_;
      step->select = PathStep::Select::kIndex;
      return;
    }
    if (at_ < path_.size() && path_[at_] == '-') {
      Fail("a position counts from 0 at the start of the list; " + Here() + " cannot begin one");
    }
    if (at_ >= path_.size() || !IsNameStart(path_[at_])) {
      Fail("a position (digits) or FIELD=VALUE was expected in the '[' at character " + std::to_string(open + 1) +
           ", not " + (at_ >= path_.size() ? std::string("the end") : Shown(path_[at_])) + "; " + kGrammar);
    }
    step->field = Name("a field name");
    if (at_ >= path_.size()) Fail(unclosed);
    if (path_[at_] != '=') {
      Fail("'=' was expected after the field name " + step->field + " in the '[' at character " +
           std::to_string(open + 1) + ", not " + Here() + " (as in inputs[id=2])");
    }
    const std::size_t start = ++at_;
    if (at_ < path_.size() && path_[at_] == '"') {
      const std::size_t end = QuotedEnd(path_, at_);
      if (end == std::string_view::npos) {
        Fail("the quote at character " + std::to_string(at_ + 1) + " is not closed");
      }
      at_ = end;
      if (at_ >= path_.size()) Fail(unclosed);
      if (path_[at_] != ']') Fail("']' was expected after the quoted value, not " + Here());
    } else {
      while (at_ < path_.size() && path_[at_] != ']') ++at_;
      if (at_ >= path_.size()) Fail(unclosed);
    }
    step->value = std::string(path_.substr(start, at_ - start));
    if (step->value.empty()) {
      Fail("the value of " + step->field + " is missing in the '[' at character " + std::to_string(open + 1) +
           " (as in inputs[id=2])");
    }
    ++at_;
    step->select = PathStep::Select::kField;
  }

  std::string_view path_;
  std::size_t at_ = 0;
};

}  // namespace

std::vector<PathStep> ParsePath(std::string_view path) { return PathParser(path).Run(); }

std::size_t AssignmentSign(std::string_view text) {
  int depth = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (depth > 0 && c == '"') {
      const std::size_t end = QuotedEnd(text, i);
      if (end == std::string_view::npos) return std::string_view::npos;
      i = end - 1;
    } else if (c == '[') {
      ++depth;
    } else if (c == ']' && depth > 0) {
      --depth;
    } else if (c == '=' && depth == 0) {
      return i;
    }
  }
  return std::string_view::npos;
}

}  // namespace internal

Assignment ParseAssignment(std::string_view text) {
  const std::size_t sign = internal::AssignmentSign(text);
  if (sign == std::string_view::npos) {
    internal::ParsePath(text);  // says what is wrong with it, if anything
    throw Error(std::string(text),
                "an edit is PATH=VALUE, and there is no '=' after the path; give the value after one "
                "(inputs[id=2].config.delay=50, or inputs[id=2].alias= for an empty one)");
  }
  if (sign == 0) {
    throw Error(std::string(text), "the path before '=' is empty; " + std::string(internal::kGrammar));
  }
  return Assignment{std::string(text.substr(0, sign)), std::string(text.substr(sign + 1))};
}

}  // namespace gcuschema::document
