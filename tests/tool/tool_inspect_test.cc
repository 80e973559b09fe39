// inspect: the library's summary of a document read from a file.
#include <string>

#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/document/inspect.h>
#include <gcuschema/document/samples.h>

#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

TEST(ToolInspectTest, PrintsTheLibrarySummaryOfTheFile) {
  DeviceData image;
  document::SampleOptions options;
  options.inputs = 6;
  document::SampleDeviceData(options, &image);
  ScratchDir dir;
  const std::string path = dir.Put("image.bin", EncodeRecord(image));
  ProcessResult result = RunTool({"inspect", "--type", "DeviceData", path});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  std::string expected = document::Inspect(image);
  if (expected.empty() || expected.back() != '\n') expected += '\n';
  EXPECT_EQ(result.out, expected);
  ASSERT_FALSE(image.gcuserialno().empty());
  EXPECT_NE(result.out.find(image.gcuserialno()), std::string::npos) << result.out;
}

TEST(ToolInspectTest, ReadsStandardInputGivenAsDash) {
  const std::string bytes = SampleBytes("ConfigData");
  ProcessResult from_stdin = RunTool({"inspect", "-"}, bytes);
  ScratchDir dir;
  ProcessResult from_file = RunTool({"inspect", dir.Put("doc.bin", bytes)});
  ASSERT_EQ(from_stdin.exit_status, 0) << from_stdin.err;
  EXPECT_FALSE(from_stdin.out.empty());
  EXPECT_EQ(from_stdin.out, from_file.out);
}

TEST(ToolInspectTest, TruncatedDocumentExitsTwo) {
  const std::string bytes = SampleBytes("ConfigData");
  ProcessResult result = RunTool({"inspect", "-"}, bytes.substr(0, bytes.size() - 2));
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err.rfind("gcuschema: <stdin>: ", 0), 0u) << result.err;
}

}  // namespace
}  // namespace gcuschema::test
