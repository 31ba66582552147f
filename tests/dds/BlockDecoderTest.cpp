#include "dds/blocks/BlockDecoder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "dds/BlockReference.h"
#include "dds/blocks/BlockKernels.h"
#include "support/BitWriter.h"

namespace {

using Bytes = std::vector<unsigned char>;
using test::BitWriter;
using test::Rgba;

Bytes RandomBytes(std::size_t size, unsigned seed) {
  std::mt19937 random(seed);
  Bytes bytes(size);
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random());
  return bytes;
}

std::size_t BlockBytes(kBlockFormat format) { return static_cast<std::size_t>(RSizeOf(format).blockBytes); }
std::size_t PixelBytes(kBlockFormat format) { return static_cast<std::size_t>(RSizeOf(format).pixelBytes); }

/// Decodes one block to 16 pixels of 8 bits.
std::vector<Rgba> Decode(kBlockFormat format, std::span<const unsigned char> block) {
  unsigned char bytes[64];
  RDecodeBlocks(format, block, bytes, 16);
  std::vector<Rgba> pixels;
  for (int i = 0; i < 64; i += 4) pixels.push_back({bytes[i], bytes[i + 1], bytes[i + 2], bytes[i + 3]});
  return pixels;
}

/// Decodes one block to 16 pixels of floats.
std::vector<std::array<float, 4>> DecodeFloats(kBlockFormat format, std::span<const unsigned char> block) {
  std::vector<std::array<float, 4>> pixels(16);
  RDecodeBlocks(format, block, reinterpret_cast<unsigned char*>(pixels.data()), 64);
  return pixels;
}

constexpr const char* kFormatNames[] = {"BC1", "BC2",       "BC3",  "BC4",        "BC4Signed",
                                        "BC5", "BC5Signed", "BC6H", "BC6HSigned", "BC7"};
std::string FormatName(const testing::TestParamInfo<kBlockFormat>& info) { return kFormatNames[info.param]; }

// --- Every layout.

class BlockFormatTest : public testing::TestWithParam<kBlockFormat> {};

TEST_P(BlockFormatTest, BothInstructionSetsGiveTheSameBytes) {
  const auto index = static_cast<std::size_t>(GetParam());
  const rblocks::DecodeStrip portable = rblocks::kPortable.decode[index];
  ASSERT_NE(portable, nullptr);
  if (!rblocks::HasAvx2()) GTEST_SKIP() << "no AVX2 here";
  const rblocks::DecodeStrip fast = rblocks::kAvx2.decode[index];
  constexpr int kCount = 20000;
  const Bytes blocks = RandomBytes(kCount * BlockBytes(GetParam()), 11);
  const std::size_t stride = 4 * kCount * PixelBytes(GetParam());
  Bytes first(4 * stride, 1);
  Bytes second(4 * stride, 2);
  fast(blocks.data(), kCount, first.data(), stride);
  portable(blocks.data(), kCount, second.data(), stride);
  EXPECT_EQ(first, second);
}

TEST_P(BlockFormatTest, WritesNothingBesideItsRows) {
  const std::size_t row = 2 * 4 * PixelBytes(GetParam());
  const std::size_t stride = row + 7;
  Bytes pixels(3 * stride + row + 9, 0xA5);
  RDecodeBlocks(GetParam(), RandomBytes(2 * BlockBytes(GetParam()), 3), pixels.data(), stride);
  for (std::size_t y = 0; y < 3; ++y) {
    for (std::size_t i = row; i < stride; ++i) EXPECT_EQ(pixels[y * stride + i], 0xA5);
  }
  for (std::size_t i = 3 * stride + row; i < pixels.size(); ++i) EXPECT_EQ(pixels[i], 0xA5);
}

TEST_P(BlockFormatTest, IgnoresAnIncompleteLastBlock) {
  const std::size_t row = 4 * PixelBytes(GetParam());
  Bytes pixels(8 * row, 0xA5);
  Bytes blocks = RandomBytes(2 * BlockBytes(GetParam()) - 1, 5);
  RDecodeBlocks(GetParam(), blocks, pixels.data(), 2 * row);
  for (std::size_t y = 0; y < 4; ++y) {
    for (std::size_t i = row; i < 2 * row; ++i) EXPECT_EQ(pixels[y * 2 * row + i], 0xA5);
  }
}

