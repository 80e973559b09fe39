// The JSON Schema never calls valid a document that the reader refuses:
// samples of every record, each changed in one place, are judged by Debian's
// JSON Schema validator and encoded by the library, and every disagreement
// is counted. The other way round (the schema stricter than the reader) is
// allowed and only reported.

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <gcuschema/document/error.h>
#include <gcuschema/document/io.h>
#include <gcuschema/document/json_schema.h>
#include <gcuschema/document/records.h>
#include <gcuschema/document/samples.h>

#include "support/schema_validator.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;
using Json = nlohmann::ordered_json;

// Strings that JSON text can spell but nlohmann cannot hold (unpaired
// surrogates): put in as markers, spelt in the text afterwards.
const std::pair<std::string, std::string> kSpelt[] = {
    {"@high-surrogate@", "\\ud800"},
    {"@low-surrogate@", "\\udc00"},
    {"@high-then-letter@", "\\ud800x"},
};

std::string Spelt(std::string text) {
  for (const auto& [marker, escape] : kSpelt) {
    for (std::size_t at = text.find(marker); at != std::string::npos; at = text.find(marker, at)) {
      text.replace(at, marker.size(), escape);
    }
  }
  return text;
}

// A place in a sample: a value, what it belongs to.
struct Site {
  Json::json_pointer pointer;
  const pb::Descriptor* record = nullptr;     // the record an object holds
  const pb::FieldDescriptor* field = nullptr;  // the field a value is of
};

const pb::FieldDescriptor* FieldNamed(const pb::Descriptor* record, const std::string& key) {
  if (const pb::FieldDescriptor* field = record->FindFieldByName(key)) return field;
  return record->FindFieldByCamelcaseName(key);
}

bool IsSettings(const pb::FieldDescriptor* field) {
  return field->type() == pb::FieldDescriptor::TYPE_BYTES && field->name() == "config";
}

void Collect(const Json& value, const Json::json_pointer& at, const pb::Descriptor* record,
             const pb::FieldDescriptor* field, std::vector<Site>* sites) {
  sites->push_back({at, record, field});
  if (value.is_array()) {
    const pb::Descriptor* elements = field != nullptr ? field->message_type() : nullptr;
    for (std::size_t i = 0; i < value.size(); ++i) Collect(value[i], at / i, elements, field, sites);
  }
  if (!value.is_object() || record == nullptr) return;
  for (const auto& [key, member] : value.items()) {
    const pb::FieldDescriptor* inner = FieldNamed(record, key);
    if (inner == nullptr) {
      Collect(member, at / key, nullptr, nullptr, sites);  // "@type", "@unknown"
    } else if (IsSettings(inner) && member.is_object()) {
      Collect(member, at / key, FindRecord(member.value("@type", "")), inner, sites);
    } else {
      Collect(member, at / key, inner->is_repeated() ? nullptr : inner->message_type(), inner, sites);
    }
  }
}

// One change of a document, applied to the value at a site.
struct Change {
  std::string what;
  std::function<void(Json&)> apply;
  // Made at every place it applies to rather than drawn: everywhere, or in
  // the samples of single records (small, so every field of the library
  // gets it).
  enum Scope { kDrawn, kEveryRecord, kEverywhere } scope = kDrawn;
};

Change Becomes(const Json& value, Change::Scope scope = Change::kDrawn) {
  return {"= " + value.dump(), [value](Json& target) { target = value; }, scope};
}

// The mistakes and leniencies of each kind of value, at every field.
std::vector<Json> ValuesOfKind(const pb::FieldDescriptor* field) {
  switch (field->cpp_type()) {
    case pb::FieldDescriptor::CPPTYPE_FLOAT:
    case pb::FieldDescriptor::CPPTYPE_DOUBLE: return {1e39, -1e39, "1.5", "1e39"};
    case pb::FieldDescriptor::CPPTYPE_STRING:
      if (field->type() == pb::FieldDescriptor::TYPE_BYTES) {
        return {"AAAAAAAAAAAAAAAAAAAAAAAAA", "QUJD\nQUJD", "QUJDQQ", "A==="};
      }
      return {"@high-surrogate@", "@low-surrogate@"};
    case pb::FieldDescriptor::CPPTYPE_ENUM: return {"NoSuchName", 1.0};
    case pb::FieldDescriptor::CPPTYPE_BOOL: return {"true", 1};
    case pb::FieldDescriptor::CPPTYPE_MESSAGE: return {};
    default: return {"7", 4294967296, "4294967296", -0.0};
  }
}

