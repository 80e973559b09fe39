#ifndef GCUSCHEMA_TOOL_DOCUMENT_H
#define GCUSCHEMA_TOOL_DOCUMENT_H

#include <memory>
#include <string>
#include <string_view>

#include <CLI/CLI.hpp>
#include <google/protobuf/arena.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <gcuschema/document/pairing.h>

#include "io.h"
#include "options.h"

namespace gcuschema::tool {

// How a document is written: binary (the wire encoding), JSON (settings
// expanded or not) or protobuf text format; kDetect tells from the content.
enum class Format { kDetect, kBinary, kJson, kText };

// "binary", "json", "text", or "" for kDetect.
Format FormatNamed(const std::string& name);

// The format a document's content is in: binary when its first 64 KiB hold a
// control byte other than white space (an encoded document has them at once:
// the tags of fields 1 to 3, every length under 32), else text format when
// it starts with a field name or a comment, else JSON. An empty input is the
// empty binary document.
Format DetectFormat(std::string_view bytes);

// --from FORMAT for commands that read a document in any format.
void AddFromOption(CLI::App* command, std::string* from);

// The one place where documents are read: `input` in `format` (kDetect:
// DetectFormat) into `record`, fresh; `pairing` says which record each JSON
// config's type code holds.
// Throws Failure naming the input and, where the library finds it, the
// byte offset and field path or the line and column.
void ReadDocument(const Input& input, Format format, const document::PairingCatalogue& pairing,
                  google::protobuf::Message* record);

// The record a document holds: --type when given, else the record a JSON
// document names in its leading "@type" (as decode writes it), else the
// default of --type.
const google::protobuf::Descriptor* DocumentType(const TypeOption& type, const Input& input, Format format);

// Reads a file (standard input for "" or "-") in the format named by
// `format` (FormatNamed; detected when empty), as DocumentType says.
std::unique_ptr<google::protobuf::Message> LoadDocument(const std::string& path, const TypeOption& type,
                                                        const std::string& format,
                                                        const document::PairingCatalogue& pairing);
// The same for a document that must be a record of `type`.
std::unique_ptr<google::protobuf::Message> LoadDocument(const std::string& path,
                                                        const google::protobuf::Descriptor* type,
                                                        const std::string& format,
                                                        const document::PairingCatalogue& pairing);

// A large record, kept with everything it holds on an arena: made in big
// blocks rather than object by object, and freed all at once.
class Document {
 public:
  explicit Document(const google::protobuf::Descriptor* type);
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  google::protobuf::Message* record() const { return record_; }

 private:
  std::unique_ptr<google::protobuf::Arena> arena_;
  google::protobuf::Message* record_;
};

// An encoded input read into a Document.
std::unique_ptr<Document> ParseDocument(const Input& input, const google::protobuf::Descriptor* type);

// The record's wire encoding, fields in ascending number as the runtime
// writes them.
std::string Encode(const google::protobuf::Message& record);

}  // namespace gcuschema::tool

#endif
