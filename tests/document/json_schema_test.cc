#include <gcuschema/document/json_schema.h>

#include <string>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <gcuschema/document/error.h>
#include <gcuschema/document/io.h>
#include <gcuschema/document/records.h>

#include "support/schema_validator.h"

namespace gcuschema::document {
namespace {

using Json = nlohmann::ordered_json;

Json SchemaOf(const std::string& record, const PairingCatalogue& pairing = PairingCatalogue::Standard()) {
  JsonSchemaOptions options;
  options.pairing = pairing;
  return Json::parse(JsonSchemaText(FindRecord(record), options));
}

// The condition on entries of `code` of a holder record, or null.
Json ConditionFor(const Json& holder, const Json& code) {
  for (const Json& condition : holder.value("allOf", Json::array())) {
    const Json& match = condition["if"]["properties"]["type"];
    if (match.value("const", Json()) == code) return condition;
    for (const Json& spelling : match.value("enum", Json::array())) {
      if (spelling == code) return condition;
    }
  }
  return Json();
}

TEST(JsonSchemaTest, DocumentIsDraft202012AndRefersToItsRecord) {
  const Json schema = SchemaOf("AdcConfiguration");
  EXPECT_EQ(schema["$schema"], "https://json-schema.org/draft/2020-12/schema");
  EXPECT_EQ(schema["type"], "object");
  EXPECT_EQ(schema["$ref"], "#/$defs/AdcConfiguration");
  const Json& adc = schema["$defs"]["AdcConfiguration"];
  EXPECT_EQ(adc["additionalProperties"], false);
  EXPECT_EQ(adc["properties"]["@type"]["const"], "AdcConfiguration");
  EXPECT_EQ(adc["properties"]["range"]["anyOf"][0]["enum"],
            Json({"range5V", "rangeGcu5V", "range12V", "rangeRaw"}));
  EXPECT_EQ(adc["properties"]["inMinValue"]["anyOf"][0]["type"], "integer");
  EXPECT_EQ(adc["properties"]["saturation"]["type"], Json({"boolean", "null"}));
  EXPECT_EQ(adc["properties"]["saturation"]["description"], "Field 2, bool.");
  // A record without settings needs nothing but itself and bytes.
  EXPECT_EQ(schema["$defs"].size(), 2u) << schema["$defs"].dump();
}

TEST(JsonSchemaTest, FieldsAreKnownByBothNamesButNotBothAtOnce) {
  const Json current = SchemaOf("CurrentConfiguration")["$defs"]["CurrentConfiguration"];
  EXPECT_EQ(current["properties"]["Unused1"], current["properties"]["__unused1"]);
  EXPECT_EQ(current["dependentSchemas"]["Unused1"], Json::parse(R"({"not": {"required": ["__unused1"]}})"));
  EXPECT_FALSE(current["dependentSchemas"].contains("inMinValue"));
}

TEST(JsonSchemaTest, DescriptionsCarryTheSchemaFilesComments) {
  const Json schema = SchemaOf("ConfigData", PairingCatalogue());
  const std::string current = SchemaOf("CurrentConfiguration")["$defs"]["CurrentConfiguration"]["description"];
  EXPECT_EQ(current.rfind("Declaration order is kept as the format has it: the double forms sit beside their "
                          "integer forms although they are numbered last, and the __unused fields are real fields "
                          "of the format.",
                          0),
            0u)
      << current;
  const std::string frequency = SchemaOf("PwmConfiguration")["$defs"]["PwmConfiguration"]["properties"]["frequency"]
                                                                                                      ["description"];
  EXPECT_EQ(frequency,
            "17 and 20 to 24 are the numbers the same fields carry in CurrentConfiguration; keep them shared.\n\n"
            "Field 17, uint32.");
}

TEST(JsonSchemaTest, EntrySettingsAreTheRecordTheirTypeCodePairs) {
  const Json schema = SchemaOf("ConfigData");
  const Json& input = schema["$defs"]["Input"];
  const Json duty = ConditionFor(input, 10);
  ASSERT_FALSE(duty.is_null()) << input.dump();
  EXPECT_EQ(duty["if"]["required"], Json({"type"}));
  EXPECT_EQ(duty["then"]["properties"]["config"]["anyOf"][1],
            Json::parse(R"({"type": "object", "$ref": "#/$defs/DutyInConfiguration", "required": ["@type"]})"));
  // Code 0 is also an entry with no type written.
  EXPECT_FALSE(ConditionFor(input, 0)["if"].contains("required"));
  // Map types match by name or number; open codes hold any record.
  EXPECT_EQ(ConditionFor(schema["$defs"]["Map"], "Interpolated3dMap")["if"]["properties"]["type"]["enum"],
            Json({"Interpolated3dMap", 1}));
  EXPECT_TRUE(ConditionFor(input, 5).is_null());
  EXPECT_EQ(input["properties"]["config"]["anyOf"][1]["$ref"], "#/$defs/@settings");
  EXPECT_EQ(schema["$defs"]["@settings"]["properties"]["@type"]["enum"].size(), RecordNames().size());

  PairingCatalogue pairing = PairingCatalogue::Standard();
  pairing.Apply("input:AnalogSwitchInput=AdcSwitchConfiguration");
  EXPECT_FALSE(ConditionFor(SchemaOf("ConfigData", pairing)["$defs"]["Input"], 5).is_null());
}

TEST(JsonSchemaTest, DeviceDataConfigIsAlwaysAConfigData) {
  const Json device = SchemaOf("DeviceData")["$defs"]["DeviceData"];
  EXPECT_EQ(device["properties"]["config"]["anyOf"][1]["$ref"], "#/$defs/ConfigData");
}

TEST(JsonSchemaTest, NoRecordIsAnError) { EXPECT_THROW(JsonSchemaText(nullptr), Error); }

// Documents judged by Debian's JSON Schema validator against the schema of
// `record` and by encode, each against what is expected of both: the same
// verdict, but where the schema is deliberately stricter.
struct Case {
  std::string document;
  bool valid;    // by the schema
  bool encodes;  // by the reader
};

Case Both(const std::string& document, bool valid) { return {document, valid, valid}; }

void ExpectVerdicts(const google::protobuf::Descriptor* record, const std::vector<Case>& cases) {
  test::SchemaCheck check{JsonSchemaText(record), {}};
  for (const Case& c : cases) check.documents.push_back(c.document);
  const std::vector<std::vector<test::SchemaVerdict>> verdicts = test::ValidateAgainstSchemas({check});
  ASSERT_EQ(verdicts.size(), 1u);
  ASSERT_EQ(verdicts[0].size(), cases.size());
  for (std::size_t i = 0; i < cases.size(); ++i) {
    EXPECT_EQ(verdicts[0][i].valid, cases[i].valid)
        << cases[i].document << "\n  the schema: " << (verdicts[0][i].valid ? "valid" : verdicts[0][i].reason);
    std::string encoded;
    std::string refusal;
    try {
      ReadOptions options;
      options.format = Format::kJson;
      Encode(cases[i].document, record, &encoded, options);
    } catch (const Error& e) {
      refusal = e.what();
    }
    EXPECT_EQ(refusal.empty(), cases[i].encodes) << cases[i].document << "\n  encode: " << refusal;
  }
}

#define SKIP_WITHOUT_VALIDATOR()                                        \
  do {                                                                  \
    const std::string missing = test::SchemaValidatorMissing();         \
    if (!missing.empty()) GTEST_SKIP() << missing;                      \
  } while (false)

TEST(JsonSchemaValidationTest, OnlyTheDocumentAndSettingsNameTheirRecord) {
  SKIP_WITHOUT_VALIDATOR();
  ExpectVerdicts(FindRecord("ConfigData"),
                 {Both(R"({"@type": "ConfigData", "units": {"pressureUnit": "Bar"}})", true),
                  Both(R"({"inputs": [{"type": 10, "config": {"@type": "DutyInConfiguration"}}]})", true),
                  Both(R"({"units": {"@type": "Units"}})", false),
                  Both(R"({"inputs": [{"@type": "Input", "id": 1}]})", false),
                  Both(R"({"inputs": [{"linearization": {"@type": "Map", "type": 1}}]})", false),
                  Both(R"({"inputs": [{"type": 10, "config": {"@type": "DutyInConfiguration", "@unknown": "qAYB"}}]})",
                       true)});
  ExpectVerdicts(FindRecord("DeviceData"),
                 {Both(R"({"config": {"@type": "ConfigData", "units": {"@type": "Units"}}})", false),
                  Both(R"({"config": {"@type": "ConfigData", "inputs": [{"id": 1}]}})", true)});
}

TEST(JsonSchemaValidationTest, Base64MustHoldALengthBytesCanHave) {
  SKIP_WITHOUT_VALIDATOR();
  const auto config = [](const std::string& text) {
    return R"({"inputs": [{"type": 5, "config": ")" + text + R"("}]})";
  };
  ExpectVerdicts(FindRecord("ConfigData"),
                 {Both(config(std::string(25, 'A')), false), Both(config(std::string(24, 'A')), true),
                  Both(config(std::string(26, 'A')), true), Both(config(std::string(27, 'A')), true),
                  Both(config("QQ=="), true), Both(config("QQ"), true), Both(config("A"), false),
                  Both(config("A==="), false), Both(config("QQ==QQ=="), false), Both(config("QUJD!"), false),
                  // The reader's leniencies: line breaks, URL-safe digits, padding anywhere from none to two.
                  Both(config(R"(QUJD\nQUJD\n)"), true), Both(config(" QU JD "), true), Both(config("-_-_"), true),
                  Both(config("QUJD="), true), Both(config(R"(QUJD\r\n)"), true)});
}

TEST(JsonSchemaValidationTest, FloatsStayWithinTheRangeOfTheirType) {
  SKIP_WITHOUT_VALIDATOR();
  const auto current = [](const std::string& members) {
    return R"({"outputs": [{"type": 3, "config": {"@type": "CurrentConfiguration", )" + members + "}}]}";
  };
  ExpectVerdicts(FindRecord("ConfigData"),
                 {Both(R"({"inputs": [{"minValue": 1e39}]})", false),
                  Both(R"({"inputs": [{"maxValue": -1e39}]})", false),
                  Both(R"({"inputs": [{"minValue": 3.4028234663852886e38, "maxValue": -3.4028234663852886e38}]})",
                       true),
                  Both(R"({"inputs": [{"minValue": "1e39"}]})", false),
                  Both(R"({"inputs": [{"minValue": "-Infinity", "maxValue": "NaN"}]})", true),
                  Both(current(R"("resistanceDouble": 1e39, "lambda": -1e300)"), true),
                  Both(current(R"("resistanceDouble": 1.7976931348623157e308)"), true)});
}

TEST(JsonSchemaValidationTest, TextWithALoneSurrogateIsInvalid) {
  SKIP_WITHOUT_VALIDATOR();
  ExpectVerdicts(FindRecord("ConfigData"),
                 {Both(R"({"gcuNo": "\ud800"})", false), Both(R"({"gcuNo": "\udc00"})", false),
                  Both(R"({"gcuNo": "a\ud800b"})", false), Both(R"({"gcuNo": "\udc00\ud800"})", false),
                  Both(R"({"gcuNo": "\ud83d\ude00 \u00e9\n"})", true),
                  Both("{\"gcuNo\": \"\xF0\x9F\x98\x80\"}", true)});
}

TEST(JsonSchemaValidationTest, LenientSpellingsTheReaderTakesAreValid) {
  SKIP_WITHOUT_VALIDATOR();
  ExpectVerdicts(FindRecord("ConfigData"),
                 {Both(R"({"version": null, "inputs": null, "units": null, "gcuNo": null})", true),
                  Both(R"({"inputs": [{"config": null, "linearization": null, "minValue": null}]})", true),
                  Both(R"({"version": "7"})", true), Both(R"({"version": "+7"})", true),
                  Both(R"({"version": "007"})", true), Both(R"({"inputs": [{"id": "-7"}]})", true),
                  Both(R"({"inputs": [{"minValue": "1.5", "maxValue": "-0.25"}]})", true),
                  Both(R"({"version": 7.0})", true), Both(R"({"version": 1e2})", true),
                  // Beyond the field's range, or not a number alone.
                  Both(R"({"version": "4294967296"})", false), Both(R"({"version": "-1"})", false),
                  Both(R"({"inputs": [{"id": "2147483648"}]})", false), Both(R"({"version": "7\n"})", false),
                  Both(R"({"version": " 7"})", false), Both(R"({"version": 1.5})", false),
                  Both(R"({"inputs": [null]})", false), Both(R"({"units": {"pressureUnit": "bars"}})", false),
                  // Spellings the reader takes that the schema leaves out.
                  {R"({"version": "1e2"})", false, true}, {R"({"version": "7.0"})", false, true},
                  {R"({"inputs": [{"minValue": "1e5"}]})", false, true}});
}

TEST(JsonSchemaValidationTest, EntryTypeCodeChoosesTheSettingsInEverySpelling) {
  SKIP_WITHOUT_VALIDATOR();
  const auto input = [](const std::string& type, const std::string& record) {
    return R"({"inputs": [{"type": )" + type + R"(, "config": {"@type": ")" + record + R"("}}]})";
  };
  ExpectVerdicts(FindRecord("ConfigData"),
                 {Both(input("10", "DutyInConfiguration"), true), Both(input("\"10\"", "DutyInConfiguration"), true),
                  Both(input("10.0", "DutyInConfiguration"), true), Both(input("\"10\"", "AdcConfiguration"), false),
                  Both(input("10.0", "AdcConfiguration"), false), Both(input("null", "DutyInConfiguration"), false),
                  Both(input("null", "AdcConfiguration"), true), Both(input("\"-0\"", "DutyInConfiguration"), false),
                  Both(R"({"inputs": [{"config": {"@type": "DutyInConfiguration"}}]})", false),
                  // An open code holds any record.
                  Both(input("5", "DutyInConfiguration"), true), Both(input("\"5\"", "ConfigData"), true),
                  Both(R"({"maps": [{"type": null, "config": {"@type": "Map2D"}}]})", false),
                  Both(R"({"maps": [{"type": "Interpolated3dMap", "config": {"@type": "Map3D"}}]})", true),
                  // In a string a code is plain digits only.
                  {input("\"+10\"", "DutyInConfiguration"), false, true},
                  {input("\"010\"", "DutyInConfiguration"), false, true}});
}

// A record with what no schema file of the library has yet: 64-bit
// integers and a closed (proto2) enumeration.
const google::protobuf::Descriptor* RangesRecord() {
  static google::protobuf::DescriptorPool pool;
  static const google::protobuf::Descriptor* record = [] {
    google::protobuf::FileDescriptorProto file;
    google::protobuf::TextFormat::ParseFromString(R"(
      name: "ranges.proto"
      message_type {
        name: "Ranges"
        field { name: "big" number: 1 label: LABEL_OPTIONAL type: TYPE_INT64 json_name: "big" }
        field { name: "ubig" number: 2 label: LABEL_OPTIONAL type: TYPE_UINT64 json_name: "ubig" }
        field { name: "closed" number: 3 label: LABEL_OPTIONAL type: TYPE_ENUM type_name: ".Closed"
                json_name: "closed" }
        field { name: "fixed" number: 4 label: LABEL_REPEATED type: TYPE_SFIXED64 json_name: "fixed" }
      }
      enum_type { name: "Closed" value { name: "ONE" number: 1 } value { name: "TWO" number: 2 } })",
                                                  &file);
    return pool.BuildFile(file)->FindMessageTypeByName("Ranges");
  }();
  return record;
}

TEST(JsonSchemaValidationTest, SixtyFourBitIntegersAndClosedEnumerationsKeepTheirRange) {
  SKIP_WITHOUT_VALIDATOR();
  ASSERT_NE(RangesRecord(), nullptr);
  ExpectVerdicts(RangesRecord(),
                 {Both(R"({"big": "9223372036854775807", "ubig": "18446744073709551615"})", true),
                  Both(R"({"big": "-9223372036854775808", "fixed": ["-0009223372036854775808", 1]})", true),
                  Both(R"({"big": 9223372036854775807, "ubig": 18446744073709551615})", true),
                  Both(R"({"big": "9223372036854775808"})", false), Both(R"({"big": "-9223372036854775809"})", false),
                  Both(R"({"big": 9223372036854775808})", false), Both(R"({"ubig": "18446744073709551616"})", false),
                  Both(R"({"ubig": 18446744073709551616})", false), Both(R"({"ubig": -1})", false),
                  Both(R"({"big": "99999999999999999999"})", false), Both(R"({"fixed": ["1e400"]})", false),
                  Both(R"({"closed": "TWO"})", true), Both(R"({"closed": 2})", true), Both(R"({"closed": 3})", false),
                  Both(R"({"closed": 0})", false)});
}

TEST(JsonSchemaTest, AnyRecordSchemaChecksEachDocumentAsTheRecordItsTypeNames) {
  const Json schema = Json::parse(JsonSchemaTextOfAnyRecord());
  EXPECT_EQ(schema["$schema"], "https://json-schema.org/draft/2020-12/schema");
  EXPECT_FALSE(schema.contains("$ref"));
  EXPECT_EQ(schema["type"], "object");
  EXPECT_EQ(schema["required"], Json({"@type"}));
  const std::vector<std::string>& names = RecordNames();
  EXPECT_EQ(schema["properties"]["@type"]["enum"], Json(names));
  ASSERT_EQ(schema["allOf"].size(), names.size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    const Json& condition = schema["allOf"][i];
    EXPECT_EQ(condition["if"]["properties"]["@type"]["const"], names[i]);
    EXPECT_EQ(condition["then"]["$ref"], "#/$defs/" + names[i]);
    EXPECT_TRUE(schema["$defs"].contains(names[i])) << names[i];
  }
  // The records are defined as in the schema of one record.
  EXPECT_EQ(schema["$defs"]["ConfigData"], SchemaOf("ConfigData")["$defs"]["ConfigData"]);
}

}  // namespace
}  // namespace gcuschema::document
