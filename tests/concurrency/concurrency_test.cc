// Records from many threads at once. ctest runs each test in a process of its
// own, so FirstUse meets a library that nothing has used yet (it checks that
// it does); run as one binary it must stay the first test, hence one file.
#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/generated_message_reflection.h>
#include <google/protobuf/message.h>
#include <google/protobuf/text_format.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include "library_types.h"
#include "support/populate.h"
#include "support/schema_files.h"

namespace gcuschema::test {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::DescriptorPool;
using google::protobuf::EnumDescriptor;
using google::protobuf::Message;
using google::protobuf::MessageFactory;

constexpr int kThreads = 16;

// Every record class and enumeration of the library, by its own static
// functions (the list is generated from the library's headers).
struct RecordType {
  const char* class_name;
  const char* full_name;
  const Descriptor* (*descriptor)();
  const Message* (*default_instance)();
};
struct EnumerationType {
  const char* name;
  const EnumDescriptor* (*descriptor)();
};

#define GCUSCHEMA_RECORD(Class, FullName) \
  {#Class, FullName, [] { return Class::descriptor(); }, [] { return static_cast<const Message*>(&Class::default_instance()); }},
#define GCUSCHEMA_ENUMERATION(Type)
const RecordType kRecords[] = {
#include "library_types.inc"
};
#undef GCUSCHEMA_RECORD
#undef GCUSCHEMA_ENUMERATION

#define GCUSCHEMA_RECORD(Class, FullName)
#define GCUSCHEMA_ENUMERATION(Type) {#Type, &Type##_descriptor},
const EnumerationType kEnumerations[] = {
#include "library_types.inc"
};
#undef GCUSCHEMA_RECORD
#undef GCUSCHEMA_ENUMERATION

constexpr int kRecordCount = static_cast<int>(std::size(kRecords));
constexpr int kEnumerationCount = static_cast<int>(std::size(kEnumerations));

// Holds every thread until all of them are waiting, then lets them go at
// once, so that the first calls really overlap.
class StartGate {
 public:
  explicit StartGate(int threads) : expected_(threads) {}
  void Wait() {
    std::unique_lock<std::mutex> lock(mutex_);
    if (++waiting_ == expected_) {
      open_ = true;
      cv_.notify_all();
    } else {
      cv_.wait(lock, [this] { return open_; });
    }
  }

 private:
  std::mutex mutex_;
  std::condition_variable cv_;
  int expected_;
  int waiting_ = 0;
  bool open_ = false;
};

template <class Body>
void RunThreads(Body body) {
  StartGate gate(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&gate, &body, t] {
      gate.Wait();
      body(t);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

// Descriptors are assigned lazily per schema file; a file whose first
// metadata slot is still empty has not been used reflectively yet.
int FilesWithAssignedDescriptors() {
  int assigned = 0;
  for (const std::string& file : SchemaFiles()) {
    const google::protobuf::internal::DescriptorTable* table = RegistrationOf(file);
    if (table != nullptr && table->num_messages > 0 &&
        table->file_level_metadata[0].descriptor != nullptr) {
      ++assigned;
    }
  }
  return assigned;
}

std::string ClassNameOf(const std::string& full_name) {
  std::string out = full_name;
  std::replace(out.begin(), out.end(), '.', '_');
  return out;
}

TEST(FirstUse, SixteenThreadsGetOneObjectPerRecordAndEnumeration) {
  ASSERT_EQ(kRecordCount, 68);
  ASSERT_EQ(kEnumerationCount, 46);
  for (const std::string& file : SchemaFiles()) {
    ASSERT_NE(RegistrationOf(file), nullptr) << file;
  }
  // The point of the test: nothing in this process has used the library.
  ASSERT_EQ(FilesWithAssignedDescriptors(), 0);

  struct Seen {
    std::vector<const Descriptor*> descriptor, pooled;
    std::vector<const Message*> default_instance, prototype;
    std::vector<const EnumDescriptor*> enumeration;
  };
  std::vector<Seen> seen(kThreads);
  for (Seen& s : seen) {
    s.descriptor.assign(kRecordCount, nullptr);
    s.pooled.assign(kRecordCount, nullptr);
    s.default_instance.assign(kRecordCount, nullptr);
    s.prototype.assign(kRecordCount, nullptr);
    s.enumeration.assign(kEnumerationCount, nullptr);
  }

  RunThreads([&](int t) {
    Seen& s = seen[t];
    // Threads start at different records and take the entry points in
    // different orders, so that descriptor assignment, the pool's lazy
    // building and the factory's registration race each other.
    const int start = t * 7;
    auto enumerations = [&] {
      for (int k = 0; k < kEnumerationCount; ++k) {
        const int i = (start + k) % kEnumerationCount;
        s.enumeration[i] = kEnumerations[i].descriptor();
      }
    };
    if (t % 3 == 2) enumerations();
    for (int k = 0; k < kRecordCount; ++k) {
      const int i = (start + k) % kRecordCount;
      const RecordType& r = kRecords[i];
      if (t % 3 == 1) {
        s.pooled[i] = DescriptorPool::generated_pool()->FindMessageTypeByName(r.full_name);
        s.prototype[i] = MessageFactory::generated_factory()->GetPrototype(s.pooled[i]);
        s.default_instance[i] = r.default_instance();
        s.descriptor[i] = r.descriptor();
      } else {
        s.descriptor[i] = r.descriptor();
        s.default_instance[i] = r.default_instance();
        s.prototype[i] = MessageFactory::generated_factory()->GetPrototype(s.descriptor[i]);
        s.pooled[i] = DescriptorPool::generated_pool()->FindMessageTypeByName(r.full_name);
      }
    }
    if (t % 3 != 2) enumerations();
  });

  for (int i = 0; i < kRecordCount; ++i) {
    const RecordType& r = kRecords[i];
    const Descriptor* d = seen[0].descriptor[i];
    ASSERT_NE(d, nullptr) << r.class_name;
    EXPECT_EQ(d->full_name(), r.full_name);
    EXPECT_EQ(ClassNameOf(d->full_name()), r.class_name);
    EXPECT_EQ(seen[0].default_instance[i]->GetDescriptor(), d) << r.class_name;
    // The generated factory hands out the default instance as prototype.
    EXPECT_EQ(seen[0].prototype[i], seen[0].default_instance[i]) << r.class_name;
    for (int t = 0; t < kThreads; ++t) {
      EXPECT_EQ(seen[t].descriptor[i], d) << r.class_name << " thread " << t;
      EXPECT_EQ(seen[t].pooled[i], d) << r.class_name << " thread " << t;
      EXPECT_EQ(seen[t].default_instance[i], seen[0].default_instance[i])
          << r.class_name << " thread " << t;
      EXPECT_EQ(seen[t].prototype[i], seen[0].prototype[i]) << r.class_name << " thread " << t;
    }
  }
  for (int i = 0; i < kEnumerationCount; ++i) {
    const EnumDescriptor* e = seen[0].enumeration[i];
    ASSERT_NE(e, nullptr) << kEnumerations[i].name;
    EXPECT_EQ(ClassNameOf(e->full_name()), kEnumerations[i].name);
    for (int t = 0; t < kThreads; ++t) {
      EXPECT_EQ(seen[t].enumeration[i], e) << kEnumerations[i].name << " thread " << t;
    }
  }
  // Every file's descriptors were assigned on the way, exactly into the
  // slots the classes read.
  EXPECT_EQ(FilesWithAssignedDescriptors(), static_cast<int>(SchemaFiles().size()));
}

// One populated document shared by all threads, which only read it: copy it,
// compare with it, print it and walk it by reflection.
TEST(SharedRecord, SixteenReadersWhileNoneWrites) {
  const Descriptor* d = DescriptorPool::generated_pool()->FindMessageTypeByName("ConfigData");
  ASSERT_NE(d, nullptr);
  std::unique_ptr<Message> shared(MessageFactory::generated_factory()->GetPrototype(d)->New());
  PopulateEveryField(shared.get(), 3);
  // Computed before the threads start: encoding caches sizes, a write.
  const std::string expected_bytes = shared->SerializeAsString();
  std::string expected_text;
  ASSERT_TRUE(google::protobuf::TextFormat::PrintToString(*shared, &expected_text));
  ASSERT_FALSE(expected_bytes.empty());

  constexpr int kRounds = 40;
  std::vector<int> mismatches(kThreads, 0);
  const Message& reader = *shared;
  RunThreads([&](int t) {
    for (int round = 0; round < kRounds; ++round) {
      std::unique_ptr<Message> copy(reader.New());
      copy->CopyFrom(reader);
      if (copy->SerializeAsString() != expected_bytes) ++mismatches[t];
      if (!google::protobuf::util::MessageDifferencer::Equals(*copy, reader)) ++mismatches[t];
      std::string text;
      google::protobuf::TextFormat::PrintToString(reader, &text);
      if (text != expected_text) ++mismatches[t];
      std::vector<const google::protobuf::FieldDescriptor*> fields;
      reader.GetReflection()->ListFields(reader, &fields);
      if (static_cast<int>(fields.size()) != d->field_count()) ++mismatches[t];
    }
  });
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(mismatches[t], 0) << "thread " << t;
  // The readers left it as it was.
  EXPECT_EQ(shared->SerializeAsString(), expected_bytes);
}

// Every thread builds, encodes and parses records of every type of its own,
// at the same time; each gets what one thread alone gets.
TEST(ParallelRecords, SixteenThreadsParseAndEncodeTheirOwnRecords) {
  const std::vector<const Descriptor*> records = AllRecords();
  ASSERT_EQ(static_cast<int>(records.size()), kRecordCount);
  // Expected encodings, made on this thread first: record r with seed t.
  std::vector<std::vector<std::string>> expected(kThreads);
  for (int t = 0; t < kThreads; ++t) {
    for (const Descriptor* d : records) {
      std::unique_ptr<Message> record(MessageFactory::generated_factory()->GetPrototype(d)->New());
      PopulateEveryField(record.get(), t + 1);
      expected[t].push_back(record->SerializeAsString());
    }
  }

  std::vector<std::vector<std::string>> failures(kThreads);
  RunThreads([&](int t) {
    for (size_t k = 0; k < records.size(); ++k) {
      const size_t i = (k + static_cast<size_t>(t) * 5) % records.size();
      const Message* prototype = MessageFactory::generated_factory()->GetPrototype(records[i]);
      std::unique_ptr<Message> built(prototype->New());
      PopulateEveryField(built.get(), t + 1);
      const std::string bytes = built->SerializeAsString();
      std::unique_ptr<Message> parsed(prototype->New());
      if (bytes != expected[t][i]) {
        failures[t].push_back(records[i]->full_name() + ": encoding differs");
      } else if (!parsed->ParseFromString(bytes)) {
        failures[t].push_back(records[i]->full_name() + ": does not parse");
      } else if (parsed->SerializeAsString() != bytes) {
        failures[t].push_back(records[i]->full_name() + ": re-encoding differs");
      }
    }
  });
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_TRUE(failures[t].empty()) << "thread " << t << ": " << failures[t].front();
  }
}

}  // namespace
}  // namespace gcuschema::test
