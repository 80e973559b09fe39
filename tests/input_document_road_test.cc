// The road of input settings through a configuration document: each settings
// record is encoded into an input's config under its type code, the document
// is encoded and parsed back, and each config is decoded by the record class
// its type code names.
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/AdcSwitchInput.pb.h>
#include <gcuschema/AhrsInputConfig.pb.h>
#include <gcuschema/CanBusInputConfiguration.pb.h>
#include <gcuschema/CanObjectInput.pb.h>
#include <gcuschema/CompareInput.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/ConstantValueConfiguration.pb.h>
#include <gcuschema/CounterInputConfiguration.pb.h>
#include <gcuschema/DigitalInputConfiguration.pb.h>
#include <gcuschema/DivideInputConfigData.pb.h>
#include <gcuschema/DutyInConfiguration.pb.h>
#include <gcuschema/GearRatioCounterConfiguration.pb.h>
#include <gcuschema/InputQeiConfig.pb.h>
#include <gcuschema/MapInputConfigData.pb.h>
#include <gcuschema/PhonicWheelConfiguration.pb.h>
#include <gcuschema/RbcInputConfigData.pb.h>
#include <gcuschema/SlipCounterConfiguration.pb.h>
#include <gcuschema/SystemInputConfigurationData.pb.h>
#include <gcuschema/TestInputConfiguration.pb.h>
#include <gcuschema/WaveformInputConfigData.pb.h>

#include "support/wire.h"

