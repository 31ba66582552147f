// Arithmetic that the block decoders share.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

static_assert(std::endian::native == std::endian::little, "blocks are read as little-endian words");

// Internal linkage on purpose, here and in the decoders: each instruction set compiles its own copy, and the
// linker must not hand the copy with newer instructions to the other one.
namespace {  // NOLINT(google-build-namespaces): see above

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

constexpr int kBlockPixels = 16;

template <class T>
inline T Load(const void* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

/// n x kNumerator / kDenominator, rounded half up, for n up to kMax, as one multiplication and a shift. The
/// factors are searched and proven exact for every n while compiling.
template <u32 kNumerator, u32 kDenominator, u32 kMax>
class RoundedRatio {
 public:
  static constexpr u32 Of(u32 n) { return (n * kFactors.multiplier + kFactors.offset) >> kFactors.shift; }

 private:
  struct Factors {
    u32 multiplier = 0, offset = 0;
    int shift = 0;
  };
  static constexpr u64 Exact(u64 n) { return (2 * n * kNumerator + kDenominator) / (u64{2} * kDenominator); }

  /// Returns the smallest offset with which the multiplier is exact, or -1.
  static constexpr std::int64_t Offset(u64 multiplier, int shift) {
    std::int64_t low = 0;
    std::int64_t high = std::int64_t{1} << 32;
    for (u64 n = 0; n <= kMax && low <= high; ++n) {
      const auto product = static_cast<std::int64_t>(n * multiplier);
      const std::int64_t first = static_cast<std::int64_t>(Exact(n) << shift) - product;
      const std::int64_t last = static_cast<std::int64_t>((Exact(n) + 1) << shift) - 1 - product;
      if (first > low) low = first;
      if (last < high) high = last;
    }
    const bool fits = static_cast<std::int64_t>(u64{kMax} * multiplier) + low < (std::int64_t{1} << 32);
    return low <= high && fits ? low : -1;
  }
  static constexpr Factors Search() {
    for (int shift = 1; shift < 24; ++shift) {
      for (u64 i = 0; i < 2; ++i) {
        const u64 multiplier = (u64{kNumerator} << shift) / kDenominator + i;
        const std::int64_t offset = Offset(multiplier, shift);
        if (offset >= 0) return {static_cast<u32>(multiplier), static_cast<u32>(offset), shift};
      }
    }
    return {};
  }
  static constexpr Factors kFactors = Search();
  static_assert(kFactors.shift > 0, "no exact factors");
};

/// Spreads eight fields of kWidth bits, the lowest first, over the bytes of a word.
template <int kWidth>
constexpr u64 SpreadToBytes(u64 fields) {
  static_assert(kWidth >= 1 && kWidth <= 8);
  if constexpr (kWidth == 8) return fields;
  constexpr u64 kFour = (u64{1} << (4 * kWidth)) - 1;
  constexpr u64 kTwo = ((u64{1} << (2 * kWidth)) - 1) * 0x0000'0001'0000'0001;
  constexpr u64 kOne = ((u64{1} << kWidth) - 1) * 0x0001'0001'0001'0001;
  fields = (fields & kFour) | ((fields & (kFour << (4 * kWidth))) << (32 - 4 * kWidth));
  fields = (fields & kTwo) | ((fields & (kTwo << (2 * kWidth))) << (16 - 2 * kWidth));
  return (fields & kOne) | ((fields & (kOne << kWidth)) << (8 - kWidth));
}

/// A block of 128 bits, read from the lowest bit upwards.
class BlockBits {
 public:
  explicit BlockBits(const unsigned char* block) : mLow(Load<u64>(block)), mHigh(Load<u64>(block + 8)) {}

  /// Takes 0 to 63 bits.
  u64 Take(int count) {
    if (count == 0) return 0;
    const u64 value = mLow & ((u64{1} << count) - 1);
    mLow = (mLow >> count) | (mHigh << (64 - count));
    mHigh >>= count;
    return value;
  }

 private:
  u64 mLow;
  u64 mHigh;
};

}  // namespace
