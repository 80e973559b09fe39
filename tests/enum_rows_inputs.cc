// Enumerations of the input settings records, one row each, for the
// table-driven enumeration test.
#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/AdcSwitchInput.pb.h>
#include <gcuschema/CanBusInputConfiguration.pb.h>
#include <gcuschema/CompareInput.pb.h>
#include <gcuschema/DigitalInputConfiguration.pb.h>
#include <gcuschema/DivideInputConfigData.pb.h>
#include <gcuschema/DutyInConfiguration.pb.h>
#include <gcuschema/PhonicWheelConfiguration.pb.h>
#include <gcuschema/TestInputConfiguration.pb.h>

#include "support/enum_table.h"

namespace gcuschema::test {

GCUSCHEMA_ENUM_ROWS(
    inputs,
    ENUM_ROW(AdcConfiguration, AdcRange, "AdcConfiguration.proto", 0, 0, 3, {{0, 3}}),
    ENUM_ROW(AdcSwitchConfiguration, AdcSwitchMode, "AdcSwitchInput.proto", 0, 0, 1, {{0, 1}}),
    ENUM_ROW(AdcSwitchConfiguration, AdcRange, "AdcSwitchInput.proto", 1, 0, 3, {{0, 3}}),
    ENUM_ROW(CanbusInputConfiguration, IdType, "CanBusInputConfiguration.proto", 0, 0, 1, {{0, 1}}),
    ENUM_ROW(CanbusInputConfiguration, InputType, "CanBusInputConfiguration.proto", 1, 0, 6, {{0, 6}}),
    ENUM_ROW(CanbusInputConfiguration, TimeoutMode, "CanBusInputConfiguration.proto", 2, 0, 1, {{0, 1}}),
    ENUM_ROW(CompareConfiguration, CompareMode, "CompareInput.proto", 0, 0, 3, {{0, 3}}),
    ENUM_ROW(DigitalInConfiguration, Mode, "DigitalInputConfiguration.proto", 0, 0, 3, {{0, 3}}),
    ENUM_ROW(DivideInputConfigData, Operation, "DivideInputConfigData.proto", 0, 0, 6, {{0, 6}}),
    ENUM_ROW(DutyInConfiguration, PullMode, "DutyInConfiguration.proto", 0, 0, 1, {{0, 1}}),
    ENUM_ROW(DutyInConfiguration, Mode, "DutyInConfiguration.proto", 1, 0, 1, {{0, 1}}),
    ENUM_ROW(PhonicWheelConfiguration, PullMode, "PhonicWheelConfiguration.proto", 0, 0, 1, {{0, 1}}),
    ENUM_ROW(PhonicWheelConfiguration, SignalMode, "PhonicWheelConfiguration.proto", 1, 0, 5, {{0, 5}}),
    ENUM_ROW(PhonicWheelConfiguration, Mode, "PhonicWheelConfiguration.proto", 2, 0, 4, {{0, 4}}),
    ENUM_ROW(PhonicWheelConfiguration, InputConfig, "PhonicWheelConfiguration.proto", 3, 0, 1, {{0, 1}}),
    ENUM_ROW(TestInputConfiguration, TestInputRange, "TestInputConfiguration.proto", 0, 0, 3, {{0, 3}}));

}  // namespace gcuschema::test
