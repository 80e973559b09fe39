#include "temporary_name.h"

#include <algorithm>

#include <fmt/format.h>

namespace gcuschema::tool::platform {
namespace {

constexpr std::string_view kMark = ".gcuschema-";

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

std::string HostMark(std::string_view host_name) {
  std::string mark;
  for (const char c : host_name) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || IsDigit(c) || c == '.' ||
                       c == '-' || c == '_';
    mark += plain ? c : '_';
  }
  return mark.empty() ? "host" : mark;
}

std::string TemporaryName(std::string_view base, const std::string& host_mark, unsigned long pid,
                          std::size_t max_length) {
  const std::string mark =
      fmt::format("{}{}-{}-{}", kMark, host_mark, pid, std::string(kTemporaryRandomLength, 'X'));
  std::size_t room = max_length > mark.size() + 1 ? max_length - mark.size() - 1 : 0;
  if (room < base.size()) {
    // Not inside a character: continuation bytes are 10xxxxxx.
    while (room > 0 && (static_cast<unsigned char>(base[room]) & 0xC0) == 0x80) --room;
    base = base.substr(0, room);
  }
  return fmt::format(".{}{}", base, mark);
}

unsigned long TemporaryOwner(std::string_view name, const std::string& host_mark) {
  if (name.empty() || name[0] != '.') return 0;
  const std::string_view::size_type mark = name.rfind(kMark);
  if (mark == std::string_view::npos) return 0;
  std::string_view rest = name.substr(mark + kMark.size());  // HOST-PID-XXXXXX
  if (rest.size() < kTemporaryRandomLength + 3 || rest[rest.size() - kTemporaryRandomLength - 1] != '-') {
    return 0;
  }
  rest.remove_suffix(kTemporaryRandomLength + 1);
  const std::string_view::size_type dash = rest.rfind('-');
  if (dash == std::string_view::npos || rest.substr(0, dash) != host_mark) return 0;
  const std::string_view digits = rest.substr(dash + 1);
  if (digits.empty() || digits.size() > 9 || !std::all_of(digits.begin(), digits.end(), IsDigit)) return 0;
  return std::stoul(std::string(digits));
}

}  // namespace gcuschema::tool::platform