// Values any place may be given: the lenient spellings the reader takes and
// the mistakes it refuses, of every kind of value.
std::vector<Json> AnyValues() {
  return {nullptr, true, false, "x", "", 0, -1, 7, 2.0, 100.0, -0.0, 1.5, 5e-324, 1e39, -1e39, 3.4028235e38,
          -3.4028235e38, 3.4028234663852886e38, 1e300, 1.7976931348623157e308, 2147483647, 2147483648,
          -2147483648, -2147483649, 4294967295, 4294967296, 1e20, std::uint64_t{18446744073709551615u},
          "7", "+7", "-7", "007", "1.5", "+1.5", "-0.25", "2.0", "1e2", " 7", "7\n", "4294967296", "2147483648",
          "-2147483649", "1e39", "1e5", ".5", "-0", "NaN", "Infinity", "-Infinity", "nan", "inf",
          "@high-surrogate@", "@low-surrogate@", "@high-then-letter@", "\xF0\x9F\x98\x80", "\xC3\xA9",
          std::string(1, '\0'), "AAAAAAAAAAAAAAAAAAAAAAAAA", "AAAAAAAAAAAAAAAAAAAAAAAA", "AAAA\nAAAA",
          "AAAA AAAA\n", "AAAA=", "AA", "AAA", "A", "A===", "-_-_", "AAAA====", "QUJD", "QUI=", "QQ==", "QQ", "!!!!",
          "AA==AA==", "=",
          Json::object(), Json::array(), Json::array({7}), Json::array({"x"})};
}

std::vector<Change> Changes(const Json& document, const Site& site) {
  std::vector<Change> changes;
  const Json& value = document.at(site.pointer);
  if (!site.pointer.empty()) {
    for (const Json& replacement : AnyValues()) changes.push_back(Becomes(replacement));
  }
  if (site.field != nullptr && !value.is_array()) {
    changes.push_back(Becomes(nullptr, Change::kEveryRecord));
    for (const Json& replacement : ValuesOfKind(site.field)) {
      changes.push_back(Becomes(replacement, Change::kEveryRecord));
    }
  }
  if (site.field != nullptr && site.field->enum_type() != nullptr && !value.is_array()) {
    const pb::EnumDescriptor* type = site.field->enum_type();
    for (int i = 0; i < type->value_count() && i < 3; ++i) changes.push_back(Becomes(type->value(i)->name()));
    for (const Json& other : {Json("NoSuchName"), Json(99), Json(1.0), Json("1")}) changes.push_back(Becomes(other));
  }
  if (site.field != nullptr && site.field->name() == "type" && !site.field->is_repeated()) {
    // An entry's type code, which decides what its config holds.
    for (const Json& code : {Json(0), Json(2), Json(5), Json(10), Json(11), Json(99), Json(10.0), Json("10"),
                             Json("+0"), Json("0010"), Json("DutyInput"), Json("Interpolated3dMap")}) {
      changes.push_back(Becomes(code));
    }
  }
  if (value.is_array()) {
    changes.push_back({"append null", [](Json& a) { a.push_back(nullptr); }});
    changes.push_back({"empty", [](Json& a) { a = Json::array(); }});
    if (!value.empty()) {
      changes.push_back({"append a copy of the first", [](Json& a) { a.push_back(a.front()); }});
      changes.push_back({"the first instead of the list", [](Json& a) { a = Json(a.front()); }});
    }
  }
  if (value.is_object() && site.record != nullptr) {
    const std::string name = site.record->full_name();
    if (!value.contains("@type")) {
      // A record inside a record naming itself: every such place.
      changes.push_back({"add \"@type\": \"" + name + "\"", [name](Json& o) { o["@type"] = name; },
                         site.pointer.empty() ? Change::kDrawn : Change::kEverywhere});
    } else {
      changes.push_back({"remove \"@type\"", [](Json& o) { o.erase("@type"); }});
    }
    for (const Json& other : {Json("AdcConfiguration"), Json("DutyInConfiguration"), Json("Map2D"), Json("Map3D"),
                              Json("ConfigData"), Json("NoSuchRecord"), Json(nullptr), Json(3)}) {
      changes.push_back({"\"@type\": " + other.dump(), [other](Json& o) { o["@type"] = other; }});
    }
    for (const auto& [key, member] : value.items()) {
      changes.push_back({"remove \"" + key + "\"", [key = key](Json& o) { o.erase(key); }});
      const pb::FieldDescriptor* field = FieldNamed(site.record, key);
      if (field != nullptr && field->name() != field->json_name()) {
        const std::string other = key == field->name() ? field->json_name() : field->name();
        changes.push_back({"\"" + key + "\" also as \"" + other + "\"",
                           [key = key, other](Json& o) { o[other] = o[key]; }});
        changes.push_back({"\"" + key + "\" renamed \"" + other + "\"", [key = key, other](Json& o) {
                             o[other] = o[key];
                             o.erase(key);
                           }});
      }
    }
    // "qAYB" is field 101 as a varint, which no record of the library has.
    for (const Json& unknown : {Json("qAYB"), Json("qA YB"), Json("!!"), Json(7), Json(nullptr)}) {
      changes.push_back({"\"@unknown\": " + unknown.dump(), [unknown](Json& o) { o["@unknown"] = unknown; }});
    }
    changes.push_back({"add \"aliass\"", [](Json& o) { o["aliass"] = "typo"; }});
  }
  return changes;
}

