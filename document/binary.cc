#include "formats.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/stubs/common.h>
#include <google/protobuf/stubs/strutil.h>
#include <google/protobuf/wire_format.h>
#include <google/protobuf/wire_format_lite.h>

#include <gcuschema/document/error.h>

#include "field_path.h"
#include "text_numbers.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;
using pb::FieldDescriptor;
using pb::internal::WireFormatLite;

// The runtime refuses records nested deeper than this by default.
constexpr int kMaxDepth = 100;

struct Problem {
  int offset;
  std::string path;
  std::string message;
};

std::string Hex2(unsigned char byte) {
  static const char digits[] = "0123456789ABCDEF";
  return std::string{digits[byte >> 4], digits[byte & 15]};
}

// Whether the runtime reads `wire_type` as a value of `field` (anything
// else it keeps as an unknown field). A list of numbers is read packed or
// element by element, whichever it is written as.
bool Fits(const FieldDescriptor* field, int wire_type) {
  return wire_type == static_cast<int>(pb::internal::WireFormat::WireTypeForFieldType(field->type())) ||
         (field->is_packable() && wire_type == WireFormatLite::WIRETYPE_LENGTH_DELIMITED);
}

// What a record keeps of a varint read for `field`, as its encoding writes
// it again: 32-bit fields keep the low 32 bits (an int32 or an enumeration
// sign-extended to 64), a bool is 0 or 1.
std::uint64_t Kept(const FieldDescriptor* field, std::uint64_t value) {
  switch (field->type()) {
    case FieldDescriptor::TYPE_INT32:
    case FieldDescriptor::TYPE_ENUM:
      return static_cast<std::uint64_t>(
          static_cast<std::int64_t>(static_cast<std::int32_t>(static_cast<std::uint32_t>(value))));
    case FieldDescriptor::TYPE_UINT32:
    case FieldDescriptor::TYPE_SINT32:
      return static_cast<std::uint32_t>(value);
    case FieldDescriptor::TYPE_BOOL:
      return value != 0 ? 1 : 0;
    default:
      return value;
  }
}

// A kept varint as the field's value: "-1", "true", "2 (mBar)".
std::string VarintText(const FieldDescriptor* field, std::uint64_t kept) {
  switch (field->type()) {
    case FieldDescriptor::TYPE_INT32:
      return std::to_string(static_cast<std::int32_t>(kept));
    case FieldDescriptor::TYPE_ENUM: {
      const int number = static_cast<std::int32_t>(kept);
      const pb::EnumValueDescriptor* named = field->enum_type()->FindValueByNumber(number);
      return std::to_string(number) + (named != nullptr ? " (" + named->name() + ")" : "");
    }
    case FieldDescriptor::TYPE_SINT32:
      return std::to_string(WireFormatLite::ZigZagDecode32(static_cast<std::uint32_t>(kept)));
    case FieldDescriptor::TYPE_SINT64:
      return std::to_string(WireFormatLite::ZigZagDecode64(kept));
    case FieldDescriptor::TYPE_INT64:
      return std::to_string(static_cast<std::int64_t>(kept));
    case FieldDescriptor::TYPE_BOOL:
      return kept != 0 ? "true" : "false";
    default:
      return std::to_string(kept);
  }
}

// "1 byte", "3 bytes".
std::string Bytes(int n) { return std::to_string(n) + (n == 1 ? " byte" : " bytes"); }

std::string FloatText(double value, bool is_float) {
  if (value == 0) return std::signbit(value) ? "-0.0" : "0";
  return is_float ? internal::SpellFloat(static_cast<float>(value)) : internal::SpellDouble(value);
}

// Why the record writes a varint of `field` other than as read.
std::string ValueChange(const FieldDescriptor* field, std::uint64_t value, std::uint64_t kept) {
  const std::string read = std::to_string(value);
  if (field->type() == FieldDescriptor::TYPE_BOOL) {
    return "holds " + read + " as a bool, which the records write as 1 (true)";
  }
  if (value <= 0xFFFFFFFFu) {
    // An int32 between 2^31 and 2^32: negative, written sign-extended.
    return "holds " + read + ", which an " + field->type_name() + " reads as " + VarintText(field, kept) +
           " and the records write sign-extended to 10 bytes";
  }
  return "holds " + read + ", beyond 32 bits: the record keeps the low 32 bits, " + VarintText(field, kept);
}

