#include <gcuschema/document/io.h>

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <google/protobuf/arena.h>
#include <simdjson.h>

#include <gcuschema/document/records.h>

#include "formats.h"
#include "json/codec.h"
#include "json/reader.h"
#include "json/writer.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;

bool IsSpace(unsigned char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

// The format a document's first bytes suggest, and whether they settle it:
// an encoding may start with any byte (0x0A, field 1, is a line break;
// 0x40, field 8, is '@'; 0x7B, field 15, is '{'), but JSON and text format
// start (after white space) only with what a value or a field name can.
struct Lead {
  Format format;
  bool certain;
};

Lead LeadOf(std::string_view bytes) {
  if (bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);  // a byte-order mark
  std::size_t first = 0;
  while (first < bytes.size() && IsSpace(static_cast<unsigned char>(bytes[first]))) ++first;
  // White space alone is the empty document in text format.
  if (first == bytes.size()) return {Format::kText, false};
  const char c = bytes[first];
  if (c == '{' || c == '[' || c == '"' || c == '-' || (c >= '0' && c <= '9')) return {Format::kJson, false};
  if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '#') return {Format::kText, false};
  return {Format::kBinary, true};
}

// Whether `bytes` are JSON text by RFC 8259, whatever they mean as a record.
bool IsValidJson(std::string_view bytes) {
  simdjson::dom::parser parser;
  return parser.parse(bytes.data(), bytes.size()).error() == simdjson::SUCCESS;
}

using Reading = std::function<void(Format)>;

void ReadAs(Format format, std::string_view bytes, pb::Message* record, const ReadOptions& options) {
  switch (format) {
    case Format::kBinary:
      internal::ReadBinary(bytes, record);
      return;
    case Format::kText:
      internal::ReadText(bytes, record);
      return;
    case Format::kJson:
      internal::ReadJson(bytes, record, options);
      return;
  }
}

// Reads `bytes` (by `read_as`) as the first format that parses, the one
// the first bytes suggest first; when none does, throws the error of the
// format the bytes most likely are in (JSON for valid JSON, else the
// suggested one).
Format ReadDetected(std::string_view bytes, const Reading& read_as) {
  if (bytes.empty()) {
    throw Error("", "the input is empty, so its format cannot be told from it; name the format to read it "
                    "as an empty document", Remedy{Remedy::Kind::kNameFormat});
  }
  const Lead lead = LeadOf(bytes);
  std::exception_ptr lead_error;
  try {
    read_as(lead.format);
    return lead.format;
  } catch (const Error&) {
    if (lead.certain) throw;
    lead_error = std::current_exception();
  }
  // The first bytes misled, or the document is broken.
  std::exception_ptr json_error = lead.format == Format::kJson ? lead_error : nullptr;
  if (json_error == nullptr) {
    try {
      read_as(Format::kJson);
      return Format::kJson;
    } catch (const Error&) {
      json_error = std::current_exception();
    }
  }
  // Valid JSON is JSON, whatever else it reads as: checked only when it
  // comes to that (a full parse of its own).
  std::optional<bool> valid;
  const auto valid_json = [&] {
    if (!valid) valid = IsValidJson(bytes);
    return *valid;
  };
  for (const Format format : {Format::kText, Format::kBinary}) {
    if (format == lead.format) continue;
    try {
      read_as(format);
    } catch (const Error&) {
      continue;
    }
    if (!valid_json()) return format;
    break;
  }
  std::rethrow_exception(lead.format == Format::kJson || valid_json() ? json_error : lead_error);
}

Format ReadRecord(std::string_view bytes, pb::Message* record, const ReadOptions& options) {
  return ReadDetected(bytes, [&](Format format) { ReadAs(format, bytes, record, options); });
}

}  // namespace

Format DetectFormat(std::string_view bytes, const pb::Descriptor* record) {
  const std::unique_ptr<pb::Message> scratch = NewRecord(record);
  try {
    return ReadRecord(bytes, scratch.get(), ReadOptions{});
  } catch (const Error& e) {
    if (e.remedy().kind == Remedy::Kind::kNameFormat) throw;
  }
  const Lead lead = LeadOf(bytes);
  return lead.format == Format::kJson || IsValidJson(bytes) ? Format::kJson : lead.format;
}

Format Read(std::string_view bytes, pb::Message* record, const ReadOptions& options) {
  try {
    if (!options.format) return ReadRecord(bytes, record, options);
    ReadAs(*options.format, bytes, record, options);
    return *options.format;
  } catch (const Error&) {
    record->Clear();  // nothing half read
    throw;
  }
}

Format Encode(std::string_view bytes, const pb::Descriptor* type, std::string* encoded, const ReadOptions& options) {
  const auto encode_as = [&](Format format) {
    encoded->clear();
    if (format == Format::kJson) {
      internal::EncodeJson(bytes, type, encoded, options);
      return;
    }
    pb::Arena arena;
    pb::Message* record = NewRecord(type, &arena);
    ReadAs(format, bytes, record, options);
    internal::WriteBinary(*record, [encoded](std::string_view part) { encoded->append(part); });
  };
  try {
    if (!options.format) return ReadDetected(bytes, encode_as);
    encode_as(*options.format);
    return *options.format;
  } catch (const Error&) {
    encoded->clear();
    throw;
  }
}

void Write(const pb::Message& record, Format format, const Sink& sink, const WriteOptions& options) {
  switch (format) {
    case Format::kBinary:
      internal::WriteBinary(record, sink);
      return;
    case Format::kText:
      internal::WriteText(record, sink, options.threads);
      return;
    case Format::kJson: {
      std::string out;
      internal::JsonWriter(options, &out, &sink).Document(record);
      return;
    }
  }
}

std::string WriteString(const pb::Message& record, Format format, const WriteOptions& options) {
  std::string out;
  if (format == Format::kJson) {
    internal::JsonWriter(options, &out).Document(record);
  } else {
    Write(record, format, [&out](std::string_view part) { out.append(part); }, options);
  }
  return out;
}

const pb::Descriptor* DocumentType(std::string_view bytes) {
  const std::string name = JsonDocumentType(bytes);
  if (name.empty()) return nullptr;
  try {
    return RequireRecord(name);
  } catch (const Error& e) {
    throw Error("@type", e.message(), e.remedy());
  }
}

}  // namespace gcuschema::document
