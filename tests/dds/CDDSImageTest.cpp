#include <gtest/gtest.h>
#include <malloc.h>

#include <cstring>
#include <filesystem>
#include <limits>
#include <numeric>

#include "dds/CDDSImageAccess.h"
#include "dds/nv_dds.h"
#include "support/DdsBuilder.h"
#include "support/TestData.h"

namespace {

using nv_dds::CDDSImage;
using nv_dds::CSurface;
using nv_dds::CTexture;
using test::DdsBuilder;
using Bytes = std::vector<unsigned char>;

constexpr std::uint32_t kRgb = 0x40;
constexpr std::uint32_t kRgba = 0x41;
constexpr std::uint32_t kLuminance = 0x20000;

Bytes PixelsOf(const CSurface& surface) {
  const auto* pixels = reinterpret_cast<const unsigned char*>(static_cast<const char*>(surface));
  return {pixels, pixels + surface.get_size()};
}

Bytes Part(const Bytes& bytes, std::size_t from, std::size_t count) {
  const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(from);
  return {first, first + static_cast<std::ptrdiff_t>(count)};
}

/// Red and blue exchanged in pixels of that many bytes.
Bytes Exchanged(Bytes pixels, std::size_t pixelBytes) {
  for (std::size_t i = 0; i + 2 < pixels.size(); i += pixelBytes) std::swap(pixels[i], pixels[i + 2]);
  return pixels;
}

class CDDSImageTest : public testing::Test {
 protected:
  bool Load(const Bytes& file, bool flip = false) {
    return mImage.load(mFolder.Write("a.dds", file).c_str(), flip);
  }
  bool Load(const DdsBuilder& builder, bool flip = false) { return Load(builder.File(), flip); }
  Bytes Pixels(int face = 0) { return PixelsOf(mImage.get_image(face)); }
  Bytes MipPixels(int level, int face = 0) { return PixelsOf(mImage.get_image(face).get_mipmap(level - 1)); }