struct Original {
  const pb::Descriptor* type;
  std::string text;    // one line
  std::size_t budget;  // changes drawn from all it offers
  bool single;         // a single record's sample, not a whole document's
};

Original Written(const std::string& record, int inputs, std::size_t budget, bool single) {
  SampleOptions options;
  options.inputs = inputs;
  const pb::Descriptor* type = FindRecord(record);
  const std::unique_ptr<pb::Message> sample = document::Sample(type, options);
  WriteOptions write;
  write.type_name = true;
  write.indent = 0;
  return {type, WriteString(*sample, Format::kJson, write), budget, single};
}

// What the library says of a text read as `type`: empty when it encodes.
std::string EncodeRefusal(const std::string& text, const pb::Descriptor* type) {
  ReadOptions options;
  options.format = Format::kJson;
  std::string encoded;
  try {
    Encode(text, type, &encoded, options);
    return "";
  } catch (const Error& e) {
    return e.what();
  }
}

struct Judged {
  std::string sample;
  std::string change;
  std::string schema;  // the validator's reason, or empty when valid
  std::string encode;  // the reader's error, or empty when it encodes
};

// Disagreements by change, each with its count and a first example.
std::string Disagreements(const std::string& title, const std::vector<const Judged*>& cases) {
  std::map<std::string, std::vector<const Judged*>> by_change;
  for (const Judged* j : cases) by_change[j->change.substr(j->change.find(' ') + 1)].push_back(j);
  std::string out;
  for (const auto& [change, found] : by_change) {
    const Judged& first = *found.front();
    out += "  " + title + ", " + std::to_string(found.size()) + "x " + change + "\n    e.g. " + first.sample + " " +
           first.change.substr(0, first.change.find(' ')) + "\n    schema: " +
           (first.schema.empty() ? "valid" : first.schema) + "\n    encode: " +
           (first.encode.empty() ? "encodes" : first.encode) + "\n";
  }
  return out;
}

