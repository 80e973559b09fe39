// Memory an input is read into whole: left as it is until the read fills
// it (a large file is not written twice, once with zeros), and followed by
// bytes the JSON reader may read past the end, so that it reads the text
// where it stands instead of copying it.
#ifndef GCUSCHEMA_TOOL_READ_BUFFER_H
#define GCUSCHEMA_TOOL_READ_BUFFER_H

#include <cstddef>
#include <string_view>

#include <gcuschema/document/io.h>

namespace gcuschema::tool {

class ReadBuffer {
 public:
  // Bytes after the contents that may be read (zeros).
  static constexpr std::size_t kReadableAfter = document::kJsonReadAhead;

  ReadBuffer() = default;
  ~ReadBuffer();
  ReadBuffer(ReadBuffer&& other) noexcept;
  ReadBuffer& operator=(ReadBuffer&& other) noexcept;
  ReadBuffer(const ReadBuffer&) = delete;
  ReadBuffer& operator=(const ReadBuffer&) = delete;

  // Room for `capacity` bytes of contents, the first size() kept. Throws
  // std::bad_alloc.
  void Reserve(std::size_t capacity);
  std::size_t capacity() const { return capacity_; }
  char* data() { return data_; }
  // The first `size` bytes are the contents.
  void Resize(std::size_t size);
  std::size_t size() const { return size_; }

  std::string_view bytes() const { return {data_, size_}; }

 private:
  char* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace gcuschema::tool

#endif
