#include "support/DdsBuilder.h"

#include <cstring>
#include <random>

namespace test {

DdsBuilder::DdsBuilder(std::uint32_t width, std::uint32_t height) : mFile(kHeaderBytes) {
  constexpr std::size_t kSize = 4;
  constexpr std::size_t kPixelFormatSize = 76;
  constexpr std::size_t kCaps1 = 108;
  std::memcpy(mFile.data(), "DDS ", 4);
  Set(kSize, 124).Set(kFlags, 0x1007).Set(kHeight, height).Set(kWidth, width);
  Set(kPixelFormatSize, 32).Set(kCaps1, 0x1000);
}

DdsBuilder DdsBuilder::Rgba(std::uint32_t width, std::uint32_t height) {
  DdsBuilder builder(width, height);
  builder.Masks(0x41, 32, 0xFF, 0xFF00, 0xFF0000, 0xFF000000);
  return builder;
}

DdsBuilder& DdsBuilder::Set(std::size_t offset, std::uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) mFile.at(offset + i) = static_cast<unsigned char>(value >> (8 * i));
  return *this;
}

DdsBuilder& DdsBuilder::Code(const char (&fourCC)[5]) {
  std::uint32_t code = 0;
  std::memcpy(&code, fourCC, sizeof code);
  return Code(code);
}

DdsBuilder& DdsBuilder::Code(std::uint32_t code) { return Set(kPixelFlags, 0x4).Set(kFourCC, code); }

DdsBuilder& DdsBuilder::Masks(std::uint32_t flags, std::uint32_t bits, std::uint32_t red, std::uint32_t green,
                              std::uint32_t blue, std::uint32_t alpha) {
  return Set(kPixelFlags, flags)
      .Set(kBitCount, bits)
      .Set(kRedMask, red)
      .Set(kGreenMask, green)
      .Set(kBlueMask, blue)
      .Set(kAlphaMask, alpha);
}

DdsBuilder& DdsBuilder::Dxgi(std::uint32_t format, std::uint32_t miscFlags2, std::uint32_t miscFlag,
                             std::uint32_t arraySize, std::uint32_t dimension) {
  Code("DX10");
  std::size_t offset = mFile.size();
  mFile.resize(offset + 20);
  for (const std::uint32_t value : {format, dimension, miscFlag, arraySize, miscFlags2}) {
    Set(offset, value);
    offset += 4;
  }
  return *this;
}

DdsBuilder& DdsBuilder::Data(const std::vector<unsigned char>& bytes) {
  mFile.insert(mFile.end(), bytes.begin(), bytes.end());
  return *this;
}

DdsBuilder& DdsBuilder::RandomData(std::size_t size, unsigned seed) { return Data(RandomBytes(size, seed)); }

std::vector<unsigned char> RandomBytes(std::size_t size, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<unsigned char> bytes(size);
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random());
  return bytes;
}

}  // namespace test
