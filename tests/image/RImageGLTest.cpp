// Tests of the OpenGL incarnation of the image record.
#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <cstring>

#include "image/RDestroyPtr.h"
#include "image/RImage.h"
#include "support/GLTest.h"

namespace {

using test::GLErrorCapture;
using test::GLPixels;
using test::GLRecorder;
using test::LiveGLObjects;
using test::Noise;

using Bytes = std::vector<unsigned char>;

// The record with its protected parts open.
class ProbeImage : public RImage {
 public:
  using RImage::mAllocatedSize;
  using RImage::mIncarnationUpdateId;
  using RImage::mOwnsTexture;
  using RImage::mTextureId;
  using RImage::ValidateGLAllocation;
};

using ImagePtr = RDestroyPtr<ProbeImage>;

ImagePtr MakeImage(kImageFormat format, int width, int height,
                   RImage::kIncarnationType incarnation = RImage::kIncarnationRaw) {
  ImagePtr image(new ProbeImage);
  EXPECT_TRUE(image->Init(format, width, height, 0, 0, true, kImageTypeFrame, kInterleaveNone,
                          kInterpolationNone, incarnation));
  return image;
}

int BytesPerPixel(kImageFormat format) {
  constexpr int kSizes[] = {4, 0, 4, 3, 4, 3, 2, 4, 4};
  return kSizes[format];
}

Bytes FillWithNoise(RImage& image, std::uint32_t seed = 1) {
  const int size = image.GetWidth() * image.GetHeight() * BytesPerPixel(image.GetFormat());
  Bytes pixels = Noise(static_cast<std::size_t>(size), seed);
  EXPECT_TRUE(image.SetImageBits(pixels.data()));
  return pixels;
}

// The lower left corner of rows that are `stride` pixels long.
Bytes Corner(const unsigned char* pixels, int stride, int width, int height, int pixelSize) {
  Bytes corner;
  for (int row = 0; row < height; ++row) {
    const unsigned char* from = pixels + static_cast<std::ptrdiff_t>(row) * stride * pixelSize;
    corner.insert(corner.end(), from, from + static_cast<std::ptrdiff_t>(width) * pixelSize);
  }
  return corner;
}

int Integer(GLenum name) {
  GLint value = 0;
  glGetIntegerv(name, &value);
  return value;
}

GLuint MakeForeignTexture(int width, int height, unsigned char fill) {
  const Bytes pixels(static_cast<std::size_t>(width * height * 4), fill);
  return test::MakeTexture(width, height, GL_RGBA, pixels.data());
}

class RImageGLTest : public test::GLTest {};

// --- The formats.

struct FormatCase {
  const char* name;
  kImageFormat format;
  int glFormat;
  const char* glName;
  int components;
};

constexpr FormatCase kFormats[] = {
    {"RGBA", kImageFormatRGBA, GL_RGBA, "GL_RGBA", 4},   {"RGB", kImageFormatRGB, GL_RGB, "GL_RGB", 3},
    {"BGRA", kImageFormatBGRA, GL_BGRA, "GL_BGRA", 4},   {"BGR", kImageFormatBGR, GL_BGR, "GL_BGR", 3},
    {"RGB555", kImageFormatRGB555, GL_RGB, "GL_RGB", 3}, {"ABGR", kImageFormatABGR, 0x8000, "GL_ABGR_EXT", 4},
    {"ARGB", kImageFormatARGB, GL_RGBA, "GL_RGBA", 4},
};

TEST(RImageGLFormat, FormatsMapToOpenGL) {
  for (const FormatCase& row : kFormats)
    EXPECT_EQ(RImage::ImageFormatToGLFormat(row.format), row.glFormat) << row.name;
  EXPECT_EQ(RImage::ImageFormatToGLFormat(kImageFormatUndefined), -1);
  EXPECT_EQ(RImage::ImageFormatToGLFormat(kImageFormatEmpty), -1);
  EXPECT_EQ(RImage::ImageFormatToGLFormat(static_cast<kImageFormat>(9)), -1);
  EXPECT_EQ(RImage::ImageFormatToGLFormat(static_cast<kImageFormat>(-1)), -1);
}

TEST(RImageGLFormat, OpenGLFormatsMapBackButForTheTwoThatShareOne) {
  EXPECT_EQ(RImage::GLFormatToImageFormat(GL_RGB), kImageFormatRGB);
  EXPECT_EQ(RImage::GLFormatToImageFormat(GL_RGBA), kImageFormatRGBA);
  EXPECT_EQ(RImage::GLFormatToImageFormat(GL_ABGR_EXT), kImageFormatABGR);
  EXPECT_EQ(RImage::GLFormatToImageFormat(GL_BGR), kImageFormatBGR);
  EXPECT_EQ(RImage::GLFormatToImageFormat(GL_BGRA), kImageFormatBGRA);
  EXPECT_EQ(RImage::GLFormatToImageFormat(GL_LUMINANCE), kImageFormatUndefined);
  EXPECT_EQ(RImage::GLFormatToImageFormat(-1), kImageFormatUndefined);
}

class RImageGLFormatTest : public RImageGLTest, public testing::WithParamInterface<FormatCase> {};

TEST_P(RImageGLFormatTest, DefinesTheTextureWithTheFormatsComponents) {
  const FormatCase& format = GetParam();
  const GLRecorder recorder;
  const ImagePtr image = MakeImage(format.format, 5, 3, RImage::kIncarnationGL);
  EXPECT_EQ(recorder.Text({"glTexImage2D"}), "glTexImage2D(GL_TEXTURE_2D, 0, " +
                                                 std::to_string(format.components) + ", 8, 4, 0, " +
                                                 format.glName + ", GL_UNSIGNED_BYTE, null)\n");
}

TEST_P(RImageGLFormatTest, UploadsEveryByteToItsChannel) {
  const FormatCase& format = GetParam();
  if (format.format == kImageFormatRGB555) return;  // its own test below
  const ImagePtr image = MakeImage(format.format, 5, 3);
  const Bytes pixels = FillWithNoise(*image);
  ASSERT_TRUE(image->RequestGLIncarnation(true));
  // Which byte of a pixel holds red, green, blue and alpha. ARGB bytes are taken as they stand.
  const auto order = [&]() -> std::array<int, 4> {
    switch (format.format) {
      case kImageFormatBGRA:
        return {2, 1, 0, 3};
      case kImageFormatBGR:
        return {2, 1, 0, -1};
      case kImageFormatABGR:
        return {3, 2, 1, 0};
      case kImageFormatRGB:
        return {0, 1, 2, -1};
      default:
        return {0, 1, 2, 3};
    }
  }();
  const GLPixels read = test::ReadTexture(image->GetTextureID(), GL_RGBA);
  const int size = BytesPerPixel(format.format);
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 5; ++x) {
      for (int channel = 0; channel < 4; ++channel) {
        const int byte = order[static_cast<std::size_t>(channel)];
        const int expected = byte < 0 ? 255 : pixels[static_cast<std::size_t>((y * 5 + x) * size + byte)];
        EXPECT_EQ(read.bytes[static_cast<std::size_t>((y * 8 + x) * 4 + channel)], expected)
            << x << ", " << y << " channel " << channel;
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, RImageGLFormatTest, testing::ValuesIn(kFormats),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(RImageGLTest, FormatsWithoutPixelsCannotBecomeATexture) {
  for (const kImageFormat format : {kImageFormatUndefined, kImageFormatEmpty}) {
    const ImagePtr image = MakeImage(format, 4, 4);
    const int updates = image->GetUpdateId();
    const GLRecorder recorder;
    EXPECT_FALSE(image->RequestGLIncarnation(true));
    EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationRaw);
    EXPECT_EQ(image->GetTextureID(), 0U);
    EXPECT_EQ(image->GetUpdateId(), updates);
    EXPECT_TRUE(recorder.Calls().empty());
    ImagePtr direct(new ProbeImage);
    EXPECT_FALSE(direct->Init(format, 4, 4, 0, 0, true, kImageTypeFrame, kInterleaveNone, kInterpolationNone,
                              RImage::kIncarnationGL));
  }
}

TEST_F(RImageGLTest, Rgb555IsExpandedOnUploadAndPackedOnReadBack) {
  // Red, green and blue of 0x1F each, alone and together, with and without the unused top bit.
  unsigned char words[] = {0x1F, 0x00, 0xE0, 0x03, 0x00, 0x7C, 0xFF, 0x7F, 0xFF, 0xFF, 0x41, 0x08};
  const ImagePtr image = MakeImage(kImageFormatRGB555, 3, 2);
  ASSERT_TRUE(image->SetImageBits(words));
  ASSERT_TRUE(image->RequestGLIncarnation(true));
  // The converter keeps four of red's five bits.
  const Bytes expected = {0x00, 0x00, 0xF8, 0x00, 0xF8, 0x00, 0xF0, 0x00, 0x00,
                          0xF0, 0xF8, 0xF8, 0xF0, 0xF8, 0xF8, 0x10, 0x10, 0x08};
  const GLPixels read = test::ReadTexture(image->GetTextureID(), GL_RGB);
  EXPECT_EQ(Corner(read.bytes.data(), 4, 3, 2, 3), expected);
  ASSERT_TRUE(image->RequestRawIncarnation(true));
  EXPECT_EQ(image->GetWidth(), 4);
  EXPECT_EQ(image->GetPixelSize(), 2);
  const Bytes packed = {0x1F, 0x00, 0xE0, 0x03, 0x00, 0x78, 0xFF, 0x7B, 0xFF, 0x7B, 0x41, 0x08};
  EXPECT_EQ(Corner(image->GetImageBits(), 4, 3, 2, 2), packed);
}

// --- To the texture.

TEST_F(RImageGLTest, RequestGLMakesDefinesAndFillsATexture) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 300, 200);
  FillWithNoise(*image);
  const int updates = image->GetUpdateId();
  GLRecorder recorder;
  ASSERT_TRUE(image->RequestGLIncarnation(true));
  const std::string name = std::to_string(image->GetTextureID());
  EXPECT_EQ(recorder.Text(),
            "glGenTextures(1, {" + name + "})\n" +                                        //
                "glBindTexture(GL_TEXTURE_2D, " + name + ")\n" +                          //
                "glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, ptr)\n" +   //
                "glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, ptr)\n" +  //
                "glTexImage2D(GL_TEXTURE_2D, 0, 4, 512, 256, 0, GL_RGBA, GL_UNSIGNED_BYTE, null)\n" +
                // The upload validates the texture anew.
                "glIsTexture(" + name + ") = 1\n" +                                       //
                "glBindTexture(GL_TEXTURE_2D, " + name + ")\n" +                          //
                "glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, ptr)\n" +   //
                "glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, ptr)\n" +  //
                "glBindTexture(GL_TEXTURE_2D, " + name + ")\n" +                          //
                "glGetIntegerv(GL_UNPACK_ROW_LENGTH, ptr)\nglPixelStorei(GL_UNPACK_ROW_LENGTH, 0)\n" +
                "glGetIntegerv(GL_UNPACK_SKIP_ROWS, ptr)\nglPixelStorei(GL_UNPACK_SKIP_ROWS, 0)\n" +
                "glGetIntegerv(GL_UNPACK_SKIP_PIXELS, ptr)\nglPixelStorei(GL_UNPACK_SKIP_PIXELS, 0)\n" +
                "glGetIntegerv(GL_UNPACK_ALIGNMENT, ptr)\nglPixelStorei(GL_UNPACK_ALIGNMENT, 1)\n" +
                "glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 300, 200, GL_RGBA, GL_UNSIGNED_BYTE, ptr)\n" +
                "glPixelStorei(GL_UNPACK_ROW_LENGTH, 0)\nglPixelStorei(GL_UNPACK_SKIP_ROWS, 0)\n" +
                "glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0)\nglPixelStorei(GL_UNPACK_ALIGNMENT, 4)\n");
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationGL);
  EXPECT_TRUE(image->mOwnsTexture);
  EXPECT_EQ(image->GetUpdateId(), updates + 1) << "the upload counts one change";
  EXPECT_EQ(image->mIncarnationUpdateId[RImage::kIncarnationGL], updates + 1);
}

