#include "json/record_plan.h"

#include "walk.h"
#include "json/spelling.h"

namespace gcuschema::document::internal {
namespace {

namespace pb = google::protobuf;
using pb::FieldDescriptor;

// Types of the runtime's own files (google.protobuf.Timestamp, Any, ...)
// have JSON forms of their own.
bool IsWellKnown(const pb::Descriptor* type) {
  return type->file()->package() == "google.protobuf";
}

ValueKind KindOf(const FieldDescriptor* field, std::string* unsupported) {
  if (field->is_map()) {
    *unsupported = "map field";
    return ValueKind::kUnsupported;
  }
  switch (field->type()) {
    case FieldDescriptor::TYPE_GROUP:
      *unsupported = "group";
      return ValueKind::kUnsupported;
    case FieldDescriptor::TYPE_MESSAGE:
      if (IsWellKnown(field->message_type())) {
        *unsupported = "well-known type " + field->message_type()->full_name();
        return ValueKind::kUnsupported;
      }
      return ValueKind::kRecord;
    case FieldDescriptor::TYPE_BYTES: return ValueKind::kBytes;
    case FieldDescriptor::TYPE_STRING: return ValueKind::kString;
    case FieldDescriptor::TYPE_ENUM:
      if (field->enum_type()->full_name() == "google.protobuf.NullValue") {
        *unsupported = "well-known type google.protobuf.NullValue";
        return ValueKind::kUnsupported;
      }
      return ValueKind::kEnum;
    default: break;
  }
  switch (field->cpp_type()) {
    case FieldDescriptor::CPPTYPE_INT32: return ValueKind::kInt32;
    case FieldDescriptor::CPPTYPE_INT64: return ValueKind::kInt64;
    case FieldDescriptor::CPPTYPE_UINT32: return ValueKind::kUInt32;
    case FieldDescriptor::CPPTYPE_UINT64: return ValueKind::kUInt64;
    case FieldDescriptor::CPPTYPE_FLOAT: return ValueKind::kFloat;
    case FieldDescriptor::CPPTYPE_DOUBLE: return ValueKind::kDouble;
    case FieldDescriptor::CPPTYPE_BOOL: return ValueKind::kBool;
    default: break;
  }
  *unsupported = "field type " + std::string(field->type_name());
  return ValueKind::kUnsupported;
}

// `text` quoted as a JSON string, escaped as the writer escapes strings.
std::string QuotedJson(std::string_view text) {
  std::string out;
  AppendJsonString(text, &out);
  return out;
}

}  // namespace

const RecordPlan& RecordPlans::Get(const pb::Descriptor* type) {
  std::unique_ptr<RecordPlan>& slot = plans_[type];
  if (slot) return *slot;
  slot = std::make_unique<RecordPlan>();
  RecordPlan& plan = *slot;
  plan.type = type;
  plan.has_extensions = type->extension_range_count() > 0;
  const FieldDescriptor* config = SettingsField(type);
  plan.entry = EntryKindOf(type, &plan.kind);
  if (plan.entry) {
    plan.type_code = type->FindFieldByName("type");
    plan.type_code_names = TypeCodeNames(plan.kind);
  }
  plan.fields.reserve(type->field_count());
  for (int i = 0; i < type->field_count(); ++i) {
    const FieldDescriptor* field = type->field(i);
    FieldPlan f;
    f.field = field;
    f.kind = KindOf(field, &f.unsupported);
    f.repeated = field->is_repeated();
    f.explicit_presence = field->has_presence();
    f.config = field == config;
    f.json_key = QuotedJson(field->json_name());
    f.original_key = QuotedJson(field->name());
    f.number = field->number();
    f.type = field->type();
    if (f.config) plan.config = i;
    if (f.kind == ValueKind::kFloat || f.kind == ValueKind::kDouble) plan.has_floats = true;
    plan.fields.push_back(std::move(f));
  }
  for (int i = 0; i < static_cast<int>(plan.fields.size()); ++i) {
    plan.by_name.emplace(plan.fields[i].field->json_name(), i);
    plan.by_name.emplace(plan.fields[i].field->name(), i);
  }
  // Sub-records last: `slot` is already in place, so a type that holds
  // itself ends the descent.
  for (const FieldPlan& f : plan.fields) {
    if (f.kind == ValueKind::kRecord && Get(f.field->message_type()).has_floats) plan.has_floats = true;
  }
  return plan;
}

}  // namespace gcuschema::document::internal