// What makes bytes read differ from the encoding of the record read from
// them: the first byte of the input it changes, the field and why.
struct Cause {
  int from;
  std::string path;
  std::string what;
};

// Walks encoded bytes along the record's descriptor, checking what the
// runtime's parser checks, to say where they stop making sense. Asked to
// explain, it also finds what the record's own encoding writes otherwise
// (a field given twice, a varint longer than it needs, fields out of
// number order, ...), keeping the cause that changes the earliest byte.
class WireWalker {
 public:
  WireWalker(std::string_view bytes, const pb::Descriptor* root)
      : data_(reinterpret_cast<const std::uint8_t*>(bytes.data())),
        size_(static_cast<int>(bytes.size())),
        root_(root),
        in_(data_, size_) {}

  std::optional<Problem> Run() { return Record(root_, "", 0); }

  // Explains the bytes instead, which the runtime reads; the innermost field
  // that holds byte `locate` is kept too.
  std::optional<Cause> Explain(int locate) {
    explain_ = true;
    locate_ = locate;
    Run();
    return std::move(cause_);
  }
  const std::string& located() const { return located_; }

 private:
  // A field of the record's schema met in the record being walked, in the
  // order first met.
  struct Seen {
    const FieldDescriptor* field;
    int first_at;       // its first tag
    int elements = 0;   // list elements so far
    // Only while explaining:
    int count = 0;       // occurrences of a singular field
    int first_value_at = 0;
    int last_at = 0;     // the tag of its last occurrence
    int last_value_at = 0;
    bool last_zero = false;
    int runs = 0;        // packed runs of a list
    int first_run_at = -1;
    int unpacked = 0;    // elements written one by one
    int first_unpacked_at = -1;
  };

  // The path of a field of the record at `record`, made only when a message
  // needs it: by name, or by number for a field the schema does not know.
  struct FieldAt {
    const std::string* record;
    const FieldDescriptor* field;
    int number;
    int index = -1;
    std::string operator()() const {
      std::string path = field ? internal::JoinPath(*record, field->name())
                               : (record->empty() ? "" : *record + ", ") + "field " + std::to_string(number);
      return index >= 0 ? internal::IndexPath(path, index) : path;
    }
  };

  int Position() const { return in_.CurrentPosition(); }
  int Left() const {
    const int until_limit = in_.BytesUntilLimit();
    return until_limit < 0 ? size_ - Position() : until_limit;
  }

  // Keeps the cause when it changes an earlier byte than the one kept.
  // `what` is given the path.
  template <typename What>
  void Note(int from, const FieldAt& at, const What& what) {
    if (cause_ && cause_->from <= from) return;
    std::string path = at();
    std::string text = what(path);
    cause_ = Cause{from, std::move(path), std::move(text)};
  }

  static Seen& SeenFor(std::vector<Seen>& seen, const FieldDescriptor* field, int tag_at) {
    for (Seen& s : seen) {
      if (s.field == field) return s;
    }
    seen.push_back(Seen{field, tag_at});
    return seen.back();
  }

  // Why the varint at `at`, of at most `max_bytes` bytes, cannot be read:
  // it runs past the end of its record or the data, or is too long.
  std::optional<std::string> VarintProblem(int at, int max_bytes = 10) const {
    // The reader may have moved on past `at` before giving up.
    const int in_record = Left() + (Position() - at);
    for (int i = 0; i < max_bytes && i < in_record; ++i) {
      if ((data_[at + i] & 0x80) == 0) return std::nullopt;
    }
    if (in_record < max_bytes) {
      // Inside a record or a packed block, its end comes first (a length
      // beyond the data is reported before its content is read).
      return "the number is cut off: it runs past the end of " +
             std::string(nested_ > 0 ? "its record" : "the data");
    }
    return "a number longer than " + std::to_string(max_bytes) + " bytes";
  }

