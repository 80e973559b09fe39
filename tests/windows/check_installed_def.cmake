# ctest: installing the development files of the Windows build puts the C
# interface's .def in lib/ beside the import libraries, as the build wrote it.
# cmake -DBUILD=<build-windows> -DDEF=<gcuschema_document.def> -DPREFIX=<scratch> -P check_installed_def.cmake
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE "${PREFIX}")
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${PREFIX}" --component development
                OUTPUT_QUIET RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "installing the development files of ${BUILD} failed")
endif()
get_filename_component(name "${DEF}" NAME)
foreach(file IN ITEMS "${name}" gcuschema_document.dll.a)
  if(NOT EXISTS "${PREFIX}/lib/${file}")
    message(FATAL_ERROR "the install has no lib/${file}")
  endif()
endforeach()
file(READ "${DEF}" built)
file(READ "${PREFIX}/lib/${name}" installed)
if(NOT installed STREQUAL built)
  message(FATAL_ERROR "lib/${name} of the install is not ${DEF}")
endif()
message(STATUS "lib/${name} is installed beside gcuschema_document.dll.a")
