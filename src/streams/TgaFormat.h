// Layout of TGA files: the Truevision TGA File Format Specification, version 2.0, 1991.
#pragma once

#include <array>
#include <cstdint>

#include "streams/RByteReader.h"

/// The first bytes of a TGA file, little-endian. Identification text, colour map and pixels follow, in this
/// order.
struct TgaHeader {
  static constexpr std::size_t kSize = 18;
  static constexpr std::uint8_t kTrueColour =
      2;  ///< `imageType` of uncompressed pixels with colours of their own
  static constexpr int kMaximumSide = 0xFFFF;

  std::uint8_t idLength = 0;       ///< bytes of identification text behind the header
  std::uint8_t colourMapType = 0;  ///< 0 none, 1 present
  std::uint8_t imageType =
      0;  ///< 1, 2, 3 colour-mapped, true-colour, grey; 9, 10, 11 the same, run-length coded
  std::uint16_t colourMapFirst = 0;
  std::uint16_t colourMapLength = 0;
  std::uint8_t colourMapDepth = 0;  ///< bits an entry
  std::uint16_t xOrigin = 0;
  std::uint16_t yOrigin = 0;
  std::uint16_t width = 0;
  std::uint16_t height = 0;
  std::uint8_t depth = 0;  ///< bits a pixel: 16, 24 or 32 of true colour, stored as A1R5G5B5, BGR and BGRA
  std::uint8_t descriptor =
      0;  ///< bits 0-3 alpha bits a pixel; bit 4 rows run right to left, bit 5 top row first

  /// False when fewer than `kSize` bytes are left; the fields behind the end keep their values.
  [[nodiscard]] bool Read(RByteReader& in) {
    return in.Little(idLength) && in.Little(colourMapType) && in.Little(imageType) &&
           in.Little(colourMapFirst) && in.Little(colourMapLength) && in.Little(colourMapDepth) &&
           in.Little(xOrigin) && in.Little(yOrigin) && in.Little(width) && in.Little(height) &&
           in.Little(depth) && in.Little(descriptor);
  }

  /// The header as it stands in a file without identification text and colour map whose origin is 0, 0.
  std::array<unsigned char, kSize> Bytes() const {
    const auto low = [](int value) { return static_cast<unsigned char>(value & 0xFF); };
    const auto high = [](int value) { return static_cast<unsigned char>(value >> 8); };
    return {0,           0,           imageType,    0,     0,         0, 0, 0, 0, 0, 0, 0, low(width),
            high(width), low(height), high(height), depth, descriptor};
  }
};