TEST(JsonSchemaMutationTest, SchemaNeverAcceptsWhatEncodeRefuses) {
  const std::string missing = test::SchemaValidatorMissing();
  if (!missing.empty()) GTEST_SKIP() << missing;

  // Every record of the library as its own document, and the four
  // documents at sizes that give every paired settings record.
  // (inputs, changes drawn) of each document.
  const std::map<std::string, std::pair<int, std::size_t>> wholes = {
      {"ConfigData", {20, 160}}, {"DeviceData", {2, 60}}, {"CalibrationData", {4, 60}},
      {"CalibrationTemplateData", {4, 60}}};
  std::vector<Original> samples;
  for (const std::string& name : RecordNames()) {
    const auto whole = wholes.find(name);
    if (whole == wholes.end()) {
      samples.push_back(Written(name, 0, 8, true));
    } else {
      samples.push_back(Written(name, whole->second.first, whole->second.second, false));
    }
  }

  std::mt19937 random(19);
  std::map<std::string, std::vector<Judged>> by_schema;  // texts per schema's record
  std::map<std::string, std::vector<std::string>> texts;
  std::size_t nested_types = 0;
  for (const Original& sample : samples) {
    const Json document = Json::parse(sample.text);
    ASSERT_EQ(EncodeRefusal(sample.text, sample.type), "") << sample.type->full_name() << " sample";
    std::vector<Site> sites;
    Collect(document, Json::json_pointer(), sample.type, nullptr, &sites);
    std::vector<std::pair<const Site*, Change>> drawn;
    std::vector<std::pair<const Site*, Change>> offered;
    for (const Site& site : sites) {
      for (Change& change : Changes(document, site)) {
        const bool made =
            change.scope == Change::kEverywhere || (change.scope == Change::kEveryRecord && sample.single);
        nested_types += change.scope == Change::kEverywhere ? 1 : 0;
        (made ? drawn : offered).emplace_back(&site, std::move(change));
      }
    }
    std::shuffle(offered.begin(), offered.end(), random);
    offered.resize(std::min(offered.size(), sample.budget));
    drawn.insert(drawn.end(), offered.begin(), offered.end());

    const std::string name = sample.type->full_name();
    texts[name].push_back(sample.text);
    by_schema[name].push_back({name, "(the sample as written)", "", ""});
    for (const auto& [site, change] : drawn) {
      Json mutated = document;
      change.apply(mutated.at(site->pointer));
      texts[name].push_back(Spelt(mutated.dump()));
      by_schema[name].push_back({name, site->pointer.to_string() + " " + change.what, "", ""});
    }
  }

  std::vector<test::SchemaCheck> checks;
  for (const auto& [name, cases] : by_schema) checks.push_back({JsonSchemaText(FindRecord(name)), texts[name]});
  const std::vector<std::vector<test::SchemaVerdict>> verdicts = test::ValidateAgainstSchemas(checks);
  std::vector<Judged> judged;
  std::size_t check = 0;
  for (auto& [name, cases] : by_schema) {
    ASSERT_EQ(verdicts[check].size(), cases.size()) << name;
    for (std::size_t i = 0; i < cases.size(); ++i) {
      cases[i].schema = verdicts[check][i].valid ? "" : verdicts[check][i].reason;
      cases[i].encode = EncodeRefusal(texts[name][i], FindRecord(name));
      if (i == 0) {
        EXPECT_EQ(cases[i].schema, "") << "the " << name << " sample is not valid against its schema";
      } else {
        judged.push_back(cases[i]);
      }
    }
    ++check;
  }

  std::vector<const Judged*> schema_only;  // the schema accepts, encode refuses
  std::vector<const Judged*> encode_only;  // the schema refuses, encode accepts
  std::size_t both_accept = 0;
  std::size_t both_refuse = 0;
  for (const Judged& j : judged) {
    if (j.schema.empty() && j.encode.empty()) ++both_accept;
    if (!j.schema.empty() && !j.encode.empty()) ++both_refuse;
    if (j.schema.empty() && !j.encode.empty()) schema_only.push_back(&j);
    if (!j.schema.empty() && j.encode.empty()) encode_only.push_back(&j);
  }
  std::cout << judged.size() << " changed samples (" << nested_types
            << " of them a nested record naming itself): both accept " << both_accept << ", both refuse "
            << both_refuse << ", the schema accepts and encode refuses " << schema_only.size()
            << ", the schema refuses and encode accepts " << encode_only.size() << "\n";
  std::cout << Disagreements("the schema stricter", encode_only);

  EXPECT_GE(judged.size(), 1000u);
  EXPECT_GT(both_accept, 100u);
  EXPECT_GT(both_refuse, 100u);
  EXPECT_EQ(schema_only.size(), 0u) << Disagreements("the schema accepts what encode refuses", schema_only);
}

}  // namespace
}  // namespace gcuschema::document
