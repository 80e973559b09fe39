// The C interface (<gcuschema/document/c.h>): each call checks its
// arguments, calls the C++ surface (io.h, lint.h, diff.h, json_schema.h,
// pairing.h) and turns whatever it throws into a status and an error object.
#include <gcuschema/document/c.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gcuschema/document/diff.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/io.h>
#include <gcuschema/document/json_schema.h>
#include <gcuschema/document/lint.h>
#include <gcuschema/document/pairing.h>
#include <gcuschema/document/records.h>

#include "c_interface_error.h"

namespace pb = google::protobuf;
namespace document = gcuschema::document;
using gcuschema::document::c::Failure;
using gcuschema::document::c::Guarded;
using gcuschema::document::c::RemedyHint;

struct gcuschema_document {
  std::unique_ptr<pb::Message> record;
  gcuschema_format format = GCUSCHEMA_FORMAT_DETECT;
};

namespace {

template <typename T>
void Require(const T* pointer, const char* function, const char* name, const char* what_to_do) {
  if (pointer == nullptr) {
    throw Failure(GCUSCHEMA_ERROR_ARGUMENT, std::string(function) + ": " + name + " is NULL; " + what_to_do);
  }
}

const pb::Descriptor* Record(const char* function, const char* name) {
  Require(name, function, "record", "name the document's record, e.g. \"ConfigData\"");
  if (const pb::Descriptor* type = document::FindRecord(name)) return type;
  try {
    document::RequireRecord(name);
  } catch (const document::Error& e) {
    throw Failure(GCUSCHEMA_ERROR_RECORD, std::string(function) + ": record: " + e.message() + RemedyHint(e.remedy()));
  }
  throw Failure(GCUSCHEMA_ERROR_RECORD, std::string(function) + ": record: \"" + name + "\" is not a record of the "
                                        "schema library; gcuschema_record_names lists the records");
}

document::PairingCatalogue Pairing(const char* function, const gcuschema_pairing* given) {
  document::PairingCatalogue pairing = document::PairingCatalogue::Standard();
  if (given == nullptr) return pairing;
  const std::string at = std::string(function) + ": pairing";
  if (given->map_table != nullptr) {
    try {
      pairing.SetMapTable(document::RequireRecord(given->map_table));
    } catch (const document::Error& e) {
      throw Failure(GCUSCHEMA_ERROR_PAIRING, at + "->map_table: " + e.message() + RemedyHint(e.remedy()));
    }
  }
  if (given->pair_count > 0 && given->pairs == nullptr) {
    throw Failure(GCUSCHEMA_ERROR_ARGUMENT, at + "->pairs is NULL but pair_count is " +
                                                std::to_string(given->pair_count) +
                                                "; give the pairs, or pair_count 0 for none");
  }
  for (std::size_t i = 0; i < given->pair_count; ++i) {
    const std::string which = at + "->pairs[" + std::to_string(i) + "]";
    if (given->pairs[i] == nullptr) {
      throw Failure(GCUSCHEMA_ERROR_ARGUMENT, which + " is NULL; give \"KIND:CODE=RECORD\", e.g. "
                                                      "\"input:AnalogSwitchInput=AdcSwitchConfiguration\"");
    }
    try {
      pairing.Apply(given->pairs[i]);
    } catch (const document::Error& e) {
      throw Failure(GCUSCHEMA_ERROR_PAIRING,
                    which + " \"" + given->pairs[i] + "\": " + e.message() + RemedyHint(e.remedy()));
    }
  }
  return pairing;
}

const char* const kFormatNames = "GCUSCHEMA_FORMAT_BINARY, GCUSCHEMA_FORMAT_TEXT or GCUSCHEMA_FORMAT_JSON";

// A C caller may put any int where a gcuschema_format stands: its bits are
// read as an int, since a C++ enumeration holding another value is no value.
int CodeIn(const gcuschema_format& format) {
  static_assert(sizeof(gcuschema_format) == sizeof(int));
  int code;
  std::memcpy(&code, &format, sizeof code);
  return code;
}

std::optional<document::Format> FormatOf(const gcuschema_format& format, bool detect_allowed, const std::string& at) {
  const int code = CodeIn(format);
  switch (code) {
    case GCUSCHEMA_FORMAT_BINARY: return document::Format::kBinary;
    case GCUSCHEMA_FORMAT_TEXT: return document::Format::kText;
    case GCUSCHEMA_FORMAT_JSON: return document::Format::kJson;
    case GCUSCHEMA_FORMAT_DETECT:
      if (detect_allowed) return std::nullopt;
      throw Failure(GCUSCHEMA_ERROR_FORMAT,
                    at + " is GCUSCHEMA_FORMAT_DETECT, which names no format to write in; give " + kFormatNames);
    default: break;
  }
  throw Failure(GCUSCHEMA_ERROR_FORMAT, at + " is " + std::to_string(code) +
                                            ", which is no gcuschema_format; give " +
                                            (detect_allowed ? "GCUSCHEMA_FORMAT_DETECT, " : "") + kFormatNames);
}

gcuschema_format CodeOf(document::Format format) {
  switch (format) {
    case document::Format::kBinary: return GCUSCHEMA_FORMAT_BINARY;
    case document::Format::kText: return GCUSCHEMA_FORMAT_TEXT;
    case document::Format::kJson: return GCUSCHEMA_FORMAT_JSON;
  }
  return GCUSCHEMA_FORMAT_DETECT;
}

// A buffer of malloc's, as the caller releases it with gcuschema_buffer_free,
// grown as the writer hands over its output.
class Buffer {
 public:
  Buffer() = default;
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;
  ~Buffer() { std::free(data_); }

