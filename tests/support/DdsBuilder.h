// Builds DDS files field by field. A bad file is a good one with one field set otherwise.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace test {

class DdsBuilder {
 public:
  // Offsets of header fields in the file.
  static constexpr std::size_t kFlags = 8;
  static constexpr std::size_t kHeight = 12;
  static constexpr std::size_t kWidth = 16;
  static constexpr std::size_t kLinearSize = 20;
  static constexpr std::size_t kDepth = 24;
  static constexpr std::size_t kMipMapCount = 28;
  static constexpr std::size_t kPixelFlags = 80;
  static constexpr std::size_t kFourCC = 84;
  static constexpr std::size_t kBitCount = 88;
  static constexpr std::size_t kRedMask = 92;
  static constexpr std::size_t kGreenMask = 96;
  static constexpr std::size_t kBlueMask = 100;
  static constexpr std::size_t kAlphaMask = 104;
  static constexpr std::size_t kCaps2 = 112;
  static constexpr std::size_t kHeaderBytes = 128;

  /// A header without pixel format.
  DdsBuilder(std::uint32_t width, std::uint32_t height);
  /// A file of red, green, blue and alpha bytes in this order.
  static DdsBuilder Rgba(std::uint32_t width, std::uint32_t height);

  /// Sets a 32-bit field, little-endian.
  DdsBuilder& Set(std::size_t offset, std::uint32_t value);
  /// A four-character code, or a number where the code is one.
  DdsBuilder& Code(const char (&fourCC)[5]);
  DdsBuilder& Code(std::uint32_t code);
  /// Bit fields; `flags` are the pixel format's.
  DdsBuilder& Masks(std::uint32_t flags, std::uint32_t bits, std::uint32_t red, std::uint32_t green,
                    std::uint32_t blue, std::uint32_t alpha);
  DdsBuilder& Mipmaps(std::uint32_t levels) { return Set(kMipMapCount, levels); }
  DdsBuilder& Cubemap() { return Set(kCaps2, 0xFE00); }
  DdsBuilder& Volume(std::uint32_t depth) { return Set(kCaps2, 0x200000).Set(kDepth, depth); }
  /// Says that the size field holds the size of the largest level.
  DdsBuilder& LinearSize(std::uint32_t bytes) { return Set(kFlags, 0x81007).Set(kLinearSize, bytes); }
  /// Adds the extension header; before any data.
  DdsBuilder& Dxgi(std::uint32_t format, std::uint32_t miscFlags2 = 0, std::uint32_t miscFlag = 0,
                   std::uint32_t arraySize = 1, std::uint32_t dimension = 3);
  DdsBuilder& Data(const std::vector<unsigned char>& bytes);
  /// Adds `size` bytes that differ from each other.
  DdsBuilder& RandomData(std::size_t size, unsigned seed = 1);

  const std::vector<unsigned char>& File() const { return mFile; }

 private:
  std::vector<unsigned char> mFile;
};

/// Returns `size` bytes without a pattern, the same for the same seed.
std::vector<unsigned char> RandomBytes(std::size_t size, unsigned seed);

}  // namespace test
