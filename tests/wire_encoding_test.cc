// The encoding rules every record follows on the wire.
#include <cmath>
#include <limits>

#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/MapConfig.pb.h>

#include "support/wire.h"

namespace gcuschema::test {
namespace {

TEST(WireEncodingTest, ZeroValuesAndNegativeZeroFloatEncodeToNothing) {
  Input input;
  input.set_id(0);
  input.set_alias("");
  input.set_minvalue(-0.0f);
  EXPECT_ENCODES(input, {});
  EXPECT_EQ(input.ByteSizeLong(), 0u);
}

TEST(WireEncodingTest, BoolFieldElevenIsTwoBytes) {
  AdcConfiguration adc;
  adc.set_pullupenable(true);
  EXPECT_ENCODES(adc, {0x58, 0x01});
}

TEST(WireEncodingTest, FieldTwentyTakesATwoByteTag) {
  Input input;
  input.set_ispreset(true);
  EXPECT_ENCODES(input, {0xA0, 0x01, 0x01});
}

TEST(WireEncodingTest, NegativeSint32IsOneByteAndNegativeInt32IsTen) {
  Input channel;
  channel.set_dataloggerchannel(-1);
  EXPECT_ENCODES(channel, {0x10, 0x01});
  Input id;
  id.set_id(-1);
  EXPECT_ENCODES(id, {0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01});
}

TEST(WireEncodingTest, RepeatedDoublesArePackedAndUnpackedElementsAreRead) {
  Estimations packed;
  packed.add_thetavalues(1.0);
  EXPECT_ENCODES(packed, {0x1A, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF0, 0x3F});

  Estimations parsed;
  ASSERT_TRUE(Parse(&parsed, Bytes({0x19, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF0, 0x3F})));
  ASSERT_EQ(parsed.thetavalues_size(), 1);
  EXPECT_EQ(parsed.thetavalues(0), 1.0);
}

TEST(WireEncodingTest, InvalidUtf8FailsInStringsButNotInBytes) {
  Input in_alias;
  EXPECT_FALSE(Parse(&in_alias, Bytes({0x2A, 0x01, 0xFF})));
  Input in_config;
  ASSERT_TRUE(Parse(&in_config, Bytes({0x32, 0x01, 0xFF})));
  EXPECT_EQ(in_config.config(), Bytes({0xFF}));
}

// Runtime 3.21 has no switch for unknown fields of proto3 records: they are
// always kept and always written back, after the known fields.
TEST(WireEncodingTest, UnknownFieldsAreAlwaysKeptAndWrittenLastWithRuntime321) {
  Input input;
  ASSERT_TRUE(Parse(&input, Bytes({0xF8, 0x01, 0x07, 0x08, 0x02})));
  EXPECT_EQ(input.id(), 2);
  const google::protobuf::UnknownFieldSet& unknown = input.GetReflection()->GetUnknownFields(input);
  ASSERT_EQ(unknown.field_count(), 1);
  EXPECT_EQ(unknown.field(0).number(), 31);
  EXPECT_EQ(unknown.field(0).varint(), 7u);
  EXPECT_ENCODES(input, {0x08, 0x02, 0xF8, 0x01, 0x07});
}

TEST(WireEncodingTest, PresentEmptySubRecordIsWrittenAsTagAndZeroLength) {
  Input input;
  input.mutable_linearization();
  EXPECT_ENCODES(input, {0x3A, 0x00});
}

TEST(WireEncodingTest, PackedRunFirstThenUnpackedElementReadsBoth) {
  Map3D table;
  ASSERT_TRUE(Parse(&table, Bytes({0x0A, 0x01, 0x01, 0x08, 0x01})));
  ASSERT_EQ(table.x_size(), 2);
  EXPECT_EQ(table.x(0), -1);
  EXPECT_EQ(table.x(1), -1);
}

// Runtime 3.21 reads a packed run that follows an unpacked element of the
// same field as a packed run: both elements arrive and nothing is misread.
TEST(WireEncodingTest, PackedRunAfterUnpackedElementReadsBothWithRuntime321) {
  Map3D table;
  ASSERT_TRUE(Parse(&table, Bytes({0x08, 0x01, 0x0A, 0x01, 0x02})));
  ASSERT_EQ(table.x_size(), 2);
  EXPECT_EQ(table.x(0), -1);
  EXPECT_EQ(table.x(1), 1);
  EXPECT_ENCODES(table, {0x0A, 0x02, 0x01, 0x02});
}

TEST(WireEncodingTest, ParseMergesAndTheLastScalarWins) {
  Input input;
  ASSERT_TRUE(Parse(&input, Bytes({0x08, 0x01, 0x20, 0x05, 0x08, 0x02})));
  EXPECT_EQ(input.id(), 2);
  EXPECT_EQ(input.pin(), 5u);
  ASSERT_TRUE(MergeBytes(&input, Bytes({0x2A, 0x01, 0x42})));
  EXPECT_EQ(input.pin(), 5u);
  EXPECT_EQ(input.alias(), "B");
}

TEST(WireEncodingTest, WrongWireTypeForAKnownNumberIsAnUnknownField) {
  Input input;
  // Field 1 sent as fixed32 is not `id`.
  ASSERT_TRUE(Parse(&input, Bytes({0x0D, 0x01, 0x00, 0x00, 0x00})));
  EXPECT_EQ(input.id(), 0);
  EXPECT_EQ(input.GetReflection()->GetUnknownFields(input).field_count(), 1);
  EXPECT_ENCODES(input, {0x0D, 0x01, 0x00, 0x00, 0x00});
}

TEST(WireEncodingTest, TruncatedValueFailsAndKeepsWhatWasRead) {
  Input input;
  EXPECT_FALSE(input.MergeFromString(Bytes({0x08, 0x05, 0x2A, 0x05, 0x41})));
  EXPECT_EQ(input.id(), 5);
}

TEST(WireEncodingTest, NanFloatIsWritten) {
  Input input;
  input.set_maxvalue(std::numeric_limits<float>::quiet_NaN());
  EXPECT_ENCODES(input, {0x4D, 0x00, 0x00, 0xC0, 0x7F});
}

TEST(WireEncodingTest, FieldsAreWrittenInNumberOrder) {
  Input input;
  input.set_ispreset(true);
  input.set_unit("V");
  input.set_id(1);
  EXPECT_ENCODES(input, {0x08, 0x01, 0x52, 0x01, 0x56, 0xA0, 0x01, 0x01});
}

TEST(WireEncodingTest, StreamAndArrayWritersGiveTheSameBytes) {
  ConfigData document;
  document.set_version(2);
  Input* in = document.add_inputs();
  in->set_alias("a");
  in->mutable_linearization()->set_config(Bytes({0x0A, 0x00}));
  std::string via_array = document.SerializeAsString();
  std::string via_stream;
  {
    google::protobuf::io::StringOutputStream out(&via_stream);
    google::protobuf::io::CodedOutputStream coded(&out);
    document.ByteSizeLong();
    document.SerializeWithCachedSizes(&coded);
  }
  EXPECT_EQ(Hex(via_stream), Hex(via_array));
}

}  // namespace
}  // namespace gcuschema::test
