// Field paths as every message of the library spells them: fields by their
// schema names joined by points, list elements by index ("inputs[3].config.range").
#ifndef GCUSCHEMA_DOCUMENT_FIELD_PATH_H
#define GCUSCHEMA_DOCUMENT_FIELD_PATH_H

#include <string>
#include <string_view>

namespace gcuschema::document::internal {

// `path` followed by the member `name`; the empty path is the record itself.
inline std::string JoinPath(std::string_view path, std::string_view name) {
  std::string out(path);
  if (!out.empty()) out += '.';
  out += name;
  return out;
}

// The element `index` of the list at `path`.
inline std::string IndexPath(std::string_view path, int index) {
  std::string out(path);
  out += '[';
  out += std::to_string(index);
  out += ']';
  return out;
}

// The element `index` of the list `name` at `path`.
inline std::string ElementPath(std::string_view path, std::string_view name, int index) {
  return IndexPath(JoinPath(path, name), index);
}

}  // namespace gcuschema::document::internal

#endif
