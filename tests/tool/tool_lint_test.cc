// lint: one finding per line; exit 0 when clean or only warnings, 1 with
// an error, 2 when the document cannot be read.
#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/CalibrationDataLimits.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/RbcInputConfigData.pb.h>
#include <gcuschema/document/samples.h>

#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/memory_bounds.h"
#include "support/tool_scratch.h"


namespace gcuschema::test {
namespace {

ConfigData SampleDocument() {
  ConfigData config;
  document::SampleOptions options;
  options.inputs = 12;
  document::SampleConfig(options, &config);
  return config;
}

TEST(ToolLintTest, CleanSamplesExitZeroWithASummaryLineAndNothingWithQuiet) {
  for (const char* type : {"ConfigData", "DeviceData", "CalibrationData", "CalibrationTemplateData"}) {
    SCOPED_TRACE(type);
    ScratchDir dir;
    const std::string path = dir.Put("doc.bin", SampleBytes(type));
    ProcessResult result = RunTool({"lint", "--type", type, path});
    EXPECT_EQ(result.exit_status, 0) << result.out << result.err;
    EXPECT_EQ(result.out, "ok: 0 errors, 0 warnings\n");
    ProcessResult quiet = RunTool({"lint", "-q", "--type", type, path});
    EXPECT_EQ(quiet.exit_status, 0) << quiet.err;
    EXPECT_EQ(quiet.out, "");
  }
}

TEST(ToolLintTest, SummaryCountsErrorsAndWarnings) {
  ConfigData config = SampleDocument();
  config.mutable_inputs(1)->set_type(1000);
  config.mutable_inputs(2)->set_type(1001);
  const std::string bytes = EncodeRecord(config) + std::string("\xA0\x06\x01", 3);  // an unknown field 100
  ProcessResult result = RunTool({"lint", "-"}, bytes);
  EXPECT_EQ(result.exit_status, 1) << result.err;
  const std::string last = "failed: 2 errors, 1 warning\n";
  ASSERT_GE(result.out.size(), last.size()) << result.out;
  EXPECT_EQ(result.out.substr(result.out.size() - last.size()), last) << result.out;
  ProcessResult quiet = RunTool({"lint", "--quiet", "-"}, bytes);
  EXPECT_EQ(quiet.out, result.out.substr(0, result.out.size() - last.size()));
}

TEST(ToolLintTest, AnErrorExitsOneAndIsPrintedWithPathAndSeverity) {
  ConfigData config = SampleDocument();
  ASSERT_GT(config.inputs_size(), 1);
  config.mutable_inputs(1)->set_type(1000);  // no Input.Type has this value
  ScratchDir dir;
  const std::string path = dir.Put("doc.bin", EncodeRecord(config));
  ProcessResult result = RunTool({"lint", path});
  EXPECT_EQ(result.exit_status, 1) << result.err;
  EXPECT_NE(result.out.find("inputs[1].type: error: "), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("[unknown-type]\n"), std::string::npos) << result.out;
}

TEST(ToolLintTest, OnlyWarningsExitZeroButAreShown) {
  // An unassigned field 100 at the root: kept, worth a warning, not an error.
  const std::string bytes = EncodeRecord(SampleDocument()) + std::string("\xA0\x06\x01", 3);
  ProcessResult result = RunTool({"lint", "-"}, bytes);
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_NE(result.out.find(": warning: "), std::string::npos) << result.out;
  EXPECT_EQ(result.out.find(": error: "), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("\nok: 0 errors, 1 warning\n"), std::string::npos) << result.out;
}

// inputs[0]: an RbcInput whose settings list `count` times input 77, which
// the document does not have: one finding per byte of settings.
std::string DanglingReferences(int count) {
  RbcInputConfigData rbc;
  for (int i = 0; i < count; ++i) rbc.add_inputids(77);
  ConfigData config;
  Input* input = config.add_inputs();
  input->set_id(1);
  input->set_type(Input::RbcInput);
  input->set_config(rbc.SerializeAsString());
  return EncodeRecord(config);
}

TEST(ToolLintTest, AMillionFindingsStreamOutInBoundedMemory) {
  if (!GCUSCHEMA_MEMORY_BOUNDS_HOLD) GTEST_SKIP() << "memory bounds do not hold under a sanitizer";
  constexpr int kFindings = 1000000;
  ScratchDir dir;
  const std::string path = dir.Put("many.bin", DanglingReferences(kFindings));
  // Held all at once, a million findings and their text take several
  // hundred megabytes; streamed, the run fits in far less than this cap of
  // its address space.
  ProcessResult result = RunProcess(
      {"/bin/sh", "-c", "( ulimit -v 200000; exec \"$0\" lint \"$1\" ) | tail -n 2", GCUSCHEMA_TOOL, path});
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "inputs[0].config.inputIds[999999]: error: inputIds names input 77, but no input of the document has "
            "that id [dangling-reference]\nfailed: 1000000 errors, 0 warnings\n");
}

TEST(ToolLintTest, TemplateNamesEveryValueOutsideItsLimits) {
  CalibrationTemplateData limits;
  limits.set_adccalibrationcount(1);
  auto* adc_limits = limits.add_adccalibration();
  adc_limits->set_logicalid(2);
  adc_limits->set_levelmin5v(4900);
  adc_limits->set_levelmax5v(5100);
  CalibrationData calibration;
  calibration.set_adccalibrationcount(1);
  auto* adc = calibration.add_adccalibration();
  adc->set_logicalid(2);
  adc->set_level5v(5150);
  ScratchDir dir;
  const std::string limits_path = dir.Put("limits.bin", EncodeRecord(limits));
  const std::string calibration_path = dir.Put("calib.bin", EncodeRecord(calibration));
  ProcessResult result = RunTool({"lint", "--template", limits_path, calibration_path});
  EXPECT_EQ(result.exit_status, 1) << result.err;
  EXPECT_EQ(result.out,
            "adcCalibration[0].level5v: error: level5v 5150 is above levelMax5v 5100 of the template's "
            "adcCalibration[0] (logicalId 2); calibrate the channel again or correct the template "
            "[out-of-limits]\nfailed: 1 error, 0 warnings\n");
  adc->set_level5v(5000);
  dir.Put("calib.bin", EncodeRecord(calibration));
  result = RunTool({"lint", "--template", limits_path, calibration_path});
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.out, "ok: 0 errors, 0 warnings\n");

