# ctest: the C interface's functions are exactly the C names the companion
# library exports: each one <gcuschema/document/c.h> declares, and no other
# gcuschema_ name. Linux reads the dynamic symbol table with nm, Windows the
# DLL's export table with objdump.
# cmake -DHEADER=<c.h> -DLIB=<libgcuschema_document.so> -DNM=<nm> -P check_c_exports.cmake
# cmake -DHEADER=<c.h> -DLIB=<gcuschema_document.dll> -DOBJDUMP=<objdump> -P check_c_exports.cmake
cmake_minimum_required(VERSION 3.25)

include("${CMAKE_CURRENT_LIST_DIR}/../cmake/CInterfaceFunctions.cmake")
gcuschema_c_interface_functions("${HEADER}" declared)
list(LENGTH declared n)

set(exported "")
if(NM)
  execute_process(COMMAND ${NM} -D --defined-only ${LIB} OUTPUT_VARIABLE table RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${NM} -D failed on ${LIB}")
  endif()
  # "0000000000012340 T gcuschema_read": code, in the dynamic symbol table.
  string(REGEX MATCHALL "\n[0-9a-f]+ [A-Za-z] gcuschema_[A-Za-z0-9_]*" rows "\n${table}")
  foreach(row IN LISTS rows)
    string(REGEX MATCH "([A-Za-z]) (gcuschema_[A-Za-z0-9_]*)$" _ "${row}")
    if(NOT CMAKE_MATCH_1 STREQUAL "T")
      message(FATAL_ERROR "${LIB}: ${CMAKE_MATCH_2} is exported as ${CMAKE_MATCH_1}, not as a function (T)")
    endif()
    list(APPEND exported "${CMAKE_MATCH_2}")
  endforeach()
else()
  execute_process(COMMAND ${OBJDUMP} -p ${LIB} OUTPUT_VARIABLE dump RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${OBJDUMP} -p failed on ${LIB}")
  endif()
  string(FIND "${dump}" "[Ordinal/Name Pointer] Table" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "${LIB} has no export name table")
  endif()
  string(SUBSTRING "${dump}" ${at} -1 table)
  string(REGEX MATCHALL "\n\t\\[ *[0-9]+\\] gcuschema_[A-Za-z0-9_]*" rows "${table}")
  foreach(row IN LISTS rows)
    string(REGEX REPLACE "^\n\t\\[ *[0-9]+\\] " "" name "${row}")
    list(APPEND exported "${name}")
  endforeach()
endif()

set(missing ${declared})
if(exported)
  list(REMOVE_ITEM missing ${exported})
endif()
set(extra ${exported})
list(REMOVE_ITEM extra ${declared})
if(missing OR extra)
  message(FATAL_ERROR "${LIB}:\n  declared in ${HEADER} but not exported: ${missing}\n"
                      "  exported but not declared there: ${extra}")
endif()
message(STATUS "the ${n} functions of the C interface are exported, and no other gcuschema_ name")
