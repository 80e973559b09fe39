/* The companion library from C (C99 and later, and C++): documents read into
 * handles and written, linted and compared, the JSON Schema of the records,
 * the settings record of a type code and the library's version.
 *
 * Conventions:
 * - Every call that can fail returns a gcuschema_status; GCUSCHEMA_OK is 0.
 *   Its last argument, `error`, may be NULL; otherwise *error is set to NULL
 *   on success and to an error object on failure (never NULL then), which
 *   says what was wrong, where (line and column or byte offset, field path)
 *   and what to do, and is released with gcuschema_error_free.
 * - Results are given through out-parameters, which are left untouched on
 *   failure. Every handle, buffer and array the library gives is released
 *   with its own free function below, never with free(); each accepts NULL.
 *   Strings the library gives as `const char*` without a free function
 *   (record names, the version) live as long as the library is loaded.
 * - Nothing thrown inside the library crosses this interface; running out of
 *   memory is GCUSCHEMA_ERROR_MEMORY. Two places where memory running out
 *   ends the process instead: the protobuf runtime setting up the schema's
 *   descriptors on the first call, and gcuschema_json_schema (its JSON
 *   library allocates while freeing what it built).
 * - Nothing is shared between calls: distinct handles may be used from
 *   different threads at once (a handle itself is not to be used by two
 *   threads at once).
 * - Option structs are read only during the call. A NULL options pointer
 *   means the defaults.
 */
#ifndef GCUSCHEMA_DOCUMENT_C_H
#define GCUSCHEMA_DOCUMENT_C_H

#include <stddef.h>
#include <stdint.h>

#include <gcuschema/document/export.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum gcuschema_status {
  GCUSCHEMA_OK = 0,
  /* A NULL pointer where a value is needed, or an option out of its range. */
  GCUSCHEMA_ERROR_ARGUMENT = 1,
  /* A record name that is no record of the library, a document of another
   * record than the one asked for, or records of the wrong types. */
  GCUSCHEMA_ERROR_RECORD = 2,
  /* A format code that is none of gcuschema_format, or an input whose format
   * cannot be told from it (empty). */
  GCUSCHEMA_ERROR_FORMAT = 3,
  /* A pairing, entry kind or type code that does not read. */
  GCUSCHEMA_ERROR_PAIRING = 4,
  /* The document does not read in its format, or holds what the format
   * asked for cannot carry. */
  GCUSCHEMA_ERROR_DOCUMENT = 5,
  /* JSON that needs what the library does not map (maps, well-known types). */
  GCUSCHEMA_ERROR_UNSUPPORTED = 6,
  GCUSCHEMA_ERROR_MEMORY = 7,
  /* Anything else that went wrong inside the library. */
  GCUSCHEMA_ERROR_INTERNAL = 8
} gcuschema_status;

typedef enum gcuschema_format {
  /* Reading: told from the content (valid JSON is JSON; text format is what
   * reads as text format; binary what reads only as the encoding). */
  GCUSCHEMA_FORMAT_DETECT = 0,
  GCUSCHEMA_FORMAT_BINARY = 1, /* the records' wire encoding */
  GCUSCHEMA_FORMAT_TEXT = 2,   /* protobuf text format */
  GCUSCHEMA_FORMAT_JSON = 3    /* the protobuf JSON mapping, settings expanded */
} gcuschema_format;

typedef struct gcuschema_error gcuschema_error;
typedef struct gcuschema_document gcuschema_document;

/* Which record each entry's `config` holds: the pairings the schema makes,
 * then `map_table` (every map type's table, e.g. "Map3D"; NULL for none),
 * then each of `pairs` in order ("input:AnalogSwitchInput=AdcSwitchConfiguration",
 * "output:5=": kinds input, output, map, driver and handler, the code a
 * number or a value name, an empty record removing the pairing). A NULL
 * pairing pointer wherever one is taken means the schema's pairings alone. */
typedef struct gcuschema_pairing {
  const char* const* pairs;
  size_t pair_count;
  const char* map_table;
} gcuschema_pairing;

