// diff: field paths with old and new values, settings expanded, entries
// named by id; as text or JSON; exit 0 when equal, 1 when different, 2 when
// a document cannot be read.
#include <string>

#include <gtest/gtest.h>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/DigitalInputConfiguration.pb.h>
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

TEST(ToolDiffTest, EqualDocumentsExitZeroAndPrintNothing) {
  ScratchDir dir;
  const std::string a = dir.Put("a.bin", EncodeRecord(SampleDocument()));
  const std::string b = dir.Put("b.bin", EncodeRecord(SampleDocument()));
  ProcessResult result = RunTool({"diff", a, b});
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.out, "");
}

TEST(ToolDiffTest, DocumentsThatDifferOnlyInNaNBitsDiffer) {
  ScratchDir dir;
  // inputs[0] { id: 1 minValue: NaN }, the second NaN with its sign bit set.
  const std::string a = dir.Put("a.bin", std::string("\x1A\x07\x08\x01\x45\x00\x00\xC0\x7F", 9));
  const std::string b = dir.Put("b.bin", std::string("\x1A\x07\x08\x01\x45\x00\x00\xC0\xFF", 9));
  ProcessResult result = RunTool({"diff", a, b});
  EXPECT_EQ(result.exit_status, 1) << result.err;
  EXPECT_EQ(result.out, "~ inputs[id=1].minValue: NaN 0x7fc00000 -> NaN 0xffc00000\n");
}

TEST(ToolDiffTest, LongUnknownFieldsAreShownFromWhereTheyDiffer) {
  // Field 99 of the document, 120 bytes 00 to 77, the second with byte 90
  // set to ff: tag 9a 06, length 78.
  std::string bytes;
  for (int i = 0; i < 120; ++i) bytes += static_cast<char>(i);
  std::string changed = bytes;
  changed[90] = '\xff';
  ScratchDir dir;
  const std::string a = dir.Put("a.bin", "\x9a\x06\x78" + bytes);
  const std::string b = dir.Put("b.bin", "\x9a\x06\x78" + changed);
  ProcessResult result = RunTool({"diff", a, b});
  EXPECT_EQ(result.exit_status, 1) << result.err;
  EXPECT_EQ(result.out,
            "~ #99: <120 bytes, at 80: 50 51 52 53 54 55 56 57 58 59 5a 5b 5c 5d 5e 5f ...> -> "
            "<120 bytes, at 80: 50 51 52 53 54 55 56 57 58 59 ff 5b 5c 5d 5e 5f ...>\n");
}

TEST(ToolDiffTest, NegativeZeroInASingleFieldDiffersFromZero) {
  ScratchDir dir;
  // inputs[0] { id: 1 } and inputs[0] { id: 1 minValue: -0.0 }, in binary,
  // JSON and text format.
  const std::string absent = dir.Put("absent.bin", std::string("\x1A\x02\x08\x01", 4));
  const std::string negative = dir.Put("negative.bin", std::string("\x1A\x07\x08\x01\x45\x00\x00\x00\x80", 9));
  const std::string json = dir.Put("negative.json", "{\"inputs\": [{\"id\": 1, \"minValue\": -0.0}]}");
  const std::string text = dir.Put("negative.txt", "inputs { id: 1 minValue: -0 }");
  for (const std::string& path : {negative, json, text}) {
    SCOPED_TRACE(path);
    ProcessResult result = RunTool({"diff", absent, path});
    EXPECT_EQ(result.exit_status, 1) << result.err;
    EXPECT_EQ(result.out, "~ inputs[id=1].minValue: 0 -> -0\n");
    result = RunTool({"diff", path, negative});
    EXPECT_EQ(result.exit_status, 0) << result.err;
    EXPECT_EQ(result.out, "");
  }
}

TEST(ToolDiffTest, ChangedFieldIsShownWithOldAndNewValues) {
  ConfigData changed = SampleDocument();
  changed.mutable_inputs(0)->set_alias("renamed-input");
  ScratchDir dir;
  const std::string a = dir.Put("a.bin", EncodeRecord(SampleDocument()));
  const std::string b = dir.Put("b.bin", EncodeRecord(changed));
  ProcessResult result = RunTool({"diff", a, b});
  EXPECT_EQ(result.exit_status, 1) << result.err;
  EXPECT_EQ(result.out, "~ inputs[id=1 \"renamed-input\"].alias: \"Analog_001\" -> \"renamed-input\"\n");
}

