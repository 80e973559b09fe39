#include <gcuschema/document/json_schema.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <gcuschema/document/error.h>
#include <gcuschema/document/records.h>

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
  EXPECT_EQ(schema["$ref"], "#/$defs/AdcConfiguration");
  const Json& adc = schema["$defs"]["AdcConfiguration"];
  EXPECT_EQ(adc["type"], "object");
  EXPECT_EQ(adc["additionalProperties"], false);
  EXPECT_EQ(adc["properties"]["@type"]["const"], "AdcConfiguration");
  EXPECT_EQ(adc["properties"]["range"]["anyOf"][0]["enum"],
            Json({"range5V", "rangeGcu5V", "range12V", "rangeRaw"}));
  EXPECT_EQ(adc["properties"]["inMinValue"]["type"], "integer");
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
            Json::parse(R"({"$ref": "#/$defs/DutyInConfiguration", "required": ["@type"]})"));
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
