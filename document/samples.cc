#include <gcuschema/document/samples.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/AhrsInputConfig.pb.h>
#include <gcuschema/CanBusInputConfiguration.pb.h>
#include <gcuschema/CanObjectInput.pb.h>
#include <gcuschema/CanObjectOutput.pb.h>
#include <gcuschema/CanbusOutputConfiguration.pb.h>
#include <gcuschema/CompareInput.pb.h>
#include <gcuschema/ConstantValueConfiguration.pb.h>
#include <gcuschema/CounterInputConfiguration.pb.h>
#include <gcuschema/CurrentConfiguration.pb.h>
#include <gcuschema/DacConfiguration.pb.h>
#include <gcuschema/DigitalInputConfiguration.pb.h>
#include <gcuschema/DivideInputConfigData.pb.h>
#include <gcuschema/DutyInConfiguration.pb.h>
#include <gcuschema/MapConfig.pb.h>
#include <gcuschema/MapInputConfigData.pb.h>
#include <gcuschema/MapOutputConfigData.pb.h>
#include <gcuschema/PhonicWheelConfiguration.pb.h>
#include <gcuschema/PowerOutputConfigData.pb.h>
#include <gcuschema/PwmConfiguration.pb.h>
#include <gcuschema/RbcInputConfigData.pb.h>
#include <gcuschema/SplitterOutputConfig.pb.h>
#include <gcuschema/SystemInputConfigurationData.pb.h>
#include <gcuschema/TachoOutputConfigData.pb.h>
#include <gcuschema/TestInputConfiguration.pb.h>
#include <gcuschema/TestOutputConfiguration.pb.h>
#include <gcuschema/WaveformInputConfigData.pb.h>
#include <gcuschema/document/records.h>

#include "ranges.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;

// splitmix64: tiny, fast, and the same numbers everywhere. The standard
// library's distributions are implementation-defined, so every draw goes
// through plain integer arithmetic here.
class Rng {
 public:
  explicit Rng(std::uint64_t seed) : state_(seed) {}

  std::uint64_t Next() {
    std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }

  // Uniform enough in [lo, hi]; the modulo bias does not matter for samples.
  int Range(int lo, int hi) {
    const std::uint64_t span = static_cast<std::uint64_t>(static_cast<std::int64_t>(hi) - lo + 1);
    return static_cast<int>(lo + static_cast<std::int64_t>(Next() % span));
  }

  bool Chance(int percent) { return Next() % 100 < static_cast<std::uint64_t>(percent); }

  template <typename T, std::size_t N>
  const T& Pick(const T (&items)[N]) {
    return items[Next() % N];
  }

  std::string Bytes(int size) {
    std::string out;
    out.reserve(static_cast<std::size_t>(size));
    for (int i = 0; i < size; ++i) out.push_back(static_cast<char>(Next() & 0xFF));
    return out;
  }

 private:
  std::uint64_t state_;
};

// A fixed-width decimal: "0042".
std::string Padded(int value, int width) {
  std::string digits = std::to_string(value);
  if (static_cast<int>(digits.size()) < width) digits.insert(0, width - digits.size(), '0');
  return digits;
}

// A lookup table as a Map3D: increasing breakpoints on both axes and the
// values row by row (one row per y breakpoint, x running fastest).
::Map3D TableRecord(Rng& rng, int columns, int rows) {
  ::Map3D table;
  int x = rng.Range(-100, 100);
  for (int i = 0; i < columns; ++i) {
    table.add_x(x);
    x += rng.Range(10, 500);
  }
  int y = rng.Range(0, 50);
  for (int j = 0; j < rows; ++j) {
    table.add_y(y);
    y += rng.Range(5, 200);
  }
  int base = rng.Range(-500, 500);
  for (int j = 0; j < rows; ++j) {
    int value = base + j * rng.Range(1, 40);
    for (int i = 0; i < columns; ++i) {
      table.add_values(value);
      value += rng.Range(-20, 60);
    }
  }
  return table;
}

std::string Table(Rng& rng, int columns, int rows) { return TableRecord(rng, columns, rows).SerializeAsString(); }

// The input kinds in the order the first inputs take them (so that a
// document of 16 inputs has one of each), with the weight that the later
// inputs are drawn with: hardware inputs dominate real configurations.
struct Kind {
  int code;
  int weight;
  const char* stem;
  const char* unit;
};

constexpr Kind kInputKinds[] = {
    {::Input::AdcInput, 20, "Analog", "mV"},
    {::Input::DigitalInput, 14, "Switch", ""},
    {::Input::PhonicWheelInput, 4, "ShaftSpeed", "rpm"},
    {::Input::CanbusInput, 14, "Bus", ""},
    {::Input::ConstantValueInput, 5, "Constant", ""},
    {::Input::CompareInput, 6, "Compare", ""},
    {::Input::DivideInput, 4, "Ratio", ""},
    {::Input::DutyInput, 3, "Duty", "%"},
    {::Input::MapInput, 5, "Curve", ""},
    {::Input::AhrsInput, 1, "Motion", "g"},
    {::Input::RbcInput, 2, "Combined", ""},
    {::Input::CanobjectInput, 3, "Object", ""},
    {::Input::CounterInput, 3, "Counter", ""},
    {::Input::SystemInput, 2, "System", ""},
    {::Input::WaveformInput, 2, "Waveform", ""},
    {::Input::TestInput, 1, "Test", ""},
};

constexpr Kind kOutputKinds[] = {
    {::Output::PwmOutput, 25, "Solenoid", "%"},
    {::Output::DacOutput, 10, "Analog", "mV"},
    {::Output::CanbusOutput, 20, "Bus", ""},
    {::Output::CurrentOutput, 15, "Valve", "mA"},
    {::Output::MapOutput, 6, "Curve", ""},
    {::Output::SplitterOutput, 4, "Splitter", ""},
    {::Output::PowerOutput, 10, "Supply", "A"},
    {::Output::CanobjectOutput, 4, "Object", ""},
    {::Output::TachoOutput, 4, "Tacho", "rpm"},
    {::Output::TestOutput, 2, "Test", ""},
};

template <std::size_t N>
const Kind& KindAt(const Kind (&kinds)[N], int index, Rng& rng) {
  if (index < static_cast<int>(N)) return kinds[index];
  int total = 0;
  for (const Kind& kind : kinds) total += kind.weight;
  int draw = rng.Range(0, total - 1);
  for (const Kind& kind : kinds) {
    if (draw < kind.weight) return kind;
    draw -= kind.weight;
  }
  return kinds[0];
}

// Where the CAN settings point: a frame of some bus.
struct FrameSlot {
  CanbusInputFrameDescription* input = nullptr;
  CanbusOutputFrameDescription* output = nullptr;
  std::uint32_t id = 0;
  bool extended = false;
};

class ConfigBuilder {
 public:
  ConfigBuilder(const SampleOptions& options, ConfigData* out)
      : rng_(options.seed), out_(out), inputs_(std::max(options.inputs, 0)) {
    outputs_ = inputs_ / 2;
    maps_ = inputs_ > 0 ? std::max(1, inputs_ / 8) : 0;
    buses_ = inputs_ > 0 ? std::max(2, inputs_ / 100) : 0;
    estimators_ = inputs_ > 0 ? std::max(1, inputs_ / 50) : 0;
    drivers_ = inputs_ > 0 ? std::max(1, inputs_ / 64) : 0;
  }

  void Build() {
    out_->Clear();
    out_->set_version(static_cast<std::uint32_t>(rng_.Range(2, 5)));
    out_->set_password("pw-" + Padded(rng_.Range(0, 9999), 4));
    out_->set_gcuno("GCU-" + Padded(rng_.Range(1, 99999), 5));
    out_->set_devicedescription("Sample transmission configuration, " + std::to_string(inputs_) +
                                " inputs, " + std::to_string(outputs_) + " outputs");
    AddBuses();
    AddInputs();
    AddOutputs();
    AddMaps();
    AddDrivers();
    AddEstimators();
    AddUnits();
    out_->set_canobjectcount(static_cast<std::uint32_t>(can_objects_));
    // Frames learn how many values they carry once every channel is placed.
    for (Canbus& bus : *out_->mutable_canbus()) {
      bus.set_standardinputframecount(bus.standardinputframes_size());
      bus.set_extendedinputframecount(bus.extendedinputframes_size());
      bus.set_standardoutputframecount(bus.standardoutputframes_size());
      bus.set_extendedoutputframecount(bus.extendedoutputframes_size());
      bus.set_entitiescount(bus.entityhandler_size());
    }
  }

