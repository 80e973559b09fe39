# ctest: the export table of gcuschema.dll holds every exported family of the
# library, in the counts its 35 schema files give, and nothing else (nothing of
# the companion library, the C++ standard library or the protobuf runtime).
# cmake -DDLL=<gcuschema.dll> -DOBJDUMP=<objdump> -DCXXFILT=<c++filt> -DWORK=<dir>
#       -P check_export_table.cmake
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND ${OBJDUMP} -p ${DLL} OUTPUT_VARIABLE dump RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "${OBJDUMP} -p failed on ${DLL}")
endif()
# The names follow "[Ordinal/Name Pointer] Table", one "\t[ n] name" a line.
string(FIND "${dump}" "[Ordinal/Name Pointer] Table" at)
if(at EQUAL -1)
  message(FATAL_ERROR "${DLL} has no export name table")
endif()
string(SUBSTRING "${dump}" ${at} -1 table)
string(REGEX MATCHALL "\n\t\\[ *[0-9]+\\] [^\n]+" rows "${table}")
set(mangled "")
foreach(row IN LISTS rows)
  string(REGEX REPLACE "^\n\t\\[ *[0-9]+\\] " "" name "${row}")
  string(APPEND mangled "${name}\n")
endforeach()
file(MAKE_DIRECTORY "${WORK}")
file(WRITE "${WORK}/exports.txt" "${mangled}")
execute_process(COMMAND ${CXXFILT} INPUT_FILE "${WORK}/exports.txt"
                OUTPUT_VARIABLE demangled RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "${CXXFILT} failed")
endif()
string(REPLACE ";" "\\;" demangled "${demangled}")
string(REPLACE "\n" ";" names "${demangled}")
list(REMOVE_ITEM names "")

# Families: records are the classes with a virtual table; members and
# arena constructors are counted for those classes only.
set(records "")
foreach(name IN LISTS names)
  if(name MATCHES "^vtable for ([A-Za-z0-9_]+)$")
    list(APPEND records "${CMAKE_MATCH_1}")
  endif()
endforeach()
foreach(family vtables typeinfos defaults arena_makers members constants is_valid descriptors
               registrations offsets library_functions unexpected)
  set(${family} "")
endforeach()
foreach(name IN LISTS names)
  if(name MATCHES "^vtable for ")
    list(APPEND vtables "${name}")
  elseif(name MATCHES "^typeinfo for ([A-Za-z0-9_]+)$" AND CMAKE_MATCH_1 IN_LIST records)
    list(APPEND typeinfos "${CMAKE_MATCH_1}")
  elseif(name MATCHES "^_([A-Za-z0-9_]+)_default_instance_$" AND CMAKE_MATCH_1 IN_LIST records)
    list(APPEND defaults "${CMAKE_MATCH_1}")
  elseif(name MATCHES "^([A-Za-z0-9_]+)\\* google::protobuf::Arena::CreateMaybeMessage<([A-Za-z0-9_]+)>\\(google::protobuf::Arena\\*\\)$"
         AND CMAKE_MATCH_1 STREQUAL CMAKE_MATCH_2 AND CMAKE_MATCH_1 IN_LIST records)
    list(APPEND arena_makers "${CMAKE_MATCH_1}")
  elseif(name MATCHES "^([A-Za-z0-9_]+)::([A-Za-z0-9_]+)$" AND CMAKE_MATCH_1 IN_LIST records
         AND NOT CMAKE_MATCH_2 STREQUAL "_class_data_")
    list(APPEND constants "${name}")
  elseif(name MATCHES "^([A-Za-z0-9_]+)::" AND CMAKE_MATCH_1 IN_LIST records)
    list(APPEND members "${name}")
  elseif(name MATCHES "^[A-Za-z0-9]+_[A-Za-z0-9_]+_IsValid\\(int\\)$")
    list(APPEND is_valid "${name}")
  elseif(name MATCHES "^[A-Za-z0-9]+_[A-Za-z0-9_]+_descriptor\\(\\)$")
    list(APPEND descriptors "${name}")
  elseif(name MATCHES "^descriptor_table_[A-Za-z0-9_]+_2eproto$")
    list(APPEND registrations "${name}")
  elseif(name MATCHES "^TableStruct_[A-Za-z0-9_]+_2eproto::offsets$")
    list(APPEND offsets "${name}")
  elseif(name MATCHES "^gcuschema::" AND NOT name MATCHES "^gcuschema::document::")
    list(APPEND library_functions "${name}")
  else()
    list(APPEND unexpected "${name}")
  endif()
endforeach()

# The counts of the 35 schema files: 68 records (67 with 21 out-of-line
# members: three constructors and three destructors in two or three ABI
# variants each, Clear, CopyFrom, MergeImpl, IsInitialized, ByteSizeLong,
# SetCachedSize, _InternalParse, _InternalSerialize, InternalSwap,
# GetMetadata, GetClassData and _class_data_; the one record without fields
# has 9, the rest being its base's), 46 enumerations with 151 values (a class
# constant per value, and MIN, MAX and ARRAYSIZE each), 35 registration
# tables, and the library's three runtime-check functions.
set(expected_counts
  names 2142 records 68 vtables 68 typeinfos 68 defaults 68 arena_makers 68 members 1416
  constants 289 is_valid 46 descriptors 46 registrations 35 offsets 35 library_functions 3
  unexpected 0)
set(errors "")
while(expected_counts)
  list(POP_FRONT expected_counts family expected)
  list(LENGTH ${family} found)
  if(NOT found EQUAL expected)
    list(APPEND errors "${found} ${family} exported, expected ${expected}")
  endif()
endwhile()

# Every record has each per-record export.
foreach(family typeinfos defaults arena_makers)
  set(missing ${records})
  list(REMOVE_ITEM missing ${${family}})
  if(missing)
    list(APPEND errors "records without ${family}: ${missing}")
  endif()
endforeach()

set(required
  "typeinfo for ConfigData"
  "vtable for Map3D"
  "_Input_default_instance_"
  "_CalibrationData_AdcCalibrationData_default_instance_"
  "ConfigData::ConfigData(google::protobuf::Arena*, bool)"
  "ConfigData::Clear()"
  "ConfigData::MergeImpl(google::protobuf::Message&, google::protobuf::Message const&)"
  "ConfigData::CopyFrom(ConfigData const&)"
  "ConfigData::ByteSizeLong() const"
  "Input_Type_IsValid(int)"
  "Input_Type_descriptor()"
  "Input::AdcInput"
  "Input::Type_ARRAYSIZE"
  "Units::None_MIN"
  "Units_Pressure_IsValid(int)"
  "Map_MapType_descriptor()"
  "descriptor_table_Config_2eproto"
  "descriptor_table_MapConfig_2eproto"
  "gcuschema::verified_schema_units()")
foreach(name IN LISTS required)
  if(NOT name IN_LIST names)
    list(APPEND errors "not exported: ${name}")
  endif()
endforeach()

if(unexpected)
  list(SUBLIST unexpected 0 20 shown)
  list(APPEND errors "exported but of no family of the library (first 20): ${shown}")
endif()
if(errors)
  list(JOIN errors "\n  " text)
  message(FATAL_ERROR "${DLL}:\n  ${text}")
endif()
list(LENGTH names n)
message(STATUS "${n} exports in the library's families, as expected")
