#ifndef GCUSCHEMA_DOCUMENT_DIFF_H
#define GCUSCHEMA_DOCUMENT_DIFF_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <google/protobuf/message.h>

#include <gcuschema/document/export.h>
#include <gcuschema/document/pairing.h>

namespace gcuschema::document {

// An entry of a list whose entries carry an identifier, named by it.
struct EntryId {
  std::string list;                  // path of the list: "inputs", "canbus[canbusId=1].entityHandler"
  std::string key;                   // the field holding the identifier: "id", "canbusId", "messageId"
  std::int64_t id = 0;
  std::optional<std::string> alias;  // for entries that have an alias (inputs, outputs, maps)
};

struct Difference {
  enum class Kind { kAdded, kRemoved, kModified, kReordered };
  Kind kind;
  // `inputs[id=3 "Oil temperature"].config<AdcConfiguration>.range`; the
  // list itself for kReordered.
  std::string path;
  std::string old_value;  // empty for kAdded
  std::string new_value;  // empty for kRemoved
  // The entries the path names by identifier, outermost first; for
  // kReordered, then the entries moved, in their new order.
  std::vector<EntryId> entries;
  // kReordered: how the second order differs from the first, in words
  // ("2 before 1"; "4, 5 before 1; 9 after 12"). old_value and new_value
  // then hold the identifiers of the entries both documents hold, in the
  // order of each ("1, 2, 3", "2, 1, 3").
  std::string moves;
};

// The differences between two records of the same type, with `config`
// settings expanded by the pairing (compared as records where both sides
// parse as the paired record, as bytes otherwise), found with the runtime's
// MessageDifferencer. Empty when the two are equal; Error when the two are
// not records of one type.
//
// Lists whose entries carry an identifier are matched by it: in a
// ConfigData inputs, outputs, maps, drivers and estimators by `id` and
// buses by `canbusId`; in a bus its frames by `messageId` and its handlers
// by `entityId` (a list where an identifier repeats, on either side, is
// compared by position). Paths name such entries by identifier, and by
// alias where they have one (`inputs[id=2 "Switch_002"]`), as they stand in
// the second document (in the first for what was removed); other list
// elements by index, the second document's (the first's for what was
// removed). An inserted or removed entry is one difference, and entries
// standing in another order are one more, on the list (kReordered).
// Unknown fields are named by number ("#40").
// Values read as the schema's text: enumerations by name, strings quoted,
// bytes in hex ("<0a 01>", long ones by size and a window where they part,
// unknown fields' as known ones'),
// records on one line ("{ id: 3 alias: \"A\" }") with settings in `config`
// shown as their record ("AdcConfiguration { range: range12V }").
//
// Floats and doubles are compared by their bits, as the encoding holds
// them: NaNs that differ in sign or payload differ (shown with their bits,
// "NaN 0x7fc00000"), and so do 0 and -0, in a list as in a single field
// (which the record's encoding writes for neither zero: a -0.0 read from a
// document is reported although encoding it again leaves it out). Throws
// Error when settings of either record nest deeper than any reader of the
// library goes (records inside `config`, 16 levels), whether or not the two
// differ there.
struct DiffOptions {
  // Which record each entry's `config` holds.
  PairingCatalogue pairing = PairingCatalogue::Standard();
};

GCUSCHEMA_DOCUMENT_API std::vector<Difference> Diff(const google::protobuf::Message& a,
                                                    const google::protobuf::Message& b,
                                                    const DiffOptions& options = {});

// One line per difference: "~ path: old -> new", "+ path: new", "- path: old",
// "~ path reordered: moves".
GCUSCHEMA_DOCUMENT_API std::string FormatDifferences(const std::vector<Difference>& differences);

// The differences as a JSON array for programs, one object per difference:
// "path", "kind" ("added", "removed", "modified" or "reordered"), "old" and
// "new" (old_value and new_value: the values as FormatDifferences spells
// them, the two orders of identifiers for a reordering; null for the side
// that has none), "entries" (the EntryIds: "list", "key", "id", and "alias"
// where the entry has one) and, for a reordering, "moves".
GCUSCHEMA_DOCUMENT_API std::string DifferencesAsJson(const std::vector<Difference>& differences);

}  // namespace gcuschema::document

#endif
