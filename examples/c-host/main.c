/* A C host of the companion library: reads a configuration document (a
 * file in any format, or the one below), lints it, encodes it, compares it
 * with an edited copy, and asks which settings record a type code holds.
 *
 *   gcuschema_c_host [DOCUMENT [EDITED]]
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <gcuschema/document/c.h>

static const char kDocument[] =
    "{\n"
    "  \"version\": 3,\n"
    "  \"inputs\": [\n"
    "    {\"id\": 1, \"type\": 0, \"alias\": \"Oil temperature\",\n"
    "     \"config\": {\"@type\": \"AdcConfiguration\", \"range\": \"range12V\",\n"
    "                \"faultMinValue\": 4095, \"faultMaxValue\": 20}}\n"
    "  ],\n"
    "  \"outputs\": [\n"
    "    {\"id\": 1, \"type\": 4, \"alias\": \"Line pressure\",\n"
    "     \"config\": {\"@type\": \"MapOutputConfigData\", \"outputId\": 7}}\n"
    "  ]\n"
    "}\n";

static const char kEdited[] =
    "{\"version\": 3,\n"
    " \"inputs\": [{\"id\": 1, \"alias\": \"Gearbox oil\",\n"
    "             \"config\": {\"@type\": \"AdcConfiguration\", \"range\": \"range5V\",\n"
    "                        \"faultMinValue\": 20, \"faultMaxValue\": 4095}}],\n"
    " \"outputs\": [{\"id\": 1, \"type\": 4, \"alias\": \"Line pressure\",\n"
    "              \"config\": {\"@type\": \"MapOutputConfigData\", \"outputId\": 1}}]}\n";

static const char* const kFormats[] = {"unknown", "binary", "text format", "JSON"};

/* Prints the error and releases it; always 0, for `return failed(...)`. */
static int failed(const char* what, gcuschema_error* error) {
  fprintf(stderr, "%s: %s\n", what, gcuschema_error_message(error));
  gcuschema_error_free(error);
  return 0;
}

/* The whole file at `path`, in a buffer of malloc's. */
static char* read_file(const char* path, size_t* size) {
  FILE* file = fopen(path, "rb");
  char* data = NULL;
  size_t used = 0;
  size_t capacity = 0;
  if (file == NULL) {
    perror(path);
    return NULL;
  }
  for (;;) {
    size_t got;
    if (used == capacity) {
      char* grown = realloc(data, capacity * 2 + 65536);
      if (grown == NULL) {
        fprintf(stderr, "%s: too large to hold in memory\n", path);
        free(data);
        fclose(file);
        return NULL;
      }
      data = grown;
      capacity = capacity * 2 + 65536;
    }
    got = fread(data + used, 1, capacity - used, file);
    used += got;
    if (got == 0) break;
  }
  if (ferror(file)) {
    perror(path);
    free(data);
    data = NULL;
  }
  fclose(file);
  *size = used;
  return data;
}

/* A ConfigData from the file at `path`, or from `text` when path is NULL. */
static gcuschema_document* load(const char* path, const char* text) {
  gcuschema_document* document = NULL;
  gcuschema_error* error = NULL;
  size_t size = 0;
  char* data = path != NULL ? read_file(path, &size) : NULL;
  if (path != NULL && data == NULL) return NULL;
  if (gcuschema_read("ConfigData", path != NULL ? data : text, path != NULL ? size : strlen(text), NULL, &document,
                     &error) != GCUSCHEMA_OK) {
    failed(path != NULL ? path : "the document", error);
  }
  free(data);
  return document;
}

static int lint(const char* what, const gcuschema_document* document) {
  gcuschema_finding* findings = NULL;
  size_t count = 0;
  size_t i;
  gcuschema_error* error = NULL;
  if (gcuschema_lint(document, NULL, &findings, &count, &error) != GCUSCHEMA_OK) return failed("lint", error);
  printf("lint of %s: %lu finding%s\n", what, (unsigned long)count, count == 1 ? "" : "s");
  for (i = 0; i < count; ++i) {
    printf("  %s: %s: %s [%s]\n", findings[i].path[0] != '\0' ? findings[i].path : "(document)",
           findings[i].severity == GCUSCHEMA_SEVERITY_ERROR ? "error" : "warning", findings[i].message,
           findings[i].rule);
  }
  gcuschema_findings_free(findings);
  return 1;
}

