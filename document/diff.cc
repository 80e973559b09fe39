#include <gcuschema/document/diff.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/stubs/logging.h>
#include <google/protobuf/stubs/strutil.h>
#include <google/protobuf/unknown_field_set.h>
#include <google/protobuf/util/field_comparator.h>
#include <google/protobuf/util/message_differencer.h>

#include <gcuschema/document/error.h>

#include "diff_order.h"
#include "entry_keys.h"
#include "field_path.h"
#include "text_numbers.h"
#include "walk.h"
#include "value_text.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;
using pb::util::MessageDifferencer;
using SpecificField = MessageDifferencer::SpecificField;

// Bytes longer than this are shown by their size and a window of content.
constexpr std::size_t kShownBytes = 32;

std::string Hex(const std::string& bytes, std::size_t from, std::size_t count) {
  static const char kDigits[] = "0123456789abcdef";
  std::string out;
  for (std::size_t i = from; i < bytes.size() && i < from + count; ++i) {
    if (!out.empty()) out += ' ';
    const auto byte = static_cast<unsigned char>(bytes[i]);
    out += kDigits[byte >> 4];
    out += kDigits[byte & 0xF];
  }
  return out;
}

// "<0a 01 ff>"; a long block as "<1234 bytes, at 16: 0a 01 ...>", the window
// starting where the two sides of a change part (`from`).
std::string FormatBytes(const std::string& bytes, std::size_t from = 0) {
  if (bytes.size() <= kShownBytes) return "<" + Hex(bytes, 0, bytes.size()) + ">";
  from = std::min(from, bytes.size()) / 16 * 16;
  return "<" + std::to_string(bytes.size()) + " bytes, at " + std::to_string(from) + ": " +
         Hex(bytes, from, 16) + (from + 16 < bytes.size() ? " ...>" : ">");
}

std::size_t FirstDifference(const std::string& a, const std::string& b) {
  const auto parted = std::mismatch(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(std::min(a.size(), b.size())),
                                    b.begin());
  return static_cast<std::size_t>(parted.first - a.begin());
}

using internal::Settings;
using internal::Walk;

std::string FormatMessage(const pb::Message& record, Walk& walk, int side);

// A `config` of `holder` (where the walk stands) as the record it holds
// when it reads back to the same bytes, else as bytes: a value shown never
// hides a byte.
std::string FormatSettings(const pb::Message& holder, const pb::FieldDescriptor* field, const std::string& bytes,
                           Walk& walk, int side, std::size_t from = 0) {
  if (!internal::IsSettingsField(holder.GetDescriptor(), field)) return FormatBytes(bytes, from);
  const Settings settings = walk.Decide(holder, bytes, side);
  if (settings.paired == nullptr) return FormatBytes(bytes, from);
  const Walk::Step step = walk.Into(settings, field->name());
  if (!settings.canonical()) return FormatBytes(bytes, from);
  return settings.paired->full_name() + " " + FormatMessage(*settings.record, walk, side);
}


// A value of `field` of `record`, where the walk stands; `side` is the
// document it comes from.
std::string FormatValue(const pb::Message& record, const pb::FieldDescriptor* field, int index, Walk& walk,
                        int side) {
  const pb::Reflection* r = record.GetReflection();
  const bool rep = field->is_repeated();
  if (std::optional<std::string> scalar = internal::ScalarText(record, field, index)) return *scalar;
  switch (field->cpp_type()) {
    case pb::FieldDescriptor::CPPTYPE_STRING: {
      const std::string value = rep ? r->GetRepeatedString(record, field, index) : r->GetString(record, field);
      if (field->type() == pb::FieldDescriptor::TYPE_STRING) return "\"" + pb::CEscape(value) + "\"";
      if (rep || !internal::IsSettingsField(record.GetDescriptor(), field)) return FormatBytes(value);
      return FormatSettings(record, field, value, walk, side);
    }
    case pb::FieldDescriptor::CPPTYPE_MESSAGE: {
      const Walk::Step member = walk.Member(field->name());
      if (!rep) return FormatMessage(r->GetMessage(record, field), walk, side);
      const Walk::Step element = walk.Element(index);
      return FormatMessage(r->GetRepeatedMessage(record, field, index), walk, side);
    }
    default: break;  // the scalars, above
  }
  return std::string();
}

