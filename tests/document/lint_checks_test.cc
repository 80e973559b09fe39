// lint's checks of output references, ranges, calibration limits, and its
// streaming of findings.
#include <gcuschema/document/lint.h>

#include <cctype>
#include <cmath>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/CalibrationDataLimits.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/CurrentConfiguration.pb.h>
#include <gcuschema/MapOutputConfigData.pb.h>
#include <gcuschema/PowerOutputConfigData.pb.h>
#include <gcuschema/SplitterOutputConfig.pb.h>
#include <gcuschema/TestOutputConfiguration.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>

#include "support/nesting.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;
using Paths = std::vector<std::string>;

// "path rule" per finding, of the rules given (all when none).
Paths Found(const pb::Message& record, const LintOptions& options = {}, std::set<std::string> rules = {}) {
  Paths out;
  for (const Finding& finding : Lint(record, options)) {
    if (rules.empty() || rules.count(finding.rule) != 0) out.push_back(finding.path + " " + finding.rule);
  }
  return out;
}

// A document of two inputs (ids 1, 2) and two outputs (ids 1, 2).
ConfigData Document() {
  ConfigData config;
  for (int id : {1, 2}) {
    Input* input = config.add_inputs();
    input->set_id(id);
    input->set_type(Input::TestInput);
    Output* output = config.add_outputs();
    output->set_id(static_cast<std::uint32_t>(id));
    output->set_type(Output::TestOutput);
  }
  return config;
}

void AddOutput(ConfigData* config, std::uint32_t id, int type, const pb::Message& settings) {
  Output* output = config->add_outputs();
  output->set_id(id);
  output->set_type(type);
  output->set_config(settings.SerializeAsString());
}

TEST(LintChecksTest, ReferencesToOutputsThatDoNotExist) {
  ConfigData config = Document();
  MapOutputConfigData curve;
  curve.set_outputid(71);
  AddOutput(&config, 3, Output::MapOutput, curve);
  SplitterOutputConfigData splitter;
  splitter.add_outputids(1);
  splitter.add_outputids(72);
  AddOutput(&config, 4, Output::SplitterOutput, splitter);
  PowerOutputConfigData power;
  power.set_overcurrenterroroutputids(73);
  power.set_undercurrentwarningoutputids(2);
  AddOutput(&config, 5, Output::PowerOutput, power);
  TestOutputConfiguration test;
  test.set_outputid(74);
  test.add_outputids(75);
  AddOutput(&config, 6, Output::TestOutput, test);
  EXPECT_EQ(Found(config), (Paths{"outputs[2].config.outputId dangling-reference",
                                  "outputs[3].config.outputIds[1] dangling-reference",
                                  "outputs[4].config.OvercurrentErrorOutputIds dangling-reference",
                                  "outputs[5].config.outputId dangling-reference",
                                  "outputs[5].config.outputIds[0] dangling-reference"}));
  const std::vector<Finding> findings = Lint(config);
  EXPECT_EQ(findings[0].message, "outputId names output 71, but no output of the document has that id");

  // Inputs and outputs number apart: an input 71 does not make output 71.
  config.add_inputs()->set_id(71);
  EXPECT_EQ(Found(config).size(), 5u);
  for (std::uint32_t id = 71; id <= 75; ++id) config.add_outputs()->set_id(id);
  EXPECT_EQ(Found(config), Paths{});
}

// A field named for the input or output it refers to: "input",
// "temperatureInput", "faultInputId", "outputIds", ...
bool NamesAnEntry(const pb::FieldDescriptor* field) {
  std::string name = field->name();
  for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  for (const char* end : {"input", "inputid", "inputids", "output", "outputid", "outputids"}) {
    const std::string tail(end);
    if (name.size() >= tail.size() && name.compare(name.size() - tail.size(), tail.size(), tail) == 0) return true;
  }
  return false;
}

