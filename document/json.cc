#include <gcuschema/document/json.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/stubs/common.h>
#include <google/protobuf/stubs/strutil.h>
#include <google/protobuf/unknown_field_set.h>
#include <google/protobuf/util/json_util.h>
#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/util/type_resolver.h>
#include <google/protobuf/util/type_resolver_util.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>

#include "parallel.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;
using pb::FieldDescriptor;

constexpr char kTypeKey[] = "@type";
constexpr char kUnknownKey[] = "@unknown";
constexpr char kTypeUrlPrefix[] = "type.googleapis.com";
// Settings records may themselves be paired holders (a caller can pair a
// driver code with ConfigData); bytes shrink at each level, but a hostile
// document could still nest deep enough to exhaust the stack.
constexpr int kMaxConfigDepth = 16;
// Far deeper than any record of the library nests, JSON included in
// `config`; deeper input would only exhaust the stack of the recursive
// steps that follow.
constexpr size_t kMaxJsonDepthForReader = 200;

pb::util::TypeResolver* Resolver() {
  static pb::util::TypeResolver* const resolver = pb::util::NewTypeResolverForDescriptorPool(
      kTypeUrlPrefix, pb::DescriptorPool::generated_pool());
  return resolver;
}

std::string TypeUrl(const pb::Descriptor* type) {
  return std::string(kTypeUrlPrefix) + "/" + type->full_name();
}

std::string Base64(const std::string& bytes) {
  std::string out;
  pb::Base64Escape(bytes, &out);
  return out;
}

// What the records of a type need from the walks, worked out once per call.
struct RecordInfo {
  // Holder of a `config` whose record is chosen by a type code (or fixed).
  const FieldDescriptor* config = nullptr;
  const FieldDescriptor* type_code = nullptr;
  EntryKind kind = EntryKind::kInput;
  const pb::Descriptor* fixed = nullptr;  // DeviceData.config: always a ConfigData
  bool has_floats = false;  // float or double fields, here or in sub-records
};

class InfoCache {
 public:
  const RecordInfo& Get(const pb::Descriptor* type) {
    auto found = infos_.find(type);
    if (found != infos_.end()) return found->second;
    // Entered before it is filled, so that a record type reached again
    // through its own sub-records ends the descent.
    RecordInfo& info = infos_[type];
    Fill(type, &info);
    return info;
  }

 private:
  void Fill(const pb::Descriptor* type, RecordInfo* info) {
    struct Holder {
      const pb::Descriptor* type;
      EntryKind kind;
    };
    const Holder holders[] = {
        {Input::descriptor(), EntryKind::kInput},
        {Output::descriptor(), EntryKind::kOutput},
        {Map::descriptor(), EntryKind::kMap},
        {Driver::descriptor(), EntryKind::kDriver},
        {CanbusEntityHandler::descriptor(), EntryKind::kHandler},
    };
    for (const Holder& holder : holders) {
      if (holder.type == type) {
        info->config = type->FindFieldByName("config");
        info->type_code = type->FindFieldByName("type");
        info->kind = holder.kind;
      }
    }
    if (type == DeviceData::descriptor()) {
      info->config = type->FindFieldByName("config");
      info->fixed = ConfigData::descriptor();
    }
    for (int i = 0; i < type->field_count(); ++i) {
      const FieldDescriptor* field = type->field(i);
      if (field->cpp_type() == FieldDescriptor::CPPTYPE_FLOAT ||
          field->cpp_type() == FieldDescriptor::CPPTYPE_DOUBLE) {
        info->has_floats = true;
      }
      if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE && Get(field->message_type()).has_floats) {
        info->has_floats = true;  // map nodes stay put: `info` is still valid
      }
    }
  }

  std::unordered_map<const pb::Descriptor*, RecordInfo> infos_;
};

int TypeCode(const pb::Message& record, const FieldDescriptor* field) {
  const pb::Reflection* reflection = record.GetReflection();
  switch (field->cpp_type()) {
    case FieldDescriptor::CPPTYPE_INT32: return reflection->GetInt32(record, field);
    case FieldDescriptor::CPPTYPE_UINT32: return static_cast<int>(reflection->GetUInt32(record, field));
    case FieldDescriptor::CPPTYPE_ENUM: return reflection->GetEnumValue(record, field);
    default: return 0;
  }
}

bool IsNegativeZero(double value) { return value == 0 && std::signbit(value); }

// The protobuf JSON mapping has one spelling for NaN, which reads back as
// the quiet NaN; any other NaN would come back as different bits.
bool IsPlainNan(float value) {
  const float plain = std::numeric_limits<float>::quiet_NaN();
  return std::memcmp(&value, &plain, sizeof value) == 0;
}
bool IsPlainNan(double value) {
  const double plain = std::numeric_limits<double>::quiet_NaN();
  return std::memcmp(&value, &plain, sizeof value) == 0;
}

// Whether a record holds only values the JSON mapping can spell: any NaN
// but the plain one would read back as different bits.
bool Spellable(const pb::Message& record, InfoCache* infos) {
  const pb::Descriptor* type = record.GetDescriptor();
  if (!infos->Get(type).has_floats) return true;
  const pb::Reflection* reflection = record.GetReflection();
  std::vector<const FieldDescriptor*> fields;
  reflection->ListFields(record, &fields);
  for (const FieldDescriptor* field : fields) {
    const int count = field->is_repeated() ? reflection->FieldSize(record, field) : 1;
    for (int j = 0; j < count; ++j) {
      switch (field->cpp_type()) {
        case FieldDescriptor::CPPTYPE_FLOAT: {
          const float v = field->is_repeated() ? reflection->GetRepeatedFloat(record, field, j)
                                               : reflection->GetFloat(record, field);
          if (std::isnan(v) && !IsPlainNan(v)) return false;
          break;
        }
        case FieldDescriptor::CPPTYPE_DOUBLE: {
          const double v = field->is_repeated() ? reflection->GetRepeatedDouble(record, field, j)
                                                : reflection->GetDouble(record, field);
          if (std::isnan(v) && !IsPlainNan(v)) return false;
          break;
        }
        case FieldDescriptor::CPPTYPE_MESSAGE: {
          const pb::Message& sub = field->is_repeated() ? reflection->GetRepeatedMessage(record, field, j)
                                                       : reflection->GetMessage(record, field);
          if (!Spellable(sub, infos)) return false;
          break;
        }
        default: break;
      }
    }
  }
  return true;
}

// Re-encodes a JSON-mapped error of libprotobuf ("(inputs[1].type): invalid
// value ..." or "(inputs[1]) bogus: Cannot find field.") as an Error whose
// place is the field path, prefixed by where the record sits.
Error JsonParseError(const std::string& prefix, const std::string& status_message) {
  std::string path;
  std::string message = status_message;
  if (!message.empty() && message[0] == '(') {
    const size_t close = message.find(')');
    if (close != std::string::npos) {
      path = message.substr(1, close - 1);
      message = message.substr(close + 1);
      if (!message.empty() && message[0] == ':') {
        message.erase(0, 1);
      } else {
        // "(parent) field: text": the field is named after the parenthesis.
        const size_t colon = message.find(": ");
        if (colon != std::string::npos) {
          std::string field = message.substr(0, colon);
          while (!field.empty() && field.front() == ' ') field.erase(0, 1);
          path = path.empty() ? field : path + "." + field;
          message = message.substr(colon + 1);
        }
      }
      while (!message.empty() && message.front() == ' ') message.erase(0, 1);
    }
  }
  auto replace_all = [&message](const std::string& from, const std::string& to) {
    for (size_t at = message.find(from); at != std::string::npos; at = message.find(from, at + to.size())) {
      message.replace(at, from.size(), to);
    }
  };
  replace_all(std::string(kTypeUrlPrefix) + "/", "");
  if (message == "Cannot find field.") {
    message = "no such field in the record; field names are spelled as in the schema";
  }
  for (const char* kind : {"INT32", "INT64", "UINT32", "UINT64", "SINT32", "SINT64", "FIXED32",
                           "FIXED64", "SFIXED32", "SFIXED64", "FLOAT", "DOUBLE", "BOOL", "STRING",
                           "BYTES"}) {
    std::string lower = kind;
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    replace_all(std::string("type TYPE_") + kind, "a " + lower + " field");
  }
  if (message.find("TYPE_BYTES") == std::string::npos && message.find("bytes field") != std::string::npos) {
    message += " (bytes are written in base64, or as an object with \"@type\" naming the record)";
  }
  std::string where = prefix;
  if (!path.empty()) where = where.empty() ? path : where + "." + path;
  return Error(where, message);
}

// One step of a field path: a field, and the element for a list.
struct Step {
  const FieldDescriptor* field;
  int index;  // -1 for a singular field
};

