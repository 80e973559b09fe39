// Reads JSON text into records: nlohmann's parser lexes the text and hands
// over one token at a time; the reader keeps a stack of what it is filling
// (records, lists, settings whose "@type" is yet to come) and turns each
// token into field values by the record's descriptor. Nothing of the text
// is held as a tree, so memory stays proportional to the record read.
#ifndef GCUSCHEMA_DOCUMENT_JSON_READER_H
#define GCUSCHEMA_DOCUMENT_JSON_READER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <google/protobuf/message.h>

#include <gcuschema/document/io.h>
#include <gcuschema/document/pairing.h>

#include "json/record_plan.h"

namespace gcuschema::document::internal {

// One token of JSON text, as the parser reports it, with the offset just
// past its end.
struct JsonToken {
  enum class Type {
    kNull,
    kBool,
    kInteger,   // fits in int64
    kUnsigned,  // beyond int64, fits in uint64
    kFloat,     // anything else; `text` holds the number as written
    kString,
    kKey,
    kStartObject,
    kEndObject,
    kStartArray,
    kEndArray,
  };
  Type type;
  bool boolean = false;
  std::int64_t integer = 0;
  std::uint64_t unsigned_value = 0;
  double floating = 0;
  std::string text;
  std::size_t end = 0;
};

class JsonReader {
 public:
  JsonReader(std::string_view text, const PairingCatalogue& pairing, const ReadOptions& options);
  ~JsonReader();
  JsonReader(const JsonReader&) = delete;
  JsonReader& operator=(const JsonReader&) = delete;

  // Reads the whole text into `record`; throws Error.
  void Read(google::protobuf::Message* record);

  // What the parser calls (see nlohmann::json_sax); each returns true to go on.
  bool null();
  bool boolean(bool value);
  bool number_integer(std::int64_t value);
  bool number_unsigned(std::uint64_t value);
  bool number_float(double value, const std::string& text);
  bool string(std::string& value);
  bool binary(std::vector<std::uint8_t>& value);
  bool start_object(std::size_t elements);
  bool key(std::string& value);
  bool end_object();
  bool start_array(std::size_t elements);
  bool end_array();
  template <typename Exception>
  bool parse_error(std::size_t position, const std::string& last_token, const Exception& error) {
    SyntaxError(position, error.id, error.what());
    return false;
  }

  // Where the parser has read to; kept current by the parser's input.
  const char** read_position() { return &read_; }

 private:
  struct Frame;

  void Handle(JsonToken token);
  void HandleInRecord(Frame& frame, JsonToken& token);
  void HandleInList(Frame& frame, JsonToken& token);
  void HandlePending(Frame& frame, JsonToken& token);
  void Member(Frame& frame, const std::string& name);
  void Value(Frame& frame, const FieldPlan& field, JsonToken& token, bool in_list);
  void Scalar(google::protobuf::Message* record, const FieldPlan& field, JsonToken& token, bool add);
  void StartConfig(Frame& holder, const FieldPlan& field);
  void ResolvePending(std::string type_name);
  void EndRecord();
  void CheckHeldType(const Frame& holder);
  void Skip(JsonToken& token);
  bool NegativeZero(const JsonToken& token) const;

  void Push(Frame frame);
  std::string Path() const;
  std::string PathTo(std::string_view member) const;
  [[noreturn]] void Fail(const std::string& path, const std::string& message) const;
  [[noreturn]] void FailAt(std::size_t start, const std::string& path, const std::string& message,
                           const Remedy& remedy = {}) const;
  [[noreturn]] void SyntaxError(std::size_t position, int id, const std::string& what);
  std::size_t TokenStart() const;
  std::string Position(std::size_t offset) const;

  std::unique_ptr<google::protobuf::Message> NewSettings(const google::protobuf::Descriptor* type);
  void ReleaseSettings(std::unique_ptr<google::protobuf::Message> record);

  std::string_view text_;
  const PairingCatalogue& pairing_;
  const ReadOptions& options_;
  RecordPlans plans_;
  std::vector<Frame> frames_;
  google::protobuf::Message* root_ = nullptr;
  const char* read_ = nullptr;   // how far the parser has read
  std::size_t previous_end_ = 0; // end of the token before the current one
  std::size_t current_end_ = 0;  // end of the current token
  std::unordered_map<const google::protobuf::Descriptor*, std::vector<std::unique_ptr<google::protobuf::Message>>>
      spare_settings_;
};

}  // namespace gcuschema::document::internal

#endif
