// Reads JSON text into records: a pull parser over simdjson's on-demand
// API, one recursive descent per record plan. Values are encoded as they
// are met and the record is filled by one parse of that encoding at the
// end, so a refused text leaves the record as it was. A `config` object
// whose "@type" comes late is looked through for it and then read again
// from its start, never held; nothing of the text is held but the text.
#ifndef GCUSCHEMA_DOCUMENT_JSON_READER_H
#define GCUSCHEMA_DOCUMENT_JSON_READER_H

#include <string_view>

#include <google/protobuf/message.h>

#include <gcuschema/document/io.h>
#include <gcuschema/document/pairing.h>

namespace gcuschema::document::internal {

class JsonReader {
 public:
  JsonReader(std::string_view text, const PairingCatalogue& pairing, const ReadOptions& options);
  JsonReader(const JsonReader&) = delete;
  JsonReader& operator=(const JsonReader&) = delete;

  // Reads the whole text into `record`, merged into what it holds; throws
  // Error (UnsupportedError for what the codec does not map).
  void Read(google::protobuf::Message* record);

 private:
  std::string_view text_;
  const PairingCatalogue& pairing_;
  const ReadOptions& options_;
};

}  // namespace gcuschema::document::internal

#endif
