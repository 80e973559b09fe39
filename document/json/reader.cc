#include "json/reader.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/dynamic_message.h>
#include <google/protobuf/io/coded_stream.h>
#include <simdjson.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>

#include "config_slots.h"
#include "field_path.h"
#include "json/base64.h"
#include "json/keys.h"
#include "json/number_text.h"
#include "json/record_plan.h"
#include "json/syntax.h"
#include "json/wire.h"
#include "suggest.h"

namespace gcuschema::document::internal {
namespace {

namespace pb = google::protobuf;
namespace sj = simdjson::ondemand;
using pb::FieldDescriptor;

// Far deeper than any record of the library nests, settings within
// settings included; anything deeper is refused before it is held.
constexpr int kMaxJsonDepth = 200;
constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);

bool IsSpace(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }
bool IsNumberStart(char c) { return c == '-' || (c >= '0' && c <= '9'); }
bool IsNumberCharacter(char c) {
  return (c >= '0' && c <= '9') || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E';
}

std::string Shortened(std::string_view text) {
  constexpr std::size_t kShown = 40;
  return text.size() <= kShown ? std::string(text) : std::string(text.substr(0, kShown)) + "...";
}

const char* KindName(ValueKind kind) {
  switch (kind) {
    case ValueKind::kInt32: return "an int32";
    case ValueKind::kInt64: return "an int64";
    case ValueKind::kUInt32: return "a uint32";
    case ValueKind::kUInt64: return "a uint64";
    case ValueKind::kFloat: return "a float";
    case ValueKind::kDouble: return "a double";
    case ValueKind::kBool: return "a bool";
    case ValueKind::kEnum: return "an enumeration";
    case ValueKind::kString: return "a string";
    case ValueKind::kBytes: return "a bytes";
    case ValueKind::kRecord: return "a record";
    default: return "an unsupported";
  }
}

// What a value of the field is written as.
std::string Expected(const FieldPlan& field) {
  switch (field.kind) {
    case ValueKind::kInt32:
    case ValueKind::kInt64:
    case ValueKind::kUInt32:
    case ValueKind::kUInt64: return "an integer (a number, or a string holding one)";
    case ValueKind::kFloat:
    case ValueKind::kDouble: return "a number (or \"NaN\", \"Infinity\", \"-Infinity\")";
    case ValueKind::kBool: return "true or false";
    case ValueKind::kEnum: return "a name of " + field.field->enum_type()->full_name() + " or its number";
    case ValueKind::kString: return "a string";
    case ValueKind::kBytes:
      return field.config ? "base64 text or an object naming its record with \"@type\"" : "base64 text";
    case ValueKind::kRecord: return "an object";
    default: return "a value";
  }
}

WireType WireTypeOf(FieldDescriptor::Type type) {
  switch (type) {
    case FieldDescriptor::TYPE_FIXED32:
    case FieldDescriptor::TYPE_SFIXED32:
    case FieldDescriptor::TYPE_FLOAT: return WireType::kFixed32;
    case FieldDescriptor::TYPE_FIXED64:
    case FieldDescriptor::TYPE_SFIXED64:
    case FieldDescriptor::TYPE_DOUBLE: return WireType::kFixed64;
    case FieldDescriptor::TYPE_STRING:
    case FieldDescriptor::TYPE_BYTES:
    case FieldDescriptor::TYPE_MESSAGE: return WireType::kLength;
    default: return WireType::kVarint;
  }
}

// Lists of numbers, bools and enumerations are encoded packed.
bool Packable(ValueKind kind) {
  return kind != ValueKind::kString && kind != ValueKind::kBytes && kind != ValueKind::kRecord;
}

// Merges the encoding the reader made into `record`. It nests as deep as
// the JSON did, which may be deeper than the runtime's default allows.
bool MergeEncoding(std::string_view bytes, pb::Message* record) {
  if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) return false;
  pb::io::CodedInputStream input(reinterpret_cast<const std::uint8_t*>(bytes.data()), static_cast<int>(bytes.size()));
  input.SetRecursionLimit(kMaxJsonDepth);
  return record->MergePartialFromCodedStream(&input) && input.ConsumedEntireMessage();
}

// An entry's type code before anything is read into it: its field's default.
int DefaultTypeCode(const FieldDescriptor* field) {
  if (field == nullptr) return 0;
  switch (field->cpp_type()) {
    case FieldDescriptor::CPPTYPE_INT32: return field->default_value_int32();
    case FieldDescriptor::CPPTYPE_UINT32: return static_cast<int>(field->default_value_uint32());
    case FieldDescriptor::CPPTYPE_ENUM: return field->default_value_enum()->number();
    default: return 0;
  }
}

// A record being read: its object's place in the text and in the encoding,
// and what the checks at its end need.
struct Place {
  const RecordPlan* plan = nullptr;
  // What the record held before the read (the document and its
  // sub-records are read into what they hold), or null.
  const pb::Message* prior = nullptr;
  std::size_t start = 0;  // where its fields' encoding starts
  int depth = 0;          // objects and lists around its object
  int config_depth = 0;   // levels of `config` above it
  // Settings: where their "@type" member stands, read before the rest.
  std::size_t type_key_at = kNowhere;
  bool type_seen = false;
  bool unknown_seen = false;
  // An entry: its type code as read so far, unsure once "@unknown" may
  // have set it; the record its `config` object named, and where.
  int type_code = 0;
  bool type_code_unsure = false;
  const pb::Descriptor* held = nullptr;
  std::size_t held_at = 0;
};

