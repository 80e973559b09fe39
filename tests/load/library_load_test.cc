// The schema library as a host loads it at run time: loading it registers
// every schema file with the protobuf runtime, a record made through the
// runtime's factory encodes to the bytes written out below (on Linux and on
// Windows alike), and on Windows the library unloads and loads again. This
// program links neither the library nor the runtime: what the probe finds in
// the runtime, the library put there while loading.
#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include <iterator>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "probe.h"
#include "schema_file_list.h"

namespace {

#if defined(_WIN32)
using Module = HMODULE;
Module Open(const char* name) { return LoadLibraryA(name); }
bool Close(Module module) { return FreeLibrary(module) != 0; }
void* Symbol(Module module, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(module, name));
}
bool IsLoaded(const char* name) { return GetModuleHandleA(name) != nullptr; }
std::string LastError() { return "Windows error " + std::to_string(GetLastError()); }
#else
using Module = void*;
Module Open(const char* name) { return dlopen(name, RTLD_NOW | RTLD_LOCAL); }
bool Close(Module module) { return dlclose(module) == 0; }
void* Symbol(Module module, const char* name) { return dlsym(module, name); }
bool IsLoaded(const char* name) {
  Module module = dlopen(name, RTLD_NOW | RTLD_NOLOAD);
  if (module != nullptr) dlclose(module);
  return module != nullptr;
}
std::string LastError() {
  const char* error = dlerror();
  return error != nullptr ? error : "no error text";
}
#endif

// The sample document of probe.cc as the records write it: version, the
// input (id -1 as ten bytes, channel -2 zigzag, alias, the map's type,
// maxValue; minValue -0.0 not written; isPreset with a two-byte tag),
// canObjectCount, units, gcuNo, and the CAN router (field 13) last.
const std::vector<unsigned char> kSampleEncoding = {
    0x08, 0x03,
    0x1A, 0x1E,
    0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01,
    0x10, 0x03,
    0x2A, 0x03, 0x4F, 0x69, 0x6C,
    0x3A, 0x02, 0x30, 0x02,
    0x4D, 0x00, 0x00, 0xC0, 0x3F,
    0xA0, 0x01, 0x01,
    0x40, 0x02,
    0x52, 0x02, 0x08, 0x01,
    0x5A, 0x02, 0x47, 0x31,
    0x6A, 0x04, 0x08, 0x01, 0x10, 0x02};

// One load of the library: loads it, then the probe, runs the probe and
// unloads both. Fails the test (and leaves `report` zero) when a step fails.
void LoadRunAndUnload(GcuSchemaProbeReport* report) {
  *report = GcuSchemaProbeReport{};
  Module library = Open(GCUSCHEMA_LIBRARY);
  ASSERT_NE(library, nullptr) << "loading " << GCUSCHEMA_LIBRARY << ": " << LastError();
  Module probe = Open(GCUSCHEMA_LOAD_PROBE);
  ASSERT_NE(probe, nullptr) << "loading " << GCUSCHEMA_LOAD_PROBE << ": " << LastError();
  auto run = reinterpret_cast<GcuSchemaProbeRun>(Symbol(probe, "gcuschema_probe_run"));
  ASSERT_NE(run, nullptr) << "the probe exports no gcuschema_probe_run";
  run(kSchemaFileList, static_cast<int>(std::size(kSchemaFileList)), report);
  EXPECT_TRUE(Close(probe)) << LastError();
  EXPECT_TRUE(Close(library)) << LastError();
}

void ExpectEverythingRegistered(const GcuSchemaProbeReport& report) {
  EXPECT_STREQ(report.error, "");
  EXPECT_EQ(report.files_found, 35);
  EXPECT_EQ(report.records, 68);
  EXPECT_EQ(report.enumerations, 46);
  EXPECT_EQ(report.factory_records, 68);
  const std::vector<unsigned char> encoding(report.encoding,
                                            report.encoding + report.encoding_size);
  EXPECT_EQ(encoding, kSampleEncoding);
}

TEST(LibraryLoadTest, LoadingRegistersEveryFileAndAFactoryRecordEncodesToTheExpectedBytes) {
  ASSERT_EQ(std::size(kSchemaFileList), 35u);
  ASSERT_FALSE(IsLoaded(GCUSCHEMA_LIBRARY)) << "this program must not link the library";
  GcuSchemaProbeReport report;
  LoadRunAndUnload(&report);
  ExpectEverythingRegistered(report);
}

#if defined(_WIN32)
TEST(LibraryLoadTest, UnloadedLibraryLoadsAgainAndRegistersAgain) {
  GcuSchemaProbeReport first;
  LoadRunAndUnload(&first);
  ExpectEverythingRegistered(first);
  EXPECT_FALSE(IsLoaded(GCUSCHEMA_LIBRARY)) << "the library stayed loaded";
  // The runtime came with the library and went with it: the second load
  // registers every file anew in a fresh runtime.
  EXPECT_FALSE(IsLoaded(GCUSCHEMA_RUNTIME_MODULE)) << "the protobuf runtime stayed loaded";

  GcuSchemaProbeReport second;
  LoadRunAndUnload(&second);
  ExpectEverythingRegistered(second);
}
#else
// On Linux the protobuf runtime, once loaded, stays (its unique symbols make
// it undeletable) and keeps what the first load registered: loading the
// library a second time is the runtime's fatal error. Hosts load it once.
TEST(LibraryLoadDeathTest, SecondLoadIntoTheRuntimeThatStayedIsFatal) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  auto load_twice = [] {
    GcuSchemaProbeReport report;
    LoadRunAndUnload(&report);
    // The runtime's fatal error aborts, or throws where the loader lets an
    // exception out of the library's initialisers (a clang build): either
    // way the process ends.
    try {
      LoadRunAndUnload(&report);
    } catch (...) {
      std::abort();
    }
  };
  EXPECT_DEATH(load_twice(), "File already exists in database: AdcConfiguration.proto");
}
#endif

}  // namespace
