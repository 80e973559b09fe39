// The record contract, checked through reflection on every record of every
// schema file of the library: a new schema file is covered without an edit.
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <gtest/gtest.h>

#include "support/populate.h"
#include "support/schema_files.h"
#include "support/wire.h"

namespace gcuschema::test {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::Message;
using google::protobuf::MessageFactory;

std::vector<std::string> RecordNames() {
  std::vector<std::string> names;
  for (const Descriptor* d : AllRecords()) names.push_back(d->full_name());
  return names;
}

class RecordSweepTest : public ::testing::TestWithParam<std::string> {
 protected:
  const Message& Prototype() {
    const Descriptor* d =
        google::protobuf::DescriptorPool::generated_pool()->FindMessageTypeByName(GetParam());
    EXPECT_NE(d, nullptr);
    const Message* prototype = MessageFactory::generated_factory()->GetPrototype(d);
    EXPECT_NE(prototype, nullptr);
    return *prototype;
  }
  std::unique_ptr<Message> Populated() {
    std::unique_ptr<Message> record(Prototype().New());
    PopulateEveryField(record.get());
    return record;
  }
};

TEST_P(RecordSweepTest, DescriptorFromEightThreadsIsOneObject) {
  const Descriptor* d =
      google::protobuf::DescriptorPool::generated_pool()->FindMessageTypeByName(GetParam());
  ASSERT_NE(d, nullptr);
  std::vector<const Descriptor*> seen(8, nullptr);
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, i] {
      seen[i] = MessageFactory::generated_factory()->GetPrototype(d)->GetDescriptor();
    });
  }
  for (std::thread& t : threads) t.join();
  for (const Descriptor* s : seen) EXPECT_EQ(s, d);
}

TEST_P(RecordSweepTest, DefaultInstanceEncodesToNothing) {
  EXPECT_EQ(Prototype().ByteSizeLong(), 0u);
  EXPECT_EQ(Encode(Prototype()), "");
}

TEST_P(RecordSweepTest, PopulatedRecordRoundTripsByteForByte) {
  std::unique_ptr<Message> record = Populated();
  const std::string bytes = Encode(*record);
  // Only a record without fields (a placeholder settings record) is empty.
  ASSERT_EQ(bytes.empty(), record->GetDescriptor()->field_count() == 0);
  EXPECT_EQ(record->ByteSizeLong(), bytes.size());
  std::unique_ptr<Message> parsed(Prototype().New());
  ASSERT_TRUE(parsed->ParseFromString(bytes));
  EXPECT_EQ(Hex(Encode(*parsed)), Hex(bytes));
  // Every field was set, and every one survives.
  const Descriptor* d = record->GetDescriptor();
  for (int i = 0; i < d->field_count(); ++i) {
    const auto* f = d->field(i);
    if (f->is_repeated()) {
      EXPECT_EQ(parsed->GetReflection()->FieldSize(*parsed, f), 2) << f->full_name();
    } else {
      EXPECT_TRUE(parsed->GetReflection()->HasField(*parsed, f)) << f->full_name();
    }
  }
}

TEST_P(RecordSweepTest, ClearReturnsToNothing) {
  std::unique_ptr<Message> record = Populated();
  record->Clear();
  EXPECT_EQ(Encode(*record), "");
}

TEST_P(RecordSweepTest, CopyFromItselfAndSwapWithItselfChangeNothing) {
  std::unique_ptr<Message> record = Populated();
  const std::string before = Encode(*record);
  record->CopyFrom(*record);
  EXPECT_EQ(Hex(Encode(*record)), Hex(before));
  record->GetReflection()->Swap(record.get(), record.get());
  EXPECT_EQ(Hex(Encode(*record)), Hex(before));
}

TEST_P(RecordSweepTest, MergingTheDefaultInstanceChangesNothing) {
  std::unique_ptr<Message> record = Populated();
  const std::string before = Encode(*record);
  record->MergeFrom(Prototype());
  EXPECT_EQ(Hex(Encode(*record)), Hex(before));
  std::unique_ptr<Message> empty(Prototype().New());
  empty->MergeFrom(Prototype());
  EXPECT_EQ(Encode(*empty), "");
}

TEST_P(RecordSweepTest, IsInitializedInEveryState) {
  EXPECT_TRUE(Prototype().IsInitialized());
  std::unique_ptr<Message> record = Populated();
  EXPECT_TRUE(record->IsInitialized());
  record->Clear();
  EXPECT_TRUE(record->IsInitialized());
}

TEST_P(RecordSweepTest, CopyGivesTheSameBytes) {
  std::unique_ptr<Message> record = Populated();
  std::unique_ptr<Message> copy(Prototype().New());
  copy->CopyFrom(*record);
  EXPECT_EQ(Hex(Encode(*copy)), Hex(Encode(*record)));
}

std::string TestName(const ::testing::TestParamInfo<std::string>& info) {
  std::string name = info.param;
  for (char& c : name) if (c == '.') c = '_';
  return name;
}

INSTANTIATE_TEST_SUITE_P(EveryRecord, RecordSweepTest, ::testing::ValuesIn(RecordNames()), TestName);

}  // namespace
}  // namespace gcuschema::test
