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
// else, with an optional "@type" naming the record and "@unknown" holding
// fields outside the schema in base64. Enumerations take their value names
// (numbers too, as the reader accepts them), 64-bit integers strings or
// numbers, bytes base64, floats numbers or "NaN", "Infinity", "-Infinity".
// A `config` is base64 or an object whose "@type" names a record: the
// record its entry's type code pairs (any record where the pairing leaves
// the code open). Descriptions come from the schema files' comments, with
// each field's number and type.
GCUSCHEMA_DOCUMENT_API std::string JsonSchemaText(const google::protobuf::Descriptor* record,
                                                  const JsonSchemaOptions& options = {});

// The same for a document of any record of the library, which names its
// record in a leading "@type" (as written with WriteOptions::type_name):
// every record is defined, and the document is checked as the one named.
GCUSCHEMA_DOCUMENT_API std::string JsonSchemaTextOfAnyRecord(const JsonSchemaOptions& options = {});

}  // namespace gcuschema::document

#endif