TEST_F(RImageGLTest, RequestGLWithoutTransferUploadsNothingAndCountsNothing) {
  const ImagePtr image = MakeImage(kImageFormatRGB, 4, 4);
  const int updates = image->GetUpdateId();
  const GLRecorder recorder;
  ASSERT_TRUE(image->RequestGLIncarnation(false));
  EXPECT_EQ(recorder.Count("glTexImage2D"), 1);
  EXPECT_EQ(recorder.Count("glTexSubImage2D"), 0);
  EXPECT_EQ(image->GetUpdateId(), updates);
  EXPECT_EQ(image->mIncarnationUpdateId[RImage::kIncarnationGL], updates);
}

TEST_F(RImageGLTest, RequestGLWithoutPixelsUploadsNothing) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 4, 4);
  image->Clear();
  const GLRecorder recorder;
  ASSERT_TRUE(image->RequestGLIncarnation(true));
  EXPECT_EQ(recorder.Count("glTexSubImage2D"), 0);
}

TEST_F(RImageGLTest, ASecondRequestDoesNothing) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 4, 4);
  ASSERT_TRUE(image->RequestGLIncarnation(true));
  const int updates = image->GetUpdateId();
  const GLRecorder recorder;
  EXPECT_TRUE(image->RequestGLIncarnation(true));
  EXPECT_TRUE(image->RequestIncarnation(RImage::kIncarnationGL, true));
  EXPECT_TRUE(recorder.Calls().empty());
  EXPECT_EQ(image->GetUpdateId(), updates);
  EXPECT_EQ(image->mIncarnationUpdateId[RImage::kIncarnationGL], updates);
}

