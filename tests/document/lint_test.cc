#include <gcuschema/document/lint.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/CalibrationDataLimits.pb.h>
#include <gcuschema/CompareInput.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/CounterInputConfiguration.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/DivideInputConfigData.pb.h>
#include <gcuschema/MapConfig.pb.h>
#include <gcuschema/MapInputConfigData.pb.h>
#include <gcuschema/RbcInputConfigData.pb.h>
#include <gcuschema/WaveformInputConfigData.pb.h>
#include <gcuschema/document/samples.h>

#include "support/wire.h"

namespace gcuschema::document {
namespace {

const PairingCatalogue& Standard() {
  static const PairingCatalogue pairing = PairingCatalogue::Standard();
  return pairing;
}

// "path rule" per finding: enough to see what was found where.
std::vector<std::string> Found(const google::protobuf::Message& record,
                               const PairingCatalogue& pairing = Standard()) {
  std::vector<std::string> out;
  for (const Finding& finding : Lint(record, {pairing})) {
    EXPECT_FALSE(finding.message.empty()) << finding.path;
    out.push_back(finding.path + " " + finding.rule);
  }
  return out;
}

using Paths = std::vector<std::string>;

// A small clean document: an ADC input, a compare input reading it, two
// buses and a router between them.
ConfigData SmallDocument() {
  ConfigData config;
  Input* adc = config.add_inputs();
  adc->set_id(1);
  adc->set_type(Input::AdcInput);
  AdcConfiguration adc_settings;
  adc_settings.set_range(AdcConfiguration::range12V);
  adc_settings.set_saturation(true);
  adc->set_config(adc_settings.SerializeAsString());
  Input* compare = config.add_inputs();
  compare->set_id(2);
  compare->set_type(Input::CompareInput);
  CompareConfiguration compare_settings;
  compare_settings.set_input(1);
  compare_settings.set_value(300);
  compare->set_config(compare_settings.SerializeAsString());
  Output* output = config.add_outputs();
  output->set_id(1);
  output->set_type(Output::PwmOutput);
  for (int id : {1, 2}) {
    Canbus* bus = config.add_canbus();
    bus->set_canbusid(id);
    bus->set_standardinputframecount(1);
    bus->add_standardinputframes()->set_messageid(0x100u + static_cast<unsigned>(id));
  }
  CanbusRouter* router = config.add_canbusrouter();
  router->set_sourcecanbusid(1);
  router->set_destinationcanbusid(2);
  config.mutable_units()->set_pressureunit(Units::Bar);
  return config;
}

TEST(LintTest, ACleanDocumentHasNoFindings) {
  EXPECT_EQ(Found(SmallDocument()), Paths{});
  EXPECT_FALSE(HasErrors(Lint(SmallDocument(), {Standard()})));
}

TEST(LintTest, CountThatDisagreesWithItsList) {
  ConfigData config = SmallDocument();
  config.mutable_canbus(0)->set_standardinputframecount(5);
  config.mutable_canbus(1)->set_entitiescount(1);
  EXPECT_EQ(Found(config), (Paths{"canbus[0].standardInputFrameCount count-mismatch",
                                  "canbus[1].entitiesCount count-mismatch"}));
  const std::vector<Finding> findings = Lint(config, {Standard()});
  EXPECT_EQ(findings[0].severity, Severity::kError);
  EXPECT_NE(findings[0].message.find("5"), std::string::npos) << findings[0].message;
  EXPECT_NE(findings[0].message.find("1"), std::string::npos) << findings[0].message;

  // A list with no count beside it, and the count of CAN objects, which
  // has no list at all.
  config = SmallDocument();
  config.mutable_canbus(0)->set_standardinputframecount(0);
  config.mutable_canbus(0)->clear_standardinputframes();
  config.set_canobjectcount(7);
  EXPECT_EQ(Found(config), Paths{});
}

TEST(LintTest, CalibrationCountsAgainstTheirLists) {
  CalibrationData calibration;
  calibration.set_adccalibrationcount(2);
  calibration.add_adccalibration()->set_logicalid(1);
  auto* freq = calibration.add_freqinputscalibration();
  calibration.set_freqinputscalibrationcount(1);
  freq->set_pullupscount(3);
  freq->add_pullups()->set_value(10);
  EXPECT_EQ(Found(calibration), (Paths{"adcCalibrationCount count-mismatch",
                                       "freqInputsCalibration[0].pullUpsCount count-mismatch"}));
  calibration.set_adccalibrationcount(1);
  freq->set_pullupscount(1);
  EXPECT_EQ(Found(calibration), Paths{});

  CalibrationTemplateData limits;
  limits.set_qeicalibrationcount(4);
  EXPECT_EQ(Found(limits), Paths{"qeiCalibrationCount count-mismatch"});
}

TEST(LintTest, TypeCodeOutsideItsEnumeration) {
  ConfigData config = SmallDocument();
  config.mutable_inputs(1)->set_type(16);  // a gap in Input.Type
  config.mutable_outputs(0)->set_type(42);
  EXPECT_EQ(Found(config), (Paths{"inputs[1].type unknown-type", "outputs[0].type unknown-type"}));
  config.mutable_inputs(1)->set_type(Input::TestInput);
  config.mutable_inputs(1)->clear_config();
  config.mutable_outputs(0)->set_type(Output::TestOutput);
  EXPECT_EQ(Found(config), Paths{});
}

TEST(LintTest, EnumerationValueOutsideItsEnumeration) {
  ConfigData config = SmallDocument();
  config.mutable_units()->set_pressureunit(static_cast<Units_Pressure>(5));
  config.mutable_units()->set_gearunit(static_cast<Units_Gear>(1));
  AdcConfiguration adc;
  adc.set_range(static_cast<AdcConfiguration_AdcRange>(7));
  config.mutable_inputs(0)->set_config(adc.SerializeAsString());
  EXPECT_EQ(Found(config), (Paths{"inputs[0].config.range unknown-enum-value",
                                  "units.pressureUnit unknown-enum-value", "units.gearUnit unknown-enum-value"}));

  CalibrationData calibration;
  calibration.set_devicetype(static_cast<CalibrationData_DeviceType>(7));
  calibration.set_digitaloutputcalibrationcount(1);
  calibration.add_digitaloutputcalibration()->set_drivertype(
      static_cast<CalibrationData_DigitalOutputCalibrationData_DriverType>(2));
  EXPECT_EQ(Found(calibration), (Paths{"digitalOutputCalibration[0].driverType unknown-enum-value",
                                       "deviceType unknown-enum-value"}));
  calibration.set_devicetype(CalibrationData::dtDcu);
  calibration.mutable_digitaloutputcalibration(0)->set_drivertype(
      CalibrationData_DigitalOutputCalibrationData::dtTLE94106);
  EXPECT_EQ(Found(calibration), Paths{});
}

TEST(LintTest, ConfigThatDoesNotReadAsItsRecord) {
  ConfigData config = SmallDocument();
  // A length-delimited field running past the end of the bytes.
  const std::string broken = test::Bytes({0x0A, 0x05, 0x01});
  config.mutable_inputs(0)->set_config(broken);
  EXPECT_EQ(Found(config), Paths{"inputs[0].config config-unreadable"});
  EXPECT_TRUE(HasErrors(Lint(config, {Standard()})));
  // The same bytes under a type code with no record are opaque.
  config.mutable_inputs(0)->set_type(Input::FrequencyInput);
  EXPECT_EQ(Found(config), Paths{});
  // A map's type only suggests its table: bytes that do not read as it are
  // a warning, and an error once the caller says which table maps hold.
  ::Map* map = config.add_maps();
  map->set_id(1);
  map->set_config(broken);
  EXPECT_EQ(Found(config), Paths{"maps[0].config config-unreadable"});
  EXPECT_FALSE(HasErrors(Lint(config, {Standard()})));
  PairingCatalogue tables = Standard();
  tables.SetMapTable(Map3D::descriptor());
  EXPECT_EQ(Found(config, tables), Paths{"maps[0].config config-unreadable"});
  EXPECT_TRUE(HasErrors(Lint(config, {tables})));
  tables.SetMapTable(nullptr);
  EXPECT_EQ(Found(config, tables), Paths{});
}

TEST(LintTest, ConfigNotInCanonicalForm) {
  ConfigData config = SmallDocument();
  // saturation (2) written before range (1): the same record, another encoding.
  config.mutable_inputs(0)->set_config(test::Bytes({0x10, 0x01, 0x08, 0x02}));
  EXPECT_EQ(Found(config), Paths{"inputs[0].config config-not-canonical"});
  const std::vector<Finding> findings = Lint(config, {Standard()});
  EXPECT_EQ(findings[0].severity, Severity::kWarning);
  EXPECT_FALSE(HasErrors(findings));
  config.mutable_inputs(0)->set_config(test::Bytes({0x08, 0x02, 0x10, 0x01}));
  EXPECT_EQ(Found(config), Paths{});
}

TEST(LintTest, DuplicateIdentifiers) {
  ConfigData config = SmallDocument();
  config.mutable_inputs(1)->set_id(1);
  config.add_outputs()->set_id(1);
  ::Map* first = config.add_maps();
  first->set_id(4);
  config.add_maps()->set_id(4);
  config.mutable_canbus(1)->set_canbusid(1);
  EXPECT_EQ(Found(config), (Paths{"inputs[1].id duplicate-id", "outputs[1].id duplicate-id",
                                  "maps[1].id duplicate-id", "canbus[1].canbusId duplicate-id",
                                  // the router's destination bus 2 is gone with it
                                  "canbusRouter[0].destinationCanbusId dangling-reference"}));
  const std::vector<Finding> findings = Lint(config, {Standard()});
  EXPECT_NE(findings[0].message.find("inputs[0]"), std::string::npos) << findings[0].message;
  // Inputs and outputs number apart: input 1 and output 1 do not clash.
  EXPECT_EQ(Found(SmallDocument()), Paths{});
}

TEST(LintTest, ReferencesToInputsThatDoNotExist) {
  ConfigData config = SmallDocument();
  auto add = [&config](int id, int type, const google::protobuf::Message& settings) {
    Input* input = config.add_inputs();
    input->set_id(id);
    input->set_type(type);
    input->set_config(settings.SerializeAsString());
  };
  DivideInputConfigData divide;
  divide.set_dividentinputid(1);
  divide.set_dividerinputid(77);
  add(3, Input::DivideInput, divide);
  MapInputConfigData curve;
  curve.set_inputid(78);
  add(4, Input::MapInput, curve);
  CounterInputConfiguration counter;
  counter.set_upinputid(1);
  counter.set_downinputid(2);
  counter.set_resetinputid(79);
  add(5, Input::CounterInput, counter);
  WaveformInputConfigData wave;
  wave.set_inputid(80);
  add(6, Input::WaveformInput, wave);
  RbcInputConfigData rbc;
  rbc.add_inputids(1);
  rbc.add_inputids(81);
  add(7, Input::RbcInput, rbc);
  CompareConfiguration compare;
  compare.set_input(82);
  add(8, Input::CompareInput, compare);
  EXPECT_EQ(Found(config), (Paths{"inputs[2].config.dividerInputId dangling-reference",
                                  "inputs[3].config.inputId dangling-reference",
                                  "inputs[4].config.resetInputId dangling-reference",
                                  "inputs[5].config.inputId dangling-reference",
                                  "inputs[6].config.inputIds[1] dangling-reference",
                                  "inputs[7].config.input dangling-reference"}));

  // Forward references resolve too: the document is the scope, not the order.
  for (int id = 77; id <= 82; ++id) config.add_inputs()->set_id(id);
  EXPECT_EQ(Found(config), Paths{});

  // A reference left at 0 is an unused one.
  ConfigData unused = SmallDocument();
  CounterInputConfiguration up_only;
  up_only.set_upinputid(1);
  Input* input = unused.add_inputs();
  input->set_id(3);
  input->set_type(Input::CounterInput);
  input->set_config(up_only.SerializeAsString());
  EXPECT_EQ(Found(unused), Paths{});
  up_only.set_resetinputid(-4);
  input->set_config(up_only.SerializeAsString());
  EXPECT_EQ(Found(unused), Paths{"inputs[2].config.resetInputId dangling-reference"});
}

TEST(LintTest, RoutersToBusesThatDoNotExist) {
  ConfigData config = SmallDocument();
  CanbusRouter* router = config.add_canbusrouter();
  router->set_sourcecanbusid(2);
  router->set_destinationcanbusid(9);
  config.add_canbusrouter()->set_destinationcanbusid(1);  // from bus 0, which is not there
  EXPECT_EQ(Found(config), (Paths{"canbusRouter[1].destinationCanbusId dangling-reference",
                                  "canbusRouter[2].sourceCanbusId dangling-reference"}));
  config.mutable_canbus(0)->set_canbusid(0);
  config.mutable_canbus(1)->set_canbusid(9);
  config.mutable_canbusrouter(0)->set_sourcecanbusid(0);
  config.mutable_canbusrouter(0)->set_destinationcanbusid(9);
  config.mutable_canbusrouter(1)->set_sourcecanbusid(9);
  config.mutable_canbusrouter(2)->set_destinationcanbusid(9);
  EXPECT_EQ(Found(config), Paths{});
}

TEST(LintTest, ReferencesNeedADocumentToResolveIn) {
  CompareConfiguration compare;
  compare.set_input(999);
  EXPECT_EQ(Found(compare), Paths{});
  CanbusRouter router;
  router.set_sourcecanbusid(3);
  EXPECT_EQ(Found(router), Paths{});
}

TEST(LintTest, UnknownFields) {
  ConfigData config = SmallDocument();
  config.mutable_inputs(0)->GetReflection()->MutableUnknownFields(config.mutable_inputs(0))->AddVarint(40, 1);
  // Field 15 is not in CompareConfiguration; written after the known ones
  // the encoding stays canonical.
  config.mutable_inputs(1)->mutable_config()->append(test::Bytes({0x78, 0x01}));
  config.GetReflection()->MutableUnknownFields(&config)->AddFixed32(99, 7);
  EXPECT_EQ(Found(config), (Paths{"inputs[0] unknown-field", "inputs[1].config unknown-field", " unknown-field"}));
  const std::vector<Finding> findings = Lint(config, {Standard()});
  EXPECT_EQ(findings[0].severity, Severity::kWarning);
  EXPECT_NE(findings[0].message.find("40"), std::string::npos) << findings[0].message;
  EXPECT_EQ(findings[2].path, "");
  EXPECT_FALSE(HasErrors(findings));
}

TEST(LintTest, DeviceDataConfigIsLintedAsADocument) {
  ConfigData config = SmallDocument();
  config.add_inputs()->set_id(3);
  config.mutable_inputs(2)->set_type(16);
  DeviceData device;
  device.set_gcuserialno("G7");
  device.set_config(config.SerializeAsString());
  device.set_valveadaptation(test::Bytes({0xFF, 0x00}));  // opaque block
  EXPECT_EQ(Found(device), Paths{"config.inputs[2].type unknown-type"});

  device.set_config(test::Bytes({0x1A, 0x09}));
  EXPECT_EQ(Found(device), Paths{"config config-unreadable"});

  SampleDeviceData(SampleOptions{}, &device);
  EXPECT_EQ(Found(device), Paths{});
}

TEST(LintTest, FindingsComeInDocumentOrder) {
  ConfigData config = SmallDocument();
  config.mutable_canbusrouter(0)->set_destinationcanbusid(5);  // field 13, written last
  config.mutable_canbus(0)->set_standardinputframecount(2);    // field 7
  config.mutable_outputs(0)->set_type(50);                    // field 4
  config.mutable_inputs(1)->set_type(18);                     // field 3
  config.mutable_units()->set_timeunit(static_cast<Units_Time>(9));  // field 10
  EXPECT_EQ(Found(config), (Paths{"inputs[1].type unknown-type", "outputs[0].type unknown-type",
                                  "canbus[0].standardInputFrameCount count-mismatch",
                                  "units.timeUnit unknown-enum-value",
                                  "canbusRouter[0].destinationCanbusId dangling-reference"}));
}

TEST(LintTest, HasErrorsLooksAtSeverity) {
  EXPECT_FALSE(HasErrors({}));
  EXPECT_FALSE(HasErrors({Finding{"a", Severity::kWarning, "unknown-field", "m"}}));
  EXPECT_TRUE(HasErrors({Finding{"a", Severity::kWarning, "unknown-field", "m"},
                         Finding{"b", Severity::kError, "duplicate-id", "m"}}));
}

}  // namespace
}  // namespace gcuschema::document
