// What the library registers with the protobuf runtime while it loads.
#include <map>
#include <set>
#include <string>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/message.h>
#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/MapConfig.pb.h>
#include <gcuschema/runtime_check.h>

#include "support/schema_files.h"

namespace gcuschema::test {
namespace {

using google::protobuf::DescriptorPool;
using google::protobuf::FileDescriptor;

struct FileRow {
  int records;
  int enumerations;
  int descriptor_length;
};

// Every schema file of the library: records (nested ones included),
// enumerations, and the length of the serialized file descriptor.
const std::map<std::string, FileRow>& ExpectedFiles() {
  static const std::map<std::string, FileRow> rows = {
      {"AdcConfiguration.proto", {1, 1, 387}},
      {"AdcSwitchInput.proto", {1, 2, 445}},
      {"AhrsInputConfig.proto", {1, 0, 164}},
      {"CalibrationData.proto", {10, 3, 3663}},
      {"CalibrationDataLimits.proto", {10, 4, 4474}},
      {"CanBusInputConfiguration.proto", {1, 3, 748}},
      {"CanObjectInput.proto", {1, 0, 144}},
      {"CanObjectOutput.proto", {1, 0, 75}},
      {"CanbusOutputConfiguration.proto", {1, 2, 537}},
      {"CompareInput.proto", {1, 1, 305}},
      {"Config.proto", {12, 17, 3539}},
      {"ConstantValueConfiguration.proto", {1, 0, 92}},
      {"CounterInputConfiguration.proto", {1, 0, 240}},
      {"CurrentConfiguration.proto", {1, 0, 648}},
      {"DacConfiguration.proto", {1, 1, 276}},
      {"DeviceData.proto", {1, 0, 234}},
      {"DigitalInputConfiguration.proto", {1, 1, 257}},
      {"DivideInputConfigData.proto", {1, 1, 296}},
      {"DutyInConfiguration.proto", {1, 2, 447}},
      {"GearRatioCounterConfiguration.proto", {1, 0, 154}},
      {"InputQeiConfig.proto", {1, 0, 186}},
      {"MapConfig.proto", {5, 0, 229}},
      {"MapInputConfigData.proto", {1, 0, 116}},
      {"MapOutputConfigData.proto", {1, 0, 141}},
      {"PhonicWheelConfiguration.proto", {1, 4, 1111}},
      {"PowerOutputConfigData.proto", {1, 0, 291}},
      {"PwmConfiguration.proto", {1, 1, 345}},
      {"RbcInputConfigData.proto", {1, 0, 74}},
      {"SlipCounterConfiguration.proto", {1, 0, 144}},
      {"SplitterOutputConfig.proto", {1, 0, 79}},
      {"SystemInputConfigurationData.proto", {1, 0, 76}},
      {"TachoOutputConfigData.proto", {1, 1, 184}},
      {"TestInputConfiguration.proto", {1, 1, 403}},
      {"TestOutputConfiguration.proto", {1, 1, 368}},
      {"WaveformInputConfigData.proto", {1, 0, 427}},
  };
  return rows;
}

int CountRecords(const google::protobuf::Descriptor* d) {
  int n = 1;
  for (int i = 0; i < d->nested_type_count(); ++i) n += CountRecords(d->nested_type(i));
  return n;
}

class RegisteredFileTest : public ::testing::TestWithParam<std::string> {};

TEST_P(RegisteredFileTest, MatchesTheFileTable) {
  const std::string& name = GetParam();
  auto row = ExpectedFiles().find(name);
  ASSERT_NE(row, ExpectedFiles().end()) << name << " is not a schema file of the library";

  const google::protobuf::internal::DescriptorTable* table = RegistrationOf(name);
  ASSERT_NE(table, nullptr) << "the library exports no registration for " << name;
  EXPECT_STREQ(table->filename, name.c_str());
  EXPECT_EQ(table->size, row->second.descriptor_length);
  EXPECT_EQ(table->num_messages, row->second.records);
  EXPECT_EQ(table->num_deps, 0) << "schema files import nothing";

  const FileDescriptor* file = DescriptorPool::generated_pool()->FindFileByName(name);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->package(), "");
  EXPECT_EQ(file->dependency_count(), 0);
  EXPECT_EQ(file->enum_type_count(), 0) << "enumerations are declared inside records";
  int records = 0;
  for (int i = 0; i < file->message_type_count(); ++i) records += CountRecords(file->message_type(i));
  EXPECT_EQ(records, row->second.records);
  EXPECT_EQ(static_cast<int>(EnumerationTableOrder(file).size()), row->second.enumerations);

