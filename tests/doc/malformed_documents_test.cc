// Sample documents cut short and with single bits flipped: the runtime and
// the companion library's decoder agree on what parses, what parses encodes
// again and round-trips through expanded JSON, and the tool refuses each
// truncated document with exit status 2, one line naming the file, and no
// output file.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <google/protobuf/message.h>
#include <gtest/gtest.h>

#include <gcuschema/doc/binary.h>
#include <gcuschema/doc/error.h>
#include <gcuschema/doc/json.h>
#include <gcuschema/doc/records.h>

#include "support/process.h"
#include "support/runtime_log.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

using google::protobuf::Message;

const char* const kDocumentTypes[] = {"ConfigData", "DeviceData", "CalibrationData",
                                      "CalibrationTemplateData"};

// Parses with the runtime and with doc::ParseBinary; they must agree, and a
// refusal must say something. Returns whether the bytes parse.
bool ParsesAlike(Message* record, const std::string& bytes, const std::string& context) {
  std::unique_ptr<Message> by_runtime(record->New());
  const bool runtime = by_runtime->ParseFromString(bytes);
  bool library = true;
  try {
    doc::ParseBinary(bytes, record);
  } catch (const doc::Error& e) {
    library = false;
    EXPECT_FALSE(e.message().empty()) << context;
  }
  EXPECT_EQ(library, runtime) << context;
  return runtime && library;
}

// A parsed document encodes, re-parses to the same bytes, and its expanded
// JSON collapses to those bytes again.
void ExpectRoundTrips(const Message& record, const doc::JsonCodec& codec,
                      const std::string& context) {
  std::string bytes;
  ASSERT_TRUE(record.SerializeToString(&bytes)) << context;
  std::unique_ptr<Message> again(record.New());
  ASSERT_TRUE(again->ParseFromString(bytes)) << context;
  EXPECT_EQ(again->SerializeAsString(), bytes) << context;
  std::unique_ptr<Message> collapsed(record.New());
  try {
    codec.FromJson(codec.ToJson(*again, true), collapsed.get());
  } catch (const doc::Error& e) {
    ADD_FAILURE() << context << ": " << e.what();
    return;
  }
  EXPECT_EQ(collapsed->SerializeAsString(), bytes) << context;
}

class MalformedDocumentTest : public ::testing::TestWithParam<const char*> {
 protected:
  std::string Sample() { return SampleBytes(GetParam(), 4, 7); }
  std::unique_ptr<Message> NewRecord() { return doc::NewRecord(doc::RequireRecord(GetParam())); }
};

TEST_P(MalformedDocumentTest, EveryPrefixParsesAlikeAndRoundTripsWhenItParses) {
  const std::string bytes = Sample();
  ASSERT_FALSE(bytes.empty());
  const doc::JsonCodec codec;
  std::unique_ptr<Message> record = NewRecord();
  int refused = 0;
  for (size_t n = 0; n < bytes.size(); ++n) {
    const std::string context = std::string(GetParam()) + " cut at " + std::to_string(n);
    if (ParsesAlike(record.get(), bytes.substr(0, n), context)) {
      ExpectRoundTrips(*record, codec, context);
    } else {
      ++refused;
    }
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(refused, 0);
  ASSERT_TRUE(ParsesAlike(record.get(), bytes, "whole"));
  EXPECT_EQ(record->SerializeAsString(), bytes);
}

TEST_P(MalformedDocumentTest, EverySingleBitFlipParsesAlikeAndRoundTripsWhenItParses) {
  const std::string bytes = Sample();
  const doc::JsonCodec codec;
  LogCapture quiet;  // the runtime's UTF-8 complaints about flipped string bytes
  std::unique_ptr<Message> record = NewRecord();
  int parsed = 0, refused = 0;
  for (size_t i = 0; i < bytes.size(); ++i) {
    for (int bit = 0; bit < 8; ++bit) {
      std::string flipped = bytes;
      flipped[i] = static_cast<char>(flipped[i] ^ (1 << bit));
      const std::string context = std::string(GetParam()) + " byte " + std::to_string(i) +
                                  " bit " + std::to_string(bit);
      if (ParsesAlike(record.get(), flipped, context)) {
        ++parsed;
        ExpectRoundTrips(*record, codec, context);
      } else {
        ++refused;
      }
      if (HasFatalFailure()) return;
    }
  }
  EXPECT_GT(parsed, 0);
  EXPECT_GT(refused, 0);
}

// The tool, on the same documents cut at sixteen places: a cut the library
// refuses makes the tool fail cleanly; a cut that still parses is decoded.
TEST_P(MalformedDocumentTest, ToolRefusesEachTruncatedDocumentAndWritesNoOutput) {
  const std::string bytes = Sample();
  std::unique_ptr<Message> record = NewRecord();
  std::vector<size_t> cuts;
  for (size_t k = 0; k < 16; ++k) cuts.push_back(bytes.size() * k / 16);
  cuts.push_back(bytes.size() - 1);
  int refused = 0;
  for (size_t n : cuts) {
    ScratchDir dir;
    const std::string in = dir.Put("cut.bin", bytes.substr(0, n));
    const std::string out = dir.File("out.json");
    const ProcessResult result = RunTool({"decode", "--type", GetParam(), in, "-o", out});
    const std::string context = std::string(GetParam()) + " cut at " + std::to_string(n);
    if (record->ParseFromString(bytes.substr(0, n))) {
      EXPECT_EQ(result.exit_status, 0) << context << ": " << result.err;
      EXPECT_TRUE(FileExists(out)) << context;
      continue;
    }
    ++refused;
    EXPECT_EQ(result.exit_status, 2) << context << ": " << result.err;
    EXPECT_EQ(result.out, "") << context;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << context << ": " << result.err;
    EXPECT_EQ(result.err.rfind("gcuschema: " + in + ": ", 0), 0u) << context << ": " << result.err;
    EXPECT_FALSE(FileExists(out)) << context;
    EXPECT_EQ(dir.Entries(), std::vector<std::string>{"cut.bin"}) << context;
  }
  // The last cut ends inside the last field: always refused.
  EXPECT_GT(refused, 0);
}

// Its JSON, cut short, is refused by `encode` the same way.
TEST_P(MalformedDocumentTest, ToolRefusesEachTruncatedJsonDocumentAndWritesNoOutput) {
  std::unique_ptr<Message> record = NewRecord();
  ASSERT_TRUE(record->ParseFromString(Sample()));
  const std::string json = doc::JsonCodec().ToJsonText(*record, true);
  for (size_t k = 1; k < 8; ++k) {
    const size_t n = json.size() * k / 8;
    ScratchDir dir;
    const std::string in = dir.Put("cut.json", json.substr(0, n));
    const std::string out = dir.File("out.bin");
    const ProcessResult result = RunTool({"encode", "--type", GetParam(), in, "-o", out});
    const std::string context = std::string(GetParam()) + " JSON cut at " + std::to_string(n);
    EXPECT_EQ(result.exit_status, 2) << context << ": " << result.err;
    EXPECT_EQ(result.err.rfind("gcuschema: " + in + ": ", 0), 0u) << context << ": " << result.err;
    EXPECT_FALSE(FileExists(out)) << context;
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, MalformedDocumentTest, ::testing::ValuesIn(kDocumentTypes));

}  // namespace
}  // namespace gcuschema::test
