// Sample documents cut short and with single bits flipped: the runtime and
// the companion library's decoder agree on what parses, what parses encodes
// again and round-trips through expanded JSON.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <google/protobuf/message.h>
#include <gtest/gtest.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/io.h>
#include <gcuschema/document/records.h>

#include "support/runtime_log.h"
#include "support/sample_bytes.h"

namespace gcuschema::test {
namespace {

using google::protobuf::Message;

const char* const kDocumentTypes[] = {"ConfigData", "DeviceData", "CalibrationData",
                                      "CalibrationTemplateData"};

// Parses with the runtime and with document::Read; they must agree, and a
// refusal must say something. Returns whether the bytes parse.
bool ParsesAlike(Message* record, const std::string& bytes, const std::string& context) {
  std::unique_ptr<Message> by_runtime(record->New());
  const bool runtime = by_runtime->ParseFromString(bytes);
  bool library = true;
  try {
    document::Read(bytes, record, document::ReadOptions{document::Format::kBinary});
  } catch (const document::Error& e) {
    library = false;
    EXPECT_FALSE(e.message().empty()) << context;
  }
  EXPECT_EQ(library, runtime) << context;
  return runtime && library;
}

// A parsed document encodes, re-parses to the same bytes, and its expanded
// JSON collapses to those bytes again.
void ExpectRoundTrips(const Message& record, const std::string& context) {
  std::string bytes;
  ASSERT_TRUE(record.SerializeToString(&bytes)) << context;
  std::unique_ptr<Message> again(record.New());
  ASSERT_TRUE(again->ParseFromString(bytes)) << context;
  EXPECT_EQ(again->SerializeAsString(), bytes) << context;
  std::unique_ptr<Message> collapsed(record.New());
  try {
    document::Read(document::WriteString(*again, document::Format::kJson), collapsed.get(),
                   document::ReadOptions{document::Format::kJson});
  } catch (const document::Error& e) {
    ADD_FAILURE() << context << ": " << e.what();
    return;
  }
  EXPECT_EQ(collapsed->SerializeAsString(), bytes) << context;
}

class MalformedDocumentTest : public ::testing::TestWithParam<const char*> {
 protected:
  std::string Sample() { return SampleBytes(GetParam(), 4, 7); }
  std::unique_ptr<Message> NewRecord() { return document::NewRecord(document::RequireRecord(GetParam())); }
};

TEST_P(MalformedDocumentTest, EveryPrefixParsesAlikeAndRoundTripsWhenItParses) {
  const std::string bytes = Sample();
  ASSERT_FALSE(bytes.empty());
  std::unique_ptr<Message> record = NewRecord();
  int refused = 0;
  for (size_t n = 0; n < bytes.size(); ++n) {
    const std::string context = std::string(GetParam()) + " cut at " + std::to_string(n);
    if (ParsesAlike(record.get(), bytes.substr(0, n), context)) {
      ExpectRoundTrips(*record, context);
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
        ExpectRoundTrips(*record, context);
      } else {
        ++refused;
      }
      if (HasFatalFailure()) return;
    }
  }
  EXPECT_GT(parsed, 0);
  EXPECT_GT(refused, 0);
}

INSTANTIATE_TEST_SUITE_P(Samples, MalformedDocumentTest, ::testing::ValuesIn(kDocumentTypes));

}  // namespace
}  // namespace gcuschema::test
