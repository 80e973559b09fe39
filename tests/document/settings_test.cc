#include <gcuschema/document/settings.h>

#include <cstdint>
#include <memory>
#include <string>

#include <gtest/gtest.h>

// The one header of every record: these tests use records of files whose
// names differ from theirs (DigitalInputConfiguration.pb.h,
// CanBusInputConfiguration.pb.h) without naming those files.
#include <gcuschema/all_records.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>

#include "support/thrown.h"

namespace gcuschema::document {
namespace {

using test::Thrown;

using Bytes = std::string;

// range12V, saturation, inMinValue -15 (zigzag 29).
const Bytes kAdcBytes("\x08\x02\x10\x01\x28\x1d", 6);

AdcConfiguration Adc() {
  AdcConfiguration adc;
  adc.set_range(AdcConfiguration::range12V);
  adc.set_saturation(true);
  adc.set_inminvalue(-15);
  return adc;
}

TEST(SetSettingsTest, EncodesTheSettingsAndSetsTheInputCodeThatHoldsThem) {
  Input input;
  input.set_type(Input::FrequencyInput);
  SetSettings(input, Adc());
  EXPECT_EQ(input.type(), Input::AdcInput);
  EXPECT_EQ(input.config(), kAdcBytes);
}

TEST(SetSettingsTest, GivesDigitalInConfigurationTheDigitalInputCode) {
  Input input;
  input.set_id(7);
  DigitalInConfiguration digital;
  digital.set_enablefilter(true);
  digital.set_delay(5);
  digital.set_mode(DigitalInConfiguration::Time);
  SetSettings(input, digital);
  // id 7, type 2, config: enableFilter, delay 5 (zigzag 10), mode 3 (field 20).
  EXPECT_EQ(input.SerializeAsString(), Bytes("\x08\x07\x18\x02\x32\x07\x08\x01\x10\x0a\xa0\x01\x03", 13));
}

TEST(SetSettingsTest, GivesAnOutputTheCodeOfItsSettings) {
  Output output;
  output.set_type(Output::TachoOutput);
  PwmConfiguration pwm;
  pwm.set_invert(true);
  pwm.set_frequency(200);
  SetSettings(output, pwm);
  EXPECT_EQ(output.type(), Output::PwmOutput);
  // invert; frequency 200 (field 17).
  EXPECT_EQ(output.config(), Bytes("\x08\x01\x88\x01\xc8\x01", 6));
}

TEST(SetSettingsTest, KeepsTheMapTypeWhenItHoldsTheTable) {
  Map3D table;
  table.add_x(1);
  table.add_x(-1);
  for (Map_MapType type : {Map::Point3dMap, Map::Interpolated3dMap, Map::NearestNeighbour3dMap}) {
    Map map;
    map.set_type(type);
    SetSettings(map, table);
    EXPECT_EQ(map.type(), type);
    // x packed: 1 and -1 zigzagged to 2 and 1.
    EXPECT_EQ(map.config(), Bytes("\x0a\x02\x02\x01", 4));
  }
}

TEST(SetSettingsTest, RefusesAMapTypeHoldingNoTableAndNamesTheTypesThatDo) {
  Map map;
  map.set_type(static_cast<Map_MapType>(7));
  map.set_config(Bytes("\x0a\x01\x02", 3));
  const Bytes before = map.SerializeAsString();
  const Error error = Thrown([&] { SetSettings(map, Map3D()); });
  EXPECT_EQ(error.where(), "type");
  EXPECT_EQ(error.message(),
            "map type 7 does not hold Map3D, and several map types do: 0 (Point3dMap), 1 (Interpolated3dMap), "
            "2 (NearestNeighbour3dMap); set the entry's type to the one meant, then its settings");
  EXPECT_EQ(map.SerializeAsString(), before);
}

TEST(SetSettingsTest, RefusesARecordNoInputCodeHoldsAndLeavesTheEntry) {
  Input input;
  input.set_type(Input::DigitalInput);
  input.set_config(Bytes("\x08\x01", 2));
  const Bytes before = input.SerializeAsString();
  const Error error = Thrown([&] { SetSettings(input, PwmConfiguration()); });
  EXPECT_EQ(error.where(), "config");
  EXPECT_EQ(error.message(),
            "no input type code holds PwmConfiguration in the pairing given (it is the settings of output type 0 "
            "(PwmOutput)); give settings of a record an input code holds, or pair a code with PwmConfiguration in "
            "a PairingCatalogue (Set) and pass that catalogue");
  EXPECT_EQ(input.SerializeAsString(), before);
}

TEST(SetSettingsTest, RefusesARecordOfNoEntry) {
  Input input;
  const Error error = Thrown([&] { SetSettings(input, ConfigData()); });
  EXPECT_EQ(error.what(), std::string("config: no input type code holds ConfigData in the pairing given; give "
                                      "settings of a record an input code holds, or pair a code with ConfigData "
                                      "in a PairingCatalogue (Set) and pass that catalogue"));
}

TEST(SetSettingsTest, GivesDriversSettingsOnlyOnceACatalogueHasPairedTheirCode) {
  Driver driver;
  const Error error = Thrown([&] { SetSettings(driver, Adc()); });
  EXPECT_EQ(error.message(),
            "no driver type code holds AdcConfiguration in the pairing given (it pairs no driver code with any "
            "record); give settings of a record a driver code holds, or pair a code with AdcConfiguration in a "
            "PairingCatalogue (Set) and pass that catalogue");
  EXPECT_EQ(driver.ByteSizeLong(), 0u);

  PairingCatalogue pairing = PairingCatalogue::Standard();
  pairing.Set(EntryKind::kDriver, 3, AdcConfiguration::descriptor());
  SetSettings(driver, Adc(), pairing);
  // type 3 (field 2), config (field 3).
  EXPECT_EQ(driver.SerializeAsString(), Bytes("\x10\x03\x1a\x06\x08\x02\x10\x01\x28\x1d", 10));
}

TEST(SetSettingsTest, TakesADriverCodeAboveTheSignedRangeWhole) {
  PairingCatalogue pairing;
  pairing.Set(EntryKind::kDriver, static_cast<int>(0x80000000u), AdcConfiguration::descriptor());
  Driver driver;
  SetSettings(driver, Adc(), pairing);
  EXPECT_EQ(driver.type(), 0x80000000u);
  EXPECT_EQ(SettingsOf<AdcConfiguration>(driver, pairing).inminvalue(), -15);

  const Error error = Thrown([&] { SettingsOf<DigitalInConfiguration>(driver, pairing); });
  EXPECT_EQ(error.message(),
            "driver type code 2147483648 holds AdcConfiguration, not DigitalInConfiguration; read it as "
            "AdcConfiguration, or give the entry DigitalInConfiguration settings with SetSettings, which sets the "
            "type code with them");
}

TEST(SetSettingsTest, GivesAHandlerTheCodeItsCatalogueHolds) {
  PairingCatalogue pairing;
  pairing.Apply("handler:4=CanbusInputConfiguration");
  CanbusEntityHandler handler;
  CanbusInputConfiguration frame;
  frame.set_messageid(0x123);
  SetSettings(handler, frame, pairing);
  EXPECT_EQ(handler.type(), 4);
  // messageId 0x123, a fixed32 (field 2).
  EXPECT_EQ(handler.config(), Bytes("\x15\x23\x01\x00\x00", 5));
  EXPECT_EQ(SettingsOf<CanbusInputConfiguration>(handler, pairing).messageid(), 0x123u);
}

TEST(SetSettingsTest, FollowsTheCatalogueGivenOverTheStandardPairing) {
  AdcSwitchConfiguration adc_switch;
  Input input;
  EXPECT_THROW(SetSettings(input, adc_switch), Error);

  PairingCatalogue pairing = PairingCatalogue::Standard();
  pairing.Apply("input:AnalogSwitchInput=AdcSwitchConfiguration");
  SetSettings(input, adc_switch, pairing);
  EXPECT_EQ(input.type(), Input::AnalogSwitchInput);
  EXPECT_EQ(input.config(), Bytes());
}

TEST(SetSettingsTest, GivesEveryStandardInputAndOutputRecordItsCode) {
  int checked = 0;
  for (const auto& [key, record] : PairingCatalogue::Standard().entries()) {
    const std::unique_ptr<google::protobuf::Message> settings = NewRecord(record);
    const std::unique_ptr<google::protobuf::Message> back = NewRecord(record);
    if (key.first == EntryKind::kInput) {
      Input input;
      input.set_type(Input::FrequencyInput);  // holds nothing
      SetSettings(input, *settings);
      EXPECT_EQ(input.type(), key.second) << record->full_name();
      EXPECT_NO_THROW(ReadSettings(input, back.get())) << record->full_name();
      ++checked;
    } else if (key.first == EntryKind::kOutput) {
      Output output;
      output.set_type(50);  // a code without a name, holding nothing
      SetSettings(output, *settings);
      EXPECT_EQ(output.type(), key.second) << record->full_name();
      EXPECT_NO_THROW(ReadSettings(output, back.get())) << record->full_name();
      ++checked;
    }
  }
  EXPECT_EQ(checked, 26);
}

TEST(SettingsOfTest, ReadsTheSettingsTheCodeHolds) {
  Input input;
  input.set_type(Input::AdcInput);
  input.set_config(kAdcBytes);
  const AdcConfiguration adc = SettingsOf<AdcConfiguration>(input);
  EXPECT_EQ(adc.range(), AdcConfiguration::range12V);
  EXPECT_TRUE(adc.saturation());
  EXPECT_EQ(adc.inminvalue(), -15);
}

TEST(SettingsOfTest, ReadsSettingsWrittenInAnotherFieldOrder) {
  Input input;
  input.set_type(Input::AdcInput);
  // saturation before range.
  input.set_config(Bytes("\x10\x01\x08\x02", 4));
  const AdcConfiguration adc = SettingsOf<AdcConfiguration>(input);
  EXPECT_EQ(adc.range(), AdcConfiguration::range12V);
  EXPECT_TRUE(adc.saturation());
}

TEST(SettingsOfTest, ReadsAMapTable) {
  Map map;
  map.set_type(Map::NearestNeighbour3dMap);
  map.set_config(Bytes("\x0a\x02\x02\x01\x1a\x01\x54", 7));
  const Map3D table = SettingsOf<Map3D>(map);
  ASSERT_EQ(table.x_size(), 2);
  EXPECT_EQ(table.x(0), 1);
  EXPECT_EQ(table.x(1), -1);
  ASSERT_EQ(table.values_size(), 1);
  EXPECT_EQ(table.values(0), 42);
}

TEST(SettingsOfTest, RefusesAnotherRecordNamingTheCodeAndTheRecordItHolds) {
  Input input;
  input.set_type(Input::DigitalInput);
  input.set_config(Bytes("\x08\x01", 2));
  const Error error = Thrown([&] { SettingsOf<AdcConfiguration>(input); });
  EXPECT_EQ(error.what(),
            std::string("config: input type code 2 (DigitalInput) holds DigitalInConfiguration, not "
                        "AdcConfiguration; read it as DigitalInConfiguration, or give the entry AdcConfiguration "
                        "settings with SetSettings, which sets the type code with them"));
}

TEST(SettingsOfTest, RefusesACodeHoldingNothingAndAsksForAPairing) {
  Input input;
  input.set_type(Input::FrequencyInput);
  input.set_config(kAdcBytes);
  const Error error = Thrown([&] { SettingsOf<AdcConfiguration>(input); });
  EXPECT_EQ(error.where(), "type");
  EXPECT_EQ(error.message(),
            "input type code 1 (FrequencyInput) holds no settings record in the pairing given, so `config` is not "
            "read as AdcConfiguration; pair the code with AdcConfiguration in a PairingCatalogue (Set) and pass "
            "that catalogue");
  EXPECT_EQ(error.remedy().kind, Remedy::Kind::kPairCode);
  EXPECT_EQ(error.remedy().record, "AdcConfiguration");
  EXPECT_EQ(error.remedy().entry, EntryKind::kInput);
  EXPECT_EQ(error.remedy().code, Input::FrequencyInput);
}

TEST(SettingsOfTest, RefusesBytesThatDoNotReadAsTheRecord) {
  Output output;
  output.set_type(Output::PwmOutput);
  // A varint cut short.
  output.set_config(Bytes("\x08", 1));
  const Error error = Thrown([&] { SettingsOf<PwmConfiguration>(output); });
  EXPECT_EQ(error.what(),
            std::string("config: the settings (1 byte) do not read as PwmConfiguration, the record output type code 0 "
                        "(PwmOutput) holds; they were written for another record or damaged: set the settings "
                        "anew with SetSettings"));
}

TEST(ReadSettingsTest, LeavesTheRecordAsItWasWhenRefusing) {
  Input input;
  input.set_type(Input::DigitalInput);
  AdcConfiguration adc = Adc();
  EXPECT_THROW(ReadSettings(input, &adc), Error);
  EXPECT_EQ(adc.SerializeAsString(), kAdcBytes);
}

TEST(ReadSettingsTest, ReplacesWhatTheRecordHeld) {
  Input input;
  input.set_type(Input::AdcInput);
  input.set_config(Bytes("\x18\x01", 2));  // lowPassFilter only
  AdcConfiguration adc = Adc();
  ReadSettings(input, &adc);
  EXPECT_EQ(adc.SerializeAsString(), Bytes("\x18\x01", 2));
}

}  // namespace
}  // namespace gcuschema::document
