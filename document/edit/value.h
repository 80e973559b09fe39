// Values of edits as written on a command line, read into fields.
#ifndef GCUSCHEMA_DOCUMENT_EDIT_VALUE_H
#define GCUSCHEMA_DOCUMENT_EDIT_VALUE_H

#include <string>
#include <string_view>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

namespace gcuschema::document::internal {

// Sets `field` of `record` (element `index` of a list, or -1 for a field of
// one value; a list's element must exist) to the value `text` spells: as
// JSON spells it, strings bare or quoted. An entry's `type` takes the name
// of its code too. Throws Error at `where` saying what the field takes.
void SetFromText(google::protobuf::Message* record, const google::protobuf::FieldDescriptor* field, int index,
                 std::string_view text, const std::string& where);

// Whether element `index` of `field` (or its one value, for -1) is the same
// in both records.
bool SameValue(const google::protobuf::Message& a, const google::protobuf::Message& b,
               const google::protobuf::FieldDescriptor* field, int index);

// The value of `field` (element `index`, or -1) as an edit spells it: what
// messages quote of the ids and names found.
std::string AssignedValueText(const google::protobuf::Message& record, const google::protobuf::FieldDescriptor* field,
                      int index);

// What a field takes, for messages: "an integer (sint32)", "text", "a value
// of DigitalInConfiguration.Mode".
std::string Takes(const google::protobuf::FieldDescriptor* field);

}  // namespace gcuschema::document::internal

#endif