class Descent {
 public:
  Descent(std::string_view text, const PairingCatalogue& pairing, const JsonReadOptions& options)
      : text_(text), pairing_(pairing), options_(options) {}

  void Read(pb::Message* record);

 private:
  // The descent.
  void Record(sj::object& object, Place& place);
  bool Annotation(sj::value& value, std::string_view name, std::size_t key_at, Place& place);
  void DocumentType(sj::value& value);
  void UnknownFields(sj::value& value, Place& place);
  void UnknownMember(sj::value& value, std::string_view name, std::size_t key_at, const Place& place);
  void Member(sj::value& value, const FieldPlan& field, Place& place, std::size_t oneofs);
  void SubRecord(sj::value& value, const FieldPlan& field, const RecordPlan& plan, const pb::Message* prior,
                 int depth, int config_depth);
  void List(sj::value& value, const FieldPlan& field, const Place& place);
  void Settings(sj::value& value, const FieldPlan& field, Place& holder);
  // A value of a scalar field, encoded (its tag too unless `packed`); false
  // when it sets nothing. `*integer` gets integers and enumeration numbers.
  bool Scalar(sj::value& value, const FieldPlan& field, const char* at, bool packed, std::int64_t* integer);
  template <typename T>
  NumberProblem Integer(sj::value& value, const char* at, T* out);
  void PutInteger(const FieldPlan& field, bool packed, std::uint64_t bits);
  void Null(sj::value& value, const char* at);
  void Skip(sj::value& value, int depth);
  void EndSettings(const pb::Descriptor* type, std::size_t start);
  void CheckHeldType(const Place& holder);
  [[noreturn]] void MissingType(const Place& holder);
  void LateDocumentType();
  [[noreturn]] void RootIsNoObject(const char* at);

  // The text.
  const char* Start(sj::value& value) { return value.raw_json_token().data(); }
  std::size_t Offset(const char* at) const { return static_cast<std::size_t>(at - base_); }
  bool KeyIs(const char* key, std::string_view quoted) const;
  std::string_view KeyText(const char* key, const char* value_at);
  std::string_view StringAt(const char* at, std::size_t bound);
  std::string_view NumberText(const char* at) const;
  std::string_view CheckedNumber(const char* at);
  std::string Describe(const char* at);
  std::string DescribeToken(const char* at);
  bool Wellformed(const char* at) const;

  // The records.
  pb::Message* Spare(const pb::Descriptor* type,
                     std::unordered_map<const pb::Descriptor*, std::unique_ptr<pb::Message>>* spares);
  std::unique_ptr<pb::Message> StateOf(const Place& place);

  // Errors.
  std::string Path() const;
  std::string PathTo(std::string_view member) const { return JoinPath(Path(), member); }
  std::string Position(std::size_t offset) const;
  [[noreturn]] void Fail(std::size_t offset, const std::string& path, const std::string& message) const;
  [[noreturn]] void Fail(const char* at, const std::string& path, const std::string& message) const {
    Fail(Offset(at), path, message);
  }
  [[noreturn]] void SyntaxFailure(const char* near);
  [[noreturn]] void TooLarge(const char* at);

  std::string_view text_;
  const PairingCatalogue& pairing_;
  const JsonReadOptions& options_;
  pb::Message* root_ = nullptr;
  RecordPlans plans_;

  simdjson::padded_string padded_;
  const char* base_ = nullptr;  // the padded copy of the text
  const char* end_ = nullptr;
  sj::parser parser_;
  sj::document document_;
  sj::object root_object_;
  bool root_type_seen_ = false;
  bool syntax_failed_ = false;

  Wire wire_;
  std::vector<char> seen_;   // per record read, a flag per field of its plan
  std::vector<int> oneofs_;  // per record read, per oneof: the member given, or -1
  // The member names and list indices down to the value read, for errors.
  std::vector<std::pair<std::string_view, int>> path_;
  std::string unescaped_;
  std::string bytes_;
  // The records settings name, by name, as found so far.
  std::unordered_map<std::string, const pb::Descriptor*> record_types_;
  std::unordered_map<const pb::Descriptor*, std::unique_ptr<pb::Message>> settings_;
  std::unordered_map<const pb::Descriptor*, std::unique_ptr<pb::Message>> checks_;
  std::unique_ptr<pb::DynamicMessageFactory> dynamic_;
};

