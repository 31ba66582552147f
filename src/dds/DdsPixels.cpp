#include "dds/DdsPixels.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <vector>

#include "dds/HalfFloat.h"
#include "dds/blocks/BlockDecoder.h"

namespace {

using Bytes = std::span<const unsigned char>;

/// A slice to decode and where it goes.
struct Slice {
  Bytes data;
  std::size_t width;
  std::size_t height;
  unsigned char* pixels;

  std::size_t Count() const { return width * height; }
};

/// Returns the number in the first kBytes bytes, the lowest first.
template <std::size_t kBytes>
std::uint32_t Number(Bytes bytes) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < kBytes; ++i) number |= std::uint32_t{bytes[i]} << (8 * i);
  return number;
}

void PutFloat(unsigned char* pixels, std::size_t index, float value) {
  std::memcpy(pixels + index * sizeof value, &value, sizeof value);
}

// --- Bit fields.

/// A bit field of a word and the byte for each of its values. Of fields above 16 bits the upper 16 count, and
/// of those of 16 the upper byte.
class BitField {
 public:
  BitField() = default;
  /// Without a mask every word gives `absent`.
  BitField(std::uint32_t mask, unsigned char absent) : mMask(mask), mBytes(1, absent) {
    if (mask == 0) return;
    constexpr int kMostBits = 16;
    const int lowest = std::countr_zero(mask);
    const auto width = static_cast<int>(std::bit_width(mask >> lowest));
    mShift = lowest + std::max(width - kMostBits, 0);
    mBytes.resize(std::size_t{1} << std::min(width, kMostBits));
    for (std::size_t i = 0; i < mBytes.size(); ++i) mBytes[i] = ByteOf(i, mBytes.size() - 1);
  }

  unsigned char Of(std::uint32_t word) const { return mBytes[(word & mMask) >> mShift]; }

 private:
  static unsigned char ByteOf(std::size_t value, std::size_t largest) {
    const bool keepsHighByte = largest == 0xFFFF;
    const std::size_t byte = keepsHighByte ? value >> 8 : (510 * value + largest) / (2 * largest);
    return static_cast<unsigned char>(byte);
  }

  std::uint32_t mMask = 0;
  int mShift = 0;
  std::vector<unsigned char> mBytes;
};

template <std::size_t kBytes>
void DecodeWords(const DdsLayout& layout, const Slice& slice) {
  std::array<BitField, 4> fields;
  const auto channels = static_cast<std::size_t>(layout.channels);
  for (std::size_t c = 0; c < channels; ++c) fields[c] = BitField(layout.masks[c], c == 3 ? 255 : 0);
  unsigned char* out = slice.pixels;
  for (std::size_t i = 0; i < slice.Count(); ++i) {
    const std::uint32_t word = Number<kBytes>(slice.data.subspan(i * kBytes, kBytes));
    for (std::size_t c = 0; c < channels; ++c) *out++ = fields[c].Of(word);
  }
}

void DecodeMasked(const DdsLayout& layout, const Slice& slice) {
  switch (layout.pixelBits) {
    case 8:
      return DecodeWords<1>(layout, slice);
    case 16:
      return DecodeWords<2>(layout, slice);
    case 24:
      return DecodeWords<3>(layout, slice);
    default:
      return DecodeWords<4>(layout, slice);
  }
}

// --- Whole channels.

/// Keeps the high byte of each 16-bit channel.
void DecodeHighBytes(const Slice& slice, std::size_t channels) {
  for (std::size_t i = 0; i < channels * slice.Count(); ++i) slice.pixels[i] = slice.data[2 * i + 1];
}

/// Two pixels share red and blue: the bytes of a pair are R G0 B G1, or with `greenFirst` G0 R G1 B.
void DecodePairs(const Slice& slice, bool greenFirst) {
  const std::size_t green = greenFirst ? 0 : 1;
  const std::size_t colour = 1 - green;
  const std::size_t rowBytes = (slice.width + 1) / 2 * 4;
  unsigned char* out = slice.pixels;
  for (std::size_t y = 0; y < slice.height; ++y) {
    for (std::size_t x = 0; x < slice.width; ++x) {
      const Bytes pair = slice.data.subspan(y * rowBytes + x / 2 * 4, 4);
      *out++ = pair[colour];
      *out++ = pair[green + x % 2 * 2];
      *out++ = pair[colour + 2];
    }
  }
}

void DecodeChannels(const DdsLayout& layout, const Slice& slice) {
  const auto channels = static_cast<std::size_t>(layout.channels);
  if (layout.code == kDdsCodeRGBG || layout.code == kDdsCodeGRGB)
    DecodePairs(slice, layout.code == kDdsCodeGRGB);
  else if (static_cast<std::size_t>(layout.pixelBits) == 16 * channels)
    DecodeHighBytes(slice, channels);
  else
    std::memcpy(slice.pixels, slice.data.data(), channels * slice.Count());
}

// --- Palettes.

