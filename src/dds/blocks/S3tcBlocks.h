// Decoders of colour blocks with 5:6:5 endpoints: BC1, BC2 and BC3.
#pragma once

#include "dds/blocks/ChannelBlock.h"

namespace {  // NOLINT(google-build-namespaces): each instruction set has its own copy

// Sixths of colour 0 and colour 1 for codes 0 to 3, and the alpha of each: Khronos Data Format Specification,
// table "Block decoding for BC1". Blocks with colour 0 > colour 1 (and all of BC2 and BC3) have four colours,
// others three and transparent black.
struct ColourWeights {
  u32 first[4], second[4], alpha[4];
};
constexpr ColourWeights kColourWeights[2] = {
    {{6, 0, 3, 0}, {0, 6, 3, 0}, {255, 255, 255, 0}},
    {{6, 0, 4, 2}, {0, 6, 2, 4}, {255, 255, 255, 255}},
};

inline void MakePalette(u32 colour0, u32 colour1, const ColourWeights& weights, u32* palette) {
  using FiveBits = RoundedRatio<255, 6 * 31, 6 * 31>;
  using SixBits = RoundedRatio<255, 6 * 63, 6 * 63>;
  for (int code = 0; code < 4; ++code) {
    const u32 w0 = weights.first[code];
    const u32 w1 = weights.second[code];
    const u32 red = FiveBits::Of((colour0 >> 11) * w0 + (colour1 >> 11) * w1);
    const u32 green = SixBits::Of((colour0 >> 5 & 63) * w0 + (colour1 >> 5 & 63) * w1);
    const u32 blue = FiveBits::Of((colour0 & 31) * w0 + (colour1 & 31) * w1);
    palette[code] = red | green << 8 | blue << 16 | weights.alpha[code] << 24;
  }
}

template <class Ops>
struct Bc1Block {
  static constexpr int kBytes = 8;
  using Pixel = u32;

  static void Decode(const unsigned char* block, Pixel* tile) {
    const u32 colour0 = Load<u16>(block);
    const u32 colour1 = Load<u16>(block + 2);
    u32 palette[4];
    MakePalette(colour0, colour1, kColourWeights[colour0 > colour1], palette);
    Ops::PickOfFour(palette, Load<u32>(block + 4), tile);
  }
};

/// The colours of BC2 and BC3, which have their alpha elsewhere; it is left 0.
template <class Ops>
inline void DecodeOpaqueColours(const unsigned char* block, u32* tile) {
  constexpr ColourWeights kNoAlpha = {{6, 0, 4, 2}, {0, 6, 2, 4}, {}};
  u32 palette[4];
  MakePalette(Load<u16>(block), Load<u16>(block + 2), kNoAlpha, palette);
  Ops::PickOfFour(palette, Load<u32>(block + 4), tile);
}

template <class Ops>
struct Bc2Block {
  static constexpr int kBytes = 16;
  using Pixel = u32;

  static void Decode(const unsigned char* block, Pixel* tile) {
    DecodeOpaqueColours<Ops>(block + 8, tile);
    AddAlpha(Load<u32>(block), tile);
    AddAlpha(Load<u32>(block + 4), tile + 8);
  }

 private:
  /// Puts eight values of 4 bits into the alpha of eight pixels.
  static void AddAlpha(u32 values, u32* tile) {
    using Eight = u32 __attribute__((vector_size(32)));
    constexpr Eight kToTop = {28, 24, 20, 16, 12, 8, 4, 0};
    const Eight high = ((Eight{} + values) << kToTop) & 0xF0000000;
    Eight pixels;
    std::memcpy(&pixels, tile, sizeof pixels);
    pixels |= high | high >> 4;
    std::memcpy(tile, &pixels, sizeof pixels);
  }
};

template <class Ops>
struct Bc3Block {
  static constexpr int kBytes = 16;
  using Pixel = u32;

  static void Decode(const unsigned char* block, Pixel* tile) {
    DecodeOpaqueColours<Ops>(block + 8, tile);
    AddChannel<Ops, UnsignedChannel>(block, 24, tile);
  }
};

}  // namespace
