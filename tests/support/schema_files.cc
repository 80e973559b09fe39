#include "support/schema_files.h"

#include "schema_file_list.h"
#include "support/loaded_library.h"

namespace gcuschema::test {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::DescriptorPool;
using google::protobuf::EnumDescriptor;
using google::protobuf::FileDescriptor;

// protoc names a file's symbols after the file name with '.' spelled "_2e"
// and other non-identifier characters as "_<hex>".
std::string SymbolStem(const std::string& file) {
  std::string out;
  for (unsigned char c : file) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) {
      out.push_back(static_cast<char>(c));
    } else if (c == '_') {
      out += "__";
    } else {
      char buf[8];
      std::snprintf(buf, sizeof buf, "_%02x", c);
      out += buf;
    }
  }
  return out;
}

void AddRecords(const Descriptor* d, std::vector<const Descriptor*>* out) {
  out->push_back(d);
  for (int i = 0; i < d->nested_type_count(); ++i) AddRecords(d->nested_type(i), out);
}

void AddEnumsDepthFirst(const Descriptor* d, std::vector<const EnumDescriptor*>* out) {
  for (int i = 0; i < d->nested_type_count(); ++i) AddEnumsDepthFirst(d->nested_type(i), out);
  for (int i = 0; i < d->enum_type_count(); ++i) out->push_back(d->enum_type(i));
}

const FileDescriptor* FileOf(const std::string& name) {
  return DescriptorPool::generated_pool()->FindFileByName(name);
}

}  // namespace

const std::vector<std::string>& SchemaFiles() {
  static const std::vector<std::string> files(std::begin(kSchemaFileList),
                                              std::end(kSchemaFileList));
  return files;
}

const google::protobuf::internal::DescriptorTable* RegistrationOf(const std::string& file) {
  const std::string symbol = "descriptor_table_" + SymbolStem(file);
  return static_cast<const google::protobuf::internal::DescriptorTable*>(LibraryExport(symbol));
}

std::vector<const Descriptor*> AllRecords() {
  std::vector<const Descriptor*> out;
  for (const std::string& name : SchemaFiles()) {
    const FileDescriptor* file = FileOf(name);
    if (file == nullptr) continue;
    for (int i = 0; i < file->message_type_count(); ++i) AddRecords(file->message_type(i), &out);
  }
  return out;
}

std::vector<const EnumDescriptor*> EnumerationTableOrder(const FileDescriptor* file) {
  std::vector<const EnumDescriptor*> out;
  for (int i = 0; i < file->message_type_count(); ++i) AddEnumsDepthFirst(file->message_type(i), &out);
  for (int i = 0; i < file->enum_type_count(); ++i) out.push_back(file->enum_type(i));
  return out;
}

std::vector<const EnumDescriptor*> AllEnumerations() {
  std::vector<const EnumDescriptor*> out;
  for (const std::string& name : SchemaFiles()) {
    const FileDescriptor* file = FileOf(name);
    if (file == nullptr) continue;
    for (const EnumDescriptor* e : EnumerationTableOrder(file)) out.push_back(e);
  }
  return out;
}

}  // namespace gcuschema::test
