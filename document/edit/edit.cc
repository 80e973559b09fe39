#include <gcuschema/document/edit.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gcuschema/document/records.h>

#include "edit/path.h"
#include "edit/touched.h"
#include "edit/value.h"
#include "suggest.h"
#include "walk.h"

namespace gcuschema::document {
namespace internal {
namespace {

namespace pb = google::protobuf;
using pb::FieldDescriptor;

// Lists of values found (ids, names) are given whole up to this many.
constexpr std::size_t kListedValues = 12;

const FieldDescriptor* FindField(const pb::Descriptor* type, const std::string& name) {
  if (const FieldDescriptor* field = type->FindFieldByName(name)) return field;
  for (int i = 0; i < type->field_count(); ++i) {
    if (type->field(i)->json_name() == name) return type->field(i);
  }
  return nullptr;
}

std::vector<std::string> FieldNames(const pb::Descriptor* type) {
  std::vector<std::string> names;
  for (int i = 0; i < type->field_count(); ++i) names.push_back(type->field(i)->name());
  return names;
}

Error UnknownField(const std::string& where, const pb::Descriptor* type, const std::string& name) {
  bool named = false;
  const std::string message = UnknownName("a field of " + type->full_name(), name, FieldNames(type), &named);
  Remedy remedy;
  if (!named) {
    remedy.kind = Remedy::Kind::kListNames;
    remedy.record = type->full_name();
  }
  return Error(where, message, remedy);
}

// "A, B and C".
std::string Joined(const std::vector<std::string>& items) {
  std::string out;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i > 0) out += i + 1 == items.size() ? " and " : ", ";
    out += items[i];
  }
  return out;
}

bool IsNumeric(const FieldDescriptor* field) {
  switch (field->cpp_type()) {
    case FieldDescriptor::CPPTYPE_INT32:
    case FieldDescriptor::CPPTYPE_INT64:
    case FieldDescriptor::CPPTYPE_UINT32:
    case FieldDescriptor::CPPTYPE_UINT64:
    case FieldDescriptor::CPPTYPE_FLOAT:
    case FieldDescriptor::CPPTYPE_DOUBLE: return true;
    default: return false;
  }
}

// What to say of the values a list's elements hold in `field` when none
// holds `wanted`: the closest ones, or all of them when they are few.
std::string ValuesThere(const std::vector<std::string>& values, const FieldDescriptor* field,
                        const std::string& wanted) {
  std::vector<std::string> distinct;
  for (const std::string& value : values) {
    if (std::find(distinct.begin(), distinct.end(), value) == distinct.end()) distinct.push_back(value);
  }
  if (distinct.size() <= kListedValues) return "the elements there have " + field->name() + " " + Joined(distinct);
  std::vector<std::string> closest;
  if (IsNumeric(field)) {
    const double target = std::strtod(wanted.c_str(), nullptr);
    std::vector<std::pair<double, std::string>> ranked;
    for (const std::string& value : distinct) ranked.emplace_back(std::fabs(std::strtod(value.c_str(), nullptr) - target), value);
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (std::size_t i = 0; i < ranked.size() && i < 3; ++i) closest.push_back(ranked[i].second);
  } else {
    closest = ClosestNames(wanted, distinct);
  }
  std::string out = "the elements there have " + std::to_string(distinct.size()) + " values of " + field->name();
  if (!closest.empty()) out += ", the closest " + Joined(closest);
  return out;
}

// What one edit, or all of them, keeps of an entry (a record whose
// `config` holds settings): the settings' record before the edits, and
// whether they changed its type code or gave its settings whole.
struct EntryState {
  std::string path;  // the path to the entry as written
  const pb::Descriptor* before = nullptr;
  int code_before = 0;
  bool type_set = false;
  bool settings_given = false;
  int within = -1;  // the settings it lies in, or -1
};

class Editor {
 public:
  Editor(pb::Message* root, const PairingCatalogue& pairing) : root_(root), pairing_(pairing) {}