  test::TemporaryFolder mFolder;
  CDDSImage mImage;
};

// --- The formats that are kept.

struct CompressedCase {
  const char* code;
  std::uint32_t format;
  int components;
  int blockBytes;
};

constexpr CompressedCase kCompressed[] = {
    {"DXT1", 0x83F1, 3, 8},  {"DXT3", 0x83F2, 4, 16}, {"DXT5", 0x83F3, 4, 16},
    {"ATI1", 0x8DBB, 1, 8},  {"BC4U", 0x8DBB, 1, 8},  {"BC4S", 0x8DBC, 1, 8},
    {"ATI2", 0x8DBD, 2, 16}, {"BC5U", 0x8DBD, 2, 16}, {"BC5S", 0x8DBE, 2, 16},
};

void PrintTo(const CompressedCase& row, std::ostream* out) { *out << row.code; }

class CompressedTest : public CDDSImageTest, public testing::WithParamInterface<CompressedCase> {
 protected:
  DdsBuilder File(std::uint32_t width, std::uint32_t height) {
    DdsBuilder builder(width, height);
    std::uint32_t code = 0;
    std::memcpy(&code, GetParam().code, 4);
    return builder.Code(code);
  }
};

TEST_P(CompressedTest, BlocksAreKeptAsTheyAre) {
  const Bytes blocks = test::RandomBytes(static_cast<std::size_t>(6 * GetParam().blockBytes), 1);
  ASSERT_TRUE(Load(File(12, 8).Data(blocks)));
  EXPECT_TRUE(mImage.is_valid());
  EXPECT_EQ(mImage.get_format(), GetParam().format);
  EXPECT_EQ(mImage.get_components(), GetParam().components);
  EXPECT_TRUE(mImage.is_compressed());
  EXPECT_FALSE(mImage.is_cubemap());
  EXPECT_FALSE(mImage.is_volume());
  EXPECT_FALSE(mImage.is_placeholder());
  EXPECT_EQ(mImage.get_num_images(), 1);
  EXPECT_EQ(mImage.get_width(), 12);
  EXPECT_EQ(mImage.get_height(), 8);
  EXPECT_EQ(mImage.get_depth(), 1);
  EXPECT_EQ(mImage.get_size(), 6 * GetParam().blockBytes);
  EXPECT_EQ(mImage.get_num_mipmaps(), 0);
  EXPECT_FALSE(mImage.get_image(0).get_isFloat());
  EXPECT_EQ(Pixels(), blocks);
}

TEST_P(CompressedTest, SizesCountWholeBlocks) {
  ASSERT_TRUE(Load(File(4, 4).RandomData(16)));
  EXPECT_EQ(mImage.size_dxtc(5, 3), 2 * GetParam().blockBytes);
  EXPECT_EQ(mImage.size_dxtc(1, 1), GetParam().blockBytes);
  EXPECT_EQ(mImage.size_dxtc(8, 8), 4 * GetParam().blockBytes);
  EXPECT_EQ(mImage.size_dxtc(9, 9), 9 * GetParam().blockBytes);
  EXPECT_EQ(mImage.size_dxtc(0, 4), 0);
  EXPECT_EQ(mImage.size_dxtc(-3, 4), 0);  // division goes towards zero
  EXPECT_EQ(mImage.size_dxtc(-7, 4), -GetParam().blockBytes);
}

TEST_P(CompressedTest, FivePixelsByThreeAreTwoBlocks) {
  ASSERT_TRUE(Load(File(5, 3).RandomData(2 * 16)));
  EXPECT_EQ(mImage.get_size(), 2 * GetParam().blockBytes);
}

TEST_P(CompressedTest, FlippingExchangesRowsOfBlocks) {
  const auto row = static_cast<std::size_t>(3 * GetParam().blockBytes);
  const Bytes blocks = test::RandomBytes(2 * row, 2);
  ASSERT_TRUE(Load(File(12, 8).Data(blocks), true));
  // The first bytes of a block are endpoints, or of DXT3 an alpha row that comes from the block's end.
  const bool dxt3 = GetParam().format == 0x83F2;
  EXPECT_EQ(Pixels()[0], blocks[row + (dxt3 ? 6 : 0)]);
  EXPECT_EQ(Pixels()[row], blocks[dxt3 ? 6 : 0]);
  EXPECT_NE(Pixels(), blocks);
}

TEST_P(CompressedTest, RowsAreNotPadded) {
  ASSERT_TRUE(Load(File(4, 4).RandomData(16)));
  mImage.align_memory(&mImage.get_image(0));
  EXPECT_EQ(mImage.get_size(), GetParam().blockBytes);
}

INSTANTIATE_TEST_SUITE_P(Formats, CompressedTest, testing::ValuesIn(kCompressed),
                         [](const auto& test) { return std::string(test.param.code); });

TEST_F(CDDSImageTest, Dxt1CountsThreeComponentsThoughItsFormatHasAlpha) {
  ASSERT_TRUE(Load(DdsBuilder(4, 4).Code("DXT1").RandomData(8)));
  EXPECT_EQ(mImage.get_components(), 3);
  EXPECT_EQ(mImage.get_format(), 0x83F1U);  // COMPRESSED_RGBA, not the 0x83F0 without alpha
}

struct UncompressedCase {
  const char* name;
  std::uint32_t flags, bits, red, green;
  std::uint32_t format;
  int components;
  bool exchanges;  // red and blue
};

constexpr UncompressedCase kUncompressed[] = {
    {"BGRA", kRgba, 32, 0xFF0000, 0xFF00, 0x1908, 4, true},
    {"RGBA", kRgba, 32, 0xFF, 0xFF00, 0x1908, 4, false},
    {"BGRX", kRgb, 32, 0xFF0000, 0xFF00, 0x1908, 4, true},
    {"RGBX", kRgb, 32, 0xFF, 0xFF00, 0x1908, 4, false},
    {"MasklessBGRA", kRgba, 32, 0, 0, 0x1908, 4, true},
    {"BGR", kRgb, 24, 0xFF0000, 0xFF00, 0x1907, 3, true},
    {"RGB", kRgb, 24, 0xFF, 0xFF00, 0x1907, 3, false},
    {"MasklessBGR", kRgb, 24, 0, 0, 0x1907, 3, true},
    {"Luminance", kLuminance, 8, 0xFF, 0, 0x1909, 1, false},
    {"LuminanceWithoutMask", kLuminance, 8, 0, 0, 0x1909, 1, false},
    {"Red", kRgb, 8, 0xFF0000, 0, 0x1909, 1, false},
    {"RedAndAlphaFlag", kRgba, 8, 0xFF, 0xFF, 0x1909, 1, false},
    {"Alpha", 0x2, 8, 0, 0, 0x1909, 1, false},
    {"Palette", 0x20, 8, 0, 0, 0x1909, 1, false},
    {"NoFlags", 0, 8, 0, 0, 0x1909, 1, false},
};

void PrintTo(const UncompressedCase& row, std::ostream* out) { *out << row.name; }

class UncompressedTest : public CDDSImageTest, public testing::WithParamInterface<UncompressedCase> {
 protected:
  std::size_t PixelBytes() const { return static_cast<std::size_t>(GetParam().components); }
  DdsBuilder File(std::uint32_t width, std::uint32_t height) const {
    DdsBuilder builder(width, height);
    return builder.Masks(GetParam().flags, GetParam().bits, GetParam().red, GetParam().green, 0x12, 0x34);
  }
  Bytes Stored(const Bytes& file) const {
    return GetParam().exchanges ? Exchanged(file, PixelBytes()) : file;
  }
};

TEST_P(UncompressedTest, PixelsHaveRedFirst) {
  const Bytes pixels = test::RandomBytes(4 * 3 * PixelBytes(), 3);
  ASSERT_TRUE(Load(File(4, 3).Data(pixels)));
  EXPECT_TRUE(mImage.is_valid());
  EXPECT_EQ(mImage.get_format(), GetParam().format);
  EXPECT_EQ(mImage.get_components(), GetParam().components);
  EXPECT_FALSE(mImage.is_compressed());
  EXPECT_EQ(mImage.get_width(), 4);
  EXPECT_EQ(mImage.get_height(), 3);
  EXPECT_EQ(Pixels(), Stored(pixels));
}

TEST_P(UncompressedTest, EveryFaceAndLevelIsConverted) {
  const std::size_t top = 16 * PixelBytes();
  const std::size_t second = 4 * PixelBytes();
  const std::size_t third = PixelBytes();
  const std::size_t face = top + second + third;
  const Bytes data = test::RandomBytes(6 * face, 4);
  ASSERT_TRUE(Load(File(4, 4).Mipmaps(3).Cubemap().Data(data)));
  ASSERT_EQ(mImage.get_num_images(), 6);
  EXPECT_EQ(mImage.get_format(), GetParam().format);
  for (int i = 0; i < 6; ++i) {
    const std::size_t at = static_cast<std::size_t>(i) * face;
    EXPECT_EQ(Pixels(i), Stored(Part(data, at, top))) << i;
    EXPECT_EQ(MipPixels(1, i), Stored(Part(data, at + top, second))) << i;
    EXPECT_EQ(MipPixels(2, i), Stored(Part(data, at + top + second, third))) << i;
  }
}

TEST_P(UncompressedTest, EverySliceOfAVolumeIsConverted) {
  const Bytes data = test::RandomBytes((3 * 2 * 4 + 1 * 1 * 2) * PixelBytes(), 5);
  ASSERT_TRUE(Load(File(3, 2).Volume(4).Mipmaps(2).Data(data)));
  EXPECT_TRUE(mImage.is_volume());
  EXPECT_EQ(mImage.get_depth(), 4);
  EXPECT_EQ(Pixels(), Stored(Part(data, 0, 24 * PixelBytes())));
  EXPECT_EQ(MipPixels(1), Stored(Part(data, 24 * PixelBytes(), 2 * PixelBytes())));
}

TEST_P(UncompressedTest, FlippedRowsStartAtTheBottom) {
  const Bytes pixels = test::RandomBytes(4 * 3 * PixelBytes(), 6);
  ASSERT_TRUE(Load(File(4, 3).Data(pixels), true));
  const Bytes stored = Stored(pixels);
  const std::size_t row = 4 * PixelBytes();
  for (std::size_t y = 0; y < 3; ++y)
    EXPECT_EQ(Part(Pixels(), y * row, row), Part(stored, (2 - y) * row, row));
}

INSTANTIATE_TEST_SUITE_P(Formats, UncompressedTest, testing::ValuesIn(kUncompressed),
                         [](const auto& test) { return std::string(test.param.name); });

// --- What the loader leaves to the general reader.

struct FallbackCase {
  const char* name;
  DdsBuilder file;
  bool placeholder;
};

void PrintTo(const FallbackCase& row, std::ostream* out) { *out << row.name; }

std::vector<FallbackCase> FallbackCases() {
  const auto masks = [](std::uint32_t flags, std::uint32_t bits, std::uint32_t red, std::uint32_t green) {
    return DdsBuilder(2, 2).Masks(flags, bits, red, green, 0x1F, 0x8000).RandomData(64);
  };
  return {
      {"UnknownCode", DdsBuilder(4, 4).Code("ABCD").RandomData(64), true},
      {"Dxt2WithoutSize", DdsBuilder(4, 4).Code("DXT2").RandomData(64), true},
      {"Dxt2", DdsBuilder(4, 4).Code("DXT2").LinearSize(16).RandomData(64), false},
      {"HalfFloats", DdsBuilder(2, 2).Code(113).RandomData(64), false},
      {"Dxgi", DdsBuilder(2, 2).Dxgi(28).RandomData(64), false},
      {"SixteenBits", masks(kRgb, 16, 0xF800, 0x7E0), false},
      {"SixteenBitsWithAlpha", masks(kRgba, 16, 0x7C00, 0x3E0), false},
      {"TwentyFourBitsWithAlphaFlag", masks(kRgba, 24, 0xFF, 0xFF00), false},
      {"OtherRedMask32", masks(kRgba, 32, 0xFF00, 0xFF), false},
      {"OtherRedMask24", masks(kRgb, 24, 0xFF00, 0xFF), false},
      {"NoRedButGreen", masks(kRgba, 32, 0, 0xFF), false},
      {"OtherRedMask8", masks(kLuminance, 8, 0xF0, 0), false},
      {"OtherFlags32", masks(0x42, 32, 0xFF, 0xFF00), false},
      {"LuminanceAlpha", masks(kLuminance | 1, 16, 0xFF, 0xFF), false},
      {"NoBits", masks(kRgb, 0, 0xFF, 0xFF00), true},
      {"SevenBits", masks(kRgb, 7, 0xFF, 0xFF00), true},
      {"NoMasksOf16Bits", DdsBuilder(2, 2).Masks(kRgb, 16, 0, 0, 0, 0).RandomData(64), true},
      {"NothingSaid", DdsBuilder(2, 2).RandomData(64), true},
  };
}

class FallbackTest : public CDDSImageTest, public testing::WithParamInterface<FallbackCase> {};

TEST_P(FallbackTest, BecomesOneRgbaTexture) {
  // Were the file kept as it is, it would have six faces of two levels.
  ASSERT_TRUE(Load(DdsBuilder(GetParam().file).Cubemap().Mipmaps(2)));
  EXPECT_TRUE(mImage.is_valid());
  EXPECT_EQ(mImage.is_placeholder(), GetParam().placeholder);
  EXPECT_EQ(mImage.get_format(), 0x1908U);
  EXPECT_EQ(mImage.get_components(), 4);
  EXPECT_FALSE(mImage.is_compressed());
  EXPECT_FALSE(mImage.is_cubemap());
  EXPECT_FALSE(mImage.is_volume());
  EXPECT_EQ(mImage.get_num_images(), 1);
  EXPECT_EQ(mImage.get_num_mipmaps(), 0);
  EXPECT_EQ(mImage.get_depth(), 1);
  const int channelBytes = mImage.get_image(0).get_isFloat() ? 4 : 1;
  EXPECT_EQ(mImage.get_size(), mImage.get_width() * mImage.get_height() * 4 * channelBytes);
  EXPECT_EQ(mImage.get_width() == 64, GetParam().placeholder);
}

INSTANTIATE_TEST_SUITE_P(Files, FallbackTest, testing::ValuesIn(FallbackCases()),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(CDDSImageTest, OtherMagicCharactersGoToTheGeneralReader) {
  const Bytes pixels = test::RandomBytes(16, 7);
  DdsBuilder builder(2, 2);
  builder.Masks(kRgba, 32, 0xFF, 0xFF00, 0xFF0000, 0xFF000000).Data(pixels).Set(0, 0x21212121);
  ASSERT_TRUE(Load(builder));
  EXPECT_EQ(mImage.get_format(), 0x1908U);
  EXPECT_EQ(Pixels(), pixels);
}

TEST_F(CDDSImageTest, AnyOtherFileIsAPlaceholder) {
  ASSERT_TRUE(Load(test::RandomBytes(5000, 8)));
  EXPECT_TRUE(mImage.is_placeholder());
  Bytes expected(64 * 64 * 4, 0);
  for (std::size_t i = 0; i < expected.size(); i += 4) expected[i] = 255;
  EXPECT_EQ(Pixels(), expected);
}

TEST_F(CDDSImageTest, FlagsOfTheHeaderDoNotSurviveIntoTheFallback) {
  ASSERT_TRUE(Load(DdsBuilder(2, 2).Code("ABCD").Cubemap().Set(DdsBuilder::kDepth, 3).RandomData(64)));
  EXPECT_FALSE(mImage.is_cubemap());
  ASSERT_TRUE(Load(DdsBuilder(2, 2).Dxgi(28).Volume(3).RandomData(64)));
  EXPECT_FALSE(mImage.is_volume());
}

TEST_F(CDDSImageTest, FewerChannelsFillTheFirstOfFour) {
  ASSERT_TRUE(Load(DdsBuilder(2, 1).Dxgi(49).Data({1, 2, 3, 4})));
  EXPECT_EQ(Pixels(), (Bytes{1, 2, 0, 0, 3, 4, 0, 0}));
  ASSERT_TRUE(Load(DdsBuilder(2, 1).Dxgi(61).Data({5, 6})));
  EXPECT_EQ(Pixels(), (Bytes{5, 0, 0, 0, 6, 0, 0, 0}));
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Masks(kRgb, 16, 0xF800, 0x7E0, 0x1F, 0).Data({0xFF, 0xFF})));
  EXPECT_EQ(Pixels(), (Bytes{255, 255, 255, 0}));
}

