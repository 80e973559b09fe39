#include "workloads.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

#include <google/protobuf/descriptor.pb.h>

#include <gcuschema/document/samples.h>

namespace gcuschema::bench {
namespace {

std::vector<Workload> MakeWorkloads() {
  std::vector<Workload> out;
  for (int n : {100, 1000, 10000, 100000}) {
    ConfigData doc;
    document::SampleConfig({n, 1}, &doc);
    out.push_back({"config_" + std::to_string(n), "ConfigData", n, doc.SerializeAsString()});
  }
  DeviceData image;
  document::SampleDeviceData({10000, 1}, &image);
  out.push_back({"device_10000", "DeviceData", 10000, image.SerializeAsString()});
  CalibrationData calibration;
  document::SampleCalibration({24, 1}, &calibration);
  out.push_back({"calibration", "CalibrationData", 0, calibration.SerializeAsString()});
  return out;
}

struct RuntimeSchema {
  google::protobuf::DescriptorPool pool;
  google::protobuf::DynamicMessageFactory factory{&pool};
  RuntimeSchema() {
    std::ifstream in(GCUSCHEMA_SCHEMA_SET, std::ios::binary);
    google::protobuf::FileDescriptorSet set;
    if (!set.ParseFromIstream(&in)) {
      throw std::runtime_error("cannot read the schema descriptor set " GCUSCHEMA_SCHEMA_SET);
    }
    for (const auto& file : set.file()) {
      if (pool.BuildFile(file) == nullptr) throw std::runtime_error("cannot load " + file.name());
    }
  }
};

RuntimeSchema& Schema() {
  static RuntimeSchema schema;
  return schema;
}

}  // namespace

const std::vector<Workload>& Workloads() {
  static const std::vector<Workload> workloads = MakeWorkloads();
  return workloads;
}

const Workload& WorkloadByName(const std::string& name) {
  for (const Workload& w : Workloads()) {
    if (w.name == name) return w;
  }
  throw std::runtime_error("no workload " + name);
}

const google::protobuf::Descriptor* RuntimeLoadedType(const std::string& record) {
  return Schema().pool.FindMessageTypeByName(record);
}

google::protobuf::DynamicMessageFactory& RuntimeFactory() { return Schema().factory; }

}  // namespace gcuschema::bench
