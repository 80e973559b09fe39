#include "formats.h"

#include <cctype>
#include <climits>
#include <cmath>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/io/tokenizer.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/text_format.h>
#include <google/protobuf/unknown_field_set.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>

#include "field_path.h"
#include "in_order.h"
#include "json/spelling.h"
#include "suggest.h"
#include "text_numbers.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;
using pb::FieldDescriptor;

constexpr const char* kNanWhat =
    "holds a NaN with its sign bit or payload set, which text format would write as plain nan "
    "and read back as another value; use the binary form, or JSON (which keeps a config holding "
    "one as base64)";

// Keeps the first error of the text parser, with its position.
class FirstError : public pb::io::ErrorCollector {
 public:
  void AddError(int line, pb::io::ColumnNumber column, const std::string& message) override {
    if (seen_) return;
    seen_ = true;
    line_ = line;
    column_ = column;
    message_ = message;
  }
  void AddWarning(int, pb::io::ColumnNumber, const std::string&) override {}

  bool seen() const { return seen_; }
  int line() const { return line_; }
  int column() const { return column_; }
  const std::string& message() const { return message_; }

 private:
  bool seen_ = false;
  int line_ = 0;
  int column_ = 0;
  std::string message_;
};

// What text format cannot carry back, found first in `record`: where (the
// path within it, made only for that field on the way back out) and what.
struct Uncarried {
  std::string path;
  std::string what;
};

// "field 99", "fields 7, 99".
std::string UnknownNumbers(const pb::UnknownFieldSet& unknown) {
  std::set<int> numbers;
  for (int i = 0; i < unknown.field_count(); ++i) numbers.insert(unknown.field(i).number());
  std::string list;
  for (int number : numbers) list += (list.empty() ? "" : ", ") + std::to_string(number);
  return (numbers.size() == 1 ? "field " : "fields ") + list;
}

// The first float or double of `record` that holds a NaN other than the one
// text format reads back, or the first record holding fields the schema does
// not know (which the printer writes by number and no text parser reads).
std::optional<Uncarried> FindUncarried(const pb::Message& record) {
  const pb::Reflection* reflection = record.GetReflection();
  std::vector<const FieldDescriptor*> fields;
  reflection->ListFields(record, &fields);
  for (const FieldDescriptor* field : fields) {
    const FieldDescriptor::CppType kind = field->cpp_type();
    if (kind != FieldDescriptor::CPPTYPE_FLOAT && kind != FieldDescriptor::CPPTYPE_DOUBLE &&
        kind != FieldDescriptor::CPPTYPE_MESSAGE) {
      continue;
    }
    const bool repeated = field->is_repeated();
    const int count = repeated ? reflection->FieldSize(record, field) : 1;
    for (int i = 0; i < count; ++i) {
      std::optional<Uncarried> inner;
      if (kind == FieldDescriptor::CPPTYPE_FLOAT) {
        const float v = repeated ? reflection->GetRepeatedFloat(record, field, i) : reflection->GetFloat(record, field);
        if (std::isnan(v) && !internal::IsPlainNan(v)) inner = Uncarried{"", kNanWhat};
      } else if (kind == FieldDescriptor::CPPTYPE_DOUBLE) {
        const double v =
            repeated ? reflection->GetRepeatedDouble(record, field, i) : reflection->GetDouble(record, field);
        if (std::isnan(v) && !internal::IsPlainNan(v)) inner = Uncarried{"", kNanWhat};
      } else {
        inner = FindUncarried(repeated ? reflection->GetRepeatedMessage(record, field, i)
                                       : reflection->GetMessage(record, field));
      }
      if (!inner) continue;
      std::string at = repeated ? internal::ElementPath("", field->name(), i) : field->name();
      inner->path = inner->path.empty() ? at : internal::JoinPath(at, inner->path);
      return inner;
    }
  }
  const pb::UnknownFieldSet& unknown = reflection->GetUnknownFields(record);
  if (!unknown.empty()) {
    const bool one = unknown.field_count() == 1;
    return Uncarried{"", "holds " + UnknownNumbers(unknown) + ", which " + record.GetDescriptor()->full_name() +
                             " does not know: text format would write " + (one ? "it" : "them") +
                             " by number, and no text format reader reads " + (one ? "it" : "them") +
                             " back; use JSON, which keeps " + (one ? "it" : "them") +
                             " as \"@unknown\", or the binary form"};
  }
  return std::nullopt;
}

