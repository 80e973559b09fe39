#include "json/reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/io/coded_stream.h>
#include <nlohmann/json.hpp>

#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>

#include "walk.h"
#include "field_path.h"
#include "json/base64.h"
#include "json/keys.h"
#include "suggest.h"

namespace gcuschema::document::internal {
namespace {

namespace pb = google::protobuf;
using Type = JsonToken::Type;

// Far deeper than any record of the library nests, settings within
// settings included; anything deeper is refused before it is held.
constexpr int kMaxJsonDepth = 200;

// The parser's input: the text, telling the reader how far it has read.
class TrackedText {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  TrackedText(const char* at, const char** read) : at_(at), read_(read) {}
  const char& operator*() const { return *at_; }
  TrackedText& operator++() {
    *read_ = ++at_;
    return *this;
  }
  TrackedText operator++(int) {
    TrackedText before = *this;
    ++*this;
    return before;
  }
  bool operator==(const TrackedText& other) const { return at_ == other.at_; }
  bool operator!=(const TrackedText& other) const { return at_ != other.at_; }

 private:
  const char* at_;
  const char** read_;
};

bool IsSpace(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

std::string Shortened(const std::string& text) {
  constexpr std::size_t kShown = 40;
  return text.size() <= kShown ? text : text.substr(0, kShown) + "...";
}

std::string Describe(const JsonToken& token) {
  switch (token.type) {
    case Type::kNull: return "null";
    case Type::kBool: return token.boolean ? "true" : "false";
    case Type::kInteger: return "the number " + std::to_string(token.integer);
    case Type::kUnsigned: return "the number " + std::to_string(token.unsigned_value);
    case Type::kFloat: return "the number " + token.text;
    case Type::kString: return "the string \"" + Shortened(token.text) + "\"";
    case Type::kStartObject: return "an object";
    case Type::kStartArray: return "a list";
    default: return "the end of a value";
  }
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

// A number as a value of integer type T; false with *why when it is none.
template <typename T>
bool ToInteger(const JsonToken& token, T* out, std::string* why) {
  using Limits = std::numeric_limits<T>;
  auto from_double = [&](double value) {
    if (!std::isfinite(value) || std::trunc(value) != value) {
      *why = "is not an integer";
      return false;
    }
    // Bounds as doubles: T's maximum + 1 is a power of two, exact.
    const double upper = std::ldexp(1.0, Limits::digits);
    const double lower = Limits::is_signed ? -upper : 0.0;
    if (value < lower || value >= upper) {
      *why = "is out of range";
      return false;
    }
    *out = static_cast<T>(value);
    return true;
  };
  switch (token.type) {
    case Type::kInteger:
      if (token.integer < static_cast<std::int64_t>(Limits::min()) ||
          (token.integer > 0 && static_cast<std::uint64_t>(token.integer) > static_cast<std::uint64_t>(Limits::max()))) {
        *why = "is out of range";
        return false;
      }
      *out = static_cast<T>(token.integer);
      return true;
    case Type::kUnsigned:
      if (token.unsigned_value > static_cast<std::uint64_t>(Limits::max())) {
        *why = "is out of range";
        return false;
      }
      *out = static_cast<T>(token.unsigned_value);
      return true;
    case Type::kFloat: return from_double(token.floating);
    case Type::kString: {
      const std::string& text = token.text;
      const char* first = text.data();
      const char* last = first + text.size();
      T value{};
      auto [end, status] = std::from_chars(first, last, value);
      if (status == std::errc() && end == last && !text.empty()) {
        *out = value;
        return true;
      }
      if (status == std::errc::result_out_of_range && end == last) {
        *why = "is out of range";
        return false;
      }
      double floating = 0;
      auto [fend, fstatus] = std::from_chars(first, last, floating);
      if (text.empty() || fend != last || fstatus == std::errc::invalid_argument ||
          (text[0] != '-' && !std::isdigit(static_cast<unsigned char>(text[0])))) {
        *why = "is not a number";
        return false;
      }
      if (fstatus == std::errc::result_out_of_range) {
        *why = "is out of range";
        return false;
      }
      return from_double(floating);
    }
    default: *why = ""; return false;
  }
}

// A number as a double (floats are narrowed by the caller); false with *why.
bool ToDouble(const JsonToken& token, double* out, std::string* why) {
  switch (token.type) {
    case Type::kInteger: *out = static_cast<double>(token.integer); return true;
    case Type::kUnsigned: *out = static_cast<double>(token.unsigned_value); return true;
    case Type::kFloat: *out = token.floating; return true;
    case Type::kString: {
      const std::string& text = token.text;
      if (text == "NaN") {
        *out = std::numeric_limits<double>::quiet_NaN();
        return true;
      }
      if (text == "Infinity" || text == "-Infinity") {
        *out = text[0] == '-' ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
        return true;
      }
      const char* first = text.data();
      const char* last = first + text.size();
      auto [end, status] = std::from_chars(first, last, *out);
      if (text.empty() || end != last || status == std::errc::invalid_argument ||
          (text[0] != '-' && text[0] != '.' && !std::isdigit(static_cast<unsigned char>(text[0])))) {
        *why = "is not a number";
        return false;
      }
      if (status == std::errc::result_out_of_range || !std::isfinite(*out)) {
        *why = "is out of range";
        return false;
      }
      return true;
    }
    default: *why = ""; return false;
  }
}

}  // namespace

struct JsonReader::Frame {
  enum class Kind { kRecord, kList, kPending, kSkip };
  enum class Expect { kKey, kValue, kTypeName, kUnknown, kSkipValue };

  Kind kind;
  // The step of the field path this frame adds: a member, or a list element.
  std::string_view name;
  int index = -1;

  // kRecord: the record filled, and where in it the reader is.
  pb::Message* record = nullptr;
  const RecordPlan* plan = nullptr;
  Expect expect = Expect::kKey;
  const FieldPlan* member = nullptr;
  std::vector<char> seen;   // by field index
  std::vector<int> oneofs;  // by oneof: the member given, or -1
  bool type_seen = false;
  bool unknown_seen = false;
  // A settings record read from a `config` object: owned here until it is
  // encoded into its holder; its "@type" stood at `type_at`.
  std::unique_ptr<pb::Message> settings;
  std::size_t type_at = 0;
  // Levels of `config` above the record (kList: above the record holding
  // the list).
  int config_depth = 0;
  // A holder: the record its `config` object named, for the type-code check.
  const pb::Descriptor* held = nullptr;
  std::size_t held_at = 0;

  // kList: the list filled, and the index of the next element.
  const FieldPlan* list = nullptr;
  int next = 0;

  // kPending: a `config` object read before its "@type": its tokens, each
  // with the end of the token before it, to be read once the record is known.
  std::vector<std::pair<std::size_t, JsonToken>> tokens;
  int depth = 0;
  bool type_value_next = false;

  // kSkip: nesting left to skip.
  int skip_depth = 0;
};

JsonReader::JsonReader(std::string_view text, const PairingCatalogue& pairing, const ReadOptions& options)
    : text_(text), pairing_(pairing), options_(options), read_(text.data()) {}

JsonReader::~JsonReader() = default;

void JsonReader::Read(pb::Message* record) {
  root_ = record;
  if (text_.substr(0, 3) == "\xEF\xBB\xBF") {
    FailAt(0, "", "the text starts with a byte-order mark, which JSON text must not have; save it as UTF-8 without one");
  }
  const char* begin = text_.data();
  const char* end = begin + text_.size();
  nlohmann::json::sax_parse(TrackedText(begin, &read_), TrackedText(end, &read_), this,
                            nlohmann::json::input_format_t::json, /*strict=*/true);
  if (!frames_.empty()) Fail("", "the JSON text ends inside the document");
}

// ------------------------------------------------------------------ tokens

bool JsonReader::null() {
  JsonToken token{Type::kNull};
  token.end = read_ - text_.data();
  Handle(std::move(token));
  return true;
}

bool JsonReader::boolean(bool value) {
  JsonToken token{Type::kBool};
  token.boolean = value;
  token.end = read_ - text_.data();
  Handle(std::move(token));
  return true;
}

// The parser has read one character past a number to see where it ends.
bool JsonReader::number_integer(std::int64_t value) {
  JsonToken token{Type::kInteger};
  token.integer = value;
  token.end = read_ - text_.data() - 1;
  Handle(std::move(token));
  return true;
}

bool JsonReader::number_unsigned(std::uint64_t value) {
  if (value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
    return number_integer(static_cast<std::int64_t>(value));
  }
  JsonToken token{Type::kUnsigned};
  token.unsigned_value = value;
  token.end = read_ - text_.data() - 1;
  Handle(std::move(token));
  return true;
}

bool JsonReader::number_float(double value, const std::string& text) {
  JsonToken token{Type::kFloat};
  token.floating = value;
  token.text = text;
  token.end = read_ - text_.data() - 1;
  Handle(std::move(token));
  return true;
}

bool JsonReader::string(std::string& value) {
  JsonToken token{Type::kString};
  token.text = std::move(value);
  token.end = read_ - text_.data();
  Handle(std::move(token));
  return true;
}

bool JsonReader::binary(std::vector<std::uint8_t>&) { return false; }  // not produced from JSON text

bool JsonReader::start_object(std::size_t) {
  JsonToken token{Type::kStartObject};
  token.end = read_ - text_.data();
  Handle(std::move(token));
  return true;
}

bool JsonReader::key(std::string& value) {
  JsonToken token{Type::kKey};
  token.text = std::move(value);
  token.end = read_ - text_.data();
  Handle(std::move(token));
  return true;
}

bool JsonReader::end_object() {
  JsonToken token{Type::kEndObject};
  token.end = read_ - text_.data();
  Handle(std::move(token));
  return true;
}

bool JsonReader::start_array(std::size_t) {
  JsonToken token{Type::kStartArray};
  token.end = read_ - text_.data();
  Handle(std::move(token));
  return true;
}

bool JsonReader::end_array() {
  JsonToken token{Type::kEndArray};
  token.end = read_ - text_.data();
  Handle(std::move(token));
  return true;
}

void JsonReader::SyntaxError(std::size_t position, int id, const std::string& what) {
  // nlohmann's text: "[json.exception.parse_error.101] parse error at line
  // 3, column 15: syntax error while parsing value - invalid literal; last
  // read: '...'"; its place is given as ours.
  std::string message = what;
  if (message.rfind("[json.exception.", 0) == 0) {
    const std::size_t close = message.find("] ");
    if (close != std::string::npos) message.erase(0, close + 2);
    const std::size_t colon = message.rfind("parse error", 0) == 0 ? message.find(": ") : std::string::npos;
    if (colon != std::string::npos) message.erase(0, colon + 2);
  }
  // The position counts the character that was wrong, or is the end.
  std::size_t at = std::min(position, text_.size());
  if (at > 0 && position <= text_.size() && at < text_.size()) --at;
  if (id == 406) {
    // A number beyond any floating-point type; its field says which.
    previous_end_ = current_end_;
    current_end_ = at;
    FailAt(TokenStart(), frames_.empty() ? "" : Path(),
           message + "; no field can hold a number that large");
  }
  FailAt(at, "", message + "; fix the JSON text there");
}

// ---------------------------------------------------------------- handling

void JsonReader::Handle(JsonToken token) {
  previous_end_ = current_end_;
  current_end_ = token.end;
  if (frames_.empty()) {
    if (token.type != Type::kStartObject) {
      FailAt(TokenStart(), "",
             "expected a JSON object holding a " + root_->GetDescriptor()->full_name() + ", found " + Describe(token));
    }
    Frame root{Frame::Kind::kRecord};
    root.record = root_;
    root.plan = &plans_.Get(root_->GetDescriptor());
    Push(std::move(root));
    return;
  }
  if (token.type == Type::kStartObject || token.type == Type::kStartArray) {
    int depth = 0;
    for (const Frame& frame : frames_) {
      depth += frame.kind == Frame::Kind::kPending ? frame.depth + 1
               : frame.kind == Frame::Kind::kSkip  ? frame.skip_depth
                                                   : 1;
    }
    if (depth >= kMaxJsonDepth) {
      FailAt(TokenStart(), Path(),
             "the JSON nests deeper than " + std::to_string(kMaxJsonDepth) + " levels, deeper than any record does");
    }
  }
  Frame& top = frames_.back();
  switch (top.kind) {
    case Frame::Kind::kRecord: HandleInRecord(top, token); break;
    case Frame::Kind::kList: HandleInList(top, token); break;
    case Frame::Kind::kPending: HandlePending(top, token); break;
    case Frame::Kind::kSkip:
      if (token.type == Type::kStartObject || token.type == Type::kStartArray) ++top.skip_depth;
      if ((token.type == Type::kEndObject || token.type == Type::kEndArray) && --top.skip_depth == 0) {
        frames_.pop_back();
      }
      break;
  }
}

void JsonReader::HandleInRecord(Frame& frame, JsonToken& token) {
  const Frame::Expect expect = frame.expect;
  frame.expect = Frame::Expect::kKey;
  switch (expect) {
    case Frame::Expect::kKey:
      if (token.type == Type::kEndObject) {
        EndRecord();
      } else {
        Member(frame, token.text);
      }
      return;
    case Frame::Expect::kValue: Value(frame, *frame.member, token, false); return;
    case Frame::Expect::kSkipValue: Skip(token); return;
    case Frame::Expect::kTypeName: {
      const std::string& name = root_->GetDescriptor()->full_name();
      if (token.type != Type::kString) {
        FailAt(TokenStart(), kTypeKey, "expected the name of the document's record, found " + Describe(token));
      }
      if (token.text != name) {
        Remedy remedy;
        if (FindRecord(token.text) != nullptr) {
          remedy.kind = Remedy::Kind::kNameRecord;
          remedy.record = token.text;
        }
        FailAt(TokenStart(), kTypeKey,
               "the document names itself a " + Shortened(token.text) + ", but is read as a " + name +
                   "; correct its \"@type\", or read it as the record it names",
               remedy);
      }
      return;
    }
    case Frame::Expect::kUnknown: {
      const std::string where = PathTo(kUnknownKey);
      if (token.type != Type::kString) {
        FailAt(TokenStart(), where, "expected base64 text of encoded fields, found " + Describe(token));
      }
      std::string bytes;
      if (!DecodeBase64(token.text, &bytes)) FailAt(TokenStart(), where, "is not base64 text");
      google::protobuf::io::CodedInputStream input(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                                   static_cast<int>(bytes.size()));
      if (!frame.record->MergePartialFromCodedStream(&input) || !input.ConsumedEntireMessage()) {
        FailAt(TokenStart(), where, "is not the encoding of fields of a " + frame.plan->type->full_name());
      }
      return;
    }
  }
}

void JsonReader::Member(Frame& frame, const std::string& name) {
  if (name == kTypeKey) {
    if (frame.type_seen) FailAt(TokenStart(), PathTo(name), "\"@type\" is given twice; remove one");
    frame.type_seen = true;
    if (frames_.size() != 1) {
      FailAt(TokenStart(), PathTo(name),
             "only the document and the object of a `config` name their record with \"@type\"; remove it");
    }
    frame.expect = Frame::Expect::kTypeName;
    return;
  }
  if (name == kUnknownKey) {
    if (frame.unknown_seen) FailAt(TokenStart(), PathTo(name), "\"@unknown\" is given twice; remove one");
    frame.unknown_seen = true;
    frame.expect = Frame::Expect::kUnknown;
    return;
  }
  const FieldPlan* field = frame.plan->Find(name);
  if (field == nullptr) {
    if (!name.empty() && name[0] == '[' && frame.plan->has_extensions) {
      throw UnsupportedError(Position(TokenStart()) + " (" + PathTo(name) + ")", "extensions are not supported");
    }
    if (options_.ignore_unknown_fields) {
      frame.expect = Frame::Expect::kSkipValue;
      return;
    }
    std::vector<std::string> names;
    for (const FieldPlan& f : frame.plan->fields) names.push_back(f.field->json_name());
    bool named = false;
    const std::string message = UnknownName("a field of " + frame.plan->type->full_name(), Shortened(name), names, &named);
    Remedy remedy;
    if (!named) {
      remedy.kind = Remedy::Kind::kListNames;
      remedy.record = frame.plan->type->full_name();
    }
    FailAt(TokenStart(), PathTo(name), message, remedy);
  }
  if (field->kind == ValueKind::kUnsupported) {
    throw UnsupportedError(Position(TokenStart()) + " (" + PathTo(field->field->name()) + ")",
                           field->unsupported + " is not supported");
  }
  const int index = static_cast<int>(field - frame.plan->fields.data());
  if (frame.seen[index]) {
    FailAt(TokenStart(), PathTo(field->field->name()),
           "the field is given twice (as \"" + field->field->json_name() + "\" or \"" + field->field->name() +
               "\"); keep one");
  }
  frame.seen[index] = 1;
  frame.member = field;
  frame.expect = Frame::Expect::kValue;
}

void JsonReader::Value(Frame& frame, const FieldPlan& field, JsonToken& token, bool in_list) {
  const std::string_view name = field.field->name();
  if (token.type == Type::kNull) return;  // the field's default: not set
  if (const pb::OneofDescriptor* oneof = field.field->real_containing_oneof()) {
    int& given = frame.oneofs[oneof->index()];
    const int index = static_cast<int>(&field - frame.plan->fields.data());
    if (given >= 0 && given != index) {
      FailAt(TokenStart(), PathTo(name),
             "\"" + frame.plan->fields[given].field->name() + "\" and \"" + std::string(name) + "\" are both set, but " +
                 oneof->name() + " holds one of them at most; keep one");
    }
    given = index;
  }
  if (field.repeated && !in_list) {
    if (token.type != Type::kStartArray) {
      FailAt(TokenStart(), PathTo(name), "expected a list, found " + Describe(token));
    }
    Frame list{Frame::Kind::kList};
    list.name = name;
    list.record = frame.record;
    list.list = &field;
    list.config_depth = frame.config_depth;
    Push(std::move(list));
    return;
  }
  if (field.kind == ValueKind::kRecord) {
    if (token.type != Type::kStartObject) {
      FailAt(TokenStart(), PathTo(name), "expected an object, found " + Describe(token));
    }
    Frame sub{Frame::Kind::kRecord};
    sub.name = name;
    sub.record = frame.record->GetReflection()->MutableMessage(frame.record, field.field);
    sub.plan = &plans_.Get(field.field->message_type());
    sub.config_depth = frame.config_depth;
    Push(std::move(sub));
    return;
  }
  if (field.config && token.type == Type::kStartObject) {
    StartConfig(frame, field);
    return;
  }
  Scalar(frame.record, field, token, false);
}

void JsonReader::HandleInList(Frame& frame, JsonToken& token) {
  const FieldPlan& field = *frame.list;
  if (token.type == Type::kEndArray) {
    frames_.pop_back();
    return;
  }
  const int index = frame.next++;
  if (token.type == Type::kNull) {
    FailAt(TokenStart(), IndexPath(Path(), index), "a list cannot hold null; remove it or give a value");
  }
  if (field.kind == ValueKind::kRecord) {
    if (token.type != Type::kStartObject) {
      FailAt(TokenStart(), IndexPath(Path(), index), "expected an object, found " + Describe(token));
    }
    Frame element{Frame::Kind::kRecord};
    element.index = index;
    element.record = frame.record->GetReflection()->AddMessage(frame.record, field.field);
    element.plan = &plans_.Get(field.field->message_type());
    element.config_depth = frame.config_depth;
    Push(std::move(element));
    return;
  }
  Scalar(frame.record, field, token, true);
}

void JsonReader::Scalar(pb::Message* record, const FieldPlan& field, JsonToken& token, bool add) {
  const pb::Reflection* reflection = record->GetReflection();
  const pb::FieldDescriptor* descriptor = field.field;
  auto where = [&] {
    return add ? IndexPath(Path(), frames_.back().next - 1) : PathTo(descriptor->name());
  };
  auto wrong_kind = [&] {
    FailAt(TokenStart(), where(), "expected " + Expected(field) + ", found " + Describe(token));
  };
  auto bad_number = [&](const std::string& why) {
    if (why.empty()) wrong_kind();
    FailAt(TokenStart(), where(),
           Describe(token) + " " + why + " for " + KindName(field.kind) + " field");
  };
  std::string why;
  switch (field.kind) {
    case ValueKind::kInt32: {
      std::int32_t value;
      if (!ToInteger(token, &value, &why)) bad_number(why);
      add ? reflection->AddInt32(record, descriptor, value) : reflection->SetInt32(record, descriptor, value);
      return;
    }
    case ValueKind::kInt64: {
      std::int64_t value;
      if (!ToInteger(token, &value, &why)) bad_number(why);
      add ? reflection->AddInt64(record, descriptor, value) : reflection->SetInt64(record, descriptor, value);
      return;
    }
    case ValueKind::kUInt32: {
      std::uint32_t value;
      if (!ToInteger(token, &value, &why)) bad_number(why);
      add ? reflection->AddUInt32(record, descriptor, value) : reflection->SetUInt32(record, descriptor, value);
      return;
    }
    case ValueKind::kUInt64: {
      std::uint64_t value;
      if (!ToInteger(token, &value, &why)) bad_number(why);
      add ? reflection->AddUInt64(record, descriptor, value) : reflection->SetUInt64(record, descriptor, value);
      return;
    }
    case ValueKind::kFloat: {
      double value;
      if (!ToDouble(token, &value, &why)) bad_number(why);
      if (NegativeZero(token)) value = -0.0;
      const float narrow = static_cast<float>(value);
      if (std::isinf(narrow) && !std::isinf(value)) bad_number("is out of range");
      add ? reflection->AddFloat(record, descriptor, narrow) : reflection->SetFloat(record, descriptor, narrow);
      return;
    }
    case ValueKind::kDouble: {
      double value;
      if (!ToDouble(token, &value, &why)) bad_number(why);
      if (NegativeZero(token)) value = -0.0;
      add ? reflection->AddDouble(record, descriptor, value) : reflection->SetDouble(record, descriptor, value);
      return;
    }
    case ValueKind::kBool:
      if (token.type != Type::kBool) wrong_kind();
      add ? reflection->AddBool(record, descriptor, token.boolean)
          : reflection->SetBool(record, descriptor, token.boolean);
      return;
    case ValueKind::kString:
      if (token.type != Type::kString) wrong_kind();
      add ? reflection->AddString(record, descriptor, std::move(token.text))
          : reflection->SetString(record, descriptor, std::move(token.text));
      return;
    case ValueKind::kBytes: {
      if (token.type != Type::kString) wrong_kind();
      std::string bytes;
      if (!DecodeBase64(token.text, &bytes)) {
        FailAt(TokenStart(), where(), Describe(token) + " is not base64 text (" + Expected(field) + ")");
      }
      add ? reflection->AddString(record, descriptor, std::move(bytes))
          : reflection->SetString(record, descriptor, std::move(bytes));
      return;
    }
    case ValueKind::kEnum: {
      const pb::EnumDescriptor* type = descriptor->enum_type();
      int number = 0;
      if (token.type == Type::kString) {
        const pb::EnumValueDescriptor* value = type->FindValueByName(token.text);
        if (value == nullptr) {
          if (options_.ignore_unknown_fields) return;
          std::vector<std::string> names;
          for (int i = 0; i < type->value_count(); ++i) names.push_back(type->value(i)->name());
          FailAt(TokenStart(), where(), UnknownValue(type->full_name(), Shortened(token.text), names));
        }
        number = value->number();
      } else if (token.type == Type::kInteger || token.type == Type::kUnsigned) {
        if (!ToInteger(token, &number, &why)) bad_number(why);
        // A closed enumeration (proto2) holds only its own values.
        if (descriptor->file()->syntax() == pb::FileDescriptor::SYNTAX_PROTO2 &&
            type->FindValueByNumber(number) == nullptr) {
          FailAt(TokenStart(), where(), Describe(token) + " is not a value of " + type->full_name());
        }
      } else {
        wrong_kind();
      }
      add ? reflection->AddEnumValue(record, descriptor, number)
          : reflection->SetEnumValue(record, descriptor, number);
      return;
    }
    default: wrong_kind();
  }
}

// "-0" is read as the integer zero; as a float it is negative zero.
bool JsonReader::NegativeZero(const JsonToken& token) const {
  if (token.type != Type::kInteger || token.integer != 0) return false;
  const std::size_t start = TokenStart();
  return start < text_.size() && text_[start] == '-';
}

void JsonReader::Skip(JsonToken& token) {
  if (token.type == Type::kStartObject || token.type == Type::kStartArray) {
    Frame skip{Frame::Kind::kSkip};
    skip.skip_depth = 1;
    Push(std::move(skip));
  }
}

// ---------------------------------------------------------------- settings

void JsonReader::StartConfig(Frame& holder, const FieldPlan& field) {
  Frame pending{Frame::Kind::kPending};
  pending.name = field.field->name();
  pending.config_depth = holder.config_depth + 1;
  if (pending.config_depth > kMaxConfigDepth) {
    const Error e = Walk::TooDeep(PathTo(field.field->name()));
    FailAt(TokenStart(), e.where(), e.message());
  }
  Push(std::move(pending));
}

void JsonReader::HandlePending(Frame& frame, JsonToken& token) {
  if (frame.depth == 0) {
    if (frame.type_value_next) {
      if (token.type != Type::kString) {
        FailAt(TokenStart(), PathTo(kTypeKey), "expected the name of a record, found " + Describe(token));
      }
      ResolvePending(std::move(token.text));
      return;
    }
    if (token.type == Type::kKey && token.text == kTypeKey) {
      frame.type_value_next = true;
      return;
    }
    if (token.type == Type::kEndObject) {
      const Frame& holder = frames_[frames_.size() - 2];
      std::string message = "the object names no record with \"@type\"";
      const pb::Descriptor* paired = PairedSettings(*holder.record, pairing_);
      EntryKind kind;
      if (paired != nullptr && EntryKindOf(holder.plan->type, &kind)) {
        message += "; type " + DescribeTypeCode(kind, EntryTypeCode(*holder.record)) + " holds " +
                   paired->full_name() + ": add \"@type\": \"" + paired->full_name() + "\"";
      } else if (paired != nullptr) {
        message += ": add \"@type\": \"" + paired->full_name() + "\"";
      } else {
        message += "; add \"@type\" naming the record the bytes hold, or give them as base64 text";
      }
      FailAt(TokenStart(), Path(), message);
    }
  }
  if (token.type == Type::kStartObject || token.type == Type::kStartArray) ++frame.depth;
  if (token.type == Type::kEndObject || token.type == Type::kEndArray) --frame.depth;
  frame.tokens.emplace_back(previous_end_, std::move(token));
}

void JsonReader::ResolvePending(std::string type_name) {
  const std::size_t type_at = TokenStart();
  const pb::Descriptor* type = nullptr;
  try {
    type = RequireRecord(type_name);
  } catch (const Error& e) {
    FailAt(type_at, PathTo(kTypeKey), e.message(), e.remedy());
  }
  Frame pending = std::move(frames_.back());
  frames_.pop_back();
  const Frame& holder = frames_.back();
  if (holder.plan->type == ::DeviceData::descriptor() && type != ::ConfigData::descriptor()) {
    FailAt(type_at, JoinPath(PathTo(pending.name), kTypeKey), "a DeviceData's config holds a ConfigData, not a " + type->full_name());
  }
  Frame settings{Frame::Kind::kRecord};
  settings.name = pending.name;
  settings.settings = NewSettings(type);
  settings.record = settings.settings.get();
  settings.plan = &plans_.Get(type);
  settings.type_seen = true;
  settings.type_at = type_at;
  settings.config_depth = pending.config_depth;
  Push(std::move(settings));

  // What came before "@type", read now that the record is known.
  const std::size_t previous = previous_end_;
  const std::size_t current = current_end_;
  for (auto& [before, token] : pending.tokens) {
    current_end_ = before;
    Handle(std::move(token));
  }
  previous_end_ = previous;
  current_end_ = current;
}

void JsonReader::EndRecord() {
  Frame& frame = frames_.back();
  if (frame.held != nullptr) CheckHeldType(frame);
  std::unique_ptr<pb::Message> settings = std::move(frame.settings);
  const std::size_t type_at = frame.type_at;
  frames_.pop_back();
  if (settings == nullptr) return;
  Frame& holder = frames_.back();
  std::string bytes;
  settings->SerializePartialToString(&bytes);
  const FieldPlan& config = holder.plan->fields[holder.plan->config];
  holder.record->GetReflection()->SetString(holder.record, config.field, std::move(bytes));
  holder.held = settings->GetDescriptor();
  holder.held_at = type_at;
  ReleaseSettings(std::move(settings));
}

// The record a `config` object named must be the one its entry's type code
// is paired with, when the code is paired at all.
void JsonReader::CheckHeldType(const Frame& holder) {
  if (!holder.plan->entry) return;
  const EntryKind kind = holder.plan->kind;
  const int code = TypeCodeIn(*holder.record, holder.record->GetReflection(), holder.plan->type_code);
  const pb::Descriptor* paired = pairing_.Find(kind, code);
  if (paired == nullptr || paired == holder.held) return;
  Remedy remedy;
  remedy.kind = Remedy::Kind::kPairCode;
  remedy.record = holder.held->full_name();
  remedy.entry = kind;
  remedy.code = code;
  FailAt(holder.held_at, PathTo("config"),
         "\"@type\" " + holder.held->full_name() + ", but type " + DescribeTypeCode(kind, code) + " holds " +
             paired->full_name() + "; make them agree, or pair the code with the record",
         remedy);
}

std::unique_ptr<pb::Message> JsonReader::NewSettings(const pb::Descriptor* type) {
  auto& spare = spare_settings_[type];
  if (spare.empty()) return NewRecord(type);
  std::unique_ptr<pb::Message> record = std::move(spare.back());
  spare.pop_back();
  return record;
}

void JsonReader::ReleaseSettings(std::unique_ptr<pb::Message> record) {
  record->Clear();
  spare_settings_[record->GetDescriptor()].push_back(std::move(record));
}

// ------------------------------------------------------------------ places

void JsonReader::Push(Frame frame) {
  if (frame.kind == Frame::Kind::kRecord) {
    frame.seen.assign(frame.plan->fields.size(), 0);
    frame.oneofs.assign(frame.plan->type->oneof_decl_count(), -1);
  }
  frames_.push_back(std::move(frame));
}

std::string JsonReader::Path() const {
  std::string path;
  for (const Frame& frame : frames_) {
    if (frame.kind == Frame::Kind::kSkip) break;
    if (!frame.name.empty()) path = JoinPath(path, frame.name);
    if (frame.index >= 0) path = IndexPath(path, frame.index);
  }
  return path;
}

std::string JsonReader::PathTo(std::string_view member) const { return JoinPath(Path(), member); }

std::size_t JsonReader::TokenStart() const {
  std::size_t at = std::min(previous_end_, text_.size());
  const std::size_t end = std::min(std::max(current_end_, at), text_.size());
  while (at < end && IsSpace(text_[at])) ++at;
  if (at < end && (text_[at] == ',' || text_[at] == ':')) ++at;
  while (at < end && IsSpace(text_[at])) ++at;
  return at;
}

std::string JsonReader::Position(std::size_t offset) const {
  offset = std::min(offset, text_.size());
  const std::size_t line = static_cast<std::size_t>(std::count(text_.begin(), text_.begin() + offset, '\n')) + 1;
  const std::size_t line_start = text_.rfind('\n', offset == 0 ? 0 : offset - 1);
  const std::size_t column =
      line_start == std::string_view::npos || (offset == 0) ? offset + 1 : offset - line_start;
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

void JsonReader::Fail(const std::string& path, const std::string& message) const { throw Error(path, message); }

void JsonReader::FailAt(std::size_t start, const std::string& path, const std::string& message,
                        const Remedy& remedy) const {
  std::string where = Position(start);
  if (!path.empty()) where += " (" + path + ")";
  throw Error(where, message, remedy);
}

}  // namespace gcuschema::document::internal
