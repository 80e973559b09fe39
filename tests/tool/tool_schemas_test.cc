// schemas: every schema file with its records; one record's fields and
// enumerations.
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
  for (const std::string& line : Lines(result.out)) listed.push_back(line.substr(0, line.find(' ')));
  EXPECT_EQ(listed, expected);
}

TEST(ToolSchemasTest, FileLinesNameTheirRecordsAndSyntax) {
  ProcessResult result = RunTool({"schemas"});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  const std::string out = "\n" + result.out;
  EXPECT_NE(out.find("\nConfig.proto (proto3): ConfigData, Units, Input, Output, Map, Driver, "),
            std::string::npos)
      << result.out;
  EXPECT_NE(out.find("\nSplitterOutputConfig.proto (proto2): SplitterOutputConfigData\n"),
            std::string::npos)
      << result.out;
  EXPECT_NE(out.find("CalibrationData.AdcCalibrationData"), std::string::npos) << result.out;
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