// An unknown field's value; bytes shown from `from` on, as FormatBytes does.
std::string FormatUnknown(const pb::UnknownField& field, std::size_t from = 0) {
  switch (field.type()) {
    case pb::UnknownField::TYPE_VARINT: return std::to_string(field.varint());
    case pb::UnknownField::TYPE_FIXED32: return std::to_string(field.fixed32());
    case pb::UnknownField::TYPE_FIXED64: return std::to_string(field.fixed64());
    case pb::UnknownField::TYPE_LENGTH_DELIMITED: return FormatBytes(field.length_delimited(), from);
    case pb::UnknownField::TYPE_GROUP: return "{ group of " + std::to_string(field.group().field_count()) + " }";
  }
  return std::string();
}

// One line, fields in number order: "{ id: 3 type: 0 config: AdcConfiguration { range: range12V } }".
std::string FormatMessage(const pb::Message& record, Walk& walk, int side) {
  const pb::Reflection* r = record.GetReflection();
  std::vector<const pb::FieldDescriptor*> fields;
  r->ListFields(record, &fields);
  std::string out = "{";
  for (const pb::FieldDescriptor* field : fields) {
    out += " " + field->name() + ": ";
    if (!field->is_repeated()) {
      out += FormatValue(record, field, -1, walk, side);
      continue;
    }
    out += "[";
    const int size = r->FieldSize(record, field);
    for (int i = 0; i < size; ++i) {
      out += (i > 0 ? ", " : "") + FormatValue(record, field, i, walk, side);
    }
    out += "]";
  }
  const pb::UnknownFieldSet& unknown = r->GetUnknownFields(record);
  for (int i = 0; i < unknown.field_count(); ++i) {
    out += " #" + std::to_string(unknown.field(i).number()) + ": " + FormatUnknown(unknown.field(i));
  }
  return out + " }";
}

// A comparison of two documents under way: where it stands, the entries
// named by identifier on the way there, and what it found.
struct Comparison {
  Comparison(Walk& walk, std::vector<Difference>* out) : walk(walk), out(out) {}

  void Add(Difference::Kind kind, std::string path, std::string old_value, std::string new_value) {
    out->push_back(Difference{kind, std::move(path), std::move(old_value), std::move(new_value), named, {}});
  }

  Walk& walk;
  std::vector<Difference>* out;
  // The keyed entries the walk stands in, outermost first.
  std::vector<EntryId> named;
  // Which records can hold a single float or double (HasSingleFloats).
  std::unordered_map<const pb::Descriptor*, bool> single_floats;
};

void Compare(const pb::Message& a, const pb::Message& b, Comparison& comparison);

// Turns the differencer's reports into differences with readable paths,
// reading settings in `config` as their records. The walk stands where the
// compared records stand in the documents ("inputs[id=4]").
class Collector : public MessageDifferencer::Reporter {
 public:
  explicit Collector(Comparison& comparison) : comparison_(comparison), walk_(comparison.walk) {}

  void ReportAdded(const pb::Message& a, const pb::Message& b, const std::vector<SpecificField>& path) override {
    Report(Difference::Kind::kAdded, a, b, path);
  }
  void ReportDeleted(const pb::Message& a, const pb::Message& b, const std::vector<SpecificField>& path) override {
    Report(Difference::Kind::kRemoved, a, b, path);
  }
  void ReportModified(const pb::Message& a, const pb::Message& b, const std::vector<SpecificField>& path) override {
    Report(Difference::Kind::kModified, a, b, path);
  }

 private:
  // Where a list element sits in the second document (matched elements
  // carry both places; what was added only its new one).
  static int Position(const SpecificField& step) { return step.new_index >= 0 ? step.new_index : step.index; }

  // Takes the step `step` of a differencer's path (its names kept in
  // `names` while the walk holds them).
  void Take(const SpecificField& step, int position, std::deque<std::string>* names) {
    if (step.field == nullptr) {
      names->push_back("#" + std::to_string(step.unknown_field_number));
      walk_.Push(names->back(), -1);
      return;
    }
    walk_.Push(step.field->name(), -1);
    if (step.field->is_repeated() && position >= 0) walk_.Push({}, position);
  }

