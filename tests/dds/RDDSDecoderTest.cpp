#include "dds/RDDSDecoder.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>
#include <numeric>

#include "dds/BlockReference.h"
#include "dds/DdsPixels.h"
#include "support/DdsBuilder.h"
#include "support/TestData.h"

namespace {

using test::DdsBuilder;
using Bytes = std::vector<unsigned char>;
using Numbers = std::vector<float>;

constexpr std::uint32_t kRgb = 0x40;
constexpr std::uint32_t kRgba = 0x41;
constexpr std::uint32_t kLuminance = 0x20000;

Bytes Counting(std::size_t size) {
  Bytes bytes(size);
  std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(1));
  return bytes;
}

Bytes FloatBytes(const Numbers& numbers) {
  Bytes bytes(numbers.size() * sizeof(float));
  std::memcpy(bytes.data(), numbers.data(), bytes.size());
  return bytes;
}

class RDDSDecoderTest : public testing::Test {
 protected:
  bool Load(const DdsBuilder& file) { return mDecoder.Load(mFolder.Write("a.dds", file.File()).c_str()); }
  const RDDSInfo& Info() const { return mDecoder.GetInfo(); }

  std::size_t Count(int level) const {
    return static_cast<std::size_t>(RDDSDecoder::LevelSize(Info().width, level) *
                                    RDDSDecoder::LevelSize(Info().height, level));
  }
  /// Empty when there is no such picture.
  Bytes Decode(int face = 0, int level = 0, int slice = 0) const {
    const RPixelBuffer pixels = mDecoder.DecodeBytes(face, level, slice);
    return pixels ? Bytes(pixels.get(), pixels.get() + 4 * Count(level)) : Bytes();
  }
  Numbers DecodeFloats(int face = 0, int level = 0, int slice = 0) const {
    const RPixelBuffer pixels = mDecoder.DecodeFloats(face, level, slice);
    Numbers numbers(pixels ? 4 * Count(level) : 0);
    if (pixels) std::memcpy(numbers.data(), pixels.get(), numbers.size() * sizeof(float));
    return numbers;
  }

  test::TemporaryFolder mFolder;
  RDDSDecoder mDecoder;
};

// --- The headers alone.

TEST_F(RDDSDecoderTest, ReadsTheHeadersOfAFileWithoutPixels) {
  RDDSInfo info;
  const auto kept = mFolder.Write("kept.dds", DdsBuilder(8, 4).Code("DXT5").Mipmaps(3).File());
  ASSERT_TRUE(RDDSDecoder::ReadInfo(kept.c_str(), info));
  EXPECT_STREQ(info.format, "DXT5");
  EXPECT_EQ(info.levels, 3);
  const auto stored = mFolder.Write("stored.dds", DdsBuilder(8, 4).Dxgi(98).File());
  ASSERT_TRUE(RDDSDecoder::ReadInfo(stored.c_str(), info));
  EXPECT_STREQ(info.format, "BC7_UNORM");
  EXPECT_EQ(info.width, 8);
  EXPECT_EQ(info.height, 4);
}

TEST_F(RDDSDecoderTest, HeadersOfNoPictureAreRefused) {
  RDDSInfo info;
  info.width = 77;
  const auto fails = [&](const Bytes& file) {
    return !RDDSDecoder::ReadInfo(mFolder.Write("bad.dds", file).c_str(), info);
  };
  const Bytes good = DdsBuilder(8, 4).Dxgi(98).File();
  EXPECT_TRUE(fails({}));
  EXPECT_TRUE(fails({good.begin(), good.begin() + 127}));
  EXPECT_TRUE(fails({good.begin(), good.begin() + 147})) << "the extension is cut short";
  EXPECT_TRUE(fails(DdsBuilder(8, 4).Dxgi(500).File()));
  EXPECT_TRUE(fails(DdsBuilder(0, 4).Dxgi(98).File()));
  EXPECT_TRUE(fails(DdsBuilder(0, 4).Code("DXT1").File()));
  EXPECT_TRUE(fails(DdsBuilder(4, 4).Code("DXT1").Mipmaps(33).File()));
  EXPECT_FALSE(RDDSDecoder::ReadInfo(nullptr, info));
  EXPECT_FALSE(RDDSDecoder::ReadInfo(mFolder.Path("none.dds").c_str(), info));
  EXPECT_EQ(info.width, 77);
}