std::string PathText(const std::string& prefix, const std::vector<Step>& steps) {
  std::string out = prefix;
  for (const Step& step : steps) {
    if (!out.empty()) out += '.';
    out += step.field->name();
    if (step.index >= 0) out += "[" + std::to_string(step.index) + "]";
  }
  return out;
}

// The trees built while reading JSON text. ordered_json copies each
// member (whole subtree included) every time an object's storage grows, as
// its keys are const; a map-based tree never moves its members, so text is
// read into one, and order is set from the schema when the result is made.
using Tree = nlohmann::json;

// Settings records are parsed once per entry: reuse them rather than
// allocate a record for each of a large document's entries.
class RecordPool {
 public:
  std::unique_ptr<pb::Message> Acquire(const pb::Descriptor* type) {
    std::vector<std::unique_ptr<pb::Message>>& free = free_[type];
    if (free.empty()) return NewRecord(type);
    std::unique_ptr<pb::Message> record = std::move(free.back());
    free.pop_back();
    return record;
  }
  void Release(std::unique_ptr<pb::Message> record) {
    free_[record->GetDescriptor()].push_back(std::move(record));
  }

 private:
  std::unordered_map<const pb::Descriptor*, std::vector<std::unique_ptr<pb::Message>>> free_;
};

Json::object_t& Members(Json& object) { return object.get_ref<Json::object_t&>(); }

// ---------------------------------------------------------------- expansion

class Expander {
 public:
  Expander(const PairingCatalogue& pairing, bool expand) : pairing_(pairing), expand_(expand) {}

  Json Record(const pb::Message& record) {
    return Convert(record, Print(record.GetDescriptor(), record.SerializePartialAsString()), nullptr, 0);
  }

 private:
  Tree Print(const pb::Descriptor* type, const std::string& bytes) {
    pb::util::JsonPrintOptions options;
    options.preserve_proto_field_names = true;
    // A fresh buffer each time: the printer's output stream fills the whole
    // capacity of the string it writes to before trimming it.
    std::string text;
    const pb::util::Status status =
        pb::util::BinaryToJsonString(Resolver(), TypeUrl(type), bytes, &text, options);
    if (!status.ok()) throw Error("", "cannot show " + type->full_name() + " as JSON: " + status.ToString());
    return Tree::parse(text);
  }

  // The printer's object made final: fields in declaration order ("@type"
  // first when given), expanded settings records in `config`, the sign of
  // negative zeros the JSON reader would drop, and the record's unknown
  // fields last.
  Json Convert(const pb::Message& record, Tree printed, const char* type_name, int depth) {
    if (!printed.is_object()) return Plain(std::move(printed));
    const pb::Descriptor* type = record.GetDescriptor();
    const pb::Reflection* reflection = record.GetReflection();
    const RecordInfo& info = infos_.Get(type);

    std::vector<std::pair<const FieldDescriptor*, Tree*>> members;
    members.reserve(printed.size());
    bool has_config = false;
    for (auto& item : printed.items()) {
      const FieldDescriptor* field = type->FindFieldByName(item.key());
      has_config = has_config || (field != nullptr && field == info.config);
      members.emplace_back(field, &item.value());
    }
    // An empty `config` holds the paired record with nothing set: show it
    // as that record too, although the printer leaves the field out.
    Tree empty_config = "";
    if (expand_ && info.config != nullptr && !has_config && Settings(record, info) != nullptr) {
      members.emplace_back(info.config, &empty_config);
    }
    // Fields the printer names are fields of the record; should one not be,
    // it is kept after them.
    const int end = type->field_count();
    std::stable_sort(members.begin(), members.end(), [end](const auto& a, const auto& b) {
      return (a.first ? a.first->index() : end) < (b.first ? b.first->index() : end);
    });

    const pb::UnknownFieldSet& unknown = reflection->GetUnknownFields(record);
    Json out = Json::object();
    Json::object_t& object = Members(out);
    object.reserve(members.size() + 2);
    if (type_name != nullptr) object.emplace_back(kTypeKey, type_name);
    for (auto& [field, value] : members) {
      if (field == nullptr) continue;
      object.emplace_back(field->name(), Field(record, reflection, info, field, std::move(*value), depth));
    }
    if (!unknown.empty()) {
      std::string bytes;
      unknown.SerializeToString(&bytes);
      object.emplace_back(kUnknownKey, Base64(bytes));
    }
    return out;
  }

  Json Field(const pb::Message& record, const pb::Reflection* reflection, const RecordInfo& info,
             const FieldDescriptor* field, Tree value, int depth) {
    switch (field->cpp_type()) {
      case FieldDescriptor::CPPTYPE_MESSAGE: {
        if (!field->is_repeated()) return Convert(reflection->GetMessage(record, field), std::move(value), nullptr, depth);
        const int count = reflection->FieldSize(record, field);
        if (!value.is_array() || static_cast<int>(value.size()) != count) return Plain(std::move(value));
        Json list = Json::array();
        Json::array_t& elements = list.get_ref<Json::array_t&>();
        elements.reserve(count);
        for (int j = 0; j < count; ++j) {
          elements.push_back(Convert(reflection->GetRepeatedMessage(record, field, j), std::move(value[j]), nullptr, depth));
        }
        return list;
      }
      case FieldDescriptor::CPPTYPE_FLOAT:
      case FieldDescriptor::CPPTYPE_DOUBLE: {
        Json plain = Plain(std::move(value));
        KeepNegativeZeros(record, field, &plain);
        return plain;
      }
      default:
        if (expand_ && field == info.config && depth < kMaxConfigDepth) {
          if (const pb::Descriptor* settings = Settings(record, info)) {
            std::string scratch;
            const std::string& bytes = reflection->GetStringReference(record, field, &scratch);
            if (std::optional<Json> expanded = Expand(settings, bytes, depth + 1)) return std::move(*expanded);
          }
        }
        return Plain(std::move(value));
    }
  }

  const pb::Descriptor* Settings(const pb::Message& record, const RecordInfo& info) const {
    return info.fixed ? info.fixed : pairing_.Find(info.kind, TypeCode(record, info.type_code));
  }

  // A value of the reading tree as a value of the result, strings moved.
  static Json Plain(Tree value) {
    switch (value.type()) {
      case Tree::value_t::string: return Json(std::move(value.get_ref<std::string&>()));
      case Tree::value_t::array: {
        Json list = Json::array();
        Json::array_t& elements = list.get_ref<Json::array_t&>();
        elements.reserve(value.size());
        for (Tree& element : value) elements.push_back(Plain(std::move(element)));
        return list;
      }
      default: return Json(value);
    }
  }

  void KeepNegativeZeros(const pb::Message& record, const FieldDescriptor* field, Json* value) {
    const pb::Reflection* reflection = record.GetReflection();
    const bool is_float = field->cpp_type() == FieldDescriptor::CPPTYPE_FLOAT;
    if (field->is_repeated()) {
      const int count = reflection->FieldSize(record, field);
      if (!value->is_array() || static_cast<int>(value->size()) != count) return;
      for (int j = 0; j < count; ++j) {
        const double element = is_float ? reflection->GetRepeatedFloat(record, field, j)
                                         : reflection->GetRepeatedDouble(record, field, j);
        if (IsNegativeZero(element)) (*value)[j] = -0.0;
      }
    } else {
      const double element =
          is_float ? reflection->GetFloat(record, field) : reflection->GetDouble(record, field);
      if (IsNegativeZero(element)) *value = -0.0;
    }
  }

  // The record `bytes` hold, when it can be shown losslessly: the bytes
  // parse, re-encode to themselves, and hold no value the JSON mapping
  // cannot spell.
  std::optional<Json> Expand(const pb::Descriptor* settings, const std::string& bytes, int depth) {
    std::unique_ptr<pb::Message> record = pool_.Acquire(settings);
    bool exact = record->ParsePartialFromString(bytes);
    if (exact) {
      // Encoding into a reused buffer: most records are equal in size.
      scratch_.clear();
      exact = record->SerializePartialToString(&scratch_) && scratch_ == bytes && Spellable(*record);
    }
    std::optional<Json> expanded;
    if (exact) expanded = Convert(*record, Print(settings, bytes), settings->full_name().c_str(), depth);
    pool_.Release(std::move(record));
    return expanded;
  }

  bool Spellable(const pb::Message& record) { return document::Spellable(record, &infos_); }

  const PairingCatalogue& pairing_;
  const bool expand_;
  InfoCache infos_;
  RecordPool pool_;
  std::string scratch_;
};


// ---------------------------------------------------------------- the walk

// Raised where the walk meets what it leaves to the runtime's printer (a
// record it does not cover, text that is not UTF-8): the whole document
// is then printed the reference way.
struct NotWalkable {};

