// The tool's system interface on Windows. Paths and names are UTF-8 in the
// tool and UTF-16 in every call to the system made here. Files, standard
// input and standard output are read and written through their Win32
// handles, never through the C runtime's streams: no byte is translated
// (no CR added before LF, no end at a Ctrl-Z).
#include "platform.h"

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include <aclapi.h>
#include <sddl.h>
#include <shellapi.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>
#include <random>

#include <fmt/format.h>

#include "failure.h"
#include "temporary_name.h"

namespace gcuschema::tool::platform {
namespace {

constexpr std::size_t kReadChunk = 64 * 1024;
// At most this much per ReadFile/WriteFile call (they count in 32 bits).
constexpr std::size_t kMaxTransfer = std::size_t{1} << 30;
// The longest name of a directory entry, in UTF-16 units (a UTF-8 name of
// as many bytes never has more).
constexpr std::size_t kMaxNameLength = 255;

class Handle {
 public:
  explicit Handle(HANDLE handle) : handle_(handle) {}
  ~Handle() {
    if (valid()) ::CloseHandle(handle_);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  // CreateFile gives INVALID_HANDLE_VALUE for a failure, OpenProcess null.
  bool valid() const { return handle_ != INVALID_HANDLE_VALUE && handle_ != nullptr; }
  HANDLE get() const { return handle_; }

 private:
  HANDLE handle_;
};

std::wstring Wide(std::string_view utf8) {
  if (utf8.empty()) return {};
  const int size = static_cast<int>(utf8.size());
  std::wstring wide(static_cast<std::size_t>(::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, nullptr, 0)),
                    L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, wide.data(), static_cast<int>(wide.size()));
  return wide;
}

std::string Utf8(const wchar_t* wide, std::size_t length) {
  if (length == 0) return {};
  const int size = static_cast<int>(length);
  std::string utf8(
      static_cast<std::size_t>(::WideCharToMultiByte(CP_UTF8, 0, wide, size, nullptr, 0, nullptr, nullptr)),
      '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, wide, size, utf8.data(), static_cast<int>(utf8.size()), nullptr, nullptr);
  return utf8;
}

std::string Utf8(const wchar_t* wide) { return Utf8(wide, std::wcslen(wide)); }

// The system's text for an error, as one clause: without the full stop and
// line break it ends with, since it follows "cannot <do what>: ".
std::string SystemMessage(DWORD error) {
  wchar_t* text = nullptr;
  const DWORD length = ::FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
      0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
  std::string message = length > 0 ? Utf8(text, length) : "";
  ::LocalFree(text);
  while (!message.empty() && std::strchr(" \t\r\n.", message.back()) != nullptr) message.pop_back();
  return message.empty() ? fmt::format("system error {}", error) : message;
}

[[noreturn]] void Fail(const std::string& name, const char* what, DWORD error) {
  throw Failure(name, "", fmt::format("cannot {}: {}", what, SystemMessage(error)));
}

bool IsConsole(HANDLE handle) {
  DWORD mode = 0;
  return ::GetConsoleMode(handle, &mode) != 0;
}

// Opened to be examined, every symbolic link followed; a directory too.
HANDLE OpenToExamine(const std::wstring& path) {
  return ::CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

bool IsDirectory(const std::wstring& path) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// Whether the path's own entry (not what it leads to) is a symbolic link
// or another reparse point.
bool IsLink(const std::wstring& path) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// Which file a handle is open on: its volume and its index there. A handle
// that cannot tell its volume (Wine's for the Unix descriptors a process
// is started with) tells its index, size and last write instead.
struct FileIdentity {
  bool volume_known = false;
  DWORD volume = 0;
  ULONGLONG index = 0;
  LONGLONG size = 0;
  LONGLONG written = 0;
};

LONGLONG Combined(DWORD high, DWORD low) { return static_cast<LONGLONG>((ULONGLONG{high} << 32) | low); }

bool Identify(HANDLE handle, FileIdentity* identity) {
  BY_HANDLE_FILE_INFORMATION info{};
  if (::GetFileInformationByHandle(handle, &info)) {
    identity->volume_known = true;
    identity->volume = info.dwVolumeSerialNumber;
    identity->index = static_cast<ULONGLONG>(Combined(info.nFileIndexHigh, info.nFileIndexLow));
    identity->size = Combined(info.nFileSizeHigh, info.nFileSizeLow);
    identity->written = Combined(info.ftLastWriteTime.dwHighDateTime, info.ftLastWriteTime.dwLowDateTime);
    return true;
  }
  FILE_ID_INFO id{};
  FILE_STANDARD_INFO standard{};
  FILE_BASIC_INFO basic{};
  if (!::GetFileInformationByHandleEx(handle, FileIdInfo, &id, sizeof id) ||
      !::GetFileInformationByHandleEx(handle, FileStandardInfo, &standard, sizeof standard) ||
      !::GetFileInformationByHandleEx(handle, FileBasicInfo, &basic, sizeof basic)) {
    return false;
  }
  std::memcpy(&identity->index, id.FileId.Identifier, sizeof identity->index);  // the index, as NTFS gives it
  identity->size = standard.EndOfFile.QuadPart;
  identity->written = basic.LastWriteTime.QuadPart;
  return true;
}

// The file on disk a handle is open on; false for a console, a pipe or no
// handle at all.
bool IdentifyFile(HANDLE handle, FileIdentity* identity) {
  return handle != nullptr && handle != INVALID_HANDLE_VALUE && ::GetFileType(handle) == FILE_TYPE_DISK &&
         Identify(handle, identity);
}

bool IdentifyPath(const std::string& path, FileIdentity* identity) {
  const Handle file(OpenToExamine(Wide(path)));
  return file.valid() && Identify(file.get(), identity);
}

bool SameIdentity(const FileIdentity& a, const FileIdentity& b) {
  if (a.index != b.index) return false;
  if (a.volume_known && b.volume_known) return a.volume == b.volume;
  return a.size == b.size && a.written == b.written;
}

void ReadAll(HANDLE handle, std::size_t size_hint, const std::string& name, ReadBuffer* out) {
  // One byte beyond the expected size, so that the read which meets the end
  // of a regular file needs no reallocation.
  out->Reserve(size_hint + 1);
  std::size_t used = 0;
  for (;;) {
    if (used == out->capacity()) out->Reserve(out->capacity() + std::max(kReadChunk, out->capacity() / 2));
    const auto want = static_cast<DWORD>(std::min(out->capacity() - used, kMaxTransfer));
    DWORD got = 0;
    if (!::ReadFile(handle, out->data() + used, want, &got, nullptr)) {
      const DWORD error = ::GetLastError();
      // The writing end of a pipe closed: the end of the input.
      if (error == ERROR_BROKEN_PIPE || error == ERROR_HANDLE_EOF) break;
      Fail(name, "read", error);
    }
    if (got == 0) break;
    used += got;
  }
  out->Resize(used);
}

std::size_t SizeHint(HANDLE handle) {
  LARGE_INTEGER size{};
  if (::GetFileType(handle) == FILE_TYPE_DISK && ::GetFileSizeEx(handle, &size) && size.QuadPart > 0) {
    return static_cast<std::size_t>(size.QuadPart);
  }
  return kReadChunk;
}

// Directory part of a path, with its separator ("" for none), and the rest.
std::pair<std::string, std::string> SplitPath(const std::string& path) {
  std::string::size_type end = path.find_last_of("/\\");
  // "C:name" names a file in the drive's current directory.
  if (end == std::string::npos && path.size() >= 2 && path[1] == ':') end = 1;
  if (end == std::string::npos) return {"", path};
  return {path.substr(0, end + 1), path.substr(end + 1)};
}

// The path the system ends at through every link, as it is written to a
// user: without the "\\?\" that marks a path taken as it is, unless the
// path is too long to be used without it.
std::string FinalPath(HANDLE file, const std::string& path) {
  std::wstring final(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = ::GetFinalPathNameByHandleW(file, final.data(), static_cast<DWORD>(final.size()),
                                                      FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
    if (length == 0) return path;
    if (length < final.size()) {
      final.resize(length);
      break;
    }
    final.resize(length);
  }
  if (final.size() < MAX_PATH && final.rfind(L"\\\\?\\UNC\\", 0) == 0) return "\\\\" + Utf8(final.c_str() + 8);
  if (final.size() < MAX_PATH && final.rfind(L"\\\\?\\", 0) == 0) return Utf8(final.c_str() + 4);
  return Utf8(final.c_str());
}

// The security identifiers a file this process creates may carry as its
// owner: the user's, or the token's default owner (for an elevated
// administrator, the Administrators group).
bool IsOwnSid(PSID sid) {
  static const std::vector<std::vector<char>> own = [] {
    std::vector<std::vector<char>> sids;
    HANDLE token = nullptr;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token)) return sids;
    for (const TOKEN_INFORMATION_CLASS kind : {TokenUser, TokenOwner}) {
      DWORD size = 0;
      ::GetTokenInformation(token, kind, nullptr, 0, &size);
      std::vector<char> buffer(size);
      if (size == 0 || !::GetTokenInformation(token, kind, buffer.data(), size, &size)) continue;
      const PSID found = kind == TokenUser ? reinterpret_cast<TOKEN_USER*>(buffer.data())->User.Sid
                                           : reinterpret_cast<TOKEN_OWNER*>(buffer.data())->Owner;
      const char* bytes = static_cast<const char*>(found);
      sids.emplace_back(bytes, bytes + ::GetLengthSid(found));
    }
    ::CloseHandle(token);
    return sids;
  }();
  return std::any_of(own.begin(), own.end(), [&](const std::vector<char>& mine) {
    return ::EqualSid(sid, const_cast<char*>(mine.data())) != 0;
  });
}

std::string AccountName(PSID sid) {
  wchar_t user[256], domain[256];
  DWORD user_length = 256, domain_length = 256;
  SID_NAME_USE use{};
  if (::LookupAccountSidW(nullptr, sid, user, &user_length, domain, &domain_length, &use)) {
    return domain_length > 0 ? Utf8(domain) + "\\" + Utf8(user) : Utf8(user);
  }
  wchar_t* text = nullptr;
  if (!::ConvertSidToStringSidW(sid, &text)) return "with an unknown id";
  const std::string name = "with id " + Utf8(text);
  ::LocalFree(text);
  return name;
}

// The owner's name when a file's owner is not this user ("" when it is, or
// when the file system cannot tell).
std::string OtherOwner(const std::wstring& path) {
  PSID owner = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (::GetNamedSecurityInfoW(path.c_str(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr,
                              nullptr, &descriptor) != ERROR_SUCCESS) {
    return "";
  }
  const std::string other = owner != nullptr && !IsOwnSid(owner) ? AccountName(owner) : "";
  ::LocalFree(descriptor);
  return other;
}

// This host's name as it may stand in a file name.
std::string ThisHostMark() {
  wchar_t host[256];
  DWORD length = 256;
  return HostMark(::GetComputerNameExW(ComputerNameDnsHostname, host, &length) ? Utf8(host, length) : "");
}

// Whether the process with this id runs (one that cannot be asked, another
// user's, counts as running); a process that exited while something still
// holds it open does not.
bool ProcessRuns(DWORD id) {
  const Handle process(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE, id));
  if (!process.valid()) return ::GetLastError() != ERROR_INVALID_PARAMETER;
  return ::WaitForSingleObject(process.get(), 0) == WAIT_TIMEOUT;
}

// Removes from `directory` the temporaries of this host's runs that no
// longer run: only plain files of the user's, and never one whose process
// still runs.
void RemoveStaleTemporaries(const std::string& directory, const std::string& host) {
  WIN32_FIND_DATAW entry;
  const HANDLE listing = ::FindFirstFileExW(Wide(directory + "*").c_str(), FindExInfoBasic, &entry,
                                            FindExSearchNameMatch, nullptr, 0);
  if (listing == INVALID_HANDLE_VALUE) return;
  do {
    const std::string file = Utf8(entry.cFileName);
    const unsigned long owner = TemporaryOwner(file, host);
    if (owner == 0 || owner == ::GetCurrentProcessId() ||
        (entry.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) != 0 ||
        ProcessRuns(static_cast<DWORD>(owner))) {
      continue;
    }
    const std::wstring path = Wide(directory + file);
    if (OtherOwner(path).empty()) ::DeleteFileW(path.c_str());
  } while (::FindNextFileW(listing, &entry));
  ::FindClose(listing);
}

// The temporary being written, removed when the run is interrupted (Ctrl-C,
// Ctrl-Break, the console closed) so that an interrupted run leaves nothing
// behind either. The handler runs on a thread of its own.
std::mutex g_temporary_lock;
std::wstring g_temporary;

BOOL WINAPI RemoveTemporaryOnInterrupt(DWORD event) {
  {
    const std::lock_guard<std::mutex> lock(g_temporary_lock);
    if (!g_temporary.empty()) ::DeleteFileW(g_temporary.c_str());
  }
  // Ended as the system's own handler ends a process on Ctrl-C (Wine's
  // would end it with status 0, as if it had succeeded); on the other
  // events the system ends it when the handlers return.
  if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) ::ExitProcess(STATUS_CONTROL_C_EXIT);
  return FALSE;
}

void GuardTemporary(const std::wstring& path) {
  {
    const std::lock_guard<std::mutex> lock(g_temporary_lock);
    g_temporary = path;
  }
  static const bool installed = ::SetConsoleCtrlHandler(RemoveTemporaryOnInterrupt, TRUE) != 0;
  static_cast<void>(installed);
}

void ReleaseTemporary() {
  const std::lock_guard<std::mutex> lock(g_temporary_lock);
  g_temporary.clear();
}

// A file's access rules (its discretionary access control list).
struct AccessRules {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  PACL list = nullptr;
  bool is_protected = false;  // not passed on from the directory
  bool known = false;