// A depth above 2^31 is 1 for the loader; slices that it did not load must not be promised.
TEST_F(RDDSDecoderTest, AVolumesDepthIsTheLoaders) {
  ASSERT_TRUE(Load(DdsBuilder::Rgba(1, 1).Volume(0xFFFFFFFF).Data({1, 2, 3, 4})));
  EXPECT_EQ(Info().depth, 1);
  EXPECT_EQ(Decode(), (Bytes{1, 2, 3, 4}));
  EXPECT_EQ(Decode(0, 0, 1), Bytes());
}

// --- Files that the loader keeps.

TEST_F(RDDSDecoderTest, DescribesACubeMapWithLevels) {
  ASSERT_TRUE(Load(DdsBuilder(8, 4).Code("DXT5").Cubemap().Mipmaps(3).RandomData(6 * 64)));
  EXPECT_STREQ(Info().format, "DXT5");
  EXPECT_EQ(Info().width, 8);
  EXPECT_EQ(Info().height, 4);
  EXPECT_EQ(Info().depth, 1);
  EXPECT_EQ(Info().levels, 3);
  EXPECT_EQ(Info().faces, 6);
  EXPECT_TRUE(Info().isCubemap);
  EXPECT_FALSE(Info().isVolume);
  EXPECT_TRUE(Info().isCompressed);
  EXPECT_FALSE(Info().isFloat);
  EXPECT_TRUE(Info().hasAlpha);
  EXPECT_FALSE(mDecoder.IsPlaceholder());
}

TEST_F(RDDSDecoderTest, DescribesAVolume) {
  ASSERT_TRUE(Load(DdsBuilder(3, 2).Masks(kRgba, 32, 0xFF, 0xFF00, 0, 0).Volume(4).RandomData(96)));
  EXPECT_STREQ(Info().format, "RGBA");
  EXPECT_EQ(Info().depth, 4);
  EXPECT_EQ(Info().faces, 1);
  EXPECT_TRUE(Info().isVolume);
  EXPECT_FALSE(Info().isCompressed);
}

struct NameCase {
  const char* name;
  DdsBuilder file;
  bool hasAlpha;
};

std::vector<NameCase> NameCases() {
  const auto code = [](const char(&text)[5]) {
    return DdsBuilder(4, 4).Code(text).LinearSize(16).RandomData(16);
  };
  const auto masks = [](std::uint32_t flags, std::uint32_t bits) {
    return DdsBuilder(1, 1).Masks(flags, bits, 0xFF, 0xFF00, 0xFF0000, 0).RandomData(8);
  };
  return {
      {"DXT1", code("DXT1"), true},
      {"DXT3", code("DXT3"), true},
      {"DXT5", code("DXT5"), true},
      {"BC4", code("ATI1"), false},
      {"BC4 signed", code("BC4S"), false},
      {"BC5", code("ATI2"), false},
      {"BC5 signed", code("BC5S"), false},
      {"RGBA", masks(kRgba, 32), true},
      {"RGBA", masks(kRgb, 32), false},
      {"RGB", masks(kRgb, 24), false},
      {"luminance", masks(kLuminance, 8), false},
      {"DXT2", code("DXT2"), true},
      {"DXT4", code("DXT4"), true},
      {"RGB bit fields", DdsBuilder(1, 1).Masks(kRgb, 16, 0xF800, 0x7E0, 0x1F, 0).RandomData(2), false},
      {"RGB bit fields", DdsBuilder(1, 1).Masks(kRgba, 16, 0xF00, 0xF0, 0xF, 0xF000).RandomData(2), true},
      {"L16", DdsBuilder(1, 1).Masks(kLuminance, 16, 0xFFFF, 0, 0, 0).RandomData(2), false},
      {"L8A8", DdsBuilder(1, 1).Masks(kLuminance | 1, 16, 0xFF, 0, 0, 0xFF00).RandomData(2), true},
      {"8-bit palette", DdsBuilder(1, 1).Masks(0x20, 24, 0, 0, 0, 0).RandomData(1025), false},
      {"4-bit palette", DdsBuilder(1, 1).Masks(0x9, 24, 0, 0, 0, 0).RandomData(65), true},
      {"A16B16G16R16F", DdsBuilder(1, 1).Code(113).RandomData(8), true},
      {"R32F", DdsBuilder(1, 1).Code(114).RandomData(4), false},
      {"BC6H_UF16", DdsBuilder(4, 4).Dxgi(95).RandomData(16), false},
      {"BC7_UNORM", DdsBuilder(4, 4).Dxgi(98).RandomData(16), true},
      {"BC5_SNORM", DdsBuilder(4, 4).Dxgi(84).RandomData(16), false},
      {"B8G8R8A8_UNORM", DdsBuilder(1, 1).Dxgi(87).RandomData(4), true},
      {"B8G8R8X8_UNORM", DdsBuilder(1, 1).Dxgi(88).RandomData(4), false},
      {"A8_UNORM", DdsBuilder(1, 1).Dxgi(65).RandomData(1), true},
      {"placeholder", DdsBuilder(1, 1).Code("ABCD").RandomData(1), true},
  };
}