  // One standard input cannot hold both documents.
  result = RunTool({"lint", "--template", "-", "-"}, EncodeRecord(limits));
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_NE(result.err.find("only one of the template and the calibration"), std::string::npos) << result.err;

  // A template checks a calibration, nothing else.
  result = RunTool({"lint", "--type", "ConfigData", "--template", limits_path, calibration_path});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.err.rfind("gcuschema: --template: a limits template checks a CalibrationData", 0), 0u)
      << result.err;
}

TEST(ToolLintTest, FindingsQuoteNumbersExactly) {
  ConfigData config;
  Input* input = config.add_inputs();
  input->set_id(1);
  input->set_type(Input::TestInput);
  input->set_minvalue(std::nextafter(1.0f, 2.0f));
  input->set_maxvalue(1.0f);
  Estimations* estimator = config.add_estimationdata();
  estimator->set_yminsaturation(0.1 + 0.2);
  estimator->set_ymaxsaturation(0.3);
  ScratchDir dir;
  const ProcessResult result = RunTool({"lint", "-q", dir.Put("config.bin", EncodeRecord(config))});
  EXPECT_EQ(result.exit_status, 1) << result.err;
  EXPECT_EQ(result.out,
            "inputs[0].minValue: error: minValue 1.0000001 is above maxValue 1; a range runs from its lower end up "
            "to its upper one: swap the two [inverted-range]\n"
            "estimationData[0].yMinSaturation: error: yMinSaturation 0.30000000000000004 is above yMaxSaturation "
            "0.3; a range runs from its lower end up to its upper one: swap the two [inverted-range]\n");
}

// A template of ADC 1, 2, 3 (levelMax5v 1000, 2000, 3000) and a
// calibration of ADC 3, 2, 2, ADC 3 at 2500.
struct RepeatedIds {
  CalibrationTemplateData limits;
  CalibrationData calibration;

  RepeatedIds() {
    for (std::uint32_t id : {1u, 2u, 3u}) {
      auto* entry = limits.add_adccalibration();
      entry->set_logicalid(id);
      entry->set_levelmax5v(1000 * id);
      calibration.add_adccalibration()->set_logicalid(id == 1 ? 3 : 2);
    }
    calibration.mutable_adccalibration(0)->set_level5v(2500);
    limits.set_adccalibrationcount(3);
    calibration.set_adccalibrationcount(3);
  }
};