TEST_P(BlockFormatTest, PicturesOfAnySizeAreCutFromTheBlockGrid) {
  constexpr int kGridWidth = 16;
  const Bytes blocks = RandomBytes(16 * BlockBytes(GetParam()), 7);
  Bytes grid(static_cast<std::size_t>(kGridWidth * kGridWidth) * PixelBytes(GetParam()));
  ASSERT_TRUE(RDecodeBlockImage(GetParam(), blocks, kGridWidth, kGridWidth, grid.data()));
  for (int width = 13; width <= kGridWidth; ++width) {
    for (int height = 1; height <= kGridWidth; ++height) {
      const std::size_t row = static_cast<std::size_t>(width) * PixelBytes(GetParam());
      Bytes picture(static_cast<std::size_t>(height) * row + 16, 0xA5);
      ASSERT_TRUE(RDecodeBlockImage(GetParam(), blocks, width, height, picture.data()));
      for (std::size_t y = 0; y < static_cast<std::size_t>(height); ++y)
        ASSERT_EQ(0, std::memcmp(&picture[y * row], &grid[y * kGridWidth * PixelBytes(GetParam())], row))
            << width << " x " << height << ", row " << y;
      for (std::size_t i = picture.size() - 16; i < picture.size(); ++i) ASSERT_EQ(picture[i], 0xA5);
    }
  }
}

TEST_P(BlockFormatTest, FivePixelsSquareTakeFourBlocks) {
  EXPECT_EQ(RBlockGridBytes(GetParam(), 5, 5), 4 * RSizeOf(GetParam()).blockBytes);
  const Bytes blocks = RandomBytes(4 * BlockBytes(GetParam()), 9);
  Bytes picture(25 * PixelBytes(GetParam()));
  EXPECT_TRUE(RDecodeBlockImage(GetParam(), blocks, 5, 5, picture.data()));
}

TEST_P(BlockFormatTest, RefusesTooFewBlocksAndEmptyPictures) {
  const Bytes blocks = RandomBytes(4 * BlockBytes(GetParam()), 9);
  Bytes picture(64 * PixelBytes(GetParam()), 0xA5);
  EXPECT_FALSE(
      RDecodeBlockImage(GetParam(), std::span(blocks).first(blocks.size() - 1), 8, 8, picture.data()));
  EXPECT_FALSE(RDecodeBlockImage(GetParam(), blocks, 0, 8, picture.data()));
  EXPECT_FALSE(RDecodeBlockImage(GetParam(), blocks, 8, 0, picture.data()));
  EXPECT_FALSE(RDecodeBlockImage(GetParam(), blocks, -8, 8, picture.data()));
  EXPECT_FALSE(RDecodeBlockImage(GetParam(), blocks, 65000, 65000, picture.data()));
  EXPECT_EQ(picture, Bytes(picture.size(), 0xA5));
}

INSTANTIATE_TEST_SUITE_P(All, BlockFormatTest,
                         testing::Values(kBlockBC1, kBlockBC2, kBlockBC3, kBlockBC4, kBlockBC4Signed,
                                         kBlockBC5, kBlockBC5Signed, kBlockBC6H, kBlockBC6HSigned, kBlockBC7),
                         FormatName);

TEST(BlockFormat, GridBytesAreCountedIn64Bits) {
  EXPECT_EQ(RBlockGridBytes(kBlockBC1, 0x7FFFFFFF, 0x7FFFFFFF),
            (std::int64_t{1} << 29) * (std::int64_t{1} << 29) * 8);
  EXPECT_EQ(RBlockGridBytes(kBlockBC7, 65000, 65000), 16250LL * 16250 * 16);
  EXPECT_EQ(RBlockGridBytes(kBlockBC1, 1, 1), 8);
  EXPECT_EQ(RBlockGridBytes(kBlockBC1, 0, 1), 0);
}

// --- The layouts with exact fractions, against the second decoder.

class FractionFormatTest : public testing::TestWithParam<kBlockFormat> {};