TEST_F(RDDSDecoderTest, NamesTheLayoutAndKnowsItsAlpha) {
  for (const NameCase& row : NameCases()) {
    SCOPED_TRACE(row.name);
    ASSERT_TRUE(Load(row.file));
    EXPECT_STREQ(Info().format, row.name);
    EXPECT_EQ(Info().hasAlpha, row.hasAlpha);
    EXPECT_EQ(mDecoder.IsPlaceholder(), std::string(row.name) == "placeholder");
    const Bytes pixels = Decode();
    ASSERT_FALSE(pixels.empty());
    EXPECT_TRUE(row.hasAlpha || pixels[3] == 255);
  }
}

TEST_F(RDDSDecoderTest, KnowsWhatIsMultipliedWithAlpha) {
  const auto isPremultiplied = [&](const DdsBuilder& file) {
    EXPECT_TRUE(Load(file));
    return Info().isPremultiplied;
  };
  for (const auto& [code, expected] :
       {std::pair{"DXT2", true}, {"DXT3", false}, {"DXT4", true}, {"DXT5", false}}) {
    std::uint32_t number = 0;
    std::memcpy(&number, code, 4);
    EXPECT_EQ(isPremultiplied(DdsBuilder(4, 4).Code(number).LinearSize(16).RandomData(16)), expected) << code;
  }
  constexpr std::uint32_t kPremultiplied = 2;
  for (const std::uint32_t format : {28U, 71U, 74U, 77U, 87U, 98U}) {
    EXPECT_TRUE(isPremultiplied(DdsBuilder(4, 4).Dxgi(format, kPremultiplied).RandomData(64))) << format;
    EXPECT_FALSE(isPremultiplied(DdsBuilder(4, 4).Dxgi(format, 1).RandomData(64))) << format;
  }
  // There is nothing to multiply with.
  for (const std::uint32_t format : {61U, 80U, 88U, 95U})
    EXPECT_FALSE(isPremultiplied(DdsBuilder(4, 4).Dxgi(format, kPremultiplied).RandomData(64))) << format;
  EXPECT_FALSE(isPremultiplied(DdsBuilder(4, 4).Dxgi(100, kPremultiplied)));
}

TEST_F(RDDSDecoderTest, DecodesEachFaceLevelAndSliceOfBlocks) {
  const Bytes data = test::RandomBytes(6 * (4 + 1) * 8, 71);
  ASSERT_TRUE(Load(DdsBuilder(8, 8).Code("DXT1").Cubemap().Mipmaps(2).Data(data)));
  for (int face = 0; face < 6; ++face) {
    const auto at = data.begin() + face * 40;
    EXPECT_EQ(Decode(face, 0), test::ReferencePicture(kBlockBC1, Bytes(at, at + 32), 8, 8)) << face;
    EXPECT_EQ(Decode(face, 1), test::ReferencePicture(kBlockBC1, Bytes(at + 32, at + 40), 4, 4)) << face;
  }
  const Bytes volume = test::RandomBytes((3 + 1) * 16, 72);
  ASSERT_TRUE(Load(DdsBuilder(4, 3).Code("DXT3").Volume(3).Mipmaps(2).Data(volume)));
  for (int slice = 0; slice < 3; ++slice) {
    const auto at = volume.begin() + slice * 16;
    EXPECT_EQ(Decode(0, 0, slice), test::ReferencePicture(kBlockBC2, Bytes(at, at + 16), 4, 3)) << slice;
  }
  EXPECT_EQ(Decode(0, 1, 0), test::ReferencePicture(kBlockBC2, Bytes(volume.end() - 16, volume.end()), 2, 1));
}