TEST_F(RImageGLTest, TheRawBufferIsKept) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 4, 4);
  const Bytes pixels = FillWithNoise(*image);
  const unsigned char* bits = image->GetImageBits();
  ASSERT_TRUE(image->RequestGLIncarnation(true));
  EXPECT_EQ(image->GetImageBits(), bits);
  EXPECT_TRUE(std::equal(pixels.begin(), pixels.end(), bits));
  ASSERT_TRUE(image->RequestRawIncarnation(false));
  EXPECT_EQ(image->GetImageBits(), bits) << "the size fits, so the buffer stays";
}

TEST_F(RImageGLTest, UnknownIncarnationsAreRefused) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 4, 4);
  const GLRecorder recorder;
  EXPECT_FALSE(image->RequestIncarnation(static_cast<RImage::kIncarnationType>(2), true));
  EXPECT_FALSE(image->RequestIncarnation(static_cast<RImage::kIncarnationType>(-1), false));
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationRaw);
  EXPECT_TRUE(recorder.Calls().empty());
}

TEST_F(RImageGLTest, RequestIncarnationReachesBoth) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 4, 4);
  EXPECT_TRUE(image->RequestIncarnation(RImage::kIncarnationRaw, true));
  EXPECT_TRUE(image->RequestIncarnation(RImage::kIncarnationGL, true));
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationGL);
  EXPECT_TRUE(image->RequestIncarnation(RImage::kIncarnationRaw, true));
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationRaw);
}

TEST_F(RImageGLTest, TheHostsUnpackSettingsNeitherCountNorChange) {
  constexpr std::pair<GLenum, GLint> kHost[] = {{GL_UNPACK_ROW_LENGTH, 77},
                                                {GL_UNPACK_SKIP_ROWS, 3},
                                                {GL_UNPACK_SKIP_PIXELS, 5},
                                                {GL_UNPACK_ALIGNMENT, 8}};
  for (const auto& [name, value] : kHost) glPixelStorei(name, value);
  const ImagePtr image = MakeImage(kImageFormatRGB, 10, 7);
  const Bytes pixels = FillWithNoise(*image);
  ASSERT_TRUE(image->RequestGLIncarnation(true));
  for (const auto& [name, value] : kHost) EXPECT_EQ(Integer(name), value);
  const GLPixels read = test::ReadTexture(image->GetTextureID(), GL_RGB);
  EXPECT_EQ(Corner(read.bytes.data(), 16, 10, 7, 3), pixels);
}

// --- The size of the texture.

struct SizeCase {
  int size;
  int power;
};

TEST_F(RImageGLTest, TextureSidesAreTheNextPowersOfTwo) {
  constexpr SizeCase kSizes[] = {{1, 1},       {2, 2},         {3, 4},        {4, 4},
                                 {5, 8},       {255, 256},     {256, 256},    {257, 512},
                                 {1025, 2048}, {16383, 16384}, {16384, 16384}};
  for (const SizeCase& row : kSizes) {
    const ImagePtr wide = MakeImage(kImageFormatRGBA, row.size, 1, RImage::kIncarnationGL);
    EXPECT_EQ(test::TextureLevelParameter(wide->GetTextureID(), GL_TEXTURE_WIDTH), row.power) << row.size;
    EXPECT_EQ(test::TextureLevelParameter(wide->GetTextureID(), GL_TEXTURE_HEIGHT), 1) << row.size;
    const ImagePtr high = MakeImage(kImageFormatRGBA, 1, row.size, RImage::kIncarnationGL);
    EXPECT_EQ(test::TextureLevelParameter(high->GetTextureID(), GL_TEXTURE_HEIGHT), row.power) << row.size;
  }
}

