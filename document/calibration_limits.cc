#include "calibration_limits.h"

#include <map>
#include <string>
#include <vector>

#include <google/protobuf/unknown_field_set.h>

#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/CalibrationDataLimits.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/lint.h>

#include "field_path.h"
#include "field_values.h"

namespace gcuschema::document::internal {
namespace {

namespace pb = google::protobuf;

constexpr int kLowerOffset = 100;
constexpr int kUpperOffset = 200;
constexpr char kKey[] = "logicalId";

bool Contains(const std::string& name, const char* part) { return name.find(part) != std::string::npos; }

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
    const pb::Descriptor* value_type = list->message_type();
    const pb::Descriptor* limit_type = limits_list->message_type();
    const pb::FieldDescriptor* limit_key = limit_type->FindFieldByName(kKey);
    if (value_type->FindFieldByName(kKey) == nullptr || limit_key == nullptr) continue;
    List& entry = lists_[list];
    entry.limits_list = limits_list;
    const pb::Reflection* lr = limits.GetReflection();
    const int limit_count = lr->FieldSize(limits, limits_list);
    std::map<std::int64_t, int> first;
    for (int j = 0; j < limit_count; ++j) {
      const std::int64_t id = IntegerAt(lr->GetRepeatedMessage(limits, limits_list, j), limit_key, 0);
      auto [at, fresh] = first.emplace(id, j);
      if (!fresh) entry.repeated.emplace_back(at->second, j);
      entry.by_id[id] = fresh ? j : -1;
    }
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
  const pb::Message& value_entry = calibration_.GetReflection()->GetRepeatedMessage(calibration_, list, index);
  // Matched as Check matches: by logicalId, none where the template repeats it.
  const auto match = entry.by_id.find(IntegerAt(value_entry, list->message_type()->FindFieldByName(kKey), 0));
  if (match == entry.by_id.end() || match->second < 0) return limits;
  limits.matched = match->second;
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
  const std::int64_t id = IntegerAt(value_entry, key, 0);
  const std::string named = " (" + std::string(kKey) + " " + std::to_string(id) + ")";
  auto match = entry.by_id.find(id);
  // Entries of an id the template repeats: CheckTemplate has said so.
  if (match != entry.by_id.end() && match->second < 0) return;
  if (match == entry.by_id.end()) {
    emit(Finding{path, Severity::kWarning, "no-limits",
                 "the template has no " + entry.limits_list->name() + " entry for this one" + named +
                     "; its values are not checked"});
    return;
  }
  const int matched = match->second;
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

void CalibrationLimits::CheckTemplate(const pb::FieldDescriptor* list, const std::string& path,
                                      const std::function<void(Finding)>& emit) const {
  auto found = lists_.find(list);
  if (found == lists_.end()) return;
  const List& entry = found->second;
  const pb::FieldDescriptor* key = entry.limits_list->message_type()->FindFieldByName(kKey);
  const pb::Reflection* lr = limits_.GetReflection();
  for (const auto& [first, later] : entry.repeated) {
    const std::int64_t id = IntegerAt(lr->GetRepeatedMessage(limits_, entry.limits_list, later), key, 0);
    emit(Finding{path, Severity::kError, "duplicate-id",
                 "the template's " + IndexPath(entry.limits_list->name(), later) + " has " + kKey + " " +
                     std::to_string(id) + ", as its " + IndexPath(entry.limits_list->name(), first) +
                     " does, so the calibration's entries of " + kKey + " " + std::to_string(id) +
                     " are not checked; give each template entry its own " + kKey});
  }
}

}  // namespace gcuschema::document::internal

namespace gcuschema::document {

namespace pb = google::protobuf;

const pb::Descriptor* CalibrationRecordHeld(const pb::Message& record, std::string* evidence) {
  if (evidence != nullptr) evidence->clear();
  const pb::Descriptor* calibration = ::CalibrationData::descriptor();
  const pb::Descriptor* limits = ::CalibrationTemplateData::descriptor();
  const pb::Descriptor* type = record.GetDescriptor();
  if (type != calibration && type != limits) return nullptr;
  const pb::Reflection* r = record.GetReflection();
  for (int i = 0; i < type->field_count(); ++i) {
    const pb::FieldDescriptor* list = type->field(i);
    if (!list->is_repeated() || list->message_type() == nullptr) continue;
    const pb::FieldDescriptor* value_list = calibration->FindFieldByNumber(list->number());
    const pb::FieldDescriptor* limits_list = limits->FindFieldByNumber(list->number());
    if (value_list == nullptr || limits_list == nullptr || value_list->message_type() == nullptr ||
        limits_list->message_type() == nullptr) {
      continue;
    }
    // A field of the template's entry that the calibration's lacks.
    const auto template_only = [&](int number) -> const pb::FieldDescriptor* {
      if (value_list->message_type()->FindFieldByNumber(number) != nullptr) return nullptr;
      return limits_list->message_type()->FindFieldByNumber(number);
    };
    const int size = r->FieldSize(record, list);
    for (int j = 0; j < size; ++j) {
      const pb::Message& entry = r->GetRepeatedMessage(record, list, j);
      const pb::FieldDescriptor* told = nullptr;
      if (type == limits) {
        std::vector<const pb::FieldDescriptor*> set;
        entry.GetReflection()->ListFields(entry, &set);
        for (const pb::FieldDescriptor* field : set) {
          if ((told = template_only(field->number())) != nullptr) break;
        }
      } else {
        const pb::UnknownFieldSet& unknown = entry.GetReflection()->GetUnknownFields(entry);
        for (int k = 0; k < unknown.field_count() && told == nullptr; ++k) {
          if (unknown.field(k).type() == pb::UnknownField::TYPE_VARINT) told = template_only(unknown.field(k).number());
        }
      }
      if (told == nullptr) continue;
      if (evidence != nullptr) {
        *evidence = internal::JoinPath(internal::IndexPath(list->name(), j), told->name()) + " (field " +
                    std::to_string(told->number()) + ")";
      }
      return limits;
    }
  }
  return calibration;
}

}  // namespace gcuschema::document
