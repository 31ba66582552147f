#include "dds/TddsReader.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <set>

#include "dds/BlockReference.h"
#include "support/BitWriter.h"
#include "support/DdsBuilder.h"
#include "support/TestData.h"

namespace {

using test::DdsBuilder;
using Bytes = std::vector<unsigned char>;
using Numbers = std::vector<float>;

constexpr std::uint32_t kAlphaPixels = 0x1;
constexpr std::uint32_t kAlpha = 0x2;
constexpr std::uint32_t kFourCC = 0x4;
constexpr std::uint32_t kRgb = 0x40;
constexpr std::uint32_t kRgba = 0x41;
constexpr std::uint32_t kLuminance = 0x20000;

Bytes FloatBytes(const Numbers& numbers) {
  Bytes bytes(numbers.size() * sizeof(float));
  if (!bytes.empty()) std::memcpy(bytes.data(), numbers.data(), bytes.size());
  return bytes;
}

Bytes Repeated(const Bytes& bytes, int count) {
  Bytes all;
  for (int i = 0; i < count; ++i) all.insert(all.end(), bytes.begin(), bytes.end());
  return all;
}

class TddsReaderTest : public testing::Test {
 protected:
  int Read(const Bytes& file) { return mReader.read(mFolder.Write("a.dds", file).c_str()); }
  int Read(const DdsBuilder& builder) { return Read(builder.File()); }

  Bytes Pixels() const {
    const auto row = static_cast<std::size_t>(mReader.GetWidth() * mReader.GetChannels() *
                                              mReader.GetBitsPerChannel() / 8);
    Bytes pixels;
    for (int y = 0; y < mReader.GetHeight(); ++y)
      pixels.insert(pixels.end(), mReader.GetRow(y), mReader.GetRow(y) + row);
    return pixels;
  }
  Numbers Floats() const {
    const Bytes bytes = Pixels();
    Numbers numbers(bytes.size() / sizeof(float));
    std::memcpy(numbers.data(), bytes.data(), bytes.size());
    return numbers;
  }

  /// Expects a picture of 8-bit channels.
  void ExpectBytes(const DdsBuilder& file, int channels, const Bytes& pixels) {
    ASSERT_EQ(Read(file), 0);
    EXPECT_FALSE(mReader.IsPlaceholder());
    EXPECT_EQ(mReader.GetChannels(), channels);
    EXPECT_EQ(mReader.GetBitsPerChannel(), 8);
    EXPECT_FALSE(mReader.IsFloat());
    EXPECT_EQ(Pixels(), pixels);
  }
  void ExpectFloats(const DdsBuilder& file, int channels, const Numbers& numbers) {
    ASSERT_EQ(Read(file), 0);
    EXPECT_FALSE(mReader.IsPlaceholder());
    EXPECT_EQ(mReader.GetChannels(), channels);
    EXPECT_EQ(mReader.GetBitsPerChannel(), 32);
    EXPECT_TRUE(mReader.IsFloat());
    EXPECT_EQ(Floats(), numbers);
  }
  void ExpectPlaceholder(const DdsBuilder& file) {
    ASSERT_EQ(Read(file), 0);
    ExpectPlaceholder();
  }
  void ExpectPlaceholder() const {
    EXPECT_TRUE(mReader.IsPlaceholder());
    EXPECT_EQ(mReader.GetWidth(), 64);
    EXPECT_EQ(mReader.GetHeight(), 64);
    EXPECT_EQ(mReader.GetDepth(), 1);
    EXPECT_EQ(mReader.GetChannels(), 4);
    EXPECT_EQ(mReader.GetBitsPerChannel(), 8);
    EXPECT_FALSE(mReader.IsFloat());
    EXPECT_EQ(Pixels(), Repeated({255, 0, 0, 0}, 64 * 64));
  }

