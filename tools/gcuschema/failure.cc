#include "failure.h"

#include <utility>

#include <fmt/format.h>

#include <gcuschema/document/pairing.h>

namespace gcuschema::tool {
namespace {

// Length of the well-formed UTF-8 sequence starting at text[i] (1 to 4),
// or 0 when the bytes there are not one.
std::size_t Utf8SequenceLength(const std::string& text, std::size_t i) {
  const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
  const unsigned char lead = byte(i);
  if (lead < 0x80) return 1;
  std::size_t length = lead >= 0xF0 && lead <= 0xF4 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 ? 2 : 0;
  if (length == 0 || lead > 0xF4 || i + length > text.size()) return 0;
  for (std::size_t k = 1; k < length; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80) return 0;
  }
  const unsigned char second = byte(i + 1);
  if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
      (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F)) {
    return 0;  // overlong, surrogate or beyond U+10FFFF
  }
  return length;
}

// Appends ": part", with line breaks as spaces and other control bytes and
// bytes that are not UTF-8 as \xNN: a message may quote the bad input, and
// what reaches the terminal must stay one readable line.
void AppendOneLine(std::string* line, const std::string& part) {
  if (part.empty()) return;
  *line += ": ";
  for (std::size_t i = 0; i < part.size();) {
    const unsigned char c = static_cast<unsigned char>(part[i]);
    const std::size_t length = Utf8SequenceLength(part, i);
    if (c == '\n' || c == '\r') {
      *line += ' ';
    } else if (length == 0 || c < 0x20 || c == 0x7F) {
      *line += fmt::format("\\x{:02X}", c);
    } else {
      line->append(part, i, length);
      i += length;
      continue;
    }
    ++i;
  }
}

}  // namespace

Failure::Failure(std::string subject, std::string where, std::string message)
    : std::runtime_error(FailureLine(subject, where, message)),
      subject_(std::move(subject)),
      where_(std::move(where)),
      message_(std::move(message)) {}

std::string RemedyHint(const document::Remedy& remedy) {
  using Kind = document::Remedy::Kind;
  const std::string kind(document::EntryKindName(remedy.entry));
  const std::string record = remedy.record.empty() ? "RECORD" : remedy.record;
  switch (remedy.kind) {
    case Kind::kNone: return "";
    case Kind::kNameFormat: return " (--from binary or --from text)";
    case Kind::kNameRecord: return fmt::format(" (--type {})", remedy.record);
    case Kind::kPairCode:
      if (remedy.entry == document::EntryKind::kMap && remedy.record.empty()) {
        return fmt::format(" (--map-table RECORD or --pair map:{}=RECORD)", remedy.code);
      }
      return fmt::format(" (--pair {}:{}={})", kind, remedy.code, record);
    case Kind::kListRecords: return "; run `gcuschema schemas` to list the records";
    case Kind::kListNames: return fmt::format("; run `gcuschema schemas {}` to list them", remedy.record);
  }
  return "";
}

std::string FailureLine(const std::string& subject, const std::string& where,
                        const std::string& message) {
  std::string line = "gcuschema";
  AppendOneLine(&line, subject);
  AppendOneLine(&line, where);
  AppendOneLine(&line, message);
  return line;
}

}  // namespace gcuschema::tool