// Every field of the settings of inputs and outputs that names an entry by
// its id is resolved against the document, whatever the record: set to an
// id nothing has, it is a dangling reference.
TEST(LintChecksTest, EveryFieldThatNamesAnInputOrOutputIsResolved) {
  const PairingCatalogue standard = PairingCatalogue::Standard();
  int checked = 0;
  for (const auto& [key, record] : standard.entries()) {
    if (key.first != EntryKind::kInput && key.first != EntryKind::kOutput) continue;
    for (int i = 0; i < record->field_count(); ++i) {
      const pb::FieldDescriptor* field = record->field(i);
      if (!NamesAnEntry(field)) continue;
      SCOPED_TRACE(record->full_name() + "." + field->name());
      ASSERT_TRUE(field->cpp_type() == pb::FieldDescriptor::CPPTYPE_INT32 ||
                  field->cpp_type() == pb::FieldDescriptor::CPPTYPE_UINT32);
      std::unique_ptr<pb::Message> settings = NewRecord(record);
      const pb::Reflection* r = settings->GetReflection();
      if (field->is_repeated()) {
        field->cpp_type() == pb::FieldDescriptor::CPPTYPE_INT32 ? r->AddInt32(settings.get(), field, 77)
                                                                : r->AddUInt32(settings.get(), field, 77);
      } else {
        field->cpp_type() == pb::FieldDescriptor::CPPTYPE_INT32 ? r->SetInt32(settings.get(), field, 77)
                                                                : r->SetUInt32(settings.get(), field, 77);
      }
      ConfigData config = Document();
      const bool input = key.first == EntryKind::kInput;
      std::string path = input ? "inputs[2].config." : "outputs[2].config.";
      if (input) {
        Input* entry = config.add_inputs();
        entry->set_id(3);
        entry->set_type(key.second);
        entry->set_config(settings->SerializeAsString());
      } else {
        AddOutput(&config, 3, key.second, *settings);
      }
      path += field->name() + (field->is_repeated() ? "[0]" : "");
      EXPECT_EQ(Found(config, {}, {"dangling-reference"}), Paths{path + " dangling-reference"});
      ++checked;
    }
  }
  // Compare, divide (2), map, counter (3), waveform, rbc, CAN fault, test
  // input (2), current temperature; map output, splitter, power (2), test
  // output (2).
  EXPECT_EQ(checked, 19);
}

// Sets a number field, whatever its kind, to `value`.
void SetNumber(pb::Message* record, const pb::FieldDescriptor* field, int value) {
  const pb::Reflection* r = record->GetReflection();
  switch (field->cpp_type()) {
    case pb::FieldDescriptor::CPPTYPE_INT32: r->SetInt32(record, field, value); break;
    case pb::FieldDescriptor::CPPTYPE_UINT32: r->SetUInt32(record, field, static_cast<std::uint32_t>(value)); break;
    case pb::FieldDescriptor::CPPTYPE_INT64: r->SetInt64(record, field, value); break;
    case pb::FieldDescriptor::CPPTYPE_UINT64: r->SetUInt64(record, field, static_cast<std::uint64_t>(value)); break;
    case pb::FieldDescriptor::CPPTYPE_FLOAT: r->SetFloat(record, field, static_cast<float>(value)); break;
    case pb::FieldDescriptor::CPPTYPE_DOUBLE: r->SetDouble(record, field, value); break;
    default: break;
  }
}

bool IsNumber(const pb::FieldDescriptor* field) {
  switch (field->cpp_type()) {
    case pb::FieldDescriptor::CPPTYPE_INT32:
    case pb::FieldDescriptor::CPPTYPE_UINT32:
    case pb::FieldDescriptor::CPPTYPE_INT64:
    case pb::FieldDescriptor::CPPTYPE_UINT64:
    case pb::FieldDescriptor::CPPTYPE_FLOAT:
    case pb::FieldDescriptor::CPPTYPE_DOUBLE:
      return !field->is_repeated();
    default:
      return false;
  }
}