 private:
  static int InputId(int index) { return index + 1; }
  static std::uint32_t OutputId(int index) { return static_cast<std::uint32_t>(index + 1); }
  static int BusId(int index) { return index + 1; }

  // An input placed before `index` (computed inputs use earlier ones, so
  // the sample has no cycles); the first input when there is none before.
  int EarlierInput(int index) { return InputId(index > 0 ? rng_.Range(0, index - 1) : 0); }
  int AnyInput() { return InputId(rng_.Range(0, inputs_ - 1)); }
  std::uint32_t EarlierOutput(int index) { return OutputId(index > 0 ? rng_.Range(0, index - 1) : 0); }

  void AddBuses() {
    static constexpr int kBaudrates[] = {125000, 250000, 500000, 500000, 1000000};
    static constexpr int kFdBaudrates[] = {2000000, 4000000, 5000000};
    static constexpr int kPeriods[] = {10, 20, 50, 100, 500, 1000};
    int next_entity = 1;
    for (int b = 0; b < buses_; ++b) {
      Canbus* bus = out_->add_canbus();
      bus->set_canbusid(BusId(b));
      bus->set_baudrate(rng_.Pick(kBaudrates));
      if (rng_.Chance(30)) {
        bus->set_fdenable(true);
        bus->set_fdbaudrate(rng_.Pick(kFdBaudrates));
      }
      bus->set_enabletermination(rng_.Chance(50));
      // Identifiers rise by a random step so that they stay unique per bus.
      std::uint32_t standard = static_cast<std::uint32_t>(rng_.Range(0x080, 0x200));
      std::uint32_t extended = 0x18F00000u | static_cast<std::uint32_t>(rng_.Range(0, 0xFFF) << 8);
      auto next_standard = [&] { return standard += static_cast<std::uint32_t>(rng_.Range(1, 16)); };
      auto next_extended = [&] { return extended += static_cast<std::uint32_t>(rng_.Range(1, 255)); };
      for (int i = rng_.Range(2, 6); i > 0; --i) {
        CanbusInputFrameDescription* frame = bus->add_standardinputframes();
        frame->set_messageid(next_standard());
      }
      for (int i = rng_.Range(1, 4); i > 0; --i) {
        CanbusInputFrameDescription* frame = bus->add_extendedinputframes();
        frame->set_messageid(next_extended());
      }
      for (int i = rng_.Range(1, 5); i > 0; --i) {
        CanbusOutputFrameDescription* frame = bus->add_standardoutputframes();
        frame->set_messageid(next_standard());
        frame->set_framelength(8);
        frame->set_period(rng_.Pick(kPeriods));
        frame->set_updateifdirty(rng_.Chance(40));
      }
      for (int i = rng_.Range(1, 3); i > 0; --i) {
        CanbusOutputFrameDescription* frame = bus->add_extendedoutputframes();
        frame->set_messageid(next_extended());
        frame->set_framelength(bus->fdenable() && rng_.Chance(50) ? 64 : 8);
        frame->set_period(rng_.Pick(kPeriods));
        frame->set_updateifdirty(rng_.Chance(40));
      }
      for (int i = rng_.Range(1, 3); i > 0; --i) {
        CanbusEntityHandler* handler = bus->add_entityhandler();
        handler->set_entityid(next_entity++);
        handler->set_type(rng_.Range(1, 4));
        handler->set_config(rng_.Bytes(rng_.Range(4, 16)));
      }
    }
    // Frames are pointed at only after every bus exists: the list of buses
    // does not move any more.
    for (Canbus& bus : *out_->mutable_canbus()) {
      for (auto& frame : *bus.mutable_standardinputframes()) in_frames_.push_back({&frame, nullptr, frame.messageid(), false});
      for (auto& frame : *bus.mutable_extendedinputframes()) in_frames_.push_back({&frame, nullptr, frame.messageid(), true});
      for (auto& frame : *bus.mutable_standardoutputframes()) out_frames_.push_back({nullptr, &frame, frame.messageid(), false});
      for (auto& frame : *bus.mutable_extendedoutputframes()) out_frames_.push_back({nullptr, &frame, frame.messageid(), true});
    }
    // A ring of routers, each bus forwarding to the next.
    if (buses_ >= 2) {
      for (int b = 0; b < buses_; ++b) {
        CanbusRouter* router = out_->add_canbusrouter();
        router->set_sourcecanbusid(BusId(b));
        router->set_destinationcanbusid(BusId((b + 1) % buses_));
      }
    }
  }

  void AddInputs() {
    static constexpr int kLinearizationTypes[] = {::Map::Interpolated3dMap, ::Map::Point3dMap,
                                                  ::Map::NearestNeighbour3dMap};
    int pin = 0;
    out_->mutable_inputs()->Reserve(inputs_);
    for (int i = 0; i < inputs_; ++i) {
      const Kind& kind = KindAt(kInputKinds, i, rng_);
      Input* input = out_->add_inputs();
      input->set_id(InputId(i));
      input->set_dataloggerchannel(i % 4 == 3 ? -1 : i);
      input->set_type(kind.code);
      const bool hardware = kind.code == ::Input::AdcInput || kind.code == ::Input::DigitalInput ||
                            kind.code == ::Input::PhonicWheelInput || kind.code == ::Input::DutyInput;
      if (hardware) input->set_pin(static_cast<std::uint32_t>(++pin));
      input->set_alias(std::string(kind.stem) + "_" + Padded(i + 1, 3));
      input->set_config(InputSettings(kind.code, i));
      if (kind.code == ::Input::AdcInput) {
        input->set_minvalue(static_cast<float>(rng_.Range(-40, 0)));
        input->set_maxvalue(static_cast<float>(rng_.Range(100, 5000)));
        if (rng_.Chance(50)) {
          ::Map* curve = input->mutable_linearization();
          curve->set_alias(input->alias() + " curve");
          curve->set_type(static_cast<::Map_MapType>(rng_.Pick(kLinearizationTypes)));
          curve->set_config(Table(rng_, rng_.Range(4, 12), 1));
        }
      } else if (kind.code == ::Input::PhonicWheelInput) {
        input->set_maxvalue(static_cast<float>(rng_.Range(4000, 9000)));
      } else if (kind.code == ::Input::DutyInput) {
        input->set_maxvalue(100.0f);
      }
      if (kind.unit[0] != '\0') input->set_unit(kind.unit);
      input->set_ispreset(rng_.Chance(5));
    }
  }

