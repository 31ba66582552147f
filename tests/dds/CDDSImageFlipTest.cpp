#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "dds/BlockReference.h"
#include "dds/CDDSImageAccess.h"
#include "dds/blocks/BlockKernels.h"
#include "support/DdsBuilder.h"

namespace {

using Bytes = std::vector<unsigned char>;
using nv_dds::CDDSImageAccess;
using test::RandomBytes;

// --- The handlers, byte by byte as the block layouts say.

/// What a handler does to one block.
using ExpectedFlip = void (*)(const unsigned char* b, unsigned char* c);

void FlipColours(const unsigned char* b, unsigned char* c) {
  c[4] = b[7];
  c[5] = b[6];
  c[6] = b[5];
  c[7] = b[4];
}

void FlipFourBitAlpha(const unsigned char* b, unsigned char* c) {
  for (int row = 0; row < 4; ++row) {
    c[2 * row] = b[2 * (3 - row)];
    c[2 * row + 1] = b[2 * (3 - row) + 1];
  }
}

/// Two groups of 24 bits, each of two rows of twelve: the groups change places, and the rows in each.
void FlipThreeBitAlpha(const unsigned char* b, unsigned char* c) {
  const auto group = [&](int at) { return b[at] | b[at + 1] << 8 | b[at + 2] << 16; };
  const auto exchanged = [](int value) { return value >> 12 | (value & 0xFFF) << 12; };
  const int upper = exchanged(group(5));
  const int lower = exchanged(group(2));
  for (int i = 0; i < 3; ++i) {
    c[2 + i] = static_cast<unsigned char>(upper >> (8 * i));
    c[5 + i] = static_cast<unsigned char>(lower >> (8 * i));
  }
}

/// The same twelve-bit rows in reverse, spelled out in bytes.
void FlipChannel(const unsigned char* b, unsigned char* c) {
  c[2] = static_cast<unsigned char>(b[7] << 4 | b[6] >> 4);
  c[3] = static_cast<unsigned char>(b[7] >> 4 | b[5] << 4);
  c[4] = static_cast<unsigned char>(b[5] >> 4 | b[6] << 4);
  c[5] = static_cast<unsigned char>(b[4] << 4 | b[3] >> 4);
  c[6] = static_cast<unsigned char>(b[4] >> 4 | b[2] << 4);
  c[7] = static_cast<unsigned char>(b[2] >> 4 | b[3] << 4);
}

struct HandlerCase {
  const char* name;
  CDDSImageAccess::Handler handler;
  std::size_t blockBytes;
  ExpectedFlip first;
  ExpectedFlip second;  // of bytes 8 to 15
  kBlockFormat format;
  std::uint32_t recorded;
};

constexpr HandlerCase kHandlers[] = {
    {"DXT1", CDDSImageAccess::kDxt1, 8, FlipColours, nullptr, kBlockBC1, 0x83F1},
    {"DXT3", CDDSImageAccess::kDxt3, 16, FlipFourBitAlpha, FlipColours, kBlockBC2, 0x83F2},
    {"DXT5", CDDSImageAccess::kDxt5, 16, FlipThreeBitAlpha, FlipColours, kBlockBC3, 0x83F3},
    {"BC4", CDDSImageAccess::kBc4, 8, FlipChannel, nullptr, kBlockBC4, 0x8DBB},
    {"BC4Signed", CDDSImageAccess::kBc4, 8, FlipChannel, nullptr, kBlockBC4Signed, 0x8DBC},
    {"BC5", CDDSImageAccess::kBc5, 16, FlipChannel, FlipChannel, kBlockBC5, 0x8DBD},
    {"BC5Signed", CDDSImageAccess::kBc5, 16, FlipChannel, FlipChannel, kBlockBC5Signed, 0x8DBE},
};

std::string HandlerName(const testing::TestParamInfo<HandlerCase>& info) { return info.param.name; }
void PrintTo(const HandlerCase& handler, std::ostream* out) { *out << handler.name; }

class FlipBlocksTest : public testing::TestWithParam<HandlerCase> {
 protected:
  CDDSImageAccess mAccess{GetParam().recorded};
};

TEST_P(FlipBlocksTest, RearrangesTheIndexBits) {
  constexpr int kCount = 500;
  const Bytes before = RandomBytes(kCount * GetParam().blockBytes, 21);
  Bytes expected = before;
  for (std::size_t i = 0; i < before.size(); i += GetParam().blockBytes) {
    GetParam().first(&before[i], &expected[i]);
    if (GetParam().second) GetParam().second(&before[i + 8], &expected[i + 8]);
  }
  Bytes flipped = before;
  mAccess.FlipBlocks(GetParam().handler, flipped.data(), kCount);
  EXPECT_EQ(flipped, expected);
}

TEST_P(FlipBlocksTest, TheDecodedPictureIsUpsideDown) {
  constexpr int kCount = 300;
  const Bytes before = RandomBytes(kCount * GetParam().blockBytes, 22);
  Bytes flipped = before;
  mAccess.FlipBlocks(GetParam().handler, flipped.data(), kCount);
  for (std::size_t i = 0; i < before.size(); i += GetParam().blockBytes) {
    for (int y = 0; y < 4; ++y) {
      for (int x = 0; x < 4; ++x)
        ASSERT_EQ(test::ReferencePixel(GetParam().format, &flipped[i], x, y),
                  test::ReferencePixel(GetParam().format, &before[i], x, 3 - y));
    }
  }
}

TEST_P(FlipBlocksTest, TwiceRestoresTheBlocks) {
  const Bytes before = RandomBytes(77 * GetParam().blockBytes, 23);
  Bytes flipped = before;
  mAccess.FlipBlocks(GetParam().handler, flipped.data(), 77);
  EXPECT_NE(flipped, before);
  mAccess.FlipBlocks(GetParam().handler, flipped.data(), 77);
  EXPECT_EQ(flipped, before);
}

TEST_P(FlipBlocksTest, NoBlocksChangeNothing) {
  Bytes block = RandomBytes(16, 24);
  const Bytes before = block;
  mAccess.FlipBlocks(GetParam().handler, block.data(), 0);
  EXPECT_EQ(block, before);
}

TEST_P(FlipBlocksTest, BothInstructionSetsGiveTheSameBytes) {
  if (!rblocks::HasAvx2()) GTEST_SKIP() << "no AVX2 here";
  for (int count = 0; count < 40; ++count) {
    const std::size_t bytes = static_cast<std::size_t>(count) * GetParam().blockBytes;
    const Bytes blocks = RandomBytes(2 * bytes, 25);
    Bytes first = blocks;
    Bytes second = blocks;
    rblocks::kAvx2.flip[GetParam().format](first.data(), first.data() + bytes, count);
    rblocks::kPortable.flip[GetParam().format](second.data(), second.data() + bytes, count);
    EXPECT_EQ(first, second) << count;
  }
}

TEST_P(FlipBlocksTest, TwoStripsAreTurnedAndExchanged) {
  for (const rblocks::Kernels* kernels : {&rblocks::kPortable, &rblocks::kAvx2}) {
    if (kernels == &rblocks::kAvx2 && !rblocks::HasAvx2()) continue;
    constexpr int kCount = 7;
    const std::size_t bytes = kCount * GetParam().blockBytes;
    Bytes first = RandomBytes(bytes, 26);
    Bytes second = RandomBytes(bytes, 27);
    Bytes firstTurned = first;
    Bytes secondTurned = second;
    CDDSImageAccess::FlipBlocks(GetParam().handler, firstTurned.data(), kCount);
    CDDSImageAccess::FlipBlocks(GetParam().handler, secondTurned.data(), kCount);
    kernels->flip[GetParam().format](first.data(), second.data(), kCount);
    EXPECT_EQ(first, secondTurned);
    EXPECT_EQ(second, firstTurned);
  }
}

// --- Pictures of blocks.

/// A picture of blocks and its rows.
struct BlockPicture {
  Bytes bytes;
  std::size_t stride;
  std::size_t used;  // bytes of a row that a flip touches

