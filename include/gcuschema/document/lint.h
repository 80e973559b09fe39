#ifndef GCUSCHEMA_DOCUMENT_LINT_H
#define GCUSCHEMA_DOCUMENT_LINT_H

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <google/protobuf/message.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/export.h>
#include <gcuschema/document/pairing.h>

namespace gcuschema::document {

enum class Severity { kWarning, kError };

struct Finding {
  std::string path;      // "canbus[0].standardInputFrameCount"
  Severity severity;
  std::string rule;      // short stable name: "count-mismatch", "unknown-type", ...
  std::string message;   // what is wrong and what to do
  Remedy remedy;         // what the caller can change besides the document
};

struct LintOptions {
  // Which record each entry's `config` holds.
  PairingCatalogue pairing = PairingCatalogue::Standard();
  // A CalibrationTemplateData whose limits the linted CalibrationData must
  // keep (null: no such check). Not owned; must outlive the call.
  const google::protobuf::Message* limits = nullptr;
  // The encoded bytes the record was read from, when it was read from its
  // encoding: they are compared with the record's own (document-not-canonical).
  // Not owned; must outlive the call.
  std::optional<std::string_view> encoded;
};

// How many findings of each severity a run gave.
struct LintCounts {
  std::size_t errors = 0;
  std::size_t warnings = 0;
};

// Receives each finding as soon as it is found; nothing is kept after.
using FindingSink = std::function<void(const Finding&)>;

// Checks a record of the library (ConfigData, DeviceData — whose config is
// linted as a ConfigData —, CalibrationData, CalibrationTemplateData, or
// any other record) for what the records themselves do not enforce:
// - with `encoded`, bytes that writing the record back would change: a
//   field given twice, a number or tag longer than it needs, fields out of
//   number order, a list not packed as the records pack it, a zero or -0.0
//   the records leave out, ... (document-not-canonical, warning, first, at
//   the field of the cause, EncodingDifference in <gcuschema/document/canonical.h>);
// - counts that disagree with their lists (count-mismatch, error);
// - type codes and enumeration values outside their enumerations
//   (unknown-type, unknown-enum-value, error);
// - an entry's `config` whose bytes are not exactly its paired record's
//   encoding (they do not parse as it, are not canonical, or hold fields it
//   does not know) but are exactly, every field known, the encoding of the
//   record another type code of the entry's kind holds (config-type-mismatch,
//   error, naming those codes): the type code and the settings disagree,
//   and the settings are neither reported nor linted further as the record
//   their code holds;
// - otherwise, a `config` that does not parse as its paired record
//   (config-unreadable, error; a warning where only the map's type chose
//   the table) or is not in canonical form (config-not-canonical, warning);
// - duplicate identifiers among inputs, outputs, maps and buses, and
//   duplicate logicalIds within each list of a calibration or a limits
//   template (duplicate-id, error);
// - two inputs, or two outputs, on the same pin, pin 0 being none
//   (shared-pin, warning, at the later one's pin, naming both by index, id
//   and alias);
// - tables, wherever they stand (a map's settings, an input's
//   linearization): breakpoints that do not rise strictly along an axis, a
//   Map3D's x or y or a Map2D's points' x (map-axis-order, warning, at the
//   first that is not above the one before it), and a Map3D whose values
//   are not one per pair of breakpoints, |x| times |y| (map-size, warning,
//   naming the counts);
// - references to input, output or bus identifiers that do not exist, from
//   the settings of inputs and outputs and from routers (dangling-reference,
//   error);
// - ranges given upside down, a minimum above its maximum (or a low level
//   above its high one) in the same record (inverted-range: an error for
//   limits, a warning for the spans of a linear scaling, which a device may
//   be meant to read reversed); in a limits template a limit of 0 is absent;
// - with `limits`, each calibration value outside the bounds its template
//   entry (the one of its logicalId) gives (out-of-limits, error), each
//   calibration entry the template has none for (no-limits, warning), and
//   each template entry repeating an earlier one's logicalId, at the
//   calibration's list (duplicate-id, error: the entries of that id are not
//   checked);
// - unknown fields present (unknown-field, warning).
// Findings come in document order (the order of the encoding: ascending
// field numbers, list elements in order, unknown fields last), each handed
// to `sink` when found, so that a document with millions of findings never
// holds them all. Throws Error when settings nest deeper than every reader
// of the library goes (records inside `config`, 16 levels).
//
// Paths name fields by their schema names from the linted record: list
// elements by index ("canbus[0].standardInputFrameCount",
// "inputs[3].config.inputIds[1]"); settings read from a `config` continue
// the path of that `config` ("inputs[3].config.inputId"), and so does the
// ConfigData inside a DeviceData ("config.inputs[2].type"). A finding about
// a whole record (its unknown fields) has that record's path, empty for the
// linted record itself. References left at 0 mean "none" and are not
// reported; router bus ids are always checked. References are resolved only
// within a ConfigData (or the one inside a DeviceData).
GCUSCHEMA_DOCUMENT_API LintCounts Lint(const google::protobuf::Message& record, const LintOptions& options,
                                       const FindingSink& sink);

// The same, the findings gathered in a list (for small documents).
GCUSCHEMA_DOCUMENT_API std::vector<Finding> Lint(const google::protobuf::Message& record,
                                                 const LintOptions& options = {});

// Which of the two calibration records `record` (read as a CalibrationData
// or a CalibrationTemplateData) holds, as far as its content tells: the two
// share every field number, so each reads as the other. A template shows
// by what only it has, a limit or an ADC entry's calibrationMode (read as a
// CalibrationData, unknown fields of its entries); a document that sets
// none of them checks nothing as a template and is taken for a calibration.
// `evidence`, when given, receives the path of the field that told a
// template, with its name and number ("adcCalibration[0].levelMax5v (field
// 204)"), or is cleared. Null for any other record.
GCUSCHEMA_DOCUMENT_API const google::protobuf::Descriptor* CalibrationRecordHeld(
    const google::protobuf::Message& record, std::string* evidence = nullptr);

GCUSCHEMA_DOCUMENT_API bool HasErrors(const std::vector<Finding>& findings);

}  // namespace gcuschema::document

#endif
