// The block kernels for any processor.
#include <cstddef>

#include "dds/blocks/BlockLoops.h"

namespace {

struct PortableOps {
  static void PickOfFour(const u32* palette, u32 codes, u32* tile) {
    for (int i = 0; i < kBlockPixels; ++i) tile[i] = palette[codes >> (2 * i) & 3];
  }

  static void AddPickOfEight(const u32* palette, u64 codes, u32* tile) {
    for (int i = 0; i < kBlockPixels; ++i) tile[i] |= palette[codes >> (3 * i) & 7];
  }

  static void LookUp(const u8* table, u64 low, u64 high, u8* factors) {
    for (int i = 0; i < 8; ++i) factors[i] = table[low >> (8 * i) & 15];
    for (int i = 0; i < 8; ++i) factors[8 + i] = table[high >> (8 * i) & 15];
  }

  static void Interpolate(const Bc7Pixels& pixels, u32* tile) {
    u8 endpoints[4][8];
    std::memcpy(endpoints, pixels.endpoints, sizeof endpoints);
    for (int i = 0; i < kBlockPixels; ++i) {
      u32 pixel = 0;
      const u8* selectors = pixels.selectors + std::ptrdiff_t{2} * i;
      for (int c = 0; c < 4; ++c) {
        const u32 factor = pixels.factors[c == pixels.apart][i];
        const u32 first = endpoints[c][selectors[0]];
        const u32 second = endpoints[c][selectors[1]];
        pixel |= ((first * (64 - factor) + second * factor + 32) >> 6) << (8 * c);
      }
      tile[i] = pixel;
    }
  }

  template <class Low, class High>
  static std::ptrdiff_t FlipBlocks(unsigned char* /*first*/, unsigned char* /*second*/,
                                   std::ptrdiff_t /*bytes*/) {
    return 0;
  }
};

}  // namespace

constexpr rblocks::Kernels rblocks::kPortable = kKernelsWith<PortableOps>;
