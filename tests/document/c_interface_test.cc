// The C interface: each way a call fails gives its status and a message
// saying what and where, with the out-parameters left alone; handles used
// on two threads at once give what they give on one.
#include <gcuschema/document/c.h>

#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/sample_bytes.h"

namespace {

// An error object released at the end of the scope.
struct Error {
  gcuschema_error* error = nullptr;
  ~Error() { gcuschema_error_free(error); }
  gcuschema_error** operator&() { return &error; }
  std::string message() const { return gcuschema_error_message(error); }
  gcuschema_status status() const { return gcuschema_error_status(error); }
};

struct Document {
  gcuschema_document* document = nullptr;
  ~Document() { gcuschema_document_free(document); }
};

const std::string& Sample() {
  static const std::string bytes = gcuschema::test::SampleBytes("ConfigData", 24);
  return bytes;
}

gcuschema_document* Read(const std::string& record, const std::string& bytes,
                         const gcuschema_read_options* options = nullptr) {
  gcuschema_document* document = nullptr;
  Error error;
  EXPECT_EQ(gcuschema_read(record.c_str(), bytes.data(), bytes.size(), options, &document, &error), GCUSCHEMA_OK)
      << error.message();
  return document;
}

std::string Written(const gcuschema_document* document, gcuschema_format format,
                    const gcuschema_write_options* options = nullptr) {
  char* data = nullptr;
  size_t size = 0;
  Error error;
  EXPECT_EQ(gcuschema_write(document, format, options, &data, &size, &error), GCUSCHEMA_OK) << error.message();
  std::string text(data != nullptr ? data : "", size);
  gcuschema_buffer_free(data);
  return text;
}

// A handle that must not be touched by a failing call.
gcuschema_document* const kUntouched = reinterpret_cast<gcuschema_document*>(0x1);

TEST(CInterfaceStatus, UnknownRecordNameIsARecordErrorOfferingTheClosest) {
  gcuschema_document* document = kUntouched;
  Error error;
  EXPECT_EQ(gcuschema_read("CalibrationDta", Sample().data(), Sample().size(), nullptr, &document, &error),
            GCUSCHEMA_ERROR_RECORD);
  EXPECT_EQ(document, kUntouched);
  EXPECT_EQ(error.status(), GCUSCHEMA_ERROR_RECORD);
  EXPECT_EQ(error.message(),
            "gcuschema_read: record: \"CalibrationDta\" is not a record of the schema library; did you mean "
            "\"CalibrationData\"?");
  EXPECT_STREQ(gcuschema_error_path(error.error), "");
  EXPECT_EQ(gcuschema_error_line(error.error), 0);
  EXPECT_EQ(gcuschema_error_offset(error.error), -1);
}

TEST(CInterfaceStatus, RecordNameFarFromAnyPointsToTheList) {
  char* text = nullptr;
  size_t size = 0;
  Error error;
  EXPECT_EQ(gcuschema_json_schema("Zz", nullptr, &text, &size, &error), GCUSCHEMA_ERROR_RECORD);
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(error.message(), "gcuschema_json_schema: record: \"Zz\" is not a record of the schema library; "
                             "gcuschema_record_names lists the records");
}

TEST(CInterfaceStatus, DocumentNamingAnotherRecordSaysWhichToReadItAs) {
  Document calibration;
  calibration.document = Read("CalibrationData", "{\"adcCalibrationCount\": 1}");
  gcuschema_write_options options;
  gcuschema_write_options_init(&options);
  options.type_name = 1;
  const std::string json = Written(calibration.document, GCUSCHEMA_FORMAT_JSON, &options);
  gcuschema_document* document = kUntouched;
  Error error;
  EXPECT_EQ(gcuschema_read("ConfigData", json.data(), json.size(), nullptr, &document, &error),
            GCUSCHEMA_ERROR_RECORD);
  EXPECT_EQ(document, kUntouched);
  EXPECT_NE(error.message().find("(record \"CalibrationData\")"), std::string::npos) << error.message();
  EXPECT_EQ(gcuschema_error_line(error.error), 2) << error.message();
  EXPECT_STREQ(gcuschema_error_path(error.error), "@type");
}

TEST(CInterfaceStatus, FormatCodeOutsideTheEnumerationIsAFormatError) {
  gcuschema_read_options options{};
  options.format = static_cast<gcuschema_format>(42);
  gcuschema_document* document = kUntouched;
  Error error;
  EXPECT_EQ(gcuschema_read("ConfigData", Sample().data(), Sample().size(), &options, &document, &error),
            GCUSCHEMA_ERROR_FORMAT);
  EXPECT_EQ(document, kUntouched);
  EXPECT_EQ(error.message(), "gcuschema_read: options->format is 42, which is no gcuschema_format; give "
                             "GCUSCHEMA_FORMAT_DETECT, GCUSCHEMA_FORMAT_BINARY, GCUSCHEMA_FORMAT_TEXT or "
                             "GCUSCHEMA_FORMAT_JSON");
}

TEST(CInterfaceStatus, WritingNeedsAFormatNamed) {
  Document read;
  read.document = Read("ConfigData", Sample());
  char* data = nullptr;
  size_t size = 7;
  for (const int format : {int{GCUSCHEMA_FORMAT_DETECT}, -1, 4}) {
    Error error;
    EXPECT_EQ(gcuschema_write(read.document, static_cast<gcuschema_format>(format), nullptr, &data, &size, &error),
              GCUSCHEMA_ERROR_FORMAT)
        << format;
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 7u);
    EXPECT_EQ(error.message().rfind("gcuschema_write: format is ", 0), 0u) << error.message();
    EXPECT_NE(error.message().find("give GCUSCHEMA_FORMAT_BINARY, GCUSCHEMA_FORMAT_TEXT or GCUSCHEMA_FORMAT_JSON"),
              std::string::npos)
        << error.message();
  }
}

