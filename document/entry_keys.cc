#include "entry_keys.h"

#include <google/protobuf/stubs/strutil.h>

namespace gcuschema::document::internal {

namespace pb = google::protobuf;

namespace {

struct KeyedList {
  const char* record;
  const char* list;
  const char* key;
};

constexpr KeyedList kKeyedLists[] = {
    {"ConfigData", "inputs", "id"},
    {"ConfigData", "outputs", "id"},
    {"ConfigData", "maps", "id"},
    {"ConfigData", "drivers", "id"},
    {"ConfigData", "canbus", "canbusId"},
    {"ConfigData", "estimationData", "id"},
    {"Canbus", "standardInputFrames", "messageId"},
    {"Canbus", "extendedInputFrames", "messageId"},
    {"Canbus", "standardOutputFrames", "messageId"},
    {"Canbus", "extendedOutputFrames", "messageId"},
    {"Canbus", "entityHandler", "entityId"},
};

}  // namespace

const pb::FieldDescriptor* EntryKey(const pb::FieldDescriptor* list) {
  if (!list->is_repeated() || list->message_type() == nullptr) return nullptr;
  for (const KeyedList& entry : kKeyedLists) {
    if (list->containing_type()->full_name() == entry.record && list->name() == entry.list) {
      return list->message_type()->FindFieldByName(entry.key);
    }
  }
  return nullptr;
}

bool HasKeyedLists(const pb::Descriptor* type) {
  for (const KeyedList& entry : kKeyedLists) {
    if (type->full_name() == entry.record) return true;
  }
  return false;
}

std::int64_t EntryKeyOf(const pb::Message& element, const pb::FieldDescriptor* key) {
  const pb::Reflection* r = element.GetReflection();
  return key->cpp_type() == pb::FieldDescriptor::CPPTYPE_INT32 ? r->GetInt32(element, key) : r->GetUInt32(element, key);
}

std::optional<std::string> EntryAlias(const pb::Message& entry) {
  const pb::FieldDescriptor* alias = entry.GetDescriptor()->FindFieldByName("alias");
  if (alias == nullptr || alias->type() != pb::FieldDescriptor::TYPE_STRING || alias->is_repeated()) {
    return std::nullopt;
  }
  return entry.GetReflection()->GetString(entry, alias);
}

std::string EntryLabel(const std::string& key, std::int64_t id, const std::optional<std::string>& alias) {
  std::string label = key + "=" + std::to_string(id);
  if (alias && !alias->empty()) label += " \"" + pb::CEscape(*alias) + "\"";
  return label;
}

std::vector<std::int64_t> EntryKeys(const pb::Message& record, const pb::FieldDescriptor* list,
                                    const pb::FieldDescriptor* key) {
  const pb::Reflection* r = record.GetReflection();
  std::vector<std::int64_t> keys;
  const int size = r->FieldSize(record, list);
  keys.reserve(static_cast<std::size_t>(size));
  for (int i = 0; i < size; ++i) keys.push_back(EntryKeyOf(r->GetRepeatedMessage(record, list, i), key));
  return keys;
}

bool IndexKeys(const std::vector<std::int64_t>& keys, std::unordered_map<std::int64_t, int>* positions) {
  positions->reserve(keys.size());
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (!positions->emplace(keys[i], static_cast<int>(i)).second) return false;
  }
  return true;
}

}  // namespace gcuschema::document::internal
