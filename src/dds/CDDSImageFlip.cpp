// DDS textures upside down, in place and without decoding them.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include "dds/DdsDirectFormat.h"
#include "dds/blocks/BlockKernels.h"
#include "dds/nv_dds.h"

namespace nv_dds {
namespace {

void FlipBlocks(kBlockFormat format, void* first, void* second, int count) {
  rblocks::Best().flip[static_cast<std::size_t>(format)](static_cast<unsigned char*>(first),
                                                         static_cast<unsigned char*>(second), count);
}

}  // namespace

void CDDSImage::flip(char* image, int width, int height, int depth, int size) {
  if (!mCompressed) {
    FlipRows(image, height, depth, size);
  } else if (const kBlockFormat* blocks = DdsBlockFormatOf(mFormat)) {
    FlipBlockRows(image, width, height, *blocks);
  }
}

void CDDSImage::FlipBlockRows(char* image, int width, int height, kBlockFormat blocks) {
  const int columns = width / 4;
  const int rows = height / 4;
  const std::ptrdiff_t stride = std::ptrdiff_t{(width + 3) / 4} * RSizeOf(blocks).blockBytes;
  // Deliberate: a single row of blocks stays as it is, inside too, as does the middle one of an odd number of
  // rows; so do the columns and rows of pixels beyond the last whole block, and all slices but the first.
  for (int y = 0; y < rows / 2; ++y)
    FlipBlocks(blocks, image + y * stride, image + (rows - 1 - y) * stride, columns);
}

void CDDSImage::FlipRows(char* image, int height, int depth, int size) {
  if (height < 1 || depth < 1) return;
  const int slice = size / depth;
  const int row = slice / height;
  for (int d = 0; d < depth; ++d, image += slice) {
    for (int y = 0; y < height / 2; ++y)
      swap(image + std::ptrdiff_t{y} * row, image + std::ptrdiff_t{height - 1 - y} * row, row);
  }
}

char* CDDSImage::Scratch::Get(int size) {
  if (size > mCapacity) {
    mBytes.reset();  // before the larger one is made
    mBytes = RAllocatePixels(static_cast<std::uint64_t>(size));
    mCapacity = mBytes ? size : 0;
  }
  return reinterpret_cast<char*>(mBytes.get());
}

void CDDSImage::swap(void* a, void* b, int size) {
  if (size < 1) return;
  auto* first = static_cast<char*>(a);
  auto* second = static_cast<char*>(b);
  const auto bytes = static_cast<std::size_t>(size);
  char* scratch = mScratch.Get(size);
  if (!scratch) {
    std::swap_ranges(first, first + bytes, second);
    return;
  }
  std::memcpy(scratch, first, bytes);
  std::memcpy(first, second, bytes);
  std::memcpy(second, scratch, bytes);
}

void CDDSImage::flip_blocks_dxtc1(DXTColBlock* line, int numBlocks) {
  FlipBlocks(kBlockBC1, line, line, numBlocks);
}
void CDDSImage::flip_blocks_dxtc3(DXTColBlock* line, int numBlocks) {
  FlipBlocks(kBlockBC2, line, line, numBlocks);
}
void CDDSImage::flip_blocks_dxtc5(DXTColBlock* line, int numBlocks) {
  FlipBlocks(kBlockBC3, line, line, numBlocks);
}
void CDDSImage::flip_blocks_bc4(DXTColBlock* line, int numBlocks) {
  FlipBlocks(kBlockBC4, line, line, numBlocks);
}
void CDDSImage::flip_blocks_bc5(DXTColBlock* line, int numBlocks) {
  FlipBlocks(kBlockBC5, line, line, numBlocks);
}
void CDDSImage::flip_dxt5_alpha(DXT5AlphaBlock* block) { FlipBlocks(kBlockBC4, block, block, 1); }

}  // namespace nv_dds
