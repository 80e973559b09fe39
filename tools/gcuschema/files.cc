#include "files.h"

#include <utility>

#include <fmt/format.h>

#include "failure.h"
#include "platform.h"

namespace gcuschema::tool {
namespace {

using platform::PathFacts;

// How an existing regular file may not be replaced, or "".
std::string WhyNotReplace(const std::string& path, const PathFacts& facts) {
  if (!facts.writable) {
    return fmt::format("is read-only; refusing to replace it: make it writable ({}) or choose another -o",
                       platform::MakeWritableCommand(path));
  }
  if (!facts.other_owner.empty()) {
    return fmt::format("belongs to user {}, and the file written in its place would be yours; refusing "
                       "to replace it: run as that user, remove it first, or choose another -o",
                       facts.other_owner);
  }
  return "";
}

}  // namespace

document::ReadOptions InputReading(std::optional<document::Format> format, document::PairingCatalogue pairing) {
  document::ReadOptions reading;
  reading.format = format;
  reading.pairing = std::move(pairing);
  reading.readable_after = ReadBuffer::kReadableAfter;
  return reading;
}

bool IsStandardStream(const std::string& path) { return path.empty() || path == "-"; }

std::string InputName(const std::string& path) { return IsStandardStream(path) ? "<stdin>" : path; }

InputFile ReadInput(const std::string& path) {
  InputFile input;
  input.path = path;
  input.name = InputName(path);
  input.data = platform::ReadWhole(IsStandardStream(path) ? "" : path, input.name);
  return input;
}

void RefuseBinaryToTerminal(const std::string& output_path) {
  if (IsStandardStream(output_path)) {
    if (!platform::StandardOutputIsTerminal()) return;
    throw Failure("<stdout>", "",
                  "refusing to write binary data to a terminal; use -o FILE or redirect "
                  "the output");
  }
  const platform::OpenStream stream = platform::StreamNamed(output_path, output_path);
  if (stream.handle != -1 ? stream.terminal
                          : platform::Examine(output_path, output_path).kind == PathFacts::Kind::kTerminal) {
    throw Failure(output_path, "", "is a terminal; refusing to write binary data to it; give -o a file");
  }
}

void RefuseOverwritingInputs(const std::string& output_path,
                             const std::vector<std::string>& input_paths) {
  if (IsStandardStream(output_path)) return;
  for (const std::string& input : input_paths) {
    // An input read from standard input is the file it is open on (< x.json).
    if (IsStandardStream(input) && platform::IsStandardInputFile(output_path)) {
      throw Failure(output_path, "",
                    "is the input, read from standard input; refusing to replace it, choose another -o");
    }
    if (!IsStandardStream(input) && platform::SameFile(input, output_path)) {
      throw Failure(output_path, "",
                    fmt::format("is the input {}; refusing to replace it, choose another -o",
                                input));
    }
  }
}

Destination::Destination(const std::string& path) {
  using Way = platform::OutputFile::Way;
  if (IsStandardStream(path)) {
    file_ = std::make_unique<platform::OutputFile>(Way::kStandardOutput, "", "<stdout>");
    return;
  }
  // /dev/stdout, /dev/fd/3, or the file a standard stream is open on
  // (-o log 2>>log): written through that stream, where its position and
  // append mode say, as the shell's redirection asked.
  if (const platform::OpenStream stream = platform::StreamNamed(path, path); stream.handle != -1) {
    if (!stream.writable) {
      throw Failure(path, "",
                    fmt::format("is the file {} is open on, for reading only; refusing to replace it: "
                                "choose another -o",
                                stream.what));
    }
    file_ = std::make_unique<platform::OutputFile>(stream, path);
    return;
  }
  const PathFacts facts = platform::Examine(path, path);
  const bool names_directory = !facts.resolved.empty() && facts.resolved.back() == '/';
  switch (facts.kind) {
    case PathFacts::Kind::kDirectory:
      throw Failure(path, "", "is a directory; give a file name to -o");
    case PathFacts::Kind::kTerminal:
    case PathFacts::Kind::kOther:
      // A device or a pipe (-o /dev/null, a FIFO): written to as it is,
      // never replaced by a regular file.
      file_ = std::make_unique<platform::OutputFile>(Way::kInPlace, path, path);
      return;
    case PathFacts::Kind::kRegular:
      if (const std::string why = WhyNotReplace(path, facts); !why.empty()) throw Failure(path, "", why);
      break;
    case PathFacts::Kind::kMissing:
      if (names_directory) throw Failure(path, "", "is a directory; give a file name to -o");
      break;
  }
  // Through symbolic links, the file they end at is written and the links kept.
  file_ = std::make_unique<platform::OutputFile>(Way::kTemporary, facts.resolved, path);
}

Destination::~Destination() = default;

void Destination::Write(std::string_view bytes) { file_->Write(bytes); }

void Destination::Commit() { file_->Commit(); }

void WriteOutput(const std::string& path, std::string_view data) {
  Destination output(path);
  output.Write(data);
  output.Commit();
}

}  // namespace gcuschema::tool