void Descent::Read(pb::Message* record) {
  root_ = record;
  const std::string& name = record->GetDescriptor()->full_name();
  if (text_.substr(0, 3) == "\xEF\xBB\xBF") {
    Fail(std::size_t{0}, "",
         "the text starts with a byte-order mark, which JSON text must not have; save it as UTF-8 without one");
  }
  padded_ = simdjson::padded_string(text_);
  if (padded_.size() != text_.size()) throw std::bad_alloc();
  base_ = padded_.data();
  end_ = base_ + text_.size();
  const simdjson::error_code error = parser_.iterate(padded_).get(document_);
  if (error == simdjson::EMPTY) {
    Fail(text_.size(), "", "the text holds no JSON value; expected an object holding a " + name);
  }
  if (error == simdjson::MEMALLOC) throw std::bad_alloc();
  if (error == simdjson::CAPACITY) {
    Fail(std::size_t{0}, "", "the JSON text is larger than the reader takes (4 GiB); split the document");
  }
  if (error) SyntaxFailure(nullptr);

  const char* first = base_;
  while (first < end_ && IsSpace(*first)) ++first;
  if (*first != '{') RootIsNoObject(first);
  sj::value root;
  if (document_.get_value().get(root) || root.get_object().get(root_object_)) SyntaxFailure(first);

  Place place;
  place.plan = &plans_.Get(record->GetDescriptor());
  place.prior = record;
  if (place.plan->entry) place.type_code = EntryTypeCode(*record);
  // The encoding is a fraction of the text (a third at most, for plain
  // JSON): reserved at once, as address space that is used only as it fills.
  wire_.Reserve(text_.size() / 3);
  try {
    Record(root_object_, place);
  } catch (const Error&) {
    if (!root_type_seen_ && !syntax_failed_) LateDocumentType();
    throw;
  }
  const simdjson::simdjson_result<const char*> after = document_.current_location();
  if (!after.error()) SyntaxFailure(after.value_unsafe());

  // The text and its index are done with: given back before the record
  // grows, so that the two never take memory at once.
  parser_ = sj::parser();
  padded_ = simdjson::padded_string();
  if (wire_.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    throw Error("", "the " + name + " read from the JSON text encodes to more than 2 GiB, more than a record holds");
  }
  if (!MergeEncoding(wire_.bytes(), record)) {
    throw Error("", "the " + name + " read from the JSON text does not encode; the reader is at fault");
  }
}

// ----------------------------------------------------------------- records

void Descent::Record(sj::object& object, Place& place) {
  const RecordPlan& plan = *place.plan;
  const std::size_t seen = seen_.size();
  seen_.resize(seen + plan.fields.size(), 0);
  const std::size_t oneofs = oneofs_.size();
  oneofs_.resize(oneofs + static_cast<std::size_t>(plan.type->oneof_decl_count()), -1);
  std::size_t next = 0;  // the field the writer's order puts next
  for (auto result : object) {
    sj::field member;
    if (std::move(result).get(member)) SyntaxFailure(nullptr);
    const char* key = member.key().raw();
    sj::value value = member.value();
    const FieldPlan* field = nullptr;
    if (next < plan.fields.size() &&
        (KeyIs(key, plan.fields[next].json_key) || KeyIs(key, plan.fields[next].original_key))) {
      field = &plan.fields[next];
    } else {
      const std::string_view name = KeyText(key, Start(value));
      if (!name.empty() && name[0] == '@' && Annotation(value, name, Offset(key - 1), place)) continue;
      field = plan.Find(name);
      if (field == nullptr) {
        UnknownMember(value, name, Offset(key - 1), place);
        continue;
      }
    }
    const std::size_t index = static_cast<std::size_t>(field - plan.fields.data());
    if (field->kind == ValueKind::kUnsupported) {
      throw UnsupportedError(Position(Offset(key - 1)) + " (" + PathTo(field->field->name()) + ")",
                             field->unsupported + " is not supported");
    }
    if (seen_[seen + index]) {
      Fail(key - 1, PathTo(field->field->name()),
           "the field is given twice (as \"" + field->field->json_name() + "\" or \"" + field->field->name() +
               "\"); keep one");
    }
    seen_[seen + index] = 1;
    next = index + 1;
    path_.emplace_back(field->field->name(), -1);
    Member(value, *field, place, oneofs);
    path_.pop_back();
  }
  seen_.resize(seen);
  oneofs_.resize(oneofs);
  if (place.held != nullptr) CheckHeldType(place);
}

// "@type" and "@unknown": true when `name` is one.
bool Descent::Annotation(sj::value& value, std::string_view name, std::size_t key_at, Place& place) {
  if (name == kTypeKey) {
    if (key_at == place.type_key_at) return true;  // the settings' own, read first
    if (place.type_seen) Fail(key_at, PathTo(name), "\"@type\" is given twice; remove one");
    place.type_seen = true;
    if (place.depth != 0) {
      Fail(key_at, PathTo(name),
           "only the document and the object of a `config` name their record with \"@type\"; remove it");
    }
    DocumentType(value);
    return true;
  }
  if (name == kUnknownKey) {
    if (place.unknown_seen) Fail(key_at, PathTo(name), "\"@unknown\" is given twice; remove one");
    place.unknown_seen = true;
    UnknownFields(value, place);
    return true;
  }
  return false;
}

void Descent::DocumentType(sj::value& value) {
  root_type_seen_ = true;
  const char* at = Start(value);
  const std::string& name = root_->GetDescriptor()->full_name();
  if (*at != '"') Fail(at, kTypeKey, "expected the name of the document's record, found " + Describe(at));
  const std::string_view given = StringAt(at, value.raw_json_token().size());
  if (given != name) {
    Fail(at, kTypeKey,
         "the document names itself a " + Shortened(given) + ", but is read as a " + name +
             "; read it as the record it names, or correct its \"@type\"");
  }
}

// After an error in a document whose "@type" was not met yet: a later one
// naming another record says better what is wrong.
void Descent::LateDocumentType() {
  if (root_object_.reset().error()) return;
  for (auto result : root_object_) {
    sj::field member;
    if (std::move(result).get(member)) return;
    sj::value value = member.value();
    if (!KeyIs(member.key().raw(), kQuotedTypeKey)) continue;
    if (*Start(value) == '"') DocumentType(value);
    return;
  }
}

