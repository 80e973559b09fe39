#include <gcuschema/document/pairing.h>

#include <cctype>
#include <charconv>
#include <cstdint>
#include <string>
#include <vector>

#include <gcuschema/Config.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>

#include "walk.h"
#include "suggest.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;

struct KindInfo {
  EntryKind kind;
  std::string_view name;
};

constexpr KindInfo kKinds[] = {
    {EntryKind::kInput, "input"},   {EntryKind::kOutput, "output"},
    {EntryKind::kMap, "map"},       {EntryKind::kDriver, "driver"},
    {EntryKind::kHandler, "handler"},
};

// The type codes whose value name shares its stem with a settings record,
// by name on both sides so that the numbers come from the schema itself.
struct StandardPair {
  EntryKind kind;
  const char* code;
  const char* record;
};

constexpr StandardPair kStandard[] = {
#define GCUSCHEMA_PAIR(kind, code, record) {EntryKind::k##kind, #code, #record},
#include "standard_pairing.def"
#undef GCUSCHEMA_PAIR
};

std::string_view Trim(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.remove_suffix(1);
  return text;
}

std::vector<std::string> KindNames() {
  std::vector<std::string> names;
  for (const KindInfo& info : kKinds) names.emplace_back(info.name);
  return names;
}

// The one whole-table record of the dimension a map type's name gives
// ("Interpolated3dMap" -> Map3D), or null when the name gives no single
// dimension or the schema has no such table.
const pb::Descriptor* TableOfMapType(const std::string& name) {
  const pb::Descriptor* table = nullptr;
  int dimensions = 0;
  for (std::size_t i = 0; i + 1 < name.size(); ++i) {
    if (std::isdigit(static_cast<unsigned char>(name[i])) && (name[i + 1] == 'd' || name[i + 1] == 'D')) {
      ++dimensions;
      table = FindRecord(std::string("Map") + name[i] + "D");
    }
  }
  return dimensions == 1 ? table : nullptr;
}

}  // namespace

std::string_view EntryKindName(EntryKind kind) {
  for (const KindInfo& info : kKinds) {
    if (info.kind == kind) return info.name;
  }
  return "unknown";
}

EntryKind ParseEntryKind(std::string_view text) {
  for (const KindInfo& info : kKinds) {
    if (info.name == text) return info.kind;
  }
  throw Error("", internal::UnknownName("an entry kind", text, KindNames()));
}

const pb::EnumDescriptor* TypeCodeNames(EntryKind kind) {
  switch (kind) {
    case EntryKind::kInput: return Input_Type_descriptor();
    case EntryKind::kOutput: return Output_Type_descriptor();
    case EntryKind::kMap: return Map_MapType_descriptor();
    default: return nullptr;
  }
}

int ParseTypeCode(EntryKind kind, std::string_view text) {
  if (text.empty()) throw Error("", "the type code is missing");
  int code = 0;
  const char* first = text.data();
  const char* last = first + text.size();
  const auto [end, status] = std::from_chars(first, last, code);
  if (status == std::errc::result_out_of_range) {
    throw Error("", "type code " + std::string(text) + " does not fit in 32 bits");
  }
  if (status == std::errc() && end == last) return code;
  const pb::EnumDescriptor* names = TypeCodeNames(kind);
  if (names == nullptr) {
    throw Error("", "\"" + std::string(text) + "\" is not a number; " + std::string(EntryKindName(kind)) +
                        " type codes are plain numbers");
  }
  if (const pb::EnumValueDescriptor* value = names->FindValueByName(std::string(text))) return value->number();
  std::vector<std::string> candidates;
  for (int i = 0; i < names->value_count(); ++i) candidates.push_back(names->value(i)->name());
  bool named = false;
  std::string message = internal::UnknownName("a number or a value of " + names->full_name(), text, candidates, &named);
  Remedy remedy;
  if (!named) {
    remedy.kind = Remedy::Kind::kListNames;
    remedy.record = names->containing_type()->full_name();
  }
  throw Error("", message, remedy);
}