TEST_F(RImageGLTest, ALevelOfEnoughSizeIsKept) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 300, 200, RImage::kIncarnationGL);
  const GLuint texture = image->GetTextureID();
  const GLRecorder recorder;
  ASSERT_TRUE(image->Init(kImageFormatRGBA, 100, 60, 0, 0, false, kImageTypeFrame, kInterleaveNone,
                          kInterpolationNone, RImage::kIncarnationGL));
  EXPECT_EQ(recorder.Count("glTexImage2D"), 0);
  EXPECT_EQ(image->GetTextureID(), texture);
  EXPECT_EQ(test::TextureLevelParameter(texture, GL_TEXTURE_WIDTH), 512);
}

TEST_F(RImageGLTest, ALevelTooSmallInOneDirectionIsDefinedAnew) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 300, 200, RImage::kIncarnationGL);
  const GLuint texture = image->GetTextureID();
  image->SetHeight(257);
  EXPECT_EQ(image->GetTextureID(), texture);
  EXPECT_EQ(test::TextureLevelParameter(texture, GL_TEXTURE_WIDTH), 512);
  EXPECT_EQ(test::TextureLevelParameter(texture, GL_TEXTURE_HEIGHT), 512);
}

TEST_F(RImageGLTest, AnEmptyImageDefinesNoLevel) {
  const GLRecorder recorder;
  const ImagePtr image = MakeImage(kImageFormatRGBA, 0, 0, RImage::kIncarnationGL);
  EXPECT_NE(image->GetTextureID(), 0U);
  EXPECT_EQ(recorder.Count("glTexImage2D"), 0)
      << "2^31 is negative as a signed size, so any level is large enough";
}

TEST_F(RImageGLTest, PixelsBeyondTheDriversLimitAreLeftOut) {
  const int limit = Integer(GL_MAX_TEXTURE_SIZE);
  const ImagePtr image = MakeImage(kImageFormatRGB, limit + 1, 1);
  const GLErrorCapture errors;
  EXPECT_TRUE(image->RequestGLIncarnation(true)) << "errors of OpenGL are not looked at";
  EXPECT_FALSE(errors.Messages().empty());
  EXPECT_TRUE(image->RequestRawIncarnation(true));
  EXPECT_EQ(image->GetWidth(), 2 * limit);
  while (glGetError() != GL_NO_ERROR) {
  }
}

TEST_F(RImageGLTest, ValidationCanMakeATextureOfAnotherName) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 5, 5, RImage::kIncarnationGL);
  const GLuint own = image->GetTextureID();
  GLuint other = 0;
  ASSERT_TRUE(image->ValidateGLAllocation(&other));
  EXPECT_NE(other, 0U);
  EXPECT_NE(other, own);
  EXPECT_EQ(image->GetTextureID(), own);
  EXPECT_EQ(Integer(GL_TEXTURE_BINDING_2D), static_cast<int>(other));
  EXPECT_EQ(test::TextureLevelParameter(other, GL_TEXTURE_WIDTH), 8);
  image->Clear();
  EXPECT_TRUE(glIsTexture(other)) << "it belongs to the caller";
  glDeleteTextures(1, &other);
}

TEST_F(RImageGLTest, ANameThatIsNoTextureIsReplaced) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 5, 5, RImage::kIncarnationGL);
  GLuint lost = image->GetTextureID();
  glDeleteTextures(1, &lost);
  ASSERT_TRUE(image->ValidateGLAllocation(nullptr));
  EXPECT_TRUE(glIsTexture(image->GetTextureID()));
  EXPECT_TRUE(image->mOwnsTexture);
}

// --- Back to memory.

TEST_F(RImageGLTest, RequestRawReadsTheWholeTexture) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 300, 200);
  const Bytes pixels = FillWithNoise(*image);
  ASSERT_TRUE(image->RequestGLIncarnation(true));
  const int updates = image->GetUpdateId();
  const std::string name = std::to_string(image->GetTextureID());
  GLRecorder recorder;
  ASSERT_TRUE(image->RequestRawIncarnation(true));
  EXPECT_EQ(recorder.Text(),
            "glIsTexture(" + name + ") = 1\n" +                   //
                "glBindTexture(GL_TEXTURE_2D, " + name + ")\n" +  //
                "glPixelStorei(GL_PACK_ROW_LENGTH, 512)\n" +      //
                "glPixelStorei(GL_PACK_SKIP_ROWS, 0)\n" +         //
                "glPixelStorei(GL_PACK_SKIP_PIXELS, 0)\n" +       //
                "glGetIntegerv(GL_PACK_ALIGNMENT, ptr)\nglPixelStorei(GL_PACK_ALIGNMENT, 1)\n" +
                "glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, ptr)\n" +   //
                "glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, ptr)\n" +  //
                "glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, ptr)\n" +     //
                "glPixelStorei(GL_PACK_ALIGNMENT, 4)\n");
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationRaw);
  EXPECT_EQ(image->GetWidth(), 512);
  EXPECT_EQ(image->GetHeight(), 256);
  EXPECT_EQ(image->mAllocatedSize, 512 * 256 * 4);
  EXPECT_EQ(Corner(image->GetImageBits(), 512, 300, 200, 4), pixels);
  EXPECT_TRUE(glIsTexture(image->GetTextureID())) << "the texture is kept";
  EXPECT_TRUE(image->mOwnsTexture);
  // The larger buffer replaced the smaller one, which counts as one change.
  EXPECT_EQ(image->GetUpdateId(), updates + 1);
  EXPECT_EQ(image->mIncarnationUpdateId[RImage::kIncarnationRaw], updates + 1);
}