// "@unknown": the encoding of fields JSON does not show, kept as it is.
void Descent::UnknownFields(sj::value& value, Place& place) {
  const char* at = Start(value);
  const std::string where = PathTo(kUnknownKey);
  if (*at != '"') Fail(at, where, "expected base64 text of encoded fields, found " + Describe(at));
  if (!DecodeBase64(StringAt(at, value.raw_json_token().size()), &bytes_)) Fail(at, where, "is not base64 text");
  pb::Message* check = Spare(place.plan->type, &checks_);
  check->Clear();
  pb::io::CodedInputStream input(reinterpret_cast<const std::uint8_t*>(bytes_.data()), static_cast<int>(bytes_.size()));
  if (!check->MergePartialFromCodedStream(&input) || !input.ConsumedEntireMessage()) {
    Fail(at, where, "is not the encoding of fields of a " + place.plan->type->full_name());
  }
  wire_.Append(bytes_);
  if (place.plan->entry) place.type_code_unsure = true;
}

void Descent::UnknownMember(sj::value& value, std::string_view name, std::size_t key_at, const Place& place) {
  const RecordPlan& plan = *place.plan;
  if (!name.empty() && name[0] == '[' && plan.has_extensions) {
    throw UnsupportedError(Position(key_at) + " (" + PathTo(name) + ")", "extensions are not supported");
  }
  if (options_.ignore_unknown_fields) {
    const std::string owned(name);  // the name may be unescaped where the skip unescapes too
    path_.emplace_back(owned, -1);
    Skip(value, place.depth + 1);
    path_.pop_back();
    return;
  }
  std::vector<std::string> names;
  for (const FieldPlan& f : plan.fields) names.push_back(f.field->json_name());
  Fail(key_at, PathTo(name),
       UnknownName("a field of " + plan.type->full_name(), Shortened(name), names,
                   "run `gcuschema schemas " + plan.type->full_name() + "` to list them"));
}

void Descent::Member(sj::value& value, const FieldPlan& field, Place& place, std::size_t oneofs) {
  const char* at = Start(value);
  if (*at == 'n') {  // the field's default: not set
    Null(value, at);
    return;
  }
  if (const pb::OneofDescriptor* oneof = field.field->real_containing_oneof()) {
    int& given = oneofs_[oneofs + static_cast<std::size_t>(oneof->index())];
    const int index = static_cast<int>(&field - place.plan->fields.data());
    if (given >= 0 && given != index) {
      Fail(at, Path(),
           "\"" + place.plan->fields[static_cast<std::size_t>(given)].field->name() + "\" and \"" +
               field.field->name() + "\" are both set, but " + oneof->name() + " holds one of them at most; keep one");
    }
    given = index;
  }
  if (field.repeated) {
    if (*at != '[') Fail(at, Path(), "expected a list, found " + Describe(at));
    List(value, field, place);
    return;
  }
  if (field.kind == ValueKind::kRecord) {
    if (*at != '{') Fail(at, Path(), "expected an object, found " + Describe(at));
    const pb::Message* prior =
        place.prior == nullptr ? nullptr : &place.prior->GetReflection()->GetMessage(*place.prior, field.field);
    SubRecord(value, field, plans_.Get(field.field->message_type()), prior, place.depth + 1, place.config_depth);
    return;
  }
  if (field.config && *at == '{') {
    Settings(value, field, place);
    return;
  }
  std::int64_t integer = 0;
  if (Scalar(value, field, at, false, &integer) && field.field == place.plan->type_code) {
    place.type_code = static_cast<int>(integer);
  }
}

void Descent::SubRecord(sj::value& value, const FieldPlan& field, const RecordPlan& plan, const pb::Message* prior,
                        int depth, int config_depth) {
  const char* at = Start(value);
  if (depth >= kMaxJsonDepth) Fail(at, Path(), DepthMessage(kMaxJsonDepth));
  sj::object object;
  if (value.get_object().get(object)) SyntaxFailure(at);
  wire_.Tag(static_cast<std::uint32_t>(field.number), WireType::kLength);
  Place place;
  place.plan = &plan;
  place.prior = prior;
  place.start = wire_.Open();
  place.depth = depth;
  place.config_depth = config_depth;
  if (plan.entry) {
    place.type_code = prior != nullptr ? TypeCodeIn(*prior, prior->GetReflection(), plan.type_code)
                                       : DefaultTypeCode(plan.type_code);
  }
  Record(object, place);
  wire_.Close(place.start);
}

void Descent::List(sj::value& value, const FieldPlan& field, const Place& place) {
  const char* at = Start(value);
  const int depth = place.depth + 1;
  if (depth >= kMaxJsonDepth) Fail(at, Path(), DepthMessage(kMaxJsonDepth));
  sj::array array;
  if (value.get_array().get(array)) SyntaxFailure(at);
  const RecordPlan* records = field.kind == ValueKind::kRecord ? &plans_.Get(field.field->message_type()) : nullptr;
  const bool packed = Packable(field.kind);
  const std::size_t before = wire_.size();
  std::size_t start = 0;
  if (packed) {
    wire_.Tag(static_cast<std::uint32_t>(field.number), WireType::kLength);
    start = wire_.Open();
  }
  int index = 0;
  for (auto result : array) {
    sj::value element;
    if (std::move(result).get(element)) SyntaxFailure(nullptr);
    const char* element_at = Start(element);
    path_.emplace_back(std::string_view(), index++);
    if (*element_at == 'n') {
      Null(element, element_at);
      Fail(element_at, Path(), "a list cannot hold null; remove it or give a value");
    }
    if (records != nullptr) {
      if (*element_at != '{') Fail(element_at, Path(), "expected an object, found " + Describe(element_at));
      SubRecord(element, field, *records, nullptr, depth + 1, place.config_depth);
    } else {
      std::int64_t unused;
      Scalar(element, field, element_at, packed, &unused);
    }
    path_.pop_back();
  }
  if (packed) {
    if (wire_.size() == start) {
      wire_.Truncate(before);
    } else {
      wire_.Close(start);
    }
  }
}

