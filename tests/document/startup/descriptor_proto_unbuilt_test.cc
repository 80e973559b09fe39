// A program of its own, so that nothing run before it in the process has
// built anything: the road of a binary or JSON document (a record found by
// name, made, read, written, encoded from JSON) never builds the runtime's
// descriptor.proto, which no schema file needs and which costs a tenth of a
// small document's whole run. (Text format is read by the runtime's own
// parser, whose factory builds it.)
#include <string>

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/document/io.h>
#include <gcuschema/document/records.h>
#include <gcuschema/document/samples.h>

namespace gcuschema::document {
namespace {

bool DescriptorProtoBuilt() {
  return google::protobuf::DescriptorPool::internal_generated_pool()->InternalIsFileLoaded(
      "google/protobuf/descriptor.proto");
}

TEST(DescriptorProtoUnbuilt, DocumentRoadLeavesTheRuntimesOwnDescriptorsUnbuilt) {
  const google::protobuf::Descriptor* type = RequireRecord("ConfigData");
  std::unique_ptr<google::protobuf::Message> sample = Sample(type, SampleOptions{});
  ASSERT_NE(sample, nullptr);
  const std::string binary = WriteString(*sample, Format::kBinary);
  for (const Format format : {Format::kBinary, Format::kJson}) {
    std::unique_ptr<google::protobuf::Message> record = NewRecord(type);
    ASSERT_EQ(Read(WriteString(*sample, format), record.get()), format);
    EXPECT_EQ(WriteString(*record, Format::kBinary), binary);
  }
  WriteOptions plain;
  plain.expand = false;
  std::string encoded;
  Encode(WriteString(*sample, Format::kJson, plain), type, &encoded);
  EXPECT_EQ(encoded, binary);
  // Every record of the library is made without the runtime's factory.
  for (const std::string& name : RecordNames()) {
    EXPECT_NE(NewRecord(FindRecord(name)), nullptr) << name;
  }
  EXPECT_FALSE(DescriptorProtoBuilt());
  // The check can fail: asking the runtime's pool for it builds it.
  ASSERT_NE(google::protobuf::DescriptorPool::generated_pool(), nullptr);
  EXPECT_TRUE(DescriptorProtoBuilt());
}

}  // namespace
}  // namespace gcuschema::document