  std::optional<Problem> Record(const pb::Descriptor* type, const std::string& path, int depth) {
    if (depth > kMaxDepth) {
      return Problem{Position(), path,
                     "records nested deeper than " + std::to_string(kMaxDepth) + " levels"};
    }
    std::vector<Seen> seen;
    int last_number = 0;        // the highest number of a known field so far
    int first_unknown_at = -1;  // the first field kept as unknown
    int first_unknown_number = 0;
    const std::string& record_name = type ? type->full_name() : std::string("group");
    while (Left() > 0) {
      const int tag_at = Position();
      const std::uint32_t tag = in_.ReadTagNoLastTag();
      if (tag == 0) {
        if (data_[tag_at] == 0) {
          return Problem{tag_at, path, "a zero byte where a field tag should be (field number 0 does not exist); "
                                       "the data is corrupt or padded"};
        }
        return Problem{tag_at, path, "field tag: " + VarintProblem(tag_at, 5).value_or("a number beyond 32 bits")};
      }
      // The runtime reads a tag as at most 5 bytes.
      if (Position() - tag_at > 5) return Problem{tag_at, path, "a field tag longer than 5 bytes"};
      const int number = static_cast<int>(WireFormatLite::GetTagFieldNumber(tag));
      const int wire_type = static_cast<int>(WireFormatLite::GetTagWireType(tag));
      if (number == 0) {
        return Problem{tag_at, path, "tag " + Hex2(data_[tag_at]) + " names field number 0, which does not exist"};
      }
      const FieldDescriptor* field = type ? type->FindFieldByNumber(number) : nullptr;
      Seen* entry = field != nullptr && Fits(field, wire_type) ? &SeenFor(seen, field, tag_at) : nullptr;
      FieldAt at{&path, field, number};
      // A list element is named by its index; a packed run by those of its elements.
      const bool packed_run = entry != nullptr && field->is_packable() &&
                              wire_type == WireFormatLite::WIRETYPE_LENGTH_DELIMITED;
      if (entry != nullptr && field->is_repeated() && !packed_run) at.index = entry->elements++;
      if (explain_) Order(entry, tag, tag_at, number, at, seen, &last_number, &first_unknown_at, &first_unknown_number);

      switch (wire_type) {
        case WireFormatLite::WIRETYPE_VARINT: {
          const int value_at = Position();
          std::uint64_t value;
          if (!in_.ReadVarint64(&value)) {
            return Problem{value_at, at(), VarintProblem(value_at).value_or("malformed number")};
          }
          if (explain_) {
            const std::uint64_t kept = Varint(entry, value, value_at, at);
            if (entry != nullptr) Occurrence(entry, tag_at, value_at, kept == 0);
          }
          break;
        }
        case WireFormatLite::WIRETYPE_FIXED64:
        case WireFormatLite::WIRETYPE_FIXED32: {
          const int width = wire_type == WireFormatLite::WIRETYPE_FIXED64 ? 8 : 4;
          const int value_at = Position();
          if (Left() < width) {
            return Problem{value_at, at(), "a " + std::to_string(width) + "-byte value is cut off (" +
                                               std::to_string(Left()) + " bytes left in its record)"};
          }
          in_.Skip(width);
          if (explain_ && entry != nullptr) Occurrence(entry, tag_at, value_at, FixedIsZero(entry->field, value_at));
          break;
        }
        case WireFormatLite::WIRETYPE_LENGTH_DELIMITED: {
          const int length_at = Position();
          std::uint32_t length;
          if (!in_.ReadVarint32(&length)) {
            return Problem{length_at, at(), "length: " + VarintProblem(length_at).value_or("malformed")};
          }
          // The runtime reads a length as at most 5 bytes, below 2 GiB.
          if (Position() - length_at > 5 || length > static_cast<std::uint32_t>(INT_MAX)) {
            return Problem{length_at, at(), "a length written in more than 5 bytes or over 2 GiB"};
          }
          if (length > static_cast<std::uint32_t>(Left())) {
            return Problem{length_at, at(),
                           "declared length " + std::to_string(length) + " runs past the end of " +
                               (path.empty() ? "the data" : "its record") + " (" + std::to_string(Left()) +
                               " bytes left); the data is cut short or is not a " + root_->full_name()};
          }
          if (explain_) {
            const int used = Position() - length_at;
            if (used > static_cast<int>(pb::io::CodedOutputStream::VarintSize32(length))) {
              Note(length_at, at, [&](const std::string& p) {
                return "the length of " + p + " is longer than it needs (" + Bytes(used) + " where " +
                       Bytes(static_cast<int>(pb::io::CodedOutputStream::VarintSize32(length))) + " would do)";
              });
            }
            if (packed_run) {
              if (entry->runs++ == 0) entry->first_run_at = tag_at;
            } else if (entry != nullptr && !field->is_repeated()) {
              Occurrence(entry, tag_at, length_at, length == 0);
            }
          }
          if (auto problem = Delimited(field, entry, at, static_cast<int>(length), depth)) return problem;
          break;
        }
        case WireFormatLite::WIRETYPE_START_GROUP: {
          // No field of the library is a group; an unknown one is skipped
          // whole, as the runtime keeps it.
          if (!WireFormatLite::SkipField(&in_, tag)) {
            return Problem{tag_at, at(), "a group that is not closed or holds malformed fields"};
          }
          break;
        }
        case WireFormatLite::WIRETYPE_END_GROUP:
          return Problem{tag_at, path, "an end-group tag (field " + std::to_string(number) +
                                           ") where no group is open in " + record_name};
        default:
          return Problem{tag_at, path, "tag " + Hex2(data_[tag_at]) + " has wire type " +
                                           std::to_string(wire_type) + ", which does not exist"};
      }
      if (explain_ && located_.empty() && tag_at <= locate_ && locate_ < Position()) located_ = at();
    }
    if (explain_) Gathered(seen, path);
    return std::nullopt;
  }