TEST_F(CDDSImageTest, FewerFloatChannelsFillTheFirstOfFour) {
  const std::array<float, 2> file = {0.5F, -3.0F};
  Bytes data(sizeof file);
  std::memcpy(data.data(), file.data(), sizeof file);
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Code(115).Data(data)));
  EXPECT_TRUE(mImage.get_image(0).get_isFloat());
  ASSERT_EQ(mImage.get_size(), 16);
  std::array<float, 4> pixel{};
  std::memcpy(pixel.data(), Pixels().data(), sizeof pixel);
  EXPECT_EQ(pixel, (std::array<float, 4>{0.5F, -3.0F, 0, 0}));
}

TEST_F(CDDSImageTest, TheFallbackIsFlippedToo) {
  const DdsBuilder file = DdsBuilder(1, 3).Dxgi(28).Data({1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3});
  ASSERT_TRUE(Load(file, true));
  EXPECT_EQ(Pixels(), (Bytes{3, 3, 3, 3, 2, 2, 2, 2, 1, 1, 1, 1}));
  ASSERT_TRUE(Load(file, false));
  EXPECT_EQ(Pixels()[0], 1);
}

// --- Levels.

TEST_F(CDDSImageTest, MipMapCountsOfZeroAndOneAreNoMipmaps) {
  for (const std::uint32_t count : {0U, 1U}) {
    ASSERT_TRUE(Load(DdsBuilder(8, 8).Code("DXT1").Mipmaps(count).RandomData(64)));
    EXPECT_EQ(mImage.get_num_mipmaps(), 0);
  }
}