TEST(ToolDiffTest, ChangeInsideSettingsIsShownAsAFieldOfTheSettingsRecord) {
  ConfigData config = SampleDocument();
  int adc = -1;
  for (int i = 0; i < config.inputs_size() && adc < 0; ++i) {
    if (config.inputs(i).type() == Input::AdcInput) adc = i;
  }
  ASSERT_GE(adc, 0) << "the sample has an ADC input";
  AdcConfiguration settings;
  ASSERT_TRUE(settings.ParseFromString(config.inputs(adc).config()));
  ConfigData changed = config;
  settings.set_inminvalue(settings.inminvalue() + 1);
  changed.mutable_inputs(adc)->set_config(settings.SerializeAsString());
  ScratchDir dir;
  const std::string a = dir.Put("a.bin", EncodeRecord(config));
  const std::string b = dir.Put("b.bin", EncodeRecord(changed));
  ProcessResult result = RunTool({"diff", a, b});
  EXPECT_EQ(result.exit_status, 1) << result.err;
  EXPECT_EQ(result.out, "~ inputs[id=" + std::to_string(config.inputs(adc).id()) + " \"" + config.inputs(adc).alias() +
                            "\"].config<AdcConfiguration>.inMinValue: " + std::to_string(settings.inminvalue() - 1) +
                            " -> " + std::to_string(settings.inminvalue()) + "\n");
}

// The sample with its first two inputs swapped and the delay of input 2,
// "Switch_002", changed from 24 to 30.
ConfigData SwappedAndChanged() {
  ConfigData config = SampleDocument();
  config.mutable_inputs()->SwapElements(0, 1);
  DigitalInConfiguration digital;
  EXPECT_TRUE(digital.ParseFromString(config.inputs(0).config()));
  EXPECT_EQ(digital.delay(), 24u);
  digital.set_delay(30);
  config.mutable_inputs(0)->set_config(digital.SerializeAsString());
  return config;
}

TEST(ToolDiffTest, EntriesAreNamedByIdAndAliasAndAReorderingIsOneLine) {
  ScratchDir dir;
  const std::string a = dir.Put("a.bin", EncodeRecord(SampleDocument()));
  const std::string b = dir.Put("b.bin", EncodeRecord(SwappedAndChanged()));
  ProcessResult result = RunTool({"diff", a, b});
  EXPECT_EQ(result.exit_status, 1) << result.err;
  EXPECT_EQ(result.out,
            "~ inputs[id=2 \"Switch_002\"].config<DigitalInConfiguration>.delay: 24 -> 30\n"
            "~ inputs reordered: 2 before 1\n");
}

TEST(ToolDiffTest, FormatJsonGivesTheDifferencesForPrograms) {
  ScratchDir dir;
  const std::string a = dir.Put("a.bin", EncodeRecord(SampleDocument()));
  const std::string b = dir.Put("b.bin", EncodeRecord(SwappedAndChanged()));
  ProcessResult result = RunTool({"diff", "--format", "json", a, b});
  EXPECT_EQ(result.exit_status, 1) << result.err;
  EXPECT_EQ(result.out, R"([
  {
    "path": "inputs[id=2 \"Switch_002\"].config<DigitalInConfiguration>.delay",
    "kind": "modified",
    "old": "24",
    "new": "30",
    "entries": [
      {
        "list": "inputs",
        "key": "id",
        "id": 2,
        "alias": "Switch_002"
      }
    ]
  },
  {
    "path": "inputs",
    "kind": "reordered",
    "old": "1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12",
    "new": "2, 1, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12",
    "moves": "2 before 1",
    "entries": [
      {
        "list": "inputs",
        "key": "id",
        "id": 2,
        "alias": "Switch_002"
      }
    ]
  }
]
)");
  // Equal documents: an empty array, exit 0.
  result = RunTool({"diff", "-f", "json", a, a});
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.out, "[]\n");
}

TEST(ToolDiffTest, AnUnknownOutputFormatIsRefused) {
  ScratchDir dir;
  const std::string a = dir.Put("a.bin", EncodeRecord(SampleDocument()));
  ProcessResult result = RunTool({"diff", "--format", "yaml", a, a});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("yaml"), std::string::npos) << result.err;
}

TEST(ToolDiffTest, UnreadableDocumentExitsTwo) {
  ScratchDir dir;
  const std::string good = dir.Put("a.bin", EncodeRecord(SampleDocument()));
  const std::string bad = dir.Put("b.bin", std::string("\x1A\x10\x08", 3));
  ProcessResult result = RunTool({"diff", good, bad});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.err.rfind("gcuschema: " + bad + ": ", 0), 0u) << result.err;
}

}  // namespace
}  // namespace gcuschema::test
