#include "engine_adapter.h"

#include <string>

#include <google/protobuf/descriptor.h>
#include <nlohmann/json.hpp>

#include <gcuschema/document/json.h>

namespace gcuschema::conformance {
namespace {

namespace pb = google::protobuf;
using pb::FieldDescriptor;

// Today's codec hands what it does not walk itself to the runtime's JSON,
// so what the codec does not cover is told apart here, before it is
// called: fields of the kinds below, when a request sets them. Goes once
// the codec reports such fields itself.
std::string UncoveredKind(const FieldDescriptor* field) {
  if (field->is_extension()) return "extension";
  if (field->is_map()) return "map field";
  if (field->type() == FieldDescriptor::TYPE_GROUP) return "group";
  const pb::FileDescriptor* file = nullptr;
  if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) file = field->message_type()->file();
  if (field->cpp_type() == FieldDescriptor::CPPTYPE_ENUM) file = field->enum_type()->file();
  if (file != nullptr && file->package() == "google.protobuf") return "well-known type";
  return "";
}

void RefuseUncovered(const FieldDescriptor* field) {
  std::string kind = UncoveredKind(field);
  if (!kind.empty()) throw Unsupported(kind + " " + field->full_name());
}

void CheckCovered(const pb::Message& record) {
  const pb::Reflection* reflection = record.GetReflection();
  std::vector<const FieldDescriptor*> fields;
  reflection->ListFields(record, &fields);
  for (const FieldDescriptor* field : fields) {
    RefuseUncovered(field);
    if (field->cpp_type() != FieldDescriptor::CPPTYPE_MESSAGE) continue;
    if (!field->is_repeated()) {
      CheckCovered(reflection->GetMessage(record, field));
      continue;
    }
    for (int i = 0; i < reflection->FieldSize(record, field); ++i) {
      CheckCovered(reflection->GetRepeatedMessage(record, field, i));
    }
  }
}

const FieldDescriptor* FieldNamed(const pb::Descriptor* type, const std::string& key) {
  for (int i = 0; i < type->field_count(); ++i) {
    const FieldDescriptor* field = type->field(i);
    if (field->name() == key || field->json_name() == key) return field;
  }
  return nullptr;
}

// The same for JSON input, by the keys it names. Text that is not JSON
// is left to the codec to refuse.
void CheckCovered(const nlohmann::json& object, const pb::Descriptor* type) {
  for (const auto& [key, value] : object.items()) {
    if (!key.empty() && key.front() == '[') throw Unsupported("extension " + key);
    const FieldDescriptor* field = FieldNamed(type, key);
    if (field == nullptr) continue;
    RefuseUncovered(field);
    if (field->cpp_type() != FieldDescriptor::CPPTYPE_MESSAGE) continue;
    if (value.is_object()) CheckCovered(value, field->message_type());
    if (!value.is_array()) continue;
    for (const nlohmann::json& element : value) {
      if (element.is_object()) CheckCovered(element, field->message_type());
    }
  }
}

document::JsonCodec MakeCodec() {
  document::JsonCodec codec;
  codec.set_threads(1);
  return codec;
}

const document::JsonCodec& Codec() {
  static const document::JsonCodec codec = MakeCodec();
  return codec;
}

}  // namespace

void ReadJson(std::string_view text, pb::Message* record, const JsonReading& reading) {
  if (reading.ignore_unknown_fields) throw Unsupported("ignoring unknown fields");
  nlohmann::json scanned = nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (scanned.is_object()) CheckCovered(scanned, record->GetDescriptor());
  record->Clear();
  Codec().FromJsonText(text, record);
}

std::string WriteJson(const pb::Message& record) {
  CheckCovered(record);
  return Codec().ToJsonText(record, /*expand=*/false, /*indent=*/-1);
}

}  // namespace gcuschema::conformance
