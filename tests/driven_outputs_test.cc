// Settings records of the outputs the unit drives itself: pulse-width,
// current-controlled, analog, power switch and tachometer outputs.
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <google/protobuf/reflection.h>
#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <gcuschema/CurrentConfiguration.pb.h>
#include <gcuschema/DacConfiguration.pb.h>
#include <gcuschema/PowerOutputConfigData.pb.h>
#include <gcuschema/PwmConfiguration.pb.h>
#include <gcuschema/TachoOutputConfigData.pb.h>

#include "support/wire.h"

namespace gcuschema::test {
namespace {

TEST(DrivenOutputsTest, EveryRecordWithAllFieldsZeroEncodesToNothing) {
  EXPECT_ENCODES(PwmConfiguration(), {});
  EXPECT_ENCODES(CurrentConfiguration(), {});
  EXPECT_ENCODES(DacConfiguration(), {});
  EXPECT_ENCODES(PowerOutputConfigData(), {});
  EXPECT_ENCODES(TachoOutputConfigData(), {});

  // Explicitly set zeros are the same as unset: nothing is written.
  PwmConfiguration pwm;
  pwm.set_invert(false);
  pwm.set_mode(PwmConfiguration::modePWM);
  pwm.set_frequency(0);
  pwm.set_peakandholdpeakvalue(0);
  EXPECT_ENCODES(pwm, {});
  CurrentConfiguration current;
  current.set_lambda(0.0);
  current.set_resistancedouble(0.0);
  current.set___unused6(0);
  EXPECT_ENCODES(current, {});
  TachoOutputConfigData tacho;
  tacho.set_idlestate(TachoOutputConfigData::isLow);
  EXPECT_ENCODES(tacho, {});
}

TEST(PwmConfigurationTest, ModeCurrentAndFrequencyEncodeWithTwoByteTag) {
  PwmConfiguration pwm;
  pwm.set_mode(PwmConfiguration::modeCurrent);
  pwm.set_frequency(1000);
  EXPECT_ENCODES(pwm, {0x10, 0x01, 0x88, 0x01, 0xE8, 0x07});
}

TEST(PwmConfigurationTest, FieldsAreWrittenInAscendingNumber) {
  PwmConfiguration pwm;
  pwm.set_peakandholdenableproportionalhold(true);
  pwm.set_peakandholdholdvalue(1);
  pwm.set_peakandholdpeaktime(-1);
  pwm.set_peakandholdpeakvalue(2);
  pwm.set_peakandholdenable(true);
  pwm.set_frequency(1);
  pwm.set_currentlimit(300);
  pwm.set_mode(PwmConfiguration::modeCurrent);
  pwm.set_invert(true);
  EXPECT_ENCODES(pwm, {0x08, 0x01, 0x10, 0x01, 0x18, 0xAC, 0x02, 0x88, 0x01, 0x01,
                       0xA0, 0x01, 0x01, 0xA8, 0x01, 0x04, 0xB0, 0x01, 0x01,
                       0xB8, 0x01, 0x02, 0xC0, 0x01, 0x01});
}

TEST(PwmConfigurationTest, SharesPeakAndHoldNumbersWithCurrentConfiguration) {
  // A host may move the profile between the two records by bytes.
  PwmConfiguration pwm;
  pwm.set_frequency(500);
  pwm.set_peakandholdenable(true);
  pwm.set_peakandholdpeakvalue(-3);
  pwm.set_peakandholdpeaktime(7);
  pwm.set_peakandholdholdvalue(9);
  pwm.set_peakandholdenableproportionalhold(true);
  CurrentConfiguration current;
  ASSERT_TRUE(Parse(&current, Encode(pwm)));
  EXPECT_EQ(current.frequency(), 500u);
  EXPECT_TRUE(current.peakandholdenable());
  EXPECT_EQ(current.peakandholdpeakvalue(), -3);
  EXPECT_EQ(current.peakandholdpeaktime(), 7);
  EXPECT_EQ(current.peakandholdholdvalue(), 9);
  EXPECT_TRUE(current.peakandholdenableproportionalhold());
  EXPECT_EQ(Hex(Encode(current)), Hex(Encode(pwm)));
}

TEST(PwmConfigurationTest, ModeOutsideTheEnumerationIsKeptAndWrittenBack) {
  PwmConfiguration pwm;
  ASSERT_TRUE(Parse(&pwm, Bytes({0x10, 0x05})));
  EXPECT_EQ(static_cast<int>(pwm.mode()), 5);
  EXPECT_FALSE(PwmConfiguration_Mode_IsValid(5));
  EXPECT_ENCODES(pwm, {0x10, 0x05});
}

TEST(CurrentConfigurationTest, LambdaOneEncodesAsDouble) {
  CurrentConfiguration current;
  current.set_lambda(1.0);
  EXPECT_ENCODES(current, {0x49, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF0, 0x3F});
}

TEST(CurrentConfigurationTest, ResistanceDoubleIsWrittenAfterEveryIntegerField) {
  CurrentConfiguration current;
  current.set_resistance(1);
  current.set_resistancedouble(2.5);
  EXPECT_ENCODES(current, {0x10, 0x01, 0xD9, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04, 0x40});
}

TEST(CurrentConfigurationTest, NegativeZeroLambdaEncodesToNothing) {
  CurrentConfiguration current;
  current.set_lambda(-0.0);
  EXPECT_ENCODES(current, {});
}

TEST(CurrentConfigurationTest, UnusedOneIsARealZigzagField) {
  CurrentConfiguration current;
  current.set___unused1(-1);
  EXPECT_ENCODES(current, {0x50, 0x01});

  CurrentConfiguration back;
  ASSERT_TRUE(Parse(&back, Bytes({0x50, 0x01})));
  EXPECT_EQ(back.__unused1(), -1);
}

TEST(CurrentConfigurationTest, UnusedFieldsKeepTheirNamesInReflection) {
  const google::protobuf::Descriptor* d = CurrentConfiguration::descriptor();
  const char* names[] = {"__unused1", "__unused2", "__unused3", "__unused4", "__unused5", "__unused6"};
  const int numbers[] = {10, 11, 12, 13, 14, 16};
  for (int i = 0; i < 6; ++i) {
    const google::protobuf::FieldDescriptor* f = d->FindFieldByName(names[i]);
    ASSERT_NE(f, nullptr) << names[i];
    EXPECT_EQ(f->number(), numbers[i]) << names[i];
  }
  EXPECT_EQ(CurrentConfiguration::kUnused1FieldNumber, 10);
  EXPECT_EQ(CurrentConfiguration::kUnused6FieldNumber, 16);

  // Reflection reaches them like any other field.
  CurrentConfiguration current;
  current.GetReflection()->SetUInt32(&current, d->FindFieldByName("__unused6"), 3);
  EXPECT_EQ(current.__unused6(), 3u);
  EXPECT_ENCODES(current, {0x80, 0x01, 0x03});
}

TEST(CurrentConfigurationTest, FieldsAreWrittenInAscendingNumberWithDoublesLast) {
  CurrentConfiguration c;
  c.set_resistance(1);
  c.set_resistancedouble(1.0);
  c.set_resistancemin(1.0);
  c.set_resistancemax(1.0);
  c.set_currentrange(1);
  c.set_currentrangedouble(1.0);
  c.set_enableinterpolation(true);
  c.set_inminvalue(1);
  c.set_inmaxvalue(1);
  c.set_outminvalue(1);
  c.set_outmaxvalue(1);
  c.set_lambda(1.0);
  c.set_temperatureinput(1);
  c.set_frequency(1);
  c.set_peakandholdenable(true);
  c.set_peakandholdpeakvalue(1);
  c.set_peakandholdpeaktime(1);
  c.set_peakandholdholdvalue(1);
  c.set_peakandholdenableproportionalhold(true);
  c.set___unused1(1);
  c.set___unused2(1);
  c.set___unused3(1);
  c.set___unused4(1);
  c.set___unused5(1);
  c.set___unused6(1);
  EXPECT_ENCODES(c, {
      0x10, 0x01,                                            // resistance (2)
      0x18, 0x01,                                            // currentRange (3)
      0x20, 0x01,                                            // enableInterpolation (4)
      0x28, 0x02, 0x30, 0x02, 0x38, 0x02, 0x40, 0x02,        // in/out min/max (5-8), zigzag
      0x49, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF0, 0x3F,  // lambda (9)
      0x50, 0x02, 0x58, 0x02, 0x60, 0x02, 0x68, 0x02, 0x70, 0x02,  // __unused1-5 (10-14)
      0x78, 0x01,                                            // temperatureInput (15)
      0x80, 0x01, 0x01,                                      // __unused6 (16)
      0x88, 0x01, 0x01,                                      // frequency (17)
      0xA0, 0x01, 0x01,                                      // peakAndHoldEnable (20)
      0xA8, 0x01, 0x02, 0xB0, 0x01, 0x02, 0xB8, 0x01, 0x02,  // peak value/time, hold (21-23)
      0xC0, 0x01, 0x01,                                      // proportional hold (24)
      0xC9, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF0, 0x3F,  // resistanceMin (25)
      0xD1, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF0, 0x3F,  // resistanceMax (26)
      0xD9, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF0, 0x3F,  // resistanceDouble (27)
      0xE1, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF0, 0x3F,  // currentRangeDouble (28)
  });
}

// One double field of CurrentConfiguration with its accessors and the tag
// bytes it is written with.
struct DoubleField {
  const char* name;
  std::function<void(CurrentConfiguration*, double)> set;
  std::function<double(const CurrentConfiguration&)> get;
  std::vector<int> tag;
};

std::vector<DoubleField> CurrentDoubles() {
  return {
      {"lambda", &CurrentConfiguration::set_lambda, &CurrentConfiguration::lambda, {0x49}},
      {"resistanceMin", &CurrentConfiguration::set_resistancemin,
       &CurrentConfiguration::resistancemin, {0xC9, 0x01}},
      {"resistanceMax", &CurrentConfiguration::set_resistancemax,
       &CurrentConfiguration::resistancemax, {0xD1, 0x01}},
      {"resistanceDouble", &CurrentConfiguration::set_resistancedouble,
       &CurrentConfiguration::resistancedouble, {0xD9, 0x01}},
      {"currentRangeDouble", &CurrentConfiguration::set_currentrangedouble,
       &CurrentConfiguration::currentrangedouble, {0xE1, 0x01}},
  };
}

std::string TagThen(const std::vector<int>& tag, std::initializer_list<int> value) {
  std::string out;
  for (int b : tag) out.push_back(static_cast<char>(b));
  return out + Bytes(value);
}

TEST(CurrentConfigurationTest, EveryDoubleDropsNegativeZeroAndKeepsNaNWhenWritten) {
  ASSERT_EQ(CurrentDoubles().size(), 5u);
  for (const DoubleField& f : CurrentDoubles()) {
    SCOPED_TRACE(f.name);
    CurrentConfiguration negative_zero;
    f.set(&negative_zero, -0.0);
    ASSERT_TRUE(std::signbit(f.get(negative_zero)));
    EXPECT_EQ(Hex(Encode(negative_zero)), "");

    CurrentConfiguration nan;
    f.set(&nan, std::numeric_limits<double>::quiet_NaN());
    // The quiet NaN 0x7FF8000000000000, least significant byte first.
    EXPECT_EQ(Hex(Encode(nan)),
              Hex(TagThen(f.tag, {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF8, 0x7F})));

    CurrentConfiguration back;
    ASSERT_TRUE(Parse(&back, Encode(nan)));
    EXPECT_TRUE(std::isnan(f.get(back)));
  }
}

TEST(CurrentConfigurationTest, EveryDoubleMergesNaNButNotNegativeZero) {
  for (const DoubleField& f : CurrentDoubles()) {
    SCOPED_TRACE(f.name);
    CurrentConfiguration target;
    f.set(&target, 5.0);

    CurrentConfiguration negative_zero;
    f.set(&negative_zero, -0.0);
    target.MergeFrom(negative_zero);
    EXPECT_EQ(f.get(target), 5.0);

    CurrentConfiguration nan;
    f.set(&nan, std::numeric_limits<double>::quiet_NaN());
    target.MergeFrom(nan);
    EXPECT_TRUE(std::isnan(f.get(target)));
  }
}

TEST(CurrentConfigurationTest, NegativeZeroReadFromTheWireIsNotWrittenBack) {
  // A peer may send -0.0; it reads as stored but counts as zero when written.
  for (const DoubleField& f : CurrentDoubles()) {
    SCOPED_TRACE(f.name);
    CurrentConfiguration current;
    ASSERT_TRUE(Parse(&current, TagThen(f.tag, {0, 0, 0, 0, 0, 0, 0, 0x80})));
    EXPECT_EQ(f.get(current), 0.0);
    EXPECT_TRUE(std::signbit(f.get(current)));
    EXPECT_EQ(Hex(Encode(current)), "");
  }
}

TEST(CurrentConfigurationTest, DoubleArrivingAsAnotherWireTypeIsAnUnknownField) {
  // Field 9 (lambda) as a varint: tag 0x48.
  CurrentConfiguration current;
  ASSERT_TRUE(Parse(&current, Bytes({0x48, 0x01})));
  EXPECT_EQ(current.lambda(), 0.0);
  const google::protobuf::UnknownFieldSet& unknown =
      current.GetReflection()->GetUnknownFields(current);
  ASSERT_EQ(unknown.field_count(), 1);
  EXPECT_EQ(unknown.field(0).number(), 9);
  EXPECT_EQ(unknown.field(0).type(), google::protobuf::UnknownField::TYPE_VARINT);
  EXPECT_EQ(unknown.field(0).varint(), 1u);
}

// Runtime 3.21 has no proto3 preserve-unknown switch: proto3 records always
// write kept unknown fields back, after the known fields.
TEST(CurrentConfigurationTest, UnknownFieldIsWrittenBackAfterKnownFieldsPinsRuntime321Behaviour) {
  CurrentConfiguration current;
  ASSERT_TRUE(Parse(&current, Bytes({0x48, 0x01, 0x10, 0x02})));
  EXPECT_EQ(current.resistance(), 2u);
  EXPECT_ENCODES(current, {0x10, 0x02, 0x48, 0x01});
}

TEST(DacConfigurationTest, FieldsEncodeInOrderWithZigzagScaling) {
  DacConfiguration dac;
  dac.set_range(DacConfiguration::rangeRaw);
  dac.set_enableinterpolation(true);
  dac.set_inminvalue(-1);
  dac.set_inmaxvalue(1);
  dac.set_outminvalue(-64);
  dac.set_outmaxvalue(64);
  EXPECT_ENCODES(dac, {0x08, 0x03, 0x10, 0x01, 0x18, 0x01, 0x20, 0x02, 0x28, 0x7F, 0x30, 0x80, 0x01});
}

TEST(DacConfigurationTest, RangeIsItsOwnEnumeration) {
  EXPECT_TRUE(DacConfiguration_DacRange_IsValid(3));
  EXPECT_FALSE(DacConfiguration_DacRange_IsValid(4));
  EXPECT_EQ(DacConfiguration::rangeGcu5V, 1);
  EXPECT_EQ(DacConfiguration_DacRange_descriptor()->full_name(), "DacConfiguration.DacRange");
}

TEST(PowerOutputConfigDataTest, HickupCountEncodes) {
  PowerOutputConfigData power;
  power.set_hickupcount(3);
  EXPECT_ENCODES(power, {0x28, 0x03});
}

TEST(PowerOutputConfigDataTest, EveryFieldEncodesInNumberOrder) {
  PowerOutputConfigData power;
  power.set_overcurrenterroroutputids(1);
  power.set_undercurrentwarningoutputids(2);
  power.set_softstartrisetime(3);
  power.set_hickupdelay(4);
  power.set_hickupcount(5);
  power.set_hickupcounterresetdelay(6);
  power.set_undercurrentlimit(7);
  power.set_overcurrentlimit(4294967295u);
  EXPECT_ENCODES(power, {0x08, 0x01, 0x10, 0x02, 0x18, 0x03, 0x20, 0x04, 0x28, 0x05, 0x30, 0x06,
                         0x38, 0x07, 0x40, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F});
}

TEST(PowerOutputConfigDataTest, CapitalisedNamesAreKeptInReflection) {
  const google::protobuf::Descriptor* d = PowerOutputConfigData::descriptor();
  ASSERT_NE(d->FindFieldByName("OvercurrentErrorOutputIds"), nullptr);
  ASSERT_NE(d->FindFieldByName("UndercurrentWarningOutputIds"), nullptr);
  EXPECT_EQ(d->FindFieldByName("overcurrentErrorOutputIds"), nullptr);
  EXPECT_EQ(d->FindFieldByName("hickupCounterResetDelay")->number(), 6);
  EXPECT_EQ(PowerOutputConfigData::kOvercurrentErrorOutputIdsFieldNumber, 1);
  EXPECT_EQ(PowerOutputConfigData::kUndercurrentWarningOutputIdsFieldNumber, 2);
}

TEST(TachoOutputConfigDataTest, ToothCountAndIdleStateEncode) {
  TachoOutputConfigData tacho;
  tacho.set_toothcount(4);
  tacho.set_idlestate(TachoOutputConfigData::isKeep);
  EXPECT_ENCODES(tacho, {0x08, 0x04, 0x10, 0x02});
  EXPECT_FALSE(TachoOutputConfigData_IdleState_IsValid(3));
  EXPECT_TRUE(TachoOutputConfigData_IdleState_IsValid(2));
}

TEST(TachoOutputConfigDataTest, NegativeToothCountIsATenByteVarint) {
  TachoOutputConfigData tacho;
  tacho.set_toothcount(-1);
  EXPECT_ENCODES(tacho, {0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01});
}

}  // namespace
}  // namespace gcuschema::test