namespace gcuschema::test {
namespace {

using google::protobuf::Message;
using google::protobuf::util::MessageDifferencer;

// AdcSwitchConfiguration, InputQeiConfiguration, GearRatioCounterConfiguration
// and SlipCounterConfiguration have no input type code of their own. The
// document does not care which code an input carries, so this test puts
// them on codes that Input_Type leaves unused (16, 18) or does not reach
// (20, 21), where no other record can be meant.
constexpr int kAdcSwitchCode = 16;
constexpr int kQeiCode = 18;
constexpr int kGearRatioCode = 20;
constexpr int kSlipCounterCode = 21;

// What a reader of the document does: the type code picks the record class.
const Message* RecordClassFor(int type) {
  static const std::map<int, const Message*> classes = {
      {Input::AdcInput, &AdcConfiguration::default_instance()},
      {Input::DigitalInput, &DigitalInConfiguration::default_instance()},
      {Input::PhonicWheelInput, &PhonicWheelConfiguration::default_instance()},
      {Input::CanbusInput, &CanbusInputConfiguration::default_instance()},
      {Input::ConstantValueInput, &ConstantValueInputConfiguration::default_instance()},
      {Input::CompareInput, &CompareConfiguration::default_instance()},
      {Input::DivideInput, &DivideInputConfigData::default_instance()},
      {Input::DutyInput, &DutyInConfiguration::default_instance()},
      {Input::MapInput, &MapInputConfigData::default_instance()},
      {Input::AhrsInput, &AhrsInputConfiguration::default_instance()},
      {Input::RbcInput, &RbcInputConfigData::default_instance()},
      {Input::CanobjectInput, &CanObjectInputData::default_instance()},
      {Input::CounterInput, &CounterInputConfiguration::default_instance()},
      {Input::SystemInput, &SystemInputConfigurationData::default_instance()},
      {Input::WaveformInput, &WaveformInputConfigData::default_instance()},
      {Input::TestInput, &TestInputConfiguration::default_instance()},
      {kAdcSwitchCode, &AdcSwitchConfiguration::default_instance()},
      {kQeiCode, &InputQeiConfiguration::default_instance()},
      {kGearRatioCode, &GearRatioCounterConfiguration::default_instance()},
      {kSlipCounterCode, &SlipCounterConfiguration::default_instance()},
  };
  auto it = classes.find(type);
  return it == classes.end() ? nullptr : it->second;
}

struct Carried {
  int type;
  std::unique_ptr<Message> record;
};

template <class R, class Fill>
Carried Make(int type, Fill fill) {
  auto record = std::make_unique<R>();
  fill(record.get());
  return Carried{type, std::move(record)};
}

// One settings record per input kind, each with several fields set away from
// zero (negative values and lists included) so that a lost or misplaced
// field shows.
std::vector<Carried> SettingsOfEveryKind() {
  std::vector<Carried> out;
  out.push_back(Make<AdcConfiguration>(Input::AdcInput, [](AdcConfiguration* r) {
    r->set_range(AdcConfiguration::range12V);
    r->set_saturation(true);
    r->set_inminvalue(-10);
    r->set_outmaxvalue(5000);
    r->set_faultminvalue(-1);
    r->set_pullupenable(true);
  }));
  out.push_back(Make<DigitalInConfiguration>(Input::DigitalInput, [](DigitalInConfiguration* r) {
    r->set_enablefilter(true);
    r->set_delay(-2);
    r->set_interspace(30);
    r->set_mode(DigitalInConfiguration::Time);
  }));
  out.push_back(Make<PhonicWheelConfiguration>(Input::PhonicWheelInput, [](PhonicWheelConfiguration* r) {
    r->set_toothcount(60);
    r->set_missingtoothcount(2);
    r->add_enablepullups(1);
    r->add_enablepullups(0);
    r->set_signalmode(PhonicWheelConfiguration::smQuadratureRisingEdge);
    r->set_medianfilterlength(-3);
    r->set_faultvoltagelopullup(34);
    r->add_referencebpvoltagebprpm(1000);
    r->add_referencebpvoltagebprpm(4000);
    r->add_referencebpvoltage(1.0f);
    r->add_referencebpvoltage(2.5f);
    r->add_referencebpvoltagepullup(-0.5f);
    r->set_inputconfig(PhonicWheelConfiguration::SkipConfiguration);
    r->set_decodesent(true);
  }));
  out.push_back(Make<CanbusInputConfiguration>(Input::CanbusInput, [](CanbusInputConfiguration* r) {
    r->set_messageid(0x18FF1234);
    r->set_type(CanbusInputConfiguration::SignedLittleEndian);
    r->set_length(16);
    r->set_offset(8);
    r->set_rawminvalue(-32768);
    r->set_rawmaxvalue(32767);
    r->set_faultinputid(7);
    r->set_faultminvalue(-5);
    r->set_timeout(500);
    r->set_timeoutmode(CanbusInputConfiguration::UseDefault);
  }));
  out.push_back(Make<ConstantValueInputConfiguration>(
      Input::ConstantValueInput, [](ConstantValueInputConfiguration* r) { r->set_value(-5); }));
  out.push_back(Make<CompareConfiguration>(Input::CompareInput, [](CompareConfiguration* r) {
    r->set_input(4);
    r->set_value(-100);
    r->set_comparemode(CompareConfiguration::WindowCompare);
    r->set_deviation(10);
    r->set_hold(-7);
  }));
  out.push_back(Make<DivideInputConfigData>(Input::DivideInput, [](DivideInputConfigData* r) {
    r->set_dividentinputid(1);
    r->set_dividerinputid(2);
    r->set_multiplier(-1000);
    r->set_infinityvalue(32767);
    r->set_operation(DivideInputConfigData::Xor);
  }));
  out.push_back(Make<DutyInConfiguration>(Input::DutyInput, [](DutyInConfiguration* r) {
    r->set_toothcount(1);
    r->add_enablepullups(300);
    r->set_medianfilterlength(5);
    r->set_pullmode(DutyInConfiguration::Down);
    r->set_faultvoltagehi(4800);
    r->set_mode(DutyInConfiguration::Time);
  }));
  out.push_back(Make<MapInputConfigData>(Input::MapInput, [](MapInputConfigData* r) {
    r->set_inputid(-2);
    r->add_inputvalues(0);
    r->add_inputvalues(100);
    r->add_outputvalues(-1);
    r->add_outputvalues(1);
  }));
  out.push_back(Make<AhrsInputConfiguration>(Input::AhrsInput, [](AhrsInputConfiguration* r) {
    r->set_accx(1);
    r->set_accz(3);
    r->set_gyroy(5);
    r->set_gyrorange(-250);
  }));
  out.push_back(Make<RbcInputConfigData>(Input::RbcInput, [](RbcInputConfigData* r) {
    r->add_inputids(1);
    r->add_inputids(0);
    r->add_inputids(70000);
  }));
  out.push_back(Make<CanObjectInputData>(Input::CanobjectInput, [](CanObjectInputData* r) {
    r->set_canobjectid(3);
    r->set_enablefilter(true);
    r->set_hold(-3);
  }));
  out.push_back(Make<CounterInputConfiguration>(Input::CounterInput, [](CounterInputConfiguration* r) {
    r->set_upinputid(-1);
    r->set_downinputid(2);
    r->set_minvalue(-100);
    r->set_maxvalue(100);
    r->set_step(5);
    r->set_rolover(true);
  }));
  // A system input has no settings: its config is empty, and still decodes.
  out.push_back(Make<SystemInputConfigurationData>(Input::SystemInput,
                                                   [](SystemInputConfigurationData*) {}));
  out.push_back(Make<WaveformInputConfigData>(Input::WaveformInput, [](WaveformInputConfigData* r) {
    r->set_inputid(9);
    r->set_waveformrisetriggerrepeat(true);
    r->set_waveformfalltriggerminimumrepeats(3);
    r->set_idlevalueatlowstate(-6);
    r->add_falltriggertimevalues(10);
    r->add_falltriggertimevalues(20);
    r->add_falltriggerinputvalues(-1);
    r->add_raisetriggertimevalues(100);
    r->add_raisetriggerinputvalues(-2);
  }));
  out.push_back(Make<TestInputConfiguration>(Input::TestInput, [](TestInputConfiguration* r) {
    r->set_range(TestInputConfiguration::rangeGcu5V);
    r->set_enableinterpolation(true);
    r->set_sint32value(-1);
    r->set_int32value(-1);
    r->set_uint32value(300);
    r->add_inputvalues(1);
    r->add_outputvalues(-1);
    r->add_inputids(-1);
    r->set_messageid(0x100);
  }));
  out.push_back(Make<AdcSwitchConfiguration>(kAdcSwitchCode, [](AdcSwitchConfiguration* r) {
    r->set_range(AdcSwitchConfiguration::rangeRaw);
    r->set_mode(AdcSwitchConfiguration::modeVoltage);
    r->set_minvoltage(1200);
    r->set_maxvoltage(3400);
    r->set_delay(-2);
  }));
  out.push_back(Make<InputQeiConfiguration>(kQeiCode, [](InputQeiConfiguration* r) {
    r->set_referencevoltage(2500);
    r->set_referencevoltagehi(2600);
    r->set_faultvoltagelo(100);
  }));
  out.push_back(Make<GearRatioCounterConfiguration>(kGearRatioCode, [](GearRatioCounterConfiguration* r) {
    r->set_pina(1);
    r->set_pinatoothcount(-1);
    r->set_pinb(2);
    r->set_pinbtoothcount(48);
  }));
  out.push_back(Make<SlipCounterConfiguration>(kSlipCounterCode, [](SlipCounterConfiguration* r) {
    r->set_pina(3);
    r->set_pinatoothcount(36);
    r->set_pinb(4);
    r->set_pinbtoothcount(-12);
  }));
  return out;
}

TEST(InputDocumentRoadTest, EverySettingsRecordSurvivesTheDocumentRoad) {
  const std::vector<Carried> settings = SettingsOfEveryKind();
  ASSERT_EQ(settings.size(), 20u) << "one record per input settings file";

  // Writing: each settings record is encoded into its entry's config first.
  ConfigData document;
  document.set_version(3);
  for (size_t i = 0; i < settings.size(); ++i) {
    const Carried& c = settings[i];
    ASSERT_EQ(RecordClassFor(c.type)->GetDescriptor(), c.record->GetDescriptor())
        << "type " << c.type << " must name " << c.record->GetTypeName();
    if (c.record->GetDescriptor()->field_count() > 0) {
      ASSERT_FALSE(Encode(*c.record).empty()) << c.record->GetTypeName() << " carries nothing";
    }
    Input* input = document.add_inputs();
    input->set_id(static_cast<int>(i) + 1);
    input->set_type(c.type);
    input->set_alias(c.record->GetTypeName());
    input->set_config(Encode(*c.record));
  }
  const std::string bytes = Encode(document);

  // Reading: parse the document, then decode each config by its type code.
  ConfigData read;
  ASSERT_TRUE(Parse(&read, bytes));
  EXPECT_EQ(read.version(), 3u);
  ASSERT_EQ(read.inputs_size(), static_cast<int>(settings.size()));
  for (int i = 0; i < read.inputs_size(); ++i) {
    const Input& input = read.inputs(i);
    const Message& original = *settings[i].record;
    SCOPED_TRACE(original.GetTypeName());
    EXPECT_EQ(input.id(), i + 1);
    EXPECT_EQ(input.type(), settings[i].type);
    EXPECT_EQ(input.alias(), original.GetTypeName());
    // The document carries the settings bytes unchanged.
    EXPECT_EQ(Hex(input.config()), Hex(Encode(original)));

    const Message* record_class = RecordClassFor(input.type());
    ASSERT_NE(record_class, nullptr) << "type " << input.type();
    std::unique_ptr<Message> decoded(record_class->New());
    ASSERT_TRUE(Parse(decoded.get(), input.config()));
    EXPECT_EQ(decoded->GetDescriptor(), original.GetDescriptor());
    std::string differences;
    MessageDifferencer differencer;
    differencer.ReportDifferencesToString(&differences);
    EXPECT_TRUE(differencer.Compare(original, *decoded)) << differences;
  }
}

}  // namespace
}  // namespace gcuschema::test
