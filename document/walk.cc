#include "walk.h"

#include <algorithm>

#include <google/protobuf/stubs/logging.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/document/records.h>

#include "field_path.h"

namespace gcuschema::document::internal {

namespace pb = google::protobuf;

bool EntryKindOf(const pb::Descriptor* type, EntryKind* kind) {
  if (type == ::Input::descriptor()) *kind = EntryKind::kInput;
  else if (type == ::Output::descriptor()) *kind = EntryKind::kOutput;
  else if (type == ::Map::descriptor()) *kind = EntryKind::kMap;
  else if (type == ::Driver::descriptor()) *kind = EntryKind::kDriver;
  else if (type == ::CanbusEntityHandler::descriptor()) *kind = EntryKind::kHandler;
  else return false;
  return true;
}

int TypeCodeIn(const pb::Message& entry, const pb::Reflection* reflection, const pb::FieldDescriptor* field) {
  if (field == nullptr) return 0;
  switch (field->cpp_type()) {
    case pb::FieldDescriptor::CPPTYPE_INT32: return reflection->GetInt32(entry, field);
    case pb::FieldDescriptor::CPPTYPE_UINT32: return static_cast<int>(reflection->GetUInt32(entry, field));
    case pb::FieldDescriptor::CPPTYPE_ENUM: return reflection->GetEnumValue(entry, field);
    default: return 0;
  }
}

int EntryTypeCode(const pb::Message& entry) {
  return TypeCodeIn(entry, entry.GetReflection(), entry.GetDescriptor()->FindFieldByName("type"));
}

const pb::FieldDescriptor* SettingsField(const pb::Descriptor* type) {
  EntryKind kind;
  if (type != ::DeviceData::descriptor() && !EntryKindOf(type, &kind)) return nullptr;
  const pb::FieldDescriptor* field = type->FindFieldByName("config");
  if (field == nullptr || field->is_repeated() || field->type() != pb::FieldDescriptor::TYPE_BYTES) return nullptr;
  return field;
}

const pb::Descriptor* PairedSettings(const pb::Message& holder, const PairingCatalogue& pairing) {
  const pb::Descriptor* type = holder.GetDescriptor();
  if (type == ::DeviceData::descriptor()) return ::ConfigData::descriptor();
  EntryKind kind;
  if (!EntryKindOf(type, &kind)) return nullptr;
  return pairing.Find(kind, EntryTypeCode(holder));
}

std::vector<int> CodesHolding(const PairingCatalogue& pairing, EntryKind kind, const pb::Descriptor* record) {
  std::vector<int> codes;
  for (const auto& [key, paired] : pairing.entries()) {
    if (key.first == kind && paired == record) codes.push_back(key.second);
  }
  return codes;
}

bool HoldsUnknownFields(const pb::Message& record) {
  const pb::Reflection* reflection = record.GetReflection();
  if (!reflection->GetUnknownFields(record).empty()) return true;
  std::vector<const pb::FieldDescriptor*> fields;
  reflection->ListFields(record, &fields);
  for (const pb::FieldDescriptor* field : fields) {
    if (field->cpp_type() != pb::FieldDescriptor::CPPTYPE_MESSAGE) continue;
    if (!field->is_repeated()) {
      if (HoldsUnknownFields(reflection->GetMessage(record, field))) return true;
      continue;
    }
    for (int i = 0; i < reflection->FieldSize(record, field); ++i) {
      if (HoldsUnknownFields(reflection->GetRepeatedMessage(record, field, i))) return true;
    }
  }
  return false;
}

Walk::Step Walk::Into(const Settings& decided, std::string_view member) {
  if (config_depth_ + 1 > kMaxConfigDepth) throw TooDeep(PathTo(member));
  Push(member, -1, decided.paired);
  return Step(this);
}

void Walk::Truncate(std::size_t size) {
  while (steps_.size() > size) Pop();
}

std::string Walk::Path(std::size_t steps) const {
  std::string path;
  for (std::size_t i = 0; i < steps && i < steps_.size(); ++i) {
    const StepData& step = steps_[i];
    if (!step.name.empty()) {
      path = JoinPath(path, step.name);
      if (name_settings_ && step.settings != nullptr) path += "<" + step.settings->full_name() + ">";
    }
    if (step.index >= 0 && !step.label.empty()) {
      path += '[';
      path += step.label;
      path += ']';
    } else if (step.index >= 0) {
      path = IndexPath(path, step.index);
    }
  }
  return path;
}

std::string Walk::PathTo(std::string_view member) const { return JoinPath(Path(), member); }

std::string Walk::PathToElement(int index) const { return IndexPath(Path(), index); }

Settings Walk::Decide(const pb::Message& holder, const std::string& bytes, int side) {
  return Decide(PairedSettings(holder, pairing_), bytes, side);
}

Settings Walk::Decide(const pb::Message& holder) {
  const pb::FieldDescriptor* field = SettingsField(holder.GetDescriptor());
  if (field == nullptr) return Settings{};
  std::string scratch;
  return Decide(holder, holder.GetReflection()->GetStringReference(holder, field, &scratch));
}

Settings Walk::Decide(const pb::Descriptor* paired, const std::string& bytes, int side) {
  Settings decided;
  decided.paired = paired;
  if (paired == nullptr) return decided;
  if (config_depth_ + 1 > kMaxConfigDepth) {
    decided.state = Settings::State::kTooDeep;
    return decided;
  }
  const auto slot = static_cast<std::size_t>(2 * config_depth_ + side);
  if (read_.size() <= slot) read_.resize(slot + 1);
  std::unique_ptr<pb::Message>& record = read_[slot][paired];
  if (record == nullptr) record = NewRecord(paired);
  record->Clear();
  {
    // Bytes that are not the record are a finding for the caller, not a
    // log line of the runtime.
    pb::LogSilencer quiet;
    if (!record->ParsePartialFromString(bytes)) {
      decided.state = Settings::State::kUnreadable;
      return decided;
    }
    record->SerializePartialToString(&again_);
  }
  decided.record = record.get();
  decided.state = again_ == bytes ? Settings::State::kCanonical : Settings::State::kNotCanonical;
  return decided;
}

std::vector<OtherFit> Walk::OtherFits(EntryKind kind, const pb::Descriptor* paired, const std::string& bytes) {
  auto [slot, fresh] = held_by_kind_.try_emplace(static_cast<int>(kind));
  std::vector<OtherFit>& held = slot->second;
  if (fresh) {
    for (const auto& [key, paired_record] : pairing_.entries()) {
      if (key.first != kind) continue;
      const pb::Descriptor* record = paired_record;  // a binding the lambda below may capture
      auto same = std::find_if(held.begin(), held.end(), [&](const OtherFit& fit) { return fit.record == record; });
      if (same == held.end()) same = held.insert(held.end(), OtherFit{record, {}});
      same->codes.push_back(key.second);
    }
  }
  std::vector<OtherFit> fits;
  pb::LogSilencer quiet;
  for (const OtherFit& candidate : held) {
    if (candidate.record == paired) continue;
    std::unique_ptr<pb::Message>& record = others_[candidate.record];
    if (record == nullptr) record = NewRecord(candidate.record);
    record->Clear();
    if (!record->ParsePartialFromString(bytes)) continue;
    record->SerializePartialToString(&again_);
    if (again_ == bytes && !HoldsUnknownFields(*record)) fits.push_back(candidate);
  }
  return fits;
}

Error Walk::TooDeep(const std::string& path) {
  return Error(path, "records inside `config` nested deeper than " + std::to_string(kMaxConfigDepth) +
                         " levels; the settings hold a record that holds settings again (a pairing of an entry's "
                         "type code with ConfigData allows that), and no reader goes further");
}

}  // namespace gcuschema::document::internal