  void Apply(const Assignment& assignment);
  void Finish();
  const Touched& touched() const { return touched_; }

 private:
  EntryState& Entry(pb::Message* holder, const std::string& path, int within);
  SettingsEdit& EnterSettings(pb::Message* holder, const EntryState& entry, Walk* walk, const std::string& where,
                              int within);
  void GiveSettings(pb::Message* holder, const FieldDescriptor* field, const std::string& value,
                    const std::string& where);
  int Choose(const pb::Message& record, const FieldDescriptor* field, const PathStep& step,
             const std::string& where) const;
  bool Alive(int settings) const;
  std::string Describe(const EntryState& entry, const pb::Message& holder) const;

  pb::Message* root_;
  const PairingCatalogue& pairing_;
  Touched touched_;
  std::vector<std::unique_ptr<SettingsEdit>> settings_;
  std::map<const pb::Message*, int> settings_of_;  // holder -> its live SettingsEdit
  std::map<const pb::Message*, EntryState> entries_;
  std::vector<const pb::Message*> entry_order_;
};

bool Editor::Alive(int settings) const {
  for (int at = settings; at >= 0; at = settings_[static_cast<std::size_t>(at)]->parent) {
    if (settings_[static_cast<std::size_t>(at)]->dropped) return false;
  }
  return true;
}

EntryState& Editor::Entry(pb::Message* holder, const std::string& path, int within) {
  auto found = entries_.find(holder);
  if (found != entries_.end()) return found->second;
  EntryState& entry = entries_[holder];
  entry.path = path;
  entry.before = PairedSettings(*holder, pairing_);
  EntryKind kind;
  if (EntryKindOf(holder->GetDescriptor(), &kind)) entry.code_before = EntryTypeCode(*holder);
  entry.within = within;
  entry_order_.push_back(holder);
  return entry;
}

// "input type 2 (DigitalInput)".
std::string CodeOf(const pb::Message& holder) {
  EntryKind kind;
  if (!EntryKindOf(holder.GetDescriptor(), &kind)) return holder.GetDescriptor()->full_name();
  return std::string(EntryKindName(kind)) + " type " + DescribeTypeCode(kind, EntryTypeCode(holder));
}

std::string Holds(const pb::Descriptor* record) {
  return record != nullptr ? "holds " + record->full_name() : "holds no settings record";
}

std::string Editor::Describe(const EntryState& entry, const pb::Message& holder) const {
  EntryKind kind;
  EntryKindOf(holder.GetDescriptor(), &kind);
  return "were written as " +
         (entry.before != nullptr ? entry.before->full_name() : std::string("bytes that no record reads")) +
         " for type " + DescribeTypeCode(kind, entry.code_before);
}

std::string Prefix(const std::string& path) { return path.empty() ? "" : path + "."; }

SettingsEdit& Editor::EnterSettings(pb::Message* holder, const EntryState& entry, Walk* walk,
                                    const std::string& where, int within) {
  const pb::Descriptor* now = PairedSettings(*holder, pairing_);
  const auto found = settings_of_.find(holder);
  const FieldDescriptor* config = SettingsField(holder->GetDescriptor());
  std::string scratch;
  const std::string& bytes = holder->GetReflection()->GetStringReference(*holder, config, &scratch);
  const std::string entry_path = Prefix(entry.path);
  if (found != settings_of_.end() && settings_[static_cast<std::size_t>(found->second)]->record == now) {
    return *settings_[static_cast<std::size_t>(found->second)];
  }
  if (found != settings_of_.end()) {
    throw Error(where, "fields of these settings were set above as " +
                           settings_[static_cast<std::size_t>(found->second)]->record->full_name() + ", but " +
                           entry_path + "type now " + Holds(now) + "; set the type first, give the settings anew (" +
                           entry_path + "config=), then set their fields");
  }
  if (now != entry.before && !entry.settings_given && !bytes.empty()) {
    throw Error(where, entry_path + "type was set to " + CodeOf(*holder) + " by these edits, which " + Holds(now) +
                           ", and the settings " + Describe(entry, *holder) +
                           "; give the settings anew before setting their fields: " + entry_path +
                           "config= for empty ones, or " + entry_path + "config=BASE64");
  }
  if (now == nullptr) {
    EntryKind kind;
    Remedy remedy;
    if (EntryKindOf(holder->GetDescriptor(), &kind)) {
      remedy.kind = Remedy::Kind::kPairCode;
      remedy.entry = kind;
      remedy.code = EntryTypeCode(*holder);
    }
    throw Error(where, CodeOf(*holder) + " holds no settings record, so the fields of its config have no names; "
                           "set the bytes whole (" + entry_path + "config=BASE64), or pair the code with the "
                           "record they hold",
                remedy);
  }
  const Settings decided = walk->Decide(*holder);
  if (decided.state == Settings::State::kTooDeep) throw Walk::TooDeep(where);
  if (!decided.read()) {
    const std::string size = bytes.size() == 1 ? "1 byte" : std::to_string(bytes.size()) + " bytes";
    throw Error(where, "the settings (" + size + ") do not read as " + now->full_name() + ", the record " +
                           CodeOf(*holder) + " holds, so their fields cannot be set one by one; give them whole (" +
                           entry_path + "config=BASE64)");
  }
  auto edit = std::make_unique<SettingsEdit>();
  edit->holder = holder;
  edit->record = now;
  edit->settings = NewRecord(now);
  edit->settings->CopyFrom(*decided.record);
  edit->original = bytes;
  edit->parent = within;
  settings_of_[holder] = static_cast<int>(settings_.size());
  settings_.push_back(std::move(edit));
  return *settings_.back();
}

void Editor::GiveSettings(pb::Message* holder, const FieldDescriptor* field, const std::string& value,
                          const std::string& where) {
  SetFromText(holder, field, -1, value, where);
  const auto found = settings_of_.find(holder);
  if (found != settings_of_.end()) {
    settings_[static_cast<std::size_t>(found->second)]->dropped = true;
    settings_of_.erase(found);
  }
}

int Editor::Choose(const pb::Message& record, const FieldDescriptor* field, const PathStep& step,
                   const std::string& where) const {
  const pb::Reflection* reflection = record.GetReflection();
  const int size = reflection->FieldSize(record, field);
  if (step.select == PathStep::Select::kIndex) {
    if (step.index < static_cast<std::uint64_t>(size)) return static_cast<int>(step.index);
    std::string message = "there is no " + field->name() + "[" + std::to_string(step.index) + "]: " +
                          field->name() + " holds " + std::to_string(size) + (size == 1 ? " element" : " elements");
    if (size > 0) message += ", " + field->name() + "[0] to " + field->name() + "[" + std::to_string(size - 1) + "]";
    throw Error(where, message);
  }
  const pb::Descriptor* element_type = field->message_type();
  const FieldDescriptor* key = FindField(element_type, step.field);
  if (key == nullptr) throw UnknownField(where, element_type, step.field);
  if (key->is_repeated() || key->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
    throw Error(where, "elements are chosen by a field holding one value; " + key->name() + " of " +
                           element_type->full_name() + " holds " +
                           (key->is_repeated() ? std::string("a list") : Takes(key)));
  }
  const std::unique_ptr<pb::Message> wanted = NewRecord(element_type);
  SetFromText(wanted.get(), key, -1, step.value, where);
  std::vector<int> matches;
  std::vector<std::string> values;
  for (int i = 0; i < size; ++i) {
    const pb::Message& element = reflection->GetRepeatedMessage(record, field, i);
    if (SameValue(element, *wanted, key, -1)) matches.push_back(i);
    values.push_back(AssignedValueText(element, key, -1));
  }
  if (matches.size() == 1) return matches.front();
  const std::string shown = AssignedValueText(*wanted, key, -1);
  if (matches.empty()) {
    std::string message = "no element of " + field->name() + " has " + key->name() + " " + shown;
    message += size == 0 ? "; " + field->name() + " is empty" : "; " + ValuesThere(values, key, shown);
    throw Error(where, message);
  }
  std::vector<std::string> positions;
  for (int match : matches) positions.push_back(field->name() + "[" + std::to_string(match) + "]");
  throw Error(where, std::to_string(matches.size()) + " elements of " + field->name() + " have " + key->name() + " " +
                         shown + " (" + Joined(positions) + "); choose one by its position, as " + positions.front());
}

void Editor::Apply(const Assignment& assignment) {
  const std::vector<PathStep> steps = ParsePath(assignment.path);
  const std::string& where = assignment.path;
  Walk walk(pairing_);
  std::vector<Walk::Step> taken;
  pb::Message* record = root_;
  Touched* node = &touched_;
  int within = -1;
  std::string path_here;  // the path as written to `record`
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const PathStep& step = steps[i];
    const bool last = i + 1 == steps.size();
    const pb::Descriptor* type = record->GetDescriptor();
    const FieldDescriptor* field = FindField(type, step.name);
    if (field == nullptr) throw UnknownField(where, type, step.name);
    const bool list = field->is_repeated();
    if (step.select != PathStep::Select::kNone && !list) {
      throw Error(where, field->name() + " of " + type->full_name() + " is not a list: leave out the '[...]' after it");
    }
    if (IsSettingsField(type, field)) {
      EntryState& entry = Entry(record, path_here, within);
      if (last) {
        GiveSettings(record, field, assignment.value, where);
        entry.settings_given = true;
        node->fields[field->number()].whole = true;
        return;
      }
      SettingsEdit& settings = EnterSettings(record, entry, &walk, where, within);
      Settings decided;
      decided.paired = settings.record;
      taken.push_back(walk.Into(decided, field->name()));
      Touched::Field& touched = node->fields[field->number()];
      touched.settings = &settings;
      within = settings_of_[record];
      record = settings.settings.get();
      node = &settings.touched;
      path_here = step.written;
      continue;
    }
    const pb::Reflection* reflection = record->GetReflection();
    if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
      if (list && step.select == PathStep::Select::kNone) {
        throw Error(where, field->name() + " is a list of " + field->message_type()->full_name() +
                               "; choose an element by position or by a field of it: " + step.written + "[0], " +
                               step.written + "[id=1]");
      }
      if (last) {
        std::vector<std::string> names = FieldNames(field->message_type());
        std::string listed;
        for (std::size_t n = 0; n < names.size() && n < kListedValues; ++n) listed += (n > 0 ? ", " : "") + names[n];
        if (names.size() > kListedValues) listed += ", ...";
        throw Error(where, step.written + " is a record (" + field->message_type()->full_name() +
                               "); set one of its fields: " + step.written + "." + names.front() + " (its fields: " +
                               listed + ")");
      }
      taken.push_back(walk.Member(field->name()));
      if (list) {
        const int index = Choose(*record, field, step, where);
        taken.push_back(walk.Element(index));
        node = &node->Element(field->number(), index);
        record = reflection->MutableRepeatedMessage(record, field, index);
      } else {
        node = &node->Inside(field->number());
        record = reflection->MutableMessage(record, field);
      }
      path_here = step.written;
      continue;
    }
    if (!last) {
      throw Error(where, field->name() + " holds " + Takes(field) + ", not a record; the path cannot go on past " +
                             step.written);
    }
    int index = -1;
    if (list) {
      if (step.select == PathStep::Select::kField) {
        throw Error(where, field->name() + " is a list of values, whose elements are chosen by position: " +
                               field->name() + "[0]");
      }
      if (step.select == PathStep::Select::kNone) {
        throw Error(where, field->name() + " is a list of values; set one element by its position: " + step.written +
                               "[0]=" + assignment.value);
      }
      index = Choose(*record, field, step, where);
    }
    EntryKind kind;
    if (field->name() == "type" && EntryKindOf(type, &kind)) Entry(record, path_here, within).type_set = true;
    SetFromText(record, field, index, assignment.value, where);
    node->fields[field->number()].whole = true;
  }
}