// Whether the walk covers a record type: generated records of the library
// without maps or well-known types (their JSON has mappings of its own).
class WalkableTypes {
 public:
  bool Get(const pb::Descriptor* type) {
    auto found = known_.find(type);
    if (found != known_.end()) return found->second;
    known_[type] = true;  // a type reached again through itself ends the descent
    bool walkable = type->file()->pool() == pb::DescriptorPool::generated_pool() &&
                    type->full_name().rfind("google.protobuf.", 0) != 0 && type->extension_range_count() == 0;
    for (int i = 0; walkable && i < type->field_count(); ++i) {
      const FieldDescriptor* field = type->field(i);
      if (field->is_map() || field->is_extension()) walkable = false;
      if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE && !Get(field->message_type())) walkable = false;
    }
    known_[type] = walkable;
    return walkable;
  }

 private:
  std::unordered_map<const pb::Descriptor*, bool> known_;
};

bool IsGenerated(const pb::Message& record) {
  const pb::Message* prototype = pb::MessageFactory::generated_factory()->GetPrototype(record.GetDescriptor());
  return prototype != nullptr && prototype->GetReflection() == record.GetReflection();
}

// A number as the reading tree holds what the runtime printed: negative
// integers signed, others unsigned (the JSON reader's own choice).
Json Integer(std::int64_t value) {
  return value < 0 ? Json(value) : Json(static_cast<std::uint64_t>(value));
}

// A float or double as the runtime prints it (shortest text that reads
// back, "NaN" and the infinities as strings) and the JSON reader then takes
// that text: an integer when it has no point nor exponent, else a double;
// a negative zero is kept as one.
Json FloatingJson(double value, bool single) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value > 0 ? "Infinity" : "-Infinity";
  if (IsNegativeZero(value)) return -0.0;
  // Whole numbers of up to six digits print as themselves, in either width.
  if (std::fabs(value) < 1e6 && value == std::trunc(value)) return Integer(static_cast<std::int64_t>(value));
  const std::string text = single ? pb::SimpleFtoa(static_cast<float>(value)) : pb::SimpleDtoa(value);
  if (text.find_first_of(".eE") == std::string::npos) {
    errno = 0;
    char* end = nullptr;
    if (text[0] == '-') {
      const long long integer = std::strtoll(text.c_str(), &end, 10);
      if (errno == 0 && *end == '\0') return Json(static_cast<std::int64_t>(integer));
    } else {
      const unsigned long long integer = std::strtoull(text.c_str(), &end, 10);
      if (errno == 0 && *end == '\0') return Json(static_cast<std::uint64_t>(integer));
    }
  }
  return Json(std::strtod(text.c_str(), nullptr));
}

// Builds the JSON of records by walking them: what Expander gives from the
// runtime's printed JSON, made directly. The protobuf JSON mapping as the
// runtime prints it: fields that would be encoded (lists with elements,
// fields with presence when set, others when not zero or empty; a float or
// double zero of either sign is zero), 64-bit integers as strings, bytes
// in base64, enumerations by name or else by number.
class Walker {
 public:
  Walker(const PairingCatalogue& pairing, bool expand) : pairing_(pairing), expand_(expand) {}

  // The record with the fields in `deferred` present as null, to be filled
  // by the caller.
  Json Record(const pb::Message& record, const std::vector<const FieldDescriptor*>* deferred = nullptr) {
    if (!walkable_.Get(record.GetDescriptor()) || !IsGenerated(record)) throw NotWalkable{};
    return Convert(record, nullptr, 0, deferred);
  }

  // An element of a list of the record given to Record.
  Json Element(const pb::Message& element) { return Convert(element, nullptr, 0, nullptr); }

 private:
  Json Convert(const pb::Message& record, const char* type_name, int depth,
               const std::vector<const FieldDescriptor*>* deferred) {
    const pb::Descriptor* type = record.GetDescriptor();
    const pb::Reflection* reflection = record.GetReflection();
    const RecordInfo& info = infos_.Get(type);
    Json out = Json::object();
    Json::object_t& object = Members(out);
    object.reserve(type->field_count() + 2);
    if (type_name != nullptr) object.emplace_back(kTypeKey, type_name);
    for (int i = 0; i < type->field_count(); ++i) {
      const FieldDescriptor* field = type->field(i);
      if (deferred != nullptr && std::find(deferred->begin(), deferred->end(), field) != deferred->end()) {
        if (reflection->FieldSize(record, field) > 0) object.emplace_back(field->name(), nullptr);
        continue;
      }
      if (expand_ && field == info.config) {
        if (const pb::Descriptor* settings = Settings(record, info)) {
          std::string scratch;
          const std::string& bytes = reflection->GetStringReference(record, field, &scratch);
          if (depth < kMaxConfigDepth) {
            if (std::optional<Json> expanded = Expand(settings, bytes, depth + 1)) {
              object.emplace_back(field->name(), std::move(*expanded));
              continue;
            }
          }
          // Kept as bytes; an empty one still shows, as the empty string.
          object.emplace_back(field->name(), Base64(bytes));
          continue;
        }
      }
      if (field->is_repeated()) {
        const int count = reflection->FieldSize(record, field);
        if (count == 0) continue;
        Json list = Json::array();
        Json::array_t& elements = list.get_ref<Json::array_t&>();
        elements.reserve(count);
        for (int j = 0; j < count; ++j) elements.push_back(Value(record, reflection, field, j, depth));
        object.emplace_back(field->name(), std::move(list));
      } else if (Present(record, reflection, field)) {
        object.emplace_back(field->name(), Value(record, reflection, field, -1, depth));
      }
    }
    const pb::UnknownFieldSet& unknown = reflection->GetUnknownFields(record);
    if (!unknown.empty()) {
      std::string bytes;
      unknown.SerializeToString(&bytes);
      object.emplace_back(kUnknownKey, Base64(bytes));
    }
    return out;
  }

  // Whether a singular field is encoded, and so printed.
  static bool Present(const pb::Message& record, const pb::Reflection* reflection, const FieldDescriptor* field) {
    if (field->has_presence()) return reflection->HasField(record, field);
    switch (field->cpp_type()) {
      case FieldDescriptor::CPPTYPE_INT32: return reflection->GetInt32(record, field) != 0;
      case FieldDescriptor::CPPTYPE_INT64: return reflection->GetInt64(record, field) != 0;
      case FieldDescriptor::CPPTYPE_UINT32: return reflection->GetUInt32(record, field) != 0;
      case FieldDescriptor::CPPTYPE_UINT64: return reflection->GetUInt64(record, field) != 0;
      // The generated encoders compare with zero: a negative zero is not
      // written, a NaN is.
      case FieldDescriptor::CPPTYPE_FLOAT: return reflection->GetFloat(record, field) != 0;
      case FieldDescriptor::CPPTYPE_DOUBLE: return reflection->GetDouble(record, field) != 0;
      case FieldDescriptor::CPPTYPE_BOOL: return reflection->GetBool(record, field);
      case FieldDescriptor::CPPTYPE_ENUM: return reflection->GetEnumValue(record, field) != 0;
      case FieldDescriptor::CPPTYPE_STRING: {
        std::string scratch;
        return !reflection->GetStringReference(record, field, &scratch).empty();
      }
      case FieldDescriptor::CPPTYPE_MESSAGE: return reflection->HasField(record, field);
    }
    return false;
  }

