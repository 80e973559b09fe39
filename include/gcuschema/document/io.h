#ifndef GCUSCHEMA_DOCUMENT_IO_H
#define GCUSCHEMA_DOCUMENT_IO_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <gcuschema/document/error.h>
#include <gcuschema/document/export.h>
#include <gcuschema/document/pairing.h>
#include <gcuschema/document/sink.h>

namespace gcuschema::document {

// How a document is written:
// - kBinary: the wire encoding, as the records themselves read and write it;
// - kText: protobuf text format, as protoc --decode prints what the records
//   write: a singular float or double holding -0.0, which the encoding
//   leaves out, is left out (as in JSON); a record holding fields the
//   schema does not know is refused (Write), as text format would print
//   them by number and cannot read them back;
// - kJson: the protobuf JSON mapping (proto3): fields in declaration order,
//   64-bit integers as strings, bytes in base64, enumerations by name (by
//   number when a value has no name), floats as the shortest text that reads
//   back to the same value ("NaN", "Infinity", "-Infinity" as strings); by
//   default each `config` expanded as the record it holds (WriteOptions).
enum class Format { kBinary, kText, kJson };

// Bytes past the end of a document that the JSON reader reads (never
// writes) when the options say it may (ReadOptions::readable_after).
inline constexpr std::size_t kJsonReadAhead = 64;

struct ReadOptions {
  // The format of the bytes; told from them when not given (DetectFormat).
  std::optional<Format> format;
  // Which record each entry's `config` holds: a JSON `config` written as a
  // record names it in "@type", which must be the record its entry's type
  // code is paired with, when the code is paired at all.
  PairingCatalogue pairing = PairingCatalogue::Standard();
  // JSON: members that name no field of their record are skipped, as are
  // enumeration names the enumeration lacks, instead of being errors.
  bool ignore_unknown_fields = false;
  // How many bytes after the document's end may be read (never written),
  // as in a buffer larger than the document. With kJsonReadAhead or more,
  // JSON is read where it stands; otherwise it is copied first.
  std::size_t readable_after = 0;
};

struct WriteOptions {
  // Which record each entry's `config` holds (JSON).
  PairingCatalogue pairing = PairingCatalogue::Standard();
  // JSON: every `config` whose entry's type code is paired (and
  // DeviceData.config, always a ConfigData) shown as the record it holds,
  // {"@type": "AdcConfiguration", ...}, itself expanded, and the unknown
  // fields of every record as "@unknown": "<base64 of their encoding>". A
  // `config` is expanded only when it parses as its record, encoding that
  // record gives back exactly its bytes, and JSON can spell every value it
  // holds; otherwise it stays base64, so expansion never loses a byte.
  // Without expansion the output is plain proto3 JSON that any
  // implementation reads.
  bool expand = true;
  // JSON: field names as the schema spells them ("__unused1") instead of
  // their JSON names ("Unused1"). Both are read back.
  bool original_names = false;
  // JSON: "@unknown" also without expansion (only this library reads it
  // back). Without either, unknown fields are left out and NaNs written "NaN".
  bool unknown_fields = false;
  // JSON: the record's full name as a leading "@type" member, so that a
  // reader knows what the document is (DocumentType).
  bool type_name = false;
  // JSON: an entry's type code as the name its kind gives it ("type":
  // "DigitalInput" for an input, "type": "PwmOutput" for an output,
  // "Point3dMap" for a map), written also for code 0, which is otherwise
  // left out, so that every such entry says what it is; a code without a
  // name, and the codes of drivers and handlers, stay numbers. Read turns
  // the names back into their codes (the same encoding) in a document that
  // carries "@type", and only there: plain proto3 JSON gives a type code as
  // a number. So the document is given its leading "@type" whatever
  // type_name says.
  bool type_names = false;
  // JSON: spaces per level of nesting; 0 writes everything on one line.
  int indent = 2;
  // JSON and text: large lists of records are written by up to this many
  // threads (0: one per core; never more than one per core). The output
  // never depends on it.
  int threads = 1;
};

// The format `bytes` hold a document of `record` in, decided by what parses:
// valid JSON is JSON, whatever bytes its strings hold; text format is what
// reads as text format; binary is what reads as the record's encoding and
// as neither of the others. The first bytes settle it where they can (an
// encoding starting with a byte no text or JSON starts with); otherwise the
// format they suggest is checked first and the others only when it fails.
// When nothing parses, the format the first bytes suggest (JSON when the
// bytes are valid JSON), so that reading reports that format's error. It
// reads the document to know: Read returns the format it read, for a caller
// that reads anyway. Throws Error for an empty input, whose format cannot
// be told (Remedy::Kind::kNameFormat).
GCUSCHEMA_DOCUMENT_API Format DetectFormat(std::string_view bytes, const google::protobuf::Descriptor* record);

// Reads a document into `record`, replacing whatever it held, in the format
// the options name or, when they name none, as DetectFormat decides while
// reading (a document is parsed once unless the format its first bytes
// suggest fails). Returns the format read. Each JSON "@type" object is
// encoded into its entry's `config` and each "@unknown" restored; a leading
// "@type" of the document must name `record`'s type. An input's or output's
// type code may be given by name ("DigitalInput", as WriteOptions::type_names
// writes it) where the document carries "@type" (its own or a `config`
// object's); plain proto3 JSON, which carries none, gives it as a number,
// and a name there is an Error. Throws Error saying
// where the input stops making sense: the byte offset and field path
// ("byte 312 (inputs[4].alias)") or the line, column and field path; the
// record then holds nothing. Throws UnsupportedError for JSON that needs
// what the library does not map (maps, well-known types, extensions).
GCUSCHEMA_DOCUMENT_API Format Read(std::string_view bytes, google::protobuf::Message* record,
                                   const ReadOptions& options = {});

// The encoding of the document `bytes` hold, as a `type`, into `encoded`
// (replacing what it held): what Read and then Write in binary give, read
// as Read reads and throwing what it throws. JSON whose members come in
// field-number order, as Write writes them, is encoded as it is read,
// without a record in between. Returns the format read.
GCUSCHEMA_DOCUMENT_API Format Encode(std::string_view bytes, const google::protobuf::Descriptor* type,
                                     std::string* encoded, const ReadOptions& options = {});

// Writes `record` in `format`, handed to `sink` in stretches as it is made,
// never held whole (JSON without a line break at its end).
// Throws Error for what the format cannot carry: a float NaN with its sign
// bit or payload set in text format (JSON keeps one in "@unknown", or a
// `config` holding one as base64), unknown fields in text format (at the
// path of the record holding them), a string that is not UTF-8 in JSON,
// settings nested deeper than 16 levels of `config`; UnsupportedError as
// Read does. What the sink throws reaches the caller, and nothing more is
// handed to it.
GCUSCHEMA_DOCUMENT_API void Write(const google::protobuf::Message& record, Format format, const Sink& sink,
                                  const WriteOptions& options = {});

// The same, returned whole.
GCUSCHEMA_DOCUMENT_API std::string WriteString(const google::protobuf::Message& record, Format format,
                                               const WriteOptions& options = {});

// The record a document names: the top-level "@type" of a JSON document (as
// written with WriteOptions::type_name); null when it names none (binary
// and text format never do). Reads only as far as it must. Throws Error at
// "@type" when it names no record of the library.
GCUSCHEMA_DOCUMENT_API const google::protobuf::Descriptor* DocumentType(std::string_view bytes);

}  // namespace gcuschema::document

#endif
