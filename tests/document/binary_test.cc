#include <gcuschema/document/binary.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include <unistd.h>

#include <gtest/gtest.h>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/CalibrationData.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/MapConfig.pb.h>
#include <gcuschema/document/error.h>

#include "support/wire.h"

namespace gcuschema::document {
namespace {

using test::Bytes;
using test::Encode;
using test::Hex;

Error ParseError(const std::string& bytes, google::protobuf::Message* record) {
  try {
    ParseBinary(bytes, record);
  } catch (const Error& e) {
    return e;
  }
  ADD_FAILURE() << "no error for " << Hex(bytes);
  return Error("", "");
}

TEST(ParseBinaryTest, ReadsAValidDocumentInPlaceOfWhatTheRecordHeld) {
  ConfigData doc;
  doc.set_version(3);
  doc.add_inputs()->set_alias("A");
  ConfigData parsed;
  parsed.set_gcuno("old");
  ParseBinary(Encode(doc), &parsed);
  EXPECT_EQ(Hex(Encode(parsed)), Hex(Encode(doc)));
  EXPECT_EQ(parsed.gcuno(), "");
}

TEST(ParseBinaryTest, SettingsBytesAreNotChecked) {
  ConfigData parsed;
  // inputs[0].config holds FF, which is no record at all.
  EXPECT_NO_THROW(ParseBinary(Bytes({0x1A, 0x03, 0x32, 0x01, 0xFF}), &parsed));
  EXPECT_EQ(parsed.inputs(0).config(), Bytes({0xFF}));
}

TEST(ParseBinaryTest, TruncatedDocumentNamesTheEntryCutShort) {
  ConfigData doc;
  doc.set_version(3);
  doc.add_inputs()->set_alias("oil");
  const std::string bytes = Encode(doc);  // 08 03 1A 05 2A 03 6F 69 6C
  const Error e = ParseError(bytes.substr(0, 6), &doc);
  EXPECT_EQ(e.where(), "byte 3 (inputs[0])");
  EXPECT_NE(e.message().find("declared length 5"), std::string::npos) << e.what();
  EXPECT_NE(e.message().find("end of the data (2 bytes left)"), std::string::npos) << e.what();
  EXPECT_NE(e.message().find("cut short"), std::string::npos) << e.what();
}

TEST(ParseBinaryTest, LengthPastTheEndOfItsRecord) {
  ConfigData doc;
  // inputs[0] is 4 bytes long, but its alias claims 9.
  const Error e = ParseError(Bytes({0x08, 0x01, 0x1A, 0x04, 0x2A, 0x09, 0x41, 0x42, 0x60, 0x01}), &doc);
  EXPECT_EQ(e.where(), "byte 5 (inputs[0].alias)");
  EXPECT_NE(e.message().find("declared length 9 runs past the end of its record (2 bytes left)"),
            std::string::npos)
      << e.what();
}

TEST(ParseBinaryTest, InvalidUtf8GivesTheOffendingByteAndPath) {
  ConfigData doc;
  for (int i = 0; i < 4; ++i) doc.add_inputs()->set_alias("ok");
  std::string bytes = Encode(doc);
  const size_t fifth = bytes.size();
  // inputs[4] { alias: 41 42 C3 28 }: C3 starts a two-byte character that 28 does not finish.
  bytes += Bytes({0x1A, 0x06, 0x2A, 0x04, 0x41, 0x42, 0xC3, 0x28});
  const Error e = ParseError(bytes, &doc);
  EXPECT_EQ(e.where(), "byte " + std::to_string(fifth + 6) + " (inputs[4].alias)");
  EXPECT_NE(e.message().find("invalid UTF-8"), std::string::npos) << e.what();
  EXPECT_NE(e.message().find("Input.alias"), std::string::npos) << e.what();

  DeviceData image;
  const Error lone = ParseError(Bytes({0x12, 0x01, 0xC0}), &image);
  EXPECT_EQ(lone.where(), "byte 2 (gcuSerialNo)");
  EXPECT_NE(lone.message().find("DeviceData.gcuSerialNo"), std::string::npos) << lone.what();
  // The same byte in a block that is not text is fine.
  EXPECT_NO_THROW(ParseBinary(Bytes({0x52, 0x01, 0xC0}), &image));
}

TEST(ParseBinaryTest, CutOffNumbersAndImpossibleTags) {
  ConfigData doc;
  Error e = ParseError(Bytes({0x08, 0x03, 0x08}), &doc);
  EXPECT_EQ(e.where(), "byte 3 (version)");
  EXPECT_NE(e.message().find("cut off"), std::string::npos) << e.what();

  e = ParseError(Bytes({0x08, 0x80, 0x80}), &doc);
  EXPECT_EQ(e.where(), "byte 1 (version)");
  EXPECT_NE(e.message().find("cut off"), std::string::npos) << e.what();

  e = ParseError(Bytes({0x08, 0x01, 0x0F}), &doc);
  EXPECT_EQ(e.where(), "byte 2");
  EXPECT_NE(e.message().find("wire type 7"), std::string::npos) << e.what();

  e = ParseError(Bytes({0x08, 0x01, 0x00}), &doc);
  EXPECT_EQ(e.where(), "byte 2");
  EXPECT_NE(e.message().find("field number 0"), std::string::npos) << e.what();

  // inputs[0] { minValue: only 2 of its 4 bytes }.
  e = ParseError(Bytes({0x1A, 0x03, 0x45, 0x00, 0x00}), &doc);
  EXPECT_EQ(e.where(), "byte 3 (inputs[0].minValue)");
  EXPECT_NE(e.message().find("4-byte value is cut off"), std::string::npos) << e.what();

  // An unknown group (field 15, wire type 3) that is never closed.
  e = ParseError(Bytes({0x7B, 0x08, 0x01}), &doc);
  EXPECT_EQ(e.where(), "byte 0 (field 15)");
  EXPECT_NE(e.message().find("not closed"), std::string::npos) << e.what();

  // A tag the runtime will not read: six bytes long.
  e = ParseError(Bytes({0x88, 0x80, 0x80, 0x80, 0x80, 0x00, 0x01}), &doc);
  EXPECT_EQ(e.where(), "byte 0");
  EXPECT_NE(e.message().find("longer than 5 bytes"), std::string::npos) << e.what();

  // A length written in ten bytes (its value is 0, but the runtime reads five at most).
  e = ParseError(Bytes({0x1A, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00}), &doc);
  EXPECT_EQ(e.where(), "byte 1 (inputs[0])");
  EXPECT_NE(e.message().find("more than 5 bytes"), std::string::npos) << e.what();

  // An unknown field inside an entry is named by its number.
  e = ParseError(Bytes({0x1A, 0x02, 0xF8, 0x06}), &doc);
  EXPECT_EQ(e.where(), "byte 4 (inputs[0], field 111)");
  EXPECT_NE(e.message().find("cut off"), std::string::npos) << e.what();

  // An end-group tag with no group open.
  e = ParseError(Bytes({0x08, 0x01, 0x7C}), &doc);
  EXPECT_EQ(e.where(), "byte 2");
  EXPECT_NE(e.message().find("end-group"), std::string::npos) << e.what();
}

TEST(ParseBinaryTest, PackedListCutInsideItsBlock) {
  Map3D table;
  // x: a packed block of one byte holding the start of a number.
  const Error e = ParseError(Bytes({0x0A, 0x01, 0x80}), &table);
  EXPECT_EQ(e.where(), "byte 2 (x)");
  EXPECT_NE(e.message().find("packed list element"), std::string::npos) << e.what();
  EXPECT_NE(e.message().find("its record"), std::string::npos) << e.what();
}

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

TEST(ToTextTest, SameAsProtocDecode) {
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
  std::string bytes = Encode(doc);
  // Fields the schema does not know: a varint, a fixed32, bytes and a group.
  bytes += Bytes({0xF8, 0x06, 0x2A, 0xFD, 0x06, 1, 2, 3, 4, 0x82, 0x07, 0x02, 0x08, 0x01,
                  0x8B, 0x07, 0x08, 0x05, 0x8C, 0x07});
  // inputs[1] { minValue: -0.0 }: not canonical, but protoc shows it.
  bytes += Bytes({0x1A, 0x05, 0x45, 0x00, 0x00, 0x00, 0x80});

  ConfigData parsed;
  ParseBinary(bytes, &parsed);
  const std::string expected = ProtocDecode("ConfigData", "Config.proto", bytes);
  ASSERT_FALSE(expected.empty());
  EXPECT_EQ(ToText(parsed), expected);
}

TEST(ToTextTest, SameAsProtocDecodeForDeviceDataAndCalibration) {
  DeviceData image;
  image.set_gcuserialno("S1");
  image.set_config(Bytes({0x08, 0x03, 0xFF, 0x00}));
  EXPECT_EQ(ToText(image), ProtocDecode("DeviceData", "DeviceData.proto", Encode(image)));

  CalibrationData calibration;
  calibration.add_adccalibration()->set_level12v(4000);
  calibration.add_freqinputscalibration()->add_pullups()->set_value(3);
  calibration.set_batteryvoltageadcchannel(-1);
  EXPECT_EQ(ToText(calibration), ProtocDecode("CalibrationData", "CalibrationData.proto", Encode(calibration)));
}

TEST(FromTextTest, ReadsWhatToTextWrites) {
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
  FromText(ToText(doc), &back);
  EXPECT_EQ(Hex(Encode(back)), Hex(Encode(doc)));
}

Error TextError(const std::string& text, google::protobuf::Message* record) {
  try {
    FromText(text, record);
  } catch (const Error& e) {
    return e;
  }
  ADD_FAILURE() << "no error for " << text;
  return Error("", "");
}

TEST(FromTextTest, ErrorsCarryLineAndColumn) {
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

}  // namespace
}  // namespace gcuschema::document
