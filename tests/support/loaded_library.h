#ifndef GCUSCHEMA_TESTS_SUPPORT_LOADED_LIBRARY_H
#define GCUSCHEMA_TESTS_SUPPORT_LOADED_LIBRARY_H

#include <string>

namespace gcuschema::test {

// The address of `symbol` in the export table of the loaded schema library,
// or null when it exports no such name.
const void* LibraryExport(const std::string& symbol);

// The file of the loaded module (shared library or DLL) that holds
// `address`, or empty when no module holds it.
std::string ModuleFileOf(const void* address);

}  // namespace gcuschema::test

#endif
