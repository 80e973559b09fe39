# After `ctest` of the Windows build: the tests GoogleTest ran under Wine,
# from the result files each test program wrote (the tool's script writes
# its checks in the same form), as one closing line.
# cmake -DDIR=<build-windows/gtest-results> -P summary.cmake
cmake_minimum_required(VERSION 3.25)
file(GLOB results "${DIR}/*.xml")
if(NOT results)
  message(FATAL_ERROR "no GoogleTest results in ${DIR}: did the tests run?")
endif()
set(ran 0)
set(failed 0)
foreach(result IN LISTS results)
  file(READ "${result}" xml)
  # The totals are the attributes of the root element.
  if(NOT xml MATCHES "<testsuites tests=\"([0-9]+)\" failures=\"([0-9]+)\" disabled=\"([0-9]+)\" errors=\"([0-9]+)\"")
    message(FATAL_ERROR "${result}: no totals")
  endif()
  math(EXPR passed "${CMAKE_MATCH_1} - ${CMAKE_MATCH_2} - ${CMAKE_MATCH_4}")
  math(EXPR ran "${ran} + ${CMAKE_MATCH_1}")
  math(EXPR failed "${failed} + ${CMAKE_MATCH_2} + ${CMAKE_MATCH_4}")
  set(tests ${CMAKE_MATCH_1})
  # A script's result may name what it ran and what it counts.
  get_filename_component(program "${result}" NAME_WE)
  if(xml MATCHES "<testsuites [^>]* program=\"([^\"]+)\"")
    set(program "${CMAKE_MATCH_1}")
  endif()
  set(unit tests)
  if(xml MATCHES "<testsuites [^>]* unit=\"([a-z]+)\"")
    set(unit "${CMAKE_MATCH_1}")
  endif()
  message("${program}: ${tests} ${unit}, ${passed} passed under Wine")
endforeach()
math(EXPR passed "${ran} - ${failed}")
message("Windows: ${passed} passed, ${failed} failed")
