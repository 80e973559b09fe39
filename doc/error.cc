#include <gcuschema/doc/error.h>

namespace gcuschema::doc {

Error::Error(std::string where, const std::string& message)
    : std::runtime_error(where.empty() ? message : where + ": " + message),
      where_(std::move(where)),
      message_(message) {}

}  // namespace gcuschema::doc
