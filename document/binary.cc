#include <gcuschema/document/binary.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/tokenizer.h>
#include <google/protobuf/stubs/common.h>
#include <google/protobuf/stubs/strutil.h>
#include <google/protobuf/text_format.h>
#include <google/protobuf/wire_format_lite.h>

#include <gcuschema/document/error.h>

#include "parallel.h"

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

// Walks encoded bytes along the record's descriptor, checking what the
// runtime's parser checks, to say where they stop making sense.
class WireWalker {
 public:
  WireWalker(std::string_view bytes, const pb::Descriptor* root)
      : data_(reinterpret_cast<const std::uint8_t*>(bytes.data())),
        size_(static_cast<int>(bytes.size())),
        root_(root),
        in_(data_, size_) {}

  std::optional<Problem> Run() { return Record(root_, "", 0); }

 private:
  static std::string Join(const std::string& path, const std::string& name) {
    return path.empty() ? name : path + "." + name;
  }

  int Position() const { return in_.CurrentPosition(); }
  int Left() const {
    const int until_limit = in_.BytesUntilLimit();
    return until_limit < 0 ? size_ - Position() : until_limit;
  }

  // Reads a varint at the current position; on failure says why.
  std::optional<std::string> VarintProblem(int at) const {
    const int left = size_ - at;
    const int in_record = Left();
    for (int i = 0; i < 10 && i < in_record; ++i) {
      if ((data_[at + i] & 0x80) == 0) return std::nullopt;
    }
    if (in_record < 10 && in_record <= left) {
      return "the number is cut off: it runs past the end of " +
             std::string(in_record < left ? "its record" : "the data");
    }
    return std::string("a number longer than 10 bytes");
  }

