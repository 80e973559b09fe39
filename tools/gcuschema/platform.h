// What the tool asks of the operating system: reading files, examining and
// writing output paths, temporaries and the signals that must not leave them
// behind. Everything else in the tool is portable C++; each system has an
// implementation of this interface of its own (platform_posix.cc,
// platform_windows.cc).
//
// Whatever fails here throws Failure naming the file as the user called it
// (`name`): "cannot <do what>: <the system's reason>".
#ifndef GCUSCHEMA_TOOL_PLATFORM_H
#define GCUSCHEMA_TOOL_PLATFORM_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "read_buffer.h"

namespace gcuschema::tool::platform {

// The command line, the program's name first, in UTF-8 as every path and
// name in the tool is.
std::vector<std::string> CommandLine(int argc, char** argv);

// The whole of a file, or of standard input when `path` is empty. A large
// one is read into huge pages where the system gives them on request.
ReadBuffer ReadWhole(const std::string& path, const std::string& name);

// Memory for the blocks a document's records are made in (an arena's).
// Blocks of 2 MiB and more start on a 2 MiB boundary and, where the system
// gives huge pages on request (Linux's transparent huge pages), are filled
// with one page fault per 2 MiB rather than one per 4 KiB: a fifth of a
// large decode's time went to those faults. Throws std::bad_alloc.
void* AllocateBlock(std::size_t size);
void FreeBlock(void* block, std::size_t size);

// The command a user gives to make a read-only file writable, for messages.
std::string MakeWritableCommand(const std::string& path);

bool StandardOutputIsTerminal();

// What a path given for output names, every symbolic link followed.
struct PathFacts {
  enum class Kind { kMissing, kRegular, kDirectory, kTerminal, kOther };
  Kind kind = Kind::kMissing;
  // kRegular: the file the path names once every symbolic link is
  // followed; kMissing: the path, or the file the last of a chain of
  // symbolic links names (a dangling link), to be created.
  std::string resolved;
  // kRegular: writable by its permissions, judged by what they say even
  // for a user the system would let write anything.
  bool writable = true;
  // kRegular: its owner's name when that is not the user running the tool.
  std::string other_owner;
};
PathFacts Examine(const std::string& path, const std::string& name);

// Whether two paths name one existing file.
bool SameFile(const std::string& a, const std::string& b);

// An open descriptor (on Windows, handle) of the process that an output
// path stands for: a standard stream, or where the system names
// descriptors (/dev/fd/N), any of them. Writing goes through it, at its
// position and in its append mode, and never replaces the file behind it.
struct OpenStream {
  std::intptr_t handle = -1;  // -1: the path names none
  std::string what;           // "standard output", "descriptor 5"
  bool writable = false;      // open for writing
  bool terminal = false;
};
// The stream `path` names: by its name (/dev/stdout, /dev/stderr,
// /dev/stdin, /dev/fd/N, /proc/self/fd/N, through symbolic links) or as
// another name of the file a standard stream is open on (-o log 2>>log).
// A descriptor named but not open is a Failure about `name`.
OpenStream StreamNamed(const std::string& path, const std::string& name);

// Whether `path` names the file standard input is open on, where a write
// would change what was read: a file, not a terminal, a pipe or another
// stream.
bool IsStandardInputFile(const std::string& path);

// A destination open for writing, in one of three ways.
class OutputFile {
 public:
  enum class Way {
    kStandardOutput,
    // An existing file that is not a regular one (a device, a pipe):
    // written to as it is.
    kInPlace,
    // A new hidden temporary beside `path`, with the permissions of the file
    // there (or of a new file), renamed over `path` by Commit(). Its name
    // tells which host and process write it, so that a later run can
    // recognise one left by a process that no longer runs (killed
    // outright) and remove it; an interrupt (SIGINT, SIGTERM, SIGHUP; on
    // Windows Ctrl-C, Ctrl-Break, the console closed) removes it at once.
    kTemporary,
  };
  OutputFile(Way way, const std::string& path, const std::string& name);
  // Writes through `stream`, which stays open: at its own position and in
  // its own append mode, as if it were standard output.
  OutputFile(const OpenStream& stream, const std::string& name);
  // Closes what was opened here; removes a temporary not yet committed.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void Write(std::string_view bytes);
  // Makes what was written final: a temporary is flushed to storage,
  // closed and renamed over its path; a file opened in place is closed.
  void Commit();

 private:
  void Discard() noexcept;

  std::string path_;
  std::string name_;
  std::string temporary_;
  std::intptr_t handle_ = -1;
  bool owned_ = false;
  // A temporary's bytes written so far, and how many of them are on their
  // way to the disk already.
  std::uint64_t written_ = 0;
  std::uint64_t flushing_ = 0;
};

}  // namespace gcuschema::tool::platform

#endif
