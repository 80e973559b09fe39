# ctest: the library's export table holds the names hosts link against.
# cmake -DLIB=<libgcuschema.so> -DNM=<nm> -P check_exports.cmake
execute_process(COMMAND ${NM} -D --defined-only -C ${LIB}
                OUTPUT_VARIABLE symbols RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIB}")
endif()
set(required
  "Input_Type_IsValid(int)"
  "Input_Type_descriptor()"
  "_Input_default_instance_"
  "typeinfo for ConfigData"
  "typeinfo name for ConfigData"
  "vtable for Map3D"
  "ConfigData::ConfigData(google::protobuf::Arena*, bool)"
  "ConfigData::Clear()"
  "ConfigData::MergeImpl(google::protobuf::Message&, google::protobuf::Message const&)"
  "ConfigData::CopyFrom(ConfigData const&)"
  "ConfigData::ByteSizeLong() const"
  "Units_Pressure_IsValid(int)"
  "Map_MapType_descriptor()"
  "_Map3D_default_instance_"
  "descriptor_table_Config_2eproto"
  "descriptor_table_MapConfig_2eproto"
  "gcuschema::verified_schema_units()")
set(missing "")
foreach(name IN LISTS required)
  string(FIND "${symbols}" " ${name}\n" at)
  if(at EQUAL -1)
    list(APPEND missing "${name}")
  endif()
endforeach()
if(missing)
  message(FATAL_ERROR "not exported by ${LIB}: ${missing}")
endif()
# Hidden visibility: the library's own helpers stay private.
if(symbols MATCHES "gcuschema::\\(anonymous namespace\\)")
  message(FATAL_ERROR "internal helpers are exported by ${LIB}")
endif()
list(LENGTH required n)
message(STATUS "all ${n} required names exported")
