#include "image/RPixelMemory.h"

#include <sys/mman.h>

#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace {

constexpr std::size_t kHugePage = std::size_t{2} << 20;
// Below two huge pages the alignment can cost more memory than the faults it saves are worth.
constexpr std::size_t kHugeThreshold = 2 * kHugePage;

// The buffer is addressable by whole cache lines, so vector loops may be written without a scalar head.
constexpr std::size_t kLine = 64;

unsigned char* AllocateHuge(std::size_t bytes) {
  const std::size_t rounded = (bytes + kHugePage - 1) / kHugePage * kHugePage;
  void* memory = std::aligned_alloc(kHugePage, rounded);
  if (memory) madvise(memory, rounded, MADV_HUGEPAGE);
  return static_cast<unsigned char*>(memory);
}

unsigned char* Allocate(std::size_t bytes) {
  if (bytes >= kHugeThreshold) return AllocateHuge(bytes);
  return static_cast<unsigned char*>(std::aligned_alloc(kLine, (bytes / kLine + 1) * kLine));
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
