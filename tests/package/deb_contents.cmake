# cmake -DBUILD_DIR=... -DWORK=... -DTOOL=<gcuschema> -P deb_contents.cmake
file(REMOVE_RECURSE "${WORK}")
execute_process(COMMAND cpack -G DEB --config "${BUILD_DIR}/CPackConfig.cmake" -B "${WORK}"
                RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "cpack failed:\n${out}${err}")
endif()
file(GLOB debs "${WORK}/*.deb")
list(LENGTH debs n)
if(NOT n EQUAL 1)
  message(FATAL_ERROR "expected one .deb in ${WORK}, found ${n}")
endif()
execute_process(COMMAND dpkg-deb -c ${debs} RESULT_VARIABLE rc OUTPUT_VARIABLE listing)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "dpkg-deb cannot list ${debs}")
endif()
foreach(pattern
    "/usr/lib/[^ \n]*libgcuschema\\.so\\.0"
    "/usr/lib/[^ \n]*libgcuschema_document\\.so\\.0"
    "/usr/bin/gcuschema\n"
    "/usr/share/man/man1/gcuschema\\.1"
    "/usr/share/bash-completion/completions/gcuschema\n"
    "/usr/include/gcuschema/Config\\.pb\\.h"
    "/usr/include/gcuschema/export\\.h"
    "/usr/include/gcuschema/document/io\\.h"
    "/usr/lib/[^ \n]*cmake/GcuSchema/GcuSchemaConfig\\.cmake"
    "/usr/lib/[^ \n]*pkgconfig/gcuschema\\.pc"
    "/usr/share/gcuschema/proto/CalibrationDataLimits\\.proto"
    "/usr/lib/python3/dist-packages/gcuschema/pairing\\.py"
    "/usr/lib/python3/dist-packages/gcuschema/document\\.py"
    "/usr/lib/python3/dist-packages/gcuschema/_library_location\\.py"
    "/usr/lib/python3/dist-packages/gcuschema/DeviceData_pb2\\.py")
  if(NOT listing MATCHES "${pattern}")
    message(FATAL_ERROR "the package lacks ${pattern}:\n${listing}")
  endif()
endforeach()
# Unpacked as it would lie in /, for the tests of its Python package.
execute_process(COMMAND dpkg-deb -x ${debs} "${WORK}/root" RESULT_VARIABLE rc ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "dpkg-deb cannot unpack ${debs}:\n${err}")
endif()
# The package's bash completion is the one the tool writes.
execute_process(COMMAND dpkg-deb --fsys-tarfile ${debs} COMMAND tar -xO ./usr/share/bash-completion/completions/gcuschema
                RESULT_VARIABLE rc OUTPUT_VARIABLE packaged)
execute_process(COMMAND "${TOOL}" completion bash RESULT_VARIABLE tool_rc OUTPUT_VARIABLE written)
if(NOT rc EQUAL 0 OR NOT tool_rc EQUAL 0 OR written STREQUAL "" OR NOT packaged STREQUAL written)
  message(FATAL_ERROR "the package's bash completion is not what `${TOOL} completion bash` writes")
endif()
message(STATUS "${listing}")