TEST_P(FractionFormatTest, RandomBlocksEqualTheReference) {
  constexpr int kWidth = 4 * 100;
  constexpr int kHeight = 4 * 50;
  const Bytes blocks = RandomBytes(5000 * BlockBytes(GetParam()), 17);
  Bytes pixels(kWidth * kHeight * 4);
  ASSERT_TRUE(RDecodeBlockImage(GetParam(), blocks, kWidth, kHeight, pixels.data()));
  EXPECT_EQ(pixels, test::ReferencePicture(GetParam(), blocks, kWidth, kHeight));
}

INSTANTIATE_TEST_SUITE_P(All, FractionFormatTest,
                         testing::Values(kBlockBC1, kBlockBC2, kBlockBC3, kBlockBC4, kBlockBC4Signed,
                                         kBlockBC5, kBlockBC5Signed),
                         FormatName);

// All four codes in the first row of a colour block, all eight of a channel block in the first two rows.
constexpr unsigned char kFourCodes = 0b11'10'01'00;
constexpr unsigned char kEightCodes[] = {0x88, 0xC6, 0xFA};

TEST(Bc1, EveryPairOfFiveBitEndpointsRoundsExactly) {
  for (unsigned a = 0; a < 32; ++a) {
    for (unsigned b = 0; b < 32; ++b) {
      const unsigned c0 = a << 11 | b;
      const unsigned c1 = b << 11 | a;
      const unsigned char block[8] = {static_cast<unsigned char>(c0), static_cast<unsigned char>(c0 >> 8),
                                      static_cast<unsigned char>(c1), static_cast<unsigned char>(c1 >> 8),
                                      kFourCodes};
      const std::vector<Rgba> pixels = Decode(kBlockBC1, block);
      for (int x = 0; x < 4; ++x)
        ASSERT_EQ(pixels[static_cast<std::size_t>(x)], test::ReferencePixel(kBlockBC1, block, x, 0))
            << a << ' ' << b;
    }
  }
}

TEST(Bc1, EveryPairOfSixBitEndpointsRoundsExactly) {
  for (unsigned a = 0; a < 64; ++a) {
    for (unsigned b = 0; b < 64; ++b) {
      const unsigned c0 = a << 5;
      const unsigned c1 = b << 5;
      const unsigned char block[8] = {static_cast<unsigned char>(c0), static_cast<unsigned char>(c0 >> 8),
                                      static_cast<unsigned char>(c1), static_cast<unsigned char>(c1 >> 8),
                                      kFourCodes};
      const std::vector<Rgba> pixels = Decode(kBlockBC1, block);
      for (int x = 0; x < 4; ++x)
        ASSERT_EQ(pixels[static_cast<std::size_t>(x)], test::ReferencePixel(kBlockBC1, block, x, 0))
            << a << ' ' << b;
    }
  }
}

TEST(Bc1, FourColoursWhenTheFirstIsLarger) {
  // White and black; a third of 255 is 85.
  const unsigned char block[8] = {0xFF, 0xFF, 0, 0, kFourCodes};
  const std::vector<Rgba> pixels = Decode(kBlockBC1, block);
  EXPECT_EQ(pixels[0], (Rgba{255, 255, 255, 255}));
  EXPECT_EQ(pixels[1], (Rgba{0, 0, 0, 255}));
  EXPECT_EQ(pixels[2], (Rgba{170, 170, 170, 255}));
  EXPECT_EQ(pixels[3], (Rgba{85, 85, 85, 255}));
  EXPECT_EQ(pixels[4], (Rgba{255, 255, 255, 255}));
}

TEST(Bc1, ThreeColoursAndTransparentBlackOtherwise) {
  const unsigned char block[8] = {0, 0, 0xFF, 0xFF, kFourCodes};
  const std::vector<Rgba> pixels = Decode(kBlockBC1, block);
  EXPECT_EQ(pixels[0], (Rgba{0, 0, 0, 255}));
  EXPECT_EQ(pixels[1], (Rgba{255, 255, 255, 255}));
  EXPECT_EQ(pixels[2], (Rgba{128, 128, 128, 255}));  // 127.5 rounds up
  EXPECT_EQ(pixels[3], (Rgba{0, 0, 0, 0}));
}

