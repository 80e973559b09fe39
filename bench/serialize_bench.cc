// ByteSizeLong + serialize of one parsed document: generated classes against
// DynamicMessage.
#include <memory>
#include <string>

#include <benchmark/benchmark.h>
#include <google/protobuf/message.h>

#include <gcuschema/document/records.h>

#include "register.h"
#include "workloads.h"

namespace gcuschema::bench {
namespace {

void Serialize(benchmark::State& state, const google::protobuf::Message& record, const Workload& w) {
  std::string out(w.bytes.size(), '\0');
  for (auto _ : state) {
    const size_t size = record.ByteSizeLong();
    if (size != w.bytes.size() ||
        !record.SerializeWithCachedSizesToArray(reinterpret_cast<uint8_t*>(&out[0]))) {
      state.SkipWithError("serialize gave other bytes");
    }
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * w.bytes.size());
}

void SerializeGenerated(benchmark::State& state, const Workload* w) {
  std::unique_ptr<google::protobuf::Message> record = document::NewRecord(document::FindRecord(w->record));
  record->ParseFromString(w->bytes);
  Serialize(state, *record, *w);
}

void SerializeDynamic(benchmark::State& state, const Workload* w) {
  std::unique_ptr<google::protobuf::Message> record(
      RuntimeFactory().GetPrototype(RuntimeLoadedType(w->record))->New());
  record->ParseFromString(w->bytes);
  Serialize(state, *record, *w);
}

}  // namespace

void RegisterSerializeBenchmarks() {
  for (const Workload& w : Workloads()) {
    benchmark::RegisterBenchmark(("serialize_generated/" + w.name).c_str(), SerializeGenerated, &w)
        ->UseRealTime();
    benchmark::RegisterBenchmark(("serialize_dynamic/" + w.name).c_str(), SerializeDynamic, &w)
        ->UseRealTime();
  }
}

}  // namespace gcuschema::bench
