#include "json/reader.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <string>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/wire_format_lite.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>

#include "article.h"
#include "walk.h"
#include "field_path.h"
#include "json/base64.h"
#include "json/keys.h"
#include "json/reader_descent.h"
#include "json/syntax.h"
#include "record_prototypes.h"
#include "suggest.h"

namespace gcuschema::document::internal {
namespace {

using pb::FieldDescriptor;

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

}  // namespace

void JsonDescent::Read(pb::Message* record) {
  Descend(record->GetDescriptor());
  record->Clear();
  if (!MergeEncoding(wire_.bytes(), record)) {
    throw Error("", "the " + root_->full_name() + " read from the JSON text does not encode; the reader is at fault");
  }
}

void JsonDescent::Encode(const pb::Descriptor* type, std::string* encoded) {
  encoding_ = true;
  Descend(type);
  if (canonical_) {
    encoded->swap(*wire_.mutable_bytes());
    return;
  }
  // Put in order by the record itself.
  pb::Arena arena;
  pb::Message* record = Spare(type, &checks_)->New(&arena);
  if (!MergeEncoding(wire_.bytes(), record)) {
    throw Error("", "the " + type->full_name() + " read from the JSON text does not encode; the reader is at fault");
  }
  wire_ = Wire();
  encoded->clear();
  record->AppendPartialToString(encoded);
}

void JsonDescent::Descend(const pb::Descriptor* type) {
  root_ = type;
  const std::string& name = type->full_name();
  if (text_.substr(0, 3) == "\xEF\xBB\xBF") {
    Fail(std::size_t{0}, "",
         "the text starts with a byte-order mark, which JSON text must not have; save it as UTF-8 without one");
  }
  static_assert(kJsonReadAhead >= simdjson::SIMDJSON_PADDING);
  if (options_.readable_after >= kJsonReadAhead) {
    base_ = text_.data();
  } else {
    padded_ = simdjson::padded_string(text_);
    if (padded_.size() != text_.size()) throw std::bad_alloc();
    base_ = padded_.data();
  }
  end_ = base_ + text_.size();
  const simdjson::error_code error =
      parser_.iterate(base_, text_.size(), text_.size() + simdjson::SIMDJSON_PADDING).get(document_);
  if (error == simdjson::EMPTY) {
    Fail(text_.size(), "", "the text holds no JSON value; expected an object holding " + WithArticle(name));
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

  RecordBeingRead place;
  place.plan = &plans_.Get(type);
  if (place.plan->entry) place.type_code = DefaultTypeCode(place.plan->type_code);
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
  if (untyped_name_ != nullptr && !typed_) TypeNameInPlainJson();

  // The text and its index are done with: given back before the record
  // grows, so that the two never take memory at once.
  parser_ = sj::parser();
  padded_ = simdjson::padded_string();
  if (wire_.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    throw Error("", "the " + name + " read from the JSON text encodes to more than 2 GiB, more than a record holds");
  }
}

// ----------------------------------------------------------------- records

void JsonDescent::Record(sj::object& object, RecordBeingRead& place) {
  const RecordPlan& plan = *place.plan;
  place.given = given_.size();
  given_.resize(place.given + plan.fields.size(), kNowhere);
  place.oneofs = oneofs_.size();
  oneofs_.resize(place.oneofs + static_cast<std::size_t>(plan.type->oneof_decl_count()), -1);
  std::size_t next = 0;  // the field the writer's order puts next
  const std::size_t encoded = encoded_.size();
  bool in_number_order = true;
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
    std::size_t& given = given_[place.given + index];
    if (given == kInUnknown) GivenTwoWays(*field, Offset(key - 1), place);
    if (given != kNowhere) {
      const std::string& json_name = field->field->json_name();
      const std::string& name = field->field->name();
      Fail(key - 1, PathTo(name),
           "the field is given twice (as \"" + json_name + (json_name == name ? "" : "\" or \"" + name) +
               "\"); keep one");
    }
    given = Offset(key - 1);
    next = index + 1;
    const Walk::Step step = walk_.Member(field->field->name());
    const std::size_t before = wire_.size();
    Member(value, *field, place);
    if (wire_.size() != before) {
      if (encoded_.size() > encoded && field->number < encoded_.back().number) in_number_order = false;
      encoded_.push_back({field->number, before});
    }
  }
  if (!in_number_order) {
    if (encoding_ && canonical_) {
      PutInNumberOrder(encoded);
    } else {
      canonical_ = false;
    }
  }
  encoded_.resize(encoded);
  given_.resize(place.given);
  oneofs_.resize(place.oneofs);
  if (place.held != nullptr) CheckHeldType(place);
}

// "@type" and "@unknown": true when `name` is one.
bool JsonDescent::Annotation(sj::value& value, std::string_view name, std::size_t key_at, RecordBeingRead& place) {
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
    if (place.unknown_at != kNowhere) Fail(key_at, PathTo(name), "\"@unknown\" is given twice; remove one");
    UnknownFields(value, key_at, place);
    return true;
  }
  return false;
}

