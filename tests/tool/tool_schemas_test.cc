// schemas: the pairing of type codes with records and every schema file
// with its records; one record's fields and enumerations; the record a type
// code holds; the JSON Schema of a record's JSON.
#include <algorithm>
#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/process.h"

namespace gcuschema::test {
namespace {

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// The lines after the heading `heading`, up to the next blank line.
std::vector<std::string> Section(const std::string& text, const std::string& heading) {
  std::vector<std::string> section;
  bool inside = false;
  for (const std::string& line : Lines(text)) {
    if (inside && line.empty()) break;
    if (inside) section.push_back(line);
    inside = inside || line == heading;
  }
  return section;
}

constexpr char kFilesHeading[] = "Schema files and their records:";
constexpr char kPairingHeading[] = "Record held in an entry's config, by kind and type code:";

TEST(ToolSchemasTest, ListsEverySchemaFileOfTheSourceTreeOnce) {
  std::vector<std::string> expected;
  for (const auto& entry : std::filesystem::directory_iterator(GCUSCHEMA_SCHEMA_DIR)) {
    if (entry.path().extension() == ".proto") expected.push_back(entry.path().filename().string());
  }
  std::sort(expected.begin(), expected.end());
  ASSERT_EQ(expected.size(), 35u);

  ProcessResult result = RunTool({"schemas"});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  std::vector<std::string> listed;
  for (const std::string& line : Section(result.out, kFilesHeading)) listed.push_back(line.substr(2, line.find(' ', 2) - 2));
  EXPECT_EQ(listed, expected);
}

TEST(ToolSchemasTest, FileLinesNameTheirRecordsAndSyntax) {
  ProcessResult result = RunTool({"schemas"});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  const std::string out = "\n" + result.out;
  EXPECT_NE(out.find("\n  Config.proto (proto3): ConfigData, Units, Input, Output, Map, Driver, "),
            std::string::npos)
      << result.out;
  EXPECT_NE(out.find("\n  SplitterOutputConfig.proto (proto2): SplitterOutputConfigData\n"),
            std::string::npos)
      << result.out;
  EXPECT_NE(out.find("CalibrationData.AdcCalibrationData"), std::string::npos) << result.out;
}

TEST(ToolSchemasTest, WithoutArgumentShowsWhichRecordEachTypeCodeHolds) {
  ProcessResult result = RunTool({"schemas"});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  const std::vector<std::string> table = Section(result.out, kPairingHeading);
  ASSERT_FALSE(table.empty()) << result.out;
  EXPECT_EQ(table[0], "  kind      code  name                     record (how it was chosen)");
  const auto has = [&table](const std::string& row) {
    return std::find(table.begin(), table.end(), row) != table.end();
  };
  EXPECT_TRUE(has("  input       10  DutyInput                DutyInConfiguration (by the code's name)"));
  EXPECT_TRUE(has("  input        5  AnalogSwitchInput        open: --pair input:AnalogSwitchInput=RECORD"));
  EXPECT_TRUE(has("  output       5  SplitterOutput           SplitterOutputConfigData (by the code's name)"));
  EXPECT_TRUE(has("  map          1  Interpolated3dMap        Map3D (by the dimension its name gives)"));
  EXPECT_TRUE(has("  driver       *  any other                open: --pair driver:CODE=RECORD"));
  // Every named input, output and map code has its row, and drivers and
  // handlers one for all.
  EXPECT_EQ(table.size(), 1u + 19 + 10 + 3 + 2) << result.out;

  result = RunTool({"schemas", "--pair", "input:5=AdcSwitchConfiguration", "--map-table", "Map2D",
                    "--pair", "handler:3=Map2D"});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  const std::vector<std::string> paired = Section(result.out, kPairingHeading);
  EXPECT_NE(std::find(paired.begin(), paired.end(),
                      "  input        5  AnalogSwitchInput        AdcSwitchConfiguration (by --pair)"),
            paired.end())
      << result.out;
  EXPECT_NE(std::find(paired.begin(), paired.end(), "  map          0  Point3dMap               Map2D (by --map-table)"),
            paired.end())
      << result.out;
  EXPECT_NE(std::find(paired.begin(), paired.end(), "  handler      3  -                        Map2D (by --pair)"),
            paired.end())
      << result.out;
}

TEST(ToolSchemasTest, TypeCodeShowsTheRecordItHoldsAndItsFields) {
  for (const char* code : {"input:DutyInput", "input:10", "input: DutyInput"}) {
    ProcessResult result = RunTool({"schemas", code});
    ASSERT_EQ(result.exit_status, 0) << result.err;
    const std::vector<std::string> lines = Lines(result.out);
    ASSERT_GT(lines.size(), 3u) << result.out;
    EXPECT_EQ(lines[0], "input type DutyInput (10) holds DutyInConfiguration (by the code's name)");
    EXPECT_EQ(lines[2], "DutyInConfiguration (DutyInConfiguration.proto, proto3)");
    EXPECT_NE(result.out.find("referenceVoltageHi"), std::string::npos) << result.out;
  }
  ProcessResult splitter = RunTool({"schemas", "output:5"});
  ASSERT_EQ(splitter.exit_status, 0) << splitter.err;
  EXPECT_EQ(Lines(splitter.out)[0], "output type SplitterOutput (5) holds SplitterOutputConfigData (by the code's name)");
  ProcessResult map = RunTool({"schemas", "--map-table", "Map2D", "map:Point3dMap"});
  ASSERT_EQ(map.exit_status, 0) << map.err;
  EXPECT_EQ(Lines(map.out)[0], "map type Point3dMap (0) holds Map2D (by --map-table)");
}

TEST(ToolSchemasTest, OpenTypeCodeSaysHowToPairIt) {
  ProcessResult result = RunTool({"schemas", "input:FrequencyInput"});
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.out,
            "input type FrequencyInput (1) is open: no record is paired with it; give one with --pair "
            "input:FrequencyInput=RECORD\n");
  result = RunTool({"schemas", "driver:7"});
  EXPECT_EQ(result.out, "driver type 7 is open: no record is paired with it; give one with --pair driver:7=RECORD\n");
}

TEST(ToolSchemasTest, MistypedNamesGetTheClosestValidOnes) {
  ProcessResult result = RunTool({"schemas", "input:DutyInptu"});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.err,
            "gcuschema: input:DutyInptu: \"DutyInptu\" is not a number or a value of Input.Type; did you mean "
            "\"DutyInput\"?\n");
  result = RunTool({"schemas", "inptu:3"});
  EXPECT_EQ(result.err, "gcuschema: inptu:3: \"inptu\" is not an entry kind; did you mean \"input\"?\n");
  result = RunTool({"schemas", "ConfigDta"});
  EXPECT_EQ(result.err,
            "gcuschema: \"ConfigDta\" is not a record of the schema library; did you mean \"ConfigData\"?\n");
  // The same wording wherever a record is named.
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"sample", "--type", "ConfigDta"},
        std::vector<std::string>{"decode", "--map-table", "ConfigDta"},
        std::vector<std::string>{"decode", "--pair", "input:5=ConfigDta"}}) {
    result = RunTool(args);
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_NE(result.err.find("\"ConfigDta\" is not a record of the schema library; did you mean \"ConfigData\"?"),
              std::string::npos)
        << result.err;
  }
}

