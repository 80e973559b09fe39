// Parsing one document: into a heap record, into an arena record, and with
// DynamicMessage from the schema loaded at run time.
#include <memory>

#include <benchmark/benchmark.h>
#include <google/protobuf/arena.h>
#include <google/protobuf/message.h>

#include <gcuschema/document/records.h>

#include "register.h"
#include "workloads.h"

namespace gcuschema::bench {
namespace {

void Account(benchmark::State& state, const Workload& w) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * w.bytes.size());
  if (w.inputs > 0) {
    state.counters["ns_per_input"] = benchmark::Counter(
        static_cast<double>(w.inputs) * state.iterations(),
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  }
}

void ParseHeap(benchmark::State& state, const Workload* w) {
  const google::protobuf::Descriptor* type = document::FindRecord(w->record);
  for (auto _ : state) {
    std::unique_ptr<google::protobuf::Message> record = document::NewRecord(type);
    if (!record->ParseFromString(w->bytes)) state.SkipWithError("parse failed");
    benchmark::DoNotOptimize(record.get());
  }
  Account(state, *w);
}

void ParseArena(benchmark::State& state, const Workload* w) {
  const google::protobuf::Descriptor* type = document::FindRecord(w->record);
  google::protobuf::ArenaOptions options;
  // Start with a block in proportion to the document: a parse then takes few
  // blocks whatever the size.
  options.start_block_size = std::max<size_t>(4096, w->bytes.size());
  options.max_block_size = std::max<size_t>(1 << 20, 2 * w->bytes.size());
  for (auto _ : state) {
    google::protobuf::Arena arena(options);
    google::protobuf::Message* record = document::NewRecord(type, &arena);
    if (!record->ParseFromString(w->bytes)) state.SkipWithError("parse failed");
    benchmark::DoNotOptimize(record);
  }
  Account(state, *w);
}

void ParseDynamic(benchmark::State& state, const Workload* w) {
  const google::protobuf::Message* prototype =
      RuntimeFactory().GetPrototype(RuntimeLoadedType(w->record));
  for (auto _ : state) {
    std::unique_ptr<google::protobuf::Message> record(prototype->New());
    if (!record->ParseFromString(w->bytes)) state.SkipWithError("parse failed");
    benchmark::DoNotOptimize(record.get());
  }
  Account(state, *w);
}

}  // namespace

void RegisterParseBenchmarks() {
  for (const Workload& w : Workloads()) {
    benchmark::RegisterBenchmark(("parse_heap/" + w.name).c_str(), ParseHeap, &w)->UseRealTime();
    benchmark::RegisterBenchmark(("parse_arena/" + w.name).c_str(), ParseArena, &w)->UseRealTime();
    benchmark::RegisterBenchmark(("parse_dynamic/" + w.name).c_str(), ParseDynamic, &w)->UseRealTime();
  }
}

}  // namespace gcuschema::bench