// ---------------------------------------------------------------- settings

// A `config` object: the record its "@type" names, wherever in the object
// that stands. The object is looked through for it (values skipped, not
// read) and then read from its start as that record.
void Descent::Settings(sj::value& value, const FieldPlan& field, Place& holder) {
  const char* at = Start(value);
  const int config_depth = holder.config_depth + 1;
  try {
    CheckConfigDepth(config_depth, [&] { return Path(); });
  } catch (const Error& e) {
    Fail(at, e.where(), e.message());
  }
  const int depth = holder.depth + 1;
  if (depth >= kMaxJsonDepth) Fail(at, Path(), DepthMessage(kMaxJsonDepth));
  sj::object object;
  if (value.get_object().get(object)) SyntaxFailure(at);

  const char* type_at = nullptr;
  const char* type_key = nullptr;
  std::string type_name;
  for (auto result : object) {
    sj::field member;
    if (std::move(result).get(member)) SyntaxFailure(nullptr);
    const char* key = member.key().raw();
    sj::value member_value = member.value();
    const char* value_at = Start(member_value);
    if (!KeyIs(key, kQuotedTypeKey) && KeyText(key, value_at) != kTypeKey) continue;
    if (*value_at != '"') {
      Fail(value_at, PathTo(kTypeKey), "expected the name of a record, found " + Describe(value_at));
    }
    type_name = StringAt(value_at, member_value.raw_json_token().size());
    type_at = value_at;
    type_key = key - 1;
    break;
  }
  if (type_at == nullptr) MissingType(holder);
  const pb::Descriptor* type = nullptr;
  if (const auto known = record_types_.find(type_name); known != record_types_.end()) {
    type = known->second;
  } else {
    try {
      type = RequireRecord(type_name);
    } catch (const Error& e) {
      Fail(type_at, PathTo(kTypeKey), e.message());
    }
    record_types_.emplace(type_name, type);
  }
  if (holder.plan->type == ::DeviceData::descriptor() && type != ::ConfigData::descriptor()) {
    Fail(type_at, PathTo(kTypeKey), "a DeviceData's config holds a ConfigData, not a " + type->full_name());
  }
  if (object.reset().error()) SyntaxFailure(at);

  wire_.Tag(static_cast<std::uint32_t>(field.number), WireType::kLength);
  Place settings;
  settings.plan = &plans_.Get(type);
  settings.start = wire_.Open();
  settings.depth = depth;
  settings.config_depth = config_depth;
  settings.type_key_at = Offset(type_key);
  settings.type_seen = true;
  if (settings.plan->entry) settings.type_code = DefaultTypeCode(settings.plan->type_code);
  Record(object, settings);
  EndSettings(type, settings.start);
  wire_.Close(settings.start);
  holder.held = type;
  holder.held_at = Offset(type_at);
}

// The settings' bytes are those their record encodes to: fields in number
// order, each once, defaults left out, whatever order the text gave.
void Descent::EndSettings(const pb::Descriptor* type, std::size_t start) {
  pb::Message* settings = Spare(type, &settings_);
  settings->Clear();
  if (!MergeEncoding(std::string_view(wire_.bytes()).substr(start), settings)) {
    throw Error(Path(), "the " + type->full_name() + " read from the JSON text does not encode; the reader is at fault");
  }
  wire_.Truncate(start);
  settings->AppendPartialToString(wire_.mutable_bytes());
}

[[noreturn]] void Descent::MissingType(const Place& holder) {
  // The object's closing brace, which the search has just passed.
  const simdjson::simdjson_result<const char*> next = document_.current_location();
  const char* brace = next.error() ? end_ : next.value_unsafe();
  while (brace > base_ && IsSpace(brace[-1])) --brace;
  if (brace > base_) --brace;

  const std::unique_ptr<pb::Message> state = StateOf(holder);
  std::string message = "the object names no record with \"@type\"";
  const pb::Descriptor* paired = HeldRecord(*state, pairing_);
  EntryKind kind;
  if (paired != nullptr && EntryKindOf(holder.plan->type, &kind)) {
    message += "; type " + DescribeTypeCode(kind, EntryTypeCode(*state)) + " holds " + paired->full_name() +
               ": add \"@type\": \"" + paired->full_name() + "\"";
  } else if (paired != nullptr) {
    message += ": add \"@type\": \"" + paired->full_name() + "\"";
  } else {
    message += "; add \"@type\" naming the record the bytes hold, or give them as base64 text";
  }
  Fail(brace, Path(), message);
}

// The record a `config` object named must be the one its entry's type code
// is paired with, when the code is paired at all.
void Descent::CheckHeldType(const Place& holder) {
  if (!holder.plan->entry) return;
  const EntryKind kind = holder.plan->kind;
  int code = holder.type_code;
  if (holder.type_code_unsure) {
    const std::unique_ptr<pb::Message> state = StateOf(holder);
    code = TypeCodeIn(*state, state->GetReflection(), holder.plan->type_code);
  }
  const pb::Descriptor* paired = pairing_.Find(kind, code);
  if (paired == nullptr || paired == holder.held) return;
  Fail(holder.held_at, PathTo("config"),
       "\"@type\" " + holder.held->full_name() + ", but type " + DescribeTypeCode(kind, code) + " holds " +
           paired->full_name() + "; make them agree, or pair the code with the record (--pair " +
           std::string(EntryKindName(kind)) + ":" + std::to_string(code) + "=" + holder.held->full_name() + ")");
}

