/* The C interface from a C99 program: a binary document decoded to JSON,
 * linted, encoded back to the same bytes and compared with an edited copy;
 * settings records by number and by name; errors with their position.
 * Prints one line per check and "N checks passed, M failed" last; exits 1
 * when a check failed. */
#include <stdio.h>
#include <string.h>

#include <gcuschema/document/c.h>

static int passed = 0;
static int failed = 0;

static void check(int ok, const char* what, int line) {
  if (ok) {
    ++passed;
    printf("ok: %s\n", what);
  } else {
    ++failed;
    printf("FAILED (line %d): %s\n", line, what);
  }
}
#define CHECK(condition) check((condition) ? 1 : 0, #condition, __LINE__)

static int same_text(const char* a, const char* b) { return a != NULL && b != NULL && strcmp(a, b) == 0; }

static int starts_with(const char* text, const char* start) {
  return text != NULL && strncmp(text, start, strlen(start)) == 0;
}

/* A ConfigData: input 1 (AdcInput, its settings an AdcConfiguration whose
 * fault range is upside down) and output 1 (MapOutput, its settings naming
 * output 7, which the document lacks). */
static const unsigned char kDocument[] = {
    0x08, 0x03, 0x1a, 0x22, 0x08, 0x01, 0x2a, 0x0f, 0x4f, 0x69, 0x6c, 0x20, 0x74, 0x65, 0x6d, 0x70,
    0x65, 0x72, 0x61, 0x74, 0x75, 0x72, 0x65, 0x32, 0x0d, 0x08, 0x02, 0x28, 0xc8, 0x01, 0x30, 0xc0,
    0x3e, 0x48, 0xfe, 0x3f, 0x50, 0x28, 0x22, 0x17, 0x08, 0x01, 0x18, 0x04, 0x2a, 0x0d, 0x4c, 0x69,
    0x6e, 0x65, 0x20, 0x70, 0x72, 0x65, 0x73, 0x73, 0x75, 0x72, 0x65, 0x32, 0x02, 0x08, 0x07};

static const char kJson[] =
    "{\n"
    "  \"version\": 3,\n"
    "  \"inputs\": [\n"
    "    {\n"
    "      \"id\": 1,\n"
    "      \"alias\": \"Oil temperature\",\n"
    "      \"config\": {\n"
    "        \"@type\": \"AdcConfiguration\",\n"
    "        \"range\": \"range12V\",\n"
    "        \"inMinValue\": 100,\n"
    "        \"inMaxValue\": 4000,\n"
    "        \"faultMinValue\": 4095,\n"
    "        \"faultMaxValue\": 20\n"
    "      }\n"
    "    }\n"
    "  ],\n"
    "  \"outputs\": [\n"
    "    {\n"
    "      \"id\": 1,\n"
    "      \"type\": 4,\n"
    "      \"alias\": \"Line pressure\",\n"
    "      \"config\": {\n"
    "        \"@type\": \"MapOutputConfigData\",\n"
    "        \"outputId\": 7\n"
    "      }\n"
    "    }\n"
    "  ]\n"
    "}";

/* The same document, the input renamed and its range changed. */
static const char kTwoInputs[] = "{\"inputs\": [{\"id\": 1}, {\"id\": 2}]}";
static const char kTwoInputsSwapped[] = "{\"inputs\": [{\"id\": 2}, {\"id\": 1}]}";

static const char kEdited[] =
    "{\"version\": 3,\n"
    " \"inputs\": [{\"id\": 1, \"alias\": \"Gearbox oil\",\n"
    "             \"config\": {\"@type\": \"AdcConfiguration\", \"range\": \"range5V\", \"inMinValue\": 100,\n"
    "                        \"inMaxValue\": 4000, \"faultMinValue\": 4095, \"faultMaxValue\": 20}}],\n"
    " \"outputs\": [{\"id\": 1, \"type\": 4, \"alias\": \"Line pressure\",\n"
    "              \"config\": {\"@type\": \"MapOutputConfigData\", \"outputId\": 7}}]}";

static gcuschema_document* read_document(const char* record, const void* bytes, size_t size) {
  gcuschema_document* document = NULL;
  gcuschema_error* error = NULL;
  if (gcuschema_read(record, bytes, size, NULL, &document, &error) != GCUSCHEMA_OK) {
    printf("reading a %s failed: %s\n", record, gcuschema_error_message(error));
    gcuschema_error_free(error);
    return NULL;
  }
  return document;
}

