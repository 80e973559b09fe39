#include "document.h"


#include <gcuschema/document/binary.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>

#include "failure.h"

namespace gcuschema::tool {

std::unique_ptr<google::protobuf::Message> ParseEncoded(const Input& input,
                                                        const google::protobuf::Descriptor* type) {
  std::unique_ptr<google::protobuf::Message> record = document::NewRecord(type);
  try {
    document::ParseBinary(input.bytes(), record.get());
  } catch (const document::Error& e) {
    throw Failure(input.name, e.where(), e.message());
  }
  return record;
}

std::unique_ptr<google::protobuf::Message> LoadEncoded(const std::string& path,
                                                       const google::protobuf::Descriptor* type) {
  return ParseEncoded(ReadInput(path), type);
}

namespace {

// A large document's records in blocks growing to a megabyte rather than
// the runtime's default of a few kilobytes.
google::protobuf::ArenaOptions DocumentArenaOptions() {
  google::protobuf::ArenaOptions options;
  options.start_block_size = 64 * 1024;
  options.max_block_size = 1024 * 1024;
  return options;
}

}  // namespace

Document::Document(const google::protobuf::Descriptor* type)
    : arena_(std::make_unique<google::protobuf::Arena>(DocumentArenaOptions())),
      record_(document::NewRecord(type, arena_.get())) {}

std::unique_ptr<Document> ParseDocument(const Input& input, const google::protobuf::Descriptor* type) {
  auto document = std::make_unique<Document>(type);
  try {
    document::ParseBinary(input.bytes(), document->record());
  } catch (const document::Error& e) {
    throw Failure(input.name, e.where(), e.message());
  }
  return document;
}

void AddThreadsOption(CLI::App* command, int* threads) {
  command
      ->add_option("-j,--threads", *threads,
                   "Threads for large documents (0: one per core); the output does not "
                   "depend on it")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
}

std::string Encode(const google::protobuf::Message& record) {
  // Partial: a record of the library has no required fields, and nothing a
  // document holds should stop it from being written back.
  return record.SerializePartialAsString();
}

}  // namespace gcuschema::tool