  std::optional<Problem> Record(const pb::Descriptor* type, const std::string& path, int depth) {
    if (depth > kMaxDepth) {
      return Problem{Position(), path,
                     "records nested deeper than " + std::to_string(kMaxDepth) + " levels"};
    }
    std::unordered_map<int, int> occurrences;  // repeated fields: the next element's index
    const std::string& record_name = type ? type->full_name() : std::string("group");
    while (Left() > 0) {
      const int tag_at = Position();
      const std::uint32_t tag = in_.ReadTagNoLastTag();
      if (tag == 0) {
        if (data_[tag_at] == 0) {
          return Problem{tag_at, path, "a zero byte where a field tag should be (field number 0 does not exist); "
                                       "the data is corrupt or padded"};
        }
        return Problem{tag_at, path, "field tag: " + VarintProblem(tag_at).value_or("longer than 5 bytes")};
      }
      // The runtime reads a tag as at most 5 bytes.
      if (Position() - tag_at > 5) return Problem{tag_at, path, "a field tag longer than 5 bytes"};
      const int number = static_cast<int>(WireFormatLite::GetTagFieldNumber(tag));
      const int wire_type = static_cast<int>(WireFormatLite::GetTagWireType(tag));
      if (number == 0) {
        return Problem{tag_at, path, "tag " + Hex2(data_[tag_at]) + " names field number 0, which does not exist"};
      }
      const FieldDescriptor* field = type ? type->FindFieldByNumber(number) : nullptr;
      // A field the schema does not know is named by its number.
      std::string field_path = field ? Join(path, field->name())
                                     : (path.empty() ? "" : path + ", ") + "field " + std::to_string(number);
      if (field && field->is_repeated() && wire_type == WireFormatLite::WIRETYPE_LENGTH_DELIMITED &&
          (field->type() == FieldDescriptor::TYPE_MESSAGE || field->type() == FieldDescriptor::TYPE_STRING ||
           field->type() == FieldDescriptor::TYPE_BYTES)) {
        field_path += "[" + std::to_string(occurrences[number]++) + "]";
      }

      switch (wire_type) {
        case WireFormatLite::WIRETYPE_VARINT: {
          const int at = Position();
          std::uint64_t value;
          if (!in_.ReadVarint64(&value)) return Problem{at, field_path, VarintProblem(at).value_or("malformed number")};
          break;
        }
        case WireFormatLite::WIRETYPE_FIXED64:
        case WireFormatLite::WIRETYPE_FIXED32: {
          const int width = wire_type == WireFormatLite::WIRETYPE_FIXED64 ? 8 : 4;
          const int at = Position();
          if (Left() < width) {
            return Problem{at, field_path, "a " + std::to_string(width) + "-byte value is cut off (" +
                                               std::to_string(Left()) + " bytes left in its record)"};
          }
          in_.Skip(width);
          break;
        }
        case WireFormatLite::WIRETYPE_LENGTH_DELIMITED: {
          const int length_at = Position();
          std::uint32_t length;
          if (!in_.ReadVarint32(&length)) {
            return Problem{length_at, field_path, "length: " + VarintProblem(length_at).value_or("malformed")};
          }
          // The runtime reads a length as at most 5 bytes, below 2 GiB.
          if (Position() - length_at > 5 || length > static_cast<std::uint32_t>(INT_MAX)) {
            return Problem{length_at, field_path, "a length written in more than 5 bytes or over 2 GiB"};
          }
          if (length > static_cast<std::uint32_t>(Left())) {
            return Problem{length_at, field_path,
                           "declared length " + std::to_string(length) + " runs past the end of " +
                               (path.empty() ? "the data" : "its record") + " (" + std::to_string(Left()) +
                               " bytes left); the data is cut short or is not a " + root_->full_name()};
          }
          if (auto problem = Delimited(field, field_path, static_cast<int>(length), depth)) return problem;
          break;
        }
        case WireFormatLite::WIRETYPE_START_GROUP: {
          // No field of the library is a group; an unknown one is skipped
          // whole, as the runtime keeps it.
          if (!WireFormatLite::SkipField(&in_, tag)) {
            return Problem{tag_at, field_path, "a group that is not closed or holds malformed fields"};
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
    }
    return std::nullopt;
  }

  // A length-delimited value of `length` bytes at the current position.
  std::optional<Problem> Delimited(const FieldDescriptor* field, const std::string& path, int length, int depth) {
    const int start = Position();
    if (field == nullptr) {
      in_.Skip(length);
      return std::nullopt;
    }
    if (field->type() == FieldDescriptor::TYPE_MESSAGE) {
      const pb::io::CodedInputStream::Limit limit = in_.PushLimit(length);
      std::optional<Problem> problem = Record(field->message_type(), path, depth + 1);
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
          return Problem{start + i, path,
                         "invalid UTF-8 in text field " + field->full_name() + " (byte " + Hex2(data_[start + i]) +
                             "); the text must be UTF-8: correct it where it was entered, or fix what wrote it"};
        }
        i += width;
      }
    }
    if (field->is_packable() && field->is_repeated()) {
      if (auto problem = Packed(field, path, start, length)) return problem;
    }
    in_.Skip(length - (Position() - start));
    return std::nullopt;
  }

  std::optional<Problem> Packed(const FieldDescriptor* field, const std::string& path, int start, int length) {
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
        return Problem{start, path, "a packed list of " + std::to_string(width) + "-byte values whose length " +
                                        std::to_string(length) + " is not a multiple of " + std::to_string(width)};
      }
      return std::nullopt;
    }
    const pb::io::CodedInputStream::Limit limit = in_.PushLimit(length);
    while (Left() > 0) {
      const int at = Position();
      std::uint64_t value;
      if (!in_.ReadVarint64(&value)) {
        const std::string why = VarintProblem(at).value_or("malformed number");
        in_.PopLimit(limit);
        return Problem{at, path, "packed list element: " + why};
      }
    }
    in_.PopLimit(limit);
    return std::nullopt;
  }

  const std::uint8_t* data_;
  int size_;
  const pb::Descriptor* root_;
  pb::io::CodedInputStream in_;
};

// Keeps the first error of the text parser, with its position.
class FirstError : public pb::io::ErrorCollector {
 public:
  void AddError(int line, pb::io::ColumnNumber column, const std::string& message) override {
    if (seen_) return;
    seen_ = true;
    line_ = line;
    column_ = column;
    message_ = message;
  }
  void AddWarning(int, pb::io::ColumnNumber, const std::string&) override {}

  bool seen() const { return seen_; }
  int line() const { return line_; }
  int column() const { return column_; }
  const std::string& message() const { return message_; }

 private:
  bool seen_ = false;
  int line_ = 0;
  int column_ = 0;
  std::string message_;
};

// Below these sizes a document is read or printed on the calling thread:
// the work would not repay starting others.
constexpr std::size_t kParallelBytes = 512 * 1024;
constexpr std::int64_t kParallelElements = 512;
// Shares per thread when printing: enough to even out unequal elements;
// and at least so many that, written as they are done, the memory of the
// first is filled again by the later ones.
constexpr int kSharesPerThread = 4;
constexpr int kStreamShares = 16;

bool IsWordChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

