# cmake -DBUILD_DIR=... -DSTAGE=... -P staged_install.cmake
file(REMOVE_RECURSE "${STAGE}")
execute_process(COMMAND ${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${STAGE}"
                RESULT_VARIABLE rc OUTPUT_QUIET ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "install into ${STAGE} failed:\n${err}")
endif()
foreach(f lib/libgcuschema.so lib/libgcuschema_document.so include/gcuschema/Config.pb.h
          include/gcuschema/export.h include/gcuschema/all_records.h include/gcuschema/document/io.h
          include/gcuschema/document/settings.h lib/pkgconfig/gcuschema-document.pc
          share/gcuschema/proto/Config.proto share/gcuschema/proto/SplitterOutputConfig.proto
          bin/gcuschema lib/cmake/GcuSchema/GcuSchemaConfig.cmake
          lib/cmake/GcuSchema/GcuSchemaConfigVersion.cmake lib/cmake/GcuSchema/GcuSchemaTargets.cmake
          lib/pkgconfig/gcuschema.pc lib/python3/dist-packages/gcuschema/__init__.py
          lib/python3/dist-packages/gcuschema/Config_pb2.py
          lib/python3/dist-packages/gcuschema/document.py
          lib/python3/dist-packages/gcuschema/_library_location.py
          share/man/man1/gcuschema.1 share/bash-completion/completions/gcuschema)
  if(NOT EXISTS "${STAGE}/${f}")
    message(FATAL_ERROR "the staged install lacks ${f}")
  endif()
endforeach()
# The man page has the tool's version and a section for each command, with
# the footer of set's help (how paths and values are written).
file(READ "${STAGE}/share/man/man1/gcuschema.1" man)
execute_process(COMMAND "${STAGE}/bin/gcuschema" --version OUTPUT_VARIABLE version
                OUTPUT_STRIP_TRAILING_WHITESPACE)
foreach(part "${version}" "gcuschema decode" "gcuschema encode" "gcuschema lint" "\\-\\-threads" "gcuschema set"
        "canbus[canbusId=1]" "config=BASE64" "gcuschema completion")
  string(FIND "${man}" "${part}" at)
  if(at LESS 0)
    message(FATAL_ERROR "the man page lacks \"${part}\"")
  endif()
endforeach()
# The bash completion installed is the one the installed tool writes.
execute_process(COMMAND "${STAGE}/bin/gcuschema" completion bash RESULT_VARIABLE rc OUTPUT_VARIABLE written)
file(READ "${STAGE}/share/bash-completion/completions/gcuschema" completion)
if(NOT rc EQUAL 0 OR written STREQUAL "" OR NOT completion STREQUAL written)
  message(FATAL_ERROR "the installed bash completion is not what `gcuschema completion bash` writes")
endif()
file(GLOB protos "${STAGE}/share/gcuschema/proto/*.proto")
file(GLOB headers "${STAGE}/include/gcuschema/*.pb.h")
file(GLOB modules "${STAGE}/lib/python3/dist-packages/gcuschema/*_pb2.py")
list(LENGTH protos np)
list(LENGTH headers nh)
list(LENGTH modules nm)
if(NOT np EQUAL nh OR NOT np EQUAL nm)
  message(FATAL_ERROR "${np} schema files, ${nh} generated headers, ${nm} Python modules installed")
endif()
message(STATUS "staged ${np} schema files with their headers and Python modules")
