#include <gcuschema/document/binary.h>
#include <gcuschema/document/memory.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

namespace gcuschema::document {
namespace {

// Blocks grow from small (short outputs stay small) to a size at which
// allocating them is negligible beside filling them.
constexpr std::size_t kFirstBlockSize = 16 * 1024;
constexpr std::size_t kLargestBlockSize = 4 * 1024 * 1024;

char* NewBlock(std::size_t size) {
  // Uninitialized: every byte handed out is written before it is read.
  void* block = AllocateBlock(size);
  if (block == nullptr) throw std::bad_alloc();
  return static_cast<char*>(block);
}

void DeleteBlock(char* start, std::size_t size) { FreeBlock(start, size); }

}  // namespace

TextPieces::TextPieces() : next_block_size_(kFirstBlockSize) {}
TextPieces::TextPieces(std::size_t first_block_size)
    : next_block_size_(first_block_size == 0 ? kFirstBlockSize : first_block_size) {}
TextPieces::~TextPieces() { Release(); }

void TextPieces::Release() {
  for (const auto& [start, size] : blocks_) DeleteBlock(start, size);
  for (const auto& [start, size] : spare_) DeleteBlock(start, size);
  blocks_.clear();
  spare_.clear();
}

TextPieces::TextPieces(TextPieces&& other) noexcept
    : blocks_(std::move(other.blocks_)),
      spare_(std::move(other.spare_)),
      pieces_(std::move(other.pieces_)),
      size_(other.size_),
      next_block_size_(other.next_block_size_),
      room_(other.room_),
      room_size_(other.room_size_) {
  other.blocks_.clear();
  other.spare_.clear();
  other.pieces_.clear();
  other.size_ = 0;
  other.next_block_size_ = kFirstBlockSize;
  other.room_ = nullptr;
  other.room_size_ = 0;
}

TextPieces& TextPieces::operator=(TextPieces&& other) noexcept {
  if (this != &other) {
    TextPieces moved(std::move(other));
    std::swap(blocks_, moved.blocks_);
    std::swap(spare_, moved.spare_);
    std::swap(pieces_, moved.pieces_);
    std::swap(size_, moved.size_);
    std::swap(next_block_size_, moved.next_block_size_);
    std::swap(room_, moved.room_);
    std::swap(room_size_, moved.room_size_);
  }
  return *this;
}

std::string TextPieces::ToString() const {
  std::string out;
  out.reserve(size_);
  for (std::string_view piece : pieces_) out.append(piece.data(), piece.size());
  return out;
}

void TextPieces::Extend(const char* start, std::size_t length) {
  if (length == 0) return;
  // Written right after the previous piece (in the same block): one piece.
  if (!pieces_.empty() && pieces_.back().data() + pieces_.back().size() == start) {
    pieces_.back() = std::string_view(pieces_.back().data(), pieces_.back().size() + length);
  } else {
    pieces_.emplace_back(start, length);
  }
  size_ += length;
}

char* TextPieces::Grab(std::size_t at_least, std::size_t* size) {
  if (room_size_ < at_least || room_size_ == 0) {
    blocks_.reserve(blocks_.size() + 1);
    if (!spare_.empty() && spare_.back().second >= at_least) {
      blocks_.push_back(spare_.back());
      spare_.pop_back();
    } else {
      const std::size_t block_size = std::max(next_block_size_, at_least);
      next_block_size_ = std::min(next_block_size_ * 2, kLargestBlockSize);
      blocks_.emplace_back(NewBlock(block_size), block_size);
    }
    room_ = blocks_.back().first;
    room_size_ = blocks_.back().second;
  }
  char* start = room_;
  *size = room_size_;
  Extend(start, room_size_);
  room_ += room_size_;
  room_size_ = 0;
  return start;
}

void TextPieces::Unwrite(std::size_t count) {
  if (count == 0) return;
  std::string_view& last = pieces_.back();
  last = std::string_view(last.data(), last.size() - count);
  size_ -= count;
  room_ -= count;
  room_size_ += count;
  if (last.empty()) pieces_.pop_back();
}

void TextPieces::Append(std::string_view text) {
  while (!text.empty()) {
    if (room_size_ == 0) {
      std::size_t size;
      Grab(std::min(text.size(), kLargestBlockSize), &size);
      Unwrite(size);
    }
    const std::size_t n = std::min(text.size(), room_size_);
    std::memcpy(room_, text.data(), n);
    Extend(room_, n);
    room_ += n;
    room_size_ -= n;
    text.remove_prefix(n);
  }
}

void TextPieces::Reuse(TextPieces&& written) {
  if (&written == this) return;
  spare_.reserve(spare_.size() + written.blocks_.size() + written.spare_.size());
  spare_.insert(spare_.end(), written.spare_.begin(), written.spare_.end());
  spare_.insert(spare_.end(), written.blocks_.begin(), written.blocks_.end());
  written.blocks_.clear();
  written.spare_.clear();
  written.pieces_.clear();
  written.size_ = 0;
  written.room_ = nullptr;
  written.room_size_ = 0;
}

void TextPieces::Append(TextPieces&& other) {
  if (&other == this || other.pieces_.empty()) return;
  // Room first, so that nothing below throws with the blocks owned twice.
  blocks_.reserve(blocks_.size() + other.blocks_.size());
  pieces_.reserve(pieces_.size() + other.pieces_.size());
  blocks_.insert(blocks_.end(), other.blocks_.begin(), other.blocks_.end());
  pieces_.insert(pieces_.end(), other.pieces_.begin(), other.pieces_.end());
  size_ += other.size_;
  // What follows is written after the other's text: its free room is lost.
  room_ = other.room_;
  room_size_ = other.room_size_;
  other.blocks_.clear();
  other.pieces_.clear();
  other.size_ = 0;
  other.room_ = nullptr;
  other.room_size_ = 0;
}

}  // namespace gcuschema::document
