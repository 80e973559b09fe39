// The lookup-table records.
#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <gcuschema/MapConfig.pb.h>

#include "support/wire.h"

namespace gcuschema::test {
namespace {

TEST(MapTablesTest, EmptyRecordsEncodeToNothing) {
  EXPECT_ENCODES(Map2DPoint(), {});
  EXPECT_ENCODES(Map2D(), {});
  EXPECT_ENCODES(Map3DPoint(), {});
  EXPECT_ENCODES(Map3DRow(), {});
  EXPECT_ENCODES(Map3D(), {});
  Map2D table;
  table.add_points();
  EXPECT_ENCODES(table, {0x0A, 0x00});
}

TEST(Map2DTest, OnePointIsANestedRecord) {
  Map2D table;
  Map2DPoint* p = table.add_points();
  p->set_x(1);
  p->set_value(2);
  EXPECT_ENCODES(table, {0x0A, 0x04, 0x08, 0x01, 0x10, 0x02});
}

TEST(Map3DTest, AxesAreZigzagPacked) {
  Map3D x;
  x.add_x(1);
  x.add_x(-1);
  EXPECT_ENCODES(x, {0x0A, 0x02, 0x02, 0x01});

  Map3D y;
  y.add_y(-64);
  y.add_y(64);
  EXPECT_ENCODES(y, {0x12, 0x03, 0x7F, 0x80, 0x01});

  Map3D values;
  values.add_values(300);
  EXPECT_ENCODES(values, {0x1A, 0x02, 0xD8, 0x04});
}

TEST(Map3DRowTest, NegativeInt32ElementIsTenBytes) {
  Map3DRow row;
  row.add_values(-1);
  EXPECT_ENCODES(row, {0x0A, 0x0A, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01});
  Map3DPoint point;
  point.set_x(-1);
  EXPECT_ENCODES(point, {0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01});
}

TEST(Map3DTest, UnpackedInputIsWrittenBackPacked) {
  Map3D table;
  ASSERT_TRUE(Parse(&table, Bytes({0x08, 0x02, 0x08, 0x01})));
  ASSERT_EQ(table.x_size(), 2);
  EXPECT_EQ(table.x(0), 1);
  EXPECT_EQ(table.x(1), -1);
  EXPECT_ENCODES(table, {0x0A, 0x02, 0x02, 0x01});
}

TEST(Map3DTest, ListLengthsAreNotRelated) {
  Map3D table;
  for (int v : {1, 2, 3}) table.add_x(v);
  for (int v : {4, 5}) table.add_y(v);
  for (int v : {6, 7, 8, 9, 10}) table.add_values(v);
  Map3D parsed;
  ASSERT_TRUE(Parse(&parsed, Encode(table)));
  EXPECT_EQ(parsed.x_size(), 3);
  EXPECT_EQ(parsed.y_size(), 2);
  EXPECT_EQ(parsed.values_size(), 5);
  EXPECT_EQ(Hex(Encode(parsed)), Hex(Encode(table)));
}

TEST(Map2DPointTest, FixedWidthFieldOneIsUnknown) {
  Map2DPoint point;
  ASSERT_TRUE(Parse(&point, Bytes({0x0D, 0x01, 0x00, 0x00, 0x00})));
  EXPECT_EQ(point.x(), 0);
  EXPECT_EQ(point.GetReflection()->GetUnknownFields(point).field_count(), 1);
}

TEST(Map3DTest, MergingAppendsSourceAfterTarget) {
  Map3D target;
  target.add_x(2);
  Map3D source;
  source.add_x(1);
  target.MergeFrom(source);
  ASSERT_EQ(target.x_size(), 2);
  EXPECT_EQ(target.x(0), 2);
  EXPECT_EQ(target.x(1), 1);
}

TEST(Map3DTest, MixedPackedAndUnpackedElementsAppendInArrivalOrder) {
  Map3D table;
  ASSERT_TRUE(Parse(&table, Bytes({0x12, 0x01, 0x04, 0x10, 0x06, 0x12, 0x01, 0x08})));
  ASSERT_EQ(table.y_size(), 3);
  EXPECT_EQ(table.y(0), 2);
  EXPECT_EQ(table.y(1), 3);
  EXPECT_EQ(table.y(2), 4);
}

}  // namespace
}  // namespace gcuschema::test
