#include "document.h"


#include <gcuschema/document/binary.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/json.h>
#include <gcuschema/document/records.h>
#include <gcuschema/document/text.h>

#include "failure.h"
#include "platform.h"

namespace gcuschema::tool {

namespace {

// How far into a document DetectFormat looks for a control byte.
constexpr std::size_t kDetectionReach = 64 * 1024;

bool IsSpace(unsigned char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

// The tool's only call into the JSON reader.
void ReadJson(std::string_view text, const document::PairingCatalogue& pairing, google::protobuf::Message* record) {
  record->Clear();
  document::JsonCodec(pairing).FromJson(text, record);
}

}  // namespace

Format FormatNamed(const std::string& name) {
  if (name == "binary") return Format::kBinary;
  if (name == "json") return Format::kJson;
  if (name == "text") return Format::kText;
  return Format::kDetect;
}

Format DetectFormat(std::string_view bytes) {
  if (bytes.empty()) return Format::kBinary;
  for (const char c : bytes.substr(0, kDetectionReach)) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte < 0x20 && !IsSpace(byte)) || byte == 0x7F) return Format::kBinary;
  }
  if (bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);  // a byte-order mark
  std::size_t first = 0;
  while (first < bytes.size() && IsSpace(static_cast<unsigned char>(bytes[first]))) ++first;
  if (first == bytes.size()) return Format::kText;
  const char c = bytes[first];
  const bool name_or_comment = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '#';
  return name_or_comment ? Format::kText : Format::kJson;
}

void AddFromOption(CLI::App* command, std::string* from) {
  command
      ->add_option("--from", *from,
                   "How the input is written: binary (encoded), json or text (protobuf text "
                   "format); told from the content when not given")
      ->type_name("FORMAT")
      ->check(CLI::IsMember({"binary", "json", "text"}));
}

void ReadDocument(const Input& input, Format format, const document::PairingCatalogue& pairing,
                  google::protobuf::Message* record) {
  if (format == Format::kDetect) format = DetectFormat(input.bytes());
  try {
    switch (format) {
      case Format::kDetect:
      case Format::kBinary:
        document::ParseBinary(input.bytes(), record);
        break;
      case Format::kJson:
        ReadJson(input.bytes(), pairing, record);
        break;
      case Format::kText:
        document::FromText(input.bytes(), record);
        break;
    }
  } catch (const document::Error& e) {
    throw Failure(input.name, e.where(), e.message());
  }
}

const google::protobuf::Descriptor* DocumentType(const TypeOption& type, const Input& input, Format format) {
  if (format == Format::kDetect) format = DetectFormat(input.bytes());
  if (!type.given() && format == Format::kJson) {
    const std::string named = document::JsonDocumentType(input.bytes());
    if (!named.empty()) {
      try {
        return document::RequireRecord(named);
      } catch (const document::Error& e) {
        throw Failure(input.name, "@type", e.message());
      }
    }
  }
  return type.Resolve();
}

std::unique_ptr<google::protobuf::Message> LoadDocument(const std::string& path, const TypeOption& type,
                                                        const std::string& format,
                                                        const document::PairingCatalogue& pairing) {
  const Input input = ReadInput(path);
  Format settled = FormatNamed(format);
  if (settled == Format::kDetect) settled = DetectFormat(input.bytes());
  std::unique_ptr<google::protobuf::Message> record = document::NewRecord(DocumentType(type, input, settled));
  ReadDocument(input, settled, pairing, record.get());
  return record;
}

std::unique_ptr<google::protobuf::Message> LoadDocument(const std::string& path,
                                                        const google::protobuf::Descriptor* type,
                                                        const std::string& format,
                                                        const document::PairingCatalogue& pairing) {
  std::unique_ptr<google::protobuf::Message> record = document::NewRecord(type);
  ReadDocument(ReadInput(path), FormatNamed(format), pairing, record.get());
  return record;
}

namespace {

// A large document's records in blocks growing to 2 MiB rather than the
// runtime's default of a few kilobytes, from the platform's block memory.
google::protobuf::ArenaOptions DocumentArenaOptions() {
  google::protobuf::ArenaOptions options;
  options.start_block_size = 64 * 1024;
  options.max_block_size = 2 * 1024 * 1024;
  options.block_alloc = platform::AllocateBlock;
  options.block_dealloc = platform::FreeBlock;
  return options;
}

}  // namespace

Document::Document(const google::protobuf::Descriptor* type)
    : arena_(std::make_unique<google::protobuf::Arena>(DocumentArenaOptions())),
      record_(document::NewRecord(type, arena_.get())) {}

std::unique_ptr<Document> ParseDocument(const Input& input, const google::protobuf::Descriptor* type) {
  auto document = std::make_unique<Document>(type);
  // Binary never asks which record a config holds.
  ReadDocument(input, Format::kBinary, document::PairingCatalogue(), document->record());
  return document;
}

std::string Encode(const google::protobuf::Message& record) {
  // Partial: a record of the library has no required fields, and nothing a
  // document holds should stop it from being written back.
  return record.SerializePartialAsString();
}

}  // namespace gcuschema::tool