// Text format would write these, and read back other values or nothing.
void RefuseUncarried(const pb::Message& record) {
  std::optional<Uncarried> found = FindUncarried(record);
  if (!found) return;
  throw Error(found->path, found->what);
}

// Hands the printer's output to a sink in stretches.
class SinkStream : public pb::io::ZeroCopyOutputStream {
 public:
  explicit SinkStream(const Sink& sink) : sink_(sink), buffer_(kBlock, '\0') {}
  ~SinkStream() override = default;

  bool Next(void** data, int* size) override {
    Flush();
    used_ = buffer_.size();
    *data = buffer_.data();
    *size = static_cast<int>(buffer_.size());
    return true;
  }
  void BackUp(int count) override { used_ -= static_cast<std::size_t>(count); }
  int64_t ByteCount() const override { return static_cast<int64_t>(written_ + used_); }

  void Flush() {
    if (used_ == 0) return;
    sink_(std::string_view(buffer_.data(), used_));
    written_ += used_;
    used_ = 0;
  }

 private:
  static constexpr std::size_t kBlock = 256 * 1024;
  const Sink& sink_;
  std::string buffer_;
  std::size_t used_ = 0;
  std::size_t written_ = 0;
};

// The enumerations of fields named `field` in `root` and the records it
// holds.
void EnumsOfField(const pb::Descriptor* type, const std::string& field, std::vector<const pb::EnumDescriptor*>* found,
                  std::vector<const pb::Descriptor*>* seen) {
  for (const pb::Descriptor* s : *seen) {
    if (s == type) return;
  }
  seen->push_back(type);
  for (int i = 0; i < type->field_count(); ++i) {
    const FieldDescriptor* f = type->field(i);
    if (f->name() == field && f->enum_type() != nullptr) {
      bool known = false;
      for (const pb::EnumDescriptor* e : *found) known = known || e == f->enum_type();
      if (!known) found->push_back(f->enum_type());
    }
    if (f->message_type() != nullptr) EnumsOfField(f->message_type(), field, found, seen);
  }
}

// The text parser's messages about a wrong name, worded as the JSON reader
// words them, with the names that would be right (`remedy` says where they
// are listed when none is close enough to name).
std::string Reworded(const std::string& message, const pb::Descriptor* root, Remedy* remedy) {
  auto quoted = [&message](std::size_t from, std::size_t* end) -> std::string {
    const std::size_t open = message.find('"', from);
    const std::size_t close = open == std::string::npos ? open : message.find('"', open + 1);
    if (close == std::string::npos) return "";
    *end = close + 1;
    return message.substr(open + 1, close - open - 1);
  };
  std::size_t end = 0;
  if (message.rfind("Message type \"", 0) == 0 && message.find("has no field named") != std::string::npos) {
    const std::string type_name = quoted(0, &end);
    const std::string field = quoted(end, &end);
    const pb::Descriptor* type = FindRecord(type_name);
    if (type == nullptr) return message;
    std::vector<std::string> names;
    for (int i = 0; i < type->field_count(); ++i) names.push_back(type->field(i)->name());
    bool named = false;
    std::string reworded = internal::UnknownName("a field of " + type_name, field, names, &named);
    if (!named) {
      remedy->kind = Remedy::Kind::kListNames;
      remedy->record = type_name;
    }
    return reworded;
  }
  if (message.rfind("Unknown enumeration value of \"", 0) == 0) {
    const std::string value = quoted(0, &end);
    const std::string field = quoted(end, &end);
    std::vector<const pb::EnumDescriptor*> enums;
    std::vector<const pb::Descriptor*> seen;
    EnumsOfField(root, field, &enums, &seen);
    if (enums.size() != 1) return message;
    std::vector<std::string> names;
    for (int i = 0; i < enums[0]->value_count(); ++i) names.push_back(enums[0]->value(i)->name());
    return internal::UnknownValue(enums[0]->full_name(), value, names) + " (field " + field + ")";
  }
  return message;
}

