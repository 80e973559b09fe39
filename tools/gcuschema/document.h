#ifndef GCUSCHEMA_TOOL_DOCUMENT_H
#define GCUSCHEMA_TOOL_DOCUMENT_H

#include <memory>
#include <string>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include "io.h"

namespace gcuschema::tool {

// Parses an input as an encoded record of `type`. Throws Failure naming the
// input and, where the library finds it, the byte offset and field path.
std::unique_ptr<google::protobuf::Message> ParseEncoded(const Input& input,
                                                        const google::protobuf::Descriptor* type);

// Reads and parses in one step (file, or standard input for "" or "-").
std::unique_ptr<google::protobuf::Message> LoadEncoded(const std::string& path,
                                                       const google::protobuf::Descriptor* type);

// The record's wire encoding, fields in ascending number as the runtime
// writes them.
std::string Encode(const google::protobuf::Message& record);

}  // namespace gcuschema::tool

#endif
