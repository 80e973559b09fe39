// DiffReport(): two documents side by side, the differences Diff found
// listed at the top and marked where they lie.
#include <gcuschema/document/report.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include <google/protobuf/descriptor.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/MapConfig.pb.h>
#include <gcuschema/document/error.h>

#include "entry_keys.h"
#include "field_path.h"
#include "field_values.h"
#include "report_fields.h"
#include "report_html.h"
#include "report_svg.h"
#include "walk.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;
using internal::FieldRow;
using internal::Html;
using internal::Settings;
using internal::Walk;

// A row of the two columns: a field and its value on each side that has it.
struct SideRow {
  std::string path;
  std::optional<std::string> a;
  std::optional<std::string> b;
};

// The rows of both sides in one order: the first side's, each row only the
// second has placed after the row it follows there.
std::vector<SideRow> Align(const std::vector<FieldRow>& a, const std::vector<FieldRow>& b) {
  std::vector<SideRow> rows;
  std::unordered_map<std::string, std::size_t> at;
  for (const FieldRow& row : a) {
    at.emplace(row.path, rows.size());
    rows.push_back(SideRow{row.path, row.value, std::nullopt});
  }
  std::size_t after = 0;  // where the next row of the second side goes
  for (const FieldRow& row : b) {
    auto found = at.find(row.path);
    if (found != at.end()) {
      rows[found->second].b = row.value;
      after = found->second + 1;
      continue;
    }
    rows.insert(rows.begin() + static_cast<std::ptrdiff_t>(after), SideRow{row.path, std::nullopt, row.value});
    for (auto& [path, index] : at) {
      if (index >= after) ++index;
    }
    at.emplace(row.path, after);
    ++after;
  }
  return rows;
}

const char* Symbol(Difference::Kind kind) {
  switch (kind) {
    case Difference::Kind::kModified: return "~";
    case Difference::Kind::kAdded: return "+";
    case Difference::Kind::kRemoved: return "-";
  }
  return "";
}

class SideBySide {
 public:
  SideBySide(const DiffReportOptions& options, const std::vector<Difference>& differences, Html body)
      : options_(options), differences_(differences), body_(body), walk_(options.pairing) {
    // Paths name the record read from each `config`, as Diff's do.
    walk_.set_name_settings(true);
    for (const Difference& d : differences) {
      paths_.insert(d.path);
      if (d.kind == Difference::Kind::kRemoved && !d.path.empty() && d.path.back() == ']') removed_.insert(d.path);
    }
  }

  void Page(const pb::Message& a, const pb::Message& b) {
    const std::string type = a.GetDescriptor()->full_name();
    body_.Add("h1", type + " differences");
    Html names = body_.Table({"", "document"});
    Html first = names.Add("tr");
    first.Add("td", "A (old)");
    first.Add("td", options_.old_title);
    Html second = names.Add("tr");
    second.Add("td", "B (new)");
    second.Add("td", options_.new_title);

    Html listed = body_.Add("section");
    listed.Add("h2", "Differences");
    Html side = body_.Add("section");
    side.Add("h2", "Side by side");
    side.Add("p", "Unchanged entries are folded; marked rows hold a difference.").Class("note");
    Document(side, a, b, std::string());
    Differences(listed);
  }

 private:
  // Whether a difference lies at `path`, inside it, or around it (an entry
  // added or removed whole). A list's own path names only its order, which
  // says nothing of the entries in it. An element removed is named by its
  // place in the first document, which another entry may hold in the
  // second: it marks only what the first document alone has (`first_only`).
  bool Marked(const std::string& path, bool first_only) const {
    const auto about = [&](const std::string& difference) {
      return first_only || removed_.count(difference) == 0;
    };
    auto it = paths_.lower_bound(path);
    for (; it != paths_.end() && it->compare(0, path.size(), path) == 0; ++it) {
      if (it->size() == path.size()) {
        if (about(*it)) return true;
        continue;
      }
      const char next = (*it)[path.size()];
      if (next == '.' || next == '[' || next == '<') return true;
    }
    for (std::size_t i = 1; i < path.size(); ++i) {
      if (path[i] != '.' && path[i] != '<') continue;
      const std::string around = path.substr(0, i);
      if (paths_.count(around) != 0 && about(around)) return true;
    }
    return false;
  }

