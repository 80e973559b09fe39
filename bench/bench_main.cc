// Benchmarks are registered per workload at run time, after the sample
// documents are made, so every benchmark of a run measures the same bytes.
#include <benchmark/benchmark.h>

#include "register.h"
#include "workloads.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  for (const auto& w : gcuschema::bench::Workloads()) {
    benchmark::AddCustomContext("bytes_" + w.name, std::to_string(w.bytes.size()));
  }
  gcuschema::bench::RegisterParseBenchmarks();
  gcuschema::bench::RegisterSerializeBenchmarks();
  gcuschema::bench::RegisterDeepDecodeBenchmarks();
  gcuschema::bench::RegisterJsonBenchmarks();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
