// Bytes and coefficients at random.
#pragma once

#include <cstddef>
#include <vector>

#include "support/Random.h"

namespace test {

inline std::vector<unsigned char> RandomBytes(std::size_t count, Random& random) {
  std::vector<unsigned char> bytes(count);
  for (unsigned char& byte : bytes) byte = random.Byte();
  return bytes;
}

/// Returns a number from -range to range.
inline float RandomCoefficient(Random& random, float range) {
  return (static_cast<float>(random.Below(200001)) / 100000.0F - 1.0F) * range;
}

}  // namespace test
