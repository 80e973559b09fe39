// The names of the temporaries output is written to before it replaces a
// file: ".<file>.gcuschema-<host>-<pid>-<random>" beside it. The host and
// process in the name let a later run recognise one that a process of this
// host left behind when it was killed outright. The same on every system.
#ifndef GCUSCHEMA_TOOL_TEMPORARY_NAME_H
#define GCUSCHEMA_TOOL_TEMPORARY_NAME_H

#include <cstddef>
#include <string>
#include <string_view>

namespace gcuschema::tool::platform {

// Length of the random part that ends the name (mkstemp's XXXXXX).
inline constexpr std::size_t kTemporaryRandomLength = 6;

// A host name as it may stand in a file name: bytes other than letters,
// digits, '.', '-' and '_' as '_'.
std::string HostMark(std::string_view host_name);

// The temporary's name for a file named `base` (no directory), the random
// part as kTemporaryRandomLength 'X's to be replaced. `base` is shortened, at
// a UTF-8 character's start, so that the name stays within `max_length` bytes.
std::string TemporaryName(std::string_view base, const std::string& host_mark, unsigned long pid,
                          std::size_t max_length);

// The process id in a temporary's name when it was made on the host with
// this mark, or 0 when the name is not a temporary's of this host.
unsigned long TemporaryOwner(std::string_view name, const std::string& host_mark);

}  // namespace gcuschema::tool::platform

#endif