// ------------------------------------------------------------------ values

bool Descent::Scalar(sj::value& value, const FieldPlan& field, const char* at, bool packed, std::int64_t* integer) {
  const char c = *at;
  auto wrong_kind = [&] { Fail(at, Path(), "expected " + Expected(field) + ", found " + Describe(at)); };
  auto check = [&](NumberProblem problem) {
    if (problem == NumberProblem::kNone) return;
    Fail(at, Path(),
         Describe(at) + " " + NumberProblemText(problem) + " for " + KindName(field.kind) + " field");
  };
  const bool number_or_text = c == '"' || IsNumberStart(c);
  switch (field.kind) {
    case ValueKind::kInt32: {
      std::int32_t number = 0;
      if (!number_or_text) wrong_kind();
      check(Integer(value, at, &number));
      PutInteger(field, packed, static_cast<std::uint64_t>(static_cast<std::int64_t>(number)));
      *integer = number;
      return true;
    }
    case ValueKind::kInt64: {
      std::int64_t number = 0;
      if (!number_or_text) wrong_kind();
      check(Integer(value, at, &number));
      PutInteger(field, packed, static_cast<std::uint64_t>(number));
      *integer = number;
      return true;
    }
    case ValueKind::kUInt32: {
      std::uint32_t number = 0;
      if (!number_or_text) wrong_kind();
      check(Integer(value, at, &number));
      PutInteger(field, packed, number);
      *integer = number;
      return true;
    }
    case ValueKind::kUInt64: {
      std::uint64_t number = 0;
      if (!number_or_text) wrong_kind();
      check(Integer(value, at, &number));
      PutInteger(field, packed, number);
      *integer = static_cast<std::int64_t>(number);
      return true;
    }
    case ValueKind::kFloat:
    case ValueKind::kDouble: {
      double number = 0;
      if (c == '"') {
        check(DoubleOfText(StringAt(at, value.raw_json_token().size()), &number));
      } else if (IsNumberStart(c)) {
        if (value.get_double().get(number)) number = DoubleOfJsonNumber(CheckedNumber(at));
      } else {
        wrong_kind();
      }
      if (!packed) wire_.Tag(static_cast<std::uint32_t>(field.number), WireTypeOf(field.type));
      if (field.kind == ValueKind::kDouble) {
        std::uint64_t bits;
        std::memcpy(&bits, &number, sizeof bits);
        wire_.Fixed64(bits);
        return true;
      }
      const float narrow = static_cast<float>(number);
      if (std::isinf(narrow) && !std::isinf(number)) check(NumberProblem::kOutOfRange);
      std::uint32_t bits;
      std::memcpy(&bits, &narrow, sizeof bits);
      wire_.Fixed32(bits);
      return true;
    }
    case ValueKind::kBool: {
      if (c != 't' && c != 'f') wrong_kind();
      bool truth = false;
      if (value.get_bool().get(truth)) SyntaxFailure(at);
      PutInteger(field, packed, truth ? 1 : 0);
      return true;
    }
    case ValueKind::kString: {
      if (c != '"') wrong_kind();
      const std::string_view text = StringAt(at, value.raw_json_token().size());
      wire_.Tag(static_cast<std::uint32_t>(field.number), WireType::kLength);
      wire_.Varint(text.size());
      wire_.Append(text);
      return true;
    }
    case ValueKind::kBytes: {
      if (c != '"') wrong_kind();
      if (!DecodeBase64(StringAt(at, value.raw_json_token().size()), &bytes_)) {
        Fail(at, Path(), Describe(at) + " is not base64 text (" + Expected(field) + ")");
      }
      wire_.Tag(static_cast<std::uint32_t>(field.number), WireType::kLength);
      wire_.Varint(bytes_.size());
      wire_.Append(bytes_);
      return true;
    }
    case ValueKind::kEnum: {
      const pb::EnumDescriptor* type = field.field->enum_type();
      std::int32_t number = 0;
      if (c == '"') {
        const std::string_view name = StringAt(at, value.raw_json_token().size());
        const pb::EnumValueDescriptor* found = nullptr;
        for (int i = 0; i < type->value_count() && found == nullptr; ++i) {
          if (type->value(i)->name() == name) found = type->value(i);
        }
        if (found == nullptr) {
          if (options_.ignore_unknown_fields) return false;
          std::vector<std::string> names;
          for (int i = 0; i < type->value_count(); ++i) names.push_back(type->value(i)->name());
          Fail(at, Path(), UnknownValue(type->full_name(), Shortened(name), names));
        }
        number = found->number();
      } else if (IsNumberStart(c)) {
        check(Integer(value, at, &number));
        // A closed enumeration (proto2) holds only its own values.
        if (field.field->file()->syntax() == pb::FileDescriptor::SYNTAX_PROTO2 &&
            type->FindValueByNumber(number) == nullptr) {
          Fail(at, Path(), Describe(at) + " is not a value of " + type->full_name());
        }
      } else {
        wrong_kind();
      }
      PutInteger(field, packed, static_cast<std::uint64_t>(static_cast<std::int64_t>(number)));
      *integer = number;
      return true;
    }
    default: wrong_kind();
  }
  return false;
}

