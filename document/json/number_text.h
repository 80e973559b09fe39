// Numbers as the JSON mapping reads them into fields: from a JSON number's
// text or from a string holding one, with the mapping's rules on range and
// integrality.
#ifndef GCUSCHEMA_DOCUMENT_JSON_NUMBER_TEXT_H
#define GCUSCHEMA_DOCUMENT_JSON_NUMBER_TEXT_H

#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>

namespace gcuschema::document::internal {

// Why a number is no value of a field; the text completes "the number 1.5 ...".
enum class NumberProblem { kNone, kNotANumber, kNotAnInteger, kOutOfRange };

const char* NumberProblemText(NumberProblem problem);

// A double as a value of integer type T: integral and within T's range.
template <typename T>
NumberProblem IntegerFromDouble(double value, T* out) {
  using Limits = std::numeric_limits<T>;
  if (!std::isfinite(value) || std::trunc(value) != value) return NumberProblem::kNotAnInteger;
  // Bounds as doubles: T's maximum + 1 is a power of two, exact.
  const double upper = std::ldexp(1.0, Limits::digits);
  const double lower = Limits::is_signed ? -upper : 0.0;
  if (value < lower || value >= upper) return NumberProblem::kOutOfRange;
  *out = static_cast<T>(value);
  return NumberProblem::kNone;
}

// A 64-bit integer as a value of integer type T.
template <typename T, typename I>
NumberProblem IntegerFromInteger(I value, T* out) {
  using Limits = std::numeric_limits<T>;
  if constexpr (std::numeric_limits<I>::is_signed) {
    if (value < 0) {
      if (!Limits::is_signed || value < static_cast<std::int64_t>(Limits::min())) return NumberProblem::kOutOfRange;
      *out = static_cast<T>(value);
      return NumberProblem::kNone;
    }
  }
  if (static_cast<std::uint64_t>(value) > static_cast<std::uint64_t>(Limits::max())) return NumberProblem::kOutOfRange;
  *out = static_cast<T>(value);
  return NumberProblem::kNone;
}

// The text of a JSON number (already checked to be one) as a double:
// beyond the range of a double it is infinite, below it zero.
double DoubleOfJsonNumber(std::string_view text);

// The text of a JSON number (already checked to be one) as an integer of
// the type `out` points to.
NumberProblem IntegerOfJsonNumber(std::string_view text, std::int32_t* out);
NumberProblem IntegerOfJsonNumber(std::string_view text, std::int64_t* out);
NumberProblem IntegerOfJsonNumber(std::string_view text, std::uint32_t* out);
NumberProblem IntegerOfJsonNumber(std::string_view text, std::uint64_t* out);

// The contents of a string in an integer field: an integer ("-3", "+5"),
// or a number with an integral value ("1e2", "3.0").
NumberProblem IntegerOfText(std::string_view text, std::int32_t* out);
NumberProblem IntegerOfText(std::string_view text, std::int64_t* out);
NumberProblem IntegerOfText(std::string_view text, std::uint32_t* out);
NumberProblem IntegerOfText(std::string_view text, std::uint64_t* out);

// The contents of a string in a float or double field: a number ("1.5",
// "+2", ".5", "1e3"), "NaN", "Infinity" or "-Infinity". A finite number
// beyond the range of a double is out of range.
NumberProblem DoubleOfText(std::string_view text, double* out);

}  // namespace gcuschema::document::internal

#endif
