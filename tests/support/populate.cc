#include "support/populate.h"

#include <string>

#include <google/protobuf/descriptor.h>

namespace gcuschema::test {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;

// Sub-records nest at most this deep; the library's records are shallow,
// this only guards against a future self-referencing schema.
constexpr int kMaxDepth = 4;

void Populate(Message* record, int seed, int depth);

void SetOne(Message* record, const FieldDescriptor* f, int value, int depth) {
  const Reflection* r = record->GetReflection();
  const bool rep = f->is_repeated();
  switch (f->cpp_type()) {
    case FieldDescriptor::CPPTYPE_INT32:
      rep ? r->AddInt32(record, f, -value) : r->SetInt32(record, f, -value);
      break;
    case FieldDescriptor::CPPTYPE_INT64:
      rep ? r->AddInt64(record, f, -value) : r->SetInt64(record, f, -value);
      break;
    case FieldDescriptor::CPPTYPE_UINT32:
      rep ? r->AddUInt32(record, f, 1000u * value) : r->SetUInt32(record, f, 1000u * value);
      break;
    case FieldDescriptor::CPPTYPE_UINT64:
      rep ? r->AddUInt64(record, f, 1000u * value) : r->SetUInt64(record, f, 1000u * value);
      break;
    case FieldDescriptor::CPPTYPE_DOUBLE:
      rep ? r->AddDouble(record, f, value + 0.25) : r->SetDouble(record, f, value + 0.25);
      break;
    case FieldDescriptor::CPPTYPE_FLOAT:
      rep ? r->AddFloat(record, f, value + 0.5f) : r->SetFloat(record, f, value + 0.5f);
      break;
    case FieldDescriptor::CPPTYPE_BOOL:
      rep ? r->AddBool(record, f, true) : r->SetBool(record, f, true);
      break;
    case FieldDescriptor::CPPTYPE_ENUM: {
      // The largest declared value is never zero in this library; an open
      // enumeration would take any number, but a declared one reads better.
      const int v = f->enum_type()->value(f->enum_type()->value_count() - 1)->number();
      const int n = v != 0 ? v : 1;
      rep ? r->AddEnumValue(record, f, n) : r->SetEnumValue(record, f, n);
      break;
    }
    case FieldDescriptor::CPPTYPE_STRING: {
      const std::string s = f->name() + "-" + std::to_string(value);
      rep ? r->AddString(record, f, s) : r->SetString(record, f, s);
      break;
    }
    case FieldDescriptor::CPPTYPE_MESSAGE: {
      Message* sub = rep ? r->AddMessage(record, f) : r->MutableMessage(record, f);
      if (depth < kMaxDepth) Populate(sub, value, depth + 1);
      break;
    }
  }
}

void Populate(Message* record, int seed, int depth) {
  const google::protobuf::Descriptor* d = record->GetDescriptor();
  for (int i = 0; i < d->field_count(); ++i) {
    const FieldDescriptor* f = d->field(i);
    const int value = seed * 100 + i + 1;
    SetOne(record, f, value, depth);
    if (f->is_repeated()) SetOne(record, f, value + 50, depth);
  }
}

}  // namespace

void PopulateEveryField(Message* record, int seed) { Populate(record, seed, 0); }

}  // namespace gcuschema::test
