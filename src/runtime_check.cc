#include <gcuschema/runtime_check.h>

#include <atomic>

#include <google/protobuf/stubs/common.h>

namespace gcuschema {
namespace {
std::atomic<int> verified_units{0};
}  // namespace

int verified_schema_units() { return verified_units.load(); }

int built_protobuf_version() { return GOOGLE_PROTOBUF_VERSION; }

namespace internal {
bool VerifyRuntimeForUnit(const char* unit) {
  // Aborts through the runtime's version error when the loaded libprotobuf
  // cannot run code generated against these headers.
  google::protobuf::internal::VerifyVersion(
      GOOGLE_PROTOBUF_VERSION, GOOGLE_PROTOBUF_MIN_LIBRARY_VERSION, unit);
  verified_units.fetch_add(1);
  return true;
}
}  // namespace internal

}  // namespace gcuschema
