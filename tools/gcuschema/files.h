#ifndef GCUSCHEMA_TOOL_FILES_H
#define GCUSCHEMA_TOOL_FILES_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gcuschema/document/io.h>

#include "read_buffer.h"

namespace gcuschema::tool {
namespace platform {
class OutputFile;
}

// A whole input in memory, with the name errors give it; bytes() may be
// read ReadBuffer::kReadableAfter bytes past their end.
struct InputFile {
  std::string path;  // as given; empty for standard input
  std::string name;  // the path, or "<stdin>"
  ReadBuffer data;

  std::string_view bytes() const { return data.bytes(); }
};

// How inputs are read: in `format` (told from the bytes when not given),
// with `pairing`, JSON read where it stands in its InputFile.
document::ReadOptions InputReading(std::optional<document::Format> format, document::PairingCatalogue pairing);

// True when `path` means standard input or standard output ("" or "-").
bool IsStandardStream(const std::string& path);

// The name errors give an input: the path, or "<stdin>".
std::string InputName(const std::string& path);

// Reads a file, or standard input for "" or "-", whole into memory.
// Throws Failure naming the file when it cannot be opened or read.
InputFile ReadInput(const std::string& path);

// Before any work: refuses to write binary data to a terminal, standard
// output or one named by the output path. Throws Failure.
void RefuseBinaryToTerminal(const std::string& output_path);

// Before any work: refuses an output path that is one of the inputs (the
// same file under any name, or the file standard input is open on for an
// input read from it), so that a run never replaces what it reads.
void RefuseOverwritingInputs(const std::string& output_path,
                             const std::vector<std::string>& input_paths);

// Where a result goes, written in parts as it is made: standard output
// ("" or "-"); a stream the run was given, by its name (/dev/stdout,
// /dev/stderr, /dev/fd/N) or by a name of the file a standard stream is
// open on, written through that stream at its position and in its append
// mode (one open only for reading is refused); a device or a pipe
// (-o /dev/null), written to in place; or a regular file, written to a
// temporary file in the same directory and renamed over it by Commit(). Through a symbolic link, the file it points
// to is replaced (or created, when it does not exist yet) and the link kept.
// A read-only file or another user's is not replaced. Destroyed without
// Commit(), or interrupted, it removes the temporary file and replaces
// nothing; a temporary left by a run killed outright is removed by a later
// run writing to the same directory. Throws Failure naming the file.
class Destination {
 public:
  explicit Destination(const std::string& path);
  ~Destination();
  Destination(const Destination&) = delete;
  Destination& operator=(const Destination&) = delete;

  void Write(std::string_view bytes);
  void Commit();

 private:
  std::unique_ptr<platform::OutputFile> file_;
};

// Writes `data` whole through a Destination (standard output for "" or "-").
void WriteOutput(const std::string& path, std::string_view data);

}  // namespace gcuschema::tool

#endif