// Whether `word` occurs in `text` as a whole word: wherever the text
// names a field `word`, and possibly more (inside strings, comments or
// deeper records).
bool ContainsWord(std::string_view text, std::string_view word) {
  for (std::size_t at = text.find(word); at != std::string_view::npos; at = text.find(word, at + 1)) {
    const bool starts = at == 0 || !IsWordChar(text[at - 1]);
    const bool ends = at + word.size() == text.size() || !IsWordChar(text[at + word.size()]);
    if (starts && ends) return true;
  }
  return false;
}

// Text cut into `count` chunks at line starts that begin with a name, as
// the printer starts each top-level field. Whether a cut really falls
// between top-level fields shows when each chunk parses as a record: a
// line end ends every token of valid text (strings cannot span lines, and
// comments end there), so chunks that parse are whole fields.
std::vector<std::string_view> CutText(std::string_view text, int count) {
  std::vector<std::string_view> chunks;
  std::size_t start = 0;
  for (int k = 1; k < count; ++k) {
    std::size_t at = std::max(start + 1, text.size() / count * k);
    std::size_t cut = std::string_view::npos;
    while (at < text.size()) {
      const std::size_t line_end = text.find('\n', at - 1);
      if (line_end == std::string_view::npos || line_end + 1 >= text.size()) break;
      const char first = text[line_end + 1];
      if (std::isalpha(static_cast<unsigned char>(first)) || first == '_') {
        cut = line_end + 1;
        break;
      }
      at = line_end + 2;
    }
    if (cut == std::string_view::npos) break;
    chunks.push_back(text.substr(start, cut - start));
    start = cut;
  }
  chunks.push_back(text.substr(start));
  return chunks;
}

void ParseTextAlone(std::string_view text, pb::Message* record) {
  FirstError errors;
  pb::TextFormat::Parser parser;
  parser.RecordErrorsTo(&errors);
  pb::io::ArrayInputStream input(text.data(), static_cast<int>(text.size()));
  if (parser.Parse(&input, record)) return;
  if (!errors.seen()) throw Error("", "the text is not a valid " + record->GetDescriptor()->full_name());
  std::string message = errors.message();
  // The text printer writes unknown fields by number; the parser cannot
  // read them back.
  const std::string number_instead = "Expected identifier, got: ";
  if (message.rfind(number_instead, 0) == 0 && message.size() > number_instead.size() &&
      std::isdigit(static_cast<unsigned char>(message[number_instead.size()]))) {
    message += "; fields the schema does not know (printed by number) cannot be read from text: "
               "use JSON, which keeps them as \"@unknown\", or the binary form";
  }
  // The parser counts lines and columns from 0.
  throw Error("line " + std::to_string(errors.line() + 1) + ", column " + std::to_string(errors.column() + 1),
              message);
}

// Records parsed from consecutive chunks of one input: chunk 0 into the
// caller's record, the others into records of its own.
class Chunks {
 public:
  Chunks(pb::Message* record, std::size_t count) : records_(count, record) {
    for (std::size_t j = 1; j < count; ++j) records_[j] = internal::NewLike(*record);
  }
  ~Chunks() {
    for (std::size_t j = 1; j < records_.size(); ++j) internal::DeleteLike(*records_[0], records_[j]);
  }
  Chunks(const Chunks&) = delete;
  Chunks& operator=(const Chunks&) = delete;

  std::size_t size() const { return records_.size(); }
  pb::Message* operator[](std::size_t j) const { return records_[j]; }

  // Appends the later chunks to the first, in order.
  void Join() {
    for (std::size_t j = 1; j < records_.size(); ++j) internal::MoveAppend(records_[j], records_[0]);
  }

 private:
  std::vector<pb::Message*> records_;
};

