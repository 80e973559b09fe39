# Finishes one protoc-generated unit: reads RAW_DIR/<NAME>.pb.{h,cc}, writes
# OUT_DIR/<NAME>.pb.{h,cc}. Run as: cmake -DPROTO=... -DNAME=... -DRAW_DIR=...
# -DOUT_DIR=... -P PatchGenerated.cmake. Nothing is written unless every step
# finds exactly what it expects, so a future protoc that generates different
# code fails the build instead of silently producing different records.
#
# 1. Headers compile on their own in a host: the export macro's header goes
#    in at the includes insertion point.
# 2. Singular proto3 float and double fields are sized, written and merged
#    when they compare unequal to zero: protoc tests the bit pattern instead,
#    which writes -0.0. Each such field has exactly three sites (size, write,
#    merge); the test is turned into the comparison, which drops -0.0 and
#    keeps NaN.
# 3. Each unit checks at load that the runtime matches the headers.

foreach(var PROTO NAME RAW_DIR OUT_DIR)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "PatchGenerated.cmake: ${var} not set")
  endif()
endforeach()

function(replace_once content_var anchor replacement what)
  string(FIND "${${content_var}}" "${anchor}" first)
  string(FIND "${${content_var}}" "${anchor}" last REVERSE)
  if(first EQUAL -1 OR NOT first EQUAL last)
    message(FATAL_ERROR "${what}: expected exactly one '${anchor}'")
  endif()
  string(REPLACE "${anchor}" "${replacement}" patched "${${content_var}}")
  set(${content_var} "${patched}" PARENT_SCOPE)
endfunction()

# Singular float/double fields of a proto3 schema, by generated (lower-case)
# name. proto2 fields and proto3 'optional' fields use has-bits instead.
file(READ "${PROTO}" schema)
string(REGEX REPLACE "//[^\n]*" "" schema "${schema}")
string(REGEX REPLACE "/\\*([^*]|\\*+[^*/])*\\*+/" "" schema "${schema}")
# ';' separates CMake list items: make statement ends newlines instead.
string(REPLACE ";" "\n" schema "${schema}")
set(float_fields "")
if(schema MATCHES "syntax[ \t\r\n]*=[ \t\r\n]*\"proto3\"")
  string(REGEX MATCHALL "[\n{}][ \t\r\n]*(float|double)[ \t\r\n]+[A-Za-z_][A-Za-z0-9_]*[ \t\r\n]*="
         decls "${schema}")
  foreach(decl IN LISTS decls)
    string(REGEX REPLACE ".*(float|double)[ \t\r\n]+([A-Za-z_][A-Za-z0-9_]*).*" "\\2" field "${decl}")
    string(TOLOWER "${field}" field)
    list(APPEND float_fields "${field}")
  endforeach()
endif()

file(READ "${RAW_DIR}/${NAME}.pb.h" header)
file(READ "${RAW_DIR}/${NAME}.pb.cc" source)

replace_once(header "// @@protoc_insertion_point(includes)"
  "#include <gcuschema/export.h>\n// @@protoc_insertion_point(includes)"
  "${NAME}.pb.h")

string(REGEX MATCHALL "if \\(raw_[a-z0-9_]+ != 0\\) {" sites "${source}")
list(LENGTH sites found)
list(LENGTH float_fields field_count)
math(EXPR expected "${field_count} * 3")
if(NOT found EQUAL expected)
  message(FATAL_ERROR "${NAME}.pb.cc: ${found} bit-pattern zero tests for "
    "${field_count} singular float/double fields (expected ${expected}); "
    "protoc's output changed, review this step")
endif()
# Fields of the same name in several records each contribute three sites.
list(REMOVE_DUPLICATES float_fields)
foreach(field IN LISTS float_fields)
  string(REGEX MATCHALL "if \\(raw_${field} != 0\\) {" field_sites "${source}")
  list(LENGTH field_sites n)
  math(EXPR rem "${n} % 3")
  if(n EQUAL 0 OR NOT rem EQUAL 0)
    message(FATAL_ERROR "${NAME}.pb.cc: field '${field}' has ${n} zero tests, expected a multiple of 3")
  endif()
endforeach()
string(REGEX REPLACE "if \\(raw_([a-z0-9_]+) != 0\\) {" "if (tmp_\\1 != 0) {" source "${source}")

replace_once(source "// @@protoc_insertion_point(includes)"
  "#include <gcuschema/runtime_check.h>\n// @@protoc_insertion_point(includes)"
  "${NAME}.pb.cc")
replace_once(source "// @@protoc_insertion_point(global_scope)"
  "// @@protoc_insertion_point(global_scope)\nnamespace {\nconst bool gcuschema_runtime_verified = ::gcuschema::internal::VerifyRuntimeForUnit(\"config/protobuf/${NAME}.pb\");\n}  // namespace"
  "${NAME}.pb.cc")

file(WRITE "${OUT_DIR}/${NAME}.pb.h" "${header}")
file(WRITE "${OUT_DIR}/${NAME}.pb.cc" "${source}")
