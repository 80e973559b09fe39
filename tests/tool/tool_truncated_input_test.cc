// Sample documents cut short: the tool refuses each one the library
// refuses with exit status 2, one line naming the file, and no output file.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <google/protobuf/message.h>
#include <gtest/gtest.h>

#include <gcuschema/document/io.h>
#include <gcuschema/document/records.h>

#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

using google::protobuf::Message;

const char* const kDocumentTypes[] = {"ConfigData", "DeviceData", "CalibrationData",
                                      "CalibrationTemplateData"};

class TruncatedInputTest : public ::testing::TestWithParam<const char*> {
 protected:
  std::string Sample() { return SampleBytes(GetParam(), 4, 7); }
  std::unique_ptr<Message> NewRecord() { return document::NewRecord(document::RequireRecord(GetParam())); }
};

// The tool, on the same documents cut at sixteen places: a cut the library
// refuses makes the tool fail cleanly; a cut that still parses is decoded.
TEST_P(TruncatedInputTest, ToolRefusesEachTruncatedDocumentAndWritesNoOutput) {
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
    const ProcessResult result = RunTool({"decode", "--from", "binary", "--type", GetParam(), in, "-o", out});
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
TEST_P(TruncatedInputTest, ToolRefusesEachTruncatedJsonDocumentAndWritesNoOutput) {
  std::unique_ptr<Message> record = NewRecord();
  ASSERT_TRUE(record->ParseFromString(Sample()));
  const std::string json = document::WriteString(*record, document::Format::kJson);
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

INSTANTIATE_TEST_SUITE_P(Samples, TruncatedInputTest, ::testing::ValuesIn(kDocumentTypes));

TEST(ToolNumberRangeTest, ToolRefusesNumbersBeyondDoubleWithOneLineNamingTheInput) {
  const ProcessResult result = RunTool({"encode", "-o", "/dev/null"}, "{\"version\": 1e309}\n");
  EXPECT_EQ(result.exit_status, 2) << result.err;
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err.rfind("gcuschema: <stdin>: ", 0), 0u) << result.err;
  EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
}

}  // namespace
}  // namespace gcuschema::test
