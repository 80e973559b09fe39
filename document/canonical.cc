#include <gcuschema/document/canonical.h>

#include <algorithm>
#include <cstring>
#include <string>

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>

#include "formats.h"

namespace gcuschema::document {
namespace {

namespace pb = google::protobuf;

// Compares what the runtime encodes with the bytes read, stretch by
// stretch, so that a large document's encoding is never held whole; stops
// the encoding at the first stretch that differs.
class ComparingOutput : public pb::io::CopyingOutputStream {
 public:
  explicit ComparingOutput(std::string_view expected) : expected_(expected) {}

  bool Write(const void* buffer, int size) override {
    const auto* written = static_cast<const char*>(buffer);
    const std::size_t n = static_cast<std::size_t>(size);
    const std::size_t comparable = std::min(n, expected_.size() - std::min(compared_, expected_.size()));
    if (comparable == n && std::memcmp(written, expected_.data() + compared_, n) == 0) {
      compared_ += n;
      return true;
    }
    std::size_t i = 0;
    while (i < comparable && written[i] == expected_[compared_ + i]) ++i;
    first_difference_ = compared_ + i;
    return false;
  }

  // The first byte that differs, when a written stretch did.
  std::optional<std::size_t> first_difference() const { return first_difference_; }
  std::size_t compared() const { return compared_; }

 private:
  std::string_view expected_;
  std::size_t compared_ = 0;
  std::optional<std::size_t> first_difference_;
};

// Stretches compared at a time: they stay in the cache between the
// encoder writing them and the comparison reading them.
constexpr int kCompareBlock = 64 * 1024;

}  // namespace

std::optional<EncodingDifference> CompareEncoding(std::string_view encoded, const pb::Message& record) {
  const std::size_t canonical_size = record.ByteSizeLong();
  ComparingOutput output(encoded);
  {
    pb::io::CopyingOutputStreamAdaptor stream(&output, kCompareBlock);
    {
      pb::io::CodedOutputStream coded(&stream);
      // The sizes were just worked out: the encoding reuses them.
      record.SerializeWithCachedSizes(&coded);
    }
    stream.Flush();
  }
  std::size_t offset;
  if (output.first_difference()) {
    offset = *output.first_difference();
  } else if (canonical_size != encoded.size()) {
    offset = std::min(canonical_size, encoded.size());  // one is the start of the other
  } else {
    return std::nullopt;
  }
  internal::EncodingCause cause = internal::ExplainEncoding(encoded, record.GetDescriptor(), offset);
  EncodingDifference difference;
  difference.offset = offset;
  difference.size = encoded.size();
  difference.canonical_size = canonical_size;
  difference.path = std::move(cause.path);
  difference.cause_offset = cause.offset;
  difference.cause = std::move(cause.what);
  return difference;
}

std::string Describe(const EncodingDifference& difference) {
  std::string text;
  if (difference.cause.empty()) {
    text = "the records write " + (difference.path.empty() ? std::string("it") : difference.path) + " otherwise";
  } else {
    text = difference.cause;
  }
  if (difference.cause_offset != difference.offset) text += " (at byte " + std::to_string(difference.cause_offset) + ")";
  return text + "; encoded again, the " + std::to_string(difference.size) + " bytes read become " +
         std::to_string(difference.canonical_size) + ", differing from byte " + std::to_string(difference.offset) +
         " on";
}

}  // namespace gcuschema::document