  // Explaining: the tag's length, and where the field stands among the
  // others (the records write the known fields in number order, each once,
  // then the unknown ones).
  void Order(const Seen* entry, std::uint32_t tag, int tag_at, int number, const FieldAt& at,
             const std::vector<Seen>& seen, int* last_number, int* first_unknown_at, int* first_unknown_number) {
    const int used = Position() - tag_at;
    if (used > static_cast<int>(pb::io::CodedOutputStream::VarintSize32(tag))) {
      Note(tag_at, at, [&](const std::string& p) {
        return "the field tag of " + p + " is longer than it needs (" + Bytes(used) + " where " +
               Bytes(static_cast<int>(pb::io::CodedOutputStream::VarintSize32(tag))) + " would do)";
      });
    } else if (used == 5 && (data_[tag_at + 4] & 0x70) != 0) {
      // A tag is 32 bits: the runtime drops what a fifth byte holds beyond.
      Note(tag_at + 4, at, [&](const std::string& p) {
        return "the field tag of " + p + " holds bits beyond 32 (its fifth byte is " + Hex2(data_[tag_at + 4]) +
               "), which the records drop: they write " + Hex2(data_[tag_at + 4] & 0x0F);
      });
    }
    if (entry == nullptr) {
      if (*first_unknown_at < 0) {
        *first_unknown_at = tag_at;
        *first_unknown_number = number;
      }
      return;
    }
    if (*first_unknown_at >= 0) {
      const FieldAt unknown{at.record, nullptr, *first_unknown_number};
      const std::string known = entry->field->name();
      Note(*first_unknown_at, unknown, [&](const std::string& p) {
        return p + ", which the schema does not know, comes before " + known +
               "; the records write unknown fields after the known ones";
      });
    }
    if (number < *last_number) {
      int from = tag_at;
      std::string later;
      for (const Seen& s : seen) {
        if (s.field->number() > number && s.first_at < from) {
          from = s.first_at;
          later = s.field->name() + " (" + std::to_string(s.field->number()) + ")";
        }
      }
      Note(from, at, [&](const std::string& p) {
        return "fields out of number order: " + p + " (" + std::to_string(number) + ") comes after " + later +
               "; the records write fields in number order";
      });
    }
    *last_number = std::max(*last_number, number);
  }

  // Explaining: a varint read for a known field (`entry`) or an unknown one.
  // Returns what the record keeps of it.
  std::uint64_t Varint(const Seen* entry, std::uint64_t value, int at, const FieldAt& where) {
    const std::uint64_t kept = entry != nullptr ? Kept(entry->field, value) : value;
    if (kept != value) {
      Note(at, where, [&](const std::string& p) { return p + " " + ValueChange(entry->field, value, kept); });
      return kept;
    }
    const int used = Position() - at;
    if (used == 10 && (data_[at + 9] & 0x7E) != 0) {
      // A varint is 64 bits: the runtime drops what a tenth byte holds beyond.
      Note(at + 9, where, [&](const std::string& p) {
        return p + " is a varint holding bits beyond 64 (its tenth byte is " + Hex2(data_[at + 9]) +
               "), which the records drop: they write " + Hex2(data_[at + 9] & 0x01);
      });
      return kept;
    }
    const int needed = static_cast<int>(pb::io::CodedOutputStream::VarintSize64(value));
    if (used > needed) {
      Note(at, where, [&](const std::string& p) {
        return p + " is a varint longer than it needs (" + Bytes(used) + " for " + std::to_string(value) +
               ", where " + Bytes(needed) + " would do)";
      });
    }
    return kept;
  }

