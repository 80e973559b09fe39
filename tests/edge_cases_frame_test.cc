// Load-time registration and enumeration helpers at their edges: lookups of
// nested records by their registered name, the generated source path every
// unit hands to the runtime's version check, an enumeration descriptor asked
// for before anything else of its file was used, and the two CAN coding
// enumerations that give the number 5 different meanings.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/generated_message_reflection.h>
#include <gtest/gtest.h>

#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/CanBusInputConfiguration.pb.h>
#include <gcuschema/CanbusOutputConfiguration.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/runtime_check.h>

#include "support/loaded_library.h"
#include "support/schema_files.h"

namespace gcuschema::test {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::DescriptorPool;
using google::protobuf::EnumDescriptor;
using google::protobuf::FileDescriptor;

TEST(FrameEdgeCasesTest, PoolFindsATopLevelAndANestedRecordByRegisteredName) {
  const DescriptorPool* pool = DescriptorPool::generated_pool();

  const Descriptor* input = pool->FindMessageTypeByName("Input");
  ASSERT_NE(input, nullptr);
  EXPECT_EQ(input, Input::descriptor());
  EXPECT_EQ(input->file()->name(), "Config.proto");

  // A nested record is registered under the outer and inner names joined by
  // a dot; the class name (joined by an underscore) is not a registered name.
  const Descriptor* adc = pool->FindMessageTypeByName("CalibrationData.AdcCalibrationData");
  ASSERT_NE(adc, nullptr);
  EXPECT_EQ(adc, CalibrationData_AdcCalibrationData::descriptor());
  EXPECT_EQ(adc->full_name(), "CalibrationData.AdcCalibrationData");
  EXPECT_EQ(adc->name(), "AdcCalibrationData");
  ASSERT_NE(adc->containing_type(), nullptr);
  EXPECT_EQ(adc->containing_type(), CalibrationData::descriptor());
  EXPECT_EQ(adc->file()->name(), "CalibrationData.proto");
  EXPECT_EQ(pool->FindMessageTypeByName("CalibrationData_AdcCalibrationData"), nullptr);
  EXPECT_EQ(pool->FindMessageTypeByName(".CalibrationData.AdcCalibrationData"), nullptr);

  const FileDescriptor* config = pool->FindFileByName("Config.proto");
  ASSERT_NE(config, nullptr);
  EXPECT_EQ(config->message_type_count(), 12);
}

// The path of the shared library that holds the schema units, found through
// the address of one unit's registration record (looked up at run time, so
// it is the library's own object and not a copy in this program).
std::string LibraryPath() { return ModuleFileOf(RegistrationOf("Config.proto")); }

// Each unit's load-time check hands the runtime its own generated source
// path, which is what the runtime's version error names. The path of every
// unit must therefore be in the library, once per schema file.
TEST(FrameEdgeCasesTest, EveryUnitNamesItsOwnGeneratedSourceForTheVersionCheck) {
  EXPECT_EQ(verified_schema_units(), static_cast<int>(SchemaFiles().size()));
  ASSERT_EQ(SchemaFiles().size(), 35u);

  const std::string path = LibraryPath();
  ASSERT_FALSE(path.empty()) << "the library holding the schema units was not found";
  std::ifstream in(path, std::ios::binary);
  ASSERT_TRUE(in.good()) << path;
  const std::string image((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  ASSERT_FALSE(image.empty()) << path;

  for (const std::string& file : SchemaFiles()) {
    const std::string stem = file.substr(0, file.rfind(".proto"));
    // The literal as the unit passes it: the path and its terminating zero.
    std::string unit = "config/protobuf/" + stem + ".pb";
    unit.push_back('\0');
    EXPECT_NE(image.find(unit), std::string::npos) << "no unit path for " << file;
  }
  // A name that is not a unit of the library is not there: the search can fail.
  std::string absent = std::string("config/protobuf/") + "NoSuchSchema.pb";
  absent.push_back('\0');
  EXPECT_EQ(image.find(absent), std::string::npos);
}

// Run in a fresh process: nothing of Config.proto has been used yet when the
// enumeration descriptor is asked for. Exits 0 when every check holds and
// otherwise names the first one that failed.
[[noreturn]] void FirstUseIsTheInputTypeDescriptor() {
  auto fail = [](const char* what) {
    std::fprintf(stderr, "check failed: %s\n", what);
    std::fflush(stderr);
    std::_Exit(1);
  };
  const google::protobuf::internal::DescriptorTable* table = RegistrationOf("Config.proto");
  if (table == nullptr) fail("Config.proto has no registration");
  if (table->file_level_enum_descriptors[14] != nullptr) {
    fail("Config.proto's descriptors were assigned before the first call");
  }

  const EnumDescriptor* d = Input_Type_descriptor();
  if (d == nullptr) fail("no descriptor");
  if (d->full_name() != "Input.Type") fail("full name is not Input.Type");
  if (d->name() != "Type") fail("short name is not Type");
  if (d->containing_type() == nullptr || d->containing_type()->full_name() != "Input") {
    fail("not nested in Input");
  }
  if (!d->file()->package().empty()) fail("the file names a package");
  if (d->file()->name() != "Config.proto") fail("not from Config.proto");
  if (d->value_count() != 19) fail("not 19 values");
  if (d->FindValueByNumber(16) != nullptr || d->FindValueByNumber(18) != nullptr) {
    fail("16 or 18 is declared");
  }
  if (d->FindValueByNumber(99) == nullptr || d->FindValueByNumber(99)->name() != "TestInput") {
    fail("99 is not TestInput");
  }
  if (table->file_level_enum_descriptors[14] != d) fail("not the file's entry 14");
  if (Input_Type_descriptor() != d) fail("a second call gave another object");
  std::_Exit(0);
}

TEST(FrameEdgeCasesDeathTest, InputTypeDescriptorWorksAsTheFirstUseOfItsFile) {
  // "threadsafe" runs the statement in a newly started copy of this program,
  // in which only this test runs.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(FirstUseIsTheInputTypeDescriptor(), ::testing::ExitedWithCode(0), "");
}

TEST(FrameEdgeCasesTest, FiveIsAGapOnTheOutputSideAndAFloatOnTheInputSide) {
  EXPECT_FALSE(CanbusOutputConfiguration_OutputType_IsValid(5));
  EXPECT_TRUE(CanbusOutputConfiguration_OutputType_IsValid(4));
  EXPECT_TRUE(CanbusOutputConfiguration_OutputType_IsValid(6));
  EXPECT_EQ(CanbusOutputConfiguration_OutputType_descriptor()->FindValueByNumber(5), nullptr);

  EXPECT_TRUE(CanbusInputConfiguration_InputType_IsValid(5));
  const auto* five = CanbusInputConfiguration_InputType_descriptor()->FindValueByNumber(5);
  ASSERT_NE(five, nullptr);
  EXPECT_EQ(five->name(), "FloatLittleEndian");

  // 6 is valid on both sides, with different meanings.
  EXPECT_EQ(CanbusOutputConfiguration_OutputType_descriptor()->FindValueByNumber(6)->name(),
            "CounterField");
  EXPECT_EQ(CanbusInputConfiguration_InputType_descriptor()->FindValueByNumber(6)->name(),
            "FloatBigEndian");
}

}  // namespace
}  // namespace gcuschema::test
