#include "dds/blocks/BlockDecoder.h"

#include <algorithm>
#include <cstring>

#include "dds/blocks/BlockKernels.h"

namespace {

// Sixteen pixels of four floats.
constexpr std::size_t kLargestTile = 256;

/// Decodes one row of blocks, of which the first `width` columns and `height` rows are in the picture.
void DecodeBlockRow(kBlockFormat format, std::span<const unsigned char> blocks, std::size_t width,
                    std::size_t height, unsigned char* pixels) {
  const auto blockBytes = static_cast<std::size_t>(RSizeOf(format).blockBytes);
  const auto pixelBytes = static_cast<std::size_t>(RSizeOf(format).pixelBytes);
  const std::size_t stride = width * pixelBytes;
  const std::size_t whole = height == 4 ? width / 4 : 0;
  RDecodeBlocks(format, blocks.first(whole * blockBytes), pixels, stride);
  for (std::size_t i = whole; 4 * i < width; ++i) {
    unsigned char tile[kLargestTile];
    RDecodeBlocks(format, blocks.subspan(i * blockBytes, blockBytes), tile, 4 * pixelBytes);
    const std::size_t columns = std::min<std::size_t>(4, width - 4 * i);
    for (std::size_t y = 0; y < height; ++y)
      std::memcpy(pixels + y * stride + 4 * i * pixelBytes, tile + y * 4 * pixelBytes, columns * pixelBytes);
  }
}

}  // namespace

void RDecodeBlocks(kBlockFormat format, std::span<const unsigned char> blocks, unsigned char* pixels,
                   std::size_t stride) {
  const auto blockBytes = static_cast<std::size_t>(RSizeOf(format).blockBytes);
  rblocks::Best().decode[static_cast<std::size_t>(format)](
      blocks.data(), static_cast<int>(blocks.size() / blockBytes), pixels, stride);
}

bool RDecodeBlockImage(kBlockFormat format, std::span<const unsigned char> blocks, int width, int height,
                       unsigned char* pixels) {
  if (width < 1 || height < 1) return false;
  if (blocks.size() < static_cast<std::uint64_t>(RBlockGridBytes(format, width, height))) return false;
  const auto columns = static_cast<std::size_t>(width);
  const auto rows = static_cast<std::size_t>(height);
  const auto rowBytes = static_cast<std::size_t>(RBlockGridBytes(format, width, 1));
  const std::size_t stride = columns * static_cast<std::size_t>(RSizeOf(format).pixelBytes);
  for (std::size_t y = 0; y < rows; y += 4) {
    const std::size_t count = std::min<std::size_t>(4, rows - y);
    DecodeBlockRow(format, blocks.subspan(y / 4 * rowBytes, rowBytes), columns, count, pixels + y * stride);
  }
  return true;
}
