#include <gtest/gtest.h>

#include <gcuschema/document/error.h>

namespace gcuschema::document {
namespace {

TEST(DocErrorTest, MessageNamesWhereFirst) {
  Error e("inputs[2].alias", "invalid UTF-8");
  EXPECT_STREQ(e.what(), "inputs[2].alias: invalid UTF-8");
  EXPECT_EQ(e.where(), "inputs[2].alias");
  EXPECT_EQ(e.message(), "invalid UTF-8");
  EXPECT_STREQ(Error("", "empty input").what(), "empty input");
}

}  // namespace
}  // namespace gcuschema::document
