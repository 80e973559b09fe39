// Records that are not the library's (built in a pool of the host's own)
// go through the JSON reader like the library's: their spare records come
// from a factory of dynamic messages, which must outlive them.
#include <memory>
#include <string>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/dynamic_message.h>
#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>

#include <gcuschema/document/io.h>

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;

// proto2: a repeated number is not packed, which the reader (packing every
// list of numbers) puts right through a record of the type.
const pb::Descriptor* UnpackedRecord(pb::DescriptorPool* pool) {
  pb::FileDescriptorProto file;
  pb::TextFormat::ParseFromString(R"(
    name: "outside.proto"
    message_type {
      name: "Outside"
      field { name: "fixed" number: 4 label: LABEL_REPEATED type: TYPE_SFIXED64 json_name: "fixed" }
    })",
                                  &file);
  return pool->BuildFile(file)->FindMessageTypeByName("Outside");
}

TEST(JsonOutsideRecordsTest, RecordOfAnotherPoolIsEncodedAndRead) {
  pb::DescriptorPool pool;
  const pb::Descriptor* type = UnpackedRecord(&pool);
  ASSERT_NE(type, nullptr);
  ReadOptions options;
  options.format = Format::kJson;
  const std::string expected("\x21\x01\0\0\0\0\0\0\0\x21\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 18);
  std::string encoded;
  Encode(R"({"fixed": [1, "-2"]})", type, &encoded, options);
  EXPECT_EQ(encoded, expected);

  pb::DynamicMessageFactory factory;
  const std::unique_ptr<pb::Message> record(factory.GetPrototype(type)->New());
  Read(R"({"fixed": [1, "-2"]})", record.get(), options);
  EXPECT_EQ(record->SerializeAsString(), expected);
}

}  // namespace
}  // namespace gcuschema::document