void DecodePalette(const DdsLayout& layout, Bytes palette, const Slice& slice) {
  const auto channels = static_cast<std::size_t>(layout.channels);
  const std::size_t perByte = layout.pixelBits == 4 ? 2 : 1;
  const std::size_t rowBytes = (slice.width + perByte - 1) / perByte;
  unsigned char* out = slice.pixels;
  for (std::size_t y = 0; y < slice.height; ++y) {
    for (std::size_t x = 0; x < slice.width; ++x, out += channels) {
      const unsigned byte = slice.data[y * rowBytes + x / perByte];
      // The left pixel of two is in the low half.
      const std::size_t index = perByte == 2 ? byte >> (x % 2 * 4) & 15 : byte;
      std::copy_n(palette.subspan(4 * index, 4).begin(), channels, out);
    }
  }
}

// --- Floats.

void DecodeFloats(const DdsLayout& layout, const Slice& slice) {
  const auto channels = static_cast<std::size_t>(layout.channels);
  const std::size_t count = channels * slice.Count();
  if (static_cast<std::size_t>(layout.pixelBits) == 32 * channels) {
    std::memcpy(slice.pixels, slice.data.data(), count * sizeof(float));
    return;
  }
  for (std::size_t i = 0; i < count; ++i)
    PutFloat(slice.pixels, i, HalfToFloat(Number<2>(slice.data.subspan(2 * i, 2))));
}

/// R11G11B10: three unsigned floats with the exponent of a half and 6, 6 and 5 bits of fraction:
///
///     bit 31  27 26 22 21  17 16 11 10   6 5   0
///         exp B  fr B  exp G  fr G  exp R  fr R
void DecodePackedFloats(const Slice& slice) {
  for (std::size_t i = 0; i < slice.Count(); ++i) {
    const std::uint32_t word = Number<4>(slice.data.subspan(4 * i, 4));
    // Moved up to the places of a half's exponent and fraction.
    PutFloat(slice.pixels, 3 * i, HalfToFloat(word << 4 & 0x7FF0));
    PutFloat(slice.pixels, 3 * i + 1, HalfToFloat(word >> 11 << 4 & 0x7FF0));
    PutFloat(slice.pixels, 3 * i + 2, HalfToFloat(word >> 22 << 5 & 0x7FE0));
  }
}

/// R9G9B9E5: three fractions of 9 bits and an exponent, biased by 15, for all: value = fraction x 2^(exponent
/// - 15 - 9).
void DecodeSharedExponents(const Slice& slice) {
  constexpr std::uint32_t kFraction = 0x1FF;
  for (std::size_t i = 0; i < slice.Count(); ++i) {
    const std::uint32_t word = Number<4>(slice.data.subspan(4 * i, 4));
    const int exponent = static_cast<int>(word >> 27) - 15 - 9;
    for (std::size_t c = 0; c < 3; ++c)
      PutFloat(slice.pixels, 3 * i + c,
               std::ldexp(static_cast<float>(word >> (9 * c) & kFraction), exponent));
  }
}

// --- Signed bytes.

/// Maps -127 to 127 to 0 to 255, rounded; -128 counts as -127.
constexpr std::array<unsigned char, 256> MakeSignedTable() {
  std::array<unsigned char, 256> table{};
  for (int byte = 0; byte < 256; ++byte) {
    const int value = std::max(byte < 128 ? byte : byte - 256, -127);
    table[static_cast<std::size_t>(byte)] =
        static_cast<unsigned char>(((value + 127) * 2 * 255 + 254) / (2 * 254));
  }
  return table;
}
constexpr std::array<unsigned char, 256> kSignedToUnsigned = MakeSignedTable();

}  // namespace

std::int64_t DdsDecodedBytes(const DdsLayout& layout, std::int64_t width, std::int64_t height) {
  const int channelBytes = layout.isFloat ? 4 : 1;
  return width * layout.channels * channelBytes * height;
}

bool DdsDecodePixels(const DdsLayout& layout, Bytes palette, Bytes data, int width, int height,
                     unsigned char* pixels) {
  if (width < 1 || height < 1) return false;
  if (data.size() < static_cast<std::uint64_t>(DdsSliceBytes(layout, width, height))) return false;
  if (palette.size() < 4 * static_cast<std::size_t>(layout.paletteEntries)) return false;
  const Slice slice = {data, static_cast<std::size_t>(width), static_cast<std::size_t>(height), pixels};
  switch (layout.reader) {
    case kDdsReaderFloat:
      DecodeFloats(layout, slice);
      break;
    case kDdsReaderMasked:
      DecodeMasked(layout, slice);
      break;
    case kDdsReaderBlock:
      return RDecodeBlockImage(layout.blocks, data, width, height, pixels);
    case kDdsReaderPalette:
      DecodePalette(layout, palette, slice);
      break;
    case kDdsReaderCode:
      DecodeChannels(layout, slice);
      break;
    case kDdsReaderPackedFloat:
      DecodePackedFloats(slice);
      break;
    case kDdsReaderSharedExponent:
      DecodeSharedExponents(slice);
      break;
  }
  if (layout.isSigned) {
    for (std::int64_t i = 0; i < DdsDecodedBytes(layout, width, height); ++i)
      pixels[i] = kSignedToUnsigned[pixels[i]];
  }
  return true;
}
