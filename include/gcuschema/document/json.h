#ifndef GCUSCHEMA_DOCUMENT_JSON_H
#define GCUSCHEMA_DOCUMENT_JSON_H

#include <string>
#include <string_view>

#include <google/protobuf/message.h>
#include <nlohmann/json.hpp>

#include <gcuschema/document/binary.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/export.h>
#include <gcuschema/document/pairing.h>

namespace gcuschema::document {

using Json = nlohmann::ordered_json;

// JSON of a record, by the protobuf JSON mapping with the schema's own field
// names, enumerations by name (by number when a value has no name), bytes in
// base64, fields in declaration order. With expansion, every `config` whose
// entry's type code is paired (and DeviceData.config, always a ConfigData) is
// shown as the record it holds: {"@type": "AdcConfiguration", ...fields}, itself
// expanded. A `config` is expanded only when it parses as its record and
// encoding that record gives back exactly its bytes; otherwise it stays a
// base64 string, so expansion never loses a byte. Unknown fields of any
// record are kept as "@unknown": "<base64 of their encoding>".
class GCUSCHEMA_DOCUMENT_API JsonCodec {
 public:
  explicit JsonCodec(PairingCatalogue pairing = PairingCatalogue::Standard());

  const PairingCatalogue& pairing() const { return pairing_; }
  PairingCatalogue& pairing() { return pairing_; }

  Json ToJson(const google::protobuf::Message& record, bool expand = true) const;
  std::string ToJsonText(const google::protobuf::Message& record, bool expand = true,
                         int indent = 2) const;
  // ToJsonText in pieces, never held whole in one string: the large lists
  // of records are made and written element by element, by up to
  // threads() threads.
  TextPieces ToJsonPieces(const google::protobuf::Message& record, bool expand = true,
                          int indent = 2) const;
  // ToJsonText handed to `write` as it is made, through memory that is
  // filled again once written (never all of it at once).
  void WriteJson(const google::protobuf::Message& record, const TextWriter& write, bool expand = true,
                 int indent = 2) const;

  // How many threads large documents are worked on with (0: one per core,
  // the default; 1: the calling thread only). The results never depend on it.
  int threads() const { return threads_; }
  void set_threads(int threads) { threads_ = threads; }

  // How records and JSON are mapped onto each other: walked by the codec
  // itself (the default), or through the protobuf runtime's JSON printer
  // and parser (slower; the reference the walks are tested against). The
  // two give the same JSON and the same records; the walks hand to the
  // runtime whatever they do not cover themselves, errors included.
  enum class Engine { kWalk, kRuntime };
  Engine engine() const { return engine_; }
  void set_engine(Engine engine) { engine_ = engine; }

  // The reverse, expanded or not: each "@type" object is encoded into its
  // entry's `config`, each "@unknown" restored. Merges into `record` (clear
  // it first for a fresh parse). Throws Error with the field path
  // ("inputs[2].config.range") or, for text, the line and column.
  void FromJson(const Json& value, google::protobuf::Message* record) const;
  void FromJsonText(std::string_view text, google::protobuf::Message* record) const;

 private:
  PairingCatalogue pairing_;
  int threads_ = 0;
  Engine engine_ = Engine::kWalk;
};

}  // namespace gcuschema::document

#endif
