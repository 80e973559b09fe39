#ifndef GCUSCHEMA_RUNTIME_CHECK_H
#define GCUSCHEMA_RUNTIME_CHECK_H

#include <gcuschema/export.h>

namespace gcuschema {

// Number of schema units whose load-time runtime check has passed. Every unit
// of the library runs the check while the library loads; a mismatch between
// the protobuf runtime and the headers the library was built with is the
// runtime's fatal error, so a loaded library reports all of its units here.
GCUSCHEMA_API int verified_schema_units();

// The protobuf version the library's generated code was built against.
GCUSCHEMA_API int built_protobuf_version();

namespace internal {
// Called once by each generated unit at load; `unit` names its generated
// source ("config/protobuf/Config.pb"), which the runtime's error names.
GCUSCHEMA_API bool VerifyRuntimeForUnit(const char* unit);
}  // namespace internal

}  // namespace gcuschema

#endif