TEST_F(RImageGLTest, DeliberatePackSettingsStayAsTheyAreSet) {
  glPixelStorei(GL_PACK_ROW_LENGTH, 77);
  glPixelStorei(GL_PACK_SKIP_ROWS, 3);
  glPixelStorei(GL_PACK_SKIP_PIXELS, 5);
  glPixelStorei(GL_PACK_ALIGNMENT, 8);
  const ImagePtr image = MakeImage(kImageFormatRGB, 5, 3);
  const Bytes pixels = FillWithNoise(*image);
  ASSERT_TRUE(image->RequestGLIncarnation(true));
  ASSERT_TRUE(image->RequestRawIncarnation(true));
  EXPECT_EQ(Corner(image->GetImageBits(), 8, 5, 3, 3), pixels);
  EXPECT_EQ(Integer(GL_PACK_ROW_LENGTH), 8);
  EXPECT_EQ(Integer(GL_PACK_SKIP_ROWS), 0);
  EXPECT_EQ(Integer(GL_PACK_SKIP_PIXELS), 0);
  EXPECT_EQ(Integer(GL_PACK_ALIGNMENT), 8) << "the alignment alone comes back";
}

TEST_F(RImageGLTest, ASecondRawRequestDoesNothing) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 5, 5);
  const GLRecorder recorder;
  EXPECT_TRUE(image->RequestRawIncarnation(true));
  EXPECT_EQ(image->GetWidth(), 5);
  EXPECT_TRUE(recorder.Calls().empty());
}

TEST_F(RImageGLTest, DeliberateSizesBecomePowersOfTwoAlsoWithoutTransfer) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 300, 200, RImage::kIncarnationGL);
  const GLRecorder recorder;
  ASSERT_TRUE(image->RequestRawIncarnation(false));
  EXPECT_EQ(image->GetWidth(), 512);
  EXPECT_EQ(image->GetHeight(), 256);
  EXPECT_EQ(image->mAllocatedSize, 512 * 256 * 4);
  EXPECT_TRUE(recorder.Calls().empty()) << recorder.Text();
}

TEST_F(RImageGLTest, AnEmptyImageCannotComeBackAndKeepsTheRoundedSize) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 0, 0, RImage::kIncarnationGL);
  EXPECT_FALSE(image->RequestRawIncarnation(true));
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationGL);
  EXPECT_EQ(image->GetWidth(), -2147483647 - 1) << "2^31 in 32 bits";
}

TEST_F(RImageGLTest, APictureTooLargeForMemoryCannotComeBack) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 1, 1, RImage::kIncarnationGL);
  {
    const GLErrorCapture errors;
    image->SetWidth(40000);
    image->SetHeight(40000);
  }
  while (glGetError() != GL_NO_ERROR) {
  }
  EXPECT_FALSE(image->RequestRawIncarnation(true));
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationGL);
  EXPECT_EQ(image->GetWidth(), 65536);
  EXPECT_TRUE(image->mOwnsTexture);
}

TEST_F(RImageGLTest, AFormatThatLostItsMeaningIsNotRead) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 4, 4, RImage::kIncarnationGL);
  image->SetFormat(kImageFormatUndefined);
  const GLRecorder recorder;
  EXPECT_TRUE(image->RequestRawIncarnation(true));
  EXPECT_EQ(recorder.Count("glGetTexImage"), 0);
}

TEST_F(RImageGLTest, AnImageWithoutLayersHasNoRoomAndIsNotRead) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 64, 64, RImage::kIncarnationGL);
  image->SetDepth(0);
  const GLRecorder recorder;
  EXPECT_TRUE(image->RequestRawIncarnation(true));
  EXPECT_EQ(recorder.Count("glGetTexImage"), 0);
}

TEST_F(RImageGLTest, ALostTextureIsNotRead) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 4, 4, RImage::kIncarnationGL);
  GLuint texture = image->GetTextureID();
  glDeleteTextures(1, &texture);
  const GLRecorder recorder;
  EXPECT_TRUE(image->RequestRawIncarnation(true));
  EXPECT_EQ(recorder.Text(), "glIsTexture(" + std::to_string(texture) + ") = 0\n");
}

TEST_F(RImageGLTest, ALevelLargerThanThePictureIsReadThroughABufferOfItsOwn) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 300, 200, RImage::kIncarnationGL);
  ASSERT_TRUE(image->Init(kImageFormatRGBA, 100, 60, 0, 0, false, kImageTypeFrame, kInterleaveNone,
                          kInterpolationNone, RImage::kIncarnationGL));
  const Bytes pixels = FillWithNoise(*image);
  ASSERT_TRUE(image->RequestRawIncarnation(true));
  EXPECT_EQ(image->GetWidth(), 128);
  EXPECT_EQ(image->GetHeight(), 64);
  EXPECT_EQ(Corner(image->GetImageBits(), 128, 100, 60, 4), pixels);
  EXPECT_EQ(Integer(GL_PACK_ROW_LENGTH), 128) << "the row length is that of the picture";
}

