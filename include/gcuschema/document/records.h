#ifndef GCUSCHEMA_DOCUMENT_RECORDS_H
#define GCUSCHEMA_DOCUMENT_RECORDS_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <google/protobuf/arena.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/export.h>

namespace gcuschema::document {

// The schema files of the library, by bare file name, in name order.
GCUSCHEMA_DOCUMENT_API const std::vector<std::string>& SchemaFileNames();

// A schema file of the library by bare name ("Config.proto"); null when the
// library has none of that name.
GCUSCHEMA_DOCUMENT_API const google::protobuf::FileDescriptor* FindSchemaFile(std::string_view name);

// A record of the library by its full name ("ConfigData",
// "CalibrationData.AdcCalibrationData"; the class spelling
// "CalibrationData_AdcCalibrationData" is accepted too). Null when the
// library has no such record.
GCUSCHEMA_DOCUMENT_API const google::protobuf::Descriptor* FindRecord(std::string_view name);

// Every record of the library by full name (nested ones included), sorted.
GCUSCHEMA_DOCUMENT_API const std::vector<std::string>& RecordNames();

// Like FindRecord, but throws Error when there is none, naming the records
// closest to `name` ("did you mean ...?").
GCUSCHEMA_DOCUMENT_API const google::protobuf::Descriptor* RequireRecord(std::string_view name);

// A new, empty record of the generated class; owned by `arena` when given.
GCUSCHEMA_DOCUMENT_API google::protobuf::Message* NewRecord(const google::protobuf::Descriptor* type,
                                                       google::protobuf::Arena* arena);
GCUSCHEMA_DOCUMENT_API std::unique_ptr<google::protobuf::Message> NewRecord(
    const google::protobuf::Descriptor* type);

}  // namespace gcuschema::document

#endif