// Every range of the schema kept as two fields of one record, lower end
// first, with how a reversed one is reported.
TEST(LintChecksTest, EveryRangeOfTheSchemaIsCheckedTheRightWayUp) {
  const std::set<std::string> expected = {
      "AdcConfiguration.inMinValue<inMaxValue warning",
      "AdcConfiguration.outMinValue<outMaxValue warning",
      "AdcConfiguration.faultMinValue<faultMaxValue error",
      "AdcSwitchConfiguration.minVoltage<maxVoltage error",
      "CalibrationTemplateData.AdcCalibrationData.levelMin12v<levelMax12v error",
      "CalibrationTemplateData.AdcCalibrationData.levelMin5v<levelMax5v error",
      "CalibrationTemplateData.AdcCalibrationData.levelMinGcu5V<levelMaxGcu5V error",
      "CalibrationTemplateData.DacCalibrationData.levelMin12v<levelMax12v error",
      "CalibrationTemplateData.DacCalibrationData.levelMin5v<levelMax5v error",
      "CalibrationTemplateData.DacCalibrationData.levelMinGcu5V<levelMaxGcu5V error",
      "CalibrationTemplateData.FreqCalibrationData.offsetMin5V<offsetMax5V error",
      "CalibrationTemplateData.FreqCalibrationData.pullupMin5V<pullupMax5V error",
      "CalibrationTemplateData.FreqCalibrationData.diagnosticsAdcMin5Vvalue<diagnosticsAdcMax5Vvalue error",
      "CalibrationTemplateData.PwmCalibrationData.adcMinZeroValue<adcMaxZeroValue error",
      "CalibrationTemplateData.PwmCalibrationData.adcMin5Avalue<adcMax5Avalue error",
      "CalibrationTemplateData.QeiCalibrationData.offsetMin5V<offsetMax5V error",
      "CanbusInputConfiguration.rawMinValue<rawMaxValue warning",
      "CanbusInputConfiguration.outMinValue<outMaxValue warning",
      "CanbusInputConfiguration.faultMinValue<faultMaxValue error",
      "CanbusOutputConfiguration.inMinValue<inMaxValue warning",
      "CanbusOutputConfiguration.rawMinValue<rawMaxValue warning",
      "CounterInputConfiguration.minValue<maxValue error",
      "CurrentConfiguration.resistanceMin<resistanceMax error",
      "CurrentConfiguration.inMinValue<inMaxValue warning",
      "CurrentConfiguration.outMinValue<outMaxValue warning",
      "DacConfiguration.inMinValue<inMaxValue warning",
      "DacConfiguration.outMinValue<outMaxValue warning",
      "DutyInConfiguration.referenceVoltageLo<referenceVoltageHi error",
      "DutyInConfiguration.faultVoltageLo<faultVoltageHi error",
      "Estimations.yMinSaturation<yMaxSaturation error",
      "Input.minValue<maxValue error",
      "InputQeiConfiguration.referenceVoltageLo<referenceVoltageHi error",
      "InputQeiConfiguration.faultVoltageLo<faultVoltageHi error",
      "Output.minValue<maxValue error",
      "PhonicWheelConfiguration.referenceVoltageLo<referenceVoltageHi error",
      "PhonicWheelConfiguration.faultVoltageLo<faultVoltageHi error",
      "PhonicWheelConfiguration.referenceVoltageLoPullup<referenceVoltageHiPullup error",
      "PhonicWheelConfiguration.faultVoltageLoPullup<faultVoltageHiPullup error",
  };
  // Each number field in turn above every other (all 3, that one 5): where
  // it is a lower end, lint names it and its upper end.
  std::set<std::string> found;
  for (const std::string& name : RecordNames()) {
    const pb::Descriptor* type = FindRecord(name);
    for (int i = 0; i < type->field_count(); ++i) {
      if (!IsNumber(type->field(i))) continue;
      std::unique_ptr<pb::Message> record = NewRecord(type);
      for (int j = 0; j < type->field_count(); ++j) {
        if (IsNumber(type->field(j))) SetNumber(record.get(), type->field(j), 3);
      }
      SetNumber(record.get(), type->field(i), 5);
      for (const Finding& finding : Lint(*record)) {
        if (finding.rule != "inverted-range") continue;
        EXPECT_EQ(finding.path, type->field(i)->name());
        const std::size_t above = finding.message.find(" is above ");
        ASSERT_NE(above, std::string::npos) << finding.message;
        const std::size_t upper = above + std::string(" is above ").size();
        found.insert(name + "." + finding.path + "<" +
                     finding.message.substr(upper, finding.message.find(' ', upper) - upper) + " " +
                     (finding.severity == Severity::kError ? "error" : "warning"));
      }
    }
  }
  EXPECT_EQ(found, expected);
}

