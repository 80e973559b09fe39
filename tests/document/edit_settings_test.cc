// Edits of an entry's settings: through the record its type code holds, and
// never so that the settings end up read as a record they were not written
// as.
#include <gcuschema/document/edit.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <gcuschema/all_records.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/settings.h>

#include "support/thrown.h"
#include "support/edits.h"
#include "support/wire.h"

namespace gcuschema::document {
namespace {

using test::Thrown;
using test::Edits;

using test::Bytes;
using test::Hex;

// Input 1 holds AdcConfiguration {range12V}; input 2 a FrequencyInput (a
// code paired with no record) with the bytes 08 05; input 3 an AdcInput
// with empty settings; input 4 an AdcInput whose settings are one byte that
// no record reads.
ConfigData Document() {
  ConfigData config;
  Input* adc = config.add_inputs();
  adc->set_id(1);
  AdcConfiguration settings;
  settings.set_range(AdcConfiguration::range12V);
  SetSettings(*adc, settings);
  Input* frequency = config.add_inputs();
  frequency->set_id(2);
  frequency->set_type(Input::FrequencyInput);
  frequency->set_config(Bytes({0x08, 0x05}));
  config.add_inputs()->set_id(3);
  Input* broken = config.add_inputs();
  broken->set_id(4);
  broken->set_config(Bytes({0xff}));
  return config;
}

TEST(EditSettingsTest, SettingsAreEditedAsTheRecordTheTypeCodeHolds) {
  ConfigData config = Document();
  Edit(&config, Edits({"inputs[id=1].config.inMinValue=-15", "inputs[id=3].config.saturation=true"}));
  // range12V, inMinValue -15 (zigzag 29).
  EXPECT_EQ(Hex(config.inputs(0).config()), Hex(Bytes({0x08, 0x02, 0x28, 0x1d})));
  EXPECT_EQ(Hex(config.inputs(2).config()), Hex(Bytes({0x10, 0x01})));
}

TEST(EditSettingsTest, SettingsOfACodePairedWithNoRecordAreRefusedSayingSo) {
  ConfigData config = Document();
  const Error e = Thrown([&] { Edit(&config, Edits({"inputs[id=2].config.range=1"})); });
  EXPECT_EQ(e.where(), "inputs[id=2].config.range");
  EXPECT_EQ(e.message(),
            "input type 1 (FrequencyInput) holds no settings record, so the fields of its config have no names; set "
            "the bytes whole (inputs[id=2].config=BASE64), or pair the code with the record they hold");
  EXPECT_EQ(e.remedy().kind, Remedy::Kind::kPairCode);
  EXPECT_EQ(e.remedy().entry, EntryKind::kInput);
  EXPECT_EQ(e.remedy().code, 1);
}

TEST(EditSettingsTest, APairingGivenInTheOptionsNamesTheSettings) {
  ConfigData config = Document();
  EditOptions options;
  options.pairing.Set(EntryKind::kInput, Input::FrequencyInput, AdcConfiguration::descriptor());
  Edit(&config, Edits({"inputs[id=2].config.saturation=true"}), options);
  EXPECT_EQ(Hex(config.inputs(1).config()), Hex(Bytes({0x08, 0x05, 0x10, 0x01})));
}

TEST(EditSettingsTest, SettingsWhoseBytesDoNotReadAsTheirRecordAreRefusedSayingSo) {
  ConfigData config = Document();
  const Error e = Thrown([&] { Edit(&config, Edits({"inputs[id=4].config.range=1"})); });
  EXPECT_EQ(e.message(),
            "the settings (1 byte) do not read as AdcConfiguration, the record input type 0 (AdcInput) holds, so their "
            "fields cannot be set one by one; give them whole (inputs[id=4].config=BASE64)");
  // Given whole, they are replaced.
  Edit(&config, Edits({"inputs[id=4].config=CAI="}));
  EXPECT_EQ(Hex(config.inputs(3).config()), Hex(Bytes({0x08, 0x02})));
}

TEST(EditSettingsTest, ATypeThatMakesTheSettingsAnotherRecordsIsRefused) {
  ConfigData config = Document();
  const Error e = Thrown([&] { Edit(&config, Edits({"inputs[id=1].type=DigitalInput"})); });
  EXPECT_EQ(e.where(), "inputs[id=1].type");
  EXPECT_EQ(e.message(),
            "input type 2 (DigitalInput) holds DigitalInConfiguration, but the entry's settings were written as "
            "AdcConfiguration for type 0 (AdcInput) and are not read as another record; give settings of the new "
            "type with it: inputs[id=1].config= (empty), then inputs[id=1].config.FIELD=VALUE for each one to set, or "
            "inputs[id=1].config=BASE64");
}

TEST(EditSettingsTest, ATypeToACodeOfNoRecordIsRefusedToo) {
  ConfigData config = Document();
  const Error e = Thrown([&] { Edit(&config, Edits({"inputs[id=1].type=FrequencyInput"})); });
  EXPECT_NE(e.message().find("input type 1 (FrequencyInput) holds no settings record, but the entry's settings "
                             "were written as AdcConfiguration"),
            std::string::npos);
}

TEST(EditSettingsTest, ATypeGivenWithNewSettingsIsTaken) {
  ConfigData config = Document();
  Edit(&config, Edits({"inputs[id=1].type=DigitalInput", "inputs[id=1].config=", "inputs[id=1].config.delay=5"}));
  EXPECT_EQ(config.inputs(0).type(), Input::DigitalInput);
  EXPECT_EQ(Hex(config.inputs(0).config()), Hex(Bytes({0x10, 0x0a})));
  // The settings given whole before the type, in base64.
  config = Document();
  Edit(&config, Edits({"inputs[id=2].config=CAE=", "inputs[id=2].type=DigitalInput"}));
  EXPECT_EQ(SettingsOf<DigitalInConfiguration>(config.inputs(1)).enablefilter(), true);
}

TEST(EditSettingsTest, SettingsFieldsAfterATypeChangeNeedTheSettingsGivenAnew) {
  ConfigData config = Document();
  const Error e =
      Thrown([&] { Edit(&config, Edits({"inputs[id=1].type=DigitalInput", "inputs[id=1].config.delay=5"})); });
  EXPECT_EQ(e.where(), "inputs[id=1].config.delay");
  EXPECT_EQ(e.message(),
            "inputs[id=1].type was set to input type 2 (DigitalInput) by these edits, which holds "
            "DigitalInConfiguration, and the settings were written as AdcConfiguration for type 0 (AdcInput); give "
            "the settings anew before setting their fields: inputs[id=1].config= for empty ones, or "
            "inputs[id=1].config=BASE64");
}

TEST(EditSettingsTest, EmptySettingsReadAsAnyRecordAndTakeAnyType) {
  ConfigData config = Document();
  Edit(&config, Edits({"inputs[id=3].type=DigitalInput", "inputs[id=3].config.delay=5"}));
  EXPECT_EQ(config.inputs(2).type(), Input::DigitalInput);
  EXPECT_EQ(Hex(config.inputs(2).config()), Hex(Bytes({0x10, 0x0a})));
}

TEST(EditSettingsTest, SettingsFieldsSetBeforeTheTypeChangesAreRefused) {
  ConfigData config = Document();
  const Error e =
      Thrown([&] { Edit(&config, Edits({"inputs[id=3].config.saturation=true", "inputs[id=3].type=DigitalInput"})); });
  EXPECT_EQ(e.where(), "inputs[id=3].type");
  EXPECT_NE(e.message().find("written as AdcConfiguration"), std::string::npos);
}

TEST(EditSettingsTest, SettingsGivenWholeMustReadAsTheRecordTheirCodeHolds) {
  ConfigData config = Document();
  const Error e = Thrown([&] { Edit(&config, Edits({"inputs[id=1].config=/w=="})); });
  EXPECT_EQ(e.where(), "inputs[id=1].config");
  EXPECT_EQ(e.message(),
            "the settings given (1 byte) do not read as AdcConfiguration, the record input type 0 (AdcInput) holds; "
            "give settings of that record, or set the type that holds theirs with them");
  // A code of no record holds any bytes.
  Edit(&config, Edits({"inputs[id=2].config=/w=="}));
  EXPECT_EQ(Hex(config.inputs(1).config()), Hex(Bytes({0xff})));
}

TEST(EditSettingsTest, AMapTypeKeepsItsTableAsEveryMapTypeHoldsMap3D) {
  ConfigData config;
  Map* map = config.add_maps();
  map->set_id(3);
  Map3D table;
  table.add_x(1);
  SetSettings(*map, table);
  Edit(&config, Edits({"maps[id=3].type=NearestNeighbour3dMap", "maps[id=3].config.x[0]=4"}));
  EXPECT_EQ(config.maps(0).type(), Map::NearestNeighbour3dMap);
  // x packed: 4 is zigzag 8.
  EXPECT_EQ(Hex(config.maps(0).config()), Hex(Bytes({0x0a, 0x01, 0x08})));
}

TEST(EditSettingsTest, SettingsHoldingSettingsAreEditedLevelByLevel) {
  DeviceData device;
  ConfigData inner = Document();
  device.set_config(inner.SerializeAsString());
  Edit(&device, Edits({"config.inputs[id=1].config.saturation=true", "config.version=7"}));
  ConfigData read;
  ASSERT_TRUE(read.ParseFromString(device.config()));
  EXPECT_EQ(read.version(), 7u);
  EXPECT_EQ(Hex(read.inputs(0).config()), Hex(Bytes({0x08, 0x02, 0x10, 0x01})));
}

}  // namespace
}  // namespace gcuschema::document
