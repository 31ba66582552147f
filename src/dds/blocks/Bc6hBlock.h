// Decoder of BC6H blocks: Khronos Data Format Specification, section "BC6H".
#pragma once

#include "dds/HalfFloat.h"
#include "dds/blocks/Bc6hModes.h"
#include "dds/blocks/BptcTables.h"

namespace {  // NOLINT(google-build-namespaces): each instruction set has its own copy

// The channels of a pixel as one register; the compilers split or join them for the processor at hand.
using Int4 = int __attribute__((vector_size(16)));
using Float4 = float __attribute__((vector_size(16)));

/// Returns the numbers of four half floats; none may be infinite.
inline Float4 HalvesToFloats(Int4 halves) {
  const Int4 magnitude = halves & 0x7FFF;
  const Float4 small = __builtin_convertvector(magnitude, Float4) * (kSmallestNormalHalf / 1024);
  const Int4 normal = (magnitude << 13) + ((127 - 15) << 23);
  const Int4 isSmall = magnitude < 0x400;
  return (Float4)(((Int4)small & isSmall) | (normal & ~isSmall) | (halves & 0x8000) << 16);
}

template <class Ops, bool kSigned>
struct Bc6hBlock {
  static constexpr int kBytes = 16;
  using Pixel = Float4;

  static void Decode(const unsigned char* block, Pixel* tile) {
    const int row = kBc6hRows.row[block[0] & 31];
    if (row < 0) {
      for (int i = 0; i < kBlockPixels; ++i) tile[i] = Pixel{0, 0, 0, 1};
      return;
    }
    const Bc6hMode& mode = kBc6hModes[row];
    BlockBits bits(block);
    bits.Take(mode.code < 2 ? 2 : 5);
    int endpoints[kBc6hFields] = {};
    for (const Bc6hRun* run = kBc6hLayouts.runs[row]; run->count > 0; ++run)
      TakeRun(bits, *run, endpoints[run->field]);
    Transform(mode, endpoints);
    for (int i = 0; i < kBc6hFields; ++i)
      endpoints[i] = i % 4 < 3 ? Unquantize(endpoints[i], mode.bits) : kOpaque;
    if (mode.subsets == 2)
      Interpolate<2>(bits, endpoints, tile);
    else
      Interpolate<1>(bits, endpoints, tile);
  }

 private:
  /// What becomes 1.0 in the last step.
  static constexpr int kOpaque = kSigned ? 15856 : 31711;

  static int SignExtend(int value, int bits) {
    return static_cast<int>(static_cast<u32>(value) << (32 - bits)) >> (32 - bits);
  }

  static void TakeRun(BlockBits& bits, const Bc6hRun& run, int& field) {
    if (!run.reversed) {
      field |= static_cast<int>(bits.Take(run.count)) << run.lowest;
    } else {
      for (int bit = run.lowest + run.count - 1; bit >= run.lowest; --bit)
        field |= static_cast<int>(bits.Take(1)) << bit;
    }
  }

  /// Makes the endpoints signed where the format is, and offsets absolute; sums wrap at the width of the
  /// endpoints.
  static void Transform(const Bc6hMode& mode, int* endpoints) {
    for (int c = 0; c < 3; ++c) {
      int& base = endpoints[c];
      if (kSigned) base = SignExtend(base, mode.bits);
      for (int i = c + 4; i < 8 * mode.subsets; i += 4) {
        if (kSigned || mode.transformed) endpoints[i] = SignExtend(endpoints[i], mode.deltaBits[c]);
        if (!mode.transformed) continue;
        endpoints[i] = (base + endpoints[i]) & ((1 << mode.bits) - 1);
        if (kSigned) endpoints[i] = SignExtend(endpoints[i], mode.bits);
      }
    }
  }

  /// Spreads a value of `bits` bits over the 16 (signed: 15 and sign) that interpolation works on.
  static int Unquantize(int value, int bits) {
    if (bits >= (kSigned ? 16 : 15) || value == 0) return value;
    const int magnitude = value < 0 ? -value : value;
    const int largest = (1 << (kSigned ? bits - 1 : bits)) - 1;
    constexpr int kLargest = kSigned ? 0x7FFF : 0xFFFF;
    const int wide = magnitude >= largest ? kLargest : ((magnitude << 15) + 0x4000) >> (bits - 1);
    return value < 0 ? -wide : wide;
  }

  /// The last step: the bits of half floats for interpolated values.
  static Int4 ToHalves(Int4 values) {
    if constexpr (!kSigned) return (values * 31) >> 6;
    const Int4 sign = values >> 31;
    const Int4 magnitude = (values ^ sign) - sign;
    return ((magnitude * 31) >> 5) | (sign & 0x8000);
  }

  template <int kSubsets>
  static void Interpolate(BlockBits& bits, const int* endpoints, Pixel* tile) {
    constexpr int kWidth = kSubsets == 2 ? 3 : 4;
    const auto partition = static_cast<unsigned>(bits.Take(kSubsets == 2 ? 5 : 0));
    const u64 indices =
        WidenAnchors<kSubsets, kWidth>(bits.Take(kBlockPixels * kWidth - kSubsets), partition);
    Pixel palette[kBlockPixels];
    MakePalette<kSubsets>(endpoints, palette);
    for (int i = 0; i < kBlockPixels; ++i) {
      const u64 index = indices >> (kWidth * i) & ((1 << kWidth) - 1);
      tile[i] = palette[index + u64{8} * SubsetOf(kSubsets, partition, i)];
    }
  }

  /// Fills the 16 colours that a block can have: of one subset, or eight of each of two.
  template <int kSubsets>
  static void MakePalette(const int* endpoints, Pixel* palette) {
    constexpr int kColours = kBlockPixels / kSubsets;
    for (int subset = 0; subset < kSubsets; ++subset, endpoints += 8) {
      const Int4 first = Load<Int4>(endpoints);
      const Int4 second = Load<Int4>(endpoints + 4);
      for (int i = 0; i < kColours; ++i) {
        const int factor = kWeights[kSubsets == 2 ? 3 : 4][i];
        const Int4 values = (first * (64 - factor) + second * factor + 32) >> 6;
        palette[kColours * subset + i] = HalvesToFloats(ToHalves(values));
      }
    }
  }
};

}  // namespace
