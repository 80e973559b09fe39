#include "document.h"

#include <cstdint>
#include <cstdlib>

#include <gcuschema/document/binary.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/memory.h>
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

Document::Document(const google::protobuf::Descriptor* type)
    : arena_(std::make_unique<google::protobuf::Arena>(document::LargeDocumentArenaOptions())),
      record_(document::NewRecord(type, arena_.get())) {}

std::unique_ptr<Document> ParseDocument(const Input& input, const google::protobuf::Descriptor* type,
                                        int threads) {
  auto document = std::make_unique<Document>(type);
  try {
    document::ParseBinary(input.bytes(), document->record(), threads);
  } catch (const document::Error& e) {
    throw Failure(input.name, e.where(), e.message());
  }
  return document;
}

document::TextPieces EncodeLarge(const google::protobuf::Message& record) {
  const std::size_t size = record.ByteSizeLong();
  document::TextPieces out(size);
  if (size == 0) return out;
  std::size_t room;
  auto* start = reinterpret_cast<std::uint8_t*>(out.Grab(size, &room));
  // The sizes ByteSizeLong() just worked out are the ones written with.
  record.SerializeWithCachedSizesToArray(start);
  out.Unwrite(room - size);
  return out;
}

std::string Encode(const google::protobuf::Message& record) {
  // Partial: a record of the library has no required fields, and nothing a
  // document holds should stop it from being written back.
  return record.SerializePartialAsString();
}

}  // namespace gcuschema::tool