TEST_F(CDDSImageTest, LevelsHalveDownToOne) {
  ASSERT_TRUE(Load(DdsBuilder(8, 2).Masks(kRgba, 32, 0xFF, 0xFF00, 0, 0).Mipmaps(4).RandomData(4 * 23)));
  ASSERT_EQ(mImage.get_num_mipmaps(), 3);
  const int sizes[][2] = {{4, 1}, {2, 1}, {1, 1}};
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(mImage.get_mipmap(i).get_width(), sizes[i][0]);
    EXPECT_EQ(mImage.get_mipmap(i).get_height(), sizes[i][1]);
    EXPECT_EQ(mImage.get_mipmap(i).get_depth(), 1);
    EXPECT_EQ(mImage.get_mipmap(i).get_size(), 4 * sizes[i][0] * sizes[i][1]);
  }
}

TEST_F(CDDSImageTest, LevelsFollowOneAnotherInTheFile) {
  const Bytes data = test::RandomBytes(4 * 8 + 8 + 8 + 8, 9);
  ASSERT_TRUE(Load(DdsBuilder(8, 8).Code("DXT1").Mipmaps(4).Data(data)));
  EXPECT_EQ(Pixels(), Part(data, 0, 32));
  EXPECT_EQ(MipPixels(1), Part(data, 32, 8));
  EXPECT_EQ(MipPixels(2), Part(data, 40, 8));
  EXPECT_EQ(MipPixels(3), Part(data, 48, 8));
}

TEST_F(CDDSImageTest, DepthHalvesWithTheLevels) {
  ASSERT_TRUE(Load(DdsBuilder(4, 4).Code("DXT5").Volume(5).Mipmaps(3).RandomData(16 * 8)));
  EXPECT_TRUE(mImage.is_volume());
  EXPECT_EQ(mImage.get_depth(), 5);
  EXPECT_EQ(mImage.get_size(), 5 * 16);
  EXPECT_EQ(mImage.get_mipmap(0).get_depth(), 2);
  EXPECT_EQ(mImage.get_mipmap(0).get_size(), 2 * 16);
  EXPECT_EQ(mImage.get_mipmap(1).get_depth(), 1);
}

TEST_F(CDDSImageTest, AVolumeNeedsADepth) {
  ASSERT_TRUE(Load(DdsBuilder(4, 4).Code("DXT1").Volume(0).RandomData(8)));
  EXPECT_FALSE(mImage.is_volume());
  EXPECT_EQ(mImage.get_depth(), 1);
}

TEST_F(CDDSImageTest, ADepthWithoutTheVolumeFlagIsRecordedAllTheSame) {
  ASSERT_TRUE(Load(DdsBuilder(4, 4).Code("DXT1").Set(DdsBuilder::kDepth, 3).RandomData(24)));
  EXPECT_FALSE(mImage.is_volume());
  EXPECT_EQ(mImage.get_depth(), 3);
  EXPECT_EQ(mImage.get_size(), 24);
}

TEST_F(CDDSImageTest, EveryLevelIsFlipped) {
  Bytes data(16 + 4);
  std::iota(data.begin(), data.end(), static_cast<unsigned char>(0));
  ASSERT_TRUE(Load(DdsBuilder(4, 4).Masks(kLuminance, 8, 0xFF, 0, 0, 0).Mipmaps(2).Data(data), true));
  EXPECT_EQ(Pixels(), (Bytes{12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3}));
  EXPECT_EQ(MipPixels(1), (Bytes{18, 19, 16, 17}));
}

