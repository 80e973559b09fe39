# Lists the default instance of every record class that protoc wrote into
# the given headers, sorted by class name:
# cmake "-DHEADERS=<a.pb.h;b.pb.h;...>" -DOUT=<source> -P RecordPrototypes.cmake.
# OUT defines gcuschema::document::internal::kRecordPrototypes and
# kRecordPrototypeCount, which document/record_prototypes.h declares. Made from protoc's own output, so that it
# names exactly the classes the library holds.
foreach(var IN ITEMS HEADERS OUT)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "RecordPrototypes.cmake: ${var} not set")
  endif()
endforeach()
set(classes "")
set(includes "")
foreach(header IN LISTS HEADERS)
  file(STRINGS "${header}" lines REGEX "^class GCUSCHEMA_API [A-Za-z_][A-Za-z0-9_]* final :")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "^class GCUSCHEMA_API ([A-Za-z0-9_]+) final :.*" "\\1" class "${line}")
    list(APPEND classes "${class}")
  endforeach()
  get_filename_component(name "${header}" NAME)
  string(APPEND includes "#include <gcuschema/${name}>\n")
endforeach()
list(LENGTH classes count)
if(count EQUAL 0)
  message(FATAL_ERROR "RecordPrototypes.cmake: no record class found in ${HEADERS}")
endif()
list(SORT classes)
set(entries "")
foreach(class IN LISTS classes)
  string(APPEND entries "    {\"${class}\", &DefaultInstance<${class}>},\n")
endforeach()
file(CONFIGURE OUTPUT "${OUT}" CONTENT
"// Made by the build (cmake/RecordPrototypes.cmake) from protoc's headers.
#include \"record_prototypes.h\"

${includes}
namespace gcuschema::document::internal {
namespace {

template <typename Record>
const google::protobuf::Message& DefaultInstance() {
  return Record::default_instance();
}

}  // namespace

const RecordPrototype kRecordPrototypes[] = {
${entries}};
const std::size_t kRecordPrototypeCount = ${count};

}  // namespace gcuschema::document::internal
" @ONLY)
