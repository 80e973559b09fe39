#ifndef GCUSCHEMA_DOCUMENT_ERROR_H
#define GCUSCHEMA_DOCUMENT_ERROR_H

#include <stdexcept>
#include <string>

#include <gcuschema/document/export.h>

namespace gcuschema::document {

// What went wrong with a document, and where: `where` is a field path
// ("inputs[3].config"), a byte offset with the field path when known
// ("byte 17 (inputs[2].alias)"), or a text position with the field path
// when known ("line 4, column 12 (inputs[0].type)"); empty when the whole
// input is concerned. what() reads "<where>: <message>" (or just the
// message).
class GCUSCHEMA_DOCUMENT_API Error : public std::runtime_error {
 public:
  Error(std::string where, const std::string& message);
  const std::string& where() const noexcept { return where_; }
  const std::string& message() const noexcept { return message_; }

 private:
  std::string where_;
  std::string message_;
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
