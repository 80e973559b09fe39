// JSON through the tool: documents that say what they are, plain JSON for
// other tools, and input refused before it is held.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/memory_bounds.h"
#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

TEST(ToolJsonTest, DecodedJsonNamesItsRecordAndEncodesWithoutType) {
  for (const char* type : {"DeviceData", "CalibrationData", "CalibrationTemplateData"}) {
    SCOPED_TRACE(type);
    const std::string bytes = SampleBytes(type, 12, 3);
    const ProcessResult json = RunTool({"decode", "--type", type}, bytes);
    ASSERT_EQ(json.exit_status, 0) << json.err;
    EXPECT_EQ(json.out.rfind(std::string("{\n  \"@type\": \"") + type + "\",", 0), 0u) << json.out.substr(0, 80);
    ScratchDir dir;
    const ProcessResult back = RunTool({"encode", dir.Put("doc.json", json.out), "-o", dir.File("doc.bin")});
    ASSERT_EQ(back.exit_status, 0) << back.err;
    EXPECT_TRUE(ReadFileBytes(dir.File("doc.bin")) == bytes);
  }
}

TEST(ToolJsonTest, TypeGivenAgainstTheDocumentsOwnIsRefused) {
  const ProcessResult json = RunTool({"decode", "--type", "DeviceData"}, SampleBytes("DeviceData", 4, 1));
  ASSERT_EQ(json.exit_status, 0) << json.err;
  const ProcessResult result = RunTool({"encode", "--type", "ConfigData", "-o", "/dev/null"}, json.out);
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.err,
            "gcuschema: <stdin>: line 2, column 12 (@type): the document names itself a DeviceData, but is read "
            "as a ConfigData; correct its \"@type\", or read it as the record it names (--type DeviceData)\n");
}

TEST(ToolJsonTest, PlainJsonHasNoTypeNorUnknownFields) {
  // A document with an unknown field (99, varint 42) at its end.
  const std::string bytes = SampleBytes("ConfigData", 4, 1) + std::string("\x98\x06\x2A", 3);
  const ProcessResult expanded = RunTool({"decode"}, bytes);
  const ProcessResult plain = RunTool({"decode", "--no-expand"}, bytes);
  ASSERT_EQ(plain.exit_status, 0) << plain.err;
  EXPECT_NE(expanded.out.find("\"@unknown\": \"mAYq\""), std::string::npos);
  EXPECT_EQ(plain.out.find("@type"), std::string::npos);
  EXPECT_EQ(plain.out.find("@unknown"), std::string::npos);
}

TEST(ToolJsonTest, JsonNamesByDefaultSchemaNamesOnRequest) {
  // An output of type 3 whose CurrentConfiguration sets __unused1 (field
  // 10, sint32 3: 50 06).
  const std::string bytes("\x22\x06\x18\x03\x32\x02\x50\x06", 8);
  const ProcessResult json = RunTool({"decode"}, bytes);
  const ProcessResult original = RunTool({"decode", "--original-names"}, bytes);
  EXPECT_NE(json.out.find("\"Unused1\": 3"), std::string::npos) << json.out;
  EXPECT_NE(original.out.find("\"__unused1\": 3"), std::string::npos) << original.out;
  for (const ProcessResult* text : {&json, &original}) {
    const ProcessResult back = RunTool({"encode"}, text->out);
    EXPECT_TRUE(back.out == bytes) << back.err;
  }
}

TEST(ToolJsonTest, ListsOfListsAreRefusedAtTheFirstBracketWithoutBeingHeld) {
  if (!GCUSCHEMA_MEMORY_BOUNDS_HOLD) GTEST_SKIP() << "memory bounds do not hold under a sanitizer";
  // 50 MB of '[' under an input field, read with 200 MB of address space
  // beyond the input itself: nothing of it is held.
  ScratchDir dir;
  const std::string input = dir.Put("deep.json", "{\"inputs\": " + std::string(50 * 1024 * 1024, '['));
  const ProcessResult result = RunProcess(
      {"/bin/sh", "-c", "ulimit -v 600000 && exec \"$0\" encode \"$1\" -o /dev/null", GCUSCHEMA_TOOL, input});
  EXPECT_EQ(result.exit_status, 2) << result.err;
  EXPECT_EQ(result.err, "gcuschema: " + input +
                            ": line 1, column 13 (inputs[0]): expected an object, found a list\n");
}

TEST(ToolJsonTest, NanThatTextCannotSpellIsRefusedNamingTheField) {
  // estimationData[0].thetaValues: 1.0 and a NaN with a payload bit
  // (0x7FF8000000000001), packed.
  const std::string bytes("\x4A\x12\x1A\x10\x00\x00\x00\x00\x00\x00\xF0\x3F\x01\x00\x00\x00\x00\x00\xF8\x7F", 20);
  ScratchDir dir;
  const ProcessResult text = RunTool({"decode", "--format", "text", "-o", dir.File("doc.txt")}, bytes);
  EXPECT_EQ(text.exit_status, 2);
  EXPECT_EQ(text.err.rfind("gcuschema: <stdin>: estimationData[0].thetaValues[1]: holds a NaN with its sign bit or payload", 0),
            0u)
      << text.err;
  EXPECT_FALSE(FileExists(dir.File("doc.txt")));
  // JSON keeps it, as encoded bytes.
  const ProcessResult json = RunTool({"decode"}, bytes);
  ASSERT_EQ(json.exit_status, 0) << json.err;
  EXPECT_TRUE(RunTool({"encode"}, json.out).out == bytes);
}

TEST(ToolJsonTest, DecodeHoldsAtMostFourTimesItsInputAndOutput) {
  if (!GCUSCHEMA_MEMORY_BOUNDS_HOLD) GTEST_SKIP() << "memory bounds do not hold under a sanitizer";
  // About 12 MB encoded: large enough that the libraries' own memory is
  // a small part of what the run holds.
  ScratchDir dir;
  const std::string input = dir.Put("large.bin", SampleBytes("ConfigData", 100000, 2));
  for (const char* expand : {"--no-expand", "--pair=input:5=AdcSwitchConfiguration"}) {
    SCOPED_TRACE(expand);
    const ProcessResult result = RunTool({"decode", expand, "-j", "1", input, "-o", dir.File("large.json")});
    ASSERT_EQ(result.exit_status, 0) << result.err;
    const long in_and_out_kb =
        static_cast<long>((ReadFileBytes(input).size() + ReadFileBytes(dir.File("large.json")).size()) / 1024);
    EXPECT_LE(result.max_rss_kb, 4 * in_and_out_kb) << "input and output: " << in_and_out_kb << " KiB";
  }
}

}  // namespace
}  // namespace gcuschema::test
