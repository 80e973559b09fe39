// Private to the document library: what makes the page of Report(), shared
// by the file that lays the page out (report_page.cc) and the one that
// makes its tables and figures (report_tables.cc).
#ifndef GCUSCHEMA_DOCUMENT_REPORT_REPORTER_H
#define GCUSCHEMA_DOCUMENT_REPORT_REPORTER_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <gcuschema/document/lint.h>
#include <gcuschema/document/report.h>

#include "calibration_limits.h"
#include "report_html.h"
#include "walk.h"

namespace gcuschema::document::internal {

// Lint's findings by the entry they name: the part of a finding's path up
// to its first list index ("inputs[3]" of "inputs[3].config.inputId",
// "config.inputs[2]" inside a DeviceData).
class FindingIndex {
 public:
  explicit FindingIndex(const std::vector<Finding>& findings);
  // The findings about the entry at `path`; each is handed out once.
  std::vector<Finding> Take(const std::string& path);
  // Those no entry took, in document order.
  std::vector<Finding> Rest() const;

 private:
  std::vector<Finding> findings_;
  std::vector<bool> taken_;
  std::multimap<std::string, std::size_t> by_entry_;
};

class Reporter {
 public:
  Reporter(const ReportOptions& options, Html body);

  // The page's content for `record`.
  void Document(const google::protobuf::Message& record);

 private:
  // A map entry whose table is drawn after the table the entry is listed in.
  struct Drawing {
    const google::protobuf::Message* map;
    std::string path;
    std::string caption;
    std::string x_title;
    std::string y_title;
  };

  // report_page.cc
  void Summary(Html section, const google::protobuf::Message& record);
  void Sections(Html parent, const google::protobuf::Message& record);
  void DocumentFindings(Html section, const std::vector<Finding>& findings);

  // report_tables.cc: the walk stands at `record`.
  void EntryTable(Html section, const google::protobuf::Message& record, const google::protobuf::FieldDescriptor* list);
  void EntryRow(Html body, const google::protobuf::Message& record, const google::protobuf::FieldDescriptor* list,
                int index, const std::vector<const google::protobuf::FieldDescriptor*>& columns,
                const std::vector<const google::protobuf::FieldDescriptor*>& contents);
  void ValueCell(Html row, const google::protobuf::Message& entry, const google::protobuf::FieldDescriptor* field,
                 const CalibrationLimits::EntryLimits* limits);
  void SettingsCell(Html cell, const google::protobuf::Message& entry);
  void MapCell(Html cell, const google::protobuf::Message& map, const std::string& path, const std::string& caption,
               const std::string& x_title, const std::string& y_title);
  void Figures(Html section, const std::string& heading);
  void Figure(Html parent, const Drawing& drawing);
  void FindingsCell(Html row, Html cell, const std::string& path);

  Html body_;
  std::string title_;
  LintOptions lint_;
  Walk walk_;
  std::optional<FindingIndex> findings_;
  std::optional<CalibrationLimits> limits_;
  const google::protobuf::Message* root_ = nullptr;
  const google::protobuf::Message* limits_record_ = nullptr;
  std::vector<Drawing> drawings_;
};

// "1 error", "2 warnings".
std::string Counted(std::size_t n, const char* one, const char* many);

}  // namespace gcuschema::document::internal

#endif
