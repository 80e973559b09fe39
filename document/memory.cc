#include <gcuschema/document/memory.h>

#if !defined(_WIN32)
#include <sys/mman.h>
#endif

#include <cstdint>
#include <cstdlib>

namespace gcuschema::document {

#if defined(_WIN32)

// Windows: plain heap blocks of any size.
void* AllocateBlock(std::size_t size) { return std::malloc(size); }

void FreeBlock(void* block, std::size_t) { std::free(block); }

#else

void* AllocateBlock(std::size_t size) {
  if (size < kLargeBlockSize) return std::malloc(size);
  // Only whole, aligned 2 MiB stretches can be huge pages: map one spare
  // stretch and trim the mapping to start on a boundary.
  void* start = ::mmap(nullptr, size + kLargeBlockSize, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (start == MAP_FAILED) return nullptr;
  const auto address = reinterpret_cast<std::uintptr_t>(start);
  const std::uintptr_t aligned = (address + kLargeBlockSize - 1) & ~(kLargeBlockSize - 1);
  if (aligned > address) ::munmap(start, aligned - address);
  if (address + kLargeBlockSize > aligned) {
    ::munmap(reinterpret_cast<void*>(aligned + size), address + kLargeBlockSize - aligned);
  }
  ::madvise(reinterpret_cast<void*>(aligned), size, MADV_HUGEPAGE);
  return reinterpret_cast<void*>(aligned);
}

void FreeBlock(void* block, std::size_t size) {
  if (size < kLargeBlockSize) {
    std::free(block);
  } else {
    ::munmap(block, size);
  }
}

#endif

google::protobuf::ArenaOptions LargeDocumentArenaOptions() {
  google::protobuf::ArenaOptions options;
  // A document of any size takes a few blocks, not thousands.
  options.start_block_size = 64 * 1024;
  options.max_block_size = 4 * 1024 * 1024;
  options.block_alloc = AllocateBlock;
  options.block_dealloc = FreeBlock;
  return options;
}

}  // namespace gcuschema::document