TEST(ToolLintTest, TemplateEntriesAreFoundByLogicalIdAndRepeatedIdsAreErrors) {
  RepeatedIds c;
  ScratchDir dir;
  const std::string limits = dir.Put("template.bin", EncodeRecord(c.limits));
  const std::string calibration = dir.Put("calibration.bin", EncodeRecord(c.calibration));
  const std::string repeated = "adcCalibration[2].logicalId: error: logicalId 2 is already used by adcCalibration[1]; "
                               "identifiers must be unique within adcCalibration [duplicate-id]\n";
  ProcessResult result = RunTool({"lint", "--template", limits, calibration});
  EXPECT_EQ(result.exit_status, 1) << result.err;
  EXPECT_EQ(result.out, repeated + "failed: 1 error, 0 warnings\n");
  result = RunTool({"lint", "--type", "CalibrationData", calibration});
  EXPECT_EQ(result.exit_status, 1) << result.err;
  EXPECT_EQ(result.out, repeated + "failed: 1 error, 0 warnings\n");

  // In the template, both entries are named.
  c.limits.mutable_adccalibration(0)->set_logicalid(2);
  dir.Put("template.bin", EncodeRecord(c.limits));
  result = RunTool({"lint", "--template", limits, calibration});
  EXPECT_EQ(result.exit_status, 1) << result.err;
  EXPECT_EQ(result.out,
            "adcCalibration: error: the template's adcCalibration[1] has logicalId 2, as its adcCalibration[0] does, "
            "so the calibration's entries of logicalId 2 are not checked; give each template entry its own logicalId "
            "[duplicate-id]\n" +
                repeated + "failed: 2 errors, 0 warnings\n");
}

TEST(ToolLintTest, TemplateAndCalibrationGivenTheWrongWayRoundAreRefusedSayingWhichRecordEachIs) {
  RepeatedIds c;
  ScratchDir dir;
  const std::string limits = dir.Put("template.bin", EncodeRecord(c.limits));
  const std::string calibration = dir.Put("calibration.bin", EncodeRecord(c.calibration));
  const std::string not_a_template =
      ": is a CalibrationData, not a limits template: none of its entries sets a limit or a calibration mode; give "
      "the CalibrationTemplateData after --template and the calibration as the document\n";
  const std::string not_a_calibration =
      ": is a CalibrationTemplateData, not the CalibrationData to check: adcCalibration[0].levelMax5v (field 204) "
      "is a field only a template has; give it after --template and the calibration as the document\n";
  ProcessResult result = RunTool({"lint", "--template", calibration, limits});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "gcuschema: " + calibration + not_a_template);
  result = RunTool({"lint", "--template", calibration, calibration});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.err, "gcuschema: " + calibration + not_a_template);
  result = RunTool({"lint", "--template", limits, limits});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "gcuschema: " + limits + not_a_calibration);

  // JSON and text without "@type" read as the other record fail on the first
  // field it lacks: still refused as what they are.
  for (const char* format : {"json", "text"}) {
    SCOPED_TRACE(format);
    const std::string text =
        dir.Put("template.txt", RunToolOk({"decode", "--type", "CalibrationTemplateData", "--format", format,
                                           "--no-expand", limits})
                                    .out);
    result = RunTool({"lint", "--template", limits, text});
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.err, "gcuschema: " + text + not_a_calibration);
  }
  // From standard input the reason the reading gives stands.
  result = RunTool({"lint", "--template", limits, "-"}, RunToolOk({"decode", "--type", "CalibrationTemplateData",
                                                                   "--no-expand", limits}).out);
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_NE(result.err.find("\"levelMax5v\" is not a field of CalibrationData.AdcCalibrationData"),
            std::string::npos)
      << result.err;
}

TEST(ToolLintTest, UnreadableDocumentExitsTwo) {
  ProcessResult result = RunTool({"lint", "-"}, std::string("\x1A\x10\x08", 3));
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_EQ(result.err.rfind("gcuschema: <stdin>: ", 0), 0u) << result.err;
}

}  // namespace
}  // namespace gcuschema::test