  // The value of a singular field (index -1) or of a list's element.
  Json Value(const pb::Message& record, const pb::Reflection* reflection, const FieldDescriptor* field, int index,
             int depth) {
    const bool one = index < 0;
    switch (field->cpp_type()) {
      case FieldDescriptor::CPPTYPE_INT32:
        return Integer(one ? reflection->GetInt32(record, field) : reflection->GetRepeatedInt32(record, field, index));
      case FieldDescriptor::CPPTYPE_UINT32:
        return Json(static_cast<std::uint64_t>(one ? reflection->GetUInt32(record, field)
                                                   : reflection->GetRepeatedUInt32(record, field, index)));
      case FieldDescriptor::CPPTYPE_INT64:
        return std::to_string(one ? reflection->GetInt64(record, field)
                                  : reflection->GetRepeatedInt64(record, field, index));
      case FieldDescriptor::CPPTYPE_UINT64:
        return std::to_string(one ? reflection->GetUInt64(record, field)
                                  : reflection->GetRepeatedUInt64(record, field, index));
      case FieldDescriptor::CPPTYPE_FLOAT:
        return FloatingJson(one ? reflection->GetFloat(record, field) : reflection->GetRepeatedFloat(record, field, index),
                            true);
      case FieldDescriptor::CPPTYPE_DOUBLE:
        return FloatingJson(
            one ? reflection->GetDouble(record, field) : reflection->GetRepeatedDouble(record, field, index), false);
      case FieldDescriptor::CPPTYPE_BOOL:
        return one ? reflection->GetBool(record, field) : reflection->GetRepeatedBool(record, field, index);
      case FieldDescriptor::CPPTYPE_ENUM: {
        const int number =
            one ? reflection->GetEnumValue(record, field) : reflection->GetRepeatedEnumValue(record, field, index);
        if (const pb::EnumValueDescriptor* value = field->enum_type()->FindValueByNumber(number)) return value->name();
        return Integer(number);
      }
      case FieldDescriptor::CPPTYPE_STRING: {
        std::string scratch;
        const std::string& text = one ? reflection->GetStringReference(record, field, &scratch)
                                      : reflection->GetRepeatedStringReference(record, field, index, &scratch);
        if (field->type() == FieldDescriptor::TYPE_BYTES) return Base64(text);
        if (!pb::internal::IsStructurallyValidUTF8(text.data(), static_cast<int>(text.size()))) throw NotWalkable{};
        return text;
      }
      case FieldDescriptor::CPPTYPE_MESSAGE:
        return Convert(one ? reflection->GetMessage(record, field) : reflection->GetRepeatedMessage(record, field, index),
                       nullptr, depth, nullptr);
    }
    return nullptr;
  }

  const pb::Descriptor* Settings(const pb::Message& record, const RecordInfo& info) const {
    return info.fixed ? info.fixed : pairing_.Find(info.kind, TypeCode(record, info.type_code));
  }

  // As Expander::Expand.
  std::optional<Json> Expand(const pb::Descriptor* settings, const std::string& bytes, int depth) {
    if (!walkable_.Get(settings)) throw NotWalkable{};
    std::unique_ptr<pb::Message> record = pool_.Acquire(settings);
    bool exact = record->ParsePartialFromString(bytes);
    if (exact) {
      scratch_.clear();
      exact = record->SerializePartialToString(&scratch_) && scratch_ == bytes && Spellable(*record);
    }
    std::optional<Json> expanded;
    try {
      if (exact) expanded = Convert(*record, settings->full_name().c_str(), depth, nullptr);
    } catch (...) {
      pool_.Release(std::move(record));
      throw;
    }
    pool_.Release(std::move(record));
    return expanded;
  }

  bool Spellable(const pb::Message& record) { return document::Spellable(record, &infos_); }

  const PairingCatalogue& pairing_;
  const bool expand_;
  InfoCache infos_;
  WalkableTypes walkable_;
  RecordPool pool_;
  std::string scratch_;
};

// ----------------------------------------------------------------- collapse

class Collapser {
 public:
  // Builds `record` (fresh) from `value`, which it rewrites on the way;
  // `where` is the record's own path.
  void Record(Tree& value, pb::Message* record, const std::string& where, int depth = 0) {
    const pb::Descriptor* type = record->GetDescriptor();
    if (!value.is_object()) {
      throw Error(where, "expected a JSON object for " + type->full_name() + ", found " + value.type_name());
    }
    std::vector<Restore> unknowns;
    std::vector<Step> steps;
    Strip(value, type, where, &steps, &unknowns, depth);

    std::string text;
    try {
      text = value.dump();
    } catch (const Tree::exception& e) {
      throw Error(where, std::string("cannot read the JSON for ") + type->full_name() + ": " + e.what());
    }
    std::string binary;
    pb::util::JsonParseOptions options;
    const pb::util::Status status =
        pb::util::JsonToBinaryString(Resolver(), TypeUrl(type), text, &binary, options);
    if (!status.ok()) throw JsonParseError(where, std::string(status.message()));
    if (!record->ParsePartialFromString(binary)) {
      throw Error(where, "the JSON does not make a valid " + type->full_name());
    }
    for (const Restore& restore : unknowns) Apply(restore, record, where);
  }

 private:
  struct Restore {
    std::vector<Step> steps;
    std::string bytes;
  };

  // Makes `value` what libprotobuf's reader takes: "@type" checked and
  // dropped, "@unknown" taken aside, expanded records encoded to base64.
  void Strip(Tree& value, const pb::Descriptor* type, const std::string& where, std::vector<Step>* steps,
             std::vector<Restore>* unknowns, int depth) {
    bool has_type = false;
    bool has_unknown = false;
    for (auto& item : value.items()) {
      const std::string& key = item.key();
      Tree& member = item.value();
      if (key == kTypeKey) {
        if (!member.is_string() || member.get_ref<const std::string&>() != type->full_name()) {
          throw Error(Join(PathText(where, *steps), kTypeKey),
                      "names " + member.dump() + " but this place holds a " + type->full_name());
        }
        has_type = true;
        continue;
      }
      if (key == kUnknownKey) {
        unknowns->push_back({*steps, DecodeUnknown(member, PathText(where, *steps))});
        has_unknown = true;
        continue;
      }
      const FieldDescriptor* field = type->FindFieldByName(key);
      if (field == nullptr) field = type->FindFieldByCamelcaseName(key);
      if (field == nullptr) continue;  // libprotobuf names the unknown key with its path
      if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
        if (field->is_repeated() && member.is_array()) {
          for (size_t j = 0; j < member.size(); ++j) {
            if (!member[j].is_object()) continue;
            steps->push_back({field, static_cast<int>(j)});
            Strip(member[j], field->message_type(), where, steps, unknowns, depth);
            steps->pop_back();
          }
        } else if (!field->is_repeated() && member.is_object()) {
          steps->push_back({field, -1});
          Strip(member, field->message_type(), where, steps, unknowns, depth);
          steps->pop_back();
        }
      } else if (field->type() == FieldDescriptor::TYPE_BYTES && !field->is_repeated() && member.is_object()) {
        steps->push_back({field, -1});
        member = Base64(Encode(member, PathText(where, *steps), depth + 1));
        steps->pop_back();
      }
    }
    if (has_type) value.erase(kTypeKey);
    if (has_unknown) value.erase(kUnknownKey);
  }

  // The bytes of an expanded settings record.
  std::string Encode(Tree& value, const std::string& where, int depth) {
    if (depth > kMaxConfigDepth) {
      throw Error(where, "records inside `config` nested deeper than " + std::to_string(kMaxConfigDepth) +
                             " levels");
    }
    auto type_name = value.find(kTypeKey);
    if (type_name == value.end()) {
      throw Error(where, "an object here needs \"@type\" naming the record it holds, or give the "
                         "bytes in base64");
    }
    if (!type_name->is_string()) {
      throw Error(Join(where, kTypeKey), std::string("expected a record name, found ") + type_name->type_name());
    }
    const std::string& name = type_name->get_ref<const std::string&>();
    const pb::Descriptor* type = FindRecord(name);
    if (type == nullptr) {
      throw Error(Join(where, kTypeKey),
                  "no record named \"" + name + "\" in the schema library; run `gcuschema schemas` to "
                  "list them");
    }
    std::unique_ptr<pb::Message> record = pool_.Acquire(type);
    Collapser nested;
    nested.Record(value, record.get(), where, depth);
    std::string bytes = record->SerializePartialAsString();
    pool_.Release(std::move(record));
    return bytes;
  }

  static std::string Join(const std::string& path, const std::string& key) {
    return path.empty() ? key : path + "." + key;
  }

  static std::string DecodeUnknown(const Tree& member, const std::string& path) {
    const std::string where = Join(path, kUnknownKey);
    if (!member.is_string()) throw Error(where, std::string("expected a base64 string, found ") + member.type_name());
    std::string bytes;
    if (!pb::Base64Unescape(member.get_ref<const std::string&>(), &bytes)) {
      throw Error(where, "not valid base64; keep the value as it was written");
    }
    pb::UnknownFieldSet check;
    if (!check.ParseFromString(bytes)) {
      throw Error(where, "does not hold encoded fields; keep the value as it was written");
    }
    return bytes;
  }

  static void Apply(const Restore& restore, pb::Message* record, const std::string& where) {
    pb::Message* target = record;
    for (const Step& step : restore.steps) {
      const pb::Reflection* reflection = target->GetReflection();
      if (step.index < 0) {
        target = reflection->MutableMessage(target, step.field);
      } else if (step.index < reflection->FieldSize(*target, step.field)) {
        target = reflection->MutableRepeatedMessage(target, step.field, step.index);
      } else {
        throw Error(PathText(where, restore.steps), "\"@unknown\" belongs to a list element that was not kept");
      }
    }
    pb::io::CodedInputStream input(reinterpret_cast<const std::uint8_t*>(restore.bytes.data()),
                                   static_cast<int>(restore.bytes.size()));
    target->GetReflection()->MutableUnknownFields(target)->MergeFromCodedStream(&input);
  }

  RecordPool pool_;
};