  // Two records of one type where the walk stands, at `base`.
  void Document(Html parent, const pb::Message& a, const pb::Message& b, const std::string& base) {
    const pb::Descriptor* type = a.GetDescriptor();
    std::vector<FieldRow> rows_a;
    std::vector<FieldRow> rows_b;
    // A device image's configuration is a document of its own, shown so
    // where both sides read as one.
    const pb::FieldDescriptor* config = type == ::DeviceData::descriptor() ? internal::SettingsField(type) : nullptr;
    Settings settings_a;
    Settings settings_b;
    if (config != nullptr) {
      std::string scratch_a;
      std::string scratch_b;
      settings_a = walk_.Decide(a, Bytes(a, config, &scratch_a), 0);
      settings_b = walk_.Decide(b, Bytes(b, config, &scratch_b), 1);
      if (!settings_a.read() || !settings_b.read()) config = nullptr;
    }
    for (int i = 0; i < type->field_count(); ++i) {
      const pb::FieldDescriptor* field = type->field(i);
      if (IsList(field) || field == config) continue;
      internal::FieldRowsOf(a, field, walk_, 0, &rows_a, base);
      internal::FieldRowsOf(b, field, walk_, 1, &rows_b, base);
    }
    if (!rows_a.empty() || !rows_b.empty()) {
      Html block = parent.Add("div");
      block.Attr("id", Place(base, base.empty() ? "fields" : base + ".fields"));
      Rows(block, Align(rows_a, rows_b));
    }
    if (config != nullptr) {
      const Walk::Step step = walk_.Into(settings_a, config->name());
      const std::string inner = walk_.Path();
      Html section = parent.Add("section");
      section.Add("h3", inner);
      Document(section, *settings_a.record, *settings_b.record, inner);
    }
    for (int i = 0; i < type->field_count(); ++i) {
      const pb::FieldDescriptor* field = type->field(i);
      if (IsList(field)) List(parent, a, b, field, base);
    }
  }

  static bool IsList(const pb::FieldDescriptor* field) {
    return field->is_repeated() && field->cpp_type() == pb::FieldDescriptor::CPPTYPE_MESSAGE;
  }

  static const std::string& Bytes(const pb::Message& record, const pb::FieldDescriptor* field, std::string* scratch) {
    return record.GetReflection()->GetStringReference(record, field, scratch);
  }

  // The entries of a list, paired as Diff pairs them: by identifier where
  // the list has one and it repeats on neither side, else by position.
  void List(Html parent, const pb::Message& a, const pb::Message& b, const pb::FieldDescriptor* list,
            const std::string& base) {
    const Walk::Step step = walk_.Member(list->name());
    const std::string path = internal::JoinPath(base, list->name());
    const pb::Reflection* ra = a.GetReflection();
    const pb::Reflection* rb = b.GetReflection();
    const int size_a = ra->FieldSize(a, list);
    const int size_b = rb->FieldSize(b, list);
    Html section = parent.Add("section");
    section.Attr("id", Place(path, path));
    section.Add("h3", path + " (" + std::to_string(size_a) + " → " + std::to_string(size_b) + ")");
    if (paths_.count(path) != 0) section.Add("p", "The order of the entries changed.").Class("changed");

    // Pairs of (index in A, index in B), -1 for none, in Diff's order: the
    // first side's entries, then those only the second has.
    std::vector<std::pair<int, int>> pairs;
    const pb::FieldDescriptor* key = internal::EntryKey(list);
    std::unordered_map<std::int64_t, int> in_a;
    std::unordered_map<std::int64_t, int> in_b;
    std::vector<std::int64_t> keys_a;
    std::vector<std::int64_t> keys_b;
    if (key != nullptr) {
      keys_a = internal::EntryKeys(a, list, key);
      keys_b = internal::EntryKeys(b, list, key);
      if (!internal::IndexKeys(keys_a, &in_a) || !internal::IndexKeys(keys_b, &in_b)) key = nullptr;
    }
    if (key != nullptr) {
      for (int i = 0; i < size_a; ++i) {
        auto match = in_b.find(keys_a[static_cast<std::size_t>(i)]);
        pairs.emplace_back(i, match == in_b.end() ? -1 : match->second);
      }
      for (int j = 0; j < size_b; ++j) {
        if (in_a.count(keys_b[static_cast<std::size_t>(j)]) == 0) pairs.emplace_back(-1, j);
      }
    } else {
      for (int i = 0; i < std::max(size_a, size_b); ++i) pairs.emplace_back(i < size_a ? i : -1, i < size_b ? i : -1);
    }
    if (pairs.empty()) section.Add("p", "none on either side").Class("note");
    for (const auto& [i, j] : pairs) {
      const pb::Message* entry_a = i >= 0 ? &ra->GetRepeatedMessage(a, list, i) : nullptr;
      const pb::Message* entry_b = j >= 0 ? &rb->GetRepeatedMessage(b, list, j) : nullptr;
      // Diff names an entry by its place in the second document, or in the
      // first for one removed.
      const int index = j >= 0 ? j : i;
      // By its identifier and alias in a keyed list, as Diff names it.
      std::string named = internal::IndexPath(path, index);
      if (key != nullptr) {
        const std::int64_t id = i >= 0 ? keys_a[static_cast<std::size_t>(i)] : keys_b[static_cast<std::size_t>(j)];
        named = path + "[" +
                internal::EntryLabel(key->name(), id, internal::EntryAlias(entry_b != nullptr ? *entry_b : *entry_a)) +
                "]";
      }
      Entry(section, entry_a, entry_b, index, named);
    }
  }