  // The registered bytes are exactly the schema: they parse as the file's
  // descriptor and encode back to the same bytes.
  google::protobuf::FileDescriptorProto proto;
  ASSERT_TRUE(proto.ParseFromArray(table->descriptor, table->size));
  EXPECT_EQ(proto.name(), name);
  google::protobuf::FileDescriptorProto from_pool;
  file->CopyTo(&from_pool);
  EXPECT_EQ(proto.SerializeAsString(), from_pool.SerializeAsString());
  EXPECT_EQ(proto.SerializeAsString(), std::string(table->descriptor, table->size));
}

INSTANTIATE_TEST_SUITE_P(EveryFile, RegisteredFileTest, ::testing::ValuesIn(SchemaFiles()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                           std::string name = info.param;
                           for (char& c : name) if (c == '.') c = '_';
                           return name;
                         });

TEST(RegistrationTest, LibraryRegistersAllThirtyFiveFiles) {
  ASSERT_EQ(SchemaFiles().size(), 35u);
  std::set<std::string> present(SchemaFiles().begin(), SchemaFiles().end());
  int records = 0;
  for (const auto& [name, row] : ExpectedFiles()) {
    EXPECT_EQ(present.count(name), 1u) << name << " is missing";
    const google::protobuf::internal::DescriptorTable* table = RegistrationOf(name);
    ASSERT_NE(table, nullptr) << name;
    EXPECT_EQ(table->size, row.descriptor_length) << name;
    records += table->num_messages;
  }
  EXPECT_EQ(records, 68);
  EXPECT_EQ(AllRecords().size(), 68u);
  EXPECT_EQ(AllEnumerations().size(), 46u);
  // One proto2 file, the rest proto3.
  int proto2 = 0;
  for (const std::string& name : SchemaFiles()) {
    const FileDescriptor* file = DescriptorPool::generated_pool()->FindFileByName(name);
    ASSERT_NE(file, nullptr);
    if (file->syntax() == FileDescriptor::SYNTAX_PROTO2) ++proto2;
  }
  EXPECT_EQ(proto2, 1);
}

TEST(RegistrationTest, EveryRegistrationOfTheLibraryIsASchemaFile) {
  // The generated pool knows each file by its bare name, and each file's
  // message factory entry hands out the library's own default instances.
  for (const std::string& name : SchemaFiles()) {
    const FileDescriptor* file = DescriptorPool::generated_pool()->FindFileByName(name);
    ASSERT_NE(file, nullptr) << name;
    for (int i = 0; i < file->message_type_count(); ++i) {
      const google::protobuf::Message* prototype =
          google::protobuf::MessageFactory::generated_factory()->GetPrototype(file->message_type(i));
      ASSERT_NE(prototype, nullptr) << file->message_type(i)->full_name();
      EXPECT_EQ(prototype->GetDescriptor(), file->message_type(i));
    }
  }
}

TEST(RegistrationTest, PoolFindsRecordsByFullNameWithoutPackage) {
  const DescriptorPool* pool = DescriptorPool::generated_pool();
  const google::protobuf::Descriptor* input = pool->FindMessageTypeByName("Input");
  ASSERT_NE(input, nullptr);
  EXPECT_EQ(input, Input::descriptor());
  EXPECT_EQ(input->full_name(), "Input");
  const FileDescriptor* config = pool->FindFileByName("Config.proto");
  ASSERT_NE(config, nullptr);
  EXPECT_EQ(config->message_type_count(), 12);
}

TEST(RegistrationTest, ConfigRecordsAreInDeclarationOrder) {
  const FileDescriptor* config = ConfigData::descriptor()->file();
  const std::vector<std::string> expected = {
      "ConfigData", "Units", "Input", "Output", "Map", "Driver",
      "CanbusInputFrameDescription", "CanbusOutputFrameDescription",
      "CanbusEntityHandler", "Canbus", "CanbusRouter", "Estimations"};
  ASSERT_EQ(config->message_type_count(), static_cast<int>(expected.size()));
  for (int i = 0; i < config->message_type_count(); ++i) {
    EXPECT_EQ(config->message_type(i)->name(), expected[i]) << "index " << i;
  }
}

TEST(RegistrationTest, MapConfigRecordsAreInDeclarationOrder) {
  const FileDescriptor* file = Map3D::descriptor()->file();
  EXPECT_EQ(file->name(), "MapConfig.proto");
  const std::vector<std::string> expected = {"Map2DPoint", "Map2D", "Map3DPoint", "Map3DRow", "Map3D"};
  ASSERT_EQ(file->message_type_count(), 5);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(file->message_type(i)->name(), expected[i]);
}

TEST(RegistrationTest, DefaultInstancesShareSubRecordDefaults) {
  EXPECT_EQ(&Input::default_instance().linearization(), &Map::default_instance());
  EXPECT_EQ(&ConfigData::default_instance().units(), &Units::default_instance());
  EXPECT_FALSE(Input::default_instance().has_linearization());
  EXPECT_FALSE(ConfigData::default_instance().has_units());
}

// Descriptors reached from many threads at once, before anything else used
// the library: FirstUse in tests/concurrency, in a process of its own.

// With runtime 3.21 the generated code's own version test is at compile time;
// the library adds a load-time check per unit. Loading succeeded, so every
// unit's check ran and passed against the runtime this process uses.
TEST(RegistrationTest, LoadTimeRuntimeCheckPassedForEveryUnitWithRuntime321) {
  EXPECT_EQ(verified_schema_units(), static_cast<int>(SchemaFiles().size()));
  EXPECT_EQ(built_protobuf_version(), GOOGLE_PROTOBUF_VERSION);
  EXPECT_GE(GOOGLE_PROTOBUF_VERSION, 3021000);
}

// A runtime older than a unit's headers demand, met by the check as the unit
// loads: RuntimeCheckDeathTest in tests/runtime_check, with a unit built
// against faked headers.

}  // namespace
}  // namespace gcuschema::test
