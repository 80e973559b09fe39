// How the JSON writer spells numbers and strings, checked value by value
// against what it promises: floats and doubles as std::to_chars spells
// their shortest round trip, strings escaped as the mapping requires, at
// any length.
#include <gcuschema/document/io.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <google/protobuf/stubs/strutil.h>
#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/PhonicWheelConfiguration.pb.h>
#include <gcuschema/document/error.h>

namespace gcuschema::document {
namespace {

template <typename T>
std::string ShortestSpelling(T value) {
  char buffer[64];
  return std::string(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
}

// The values of the one list member of a one-line JSON object, as written.
std::vector<std::string> ListValues(const std::string& json) {
  const std::size_t open = json.find('[');
  const std::size_t close = json.rfind(']');
  std::vector<std::string> values;
  std::size_t start = open + 1;
  for (std::size_t i = start; i <= close; ++i) {
    if (json[i] == ',' || i == close) {
      values.push_back(json.substr(start, i - start));
      start = i + 1;
    }
  }
  return values;
}

WriteOptions OneLine() {
  WriteOptions options;
  options.indent = 0;
  options.expand = false;
  return options;
}

// Whole numbers around and across the five digits below which the writer
// spells them as integers, fractions, extremes and random bit patterns.
template <typename T, typename Bits>
std::vector<T> FloatingSamples() {
  std::vector<T> values;
  for (int i = -100100; i <= 100100; ++i) values.push_back(static_cast<T>(i));
  for (int i = -2000; i <= 2000; ++i) values.push_back(static_cast<T>(i) / 8 + static_cast<T>(0.1));
  for (T power = 1; power < static_cast<T>(1e30); power *= 10) {
    values.push_back(power);
    values.push_back(-power);
    values.push_back(1 / power);
  }
  values.push_back(std::numeric_limits<T>::max());
  values.push_back(std::numeric_limits<T>::lowest());
  values.push_back(std::numeric_limits<T>::min());
  values.push_back(std::numeric_limits<T>::denorm_min());
  std::mt19937_64 random(7);
  while (values.size() < 260000) {
    const auto bits = static_cast<Bits>(random());
    T value;
    std::memcpy(&value, &bits, sizeof value);
    if (std::isfinite(value) && value != 0) values.push_back(value);
  }
  return values;
}

TEST(JsonSpellingTest, FloatsAreTheirShortestRoundTripSpelling) {
  const std::vector<float> values = FloatingSamples<float, std::uint32_t>();
  PhonicWheelConfiguration wheel;
  for (float value : values) wheel.add_referencebpvoltage(value);
  const std::vector<std::string> written = ListValues(WriteString(wheel, Format::kJson, OneLine()));
  ASSERT_EQ(written.size(), values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    ASSERT_EQ(written[i], ShortestSpelling(values[i])) << "float with the bits of " << values[i];
  }
}

TEST(JsonSpellingTest, DoublesAreTheirShortestRoundTripSpelling) {
  const std::vector<double> values = FloatingSamples<double, std::uint64_t>();
  Estimations estimation;
  for (double value : values) estimation.add_thetavalues(value);
  const std::vector<std::string> written = ListValues(WriteString(estimation, Format::kJson, OneLine()));
  ASSERT_EQ(written.size(), values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    ASSERT_EQ(written[i], ShortestSpelling(values[i])) << "double " << values[i];
  }
}

TEST(JsonSpellingTest, LongTextWithEscapesIsWrittenWhole) {
  // Longer than the stretches the writer escapes at a time, with escapes
  // astride their borders and UTF-8 of two, three and four bytes.
  std::string text;
  std::string expected = "\"";
  for (int i = 0; text.size() < 20000; ++i) {
    text += "Gear \"" + std::to_string(i) + "\"\\\n\t\x01 \xC3\xA9\xE2\x82\xAC\xF0\x9F\x9A\x97 ";
    expected += "Gear \\\"" + std::to_string(i) + "\\\"\\\\\\n\\t\\u0001 \xC3\xA9\xE2\x82\xAC\xF0\x9F\x9A\x97 ";
  }
  expected += "\"";
  ConfigData doc;
  doc.set_devicedescription(text);
  const std::string json = WriteString(doc, Format::kJson, OneLine());
  EXPECT_EQ(json, "{\"deviceDescription\":" + expected + "}");
}

TEST(JsonSpellingTest, TextThatIsNotUtf8AfterAsciiIsRefused) {
  // The first byte that is not ASCII comes late, and starts no character.
  ConfigData doc;
  doc.set_devicedescription(std::string(37, 'a') + "\xC3\xA9" + "\x80" + "tail");
  try {
    WriteString(doc, Format::kJson, OneLine());
    FAIL() << "text that is not UTF-8 was written";
  } catch (const Error& e) {
    EXPECT_EQ(e.where(), "deviceDescription");
  }
}

// Bytes are written as the runtime's own encoder writes them: the
// standard alphabet, padded.
TEST(JsonSpellingTest, BytesAreTheRuntimesBase64) {
  std::mt19937 random(11);
  WriteOptions plain;
  plain.expand = false;
  plain.indent = 0;
  for (int round = 0; round < 2000; ++round) {
    std::string bytes(static_cast<std::size_t>(std::uniform_int_distribution<int>(0, 40)(random)), '\0');
    for (char& c : bytes) c = static_cast<char>(std::uniform_int_distribution<int>(0, 255)(random));
    ConfigData doc;
    doc.add_inputs()->set_config(bytes);
    std::string expected;
    google::protobuf::Base64Escape(bytes, &expected);
    EXPECT_EQ(WriteString(doc, Format::kJson, plain),
              bytes.empty() ? R"({"inputs":[{}]})" : R"({"inputs":[{"config":")" + expected + R"("}]})");
  }
}

}  // namespace
}  // namespace gcuschema::document