TEST_F(RDDSDecoderTest, RowsComeFromTheTopWithoutPadding) {
  ASSERT_TRUE(Load(DdsBuilder(1, 3).Masks(kRgb, 24, 0xFF0000, 0xFF00, 0xFF, 0).Data(Counting(9))));
  EXPECT_EQ(Decode(), (Bytes{3, 2, 1, 255, 6, 5, 4, 255, 9, 8, 7, 255}));
}

TEST_F(RDDSDecoderTest, SlicesAndLevelsOfPixels) {
  ASSERT_TRUE(
      Load(DdsBuilder(2, 1).Masks(kRgb, 24, 0xFF, 0xFF00, 0, 0).Volume(2).Mipmaps(2).Data(Counting(15))));
  EXPECT_EQ(Decode(0, 0, 0), (Bytes{1, 2, 3, 255, 4, 5, 6, 255}));
  EXPECT_EQ(Decode(0, 0, 1), (Bytes{7, 8, 9, 255, 10, 11, 12, 255}));
  EXPECT_EQ(Decode(0, 1, 0), (Bytes{13, 14, 15, 255}));
  EXPECT_EQ(mDecoder.DecodeBytes(0, 1, 1), nullptr);
}

TEST_F(RDDSDecoderTest, FacesAndLevelsOfPixels) {
  ASSERT_TRUE(
      Load(DdsBuilder(2, 2).Masks(kRgb, 24, 0xFF, 0xFF00, 0, 0).Cubemap().Mipmaps(2).Data(Counting(6 * 15))));
  EXPECT_EQ(Decode(2, 0)[0], 31);
  EXPECT_EQ(Decode(2, 1), (Bytes{43, 44, 45, 255}));
}

TEST_F(RDDSDecoderTest, ADeepTextureThatIsNoVolumeHasOneSlice) {
  ASSERT_TRUE(Load(
      DdsBuilder(1, 2).Masks(kLuminance, 8, 0xFF, 0, 0, 0).Set(DdsBuilder::kDepth, 2).Data({1, 2, 3, 4})));
  EXPECT_EQ(Info().depth, 1);
  EXPECT_EQ(Decode(), (Bytes{1, 1, 1, 255, 2, 2, 2, 255}));
  ASSERT_TRUE(Load(DdsBuilder(1, 2)
                       .Masks(kLuminance, 8, 0xFF, 0, 0, 0)
                       .Cubemap()
                       .Set(DdsBuilder::kDepth, 2)
                       .Data(Counting(24))));
  EXPECT_EQ(Decode(1), (Bytes{5, 5, 5, 255, 6, 6, 6, 255}));
}

TEST_F(RDDSDecoderTest, ADeepTextureWhoseSlicesFillThePaddedRowsHasItsFirstSlice) {
  // Four slices of one byte a row are as large as rows padded to four bytes.
  ASSERT_TRUE(Load(
      DdsBuilder(1, 2).Masks(kLuminance, 8, 0xFF, 0, 0, 0).Set(DdsBuilder::kDepth, 4).Data(Counting(8))));
  EXPECT_EQ(Decode(), (Bytes{1, 1, 1, 255, 2, 2, 2, 255}));
}

TEST_F(RDDSDecoderTest, CodesOfLuminanceAreGrey) {
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Code(134).Data({0, 78})));
  EXPECT_EQ(Decode(), (Bytes{78, 78, 78, 255}));
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Code(135).Data({79, 80})));
  EXPECT_TRUE(Info().hasAlpha);
  EXPECT_EQ(Decode(), (Bytes{79, 79, 79, 80}));
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Code(136).Data({81})));
  EXPECT_EQ(Decode(), (Bytes{81, 81, 81, 255}));
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Code(34).Data({0, 82, 0, 83})));
  EXPECT_EQ(Decode(), (Bytes{82, 83, 0, 255}));
}

