// The road of output settings through a configuration document: each
// settings record is encoded into its Output entry's config under the
// entry's type code, the document is encoded and parsed back, and each
// entry's config is decoded into the record class its type code selects.
#include <memory>
#include <string>
#include <vector>

#include <google/protobuf/message.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <gcuschema/CanObjectOutput.pb.h>
#include <gcuschema/CanbusOutputConfiguration.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/CurrentConfiguration.pb.h>
#include <gcuschema/DacConfiguration.pb.h>
#include <gcuschema/MapOutputConfigData.pb.h>
#include <gcuschema/PowerOutputConfigData.pb.h>
#include <gcuschema/PwmConfiguration.pb.h>
#include <gcuschema/SplitterOutputConfig.pb.h>
#include <gcuschema/TachoOutputConfigData.pb.h>
#include <gcuschema/TestOutputConfiguration.pb.h>

#include "support/wire.h"

namespace gcuschema::test {
namespace {

using google::protobuf::Message;

// The settings record class an output entry's type code selects; null for
// a code that selects none.
std::unique_ptr<Message> NewSettingsFor(int type) {
  switch (type) {
    case Output::PwmOutput: return std::make_unique<PwmConfiguration>();
    case Output::DacOutput: return std::make_unique<DacConfiguration>();
    case Output::CanbusOutput: return std::make_unique<CanbusOutputConfiguration>();
    case Output::CurrentOutput: return std::make_unique<CurrentConfiguration>();
    case Output::MapOutput: return std::make_unique<MapOutputConfigData>();
    case Output::SplitterOutput: return std::make_unique<SplitterOutputConfigData>();
    case Output::PowerOutput: return std::make_unique<PowerOutputConfigData>();
    case Output::CanobjectOutput: return std::make_unique<CanObjectOutputData>();
    case Output::TachoOutput: return std::make_unique<TachoOutputConfigData>();
    case Output::TestOutput: return std::make_unique<TestOutputConfiguration>();
    default: return nullptr;
  }
}

// Each record below sets every one of its fields to a value that is written,
// so a field lost on the way shows up in the comparison.

PwmConfiguration Pwm() {
  PwmConfiguration r;
  r.set_invert(true);
  r.set_mode(PwmConfiguration::modeCurrent);
  r.set_currentlimit(2500);
  r.set_frequency(1000);
  r.set_peakandholdenable(true);
  r.set_peakandholdpeakvalue(-1200);
  r.set_peakandholdpeaktime(15);
  r.set_peakandholdholdvalue(400);
  r.set_peakandholdenableproportionalhold(true);
  return r;
}

DacConfiguration Dac() {
  DacConfiguration r;
  r.set_range(DacConfiguration::range12V);
  r.set_enableinterpolation(true);
  r.set_inminvalue(-100);
  r.set_inmaxvalue(100);
  r.set_outminvalue(-5000);
  r.set_outmaxvalue(12000);
  return r;
}

CanbusOutputConfiguration Canbus() {
  CanbusOutputConfiguration r;
  r.set_messageid(0x18FEF100);
  r.set_messageidtype(CanbusOutputConfiguration::Standard);
  r.set_type(CanbusOutputConfiguration::BitCounterField);
  r.set_length(16);
  r.set_offset(8);
  r.set_inminvalue(-40);
  r.set_inmaxvalue(215);
  r.set_rawminvalue(-1);
  r.set_rawmaxvalue(255);
  r.set_defaultvalue(7);
  return r;
}

CurrentConfiguration Current() {
  CurrentConfiguration r;
  r.set_resistance(100);
  r.set_resistancedouble(0.1);
  r.set_resistancemin(0.05);
  r.set_resistancemax(0.2);
  r.set_currentrange(3);
  r.set_currentrangedouble(3.3);
  r.set_enableinterpolation(true);
  r.set_inminvalue(-1);
  r.set_inmaxvalue(1000);
  r.set_outminvalue(-2);
  r.set_outmaxvalue(2000);
  r.set_lambda(-0.75);
  r.set_temperatureinput(12);
  r.set_frequency(200);
  r.set_peakandholdenable(true);
  r.set_peakandholdpeakvalue(1500);
  r.set_peakandholdpeaktime(-20);
  r.set_peakandholdholdvalue(600);
  r.set_peakandholdenableproportionalhold(true);
  r.set___unused1(-11);
  r.set___unused2(12);
  r.set___unused3(-13);
  r.set___unused4(14);
  r.set___unused5(-15);
  r.set___unused6(16);
  return r;
}

MapOutputConfigData MapOutput() {
  MapOutputConfigData r;
  r.set_outputid(4);
  r.set_defaultvalue(-9);
  for (int v : {-100, 0, 100}) r.add_inputvalues(v);
  for (int v : {5, -5, 50}) r.add_outputvalues(v);
  return r;
}

SplitterOutputConfigData Splitter() {
  SplitterOutputConfigData r;
  // A field this record does not know travels along in the config bytes.
  EXPECT_TRUE(Parse(&r, Bytes({0x0A, 0x0C, 0x01, 0x02, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                               0xFF, 0xFF, 0x01, 0x10, 0x07})));
  return r;
}

PowerOutputConfigData Power() {
  PowerOutputConfigData r;
  r.set_overcurrenterroroutputids(21);
  r.set_undercurrentwarningoutputids(22);
  r.set_softstartrisetime(50);
  r.set_hickupdelay(1000);
  r.set_hickupcount(3);
  r.set_hickupcounterresetdelay(60000);
  r.set_undercurrentlimit(100);
  r.set_overcurrentlimit(8000);
  return r;
}

CanObjectOutputData CanObject() {
  CanObjectOutputData r;
  r.set_canobjectid(42);
  return r;
}

TachoOutputConfigData Tacho() {
  TachoOutputConfigData r;
  r.set_toothcount(4);
  r.set_idlestate(TachoOutputConfigData::isKeep);
  return r;
}

TestOutputConfiguration TestOutput() {
  TestOutputConfiguration r;
  r.set_range(TestOutputConfiguration::rangeRaw);
  r.set_saturation(true);
  r.set_enableinterpolation(true);
  r.set_inminvalue(-3);
  r.set_outputid(9);
  for (int v : {1, 2}) r.add_inputvalues(v);
  for (int v : {-1, -2}) r.add_outputvalues(v);
  for (int v : {7, -8}) r.add_outputids(v);
  r.set_messageid(0x100);
  return r;
}

struct Entry {
  int type;
  const char* record;  // full name of the record the type code selects
  std::shared_ptr<Message> settings;
};

std::vector<Entry> Entries() {
  return {
      {Output::PwmOutput, "PwmConfiguration", std::make_shared<PwmConfiguration>(Pwm())},
      {Output::DacOutput, "DacConfiguration", std::make_shared<DacConfiguration>(Dac())},
      {Output::CanbusOutput, "CanbusOutputConfiguration",
       std::make_shared<CanbusOutputConfiguration>(Canbus())},
      {Output::CurrentOutput, "CurrentConfiguration", std::make_shared<CurrentConfiguration>(Current())},
      {Output::MapOutput, "MapOutputConfigData", std::make_shared<MapOutputConfigData>(MapOutput())},
      {Output::SplitterOutput, "SplitterOutputConfigData",
       std::make_shared<SplitterOutputConfigData>(Splitter())},
      {Output::PowerOutput, "PowerOutputConfigData", std::make_shared<PowerOutputConfigData>(Power())},
      {Output::CanobjectOutput, "CanObjectOutputData", std::make_shared<CanObjectOutputData>(CanObject())},
      {Output::TachoOutput, "TachoOutputConfigData", std::make_shared<TachoOutputConfigData>(Tacho())},
      {Output::TestOutput, "TestOutputConfiguration",
       std::make_shared<TestOutputConfiguration>(TestOutput())},
  };
}

TEST(OutputDocumentRoadTest, TypeCodesSelectTheirSettingsRecords) {
  for (const Entry& e : Entries()) {
    std::unique_ptr<Message> record = NewSettingsFor(e.type);
    ASSERT_NE(record, nullptr) << e.type;
    EXPECT_EQ(record->GetDescriptor()->full_name(), e.record) << e.type;
    EXPECT_EQ(e.settings->GetDescriptor()->full_name(), e.record) << e.type;
  }
  // The gap of Output_Type selects nothing.
  EXPECT_EQ(NewSettingsFor(9), nullptr);
  EXPECT_EQ(NewSettingsFor(98), nullptr);
}

TEST(OutputDocumentRoadTest, EveryOutputSettingsRecordSurvivesTheDocument) {
  const std::vector<Entry> entries = Entries();
  ASSERT_EQ(entries.size(), 10u);

  ConfigData document;
  document.set_version(3);
  for (size_t i = 0; i < entries.size(); ++i) {
    const Message& settings = *entries[i].settings;
    // Every field of every record holds a value that is written.
    std::vector<const google::protobuf::FieldDescriptor*> set;
    settings.GetReflection()->ListFields(settings, &set);
    EXPECT_EQ(static_cast<int>(set.size()), settings.GetDescriptor()->field_count())
        << entries[i].record;

    Output* output = document.add_outputs();
    output->set_id(static_cast<uint32_t>(i + 1));
    output->set_type(entries[i].type);
    output->set_alias(std::string("out-") + entries[i].record);
    output->set_config(Encode(settings));
  }

  ConfigData parsed;
  ASSERT_TRUE(Parse(&parsed, Encode(document)));
  ASSERT_EQ(parsed.outputs_size(), static_cast<int>(entries.size()));

  for (int i = 0; i < parsed.outputs_size(); ++i) {
    const Output& output = parsed.outputs(i);
    const Entry& expected = entries[i];
    SCOPED_TRACE(expected.record);
    EXPECT_EQ(output.id(), static_cast<uint32_t>(i + 1));
    EXPECT_EQ(output.type(), expected.type);

    std::unique_ptr<Message> decoded = NewSettingsFor(output.type());
    ASSERT_NE(decoded, nullptr);
    ASSERT_TRUE(Parse(decoded.get(), output.config()));

    google::protobuf::util::MessageDifferencer differencer;
    std::string differences;
    differencer.ReportDifferencesToString(&differences);
    EXPECT_TRUE(differencer.Compare(*expected.settings, *decoded)) << differences;
    // Decoding and encoding again gives the very bytes the entry carries.
    EXPECT_EQ(Hex(Encode(*decoded)), Hex(output.config()));
  }
}

TEST(OutputDocumentRoadTest, SplitterUnknownFieldRidesAlongInTheDocument) {
  ConfigData document;
  Output* output = document.add_outputs();
  output->set_type(Output::SplitterOutput);
  output->set_config(Encode(Splitter()));

  ConfigData parsed;
  ASSERT_TRUE(Parse(&parsed, Encode(document)));
  ASSERT_EQ(parsed.outputs_size(), 1);
  SplitterOutputConfigData splitter;
  ASSERT_TRUE(Parse(&splitter, parsed.outputs(0).config()));
  ASSERT_EQ(splitter.outputids_size(), 3);
  EXPECT_EQ(splitter.outputids(0), 1);
  EXPECT_EQ(splitter.outputids(1), 2);
  EXPECT_EQ(splitter.outputids(2), -1);
  EXPECT_EQ(splitter.GetReflection()->GetUnknownFields(splitter).field_count(), 1);
  EXPECT_ENCODES(splitter, {0x0A, 0x0C, 0x01, 0x02, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                            0xFF, 0x01, 0x10, 0x07});
}

}  // namespace
}  // namespace gcuschema::test
