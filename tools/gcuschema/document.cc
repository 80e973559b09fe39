#include "document.h"

#include <string_view>

#include <gcuschema/document/records.h>

#include "failure.h"

namespace gcuschema::tool {
namespace {

// A large document's records in blocks growing to a megabyte rather than
// the runtime's default of a few kilobytes.
google::protobuf::ArenaOptions DocumentArenaOptions() {
  google::protobuf::ArenaOptions options;
  options.start_block_size = 64 * 1024;
  options.max_block_size = 1024 * 1024;
  return options;
}

}  // namespace

LoadedRecord::LoadedRecord(const InputFile& input, const google::protobuf::Descriptor* type,
                           const document::ReadOptions& options)
    : arena_(std::make_unique<google::protobuf::Arena>(DocumentArenaOptions())),
      record_(document::NewRecord(type, arena_.get())),
      format_(AsFailure(input.name, [&] { return document::Read(input.bytes(), record_, options); })) {}

LoadedRecord Load(const std::string& path, const google::protobuf::Descriptor* type,
                  const document::ReadOptions& options) {
  return LoadedRecord(ReadInput(path), type, options);
}

LoadedRecord Load(const std::string& path, const TypeOption& type, const document::ReadOptions& options) {
  const google::protobuf::Descriptor* record = type.Resolve();
  const InputFile input = ReadInput(path);
  // Only JSON names its record.
  if (!type.given() && (!options.format || *options.format == document::Format::kJson)) {
    if (const auto* named = AsFailure(input.name, [&] { return document::DocumentType(input.bytes()); })) {
      record = named;
    }
  }
  return LoadedRecord(input, record, options);
}

void WriteDocument(const std::string& path, const google::protobuf::Message& record, document::Format format,
                   const document::WriteOptions& options, const std::string& subject) {
  // Written out as it is made: a large document's text is never held whole.
  Destination output(path);
  AsFailure(subject, [&] {
    document::Write(record, format, [&output](std::string_view part) { output.Write(part); }, options);
  });
  if (format == document::Format::kJson) output.Write("\n");
  output.Commit();
}

}  // namespace gcuschema::tool
