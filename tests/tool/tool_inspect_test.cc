// inspect: the library's summary of a document read from a file, as text
// with a table of entries per kind, or as JSON.
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

TEST(ToolInspectTest, ListsTheEntriesOfEachKind) {
  // The sample of 6 inputs: after the summary, a table per kind of entry.
  const std::string bytes = RunToolOk({"sample", "--inputs", "6"}).out;
  const std::string out = RunToolOk({"inspect", "-"}, bytes).out;
  const std::size_t tables = out.find("  input entries:\n");
  ASSERT_NE(tables, std::string::npos) << out;
  EXPECT_EQ(out.substr(tables), R"(  input entries:
    id  alias             pin  type                    settings                         bytes  settings bytes
     1  "Analog_001"        1  AdcInput (0)            AdcConfiguration                    56              24
     2  "Switch_002"        2  DigitalInput (2)        DigitalInConfiguration              32              10
     3  "ShaftSpeed_003"    3  PhonicWheelInput (3)    PhonicWheelConfiguration            92              56
     4  "Bus_004"           0  CanbusInput (4)         CanbusInputConfiguration            59              42
     5  "Constant_005"      0  ConstantValueInput (6)  ConstantValueInputConfiguration     25               3
     6  "Compare_006"       0  CompareInput (7)        CompareConfiguration                45              24
  output entries:
    id  alias           pin  type              settings                   bytes  settings bytes
     1  "Solenoid_001"    1  PwmOutput (0)     PwmConfiguration              48              20
     2  "Analog_002"      2  DacOutput (1)     DacConfiguration              44              13
     3  "Bus_003"         0  CanbusOutput (2)  CanbusOutputConfiguration     48              31
  map entries:
    id  alias         type                   table                      bytes  table bytes
     1  "Clutch_001"  Interpolated3dMap (1)  Map3D, paired by its type    187          162
  driver entries:
    id  type  settings           bytes  settings bytes
     1     2  (opaque settings)     29               9
  handler entries:
    bus  entityId  type  settings           bytes  settings bytes
      1         1     2  (opaque settings)     17              11
      1         2     3  (opaque settings)     12               6
      1         3     1  (opaque settings)     15               9
      2         4     2  (opaque settings)     20              14
      2         5     3  (opaque settings)     12               6
      2         6     3  (opaque settings)     12               6
)");
}

TEST(ToolInspectTest, FormatJsonGivesTheLibrarysSummaryForPrograms) {
  ConfigData config;
  document::SampleOptions options;
  options.inputs = 6;
  document::SampleConfig(options, &config);
  ScratchDir dir;
  const std::string path = dir.Put("config.bin", EncodeRecord(config));
  ProcessResult result = RunTool({"inspect", "--format", "json", path});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  document::InspectOptions inspect;
  const std::string encoded = EncodeRecord(config);
  inspect.encoded = encoded;
  EXPECT_EQ(result.out, document::InspectAsJson(config, inspect));
  EXPECT_NE(result.out.find("\n        \"alias\": \"Switch_002\",\n"), std::string::npos) << result.out;
  // An unknown format is refused before anything is read.
  result = RunTool({"inspect", "-f", "yaml", path});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.out, "");
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
