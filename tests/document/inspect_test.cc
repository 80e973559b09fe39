#include <gcuschema/document/inspect.h>

#include <map>
#include <sstream>
#include <string>

#include <google/protobuf/io/coded_stream.h>
#include <gtest/gtest.h>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/MapConfig.pb.h>
#include <gcuschema/document/records.h>
#include <gcuschema/document/samples.h>

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;

const PairingCatalogue& Standard() {
  static const PairingCatalogue pairing = PairingCatalogue::Standard();
  return pairing;
}

bool Mentions(const std::string& text, const std::string& what) { return text.find(what) != std::string::npos; }

// The line that starts (after its indentation) with `head`.
std::string LineOf(const std::string& text, const std::string& head) {
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    const std::size_t start = line.find_first_not_of(' ');
    if (start != std::string::npos && line.compare(start, head.size(), head) == 0) return line;
  }
  return std::string();
}

// Bytes a list of records takes in its document: per element a one-byte
// tag, the element's length as a varint, and the element.
template <typename List>
std::size_t ListBytes(const List& list) {
  std::size_t total = 0;
  for (const auto& element : list) {
    const std::size_t size = element.ByteSizeLong();
    total += 1 + pb::io::CodedOutputStream::VarintSize64(size) + size;
  }
  return total;
}

TEST(InspectTest, ConfigSummaryGivesCountsAndBytes) {
  ConfigData config;
  SampleConfig(SampleOptions{}, &config);
  const std::string text = Inspect(config, {Standard()});

  EXPECT_EQ(LineOf(text, "ConfigData:"), "ConfigData: " + std::to_string(config.ByteSizeLong()) + " bytes");
  EXPECT_EQ(LineOf(text, "inputs:"),
            "  inputs: " + std::to_string(config.inputs_size()) + ", " + std::to_string(ListBytes(config.inputs())) +
                " bytes");
  EXPECT_EQ(LineOf(text, "outputs:"), "  outputs: " + std::to_string(config.outputs_size()) + ", " +
                                          std::to_string(ListBytes(config.outputs())) + " bytes");
  EXPECT_EQ(LineOf(text, "maps:"),
            "  maps: " + std::to_string(config.maps_size()) + ", " + std::to_string(ListBytes(config.maps())) +
                " bytes");
  EXPECT_EQ(LineOf(text, "canbus:"), "  canbus: " + std::to_string(config.canbus_size()) + ", " +
                                         std::to_string(ListBytes(config.canbus())) + " bytes");
  EXPECT_EQ(LineOf(text, "estimationData:"), "  estimationData: " + std::to_string(config.estimationdata_size()) +
                                                 ", " + std::to_string(ListBytes(config.estimationdata())) + " bytes");
  EXPECT_EQ(LineOf(text, "canObjectCount:"), "  canObjectCount: " + std::to_string(config.canobjectcount()));

  // One row per input type: its name and code, how many, and the settings record.
  std::map<int, int> by_type;
  for (const Input& input : config.inputs()) ++by_type[input.type()];
  for (const auto& [code, count] : by_type) {
    const std::string name = Input_Type_Name(static_cast<Input_Type>(code));
    const std::string row = LineOf(text, name + " (" + std::to_string(code) + ")");
    ASSERT_FALSE(row.empty()) << name << "\n" << text;
    std::istringstream fields(row.substr(row.find(')') + 1));
    int shown = 0;
    fields >> shown;
    EXPECT_EQ(shown, count) << row;
    EXPECT_TRUE(Mentions(row, Standard().Find(EntryKind::kInput, code)->full_name())) << row;
  }
  EXPECT_TRUE(Mentions(LineOf(text, "PwmOutput (0)"), "PwmConfiguration")) << text;

  // Identity and the buses with their frames.
  EXPECT_TRUE(Mentions(text, "gcuNo: \"" + config.gcuno() + "\"")) << text;
  EXPECT_TRUE(Mentions(text, "deviceDescription: \"" + config.devicedescription() + "\"")) << text;
  EXPECT_FALSE(Mentions(text, config.password())) << "the password itself is not shown";
  const Canbus& bus = config.canbus(0);
  const std::string bus_line = LineOf(text, "bus " + std::to_string(bus.canbusid()) + ":");
  EXPECT_TRUE(Mentions(bus_line, "frames in " + std::to_string(bus.standardinputframes_size()) + " standard"))
      << bus_line;
  EXPECT_TRUE(Mentions(LineOf(text, "units:"), "bytes")) << text;
}