// The message of the one inverted-range finding on `record`.
std::string InvertedRangeMessage(const pb::Message& record) {
  std::vector<std::string> messages;
  for (const Finding& finding : Lint(record)) {
    if (finding.rule == "inverted-range") messages.push_back(finding.message.substr(0, finding.message.find(';')));
  }
  EXPECT_EQ(messages.size(), 1u);
  return messages.empty() ? std::string() : messages[0];
}

TEST(LintChecksTest, FindingsQuoteNumbersExactlyAsTheJsonWriterSpellsThem) {
  // Ends one step apart: rounded to six digits they read alike.
  Input input;
  input.set_minvalue(std::nextafter(1.0f, 2.0f));
  input.set_maxvalue(1.0f);
  EXPECT_EQ(InvertedRangeMessage(input), "minValue 1.0000001 is above maxValue 1");
  Estimations estimator;
  estimator.set_yminsaturation(std::nextafter(1234567.0, 2e6));
  estimator.set_ymaxsaturation(1234567.0);
  EXPECT_EQ(InvertedRangeMessage(estimator), "yMinSaturation 1234567.0000000002 is above yMaxSaturation 1234567");
  CurrentConfiguration current;
  current.set_resistancemin(0.1 + 0.2);
  current.set_resistancemax(0.3);
  EXPECT_EQ(InvertedRangeMessage(current), "resistanceMin 0.30000000000000004 is above resistanceMax 0.3");
  // A float is spelt as the float it is, not as the double it widens to.
  input.set_minvalue(0.3f);
  input.set_maxvalue(0.2f);
  EXPECT_EQ(InvertedRangeMessage(input), "minValue 0.3 is above maxValue 0.2");
  input.set_minvalue(1e20f);
  input.set_maxvalue(-1.5e-7f);
  EXPECT_EQ(InvertedRangeMessage(input), "minValue 1e+20 is above maxValue -1.5e-07");
  // The infinities as JSON names them, unquoted.
  input.set_minvalue(INFINITY);
  input.set_maxvalue(-INFINITY);
  EXPECT_EQ(InvertedRangeMessage(input), "minValue Infinity is above maxValue -Infinity");
}

TEST(LintChecksTest, RangesInPlace) {
  ConfigData config = Document();
  config.mutable_inputs(0)->set_minvalue(10.5f);
  config.mutable_inputs(0)->set_maxvalue(-2.0f);
  config.mutable_inputs(1)->set_minvalue(std::nanf(""));  // no order to check
  config.mutable_inputs(1)->set_maxvalue(1.0f);
  AdcConfiguration adc;
  adc.set_inminvalue(4000);
  adc.set_inmaxvalue(500);
  adc.set_faultminvalue(-5);
  adc.set_faultmaxvalue(-5);  // a range of one value is a range
  Input* input = config.add_inputs();
  input->set_id(3);
  input->set_config(adc.SerializeAsString());
  const std::vector<Finding> findings = Lint(config);
  ASSERT_EQ(Found(config), (Paths{"inputs[0].minValue inverted-range", "inputs[2].config.inMinValue inverted-range"}));
  EXPECT_EQ(findings[0].severity, Severity::kError);
  EXPECT_EQ(findings[0].message,
            "minValue 10.5 is above maxValue -2; a range runs from its lower end up to its upper one: swap the two");
  EXPECT_EQ(findings[1].severity, Severity::kWarning);
  EXPECT_EQ(findings[1].message,
            "inMinValue 4000 is above inMaxValue 500; the scaling reads its span reversed: swap the two unless that "
            "is meant");

  // In the limits template a limit of 0 is no limit.
  CalibrationTemplateData limits;
  auto* adc_limits = limits.add_adccalibration();
  limits.set_adccalibrationcount(1);
  adc_limits->set_levelmin12v(900);
  EXPECT_EQ(Found(limits), Paths{});
  adc_limits->set_levelmax12v(800);
  EXPECT_EQ(Found(limits), Paths{"adcCalibration[0].levelMin12v inverted-range"});
}

