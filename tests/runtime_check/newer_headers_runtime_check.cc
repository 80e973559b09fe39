// The library's load-time check (src/runtime_check.cc) as it is built
// against protobuf headers that demand a runtime one major version newer
// than the one installed: every unit it serves must refuse to load.
#include <google/protobuf/stubs/common.h>

#undef GOOGLE_PROTOBUF_MIN_LIBRARY_VERSION
#define GOOGLE_PROTOBUF_MIN_LIBRARY_VERSION (GOOGLE_PROTOBUF_VERSION + 1000000)

#include "../../src/runtime_check.cc"