  // Explaining: an occurrence of a field outside a packed run, its value at
  // `value_at` (a length for text and records).
  static void Occurrence(Seen* entry, int tag_at, int value_at, bool zero) {
    if (entry->field->is_repeated()) {
      if (entry->unpacked++ == 0) entry->first_unpacked_at = tag_at;
      return;
    }
    if (entry->count++ == 0) entry->first_value_at = value_at;
    entry->last_at = tag_at;
    entry->last_value_at = value_at;
    entry->last_zero = zero;
  }

  bool FixedIsZero(const FieldDescriptor* field, int at) const {
    if (field->type() == FieldDescriptor::TYPE_FLOAT) return FloatAt(at) == 0;
    if (field->type() == FieldDescriptor::TYPE_DOUBLE) return DoubleAt(at) == 0;
    const int width =
        field->type() == FieldDescriptor::TYPE_FIXED64 || field->type() == FieldDescriptor::TYPE_SFIXED64 ? 8 : 4;
    for (int i = 0; i < width; ++i) {
      if (data_[at + i] != 0) return false;
    }
    return true;
  }
  float FloatAt(int at) const {
    float value;
    std::memcpy(&value, data_ + at, sizeof value);  // little-endian, as every host of the library
    return value;
  }
  double DoubleAt(int at) const {
    double value;
    std::memcpy(&value, data_ + at, sizeof value);
    return value;
  }

  // The value of a singular field at `at`, as a message quotes it.
  std::string ValueAt(const FieldDescriptor* field, int at) const {
    pb::io::CodedInputStream in(data_ + at, size_ - at);
    switch (field->type()) {
      case FieldDescriptor::TYPE_FLOAT: return FloatText(FloatAt(at), true);
      case FieldDescriptor::TYPE_DOUBLE: return FloatText(DoubleAt(at), false);
      case FieldDescriptor::TYPE_FIXED32: {
        std::uint32_t v = 0;
        in.ReadLittleEndian32(&v);
        return std::to_string(v);
      }
      case FieldDescriptor::TYPE_SFIXED32: {
        std::uint32_t v = 0;
        in.ReadLittleEndian32(&v);
        return std::to_string(static_cast<std::int32_t>(v));
      }
      case FieldDescriptor::TYPE_FIXED64: {
        std::uint64_t v = 0;
        in.ReadLittleEndian64(&v);
        return std::to_string(v);
      }
      case FieldDescriptor::TYPE_SFIXED64: {
        std::uint64_t v = 0;
        in.ReadLittleEndian64(&v);
        return std::to_string(static_cast<std::int64_t>(v));
      }
      case FieldDescriptor::TYPE_STRING: {
        std::uint32_t length = 0;
        in.ReadVarint32(&length);
        std::string text;
        constexpr std::uint32_t kQuoted = 40;
        in.ReadString(&text, static_cast<int>(std::min(length, kQuoted)));
        return "\"" + pb::CEscape(text) + (length > kQuoted ? "...\"" : "\"");
      }
      case FieldDescriptor::TYPE_BYTES: {
        std::uint32_t length = 0;
        in.ReadVarint32(&length);
        return "of " + std::to_string(length) + (length == 1 ? " byte" : " bytes");
      }
      default: {
        std::uint64_t v = 0;
        in.ReadVarint64(&v);
        return VarintText(field, Kept(field, v));
      }
    }
  }

