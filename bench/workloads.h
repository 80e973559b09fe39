#ifndef GCUSCHEMA_BENCH_WORKLOADS_H
#define GCUSCHEMA_BENCH_WORKLOADS_H

#include <memory>
#include <string>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/dynamic_message.h>

namespace gcuschema::bench {

// One document to measure: its record type and encoded bytes, made once by
// the sample generator.
struct Workload {
  std::string name;          // "config_10000"
  std::string record;        // "ConfigData"
  int inputs = 0;            // inputs of the configuration, 0 when not a document
  std::string bytes;
};

// Workloads by index (stable order: the benchmarks register one per entry).
const std::vector<Workload>& Workloads();
const Workload& WorkloadByName(const std::string& name);

// The schema loaded at run time into a pool of its own, as a program without
// the generated classes would: DynamicMessage prototypes come from here.
const google::protobuf::Descriptor* RuntimeLoadedType(const std::string& record);
google::protobuf::DynamicMessageFactory& RuntimeFactory();

}  // namespace gcuschema::bench

#endif
