#include "calibration_limits.h"

#include <string>
#include <unordered_map>

#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/CalibrationDataLimits.pb.h>
#include <gcuschema/document/error.h>

#include "field_path.h"
#include "field_values.h"

namespace gcuschema::document::internal {
namespace {

namespace pb = google::protobuf;

constexpr int kLowerOffset = 100;
constexpr int kUpperOffset = 200;
constexpr char kKey[] = "logicalId";

bool Contains(const std::string& name, const char* part) { return name.find(part) != std::string::npos; }

// Where each calibration entry's template entry stands: by logicalId when it
// tells the entries apart on both sides, else by position; -1 for none.
std::vector<int> Match(const pb::Message& calibration, const pb::FieldDescriptor* list, const pb::Message& limits,
                       const pb::FieldDescriptor* limits_list) {
  const pb::Reflection* cr = calibration.GetReflection();
  const pb::Reflection* lr = limits.GetReflection();
  const int count = cr->FieldSize(calibration, list);
  const int limit_count = lr->FieldSize(limits, limits_list);
  const pb::FieldDescriptor* key = list->message_type()->FindFieldByName(kKey);
  const pb::FieldDescriptor* limit_key = limits_list->message_type()->FindFieldByName(kKey);
  std::vector<int> matched(static_cast<std::size_t>(count), -1);
  if (key != nullptr && limit_key != nullptr) {
    std::unordered_map<std::int64_t, int> by_key;
    bool unique = true;
    for (int j = 0; j < limit_count && unique; ++j) {
      unique = by_key.emplace(IntegerAt(lr->GetRepeatedMessage(limits, limits_list, j), limit_key, 0), j).second;
    }
    std::unordered_map<std::int64_t, int> seen;
    for (int i = 0; i < count && unique; ++i) {
      const std::int64_t id = IntegerAt(cr->GetRepeatedMessage(calibration, list, i), key, 0);
      unique = seen.emplace(id, i).second;
      auto found = by_key.find(id);
      matched[static_cast<std::size_t>(i)] = found == by_key.end() ? -1 : found->second;
    }
    if (unique) return matched;
  }
  for (int i = 0; i < count; ++i) matched[static_cast<std::size_t>(i)] = i < limit_count ? i : -1;
  return matched;
}

}  // namespace

CalibrationLimits::CalibrationLimits(const pb::Message& calibration, const pb::Message& limits)
    : calibration_(calibration), limits_(limits) {
  const pb::Descriptor* type = calibration.GetDescriptor();
  if (type != ::CalibrationData::descriptor() || limits.GetDescriptor() != ::CalibrationTemplateData::descriptor()) {
    throw Error("", "a limits template checks a CalibrationData against a CalibrationTemplateData, not a " +
                        type->full_name() + " against a " + limits.GetDescriptor()->full_name());
  }
  for (int i = 0; i < type->field_count(); ++i) {
    const pb::FieldDescriptor* list = type->field(i);
    if (!list->is_repeated() || list->message_type() == nullptr) continue;
    const pb::FieldDescriptor* limits_list = limits.GetDescriptor()->FindFieldByNumber(list->number());
    if (limits_list == nullptr || limits_list->message_type() == nullptr) continue;
    // A template without entries of a kind sets no limits on them.
    if (limits.GetReflection()->FieldSize(limits, limits_list) == 0) continue;
    List& entry = lists_[list];
    entry.limits_list = limits_list;
    entry.matched = Match(calibration, list, limits, limits_list);
    const pb::Descriptor* value_type = list->message_type();
    const pb::Descriptor* limit_type = limits_list->message_type();
    for (int f = 0; f < limit_type->field_count(); ++f) {
      const pb::FieldDescriptor* limit = limit_type->field(f);
      // Limits are the template's own integer fields; the rest it shares.
      if (value_type->FindFieldByNumber(limit->number()) != nullptr || !IsInteger(limit)) continue;
      const int number = limit->number();
      const bool lower = Contains(limit->name(), "Min") && number > kLowerOffset && number < kUpperOffset;
      const bool upper = Contains(limit->name(), "Max") && number > kUpperOffset && number < 3 * kLowerOffset;
      if (!lower && !upper) continue;
      const pb::FieldDescriptor* value = value_type->FindFieldByNumber(number - (upper ? kUpperOffset : kLowerOffset));
      // The 5 V diagnostic value of frequency inputs has limits but no field.
      if (value == nullptr || value->is_repeated() || !IsInteger(value)) continue;
      entry.bounds.push_back(Bound{value, limit, upper});
    }
  }
}

bool CalibrationLimits::Keeps(const Bound& bound, std::int64_t value, std::int64_t limit) {
  if (limit == 0) return true;
  return bound.upper ? value <= limit : value >= limit;
}

CalibrationLimits::EntryLimits CalibrationLimits::LimitsOf(const pb::FieldDescriptor* list, int index) const {
  EntryLimits limits;
  auto found = lists_.find(list);
  if (found == lists_.end()) return limits;
  const List& entry = found->second;
  limits.checked = true;
  limits.matched = entry.matched[static_cast<std::size_t>(index)];
  if (limits.matched < 0) return limits;
  const pb::Message& value_entry = calibration_.GetReflection()->GetRepeatedMessage(calibration_, list, index);
  const pb::Message& limit_entry =
      limits_.GetReflection()->GetRepeatedMessage(limits_, entry.limits_list, limits.matched);
  const pb::Descriptor* type = list->message_type();
  for (int f = 0; f < type->field_count(); ++f) {
    const pb::FieldDescriptor* value = type->field(f);
    // Only single integer fields have bounds.
    ValueLimits shown{value, 0};
    bool bounded = false;
    for (const Bound& bound : entry.bounds) {
      if (bound.value != value) continue;
      if (!bounded) shown.actual = IntegerAt(value_entry, value, 0);
      bounded = true;
      const std::int64_t limit = IntegerAt(limit_entry, bound.limit, 0);
      (bound.upper ? shown.upper_limit : shown.lower_limit) = bound.limit;
      (bound.upper ? shown.upper : shown.lower) = limit;
      shown.within = shown.within && Keeps(bound, shown.actual, limit);
    }
    if (bounded) limits.values.push_back(shown);
  }
  return limits;
}

void CalibrationLimits::Check(const pb::FieldDescriptor* list, int index, const std::string& path,
                              const std::function<void(Finding)>& emit) const {
  auto found = lists_.find(list);
  if (found == lists_.end()) return;
  const List& entry = found->second;
  const pb::Message& value_entry = calibration_.GetReflection()->GetRepeatedMessage(calibration_, list, index);
  const pb::FieldDescriptor* key = list->message_type()->FindFieldByName(kKey);
  const std::string named = key != nullptr ? " (" + std::string(kKey) + " " +
                                                 std::to_string(IntegerAt(value_entry, key, 0)) + ")"
                                           : std::string();
  const int matched = entry.matched[static_cast<std::size_t>(index)];
  if (matched < 0) {
    emit(Finding{path, Severity::kWarning, "no-limits",
                 "the template has no " + entry.limits_list->name() + " entry for this one" + named +
                     "; its values are not checked"});
    return;
  }
  const pb::Message& limit_entry = limits_.GetReflection()->GetRepeatedMessage(limits_, entry.limits_list, matched);
  const std::string source = "the template's " + IndexPath(entry.limits_list->name(), matched);
  for (const Bound& bound : entry.bounds) {
    const std::int64_t limit = IntegerAt(limit_entry, bound.limit, 0);
    const std::int64_t value = IntegerAt(value_entry, bound.value, 0);
    if (Keeps(bound, value, limit)) continue;
    emit(Finding{JoinPath(path, bound.value->name()), Severity::kError, "out-of-limits",
                 bound.value->name() + " " + std::to_string(value) + " is " + (bound.upper ? "above " : "below ") +
                     bound.limit->name() + " " + std::to_string(limit) + " of " + source + named +
                     "; calibrate the channel again or correct the template"});
  }
}

}  // namespace gcuschema::document::internal