TEST_F(CDDSImageTest, EverySliceOfAVolumeOfPixelsIsFlipped) {
  ASSERT_TRUE(Load(DdsBuilder(1, 2).Masks(kLuminance, 8, 0xFF, 0, 0, 0).Volume(2).Data({1, 2, 3, 4}), true));
  EXPECT_EQ(Pixels(), (Bytes{2, 1, 4, 3}));
}

// --- Cube maps.

DdsBuilder Cube() {
  DdsBuilder builder(1, 2);
  builder.Masks(kLuminance, 8, 0xFF, 0, 0, 0).Cubemap();
  return builder.Data({0, 1, 10, 11, 20, 21, 30, 31, 40, 41, 50, 51});
}

TEST_F(CDDSImageTest, CubeFacesStandInFileOrder) {
  ASSERT_TRUE(Load(Cube()));
  EXPECT_TRUE(mImage.is_cubemap());
  ASSERT_EQ(mImage.get_num_images(), 6);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(Pixels(i)[0], 10 * i);
}

TEST_F(CDDSImageTest, FlippingACubeMapExchangesTheFacesAboveAndBelow) {
  ASSERT_TRUE(Load(Cube(), true));
  const int order[] = {0, 1, 3, 2, 4, 5};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(Pixels(i)[0], 10 * order[i]);
}

TEST_F(CDDSImageTest, CubeFacesAreNeverFlipped) {
  ASSERT_TRUE(Load(Cube(), true));
  for (int i = 0; i < 6; ++i) EXPECT_EQ(Pixels(i)[1], Pixels(i)[0] + 1);
}

TEST_F(CDDSImageTest, LevelsOfCubeFacesGoWithTheirFaceAndAreNotFlippedEither) {
  Bytes data(6 * (8 + 2));
  std::iota(data.begin(), data.end(), static_cast<unsigned char>(0));
  ASSERT_TRUE(
      Load(DdsBuilder(2, 4).Masks(kLuminance, 8, 0xFF, 0, 0, 0).Cubemap().Mipmaps(2).Data(data), true));
  EXPECT_EQ(Pixels(2), Part(data, 30, 8));
  EXPECT_EQ(MipPixels(1, 2), Part(data, 38, 2));
  EXPECT_EQ(MipPixels(1, 3), Part(data, 28, 2));
}

TEST_F(CDDSImageTest, EveryLevelOfBlocksIsFlipped) {
  // Two columns of four rows, and one of two.
  const Bytes data = test::RandomBytes(8 * 8 + 2 * 8, 16);
  ASSERT_TRUE(Load(DdsBuilder(8, 16).Code("DXT1").Mipmaps(2).Data(data), true));
  const auto endpoints = [](const Bytes& bytes, std::size_t block) { return Part(bytes, 8 * block, 4); };
  for (std::size_t block = 0; block < 8; ++block)
    EXPECT_EQ(endpoints(Pixels(), block), endpoints(data, (3 - block / 2) * 2 + block % 2)) << block;
  EXPECT_EQ(endpoints(MipPixels(1), 0), endpoints(data, 9));
  EXPECT_EQ(endpoints(MipPixels(1), 1), endpoints(data, 8));
}

TEST_F(CDDSImageTest, CubeFacesThatTheFileLacksAreZero) {
  DdsBuilder file(1, 1);
  file.Masks(kLuminance, 8, 0xFF, 0, 0, 0).Cubemap().Data({7, 8});
  ASSERT_TRUE(Load(file));
  ASSERT_EQ(mImage.get_num_images(), 6);
  const int expected[] = {7, 8, 0, 0, 0, 0};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(Pixels(i), Bytes{static_cast<unsigned char>(expected[i])});
}

// --- Padding of rows.

TEST_F(CDDSImageTest, RowsOfTheTopLevelArePaddedToFourBytes) {
  Bytes data(3 * 3 * 2 + 3);
  std::iota(data.begin(), data.end(), static_cast<unsigned char>(1));
  ASSERT_TRUE(Load(DdsBuilder(3, 2).Masks(kRgb, 24, 0xFF, 0xFF00, 0, 0).Mipmaps(2).Data(data)));
  EXPECT_EQ(mImage.get_size(), 24);
  EXPECT_EQ(Pixels(),
            (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 0, 0, 10, 11, 12, 13, 14, 15, 16, 17, 18, 0, 0, 0}));
  EXPECT_EQ(mImage.get_mipmap(0).get_size(), 3);  // one pixel, tight
}

TEST_F(CDDSImageTest, MipmapsKeepTightRows) {
  ASSERT_TRUE(Load(DdsBuilder(6, 6).Masks(kRgb, 24, 0xFF, 0xFF00, 0, 0).Mipmaps(2).RandomData(6 * 18 + 27)));
  EXPECT_EQ(mImage.get_size(), 6 * 20);
  EXPECT_EQ(mImage.get_mipmap(0).get_size(), 27);
}

TEST_F(CDDSImageTest, LuminanceRowsArePadded) {
  ASSERT_TRUE(
      Load(DdsBuilder(5, 2).Masks(kLuminance, 8, 0xFF, 0, 0, 0).Data({1, 2, 3, 4, 5, 6, 7, 8, 9, 10})));
  EXPECT_EQ(Pixels(), (Bytes{1, 2, 3, 4, 5, 0, 0, 0, 6, 7, 8, 9, 10, 0, 0, 0}));
}

TEST_F(CDDSImageTest, RowsThatNeedNoPaddingStay) {
  ASSERT_TRUE(Load(DdsBuilder(4, 2).Masks(kRgb, 24, 0xFF, 0xFF00, 0, 0).RandomData(24)));
  EXPECT_EQ(mImage.get_size(), 24);
}

TEST_F(CDDSImageTest, PaddedRowsAreFlippedWithTheirPadding) {
  ASSERT_TRUE(Load(DdsBuilder(1, 2).Masks(kRgb, 24, 0xFF, 0xFF00, 0, 0).Data({1, 2, 3, 4, 5, 6}), true));
  EXPECT_EQ(Pixels(), (Bytes{4, 5, 6, 0, 1, 2, 3, 0}));
}

