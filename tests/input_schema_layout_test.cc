// The input settings records as the devices and the configuration software
// see them through reflection: fields in declaration order (which differs
// from numbering in several records and must stay as it is), their numbers,
// kinds and labels, and each enumeration's values in order.
#include <string>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

namespace gcuschema::test {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::DescriptorPool;
using google::protobuf::EnumDescriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::FileDescriptor;

struct FieldRow {
  const char* name;
  int number;
  const char* type;  // protobuf type name; for enumerations the enumeration's full name
  bool repeated;
};

struct EnumLayout {
  const char* name;  // short name inside the record
  std::vector<std::pair<const char*, int>> values;
};

struct RecordLayout {
  const char* file;
  const char* record;
  std::vector<FieldRow> fields;
  std::vector<EnumLayout> enums;
};

const std::vector<RecordLayout>& Layouts() {
  static const std::vector<RecordLayout> layouts = {
      {"AdcConfiguration.proto", "AdcConfiguration",
       {{"range", 1, "AdcConfiguration.AdcRange", false},
        {"saturation", 2, "bool", false},
        {"lowPassFilter", 3, "bool", false},
        {"enableInterpolation", 4, "bool", false},
        {"inMinValue", 5, "sint32", false},
        {"inMaxValue", 6, "sint32", false},
        {"outMinValue", 7, "sint32", false},
        {"outMaxValue", 8, "sint32", false},
        {"faultMinValue", 9, "sint32", false},
        {"faultMaxValue", 10, "sint32", false},
        {"pullupEnable", 11, "bool", false}},
       {{"AdcRange", {{"range5V", 0}, {"rangeGcu5V", 1}, {"range12V", 2}, {"rangeRaw", 3}}}}},
      {"AdcSwitchInput.proto", "AdcSwitchConfiguration",
       {{"range", 1, "AdcSwitchConfiguration.AdcRange", false},
        {"mode", 9, "AdcSwitchConfiguration.AdcSwitchMode", false},
        {"pullup", 2, "uint32", false},
        {"pulldown", 3, "uint32", false},
        {"precision", 4, "uint32", false},
        {"minVoltage", 10, "uint32", false},
        {"maxVoltage", 11, "uint32", false},
        {"enableFilter", 5, "bool", false},
        {"delay", 6, "sint32", false},
        {"hold", 7, "sint32", false},
        {"interspace", 8, "sint32", false}},
       {{"AdcSwitchMode", {{"modeResistors", 0}, {"modeVoltage", 1}}},
        {"AdcRange", {{"range5V", 0}, {"rangeGcu5V", 1}, {"range12V", 2}, {"rangeRaw", 3}}}}},
      {"DigitalInputConfiguration.proto", "DigitalInConfiguration",
       {{"enableFilter", 1, "bool", false},
        {"delay", 2, "sint32", false},
        {"hold", 3, "sint32", false},
        {"interspace", 4, "sint32", false},
        {"invert", 10, "bool", false},
        {"mode", 20, "DigitalInConfiguration.Mode", false}},
       {{"Mode", {{"DigitalIn", 0}, {"Duty", 1}, {"Frequency", 2}, {"Time", 3}}}}},
      {"DutyInConfiguration.proto", "DutyInConfiguration",
       {{"toothCount", 1, "uint32", false},
        {"enablePullups", 2, "uint32", true},
        {"referenceVoltage", 3, "uint32", false},
        {"pullupVoltage", 5, "uint32", false},
        {"pullMode", 6, "DutyInConfiguration.PullMode", false},
        {"medianFilterLength", 4, "int32", false},
        {"invert", 7, "bool", false},
        {"referenceVoltageHi", 8, "uint32", false},
        {"referenceVoltageLo", 9, "uint32", false},
        {"faultVoltageHi", 10, "uint32", false},
        {"faultVoltageLo", 11, "uint32", false},
        {"mode", 12, "DutyInConfiguration.Mode", false}},
       {{"PullMode", {{"Up", 0}, {"Down", 1}}}, {"Mode", {{"Duty", 0}, {"Time", 1}}}}},
      {"PhonicWheelConfiguration.proto", "PhonicWheelConfiguration",
       {{"toothCount", 1, "uint32", false},
        {"missingToothCount", 14, "uint32", false},
        {"enablePullups", 2, "uint32", true},
        {"pullMode", 6, "PhonicWheelConfiguration.PullMode", false},
        {"medianFilterLength", 4, "int32", false},
        {"signalMode", 7, "PhonicWheelConfiguration.SignalMode", false},
        {"referenceVoltage", 3, "uint32", false},
        {"referenceVoltageHi", 8, "uint32", false},
        {"referenceVoltageLo", 9, "uint32", false},
        {"faultVoltageHi", 10, "uint32", false},
        {"faultVoltageLo", 11, "uint32", false},
        {"pullupVoltage", 5, "uint32", false},
        {"referenceVoltagePullup", 20, "uint32", false},
        {"referenceVoltageHiPullup", 21, "uint32", false},
        {"referenceVoltageLoPullup", 22, "uint32", false},
        {"faultVoltageHiPullup", 23, "uint32", false},
        {"faultVoltageLoPullup", 34, "uint32", false},
        {"referenceBpVoltageBpRpm", 35, "uint32", true},
        {"referenceBpVoltage", 36, "float", true},
        {"referenceBpVoltagePullup", 37, "float", true},
        {"mode", 12, "PhonicWheelConfiguration.Mode", false},
        {"inputConfig", 13, "PhonicWheelConfiguration.InputConfig", false},
        {"decodeSent", 40, "bool", false}},
       {{"PullMode", {{"Up", 0}, {"Down", 1}}},
        {"SignalMode",
         {{"smLegacy", 0},
          {"smPositivePulse", 1},
          {"smNegativePulse", 2},
          {"smQuadrature", 3},
          {"smQuadratureRisingEdge", 4},
          {"smQuadratureFallingEdge", 5}}},
        {"Mode", {{"Frequency", 0}, {"Duty", 1}, {"Time", 2}, {"Voltage", 3}, {"Counter", 4}}},
        {"InputConfig", {{"Configure", 0}, {"SkipConfiguration", 1}}}}},
      {"InputQeiConfig.proto", "InputQeiConfiguration",
       {{"referenceVoltage", 3, "uint32", false},
        {"referenceVoltageHi", 8, "uint32", false},
        {"referenceVoltageLo", 9, "uint32", false},
        {"faultVoltageHi", 10, "uint32", false},
        {"faultVoltageLo", 11, "uint32", false}},
       {}},
      {"GearRatioCounterConfiguration.proto", "GearRatioCounterConfiguration",
       {{"pinA", 1, "uint32", false},
        {"pinAtoothCount", 2, "sint32", false},
        {"pinB", 3, "uint32", false},
        {"pinBtoothCount", 4, "sint32", false}},
       {}},
      {"SlipCounterConfiguration.proto", "SlipCounterConfiguration",
       {{"pinA", 1, "uint32", false},
        {"pinAtoothCount", 2, "sint32", false},
        {"pinB", 3, "uint32", false},
        {"pinBtoothCount", 4, "sint32", false}},
       {}},
      {"CanBusInputConfiguration.proto", "CanbusInputConfiguration",
       {{"messageId", 2, "fixed32", false},
        {"messageIdType", 3, "CanbusInputConfiguration.IdType", false},
        {"type", 4, "CanbusInputConfiguration.InputType", false},
        {"length", 5, "uint32", false},
        {"offset", 6, "uint32", false},
        {"rawMinValue", 7, "int32", false},
        {"rawMaxValue", 8, "int32", false},
        {"outMinValue", 13, "int32", false},
        {"outMaxValue", 14, "int32", false},
        {"faultInputId", 17, "uint32", false},
        {"faultMinValue", 15, "sint32", false},
        {"faultMaxValue", 16, "sint32", false},
        {"saturate", 9, "bool", false},
        {"defaultValue", 10, "int32", false},
        {"timeout", 11, "uint32", false},
        {"timeoutMode", 12, "CanbusInputConfiguration.TimeoutMode", false}},
       {{"IdType", {{"Extended", 0}, {"Standard", 1}}},
        {"InputType",
         {{"UnsignedBigEndian", 0},
          {"UnsignedLittleEndian", 1},
          {"SignedBigEndian", 2},
          {"SignedLittleEndian", 3},
          {"BitField", 4},
          {"FloatLittleEndian", 5},
          {"FloatBigEndian", 6}}},
        {"TimeoutMode", {{"UsePrevious", 0}, {"UseDefault", 1}}}}},
      {"CanObjectInput.proto", "CanObjectInputData",
       {{"canObjectId", 1, "uint32", false},
        {"enableFilter", 2, "bool", false},
        {"delay", 3, "sint32", false},
        {"hold", 4, "sint32", false},
        {"interspace", 5, "sint32", false}},
       {}},
      {"AhrsInputConfig.proto", "AhrsInputConfiguration",
       {{"accX", 1, "uint32", false},
        {"accY", 2, "uint32", false},
        {"accZ", 3, "uint32", false},
        {"gyroX", 4, "uint32", false},
        {"gyroY", 5, "uint32", false},
        {"gyroZ", 6, "uint32", false},
        {"gyroRange", 7, "int32", false}},
       {}},
      {"SystemInputConfigurationData.proto", "SystemInputConfigurationData", {}, {}},
      {"CompareInput.proto", "CompareConfiguration",
       {{"input", 1, "uint32", false},
        {"value", 2, "int32", false},
        {"compareMode", 9, "CompareConfiguration.CompareMode", false},
        {"deviation", 10, "int32", false},
        {"enableFilter", 5, "bool", false},
        {"delay", 6, "sint32", false},
        {"hold", 7, "sint32", false},
        {"interspace", 8, "sint32", false}},
       {{"CompareMode", {{"Equal", 0}, {"LessThan", 1}, {"GreaterThan", 2}, {"WindowCompare", 3}}}}},
      {"ConstantValueConfiguration.proto", "ConstantValueInputConfiguration",
       {{"value", 1, "sint32", false}},
       {}},
      {"DivideInputConfigData.proto", "DivideInputConfigData",
       {{"dividentInputId", 1, "uint32", false},
        {"dividerInputId", 2, "uint32", false},
        {"multiplier", 3, "sint32", false},
        {"infinityValue", 4, "sint32", false},
        {"operation", 9, "DivideInputConfigData.Operation", false}},
       {{"Operation",
         {{"Divide", 0},
          {"Multiply", 1},
          {"Add", 2},
          {"Subtract", 3},
          {"And", 4},
          {"Or", 5},
          {"Xor", 6}}}}},
      {"MapInputConfigData.proto", "MapInputConfigData",
       {{"inputId", 1, "int32", false},
        {"inputValues", 4, "sint32", true},
        {"outputValues", 3, "sint32", true}},
       {}},
      {"CounterInputConfiguration.proto", "CounterInputConfiguration",
       {{"upInputId", 1, "int32", false},
        {"downInputId", 2, "int32", false},
        {"resetInputId", 3, "int32", false},
        {"minValue", 4, "int32", false},
        {"maxValue", 5, "int32", false},
        {"step", 6, "int32", false},
        {"startValue", 7, "int32", false},
        {"resetValue", 8, "int32", false},
        {"rolover", 9, "bool", false}},
       {}},
      {"RbcInputConfigData.proto", "RbcInputConfigData", {{"inputIds", 1, "uint32", true}}, {}},
      {"WaveformInputConfigData.proto", "WaveformInputConfigData",
       {{"inputId", 1, "int32", false},
        {"waveformFallTriggerRepeat", 2, "bool", false},
        {"waveformRiseTriggerRepeat", 3, "bool", false},
        {"waveformFallTriggerMinimumRepeats", 4, "int32", false},
        {"waveformRiseTriggerMinimumRepeats", 5, "int32", false},
        {"idleValueAtLowState", 6, "sint32", false},
        {"idleValueAtHighState", 7, "sint32", false},
        {"fallTriggerTimeValues", 8, "sint32", true},
        {"fallTriggerInputValues", 9, "sint32", true},
        {"raiseTriggerTimeValues", 10, "sint32", true},
        {"raiseTriggerInputValues", 11, "sint32", true}},
       {}},
      {"TestInputConfiguration.proto", "TestInputConfiguration",
       {{"range", 1, "TestInputConfiguration.TestInputRange", false},
        {"saturation", 2, "bool", false},
        {"enableInterpolation", 4, "bool", false},
        {"sint32Value", 5, "sint32", false},
        {"int32Value", 6, "int32", false},
        {"uint32Value", 7, "uint32", false},
        {"inputId", 9, "int32", false},
        {"inputValues", 10, "sint32", true},
        {"outputValues", 11, "sint32", true},
        {"inputIds", 12, "int32", true},
        {"messageId", 13, "fixed32", false}},
       {{"TestInputRange", {{"range5V", 0}, {"rangeGcu5V", 1}, {"range12V", 2}, {"rangeRaw", 3}}}}},
  };
  return layouts;
}

class InputSchemaLayoutTest : public ::testing::TestWithParam<RecordLayout> {};

TEST_P(InputSchemaLayoutTest, FileHoldsOneRecordWithFieldsInDeclarationOrder) {
  const RecordLayout& want = GetParam();
  const FileDescriptor* file = DescriptorPool::generated_pool()->FindFileByName(want.file);
  ASSERT_NE(file, nullptr) << want.file << " is not registered";
  EXPECT_EQ(file->syntax(), FileDescriptor::SYNTAX_PROTO3);
  EXPECT_EQ(file->package(), "");
  EXPECT_EQ(file->dependency_count(), 0);
  EXPECT_EQ(file->enum_type_count(), 0) << "enumerations live inside the record";
  ASSERT_EQ(file->message_type_count(), 1);

  const Descriptor* record = file->message_type(0);
  EXPECT_EQ(record->full_name(), want.record);
  EXPECT_EQ(record->nested_type_count(), 0);
  ASSERT_EQ(record->field_count(), static_cast<int>(want.fields.size()));
  for (int i = 0; i < record->field_count(); ++i) {
    const FieldDescriptor* f = record->field(i);
    const FieldRow& w = want.fields[i];
    SCOPED_TRACE(std::string(want.record) + " field #" + std::to_string(i));
    EXPECT_EQ(f->name(), w.name);
    EXPECT_EQ(f->number(), w.number);
    EXPECT_EQ(f->is_repeated(), w.repeated);
    const std::string kind = f->type() == FieldDescriptor::TYPE_ENUM ? f->enum_type()->full_name()
                                                                     : f->type_name();
    EXPECT_EQ(kind, w.type);
    // Repeated scalars go out packed (proto3 default, nothing overridden).
    EXPECT_EQ(f->is_packed(), w.repeated);
    EXPECT_FALSE(f->has_presence()) << "no field of these records has presence";
  }

  ASSERT_EQ(record->enum_type_count(), static_cast<int>(want.enums.size()));
  for (int e = 0; e < record->enum_type_count(); ++e) {
    const EnumDescriptor* d = record->enum_type(e);
    const EnumLayout& w = want.enums[e];
    EXPECT_EQ(d->name(), w.name);
    ASSERT_EQ(d->value_count(), static_cast<int>(w.values.size())) << d->full_name();
    for (int v = 0; v < d->value_count(); ++v) {
      EXPECT_EQ(d->value(v)->name(), w.values[v].first) << d->full_name();
      EXPECT_EQ(d->value(v)->number(), w.values[v].second) << d->full_name();
    }
  }
}

INSTANTIATE_TEST_SUITE_P(EveryInputFile, InputSchemaLayoutTest, ::testing::ValuesIn(Layouts()),
                         [](const ::testing::TestParamInfo<RecordLayout>& info) {
                           return std::string(info.param.record);
                         });

}  // namespace
}  // namespace gcuschema::test