  // `a` and `b` are the records holding the last field of `path`, in the
  // first and the second document.
  void Report(Difference::Kind kind, const pb::Message& a, const pb::Message& b,
              const std::vector<SpecificField>& path) {
    const SpecificField& last = path.back();
    const pb::FieldDescriptor* field = last.field;
    // A changed record is reported again for each change inside it: keep those.
    if (kind == Difference::Kind::kModified && field != nullptr &&
        field->cpp_type() == pb::FieldDescriptor::CPPTYPE_MESSAGE) {
      return;
    }
    const std::size_t mark = walk_.size();
    std::deque<std::string> names;
    for (std::size_t i = 0; i + 1 < path.size(); ++i) Take(path[i], Position(path[i]), &names);
    ReportLast(kind, a, b, last, &names);
    walk_.Truncate(mark);
  }

  // The last step of a report, the walk standing at the records holding it.
  void ReportLast(Difference::Kind kind, const pb::Message& a, const pb::Message& b, const SpecificField& last,
                  std::deque<std::string>* names) {
    const pb::FieldDescriptor* field = last.field;
    if (field == nullptr) {
      const pb::UnknownField* old_field = last.unknown_field_set1 != nullptr && last.unknown_field_index1 >= 0
                                              ? &last.unknown_field_set1->field(last.unknown_field_index1)
                                              : nullptr;
      const pb::UnknownField* new_field = last.unknown_field_set2 != nullptr && last.unknown_field_index2 >= 0
                                              ? &last.unknown_field_set2->field(last.unknown_field_index2)
                                              : nullptr;
      // Long bytes on both sides are shown where they part, as known bytes are.
      std::size_t from = 0;
      if (old_field != nullptr && new_field != nullptr &&
          old_field->type() == pb::UnknownField::TYPE_LENGTH_DELIMITED &&
          new_field->type() == pb::UnknownField::TYPE_LENGTH_DELIMITED) {
        from = FirstDifference(old_field->length_delimited(), new_field->length_delimited());
      }
      std::string old_value = old_field != nullptr ? FormatUnknown(*old_field, from) : std::string();
      std::string new_value = new_field != nullptr ? FormatUnknown(*new_field, from) : std::string();
      Take(last, -1, names);
      Add(kind, walk_.Path(), std::move(old_value), std::move(new_value));
      return;
    }

    if (field->is_repeated()) {
      const int old_at = last.index;
      const int new_at = Position(last);
      const int position = kind == Difference::Kind::kRemoved ? old_at : new_at;
      std::string old_value;
      std::string new_value;
      if (kind != Difference::Kind::kAdded) old_value = FormatValue(a, field, old_at, walk_, 0);
      if (kind != Difference::Kind::kRemoved) new_value = FormatValue(b, field, new_at, walk_, 1);
      Take(last, position, names);
      Add(kind, walk_.Path(), std::move(old_value), std::move(new_value));
      return;
    }

    // A field without presence holds its default when it is not written:
    // its appearing or vanishing is a change of value (-0.0 against an
    // absent float too: the two differ in their bits).
    if (!field->has_presence()) kind = Difference::Kind::kModified;

    if (field->type() == pb::FieldDescriptor::TYPE_BYTES) {
      BytesChange(kind, a, b, field);
      return;
    }
    std::string old_value =
        kind == Difference::Kind::kAdded ? std::string() : FormatValue(a, field, -1, walk_, 0);
    std::string new_value =
        kind == Difference::Kind::kRemoved ? std::string() : FormatValue(b, field, -1, walk_, 1);
    Add(kind, walk_.PathTo(field->name()), std::move(old_value), std::move(new_value));
  }

  // Settings paired alike on both sides and readable on both are compared as
  // records; anything else as bytes.
  void BytesChange(Difference::Kind kind, const pb::Message& holder_a, const pb::Message& holder_b,
                      const pb::FieldDescriptor* field) {
    std::string scratch_a;
    std::string scratch_b;
    const std::string& bytes_a = holder_a.GetReflection()->GetStringReference(holder_a, field, &scratch_a);
    const std::string& bytes_b = holder_b.GetReflection()->GetStringReference(holder_b, field, &scratch_b);
    const bool settings = internal::IsSettingsField(holder_a.GetDescriptor(), field);
    const Settings settings_a = settings ? walk_.Decide(holder_a, bytes_a, 0) : Settings{};
    const Settings settings_b = settings ? walk_.Decide(holder_b, bytes_b, 1) : Settings{};
    if (settings_a.paired != nullptr && settings_a.paired == settings_b.paired) {
      const Walk::Step step = walk_.Into(settings_a, field->name());
      if (settings_a.read() && settings_b.read()) {
        const std::size_t before = comparison_.out->size();
        Compare(*settings_a.record, *settings_b.record, comparison_);
        // Equal records from different bytes: an encoding that is not the
        // canonical one on some side. Still a difference in the document.
        if (comparison_.out->size() != before) return;
      }
    }
    const std::size_t from = FirstDifference(bytes_a, bytes_b);
    std::string old_value = kind == Difference::Kind::kAdded
                                ? std::string()
                                : FormatSettings(holder_a, field, bytes_a, walk_, 0, from);
    std::string new_value = kind == Difference::Kind::kRemoved
                                ? std::string()
                                : FormatSettings(holder_b, field, bytes_b, walk_, 1, from);
    Add(kind, walk_.PathTo(field->name()), std::move(old_value), std::move(new_value));
  }

