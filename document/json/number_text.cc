#include "json/number_text.h"

#include <charconv>
#include <system_error>

namespace gcuschema::document::internal {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool Integral(std::string_view text) { return text.find_first_of(".eE") == std::string_view::npos; }

template <typename T>
NumberProblem IntegerOfNumber(std::string_view text, T* out) {
  if (Integral(text)) {
    const char* last = text.data() + text.size();
    std::int64_t signed_value = 0;
    auto [end, status] = std::from_chars(text.data(), last, signed_value);
    if (status == std::errc() && end == last) return IntegerFromInteger(signed_value, out);
    std::uint64_t unsigned_value = 0;
    auto [uend, ustatus] = std::from_chars(text.data(), last, unsigned_value);
    if (ustatus == std::errc() && uend == last) return IntegerFromInteger(unsigned_value, out);
    return NumberProblem::kOutOfRange;  // beyond 64 bits
  }
  return IntegerFromDouble(DoubleOfJsonNumber(text), out);
}

template <typename T>
NumberProblem IntegerOfString(std::string_view text, T* out) {
  // A leading plus, which the runtime's own JSON reader accepts ("+5").
  if (text.size() > 1 && text[0] == '+' && IsDigit(text[1])) text.remove_prefix(1);
  const char* first = text.data();
  const char* last = first + text.size();
  T value{};
  auto [end, status] = std::from_chars(first, last, value);
  if (status == std::errc() && end == last && !text.empty()) {
    *out = value;
    return NumberProblem::kNone;
  }
  if (status == std::errc::result_out_of_range && end == last) return NumberProblem::kOutOfRange;
  double floating = 0;
  auto [fend, fstatus] = std::from_chars(first, last, floating);
  if (text.empty() || fend != last || fstatus == std::errc::invalid_argument || (text[0] != '-' && !IsDigit(text[0]))) {
    return NumberProblem::kNotANumber;
  }
  if (fstatus == std::errc::result_out_of_range) return NumberProblem::kOutOfRange;
  return IntegerFromDouble(floating, out);
}

}  // namespace

const char* NumberProblemText(NumberProblem problem) {
  switch (problem) {
    case NumberProblem::kNotANumber: return "is not a number";
    case NumberProblem::kNotAnInteger: return "is not an integer";
    case NumberProblem::kOutOfRange: return "is out of range";
    default: return "";
  }
}

double DoubleOfJsonNumber(std::string_view text) {
  double value = 0;
  auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (status == std::errc()) return value;
  // Beyond a double either way: infinite when the leading digit stands at
  // 10^0 or above, zero when below.
  const bool negative = !text.empty() && text[0] == '-';
  std::size_t i = negative ? 1 : 0;
  long long lead = 0;
  bool found = false;
  const std::size_t integer_start = i;
  while (i < text.size() && IsDigit(text[i])) ++i;
  for (std::size_t k = integer_start; k < i && !found; ++k) {
    if (text[k] != '0') {
      lead = static_cast<long long>(i - k) - 1;
      found = true;
    }
  }
  if (i < text.size() && text[i] == '.') {
    const std::size_t fraction_start = ++i;
    while (i < text.size() && IsDigit(text[i])) ++i;
    for (std::size_t k = fraction_start; k < i && !found; ++k) {
      if (text[k] != '0') {
        lead = -static_cast<long long>(k - fraction_start) - 1;
        found = true;
      }
    }
  }
  if (found && i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    ++i;
    const bool minus = i < text.size() && text[i] == '-';
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) ++i;
    long long exponent = 0;
    for (; i < text.size() && IsDigit(text[i]); ++i) {
      if (exponent < 1000000000) exponent = exponent * 10 + (text[i] - '0');
    }
    lead += minus ? -exponent : exponent;
  }
  const double magnitude = found && lead >= 0 ? std::numeric_limits<double>::infinity() : 0.0;
  return negative ? -magnitude : magnitude;
}

NumberProblem IntegerOfJsonNumber(std::string_view text, std::int32_t* out) { return IntegerOfNumber(text, out); }
NumberProblem IntegerOfJsonNumber(std::string_view text, std::int64_t* out) { return IntegerOfNumber(text, out); }
NumberProblem IntegerOfJsonNumber(std::string_view text, std::uint32_t* out) { return IntegerOfNumber(text, out); }
NumberProblem IntegerOfJsonNumber(std::string_view text, std::uint64_t* out) { return IntegerOfNumber(text, out); }

NumberProblem IntegerOfText(std::string_view text, std::int32_t* out) { return IntegerOfString(text, out); }
NumberProblem IntegerOfText(std::string_view text, std::int64_t* out) { return IntegerOfString(text, out); }
NumberProblem IntegerOfText(std::string_view text, std::uint32_t* out) { return IntegerOfString(text, out); }
NumberProblem IntegerOfText(std::string_view text, std::uint64_t* out) { return IntegerOfString(text, out); }

NumberProblem DoubleOfText(std::string_view text, double* out) {
  if (text == "NaN") {
    *out = std::numeric_limits<double>::quiet_NaN();
    return NumberProblem::kNone;
  }
  if (text == "Infinity" || text == "-Infinity") {
    *out = text[0] == '-' ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
    return NumberProblem::kNone;
  }
  if (text.size() > 1 && text[0] == '+' && (IsDigit(text[1]) || text[1] == '.')) text.remove_prefix(1);
  const char* first = text.data();
  const char* last = first + text.size();
  auto [end, status] = std::from_chars(first, last, *out);
  if (text.empty() || end != last || status == std::errc::invalid_argument ||
      (text[0] != '-' && text[0] != '.' && !IsDigit(text[0]))) {
    return NumberProblem::kNotANumber;
  }
  if (status == std::errc::result_out_of_range || !std::isfinite(*out)) return NumberProblem::kOutOfRange;
  return NumberProblem::kNone;
}

}  // namespace gcuschema::document::internal