TEST(InspectTest, TypeCodesOutsideTheEnumerationAreShownByNumber) {
  ConfigData config;
  Input* input = config.add_inputs();
  input->set_type(16);
  input->set_config("\x01\x02");
  const std::string text = Inspect(config, {Standard()});
  const std::string row = LineOf(text, "16 (not a Type value)");
  EXPECT_TRUE(Mentions(row, "(opaque settings)")) << text;
  EXPECT_TRUE(Mentions(row, "settings 2 bytes")) << text;
}

// Two maps of each of two types; the first Point3dMap holds `first`.
ConfigData TwoMapTypes(const std::string& first) {
  ::Map3D table;
  table.add_x(1);
  table.add_y(2);
  table.add_values(3);
  ConfigData config;
  for (int i = 0; i < 4; ++i) {
    ::Map* map = config.add_maps();
    map->set_id(static_cast<std::uint32_t>(i + 1));
    map->set_type(i < 2 ? Map::Point3dMap : Map::Interpolated3dMap);
    map->set_config(i == 0 ? first : table.SerializeAsString());
  }
  return config;
}

TEST(InspectTest, MapsSayHowTheirTableWasRead) {
  ::Map3D table;
  table.add_x(5);
  const std::string readable = table.SerializeAsString();
  std::string text = Inspect(TwoMapTypes(readable), {Standard()});
  EXPECT_EQ(LineOf(text, "Point3dMap (0)"), "    Point3dMap (0)                  2  Map3D, paired by its type") << text;
  EXPECT_EQ(LineOf(text, "Interpolated3dMap (1)"), "    Interpolated3dMap (1)           2  Map3D, paired by its type");

  PairingCatalogue given = Standard();
  given.SetMapTable(FindRecord("Map3D"));
  given.Apply("map:Interpolated3dMap=Map3D");
  text = Inspect(TwoMapTypes(readable), {given});
  EXPECT_EQ(LineOf(text, "Point3dMap (0)"), "    Point3dMap (0)                  2  Map3D, by the map table given") << text;
  EXPECT_EQ(LineOf(text, "Interpolated3dMap (1)"), "    Interpolated3dMap (1)           2  Map3D, by a pairing given");

  given.SetMapTable(nullptr);
  text = Inspect(TwoMapTypes(readable), {given});
  EXPECT_EQ(LineOf(text, "Point3dMap (0)"),
            "    Point3dMap (0)                  2  left as bytes: no table is paired with this type")
      << text;
}

TEST(InspectTest, MapsLeftAsBytesSayWhy) {
  // A length running past the end; then x (1) written after values (3), so
  // that encoding the table again gives other bytes.
  std::string text = Inspect(TwoMapTypes(std::string("\x0A\x05\x01", 3)), {Standard()});
  EXPECT_TRUE(Mentions(text, "    Point3dMap (0)                  1  Map3D, paired by its type\n")) << text;
  EXPECT_TRUE(Mentions(text, "    Point3dMap (0)                  1  left as bytes: they do not read as Map3D "
                             "(paired by its type)\n"))
      << text;
  text = Inspect(TwoMapTypes(std::string("\x1A\x01\x02\x0A\x01\x02", 6)), {Standard()});
  EXPECT_TRUE(Mentions(text, "left as bytes: they read as Map3D (paired by its type) but do not encode back to the "
                             "same bytes\n"))
      << text;
  ConfigData config = TwoMapTypes("");
  config.mutable_maps(1)->set_type(static_cast<Map_MapType>(7));
  text = Inspect(config, {Standard()});
  EXPECT_EQ(LineOf(text, "7 (not a MapType value)"),
            "    7 (not a MapType value)         1  left as bytes: no table is paired with a type outside Map.MapType")
      << text;
}

