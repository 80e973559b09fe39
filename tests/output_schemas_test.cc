// The ten output settings schema files as registered: one record each, its
// fields in the declaration order the devices expect (which reflection
// keeps, and which differs from the wire order in several records), and
// the enumeration values in declaration order.
#include <string>
#include <utility>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/descriptor.pb.h>
#include <gtest/gtest.h>

#include <gcuschema/CanObjectOutput.pb.h>
#include <gcuschema/CanbusOutputConfiguration.pb.h>
#include <gcuschema/CurrentConfiguration.pb.h>
#include <gcuschema/DacConfiguration.pb.h>
#include <gcuschema/MapOutputConfigData.pb.h>
#include <gcuschema/PowerOutputConfigData.pb.h>
#include <gcuschema/PwmConfiguration.pb.h>
#include <gcuschema/SplitterOutputConfig.pb.h>
#include <gcuschema/TachoOutputConfigData.pb.h>
#include <gcuschema/TestOutputConfiguration.pb.h>

#include "support/schema_files.h"

namespace gcuschema::test {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;

struct Field {
  const char* name;
  int number;
  FieldDescriptor::Type type;
  bool repeated;
};

struct Schema {
  const char* file;
  const Descriptor* record;
  const char* record_name;
  bool proto3;
  std::vector<Field> fields;  // declaration order
};

constexpr auto kBool = FieldDescriptor::TYPE_BOOL;
constexpr auto kEnum = FieldDescriptor::TYPE_ENUM;
constexpr auto kUInt32 = FieldDescriptor::TYPE_UINT32;
constexpr auto kInt32 = FieldDescriptor::TYPE_INT32;
constexpr auto kSInt32 = FieldDescriptor::TYPE_SINT32;
constexpr auto kFixed32 = FieldDescriptor::TYPE_FIXED32;
constexpr auto kDouble = FieldDescriptor::TYPE_DOUBLE;

std::vector<Schema> OutputSchemas() {
  return {
      {"PwmConfiguration.proto", PwmConfiguration::descriptor(), "PwmConfiguration", true,
       {{"invert", 1, kBool, false},
        {"mode", 2, kEnum, false},
        {"currentLimit", 3, kUInt32, false},
        {"frequency", 17, kUInt32, false},
        {"peakAndHoldEnable", 20, kBool, false},
        {"peakAndHoldPeakValue", 21, kSInt32, false},
        {"peakAndHoldPeakTime", 22, kSInt32, false},
        {"peakAndHoldHoldValue", 23, kSInt32, false},
        {"peakAndHoldEnableProportionalHold", 24, kBool, false}}},
      {"CurrentConfiguration.proto", CurrentConfiguration::descriptor(), "CurrentConfiguration", true,
       {{"resistance", 2, kUInt32, false},
        {"resistanceDouble", 27, kDouble, false},
        {"resistanceMin", 25, kDouble, false},
        {"resistanceMax", 26, kDouble, false},
        {"currentRange", 3, kUInt32, false},
        {"currentRangeDouble", 28, kDouble, false},
        {"enableInterpolation", 4, kBool, false},
        {"inMinValue", 5, kSInt32, false},
        {"inMaxValue", 6, kSInt32, false},
        {"outMinValue", 7, kSInt32, false},
        {"outMaxValue", 8, kSInt32, false},
        {"lambda", 9, kDouble, false},
        {"temperatureInput", 15, kUInt32, false},
        {"frequency", 17, kUInt32, false},
        {"peakAndHoldEnable", 20, kBool, false},
        {"peakAndHoldPeakValue", 21, kSInt32, false},
        {"peakAndHoldPeakTime", 22, kSInt32, false},
        {"peakAndHoldHoldValue", 23, kSInt32, false},
        {"peakAndHoldEnableProportionalHold", 24, kBool, false},
        {"__unused1", 10, kSInt32, false},
        {"__unused2", 11, kSInt32, false},
        {"__unused3", 12, kSInt32, false},
        {"__unused4", 13, kSInt32, false},
        {"__unused5", 14, kSInt32, false},
        {"__unused6", 16, kUInt32, false}}},
      {"DacConfiguration.proto", DacConfiguration::descriptor(), "DacConfiguration", true,
       {{"range", 1, kEnum, false},
        {"enableInterpolation", 2, kBool, false},
        {"inMinValue", 3, kSInt32, false},
        {"inMaxValue", 4, kSInt32, false},
        {"outMinValue", 5, kSInt32, false},
        {"outMaxValue", 6, kSInt32, false}}},
      {"PowerOutputConfigData.proto", PowerOutputConfigData::descriptor(), "PowerOutputConfigData", true,
       {{"OvercurrentErrorOutputIds", 1, kUInt32, false},
        {"UndercurrentWarningOutputIds", 2, kUInt32, false},
        {"softStartRiseTime", 3, kUInt32, false},
        {"hickupDelay", 4, kUInt32, false},
        {"hickupCount", 5, kUInt32, false},
        {"hickupCounterResetDelay", 6, kUInt32, false},
        {"undercurrentLimit", 7, kUInt32, false},
        {"overcurrentLimit", 8, kUInt32, false}}},
      {"TachoOutputConfigData.proto", TachoOutputConfigData::descriptor(), "TachoOutputConfigData", true,
       {{"toothCount", 1, kInt32, false}, {"idleState", 2, kEnum, false}}},
      {"CanbusOutputConfiguration.proto", CanbusOutputConfiguration::descriptor(),
       "CanbusOutputConfiguration", true,
       {{"messageId", 2, kFixed32, false},
        {"messageIdType", 3, kEnum, false},
        {"type", 4, kEnum, false},
        {"length", 5, kUInt32, false},
        {"offset", 6, kUInt32, false},
        {"inMinValue", 11, kInt32, false},
        {"inMaxValue", 12, kInt32, false},
        {"rawMinValue", 7, kInt32, false},
        {"rawMaxValue", 8, kInt32, false},
        {"defaultValue", 10, kInt32, false}}},
      {"CanObjectOutput.proto", CanObjectOutputData::descriptor(), "CanObjectOutputData", true,
       {{"canObjectId", 1, kUInt32, false}}},
      {"MapOutputConfigData.proto", MapOutputConfigData::descriptor(), "MapOutputConfigData", true,
       {{"outputId", 1, kInt32, false},
        {"defaultValue", 2, kSInt32, false},
        {"inputValues", 4, kSInt32, true},
        {"outputValues", 3, kSInt32, true}}},
      {"SplitterOutputConfig.proto", SplitterOutputConfigData::descriptor(), "SplitterOutputConfigData",
       false, {{"outputIds", 1, kInt32, true}}},
      {"TestOutputConfiguration.proto", TestOutputConfiguration::descriptor(),
       "TestOutputConfiguration", true,
       {{"range", 1, kEnum, false},
        {"saturation", 2, kBool, false},
        {"enableInterpolation", 4, kBool, false},
        {"inMinValue", 5, kSInt32, false},
        {"outputId", 9, kInt32, false},
        {"inputValues", 10, kSInt32, true},
        {"outputValues", 11, kSInt32, true},
        {"outputIds", 12, kInt32, true},
        {"messageId", 13, kFixed32, false}}},
  };
}

TEST(OutputSchemasTest, EachFileHoldsOneRecordWithFieldsInDeclarationOrder) {
  const std::vector<Schema> schemas = OutputSchemas();
  ASSERT_EQ(schemas.size(), 10u);
  for (const Schema& s : schemas) {
    SCOPED_TRACE(s.file);
    ASSERT_NE(s.record, nullptr);
    EXPECT_EQ(s.record->full_name(), s.record_name);
    const google::protobuf::FileDescriptor* file = s.record->file();
    EXPECT_EQ(file->name(), s.file);
    EXPECT_EQ(file->package(), "");
    EXPECT_EQ(file->dependency_count(), 0);
    EXPECT_EQ(file->message_type_count(), 1);
    EXPECT_EQ(s.record->nested_type_count(), 0);
    EXPECT_EQ(file->syntax(), s.proto3 ? google::protobuf::FileDescriptor::SYNTAX_PROTO3
                                       : google::protobuf::FileDescriptor::SYNTAX_PROTO2);
    ASSERT_EQ(s.record->field_count(), static_cast<int>(s.fields.size()));
    for (int i = 0; i < s.record->field_count(); ++i) {
      const FieldDescriptor* f = s.record->field(i);
      SCOPED_TRACE(s.fields[i].name);
      EXPECT_EQ(f->name(), s.fields[i].name) << "index " << i;
      EXPECT_EQ(f->number(), s.fields[i].number);
      EXPECT_EQ(f->type(), s.fields[i].type);
      EXPECT_EQ(f->is_repeated(), s.fields[i].repeated);
      // Every list is packed: by default in proto3, by option in the splitter.
      EXPECT_EQ(f->is_packed(), s.fields[i].repeated);
      EXPECT_EQ(f->has_presence(), false);
    }
  }
}

TEST(OutputSchemasTest, RegisteredBytesNameProto3SyntaxExceptForTheSplitter) {
  for (const Schema& s : OutputSchemas()) {
    SCOPED_TRACE(s.file);
    const google::protobuf::internal::DescriptorTable* table = RegistrationOf(s.file);
    ASSERT_NE(table, nullptr);
    google::protobuf::FileDescriptorProto proto;
    ASSERT_TRUE(proto.ParseFromArray(table->descriptor, table->size));
    if (s.proto3) {
      EXPECT_EQ(proto.syntax(), "proto3");
    } else {
      EXPECT_FALSE(proto.has_syntax());
    }
    EXPECT_FALSE(proto.has_package());
    EXPECT_FALSE(proto.has_options());
    EXPECT_EQ(proto.dependency_size(), 0);
    ASSERT_EQ(proto.message_type_size(), 1);
    // The splitter's packed option is the only option in these files.
    for (const auto& field : proto.message_type(0).field()) {
      EXPECT_EQ(field.has_options(), !s.proto3) << field.name();
      EXPECT_FALSE(field.has_json_name()) << field.name();
    }
    EXPECT_FALSE(proto.message_type(0).has_options());
  }
}

std::vector<std::pair<std::string, int>> ValuesOf(const google::protobuf::EnumDescriptor* e) {
  std::vector<std::pair<std::string, int>> out;
  for (int i = 0; i < e->value_count(); ++i) out.emplace_back(e->value(i)->name(), e->value(i)->number());
  return out;
}

TEST(OutputSchemasTest, EnumerationValuesInDeclarationOrder) {
  using V = std::vector<std::pair<std::string, int>>;
  EXPECT_EQ(ValuesOf(PwmConfiguration_Mode_descriptor()), (V{{"modePWM", 0}, {"modeCurrent", 1}}));
  EXPECT_EQ(ValuesOf(DacConfiguration_DacRange_descriptor()),
            (V{{"range5V", 0}, {"rangeGcu5V", 1}, {"range12V", 2}, {"rangeRaw", 3}}));
  EXPECT_EQ(ValuesOf(TachoOutputConfigData_IdleState_descriptor()),
            (V{{"isLow", 0}, {"isHigh", 1}, {"isKeep", 2}}));
  EXPECT_EQ(ValuesOf(CanbusOutputConfiguration_IdType_descriptor()),
            (V{{"Extended", 0}, {"Standard", 1}}));
  EXPECT_EQ(ValuesOf(CanbusOutputConfiguration_OutputType_descriptor()),
            (V{{"UnsignedBigEndian", 0}, {"UnsignedLittleEndian", 1}, {"SignedBigEndian", 2},
               {"SignedLittleEndian", 3}, {"BitField", 4}, {"CounterField", 6},
               {"BitCounterField", 7}}));
  EXPECT_EQ(ValuesOf(TestOutputConfiguration_TestOutputRange_descriptor()),
            (V{{"range5V", 0}, {"rangeGcu5V", 1}, {"range12V", 2}, {"rangeRaw", 3}}));
}

TEST(OutputSchemasTest, EnumerationFieldsNameTheirOwnRecordsEnumerations) {
  EXPECT_EQ(PwmConfiguration::descriptor()->FindFieldByName("mode")->enum_type(),
            PwmConfiguration_Mode_descriptor());
  EXPECT_EQ(CanbusOutputConfiguration::descriptor()->FindFieldByName("messageIdType")->enum_type(),
            CanbusOutputConfiguration_IdType_descriptor());
  EXPECT_EQ(CanbusOutputConfiguration::descriptor()->FindFieldByName("type")->enum_type(),
            CanbusOutputConfiguration_OutputType_descriptor());
  EXPECT_EQ(TachoOutputConfigData::descriptor()->FindFieldByName("idleState")->enum_type(),
            TachoOutputConfigData_IdleState_descriptor());
  EXPECT_EQ(DacConfiguration::descriptor()->FindFieldByName("range")->enum_type(),
            DacConfiguration_DacRange_descriptor());
  EXPECT_EQ(TestOutputConfiguration::descriptor()->FindFieldByName("range")->enum_type(),
            TestOutputConfiguration_TestOutputRange_descriptor());
}

}  // namespace
}  // namespace gcuschema::test
