#include <gcuschema/document/io.h>

#include <string>

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
    Read(bytes, record, ReadOptions{Format::kBinary});
  } catch (const Error& e) {
    return e;
  }
  ADD_FAILURE() << "no error for " << Hex(bytes);
  return Error("", "");
}

TEST(BinaryReadTest, ReadsAValidDocumentInPlaceOfWhatTheRecordHeld) {
  ConfigData doc;
  doc.set_version(3);
  doc.add_inputs()->set_alias("A");
  ConfigData parsed;
  parsed.set_gcuno("old");
  Read(Encode(doc), &parsed, ReadOptions{Format::kBinary});
  EXPECT_EQ(Hex(Encode(parsed)), Hex(Encode(doc)));
  EXPECT_EQ(parsed.gcuno(), "");
}

TEST(BinaryReadTest, SettingsBytesAreNotChecked) {
  ConfigData parsed;
  // inputs[0].config holds FF, which is no record at all.
  EXPECT_NO_THROW(Read(Bytes({0x1A, 0x03, 0x32, 0x01, 0xFF}), &parsed, ReadOptions{Format::kBinary}));
  EXPECT_EQ(parsed.inputs(0).config(), Bytes({0xFF}));
}

TEST(BinaryReadTest, TruncatedDocumentNamesTheEntryCutShort) {
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

TEST(BinaryReadTest, LengthPastTheEndOfItsRecord) {
  ConfigData doc;
  // inputs[0] is 4 bytes long, but its alias claims 9.
  const Error e = ParseError(Bytes({0x08, 0x01, 0x1A, 0x04, 0x2A, 0x09, 0x41, 0x42, 0x60, 0x01}), &doc);
  EXPECT_EQ(e.where(), "byte 5 (inputs[0].alias)");
  EXPECT_NE(e.message().find("declared length 9 runs past the end of its record (2 bytes left)"),
            std::string::npos)
      << e.what();
}

TEST(BinaryReadTest, InvalidUtf8GivesTheOffendingByteAndPath) {
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
  EXPECT_NO_THROW(Read(Bytes({0x52, 0x01, 0xC0}), &image, ReadOptions{Format::kBinary}));
}

TEST(BinaryReadTest, CutOffNumbersAndImpossibleTags) {
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

  // The same six-byte tag ending the data: too long, not cut off.
  e = ParseError(Bytes({0x08, 0x01, 0x88, 0x80, 0x80, 0x80, 0x80, 0x80}), &doc);
  EXPECT_EQ(e.where(), "byte 2");
  EXPECT_EQ(e.message(), "field tag: a number longer than 5 bytes");
  // Four bytes of a tag, all continuing, then the end: that one is cut off.
  e = ParseError(Bytes({0x08, 0x01, 0x88, 0x80, 0x80, 0x80}), &doc);
  EXPECT_EQ(e.where(), "byte 2");
  EXPECT_EQ(e.message(), "field tag: the number is cut off: it runs past the end of the data");

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

TEST(BinaryReadTest, PackedListCutInsideItsBlock) {
  Map3D table;
  // x: a packed block of one byte holding the start of a number.
  const Error e = ParseError(Bytes({0x0A, 0x01, 0x80}), &table);
  EXPECT_EQ(e.where(), "byte 2 (x)");
  EXPECT_NE(e.message().find("packed list element"), std::string::npos) << e.what();
  EXPECT_NE(e.message().find("its record"), std::string::npos) << e.what();
}

}  // namespace
}  // namespace gcuschema::document
