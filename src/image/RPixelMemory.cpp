#include "image/RPixelMemory.h"

#include <sys/mman.h>

#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace {

constexpr std::size_t kHugePage = std::size_t{2} << 20;
// Below two huge pages too little lies between their boundaries to be worth the call.
constexpr std::size_t kHugeThreshold = 2 * kHugePage;

// The buffer is addressable by whole cache lines, so vector loops may be written without a scalar head.
constexpr std::size_t kLine = 64;

// Asks for huge pages where whole ones lie in the memory.
void AdviseHugePages(unsigned char* memory, std::size_t bytes) {
  const std::size_t head = (kHugePage - reinterpret_cast<std::uintptr_t>(memory) % kHugePage) % kHugePage;
  const std::size_t length = (bytes - head) / kHugePage * kHugePage;
  madvise(memory + head, length, MADV_HUGEPAGE);
}

// Cache lines, not huge pages, set the alignment: the heap keeps such memory when it is given back and lends
// it again, while memory on a huge page's boundary comes from the system, zeroed page by page, every time.
unsigned char* Allocate(std::size_t bytes) {
  auto* memory = static_cast<unsigned char*>(std::aligned_alloc(kLine, (bytes / kLine + 1) * kLine));
  if (memory && bytes >= kHugeThreshold) AdviseHugePages(memory, bytes);
  return memory;
}

}  // namespace

RPixelBuffer RAllocatePixels(std::uint64_t bytes) {
  if (bytes > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) return {};
  unsigned char* memory = Allocate(static_cast<std::size_t>(bytes));
  if (!memory) return {};
  try {
    return {memory, [](unsigned char* pixels) { std::free(pixels); }};
  } catch (const std::bad_alloc&) {  // the pointer has freed the pixels
    return {};
  }
}

RPixelBuffer RAllocateZeroedPixels(std::uint64_t bytes) {
  RPixelBuffer buffer = RAllocatePixels(bytes);
  if (buffer) std::memset(buffer.get(), 0, static_cast<std::size_t>(bytes));
  return buffer;
}
