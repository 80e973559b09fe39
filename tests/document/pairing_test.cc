#include <gcuschema/document/pairing.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>

namespace gcuschema::document {
namespace {

struct Row {
  EntryKind kind;
  int code;
  const char* record;
};

// The pairing rows of the configuration document's type codes.
const std::vector<Row>& ExpectedRows() {
  static const std::vector<Row> rows = {
      {EntryKind::kInput, Input::AdcInput, "AdcConfiguration"},
      {EntryKind::kInput, Input::DigitalInput, "DigitalInConfiguration"},
      {EntryKind::kInput, Input::PhonicWheelInput, "PhonicWheelConfiguration"},
      {EntryKind::kInput, Input::CanbusInput, "CanbusInputConfiguration"},
      {EntryKind::kInput, Input::ConstantValueInput, "ConstantValueInputConfiguration"},
      {EntryKind::kInput, Input::CompareInput, "CompareConfiguration"},
      {EntryKind::kInput, Input::DivideInput, "DivideInputConfigData"},
      {EntryKind::kInput, Input::DutyInput, "DutyInConfiguration"},
      {EntryKind::kInput, Input::MapInput, "MapInputConfigData"},
      {EntryKind::kInput, Input::AhrsInput, "AhrsInputConfiguration"},
      {EntryKind::kInput, Input::RbcInput, "RbcInputConfigData"},
      {EntryKind::kInput, Input::CanobjectInput, "CanObjectInputData"},
      {EntryKind::kInput, Input::CounterInput, "CounterInputConfiguration"},
      {EntryKind::kInput, Input::SystemInput, "SystemInputConfigurationData"},
      {EntryKind::kInput, Input::WaveformInput, "WaveformInputConfigData"},
      {EntryKind::kInput, Input::TestInput, "TestInputConfiguration"},
      {EntryKind::kOutput, Output::PwmOutput, "PwmConfiguration"},
      {EntryKind::kOutput, Output::DacOutput, "DacConfiguration"},
      {EntryKind::kOutput, Output::CanbusOutput, "CanbusOutputConfiguration"},
      {EntryKind::kOutput, Output::CurrentOutput, "CurrentConfiguration"},
      {EntryKind::kOutput, Output::MapOutput, "MapOutputConfigData"},
      {EntryKind::kOutput, Output::SplitterOutput, "SplitterOutputConfigData"},
      {EntryKind::kOutput, Output::PowerOutput, "PowerOutputConfigData"},
      {EntryKind::kOutput, Output::CanobjectOutput, "CanObjectOutputData"},
      {EntryKind::kOutput, Output::TachoOutput, "TachoOutputConfigData"},
      {EntryKind::kOutput, Output::TestOutput, "TestOutputConfiguration"},
      // Every map type names a three-dimensional map; Map3D is the one
      // record that holds a whole such table.
      {EntryKind::kMap, Map::Point3dMap, "Map3D"},
      {EntryKind::kMap, Map::Interpolated3dMap, "Map3D"},
      {EntryKind::kMap, Map::NearestNeighbour3dMap, "Map3D"},
  };
  return rows;
}

TEST(PairingTest, StandardHoldsEveryNamedPairing) {
  const PairingCatalogue standard = PairingCatalogue::Standard();
  for (const Row& row : ExpectedRows()) {
    const google::protobuf::Descriptor* found = standard.Find(row.kind, row.code);
    ASSERT_NE(found, nullptr) << EntryKindName(row.kind) << " " << row.code;
    EXPECT_EQ(found->full_name(), row.record) << EntryKindName(row.kind) << " " << row.code;
  }
  EXPECT_EQ(standard.entries().size(), ExpectedRows().size());
}

TEST(PairingTest, StandardLeavesOpenCodesOpen) {
  const PairingCatalogue standard = PairingCatalogue::Standard();
  EXPECT_EQ(standard.Find(EntryKind::kInput, Input::FrequencyInput), nullptr);
  EXPECT_EQ(standard.Find(EntryKind::kInput, Input::AnalogSwitchInput), nullptr);
  EXPECT_EQ(standard.Find(EntryKind::kInput, Input::CurrentSenseInput), nullptr);
  EXPECT_EQ(standard.Find(EntryKind::kInput, 16), nullptr);
  EXPECT_EQ(standard.Find(EntryKind::kMap, Map::MapType_MAX + 1), nullptr);
  EXPECT_EQ(standard.Find(EntryKind::kDriver, 0), nullptr);
  EXPECT_EQ(standard.Find(EntryKind::kHandler, 0), nullptr);
}

TEST(PairingTest, EveryStandardPairingIsAValueOfItsTypeEnumeration) {
  const PairingCatalogue standard = PairingCatalogue::Standard();
  for (const auto& [key, record] : standard.entries()) {
    const auto* type_enum = TypeCodeNames(key.first);
    ASSERT_NE(type_enum, nullptr) << EntryKindName(key.first);
    ASSERT_NE(type_enum->FindValueByNumber(key.second), nullptr) << key.second;
    EXPECT_EQ(FindRecord(record->full_name()), record);
  }
}

TEST(PairingTest, SourcesSayWhoChoseEachPairing) {
  PairingCatalogue catalogue = PairingCatalogue::Standard();
  EXPECT_EQ(catalogue.SourceOf(EntryKind::kInput, Input::AdcInput), PairingSource::kSchema);
  EXPECT_EQ(catalogue.SourceOf(EntryKind::kMap, Map::Point3dMap), PairingSource::kMapType);
  catalogue.SetMapTable(FindRecord("Map2D"));
  EXPECT_EQ(catalogue.SourceOf(EntryKind::kMap, Map::Point3dMap), PairingSource::kMapTable);
  catalogue.Apply("map:Point3dMap=Map3D");
  EXPECT_EQ(catalogue.SourceOf(EntryKind::kMap, Map::Point3dMap), PairingSource::kGiven);
  EXPECT_EQ(catalogue.SourceOf(EntryKind::kMap, Map::Interpolated3dMap), PairingSource::kMapTable);
}

TEST(PairingTest, SetAddsReplacesAndRemoves) {
  PairingCatalogue catalogue;
  EXPECT_TRUE(catalogue.entries().empty());
  catalogue.Set(EntryKind::kInput, 5, FindRecord("AdcSwitchConfiguration"));
  EXPECT_EQ(catalogue.Find(EntryKind::kInput, 5), FindRecord("AdcSwitchConfiguration"));
  EXPECT_EQ(catalogue.Find(EntryKind::kOutput, 5), nullptr);
  catalogue.Set(EntryKind::kInput, 5, FindRecord("AdcConfiguration"));
  EXPECT_EQ(catalogue.Find(EntryKind::kInput, 5), FindRecord("AdcConfiguration"));
  catalogue.Set(EntryKind::kInput, 5, nullptr);
  EXPECT_EQ(catalogue.Find(EntryKind::kInput, 5), nullptr);
  EXPECT_TRUE(catalogue.entries().empty());
}

TEST(PairingTest, SetMapTablePairsEveryMapType) {
  PairingCatalogue catalogue = PairingCatalogue::Standard();
  catalogue.SetMapTable(FindRecord("Map3D"));
  for (int i = 0; i < Map_MapType_descriptor()->value_count(); ++i) {
    EXPECT_EQ(catalogue.Find(EntryKind::kMap, Map_MapType_descriptor()->value(i)->number()),
              FindRecord("Map3D"));
  }
  catalogue.SetMapTable(nullptr);
  EXPECT_EQ(catalogue.Find(EntryKind::kMap, Map::Interpolated3dMap), nullptr);
}

TEST(PairingTest, ApplyTakesNumbersAndValueNames) {
  PairingCatalogue catalogue;
  catalogue.Apply("input:5=AdcSwitchConfiguration");
  EXPECT_EQ(catalogue.Find(EntryKind::kInput, 5), FindRecord("AdcSwitchConfiguration"));
  catalogue.Apply("input:FrequencyInput=InputQeiConfiguration");
  EXPECT_EQ(catalogue.Find(EntryKind::kInput, Input::FrequencyInput),
            FindRecord("InputQeiConfiguration"));
  catalogue.Apply(" map : Interpolated3dMap = Map3D ");
  EXPECT_EQ(catalogue.Find(EntryKind::kMap, Map::Interpolated3dMap), FindRecord("Map3D"));
  catalogue.Apply("driver:-3=Map2D");
  EXPECT_EQ(catalogue.Find(EntryKind::kDriver, -3), FindRecord("Map2D"));
  catalogue.Apply("handler:7=CalibrationData_FreqPull");
  EXPECT_EQ(catalogue.Find(EntryKind::kHandler, 7), FindRecord("CalibrationData.FreqPull"));
  catalogue.Apply("output:TestOutput=TestOutputConfiguration");
  EXPECT_EQ(catalogue.Find(EntryKind::kOutput, 99), FindRecord("TestOutputConfiguration"));
  // An empty record name removes the pairing.
  catalogue.Apply("input:5=");
  EXPECT_EQ(catalogue.Find(EntryKind::kInput, 5), nullptr);
}

std::string ApplyError(const std::string& text) {
  PairingCatalogue catalogue;
  try {
    catalogue.Apply(text);
  } catch (const Error& e) {
    EXPECT_NE(e.where().find(text), std::string::npos) << e.what();
    return e.message();
  }
  ADD_FAILURE() << "no error for " << text;
  return "";
}

TEST(PairingTest, ApplyErrorsSayWhatIsWrong) {
  EXPECT_NE(ApplyError("input5=AdcConfiguration").find("KIND:CODE=RECORD"), std::string::npos);
  EXPECT_NE(ApplyError("input:5").find("KIND:CODE=RECORD"), std::string::npos);
  EXPECT_EQ(ApplyError("sensor:5=AdcConfiguration"),
            "\"sensor\" is not an entry kind; the valid names are input, output, map, driver and handler");
  EXPECT_EQ(ApplyError("inptu:5=AdcConfiguration"), "\"inptu\" is not an entry kind; did you mean \"input\"?");
  EXPECT_NE(ApplyError("input:=AdcConfiguration").find("type code is missing"), std::string::npos);
  EXPECT_NE(ApplyError("input:Bogus=AdcConfiguration").find("Input.Type"), std::string::npos);
  EXPECT_NE(ApplyError("input:5x=AdcConfiguration").find("\"5x\" is not a number or a value of Input.Type"),
            std::string::npos);
  EXPECT_EQ(ApplyError("input:DutyInptu=DutyInConfiguration"),
            "\"DutyInptu\" is not a number or a value of Input.Type; did you mean \"DutyInput\"?");
  EXPECT_EQ(ApplyError("map:interpolated3dmap=Map3D"),
            "\"interpolated3dmap\" is not a number or a value of Map.MapType; did you mean \"Interpolated3dMap\"?");
  EXPECT_NE(ApplyError("driver:Bogus=Map3D").find("plain numbers"), std::string::npos);
  EXPECT_NE(ApplyError("input:99999999999=AdcConfiguration").find("32 bits"), std::string::npos);
  EXPECT_EQ(ApplyError("input:5=NoSuchRecord"),
            "\"NoSuchRecord\" is not a record of the schema library");
  EXPECT_EQ(ApplyError("input:5=AdcSwitchConfig"),
            "\"AdcSwitchConfig\" is not a record of the schema library; did you mean \"AdcSwitchConfiguration\"?");
}

TEST(PairingTest, ApplyErrorLeavesTheCatalogueAlone) {
  PairingCatalogue catalogue = PairingCatalogue::Standard();
  EXPECT_THROW(catalogue.Apply("input:0=NoSuchRecord"), Error);
  EXPECT_EQ(catalogue.Find(EntryKind::kInput, 0), FindRecord("AdcConfiguration"));
}

TEST(PairingTest, EntryKindNames) {
  EXPECT_EQ(EntryKindName(EntryKind::kInput), "input");
  EXPECT_EQ(EntryKindName(EntryKind::kOutput), "output");
  EXPECT_EQ(EntryKindName(EntryKind::kMap), "map");
  EXPECT_EQ(EntryKindName(EntryKind::kDriver), "driver");
  EXPECT_EQ(EntryKindName(EntryKind::kHandler), "handler");
}

}  // namespace
}  // namespace gcuschema::document
