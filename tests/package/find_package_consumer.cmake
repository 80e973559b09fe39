# cmake -DSTAGE=... -DSOURCE=examples/host -DWORK=... -P find_package_consumer.cmake
file(REMOVE_RECURSE "${WORK}")
execute_process(COMMAND ${CMAKE_COMMAND} -S "${SOURCE}" -B "${WORK}" -G Ninja
                        "-DCMAKE_PREFIX_PATH=${STAGE}" -DCMAKE_BUILD_TYPE=Release
                RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "configuring the host against ${STAGE} failed:\n${out}${err}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build "${WORK}"
                RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "building the host failed:\n${out}${err}")
endif()
execute_process(COMMAND "${WORK}/gcuschema_host" RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL 0 OR NOT out MATCHES "AdcConfiguration \\{")
  message(FATAL_ERROR "the host built against the package failed (${rc}):\n${out}${err}")
endif()
# It must have used the staged package, not the build tree.
file(READ "${WORK}/CMakeCache.txt" cache)
if(NOT cache MATCHES "GcuSchema_DIR:PATH=${STAGE}")
  message(FATAL_ERROR "the host did not find GcuSchema in ${STAGE}")
endif()
message(STATUS "${out}")
