// CAN bus topology records.
#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>

#include "support/wire.h"

namespace gcuschema::test {
namespace {

TEST(CanbusTest, FdFieldsAreWrittenLastThoughDeclaredThird) {
  Canbus bus;
  bus.set_canbusid(1);
  bus.set_enabletermination(true);
  bus.set_fdenable(true);
  bus.set_fdbaudrate(2000000);
  bus.set_standardinputframecount(1);
  CanbusInputFrameDescription* frame = bus.add_standardinputframes();
  frame->set_messageid(0x123);
  frame->set_inputcount(2);
  EXPECT_ENCODES(bus, {0x08, 0x01, 0x18, 0x01, 0x22, 0x07, 0x0D, 0x23, 0x01, 0x00, 0x00,
                       0x10, 0x02, 0x58, 0x01, 0x70, 0x01, 0x78, 0x80, 0x89, 0x7A});
}

TEST(CanbusTest, DeclarationOrderPutsFdFieldsAfterBaudrate) {
  const google::protobuf::Descriptor* d = Canbus::descriptor();
  ASSERT_EQ(d->field_count(), 15);
  EXPECT_EQ(d->field(2)->name(), "fdEnable");
  EXPECT_EQ(d->field(3)->name(), "fdBaudrate");
  EXPECT_EQ(d->field(4)->name(), "enableTermination");
  EXPECT_EQ(d->field(5)->name(), "standardInputFrameCount");
}

TEST(CanbusInputFrameDescriptionTest, LargestExtendedIdIsFixedFourBytes) {
  CanbusInputFrameDescription frame;
  frame.set_messageid(536870911u);
  EXPECT_ENCODES(frame, {0x0D, 0xFF, 0xFF, 0xFF, 0x1F});
}

TEST(CanbusInputFrameDescriptionTest, EmptyFrameIsNothingButStillAListElement) {
  CanbusInputFrameDescription frame;
  EXPECT_ENCODES(frame, {});
  Canbus bus;
  bus.add_standardinputframes();
  EXPECT_ENCODES(bus, {0x22, 0x00});
}

TEST(CanbusTest, BaudrateIsAVarint) {
  Canbus bus;
  bus.set_baudrate(500000);
  EXPECT_ENCODES(bus, {0x10, 0xA0, 0xC2, 0x1E});
}

TEST(CanbusTest, CountsAreIndependentOfLists) {
  Canbus bus;
  bus.set_standardinputframecount(5);
  const std::string bytes = Encode(bus);
  EXPECT_EQ(Hex(bytes), Hex(Bytes({0x18, 0x05})));
  Canbus parsed;
  ASSERT_TRUE(Parse(&parsed, bytes));
  EXPECT_EQ(parsed.standardinputframecount(), 5);
  EXPECT_EQ(parsed.standardinputframes_size(), 0);
}

TEST(CanbusTest, MergingAppendsFramesButKeepsCountsAsScalars) {
  Canbus a;
  a.set_standardinputframecount(1);
  a.add_standardinputframes()->set_messageid(1);
  Canbus b(a);
  a.MergeFrom(b);
  EXPECT_EQ(a.standardinputframes_size(), 2);
  EXPECT_EQ(a.standardinputframecount(), 1);
}

TEST(CanbusOutputFrameDescriptionTest, UpdateIfDirtyAloneIsTwoBytes) {
  CanbusOutputFrameDescription frame;
  frame.set_updateifdirty(true);
  EXPECT_ENCODES(frame, {0x28, 0x01});
}

TEST(CanbusInputFrameDescriptionTest, MessageIdAsVarintIsAnUnknownField) {
  CanbusInputFrameDescription frame;
  ASSERT_TRUE(Parse(&frame, Bytes({0x08, 0x05})));
  EXPECT_EQ(frame.messageid(), 0u);
  EXPECT_EQ(frame.GetReflection()->GetUnknownFields(frame).field_count(), 1);
  EXPECT_ENCODES(frame, {0x08, 0x05});
}

TEST(CanbusEntityHandlerTest, ConfigIsOpaqueBytes) {
  CanbusEntityHandler handler;
  ASSERT_TRUE(Parse(&handler, Bytes({0x08, 0x02, 0x10, 0x03, 0x1A, 0x02, 0xC3, 0x28})));
  EXPECT_EQ(handler.entityid(), 2);
  EXPECT_EQ(handler.type(), 3);
  EXPECT_EQ(handler.config(), Bytes({0xC3, 0x28}));
}

TEST(CanbusRouterTest, NegativeIdsAreTenBytes) {
  CanbusRouter router;
  router.set_sourcecanbusid(-1);
  router.set_destinationcanbusid(2);
  EXPECT_ENCODES(router, {0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01,
                          0x10, 0x02});
}

TEST(CanbusTest, ElementRunningPastTheEndFailsTheParse) {
  Canbus bus;
  EXPECT_FALSE(Parse(&bus, Bytes({0x22, 0x05, 0x0D, 0x01})));
}

}  // namespace
}  // namespace gcuschema::test
