#include <gcuschema/document/json_schema.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <limits>
#include <set>
#include <string>

#include <nlohmann/json.hpp>

#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>

#include "json/keys.h"
#include "json_schema_patterns.h"
#include "schema_comments.h"
#include "walk.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;
using Json = nlohmann::ordered_json;
using internal::kTypeKey;
using internal::kUnknownKey;

constexpr char kDraft[] = "https://json-schema.org/draft/2020-12/schema";
// Definitions beside the records', named so that no record can take them.
constexpr char kBytes[] = "@bytes";
constexpr char kSettings[] = "@settings";
// Enumerations longer than this are not listed in a field's description.
constexpr int kListedValues = 24;

std::string Ref(const std::string& definition) { return "#/$defs/" + definition; }

// An integer field: a number within its type's range, or a string holding
// one, as the reader takes both (the string only `plain`ly spelt).
Json Integer(std::int64_t minimum, std::uint64_t maximum, bool plain = false) {
  const std::string pattern = plain ? internal::PlainQuotedIntegerPattern(minimum, maximum)
                                    : internal::QuotedIntegerPattern(minimum, maximum);
  return Json{{"anyOf", Json::array({Json{{"type", "integer"}, {"minimum", minimum}, {"maximum", maximum}},
                                     Json{{"type", "string"}, {"pattern", pattern}}})}};
}

// A float or double field: a finite number of its type, a decimal in a
// string, or one of the names of the values JSON has no number for.
template <typename T>
Json Floating(int integer_digits) {
  const T largest = std::numeric_limits<T>::max();
  return Json{{"anyOf", Json::array({Json{{"type", "number"}, {"minimum", -largest}, {"maximum", largest}},
                                     Json{{"type", "string"},
                                          {"pattern", internal::QuotedDecimalPattern(integer_digits)}},
                                     Json{{"enum", Json::array({"NaN", "Infinity", "-Infinity"})}}})}};
}

// A field's value may also be null, which leaves the field unset (never an
// element of a list).
Json Nullable(Json schema) {
  const Json null{{"type", "null"}};
  if (schema.size() == 1 && schema.contains("anyOf")) {
    Json& alternatives = schema["anyOf"];
    if (std::find(alternatives.begin(), alternatives.end(), null) == alternatives.end()) alternatives.push_back(null);
    return schema;
  }
  if (schema.contains("type") && schema["type"].is_string()) {
    schema["type"] = Json::array({schema["type"], "null"});
    return schema;
  }
  return Json{{"anyOf", Json::array({std::move(schema), null})}};
}

std::string Joined(const std::string& a, const std::string& b) {
  if (a.empty()) return b;
  if (b.empty()) return a;
  return a + "\n\n" + b;
}

// "range5V = 0, rangeGcu5V = 1, ..."
std::string ValueList(const pb::EnumDescriptor* type) {
  std::string out;
  for (int i = 0; i < type->value_count() && i < kListedValues; ++i) {
    out += (i > 0 ? ", " : "") + type->value(i)->name() + " = " + std::to_string(type->value(i)->number());
  }
  return type->value_count() > kListedValues ? out + ", ..." : out;
}

class SchemaWriter {
 public:
  explicit SchemaWriter(const PairingCatalogue& pairing) : pairing_(pairing) {}

  // The schema of a `root` document; with none, of a document of any
  // record, told by its "@type".
  Json Document(const pb::Descriptor* root) {
    if (root != nullptr) {
      Want(root);
    } else {
      WantAll();
    }
    while (!pending_.empty()) {
      const pb::Descriptor* type = pending_.front();
      pending_.pop_front();
      definitions_[type->full_name()] = Record(type);
      // A code left open may hold any record of the library.
      if (open_) WantAll();
    }
    definitions_[kBytes] = Json{{"type", "string"},
                                {"contentEncoding", "base64"},
                                {"pattern", internal::Base64Pattern()},
                                {"description", "Bytes in base64 (standard or URL-safe digits; white space is "
                                                "skipped; the padding may be left out)."}};
    if (open_) definitions_[kSettings] = AnySettings();
    Json document;
    document["$schema"] = kDraft;
    if (root != nullptr) {
      document["title"] = root->full_name();
      document["description"] =
          "A " + root->full_name() + " as JSON, as `gcuschema decode` writes it and `gcuschema encode` reads it.";
      document["type"] = "object";
      document["$ref"] = Ref(root->full_name());
    } else {
      document["title"] = "Any record of the schema library";
      Json any = AnyRecord("A document of any record of the library as JSON, as `gcuschema decode` writes it "
                           "and `gcuschema encode` reads it, its record named by \"@type\".");
      for (auto& [key, value] : any.items()) document[key] = std::move(value);
    }
    document["$defs"] = std::move(definitions_);
    return document;
  }

