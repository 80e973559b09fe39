#include "support/sample_bytes.h"

#include <memory>

#include <gtest/gtest.h>

#include <gcuschema/document/records.h>
#include <gcuschema/document/samples.h>

namespace gcuschema::test {

std::string EncodeRecord(const google::protobuf::Message& record) {
  std::string bytes;
  EXPECT_TRUE(record.SerializePartialToString(&bytes));
  return bytes;
}

std::string SampleBytes(const std::string& type, int inputs, std::uint64_t seed) {
  document::SampleOptions options;
  options.inputs = inputs;
  options.seed = seed;
  std::unique_ptr<google::protobuf::Message> sample =
      document::Sample(document::RequireRecord(type), options);
  if (sample == nullptr) {
    ADD_FAILURE() << "no sample of " << type;
    return "";
  }
  return EncodeRecord(*sample);
}

}  // namespace gcuschema::test
