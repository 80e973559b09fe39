// Wire behaviour of the bus and sensor input settings:
// CanbusInputConfiguration, CanObjectInputData, AhrsInputConfiguration and
// SystemInputConfigurationData.
#include <google/protobuf/stubs/common.h>
#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <gcuschema/AhrsInputConfig.pb.h>
#include <gcuschema/CanBusInputConfiguration.pb.h>
#include <gcuschema/CanObjectInput.pb.h>
#include <gcuschema/SystemInputConfigurationData.pb.h>

#include "support/wire.h"

namespace gcuschema::test {
namespace {

using google::protobuf::UnknownField;
using google::protobuf::UnknownFieldSet;

const UnknownFieldSet& UnknownOf(const google::protobuf::Message& record) {
  return record.GetReflection()->GetUnknownFields(record);
}

TEST(BusInputsTest, EveryRecordAtZeroEncodesToNothing) {
  EXPECT_ENCODES(CanbusInputConfiguration(), {});
  EXPECT_ENCODES(CanObjectInputData(), {});
  EXPECT_ENCODES(AhrsInputConfiguration(), {});
  EXPECT_ENCODES(SystemInputConfigurationData(), {});
}

TEST(CanbusInputConfigurationTest, FrameSelectionIsWrittenWithFixedWidthIdentifier) {
  CanbusInputConfiguration can;
  can.set_messageid(0x123);
  can.set_messageidtype(CanbusInputConfiguration::Standard);
  can.set_type(CanbusInputConfiguration::BitField);
  can.set_length(8);
  can.set_offset(16);
  EXPECT_ENCODES(can, {0x15, 0x23, 0x01, 0x00, 0x00, 0x18, 0x01, 0x20, 0x04, 0x28, 0x08, 0x30, 0x10});
}

TEST(CanbusInputConfigurationTest, IdentifierAlwaysTakesFiveBytesUnlessZero) {
  CanbusInputConfiguration can;
  can.set_messageid(1);
  EXPECT_ENCODES(can, {0x15, 0x01, 0x00, 0x00, 0x00});
  can.set_messageid(0xFFFFFFFFu);
  EXPECT_ENCODES(can, {0x15, 0xFF, 0xFF, 0xFF, 0xFF});
  can.set_messageid(0);
  EXPECT_ENCODES(can, {});
}

TEST(CanbusInputConfigurationTest, RawBoundIsSignExtendedButFaultBoundIsZigzagged) {
  CanbusInputConfiguration raw;
  raw.set_rawminvalue(-1);
  EXPECT_ENCODES(raw, {0x38, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01});

  CanbusInputConfiguration fault;
  fault.set_faultminvalue(-1);
  EXPECT_ENCODES(fault, {0x78, 0x01});
}

TEST(CanbusInputConfigurationTest, FaultInputIdIsWrittenLastAlthoughDeclaredTenth) {
  CanbusInputConfiguration can;
  can.set_faultinputid(5);
  can.set_timeoutmode(CanbusInputConfiguration::UseDefault);
  EXPECT_ENCODES(can, {0x60, 0x01, 0x88, 0x01, 0x05});
}

TEST(CanbusInputConfigurationTest, EveryFieldIsWrittenInNumberOrder) {
  CanbusInputConfiguration can;
  can.set_messageid(0x12345678);
  can.set_messageidtype(CanbusInputConfiguration::Standard);
  can.set_type(CanbusInputConfiguration::FloatBigEndian);
  can.set_length(8);
  can.set_offset(16);
  can.set_rawminvalue(1);
  can.set_rawmaxvalue(255);
  can.set_outminvalue(13);
  can.set_outmaxvalue(14);
  can.set_faultinputid(17);
  can.set_faultminvalue(-15);
  can.set_faultmaxvalue(16);
  can.set_saturate(true);
  can.set_defaultvalue(10);
  can.set_timeout(100);
  can.set_timeoutmode(CanbusInputConfiguration::UseDefault);
  EXPECT_ENCODES(can, {0x15, 0x78, 0x56, 0x34, 0x12, 0x18, 0x01, 0x20, 0x06, 0x28, 0x08,
                       0x30, 0x10, 0x38, 0x01, 0x40, 0xFF, 0x01, 0x48, 0x01, 0x50, 0x0A,
                       0x58, 0x64, 0x60, 0x01, 0x68, 0x0D, 0x70, 0x0E, 0x78, 0x1D,
                       0x80, 0x01, 0x20, 0x88, 0x01, 0x11});
}

TEST(CanbusInputConfigurationTest, IdentifierSentAsVarintIsKeptAsUnknownField) {
  CanbusInputConfiguration can;
  ASSERT_TRUE(Parse(&can, Bytes({0x10, 0x05})));
  EXPECT_EQ(can.messageid(), 0u);
  const UnknownFieldSet& unknown = UnknownOf(can);
  ASSERT_EQ(unknown.field_count(), 1);
  EXPECT_EQ(unknown.field(0).number(), 2);
  EXPECT_EQ(unknown.field(0).type(), UnknownField::TYPE_VARINT);
  EXPECT_EQ(unknown.field(0).varint(), 5u);
}

TEST(CanbusInputConfigurationTest, UndeclaredInputTypeIsKeptAndWrittenBack) {
  CanbusInputConfiguration can;
  ASSERT_TRUE(Parse(&can, Bytes({0x20, 0x07})));
  EXPECT_EQ(static_cast<int>(can.type()), 7);
  EXPECT_FALSE(CanbusInputConfiguration_InputType_IsValid(7));
  EXPECT_ENCODES(can, {0x20, 0x07});
}

TEST(CanObjectInputDataTest, HoldIsZigzagged) {
  CanObjectInputData obj;
  obj.set_canobjectid(3);
  obj.set_hold(-3);
  EXPECT_ENCODES(obj, {0x08, 0x03, 0x20, 0x05});
}

TEST(CanObjectInputDataTest, EveryFieldIsWrittenInNumberOrder) {
  CanObjectInputData obj;
  obj.set_canobjectid(200);
  obj.set_enablefilter(true);
  obj.set_delay(-1);
  obj.set_hold(2);
  obj.set_interspace(-3);
  EXPECT_ENCODES(obj, {0x08, 0xC8, 0x01, 0x10, 0x01, 0x18, 0x01, 0x20, 0x04, 0x28, 0x05});
}

TEST(AhrsInputConfigurationTest, SelectorsThenSignExtendedGyroRange) {
  AhrsInputConfiguration ahrs;
  ahrs.set_accx(1);
  ahrs.set_accy(2);
  ahrs.set_accz(3);
  ahrs.set_gyrox(4);
  ahrs.set_gyroy(5);
  ahrs.set_gyroz(6);
  ahrs.set_gyrorange(-1);
  EXPECT_ENCODES(ahrs, {0x08, 0x01, 0x10, 0x02, 0x18, 0x03, 0x20, 0x04, 0x28, 0x05, 0x30, 0x06,
                        0x38, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01});
}

TEST(SystemInputConfigurationDataTest, EveryFieldParsedIsUnknown) {
  SystemInputConfigurationData sys;
  EXPECT_EQ(sys.GetDescriptor()->field_count(), 0);
  ASSERT_TRUE(Parse(&sys, Bytes({0x08, 0x01})));
  const UnknownFieldSet& unknown = UnknownOf(sys);
  ASSERT_EQ(unknown.field_count(), 1);
  EXPECT_EQ(unknown.field(0).number(), 1);
  EXPECT_EQ(unknown.field(0).varint(), 1u);
}

// Whether a proto3 record writes back the unknown fields it kept depends on
// the runtime: 3.21, which this library is built against, always keeps and
// writes them (there is no switch to turn that off).
TEST(SystemInputConfigurationDataTest, KeptUnknownFieldIsWrittenBackPinsRuntime321Behaviour) {
  ASSERT_EQ(GOOGLE_PROTOBUF_VERSION / 1000, 3021);
  SystemInputConfigurationData sys;
  ASSERT_TRUE(Parse(&sys, Bytes({0x08, 0x01})));
  EXPECT_ENCODES(sys, {0x08, 0x01});
  sys.Clear();
  EXPECT_ENCODES(sys, {});
}

}  // namespace
}  // namespace gcuschema::test