TEST(Bc1, EqualColoursAreTheThreeColourKind) {
  const unsigned char block[8] = {0x1F, 0, 0x1F, 0, kFourCodes};
  const std::vector<Rgba> pixels = Decode(kBlockBC1, block);
  EXPECT_EQ(pixels[2], (Rgba{0, 0, 255, 255}));
  EXPECT_EQ(pixels[3], (Rgba{0, 0, 0, 0}));
}

TEST(Bc1, RedIsInTheHighBits) {
  const unsigned char block[8] = {0x00, 0xF8, 0, 0, 0};
  EXPECT_EQ(Decode(kBlockBC1, block)[15], (Rgba{255, 0, 0, 255}));
}

class OpaqueColoursTest : public testing::TestWithParam<kBlockFormat> {};

TEST_P(OpaqueColoursTest, ColoursAreAlwaysFour) {
  // Colour 0 is smaller, which in BC1 would leave three colours; the alpha half is opaque.
  unsigned char block[16] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0xFF, 0xFF, kFourCodes};
  const std::vector<Rgba> pixels = Decode(GetParam(), block);
  EXPECT_EQ(pixels[2], (Rgba{85, 85, 85, 255}));
  EXPECT_EQ(pixels[3], (Rgba{170, 170, 170, 255}));
}

INSTANTIATE_TEST_SUITE_P(All, OpaqueColoursTest, testing::Values(kBlockBC2, kBlockBC3), FormatName);

TEST(Bc2, AlphaIsFourBitsAPixelRowByRow) {
  unsigned char block[16] = {0x10, 0x32, 0x54, 0x76, 0x98, 0xBA, 0xDC, 0xFE};
  const std::vector<Rgba> pixels = Decode(kBlockBC2, block);
  for (std::size_t i = 0; i < 16; ++i) EXPECT_EQ(pixels[i][3], static_cast<int>(17 * i));
}

TEST(Bc3, AlphaHasEightLevelsWhenTheFirstIsLarger) {
  unsigned char block[16] = {255, 3, kEightCodes[0], kEightCodes[1], kEightCodes[2]};
  const std::vector<Rgba> pixels = Decode(kBlockBC3, block);
  const int expected[] = {255, 3, 219, 183, 147, 111, 75, 39};
  for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(pixels[i][3], expected[i]);
}

TEST(Bc3, AlphaHasSixLevelsAndTheExtremesOtherwise) {
  unsigned char block[16] = {5, 255, kEightCodes[0], kEightCodes[1], kEightCodes[2]};
  const std::vector<Rgba> pixels = Decode(kBlockBC3, block);
  const int expected[] = {5, 255, 55, 105, 155, 205, 0, 255};
  for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(pixels[i][3], expected[i]);
}

template <class Check>
void ForEveryEndpointPair(kBlockFormat format, Check check) {
  for (int a = 0; a < 256; ++a) {
    for (int b = 0; b < 256; ++b) {
      const unsigned char block[8] = {static_cast<unsigned char>(a), static_cast<unsigned char>(b),
                                      kEightCodes[0], kEightCodes[1], kEightCodes[2]};
      const std::vector<Rgba> pixels = Decode(format, block);
      for (int i = 0; i < 8; ++i)
        ASSERT_NO_FATAL_FAILURE(check(block, i, pixels[static_cast<std::size_t>(i)]));
    }
  }
}

TEST(Bc4, EveryPairOfEndpointsRoundsExactly) {
  for (const kBlockFormat format : {kBlockBC4, kBlockBC4Signed}) {
    ForEveryEndpointPair(format, [&](const unsigned char* block, int i, const Rgba& pixel) {
      ASSERT_EQ(pixel, test::ReferencePixel(format, block, i % 4, i / 4))
          << int{block[0]} << ' ' << int{block[1]};
    });
  }
}

TEST(Bc4, MissingChannelsAreZeroAndAlphaIsOpaque) {
  const unsigned char block[8] = {200, 100};
  EXPECT_EQ(Decode(kBlockBC4, block)[5], (Rgba{200, 0, 0, 255}));
  const unsigned char pair[16] = {200, 100, 0, 0, 0, 0, 0, 0, 90, 10};
  EXPECT_EQ(Decode(kBlockBC5, pair)[5], (Rgba{200, 90, 0, 255}));
}

