// Wire behaviour of the analog input settings: AdcConfiguration and
// AdcSwitchConfiguration.
#include <gtest/gtest.h>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/AdcSwitchInput.pb.h>

#include "support/wire.h"

namespace gcuschema::test {
namespace {

TEST(AdcConfigurationTest, AllZeroEncodesToNothingAndNothingParsesToAllZero) {
  AdcConfiguration adc;
  EXPECT_ENCODES(adc, {});

  // Start from a record with every field set, so the parse has something to clear.
  AdcConfiguration parsed;
  parsed.set_range(AdcConfiguration::rangeRaw);
  parsed.set_saturation(true);
  parsed.set_lowpassfilter(true);
  parsed.set_enableinterpolation(true);
  parsed.set_inminvalue(1);
  parsed.set_inmaxvalue(2);
  parsed.set_outminvalue(3);
  parsed.set_outmaxvalue(4);
  parsed.set_faultminvalue(5);
  parsed.set_faultmaxvalue(6);
  parsed.set_pullupenable(true);
  ASSERT_TRUE(Parse(&parsed, Bytes({})));
  EXPECT_EQ(parsed.range(), AdcConfiguration::range5V);
  EXPECT_FALSE(parsed.saturation());
  EXPECT_FALSE(parsed.lowpassfilter());
  EXPECT_FALSE(parsed.enableinterpolation());
  EXPECT_EQ(parsed.inminvalue(), 0);
  EXPECT_EQ(parsed.inmaxvalue(), 0);
  EXPECT_EQ(parsed.outminvalue(), 0);
  EXPECT_EQ(parsed.outmaxvalue(), 0);
  EXPECT_EQ(parsed.faultminvalue(), 0);
  EXPECT_EQ(parsed.faultmaxvalue(), 0);
  EXPECT_FALSE(parsed.pullupenable());
}

TEST(AdcConfigurationTest, RangeAndLimitsAreWrittenZigzagged) {
  AdcConfiguration adc;
  adc.set_range(AdcConfiguration::range12V);
  adc.set_inminvalue(-1);
  adc.set_outmaxvalue(100);
  EXPECT_ENCODES(adc, {0x08, 0x02, 0x28, 0x01, 0x40, 0xC8, 0x01});
}

TEST(AdcConfigurationTest, PullupEnableAloneIsTwoBytes) {
  AdcConfiguration adc;
  adc.set_pullupenable(true);
  EXPECT_ENCODES(adc, {0x58, 0x01});
}

TEST(AdcConfigurationTest, EveryFieldIsWrittenInNumberOrder) {
  AdcConfiguration adc;
  adc.set_range(AdcConfiguration::rangeGcu5V);
  adc.set_saturation(true);
  adc.set_lowpassfilter(true);
  adc.set_enableinterpolation(true);
  adc.set_inminvalue(-1);
  adc.set_inmaxvalue(1);
  adc.set_outminvalue(-2);
  adc.set_outmaxvalue(2);
  adc.set_faultminvalue(-3);
  adc.set_faultmaxvalue(3);
  adc.set_pullupenable(true);
  EXPECT_ENCODES(adc, {0x08, 0x01, 0x10, 0x01, 0x18, 0x01, 0x20, 0x01, 0x28, 0x01, 0x30, 0x02,
                       0x38, 0x03, 0x40, 0x04, 0x48, 0x05, 0x50, 0x06, 0x58, 0x01});
}

TEST(AdcConfigurationTest, UndeclaredRangeIsKeptAndWrittenBack) {
  AdcConfiguration adc;
  ASSERT_TRUE(Parse(&adc, Bytes({0x08, 0x07})));
  EXPECT_EQ(static_cast<int>(adc.range()), 7);
  EXPECT_FALSE(AdcConfiguration_AdcRange_IsValid(7));
  EXPECT_ENCODES(adc, {0x08, 0x07});
}

TEST(AdcConfigurationTest, NegativeRangeIsSignExtendedToTenBytes) {
  AdcConfiguration adc;
  adc.set_range(static_cast<AdcConfiguration::AdcRange>(-1));
  EXPECT_ENCODES(adc, {0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01});
}

TEST(AdcConfigurationTest, LastOccurrenceOfAFieldWins) {
  AdcConfiguration adc;
  ASSERT_TRUE(Parse(&adc, Bytes({0x08, 0x01, 0x28, 0x03, 0x08, 0x02, 0x28, 0x04})));
  EXPECT_EQ(adc.range(), AdcConfiguration::range12V);
  EXPECT_EQ(adc.inminvalue(), 2);
  EXPECT_ENCODES(adc, {0x08, 0x02, 0x28, 0x04});
}

TEST(AdcSwitchConfigurationTest, AllZeroEncodesToNothingAndNothingParsesToAllZero) {
  AdcSwitchConfiguration sw;
  EXPECT_ENCODES(sw, {});

  AdcSwitchConfiguration parsed;
  parsed.set_mode(AdcSwitchConfiguration::modeVoltage);
  parsed.set_maxvoltage(5000);
  parsed.set_interspace(-4);
  ASSERT_TRUE(Parse(&parsed, Bytes({})));
  EXPECT_EQ(parsed.mode(), AdcSwitchConfiguration::modeResistors);
  EXPECT_EQ(parsed.maxvoltage(), 0u);
  EXPECT_EQ(parsed.interspace(), 0);
}

TEST(AdcSwitchConfigurationTest, ModeIsWrittenAfterRangeAlthoughDeclaredSecond) {
  AdcSwitchConfiguration sw;
  sw.set_range(AdcSwitchConfiguration::rangeRaw);
  sw.set_mode(AdcSwitchConfiguration::modeVoltage);
  EXPECT_ENCODES(sw, {0x08, 0x03, 0x48, 0x01});
}

TEST(AdcSwitchConfigurationTest, NegativeDelayIsZigzagged) {
  AdcSwitchConfiguration sw;
  sw.set_delay(-2);
  EXPECT_ENCODES(sw, {0x30, 0x03});
}

TEST(AdcSwitchConfigurationTest, ModeAndVoltageSpanAreWrittenAfterInterspace) {
  AdcSwitchConfiguration sw;
  sw.set_range(AdcSwitchConfiguration::rangeGcu5V);
  sw.set_mode(AdcSwitchConfiguration::modeVoltage);
  sw.set_pullup(2);
  sw.set_pulldown(3);
  sw.set_precision(4);
  sw.set_minvoltage(10);
  sw.set_maxvoltage(300);
  sw.set_enablefilter(true);
  sw.set_delay(6);
  sw.set_hold(7);
  sw.set_interspace(-8);
  EXPECT_ENCODES(sw, {0x08, 0x01, 0x10, 0x02, 0x18, 0x03, 0x20, 0x04, 0x28, 0x01, 0x30, 0x0C,
                      0x38, 0x0E, 0x40, 0x0F, 0x48, 0x01, 0x50, 0x0A, 0x58, 0xAC, 0x02});
}

TEST(AdcSwitchConfigurationTest, UndeclaredModeIsKeptAndWrittenBack) {
  AdcSwitchConfiguration sw;
  ASSERT_TRUE(Parse(&sw, Bytes({0x48, 0x05})));
  EXPECT_EQ(static_cast<int>(sw.mode()), 5);
  EXPECT_FALSE(AdcSwitchConfiguration_AdcSwitchMode_IsValid(5));
  EXPECT_ENCODES(sw, {0x48, 0x05});
}

TEST(AdcSwitchConfigurationTest, LastOccurrenceOfAFieldWins) {
  AdcSwitchConfiguration sw;
  ASSERT_TRUE(Parse(&sw, Bytes({0x30, 0x03, 0x30, 0x04})));
  EXPECT_EQ(sw.delay(), 2);
}

}  // namespace
}  // namespace gcuschema::test
