#include <gcuschema/document/records.h>

#include <algorithm>
#include <string>
#include <unordered_map>

#include <google/protobuf/descriptor_database.h>
#include <google/protobuf/message.h>

#include <gcuschema/document/error.h>
#include <gcuschema/runtime_check.h>

#include "record_prototypes.h"
#include "suggest.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;

// The pool the schema library's records are built in. generated_pool() is
// the same pool, but first builds the runtime's own descriptor.proto, which
// no schema file imports: a third of what a small document's encode costs.
const pb::DescriptorPool& SchemaPool() {
  (void)gcuschema::verified_schema_units();
  return *pb::DescriptorPool::internal_generated_pool();
}

struct RecordIndex {
  std::vector<std::string> files;
  // Full name ("CalibrationData.AdcCalibrationData") and class spelling
  // ("CalibrationData_AdcCalibrationData") of every record.
  std::unordered_map<std::string, const pb::Descriptor*> by_name;
  std::vector<std::string> full_names;
};

void IndexRecord(const pb::Descriptor* type, RecordIndex* index) {
  index->by_name.emplace(type->full_name(), type);
  std::string class_name = type->full_name();
  std::replace(class_name.begin(), class_name.end(), '.', '_');
  index->by_name.emplace(class_name, type);
  index->full_names.push_back(type->full_name());
  for (int i = 0; i < type->nested_type_count(); ++i) IndexRecord(type->nested_type(i), index);
}

const RecordIndex& Index() {
  static const RecordIndex index = [] {
    // Referencing the schema library keeps it linked, so its units have
    // registered their files by the time the generated database is read.
    const pb::DescriptorPool& pool = SchemaPool();
    RecordIndex result;
    std::vector<std::string> all;
    pb::DescriptorPool::internal_generated_database()->FindAllFileNames(&all);
    // The schema files are registered under their bare names; the runtime's
    // own files (google/protobuf/...) always carry a directory.
    for (const std::string& name : all) {
      if (name.find('/') != std::string::npos) continue;
      const pb::FileDescriptor* file = pool.FindFileByName(name);
      if (file == nullptr) continue;
      result.files.push_back(name);
      for (int i = 0; i < file->message_type_count(); ++i) IndexRecord(file->message_type(i), &result);
    }
    std::sort(result.files.begin(), result.files.end());
    std::sort(result.full_names.begin(), result.full_names.end());
    return result;
  }();
  return index;
}

}  // namespace

const std::vector<std::string>& SchemaFileNames() { return Index().files; }

const std::vector<std::string>& RecordNames() { return Index().full_names; }

const pb::FileDescriptor* FindSchemaFile(std::string_view name) {
  const RecordIndex& index = Index();
  if (!std::binary_search(index.files.begin(), index.files.end(), name)) return nullptr;
  return SchemaPool().FindFileByName(std::string(name));
}

const pb::Descriptor* FindRecord(std::string_view name) {
  // A full name is found in the generated pool, which builds only that
  // record's file; the index of every record is built for the rest.
  const pb::Descriptor* direct = SchemaPool().FindMessageTypeByName(std::string(name));
  if (direct != nullptr && direct->file()->name().find('/') == std::string::npos) return direct;
  const RecordIndex& index = Index();
  auto found = index.by_name.find(std::string(name));
  return found == index.by_name.end() ? nullptr : found->second;
}

const pb::Descriptor* RequireRecord(std::string_view name) {
  if (const pb::Descriptor* type = FindRecord(name)) return type;
  bool named = false;
  std::string message = internal::UnknownName("a record of the schema library", name, Index().full_names, &named);
  Remedy remedy;
  if (!named) remedy.kind = Remedy::Kind::kListRecords;
  throw Error("", message, remedy);
}

namespace internal {

const pb::Message* GeneratedPrototype(const pb::Descriptor* type) {
  std::string class_name = type->full_name();
  std::replace(class_name.begin(), class_name.end(), '.', '_');
  const RecordPrototype* const end = kRecordPrototypes + kRecordPrototypeCount;
  const RecordPrototype* found =
      std::lower_bound(kRecordPrototypes, end, class_name,
                       [](const RecordPrototype& entry, const std::string& name) { return entry.class_name < name; });
  if (found != end && found->class_name == class_name) {
    const pb::Message& prototype = found->instance();
    if (prototype.GetDescriptor() == type) return &prototype;
  }
  return pb::MessageFactory::generated_factory()->GetPrototype(type);
}

}  // namespace internal

pb::Message* NewRecord(const pb::Descriptor* type, pb::Arena* arena) {
  if (type == nullptr) throw Error("", "no record type given");
  const pb::Message* prototype = internal::GeneratedPrototype(type);
  if (prototype == nullptr) {
    throw Error("", "record type " + type->full_name() + " has no generated class");
  }
  return prototype->New(arena);
}

std::unique_ptr<pb::Message> NewRecord(const pb::Descriptor* type) {
  return std::unique_ptr<pb::Message>(NewRecord(type, nullptr));
}

}  // namespace gcuschema::document
