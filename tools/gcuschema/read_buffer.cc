#include "read_buffer.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace gcuschema::tool {

ReadBuffer::~ReadBuffer() { std::free(data_); }

ReadBuffer::ReadBuffer(ReadBuffer&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)),
      size_(std::exchange(other.size_, 0)),
      capacity_(std::exchange(other.capacity_, 0)) {}

ReadBuffer& ReadBuffer::operator=(ReadBuffer&& other) noexcept {
  if (this != &other) {
    std::free(data_);
    data_ = std::exchange(other.data_, nullptr);
    size_ = std::exchange(other.size_, 0);
    capacity_ = std::exchange(other.capacity_, 0);
  }
  return *this;
}

void ReadBuffer::Reserve(std::size_t capacity) {
  if (capacity <= capacity_) return;
  // realloc moves a large block by remapping it rather than copying.
  void* grown = std::realloc(data_, capacity + kReadableAfter);
  if (grown == nullptr) throw std::bad_alloc();
  data_ = static_cast<char*>(grown);
  capacity_ = capacity;
}

void ReadBuffer::Resize(std::size_t size) {
  Reserve(size);
  size_ = size;
  std::memset(data_ + size_, 0, kReadableAfter);
}

}  // namespace gcuschema::tool
