#ifndef GCUSCHEMA_DOCUMENT_CONFIG_SLOTS_H
#define GCUSCHEMA_DOCUMENT_CONFIG_SLOTS_H

// Private to the document library: which record a `config` bytes field holds,
// and reading it. Shared by every reader of settings (JSON, lint, inspect,
// diff) so that they agree on what counts as expanded settings and on how
// deep they go.

#include <memory>
#include <string>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/stubs/logging.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/pairing.h>

namespace gcuschema::document::internal {

// Settings may themselves hold settings (a caller can pair a driver code
// with ConfigData), so a document can nest a record in itself without end;
// every reader stops at this many levels of `config`, far below what would
// exhaust its stack and far above what any device document needs (two: the
// ConfigData of a DeviceData, then an entry's settings).
inline constexpr int kMaxConfigDepth = 16;

// Before reading settings `depth` levels of `config` down (1 for those of
// the record read first): beyond kMaxConfigDepth, throws Error at the path
// `where()` makes (made only then: readers check every config they meet).
template <typename Where>
void CheckConfigDepth(int depth, const Where& where) {
  if (depth <= kMaxConfigDepth) return;
  throw Error(where(), "records inside `config` nested deeper than " + std::to_string(kMaxConfigDepth) +
                         " levels; the settings hold a record that holds settings again (a pairing such as "
                         "input:0=ConfigData allows that), and no reader goes further");
}

// The entry kind of a record that carries settings in its `config`, or
// false for any other record.
inline bool EntryKindOf(const google::protobuf::Descriptor* type, EntryKind* kind) {
  if (type == ::Input::descriptor()) *kind = EntryKind::kInput;
  else if (type == ::Output::descriptor()) *kind = EntryKind::kOutput;
  else if (type == ::Map::descriptor()) *kind = EntryKind::kMap;
  else if (type == ::Driver::descriptor()) *kind = EntryKind::kDriver;
  else if (type == ::CanbusEntityHandler::descriptor()) *kind = EntryKind::kHandler;
  else return false;
  return true;
}

// An entry's type code read from its `type` field (`field`, as found once
// by the caller), whatever the field's integer kind: int32 for inputs,
// outputs and handlers, an enumeration for maps, uint32 for drivers.
inline int TypeCodeIn(const google::protobuf::Message& entry, const google::protobuf::Reflection* reflection,
                      const google::protobuf::FieldDescriptor* field) {
  if (field == nullptr) return 0;
  switch (field->cpp_type()) {
    case google::protobuf::FieldDescriptor::CPPTYPE_INT32: return reflection->GetInt32(entry, field);
    case google::protobuf::FieldDescriptor::CPPTYPE_UINT32:
      return static_cast<int>(reflection->GetUInt32(entry, field));
    case google::protobuf::FieldDescriptor::CPPTYPE_ENUM: return reflection->GetEnumValue(entry, field);
    default: return 0;
  }
}

// An entry's type code.
inline int EntryTypeCode(const google::protobuf::Message& entry) {
  return TypeCodeIn(entry, entry.GetReflection(), entry.GetDescriptor()->FindFieldByName("type"));
}

// The `config` bytes field of a record that carries another record in it
// (an entry, or DeviceData), or null for any other record.
inline const google::protobuf::FieldDescriptor* ConfigField(const google::protobuf::Descriptor* type) {
  EntryKind kind;
  if (type != ::DeviceData::descriptor() && !EntryKindOf(type, &kind)) return nullptr;
  const google::protobuf::FieldDescriptor* field = type->FindFieldByName("config");
  if (field == nullptr || field->is_repeated() || field->type() != google::protobuf::FieldDescriptor::TYPE_BYTES) {
    return nullptr;
  }
  return field;
}

// Whether `field` of records of `type` holds settings: the `config` of
// DeviceData and of the entries paired by kind and type code.
inline bool IsSlot(const google::protobuf::Descriptor* type, const google::protobuf::FieldDescriptor* field) {
  // Every `config` is bytes named so: the cheap tests first, as readers ask
  // this of every string field they meet.
  return field != nullptr && field->type() == google::protobuf::FieldDescriptor::TYPE_BYTES &&
         field->name() == "config" && field == ConfigField(type);
}

// The record `holder`'s `config` holds: DeviceData.config always holds a
// ConfigData; the `config` of an entry holds what the pairing gives for its
// kind and type code. Null for opaque bytes and for records without one.
inline const google::protobuf::Descriptor* HeldRecord(const google::protobuf::Message& holder,
                                                      const PairingCatalogue& pairing) {
  const google::protobuf::Descriptor* type = holder.GetDescriptor();
  if (type == ::DeviceData::descriptor()) return ::ConfigData::descriptor();
  EntryKind kind;
  if (!EntryKindOf(type, &kind)) return nullptr;
  return pairing.Find(kind, EntryTypeCode(holder));
}

// The record held in `field` of `holder` (see HeldRecord); null for every
// field but the holder's `config`.
inline const google::protobuf::Descriptor* SlotRecord(const google::protobuf::Message& holder,
                                                      const google::protobuf::FieldDescriptor* field,
                                                      const PairingCatalogue& pairing) {
  if (!IsSlot(holder.GetDescriptor(), field)) return nullptr;
  return HeldRecord(holder, pairing);
}

// "2 (DigitalInput)": an entry's type code with its name where the kind's
// enumeration has one.
std::string DescribeTypeCode(EntryKind kind, int code);

// A new record of `type` holding `bytes`, or null when the bytes do not
// parse (or the type has no generated class). `canonical` (optional) tells
// whether encoding the record gives back exactly `bytes`.
inline std::unique_ptr<google::protobuf::Message> ParseSlot(const google::protobuf::Descriptor* type,
                                                            const std::string& bytes,
                                                            bool* canonical) {
  const google::protobuf::Message* prototype =
      google::protobuf::MessageFactory::generated_factory()->GetPrototype(type);
  if (prototype == nullptr) return nullptr;
  std::unique_ptr<google::protobuf::Message> record(prototype->New());
  {
    // A bad string in settings is a finding for the caller, not a log line.
    google::protobuf::LogSilencer quiet;
    if (!record->ParseFromString(bytes)) return nullptr;
  }
  if (canonical != nullptr) {
    google::protobuf::LogSilencer quiet;
    *canonical = record->SerializeAsString() == bytes;
  }
  return record;
}

// `record` as its generated class; a copy (kept in `copy`) when it is
// another implementation of the same type, such as a dynamic message.
template <typename T>
const T& AsGenerated(const google::protobuf::Message& record, std::unique_ptr<T>* copy) {
  if (const T* generated = dynamic_cast<const T*>(&record)) return *generated;
  *copy = std::make_unique<T>();
  (*copy)->CopyFrom(record);
  return **copy;
}

}  // namespace gcuschema::document::internal

#endif
