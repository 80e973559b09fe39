// Text format: what protoc --decode prints of what the records write, read
// back, with errors that say where and what the right names are, and no
// silent change of a NaN or loss of fields the schema does not know.
#include <gcuschema/document/io.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/CurrentConfiguration.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/MapConfig.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/samples.h>

#include "support/wire.h"

namespace gcuschema::document {
namespace {

using test::Bytes;
using test::Encode;
using test::Hex;

// What protoc prints for `bytes` decoded as `record` from `schema_file`.
std::string ProtocDecode(const std::string& record, const std::string& schema_file, const std::string& bytes) {
  // ctest runs tests as parallel processes: one input file per process.
  const std::string input =
      ::testing::TempDir() + "gcuschema_decode_input." + std::to_string(getpid()) + ".bin";
  {
    std::ofstream out(input, std::ios::binary);
    out << bytes;
  }
  const std::string command = std::string(GCUSCHEMA_PROTOC) + " --decode=" + record + " -I " +
                              GCUSCHEMA_SCHEMA_DIR + " " + GCUSCHEMA_SCHEMA_DIR + "/" + schema_file + " < " +
                              input;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return "popen failed";
  std::string output;
  char buffer[4096];
  size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) output.append(buffer, n);
  const int status = pclose(pipe);
  EXPECT_EQ(status, 0) << command;
  std::remove(input.c_str());
  return output;
}

TEST(TextWriteTest, SameAsProtocDecode) {
  ConfigData doc;
  doc.set_version(3);
  doc.set_password("pa\"ss\n");
  doc.set_gcuno("G\xC3\xA9");
  AdcConfiguration adc;
  adc.set_range(AdcConfiguration::range12V);
  Input* in = doc.add_inputs();
  in->set_id(-1);
  in->set_dataloggerchannel(-2);
  in->set_config(Encode(adc) + Bytes({0x00, 0xFF}));
  in->set_minvalue(0.1f);
  in->set_maxvalue(1e30f);
  in->mutable_linearization()->set_type(Map::NearestNeighbour3dMap);
  in->set_ispreset(true);
  doc.add_outputs()->set_type(99);
  Estimations* estimation = doc.add_estimationdata();
  estimation->add_thetavalues(-0.0);
  estimation->add_thetavalues(1.0 / 3);
  estimation->set_ymaxsaturation(1e300);
  doc.mutable_units()->set_pressureunit(static_cast<Units_Pressure>(5));
  doc.add_canbus()->add_entityhandler()->set_type(2);
  doc.add_canbusrouter()->set_sourcecanbusid(1);
  const std::string bytes = Encode(doc);

  ConfigData parsed;
  Read(bytes, &parsed, ReadOptions{Format::kBinary});
  const std::string expected = ProtocDecode("ConfigData", "Config.proto", bytes);
  ASSERT_FALSE(expected.empty());
  EXPECT_EQ(WriteString(parsed, Format::kText), expected);
}

TEST(TextWriteTest, SameAsProtocDecodeForDeviceDataAndCalibration) {
  DeviceData image;
  image.set_gcuserialno("S1");
  image.set_config(Bytes({0x08, 0x03, 0xFF, 0x00}));
  EXPECT_EQ(WriteString(image, Format::kText), ProtocDecode("DeviceData", "DeviceData.proto", Encode(image)));

  CalibrationData calibration;
  calibration.add_adccalibration()->set_level12v(4000);
  calibration.add_freqinputscalibration()->add_pullups()->set_value(3);
  calibration.set_batteryvoltageadcchannel(-1);
  EXPECT_EQ(WriteString(calibration, Format::kText), ProtocDecode("CalibrationData", "CalibrationData.proto", Encode(calibration)));
}

TEST(TextReadTest, ReadsWhatWriteWritesInPlaceOfWhatTheRecordHeld) {
  ConfigData doc;
  doc.set_version(3);
  doc.set_gcuno("G\xC3\xA9\n");
  Input* in = doc.add_inputs();
  in->set_config(Bytes({0x08, 0x02, 0x00, 0xFF}));
  in->set_minvalue(0.1f);
  in->mutable_linearization()->set_type(Map::Interpolated3dMap);
  doc.mutable_units()->set_pressureunit(static_cast<Units_Pressure>(5));
  doc.add_estimationdata()->add_thetavalues(-0.0);

  ConfigData back;
  back.set_password("replaced");
  Read(WriteString(doc, Format::kText), &back, ReadOptions{Format::kText});
  EXPECT_EQ(Hex(Encode(back)), Hex(Encode(doc)));
}

Error TextError(const std::string& text, google::protobuf::Message* record) {
  try {
    Read(text, record, ReadOptions{Format::kText});
  } catch (const Error& e) {
    return e;
  }
  ADD_FAILURE() << "no error for " << text;
  return Error("", "");
}

TEST(TextReadTest, ErrorsCarryLineAndColumn) {
  ConfigData doc;
  Error e = TextError("version: 1\ngcuNo: \"x\"\n  bogus: 3\n", &doc);
  // The parser places the error just after the field name.
  EXPECT_EQ(e.where(), "line 3, column 8");
  EXPECT_NE(e.message().find("bogus"), std::string::npos) << e.what();

  e = TextError("inputs {\n  id: \"seven\"\n}\n", &doc);
  EXPECT_EQ(e.where(), "line 2, column 7");

  e = TextError("inputs {\n  id: 1\n", &doc);
  EXPECT_EQ(e.where().rfind("line 3, column ", 0), 0u) << e.what();

  // Unknown fields print by number and cannot be read back: say so.
  e = TextError("99: 42\n", &doc);
  EXPECT_EQ(e.where(), "line 1, column 1");
  EXPECT_NE(e.message().find("@unknown"), std::string::npos) << e.what();
}

TEST(TextReadTest, WrongNamesAreNamedWithTheRightOnes) {
  ConfigData doc;
  Error e = TextError("inputs {\n  aliass: \"x\"\n}\n", &doc);
  EXPECT_EQ(e.message(), "\"aliass\" is not a field of Input; did you mean \"alias\"?");

  e = TextError("units {\n  pressureUnit: Barr\n}\n", &doc);
  EXPECT_NE(e.message().find("\"Barr\" is not a value of Units.Pressure"), std::string::npos) << e.what();
  EXPECT_NE(e.message().find("did you mean \"Bar\"?"), std::string::npos) << e.what();
  EXPECT_NE(e.message().find("(the values are kPa, Bar and mBar)"), std::string::npos) << e.what();
}

TEST(TextWriteTest, NanWithSignOrPayloadIsRefusedNotChanged) {
  // 0x7FF8000000000001: a quiet NaN with a payload bit.
  double payload;
  const std::uint64_t bits = 0x7FF8000000000001ULL;
  std::memcpy(&payload, &bits, sizeof payload);
  ConfigData doc;
  doc.add_estimationdata()->add_thetavalues(1);
  doc.mutable_estimationdata(0)->add_thetavalues(payload);
  try {
    WriteString(doc, Format::kText);
    ADD_FAILURE() << "a NaN with a payload was printed";
  } catch (const Error& e) {
    EXPECT_EQ(e.where(), "estimationData[0].thetaValues[1]");
    EXPECT_NE(e.message().find("NaN with its sign bit or payload"), std::string::npos) << e.what();
  }
  // -NaN: only the sign bit.
  doc.mutable_estimationdata(0)->set_thetavalues(1, -std::numeric_limits<double>::quiet_NaN());
  EXPECT_THROW(Write(doc, Format::kText, [](std::string_view) {}), Error);
  // The plain NaN reads back as itself.
  doc.mutable_estimationdata(0)->set_thetavalues(1, std::numeric_limits<double>::quiet_NaN());
  ConfigData back;
  Read(WriteString(doc, Format::kText), &back, ReadOptions{Format::kText});
  EXPECT_EQ(Hex(Encode(back)), Hex(Encode(doc)));
}

TEST(TextWriteTest, StretchesAddUpToTheWholeTextOnAnyNumberOfThreads) {
  // Long enough that its inputs are shared out; with a -0.0 left out in an
  // element printed by a helper thread.
  SampleOptions options;
  options.inputs = 9000;
  ConfigData doc;
  SampleConfig(options, &doc);
  doc.mutable_inputs(5000)->set_minvalue(-0.0f);
  const std::string whole = WriteString(doc, Format::kText);
  EXPECT_EQ(whole.find("minValue: -0\n"), std::string::npos);
  for (int threads : {1, 2, 3, 0}) {
    std::string written;
    int calls = 0;
    WriteOptions write;
    write.threads = threads;
    Write(doc, Format::kText, [&](std::string_view text) {
      written.append(text);
      ++calls;
    }, write);
    EXPECT_TRUE(written == whole) << threads;
    EXPECT_GT(calls, 1);
  }
}

TEST(TextWriteTest, SingularNegativeZeroIsLeftOutAsJsonAndEncodeLeaveItOut) {
  // A record holding -0.0 in singular fields (as reading `minValue: -0`
  // leaves it), at the top, one record down and in a list of records; and
  // -0.0 in a list, which the encoding keeps.
  ConfigData doc;
  doc.add_inputs()->set_minvalue(-0.0f);
  Estimations* estimation = doc.add_estimationdata();
  estimation->set_yminsaturation(-0.0);
  estimation->add_thetavalues(-0.0);
  doc.add_inputs()->set_maxvalue(2.5f);
  // What encode writes: inputs[0] and the estimator without their -0.0.
  EXPECT_EQ(Hex(Encode(doc)), Hex(Bytes({0x1A, 0x00, 0x1A, 0x05, 0x4D, 0x00, 0x00, 0x20, 0x40, 0x4A, 0x0A, 0x1A, 0x08,
                                         0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x80})));
  EXPECT_EQ(WriteString(doc, Format::kText),
            "inputs {\n"
            "}\n"
            "inputs {\n"
            "  maxValue: 2.5\n"
            "}\n"
            "estimationData {\n"
            "  thetaValues: -0\n"
            "}\n");
  WriteOptions plain;
  plain.expand = false;
  plain.indent = 0;
  EXPECT_EQ(WriteString(doc, Format::kJson, plain),
            "{\"inputs\":[{},{\"maxValue\":2.5}],\"estimationData\":[{\"thetaValues\":[-0.0]}]}");

  // The record printed itself holds one.
  EXPECT_EQ(WriteString(*estimation, Format::kText), "thetaValues: -0\n");

  // Text that gives -0 reads as -0.0 in memory, shown as the encoding leaves it.
  ConfigData read;
  Read("inputs {\n  minValue: -0\n}\n", &read, ReadOptions{Format::kText});
  EXPECT_TRUE(std::signbit(read.inputs(0).minvalue()));
  EXPECT_EQ(WriteString(read, Format::kText), "inputs {\n}\n");
  EXPECT_EQ(Hex(Encode(read)), Hex(Bytes({0x1A, 0x00})));
}

TEST(TextWriteTest, UnknownFieldsAreRefusedRatherThanWrittenUnreadable) {
  // inputs[1] holds field 111 (varint 5): text format would print `111: 5`,
  // which no text reader reads back.
  ConfigData doc;
  Read(Bytes({0x08, 0x03, 0x1A, 0x00, 0x1A, 0x03, 0xF8, 0x06, 0x05}), &doc, ReadOptions{Format::kBinary});
  try {
    WriteString(doc, Format::kText);
    ADD_FAILURE() << "unknown fields were printed";
  } catch (const Error& e) {
    EXPECT_EQ(e.where(), "inputs[1]");
    EXPECT_EQ(e.message(),
              "holds field 111, which Input does not know: text format would write it by number, and no text "
              "format reader reads it back; use JSON, which keeps it as \"@unknown\", or the binary form");
  }
  // At the top, several, and on several threads: the same refusal, nothing written.
  ASSERT_TRUE(doc.MergeFromString(Bytes({0x98, 0x06, 0x2A, 0xA0, 0x06, 0x01})));
  doc.mutable_inputs(1)->GetReflection()->MutableUnknownFields(doc.mutable_inputs(1))->Clear();
  WriteOptions threads;
  threads.threads = 2;
  std::string written;
  try {
    Write(doc, Format::kText, [&](std::string_view part) { written.append(part); }, threads);
    ADD_FAILURE() << "unknown fields were printed";
  } catch (const Error& e) {
    EXPECT_EQ(e.where(), "");
    EXPECT_EQ(e.message().rfind("holds fields 99, 100, which ConfigData does not know", 0), 0u) << e.what();
  }
  EXPECT_EQ(written, "");
  // JSON keeps them.
  EXPECT_NE(WriteString(doc, Format::kJson).find("\"@unknown\": \"mAYqoAYB\""), std::string::npos);
}

}  // namespace
}  // namespace gcuschema::document
