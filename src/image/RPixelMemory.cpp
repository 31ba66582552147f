#include "image/RPixelMemory.h"

#include <sys/mman.h>

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

// Cache lines, not huge pages, set the alignment: memory on a huge page's boundary comes from the system,
// zeroed page by page, every time. The line is found by hand: aligned_alloc cuts off the rest behind the
// buffer, which then keeps the heap from lending the memory to the next buffer of the size.
unsigned char* AlignedPart(void* memory) {
  const auto address = reinterpret_cast<std::uintptr_t>(memory);
  return static_cast<unsigned char*>(memory) + (kLine - address % kLine) % kLine;
}

}  // namespace

RPixelBuffer RAllocatePixels(std::uint64_t bytes) {
  if (bytes > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) return {};
  const std::size_t size = (static_cast<std::size_t>(bytes) / kLine + 1) * kLine;
  auto* memory = new (std::nothrow) unsigned char[size + kLine - 1];
  if (!memory) return {};
  unsigned char* pixels = AlignedPart(memory);
  if (size >= kHugeThreshold) AdviseHugePages(pixels, size);
  try {
    return {pixels, [memory](unsigned char*) { delete[] memory; }};
  } catch (const std::bad_alloc&) {  // the pointer has freed the memory
    return {};
  }
}

RPixelBuffer RAllocateZeroedPixels(std::uint64_t bytes) {
  RPixelBuffer buffer = RAllocatePixels(bytes);
  if (buffer) std::memset(buffer.get(), 0, static_cast<std::size_t>(bytes));
  return buffer;
}
