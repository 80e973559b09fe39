#include "document.h"

#include <cstdio>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include <gcuschema/document/canonical.h>
#include <gcuschema/document/records.h>

#include "failure.h"
#include "platform.h"

namespace gcuschema::tool {
namespace {

// A large document's records in blocks growing to 2 MiB rather than the
// runtime's default of a few kilobytes, from the platform's block memory.
google::protobuf::ArenaOptions DocumentArenaOptions() {
  google::protobuf::ArenaOptions options;
  options.start_block_size = 64 * 1024;
  options.max_block_size = 2 * 1024 * 1024;
  options.block_alloc = platform::AllocateBlock;
  options.block_dealloc = platform::FreeBlock;
  return options;
}

}  // namespace

LoadedRecord::LoadedRecord(InputFile input, const google::protobuf::Descriptor* type,
                           const document::ReadOptions& options, bool follow_name, bool keep_input)
    : arena_(std::make_unique<google::protobuf::Arena>(DocumentArenaOptions())),
      record_(document::NewRecord(type, arena_.get())) {
  format_ = AsFailure(input.name, [&] {
    return ReadFollowingName(type, follow_name, [&](const google::protobuf::Descriptor* as) {
      if (as != record_->GetDescriptor()) record_ = document::NewRecord(as, arena_.get());
      return document::Read(input.bytes(), record_, options);
    });
  });
  if (keep_input) {
    input_ = std::move(input);
    kept_ = true;
  }
}

std::optional<std::string_view> LoadedRecord::encoded() const {
  if (format_ != document::Format::kBinary || !kept_) return std::nullopt;
  return input_.bytes();
}

document::Format ReadFollowingName(const google::protobuf::Descriptor* type, bool follow_name,
                                   const std::function<document::Format(const google::protobuf::Descriptor*)>& read) {
  try {
    return read(type);
  } catch (const document::Error& e) {
    // A JSON document that names another record ("@type", wherever it
    // stands) says so in the error: read it as that one.
    const bool named = follow_name && e.remedy().kind == document::Remedy::Kind::kNameRecord;
    const google::protobuf::Descriptor* other = named ? document::FindRecord(e.remedy().record) : nullptr;
    if (other == nullptr || other == type) throw;
    return read(other);
  }
}

LoadedRecord Load(const std::string& path, const google::protobuf::Descriptor* type,
                  const document::ReadOptions& options, bool keep_input) {
  return LoadedRecord(ReadInput(path), type, options, false, keep_input);
}

LoadedRecord Load(const std::string& path, const TypeOption& type, const document::ReadOptions& options,
                  bool keep_input) {
  // Read as --type (or its default) first: a document that names another
  // record is read again as that one, so the common document is parsed
  // once rather than searched end to end for an "@type" first.
  return LoadedRecord(ReadInput(path), type.Resolve(), options, !type.given(), keep_input);
}

void WarnIfNotCanonical(const LoadedRecord& record, const std::string& subject, const std::string& then) {
  const std::optional<std::string_view> encoded = record.encoded();
  if (!encoded) return;
  const std::optional<document::EncodingDifference> difference = document::CompareEncoding(*encoded, *record);
  if (!difference) return;
  std::string where = "byte " + std::to_string(difference->offset);
  if (!difference->path.empty()) where += " (" + difference->path + ")";
  std::fflush(stdout);
  fmt::print(stderr, "{}\n",
             FailureLine("warning", subject, where + ": not in canonical form: " + document::Describe(*difference) +
                                                 "; " + then));
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
