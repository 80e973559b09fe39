#ifndef GCUSCHEMA_DOCUMENT_DIFF_H
#define GCUSCHEMA_DOCUMENT_DIFF_H

#include <string>
#include <vector>

#include <google/protobuf/message.h>

#include <gcuschema/document/export.h>
#include <gcuschema/document/pairing.h>

namespace gcuschema::document {

struct Difference {
  enum class Kind { kAdded, kRemoved, kModified };
  Kind kind;
  std::string path;       // "inputs[3].config<AdcConfiguration>.range"
  std::string old_value;  // empty for kAdded
  std::string new_value;  // empty for kRemoved
};

// The differences between two records of the same type, with `config`
// settings expanded by the pairing (compared as records where both sides
// parse as the paired record, as bytes otherwise), found with the runtime's
// MessageDifferencer. Empty when the two are equal; Error when the two are
// not records of one type.
//
// In a ConfigData, inputs, outputs, maps, drivers and estimators are matched
// by `id` and buses by `canbusId` (when no identifier repeats in the list; a
// list with repeated ones is compared by position), so an inserted or
// removed entry is one difference; a changed order is one more, on the list
// itself ("inputs"). Indexes in paths are those of the second record, of the
// first for what was removed; unknown fields are named by number ("#40").
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

// One line per difference: "~ path: old -> new", "+ path: new", "- path: old".
GCUSCHEMA_DOCUMENT_API std::string FormatDifferences(const std::vector<Difference>& differences);

}  // namespace gcuschema::document

#endif
