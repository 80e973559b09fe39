// Writes records as JSON text by walking them with the runtime's reflection,
// each value spelled as the JSON mapping spells it, the settings in each
// `config` expanded where that loses nothing.
#ifndef GCUSCHEMA_DOCUMENT_JSON_WRITER_H
#define GCUSCHEMA_DOCUMENT_JSON_WRITER_H

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include <google/protobuf/message.h>

#include <gcuschema/document/io.h>
#include <gcuschema/document/pairing.h>
#include <gcuschema/document/sink.h>

#include "json/record_plan.h"
#include "json/text_buffer.h"
#include "walk.h"

namespace gcuschema::document::internal {

class JsonWriter {
 public:
  // Text is appended to `out`; with a sink, `out` is handed to it (and
  // emptied) whenever it has grown large, and at the end. `out` holds room
  // beyond the text until the writer is gone.
  JsonWriter(const WriteOptions& options, std::string* out, const Sink* sink = nullptr);

  // The whole record, as a document.
  void Document(const google::protobuf::Message& record);

 private:
  void Record(const google::protobuf::Message& record, int level, const std::string* type_name);
  // The same, its plan and reflection known: a list's records share them.
  void Record(const google::protobuf::Message& record, const RecordPlan& plan,
              const google::protobuf::Reflection* reflection, int level, const std::string* type_name);
  void List(const google::protobuf::Message& record, const google::protobuf::Reflection* reflection,
            const FieldPlan& field, int level);
  // Records [begin, end) of a list, each after its separator (none before
  // element 0) and line break.
  void RecordElements(const google::protobuf::Message& record, const FieldPlan& field, int begin, int end,
                      int level);
  // The same for a long list, shared out in chunks to the helpers.
  void SharedRecordElements(const google::protobuf::Message& record, const FieldPlan& field, int count, int level);
  // The `count` values of a list of numbers, names or text, on one line.
  void Scalars(const google::protobuf::Message& record, const google::protobuf::Reflection* reflection,
               const FieldPlan& field, int count);
  void AppendEnum(const google::protobuf::FieldDescriptor* field, int number);
  // A string (which must be UTF-8) or bytes (base64); `index` for a list's.
  void AppendText(const FieldPlan& field, const std::string& text, int index);
  [[noreturn]] void Unsupported(const FieldPlan& field) const;
  // What the `config` of `holder` holds (the walk's decision), the
  // pairing asked through the plan.
  Settings DecideSettings(const google::protobuf::Message& holder, const google::protobuf::Reflection* reflection,
                          const RecordPlan& plan, const FieldPlan& field);
  // For a float or double field holding a NaN that JSON cannot spell (sign
  // bit or payload set): appends the field's encoding to `hidden` and says
  // true, so that it travels in "@unknown" rather than changing.
  bool HideUnspellable(const google::protobuf::Message& record, const google::protobuf::Reflection* reflection,
                       const FieldPlan& field, std::string* hidden);
  void NewLine(int level);
  // A line break and the indentation of `level`, written at `at` (with room
  // for at least kSpaces beyond the break); returns the end.
  char* Indent(int level, char* at) const;
  // What comes before a member's value: '{' for the first, else ',', the
  // line break and indentation, the quoted name and the colon.
  void Member(bool first, int level, std::string_view key);
  void Flush();
  std::string Path(std::string_view member) const;

  const WriteOptions& options_;
  TextBuffer text_;  // over `out`
  TextBuffer* out_;  // where text goes: text_, or a chunk of a long list
  const Sink* sink_;
  RecordPlans plans_;
  std::string_view comma_;  // between the values of a one-line list
  std::string scratch_;
  // Where the writer stands, and what each `config` holds.
  Walk walk_;
  // Writers of the threads that share out long lists.
  std::vector<std::unique_ptr<JsonWriter>> helpers_;
};

}  // namespace gcuschema::document::internal

#endif
