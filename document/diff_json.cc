// The differences of two documents as JSON, for programs.
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <gcuschema/document/diff.h>

namespace gcuschema::document {
namespace {

using Json = nlohmann::ordered_json;

const char* KindName(Difference::Kind kind) {
  switch (kind) {
    case Difference::Kind::kAdded: return "added";
    case Difference::Kind::kRemoved: return "removed";
    case Difference::Kind::kModified: return "modified";
    case Difference::Kind::kReordered: return "reordered";
  }
  return "modified";
}

Json Entry(const EntryId& entry) {
  Json object = {{"list", entry.list}, {"key", entry.key}, {"id", entry.id}};
  if (entry.alias) object["alias"] = *entry.alias;
  return object;
}

}  // namespace

std::string DifferencesAsJson(const std::vector<Difference>& differences) {
  Json array = Json::array();
  for (const Difference& d : differences) {
    Json object = {{"path", d.path}, {"kind", KindName(d.kind)}};
    object["old"] = d.kind == Difference::Kind::kAdded ? Json() : Json(d.old_value);
    object["new"] = d.kind == Difference::Kind::kRemoved ? Json() : Json(d.new_value);
    if (d.kind == Difference::Kind::kReordered) object["moves"] = d.moves;
    Json entries = Json::array();
    for (const EntryId& entry : d.entries) entries.push_back(Entry(entry));
    object["entries"] = std::move(entries);
    array.push_back(std::move(object));
  }
  // Values are spelt escaped; only an alias can hold bytes that are not
  // UTF-8, and its path spells them exactly.
  return array.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace gcuschema::document
