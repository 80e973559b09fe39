// "@unknown" carries what JSON cannot show of a record. It may encode a
// field the record knows only when no member gives that field: given both
// ways, which value the record ends up with would depend on the members'
// order, so the reader refuses it, naming both places. Read and Encode
// agree, and neither depends on the order of an object's members.
#include <gcuschema/document/io.h>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <gcuschema/Config.pb.h>
#include <gcuschema/document/error.h>

#include "support/choice_record.h"
#include "support/wire.h"

namespace gcuschema::document {
namespace {

using test::Bytes;
using test::Hex;

// "RQEAwH8=": minValue (field 8, float) = NaN with payload 1 (45 01 00 C0 7F),
// as the writer moves such a NaN into "@unknown".
constexpr char kNanMinValue[] = "RQEAwH8=";
// "TQEAwH8=": the same NaN as maxValue (4D 01 00 C0 7F).
constexpr char kNanMaxValue[] = "TQEAwH8=";

// The outcome of reading `json` as a ConfigData: the hex of its encoding, or
// "error at <where>: <message>". Read and Encode must agree on it.
std::string Outcome(const std::string& json) {
  std::string read;
  try {
    ConfigData doc;
    Read(json, &doc, ReadOptions{Format::kJson});
    read = Hex(WriteString(doc, Format::kBinary));
  } catch (const Error& e) {
    read = "error at " + e.where() + ": " + e.message();
  }
  std::string encoded;
  try {
    std::string bytes;
    Encode(json, ConfigData::descriptor(), &bytes, ReadOptions{Format::kJson});
    encoded = Hex(bytes);
  } catch (const Error& e) {
    encoded = "error at " + e.where() + ": " + e.message();
  }
  EXPECT_EQ(read, encoded) << "Read and Encode differ on " << json;
  return read;
}

TEST(JsonUnknownMemberTest, AFieldGivenByAMemberAndInUnknownIsRefusedNamingBoth) {
  // The NaN the writer hid, and a value the user then wrote.
  EXPECT_EQ(Outcome(std::string(R"({"inputs": [{"minValue": 1.5, "@unknown": ")") + kNanMinValue + R"("}]})"),
            "error at line 1, column 14 (inputs[0].minValue): the field is given twice: by this member, and "
            "encoded in \"@unknown\" (line 1, column 31); keep one: remove the member to keep the encoded value, or "
            "remove \"@unknown\" (it holds nothing else) to keep the member's");
  // The same when "@unknown" comes first: the member is the place reported.
  EXPECT_EQ(Outcome(std::string("{\"inputs\": [{\"@unknown\": \"") + kNanMinValue + "\",\n  \"minValue\": 1.5}]}"),
            "error at line 2, column 3 (inputs[0].minValue): the field is given twice: by this member, and "
            "encoded in \"@unknown\" (line 1, column 14); keep one: remove the member to keep the encoded value, or "
            "remove \"@unknown\" (it holds nothing else) to keep the member's");
}

TEST(JsonUnknownMemberTest, WhichValueWinsNoLongerDependsOnTheOrder) {
  // "CAI=": version = 2 (08 02).
  EXPECT_EQ(Outcome(R"({"version":3,"@unknown":"CAI="})"),
            "error at line 1, column 2 (version): the field is given twice: by this member, and encoded in "
            "\"@unknown\" (line 1, column 14); keep one: remove the member to keep the encoded value, or remove "
            "\"@unknown\" (it holds nothing else) to keep the member's");
  EXPECT_EQ(Outcome(R"({"@unknown":"CAI=","version":3})"),
            "error at line 1, column 20 (version): the field is given twice: by this member, and encoded in "
            "\"@unknown\" (line 1, column 2); keep one: remove the member to keep the encoded value, or remove "
            "\"@unknown\" (it holds nothing else) to keep the member's");
}

TEST(JsonUnknownMemberTest, AZeroOrANullMemberGivesTheFieldToo) {
  // "CAA=": version = 0, which would otherwise zero the member's 3 or not.
  EXPECT_EQ(Outcome(R"({"@unknown": "CAA=", "version": 3})").rfind("error at line 1, column 22 (version): ", 0), 0u);
  EXPECT_EQ(Outcome(R"({"version": null, "@unknown": "CAI="})").rfind("error at line 1, column 2 (version): ", 0), 0u);
}

TEST(JsonUnknownMemberTest, UnknownCannotAddEntriesToAListTheJsonGives) {
  // "GgIIAg==": an inputs entry with id 2 (1A 02 08 02).
  EXPECT_EQ(Outcome(R"({"inputs": [{"id": 1}], "@unknown": "GgIIAg=="})"),
            "error at line 1, column 2 (inputs): the field is given twice: by this member, and encoded in "
            "\"@unknown\" (line 1, column 25); keep one: remove the member to keep the encoded value, or remove "
            "\"@unknown\" (it holds nothing else) to keep the member's");
}

TEST(JsonUnknownMemberTest, TheAdviceSaysWhenUnknownHoldsMoreThanTheField) {
  // "CAKYBio=": version = 2 and field 99 = 42 (08 02 98 06 2A).
  EXPECT_EQ(Outcome(R"({"version": 3, "@unknown": "CAKYBio="})"),
            "error at line 1, column 2 (version): the field is given twice: by this member, and encoded in "
            "\"@unknown\" (line 1, column 16); keep one: remove the member to keep the encoded value, or take the "
            "field's encoding out of \"@unknown\" to keep the member's");
}

TEST(JsonUnknownMemberTest, SettingsObjectsFollowTheSameRule) {
  // In AdcConfiguration "CAI=" is range = 2.
  EXPECT_EQ(Outcome(R"({"inputs": [{"config": {"@type": "AdcConfiguration", "@unknown": "CAI=", "range": "rangeRaw"}}]})"),
            "error at line 1, column 74 (inputs[0].config.range): the field is given twice: by this member, and "
            "encoded in \"@unknown\" (line 1, column 54); keep one: remove the member to keep the encoded value, or "
            "remove \"@unknown\" (it holds nothing else) to keep the member's");
}

TEST(JsonUnknownMemberTest, UnknownMayHoldAKnownFieldTheJsonLeavesOut) {
  EXPECT_EQ(Outcome(R"({"gcuNo": "G", "@unknown": "CAI="})"), Hex(Bytes({0x08, 0x02, 0x5A, 0x01, 0x47})));
  EXPECT_EQ(Outcome(std::string(R"({"inputs": [{"@unknown": ")") + kNanMinValue + R"(", "maxValue": 1.5}]})"),
            Hex(Bytes({0x1A, 0x0A, 0x45, 0x01, 0x00, 0xC0, 0x7F, 0x4D, 0x00, 0x00, 0xC0, 0x3F})));
}

TEST(JsonUnknownMemberTest, AFieldTheRuntimeKeepsAsideIsNoClash) {
  // "DQEAAAA=": field 1 as a fixed32 (0D 01 00 00 00), not version's wire
  // type: the record keeps it as an unknown field beside version.
  const std::string bytes = Bytes({0x08, 0x03, 0x0D, 0x01, 0x00, 0x00, 0x00});
  EXPECT_EQ(Outcome(R"({"version": 3, "@unknown": "DQEAAAA="})"), Hex(bytes));
  EXPECT_EQ(Outcome(R"({"@unknown": "DQEAAAA=", "version": 3})"), Hex(bytes));
  // Such a document's JSON reads back to its bytes.
  ConfigData doc;
  Read(bytes, &doc, ReadOptions{Format::kBinary});
  EXPECT_EQ(Outcome(WriteString(doc, Format::kJson)), Hex(bytes));
}

TEST(JsonUnknownMemberTest, AOneofMemberBesideAnotherInUnknownIsRefused) {
  test::ChoiceRecord choice;
  const auto outcome = [&](const std::string& json) {
    const std::unique_ptr<google::protobuf::Message> record = choice.New();
    try {
      Read(json, record.get(), ReadOptions{Format::kJson});
    } catch (const Error& e) {
      return "error at " + e.where() + ": " + e.message();
    }
    return Hex(record->SerializeAsString());
  };
  // "EAI=": b = 2 (10 02).
  EXPECT_EQ(outcome(R"({"a": 1, "@unknown": "EAI="})"),
            "error at line 1, column 2 (a): \"a\" and \"b\" (encoded in \"@unknown\", line 1, column 10) are both "
            "set, but choice holds one of them at most; keep one");
  EXPECT_EQ(outcome(R"({"@unknown": "EAI=", "a": 1})"),
            "error at line 1, column 22 (a): \"a\" and \"b\" (encoded in \"@unknown\", line 1, column 2) are both "
            "set, but choice holds one of them at most; keep one");
  EXPECT_EQ(outcome(R"({"@unknown": "EAI="})"), Hex(Bytes({0x10, 0x02})));
}

// Every ordering of the members of every object of `value`.
std::vector<nlohmann::ordered_json> Orderings(const nlohmann::ordered_json& value) {
  if (value.is_array()) {
    std::vector<nlohmann::ordered_json> lists{nlohmann::ordered_json::array()};
    for (const auto& element : value) {
      std::vector<nlohmann::ordered_json> longer;
      for (const auto& list : lists) {
        for (const auto& ordering : Orderings(element)) {
          longer.push_back(list);
          longer.back().push_back(ordering);
        }
      }
      lists = longer;
    }
    return lists;
  }
  if (!value.is_object()) return {value};
  std::vector<std::string> keys;
  for (const auto& member : value.items()) keys.push_back(member.key());
  std::sort(keys.begin(), keys.end());
  std::vector<nlohmann::ordered_json> objects;
  do {
    std::vector<nlohmann::ordered_json> partial{nlohmann::ordered_json::object()};
    for (const std::string& key : keys) {
      std::vector<nlohmann::ordered_json> longer;
      for (const auto& object : partial) {
        for (const auto& ordering : Orderings(value.at(key))) {
          longer.push_back(object);
          longer.back()[key] = ordering;
        }
      }
      partial = longer;
    }
    objects.insert(objects.end(), partial.begin(), partial.end());
  } while (std::next_permutation(keys.begin(), keys.end()));
  return objects;
}

// Column (1-based) of the first `"name"` in one-line text.
std::string ColumnOf(const std::string& text, const std::string& name) {
  const std::size_t at = text.find("\"" + name + "\"");
  EXPECT_NE(at, std::string::npos) << name << " in " << text;
  return std::to_string(at + 1);
}

TEST(JsonUnknownMemberTest, EveryOrderOfMembersGivesTheSameBytes) {
  // Known fields in "@unknown" of the document, an entry and its settings
  // (maxValue's NaN; field 99, unknown to both records, as "mAYq").
  const auto document = nlohmann::ordered_json::parse(std::string(R"({
    "@type": "ConfigData", "version": 3, "@unknown": "mAYq",
    "inputs": [{"id": 1, "@unknown": ")") + kNanMaxValue + R"(",
                "config": {"@type": "AdcConfiguration", "range": "range12V", "@unknown": "mAYq"}}]})");
  const std::string expected = Hex(Bytes({0x08, 0x03,                                                   // version
                                          0x1A, 0x0E, 0x08, 0x01,                                       // inputs[0].id
                                          0x32, 0x05, 0x08, 0x02, 0x98, 0x06, 0x2A,                     // its config
                                          0x4D, 0x01, 0x00, 0xC0, 0x7F,                                 // its maxValue
                                          0x98, 0x06, 0x2A}));                                          // field 99
  const std::vector<nlohmann::ordered_json> orderings = Orderings(document);
  ASSERT_EQ(orderings.size(), 24u * 6u * 6u);
  for (const auto& ordering : orderings) {
    const std::string text = ordering.dump();
    EXPECT_EQ(Outcome(text), expected) << text;
  }
}

TEST(JsonUnknownMemberTest, EveryOrderOfMembersGivesTheSameError) {
  struct Case {
    std::string json;
    std::string member;  // the member reported, with its field path
    std::string path;
  };
  const std::vector<Case> cases = {
      {R"({"version": 3, "gcuNo": "G", "@unknown": "CAI="})", "version", "version"},
      {std::string(R"({"version": 3, "inputs": [{"id": 1, "minValue": 1.5, "@unknown": ")") + kNanMinValue + R"("}]})",
       "minValue", "inputs[0].minValue"},
      {R"({"inputs": [{"id": 1}], "gcuNo": "G", "@unknown": "GgIIAg=="})", "inputs", "inputs"},
  };
  for (const Case& c : cases) {
    for (const auto& ordering : Orderings(nlohmann::ordered_json::parse(c.json))) {
      const std::string text = ordering.dump();
      EXPECT_EQ(Outcome(text), "error at line 1, column " + ColumnOf(text, c.member) + " (" + c.path +
                                   "): the field is given twice: by this member, and encoded in \"@unknown\" (line 1, "
                                   "column " + ColumnOf(text, "@unknown") +
                                   "); keep one: remove the member to keep the encoded value, or remove \"@unknown\" "
                                   "(it holds nothing else) to keep the member's")
          << text;
    }
  }
}

}  // namespace
}  // namespace gcuschema::document
