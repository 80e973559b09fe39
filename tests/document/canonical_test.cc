// Bytes read against the encoding of the record read from them: where they
// differ, and why, for each way the records write a document otherwise.
#include <gcuschema/document/canonical.h>

#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <google/protobuf/stubs/logging.h>
#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/RbcInputConfigData.pb.h>
#include <gcuschema/document/inspect.h>
#include <gcuschema/document/io.h>
#include <gcuschema/document/lint.h>
#include <gcuschema/document/records.h>

#include "support/sample_bytes.h"
#include "support/wire.h"

namespace gcuschema::document {
namespace {

using test::Bytes;
using test::Encode;
using test::Hex;

// What writing back the record read from `bytes` changes; the record is
// left in `record`.
EncodingDifference DifferenceOf(const std::string& bytes, google::protobuf::Message* record) {
  Read(bytes, record, ReadOptions{Format::kBinary});
  const std::optional<EncodingDifference> difference = CompareEncoding(bytes, *record);
  if (!difference) {
    ADD_FAILURE() << "no difference found for " << Hex(bytes);
    return {};
  }
  EXPECT_EQ(difference->size, bytes.size());
  EXPECT_EQ(difference->canonical_size, record->ByteSizeLong());
  return *difference;
}

TEST(CanonicalEncodingTest, BytesTheRecordsWriteThemselvesDifferInNothing) {
  for (const char* type : {"ConfigData", "DeviceData", "CalibrationData", "CalibrationTemplateData"}) {
    SCOPED_TRACE(type);
    const std::string bytes = test::SampleBytes(type, 40);
    const std::unique_ptr<google::protobuf::Message> owned = NewRecord(RequireRecord(type));
    google::protobuf::Message* record = owned.get();
    Read(bytes, record, ReadOptions{Format::kBinary});
    EXPECT_FALSE(CompareEncoding(bytes, *record).has_value());
  }
  ConfigData empty;
  EXPECT_FALSE(CompareEncoding("", empty).has_value());
}

TEST(CanonicalEncodingTest, FieldGivenTwiceNamesTheEarlierValueDropped) {
  ConfigData config;
  // version: 3, then version: 5; the record keeps 5 and writes 08 05.
  const EncodingDifference d = DifferenceOf(Bytes({0x08, 0x03, 0x08, 0x05}), &config);
  EXPECT_EQ(Hex(Encode(config)), Hex(Bytes({0x08, 0x05})));
  EXPECT_EQ(d.offset, 1u);
  EXPECT_EQ(d.path, "version");
  EXPECT_EQ(d.cause_offset, 0u);
  EXPECT_EQ(d.cause, "version is given twice, the earlier value 3 is dropped");

  // The same value twice: the encoding is the first two bytes, so the
  // difference is where it ends.
  const EncodingDifference same = DifferenceOf(Bytes({0x12, 0x01, 0x41, 0x12, 0x01, 0x41}), &config);
  EXPECT_EQ(Hex(Encode(config)), Hex(Bytes({0x12, 0x01, 0x41})));
  EXPECT_EQ(same.offset, 3u);
  EXPECT_EQ(same.cause, "password is given twice, the earlier value \"A\" is dropped");
}

TEST(CanonicalEncodingTest, ThirtyTwoBitFieldKeepsTheLowBitsOfALargerVarint) {
  ConfigData config;
  // version (uint32) holds 2^32 + 7 in a 5-byte varint.
  const EncodingDifference d = DifferenceOf(Bytes({0x08, 0x87, 0x80, 0x80, 0x80, 0x10}), &config);
  EXPECT_EQ(Hex(Encode(config)), Hex(Bytes({0x08, 0x07})));
  EXPECT_EQ(d.offset, 1u);
  EXPECT_EQ(d.path, "version");
  EXPECT_EQ(d.cause, "version holds 4294967303, beyond 32 bits: the record keeps the low 32 bits, 7");

  // inputs[0].id (int32): the same, one record down; its length changes first.
  const EncodingDifference id = DifferenceOf(Bytes({0x1A, 0x06, 0x08, 0x87, 0x80, 0x80, 0x80, 0x10}), &config);
  EXPECT_EQ(Hex(Encode(config)), Hex(Bytes({0x1A, 0x02, 0x08, 0x07})));
  EXPECT_EQ(id.offset, 1u);
  EXPECT_EQ(id.path, "inputs[0].id");
  EXPECT_EQ(id.cause_offset, 3u);

  // An int32 of -1 written in 5 bytes is written again in 10.
  const EncodingDifference negative = DifferenceOf(Bytes({0x1A, 0x06, 0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F}), &config);
  EXPECT_EQ(Hex(Encode(config)),
            Hex(Bytes({0x1A, 0x0B, 0x08, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01})));
  EXPECT_EQ(negative.cause,
            "inputs[0].id holds 4294967295, which an int32 reads as -1 and the records write sign-extended to 10 bytes");
}

TEST(CanonicalEncodingTest, BoolOfTwoIsWrittenAsOne) {
  ConfigData config;
  // inputs[0].isPreset (field 20) given as 2: the same size, one byte differs.
  const EncodingDifference d = DifferenceOf(Bytes({0x1A, 0x03, 0xA0, 0x01, 0x02}), &config);
  EXPECT_EQ(Hex(Encode(config)), Hex(Bytes({0x1A, 0x03, 0xA0, 0x01, 0x01})));
  EXPECT_EQ(d.offset, 4u);
  EXPECT_EQ(d.cause_offset, 4u);
  EXPECT_EQ(d.path, "inputs[0].isPreset");
  EXPECT_EQ(d.cause, "inputs[0].isPreset holds 2 as a bool, which the records write as 1 (true)");
}

TEST(CanonicalEncodingTest, VarintTagOrLengthLongerThanItNeedsIsNamed) {
  ConfigData config;
  const EncodingDifference value = DifferenceOf(Bytes({0x08, 0x83, 0x80, 0x80, 0x00}), &config);
  EXPECT_EQ(Hex(Encode(config)), Hex(Bytes({0x08, 0x03})));
  EXPECT_EQ(value.offset, 1u);
  EXPECT_EQ(value.cause, "version is a varint longer than it needs (4 bytes for 3, where 1 byte would do)");

  const EncodingDifference tag = DifferenceOf(Bytes({0x88, 0x00, 0x03}), &config);
  EXPECT_EQ(Hex(Encode(config)), Hex(Bytes({0x08, 0x03})));
  EXPECT_EQ(tag.offset, 0u);
  EXPECT_EQ(tag.path, "version");
  EXPECT_EQ(tag.cause, "the field tag of version is longer than it needs (2 bytes where 1 byte would do)");

  const EncodingDifference length = DifferenceOf(Bytes({0x1A, 0x82, 0x00, 0x20, 0x01}), &config);
  EXPECT_EQ(Hex(Encode(config)), Hex(Bytes({0x1A, 0x02, 0x20, 0x01})));
  EXPECT_EQ(length.offset, 1u);
  EXPECT_EQ(length.path, "inputs[0]");
  EXPECT_EQ(length.cause, "the length of inputs[0] is longer than it needs (2 bytes where 1 byte would do)");
}

TEST(CanonicalEncodingTest, TagBitsBeyondThirtyTwoAreNamed) {
  // A five-byte tag whose last byte holds more than the 4 bits a 32-bit tag
  // leaves: field 508088256, fixed32, kept as unknown.
  ConfigData config;
  const EncodingDifference d =
      DifferenceOf(Bytes({0x85, 0xFC, 0x99, 0x92, 0x7F, 0x01, 0x02, 0x03, 0x04}), &config);
  EXPECT_EQ(Hex(Encode(config)), Hex(Bytes({0x85, 0xFC, 0x99, 0x92, 0x0F, 0x01, 0x02, 0x03, 0x04})));
  EXPECT_EQ(d.offset, 4u);
  EXPECT_EQ(d.path, "field 508088256");
  EXPECT_EQ(d.cause, "the field tag of field 508088256 holds bits beyond 32 (its fifth byte is 7F), which the "
                     "records drop: they write 0F");
}

TEST(CanonicalEncodingTest, VarintBitsBeyondSixtyFourAreNamed) {
  // Field 101, which ConfigData does not know, as a ten-byte varint whose
  // last byte holds more than bit 63.
  ConfigData config;
  const EncodingDifference d = DifferenceOf(
      Bytes({0xA8, 0x06, 0x81, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x05}), &config);
  EXPECT_EQ(d.offset, 11u);
  EXPECT_EQ(d.cause, "field 101 is a varint holding bits beyond 64 (its tenth byte is 05), which the records "
                     "drop: they write 01");
}

TEST(CanonicalEncodingTest, FieldsOutOfNumberOrderAreNamed) {
  ConfigData config;
  // canObjectCount (8) before version (1).
  const EncodingDifference d = DifferenceOf(Bytes({0x40, 0x01, 0x08, 0x03}), &config);
  EXPECT_EQ(Hex(Encode(config)), Hex(Bytes({0x08, 0x03, 0x40, 0x01})));
  EXPECT_EQ(d.offset, 0u);
  EXPECT_EQ(d.path, "version");
  EXPECT_EQ(d.cause,
            "fields out of number order: version (1) comes after canObjectCount (8); the records write fields in "
            "number order");

  // A field the schema does not know (111) before a known one.
  const EncodingDifference unknown = DifferenceOf(Bytes({0xF8, 0x06, 0x05, 0x08, 0x03}), &config);
  EXPECT_EQ(Hex(Encode(config)), Hex(Bytes({0x08, 0x03, 0xF8, 0x06, 0x05})));
  EXPECT_EQ(unknown.offset, 0u);
  EXPECT_EQ(unknown.path, "field 111");
  EXPECT_EQ(unknown.cause,
            "field 111, which the schema does not know, comes before version; the records write unknown fields "
            "after the known ones");
}

TEST(CanonicalEncodingTest, ListsNotPackedAsTheRecordsPackThemAreNamed) {
  RbcInputConfigData rbc;
  const EncodingDifference unpacked = DifferenceOf(Bytes({0x08, 0x01, 0x08, 0x02}), &rbc);
  EXPECT_EQ(Hex(Encode(rbc)), Hex(Bytes({0x0A, 0x02, 0x01, 0x02})));
  EXPECT_EQ(unpacked.offset, 0u);
  EXPECT_EQ(unpacked.path, "inputIds");
  EXPECT_EQ(unpacked.cause, "inputIds is written unpacked, element by element; the records write the list packed");

  const EncodingDifference split = DifferenceOf(Bytes({0x0A, 0x01, 0x01, 0x0A, 0x01, 0x02}), &rbc);
  EXPECT_EQ(Hex(Encode(rbc)), Hex(Bytes({0x0A, 0x02, 0x01, 0x02})));
  EXPECT_EQ(split.offset, 1u);
  EXPECT_EQ(split.cause, "inputIds is split into 2 packed runs; the records write one");

  const EncodingDifference empty = DifferenceOf(Bytes({0x0A, 0x00}), &rbc);
  EXPECT_EQ(Hex(Encode(rbc)), "");
  EXPECT_EQ(empty.cause, "inputIds is an empty packed list, which the records do not write");

  // An element in a packed run, longer than it needs.
  const EncodingDifference element = DifferenceOf(Bytes({0x0A, 0x02, 0x81, 0x00}), &rbc);
  EXPECT_EQ(Hex(Encode(rbc)), Hex(Bytes({0x0A, 0x01, 0x01})));
  EXPECT_EQ(element.path, "inputIds[0]");
  EXPECT_EQ(element.cause_offset, 2u);
}

TEST(CanonicalEncodingTest, SubRecordGivenInPartsIsMerged) {
  ConfigData config;
  // units { pressureUnit: Bar } then units { torqueUnit: FtLb }.
  const EncodingDifference d = DifferenceOf(Bytes({0x52, 0x02, 0x08, 0x01, 0x52, 0x02, 0x10, 0x01}), &config);
  EXPECT_EQ(Hex(Encode(config)), Hex(Bytes({0x52, 0x04, 0x08, 0x01, 0x10, 0x01})));
  EXPECT_EQ(d.offset, 1u);
  EXPECT_EQ(d.path, "units");
  EXPECT_EQ(d.cause, "units is given in 2 parts, which the records merge into one");
}

TEST(CanonicalEncodingTest, SingularNegativeZeroAndZerosAreLeftOut) {
  ConfigData config;
  // inputs[0] { minValue: -0.0 }: read, but the record does not write it.
  const EncodingDifference d = DifferenceOf(Bytes({0x1A, 0x05, 0x45, 0x00, 0x00, 0x00, 0x80}), &config);
  EXPECT_EQ(Hex(Encode(config)), Hex(Bytes({0x1A, 0x00})));
  EXPECT_EQ(d.offset, 1u);
  EXPECT_EQ(d.path, "inputs[0].minValue");
  EXPECT_EQ(d.cause_offset, 2u);
  EXPECT_EQ(d.cause, "inputs[0].minValue holds -0.0, which the records do not write");

  const EncodingDifference zero = DifferenceOf(Bytes({0x08, 0x00}), &config);
  EXPECT_EQ(Hex(Encode(config)), "");
  EXPECT_EQ(zero.offset, 0u);
  EXPECT_EQ(zero.cause, "version holds 0, which the records do not write");

  const EncodingDifference empty = DifferenceOf(Bytes({0x1A, 0x02, 0x2A, 0x00}), &config);
  EXPECT_EQ(Hex(Encode(config)), Hex(Bytes({0x1A, 0x00})));
  EXPECT_EQ(empty.cause, "inputs[0].alias is given empty, which the records do not write");
}

TEST(CanonicalEncodingTest, TheCauseChangingTheEarliestByteIsTheOneNamed) {
  ConfigData config;
  // An over-long varint in canObjectCount (byte 2), and version given twice
  // around it (from byte 0): the earlier value changes the earlier byte.
  const EncodingDifference d =
      DifferenceOf(Bytes({0x08, 0x03, 0x40, 0x81, 0x00, 0x08, 0x05}), &config);
  EXPECT_EQ(Hex(Encode(config)), Hex(Bytes({0x08, 0x05, 0x40, 0x01})));
  EXPECT_EQ(d.offset, 1u);
  EXPECT_EQ(d.cause_offset, 0u);
  EXPECT_EQ(d.cause, "version is given twice, the earlier value 3 is dropped");
}

TEST(CanonicalEncodingTest, DescriptionSaysWhereWhyAndBothSizes) {
  ConfigData config;
  const EncodingDifference d = DifferenceOf(Bytes({0x08, 0x03, 0x08, 0x05}), &config);
  EXPECT_EQ(Describe(d),
            "version is given twice, the earlier value 3 is dropped (at byte 0); encoded again, the 4 bytes read "
            "become 2, differing from byte 1 on");
}

TEST(CanonicalEncodingTest, EveryDifferenceInMutatedDocumentsHasACause) {
  // Bytes changed, inserted, removed or copied at random in a sample: of
  // those that still read, each that the records write otherwise is
  // explained by the walk, not only located, and located where the two
  // encodings first differ.
  const std::string sample = test::SampleBytes("ConfigData", 6, 3);
  std::mt19937 random(7);
  const google::protobuf::LogSilencer quiet;  // the runtime logs each invalid UTF-8 string it refuses
  int differing = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string bytes = sample;
    for (int change = 0, changes = 1 + static_cast<int>(random() % 3); change < changes; ++change) {
      const std::size_t at = random() % bytes.size();
      switch (random() % 4) {
        case 0: bytes[at] = static_cast<char>(random()); break;
        case 1: bytes.insert(at, 1, static_cast<char>(random())); break;
        case 2: bytes.erase(at, 1); break;
        default: bytes.insert(random() % bytes.size(), bytes.substr(at, 1 + random() % 8)); break;
      }
    }
    ConfigData config;
    if (!config.ParseFromString(bytes)) continue;
    const std::optional<EncodingDifference> difference = CompareEncoding(bytes, config);
    if (!difference) continue;
    ++differing;
    EXPECT_FALSE(difference->cause.empty()) << Hex(bytes) << ": first differs at byte " << difference->offset;
    const std::string written = Encode(config);
    std::size_t first = 0;
    while (first < written.size() && first < bytes.size() && written[first] == bytes[first]) ++first;
    EXPECT_EQ(difference->offset, first);
    EXPECT_EQ(difference->canonical_size, written.size());
  }
  EXPECT_GT(differing, 100);
}

TEST(CanonicalLintTest, DocumentNotCanonicalIsAWarningAtTheCause) {
  ConfigData config;
  const std::string bytes = Bytes({0x1A, 0x05, 0x45, 0x00, 0x00, 0x00, 0x80});
  Read(bytes, &config, ReadOptions{Format::kBinary});
  LintOptions options;
  options.encoded = bytes;
  const std::vector<Finding> findings = Lint(config, options);
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].rule, "document-not-canonical");
  EXPECT_EQ(findings[0].severity, Severity::kWarning);
  EXPECT_EQ(findings[0].path, "inputs[0].minValue");
  EXPECT_NE(findings[0].message.find("inputs[0].minValue holds -0.0, which the records do not write"),
            std::string::npos)
      << findings[0].message;
  EXPECT_NE(findings[0].message.find("store the re-encoded bytes"), std::string::npos) << findings[0].message;

  // Without the bytes read there is nothing to compare; canonical bytes give nothing.
  EXPECT_TRUE(Lint(config, LintOptions{}).empty());
  const std::string canonical = Encode(config);
  options.encoded = canonical;
  EXPECT_TRUE(Lint(config, options).empty());
}

TEST(CanonicalInspectTest, HeadingGivesTheSizeReadAndTheSizeWritten) {
  ConfigData config;
  // version 3 in a 4-byte varint: 5 bytes read, 2 written.
  const std::string bytes = Bytes({0x08, 0x83, 0x80, 0x80, 0x00});
  Read(bytes, &config, ReadOptions{Format::kBinary});
  InspectOptions options;
  options.encoded = bytes;
  const std::string summary = Inspect(config, options);
  EXPECT_EQ(summary.substr(0, summary.find('\n')), "ConfigData: 5 bytes, 2 bytes as the records write it");
  EXPECT_NE(summary.find("\n  warning: not in canonical form: version is a varint longer than it needs"),
            std::string::npos)
      << summary;

  // Canonical bytes, or none given: the one size.
  const std::string canonical = Encode(config);
  options.encoded = canonical;
  EXPECT_EQ(Inspect(config, options).substr(0, 19), "ConfigData: 2 bytes");
  EXPECT_EQ(Inspect(config).find("warning"), std::string::npos);
}

}  // namespace
}  // namespace gcuschema::document