  std::string InputSettings(int code, int index) {
    switch (code) {
      case ::Input::AdcInput: {
        static constexpr AdcConfiguration_AdcRange kRanges[] = {
            AdcConfiguration::range5V, AdcConfiguration::rangeGcu5V, AdcConfiguration::range12V,
            AdcConfiguration::rangeRaw};
        AdcConfiguration s;
        s.set_range(rng_.Pick(kRanges));
        s.set_saturation(rng_.Chance(60));
        s.set_lowpassfilter(rng_.Chance(50));
        s.set_enableinterpolation(rng_.Chance(50));
        s.set_inminvalue(rng_.Range(0, 500));
        s.set_inmaxvalue(rng_.Range(4000, 5000));
        s.set_outminvalue(rng_.Range(-40, 0));
        s.set_outmaxvalue(rng_.Range(100, 5000));
        s.set_faultminvalue(rng_.Range(0, 100));
        s.set_faultmaxvalue(rng_.Range(4900, 5100));
        s.set_pullupenable(rng_.Chance(30));
        return s.SerializeAsString();
      }
      case ::Input::DigitalInput: {
        static constexpr DigitalInConfiguration_Mode kModes[] = {
            DigitalInConfiguration::DigitalIn, DigitalInConfiguration::DigitalIn,
            DigitalInConfiguration::Duty, DigitalInConfiguration::Frequency, DigitalInConfiguration::Time};
        DigitalInConfiguration s;
        s.set_enablefilter(rng_.Chance(70));
        if (s.enablefilter()) {
          s.set_delay(rng_.Range(1, 50));
          s.set_hold(rng_.Range(1, 50));
          s.set_interspace(rng_.Range(0, 20));
        }
        s.set_invert(rng_.Chance(30));
        s.set_mode(rng_.Pick(kModes));
        return s.SerializeAsString();
      }
      case ::Input::PhonicWheelInput: {
        static constexpr PhonicWheelConfiguration_SignalMode kSignals[] = {
            PhonicWheelConfiguration::smLegacy, PhonicWheelConfiguration::smPositivePulse,
            PhonicWheelConfiguration::smNegativePulse, PhonicWheelConfiguration::smQuadrature};
        static constexpr int kTeeth[] = {12, 24, 36, 40, 58, 60};
        PhonicWheelConfiguration s;
        s.set_toothcount(static_cast<std::uint32_t>(rng_.Pick(kTeeth)));
        if (rng_.Chance(30)) s.set_missingtoothcount(2);
        s.add_enablepullups(static_cast<std::uint32_t>(rng_.Range(0, 1)));
        s.add_enablepullups(static_cast<std::uint32_t>(rng_.Range(0, 1)));
        s.set_pullmode(rng_.Chance(50) ? PhonicWheelConfiguration::Up : PhonicWheelConfiguration::Down);
        s.set_medianfilterlength(rng_.Range(0, 5));
        s.set_signalmode(rng_.Pick(kSignals));
        s.set_referencevoltage(static_cast<std::uint32_t>(rng_.Range(500, 2500)));
        s.set_referencevoltagehi(s.referencevoltage() + 200);
        s.set_referencevoltagelo(s.referencevoltage() - 200);
        s.set_faultvoltagehi(4800);
        s.set_faultvoltagelo(100);
        s.set_pullupvoltage(5000);
        // Voltage thresholds against speed: breakpoints in rpm, millivolts as floats.
        int rpm = 0;
        for (int k = rng_.Range(2, 5); k > 0; --k) {
          rpm += rng_.Range(200, 2000);
          s.add_referencebpvoltagebprpm(static_cast<std::uint32_t>(rpm));
          s.add_referencebpvoltage(static_cast<float>(rng_.Range(100, 4000)) / 4.0f);
          s.add_referencebpvoltagepullup(static_cast<float>(rng_.Range(100, 4000)) / 4.0f);
        }
        s.set_mode(PhonicWheelConfiguration::Frequency);
        s.set_decodesent(rng_.Chance(10));
        return s.SerializeAsString();
      }
      case ::Input::CanbusInput: {
        static constexpr CanbusInputConfiguration_InputType kTypes[] = {
            CanbusInputConfiguration::UnsignedBigEndian, CanbusInputConfiguration::UnsignedLittleEndian,
            CanbusInputConfiguration::SignedBigEndian, CanbusInputConfiguration::SignedLittleEndian,
            CanbusInputConfiguration::BitField, CanbusInputConfiguration::FloatLittleEndian,
            CanbusInputConfiguration::FloatBigEndian};
        static constexpr int kLengths[] = {8, 16, 16, 32};
        CanbusInputConfiguration s;
        FrameSlot& frame = in_frames_[rng_.Next() % in_frames_.size()];
        frame.input->set_inputcount(frame.input->inputcount() + 1);
        s.set_messageid(frame.id);
        s.set_messageidtype(frame.extended ? CanbusInputConfiguration::Extended
                                           : CanbusInputConfiguration::Standard);
        s.set_type(rng_.Pick(kTypes));
        const bool bits = s.type() == CanbusInputConfiguration::BitField;
        const bool floats = s.type() == CanbusInputConfiguration::FloatLittleEndian ||
                            s.type() == CanbusInputConfiguration::FloatBigEndian;
        const int length = bits ? rng_.Range(1, 4) : floats ? 32 : rng_.Pick(kLengths);
        s.set_length(static_cast<std::uint32_t>(length));
        s.set_offset(static_cast<std::uint32_t>(bits ? rng_.Range(0, 60) : 8 * rng_.Range(0, (64 - length) / 8)));
        s.set_rawminvalue(0);
        s.set_rawmaxvalue(bits ? (1 << length) - 1 : 1000 * rng_.Range(1, 60));
        s.set_outminvalue(rng_.Range(-100, 0));
        s.set_outmaxvalue(rng_.Range(100, 10000));
        if (rng_.Chance(20)) s.set_faultinputid(static_cast<std::uint32_t>(EarlierInput(index)));
        s.set_faultminvalue(s.outminvalue() - 10);
        s.set_faultmaxvalue(s.outmaxvalue() + 10);
        s.set_saturate(rng_.Chance(50));
        s.set_defaultvalue(rng_.Range(0, 100));
        s.set_timeout(static_cast<std::uint32_t>(100 * rng_.Range(1, 10)));
        s.set_timeoutmode(rng_.Chance(50) ? CanbusInputConfiguration::UsePrevious
                                          : CanbusInputConfiguration::UseDefault);
        return s.SerializeAsString();
      }
      case ::Input::ConstantValueInput: {
        ConstantValueInputConfiguration s;
        s.set_value(rng_.Range(-1000, 1000));
        return s.SerializeAsString();
      }
      case ::Input::CompareInput: {
        static constexpr CompareConfiguration_CompareMode kModes[] = {
            CompareConfiguration::Equal, CompareConfiguration::LessThan, CompareConfiguration::GreaterThan,
            CompareConfiguration::WindowCompare};
        CompareConfiguration s;
        s.set_input(static_cast<std::uint32_t>(EarlierInput(index)));
        s.set_value(rng_.Range(-100, 3000));
        s.set_comparemode(rng_.Pick(kModes));
        if (s.comparemode() == CompareConfiguration::WindowCompare) s.set_deviation(rng_.Range(1, 200));
        s.set_enablefilter(rng_.Chance(50));
        if (s.enablefilter()) {
          s.set_delay(rng_.Range(1, 100));
          s.set_hold(rng_.Range(1, 100));
          s.set_interspace(rng_.Range(0, 50));
        }
        return s.SerializeAsString();
      }
      case ::Input::DivideInput: {
        static constexpr DivideInputConfigData_Operation kOperations[] = {
            DivideInputConfigData::Divide, DivideInputConfigData::Divide, DivideInputConfigData::Multiply,
            DivideInputConfigData::Add, DivideInputConfigData::Subtract, DivideInputConfigData::And,
            DivideInputConfigData::Or, DivideInputConfigData::Xor};
        DivideInputConfigData s;
        s.set_dividentinputid(static_cast<std::uint32_t>(EarlierInput(index)));
        s.set_dividerinputid(static_cast<std::uint32_t>(EarlierInput(index)));
        s.set_multiplier(rng_.Range(1, 1000));
        s.set_infinityvalue(rng_.Range(10000, 65535));
        s.set_operation(rng_.Pick(kOperations));
        return s.SerializeAsString();
      }
      case ::Input::DutyInput: {
        DutyInConfiguration s;
        s.set_toothcount(1);
        s.add_enablepullups(static_cast<std::uint32_t>(rng_.Range(0, 1)));
        s.set_referencevoltage(static_cast<std::uint32_t>(rng_.Range(1000, 3000)));
        s.set_pullupvoltage(5000);
        s.set_pullmode(rng_.Chance(50) ? DutyInConfiguration::Up : DutyInConfiguration::Down);
        s.set_medianfilterlength(rng_.Range(0, 7));
        s.set_invert(rng_.Chance(20));
        s.set_referencevoltagehi(s.referencevoltage() + 300);
        s.set_referencevoltagelo(s.referencevoltage() - 300);
        s.set_faultvoltagehi(4900);
        s.set_faultvoltagelo(50);
        s.set_mode(rng_.Chance(70) ? DutyInConfiguration::Duty : DutyInConfiguration::Time);
        return s.SerializeAsString();
      }
      case ::Input::MapInput: {
        MapInputConfigData s;
        s.set_inputid(EarlierInput(index));
        int x = rng_.Range(-50, 50);
        for (int k = rng_.Range(2, 8); k > 0; --k) {
          s.add_inputvalues(x);
          s.add_outputvalues(rng_.Range(-1000, 1000));
          x += rng_.Range(1, 300);
        }
        return s.SerializeAsString();
      }
      case ::Input::AhrsInput: {
        AhrsInputConfiguration s;
        const std::uint32_t base = static_cast<std::uint32_t>(rng_.Range(0, 8) * 6);
        s.set_accx(base + 1);
        s.set_accy(base + 2);
        s.set_accz(base + 3);
        s.set_gyrox(base + 4);
        s.set_gyroy(base + 5);
        s.set_gyroz(base + 6);
        s.set_gyrorange(rng_.Chance(50) ? 250 : 500);
        return s.SerializeAsString();
      }
      case ::Input::RbcInput: {
        RbcInputConfigData s;
        for (int k = rng_.Range(2, 4); k > 0; --k) s.add_inputids(static_cast<std::uint32_t>(EarlierInput(index)));
        return s.SerializeAsString();
      }
      case ::Input::CanobjectInput: {
        CanObjectInputData s;
        s.set_canobjectid(static_cast<std::uint32_t>(++can_objects_));
        s.set_enablefilter(rng_.Chance(40));
        if (s.enablefilter()) {
          s.set_delay(rng_.Range(1, 20));
          s.set_hold(rng_.Range(1, 20));
          s.set_interspace(rng_.Range(0, 10));
        }
        return s.SerializeAsString();
      }
      case ::Input::CounterInput: {
        CounterInputConfiguration s;
        s.set_upinputid(EarlierInput(index));
        s.set_downinputid(EarlierInput(index));
        if (rng_.Chance(50)) s.set_resetinputid(EarlierInput(index));
        s.set_minvalue(0);
        s.set_maxvalue(rng_.Range(10, 10000));
        s.set_step(rng_.Range(1, 5));
        s.set_startvalue(rng_.Range(0, 10));
        s.set_resetvalue(0);
        s.set_rolover(rng_.Chance(30));
        return s.SerializeAsString();
      }
      case ::Input::SystemInput:
        // The system input has no settings: its record is empty.
        return SystemInputConfigurationData().SerializeAsString();
      case ::Input::WaveformInput: {
        WaveformInputConfigData s;
        s.set_inputid(EarlierInput(index));
        s.set_waveformfalltriggerrepeat(rng_.Chance(50));
        s.set_waveformrisetriggerrepeat(rng_.Chance(50));
        s.set_waveformfalltriggerminimumrepeats(rng_.Range(0, 3));
        s.set_waveformrisetriggerminimumrepeats(rng_.Range(0, 3));
        s.set_idlevalueatlowstate(rng_.Range(-10, 0));
        s.set_idlevalueathighstate(rng_.Range(1, 100));
        int t = 0;
        for (int k = rng_.Range(2, 6); k > 0; --k) {
          t += rng_.Range(1, 50);
          s.add_falltriggertimevalues(t);
          s.add_falltriggerinputvalues(rng_.Range(-100, 100));
        }
        t = 0;
        for (int k = rng_.Range(2, 6); k > 0; --k) {
          t += rng_.Range(1, 50);
          s.add_raisetriggertimevalues(t);
          s.add_raisetriggerinputvalues(rng_.Range(-100, 100));
        }
        return s.SerializeAsString();
      }
      case ::Input::TestInput: {
        TestInputConfiguration s;
        s.set_range(TestInputConfiguration::range12V);
        s.set_saturation(true);
        s.set_enableinterpolation(true);
        s.set_sint32value(rng_.Range(-1000, -1));
        s.set_int32value(rng_.Range(1, 1000));
        s.set_uint32value(static_cast<std::uint32_t>(rng_.Range(1, 1000)));
        s.set_inputid(EarlierInput(index));
        for (int k = 0; k < 3; ++k) {
          s.add_inputvalues(k * 100);
          s.add_outputvalues(rng_.Range(-500, 500));
          s.add_inputids(EarlierInput(index));
        }
        s.set_messageid(static_cast<std::uint32_t>(rng_.Range(0x100, 0x7FF)));
        return s.SerializeAsString();
      }
      default:
        return std::string();
    }
  }

