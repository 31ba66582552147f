// Decodes and flips blocks: both instruction sets must agree, flipping twice must restore the blocks, and a
// flipped block must decode to the pixels upside down. The first byte chooses the layout, the others are
// blocks.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "dds/blocks/BlockDecoder.h"
#include "dds/blocks/BlockKernels.h"

namespace {

using Bytes = std::vector<unsigned char>;

void Require(bool holds) {
  if (!holds) std::abort();
}

Bytes Decode(rblocks::DecodeStrip decode, const Bytes& blocks, int count, std::size_t stride) {
  Bytes pixels(4 * stride);
  decode(blocks.data(), count, pixels.data(), stride);
  return pixels;
}

Bytes UpsideDown(const Bytes& pixels, std::size_t stride) {
  Bytes flipped(pixels.size());
  for (std::size_t y = 0; y < 4 && stride > 0; ++y)
    std::memcpy(&flipped[y * stride], &pixels[(3 - y) * stride], stride);
  return flipped;
}

void CheckFlips(std::size_t layout, const Bytes& blocks, const Bytes& pixels, int count, std::size_t stride) {
  const rblocks::FlipStrips flip = rblocks::kPortable.flip[layout];
  if (!flip) return;
  Bytes flipped = blocks;
  flip(flipped.data(), flipped.data(), count);
  Require(Decode(rblocks::kPortable.decode[layout], flipped, count, stride) == UpsideDown(pixels, stride));
  if (rblocks::HasAvx2()) {
    Bytes fast = blocks;
    rblocks::kAvx2.flip[layout](fast.data(), fast.data(), count);
    Require(fast == flipped);
  }
  flip(flipped.data(), flipped.data(), count);
  Require(flipped == blocks);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const std::size_t layout = data[0] % kBlockSizes.size();
  const auto format = static_cast<kBlockFormat>(layout);
  const auto blockBytes = static_cast<std::size_t>(RSizeOf(format).blockBytes);
  const std::size_t count = (size - 1) / blockBytes;
  if (count == 0) return 0;
  const Bytes blocks(data + 1, data + 1 + count * blockBytes);
  const std::size_t stride = 4 * count * static_cast<std::size_t>(RSizeOf(format).pixelBytes);
  const Bytes pixels = Decode(rblocks::kPortable.decode[layout], blocks, static_cast<int>(count), stride);
  if (rblocks::HasAvx2())
    Require(Decode(rblocks::kAvx2.decode[layout], blocks, static_cast<int>(count), stride) == pixels);
  CheckFlips(layout, blocks, pixels, static_cast<int>(count), stride);
  // A picture whose size is no multiple of four.
  Bytes picture(static_cast<std::size_t>(4 * count - 1) * 3 *
                static_cast<std::size_t>(RSizeOf(format).pixelBytes));
  Require(RDecodeBlockImage(format, blocks, static_cast<int>(4 * count - 1), 3, picture.data()));
  return 0;
}
