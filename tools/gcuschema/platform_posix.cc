// The tool's system interface on POSIX systems.
#include "platform.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <pwd.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include <fmt/format.h>

#include "failure.h"
#include "temporary_name.h"

namespace gcuschema::tool::platform {
namespace {

constexpr std::size_t kReadChunk = 64 * 1024;
constexpr std::size_t kHugePage = 2 * 1024 * 1024;
// How many symbolic links are followed before giving up, as the kernel does.
constexpr int kMaxLinks = 40;

[[noreturn]] void Fail(const std::string& name, const char* what, int error) {
  throw Failure(name, "", fmt::format("cannot {}: {}", what, std::strerror(error)));
}

std::size_t RoundUp(std::size_t size, std::size_t unit) { return (size + unit - 1) / unit * unit; }

// Asks for huge pages over the whole pages of [start, start + size): a hint
// the system may not take, which changes nothing else.
void AdviseHugePages(void* start, std::size_t size) {
#ifdef MADV_HUGEPAGE
  const auto first = RoundUp(reinterpret_cast<std::uintptr_t>(start), 4096);
  const auto end = (reinterpret_cast<std::uintptr_t>(start) + size) / 4096 * 4096;
  if (end > first) ::madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
#else
  (void)start;
  (void)size;
#endif
}

void ReadAll(int fd, std::size_t size_hint, const std::string& name, ReadBuffer* out) {
  // One byte beyond the expected size, so that the read which meets the end
  // of a regular file needs no reallocation.
  out->Reserve(size_hint + 1);
  if (size_hint >= kHugePage) AdviseHugePages(out->data(), size_hint + 1);
  std::size_t used = 0;
  for (;;) {
    if (used == out->capacity()) out->Reserve(out->capacity() + std::max(kReadChunk, out->capacity() / 2));
    const ssize_t n = ::read(fd, out->data() + used, out->capacity() - used);
    if (n < 0) {
      if (errno == EINTR) continue;
      Fail(name, "read", errno);
    }
    if (n == 0) break;
    used += static_cast<std::size_t>(n);
  }
  out->Resize(used);
}

// Directory part of a path, with its slash ("" for none), and the rest.
std::pair<std::string, std::string> SplitPath(const std::string& path) {
  const std::string::size_type slash = path.rfind('/');
  if (slash == std::string::npos) return {"", path};
  return {path.substr(0, slash + 1), path.substr(slash + 1)};
}

// This host's name as it may stand in a file name.
std::string ThisHostMark() {
  char host[HOST_NAME_MAX + 1] = {};
  return HostMark(::gethostname(host, sizeof host - 1) == 0 ? host : "");
}

// Removes from `directory` the temporaries of this host's runs that no
// longer run: only regular files of the user's, and never one whose process
// still runs (a process of another user counts as running).
void RemoveStaleTemporaries(const std::string& directory, const std::string& host) {
  DIR* listing = ::opendir(directory.empty() ? "." : directory.c_str());
  if (listing == nullptr) return;
  const int dir_fd = ::dirfd(listing);
  while (const dirent* entry = ::readdir(listing)) {
    const auto owner = static_cast<pid_t>(TemporaryOwner(entry->d_name, host));
    if (owner <= 0 || owner == ::getpid()) continue;
    if (::kill(owner, 0) == 0 || errno != ESRCH) continue;
    struct stat st {};
    if (::fstatat(dir_fd, entry->d_name, &st, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(st.st_mode) ||
        st.st_uid != ::geteuid()) {
      continue;
    }
    ::unlinkat(dir_fd, entry->d_name, 0);
  }
  ::closedir(listing);
}

// The temporary being written, removed if the run is interrupted so that an
// interrupted run leaves nothing behind either. A fixed buffer, because the
// signal handler may only call async-signal-safe functions.
char g_temporary[PATH_MAX + 1];

extern "C" void RemoveTemporaryAndDie(int signal_number) {
  if (g_temporary[0] != '\0') ::unlink(g_temporary);
  ::signal(signal_number, SIG_DFL);
  ::raise(signal_number);
}

void GuardTemporary(const std::string& path) {
  if (path.size() > PATH_MAX) return;
  std::memcpy(g_temporary, path.c_str(), path.size() + 1);
  struct sigaction action {};
  action.sa_handler = RemoveTemporaryAndDie;
  sigemptyset(&action.sa_mask);
  for (int s : {SIGINT, SIGTERM, SIGHUP}) ::sigaction(s, &action, nullptr);
}

void ReleaseTemporary() { g_temporary[0] = '\0'; }

// Mode of the file being replaced, so that renaming over it does not change
// its access, or of a new file as the user's umask would make it.
mode_t OutputMode(const std::string& path) {
  struct stat st {};
  if (::stat(path.c_str(), &st) == 0) return st.st_mode & 07777;
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

// Creates the temporary for `path`; its name goes to *temporary.
int CreateTemporary(const std::string& path, const std::string& name, std::string* temporary) {
  const auto [directory, base] = SplitPath(path);
  const std::string host = ThisHostMark();
  RemoveStaleTemporaries(directory, host);
  *temporary = directory + TemporaryName(base, host, static_cast<unsigned long>(::getpid()), NAME_MAX);
  const int fd = ::mkstemp(temporary->data());
  if (fd < 0) {
    const int error = errno;
    throw Failure(name, "",
                  fmt::format("cannot create a temporary file in {}: {}",
                              directory.empty() ? "." : directory, std::strerror(error)));
  }
  GuardTemporary(*temporary);
  if (::fchmod(fd, OutputMode(path)) != 0) {
    const int error = errno;
    ::close(fd);
    ::unlink(temporary->c_str());
    ReleaseTemporary();
    Fail(name, "set permissions", error);
  }
  return fd;
}

void WriteAll(int fd, std::string_view bytes, const std::string& name) {
  while (!bytes.empty()) {
    const ssize_t n = ::write(fd, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      Fail(name, "write", errno);
    }
    bytes.remove_prefix(static_cast<std::size_t>(n));
  }
}

// The descriptor a path names by its place in a directory of this
// process's descriptors (/dev/fd/N, /proc/self/fd/N, /proc/PID/fd/N,
// /proc/PID/task/TID/fd/N), or -1.
int DescriptorOfName(const std::string& path) {
  const auto [directory, base] = SplitPath(path);
  if (base.empty() || base.size() > 9 || base.find_first_not_of("0123456789") != std::string::npos) return -1;
  char* real = ::realpath(directory.empty() ? "." : directory.c_str(), nullptr);
  if (real == nullptr) return -1;
  const std::string resolved = real;
  std::free(real);
  const std::string own = "/proc/" + std::to_string(::getpid()) + "/";
  const auto ends_with_fd = [&] {
    return resolved.size() > 3 && resolved.compare(resolved.size() - 3, 3, "/fd") == 0;
  };
  // Every thread of the process has the process's table of descriptors.
  const bool ours = resolved == own + "fd" || resolved == "/dev/fd" ||
                    (resolved.rfind(own + "task/", 0) == 0 && ends_with_fd());
  return ours ? std::stoi(base) : -1;
}

// The descriptor a path names, its symbolic links followed one by one
// (/dev/stdout is a link to /proc/self/fd/1, itself a link to whatever
// the descriptor is open on), or -1.
int DescriptorNamed(const std::string& path) {
  std::string current = path;
  for (int links = 0; links <= kMaxLinks; ++links) {
    if (const int fd = DescriptorOfName(current); fd >= 0) return fd;
    struct stat st {};
    if (::lstat(current.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return -1;
    std::string target(PATH_MAX, '\0');
    const ssize_t length = ::readlink(current.c_str(), target.data(), target.size());
    if (length <= 0) return -1;
    target.resize(static_cast<std::size_t>(length));
    current = target[0] == '/' ? target : SplitPath(current).first + target;
  }
  return -1;
}

std::string DescriptorWhat(int fd) {
  switch (fd) {
    case STDIN_FILENO:
      return "standard input";
    case STDOUT_FILENO:
      return "standard output";
    case STDERR_FILENO:
      return "standard error";
    default:
      return fmt::format("descriptor {}", fd);
  }
}

OpenStream DescribeStream(int fd, const std::string& name) {
  const int flags = ::fcntl(fd, F_GETFL);
  if (flags < 0) {
    throw Failure(name, "",
                  fmt::format("names {}, which is not open in this run; open it for writing ({}>FILE in the "
                              "shell) or choose another -o",
                              DescriptorWhat(fd), fd));
  }
  OpenStream stream;
  stream.handle = fd;
  stream.what = DescriptorWhat(fd);
  stream.writable = (flags & O_ACCMODE) != O_RDONLY;
  stream.terminal = ::isatty(fd) != 0;
  return stream;
}

std::string UserName(uid_t uid) {
  std::vector<char> buffer(16384);
  struct passwd entry {};
  struct passwd* found = nullptr;
  if (::getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr) {
    return found->pw_name;
  }
  return fmt::format("with id {}", uid);
}

}  // namespace

// Arguments are bytes, given as they are; the tool treats them as UTF-8.
std::vector<std::string> CommandLine(int argc, char** argv) { return {argv, argv + argc}; }

ReadBuffer ReadWhole(const std::string& path, const std::string& name) {
  ReadBuffer bytes;
  if (path.empty()) {
    struct stat st {};
    const bool regular = ::fstat(STDIN_FILENO, &st) == 0 && S_ISREG(st.st_mode);
    ReadAll(STDIN_FILENO, regular ? static_cast<std::size_t>(st.st_size) : kReadChunk, name, &bytes);
    return bytes;
  }
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) Fail(name, "open", errno);
  struct stat st {};
  if (::fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
    const int error = S_ISDIR(st.st_mode) ? EISDIR : errno;
    ::close(fd);
    Fail(name, "read", error);
  }
  try {
    ReadAll(fd, S_ISREG(st.st_mode) ? static_cast<std::size_t>(st.st_size) : kReadChunk, name, &bytes);
  } catch (...) {
    ::close(fd);
    throw;
  }
  ::close(fd);
  return bytes;
}

void* AllocateBlock(std::size_t size) {
  if (size < kHugePage) return ::operator new(size);
  // Mapped with a huge page to spare, then trimmed to start on a boundary.
  const std::size_t length = RoundUp(size, kHugePage);
  void* mapped = ::mmap(nullptr, length + kHugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) throw std::bad_alloc();
  const auto start = reinterpret_cast<std::uintptr_t>(mapped);
  const std::uintptr_t block = RoundUp(start, kHugePage);
  if (block > start) ::munmap(mapped, block - start);
  ::munmap(reinterpret_cast<void*>(block + length), start + kHugePage - block);
  AdviseHugePages(reinterpret_cast<void*>(block), length);
  return reinterpret_cast<void*>(block);
}

void FreeBlock(void* block, std::size_t size) {
  if (size < kHugePage) {
    ::operator delete(block);
    return;
  }
  ::munmap(block, RoundUp(size, kHugePage));
}

std::string MakeWritableCommand(const std::string& path) { return "chmod u+w " + path; }

bool StandardOutputIsTerminal() { return ::isatty(STDOUT_FILENO) != 0; }

PathFacts Examine(const std::string& path, const std::string& name) {
  PathFacts facts;
  facts.resolved = path;
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) {
    if (errno != ENOENT) Fail(name, "open", errno);
    // Not there: through a dangling link, the file the last link names is
    // the one to create. (The kernel's own following, above, is what the
    // links of /dev/stdout and /proc/self/fd need.)
    for (int links = 0; ::lstat(facts.resolved.c_str(), &st) == 0 && S_ISLNK(st.st_mode); ++links) {
      if (links == kMaxLinks) Fail(name, "open", ELOOP);
      std::string target(PATH_MAX, '\0');
      const ssize_t length = ::readlink(facts.resolved.c_str(), target.data(), target.size());
      if (length < 0) Fail(name, "open", errno);
      target.resize(static_cast<std::size_t>(length));
      // A relative link is relative to the directory the link is in.
      facts.resolved = target[0] == '/' ? target : SplitPath(facts.resolved).first + target;
    }
    return facts;  // kMissing
  }
  if (S_ISDIR(st.st_mode)) {
    facts.kind = PathFacts::Kind::kDirectory;
  } else if (S_ISREG(st.st_mode)) {
    facts.kind = PathFacts::Kind::kRegular;
    // Through symbolic links, the file they end at is the one replaced.
    if (char* real = ::realpath(path.c_str(), nullptr)) {
      facts.resolved = real;
      std::free(real);
    }
    facts.writable = (st.st_mode & 0222) != 0 && ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
    if (st.st_uid != ::geteuid()) facts.other_owner = UserName(st.st_uid);
  } else {
    facts.kind = PathFacts::Kind::kOther;
    if (S_ISCHR(st.st_mode)) {
      // Only an open descriptor tells a terminal from other devices.
      const int fd = ::open(path.c_str(), O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
      if (fd >= 0) {
        if (::isatty(fd)) facts.kind = PathFacts::Kind::kTerminal;
        ::close(fd);
      }
    }
  }
  return facts;
}

bool SameFile(const std::string& a, const std::string& b) {
  struct stat sa {}, sb {};
  return ::stat(a.c_str(), &sa) == 0 && ::stat(b.c_str(), &sb) == 0 && sa.st_dev == sb.st_dev &&
         sa.st_ino == sb.st_ino;
}

OpenStream StreamNamed(const std::string& path, const std::string& name) {
  if (const int fd = DescriptorNamed(path); fd >= 0) return DescribeStream(fd, name);
  struct stat named {};
  if (::stat(path.c_str(), &named) != 0) return {};
  OpenStream read_only;
  for (const int fd : {STDOUT_FILENO, STDERR_FILENO, STDIN_FILENO}) {
    struct stat open {};
    if (::fstat(fd, &open) != 0 || open.st_dev != named.st_dev || open.st_ino != named.st_ino) continue;
    OpenStream stream = DescribeStream(fd, name);
    if (stream.writable) return stream;
    // A file a stream reads is not to be replaced under it; a device or a
    // pipe is written to in place, however the stream has it open.
    if (S_ISREG(named.st_mode) && read_only.handle == -1) read_only = stream;
  }
  return read_only;
}

bool IsStandardInputFile(const std::string& path) {
  struct stat named {}, open {};
  if (::stat(path.c_str(), &named) != 0 || ::fstat(STDIN_FILENO, &open) != 0) return false;
  return named.st_dev == open.st_dev && named.st_ino == open.st_ino && !S_ISCHR(open.st_mode) &&
         !S_ISFIFO(open.st_mode) && !S_ISSOCK(open.st_mode);
}

OutputFile::OutputFile(const OpenStream& stream, const std::string& name)
    : name_(name), handle_(stream.handle) {}

OutputFile::OutputFile(Way way, const std::string& path, const std::string& name) : path_(path), name_(name) {
  switch (way) {
    case Way::kStandardOutput:
      handle_ = STDOUT_FILENO;
      return;
    case Way::kInPlace:
      handle_ = ::open(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
      if (handle_ < 0) Fail(name, "open", errno);
      owned_ = true;
      return;
    case Way::kTemporary:
      handle_ = CreateTemporary(path, name, &temporary_);
      owned_ = true;
      return;
  }
}

OutputFile::~OutputFile() { Discard(); }

void OutputFile::Discard() noexcept {
  if (owned_ && handle_ >= 0) ::close(static_cast<int>(handle_));
  handle_ = -1;
  if (!temporary_.empty()) {
    ::unlink(temporary_.c_str());
    ReleaseTemporary();
    temporary_.clear();
  }
}

void OutputFile::Write(std::string_view bytes) {
  WriteAll(static_cast<int>(handle_), bytes, name_);
  written_ += bytes.size();
#ifdef SYNC_FILE_RANGE_WRITE
  // What Commit makes durable is sent to the disk while the rest is made,
  // so that its fsync waits for little; only a hint, never an error.
  constexpr std::uint64_t kFlushEvery = 4 * 1024 * 1024;
  if (!temporary_.empty() && written_ - flushing_ >= kFlushEvery) {
    ::sync_file_range(static_cast<int>(handle_), static_cast<off_t>(flushing_),
                      static_cast<off_t>(written_ - flushing_), SYNC_FILE_RANGE_WRITE);
    flushing_ = written_;
  }
#endif
}

void OutputFile::Commit() {
  if (!owned_) return;
  const int fd = static_cast<int>(handle_);
  if (!temporary_.empty() && ::fsync(fd) != 0) Fail(name_, "write", errno);
  handle_ = -1;
  if (::close(fd) != 0) Fail(name_, "write", errno);
  if (temporary_.empty()) return;
  if (::rename(temporary_.c_str(), path_.c_str()) != 0) Fail(name_, "replace", errno);
  ReleaseTemporary();
  temporary_.clear();
}

}  // namespace gcuschema::tool::platform

// Every large allocation in huge pages, where the system gives them on
// request: the JSON reader's index of the text (a few bytes per token) and
// the encoding it writes are allocated by libraries that take no
// allocator, and filling them 4 KiB page by page took a fifth of a large
// encode. The operators replace the C++ library's for the whole program.
namespace {

constexpr std::size_t kLargeAllocation = 4 * 1024 * 1024;

void* Allocate(std::size_t size) {
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  if (size >= kLargeAllocation) gcuschema::tool::platform::AdviseHugePages(block, size);
  return block;
}

}  // namespace

void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return Allocate(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept { return operator new(size, tag); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }
