#include "document.h"

#include <gcuschema/doc/binary.h>
#include <gcuschema/doc/error.h>
#include <gcuschema/doc/records.h>

#include "failure.h"

namespace gcuschema::tool {

std::unique_ptr<google::protobuf::Message> ParseEncoded(const Input& input,
                                                        const google::protobuf::Descriptor* type) {
  std::unique_ptr<google::protobuf::Message> record = doc::NewRecord(type);
  try {
    doc::ParseBinary(input.bytes, record.get());
  } catch (const doc::Error& e) {
    throw Failure(input.name, e.where(), e.message());
  }
  return record;
}

std::unique_ptr<google::protobuf::Message> LoadEncoded(const std::string& path,
                                                       const google::protobuf::Descriptor* type) {
  return ParseEncoded(ReadInput(path), type);
}

std::string Encode(const google::protobuf::Message& record) {
  // Partial: a record of the library has no required fields, and nothing a
  // document holds should stop it from being written back.
  return record.SerializePartialAsString();
}

}  // namespace gcuschema::tool
