// The pairing of type codes with settings records, as `gcuschema schemas`
// shows it.
#include <string>
#include <vector>

#include <fmt/format.h>
#include <google/protobuf/descriptor.h>

#include <gcuschema/document/error.h>

#include "failure.h"
#include "schemas.h"

namespace gcuschema::tool {
namespace {

namespace pb = google::protobuf;
using document::EntryKind;
using document::PairingSource;

const char* ChosenBy(PairingSource source) {
  switch (source) {
    case PairingSource::kSchema: return "by the code's name";
    case PairingSource::kMapType: return "by the dimension its name gives";
    case PairingSource::kMapTable: return "by --map-table";
    case PairingSource::kGiven: return "by --pair";
  }
  return "";
}

// "AdcInput", or "" for a code its kind does not name.
std::string CodeName(EntryKind kind, int code) {
  const pb::EnumDescriptor* names = document::TypeCodeNames(kind);
  const pb::EnumValueDescriptor* value = names != nullptr ? names->FindValueByNumber(code) : nullptr;
  return value != nullptr ? value->name() : std::string();
}

std::string OpenHint(EntryKind kind, const std::string& code) {
  return fmt::format("open: --pair {}:{}=RECORD", document::EntryKindName(kind), code);
}

}  // namespace

std::string DescribePairings(const document::PairingCatalogue& pairing) {
  std::string out = "Record held in an entry's config, by kind and type code:\n";
  const auto row = [&out](std::string_view kind, const std::string& code, const std::string& name,
                          const std::string& held) {
    out += fmt::format("  {:<8} {:>5}  {:<24} {}\n", kind, code, name, held);
  };
  row("kind", "code", "name", "record (how it was chosen)");
  for (EntryKind kind : document::kEntryKinds) {
    // The codes the kind's enumeration names, then any others paired.
    std::vector<int> codes;
    if (const pb::EnumDescriptor* names = document::TypeCodeNames(kind)) {
      for (int i = 0; i < names->value_count(); ++i) codes.push_back(names->value(i)->number());
    }
    for (const auto& [key, record] : pairing.entries()) {
      if (key.first == kind && CodeName(kind, key.second).empty()) codes.push_back(key.second);
    }
    for (int code : codes) {
      const pb::Descriptor* record = pairing.Find(kind, code);
      const std::string name = CodeName(kind, code);
      row(document::EntryKindName(kind), std::to_string(code), name.empty() ? "-" : name,
          record != nullptr ? fmt::format("{} ({})", record->full_name(), ChosenBy(pairing.SourceOf(kind, code)))
                            : OpenHint(kind, name.empty() ? std::to_string(code) : name));
    }
    if (document::TypeCodeNames(kind) == nullptr) row(document::EntryKindName(kind), "*", "any other", OpenHint(kind, "CODE"));
  }
  return out;
}

std::string DescribeHeldRecord(const std::string& text, const document::PairingCatalogue& pairing) {
  const std::size_t colon = text.find(':');
  EntryKind kind;
  int code = 0;
  // Spaces around the kind and the code are dropped, as in --pair.
  const auto trimmed = [](std::string part) {
    part.erase(0, part.find_first_not_of(' '));
    part.erase(part.find_last_not_of(' ') + 1);
    return part;
  };
  AsFailure(text, [&] {
    kind = document::ParseEntryKind(trimmed(text.substr(0, colon)));
    code = document::ParseTypeCode(kind, trimmed(text.substr(colon + 1)));
  });
  const std::string name = CodeName(kind, code);
  const std::string code_text = name.empty() ? std::to_string(code) : fmt::format("{} ({})", name, code);
  const pb::Descriptor* record = pairing.Find(kind, code);
  if (record == nullptr) {
    return fmt::format("{} type {} is open: no record is paired with it; give one with --pair {}:{}=RECORD\n",
                       document::EntryKindName(kind), code_text, document::EntryKindName(kind),
                       name.empty() ? std::to_string(code) : name);
  }
  return fmt::format("{} type {} holds {} ({})\n\n", document::EntryKindName(kind), code_text,
                     record->full_name(), ChosenBy(pairing.SourceOf(kind, code))) +
         DescribeRecord(record);
}

}  // namespace gcuschema::tool
