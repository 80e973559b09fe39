// Measures, in a fresh process, what loading the library costs: dlopen until
// every schema file is registered, the first descriptor lookup (descriptors
// are built on first use), and one parse of a document for comparison.
// Prints one JSON object. Usage: gcuschema_load_probe DOCUMENT.bin
#include <dlfcn.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

namespace {

using Clock = std::chrono::steady_clock;

double Micros(Clock::time_point a, Clock::time_point b) {
  return std::chrono::duration<double, std::micro>(b - a).count();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s CONFIG_DOCUMENT.bin\n", argv[0]);
    return 2;
  }
  std::ifstream in(argv[1], std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (!in.good() && !in.eof()) {
    std::fprintf(stderr, "cannot read %s\n", argv[1]);
    return 2;
  }
  auto* pool = google::protobuf::DescriptorPool::generated_pool();

  const auto t0 = Clock::now();
  void* library = dlopen(GCUSCHEMA_LIBRARY, RTLD_LAZY | RTLD_GLOBAL);
  const auto t1 = Clock::now();
  if (library == nullptr) {
    std::fprintf(stderr, "dlopen: %s\n", dlerror());
    return 1;
  }
  // Registered at load, but not built: the pool holds the bytes only.
  const bool built_at_load = pool->InternalIsFileLoaded("Config.proto");

  const auto t2 = Clock::now();
  const google::protobuf::Descriptor* type = pool->FindMessageTypeByName("ConfigData");
  const auto t3 = Clock::now();
  if (type == nullptr) {
    std::fprintf(stderr, "ConfigData is not registered\n");
    return 1;
  }
  const google::protobuf::Message* prototype =
      google::protobuf::MessageFactory::generated_factory()->GetPrototype(type);

  const auto t4 = Clock::now();
  std::unique_ptr<google::protobuf::Message> first(prototype->New());
  const bool ok1 = first->ParseFromString(bytes);
  const auto t5 = Clock::now();
  std::unique_ptr<google::protobuf::Message> second(prototype->New());
  const bool ok2 = second->ParseFromString(bytes);
  const auto t6 = Clock::now();
  if (!ok1 || !ok2) {
    std::fprintf(stderr, "the document does not parse\n");
    return 1;
  }
  int files = 0;
  for (const char* name : {"Config.proto", "MapConfig.proto", "CalibrationData.proto",
                           "CalibrationDataLimits.proto", "DeviceData.proto"}) {
    files += pool->FindFileByName(name) != nullptr ? 1 : 0;
  }
  std::printf(
      "{\"dlopen_us\": %.1f, \"descriptors_built_at_load\": %s, \"first_descriptor_us\": %.1f, "
      "\"first_parse_us\": %.1f, \"parse_us\": %.1f, \"document_bytes\": %zu, \"files_found\": %d}\n",
      Micros(t0, t1), built_at_load ? "true" : "false", Micros(t2, t3), Micros(t4, t5),
      Micros(t5, t6), bytes.size(), files);
  return 0;
}
