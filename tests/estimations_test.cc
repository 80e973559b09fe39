// Estimator state records with their packed double lists.
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>

#include "support/wire.h"

namespace gcuschema::test {
namespace {

TEST(EstimationsTest, ThetaValuesArePackedLittleEndianDoubles) {
  Estimations e;
  e.set_id(1);
  e.set_size(2);
  e.add_thetavalues(1.0);
  e.add_thetavalues(-0.5);
  EXPECT_ENCODES(e, {0x08, 0x01, 0x10, 0x02, 0x1A, 0x10, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                     0xF0, 0x3F, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xE0, 0xBF});
}

TEST(EstimationsTest, SaturationNegativeZeroIsNotWrittenAndNanIs) {
  Estimations minus_one;
  minus_one.set_yminsaturation(-1.0);
  EXPECT_ENCODES(minus_one, {0x31, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF0, 0xBF});

  Estimations negative_zero;
  negative_zero.set_yminsaturation(-0.0);
  EXPECT_ENCODES(negative_zero, {});
  Estimations read_back;
  ASSERT_TRUE(Parse(&read_back, Encode(negative_zero)));
  EXPECT_EQ(read_back.yminsaturation(), 0.0);
  EXPECT_FALSE(std::signbit(read_back.yminsaturation()));

  Estimations nan;
  nan.set_ymaxsaturation(std::numeric_limits<double>::quiet_NaN());
  EXPECT_ENCODES(nan, {0x39, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF8, 0x7F});
}

TEST(EstimationsTest, NegativeZeroListElementIsKeptBitForBit) {
  Estimations e;
  e.add_thetavalues(-0.0);
  EXPECT_ENCODES(e, {0x1A, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x80});
}

TEST(EstimationsTest, UnpackedElementIsWrittenBackPacked) {
  Estimations e;
  ASSERT_TRUE(Parse(&e, Bytes({0x19, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x40})));
  ASSERT_EQ(e.thetavalues_size(), 1);
  EXPECT_EQ(e.thetavalues(0), 2.0);
  EXPECT_ENCODES(e, {0x1A, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x40});
}

TEST(EstimationsTest, UnpackedPValuesUseTag21) {
  Estimations e;
  ASSERT_TRUE(Parse(&e, Bytes({0x21, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF0, 0x3F})));
  ASSERT_EQ(e.pvalues_size(), 1);
  EXPECT_EQ(e.pvalues(0), 1.0);
}

TEST(EstimationsTest, PackedBlockNotAMultipleOfEightFails) {
  Estimations e;
  EXPECT_FALSE(Parse(&e, Bytes({0x1A, 0x07, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00})));
}

TEST(EstimationsTest, SizeWithEmptyListsRoundTrips) {
  Estimations e;
  e.set_size(3);
  const std::string bytes = Encode(e);
  EXPECT_EQ(Hex(bytes), Hex(Bytes({0x10, 0x03})));
  Estimations parsed;
  ASSERT_TRUE(Parse(&parsed, bytes));
  EXPECT_EQ(parsed.size(), 3);
  EXPECT_EQ(parsed.thetavalues_size(), 0);
  EXPECT_EQ(parsed.pvalues_size(), 0);
}

TEST(EstimationsTest, BoolsAreTrueForAnyNonZeroVarint) {
  Estimations e;
  ASSERT_TRUE(Parse(&e, Bytes({0x28, 0x02, 0x40, 0x01, 0x48, 0x80, 0x01})));
  EXPECT_TRUE(e.initialized());
  EXPECT_TRUE(e.enablesaturation());
  EXPECT_TRUE(e.dynamicsaturation());
  EXPECT_ENCODES(e, {0x28, 0x01, 0x40, 0x01, 0x48, 0x01});
}

}  // namespace
}  // namespace gcuschema::test
