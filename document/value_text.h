// Private to the document library: a field's value as diff, lint and the
// HTML pages show it to people, one spelling for all of them.
#ifndef GCUSCHEMA_DOCUMENT_VALUE_TEXT_H
#define GCUSCHEMA_DOCUMENT_VALUE_TEXT_H

#include <optional>
#include <string>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

namespace gcuschema::document::internal {

// A number, bool or enumeration of `field` (element `index` of a list):
// integers in decimal, floats as the shortest text that reads back to them
// (a NaN with its bits, "NaN 0x7fc00000", which tell one NaN from another),
// enumerations by name (by number where the value has none). Nothing for
// text, bytes and records, which each caller shows its own way.
std::optional<std::string> ScalarText(const google::protobuf::Message& record,
                                      const google::protobuf::FieldDescriptor* field, int index);

}  // namespace gcuschema::document::internal

#endif
