// fuzz_expand: bytes decoded as a ConfigData, DeviceData or CalibrationData
// (the first byte chooses) and shown as expanded JSON. Whenever that works,
// reading the JSON back and encoding gives bytes that decode to the same
// JSON, and exactly the input whenever the input was canonical (parsing and
// encoding it reproduces it). The companion library's decoder must accept
// exactly what the runtime accepts, and its comparison with the encoding
// must find every input that is not canonical and say why.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <google/protobuf/stubs/logging.h>

#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/document/canonical.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/io.h>
#include <gcuschema/document/records.h>

namespace {

using google::protobuf::Descriptor;
using google::protobuf::Message;
namespace document = gcuschema::document;

[[noreturn]] void Fail(const Descriptor* type, const std::string& what) {
  std::fprintf(stderr, "fuzz_expand: %s: %s\n", type->full_name().c_str(), what.c_str());
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
  static const Descriptor* const kTypes[] = {ConfigData::descriptor(), DeviceData::descriptor(),
                                             CalibrationData::descriptor()};
  static const document::ReadOptions kBinary{document::Format::kBinary};
  static const document::ReadOptions kJson{document::Format::kJson};
  static const document::WriteOptions kExpanded;
  if (size == 0) return 0;
  const Descriptor* type = kTypes[data[0] % 3];
  const std::string input(reinterpret_cast<const char*>(data) + 1, size - 1);

  std::unique_ptr<Message> by_runtime = document::NewRecord(type);
  const bool runtime_parses = by_runtime->ParseFromString(input);
  std::unique_ptr<Message> record = document::NewRecord(type);
  try {
    document::Read(input, record.get(), kBinary);
  } catch (const document::Error& e) {
    if (runtime_parses) Fail(type, std::string("Read rejects what the runtime parses: ") + e.what());
    return 0;
  }
  if (!runtime_parses) Fail(type, "Read accepts what the runtime rejects");

  const bool canonical = record->SerializeAsString() == input;
  const std::optional<document::EncodingDifference> difference = document::CompareEncoding(input, *record);
  if (difference.has_value() == canonical) Fail(type, "CompareEncoding disagrees with the encoding");
  if (difference && difference->cause.empty()) Fail(type, "the records write the input otherwise, for no cause found");

  std::string json;
  try {
    json = document::WriteString(*record, document::Format::kJson, kExpanded);
  } catch (const document::Error&) {
    return 0;  // not expandable; nothing more to hold it to
  }

  std::unique_ptr<Message> collapsed = document::NewRecord(type);
  try {
    document::Read(json, collapsed.get(), kJson);
  } catch (const document::Error& e) {
    Fail(type, std::string("its own JSON does not collapse: ") + e.what());
  }
  const std::string encoded = collapsed->SerializeAsString();

  std::unique_ptr<Message> reparsed = document::NewRecord(type);
  if (!reparsed->ParseFromString(encoded)) Fail(type, "the collapsed record's encoding does not parse");
  if (document::WriteString(*reparsed, document::Format::kJson, kExpanded) != json) Fail(type, "the collapsed encoding decodes to other JSON");

  if (canonical && encoded != input) Fail(type, "a canonical input does not come back byte for byte");
  return 0;
}
