# ctest: the C host example runs, exits 0 and prints what
# examples/c-host/expected_output.txt holds, which the README shows.
# cmake -DHOST=<gcuschema_c_host> -DEXPECTED=<expected_output.txt> -DREADME=<README.md> -P c_host_output.cmake
cmake_minimum_required(VERSION 3.25)
execute_process(COMMAND ${HOST} OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "${HOST} exited with ${rc}:\n${errors}")
endif()
file(READ "${EXPECTED}" expected)
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "${HOST} printed:\n${output}\ninstead of what ${EXPECTED} holds:\n${expected}")
endif()
file(READ "${README}" readme)
string(FIND "${readme}" "${expected}" at)
if(at EQUAL -1)
  message(FATAL_ERROR "${README} does not show the output of ${HOST} (${EXPECTED}): copy it there")
endif()
message(STATUS "the C host printed the expected output, as the README shows it")
