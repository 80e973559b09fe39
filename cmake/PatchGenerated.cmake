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
# 4. The private accessors of singular string and bytes fields are declared
#    inline in the class, as they are defined further down: protoc declares
#    them plainly, and a MinGW host then takes them, used by the public
#    accessors above their definition, as imported from the DLL (and warns
#    for each). Two per field.
# 5. The class constants of each enumeration (values, MIN, MAX, ARRAYSIZE)
#    are inline variables in C++17, emitted only where used; a MinGW host
#    imports them from the DLL as members of an exported class, so the
#    Windows library uses each one, which defines and exports it. One per
#    value and three per enumeration.

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

string(REGEX MATCHALL "[\n{}][ \t\r\n]*((optional|required)[ \t\r\n]+)?(string|bytes)[ \t\r\n]+[A-Za-z_][A-Za-z0-9_]*[ \t\r\n]*="
       text_fields "${schema}")
list(LENGTH text_fields text_field_count)
# (Without the closing ';', which would split the list of matches.)
set(private_accessor "\n  (const std::string& _internal_[a-z0-9_]+\\(\\) const|std::string\\* _internal_mutable_[a-z0-9_]+\\(\\))")
string(REGEX MATCHALL "${private_accessor}" accessors "${header}")
list(LENGTH accessors found)
math(EXPR expected "${text_field_count} * 2")
if(NOT found EQUAL expected)
  message(FATAL_ERROR "${NAME}.pb.h: ${found} private string accessors declared for "
    "${text_field_count} singular string/bytes fields (expected ${expected}); "
    "protoc's output changed, review this step")
endif()
string(REGEX REPLACE "${private_accessor}" "\n  inline \\1" header "${header}")

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
string(REGEX MATCHALL "enum[ \t\r\n]+[A-Za-z_][A-Za-z0-9_]*[ \t\r\n]*{[^}]*}" enums "${schema}")
set(expected 0)
foreach(enum IN LISTS enums)
  string(REGEX MATCHALL "=" values "${enum}")
  list(LENGTH values n)
  math(EXPR expected "${expected} + ${n} + 3")
endforeach()
# The constants' out-of-line definitions, which protoc keeps for C++14.
string(REGEX MATCHALL "\nconstexpr [A-Za-z0-9_]+ [A-Za-z0-9_]+::[A-Za-z0-9_]+" definitions "${source}")
list(LENGTH definitions found)
if(NOT found EQUAL expected)
  message(FATAL_ERROR "${NAME}.pb.cc: ${found} enumeration constants defined, expected "
    "${expected} from the schema's enumerations; protoc's output changed, review this step")
endif()
set(kept_constants "")
foreach(definition IN LISTS definitions)
  string(REGEX REPLACE ".* " "&" address "${definition}")
  string(APPEND kept_constants "    ${address},\n")
endforeach()
if(kept_constants)
  replace_once(source "// @@protoc_insertion_point(global_scope)"
    "// @@protoc_insertion_point(global_scope)\n#if defined(_WIN32)\nnamespace {\n[[gnu::used]] const void* const gcuschema_exported_constants[] = {\n${kept_constants}};\n}  // namespace\n#endif"
    "${NAME}.pb.cc")
endif()

replace_once(source "// @@protoc_insertion_point(global_scope)"
  "// @@protoc_insertion_point(global_scope)\nnamespace {\nconst bool gcuschema_runtime_verified = ::gcuschema::internal::VerifyRuntimeForUnit(\"config/protobuf/${NAME}.pb\");\n}  // namespace"
  "${NAME}.pb.cc")

file(WRITE "${OUT_DIR}/${NAME}.pb.h" "${header}")
file(WRITE "${OUT_DIR}/${NAME}.pb.cc" "${source}")
