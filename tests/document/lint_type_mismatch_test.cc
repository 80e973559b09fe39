// lint of settings written for another type code than their entry's.
#include <gcuschema/document/lint.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/document/pairing.h>

#include "support/wire.h"

namespace gcuschema::document {
namespace {

using Paths = std::vector<std::string>;
using test::Bytes;

// "path rule" per finding.
Paths Found(const google::protobuf::Message& record, const PairingCatalogue& pairing = PairingCatalogue::Standard()) {
  Paths out;
  for (const Finding& finding : Lint(record, LintOptions{pairing})) out.push_back(finding.path + " " + finding.rule);
  return out;
}

// AdcConfiguration settings as the record writes them: range rangeGcu5V,
// saturation, lowPassFilter, inMinValue 481, inMaxValue 4930, outMinValue
// -15, outMaxValue 4133, faultMinValue 40, faultMaxValue 5092,
// pullupEnable. Read as DigitalInConfiguration, field 10 (invert, a bool
// there) holds 10184 and fields 5 to 9 and 11 are unknown.
std::string AdcSettings() {
  return Bytes({0x08, 0x01, 0x10, 0x01, 0x18, 0x01, 0x28, 0xC2, 0x07, 0x30, 0x84, 0x4D,
                0x38, 0x1D, 0x40, 0xCA, 0x40, 0x48, 0x50, 0x50, 0xC8, 0x4F, 0x58, 0x01});
}

// Their first 9 bytes (range, saturation, lowPassFilter, inMinValue): few
// enough fields for other records to have them too, at the same numbers.
std::string ShortAdcSettings() { return Bytes({0x08, 0x01, 0x10, 0x01, 0x18, 0x01, 0x28, 0xC2, 0x07}); }

ConfigData OneInput(int type, const std::string& settings) {
  ConfigData config;
  Input* input = config.add_inputs();
  input->set_id(1);
  input->set_type(type);
  input->set_config(settings);
  return config;
}

TEST(LintTypeMismatchTest, SettingsOfAnotherCodesRecordAreAnErrorNamingTheCodeThatFits) {
  const ConfigData config = OneInput(Input::DigitalInput, AdcSettings());
  // Not "not canonical" nor "unknown fields": re-encoding them as a
  // DigitalInConfiguration would lose what they hold.
  EXPECT_EQ(Found(config), Paths{"inputs[0].config config-type-mismatch"});
  const std::vector<Finding> findings = Lint(config, LintOptions{PairingCatalogue::Standard()});
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].severity, Severity::kError);
  EXPECT_EQ(findings[0].message,
            "type 2 (DigitalInput) holds DigitalInConfiguration, but the 24 bytes are AdcConfiguration settings as "
            "that record encodes them, and type 0 (AdcInput) holds AdcConfiguration: set type to 0 if the settings "
            "are right, or give the input DigitalInConfiguration settings if the type is");
  EXPECT_EQ(findings[0].remedy.kind, Remedy::Kind::kNone);
  EXPECT_EQ(findings[0].message.find("re-encoded"), std::string::npos);

  // Under the code that holds them, they are clean.
  EXPECT_EQ(Found(OneInput(Input::AdcInput, AdcSettings())), Paths{});
}

TEST(LintTypeMismatchTest, SettingsThatReadCanonicallyButWithUnknownFieldsAreCheckedToo) {
  // DigitalInConfiguration: enableFilter, delay -1, hold -1, interspace -1,
  // invert, mode Frequency. Read as AdcConfiguration they are canonical
  // (bools and sint32 holding 1), field 20 unknown and written last.
  const std::string digital = Bytes({0x08, 0x01, 0x10, 0x01, 0x18, 0x01, 0x20, 0x01, 0x50, 0x01, 0xA0, 0x01, 0x02});
  const std::vector<Finding> findings =
      Lint(OneInput(Input::AdcInput, digital), LintOptions{PairingCatalogue::Standard()});
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].rule, "config-type-mismatch");
  EXPECT_EQ(findings[0].message,
            "type 0 (AdcInput) holds AdcConfiguration, but the 13 bytes are DigitalInConfiguration settings as that "
            "record encodes them, and type 2 (DigitalInput) holds DigitalInConfiguration: set type to 2 if the "
            "settings are right, or give the input AdcConfiguration settings if the type is");
  EXPECT_EQ(Found(OneInput(Input::DigitalInput, digital)), Paths{});
}