TEST(CInterfaceStatus, EmptyInputOfNoFormatIsAFormatErrorSayingWhichToName) {
  gcuschema_document* document = kUntouched;
  Error error;
  EXPECT_EQ(gcuschema_read("ConfigData", nullptr, 0, nullptr, &document, &error), GCUSCHEMA_ERROR_FORMAT);
  EXPECT_EQ(document, kUntouched);
  EXPECT_EQ(error.message(), "the input is empty, so its format cannot be told from it; name the format to read it "
                             "as an empty document (read options: format GCUSCHEMA_FORMAT_BINARY or "
                             "GCUSCHEMA_FORMAT_TEXT)");
  // Named, it is the empty document.
  gcuschema_read_options options{};
  options.format = GCUSCHEMA_FORMAT_BINARY;
  Document empty;
  empty.document = Read("ConfigData", "", &options);
  EXPECT_EQ(Written(empty.document, GCUSCHEMA_FORMAT_JSON), "{}");
}

TEST(CInterfaceStatus, BadJsonIsADocumentErrorWithLineColumnAndPath) {
  const std::string json = "{\n  \"version\": 3,\n  \"inputs\": [{\"id\": 1, \"pin\": -4}]\n}";
  gcuschema_document* document = kUntouched;
  Error error;
  EXPECT_EQ(gcuschema_read("ConfigData", json.data(), json.size(), nullptr, &document, &error),
            GCUSCHEMA_ERROR_DOCUMENT);
  EXPECT_EQ(document, kUntouched);
  EXPECT_EQ(error.status(), GCUSCHEMA_ERROR_DOCUMENT);
  EXPECT_EQ(error.message().rfind("line 3, column 31 (inputs[0].pin): ", 0), 0u) << error.message();
  EXPECT_EQ(gcuschema_error_line(error.error), 3);
  EXPECT_EQ(gcuschema_error_column(error.error), 31);
  EXPECT_STREQ(gcuschema_error_path(error.error), "inputs[0].pin");
}

TEST(CInterfaceStatus, JsonThatIsNotJsonSaysWhereItBreaks) {
  const std::string json = "{\"version\": 3,,}";
  gcuschema_read_options options{};
  options.format = GCUSCHEMA_FORMAT_JSON;
  gcuschema_document* document = kUntouched;
  Error error;
  EXPECT_EQ(gcuschema_read("ConfigData", json.data(), json.size(), &options, &document, &error),
            GCUSCHEMA_ERROR_DOCUMENT);
  EXPECT_EQ(gcuschema_error_line(error.error), 1) << error.message();
  EXPECT_EQ(gcuschema_error_column(error.error), 15) << error.message();
}

