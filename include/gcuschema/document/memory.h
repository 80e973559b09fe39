#ifndef GCUSCHEMA_DOCUMENT_MEMORY_H
#define GCUSCHEMA_DOCUMENT_MEMORY_H

#include <cstddef>

#include <google/protobuf/arena.h>

#include <gcuschema/document/export.h>

namespace gcuschema::document {

// Blocks for large outputs and arenas. On Linux, from kLargeBlockSize on a
// block is mapped on its own, starting on a huge page boundary and offered
// to the kernel for huge pages, so a document of tens of megabytes costs a
// few page faults instead of one per 4 KiB; smaller blocks, and every block
// on Windows, come from the heap.
inline constexpr std::size_t kLargeBlockSize = 2 * 1024 * 1024;

// Uninitialized memory of `size` bytes, or null when there is none.
GCUSCHEMA_DOCUMENT_API void* AllocateBlock(std::size_t size);
// Frees a block from AllocateBlock; `size` is the size it was asked with.
GCUSCHEMA_DOCUMENT_API void FreeBlock(void* block, std::size_t size);

// Arena options for one large document: few, large blocks from AllocateBlock.
GCUSCHEMA_DOCUMENT_API google::protobuf::ArenaOptions LargeDocumentArenaOptions();

}  // namespace gcuschema::document

#endif
