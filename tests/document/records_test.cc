#include <gcuschema/document/records.h>

#include <dirent.h>

#include <algorithm>
#include <string>
#include <typeinfo>
#include <vector>

#include <google/protobuf/arena.h>
#include <google/protobuf/descriptor.pb.h>
#include <gtest/gtest.h>

#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/document/error.h>

namespace gcuschema::document {
namespace {

// The .proto files of the schema directory, sorted: what the library is built from.
std::vector<std::string> SchemaDirectoryFiles() {
  std::vector<std::string> names;
  DIR* dir = opendir(GCUSCHEMA_SCHEMA_DIR);
  if (dir == nullptr) return names;
  while (dirent* entry = readdir(dir)) {
    std::string name = entry->d_name;
    if (name.size() > 6 && name.compare(name.size() - 6, 6, ".proto") == 0) names.push_back(name);
  }
  closedir(dir);
  std::sort(names.begin(), names.end());
  return names;
}

TEST(RecordsTest, SchemaFileNamesAreTheSchemaDirectoryInNameOrder) {
  const std::vector<std::string> expected = SchemaDirectoryFiles();
  ASSERT_EQ(expected.size(), 35u);
  EXPECT_EQ(SchemaFileNames(), expected);
}

TEST(RecordsTest, FindSchemaFileFindsOnlyTheLibrarysFiles) {
  const google::protobuf::FileDescriptor* config = FindSchemaFile("Config.proto");
  ASSERT_NE(config, nullptr);
  EXPECT_EQ(config, ConfigData::descriptor()->file());
  EXPECT_EQ(FindSchemaFile("CalibrationData.proto"), CalibrationData::descriptor()->file());
  EXPECT_EQ(FindSchemaFile("Nope.proto"), nullptr);
  EXPECT_EQ(FindSchemaFile("google/protobuf/descriptor.proto"), nullptr);
}

TEST(RecordsTest, FindRecordByFullNameAndClassSpelling) {
  EXPECT_EQ(FindRecord("ConfigData"), ConfigData::descriptor());
  EXPECT_EQ(FindRecord("CalibrationData.AdcCalibrationData"),
            CalibrationData_AdcCalibrationData::descriptor());
  EXPECT_EQ(FindRecord("CalibrationData_AdcCalibrationData"),
            CalibrationData_AdcCalibrationData::descriptor());
  EXPECT_EQ(FindRecord("Map3D")->full_name(), "Map3D");
}

TEST(RecordsTest, FindRecordRejectsNamesOutsideTheLibrary) {
  EXPECT_EQ(FindRecord("NoSuchRecord"), nullptr);
  EXPECT_EQ(FindRecord(""), nullptr);
  // Records of the runtime's own files are not records of the library.
  EXPECT_EQ(FindRecord("google.protobuf.FileDescriptorProto"), nullptr);
}

TEST(RecordsTest, RequireRecordSuggestsWhatToDo) {
  EXPECT_EQ(RequireRecord("Input"), Input::descriptor());
  try {
    RequireRecord("Bogus");
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_NE(e.message().find("\"Bogus\""), std::string::npos) << e.what();
    // Nothing close: a program can point at its list of records.
    EXPECT_EQ(e.remedy().kind, Remedy::Kind::kListRecords) << e.what();
  }
  try {
    RequireRecord("configdata");
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_NE(e.message().find("did you mean \"ConfigData\""), std::string::npos) << e.what();
  }
}

TEST(RecordsTest, EveryRecordIsMadeAsItsGeneratedClass) {
  // Each under its own descriptor: the same class the runtime's factory has.
  for (const std::string& name : RecordNames()) {
    SCOPED_TRACE(name);
    const google::protobuf::Descriptor* type = FindRecord(name);
    std::unique_ptr<google::protobuf::Message> made = NewRecord(type);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->GetDescriptor(), type);
    const google::protobuf::Message* generated = google::protobuf::MessageFactory::generated_factory()->GetPrototype(type);
    ASSERT_NE(generated, nullptr);
    EXPECT_EQ(typeid(*made), typeid(*generated));
  }
  // A generated record of the runtime's own comes from its factory.
  std::unique_ptr<google::protobuf::Message> runtime_record =
      NewRecord(google::protobuf::FileDescriptorProto::descriptor());
  EXPECT_NE(dynamic_cast<google::protobuf::FileDescriptorProto*>(runtime_record.get()), nullptr);
}

TEST(RecordsTest, NewRecordMakesTheGeneratedClass) {
  std::unique_ptr<google::protobuf::Message> record = NewRecord(ConfigData::descriptor());
  ASSERT_NE(dynamic_cast<ConfigData*>(record.get()), nullptr);
  EXPECT_EQ(record->ByteSizeLong(), 0u);

  google::protobuf::Arena arena;
  google::protobuf::Message* on_arena = NewRecord(Input::descriptor(), &arena);
  ASSERT_NE(dynamic_cast<Input*>(on_arena), nullptr);
  EXPECT_EQ(on_arena->GetArena(), &arena);
  EXPECT_THROW(NewRecord(nullptr), Error);
}

}  // namespace
}  // namespace gcuschema::document
