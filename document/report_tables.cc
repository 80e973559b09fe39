// The tables and drawings of Report(): entries kind by kind, their settings
// field by field, findings beside them, calibration values against their
// limits, and each map's table drawn.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <google/protobuf/descriptor.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/MapConfig.pb.h>

#include "field_values.h"
#include "report_fields.h"
#include "report_reporter.h"
#include "report_svg.h"

namespace gcuschema::document::internal {

namespace pb = google::protobuf;

namespace {

bool IsMap(const pb::Descriptor* type) { return type == ::Map::descriptor(); }

// The fields shown in a column of their own: single values.
bool InColumn(const pb::Descriptor* type, const pb::FieldDescriptor* field) {
  return !field->is_repeated() && field->cpp_type() != pb::FieldDescriptor::CPPTYPE_MESSAGE &&
         !IsSettingsField(type, field);
}

void FieldTable(Html parent, const std::vector<FieldRow>& rows) {
  Html table = parent.Table({}, "fields");
  for (const FieldRow& shown : rows) {
    Html row = table.Add("tr");
    row.Add("td", shown.path).Class("path");
    row.Add("td", shown.value).Class("value");
  }
}

// "3000 to 4042", "at most 4042": what a template entry allows a value.
std::string Allowed(const CalibrationLimits::ValueLimits& limits) {
  if (limits.lower != 0 && limits.upper != 0) {
    return std::to_string(limits.lower) + " to " + std::to_string(limits.upper);
  }
  if (limits.lower != 0) return "at least " + std::to_string(limits.lower);
  if (limits.upper != 0) return "at most " + std::to_string(limits.upper);
  return "no limit set";
}

std::int64_t Integer(const pb::Message& record, const char* name) {
  const pb::FieldDescriptor* field = record.GetDescriptor()->FindFieldByName(name);
  return field == nullptr ? 0 : IntegerAt(record, field, 0);
}

std::string Text(const pb::Message& record, const char* name) {
  const pb::FieldDescriptor* field = record.GetDescriptor()->FindFieldByName(name);
  if (field == nullptr || field->type() != pb::FieldDescriptor::TYPE_STRING) return std::string();
  return record.GetReflection()->GetString(record, field);
}

}  // namespace

void Reporter::EntryTable(Html section, const pb::Message& record, const pb::FieldDescriptor* list) {
  const pb::Descriptor* type = list->message_type();
  std::vector<const pb::FieldDescriptor*> columns;
  std::vector<const pb::FieldDescriptor*> contents;
  std::vector<std::string> headings = {"#"};
  for (int i = 0; i < type->field_count(); ++i) {
    const pb::FieldDescriptor* field = type->field(i);
    if (InColumn(type, field)) {
      columns.push_back(field);
      headings.push_back(field->name());
    }
  }
  // Findings next to the values they are about, before the long cells.
  headings.push_back("findings");
  const bool settings = SettingsField(type) != nullptr;
  if (settings) headings.push_back(IsMap(type) ? "table" : "settings");
  for (int i = 0; i < type->field_count(); ++i) {
    const pb::FieldDescriptor* field = type->field(i);
    if (!InColumn(type, field) && !IsSettingsField(type, field)) contents.push_back(field);
  }
  // Lists and records inside an entry take many lines: several of them
  // share one column, which keeps the table as wide as a window.
  if (contents.size() == 1) headings.push_back(contents[0]->name());
  if (contents.size() > 1) headings.push_back("lists and records");

  const Walk::Step step = walk_.Member(list->name());
  const int size = record.GetReflection()->FieldSize(record, list);
  if (size == 0) {
    section.Add("p", "none").Class("note");
    return;
  }
  Html body = section.Table(headings, "entries");
  for (int i = 0; i < size; ++i) EntryRow(body, record, list, i, columns, contents);
  Figures(section, IsMap(type) ? "Tables" : "Linearizations");
}

void Reporter::EntryRow(Html body, const pb::Message& record, const pb::FieldDescriptor* list, int index,
                        const std::vector<const pb::FieldDescriptor*>& columns,
                        const std::vector<const pb::FieldDescriptor*>& contents) {
  const pb::Message& entry = record.GetReflection()->GetRepeatedMessage(record, list, index);
  const Walk::Step element = walk_.Element(index);
  const std::string path = walk_.Path();
  Html row = body.Add("tr");
  row.Attr("id", Anchor("e-", path));
  row.Add("td", std::to_string(index));

  std::optional<CalibrationLimits::EntryLimits> limits;
  if (limits_ && &record == root_) limits = limits_->LimitsOf(list, index);
  for (const pb::FieldDescriptor* field : columns) ValueCell(row, entry, field, limits ? &*limits : nullptr);
  FindingsCell(row, row.Add("td"), path);

  const pb::Descriptor* type = entry.GetDescriptor();
  if (SettingsField(type) != nullptr) {
    Html cell = row.Add("td");
    if (IsMap(type)) {
      // A map's axes are the channels it names.
      MapCell(cell, entry, path,
              path + " · id " + std::to_string(Integer(entry, "id")) + " · " + Text(entry, "alias"),
              "x (channel " + std::to_string(Integer(entry, "xAxisChannel")) + ")",
              "y (channel " + std::to_string(Integer(entry, "yAxisChannel")) + ")");
    } else {
      SettingsCell(cell, entry);
    }
  }
  if (contents.empty()) return;
  Html cell = row.Add("td");
  std::vector<FieldRow> rows;
  for (const pb::FieldDescriptor* field : contents) {
    const pb::Reflection* r = entry.GetReflection();
    if (!field->is_repeated() && field->message_type() != nullptr && IsMap(field->message_type())) {
      Html table = contents.size() > 1 ? cell.Add("div", field->name() + ": ") : cell;
      if (!r->HasField(entry, field)) {
        table.Add("span", "none").Class("note");
        continue;
      }
      const Walk::Step member = walk_.Member(field->name());
      MapCell(table, r->GetMessage(entry, field), walk_.Path(),
              walk_.Path() + " · " + type->name() + " id " + std::to_string(Integer(entry, "id")) + " · " +
                  Text(entry, "alias"),
              "x", "y");
      continue;
    }
    FieldRowsOf(entry, field, walk_, 0, &rows);
  }
  if (!rows.empty()) FieldTable(cell, rows);
}

void Reporter::ValueCell(Html row, const pb::Message& entry, const pb::FieldDescriptor* field,
                         const CalibrationLimits::EntryLimits* limits) {
  EntryKind kind;
  if (field->name() == "type" && EntryKindOf(entry.GetDescriptor(), &kind)) {
    row.Add("td", DescribeTypeCode(kind, EntryTypeCode(entry)));
    return;
  }
  Html cell = row.Add("td", ValueText(entry, field, -1));
  if (limits == nullptr) return;
  for (const CalibrationLimits::ValueLimits& value : limits->values) {
    if (value.value != field) continue;
    cell.Class(value.within ? "within" : "outside");
    // A block of its own rather than a line break: the page's elements
    // are all written with an end tag, and "</br>" is a second break.
    cell.Add("div", std::string(value.within ? "within " : "outside ") + Allowed(value)).Class("limits");
  }
}

void Reporter::SettingsCell(Html cell, const pb::Message& entry) {
  const Settings settings = walk_.Decide(entry);
  std::string scratch;
  const pb::FieldDescriptor* field = SettingsField(entry.GetDescriptor());
  const std::size_t size = entry.GetReflection()->GetStringReference(entry, field, &scratch).size();
  if (!settings.read()) {
    cell.Add("span", SettingsAsBytes(settings, size)).Class("note");
    return;
  }
  cell.Add("b", settings.paired->full_name());
  if (!settings.canonical()) cell.Add("span", " (not in canonical form)").Class("note");
  const Walk::Step step = walk_.Into(settings, field->name());
  std::vector<FieldRow> rows;
  FieldRows(*settings.record, walk_, 0, &rows);
  FieldTable(cell, rows);
}

void Reporter::MapCell(Html cell, const pb::Message& map, const std::string& path, const std::string& caption,
                       const std::string& x_title, const std::string& y_title) {
  const Settings settings = walk_.Decide(map);
  std::string scratch;
  const pb::FieldDescriptor* field = SettingsField(map.GetDescriptor());
  const std::size_t size = map.GetReflection()->GetStringReference(map, field, &scratch).size();
  if (!settings.read()) {
    cell.Add("span", SettingsAsBytes(settings, size)).Class("note");
    return;
  }
  const pb::Descriptor* table = settings.paired;
  if (table != ::Map2D::descriptor() && table != ::Map3D::descriptor()) {
    SettingsCell(cell, map);
    return;
  }
  std::unique_ptr<::Map2D> curve_copy;
  std::unique_ptr<::Map3D> grid_copy;
  std::string shape;
  if (table == ::Map2D::descriptor()) {
    shape = std::to_string(AsGenerated(*settings.record, &curve_copy).points_size()) + " points";
  } else {
    const ::Map3D& grid = AsGenerated(*settings.record, &grid_copy);
    shape = std::to_string(grid.x_size()) + " × " + std::to_string(grid.y_size()) + " breakpoints, " +
            std::to_string(grid.values_size()) + " values";
  }
  cell.Add("b", table->full_name());
  cell.Text(", " + shape + (settings.canonical() ? "" : " (not in canonical form)") + ": ");
  cell.Add("a", "drawn below").Attr("href", "#" + Anchor("f-", path));
  // A curve's second axis is its value.
  drawings_.push_back(Drawing{&map, path, caption, x_title, table == ::Map2D::descriptor() ? "value" : y_title});
}

void Reporter::Figures(Html section, const std::string& heading) {
  if (drawings_.empty()) return;
  section.Add("h3", heading);
  Html figures = section.Add("div").Class("figures");
  for (const Drawing& drawing : drawings_) Figure(figures, drawing);
  drawings_.clear();
}

void Reporter::Figure(Html parent, const Drawing& drawing) {
  // The walk stands where the map's entry list is: the depth of `config`
  // is that of the map itself.
  const Settings settings = walk_.Decide(*drawing.map);
  if (!settings.read()) return;
  const Walk::Step step = walk_.Into(settings);
  Html figure = parent.Add("figure");
  figure.Attr("id", Anchor("f-", drawing.path));
  figure.Add("figcaption", drawing.caption);
  DrawTableRecord(figure, *settings.record, drawing.caption + ": " + settings.paired->full_name(), drawing.x_title,
                  drawing.y_title);
}

void Reporter::FindingsCell(Html row, Html cell, const std::string& path) {
  const std::vector<Finding> findings = findings_->Take(path);
  if (findings.empty()) return;
  bool error = false;
  Html list = cell.Add("ul").Class("findings");
  for (const Finding& finding : findings) {
    const bool is_error = finding.severity == Severity::kError;
    error = error || is_error;
    std::string where = finding.path.size() > path.size() ? finding.path.substr(path.size()) : std::string();
    if (!where.empty() && where[0] == '.') where.erase(0, 1);
    Html item = list.Add("li").Class(is_error ? "error" : "warning");
    if (!where.empty()) item.Add("code", where);
    item.Text(std::string(where.empty() ? "" : ": ") + (is_error ? "error" : "warning") + ": " + finding.message +
              " [" + finding.rule + "]");
  }
  row.Class(error ? "has-error" : "has-warning");
}

}  // namespace gcuschema::document::internal
