#include "document.h"

#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>

#include <gcuschema/doc/binary.h>
#include <gcuschema/doc/error.h>
#include <gcuschema/doc/records.h>

#include "failure.h"

namespace gcuschema::tool {
namespace {

// Arena blocks from this size on are mapped for themselves and offered to
// the kernel for huge pages: a large document then costs a few page faults
// instead of one per 4 KiB.
constexpr std::size_t kHugeBlock = 2 * 1024 * 1024;

void* AllocateBlock(std::size_t size) {
  if (size < kHugeBlock) return std::malloc(size);
  // Started on a huge page boundary: only whole, aligned 2 MiB stretches
  // can be huge pages.
  void* start = ::mmap(nullptr, size + kHugeBlock, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (start == MAP_FAILED) return nullptr;
  const auto address = reinterpret_cast<std::uintptr_t>(start);
  const std::uintptr_t aligned = (address + kHugeBlock - 1) & ~(kHugeBlock - 1);
  if (aligned > address) ::munmap(start, aligned - address);
  if (address + kHugeBlock > aligned) {
    ::munmap(reinterpret_cast<void*>(aligned + size), address + kHugeBlock - aligned);
  }
  ::madvise(reinterpret_cast<void*>(aligned), size, MADV_HUGEPAGE);
  return reinterpret_cast<void*>(aligned);
}

void FreeBlock(void* start, std::size_t size) {
  if (size < kHugeBlock) {
    std::free(start);
  } else {
    ::munmap(start, size);
  }
}

google::protobuf::ArenaOptions DocumentArena() {
  google::protobuf::ArenaOptions options;
  // A document of any size takes a few blocks, not thousands.
  options.start_block_size = 64 * 1024;
  options.max_block_size = 4 * 1024 * 1024;
  options.block_alloc = AllocateBlock;
  options.block_dealloc = FreeBlock;
  return options;
}

}  // namespace

std::unique_ptr<google::protobuf::Message> ParseEncoded(const Input& input,
                                                        const google::protobuf::Descriptor* type) {
  std::unique_ptr<google::protobuf::Message> record = doc::NewRecord(type);
  try {
    doc::ParseBinary(input.bytes(), record.get());
  } catch (const doc::Error& e) {
    throw Failure(input.name, e.where(), e.message());
  }
  return record;
}

std::unique_ptr<google::protobuf::Message> LoadEncoded(const std::string& path,
                                                       const google::protobuf::Descriptor* type) {
  return ParseEncoded(ReadInput(path), type);
}

Document::Document(const google::protobuf::Descriptor* type)
    : arena_(std::make_unique<google::protobuf::Arena>(DocumentArena())),
      record_(doc::NewRecord(type, arena_.get())) {}

std::unique_ptr<Document> ParseDocument(const Input& input, const google::protobuf::Descriptor* type,
                                        int threads) {
  auto document = std::make_unique<Document>(type);
  try {
    doc::ParseBinary(input.bytes(), document->record(), threads);
  } catch (const doc::Error& e) {
    throw Failure(input.name, e.where(), e.message());
  }
  return document;
}

void AddThreadsOption(CLI::App* command, int* threads) {
  command
      ->add_option("-j,--threads", *threads,
                   "Threads for large documents (0: one per core); the output does not "
                   "depend on it")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
}

doc::TextPieces EncodeLarge(const google::protobuf::Message& record) {
  const std::size_t size = record.ByteSizeLong();
  doc::TextPieces out(size);
  if (size == 0) return out;
  std::size_t room;
  auto* start = reinterpret_cast<std::uint8_t*>(out.Grab(size, &room));
  // The sizes ByteSizeLong() just worked out are the ones written with.
  record.SerializeWithCachedSizesToArray(start);
  out.Unwrite(room - size);
  return out;
}

std::string Encode(const google::protobuf::Message& record) {
  // Partial: a record of the library has no required fields, and nothing a
  // document holds should stop it from being written back.
  return record.SerializePartialAsString();
}

}  // namespace gcuschema::tool
