// The whole road of a configuration document: the document, then every
// input's and output's config into its settings record, chosen by type code.
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>
#include <google/protobuf/arena.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/document/pairing.h>
#include <gcuschema/document/records.h>

#include "register.h"
#include "workloads.h"

namespace gcuschema::bench {
namespace {

using google::protobuf::Arena;
using google::protobuf::Message;

const document::PairingCatalogue& Pairing() {
  static const document::PairingCatalogue pairing = document::PairingCatalogue::Standard();
  return pairing;
}

// Decodes the entries' settings of one document; heap records are kept in
// `owned` so that heap and arena runs hold the same records alive.
template <class Entries>
int DecodeEntries(const Entries& entries, document::EntryKind kind, Arena* arena,
                  std::vector<std::unique_ptr<Message>>* owned) {
  int decoded = 0;
  for (const auto& entry : entries) {
    const google::protobuf::Descriptor* type = Pairing().Find(kind, entry.type());
    if (type == nullptr) continue;
    Message* settings;
    if (arena != nullptr) {
      settings = document::NewRecord(type, arena);
    } else {
      owned->push_back(document::NewRecord(type));
      settings = owned->back().get();
    }
    decoded += settings->ParseFromString(entry.config()) ? 1 : 0;
  }
  return decoded;
}

int DeepDecode(const std::string& bytes, Arena* arena, std::vector<std::unique_ptr<Message>>* owned) {
  ConfigData* document;
  std::unique_ptr<ConfigData> heap_document;
  if (arena != nullptr) {
    document = Arena::CreateMessage<ConfigData>(arena);
  } else {
    heap_document = std::make_unique<ConfigData>();
    document = heap_document.get();
  }
  if (!document->ParseFromString(bytes)) return -1;
  return DecodeEntries(document->inputs(), document::EntryKind::kInput, arena, owned) +
         DecodeEntries(document->outputs(), document::EntryKind::kOutput, arena, owned);
}

void DeepDecodeHeap(benchmark::State& state, const Workload* w) {
  for (auto _ : state) {
    std::vector<std::unique_ptr<Message>> owned;
    owned.reserve(w->inputs * 2);
    benchmark::DoNotOptimize(DeepDecode(w->bytes, nullptr, &owned));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * w->bytes.size());
}

void DeepDecodeArena(benchmark::State& state, const Workload* w) {
  google::protobuf::ArenaOptions options;
  options.start_block_size = std::max<size_t>(4096, 2 * w->bytes.size());
  options.max_block_size = std::max<size_t>(1 << 20, 4 * w->bytes.size());
  for (auto _ : state) {
    Arena arena(options);
    benchmark::DoNotOptimize(DeepDecode(w->bytes, &arena, nullptr));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * w->bytes.size());
}

}  // namespace

void RegisterDeepDecodeBenchmarks() {
  for (const Workload& w : Workloads()) {
    if (w.record != "ConfigData") continue;
    benchmark::RegisterBenchmark(("deep_decode_heap/" + w.name).c_str(), DeepDecodeHeap, &w)
        ->UseRealTime();
    benchmark::RegisterBenchmark(("deep_decode_arena/" + w.name).c_str(), DeepDecodeArena, &w)
        ->UseRealTime();
  }
}

}  // namespace gcuschema::bench