TEST_F(RImageGLTest, DepthCountsInMemoryAndLayerZeroIsRead) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 4, 4);
  image->SetDepth(3);
  Bytes pixels = Noise(3 * 4 * 4 * 4);
  ASSERT_TRUE(image->SetImageBits(pixels.data()));
  ASSERT_TRUE(image->RequestGLIncarnation(true));
  const Bytes first(pixels.begin(), pixels.begin() + 64);
  EXPECT_EQ(test::ReadTexture(image->GetTextureID(), GL_RGBA).bytes, first);
  std::memset(image->GetImageBits(), 0, 64);
  ASSERT_TRUE(image->RequestRawIncarnation(true));
  EXPECT_TRUE(std::equal(pixels.begin(), pixels.end(), image->GetImageBits()));
}

// --- Round trips.

struct RoundTrip {
  kImageFormat format;
  int width;
  int height;
};

class RImageGLRoundTripTest : public RImageGLTest, public testing::WithParamInterface<RoundTrip> {};

TEST_P(RImageGLRoundTripTest, KeepsEveryByte) {
  const auto [format, width, height] = GetParam();
  const ImagePtr image = MakeImage(format, width, height);
  Bytes pixels = FillWithNoise(*image, static_cast<std::uint32_t>(width * 31 + height));
  ASSERT_TRUE(image->RequestGLIncarnation(true));
  std::memset(image->GetImageBits(), 0, pixels.size());
  ASSERT_TRUE(image->RequestRawIncarnation(true));
  if (format == kImageFormatRGB555) {
    // The lowest bit of red and the unused top bit go.
    for (std::size_t i = 1; i < pixels.size(); i += 2) pixels[i] &= 0x7B;
  }
  EXPECT_EQ(Corner(image->GetImageBits(), image->GetWidth(), width, height, BytesPerPixel(format)), pixels);
}

std::vector<RoundTrip> RoundTrips() {
  constexpr std::pair<int, int> kSizes[] = {{1, 1},     {3, 5},     {10, 6},   {101, 67},
                                            {256, 128}, {16384, 4}, {4, 16384}};
  std::vector<RoundTrip> cases;
  for (const FormatCase& row : kFormats) {
    for (const auto& [width, height] : kSizes) cases.push_back({row.format, width, height});
  }
  return cases;
}

INSTANTIATE_TEST_SUITE_P(All, RImageGLRoundTripTest, testing::ValuesIn(RoundTrips()), [](const auto& row) {
  const auto* format = std::find_if(std::begin(kFormats), std::end(kFormats),
                                    [&](const FormatCase& c) { return c.format == row.param.format; });
  return std::string(format->name) + '_' + std::to_string(row.param.width) + 'x' +
         std::to_string(row.param.height);
});

TEST_F(RImageGLTest, RepeatedTripsKeepTheTexture) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 64, 32);
  const Bytes pixels = FillWithNoise(*image);
  GLuint texture = 0;
  for (int i = 0; i < 5; ++i) {
    ASSERT_TRUE(image->RequestGLIncarnation(true));
    if (i == 0) texture = image->GetTextureID();
    EXPECT_EQ(image->GetTextureID(), texture);
    ASSERT_TRUE(image->RequestRawIncarnation(true));
  }
  EXPECT_TRUE(std::equal(pixels.begin(), pixels.end(), image->GetImageBits()));
  EXPECT_EQ(LiveGLObjects(), "Texture: 1\n");
}

// --- Setting pixels of a texture.

TEST_F(RImageGLTest, SetImageBitsReplacesTheCornerOfTheTexture) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 5, 3, RImage::kIncarnationGL);
  const int updates = image->GetUpdateId();
  const Bytes pixels = FillWithNoise(*image);
  EXPECT_EQ(image->GetUpdateId(), updates + 1);
  EXPECT_EQ(image->mIncarnationUpdateId[RImage::kIncarnationGL], updates + 1);
  const GLPixels read = test::ReadTexture(image->GetTextureID(), GL_RGBA);
  EXPECT_EQ(Corner(read.bytes.data(), 8, 5, 3, 4), pixels);
  EXPECT_EQ(image->GetImageBits(), nullptr);
}

TEST_F(RImageGLTest, SetImageBitsWithAFormatIsForRawImages) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 2, 2, RImage::kIncarnationGL);
  const int updates = image->GetUpdateId();
  Bytes pixels = Noise(12);
  const GLRecorder recorder;
  EXPECT_FALSE(image->SetImageBits(pixels.data(), kImageFormatRGB));
  EXPECT_FALSE(image->SetImageBits(pixels.data(), kImageFormatRGBA));
  EXPECT_EQ(image->GetUpdateId(), updates);
  EXPECT_TRUE(recorder.Calls().empty());
}

TEST_F(RImageGLTest, RawOperationsRefuseATexture) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 2, 2, RImage::kIncarnationGL);
  EXPECT_FALSE(image->ConvertFormat(kImageFormatRGB));
  EXPECT_FALSE(image->ConvertSize(4, 4));
  EXPECT_EQ(image->CloneFromType(kImageTypeFrame, kInterleaveNone, kInterpolationNone), nullptr);
}

// --- Ownership.

TEST_F(RImageGLTest, SetTextureIDTakesATextureAndKeepsTheDescription) {
  GLuint texture = MakeForeignTexture(8, 8, 9);
  const ImagePtr image = MakeImage(kImageFormatRGB, 5, 3);
  const int updates = image->GetUpdateId();
  const GLRecorder recorder;
  image->SetTextureID(texture, false);
  EXPECT_TRUE(recorder.Calls().empty());
  EXPECT_EQ(image->GetTextureID(), texture);
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationGL);
  EXPECT_EQ(image->GetImageBits(), nullptr) << "the raw buffer goes";
  EXPECT_EQ(image->GetUpdateId(), updates + 1) << "only freeing the buffer counts";
  EXPECT_EQ(image->mIncarnationUpdateId[RImage::kIncarnationGL], image->GetUpdateId());
  EXPECT_EQ(image->GetWidth(), 5);
  EXPECT_EQ(image->GetHeight(), 3);
  EXPECT_EQ(image->GetFormat(), kImageFormatRGB);
  glDeleteTextures(1, &texture);
}

