#ifndef GCUSCHEMA_TOOL_IO_H
#define GCUSCHEMA_TOOL_IO_H

#include <string>
#include <string_view>
#include <vector>

namespace gcuschema::tool {

// A whole input in memory, with the name errors give it.
struct Input {
  std::string path;  // as given; empty for standard input
  std::string name;  // the path, or "<stdin>"
  std::string bytes;
};

// True when `path` means standard input or standard output ("" or "-").
bool IsStandardStream(const std::string& path);

// Reads a file, or standard input for "" or "-", whole into one string.
// Throws Failure naming the file when it cannot be opened or read.
Input ReadInput(const std::string& path);

// Before any work: refuses to write binary data to a terminal when the
// output goes to standard output. Throws Failure.
void RefuseBinaryToTerminal(const std::string& output_path);

// Before any work: refuses an output path that is one of the inputs (the
// same file under any name), so that a run never replaces what it reads.
void RefuseOverwritingInputs(const std::string& output_path,
                             const std::vector<std::string>& input_paths);

// Writes `data` to standard output ("" or "-"), or to a file: first to a
// temporary file in the same directory, renamed over `path` only once it is
// complete, so that a failed run leaves no partial file behind (through a
// symbolic link, the file it points to is replaced and the link kept). A
// device or a pipe (-o /dev/null) is written to directly. Throws Failure
// naming the file.
void WriteOutput(const std::string& path, std::string_view data);

}  // namespace gcuschema::tool

#endif
