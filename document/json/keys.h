// The members the expanded JSON adds to a record's own fields.
#ifndef GCUSCHEMA_DOCUMENT_JSON_KEYS_H
#define GCUSCHEMA_DOCUMENT_JSON_KEYS_H

namespace gcuschema::document::internal {

// The record an object holds: the document's, or that of a `config`.
inline constexpr char kTypeKey[] = "@type";
// Fields the schema does not know, as the bytes that carried them.
inline constexpr char kUnknownKey[] = "@unknown";
// The same as the writer lays them out, quoted.
inline constexpr char kQuotedTypeKey[] = "\"@type\"";
inline constexpr char kQuotedUnknownKey[] = "\"@unknown\"";

}  // namespace gcuschema::document::internal

#endif