  void AddOutputs() {
    int pin = 0;
    out_->mutable_outputs()->Reserve(outputs_);
    for (int j = 0; j < outputs_; ++j) {
      const Kind& kind = KindAt(kOutputKinds, j, rng_);
      Output* output = out_->add_outputs();
      output->set_id(OutputId(j));
      output->set_dataloggerchannel(j % 4 == 3 ? -1 : j);
      output->set_type(kind.code);
      const bool hardware = kind.code == ::Output::PwmOutput || kind.code == ::Output::DacOutput ||
                            kind.code == ::Output::CurrentOutput || kind.code == ::Output::PowerOutput ||
                            kind.code == ::Output::TachoOutput;
      if (hardware) output->set_pin(static_cast<std::uint32_t>(++pin));
      output->set_alias(std::string(kind.stem) + "_" + Padded(j + 1, 3));
      output->set_config(OutputSettings(kind.code, j));
      if (kind.code == ::Output::PwmOutput) {
        output->set_maxvalue(100.0f);
      } else if (kind.code == ::Output::CurrentOutput) {
        output->set_maxvalue(static_cast<float>(rng_.Range(1000, 2000)));
      } else if (kind.code == ::Output::DacOutput) {
        output->set_maxvalue(5000.0f);
      }
      if (kind.unit[0] != '\0') output->set_unit(kind.unit);
      output->set_ispreset(rng_.Chance(5));
    }
  }