 private:
  void Want(const pb::Descriptor* type) {
    if (wanted_.insert(type).second) pending_.push_back(type);
  }

  void WantAll() {
    if (all_wanted_) return;
    all_wanted_ = true;
    for (const std::string& name : RecordNames()) Want(FindRecord(name));
  }

  Json Record(const pb::Descriptor* type) {
    Json properties = Json::object();
    // For the document and a `config` object; a record field refuses it
    // (Value).
    properties[kTypeKey] = Json{{"const", type->full_name()},
                                {"description", "The record this object holds: " + type->full_name() +
                                                    ". Only the document and the object of a config name their "
                                                    "record."}};
    properties[kUnknownKey] = Json{{"$ref", Ref(kBytes)},
                                   {"description", "Fields that " + type->full_name() +
                                                       " does not have, kept as their encoding (base64)."}};
    Json spellings = Json::object();
    for (int i = 0; i < type->field_count(); ++i) {
      const pb::FieldDescriptor* field = type->field(i);
      Json schema = Nullable(Field(type, field));
      schema["description"] = Description(type, field);
      properties[field->json_name()] = schema;
      if (field->json_name() != field->name()) {
        properties[field->name()] = schema;
        spellings[field->json_name()] = Json{{"not", Json{{"required", Json::array({field->name()})}}}};
      }
    }
    // No "type": each place a record stands says "object" itself, so that a
    // field can take null as well and still have its members checked.
    Json record;
    std::string about = type->full_name() + " (" + type->file()->name() + ").";
    EntryKind kind;
    const bool entry = internal::EntryKindOf(type, &kind);
    if (entry) about += " Its config holds the record its type code pairs.";
    record["description"] = Joined(internal::CommentOf(type), about);
    record["properties"] = std::move(properties);
    record["additionalProperties"] = false;
    if (!spellings.empty()) record["dependentSchemas"] = std::move(spellings);
    if (entry) {
      Json conditions = CodeConditions(type, kind);
      if (!conditions.empty()) record["allOf"] = std::move(conditions);
    }
    return record;
  }

  Json Field(const pb::Descriptor* type, const pb::FieldDescriptor* field) {
    if (internal::IsSettingsField(type, field)) {
      // DeviceData.config always holds a ConfigData; an entry's config is
      // narrowed by its type code (CodeConditions).
      return type == ::DeviceData::descriptor() ? SettingsOf(::ConfigData::descriptor()) : OpenSettings();
    }
    EntryKind kind;
    if (field->name() == "type" && field->enum_type() == nullptr && internal::EntryKindOf(type, &kind)) {
      // An entry's type code: in a string only as plain digits, so that the
      // conditions on it list each code's spellings (CodeConditions).
      if (field->cpp_type() == pb::FieldDescriptor::CPPTYPE_INT32) {
        return Integer(std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max(), true);
      }
      if (field->cpp_type() == pb::FieldDescriptor::CPPTYPE_UINT32) {
        return Integer(0, std::numeric_limits<std::uint32_t>::max(), true);
      }
    }
    Json value = Value(field);
    if (!field->is_repeated()) return value;
    return Json{{"type", "array"}, {"items", std::move(value)}};
  }

