#include <gcuschema/Config.pb.h>

#include "support/enum_table.h"

namespace gcuschema::test {

GCUSCHEMA_ENUM_ROWS(
    config,
    ENUM_ROW(Units, Pressure, "Config.proto", 0, 0, 2, {{0, 2}}),
    ENUM_ROW(Units, Torque, "Config.proto", 1, 0, 1, {{0, 1}}),
    ENUM_ROW(Units, Time, "Config.proto", 2, 0, 2, {{0, 2}}),
    ENUM_ROW(Units, Temperature, "Config.proto", 3, 0, 1, {{0, 1}}),
    ENUM_ROW(Units, Speed, "Config.proto", 4, 0, 1, {{0, 1}}),
    ENUM_ROW(Units, Angle, "Config.proto", 5, 0, 1, {{0, 1}}),
    ENUM_ROW(Units, None, "Config.proto", 6, 0, 0, {{0, 0}}),
    ENUM_ROW(Units, Bool, "Config.proto", 7, 0, 0, {{0, 0}}),
    ENUM_ROW(Units, Percent, "Config.proto", 8, 0, 0, {{0, 0}}),
    ENUM_ROW(Units, FreqOfRotation, "Config.proto", 9, 0, 0, {{0, 0}}),
    ENUM_ROW(Units, Lambda, "Config.proto", 10, 0, 0, {{0, 0}}),
    ENUM_ROW(Units, Gear, "Config.proto", 11, 0, 0, {{0, 0}}),
    ENUM_ROW(Units, Mode, "Config.proto", 12, 0, 0, {{0, 0}}),
    ENUM_ROW(Units, Ratio, "Config.proto", 13, 0, 0, {{0, 0}}),
    ENUM_ROW(Input, Type, "Config.proto", 14, 0, 99, {{0, 15}, {17, 17}, {19, 19}, {99, 99}}),
    ENUM_ROW(Output, Type, "Config.proto", 15, 0, 99, {{0, 8}, {99, 99}}),
    ENUM_ROW(Map, MapType, "Config.proto", 16, 0, 2, {{0, 2}}));

}  // namespace gcuschema::test