  void Entry(Html parent, const pb::Message* a, const pb::Message* b, int index, const std::string& path) {
    const Walk::Step step = walk_.Element(index);
    std::vector<FieldRow> rows_a;
    std::vector<FieldRow> rows_b;
    if (a != nullptr) internal::FieldRows(*a, walk_, 0, &rows_a, path);
    if (b != nullptr) internal::FieldRows(*b, walk_, 1, &rows_b, path);
    const bool changed = Marked(path, b == nullptr);
    const char* status = a == nullptr ? "added" : b == nullptr ? "removed" : changed ? "changed" : "unchanged";
    Html details = parent.Add("details");
    // A removed entry's place in the first document may be another's in
    // the second: its block has an id of its own.
    details.Attr("id", b == nullptr ? PlaceRemoved(path) : Place(path, path));
    if (changed) details.Attr("open", "open");
    Html summary = details.Add("summary");
    summary.Add("code", path);
    const pb::Message& shown = b != nullptr ? *b : *a;
    summary.Text(Describe(shown) + " — ");
    summary.Add("span", status).Class(changed ? (a == nullptr ? "added" : b == nullptr ? "removed" : "changed") : "note");
    Rows(details, Align(rows_a, rows_b));
    if (a != nullptr && b != nullptr && changed) Tables(details, *a, *b, path);
  }

  // The tables of two versions of an entry that differ (a map's, an
  // input's linearization), drawn side by side with what changed outlined.
  void Tables(Html parent, const pb::Message& a, const pb::Message& b, const std::string& path) {
    const pb::Descriptor* type = a.GetDescriptor();
    if (type == ::Map::descriptor()) {
      const auto channel = [&](const char* name) {
        return std::to_string(internal::IntegerAt(b, type->FindFieldByName(name), 0));
      };
      TablePair(parent, a, b, path, "x (channel " + channel("xAxisChannel") + ")",
                "y (channel " + channel("yAxisChannel") + ")");
      return;
    }
    for (int i = 0; i < type->field_count(); ++i) {
      const pb::FieldDescriptor* field = type->field(i);
      if (field->is_repeated() || field->message_type() != ::Map::descriptor()) continue;
      const pb::Reflection* ra = a.GetReflection();
      const pb::Reflection* rb = b.GetReflection();
      const std::string at = internal::JoinPath(path, field->name());
      if (!ra->HasField(a, field) || !rb->HasField(b, field) || !Marked(at, false)) continue;
      const Walk::Step member = walk_.Member(field->name());
      TablePair(parent, ra->GetMessage(a, field), rb->GetMessage(b, field), at, "x", "y");
    }
  }

  void TablePair(Html parent, const pb::Message& a, const pb::Message& b, const std::string& path,
                 const std::string& x_title, const std::string& y_title) {
    const pb::FieldDescriptor* config = internal::SettingsField(a.GetDescriptor());
    std::string scratch_a;
    std::string scratch_b;
    const Settings table_a = walk_.Decide(a, Bytes(a, config, &scratch_a), 0);
    const Settings table_b = walk_.Decide(b, Bytes(b, config, &scratch_b), 1);
    if (!table_a.read() || !table_b.read() || table_a.paired != table_b.paired) return;
    if (table_a.paired != ::Map2D::descriptor() && table_a.paired != ::Map3D::descriptor()) return;
    const Walk::Step step = walk_.Into(table_a, config->name());
    const std::string value_title = table_a.paired == ::Map2D::descriptor() ? "value" : y_title;
    Html figures = parent.Add("div").Class("figures");
    Html old_figure = figures.Add("figure");
    old_figure.Add("figcaption", "A (old): " + path);
    internal::DrawTableRecord(old_figure, *table_a.record, path + " in A", x_title, value_title, table_b.record);
    Html new_figure = figures.Add("figure");
    new_figure.Add("figcaption", "B (new): " + path);
    internal::DrawTableRecord(new_figure, *table_b.record, path + " in B", x_title, value_title, table_a.record);
  }

