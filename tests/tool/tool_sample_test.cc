// sample: the library's deterministic documents, encoded, through -o.
#include <string>

#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>

#include "support/process.h"
#include "support/sample_bytes.h"
#include "support/tool_scratch.h"

namespace gcuschema::test {
namespace {

TEST(ToolSampleTest, SameOptionsGiveTheSameBytesAsTheLibrary) {
  ScratchDir dir;
  for (const char* type : {"ConfigData", "DeviceData", "CalibrationData", "CalibrationTemplateData"}) {
    SCOPED_TRACE(type);
    const std::string first = dir.File(std::string(type) + "-1.bin");
    const std::string second = dir.File(std::string(type) + "-2.bin");
    ProcessResult a = RunTool({"sample", "--type", type, "--inputs", "9", "--seed", "5", "-o", first});
    ProcessResult b = RunTool({"sample", "--type", type, "--inputs", "9", "--seed", "5", "-o", second});
    ASSERT_EQ(a.exit_status, 0) << a.err;
    ASSERT_EQ(b.exit_status, 0) << b.err;
    const std::string bytes = ReadFileBytes(first);
    EXPECT_FALSE(bytes.empty());
    EXPECT_TRUE(bytes == ReadFileBytes(second));
    EXPECT_TRUE(bytes == SampleBytes(type, 9, 5));
  }
}

TEST(ToolSampleTest, DefaultsAreTwentyFourInputsAndSeedOne) {
  ProcessResult result = RunTool({"sample", "-o", "-"});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  EXPECT_TRUE(result.out == SampleBytes("ConfigData", 24, 1));
  ConfigData config;
  ASSERT_TRUE(config.ParseFromString(result.out));
  EXPECT_EQ(config.inputs_size(), 24);
}

TEST(ToolSampleTest, SeedAndSizeChangeTheDocument) {
  ProcessResult one = RunTool({"sample", "--seed", "1"});
  ProcessResult two = RunTool({"sample", "--seed", "2"});
  ProcessResult big = RunTool({"sample", "--inputs", "48"});
  ASSERT_EQ(one.exit_status, 0) << one.err;
  ASSERT_EQ(two.exit_status, 0) << two.err;
  ASSERT_EQ(big.exit_status, 0) << big.err;
  EXPECT_FALSE(one.out == two.out);
  ConfigData config;
  ASSERT_TRUE(config.ParseFromString(big.out));
  EXPECT_EQ(config.inputs_size(), 48);
}

TEST(ToolSampleTest, NegativeInputCountIsAUsageError) {
  ProcessResult result = RunTool({"sample", "--inputs", "-3", "-o", "/dev/null"});
  EXPECT_EQ(result.exit_status, 2);
  EXPECT_NE(result.err.find("--inputs"), std::string::npos) << result.err;
}

TEST(ToolSampleTest, SeedOutsideSixtyFourBitsIsRefusedNamingTheRange) {
  for (const char* seed : {"-1", "18446744073709551616", "99999999999999999999999", "1e3", "x"}) {
    SCOPED_TRACE(seed);
    ProcessResult result = RunTool({"sample", "--seed", seed, "-o", "/dev/null"});
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.err.rfind("gcuschema: --seed: ", 0), 0u) << result.err;
    EXPECT_NE(result.err.find("0 to 18446744073709551615"), std::string::npos) << result.err;
  }
}

TEST(ToolSampleTest, LargestSeedIsTaken) {
  ProcessResult result = RunTool({"sample", "--seed", "18446744073709551615"});
  ASSERT_EQ(result.exit_status, 0) << result.err;
  EXPECT_TRUE(result.out == SampleBytes("ConfigData", 24, 18446744073709551615ull));
}

}  // namespace
}  // namespace gcuschema::test
