// Input, output, map and driver entries of the configuration document.
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>

#include "support/wire.h"

namespace gcuschema::test {
namespace {

TEST(InputTest, NegativeIdIsSignExtendedToTenBytes) {
  Input input;
  input.set_id(-1);
  EXPECT_ENCODES(input, {0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01});
}

TEST(OutputTest, LargestIdTakesFiveBytes) {
  Output output;
  output.set_id(4294967295u);
  EXPECT_ENCODES(output, {0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F});
}

TEST(InputTest, DataloggerChannelIsZigzag) {
  Input input;
  input.set_dataloggerchannel(-1);
  EXPECT_ENCODES(input, {0x10, 0x01});
  Map map;
  map.set_xaxischannel(-1);
  EXPECT_ENCODES(map, {0x20, 0x01});
}

TEST(InputTest, MinValueIsFieldEightInInputsAndSevenInOutputs) {
  Input input;
  input.set_minvalue(1.0f);
  EXPECT_ENCODES(input, {0x45, 0x00, 0x00, 0x80, 0x3F});
  Output output;
  output.set_minvalue(1.0f);
  EXPECT_ENCODES(output, {0x3D, 0x00, 0x00, 0x80, 0x3F});
}

TEST(InputTest, IsPresetHasATwoByteTagInBoth) {
  Input input;
  input.set_ispreset(true);
  EXPECT_ENCODES(input, {0xA0, 0x01, 0x01});
  Output output;
  output.set_ispreset(true);
  EXPECT_ENCODES(output, {0xA0, 0x01, 0x01});
}

TEST(InputTest, TypeIsAPlainIntAndAnyNumberRoundTrips) {
  Input input;
  input.set_type(99);
  EXPECT_ENCODES(input, {0x18, 0x63});

  Input gap;
  ASSERT_TRUE(Parse(&gap, Bytes({0x18, 0x10})));
  EXPECT_EQ(gap.type(), 16);
  EXPECT_ENCODES(gap, {0x18, 0x10});

  Input large;
  ASSERT_TRUE(Parse(&large, Bytes({0x18, 0xE8, 0x07})));
  EXPECT_EQ(large.type(), 1000);
  EXPECT_ENCODES(large, {0x18, 0xE8, 0x07});

  static_assert(std::is_same_v<decltype(input.type()), int32_t>, "Input.type is a plain int32");
  static_assert(std::is_same_v<decltype(Output().type()), int32_t>, "Output.type is a plain int32");
}

TEST(MapTest, UnknownMapTypeNumberIsKept) {
  Map map;
  ASSERT_TRUE(Parse(&map, Bytes({0x30, 0x07})));
  EXPECT_EQ(map.type(), 7);
  EXPECT_ENCODES(map, {0x30, 0x07});
  static_assert(std::is_same_v<decltype(map.type()), Map_MapType>, "Map.type is the enumeration");
}

TEST(InputTest, EmptyPresentLinearizationIsWrittenAndClearRemovesIt) {
  Input input;
  input.mutable_linearization();
  EXPECT_ENCODES(input, {0x3A, 0x00});
  input.Clear();
  EXPECT_ENCODES(input, {});
}

TEST(InputTest, NegativeZeroIsNotWrittenAndNanIs) {
  Input input;
  input.set_minvalue(-0.0f);
  EXPECT_ENCODES(input, {});
  Input parsed;
  ASSERT_TRUE(Parse(&parsed, Encode(input)));
  EXPECT_EQ(parsed.minvalue(), 0.0f);
  EXPECT_FALSE(std::signbit(parsed.minvalue()));

  input.set_minvalue(std::numeric_limits<float>::quiet_NaN());
  EXPECT_ENCODES(input, {0x45, 0x00, 0x00, 0xC0, 0x7F});
}

TEST(InputTest, InvalidUtf8AliasFailsButConfigParses) {
  Input alias;
  EXPECT_FALSE(Parse(&alias, Bytes({0x2A, 0x02, 0xC3, 0x28})));
  Input config;
  ASSERT_TRUE(Parse(&config, Bytes({0x32, 0x02, 0xC3, 0x28})));
  EXPECT_EQ(config.config(), Bytes({0xC3, 0x28}));
}

TEST(InputTest, EveryCheckedStringFailsOnInvalidUtf8) {
  Input unit;
  EXPECT_FALSE(Parse(&unit, Bytes({0x52, 0x01, 0xFF})));
  Output out_alias;
  EXPECT_FALSE(Parse(&out_alias, Bytes({0x2A, 0x01, 0xFF})));
  Output out_unit;
  EXPECT_FALSE(Parse(&out_unit, Bytes({0x4A, 0x01, 0xFF})));
  Map map_alias;
  EXPECT_FALSE(Parse(&map_alias, Bytes({0x12, 0x01, 0xFF})));
  Driver driver;
  EXPECT_TRUE(Parse(&driver, Bytes({0x1A, 0x01, 0xFF, 0x22, 0x01, 0xFF})));
}

TEST(InputTest, FloatUnderFieldSevenWithWireTypeFiveIsUnknown) {
  Input input;
  ASSERT_TRUE(Parse(&input, Bytes({0x3D, 0x00, 0x00, 0x80, 0x3F})));
  EXPECT_FALSE(input.has_linearization());
  EXPECT_EQ(input.minvalue(), 0.0f);
  EXPECT_EQ(input.GetReflection()->GetUnknownFields(input).field_count(), 1);
}

TEST(InputTest, SecondLinearizationOccurrenceMergesIntoTheFirst) {
  Input input;
  ASSERT_TRUE(Parse(&input, Bytes({0x3A, 0x02, 0x08, 0x05, 0x3A, 0x03, 0x12, 0x01, 0x4C})));
  EXPECT_EQ(input.linearization().id(), 5u);
  EXPECT_EQ(input.linearization().alias(), "L");
}

TEST(DriverTest, FieldsAreTaggedByNumber) {
  Driver driver;
  driver.set_id(1);
  driver.set_type(2);
  driver.set_config(Bytes({0x00}));
  driver.set_guiconfig(Bytes({0xFF}));
  EXPECT_ENCODES(driver, {0x08, 0x01, 0x10, 0x02, 0x1A, 0x01, 0x00, 0x22, 0x01, 0xFF});
}

}  // namespace
}  // namespace gcuschema::test
