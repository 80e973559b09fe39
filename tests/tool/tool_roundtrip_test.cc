// decode | encode gives back the very bytes the library wrote, for each
// document type, expanded or not, JSON or text, through pipes and files.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

struct Variant {
  const char* name;
  std::vector<std::string> decode_flags;
  const char* format;
};

const Variant kVariants[] = {
    {"json expanded", {"--format", "json"}, "json"},
    {"json unexpanded", {"--format", "json", "--no-expand"}, "json"},
    {"text", {"--format", "text"}, "text"},
};

class ToolRoundTripTest : public ::testing::TestWithParam<const char*> {};

TEST_P(ToolRoundTripTest, DecodeThenEncodeThroughPipesGivesBackTheBytes) {
  const std::string type = GetParam();
  const std::string bytes = SampleBytes(type, 12, 7);
  ASSERT_FALSE(bytes.empty());
  for (const Variant& variant : kVariants) {
    SCOPED_TRACE(variant.name);
    std::vector<std::string> decode = {"decode", "--type", type};
    decode.insert(decode.end(), variant.decode_flags.begin(), variant.decode_flags.end());
    ProcessResult decoded = RunTool(decode, bytes);
    ASSERT_EQ(decoded.exit_status, 0) << decoded.err;
    EXPECT_EQ(decoded.err, "");
    ProcessResult encoded = RunTool({"encode", "--type", type, "--from", variant.format},
                                    decoded.out);
    ASSERT_EQ(encoded.exit_status, 0) << encoded.err;
    EXPECT_EQ(encoded.out.size(), bytes.size());
    EXPECT_TRUE(encoded.out == bytes) << "re-encoded bytes differ";
  }
}

TEST_P(ToolRoundTripTest, DecodeThenEncodeThroughFilesGivesBackTheBytes) {
  const std::string type = GetParam();
  ScratchDir dir;
  const std::string original = dir.Put("in.bin", SampleBytes(type, 5, 3));
  for (const char* expand : {"", "--no-expand"}) {
    SCOPED_TRACE(expand);
    std::vector<std::string> decode = {"decode", "--type", type, "-o", dir.File("doc.json"), original};
    if (*expand != '\0') decode.push_back(expand);
    ProcessResult decoded = RunTool(decode);
    ASSERT_EQ(decoded.exit_status, 0) << decoded.err;
    EXPECT_EQ(decoded.out, "");
    ProcessResult encoded =
        RunTool({"encode", "--type", type, dir.File("doc.json"), "-o", dir.File("out.bin")});
    ASSERT_EQ(encoded.exit_status, 0) << encoded.err;
    EXPECT_TRUE(ReadFileBytes(dir.File("out.bin")) == ReadFileBytes(original));
  }
  // Only the files asked for: no temporary file is left behind.
  EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"doc.json", "in.bin", "out.bin"}));
}

INSTANTIATE_TEST_SUITE_P(DocumentTypes, ToolRoundTripTest,
                         ::testing::Values("ConfigData", "DeviceData", "CalibrationData",
                                           "CalibrationTemplateData"));

TEST(ToolDecodeTest, ExpansionShowsSettingsAsRecordsAndNoExpandKeepsBytes) {
  const std::string bytes = SampleBytes("ConfigData");
  ProcessResult expanded = RunTool({"decode"}, bytes);
  ASSERT_EQ(expanded.exit_status, 0) << expanded.err;
  EXPECT_NE(expanded.out.find("\"@type\": \"AdcConfiguration\""), std::string::npos);
  ProcessResult plain = RunTool({"decode", "--no-expand"}, bytes);
  ASSERT_EQ(plain.exit_status, 0) << plain.err;
  EXPECT_EQ(plain.out.find("\"@type\""), std::string::npos);
  EXPECT_NE(plain.out.find("\"config\": \""), std::string::npos);
}

TEST(ToolDecodeTest, MapsAreReadAsTheTableTheirTypeNamesUnlessTheMapTableSaysOtherwise) {
  const std::string bytes = SampleBytes("ConfigData");
  ProcessResult standard = RunTool({"decode"}, bytes);
  ASSERT_EQ(standard.exit_status, 0) << standard.err;
  EXPECT_NE(standard.out.find("\"@type\": \"Map3D\""), std::string::npos);
  // Another table does not read the sample's bytes back exactly: they stay bytes.
  ProcessResult other = RunTool({"decode", "--map-table", "Map2D"}, bytes);
  ASSERT_EQ(other.exit_status, 0) << other.err;
  EXPECT_EQ(other.out.find("\"@type\": \"Map3D\""), std::string::npos);
  EXPECT_EQ(other.out.find("\"@type\": \"Map2D\""), std::string::npos);
  // Either way what was printed encodes back to the same document.
  for (const ProcessResult* decoded : {&standard, &other}) {
    ProcessResult encoded = RunTool({"encode"}, decoded->out);
    ASSERT_EQ(encoded.exit_status, 0) << encoded.err;
    EXPECT_TRUE(encoded.out == bytes);
  }
}

TEST(ToolDecodeTest, PairOptionRemovingAPairingKeepsThoseSettingsAsBytes) {
  // From twenty inputs on, a sample has every paired type.
  const std::string bytes = SampleBytes("ConfigData", 24);
  ProcessResult decoded = RunTool({"decode", "--pair", "input:AdcInput="}, bytes);
  ASSERT_EQ(decoded.exit_status, 0) << decoded.err;
  EXPECT_EQ(decoded.out.find("\"@type\": \"AdcConfiguration\""), std::string::npos);
  EXPECT_NE(decoded.out.find("\"@type\": \"PwmConfiguration\""), std::string::npos);
}

}  // namespace
}  // namespace gcuschema::test
