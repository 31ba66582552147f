// Tests of the conversion between pixel layouts.
#include <GL/gl.h>
#include <GL/glext.h>
#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <tuple>

#include "support/ImageProbe.h"

namespace {

using test::BytesPerPixel;
using test::FormatName;
using test::kAllFormats;
using test::MakeImage;
using test::MakeNoiseImage;
using test::NoisePixels;
using test::Pixels;
using test::PixelsOf;
using test::ProbeImage;
using test::ProbePtr;

using Pair = std::pair<kImageFormat, kImageFormat>;

// What becomes of a pixel: which source byte each destination byte is, F for 255, R G B for expanded RGB555.
const std::map<Pair, std::string> kSupported = {
    {{kImageFormatRGBA, kImageFormatBGRA}, "2103"}, {{kImageFormatRGBA, kImageFormatARGB}, "1230"},
    {{kImageFormatRGBA, kImageFormatABGR}, "3210"}, {{kImageFormatRGBA, kImageFormatRGB}, "012F"},
    {{kImageFormatRGBA, kImageFormatBGR}, "210F"},  {{kImageFormatRGBA, kImageFormatRGB555}, "RGBF"},
    {{kImageFormatBGRA, kImageFormatRGBA}, "2103"}, {{kImageFormatBGRA, kImageFormatBGR}, "012F"},
    {{kImageFormatARGB, kImageFormatABGR}, "0321"}, {{kImageFormatABGR, kImageFormatARGB}, "0321"},
    {{kImageFormatRGB, kImageFormatBGR}, "210"},    {{kImageFormatRGB, kImageFormatRGBA}, "012"},
    {{kImageFormatRGB, kImageFormatRGB555}, "RGB"}, {{kImageFormatBGR, kImageFormatRGB}, "210"},
    {{kImageFormatBGR, kImageFormatBGRA}, "012"},   {{kImageFormatBGR, kImageFormatRGBA}, "210"},
};

unsigned char Resolve(char code, const unsigned char* source) {
  const unsigned word = source[0] + 256U * source[1];
  switch (code) {
    case 'F':
      return 255;
    case 'R':
      return static_cast<unsigned char>(word / 128 & 0xF0);
    case 'G':
      return static_cast<unsigned char>(word / 4 & 0xF8);
    case 'B':
      return static_cast<unsigned char>(word * 8 & 0xFF);
    default:
      return source[code - '0'];
  }
}

Pixels ExpectConverted(const Pixels& source, std::size_t sourceSize, const std::string& codes) {
  Pixels result;
  for (std::size_t i = 0; i < source.size(); i += sourceSize) {
    // Room behind the last pixel, since a word is always read.
    const unsigned char pixel[4] = {source[i], source[i + 1],
                                    sourceSize > 2 ? source[i + 2] : Pixels::value_type{},
                                    sourceSize > 3 ? source[i + 3] : Pixels::value_type{}};
    for (const char code : codes) result.push_back(Resolve(code, pixel));
  }
  return result;
}

// --- All 81 pairs.

class RImageConvertPairTest : public testing::TestWithParam<std::tuple<kImageFormat, kImageFormat>> {
 protected:
  kImageFormat Destination() const { return std::get<0>(GetParam()); }
  kImageFormat Source() const { return std::get<1>(GetParam()); }
  std::size_t SourceSize() const { return static_cast<std::size_t>(BytesPerPixel(Source())); }
  std::size_t DestinationSize() const { return static_cast<std::size_t>(BytesPerPixel(Destination())); }
  bool IsSupported() const { return kSupported.count({Destination(), Source()}) != 0; }
  Pixels Expected(const Pixels& source) const {
    return Destination() == Source()
               ? source
               : ExpectConverted(source, SourceSize(), kSupported.at({Destination(), Source()}));
  }
};

INSTANTIATE_TEST_SUITE_P(, RImageConvertPairTest,
                         testing::Combine(testing::ValuesIn(kAllFormats), testing::ValuesIn(kAllFormats)),
                         [](const auto& testCase) {
                           return FormatName(std::get<0>(testCase.param)) + "From" +
                                  FormatName(std::get<1>(testCase.param));
                         });

TEST_P(RImageConvertPairTest, ConvertsOrRefusesWithoutWriting) {
  constexpr int kWidth = 37;
  constexpr int kHeight = 3;
  Pixels source = NoisePixels(kWidth * kHeight * SourceSize());
  const Pixels before = source;
  Pixels destination(kWidth * kHeight * DestinationSize() + 8, 0x77);
  const bool expected = IsSupported() || Destination() == Source();
  EXPECT_EQ(RImageConvertFormat(destination.data(), Destination(), kWidth, kHeight, source.data(), Source()),
            expected);
  EXPECT_EQ(source, before);
  Pixels wanted = expected ? Expected(source) : Pixels(kWidth * kHeight * DestinationSize(), 0x77);
  wanted.resize(wanted.size() + 8, 0x77);
  EXPECT_EQ(destination, wanted);
}

TEST_P(RImageConvertPairTest, NoPixelsWriteNothingAndAreConverted) {
  unsigned char byte = 0x77;
  const bool expected = IsSupported() || Destination() == Source();
  for (const auto& [width, height] : {std::pair{0, 0}, {0, 7}, {7, 0}, {0, INT_MAX}}) {
    EXPECT_EQ(RImageConvertFormat(&byte, Destination(), width, height, &byte, Source()), expected);
    EXPECT_EQ(RImageConvertFormat(nullptr, Destination(), width, height, nullptr, Source()), expected);
  }
  EXPECT_EQ(byte, 0x77);
}

TEST_P(RImageConvertPairTest, NegativeSizesAreRefused) {
  unsigned char byte = 0x77;
  for (const auto& [width, height] : {std::pair{-1, 1}, {1, -1}, {-1, -1}, {INT_MIN, INT_MIN}, {0, -1}}) {
    EXPECT_FALSE(RImageConvertFormat(&byte, Destination(), width, height, &byte, Source()));
  }
  EXPECT_EQ(byte, 0x77);
}

TEST_P(RImageConvertPairTest, MemberConvertsOrLeavesTheImage) {
  const ProbePtr image = MakeNoiseImage(Source(), 9, 5);
  const Pixels before = PixelsOf(*image);
  const int updates = image->GetUpdateId();
  if (!IsSupported()) {
    EXPECT_FALSE(image->ConvertFormat(Destination()));
    EXPECT_EQ(image->GetFormat(), Source());
    EXPECT_EQ(image->GetUpdateId(), updates);
    EXPECT_EQ(PixelsOf(*image), before);
    return;
  }
  EXPECT_TRUE(image->ConvertFormat(Destination()));
  EXPECT_EQ(image->GetFormat(), Destination());
  EXPECT_EQ(image->GetPixelSize(), BytesPerPixel(Destination()));
  EXPECT_EQ(image->mAllocatedSize, 45 * BytesPerPixel(Destination()));
  EXPECT_EQ(image->mImageSize, image->mAllocatedSize);
  EXPECT_TRUE(image->mOwnsBits);
  EXPECT_EQ(PixelsOf(*image), Expected(before));
  EXPECT_EQ(image->GetUpdateId(), updates + 2) << "one for the buffer that went, one for the change";
}

// --- Known bytes.

TEST(RImageConvertTest, RedAndBlueChangePlaces) {
  Pixels source = {10, 20, 30, 40};
  Pixels destination(4);
  EXPECT_TRUE(
      RImageConvertFormat(destination.data(), kImageFormatRGBA, 1, 1, source.data(), kImageFormatBGRA));
  EXPECT_EQ(destination, (Pixels{30, 20, 10, 40}));
  EXPECT_TRUE(
      RImageConvertFormat(destination.data(), kImageFormatBGRA, 1, 1, source.data(), kImageFormatRGBA));
  EXPECT_EQ(destination, (Pixels{30, 20, 10, 40}));
}

TEST(RImageConvertTest, Rgb555RedKeepsOnlyFourBits) {
  Pixels white = {0xFF, 0x7F};
  Pixels rgb(3);
  EXPECT_TRUE(RImageConvertFormat(rgb.data(), kImageFormatRGB, 1, 1, white.data(), kImageFormatRGB555));
  EXPECT_EQ(rgb, (Pixels{0xF0, 0xF8, 0xF8}));
}

TEST(RImageConvertTest, EveryRgb555WordIsExpanded) {
  Pixels words;
  Pixels expected;
  for (unsigned word = 0; word < 65536; ++word) {
    words.push_back(static_cast<unsigned char>(word % 256));
    words.push_back(static_cast<unsigned char>(word / 256));
    // Bit 15 means nothing; the lowest bit of red is lost.
    expected.push_back(static_cast<unsigned char>((word >> 11 & 0xF) << 4));
    expected.push_back(static_cast<unsigned char>((word >> 5 & 0x1F) << 3));
    expected.push_back(static_cast<unsigned char>((word & 0x1F) << 3));
    expected.push_back(255);
  }
  Pixels rgba(4 * 65536);
  EXPECT_TRUE(RImageConvertFormat(rgba.data(), kImageFormatRGBA, 256, 256, words.data(), kImageFormatRGB555));
  EXPECT_EQ(rgba, expected);
}

TEST(RImageConvertTest, DroppingAlphaDoesNotComposite) {
  Pixels source = {200, 100, 50, 0};
  Pixels rgb(3);
  EXPECT_TRUE(RImageConvertFormat(rgb.data(), kImageFormatRGB, 1, 1, source.data(), kImageFormatRGBA));
  EXPECT_EQ(rgb, (Pixels{200, 100, 50}));
}

TEST(RImageConvertTest, FormatsOutsideTheRangeAreRefused) {
  Pixels pixels = NoisePixels(16);
  const Pixels before = pixels;
  for (const int value : {-1, 9, INT_MAX, INT_MIN}) {
    const auto format = static_cast<kImageFormat>(value);
    EXPECT_FALSE(RImageConvertFormat(pixels.data(), format, 2, 2, pixels.data(), format));
    EXPECT_FALSE(RImageConvertFormat(pixels.data(), kImageFormatRGBA, 2, 2, pixels.data(), format));
    EXPECT_FALSE(RImageConvertFormat(pixels.data(), format, 2, 2, pixels.data(), kImageFormatRGBA));
    EXPECT_FALSE(MakeImage(kImageFormatRGBA, 2, 2)->ConvertFormat(format));
  }
  EXPECT_EQ(pixels, before);
}

TEST(RImageConvertTest, MissingBuffersAreRefused) {
  Pixels pixels = NoisePixels(16);
  EXPECT_FALSE(RImageConvertFormat(nullptr, kImageFormatRGBA, 2, 2, pixels.data(), kImageFormatBGRA));
  EXPECT_FALSE(RImageConvertFormat(pixels.data(), kImageFormatRGBA, 2, 2, nullptr, kImageFormatRGBA));
}

TEST(RImageConvertTest, PixelsOfOneSizeConvertInPlace) {
  for (const auto& [pair, codes] : kSupported) {
    if (BytesPerPixel(pair.first) != BytesPerPixel(pair.second)) continue;
    Pixels pixels = NoisePixels(33 * codes.size());
    const Pixels expected = ExpectConverted(pixels, codes.size(), codes);
    EXPECT_TRUE(RImageConvertFormat(pixels.data(), pair.first, 33, 1, pixels.data(), pair.second));
    EXPECT_EQ(pixels, expected);
  }
}

TEST(RImageConvertTest, OddSizesWriteExactlyTheirBytes) {
  for (const auto& [pair, codes] : kSupported) {
    const auto sourceSize = static_cast<std::size_t>(BytesPerPixel(pair.second));
    for (int width = 1; width <= 70; ++width) {
      Pixels source =
          NoisePixels(static_cast<std::size_t>(width) * sourceSize, static_cast<std::uint32_t>(width));
      Pixels destination(static_cast<std::size_t>(width) * codes.size() + 40, 0x33);
      ASSERT_TRUE(RImageConvertFormat(destination.data(), pair.first, width, 1, source.data(), pair.second));
      Pixels expected = ExpectConverted(source, sourceSize, codes);
      expected.resize(expected.size() + 40, 0x33);
      ASSERT_EQ(destination, expected)
          << FormatName(pair.first) << " from " << FormatName(pair.second) << ' ' << width;
    }
  }
}

// --- Properties of chains of conversions.

struct RoundTrip {
  const char* name;
  std::vector<kImageFormat> formats;
};

class RImageConvertRoundTripTest : public testing::TestWithParam<RoundTrip> {};

const RoundTrip kRoundTrips[] = {
    {"RGBAOverBGRA", {kImageFormatRGBA, kImageFormatBGRA, kImageFormatRGBA}},
    {"BGRAOverRGBA", {kImageFormatBGRA, kImageFormatRGBA, kImageFormatBGRA}},
    {"ARGBOverABGR", {kImageFormatARGB, kImageFormatABGR, kImageFormatARGB}},
    {"RGBOverBGR", {kImageFormatRGB, kImageFormatBGR, kImageFormatRGB}},
    {"RGBOverRGBA", {kImageFormatRGB, kImageFormatRGBA, kImageFormatRGB}},
    {"BGROverRGBA", {kImageFormatBGR, kImageFormatRGBA, kImageFormatBGR}},
    {"BGROverBGRA", {kImageFormatBGR, kImageFormatBGRA, kImageFormatBGR}},
    {"RGBOverBGRAndBGRA",
     {kImageFormatRGB, kImageFormatBGR, kImageFormatBGRA, kImageFormatRGBA, kImageFormatBGR,
      kImageFormatRGB}},
};

INSTANTIATE_TEST_SUITE_P(, RImageConvertRoundTripTest, testing::ValuesIn(kRoundTrips),
                         [](const auto& testCase) { return testCase.param.name; });

TEST_P(RImageConvertRoundTripTest, GivesThePixelsBack) {
  const ProbePtr image = MakeNoiseImage(GetParam().formats.front(), 61, 7);
  const Pixels before = PixelsOf(*image);
  for (std::size_t i = 1; i < GetParam().formats.size(); ++i) {
    ASSERT_TRUE(image->ConvertFormat(GetParam().formats[i])) << i;
  }
  EXPECT_EQ(PixelsOf(*image), before);
}

TEST(RImageConvertTest, BothWaysFromARGBToRGBAGiveTheSame) {
  const ProbePtr direct = MakeNoiseImage(kImageFormatARGB, 31, 3);
  const ProbePtr around = MakeNoiseImage(kImageFormatARGB, 31, 3);
  ASSERT_TRUE(direct->ConvertFormat(kImageFormatRGBA));
  ASSERT_TRUE(around->ConvertFormat(kImageFormatABGR));
  ASSERT_TRUE(around->ConvertFormat(kImageFormatRGBA));
  EXPECT_EQ(PixelsOf(*direct), PixelsOf(*around));
}

// --- The member.

TEST(RImageConvertTest, MemberRefusesMoreThanOneLayer) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 4, 4);
  image->SetDepth(2);
  const int updates = image->GetUpdateId();
  EXPECT_FALSE(image->ConvertFormat(kImageFormatBGRA));
  EXPECT_EQ(image->GetUpdateId(), updates);
  EXPECT_EQ(image->GetFormat(), kImageFormatRGBA);
}

