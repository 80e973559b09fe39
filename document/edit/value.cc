#include "edit/value.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <gcuschema/document/error.h>
#include <gcuschema/document/pairing.h>

#include "json/base64.h"
#include "json/number_text.h"
#include "json/spelling.h"
#include "suggest.h"
#include "walk.h"

namespace gcuschema::document::internal {
namespace {

namespace pb = google::protobuf;
using pb::FieldDescriptor;

std::string Quoted(std::string_view text) {
  std::string out;
  AppendJsonString(text, &out);
  return out;
}

// The value as written, for messages: cut short when long.
std::string Shown(std::string_view text) {
  constexpr std::size_t kLongest = 40;
  if (text.size() <= kLongest) return Quoted(text);
  return Quoted(text.substr(0, kLongest)) + "...";
}

// The text of a value: a quoted one with its JSON escapes resolved.
std::string Unquoted(std::string_view text, const std::string& where) {
  if (text.empty() || text.front() != '"') return std::string(text);
  nlohmann::json parsed;
  try {
    parsed = nlohmann::json::parse(text);
  } catch (const nlohmann::json::exception&) {
    throw Error(where, "the value " + Shown(text) +
                           " starts with a quote but is not one quoted string (JSON's escapes, \\\" for a quote "
                           "inside it); give it bare, or quoted as a whole");
  }
  if (!parsed.is_string()) {
    throw Error(where, "the value " + Shown(text) + " is not one quoted string");
  }
  return parsed.get<std::string>();
}

template <typename T>
std::string Range() {
  return std::to_string(std::numeric_limits<T>::min()) + " to " + std::to_string(std::numeric_limits<T>::max());
}

std::string IntegerRange(const FieldDescriptor* field) {
  switch (field->cpp_type()) {
    case FieldDescriptor::CPPTYPE_INT32: return Range<std::int32_t>();
    case FieldDescriptor::CPPTYPE_INT64: return Range<std::int64_t>();
    case FieldDescriptor::CPPTYPE_UINT32: return Range<std::uint32_t>();
    case FieldDescriptor::CPPTYPE_UINT64: return Range<std::uint64_t>();
    default: return "";
  }
}

// The integer `text` spells, as a T; Error saying why not.
template <typename T>
T Integer(const std::string& text, const FieldDescriptor* field, const std::string& where) {
  T value{};
  const NumberProblem problem = IntegerOfText(text, &value);
  if (problem == NumberProblem::kNone) return value;
  std::string message = "the value " + Shown(text) + " " + NumberProblemText(problem) + "; " + field->name() +
                        " takes " + Takes(field);
  if (problem == NumberProblem::kOutOfRange || problem == NumberProblem::kNotAnInteger) {
    message += ", from " + IntegerRange(field);
  }
  throw Error(where, message);
}

double Floating(const std::string& text, const FieldDescriptor* field, const std::string& where) {
  double value = 0;
  NumberProblem problem = DoubleOfText(text, &value);
  if (problem == NumberProblem::kNone && field->cpp_type() == FieldDescriptor::CPPTYPE_FLOAT &&
      std::isinf(static_cast<float>(value)) && !std::isinf(value)) {
    problem = NumberProblem::kOutOfRange;
  }
  if (problem == NumberProblem::kNone) return value;
  std::string message = "the value " + Shown(text) + " " + NumberProblemText(problem) + "; " + field->name() +
                        " takes " + Takes(field);
  if (problem == NumberProblem::kOutOfRange) {
    message += field->cpp_type() == FieldDescriptor::CPPTYPE_FLOAT ? ", whose largest magnitude is about 3.4e+38"
                                                                     : ", whose largest magnitude is about 1.8e+308";
  } else {
    message += " (as 1.5, -2, 1e+20, NaN, Infinity or -Infinity)";
  }
  throw Error(where, message);
}

bool Truth(const std::string& text, const FieldDescriptor* field, const std::string& where) {
  if (text == "true") return true;
  if (text == "false") return false;
  throw Error(where, "the value " + Shown(text) + " is not true or false, which " + field->name() + " takes");
}

int EnumNumber(const std::string& text, const FieldDescriptor* field, const std::string& where) {
  const pb::EnumDescriptor* type = field->enum_type();
  if (const pb::EnumValueDescriptor* value = type->FindValueByName(text)) return value->number();
  std::int32_t number = 0;
  if (IntegerOfText(text, &number) == NumberProblem::kNone) {
    // A closed enumeration (proto2) holds only its own values.
    if (field->file()->syntax() == pb::FileDescriptor::SYNTAX_PROTO2 && type->FindValueByNumber(number) == nullptr) {
      throw Error(where, "the value " + Shown(text) + " is not a number of " + type->full_name() +
                             ", whose values are closed");
    }
    return number;
  }
  std::vector<std::string> names;
  for (int i = 0; i < type->value_count(); ++i) names.push_back(type->value(i)->name());
  throw Error(where, UnknownValue(type->full_name(), text, names));
}

// The type code of an entry whose kind names its codes (inputs, outputs),
// by name or number.
bool IsNamedTypeCode(const pb::Message& record, const FieldDescriptor* field, EntryKind* kind) {
  return field->name() == "type" && field->cpp_type() == FieldDescriptor::CPPTYPE_INT32 &&
         EntryKindOf(record.GetDescriptor(), kind) && TypeCodeNames(*kind) != nullptr;
}

}  // namespace

std::string Takes(const FieldDescriptor* field) {
  switch (field->cpp_type()) {
    case FieldDescriptor::CPPTYPE_INT32:
    case FieldDescriptor::CPPTYPE_INT64:
    case FieldDescriptor::CPPTYPE_UINT32:
    case FieldDescriptor::CPPTYPE_UINT64: return std::string("an integer (") + field->type_name() + ")";
    case FieldDescriptor::CPPTYPE_FLOAT: return "a float";
    case FieldDescriptor::CPPTYPE_DOUBLE: return "a double";
    case FieldDescriptor::CPPTYPE_BOOL: return "true or false";
    case FieldDescriptor::CPPTYPE_ENUM: return "a value of " + field->enum_type()->full_name();
    case FieldDescriptor::CPPTYPE_STRING:
      return field->type() == FieldDescriptor::TYPE_BYTES ? "bytes, in base64" : "text";
    case FieldDescriptor::CPPTYPE_MESSAGE: return "a record, " + field->message_type()->full_name();
  }
  return "";
}

void SetFromText(pb::Message* record, const FieldDescriptor* field, int index, std::string_view written,
                 const std::string& where) {
  const pb::Reflection* reflection = record->GetReflection();
  const std::string text = Unquoted(written, where);
  const bool list = index >= 0;
  if (text.empty() && field->cpp_type() != FieldDescriptor::CPPTYPE_STRING) {
    throw Error(where, "no value is given after '='; " + field->name() + " takes " + Takes(field));
  }
  EntryKind kind;
  switch (field->cpp_type()) {
    case FieldDescriptor::CPPTYPE_INT32: {
      std::int32_t value = 0;
      if (!list && IsNamedTypeCode(*record, field, &kind)) {
        try {
          value = ParseTypeCode(kind, text);
        } catch (const Error& e) {
          throw Error(where, e.message(), e.remedy());
        }
      } else {
        value = Integer<std::int32_t>(text, field, where);
      }
      list ? reflection->SetRepeatedInt32(record, field, index, value) : reflection->SetInt32(record, field, value);
      return;
    }
    case FieldDescriptor::CPPTYPE_INT64: {
      const auto value = Integer<std::int64_t>(text, field, where);
      list ? reflection->SetRepeatedInt64(record, field, index, value) : reflection->SetInt64(record, field, value);
      return;
    }
    case FieldDescriptor::CPPTYPE_UINT32: {
      const auto value = Integer<std::uint32_t>(text, field, where);
      list ? reflection->SetRepeatedUInt32(record, field, index, value) : reflection->SetUInt32(record, field, value);
      return;
    }
    case FieldDescriptor::CPPTYPE_UINT64: {
      const auto value = Integer<std::uint64_t>(text, field, where);
      list ? reflection->SetRepeatedUInt64(record, field, index, value) : reflection->SetUInt64(record, field, value);
      return;
    }
    case FieldDescriptor::CPPTYPE_FLOAT: {
      const auto value = static_cast<float>(Floating(text, field, where));
      list ? reflection->SetRepeatedFloat(record, field, index, value) : reflection->SetFloat(record, field, value);
      return;
    }
    case FieldDescriptor::CPPTYPE_DOUBLE: {
      const double value = Floating(text, field, where);
      list ? reflection->SetRepeatedDouble(record, field, index, value) : reflection->SetDouble(record, field, value);
      return;
    }
    case FieldDescriptor::CPPTYPE_BOOL: {
      const bool value = Truth(text, field, where);
      list ? reflection->SetRepeatedBool(record, field, index, value) : reflection->SetBool(record, field, value);
      return;
    }
    case FieldDescriptor::CPPTYPE_ENUM: {
      const int value = EnumNumber(text, field, where);
      list ? reflection->SetRepeatedEnumValue(record, field, index, value)
           : reflection->SetEnumValue(record, field, value);
      return;
    }
    case FieldDescriptor::CPPTYPE_STRING: {
      std::string value;
      if (field->type() == FieldDescriptor::TYPE_BYTES) {
        if (!DecodeBase64(text, &value)) {
          throw Error(where, "the value " + Shown(text) + " is not base64; " + field->name() + " takes " +
                                 Takes(field) + " (as decode writes it)");
        }
      } else {
        if (!IsUtf8(text)) {
          throw Error(where, "the value is not UTF-8 text, which " + field->name() + " takes");
        }
        value = text;
      }
      list ? reflection->SetRepeatedString(record, field, index, std::move(value))
           : reflection->SetString(record, field, std::move(value));
      return;
    }
    case FieldDescriptor::CPPTYPE_MESSAGE: break;
  }
  throw Error(where, field->name() + " holds " + Takes(field) + "; set one of its fields");
}

bool SameValue(const pb::Message& a, const pb::Message& b, const FieldDescriptor* field, int index) {
  const pb::Reflection* ra = a.GetReflection();
  const pb::Reflection* rb = b.GetReflection();
  const bool list = index >= 0;
  switch (field->cpp_type()) {
#define GCUSCHEMA_SAME(CPP, Getter)                                                             \
  case FieldDescriptor::CPP:                                                                      \
    return list ? ra->GetRepeated##Getter(a, field, index) == rb->GetRepeated##Getter(b, field, index) \
                : ra->Get##Getter(a, field) == rb->Get##Getter(b, field);
    GCUSCHEMA_SAME(CPPTYPE_INT32, Int32)
    GCUSCHEMA_SAME(CPPTYPE_INT64, Int64)
    GCUSCHEMA_SAME(CPPTYPE_UINT32, UInt32)
    GCUSCHEMA_SAME(CPPTYPE_UINT64, UInt64)
    GCUSCHEMA_SAME(CPPTYPE_FLOAT, Float)
    GCUSCHEMA_SAME(CPPTYPE_DOUBLE, Double)
    GCUSCHEMA_SAME(CPPTYPE_BOOL, Bool)
    GCUSCHEMA_SAME(CPPTYPE_ENUM, EnumValue)
    GCUSCHEMA_SAME(CPPTYPE_STRING, String)
#undef GCUSCHEMA_SAME
    case FieldDescriptor::CPPTYPE_MESSAGE: return false;
  }
  return false;
}

std::string AssignedValueText(const pb::Message& record, const FieldDescriptor* field, int index) {
  const pb::Reflection* r = record.GetReflection();
  const bool list = index >= 0;
  switch (field->cpp_type()) {
    case FieldDescriptor::CPPTYPE_INT32:
      return std::to_string(list ? r->GetRepeatedInt32(record, field, index) : r->GetInt32(record, field));
    case FieldDescriptor::CPPTYPE_INT64:
      return std::to_string(list ? r->GetRepeatedInt64(record, field, index) : r->GetInt64(record, field));
    case FieldDescriptor::CPPTYPE_UINT32:
      return std::to_string(list ? r->GetRepeatedUInt32(record, field, index) : r->GetUInt32(record, field));
    case FieldDescriptor::CPPTYPE_UINT64:
      return std::to_string(list ? r->GetRepeatedUInt64(record, field, index) : r->GetUInt64(record, field));
    case FieldDescriptor::CPPTYPE_FLOAT: {
      std::string out;
      AppendFloat(list ? r->GetRepeatedFloat(record, field, index) : r->GetFloat(record, field), &out);
      return out;
    }
    case FieldDescriptor::CPPTYPE_DOUBLE: {
      std::string out;
      AppendDouble(list ? r->GetRepeatedDouble(record, field, index) : r->GetDouble(record, field), &out);
      return out;
    }
    case FieldDescriptor::CPPTYPE_BOOL:
      return (list ? r->GetRepeatedBool(record, field, index) : r->GetBool(record, field)) ? "true" : "false";
    case FieldDescriptor::CPPTYPE_ENUM: {
      const int number = list ? r->GetRepeatedEnumValue(record, field, index) : r->GetEnumValue(record, field);
      const pb::EnumValueDescriptor* value = field->enum_type()->FindValueByNumber(number);
      return value != nullptr ? value->name() : std::to_string(number);
    }
    case FieldDescriptor::CPPTYPE_STRING: {
      std::string scratch;
      const std::string& text =
          list ? r->GetRepeatedStringReference(record, field, index, &scratch) : r->GetStringReference(record, field, &scratch);
      if (field->type() == FieldDescriptor::TYPE_BYTES) {
        std::string out;
        AppendBase64(text, &out);
        return out;
      }
      return Quoted(text);
    }
    case FieldDescriptor::CPPTYPE_MESSAGE: return "";
  }
  return "";
}

}  // namespace gcuschema::document::internal
