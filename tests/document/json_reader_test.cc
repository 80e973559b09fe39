// The JSON reader is strict where the protobuf JSON mapping is strict and
// lenient where it is lenient, and every refusal says where (line, column
// and field path) and what.
#include <gcuschema/document/io.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include <google/protobuf/stubs/strutil.h>
#include <gtest/gtest.h>

#include <gcuschema/AdcConfiguration.pb.h>
#include <gcuschema/Config.pb.h>
#include <gcuschema/CurrentConfiguration.pb.h>
#include <gcuschema/DeviceData.pb.h>
#include <gcuschema/DigitalInputConfiguration.pb.h>
#include <gcuschema/document/error.h>

#include "support/choice_record.h"
#include "support/wire.h"

namespace gcuschema::document {
namespace {

using test::Bytes;
using test::Encode;
using test::Hex;

// The bytes of the record read from `text`, or "error at <where>: <message>".
std::string ReadOutcome(const std::string& text, const ReadOptions& options = ReadOptions{Format::kJson}) {
  ConfigData doc;
  try {
    Read(text, &doc, options);
  } catch (const Error& e) {
    return "error at " + e.where() + ": " + e.message();
  }
  return Hex(Encode(doc));
}

// What the error reading `text` says the caller can change besides the text.
Remedy ReadRemedy(const std::string& text) {
  ConfigData doc;
  try {
    Read(text, &doc, ReadOptions{Format::kJson});
  } catch (const Error& e) {
    return e.remedy();
  }
  ADD_FAILURE() << "no error for " << text;
  return {};
}

std::string ReadDeviceData(const std::string& text) {
  DeviceData image;
  try {
    Read(text, &image, ReadOptions{Format::kJson});
  } catch (const Error& e) {
    return "error at " + e.where() + ": " + e.message();
  }
  return Hex(Encode(image));
}

TEST(JsonReaderTest, DuplicateMembersAreRefused) {
  EXPECT_EQ(ReadOutcome(R"({"version": 1, "version": 2})"),
            "error at line 1, column 16 (version): the field is given twice (as \"version\"); keep one");
  // Under its JSON name and its schema name alike.
  EXPECT_EQ(ReadOutcome(R"({"units": {}, "Units": {}})").rfind("error at line 1, column 15 (units)", 0), std::string::npos);
  EXPECT_EQ(ReadOutcome(R"({"inputs": [{"id": 1, "id": 1}]})").rfind("error at line 1, column 23 (inputs[0].id): ", 0), 0u);
  EXPECT_EQ(ReadOutcome(R"({"@unknown": "", "@unknown": ""})").rfind("error at line 1, column 18 (@unknown): ", 0), 0u);
}

TEST(JsonReaderTest, ADuplicateMemberNamesItsSpellingsOnceEach) {
  // Under one name, said once; under the JSON name and the schema name, both.
  EXPECT_EQ(ReadOutcome(R"({"gcuNo": "A", "gcuNo": "B"})"),
            "error at line 1, column 16 (gcuNo): the field is given twice (as \"gcuNo\"); keep one");
  CurrentConfiguration current;
  try {
    Read(R"({"Unused1": 1, "__unused1": 2})", &current, ReadOptions{Format::kJson});
    ADD_FAILURE() << "no error for a field given twice";
  } catch (const Error& e) {
    EXPECT_EQ(e.message(), "the field is given twice (as \"Unused1\" or \"__unused1\"); keep one");
  }
}

TEST(JsonReaderTest, RecordsAreNamedWithTheArticleTheirNameTakes) {
  EXPECT_EQ(ReadOutcome(R"({"@type": "AdcConfiguration"})"),
            "error at line 1, column 11 (@type): the document names itself an AdcConfiguration, but is read as a "
            "ConfigData; correct its \"@type\", or read it as the record it names");
  // "CA==": field 1's tag (08) and no value after it.
  EXPECT_EQ(ReadOutcome(R"({"inputs": [{"@unknown": "CA=="}]})"),
            "error at line 1, column 26 (inputs[0].@unknown): is not the encoding of fields of an Input");
  const auto error_reading = [](google::protobuf::Message* record, const std::string& text) {
    try {
      Read(text, record, ReadOptions{Format::kJson});
    } catch (const Error& e) {
      return e.message();
    }
    return std::string("no error");
  };
  AdcConfiguration adc;
  EXPECT_EQ(error_reading(&adc, ""), "the text holds no JSON value; expected an object holding an AdcConfiguration");
  EXPECT_EQ(error_reading(&adc, "[]"), "expected a JSON object holding an AdcConfiguration, found a list");
  // "Units" is said with a "you": a Units.
  Units units;
  EXPECT_EQ(error_reading(&units, "[]"), "expected a JSON object holding a Units, found a list");
}

// Where the error reading `text` is placed.
std::string ErrorPlace(const std::string& text) {
  ConfigData doc;
  try {
    Read(text, &doc, ReadOptions{Format::kJson});
  } catch (const Error& e) {
    return e.where();
  }
  return "no error";
}

TEST(JsonReaderTest, ColumnsCountCharactersNotBytes) {
  // "\u00e9", "\u20ac" and "\U0001F600" take 2, 3 and 4 bytes: one column each.
  EXPECT_EQ(ErrorPlace("{\"gcuNo\": \"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\", \"version\": \"x\"}"),
            "line 1, column 29 (version)");
  // On a later line, from that line's start.
  EXPECT_EQ(ErrorPlace("{\"gcuNo\": \"\xC3\xA9\",\n \"deviceDescription\": \"\xE2\x82\xAC\", \"version\": \"x\"}"),
            "line 2, column 39 (version)");
}

TEST(JsonReaderTest, CrAndLfAndCrLfEachBreakALine) {
  for (const char* const newline : {"\n", "\r", "\r\n"}) {
    const std::string text = std::string("{") + newline + "\"version\": 1," + newline + newline + " \"version\": 2}";
    EXPECT_EQ(ErrorPlace(text), "line 4, column 2 (version)") << testing::PrintToString(text);
  }
  // Mixed: a lone CR, a CR LF and an LF are three line breaks.
  EXPECT_EQ(ErrorPlace("{\r\r\n\n\"version\": \"x\"}"), "line 4, column 12 (version)");
}

TEST(JsonReaderTest, NullInAListIsRefusedAndNullElsewhereMeansUnset) {
  EXPECT_EQ(ReadOutcome(R"({"inputs": [{}, null]})"),
            "error at line 1, column 17 (inputs[1]): a list cannot hold null; remove it or give a value");
  EXPECT_EQ(ReadOutcome(R"({"estimationData": [{"thetaValues": [1, null]}]})")
                .rfind("error at line 1, column 41 (estimationData[0].thetaValues[1]): ", 0),
            0u);
  EXPECT_EQ(ReadOutcome(R"({"version": null, "inputs": null, "units": null, "gcuNo": null})"), "");
}

TEST(JsonReaderTest, ValuesOfTheWrongKindAreRefused) {
  // A scalar or an object where a list belongs is not wrapped.
  EXPECT_EQ(ReadOutcome(R"({"inputs": {"id": 1}})"), "error at line 1, column 12 (inputs): expected a list, found an object");
  EXPECT_EQ(ReadOutcome(R"({"estimationData": [{"thetaValues": 1}]})"),
            "error at line 1, column 37 (estimationData[0].thetaValues): expected a list, found the number 1");
  // A string is not a bool, a bool not a number, a list not a record.
  EXPECT_EQ(ReadOutcome(R"({"inputs": [{"isPreset": "true"}]})"),
            "error at line 1, column 26 (inputs[0].isPreset): expected true or false, found the string \"true\"");
  EXPECT_EQ(ReadOutcome(R"({"version": true})").rfind("error at line 1, column 13 (version): expected an integer", 0), 0u);
  EXPECT_EQ(ReadOutcome(R"({"units": []})"), "error at line 1, column 11 (units): expected an object, found a list");
  EXPECT_EQ(ReadOutcome(R"({"gcuNo": 7})"), "error at line 1, column 11 (gcuNo): expected a string, found the number 7");
}

TEST(JsonReaderTest, NumbersOutOfRangeOrNotIntegralAreRefused) {
  EXPECT_EQ(ReadOutcome(R"({"version": 4294967296})"),
            "error at line 1, column 13 (version): the number 4294967296 is out of range for a uint32 field");
  EXPECT_EQ(ReadOutcome(R"({"version": -1})"),
            "error at line 1, column 13 (version): the number -1 is out of range for a uint32 field");
  EXPECT_EQ(ReadOutcome(R"({"inputs": [{"id": 1.5}]})"),
            "error at line 1, column 20 (inputs[0].id): the number 1.5 is not an integer for an int32 field");
  EXPECT_EQ(ReadOutcome(R"({"inputs": [{"minValue": 1e39}]})"),
            "error at line 1, column 26 (inputs[0].minValue): the number 1e39 is out of range for a float field");
  // Beyond any double: the JSON reader's own text, placed and pathed.
  const std::string huge = ReadOutcome(R"({"estimationData": [{"thetaValues": [1, -1e400]}]})");
  EXPECT_EQ(huge.rfind("error at line 1, column 41 (estimationData[0].thetaValues): ", 0), 0u) << huge;
  EXPECT_NE(huge.find("-1e400"), std::string::npos) << huge;
  EXPECT_EQ(huge.find("json.exception"), std::string::npos) << huge;
}

TEST(JsonReaderTest, NumbersAlsoAsStringsAndIntegralFloats) {
  // version (1) = 7, canObjectCount (8) = 100.
  EXPECT_EQ(ReadOutcome(R"({"version": "7", "canObjectCount": 1e2})"), Hex(Bytes({0x08, 0x07, 0x40, 0x64})));
  // estimationData (9), thetaValues (3) packed: 1.5, NaN, -Infinity.
  EXPECT_EQ(ReadOutcome(R"({"estimationData": [{"thetaValues": ["1.5", "NaN", "-Infinity"]}]})"),
            Hex(Bytes({0x4A, 0x1A, 0x1A, 0x18, 0, 0, 0, 0, 0, 0, 0xF8, 0x3F, 0, 0, 0, 0, 0, 0, 0xF8, 0x7F, 0, 0,
                       0, 0, 0, 0, 0xF0, 0xFF})));
  EXPECT_EQ(ReadOutcome(R"({"version": "seven"})"),
            "error at line 1, column 13 (version): the string \"seven\" is not a number for a uint32 field");
}

TEST(JsonReaderTest, EnumerationsByNameOrNumberAndWrongNamesListTheValues) {
  // units (10) { pressureUnit (1): mBar (2) }, then the number 5 the
  // enumeration lacks.
  EXPECT_EQ(ReadOutcome(R"({"units": {"pressureUnit": "mBar"}})"), Hex(Bytes({0x52, 0x02, 0x08, 0x02})));
  EXPECT_EQ(ReadOutcome(R"({"units": {"pressureUnit": 5}})"), Hex(Bytes({0x52, 0x02, 0x08, 0x05})));
  const std::string wrong = ReadOutcome(R"({"units": {"pressureUnit": "Barr"}})");
  EXPECT_EQ(wrong.rfind("error at line 1, column 28 (units.pressureUnit): \"Barr\" is not a value of Units.Pressure; "
                        "did you mean \"Bar\"? (the values are kPa, Bar and mBar)",
                        0),
            0u)
      << wrong;
  ReadOptions lenient{Format::kJson};
  lenient.ignore_unknown_fields = true;
  EXPECT_EQ(ReadOutcome(R"({"units": {"pressureUnit": "Barr"}})", lenient), Hex(Bytes({0x52, 0x00})));
}

TEST(JsonReaderTest, UnknownFieldsAreNamedWithTheNearestOne) {
  EXPECT_EQ(ReadOutcome(R"({"inputs": [{"aliass": "x"}]})"),
            "error at line 1, column 14 (inputs[0].aliass): \"aliass\" is not a field of Input; did you mean "
            "\"alias\"?");
  ReadOptions lenient{Format::kJson};
  lenient.ignore_unknown_fields = true;
  EXPECT_EQ(ReadOutcome(R"({"bogus": {"a": [1, {"b": null}]}, "version": 2})", lenient), Hex(Bytes({0x08, 0x02})));
}

TEST(JsonReaderTest, FieldsUnderTheirJsonOrSchemaName) {
  // CurrentConfiguration.__unused1 (field 10, sint32; JSON name "Unused1")
  // in an output (4) of type 3 (field 3) whose config is field 6.
  const std::string json_name =
      ReadOutcome(R"({"outputs": [{"type": 3, "config": {"@type": "CurrentConfiguration", "Unused1": 3}}]})");
  EXPECT_EQ(json_name, Hex(Bytes({0x22, 0x06, 0x18, 0x03, 0x32, 0x02, 0x50, 0x06})));
  EXPECT_EQ(ReadOutcome(R"({"outputs": [{"type": 3, "config": {"@type": "CurrentConfiguration", "__unused1": 3}}]})"),
            json_name);
}

TEST(JsonReaderTest, Base64OfEitherAlphabetWithOrWithoutPaddingAndWhitespace) {
  // DeviceData.dynamicAdaptation is field 14 (tag 72).
  const std::string ff_fe = Hex(Bytes({0x72, 0x02, 0xFF, 0xFE}));
  for (const char* text : {"//4=", "//4", "__4=", "__4", "/_4", "_/4=", "//\\n4=", "/ / \\r\\t4 "}) {
    EXPECT_EQ(ReadDeviceData(std::string(R"({"dynamicAdaptation": ")") + text + "\"}"), ff_fe) << text;
  }
  // "AA=", "AA==" and "AA": one zero byte; "AAE=": 00 01.
  for (const char* text : {"AA=", "AA==", "AA"}) {
    EXPECT_EQ(ReadDeviceData(std::string(R"({"dynamicAdaptation": ")") + text + "\"}"),
              Hex(Bytes({0x72, 0x01, 0x00})))
        << text;
  }
  EXPECT_EQ(ReadDeviceData(R"({"dynamicAdaptation": "AAE="})"), Hex(Bytes({0x72, 0x02, 0x00, 0x01})));
  for (const char* text : {"A", "AA=A", "A*==", "AAAAA===", "@@"}) {
    EXPECT_EQ(ReadDeviceData(std::string(R"({"dynamicAdaptation": ")") + text + "\"}").rfind(
                  "error at line 1, column 23 (dynamicAdaptation): the string", 0),
              0u)
        << text;
  }
}

// Padded standard base64, what the writer writes, read as the protobuf
// runtime's own decoder reads it: the same bytes, the same refusals (a
// stray character, padding inside), bits past the last byte ignored.
TEST(JsonReaderTest, PaddedBase64IsReadAsTheRuntimeReadsIt) {
  const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=*";
  std::mt19937 random(7);
  for (int round = 0; round < 4000; ++round) {
    std::string text(4 * std::uniform_int_distribution<int>(0, 5)(random), 'A');
    for (char& c : text) {
      // Mostly digits; now and then '=', '*' or padding at the end.
      const int pick = std::uniform_int_distribution<int>(0, 80)(random);
      c = digits[static_cast<std::size_t>(pick < 64 ? pick : pick < 78 ? std::uniform_int_distribution<int>(0, 63)(random)
                                                                        : 64 + (pick - 78) % 2)];
    }
    if (!text.empty() && round % 3 == 0) text.back() = '=';
    if (text.size() > 1 && round % 6 == 0) text[text.size() - 2] = '=';
    std::string expected_bytes;
    const bool accepted = google::protobuf::Base64Unescape(text, &expected_bytes);
    DeviceData expected;
    expected.set_dynamicadaptation(expected_bytes);
    const std::string outcome = ReadDeviceData(R"({"dynamicAdaptation": ")" + text + "\"}");
    if (accepted) {
      EXPECT_EQ(outcome, Hex(Encode(expected))) << text;
    } else {
      EXPECT_EQ(outcome.rfind("error at", 0), 0u) << text << " " << outcome;
    }
  }
}

TEST(JsonReaderTest, AByteOrderMarkIsRefused) {
  EXPECT_EQ(ReadOutcome("\xEF\xBB\xBF{}").rfind("error at line 1, column 1: the text starts with a byte-order mark", 0), 0u);
}

TEST(JsonReaderTest, TheDocumentMayNameItsRecord) {
  EXPECT_EQ(ReadOutcome(R"({"@type": "ConfigData", "version": 1})"), Hex(Bytes({0x08, 0x01})));
  EXPECT_EQ(ReadOutcome(R"({"version": 1, "@type": "DeviceData"})").rfind("error at line 1, column 25 (@type): ", 0), 0u);
  EXPECT_EQ(ReadOutcome(R"({"inputs": [{"@type": "Input"}]})").rfind("error at line 1, column 14 (inputs[0].@type): ", 0),
            0u);
  // Read only as far as it must: what follows does not matter.
  EXPECT_EQ(DocumentType(R"({"version": 1, "@type": "DeviceData", "x": [})"), DeviceData::descriptor());
  EXPECT_EQ(DocumentType(R"({"inputs": [{"@type": "Input"}]})"), nullptr);
  EXPECT_EQ(DocumentType("[1]"), nullptr);
  EXPECT_EQ(DocumentType("not json"), nullptr);
  EXPECT_EQ(DocumentType(Bytes({0x40, 0x03})), nullptr);
  try {
    DocumentType(R"({"@type": "NoSuchRecord"})");
    ADD_FAILURE() << "an unknown record was named";
  } catch (const Error& e) {
    EXPECT_EQ(e.where(), "@type");
    EXPECT_EQ(e.message(), "\"NoSuchRecord\" is not a record of the schema library");
    EXPECT_EQ(e.remedy().kind, Remedy::Kind::kListRecords);
  }
}

TEST(JsonReaderTest, SettingsNameTheirRecordAnywhereInTheirObject) {
  AdcConfiguration adc;
  adc.set_range(AdcConfiguration::range12V);
  adc.set_saturation(true);
  ConfigData expected;
  expected.add_inputs()->set_config(Encode(adc));
  const std::string bytes = Hex(Encode(expected));
  EXPECT_EQ(ReadOutcome(R"({"inputs": [{"config": {"@type": "AdcConfiguration", "range": "range12V", "saturation": true}}]})"),
            bytes);
  EXPECT_EQ(ReadOutcome(R"({"inputs": [{"config": {"range": "range12V", "saturation": true, "@type": "AdcConfiguration"}}]})"),
            bytes);
  // An error in what came before "@type" is placed where it stands.
  EXPECT_EQ(ReadOutcome(R"({"inputs": [{"config": {"range": "range99V", "@type": "AdcConfiguration"}}]})")
                .rfind("error at line 1, column 34 (inputs[0].config.range): ", 0),
            0u);
}

TEST(JsonReaderTest, SettingsMustBeTheRecordTheTypeCodeHolds) {
  // The record named is what another code holds: the message says which,
  // and offers no pairing, since the text is what a user mends.
  const std::string mismatch = ReadOutcome(R"({"inputs": [{"type": 2, "config": {"@type": "AdcConfiguration"}}]})");
  EXPECT_EQ(mismatch,
            "error at line 1, column 45 (inputs[0].config): \"@type\" AdcConfiguration, but type 2 (DigitalInput) "
            "holds DigitalInConfiguration; AdcConfiguration is what type 0 (AdcInput) holds: set type to 0 if the "
            "settings are right, or give settings of DigitalInConfiguration if the type is");
  // The type code may come after the settings.
  EXPECT_EQ(ReadOutcome(R"({"inputs": [{"config": {"@type": "AdcConfiguration"}, "type": 2}]})"),
            "error at line 1, column 34 (inputs[0].config): \"@type\" AdcConfiguration, but type 2 (DigitalInput) "
            "holds DigitalInConfiguration; AdcConfiguration is what type 0 (AdcInput) holds: set type to 0 if the "
            "settings are right, or give settings of DigitalInConfiguration if the type is");
  EXPECT_EQ(ReadRemedy(R"({"inputs": [{"type": 2, "config": {"@type": "AdcConfiguration"}}]})").kind,
            Remedy::Kind::kNone);
  // Held by several codes, it names them all.
  ReadOptions two_codes{Format::kJson};
  two_codes.pairing.Apply("input:1=AdcConfiguration");
  EXPECT_EQ(ReadOutcome(R"({"inputs": [{"type": 2, "config": {"@type": "AdcConfiguration"}}]})", two_codes),
            "error at line 1, column 45 (inputs[0].config): \"@type\" AdcConfiguration, but type 2 (DigitalInput) "
            "holds DigitalInConfiguration; AdcConfiguration is what types 0 (AdcInput) and 1 (FrequencyInput) hold: "
            "set type to the one meant if the settings are right, or give settings of DigitalInConfiguration if the "
            "type is");
  // A record no code holds can only be read through a pairing: that, and
  // only that, a program may offer besides mending the text.
  const std::string unpaired = R"({"inputs": [{"type": 2, "config": {"@type": "AdcSwitchConfiguration"}}]})";
  EXPECT_EQ(ReadOutcome(unpaired),
            "error at line 1, column 45 (inputs[0].config): \"@type\" AdcSwitchConfiguration, but type 2 "
            "(DigitalInput) holds DigitalInConfiguration, and no input type code holds AdcSwitchConfiguration: give "
            "the entry settings of DigitalInConfiguration, or pair its code with AdcSwitchConfiguration");
  const Remedy remedy = ReadRemedy(unpaired);
  EXPECT_EQ(remedy.kind, Remedy::Kind::kPairCode);
  EXPECT_EQ(remedy.entry, EntryKind::kInput);
  EXPECT_EQ(remedy.code, 2);
  EXPECT_EQ(remedy.record, "AdcSwitchConfiguration");
  // Paired otherwise, the same text reads.
  PairingCatalogue pairing = PairingCatalogue::Standard();
  pairing.Apply("input:2=AdcConfiguration");
  ConfigData doc;
  Read(R"({"inputs": [{"type": 2, "config": {"@type": "AdcConfiguration"}}]})", &doc, ReadOptions{Format::kJson, pairing});
  EXPECT_EQ(Hex(Encode(doc)), Hex(Bytes({0x1A, 0x02, 0x18, 0x02})));
  // A code paired with nothing takes the record named.
  EXPECT_EQ(ReadOutcome(R"({"inputs": [{"type": 5, "config": {"@type": "AdcSwitchConfiguration", "pullup": 1}}]})"),
            Hex(Bytes({0x1A, 0x06, 0x18, 0x05, 0x32, 0x02, 0x10, 0x01})));
}

TEST(JsonReaderTest, MissingTypeNamesTheRecordTheCodeHolds) {
  EXPECT_EQ(ReadOutcome(R"({"inputs": [{"type": 2, "config": {"invert": true}}]})"),
            "error at line 1, column 50 (inputs[0].config): the object names no record with \"@type\"; type 2 "
            "(DigitalInput) holds DigitalInConfiguration: add \"@type\": \"DigitalInConfiguration\"");
  EXPECT_EQ(ReadDeviceData(R"({"config": {}})"),
            "error at line 1, column 13 (config): the object names no record with \"@type\": add \"@type\": "
            "\"ConfigData\"");
  EXPECT_EQ(ReadDeviceData(R"({"config": {"@type": "Input"}})"),
            "error at line 1, column 22 (config.@type): a DeviceData's config holds a ConfigData, not an Input");
}

TEST(JsonReaderTest, TextThatIsNotJsonIsRefusedWhereItBreaksTheGrammar) {
  EXPECT_EQ(ReadOutcome("{\"version\": 1,}"),
            "error at line 1, column 15: expected a member name in double quotes, found '}'; fix the JSON text there");
  EXPECT_EQ(ReadOutcome("{\"version\": 1 \"gcuNo\": \"x\"}"),
            "error at line 1, column 15: expected ',' or '}' after a member, found '\"'; fix the JSON text there");
  EXPECT_EQ(ReadOutcome("{\"inputs\": [{}, {},]}"),
            "error at line 1, column 20: expected a value (an object, a list, a string, a number, true, false or "
            "null), found ']'; fix the JSON text there");
  EXPECT_EQ(ReadOutcome("{\"version\": 01}"), "error at line 1, column 14: a number cannot have leading zeros; fix the JSON text there");
  EXPECT_EQ(ReadOutcome("{\"version\": tru}"),
            "error at line 1, column 16: expected the literal true, found '}'; fix the JSON text there");
  EXPECT_EQ(ReadOutcome("{\"gcuNo\": \"a\\qb\"}").rfind("error at line 1, column 13: \\q is no escape of JSON; its escapes are", 0),
            0u);
  EXPECT_EQ(ReadOutcome("{\"gcuNo\": \"\\uD83Dx\"}"),
            "error at line 1, column 12: \\uD83D is the first half of a surrogate pair without the second (\\uDC00 "
            "to \\uDFFF); fix the JSON text there");
  EXPECT_EQ(ReadOutcome("{\"version\": 1}\n}"),
            "error at line 2, column 1: text after the end of the document ('}'); only whitespace may follow it; fix "
            "the JSON text there");
  // What the fast parser finds before reading a value is placed as
  // precisely: a string never closed, a control character, bytes that are
  // not UTF-8, wherever in the text they stand.
  EXPECT_EQ(ReadOutcome("{\"version\": 1,\n \"gcuNo\": \"x}"),
            "error at line 2, column 11: a string starts here and is never closed; fix the JSON text there");
  EXPECT_EQ(ReadOutcome("{\"gcuNo\": \"a\tb\"}"),
            "error at line 1, column 13: a control character (a tab) inside a string; write it escaped (\\n, \\t, "
            "\\u0009); fix the JSON text there");
  EXPECT_EQ(ReadOutcome("{\"version\": 1,\n\n  \"gcuNo\": \"ab\xFF\"}").rfind("error at line 3, column 15: the text is not UTF-8 here", 0),
            0u);
  EXPECT_EQ(ReadOutcome(""), "error at line 1, column 1: the text holds no JSON value; expected an object holding a ConfigData");
}

TEST(JsonReaderTest, ALateTypeNamingAnotherRecordIsTheErrorReported) {
  // Read as a ConfigData, a DeviceData's fields are unknown; its "@type"
  // at the end says why.
  EXPECT_EQ(ReadOutcome(R"({"gcuSerialNo": "A1", "@type": "DeviceData"})").rfind(
                "error at line 1, column 32 (@type): the document names itself a DeviceData, but is read as a "
                "ConfigData",
                0),
            0u);
}

TEST(JsonReaderTest, TheTypeCodeChecksSeeWhatUnknownFieldsSet) {
  // "GAI=" encodes field 3 (the type) = 2, DigitalInput, which holds
  // DigitalInConfiguration.
  EXPECT_EQ(ReadOutcome(R"({"inputs": [{"@unknown": "GAI=", "config": {"@type": "AdcConfiguration"}}]})").rfind(
                "error at line 1, column 54 (inputs[0].config): \"@type\" AdcConfiguration, but type 2 (DigitalInput) "
                "holds DigitalInConfiguration",
                0),
            0u);
}

TEST(JsonReaderTest, ReadReplacesWhatTheRecordHeld) {
  ConfigData doc;
  doc.add_inputs()->set_id(1);
  doc.set_version(3);
  Read(R"({"inputs": [{"id": 2, "@unknown": "mAYq"}], "gcuNo": "X"})", &doc, ReadOptions{Format::kJson});
  ASSERT_EQ(doc.inputs_size(), 1);
  EXPECT_EQ(Hex(Encode(doc.inputs(0))), Hex(Bytes({0x08, 0x02, 0x98, 0x06, 0x2A})));
  EXPECT_EQ(doc.version(), 0u);
}

TEST(JsonReaderTest, ARecordMadeAtRunTimeIsReadAndRefused) {
  // Checking "@unknown" takes a record of the type from the runtime's
  // factory for records made at run time, which must outlive it.
  test::ChoiceRecord choice;
  const std::unique_ptr<google::protobuf::Message> record = choice.New();
  Read(R"({"b": 2, "@unknown": "mAYq"})", record.get(), ReadOptions{Format::kJson});
  EXPECT_EQ(Hex(record->SerializeAsString()), Hex(Bytes({0x10, 0x02, 0x98, 0x06, 0x2A})));
  try {
    Read(R"({"@unknown": "mAYq", "c": 1})", record.get(), ReadOptions{Format::kJson});
    ADD_FAILURE() << "no error for a member no field takes";
  } catch (const Error& e) {
    EXPECT_EQ(e.where(), "line 1, column 22 (c)");
  }
}

}  // namespace
}  // namespace gcuschema::document