TEST(CInterfaceStatus, UnknownMembersAreSkippedWhenAsked) {
  const std::string json = "{\"version\": 3, \"versoin\": 4}";
  gcuschema_document* document = kUntouched;
  Error error;
  EXPECT_EQ(gcuschema_read("ConfigData", json.data(), json.size(), nullptr, &document, &error),
            GCUSCHEMA_ERROR_DOCUMENT);
  EXPECT_NE(error.message().find("did you mean \"version\"?"), std::string::npos) << error.message();
  gcuschema_read_options options{};
  options.ignore_unknown_fields = 1;
  Document lenient;
  lenient.document = Read("ConfigData", json, &options);
  EXPECT_EQ(Written(lenient.document, GCUSCHEMA_FORMAT_JSON), "{\n  \"version\": 3\n}");
}

TEST(CInterfaceStatus, WhatTheFormatCannotCarryIsADocumentErrorAtItsField) {
  // An input whose minValue is a NaN with a payload: text format has no
  // spelling for it.
  const std::string bytes("\x1a\x05\x45\x01\x00\xc0\x7f", 7);
  Document read;
  read.document = Read("ConfigData", bytes);
  char* data = nullptr;
  size_t size = 0;
  Error error;
  EXPECT_EQ(gcuschema_write(read.document, GCUSCHEMA_FORMAT_TEXT, nullptr, &data, &size, &error),
            GCUSCHEMA_ERROR_DOCUMENT);
  EXPECT_EQ(data, nullptr);
  EXPECT_STREQ(gcuschema_error_path(error.error), "inputs[0].minValue") << error.message();
}

TEST(CInterfaceStatus, NegativeIndentIsAnArgumentError) {
  Document read;
  read.document = Read("ConfigData", Sample());
  gcuschema_write_options options;
  gcuschema_write_options_init(&options);
  options.indent = -1;
  char* data = nullptr;
  size_t size = 0;
  Error error;
  EXPECT_EQ(gcuschema_write(read.document, GCUSCHEMA_FORMAT_JSON, &options, &data, &size, &error),
            GCUSCHEMA_ERROR_ARGUMENT);
  EXPECT_EQ(error.message(), "gcuschema_write: options->indent is -1; give the spaces per level, or 0 for one line");
}

TEST(CInterfaceStatus, PairingThatDoesNotReadIsAPairingErrorNamingTheEntry) {
  const char* record = "untouched";
  {
    const char* const pairs[] = {"input:5=AdcSwitchConfiguration", "input:DutyInptu=AdcConfiguration"};
    const gcuschema_pairing pairing{pairs, 2, nullptr};
    Error error;
    EXPECT_EQ(gcuschema_settings_record("input", 5, &pairing, &record, &error), GCUSCHEMA_ERROR_PAIRING);
    EXPECT_EQ(error.message().rfind("gcuschema_settings_record: pairing->pairs[1] "
                                    "\"input:DutyInptu=AdcConfiguration\": ",
                                    0),
              0u)
        << error.message();
    EXPECT_NE(error.message().find("did you mean \"DutyInput\"?"), std::string::npos) << error.message();
  }
  {
    const gcuschema_pairing pairing{nullptr, 0, "Map9D"};
    Error error;
    EXPECT_EQ(gcuschema_settings_record("map", 0, &pairing, &record, &error), GCUSCHEMA_ERROR_PAIRING);
    EXPECT_EQ(error.message().rfind("gcuschema_settings_record: pairing->map_table: \"Map9D\" is not a record", 0),
              0u)
        << error.message();
  }
  {
    Error error;
    EXPECT_EQ(gcuschema_settings_record("inptu", 0, nullptr, &record, &error), GCUSCHEMA_ERROR_PAIRING);
    EXPECT_EQ(error.message(),
              "gcuschema_settings_record: kind: \"inptu\" is not an entry kind; did you mean \"input\"?");
  }
  {
    Error error;
    EXPECT_EQ(gcuschema_settings_record_named("driver", "Pwm", nullptr, &record, &error), GCUSCHEMA_ERROR_PAIRING);
    EXPECT_EQ(error.message(), "gcuschema_settings_record_named: code: \"Pwm\" is not a number; driver type codes "
                               "are plain numbers");
  }
  {
    const gcuschema_pairing pairing{nullptr, 3, nullptr};
    Error error;
    EXPECT_EQ(gcuschema_settings_record("input", 0, &pairing, &record, &error), GCUSCHEMA_ERROR_ARGUMENT);
    EXPECT_EQ(error.message(), "gcuschema_settings_record: pairing->pairs is NULL but pair_count is 3; give the "
                               "pairs, or pair_count 0 for none");
  }
  EXPECT_STREQ(record, "untouched");
}