TEST(RImageConvertTest, MemberOfNoLayersConvertsNothing) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 4, 4);
  image->SetDepth(0);
  EXPECT_TRUE(image->ConvertFormat(kImageFormatRGB));
  EXPECT_EQ(image->mAllocatedSize, 0);
}

TEST(RImageConvertTest, MemberRefusesAnImageWithoutStorage) {
  const ProbePtr image(new ProbeImage);
  image->SetFormat(kImageFormatRGBA);
  EXPECT_FALSE(image->ConvertFormat(kImageFormatBGRA));
}

TEST(RImageConvertTest, MemberMakesStorageAfterClear) {
  const ProbePtr image = MakeImage(kImageFormatRGBA, 2, 2);
  image->Clear();
  EXPECT_TRUE(image->ConvertFormat(kImageFormatBGR));
  EXPECT_EQ(image->mAllocatedSize, 12);
}

TEST(RImageConvertTest, MemberRefusesAResultAboveTheLimit) {
  // 800 million pixels are 1.6 GB as RGB555 and 3.2 GB as RGBA.
  const ProbePtr image = MakeImage(kImageFormatRGB555, 1, 1);
  image->mWidth = 40000;
  image->mHeight = 20000;
  image->mAllocatedSize = INT_MAX;  // as if the buffer held them; nothing may be read
  EXPECT_FALSE(image->ConvertFormat(kImageFormatRGBA));
  EXPECT_EQ(image->mAllocatedSize, INT_MAX);
  image->mAllocatedSize = 2;
}

