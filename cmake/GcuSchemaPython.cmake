# The Python package `gcuschema`: protoc's _pb2 module of every schema file,
# generated into the build tree, beside the hand-written modules of python/.
set(GCUSCHEMA_PYTHON_DIR "${CMAKE_BINARY_DIR}/python" CACHE INTERNAL "")
set(_py_pkg "${GCUSCHEMA_PYTHON_DIR}/gcuschema")
file(MAKE_DIRECTORY "${_py_pkg}")

set(_py_outputs "")
foreach(proto IN LISTS GCUSCHEMA_PROTOS)
  get_filename_component(name "${proto}" NAME_WE)
  get_filename_component(dir "${proto}" DIRECTORY)
  add_custom_command(
    OUTPUT "${_py_pkg}/${name}_pb2.py"
    COMMAND protobuf::protoc --proto_path=${dir} --python_out=${_py_pkg} ${proto}
    DEPENDS "${proto}" protobuf::protoc
    COMMENT "Generating Python for ${name}.proto"
    VERBATIM)
  list(APPEND _py_outputs "${_py_pkg}/${name}_pb2.py")
endforeach()

file(GLOB _py_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/python/gcuschema/*.py")
foreach(src IN LISTS _py_sources)
  get_filename_component(name "${src}" NAME)
  add_custom_command(
    OUTPUT "${_py_pkg}/${name}"
    COMMAND ${CMAKE_COMMAND} -E copy_if_different "${src}" "${_py_pkg}/${name}"
    DEPENDS "${src}"
    VERBATIM)
  list(APPEND _py_outputs "${_py_pkg}/${name}")
endforeach()

add_custom_target(gcuschema_python ALL DEPENDS ${_py_outputs})
install(DIRECTORY "${_py_pkg}" DESTINATION ${GCUSCHEMA_PYTHON_INSTALL_DIR}
        COMPONENT python FILES_MATCHING PATTERN "*.py")