// Whether appending the chunks' records gives what one parse of the whole
// text gives. Within a chunk the parser applies its own rules; across
// chunks, a non-repeated field (or a member of a oneof) named in a chunk
// after an earlier one set it makes one parse fail. Fields that track
// presence show when set; a field without presence set to its default
// shows only in the text, so a later chunk naming such a field at all
// counts as naming it.
bool ChunksAgree(const Chunks& chunks, const std::vector<std::string_view>& texts) {
  std::set<const FieldDescriptor*> set_before;
  std::set<const pb::OneofDescriptor*> oneofs_before;
  std::vector<const FieldDescriptor*> without_presence;
  for (std::size_t j = 0; j < chunks.size(); ++j) {
    const pb::Message& record = *chunks[j];
    const pb::Reflection* reflection = record.GetReflection();
    std::vector<const FieldDescriptor*> fields;
    reflection->ListFields(record, &fields);
    for (const FieldDescriptor* field : fields) {
      if (field->is_repeated()) continue;
      if (set_before.count(field) != 0) return false;
      if (field->containing_oneof() != nullptr && oneofs_before.count(field->containing_oneof()) != 0) return false;
    }
    if (j > 0) {
      for (const FieldDescriptor* field : without_presence) {
        if (ContainsWord(texts[j], field->name())) return false;
      }
    }
    for (const FieldDescriptor* field : fields) {
      if (field->is_repeated()) continue;
      set_before.insert(field);
      if (field->containing_oneof() != nullptr) oneofs_before.insert(field->containing_oneof());
      if (!field->has_presence()) without_presence.push_back(field);
    }
  }
  return true;
}

// The top-level fields of encoded bytes: where each starts and its number.
// Empty when the bytes are not a plain sequence of fields (a group, a
// malformed tag or length): then they are left to one parse.
struct FieldStart {
  std::size_t offset;
  int number;
};

bool ReadVarint(const std::uint8_t* data, std::size_t size, std::size_t* at, std::uint64_t* value, int max_bytes) {
  *value = 0;
  for (int i = 0; i < max_bytes && *at < size; ++i) {
    const std::uint8_t byte = data[(*at)++];
    *value |= static_cast<std::uint64_t>(byte & 0x7F) << (7 * i);
    if ((byte & 0x80) == 0) return true;
  }
  return false;
}

std::vector<FieldStart> TopLevelFields(std::string_view bytes) {
  const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
  const std::size_t size = bytes.size();
  std::vector<FieldStart> starts;
  std::size_t at = 0;
  while (at < size) {
    const std::size_t start = at;
    std::uint64_t tag;
    if (!ReadVarint(data, size, &at, &tag, 5) || tag > 0xFFFFFFFFu) return {};
    const int number = static_cast<int>(tag >> 3);
    if (number == 0) return {};
    std::uint64_t skip = 0;
    switch (tag & 7) {
      case WireFormatLite::WIRETYPE_VARINT: {
        std::uint64_t value;
        if (!ReadVarint(data, size, &at, &value, 10)) return {};
        break;
      }
      case WireFormatLite::WIRETYPE_FIXED64: skip = 8; break;
      case WireFormatLite::WIRETYPE_FIXED32: skip = 4; break;
      case WireFormatLite::WIRETYPE_LENGTH_DELIMITED:
        if (!ReadVarint(data, size, &at, &skip, 5) || skip > static_cast<std::uint64_t>(INT_MAX)) return {};
        break;
      default: return {};
    }
    if (skip > size - at) return {};
    at += skip;
    starts.push_back({start, number});
  }
  return starts;
}

}  // namespace

