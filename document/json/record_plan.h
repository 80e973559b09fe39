// What the JSON reader and writer need to know of a record type, worked out
// once per type: its fields in declaration order with their JSON and schema
// names, how each value is spelled, and where settings records hide.
#ifndef GCUSCHEMA_DOCUMENT_JSON_RECORD_PLAN_H
#define GCUSCHEMA_DOCUMENT_JSON_RECORD_PLAN_H

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <google/protobuf/descriptor.h>

#include <gcuschema/document/pairing.h>

namespace gcuschema::document::internal {

enum class ValueKind {
  kInt32,
  kInt64,
  kUInt32,
  kUInt64,
  kFloat,
  kDouble,
  kBool,
  kEnum,
  kString,
  kBytes,
  kRecord,
  kUnsupported,  // maps, well-known types, groups: see FieldPlan::unsupported
};

struct FieldPlan {
  const google::protobuf::FieldDescriptor* field;
  ValueKind kind;
  bool repeated;
  // Set or not by the runtime's presence (sub-records, proto2 and proto3
  // `optional` fields); otherwise a field is present when not zero or
  // empty, a float or double when it compares unequal to zero.
  bool explicit_presence;
  // The holder's `config` bytes, which may hold a settings record.
  bool config;
  std::string json_key;      // "\"inMinValue\"": the JSON name, quoted and escaped
  std::string original_key;  // the schema's name, quoted and escaped
  std::string unsupported;   // what the codec does not implement, for kUnsupported
  // How the reader encodes a value of the field.
  int number = 0;
  google::protobuf::FieldDescriptor::Type type = google::protobuf::FieldDescriptor::TYPE_INT32;
};

struct RecordPlan {
  const google::protobuf::Descriptor* type;
  std::vector<FieldPlan> fields;  // declaration order
  // Both names of every field, to its index in `fields`.
  std::unordered_map<std::string_view, int> by_name;
  int config = -1;  // index of the `config` field of a holder
  // An entry (holder of settings chosen by its type code): its kind and its
  // `type` field; DeviceData holds a ConfigData whatever its fields say.
  bool entry = false;
  EntryKind kind = EntryKind::kInput;
  const google::protobuf::FieldDescriptor* type_code = nullptr;
  // The names of the kind's type codes (Input.Type, ...); null for kinds
  // whose codes are plain numbers.
  const google::protobuf::EnumDescriptor* type_code_names = nullptr;
  bool has_extensions = false;
  // Float or double fields here or in sub-records: NaNs to look at.
  bool has_floats = false;

  const FieldPlan* Find(std::string_view name) const {
    auto found = by_name.find(name);
    return found == by_name.end() ? nullptr : &fields[found->second];
  }
};

// Plans of the types met so far. Not thread-safe: one per thread.
class RecordPlans {
 public:
  const RecordPlan& Get(const google::protobuf::Descriptor* type);

 private:
  std::unordered_map<const google::protobuf::Descriptor*, std::unique_ptr<RecordPlan>> plans_;
};

}  // namespace gcuschema::document::internal

#endif
