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

namespace gcuschema::document::internal {

class JsonWriter {
 public:
  // Text is appended to `out`; with a sink, `out` is handed to it (and
  // emptied) whenever it has grown large, and at the end.
  JsonWriter(const PairingCatalogue& pairing, const WriteOptions& options, std::string* out,
             const Sink* sink = nullptr);

  // The whole record, as a document.
  void Document(const google::protobuf::Message& record);

 private:
  void Record(const google::protobuf::Message& record, int level, const std::string* type_name, int config_depth);
  void List(const google::protobuf::Message& record, const google::protobuf::Reflection* reflection,
            const FieldPlan& field, int level, int config_depth);
  // Records [begin, end) of a list, each after its separator (none before
  // element 0) and line break.
  void RecordElements(const google::protobuf::Message& record, const FieldPlan& field, int begin, int end,
                      int level, int config_depth);
  // The same for a long list, shared out in chunks to the helpers.
  void SharedRecordElements(const google::protobuf::Message& record, const FieldPlan& field, int count, int level,
                            int config_depth);
  // The `count` values of a list of numbers, names or text, on one line.
  void Scalars(const google::protobuf::Message& record, const google::protobuf::Reflection* reflection,
               const FieldPlan& field, int count);
  void AppendEnum(const google::protobuf::FieldDescriptor* field, int number);
  // A string (which must be UTF-8) or bytes (base64); `index` for a list's.
  void AppendText(const FieldPlan& field, const std::string& text, int index);
  [[noreturn]] void Unsupported(const FieldPlan& field) const;
  // The settings record a `config` holds, parsed, when it can be shown
  // in its place without losing a byte; null otherwise.
  const google::protobuf::Message* Expanded(const google::protobuf::Message& holder,
                                            const google::protobuf::Reflection* reflection, const RecordPlan& plan,
                                            const FieldPlan& field, int config_depth);
  // For a float or double field holding a NaN that JSON cannot spell (sign
  // bit or payload set): appends the field's encoding to `hidden` and says
  // true, so that it travels in "@unknown" rather than changing.
  bool HideUnspellable(const google::protobuf::Message& record, const google::protobuf::Reflection* reflection,
                       const FieldPlan& field, std::string* hidden);
  void NewLine(int level);
  void Flush();
  std::string Path(std::string_view member) const;

  const PairingCatalogue& pairing_;
  const WriteOptions& options_;
  std::string* out_;
  const Sink* sink_;
  RecordPlans plans_;
  const char* colon_;    // after a member's name
  const char* comma_;    // between the values of a one-line list
  std::string spaces_;   // indentation, cut to length as needed
  // Settings records parsed for expansion: one per type and depth, reused.
  std::vector<std::unordered_map<const google::protobuf::Descriptor*, std::unique_ptr<google::protobuf::Message>>>
      settings_;
  std::string scratch_;
  std::string again_;  // settings encoded again, to compare with their bytes
  // The record being written, for error messages: members and elements.
  std::vector<std::pair<std::string_view, int>> path_;
  // Writers of the threads that share out long lists.
  std::vector<std::unique_ptr<JsonWriter>> helpers_;
};

}  // namespace gcuschema::document::internal

#endif
