// Wire behaviour of the pulse, frequency and position input settings:
// DigitalInConfiguration, DutyInConfiguration, PhonicWheelConfiguration,
// InputQeiConfiguration, GearRatioCounterConfiguration and
// SlipCounterConfiguration.
#include <cstdint>
#include <vector>

#include <google/protobuf/repeated_field.h>
#include <google/protobuf/stubs/common.h>
#include <gtest/gtest.h>

#include <gcuschema/DigitalInputConfiguration.pb.h>
#include <gcuschema/DutyInConfiguration.pb.h>
#include <gcuschema/GearRatioCounterConfiguration.pb.h>
#include <gcuschema/InputQeiConfig.pb.h>
#include <gcuschema/PhonicWheelConfiguration.pb.h>
#include <gcuschema/SlipCounterConfiguration.pb.h>

#include "support/wire.h"

namespace gcuschema::test {
namespace {

// A repeated field's elements as a vector, for whole-list comparisons.
template <class T>
std::vector<T> List(const google::protobuf::RepeatedField<T>& field) {
  return std::vector<T>(field.begin(), field.end());
}
using U = std::vector<std::uint32_t>;
using F = std::vector<float>;

TEST(PulseInputsTest, EveryRecordAtZeroEncodesToNothing) {
  EXPECT_ENCODES(DigitalInConfiguration(), {});
  EXPECT_ENCODES(InputQeiConfiguration(), {});
  EXPECT_ENCODES(GearRatioCounterConfiguration(), {});
  EXPECT_ENCODES(SlipCounterConfiguration(), {});

  // Lists that held elements and were emptied are not written either.
  DutyInConfiguration duty;
  duty.add_enablepullups(1);
  duty.set_toothcount(3);
  EXPECT_ENCODES(duty, {0x08, 0x03, 0x12, 0x01, 0x01});
  duty.clear_enablepullups();
  duty.set_toothcount(0);
  EXPECT_ENCODES(duty, {});

  PhonicWheelConfiguration wheel;
  wheel.add_enablepullups(1);
  wheel.add_referencebpvoltagebprpm(1000);
  wheel.add_referencebpvoltage(1.0f);
  wheel.add_referencebpvoltagepullup(2.0f);
  wheel.Clear();
  EXPECT_ENCODES(wheel, {});
}

TEST(DigitalInConfigurationTest, ModeTakesATwoByteTag) {
  DigitalInConfiguration in;
  in.set_invert(true);
  in.set_mode(DigitalInConfiguration::Time);
  EXPECT_ENCODES(in, {0x50, 0x01, 0xA0, 0x01, 0x03});
}

TEST(DigitalInConfigurationTest, DebounceFilterIsWrittenZigzaggedBeforeInvert) {
  DigitalInConfiguration in;
  in.set_enablefilter(true);
  in.set_delay(-1);
  in.set_hold(2);
  in.set_interspace(3);
  in.set_invert(true);
  in.set_mode(DigitalInConfiguration::Frequency);
  EXPECT_ENCODES(in, {0x08, 0x01, 0x10, 0x01, 0x18, 0x04, 0x20, 0x06, 0x50, 0x01, 0xA0, 0x01, 0x02});
}

TEST(DutyInConfigurationTest, ZeroElementInsideAListIsWritten) {
  DutyInConfiguration duty;
  duty.add_enablepullups(1);
  duty.add_enablepullups(0);
  duty.add_enablepullups(300);
  EXPECT_ENCODES(duty, {0x12, 0x04, 0x01, 0x00, 0xAC, 0x02});
}

TEST(DutyInConfigurationTest, UnpackedPullupsAreReadAndWrittenBackPacked) {
  DutyInConfiguration duty;
  ASSERT_TRUE(Parse(&duty, Bytes({0x10, 0x01, 0x10, 0x02})));
  EXPECT_EQ(List(duty.enablepullups()), (U{1, 2}));
  EXPECT_ENCODES(duty, {0x12, 0x02, 0x01, 0x02});
}

// Runtimes of the 3.5 series misread a packed run that directly follows an
// unpacked element of the same field (the run's length becomes an element).
// The runtime this library is built against, 3.21, reads both forms; this
// pins that.
TEST(DutyInConfigurationTest, PackedRunAfterUnpackedElementIsReadWholePinsRuntime321Behaviour) {
  ASSERT_EQ(GOOGLE_PROTOBUF_VERSION / 1000, 3021);
  DutyInConfiguration duty;
  ASSERT_TRUE(Parse(&duty, Bytes({0x10, 0x01, 0x12, 0x02, 0x02, 0x03})));
  EXPECT_EQ(List(duty.enablepullups()), (U{1, 2, 3}));
  EXPECT_ENCODES(duty, {0x12, 0x03, 0x01, 0x02, 0x03});
}

TEST(DutyInConfigurationTest, MedianFilterLengthIsWrittenBeforePullupVoltage) {
  DutyInConfiguration duty;
  duty.set_toothcount(1);
  duty.add_enablepullups(1);
  duty.add_enablepullups(2);
  duty.set_referencevoltage(3);
  duty.set_medianfilterlength(-1);
  duty.set_pullupvoltage(5);
  duty.set_pullmode(DutyInConfiguration::Down);
  duty.set_invert(true);
  duty.set_referencevoltagehi(8);
  duty.set_referencevoltagelo(9);
  duty.set_faultvoltagehi(10);
  duty.set_faultvoltagelo(11);
  duty.set_mode(DutyInConfiguration::Time);
  EXPECT_ENCODES(duty, {0x08, 0x01, 0x12, 0x02, 0x01, 0x02, 0x18, 0x03,
                        0x20, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01,
                        0x28, 0x05, 0x30, 0x01, 0x38, 0x01, 0x40, 0x08, 0x48, 0x09,
                        0x50, 0x0A, 0x58, 0x0B, 0x60, 0x01});
}

TEST(PhonicWheelConfigurationTest, MissingToothCountFollowsTheOneByteTags) {
  PhonicWheelConfiguration wheel;
  wheel.set_toothcount(60);
  wheel.set_missingtoothcount(2);
  EXPECT_ENCODES(wheel, {0x08, 0x3C, 0x70, 0x02});
}

TEST(PhonicWheelConfigurationTest, ThresholdCurveIsPackedFloats) {
  PhonicWheelConfiguration wheel;
  wheel.add_referencebpvoltage(1.0f);
  wheel.add_referencebpvoltage(2.5f);
  EXPECT_ENCODES(wheel, {0xA2, 0x02, 0x08, 0x00, 0x00, 0x80, 0x3F, 0x00, 0x00, 0x20, 0x40});
}

TEST(PhonicWheelConfigurationTest, SingleUnpackedFloatIsAppended) {
  PhonicWheelConfiguration wheel;
  ASSERT_TRUE(Parse(&wheel, Bytes({0xA5, 0x02, 0x00, 0x00, 0x80, 0x3F})));
  EXPECT_EQ(List(wheel.referencebpvoltage()), (F{1.0f}));
  EXPECT_ENCODES(wheel, {0xA2, 0x02, 0x04, 0x00, 0x00, 0x80, 0x3F});
}

// As for the duty input: 3.21 reads a packed float run that follows an
// unpacked float of the same field as a packed run.
TEST(PhonicWheelConfigurationTest, PackedFloatRunAfterUnpackedFloatIsReadWholePinsRuntime321Behaviour) {
  ASSERT_EQ(GOOGLE_PROTOBUF_VERSION / 1000, 3021);
  PhonicWheelConfiguration wheel;
  ASSERT_TRUE(Parse(&wheel, Bytes({0xA5, 0x02, 0x00, 0x00, 0x80, 0x3F,
                                   0xA2, 0x02, 0x08, 0x00, 0x00, 0x00, 0x40, 0x00, 0x00, 0x20, 0x40})));
  EXPECT_EQ(List(wheel.referencebpvoltage()), (F{1.0f, 2.0f, 2.5f}));
}

TEST(PhonicWheelConfigurationTest, EveryFieldIsWrittenInNumberOrder) {
  PhonicWheelConfiguration wheel;
  wheel.set_toothcount(1);
  wheel.set_missingtoothcount(14);
  wheel.add_enablepullups(1);
  wheel.set_pullmode(PhonicWheelConfiguration::Down);
  wheel.set_medianfilterlength(4);
  wheel.set_signalmode(PhonicWheelConfiguration::smQuadratureFallingEdge);
  wheel.set_referencevoltage(3);
  wheel.set_referencevoltagehi(8);
  wheel.set_referencevoltagelo(9);
  wheel.set_faultvoltagehi(10);
  wheel.set_faultvoltagelo(11);
  wheel.set_pullupvoltage(5);
  wheel.set_referencevoltagepullup(20);
  wheel.set_referencevoltagehipullup(21);
  wheel.set_referencevoltagelopullup(22);
  wheel.set_faultvoltagehipullup(23);
  wheel.set_faultvoltagelopullup(34);
  wheel.add_referencebpvoltagebprpm(1000);
  wheel.add_referencebpvoltage(1.0f);
  wheel.add_referencebpvoltagepullup(2.0f);
  wheel.set_mode(PhonicWheelConfiguration::Counter);
  wheel.set_inputconfig(PhonicWheelConfiguration::SkipConfiguration);
  wheel.set_decodesent(true);
  EXPECT_ENCODES(wheel, {0x08, 0x01, 0x12, 0x01, 0x01, 0x18, 0x03, 0x20, 0x04, 0x28, 0x05,
                         0x30, 0x01, 0x38, 0x05, 0x40, 0x08, 0x48, 0x09, 0x50, 0x0A, 0x58, 0x0B,
                         0x60, 0x04, 0x68, 0x01, 0x70, 0x0E,
                         0xA0, 0x01, 0x14, 0xA8, 0x01, 0x15, 0xB0, 0x01, 0x16, 0xB8, 0x01, 0x17,
                         0x90, 0x02, 0x22,
                         0x9A, 0x02, 0x02, 0xE8, 0x07,
                         0xA2, 0x02, 0x04, 0x00, 0x00, 0x80, 0x3F,
                         0xAA, 0x02, 0x04, 0x00, 0x00, 0x00, 0x40,
                         0xC0, 0x02, 0x01});
}

TEST(PhonicWheelConfigurationTest, MergeAppendsListsAndOverwritesNonZeroSingulars) {
  PhonicWheelConfiguration target;
  target.set_toothcount(60);
  target.set_signalmode(PhonicWheelConfiguration::smQuadrature);
  target.set_referencevoltage(500);
  target.add_enablepullups(1);
  target.add_referencebpvoltage(1.0f);

  PhonicWheelConfiguration source;
  source.set_toothcount(36);
  source.set_missingtoothcount(2);
  source.add_enablepullups(0);
  source.add_enablepullups(1);
  source.add_referencebpvoltage(2.0f);
  source.add_referencebpvoltagebprpm(3000);

  target.MergeFrom(source);
  EXPECT_EQ(target.toothcount(), 36u);
  EXPECT_EQ(target.missingtoothcount(), 2u);
  // Zero in the source is "unset" and leaves the target's value.
  EXPECT_EQ(target.signalmode(), PhonicWheelConfiguration::smQuadrature);
  EXPECT_EQ(target.referencevoltage(), 500u);
  EXPECT_EQ(List(target.enablepullups()), (U{1, 0, 1}));
  EXPECT_EQ(List(target.referencebpvoltage()), (F{1.0f, 2.0f}));
  EXPECT_EQ(List(target.referencebpvoltagebprpm()), (U{3000}));
}

TEST(InputQeiConfigurationTest, ThresholdsUseThePhonicWheelNumbers) {
  InputQeiConfiguration qei;
  qei.set_referencevoltage(3);
  qei.set_referencevoltagehi(8);
  qei.set_referencevoltagelo(9);
  qei.set_faultvoltagehi(10);
  qei.set_faultvoltagelo(300);
  const std::string bytes = Encode(qei);
  EXPECT_EQ(Hex(bytes), Hex(Bytes({0x18, 0x03, 0x40, 0x08, 0x48, 0x09, 0x50, 0x0A, 0x58, 0xAC, 0x02})));

  // The same bytes read as a wheel's (and a duty input's) thresholds.
  PhonicWheelConfiguration wheel;
  ASSERT_TRUE(Parse(&wheel, bytes));
  EXPECT_EQ(wheel.referencevoltage(), 3u);
  EXPECT_EQ(wheel.referencevoltagehi(), 8u);
  EXPECT_EQ(wheel.referencevoltagelo(), 9u);
  EXPECT_EQ(wheel.faultvoltagehi(), 10u);
  EXPECT_EQ(wheel.faultvoltagelo(), 300u);
  DutyInConfiguration duty;
  ASSERT_TRUE(Parse(&duty, bytes));
  EXPECT_EQ(duty.referencevoltage(), 3u);
  EXPECT_EQ(duty.faultvoltagelo(), 300u);
}

TEST(GearRatioCounterConfigurationTest, NegativeToothCountIsOneByte) {
  GearRatioCounterConfiguration gear;
  gear.set_pinatoothcount(-1);
  EXPECT_ENCODES(gear, {0x10, 0x01});
}

TEST(SlipCounterConfigurationTest, NegativeToothCountIsOneByte) {
  SlipCounterConfiguration slip;
  slip.set_pinbtoothcount(-1);
  EXPECT_ENCODES(slip, {0x20, 0x01});
}

TEST(SlipCounterConfigurationTest, ReadsTheEncodingOfAGearRatioCounter) {
  GearRatioCounterConfiguration gear;
  gear.set_pina(1);
  gear.set_pinatoothcount(-1);
  gear.set_pinb(3);
  gear.set_pinbtoothcount(60);
  const std::string bytes = Encode(gear);
  EXPECT_EQ(Hex(bytes), Hex(Bytes({0x08, 0x01, 0x10, 0x01, 0x18, 0x03, 0x20, 0x78})));

  SlipCounterConfiguration slip;
  ASSERT_TRUE(Parse(&slip, bytes));
  EXPECT_EQ(slip.pina(), 1u);
  EXPECT_EQ(slip.pinatoothcount(), -1);
  EXPECT_EQ(slip.pinb(), 3u);
  EXPECT_EQ(slip.pinbtoothcount(), 60);
  EXPECT_NE(slip.GetDescriptor(), gear.GetDescriptor()) << "two separate record types";
}

}  // namespace
}  // namespace gcuschema::test
