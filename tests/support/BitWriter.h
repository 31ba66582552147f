// Building blocks of 128 bits field by field.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace test {

/// Writes fields into 16 bytes, the lowest bit first.
class BitWriter {
 public:
  BitWriter& Put(std::uint64_t value, int count) {
    for (int i = 0; i < count; ++i, ++mPosition) {
      if (value >> i & 1) mBytes.at(mPosition / 8) |= static_cast<unsigned char>(1 << mPosition % 8);
    }
    return *this;
  }
  /// The number of bits written.
  std::size_t Position() const { return mPosition; }
  const std::array<unsigned char, 16>& Bytes() const { return mBytes; }

 private:
  std::array<unsigned char, 16> mBytes{};
  std::size_t mPosition = 0;
};

}  // namespace test