void ParseBinary(std::string_view bytes, pb::Message* record) {
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

void ParseBinary(std::string_view bytes, pb::Message* record, int threads) {
  threads = internal::ThreadCount(threads);
  if (threads <= 1 || bytes.size() < kParallelBytes || bytes.size() > static_cast<size_t>(INT_MAX) ||
      !internal::CanShare(*record)) {
    ParseBinary(bytes, record);
    return;
  }
  // Cut between top-level fields near equal byte counts. Parsing the
  // pieces and appending them gives the record one parse gives, provided
  // no non-repeated field (nor oneof) turns up in two pieces: one parse
  // would let the later value win (or merge a record), which appending
  // does not do.
  const std::vector<FieldStart> starts = TopLevelFields(bytes);
  std::vector<std::size_t> cuts{0};
  for (const FieldStart& start : starts) {
    if (start.offset >= bytes.size() / threads * cuts.size() && start.offset > cuts.back() &&
        static_cast<int>(cuts.size()) < threads) {
      cuts.push_back(start.offset);
    }
  }
  if (cuts.size() < 2) {
    ParseBinary(bytes, record);
    return;
  }
  const pb::Descriptor* type = record->GetDescriptor();
  std::map<const void*, std::size_t> last_piece;  // non-repeated field or oneof: the piece it was last seen in
  std::size_t piece = 0;
  for (const FieldStart& start : starts) {
    while (piece + 1 < cuts.size() && start.offset >= cuts[piece + 1]) ++piece;
    const FieldDescriptor* field = type->FindFieldByNumber(start.number);
    if (field == nullptr || field->is_repeated()) continue;
    const void* key = field->containing_oneof() != nullptr ? static_cast<const void*>(field->containing_oneof())
                                                           : static_cast<const void*>(field);
    auto [seen, fresh] = last_piece.emplace(key, piece);
    if (!fresh && seen->second != piece) {
      ParseBinary(bytes, record);
      return;
    }
  }

  Chunks chunks(record, cuts.size());
  std::vector<char> parsed(cuts.size(), 0);
  internal::ForEachIndex(static_cast<int>(cuts.size()), threads, [&](int j) {
    const std::size_t end = j + 1 < static_cast<int>(cuts.size()) ? cuts[j + 1] : bytes.size();
    parsed[j] = chunks[j]->ParseFromArray(bytes.data() + cuts[j], static_cast<int>(end - cuts[j]));
  });
  if (std::find(parsed.begin(), parsed.end(), 0) != parsed.end()) {
    ParseBinary(bytes, record);  // the whole, for its diagnosis
    return;
  }
  chunks.Join();
}

std::string ToText(const pb::Message& record) {
  TextPieces out;
  internal::PiecesOutput stream(&out);
  pb::TextFormat::Printer().Print(record, &stream);
  return out.ToString();
}

namespace {

// Prints `record` in units handed to `write` in order (see StreamUnits).
void PrintUnits(pb::Message* record, int threads, const std::function<void(TextPieces*)>& write) {
  threads = internal::ThreadCount(threads);
  const pb::TextFormat::Printer printer;
  std::int64_t elements = 0;
  if (internal::CanShare(*record)) {
    const pb::Reflection* reflection = record->GetReflection();
    std::vector<const FieldDescriptor*> fields;
    reflection->ListFields(*record, &fields);
    for (const FieldDescriptor* field : fields) {
      elements += field->is_repeated() ? reflection->FieldSize(*record, field) : 1;
    }
  }
  if (elements < kParallelElements) {
    TextPieces out;
    {
      internal::PiecesOutput stream(&out);
      printer.Print(*record, &stream);
    }
    write(&out);
    return;
  }
  // The printer writes the top-level fields in number order, each on lines
  // of its own, and the unknown fields last: shares of them, printed apart
  // and put one after the other, give the same text. Even on one thread,
  // shares let the memory of those written be filled again.
  internal::Lender lender(record, std::max(kStreamShares, threads * kSharesPerThread));
  internal::StreamUnits(
      lender.size(), threads, internal::kShareBlockSize,
      [&](int k, TextPieces* text) {
        internal::PiecesOutput stream(text);
        printer.Print(lender.share(k), &stream);
      },
      write);
}

}  // namespace

TextPieces PrintText(pb::Message* record, int threads) {
  TextPieces out;
  PrintUnits(record, threads, [&out](TextPieces* text) { out.Append(std::move(*text)); });
  return out;
}

void PrintText(pb::Message* record, const TextWriter& write, int threads) {
  PrintUnits(record, threads, [&write](TextPieces* text) { write(text->pieces()); });
}

void FromText(std::string_view text, pb::Message* record) {
  if (text.size() > static_cast<size_t>(INT_MAX)) {
    throw Error("", "the text is too large to read (over 2 GiB)");
  }
  ParseTextAlone(text, record);
}

void FromText(std::string_view text, pb::Message* record, int threads) {
  threads = internal::ThreadCount(threads);
  if (threads <= 1 || text.size() < kParallelBytes || text.size() > static_cast<size_t>(INT_MAX) ||
      !internal::CanShare(*record)) {
    FromText(text, record);
    return;
  }
  const std::vector<std::string_view> texts = CutText(text, threads);
  if (texts.size() < 2) {
    FromText(text, record);
    return;
  }
  Chunks chunks(record, texts.size());
  std::vector<char> parsed(texts.size(), 0);
  internal::ForEachIndex(static_cast<int>(texts.size()), threads, [&](int j) {
    FirstError quiet;  // a chunk's errors are not the text's: those come from one parse
    pb::TextFormat::Parser parser;
    parser.RecordErrorsTo(&quiet);
    pb::io::ArrayInputStream input(texts[j].data(), static_cast<int>(texts[j].size()));
    parsed[j] = parser.Parse(&input, chunks[j]);
  });
  if (std::find(parsed.begin(), parsed.end(), 0) != parsed.end() || !ChunksAgree(chunks, texts)) {
    FromText(text, record);
    return;
  }
  chunks.Join();
}

}  // namespace gcuschema::document
