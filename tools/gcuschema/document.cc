#include "document.h"

#include <gcuschema/doc/binary.h>
#include <gcuschema/doc/error.h>
#include <gcuschema/doc/records.h>

#include "failure.h"

namespace gcuschema::tool {
namespace {

google::protobuf::ArenaOptions DocumentArena() {
  google::protobuf::ArenaOptions options;
  // A document of any size takes a few blocks, not thousands.
  options.start_block_size = 64 * 1024;
  options.max_block_size = 4 * 1024 * 1024;
  return options;
}

}  // namespace

std::unique_ptr<google::protobuf::Message> ParseEncoded(const Input& input,
                                                        const google::protobuf::Descriptor* type) {
  std::unique_ptr<google::protobuf::Message> record = doc::NewRecord(type);
  try {
    doc::ParseBinary(input.bytes(), record.get());
  } catch (const doc::Error& e) {
    throw Failure(input.name, e.where(), e.message());
  }
  return record;
}

std::unique_ptr<google::protobuf::Message> LoadEncoded(const std::string& path,
                                                       const google::protobuf::Descriptor* type) {
  return ParseEncoded(ReadInput(path), type);
}

Document::Document(const google::protobuf::Descriptor* type)
    : arena_(std::make_unique<google::protobuf::Arena>(DocumentArena())),
      record_(doc::NewRecord(type, arena_.get())) {}

std::unique_ptr<Document> ParseDocument(const Input& input, const google::protobuf::Descriptor* type,
                                        int threads) {
  auto document = std::make_unique<Document>(type);
  try {
    doc::ParseBinary(input.bytes(), document->record(), threads);
  } catch (const doc::Error& e) {
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
