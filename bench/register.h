#ifndef GCUSCHEMA_BENCH_REGISTER_H
#define GCUSCHEMA_BENCH_REGISTER_H

namespace gcuschema::bench {

// Each registers its benchmarks for every workload it applies to.
void RegisterParseBenchmarks();
void RegisterSerializeBenchmarks();
void RegisterDeepDecodeBenchmarks();
void RegisterJsonBenchmarks();

}  // namespace gcuschema::bench

#endif