/* All zero is the default. */
typedef struct gcuschema_read_options {
  gcuschema_format format;
  const gcuschema_pairing* pairing;
  /* JSON: members naming no field, and enumeration names the enumeration
   * lacks, are skipped instead of being errors. */
  int ignore_unknown_fields;
} gcuschema_read_options;

/* Start from gcuschema_write_options_init. */
typedef struct gcuschema_write_options {
  const gcuschema_pairing* pairing;
  /* JSON: each `config` whose type code is paired shown as the record it
   * holds (where that loses nothing), unknown fields as "@unknown"; 0
   * writes plain proto3 JSON. Default 1. */
  int expand;
  /* JSON: field names as the schema spells them ("__unused1"), not their
   * JSON names ("Unused1"). Default 0. */
  int original_names;
  /* JSON: spaces per level of nesting, 0 for one line. Default 2. */
  int indent;
  /* JSON: a leading "@type" naming the document's record. Default 0. */
  int type_name;
  /* JSON: "@unknown" also without expansion. Default 0. */
  int unknown_fields;
} gcuschema_write_options;

typedef enum gcuschema_severity {
  GCUSCHEMA_SEVERITY_WARNING = 0,
  GCUSCHEMA_SEVERITY_ERROR = 1
} gcuschema_severity;

typedef struct gcuschema_finding {
  gcuschema_severity severity;
  const char* rule;    /* "dangling-reference", "inverted-range", ... */
  const char* path;    /* "outputs[0].config.outputId"; "" for the whole document */
  const char* message; /* what is wrong and what to do */
} gcuschema_finding;

/* All zero is the default. */
typedef struct gcuschema_lint_options {
  const gcuschema_pairing* pairing;
  /* A CalibrationTemplateData whose limits the linted CalibrationData must
   * keep; NULL for none. */
  const gcuschema_document* limits;
} gcuschema_lint_options;

typedef enum gcuschema_difference_kind {
  GCUSCHEMA_DIFFERENCE_ADDED = 0,
  GCUSCHEMA_DIFFERENCE_REMOVED = 1,
  GCUSCHEMA_DIFFERENCE_MODIFIED = 2
} gcuschema_difference_kind;

typedef struct gcuschema_difference {
  gcuschema_difference_kind kind;
  const char* path;      /* "inputs[id=1 \"Oil\"].config<AdcConfiguration>.range" */
  const char* old_value; /* as the schema's text; "" when added */
  const char* new_value; /* "" when removed */
} gcuschema_difference;

/* The library's version, "MAJOR.MINOR.PATCH". */
GCUSCHEMA_DOCUMENT_API const char* gcuschema_version(void);

/* What went wrong. The message is one line: where ("line 3, column 12
 * (inputs[0].type)", "byte 17 (inputs[2].alias)"), what, and what to do.
 * Line and column count from 1 and are 0 when the error has none; the byte
 * offset is -1 when it has none; the field path is "" when none. */
GCUSCHEMA_DOCUMENT_API gcuschema_status gcuschema_error_status(const gcuschema_error* error);
GCUSCHEMA_DOCUMENT_API const char* gcuschema_error_message(const gcuschema_error* error);
GCUSCHEMA_DOCUMENT_API const char* gcuschema_error_path(const gcuschema_error* error);
GCUSCHEMA_DOCUMENT_API int64_t gcuschema_error_line(const gcuschema_error* error);
GCUSCHEMA_DOCUMENT_API int64_t gcuschema_error_column(const gcuschema_error* error);
GCUSCHEMA_DOCUMENT_API int64_t gcuschema_error_offset(const gcuschema_error* error);
GCUSCHEMA_DOCUMENT_API void gcuschema_error_free(gcuschema_error* error);

/* Every record of the library by full name ("CalibrationData",
 * "CalibrationData.AdcCalibrationData", "ConfigData", ...), sorted; the
 * array and its strings belong to the library. */
GCUSCHEMA_DOCUMENT_API gcuschema_status gcuschema_record_names(const char* const** names, size_t* count,
                                                               gcuschema_error** error);

/* Reads `size` bytes at `bytes` (NULL when size is 0) as a document of the
 * record named `record` ("ConfigData", "CalibrationData", ...) into a new
 * handle, in the format the options name or the one told from the content.
 * A JSON document's leading "@type" must name `record`. */