// A number, or a string holding one, as an integer of type T.
template <typename T>
NumberProblem Descent::Integer(sj::value& value, const char* at, T* out) {
  if (*at == '"') return IntegerOfText(StringAt(at, value.raw_json_token().size()), out);
  std::int64_t number = 0;
  if (!value.get_int64().get(number)) return IntegerFromInteger(number, out);
  return IntegerOfJsonNumber(CheckedNumber(at), out);
}

void Descent::PutInteger(const FieldPlan& field, bool packed, std::uint64_t bits) {
  if (!packed) wire_.Tag(static_cast<std::uint32_t>(field.number), WireTypeOf(field.type));
  switch (field.type) {
    case FieldDescriptor::TYPE_SINT32: {
      const auto value = static_cast<std::int32_t>(bits);
      wire_.Varint((static_cast<std::uint32_t>(value) << 1) ^ static_cast<std::uint32_t>(value >> 31));
      return;
    }
    case FieldDescriptor::TYPE_SINT64: {
      const auto value = static_cast<std::int64_t>(bits);
      wire_.Varint((static_cast<std::uint64_t>(value) << 1) ^ static_cast<std::uint64_t>(value >> 63));
      return;
    }
    case FieldDescriptor::TYPE_FIXED32:
    case FieldDescriptor::TYPE_SFIXED32: wire_.Fixed32(static_cast<std::uint32_t>(bits)); return;
    case FieldDescriptor::TYPE_FIXED64:
    case FieldDescriptor::TYPE_SFIXED64: wire_.Fixed64(bits); return;
    default: wire_.Varint(bits); return;
  }
}

void Descent::Null(sj::value& value, const char* at) {
  bool null = false;
  if (value.is_null().get(null) || !null) SyntaxFailure(at);
}

// A member no field takes, skipped (ignore_unknown_fields) but still held
// to JSON's grammar and to the nesting limit.
void Descent::Skip(sj::value& value, int depth) {
  const char* at = Start(value);
  switch (*at) {
    case '{': {
      if (depth >= kMaxJsonDepth) Fail(at, Path(), DepthMessage(kMaxJsonDepth));
      sj::object object;
      if (value.get_object().get(object)) SyntaxFailure(at);
      for (auto result : object) {
        sj::field member;
        if (std::move(result).get(member)) SyntaxFailure(nullptr);
        sj::value member_value = member.value();
        KeyText(member.key().raw(), Start(member_value));
        Skip(member_value, depth + 1);
      }
      return;
    }
    case '[': {
      if (depth >= kMaxJsonDepth) Fail(at, Path(), DepthMessage(kMaxJsonDepth));
      sj::array array;
      if (value.get_array().get(array)) SyntaxFailure(at);
      for (auto result : array) {
        sj::value element;
        if (std::move(result).get(element)) SyntaxFailure(nullptr);
        Skip(element, depth + 1);
      }
      return;
    }
    case '"': StringAt(at, value.raw_json_token().size()); return;
    case 't':
    case 'f': {
      bool truth;
      if (value.get_bool().get(truth)) SyntaxFailure(at);
      return;
    }
    case 'n': Null(value, at); return;
    default: {
      if (!IsNumberStart(*at)) SyntaxFailure(at);
      double number;
      if (value.get_double().get(number)) CheckedNumber(at);
    }
  }
}

// -------------------------------------------------------------------- text

bool Descent::KeyIs(const char* key, std::string_view quoted) const {
  const char* start = key - 1;
  return static_cast<std::size_t>(end_ - start) >= quoted.size() &&
         std::memcmp(start, quoted.data(), quoted.size()) == 0;
}

// A member's name (`key` is just past its opening quote), unescaped.
std::string_view Descent::KeyText(const char* key, const char* value_at) {
  return StringAt(key - 1, static_cast<std::size_t>(value_at - (key - 1)));
}

// The contents of the string whose opening quote is at `at`, unescaped;
// the string ends within `bound` bytes.
std::string_view Descent::StringAt(const char* at, std::size_t bound) {
  const char* contents = at + 1;
  const std::size_t room = bound > 0 ? bound - 1 : 0;
  if (const void* quote = std::memchr(contents, '"', room)) {
    const auto length = static_cast<std::size_t>(static_cast<const char*>(quote) - contents);
    if (std::memchr(contents, '\\', length) == nullptr) return {contents, length};
  }
  if (unescaped_.size() < bound + simdjson::SIMDJSON_PADDING) unescaped_.resize(bound + simdjson::SIMDJSON_PADDING);
  std::uint8_t* out = reinterpret_cast<std::uint8_t*>(unescaped_.data());
  std::string_view text;
  if (parser_.unescape(sj::raw_json_string(reinterpret_cast<const std::uint8_t*>(contents)), out).get(text)) {
    SyntaxFailure(at);
  }
  return text;
}

std::string_view Descent::NumberText(const char* at) const {
  const char* end = at;
  while (end < end_ && IsNumberCharacter(*end)) ++end;
  return {at, static_cast<std::size_t>(end - at)};
}

// A number simdjson would not convert: either not JSON (then the text is
// at fault) or too large for any number type.
std::string_view Descent::CheckedNumber(const char* at) {
  const std::string_view text = NumberText(at);
  const char* after = at + text.size();
  const bool delimited = after < end_ && (IsSpace(*after) || *after == ',' || *after == '}' || *after == ']');
  if (!delimited || !IsJsonNumber(text)) SyntaxFailure(at);
  if (std::isinf(DoubleOfJsonNumber(text))) TooLarge(at);
  return text;
}