/* The document encoded, and that encoding read back as the same document. */
static int encode(const gcuschema_document* document) {
  char* bytes = NULL;
  size_t size = 0;
  gcuschema_document* again = NULL;
  gcuschema_difference* differences = NULL;
  size_t count = 0;
  gcuschema_error* error = NULL;
  gcuschema_read_options binary = {GCUSCHEMA_FORMAT_BINARY, NULL, 0};
  if (gcuschema_write(document, GCUSCHEMA_FORMAT_BINARY, NULL, &bytes, &size, &error) != GCUSCHEMA_OK) {
    return failed("encode", error);
  }
  if (gcuschema_read("ConfigData", bytes, size, &binary, &again, &error) != GCUSCHEMA_OK ||
      gcuschema_diff(document, again, NULL, &differences, &count, &error) != GCUSCHEMA_OK) {
    gcuschema_buffer_free(bytes);
    gcuschema_document_free(again);
    return failed("reading the encoding back", error);
  }
  printf("encoded: %lu bytes, read back %s\n", (unsigned long)size, count == 0 ? "the same" : "different");
  gcuschema_differences_free(differences);
  gcuschema_document_free(again);
  gcuschema_buffer_free(bytes);
  return count == 0;
}

static int diff(const gcuschema_document* a, const gcuschema_document* b) {
  static const char kinds[] = {'+', '-', '~'};
  gcuschema_difference* differences = NULL;
  size_t count = 0;
  size_t i;
  gcuschema_error* error = NULL;
  if (gcuschema_diff(a, b, NULL, &differences, &count, &error) != GCUSCHEMA_OK) return failed("diff", error);
  printf("diff: %lu difference%s\n", (unsigned long)count, count == 1 ? "" : "s");
  for (i = 0; i < count; ++i) {
    const gcuschema_difference* d = &differences[i];
    printf("  %c %s: %s%s%s\n", kinds[d->kind], d->path, d->old_value,
           d->kind == GCUSCHEMA_DIFFERENCE_MODIFIED ? " -> " : "", d->new_value);
  }
  gcuschema_differences_free(differences);
  return 1;
}

static int settings(const char* kind, const char* code) {
  const char* record = NULL;
  gcuschema_error* error = NULL;
  if (gcuschema_settings_record_named(kind, code, NULL, &record, &error) != GCUSCHEMA_OK) {
    return failed("settings", error);
  }
  if (record != NULL) {
    printf("%s type %s holds %s\n", kind, code, record);
  } else {
    printf("%s type %s is open: the schema pairs no record with it\n", kind, code);
  }
  return 1;
}

/* A mistake in a document is reported with its place. */
static int show_error(void) {
  static const char broken[] = "{\n  \"inputs\": [{\"id\": 1, \"type\": \"AdcInput\"}]\n}\n";
  gcuschema_document* document = NULL;
  gcuschema_error* error = NULL;
  if (gcuschema_read("ConfigData", broken, strlen(broken), NULL, &document, &error) == GCUSCHEMA_OK) {
    gcuschema_document_free(document);
    return 0;
  }
  printf("a broken document: line %ld, column %ld, at %s:\n  %s\n", (long)gcuschema_error_line(error),
         (long)gcuschema_error_column(error), gcuschema_error_path(error), gcuschema_error_message(error));
  gcuschema_error_free(error);
  return 1;
}

int main(int argc, char** argv) {
  gcuschema_document* document = load(argc > 1 ? argv[1] : NULL, kDocument);
  gcuschema_document* edited = load(argc > 2 ? argv[2] : NULL, kEdited);
  int ok = document != NULL && edited != NULL;
  if (ok) {
    printf("read a %s from %s\n", gcuschema_document_record(document), kFormats[gcuschema_document_format(document)]);
    ok = lint("the document", document) && encode(document) && lint("the edited copy", edited) &&
         diff(document, edited) && settings("input", "DutyInput") &&
         settings("input", "1") && show_error();
  }
  gcuschema_document_free(edited);
  gcuschema_document_free(document);
  return ok ? EXIT_SUCCESS : EXIT_FAILURE;
}
