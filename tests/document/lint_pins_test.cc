// lint of pins: each input, and each output, on a pin of its own.
#include <gcuschema/document/lint.h>

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/document/pairing.h>

namespace gcuschema::document {
namespace {

using Paths = std::vector<std::string>;

// "path rule: message" per finding.
Paths Found(const ConfigData& config) {
  Paths out;
  for (const Finding& finding : Lint(config, LintOptions{PairingCatalogue::Standard()})) {
    EXPECT_EQ(finding.severity, Severity::kWarning) << finding.path;
    out.push_back(finding.path + " " + finding.rule + ": " + finding.message);
  }
  return out;
}

void AddInput(ConfigData* config, int id, std::uint32_t pin, const std::string& alias) {
  Input* input = config->add_inputs();
  input->set_id(id);
  input->set_type(Input::FrequencyInput);  // settings left open
  input->set_pin(pin);
  input->set_alias(alias);
}

void AddOutput(ConfigData* config, std::uint32_t id, std::uint32_t pin, const std::string& alias) {
  Output* output = config->add_outputs();
  output->set_id(id);
  output->set_type(Output::PwmOutput);
  output->set_pin(pin);
  output->set_alias(alias);
}

TEST(LintPinsTest, TwoInputsOnOnePinAreNamedBoth) {
  ConfigData config;
  AddInput(&config, 1, 3, "Oil temperature");
  AddInput(&config, 7, 4, "Line pressure");
  AddInput(&config, 9, 3, "Turbine speed");
  EXPECT_EQ(Found(config),
            Paths{"inputs[2].pin shared-pin: pin 3 of inputs[2] (id 9, alias \"Turbine speed\") is also the pin of "
                  "inputs[0] (id 1, alias \"Oil temperature\"); each input has a pin of its own: give one of the two "
                  "another pin unless both are meant to use it"});
  config.mutable_inputs(2)->set_pin(5);
  EXPECT_EQ(Found(config), Paths{});
}

TEST(LintPinsTest, TwoOutputsOnOnePinAreNamedBoth) {
  ConfigData config;
  AddOutput(&config, 1, 2, "");
  AddOutput(&config, 2, 2, "Solenoid \"A\"");
  EXPECT_EQ(Found(config),
            Paths{"outputs[1].pin shared-pin: pin 2 of outputs[1] (id 2, alias \"Solenoid \\\"A\\\"\") is also the pin "
                  "of outputs[0] (id 1, no alias); each output has a pin of its own: give one of the two another pin "
                  "unless both are meant to use it"});
}

TEST(LintPinsTest, EachLaterEntryOnAPinNamesTheFirst) {
  ConfigData config;
  AddInput(&config, 1, 6, "a");
  AddInput(&config, 2, 6, "b");
  AddInput(&config, 3, 6, "c");
  const std::vector<Finding> findings = Lint(config, LintOptions{PairingCatalogue::Standard()});
  ASSERT_EQ(findings.size(), 2u);
  EXPECT_EQ(findings[0].path, "inputs[1].pin");
  EXPECT_EQ(findings[1].path, "inputs[2].pin");
  EXPECT_NE(findings[1].message.find("is also the pin of inputs[0] (id 1, alias \"a\")"), std::string::npos)
      << findings[1].message;
}

TEST(LintPinsTest, PinZeroAndPinsOfTheOtherListAreNotShared) {
  ConfigData config;
  // Pin 0 is none: inputs computed from others have no pin.
  AddInput(&config, 1, 0, "Ratio");
  AddInput(&config, 2, 0, "Compare");
  // Inputs and outputs number their pins apart.
  AddInput(&config, 3, 1, "Switch");
  AddOutput(&config, 1, 1, "Solenoid");
  AddOutput(&config, 2, 0, "Bus");
  AddOutput(&config, 3, 0, "Object");
  EXPECT_EQ(Found(config), Paths{});
}

}  // namespace
}  // namespace gcuschema::document
