#ifndef GCUSCHEMA_TESTS_DOCUMENT_SUPPORT_CHOICE_RECORD_H
#define GCUSCHEMA_TESTS_DOCUMENT_SUPPORT_CHOICE_RECORD_H

#include <memory>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/dynamic_message.h>
#include <google/protobuf/message.h>

namespace gcuschema::test {

// A record made at run time, none of the library's, with what the schema
// family lacks: `message Choice { oneof choice { int32 a = 1; int32 b = 2; } }`
// (proto3). Its records come from a factory of its own.
class ChoiceRecord {
 public:
  ChoiceRecord();
  const google::protobuf::Descriptor* type() const { return type_; }
  std::unique_ptr<google::protobuf::Message> New();

 private:
  google::protobuf::DescriptorPool pool_;
  google::protobuf::DynamicMessageFactory factory_;
  const google::protobuf::Descriptor* type_ = nullptr;
};

}  // namespace gcuschema::test

#endif