TEST(RImageConvertTest, MemberLeavesCopiesTheirPixels) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 4, 4);
  const Pixels before = PixelsOf(*image);
  ProbeImage copy(*image);
  EXPECT_TRUE(image->ConvertFormat(kImageFormatBGRA));
  EXPECT_EQ(PixelsOf(copy), before);
}

// --- OpenGL's numbers.

TEST(RImageConvertTest, FormatsMapToOpenGL) {
  EXPECT_EQ(RImage::ImageFormatToGLFormat(kImageFormatUndefined), -1);
  EXPECT_EQ(RImage::ImageFormatToGLFormat(kImageFormatEmpty), -1);
  EXPECT_EQ(RImage::ImageFormatToGLFormat(kImageFormatRGBA), 0x1908);
  EXPECT_EQ(RImage::ImageFormatToGLFormat(kImageFormatRGB), 0x1907);
  EXPECT_EQ(RImage::ImageFormatToGLFormat(kImageFormatBGRA), 0x80E1);
  EXPECT_EQ(RImage::ImageFormatToGLFormat(kImageFormatBGR), 0x80E0);
  EXPECT_EQ(RImage::ImageFormatToGLFormat(kImageFormatABGR), 0x8000);
  EXPECT_EQ(RImage::ImageFormatToGLFormat(static_cast<kImageFormat>(-1)), -1);
  EXPECT_EQ(RImage::ImageFormatToGLFormat(static_cast<kImageFormat>(9)), -1);
}

