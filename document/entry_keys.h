// Private to the document library: which entries of two configurations are
// the same entry. Diff matches them so, and the side-by-side view of two
// documents shows them so; both take the decision here.
#ifndef GCUSCHEMA_DOCUMENT_ENTRY_KEYS_H
#define GCUSCHEMA_DOCUMENT_ENTRY_KEYS_H

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

namespace gcuschema::document::internal {

// The field that identifies the entries of `list`: a ConfigData's inputs,
// outputs, maps, drivers and estimators by `id`, its buses by `canbusId`; a
// bus's frames by `messageId` and handlers by `entityId`. Null for a list
// whose entries go by position.
const google::protobuf::FieldDescriptor* EntryKey(const google::protobuf::FieldDescriptor* list);

// Whether records of `type` hold lists whose entries have keys.
bool HasKeyedLists(const google::protobuf::Descriptor* type);

// The key of one entry.
std::int64_t EntryKeyOf(const google::protobuf::Message& element, const google::protobuf::FieldDescriptor* key);

// An entry's alias, for entries that have one.
std::optional<std::string> EntryAlias(const google::protobuf::Message& entry);

// How a path names an entry of a keyed list in its brackets:
// `id=2 "Switch_002"` (the alias C-escaped, left out when empty).
std::string EntryLabel(const std::string& key, std::int64_t id, const std::optional<std::string>& alias);

// The keys of the entries of `list` in `record`, in order.
std::vector<std::int64_t> EntryKeys(const google::protobuf::Message& record, const google::protobuf::FieldDescriptor* list,
                                    const google::protobuf::FieldDescriptor* key);

// Where each key stands; false when a key repeats, as such a list cannot be
// matched by key (it goes by position).
bool IndexKeys(const std::vector<std::int64_t>& keys, std::unordered_map<std::int64_t, int>* positions);

}  // namespace gcuschema::document::internal

#endif
