#ifndef GCUSCHEMA_DOC_RECORDS_H
#define GCUSCHEMA_DOC_RECORDS_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <google/protobuf/arena.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <gcuschema/doc/error.h>
#include <gcuschema/doc/export.h>

namespace gcuschema::doc {

// The schema files of the library, by bare file name, in name order.
GCUSCHEMA_DOC_API const std::vector<std::string>& SchemaFileNames();

// A record of the library by its full name ("ConfigData",
// "CalibrationData.AdcCalibrationData"; the class spelling
// "CalibrationData_AdcCalibrationData" is accepted too). Null when the
// library has no such record.
GCUSCHEMA_DOC_API const google::protobuf::Descriptor* FindRecord(std::string_view name);

// Like FindRecord, but throws Error naming the record and suggesting
// `gcuschema schemas` when there is none.
GCUSCHEMA_DOC_API const google::protobuf::Descriptor* RequireRecord(std::string_view name);

// A new, empty record of the generated class; owned by `arena` when given.
GCUSCHEMA_DOC_API google::protobuf::Message* NewRecord(const google::protobuf::Descriptor* type,
                                                       google::protobuf::Arena* arena);
GCUSCHEMA_DOC_API std::unique_ptr<google::protobuf::Message> NewRecord(
    const google::protobuf::Descriptor* type);

}  // namespace gcuschema::doc

#endif
