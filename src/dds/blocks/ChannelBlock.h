// Decoders of interpolated one-channel blocks: BC4, BC5 and the alpha of BC3.
#pragma once

#include "dds/blocks/BlockMath.h"

namespace {  // NOLINT(google-build-namespaces): each instruction set has its own copy

// Thirty-fifths of endpoint 0, of endpoint 1 and of the largest value for codes 0 to 7: sevenths when
// endpoint 0 is larger, else fifths with code 6 for the smallest and code 7 for the largest value. Khronos
// Data Format Specification, table "Block decoding for BC4".
struct ChannelWeights {
  u8 first[8], second[8], largest[8];
};
constexpr u32 kChannelParts = 35;
constexpr ChannelWeights kChannelWeights[2] = {
    {{35, 0, 28, 21, 14, 7, 0, 0}, {0, 35, 7, 14, 21, 28, 0, 0}, {0, 0, 0, 0, 0, 0, 0, 35}},
    {{35, 0, 30, 25, 20, 15, 10, 5}, {0, 35, 5, 10, 15, 20, 25, 30}, {}},
};

/// Endpoints 0 to 255.
struct UnsignedChannel {
  static void MakePalette(const unsigned char* block, u32* palette) {
    const u32 first = block[0];
    const u32 second = block[1];
    const ChannelWeights& weights = kChannelWeights[first > second];
    for (int code = 0; code < 8; ++code) {
      const u32 sum =
          first * weights.first[code] + second * weights.second[code] + 255U * weights.largest[code];
      palette[code] = RoundedRatio<1, kChannelParts, 255 * kChannelParts>::Of(sum);
    }
  }
};

/// Endpoints -127 to 127 (-128 counts as -127) for -1 to 1; what is negative becomes 0.
struct SignedChannel {
  static void MakePalette(const unsigned char* block, u32* palette) {
    const int first = SignedByte(block[0]);
    const int second = SignedByte(block[1]);
    const ChannelWeights& weights = kChannelWeights[first > second];
    for (int code = 0; code < 8; ++code) {
      const int sum = Clamp(first) * weights.first[code] + Clamp(second) * weights.second[code] +
                      127 * weights.largest[code];
      const auto positive = static_cast<u32>(sum < 0 ? 0 : sum);
      palette[code] = RoundedRatio<255, 127 * kChannelParts, 127 * kChannelParts>::Of(positive);
    }
  }

 private:
  static int SignedByte(int byte) { return byte < 128 ? byte : byte - 256; }
  static int Clamp(int value) { return value < -127 ? -127 : value; }
};

/// Decodes one channel and puts it into the pixels, where its bits are still 0.
template <class Ops, class Channel>
inline void AddChannel(const unsigned char* block, int bit, u32* tile) {
  u32 palette[8];
  Channel::MakePalette(block, palette);
  for (u32& value : palette) value <<= bit;
  Ops::AddPickOfEight(palette, Load<u64>(block) >> 16, tile);
}

constexpr u32 kOpaqueBlack = 0xFF000000;

template <class Ops, class Channel>
struct Bc4Block {
  static constexpr int kBytes = 8;
  using Pixel = u32;

  static void Decode(const unsigned char* block, Pixel* tile) {
    for (int i = 0; i < kBlockPixels; ++i) tile[i] = kOpaqueBlack;
    AddChannel<Ops, Channel>(block, 0, tile);
  }
};

template <class Ops, class Channel>
struct Bc5Block {
  static constexpr int kBytes = 16;
  using Pixel = u32;

  static void Decode(const unsigned char* block, Pixel* tile) {
    Bc4Block<Ops, Channel>::Decode(block, tile);
    AddChannel<Ops, Channel>(block + 8, 8, tile);
  }
};

}  // namespace
