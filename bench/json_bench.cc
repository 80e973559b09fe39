// Expanded JSON through the companion library: bytes to JSON text and back.
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include <gcuschema/document/io.h>
#include <gcuschema/document/records.h>

#include "register.h"
#include "workloads.h"

namespace gcuschema::bench {
namespace {

void JsonDecode(benchmark::State& state, const Workload* w) {
  const document::WriteOptions options;
  const google::protobuf::Descriptor* type = document::FindRecord(w->record);
  size_t text_size = 0;
  for (auto _ : state) {
    std::unique_ptr<google::protobuf::Message> record = document::NewRecord(type);
    record->ParseFromString(w->bytes);
    std::string text = document::WriteString(*record, document::Format::kJson, options);
    text_size = text.size();
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * w->bytes.size());
  state.counters["json_bytes"] = static_cast<double>(text_size);
}

void JsonEncode(benchmark::State& state, const Workload* w) {
  const document::ReadOptions options{document::Format::kJson};
  const google::protobuf::Descriptor* type = document::FindRecord(w->record);
  std::unique_ptr<google::protobuf::Message> parsed = document::NewRecord(type);
  parsed->ParseFromString(w->bytes);
  const std::string text = document::WriteString(*parsed, document::Format::kJson);
  for (auto _ : state) {
    std::unique_ptr<google::protobuf::Message> record = document::NewRecord(type);
    document::Read(text, record.get(), options);
    std::string bytes = record->SerializeAsString();
    if (bytes.size() != w->bytes.size()) state.SkipWithError("JSON did not give the same bytes");
    benchmark::DoNotOptimize(bytes.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * w->bytes.size());
}

}  // namespace

void RegisterJsonBenchmarks() {
  for (const Workload& w : Workloads()) {
    benchmark::RegisterBenchmark(("json_decode/" + w.name).c_str(), JsonDecode, &w)->UseRealTime();
    benchmark::RegisterBenchmark(("json_encode/" + w.name).c_str(), JsonEncode, &w)->UseRealTime();
  }
}

}  // namespace gcuschema::bench
