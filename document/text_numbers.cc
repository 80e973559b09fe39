#include "text_numbers.h"

#include <cfloat>
#include <charconv>
#include <cmath>
#include <type_traits>
#include <system_error>

namespace gcuschema::document::internal {
namespace {

namespace pb = google::protobuf;

// std::to_chars with a precision is printf's %.*g, and with from_chars it is
// the C++ library's own: no C library in between.
template <typename T>
std::string Spell(T value, int digits, int more_digits) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value > 0 ? "inf" : "-inf";
  char buffer[64];
  const auto spell = [&](int precision) {
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, precision);
    return std::string(buffer, end.ptr);
  };
  const std::string text = spell(digits);
  T back = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), back);
  bool reads_back = read.ec == std::errc() && back == value;
  // glibc's strtof reports a subnormal result as out of range, and the
  // runtime then writes the longer form.
  if constexpr (std::is_same_v<T, float>) reads_back = reads_back && !(back != 0 && std::fabs(back) < FLT_MIN);
  return reads_back ? text : spell(more_digits);
}

class NumberPrinter : public pb::TextFormat::FastFieldValuePrinter {
 public:
  void PrintFloat(float value, pb::TextFormat::BaseTextGenerator* out) const override {
    out->PrintString(SpellFloat(value));
  }
  void PrintDouble(double value, pb::TextFormat::BaseTextGenerator* out) const override {
    out->PrintString(SpellDouble(value));
  }
};

}  // namespace

std::string SpellFloat(float value) { return Spell(value, FLT_DIG, FLT_DIG + 3); }

std::string SpellDouble(double value) { return Spell(value, DBL_DIG, DBL_DIG + 2); }

void SpellNumbersPortably(pb::TextFormat::Printer* printer) {
  printer->SetDefaultFieldValuePrinter(new NumberPrinter);  // the printer owns it
}

}  // namespace gcuschema::document::internal
