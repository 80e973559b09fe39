#ifndef GCUSCHEMA_DOCUMENT_SCHEMA_COMMENTS_H
#define GCUSCHEMA_DOCUMENT_SCHEMA_COMMENTS_H

// Private to the document library: the comments the schema files give a
// record, field, enumeration or value (the generated descriptors have none;
// protoc kept them at build time).

#include <string>

#include <google/protobuf/descriptor.h>

namespace gcuschema::document::internal {

// The comment before the element and the one after it on its line, joined,
// without comment markers; "" when there is none.
std::string CommentOf(const google::protobuf::Descriptor* type);
std::string CommentOf(const google::protobuf::FieldDescriptor* field);

}  // namespace gcuschema::document::internal

#endif
