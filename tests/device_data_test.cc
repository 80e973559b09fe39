// The device data image: a version, the unit's serial number and six opaque
// blocks that hold the unit's stored documents as bytes.
#include <string>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/stubs/logging.h>
#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <gcuschema/DeviceData.pb.h>

#include "support/runtime_log.h"
#include "support/wire.h"

namespace gcuschema::test {
namespace {

TEST(DeviceDataTest, EmptyImageEncodesToNothing) {
  EXPECT_ENCODES(DeviceData(), {});

  // Explicit zeros and empty blocks are the same as unset ones.
  DeviceData image;
  image.set_version(0);
  image.set_gcuserialno("");
  image.set_config("");
  image.set_staticadaptation("");
  EXPECT_ENCODES(image, {});
}

TEST(DeviceDataTest, VersionAndSerialNumberEncode) {
  DeviceData image;
  image.set_version(1);
  image.set_gcuserialno("G7");
  EXPECT_ENCODES(image, {0x08, 0x01, 0x12, 0x02, 0x47, 0x37});
}

TEST(DeviceDataTest, ConfigBlockIsWrittenAsItIsIncludingNonTextBytes) {
  DeviceData image;
  image.set_config(Bytes({0x0A, 0x00, 0xFF}));
  EXPECT_ENCODES(image, {0x52, 0x03, 0x0A, 0x00, 0xFF});
}

TEST(DeviceDataTest, StaticAdaptationHasTwoByteTagAndFollowsTransmissionConfig) {
  DeviceData image;
  image.set_staticadaptation(Bytes({0x00}));
  EXPECT_ENCODES(image, {0x8A, 0x01, 0x01, 0x00});

  // Set in the reverse order: the writer still goes by field number.
  image.set_transmissionconfig(Bytes({0x01}));
  EXPECT_ENCODES(image, {0x82, 0x01, 0x01, 0x01, 0x8A, 0x01, 0x01, 0x00});
}

TEST(DeviceDataTest, AdaptationBackupIsWrittenBeforeTheLiveAdaptation) {
  DeviceData image;
  image.set_valveadaptation(Bytes({0x03}));
  image.set_dynamicadaptation(Bytes({0x02}));
  image.set_dynamicadaptationbackup(Bytes({0x01}));
  EXPECT_ENCODES(image, {0x6A, 0x01, 0x01, 0x72, 0x01, 0x02, 0x7A, 0x01, 0x03});
}

TEST(DeviceDataTest, EveryFieldWrittenInNumberOrder) {
  DeviceData image;
  image.set_staticadaptation("f");
  image.set_transmissionconfig("e");
  image.set_valveadaptation("d");
  image.set_dynamicadaptation("c");
  image.set_dynamicadaptationbackup("b");
  image.set_config("a");
  image.set_gcuserialno("S");
  image.set_version(300);
  EXPECT_ENCODES(image, {0x08, 0xAC, 0x02,           // version 300
                         0x12, 0x01, 0x53,           // gcuSerialNo
                         0x52, 0x01, 0x61,           // config
                         0x6A, 0x01, 0x62,           // dynamicAdaptationBackup
                         0x72, 0x01, 0x63,           // dynamicAdaptation
                         0x7A, 0x01, 0x64,           // valveAdaptation
                         0x82, 0x01, 0x01, 0x65,     // transmissionConfig
                         0x8A, 0x01, 0x01, 0x66});   // staticAdaptation
}

TEST(DeviceDataTest, InvalidUtf8InSerialNumberFailsTheParse) {
  DeviceData image;
  EXPECT_FALSE(Parse(&image, Bytes({0x12, 0x01, 0xC0})));
}

TEST(DeviceDataTest, InvalidUtf8InConfigBlockParsesAndIsKept) {
  DeviceData image;
  ASSERT_TRUE(Parse(&image, Bytes({0x52, 0x01, 0xC0})));
  EXPECT_EQ(Hex(image.config()), "C0");
}

TEST(DeviceDataTest, BlocksKeepZeroBytes) {
  DeviceData image;
  ASSERT_TRUE(Parse(&image, Bytes({0x72, 0x03, 0x00, 0x00, 0x01})));
  EXPECT_EQ(Hex(image.dynamicadaptation()), "00 00 01");
}

TEST(DeviceDataTest, LaterOccurrenceOfABlockReplacesTheEarlierOne) {
  DeviceData image;
  ASSERT_TRUE(Parse(&image, Bytes({0x52, 0x01, 0x01, 0x52, 0x01, 0x02})));
  EXPECT_EQ(Hex(image.config()), "02");
  EXPECT_ENCODES(image, {0x52, 0x01, 0x02});
}

TEST(DeviceDataTest, BlockRunningPastTheEndOfInputFailsTheParse) {
  DeviceData image;
  EXPECT_FALSE(Parse(&image, Bytes({0x7A, 0x05, 0x01, 0x02})));
}

// An invalid serial number is still written; the runtime logs the field's
// name. Captured here so that the name is the one the record registers.
TEST(DeviceDataTest, InvalidUtf8InSerialNumberIsLoggedAndWrittenAnyway) {
  DeviceData image;
  image.set_gcuserialno(Bytes({0xC0}));
  std::string bytes;
  std::string logged;
  {
    LogCapture log;
    bytes = Encode(image);
    logged = log.Text();
  }
  EXPECT_EQ(Hex(bytes), "12 01 C0");
  EXPECT_NE(logged.find("DeviceData.gcuSerialNo"), std::string::npos) << logged;
}

TEST(DeviceDataTest, UnassignedNumbersAreUnknownFields) {
  DeviceData image;
  // Field 3 (varint 7) and field 11 (one byte): neither is assigned.
  ASSERT_TRUE(Parse(&image, Bytes({0x18, 0x07, 0x5A, 0x01, 0x09})));
  EXPECT_TRUE(image.config().empty());
  const google::protobuf::UnknownFieldSet& unknown = image.GetReflection()->GetUnknownFields(image);
  ASSERT_EQ(unknown.field_count(), 2);
  EXPECT_EQ(unknown.field(0).number(), 3);
  EXPECT_EQ(unknown.field(0).varint(), 7u);
  EXPECT_EQ(unknown.field(1).number(), 11);
  EXPECT_EQ(Hex(unknown.field(1).length_delimited()), "09");
}

// Runtime 3.21 has no switch for proto3 unknown fields: it always writes
// them back, after the known fields.
TEST(DeviceDataTest, PinsRuntime321WritingUnknownFieldsBackAfterKnownFields) {
  DeviceData image;
  ASSERT_TRUE(Parse(&image, Bytes({0x18, 0x07, 0x08, 0x01})));
  EXPECT_ENCODES(image, {0x08, 0x01, 0x18, 0x07});
}

TEST(DeviceDataTest, DescriptorKeepsTheRegisteredFieldsInNumberOrder) {
  const google::protobuf::Descriptor* d = DeviceData::descriptor();
  EXPECT_EQ(d->full_name(), "DeviceData");
  EXPECT_EQ(d->file()->name(), "DeviceData.proto");
  EXPECT_EQ(d->file()->package(), "");
  const char* const names[] = {"version",          "gcuSerialNo",       "config",
                               "dynamicAdaptationBackup", "dynamicAdaptation",
                               "valveAdaptation",  "transmissionConfig", "staticAdaptation"};
  const int numbers[] = {1, 2, 10, 13, 14, 15, 16, 17};
  ASSERT_EQ(d->field_count(), 8);
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(d->field(i)->name(), names[i]);
    EXPECT_EQ(d->field(i)->number(), numbers[i]);
  }
  EXPECT_EQ(d->FindFieldByName("version")->type(), google::protobuf::FieldDescriptor::TYPE_UINT32);
  EXPECT_EQ(d->FindFieldByName("gcuSerialNo")->type(), google::protobuf::FieldDescriptor::TYPE_STRING);
  for (int i = 2; i < 8; ++i)
    EXPECT_EQ(d->field(i)->type(), google::protobuf::FieldDescriptor::TYPE_BYTES) << d->field(i)->name();
}

}  // namespace
}  // namespace gcuschema::test