  Json Value(const pb::FieldDescriptor* field) {
    switch (field->cpp_type()) {
      case pb::FieldDescriptor::CPPTYPE_INT32:
        return Integer(std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max());
      case pb::FieldDescriptor::CPPTYPE_UINT32:
        return Integer(0, std::numeric_limits<std::uint32_t>::max());
      case pb::FieldDescriptor::CPPTYPE_INT64:
        return Integer(std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max());
      case pb::FieldDescriptor::CPPTYPE_UINT64:
        return Integer(0, std::numeric_limits<std::uint64_t>::max());
      // Integer parts of at most 38 and 308 digits stay below the largest
      // float and double.
      case pb::FieldDescriptor::CPPTYPE_FLOAT:
        return Floating<float>(38);
      case pb::FieldDescriptor::CPPTYPE_DOUBLE:
        return Floating<double>(308);
      case pb::FieldDescriptor::CPPTYPE_BOOL:
        return Json{{"type", "boolean"}};
      case pb::FieldDescriptor::CPPTYPE_ENUM: {
        const pb::EnumDescriptor* type = field->enum_type();
        Json names = Json::array();
        Json numbers = Json::array();
        for (int i = 0; i < type->value_count(); ++i) {
          names.push_back(type->value(i)->name());
          numbers.push_back(type->value(i)->number());
        }
        // A name, or a number (never in a string): any int32 where the
        // enumeration is open, only its own where it is closed (proto2).
        Json number = Json{{"type", "integer"},
                           {"minimum", std::numeric_limits<std::int32_t>::min()},
                           {"maximum", std::numeric_limits<std::int32_t>::max()}};
        if (field->file()->syntax() == pb::FileDescriptor::SYNTAX_PROTO2) number = Json{{"enum", std::move(numbers)}};
        return Json{{"anyOf", Json::array({Json{{"enum", std::move(names)}}, std::move(number)})}};
      }
      case pb::FieldDescriptor::CPPTYPE_STRING:
        if (field->type() == pb::FieldDescriptor::TYPE_BYTES) return Json{{"$ref", Ref(kBytes)}};
        return Json{{"type", "string"}, {"pattern", internal::UnicodeTextPattern()}};
      case pb::FieldDescriptor::CPPTYPE_MESSAGE:
        Want(field->message_type());
        // A record within a record never names itself.
        return Json{{"type", "object"},
                    {"$ref", Ref(field->message_type()->full_name())},
                    {"properties", Json{{kTypeKey, false}}}};
    }
    return Json::object();
  }

  // Settings that are `record`: its object (with "@type"), bytes, or
  // null (none).
  Json SettingsOf(const pb::Descriptor* record) {
    Want(record);
    Json object{{"type", "object"}, {"$ref", Ref(record->full_name())}, {"required", Json::array({kTypeKey})}};
    return Json{{"anyOf", Json::array({Json{{"$ref", Ref(kBytes)}}, std::move(object), Json{{"type", "null"}}})}};
  }

  Json OpenSettings() {
    open_ = true;
    return Json{{"anyOf", Json::array({Json{{"$ref", Ref(kBytes)}}, Json{{"$ref", Ref(kSettings)}}})}};
  }

  // For each code the pairing names for entries of `kind`: an entry of that
  // code holds that record. The code matches in every spelling the type
  // field's schema lets through (a name, a number, plain digits in a
  // string); left out or null, it is the field's default.
  Json CodeConditions(const pb::Descriptor* type, EntryKind kind) {
    const pb::FieldDescriptor* code_field = type->FindFieldByName("type");
    const pb::FieldDescriptor* config = type->FindFieldByName("config");
    Json conditions = Json::array();
    if (code_field == nullptr || config == nullptr) return conditions;
    const std::int64_t default_code = DefaultCode(code_field);
    for (const auto& [key, record] : pairing_.entries()) {
      if (key.first != kind) continue;
      Json spellings = Json::array();
      if (code_field->enum_type() != nullptr) {
        if (const pb::EnumValueDescriptor* value = code_field->enum_type()->FindValueByNumber(key.second)) {
          spellings.push_back(value->name());
        }
      } else {
        spellings.push_back(std::to_string(key.second));
        if (key.second == 0) spellings.push_back("-0");
      }
      spellings.push_back(key.second);
      if (key.second == default_code) spellings.push_back(nullptr);
      Json when{{"properties", Json{{code_field->json_name(), Json{{"enum", std::move(spellings)}}}}}};
      if (key.second != default_code) when["required"] = Json::array({code_field->json_name()});
      Json then{{"properties", Json{{config->json_name(), SettingsOf(record)}}}};
      conditions.push_back(Json{{"if", std::move(when)}, {"then", std::move(then)}});
    }
    return conditions;
  }