  void Add(Difference::Kind kind, std::string path, std::string old_value, std::string new_value) {
    comparison_.Add(kind, std::move(path), std::move(old_value), std::move(new_value));
  }

  Comparison& comparison_;
  Walk& walk_;
};

// A differencer with the settings every comparison here uses, reporting
// to a collector.
// Floats and doubles compare by their bits, as the encoding holds them: a
// NaN's sign and payload are part of a document, and so is the sign of a
// zero, in a list or in a single field.
class BitwiseFloats : public pb::util::SimpleFieldComparator {
 public:
  ComparisonResult Compare(const pb::Message& a, const pb::Message& b, const pb::FieldDescriptor* field, int index_a,
                           int index_b, const pb::util::FieldContext* context) override {
    switch (field->cpp_type()) {
      case pb::FieldDescriptor::CPPTYPE_FLOAT:
        return ResultFromBoolean(Bits<float, std::uint32_t>(a, field, index_a) ==
                                 Bits<float, std::uint32_t>(b, field, index_b));
      case pb::FieldDescriptor::CPPTYPE_DOUBLE:
        return ResultFromBoolean(Bits<double, std::uint64_t>(a, field, index_a) ==
                                 Bits<double, std::uint64_t>(b, field, index_b));
      default:
        return SimpleCompare(a, b, field, index_a, index_b, context);
    }
  }

 private:
  template <typename Float, typename Word>
  static Word Bits(const pb::Message& record, const pb::FieldDescriptor* field, int index) {
    const pb::Reflection* r = record.GetReflection();
    Float value;
    if constexpr (std::is_same_v<Float, float>) {
      value = index >= 0 ? r->GetRepeatedFloat(record, field, index) : r->GetFloat(record, field);
    } else {
      value = index >= 0 ? r->GetRepeatedDouble(record, field, index) : r->GetDouble(record, field);
    }
    Word bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
  }
};

class Differ {
 public:
  explicit Differ(Comparison& comparison) : collector_(comparison) {
    differencer_.set_field_comparator(&comparator_);
    differencer_.set_report_ignores(false);
    differencer_.ReportDifferencesTo(&collector_);
  }

  MessageDifferencer& differencer() { return differencer_; }

 private:
  Collector collector_;
  BitwiseFloats comparator_;
  MessageDifferencer differencer_;
};

// An entry of a keyed list (at `list_path`) named by its identifier and
// alias.
EntryId Named(const pb::Message& entry, const std::string& list_path, const pb::FieldDescriptor* key) {
  return EntryId{list_path, key->name(), internal::EntryKeyOf(entry, key), internal::EntryAlias(entry)};
}

std::string Label(const EntryId& named) { return internal::EntryLabel(named.key, named.id, named.alias); }

// The walk and the named entries standing in one entry of a keyed list for
// as long as this lives.
class InEntry {
 public:
  InEntry(Comparison& comparison, EntryId named, int index)
      : comparison_(comparison), label_(Label(named)), step_(comparison.walk.Entry(index, label_)) {
    comparison_.named.push_back(std::move(named));
  }
  InEntry(const InEntry&) = delete;
  InEntry& operator=(const InEntry&) = delete;
  ~InEntry() { comparison_.named.pop_back(); }

 private:
  Comparison& comparison_;
  std::string label_;  // the walk's step refers to it
  Walk::Step step_;
};

