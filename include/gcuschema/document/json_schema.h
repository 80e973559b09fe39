#ifndef GCUSCHEMA_DOCUMENT_JSON_SCHEMA_H
#define GCUSCHEMA_DOCUMENT_JSON_SCHEMA_H

#include <string>

#include <google/protobuf/descriptor.h>

#include <gcuschema/document/export.h>
#include <gcuschema/document/pairing.h>

namespace gcuschema::document {

struct JsonSchemaOptions {
  // Which record each entry's `config` holds, as for the JSON itself.
  PairingCatalogue pairing = PairingCatalogue::Standard();
  // Spaces per level of the text; -1 for one line.
  int indent = 2;
};

// A JSON Schema (draft 2020-12) of the JSON of `record` as Write writes
// and reads it, settings expanded: an editor that knows JSON Schema can
// complete and check a document while it is written. Each record is an
// object whose fields are known by both spellings (the schema's name and
// its JSON name, "__unused1" and "Unused1"; not both at once) and nothing
// else, with "@unknown" holding fields outside the schema in base64, and
// "@type" naming the record on the document and on a `config` object only.
// Any field may be null (left unset; not an element of a list).
// Integers are numbers or strings of digits within their type's range,
// enumerations value names or numbers (of their own values only, for a
// closed enumeration), floats finite numbers of their type, decimals in
// strings, or "NaN", "Infinity", "-Infinity"; bytes are base64 as the
// reader decodes it, strings text without a lone surrogate. A `config` is
// base64 or an object whose "@type" names a record: the record its entry's
// type code pairs (any record where the pairing leaves the code open).
// Descriptions come from the schema files' comments, with each field's
// number and type.
//
// What the schema calls valid, Read and Encode read, but for what a JSON
// Schema cannot see: duplicate members, the fields "@unknown" encodes,
// settings nested deeper than 16 levels of `config`, and the reader's
// limits on size. It is stricter than the reader in a few spellings only:
// integers in strings with a fraction or exponent ("7.0", "1e2") or "-0"
// for an unsigned one; a type code in a string other than plain digits
// (an input's or output's type by name, WriteOptions::type_names, among them);
// floats in strings with an exponent, without a digit before the point, or
// with more than 38 (308 for doubles) digits before it or 30 after; and
// numbers just beyond the largest float that round to it.
GCUSCHEMA_DOCUMENT_API std::string JsonSchemaText(const google::protobuf::Descriptor* record,
                                                  const JsonSchemaOptions& options = {});

// The same for a document of any record of the library, which names its
// record in a leading "@type" (as written with WriteOptions::type_name):
// every record is defined, and the document is checked as the one named.
GCUSCHEMA_DOCUMENT_API std::string JsonSchemaTextOfAnyRecord(const JsonSchemaOptions& options = {});

}  // namespace gcuschema::document

#endif
