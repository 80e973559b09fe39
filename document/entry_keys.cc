#include "entry_keys.h"

#include <gcuschema/Config.pb.h>

namespace gcuschema::document::internal {

namespace pb = google::protobuf;

namespace {

struct KeyedList {
  const char* list;
  const char* key;
};

constexpr KeyedList kKeyedLists[] = {
    {"inputs", "id"}, {"outputs", "id"},      {"maps", "id"},
    {"drivers", "id"}, {"canbus", "canbusId"}, {"estimationData", "id"},
};

}  // namespace

const pb::FieldDescriptor* EntryKey(const pb::FieldDescriptor* list) {
  if (list->containing_type() != ::ConfigData::descriptor() || !list->is_repeated() ||
      list->message_type() == nullptr) {
    return nullptr;
  }
  for (const KeyedList& entry : kKeyedLists) {
    if (list->name() == entry.list) return list->message_type()->FindFieldByName(entry.key);
  }
  return nullptr;
}

std::vector<std::int64_t> EntryKeys(const pb::Message& record, const pb::FieldDescriptor* list,
                                    const pb::FieldDescriptor* key) {
  const pb::Reflection* r = record.GetReflection();
  std::vector<std::int64_t> keys;
  const int size = r->FieldSize(record, list);
  keys.reserve(static_cast<std::size_t>(size));
  for (int i = 0; i < size; ++i) {
    const pb::Message& element = r->GetRepeatedMessage(record, list, i);
    const pb::Reflection* er = element.GetReflection();
    keys.push_back(key->cpp_type() == pb::FieldDescriptor::CPPTYPE_INT32 ? er->GetInt32(element, key)
                                                                          : er->GetUInt32(element, key));
  }
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
