// Reads JSON text into records: a pull parser over simdjson's on-demand
// API, one recursive descent per record plan. Values are encoded as they
// are met and the record is filled by one parse of that encoding at the
// end, so a refused text leaves the record as it was. A `config` object
// whose "@type" comes late is looked through for it and then read again
// from its start, never held; nothing of the text is held but the text.
#ifndef GCUSCHEMA_DOCUMENT_JSON_READER_H
#define GCUSCHEMA_DOCUMENT_JSON_READER_H

#include <string>
#include <string_view>

#include <google/protobuf/descriptor.h>

#include <google/protobuf/message.h>

#include <gcuschema/document/io.h>

namespace gcuschema::document::internal {

// Reads the whole text into `record`, replacing what it held; throws Error
// (UnsupportedError for what the library does not map), the record then
// left as it was.
void ReadJson(std::string_view text, google::protobuf::Message* record, const ReadOptions& options);

// The encoding of the `type` the text holds, into `encoded`: what ReadJson
// and then the record's serialization give, made without a record when
// the text gives fields in number order (as the writer writes them).
void EncodeJson(std::string_view text, const google::protobuf::Descriptor* type, std::string* encoded,
                const ReadOptions& options);

}  // namespace gcuschema::document::internal

#endif