// Entries matched by identifier but standing in another order: one
// difference on the list, saying in words which moved.
void OrderChange(const pb::Message& b, const pb::FieldDescriptor* list, const pb::FieldDescriptor* key,
                 const std::vector<std::int64_t>& keys_a, const std::vector<std::int64_t>& keys_b,
                 const std::unordered_map<std::int64_t, int>& in_a, const std::unordered_map<std::int64_t, int>& in_b,
                 Comparison& comparison) {
  std::vector<std::int64_t> kept_a;
  std::vector<std::int64_t> kept_b;
  for (std::int64_t k : keys_a) {
    if (in_b.count(k) != 0) kept_a.push_back(k);
  }
  for (std::int64_t k : keys_b) {
    if (in_a.count(k) != 0) kept_b.push_back(k);
  }
  if (kept_a == kept_b) return;
  const internal::Moves moves = internal::DescribeMoves(kept_a, kept_b);
  auto spell = [](const std::vector<std::int64_t>& keys) {
    std::string text;
    for (std::int64_t k : keys) text += (text.empty() ? "" : ", ") + std::to_string(k);
    return text;
  };
  const std::string path = comparison.walk.Path();
  Difference reordered{Difference::Kind::kReordered, path, spell(kept_a), spell(kept_b), comparison.named,
                       moves.words};
  const pb::Reflection* r = b.GetReflection();
  for (std::size_t moved : moves.moved) {
    const int at = in_b.at(kept_b[moved]);
    reordered.entries.push_back(Named(r->GetRepeatedMessage(b, list, at), path, key));
  }
  comparison.out->push_back(std::move(reordered));
}

// Whether `own` holds of records of `type` or of a record they hold,
// decided once per type in `known`.
template <typename Own>
bool InTree(const pb::Descriptor* type, std::unordered_map<const pb::Descriptor*, bool>* known, const Own& own) {
  auto [at, fresh] = known->emplace(type, false);  // false while being decided: a cycle adds nothing
  if (!fresh) return at->second;
  bool holds = own(type);
  for (int i = 0; i < type->field_count() && !holds; ++i) {
    const pb::Descriptor* inner = type->field(i)->message_type();
    holds = inner != nullptr && InTree(inner, known, own);
  }
  (*known)[type] = holds;
  return holds;
}

// Whether records of `type` can hold a single float or double field, in
// themselves or in a record they hold.
bool HasSingleFloats(const pb::Descriptor* type, std::unordered_map<const pb::Descriptor*, bool>* known) {
  return InTree(type, known, [](const pb::Descriptor* record) {
    for (int i = 0; i < record->field_count(); ++i) {
      const pb::FieldDescriptor* field = record->field(i);
      const auto kind = field->cpp_type();
      if (!field->is_repeated() && !field->has_presence() &&
          (kind == pb::FieldDescriptor::CPPTYPE_FLOAT || kind == pb::FieldDescriptor::CPPTYPE_DOUBLE)) {
        return true;
      }
    }
    return false;
  });
}

// Whether `record` holds -0.0 in a single field, which its encoding leaves
// out as it leaves out 0: two records can then encode alike and differ.
bool HoldsNegativeZero(const pb::Message& record, std::unordered_map<const pb::Descriptor*, bool>* known) {
  if (!HasSingleFloats(record.GetDescriptor(), known)) return false;
  const pb::Reflection* r = record.GetReflection();
  std::vector<const pb::FieldDescriptor*> fields;
  r->ListFields(record, &fields);
  for (const pb::FieldDescriptor* field : fields) {
    switch (field->cpp_type()) {
      case pb::FieldDescriptor::CPPTYPE_FLOAT:
        if (!field->is_repeated() && r->GetFloat(record, field) == 0) return true;  // listed, so its sign is set
        break;
      case pb::FieldDescriptor::CPPTYPE_DOUBLE:
        if (!field->is_repeated() && r->GetDouble(record, field) == 0) return true;
        break;
      case pb::FieldDescriptor::CPPTYPE_MESSAGE:
        if (!field->is_repeated()) {
          if (HoldsNegativeZero(r->GetMessage(record, field), known)) return true;
          break;
        }
        for (int i = 0; i < r->FieldSize(record, field); ++i) {
          if (HoldsNegativeZero(r->GetRepeatedMessage(record, field, i), known)) return true;
        }
        break;
      default:
        break;
    }
  }
  return false;
}

