#ifndef GCUSCHEMA_DOCUMENT_FIELD_VALUES_H
#define GCUSCHEMA_DOCUMENT_FIELD_VALUES_H

// Private to the document library: integer values read by reflection,
// whatever the field's integer kind.

#include <cstdint>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

namespace gcuschema::document::internal {

inline bool IsInteger(const google::protobuf::FieldDescriptor* field) {
  switch (field->cpp_type()) {
    case google::protobuf::FieldDescriptor::CPPTYPE_INT32:
    case google::protobuf::FieldDescriptor::CPPTYPE_UINT32:
    case google::protobuf::FieldDescriptor::CPPTYPE_INT64:
    case google::protobuf::FieldDescriptor::CPPTYPE_UINT64:
      return true;
    default:
      return false;
  }
}

// The value of an integer or enumeration field (element `index` of a list);
// 0 for any other kind. A uint64 beyond the int64 range wraps.
inline std::int64_t IntegerAt(const google::protobuf::Message& record, const google::protobuf::FieldDescriptor* field,
                              int index) {
  using google::protobuf::FieldDescriptor;
  const google::protobuf::Reflection* reflection = record.GetReflection();
  const bool repeated = field->is_repeated();
  switch (field->cpp_type()) {
    case FieldDescriptor::CPPTYPE_INT32:
      return repeated ? reflection->GetRepeatedInt32(record, field, index) : reflection->GetInt32(record, field);
    case FieldDescriptor::CPPTYPE_UINT32:
      return repeated ? reflection->GetRepeatedUInt32(record, field, index) : reflection->GetUInt32(record, field);
    case FieldDescriptor::CPPTYPE_INT64:
      return repeated ? reflection->GetRepeatedInt64(record, field, index) : reflection->GetInt64(record, field);
    case FieldDescriptor::CPPTYPE_UINT64:
      return static_cast<std::int64_t>(repeated ? reflection->GetRepeatedUInt64(record, field, index)
                                                : reflection->GetUInt64(record, field));
    case FieldDescriptor::CPPTYPE_ENUM:
      return repeated ? reflection->GetRepeatedEnumValue(record, field, index)
                      : reflection->GetEnumValue(record, field);
    default:
      return 0;
  }
}

}  // namespace gcuschema::document::internal

#endif
