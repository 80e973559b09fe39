// Edits by field path: the path and value read as written, settings edited
// as the record their entry's type code holds, and every byte of the
// document outside the edited fields kept as it was.
#include <gcuschema/document/edit.h>

#include <cstdint>
#include <string>
#include <vector>

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/wire_format_lite.h>
#include <gtest/gtest.h>

#include <gcuschema/all_records.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/io.h>
#include <gcuschema/document/settings.h>

#include "support/thrown.h"
#include "support/edits.h"
#include "support/sample_bytes.h"
#include "support/wire.h"

namespace gcuschema::document {
namespace {

using test::Thrown;
using test::Edits;

using test::Bytes;
using test::Hex;

// The edited document, read from `bytes` (a ConfigData unless `record`
// says otherwise).
std::string Edited(const std::string& bytes, const std::vector<std::string>& edits,
                   google::protobuf::Message* record = nullptr) {
  ConfigData config;
  std::string out;
  EditDocument(bytes, record != nullptr ? record : &config, Edits(edits), &out);
  return out;
}

// The refusal of the edits.
Error Refusal(const std::string& bytes, const std::vector<std::string>& edits) {
  return Thrown([&] { Edited(bytes, edits); });
}

// A small document, written out:
//   version 3
//   inputs[0]: id 1, alias "A", config AdcConfiguration {range range12V,
//              inMinValue -15} and an unknown field 99 = 7
//   inputs[1]: id 2, type 2 (DigitalInput), config DigitalInConfiguration
//              {enableFilter, delay 24, hold 1}
//   gcuNo "G1"
//   an unknown field 100 = "zz"
const std::string kSmall = Bytes({0x08, 0x03,                                                       //
                                  0x1a, 0x0e, 0x08, 0x01, 0x2a, 0x01, 0x41,                         //
                                  0x32, 0x07, 0x08, 0x02, 0x28, 0x1d, 0x98, 0x06, 0x07,             //
                                  0x1a, 0x0c, 0x08, 0x02, 0x18, 0x02,                               //
                                  0x32, 0x06, 0x08, 0x01, 0x10, 0x30, 0x18, 0x02,                   //
                                  0x5a, 0x02, 0x47, 0x31,                                           //
                                  0xa2, 0x06, 0x02, 0x7a, 0x7a});

TEST(EditSmallDocumentTest, TheSmallDocumentReadsAsItsCommentSays) {
  ConfigData config;
  ASSERT_TRUE(config.ParseFromString(kSmall));
  EXPECT_EQ(config.inputs(0).alias(), "A");
  EXPECT_EQ(SettingsOf<AdcConfiguration>(config.inputs(0)).inminvalue(), -15);
  EXPECT_EQ(SettingsOf<DigitalInConfiguration>(config.inputs(1)).delay(), 24);
  EXPECT_EQ(config.GetReflection()->GetUnknownFields(config).field_count(), 1);
}

TEST(EditSmallDocumentTest, ASettingChangedInPlaceChangesItsByteAlone) {
  // delay 50: zigzag 100.
  EXPECT_EQ(Hex(Edited(kSmall, {"inputs[id=2].config.delay=50"})),
            Hex(Bytes({0x08, 0x03,                                            //
                       0x1a, 0x0e, 0x08, 0x01, 0x2a, 0x01, 0x41,              //
                       0x32, 0x07, 0x08, 0x02, 0x28, 0x1d, 0x98, 0x06, 0x07,  //
                       0x1a, 0x0c, 0x08, 0x02, 0x18, 0x02,                    //
                       0x32, 0x06, 0x08, 0x01, 0x10, 0x64, 0x18, 0x02,        //
                       0x5a, 0x02, 0x47, 0x31,                                //
                       0xa2, 0x06, 0x02, 0x7a, 0x7a})));
}

TEST(EditSmallDocumentTest, ASettingPutInGoesAmongItsNeighboursAndTheLengthsAroundItGrow) {
  // saturation (field 2) between range and inMinValue; the settings' unknown
  // field stays last; config 7 -> 9 bytes, the input 14 -> 16.
  EXPECT_EQ(Hex(Edited(kSmall, {"inputs[id=1].config.saturation=true"})),
            Hex(Bytes({0x08, 0x03,                                                        //
                       0x1a, 0x10, 0x08, 0x01, 0x2a, 0x01, 0x41,                          //
                       0x32, 0x09, 0x08, 0x02, 0x10, 0x01, 0x28, 0x1d, 0x98, 0x06, 0x07,  //
                       0x1a, 0x0c, 0x08, 0x02, 0x18, 0x02,                                //
                       0x32, 0x06, 0x08, 0x01, 0x10, 0x30, 0x18, 0x02,                    //
                       0x5a, 0x02, 0x47, 0x31,                                            //
                       0xa2, 0x06, 0x02, 0x7a, 0x7a})));
}

TEST(EditSmallDocumentTest, ASettingSetToItsDefaultIsTakenOut) {
  // range5V is 0, which the record does not write.
  EXPECT_EQ(Hex(Edited(kSmall, {"inputs[0].config.range=range5V"})),
            Hex(Bytes({0x08, 0x03,                                //
                       0x1a, 0x0c, 0x08, 0x01, 0x2a, 0x01, 0x41,  //
                       0x32, 0x05, 0x28, 0x1d, 0x98, 0x06, 0x07,  //
                       0x1a, 0x0c, 0x08, 0x02, 0x18, 0x02,        //
                       0x32, 0x06, 0x08, 0x01, 0x10, 0x30, 0x18, 0x02,  //
                       0x5a, 0x02, 0x47, 0x31,                    //
                       0xa2, 0x06, 0x02, 0x7a, 0x7a})));
}

TEST(EditSmallDocumentTest, FieldsOfTheDocumentAndOfAnEntryAreSetWhereTheyBelong) {
  // password (2) after version; the second input's alias (5) after its type;
  // gcuNo replaced where it stands; the unknown field kept after it.
  EXPECT_EQ(Hex(Edited(kSmall, {"password=pw", "inputs[1].alias=B", "gcuNo=G22"})),
            Hex(Bytes({0x08, 0x03, 0x12, 0x02, 0x70, 0x77,                    //
                       0x1a, 0x0e, 0x08, 0x01, 0x2a, 0x01, 0x41,              //
                       0x32, 0x07, 0x08, 0x02, 0x28, 0x1d, 0x98, 0x06, 0x07,  //
                       0x1a, 0x0f, 0x08, 0x02, 0x18, 0x02, 0x2a, 0x01, 0x42,  //
                       0x32, 0x06, 0x08, 0x01, 0x10, 0x30, 0x18, 0x02,        //
                       0x5a, 0x03, 0x47, 0x32, 0x32,                          //
                       0xa2, 0x06, 0x02, 0x7a, 0x7a})));
}

TEST(EditSmallDocumentTest, FieldsOutOfOrderAndGivenTwiceStayWhereTheyStand) {
  // gcuNo before version, version twice (the last one counts): the edit
  // writes version once, where it first stood, and moves nothing else.
  const std::string bytes = Bytes({0x5a, 0x01, 0x47, 0x08, 0x03, 0xa2, 0x06, 0x00, 0x08, 0x04});
  EXPECT_EQ(Hex(Edited(bytes, {"version=9"})), Hex(Bytes({0x5a, 0x01, 0x47, 0x08, 0x09, 0xa2, 0x06, 0x00})));
}

TEST(EditSmallDocumentTest, RefusedEditsLeaveTheOutputUntouched) {
  ConfigData config;
  std::string out = "untouched";
  EXPECT_THROW(EditDocument(kSmall, &config, Edits({"version=4", "inputs[id=7].alias=x"}), &out), Error);
  EXPECT_EQ(out, "untouched");
}

// Where each field of an encoding lies, as written.
struct WireField {
  int number;
  std::string whole;    // tag, length and value
  std::string content;  // the value of a length-delimited field
};

std::vector<WireField> FieldsOf(const std::string& bytes) {
  using google::protobuf::internal::WireFormatLite;
  google::protobuf::io::CodedInputStream in(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                            static_cast<int>(bytes.size()));
  std::vector<WireField> fields;
  while (true) {
    const int start = in.CurrentPosition();
    const std::uint32_t tag = in.ReadTag();
    if (tag == 0) break;
    WireField field{static_cast<int>(WireFormatLite::GetTagFieldNumber(tag)), "", ""};
    if (WireFormatLite::GetTagWireType(tag) == WireFormatLite::WIRETYPE_LENGTH_DELIMITED) {
      std::uint32_t length = 0;
      EXPECT_TRUE(in.ReadVarint32(&length));
      field.content = bytes.substr(static_cast<std::size_t>(in.CurrentPosition()), length);
      EXPECT_TRUE(in.Skip(static_cast<int>(length)));
    } else {
      EXPECT_TRUE(WireFormatLite::SkipField(&in, tag));
    }
    field.whole = bytes.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(in.CurrentPosition() - start));
    fields.push_back(field);
  }
  EXPECT_EQ(static_cast<std::size_t>(in.CurrentPosition()), bytes.size());
  return fields;
}

TEST(EditLargeDocumentTest, OnlyTheEditedSettingOfTheEditedEntryChanges) {
  const std::string bytes = test::SampleBytes("ConfigData", 400, 11);
  ConfigData config;
  ASSERT_TRUE(config.ParseFromString(bytes));
  // The digital input furthest into the document.
  int index = -1;
  for (int i = 0; i < config.inputs_size(); ++i) {
    if (config.inputs(i).type() == Input::DigitalInput && !config.inputs(i).config().empty()) index = i;
  }
  ASSERT_GT(index, 100);
  const int id = config.inputs(index).id();
  const std::string edited = Edited(bytes, {"inputs[id=" + std::to_string(id) + "].config.hold=12345"});
  const std::vector<WireField> before = FieldsOf(bytes);
  const std::vector<WireField> after = FieldsOf(edited);
  ASSERT_EQ(before.size(), after.size());
  int inputs_seen = 0;
  for (std::size_t i = 0; i < before.size(); ++i) {
    ASSERT_EQ(before[i].number, after[i].number);
    const bool edited_entry = before[i].number == 3 && inputs_seen++ == index;
    if (!edited_entry) {
      EXPECT_TRUE(before[i].whole == after[i].whole) << "field " << i << " changed";
      continue;
    }
    // In the entry, config alone changed; in config, hold alone.
    const std::vector<WireField> entry_before = FieldsOf(before[i].content);
    const std::vector<WireField> entry_after = FieldsOf(after[i].content);
    ASSERT_EQ(entry_before.size(), entry_after.size());
    for (std::size_t k = 0; k < entry_before.size(); ++k) {
      if (entry_before[k].number != 6) {
        EXPECT_EQ(Hex(entry_before[k].whole), Hex(entry_after[k].whole));
        continue;
      }
      const std::vector<WireField> settings_before = FieldsOf(entry_before[k].content);
      const std::vector<WireField> settings_after = FieldsOf(entry_after[k].content);
      ASSERT_EQ(settings_before.size(), settings_after.size());
      for (std::size_t s = 0; s < settings_before.size(); ++s) {
        ASSERT_EQ(settings_before[s].number, settings_after[s].number);
        if (settings_before[s].number == 3) {
          // hold 12345: zigzag 24690.
          EXPECT_EQ(Hex(settings_after[s].whole), Hex(Bytes({0x18, 0xf2, 0xc0, 0x01})));
        } else {
          EXPECT_EQ(Hex(settings_before[s].whole), Hex(settings_after[s].whole));
        }
      }
    }
  }
  ConfigData read;
  ASSERT_TRUE(read.ParseFromString(edited));
  EXPECT_EQ(SettingsOf<DigitalInConfiguration>(read.inputs(index)).hold(), 12345);
}

TEST(EditPathTest, AnAssignmentSplitsAtTheFirstSignOutsideBrackets) {
  const Assignment assignment = ParseAssignment("maps[alias=\"a=b\"].alias=x=y");
  EXPECT_EQ(assignment.path, "maps[alias=\"a=b\"].alias");
  EXPECT_EQ(assignment.value, "x=y");
  EXPECT_EQ(ParseAssignment("inputs[id=2].alias=").value, "");
}

TEST(EditPathTest, AnAssignmentWithoutASignOrWithABrokenPathIsRefused) {
  EXPECT_NE(Thrown([] { ParseAssignment("inputs[id=2].alias"); }).message().find("no '=' after the path"),
            std::string::npos);
  const Error unclosed = Thrown([] { ParseAssignment("inputs[id=2"); });
  EXPECT_EQ(unclosed.where(), "inputs[id=2");
  EXPECT_EQ(unclosed.message(), "the '[' at character 7 is not closed by ']'");
  EXPECT_NE(Thrown([] { ParseAssignment("=5"); }).message().find("the path before '=' is empty"), std::string::npos);
}

TEST(EditPathTest, BrokenPathsSayWhichCharacterIsWrong) {
  EXPECT_NE(Refusal(kSmall, {"inputs[-1].alias=x"}).message().find("'-' at character 8"), std::string::npos);
  EXPECT_NE(Refusal(kSmall, {"inputs[0][1].alias=x"}).message().find("a list element is chosen once"),
            std::string::npos);
  EXPECT_NE(Refusal(kSmall, {"inputs..alias=x"}).message().find("a field name was expected at character 8"),
            std::string::npos);
  EXPECT_NE(Refusal(kSmall, {"inputs[id=].alias=x"}).message().find("the value of id is missing"),
            std::string::npos);
}

TEST(EditSelectTest, AnElementIsChosenByPositionOrByAnyFieldOfIt) {
  ConfigData config;
  ASSERT_TRUE(config.ParseFromString(kSmall));
  Edit(&config, Edits({"inputs[1].pin=5", "inputs[alias=A].pin=6", "inputs[alias=\"A\"].unit=mV",
                       "inputs[type=DigitalInput].isPreset=true"}));
  EXPECT_EQ(config.inputs(1).pin(), 5u);
  EXPECT_EQ(config.inputs(0).pin(), 6u);
  EXPECT_EQ(config.inputs(0).unit(), "mV");
  EXPECT_TRUE(config.inputs(1).ispreset());
}

TEST(EditSelectTest, AMissingIdIsRefusedNamingTheIdsThere) {
  const Error e = Refusal(kSmall, {"inputs[id=7].alias=x"});
  EXPECT_EQ(e.where(), "inputs[id=7].alias");
  EXPECT_EQ(e.message(), "no element of inputs has id 7; the elements there have id 1 and 2");
}

TEST(EditSelectTest, AmongManyIdsTheClosestAreNamed) {
  const std::string bytes = test::SampleBytes("ConfigData", 40, 1);
  const Error e = Refusal(bytes, {"inputs[id=57].alias=x"});
  EXPECT_EQ(e.message(), "no element of inputs has id 57; the elements there have 40 values of id, the closest 40, "
                         "39 and 38");
}

TEST(EditSelectTest, AnIdHeldTwiceIsRefusedNamingThePositions) {
  ConfigData config;
  config.add_inputs()->set_id(4);
  config.add_inputs()->set_id(5);
  config.add_inputs()->set_id(4);
  const Error e = Thrown([&] { Edit(&config, Edits({"inputs[id=4].alias=x"})); });
  EXPECT_EQ(e.message(), "2 elements of inputs have id 4 (inputs[0] and inputs[2]); choose one by its position, as "
                         "inputs[0]");
}

TEST(EditSelectTest, APositionBeyondTheListIsRefusedWithItsLength) {
  EXPECT_EQ(Refusal(kSmall, {"inputs[2].alias=x"}).message(),
            "there is no inputs[2]: inputs holds 2 elements, inputs[0] to inputs[1]");
  EXPECT_EQ(Refusal(kSmall, {"outputs[0].alias=x"}).message(), "there is no outputs[0]: outputs holds 0 elements");
}

TEST(EditNamesTest, AMistypedFieldIsRefusedWithTheClosestName) {
  const Error e = Refusal(kSmall, {"inputs[id=2].config.delai=5"});
  EXPECT_EQ(e.where(), "inputs[id=2].config.delai");
  EXPECT_EQ(e.message(), "\"delai\" is not a field of DigitalInConfiguration; did you mean \"delay\"?");
  EXPECT_EQ(Refusal(kSmall, {"inptus[0].alias=x"}).message(),
            "\"inptus\" is not a field of ConfigData; did you mean \"inputs\"?");
}

TEST(EditNamesTest, FieldsAreFoundByTheirJsonNamesToo) {
  CurrentConfiguration current;
  current.set___unused1(3);
  ConfigData config;
  Output* output = config.add_outputs();
  SetSettings(*output, current);
  Edit(&config, Edits({"outputs[0].config.Unused1=4", "outputs[0].config.__unused2=5"}));
  EXPECT_EQ(SettingsOf<CurrentConfiguration>(config.outputs(0)).__unused1(), 4);
  EXPECT_EQ(SettingsOf<CurrentConfiguration>(config.outputs(0)).__unused2(), 5);
}

TEST(EditNamesTest, AListOrARecordIsNotSetWhole) {
  EXPECT_EQ(Refusal(kSmall, {"inputs.alias=x"}).message(),
            "inputs is a list of Input; choose an element by position or by a field of it: inputs[0], inputs[id=1]");
  EXPECT_NE(Refusal(kSmall, {"units=3"}).message().find("units is a record (Units); set one of its fields"),
            std::string::npos);
  EXPECT_EQ(Refusal(kSmall, {"version[0]=1"}).message(), "version of ConfigData is not a list: leave out the '[...]' after it");
  EXPECT_EQ(Refusal(kSmall, {"version.x=1"}).message(),
            "version holds an integer (uint32), not a record; the path cannot go on past version");
}

TEST(EditValuesTest, EnumerationsTakeNamesOrNumbersAndTypeCodesTheirNames) {
  ConfigData config;
  ASSERT_TRUE(config.ParseFromString(kSmall));
  config.add_maps()->set_id(3);
  Edit(&config, Edits({"units.pressureUnit=mBar", "units.timeUnit=2", "inputs[id=2].config.mode=Time",
                       "maps[id=3].type=Interpolated3dMap", "inputs[id=1].type=AdcInput", "inputs[id=2].type=2"}));
  EXPECT_EQ(config.units().pressureunit(), Units::mBar);
  EXPECT_EQ(config.units().timeunit(), Units::s);
  EXPECT_EQ(SettingsOf<DigitalInConfiguration>(config.inputs(1)).mode(), DigitalInConfiguration::Time);
  EXPECT_EQ(config.maps(0).type(), Map::Interpolated3dMap);
  EXPECT_EQ(config.inputs(0).type(), Input::AdcInput);
  EXPECT_EQ(config.inputs(1).type(), Input::DigitalInput);
}

TEST(EditValuesTest, AnEnumerationValueOfNoNameIsRefusedWithTheNames) {
  EXPECT_EQ(Refusal(kSmall, {"inputs[id=2].config.mode=Tim"}).message(),
            "\"Tim\" is not a value of DigitalInConfiguration.Mode; did you mean \"Time\"? (the values are DigitalIn, "
            "Duty, Frequency and Time)");
  EXPECT_EQ(Refusal(kSmall, {"inputs[id=2].type=DigitalInptu"}).message(),
            "\"DigitalInptu\" is not a number or a value of Input.Type; did you mean \"DigitalInput\"?");
}

TEST(EditValuesTest, NumbersOutOfTheirFieldsRangeOrNotNumbersAreRefused) {
  EXPECT_EQ(Refusal(kSmall, {"inputs[id=2].config.delay=fast"}).message(),
            "the value \"fast\" is not a number; delay takes an integer (sint32)");
  EXPECT_EQ(Refusal(kSmall, {"inputs[id=2].config.delay=2147483648"}).message(),
            "the value \"2147483648\" is out of range; delay takes an integer (sint32), from -2147483648 to "
            "2147483647");
  EXPECT_EQ(Refusal(kSmall, {"version=-1"}).message(),
            "the value \"-1\" is out of range; version takes an integer (uint32), from 0 to 4294967295");
  EXPECT_EQ(Refusal(kSmall, {"inputs[0].minValue=1e39"}).message(),
            "the value \"1e39\" is out of range; minValue takes a float, whose largest magnitude is about 3.4e+38");
  EXPECT_EQ(Refusal(kSmall, {"inputs[0].isPreset=yes"}).message(),
            "the value \"yes\" is not true or false, which isPreset takes");
  EXPECT_EQ(Refusal(kSmall, {"version="}).message(), "no value is given after '='; version takes an integer (uint32)");
}

TEST(EditValuesTest, FloatsAreReadAsTheJsonWriterSpellsThem) {
  ConfigData config;
  ASSERT_TRUE(config.ParseFromString(kSmall));
  Edit(&config, Edits({"inputs[0].minValue=1e+20", "inputs[0].maxValue=-Infinity", "inputs[1].minValue=NaN",
                       "inputs[1].maxValue=0.1"}));
  const std::string json = WriteString(config, Format::kJson);
  EXPECT_NE(json.find("\"minValue\": 1e+20"), std::string::npos) << json;
  EXPECT_NE(json.find("\"maxValue\": \"-Infinity\""), std::string::npos);
  EXPECT_NE(json.find("\"minValue\": \"NaN\""), std::string::npos);
  EXPECT_NE(json.find("\"maxValue\": 0.1"), std::string::npos);
}

TEST(EditValuesTest, StringsAreTakenBareOrQuotedAndBytesInBase64) {
  ConfigData config;
  ASSERT_TRUE(config.ParseFromString(kSmall));
  config.add_drivers()->set_id(1);
  Edit(&config, Edits({"inputs[0].alias=Gear map", "inputs[1].alias=\"Oil \\\"hot\\\"\\n\"", "gcuNo=\"\"",
                       "inputs[0].unit=a \"b\"", "drivers[id=1].guiConfig=AAE="}));
  EXPECT_EQ(config.inputs(0).alias(), "Gear map");
  EXPECT_EQ(config.inputs(1).alias(), "Oil \"hot\"\n");
  EXPECT_EQ(config.gcuno(), "");
  EXPECT_EQ(config.inputs(0).unit(), "a \"b\"");
  EXPECT_EQ(config.drivers(0).guiconfig(), Bytes({0x00, 0x01}));
}

TEST(EditValuesTest, AQuoteThatDoesNotCloseAndBase64ThatIsNotAreRefused) {
  EXPECT_NE(Refusal(kSmall, {"gcuNo=\"unclosed"}).message().find("starts with a quote but is not one quoted string"),
            std::string::npos);
  ConfigData config;
  config.add_drivers()->set_id(1);
  EXPECT_EQ(Thrown([&] { Edit(&config, Edits({"drivers[0].guiConfig=!!"})); }).message(),
            "the value \"!!\" is not base64; guiConfig takes bytes, in base64 (as decode writes it)");
}

}  // namespace
}  // namespace gcuschema::document
