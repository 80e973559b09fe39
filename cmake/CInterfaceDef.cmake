# The module-definition file of the C interface of gcuschema_document.dll:
# the functions c.h declares, from which lib.exe or llvm-dlltool make an
# import library for a toolchain that cannot read MinGW's (Visual C++).
# cmake -DHEADER=<c.h> -DLIBRARY=<gcuschema_document.dll> -DOUT=<.def> -P CInterfaceDef.cmake
cmake_minimum_required(VERSION 3.25)
include("${CMAKE_CURRENT_LIST_DIR}/CInterfaceFunctions.cmake")

gcuschema_c_interface_functions("${HEADER}" functions)
set(text "LIBRARY ${LIBRARY}\nEXPORTS\n")
foreach(function IN LISTS functions)
  string(APPEND text "    ${function}\n")
endforeach()
file(WRITE "${OUT}" "${text}")