TEST(CInterfaceStatus, PairingGivenShapesReadWriteAndSettings) {
  // A config whose type code the schema leaves open (FrequencyInput, 1):
  // expanded only once a record is paired with it.
  const std::string json = "{\"inputs\": [{\"id\": 1, \"type\": 1, \"config\": {\"@type\": \"AdcConfiguration\", "
                           "\"range\": \"range12V\"}}]}";
  const char* const pairs[] = {"input:FrequencyInput=AdcConfiguration"};
  const gcuschema_pairing pairing{pairs, 1, nullptr};
  gcuschema_read_options reading{};
  reading.pairing = &pairing;
  Document read;
  read.document = Read("ConfigData", json, &reading);
  gcuschema_write_options writing;
  gcuschema_write_options_init(&writing);
  writing.indent = 0;
  EXPECT_EQ(Written(read.document, GCUSCHEMA_FORMAT_JSON, &writing),
            "{\"inputs\":[{\"id\":1,\"type\":1,\"config\":\"CAI=\"}]}");
  writing.pairing = &pairing;
  EXPECT_EQ(Written(read.document, GCUSCHEMA_FORMAT_JSON, &writing),
            "{\"inputs\":[{\"id\":1,\"type\":1,\"config\":{\"@type\":\"AdcConfiguration\",\"range\":\"range12V\"}}]}");
}

TEST(CInterfaceStatus, LintTemplateAndDiffNeedRecordsOfTheRightTypes) {
  Document config;
  config.document = Read("ConfigData", Sample());
  Document calibration;
  calibration.document = Read("CalibrationData", "{}");
  gcuschema_finding* findings = nullptr;
  gcuschema_difference* differences = nullptr;
  size_t count = 5;
  {
    const gcuschema_lint_options options{nullptr, config.document};
    Error error;
    EXPECT_EQ(gcuschema_lint(calibration.document, &options, &findings, &count, &error), GCUSCHEMA_ERROR_RECORD);
    EXPECT_EQ(error.message(), "gcuschema_lint: options->limits is a ConfigData; a limits template is a "
                               "CalibrationTemplateData: read it as one");
  }
  {
    Document limits;
    limits.document = Read("CalibrationTemplateData", "{}");
    const gcuschema_lint_options options{nullptr, limits.document};
    Error error;
    EXPECT_EQ(gcuschema_lint(config.document, &options, &findings, &count, &error), GCUSCHEMA_ERROR_RECORD);
    EXPECT_EQ(error.message(), "gcuschema_lint: document is a ConfigData; a limits template checks a "
                               "CalibrationData: lint it without options->limits, or give a CalibrationData");
  }
  {
    Error error;
    EXPECT_EQ(gcuschema_diff(config.document, calibration.document, nullptr, &differences, &count, &error),
              GCUSCHEMA_ERROR_RECORD);
    EXPECT_EQ(error.message(), "gcuschema_diff: a is a ConfigData but b a CalibrationData; only documents of one "
                               "record compare: read both as the same record");
  }
  EXPECT_EQ(findings, nullptr);
  EXPECT_EQ(differences, nullptr);
  EXPECT_EQ(count, 5u);
}

