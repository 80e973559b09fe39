#include <gcuschema/document/records.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <unordered_map>

#include <google/protobuf/descriptor_database.h>
#include <google/protobuf/message.h>

#include <gcuschema/document/error.h>
#include <gcuschema/runtime_check.h>

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;

struct RecordIndex {
  std::vector<std::string> files;
  // Full name ("CalibrationData.AdcCalibrationData") and class spelling
  // ("CalibrationData_AdcCalibrationData") of every record.
  std::unordered_map<std::string, const pb::Descriptor*> by_name;
  std::vector<std::string> full_names;  // for suggestions
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
    (void)gcuschema::verified_schema_units();
    RecordIndex result;
    std::vector<std::string> all;
    pb::DescriptorPool::internal_generated_database()->FindAllFileNames(&all);
    // The schema files are registered under their bare names; the runtime's
    // own files (google/protobuf/...) always carry a directory.
    for (const std::string& name : all) {
      if (name.find('/') != std::string::npos) continue;
      const pb::FileDescriptor* file = pb::DescriptorPool::generated_pool()->FindFileByName(name);
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

std::string Lower(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

}  // namespace

const std::vector<std::string>& SchemaFileNames() { return Index().files; }

const pb::Descriptor* FindRecord(std::string_view name) {
  // A full name is found in the generated pool, which builds only that
  // record's file; the index of every record is built for the rest.
  (void)gcuschema::verified_schema_units();
  const pb::Descriptor* direct = pb::DescriptorPool::generated_pool()->FindMessageTypeByName(std::string(name));
  if (direct != nullptr && direct->file()->name().find('/') == std::string::npos) return direct;
  const RecordIndex& index = Index();
  auto found = index.by_name.find(std::string(name));
  return found == index.by_name.end() ? nullptr : found->second;
}

const pb::Descriptor* RequireRecord(std::string_view name) {
  if (const pb::Descriptor* type = FindRecord(name)) return type;
  std::string message = "no record named \"" + std::string(name) + "\" in the schema library";
  // A wrong capitalisation is the usual slip ("configdata"): name the record meant.
  const std::string wanted = Lower(name);
  for (const std::string& candidate : Index().full_names) {
    if (Lower(candidate) == wanted) {
      message += "; did you mean \"" + candidate + "\"?";
      throw Error("", message);
    }
  }
  message += "; run `gcuschema schemas` to list the records";
  throw Error("", message);
}

pb::Message* NewRecord(const pb::Descriptor* type, pb::Arena* arena) {
  if (type == nullptr) throw Error("", "no record type given");
  const pb::Message* prototype = pb::MessageFactory::generated_factory()->GetPrototype(type);
  if (prototype == nullptr) {
    throw Error("", "record type " + type->full_name() + " has no generated class");
  }
  return prototype->New(arena);
}

std::unique_ptr<pb::Message> NewRecord(const pb::Descriptor* type) {
  return std::unique_ptr<pb::Message>(NewRecord(type, nullptr));
}

}  // namespace gcuschema::document
