#include "engine_adapter.h"

#include <string>

#include <gcuschema/document/error.h>
#include <gcuschema/document/json.h>

namespace gcuschema::conformance {
namespace {

namespace pb = google::protobuf;

// No pairing: the test messages hold no settings records.
const document::JsonCodec& Codec() {
  static const document::JsonCodec codec{document::PairingCatalogue()};
  return codec;
}

}  // namespace

void ReadJson(std::string_view text, pb::Message* record, const JsonReading& reading) {
  document::JsonReadOptions options;
  options.ignore_unknown_fields = reading.ignore_unknown_fields;
  record->Clear();
  try {
    Codec().FromJson(text, record, options);
  } catch (const document::UnsupportedError& e) {
    throw Unsupported(e.what());
  }
}

std::string WriteJson(const pb::Message& record) {
  // Plain proto3 JSON on one line.
  document::JsonWriteOptions options;
  options.expand = false;
  options.indent = 0;
  try {
    return Codec().ToJson(record, options);
  } catch (const document::UnsupportedError& e) {
    throw Unsupported(e.what());
  }
}

}  // namespace gcuschema::conformance