  void Append(std::string_view part) {
    if (part.empty()) return;
    if (part.size() >= kLargest - size_) throw std::bad_alloc();
    Reserve(size_ + part.size() + 1);
    std::memcpy(data_ + size_, part.data(), part.size());
    size_ += part.size();
  }

  // The bytes, followed by a zero byte; the buffer is the caller's now.
  char* Release(std::size_t* size) {
    Reserve(size_ + 1);
    data_[size_] = '\0';
    *size = size_;
    return std::exchange(data_, nullptr);
  }

 private:
  void Reserve(std::size_t needed) {
    if (needed <= capacity_) return;
    const std::size_t capacity = std::max(needed, capacity_ < 4096 ? std::size_t{4096} : capacity_ * 2);
    char* grown = static_cast<char*>(std::realloc(data_, capacity));
    if (grown == nullptr) throw std::bad_alloc();
    data_ = grown;
    capacity_ = capacity;
  }

  static constexpr std::size_t kLargest = PTRDIFF_MAX;

  char* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

// `items` as one block of malloc's: the array of structs, then the strings
// they point to, so that one free releases them all. Each item's strings
// are given by `strings(item)`, and `fill(item, pointers)` makes the struct.
template <typename Struct, typename Item, typename Strings, typename Fill>
Struct* Packed(const std::vector<Item>& items, Strings strings, Fill fill) {
  if (items.empty()) return nullptr;
  std::size_t total = items.size() * sizeof(Struct);
  for (const Item& item : items) {
    for (const std::string* text : strings(item)) total += text->size() + 1;
  }
  void* block = std::malloc(total);
  if (block == nullptr) throw std::bad_alloc();
  Struct* array = static_cast<Struct*>(block);
  char* text_at = static_cast<char*>(block) + items.size() * sizeof(Struct);
  for (std::size_t i = 0; i < items.size(); ++i) {
    std::vector<const char*> pointers;
    for (const std::string* text : strings(items[i])) {
      std::memcpy(text_at, text->c_str(), text->size() + 1);
      pointers.push_back(text_at);
      text_at += text->size() + 1;
    }
    array[i] = fill(items[i], pointers);
  }
  return array;
}

}  // namespace

const char* gcuschema_version(void) { return GCUSCHEMA_DOCUMENT_VERSION; }

gcuschema_status gcuschema_record_names(const char* const** names, size_t* count, gcuschema_error** error) {
  return Guarded(error, GCUSCHEMA_ERROR_INTERNAL, [&] {
    Require(names, "gcuschema_record_names", "names", "pass the address of a const char* const* to receive them");
    Require(count, "gcuschema_record_names", "count", "pass the address of a size_t to receive their count");
    // Made once, then only read.
    static const std::vector<const char*> list = [] {
      std::vector<const char*> made;
      for (const std::string& name : document::RecordNames()) made.push_back(name.c_str());
      return made;
    }();
    *names = list.data();
    *count = list.size();
  });
}

gcuschema_status gcuschema_read(const char* record, const void* bytes, size_t size,
                                const gcuschema_read_options* options, gcuschema_document** result,
                                gcuschema_error** error) {
  return Guarded(error, GCUSCHEMA_ERROR_DOCUMENT, [&] {
    Require(result, "gcuschema_read", "document", "pass the address of a gcuschema_document* to receive the handle");
    if (bytes == nullptr && size > 0) {
      throw Failure(GCUSCHEMA_ERROR_ARGUMENT, "gcuschema_read: bytes is NULL but size is " + std::to_string(size) +
                                                  "; give the document's bytes, or size 0 for an empty input");
    }
    const pb::Descriptor* type = Record("gcuschema_read", record);
    const gcuschema_read_options defaults{};
    const gcuschema_read_options& given = options != nullptr ? *options : defaults;
    document::ReadOptions reading;
    reading.format = FormatOf(given.format, true, "gcuschema_read: options->format");
    reading.pairing = Pairing("gcuschema_read", given.pairing);
    reading.ignore_unknown_fields = given.ignore_unknown_fields != 0;
    auto read = std::make_unique<gcuschema_document>();
    read->record = document::NewRecord(type);
    const std::string_view text(static_cast<const char*>(bytes), size);
    read->format = CodeOf(document::Read(text, read->record.get(), reading));
    *result = read.release();
  });
}

const char* gcuschema_document_record(const gcuschema_document* document) {
  return document != nullptr ? document->record->GetDescriptor()->full_name().c_str() : nullptr;
}

gcuschema_format gcuschema_document_format(const gcuschema_document* document) {
  return document != nullptr ? document->format : GCUSCHEMA_FORMAT_DETECT;
}

void gcuschema_document_free(gcuschema_document* document) { delete document; }

void gcuschema_write_options_init(gcuschema_write_options* options) {
  if (options == nullptr) return;
  const document::WriteOptions defaults;
  options->pairing = nullptr;
  options->expand = defaults.expand ? 1 : 0;
  options->original_names = defaults.original_names ? 1 : 0;
  options->indent = defaults.indent;
  options->type_name = defaults.type_name ? 1 : 0;
  options->unknown_fields = defaults.unknown_fields ? 1 : 0;
}

gcuschema_status gcuschema_write(const gcuschema_document* document, gcuschema_format format,
                                 const gcuschema_write_options* options, char** data, size_t* size,
                                 gcuschema_error** error) {
  return Guarded(error, GCUSCHEMA_ERROR_DOCUMENT, [&] {
    Require(document, "gcuschema_write", "document", "give a handle made by gcuschema_read");
    Require(data, "gcuschema_write", "data", "pass the address of a char* to receive the buffer");
    Require(size, "gcuschema_write", "size", "pass the address of a size_t to receive its size");
    const document::Format written = *FormatOf(format, false, "gcuschema_write: format");
    gcuschema_write_options given;
    gcuschema_write_options_init(&given);
    if (options != nullptr) given = *options;
    if (given.indent < 0) {
      throw Failure(GCUSCHEMA_ERROR_ARGUMENT, "gcuschema_write: options->indent is " + std::to_string(given.indent) +
                                                  "; give the spaces per level, or 0 for one line");
    }
    document::WriteOptions writing;
    writing.pairing = Pairing("gcuschema_write", given.pairing);
    writing.expand = given.expand != 0;
    writing.original_names = given.original_names != 0;
    writing.indent = given.indent;
    writing.type_name = given.type_name != 0;
    writing.unknown_fields = given.unknown_fields != 0;
    Buffer buffer;
    document::Write(*document->record, written, [&buffer](std::string_view part) { buffer.Append(part); }, writing);
    *data = buffer.Release(size);
  });
}

void gcuschema_buffer_free(char* data) { std::free(data); }

gcuschema_status gcuschema_lint(const gcuschema_document* document, const gcuschema_lint_options* options,
                                gcuschema_finding** findings, size_t* count, gcuschema_error** error) {
  return Guarded(error, GCUSCHEMA_ERROR_DOCUMENT, [&] {
    Require(document, "gcuschema_lint", "document", "give a handle made by gcuschema_read");
    Require(findings, "gcuschema_lint", "findings", "pass the address of a gcuschema_finding* to receive them");
    Require(count, "gcuschema_lint", "count", "pass the address of a size_t to receive their count");
    document::LintOptions linting;
    linting.pairing = Pairing("gcuschema_lint", options != nullptr ? options->pairing : nullptr);
    if (options != nullptr && options->limits != nullptr) {
      const std::string& limits = options->limits->record->GetDescriptor()->full_name();
      const std::string& linted = document->record->GetDescriptor()->full_name();
      if (limits != "CalibrationTemplateData") {
        throw Failure(GCUSCHEMA_ERROR_RECORD, "gcuschema_lint: options->limits is a " + limits +
                                                  "; a limits template is a CalibrationTemplateData: read it as one");
      }
      if (linted != "CalibrationData") {
        throw Failure(GCUSCHEMA_ERROR_RECORD, "gcuschema_lint: document is a " + linted +
                                                  "; a limits template checks a CalibrationData: lint it without "
                                                  "options->limits, or give a CalibrationData");
      }
      linting.limits = options->limits->record.get();
    }
    std::vector<document::Finding> found = document::Lint(*document->record, linting);
    for (document::Finding& finding : found) finding.message += RemedyHint(finding.remedy);
    *findings = Packed<gcuschema_finding>(
        found,
        [](const document::Finding& f) { return std::vector<const std::string*>{&f.rule, &f.path, &f.message}; },
        [](const document::Finding& f, const std::vector<const char*>& text) {
          return gcuschema_finding{f.severity == document::Severity::kError ? GCUSCHEMA_SEVERITY_ERROR
                                                                            : GCUSCHEMA_SEVERITY_WARNING,
                                   text[0], text[1], text[2]};
        });
    *count = found.size();
  });
}

void gcuschema_findings_free(gcuschema_finding* findings) { std::free(findings); }

gcuschema_status gcuschema_diff(const gcuschema_document* a, const gcuschema_document* b,
                                const gcuschema_pairing* pairing, gcuschema_difference** differences, size_t* count,
                                gcuschema_error** error) {
  return Guarded(error, GCUSCHEMA_ERROR_DOCUMENT, [&] {
    Require(a, "gcuschema_diff", "a", "give a handle made by gcuschema_read");
    Require(b, "gcuschema_diff", "b", "give a handle made by gcuschema_read");
    Require(differences, "gcuschema_diff", "differences",
            "pass the address of a gcuschema_difference* to receive them");
    Require(count, "gcuschema_diff", "count", "pass the address of a size_t to receive their count");
    const pb::Descriptor* type = a->record->GetDescriptor();
    if (b->record->GetDescriptor() != type) {
      throw Failure(GCUSCHEMA_ERROR_RECORD, "gcuschema_diff: a is a " + type->full_name() + " but b a " +
                                                b->record->GetDescriptor()->full_name() +
                                                "; only documents of one record compare: read both as the same record");
    }
    const std::vector<document::Difference> found =
        document::Diff(*a->record, *b->record, {Pairing("gcuschema_diff", pairing)});
    *differences = Packed<gcuschema_difference>(
        found,
        [](const document::Difference& d) {
          return std::vector<const std::string*>{&d.path, &d.old_value, &d.new_value};
        },
        [](const document::Difference& d, const std::vector<const char*>& text) {
          // A reordering is a change of its list: the kinds a C host knows
          // stay the three it was built with.
          const gcuschema_difference_kind kind = d.kind == document::Difference::Kind::kAdded ? GCUSCHEMA_DIFFERENCE_ADDED
                                                 : d.kind == document::Difference::Kind::kRemoved
                                                     ? GCUSCHEMA_DIFFERENCE_REMOVED
                                                     : GCUSCHEMA_DIFFERENCE_MODIFIED;
          return gcuschema_difference{kind, text[0], text[1], text[2]};
        });
    *count = found.size();
  });
}

void gcuschema_differences_free(gcuschema_difference* differences) { std::free(differences); }

gcuschema_status gcuschema_json_schema(const char* record, const gcuschema_pairing* pairing, char** text,
                                       size_t* size, gcuschema_error** error) {
  return Guarded(error, GCUSCHEMA_ERROR_INTERNAL, [&] {
    Require(text, "gcuschema_json_schema", "text", "pass the address of a char* to receive the buffer");
    Require(size, "gcuschema_json_schema", "size", "pass the address of a size_t to receive its size");
    document::JsonSchemaOptions options;
    options.pairing = Pairing("gcuschema_json_schema", pairing);
    Buffer buffer;
    buffer.Append(record == nullptr ? document::JsonSchemaTextOfAnyRecord(options)
                                    : document::JsonSchemaText(Record("gcuschema_json_schema", record), options));
    *text = buffer.Release(size);
  });
}

namespace {

document::EntryKind KindOf(const char* function, const char* kind) {
  Require(kind, function, "kind", "give \"input\", \"output\", \"map\", \"driver\" or \"handler\"");
  try {
    return document::ParseEntryKind(kind);
  } catch (const document::Error& e) {
    throw Failure(GCUSCHEMA_ERROR_PAIRING, std::string(function) + ": kind: " + e.message());
  }
}

void Held(const document::PairingCatalogue& pairing, document::EntryKind kind, int code, const char** record) {
  const pb::Descriptor* held = pairing.Find(kind, code);
  *record = held != nullptr ? held->full_name().c_str() : nullptr;
}

}  // namespace

gcuschema_status gcuschema_settings_record(const char* kind, int32_t code, const gcuschema_pairing* pairing,
                                           const char** record, gcuschema_error** error) {
  return Guarded(error, GCUSCHEMA_ERROR_PAIRING, [&] {
    Require(record, "gcuschema_settings_record", "record", "pass the address of a const char* to receive its name");
    const document::EntryKind entry = KindOf("gcuschema_settings_record", kind);
    Held(Pairing("gcuschema_settings_record", pairing), entry, code, record);
  });
}

gcuschema_status gcuschema_settings_record_named(const char* kind, const char* code, const gcuschema_pairing* pairing,
                                                 const char** record, gcuschema_error** error) {
  return Guarded(error, GCUSCHEMA_ERROR_PAIRING, [&] {
    Require(record, "gcuschema_settings_record_named", "record",
            "pass the address of a const char* to receive its name");
    Require(code, "gcuschema_settings_record_named", "code", "give a number or a value name, e.g. \"DutyInput\"");
    const document::EntryKind entry = KindOf("gcuschema_settings_record_named", kind);
    int number = 0;
    try {
      number = document::ParseTypeCode(entry, code);
    } catch (const document::Error& e) {
      throw Failure(GCUSCHEMA_ERROR_PAIRING,
                    "gcuschema_settings_record_named: code: " + e.message() + RemedyHint(e.remedy()));
    }
    Held(Pairing("gcuschema_settings_record_named", pairing), entry, number, record);
  });
}