  std::string OutputSettings(int code, int index) {
    switch (code) {
      case ::Output::PwmOutput: {
        PwmConfiguration s;
        s.set_invert(rng_.Chance(20));
        s.set_mode(rng_.Chance(60) ? PwmConfiguration::modePWM : PwmConfiguration::modeCurrent);
        s.set_currentlimit(static_cast<std::uint32_t>(rng_.Range(500, 3000)));
        s.set_frequency(static_cast<std::uint32_t>(rng_.Range(1, 40) * 50));
        if (rng_.Chance(30)) {
          s.set_peakandholdenable(true);
          s.set_peakandholdpeakvalue(rng_.Range(800, 1500));
          s.set_peakandholdpeaktime(rng_.Range(1, 20));
          s.set_peakandholdholdvalue(rng_.Range(200, 700));
          s.set_peakandholdenableproportionalhold(rng_.Chance(50));
        }
        return s.SerializeAsString();
      }
      case ::Output::DacOutput: {
        static constexpr DacConfiguration_DacRange kRanges[] = {
            DacConfiguration::range5V, DacConfiguration::rangeGcu5V, DacConfiguration::range12V,
            DacConfiguration::rangeRaw};
        DacConfiguration s;
        s.set_range(rng_.Pick(kRanges));
        s.set_enableinterpolation(rng_.Chance(50));
        s.set_inminvalue(0);
        s.set_inmaxvalue(rng_.Range(100, 1000));
        s.set_outminvalue(rng_.Range(0, 500));
        s.set_outmaxvalue(rng_.Range(4000, 5000));
        return s.SerializeAsString();
      }
      case ::Output::CanbusOutput: {
        static constexpr CanbusOutputConfiguration_OutputType kTypes[] = {
            CanbusOutputConfiguration::UnsignedBigEndian, CanbusOutputConfiguration::UnsignedLittleEndian,
            CanbusOutputConfiguration::SignedBigEndian, CanbusOutputConfiguration::SignedLittleEndian,
            CanbusOutputConfiguration::BitField, CanbusOutputConfiguration::CounterField,
            CanbusOutputConfiguration::BitCounterField};
        CanbusOutputConfiguration s;
        FrameSlot& frame = out_frames_[rng_.Next() % out_frames_.size()];
        frame.output->set_outputcount(frame.output->outputcount() + 1);
        s.set_messageid(frame.id);
        s.set_messageidtype(frame.extended ? CanbusOutputConfiguration::Extended
                                           : CanbusOutputConfiguration::Standard);
        s.set_type(rng_.Pick(kTypes));
        const bool bits = s.type() == CanbusOutputConfiguration::BitField ||
                          s.type() == CanbusOutputConfiguration::BitCounterField;
        const int length = bits ? rng_.Range(1, 4) : 8 * rng_.Range(1, 2);
        s.set_length(static_cast<std::uint32_t>(length));
        s.set_offset(static_cast<std::uint32_t>(bits ? rng_.Range(0, 60) : 8 * rng_.Range(0, 6)));
        s.set_inminvalue(rng_.Range(-100, 0));
        s.set_inmaxvalue(rng_.Range(100, 5000));
        s.set_rawminvalue(0);
        s.set_rawmaxvalue((1 << length) - 1);
        s.set_defaultvalue(rng_.Range(0, 10));
        return s.SerializeAsString();
      }
      case ::Output::CurrentOutput: {
        CurrentConfiguration s;
        const int ohms = rng_.Range(2, 12);
        s.set_resistance(static_cast<std::uint32_t>(ohms));
        s.set_resistancedouble(ohms + rng_.Range(0, 7) / 8.0);
        s.set_resistancemin(s.resistancedouble() - 0.5);
        s.set_resistancemax(s.resistancedouble() + 0.5);
        s.set_currentrange(static_cast<std::uint32_t>(rng_.Range(1, 3)));
        s.set_currentrangedouble(s.currentrange() * 1000.0);
        s.set_enableinterpolation(rng_.Chance(50));
        s.set_inminvalue(0);
        s.set_inmaxvalue(rng_.Range(100, 1000));
        s.set_outminvalue(0);
        s.set_outmaxvalue(rng_.Range(1000, 2000));
        s.set_lambda(rng_.Range(1, 64) / 64.0);
        s.set_temperatureinput(static_cast<std::uint32_t>(AnyInput()));
        s.set_frequency(static_cast<std::uint32_t>(rng_.Range(2, 40) * 100));
        if (rng_.Chance(40)) {
          s.set_peakandholdenable(true);
          s.set_peakandholdpeakvalue(rng_.Range(800, 1500));
          s.set_peakandholdpeaktime(rng_.Range(1, 20));
          s.set_peakandholdholdvalue(rng_.Range(200, 700));
          s.set_peakandholdenableproportionalhold(rng_.Chance(50));
        }
        return s.SerializeAsString();
      }
      case ::Output::MapOutput: {
        MapOutputConfigData s;
        s.set_outputid(static_cast<std::int32_t>(EarlierOutput(index)));
        s.set_defaultvalue(rng_.Range(-10, 10));
        int x = 0;
        for (int k = rng_.Range(2, 8); k > 0; --k) {
          s.add_inputvalues(x);
          s.add_outputvalues(rng_.Range(0, 1000));
          x += rng_.Range(1, 250);
        }
        return s.SerializeAsString();
      }
      case ::Output::SplitterOutput: {
        SplitterOutputConfigData s;
        for (int k = rng_.Range(2, 3); k > 0; --k) s.add_outputids(static_cast<std::int32_t>(EarlierOutput(index)));
        return s.SerializeAsString();
      }
      case ::Output::PowerOutput: {
        PowerOutputConfigData s;
        s.set_overcurrenterroroutputids(EarlierOutput(index));
        s.set_undercurrentwarningoutputids(EarlierOutput(index));
        s.set_softstartrisetime(static_cast<std::uint32_t>(rng_.Range(1, 100)));
        s.set_hickupdelay(static_cast<std::uint32_t>(rng_.Range(10, 1000)));
        s.set_hickupcount(static_cast<std::uint32_t>(rng_.Range(1, 5)));
        s.set_hickupcounterresetdelay(static_cast<std::uint32_t>(rng_.Range(1000, 10000)));
        s.set_undercurrentlimit(static_cast<std::uint32_t>(rng_.Range(10, 200)));
        s.set_overcurrentlimit(static_cast<std::uint32_t>(rng_.Range(2000, 10000)));
        return s.SerializeAsString();
      }
      case ::Output::CanobjectOutput: {
        CanObjectOutputData s;
        s.set_canobjectid(static_cast<std::uint32_t>(++can_objects_));
        return s.SerializeAsString();
      }
      case ::Output::TachoOutput: {
        static constexpr TachoOutputConfigData_IdleState kStates[] = {
            TachoOutputConfigData::isLow, TachoOutputConfigData::isHigh, TachoOutputConfigData::isKeep};
        TachoOutputConfigData s;
        s.set_toothcount(rng_.Range(1, 60));
        s.set_idlestate(rng_.Pick(kStates));
        return s.SerializeAsString();
      }
      case ::Output::TestOutput: {
        TestOutputConfiguration s;
        s.set_range(TestOutputConfiguration::rangeGcu5V);
        s.set_saturation(true);
        s.set_enableinterpolation(true);
        s.set_inminvalue(rng_.Range(-100, -1));
        s.set_outputid(static_cast<std::int32_t>(EarlierOutput(index)));
        for (int k = 0; k < 3; ++k) {
          s.add_inputvalues(k * 10);
          s.add_outputvalues(rng_.Range(-50, 50));
          s.add_outputids(static_cast<std::int32_t>(EarlierOutput(index)));
        }
        s.set_messageid(static_cast<std::uint32_t>(rng_.Range(0x100, 0x7FF)));
        return s.SerializeAsString();
      }
      default:
        return std::string();
    }
  }

  void AddMaps() {
    static constexpr int kTypes[] = {::Map::Interpolated3dMap, ::Map::Interpolated3dMap, ::Map::Point3dMap,
                                     ::Map::NearestNeighbour3dMap};
    static constexpr const char* kNames[] = {"ShiftUp", "ShiftDown", "LinePressure", "Lockup", "Torque",
                                             "Clutch"};
    for (int m = 0; m < maps_; ++m) {
      ::Map* map = out_->add_maps();
      map->set_id(static_cast<std::uint32_t>(m + 1));
      map->set_alias(std::string(rng_.Pick(kNames)) + "_" + Padded(m + 1, 3));
      map->set_maptunerid(m % 4 == 0 ? -1 : m);
      map->set_xaxischannel(AnyInput());
      map->set_yaxischannel(AnyInput());
      map->set_type(static_cast<::Map_MapType>(rng_.Pick(kTypes)));
      // Drawn one after the other: the order of a call's arguments is the
      // compiler's choice, and the bytes must not depend on it.
      const int columns = rng_.Range(4, 12);
      const int rows = rng_.Range(4, 12);
      map->set_config(Table(rng_, columns, rows));
    }
  }

  void AddDrivers() {
    for (int d = 0; d < drivers_; ++d) {
      Driver* driver = out_->add_drivers();
      driver->set_id(static_cast<std::uint32_t>(d + 1));
      driver->set_type(static_cast<std::uint32_t>(rng_.Range(1, 3)));
      driver->set_config(rng_.Bytes(rng_.Range(8, 32)));
      if (rng_.Chance(50)) driver->set_guiconfig(rng_.Bytes(rng_.Range(4, 16)));
    }
  }