TEST_F(RDDSDecoderTest, LuminanceIsGrey) {
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Masks(kLuminance, 8, 0xFF, 0, 0, 0).Data({77})));
  EXPECT_EQ(Decode(), (Bytes{77, 77, 77, 255}));
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Masks(kLuminance, 16, 0xFFFF, 0, 0, 0).Data({0, 78})));
  EXPECT_EQ(Decode(), (Bytes{78, 78, 78, 255}));
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Masks(kLuminance | 1, 16, 0xFF, 0, 0, 0xFF00).Data({79, 80})));
  EXPECT_EQ(Decode(), (Bytes{79, 79, 79, 80}));
}

TEST_F(RDDSDecoderTest, MissingChannelsAreZeroAndOpaque) {
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Dxgi(61).Data({9})));
  EXPECT_EQ(Decode(), (Bytes{9, 0, 0, 255}));
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Dxgi(49).Data({9, 8})));
  EXPECT_EQ(Decode(), (Bytes{9, 8, 0, 255}));
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Masks(kRgb, 16, 0xF800, 0x7E0, 0x1F, 0).Data({0xFF, 0xFF})));
  EXPECT_EQ(Decode(), (Bytes{255, 255, 255, 255}));
}

TEST_F(RDDSDecoderTest, AFourthByteThatIsNotAlphaIsNotShown) {
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Masks(kRgb, 32, 0xFF, 0xFF00, 0xFF0000, 0).Data({1, 2, 3, 4})));
  EXPECT_EQ(Decode(), (Bytes{1, 2, 3, 255}));
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Dxgi(88).Data({1, 2, 3, 4})));
  EXPECT_EQ(Decode(), (Bytes{3, 2, 1, 255}));
}

TEST_F(RDDSDecoderTest, DataThatAKeptFileLacksAreZero) {
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Masks(kRgba, 32, 0xFF, 0xFF00, 0, 0).Cubemap().Data({1, 2, 3, 4})));
  EXPECT_EQ(Decode(0), (Bytes{1, 2, 3, 4}));
  EXPECT_EQ(Decode(5), (Bytes{0, 0, 0, 0}));
}

// --- Files of the general reader.

TEST_F(RDDSDecoderTest, LevelsAndSlicesOfAVolumeWithExtension) {
  ASSERT_TRUE(
      Load(DdsBuilder(2, 1).Dxgi(61, 0, 0, 1, 4).Set(DdsBuilder::kDepth, 3).Mipmaps(2).Data(Counting(7))));
  EXPECT_EQ(Info().depth, 3);
  EXPECT_EQ(Info().levels, 2);
  EXPECT_TRUE(Info().isVolume);
  EXPECT_EQ(Decode(0, 0, 0), (Bytes{1, 0, 0, 255, 2, 0, 0, 255}));
  EXPECT_EQ(Decode(0, 0, 2), (Bytes{5, 0, 0, 255, 6, 0, 0, 255}));
  EXPECT_EQ(Decode(0, 1, 0), (Bytes{7, 0, 0, 255}));
}

TEST_F(RDDSDecoderTest, ElementsOfAnArray) {
  ASSERT_TRUE(Load(DdsBuilder(2, 1).Dxgi(61, 0, 0, 3).Mipmaps(2).Data(Counting(9))));
  EXPECT_EQ(Info().faces, 3);
  EXPECT_FALSE(Info().isCubemap);
  EXPECT_EQ(Decode(0)[0], 1);
  EXPECT_EQ(Decode(1)[0], 4);
  EXPECT_EQ(Decode(2, 1), (Bytes{9, 0, 0, 255}));
  EXPECT_EQ(mDecoder.DecodeBytes(3, 0, 0), nullptr);
}

TEST_F(RDDSDecoderTest, CubeMapsWithExtension) {
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Dxgi(61, 0, 4, 2).Data(Counting(12))));
  EXPECT_TRUE(Info().isCubemap);
  EXPECT_EQ(Info().faces, 12);
  EXPECT_EQ(Decode(11), (Bytes{12, 0, 0, 255}));
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Code(136).Cubemap().Data(Counting(6))));
  EXPECT_EQ(Info().faces, 6);
  EXPECT_EQ(Decode(5), (Bytes{6, 6, 6, 255}));
}