static void decode_and_encode_back(void) {
  gcuschema_document* document = read_document("ConfigData", kDocument, sizeof kDocument);
  gcuschema_document* again = NULL;
  gcuschema_error* error = NULL;
  char* json = NULL;
  char* bytes = NULL;
  size_t size = 0;
  CHECK(document != NULL);
  if (document == NULL) return;
  CHECK(gcuschema_document_format(document) == GCUSCHEMA_FORMAT_BINARY);
  CHECK(same_text(gcuschema_document_record(document), "ConfigData"));

  CHECK(gcuschema_write(document, GCUSCHEMA_FORMAT_JSON, NULL, &json, &size, &error) == GCUSCHEMA_OK);
  CHECK(error == NULL);
  CHECK(same_text(json, kJson));
  CHECK(size == strlen(kJson));

  /* The JSON, told from its content, encodes to the document's bytes. */
  again = read_document("ConfigData", json, size);
  CHECK(again != NULL);
  if (again != NULL) {
    CHECK(gcuschema_document_format(again) == GCUSCHEMA_FORMAT_JSON);
    CHECK(gcuschema_write(again, GCUSCHEMA_FORMAT_BINARY, NULL, &bytes, &size, &error) == GCUSCHEMA_OK);
    CHECK(size == sizeof kDocument);
    CHECK(bytes != NULL && size == sizeof kDocument && memcmp(bytes, kDocument, size) == 0);
  }
  gcuschema_buffer_free(bytes);
  gcuschema_buffer_free(json);
  gcuschema_document_free(again);
  gcuschema_document_free(document);
}

static void write_options(void) {
  gcuschema_document* document = read_document("ConfigData", kDocument, sizeof kDocument);
  gcuschema_write_options options;
  char* text = NULL;
  size_t size = 0;
  if (document == NULL) {
    CHECK(document != NULL);
    return;
  }
  gcuschema_write_options_init(&options);
  CHECK(options.expand == 1 && options.indent == 2 && options.original_names == 0 && options.type_name == 0 &&
        options.unknown_fields == 0 && options.pairing == NULL);
  options.expand = 0;
  options.indent = 0;
  options.type_name = 1;
  CHECK(gcuschema_write(document, GCUSCHEMA_FORMAT_JSON, &options, &text, &size, NULL) == GCUSCHEMA_OK);
  CHECK(same_text(text,
                  "{\"@type\":\"ConfigData\",\"version\":3,\"inputs\":[{\"id\":1,\"alias\":\"Oil temperature\","
                  "\"config\":\"CAIoyAEwwD5I/j9QKA==\"}],\"outputs\":[{\"id\":1,\"type\":4,\"alias\":\"Line "
                  "pressure\",\"config\":\"CAc=\"}]}"));
  gcuschema_buffer_free(text);
  text = NULL;
  CHECK(gcuschema_write(document, GCUSCHEMA_FORMAT_TEXT, NULL, &text, &size, NULL) == GCUSCHEMA_OK);
  CHECK(starts_with(text, "version: 3\ninputs {\n  id: 1\n  alias: \"Oil temperature\"\n"));
  gcuschema_buffer_free(text);
  gcuschema_document_free(document);
}

static void lint(void) {
  gcuschema_document* document = read_document("ConfigData", kDocument, sizeof kDocument);
  gcuschema_finding* findings = NULL;
  size_t count = 0;
  gcuschema_error* error = NULL;
  CHECK(gcuschema_lint(document, NULL, &findings, &count, &error) == GCUSCHEMA_OK);
  CHECK(count == 2);
  if (count == 2) {
    CHECK(findings[0].severity == GCUSCHEMA_SEVERITY_ERROR);
    CHECK(same_text(findings[0].rule, "inverted-range"));
    CHECK(same_text(findings[0].path, "inputs[0].config.faultMinValue"));
    CHECK(starts_with(findings[0].message, "faultMinValue 4095 is above faultMaxValue 20;"));
    CHECK(findings[1].severity == GCUSCHEMA_SEVERITY_ERROR);
    CHECK(same_text(findings[1].rule, "dangling-reference"));
    CHECK(same_text(findings[1].path, "outputs[0].config.outputId"));
    CHECK(same_text(findings[1].message, "outputId names output 7, but no output of the document has that id"));
  }
  gcuschema_findings_free(findings);
  gcuschema_document_free(document);
}

