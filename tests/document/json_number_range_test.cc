// JSON numbers beyond the range of a double ("1e309") are refused like any
// other malformed JSON text, as document::Error from the codec. (Found by
// fuzz_json: the JSON reader reports them apart from its syntax errors.)
#include <string>

#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/io.h>

namespace gcuschema::test {
namespace {

bool RefusedAsError(const std::string& text) {
  ConfigData document;
  try {
    document::Read(text, &document, document::ReadOptions{document::Format::kJson});
  } catch (const document::Error& e) {
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
  document::Read("{\"estimationData\": [{\"thetaValues\": [1.7976931348623157e308]}]}", &document, document::ReadOptions{document::Format::kJson});
  ASSERT_EQ(document.estimationdata_size(), 1);
  EXPECT_EQ(document.estimationdata(0).thetavalues(0), 1.7976931348623157e308);
}

}  // namespace
}  // namespace gcuschema::test