// Each pointer argument given as NULL: an argument error naming it.
TEST(CInterfaceStatus, NullArgumentsAreArgumentErrorsNamingThem) {
  Document read;
  read.document = Read("ConfigData", Sample());
  const gcuschema_document* d = read.document;
  gcuschema_document* made = nullptr;
  char* data = nullptr;
  size_t size = 0;
  gcuschema_finding* findings = nullptr;
  gcuschema_difference* differences = nullptr;
  const char* record = nullptr;
  const char* const* names = nullptr;
  const void* bytes = Sample().data();
  const size_t n = Sample().size();
  struct Case {
    const char* expected;
    std::function<gcuschema_status(gcuschema_error**)> call;
  };
  const std::vector<Case> cases = {
      {"gcuschema_read: record is NULL", [&](auto e) { return gcuschema_read(nullptr, bytes, n, nullptr, &made, e); }},
      {"gcuschema_read: bytes is NULL but size is 5",
       [&](auto e) { return gcuschema_read("ConfigData", nullptr, 5, nullptr, &made, e); }},
      {"gcuschema_read: document is NULL",
       [&](auto e) { return gcuschema_read("ConfigData", bytes, n, nullptr, nullptr, e); }},
      {"gcuschema_write: document is NULL",
       [&](auto e) { return gcuschema_write(nullptr, GCUSCHEMA_FORMAT_JSON, nullptr, &data, &size, e); }},
      {"gcuschema_write: data is NULL",
       [&](auto e) { return gcuschema_write(d, GCUSCHEMA_FORMAT_JSON, nullptr, nullptr, &size, e); }},
      {"gcuschema_write: size is NULL",
       [&](auto e) { return gcuschema_write(d, GCUSCHEMA_FORMAT_JSON, nullptr, &data, nullptr, e); }},
      {"gcuschema_lint: document is NULL",
       [&](auto e) { return gcuschema_lint(nullptr, nullptr, &findings, &size, e); }},
      {"gcuschema_lint: findings is NULL", [&](auto e) { return gcuschema_lint(d, nullptr, nullptr, &size, e); }},
      {"gcuschema_lint: count is NULL", [&](auto e) { return gcuschema_lint(d, nullptr, &findings, nullptr, e); }},
      {"gcuschema_diff: a is NULL", [&](auto e) { return gcuschema_diff(nullptr, d, nullptr, &differences, &size, e); }},
      {"gcuschema_diff: b is NULL", [&](auto e) { return gcuschema_diff(d, nullptr, nullptr, &differences, &size, e); }},
      {"gcuschema_diff: differences is NULL",
       [&](auto e) { return gcuschema_diff(d, d, nullptr, nullptr, &size, e); }},
      {"gcuschema_diff: count is NULL",
       [&](auto e) { return gcuschema_diff(d, d, nullptr, &differences, nullptr, e); }},
      {"gcuschema_json_schema: text is NULL",
       [&](auto e) { return gcuschema_json_schema("ConfigData", nullptr, nullptr, &size, e); }},
      {"gcuschema_json_schema: size is NULL",
       [&](auto e) { return gcuschema_json_schema("ConfigData", nullptr, &data, nullptr, e); }},
      {"gcuschema_settings_record: kind is NULL",
       [&](auto e) { return gcuschema_settings_record(nullptr, 0, nullptr, &record, e); }},
      {"gcuschema_settings_record: record is NULL",
       [&](auto e) { return gcuschema_settings_record("input", 0, nullptr, nullptr, e); }},
      {"gcuschema_settings_record_named: code is NULL",
       [&](auto e) { return gcuschema_settings_record_named("input", nullptr, nullptr, &record, e); }},
      {"gcuschema_settings_record_named: kind is NULL",
       [&](auto e) { return gcuschema_settings_record_named(nullptr, "0", nullptr, &record, e); }},
      {"gcuschema_settings_record_named: record is NULL",
       [&](auto e) { return gcuschema_settings_record_named("input", "0", nullptr, nullptr, e); }},
      {"gcuschema_record_names: names is NULL", [&](auto e) { return gcuschema_record_names(nullptr, &size, e); }},
      {"gcuschema_record_names: count is NULL", [&](auto e) { return gcuschema_record_names(&names, nullptr, e); }},
  };
  for (const Case& c : cases) {
    Error error;
    EXPECT_EQ(c.call(&error), GCUSCHEMA_ERROR_ARGUMENT) << c.expected;
    EXPECT_EQ(error.message().rfind(std::string(c.expected) + "; ", 0), 0u) << error.message();
    // Without an error object the status is the same.
    EXPECT_EQ(c.call(nullptr), GCUSCHEMA_ERROR_ARGUMENT) << c.expected;
  }
  EXPECT_EQ(made, nullptr);
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(findings, nullptr);
  EXPECT_EQ(differences, nullptr);
  EXPECT_EQ(record, nullptr);
  EXPECT_EQ(names, nullptr);
  EXPECT_EQ(size, 0u);
}