  void AddEstimators() {
    for (int e = 0; e < estimators_; ++e) {
      Estimations* estimator = out_->add_estimationdata();
      const int size = rng_.Range(2, 4);
      estimator->set_id(e + 1);
      estimator->set_size(size);
      // Values are multiples of 1/1024: exact in binary, so the same bits
      // come out everywhere.
      for (int k = 0; k < size; ++k) estimator->add_thetavalues(rng_.Range(-4096, 4096) / 1024.0);
      for (int r = 0; r < size; ++r) {
        for (int c = 0; c < size; ++c) {
          estimator->add_pvalues(r == c ? rng_.Range(1024, 8192) / 1024.0 : rng_.Range(-256, 256) / 1024.0);
        }
      }
      estimator->set_initialized(rng_.Chance(70));
      if (rng_.Chance(60)) {
        estimator->set_enablesaturation(true);
        estimator->set_yminsaturation(-rng_.Range(1, 400) / 4.0);
        estimator->set_ymaxsaturation(rng_.Range(1, 400) / 4.0);
        estimator->set_dynamicsaturation(rng_.Chance(30));
      }
    }
  }

  void AddUnits() {
    Units* units = out_->mutable_units();
    units->set_pressureunit(static_cast<Units_Pressure>(rng_.Range(0, 2)));
    units->set_torqueunit(static_cast<Units_Torque>(rng_.Range(0, 1)));
    units->set_timeunit(static_cast<Units_Time>(rng_.Range(0, 2)));
    units->set_temperatureunit(static_cast<Units_Temperature>(rng_.Range(0, 1)));
    units->set_speedunit(static_cast<Units_Speed>(rng_.Range(0, 1)));
    units->set_angleunit(static_cast<Units_Angle>(rng_.Range(0, 1)));
  }

  Rng rng_;
  ConfigData* out_;
  int inputs_;
  int outputs_ = 0;
  int maps_ = 0;
  int buses_ = 0;
  int estimators_ = 0;
  int drivers_ = 0;
  int can_objects_ = 0;
  std::vector<FrameSlot> in_frames_;
  std::vector<FrameSlot> out_frames_;
};

// Calibration list sizes follow the document size: one board channel for
// a few configured channels, at least one of each kind.
struct CalibrationSizes {
  int adc, dac, freq, digital_in, digital_out, pwm, canbus, qei;
  explicit CalibrationSizes(int inputs)
      : adc(std::max(1, inputs / 4)),
        dac(std::max(1, inputs / 16)),
        freq(std::max(1, inputs / 12)),
        digital_in(std::max(1, inputs / 8)),
        digital_out(std::max(1, inputs / 8)),
        pwm(std::max(1, inputs / 6)),
        canbus(std::max(2, inputs / 100)),
        qei(std::max(1, inputs / 32)) {}
};