TEST_F(RImageGLTest, ClearLeavesAForeignTextureAliveAndDeletesAnOwnedOne) {
  GLuint foreign = MakeForeignTexture(8, 8, 9);
  const GLuint owned = MakeForeignTexture(8, 8, 9);
  const ImagePtr image = MakeImage(kImageFormatRGBA, 8, 8);
  image->SetTextureID(foreign, false);
  image->Clear();
  EXPECT_TRUE(glIsTexture(foreign));
  EXPECT_EQ(image->GetTextureID(), foreign) << "a texture that is not owned stays noted";
  image->SetTextureID(owned, true);
  image->Clear();
  EXPECT_FALSE(glIsTexture(owned));
  EXPECT_EQ(image->GetTextureID(), 0U);
  EXPECT_FALSE(image->mOwnsTexture);
  glDeleteTextures(1, &foreign);
}

TEST_F(RImageGLTest, ClearDeletesOneNameAfterAsking) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 8, 8, RImage::kIncarnationGL);
  const std::string name = std::to_string(image->GetTextureID());
  const GLRecorder recorder;
  image->Clear();
  EXPECT_EQ(recorder.Text(), "glIsTexture(" + name + ") = 1\nglDeleteTextures(1, {" + name + "})\n");
}

TEST_F(RImageGLTest, TheNextTextureReplacesAnOwnedOne) {
  const GLuint first = MakeForeignTexture(8, 8, 1);
  const GLuint second = MakeForeignTexture(8, 8, 2);
  {
    const ImagePtr image = MakeImage(kImageFormatRGBA, 8, 8);
    image->SetTextureID(first, true);
    image->SetTextureID(second, true);
    EXPECT_FALSE(glIsTexture(first));
    EXPECT_TRUE(glIsTexture(second));
  }
  EXPECT_FALSE(glIsTexture(second)) << "the destructor deletes an owned texture";
}

TEST_F(RImageGLTest, TheDestructorLeavesAForeignTextureAlive) {
  GLuint texture = MakeForeignTexture(8, 8, 9);
  {
    const ImagePtr image = MakeImage(kImageFormatRGBA, 8, 8);
    image->SetTextureID(texture, false);
  }
  EXPECT_TRUE(glIsTexture(texture));
  glDeleteTextures(1, &texture);
}

TEST_F(RImageGLTest, AnOwnedTextureOutlivesTheNewBufferOfAReadBack) {
  // The read-back needs a larger buffer, and making one clears the old storage.
  const ImagePtr image = MakeImage(kImageFormatRGBA, 5, 5);
  const Bytes pixels = FillWithNoise(*image);
  ASSERT_TRUE(image->RequestGLIncarnation(true));
  const GLuint texture = image->GetTextureID();
  ASSERT_TRUE(image->RequestRawIncarnation(true));
  EXPECT_TRUE(glIsTexture(texture));
  EXPECT_EQ(Corner(image->GetImageBits(), 8, 5, 5, 4), pixels);
  image->Clear();
  EXPECT_FALSE(glIsTexture(texture)) << "and is still deleted with the storage";
}

TEST_F(RImageGLTest, CopiesShareATextureThatGoesOnce) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 8, 8, RImage::kIncarnationGL);
  const GLuint texture = image->GetTextureID();
  {
    const RImage copy(*image);
    const GLRecorder recorder;
    image->Clear();
    EXPECT_EQ(recorder.Count("glDeleteTextures"), 0);
    EXPECT_EQ(image->GetTextureID(), 0U);
    EXPECT_TRUE(glIsTexture(texture));
  }
  EXPECT_FALSE(glIsTexture(texture));
}

TEST_F(RImageGLTest, AReadBackOfACopyKeepsTheSharedTexture) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 5, 5);
  const Bytes pixels = FillWithNoise(*image);
  ASSERT_TRUE(image->RequestGLIncarnation(true));
  {
    RImage copy(*image);
    ASSERT_TRUE(copy.RequestRawIncarnation(true));
    EXPECT_EQ(Corner(copy.GetImageBits(), 8, 5, 5, 4), pixels);
  }
  EXPECT_TRUE(glIsTexture(image->GetTextureID()));
}

TEST_F(RImageGLTest, ACloneHasATextureOfItsOwn) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 300, 200, RImage::kIncarnationGL);
  const RDestroyPtr<RImage> clone(image->Clone());
  EXPECT_EQ(clone->GetIncarnation(), RImage::kIncarnationGL);
  EXPECT_NE(clone->GetTextureID(), image->GetTextureID());
  EXPECT_EQ(test::TextureLevelParameter(clone->GetTextureID(), GL_TEXTURE_WIDTH), 512);
  EXPECT_EQ(LiveGLObjects(), "Texture: 2\n");
}

// --- Textures of somebody else.

TEST_F(RImageGLTest, AForeignTextureThatShowsThePictureKeepsItsDefinition) {
  GLuint texture = MakeForeignTexture(300, 200, 9);
  const ImagePtr image = MakeImage(kImageFormatRGBA, 300, 200);
  image->SetTextureID(texture, false);
  const Bytes pixels = FillWithNoise(*image);
  EXPECT_EQ(test::TextureLevelParameter(texture, GL_TEXTURE_WIDTH), 300);
  EXPECT_EQ(test::ReadTexture(texture, GL_RGBA).bytes, pixels);
  ASSERT_TRUE(image->RequestRawIncarnation(true));
  EXPECT_EQ(image->GetWidth(), 512);
  EXPECT_EQ(Corner(image->GetImageBits(), 512, 300, 200, 4), pixels);
  glDeleteTextures(1, &texture);
}