GCUSCHEMA_DOCUMENT_API gcuschema_status gcuschema_read(const char* record, const void* bytes, size_t size,
                                                       const gcuschema_read_options* options,
                                                       gcuschema_document** document, gcuschema_error** error);

/* The record a handle holds ("ConfigData"), and the format it was read in. */
GCUSCHEMA_DOCUMENT_API const char* gcuschema_document_record(const gcuschema_document* document);
GCUSCHEMA_DOCUMENT_API gcuschema_format gcuschema_document_format(const gcuschema_document* document);
GCUSCHEMA_DOCUMENT_API void gcuschema_document_free(gcuschema_document* document);

/* The defaults of the write options. */
GCUSCHEMA_DOCUMENT_API void gcuschema_write_options_init(gcuschema_write_options* options);

/* Writes the document in `format` (binary, text or JSON; JSON without a line
 * break at its end) into a new buffer of `*size` bytes, followed by a zero
 * byte not counted; release it with gcuschema_buffer_free. */
GCUSCHEMA_DOCUMENT_API gcuschema_status gcuschema_write(const gcuschema_document* document, gcuschema_format format,
                                                        const gcuschema_write_options* options, char** data,
                                                        size_t* size, gcuschema_error** error);

GCUSCHEMA_DOCUMENT_API void gcuschema_buffer_free(char* data);

/* Checks the document for what the records do not enforce: counts, type
 * codes, unreadable settings, duplicate identifiers, dangling references,
 * ranges given upside down and, with a limits template, calibration values
 * outside its limits. `*findings` is an array of `*count` findings in
 * document order (NULL when there are none), released with
 * gcuschema_findings_free. */
GCUSCHEMA_DOCUMENT_API gcuschema_status gcuschema_lint(const gcuschema_document* document,
                                                       const gcuschema_lint_options* options,
                                                       gcuschema_finding** findings, size_t* count,
                                                       gcuschema_error** error);

GCUSCHEMA_DOCUMENT_API void gcuschema_findings_free(gcuschema_finding* findings);

/* The differences from `a` to `b`, two documents of one record, settings
 * compared as the records they hold: an array of `*count` differences (NULL
 * when the two are equal), released with gcuschema_differences_free.
 * Entries with identifiers are matched and named by them; entries that
 * stand in another order come as a modification of their list (path
 * "inputs"), old and new values the identifiers in each document's order
 * ("1, 2, 3" and "2, 1, 3"). */
GCUSCHEMA_DOCUMENT_API gcuschema_status gcuschema_diff(const gcuschema_document* a, const gcuschema_document* b,
                                                       const gcuschema_pairing* pairing,
                                                       gcuschema_difference** differences, size_t* count,
                                                       gcuschema_error** error);

GCUSCHEMA_DOCUMENT_API void gcuschema_differences_free(gcuschema_difference* differences);

/* A JSON Schema (draft 2020-12) of the JSON of the record named `record`,
 * settings expanded; with `record` NULL, of a document of any record of the
 * library, which names its record in a leading "@type". Written into a new
 * buffer as gcuschema_write does. */
GCUSCHEMA_DOCUMENT_API gcuschema_status gcuschema_json_schema(const char* record, const gcuschema_pairing* pairing,
                                                              char** text, size_t* size, gcuschema_error** error);

/* The settings record that the `config` of entries of `kind` ("input",
 * "output", "map", "driver", "handler") holds for a type code, given as a
 * number or, in the _named form, as a number or a value name of the kind's
 * type enumeration ("DutyInput"). `*record` is the record's full name, or
 * NULL when the pairing leaves the code open. */
GCUSCHEMA_DOCUMENT_API gcuschema_status gcuschema_settings_record(const char* kind, int32_t code,
                                                                  const gcuschema_pairing* pairing,
                                                                  const char** record, gcuschema_error** error);
GCUSCHEMA_DOCUMENT_API gcuschema_status gcuschema_settings_record_named(const char* kind, const char* code,
                                                                        const gcuschema_pairing* pairing,
                                                                        const char** record,
                                                                        gcuschema_error** error);

#ifdef __cplusplus
}
#endif

#endif
