#ifndef GCUSCHEMA_DOCUMENT_RANGES_H
#define GCUSCHEMA_DOCUMENT_RANGES_H

// Private to the document library: ranges kept as two fields of one record,
// found by their names, so that a field added to the schema in the same
// manner is covered without a list to keep up.

#include <cctype>
#include <string>
#include <utility>

#include <google/protobuf/descriptor.h>

namespace gcuschema::document::internal {

// The upper end of the range whose lower end is the field `name` of `type`:
// "inMinValue" with "inMaxValue", "minVoltage" with "maxVoltage",
// "levelMin12v" with "levelMax12v", "referenceVoltageLo" with
// "referenceVoltageHi" (the part must stand alone: "Min" but not "Minimum",
// "Lo" but not "Low"). Null when the field is no lower end.
inline const google::protobuf::FieldDescriptor* UpperEnd(const google::protobuf::Descriptor* type,
                                                         const std::string& name) {
  const auto stands_alone = [&name](std::size_t end) {
    return end == name.size() || !std::islower(static_cast<unsigned char>(name[end]));
  };
  for (const auto& [low, high] : {std::pair{"Min", "Max"}, std::pair{"Lo", "Hi"}}) {
    const std::string part(low);
    for (std::size_t at = name.find(part); at != std::string::npos; at = name.find(part, at + 1)) {
      if (!stands_alone(at + part.size())) continue;
      std::string other = name;
      other.replace(at, part.size(), high);
      if (const google::protobuf::FieldDescriptor* field = type->FindFieldByName(other)) return field;
    }
  }
  if (name.rfind("min", 0) == 0 && stands_alone(3)) return type->FindFieldByName("max" + name.substr(3));
  return nullptr;
}

// The spans of a linear scaling (inMin/inMax, outMin/outMax, rawMin/rawMax)
// may be given reversed on purpose, to read a signal inverted.
inline bool IsScalingSpan(const std::string& lower) {
  for (const char* start : {"inMin", "outMin", "rawMin"}) {
    if (lower.rfind(start, 0) == 0) return true;
  }
  return false;
}

}  // namespace gcuschema::document::internal

#endif
