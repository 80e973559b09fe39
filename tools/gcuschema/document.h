// The documents a command reads and writes: files and arguments over the
// companion library's reader and writer (<gcuschema/document/io.h>).
#ifndef GCUSCHEMA_TOOL_DOCUMENT_H
#define GCUSCHEMA_TOOL_DOCUMENT_H

#include <functional>
#include <memory>
#include <string>

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
  // "@type" is read as that record.
  LoadedRecord(const InputFile& input, const google::protobuf::Descriptor* type, const document::ReadOptions& options,
               bool follow_name = false);

  google::protobuf::Message* get() const { return record_; }
  const google::protobuf::Message& operator*() const { return *record_; }
  // The format it was read in.
  document::Format format() const { return format_; }

 private:
  std::unique_ptr<google::protobuf::Arena> arena_;
  google::protobuf::Message* record_;
  document::Format format_;
};

// `read` as `type`; with `follow_name`, a JSON document naming another
// record in its "@type" is read again as that record.
document::Format ReadFollowingName(const google::protobuf::Descriptor* type, bool follow_name,
                                   const std::function<document::Format(const google::protobuf::Descriptor*)>& read);

// Reads the file at `path` (standard input for "" or "-") as a `type`.
LoadedRecord Load(const std::string& path, const google::protobuf::Descriptor* type,
                  const document::ReadOptions& options);

// The same for the record a document holds: --type when given, else the
// record a JSON document names in its "@type" (as decode writes it), else
// the default of --type. A wrong --type is reported before the file is read.
LoadedRecord Load(const std::string& path, const TypeOption& type, const document::ReadOptions& options);

// Writes `record` in `format` to `path` (standard output for "" or "-") as
// it is made, JSON with a line break at its end; what the record holds and
// the format cannot carry is a Failure about `subject`.
void WriteDocument(const std::string& path, const google::protobuf::Message& record, document::Format format,
                   const document::WriteOptions& options, const std::string& subject);

}  // namespace gcuschema::tool

#endif
