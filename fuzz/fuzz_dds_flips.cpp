// Turns pictures of any format and size upside down. What happens to them is told a second time here,
// plainly: whole rows of blocks change places, and the rows of indices inside the blocks.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "dds/CDDSImageAccess.h"

namespace {

using Bytes = std::vector<unsigned char>;

enum class Half { kColours, kFourBits, kThreeBits };

struct Layout {
  std::uint32_t format;
  std::vector<Half> halves;  // of eight bytes; none: rows of pixels
};

const std::vector<Layout>& Layouts() {
  static const std::vector<Layout> layouts = {
      {nv_dds::kTextureFormatDXT1, {Half::kColours}},
      {nv_dds::kTextureFormatDXT3, {Half::kFourBits, Half::kColours}},
      {nv_dds::kTextureFormatDXT5, {Half::kThreeBits, Half::kColours}},
      {nv_dds::kTextureFormatBC4, {Half::kThreeBits}},
      {nv_dds::kTextureFormatBC4Signed, {Half::kThreeBits}},
      {nv_dds::kTextureFormatBC5, {Half::kThreeBits, Half::kThreeBits}},
      {nv_dds::kTextureFormatBC5Signed, {Half::kThreeBits, Half::kThreeBits}},
      {nv_dds::kTextureFormatRGB, {}},
      {nv_dds::kTextureFormatRGBA, {}},
      {nv_dds::kTextureFormatLuminance, {}},
  };
  return layouts;
}

// Exchanges the four rows of a number of bits each, the first of which starts at `bit`.
void ReverseRows(unsigned char* half, int bit, int width) {
  std::array<bool, 64> before{};
  for (int i = bit; i < bit + 4 * width; ++i)
    before.at(static_cast<std::size_t>(i)) = half[i / 8] >> i % 8 & 1;
  for (int i = 0; i < 4 * width; ++i) {
    const int from = bit + (3 - i / width) * width + i % width;
    const int to = bit + i;
    half[to / 8] = static_cast<unsigned char>(half[to / 8] & ~(1 << to % 8));
    if (before.at(static_cast<std::size_t>(from)))
      half[to / 8] = static_cast<unsigned char>(half[to / 8] | 1 << to % 8);
  }
}

void ReverseRows(Half kind, unsigned char* half) {
  if (kind == Half::kColours) ReverseRows(half, 32, 8);
  if (kind == Half::kFourBits) ReverseRows(half, 0, 16);
  if (kind == Half::kThreeBits) ReverseRows(half, 16, 12);
}

void FlipBlocks(const Layout& layout, Bytes& picture, std::size_t width, std::size_t height) {
  const std::size_t blockBytes = 8 * layout.halves.size();
  const std::size_t stride = (width + 3) / 4 * blockBytes;
  const std::size_t rows = height / 4;
  const Bytes before = picture;
  for (std::size_t y = 0; y < rows; ++y) {
    if (y == rows - 1 - y || rows < 2) continue;
    for (std::size_t i = 0; i < width / 4 * blockBytes; i += 8) {
      unsigned char* half = &picture[y * stride + i];
      std::memcpy(half, &before[(rows - 1 - y) * stride + i], 8);
      ReverseRows(layout.halves[i / 8 % layout.halves.size()], half);
    }
  }
}

void FlipRows(Bytes& picture, std::size_t height, std::size_t depth) {
  const std::size_t row = picture.size() / depth / height;
  const std::size_t slice = picture.size() / depth;
  const Bytes before = picture;
  for (std::size_t d = 0; d < depth; ++d) {
    for (std::size_t y = 0; y < height; ++y) {
      for (std::size_t i = 0; i < row; ++i)
        picture[d * slice + y * row + i] = before[d * slice + (height - 1 - y) * row + i];
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 4) return 0;
  const Layout& layout = Layouts()[data[0] % Layouts().size()];
  const std::size_t width = data[1] % 70 + 1U;
  const std::size_t height = data[2] % 70 + 1U;
  const std::size_t depth = data[3] % 4 + 1U;
  const std::size_t blocks = (width + 3) / 4 * ((height + 3) / 4) * 8 * layout.halves.size();
  // Rows of any length: pixels do not matter here.
  const std::size_t slice = layout.halves.empty() ? width * height : blocks;
  Bytes picture(slice * depth, 0x5A);
  std::copy_n(data + 4, std::min(size - 4, picture.size()), picture.begin());

  Bytes expected = picture;
  if (layout.halves.empty())
    FlipRows(expected, height, depth);
  else
    FlipBlocks(layout, expected, width, height);
  nv_dds::CDDSImageAccess access(layout.format);
  const Bytes before = picture;
  const auto flip = [&] {
    access.Flip(picture.data(), static_cast<int>(width), static_cast<int>(height), static_cast<int>(depth),
                static_cast<int>(picture.size()));
  };
  flip();
  if (picture != expected) std::abort();
  flip();
  if (picture != before) std::abort();
  return 0;
}
