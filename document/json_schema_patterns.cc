#include "json_schema_patterns.h"

#include <string>

namespace gcuschema::document::internal {
namespace {

// Digits from `low` to `high` as one atom.
std::string DigitRange(char low, char high) {
  if (low == high) return std::string(1, low);
  return std::string("[") + low + "-" + high + "]";
}

std::string AnyDigits(std::size_t count) {
  if (count == 0) return "";
  if (count == 1) return "[0-9]";
  return "[0-9]{" + std::to_string(count) + "}";
}

// The magnitude of a negative bound, for INT64_MIN too.
std::uint64_t Magnitude(std::int64_t negative) { return static_cast<std::uint64_t>(-(negative + 1)) + 1; }

}  // namespace

std::string WholePattern(const std::string& pattern) {
  // `(?!\n)`: Python's `$` also stands before a final line break, which
  // the reader takes for part of the value.
  return "^(?:" + pattern + ")$(?!\\n)";
}

std::string DecimalAtMost(std::uint64_t limit) {
  const std::string digits = std::to_string(limit);
  const std::size_t length = digits.size();
  if (length == 1) return DigitRange('0', digits[0]);
  // Fewer digits than the limit: any such number.
  std::string pattern = "[0-9]";
  if (length > 2) pattern += "|[1-9][0-9]{1," + std::to_string(length - 2) + "}";
  // As many: the limit's first i digits, a smaller one, then any.
  for (std::size_t i = 0; i < length; ++i) {
    const char low = i == 0 ? '1' : '0';
    if (digits[i] > low) {
      pattern += "|" + digits.substr(0, i) + DigitRange(low, static_cast<char>(digits[i] - 1)) +
                 AnyDigits(length - i - 1);
    }
  }
  return pattern + "|" + digits;
}

std::string QuotedIntegerPattern(std::int64_t minimum, std::uint64_t maximum) {
  std::string pattern = "\\+?0*(?:" + DecimalAtMost(maximum) + ")";
  if (minimum < 0) pattern += "|-0*(?:" + DecimalAtMost(Magnitude(minimum)) + ")";
  return WholePattern(pattern);
}

std::string PlainQuotedIntegerPattern(std::int64_t minimum, std::uint64_t maximum) {
  std::string pattern = DecimalAtMost(maximum);
  if (minimum < 0) pattern += "|-(?:" + DecimalAtMost(Magnitude(minimum)) + ")";
  return WholePattern(pattern);
}

std::string QuotedDecimalPattern(int integer_digits) {
  // Thirty digits of fraction are more than a double tells apart, and keep
  // the value from vanishing below the smallest one.
  return WholePattern("[+-]?[0-9]{1," + std::to_string(integer_digits) + "}(?:\\.[0-9]{1,30})?");
}

std::string Base64Pattern() {
  const std::string digit = "[A-Za-z0-9+/_-][ \\t\\n\\r]*";
  return WholePattern("[ \\t\\n\\r]*(?:(?:" + digit + "){4})*(?:(?:" + digit + "){2,3})?(?:=[ \\t\\n\\r]*){0,2}");
}

std::string UnicodeTextPattern() {
  return WholePattern("(?:[^\\ud800-\\udfff]|[\\ud800-\\udbff][\\udc00-\\udfff])*");
}

}  // namespace gcuschema::document::internal
