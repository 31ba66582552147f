// Bytes of files that tests make by hand.
#pragma once

#include <bit>
#include <cstdint>
#include <string_view>
#include <vector>

namespace test {

using Bytes = std::vector<unsigned char>;

/// Appends numbers in big-endian order, text and bytes. Every operation returns the writer, so that a header
/// reads as one list.
class ByteWriter {
 public:
  ByteWriter& U8(unsigned value) {
    mBytes.push_back(static_cast<unsigned char>(value));
    return *this;
  }
  ByteWriter& U16(unsigned value) { return U8(value >> 8).U8(value); }
  ByteWriter& U32(std::uint32_t value) { return U16(value >> 16).U16(value & 0xFFFF); }
  ByteWriter& F32(float value) { return U32(std::bit_cast<std::uint32_t>(value)); }
  ByteWriter& Text(std::string_view text) {
    mBytes.insert(mBytes.end(), text.begin(), text.end());
    return *this;
  }
  ByteWriter& Raw(const Bytes& bytes) {
    mBytes.insert(mBytes.end(), bytes.begin(), bytes.end());
    return *this;
  }
  /// Appends zeros up to a size of `size` bytes.
  ByteWriter& PadTo(std::size_t size) {
    if (mBytes.size() < size) mBytes.resize(size);
    return *this;
  }
  std::size_t Size() const { return mBytes.size(); }
  Bytes Take() { return std::move(mBytes); }

 private:
  Bytes mBytes;
};

/// Returns the parts one after the other.
inline Bytes Join(std::initializer_list<Bytes> parts) {
  ByteWriter out;
  for (const Bytes& part : parts) out.Raw(part);
  return out.Take();
}

/// Returns the first `size` bytes.
inline Bytes First(Bytes bytes, std::size_t size) {
  bytes.resize(size);
  return bytes;
}

}  // namespace test
