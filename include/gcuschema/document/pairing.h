#ifndef GCUSCHEMA_DOCUMENT_PAIRING_H
#define GCUSCHEMA_DOCUMENT_PAIRING_H

#include <map>
#include <string>
#include <string_view>
#include <utility>

#include <google/protobuf/descriptor.h>

#include <gcuschema/document/entry_kind.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/export.h>

namespace gcuschema::document {

GCUSCHEMA_DOCUMENT_API std::string_view EntryKindName(EntryKind kind);  // "input", "output", ...

// The kind named `text` ("input"); throws Error naming the kinds.
GCUSCHEMA_DOCUMENT_API EntryKind ParseEntryKind(std::string_view text);

// The enumeration that names a kind's type codes (Input.Type, Output.Type,
// Map.MapType); null for drivers and handlers, whose codes are plain numbers.
GCUSCHEMA_DOCUMENT_API const google::protobuf::EnumDescriptor* TypeCodeNames(EntryKind kind);

// A type code of `kind` given as a number or as a value name of the kind's
// enumeration ("DutyInput", "10"); throws Error saying what is wrong.
GCUSCHEMA_DOCUMENT_API int ParseTypeCode(EntryKind kind, std::string_view text);

// Where a pairing comes from.
enum class PairingSource {
  kSchema,    // the type code's name shares its stem with the record's
  kMapType,   // a map type names the dimension of the one table record of it
  kMapTable,  // SetMapTable (the tool's --map-table)
  kGiven,     // Set or Apply (the tool's --pair)
};

// Which record an entry's `config` holds, by entry kind and type code.
class GCUSCHEMA_DOCUMENT_API PairingCatalogue {
 public:
  // No pairings at all.
  PairingCatalogue() = default;

  // The pairings the schema makes unambiguous: each Input.Type and
  // Output.Type value whose name shares its stem with a settings record, and
  // each Map.MapType value whose name gives the table's dimension ("3d")
  // with the one whole-table record of that dimension (Map3D; its rows and
  // points are pieces, not tables). Type codes with no such record
  // (FrequencyInput, AnalogSwitchInput, CurrentSenseInput) and all driver
  // and handler codes are left open.
  static PairingCatalogue Standard();

  // The record paired with (kind, code), or null when the code is open.
  const google::protobuf::Descriptor* Find(EntryKind kind, int code) const;
  // Where that pairing comes from; meaningless when Find gives null.
  PairingSource SourceOf(EntryKind kind, int code) const;

  // Adds or replaces a pairing; a null record removes it.
  void Set(EntryKind kind, int code, const google::protobuf::Descriptor* record);

  // Pairs every Map.MapType value (and so every linearization) with one
  // table record, e.g. Map3D; null leaves every map code open.
  void SetMapTable(const google::protobuf::Descriptor* record);

  // Applies "input:5=AdcSwitchConfiguration" (kinds: input, output, map,
  // driver, handler; the code is a number or a value name of the entry's
  // Type enumeration; an empty record name removes the pairing).
  // Throws Error saying what is wrong with the text.
  void Apply(std::string_view text);

  // Every pairing, by kind and code.
  std::map<std::pair<EntryKind, int>, const google::protobuf::Descriptor*> entries() const;

 private:
  void Put(EntryKind kind, int code, const google::protobuf::Descriptor* record, PairingSource source);

  // Standard(): the schema's pairings lie beneath those set here, looked up
  // in a table made once per process when a pairing is first asked for
  // (making it builds every settings record's descriptors, a good part of
  // a short run that never asks).
  bool standard_ = false;
  // Set here; a null record removes a standard pairing.
  std::map<std::pair<EntryKind, int>, const google::protobuf::Descriptor*> pairs_;
  std::map<std::pair<EntryKind, int>, PairingSource> sources_;
};

}  // namespace gcuschema::document

#endif
