// A document that nests itself in its settings ten thousand times: every
// command that reads settings stops at the library's depth and exits 2
// naming it, instead of running out of stack.
#include <string>

#include <gtest/gtest.h>

#include "support/nesting.h"
#include "support/process.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

constexpr char kDepthMessage[] = "records inside `config` nested deeper than 16 levels";

// Refused in one line naming the file(s), the path and the depth.
void ExpectRefusedForDepth(const ProcessResult& result, const std::string& files) {
  EXPECT_EQ(result.signal, 0) << "ended by signal " << result.signal;
  EXPECT_EQ(result.exit_status, 2) << result.err;
  const std::string head = "gcuschema: " + files + ": ";
  ASSERT_EQ(result.err.rfind(head, 0), 0u) << result.err;
  std::string path = result.err.substr(head.size());
  // JSON input is placed by line and column before the path.
  if (path.rfind("line ", 0) == 0) path = path.substr(path.find(" (") + 2);
  EXPECT_TRUE(path.rfind("inputs[0].config", 0) == 0 || path.rfind("drivers[0].config", 0) == 0) << result.err;
  EXPECT_NE(result.err.find(kDepthMessage), std::string::npos) << result.err;
  EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << "one line: " << result.err;
}

class ToolConfigDepthTest : public ::testing::TestWithParam<Nesting> {};

TEST_P(ToolConfigDepthTest, LintExitsTwoNamingTheDepth) {
  ScratchDir dir;
  const std::string deep = dir.Put("deep.bin", NestedConfig(GetParam(), 10000));
  ExpectRefusedForDepth(RunTool({"lint", "--pair", GetParam().pairing, deep}), deep);
}

TEST_P(ToolConfigDepthTest, DiffExitsTwoNamingTheDepth) {
  ScratchDir dir;
  const std::string deep = dir.Put("deep.bin", NestedConfig(GetParam(), 10000));
  const std::string shallower = dir.Put("shallower.bin", NestedConfig(GetParam(), 9998));
  ExpectRefusedForDepth(RunTool({"diff", "--pair", GetParam().pairing, deep, shallower}), deep + " and " + shallower);
}

TEST_P(ToolConfigDepthTest, DiffOfEqualDocumentsExitsTwoNamingTheDepth) {
  ScratchDir dir;
  const std::string deep = dir.Put("deep.bin", NestedConfig(GetParam(), 10000));
  const std::string same = dir.Put("same.bin", NestedConfig(GetParam(), 10000));
  ExpectRefusedForDepth(RunTool({"diff", "--pair", GetParam().pairing, deep, same}), deep + " and " + same);
}

TEST_P(ToolConfigDepthTest, InspectExitsTwoNamingTheDepth) {
  ScratchDir dir;
  const std::string deep = dir.Put("deep.bin", NestedConfig(GetParam(), 10000));
  ExpectRefusedForDepth(RunTool({"inspect", "--pair", GetParam().pairing, deep}), deep);
}

TEST_P(ToolConfigDepthTest, DecodeExitsTwoNamingTheDepthAndWritesNothing) {
  ScratchDir dir;
  const std::string deep = dir.Put("deep.bin", NestedConfig(GetParam(), 10000));
  ExpectRefusedForDepth(RunTool({"decode", "--pair", GetParam().pairing, deep, "-o", dir.File("deep.json")}), deep);
  EXPECT_FALSE(FileExists(dir.File("deep.json")));
}

TEST_P(ToolConfigDepthTest, ReportExitsTwoNamingTheDepthAndWritesNothing) {
  ScratchDir dir;
  const std::string deep = dir.Put("deep.bin", NestedConfig(GetParam(), 10000));
  ExpectRefusedForDepth(RunTool({"report", "--pair", GetParam().pairing, deep, "-o", dir.File("deep.html")}), deep);
  EXPECT_FALSE(FileExists(dir.File("deep.html")));
}

TEST_P(ToolConfigDepthTest, DiffPageExitsTwoNamingTheDepthAndWritesNothing) {
  ScratchDir dir;
  const std::string deep = dir.Put("deep.bin", NestedConfig(GetParam(), 10000));
  const std::string shallower = dir.Put("shallower.bin", NestedConfig(GetParam(), 9998));
  ExpectRefusedForDepth(RunTool({"diff", "--format", "html", "--pair", GetParam().pairing, deep, shallower, "-o",
                                 dir.File("diff.html")}),
                        deep + " and " + shallower);
  EXPECT_FALSE(FileExists(dir.File("diff.html")));
}

INSTANTIATE_TEST_SUITE_P(EveryWayToNest, ToolConfigDepthTest,
                         ::testing::Values(kInputHoldsConfig, kInputHoldsDevice, kDriverHoldsConfig),
                         [](const ::testing::TestParamInfo<Nesting>& info) { return NestingName(info.param); });

TEST(ToolConfigDepthJsonTest, EncodeExitsTwoNamingTheDepth) {
  // A ConfigData whose first input holds a ConfigData, 10 000 times.
  std::string json = "{\"inputs\": [{\"config\": ";
  for (int i = 0; i < 10000; ++i) json += "{\"@type\": \"ConfigData\", \"inputs\": [{\"config\": ";
  json += "{\"@type\": \"ConfigData\"}";
  for (int i = 0; i < 10001; ++i) json += "}]}";
  ScratchDir dir;
  const std::string deep = dir.Put("deep.json", json);
  ExpectRefusedForDepth(RunTool({"encode", "--pair", "input:0=ConfigData", deep, "-o", dir.File("deep.bin")}), deep);
  EXPECT_FALSE(FileExists(dir.File("deep.bin")));
}

}  // namespace
}  // namespace gcuschema::test