TEST(RImageConvertTest, Rgb555AndArgbMapToFormatsOfAnotherByteLayout) {
  EXPECT_EQ(RImage::ImageFormatToGLFormat(kImageFormatRGB555), GL_RGB);
  EXPECT_EQ(RImage::ImageFormatToGLFormat(kImageFormatARGB), GL_RGBA);
  EXPECT_EQ(RImage::GLFormatToImageFormat(GL_RGB), kImageFormatRGB);
  EXPECT_EQ(RImage::GLFormatToImageFormat(GL_RGBA), kImageFormatRGBA);
}

TEST(RImageConvertTest, OpenGLFormatsMapBack) {
  const std::map<int, kImageFormat> known = {{0x1907, kImageFormatRGB},
                                             {0x1908, kImageFormatRGBA},
                                             {0x8000, kImageFormatABGR},
                                             {0x80E0, kImageFormatBGR},
                                             {0x80E1, kImageFormatBGRA}};
  for (int value = -1; value <= 0xFFFF; ++value) {
    const auto row = known.find(value);
    ASSERT_EQ(RImage::GLFormatToImageFormat(value), row == known.end() ? kImageFormatUndefined : row->second)
        << value;
  }
  EXPECT_EQ(RImage::GLFormatToImageFormat(GL_LUMINANCE), kImageFormatUndefined);
}

// --- Byte order.

TEST(RImageConvertTest, InvertReversesBytesAtAnyAddress) {
  unsigned char bytes[] = {1, 2, 3, 4, 5, 6, 7};
  Invert2(bytes + 1);
  EXPECT_EQ(Pixels(bytes, bytes + 7), (Pixels{1, 3, 2, 4, 5, 6, 7}));
  Invert4(bytes + 3);
  EXPECT_EQ(Pixels(bytes, bytes + 7), (Pixels{1, 3, 2, 7, 6, 5, 4}));
  Invert4(bytes + 3);
  Invert2(bytes + 1);
  EXPECT_EQ(Pixels(bytes, bytes + 7), (Pixels{1, 2, 3, 4, 5, 6, 7}));
}

}  // namespace
