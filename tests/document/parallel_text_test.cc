// Large documents read and printed on several threads give exactly what one
// thread gives: the same text, the same record, the same errors.
#include <gcuschema/document/binary.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <google/protobuf/arena.h>
#include <gtest/gtest.h>

#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/samples.h>

#include "support/wire.h"

namespace gcuschema::document {
namespace {

using test::Bytes;
using test::Encode;

// Large enough that every path here takes its threads.
ConfigData BigConfig(int inputs = 6000) {
  ConfigData doc;
  SampleConfig({inputs, 3}, &doc);
  return doc;
}

std::string Error1(const std::function<void()>& run) {
  try {
    run();
  } catch (const Error& e) {
    return e.what();
  }
  return "no error";
}

TEST(PrintTextTest, SameTextOnAnyNumberOfThreads) {
  ConfigData doc = BigConfig();
  const std::string expected = ToText(doc);
  ASSERT_GT(expected.size(), 1000000u);
  for (int threads : {1, 2, 3, 8, 0}) {
    const TextPieces text = PrintText(&doc, threads);
    EXPECT_EQ(text.size(), expected.size()) << threads;
    EXPECT_TRUE(text.ToString() == expected) << threads;
  }
  // More than one piece when printed apart: the shares were really used.
  EXPECT_GT(PrintText(&doc, 2).pieces().size(), 1u);
}

TEST(PrintTextTest, TheRecordGetsBackItsOwnElements) {
  ConfigData doc = BigConfig();
  const std::string bytes = Encode(doc);
  std::vector<const Input*> inputs;
  for (const Input& input : doc.inputs()) inputs.push_back(&input);
  PrintText(&doc, 4);
  ASSERT_EQ(doc.inputs_size(), static_cast<int>(inputs.size()));
  for (int i = 0; i < doc.inputs_size(); ++i) ASSERT_EQ(&doc.inputs(i), inputs[i]) << i;
  EXPECT_TRUE(Encode(doc) == bytes);
}

TEST(PrintTextTest, UnknownFieldsStayLastAndRecordsOnAnArenaPrintAlike) {
  std::string bytes = Encode(BigConfig(2000));
  // Field 100 (varint 5) and field 101 (bytes "ab") after everything known.
  bytes += Bytes({0xA0, 0x06, 0x05, 0xAA, 0x06, 0x02, 'a', 'b'});
  ConfigData heap;
  ASSERT_TRUE(heap.ParseFromString(bytes));
  const std::string expected = ToText(heap);
  ASSERT_NE(expected.find("\n100: 5\n101: \"ab\"\n"), std::string::npos);
  EXPECT_TRUE(PrintText(&heap, 3).ToString() == expected);

  google::protobuf::Arena arena;
  auto* on_arena = google::protobuf::Arena::CreateMessage<ConfigData>(&arena);
  ASSERT_TRUE(on_arena->ParseFromString(bytes));
  EXPECT_TRUE(PrintText(on_arena, 2).ToString() == expected);
  EXPECT_TRUE(Encode(*on_arena) == bytes);
}

TEST(PrintTextTest, OtherRecordsAndSmallOnes) {
  SampleOptions options;
  options.inputs = 4000;
  DeviceData image;
  SampleDeviceData(options, &image);
  EXPECT_TRUE(PrintText(&image, 2).ToString() == ToText(image));
  CalibrationData calibration;
  SampleCalibration(options, &calibration);
  EXPECT_TRUE(PrintText(&calibration, 2).ToString() == ToText(calibration));
  ConfigData small = BigConfig(5);
  EXPECT_EQ(PrintText(&small, 2).ToString(), ToText(small));
  ConfigData empty;
  EXPECT_EQ(PrintText(&empty, 2).ToString(), "");
}

TEST(PrintTextTest, WrittenAsItIsMadeInOrder) {
  ConfigData doc = BigConfig();
  const std::string expected = ToText(doc);
  for (int threads : {1, 2, 3}) {
    std::string written;
    int calls = 0;
    // The pieces are valid during the call only: copied at once.
    PrintText(
        &doc,
        [&](const std::vector<std::string_view>& pieces) {
          ++calls;
          for (std::string_view piece : pieces) written.append(piece.data(), piece.size());
        },
        threads);
    EXPECT_TRUE(written == expected) << threads;
    EXPECT_GT(calls, 4) << threads;
  }
}

TEST(TextPiecesTest, ReusedBlocksHoldNewText) {
  TextPieces first(64);
  first.Append(std::string(1000, 'a'));
  TextPieces second(64);
  second.Reuse(std::move(first));
  EXPECT_EQ(first.size(), 0u);
  second.Append(std::string(500, 'b'));
  second.Append(std::string(700, 'c'));
  EXPECT_EQ(second.ToString(), std::string(500, 'b') + std::string(700, 'c'));
}

TEST(TextPiecesTest, AppendsCopiesAndMovesInOrder) {
  TextPieces a;
  a.Append("one ");
  a.Append(std::string(100000, 'x'));
  TextPieces b;
  b.Append("two");
  a.Append(std::move(b));
  a.Append(" three");
  EXPECT_EQ(b.size(), 0u);
  EXPECT_EQ(a.ToString(), "one " + std::string(100000, 'x') + "two three");
  EXPECT_EQ(a.size(), 4u + 100000u + 9u);
  std::string joined;
  for (std::string_view piece : a.pieces()) joined += piece;
  EXPECT_EQ(joined, a.ToString());
}

void ExpectSameRecord(const std::string& text) {
  ConfigData one;
  ConfigData two;
  const std::string error_one = Error1([&] { FromText(text, &one, 1); });
  const std::string error_two = Error1([&] { FromText(text, &two, 2); });
  EXPECT_EQ(error_two, error_one);
  EXPECT_TRUE(Encode(two) == Encode(one));
}

TEST(FromTextTest, SameRecordOnAnyNumberOfThreads) {
  const ConfigData doc = BigConfig();
  const std::string text = ToText(doc);
  for (int threads : {1, 2, 3, 8}) {
    ConfigData back;
    back.set_password("replaced");
    FromText(text, &back, threads);
    EXPECT_TRUE(Encode(back) == Encode(doc)) << threads;
  }
}

TEST(FromTextTest, FieldsNamedAgainLaterAreRefusedAsByOneParse) {
  const std::string text = ToText(BigConfig());
  ASSERT_EQ(text.rfind("version: ", 0), 0u);
  // version set first, then named again at the end, with its default too.
  ExpectSameRecord(text + "version: 0\n");
  ExpectSameRecord(text + "version: 9\n");
  ExpectSameRecord(text + "units {\n}\n");
  // Given at its default first, then set: one parse takes that.
  ExpectSameRecord("version: 0\n" + text.substr(text.find('\n') + 1) + "version: 9\n");
  std::string without_number = text;
  const std::size_t number = without_number.find("\ngcuNo: ");
  ASSERT_NE(number, std::string::npos);
  without_number.erase(number + 1, without_number.find('\n', number + 1) - number);
  ConfigData parsed;
  FromText("gcuNo: \"\"\n" + without_number + "gcuNo: \"late\"\n", &parsed, 2);
  EXPECT_EQ(parsed.gcuno(), "late");
}

TEST(FromTextTest, ErrorsLateInTheTextKeepTheirLine) {
  const std::string text = ToText(BigConfig());
  const std::string bad = text + "inputs {\n  id: \"seven\"\n}\n";
  ConfigData doc;
  const std::string error = Error1([&] { FromText(bad, &doc, 2); });
  const int lines = static_cast<int>(std::count(text.begin(), text.end(), '\n'));
  EXPECT_EQ(error.rfind("line " + std::to_string(lines + 2) + ", column 7: ", 0), 0u) << error;
  ExpectSameRecord(bad);
}

TEST(FromTextTest, TextThatIsNotLaidOutAsPrintedReadsTheSame) {
  // Without indentation, nested fields also start lines with a name: cuts
  // may fall inside records, and the text must still read as one parse.
  const std::string printed = ToText(BigConfig(3000));
  std::string flat;
  bool line_start = true;
  for (char c : printed) {
    if (line_start && c == ' ') continue;
    line_start = c == '\n';
    flat += c;
  }
  ExpectSameRecord(flat);
  // All on one line: nowhere to cut.
  std::string one_line = printed;
  std::replace(one_line.begin(), one_line.end(), '\n', ' ');
  ExpectSameRecord(one_line);
  // Comments and strings holding what looks like fields.
  ExpectSameRecord(printed + "# version: 4\ngcuNo: \"x\\ninputs {\"\n");
}

TEST(ParseBinaryTest, SameRecordOnAnyNumberOfThreads) {
  const ConfigData doc = BigConfig();
  const std::string bytes = Encode(doc);
  ASSERT_GT(bytes.size(), 600000u);
  for (int threads : {1, 2, 3, 8}) {
    ConfigData back;
    back.set_password("replaced");
    ParseBinary(bytes, &back, threads);
    EXPECT_TRUE(Encode(back) == bytes) << threads;
  }
}

TEST(ParseBinaryTest, FieldsRepeatedLaterAndErrorsAgreeWithOneParse) {
  const std::string bytes = Encode(BigConfig());
  auto expect_same = [](const std::string& data) {
    ConfigData one;
    ConfigData two;
    const std::string error_one = Error1([&] { ParseBinary(data, &one, 1); });
    const std::string error_two = Error1([&] { ParseBinary(data, &two, 2); });
    EXPECT_EQ(error_two, error_one);
    EXPECT_TRUE(Encode(two) == Encode(one));
  };
  // version again at the end, at 0: one parse lets it win.
  expect_same(bytes + Bytes({0x08, 0x00}));
  // units again: one parse merges the two.
  expect_same(bytes + Bytes({0x52, 0x02, 0x08, 0x01}));
  // Unknown fields at both ends keep their order.
  expect_same(Bytes({0xA0, 0x06, 0x01}) + bytes + Bytes({0xA0, 0x06, 0x02}));
  // A cut-off record late in the data.
  expect_same(bytes + Bytes({0x1A, 0x05, 0x08}));
  // Invalid UTF-8 in the last input's alias.
  std::string bad = bytes;
  const std::size_t alias = bad.rfind("Analog_");
  ASSERT_NE(alias, std::string::npos);
  bad[alias] = '\xFF';
  expect_same(bad);
}

}  // namespace
}  // namespace gcuschema::document