  BlockPicture(const HandlerCase& layout, int width, int height)
      : bytes(RandomBytes(Blocks(width) * Blocks(height) * layout.blockBytes, 31)),
        stride(Blocks(width) * layout.blockBytes),
        used(static_cast<std::size_t>(width / 4) * layout.blockBytes) {}

  static std::size_t Blocks(int pixels) { return static_cast<std::size_t>((pixels + 3) / 4); }
  Bytes Row(std::size_t y) const { return Part(y, 0, used); }
  Bytes Rest(std::size_t y) const { return Part(y, used, stride); }

 private:
  Bytes Part(std::size_t y, std::size_t from, std::size_t to) const {
    const auto row = bytes.begin() + static_cast<std::ptrdiff_t>(y * stride);
    return {row + static_cast<std::ptrdiff_t>(from), row + static_cast<std::ptrdiff_t>(to)};
  }
};

class FlipPictureTest : public FlipBlocksTest {
 protected:
  BlockPicture Flipped(BlockPicture picture, int width, int height) {
    mAccess.Flip(picture.bytes.data(), width, height, 1, static_cast<int>(picture.bytes.size()));
    return picture;
  }
  Bytes FlippedRow(Bytes row) {
    mAccess.FlipBlocks(GetParam().handler, row.data(), static_cast<int>(row.size() / GetParam().blockBytes));
    return row;
  }
};

TEST_P(FlipPictureTest, RowsOfBlocksChangePlacesAndAreFlippedInside) {
  const BlockPicture before(GetParam(), 20, 16);
  const BlockPicture after = Flipped(before, 20, 16);
  for (std::size_t y = 0; y < 4; ++y) EXPECT_EQ(after.Row(y), FlippedRow(before.Row(3 - y))) << y;
}

TEST_P(FlipPictureTest, OneRowOfBlocksStaysAsItIs) {
  for (const int height : {1, 2, 3, 4, 5, 6, 7}) {
    const BlockPicture before(GetParam(), 12, height);
    EXPECT_EQ(Flipped(before, 12, height).bytes, before.bytes) << height;
  }
}

TEST_P(FlipPictureTest, TheMiddleRowOfAnOddNumberIsNeitherMovedNorFlipped) {
  const BlockPicture before(GetParam(), 4, 12);
  const BlockPicture after = Flipped(before, 4, 12);
  EXPECT_EQ(after.Row(0), FlippedRow(before.Row(2)));
  EXPECT_EQ(after.Row(1), before.Row(1));
  EXPECT_EQ(after.Row(2), FlippedRow(before.Row(0)));
}

TEST_P(FlipPictureTest, ColumnsBeyondTheLastWholeBlockAreNotTouched) {
  for (const int width : {1, 3, 5, 6, 7, 9}) {
    const BlockPicture before(GetParam(), width, 8);
    const BlockPicture after = Flipped(before, width, 8);
    for (std::size_t y = 0; y < 2; ++y) {
      EXPECT_EQ(after.Row(y), FlippedRow(before.Row(1 - y))) << width;
      EXPECT_EQ(after.Rest(y), before.Rest(y)) << width;
    }
  }
}

TEST_P(FlipPictureTest, RowsBeyondTheLastWholeBlockAreNotTouched) {
  const BlockPicture before(GetParam(), 8, 10);
  const BlockPicture after = Flipped(before, 8, 10);
  EXPECT_EQ(after.Row(0), FlippedRow(before.Row(1)));
  EXPECT_EQ(after.Row(1), FlippedRow(before.Row(0)));
  EXPECT_EQ(after.Row(2), before.Row(2));
}

TEST_P(FlipPictureTest, OnlyTheFirstSliceOfABlockVolumeIsFlipped) {
  const BlockPicture before(GetParam(), 4, 16);  // two slices of 4 x 8
  BlockPicture after = before;
  mAccess.Flip(after.bytes.data(), 4, 8, 2, static_cast<int>(after.bytes.size()));
  EXPECT_EQ(after.Row(0), FlippedRow(before.Row(1)));
  EXPECT_EQ(after.Row(1), FlippedRow(before.Row(0)));
  EXPECT_EQ(after.Row(2), before.Row(2));
  EXPECT_EQ(after.Row(3), before.Row(3));
}

TEST_P(FlipPictureTest, PixelsOfAWholePictureAreUpsideDown) {
  constexpr int kWidth = 24;
  constexpr int kHeight = 32;
  const BlockPicture before(GetParam(), kWidth, kHeight);
  const BlockPicture after = Flipped(before, kWidth, kHeight);
  const Bytes upright = test::ReferencePicture(GetParam().format, before.bytes, kWidth, kHeight);
  const Bytes flipped = test::ReferencePicture(GetParam().format, after.bytes, kWidth, kHeight);
  constexpr std::ptrdiff_t kRow = std::ptrdiff_t{4} * kWidth;
  for (int y = 0; y < kHeight; ++y) {
    ASSERT_TRUE(std::equal(flipped.begin() + y * kRow, flipped.begin() + (y + 1) * kRow,
                           upright.begin() + (kHeight - 1 - y) * kRow))
        << y;
  }
}

INSTANTIATE_TEST_SUITE_P(All, FlipBlocksTest, testing::ValuesIn(kHandlers), HandlerName);
INSTANTIATE_TEST_SUITE_P(All, FlipPictureTest, testing::ValuesIn(kHandlers), HandlerName);

TEST(Flip, OtherCompressedFormatsStayAsTheyAre) {
  CDDSImageAccess access(0x8E8C);  // BC7
  Bytes blocks = RandomBytes(256, 41);
  const Bytes before = blocks;
  access.Flip(blocks.data(), 16, 16, 1, 256);
  EXPECT_EQ(blocks, before);
}

TEST(FlipDxt5Alpha, TwiceRestoresTheBlock) {
  CDDSImageAccess access(nv_dds::kTextureFormatDXT5);
  Bytes block = RandomBytes(8, 42);
  const Bytes before = block;
  access.FlipAlpha(block.data());
  EXPECT_NE(block, before);
  EXPECT_EQ(block[0], before[0]);
  EXPECT_EQ(block[1], before[1]);
  access.FlipAlpha(block.data());
  EXPECT_EQ(block, before);
}

TEST(FlipDxt5Alpha, MovesRowsOfTwelveBits) {
  CDDSImageAccess access(nv_dds::kTextureFormatDXT5);
  // Row 0 is 0x321, row 1 0x654, row 2 0x987, row 3 0xCBA.
  Bytes block = {1, 2, 0x21, 0x43, 0x65, 0x87, 0xA9, 0xCB};
  access.FlipAlpha(block.data());
  EXPECT_EQ(block, (Bytes{1, 2, 0xBA, 0x7C, 0x98, 0x54, 0x16, 0x32}));
}

// --- Pictures of pixels.

TEST(FlipRows, ThreeRowsExchangeTheOuterTwo) {
  CDDSImageAccess access(nv_dds::kTextureFormatRGB);
  Bytes pixels = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  access.Flip(pixels.data(), 1, 3, 1, 9);
  EXPECT_EQ(pixels, (Bytes{7, 8, 9, 4, 5, 6, 1, 2, 3}));
}

TEST(FlipRows, EverySliceIsFlippedByItself) {
  CDDSImageAccess access(nv_dds::kTextureFormatLuminance);
  Bytes pixels = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  access.Flip(pixels.data(), 2, 2, 3, 12);
  EXPECT_EQ(pixels, (Bytes{3, 4, 1, 2, 7, 8, 5, 6, 11, 12, 9, 10}));
}

TEST(FlipRows, ThePaddingGoesWithItsRow) {
  CDDSImageAccess access(nv_dds::kTextureFormatLuminance);
  Bytes pixels = {1, 0, 0, 0, 2, 0, 0, 0};
  access.Flip(pixels.data(), 1, 2, 1, 8);
  EXPECT_EQ(pixels, (Bytes{2, 0, 0, 0, 1, 0, 0, 0}));
}

TEST(FlipRows, EmptySizesChangeNothing) {
  CDDSImageAccess access(nv_dds::kTextureFormatRGBA);
  Bytes pixels = {1, 2, 3, 4};
  access.Flip(pixels.data(), 0, 0, 0, 0);
  access.Flip(pixels.data(), 1, 0, 1, 4);
  access.Flip(pixels.data(), 1, 1, 0, 4);
  EXPECT_EQ(pixels, (Bytes{1, 2, 3, 4}));
}

TEST(Swap, ExchangesBytesOfGrowingAndShrinkingSizes) {
  CDDSImageAccess access(nv_dds::kTextureFormatRGBA);
  for (const std::size_t size : {3U, 1000U, 10U, 100000U, 1U}) {
    Bytes a = RandomBytes(size, 51);
    Bytes b = RandomBytes(size, 52);
    const Bytes first = a;
    const Bytes second = b;
    access.Swap(a.data(), b.data(), static_cast<int>(size));
    EXPECT_EQ(a, second);
    EXPECT_EQ(b, first);
  }
}

TEST(Swap, NothingAndLessChangesNothing) {
  CDDSImageAccess access(nv_dds::kTextureFormatRGBA);
  Bytes a = {1};
  Bytes b = {2};
  access.Swap(a.data(), b.data(), 0);
  access.Swap(a.data(), b.data(), -5);
  EXPECT_EQ(a[0], 1);
  EXPECT_EQ(b[0], 2);
}

}  // namespace