  // Explaining, at the end of a record: what its fields, seen whole, make
  // the records write otherwise.
  void Gathered(const std::vector<Seen>& seen, const std::string& path) {
    for (const Seen& s : seen) {
      const FieldDescriptor* field = s.field;
      const FieldAt at{&path, field, field->number()};
      if (field->is_repeated()) {
        if (!field->is_packable()) continue;
        if (!field->is_packed()) {
          if (s.runs > 0) {
            Note(s.first_run_at, at, [](const std::string& p) {
              return p + " is written packed; the records write its elements one by one";
            });
          }
        } else if (s.unpacked > 0) {
          Note(s.first_unpacked_at, at, [](const std::string& p) {
            return p + " is written unpacked, element by element; the records write the list packed";
          });
        } else if (s.runs > 1) {
          Note(s.first_run_at, at, [&](const std::string& p) {
            return p + " is split into " + std::to_string(s.runs) + " packed runs; the records write one";
          });
        } else if (s.elements == 0) {
          Note(s.first_run_at, at, [](const std::string& p) {
            return p + " is an empty packed list, which the records do not write";
          });
        }
        continue;
      }
      if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
        if (s.count > 1) {
          Note(s.first_at, at, [&](const std::string& p) {
            return p + " is given in " + std::to_string(s.count) + " parts, which the records merge into one";
          });
        }
        continue;
      }
      if (s.count == 2) {
        Note(s.first_at, at, [&](const std::string& p) {
          return p + " is given twice, the earlier value " + ValueAt(field, s.first_value_at) + " is dropped";
        });
      } else if (s.count > 2) {
        Note(s.first_at, at, [&](const std::string& p) {
          return p + " is given " + std::to_string(s.count) + " times; only the last value, " +
                 ValueAt(field, s.last_value_at) + ", is kept";
        });
      } else if (s.last_zero && !field->has_presence()) {
        Note(s.last_at, at, [&](const std::string& p) {
          if (field->cpp_type() == FieldDescriptor::CPPTYPE_STRING) {
            return p + " is given empty, which the records do not write";
          }
          if (field->type() == FieldDescriptor::TYPE_BOOL) return p + " is given false, which the records do not write";
          return p + " holds " + ValueAt(field, s.last_value_at) + ", which the records do not write";
        });
      }
    }
  }

  // A length-delimited value of `length` bytes at the current position.
  std::optional<Problem> Delimited(const FieldDescriptor* field, Seen* entry, const FieldAt& at, int length,
                                   int depth) {
    const int start = Position();
    if (field == nullptr) {
      in_.Skip(length);
      return std::nullopt;
    }
    if (field->type() == FieldDescriptor::TYPE_MESSAGE) {
      const pb::io::CodedInputStream::Limit limit = in_.PushLimit(length);
      ++nested_;
      std::optional<Problem> problem = Record(field->message_type(), at(), depth + 1);
      --nested_;
      in_.PopLimit(limit);
      return problem;
    }
    if (field->type() == FieldDescriptor::TYPE_STRING && field->file()->syntax() == pb::FileDescriptor::SYNTAX_PROTO3) {
      // Proto3 text must be UTF-8. Find the first character that is not.
      const char* text = reinterpret_cast<const char*>(data_ + start);
      for (int i = 0; i < length;) {
        int width = pb::UTF8FirstLetterNumBytes(text + i, length - i);
        if (width < 1) width = 1;
        if (width > length - i || !pb::internal::IsStructurallyValidUTF8(text + i, width)) {
          return Problem{start + i, at(),
                         "invalid UTF-8 in text field " + field->full_name() + " (byte " + Hex2(data_[start + i]) +
                             "); the text must be UTF-8: correct it where it was entered, or fix what wrote it"};
        }
        i += width;
      }
    }
    if (field->is_packable() && field->is_repeated()) {
      if (auto problem = Packed(field, entry, at, start, length)) return problem;
    }
    in_.Skip(length - (Position() - start));
    return std::nullopt;
  }

  std::optional<Problem> Packed(const FieldDescriptor* field, Seen* entry, const FieldAt& at, int start, int length) {
    const int width = [field] {
      switch (field->type()) {
        case FieldDescriptor::TYPE_FIXED32:
        case FieldDescriptor::TYPE_SFIXED32:
        case FieldDescriptor::TYPE_FLOAT: return 4;
        case FieldDescriptor::TYPE_FIXED64:
        case FieldDescriptor::TYPE_SFIXED64:
        case FieldDescriptor::TYPE_DOUBLE: return 8;
        default: return 0;
      }
    }();
    if (width > 0) {
      if (length % width != 0) {
        return Problem{start, at(), "a packed list of " + std::to_string(width) + "-byte values whose length " +
                                        std::to_string(length) + " is not a multiple of " + std::to_string(width)};
      }
      if (entry != nullptr) entry->elements += length / width;
      return std::nullopt;
    }
    const pb::io::CodedInputStream::Limit limit = in_.PushLimit(length);
    ++nested_;
    while (Left() > 0) {
      const int value_at = Position();
      std::uint64_t value;
      if (!in_.ReadVarint64(&value)) {
        const std::string why = VarintProblem(value_at).value_or("malformed number");
        --nested_;
        in_.PopLimit(limit);
        return Problem{value_at, at(), "packed list element: " + why};
      }
      if (entry != nullptr) {
        FieldAt element = at;
        element.index = entry->elements++;
        if (explain_) Varint(entry, value, value_at, element);
      }
    }
    --nested_;
    in_.PopLimit(limit);
    return std::nullopt;
  }

  const std::uint8_t* data_;
  int size_;
  const pb::Descriptor* root_;
  pb::io::CodedInputStream in_;
  int nested_ = 0;  // records and packed blocks entered
  bool explain_ = false;
  int locate_ = -1;
  std::string located_;
  std::optional<Cause> cause_;
};

