#ifndef GCUSCHEMA_DOCUMENT_ENTRY_KIND_H
#define GCUSCHEMA_DOCUMENT_ENTRY_KIND_H

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

inline constexpr EntryKind kEntryKinds[] = {EntryKind::kInput, EntryKind::kOutput, EntryKind::kMap,
                                            EntryKind::kDriver, EntryKind::kHandler};

}  // namespace gcuschema::document

#endif
