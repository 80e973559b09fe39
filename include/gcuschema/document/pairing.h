#ifndef GCUSCHEMA_DOCUMENT_PAIRING_H
#define GCUSCHEMA_DOCUMENT_PAIRING_H

#include <map>
#include <string>
#include <string_view>
#include <utility>

#include <google/protobuf/descriptor.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/export.h>

namespace gcuschema::document {

// Entries whose `config` bytes hold another record, chosen by the entry's
// type code.
enum class EntryKind {
  kInput,    // Input.type         -> input settings record
  kOutput,   // Output.type        -> output settings record
  kMap,      // Map.type (MapType) -> table record; also Input.linearization
  kDriver,   // Driver.type        -> opaque unless paired by the caller
  kHandler,  // CanbusEntityHandler.type -> opaque unless paired by the caller
};

GCUSCHEMA_DOCUMENT_API std::string_view EntryKindName(EntryKind kind);  // "input", "output", ...

// Which record an entry's `config` holds, by entry kind and type code.
class GCUSCHEMA_DOCUMENT_API PairingCatalogue {
 public:
  // No pairings at all.
  PairingCatalogue() = default;

  // The pairings the schema names: each Input.Type and Output.Type value
  // whose name shares its stem with a settings record. Type codes with no
  // such record (FrequencyInput, AnalogSwitchInput, CurrentSenseInput) and
  // all map, driver and handler codes are left open.
  static PairingCatalogue Standard();

  // The record paired with (kind, code), or null when the code is open.
  const google::protobuf::Descriptor* Find(EntryKind kind, int code) const;

  // Adds or replaces a pairing; a null record removes it.
  void Set(EntryKind kind, int code, const google::protobuf::Descriptor* record);

  // Pairs every Map.MapType value (and so every linearization) with one
  // table record, e.g. Map3D.
  void SetMapTable(const google::protobuf::Descriptor* record);

  // Applies "input:5=AdcSwitchConfiguration" (kinds: input, output, map,
  // driver, handler; the code is a number or a value name of the entry's
  // Type enumeration; an empty record name removes the pairing).
  // Throws Error saying what is wrong with the text.
  void Apply(std::string_view text);

  const std::map<std::pair<EntryKind, int>, const google::protobuf::Descriptor*>& entries() const {
    return pairs_;
  }

 private:
  std::map<std::pair<EntryKind, int>, const google::protobuf::Descriptor*> pairs_;
};

}  // namespace gcuschema::document

#endif
