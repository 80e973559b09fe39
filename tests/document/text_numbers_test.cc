// Floats and doubles in text format: the bytes the runtime writes on Linux,
// on every system (the runtime's own spelling depends on the C library).
#include <gcuschema/document/io.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <string>

#include <google/protobuf/stubs/strutil.h>
#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;

TEST(TextNumbersTest, SpeltTheSameOnEverySystem) {
  ConfigData doc;
  Input* in = doc.add_inputs();
  in->set_minvalue(std::numeric_limits<float>::denorm_min());
  in->set_maxvalue(std::numeric_limits<float>::max());
  in = doc.add_inputs();
  in->set_minvalue(std::numeric_limits<float>::min());
  in->set_maxvalue(-std::numeric_limits<float>::infinity());
  doc.add_outputs()->set_minvalue(1e30f);
  Estimations* estimation = doc.add_estimationdata();
  for (double value : {1e-7, -1.5e-5, 1e100, std::numeric_limits<double>::min(),
                       std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::max(), 1.0 / 3,
                       123456789012345680.0, -0.0, 0.1, std::numeric_limits<double>::quiet_NaN()}) {
    estimation->add_thetavalues(value);
  }
  EXPECT_EQ(WriteString(doc, Format::kText),
            "inputs {\n"
            "  minValue: 1.40129846e-45\n"
            "  maxValue: 3.40282347e+38\n"
            "}\n"
            "inputs {\n"
            "  minValue: 1.17549435e-38\n"
            "  maxValue: -inf\n"
            "}\n"
            "outputs {\n"
            "  minValue: 1e+30\n"
            "}\n"
            "estimationData {\n"
            "  thetaValues: 1e-07\n"
            "  thetaValues: -1.5e-05\n"
            "  thetaValues: 1e+100\n"
            "  thetaValues: 2.2250738585072014e-308\n"
            "  thetaValues: 4.94065645841247e-324\n"
            "  thetaValues: 1.7976931348623157e+308\n"
            "  thetaValues: 0.33333333333333331\n"
            "  thetaValues: 1.2345678901234568e+17\n"
            "  thetaValues: -0\n"
            "  thetaValues: 0.1\n"
            "  thetaValues: nan\n"
            "}\n");
}

// A value of every exponent, subnormals among them, from its bits.
template <typename Float, typename Bits>
Float RandomValue(std::mt19937_64& random) {
  for (;;) {
    auto bits = static_cast<Bits>(random());
    // One in eight subnormal: exponent bits cleared.
    if (random() % 8 == 0) bits &= ~(Bits{std::numeric_limits<Float>::max_exponent * 2 - 1}
                                      << (std::numeric_limits<Float>::digits - 1));
    Float value;
    std::memcpy(&value, &bits, sizeof value);
    // Zeros are not written; NaNs other than the plain one are refused.
    if (value != 0 && value == value) return value;
  }
}

// The first line where two texts differ, for a readable failure.
void ExpectSameLines(const std::string& actual, const std::string& expected) {
  std::istringstream a(actual), e(expected);
  std::string line_a, line_e;
  for (int line = 1; std::getline(e, line_e); ++line) {
    ASSERT_TRUE(std::getline(a, line_a)) << "ends before line " << line;
    ASSERT_EQ(line_a, line_e) << "line " << line;
  }
  EXPECT_FALSE(std::getline(a, line_a)) << "more lines than expected";
}

TEST(TextNumbersTest, SameAsTheRuntimeWritesOnLinux) {
#ifdef _WIN32
  GTEST_SKIP() << "the runtime's own spelling on Windows is another (three exponent digits)";
#endif
  std::mt19937_64 random(20240611);
  ConfigData doc;
  std::string expected;
  // Enough inputs that WriteText shares them out among threads.
  for (int i = 0; i < 5000; ++i) {
    const float low = RandomValue<float, std::uint32_t>(random);
    const float high = RandomValue<float, std::uint32_t>(random);
    Input* in = doc.add_inputs();
    in->set_minvalue(low);
    in->set_maxvalue(high);
    expected += "inputs {\n  minValue: " + pb::SimpleFtoa(low) + "\n  maxValue: " + pb::SimpleFtoa(high) + "\n}\n";
  }
  Estimations* estimation = doc.add_estimationdata();
  expected += "estimationData {\n";
  for (int i = 0; i < 20000; ++i) {
    const double value = RandomValue<double, std::uint64_t>(random);
    estimation->add_thetavalues(value);
    expected += "  thetaValues: " + pb::SimpleDtoa(value) + "\n";
  }
  expected += "}\n";
  ExpectSameLines(WriteString(doc, Format::kText), expected);
  std::string written;
  WriteOptions options;
  options.threads = 2;
  Write(doc, Format::kText, [&](std::string_view text) { written.append(text); }, options);
  ExpectSameLines(written, expected);
}

}  // namespace
}  // namespace gcuschema::document