// What the value at `at` is, for messages; a value that is not JSON is
// the error to report instead.
std::string Descent::Describe(const char* at) {
  if (!Wellformed(at)) SyntaxFailure(at);
  return DescribeToken(at);
}

bool Descent::Wellformed(const char* at) const {
  std::string_view token;
  switch (*at) {
    case '{':
    case '[':
    case '"': return true;
    case 't': token = "true"; break;
    case 'f': token = "false"; break;
    case 'n': token = "null"; break;
    default:
      token = NumberText(at);
      if (!IsJsonNumber(token)) return false;
  }
  const char* after = at + token.size();
  return after < end_ && std::memcmp(at, token.data(), token.size()) == 0 &&
         (IsSpace(*after) || *after == ',' || *after == '}' || *after == ']');
}

std::string Descent::DescribeToken(const char* at) {
  switch (*at) {
    case '{': return "an object";
    case '[': return "a list";
    case 't': return "true";
    case 'f': return "false";
    case 'n': return "null";
    case '"': {
      const char* end = at + 1;
      while (end < end_ && *end != '"') end += *end == '\\' ? 2 : 1;
      const std::size_t bound = static_cast<std::size_t>(std::min(end + 1, end_) - at);
      return "the string \"" + Shortened(StringAt(at, bound)) + "\"";
    }
    default: return "the number " + std::string(NumberText(at));
  }
}

// ----------------------------------------------------------------- records

pb::Message* Descent::Spare(const pb::Descriptor* type,
                            std::unordered_map<const pb::Descriptor*, std::unique_ptr<pb::Message>>* spares) {
  std::unique_ptr<pb::Message>& spare = (*spares)[type];
  if (spare == nullptr) {
    if (type == root_->GetDescriptor()) {
      spare.reset(root_->New());
    } else if (const pb::Message* prototype = pb::MessageFactory::generated_factory()->GetPrototype(type)) {
      spare.reset(prototype->New());
    } else {
      if (dynamic_ == nullptr) dynamic_ = std::make_unique<pb::DynamicMessageFactory>();
      spare.reset(dynamic_->GetPrototype(type)->New());
    }
  }
  return spare.get();
}

// What the record of `place` holds so far: what it held before, with what
// has been read into it.
std::unique_ptr<pb::Message> Descent::StateOf(const Place& place) {
  std::unique_ptr<pb::Message> state(Spare(place.plan->type, &checks_)->New());
  if (place.prior != nullptr) state->CopyFrom(*place.prior);
  MergeEncoding(std::string_view(wire_.bytes()).substr(place.start), state.get());
  return state;
}

// ------------------------------------------------------------------ errors

[[noreturn]] void Descent::RootIsNoObject(const char* at) {
  bool valid = false;
  switch (*at) {
    case '[': valid = true; break;
    case '"': {
      std::string_view text;
      valid = !document_.get_string().get(text);
      break;
    }
    case 't':
    case 'f': {
      bool truth;
      valid = !document_.get_bool().get(truth);
      break;
    }
    case 'n': {
      bool null = false;
      valid = !document_.is_null().get(null) && null;
      break;
    }
    default: valid = IsNumberStart(*at) && IsJsonNumber(NumberText(at));
  }
  if (!valid) SyntaxFailure(at);
  Fail(at, "", "expected a JSON object holding a " + root_->GetDescriptor()->full_name() + ", found " + DescribeToken(at));
}

std::string Descent::Path() const {
  std::string path;
  for (const auto& [name, index] : path_) {
    if (!name.empty()) path = JoinPath(path, name);
    if (index >= 0) path = IndexPath(path, index);
  }
  return path;
}

std::string Descent::Position(std::size_t offset) const {
  offset = std::min(offset, text_.size());
  const std::size_t line = static_cast<std::size_t>(std::count(text_.begin(), text_.begin() + offset, '\n')) + 1;
  const std::size_t line_start = text_.rfind('\n', offset == 0 ? 0 : offset - 1);
  const std::size_t column =
      line_start == std::string_view::npos || offset == 0 ? offset + 1 : offset - line_start;
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

void Descent::Fail(std::size_t offset, const std::string& path, const std::string& message) const {
  std::string where = Position(offset);
  if (!path.empty()) where += " (" + path + ")";
  throw Error(where, message);
}

// simdjson found the text is not JSON: the scan that says where and how
// runs only now.
void Descent::SyntaxFailure(const char* near) {
  syntax_failed_ = true;
  if (const std::optional<SyntaxFault> fault = FindSyntaxFault(text_, kMaxJsonDepth)) {
    Fail(fault->offset, "", fault->message);
  }
  const simdjson::simdjson_result<const char*> current = document_.current_location();
  const char* at = near != nullptr ? near : current.error() ? end_ : current.value_unsafe();
  Fail(std::min(at, end_), "", "the JSON reader cannot read the text here; fix the JSON text there");
}

// A number beyond every floating-point type: reported at its field (in a
// list, the list's).
void Descent::TooLarge(const char* at) {
  if (!path_.empty() && path_.back().second >= 0) path_.pop_back();
  Fail(at, Path(),
       "the number " + std::string(NumberText(at)) +
           " is beyond the range of every number type; no field can hold a number that large");
}

}  // namespace

JsonReader::JsonReader(std::string_view text, const PairingCatalogue& pairing, const JsonReadOptions& options)
    : text_(text), pairing_(pairing), options_(options) {}

void JsonReader::Read(pb::Message* record) { Descent(text_, pairing_, options_).Read(record); }

}  // namespace gcuschema::document::internal
