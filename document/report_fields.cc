#include "report_fields.h"

#include <cstdint>
#include <optional>

#include <google/protobuf/unknown_field_set.h>

#include "text_numbers.h"
#include "value_text.h"

namespace gcuschema::document::internal {
namespace {

namespace pb = google::protobuf;

// Bytes longer than this are shown by their size.
constexpr std::size_t kShownBytes = 32;

std::string Hex(const std::string& bytes) {
  if (bytes.size() > kShownBytes) return std::to_string(bytes.size()) + " bytes";
  static const char kDigits[] = "0123456789abcdef";
  std::string out = "<";
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i > 0) out += ' ';
    const auto byte = static_cast<unsigned char>(bytes[i]);
    out += kDigits[byte >> 4];
    out += kDigits[byte & 0xF];
  }
  return out + ">";
}


std::string UnknownText(const pb::UnknownField& field) {
  switch (field.type()) {
    case pb::UnknownField::TYPE_VARINT: return std::to_string(field.varint());
    case pb::UnknownField::TYPE_FIXED32: return std::to_string(field.fixed32());
    case pb::UnknownField::TYPE_FIXED64: return std::to_string(field.fixed64());
    case pb::UnknownField::TYPE_LENGTH_DELIMITED: return Hex(field.length_delimited());
    case pb::UnknownField::TYPE_GROUP: return "group of " + std::to_string(field.group().field_count()) + " fields";
  }
  return std::string();
}

std::string Joined(const std::string& prefix, const std::string& name) {
  return prefix.empty() ? name : prefix + "." + name;
}

}  // namespace

std::string ValueText(const pb::Message& record, const pb::FieldDescriptor* field, int index) {
  const pb::Reflection* r = record.GetReflection();
  const bool rep = field->is_repeated();
  if (std::optional<std::string> scalar = ScalarText(record, field, index)) return *scalar;
  switch (field->cpp_type()) {
    case pb::FieldDescriptor::CPPTYPE_STRING: {
      const std::string value = rep ? r->GetRepeatedString(record, field, index) : r->GetString(record, field);
      return field->type() == pb::FieldDescriptor::TYPE_STRING ? value : Hex(value);
    }
    case pb::FieldDescriptor::CPPTYPE_MESSAGE:
      break;
    default: break;  // the scalars, above
  }
  return std::string();
}

std::string SettingsAsBytes(const Settings& settings, std::size_t size) {
  const std::string bytes = std::to_string(size) + (size == 1 ? " byte" : " bytes");
  switch (settings.state) {
    case Settings::State::kOpen: return bytes + ", paired with no record";
    case Settings::State::kTooDeep: return bytes + ", nested too deep to read";
    case Settings::State::kUnreadable: return bytes + ", not readable as " + settings.paired->full_name();
    case Settings::State::kNotCanonical:
    case Settings::State::kCanonical: break;
  }
  return bytes;
}

void FieldRowsOf(const pb::Message& record, const pb::FieldDescriptor* field, Walk& walk, int side,
                 std::vector<FieldRow>* rows, const std::string& prefix) {
  const pb::Reflection* r = record.GetReflection();
  const std::string path = Joined(prefix, field->name());
  if (IsSettingsField(record.GetDescriptor(), field)) {
    std::string scratch;
    const std::string& bytes = r->GetStringReference(record, field, &scratch);
    const Settings settings = walk.Decide(record, bytes, side);
    if (!settings.read()) {
      rows->push_back(FieldRow{path, SettingsAsBytes(settings, bytes.size())});
      return;
    }
    const Walk::Step step = walk.Into(settings, field->name());
    FieldRows(*settings.record, walk, side, rows, path + "<" + settings.paired->full_name() + ">");
    return;
  }
  if (field->cpp_type() == pb::FieldDescriptor::CPPTYPE_MESSAGE) {
    const Walk::Step member = walk.Member(field->name());
    if (!field->is_repeated()) {
      if (!r->HasField(record, field)) {
        rows->push_back(FieldRow{path, "absent"});
        return;
      }
      FieldRows(r->GetMessage(record, field), walk, side, rows, path);
      return;
    }
    const int size = r->FieldSize(record, field);
    if (size == 0) rows->push_back(FieldRow{path, "[]"});
    for (int i = 0; i < size; ++i) {
      const Walk::Step element = walk.Element(i);
      FieldRows(r->GetRepeatedMessage(record, field, i), walk, side, rows, path + "[" + std::to_string(i) + "]");
    }
    return;
  }
  if (!field->is_repeated()) {
    rows->push_back(FieldRow{path, ValueText(record, field, -1)});
    return;
  }
  std::string list = "[";
  const int size = r->FieldSize(record, field);
  for (int i = 0; i < size; ++i) list += (i > 0 ? ", " : "") + ValueText(record, field, i);
  rows->push_back(FieldRow{path, list + "]"});
}

void FieldRows(const pb::Message& record, Walk& walk, int side, std::vector<FieldRow>* rows,
               const std::string& prefix) {
  const pb::Descriptor* type = record.GetDescriptor();
  for (int i = 0; i < type->field_count(); ++i) FieldRowsOf(record, type->field(i), walk, side, rows, prefix);
  const pb::UnknownFieldSet& unknown = record.GetReflection()->GetUnknownFields(record);
  for (int i = 0; i < unknown.field_count(); ++i) {
    rows->push_back(FieldRow{Joined(prefix, "#" + std::to_string(unknown.field(i).number())),
                             UnknownText(unknown.field(i))});
  }
}

}  // namespace gcuschema::document::internal
