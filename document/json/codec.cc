#include "json/codec.h"

#include <string>

#include <simdjson.h>

#include "json/keys.h"

namespace gcuschema::document {

namespace {

enum class Probe { kFound, kNone, kCut };

// Looks through the members of the top-level object of `text` for "@type",
// reading none of their values: kCut when the text ends before the object
// does (or is not JSON), kNone when it is no object or names nothing.
Probe FindDocumentType(std::string_view text, std::string* type) {
  namespace sj = simdjson::ondemand;
  const simdjson::padded_string padded(text);
  if (padded.size() != text.size()) return Probe::kCut;
  sj::parser parser;
  sj::document document;
  if (parser.iterate(padded).get(document)) return Probe::kCut;
  sj::value root;
  sj::object members;
  if (document.get_value().get(root) || root.get_object().get(members)) return Probe::kNone;
  for (auto result : members) {
    sj::field member;
    std::string_view key;
    if (std::move(result).get(member) || member.unescaped_key().get(key)) return Probe::kCut;
    std::string_view name;
    if (key == internal::kTypeKey && !member.value().get_string().get(name)) {
      *type = name;
      return Probe::kFound;
    }
  }
  return Probe::kNone;
}

}  // namespace

std::string JsonDocumentType(std::string_view text) {
  // Documents name their record first: the start of the text, cut at a line
  // break (where no string of JSON can be open), mostly settles it without
  // indexing the rest.
  constexpr std::size_t kStart = 64 * 1024;
  std::string type;
  const std::size_t cut = text.size() > kStart ? text.rfind('\n', kStart) : std::string_view::npos;
  if (cut != std::string_view::npos && cut > 0) {
    const Probe probe = FindDocumentType(text.substr(0, cut), &type);
    if (probe != Probe::kCut) return type;
  }
  FindDocumentType(text, &type);
  return type;
}

}  // namespace gcuschema::document
