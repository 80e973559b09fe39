// The configuration document root and its display units.
#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>

#include "support/wire.h"

namespace gcuschema::test {
namespace {

TEST(ConfigDataTest, EmptyDocumentEncodesToNothing) {
  ConfigData document;
  EXPECT_ENCODES(document, {});
}

TEST(ConfigDataTest, PresentEmptyUnitsIsWritten) {
  ConfigData document;
  document.mutable_units();
  EXPECT_ENCODES(document, {0x52, 0x00});
}

TEST(ConfigDataTest, CanbusRouterIsWrittenLast) {
  ConfigData document;
  document.set_version(3);
  document.mutable_units()->set_temperatureunit(Units::farenheit);
  document.set_gcuno("G1");
  document.add_canbusrouter()->set_destinationcanbusid(1);
  EXPECT_ENCODES(document, {0x08, 0x03, 0x52, 0x02, 0x20, 0x01, 0x5A, 0x02, 0x47, 0x31,
                            0x6A, 0x02, 0x10, 0x01});
}

TEST(ConfigDataTest, CanbusRouterIsEighthFieldByDeclaration) {
  const google::protobuf::Descriptor* d = ConfigData::descriptor();
  ASSERT_EQ(d->field_count(), 13);
  EXPECT_EQ(d->field(7)->name(), "canbusRouter");
  EXPECT_EQ(d->field(7)->number(), 13);
  EXPECT_EQ(d->field(8)->name(), "canObjectCount");
}

TEST(ConfigDataTest, InputEntryIsLengthDelimitedUnderTag1A) {
  ConfigData document;
  Input* input = document.add_inputs();
  input->set_type(4);
  input->set_alias("A");
  EXPECT_ENCODES(document, {0x1A, 0x05, 0x18, 0x04, 0x2A, 0x01, 0x41});
}

TEST(UnitsTest, UnknownPressureNumberIsKeptAndWrittenBack) {
  Units units;
  ASSERT_TRUE(Parse(&units, Bytes({0x08, 0x05})));
  EXPECT_EQ(units.pressureunit(), 5);
  EXPECT_FALSE(Units_Pressure_IsValid(units.pressureunit()));
  EXPECT_ENCODES(units, {0x08, 0x05});
}

TEST(UnitsTest, EachUnitFieldIsTaggedByItsNumber) {
  Units units;
  units.set_ratiounit(static_cast<Units_Ratio>(1));
  units.set_pressureunit(Units::mBar);
  EXPECT_ENCODES(units, {0x08, 0x02, 0x70, 0x01});
}

TEST(ConfigDataTest, InvalidUtf8InGcuNoFailsTheParse) {
  ConfigData document;
  EXPECT_FALSE(Parse(&document, Bytes({0x5A, 0x02, 0xC3, 0x28})));
}

TEST(ConfigDataTest, InvalidUtf8InsideAnInputConfigDoesNotAffectTheParse) {
  ConfigData document;
  ASSERT_TRUE(Parse(&document, Bytes({0x1A, 0x04, 0x32, 0x02, 0xC3, 0x28})));
  ASSERT_EQ(document.inputs_size(), 1);
  EXPECT_EQ(document.inputs(0).config(), Bytes({0xC3, 0x28}));
}

TEST(ConfigDataTest, InvalidUtf8InANestedEntryStringFailsTheParse) {
  ConfigData document;
  EXPECT_FALSE(Parse(&document, Bytes({0x1A, 0x04, 0x2A, 0x02, 0xC3, 0x28})));
}

TEST(ConfigDataTest, MergingAppendsSourceInputsAfterTheTargets) {
  ConfigData target;
  for (int id : {1, 2, 3}) target.add_inputs()->set_id(id);
  ConfigData source;
  for (int id : {4, 5}) source.add_inputs()->set_id(id);
  target.MergeFrom(source);
  ASSERT_EQ(target.inputs_size(), 5);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(target.inputs(i).id(), i + 1);
}

TEST(ConfigDataTest, RepeatedUnitsOccurrencesMerge) {
  ConfigData document;
  ASSERT_TRUE(Parse(&document, Bytes({0x52, 0x02, 0x08, 0x01, 0x52, 0x02, 0x18, 0x02})));
  EXPECT_EQ(document.units().pressureunit(), Units::Bar);
  EXPECT_EQ(document.units().timeunit(), Units::s);
}

TEST(ConfigDataTest, PasswordIsAnOrdinaryString) {
  ConfigData document;
  document.set_password("pw");
  document.set_canobjectcount(2);
  EXPECT_ENCODES(document, {0x12, 0x02, 0x70, 0x77, 0x40, 0x02});
}

}  // namespace
}  // namespace gcuschema::test