void Parse(std::string_view text, pb::Message* record) {
  FirstError errors;
  pb::TextFormat::Parser parser;
  parser.RecordErrorsTo(&errors);
  pb::io::ArrayInputStream input(text.data(), static_cast<int>(text.size()));
  if (parser.Parse(&input, record)) return;
  if (!errors.seen()) throw Error("", "the text is not a valid " + record->GetDescriptor()->full_name());
  Remedy remedy;
  std::string message = Reworded(errors.message(), record->GetDescriptor(), &remedy);
  // The text printer writes unknown fields by number; the parser cannot
  // read them back.
  const std::string number_instead = "Expected identifier, got: ";
  if (message.rfind(number_instead, 0) == 0 && message.size() > number_instead.size() &&
      std::isdigit(static_cast<unsigned char>(message[number_instead.size()]))) {
    message += "; fields the schema does not know (printed by number) cannot be read from text: "
               "use JSON, which keeps them as \"@unknown\", or the binary form";
  }
  // The parser counts lines and columns from 0.
  throw Error("line " + std::to_string(errors.line() + 1) + ", column " + std::to_string(errors.column() + 1),
              message, remedy);
}

// `field` of `from` set in `to` as it is in `from`.
void CopyField(const pb::Message& from, const FieldDescriptor* field, pb::Message* to) {
  const pb::Reflection* r = from.GetReflection();
  const pb::Reflection* w = to->GetReflection();
  if (!field->is_repeated()) {
    switch (field->cpp_type()) {
      case FieldDescriptor::CPPTYPE_INT32: w->SetInt32(to, field, r->GetInt32(from, field)); break;
      case FieldDescriptor::CPPTYPE_INT64: w->SetInt64(to, field, r->GetInt64(from, field)); break;
      case FieldDescriptor::CPPTYPE_UINT32: w->SetUInt32(to, field, r->GetUInt32(from, field)); break;
      case FieldDescriptor::CPPTYPE_UINT64: w->SetUInt64(to, field, r->GetUInt64(from, field)); break;
      case FieldDescriptor::CPPTYPE_FLOAT: w->SetFloat(to, field, r->GetFloat(from, field)); break;
      case FieldDescriptor::CPPTYPE_DOUBLE: w->SetDouble(to, field, r->GetDouble(from, field)); break;
      case FieldDescriptor::CPPTYPE_BOOL: w->SetBool(to, field, r->GetBool(from, field)); break;
      case FieldDescriptor::CPPTYPE_ENUM: w->SetEnumValue(to, field, r->GetEnumValue(from, field)); break;
      case FieldDescriptor::CPPTYPE_STRING: w->SetString(to, field, r->GetString(from, field)); break;
      case FieldDescriptor::CPPTYPE_MESSAGE: w->MutableMessage(to, field)->CopyFrom(r->GetMessage(from, field)); break;
    }
    return;
  }
  for (int i = 0; i < r->FieldSize(from, field); ++i) {
    switch (field->cpp_type()) {
      case FieldDescriptor::CPPTYPE_INT32: w->AddInt32(to, field, r->GetRepeatedInt32(from, field, i)); break;
      case FieldDescriptor::CPPTYPE_INT64: w->AddInt64(to, field, r->GetRepeatedInt64(from, field, i)); break;
      case FieldDescriptor::CPPTYPE_UINT32: w->AddUInt32(to, field, r->GetRepeatedUInt32(from, field, i)); break;
      case FieldDescriptor::CPPTYPE_UINT64: w->AddUInt64(to, field, r->GetRepeatedUInt64(from, field, i)); break;
      case FieldDescriptor::CPPTYPE_FLOAT: w->AddFloat(to, field, r->GetRepeatedFloat(from, field, i)); break;
      case FieldDescriptor::CPPTYPE_DOUBLE: w->AddDouble(to, field, r->GetRepeatedDouble(from, field, i)); break;
      case FieldDescriptor::CPPTYPE_BOOL: w->AddBool(to, field, r->GetRepeatedBool(from, field, i)); break;
      case FieldDescriptor::CPPTYPE_ENUM: w->AddEnumValue(to, field, r->GetRepeatedEnumValue(from, field, i)); break;
      case FieldDescriptor::CPPTYPE_STRING: w->AddString(to, field, r->GetRepeatedString(from, field, i)); break;
      case FieldDescriptor::CPPTYPE_MESSAGE: w->AddMessage(to, field)->CopyFrom(r->GetRepeatedMessage(from, field, i)); break;
    }
  }
}