// Hands what the runtime encodes to a sink. What the sink throws is kept
// and the runtime told that the write failed: an exception must not pass
// through the stream, whose destructor writes what is left.
class SinkOutput : public pb::io::CopyingOutputStream {
 public:
  explicit SinkOutput(const Sink& sink) : sink_(sink) {}
  bool Write(const void* buffer, int size) override {
    if (thrown_ != nullptr) return false;
    try {
      sink_(std::string_view(static_cast<const char*>(buffer), static_cast<std::size_t>(size)));
      return true;
    } catch (...) {
      thrown_ = std::current_exception();
      return false;
    }
  }
  void RethrowWhatTheSinkThrew() const {
    if (thrown_ != nullptr) std::rethrow_exception(thrown_);
  }

 private:
  const Sink& sink_;
  std::exception_ptr thrown_;
};

// Stretches handed to the sink: few calls, little held.
constexpr int kWriteBlock = 256 * 1024;

}  // namespace

namespace internal {

void ReadBinary(std::string_view bytes, pb::Message* record) {
  const pb::Descriptor* type = record->GetDescriptor();
  if (bytes.size() > static_cast<size_t>(INT_MAX)) {
    record->Clear();
    throw Error("", "the data is " + std::to_string(bytes.size()) +
                        " bytes long; the protobuf runtime reads at most 2 GiB");
  }
  if (record->ParseFromArray(bytes.data(), static_cast<int>(bytes.size()))) return;

  if (std::optional<Problem> problem = WireWalker(bytes, type).Run()) {
    std::string where = "byte " + std::to_string(problem->offset);
    if (!problem->path.empty()) where += " (" + problem->path + ")";
    throw Error(where, problem->message);
  }
  if (!record->IsInitialized()) {
    throw Error("", "required fields are missing: " + record->InitializationErrorString());
  }
  throw Error("", "the protobuf runtime cannot read these bytes as a " + type->full_name() +
                      "; check that they hold one");
}

EncodingCause ExplainEncoding(std::string_view bytes, const pb::Descriptor* type, std::size_t first_difference) {
  WireWalker walker(bytes, type);
  const int locate = first_difference < bytes.size() ? static_cast<int>(first_difference) : -1;
  if (std::optional<Cause> cause = walker.Explain(locate)) {
    return {std::move(cause->path), static_cast<std::size_t>(cause->from), std::move(cause->what)};
  }
  // Nothing the walk knows of: the field where the bytes start to differ.
  return {walker.located(), first_difference, ""};
}

void WriteBinary(const pb::Message& record, const Sink& sink) {
  SinkOutput output(sink);
  pb::io::CopyingOutputStreamAdaptor stream(&output, kWriteBlock);
  // Partial: a record of the library has no required fields, and nothing a
  // document holds should stop it from being written back.
  const bool written = record.SerializePartialToZeroCopyStream(&stream) && stream.Flush();
  output.RethrowWhatTheSinkThrew();
  if (!written) {
    throw Error("", "the record's encoding would be " + std::to_string(record.ByteSizeLong()) +
                        " bytes; the protobuf runtime writes at most 2 GiB");
  }
}

}  // namespace internal
}  // namespace gcuschema::document
