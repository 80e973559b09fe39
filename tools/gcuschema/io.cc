#include "io.h"

#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fmt/format.h>

#include "failure.h"

namespace gcuschema::tool {
namespace {

constexpr std::size_t kReadChunk = 64 * 1024;
// Regular files from this size on are mapped: reading them would copy
// every byte once more, into memory that must first be faulted in.
constexpr std::size_t kMapFrom = 1024 * 1024;

std::string ErrnoText(int error) { return std::strerror(error); }

std::string DisplayName(const std::string& path, const char* standard_name) {
  return IsStandardStream(path) ? standard_name : path;
}

void ReadAll(int fd, std::size_t size_hint, const std::string& name, std::string* out) {
  // One byte beyond the expected size, so that the read which meets the end
  // of a regular file needs no reallocation and the file is read in place.
  out->resize(size_hint + 1);
  std::size_t used = 0;
  for (;;) {
    if (used == out->size()) out->resize(out->size() + kReadChunk);
    ssize_t n = ::read(fd, out->data() + used, out->size() - used);
    if (n < 0) {
      if (errno == EINTR) continue;
      throw Failure(name, "", fmt::format("cannot read: {}", ErrnoText(errno)));
    }
    if (n == 0) break;
    used += static_cast<std::size_t>(n);
  }
  out->resize(used);
}

// Maps what is left to read of a large regular file (from the descriptor's
// offset on) into `input`; false when it is small or cannot be mapped (some
// file systems), to be read instead.
bool MapRest(int fd, const struct stat& st, Input* input) {
  const off_t offset = ::lseek(fd, 0, SEEK_CUR);
  if (offset < 0 || offset > st.st_size) return false;
  const auto size = static_cast<std::size_t>(st.st_size);
  if (size - static_cast<std::size_t>(offset) < kMapFrom) return false;
  // Populated up front: the whole file is read, in order, at once.
  void* start = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
  if (start == MAP_FAILED) return false;
  input->mapping = std::make_unique<Mapping>(start, size, static_cast<std::size_t>(offset));
  return true;
}

// Pieces in as few system calls as the kernel allows (IOV_MAX per call).
void WriteAll(int fd, std::vector<std::string_view> pieces, const std::string& name) {
  pieces.erase(std::remove_if(pieces.begin(), pieces.end(), [](std::string_view p) { return p.empty(); }),
               pieces.end());
  std::size_t first = 0;
  std::vector<iovec> vectors;
  while (first < pieces.size()) {
    const std::size_t count = std::min<std::size_t>(pieces.size() - first, IOV_MAX);
    vectors.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
      vectors[i].iov_base = const_cast<char*>(pieces[first + i].data());
      vectors[i].iov_len = pieces[first + i].size();
    }
    ssize_t n = ::writev(fd, vectors.data(), static_cast<int>(count));
    if (n < 0) {
      if (errno == EINTR) continue;
      throw Failure(name, "", fmt::format("cannot write: {}", ErrnoText(errno)));
    }
    // Skip what was written; a piece written in part is continued.
    auto written = static_cast<std::size_t>(n);
    while (written > 0 && written >= pieces[first].size()) {
      written -= pieces[first].size();
      ++first;
    }
    if (written > 0) pieces[first].remove_prefix(written);
  }
}

// The temporary file being written, removed if the run is interrupted so
// that an interrupted run leaves nothing behind either. A fixed buffer,
// because the signal handler may only call async-signal-safe functions.
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

// Mode of a new file as the user's umask would make it, or the mode of the
// file being replaced, so that renaming over it does not change its access.
mode_t OutputMode(const std::string& path) {
  struct stat st {};
  if (::stat(path.c_str(), &st) == 0) return st.st_mode & 07777;
  mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

}  // namespace

bool IsStandardStream(const std::string& path) { return path.empty() || path == "-"; }

Input ReadInput(const std::string& path) {
  Input input;
  input.path = path;
  input.name = DisplayName(path, "<stdin>");
  if (IsStandardStream(path)) {
    struct stat st {};
    const bool regular = ::fstat(STDIN_FILENO, &st) == 0 && S_ISREG(st.st_mode);
    if (regular && MapRest(STDIN_FILENO, st, &input)) return input;
    ReadAll(STDIN_FILENO, regular ? static_cast<std::size_t>(st.st_size) : kReadChunk, input.name,
            &input.storage);
    return input;
  }
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    throw Failure(input.name, "", fmt::format("cannot open: {}", ErrnoText(errno)));
  }
  struct stat st {};
  if (::fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
    int error = S_ISDIR(st.st_mode) ? EISDIR : errno;
    ::close(fd);
    throw Failure(input.name, "", fmt::format("cannot read: {}", ErrnoText(error)));
  }
  if (S_ISREG(st.st_mode) && MapRest(fd, st, &input)) {
    ::close(fd);
    return input;
  }
  try {
    ReadAll(fd, S_ISREG(st.st_mode) ? static_cast<std::size_t>(st.st_size) : kReadChunk,
            input.name, &input.storage);
  } catch (...) {
    ::close(fd);
    throw;
  }
  ::close(fd);
  return input;
}

