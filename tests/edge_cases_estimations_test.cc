// Estimator state at its edges: the lower saturation bound with the values
// that compare equal (negative zero) and unequal (NaN) to zero.
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>

#include "support/wire.h"

namespace gcuschema::test {
namespace {

TEST(EstimationsEdgeCasesTest, NanLowerSaturationIsWrittenAndReadBack) {
  Estimations e;
  e.set_yminsaturation(std::numeric_limits<double>::quiet_NaN());
  EXPECT_ENCODES(e, {0x31, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF8, 0x7F});

  Estimations back;
  ASSERT_TRUE(Parse(&back, Bytes({0x31, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF8, 0x7F})));
  EXPECT_TRUE(std::isnan(back.yminsaturation()));
  EXPECT_EQ(back.ymaxsaturation(), 0.0);
  EXPECT_ENCODES(back, {0x31, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF8, 0x7F});
}

TEST(EstimationsEdgeCasesTest, NegativeZeroLowerSaturationFromTheWireIsNotWrittenBack) {
  // A writer that sends -0.0 anyway: it is read, compares equal to zero and
  // is therefore not written again.
  Estimations e;
  ASSERT_TRUE(Parse(&e, Bytes({0x31, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x80})));
  EXPECT_EQ(e.yminsaturation(), 0.0);
  EXPECT_ENCODES(e, {});

  Estimations minus_one;
  minus_one.set_yminsaturation(-1.0);
  minus_one.set_yminsaturation(-0.0);
  EXPECT_ENCODES(minus_one, {});
}

}  // namespace
}  // namespace gcuschema::test
