// Floats and doubles in text (text format, inspect, diff) spelt as the
// runtime spells them on Linux (its SimpleFtoa/SimpleDtoa over glibc), the
// same bytes on every system. The runtime's own spelling depends on the C
// library: on Windows it writes exponents with three digits (1e+030) and
// takes a subnormal float's six digits as reading back, where glibc
// reports them out of range and nine digits are written.
#ifndef GCUSCHEMA_DOCUMENT_TEXT_NUMBERS_H
#define GCUSCHEMA_DOCUMENT_TEXT_NUMBERS_H

#include <memory>
#include <string>

#include <google/protobuf/message.h>
#include <google/protobuf/text_format.h>

namespace gcuschema::document::internal {

// The shortest of printf's "%.6g" and "%.9g" that reads back as `value`
// ("%.15g" and "%.17g" for a double); "nan", "inf", "-inf".
std::string SpellFloat(float value);
std::string SpellDouble(double value);

// Makes `printer` spell floats and doubles so, and leave out the singular
// ones holding -0.0 in the records it prints inside the one it is given
// (ShownAsWritten does that for the one given).
void SpellNumbersPortably(google::protobuf::TextFormat::Printer* printer);

// `record`, or a copy of it (made in `copy`) without the singular floats and
// doubles that hold -0.0. The records' encoding writes such a field only
// when it is not zero, whatever the sign: read back, it is absent. The
// runtime's text printer decides by the bit pattern and would show
// `minValue: -0`; text shows what encode writes back instead, as JSON
// does. (Lists keep -0.0: their elements are written as they are.)
const google::protobuf::Message& ShownAsWritten(const google::protobuf::Message& record,
                                                std::unique_ptr<google::protobuf::Message>* copy);

}  // namespace gcuschema::document::internal

#endif
