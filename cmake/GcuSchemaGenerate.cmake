# gcuschema_generate_cpp(<out-sources-var> <out-headers-var> PROTOS <file>...)
#
# Generates C++ for each schema file into ${GCUSCHEMA_GEN_DIR}/gcuschema/
# (protoc writes into a staging directory; PatchGenerated.cmake finishes each
# unit into the final directory). One command per schema file, so editing a
# schema regenerates and recompiles that unit only.
set(GCUSCHEMA_GEN_DIR "${CMAKE_BINARY_DIR}/gen" CACHE INTERNAL "")
set(_gcuschema_patch_script "${CMAKE_CURRENT_LIST_DIR}/PatchGenerated.cmake")

function(gcuschema_generate_cpp out_sources out_headers)
  cmake_parse_arguments(ARG "" "" "PROTOS" ${ARGN})
  set(raw_dir "${GCUSCHEMA_GEN_DIR}/raw")
  set(out_dir "${GCUSCHEMA_GEN_DIR}/gcuschema")
  file(MAKE_DIRECTORY "${raw_dir}" "${out_dir}")
  set(sources "")
  set(headers "")
  foreach(proto IN LISTS ARG_PROTOS)
    get_filename_component(proto_abs "${proto}" ABSOLUTE)
    get_filename_component(proto_dir "${proto_abs}" DIRECTORY)
    get_filename_component(name "${proto_abs}" NAME_WE)
    add_custom_command(
      OUTPUT "${out_dir}/${name}.pb.cc" "${out_dir}/${name}.pb.h"
      COMMAND protobuf::protoc
              --proto_path=${proto_dir}
              --cpp_out=dllexport_decl=GCUSCHEMA_API:${raw_dir}
              ${proto_abs}
      COMMAND ${CMAKE_COMMAND} -DPROTO=${proto_abs} -DNAME=${name}
              -DRAW_DIR=${raw_dir} -DOUT_DIR=${out_dir}
              -P ${_gcuschema_patch_script}
      DEPENDS "${proto_abs}" protobuf::protoc "${_gcuschema_patch_script}"
      COMMENT "Generating C++ for ${name}.proto"
      VERBATIM)
    list(APPEND sources "${out_dir}/${name}.pb.cc")
    list(APPEND headers "${out_dir}/${name}.pb.h")
  endforeach()
  set(${out_sources} "${sources}" PARENT_SCOPE)
  set(${out_headers} "${headers}" PARENT_SCOPE)
endfunction()

# gcuschema_generate_all_records_header(<out-header-var> PROTOS <file>...)
#
# Writes ${GCUSCHEMA_GEN_DIR}/gcuschema/all_records.h, which includes the
# header of every schema file given: a host gets every record without knowing
# which file holds it (file and record names differ, e.g.
# DigitalInputConfiguration.pb.h holds DigitalInConfiguration). Made from the
# same list the units are generated from, and rewritten only when that list
# changes, so it cannot fall behind the schema files.
function(gcuschema_generate_all_records_header out_header)
  cmake_parse_arguments(ARG "" "" "PROTOS" ${ARGN})
  set(includes "")
  foreach(proto IN LISTS ARG_PROTOS)
    get_filename_component(name "${proto}" NAME_WE)
    string(APPEND includes "#include <gcuschema/${name}.pb.h>\n")
  endforeach()
  set(header "${GCUSCHEMA_GEN_DIR}/gcuschema/all_records.h")
  file(CONFIGURE OUTPUT "${header}" CONTENT
"// Made by the build from the schema files in config/protobuf/: includes the
// header of every record of libgcuschema. Not to be edited.
#ifndef GCUSCHEMA_ALL_RECORDS_H
#define GCUSCHEMA_ALL_RECORDS_H

${includes}
#endif
")
  set(${out_header} "${header}" PARENT_SCOPE)
endfunction()
