// Settings records of outputs that are not a driven pin: a CAN frame signal,
// a CAN object, an output driven through a curve, and the test output.
#include <string>

#include <gtest/gtest.h>

#include <gcuschema/CanObjectOutput.pb.h>
#include <gcuschema/CanbusOutputConfiguration.pb.h>
#include <gcuschema/MapOutputConfigData.pb.h>
#include <gcuschema/TestOutputConfiguration.pb.h>

#include "support/wire.h"

namespace gcuschema::test {
namespace {

TEST(BusOutputsTest, EveryRecordWithAllFieldsZeroAndListsEmptyEncodesToNothing) {
  EXPECT_ENCODES(CanbusOutputConfiguration(), {});
  EXPECT_ENCODES(CanObjectOutputData(), {});
  EXPECT_ENCODES(MapOutputConfigData(), {});
  EXPECT_ENCODES(TestOutputConfiguration(), {});

  // Lists that were filled and emptied again write nothing either.
  MapOutputConfigData map;
  map.add_inputvalues(1);
  map.clear_inputvalues();
  map.set_outputid(0);
  EXPECT_ENCODES(map, {});
  CanbusOutputConfiguration can;
  can.set_messageid(0);
  can.set_type(CanbusOutputConfiguration::UnsignedBigEndian);
  EXPECT_ENCODES(can, {});
}

TEST(CanbusOutputConfigurationTest, MessageIdCounterFieldAndInMaxEncode) {
  CanbusOutputConfiguration can;
  can.set_messageid(0x123);
  can.set_type(CanbusOutputConfiguration::CounterField);
  can.set_inmaxvalue(100);
  EXPECT_ENCODES(can, {0x15, 0x23, 0x01, 0x00, 0x00, 0x20, 0x06, 0x60, 0x64});
}

TEST(CanbusOutputConfigurationTest, FieldsAreWrittenInAscendingNumberNotDeclarationOrder) {
  CanbusOutputConfiguration can;
  can.set_inmaxvalue(12);
  can.set_inminvalue(11);
  can.set_defaultvalue(10);
  can.set_rawmaxvalue(8);
  can.set_rawminvalue(7);
  can.set_offset(6);
  can.set_length(5);
  can.set_type(CanbusOutputConfiguration::BitCounterField);
  can.set_messageidtype(CanbusOutputConfiguration::Standard);
  can.set_messageid(0x18FEF100);
  EXPECT_ENCODES(can, {0x15, 0x00, 0xF1, 0xFE, 0x18, 0x18, 0x01, 0x20, 0x07, 0x28, 0x05,
                       0x30, 0x06, 0x38, 0x07, 0x40, 0x08, 0x50, 0x0A, 0x58, 0x0B, 0x60, 0x0C});
}

TEST(CanbusOutputConfigurationTest, NegativeScalingValueIsATenByteVarint) {
  CanbusOutputConfiguration can;
  can.set_rawminvalue(-1);
  EXPECT_ENCODES(can, {0x38, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01});
}

TEST(CanbusOutputConfigurationTest, OutputTypeFiveIsAGap) {
  for (int v : {0, 1, 2, 3, 4, 6, 7}) {
    EXPECT_TRUE(CanbusOutputConfiguration_OutputType_IsValid(v)) << v;
  }
  for (int v : {5, 8, -1}) {
    EXPECT_FALSE(CanbusOutputConfiguration_OutputType_IsValid(v)) << v;
  }
  EXPECT_EQ(CanbusOutputConfiguration::OutputType_MAX, 7);
  EXPECT_EQ(CanbusOutputConfiguration::OutputType_ARRAYSIZE, 8);
  EXPECT_EQ(CanbusOutputConfiguration::CounterField, 6);
  EXPECT_EQ(CanbusOutputConfiguration_OutputType_descriptor()->FindValueByNumber(5), nullptr);
}

TEST(CanbusOutputConfigurationTest, ParsedTypeFiveIsKeptAndWrittenBack) {
  CanbusOutputConfiguration can;
  ASSERT_TRUE(Parse(&can, Bytes({0x20, 0x05})));
  EXPECT_EQ(static_cast<int>(can.type()), 5);
  EXPECT_ENCODES(can, {0x20, 0x05});
}

TEST(CanbusOutputConfigurationTest, ZeroMessageIdIsNotWritten) {
  CanbusOutputConfiguration can;
  can.set_messageid(0);
  can.set_length(8);
  EXPECT_ENCODES(can, {0x28, 0x08});
}

TEST(CanObjectOutputDataTest, CanObjectIdEncodes) {
  CanObjectOutputData object;
  object.set_canobjectid(300);
  EXPECT_ENCODES(object, {0x08, 0xAC, 0x02});
}

TEST(MapOutputConfigDataTest, OutputAxisIsWrittenBeforeInputAxis) {
  MapOutputConfigData map;
  map.set_outputid(1);
  map.set_defaultvalue(-1);
  map.add_inputvalues(10);
  map.add_outputvalues(20);
  EXPECT_ENCODES(map, {0x08, 0x01, 0x10, 0x01, 0x1A, 0x01, 0x28, 0x22, 0x01, 0x14});
}

TEST(MapOutputConfigDataTest, ListsOfUnequalLengthAreCarriedAsTheyAre) {
  MapOutputConfigData map;
  map.add_inputvalues(-1);
  map.add_inputvalues(1);
  map.add_inputvalues(64);
  EXPECT_ENCODES(map, {0x22, 0x04, 0x01, 0x02, 0x80, 0x01});
  MapOutputConfigData back;
  ASSERT_TRUE(Parse(&back, Encode(map)));
  ASSERT_EQ(back.inputvalues_size(), 3);
  EXPECT_EQ(back.outputvalues_size(), 0);
  EXPECT_EQ(back.inputvalues(0), -1);
  EXPECT_EQ(back.inputvalues(2), 64);
}

TEST(MapOutputConfigDataTest, UnpackedElementsAreAccepted) {
  // 0x18 0x01: field 3 as one zigzag varint element (-1), twice.
  MapOutputConfigData map;
  ASSERT_TRUE(Parse(&map, Bytes({0x18, 0x01, 0x18, 0x02})));
  ASSERT_EQ(map.outputvalues_size(), 2);
  EXPECT_EQ(map.outputvalues(0), -1);
  EXPECT_EQ(map.outputvalues(1), 1);
  EXPECT_ENCODES(map, {0x1A, 0x02, 0x01, 0x02});
}

// An unpacked element directly followed by a packed run of the same field:
// runtime 3.21 reads the run as a packed run, appending all its elements.
TEST(MapOutputConfigDataTest, UnpackedThenPackedRunReadsBothPinsRuntime321Behaviour) {
  MapOutputConfigData map;
  ASSERT_TRUE(Parse(&map, Bytes({0x18, 0x01, 0x1A, 0x02, 0x04, 0x06})));
  ASSERT_EQ(map.outputvalues_size(), 3);
  EXPECT_EQ(map.outputvalues(0), -1);
  EXPECT_EQ(map.outputvalues(1), 2);
  EXPECT_EQ(map.outputvalues(2), 3);
}

TEST(TestOutputConfigurationTest, MessageIdIsFixedWidth) {
  TestOutputConfiguration test;
  test.set_messageid(0x100);
  EXPECT_ENCODES(test, {0x6D, 0x00, 0x01, 0x00, 0x00});
}

TEST(TestOutputConfigurationTest, EveryFieldEncodesWithItsTag) {
  TestOutputConfiguration test;
  test.set_range(TestOutputConfiguration::rangeRaw);
  test.set_saturation(true);
  test.set_enableinterpolation(true);
  test.set_inminvalue(-1);
  test.set_outputid(2);
  test.add_inputvalues(1);
  test.add_outputvalues(-1);
  test.add_outputids(-1);
  test.set_messageid(0x100);
  EXPECT_ENCODES(test, {0x08, 0x03, 0x10, 0x01, 0x20, 0x01, 0x28, 0x01, 0x48, 0x02,
                        0x52, 0x01, 0x02, 0x5A, 0x01, 0x01,
                        0x62, 0x0A, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01,
                        0x6D, 0x00, 0x01, 0x00, 0x00});

  TestOutputConfiguration back;
  ASSERT_TRUE(Parse(&back, Encode(test)));
  EXPECT_EQ(back.range(), TestOutputConfiguration::rangeRaw);
  EXPECT_EQ(back.inminvalue(), -1);
  ASSERT_EQ(back.outputids_size(), 1);
  EXPECT_EQ(back.outputids(0), -1);
  EXPECT_EQ(back.messageid(), 0x100u);
}

TEST(TestOutputConfigurationTest, RangeIsItsOwnEnumeration) {
  EXPECT_TRUE(TestOutputConfiguration_TestOutputRange_IsValid(3));
  EXPECT_FALSE(TestOutputConfiguration_TestOutputRange_IsValid(4));
  EXPECT_EQ(TestOutputConfiguration_TestOutputRange_descriptor()->full_name(),
            "TestOutputConfiguration.TestOutputRange");
}

}  // namespace
}  // namespace gcuschema::test
