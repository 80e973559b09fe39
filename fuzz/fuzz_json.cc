// fuzz_json: arbitrary text given to the JSON collapse (Read as JSON)
// for the record the first byte chooses (order of AllRecords()). It never
// crashes and reports every rejection as document::Error with a message; what it
// accepts encodes, re-parses, and shows as JSON that collapses to the same
// bytes. Encode, which makes the encoding without a record where it can,
// accepts what Read accepts and gives the bytes the record read encodes to.
// The record's JSON with type codes by name (WriteOptions::type_names) reads
// back, by Read and by Encode, to the same bytes.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/stubs/logging.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/io.h>
#include <gcuschema/document/records.h>

#include "support/schema_files.h"

namespace {

using google::protobuf::Descriptor;
using google::protobuf::Message;
namespace document = gcuschema::document;

[[noreturn]] void Fail(const Descriptor* type, const std::string& what) {
  std::fprintf(stderr, "fuzz_json: %s: %s\n", type->full_name().c_str(), what.c_str());
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // The runtime logs every invalid UTF-8 string it refuses; that is expected
  // here and only slows the run down.
  google::protobuf::SetLogHandler(nullptr);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::vector<const Descriptor*> types = gcuschema::test::AllRecords();
  static const document::ReadOptions kJson{document::Format::kJson};
  static const document::WriteOptions kExpanded;
  static const document::WriteOptions kNamed = [] {
    document::WriteOptions options;
    options.type_names = true;
    return options;
  }();
  if (size == 0 || types.empty()) return 0;
  const Descriptor* type = types[data[0] % types.size()];
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);

  std::unique_ptr<Message> record = document::NewRecord(type);
  std::string direct;
  bool encoded_directly = true;
  try {
    document::Encode(text, type, &direct, kJson);
  } catch (const document::Error&) {
    encoded_directly = false;
  }
  try {
    document::Read(text, record.get(), kJson);
  } catch (const document::Error& e) {
    if (e.message().empty()) Fail(type, "an error without a message");
    if (encoded_directly) Fail(type, "Encode accepts what Read refuses");
    return 0;
  }
  if (!encoded_directly) Fail(type, "Encode refuses what Read accepts");

  std::string encoded;
  if (!record->SerializeToString(&encoded)) Fail(type, "an accepted document does not encode");
  if (direct != encoded) Fail(type, "Encode gives other bytes than the record read encodes to");
  std::unique_ptr<Message> reparsed = document::NewRecord(type);
  if (!reparsed->ParseFromString(encoded)) Fail(type, "an accepted document's encoding does not parse");

  std::unique_ptr<Message> again = document::NewRecord(type);
  try {
    document::Read(document::WriteString(*reparsed, document::Format::kJson, kExpanded), again.get(), kJson);
  } catch (const document::Error& e) {
    Fail(type, std::string("the JSON of an accepted document does not collapse: ") + e.what());
  }
  if (again->SerializeAsString() != reparsed->SerializeAsString()) {
    Fail(type, "JSON round trip of an accepted document changes its encoding");
  }
  std::string written_again;
  document::Encode(document::WriteString(*reparsed, document::Format::kJson, kExpanded), type, &written_again, kJson);
  if (written_again != encoded) Fail(type, "Encode of the JSON written gives other bytes than the record");

  const std::string named = document::WriteString(*reparsed, document::Format::kJson, kNamed);
  std::unique_ptr<Message> from_named = document::NewRecord(type);
  try {
    document::Read(named, from_named.get(), kJson);
  } catch (const document::Error& e) {
    Fail(type, std::string("the JSON of an accepted document with type names does not read: ") + e.what());
  }
  if (from_named->SerializeAsString() != encoded) Fail(type, "JSON with type names reads as another record");
  std::string named_encoded;
  document::Encode(named, type, &named_encoded, kJson);
  if (named_encoded != encoded) Fail(type, "Encode of the JSON with type names gives other bytes than the record");
  return 0;
}
