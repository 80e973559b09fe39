#ifndef GCUSCHEMA_DOCUMENT_JSON_CODEC_H
#define GCUSCHEMA_DOCUMENT_JSON_CODEC_H

#include <string>
#include <string_view>

namespace gcuschema::document {

// The record a JSON document names in its top-level "@type" member, or an
// empty string when it names none (or is not a JSON object). Reads only
// as far as it must.
std::string JsonDocumentType(std::string_view text);

}  // namespace gcuschema::document

#endif
