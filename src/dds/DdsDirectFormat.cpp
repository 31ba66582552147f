#include "dds/DdsDirectFormat.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "dds/nv_dds.h"
#include "image/RImageFormat.h"
#include "rbaselib/RFile.h"

namespace {

using nv_dds::kTextureFormat;

struct CompressedRow {
  std::uint32_t fourCC;
  kTextureFormat format;
  int components;
  kBlockFormat blocks;
};

constexpr std::array kCompressedFormats = {
    // Deliberate: DXT1 counts 3 components although the recorded format is the one with alpha; uploads go by
    // the format.
    CompressedRow{DdsFourCC("DXT1"), nv_dds::kTextureFormatDXT1, 3, kBlockBC1},
    CompressedRow{DdsFourCC("DXT3"), nv_dds::kTextureFormatDXT3, 4, kBlockBC2},
    CompressedRow{DdsFourCC("DXT5"), nv_dds::kTextureFormatDXT5, 4, kBlockBC3},
    CompressedRow{DdsFourCC("ATI1"), nv_dds::kTextureFormatBC4, 1, kBlockBC4},
    CompressedRow{DdsFourCC("BC4U"), nv_dds::kTextureFormatBC4, 1, kBlockBC4},
    CompressedRow{DdsFourCC("BC4S"), nv_dds::kTextureFormatBC4Signed, 1, kBlockBC4Signed},
    CompressedRow{DdsFourCC("ATI2"), nv_dds::kTextureFormatBC5, 2, kBlockBC5},
    CompressedRow{DdsFourCC("BC5U"), nv_dds::kTextureFormatBC5, 2, kBlockBC5},
    CompressedRow{DdsFourCC("BC5S"), nv_dds::kTextureFormatBC5Signed, 2, kBlockBC5Signed},
};

constexpr std::uint32_t kRgbaFlags = DdsPixelFormat::kRgb | DdsPixelFormat::kAlphaPixels;
constexpr std::uint32_t kLowByte = 0xFF;
constexpr std::uint32_t kThirdByte = 0xFF0000;

bool FindCompressed(std::uint32_t fourCC, DdsDirectFormat& format) {
  const auto* row = std::ranges::find(kCompressedFormats, fourCC, &CompressedRow::fourCC);
  if (row == kCompressedFormats.end()) return false;
  format = {row->format, row->components, true, row->blocks};
  return true;
}

bool FindUncompressed(const DdsPixelFormat& pixels, DdsDirectFormat& format) {
  const bool redFirst = pixels.rBitMask == kLowByte;
  const bool anyRgb = pixels.flags == DdsPixelFormat::kRgb || pixels.flags == kRgbaFlags;
  if (anyRgb && pixels.rgbBitCount == 32) {
    format = {nv_dds::kTextureFormatRGBA,
              4,
              false,
              {},
              redFirst ? kImageFormatRGBA : kImageFormatBGRA,
              kImageFormatRGBA};
  } else if (pixels.flags == DdsPixelFormat::kRgb && pixels.rgbBitCount == 24) {
    format = {nv_dds::kTextureFormatRGB,
              3,
              false,
              {},
              redFirst ? kImageFormatRGB : kImageFormatBGR,
              kImageFormatRGB};
  } else if (pixels.rgbBitCount == 8) {
    format = {nv_dds::kTextureFormatLuminance, 1};
  } else {
    return false;
  }
  return redFirst || pixels.rBitMask == kThirdByte || (pixels.rBitMask == 0 && pixels.gBitMask == 0);
}

std::int64_t LevelBytes(const DdsDirectFormat& format, int width, int height, int depth) {
  if (!format.compressed) return RImageBytes(width, height, depth, format.components);
  const auto blocks = [](int pixels) { return pixels / 4 + (pixels % 4 != 0); };
  return RImageBytes(blocks(width), blocks(height), depth, RSizeOf(format.blocks).blockBytes);
}

}  // namespace

bool DdsFindDirectFormat(const DdsHeader& header, DdsDirectFormat& format) {
  const DdsPixelFormat& pixels = header.pixelFormat;
  if (pixels.flags & DdsPixelFormat::kFourCC) return FindCompressed(pixels.fourCC, format);
  return FindUncompressed(pixels, format);
}

bool DdsReadDirectHeader(RFile& file, DdsHeader& header, DdsDirectFormat& format) {
  std::array<unsigned char, DdsHeader::kDataOffset> bytes{};
  const std::size_t size = file.Read(bytes.data(), bytes.size());
  if (size < DdsHeader::kFileOffset || std::memcmp(bytes.data(), "DDS ", DdsHeader::kFileOffset) != 0)
    return false;
  RByteReader in(bytes);
  return in.Skip(DdsHeader::kFileOffset) && header.Read(in) && DdsFindDirectFormat(header, format);
}

bool DdsListLevels(const DdsHeader& header, const DdsDirectFormat& format, std::vector<DdsLevel>& levels) {
  constexpr std::uint32_t kMostLevels = 32;  // a side of 2^31 halves to 1 in as many
  constexpr auto kLargest = static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max());
  if (header.width > kLargest || header.height > kLargest || header.mipMapCount > kMostLevels) return false;
  auto width = static_cast<int>(header.width);
  auto height = static_cast<int>(header.height);
  if (width < 1 || height < 1) return false;
  int depth = nv_dds::CDDSImage::clamp_size(static_cast<int>(header.depth));
  const std::uint32_t count = std::max(header.mipMapCount, 1U);
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::int64_t bytes = LevelBytes(format, width, height, depth);
    if (bytes < 0) return false;
    levels.push_back({width, height, depth, static_cast<int>(bytes)});
    width = nv_dds::CDDSImage::clamp_size(width / 2);
    height = nv_dds::CDDSImage::clamp_size(height / 2);
    depth = nv_dds::CDDSImage::clamp_size(depth / 2);
  }
  return true;
}

const kBlockFormat* DdsBlockFormatOf(std::uint32_t format) {
  const auto* row = std::ranges::find(kCompressedFormats, format, &CompressedRow::format);
  return row == kCompressedFormats.end() ? nullptr : &row->blocks;
}
