#ifndef GCUSCHEMA_DOCUMENT_REPORT_H
#define GCUSCHEMA_DOCUMENT_REPORT_H

#include <string>
#include <vector>

#include <google/protobuf/message.h>

#include <gcuschema/document/diff.h>
#include <gcuschema/document/export.h>
#include <gcuschema/document/pairing.h>

namespace gcuschema::document {

// Pages to look at rather than read: one HTML file each, self-contained (no
// script, no external resource, and a Content-Security-Policy that forbids
// both), its drawings inline SVG. Every string a document holds goes into
// the page as text or as an attribute value and is escaped there: an alias
// such as "<script>" shows as those characters.

struct ReportOptions {
  // Which record each entry's `config` holds.
  PairingCatalogue pairing = PairingCatalogue::Standard();
  // A CalibrationTemplateData whose limits each value of the reported
  // CalibrationData is shown against (null: none). Not owned; must outlive
  // the call.
  const google::protobuf::Message* limits = nullptr;
  // What the page calls the document (a file name, say); empty for none.
  std::string title;
};

// A page about one record: its summary (record, size, sections with their
// entries and bytes, identity); its entries kind by kind in tables, each
// entry's settings shown field by field as the record its type code pairs;
// the lint findings (see lint.h) beside the entry they name, those about no
// entry at the top; every map table drawn, a Map2D as a curve and a Map3D as
// a heat map over its breakpoints with axes, tick labels and a value scale,
// for maps and for inputs' linearizations alike; with `limits`, each value
// of the calibration against its limits, marked within or outside (the same
// decision as lint's out-of-limits). A DeviceData's configuration is shown
// as a ConfigData. Throws Error when `limits` is given for a record that is
// not a CalibrationData, or when settings nest deeper than any reader of
// the library goes (records inside `config`, 16 levels).
GCUSCHEMA_DOCUMENT_API std::string Report(const google::protobuf::Message& record,
                                          const ReportOptions& options = {});

struct DiffReportOptions {
  // Which record each entry's `config` holds: the pairing the differences
  // were found with.
  PairingCatalogue pairing = PairingCatalogue::Standard();
  // What the page calls the two documents.
  std::string old_title;
  std::string new_title;
};

// A page showing two records of one type side by side, `differences`
// (Diff(a, b) with the same pairing) listed at the top and marked where
// they lie: entries of a configuration matched as Diff matches them (by
// identifier), each with its fields and settings in two columns, folded
// when unchanged. Throws Error as Diff does.
GCUSCHEMA_DOCUMENT_API std::string DiffReport(const google::protobuf::Message& a, const google::protobuf::Message& b,
                                              const std::vector<Difference>& differences,
                                              const DiffReportOptions& options = {});

}  // namespace gcuschema::document

#endif
