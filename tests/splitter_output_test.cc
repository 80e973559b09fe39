// The splitter output's settings: the library's one proto2 record, a packed
// list of output identifiers that keeps and writes back unknown fields.
#include <string>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <gcuschema/SplitterOutputConfig.pb.h>

#include "support/schema_files.h"
#include "support/wire.h"

namespace gcuschema::test {
namespace {

const google::protobuf::UnknownFieldSet& UnknownOf(const SplitterOutputConfigData& record) {
  return record.GetReflection()->GetUnknownFields(record);
}

TEST(SplitterOutputConfigDataTest, EmptyRecordEncodesToNothing) {
  EXPECT_ENCODES(SplitterOutputConfigData(), {});
  SplitterOutputConfigData splitter;
  splitter.add_outputids(1);
  splitter.clear_outputids();
  EXPECT_ENCODES(splitter, {});
}

TEST(SplitterOutputConfigDataTest, ListIsWrittenPacked) {
  SplitterOutputConfigData splitter;
  splitter.add_outputids(3);
  splitter.add_outputids(4);
  EXPECT_ENCODES(splitter, {0x0A, 0x02, 0x03, 0x04});
}

TEST(SplitterOutputConfigDataTest, UnpackedElementsAreRead) {
  SplitterOutputConfigData splitter;
  ASSERT_TRUE(Parse(&splitter, Bytes({0x08, 0x03, 0x08, 0x04})));
  ASSERT_EQ(splitter.outputids_size(), 2);
  EXPECT_EQ(splitter.outputids(0), 3);
  EXPECT_EQ(splitter.outputids(1), 4);
  EXPECT_EQ(UnknownOf(splitter).field_count(), 0);
  EXPECT_ENCODES(splitter, {0x0A, 0x02, 0x03, 0x04});
}

TEST(SplitterOutputConfigDataTest, PackedRunIsRead) {
  SplitterOutputConfigData splitter;
  ASSERT_TRUE(Parse(&splitter, Bytes({0x0A, 0x02, 0x03, 0x04})));
  ASSERT_EQ(splitter.outputids_size(), 2);
  EXPECT_EQ(splitter.outputids(0), 3);
  EXPECT_EQ(splitter.outputids(1), 4);
}

TEST(SplitterOutputConfigDataTest, PackedRunFollowedByUnpackedElementAppendsBoth) {
  SplitterOutputConfigData splitter;
  ASSERT_TRUE(Parse(&splitter, Bytes({0x0A, 0x01, 0x01, 0x08, 0x02})));
  ASSERT_EQ(splitter.outputids_size(), 2);
  EXPECT_EQ(splitter.outputids(0), 1);
  EXPECT_EQ(splitter.outputids(1), 2);
}

// An unpacked element directly followed by a packed run of the same field:
// runtime 3.21 reads the run as a packed run and appends its elements,
// rather than taking its length byte for an element.
TEST(SplitterOutputConfigDataTest, UnpackedThenPackedRunReadsBothPinsRuntime321Behaviour) {
  SplitterOutputConfigData splitter;
  ASSERT_TRUE(Parse(&splitter, Bytes({0x08, 0x03, 0x0A, 0x02, 0x04, 0x05})));
  ASSERT_EQ(splitter.outputids_size(), 3);
  EXPECT_EQ(splitter.outputids(0), 3);
  EXPECT_EQ(splitter.outputids(1), 4);
  EXPECT_EQ(splitter.outputids(2), 5);
  EXPECT_EQ(UnknownOf(splitter).field_count(), 0);
}

TEST(SplitterOutputConfigDataTest, NegativeIdentifierIsATenByteVarint) {
  SplitterOutputConfigData splitter;
  splitter.add_outputids(-1);
  EXPECT_ENCODES(splitter, {0x0A, 0x0A, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01});
  SplitterOutputConfigData back;
  ASSERT_TRUE(Parse(&back, Encode(splitter)));
  ASSERT_EQ(back.outputids_size(), 1);
  EXPECT_EQ(back.outputids(0), -1);
}

TEST(SplitterOutputConfigDataTest, UnknownFieldsAreWrittenBack) {
  SplitterOutputConfigData splitter;
  ASSERT_TRUE(Parse(&splitter, Bytes({0x0A, 0x01, 0x03, 0x10, 0x07})));
  ASSERT_EQ(splitter.outputids_size(), 1);
  EXPECT_EQ(splitter.outputids(0), 3);
  const google::protobuf::UnknownFieldSet& unknown = UnknownOf(splitter);
  ASSERT_EQ(unknown.field_count(), 1);
  EXPECT_EQ(unknown.field(0).number(), 2);
  EXPECT_EQ(unknown.field(0).varint(), 7u);
  // Sized and written: Encode also checks ByteSizeLong against the bytes.
  EXPECT_EQ(splitter.ByteSizeLong(), 5u);
  EXPECT_ENCODES(splitter, {0x0A, 0x01, 0x03, 0x10, 0x07});
}

TEST(SplitterOutputConfigDataTest, UnknownFieldsAreWrittenAfterTheList) {
  SplitterOutputConfigData splitter;
  ASSERT_TRUE(Parse(&splitter, Bytes({0x10, 0x07, 0x0A, 0x01, 0x03})));
  EXPECT_ENCODES(splitter, {0x0A, 0x01, 0x03, 0x10, 0x07});
}

TEST(SplitterOutputConfigDataTest, UnknownFieldsAloneAreWrittenBack) {
  SplitterOutputConfigData splitter;
  ASSERT_TRUE(Parse(&splitter, Bytes({0x1D, 0x01, 0x02, 0x03, 0x04})));
  EXPECT_EQ(splitter.outputids_size(), 0);
  EXPECT_ENCODES(splitter, {0x1D, 0x01, 0x02, 0x03, 0x04});
}

TEST(SplitterOutputConfigDataTest, ListFieldOfAnotherWireTypeIsAnUnknownField) {
  // Field 1 as a fixed32 is not an element of the list.
  SplitterOutputConfigData splitter;
  ASSERT_TRUE(Parse(&splitter, Bytes({0x0D, 0x01, 0x00, 0x00, 0x00})));
  EXPECT_EQ(splitter.outputids_size(), 0);
  ASSERT_EQ(UnknownOf(splitter).field_count(), 1);
  EXPECT_EQ(UnknownOf(splitter).field(0).fixed32(), 1u);
  EXPECT_ENCODES(splitter, {0x0D, 0x01, 0x00, 0x00, 0x00});
}

TEST(SplitterOutputConfigDataTest, MergeAppendsListAndUnknownFields) {
  SplitterOutputConfigData a;
  ASSERT_TRUE(Parse(&a, Bytes({0x08, 0x01, 0x10, 0x07})));
  SplitterOutputConfigData b;
  ASSERT_TRUE(Parse(&b, Bytes({0x08, 0x02, 0x18, 0x09})));
  a.MergeFrom(b);
  ASSERT_EQ(a.outputids_size(), 2);
  EXPECT_EQ(a.outputids(1), 2);
  EXPECT_ENCODES(a, {0x0A, 0x02, 0x01, 0x02, 0x10, 0x07, 0x18, 0x09});
}

TEST(SplitterOutputConfigDataTest, ClearEmptiesListAndUnknownFields) {
  SplitterOutputConfigData splitter;
  ASSERT_TRUE(Parse(&splitter, Bytes({0x0A, 0x02, 0x03, 0x04, 0x10, 0x07})));
  splitter.Clear();
  EXPECT_EQ(splitter.outputids_size(), 0);
  EXPECT_EQ(UnknownOf(splitter).field_count(), 0);
  EXPECT_ENCODES(splitter, {});
}

TEST(SplitterOutputConfigDataTest, HasNoRequiredFields) {
  SplitterOutputConfigData splitter;
  EXPECT_TRUE(splitter.IsInitialized());
  ASSERT_TRUE(Parse(&splitter, Bytes({0x10, 0x07})));
  EXPECT_TRUE(splitter.IsInitialized());
}

TEST(SplitterOutputConfigDataTest, ReflectionReportsAPackedProto2List) {
  const google::protobuf::Descriptor* d = SplitterOutputConfigData::descriptor();
  EXPECT_EQ(d->full_name(), "SplitterOutputConfigData");
  EXPECT_EQ(d->file()->name(), "SplitterOutputConfig.proto");
  EXPECT_EQ(d->file()->syntax(), google::protobuf::FileDescriptor::SYNTAX_PROTO2);
  ASSERT_EQ(d->field_count(), 1);
  const google::protobuf::FieldDescriptor* f = d->field(0);
  EXPECT_EQ(f->name(), "outputIds");
  EXPECT_EQ(f->number(), 1);
  EXPECT_EQ(f->type(), google::protobuf::FieldDescriptor::TYPE_INT32);
  EXPECT_TRUE(f->is_repeated());
  EXPECT_TRUE(f->options().packed());
  EXPECT_TRUE(f->is_packed());

  // The descriptor bytes registered at load name no syntax at all (proto2
  // by default), unlike every proto3 file of the library.
  const google::protobuf::internal::DescriptorTable* table =
      RegistrationOf("SplitterOutputConfig.proto");
  ASSERT_NE(table, nullptr);
  google::protobuf::FileDescriptorProto proto;
  ASSERT_TRUE(proto.ParseFromArray(table->descriptor, table->size));
  EXPECT_FALSE(proto.has_syntax());
  EXPECT_EQ(proto.message_type(0).field(0).label(),
            google::protobuf::FieldDescriptorProto::LABEL_REPEATED);
  EXPECT_TRUE(proto.message_type(0).field(0).options().packed());
}

}  // namespace
}  // namespace gcuschema::test