TEST(Bc4Signed, NegativeValuesBecomeZeroAndTheRestSpansTheRange) {
  const unsigned char block[8] = {127, 0x81 /* -127 */, kEightCodes[0], kEightCodes[1], kEightCodes[2]};
  const std::vector<Rgba> pixels = Decode(kBlockBC4Signed, block);
  // 1, -1, then 5/7, 3/7, 1/7, -1/7 ...
  const int expected[] = {255, 0, 182, 109, 36, 0, 0, 0};
  for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(pixels[i][0], expected[i]);
}

TEST(Bc4Signed, MinusOneHundredTwentyEightCountsAsMinusOne) {
  // Codes 2 to 5 mix 127 with -128: were it taken as it stands, 4/7 x 127 - 3/7 x 128 would round to 35.
  const unsigned char lowest[8] = {127, 0x80, kEightCodes[0], kEightCodes[1], kEightCodes[2]};
  const unsigned char clamped[8] = {127, 0x81, kEightCodes[0], kEightCodes[1], kEightCodes[2]};
  EXPECT_EQ(Decode(kBlockBC4Signed, lowest), Decode(kBlockBC4Signed, clamped));
}

// --- BC7, worked by hand from the fields of each mode.

TEST(Bc7, ModeSixHasSixteenLevels) {
  BitWriter block;
  block.Put(0b1000000, 7);
  for (int channel = 0; channel < 4; ++channel) block.Put(0, 7).Put(127, 7);
  block.Put(0, 1).Put(1, 1);  // the lowest bits: 0 for the first endpoint, 1 for the second
  block.Put(0, 3);            // pixel 0 has the index without its top bit
  for (unsigned i = 1; i < 16; ++i) block.Put(i, 4);
  ASSERT_EQ(block.Position(), 128U);
  const std::vector<Rgba> pixels = Decode(kBlockBC7, block.Bytes());
  const int weights[] = {0, 4, 9, 13, 17, 21, 26, 30, 34, 38, 43, 47, 51, 55, 60, 64};
  for (std::size_t i = 0; i < 16; ++i) {
    const int value = (255 * weights[i] + 32) / 64;
    EXPECT_EQ(pixels[i], (Rgba{value, value, value, value})) << i;
  }
}

TEST(Bc7, ModeThreeHasAlphaOneAndAnEndpointBitOfItsOwn) {
  BitWriter block;
  block.Put(0b1000, 4).Put(13, 6);  // partition 13: the upper half is subset 0
  const unsigned endpoints[4] = {0x7F, 0x00, 0x40, 0x20};
  for (int channel = 0; channel < 3; ++channel) {
    for (const unsigned value : endpoints) block.Put(value, 7);
  }
  block.Put(0b0101, 4);
  block.Put(0, 1);  // pixel 0
  for (unsigned i = 1; i < 15; ++i) block.Put(i % 2 ? 3 : 0, 2);
  block.Put(1, 1);  // pixel 15 is the second subset's anchor
  ASSERT_EQ(block.Position(), 128U);
  const std::vector<Rgba> pixels = Decode(kBlockBC7, block.Bytes());
  EXPECT_EQ(pixels[0], (Rgba{255, 255, 255, 255}));
  EXPECT_EQ(pixels[1], (Rgba{0, 0, 0, 255}));
  EXPECT_EQ(pixels[8], (Rgba{129, 129, 129, 255}));  // 0x40 and a 1 below it
  EXPECT_EQ(pixels[9], (Rgba{64, 64, 64, 255}));
  EXPECT_EQ(pixels[15], (Rgba{108, 108, 108, 255}));  // (129 x 43 + 64 x 21 + 32) / 64
}