TEST_F(CDDSImageTest, CubeMapsAndVolumesAreNotPadded) {
  ASSERT_TRUE(Load(DdsBuilder(3, 3).Masks(kRgb, 24, 0xFF, 0xFF00, 0, 0).Cubemap().RandomData(6 * 27)));
  EXPECT_EQ(mImage.get_size(), 27);
  ASSERT_TRUE(Load(DdsBuilder(3, 3).Masks(kRgb, 24, 0xFF, 0xFF00, 0, 0).Volume(2).RandomData(2 * 27)));
  EXPECT_EQ(mImage.get_size(), 54);
}

TEST_F(CDDSImageTest, PaddingADeepTextureThatIsNoVolumeKeepsItsFirstSlice) {
  ASSERT_TRUE(Load(
      DdsBuilder(1, 2).Masks(kLuminance, 8, 0xFF, 0, 0, 0).Set(DdsBuilder::kDepth, 2).Data({1, 2, 3, 4})));
  EXPECT_EQ(mImage.get_depth(), 2);
  EXPECT_EQ(Pixels(), (Bytes{1, 0, 0, 0, 2, 0, 0, 0}));
}

// --- Missing data.

Bytes LoadedBytes(const std::string& path, int fill) {
  mallopt(M_PERTURB, fill);
  CDDSImage image;
  EXPECT_TRUE(image.load(path.c_str(), true));
  Bytes all;
  for (int i = 0; i < image.get_num_images(); ++i) {
    const Bytes top = PixelsOf(image.get_image(i));
    all.insert(all.end(), top.begin(), top.end());
    for (int m = 0; m < image.get_image(i).get_num_mipmaps(); ++m) {
      const Bytes level = PixelsOf(image.get_image(i).get_mipmap(m));
      all.insert(all.end(), level.begin(), level.end());
    }
  }
  mallopt(M_PERTURB, 0);
  return all;
}

TEST_F(CDDSImageTest, WhatTheFileLacksIsZeroWhateverMemoryHeld) {
  const Bytes data = test::RandomBytes(100, 10);
  const DdsBuilder files[] = {
      DdsBuilder(64, 64).Code("DXT5").Mipmaps(7).Data(data),
      DdsBuilder(64, 64).Code("DXT1").Mipmaps(7).Cubemap().Data(data),
      DdsBuilder(61, 64).Masks(kRgb, 24, 0xFF0000, 0xFF00, 0, 0).Mipmaps(6).Data(data),
      DdsBuilder(61, 7).Masks(kLuminance, 8, 0xFF, 0, 0, 0).Mipmaps(6).Data(data),
      DdsBuilder(16, 16).Masks(kRgba, 32, 0xFF0000, 0xFF00, 0, 0).Volume(8).Data(data),
      DdsBuilder(5, 5).Dxgi(98).Data(test::RandomBytes(25, 11)),
      DdsBuilder(2, 2).Dxgi(49).Data(test::RandomBytes(8, 11)),
      DdsBuilder(2, 2).Dxgi(2),
  };
  for (const DdsBuilder& file : files) {
    const std::string path = mFolder.Write("cut.dds", file.File());
    EXPECT_EQ(LoadedBytes(path, 0x55), LoadedBytes(path, 0xAA));
  }
}

TEST_F(CDDSImageTest, DataAreZeroFromWhereTheFileEnds) {
  const Bytes data = test::RandomBytes(40, 12);
  ASSERT_TRUE(Load(DdsBuilder(16, 8).Code("DXT1").Mipmaps(3).Data(data)));
  Bytes expected = data;
  expected.resize(64);
  EXPECT_EQ(Pixels(), expected);
  EXPECT_EQ(MipPixels(1), Bytes(16, 0));
  EXPECT_EQ(MipPixels(2), Bytes(8, 0));
}

TEST_F(CDDSImageTest, AHeaderThatIsCutShortReadsAsZero) {
  // All fields up to the code are there.
  ASSERT_TRUE(Load(Part(DdsBuilder(4, 4).Code("DXT1").File(), 0, 100)));
  EXPECT_EQ(mImage.get_format(), 0x83F1U);
  EXPECT_EQ(Pixels(), Bytes(8, 0));
}

// --- Files that are refused.

class RefusedTest : public CDDSImageTest {
 protected:
  void ExpectRefused(const DdsBuilder& file) {
    EXPECT_FALSE(Load(file));
    ExpectEmpty();
  }
  void ExpectEmpty() {
    EXPECT_FALSE(mImage.is_valid());
    EXPECT_EQ(mImage.get_num_images(), 0);
    EXPECT_EQ(mImage.get_format(), 0U);
    EXPECT_EQ(mImage.get_components(), 0);
    EXPECT_FALSE(mImage.is_compressed());
    EXPECT_FALSE(mImage.is_cubemap());
    EXPECT_FALSE(mImage.is_volume());
    EXPECT_EQ(mImage.get_width(), 0);
    EXPECT_EQ(mImage.get_size(), 0);
    EXPECT_EQ(mImage.get_num_mipmaps(), 0);
  }
  static DdsBuilder Good() { return DdsBuilder(8, 8).Code("DXT1").RandomData(1000); }
};

TEST_F(RefusedTest, NoFile) {
  ASSERT_TRUE(Load(Good()));
  EXPECT_FALSE(mImage.load(mFolder.Path("none.dds").c_str(), false));
  ExpectEmpty();
  EXPECT_FALSE(mImage.load(nullptr, false));
  EXPECT_FALSE(mImage.load("", false));
  EXPECT_FALSE(mImage.load(mFolder.Path("").c_str(), false));  // the folder itself
}

TEST_F(RefusedTest, FilesShorterThanAHeader) {
  for (const std::size_t size : {0U, 3U, 4U, 76U, 87U}) {
    EXPECT_FALSE(Load(Part(Good().File(), 0, size))) << size;
    ExpectEmpty();
  }
  EXPECT_FALSE(Load(test::RandomBytes(127, 13)));
  ExpectEmpty();
}