// A keyed list of two records: entries gone from the first, entries
// changed (compared one by one, in the first document's order), entries new
// in the second, then the order when it changed. Matching by a hash of the
// keys keeps this linear, whatever the size of the document.
void CompareKeyed(const pb::Message& a, const pb::Message& b, const pb::FieldDescriptor* list,
                  const pb::FieldDescriptor* key, const std::vector<std::int64_t>& keys_a,
                  const std::vector<std::int64_t>& keys_b, const std::unordered_map<std::int64_t, int>& in_a,
                  const std::unordered_map<std::int64_t, int>& in_b, Comparison& comparison) {
  Walk& walk = comparison.walk;
  const Walk::Step step = walk.Member(list->name());
  const std::string path = walk.Path();
  const pb::Reflection* ra = a.GetReflection();
  const pb::Reflection* rb = b.GetReflection();
  Differ elements(comparison);
  const bool keyed_inside = internal::HasKeyedLists(list->message_type());
  // A string that is not UTF-8 is a difference to show, not a log line.
  pb::LogSilencer quiet;
  for (std::size_t i = 0; i < keys_a.size(); ++i) {
    const pb::Message& element_a = ra->GetRepeatedMessage(a, list, static_cast<int>(i));
    auto match = in_b.find(keys_a[i]);
    if (match == in_b.end()) {
      const InEntry entry(comparison, Named(element_a, path, key), static_cast<int>(i));
      comparison.Add(Difference::Kind::kRemoved, walk.Path(), FormatMessage(element_a, walk, 0), std::string());
      continue;
    }
    const pb::Message& element_b = rb->GetRepeatedMessage(b, list, match->second);
    // Most entries are unchanged: equal encodings are equal records, but
    // for a -0.0 that the encoding leaves out.
    if (element_a.SerializeAsString() == element_b.SerializeAsString() &&
        !HoldsNegativeZero(element_a, &comparison.single_floats) &&
        !HoldsNegativeZero(element_b, &comparison.single_floats)) {
      continue;
    }
    const InEntry entry(comparison, Named(element_b, path, key), match->second);
    if (keyed_inside) {
      Compare(element_a, element_b, comparison);
    } else {
      elements.differencer().Compare(element_a, element_b);
    }
  }
  for (std::size_t j = 0; j < keys_b.size(); ++j) {
    if (in_a.count(keys_b[j]) != 0) continue;
    const pb::Message& element_b = rb->GetRepeatedMessage(b, list, static_cast<int>(j));
    const InEntry entry(comparison, Named(element_b, path, key), static_cast<int>(j));
    comparison.Add(Difference::Kind::kAdded, walk.Path(), std::string(), FormatMessage(element_b, walk, 1));
  }
  OrderChange(b, list, key, keys_a, keys_b, in_a, in_b, comparison);
}

// Two records holding keyed lists, field after field in the order of the
// encoding, the keyed lists matched by identifier, the record's own unknown
// fields last.
void CompareFields(const pb::Message& a, const pb::Message& b, Comparison& comparison) {
  const pb::Descriptor* type = a.GetDescriptor();
  std::vector<const pb::FieldDescriptor*> fields;
  for (int i = 0; i < type->field_count(); ++i) fields.push_back(type->field(i));
  std::sort(fields.begin(), fields.end(),
            [](const pb::FieldDescriptor* x, const pb::FieldDescriptor* y) { return x->number() < y->number(); });
  Differ plain(comparison);
  for (const pb::FieldDescriptor* field : fields) {
    if (const pb::FieldDescriptor* key = internal::EntryKey(field)) {
      const std::vector<std::int64_t> keys_a = internal::EntryKeys(a, field, key);
      const std::vector<std::int64_t> keys_b = internal::EntryKeys(b, field, key);
      std::unordered_map<std::int64_t, int> in_a;
      std::unordered_map<std::int64_t, int> in_b;
      if (internal::IndexKeys(keys_a, &in_a) && internal::IndexKeys(keys_b, &in_b)) {
        CompareKeyed(a, b, field, key, keys_a, keys_b, in_a, in_b, comparison);
        continue;
      }
      // Repeated identifiers cannot be matched: such a list goes by position.
    }
    plain.differencer().CompareWithFields(a, b, {field}, {field});
  }
  const pb::Reflection* r = a.GetReflection();
  if (r->GetUnknownFields(a).empty() && b.GetReflection()->GetUnknownFields(b).empty()) return;
  Differ unknown(comparison);
  for (const pb::FieldDescriptor* field : fields) unknown.differencer().IgnoreField(field);
  unknown.differencer().Compare(a, b);
}