// CalibrationData and CalibrationTemplateData share their field names, so
// one body fills both; the template's limits come on top.
template <typename Record>
void FillCalibration(const SampleOptions& options, Record* out) {
  constexpr bool kTemplate = std::is_same_v<Record, CalibrationTemplateData>;
  out->Clear();
  Rng rng(options.seed ^ 0xCA11B4A7E5EEDull);
  const CalibrationSizes sizes(std::max(options.inputs, 0));
  std::uint32_t channel = 0;

  for (int i = 0; i < sizes.adc; ++i) {
    auto* adc = out->add_adccalibration();
    adc->set_logicalid(static_cast<std::uint32_t>(i + 1));
    adc->set_hardwarechannel(++channel);
    adc->set_level12v(static_cast<std::uint32_t>(rng.Range(3600, 3900)));
    adc->set_level5v(static_cast<std::uint32_t>(rng.Range(3900, 4095)));
    adc->set_levelgcu5v(static_cast<std::uint32_t>(rng.Range(3900, 4095)));
    adc->set_pullup(static_cast<std::uint32_t>(rng.Range(0, 1) * 2200));
    if (rng.Chance(10)) adc->set_specialfunctionid(static_cast<std::uint32_t>(rng.Range(1, 4)));
    if constexpr (kTemplate) {
      adc->set_levelmin12v(adc->level12v() - 100);
      adc->set_levelmin5v(adc->level5v() - 100);
      adc->set_levelmingcu5v(adc->levelgcu5v() - 100);
      adc->set_levelmax12v(adc->level12v() + 100);
      adc->set_levelmax5v(adc->level5v() + 100);
      adc->set_levelmaxgcu5v(adc->levelgcu5v() + 100);
      adc->set_calibrationmode(rng.Chance(50) ? CalibrationTemplateData_AdcCalibrationData::out5V
                                              : CalibrationTemplateData_AdcCalibrationData::batPositive);
    }
  }
  out->set_adccalibrationcount(static_cast<std::uint32_t>(out->adccalibration_size()));

  for (int i = 0; i < sizes.dac; ++i) {
    auto* dac = out->add_daccalibration();
    dac->set_logicalid(static_cast<std::uint32_t>(i + 1));
    dac->set_hardwarechannel(static_cast<std::uint32_t>(i + 1));
    dac->set_level12v(static_cast<std::uint32_t>(rng.Range(3000, 3300)));
    dac->set_level5v(static_cast<std::uint32_t>(rng.Range(3900, 4095)));
    dac->set_levelgcu5v(static_cast<std::uint32_t>(rng.Range(3900, 4095)));
    if constexpr (kTemplate) {
      dac->set_levelmin12v(dac->level12v() - 50);
      dac->set_levelmin5v(dac->level5v() - 50);
      dac->set_levelmingcu5v(dac->levelgcu5v() - 50);
      dac->set_levelmax12v(dac->level12v() + 50);
      dac->set_levelmax5v(dac->level5v() + 50);
      dac->set_levelmaxgcu5v(dac->levelgcu5v() + 50);
    }
  }
  out->set_daccalibrationcount(static_cast<std::uint32_t>(out->daccalibration_size()));

  for (int i = 0; i < sizes.freq; ++i) {
    auto* freq = out->add_freqinputscalibration();
    freq->set_logicalid(static_cast<std::uint32_t>(i + 1));
    freq->set_hardwarechannel(static_cast<std::uint32_t>(i + 1));
    for (int k = rng.Range(1, 3); k > 0; --k) {
      auto* pull = freq->add_pullups();
      pull->set_value(static_cast<std::uint32_t>(rng.Range(1, 10) * 1000));
      pull->set_outputid(static_cast<std::uint32_t>(rng.Range(1, 64)));
    }
    freq->set_pullupscount(static_cast<std::uint32_t>(freq->pullups_size()));
    auto* down = freq->add_pulldowns();
    down->set_value(static_cast<std::uint32_t>(rng.Range(1, 10) * 1000));
    down->set_outputid(static_cast<std::uint32_t>(rng.Range(1, 64)));
    freq->set_offsetdac(static_cast<std::uint32_t>(rng.Range(100, 4000)));
    freq->set_offset5v(static_cast<std::uint32_t>(rng.Range(2000, 2100)));
    freq->set_pullupvoltagedac(static_cast<std::uint32_t>(rng.Range(100, 4000)));
    freq->set_pullup5v(static_cast<std::uint32_t>(rng.Range(3000, 3100)));
    freq->set_pulluppulldownswitch(static_cast<std::uint32_t>(rng.Range(1, 64)));
    freq->set_diagnosticsadc(static_cast<std::uint32_t>(rng.Range(1, 64)));
    if constexpr (kTemplate) {
      freq->set_offsetmin5v(freq->offset5v() - 20);
      freq->set_offsetmax5v(freq->offset5v() + 20);
      freq->set_pullupmin5v(freq->pullup5v() - 20);
      freq->set_pullupmax5v(freq->pullup5v() + 20);
      freq->set_diagnosticsadcmin5vvalue(static_cast<std::uint32_t>(rng.Range(3800, 3900)));
      freq->set_diagnosticsadcmax5vvalue(static_cast<std::uint32_t>(rng.Range(4000, 4095)));
    }
  }
  out->set_freqinputscalibrationcount(static_cast<std::uint32_t>(out->freqinputscalibration_size()));

  for (int i = 0; i < sizes.digital_in; ++i) {
    auto* in = out->add_digitalinputcalibration();
    in->set_logicalid(static_cast<std::uint32_t>(i + 1));
    in->set_port(static_cast<std::uint32_t>(i / 16));
    in->set_pin(static_cast<std::uint32_t>(i % 16));
    in->set_invert(rng.Chance(20));
    in->set_pullupenable(rng.Chance(50));
    in->set_pulldownenable(!in->pullupenable() && rng.Chance(50));
  }
  out->set_digitalinputcalibrationcount(static_cast<std::uint32_t>(out->digitalinputcalibration_size()));

  for (int i = 0; i < sizes.digital_out; ++i) {
    auto* dout = out->add_digitaloutputcalibration();
    dout->set_logicalid(static_cast<std::uint32_t>(i + 1));
    dout->set_port(static_cast<std::uint32_t>(4 + i / 16));
    dout->set_pin(static_cast<std::uint32_t>(i % 16));
    dout->set_invert(rng.Chance(20));
    const bool external = rng.Chance(40);
    // The driver type values are the same numbers in both records.
    dout->set_drivertype(static_cast<decltype(dout->drivertype())>(external ? 1 : 0));
    if (external) dout->set_driverenable(static_cast<std::uint32_t>(rng.Range(1, 8)));
  }
  out->set_digitaloutputcalibrationcount(static_cast<std::uint32_t>(out->digitaloutputcalibration_size()));

  for (int i = 0; i < sizes.pwm; ++i) {
    auto* pwm = out->add_pwmcalibration();
    pwm->set_logicalid(static_cast<std::uint32_t>(i + 1));
    pwm->set_hardwarechannel(static_cast<std::uint32_t>(i + 1));
    pwm->set_inverted(rng.Chance(10));
    pwm->set_adcsensechannel(++channel);
    pwm->set_adczerovalue(static_cast<std::uint32_t>(rng.Range(0, 50)));
    pwm->set_adc5avalue(static_cast<std::uint32_t>(rng.Range(3000, 3500)));
    pwm->set_adcgain(static_cast<std::uint32_t>(rng.Range(900, 1100)));
    pwm->set_inhibitout(static_cast<std::uint32_t>(rng.Range(1, 64)));
    pwm->set_idlein(static_cast<std::uint32_t>(rng.Range(1, 64)));
    pwm->set_denout(static_cast<std::uint32_t>(rng.Range(1, 64)));
    pwm->set_diagnosticadc(++channel);
    pwm->set_diagnosticpu(static_cast<std::uint32_t>(rng.Range(1, 64)));
    pwm->set_drivertype(static_cast<decltype(pwm->drivertype())>(rng.Range(0, 1)));
    if constexpr (kTemplate) {
      pwm->set_adcminzerovalue(0);
      pwm->set_adcmaxzerovalue(pwm->adczerovalue() + 50);
      pwm->set_adcmin5avalue(pwm->adc5avalue() - 200);
      pwm->set_adcmax5avalue(pwm->adc5avalue() + 200);
    }
  }
  out->set_pwmcalibrationcount(static_cast<std::uint32_t>(out->pwmcalibration_size()));

  for (int i = 0; i < sizes.canbus; ++i) {
    auto* can = out->add_canbuscalibrationdata();
    can->set_logicalid(static_cast<std::uint32_t>(i + 1));
    can->set_hardwarechannel(static_cast<std::uint32_t>(i + 1));
    can->set_terminationenable(static_cast<std::uint32_t>(rng.Range(1, 64)));
    can->set_txrxstby(static_cast<std::uint32_t>(rng.Range(1, 64)));
    can->set_interrupt(static_cast<std::uint32_t>(rng.Range(1, 64)));
  }
  out->set_canbuscalibrationcount(static_cast<std::uint32_t>(out->canbuscalibrationdata_size()));

  for (int i = 0; i < sizes.qei; ++i) {
    auto* qei = out->add_qeicalibrationdata();
    qei->set_logicalid(static_cast<std::uint32_t>(i + 1));
    qei->set_hardwarechannel(static_cast<std::uint32_t>(i + 1));
    qei->set_offsetdac(static_cast<std::uint32_t>(rng.Range(100, 4000)));
    qei->set_offset5v(static_cast<std::uint32_t>(rng.Range(2000, 2100)));
    qei->set_diagnosticsadca(++channel);
    qei->set_diagnosticsadcb(++channel);
    qei->set_diagnosticspullupa(static_cast<std::uint32_t>(rng.Range(1, 64)));
    qei->set_diagnosticspullupb(static_cast<std::uint32_t>(rng.Range(1, 64)));
    if constexpr (kTemplate) {
      qei->set_offsetmin5v(qei->offset5v() - 20);
      qei->set_offsetmax5v(qei->offset5v() + 20);
    }
  }
  out->set_qeicalibrationcount(static_cast<std::uint32_t>(out->qeicalibrationdata_size()));

  // The board's service signals: every sint32 field of the root but the
  // hardware version is a signal number; a few are not fitted (-1).
  const pb::Descriptor* type = out->GetDescriptor();
  const pb::Reflection* reflection = out->GetReflection();
  int signal = 1;
  for (int f = 0; f < type->field_count(); ++f) {
    const pb::FieldDescriptor* field = type->field(f);
    if (field->type() != pb::FieldDescriptor::TYPE_SINT32 || field->name() == "hardwareVersion") continue;
    reflection->SetInt32(out, field, rng.Chance(10) ? -1 : signal++);
  }
  out->set_hardwareversion(rng.Range(1, 9));
  out->set_serialno("SN" + Padded(rng.Range(0, 999999), 6));
  out->set_devicetype(static_cast<decltype(out->devicetype())>(rng.Range(0, 2)));
}

// Swaps two number fields of one type when the first holds the greater value.
void OrderRange(pb::Message* record, const pb::FieldDescriptor* lower, const pb::FieldDescriptor* upper) {
  const pb::Reflection* r = record->GetReflection();
  const auto order = [&](auto get, auto set) {
    const auto low = (r->*get)(*record, lower);
    const auto high = (r->*get)(*record, upper);
    if (!(low > high)) return;
    (r->*set)(record, lower, high);
    (r->*set)(record, upper, low);
  };
  switch (lower->cpp_type()) {
    case pb::FieldDescriptor::CPPTYPE_INT32: order(&pb::Reflection::GetInt32, &pb::Reflection::SetInt32); break;
    case pb::FieldDescriptor::CPPTYPE_UINT32: order(&pb::Reflection::GetUInt32, &pb::Reflection::SetUInt32); break;
    case pb::FieldDescriptor::CPPTYPE_INT64: order(&pb::Reflection::GetInt64, &pb::Reflection::SetInt64); break;
    case pb::FieldDescriptor::CPPTYPE_UINT64: order(&pb::Reflection::GetUInt64, &pb::Reflection::SetUInt64); break;
    case pb::FieldDescriptor::CPPTYPE_FLOAT: order(&pb::Reflection::GetFloat, &pb::Reflection::SetFloat); break;
    case pb::FieldDescriptor::CPPTYPE_DOUBLE: order(&pb::Reflection::GetDouble, &pb::Reflection::SetDouble); break;
    default: break;
  }
}

