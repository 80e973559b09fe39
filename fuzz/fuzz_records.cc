// fuzz_records: the first byte picks one record of the library (in the order
// of AllRecords(): file by file, each record before its nested records), the
// rest is parsed into it. Whatever parses must size, encode and re-parse
// consistently, and encoding is a fixed point after one round.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/stubs/logging.h>

#include "support/schema_files.h"

namespace {

using google::protobuf::Descriptor;
using google::protobuf::Message;
using google::protobuf::MessageFactory;

const std::vector<const Message*>& Prototypes() {
  static const std::vector<const Message*> prototypes = [] {
    std::vector<const Message*> out;
    for (const Descriptor* d : gcuschema::test::AllRecords()) {
      out.push_back(MessageFactory::generated_factory()->GetPrototype(d));
    }
    return out;
  }();
  return prototypes;
}

[[noreturn]] void Fail(const Message& record, const char* what) {
  std::fprintf(stderr, "fuzz_records: %s: %s\n", record.GetTypeName().c_str(), what);
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
  const std::vector<const Message*>& prototypes = Prototypes();
  if (size == 0 || prototypes.empty()) return 0;
  const Message& prototype = *prototypes[data[0] % prototypes.size()];
  std::unique_ptr<Message> record(prototype.New());
  if (!record->ParseFromArray(data + 1, static_cast<int>(size - 1))) return 0;

  const std::size_t size_before = record->ByteSizeLong();
  std::string first;
  if (!record->SerializeToString(&first)) Fail(*record, "a parsed record does not encode");
  if (first.size() != size_before) Fail(*record, "ByteSizeLong() disagrees with the encoding");

  std::unique_ptr<Message> again(prototype.New());
  if (!again->ParseFromString(first)) Fail(*record, "its own encoding does not parse");
  std::string second;
  if (!again->SerializeToString(&second)) Fail(*again, "the re-parsed record does not encode");
  if (second != first) Fail(*again, "encoding is not stable after one round");
  return 0;
}
