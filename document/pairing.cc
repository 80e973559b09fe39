#include <gcuschema/document/pairing.h>

#include <cctype>
#include <charconv>
#include <string>

#include <gcuschema/Config.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>

#include "config_slots.h"

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

// The enumeration that names an entry kind's type codes; drivers and
// handlers have plain numbers.
const pb::EnumDescriptor* TypeEnum(EntryKind kind) {
  switch (kind) {
    case EntryKind::kInput: return Input_Type_descriptor();
    case EntryKind::kOutput: return Output_Type_descriptor();
    case EntryKind::kMap: return Map_MapType_descriptor();
    default: return nullptr;
  }
}

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

std::string KindList() {
  std::string out;
  for (const KindInfo& info : kKinds) {
    if (!out.empty()) out += ", ";
    out += info.name;
  }
  return out;
}

}  // namespace

std::string_view EntryKindName(EntryKind kind) {
  for (const KindInfo& info : kKinds) {
    if (info.kind == kind) return info.name;
  }
  return "unknown";
}

PairingCatalogue PairingCatalogue::Standard() {
  static const PairingCatalogue standard = [] {
    PairingCatalogue catalogue;
    for (const StandardPair& pair : kStandard) {
      const pb::EnumValueDescriptor* value = TypeEnum(pair.kind)->FindValueByName(pair.code);
      const pb::Descriptor* record = FindRecord(pair.record);
      // Both names come from the schema files linked into this library; a
      // miss means the schema changed under this table.
      if (value == nullptr || record == nullptr) {
        throw Error("", std::string("standard pairing ") + pair.code + " -> " + pair.record +
                            " does not match the schema library");
      }
      catalogue.Set(pair.kind, value->number(), record);
    }
    return catalogue;
  }();
  return standard;
}

const pb::Descriptor* PairingCatalogue::Find(EntryKind kind, int code) const {
  auto found = pairs_.find({kind, code});
  return found == pairs_.end() ? nullptr : found->second;
}

void PairingCatalogue::Set(EntryKind kind, int code, const pb::Descriptor* record) {
  if (record == nullptr) {
    pairs_.erase({kind, code});
  } else {
    pairs_[{kind, code}] = record;
  }
}

void PairingCatalogue::SetMapTable(const pb::Descriptor* record) {
  const pb::EnumDescriptor* types = Map_MapType_descriptor();
  for (int i = 0; i < types->value_count(); ++i) Set(EntryKind::kMap, types->value(i)->number(), record);
}

void PairingCatalogue::Apply(std::string_view text) {
  const std::string where = "pairing \"" + std::string(text) + "\"";
  const std::string form = "write KIND:CODE=RECORD, e.g. input:5=AdcSwitchConfiguration";
  const size_t colon = text.find(':');
  const size_t equals = text.find('=');
  if (colon == std::string_view::npos || equals == std::string_view::npos || equals < colon) {
    throw Error(where, "expected KIND:CODE=RECORD; " + form);
  }
  const std::string_view kind_text = Trim(text.substr(0, colon));
  const std::string_view code_text = Trim(text.substr(colon + 1, equals - colon - 1));
  const std::string_view record_text = Trim(text.substr(equals + 1));

  const KindInfo* kind = nullptr;
  for (const KindInfo& info : kKinds) {
    if (info.name == kind_text) kind = &info;
  }
  if (kind == nullptr) {
    throw Error(where, "unknown entry kind \"" + std::string(kind_text) + "\"; use one of " +
                           KindList());
  }

  if (code_text.empty()) throw Error(where, "the type code is missing; " + form);
  int code = 0;
  const char* first = code_text.data();
  const char* last = first + code_text.size();
  const auto [end, status] = std::from_chars(first, last, code);
  const pb::EnumDescriptor* type_enum = TypeEnum(kind->kind);
  if (status == std::errc::result_out_of_range) {
    throw Error(where, "type code " + std::string(code_text) + " does not fit in 32 bits");
  }
  if (status != std::errc() || end != last) {
    const pb::EnumValueDescriptor* value =
        type_enum ? type_enum->FindValueByName(std::string(code_text)) : nullptr;
    if (value == nullptr) {
      std::string message = "type code \"" + std::string(code_text) + "\" is neither a number";
      if (type_enum != nullptr) {
        message += " nor a value of " + type_enum->full_name() + " (e.g. " +
                   type_enum->value(0)->name() + ")";
      } else {
        message += "; " + std::string(kind->name) + " type codes are plain numbers";
      }
      throw Error(where, message);
    }
    code = value->number();
  }

  if (record_text.empty()) {
    Set(kind->kind, code, nullptr);
    return;
  }
  const pb::Descriptor* record = FindRecord(record_text);
  if (record == nullptr) {
    throw Error(where, "no record named \"" + std::string(record_text) +
                           "\" in the schema library; run `gcuschema schemas` to list them");
  }
  Set(kind->kind, code, record);
}

namespace internal {

std::string DescribeTypeCode(EntryKind kind, int code) {
  std::string out = std::to_string(code);
  const pb::EnumDescriptor* type_enum = TypeEnum(kind);
  if (const pb::EnumValueDescriptor* value = type_enum ? type_enum->FindValueByNumber(code) : nullptr) {
    out += " (" + value->name() + ")";
  }
  return out;
}

}  // namespace internal
}  // namespace gcuschema::document