TEST(LintTypeMismatchTest, EveryCodeThatHoldsTheFittingRecordIsNamed) {
  PairingCatalogue pairing = PairingCatalogue::Standard();
  pairing.Apply("input:1=AdcConfiguration");
  const std::vector<Finding> findings = Lint(OneInput(Input::DigitalInput, AdcSettings()), LintOptions{pairing});
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].message,
            "type 2 (DigitalInput) holds DigitalInConfiguration, but the 24 bytes are AdcConfiguration settings as "
            "that record encodes them, and types 0 (AdcInput) and 1 (FrequencyInput) hold AdcConfiguration: set "
            "type to the one of them meant if the settings are right, or give the input DigitalInConfiguration "
            "settings if the type is");
}

TEST(LintTypeMismatchTest, BytesThatFitSeveralRecordsNameEach) {
  std::vector<Finding> findings =
      Lint(OneInput(Input::DigitalInput, ShortAdcSettings()), LintOptions{PairingCatalogue::Standard()});
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].rule, "config-type-mismatch");
  EXPECT_EQ(findings[0].message,
            "type 2 (DigitalInput) holds DigitalInConfiguration, but the 9 bytes are the settings of "
            "AdcConfiguration (held by type 0 (AdcInput)), of AhrsInputConfiguration (held by type 12 (AhrsInput)), "
            "of CanObjectInputData (held by type 14 (CanobjectInput)) or of 2 other records the input codes hold, "
            "as each record encodes them: set type to the one meant if the settings are right, or give the input "
            "DigitalInConfiguration settings if the type is");
  // range12V alone (a bool holding 2 under DigitalInput) is the whole
  // encoding of many records.
  findings = Lint(OneInput(Input::DigitalInput, Bytes({0x08, 0x02})), LintOptions{PairingCatalogue::Standard()});
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].message,
            "type 2 (DigitalInput) holds DigitalInConfiguration, but the 2 bytes are the settings of "
            "AdcConfiguration (held by type 0 (AdcInput)), of PhonicWheelConfiguration (held by type 3 "
            "(PhonicWheelInput)), of ConstantValueInputConfiguration (held by type 6 (ConstantValueInput)) or of 9 "
            "other records the input codes hold, as each record encodes them: set type to the one meant if the "
            "settings are right, or give the input DigitalInConfiguration settings if the type is");
}

TEST(LintTypeMismatchTest, OutputsAreCheckedLikeInputs) {
  ConfigData config;
  Output* output = config.add_outputs();
  output->set_id(1);
  output->set_type(Output::PwmOutput);
  // DacConfiguration: range rangeGcu5V, enableInterpolation, inMinValue
  // 100, inMaxValue 4000, outMaxValue 5000. PwmConfiguration reads the first
  // three as invert, mode and currentLimit, and knows no field 4 or 6.
  output->set_config(Bytes({0x08, 0x01, 0x10, 0x01, 0x18, 0xC8, 0x01, 0x20, 0xC0, 0x3E, 0x30, 0x90, 0x4E}));
  EXPECT_EQ(Found(config), Paths{"outputs[0].config config-type-mismatch"});
  EXPECT_EQ(Lint(config, LintOptions{PairingCatalogue::Standard()})[0].message,
            "type 0 (PwmOutput) holds PwmConfiguration, but the 13 bytes are the settings of DacConfiguration (held "
            "by type 1 (DacOutput)) or of PowerOutputConfigData (held by type 6 (PowerOutput)), as each record "
            "encodes them: set type to the one meant if the settings are right, or give the output PwmConfiguration "
            "settings if the type is");
}

TEST(LintTypeMismatchTest, BytesThatFitNoOtherRecordKeepTheirFindings) {
  // Out of number order: the same AdcConfiguration, and no record's own encoding.
  EXPECT_EQ(Found(OneInput(Input::AdcInput, Bytes({0x10, 0x01, 0x08, 0x02}))),
            Paths{"inputs[0].config config-not-canonical"});
  // A field no input record knows, written last.
  EXPECT_EQ(Found(OneInput(Input::AdcInput, Bytes({0x08, 0x02, 0xF8, 0x07, 0x01}))),
            Paths{"inputs[0].config unknown-field"});
  // Cut short: no record reads it.
  const std::vector<Finding> cut =
      Lint(OneInput(Input::DigitalInput, Bytes({0x0A, 0x05, 0x01})), LintOptions{PairingCatalogue::Standard()});
  ASSERT_EQ(cut.size(), 1u);
  EXPECT_EQ(cut[0].rule, "config-unreadable");
  EXPECT_EQ(cut[0].message,
            "the 3 bytes do not parse as DigitalInConfiguration (the record input type 2 (DigitalInput) holds)");
  // A code paired with nothing holds any bytes.
  EXPECT_EQ(Found(OneInput(Input::FrequencyInput, AdcSettings())), Paths{});
}

}  // namespace
}  // namespace gcuschema::document