// A value for every field, for the records that have no sample of their
// own: non-zero scalars, valid enumeration values (the first non-zero one
// when there is one), two elements per list, sub-records filled likewise.
void FillEveryField(pb::Message* record, Rng& rng, int depth) {
  const pb::Descriptor* type = record->GetDescriptor();
  const pb::Reflection* reflection = record->GetReflection();
  for (int f = 0; f < type->field_count(); ++f) {
    const pb::FieldDescriptor* field = type->field(f);
    const int count = field->is_repeated() ? 2 : 1;
    for (int k = 0; k < count; ++k) {
      const bool add = field->is_repeated();
      switch (field->cpp_type()) {
        case pb::FieldDescriptor::CPPTYPE_INT32: {
          const std::int32_t v = rng.Range(1, 1000);
          add ? reflection->AddInt32(record, field, v) : reflection->SetInt32(record, field, v);
          break;
        }
        case pb::FieldDescriptor::CPPTYPE_INT64: {
          const std::int64_t v = rng.Range(1, 1000);
          add ? reflection->AddInt64(record, field, v) : reflection->SetInt64(record, field, v);
          break;
        }
        case pb::FieldDescriptor::CPPTYPE_UINT32: {
          const std::uint32_t v = static_cast<std::uint32_t>(rng.Range(1, 1000));
          add ? reflection->AddUInt32(record, field, v) : reflection->SetUInt32(record, field, v);
          break;
        }
        case pb::FieldDescriptor::CPPTYPE_UINT64: {
          const std::uint64_t v = static_cast<std::uint64_t>(rng.Range(1, 1000));
          add ? reflection->AddUInt64(record, field, v) : reflection->SetUInt64(record, field, v);
          break;
        }
        case pb::FieldDescriptor::CPPTYPE_FLOAT: {
          const float v = static_cast<float>(rng.Range(1, 4000)) / 4.0f;
          add ? reflection->AddFloat(record, field, v) : reflection->SetFloat(record, field, v);
          break;
        }
        case pb::FieldDescriptor::CPPTYPE_DOUBLE: {
          const double v = rng.Range(1, 4000) / 4.0;
          add ? reflection->AddDouble(record, field, v) : reflection->SetDouble(record, field, v);
          break;
        }
        case pb::FieldDescriptor::CPPTYPE_BOOL:
          add ? reflection->AddBool(record, field, true) : reflection->SetBool(record, field, true);
          break;
        case pb::FieldDescriptor::CPPTYPE_ENUM: {
          const pb::EnumDescriptor* values = field->enum_type();
          const int v = values->value(values->value_count() > 1 ? 1 : 0)->number();
          add ? reflection->AddEnumValue(record, field, v) : reflection->SetEnumValue(record, field, v);
          break;
        }
        case pb::FieldDescriptor::CPPTYPE_STRING: {
          const std::string v = field->type() == pb::FieldDescriptor::TYPE_BYTES
                                    ? rng.Bytes(8)
                                    : field->name() + "-" + std::to_string(rng.Range(1, 999));
          add ? reflection->AddString(record, field, v) : reflection->SetString(record, field, v);
          break;
        }
        case pb::FieldDescriptor::CPPTYPE_MESSAGE:
          // The schema has no recursive record, but a bound keeps it so.
          if (depth < 4) {
            FillEveryField(add ? reflection->AddMessage(record, field) : reflection->MutableMessage(record, field),
                           rng, depth + 1);
          }
          break;
      }
    }
  }
  // Counts kept beside lists agree with them: "standardInputFrameCount"
  // beside "standardInputFrames", "pullUpsCount" beside "pullUps", and
  // "entitiesCount" beside the list numbered right after it.
  for (int f = 0; f < type->field_count(); ++f) {
    const pb::FieldDescriptor* count = type->field(f);
    const std::string& name = count->name();
    const std::string suffix = "Count";
    if (count->is_repeated() || name.size() <= suffix.size() ||
        name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0) {
      continue;
    }
    const std::string stem = name.substr(0, name.size() - suffix.size());
    const pb::FieldDescriptor* list = type->FindFieldByName(stem);
    if (list == nullptr || !list->is_repeated()) list = type->FindFieldByName(stem + "s");
    if (list == nullptr || !list->is_repeated()) list = type->FindFieldByNumber(count->number() + 1);
    if (list == nullptr || !list->is_repeated()) continue;
    const int size = reflection->FieldSize(*record, list);
    if (count->cpp_type() == pb::FieldDescriptor::CPPTYPE_INT32) reflection->SetInt32(record, count, size);
    if (count->cpp_type() == pb::FieldDescriptor::CPPTYPE_UINT32) {
      reflection->SetUInt32(record, count, static_cast<std::uint32_t>(size));
    }
  }
  // Ranges run upwards: "inMinValue" no greater than "inMaxValue".
  for (int f = 0; f < type->field_count(); ++f) {
    const pb::FieldDescriptor* lower = type->field(f);
    const pb::FieldDescriptor* upper = lower->is_repeated() ? nullptr : internal::UpperEnd(type, lower->name());
    if (upper != nullptr && upper->cpp_type() == lower->cpp_type()) OrderRange(record, lower, upper);
  }
}

}  // namespace

void SampleConfig(const SampleOptions& options, ConfigData* out) { ConfigBuilder(options, out).Build(); }

void SampleDeviceData(const SampleOptions& options, DeviceData* out) {
  out->Clear();
  ConfigData config;
  SampleConfig(options, &config);
  // Its own stream, so that the image's blocks do not shift the config.
  Rng rng(options.seed ^ 0xDE71CEDA7Aull);
  const int block = 64 + std::max(options.inputs, 0);
  out->set_version(static_cast<std::uint32_t>(rng.Range(1, 3)));
  out->set_gcuserialno("G" + Padded(rng.Range(0, 9999999), 7));
  out->set_config(config.SerializeAsString());
  out->set_dynamicadaptation(rng.Bytes(block));
  // The backup is what the unit last saved: the same adaptation.
  out->set_dynamicadaptationbackup(out->dynamicadaptation());
  out->set_valveadaptation(rng.Bytes(block / 2));
  out->set_transmissionconfig(rng.Bytes(block));
  out->set_staticadaptation(rng.Bytes(block / 4));
}

void SampleCalibration(const SampleOptions& options, CalibrationData* out) { FillCalibration(options, out); }

void SampleCalibrationTemplate(const SampleOptions& options, CalibrationTemplateData* out) {
  FillCalibration(options, out);
}

std::unique_ptr<pb::Message> Sample(const pb::Descriptor* type, const SampleOptions& options) {
  if (type == nullptr || FindRecord(type->full_name()) != type) return nullptr;
  std::unique_ptr<pb::Message> record = NewRecord(type);
  if (type == ConfigData::descriptor()) {
    SampleConfig(options, static_cast<ConfigData*>(record.get()));
  } else if (type == DeviceData::descriptor()) {
    SampleDeviceData(options, static_cast<DeviceData*>(record.get()));
  } else if (type == CalibrationData::descriptor()) {
    SampleCalibration(options, static_cast<CalibrationData*>(record.get()));
  } else if (type == CalibrationTemplateData::descriptor()) {
    SampleCalibrationTemplate(options, static_cast<CalibrationTemplateData*>(record.get()));
  } else {
    Rng rng(options.seed);
    FillEveryField(record.get(), rng, 0);
    // Settings bytes that read as what their type code names: a constant
    // for an input, a tacho for an output, a table for a map.
    if (type == ::Input::descriptor()) {
      auto* input = static_cast<::Input*>(record.get());
      ConstantValueInputConfiguration constant;
      constant.set_value(rng.Range(-1000, 1000));
      input->set_type(::Input::ConstantValueInput);
      input->set_config(constant.SerializeAsString());
      input->mutable_linearization()->set_config(Table(rng, 4, 1));
    } else if (type == ::Output::descriptor()) {
      auto* output = static_cast<::Output*>(record.get());
      TachoOutputConfigData tacho;
      tacho.set_toothcount(rng.Range(1, 60));
      tacho.set_idlestate(TachoOutputConfigData::isHigh);
      output->set_type(::Output::TachoOutput);
      output->set_config(tacho.SerializeAsString());
    } else if (type == ::Map::descriptor()) {
      static_cast<::Map*>(record.get())->set_config(Table(rng, 4, 4));
    } else if (type == ::Map3D::descriptor()) {
      // A table reads as one: its axes rising, a value for each pair of breakpoints.
      static_cast<::Map3D*>(record.get())->CopyFrom(TableRecord(rng, 2, 2));
    } else if (type == ::Map2D::descriptor()) {
      int x = rng.Range(-100, 100);
      for (::Map2DPoint& point : *static_cast<::Map2D*>(record.get())->mutable_points()) {
        point.set_x(x);
        x += rng.Range(10, 500);
      }
    }
  }
  return record;
}

}  // namespace gcuschema::document
