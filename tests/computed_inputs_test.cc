// Wire behaviour of the computed input settings: CompareConfiguration,
// ConstantValueInputConfiguration, DivideInputConfigData, MapInputConfigData,
// CounterInputConfiguration, RbcInputConfigData, WaveformInputConfigData and
// TestInputConfiguration.
#include <cstdint>
#include <vector>

#include <google/protobuf/repeated_field.h>
#include <google/protobuf/stubs/common.h>
#include <gtest/gtest.h>

#include <gcuschema/CompareInput.pb.h>
#include <gcuschema/ConstantValueConfiguration.pb.h>
#include <gcuschema/CounterInputConfiguration.pb.h>
#include <gcuschema/DivideInputConfigData.pb.h>
#include <gcuschema/MapInputConfigData.pb.h>
#include <gcuschema/RbcInputConfigData.pb.h>
#include <gcuschema/TestInputConfiguration.pb.h>
#include <gcuschema/WaveformInputConfigData.pb.h>

#include "support/wire.h"

namespace gcuschema::test {
namespace {

template <class T>
std::vector<T> List(const google::protobuf::RepeatedField<T>& field) {
  return std::vector<T>(field.begin(), field.end());
}

TEST(ComputedInputsTest, EveryRecordAtZeroEncodesToNothing) {
  EXPECT_ENCODES(CompareConfiguration(), {});
  EXPECT_ENCODES(ConstantValueInputConfiguration(), {});
  EXPECT_ENCODES(DivideInputConfigData(), {});
  EXPECT_ENCODES(MapInputConfigData(), {});
  EXPECT_ENCODES(CounterInputConfiguration(), {});
  EXPECT_ENCODES(RbcInputConfigData(), {});
  EXPECT_ENCODES(WaveformInputConfigData(), {});
  EXPECT_ENCODES(TestInputConfiguration(), {});

  // Lists emptied after use are not written.
  WaveformInputConfigData wave;
  wave.add_falltriggertimevalues(1);
  wave.add_raisetriggerinputvalues(-1);
  EXPECT_ENCODES(wave, {0x42, 0x01, 0x02, 0x5A, 0x01, 0x01});
  wave.clear_falltriggertimevalues();
  wave.clear_raisetriggerinputvalues();
  EXPECT_ENCODES(wave, {});
}

TEST(ConstantValueInputConfigurationTest, NegativeValueIsZigzagged) {
  ConstantValueInputConfiguration constant;
  constant.set_value(-5);
  EXPECT_ENCODES(constant, {0x08, 0x09});
}

TEST(CompareConfigurationTest, ModeAndDeviationAreWrittenLast) {
  CompareConfiguration cmp;
  cmp.set_input(4);
  cmp.set_comparemode(CompareConfiguration::WindowCompare);
  cmp.set_deviation(10);
  EXPECT_ENCODES(cmp, {0x08, 0x04, 0x48, 0x03, 0x50, 0x0A});
}

TEST(CompareConfigurationTest, FilterIsWrittenBeforeModeAndDeviation) {
  CompareConfiguration cmp;
  cmp.set_input(1);
  cmp.set_value(-1);
  cmp.set_comparemode(CompareConfiguration::GreaterThan);
  cmp.set_deviation(10);
  cmp.set_enablefilter(true);
  cmp.set_delay(6);
  cmp.set_hold(7);
  cmp.set_interspace(8);
  EXPECT_ENCODES(cmp, {0x08, 0x01, 0x10, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01,
                       0x28, 0x01, 0x30, 0x0C, 0x38, 0x0E, 0x40, 0x10, 0x48, 0x02, 0x50, 0x0A});
}

TEST(DivideInputConfigDataTest, OperationIsWrittenWithItsOwnNumber) {
  DivideInputConfigData div;
  div.set_dividentinputid(1);
  div.set_operation(DivideInputConfigData::Xor);
  EXPECT_ENCODES(div, {0x08, 0x01, 0x48, 0x06});
}

TEST(DivideInputConfigDataTest, EveryFieldIsWrittenInNumberOrder) {
  DivideInputConfigData div;
  div.set_dividentinputid(1);
  div.set_dividerinputid(2);
  div.set_multiplier(-3);
  div.set_infinityvalue(1000);
  div.set_operation(DivideInputConfigData::Or);
  EXPECT_ENCODES(div, {0x08, 0x01, 0x10, 0x02, 0x18, 0x05, 0x20, 0xD0, 0x0F, 0x48, 0x05});
}

TEST(DivideInputConfigDataTest, UndeclaredOperationIsKeptAndWrittenBack) {
  EXPECT_FALSE(DivideInputConfigData_Operation_IsValid(7));
  DivideInputConfigData div;
  ASSERT_TRUE(Parse(&div, Bytes({0x48, 0x07})));
  EXPECT_EQ(static_cast<int>(div.operation()), 7);
  EXPECT_ENCODES(div, {0x48, 0x07});
}

TEST(MapInputConfigDataTest, OutputListIsWrittenBeforeInputList) {
  MapInputConfigData map;
  map.set_inputid(2);
  map.add_inputvalues(0);
  map.add_inputvalues(100);
  map.add_outputvalues(-1);
  map.add_outputvalues(1);
  EXPECT_ENCODES(map, {0x08, 0x02, 0x1A, 0x02, 0x01, 0x02, 0x22, 0x03, 0x00, 0xC8, 0x01});
}

TEST(MapInputConfigDataTest, ListsOfDifferentLengthsAreCarriedAsTheyAre) {
  MapInputConfigData map;
  ASSERT_TRUE(Parse(&map, Bytes({0x22, 0x03, 0x00, 0xC8, 0x01, 0x1A, 0x01, 0x01})));
  EXPECT_EQ(List(map.inputvalues()), (std::vector<std::int32_t>{0, 100}));
  EXPECT_EQ(List(map.outputvalues()), (std::vector<std::int32_t>{-1}));
}

TEST(CounterInputConfigurationTest, RoloverAloneIsTwoBytes) {
  CounterInputConfiguration counter;
  counter.set_rolover(true);
  EXPECT_ENCODES(counter, {0x48, 0x01});
}

TEST(CounterInputConfigurationTest, NegativeInputIdTakesTenBytes) {
  CounterInputConfiguration counter;
  counter.set_upinputid(-1);
  EXPECT_ENCODES(counter, {0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01});
}

TEST(CounterInputConfigurationTest, EveryFieldIsWrittenInNumberOrder) {
  CounterInputConfiguration counter;
  counter.set_upinputid(1);
  counter.set_downinputid(2);
  counter.set_resetinputid(3);
  counter.set_minvalue(-100);
  counter.set_maxvalue(100);
  counter.set_step(1);
  counter.set_startvalue(7);
  counter.set_resetvalue(8);
  counter.set_rolover(true);
  EXPECT_ENCODES(counter, {0x08, 0x01, 0x10, 0x02, 0x18, 0x03,
                           0x20, 0x9C, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01,
                           0x28, 0x64, 0x30, 0x01, 0x38, 0x07, 0x40, 0x08, 0x48, 0x01});
}

TEST(RbcInputConfigDataTest, InputIdsArePacked) {
  RbcInputConfigData rbc;
  rbc.add_inputids(1);
  rbc.add_inputids(2);
  rbc.add_inputids(3);
  EXPECT_ENCODES(rbc, {0x0A, 0x03, 0x01, 0x02, 0x03});
}

TEST(RbcInputConfigDataTest, UnpackedInputIdsGiveTheSameList) {
  RbcInputConfigData rbc;
  ASSERT_TRUE(Parse(&rbc, Bytes({0x08, 0x01, 0x08, 0x02, 0x08, 0x03})));
  EXPECT_EQ(List(rbc.inputids()), (std::vector<std::uint32_t>{1, 2, 3}));
  EXPECT_ENCODES(rbc, {0x0A, 0x03, 0x01, 0x02, 0x03});
}

// Runtimes of the 3.5 series misread a packed run that directly follows an
// unpacked element of the same field; 3.21 reads both forms, which this pins.
TEST(RbcInputConfigDataTest, PackedRunAfterUnpackedElementIsReadWholePinsRuntime321Behaviour) {
  ASSERT_EQ(GOOGLE_PROTOBUF_VERSION / 1000, 3021);
  RbcInputConfigData rbc;
  ASSERT_TRUE(Parse(&rbc, Bytes({0x08, 0x01, 0x0A, 0x02, 0x02, 0x03})));
  EXPECT_EQ(List(rbc.inputids()), (std::vector<std::uint32_t>{1, 2, 3}));
}

TEST(WaveformInputConfigDataTest, EveryFieldIsWrittenInNumberOrder) {
  WaveformInputConfigData wave;
  wave.set_inputid(1);
  wave.set_waveformfalltriggerrepeat(true);
  wave.set_waveformrisetriggerrepeat(true);
  wave.set_waveformfalltriggerminimumrepeats(4);
  wave.set_waveformrisetriggerminimumrepeats(5);
  wave.set_idlevalueatlowstate(-6);
  wave.set_idlevalueathighstate(7);
  wave.add_falltriggertimevalues(10);
  wave.add_falltriggertimevalues(-1);
  wave.add_falltriggerinputvalues(1);
  wave.add_raisetriggertimevalues(100);
  wave.add_raisetriggerinputvalues(-2);
  EXPECT_ENCODES(wave, {0x08, 0x01, 0x10, 0x01, 0x18, 0x01, 0x20, 0x04, 0x28, 0x05,
                        0x30, 0x0B, 0x38, 0x0E, 0x42, 0x02, 0x14, 0x01, 0x4A, 0x01, 0x02,
                        0x52, 0x02, 0xC8, 0x01, 0x5A, 0x01, 0x03});
}

TEST(TestInputConfigurationTest, MessageIdIsFourLittleEndianBytes) {
  TestInputConfiguration test;
  test.set_messageid(0x100);
  EXPECT_ENCODES(test, {0x6D, 0x00, 0x01, 0x00, 0x00});
}

TEST(TestInputConfigurationTest, EveryFieldIsWrittenInNumberOrder) {
  TestInputConfiguration test;
  test.set_range(TestInputConfiguration::rangeRaw);
  test.set_saturation(true);
  test.set_enableinterpolation(true);
  test.set_sint32value(-1);
  test.set_int32value(-1);
  test.set_uint32value(300);
  test.set_inputid(9);
  test.add_inputvalues(1);
  test.add_outputvalues(-1);
  test.add_inputids(-1);
  test.add_inputids(2);
  test.set_messageid(0x100);
  EXPECT_ENCODES(test, {0x08, 0x03, 0x10, 0x01, 0x20, 0x01, 0x28, 0x01,
                        0x30, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01,
                        0x38, 0xAC, 0x02, 0x48, 0x09, 0x52, 0x01, 0x02, 0x5A, 0x01, 0x01,
                        0x62, 0x0B, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01, 0x02,
                        0x6D, 0x00, 0x01, 0x00, 0x00});
}

}  // namespace
}  // namespace gcuschema::test
