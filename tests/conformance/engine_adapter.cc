#include "engine_adapter.h"

#include <string>

#include <gcuschema/document/error.h>
#include <gcuschema/document/io.h>

namespace gcuschema::conformance {
namespace {

namespace pb = google::protobuf;

// No pairing: the test messages hold no settings records.
document::PairingCatalogue NoPairing() { return document::PairingCatalogue(); }

}  // namespace

void ReadJson(std::string_view text, pb::Message* record, const JsonReading& reading) {
  static const document::ReadOptions kStrict{document::Format::kJson, NoPairing(), false};
  static const document::ReadOptions kLenient{document::Format::kJson, NoPairing(), true};
  try {
    document::Read(text, record, reading.ignore_unknown_fields ? kLenient : kStrict);
  } catch (const document::UnsupportedError& e) {
    throw Unsupported(e.what());
  }
}

std::string WriteJson(const pb::Message& record) {
  // Plain proto3 JSON on one line.
  static const document::WriteOptions kPlain = [] {
    document::WriteOptions options;
    options.pairing = NoPairing();
    options.expand = false;
    options.indent = 0;
    return options;
  }();
  try {
    return document::WriteString(record, document::Format::kJson, kPlain);
  } catch (const document::UnsupportedError& e) {
    throw Unsupported(e.what());
  }
}

}  // namespace gcuschema::conformance