  // " · id 3 · Oil temperature": what tells an entry apart, where it has it.
  static std::string Describe(const pb::Message& entry) {
    std::string out;
    const pb::Descriptor* type = entry.GetDescriptor();
    for (const char* name : {"id", "canbusId", "logicalId", "alias"}) {
      const pb::FieldDescriptor* field = type->FindFieldByName(name);
      if (field == nullptr || field->is_repeated()) continue;
      if (field->type() == pb::FieldDescriptor::TYPE_STRING) {
        out += " · " + entry.GetReflection()->GetString(entry, field);
      } else if (internal::IsInteger(field)) {
        out += " · " + std::string(name) + " " + std::to_string(internal::IntegerAt(entry, field, 0));
      }
    }
    return out;
  }

  void Rows(Html parent, const std::vector<SideRow>& rows) {
    Html table = parent.Table({"field", "A", "B"}, "side");
    for (const SideRow& shown : rows) {
      Html row = table.Add("tr");
      const bool marked = Marked(shown.path, !shown.b);
      const char* mark = !marked ? nullptr : !shown.a ? "added" : !shown.b ? "removed" : "changed";
      if (mark != nullptr) row.Class(mark);
      row.Add("td", shown.path).Class("path");
      Html a = row.Add("td", shown.a.value_or(std::string())).Class("value");
      Html b = row.Add("td", shown.b.value_or(std::string())).Class("value");
      if (!shown.a) a.Add("span", "absent").Class("note");
      if (!shown.b) b.Add("span", "absent").Class("note");
    }
  }

  // The list at the top: each difference as the text diff gives it, with a
  // link to the entry it lies in.
  void Differences(Html section) {
    if (differences_.empty()) {
      section.Add("p", "The documents are equal.");
      return;
    }
    section.Add("p", std::to_string(differences_.size()) +
                         (differences_.size() == 1 ? " difference." : " differences."));
    Html table = section.Table({"", "path", "A (old)", "B (new)"});
    for (const Difference& d : differences_) {
      Html row = table.Add("tr");
      row.Class(d.kind == Difference::Kind::kAdded     ? "added"
                : d.kind == Difference::Kind::kRemoved ? "removed"
                                                        : "changed");
      row.Add("td", Symbol(d.kind));
      Html where = row.Add("td").Class("path");
      const std::string* anchor = d.kind == Difference::Kind::kRemoved ? ShownRemoved(d.path) : nullptr;
      if (anchor == nullptr) anchor = Shown(d.path);
      if (anchor != nullptr) {
        where.Add("a", d.path).Attr("href", "#" + *anchor);
      } else {
        where.Text(d.path);
      }
      row.Add("td", d.old_value).Class("value");
      row.Add("td", d.new_value).Class("value");
    }
  }

  // The id of the block that shows `path`, named `name`.
  std::string Place(const std::string& path, const std::string& name) {
    std::string id = internal::Anchor("d-", name);
    anchors_.emplace(path, id);
    return id;
  }

  std::string PlaceRemoved(const std::string& path) {
    std::string id = internal::Anchor("d-removed-", path);
    removed_anchors_.emplace(path, id);
    return id;
  }

  const std::string* ShownRemoved(const std::string& path) const {
    auto found = removed_anchors_.find(path);
    return found == removed_anchors_.end() ? nullptr : &found->second;
  }

  // The id of the innermost block showing a difference at `path`.
  const std::string* Shown(const std::string& path) const {
    for (std::size_t end = path.size() + 1; end-- > 0;) {
      if (end > 0 && end < path.size() && path[end] != '.' && path[end] != '[' && path[end] != '<') continue;
      auto found = anchors_.find(path.substr(0, end));
      if (found != anchors_.end()) return &found->second;
    }
    return nullptr;
  }

  const DiffReportOptions& options_;
  const std::vector<Difference>& differences_;
  Html body_;
  Walk walk_;
  std::set<std::string> paths_;
  std::set<std::string> removed_;  // whole elements removed, by their place in the first document
  std::map<std::string, std::string> anchors_;
  std::map<std::string, std::string> removed_anchors_;
};

}  // namespace

std::string DiffReport(const pb::Message& a, const pb::Message& b, const std::vector<Difference>& differences,
                       const DiffReportOptions& options) {
  if (a.GetDescriptor() != b.GetDescriptor()) {
    throw Error("", "cannot compare a " + a.GetDescriptor()->full_name() + " with a " +
                        b.GetDescriptor()->full_name());
  }
  internal::Page page(a.GetDescriptor()->full_name() + " differences");
  SideBySide(options, differences, page.body()).Page(a, b);
  return page.Serialize();
}

}  // namespace gcuschema::document