TEST_F(RefusedTest, DimensionsBelowOne) {
  for (const std::uint32_t size : {0U, 0x80000000U, 0xFFFFFFFFU}) {
    ExpectRefused(Good().Set(DdsBuilder::kWidth, size));
    ExpectRefused(Good().Set(DdsBuilder::kHeight, size));
  }
}

TEST_F(RefusedTest, MoreThan32Levels) {
  ExpectRefused(Good().Mipmaps(33));
  ExpectRefused(Good().Mipmaps(0xFFFFFFFF));
  EXPECT_TRUE(Load(Good().Mipmaps(32)));
  EXPECT_EQ(mImage.get_num_mipmaps(), 31);
}

TEST_F(RefusedTest, LevelsThatAreTooLarge) {
  ExpectRefused(Good().Set(DdsBuilder::kWidth, 65000).Set(DdsBuilder::kHeight, 65000));
  ExpectRefused(DdsBuilder(65000, 65000).Masks(kRgba, 32, 0xFF, 0xFF00, 0, 0));
  ExpectRefused(DdsBuilder(0x7FFFFFFF, 0x7FFFFFFF).Masks(kRgba, 32, 0xFF, 0xFF00, 0, 0));
  ExpectRefused(DdsBuilder(0x7FFFFFFF, 0x7FFFFFFF).Code("DXT5"));
  ExpectRefused(DdsBuilder(0x7FFFFFFF, 1).Code("DXT5"));
  ExpectRefused(DdsBuilder(0x10000, 0x10000).Code("DXT1").Volume(0x7FFFFFFF));
  ExpectRefused(DdsBuilder(1024, 1024).Code("DXT1").Volume(0x7FFFFFFF));
}

TEST_F(RefusedTest, ADepthBeyondSignedNumbersCountsAsOne) {
  EXPECT_TRUE(Load(Good().Volume(0xFFFFFFFF)));
  EXPECT_EQ(mImage.get_depth(), 1);
}

TEST_F(CDDSImageTest, TheSizeFieldIsNotUsed) {
  ASSERT_TRUE(Load(DdsBuilder(4, 4).Code("DXT1").LinearSize(0xFFFFFFFF).RandomData(8)));
  EXPECT_EQ(mImage.get_size(), 8);
}

TEST_F(CDDSImageTest, FieldsThatAreNotCheckedDoNotMatter) {
  constexpr std::size_t kSize = 4;
  constexpr std::size_t kPixelFormatSize = 76;
  constexpr std::size_t kCaps1 = 108;
  ASSERT_TRUE(Load(DdsBuilder(4, 4)
                       .Code("DXT1")
                       .Set(kSize, 0)
                       .Set(DdsBuilder::kFlags, 0xFFFFFFFF)
                       .Set(kPixelFormatSize, 9)
                       .Set(kCaps1, 0)
                       .RandomData(8)));
  EXPECT_EQ(mImage.get_format(), 0x83F1U);
  EXPECT_FALSE(mImage.is_placeholder());
}

TEST_F(RefusedTest, MoreThanSixtyFourMegabytesThatTheFileDoesNotJustify) {
  // 4096 x 4096 pixels of 4 bytes are 64 MiB.
  const DdsBuilder most = DdsBuilder(4096, 4096).Masks(kRgba, 32, 0xFF, 0xFF00, 0, 0);
  EXPECT_TRUE(Load(most));
  ExpectRefused(DdsBuilder(most).Set(DdsBuilder::kHeight, 4097));
  ExpectRefused(DdsBuilder(most).Mipmaps(2));
  ExpectRefused(DdsBuilder(most).Cubemap());
  ExpectRefused(DdsBuilder(most).Volume(2));
}

TEST_F(RefusedTest, FourTimesTheFileIsJustified) {
  constexpr std::uint32_t kSide = 5000;  // 100 MB of pixels
  const std::string path =
      mFolder.Write("large.dds", DdsBuilder(kSide, kSide).Masks(kRgba, 32, 0xFF, 0xFF00, 0, 0).File());
  std::filesystem::resize_file(path, kSide * kSide);
  EXPECT_TRUE(mImage.load(path.c_str(), false));
  std::filesystem::resize_file(path, kSide * kSide - 1);
  EXPECT_FALSE(mImage.load(path.c_str(), false));
}

TEST_F(RefusedTest, AFailedLoadDropsWhatWasLoaded) {
  ASSERT_TRUE(Load(Good()));
  ExpectRefused(Good().Mipmaps(99));
}

// --- State.

TEST_F(CDDSImageTest, StartsEmptyAndInvalid) {
  EXPECT_FALSE(mImage.is_valid());
  EXPECT_EQ(mImage.get_num_images(), 0);
  EXPECT_EQ(mImage.get_width(), 0);
  EXPECT_EQ(mImage.get_height(), 0);
  EXPECT_EQ(mImage.get_depth(), 0);
}

TEST_F(CDDSImageTest, ClearDropsEverything) {
  ASSERT_TRUE(Load(Cube()));
  mImage.clear();
  EXPECT_FALSE(mImage.is_valid());
  EXPECT_FALSE(mImage.is_cubemap());
  EXPECT_EQ(mImage.get_format(), 0U);
  EXPECT_EQ(mImage.get_components(), 0);
  EXPECT_EQ(mImage.get_num_images(), 0);
}

TEST_F(CDDSImageTest, LoadingAgainReplacesTheTextures) {
  ASSERT_TRUE(Load(Cube()));
  ASSERT_TRUE(Load(DdsBuilder(4, 4).Code("DXT1").RandomData(8)));
  EXPECT_EQ(mImage.get_num_images(), 1);
  EXPECT_FALSE(mImage.is_cubemap());
}

