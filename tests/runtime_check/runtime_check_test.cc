// The library's own load-time check of the protobuf runtime, run by a
// generated unit as it loads: accepted with the runtime the unit was built
// for, fatal (naming the unit) with a runtime older than its headers demand.
#include <dlfcn.h>

#include <gtest/gtest.h>

namespace gcuschema::test {
namespace {

// gcuschema::verified_schema_units(), by its mangled name: the test links
// no library that declares it.
constexpr char kVerifiedUnits[] = "_ZN9gcuschema21verified_schema_unitsEv";

TEST(RuntimeCheckTest, UnitLoadsWithTheRuntimeItWasBuiltFor) {
  void* module = ::dlopen(GCUSCHEMA_UNIT_CURRENT_RUNTIME, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(module, nullptr) << ::dlerror();
  auto verified_units = reinterpret_cast<int (*)()>(::dlsym(module, kVerifiedUnits));
  ASSERT_NE(verified_units, nullptr) << ::dlerror();
  EXPECT_EQ(verified_units(), 1);
}

TEST(RuntimeCheckDeathTest, RuntimeOlderThanTheUnitsHeadersDemandIsFatalAndNamesTheUnit) {
  // A fresh process: nothing else has registered the unit's schema file.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(::dlopen(GCUSCHEMA_UNIT_NEWER_HEADERS, RTLD_NOW | RTLD_LOCAL),
               "This program requires version 4\\.[0-9.]+ of the Protocol Buffer runtime library, but the "
               "installed version is 3\\.[0-9.]+\\..*Version verification failed in "
               "\"config/protobuf/RbcInputConfigData\\.pb\"");
}

}  // namespace
}  // namespace gcuschema::test