static void lint_against_limits(void) {
  static const char calibration_json[] = "{\"adcCalibrationCount\": 1, \"adcCalibration\": "
                                         "[{\"logicalId\": 1, \"level5v\": 4055}]}";
  static const char limits_json[] = "{\"adcCalibrationCount\": 1, \"adcCalibration\": "
                                    "[{\"logicalId\": 1, \"levelMax5v\": 4042}]}";
  gcuschema_document* calibration = read_document("CalibrationData", calibration_json, strlen(calibration_json));
  gcuschema_document* limits = read_document("CalibrationTemplateData", limits_json, strlen(limits_json));
  gcuschema_lint_options options = {NULL, NULL};
  gcuschema_finding* findings = NULL;
  size_t count = 0;
  CHECK(gcuschema_lint(calibration, &options, &findings, &count, NULL) == GCUSCHEMA_OK);
  CHECK(count == 0);
  gcuschema_findings_free(findings);
  findings = NULL;
  options.limits = limits;
  CHECK(gcuschema_lint(calibration, &options, &findings, &count, NULL) == GCUSCHEMA_OK);
  CHECK(count == 1);
  if (count == 1) {
    CHECK(findings[0].severity == GCUSCHEMA_SEVERITY_ERROR);
    CHECK(same_text(findings[0].rule, "out-of-limits"));
    CHECK(same_text(findings[0].path, "adcCalibration[0].level5v"));
    CHECK(starts_with(findings[0].message, "level5v 4055 is above levelMax5v 4042"));
  }
  gcuschema_findings_free(findings);
  gcuschema_document_free(limits);
  gcuschema_document_free(calibration);
}

static void diff(void) {
  gcuschema_document* a = read_document("ConfigData", kDocument, sizeof kDocument);
  gcuschema_document* b = read_document("ConfigData", kEdited, strlen(kEdited));
  gcuschema_difference* differences = NULL;
  size_t count = 0;
  CHECK(gcuschema_diff(a, a, NULL, &differences, &count, NULL) == GCUSCHEMA_OK);
  CHECK(count == 0 && differences == NULL);
  CHECK(gcuschema_diff(a, b, NULL, &differences, &count, NULL) == GCUSCHEMA_OK);
  CHECK(count == 2);
  if (count == 2) {
    CHECK(differences[0].kind == GCUSCHEMA_DIFFERENCE_MODIFIED);
    CHECK(same_text(differences[0].path, "inputs[id=1 \"Gearbox oil\"].alias"));
    CHECK(same_text(differences[0].old_value, "\"Oil temperature\""));
    CHECK(same_text(differences[0].new_value, "\"Gearbox oil\""));
    CHECK(differences[1].kind == GCUSCHEMA_DIFFERENCE_MODIFIED);
    CHECK(same_text(differences[1].path, "inputs[id=1 \"Gearbox oil\"].config<AdcConfiguration>.range"));
    CHECK(same_text(differences[1].old_value, "range12V"));
    CHECK(same_text(differences[1].new_value, "range5V"));
  }
  gcuschema_differences_free(differences);
  gcuschema_document_free(b);
  gcuschema_document_free(a);

  /* Entries in another order: a change of the list, its two orders of ids. */
  a = read_document("ConfigData", kTwoInputs, strlen(kTwoInputs));
  b = read_document("ConfigData", kTwoInputsSwapped, strlen(kTwoInputsSwapped));
  differences = NULL;
  count = 0;
  CHECK(gcuschema_diff(a, b, NULL, &differences, &count, NULL) == GCUSCHEMA_OK);
  CHECK(count == 1);
  if (count == 1) {
    CHECK(differences[0].kind == GCUSCHEMA_DIFFERENCE_MODIFIED);
    CHECK(same_text(differences[0].path, "inputs"));
    CHECK(same_text(differences[0].old_value, "1, 2"));
    CHECK(same_text(differences[0].new_value, "2, 1"));
  }
  gcuschema_differences_free(differences);
  gcuschema_document_free(b);
  gcuschema_document_free(a);
}

static void settings_records(void) {
  const char* record = NULL;
  const char* const pairs[] = {"input:FrequencyInput=AdcConfiguration"};
  gcuschema_pairing pairing = {pairs, 1, NULL};
  CHECK(gcuschema_settings_record("input", 0, NULL, &record, NULL) == GCUSCHEMA_OK);
  CHECK(same_text(record, "AdcConfiguration"));
  CHECK(gcuschema_settings_record_named("input", "DutyInput", NULL, &record, NULL) == GCUSCHEMA_OK);
  CHECK(same_text(record, "DutyInConfiguration"));
  CHECK(gcuschema_settings_record_named("output", "5", NULL, &record, NULL) == GCUSCHEMA_OK);
  CHECK(same_text(record, "SplitterOutputConfigData"));
  CHECK(gcuschema_settings_record("map", 1, NULL, &record, NULL) == GCUSCHEMA_OK);
  CHECK(same_text(record, "Map3D"));
  /* Left open by the schema, paired by the caller. */
  CHECK(gcuschema_settings_record("input", 1, NULL, &record, NULL) == GCUSCHEMA_OK);
  CHECK(record == NULL);
  CHECK(gcuschema_settings_record_named("input", "FrequencyInput", &pairing, &record, NULL) == GCUSCHEMA_OK);
  CHECK(same_text(record, "AdcConfiguration"));
}

