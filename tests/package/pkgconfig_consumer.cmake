# cmake -DSTAGE=... -DCXX=... -DSOURCE=... -DOUT=... [-DPACKAGE=...] [-DEXPECT=...] [-DSTD=...]
#       -P pkgconfig_consumer.cmake
# Builds SOURCE with nothing but the flags pkg-config gives for PACKAGE
# (gcuschema by default) from the staged install, runs it with nothing set
# (no LD_LIBRARY_PATH: the flags' run path finds the staged libraries), and
# expects EXPECT in what it prints. CXX is the compiler and STD its language
# (c++17 by default; c99 with a C compiler for a C host).
if(NOT STD)
  set(STD c++17)
endif()
if(NOT PACKAGE)
  set(PACKAGE gcuschema)
endif()
if(NOT EXPECT)
  set(EXPECT "linearization x: 1 -1")
endif()
set(ENV{PKG_CONFIG_PATH} "${STAGE}/lib/pkgconfig")
execute_process(COMMAND pkg-config --cflags --libs ${PACKAGE}
                RESULT_VARIABLE rc OUTPUT_VARIABLE flags ERROR_VARIABLE err
                OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "pkg-config does not know ${PACKAGE}:\n${err}")
endif()
separate_arguments(flag_list UNIX_COMMAND "${flags}")
# The .pc file locates the prefix from its own directory: its include
# directory must be the staged one, however the path is spelled.
set(include_ok FALSE)
foreach(flag IN LISTS flag_list)
  if(flag MATCHES "^-I(.*)")
    file(REAL_PATH "${CMAKE_MATCH_1}" dir)
    file(REAL_PATH "${STAGE}/include" staged)
    if(dir STREQUAL staged)
      set(include_ok TRUE)
    endif()
  endif()
endforeach()
if(NOT include_ok OR NOT flags MATCHES "-lgcuschema")
  message(FATAL_ERROR "unexpected flags from the staged ${PACKAGE}.pc: ${flags}")
endif()
# The run path is the staged library directory, however the path is spelled.
set(rpath_ok FALSE)
foreach(flag IN LISTS flag_list)
  if(flag MATCHES "^-Wl,-rpath,(.*)")
    file(REAL_PATH "${CMAKE_MATCH_1}" dir)
    file(REAL_PATH "${STAGE}/lib" staged)
    if(dir STREQUAL staged)
      set(rpath_ok TRUE)
    endif()
  endif()
endforeach()
if(NOT rpath_ok)
  message(FATAL_ERROR "the staged ${PACKAGE}.pc gives no run path to ${STAGE}/lib: ${flags}")
endif()
get_filename_component(out_dir "${OUT}" DIRECTORY)
file(MAKE_DIRECTORY "${out_dir}")
execute_process(COMMAND ${CXX} -std=${STD} "${SOURCE}" -o "${OUT}" ${flag_list}
                RESULT_VARIABLE rc ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "building with '${flags}' failed:\n${err}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH "${OUT}"
                RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
string(FIND "${out}" "${EXPECT}" found)
if(NOT rc EQUAL 0 OR found EQUAL -1)
  message(FATAL_ERROR "the program built with '${flags}' failed (${rc}) when run with nothing set: ${out}${err}")
endif()
message(STATUS "pkg-config flags: ${flags}")
