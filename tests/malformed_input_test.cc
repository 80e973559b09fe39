// Malformed and hostile input, for every record of the library (found by
// reflection, so a new schema file is covered without an edit): truncation,
// bit flips, lengths that lie, over-long varints, nesting past the runtime's
// recursion limit and invalid UTF-8 in every checked string. A parse either
// fails cleanly (returns false, the record stays usable) or yields a record
// that encodes, re-parses and encodes to the same bytes again.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/message.h>
#include <google/protobuf/stubs/logging.h>
#include <google/protobuf/wire_format.h>
#include <google/protobuf/wire_format_lite.h>
#include <gtest/gtest.h>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/MapConfig.pb.h>

#include "support/populate.h"
#include "support/schema_files.h"
#include "support/runtime_log.h"
#include "support/wire.h"

namespace gcuschema::test {
namespace {

using google::protobuf::Descriptor;
using google::protobuf::DescriptorPool;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::MessageFactory;
using google::protobuf::internal::WireFormat;
using WFL = google::protobuf::internal::WireFormatLite;

// A field number that no record of the library has (checked below).
constexpr int kUnknownField = 4000;

std::string Varint(std::uint64_t v) {
  std::string out;
  do {
    unsigned char b = v & 0x7F;
    v >>= 7;
    if (v != 0) b |= 0x80;
    out.push_back(static_cast<char>(b));
  } while (v != 0);
  return out;
}

std::string Tag(int number, WFL::WireType type) { return Varint(WFL::MakeTag(number, type)); }

std::string LengthDelimited(int number, const std::string& payload) {
  return Tag(number, WFL::WIRETYPE_LENGTH_DELIMITED) + Varint(payload.size()) + payload;
}

std::unique_ptr<Message> NewRecord(const Descriptor* d) {
  return std::unique_ptr<Message>(MessageFactory::generated_factory()->GetPrototype(d)->New());
}

std::vector<std::string> RecordNames() {
  std::vector<std::string> names;
  for (const Descriptor* d : AllRecords()) names.push_back(d->full_name());
  return names;
}

std::string TestName(const ::testing::TestParamInfo<std::string>& info) {
  std::string name = info.param;
  for (char& c : name) {
    if (c == '.') c = '_';
  }
  return name;
}

// Parses the bytes twice: from one flat block, and through a stream that
// hands them over one byte at a time (the runtime's other reading path).
// Both must agree; returns the result.
bool ParseBothWays(Message* record, const std::string& bytes) {
  const bool flat = record->ParseFromString(bytes);
  std::unique_ptr<Message> streamed(record->New());
  google::protobuf::io::ArrayInputStream one_byte_blocks(bytes.data(),
                                                         static_cast<int>(bytes.size()), 1);
  const bool chunked = streamed->ParseFromZeroCopyStream(&one_byte_blocks);
  EXPECT_EQ(flat, chunked) << record->GetTypeName() << " " << Hex(bytes);
  return flat;
}

// What a successful parse must give: a record that encodes, whose size is
// what was written, and whose encoding parses and encodes to itself.
void ExpectReencodes(const Message& record, const std::string& context) {
  const size_t size = record.ByteSizeLong();
  std::string first;
  ASSERT_TRUE(record.SerializeToString(&first)) << context;
  EXPECT_EQ(first.size(), size) << context;
  std::unique_ptr<Message> again(record.New());
  ASSERT_TRUE(again->ParseFromString(first)) << context;
  std::string second;
  ASSERT_TRUE(again->SerializeToString(&second)) << context;
  EXPECT_EQ(Hex(second), Hex(first)) << context;
}

// A failed parse leaves a record that can be cleared and used again.
void ExpectFailsCleanly(Message* record, const std::string& bytes, const std::string& context) {
  EXPECT_FALSE(ParseBothWays(record, bytes)) << context << ": " << Hex(bytes);
  record->Clear();
  EXPECT_EQ(record->ByteSizeLong(), 0u) << context;
  EXPECT_TRUE(record->ParseFromString(std::string())) << context;
}

// A configuration document as a host writes it: settings records encoded in
// the entries' config, a linearization, every other field set.
std::string HandBuiltDocument() {
  ConfigData document;
  PopulateEveryField(&document, 2);
  AdcConfiguration adc;
  PopulateEveryField(&adc, 3);
  Map3D table;
  PopulateEveryField(&table, 4);
  for (Input& input : *document.mutable_inputs()) {
    input.set_type(Input::AdcInput);
    input.set_config(adc.SerializeAsString());
    input.mutable_linearization()->set_config(table.SerializeAsString());
  }
  for (Map& map : *document.mutable_maps()) map.set_config(table.SerializeAsString());
  return document.SerializeAsString();
}

class MalformedRecordTest : public ::testing::TestWithParam<std::string> {
 protected:
  const Descriptor* Type() {
    const Descriptor* d = DescriptorPool::generated_pool()->FindMessageTypeByName(GetParam());
    EXPECT_NE(d, nullptr) << GetParam();
    return d;
  }
  std::string PopulatedBytes() {
    std::unique_ptr<Message> record = NewRecord(Type());
    PopulateEveryField(record.get());
    return record->SerializeAsString();
  }
};

TEST_P(MalformedRecordTest, EveryPrefixFailsOrReencodes) {
  const std::string bytes = PopulatedBytes();
  std::unique_ptr<Message> record = NewRecord(Type());
  int failed = 0;
  for (size_t n = 0; n <= bytes.size(); ++n) {
    const std::string prefix = bytes.substr(0, n);
    if (ParseBothWays(record.get(), prefix)) {
      ExpectReencodes(*record, GetParam() + " prefix " + std::to_string(n));
    } else {
      ++failed;
    }
  }
  // The whole encoding parses; cut anywhere inside its last field it does not.
  ASSERT_TRUE(record->ParseFromString(bytes));
  if (!bytes.empty()) {
    EXPECT_FALSE(record->ParseFromString(bytes.substr(0, bytes.size() - 1)));
    EXPECT_GT(failed, 0);
  }
}

TEST_P(MalformedRecordTest, LengthsThatRunPastTheEndFail) {
  const Descriptor* d = Type();
  std::unique_ptr<Message> record = NewRecord(d);
  // Every length-delimited form the record reads, and one unknown field.
  std::vector<std::pair<std::string, int>> targets = {{"unknown field", kUnknownField}};
  for (int i = 0; i < d->field_count(); ++i) {
    const FieldDescriptor* f = d->field(i);
    if (f->is_packable() ||
        WireFormat::WireTypeForFieldType(f->type()) == WFL::WIRETYPE_LENGTH_DELIMITED) {
      targets.emplace_back(f->full_name(), f->number());
    }
  }
  for (const auto& [name, number] : targets) {
    const std::string tag = Tag(number, WFL::WIRETYPE_LENGTH_DELIMITED);
    // One byte short of the announced length.
    ExpectFailsCleanly(record.get(), tag + Varint(5) + "\x01\x02\x03\x04", name + " short by one");
    // Lengths beyond what the runtime accepts at all: 2^31, 2^32 - 1, and -1
    // written as a ten-byte varint.
    ExpectFailsCleanly(record.get(), tag + Varint(0x80000000u), name + " 2^31");
    ExpectFailsCleanly(record.get(), tag + Varint(0xFFFFFFFFu), name + " 2^32-1");
    ExpectFailsCleanly(record.get(), tag + Varint(~std::uint64_t{0}), name + " -1");
    // After a well-formed field of the record.
    ExpectFailsCleanly(record.get(), PopulatedBytes() + tag + Varint(1000) + "abc",
                       name + " after a whole record");
  }
}

TEST_P(MalformedRecordTest, VarintOfElevenBytesFails) {
  const Descriptor* d = Type();
  std::unique_ptr<Message> record = NewRecord(d);
  const std::string ten = std::string(9, '\xFF') + '\x01';    // -1, the longest varint
  const std::string eleven = std::string(10, '\x80') + '\x01';  // one byte too many
  struct Case {
    std::string name;
    std::string tag;
    bool packed;  // then a length precedes the value
  };
  std::vector<Case> cases = {{"unknown field", Tag(kUnknownField, WFL::WIRETYPE_VARINT), false}};
  for (int i = 0; i < d->field_count(); ++i) {
    const FieldDescriptor* f = d->field(i);
    if (WireFormat::WireTypeForFieldType(f->type()) != WFL::WIRETYPE_VARINT) continue;
    cases.push_back({f->full_name(), Tag(f->number(), WFL::WIRETYPE_VARINT), false});
    if (f->is_packable()) {
      cases.push_back({f->full_name() + " (packed)",
                       Tag(f->number(), WFL::WIRETYPE_LENGTH_DELIMITED), true});
    }
  }
  for (const Case& c : cases) {
    ExpectFailsCleanly(record.get(), c.tag + (c.packed ? Varint(eleven.size()) : "") + eleven,
                       c.name);
    ASSERT_TRUE(ParseBothWays(record.get(), c.tag + (c.packed ? Varint(ten.size()) : "") + ten))
        << c.name;
    ExpectReencodes(*record, c.name);
  }
  // A tag is at most five bytes.
  ExpectFailsCleanly(record.get(), std::string("\x88\x80\x80\x80\x80\x00", 6) + "\x01",
                     "six-byte tag");
}

TEST_P(MalformedRecordTest, UnknownGroupsNestedPastTheRecursionLimitFail) {
  std::unique_ptr<Message> record = NewRecord(Type());
  const int limit = google::protobuf::io::CodedInputStream::GetDefaultRecursionLimit();
  auto nested = [](int depth) {
    std::string out;
    for (int i = 0; i < depth; ++i) out += Tag(kUnknownField, WFL::WIRETYPE_START_GROUP);
    for (int i = 0; i < depth; ++i) out += Tag(kUnknownField, WFL::WIRETYPE_END_GROUP);
    return out;
  };
  ASSERT_TRUE(ParseBothWays(record.get(), nested(limit)));
  // Unknown fields are kept and written back as they came.
  EXPECT_EQ(Hex(record->SerializeAsString()), Hex(nested(limit)));
  ExpectFailsCleanly(record.get(), nested(limit + 1), "one past the limit");
  ExpectFailsCleanly(record.get(), nested(10 * limit), "far past the limit");
  // A group that is never closed, or closed by another field's end tag.
  ExpectFailsCleanly(record.get(), Tag(kUnknownField, WFL::WIRETYPE_START_GROUP), "unclosed group");
  ExpectFailsCleanly(record.get(),
                     Tag(kUnknownField, WFL::WIRETYPE_START_GROUP) +
                         Tag(kUnknownField + 1, WFL::WIRETYPE_END_GROUP),
                     "mismatched end group");
}

TEST_P(MalformedRecordTest, InvalidUtf8FailsEveryCheckedStringAndNoBytesField) {
  const Descriptor* d = Type();
  std::unique_ptr<Message> record = NewRecord(d);
  const std::string bad = "\xC3\x28";  // a lead byte followed by a non-continuation byte
  for (int i = 0; i < d->field_count(); ++i) {
    const FieldDescriptor* f = d->field(i);
    if (f->type() == FieldDescriptor::TYPE_BYTES) {
      ASSERT_TRUE(ParseBothWays(record.get(), LengthDelimited(f->number(), bad))) << f->full_name();
      const google::protobuf::Reflection* r = record->GetReflection();
      EXPECT_EQ(f->is_repeated() ? r->GetRepeatedString(*record, f, 0) : r->GetString(*record, f),
                bad)
          << f->full_name();
    } else if (f->type() == FieldDescriptor::TYPE_STRING) {
      LogCapture log;
      const std::string bytes = LengthDelimited(f->number(), bad);
      if (f->file()->syntax() == google::protobuf::FileDescriptor::SYNTAX_PROTO3) {
        ExpectFailsCleanly(record.get(), bytes, f->full_name());
      } else {
        // proto2 strings are only reported, never rejected.
        EXPECT_TRUE(ParseBothWays(record.get(), bytes)) << f->full_name();
      }
      EXPECT_TRUE(log.Mentions(f->full_name())) << f->full_name();
    }
  }
}

// A bad string inside an entry fails the record that holds the entry.
TEST_P(MalformedRecordTest, InvalidUtf8InAnEntryFailsTheHolder) {
  const Descriptor* d = Type();
  std::unique_ptr<Message> record = NewRecord(d);
  for (int i = 0; i < d->field_count(); ++i) {
    const FieldDescriptor* holder = d->field(i);
    if (holder->type() != FieldDescriptor::TYPE_MESSAGE) continue;
    const Descriptor* entry = holder->message_type();
    for (int j = 0; j < entry->field_count(); ++j) {
      const FieldDescriptor* f = entry->field(j);
      if (f->type() != FieldDescriptor::TYPE_STRING) continue;
      LogCapture log;
      ExpectFailsCleanly(record.get(),
                         LengthDelimited(holder->number(), LengthDelimited(f->number(), "\xFF")),
                         holder->full_name() + "." + f->name());
      EXPECT_TRUE(log.Mentions(f->full_name())) << f->full_name();
    }
  }
}

INSTANTIATE_TEST_SUITE_P(EveryRecord, MalformedRecordTest, ::testing::ValuesIn(RecordNames()),
                         TestName);

TEST(MalformedInput, NoRecordHasTheFieldNumberUsedAsUnknown) {
  for (const Descriptor* d : AllRecords()) {
    EXPECT_EQ(d->FindFieldByNumber(kUnknownField), nullptr) << d->full_name();
  }
}

TEST(MalformedDocument, EveryPrefixFailsOrReencodes) {
  const std::string bytes = HandBuiltDocument();
  ASSERT_GT(bytes.size(), 1000u);
  ConfigData document;
  int parsed = 0, failed = 0;
  for (size_t n = 0; n < bytes.size(); ++n) {
    if (ParseBothWays(&document, bytes.substr(0, n))) {
      ++parsed;
      ExpectReencodes(document, "prefix " + std::to_string(n));
    } else {
      ++failed;
    }
  }
  // Cuts between top-level fields parse, cuts inside one do not.
  EXPECT_GT(parsed, 1);
  EXPECT_GT(failed, parsed);
}

TEST(MalformedDocument, EverySingleBitFlipFailsOrReencodes) {
  const std::string bytes = HandBuiltDocument();
  LogCapture quiet;  // flipped string bytes make the runtime log each failure
  ConfigData document;
  int parsed = 0, failed = 0;
  for (size_t i = 0; i < bytes.size(); ++i) {
    for (int bit = 0; bit < 8; ++bit) {
      std::string flipped = bytes;
      flipped[i] = static_cast<char>(flipped[i] ^ (1 << bit));
      if (ParseBothWays(&document, flipped)) {
        ++parsed;
        ExpectReencodes(document, "byte " + std::to_string(i) + " bit " + std::to_string(bit));
      } else {
        ++failed;
      }
      if (HasFatalFailure()) return;
    }
  }
  // Flips inside config bytes and values parse; flips of tags and lengths
  // mostly do not.
  EXPECT_GT(parsed, 0);
  EXPECT_GT(failed, 0);
}

// The runtime's recursion limit counts nested records: a document whose
// input has a linearization is three records deep.
TEST(MalformedDocument, NestingDeeperThanAStreamsLimitFails) {
  ConfigData document;
  Input* input = document.add_inputs();
  input->set_alias("oil temperature");
  input->mutable_linearization()->set_id(4);
  const std::string bytes = document.SerializeAsString();
  auto parse_with_limit = [&](int limit) {
    google::protobuf::io::CodedInputStream stream(
        reinterpret_cast<const std::uint8_t*>(bytes.data()), static_cast<int>(bytes.size()));
    stream.SetRecursionLimit(limit);
    ConfigData parsed;
    return parsed.ParseFromCodedStream(&stream) && parsed.inputs_size() == 1 &&
           parsed.inputs(0).linearization().id() == 4;
  };
  EXPECT_TRUE(parse_with_limit(2));
  EXPECT_FALSE(parse_with_limit(1));
  EXPECT_FALSE(parse_with_limit(0));
  // Without the linearization one level is enough.
  input->clear_linearization();
  const std::string shallow = document.SerializeAsString();
  google::protobuf::io::CodedInputStream stream(
      reinterpret_cast<const std::uint8_t*>(shallow.data()), static_cast<int>(shallow.size()));
  stream.SetRecursionLimit(1);
  ConfigData parsed;
  EXPECT_TRUE(parsed.ParseFromCodedStream(&stream));
  EXPECT_EQ(parsed.inputs(0).alias(), "oil temperature");
}

}  // namespace
}  // namespace gcuschema::test