  static std::int64_t DefaultCode(const pb::FieldDescriptor* field) {
    switch (field->cpp_type()) {
      case pb::FieldDescriptor::CPPTYPE_INT32: return field->default_value_int32();
      case pb::FieldDescriptor::CPPTYPE_UINT32: return field->default_value_uint32();
      case pb::FieldDescriptor::CPPTYPE_ENUM: return field->default_value_enum()->number();
      default: return 0;
    }
  }

  // The settings of a code the pairing leaves open: any record of the
  // library, by its "@type".
  Json AnySettings() {
    return AnyRecord("Settings of a type code that no record is paired with: any record of the library, "
                     "named by \"@type\" (pair the code to have it checked as that record).");
  }

  Json AnyRecord(const std::string& description) {
    Json names = Json::array();
    Json conditions = Json::array();
    for (const std::string& name : RecordNames()) {
      names.push_back(name);
      conditions.push_back(Json{{"if", Json{{"properties", Json{{kTypeKey, Json{{"const", name}}}}}}},
                                {"then", Json{{"$ref", Ref(name)}}}});
    }
    return Json{{"description", description},
                {"type", "object"},
                {"required", Json::array({kTypeKey})},
                {"properties", Json{{kTypeKey, Json{{"enum", std::move(names)}}}}},
                {"allOf", std::move(conditions)}};
  }

  std::string Description(const pb::Descriptor* type, const pb::FieldDescriptor* field) {
    std::string kind;
    if (internal::IsSettingsField(type, field)) {
      kind = "settings: an object whose \"@type\" names the record " +
             std::string(type == ::DeviceData::descriptor() ? "ConfigData" : "its entry's type code pairs") +
             ", or its encoding in base64";
    } else if (field->enum_type() != nullptr) {
      kind = "enumeration " + field->enum_type()->full_name() + ": " + ValueList(field->enum_type());
    } else if (field->message_type() != nullptr) {
      kind = "record " + field->message_type()->full_name();
    } else {
      kind = field->type_name();
    }
    // Input.type and Output.type are numbers whose names are an enumeration.
    EntryKind entry;
    const pb::EnumDescriptor* codes = nullptr;
    if (field->name() == "type" && field->enum_type() == nullptr && internal::EntryKindOf(type, &entry)) {
      codes = TypeCodeNames(entry);
    }
    if (codes != nullptr) kind += ", a value of " + codes->full_name() + ": " + ValueList(codes);
    std::string about = "Field " + std::to_string(field->number()) + ", " + (field->is_repeated() ? "list of " : "") +
                        kind + ".";
    if (field->json_name() != field->name()) about += " Also spelt \"" + field->name() + "\".";
    return Joined(internal::CommentOf(field), about);
  }

  const PairingCatalogue& pairing_;
  Json definitions_ = Json::object();
  std::set<const pb::Descriptor*> wanted_;
  std::deque<const pb::Descriptor*> pending_;
  bool open_ = false;
  bool all_wanted_ = false;
};

}  // namespace

std::string JsonSchemaText(const pb::Descriptor* record, const JsonSchemaOptions& options) {
  if (record == nullptr) throw Error("", "no record given for the JSON Schema");
  return SchemaWriter(options.pairing).Document(record).dump(options.indent);
}

std::string JsonSchemaTextOfAnyRecord(const JsonSchemaOptions& options) {
  return SchemaWriter(options.pairing).Document(nullptr).dump(options.indent);
}

}  // namespace gcuschema::document
