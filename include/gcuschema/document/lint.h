#ifndef GCUSCHEMA_DOCUMENT_LINT_H
#define GCUSCHEMA_DOCUMENT_LINT_H

#include <string>
#include <vector>

#include <google/protobuf/message.h>

#include <gcuschema/document/export.h>
#include <gcuschema/document/pairing.h>

namespace gcuschema::document {

enum class Severity { kWarning, kError };

struct Finding {
  std::string path;      // "canbus[0].standardInputFrameCount"
  Severity severity;
  std::string rule;      // short stable name: "count-mismatch", "unknown-type", ...
  std::string message;   // what is wrong and what to do
};

// Checks a record of the library (ConfigData, DeviceData — whose config is
// linted as a ConfigData —, CalibrationData, CalibrationTemplateData, or
// any other record) for what the records themselves do not enforce:
// - counts that disagree with their lists (count-mismatch, error);
// - type codes and enumeration values outside their enumerations
//   (unknown-type, unknown-enum-value, error);
// - a `config` that does not parse as its paired record (config-unreadable,
//   error) or is not in canonical form (config-not-canonical, warning);
// - duplicate identifiers among inputs, outputs, maps and buses
//   (duplicate-id, error);
// - references to input or bus identifiers that do not exist, from compare,
//   divide, map, counter, waveform and rbc input settings and from routers
//   (dangling-reference, error);
// - unknown fields present (unknown-field, warning).
// Findings come in document order (the order of the encoding: ascending
// field numbers, list elements in order, unknown fields last).
//
// Paths name fields by their schema names from the linted record: list
// elements by index ("canbus[0].standardInputFrameCount",
// "inputs[3].config.inputIds[1]"); settings read from a `config` continue
// the path of that `config` ("inputs[3].config.inputId"), and so does the
// ConfigData inside a DeviceData ("config.inputs[2].type"). A finding about
// a whole record (its unknown fields) has that record's path, empty for the
// linted record itself. Input references left at 0 mean "no input" and are
// not reported; router bus ids are always checked. References are resolved
// only within a ConfigData (or the one inside a DeviceData).
GCUSCHEMA_DOCUMENT_API std::vector<Finding> Lint(const google::protobuf::Message& record,
                                            const PairingCatalogue& pairing);

GCUSCHEMA_DOCUMENT_API bool HasErrors(const std::vector<Finding>& findings);

}  // namespace gcuschema::document

#endif