bool IsEmpty(const pb::Message& record) {
  std::vector<const FieldDescriptor*> fields;
  record.GetReflection()->ListFields(record, &fields);
  return fields.empty() && record.GetReflection()->GetUnknownFields(record).empty();
}


// The reading walk: JSON text read by nlohmann's parser straight into the
// record, event by event (no tree), as the runtime's JSON parser would fill
// it after the "@type" and "@unknown" of the codec are dealt with. It takes
// what the codec writes and what is plainly equivalent; on anything else
// (a spelling it does not know, a value it would have to judge, an error of
// any kind) it stops and says so, and the text is read the reference way,
// which gives the record or the error.
class Reader : public nlohmann::json_sax<Tree> {
 public:
  explicit Reader(pb::Message* root) : root_(root) {}

  bool null() override { return false; }
  bool boolean(bool value) override {
    return Scalar([&](pb::Message* r, const FieldDescriptor* f, bool add) {
      if (f->cpp_type() != FieldDescriptor::CPPTYPE_BOOL) return false;
      add ? r->GetReflection()->AddBool(r, f, value) : r->GetReflection()->SetBool(r, f, value);
      return true;
    });
  }
  bool number_integer(std::int64_t value) override { return Integral(value < 0, value, 0); }
  bool number_unsigned(std::uint64_t value) override { return Integral(false, 0, value); }
  bool number_float(double value, const std::string&) override {
    return Scalar([&](pb::Message* r, const FieldDescriptor* f, bool add) {
      const pb::Reflection* reflection = r->GetReflection();
      if (f->cpp_type() == FieldDescriptor::CPPTYPE_DOUBLE) {
        add ? reflection->AddDouble(r, f, value) : reflection->SetDouble(r, f, value);
        return true;
      }
      if (f->cpp_type() != FieldDescriptor::CPPTYPE_FLOAT || std::fabs(value) > std::numeric_limits<float>::max()) {
        return false;
      }
      const auto single = static_cast<float>(value);
      add ? reflection->AddFloat(r, f, single) : reflection->SetFloat(r, f, single);
      return true;
    });
  }
  bool string(std::string& value) override {
    if (stack_.empty()) return false;
    Frame& top = stack_.back();
    if (top.kind == Frame::kSettingsType) return BeginSettings(value);
    if (top.kind == Frame::kRecord && top.special == Special::kType) {
      top.special = Special::kNone;
      return value == top.record->GetDescriptor()->full_name();
    }
    if (top.kind == Frame::kRecord && top.special == Special::kUnknown) {
      top.special = Special::kNone;
      return RestoreUnknown(value, top.record);
    }
    return Scalar([&](pb::Message* r, const FieldDescriptor* f, bool add) { return Text(r, f, add, &value); });
  }
  bool binary(binary_t&) override { return false; }