TEST(ToolSchemasTest, JsonSchemaOfARecordIsWritten) {
  ProcessResult result = RunTool({"schemas", "--json-schema", "DutyInConfiguration"});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.out.rfind("{\n  \"$schema\": \"https://json-schema.org/draft/2020-12/schema\",\n", 0), 0u)
      << result.out.substr(0, 200);
  EXPECT_NE(result.out.find("\"$ref\": \"#/$defs/DutyInConfiguration\""), std::string::npos);
  ProcessResult config = RunTool({"schemas", "--json-schema"});
  ASSERT_EQ(config.exit_status, 0) << config.err;
  EXPECT_NE(config.out.find("\"$ref\": \"#/$defs/ConfigData\""), std::string::npos);
}

TEST(ToolSchemasTest, RecordShowsFieldsInDeclarationOrderWithNumberTypeAndLabel) {
  ProcessResult result = RunTool({"schemas", "ConfigData"});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  const std::vector<std::string> lines = Lines(result.out);
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines[0], "ConfigData (Config.proto, proto3)");
  std::vector<std::string> numbers;
  const std::regex row(R"(^\s+(\d+)\s+(\w+)\s+([\w.]+)\s+(singular|repeated|optional|required)$)");
  std::smatch match;
  bool router_seen = false;
  for (const std::string& line : lines) {
    if (!std::regex_match(line, match, row)) continue;
    numbers.push_back(match[1]);
    if (match[2] == "canbusRouter") {
      router_seen = true;
      EXPECT_EQ(match[3], "CanbusRouter");
      EXPECT_EQ(match[4], "repeated");
    }
    if (match[2] == "version") EXPECT_EQ(match[3], "uint32");
    if (match[2] == "units") EXPECT_EQ(match[4], "singular");
  }
  EXPECT_TRUE(router_seen);
  // Declared between canbus (7) and canObjectCount (8), though numbered 13.
  EXPECT_EQ(numbers, (std::vector<std::string>{"1", "2", "3", "4", "5", "6", "7", "13", "8", "9",
                                               "10", "11", "12"}));
}

TEST(ToolSchemasTest, RecordShowsItsEnumerationsWithValues) {
  ProcessResult result = RunTool({"schemas", "Map"});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  EXPECT_NE(result.out.find("enum Map.MapType"), std::string::npos) << result.out;
  EXPECT_TRUE(std::regex_search(result.out, std::regex(R"(\n\s+2\s+NearestNeighbour3dMap\n)")))
      << result.out;
}

TEST(ToolSchemasTest, ProtoTwoRecordSaysSo) {
  ProcessResult result = RunTool({"schemas", "SplitterOutputConfigData"});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  const std::vector<std::string> lines = Lines(result.out);
  ASSERT_EQ(lines.size(), 3u) << result.out;
  EXPECT_EQ(lines[0], "SplitterOutputConfigData (SplitterOutputConfig.proto, proto2)");
  EXPECT_TRUE(std::regex_match(lines[2], std::regex(R"(\s+1\s+outputIds\s+int32\s+repeated)")))
      << lines[2];
}

TEST(ToolSchemasTest, UnknownRecordExitsTwo) {
  ProcessResult result = RunTool({"schemas", "NoSuchRecord"});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("NoSuchRecord"), std::string::npos) << result.err;
}

}  // namespace
}  // namespace gcuschema::test
