#include <gcuschema/document/diff.h>

#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/DigitalInputConfiguration.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/samples.h>

#include "support/wire.h"

namespace gcuschema::document {
namespace {

const PairingCatalogue& Standard() {
  static const PairingCatalogue pairing = PairingCatalogue::Standard();
  return pairing;
}

ConfigData Sample(int inputs = 24) {
  ConfigData config;
  SampleConfig(SampleOptions{inputs, 4}, &config);
  return config;
}

int FirstOfType(const ConfigData& config, int type) {
  for (int i = 0; i < config.inputs_size(); ++i) {
    if (config.inputs(i).type() == type) return i;
  }
  return -1;
}

// The differences as FormatDifferences prints them: compact to compare.
std::string Lines(const ConfigData& a, const ConfigData& b) { return FormatDifferences(Diff(a, b, {Standard()})); }

TEST(DiffTest, EqualDocumentsHaveNoDifferences) {
  const ConfigData config = Sample(200);
  EXPECT_TRUE(Diff(config, config, {Standard()}).empty());
  EXPECT_TRUE(Diff(config, Sample(200), {Standard()}).empty());
  EXPECT_EQ(FormatDifferences({}), "");
}

TEST(DiffTest, ASettingChangedInsideAConfigHasItsExpandedPath) {
  const ConfigData before = Sample();
  ConfigData after = before;
  const int i = FirstOfType(before, Input::AdcInput);
  ASSERT_GE(i, 0);
  AdcConfiguration adc;
  ASSERT_TRUE(adc.ParseFromString(before.inputs(i).config()));
  const AdcConfiguration_AdcRange old_range = adc.range();
  const AdcConfiguration_AdcRange new_range =
      old_range == AdcConfiguration::range12V ? AdcConfiguration::rangeRaw : AdcConfiguration::range12V;
  adc.set_range(new_range);
  after.mutable_inputs(i)->set_config(adc.SerializeAsString());

  const std::vector<Difference> differences = Diff(before, after, {Standard()});
  ASSERT_EQ(differences.size(), 1u) << FormatDifferences(differences);
  EXPECT_EQ(differences[0].kind, Difference::Kind::kModified);
  // The sample's first ADC input is its first input, id 1, "Analog_001".
  EXPECT_EQ(differences[0].path, "inputs[id=1 \"Analog_001\"].config<AdcConfiguration>.range");
  EXPECT_EQ(differences[0].old_value, AdcConfiguration_AdcRange_Name(old_range));
  EXPECT_EQ(differences[0].new_value, AdcConfiguration_AdcRange_Name(new_range));
  EXPECT_EQ(FormatDifferences(differences), "~ inputs[id=1 \"Analog_001\"].config<AdcConfiguration>.range: " +
                                                AdcConfiguration_AdcRange_Name(old_range) + " -> " +
                                                AdcConfiguration_AdcRange_Name(new_range) + "\n");
}

TEST(DiffTest, AddedAndRemovedInputs) {
  const ConfigData before = Sample();
  ConfigData after = before;
  Input* added = after.add_inputs();
  added->set_id(500);
  added->set_alias("Extra");
  added->set_type(Input::DigitalInput);
  DigitalInConfiguration digital;
  digital.set_invert(true);
  added->set_config(digital.SerializeAsString());

  std::vector<Difference> differences = Diff(before, after, {Standard()});
  ASSERT_EQ(differences.size(), 1u) << FormatDifferences(differences);
  EXPECT_EQ(differences[0].kind, Difference::Kind::kAdded);
  EXPECT_EQ(differences[0].path, "inputs[id=500 \"Extra\"]");
  EXPECT_TRUE(differences[0].old_value.empty());
  // The whole entry, its settings shown as their record.
  EXPECT_NE(differences[0].new_value.find("id: 500"), std::string::npos) << differences[0].new_value;
  EXPECT_NE(differences[0].new_value.find("config: DigitalInConfiguration { invert: true }"), std::string::npos)
      << differences[0].new_value;

  // The other way round it is a removal, from the first document's place.
  differences = Diff(after, before, {Standard()});
  ASSERT_EQ(differences.size(), 1u) << FormatDifferences(differences);
  EXPECT_EQ(differences[0].kind, Difference::Kind::kRemoved);
  EXPECT_EQ(differences[0].path, "inputs[id=500 \"Extra\"]");
  EXPECT_TRUE(differences[0].new_value.empty());
  EXPECT_EQ(FormatDifferences(differences),
            "- inputs[id=500 \"Extra\"]: { id: 500 type: 2 alias: \"Extra\" config: DigitalInConfiguration { invert: "
            "true } }\n");
}

TEST(DiffTest, RemovingAnInputInTheMiddleIsOneDifference) {
  const ConfigData before = Sample();
  ConfigData after = before;
  after.mutable_inputs()->DeleteSubrange(3, 1);
  const std::vector<Difference> differences = Diff(before, after, {Standard()});
  ASSERT_EQ(differences.size(), 1u) << FormatDifferences(differences);
  EXPECT_EQ(differences[0].kind, Difference::Kind::kRemoved);
  EXPECT_EQ(differences[0].path, "inputs[id=4 \"Bus_004\"]");
  EXPECT_NE(differences[0].old_value.find("id: 4 "), std::string::npos) << differences[0].old_value;
}

TEST(DiffTest, ReorderedEntriesAreOneDifferenceOnTheList) {
  const ConfigData before = Sample();
  ConfigData after = before;
  after.mutable_outputs()->SwapElements(0, 1);
  const std::vector<Difference> differences = Diff(before, after, {Standard()});
  ASSERT_EQ(differences.size(), 1u) << FormatDifferences(differences);
  EXPECT_EQ(differences[0].kind, Difference::Kind::kReordered);
  EXPECT_EQ(differences[0].path, "outputs");
  EXPECT_EQ(differences[0].old_value, "1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12");
  EXPECT_EQ(differences[0].new_value, "2, 1, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12");
  EXPECT_EQ(differences[0].moves, "2 before 1");
  ASSERT_EQ(differences[0].entries.size(), 1u);
  EXPECT_EQ(differences[0].entries[0].list, "outputs");
  EXPECT_EQ(differences[0].entries[0].key, "id");
  EXPECT_EQ(differences[0].entries[0].id, 2);
  EXPECT_EQ(differences[0].entries[0].alias, "Analog_002");
  EXPECT_EQ(FormatDifferences(differences), "~ outputs reordered: 2 before 1\n");
}

TEST(DiffTest, ListsWithRepeatedIdentifiersGoByPosition) {
  ConfigData before;
  for (const char* alias : {"A", "B", "C"}) before.add_inputs()->set_alias(alias);  // every id left at 0
  ConfigData after = before;
  after.mutable_inputs(1)->set_alias("Bee");
  after.mutable_inputs()->RemoveLast();
  EXPECT_EQ(Lines(before, after),
            "~ inputs[1].alias: \"B\" -> \"Bee\"\n"
            "- inputs[2]: { alias: \"C\" }\n");
}

TEST(DiffTest, ScalarsStringsAndDefaults) {
  const ConfigData before = Sample();
  ConfigData after = before;
  after.mutable_inputs(0)->set_alias("Renamed");
  after.mutable_inputs(1)->set_pin(0);  // back to the default: not written any more
  after.set_version(before.version() + 1);
  after.mutable_units()->set_pressureunit(before.units().pressureunit() == Units::Bar ? Units::mBar : Units::Bar);
  const std::string expected =
      "~ version: " + std::to_string(before.version()) + " -> " + std::to_string(after.version()) + "\n" +
      // An entry is named as it stands in the second document: by its new alias.
      "~ inputs[id=1 \"Renamed\"].alias: \"Analog_001\" -> \"Renamed\"\n" +
      "~ inputs[id=2 \"Switch_002\"].pin: " + std::to_string(before.inputs(1).pin()) + " -> 0\n" +
      "~ units.pressureUnit: " + Units_Pressure_Name(before.units().pressureunit()) + " -> " +
      Units_Pressure_Name(after.units().pressureunit()) + "\n";
  ASSERT_NE(before.inputs(1).pin(), 0u);
  EXPECT_EQ(Lines(before, after), expected);
}

TEST(DiffTest, StringsThatAreNotUtf8AreShownEscaped) {
  ConfigData before;
  before.add_inputs()->set_alias("A");
  ConfigData after = before;
  after.mutable_inputs(0)->set_alias(test::Bytes({0xC3, 0x28}));
  EXPECT_EQ(Lines(before, after), "~ inputs[id=0 \"\\303(\"].alias: \"A\" -> \"\\303(\"\n");
}

TEST(DiffTest, ConfigsUnderDifferentRecordsAreComparedWhole) {
  ConfigData before;
  Input* input = before.add_inputs();
  input->set_id(1);
  input->set_type(Input::AdcInput);
  AdcConfiguration adc;
  adc.set_saturation(true);
  input->set_config(adc.SerializeAsString());
  ConfigData after = before;
  after.mutable_inputs(0)->set_type(Input::DigitalInput);
  DigitalInConfiguration digital;
  digital.set_invert(true);
  after.mutable_inputs(0)->set_config(digital.SerializeAsString());
  EXPECT_EQ(Lines(before, after),
            "~ inputs[id=1].type: 0 -> 2\n"
            "~ inputs[id=1].config: AdcConfiguration { saturation: true } -> DigitalInConfiguration { invert: true }\n");
}

TEST(DiffTest, OpaqueAndUnreadableConfigsAreComparedAsBytes) {
  ConfigData before;
  Driver* driver = before.add_drivers();
  driver->set_id(1);
  driver->set_config(test::Bytes({0x01, 0x02, 0x03}));
  ConfigData after = before;
  after.mutable_drivers(0)->set_config(test::Bytes({0x01, 0xFF, 0x03}));
  EXPECT_EQ(Lines(before, after), "~ drivers[id=1].config: <01 02 03> -> <01 ff 03>\n");

  // An ADC input whose settings stop reading on one side.
  ConfigData adc_before;
  Input* input = adc_before.add_inputs();
  input->set_id(1);
  input->set_config(test::Bytes({0x08, 0x02}));
  ConfigData adc_after = adc_before;
  adc_after.mutable_inputs(0)->set_config(test::Bytes({0x0A, 0x05}));
  EXPECT_EQ(Lines(adc_before, adc_after),
            "~ inputs[id=1].config: AdcConfiguration { range: range12V } -> <0a 05>\n");
}

TEST(DiffTest, SameSettingsInAnotherEncodingAreStillADifference) {
  ConfigData before;
  Input* input = before.add_inputs();
  input->set_id(1);
  input->set_config(test::Bytes({0x08, 0x02, 0x10, 0x01}));
  ConfigData after = before;
  after.mutable_inputs(0)->set_config(test::Bytes({0x10, 0x01, 0x08, 0x02}));
  const std::vector<Difference> differences = Diff(before, after, {Standard()});
  ASSERT_EQ(differences.size(), 1u) << FormatDifferences(differences);
  EXPECT_EQ(differences[0].path, "inputs[id=1].config");
  EXPECT_EQ(differences[0].old_value, "AdcConfiguration { range: range12V saturation: true }");
  EXPECT_EQ(differences[0].new_value, "<10 01 08 02>");
}

TEST(DiffTest, DeviceDataConfigIsComparedAsADocument) {
  DeviceData before;
  SampleDeviceData(SampleOptions{}, &before);
  ConfigData config;
  ASSERT_TRUE(config.ParseFromString(before.config()));
  config.mutable_inputs(2)->set_alias("Changed");
  DeviceData after = before;
  after.set_config(config.SerializeAsString());
  after.set_version(before.version() + 1);
  const std::vector<Difference> differences = Diff(before, after, {Standard()});
  ASSERT_EQ(differences.size(), 2u) << FormatDifferences(differences);
  EXPECT_EQ(differences[0].path, "version");
  EXPECT_EQ(differences[1].path, "config<ConfigData>.inputs[id=3 \"Changed\"].alias");
  EXPECT_EQ(differences[1].new_value, "\"Changed\"");
}

TEST(DiffTest, UnknownFieldsAndListElements) {
  ConfigData before;
  before.add_canbus()->set_canbusid(1);
  ConfigData after = before;
  after.GetReflection()->MutableUnknownFields(&after)->AddVarint(40, 3);
  after.mutable_canbus(0)->add_standardinputframes()->set_messageid(0x123);
  // A document's unknown fields come last, where its encoding has them.
  EXPECT_EQ(Lines(before, after),
            "+ canbus[canbusId=1].standardInputFrames[messageId=291]: { messageId: 291 }\n"
            "+ #40: 3\n");
  EXPECT_EQ(Lines(after, before),
            "- canbus[canbusId=1].standardInputFrames[messageId=291]: { messageId: 291 }\n"
            "- #40: 3\n");
  // Inside an entry too.
  ConfigData tagged = before;
  tagged.mutable_canbus(0)->GetReflection()->MutableUnknownFields(tagged.mutable_canbus(0))->AddVarint(50, 1);
  EXPECT_EQ(Lines(before, tagged), "+ canbus[canbusId=1].#50: 1\n");
}

TEST(DiffTest, LongUnknownBytesAreShownWhereTheyPartAsBytesFieldsAre) {
  // 120 bytes, 0 to 119, against the same with byte 90 changed: the window
  // starts at 80 on both sides, as for a bytes field of the schema.
  std::string bytes;
  for (int i = 0; i < 120; ++i) bytes += static_cast<char>(i);
  std::string changed = bytes;
  changed[90] = '\xff';
  ConfigData before;
  ConfigData after;
  before.GetReflection()->MutableUnknownFields(&before)->AddLengthDelimited(99, bytes);
  after.GetReflection()->MutableUnknownFields(&after)->AddLengthDelimited(99, changed);
  EXPECT_EQ(Lines(before, after),
            "~ #99: <120 bytes, at 80: 50 51 52 53 54 55 56 57 58 59 5a 5b 5c 5d 5e 5f ...> -> "
            "<120 bytes, at 80: 50 51 52 53 54 55 56 57 58 59 ff 5b 5c 5d 5e 5f ...>\n");
  ConfigData known_before;
  ConfigData known_after;
  known_before.add_drivers()->set_config(bytes);
  known_after.add_drivers()->set_config(changed);
  EXPECT_EQ(Lines(known_before, known_after),
            "~ drivers[id=0].config: <120 bytes, at 80: 50 51 52 53 54 55 56 57 58 59 5a 5b 5c 5d 5e 5f ...> -> "
            "<120 bytes, at 80: 50 51 52 53 54 55 56 57 58 59 ff 5b 5c 5d 5e 5f ...>\n");
  // Inside an entry, and where one side is shorter.
  ConfigData entry_before;
  entry_before.add_canbus()->set_canbusid(1);
  ConfigData entry_after = entry_before;
  auto* unknown_before = entry_before.mutable_canbus(0)->GetReflection()->MutableUnknownFields(
      entry_before.mutable_canbus(0));
  unknown_before->AddLengthDelimited(50, bytes);
  entry_after.mutable_canbus(0)->GetReflection()->MutableUnknownFields(entry_after.mutable_canbus(0))
      ->AddLengthDelimited(50, bytes.substr(0, 40));
  EXPECT_EQ(Lines(entry_before, entry_after),
            "~ canbus[canbusId=1].#50: <120 bytes, at 32: 20 21 22 23 24 25 26 27 28 29 2a 2b 2c 2d 2e 2f ...> -> "
            "<40 bytes, at 32: 20 21 22 23 24 25 26 27>\n");
}

ConfigData Parsed(const std::string& bytes) {
  ConfigData config;
  EXPECT_TRUE(test::Parse(&config, bytes));
  return config;
}

TEST(DiffTest, NaNsThatDifferInSignOrPayloadAreDifferentValues) {
  // inputs[0] { id: 1 minValue: <float bits, least significant byte first> }
  const ConfigData quiet = Parsed(test::Bytes({0x1A, 0x07, 0x08, 0x01, 0x45, 0x00, 0x00, 0xC0, 0x7F}));
  const ConfigData negative = Parsed(test::Bytes({0x1A, 0x07, 0x08, 0x01, 0x45, 0x00, 0x00, 0xC0, 0xFF}));
  const ConfigData payload = Parsed(test::Bytes({0x1A, 0x07, 0x08, 0x01, 0x45, 0x01, 0x00, 0xC0, 0x7F}));
  EXPECT_TRUE(Diff(quiet, quiet, {Standard()}).empty());
  EXPECT_EQ(Lines(quiet, negative), "~ inputs[id=1].minValue: NaN 0x7fc00000 -> NaN 0xffc00000\n");
  EXPECT_EQ(Lines(quiet, payload), "~ inputs[id=1].minValue: NaN 0x7fc00000 -> NaN 0x7fc00001\n");
}

TEST(DiffTest, NegativeZeroInASingleFieldIsADifferenceAsInAList) {
  // inputs[0] { id: 1 } against inputs[0] { id: 1 minValue: -0.0 }: the
  // two encode alike (a single field holding a zero is not written), yet
  // the second holds a zero of the other sign.
  const ConfigData absent = Parsed(test::Bytes({0x1A, 0x02, 0x08, 0x01}));
  const ConfigData negative = Parsed(test::Bytes({0x1A, 0x07, 0x08, 0x01, 0x45, 0x00, 0x00, 0x00, 0x80}));
  ASSERT_TRUE(std::signbit(negative.inputs(0).minvalue()));
  EXPECT_EQ(Lines(absent, negative), "~ inputs[id=1].minValue: 0 -> -0\n");
  EXPECT_EQ(Lines(negative, absent), "~ inputs[id=1].minValue: -0 -> 0\n");
  EXPECT_TRUE(Diff(negative, Parsed(test::Bytes({0x1A, 0x07, 0x08, 0x01, 0x45, 0x00, 0x00, 0x00, 0x80})),
                   {Standard()})
                  .empty());
  // A double, in a record of its own and in an entry matched by key.
  Estimations estimator_absent;
  estimator_absent.set_id(1);
  Estimations estimator_negative = estimator_absent;
  estimator_negative.set_yminsaturation(-0.0);
  EXPECT_EQ(FormatDifferences(Diff(estimator_absent, estimator_negative, {Standard()})),
            "~ yMinSaturation: 0 -> -0\n");
  ConfigData config_absent;
  *config_absent.add_estimationdata() = estimator_absent;
  ConfigData config_negative;
  config_negative.add_estimationdata()->set_id(1);
  config_negative.mutable_estimationdata(0)->set_yminsaturation(-0.0);
  EXPECT_EQ(Lines(config_absent, config_negative), "~ estimationData[id=1].yMinSaturation: 0 -> -0\n");
}

TEST(DiffTest, NegativeZeroInAListIsADifference) {
  // estimationData[0] { id: 1 thetaValues: [0.0] } against [-0.0], packed.
  const ConfigData positive = Parsed(test::Bytes({0x4A, 0x0C, 0x08, 0x01, 0x1A, 0x08, 0, 0, 0, 0, 0, 0, 0, 0x00}));
  const ConfigData negative = Parsed(test::Bytes({0x4A, 0x0C, 0x08, 0x01, 0x1A, 0x08, 0, 0, 0, 0, 0, 0, 0, 0x80}));
  EXPECT_EQ(Lines(positive, negative), "~ estimationData[id=1].thetaValues[0]: 0 -> -0\n");
}

TEST(DiffTest, NaNBitsCountInsideSettingsToo) {
  // outputs[0] { id: 1 type: CurrentOutput config: CurrentConfiguration { lambda: <double bits> } }
  const ConfigData quiet = Parsed(test::Bytes({0x22, 0x0F, 0x08, 0x01, 0x18, 0x03, 0x32, 0x09, 0x49, 0x00, 0x00,
                                               0x00, 0x00, 0x00, 0x00, 0xF8, 0x7F}));
  const ConfigData negative = Parsed(test::Bytes({0x22, 0x0F, 0x08, 0x01, 0x18, 0x03, 0x32, 0x09, 0x49, 0x00,
                                                  0x00, 0x00, 0x00, 0x00, 0x00, 0xF8, 0xFF}));
  EXPECT_EQ(Lines(quiet, negative),
            "~ outputs[id=1].config<CurrentConfiguration>.lambda: NaN 0x7ff8000000000000 -> NaN 0xfff8000000000000\n");
}

TEST(DiffTest, RecordsOfDifferentTypesCannotBeCompared) {
  EXPECT_THROW(Diff(ConfigData(), DeviceData(), {Standard()}), Error);
}

}  // namespace
}  // namespace gcuschema::document
