#include <gcuschema/document/error.h>

#include <utility>

namespace gcuschema::document {

Error::Error(std::string where, const std::string& message, Remedy remedy)
    : std::runtime_error(where.empty() ? message : where + ": " + message),
      where_(std::move(where)),
      message_(message),
      remedy_(std::move(remedy)) {}

}  // namespace gcuschema::document
