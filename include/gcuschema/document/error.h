#ifndef GCUSCHEMA_DOCUMENT_ERROR_H
#define GCUSCHEMA_DOCUMENT_ERROR_H

#include <stdexcept>
#include <string>

#include <gcuschema/document/entry_kind.h>
#include <gcuschema/document/export.h>

namespace gcuschema::document {

// What the caller can change, besides the document, to get past an error or
// a finding. Messages describe the document only; a program that knows how
// its user gives a record, a format or a pairing (a command-line option, a
// field of a dialog) says so beside the message, chosen by `kind`.
struct Remedy {
  enum class Kind {
    kNone,
    // The format cannot be told from the content (the input is empty):
    // name it (ReadOptions::format).
    kNameFormat,
    // The document names itself a `record` but was read as another: read it
    // as a `record`.
    kNameRecord,
    // Pair the type code `code` of `entry` entries with a record: `record`
    // when one is named, else the one their `config` holds (for maps, a
    // table record for every map type would do too).
    kPairCode,
    // A name is not a record of the library; nothing close to it was found.
    kListRecords,
    // A name is none of the field or value names of `record`; nothing close
    // to it was found.
    kListNames,
  };
  Kind kind = Kind::kNone;
  std::string record;  // a record's full name, or empty
  EntryKind entry = EntryKind::kInput;
  int code = 0;
};

// What went wrong with a document, and where: `where` is a field path
// ("inputs[3].config"), a byte offset with the field path when known
// ("byte 17 (inputs[2].alias)"), or a text position with the field path
// when known ("line 4, column 12 (inputs[0].type)"); empty when the whole
// input is concerned. what() reads "<where>: <message>" (or just the
// message).
class GCUSCHEMA_DOCUMENT_API Error : public std::runtime_error {
 public:
  Error(std::string where, const std::string& message, Remedy remedy = {});
  const std::string& where() const noexcept { return where_; }
  const std::string& message() const noexcept { return message_; }
  const Remedy& remedy() const noexcept { return remedy_; }

 private:
  std::string where_;
  std::string message_;
  Remedy remedy_;
};

// A record or value whose JSON needs a part of the protobuf JSON mapping
// that the codec does not implement: map fields, well-known types
// (google.protobuf.*), groups and extensions. No record of the library has
// any of them.
class GCUSCHEMA_DOCUMENT_API UnsupportedError : public Error {
 public:
  using Error::Error;
};

}  // namespace gcuschema::document

#endif
