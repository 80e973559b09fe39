#include "formats.h"

#include <climits>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <unordered_map>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/stubs/common.h>
#include <google/protobuf/stubs/strutil.h>
#include <google/protobuf/wire_format_lite.h>

#include <gcuschema/document/error.h>

#include "field_path.h"

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
  int Position() const { return in_.CurrentPosition(); }
  int Left() const {
    const int until_limit = in_.BytesUntilLimit();
    return until_limit < 0 ? size_ - Position() : until_limit;
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
      // A field the schema does not know is named by its number.
      std::string field_path = field ? internal::JoinPath(path, field->name())
                                     : (path.empty() ? "" : path + ", ") + "field " + std::to_string(number);
      if (field && field->is_repeated() && wire_type == WireFormatLite::WIRETYPE_LENGTH_DELIMITED &&
          (field->type() == FieldDescriptor::TYPE_MESSAGE || field->type() == FieldDescriptor::TYPE_STRING ||
           field->type() == FieldDescriptor::TYPE_BYTES)) {
        field_path = internal::IndexPath(field_path, occurrences[number]++);
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
      ++nested_;
      std::optional<Problem> problem = Record(field->message_type(), path, depth + 1);
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
    ++nested_;
    while (Left() > 0) {
      const int at = Position();
      std::uint64_t value;
      if (!in_.ReadVarint64(&value)) {
        const std::string why = VarintProblem(at).value_or("malformed number");
        --nested_;
        in_.PopLimit(limit);
        return Problem{at, path, "packed list element: " + why};
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