  bool start_object(std::size_t) override {
    if (stack_.size() >= kMaxDepth) return false;
    if (stack_.empty()) {
      stack_.push_back(Frame::Record(root_, 0));
      return true;
    }
    Frame& top = stack_.back();
    if (top.kind == Frame::kList) {
      if (top.field->cpp_type() != FieldDescriptor::CPPTYPE_MESSAGE) return false;
      pb::Message* element = top.record->GetReflection()->AddMessage(top.record, top.field);
      stack_.push_back(Frame::Record(element, top.config_depth));
      return true;
    }
    if (top.kind != Frame::kRecord || top.pending == nullptr || top.pending->is_repeated()) return false;
    const FieldDescriptor* field = top.pending;
    top.pending = nullptr;
    if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
      pb::Message* sub = top.record->GetReflection()->MutableMessage(top.record, field);
      stack_.push_back(Frame::Record(sub, top.config_depth));
      return true;
    }
    if (field->type() == FieldDescriptor::TYPE_BYTES && top.config_depth < kMaxConfigDepth) {
      // Settings in an entry's bytes: "@type" must come first to say which.
      Frame settings;
      settings.kind = Frame::kSettingsType;
      settings.record = top.record;
      settings.field = field;
      settings.config_depth = top.config_depth + 1;
      stack_.push_back(settings);
      return true;
    }
    return false;
  }

  bool key(std::string& name) override {
    if (stack_.empty()) return false;
    Frame& top = stack_.back();
    if (top.kind == Frame::kSettingsType) {
      if (name != kTypeKey || top.type_seen) return false;
      top.type_seen = true;
      return true;
    }
    if (top.kind != Frame::kRecord) return false;
    if (name == kTypeKey || name == kUnknownKey) {
      const Special special = name == kTypeKey ? Special::kType : Special::kUnknown;
      if ((top.seen_specials & static_cast<int>(special)) != 0) return false;
      top.seen_specials |= static_cast<int>(special);
      top.special = special;
      return true;
    }
    const pb::Descriptor* type = top.record->GetDescriptor();
    // Fields come in declaration order as the codec writes them: look
    // after the last one first.
    const FieldDescriptor* field = nullptr;
    for (int i = top.next_index; i < type->field_count() && i < top.next_index + 4; ++i) {
      if (type->field(i)->name() == name) {
        field = type->field(i);
        break;
      }
    }
    if (field == nullptr) field = type->FindFieldByName(name);
    if (field == nullptr || field->is_map()) return false;
    if (top.seen.size() < static_cast<std::size_t>(type->field_count())) top.seen.resize(type->field_count());
    if (top.seen[field->index()]) return false;
    top.seen[field->index()] = true;
    if (const pb::OneofDescriptor* oneof = field->containing_oneof()) {
      if (std::find(top.oneofs.begin(), top.oneofs.end(), oneof) != top.oneofs.end()) return false;
      top.oneofs.push_back(oneof);
    }
    top.next_index = field->index() + 1;
    top.pending = field;
    return true;
  }

  bool end_object() override {
    if (stack_.empty() || stack_.back().kind != Frame::kRecord || stack_.back().pending != nullptr ||
        stack_.back().special != Special::kNone) {
      return false;
    }
    Frame done = std::move(stack_.back());
    stack_.pop_back();
    if (done.settings_of != nullptr) {
      // The settings record becomes its entry's bytes.
      std::string bytes = done.record->SerializePartialAsString();
      done.settings_of->GetReflection()->SetString(done.settings_of, done.settings_field, std::move(bytes));
      pool_.Release(std::unique_ptr<pb::Message>(done.record));
    }
    return true;
  }

  bool start_array(std::size_t) override {
    if (stack_.size() >= kMaxDepth || stack_.empty()) return false;
    Frame& top = stack_.back();
    if (top.kind != Frame::kRecord || top.pending == nullptr || !top.pending->is_repeated()) return false;
    Frame list;
    list.kind = Frame::kList;
    list.record = top.record;
    list.field = top.pending;
    list.config_depth = top.config_depth;
    top.pending = nullptr;
    stack_.push_back(list);
    return true;
  }

  bool end_array() override {
    if (stack_.empty() || stack_.back().kind != Frame::kList) return false;
    stack_.pop_back();
    return true;
  }

  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override { return false; }

  ~Reader() override {
    // Settings records still open when reading stopped.
    for (Frame& frame : stack_) {
      if (frame.settings_of != nullptr) delete frame.record;
    }
  }

 private:
  // Deeper than the reference way reads: left to it, to be refused there.
  static constexpr std::size_t kMaxDepth = kMaxJsonDepthForReader;

  enum class Special { kNone = 0, kType = 1, kUnknown = 2 };

  struct Frame {
    enum Kind { kRecord, kList, kSettingsType };
    Kind kind = kRecord;
    pb::Message* record = nullptr;          // the record filled, or holding the list or the settings
    const FieldDescriptor* field = nullptr;  // kList: the list; kSettingsType: the bytes field
    const FieldDescriptor* pending = nullptr;  // kRecord: the field whose value comes next
    Special special = Special::kNone;          // kRecord: "@type" or "@unknown" comes next
    int seen_specials = 0;
    int next_index = 0;
    int config_depth = 0;
    bool type_seen = false;
    std::vector<bool> seen;
    std::vector<const pb::OneofDescriptor*> oneofs;
    pb::Message* settings_of = nullptr;  // a settings record: the entry whose bytes it becomes
    const FieldDescriptor* settings_field = nullptr;

    static Frame Record(pb::Message* record, int config_depth) {
      Frame frame;
      frame.record = record;
      frame.config_depth = config_depth;
      return frame;
    }
  };

  bool BeginSettings(const std::string& name) {
    Frame& top = stack_.back();
    const pb::Descriptor* type = FindRecord(name);
    if (type == nullptr || type->full_name() != name) return false;
    std::unique_ptr<pb::Message> settings = pool_.Acquire(type);
    settings->Clear();
    Frame frame = Frame::Record(settings.release(), top.config_depth);
    frame.settings_of = top.record;
    frame.settings_field = top.field;
    frame.seen_specials = static_cast<int>(Special::kType);
    stack_.back() = std::move(frame);
    return true;
  }

  static bool RestoreUnknown(const std::string& text, pb::Message* record) {
    std::string bytes;
    if (!pb::Base64Unescape(text, &bytes)) return false;
    pb::UnknownFieldSet check;
    if (!check.ParseFromString(bytes)) return false;
    pb::io::CodedInputStream input(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                   static_cast<int>(bytes.size()));
    return record->GetReflection()->MutableUnknownFields(record)->MergeFromCodedStream(&input);
  }

  // A value for the pending field of the record on top, or an element of
  // the list on top: `set(record, field, add)`.
  template <typename Set>
  bool Scalar(Set set) {
    if (stack_.empty()) return false;
    Frame& top = stack_.back();
    if (top.kind == Frame::kList) return set(top.record, top.field, true);
    if (top.kind != Frame::kRecord || top.pending == nullptr || top.pending->is_repeated() ||
        top.special != Special::kNone) {
      return false;
    }
    const FieldDescriptor* field = top.pending;
    top.pending = nullptr;
    return set(top.record, field, false);
  }

  bool Integral(bool negative, std::int64_t signed_value, std::uint64_t unsigned_value) {
    return Scalar([&](pb::Message* r, const FieldDescriptor* f, bool add) {
      const pb::Reflection* reflection = r->GetReflection();
      // The value, when it fits the type exactly.
      auto fits = [&](std::int64_t low, std::uint64_t high) {
        return negative ? signed_value >= low : unsigned_value <= high;
      };
      const std::int64_t as_signed = negative ? signed_value : static_cast<std::int64_t>(unsigned_value);
      switch (f->cpp_type()) {
        case FieldDescriptor::CPPTYPE_INT32:
          if (!fits(std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max())) return false;
          add ? reflection->AddInt32(r, f, static_cast<std::int32_t>(as_signed))
              : reflection->SetInt32(r, f, static_cast<std::int32_t>(as_signed));
          return true;
        case FieldDescriptor::CPPTYPE_UINT32:
          if (negative || unsigned_value > std::numeric_limits<std::uint32_t>::max()) return false;
          add ? reflection->AddUInt32(r, f, static_cast<std::uint32_t>(unsigned_value))
              : reflection->SetUInt32(r, f, static_cast<std::uint32_t>(unsigned_value));
          return true;
        case FieldDescriptor::CPPTYPE_INT64:
          if (!fits(std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max())) return false;
          add ? reflection->AddInt64(r, f, as_signed) : reflection->SetInt64(r, f, as_signed);
          return true;
        case FieldDescriptor::CPPTYPE_UINT64:
          if (negative) return false;
          add ? reflection->AddUInt64(r, f, unsigned_value) : reflection->SetUInt64(r, f, unsigned_value);
          return true;
        case FieldDescriptor::CPPTYPE_ENUM: {
          if (!fits(std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max())) return false;
          const auto number = static_cast<int>(as_signed);
          // A closed enumeration takes only the numbers it names.
          if (f->enum_type()->file()->syntax() != pb::FileDescriptor::SYNTAX_PROTO3 &&
              f->enum_type()->FindValueByNumber(number) == nullptr) {
            return false;
          }
          add ? reflection->AddEnumValue(r, f, number) : reflection->SetEnumValue(r, f, number);
          return true;
        }
        case FieldDescriptor::CPPTYPE_FLOAT: {
          // Whole numbers the float holds exactly, as the runtime takes them.
          if (as_signed > (1 << 24) || as_signed < -(1 << 24) || (!negative && unsigned_value > (1u << 24))) return false;
          const auto single = static_cast<float>(as_signed);
          add ? reflection->AddFloat(r, f, single) : reflection->SetFloat(r, f, single);
          return true;
        }
        case FieldDescriptor::CPPTYPE_DOUBLE: {
          constexpr std::int64_t kExact = std::int64_t{1} << 53;
          if (as_signed > kExact || as_signed < -kExact || (!negative && unsigned_value > static_cast<std::uint64_t>(kExact))) {
            return false;
          }
          const auto value = static_cast<double>(as_signed);
          add ? reflection->AddDouble(r, f, value) : reflection->SetDouble(r, f, value);
          return true;
        }
        default: return false;
      }
    });
  }

  bool Text(pb::Message* r, const FieldDescriptor* f, bool add, std::string* value) {
    const pb::Reflection* reflection = r->GetReflection();
    switch (f->cpp_type()) {
      case FieldDescriptor::CPPTYPE_STRING: {
        if (f->type() == FieldDescriptor::TYPE_BYTES) {
          std::string bytes;
          // Canonical base64 only, as the codec writes it.
          if (!pb::Base64Unescape(*value, &bytes) || Base64(bytes) != *value) return false;
          add ? reflection->AddString(r, f, std::move(bytes)) : reflection->SetString(r, f, std::move(bytes));
          return true;
        }
        add ? reflection->AddString(r, f, std::move(*value)) : reflection->SetString(r, f, std::move(*value));
        return true;
      }
      case FieldDescriptor::CPPTYPE_ENUM: {
        const pb::EnumValueDescriptor* named = f->enum_type()->FindValueByName(*value);
        if (named == nullptr) return false;
        add ? reflection->AddEnumValue(r, f, named->number()) : reflection->SetEnumValue(r, f, named->number());
        return true;
      }
      case FieldDescriptor::CPPTYPE_FLOAT:
      case FieldDescriptor::CPPTYPE_DOUBLE: {
        double special;
        if (*value == "NaN") {
          special = std::numeric_limits<double>::quiet_NaN();
        } else if (*value == "Infinity") {
          special = std::numeric_limits<double>::infinity();
        } else if (*value == "-Infinity") {
          special = -std::numeric_limits<double>::infinity();
        } else {
          return false;
        }
        if (f->cpp_type() == FieldDescriptor::CPPTYPE_FLOAT) {
          add ? reflection->AddFloat(r, f, static_cast<float>(special))
              : reflection->SetFloat(r, f, static_cast<float>(special));
        } else {
          add ? reflection->AddDouble(r, f, special) : reflection->SetDouble(r, f, special);
        }
        return true;
      }
      case FieldDescriptor::CPPTYPE_INT64:
      case FieldDescriptor::CPPTYPE_UINT64: {
        // 64-bit integers as the codec writes them: plain decimal.
        errno = 0;
        char* end = nullptr;
        if (f->cpp_type() == FieldDescriptor::CPPTYPE_INT64) {
          const long long number = std::strtoll(value->c_str(), &end, 10);
          if (errno != 0 || *end != '\0' || std::to_string(number) != *value) return false;
          add ? reflection->AddInt64(r, f, number) : reflection->SetInt64(r, f, number);
        } else {
          const unsigned long long number = std::strtoull(value->c_str(), &end, 10);
          if (errno != 0 || *end != '\0' || std::to_string(number) != *value) return false;
          add ? reflection->AddUInt64(r, f, number) : reflection->SetUInt64(r, f, number);
        }
        return true;
      }
      default: return false;
    }
  }

  pb::Message* root_;
  std::vector<Frame> stack_;
  RecordPool pool_;
};

}  // namespace

JsonCodec::JsonCodec(PairingCatalogue pairing) : pairing_(std::move(pairing)) {}

namespace {

// Lists of records from this many elements on are made element by element
// while writing (never held whole as JSON); from kThreadsFrom elements on,
// by several threads.
constexpr int kStreamFrom = 16;
constexpr int kThreadsFrom = 256;
constexpr int kUnitsPerThread = 4;
constexpr int kStreamUnits = 16;

// The record's lists of records with at least `at_least` elements, in
// declaration order, and their elements counted through them in turn.
class LargeLists {
 public:
  LargeLists(const pb::Message& record, int at_least) : record_(record) {
    const pb::Descriptor* type = record.GetDescriptor();
    const pb::Reflection* reflection = record.GetReflection();
    for (int i = 0; i < type->field_count(); ++i) {
      const FieldDescriptor* field = type->field(i);
      if (!field->is_repeated() || field->cpp_type() != FieldDescriptor::CPPTYPE_MESSAGE) continue;
      const int count = reflection->FieldSize(record, field);
      if (count < at_least) continue;
      fields_.push_back(field);
      starts_.push_back(total_);
      total_ += count;
    }
  }

  const std::vector<const FieldDescriptor*>& fields() const { return fields_; }
  int start(std::size_t list) const { return starts_[list]; }
  int total() const { return total_; }

