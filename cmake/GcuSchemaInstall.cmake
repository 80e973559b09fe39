# Install layout, CMake package and pkg-config file.
include(CMakePackageConfigHelpers)

set(GCUSCHEMA_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/GcuSchema")
set(GCUSCHEMA_PYTHON_INSTALL_DIR "lib/python3/dist-packages"
    CACHE STRING "Where the Python package is installed, relative to the prefix")

install(TARGETS gcuschema gcuschema_document EXPORT GcuSchemaTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime
          NAMELINK_COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/gcuschema COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(TARGET gcuschema_tool)
  install(TARGETS gcuschema_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endif()
# The man page is made by running the tool, which a cross build cannot.
if(TARGET gcuschema_tool AND NOT CMAKE_CROSSCOMPILING)
  # The tool's man page, made by help2man from the help texts when installing
  # (the build itself needs no help2man), and its bash completion, which the
  # build writes by running the tool.
  find_program(GCUSCHEMA_HELP2MAN help2man)
  set(GCUSCHEMA_MAN_PAGE "${CMAKE_CURRENT_BINARY_DIR}/man/gcuschema.1")
  install(CODE "
    execute_process(COMMAND \"${CMAKE_COMMAND}\" -DTOOL=$<TARGET_FILE:gcuschema_tool>
                            -DHELP2MAN=${GCUSCHEMA_HELP2MAN} -DOUT=${GCUSCHEMA_MAN_PAGE}
                            -P ${CMAKE_CURRENT_SOURCE_DIR}/cmake/GcuSchemaManPage.cmake
                    RESULT_VARIABLE rc)
    if(NOT rc EQUAL 0)
      message(FATAL_ERROR \"the man page of gcuschema could not be made\")
    endif()" COMPONENT runtime)
  install(FILES "${GCUSCHEMA_MAN_PAGE}" DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
  install(FILES "${GCUSCHEMA_BASH_COMPLETION}" RENAME gcuschema
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT runtime)
endif()
install(DIRECTORY include/gcuschema DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        COMPONENT development FILES_MATCHING PATTERN "*.h")
install(FILES ${GCUSCHEMA_PROTOS} DESTINATION ${CMAKE_INSTALL_DATADIR}/gcuschema/proto
        COMPONENT runtime)

install(EXPORT GcuSchemaTargets NAMESPACE GcuSchema:: DESTINATION ${GCUSCHEMA_CMAKE_DIR}
        COMPONENT development)
configure_package_config_file(cmake/GcuSchemaConfig.cmake.in
  "${CMAKE_CURRENT_BINARY_DIR}/GcuSchemaConfig.cmake"
  INSTALL_DESTINATION ${GCUSCHEMA_CMAKE_DIR})
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/GcuSchemaConfigVersion.cmake"
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/GcuSchemaConfig.cmake"
              "${CMAKE_CURRENT_BINARY_DIR}/GcuSchemaConfigVersion.cmake"
        DESTINATION ${GCUSCHEMA_CMAKE_DIR} COMPONENT development)

# The .pc file finds its prefix from its own location, so a staged or
# relocated install works without editing it.
file(RELATIVE_PATH GCUSCHEMA_PC_PREFIX_FROM_PCDIR
     "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
# A program linked with these flags finds the libraries where they lie when
# it runs: the dynamic loader looks in the system's directories only.
# Debian's linker writes it as a RUNPATH, which LD_LIBRARY_PATH overrides.
set(GCUSCHEMA_PC_RPATH "")
if(UNIX AND NOT APPLE)
  set(GCUSCHEMA_PC_RPATH " -Wl,-rpath,\${libdir}")
endif()
foreach(pc IN ITEMS gcuschema gcuschema-document)
  configure_file(cmake/${pc}.pc.in "${CMAKE_CURRENT_BINARY_DIR}/${pc}.pc" @ONLY)
  install(FILES "${CMAKE_CURRENT_BINARY_DIR}/${pc}.pc"
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()
