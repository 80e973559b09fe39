#include <gcuschema/document/error.h>

namespace gcuschema::document {

Error::Error(std::string where, const std::string& message)
    : std::runtime_error(where.empty() ? message : where + ": " + message),
      where_(std::move(where)),
      message_(message) {}

}  // namespace gcuschema::document