  test::TemporaryFolder mFolder;
  TddsReader mReader;
};

// --- The extension header's formats. Every pixel of a 4 x 4 picture is the same; blocks are one block.

struct DxgiCase {
  std::uint32_t format;
  const char* name;
  Bytes pixel;  // in the file; or a block
  int channels;
  Bytes bytes;     // decoded, of integer formats
  Numbers floats;  // decoded, of float formats
};

void PrintTo(const DxgiCase& row, std::ostream* out) { *out << row.name; }

// Half floats: 0x3C00 is 1, 0xC000 is -2, 0x3800 is 0.5, 0x4200 is 3.
const Bytes kHalves = {0x00, 0x3C, 0x00, 0xC0, 0x00, 0x38, 0x00, 0x42};
// Blocks whose pixels are all alike. BC1: red; BC2, BC3: red, alpha 0x22 and 0x80.
const Bytes kBc1 = {0x00, 0xF8, 0, 0, 0, 0, 0, 0};
const Bytes kBc2 = {0x22, 0x22, 0x22, 0x22, 0x22, 0x22, 0x22, 0x22, 0x00, 0xF8, 0, 0, 0, 0, 0, 0};
const Bytes kBc3 = {0x80, 0, 0, 0, 0, 0, 0, 0, 0x00, 0xF8, 0, 0, 0, 0, 0, 0};
const Bytes kBc4 = {0x40, 0, 0, 0, 0, 0, 0, 0};
const Bytes kBc5 = {0x40, 0, 0, 0, 0, 0, 0, 0, 0x20, 0, 0, 0, 0, 0, 0, 0};

Bytes BlockOf(const test::BitWriter& block) { return {block.Bytes().begin(), block.Bytes().end()}; }

// BC6H of one subset: both endpoints 0x201 in 10 bits: 513 becomes 32864 unsigned, -511 signed.
const Bytes kBc6h = BlockOf(test::BitWriter().Put(3, 5).Put(0x201, 10).Put(0x201, 10).Put(0x201, 10));
// BC7 of mode 6: the first endpoint is 0x7F, 0x00, 0x40, 0x20 with a 1 below each.
const Bytes kBc7 =
    BlockOf(test::BitWriter().Put(0x40, 7).Put(0x7F, 14).Put(0, 14).Put(0x40, 14).Put(0x20, 14).Put(1, 1));

std::vector<DxgiCase> DxgiCases() {
  const Bytes four = {10, 20, 30, 40};
  const Bytes words = {0x00, 0x12, 0xFF, 0x34, 0x80, 0x56, 0x00, 0xFF};
  // Ten bits: red 1023, green 512, blue 1, alpha 2 of 3.
  const std::uint32_t ten = 1023U | 512U << 10 | 1U << 20 | 2U << 30;
  const Bytes tens = {static_cast<unsigned char>(ten), static_cast<unsigned char>(ten >> 8),
                      static_cast<unsigned char>(ten >> 16), static_cast<unsigned char>(ten >> 24)};
  const Bytes tenBytes = {255, 128, 0, 170};
  return {
      {2, "R32G32B32A32_FLOAT", FloatBytes({1, -2, 1e30F, 0.25F}), 4, {}, {1, -2, 1e30F, 0.25F}},
      {6, "R32G32B32_FLOAT", FloatBytes({1, -2, 1e-30F}), 3, {}, {1, -2, 1e-30F}},
      {10, "R16G16B16A16_FLOAT", kHalves, 4, {}, {1, -2, 0.5F, 3}},
      {11, "R16G16B16A16_UNORM", words, 4, {0x12, 0x34, 0x56, 0xFF}, {}},
      {13, "R16G16B16A16_SNORM", {0, 0x7F, 0, 0x80, 0, 0x81, 0, 0}, 4, {255, 0, 0, 128}, {}},
      {16, "R32G32_FLOAT", FloatBytes({7, -8}), 2, {}, {7, -8}},
      {23, "R10G10B10A2_TYPELESS", tens, 4, tenBytes, {}},
      {24, "R10G10B10A2_UNORM", tens, 4, tenBytes, {}},
      {25, "R10G10B10A2_UINT", tens, 4, tenBytes, {}},
      // Exponent 15 and no fraction is 1; half the fraction is 1.5.
      {26, "R11G11B10_FLOAT", {0xC0, 0x03, 0x1F, 0x78}, 3, {}, {1, 1.5F, 1}},
      {27, "R8G8B8A8_TYPELESS", four, 4, four, {}},
      {28, "R8G8B8A8_UNORM", four, 4, four, {}},
      {29, "R8G8B8A8_UNORM_SRGB", four, 4, four, {}},
      {30, "R8G8B8A8_UINT", four, 4, four, {}},
      {31, "R8G8B8A8_SNORM", {0x7F, 0x81, 0x80, 0}, 4, {255, 0, 0, 128}, {}},
      {32, "R8G8B8A8_SINT", four, 4, four, {}},
      {33, "R16G16_TYPELESS", {0, 1, 0, 2}, 2, {1, 2}, {}},
      {34, "R16G16_FLOAT", {0, 0x3C, 0, 0xC0}, 2, {}, {1, -2}},
      {35, "R16G16_UNORM", {0, 1, 0, 2}, 2, {1, 2}, {}},
      {36, "R16G16_UINT", {0, 1, 0, 2}, 2, {1, 2}, {}},
      {37, "R16G16_SNORM", {0, 0x7F, 0, 0x81}, 2, {255, 0}, {}},
      {38, "R16G16_SINT", {0, 1, 0, 2}, 2, {1, 2}, {}},
      {41, "R32_FLOAT", FloatBytes({-0.5F}), 1, {}, {-0.5F}},
      {48, "R8G8_TYPELESS", {3, 4}, 2, {3, 4}, {}},
      {49, "R8G8_UNORM", {3, 4}, 2, {3, 4}, {}},
      {50, "R8G8_UINT", {3, 4}, 2, {3, 4}, {}},
      {51, "R8G8_SNORM", {0x7F, 0x80}, 2, {255, 0}, {}},
      {52, "R8G8_SINT", {3, 4}, 2, {3, 4}, {}},
      {54, "R16_FLOAT", {0, 0x3C}, 1, {}, {1}},
      {56, "R16_UNORM", {9, 5}, 1, {5}, {}},
      {57, "R16_UINT", {9, 5}, 1, {5}, {}},
      {58, "R16_SNORM", {0, 0x7F}, 1, {255}, {}},
      {59, "R16_SINT", {9, 5}, 1, {5}, {}},
      {60, "R8_TYPELESS", {6}, 1, {6}, {}},
      {61, "R8_UNORM", {6}, 1, {6}, {}},
      {62, "R8_UINT", {6}, 1, {6}, {}},
      {63, "R8_SNORM", {0x81}, 1, {0}, {}},
      {64, "R8_SINT", {6}, 1, {6}, {}},
      {65, "A8_UNORM", {77}, 4, {0, 0, 0, 77}, {}},
      // Exponent 16: fractions of 256 count 1. Red 256, green 128, blue 1.
      {67, "R9G9B9E5_SHAREDEXP", {0x00, 0x01, 0x05, 0x80}, 3, {}, {1, 0.5F, 1.0F / 256}},
      {68, "R8G8_B8G8_UNORM", {1, 2}, 3, {1, 2, 1}, {}},
      {69, "G8R8_G8B8_UNORM", {1, 2}, 3, {2, 1, 2}, {}},
      {70, "BC1_TYPELESS", kBc1, 4, {255, 0, 0, 255}, {}},
      {71, "BC1_UNORM", kBc1, 4, {255, 0, 0, 255}, {}},
      {72, "BC1_UNORM_SRGB", kBc1, 4, {255, 0, 0, 255}, {}},
      {73, "BC2_TYPELESS", kBc2, 4, {255, 0, 0, 34}, {}},
      {74, "BC2_UNORM", kBc2, 4, {255, 0, 0, 34}, {}},
      {75, "BC2_UNORM_SRGB", kBc2, 4, {255, 0, 0, 34}, {}},
      {76, "BC3_TYPELESS", kBc3, 4, {255, 0, 0, 128}, {}},
      {77, "BC3_UNORM", kBc3, 4, {255, 0, 0, 128}, {}},
      {78, "BC3_UNORM_SRGB", kBc3, 4, {255, 0, 0, 128}, {}},
      {79, "BC4_TYPELESS", kBc4, 4, {64, 0, 0, 255}, {}},
      {80, "BC4_UNORM", kBc4, 4, {64, 0, 0, 255}, {}},
      {81, "BC4_SNORM", kBc4, 4, {129, 0, 0, 255}, {}},
      {82, "BC5_TYPELESS", kBc5, 4, {64, 32, 0, 255}, {}},
      {83, "BC5_UNORM", kBc5, 4, {64, 32, 0, 255}, {}},
      {84, "BC5_SNORM", kBc5, 4, {129, 64, 0, 255}, {}},
      {87, "B8G8R8A8_UNORM", four, 4, {30, 20, 10, 40}, {}},
      {88, "B8G8R8X8_UNORM", four, 4, {30, 20, 10, 40}, {}},
      {90, "B8G8R8A8_TYPELESS", four, 4, {30, 20, 10, 40}, {}},
      {91, "B8G8R8A8_UNORM_SRGB", four, 4, {30, 20, 10, 40}, {}},
      {92, "B8G8R8X8_TYPELESS", four, 4, {30, 20, 10, 40}, {}},
      {93, "B8G8R8X8_UNORM_SRGB", four, 4, {30, 20, 10, 40}, {}},
      // 32864 x 31 / 64 = 0x3E2E; -0x7FFF x 31 / 32 is the lowest half, -65504.
      {94, "BC6H_TYPELESS", kBc6h, 4, {}, {1 + 558.0F / 1024, 1 + 558.0F / 1024, 1 + 558.0F / 1024, 1}},
      {95, "BC6H_UF16", kBc6h, 4, {}, {1 + 558.0F / 1024, 1 + 558.0F / 1024, 1 + 558.0F / 1024, 1}},
      {96, "BC6H_SF16", kBc6h, 4, {}, {-65504, -65504, -65504, 1}},
      {97, "BC7_TYPELESS", kBc7, 4, {255, 1, 129, 65}, {}},
      {98, "BC7_UNORM", kBc7, 4, {255, 1, 129, 65}, {}},
      {99, "BC7_UNORM_SRGB", kBc7, 4, {255, 1, 129, 65}, {}},
  };
}

bool IsBlockFormat(std::uint32_t format) { return (format >= 70 && format <= 84) || format >= 94; }

class DxgiTest : public TddsReaderTest, public testing::WithParamInterface<DxgiCase> {};

TEST_P(DxgiTest, Decodes) {
  const DxgiCase& row = GetParam();
  const Bytes data = IsBlockFormat(row.format) ? row.pixel : Repeated(row.pixel, 16);
  const DdsBuilder file = DdsBuilder(4, 4).Dxgi(row.format).Data(data);
  if (row.floats.empty()) {
    ExpectBytes(file, row.channels, Repeated(row.bytes, 16));
  } else {
    Numbers numbers;
    for (int i = 0; i < 16; ++i) numbers.insert(numbers.end(), row.floats.begin(), row.floats.end());
    ExpectFloats(file, row.channels, numbers);
  }
  EXPECT_EQ(mReader.GetWidth(), 4);
  EXPECT_EQ(mReader.GetHeight(), 4);
  EXPECT_EQ(mReader.GetDepth(), 1);
  EXPECT_STREQ(mReader.GetLayout().name, row.name);
  EXPECT_EQ(mReader.GetExtension().dxgiFormat, row.format);
}

TEST_P(DxgiTest, OneByteLessIsThePlaceholder) {
  const DxgiCase& row = GetParam();
  Bytes data = IsBlockFormat(row.format) ? row.pixel : Repeated(row.pixel, 16);
  data.pop_back();
  ExpectPlaceholder(DdsBuilder(4, 4).Dxgi(row.format).Data(data));
}

TEST_P(DxgiTest, FourChannelsAreNotedInTheHeader) {
  const DxgiCase& row = GetParam();
  const Bytes data = IsBlockFormat(row.format) ? row.pixel : Repeated(row.pixel, 16);
  ASSERT_EQ(Read(DdsBuilder(4, 4).Dxgi(row.format).Data(data)), 0);
  EXPECT_EQ((mReader.GetHeader().pixelFormat.flags & kAlphaPixels) != 0, row.channels == 4);
}

INSTANTIATE_TEST_SUITE_P(Formats, DxgiTest, testing::ValuesIn(DxgiCases()),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(TddsReaderTest, EveryOtherDxgiFormatIsThePlaceholder) {
  std::set<std::uint32_t> known;
  for (const DxgiCase& row : DxgiCases()) known.insert(row.format);
  EXPECT_EQ(known.size(), 69U);
  for (std::uint32_t format = 0; format < 140; ++format) {
    if (known.contains(format)) continue;
    SCOPED_TRACE(format);
    ExpectPlaceholder(DdsBuilder(4, 4).Dxgi(format).RandomData(1000));
  }
  ExpectPlaceholder(DdsBuilder(4, 4).Dxgi(0xFFFFFFFF).RandomData(1000));
}

TEST_F(TddsReaderTest, DxgiFormatsOneAndOneHundredLeaveThePlaceholder) {
  ExpectPlaceholder(DdsBuilder(4, 4).Dxgi(1).RandomData(1000));
  ExpectPlaceholder(DdsBuilder(4, 4).Dxgi(100).RandomData(1000));
}

TEST_F(TddsReaderTest, Bc3WithPremultipliedAlphaIsDxt4) {
  for (const std::uint32_t format : {76U, 77U, 78U}) {
    ExpectBytes(DdsBuilder(4, 4).Dxgi(format, 2).Data(kBc3), 4, Repeated({255, 0, 0, 128}, 16));
    EXPECT_EQ(mReader.GetLayout().code, kDdsCodeDXT4);
    // Only the low three bits say it.
    ASSERT_EQ(Read(DdsBuilder(4, 4).Dxgi(format, 0x1A).Data(kBc3)), 0);
    EXPECT_EQ(mReader.GetLayout().code, kDdsCodeDXT4);
    for (const std::uint32_t other : {0U, 1U, 3U, 4U, 6U}) {
      ASSERT_EQ(Read(DdsBuilder(4, 4).Dxgi(format, other).Data(kBc3)), 0);
      EXPECT_EQ(mReader.GetLayout().code, kDdsCodeDXT5) << other;
    }
  }
  ASSERT_EQ(Read(DdsBuilder(4, 4).Dxgi(74, 2).Data(kBc2)), 0);
  EXPECT_EQ(mReader.GetLayout().code, kDdsCodeDXT3);
}

TEST_F(TddsReaderTest, AnExtensionHeaderThatIsCutShortIsThePlaceholder) {
  Bytes file = DdsBuilder(1, 1).Dxgi(61).File();
  file.pop_back();
  ASSERT_EQ(Read(file), 0);
  ExpectPlaceholder();
}

// --- The order of the decisions.

TEST_F(TddsReaderTest, FloatCodesComeFirst) {
  // Even with bit fields, a palette flag or no flag at all.
  for (const std::uint32_t flags : {0U, kRgb, kRgba, 0x20U, kLuminance, kFourCC}) {
    ExpectFloats(DdsBuilder(1, 1)
                     .Masks(flags, 32, 0xFF, 0xFF00, 0, 0)
                     .Set(DdsBuilder::kFourCC, 114)
                     .Data(FloatBytes({5})),
                 1, {5});
  }
}

TEST_F(TddsReaderTest, BitFieldsComeBeforeCodes) {
  for (const std::uint32_t flags : {kRgb | kFourCC, kAlpha | kFourCC, kRgb | 0x20, kRgb | kLuminance}) {
    ASSERT_EQ(Read(DdsBuilder(1, 1)
                       .Masks(flags, 32, 0xFF, 0xFF00, 0xFF0000, 0xFF000000)
                       .Set(DdsBuilder::kFourCC, kDdsCodeDX10)
                       .RandomData(100)),
              0);
    EXPECT_EQ(mReader.GetLayout().reader, kDdsReaderMasked);
    EXPECT_FALSE(mReader.IsPlaceholder());
  }
}

TEST_F(TddsReaderTest, TheExtensionComesBeforeTheSizeFlagAndPalettes) {
  ExpectBytes(DdsBuilder(1, 1).Dxgi(61).Set(DdsBuilder::kPixelFlags, kFourCC | 0x20).LinearSize(1).Data({9}),
              1, {9});
}

TEST_F(TddsReaderTest, TheExtensionNeedsTheCodeFlag) {
  // Without it the code is that of an unknown block layout.
  ExpectPlaceholder(DdsBuilder(1, 1).Dxgi(61).Set(DdsBuilder::kPixelFlags, 0).Data({9}));
}

TEST_F(TddsReaderTest, TheSizeFlagMakesEveryCodeABlockLayout) {
  ExpectBytes(DdsBuilder(4, 4).Code("DXT1").LinearSize(8).Data(kBc1), 4, Repeated({255, 0, 0, 255}, 16));
  ExpectPlaceholder(DdsBuilder(1, 1).Code(136).LinearSize(1).Data({9}));
  ExpectPlaceholder(DdsBuilder(1, 1).Code(34).LinearSize(4).RandomData(100));
}

TEST_F(TddsReaderTest, PalettesComeBeforeCodesWithoutASize) {
  Bytes palette(1024);
  palette[4 * 3] = 11;
  ExpectBytes(DdsBuilder(1, 1).Code(136).Set(DdsBuilder::kPixelFlags, kFourCC | 0x20).Data(palette).Data({3}),
              3, {11, 0, 0});
}

TEST_F(TddsReaderTest, ACodeWithoutASizeIsNoBlockLayout) {
  ExpectPlaceholder(DdsBuilder(4, 4).Code("DXT1").Data(kBc1));
  ExpectPlaceholder(DdsBuilder(4, 4).Code("DXT2").Data(kBc2));
}

TEST_F(TddsReaderTest, ACodeWithoutItsFlagIsABlockLayout) {
  ExpectBytes(DdsBuilder(4, 4).Set(DdsBuilder::kFourCC, kDdsCodeDXT1).Data(kBc1), 4,
              Repeated({255, 0, 0, 255}, 16));
  ExpectPlaceholder(DdsBuilder(4, 4).Data(kBc1));
}

TEST_F(TddsReaderTest, LuminanceComesLast) {
  // With the flag a code without its own flag is not looked at.
  ExpectBytes(
      DdsBuilder(1, 1).Masks(kLuminance, 8, 0, 0, 0, 0).Set(DdsBuilder::kFourCC, kDdsCodeDXT1).Data({7}), 1,
      {7});
}

// --- Codes.

struct CodeCase {
  const char* name;
  std::uint32_t code;
  Bytes pixel;
  int channels;
  Bytes bytes;
  Numbers floats;
};

void PrintTo(const CodeCase& row, std::ostream* out) { *out << row.name; }

class CodeTest : public TddsReaderTest, public testing::WithParamInterface<CodeCase> {};

TEST_P(CodeTest, Decodes) {
  const CodeCase& row = GetParam();
  const DdsBuilder file = DdsBuilder(1, 1).Code(row.code).Data(row.pixel);
  if (row.floats.empty())
    ExpectBytes(file, row.channels, row.bytes);
  else
    ExpectFloats(file, row.channels, row.floats);
}

TEST_P(CodeTest, OneByteLessIsThePlaceholder) {
  Bytes data = GetParam().pixel;
  data.pop_back();
  ExpectPlaceholder(DdsBuilder(1, 1).Code(GetParam().code).Data(data));
}

INSTANTIATE_TEST_SUITE_P(
    Codes, CodeTest,
    testing::Values(CodeCase{"G16R16", 34, {0x34, 0x12, 0x78, 0x56}, 2, {0x12, 0x56}, {}},
                    CodeCase{"A16B16G16R16", 36, {0xFF, 1, 0xFF, 2, 0xFF, 3, 0xFF, 4}, 4, {1, 2, 3, 4}, {}},
                    CodeCase{"R16F", 111, {0, 0x3C}, 1, {}, {1}},
                    CodeCase{"G16R16F", 112, {0, 0x3C, 0, 0xC0}, 2, {}, {1, -2}},
                    CodeCase{"A16B16G16R16F", 113, kHalves, 4, {}, {1, -2, 0.5F, 3}},
                    CodeCase{"R32F", 114, FloatBytes({2.5F}), 1, {}, {2.5F}},
                    CodeCase{"G32R32F", 115, FloatBytes({2.5F, -9}), 2, {}, {2.5F, -9}},
                    CodeCase{"A32B32G32R32F", 116, FloatBytes({1, 2, 3, 4}), 4, {}, {1, 2, 3, 4}},
                    CodeCase{"L16", 134, {0xFF, 0x7F}, 1, {0x7F}, {}},
                    CodeCase{"L8A8", 135, {8, 9}, 2, {8, 9}, {}}, CodeCase{"L8", 136, {8}, 1, {8}, {}},
                    CodeCase{"RGBG", kDdsCodeRGBG, {1, 2, 3, 4}, 3, {1, 2, 3}, {}},
                    CodeCase{"GRGB", kDdsCodeGRGB, {1, 2, 3, 4}, 3, {2, 1, 4}, {}}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(TddsReaderTest, OtherCodesAreThePlaceholder) {
  for (const std::uint32_t code : {1U, 33U, 35U, 110U, 117U, 133U, 137U, 1116U, 0xFFFFFFFFU})
    ExpectPlaceholder(DdsBuilder(1, 1).Code(code).RandomData(100));
}

TEST_F(TddsReaderTest, PackedPairsShareRedAndBlue) {
  // Three pixels a row: the second pair is cut in half.
  const Bytes rows = {1, 2, 3, 4, 5, 6, 7, 8, 11, 12, 13, 14, 15, 16, 17, 18};
  ExpectBytes(DdsBuilder(3, 2).Dxgi(68).Data(rows), 3,
              {1, 2, 3, 1, 4, 3, 5, 6, 7, 11, 12, 13, 11, 14, 13, 15, 16, 17});
  ExpectBytes(DdsBuilder(3, 2).Dxgi(69).Data(rows), 3,
              {2, 1, 4, 2, 3, 4, 6, 5, 8, 12, 11, 14, 12, 13, 14, 16, 15, 18});
}

// --- Luminance.

TEST_F(TddsReaderTest, LuminanceLayouts) {
  const auto file = [](std::uint32_t flags, std::uint32_t bits) {
    return DdsBuilder(1, 1).Masks(flags, bits, 0xFFFF, 0, 0, 0).Data({8, 9});
  };
  ExpectBytes(file(kLuminance, 16), 1, {9});
  ExpectBytes(file(kLuminance, 8), 1, {8});
  ExpectBytes(file(kLuminance, 32), 1, {8});
  ExpectBytes(file(kLuminance | kAlphaPixels, 16), 2, {8, 9});
  ExpectBytes(file(kLuminance | kAlphaPixels, 8), 2, {8, 9});
  EXPECT_TRUE(mReader.GetLayout().isLuminance);
}

// --- Bit fields.

struct MaskCase {
  const char* name;
  std::uint32_t flags, bits;
  std::array<std::uint32_t, 4> masks;
  Bytes pixel;
  Bytes decoded;
};

void PrintTo(const MaskCase& row, std::ostream* out) { *out << row.name; }

class MaskTest : public TddsReaderTest, public testing::WithParamInterface<MaskCase> {};

TEST_P(MaskTest, Decodes) {
  const MaskCase& row = GetParam();
  const DdsBuilder file =
      DdsBuilder(1, 1)
          .Masks(row.flags, row.bits, row.masks[0], row.masks[1], row.masks[2], row.masks[3])
          .Data(row.pixel);
  ExpectBytes(file, static_cast<int>(row.decoded.size()), row.decoded);
}

INSTANTIATE_TEST_SUITE_P(
    Fields, MaskTest,
    testing::Values(
        MaskCase{"R5G6B5", kRgb, 16, {0xF800, 0x7E0, 0x1F, 0}, {0x1F, 0x84}, {132, 130, 255}},
        MaskCase{"A1R5G5B5", kRgba, 16, {0x7C00, 0x3E0, 0x1F, 0x8000}, {0x10, 0xC2}, {132, 132, 132, 255}},
        MaskCase{"A4R4G4B4", kRgba, 16, {0xF00, 0xF0, 0xF, 0xF000}, {0x34, 0x12}, {34, 51, 68, 17}},
        MaskCase{"R3G3B2", kRgb, 8, {0xE0, 0x1C, 3, 0}, {0x71}, {109, 146, 85}},
        MaskCase{"A8R3G3B2", kRgba, 16, {0xE0, 0x1C, 3, 0xFF00}, {0x71, 9}, {109, 146, 85, 9}},
        MaskCase{"TwentyFourBits", kRgba, 24, {0xFF0000, 0xFF00, 0xFF, 0}, {1, 2, 3}, {3, 2, 1, 255}},
        MaskCase{"Sixteen", kRgb, 32, {0xFFFF, 0xFFFF0000, 0, 0}, {0xFF, 0x12, 0xFF, 0x34}, {0x12, 0x34, 0}},
        MaskCase{"TenBits",
                 kRgba,
                 32,
                 {0x3FF00000, 0xFFC00, 0x3FF, 0xC0000000},
                 {1, 0, 0xF8, 0x7F},
                 {255, 128, 0, 85}},
        MaskCase{"AllBits", kRgb, 32, {0xFFFFFFFF, 0, 0, 0}, {1, 2, 3, 0xAB}, {0xAB, 0, 0}},
        MaskCase{"TwentyBits", kRgb, 32, {0xFFFFF000, 0, 0, 0}, {0, 0, 0, 0xCD}, {0xCD, 0, 0}},
        MaskCase{"OneBit", kRgba, 8, {1, 2, 4, 8}, {0x0A}, {0, 255, 0, 255}},
        MaskCase{"ScatteredBits", kRgb, 8, {0x81, 0x10, 0x20, 0}, {0x80}, {128, 0, 0}},
        MaskCase{"AlphaAlone", kAlpha, 16, {0, 0, 0, 0xFF00}, {1, 200}, {0, 0, 0, 200}},
        MaskCase{"AlphaWithoutMask", kRgba, 16, {0xFF, 0, 0, 0}, {5, 6}, {5, 0, 0, 255}},
        MaskCase{"MasksBeyondThePixel", kRgba, 8, {0xFF, 0xFF00, 0xFF0000, 0xFF000000}, {5}, {5, 0, 0, 0}}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(TddsReaderTest, BitCountsOtherThanWholeBytesAreThePlaceholder) {
  for (const std::uint32_t bits : {0U, 1U, 7U, 9U, 15U, 33U, 40U, 64U, 0xFFFFFFFFU})
    ExpectPlaceholder(DdsBuilder(1, 1).Masks(kRgb, bits, 0xFF, 0xFF00, 0xFF0000, 0).RandomData(100));
}

TEST_F(TddsReaderTest, NoMasksAtAllAreThePlaceholder) {
  ExpectPlaceholder(DdsBuilder(1, 1).Masks(kRgb, 16, 0, 0, 0, 0).RandomData(100));
}

// --- Palettes.

Bytes NumberedPalette(int entries) {
  Bytes palette;
  for (int i = 0; i < entries; ++i) {
    for (int c = 0; c < 4; ++c) palette.push_back(static_cast<unsigned char>(10 * i + c));
  }
  return palette;
}

TEST_F(TddsReaderTest, PaletteOf256Colours) {
  const auto file = [](std::uint32_t flags) {
    return DdsBuilder(3, 1).Masks(flags, 24, 0, 0, 0, 0).Data(NumberedPalette(256)).Data({0, 2, 1});
  };
  ExpectBytes(file(0x20), 3, {0, 1, 2, 20, 21, 22, 10, 11, 12});
  ExpectBytes(file(0x20 | kAlphaPixels), 4, {0, 1, 2, 3, 20, 21, 22, 23, 10, 11, 12, 13});
  ExpectBytes(file(0x10), 3, {0, 1, 2, 20, 21, 22, 10, 11, 12});
}

TEST_F(TddsReaderTest, PaletteOf16ColoursHasTwoPixelsAByte) {
  // The left pixel is in the low half; rows start at a byte.
  ExpectBytes(
      DdsBuilder(3, 2).Masks(0x8, 24, 0, 0, 0, 0).Data(NumberedPalette(16)).Data({0x21, 0xF0, 0x43, 0xF1}), 3,
      {10, 11, 12, 20, 21, 22, 0, 1, 2, 30, 31, 32, 40, 41, 42, 10, 11, 12});
}

TEST_F(TddsReaderTest, APaletteOrIndicesThatAreCutShortAreThePlaceholder) {
  Bytes palette = NumberedPalette(256);
  ExpectPlaceholder(DdsBuilder(2, 1).Masks(0x20, 24, 0, 0, 0, 0).Data(palette).Data({1}));
  palette.pop_back();
  ExpectPlaceholder(DdsBuilder(2, 1).Masks(0x20, 24, 0, 0, 0, 0).Data(palette));
}

// --- Floats.

float DecodeHalf(unsigned bits) {
  const test::TemporaryFolder folder;
  TddsReader reader;
  const DdsBuilder file = DdsBuilder(1, 1).Code(111).Data(
      {static_cast<unsigned char>(bits), static_cast<unsigned char>(bits >> 8)});
  EXPECT_EQ(reader.read(folder.Write("h.dds", file.File()).c_str()), 0);
  float value = 0;
  std::memcpy(&value, reader.GetRow(0), sizeof value);
  return value;
}

TEST_F(TddsReaderTest, EveryHalfFloatIsExact) {
  Bytes data;
  for (unsigned bits = 0; bits < 0x10000; ++bits) {
    data.push_back(static_cast<unsigned char>(bits));
    data.push_back(static_cast<unsigned char>(bits >> 8));
  }
  ASSERT_EQ(Read(DdsBuilder(256, 256).Code(111).Data(data)), 0);
  const Numbers numbers = Floats();
  for (unsigned bits = 0; bits < 0x10000; ++bits) {
    const int exponent = static_cast<int>(bits >> 10 & 31);
    const auto fraction = static_cast<double>(bits & 1023);
    const double sign = bits & 0x8000 ? -1 : 1;
    if (exponent == 31 && fraction > 0) {
      ASSERT_TRUE(std::isnan(numbers[bits])) << bits;
      continue;
    }
    double expected = exponent == 0 ? std::ldexp(fraction, -24) : std::ldexp(1024 + fraction, exponent - 25);
    if (exponent == 31) expected = std::numeric_limits<double>::infinity();
    ASSERT_EQ(numbers[bits], static_cast<float>(sign * expected)) << bits;
  }
}

TEST_F(TddsReaderTest, HalfFloatsByName) {
  EXPECT_EQ(DecodeHalf(0x3C00), 1);
  EXPECT_EQ(DecodeHalf(0x0001), 0x1p-24F);
  EXPECT_EQ(DecodeHalf(0x0400), 0x1p-14F);  // the smallest normal one
  EXPECT_EQ(DecodeHalf(0x7BFF), 65504);
  EXPECT_EQ(DecodeHalf(0xFC00), -std::numeric_limits<float>::infinity());
  EXPECT_TRUE(std::signbit(DecodeHalf(0x8000)));
}

TEST_F(TddsReaderTest, PackedFloatsHaveTheRangesOfTheirFields) {
  const auto file = [](std::uint32_t word) {
    return DdsBuilder(1, 1).Dxgi(26).Data(
        {static_cast<unsigned char>(word), static_cast<unsigned char>(word >> 8),
         static_cast<unsigned char>(word >> 16), static_cast<unsigned char>(word >> 24)});
  };
  // Largest numbers: exponent 30, all of the fraction; 65024 and 64512.
  ExpectFloats(file(0x7BFU | 0x7BFU << 11 | 0x3DFU << 22), 3, {65024, 65024, 64512});
  // Smallest: 2^-14 / 64 and / 32.
  ExpectFloats(file(1U | 1U << 11 | 1U << 22), 3, {0x1p-20F, 0x1p-20F, 0x1p-19F});
  const float infinity = std::numeric_limits<float>::infinity();
  ExpectFloats(file(0x7C0U | 0x7C0U << 11 | 0x3E0U << 22), 3, {infinity, infinity, infinity});
}

TEST_F(TddsReaderTest, SharedExponentsScaleAllThree) {
  const auto file = [](std::uint32_t word) {
    return DdsBuilder(1, 1).Dxgi(67).Data(
        {static_cast<unsigned char>(word), static_cast<unsigned char>(word >> 8),
         static_cast<unsigned char>(word >> 16), static_cast<unsigned char>(word >> 24)});
  };
  // 511 x 2^(31 - 24) is 65408, the largest; 1 x 2^-24 the smallest.
  ExpectFloats(file(511U | 511U << 9 | 511U << 18 | 31U << 27), 3, {65408, 65408, 65408});
  ExpectFloats(file(1U | 0U << 9 | 2U << 18), 3, {0x1p-24F, 0, 0x1p-23F});
}

// --- Signed numbers.

TEST_F(TddsReaderTest, SignedBytesSpanAllLevels) {
  Bytes data;
  for (int i = 0; i < 256; ++i) data.push_back(static_cast<unsigned char>(i));
  ASSERT_EQ(Read(DdsBuilder(256, 1).Dxgi(63).Data(data)), 0);
  for (int i = 0; i < 256; ++i) {
    const double value = std::max(i < 128 ? i : i - 256, -127) / 127.0;
    EXPECT_EQ(mReader.GetRow(0)[i], static_cast<int>(std::floor((value + 1) / 2 * 255 + 0.5))) << i;
  }
}

TEST_F(TddsReaderTest, SignedBlocksAreNotConvertedAgain) {
  ExpectBytes(DdsBuilder(4, 4).Dxgi(81).Data({0xC0, 0, 0, 0, 0, 0, 0, 0}), 4, Repeated({0, 0, 0, 255}, 16));
}

// --- Blocks and their sizes.

struct BlockCase {
  const char* code;
  kBlockFormat format;
};

void PrintTo(const BlockCase& row, std::ostream* out) { *out << row.code; }

class BlockCodeTest : public TddsReaderTest, public testing::WithParamInterface<BlockCase> {
 protected:
  DdsBuilder File(std::uint32_t width, std::uint32_t height, std::uint32_t size) const {
    std::uint32_t code = 0;
    std::memcpy(&code, GetParam().code, 4);
    DdsBuilder builder(width, height);
    return builder.Code(code).LinearSize(size);
  }
};

TEST_P(BlockCodeTest, DecodesToFourChannels) {
  const Bytes blocks =
      test::RandomBytes(6 * static_cast<std::size_t>(RSizeOf(GetParam().format).blockBytes), 61);
  ExpectBytes(File(12, 8, 0).Data(blocks), 4, test::ReferencePicture(GetParam().format, blocks, 12, 8));
  EXPECT_TRUE(mReader.GetHeader().pixelFormat.flags & kAlphaPixels);
}

INSTANTIATE_TEST_SUITE_P(Codes, BlockCodeTest,
                         testing::Values(BlockCase{"DXT1", kBlockBC1}, BlockCase{"DXT2", kBlockBC2},
                                         BlockCase{"DXT3", kBlockBC2}, BlockCase{"DXT4", kBlockBC3},
                                         BlockCase{"DXT5", kBlockBC3}, BlockCase{"BC4U", kBlockBC4},
                                         BlockCase{"BC4S", kBlockBC4Signed}, BlockCase{"BC5U", kBlockBC5},
                                         BlockCase{"ATI2", kBlockBC5}, BlockCase{"BC5S", kBlockBC5Signed}),
                         [](const auto& test) { return std::string(test.param.code); });

TEST_F(TddsReaderTest, OwnBlockCodesOfFloatsAndModes) {
  ASSERT_EQ(Read(DdsBuilder(4, 4).Code("DXT6").LinearSize(16).Data(kBc6h)), 0);
  EXPECT_TRUE(mReader.IsFloat());
  EXPECT_EQ(mReader.GetBitsPerChannel(), 32);
  EXPECT_EQ(mReader.GetChannels(), 4);
  EXPECT_EQ(Floats()[0], 1 + 558.0F / 1024);
  ExpectBytes(DdsBuilder(4, 4).Code("DXT7").LinearSize(16).Data(kBc7), 4, Repeated({255, 1, 129, 65}, 16));
}

TEST_F(TddsReaderTest, OtherBlockCodesAreThePlaceholder) {
  for (const char* code : {"ATI1", "DXT0", "DXT8", "BC6H", "BC7 ", "dxt1"}) {
    std::uint32_t number = 0;
    std::memcpy(&number, code, 4);
    ExpectPlaceholder(DdsBuilder(4, 4).Code(number).LinearSize(16).RandomData(64));
  }
}

TEST_F(TddsReaderTest, ASizeFieldBelowThePixelsStillReadsThemAll) {
  const Bytes blocks = test::RandomBytes(4 * 8, 62);
  // 8 x 8 pixels of DXT1 take 32 bytes.
  for (const std::uint32_t size : {0U, 8U, 31U, 32U})
    ExpectBytes(DdsBuilder(8, 8).Code("DXT1").LinearSize(size).Data(blocks), 4,
                test::ReferencePicture(kBlockBC1, blocks, 8, 8));
  Bytes cut = blocks;
  cut.pop_back();
  ExpectPlaceholder(DdsBuilder(8, 8).Code("DXT1").LinearSize(0).Data(cut));
}

TEST_F(TddsReaderTest, ASizeFieldAboveThePixelsMustBeThere) {
  const Bytes blocks = test::RandomBytes(8, 63);
  DdsBuilder file(4, 4);
  file.Code("DXT1").Data(blocks).RandomData(92);
  ExpectBytes(file.LinearSize(100), 4, test::ReferencePicture(kBlockBC1, blocks, 4, 4));
  ExpectPlaceholder(file.LinearSize(101));
  ExpectPlaceholder(file.LinearSize(0xFFFFFFFF));
}

TEST_F(TddsReaderTest, FivePixelsSquareReadTheirFourBlocksAsFarAsTheyGo) {
  // The stated size is 5 x 5 x 16 / 16 = 25 bytes of the 64 that the blocks take.
  const Bytes blocks = test::RandomBytes(64, 64);
  ExpectBytes(DdsBuilder(5, 5).Code("DXT3").LinearSize(20).Data(blocks), 4,
              test::ReferencePicture(kBlockBC2, blocks, 5, 5));
  Bytes cut(blocks.begin(), blocks.begin() + 25);
  Bytes padded = cut;
  padded.resize(64);
  ExpectBytes(DdsBuilder(5, 5).Code("DXT3").LinearSize(20).Data(cut), 4,
              test::ReferencePicture(kBlockBC2, padded, 5, 5));
  cut.pop_back();
  ExpectPlaceholder(DdsBuilder(5, 5).Code("DXT3").LinearSize(20).Data(cut));
}

// --- Files that cannot be read.

TEST_F(TddsReaderTest, ShorterThanAHeaderFailsWithoutPlaceholder) {
  const Bytes file = DdsBuilder(1, 1).Dxgi(61).File();
  for (const std::ptrdiff_t size : {0, 1, 4, 127}) {
    EXPECT_EQ(Read(Bytes(file.begin(), file.begin() + size)), -1);
    EXPECT_FALSE(mReader.IsPlaceholder());
    EXPECT_EQ(mReader.GetWidth(), 0);
    EXPECT_EQ(mReader.GetRow(0), nullptr);
    EXPECT_EQ(mReader.GetPixels(), nullptr);
  }
  EXPECT_EQ(Read(Bytes(file.begin(), file.begin() + 128)), 0);
}

TEST_F(TddsReaderTest, FilesThatCannotBeOpenedFail) {
  EXPECT_EQ(mReader.read(mFolder.Path("none").c_str()), -1);
  EXPECT_EQ(mReader.read(mFolder.Path("").c_str()), -1);
  EXPECT_EQ(mReader.read(nullptr), -1);
}

TEST_F(TddsReaderTest, TheMagicCharactersAreNotChecked) {
  ExpectBytes(DdsBuilder(1, 1).Dxgi(61).Set(0, 0).Data({9}), 1, {9});
}

TEST_F(TddsReaderTest, SizesBeyondTheFileAreThePlaceholder) {
  const auto file = [](std::uint32_t width, std::uint32_t height, std::uint32_t format) {
    return DdsBuilder(width, height).Dxgi(format).RandomData(64);
  };
  for (const std::uint32_t format : {2U, 28U, 61U, 67U, 68U, 71U, 95U, 98U}) {
    ExpectPlaceholder(file(0, 4, format));
    ExpectPlaceholder(file(4, 0, format));
    ExpectPlaceholder(file(65000, 65000, format));
    ExpectPlaceholder(file(0xFFFFFFFF, 1, format));
    ExpectPlaceholder(file(1, 0xFFFFFFFF, format));
    ExpectPlaceholder(file(0x80000000, 0x80000000, format));
    ExpectPlaceholder(file(0x7FFFFFFF, 0x7FFFFFFF, format));
  }
}

TEST_F(TddsReaderTest, MipMapCountsAndFacesDoNotMatter) {
  ExpectBytes(DdsBuilder(1, 1).Dxgi(61).Mipmaps(0xFFFFFFFF).Cubemap().Volume(0xFFFFFFFF).Data({9}), 1, {9});
}

// --- State.

TEST_F(TddsReaderTest, ReadingAgainReplacesEverything) {
  ExpectFloats(DdsBuilder(1, 1).Code(114).Data(FloatBytes({1})), 1, {1});
  ExpectPlaceholder(DdsBuilder(1, 1).Code("ABCD"));
  ExpectBytes(DdsBuilder(2, 1).Dxgi(61).Data({1, 2}), 1, {1, 2});
  EXPECT_EQ(Read(Bytes{}), -1);
  EXPECT_EQ(mReader.GetWidth(), 0);
}

TEST_F(TddsReaderTest, RowsAreTopFirstAndNullOutside) {
  ASSERT_EQ(Read(DdsBuilder(2, 2).Dxgi(61).Data({1, 2, 3, 4})), 0);
  EXPECT_EQ(mReader.GetRow(0)[0], 1);
  EXPECT_EQ(mReader.GetRow(1)[1], 4);
  EXPECT_EQ(mReader.GetRow(-1), nullptr);
  EXPECT_EQ(mReader.GetRow(2), nullptr);
}

TEST_F(TddsReaderTest, ChannelRowsFollowOneAnother) {
  ASSERT_EQ(Read(DdsBuilder(3, 2).Dxgi(49).Data({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12})), 0);
  const unsigned char* const* channels = mReader.GetChannelRows(1);
  ASSERT_NE(channels, nullptr);
  EXPECT_EQ(channels[1], channels[0] + 3);
  EXPECT_EQ(Bytes(channels[0], channels[0] + 3), (Bytes{7, 9, 11}));
  EXPECT_EQ(Bytes(channels[1], channels[1] + 3), (Bytes{8, 10, 12}));
  EXPECT_EQ(mReader.GetChannelRows(2), nullptr);
}

TEST_F(TddsReaderTest, ChannelRowsOfFloatsAreFourTimesAsLong) {
  ASSERT_EQ(Read(DdsBuilder(2, 1).Code(115).Data(FloatBytes({1, 2, 3, 4}))), 0);
  const unsigned char* const* channels = mReader.GetChannelRows(0);
  EXPECT_EQ(channels[1], channels[0] + 8);
  float value = 0;
  std::memcpy(&value, channels[1] + 4, sizeof value);
  EXPECT_EQ(value, 4);
}

TEST_F(TddsReaderTest, ThePlaceholderHasChannelRowsToo) {
  ExpectPlaceholder(DdsBuilder(1, 1).Code("ABCD"));
  const unsigned char* const* channels = mReader.GetChannelRows(63);
  ASSERT_NE(channels, nullptr);
  EXPECT_EQ(Bytes(channels[0], channels[0] + 64), Bytes(64, 255));
  EXPECT_EQ(Bytes(channels[3], channels[3] + 64), Bytes(64, 0));
}

// --- Other slices.

TEST_F(TddsReaderTest, ReadSliceDecodesBehindTheLargestLevel) {
  const std::string path = mFolder.Write("s.dds", DdsBuilder(2, 1).Dxgi(49).Data({1, 2, 3, 4, 5, 6}).File());
  ASSERT_EQ(mReader.read(path.c_str()), 0);
  const RPixelBuffer pixels = mReader.ReadSlice(path.c_str(), 4, 1, 1);
  ASSERT_NE(pixels, nullptr);
  EXPECT_EQ(Bytes(pixels.get(), pixels.get() + 2), (Bytes{5, 6}));
  EXPECT_EQ(mReader.ReadSlice(path.c_str(), 5, 1, 1), nullptr);
  EXPECT_EQ(mReader.ReadSlice(path.c_str(), -1, 1, 1), nullptr);
  EXPECT_EQ(mReader.ReadSlice(path.c_str(), 0, 0, 1), nullptr);
  EXPECT_EQ(mReader.ReadSlice(path.c_str(), 0, 1, -1), nullptr);
  EXPECT_EQ(mReader.ReadSlice(nullptr, 0, 1, 1), nullptr);
  EXPECT_EQ(mReader.ReadSlice(mFolder.Path("none").c_str(), 0, 1, 1), nullptr);
}

TEST_F(TddsReaderTest, ReadSliceKeepsThePalette) {
  const std::string path = mFolder.Write(
      "p.dds", DdsBuilder(1, 1).Masks(0x20, 24, 0, 0, 0, 0).Data(NumberedPalette(256)).Data({1, 2}).File());
  ASSERT_EQ(mReader.read(path.c_str()), 0);
  const RPixelBuffer pixels = mReader.ReadSlice(path.c_str(), 1, 1, 1);
  ASSERT_NE(pixels, nullptr);
  EXPECT_EQ(Bytes(pixels.get(), pixels.get() + 3), (Bytes{20, 21, 22}));
}

}  // namespace
