#ifndef GCUSCHEMA_DOCUMENT_JSON_H
#define GCUSCHEMA_DOCUMENT_JSON_H

#include <string>
#include <string_view>

#include <google/protobuf/message.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/export.h>
#include <gcuschema/document/pairing.h>
#include <gcuschema/document/sink.h>

namespace gcuschema::document {

struct JsonWriteOptions {
  // Every `config` whose entry's type code is paired (and DeviceData.config,
  // always a ConfigData) shown as the record it holds, {"@type":
  // "AdcConfiguration", ...}, itself expanded, and the unknown fields of
  // every record as "@unknown": "<base64 of their encoding>". A `config` is
  // expanded only when it parses as its record, encoding that record gives
  // back exactly its bytes, and JSON can spell every value it holds;
  // otherwise it stays base64, so expansion never loses a byte. Without
  // expansion the output is plain proto3 JSON that any implementation reads.
  bool expand = true;
  // Field names as the schema spells them ("__unused1") instead of their
  // JSON names ("Unused1"). Both are read back.
  bool original_names = false;
  // "@unknown" also without expansion (only this codec reads it back).
  // Without either, unknown fields are left out and NaNs written "NaN".
  bool unknown_fields = false;
  // The record's full name as a leading "@type" member, so that a reader
  // knows what the document is.
  bool type_name = false;
  // Spaces per level of nesting; 0 writes everything on one line.
  int indent = 2;
  // Large lists of records are written by up to this many threads (0: one
  // per core; never more than one per core). The output never depends on it.
  int threads = 1;
};

struct JsonReadOptions {
  // Members that name no field of their record are skipped, as are
  // enumeration names the enumeration lacks, instead of being errors.
  bool ignore_unknown_fields = false;
};

// Records as JSON by the protobuf JSON mapping (proto3): fields in
// declaration order, 64-bit integers as strings, bytes in base64,
// enumerations by name (by number when a value has no name), floats as the
// shortest text that reads back to the same value ("NaN", "Infinity" and
// "-Infinity" as strings). The reader is strict where the mapping is:
// duplicate members, null inside a list, a value of the wrong JSON kind, a
// number out of its field's range or not integral for an integer field are
// errors naming the field path, line and column. It is lenient where the
// mapping is: numbers also as strings, enumerations also by number, base64
// of either alphabet with or without padding, whitespace in base64
// ignored, fields under their JSON name or their schema name.
class GCUSCHEMA_DOCUMENT_API JsonCodec {
 public:
  explicit JsonCodec(PairingCatalogue pairing = PairingCatalogue::Standard());

  const PairingCatalogue& pairing() const { return pairing_; }
  PairingCatalogue& pairing() { return pairing_; }

  std::string ToJson(const google::protobuf::Message& record, const JsonWriteOptions& options = {}) const;
  // ToJson handed to `sink` as it is made, never held whole.
  void WriteJson(const google::protobuf::Message& record, const Sink& sink,
                 const JsonWriteOptions& options = {}) const;

  // Reads JSON text into `record` (merged into what it holds; clear it
  // first for a fresh read), expanded or not: each "@type" object is
  // encoded into its entry's `config`, each "@unknown" restored. An "@type"
  // other than the record the entry's type code is paired with is an
  // error. An "@type" of the document must name `record`'s type. A
  // `config` object may name its record anywhere among its members.
  // Throws Error (UnsupportedError for what the codec does not implement),
  // leaving `record` as it was.
  void FromJson(std::string_view text, google::protobuf::Message* record,
                const JsonReadOptions& options = {}) const;

 private:
  PairingCatalogue pairing_;
};

// The record a JSON document names in its top-level "@type" member, or an
// empty string when it names none (or is not a JSON object). Reads only
// as far as it must.
GCUSCHEMA_DOCUMENT_API std::string JsonDocumentType(std::string_view text);

}  // namespace gcuschema::document

#endif