// A template bounding ADC 3's 12 V level, PWM 1's zero value and QEI 2's
// 5 V offset; a calibration of those channels within them.
struct Calibrated {
  CalibrationTemplateData limits;
  CalibrationData calibration;

  Calibrated() {
    auto* adc = limits.add_adccalibration();
    adc->set_logicalid(3);
    adc->set_levelmin12v(900);
    adc->set_levelmax12v(1100);
    auto* pwm = limits.add_pwmcalibration();
    pwm->set_logicalid(1);
    pwm->set_adcminzerovalue(10);  // no upper limit: 0 is none
    auto* qei = limits.add_qeicalibrationdata();
    qei->set_logicalid(2);
    qei->set_offsetmin5v(100);
    qei->set_offsetmax5v(200);
    limits.set_adccalibrationcount(1);
    limits.set_pwmcalibrationcount(1);
    limits.set_qeicalibrationcount(1);

    auto* value = calibration.add_adccalibration();
    value->set_logicalid(3);
    value->set_level12v(1000);
    value->set_level5v(7000);  // the template leaves it unbounded
    calibration.add_pwmcalibration()->set_logicalid(1);
    calibration.mutable_pwmcalibration(0)->set_adczerovalue(50000);
    calibration.add_qeicalibrationdata()->set_logicalid(2);
    calibration.mutable_qeicalibrationdata(0)->set_offset5v(200);  // bounds are inclusive
    calibration.set_adccalibrationcount(1);
    calibration.set_pwmcalibrationcount(1);
    calibration.set_qeicalibrationcount(1);
  }
};

LintOptions WithLimits(const CalibrationTemplateData& limits) {
  LintOptions options;
  options.limits = &limits;
  return options;
}

TEST(LintChecksTest, CalibrationWithinItsTemplatesLimitsIsClean) {
  Calibrated c;
  EXPECT_EQ(Found(c.calibration, WithLimits(c.limits)), Paths{});
  // A template without entries of a kind sets no limits on them.
  c.calibration.add_daccalibration()->set_level12v(99999);
  c.calibration.set_daccalibrationcount(1);
  EXPECT_EQ(Found(c.calibration, WithLimits(c.limits)), Paths{});
}

TEST(LintChecksTest, EveryValueOutsideItsTemplatesLimitsIsNamed) {
  Calibrated c;
  c.calibration.mutable_adccalibration(0)->set_level12v(1200);
  c.calibration.mutable_pwmcalibration(0)->set_adczerovalue(9);
  c.calibration.mutable_qeicalibrationdata(0)->set_offset5v(99);
  EXPECT_EQ(Found(c.calibration, WithLimits(c.limits)),
            (Paths{"adcCalibration[0].level12v out-of-limits", "pwmCalibration[0].adcZeroValue out-of-limits",
                   "qeiCalibrationData[0].offset5V out-of-limits"}));
  const std::vector<Finding> findings = Lint(c.calibration, WithLimits(c.limits));
  EXPECT_EQ(findings[0].severity, Severity::kError);
  EXPECT_EQ(findings[0].message,
            "level12v 1200 is above levelMax12v 1100 of the template's adcCalibration[0] (logicalId 3); calibrate "
            "the channel again or correct the template");
  EXPECT_EQ(findings[1].message,
            "adcZeroValue 9 is below adcMinZeroValue 10 of the template's pwmCalibration[0] (logicalId 1); calibrate "
            "the channel again or correct the template");
}