  AccessRules() = default;
  AccessRules(const AccessRules&) = delete;
  AccessRules& operator=(const AccessRules&) = delete;
  ~AccessRules() { ::LocalFree(descriptor); }

  void Take(DWORD status) {
    known = status == ERROR_SUCCESS;
    if (!known) return;
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    DWORD revision = 0;
    ::GetSecurityDescriptorControl(descriptor, &control, &revision);
    is_protected = (control & SE_DACL_PROTECTED) != 0;
  }
};

bool SameRules(const AccessRules& a, const AccessRules& b) {
  if (a.is_protected != b.is_protected) return false;
  if (a.list == nullptr || b.list == nullptr) return a.list == b.list;
  if (a.list->AceCount != b.list->AceCount) return false;
  for (DWORD i = 0; i < a.list->AceCount; ++i) {
    void* x = nullptr;
    void* y = nullptr;
    if (!::GetAce(a.list, i, &x) || !::GetAce(b.list, i, &y)) return false;
    const WORD size = static_cast<ACE_HEADER*>(x)->AceSize;
    if (size != static_cast<ACE_HEADER*>(y)->AceSize || std::memcmp(x, y, size) != 0) return false;
  }
  return true;
}

// The access rules of the file being replaced, given to its replacement
// when they are not those it was made with, so that renaming over it does
// not change who may use the file. (Rules the file only inherits are its
// directory's, the same for both: those are left alone.)
DWORD CopyAccess(const std::wstring& from, HANDLE to) {
  AccessRules old, made;
  old.Take(::GetNamedSecurityInfoW(from.c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                                   &old.list, nullptr, &old.descriptor));
  if (!old.known) return ERROR_SUCCESS;  // not there, or nothing to tell
  made.Take(::GetSecurityInfo(to, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &made.list, nullptr,
                              &made.descriptor));
  if ((made.known && SameRules(old, made)) || old.list == nullptr) return ERROR_SUCCESS;
  const SECURITY_INFORMATION what =
      DACL_SECURITY_INFORMATION |
      (old.is_protected ? PROTECTED_DACL_SECURITY_INFORMATION : UNPROTECTED_DACL_SECURITY_INFORMATION);
  return ::SetSecurityInfo(to, SE_FILE_OBJECT, what, nullptr, nullptr, old.list, nullptr);
}

// Creates the temporary for `path`, hidden; its name goes to *temporary.
HANDLE CreateTemporary(const std::string& path, const std::string& name, std::string* temporary) {
  const auto [directory, base] = SplitPath(path);
  const std::string host = ThisHostMark();
  RemoveStaleTemporaries(directory, host);
  const std::string pattern = directory + TemporaryName(base, host, ::GetCurrentProcessId(), kMaxNameLength);
  static constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  std::mt19937 random(std::random_device{}());
  std::uniform_int_distribution<std::size_t> pick(0, sizeof kLetters - 2);
  for (int attempt = 0;; ++attempt) {
    *temporary = pattern;
    for (std::size_t i = temporary->size() - kTemporaryRandomLength; i < temporary->size(); ++i) {
      (*temporary)[i] = kLetters[pick(random)];
    }
    const std::wstring wide = Wide(*temporary);
    // Shared for deletion, so that an interrupt can remove it while it is open.
    const HANDLE file = ::CreateFileW(wide.c_str(), GENERIC_WRITE | READ_CONTROL | WRITE_DAC, FILE_SHARE_DELETE, nullptr,
                                      CREATE_NEW, FILE_ATTRIBUTE_HIDDEN, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
      GuardTemporary(wide);
      if (const DWORD error = CopyAccess(Wide(path), file); error != ERROR_SUCCESS) {
        ::CloseHandle(file);
        ::DeleteFileW(wide.c_str());
        ReleaseTemporary();
        Fail(name, "set permissions", error);
      }
      return file;
    }
    const DWORD error = ::GetLastError();
    if (error != ERROR_FILE_EXISTS || attempt == 100) {
      throw Failure(name, "",
                    fmt::format("cannot create a temporary file in {}: {}", directory.empty() ? "." : directory,
                                SystemMessage(error)));
    }
  }
}

// The attributes the written file ends with: those of the file it replaces
// (hidden, system) but read-only, which is never replaced, and marked as
// changed; no longer hidden as the temporary was.
DWORD FinalAttributes(const std::string& path) {
  constexpr DWORD kKept = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
  const DWORD old = ::GetFileAttributesW(Wide(path).c_str());
  return (old == INVALID_FILE_ATTRIBUTES ? 0 : old & kKept) | FILE_ATTRIBUTE_ARCHIVE;
}

void WriteBytes(HANDLE handle, std::string_view bytes, const std::string& name) {
  while (!bytes.empty()) {
    DWORD written = 0;
    if (!::WriteFile(handle, bytes.data(), static_cast<DWORD>(std::min(bytes.size(), kMaxTransfer)), &written,
                     nullptr)) {
      Fail(name, "write", ::GetLastError());
    }
    if (written == 0) Fail(name, "write", ERROR_WRITE_FAULT);
    bytes.remove_prefix(written);
  }
}

// How many bytes at the end of `text` begin a UTF-8 character they do not
// finish.
std::size_t UnfinishedCharacter(std::string_view text) {
  for (std::size_t back = 1; back <= std::min<std::size_t>(3, text.size()); ++back) {
    const auto byte = static_cast<unsigned char>(text[text.size() - back]);
    if ((byte & 0xC0) == 0x80) continue;  // a continuation byte
    const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
    return length > back ? back : 0;
  }
  return 0;
}

// Text for a console goes as UTF-16, which it shows whatever its code page;
// a character split between two writes is kept back until it is whole.
std::string g_console_unfinished;

void WriteConsoleText(HANDLE console, std::string_view bytes, const std::string& name) {
  std::string text = std::move(g_console_unfinished);
  text.append(bytes);
  const std::size_t unfinished = UnfinishedCharacter(text);
  g_console_unfinished = text.substr(text.size() - unfinished);
  text.resize(text.size() - unfinished);
  const std::wstring wide = Wide(text);
  constexpr std::size_t kConsoleChunk = 8192;
  for (std::size_t done = 0; done < wide.size();) {
    std::size_t chunk = std::min(wide.size() - done, kConsoleChunk);
    // A surrogate pair stays in one piece.
    if (chunk > 1 && IS_HIGH_SURROGATE(wide[done + chunk - 1])) --chunk;
    DWORD written = 0;
    if (!::WriteConsoleW(console, wide.data() + done, static_cast<DWORD>(chunk), &written, nullptr)) {
      Fail(name, "write", ::GetLastError());
    }
    if (written == 0) Fail(name, "write", ERROR_WRITE_FAULT);
    done += written;
  }
}

}  // namespace

std::vector<std::string> CommandLine(int argc, char** argv) {
  // main's argv is in the ANSI code page, which cannot spell every file
  // name: the arguments are read again from the UTF-16 command line.
  int count = 0;
  wchar_t** wide = ::CommandLineToArgvW(::GetCommandLineW(), &count);
  if (wide == nullptr) return {argv, argv + argc};
  std::vector<std::string> arguments;
  for (int i = 0; i < count; ++i) arguments.push_back(Utf8(wide[i]));
  ::LocalFree(wide);
  return arguments;
}

ReadBuffer ReadWhole(const std::string& path, const std::string& name) {
  ReadBuffer bytes;
  if (path.empty()) {
    const HANDLE input = ::GetStdHandle(STD_INPUT_HANDLE);
    ReadAll(input, SizeHint(input), name, &bytes);
    return bytes;
  }
  const std::wstring wide = Wide(path);
  const Handle file(::CreateFileW(wide.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                  nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  if (!file.valid()) {
    const DWORD error = ::GetLastError();
    // A directory cannot be opened as a file at all.
    if (IsDirectory(wide)) throw Failure(name, "", "cannot read: Is a directory");
    Fail(name, "open", error);
  }
  ReadAll(file.get(), SizeHint(file.get()), name, &bytes);
  return bytes;
}

// Large pages on Windows need a privilege users do not have: blocks come
// from the heap.
void* AllocateBlock(std::size_t size) { return ::operator new(size); }
void FreeBlock(void* block, std::size_t) { ::operator delete(block); }

std::string MakeWritableCommand(const std::string& path) { return "attrib -r " + path; }

bool StandardOutputIsTerminal() { return IsConsole(::GetStdHandle(STD_OUTPUT_HANDLE)); }

PathFacts Examine(const std::string& path, const std::string& name) {
  PathFacts facts;
  facts.resolved = path;
  const std::wstring wide = Wide(path);
  const Handle file(OpenToExamine(wide));
  if (!file.valid()) {
    const DWORD error = ::GetLastError();
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) {
      // A link to nothing: replacing the link by a file would lose it, and
      // what it names is not to be found without following it by hand.
      if (IsLink(wide)) {
        throw Failure(name, "",
                      "is a symbolic link to a file that does not exist; refusing to replace the link: "
                      "create the file it names first, or choose another -o");
      }
      return facts;  // kMissing
    }
    // A console (CON) opens only for reading or for writing.
    const Handle console(::CreateFileW(wide.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                       OPEN_EXISTING, 0, nullptr));
    if (console.valid() && IsConsole(console.get())) {
      facts.kind = PathFacts::Kind::kTerminal;
      return facts;
    }
    Fail(name, "open", error);
  }
  switch (::GetFileType(file.get())) {
    case FILE_TYPE_DISK:
      break;
    case FILE_TYPE_CHAR: {
      facts.kind = PathFacts::Kind::kOther;
      // Only a handle open for writing tells a console from other devices.
      const Handle device(::CreateFileW(wide.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                        OPEN_EXISTING, 0, nullptr));
      if (device.valid() && IsConsole(device.get())) facts.kind = PathFacts::Kind::kTerminal;
      return facts;
    }
    default:  // a pipe
      facts.kind = PathFacts::Kind::kOther;
      return facts;
  }
  BY_HANDLE_FILE_INFORMATION info{};
  if (!::GetFileInformationByHandle(file.get(), &info)) Fail(name, "open", ::GetLastError());
  if ((info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    facts.kind = PathFacts::Kind::kDirectory;
    return facts;
  }
  facts.kind = PathFacts::Kind::kRegular;
  // Through symbolic links, the file they end at is the one replaced.
  facts.resolved = FinalPath(file.get(), path);
  facts.writable = (info.dwFileAttributes & FILE_ATTRIBUTE_READONLY) == 0;
  facts.other_owner = OtherOwner(wide);
  return facts;
}

bool SameFile(const std::string& a, const std::string& b) {
  FileIdentity ia, ib;
  return IdentifyPath(a, &ia) && IdentifyPath(b, &ib) && SameIdentity(ia, ib);
}

OpenStream StreamNamed(const std::string& path, const std::string&) {
  // Windows has no names for the standard streams themselves (CON and
  // CONOUT$ are the console, whatever the streams were redirected to): a
  // stream is named by naming the file it is open on.
  FileIdentity named;
  if (!IdentifyPath(path, &named)) return {};
  struct Standard {
    DWORD id;
    const char* what;
    // Standard input is opened for reading (cmd's <, a parent's pipe).
    bool writable;
  };
  constexpr Standard kStreams[] = {{STD_OUTPUT_HANDLE, "standard output", true},
                                   {STD_ERROR_HANDLE, "standard error", true},
                                   {STD_INPUT_HANDLE, "standard input", false}};
  for (const Standard& standard : kStreams) {
    const HANDLE handle = ::GetStdHandle(standard.id);
    FileIdentity open;
    if (!IdentifyFile(handle, &open) || !SameIdentity(open, named)) continue;
    OpenStream stream;
    stream.handle = reinterpret_cast<std::intptr_t>(handle);
    stream.what = standard.what;
    stream.writable = standard.writable;
    return stream;
  }
  return {};
}

bool IsStandardInputFile(const std::string& path) {
  FileIdentity open, named;
  return IdentifyFile(::GetStdHandle(STD_INPUT_HANDLE), &open) && IdentifyPath(path, &named) &&
         SameIdentity(open, named);
}

OutputFile::OutputFile(const OpenStream& stream, const std::string& name)
    : name_(name), handle_(stream.handle) {}

OutputFile::OutputFile(Way way, const std::string& path, const std::string& name) : path_(path), name_(name) {
  switch (way) {
    case Way::kStandardOutput:
      handle_ = reinterpret_cast<std::intptr_t>(::GetStdHandle(STD_OUTPUT_HANDLE));
      return;
    case Way::kInPlace: {
      const HANDLE file = ::CreateFileW(Wide(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                        nullptr, OPEN_EXISTING, 0, nullptr);
      if (file == INVALID_HANDLE_VALUE) Fail(name, "open", ::GetLastError());
      handle_ = reinterpret_cast<std::intptr_t>(file);
      owned_ = true;
      return;
    }
    case Way::kTemporary:
      handle_ = reinterpret_cast<std::intptr_t>(CreateTemporary(path, name, &temporary_));
      owned_ = true;
      return;
  }
}

OutputFile::~OutputFile() { Discard(); }

void OutputFile::Discard() noexcept {
  if (owned_ && handle_ != -1) ::CloseHandle(reinterpret_cast<HANDLE>(handle_));
  handle_ = -1;
  if (!temporary_.empty()) {
    try {
      ::DeleteFileW(Wide(temporary_).c_str());
    } catch (...) {
      // Out of memory for the wide name: the interrupt handler's copy.
      const std::lock_guard<std::mutex> lock(g_temporary_lock);
      ::DeleteFileW(g_temporary.c_str());
    }
    ReleaseTemporary();
    temporary_.clear();
  }
}

void OutputFile::Write(std::string_view bytes) {
  const auto handle = reinterpret_cast<HANDLE>(handle_);
  // Only standard output or a device may be a console; a temporary never is.
  if (temporary_.empty() && IsConsole(handle)) {
    WriteConsoleText(handle, bytes, name_);
    return;
  }
  WriteBytes(handle, bytes, name_);
}

void OutputFile::Commit() {
  if (!owned_) return;
  const auto handle = reinterpret_cast<HANDLE>(handle_);
  if (!temporary_.empty()) {
    if (!::FlushFileBuffers(handle)) Fail(name_, "write", ::GetLastError());
    FILE_BASIC_INFO basic{};  // times of zero: left as they are
    basic.FileAttributes = FinalAttributes(path_);
    if (!::SetFileInformationByHandle(handle, FileBasicInfo, &basic, sizeof basic)) {
      Fail(name_, "write", ::GetLastError());
    }
  }
  handle_ = -1;
  if (!::CloseHandle(handle)) Fail(name_, "write", ::GetLastError());
  if (temporary_.empty()) return;
  if (!::MoveFileExW(Wide(temporary_).c_str(), Wide(path_).c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
    Fail(name_, "replace", ::GetLastError());
  }
  ReleaseTemporary();
  temporary_.clear();
}

}  // namespace gcuschema::tool::platform
