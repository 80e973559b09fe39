// Lookup tables at their edges: a three-dimensional table whose lists do not
// fit together, and a field number sent with the wrong wire type.
#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <gcuschema/MapConfig.pb.h>

#include "support/wire.h"

namespace gcuschema::test {
namespace {

TEST(MapTablesEdgeCasesTest, ThreeTwoAndFiveEntriesEncodeAndParseWithoutComplaint) {
  Map3D table;
  for (int v : {1, 2, 3}) table.add_x(v);
  for (int v : {4, 5}) table.add_y(v);
  for (int v : {6, 7, 8, 9, 10}) table.add_values(v);
  EXPECT_ENCODES(table, {0x0A, 0x03, 0x02, 0x04, 0x06,
                         0x12, 0x02, 0x08, 0x0A,
                         0x1A, 0x05, 0x0C, 0x0E, 0x10, 0x12, 0x14});

  Map3D parsed;
  ASSERT_TRUE(Parse(&parsed, Bytes({0x0A, 0x03, 0x02, 0x04, 0x06,
                                    0x12, 0x02, 0x08, 0x0A,
                                    0x1A, 0x05, 0x0C, 0x0E, 0x10, 0x12, 0x14})));
  ASSERT_EQ(parsed.x_size(), 3);
  ASSERT_EQ(parsed.y_size(), 2);
  ASSERT_EQ(parsed.values_size(), 5);
  EXPECT_EQ(parsed.x(2), 3);
  EXPECT_EQ(parsed.y(0), 4);
  EXPECT_EQ(parsed.values(4), 10);
  EXPECT_TRUE(parsed.GetReflection()->GetUnknownFields(parsed).empty());
}

TEST(MapTablesEdgeCasesTest, FixedWidthFieldOneOfAPointIsKeptAndWrittenBackWithRuntime321) {
  Map2DPoint point;
  ASSERT_TRUE(Parse(&point, Bytes({0x0D, 0x01, 0x00, 0x00, 0x00, 0x10, 0x02})));
  EXPECT_EQ(point.x(), 0);
  EXPECT_EQ(point.value(), 2);
  const google::protobuf::UnknownFieldSet& unknown = point.GetReflection()->GetUnknownFields(point);
  ASSERT_EQ(unknown.field_count(), 1);
  EXPECT_EQ(unknown.field(0).number(), 1);
  EXPECT_EQ(unknown.field(0).type(), google::protobuf::UnknownField::TYPE_FIXED32);
  EXPECT_EQ(unknown.field(0).fixed32(), 1u);
  // Runtime 3.21 always writes kept unknown fields back, after the known ones.
  EXPECT_ENCODES(point, {0x10, 0x02, 0x0D, 0x01, 0x00, 0x00, 0x00});
}

}  // namespace
}  // namespace gcuschema::test
