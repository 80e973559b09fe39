// Reading and writing documents: the format told by what parses, every read
// replacing what the record held, binary written as the records encode it.
#include <gcuschema/document/io.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include <gcuschema/Config.pb.h>
#include <gcuschema/document/error.h>
#include <gcuschema/document/samples.h>

#include "support/wire.h"

namespace gcuschema::document {
namespace {

using test::Bytes;
using test::Encode;
using test::Hex;

const google::protobuf::Descriptor* Config() { return ConfigData::descriptor(); }

// version 3, gcuNo "G": 08 03 5A 01 47.
ConfigData Small() {
  ConfigData doc;
  doc.set_version(3);
  doc.set_gcuno("G");
  return doc;
}

// A record holding something else, to be replaced.
ConfigData Held() {
  ConfigData doc;
  doc.set_password("held before");
  doc.add_inputs()->set_id(9);
  doc.set_canobjectcount(5);
  return doc;
}

Error ReadError(std::string_view bytes, const ReadOptions& options = {}) {
  ConfigData doc = Held();
  try {
    Read(bytes, &doc, options);
  } catch (const Error& e) {
    EXPECT_EQ(Hex(Encode(doc)), "") << "a failed read leaves the record empty";
    return e;
  }
  ADD_FAILURE() << "no error for " << Hex(std::string(bytes));
  return Error("", "");
}

TEST(DetectFormatTest, JsonHoldingARawDelInAStringIsJson) {
  // 0x7F may stand unescaped in a JSON string, as Write leaves it.
  const std::string json = "{\"gcuNo\": \"A\x7F" "B\"}";
  EXPECT_EQ(DetectFormat(json, Config()), Format::kJson);
  ConfigData doc;
  EXPECT_EQ(Read(json, &doc), Format::kJson);
  EXPECT_EQ(doc.gcuno(), "A\x7F" "B");

  doc.set_devicedescription("\x7F");
  const std::string written = WriteString(doc, Format::kJson);
  ASSERT_NE(written.find('\x7F'), std::string::npos) << written;
  EXPECT_EQ(DetectFormat(written, Config()), Format::kJson);
}

TEST(DetectFormatTest, AnEncodingStartingWithAnAtSignIsBinary) {
  // 0x40 is the tag of field 8 as a varint, canObjectCount: '@'.
  const std::string bytes = Bytes({0x40, 0x03, 0x5A, 0x01, 0x47});
  ConfigData parsed;
  ASSERT_TRUE(parsed.ParseFromString(bytes));
  ASSERT_EQ(parsed.canobjectcount(), 3u);
  EXPECT_EQ(DetectFormat(bytes, Config()), Format::kBinary);
  ConfigData doc;
  EXPECT_EQ(Read(bytes, &doc), Format::kBinary);
  EXPECT_EQ(Hex(Encode(doc)), Hex(bytes));
}

TEST(DetectFormatTest, AnEncodingThatStartsLikeJsonOrTextIsBinaryWhenOnlyThatParses) {
  // 0x62 'b': field 12 (deviceDescription), length 1, "x".
  const std::string like_text = Bytes({0x62, 0x01, 0x78});
  // 0x7B '{' and 0x7C '|': a group of field 15, which the record keeps as
  // an unknown field; then version 3.
  const std::string like_json = Bytes({0x7B, 0x7C, 0x08, 0x03});
  for (const std::string& bytes : {like_text, like_json}) {
    ConfigData parsed;
    ASSERT_TRUE(parsed.ParseFromString(bytes)) << Hex(bytes);
    EXPECT_EQ(DetectFormat(bytes, Config()), Format::kBinary) << Hex(bytes);
    ConfigData doc = Held();
    EXPECT_EQ(Read(bytes, &doc), Format::kBinary) << Hex(bytes);
    EXPECT_EQ(Hex(Encode(doc)), Hex(Encode(parsed)));
  }
}

TEST(DetectFormatTest, ValidJsonIsJsonEvenWhenItAlsoParsesAsAnEncoding) {
  // As an encoding: '{' opens a group of field 15 holding field 4 ('"')
  // of 32 (' ') bytes, '|' closes it; then field 4, outputs ('"'), of 125
  // ('}') bytes: an Output of a fixed32 field 1 ("\r" and four spaces) and
  // sixty times field 4 = 32 ("  "). As JSON: one member, " a", whose
  // string holds a DEL, and white space after the object.
  const std::string text = "{\" a\": \"xxxxxxxxxxxx\x7Fxxxxxxxxxxxxxx|\"}\r" + std::string(124, ' ');
  ConfigData parsed;
  ASSERT_TRUE(parsed.ParseFromString(text));
  ASSERT_EQ(parsed.outputs_size(), 1);
  EXPECT_EQ(DetectFormat(text, Config()), Format::kJson);
  // The JSON reader's error, not the encoding's reading.
  const Error e = ReadError(text);
  EXPECT_EQ(e.where(), "line 1, column 2 ( a)") << e.what();
  // Read as JSON that skips unknown members, it is the empty document.
  ReadOptions lenient;
  lenient.ignore_unknown_fields = true;
  ConfigData doc = Held();
  EXPECT_EQ(Read(text, &doc, lenient), Format::kJson);
  EXPECT_EQ(Hex(Encode(doc)), "");
}

TEST(DetectFormatTest, EmptyInputIsRefusedUnlessAFormatIsNamed) {
  try {
    DetectFormat("", Config());
    ADD_FAILURE() << "empty input was given a format";
  } catch (const Error& e) {
    EXPECT_EQ(e.remedy().kind, Remedy::Kind::kNameFormat);
  }
  const Error e = ReadError("");
  EXPECT_NE(e.message().find("empty"), std::string::npos) << e.what();
  EXPECT_EQ(e.remedy().kind, Remedy::Kind::kNameFormat);

  // Named, it is the empty document in binary and in text format.
  for (const Format format : {Format::kBinary, Format::kText}) {
    ConfigData doc = Held();
    EXPECT_EQ(Read("", &doc, ReadOptions{format}), format);
    EXPECT_EQ(Hex(Encode(doc)), "");
  }
  // JSON has no empty document.
  EXPECT_EQ(ReadError("", ReadOptions{Format::kJson}).remedy().kind, Remedy::Kind::kNone);
}

TEST(DetectFormatTest, TextFormatIsText) {
  EXPECT_EQ(DetectFormat("version: 3\ngcuNo: \"G\"\n", Config()), Format::kText);
  EXPECT_EQ(DetectFormat("# by hand\nversion: 3\n", Config()), Format::kText);
  // White space alone is the empty document in text format.
  EXPECT_EQ(DetectFormat(" \n", Config()), Format::kText);
}

TEST(DetectFormatTest, WhatParsesInNoFormatIsReportedInTheFormatItLooksLike) {
  // Valid JSON that is not a ConfigData: JSON, and the JSON reader's error.
  EXPECT_EQ(DetectFormat("{\"bogus\": 1}", Config()), Format::kJson);
  Error e = ReadError("{\"bogus\": 1}");
  EXPECT_EQ(e.where().rfind("line 1, column 2", 0), 0u) << e.what();
  EXPECT_EQ(DetectFormat("[1, 2]", Config()), Format::kJson);
  // Broken JSON is still JSON to the reader.
  EXPECT_EQ(DetectFormat("{\"version\": ", Config()), Format::kJson);
  e = ReadError("{\"version\": ");
  EXPECT_EQ(e.where().rfind("line 1, column ", 0), 0u) << e.what();
  // Broken text format is text.
  EXPECT_EQ(DetectFormat("version 3\n", Config()), Format::kText);
  e = ReadError("version 3\n");
  EXPECT_EQ(e.where().rfind("line 1, column ", 0), 0u) << e.what();
  // A cut encoding is binary, its error at a byte.
  const std::string cut = Bytes({0x1A, 0x05, 0x08, 0x01});
  EXPECT_EQ(DetectFormat(cut, Config()), Format::kBinary);
  e = ReadError(cut);
  EXPECT_EQ(e.where().rfind("byte ", 0), 0u) << e.what();
}

TEST(ReadTest, EachFormatReplacesWhatTheRecordHeld) {
  const ConfigData doc = Small();
  const std::string expected = Hex(Bytes({0x08, 0x03, 0x5A, 0x01, 0x47}));
  ASSERT_EQ(Hex(Encode(doc)), expected);
  for (const Format format : {Format::kBinary, Format::kText, Format::kJson}) {
    const std::string written = WriteString(doc, format);
    ConfigData named = Held();
    EXPECT_EQ(Read(written, &named, ReadOptions{format}), format);
    EXPECT_EQ(Hex(Encode(named)), expected) << static_cast<int>(format);
    ConfigData detected = Held();
    EXPECT_EQ(Read(written, &detected), format);
    EXPECT_EQ(Hex(Encode(detected)), expected) << static_cast<int>(format);
  }
}

TEST(ReadTest, AFailedReadLeavesTheRecordEmpty) {
  for (const Format format : {Format::kBinary, Format::kText, Format::kJson}) {
    const Error e = ReadError("version: x", ReadOptions{format});
    EXPECT_FALSE(e.message().empty());
  }
}

TEST(ReadTest, ThePairingComesInTheOptions) {
  const std::string json = R"({"inputs": [{"type": 2, "config": {"@type": "AdcSwitchConfiguration"}}]})";
  const Error e = ReadError(json);
  EXPECT_EQ(e.remedy().kind, Remedy::Kind::kPairCode);
  ReadOptions options;
  options.pairing.Apply("input:2=AdcSwitchConfiguration");
  ConfigData doc;
  EXPECT_EQ(Read(json, &doc, options), Format::kJson);
  EXPECT_EQ(Hex(Encode(doc)), Hex(Bytes({0x1A, 0x02, 0x18, 0x02})));
}

TEST(WriteTest, BinaryIsTheRecordsEncoding) {
  const ConfigData doc = Small();
  EXPECT_EQ(Hex(WriteString(doc, Format::kBinary)), Hex(Bytes({0x08, 0x03, 0x5A, 0x01, 0x47})));
  std::string written;
  Write(doc, Format::kBinary, [&written](std::string_view part) { written.append(part); });
  EXPECT_EQ(Hex(written), Hex(Bytes({0x08, 0x03, 0x5A, 0x01, 0x47})));
  // Unknown fields come back after the known ones, as the record writes them.
  ConfigData unknown;
  ASSERT_TRUE(unknown.ParseFromString(Bytes({0x98, 0x06, 0x2A, 0x08, 0x03})));
  EXPECT_EQ(Hex(WriteString(unknown, Format::kBinary)), Hex(Bytes({0x08, 0x03, 0x98, 0x06, 0x2A})));
}

TEST(WriteTest, ALargeEncodingGoesOutInStretchesThatAddUpToIt) {
  SampleOptions options;
  options.inputs = 4000;
  ConfigData doc;
  SampleConfig(options, &doc);
  const std::string whole = doc.SerializeAsString();
  std::string written;
  int parts = 0;
  Write(doc, Format::kBinary, [&](std::string_view part) {
    written.append(part);
    ++parts;
  });
  EXPECT_GT(parts, 1);
  EXPECT_TRUE(written == whole);
}

TEST(WriteTest, WhatTheSinkThrowsReachesTheCaller) {
  SampleOptions options;
  options.inputs = 4000;
  ConfigData doc;
  SampleConfig(options, &doc);
  for (const Format format : {Format::kBinary, Format::kText, Format::kJson}) {
    int calls = 0;
    EXPECT_THROW(Write(doc, format,
                       [&calls](std::string_view) {
                         if (++calls == 2) throw std::runtime_error("disk full");
                       }),
                 std::runtime_error)
        << static_cast<int>(format);
    EXPECT_EQ(calls, 2) << "nothing is handed on after the sink failed";
  }
}

// Library messages describe the document; how a program's user applies the
// remedy (a command-line option, say) is the program's to add.
TEST(ErrorTest, MessagesNameNoOptionOfAnyProgram) {
  std::vector<Error> errors;
  const auto collect = [&errors](const auto& failing) {
    try {
      failing();
      ADD_FAILURE() << "no error";
    } catch (const Error& e) {
      errors.push_back(e);
    }
  };
  ConfigData doc;
  collect([&] { Read("", &doc); });
  collect([&] { Read(R"({"inputs": [{"type": 2, "config": {"@type": "AdcSwitchConfiguration"}}]})", &doc); });
  collect([&] { Read(R"({"@type": "DeviceData"})", &doc); });
  collect([&] { Read(R"({"zzzzzzzzzzzz": 1})", &doc); });
  collect([&] { Read("zzzzzzzzzzzz: 1", &doc); });
  collect([&] { DocumentType(R"({"@type": "Qqqqqqqqqqqq"})"); });
  collect([&] { PairingCatalogue::Standard().Apply("input:Qqqqqqqqqqqq=AdcConfiguration"); });
  collect([&] { PairingCatalogue::Standard().Apply("input:1=Qqqqqqqqqqqq"); });
  ASSERT_EQ(errors.size(), 8u);
  for (const Error& e : errors) {
    // Each has a remedy a program could spell as an option.
    EXPECT_NE(e.remedy().kind, Remedy::Kind::kNone) << e.what();
    EXPECT_EQ(std::string(e.what()).find("--"), std::string::npos) << e.what();
    EXPECT_EQ(std::string(e.what()).find("gcuschema "), std::string::npos) << e.what();
  }
}

}  // namespace
}  // namespace gcuschema::document
