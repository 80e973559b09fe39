#include "support/choice_record.h"

#include <stdexcept>

#include <google/protobuf/descriptor.pb.h>

namespace gcuschema::test {

namespace pb = google::protobuf;

ChoiceRecord::ChoiceRecord() {
  pb::FileDescriptorProto file;
  file.set_name("choice.proto");
  file.set_syntax("proto3");
  pb::DescriptorProto* message = file.add_message_type();
  message->set_name("Choice");
  message->add_oneof_decl()->set_name("choice");
  for (const int number : {1, 2}) {
    pb::FieldDescriptorProto* field = message->add_field();
    field->set_name(number == 1 ? "a" : "b");
    field->set_json_name(field->name());
    field->set_number(number);
    field->set_label(pb::FieldDescriptorProto::LABEL_OPTIONAL);
    field->set_type(pb::FieldDescriptorProto::TYPE_INT32);
    field->set_oneof_index(0);
  }
  if (pool_.BuildFile(file) == nullptr) throw std::logic_error("choice.proto does not build");
  type_ = pool_.FindMessageTypeByName("Choice");
}

std::unique_ptr<pb::Message> ChoiceRecord::New() {
  return std::unique_ptr<pb::Message>(factory_.GetPrototype(type_)->New());
}

}  // namespace gcuschema::test
