// Encode: a document's encoding straight from its text, the same bytes as
// reading it into a record and writing that, whatever order the members
// come in and whatever they hold.
#include <gcuschema/document/io.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <gcuschema/Config.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>
#include <gcuschema/document/samples.h>

#include "support/wire.h"

namespace gcuschema::document {
namespace {

using test::Bytes;
using test::Hex;

const google::protobuf::Descriptor* Config() { return ConfigData::descriptor(); }

std::string Encoded(std::string_view json, const google::protobuf::Descriptor* type = Config(),
                    const ReadOptions& options = ReadOptions{Format::kJson}) {
  std::string encoded = "held before";
  Encode(json, type, &encoded, options);
  return encoded;
}

// What reading into a record and writing it in binary gives.
std::string ReadThenWritten(std::string_view json, const google::protobuf::Descriptor* type,
                            const ReadOptions& options = ReadOptions{Format::kJson}) {
  const std::unique_ptr<google::protobuf::Message> record = NewRecord(type);
  Read(json, record.get(), options);
  return WriteString(*record, Format::kBinary);
}

// The same document with every object's members in the opposite order.
nlohmann::ordered_json Reversed(const nlohmann::ordered_json& value) {
  if (value.is_array()) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const auto& element : value) list.push_back(Reversed(element));
    return list;
  }
  if (!value.is_object()) return value;
  nlohmann::ordered_json object = nlohmann::ordered_json::object();
  std::vector<std::pair<std::string, nlohmann::ordered_json>> members;
  for (const auto& member : value.items()) members.emplace_back(member.key(), Reversed(member.value()));
  for (auto member = members.rbegin(); member != members.rend(); ++member) object[member->first] = member->second;
  return object;
}

TEST(EncodeTest, MembersInFieldOrderGiveTheRecordsEncoding) {
  EXPECT_EQ(Hex(Encoded(R"({"version": 3, "gcuNo": "G"})")), Hex(Bytes({0x08, 0x03, 0x5A, 0x01, 0x47})));
}

TEST(EncodeTest, MembersOutOfNumberOrderComeOutInNumberOrder) {
  EXPECT_EQ(Hex(Encoded(R"({"gcuNo": "G", "version": 3})")), Hex(Bytes({0x08, 0x03, 0x5A, 0x01, 0x47})));
  // Declared before field 8, numbered 13: written last, as the record writes it.
  EXPECT_EQ(Hex(Encoded(R"({"canbusRouter": [{}], "canObjectCount": 5})")),
            Hex(Bytes({0x40, 0x05, 0x6A, 0x00})));
}

TEST(EncodeTest, ZerosAreLeftOutAsTheRecordLeavesThemOut) {
  EXPECT_EQ(Hex(Encoded(R"({"version": 0, "gcuNo": "", "inputs": [{"id": 0, "minValue": -0.0, "config": ""}]})")),
            Hex(ReadThenWritten(R"({"inputs": [{"minValue": -0.0}]})", Config())));
  EXPECT_EQ(Hex(Encoded(R"({"version": 0, "gcuNo": "", "inputs": [{"id": 0, "config": ""}]})")),
            Hex(Bytes({0x1A, 0x00})));
}

TEST(EncodeTest, UnknownFieldsComeAfterTheKnownOnes) {
  // "mAYq": field 99, varint 42 (98 06 2A).
  EXPECT_EQ(Hex(Encoded(R"({"@unknown": "mAYq", "version": 3})")),
            Hex(Bytes({0x08, 0x03, 0x98, 0x06, 0x2A})));
}

TEST(EncodeTest, EmptySettingsAreLeftOut) {
  ReadOptions options{Format::kJson};
  options.pairing.Apply("input:2=AdcConfiguration");
  EXPECT_EQ(Hex(Encoded(R"({"inputs": [{"type": 2, "config": {"@type": "AdcConfiguration"}}]})", Config(), options)),
            Hex(Bytes({0x1A, 0x02, 0x18, 0x02})));
}

TEST(EncodeTest, EveryRecordsSampleEncodesAsReadThenWritten) {
  SampleOptions samples;
  samples.inputs = 40;
  for (const std::string& name : RecordNames()) {
    const google::protobuf::Descriptor* type = FindRecord(name);
    const std::unique_ptr<google::protobuf::Message> sample = Sample(type, samples);
    ASSERT_NE(sample, nullptr) << name;
    const std::string expected = WriteString(*sample, Format::kBinary);
    for (const bool expand : {true, false}) {
      WriteOptions writing;
      writing.expand = expand;
      writing.original_names = !expand;
      writing.indent = expand ? 2 : 0;
      const std::string json = WriteString(*sample, Format::kJson, writing);
      EXPECT_EQ(Hex(Encoded(json, type)), Hex(expected)) << name << (expand ? " expanded" : " plain");
      const std::string reversed = Reversed(nlohmann::ordered_json::parse(json)).dump();
      EXPECT_EQ(Hex(Encoded(reversed, type)), Hex(ReadThenWritten(reversed, type))) << name << " reversed";
      EXPECT_EQ(Hex(Encoded(reversed, type)), Hex(expected)) << name << " reversed";
    }
  }
}

TEST(EncodeTest, RefusesWhatReadRefusesAndLeavesNothing) {
  for (const std::string_view json : {R"({"version": "x"})", R"({"version": 3,)", R"({"inputs": [{"bogus": 1}]})",
                                      R"({"gcuNo": "G", "version": 3, "@type": "DeviceData"})", ""}) {
    std::string read_error;
    ConfigData doc;
    try {
      Read(json, &doc, ReadOptions{Format::kJson});
    } catch (const Error& e) {
      read_error = e.what();
    }
    ASSERT_FALSE(read_error.empty()) << json;
    std::string encoded = "held before";
    try {
      Encode(json, Config(), &encoded, ReadOptions{Format::kJson});
      ADD_FAILURE() << "no error for " << json;
    } catch (const Error& e) {
      EXPECT_EQ(std::string(e.what()), read_error);
    }
    EXPECT_EQ(encoded, "");
  }
}

TEST(EncodeTest, EveryFormatIsReadAndReturned) {
  ConfigData doc;
  doc.set_version(3);
  doc.set_gcuno("G");
  for (const Format format : {Format::kBinary, Format::kText, Format::kJson}) {
    std::string encoded;
    EXPECT_EQ(Encode(WriteString(doc, format), Config(), &encoded), format);
    EXPECT_EQ(Hex(encoded), Hex(Bytes({0x08, 0x03, 0x5A, 0x01, 0x47}))) << static_cast<int>(format);
  }
  // An encoding comes back as the record writes it: unknown fields last.
  std::string encoded;
  EXPECT_EQ(Encode(Bytes({0x98, 0x06, 0x2A, 0x08, 0x03}), Config(), &encoded, ReadOptions{Format::kBinary}),
            Format::kBinary);
  EXPECT_EQ(Hex(encoded), Hex(Bytes({0x08, 0x03, 0x98, 0x06, 0x2A})));
}

}  // namespace
}  // namespace gcuschema::document