TEST(LintChecksTest, TemplateEntriesAreMatchedByLogicalId) {
  Calibrated c;
  // The template's entry for ADC 3 now stands second; a calibration entry
  // for ADC 4 has none.
  auto* other = c.limits.add_adccalibration();
  other->set_logicalid(8);
  c.limits.mutable_adccalibration()->SwapElements(0, 1);
  c.limits.set_adccalibrationcount(2);
  auto* unmatched = c.calibration.add_adccalibration();
  unmatched->set_logicalid(4);
  unmatched->set_level12v(5);
  c.calibration.set_adccalibrationcount(2);
  c.calibration.mutable_adccalibration(0)->set_level12v(800);
  EXPECT_EQ(Found(c.calibration, WithLimits(c.limits)),
            (Paths{"adcCalibration[0].level12v out-of-limits", "adcCalibration[1] no-limits"}));
  const std::vector<Finding> findings = Lint(c.calibration, WithLimits(c.limits));
  EXPECT_NE(findings[0].message.find("the template's adcCalibration[1] (logicalId 3)"), std::string::npos)
      << findings[0].message;
  EXPECT_EQ(findings[1].severity, Severity::kWarning);

}

TEST(LintChecksTest, RepeatedLogicalIdsAreErrorsNamingBothEntriesAndMatchingStaysByLogicalId) {
  // A calibration of ADC 3, 2, 2 against a template of ADC 1, 2, 3: ADC 3
  // meets its own limit (3000), not the 1000 of the template's first entry.
  CalibrationTemplateData limits;
  for (std::uint32_t id : {1u, 2u, 3u}) {
    auto* entry = limits.add_adccalibration();
    entry->set_logicalid(id);
    entry->set_levelmax5v(1000 * id);
  }
  limits.set_adccalibrationcount(3);
  CalibrationData calibration;
  for (std::uint32_t id : {3u, 2u, 2u}) calibration.add_adccalibration()->set_logicalid(id);
  calibration.mutable_adccalibration(0)->set_level5v(2500);
  calibration.set_adccalibrationcount(3);
  std::vector<Finding> findings = Lint(calibration, WithLimits(limits));
  EXPECT_EQ(Found(calibration, WithLimits(limits)), Paths{"adcCalibration[2].logicalId duplicate-id"});
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].severity, Severity::kError);
  EXPECT_EQ(findings[0].message,
            "logicalId 2 is already used by adcCalibration[1]; identifiers must be unique within adcCalibration");
  // Without a template too, in either record.
  EXPECT_EQ(Found(calibration), Paths{"adcCalibration[2].logicalId duplicate-id"});
  limits.mutable_adccalibration(0)->set_logicalid(3);
  EXPECT_EQ(Found(limits), Paths{"adcCalibration[2].logicalId duplicate-id"});

  // Both calibration entries of an id are held to that id's limits.
  limits.mutable_adccalibration(0)->set_logicalid(1);
  calibration.mutable_adccalibration(0)->set_level5v(3500);
  calibration.mutable_adccalibration(2)->set_level5v(2001);
  EXPECT_EQ(Found(calibration, WithLimits(limits), {"out-of-limits"}),
            (Paths{"adcCalibration[0].level5v out-of-limits", "adcCalibration[2].level5v out-of-limits"}));
  findings = Lint(calibration, WithLimits(limits));
  EXPECT_NE(findings[0].message.find("above levelMax5v 3000 of the template's adcCalibration[2] (logicalId 3)"),
            std::string::npos)
      << findings[0].message;

  // An id the template repeats bounds nothing: which entry is meant cannot
  // be told. Said once for each repetition, before the list's entries.
  auto* again = limits.add_adccalibration();
  again->set_logicalid(2);
  again->set_levelmax5v(9000);
  limits.set_adccalibrationcount(4);
  EXPECT_EQ(Found(calibration, WithLimits(limits), {"duplicate-id", "out-of-limits", "no-limits"}),
            (Paths{"adcCalibration duplicate-id", "adcCalibration[0].level5v out-of-limits",
                   "adcCalibration[2].logicalId duplicate-id"}));
  findings = Lint(calibration, WithLimits(limits));
  EXPECT_EQ(findings[0].severity, Severity::kError);
  EXPECT_EQ(findings[0].message,
            "the template's adcCalibration[3] has logicalId 2, as its adcCalibration[1] does, so the calibration's "
            "entries of logicalId 2 are not checked; give each template entry its own logicalId");
}