namespace {

struct StandardTable {
  std::map<std::pair<EntryKind, int>, const pb::Descriptor*> pairs;
  std::map<std::pair<EntryKind, int>, PairingSource> sources;
};

const StandardTable& TheStandardTable() {
  static const StandardTable table = [] {
    StandardTable made;
    auto put = [&made](EntryKind kind, int code, const pb::Descriptor* record, PairingSource source) {
      made.pairs[{kind, code}] = record;
      made.sources[{kind, code}] = source;
    };
    for (const StandardPair& pair : kStandard) {
      const pb::EnumValueDescriptor* value = TypeCodeNames(pair.kind)->FindValueByName(pair.code);
      const pb::Descriptor* record = FindRecord(pair.record);
      // Both names come from the schema files linked into this library; a
      // miss means the schema changed under this table.
      if (value == nullptr || record == nullptr) {
        throw Error("", std::string("standard pairing ") + pair.code + " -> " + pair.record +
                            " does not match the schema library");
      }
      put(pair.kind, value->number(), record, PairingSource::kSchema);
    }
    const pb::EnumDescriptor* map_types = Map_MapType_descriptor();
    for (int i = 0; i < map_types->value_count(); ++i) {
      const pb::EnumValueDescriptor* value = map_types->value(i);
      if (const pb::Descriptor* table = TableOfMapType(value->name())) {
        put(EntryKind::kMap, value->number(), table, PairingSource::kMapType);
      }
    }
    return made;
  }();
  return table;
}

}  // namespace

PairingCatalogue PairingCatalogue::Standard() {
  PairingCatalogue catalogue;
  catalogue.standard_ = true;
  return catalogue;
}

const pb::Descriptor* PairingCatalogue::Find(EntryKind kind, int code) const {
  if (auto found = pairs_.find({kind, code}); found != pairs_.end()) return found->second;
  if (!standard_) return nullptr;
  const auto& standard = TheStandardTable().pairs;
  auto found = standard.find({kind, code});
  return found == standard.end() ? nullptr : found->second;
}

PairingSource PairingCatalogue::SourceOf(EntryKind kind, int code) const {
  if (auto found = sources_.find({kind, code}); found != sources_.end()) return found->second;
  if (standard_) {
    const auto& standard = TheStandardTable().sources;
    if (auto found = standard.find({kind, code}); found != standard.end()) return found->second;
  }
  return PairingSource::kGiven;
}

std::map<std::pair<EntryKind, int>, const pb::Descriptor*> PairingCatalogue::entries() const {
  std::map<std::pair<EntryKind, int>, const pb::Descriptor*> all;
  if (standard_) all = TheStandardTable().pairs;
  for (const auto& [key, record] : pairs_) {
    if (record == nullptr) {
      all.erase(key);
    } else {
      all[key] = record;
    }
  }
  return all;
}

void PairingCatalogue::Put(EntryKind kind, int code, const pb::Descriptor* record, PairingSource source) {
  if (record == nullptr && !standard_) {
    pairs_.erase({kind, code});
    sources_.erase({kind, code});
  } else {
    // Over the standard pairings a removal is kept, as a null record.
    pairs_[{kind, code}] = record;
    sources_[{kind, code}] = source;
  }
}

void PairingCatalogue::Set(EntryKind kind, int code, const pb::Descriptor* record) {
  Put(kind, code, record, PairingSource::kGiven);
}

void PairingCatalogue::SetMapTable(const pb::Descriptor* record) {
  const pb::EnumDescriptor* types = Map_MapType_descriptor();
  for (int i = 0; i < types->value_count(); ++i) {
    Put(EntryKind::kMap, types->value(i)->number(), record, PairingSource::kMapTable);
  }
}

void PairingCatalogue::Apply(std::string_view text) {
  const std::string where = "pairing \"" + std::string(text) + "\"";
  const std::string form = "write KIND:CODE=RECORD, e.g. input:5=AdcSwitchConfiguration";
  const size_t colon = text.find(':');
  const size_t equals = text.find('=');
  if (colon == std::string_view::npos || equals == std::string_view::npos || equals < colon) {
    throw Error(where, "expected KIND:CODE=RECORD; " + form);
  }
  const std::string_view record_text = Trim(text.substr(equals + 1));
  try {
    const EntryKind kind = ParseEntryKind(Trim(text.substr(0, colon)));
    const std::string_view code_text = Trim(text.substr(colon + 1, equals - colon - 1));
    if (code_text.empty()) throw Error("", "the type code is missing; " + form);
    const int code = ParseTypeCode(kind, code_text);
    Set(kind, code, record_text.empty() ? nullptr : RequireRecord(record_text));
  } catch (const Error& e) {
    throw Error(where, e.message(), e.remedy());
  }
}

namespace internal {

std::string DescribeTypeCode(EntryKind kind, int code) {
  // Driver codes are uint32 fields, held here as the same 32 bits.
  std::string out = kind == EntryKind::kDriver ? std::to_string(static_cast<std::uint32_t>(code)) : std::to_string(code);
  const pb::EnumDescriptor* type_enum = TypeCodeNames(kind);
  if (const pb::EnumValueDescriptor* value = type_enum ? type_enum->FindValueByNumber(code) : nullptr) {
    out += " (" + value->name() + ")";
  }
  return out;
}

}  // namespace internal
}  // namespace gcuschema::document