void RefuseBinaryToTerminal(const std::string& output_path) {
  if (IsStandardStream(output_path) && ::isatty(STDOUT_FILENO)) {
    throw Failure("<stdout>", "",
                  "refusing to write binary data to a terminal; use -o FILE or redirect "
                  "the output");
  }
}

void RefuseOverwritingInputs(const std::string& output_path,
                             const std::vector<std::string>& input_paths) {
  if (IsStandardStream(output_path)) return;
  struct stat out {};
  if (::stat(output_path.c_str(), &out) != 0) return;  // not there yet: cannot be an input
  for (const std::string& input : input_paths) {
    if (IsStandardStream(input)) continue;
    struct stat in {};
    if (::stat(input.c_str(), &in) == 0 && in.st_dev == out.st_dev && in.st_ino == out.st_ino) {
      throw Failure(output_path, "",
                    fmt::format("is the input {}; refusing to replace it, choose another -o",
                                input));
    }
  }
}

Mapping::~Mapping() { ::munmap(start_, size_); }

Output::Output(const std::string& path) : name_(path) {
  if (IsStandardStream(path)) {
    name_ = "<stdout>";
    fd_ = STDOUT_FILENO;
    return;
  }
  std::string target = path;
  struct stat st {};
  if (::stat(path.c_str(), &st) == 0) {
    if (S_ISDIR(st.st_mode)) throw Failure(path, "", "is a directory; give a file name to -o");
    if (!S_ISREG(st.st_mode)) {
      // A device or a pipe (-o /dev/null, a FIFO): written to as it is,
      // never replaced by a regular file.
      fd_ = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
      if (fd_ < 0) throw Failure(path, "", fmt::format("cannot open: {}", ErrnoText(errno)));
      owned_ = true;
      return;
    }
    // Through a symbolic link: replace the file it points to, keep the link.
    if (char* resolved = ::realpath(path.c_str(), nullptr)) {
      target = resolved;
      std::free(resolved);
    }
  }
  std::string::size_type slash = target.rfind('/');
  std::string directory = slash == std::string::npos ? "." : target.substr(0, slash + 1);
  std::string base = slash == std::string::npos ? target : target.substr(slash + 1);
  if (base.empty()) throw Failure(path, "", "is a directory; give a file name to -o");
  std::string temporary = (slash == std::string::npos ? std::string() : directory) + "." + base +
                          ".gcuschema-XXXXXX";
  fd_ = ::mkstemp(temporary.data());
  if (fd_ < 0) {
    throw Failure(path, "",
                  fmt::format("cannot create a temporary file in {}: {}", directory, ErrnoText(errno)));
  }
  owned_ = true;
  target_ = target;
  temporary_ = temporary;
  GuardTemporary(temporary_);
  if (::fchmod(fd_, OutputMode(target_)) != 0) {
    const int error = errno;
    Discard();
    throw Failure(path, "", fmt::format("cannot set permissions: {}", ErrnoText(error)));
  }
}

Output::~Output() { Discard(); }

void Output::Discard() {
  if (owned_ && fd_ >= 0) ::close(fd_);
  fd_ = -1;
  if (!temporary_.empty()) {
    ::unlink(temporary_.c_str());
    ReleaseTemporary();
    temporary_.clear();
  }
}

void Output::Write(const std::vector<std::string_view>& pieces) { WriteAll(fd_, pieces, name_); }

void Output::Commit() {
  if (!owned_) return;
  if (!temporary_.empty() && ::fsync(fd_) != 0) {
    throw Failure(name_, "", fmt::format("cannot write: {}", ErrnoText(errno)));
  }
  const int closed = ::close(fd_);
  fd_ = -1;
  if (closed != 0) throw Failure(name_, "", fmt::format("cannot write: {}", ErrnoText(errno)));
  if (temporary_.empty()) return;
  if (::rename(temporary_.c_str(), target_.c_str()) != 0) {
    throw Failure(name_, "", fmt::format("cannot replace: {}", ErrnoText(errno)));
  }
  ReleaseTemporary();
  temporary_.clear();
}

void WriteOutput(const std::string& path, std::string_view data) {
  WriteOutput(path, std::vector<std::string_view>{data});
}

void WriteOutput(const std::string& path, const std::vector<std::string_view>& data) {
  Output output(path);
  output.Write(data);
  output.Commit();
}

}  // namespace gcuschema::tool
