#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <google/protobuf/descriptor.h>

#include <gcuschema/document/error.h>

#include "json/base64.h"
#include "json/number_text.h"
#include "json/reader_descent.h"
#include "json/syntax.h"
#include "suggest.h"

namespace gcuschema::document::internal {
namespace {

using pb::FieldDescriptor;

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

}  // namespace

// ------------------------------------------------------------------ values

bool JsonDescent::Scalar(sj::value& value, const FieldPlan& field, const char* at, bool packed, std::int64_t* integer) {
  const char c = *at;
  auto wrong_kind = [&] { Fail(at, Path(), "expected " + Expected(field) + ", found " + Describe(at)); };
  auto check = [&](NumberProblem problem) {
    if (problem == NumberProblem::kNone) return;
    Fail(at, Path(),
         Describe(at) + " " + NumberProblemText(problem) + " for " + KindName(field.kind) + " field");
  };
  // A zero of a field without presence is left out by the record: the
  // encoding then is not the record's.
  const auto note_zero = [&](bool zero) {
    if (zero && !field.repeated && !field.explicit_presence) canonical_ = false;
  };
  const bool number_or_text = c == '"' || IsNumberStart(c);
  // An integer of the field's type; signed ones sign-extended to 64 bits,
  // as their varint holds them.
  const auto read_integer = [&](auto number) {
    if (!number_or_text) wrong_kind();
    check(Integer(value, at, &number));
    PutInteger(field, packed, static_cast<std::uint64_t>(static_cast<std::int64_t>(number)));
    *integer = static_cast<std::int64_t>(number);
    note_zero(number == 0);
    return true;
  };
  switch (field.kind) {
    case ValueKind::kInt32: return read_integer(std::int32_t{0});
    case ValueKind::kInt64: return read_integer(std::int64_t{0});
    case ValueKind::kUInt32: return read_integer(std::uint32_t{0});
    case ValueKind::kUInt64: return read_integer(std::uint64_t{0});
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
      note_zero(number == 0);
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
      note_zero(!truth);
      PutInteger(field, packed, truth ? 1 : 0);
      return true;
    }
    case ValueKind::kString: {
      if (c != '"') wrong_kind();
      const std::string_view text = StringAt(at, value.raw_json_token().size());
      note_zero(text.empty());
      wire_.Tag(static_cast<std::uint32_t>(field.number), WireType::kLength);
      wire_.Varint(text.size());
      wire_.Append(text);
      return true;
    }
    case ValueKind::kBytes: {
      if (c != '"') wrong_kind();
      // Decoded where it goes, its length put before it after.
      wire_.Tag(static_cast<std::uint32_t>(field.number), WireType::kLength);
      const std::size_t start = wire_.Open();
      if (!DecodeBase64(StringAt(at, value.raw_json_token().size()), wire_.mutable_bytes())) {
        Fail(at, Path(), Describe(at) + " is not base64 text (" + Expected(field) + ")");
      }
      note_zero(wire_.size() == start);
      wire_.Close(start);
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
      note_zero(number == 0);
      PutInteger(field, packed, static_cast<std::uint64_t>(static_cast<std::int64_t>(number)));
      *integer = number;
      return true;
    }
    default: wrong_kind();
  }
  return false;
}

// Names are this library's JSON, read where the document carries "@type";
// the place of one read before any "@type" is kept for the refusal, should
// the document end without one (plain proto3 JSON, where a type code is a
// number).
bool JsonDescent::TypeCodeName(sj::value& value, const FieldPlan& field, const pb::EnumDescriptor* names,
                               const char* at, std::int64_t* integer) {
  const std::string_view text = StringAt(at, value.raw_json_token().size());
  std::int64_t number = 0;
  if (IntegerOfText(text, &number) != NumberProblem::kNotANumber) return Scalar(value, field, at, false, integer);
  const pb::EnumValueDescriptor* found = nullptr;
  for (int i = 0; i < names->value_count() && found == nullptr; ++i) {
    if (names->value(i)->name() == text) found = names->value(i);
  }
  if (found == nullptr) {
    // Skipped as an enumeration's unknown name is.
    if (options_.ignore_unknown_fields) return false;
    std::vector<std::string> candidates;
    for (int i = 0; i < names->value_count(); ++i) candidates.push_back(names->value(i)->name());
    bool named = false;
    const std::string message =
        UnknownName("a number or a value of " + names->full_name(), Shortened(text), candidates, &named);
    Remedy remedy;
    if (!named) {
      remedy.kind = Remedy::Kind::kListNames;
      remedy.record = names->containing_type()->full_name();
    }
    Fail(at, Path(), message, remedy);
  }
  if (!typed_ && untyped_name_ == nullptr) {
    untyped_name_ = found;
    untyped_name_at_ = Offset(at);
    untyped_name_path_ = Path();
  }
  // Code 0, a proto3 zero, is left out by the record.
  if (found->number() == 0 && !field.explicit_presence) canonical_ = false;
  PutInteger(field, false, static_cast<std::uint64_t>(static_cast<std::int64_t>(found->number())));
  *integer = found->number();
  return true;
}

void JsonDescent::TypeNameInPlainJson() const {
  const std::string code = std::to_string(untyped_name_->number());
  Fail(untyped_name_at_, untyped_name_path_,
       "\"" + untyped_name_->name() + "\" is the name of type code " + code +
           ", but the document is plain proto3 JSON (it carries no \"@type\"), which gives type codes as "
           "numbers: write " + code + ", or make it expanded JSON by giving it \"@type\": \"" + root_->full_name() +
           "\" as its first member");
}

// A number, or a string holding one, as an integer of type T.
template <typename T>
NumberProblem JsonDescent::Integer(sj::value& value, const char* at, T* out) {
  if (*at == '"') return IntegerOfText(StringAt(at, value.raw_json_token().size()), out);
  std::int64_t number = 0;
  if (!value.get_int64().get(number)) return IntegerFromInteger(number, out);
  return IntegerOfJsonNumber(CheckedNumber(at), out);
}

void JsonDescent::PutInteger(const FieldPlan& field, bool packed, std::uint64_t bits) {
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

void JsonDescent::Null(sj::value& value, const char* at) {
  bool null = false;
  if (value.is_null().get(null) || !null) SyntaxFailure(at);
}

// A member no field takes, skipped (ignore_unknown_fields) but still held
// to JSON's grammar and to the nesting limit.
void JsonDescent::Skip(sj::value& value, int depth) {
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

}  // namespace gcuschema::document::internal
