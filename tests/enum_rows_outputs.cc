// Enumerations of the output settings records, one row each, for the
// table-driven enumeration test.
#include <gcuschema/CanbusOutputConfiguration.pb.h>
#include <gcuschema/DacConfiguration.pb.h>
#include <gcuschema/PwmConfiguration.pb.h>
#include <gcuschema/TachoOutputConfigData.pb.h>
#include <gcuschema/TestOutputConfiguration.pb.h>

#include "support/enum_table.h"

namespace gcuschema::test {

GCUSCHEMA_ENUM_ROWS(
    outputs,
    ENUM_ROW(CanbusOutputConfiguration, IdType, "CanbusOutputConfiguration.proto", 0, 0, 1, {{0, 1}}),
    // 5 is a gap: the output side has no float coding.
    ENUM_ROW(CanbusOutputConfiguration, OutputType, "CanbusOutputConfiguration.proto", 1, 0, 7,
             {{0, 4}, {6, 7}}),
    ENUM_ROW(DacConfiguration, DacRange, "DacConfiguration.proto", 0, 0, 3, {{0, 3}}),
    ENUM_ROW(PwmConfiguration, Mode, "PwmConfiguration.proto", 0, 0, 1, {{0, 1}}),
    ENUM_ROW(TachoOutputConfigData, IdleState, "TachoOutputConfigData.proto", 0, 0, 2, {{0, 2}}),
    ENUM_ROW(TestOutputConfiguration, TestOutputRange, "TestOutputConfiguration.proto", 0, 0, 3,
             {{0, 3}}));

}  // namespace gcuschema::test
