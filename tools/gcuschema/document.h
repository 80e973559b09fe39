// The documents a command reads and writes: files and arguments over the
// companion library's reader and writer (<gcuschema/document/io.h>).
#ifndef GCUSCHEMA_TOOL_DOCUMENT_H
#define GCUSCHEMA_TOOL_DOCUMENT_H

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <google/protobuf/arena.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <gcuschema/document/io.h>

#include "files.h"
#include "options.h"

namespace gcuschema::tool {

// A record read from an input, kept with everything it holds on an arena:
// made in big blocks rather than object by object, and freed all at once.
// Throws Failure naming the input and, where the library finds it, the byte
// offset and field path or the line and column.
class LoadedRecord {
 public:
  // With `follow_name`, a JSON document naming another record in its
  // "@type" is read as that record. With `keep_input`, the input is kept
  // until ReleaseInput(), for encoded().
  LoadedRecord(InputFile input, const google::protobuf::Descriptor* type, const document::ReadOptions& options,
               bool follow_name = false, bool keep_input = false);

  google::protobuf::Message* get() const { return record_; }
  const google::protobuf::Message& operator*() const { return *record_; }
  // The format it was read in.
  document::Format format() const { return format_; }
  // The bytes it was read from when they are its encoding (binary) and were
  // kept: what the record's own encoding is compared with.
  std::optional<std::string_view> encoded() const;
  void ReleaseInput() {
    input_ = InputFile{};
    kept_ = false;
  }

 private:
  InputFile input_;
  bool kept_ = false;
  std::unique_ptr<google::protobuf::Arena> arena_;
  google::protobuf::Message* record_;
  document::Format format_;
};

// `read` as `type`; with `follow_name`, a JSON document naming another
// record in its "@type" is read again as that record.
document::Format ReadFollowingName(const google::protobuf::Descriptor* type, bool follow_name,
                                   const std::function<document::Format(const google::protobuf::Descriptor*)>& read);

// Reads the file at `path` (standard input for "" or "-") as a `type`,
// keeping its bytes with `keep_input` (LoadedRecord::encoded).
LoadedRecord Load(const std::string& path, const google::protobuf::Descriptor* type,
                  const document::ReadOptions& options, bool keep_input = false);

// The same for the record a document holds: --type when given, else the
// record a JSON document names in its "@type" (as decode writes it), else
// the default of --type. A wrong --type is reported before the file is read.
LoadedRecord Load(const std::string& path, const TypeOption& type, const document::ReadOptions& options,
                  bool keep_input = false);

// One line on standard error when the record was read from bytes that its
// own encoding differs from: where, and why ("gcuschema: warning: FILE:
// byte N (PATH): ..."). `then` says what the command does about it.
void WarnIfNotCanonical(const LoadedRecord& record, const std::string& subject, const std::string& then);

// Writes `record` in `format` to `path` (standard output for "" or "-") as
// it is made, JSON with a line break at its end; what the record holds and
// the format cannot carry is a Failure about `subject`.
void WriteDocument(const std::string& path, const google::protobuf::Message& record, document::Format format,
                   const document::WriteOptions& options, const std::string& subject);

}  // namespace gcuschema::tool

#endif
