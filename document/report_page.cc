#include <gcuschema/document/report.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/wire_format.h>

#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/lint.h>

#include "report_fields.h"
#include "report_html.h"
#include "report_reporter.h"
#include "walk.h"

namespace gcuschema::document {
namespace internal {

namespace pb = google::protobuf;

std::string Counted(std::size_t n, const char* one, const char* many) {
  return std::to_string(n) + " " + (n == 1 ? one : many);
}

FindingIndex::FindingIndex(const std::vector<Finding>& findings) : findings_(findings), taken_(findings.size()) {
  for (std::size_t i = 0; i < findings_.size(); ++i) {
    const std::string& path = findings_[i].path;
    const std::size_t end = path.find(']');
    if (end != std::string::npos) by_entry_.emplace(path.substr(0, end + 1), i);
  }
}

std::vector<Finding> FindingIndex::Take(const std::string& path) {
  std::vector<Finding> out;
  const auto [first, last] = by_entry_.equal_range(path);
  for (auto it = first; it != last; ++it) {
    if (taken_[it->second]) continue;
    taken_[it->second] = true;
    out.push_back(findings_[it->second]);
  }
  return out;
}

std::vector<Finding> FindingIndex::Rest() const {
  std::vector<Finding> out;
  for (std::size_t i = 0; i < findings_.size(); ++i) {
    if (!taken_[i]) out.push_back(findings_[i]);
  }
  return out;
}

Reporter::Reporter(const ReportOptions& options, Html body)
    : body_(body), title_(options.title), walk_(options.pairing), limits_record_(options.limits) {
  lint_.pairing = options.pairing;
  lint_.limits = options.limits;
}

namespace {

// The password is shown by its length only: a report is often shared.
bool Secret(const pb::FieldDescriptor* field) {
  return field->name() == "password" && field->type() == pb::FieldDescriptor::TYPE_STRING;
}

std::string ByteCount(std::size_t n) { return Counted(n, "byte", "bytes"); }

}  // namespace

void Reporter::Document(const pb::Message& record) {
  root_ = &record;
  const std::vector<Finding> findings = Lint(record, lint_);
  findings_.emplace(findings);
  if (limits_record_ != nullptr) limits_.emplace(record, *limits_record_);

  const std::string type = record.GetDescriptor()->full_name();
  body_.Add("h1", type + " report");
  if (!title_.empty()) body_.Add("p", title_).Class("note");
  Html summary = body_.Add("section");
  summary.Attr("id", "summary");
  summary.Add("h2", "Summary");
  Summary(summary, record);

  std::size_t errors = 0;
  for (const Finding& finding : findings) errors += finding.severity == Severity::kError ? 1 : 0;
  Html lint = body_.Add("section");
  lint.Attr("id", "lint");
  lint.Add("h2", "Lint");
  lint.Add("p", Counted(errors, "error", "errors") + ", " +
                    Counted(findings.size() - errors, "warning", "warnings") +
                    (findings.empty() ? "." : "; each is shown beside the entry it names, the others here."));

  // A device image holds its configuration as settings: shown as one.
  const pb::FieldDescriptor* config = SettingsField(record.GetDescriptor());
  if (record.GetDescriptor() == ::DeviceData::descriptor() && config != nullptr) {
    Sections(body_, record);
    const Settings settings = walk_.Decide(record);
    Html section = body_.Add("section");
    section.Add("h2", "Configuration (config)");
    if (!settings.read()) {
      std::string scratch;
      section.Add("p", SettingsAsBytes(settings, record.GetReflection()->GetStringReference(record, config, &scratch).size()))
          .Class("note");
    } else {
      const Walk::Step step = walk_.Into(settings);
      Summary(section, *settings.record);
      Sections(body_, *settings.record);
    }
  } else {
    Sections(body_, record);
  }
  DocumentFindings(lint, findings_->Rest());
}

void Reporter::Summary(Html section, const pb::Message& record) {
  const pb::Descriptor* type = record.GetDescriptor();
  const pb::Reflection* r = record.GetReflection();
  Html fields = section.Table({"field", "value"});
  Html first = fields.Add("tr");
  first.Add("td", "record");
  first.Add("td", type->full_name() + ", " + ByteCount(record.ByteSizeLong()));
  for (int i = 0; i < type->field_count(); ++i) {
    const pb::FieldDescriptor* field = type->field(i);
    if (field->is_repeated() && field->cpp_type() == pb::FieldDescriptor::CPPTYPE_MESSAGE) continue;
    // A device image's configuration has sections of its own below; other
    // settings are shown here, field by field.
    if (IsSettingsField(type, field) && type == ::DeviceData::descriptor()) {
      Html row = fields.Add("tr");
      row.Add("td", field->name()).Class("path");
      std::string scratch;
      row.Add("td", ByteCount(r->GetStringReference(record, field, &scratch).size()) + ", shown below");
      continue;
    }
    if (Secret(field)) {
      std::string scratch;
      const std::string& password = r->GetStringReference(record, field, &scratch);
      Html row = fields.Add("tr");
      row.Add("td", field->name()).Class("path");
      row.Add("td", password.empty() ? std::string("none") : "set, " + ByteCount(password.size()));
      continue;
    }
    std::vector<FieldRow> rows;
    FieldRowsOf(record, field, walk_, 0, &rows);
    for (const FieldRow& shown : rows) {
      Html row = fields.Add("tr");
      row.Add("td", shown.path).Class("path");
      row.Add("td", shown.value).Class("value");
    }
  }

  // Lists of records: their entries, the bytes they take, and by type code.
  Html lists = section.Table({"section", "entries", "bytes", "by type"});
  for (int i = 0; i < type->field_count(); ++i) {
    const pb::FieldDescriptor* list = type->field(i);
    if (!list->is_repeated() || list->cpp_type() != pb::FieldDescriptor::CPPTYPE_MESSAGE) continue;
    const int size = r->FieldSize(record, list);
    Html row = lists.Add("tr");
    Html name = row.Add("td");
    name.Add("a", list->name()).Attr("href", "#" + Anchor("s-", walk_.PathTo(list->name())));
    row.Add("td", std::to_string(size));
    row.Add("td", std::to_string(pb::internal::WireFormat::FieldByteSize(list, record)));
    EntryKind kind;
    std::string by_type;
    if (EntryKindOf(list->message_type(), &kind)) {
      std::map<int, int> counts;
      for (int e = 0; e < size; ++e) ++counts[EntryTypeCode(r->GetRepeatedMessage(record, list, e))];
      for (const auto& [code, count] : counts) {
        // Drivers' and handlers' codes have no names: say what the number is.
        const std::string named = TypeCodeNames(kind) != nullptr ? DescribeTypeCode(kind, code)
                                                                 : "type " + std::to_string(code);
        by_type += (by_type.empty() ? "" : ", ") + named + " × " + std::to_string(count);
      }
    }
    row.Add("td", by_type);
  }
}

void Reporter::Sections(Html parent, const pb::Message& record) {
  const pb::Descriptor* type = record.GetDescriptor();
  for (int i = 0; i < type->field_count(); ++i) {
    const pb::FieldDescriptor* list = type->field(i);
    if (!list->is_repeated() || list->cpp_type() != pb::FieldDescriptor::CPPTYPE_MESSAGE) continue;
    Html section = parent.Add("section");
    section.Attr("id", Anchor("s-", walk_.PathTo(list->name())));
    section.Add("h2", walk_.PathTo(list->name()) + " (" +
                          std::to_string(record.GetReflection()->FieldSize(record, list)) + ")");
    EntryTable(section, record, list);
  }
}

void Reporter::DocumentFindings(Html section, const std::vector<Finding>& findings) {
  if (findings.empty()) return;
  Html list = section.Add("ul").Class("findings");
  for (const Finding& finding : findings) {
    const bool error = finding.severity == Severity::kError;
    Html item = list.Add("li").Class(error ? "error" : "warning");
    item.Add("code", finding.path.empty() ? std::string("(document)") : finding.path);
    item.Text(std::string(": ") + (error ? "error" : "warning") + ": " + finding.message + " [" + finding.rule + "]");
  }
}

}  // namespace internal

std::string Report(const google::protobuf::Message& record, const ReportOptions& options) {
  const std::string type = record.GetDescriptor()->full_name();
  internal::Page page(options.title.empty() ? type + " report" : options.title + " — " + type + " report");
  internal::Reporter reporter(options, page.body());
  reporter.Document(record);
  return page.Serialize();
}

}  // namespace gcuschema::document
