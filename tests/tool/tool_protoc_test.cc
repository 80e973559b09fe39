// decode --format text prints what protoc --decode prints for the same bytes.
#include <string>

#include <gtest/gtest.h>

#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

struct Schema {
  const char* type;
  const char* file;
};

class ToolTextFormatTest : public ::testing::TestWithParam<Schema> {};

TEST_P(ToolTextFormatTest, SameTextAsProtocDecode) {
  const Schema schema = GetParam();
  const std::string bytes = SampleBytes(schema.type, 10, 11);
  ProcessResult protoc = RunProcess({GCUSCHEMA_PROTOC, std::string("--decode=") + schema.type,
                                     "-I", GCUSCHEMA_SCHEMA_DIR,
                                     std::string(GCUSCHEMA_SCHEMA_DIR) + "/" + schema.file},
                                    bytes);
  ASSERT_EQ(protoc.exit_status, 0) << protoc.err;
  ASSERT_FALSE(protoc.out.empty());
  ProcessResult tool = RunTool({"decode", "--type", schema.type, "--format", "text"}, bytes);
  ASSERT_EQ(tool.exit_status, 0) << tool.err;
  EXPECT_EQ(tool.out, protoc.out);
}

INSTANTIATE_TEST_SUITE_P(Documents, ToolTextFormatTest,
                         ::testing::Values(Schema{"ConfigData", "Config.proto"},
                                           Schema{"DeviceData", "DeviceData.proto"},
                                           Schema{"CalibrationData", "CalibrationData.proto"}),
                         [](const ::testing::TestParamInfo<Schema>& info) {
                           return std::string(info.param.type);
                         });

}  // namespace
}  // namespace gcuschema::test