TEST(CInterfaceStatus, AccessorsAndFreesTakeNull) {
  EXPECT_EQ(gcuschema_error_status(nullptr), GCUSCHEMA_OK);
  EXPECT_STREQ(gcuschema_error_message(nullptr), "");
  EXPECT_STREQ(gcuschema_error_path(nullptr), "");
  EXPECT_EQ(gcuschema_error_line(nullptr), 0);
  EXPECT_EQ(gcuschema_error_column(nullptr), 0);
  EXPECT_EQ(gcuschema_error_offset(nullptr), -1);
  EXPECT_EQ(gcuschema_document_record(nullptr), nullptr);
  EXPECT_EQ(gcuschema_document_format(nullptr), GCUSCHEMA_FORMAT_DETECT);
  gcuschema_error_free(nullptr);
  gcuschema_document_free(nullptr);
  gcuschema_buffer_free(nullptr);
  gcuschema_findings_free(nullptr);
  gcuschema_differences_free(nullptr);
  gcuschema_write_options_init(nullptr);
}

TEST(CInterfaceStatus, SuccessClearsTheErrorPointer) {
  Error error;
  error.error = reinterpret_cast<gcuschema_error*>(0x1);  // as left by a caller
  gcuschema_error* given = error.error;
  const char* record = nullptr;
  EXPECT_EQ(gcuschema_settings_record("output", 0, nullptr, &record, &given), GCUSCHEMA_OK);
  EXPECT_EQ(given, nullptr);
  EXPECT_STREQ(record, "PwmConfiguration");
  error.error = nullptr;
}

// What one thread makes of a document: its JSON, its encoding made again
// from that JSON, its lint findings and its differences from itself read
// back.
struct Results {
  std::string json;
  std::string encoded;
  std::vector<std::string> findings;
  size_t differences = 0;

  bool operator==(const Results& other) const {
    return json == other.json && encoded == other.encoded && findings == other.findings &&
           differences == other.differences;
  }
};

Results Work(const std::string& bytes) {
  Results results;
  Document read;
  read.document = Read("ConfigData", bytes);
  results.json = Written(read.document, GCUSCHEMA_FORMAT_JSON);
  Document again;
  again.document = Read("ConfigData", results.json);
  results.encoded = Written(again.document, GCUSCHEMA_FORMAT_BINARY);
  gcuschema_finding* findings = nullptr;
  size_t count = 0;
  EXPECT_EQ(gcuschema_lint(read.document, nullptr, &findings, &count, nullptr), GCUSCHEMA_OK);
  for (size_t i = 0; i < count; ++i) results.findings.push_back(std::string(findings[i].path) + findings[i].rule);
  gcuschema_findings_free(findings);
  gcuschema_difference* differences = nullptr;
  EXPECT_EQ(gcuschema_diff(read.document, again.document, nullptr, &differences, &results.differences, nullptr),
            GCUSCHEMA_OK);
  gcuschema_differences_free(differences);
  return results;
}

TEST(CInterfaceThreads, TwoHandlesOnTwoThreadsGiveWhatTheyGiveOnOne) {
  // Two documents that differ; the second with a finding to report.
  const std::string first = gcuschema::test::SampleBytes("ConfigData", 200, 1);
  std::string second = gcuschema::test::SampleBytes("ConfigData", 160, 2);
  second += std::string("\x1a\x02\x08\x01", 4);  // one more input, its id 1 taken already
  const Results alone_first = Work(first);
  const Results alone_second = Work(second);
  ASSERT_EQ(alone_first.encoded, first);
  ASSERT_EQ(alone_second.findings, std::vector<std::string>{"inputs[160].idduplicate-id"});
  ASSERT_EQ(alone_first.differences, 0u);

  constexpr int kRounds = 8;
  std::vector<Results> on_first(kRounds);
  std::vector<Results> on_second(kRounds);
  std::thread a([&] {
    for (Results& r : on_first) r = Work(first);
  });
  std::thread b([&] {
    for (Results& r : on_second) r = Work(second);
  });
  a.join();
  b.join();
  for (int i = 0; i < kRounds; ++i) {
    EXPECT_TRUE(on_first[i] == alone_first) << "round " << i;
    EXPECT_TRUE(on_second[i] == alone_second) << "round " << i;
  }
}

}  // namespace
