// Numbers as bytes, one at a time.
#pragma once

#include <bit>
#include <cstdint>

/// Returns the number, clamped to 0..255 and rounded to the nearest, ties to even; NaN becomes 0.
inline unsigned char RFpToByte(float value) {
  // Adding it leaves a number up to 2^22 rounded in the low bits.
  constexpr float kRounder = 12582912.0F;
  const float least = value > 0.0F ? value : 0.0F;
  const float clamped = least < 255.0F ? least : 255.0F;
  return static_cast<unsigned char>(std::bit_cast<std::uint32_t>(clamped + kRounder));
}