TEST_F(RDDSDecoderTest, LevelsOfBlocksWithExtension) {
  const Bytes data = test::RandomBytes(4 * 16 + 16 + 16, 73);
  ASSERT_TRUE(Load(DdsBuilder(8, 8).Dxgi(74).Mipmaps(3).Data(data)));
  EXPECT_EQ(Decode(0, 1),
            test::ReferencePicture(kBlockBC2, Bytes(data.begin() + 64, data.begin() + 80), 4, 4));
  EXPECT_EQ(Decode(0, 2), test::ReferencePicture(kBlockBC2, Bytes(data.begin() + 80, data.end()), 2, 2));
}

TEST_F(RDDSDecoderTest, LevelsOfAPaletteShareIt) {
  Bytes palette(1024);
  for (std::size_t i = 0; i < 256; ++i) palette[4 * i] = static_cast<unsigned char>(255 - i);
  ASSERT_TRUE(Load(DdsBuilder(2, 1).Masks(0x20, 24, 0, 0, 0, 0).Mipmaps(2).Data(palette).Data({1, 2, 3})));
  EXPECT_EQ(Decode(0, 1), (Bytes{252, 0, 0, 255}));
}

TEST_F(RDDSDecoderTest, WhatTheFileLacksIsNoPicture) {
  ASSERT_TRUE(Load(DdsBuilder(2, 1).Dxgi(61).Mipmaps(3).Data(Counting(3))));
  EXPECT_FALSE(Decode(0, 1).empty());
  EXPECT_EQ(mDecoder.DecodeBytes(0, 2, 0), nullptr);
}

TEST_F(RDDSDecoderTest, AbsurdCountsAreNoPictures) {
  const std::uint32_t many = 0xFFFFFFFF;
  ASSERT_TRUE(Load(DdsBuilder(2, 1)
                       .Dxgi(61, 0, 4, many, 4)
                       .Set(DdsBuilder::kDepth, many)
                       .Mipmaps(many)
                       .Data(Counting(2))));
  EXPECT_EQ(Info().levels, 32);
  EXPECT_FALSE(Decode().empty());
  EXPECT_EQ(mDecoder.DecodeBytes(Info().faces - 1, Info().levels - 1, 0), nullptr);
  EXPECT_EQ(mDecoder.DecodeBytes(0, 0, Info().depth - 1), nullptr);
  ASSERT_TRUE(Load(DdsBuilder(2, 1).Dxgi(61, 0, 0, 0).Mipmaps(0).Data(Counting(2))));
  EXPECT_EQ(Info().faces, 1);
  EXPECT_EQ(Info().levels, 1);
}

// --- Floats.

TEST_F(RDDSDecoderTest, FloatsStayFloats) {
  ASSERT_TRUE(Load(DdsBuilder(2, 1).Code(116).Data(FloatBytes({1, 2, -3, 0.5F, 1e30F, 0, 0, 4}))));
  EXPECT_TRUE(Info().isFloat);
  EXPECT_EQ(DecodeFloats(), (Numbers{1, 2, -3, 0.5F, 1e30F, 0, 0, 4}));
}

TEST_F(RDDSDecoderTest, FloatsWithoutAlphaAreOpaque) {
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Code(115).Data(FloatBytes({0.25F, 7}))));
  EXPECT_EQ(DecodeFloats(), (Numbers{0.25F, 7, 0, 1}));
}

TEST_F(RDDSDecoderTest, FloatsBecomeBytesClampedAndRounded) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float infinity = std::numeric_limits<float>::infinity();
  ASSERT_TRUE(
      Load(DdsBuilder(2, 1).Code(116).Data(FloatBytes({0.5F, -1, 2, 1, nan, infinity, -infinity, 0.0999F}))));
  EXPECT_EQ(Decode(), (Bytes{128, 0, 255, 255, 0, 255, 0, 25}));
}

TEST_F(RDDSDecoderTest, BytesBecomeFloatsFromZeroToOne) {
  ASSERT_TRUE(Load(DdsBuilder(1, 1).Masks(kRgba, 32, 0xFF, 0xFF00, 0, 0).Data({0, 255, 51, 102})));
  EXPECT_EQ(DecodeFloats(), (Numbers{0, 1, 51 / 255.0F, 102 / 255.0F}));
}

// --- Refusals.