TEST(InspectTest, LinearizationsSayHowTheirTableWasRead) {
  ConfigData config;
  for (int i = 0; i < 3; ++i) {
    Input* input = config.add_inputs();
    input->set_id(i + 1);
    input->mutable_linearization()->set_type(Map::Interpolated3dMap);
    input->mutable_linearization()->set_config(i == 0 ? std::string("\x0A\x05", 2) : std::string());
  }
  const std::string text = Inspect(config, {Standard()});
  EXPECT_TRUE(Mentions(text, "    with a linearization: 3\n"
                             "      Interpolated3dMap (1)           2  Map3D, paired by its type\n"
                             "      Interpolated3dMap (1)           1  left as bytes: they do not read as Map3D "
                             "(paired by its type)\n"))
      << text;
}

TEST(InspectTest, SettingsThatDoNotReadAsTheirRecordAreCounted) {
  ConfigData config;
  for (int i = 0; i < 3; ++i) {
    Input* input = config.add_inputs();
    input->set_type(Input::AdcInput);
    input->set_config(i == 0 ? std::string("\x0A\x05", 2) : std::string("\x08\x02", 2));
  }
  const std::string text = Inspect(config, {Standard()});
  EXPECT_TRUE(Mentions(LineOf(text, "AdcInput (0)"), "settings 6 bytes, 1 not readable as such")) << text;
}

TEST(InspectTest, DeviceDataShowsBlocksAndItsConfiguration) {
  DeviceData device;
  SampleDeviceData(SampleOptions{30, 2}, &device);
  const std::string text = Inspect(device, {Standard()});
  EXPECT_EQ(LineOf(text, "DeviceData:"), "DeviceData: " + std::to_string(device.ByteSizeLong()) + " bytes");
  EXPECT_EQ(LineOf(text, "config:"), "  config: " + std::to_string(device.config().size()) + " bytes");
  EXPECT_EQ(LineOf(text, "valveAdaptation:"),
            "  valveAdaptation: " + std::to_string(device.valveadaptation().size()) + " bytes");
  EXPECT_EQ(LineOf(text, "ConfigData:"), "  ConfigData: " + std::to_string(device.config().size()) + " bytes");
  EXPECT_EQ(LineOf(text, "inputs:"), "    inputs: 30, " + [&] {
              ConfigData config;
              config.ParseFromString(device.config());
              return std::to_string(ListBytes(config.inputs()));
            }() + " bytes");

  device.set_config("\x1A\x09");
  EXPECT_TRUE(Mentions(Inspect(device, {Standard()}), "config does not read as a ConfigData"));
}

TEST(InspectTest, CalibrationShowsListsWithTheirCounts) {
  CalibrationData calibration;
  SampleCalibration(SampleOptions{40, 1}, &calibration);
  calibration.set_pwmcalibrationcount(99);
  const std::string text = Inspect(calibration, {Standard()});
  EXPECT_TRUE(Mentions(text, "serialNo: \"" + calibration.serialno() + "\"")) << text;
  EXPECT_EQ(LineOf(text, "adcCalibration:"),
            "  adcCalibration: " + std::to_string(calibration.adccalibration_size()) + " (adcCalibrationCount " +
                std::to_string(calibration.adccalibrationcount()) + "), " +
                std::to_string(ListBytes(calibration.adccalibration())) + " bytes");
  EXPECT_TRUE(Mentions(LineOf(text, "pwmCalibration:"), "(pwmCalibrationCount 99)")) << text;
}

TEST(InspectTest, OtherRecordsShowTheirFieldsAndSettings) {
  Input input;
  input.set_id(12);
  input.set_alias("OilTemp");
  input.set_type(Input::AdcInput);
  AdcConfiguration adc;
  adc.set_range(AdcConfiguration::range12V);
  input.set_config(adc.SerializeAsString());
  const std::string text = Inspect(input, {Standard()});
  EXPECT_EQ(LineOf(text, "Input:"), "Input: " + std::to_string(input.ByteSizeLong()) + " bytes");
  EXPECT_TRUE(Mentions(text, "alias: \"OilTemp\"")) << text;
  EXPECT_TRUE(Mentions(text, "config as AdcConfiguration:")) << text;
  EXPECT_TRUE(Mentions(text, "range: range12V")) << text;

  input.set_config("\x0A\x05");
  EXPECT_TRUE(Mentions(Inspect(input, {Standard()}), "config does not read as AdcConfiguration"));
}

}  // namespace
}  // namespace gcuschema::document
