#ifndef GCUSCHEMA_TESTS_SUPPORT_SCHEMA_FILES_H
#define GCUSCHEMA_TESTS_SUPPORT_SCHEMA_FILES_H

#include <string>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/generated_message_reflection.h>

namespace gcuschema::test {

// The schema files the build found in config/protobuf/, by bare file name.
const std::vector<std::string>& SchemaFiles();

// The registration record that the library's unit for `file` hands to the
// runtime at load (descriptor bytes and their length, record count, the
// file's enumeration table), looked up in the loaded library's export table
// by the name protoc gives it. Null when the library exports none.
const google::protobuf::internal::DescriptorTable* RegistrationOf(const std::string& file);

// Every record of every schema file of the library, nested records included,
// in the generated pool's order: file by file, each record before its nested
// records.
std::vector<const google::protobuf::Descriptor*> AllRecords();

// Every enumeration of every schema file, in each file's table order.
std::vector<const google::protobuf::EnumDescriptor*> AllEnumerations();

// The enumerations of one file in the order of the file's enumeration table:
// records in declaration order, each visited depth first with its nested
// records before its own enumerations.
std::vector<const google::protobuf::EnumDescriptor*> EnumerationTableOrder(
    const google::protobuf::FileDescriptor* file);

}  // namespace gcuschema::test

#endif
