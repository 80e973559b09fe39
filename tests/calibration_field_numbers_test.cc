// Field-number and enumerator constants of the device data image, the
// hardware calibration record and its limits template. Each constant is
// checked at compile time against its number; at run time the same row is
// checked against the registered descriptor's field of that name, so a
// constant and the schema cannot drift apart. Note the casing rule: a
// letter after a digit is raised (internal3V3enableDigitalOut ->
// kInternal3V3EnableDigitalOut), a letter after a capital is not
// (internal5VenableDigitalOut -> kInternal5VenableDigitalOut).
#include <map>
#include <string>

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/CalibrationDataLimits.pb.h>
#include <gcuschema/DeviceData.pb.h>

namespace gcuschema::test {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::EnumDescriptor;

// Fails the build, naming both numbers, when a constant has another value.
template <int Constant, int Expected>
constexpr int Pinned() {
  static_assert(Constant == Expected, "constant differs from its schema number");
  return Constant;
}

struct FieldRow {
  const Descriptor* (*record)();
  const char* field;
  int number;
};

#define FIELD(Record, Constant, name, number) \
  FieldRow { &Record::descriptor, name, Pinned<Record::Constant, number>() }

const FieldRow kFieldRows[] = {
    // DeviceData
    FIELD(DeviceData, kVersionFieldNumber, "version", 1),
    FIELD(DeviceData, kGcuSerialNoFieldNumber, "gcuSerialNo", 2),
    FIELD(DeviceData, kConfigFieldNumber, "config", 10),
    FIELD(DeviceData, kDynamicAdaptationBackupFieldNumber, "dynamicAdaptationBackup", 13),
    FIELD(DeviceData, kDynamicAdaptationFieldNumber, "dynamicAdaptation", 14),
    FIELD(DeviceData, kValveAdaptationFieldNumber, "valveAdaptation", 15),
    FIELD(DeviceData, kTransmissionConfigFieldNumber, "transmissionConfig", 16),
    FIELD(DeviceData, kStaticAdaptationFieldNumber, "staticAdaptation", 17),
    // CalibrationData
    FIELD(CalibrationData, kAdcCalibrationCountFieldNumber, "adcCalibrationCount", 1),
    FIELD(CalibrationData, kAdcCalibrationFieldNumber, "adcCalibration", 2),
    FIELD(CalibrationData, kDacCalibrationCountFieldNumber, "dacCalibrationCount", 3),
    FIELD(CalibrationData, kDacCalibrationFieldNumber, "dacCalibration", 4),
    FIELD(CalibrationData, kFreqInputsCalibrationCountFieldNumber, "freqInputsCalibrationCount", 5),
    FIELD(CalibrationData, kFreqInputsCalibrationFieldNumber, "freqInputsCalibration", 6),
    FIELD(CalibrationData, kDigitalInputCalibrationCountFieldNumber, "digitalInputCalibrationCount", 7),
    FIELD(CalibrationData, kDigitalInputCalibrationFieldNumber, "digitalInputCalibration", 8),
    FIELD(CalibrationData, kDigitalOutputCalibrationCountFieldNumber, "digitalOutputCalibrationCount", 9),
    FIELD(CalibrationData, kDigitalOutputCalibrationFieldNumber, "digitalOutputCalibration", 10),
    FIELD(CalibrationData, kPwmCalibrationCountFieldNumber, "pwmCalibrationCount", 11),
    FIELD(CalibrationData, kPwmCalibrationFieldNumber, "pwmCalibration", 12),
    FIELD(CalibrationData, kCanbusCalibrationCountFieldNumber, "canbusCalibrationCount", 13),
    FIELD(CalibrationData, kCanbusCalibrationDataFieldNumber, "canbusCalibrationData", 14),
    FIELD(CalibrationData, kQeiCalibrationCountFieldNumber, "qeiCalibrationCount", 15),
    FIELD(CalibrationData, kQeiCalibrationDataFieldNumber, "qeiCalibrationData", 16),
    FIELD(CalibrationData, kBatteryVoltageAdcChannelFieldNumber, "batteryVoltageAdcChannel", 100),
    FIELD(CalibrationData, kGcu5VAdcChannelFieldNumber, "gcu5VAdcChannel", 101),
    FIELD(CalibrationData, kGcu5VstatusDigitalInFieldNumber, "gcu5VstatusDigitalIn", 102),
    FIELD(CalibrationData, kGcu12VAdcChannelFieldNumber, "gcu12VAdcChannel", 103),
    FIELD(CalibrationData, kGcu12VstatusInFieldNumber, "gcu12VstatusIn", 104),
    FIELD(CalibrationData, kGcu12VdacAdjustFieldNumber, "gcu12VdacAdjust", 108),
    FIELD(CalibrationData, kInternal5VenableDigitalOutFieldNumber, "internal5VenableDigitalOut", 180),
    FIELD(CalibrationData, kInternal5VpgoodDigitalInFieldNumber, "internal5VpgoodDigitalIn", 181),
    FIELD(CalibrationData, kInternal3V3EnableDigitalOutFieldNumber, "internal3V3enableDigitalOut", 182),
    FIELD(CalibrationData, kInternal3V3PgoodDigitalInFieldNumber, "internal3V3pgoodDigitalIn", 183),
    FIELD(CalibrationData, kPwmOutputEnableDigitalOutFieldNumber, "pwmOutputEnableDigitalOut", 105),
    FIELD(CalibrationData, kPullupEnableDigitalOutFieldNumber, "pullupEnableDigitalOut", 106),
    FIELD(CalibrationData, kSensorsEnableDigitalOutFieldNumber, "sensorsEnableDigitalOut", 107),
    FIELD(CalibrationData, kUsbDetectDigitalInFieldNumber, "usbDetectDigitalIn", 110),
    FIELD(CalibrationData, kPowerDetectDigitalInFieldNumber, "powerDetectDigitalIn", 111),
    FIELD(CalibrationData, kBluetoothWakeStateDigitalInFieldNumber, "bluetoothWakeStateDigitalIn", 120),
    FIELD(CalibrationData, kBluetoothWakeHwDigitaoOutFieldNumber, "bluetoothWakeHwDigitaoOut", 121),
    FIELD(CalibrationData, kBluetoothWakeSwDigitaoOutFieldNumber, "bluetoothWakeSwDigitaoOut", 122),
    FIELD(CalibrationData, kBluetoothMdlpEvDigitalOutFieldNumber, "bluetoothMdlpEvDigitalOut", 123),
    FIELD(CalibrationData, kBluetoothCmdMdlpSwitchDigitalOutFieldNumber, "bluetoothCmdMdlpSwitchDigitalOut", 124),
    FIELD(CalibrationData, kLedADigitalOutFieldNumber, "ledADigitalOut", 130),
    FIELD(CalibrationData, kLedBDigitalOutFieldNumber, "ledBDigitalOut", 131),
    FIELD(CalibrationData, kLedCDigitalOutFieldNumber, "ledCDigitalOut", 132),
    FIELD(CalibrationData, kLedDDigitalOutFieldNumber, "ledDDigitalOut", 133),
    FIELD(CalibrationData, kOvercurrentResetOutFieldNumber, "overcurrentResetOut", 140),
    FIELD(CalibrationData, kOvercurrentAlertInFieldNumber, "overcurrentAlertIn", 141),
    FIELD(CalibrationData, kOvercurrentSenseAdcFieldNumber, "overcurrentSenseAdc", 142),
    FIELD(CalibrationData, kEraseButtonInputFieldNumber, "eraseButtonInput", 150),
    FIELD(CalibrationData, kHardwareVersionFieldNumber, "hardwareVersion", 200),
    FIELD(CalibrationData, kSerialNoFieldNumber, "serialNo", 201),
    FIELD(CalibrationData, kDeviceTypeFieldNumber, "deviceType", 202),
    // CalibrationData_AdcCalibrationData
    FIELD(CalibrationData_AdcCalibrationData, kLogicalIdFieldNumber, "logicalId", 1),
    FIELD(CalibrationData_AdcCalibrationData, kHardwareChannelFieldNumber, "hardwareChannel", 2),
    FIELD(CalibrationData_AdcCalibrationData, kLevel12VFieldNumber, "level12v", 3),
    FIELD(CalibrationData_AdcCalibrationData, kLevel5VFieldNumber, "level5v", 4),
    FIELD(CalibrationData_AdcCalibrationData, kLevelGcu5VFieldNumber, "levelGcu5V", 5),
    FIELD(CalibrationData_AdcCalibrationData, kPullupFieldNumber, "pullup", 6),
    FIELD(CalibrationData_AdcCalibrationData, kSpecialFunctionIdFieldNumber, "specialFunctionId", 7),
    // CalibrationData_DacCalibrationData
    FIELD(CalibrationData_DacCalibrationData, kLogicalIdFieldNumber, "logicalId", 1),
    FIELD(CalibrationData_DacCalibrationData, kHardwareChannelFieldNumber, "hardwareChannel", 2),
    FIELD(CalibrationData_DacCalibrationData, kLevel12VFieldNumber, "level12v", 3),
    FIELD(CalibrationData_DacCalibrationData, kLevel5VFieldNumber, "level5v", 4),
    FIELD(CalibrationData_DacCalibrationData, kLevelGcu5VFieldNumber, "levelGcu5V", 5),
    // CalibrationData_FreqPull
    FIELD(CalibrationData_FreqPull, kValueFieldNumber, "value", 1),
    FIELD(CalibrationData_FreqPull, kOutputIdFieldNumber, "outputId", 2),
    // CalibrationData_FreqCalibrationData
    FIELD(CalibrationData_FreqCalibrationData, kLogicalIdFieldNumber, "logicalId", 1),
    FIELD(CalibrationData_FreqCalibrationData, kHardwareChannelFieldNumber, "hardwareChannel", 2),
    FIELD(CalibrationData_FreqCalibrationData, kPullUpsCountFieldNumber, "pullUpsCount", 3),
    FIELD(CalibrationData_FreqCalibrationData, kOffsetDacFieldNumber, "offsetDac", 4),
    FIELD(CalibrationData_FreqCalibrationData, kOffset5VFieldNumber, "offset5V", 5),
    FIELD(CalibrationData_FreqCalibrationData, kPullupVoltageDacFieldNumber, "pullupVoltageDac", 7),
    FIELD(CalibrationData_FreqCalibrationData, kPullup5VFieldNumber, "pullup5V", 8),
    FIELD(CalibrationData_FreqCalibrationData, kPullupPulldownSwitchFieldNumber, "pullupPulldownSwitch", 9),
    FIELD(CalibrationData_FreqCalibrationData, kDiagnosticsAdcFieldNumber, "diagnosticsAdc", 11),
    FIELD(CalibrationData_FreqCalibrationData, kPullUpsFieldNumber, "pullUps", 6),
    FIELD(CalibrationData_FreqCalibrationData, kPullDownsFieldNumber, "pullDowns", 10),
    // CalibrationData_DigitalInputCalibrationData
    FIELD(CalibrationData_DigitalInputCalibrationData, kLogicalIdFieldNumber, "logicalId", 1),
    FIELD(CalibrationData_DigitalInputCalibrationData, kPortFieldNumber, "port", 2),
    FIELD(CalibrationData_DigitalInputCalibrationData, kPinFieldNumber, "pin", 3),
    FIELD(CalibrationData_DigitalInputCalibrationData, kInvertFieldNumber, "invert", 4),
    FIELD(CalibrationData_DigitalInputCalibrationData, kPullupEnableFieldNumber, "pullupEnable", 5),
    FIELD(CalibrationData_DigitalInputCalibrationData, kPulldownEnableFieldNumber, "pulldownEnable", 6),
    // CalibrationData_DigitalOutputCalibrationData
    FIELD(CalibrationData_DigitalOutputCalibrationData, kLogicalIdFieldNumber, "logicalId", 1),
    FIELD(CalibrationData_DigitalOutputCalibrationData, kPortFieldNumber, "port", 2),
    FIELD(CalibrationData_DigitalOutputCalibrationData, kPinFieldNumber, "pin", 3),
    FIELD(CalibrationData_DigitalOutputCalibrationData, kInvertFieldNumber, "invert", 4),
    FIELD(CalibrationData_DigitalOutputCalibrationData, kPullupEnableFieldNumber, "pullupEnable", 5),
    FIELD(CalibrationData_DigitalOutputCalibrationData, kPulldownEnableFieldNumber, "pulldownEnable", 6),
    FIELD(CalibrationData_DigitalOutputCalibrationData, kDriverTypeFieldNumber, "driverType", 20),
    FIELD(CalibrationData_DigitalOutputCalibrationData, kDriverEnableFieldNumber, "driverEnable", 21),
    // CalibrationData_PwmCalibrationData
    FIELD(CalibrationData_PwmCalibrationData, kLogicalIdFieldNumber, "logicalId", 1),
    FIELD(CalibrationData_PwmCalibrationData, kHardwareChannelFieldNumber, "hardwareChannel", 2),
    FIELD(CalibrationData_PwmCalibrationData, kInvertedFieldNumber, "inverted", 3),
    FIELD(CalibrationData_PwmCalibrationData, kAdcSenseChannelFieldNumber, "adcSenseChannel", 4),
    FIELD(CalibrationData_PwmCalibrationData, kAdcZeroValueFieldNumber, "adcZeroValue", 5),
    FIELD(CalibrationData_PwmCalibrationData, kAdc5AvalueFieldNumber, "adc5Avalue", 6),
    FIELD(CalibrationData_PwmCalibrationData, kAdcGainFieldNumber, "adcGain", 7),
    FIELD(CalibrationData_PwmCalibrationData, kInhibitOutFieldNumber, "inhibitOut", 10),
    FIELD(CalibrationData_PwmCalibrationData, kIdleInFieldNumber, "idleIn", 13),
    FIELD(CalibrationData_PwmCalibrationData, kDenOutFieldNumber, "denOut", 14),
    FIELD(CalibrationData_PwmCalibrationData, kDiagnosticAdcFieldNumber, "diagnosticAdc", 11),
    FIELD(CalibrationData_PwmCalibrationData, kDiagnosticPuFieldNumber, "diagnosticPu", 12),
    FIELD(CalibrationData_PwmCalibrationData, kDriverTypeFieldNumber, "driverType", 20),
    // CalibrationData_CanbusCalibrationData
    FIELD(CalibrationData_CanbusCalibrationData, kLogicalIdFieldNumber, "logicalId", 1),
    FIELD(CalibrationData_CanbusCalibrationData, kHardwareChannelFieldNumber, "hardwareChannel", 2),
    FIELD(CalibrationData_CanbusCalibrationData, kTerminationEnableFieldNumber, "terminationEnable", 3),
    FIELD(CalibrationData_CanbusCalibrationData, kTxrxStbyFieldNumber, "txrxStby", 4),
    FIELD(CalibrationData_CanbusCalibrationData, kInterruptFieldNumber, "interrupt", 5),
    // CalibrationData_QeiCalibrationData
    FIELD(CalibrationData_QeiCalibrationData, kLogicalIdFieldNumber, "logicalId", 1),
    FIELD(CalibrationData_QeiCalibrationData, kHardwareChannelFieldNumber, "hardwareChannel", 2),
    FIELD(CalibrationData_QeiCalibrationData, kOffsetDacFieldNumber, "offsetDac", 4),
    FIELD(CalibrationData_QeiCalibrationData, kOffset5VFieldNumber, "offset5V", 5),
    FIELD(CalibrationData_QeiCalibrationData, kDiagnosticsAdcAFieldNumber, "diagnosticsAdcA", 11),
    FIELD(CalibrationData_QeiCalibrationData, kDiagnosticsAdcBFieldNumber, "diagnosticsAdcB", 12),
    FIELD(CalibrationData_QeiCalibrationData, kDiagnosticsPullupAFieldNumber, "diagnosticsPullupA", 13),
    FIELD(CalibrationData_QeiCalibrationData, kDiagnosticsPullupBFieldNumber, "diagnosticsPullupB", 14),
    // CalibrationTemplateData
    FIELD(CalibrationTemplateData, kAdcCalibrationCountFieldNumber, "adcCalibrationCount", 1),
    FIELD(CalibrationTemplateData, kAdcCalibrationFieldNumber, "adcCalibration", 2),
    FIELD(CalibrationTemplateData, kDacCalibrationCountFieldNumber, "dacCalibrationCount", 3),
    FIELD(CalibrationTemplateData, kDacCalibrationFieldNumber, "dacCalibration", 4),
    FIELD(CalibrationTemplateData, kFreqInputsCalibrationCountFieldNumber, "freqInputsCalibrationCount", 5),
    FIELD(CalibrationTemplateData, kFreqInputsCalibrationFieldNumber, "freqInputsCalibration", 6),
    FIELD(CalibrationTemplateData, kDigitalInputCalibrationCountFieldNumber, "digitalInputCalibrationCount", 7),
    FIELD(CalibrationTemplateData, kDigitalInputCalibrationFieldNumber, "digitalInputCalibration", 8),
    FIELD(CalibrationTemplateData, kDigitalOutputCalibrationCountFieldNumber, "digitalOutputCalibrationCount", 9),
    FIELD(CalibrationTemplateData, kDigitalOutputCalibrationFieldNumber, "digitalOutputCalibration", 10),
    FIELD(CalibrationTemplateData, kPwmCalibrationCountFieldNumber, "pwmCalibrationCount", 11),
    FIELD(CalibrationTemplateData, kPwmCalibrationFieldNumber, "pwmCalibration", 12),
    FIELD(CalibrationTemplateData, kCanbusCalibrationCountFieldNumber, "canbusCalibrationCount", 13),
    FIELD(CalibrationTemplateData, kCanbusCalibrationDataFieldNumber, "canbusCalibrationData", 14),
    FIELD(CalibrationTemplateData, kQeiCalibrationCountFieldNumber, "qeiCalibrationCount", 15),
    FIELD(CalibrationTemplateData, kQeiCalibrationDataFieldNumber, "qeiCalibrationData", 16),
    FIELD(CalibrationTemplateData, kBatteryVoltageAdcChannelFieldNumber, "batteryVoltageAdcChannel", 100),
    FIELD(CalibrationTemplateData, kGcu5VAdcChannelFieldNumber, "gcu5VAdcChannel", 101),
    FIELD(CalibrationTemplateData, kGcu5VstatusDigitalInFieldNumber, "gcu5VstatusDigitalIn", 102),
    FIELD(CalibrationTemplateData, kGcu12VAdcChannelFieldNumber, "gcu12VAdcChannel", 103),
    FIELD(CalibrationTemplateData, kGcu12VstatusInFieldNumber, "gcu12VstatusIn", 104),
    FIELD(CalibrationTemplateData, kGcu12VdacAdjustFieldNumber, "gcu12VdacAdjust", 108),
    FIELD(CalibrationTemplateData, kInternal5VenableDigitalOutFieldNumber, "internal5VenableDigitalOut", 180),
    FIELD(CalibrationTemplateData, kInternal5VpgoodDigitalInFieldNumber, "internal5VpgoodDigitalIn", 181),
    FIELD(CalibrationTemplateData, kInternal3V3EnableDigitalOutFieldNumber, "internal3V3enableDigitalOut", 182),
    FIELD(CalibrationTemplateData, kInternal3V3PgoodDigitalInFieldNumber, "internal3V3pgoodDigitalIn", 183),
    FIELD(CalibrationTemplateData, kPwmOutputEnableDigitalOutFieldNumber, "pwmOutputEnableDigitalOut", 105),
    FIELD(CalibrationTemplateData, kPullupEnableDigitalOutFieldNumber, "pullupEnableDigitalOut", 106),
    FIELD(CalibrationTemplateData, kSensorsEnableDigitalOutFieldNumber, "sensorsEnableDigitalOut", 107),
    FIELD(CalibrationTemplateData, kUsbDetectDigitalInFieldNumber, "usbDetectDigitalIn", 110),
    FIELD(CalibrationTemplateData, kPowerDetectDigitalInFieldNumber, "powerDetectDigitalIn", 111),
    FIELD(CalibrationTemplateData, kBluetoothWakeStateDigitalInFieldNumber, "bluetoothWakeStateDigitalIn", 120),
    FIELD(CalibrationTemplateData, kBluetoothWakeHwDigitaoOutFieldNumber, "bluetoothWakeHwDigitaoOut", 121),
    FIELD(CalibrationTemplateData, kBluetoothWakeSwDigitaoOutFieldNumber, "bluetoothWakeSwDigitaoOut", 122),
    FIELD(CalibrationTemplateData, kBluetoothMdlpEvDigitalOutFieldNumber, "bluetoothMdlpEvDigitalOut", 123),
    FIELD(CalibrationTemplateData, kBluetoothCmdMdlpSwitchDigitalOutFieldNumber, "bluetoothCmdMdlpSwitchDigitalOut", 124),
    FIELD(CalibrationTemplateData, kLedADigitalOutFieldNumber, "ledADigitalOut", 130),
    FIELD(CalibrationTemplateData, kLedBDigitalOutFieldNumber, "ledBDigitalOut", 131),
    FIELD(CalibrationTemplateData, kLedCDigitalOutFieldNumber, "ledCDigitalOut", 132),
    FIELD(CalibrationTemplateData, kLedDDigitalOutFieldNumber, "ledDDigitalOut", 133),
    FIELD(CalibrationTemplateData, kOvercurrentResetOutFieldNumber, "overcurrentResetOut", 140),
    FIELD(CalibrationTemplateData, kOvercurrentAlertInFieldNumber, "overcurrentAlertIn", 141),
    FIELD(CalibrationTemplateData, kOvercurrentSenseAdcFieldNumber, "overcurrentSenseAdc", 142),
    FIELD(CalibrationTemplateData, kEraseButtonInputFieldNumber, "eraseButtonInput", 150),
    FIELD(CalibrationTemplateData, kHardwareVersionFieldNumber, "hardwareVersion", 200),
    FIELD(CalibrationTemplateData, kSerialNoFieldNumber, "serialNo", 201),
    FIELD(CalibrationTemplateData, kDeviceTypeFieldNumber, "deviceType", 202),
    // CalibrationTemplateData_AdcCalibrationData
    FIELD(CalibrationTemplateData_AdcCalibrationData, kLogicalIdFieldNumber, "logicalId", 1),
    FIELD(CalibrationTemplateData_AdcCalibrationData, kHardwareChannelFieldNumber, "hardwareChannel", 2),
    FIELD(CalibrationTemplateData_AdcCalibrationData, kLevel12VFieldNumber, "level12v", 3),
    FIELD(CalibrationTemplateData_AdcCalibrationData, kLevel5VFieldNumber, "level5v", 4),
    FIELD(CalibrationTemplateData_AdcCalibrationData, kLevelGcu5VFieldNumber, "levelGcu5V", 5),
    FIELD(CalibrationTemplateData_AdcCalibrationData, kPullupFieldNumber, "pullup", 6),
    FIELD(CalibrationTemplateData_AdcCalibrationData, kSpecialFunctionIdFieldNumber, "specialFunctionId", 7),
    FIELD(CalibrationTemplateData_AdcCalibrationData, kLevelMin12VFieldNumber, "levelMin12v", 103),
    FIELD(CalibrationTemplateData_AdcCalibrationData, kLevelMin5VFieldNumber, "levelMin5v", 104),
    FIELD(CalibrationTemplateData_AdcCalibrationData, kLevelMinGcu5VFieldNumber, "levelMinGcu5V", 105),
    FIELD(CalibrationTemplateData_AdcCalibrationData, kLevelMax12VFieldNumber, "levelMax12v", 203),
    FIELD(CalibrationTemplateData_AdcCalibrationData, kLevelMax5VFieldNumber, "levelMax5v", 204),
    FIELD(CalibrationTemplateData_AdcCalibrationData, kLevelMaxGcu5VFieldNumber, "levelMaxGcu5V", 205),
    FIELD(CalibrationTemplateData_AdcCalibrationData, kCalibrationModeFieldNumber, "calibrationMode", 206),
    // CalibrationTemplateData_DacCalibrationData
    FIELD(CalibrationTemplateData_DacCalibrationData, kLogicalIdFieldNumber, "logicalId", 1),
    FIELD(CalibrationTemplateData_DacCalibrationData, kHardwareChannelFieldNumber, "hardwareChannel", 2),
    FIELD(CalibrationTemplateData_DacCalibrationData, kLevel12VFieldNumber, "level12v", 3),
    FIELD(CalibrationTemplateData_DacCalibrationData, kLevel5VFieldNumber, "level5v", 4),
    FIELD(CalibrationTemplateData_DacCalibrationData, kLevelGcu5VFieldNumber, "levelGcu5V", 5),
    FIELD(CalibrationTemplateData_DacCalibrationData, kLevelMin12VFieldNumber, "levelMin12v", 103),
    FIELD(CalibrationTemplateData_DacCalibrationData, kLevelMin5VFieldNumber, "levelMin5v", 104),
    FIELD(CalibrationTemplateData_DacCalibrationData, kLevelMinGcu5VFieldNumber, "levelMinGcu5V", 105),
    FIELD(CalibrationTemplateData_DacCalibrationData, kLevelMax12VFieldNumber, "levelMax12v", 203),
    FIELD(CalibrationTemplateData_DacCalibrationData, kLevelMax5VFieldNumber, "levelMax5v", 204),
    FIELD(CalibrationTemplateData_DacCalibrationData, kLevelMaxGcu5VFieldNumber, "levelMaxGcu5V", 205),
    // CalibrationTemplateData_FreqPull
    FIELD(CalibrationTemplateData_FreqPull, kValueFieldNumber, "value", 1),
    FIELD(CalibrationTemplateData_FreqPull, kOutputIdFieldNumber, "outputId", 2),
    // CalibrationTemplateData_FreqCalibrationData
    FIELD(CalibrationTemplateData_FreqCalibrationData, kLogicalIdFieldNumber, "logicalId", 1),
    FIELD(CalibrationTemplateData_FreqCalibrationData, kHardwareChannelFieldNumber, "hardwareChannel", 2),
    FIELD(CalibrationTemplateData_FreqCalibrationData, kPullUpsCountFieldNumber, "pullUpsCount", 3),
    FIELD(CalibrationTemplateData_FreqCalibrationData, kOffsetDacFieldNumber, "offsetDac", 4),
    FIELD(CalibrationTemplateData_FreqCalibrationData, kOffset5VFieldNumber, "offset5V", 5),
    FIELD(CalibrationTemplateData_FreqCalibrationData, kPullupVoltageDacFieldNumber, "pullupVoltageDac", 7),
    FIELD(CalibrationTemplateData_FreqCalibrationData, kPullup5VFieldNumber, "pullup5V", 8),
    FIELD(CalibrationTemplateData_FreqCalibrationData, kPullupPulldownSwitchFieldNumber, "pullupPulldownSwitch", 9),
    FIELD(CalibrationTemplateData_FreqCalibrationData, kDiagnosticsAdcFieldNumber, "diagnosticsAdc", 11),
    FIELD(CalibrationTemplateData_FreqCalibrationData, kPullUpsFieldNumber, "pullUps", 6),
    FIELD(CalibrationTemplateData_FreqCalibrationData, kPullDownsFieldNumber, "pullDowns", 10),
    FIELD(CalibrationTemplateData_FreqCalibrationData, kOffsetMin5VFieldNumber, "offsetMin5V", 105),
    FIELD(CalibrationTemplateData_FreqCalibrationData, kOffsetMax5VFieldNumber, "offsetMax5V", 205),
    FIELD(CalibrationTemplateData_FreqCalibrationData, kPullupMin5VFieldNumber, "pullupMin5V", 108),
    FIELD(CalibrationTemplateData_FreqCalibrationData, kPullupMax5VFieldNumber, "pullupMax5V", 208),
    FIELD(CalibrationTemplateData_FreqCalibrationData, kDiagnosticsAdcMin5VvalueFieldNumber, "diagnosticsAdcMin5Vvalue", 112),
    FIELD(CalibrationTemplateData_FreqCalibrationData, kDiagnosticsAdcMax5VvalueFieldNumber, "diagnosticsAdcMax5Vvalue", 212),
    // CalibrationTemplateData_DigitalInputCalibrationData
    FIELD(CalibrationTemplateData_DigitalInputCalibrationData, kLogicalIdFieldNumber, "logicalId", 1),
    FIELD(CalibrationTemplateData_DigitalInputCalibrationData, kPortFieldNumber, "port", 2),
    FIELD(CalibrationTemplateData_DigitalInputCalibrationData, kPinFieldNumber, "pin", 3),
    FIELD(CalibrationTemplateData_DigitalInputCalibrationData, kInvertFieldNumber, "invert", 4),
    FIELD(CalibrationTemplateData_DigitalInputCalibrationData, kPullupEnableFieldNumber, "pullupEnable", 5),
    FIELD(CalibrationTemplateData_DigitalInputCalibrationData, kPulldownEnableFieldNumber, "pulldownEnable", 6),
    // CalibrationTemplateData_DigitalOutputCalibrationData
    FIELD(CalibrationTemplateData_DigitalOutputCalibrationData, kLogicalIdFieldNumber, "logicalId", 1),
    FIELD(CalibrationTemplateData_DigitalOutputCalibrationData, kPortFieldNumber, "port", 2),
    FIELD(CalibrationTemplateData_DigitalOutputCalibrationData, kPinFieldNumber, "pin", 3),
    FIELD(CalibrationTemplateData_DigitalOutputCalibrationData, kInvertFieldNumber, "invert", 4),
    FIELD(CalibrationTemplateData_DigitalOutputCalibrationData, kPullupEnableFieldNumber, "pullupEnable", 5),
    FIELD(CalibrationTemplateData_DigitalOutputCalibrationData, kPulldownEnableFieldNumber, "pulldownEnable", 6),
    FIELD(CalibrationTemplateData_DigitalOutputCalibrationData, kDriverTypeFieldNumber, "driverType", 20),
    FIELD(CalibrationTemplateData_DigitalOutputCalibrationData, kDriverEnableFieldNumber, "driverEnable", 21),
    // CalibrationTemplateData_PwmCalibrationData
    FIELD(CalibrationTemplateData_PwmCalibrationData, kLogicalIdFieldNumber, "logicalId", 1),
    FIELD(CalibrationTemplateData_PwmCalibrationData, kHardwareChannelFieldNumber, "hardwareChannel", 2),
    FIELD(CalibrationTemplateData_PwmCalibrationData, kInvertedFieldNumber, "inverted", 3),
    FIELD(CalibrationTemplateData_PwmCalibrationData, kAdcSenseChannelFieldNumber, "adcSenseChannel", 4),
    FIELD(CalibrationTemplateData_PwmCalibrationData, kAdcZeroValueFieldNumber, "adcZeroValue", 5),
    FIELD(CalibrationTemplateData_PwmCalibrationData, kAdc5AvalueFieldNumber, "adc5Avalue", 6),
    FIELD(CalibrationTemplateData_PwmCalibrationData, kAdcGainFieldNumber, "adcGain", 7),
    FIELD(CalibrationTemplateData_PwmCalibrationData, kInhibitOutFieldNumber, "inhibitOut", 10),
    FIELD(CalibrationTemplateData_PwmCalibrationData, kIdleInFieldNumber, "idleIn", 13),
    FIELD(CalibrationTemplateData_PwmCalibrationData, kDenOutFieldNumber, "denOut", 14),
    FIELD(CalibrationTemplateData_PwmCalibrationData, kDiagnosticAdcFieldNumber, "diagnosticAdc", 11),
    FIELD(CalibrationTemplateData_PwmCalibrationData, kDiagnosticPuFieldNumber, "diagnosticPu", 12),
    FIELD(CalibrationTemplateData_PwmCalibrationData, kDriverTypeFieldNumber, "driverType", 20),
    FIELD(CalibrationTemplateData_PwmCalibrationData, kAdcMinZeroValueFieldNumber, "adcMinZeroValue", 105),
    FIELD(CalibrationTemplateData_PwmCalibrationData, kAdcMin5AvalueFieldNumber, "adcMin5Avalue", 106),
    FIELD(CalibrationTemplateData_PwmCalibrationData, kAdcMaxZeroValueFieldNumber, "adcMaxZeroValue", 205),
    FIELD(CalibrationTemplateData_PwmCalibrationData, kAdcMax5AvalueFieldNumber, "adcMax5Avalue", 206),
    // CalibrationTemplateData_CanbusCalibrationData
    FIELD(CalibrationTemplateData_CanbusCalibrationData, kLogicalIdFieldNumber, "logicalId", 1),
    FIELD(CalibrationTemplateData_CanbusCalibrationData, kHardwareChannelFieldNumber, "hardwareChannel", 2),
    FIELD(CalibrationTemplateData_CanbusCalibrationData, kTerminationEnableFieldNumber, "terminationEnable", 3),
    FIELD(CalibrationTemplateData_CanbusCalibrationData, kTxrxStbyFieldNumber, "txrxStby", 4),
    FIELD(CalibrationTemplateData_CanbusCalibrationData, kInterruptFieldNumber, "interrupt", 5),
    // CalibrationTemplateData_QeiCalibrationData
    FIELD(CalibrationTemplateData_QeiCalibrationData, kLogicalIdFieldNumber, "logicalId", 1),
    FIELD(CalibrationTemplateData_QeiCalibrationData, kHardwareChannelFieldNumber, "hardwareChannel", 2),
    FIELD(CalibrationTemplateData_QeiCalibrationData, kOffsetDacFieldNumber, "offsetDac", 4),
    FIELD(CalibrationTemplateData_QeiCalibrationData, kOffset5VFieldNumber, "offset5V", 5),
    FIELD(CalibrationTemplateData_QeiCalibrationData, kDiagnosticsAdcAFieldNumber, "diagnosticsAdcA", 11),
    FIELD(CalibrationTemplateData_QeiCalibrationData, kDiagnosticsAdcBFieldNumber, "diagnosticsAdcB", 12),
    FIELD(CalibrationTemplateData_QeiCalibrationData, kDiagnosticsPullupAFieldNumber, "diagnosticsPullupA", 13),
    FIELD(CalibrationTemplateData_QeiCalibrationData, kDiagnosticsPullupBFieldNumber, "diagnosticsPullupB", 14),
    FIELD(CalibrationTemplateData_QeiCalibrationData, kOffsetMin5VFieldNumber, "offsetMin5V", 105),
    FIELD(CalibrationTemplateData_QeiCalibrationData, kOffsetMax5VFieldNumber, "offsetMax5V", 205),
};

TEST(CalibrationFieldNumbersTest, EveryConstantNamesItsFieldInTheRegisteredDescriptor) {
  std::map<const Descriptor*, int> rows_per_record;
  for (const FieldRow& row : kFieldRows) {
    const Descriptor* record = row.record();
    ++rows_per_record[record];
    const google::protobuf::FieldDescriptor* field = record->FindFieldByName(row.field);
    ASSERT_NE(field, nullptr) << record->full_name() << "." << row.field;
    EXPECT_EQ(field->number(), row.number) << field->full_name();
  }
  // One row per field: no field of these records lacks its constant here.
  EXPECT_EQ(rows_per_record.size(), 21u);
  for (const auto& [record, rows] : rows_per_record)
    EXPECT_EQ(rows, record->field_count()) << record->full_name();
}

TEST(CalibrationFieldNumbersTest, ConstantsThatShareANameAcrossRecordsKeepTheirOwnNumbers) {
  EXPECT_EQ(CalibrationData::kInternal3V3EnableDigitalOutFieldNumber, 182);
  EXPECT_EQ(CalibrationData::kInternal5VenableDigitalOutFieldNumber, 180);
  EXPECT_EQ(CalibrationTemplateData_AdcCalibrationData::kLevelMin12VFieldNumber, 103);
  EXPECT_EQ(CalibrationTemplateData_FreqCalibrationData::kDiagnosticsAdcMin5VvalueFieldNumber, 112);
  EXPECT_EQ(CalibrationTemplateData_PwmCalibrationData::kAdcMin5AvalueFieldNumber, 106);
  // 105 is a different limit in each template record.
  EXPECT_EQ(CalibrationTemplateData_AdcCalibrationData::kLevelMinGcu5VFieldNumber,
            CalibrationTemplateData_PwmCalibrationData::kAdcMinZeroValueFieldNumber);
  EXPECT_EQ(CalibrationTemplateData_FreqCalibrationData::kOffsetMin5VFieldNumber,
            CalibrationTemplateData_QeiCalibrationData::kOffsetMin5VFieldNumber);
}

struct ValueRow {
  const EnumDescriptor* (*enumeration)();
  const char* name;
  int number;
};

#define VALUE(Outer, Enum, value, number) \
  ValueRow { &Outer##_##Enum##_descriptor, #value, Pinned<Outer::value, number>() }

const ValueRow kValueRows[] = {
    VALUE(CalibrationData_DigitalOutputCalibrationData, DriverType, dtMcuGPIO, 0),
    VALUE(CalibrationData_DigitalOutputCalibrationData, DriverType, dtTLE94106, 1),
    VALUE(CalibrationData_PwmCalibrationData, DriverType, dtLegacy, 0),
    VALUE(CalibrationData_PwmCalibrationData, DriverType, dtBTG7003, 1),
    VALUE(CalibrationData, DeviceType, dtGcu, 0),
    VALUE(CalibrationData, DeviceType, dtIoc, 1),
    VALUE(CalibrationData, DeviceType, dtDcu, 2),
    VALUE(CalibrationTemplateData_AdcCalibrationData, CalibrationMode, out5V, 0),
    VALUE(CalibrationTemplateData_AdcCalibrationData, CalibrationMode, batPositive, 1),
    VALUE(CalibrationTemplateData_DigitalOutputCalibrationData, DriverType, dtMcuGPIO, 0),
    VALUE(CalibrationTemplateData_DigitalOutputCalibrationData, DriverType, dtTLE94106, 1),
    VALUE(CalibrationTemplateData_PwmCalibrationData, DriverType, dtLegacy, 0),
    VALUE(CalibrationTemplateData_PwmCalibrationData, DriverType, dtBTG7003, 1),
    VALUE(CalibrationTemplateData, DeviceType, dtGcu, 0),
    VALUE(CalibrationTemplateData, DeviceType, dtIoc, 1),
    VALUE(CalibrationTemplateData, DeviceType, dtDcu, 2),
};

TEST(CalibrationFieldNumbersTest, EveryEnumeratorConstantMatchesItsRegisteredValue) {
  std::map<const EnumDescriptor*, int> rows_per_enum;
  for (const ValueRow& row : kValueRows) {
    const EnumDescriptor* e = row.enumeration();
    ++rows_per_enum[e];
    const google::protobuf::EnumValueDescriptor* v = e->FindValueByName(row.name);
    ASSERT_NE(v, nullptr) << e->full_name() << "." << row.name;
    EXPECT_EQ(v->number(), row.number) << v->full_name();
  }
  EXPECT_EQ(rows_per_enum.size(), 7u);
  for (const auto& [e, rows] : rows_per_enum) EXPECT_EQ(rows, e->value_count()) << e->full_name();
}

// Class-scoped bounds: ARRAYSIZE is MAX + 1.
static_assert(CalibrationData::DeviceType_MIN == 0);
static_assert(CalibrationData::DeviceType_MAX == 2);
static_assert(CalibrationData::DeviceType_ARRAYSIZE == 3);
static_assert(CalibrationData_DigitalOutputCalibrationData::DriverType_MIN == 0);
static_assert(CalibrationData_DigitalOutputCalibrationData::DriverType_MAX == 1);
static_assert(CalibrationData_DigitalOutputCalibrationData::DriverType_ARRAYSIZE == 2);
static_assert(CalibrationData_PwmCalibrationData::DriverType_MIN == 0);
static_assert(CalibrationData_PwmCalibrationData::DriverType_MAX == 1);
static_assert(CalibrationData_PwmCalibrationData::DriverType_ARRAYSIZE == 2);
static_assert(CalibrationTemplateData::DeviceType_MAX == 2);
static_assert(CalibrationTemplateData::DeviceType_ARRAYSIZE == 3);
static_assert(CalibrationTemplateData_AdcCalibrationData::CalibrationMode_MAX == 1);
static_assert(CalibrationTemplateData_AdcCalibrationData::CalibrationMode_ARRAYSIZE == 2);
static_assert(CalibrationTemplateData_DigitalOutputCalibrationData::DriverType_ARRAYSIZE == 2);
static_assert(CalibrationTemplateData_PwmCalibrationData::DriverType_ARRAYSIZE == 2);

TEST(CalibrationFieldNumbersTest, ValidityTestsAcceptExactlyTheDeclaredValues) {
  for (int v = -1; v <= 3; ++v) {
    const bool device = v >= 0 && v <= 2;
    const bool two = v == 0 || v == 1;
    EXPECT_EQ(CalibrationData_DeviceType_IsValid(v), device) << v;
    EXPECT_EQ(CalibrationTemplateData_DeviceType_IsValid(v), device) << v;
    EXPECT_EQ(CalibrationData_DigitalOutputCalibrationData_DriverType_IsValid(v), two) << v;
    EXPECT_EQ(CalibrationData_PwmCalibrationData_DriverType_IsValid(v), two) << v;
    EXPECT_EQ(CalibrationTemplateData_AdcCalibrationData_CalibrationMode_IsValid(v), two) << v;
    EXPECT_EQ(CalibrationTemplateData_DigitalOutputCalibrationData_DriverType_IsValid(v), two) << v;
    EXPECT_EQ(CalibrationTemplateData_PwmCalibrationData_DriverType_IsValid(v), two) << v;
  }
}

}  // namespace
}  // namespace gcuschema::test