TEST_F(RDDSDecoderTest, OtherIndicesAreNoPictures) {
  ASSERT_TRUE(Load(DdsBuilder(4, 4).Code("DXT1").Mipmaps(2).RandomData(16)));
  EXPECT_EQ(mDecoder.DecodeBytes(-1, 0, 0), nullptr);
  EXPECT_EQ(mDecoder.DecodeBytes(1, 0, 0), nullptr);
  EXPECT_EQ(mDecoder.DecodeBytes(0, -1, 0), nullptr);
  EXPECT_EQ(mDecoder.DecodeBytes(0, 2, 0), nullptr);
  EXPECT_EQ(mDecoder.DecodeBytes(0, 0, -1), nullptr);
  EXPECT_EQ(mDecoder.DecodeBytes(0, 0, 1), nullptr);
  EXPECT_EQ(mDecoder.DecodeFloats(0, 0, 1), nullptr);
}

TEST_F(RDDSDecoderTest, ThePlaceholderIsToldApart) {
  ASSERT_TRUE(Load(DdsBuilder(4, 4).Dxgi(100)));
  EXPECT_TRUE(mDecoder.IsPlaceholder());
  EXPECT_EQ(Info().width, 64);
  EXPECT_EQ(Decode()[0], 255);
  EXPECT_EQ(Decode()[3], 0);
  EXPECT_EQ(mDecoder.DecodeBytes(0, 1, 0), nullptr);
}

TEST_F(RDDSDecoderTest, FilesThatCannotBeLoadedFail) {
  EXPECT_FALSE(mDecoder.Load(nullptr));
  EXPECT_FALSE(mDecoder.Load(mFolder.Path("none").c_str()));
  EXPECT_FALSE(mDecoder.Load(mFolder.Write("short", Bytes(100)).c_str()));
  EXPECT_FALSE(Load(DdsBuilder(0, 4).Code("DXT1")));
  EXPECT_EQ(mDecoder.DecodeBytes(0, 0, 0), nullptr);
}

TEST_F(RDDSDecoderTest, AFailedLoadDropsWhatWasLoaded) {
  ASSERT_TRUE(Load(DdsBuilder(4, 4).Code("DXT1").RandomData(8)));
  EXPECT_FALSE(mDecoder.Load(mFolder.Path("none").c_str()));
  EXPECT_EQ(mDecoder.DecodeBytes(0, 0, 0), nullptr);
}

TEST(RDDSDecoderLevelSize, HalvesDownToOne) {
  EXPECT_EQ(RDDSDecoder::LevelSize(13, 0), 13);
  EXPECT_EQ(RDDSDecoder::LevelSize(13, 1), 6);
  EXPECT_EQ(RDDSDecoder::LevelSize(13, 3), 1);
  EXPECT_EQ(RDDSDecoder::LevelSize(13, 31), 1);
  EXPECT_EQ(RDDSDecoder::LevelSize(1, 5), 1);
}

// --- The pixel decoder's own guards.

TEST(DdsPixels, DataAndPalettesThatAreTooShortAreRefused) {
  DdsLayout layout;
  layout.reader = kDdsReaderPalette;
  layout.pixelBits = 8;
  layout.paletteEntries = 256;
  const Bytes palette(1024);
  const Bytes data(4);
  Bytes pixels(12, 0xA5);
  EXPECT_TRUE(DdsDecodePixels(layout, palette, data, 2, 2, pixels.data()));
  EXPECT_FALSE(DdsDecodePixels(layout, std::span(palette).first(1023), data, 2, 2, pixels.data()));
  EXPECT_FALSE(DdsDecodePixels(layout, palette, std::span(data).first(3), 2, 2, pixels.data()));
  EXPECT_FALSE(DdsDecodePixels(layout, palette, data, 0, 2, pixels.data()));
  EXPECT_FALSE(DdsDecodePixels(layout, palette, data, 2, -2, pixels.data()));
}

TEST(DdsPixels, SliceBytesRoundRowsUp) {
  DdsLayout layout;
  layout.reader = kDdsReaderPalette;
  layout.pixelBits = 4;
  EXPECT_EQ(DdsSliceBytes(layout, 3, 5), 10);
  layout.reader = kDdsReaderCode;
  layout.code = kDdsCodeRGBG;
  layout.pixelBits = 16;
  EXPECT_EQ(DdsSliceBytes(layout, 3, 2), 16);
  layout.reader = kDdsReaderBlock;
  layout.blocks = kBlockBC7;
  EXPECT_EQ(DdsSliceBytes(layout, 5, 5), 64);
}

}  // namespace