void Editor::Finish() {
  // A type that makes the settings another record's needs settings given
  // with it.
  for (const pb::Message* key : entry_order_) {
    const EntryState& entry = entries_.at(key);
    if (!entry.type_set || !Alive(entry.within)) continue;
    pb::Message* holder = const_cast<pb::Message*>(key);
    const pb::Descriptor* now = PairedSettings(*holder, pairing_);
    if (now == entry.before || entry.settings_given) continue;
    const FieldDescriptor* config = SettingsField(holder->GetDescriptor());
    std::string scratch;
    const std::string& bytes = holder->GetReflection()->GetStringReference(*holder, config, &scratch);
    const auto edited = settings_of_.find(holder);
    // Set field by field as the new type's record: from empty settings,
    // which read as any record (settings that were not empty are refused
    // on the way in).
    if (edited != settings_of_.end() && settings_[static_cast<std::size_t>(edited->second)]->record == now) continue;
    if (bytes.empty() && edited == settings_of_.end()) continue;
    const std::string path = Prefix(entry.path);
    throw Error(path + "type", CodeOf(*holder) + " " + Holds(now) + ", but the entry's settings " +
                                   Describe(entry, *holder) +
                                   " and are not read as another record; give settings of the new type with it: " + path +
                                   "config= (empty), then " + path + "config.FIELD=VALUE for each one to set, or " +
                                   path + "config=BASE64");
  }
  // Settings edited field by field go back into their bytes, the innermost
  // first (they lie in the records of those around them).
  for (std::size_t i = settings_.size(); i-- > 0;) {
    SettingsEdit& edit = *settings_[i];
    if (!Alive(static_cast<int>(i))) continue;
    const FieldDescriptor* config = SettingsField(edit.holder->GetDescriptor());
    edit.holder->GetReflection()->SetString(edit.holder, config,
                                            SpliceBinary(edit.original, edit.settings.get(), edit.touched));
  }
  // Settings given whole must be the record the type code holds.
  for (const pb::Message* key : entry_order_) {
    const EntryState& entry = entries_.at(key);
    if (!entry.settings_given || !Alive(entry.within)) continue;
    Walk walk(pairing_);
    const Settings decided = walk.Decide(*key);
    if (decided.paired == nullptr || decided.read() || decided.state == Settings::State::kTooDeep) continue;
    std::string scratch;
    const std::string& bytes =
        key->GetReflection()->GetStringReference(*key, SettingsField(key->GetDescriptor()), &scratch);
    const std::string size = bytes.size() == 1 ? "1 byte" : std::to_string(bytes.size()) + " bytes";
    throw Error(Prefix(entry.path) + "config", "the settings given (" + size + ") do not read as " +
                                                   decided.paired->full_name() +
                                                   ", the record " + CodeOf(*key) +
                                                   " holds; give settings of that record, or set the type that "
                                                   "holds theirs with them");
  }
}

}  // namespace
}  // namespace internal

void Edit(google::protobuf::Message* record, const std::vector<Assignment>& assignments, const EditOptions& options) {
  internal::Editor editor(record, options.pairing);
  for (const Assignment& assignment : assignments) editor.Apply(assignment);
  editor.Finish();
}

Format EditDocument(std::string_view bytes, google::protobuf::Message* record,
                    const std::vector<Assignment>& assignments, std::string* edited, const EditOptions& options) {
  ReadOptions reading;
  reading.format = options.format;
  reading.pairing = options.pairing;
  const Format format = Read(bytes, record, reading);
  internal::Editor editor(record, options.pairing);
  for (const Assignment& assignment : assignments) editor.Apply(assignment);
  editor.Finish();
  switch (format) {
    case Format::kBinary: *edited = internal::SpliceBinary(bytes, record, editor.touched()); break;
    case Format::kJson: *edited = internal::SpliceJson(bytes, record, editor.touched(), options.pairing); break;
    case Format::kText: *edited = internal::SpliceText(bytes, record, editor.touched()); break;
  }
  return format;
}

}  // namespace gcuschema::document
