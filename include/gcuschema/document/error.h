#ifndef GCUSCHEMA_DOCUMENT_ERROR_H
#define GCUSCHEMA_DOCUMENT_ERROR_H

#include <stdexcept>
#include <string>

#include <gcuschema/document/export.h>

namespace gcuschema::document {

// What went wrong with a document, and where: `where` is a field path
// ("inputs[3].config"), a byte offset ("byte 17"), or a text position
// ("line 4, column 12"); empty when the whole input is concerned.
// what() reads "<where>: <message>" (or just the message).
class GCUSCHEMA_DOCUMENT_API Error : public std::runtime_error {
 public:
  Error(std::string where, const std::string& message);
  const std::string& where() const noexcept { return where_; }
  const std::string& message() const noexcept { return message_; }

 private:
  std::string where_;
  std::string message_;
};

}  // namespace gcuschema::document

#endif
