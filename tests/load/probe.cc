#include "probe.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

namespace {

using google::protobuf::Descriptor;
using google::protobuf::DescriptorPool;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::MessageFactory;
using google::protobuf::Reflection;

void Count(const Descriptor* record, GcuSchemaProbeReport* report) {
  ++report->records;
  report->enumerations += record->enum_type_count();
  if (MessageFactory::generated_factory()->GetPrototype(record) != nullptr) {
    ++report->factory_records;
  }
  for (int i = 0; i < record->nested_type_count(); ++i) Count(record->nested_type(i), report);
}

// Sets fields by name and value, checking each name and type first: a
// renamed or retyped field fails the probe with a message instead of
// stopping the process in the runtime's reflection checks.
class Builder {
 public:
  explicit Builder(GcuSchemaProbeReport* report) : report_(report) {}

  bool ok() const { return report_->error[0] == '\0'; }

  // The sub-record in `name` (singular) or a new element of it (repeated).
  Message* Sub(Message* m, const char* name) {
    const FieldDescriptor* f = Field(m, name, FieldDescriptor::CPPTYPE_MESSAGE);
    if (f == nullptr) return nullptr;
    return f->is_repeated() ? m->GetReflection()->AddMessage(m, f)
                            : m->GetReflection()->MutableMessage(m, f);
  }

  void Set(Message* m, const char* name, int value) {
    const FieldDescriptor* f = Field(m, name, -1);
    if (f == nullptr) return;
    const Reflection* r = m->GetReflection();
    switch (f->cpp_type()) {
      case FieldDescriptor::CPPTYPE_INT32: r->SetInt32(m, f, value); return;
      case FieldDescriptor::CPPTYPE_UINT32: r->SetUInt32(m, f, static_cast<unsigned>(value)); return;
      case FieldDescriptor::CPPTYPE_ENUM: r->SetEnumValue(m, f, value); return;
      case FieldDescriptor::CPPTYPE_BOOL: r->SetBool(m, f, value != 0); return;
      default: Fail(m, name, "is not an integer field");
    }
  }

  void Set(Message* m, const char* name, float value) {
    if (const FieldDescriptor* f = Field(m, name, FieldDescriptor::CPPTYPE_FLOAT)) {
      m->GetReflection()->SetFloat(m, f, value);
    }
  }

  void Set(Message* m, const char* name, const char* value) {
    if (const FieldDescriptor* f = Field(m, name, FieldDescriptor::CPPTYPE_STRING)) {
      m->GetReflection()->SetString(m, f, value);
    }
  }

 private:
  // The field `name` of `m` when it has the C++ type `cpp_type` (-1: any).
  const FieldDescriptor* Field(Message* m, const char* name, int cpp_type) {
    if (m == nullptr || !ok()) return nullptr;
    const FieldDescriptor* f = m->GetDescriptor()->FindFieldByName(name);
    if (f == nullptr) {
      Fail(m, name, "does not exist");
    } else if (cpp_type != -1 && f->cpp_type() != cpp_type) {
      Fail(m, name, "has another type");
    } else if (cpp_type != FieldDescriptor::CPPTYPE_MESSAGE && f->is_repeated()) {
      Fail(m, name, "is a list");
    } else {
      return f;
    }
    return nullptr;
  }

  void Fail(Message* m, const char* name, const char* what) {
    std::snprintf(report_->error, sizeof report_->error, "field %s.%s %s",
                  m->GetDescriptor()->full_name().c_str(), name, what);
  }

  GcuSchemaProbeReport* report_;
};

// ConfigData { version 3, one input, canObjectCount 2, units, gcuNo "G1",
// one CAN router }: scalars of several wire types, a field number past 15,
// -0.0 (not written), a nested record and a list written after fields of
// lower number declared below it.
std::unique_ptr<Message> BuildSample(GcuSchemaProbeReport* report) {
  const Descriptor* type = DescriptorPool::generated_pool()->FindMessageTypeByName("ConfigData");
  const Message* prototype =
      type == nullptr ? nullptr : MessageFactory::generated_factory()->GetPrototype(type);
  if (prototype == nullptr) {
    std::snprintf(report->error, sizeof report->error, "no prototype for ConfigData");
    return nullptr;
  }
  std::unique_ptr<Message> doc(prototype->New());
  Builder b(report);
  b.Set(doc.get(), "version", 3);
  Message* input = b.Sub(doc.get(), "inputs");
  b.Set(input, "id", -1);
  b.Set(input, "dataloggerChannel", -2);
  b.Set(input, "alias", "Oil");
  b.Set(b.Sub(input, "linearization"), "type", 2);
  b.Set(input, "minValue", -0.0f);
  b.Set(input, "maxValue", 1.5f);
  b.Set(input, "isPreset", 1);
  b.Set(doc.get(), "canObjectCount", 2);
  b.Set(b.Sub(doc.get(), "units"), "pressureUnit", 1);
  b.Set(doc.get(), "gcuNo", "G1");
  Message* router = b.Sub(doc.get(), "canbusRouter");
  b.Set(router, "sourceCanbusId", 1);
  b.Set(router, "destinationCanbusId", 2);
  if (!b.ok()) return nullptr;
  return doc;
}

}  // namespace

void gcuschema_probe_run(const char* const* files, int count, GcuSchemaProbeReport* report) {
  std::memset(report, 0, sizeof *report);
  const DescriptorPool* pool = DescriptorPool::generated_pool();
  for (int i = 0; i < count; ++i) {
    const google::protobuf::FileDescriptor* file = pool->FindFileByName(files[i]);
    if (file == nullptr) continue;
    ++report->files_found;
    report->enumerations += file->enum_type_count();
    for (int j = 0; j < file->message_type_count(); ++j) Count(file->message_type(j), report);
  }

  std::unique_ptr<Message> doc = BuildSample(report);
  if (doc == nullptr) return;
  std::string bytes;
  if (!doc->SerializeToString(&bytes)) {
    std::snprintf(report->error, sizeof report->error, "the sample does not encode");
    return;
  }
  if (bytes.size() > sizeof report->encoding) {
    std::snprintf(report->error, sizeof report->error, "the sample encodes to %zu bytes",
                  bytes.size());
    return;
  }
  std::memcpy(report->encoding, bytes.data(), bytes.size());
  report->encoding_size = bytes.size();
}
