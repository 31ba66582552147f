// Half-precision numbers (IEEE 754 binary16).
#pragma once

#include <bit>
#include <cstdint>

namespace {  // NOLINT(google-build-namespaces): the block decoders compile a copy for each instruction set

/// The smallest normal half; numbers below it have a fixed step of 1/1024 of it.
constexpr float kSmallestNormalHalf = 0x1p-14F;

/// Returns the number that the 16 bits stand for:
///
///     bit 15    14 10     9 0
///        sign  exponent  fraction     exponent 31: infinity or not a number; 0: fraction x 2^-24
inline float HalfToFloat(std::uint32_t half) {
  constexpr std::uint32_t kRebias = (127 - 15) << 23;
  const std::uint32_t magnitude = half & 0x7FFF;
  const float small = static_cast<float>(static_cast<std::int32_t>(magnitude)) * (kSmallestNormalHalf / 1024);
  const std::uint32_t normal = (magnitude << 13) + kRebias + (magnitude >= 0x7C00 ? kRebias : 0);
  const std::uint32_t bits = magnitude < 0x400 ? std::bit_cast<std::uint32_t>(small) : normal;
  return std::bit_cast<float>(bits | (half & 0x8000) << 16);
}

}  // namespace
