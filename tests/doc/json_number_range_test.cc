// JSON numbers beyond the range of a double ("1e309") are refused like any
// other malformed JSON text: as doc::Error from the codec, and by the tool
// with exit status 2 and one line naming the input. (Found by fuzz_json:
// the JSON reader reports them apart from its syntax errors.)
#include <string>

#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/doc/error.h>
#include <gcuschema/doc/json.h>

#include "support/process.h"

namespace gcuschema::test {
namespace {

bool RefusedAsError(const std::string& text) {
  ConfigData document;
  try {
    doc::JsonCodec().FromJsonText(text, &document);
  } catch (const doc::Error& e) {
    return !e.message().empty();
  }
  return false;
}

TEST(JsonNumberRangeTest, OverflowingNumbersAreErrors) {
  EXPECT_TRUE(RefusedAsError("{\"version\": 1e309}"));
  EXPECT_TRUE(RefusedAsError("{\"estimationData\": [{\"thetaValues\": [1, -1e400]}]}"));
  EXPECT_TRUE(RefusedAsError("{\"inputs\": [{\"type\": 4, \"config\": {\"@type\": \"AdcConfiguration\", "
                             "\"range\": 1e309}}]}"));
  // The largest finite double is a number like any other.
  ConfigData document;
  doc::JsonCodec().FromJsonText("{\"estimationData\": [{\"thetaValues\": [1.7976931348623157e308]}]}",
                                &document);
  ASSERT_EQ(document.estimationdata_size(), 1);
  EXPECT_EQ(document.estimationdata(0).thetavalues(0), 1.7976931348623157e308);
}

TEST(JsonNumberRangeTest, ToolRefusesThemWithOneLineNamingTheInput) {
  const ProcessResult result = RunTool({"encode", "-o", "/dev/null"}, "{\"version\": 1e309}\n");
  EXPECT_EQ(result.exit_status, 2) << result.err;
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err.rfind("gcuschema: <stdin>: ", 0), 0u) << result.err;
  EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
}

}  // namespace
}  // namespace gcuschema::test