// Two records where the walk stands.
void Compare(const pb::Message& a, const pb::Message& b, Comparison& comparison) {
  if (internal::HasKeyedLists(a.GetDescriptor())) {
    CompareFields(a, b, comparison);
    return;
  }
  Differ(comparison).differencer().Compare(a, b);
}

// Whether records of `type` can hold settings, in a `config` of their own
// or of a record they hold.
bool HoldsSettings(const pb::Descriptor* type, std::unordered_map<const pb::Descriptor*, bool>* known) {
  return InTree(type, known, [](const pb::Descriptor* record) { return internal::SettingsField(record) != nullptr; });
}

// Refuses a document whose settings nest deeper than the walk goes, as
// every other reader does: comparing alone would never look inside settings
// whose bytes are equal on both sides. Only settings that can hold settings
// again are read, so a plain document costs a look at each entry's code.
void RequireDepth(const pb::Message& record, Walk& walk, int side,
                  std::unordered_map<const pb::Descriptor*, bool>* known) {
  const pb::Reflection* r = record.GetReflection();
  // Empty settings too: paired settings are a level of `config` whatever they hold.
  const pb::FieldDescriptor* config = internal::SettingsField(record.GetDescriptor());
  const pb::Descriptor* paired = config != nullptr ? internal::PairedSettings(record, walk.pairing()) : nullptr;
  if (paired != nullptr && !HoldsSettings(paired, known)) {
    if (walk.config_depth() + 1 > internal::kMaxConfigDepth) throw Walk::TooDeep(walk.PathTo(config->name()));
  } else if (paired != nullptr) {
    std::string scratch;
    const Settings settings = walk.Decide(paired, r->GetStringReference(record, config, &scratch), side);
    if (settings.state != Settings::State::kUnreadable) {
      const Walk::Step step = walk.Into(settings, config->name());
      RequireDepth(*settings.record, walk, side, known);
    }
  }
  std::vector<const pb::FieldDescriptor*> fields;
  r->ListFields(record, &fields);
  for (const pb::FieldDescriptor* field : fields) {
    if (field->cpp_type() != pb::FieldDescriptor::CPPTYPE_MESSAGE || !HoldsSettings(field->message_type(), known)) {
      continue;
    }
    const Walk::Step member = walk.Member(field->name());
    if (!field->is_repeated()) {
      RequireDepth(r->GetMessage(record, field), walk, side, known);
      continue;
    }
    const int size = r->FieldSize(record, field);
    for (int i = 0; i < size; ++i) {
      const Walk::Step element = walk.Element(i);
      RequireDepth(r->GetRepeatedMessage(record, field, i), walk, side, known);
    }
  }
}

}  // namespace

std::vector<Difference> Diff(const pb::Message& a, const pb::Message& b, const DiffOptions& options) {
  if (a.GetDescriptor() != b.GetDescriptor()) {
    throw Error("", "cannot compare a " + a.GetDescriptor()->full_name() + " with a " +
                        b.GetDescriptor()->full_name());
  }
  std::vector<Difference> differences;
  Walk walk(options.pairing);
  Comparison comparison(walk, &differences);
  // Paths inside settings name the record they were read as.
  walk.set_name_settings(true);
  std::unordered_map<const pb::Descriptor*, bool> holds_settings;
  RequireDepth(a, walk, 0, &holds_settings);
  RequireDepth(b, walk, 1, &holds_settings);
  Compare(a, b, comparison);
  return differences;
}

std::string FormatDifferences(const std::vector<Difference>& differences) {
  std::ostringstream out;
  for (const Difference& d : differences) {
    switch (d.kind) {
      case Difference::Kind::kModified: out << "~ " << d.path << ": " << d.old_value << " -> " << d.new_value; break;
      case Difference::Kind::kAdded: out << "+ " << d.path << ": " << d.new_value; break;
      case Difference::Kind::kRemoved: out << "- " << d.path << ": " << d.old_value; break;
      case Difference::Kind::kReordered: out << "~ " << d.path << " reordered: " << d.moves; break;
    }
    out << '\n';
  }
  return out.str();
}

}  // namespace gcuschema::document
