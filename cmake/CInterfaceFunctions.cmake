# The functions <gcuschema/document/c.h> declares, by name, in the order it
# declares them: what gcuschema_document exports for C and what its .def
# lists.
# gcuschema_c_interface_functions(<c.h> <out-var>)
function(gcuschema_c_interface_functions header out)
  file(READ "${header}" text)
  string(REGEX MATCHALL "GCUSCHEMA_DOCUMENT_API[^;(]*[ *]gcuschema_[a-z0-9_]+\\(" declarations "${text}")
  set(names "")
  foreach(declaration IN LISTS declarations)
    string(REGEX MATCH "gcuschema_[a-z0-9_]+\\($" name "${declaration}")
    string(REGEX REPLACE "\\($" "" name "${name}")
    list(APPEND names "${name}")
  endforeach()
  if(NOT names)
    message(FATAL_ERROR "${header} declares no gcuschema_ function")
  endif()
  set(${out} "${names}" PARENT_SCOPE)
endfunction()
