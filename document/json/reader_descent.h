// Private to the JSON reader: its recursive descent over simdjson's
// on-demand values, shared by the files that make it up (reader.cc: records
// and settings; reader_values.cc: scalar values; reader_text.cc: the text,
// and errors placed in it).
#ifndef GCUSCHEMA_DOCUMENT_JSON_READER_DESCENT_H
#define GCUSCHEMA_DOCUMENT_JSON_READER_DESCENT_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/dynamic_message.h>
#include <google/protobuf/message.h>
#include <simdjson.h>

#include <gcuschema/document/io.h>
#include <gcuschema/document/pairing.h>

#include "field_path.h"
#include "json/number_text.h"
#include "json/record_plan.h"
#include "walk.h"
#include "json/wire.h"

namespace gcuschema::document::internal {

namespace pb = google::protobuf;
namespace sj = simdjson::ondemand;

// Far deeper than any record of the library nests, settings within
// settings included; anything deeper is refused before it is held.
inline constexpr int kMaxJsonDepth = 200;
inline constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);
// A field of a record being read that its "@unknown" member encodes.
inline constexpr std::size_t kInUnknown = kNowhere - 1;

inline bool IsSpace(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }
inline bool IsNumberStart(char c) { return c == '-' || (c >= '0' && c <= '9'); }

// Lists of numbers, bools and enumerations are encoded packed.
inline bool Packable(ValueKind kind) {
  return kind != ValueKind::kString && kind != ValueKind::kBytes && kind != ValueKind::kRecord;
}

// Long text cut for messages.
std::string Shortened(std::string_view text);

// A record being read: its object's place in the text and in the encoding,
// and what the checks at its end need.
struct RecordBeingRead {
  const RecordPlan* plan = nullptr;
  std::size_t start = 0;  // where its fields' encoding starts
  int depth = 0;          // objects and lists around its object
  int config_depth = 0;   // levels of `config` above it
  // Settings: where their "@type" member stands, read before the rest.
  std::size_t type_key_at = kNowhere;
  bool type_seen = false;
  // Its "@unknown" member: where its name stands, and the one field number
  // it encodes (-1 when it encodes several or none).
  std::size_t unknown_at = kNowhere;
  int unknown_only = -1;
  // Where its fields start in JsonDescent::given_ and its oneofs in oneofs_.
  std::size_t given = 0;
  std::size_t oneofs = 0;
  // An entry: its type code as read so far, unsure once "@unknown" may
  // have set it; the record its `config` object named, and where.
  int type_code = 0;
  bool type_code_unsure = false;
  const pb::Descriptor* held = nullptr;
  std::size_t held_at = 0;
};

class JsonDescent {
 public:
  JsonDescent(std::string_view text, const ReadOptions& options)
      : text_(text), pairing_(options.pairing), options_(options), walk_(options.pairing) {}

  void Read(google::protobuf::Message* record);
  // The encoding of the `type` the text holds, as the record would write it.
  void Encode(const google::protobuf::Descriptor* type, std::string* encoded);