// The record's text as the printer writes it, made field by field: the
// printer writes the fields in number order, each on lines of its own, a
// record in a list as "name {", its fields one level in, "}", and the
// unknown fields last. Large lists of records are made by several threads;
// every other field, and the unknown fields, are printed from a record
// holding just them.
void PrintShared(const pb::Message& record, const Sink& sink, int threads) {
  const pb::Reflection* reflection = record.GetReflection();
  std::vector<const FieldDescriptor*> fields;
  reflection->ListFields(record, &fields);
  std::unique_ptr<pb::Message> alone(record.New());
  const pb::Reflection* alone_reflection = alone->GetReflection();
  pb::TextFormat::Printer alone_printer;
  internal::SpellNumbersPortably(&alone_printer);
  std::string text;
  auto print_alone = [&] {
    alone_printer.PrintToString(*alone, &text);
    sink(text);
    alone->Clear();
  };
  for (const FieldDescriptor* field : fields) {
    const int count = field->is_repeated() ? reflection->FieldSize(record, field) : 0;
    if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE && count >= internal::kSharedFrom) {
      std::vector<pb::TextFormat::Printer> printers(static_cast<std::size_t>(threads));
      for (pb::TextFormat::Printer& printer : printers) {
        printer.SetInitialIndentLevel(1);
        internal::SpellNumbersPortably(&printer);
      }
      const std::string open = field->name() + " {\n";
      internal::MakeInOrder(
          count, threads, internal::kSharedChunk,
          [&](int helper, int begin, int end, std::string* out) {
            std::string element;
            for (int i = begin; i < end; ++i) {
              std::unique_ptr<pb::Message> copy;
              printers[static_cast<std::size_t>(helper)].PrintToString(
                  internal::ShownAsWritten(reflection->GetRepeatedMessage(record, field, i), &copy), &element);
              out->append(open).append(element).append("}\n");
            }
          },
          [&](const std::string& chunk) { sink(chunk); });
      continue;
    }
    CopyField(record, field, alone.get());
    print_alone();
  }
  const pb::UnknownFieldSet& unknown = reflection->GetUnknownFields(record);
  if (!unknown.empty()) {
    alone_reflection->MutableUnknownFields(alone.get())->MergeFrom(unknown);
    print_alone();
  }
}

// Whether `record` has a list long enough to be printed by several threads.
bool HasSharedList(const pb::Message& record) {
  const pb::Reflection* reflection = record.GetReflection();
  std::vector<const FieldDescriptor*> fields;
  reflection->ListFields(record, &fields);
  for (const FieldDescriptor* field : fields) {
    if (field->is_repeated() && field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE &&
        reflection->FieldSize(record, field) >= internal::kSharedFrom) {
      return true;
    }
  }
  return false;
}

}  // namespace

namespace internal {

void WriteText(const pb::Message& whole, const Sink& sink, int threads) {
  RefuseUncarried(whole);
  std::unique_ptr<pb::Message> copy;
  const pb::Message& record = internal::ShownAsWritten(whole, &copy);
  threads = ThreadCount(threads);
  if (threads > 1 && record.GetDescriptor()->extension_range_count() == 0 && HasSharedList(record)) {
    PrintShared(record, sink, threads);
    return;
  }
  SinkStream stream(sink);
  pb::TextFormat::Printer printer;
  internal::SpellNumbersPortably(&printer);
  printer.Print(record, &stream);
  stream.Flush();
}

void ReadText(std::string_view text, pb::Message* record) {
  if (text.size() > static_cast<size_t>(INT_MAX)) {
    throw Error("", "the text is too large to read (over 2 GiB)");
  }
  Parse(text, record);  // the parser clears the record first
}

}  // namespace internal

}  // namespace gcuschema::document