TEST_F(RImageGLTest, AForeignTextureSmallerThanThePictureIsDefinedAnew) {
  GLuint texture = MakeForeignTexture(299, 200, 9);
  const ImagePtr image = MakeImage(kImageFormatRGBA, 300, 200);
  image->SetTextureID(texture, false);
  const Bytes pixels = FillWithNoise(*image);
  EXPECT_EQ(image->GetTextureID(), texture);
  EXPECT_FALSE(image->mOwnsTexture);
  EXPECT_EQ(test::TextureLevelParameter(texture, GL_TEXTURE_WIDTH), 512);
  EXPECT_EQ(Corner(test::ReadTexture(texture, GL_RGBA).bytes.data(), 512, 300, 200, 4), pixels);
  glDeleteTextures(1, &texture);
}

TEST_F(RImageGLTest, AForeignTextureWithoutALevelIsDefined) {
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  const ImagePtr image = MakeImage(kImageFormatRGBA, 300, 200);
  image->SetTextureID(texture, false);
  image->SetHeight(100);
  EXPECT_EQ(test::TextureLevelParameter(texture, GL_TEXTURE_WIDTH), 512);
  EXPECT_EQ(test::TextureLevelParameter(texture, GL_TEXTURE_HEIGHT), 128);
  glDeleteTextures(1, &texture);
}

TEST_F(RImageGLTest, AForeignTextureWithoutALevelIsNotRead) {
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  const ImagePtr image = MakeImage(kImageFormatRGBA, 4, 4);
  image->SetTextureID(texture, false);
  const GLRecorder recorder;
  EXPECT_TRUE(image->RequestRawIncarnation(true));
  EXPECT_EQ(recorder.Count("glGetTexImage"), 0);
  EXPECT_EQ(Integer(GL_PACK_ROW_LENGTH), 4);
  glDeleteTextures(1, &texture);
}

TEST_F(RImageGLTest, AForeignTextureLargerThanThePictureIsReadWhole) {
  const Bytes texels = Noise(70 * 50 * 4);
  GLuint texture = test::MakeTexture(70, 50, GL_RGBA, texels.data());
  const ImagePtr image = MakeImage(kImageFormatRGB, 10, 6);
  image->SetTextureID(texture, false);
  ASSERT_TRUE(image->RequestRawIncarnation(true));
  EXPECT_EQ(image->GetWidth(), 16);
  EXPECT_EQ(image->GetHeight(), 8);
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 16; ++x) {
      const unsigned char* pixel = image->GetImageBits() + (y * 16 + x) * 3;
      ASSERT_TRUE(std::equal(pixel, pixel + 3, texels.begin() + (y * 70 + x) * 4)) << x << ", " << y;
    }
  }
  glDeleteTextures(1, &texture);
}

TEST_F(RImageGLTest, AForeignTextureSmallerThanThePictureFillsOnlyItsCorner) {
  const Bytes texels = Noise(3 * 2 * 4);
  GLuint texture = test::MakeTexture(3, 2, GL_RGBA, texels.data());
  const ImagePtr image = MakeImage(kImageFormatRGBA, 8, 8);
  image->SetTextureID(texture, false);
  ASSERT_TRUE(image->RequestRawIncarnation(true));
  EXPECT_EQ(Corner(image->GetImageBits(), 8, 3, 2, 4), texels);
  glDeleteTextures(1, &texture);
}

// --- Without a context.

TEST_F(RImageGLTest, WithoutAContextNothingBecomesATexture) {
  Host().Context().doneCurrent();
  const ImagePtr image = MakeImage(kImageFormatRGBA, 5, 5);
  const Bytes pixels = FillWithNoise(*image);
  EXPECT_FALSE(image->RequestGLIncarnation(true));
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationRaw);
  EXPECT_EQ(image->GetTextureID(), 0U);
  EXPECT_FALSE(image->mOwnsTexture);
  EXPECT_TRUE(std::equal(pixels.begin(), pixels.end(), image->GetImageBits()));
  GLuint name = 0;
  EXPECT_FALSE(image->ValidateGLAllocation(&name));
  EXPECT_EQ(name, 0U);
  ASSERT_TRUE(Host().MakeCurrent());
}

TEST_F(RImageGLTest, WithoutAContextATextureIsNeitherUsedNorLost) {
  GLuint texture = MakeForeignTexture(8, 8, 9);
  const ImagePtr image = MakeImage(kImageFormatRGBA, 8, 8);
  image->SetTextureID(texture, false);
  Host().Context().doneCurrent();
  Bytes pixels = Noise(8 * 8 * 4);
  EXPECT_TRUE(image->SetImageBits(pixels.data())) << "always true";
  EXPECT_FALSE(image->ValidateGLAllocation(nullptr));
  EXPECT_EQ(image->GetTextureID(), texture);
  EXPECT_FALSE(image->mOwnsTexture) << "a foreign texture must not become the record's";
  EXPECT_TRUE(image->RequestRawIncarnation(true));
  image->Clear();
  ASSERT_TRUE(Host().MakeCurrent());
  EXPECT_TRUE(glIsTexture(texture));
  glDeleteTextures(1, &texture);
}

TEST_F(RImageGLTest, ClearWithoutAContextKeepsTheNameForLater) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 8, 8, RImage::kIncarnationGL);
  const GLuint texture = image->GetTextureID();
  Host().Context().doneCurrent();
  image->Clear();
  EXPECT_EQ(image->GetTextureID(), texture);
  ASSERT_TRUE(Host().MakeCurrent());
  image->Clear();
  EXPECT_FALSE(glIsTexture(texture));
}

}  // namespace