 private:
  // The descent: the whole text into wire_, the text then let go.
  void Descend(const pb::Descriptor* type);
  void Record(sj::object& object, RecordBeingRead& place);
  bool Annotation(sj::value& value, std::string_view name, std::size_t key_at, RecordBeingRead& place);
  void DocumentType(sj::value& value);
  void UnknownFields(sj::value& value, std::size_t key_at, RecordBeingRead& place);
  void FieldsInUnknown(RecordBeingRead& place);
  [[noreturn]] void GivenTwoWays(const FieldPlan& field, std::size_t key_at, const RecordBeingRead& place);
  [[noreturn]] void OneofGivenTwoWays(const FieldPlan& member, std::size_t key_at, const std::string& path,
                                      const FieldPlan& encoded, const RecordBeingRead& place);
  void UnknownMember(sj::value& value, std::string_view name, std::size_t key_at, const RecordBeingRead& place);
  void Member(sj::value& value, const FieldPlan& field, RecordBeingRead& place);
  void SubRecord(sj::value& value, const FieldPlan& field, const RecordPlan& plan, int depth, int config_depth);
  void List(sj::value& value, const FieldPlan& field, const RecordBeingRead& place);
  void Settings(sj::value& value, const FieldPlan& field, RecordBeingRead& holder);
  // A value of a scalar field, encoded (its tag too unless `packed`); false
  // when it sets nothing. `*integer` gets integers and enumeration numbers.
  bool Scalar(sj::value& value, const FieldPlan& field, const char* at, bool packed, std::int64_t* integer);
  // An entry's type code given in a string that holds no number: by the
  // name its kind gives it; false when it sets nothing.
  bool TypeCodeName(sj::value& value, const FieldPlan& field, const pb::EnumDescriptor* names, const char* at,
                    std::int64_t* integer);
  [[noreturn]] void TypeNameInPlainJson() const;
  template <typename T>
  NumberProblem Integer(sj::value& value, const char* at, T* out);
  void PutInteger(const FieldPlan& field, bool packed, std::uint64_t bits);
  void Null(sj::value& value, const char* at);
  void Skip(sj::value& value, int depth);
  void EndSettings(const pb::Descriptor* type, std::size_t start);
  void PutInNumberOrder(std::size_t first);
  void CheckHeldType(const RecordBeingRead& holder);
  [[noreturn]] void MissingType(const RecordBeingRead& holder);
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
  std::unique_ptr<pb::Message> StateOf(const RecordBeingRead& place);

  // Errors.
  std::string Path() const;
  std::string PathTo(std::string_view member) const { return JoinPath(Path(), member); }
  std::string Position(std::size_t offset) const;
  [[noreturn]] void Fail(std::size_t offset, const std::string& path, const std::string& message,
                         const Remedy& remedy = {}) const;
  [[noreturn]] void Fail(const char* at, const std::string& path, const std::string& message,
                         const Remedy& remedy = {}) const {
    Fail(Offset(at), path, message, remedy);
  }
  [[noreturn]] void SyntaxFailure(const char* near);
  [[noreturn]] void TooLarge(const char* at);

  std::string_view text_;
  const PairingCatalogue& pairing_;
  const ReadOptions& options_;
  const pb::Descriptor* root_ = nullptr;
  RecordPlans plans_;

  simdjson::padded_string padded_;
  const char* base_ = nullptr;  // the padded copy of the text
  const char* end_ = nullptr;
  sj::parser parser_;
  sj::document document_;
  sj::object root_object_;
  bool root_type_seen_ = false;
  // Whether the document carries "@type" (its own or a `config` object's):
  // it is then this library's JSON, which may give type codes by name.
  // Plain proto3 JSON may not: the first name read before any "@type" is
  // kept, refused when the document ends without one.
  bool typed_ = false;
  const pb::EnumValueDescriptor* untyped_name_ = nullptr;
  std::size_t untyped_name_at_ = kNowhere;
  std::string untyped_name_path_;
  bool syntax_failed_ = false;

  Wire wire_;
  // Whether wire_ is what the record it holds encodes to: fields in number
  // order and no value a record leaves out (a proto3 zero, "@unknown").
  // When it is, an encode needs no record.
  bool canonical_ = true;
  // Encoding without a record: a record's fields put in number order where
  // the text gave them in another (as the writer does where declaration
  // and number orders differ).
  bool encoding_ = false;
  struct Encoded {
    int number;
    std::size_t start;
  };
  std::vector<Encoded> encoded_;  // per record read, its fields' encodings
  std::string reordered_;
  // Per record read, per field of its plan: where the member giving it
  // stands, kInUnknown when "@unknown" encodes it, kNowhere when neither.
  std::vector<std::size_t> given_;
  std::vector<int> oneofs_;  // per record read, per oneof: the member given, or -1
  // Where the reader stands, for messages.
  Walk walk_;
  std::string unescaped_;
  std::string bytes_;
  // The records settings name, by name, as found so far.
  std::unordered_map<std::string, const pb::Descriptor*> record_types_;
  // Makes the spare records of types outside the generated pool: declared
  // before them, so that it outlives them.
  std::unique_ptr<pb::DynamicMessageFactory> dynamic_;
  std::unordered_map<const pb::Descriptor*, std::unique_ptr<pb::Message>> settings_;
  std::unordered_map<const pb::Descriptor*, std::unique_ptr<pb::Message>> checks_;
};

}  // namespace gcuschema::document::internal

#endif
