#include "support/loaded_library.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include <gcuschema/runtime_check.h>

namespace gcuschema::test {

#if defined(_WIN32)

namespace {
// The module holding one of the library's functions: with dllimport its
// address is the function in the DLL, not a stub in this program.
HMODULE ModuleHolding(const void* address) {
  HMODULE module = nullptr;
  const DWORD flags =
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  if (!GetModuleHandleExA(flags, static_cast<LPCSTR>(address), &module)) return nullptr;
  return module;
}
}  // namespace

const void* LibraryExport(const std::string& symbol) {
  HMODULE library = ModuleHolding(reinterpret_cast<const void*>(&verified_schema_units));
  if (library == nullptr) return nullptr;
  return reinterpret_cast<const void*>(GetProcAddress(library, symbol.c_str()));
}

std::string ModuleFileOf(const void* address) {
  HMODULE module = address == nullptr ? nullptr : ModuleHolding(address);
  if (module == nullptr) return std::string();
  char path[MAX_PATH];
  const DWORD n = GetModuleFileNameA(module, path, sizeof path);
  if (n == 0 || n == sizeof path) return std::string();
  return std::string(path, n);
}

#else

const void* LibraryExport(const std::string& symbol) {
  return dlsym(RTLD_DEFAULT, symbol.c_str());
}

std::string ModuleFileOf(const void* address) {
  Dl_info info{};
  if (address == nullptr || dladdr(address, &info) == 0 || info.dli_fname == nullptr) {
    return std::string();
  }
  return info.dli_fname;
}

#endif

}  // namespace gcuschema::test
