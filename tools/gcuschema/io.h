#ifndef GCUSCHEMA_TOOL_IO_H
#define GCUSCHEMA_TOOL_IO_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace gcuschema::tool {

// A file mapped into memory, unmapped when destroyed; its content is what
// follows `offset`.
class Mapping {
 public:
  Mapping(void* start, std::size_t size, std::size_t offset) : start_(start), size_(size), offset_(offset) {}
  ~Mapping();
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;
  std::string_view view() const { return {static_cast<const char*>(start_) + offset_, size_ - offset_}; }

 private:
  void* start_;
  std::size_t size_;
  std::size_t offset_;
};

// A whole input in memory, with the name errors give it. A large regular
// file is mapped rather than copied.
struct Input {
  std::string path;  // as given; empty for standard input
  std::string name;  // the path, or "<stdin>"
  std::string storage;               // what was read, when not mapped
  std::unique_ptr<Mapping> mapping;  // the file, when mapped

  std::string_view bytes() const { return mapping ? mapping->view() : std::string_view(storage); }
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

// Where a result goes, written in parts as it is made: standard output
// ("" or "-"); a device or a pipe (-o /dev/null), written to in place; or a
// regular file, written to a temporary file in the same directory and
// renamed over it by Commit() (through a symbolic link, the file it points
// to is replaced and the link kept). Destroyed without Commit(), or
// interrupted, it removes the temporary file and replaces nothing. Throws
// Failure naming the file.
class Output {
 public:
  explicit Output(const std::string& path);
  ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  void Write(const std::vector<std::string_view>& pieces);
  void Commit();

 private:
  void Discard();

  std::string name_;       // as the user gave it, or "<stdout>"
  std::string target_;     // the regular file replaced
  std::string temporary_;  // written in its place until Commit()
  int fd_ = -1;
  bool owned_ = false;  // opened here, closed here
};

// Writes `data` to standard output ("" or "-"), or to a file: first to a
// temporary file in the same directory, renamed over `path` only once it is
// complete, so that a failed run leaves no partial file behind (through a
// symbolic link, the file it points to is replaced and the link kept). A
// device or a pipe (-o /dev/null) is written to directly. Throws Failure
// naming the file.
void WriteOutput(const std::string& path, std::string_view data);
// The same for data in pieces, written one after the other with gathered
// writes (nothing is copied together first).
void WriteOutput(const std::string& path, const std::vector<std::string_view>& pieces);

}  // namespace gcuschema::tool

#endif
