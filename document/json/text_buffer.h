// Text appended at a cursor into a string: the string is sized ahead of the
// text in large steps, so that an append is a bounds check and a copy rather
// than a call into the string that checks and writes its length each time.
#ifndef GCUSCHEMA_DOCUMENT_JSON_TEXT_BUFFER_H
#define GCUSCHEMA_DOCUMENT_JSON_TEXT_BUFFER_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace gcuschema::document::internal {

class TextBuffer {
 public:
  // Appends to what `storage` holds (null: nothing, until Reset). Until
  // Settle() or the end of the buffer, the string holds room beyond the text.
  explicit TextBuffer(std::string* storage) : storage_(storage), used_(storage ? storage->size() : 0) {}
  ~TextBuffer() {
    if (storage_ != nullptr) Settle();
  }
  TextBuffer(const TextBuffer&) = delete;
  TextBuffer& operator=(const TextBuffer&) = delete;

  // At least `n` bytes to write at; Advance() says how many were written.
  char* Room(std::size_t n) {
    if (storage_->size() - used_ < n) Grow(n);
    return storage_->data() + used_;
  }
  void Advance(const char* end) { used_ = static_cast<std::size_t>(end - storage_->data()); }

  void push_back(char c) {
    *Room(1) = c;
    ++used_;
  }
  void append(std::string_view text) {
    std::memcpy(Room(text.size()), text.data(), text.size());
    used_ += text.size();
  }

  std::size_t size() const { return used_; }
  bool empty() const { return used_ == 0; }
  void clear() { used_ = 0; }
  operator std::string_view() const { return std::string_view(storage_->data(), used_); }

  // Cuts the string to the text.
  void Settle() { storage_->resize(used_); }

 private:
  // At least doubles the room, so that a long text is copied a few times only.
  void Grow(std::size_t n) { storage_->resize(std::max(used_ + n, 2 * storage_->size())); }

  std::string* storage_;
  std::size_t used_;
};

}  // namespace gcuschema::document::internal

#endif