TEST_F(CDDSImageTest, CopiesHaveTexturesOfTheirOwn) {
  const Bytes data = test::RandomBytes(8 + 8, 14);
  ASSERT_TRUE(Load(DdsBuilder(4, 4).Code("DXT1").Mipmaps(2).Data(data), true));
  const CDDSImage copy(mImage);
  CDDSImage assigned;
  assigned = mImage;
  std::memset(mImage.get_image(0), 0, 8);
  for (const CDDSImage* other : {&copy, static_cast<const CDDSImage*>(&assigned)}) {
    EXPECT_TRUE(other->is_valid());
    EXPECT_TRUE(other->is_compressed());
    EXPECT_EQ(other->get_format(), 0x83F1U);
    EXPECT_EQ(PixelsOf(other->get_image(0)), Part(data, 0, 8));
    EXPECT_EQ(PixelsOf(other->get_mipmap(0)), Part(data, 8, 8));
  }
}

TEST_F(CDDSImageTest, PathsAreCleaned) {
  const std::string path = mFolder.Write("a.dds", DdsBuilder(4, 4).Code("DXT1").RandomData(8).File());
  const std::string folder = path.substr(0, path.size() - 5);
  EXPECT_TRUE(mImage.load((folder + "\\.\\none/../a.dds").c_str(), false));
  EXPECT_TRUE(mImage.load((folder + "//a.dds").c_str(), false));
}

// --- Sizes.

TEST(CDDSImageSizes, UncompressedSizesAreTheProduct) {
  nv_dds::CDDSImageAccess access(nv_dds::kTextureFormatRGB);
  EXPECT_EQ(access.image.size_rgb(5, 7), 0);  // no components yet
  test::TemporaryFolder folder;
  const DdsBuilder file = DdsBuilder(1, 1).Masks(kRgb, 24, 0xFF, 0xFF00, 0, 0);
  ASSERT_TRUE(access.image.load(folder.Write("a.dds", file.File()).c_str(), false));
  EXPECT_EQ(access.image.size_rgb(5, 7), 105);
}

TEST(CDDSImageSizes, AnUnknownFormatHasBlocksOfEightBytes) { EXPECT_EQ(CDDSImage().size_dxtc(8, 8), 32); }

TEST(CDDSImageSizes, ClampSizeGivesAtLeastOne) {
  EXPECT_EQ(CDDSImage::clamp_size(7), 7);
  EXPECT_EQ(CDDSImage::clamp_size(1), 1);
  EXPECT_EQ(CDDSImage::clamp_size(0), 1);
  EXPECT_EQ(CDDSImage::clamp_size(-7), 1);
}

TEST(CDDSImageSizes, LineWidthsAreMultiplesOfFourBytes) {
  EXPECT_EQ(CDDSImage::get_line_width(1, 24), 4);
  EXPECT_EQ(CDDSImage::get_line_width(4, 24), 12);
  EXPECT_EQ(CDDSImage::get_line_width(5, 24), 16);
  EXPECT_EQ(CDDSImage::get_line_width(3, 32), 12);
  EXPECT_EQ(CDDSImage::get_line_width(33, 1), 8);
  EXPECT_EQ(CDDSImage::get_line_width(0, 8), 0);
}

// --- Choosing levels for an upload.

/// A texture of 16 x 8 with the levels 8 x 4, 4 x 2, 2 x 1.
CTexture Chain() {
  CTexture texture(16, 8, 1, 16 * 8 * 4, false);
  for (int i = 1; i < 4; ++i)
    texture.add_mipmap(CSurface(16 >> i, 8 >> i, 1, 4 * (16 >> i) * (8 >> i), false));
  return texture;
}

std::vector<int> Widths(CTexture& texture, int level) {
  std::vector<CSurface*> surfaces;
  CDDSImage::GetMipMapLevels(surfaces, texture, level);
  std::vector<int> widths;
  for (const CSurface* surface : surfaces) widths.push_back(surface->get_width());
  return widths;
}

struct LevelCase {
  int level;
  std::vector<int> widths;
};

void PrintTo(const LevelCase& row, std::ostream* out) { *out << row.level; }

class GetMipMapLevelsTest : public testing::TestWithParam<LevelCase> {};

TEST_P(GetMipMapLevelsTest, CollectsTheLevelsThatFit) {
  CTexture texture = Chain();
  EXPECT_EQ(Widths(texture, GetParam().level), GetParam().widths);
}

INSTANTIATE_TEST_SUITE_P(
    Levels, GetMipMapLevelsTest,
    testing::Values(LevelCase{32768, {16, 8, 4, 2}}, LevelCase{16, {16, 8, 4, 2}}, LevelCase{15, {8, 4, 2}},
                    LevelCase{4, {4, 2}}, LevelCase{2, {2}}, LevelCase{1, {2}}, LevelCase{0, {2}},
                    LevelCase{-1, {2}}, LevelCase{-2, {2}}, LevelCase{-8, {8}}, LevelCase{-9, {8}},
                    LevelCase{-32768, {16}}, LevelCase{std::numeric_limits<int>::min(), {16}},
                    LevelCase{std::numeric_limits<int>::max(), {16, 8, 4, 2}}),
    [](const auto& test) {
      const int level = test.param.level;
      return (level < 0 ? "Minus" : "Plus") + std::to_string(std::abs(std::int64_t{level}));
    });

TEST(GetMipMapLevels, ATextureWithoutMipmapsIsTakenWhenNothingFits) {
  CTexture texture(16, 8, 1, 512, false);
  EXPECT_EQ(Widths(texture, 4), std::vector<int>{16});
  EXPECT_EQ(Widths(texture, 0), std::vector<int>{16});
}

TEST(GetMipMapLevels, DepthCountsAsADimension) {
  CTexture texture(4, 4, 64, 64, false);
  texture.add_mipmap(CSurface(2, 2, 32, 64, false));
  EXPECT_EQ(Widths(texture, 32), std::vector<int>{2});
}

TEST(GetMipMapLevels, AppendsToWhatTheListHolds) {
  CTexture texture = Chain();
  CSurface other;
  std::vector<CSurface*> surfaces = {&other};
  CDDSImage::GetMipMapLevels(surfaces, texture, 1);
  ASSERT_EQ(surfaces.size(), 2U);
  EXPECT_EQ(surfaces[0], &other);
}

}  // namespace