  // Element `g` counted through all the lists.
  const pb::Message& at(int g) const {
    const std::size_t list = std::upper_bound(starts_.begin(), starts_.end(), g) - starts_.begin() - 1;
    return record_.GetReflection()->GetRepeatedMessage(record_, fields_[list], g - starts_[list]);
  }

 private:
  const pb::Message& record_;
  std::vector<const FieldDescriptor*> fields_;
  std::vector<int> starts_;
  int total_ = 0;
};

// [begin, end) of unit `u` when `total` elements are cut into `units`.
std::pair<int, int> UnitRange(int total, int units, int u) {
  const auto begin = static_cast<int>(static_cast<std::int64_t>(total) * u / units);
  const auto end = static_cast<int>(static_cast<std::int64_t>(total) * (u + 1) / units);
  return {begin, end};
}

// Enough units to even out unequal elements between threads, and enough
// that, written as they are done, the memory of the first is filled again
// by the later ones.
int UnitCount(int total, int threads) {
  return std::max(1, std::min(std::max(kStreamUnits, threads * kUnitsPerThread), total / kStreamFrom));
}

Json RuntimeJson(const PairingCatalogue& pairing, const pb::Message& record, bool expand) {
  Expander expander(pairing, expand);
  return expander.Record(record);
}

// The walk, its large lists made by several threads (each element by one
// of them, into its place).
Json WalkedJson(const PairingCatalogue& pairing, const pb::Message& record, bool expand, int threads) {
  const LargeLists lists(record, threads > 1 ? kThreadsFrom : std::numeric_limits<int>::max());
  Json out = Walker(pairing, expand).Record(record, &lists.fields());
  if (lists.total() == 0) return out;
  std::vector<Json> elements(lists.total());
  const int units = UnitCount(lists.total(), threads);
  internal::ForEachIndex(units, threads, [&](int u) {
    Walker walker(pairing, expand);
    const auto [begin, end] = UnitRange(lists.total(), units, u);
    for (int g = begin; g < end; ++g) elements[g] = walker.Element(lists.at(g));
  });
  for (std::size_t l = 0; l < lists.fields().size(); ++l) {
    const int begin = lists.start(l);
    const int end = l + 1 < lists.fields().size() ? lists.start(l + 1) : lists.total();
    Json::array_t list(std::make_move_iterator(elements.begin() + begin),
                       std::make_move_iterator(elements.begin() + end));
    out[lists.fields()[l]->name()] = std::move(list);
  }
  return out;
}

// nlohmann's serializer writing into TextPieces in place.
class PiecesAdapter : public nlohmann::detail::output_adapter_protocol<char> {
 public:
  explicit PiecesAdapter(TextPieces* out) : out_(out) {}
  ~PiecesAdapter() override { Finish(); }

  void write_character(char c) override {
    if (at_ == end_) Refill();
    *at_++ = c;
  }
  void write_characters(const char* s, std::size_t length) override {
    while (length > 0) {
      if (at_ == end_) Refill();
      const std::size_t n = std::min<std::size_t>(length, end_ - at_);
      std::memcpy(at_, s, n);
      at_ += n;
      s += n;
      length -= n;
    }
  }
  // Gives back the room not written; done before the pieces are read.
  void Finish() {
    out_->Unwrite(end_ - at_);
    at_ = end_ = nullptr;
  }

 private:
  void Refill() {
    std::size_t size;
    at_ = out_->Grab(1, &size);
    end_ = at_ + size;
  }

  TextPieces* out_;
  char* at_ = nullptr;
  char* end_ = nullptr;
};

using Serializer = nlohmann::detail::serializer<Json>;

// Dumps `value` as Json::dump(indent) does, as a value nested `level`
// levels deep in a document dumped so.
void Dump(Serializer* serializer, const Json& value, int indent, unsigned level) {
  if (indent >= 0) {
    serializer->dump(value, true, false, static_cast<unsigned>(indent), static_cast<unsigned>(indent) * level);
  } else {
    serializer->dump(value, false, false, 0);
  }
}

void DumpInto(TextPieces* out, const Json& value, int indent) {
  auto adapter = std::make_shared<PiecesAdapter>(out);
  Serializer serializer(adapter, ' ', nlohmann::detail::error_handler_t::strict);
  Dump(&serializer, value, indent, 0);
  adapter->Finish();
}

// The walk written element by element, in units handed to `write` in
// order (see StreamUnits): the record's JSON with every element of its
// large lists replaced by a placeholder is dumped twice, the placeholders 0
// and then 1, and the places where the two texts differ are the elements'
// places; each element is made and dumped (at its depth) into its place,
// and everything between is the skeleton's own text. So nlohmann writes
// every character, as one dump of the whole would.
void StreamJson(const PairingCatalogue& pairing, const pb::Message& record, bool expand, int indent, int threads,
                const std::function<void(TextPieces*)>& write) {
  const LargeLists lists(record, kStreamFrom);
  Json skeleton = Walker(pairing, expand).Record(record, &lists.fields());
  auto whole = [&](const Json& value) {
    TextPieces out;
    DumpInto(&out, value, indent);
    write(&out);
  };
  if (lists.total() == 0) return whole(skeleton);
  auto fill = [&](int placeholder) {
    for (std::size_t l = 0; l < lists.fields().size(); ++l) {
      const int end = l + 1 < lists.fields().size() ? lists.start(l + 1) : lists.total();
      skeleton[lists.fields()[l]->name()] = Json::array_t(end - lists.start(l), Json(placeholder));
    }
    return skeleton.dump(indent);
  };
  const std::string zeros = fill(0);
  const std::string ones = fill(1);
  std::vector<std::size_t> places;
  places.reserve(lists.total());
  if (zeros.size() == ones.size()) {
    for (auto at = std::mismatch(zeros.begin(), zeros.end(), ones.begin()); at.first != zeros.end();
         at = std::mismatch(at.first + 1, zeros.end(), at.second + 1)) {
      places.push_back(at.first - zeros.begin());
    }
  }
  if (static_cast<int>(places.size()) != lists.total()) {
    // Not as the serializer was known to lay values out: dump it whole.
    return whole(WalkedJson(pairing, record, expand, threads));
  }
  const int units = UnitCount(lists.total(), threads);
  internal::StreamUnits(
      units, threads, lists.total() >= kThreadsFrom ? internal::kShareBlockSize : 0,
      [&](int u, TextPieces* text) {
        Walker walker(pairing, expand);
        auto adapter = std::make_shared<PiecesAdapter>(text);
        Serializer serializer(adapter, ' ', nlohmann::detail::error_handler_t::strict);
        const auto [begin, end] = UnitRange(lists.total(), units, u);
        for (int g = begin; g < end; ++g) {
          const std::size_t from = g == 0 ? 0 : places[g - 1] + 1;
          adapter->write_characters(zeros.data() + from, places[g] - from);
          Dump(&serializer, walker.Element(lists.at(g)), indent, 2);
        }
        adapter->Finish();
      },
      write);
  TextPieces tail;
  tail.Append(std::string_view(zeros).substr(places.back() + 1));
  write(&tail);
}

// Whether the walk goes through `record` without handing anything to the
// runtime's printer, so that what it writes can be given out as it is
// made: every record type it meets is walkable, every text of the record
// is UTF-8, and settings records (read from bytes as they are met) hold
// text only where their parser checks it.
class WalkCheck {
 public:
  explicit WalkCheck(const PairingCatalogue& pairing) {
    settings_.push_back(ConfigData::descriptor());
    for (const auto& [key, type] : pairing.entries()) settings_.push_back(type);
  }

  bool Record(const pb::Message& record) {
    if (!walkable_.Get(record.GetDescriptor()) || !IsGenerated(record)) return false;
    for (const pb::Descriptor* type : settings_) {
      if (!walkable_.Get(type) || UncheckedText(type)) return false;
    }
    return TextIsUtf8(record);
  }

 private:
  // Text fields the parser does not check for UTF-8 (outside proto3).
  bool UncheckedText(const pb::Descriptor* type) {
    auto [found, fresh] = unchecked_.emplace(type, false);
    if (!fresh) return found->second;
    bool unchecked = false;
    for (int i = 0; i < type->field_count() && !unchecked; ++i) {
      const FieldDescriptor* field = type->field(i);
      if (field->type() == FieldDescriptor::TYPE_STRING &&
          field->file()->syntax() != pb::FileDescriptor::SYNTAX_PROTO3) {
        unchecked = true;
      }
      if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE && UncheckedText(field->message_type())) {
        unchecked = true;
      }
    }
    unchecked_[type] = unchecked;
    return unchecked;
  }

