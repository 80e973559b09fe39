// Protobuf's binary encoding, built as the JSON reader meets values. The
// record is filled at the end by one parse of these bytes through its
// class, far cheaper than setting field after field by reflection, and
// only once the whole text has been read without error.
#ifndef GCUSCHEMA_DOCUMENT_JSON_WIRE_H
#define GCUSCHEMA_DOCUMENT_JSON_WIRE_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace gcuschema::document::internal {

enum class WireType : std::uint32_t { kVarint = 0, kFixed64 = 1, kLength = 2, kFixed32 = 5 };

class Wire {
 public:
  const std::string& bytes() const { return bytes_; }
  std::string* mutable_bytes() { return &bytes_; }
  std::size_t size() const { return bytes_.size(); }
  void Truncate(std::size_t size) { bytes_.resize(size); }
  void Reserve(std::size_t size) { bytes_.reserve(size); }

  void Tag(std::uint32_t number, WireType type) {
    Varint((static_cast<std::uint64_t>(number) << 3) | static_cast<std::uint32_t>(type));
  }

  void Varint(std::uint64_t value) {
    if (value < 0x80) {
      bytes_.push_back(static_cast<char>(value));
      return;
    }
    char buffer[10];
    const std::size_t n = Encode(value, buffer);
    bytes_.append(buffer, n);
  }

  void Fixed32(std::uint32_t value) {
    char buffer[4];
    for (int i = 0; i < 4; ++i) buffer[i] = static_cast<char>(value >> (8 * i));
    bytes_.append(buffer, 4);
  }

  void Fixed64(std::uint64_t value) {
    char buffer[8];
    for (int i = 0; i < 8; ++i) buffer[i] = static_cast<char>(value >> (8 * i));
    bytes_.append(buffer, 8);
  }

  void Append(std::string_view bytes) { bytes_.append(bytes.data(), bytes.size()); }

  // A length-delimited value whose length is known only at its end: Open
  // before its bytes (returns where they start), Close after them.
  std::size_t Open() {
    bytes_.push_back('\0');
    return bytes_.size();
  }
  void Close(std::size_t start) {
    const std::size_t length = bytes_.size() - start;
    if (length < 0x80) {
      bytes_[start - 1] = static_cast<char>(length);
      return;
    }
    char buffer[10];
    const std::size_t n = Encode(length, buffer);
    bytes_.replace(start - 1, 1, buffer, n);
  }

 private:
  static std::size_t Encode(std::uint64_t value, char* out) {
    std::size_t n = 0;
    while (value >= 0x80) {
      out[n++] = static_cast<char>(value | 0x80);
      value >>= 7;
    }
    out[n++] = static_cast<char>(value);
    return n;
  }

  std::string bytes_;
};

}  // namespace gcuschema::document::internal

#endif