TEST(Bc7, ModeOneSharesTheLowestBitOfASubset) {
  BitWriter block;
  block.Put(0b10, 2).Put(13, 6);
  for (int channel = 0; channel < 3; ++channel) {
    for (const unsigned value : {0U, 63U, 0U, 63U}) block.Put(value, 6);
  }
  block.Put(0b10, 2);  // 0 for subset 0, 1 for subset 1
  block.Put(0, 2);
  for (int i = 1; i < 15; ++i) block.Put(i % 2 ? 7 : 0, 3);
  block.Put(3, 2);
  ASSERT_EQ(block.Position(), 128U);
  const std::vector<Rgba> pixels = Decode(kBlockBC7, block.Bytes());
  EXPECT_EQ(pixels[0], (Rgba{0, 0, 0, 255}));
  EXPECT_EQ(pixels[1], (Rgba{253, 253, 253, 255}));  // 1111110 expands to 11111101
  EXPECT_EQ(pixels[8], (Rgba{2, 2, 2, 255}));        // 0000001 expands to 00000010
  EXPECT_EQ(pixels[9], (Rgba{255, 255, 255, 255}));
}

/// A block of mode 4: red 0 to 31, green 31 to 0, blue 0, alpha 63 to 0; the 2-bit indices are all 3 but the
/// first, the 3-bit ones all 0.
std::array<unsigned char, 16> ModeFour(unsigned rotation, unsigned indexSelection) {
  BitWriter block;
  block.Put(0b10000, 5).Put(rotation, 2).Put(indexSelection, 1);
  for (const unsigned value : {0U, 31U, 31U, 0U, 0U, 0U}) block.Put(value, 5);
  block.Put(63, 6).Put(0, 6);
  block.Put(0, 1);
  for (int i = 1; i < 16; ++i) block.Put(3, 2);
  block.Put(0, 47);
  EXPECT_EQ(block.Position(), 128U);
  return block.Bytes();
}

TEST(Bc7, ModeFourHasAnIndexForAlphaAlone) {
  const std::vector<Rgba> pixels = Decode(kBlockBC7, ModeFour(0, 0));
  EXPECT_EQ(pixels[0], (Rgba{0, 255, 0, 255}));
  EXPECT_EQ(pixels[1], (Rgba{255, 0, 0, 255}));
}

TEST(Bc7, TheIndexSelectionBitExchangesTheIndices) {
  const std::vector<Rgba> pixels = Decode(kBlockBC7, ModeFour(0, 1));
  EXPECT_EQ(pixels[1], (Rgba{0, 255, 0, 0}));
}

TEST(Bc7, ARotationExchangesAlphaWithAColour) {
  EXPECT_EQ(Decode(kBlockBC7, ModeFour(1, 0))[1], (Rgba{255, 0, 0, 255}));
  EXPECT_EQ(Decode(kBlockBC7, ModeFour(2, 0))[1], (Rgba{255, 255, 0, 0}));
  EXPECT_EQ(Decode(kBlockBC7, ModeFour(3, 0))[1], (Rgba{255, 0, 255, 0}));
  EXPECT_EQ(Decode(kBlockBC7, ModeFour(1, 1))[1], (Rgba{0, 255, 0, 0}));
}

TEST(Bc7, TheReservedModeIsTransparentBlack) {
  std::array<unsigned char, 16> block;
  block.fill(0xFF);
  block[0] = 0;
  EXPECT_EQ(Decode(kBlockBC7, block), std::vector<Rgba>(16, Rgba{0, 0, 0, 0}));
}

// --- BC6H, worked by hand.

/// A block of the mode without subsets and offsets: 10-bit endpoints, 4-bit indices 0 to 7, then 8 to 15.
std::array<unsigned char, 16> TenBitEndpoints(const unsigned (&first)[3], const unsigned (&second)[3]) {
  BitWriter block;
  block.Put(3, 5);
  for (const unsigned value : first) block.Put(value, 10);
  for (const unsigned value : second) block.Put(value, 10);
  block.Put(0, 3);
  for (unsigned i = 1; i < 16; ++i) block.Put(i, 4);
  EXPECT_EQ(block.Position(), 128U);
  return block.Bytes();
}

