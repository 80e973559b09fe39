#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/CalibrationDataLimits.pb.h>

#include "support/enum_table.h"

namespace gcuschema::test {

// Each file's table lists the nested records' enumerations before the outer
// record's own DeviceType.
GCUSCHEMA_ENUM_ROWS(
    calibration,
    ENUM_ROW(CalibrationData_DigitalOutputCalibrationData, DriverType, "CalibrationData.proto", 0, 0, 1, {{0, 1}}),
    ENUM_ROW(CalibrationData_PwmCalibrationData, DriverType, "CalibrationData.proto", 1, 0, 1, {{0, 1}}),
    ENUM_ROW(CalibrationData, DeviceType, "CalibrationData.proto", 2, 0, 2, {{0, 2}}),
    ENUM_ROW(CalibrationTemplateData_AdcCalibrationData, CalibrationMode, "CalibrationDataLimits.proto", 0, 0, 1, {{0, 1}}),
    ENUM_ROW(CalibrationTemplateData_DigitalOutputCalibrationData, DriverType, "CalibrationDataLimits.proto", 1, 0, 1, {{0, 1}}),
    ENUM_ROW(CalibrationTemplateData_PwmCalibrationData, DriverType, "CalibrationDataLimits.proto", 2, 0, 1, {{0, 1}}),
    ENUM_ROW(CalibrationTemplateData, DeviceType, "CalibrationDataLimits.proto", 3, 0, 2, {{0, 2}}));

}  // namespace gcuschema::test
