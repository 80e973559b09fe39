#ifndef GCUSCHEMA_DOCUMENT_INSPECT_H
#define GCUSCHEMA_DOCUMENT_INSPECT_H

#include <optional>
#include <string>
#include <string_view>

#include <google/protobuf/message.h>

#include <gcuschema/document/export.h>
#include <gcuschema/document/pairing.h>

namespace gcuschema::document {

// A readable summary of a record: for a ConfigData the counts of inputs and
// outputs by type name, maps, buses with their frames, estimators, units,
// the identity strings and the bytes taken by each section, then a table
// of the entries of each kind (inputs and outputs: id, alias, pin, type,
// settings record, bytes of the entry and of its settings; maps: id,
// alias, type, how the table was read, bytes; drivers; the buses'
// handlers), in document order; for a DeviceData
// its identity, its blocks' sizes and its configuration's summary; for a
// calibration its identity and list sizes; for other records their fields.
// Settings are counted by the record their type code pairs, with how many of
// them (or of the settings held inside them) do not read as that record;
// maps and linearizations say how their table was read: by which record and
// whether their type, a map table or another given pairing chose it, or why
// it stays bytes.
// Throws Error when settings nest deeper than any reader of the library goes
// (records inside `config`, 16 levels).
struct InspectOptions {
  // Which record each entry's `config` holds.
  PairingCatalogue pairing = PairingCatalogue::Standard();
  // The encoded bytes the record was read from, when it was read from its
  // encoding: the summary gives their size and, when the record writes
  // other bytes, its own size and why (CompareEncoding). Without them, the
  // size is that of the record's encoding. Not owned.
  std::optional<std::string_view> encoded;
};

GCUSCHEMA_DOCUMENT_API std::string Inspect(const google::protobuf::Message& record,
                                           const InspectOptions& options = {});

// The same summary as a JSON object for programs: "record", "bytes" (and
// "canonicalBytes" and "notCanonical" where the bytes read are not those
// the record writes), then what the text shows, under the schema's field
// names where a value is a field's. A ConfigData's lists have "count" and
// "bytes"; inputs and outputs "byType" and "entries", maps "byType" and
// "entries", drivers "entries", canbus "buses" and "handlers",
// canbusRouter "routes", estimationData "estimators". Every list is given
// whole (the text shows the first buses, routers and estimators).
GCUSCHEMA_DOCUMENT_API std::string InspectAsJson(const google::protobuf::Message& record,
                                                 const InspectOptions& options = {});

}  // namespace gcuschema::document

#endif
