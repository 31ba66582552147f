// Decoder of BC7 blocks: Khronos Data Format Specification, section "BC7".
#pragma once

#include "dds/blocks/BptcTables.h"

namespace {  // NOLINT(google-build-namespaces): each instruction set has its own copy

// Table "Mode-dependent BPTC parameters": subsets and the bits of each field, in file order.
struct Bc7Mode {
  int subsets, partition, rotation, indexSelection, colour, alpha, endpointP, sharedP, index, index2;
};
constexpr Bc7Mode kBc7Modes[8] = {
    {3, 4, 0, 0, 4, 0, 1, 0, 3, 0},  //
    {2, 6, 0, 0, 6, 0, 0, 1, 3, 0},  //
    {3, 6, 0, 0, 5, 0, 0, 0, 2, 0},  //
    {2, 6, 0, 0, 7, 0, 1, 0, 2, 0},  //
    {1, 0, 2, 1, 5, 6, 0, 0, 2, 3},  //
    {1, 0, 2, 0, 7, 8, 0, 0, 2, 2},  //
    {1, 0, 0, 0, 7, 7, 1, 0, 4, 0},  //
    {2, 6, 0, 0, 5, 5, 1, 0, 2, 0},
};

// For each partition and pixel the places of its two endpoints among a channel's, which are stored subset by
// subset.
struct Bc7Selectors {
  u8 endpoint[4][64][2 * kBlockPixels];
};
consteval Bc7Selectors MakeBc7Selectors() {
  Bc7Selectors selectors{};
  for (int subsets = 1; subsets <= 3; ++subsets) {
    for (unsigned partition = 0; partition < 64; ++partition) {
      for (int i = 0; i < 2 * kBlockPixels; ++i) {
        const unsigned subset = SubsetOf(subsets, partition, i / 2);
        selectors.endpoint[subsets][partition][i] =
            static_cast<u8>(2 * subset + static_cast<unsigned>(i % 2));
      }
    }
  }
  return selectors;
}
constexpr Bc7Selectors kBc7Selectors = MakeBc7Selectors();

/// What is left of a block to interpolate.
struct Bc7Pixels {
  u64 endpoints[4];     ///< of red, green, blue and alpha: one byte each, first and second of each subset in
                        ///< turn
  const u8* selectors;  ///< 32 bytes: for each pixel the places of its first and second endpoint
  u8 factors[2][kBlockPixels] = {};  ///< sixty-fourths of the second endpoint; [1] is for one channel alone
  int apart = 4;                     ///< the channel that takes factors[1]
};

constexpr u64 kEveryByte = 0x0101'0101'0101'0101;

/// Replicates the top bits of each byte's kWidth bits into the bits below them, so that 0 to the maximum
/// spans 0 to 255.
template <int kWidth>
constexpr u64 ExpandBytes(u64 values) {
  if constexpr (kWidth == 8) return values;
  constexpr u64 kLow = ((u64{1} << (8 - kWidth)) - 1) * kEveryByte;
  return (values << (8 - kWidth)) | ((values >> (2 * kWidth - 8)) & kLow);
}

template <class Ops>
struct Bc7Block {
  static constexpr int kBytes = 16;
  using Pixel = u32;

  static void Decode(const unsigned char* block, Pixel* tile) {
    // The mode is the number of zeros below the lowest one; eight of them are reserved.
    switch (std::countr_zero(block[0])) {
      case 0:
        return DecodeMode<0>(block, tile);
      case 1:
        return DecodeMode<1>(block, tile);
      case 2:
        return DecodeMode<2>(block, tile);
      case 3:
        return DecodeMode<3>(block, tile);
      case 4:
        return DecodeMode<4>(block, tile);
      case 5:
        return DecodeMode<5>(block, tile);
      case 6:
        return DecodeMode<6>(block, tile);
      case 7:
        return DecodeMode<7>(block, tile);
      default:
        std::memset(tile, 0, kBlockPixels * sizeof *tile);
    }
  }

 private:
  template <int kMode>
  static void DecodeMode(const unsigned char* block, u32* tile) {
    constexpr Bc7Mode kM = kBc7Modes[kMode];
    BlockBits bits(block);
    bits.Take(kMode + 1);
    const auto partition = static_cast<unsigned>(bits.Take(kM.partition));
    const auto rotation = static_cast<int>(bits.Take(kM.rotation));
    const bool selection = bits.Take(kM.indexSelection) != 0;
    Bc7Pixels pixels;
    pixels.selectors = kBc7Selectors.endpoint[kM.subsets][partition];
    TakeEndpoints<kMode>(bits, pixels.endpoints);
    TakeFactors<kM.subsets, kM.index>(bits, partition, pixels.factors[selection]);
    if constexpr (kM.index2 > 0) {
      TakeFactors<1, kM.index2>(bits, 0, pixels.factors[!selection]);
      Rotate(rotation, pixels);
    }
    Ops::Interpolate(pixels, tile);
  }

  template <int kMode>
  static void TakeEndpoints(BlockBits& bits, u64* endpoints) {
    constexpr Bc7Mode kM = kBc7Modes[kMode];
    constexpr bool kHasP = kM.endpointP + kM.sharedP > 0;
    for (int c = 0; c < 3; ++c)
      endpoints[c] = SpreadToBytes<kM.colour>(bits.Take(2 * kM.subsets * kM.colour));
    if constexpr (kM.alpha > 0) endpoints[3] = SpreadToBytes<kM.alpha>(bits.Take(2 * kM.alpha * kM.subsets));
    if constexpr (kHasP) {
      const u64 p = TakePBits<kMode>(bits);
      for (int c = 0; c < (kM.alpha > 0 ? 4 : 3); ++c) endpoints[c] = (endpoints[c] << 1) | p;
    }
    for (int c = 0; c < 3; ++c) endpoints[c] = ExpandBytes<kM.colour + kHasP>(endpoints[c]);
    if constexpr (kM.alpha > 0)
      endpoints[3] = ExpandBytes<kM.alpha + kHasP>(endpoints[3]);
    else
      endpoints[3] = ~u64{0};
  }

  /// Takes the lowest bits of the endpoints, one a byte; a shared bit serves both endpoints of its subset.
  template <int kMode>
  static u64 TakePBits(BlockBits& bits) {
    constexpr Bc7Mode kM = kBc7Modes[kMode];
    if constexpr (kM.endpointP > 0) return SpreadToBytes<1>(bits.Take(2 * kM.subsets));
    const u64 shared = bits.Take(kM.subsets);
    return (shared & 1) * 0x0101 + (shared >> 1) * 0x0101'0000;
  }

  template <int kSubsets, int kWidth>
  static void TakeFactors(BlockBits& bits, unsigned partition, u8* factors) {
    const u64 indices =
        WidenAnchors<kSubsets, kWidth>(bits.Take(kBlockPixels * kWidth - kSubsets), partition);
    Ops::LookUp(kWeights[kWidth], SpreadToBytes<kWidth>(indices),
                SpreadToBytes<kWidth>(indices >> (8 * kWidth)), factors);
  }

  /// Alpha has factors of its own; a rotation exchanges it with a colour channel, factors included.
  static void Rotate(int rotation, Bc7Pixels& pixels) {
    pixels.apart = 3;
    if (rotation == 0) return;
    pixels.apart = rotation - 1;
    const u64 alpha = pixels.endpoints[3];
    pixels.endpoints[3] = pixels.endpoints[rotation - 1];
    pixels.endpoints[rotation - 1] = alpha;
  }
};

}  // namespace
