// Floats and doubles in text (text format, inspect, diff) spelt as the
// runtime spells them on Linux (its SimpleFtoa/SimpleDtoa over glibc), the
// same bytes on every system. The runtime's own spelling depends on the C
// library: on Windows it writes exponents with three digits (1e+030) and
// takes a subnormal float's six digits as reading back, where glibc
// reports them out of range and nine digits are written.
#ifndef GCUSCHEMA_DOCUMENT_TEXT_NUMBERS_H
#define GCUSCHEMA_DOCUMENT_TEXT_NUMBERS_H

#include <string>

#include <google/protobuf/text_format.h>

namespace gcuschema::document::internal {

// The shortest of printf's "%.6g" and "%.9g" that reads back as `value`
// ("%.15g" and "%.17g" for a double); "nan", "inf", "-inf".
std::string SpellFloat(float value);
std::string SpellDouble(double value);

// Makes `printer` spell floats and doubles so.
void SpellNumbersPortably(google::protobuf::TextFormat::Printer* printer);

}  // namespace gcuschema::document::internal

#endif
