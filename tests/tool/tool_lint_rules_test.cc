// lint on the command line: settings of another type code, tables and
// pins, in each format a user hands it.
#include <string>

#include <gtest/gtest.h>

#include "support/process.h"
#include "support/tool_scratch.h"
#include "support/wire.h"

namespace gcuschema::test {
namespace {

// A ConfigData of one input, id 1, type 2 (DigitalInput), whose settings
// are the 24 bytes of an AdcConfiguration: range rangeGcu5V, saturation,
// lowPassFilter, inMinValue 481, inMaxValue 4930, outMinValue -15,
// outMaxValue 4133, faultMinValue 40, faultMaxValue 5092, pullupEnable.
std::string AdcSettingsUnderDigitalInput() {
  return Bytes({0x1A, 0x1E, 0x08, 0x01, 0x18, 0x02, 0x32, 0x18, 0x08, 0x01, 0x10, 0x01, 0x18, 0x01, 0x28, 0xC2,
                0x07, 0x30, 0x84, 0x4D, 0x38, 0x1D, 0x40, 0xCA, 0x40, 0x48, 0x50, 0x50, 0xC8, 0x4F, 0x58, 0x01});
}

constexpr char kMismatch[] =
    "inputs[0].config: error: type 2 (DigitalInput) holds DigitalInConfiguration, but the 24 bytes are "
    "AdcConfiguration settings as that record encodes them, and type 0 (AdcInput) holds AdcConfiguration: set type "
    "to 0 if the settings are right, or give the input DigitalInConfiguration settings if the type is "
    "[config-type-mismatch]\nfailed: 1 error, 0 warnings\n";

TEST(ToolLintRulesTest, SettingsOfAnotherTypeCodeAreAnErrorInEveryFormat) {
  ScratchDir dir;
  const std::string binary = dir.Put("doc.bin", AdcSettingsUnderDigitalInput());
  ProcessResult result = RunTool({"lint", binary});
  EXPECT_EQ(result.exit_status, 1) << result.err;
  EXPECT_EQ(result.out, kMismatch);

  // Decoded, the settings stay base64 (they are not a DigitalInConfiguration),
  // and lint of the JSON or text says the same.
  const std::string json = dir.Put("doc.json", RunToolOk({"decode", binary}).out);
  const std::string plain = dir.Put("plain.json", RunToolOk({"decode", "--no-expand", binary}).out);
  const std::string text = dir.Put("doc.txt", RunToolOk({"decode", "--format", "text", binary}).out);
  for (const std::string& path : {json, plain, text}) {
    SCOPED_TRACE(path);
    result = RunTool({"lint", path});
    EXPECT_EQ(result.exit_status, 1) << result.err;
    EXPECT_EQ(result.out, kMismatch);
    EXPECT_EQ(result.err, "");
  }
}

TEST(ToolLintRulesTest, EditedSettingsNamingAnotherCodesRecordSayWhichCodeAgrees) {
  const std::string edited = R"({
  "inputs": [
    {
      "id": 1,
      "type": 2,
      "config": {"@type": "AdcConfiguration", "range": "rangeGcu5V", "inMinValue": 481, "inMaxValue": 4930}
    }
  ]
})";
  for (const char* command : {"lint", "encode"}) {
    SCOPED_TRACE(command);
    const ProcessResult result = RunTool({command, "-"}, edited);
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "gcuschema: <stdin>: line 6, column 27 (inputs[0].config): \"@type\" AdcConfiguration, but type 2 "
              "(DigitalInput) holds DigitalInConfiguration; AdcConfiguration is what type 0 (AdcInput) holds: set "
              "type to 0 if the settings are right, or give settings of DigitalInConfiguration if the type is\n");
  }
}

// `count` values 0, 1, ... as a JSON list.
std::string Values(int count) {
  std::string out = "[";
  for (int i = 0; i < count; ++i) out += (i > 0 ? ", " : "") + std::to_string(i);
  return out + "]";
}

TEST(ToolLintRulesTest, TablesWhoseBreakpointsDoNotRiseOrWhoseValuesDoNotFillThem) {
  const std::string document = R"({
  "inputs": [
    {"id": 1, "type": 1, "linearization": {"config": {"@type": "Map3D", "x": [0, 100, 100], "y": [0],
                                                      "values": [0, 1, 2]}}}
  ],
  "maps": [
    {"id": 1, "type": "Interpolated3dMap",
     "config": {"@type": "Map3D", "x": [0, 10, 20, 30, 40, 50, 60], "y": [90, 80, 70, 60, 50, 40, 30, 20, 10, 0],
                "values": )" + Values(69) + R"(}}
  ]
})";
  const ProcessResult result = RunTool({"lint", "-"}, document);
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.out,
            "inputs[0].linearization.config.x[2]: warning: x[2] 100 is not above x[1] 100; a table's breakpoints "
            "rise strictly along each axis: put them in increasing order, with the values that go with them "
            "[map-axis-order]\n"
            "maps[0].config.y[1]: warning: y[1] 80 is not above y[0] 90 (9 of the axis's 9 steps do not rise); a "
            "table's breakpoints rise strictly along each axis: put them in increasing order, with the values that "
            "go with them [map-axis-order]\n"
            "maps[0].config.values: warning: values holds 69 entries, but 7 x breakpoints by 10 y breakpoints make a "
            "table of 70: give a row of 7 values for each y breakpoint [map-size]\n"
            "ok: 0 errors, 3 warnings\n");
}

TEST(ToolLintRulesTest, TwoInputsOrTwoOutputsOnOnePin) {
  const std::string document = R"({
  "inputs": [
    {"id": 1, "type": 1, "pin": 3, "alias": "Oil temperature"},
    {"id": 2, "type": 1, "pin": 3, "alias": "Turbine speed"}
  ],
  "outputs": [
    {"id": 1, "type": 0, "pin": 2, "alias": "Solenoid A"},
    {"id": 2, "type": 0, "pin": 3},
    {"id": 3, "type": 0, "pin": 2, "alias": "Solenoid B"}
  ]
})";
  const ProcessResult result = RunTool({"lint", "-"}, document);
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.out,
            "inputs[1].pin: warning: pin 3 of inputs[1] (id 2, alias \"Turbine speed\") is also the pin of inputs[0] "
            "(id 1, alias \"Oil temperature\"); each input has a pin of its own: give one of the two another pin "
            "unless both are meant to use it [shared-pin]\n"
            "outputs[2].pin: warning: pin 2 of outputs[2] (id 3, alias \"Solenoid B\") is also the pin of outputs[0] "
            "(id 1, alias \"Solenoid A\"); each output has a pin of its own: give one of the two another pin unless "
            "both are meant to use it [shared-pin]\n"
            "ok: 0 errors, 2 warnings\n");
}

TEST(ToolLintRulesTest, HelpNamesEveryRule) {
  const std::string help = RunToolOk({"lint", "--help"}).out;
  for (const char* rule :
       {"document-not-canonical", "count-mismatch", "unknown-type", "unknown-enum-value", "config-unreadable",
        "config-type-mismatch", "config-not-canonical", "duplicate-id", "shared-pin", "dangling-reference",
        "inverted-range", "map-axis-order", "map-size", "out-of-limits", "no-limits", "unknown-field"}) {
    EXPECT_NE(help.find(rule), std::string::npos) << rule << "\n" << help;
  }
}

}  // namespace
}  // namespace gcuschema::test
