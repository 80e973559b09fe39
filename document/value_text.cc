#include "value_text.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <type_traits>

#include "text_numbers.h"

namespace gcuschema::document::internal {
namespace {

namespace pb = google::protobuf;

template <typename Float, typename Bits>
std::string FloatText(Float value) {
  if (!std::isnan(value)) return std::is_same_v<Float, float> ? SpellFloat(value) : SpellDouble(value);
  Bits bits;
  std::memcpy(&bits, &value, sizeof bits);
  char text[2 * sizeof bits + 1];
  std::snprintf(text, sizeof text, "%0*llx", static_cast<int>(2 * sizeof bits), static_cast<unsigned long long>(bits));
  return std::string("NaN 0x") + text;
}

}  // namespace

std::optional<std::string> ScalarText(const pb::Message& record, const pb::FieldDescriptor* field, int index) {
  const pb::Reflection* r = record.GetReflection();
  const bool rep = field->is_repeated();
  switch (field->cpp_type()) {
    case pb::FieldDescriptor::CPPTYPE_INT32:
      return std::to_string(rep ? r->GetRepeatedInt32(record, field, index) : r->GetInt32(record, field));
    case pb::FieldDescriptor::CPPTYPE_INT64:
      return std::to_string(rep ? r->GetRepeatedInt64(record, field, index) : r->GetInt64(record, field));
    case pb::FieldDescriptor::CPPTYPE_UINT32:
      return std::to_string(rep ? r->GetRepeatedUInt32(record, field, index) : r->GetUInt32(record, field));
    case pb::FieldDescriptor::CPPTYPE_UINT64:
      return std::to_string(rep ? r->GetRepeatedUInt64(record, field, index) : r->GetUInt64(record, field));
    case pb::FieldDescriptor::CPPTYPE_FLOAT:
      return FloatText<float, std::uint32_t>(rep ? r->GetRepeatedFloat(record, field, index)
                                                 : r->GetFloat(record, field));
    case pb::FieldDescriptor::CPPTYPE_DOUBLE:
      return FloatText<double, std::uint64_t>(rep ? r->GetRepeatedDouble(record, field, index)
                                                  : r->GetDouble(record, field));
    case pb::FieldDescriptor::CPPTYPE_BOOL:
      return (rep ? r->GetRepeatedBool(record, field, index) : r->GetBool(record, field)) ? "true" : "false";
    case pb::FieldDescriptor::CPPTYPE_ENUM: {
      const int value = rep ? r->GetRepeatedEnumValue(record, field, index) : r->GetEnumValue(record, field);
      const pb::EnumValueDescriptor* named = field->enum_type()->FindValueByNumber(value);
      return named != nullptr ? named->name() : std::to_string(value);
    }
    case pb::FieldDescriptor::CPPTYPE_STRING:
    case pb::FieldDescriptor::CPPTYPE_MESSAGE: break;
  }
  return std::nullopt;
}

}  // namespace gcuschema::document::internal
