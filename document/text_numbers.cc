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

bool IsNegativeZero(double value) { return value == 0 && std::signbit(value); }

// Whether `record` has a singular float or double holding -0.0 (its own
// fields only).
bool HoldsNegativeZero(const pb::Message& record) {
  const pb::Descriptor* type = record.GetDescriptor();
  const pb::Reflection* reflection = record.GetReflection();
  for (int i = 0; i < type->field_count(); ++i) {
    const pb::FieldDescriptor* field = type->field(i);
    if (field->is_repeated()) continue;
    if (field->cpp_type() == pb::FieldDescriptor::CPPTYPE_FLOAT && IsNegativeZero(reflection->GetFloat(record, field))) {
      return true;
    }
    if (field->cpp_type() == pb::FieldDescriptor::CPPTYPE_DOUBLE && IsNegativeZero(reflection->GetDouble(record, field))) {
      return true;
    }
  }
  return false;
}

class NumberPrinter : public pb::TextFormat::FastFieldValuePrinter {
 public:
  // A record inside the one printed, shown as its encoding writes it.
  bool PrintMessageContent(const pb::Message& record, int, int, bool single_line_mode,
                           pb::TextFormat::BaseTextGenerator* out) const override {
    std::unique_ptr<pb::Message> copy;
    if (&ShownAsWritten(record, &copy) == &record) return false;
    pb::TextFormat::Printer printer;
    SpellNumbersPortably(&printer);
    printer.SetSingleLineMode(single_line_mode);
    std::string text;
    printer.PrintToString(*copy, &text);
    out->PrintString(text);  // indented by `out` as it goes
    return true;
  }

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

const pb::Message& ShownAsWritten(const pb::Message& record, std::unique_ptr<pb::Message>* copy) {
  if (!HoldsNegativeZero(record)) return record;
  copy->reset(record.New());
  (*copy)->CopyFrom(record);
  const pb::Descriptor* type = record.GetDescriptor();
  const pb::Reflection* reflection = record.GetReflection();
  for (int i = 0; i < type->field_count(); ++i) {
    const pb::FieldDescriptor* field = type->field(i);
    if (field->is_repeated()) continue;
    const bool negative_zero =
        (field->cpp_type() == pb::FieldDescriptor::CPPTYPE_FLOAT && IsNegativeZero(reflection->GetFloat(record, field))) ||
        (field->cpp_type() == pb::FieldDescriptor::CPPTYPE_DOUBLE && IsNegativeZero(reflection->GetDouble(record, field)));
    if (negative_zero) reflection->ClearField(copy->get(), field);
  }
  return **copy;
}

}  // namespace gcuschema::document::internal