static void errors_say_where(void) {
  static const char bad_json[] = "{\n  \"inputs\": [\n    {\"id\": 1, \"type\": \"AdcInput\"}\n  ]\n}\n";
  gcuschema_document* document = NULL;
  gcuschema_error* error = NULL;
  gcuschema_read_options options = {GCUSCHEMA_FORMAT_DETECT, NULL, 0};

  CHECK(gcuschema_read("ConfigData", bad_json, strlen(bad_json), NULL, &document, &error) ==
        GCUSCHEMA_ERROR_DOCUMENT);
  CHECK(document == NULL);
  CHECK(gcuschema_error_status(error) == GCUSCHEMA_ERROR_DOCUMENT);
  CHECK(same_text(gcuschema_error_message(error),
                  "line 3, column 23 (inputs[0].type): \"AdcInput\" is the name of type code 0, but the document is "
                  "plain proto3 JSON (it carries no \"@type\"), which gives type codes as numbers: write 0, or make "
                  "it expanded JSON by giving it \"@type\": \"ConfigData\" as its first member"));
  CHECK(gcuschema_error_line(error) == 3);
  CHECK(gcuschema_error_column(error) == 23);
  CHECK(gcuschema_error_offset(error) == -1);
  CHECK(same_text(gcuschema_error_path(error), "inputs[0].type"));
  gcuschema_error_free(error);

  /* Cut short: the byte offset where the encoding stops making sense. */
  options.format = GCUSCHEMA_FORMAT_BINARY;
  CHECK(gcuschema_read("ConfigData", kDocument, 30, &options, &document, &error) == GCUSCHEMA_ERROR_DOCUMENT);
  CHECK(starts_with(gcuschema_error_message(error),
                    "byte 3 (inputs[0]): declared length 34 runs past the end of the data (26 bytes left)"));
  CHECK(gcuschema_error_offset(error) == 3);
  CHECK(gcuschema_error_line(error) == 0 && gcuschema_error_column(error) == 0);
  CHECK(same_text(gcuschema_error_path(error), "inputs[0]"));
  gcuschema_error_free(error);

  /* A record name that is none: the closest one is offered. */
  CHECK(gcuschema_read("ConfgData", kDocument, sizeof kDocument, NULL, &document, &error) == GCUSCHEMA_ERROR_RECORD);
  CHECK(same_text(gcuschema_error_message(error),
                  "gcuschema_read: record: \"ConfgData\" is not a record of the schema library; "
                  "did you mean \"ConfigData\"?"));
  gcuschema_error_free(error);
}

static void schemas_and_version(void) {
  char* text = NULL;
  size_t size = 0;
  const char* const* names = NULL;
  size_t count = 0;
  CHECK(same_text(gcuschema_version(), GCUSCHEMA_EXPECTED_VERSION));
  CHECK(gcuschema_json_schema("ConfigData", NULL, &text, &size, NULL) == GCUSCHEMA_OK);
  CHECK(starts_with(text, "{\n  \"$schema\": \"https://json-schema.org/draft/2020-12/schema\",\n  \"title\": "
                          "\"ConfigData\",") &&
        strlen(text) == size);
  gcuschema_buffer_free(text);
  text = NULL;
  CHECK(gcuschema_json_schema(NULL, NULL, &text, &size, NULL) == GCUSCHEMA_OK);
  CHECK(starts_with(text, "{\n  \"$schema\": \"https://json-schema.org/draft/2020-12/schema\",\n  \"title\": "
                          "\"Any record of the schema library\","));
  gcuschema_buffer_free(text);
  CHECK(gcuschema_record_names(&names, &count, NULL) == GCUSCHEMA_OK);
  CHECK(count == 68 && same_text(names[0], "AdcConfiguration"));
}

int main(void) {
  decode_and_encode_back();
  write_options();
  lint();
  lint_against_limits();
  diff();
  settings_records();
  errors_say_where();
  schemas_and_version();
  printf("%d checks passed, %d failed\n", passed, failed);
  return failed == 0 ? 0 : 1;
}