TEST(LintChecksTest, CalibrationRecordHeldTellsATemplateByAFieldOnlyATemplateHas) {
  Calibrated c;
  std::string evidence = "stale";
  EXPECT_EQ(CalibrationRecordHeld(c.limits, &evidence), CalibrationTemplateData::descriptor());
  EXPECT_EQ(evidence, "adcCalibration[0].levelMin12v (field 103)");
  EXPECT_EQ(CalibrationRecordHeld(c.calibration, &evidence), CalibrationData::descriptor());
  EXPECT_EQ(evidence, "");

  // The two share every field number: each reads as the other.
  CalibrationData template_read_as_calibration;
  ASSERT_TRUE(template_read_as_calibration.ParseFromString(c.limits.SerializeAsString()));
  EXPECT_EQ(CalibrationRecordHeld(template_read_as_calibration, &evidence), CalibrationTemplateData::descriptor());
  EXPECT_EQ(evidence, "adcCalibration[0].levelMin12v (field 103)");
  CalibrationTemplateData calibration_read_as_template;
  ASSERT_TRUE(calibration_read_as_template.ParseFromString(c.calibration.SerializeAsString()));
  EXPECT_EQ(CalibrationRecordHeld(calibration_read_as_template), CalibrationData::descriptor());

  // A calibration mode tells a template as well as a limit does.
  CalibrationTemplateData mode_only;
  mode_only.add_adccalibration()->set_calibrationmode(CalibrationTemplateData::AdcCalibrationData::batPositive);
  EXPECT_EQ(CalibrationRecordHeld(mode_only, &evidence), CalibrationTemplateData::descriptor());
  EXPECT_EQ(evidence, "adcCalibration[0].calibrationMode (field 206)");
  // Unknown fields that are no template's say nothing.
  CalibrationData unknown;
  unknown.add_adccalibration()->GetReflection()->MutableUnknownFields(unknown.mutable_adccalibration(0))->AddVarint(
      99, 1);
  EXPECT_EQ(CalibrationRecordHeld(unknown), CalibrationData::descriptor());
  EXPECT_EQ(CalibrationRecordHeld(ConfigData()), nullptr);
}

TEST(LintChecksTest, LimitsApplyToACalibrationOnly) {
  Calibrated c;
  try {
    Lint(ConfigData(), WithLimits(c.limits));
    ADD_FAILURE() << "a ConfigData was checked against calibration limits";
  } catch (const Error& e) {
    EXPECT_NE(e.message().find("checks a CalibrationData"), std::string::npos) << e.what();
  }
}

TEST(LintChecksTest, FindingsReachTheSinkAsTheyAreFound) {
  // inputs[0] has an unknown type; inputs[1] nests settings too deep to read.
  ConfigData config;
  ASSERT_TRUE(config.ParseFromString(test::NestedConfig(test::kInputHoldsConfig, 40)));
  Input* first = config.add_inputs();
  first->set_id(5);
  first->set_type(16);
  config.mutable_inputs()->SwapElements(0, 1);
  LintOptions options;
  options.pairing.Apply(test::kInputHoldsConfig.pairing);
  Paths seen;
  EXPECT_THROW(Lint(config, options, [&seen](const Finding& finding) { seen.push_back(finding.path); }), Error);
  EXPECT_EQ(seen, Paths{"inputs[0].type"});

  // Counted by severity, in the order the list gives them.
  ConfigData counted;
  for (int type : {16, 18, 2}) {
    Input* input = counted.add_inputs();
    input->set_id(type);
    input->set_type(type);
  }
  counted.GetReflection()->MutableUnknownFields(&counted)->AddVarint(99, 1);
  Paths streamed;
  const LintCounts counts =
      Lint(counted, {}, [&streamed](const Finding& finding) { streamed.push_back(finding.path + " " + finding.rule); });
  EXPECT_EQ(counts.errors, 2u);
  EXPECT_EQ(counts.warnings, 1u);
  EXPECT_EQ(streamed, Found(counted));
}

}  // namespace
}  // namespace gcuschema::document