void JsonDescent::DocumentType(sj::value& value) {
  root_type_seen_ = true;
  typed_ = true;
  const char* at = Start(value);
  const std::string& name = root_->full_name();
  if (*at != '"') Fail(at, kTypeKey, "expected the name of the document's record, found " + Describe(at));
  const std::string_view given = StringAt(at, value.raw_json_token().size());
  if (given != name) {
    Remedy remedy;
    if (FindRecord(given) != nullptr) {
      remedy.kind = Remedy::Kind::kNameRecord;
      remedy.record = std::string(given);
    } else {
      // No record of that name: say which were meant.
      try {
        RequireRecord(given);
      } catch (const Error& e) {
        Fail(at, kTypeKey, e.message(), e.remedy());
      }
    }
    Fail(at, kTypeKey,
         "the document names itself " + WithArticle(Shortened(given)) + ", but is read as " + WithArticle(name) +
             "; correct its \"@type\", or read it as the record it names",
         remedy);
  }
}

// After an error in a document whose "@type" was not met yet: a later one
// naming another record says better what is wrong.
void JsonDescent::LateDocumentType() {
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
void JsonDescent::UnknownFields(sj::value& value, std::size_t key_at, RecordBeingRead& place) {
  const char* at = Start(value);
  const std::string where = PathTo(kUnknownKey);
  if (*at != '"') Fail(at, where, "expected base64 text of encoded fields, found " + Describe(at));
  bytes_.clear();
  if (!DecodeBase64(StringAt(at, value.raw_json_token().size()), &bytes_)) Fail(at, where, "is not base64 text");
  pb::Message* check = Spare(place.plan->type, &checks_);
  check->Clear();
  pb::io::CodedInputStream input(reinterpret_cast<const std::uint8_t*>(bytes_.data()), static_cast<int>(bytes_.size()));
  if (!check->MergePartialFromCodedStream(&input) || !input.ConsumedEntireMessage()) {
    Fail(at, where, "is not the encoding of fields of " + WithArticle(place.plan->type->full_name()));
  }
  place.unknown_at = key_at;
  FieldsInUnknown(place);
  wire_.Append(bytes_);
  canonical_ = false;  // a record writes its unknown fields last
  if (place.plan->entry) place.type_code_unsure = true;
}

// The fields of the record that its "@unknown" (in bytes_) encodes, as the
// runtime parses them: a field it keeps aside as unknown (a wire type not
// the field's, a value its closed enumeration lacks) is no field given. A
// field given both there and by a member is refused: which value the
// record ends up with would depend on the members' order. Of such members
// the first in the text is reported, on whichever side of "@unknown" they
// stand, so that the error too is the same for every order.
void JsonDescent::FieldsInUnknown(RecordBeingRead& place) {
  const RecordPlan& plan = *place.plan;
  pb::Message* check = Spare(plan.type, &checks_);
  const pb::Reflection* reflection = check->GetReflection();
  std::vector<const pb::FieldDescriptor*> set;
  const FieldPlan* clash = nullptr;     // the field of the member reported
  const FieldPlan* encoded = nullptr;   // the oneof member "@unknown" encodes, when another
  std::size_t clash_at = kNowhere;
  int only = 0;  // the one field number met so far, -1 after a second
  const auto* data = reinterpret_cast<const std::uint8_t*>(bytes_.data());
  pb::io::CodedInputStream input(data, static_cast<int>(bytes_.size()));
  for (;;) {
    const int start = input.CurrentPosition();
    const std::uint32_t tag = input.ReadTag();
    if (tag == 0 || !pb::internal::WireFormatLite::SkipField(&input, tag)) break;
    const int number = static_cast<int>(pb::internal::WireFormatLite::GetTagFieldNumber(tag));
    only = only == 0 || only == number ? number : -1;
    const pb::FieldDescriptor* descriptor = plan.type->FindFieldByNumber(number);
    if (descriptor == nullptr) continue;
    check->Clear();
    pb::io::CodedInputStream field(data + start, input.CurrentPosition() - start);
    if (!check->MergePartialFromCodedStream(&field)) continue;
    set.clear();
    reflection->ListFields(*check, &set);
    if (set.empty() && !reflection->GetUnknownFields(*check).empty()) continue;  // kept aside
    const std::size_t index = static_cast<std::size_t>(descriptor->index());
    std::size_t& given = given_[place.given + index];
    if (given != kNowhere && given != kInUnknown) {
      if (given < clash_at) {
        clash_at = given;
        clash = &plan.fields[index];
        encoded = nullptr;
      }
      continue;
    }
    given = kInUnknown;
    if (const pb::OneofDescriptor* oneof = descriptor->real_containing_oneof()) {
      int& member = oneofs_[place.oneofs + static_cast<std::size_t>(oneof->index())];
      if (member < 0) {
        member = static_cast<int>(index);
      } else if (const std::size_t other = given_[place.given + static_cast<std::size_t>(member)];
                 other != kInUnknown && other < clash_at) {
        clash_at = other;
        clash = &plan.fields[static_cast<std::size_t>(member)];
        encoded = &plan.fields[index];
      }
    }
  }
  place.unknown_only = only > 0 ? only : -1;
  if (clash == nullptr) return;
  if (encoded != nullptr) OneofGivenTwoWays(*clash, clash_at, PathTo(clash->field->name()), *encoded, place);
  GivenTwoWays(*clash, clash_at, place);
}

// A field given by the member at `key_at` that "@unknown" encodes too.
void JsonDescent::GivenTwoWays(const FieldPlan& field, std::size_t key_at, const RecordBeingRead& place) {
  std::string message = "the field is given twice: by this member, and encoded in \"@unknown\" (" +
                        Position(place.unknown_at) + "); keep one: remove the member to keep the encoded value, or ";
  if (place.unknown_only == field.number) {
    message += "remove \"@unknown\" (it holds nothing else) to keep the member's";
  } else {
    message += "take the field's encoding out of \"@unknown\" to keep the member's";
  }
  Fail(key_at, PathTo(field.field->name()), message);
}

// The member at `key_at` (its field at `path`) sets a oneof of which
// "@unknown" encodes another member.
void JsonDescent::OneofGivenTwoWays(const FieldPlan& member, std::size_t key_at, const std::string& path,
                                   const FieldPlan& encoded, const RecordBeingRead& place) {
  Fail(key_at, path,
       "\"" + member.field->name() + "\" and \"" + encoded.field->name() + "\" (encoded in \"@unknown\", " +
           Position(place.unknown_at) + ") are both set, but " + member.field->real_containing_oneof()->name() +
           " holds one of them at most; keep one");
}

void JsonDescent::UnknownMember(sj::value& value, std::string_view name, std::size_t key_at, const RecordBeingRead& place) {
  const RecordPlan& plan = *place.plan;
  if (!name.empty() && name[0] == '[' && plan.has_extensions) {
    throw UnsupportedError(Position(key_at) + " (" + PathTo(name) + ")", "extensions are not supported");
  }
  if (options_.ignore_unknown_fields) {
    const std::string owned(name);  // the name may be unescaped where the skip unescapes too
    const Walk::Step step = walk_.Member(owned);
    Skip(value, place.depth + 1);
    return;
  }
  std::vector<std::string> names;
  for (const FieldPlan& f : plan.fields) names.push_back(f.field->json_name());
  bool named = false;
  const std::string message = UnknownName("a field of " + plan.type->full_name(), Shortened(name), names, &named);
  Remedy remedy;
  if (!named) {
    remedy.kind = Remedy::Kind::kListNames;
    remedy.record = plan.type->full_name();
  }
  Fail(key_at, PathTo(name), message, remedy);
}

void JsonDescent::Member(sj::value& value, const FieldPlan& field, RecordBeingRead& place) {
  const char* at = Start(value);
  if (*at == 'n') {  // the field's default: not set
    Null(value, at);
    return;
  }
  if (const pb::OneofDescriptor* oneof = field.field->real_containing_oneof()) {
    int& given = oneofs_[place.oneofs + static_cast<std::size_t>(oneof->index())];
    const int index = static_cast<int>(&field - place.plan->fields.data());
    if (given >= 0 && given != index &&
        given_[place.given + static_cast<std::size_t>(given)] == kInUnknown) {
      OneofGivenTwoWays(field, given_[place.given + static_cast<std::size_t>(index)], Path(),
                        place.plan->fields[static_cast<std::size_t>(given)], place);
    }
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
    SubRecord(value, field, plans_.Get(field.field->message_type()), place.depth + 1, place.config_depth);
    return;
  }
  if (field.config && *at == '{') {
    Settings(value, field, place);
    return;
  }
  std::int64_t integer = 0;
  const bool type_code = field.field == place.plan->type_code;
  const pb::EnumDescriptor* names = type_code && field.kind != ValueKind::kEnum ? place.plan->type_code_names : nullptr;
  const bool set = names != nullptr && *at == '"' ? TypeCodeName(value, field, names, at, &integer)
                                                  : Scalar(value, field, at, false, &integer);
  if (set && type_code) place.type_code = static_cast<int>(integer);
}

void JsonDescent::SubRecord(sj::value& value, const FieldPlan& field, const RecordPlan& plan, int depth,
                            int config_depth) {
  const char* at = Start(value);
  if (depth >= kMaxJsonDepth) Fail(at, Path(), DepthMessage(kMaxJsonDepth));
  sj::object object;
  if (value.get_object().get(object)) SyntaxFailure(at);
  wire_.Tag(static_cast<std::uint32_t>(field.number), WireType::kLength);
  RecordBeingRead place;
  place.plan = &plan;
  place.start = wire_.Open();
  place.depth = depth;
  place.config_depth = config_depth;
  if (plan.entry) place.type_code = DefaultTypeCode(plan.type_code);
  Record(object, place);
  wire_.Close(place.start);
}

void JsonDescent::List(sj::value& value, const FieldPlan& field, const RecordBeingRead& place) {
  const char* at = Start(value);
  const int depth = place.depth + 1;
  if (depth >= kMaxJsonDepth) Fail(at, Path(), DepthMessage(kMaxJsonDepth));
  sj::array array;
  if (value.get_array().get(array)) SyntaxFailure(at);
  const RecordPlan* records = field.kind == ValueKind::kRecord ? &plans_.Get(field.field->message_type()) : nullptr;
  const bool packed = Packable(field.kind);
  if (packed != field.field->is_packed()) canonical_ = false;
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
    const Walk::Step step = walk_.Element(index++);
    if (*element_at == 'n') {
      Null(element, element_at);
      Fail(element_at, Path(), "a list cannot hold null; remove it or give a value");
    }
    if (records != nullptr) {
      if (*element_at != '{') Fail(element_at, Path(), "expected an object, found " + Describe(element_at));
      SubRecord(element, field, *records, depth + 1, place.config_depth);
    } else {
      std::int64_t unused;
      Scalar(element, field, element_at, packed, &unused);
    }
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
void JsonDescent::Settings(sj::value& value, const FieldPlan& field, RecordBeingRead& holder) {
  const char* at = Start(value);
  const int config_depth = holder.config_depth + 1;
  if (config_depth > kMaxConfigDepth) {
    const Error e = Walk::TooDeep(Path());
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
  typed_ = true;
  const pb::Descriptor* type = nullptr;
  if (const auto known = record_types_.find(type_name); known != record_types_.end()) {
    type = known->second;
  } else {
    try {
      type = RequireRecord(type_name);
    } catch (const Error& e) {
      Fail(type_at, PathTo(kTypeKey), e.message(), e.remedy());
    }
    record_types_.emplace(type_name, type);
  }
  if (holder.plan->type == ::DeviceData::descriptor() && type != ::ConfigData::descriptor()) {
    Fail(type_at, PathTo(kTypeKey), "a DeviceData's config holds a ConfigData, not " + WithArticle(type->full_name()));
  }
  if (object.reset().error()) SyntaxFailure(at);

  const std::size_t tag_at = wire_.size();
  wire_.Tag(static_cast<std::uint32_t>(field.number), WireType::kLength);
  RecordBeingRead settings;
  settings.plan = &plans_.Get(type);
  settings.start = wire_.Open();
  settings.depth = depth;
  settings.config_depth = config_depth;
  settings.type_key_at = Offset(type_key);
  settings.type_seen = true;
  if (settings.plan->entry) settings.type_code = DefaultTypeCode(settings.plan->type_code);
  // The settings' bytes are made canonical here, whatever the text's order.
  const bool canonical = canonical_;
  canonical_ = true;
  Record(object, settings);
  if (!canonical_) EndSettings(type, settings.start);
  canonical_ = canonical;
  if (wire_.size() == settings.start && !field.repeated && !field.explicit_presence) {
    wire_.Truncate(tag_at);  // empty bytes, which a record leaves out
  } else {
    wire_.Close(settings.start);
  }
  holder.held = type;
  holder.held_at = Offset(type_at);
}

// The settings' bytes are those their record encodes to: fields in number
// order, each once, defaults left out, whatever order the text gave.
void JsonDescent::EndSettings(const pb::Descriptor* type, std::size_t start) {
  pb::Message* settings = Spare(type, &settings_);
  settings->Clear();
  if (!MergeEncoding(std::string_view(wire_.bytes()).substr(start), settings)) {
    throw Error(Path(), "the " + type->full_name() + " read from the JSON text does not encode; the reader is at fault");
  }
  wire_.Truncate(start);
  settings->AppendPartialToString(wire_.mutable_bytes());
}

// The encodings of a record's fields (from `first` in encoded_, which
// tile the record's bytes to the end of the encoding) in number order.
// Those already in place stay where they are: a document's fields are out
// of order only after the first field declared before a lower number.
void JsonDescent::PutInNumberOrder(std::size_t first) {
  const std::string_view bytes = wire_.bytes();
  std::vector<std::pair<int, std::string_view>> fields;
  for (auto field = encoded_.begin() + static_cast<std::ptrdiff_t>(first); field != encoded_.end(); ++field) {
    const std::size_t end = field + 1 == encoded_.end() ? wire_.size() : (field + 1)->start;
    fields.emplace_back(field->number, bytes.substr(field->start, end - field->start));
  }
  std::vector<std::pair<int, std::string_view>> sorted = fields;
  std::sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::size_t moved = 0;
  while (sorted[moved].first == fields[moved].first) ++moved;
  reordered_.clear();
  for (std::size_t i = moved; i < sorted.size(); ++i) reordered_.append(sorted[i].second);
  const std::size_t start = static_cast<std::size_t>(fields[moved].second.data() - bytes.data());
  wire_.mutable_bytes()->replace(start, reordered_.size(), reordered_);
}

[[noreturn]] void JsonDescent::MissingType(const RecordBeingRead& holder) {
  // The object's closing brace, which the search has just passed.
  const simdjson::simdjson_result<const char*> next = document_.current_location();
  const char* brace = next.error() ? end_ : next.value_unsafe();
  while (brace > base_ && IsSpace(brace[-1])) --brace;
  if (brace > base_) --brace;

  const std::unique_ptr<pb::Message> state = StateOf(holder);
  std::string message = "the object names no record with \"@type\"";
  const pb::Descriptor* paired = PairedSettings(*state, pairing_);
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
void JsonDescent::CheckHeldType(const RecordBeingRead& holder) {
  if (!holder.plan->entry) return;
  const EntryKind kind = holder.plan->kind;
  int code = holder.type_code;
  if (holder.type_code_unsure) {
    const std::unique_ptr<pb::Message> state = StateOf(holder);
    code = TypeCodeIn(*state, state->GetReflection(), holder.plan->type_code);
  }
  const pb::Descriptor* paired = pairing_.Find(kind, code);
  if (paired == nullptr || paired == holder.held) return;
  // A user editing the text mends the text: the type code that holds the
  // record named, or settings of the record the code holds. Pairing the
  // code otherwise is offered only where no code of the kind holds it.
  const std::string held = holder.held->full_name();
  std::string message = "\"@type\" " + held + ", but type " + DescribeTypeCode(kind, code) + " holds " +
                        paired->full_name();
  const std::vector<int> codes = CodesHolding(pairing_, kind, holder.held);
  Remedy remedy;
  if (codes.empty()) {
    message += ", and no " + std::string(EntryKindName(kind)) + " type code holds " + held +
               ": give the entry settings of " + paired->full_name() + ", or pair its code with " + held;
    remedy.kind = Remedy::Kind::kPairCode;
    remedy.record = held;
    remedy.entry = kind;
    remedy.code = code;
  } else if (codes.size() == 1) {
    message += "; " + held + " is what type " + DescribeTypeCode(kind, codes.front()) + " holds: set type to " +
               std::to_string(codes.front()) + " if the settings are right, or give settings of " +
               paired->full_name() + " if the type is";
  } else {
    std::string list;
    for (std::size_t i = 0; i < codes.size(); ++i) {
      if (i > 0) list += i + 1 == codes.size() ? " and " : ", ";
      list += DescribeTypeCode(kind, codes[i]);
    }
    message += "; " + held + " is what types " + list + " hold: set type to the one meant if the settings are " +
               "right, or give settings of " + paired->full_name() + " if the type is";
  }
  Fail(holder.held_at, PathTo("config"), message, remedy);
}

// ----------------------------------------------------------------- records

pb::Message* JsonDescent::Spare(const pb::Descriptor* type,
                            std::unordered_map<const pb::Descriptor*, std::unique_ptr<pb::Message>>* spares) {
  std::unique_ptr<pb::Message>& spare = (*spares)[type];
  if (spare == nullptr) {
    if (const pb::Message* prototype = GeneratedPrototype(type)) {
      spare.reset(prototype->New());
    } else {
      if (dynamic_ == nullptr) dynamic_ = std::make_unique<pb::DynamicMessageFactory>();
      spare.reset(dynamic_->GetPrototype(type)->New());
    }
  }
  return spare.get();
}

// What has been read into the record of `place` so far.
std::unique_ptr<pb::Message> JsonDescent::StateOf(const RecordBeingRead& place) {
  std::unique_ptr<pb::Message> state(Spare(place.plan->type, &checks_)->New());
  MergeEncoding(std::string_view(wire_.bytes()).substr(place.start), state.get());
  return state;
}

void ReadJson(std::string_view text, pb::Message* record, const ReadOptions& options) {
  JsonDescent(text, options).Read(record);
}

void EncodeJson(std::string_view text, const pb::Descriptor* type, std::string* encoded, const ReadOptions& options) {
  JsonDescent(text, options).Encode(type, encoded);
}

}  // namespace gcuschema::document::internal
