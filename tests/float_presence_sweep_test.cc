// Singular float and double fields without presence are sized, written and
// merged when they compare unequal to zero: -0.0 counts as zero, NaN does not.
// Checked through reflection on every such field of every record.
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <gtest/gtest.h>

#include "support/schema_files.h"
#include "support/wire.h"

namespace gcuschema::test {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

std::vector<const FieldDescriptor*> FloatFields() {
  std::vector<const FieldDescriptor*> out;
  for (const google::protobuf::Descriptor* d : AllRecords()) {
    for (int i = 0; i < d->field_count(); ++i) {
      const FieldDescriptor* f = d->field(i);
      const bool fp = f->cpp_type() == FieldDescriptor::CPPTYPE_FLOAT ||
                      f->cpp_type() == FieldDescriptor::CPPTYPE_DOUBLE;
      if (fp && !f->is_repeated() && !f->has_presence()) out.push_back(f);
    }
  }
  return out;
}

std::unique_ptr<Message> NewRecord(const FieldDescriptor* f) {
  return std::unique_ptr<Message>(
      google::protobuf::MessageFactory::generated_factory()->GetPrototype(f->containing_type())->New());
}

void Set(Message* m, const FieldDescriptor* f, double v) {
  if (f->cpp_type() == FieldDescriptor::CPPTYPE_FLOAT) {
    m->GetReflection()->SetFloat(m, f, static_cast<float>(v));
  } else {
    m->GetReflection()->SetDouble(m, f, v);
  }
}

double Get(const Message& m, const FieldDescriptor* f) {
  return f->cpp_type() == FieldDescriptor::CPPTYPE_FLOAT ? m.GetReflection()->GetFloat(m, f)
                                                         : m.GetReflection()->GetDouble(m, f);
}

class FloatPresenceSweepTest : public ::testing::TestWithParam<const FieldDescriptor*> {};

TEST_P(FloatPresenceSweepTest, NegativeZeroIsNotWrittenNorMerged) {
  const FieldDescriptor* f = GetParam();
  std::unique_ptr<Message> source = NewRecord(f);
  Set(source.get(), f, -0.0);
  EXPECT_EQ(source->ByteSizeLong(), 0u);
  EXPECT_EQ(Encode(*source), "");

  std::unique_ptr<Message> target = NewRecord(f);
  Set(target.get(), f, 5.0);
  target->MergeFrom(*source);
  EXPECT_EQ(Get(*target, f), 5.0);
}

TEST_P(FloatPresenceSweepTest, NanIsWrittenAndMerged) {
  const FieldDescriptor* f = GetParam();
  std::unique_ptr<Message> source = NewRecord(f);
  Set(source.get(), f, std::numeric_limits<double>::quiet_NaN());
  const size_t width = f->cpp_type() == FieldDescriptor::CPPTYPE_FLOAT ? 4 : 8;
  const std::string bytes = Encode(*source);
  const size_t tag = f->number() < 16 ? 1 : 2;
  EXPECT_EQ(bytes.size(), tag + width);

  std::unique_ptr<Message> parsed = NewRecord(f);
  ASSERT_TRUE(parsed->ParseFromString(bytes));
  EXPECT_TRUE(std::isnan(Get(*parsed, f)));

  std::unique_ptr<Message> target = NewRecord(f);
  Set(target.get(), f, 5.0);
  target->MergeFrom(*source);
  EXPECT_TRUE(std::isnan(Get(*target, f)));
}

TEST(FloatPresenceSweepTest, TheLibraryHasSuchFields) {
  // Config.proto alone holds six; the sweep is not vacuous.
  EXPECT_GE(FloatFields().size(), 6u);
}

INSTANTIATE_TEST_SUITE_P(EveryFloatField, FloatPresenceSweepTest, ::testing::ValuesIn(FloatFields()),
                         [](const ::testing::TestParamInfo<const FieldDescriptor*>& info) {
                           std::string name = info.param->full_name();
                           for (char& c : name) if (c == '.') c = '_';
                           return name;
                         });

}  // namespace
}  // namespace gcuschema::test
