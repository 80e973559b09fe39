#include <gcuschema/document/settings.h>

#include <climits>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "walk.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;

EntryKind KindOf(const pb::Message& entry) {
  EntryKind kind = EntryKind::kInput;
  internal::EntryKindOf(entry.GetDescriptor(), &kind);
  return kind;
}

std::string Kind(EntryKind kind) { return std::string(EntryKindName(kind)); }

// "an input", "a map".
std::string AKind(EntryKind kind) {
  const std::string name = Kind(kind);
  return (name[0] == 'i' || name[0] == 'o' ? "an " : "a ") + name;
}

std::string ListCodes(EntryKind kind, const std::vector<int>& codes) {
  std::string list;
  for (int code : codes) {
    if (!list.empty()) list += ", ";
    list += internal::DescribeTypeCode(kind, code);
  }
  return list;
}

// The type code `entry` gets with settings of `record`, found in the
// catalogue's own pairings.
int CodeFor(const pb::Message& entry, const pb::Descriptor* record, const PairingCatalogue& pairing) {
  const EntryKind kind = KindOf(entry);
  const int own = internal::EntryTypeCode(entry);
  if (internal::PairedSettings(entry, pairing) == record) return own;
  std::vector<int> codes;
  std::string elsewhere;
  bool kind_paired = false;
  for (const auto& [key, paired] : pairing.entries()) {
    if (key.first == kind) kind_paired = true;
    if (paired != record) continue;
    if (key.first == kind) {
      codes.push_back(key.second);
    } else {
      elsewhere += (elsewhere.empty() ? "" : ", ") + Kind(key.first) + " type " +
                   internal::DescribeTypeCode(key.first, key.second);
    }
  }
  const std::string name = record->full_name();
  if (codes.size() == 1) return codes.front();
  if (codes.size() > 1) {
    throw Error("type", Kind(kind) + " type " + internal::DescribeTypeCode(kind, own) + " does not hold " + name +
                            ", and several " + Kind(kind) + " types do: " + ListCodes(kind, codes) +
                            "; set the entry's type to the one meant, then its settings");
  }
  std::string message = "no " + Kind(kind) + " type code holds " + name + " in the pairing given";
  if (!kind_paired) {
    message += " (it pairs no " + Kind(kind) + " code with any record)";
  } else if (!elsewhere.empty()) {
    message += " (it is the settings of " + elsewhere + ")";
  }
  message += "; give settings of a record " + AKind(kind) + " code holds, or pair a code with " + name +
             " in a PairingCatalogue (Set) and pass that catalogue";
  throw Error("config", message);
}

std::string Encode(const pb::Message& settings) {
  const std::size_t size = settings.ByteSizeLong();
  if (size > static_cast<std::size_t>(INT_MAX)) {
    throw Error("config", "the " + settings.GetDescriptor()->full_name() + " settings encode to " +
                              std::to_string(size) + " bytes, more than the 2 GiB a record can hold; "
                              "give fewer or shorter values");
  }
  std::string bytes;
  settings.SerializePartialToString(&bytes);
  return bytes;
}

template <typename Entry, typename SetType>
void Set(Entry& entry, const pb::Message& settings, const PairingCatalogue& pairing, SetType set_type) {
  // Both are worked out before the entry is touched, so a refusal leaves it
  // as it was.
  const int code = CodeFor(entry, settings.GetDescriptor(), pairing);
  std::string bytes = Encode(settings);
  set_type(code);
  entry.set_config(std::move(bytes));
}

void Read(const pb::Message& entry, pb::Message* settings, const PairingCatalogue& pairing) {
  const EntryKind kind = KindOf(entry);
  const int code = internal::EntryTypeCode(entry);
  const std::string entry_code = Kind(kind) + " type code " + internal::DescribeTypeCode(kind, code);
  const pb::Descriptor* wanted = settings->GetDescriptor();
  internal::Walk walk(pairing);
  const internal::Settings decided = walk.Decide(entry);
  if (decided.paired == nullptr) {
    Remedy remedy;
    remedy.kind = Remedy::Kind::kPairCode;
    remedy.record = wanted->full_name();
    remedy.entry = kind;
    remedy.code = code;
    throw Error("type", entry_code + " holds no settings record in the pairing given, so `config` is not read as " +
                            wanted->full_name() + "; pair the code with " + wanted->full_name() +
                            " in a PairingCatalogue (Set) and pass that catalogue",
                remedy);
  }
  if (decided.paired != wanted) {
    throw Error("config", entry_code + " holds " + decided.paired->full_name() + ", not " + wanted->full_name() +
                              "; read it as " + decided.paired->full_name() + ", or give the entry " +
                              wanted->full_name() + " settings with SetSettings, which sets the type code with them");
  }
  if (!decided.read()) {
    std::string scratch;
    const std::string& bytes = entry.GetReflection()->GetStringReference(
        entry, internal::SettingsField(entry.GetDescriptor()), &scratch);
    const std::string size = bytes.size() == 1 ? "1 byte" : std::to_string(bytes.size()) + " bytes";
    throw Error("config", "the settings (" + size + ") do not read as " + wanted->full_name() +
                              ", the record " + entry_code +
                              " holds; they were written for another record or damaged: set the settings anew "
                              "with SetSettings");
  }
  settings->CopyFrom(*decided.record);
}

}  // namespace

void SetSettings(Input& entry, const pb::Message& settings, const PairingCatalogue& pairing) {
  Set(entry, settings, pairing, [&entry](int code) { entry.set_type(code); });
}

void SetSettings(Output& entry, const pb::Message& settings, const PairingCatalogue& pairing) {
  Set(entry, settings, pairing, [&entry](int code) { entry.set_type(code); });
}

void SetSettings(Map& entry, const pb::Message& settings, const PairingCatalogue& pairing) {
  // Map types are an open enumeration: a code without a name is kept as is.
  Set(entry, settings, pairing, [&entry](int code) { entry.set_type(static_cast<Map_MapType>(code)); });
}

void SetSettings(Driver& entry, const pb::Message& settings, const PairingCatalogue& pairing) {
  // Driver codes are unsigned; the pairing holds them as the same 32 bits.
  Set(entry, settings, pairing, [&entry](int code) { entry.set_type(static_cast<std::uint32_t>(code)); });
}

void SetSettings(CanbusEntityHandler& entry, const pb::Message& settings, const PairingCatalogue& pairing) {
  Set(entry, settings, pairing, [&entry](int code) { entry.set_type(code); });
}

void ReadSettings(const Input& entry, pb::Message* settings, const PairingCatalogue& pairing) {
  Read(entry, settings, pairing);
}

void ReadSettings(const Output& entry, pb::Message* settings, const PairingCatalogue& pairing) {
  Read(entry, settings, pairing);
}

void ReadSettings(const Map& entry, pb::Message* settings, const PairingCatalogue& pairing) {
  Read(entry, settings, pairing);
}

void ReadSettings(const Driver& entry, pb::Message* settings, const PairingCatalogue& pairing) {
  Read(entry, settings, pairing);
}

void ReadSettings(const CanbusEntityHandler& entry, pb::Message* settings, const PairingCatalogue& pairing) {
  Read(entry, settings, pairing);
}

}  // namespace gcuschema::document