  // The fields of a type that hold text, or records that may (text fields
  // first), worked out once per type.
  const std::vector<const FieldDescriptor*>& TextPaths(const pb::Descriptor* type) {
    auto found = text_paths_.find(type);
    if (found != text_paths_.end()) return found->second;
    text_paths_[type];  // a type reached again through itself ends the descent
    std::vector<const FieldDescriptor*> paths;
    for (int i = 0; i < type->field_count(); ++i) {
      if (type->field(i)->type() == FieldDescriptor::TYPE_STRING) paths.push_back(type->field(i));
    }
    for (int i = 0; i < type->field_count(); ++i) {
      const FieldDescriptor* field = type->field(i);
      if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE &&
          (field->message_type() == type || !TextPaths(field->message_type()).empty())) {
        paths.push_back(field);
      }
    }
    return text_paths_[type] = std::move(paths);
  }

  bool TextIsUtf8(const pb::Message& record) {
    const pb::Reflection* reflection = record.GetReflection();
    for (const FieldDescriptor* field : TextPaths(record.GetDescriptor())) {
      const bool text = field->type() == FieldDescriptor::TYPE_STRING;
      if (!field->is_repeated()) {
        if (text) {
          std::string scratch;
          const std::string& value = reflection->GetStringReference(record, field, &scratch);
          if (!pb::internal::IsStructurallyValidUTF8(value.data(), static_cast<int>(value.size()))) return false;
        } else if (reflection->HasField(record, field) && !TextIsUtf8(reflection->GetMessage(record, field))) {
          return false;
        }
        continue;
      }
      const int count = reflection->FieldSize(record, field);
      for (int j = 0; j < count; ++j) {
        if (text) {
          std::string scratch;
          const std::string& value = reflection->GetRepeatedStringReference(record, field, j, &scratch);
          if (!pb::internal::IsStructurallyValidUTF8(value.data(), static_cast<int>(value.size()))) return false;
        } else if (!TextIsUtf8(reflection->GetRepeatedMessage(record, field, j))) {
          return false;
        }
      }
    }
    return true;
  }

  std::vector<const pb::Descriptor*> settings_;
  WalkableTypes walkable_;
  std::unordered_map<const pb::Descriptor*, bool> unchecked_;
  std::unordered_map<const pb::Descriptor*, std::vector<const FieldDescriptor*>> text_paths_;
};

}  // namespace

Json JsonCodec::ToJson(const pb::Message& record, bool expand) const {
  if (engine_ == Engine::kWalk) {
    try {
      return WalkedJson(pairing_, record, expand, internal::ThreadCount(threads_));
    } catch (const NotWalkable&) {
    }
  }
  return RuntimeJson(pairing_, record, expand);
}

TextPieces JsonCodec::ToJsonPieces(const pb::Message& record, bool expand, int indent) const {
  TextPieces out;
  if (engine_ == Engine::kWalk) {
    try {
      StreamJson(pairing_, record, expand, indent, internal::ThreadCount(threads_),
                 [&out](TextPieces* text) { out.Append(std::move(*text)); });
      return out;
    } catch (const NotWalkable&) {
      out = TextPieces();
    }
  }
  DumpInto(&out, RuntimeJson(pairing_, record, expand), indent);
  return out;
}

void JsonCodec::WriteJson(const pb::Message& record, const TextWriter& write, bool expand, int indent) const {
  if (engine_ == Engine::kWalk && WalkCheck(pairing_).Record(record)) {
    try {
      StreamJson(pairing_, record, expand, indent, internal::ThreadCount(threads_),
                 [&write](TextPieces* text) { write(text->pieces()); });
    } catch (const NotWalkable&) {
      // Ruled out by the check above; were it not, part would be written.
      throw std::logic_error("JSON walk: a record passed the check but could not be walked");
    }
    return;
  }
  write(ToJsonPieces(record, expand, indent).pieces());
}

std::string JsonCodec::ToJsonText(const pb::Message& record, bool expand, int indent) const {
  return ToJsonPieces(record, expand, indent).ToString();
}

namespace {

constexpr size_t kMaxJsonDepth = kMaxJsonDepthForReader;

template <typename J>
void CheckDepth(const J& value) {
  std::vector<std::pair<const J*, size_t>> pending{{&value, 1}};
  while (!pending.empty()) {
    const auto [node, depth] = pending.back();
    pending.pop_back();
    if (!node->is_structured()) continue;
    if (depth > kMaxJsonDepth) {
      throw Error("", "the JSON nests deeper than " + std::to_string(kMaxJsonDepth) +
                          " levels, far beyond any record of the library; check the input");
    }
    for (const J& child : *node) pending.emplace_back(&child, depth + 1);
  }
}

void Collapse(Tree value, pb::Message* record) {
  Collapser collapser;
  if (IsEmpty(*record)) {
    collapser.Record(value, record, "");
    return;
  }
  // Merging: the restored unknown fields find their elements by position,
  // which holds only in a record built from the JSON alone.
  std::unique_ptr<pb::Message> fresh(record->New());
  collapser.Record(value, fresh.get(), "");
  record->MergeFrom(*fresh);
}

// Reads into `record` with a Reader fed by `feed` (true when it read all);
// false, and `record` as it was, when the input is to be read the
// reference way.
template <typename Feed>
bool ReadWalking(pb::Message* record, Feed feed) {
  if (!internal::CanShare(*record)) return false;
  const bool empty = IsEmpty(*record);
  std::unique_ptr<pb::Message> fresh;
  pb::Message* target = record;
  if (!empty) {
    // Merging: read apart, then merged in as the reference way does.
    fresh.reset(record->New());
    target = fresh.get();
  }
  bool read = false;
  {
    Reader reader(target);
    try {
      read = feed(&reader);
    } catch (const std::exception&) {
      read = false;
    }
  }
  if (!read) {
    if (empty) record->Clear();
    return false;
  }
  if (!empty) record->MergeFrom(*fresh);
  return true;
}

// Feeds the events of a JSON tree to a Reader, as its parser would from
// the tree's text; false as soon as the reader stops.
bool Replay(const Json& value, Reader* reader) {
  switch (value.type()) {
    case Json::value_t::object: {
      if (!reader->start_object(value.size())) return false;
      for (const auto& [name, member] : value.items()) {
        std::string key = name;
        if (!reader->key(key) || !Replay(member, reader)) return false;
      }
      return reader->end_object();
    }
    case Json::value_t::array: {
      if (!reader->start_array(value.size())) return false;
      for (const Json& element : value) {
        if (!Replay(element, reader)) return false;
      }
      return reader->end_array();
    }
    case Json::value_t::string: {
      std::string text = value.get_ref<const std::string&>();
      return reader->string(text);
    }
    case Json::value_t::boolean: return reader->boolean(value.get<bool>());
    case Json::value_t::number_integer: return reader->number_integer(value.get<std::int64_t>());
    case Json::value_t::number_unsigned: return reader->number_unsigned(value.get<std::uint64_t>());
    case Json::value_t::number_float: return reader->number_float(value.get<double>(), "");
    default: return false;  // null, binary, discarded: the reference way decides
  }
}

}  // namespace

void JsonCodec::FromJson(const Json& value, pb::Message* record) const {
  CheckDepth(value);
  if (engine_ == Engine::kWalk && ReadWalking(record, [&](Reader* reader) { return Replay(value, reader); })) return;
  Collapse(Tree(value), record);
}

void JsonCodec::FromJsonText(std::string_view text, pb::Message* record) const {
  if (engine_ == Engine::kWalk &&
      ReadWalking(record, [&](Reader* reader) { return Tree::sax_parse(text.begin(), text.end(), reader); })) {
    return;
  }
  Tree value;
  try {
    value = Tree::parse(text.begin(), text.end());
  } catch (const Tree::parse_error& e) {
    // nlohmann counts the bytes read, the offending one included.
    const size_t offset = e.byte == 0 ? 0 : std::min<size_t>(e.byte - 1, text.size());
    size_t line = 1;
    size_t line_start = 0;
    for (size_t i = 0; i < offset; ++i) {
      if (text[i] == '\n') {
        ++line;
        line_start = i + 1;
      }
    }
    std::string message = e.what();
    // Drop nlohmann's own prefix and position ("[json.exception.parse_error.101]
    // parse error at line 1, column 2: "): the place is given in `where`.
    const size_t colon = message.find(": ");
    if (colon != std::string::npos) message = message.substr(colon + 2);
    throw Error("line " + std::to_string(line) + ", column " + std::to_string(offset - line_start + 1),
                message + "; fix the JSON text there");
  } catch (const Tree::out_of_range& e) {  // a number beyond double's range, "1e309"
    throw Error("", std::string(e.what()) + "; fix the JSON text");
  }
  CheckDepth(value);
  Collapse(std::move(value), record);
}

}  // namespace gcuschema::document
