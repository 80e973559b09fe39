# Settings are read in one place: document/walk.cc decides what every
# `config` holds. Any other file of the companion library or the tool that
# parses bytes into a record, or reaches for an entry's `config` bytes by
# name, is a second descent and fails this check. Reading a whole document
# (binary.cc) and the embedded schema comments are not settings.
# Usage: cmake -DSOURCE=<repository> -P one_walk_check.cmake
cmake_policy(SET CMP0057 NEW)
set(allowed
  document/walk.cc
  document/binary.cc
  document/schema_comments.cc)
file(GLOB_RECURSE sources RELATIVE "${SOURCE}"
     "${SOURCE}/document/*.cc" "${SOURCE}/document/*.h"
     "${SOURCE}/tools/gcuschema/*.cc" "${SOURCE}/tools/gcuschema/*.h")
set(found "")
foreach(file IN LISTS sources)
  if(file IN_LIST allowed)
    continue()
  endif()
  file(STRINGS "${SOURCE}/${file}" lines
       REGEX "Parse(Partial)?From(String|Array)|ParseFromCodedStream|MergeFromString|\\.config\\(\\)\\)|GetString\\([^)]*config")
  foreach(line IN LISTS lines)
    string(STRIP "${line}" line)
    list(APPEND found "${file}: ${line}")
  endforeach()
endforeach()
if(found)
  list(JOIN found "\n  " listed)
  message(FATAL_ERROR "settings read outside the walk (document/walk.cc):\n  ${listed}")
endif()
list(LENGTH sources count)
message(STATUS "settings are read by the walk alone (${count} files checked)")