TEST(Bc6h, UnsignedEndpointsSpanTheHalfFloats) {
  const auto pixels = DecodeFloats(kBlockBC6H, TenBitEndpoints({0, 512, 1023}, {1023, 512, 0}));
  // 0 and 1023 stand for 0 and 0xFFFF; 0xFFFF x 31 / 64 is 0x7BFF, the largest half: 65504.
  EXPECT_EQ(pixels[0], (std::array<float, 4>{0, 1.5146484375F, 65504, 1}));
  EXPECT_EQ(pixels[15], (std::array<float, 4>{65504, 1.5146484375F, 0, 1}));
  // 512 becomes (512 x 2^15 + 2^14) / 2^9 = 32800, and x 31 / 64 that is 0x3E0F: 1 + 527 / 1024.
  EXPECT_EQ(pixels[7][1], 1 + 527.0F / 1024);
  // Index 1: (65535 x 4 + 32) / 64 = 4096, x 31 / 64 = 1984 = 0x7C0: exponent 1, fraction 0x3C0.
  EXPECT_EQ(pixels[1][0], 0x1p-14F * (1 + 960.0F / 1024));
}

TEST(Bc6h, SmallValuesAreExact) {
  // 1 becomes (2^15 + 2^14) / 2^9 = 96; x 31 / 64 = 46: a half without exponent, 46 x 2^-24.
  const auto pixels = DecodeFloats(kBlockBC6H, TenBitEndpoints({1, 1, 1}, {1, 1, 1}));
  EXPECT_EQ(pixels[3], (std::array<float, 4>{46 * 0x1p-24F, 46 * 0x1p-24F, 46 * 0x1p-24F, 1}));
}

TEST(Bc6hSigned, EndpointsAreTwosComplement) {
  // 511 and -511 (0x201) are the ends, as is -512; 0x7FFF x 31 / 32 is 0x7BFF.
  const auto pixels = DecodeFloats(kBlockBC6HSigned, TenBitEndpoints({511, 0x201, 0}, {0x200, 0, 0x3FF}));
  EXPECT_EQ(pixels[0], (std::array<float, 4>{65504, -65504, 0, 1}));
  EXPECT_EQ(pixels[15][0], -65504);
  EXPECT_EQ(pixels[15][1], 0);
  // -1: -((2^15 + 2^14) / 2^9) = -96; 96 x 31 / 32 = 93.
  EXPECT_EQ(pixels[15][2], -93 * 0x1p-24F);
}

TEST(Bc6h, OffsetsWrapAtTheWidthOfTheEndpoints) {
  // The 16-bit mode: the first endpoint's upper six bits stand in reverse; offsets of -1 from 0 wrap to
  // 0xFFFF.
  BitWriter block;
  block.Put(15, 5).Put(0x3FF, 10).Put(0, 10).Put(0, 10);
  block.Put(0, 4).Put(0b000001, 6);   // red: offset 0; reversed 100000 is bit 15
  block.Put(15, 4).Put(0b100000, 6);  // green: offset -1; reversed 000001 is bit 10
  block.Put(15, 4).Put(0, 6);         // blue: offset -1 from 0
  block.Put(0, 3);
  for (int i = 1; i < 16; ++i) block.Put(15, 4);
  ASSERT_EQ(block.Position(), 128U);
  const auto half = [](int value) { return static_cast<float>(value); };
  const auto pixels = DecodeFloats(kBlockBC6H, block.Bytes());
  // Red 0x83FF x 31 / 64 = 0x3FEF: 1 + 0x3EF / 1024. Green 0x0400 x 31 / 64 = 496. Blue 0.
  EXPECT_EQ(pixels[0], (std::array<float, 4>{1 + half(0x3EF) / 1024, 496 * 0x1p-24F, 0, 1}));
  // Green 0x03FF x 31 / 64 = 495; blue 0xFFFF.
  EXPECT_EQ(pixels[9], (std::array<float, 4>{1 + half(0x3EF) / 1024, 495 * 0x1p-24F, 65504, 1}));
}

class ReservedModeTest : public testing::TestWithParam<int> {};

TEST_P(ReservedModeTest, IsOpaqueBlack) {
  std::array<unsigned char, 16> block;
  block.fill(0xFF);
  block[0] = static_cast<unsigned char>(0xE0 | GetParam());
  const std::vector<std::array<float, 4>> black(16, {0, 0, 0, 1});
  EXPECT_EQ(DecodeFloats(kBlockBC6H, block), black);
  EXPECT_EQ(DecodeFloats(kBlockBC6HSigned, block), black);
}

INSTANTIATE_TEST_SUITE_P(Bc6h, ReservedModeTest, testing::Values(19, 23, 27, 31));

}  // namespace
