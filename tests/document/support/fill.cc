#include "support/fill.h"

#include <cstring>
#include <limits>
#include <string>

#include <gcuschema/document/records.h>

namespace gcuschema::test {
namespace {

namespace pb = google::protobuf;
using pb::FieldDescriptor;

float Float(std::uint32_t bits) {
  float value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

}  // namespace

const std::vector<double>& EdgeDoubles() {
  static const std::vector<double> values = {
      -0.0, 0.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
      -std::numeric_limits<double>::infinity(), 1, -1, 0.1, 1.0 / 3, 999999, 999999.5, 1e6, -1e6, 1e15, 1e16,
      1e21, 123456789012345678.0, 5e-324, 2.2250738585072014e-308, std::numeric_limits<double>::max(),
      -std::numeric_limits<double>::max(), 0.30000000000000004, 4294967296.0, -9223372036854775808.0,
      18446744073709551616.0, 1e-7, 1.5e300};
  return values;
}

const std::vector<float>& EdgeFloats() {
  static const std::vector<float> values = {
      -0.0f, 0.0f, std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
      -std::numeric_limits<float>::infinity(), 1, -1, 0.1f, 1.0f / 3, 999999, 999999.5f, 1e6f, -1e6f,
      16777216.0f, 16777217.0f, 123456789.0f, 1e10f, Float(1), Float(0x00800000u),
      std::numeric_limits<float>::max(), -std::numeric_limits<float>::max(), -40.5f, 3001, 1e-7f, 2.5e-5f};
  return values;
}

void Fill(pb::Message* record, std::uint32_t seed, int depth) {
  const pb::Descriptor* type = record->GetDescriptor();
  const pb::Reflection* r = record->GetReflection();
  for (int i = 0; i < type->field_count(); ++i) {
    const FieldDescriptor* field = type->field(i);
    const std::uint32_t pick = seed * 7919u + static_cast<std::uint32_t>(i) * 104729u;
    const bool list = field->is_repeated();
    switch (field->cpp_type()) {
      case FieldDescriptor::CPPTYPE_INT32: {
        const std::vector<std::int32_t> values = {-7, 0, 1, std::numeric_limits<std::int32_t>::min(),
                                                  std::numeric_limits<std::int32_t>::max(), -1,
                                                  static_cast<std::int32_t>(pick % 100000)};
        if (list) {
          for (std::int32_t v : values) r->AddInt32(record, field, v);
        } else {
          r->SetInt32(record, field, values[pick % values.size()]);
        }
        break;
      }
      case FieldDescriptor::CPPTYPE_INT64: {
        const std::vector<std::int64_t> values = {-(1LL << 40), std::numeric_limits<std::int64_t>::min(),
                                                  std::numeric_limits<std::int64_t>::max(), 3, -1};
        if (list) {
          for (std::int64_t v : values) r->AddInt64(record, field, v);
        } else {
          r->SetInt64(record, field, values[pick % values.size()]);
        }
        break;
      }
      case FieldDescriptor::CPPTYPE_UINT32: {
        const std::vector<std::uint32_t> values = {4000000000u, 0, 1, std::numeric_limits<std::uint32_t>::max(),
                                                   pick % 70000u};
        if (list) {
          for (std::uint32_t v : values) r->AddUInt32(record, field, v);
        } else {
          r->SetUInt32(record, field, values[pick % values.size()]);
        }
        break;
      }
      case FieldDescriptor::CPPTYPE_UINT64: {
        const std::vector<std::uint64_t> values = {1ULL << 60, 0, std::numeric_limits<std::uint64_t>::max(), 9};
        if (list) {
          for (std::uint64_t v : values) r->AddUInt64(record, field, v);
        } else {
          r->SetUInt64(record, field, values[pick % values.size()]);
        }
        break;
      }
      case FieldDescriptor::CPPTYPE_FLOAT:
        if (list) {
          for (float v : EdgeFloats()) r->AddFloat(record, field, v);
          r->AddFloat(record, field, static_cast<float>(pick % 1000) / 7.0f);
        } else {
          r->SetFloat(record, field, EdgeFloats()[pick % EdgeFloats().size()]);
        }
        break;
      case FieldDescriptor::CPPTYPE_DOUBLE:
        if (list) {
          for (double v : EdgeDoubles()) r->AddDouble(record, field, v);
          r->AddDouble(record, field, static_cast<double>(pick % 1000) / 7.0);
        } else {
          r->SetDouble(record, field, EdgeDoubles()[pick % EdgeDoubles().size()]);
        }
        break;
      case FieldDescriptor::CPPTYPE_BOOL:
        if (list) {
          r->AddBool(record, field, true);
          r->AddBool(record, field, false);
        } else {
          r->SetBool(record, field, pick % 3 != 0);
        }
        break;
      case FieldDescriptor::CPPTYPE_ENUM: {
        const pb::EnumDescriptor* e = field->enum_type();
        // Named values, and numbers the enumeration does not name.
        const std::vector<int> values = {e->value(e->value_count() - 1)->number(), e->value(0)->number(), 1000, -3};
        if (list) {
          for (int v : values) r->AddEnumValue(record, field, v);
        } else {
          r->SetEnumValue(record, field, values[pick % values.size()]);
        }
        break;
      }
      case FieldDescriptor::CPPTYPE_STRING: {
        const bool bytes = field->type() == FieldDescriptor::TYPE_BYTES;
        const std::vector<std::string> values =
            bytes ? std::vector<std::string>{std::string("\x00\xFF\x7F", 3), "", "abc", std::string(1, '\xFB')}
                  : std::vector<std::string>{"caf\xC3\xA9 \"q\"\n", "", "\\/\t\x01", "\xF0\x9F\x98\x80 e\xE2\x80\xA8"};
        if (list) {
          for (const std::string& v : values) r->AddString(record, field, v);
        } else {
          r->SetString(record, field, values[pick % values.size()]);
        }
        break;
      }
      case FieldDescriptor::CPPTYPE_MESSAGE:
        if (depth > 0) {
          if (list) {
            Fill(r->AddMessage(record, field), seed + 1, depth - 1);
            r->AddMessage(record, field);  // an empty element
            Fill(r->AddMessage(record, field), seed + 2, depth - 1);
          } else if (pick % 5 == 0) {
            r->MutableMessage(record, field);  // present but empty
          } else {
            Fill(r->MutableMessage(record, field), seed + 3, depth - 1);
          }
        }
        break;
    }
  }
}

std::vector<const pb::Descriptor*> EveryRecord() {
  std::vector<const pb::Descriptor*> records;
  std::vector<const pb::Descriptor*> pending;
  for (const std::string& name : document::SchemaFileNames()) {
    const pb::FileDescriptor* file = pb::DescriptorPool::generated_pool()->FindFileByName(name);
    for (int i = 0; file && i < file->message_type_count(); ++i) pending.push_back(file->message_type(i));
  }
  while (!pending.empty()) {
    const pb::Descriptor* type = pending.back();
    pending.pop_back();
    records.push_back(type);
    for (int i = 0; i < type->nested_type_count(); ++i) pending.push_back(type->nested_type(i));
  }
  return records;
}

}  // namespace gcuschema::test
