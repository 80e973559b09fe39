// lint: one finding per line; exit 0 when clean or only warnings, 1 with
// an error, 2 when the document cannot be read.
#include <string>

#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/document/samples.h>

#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

ConfigData SampleDocument() {
  ConfigData config;
  document::SampleOptions options;
  options.inputs = 12;
  document::SampleConfig(options, &config);
  return config;
}

TEST(ToolLintTest, CleanSamplesExitZeroWithNoFindings) {
  for (const char* type : {"ConfigData", "DeviceData", "CalibrationData"}) {
    SCOPED_TRACE(type);
    ScratchDir dir;
    const std::string path = dir.Put("doc.bin", SampleBytes(type));
    ProcessResult result = RunTool({"lint", "--type", type, path});
    EXPECT_EQ(result.exit_status, 0) << result.out << result.err;
    EXPECT_EQ(result.out, "");
  }
}

TEST(ToolLintTest, AnErrorExitsOneAndIsPrintedWithPathAndSeverity) {
  ConfigData config = SampleDocument();
  ASSERT_GT(config.inputs_size(), 1);
  config.mutable_inputs(1)->set_type(1000);  // no Input.Type has this value
  ScratchDir dir;
  const std::string path = dir.Put("doc.bin", EncodeRecord(config));
  ProcessResult result = RunTool({"lint", path});
  EXPECT_EQ(result.exit_status, 1) << result.err;
  EXPECT_NE(result.out.find("inputs[1].type: error: "), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("[unknown-type]\n"), std::string::npos) << result.out;
}

TEST(ToolLintTest, OnlyWarningsExitZeroButAreShown) {
  // An unassigned field 100 at the root: kept, worth a warning, not an error.
  const std::string bytes = EncodeRecord(SampleDocument()) + std::string("\xA0\x06\x01", 3);
  ProcessResult result = RunTool({"lint", "-"}, bytes);
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_NE(result.out.find(": warning: "), std::string::npos) << result.out;
  EXPECT_EQ(result.out.find(": error: "), std::string::npos) << result.out;
}

TEST(ToolLintTest, UnreadableDocumentExitsTwo) {
  ProcessResult result = RunTool({"lint", "-"}, std::string("\x1A\x10\x08", 3));
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.err.rfind("gcuschema: <stdin>: ", 0), 0u) << result.err;
}

}  // namespace
}  // namespace gcuschema::test
