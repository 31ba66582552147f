// Textures that the command-line host decodes on the processor.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "image/RDestroyPtr.h"
#include "image/RImage.h"
#include "support/DdsBuilder.h"
#include "support/SampleManifest.h"
#include "support/TestData.h"

namespace {

using test::DdsBuilder;
using test::Expect;
using test::RunTool;
using test::Sample;
using testing::HasSubstr;

using Bytes = std::vector<unsigned char>;

class TextureSamplesTest : public testing::TestWithParam<Sample> {
 protected:
  /// Converts a picture of the sample; empty when the tool fails.
  test::Picture Convert(const test::Arguments& options = {}) {
    const std::string output = mFolder.Path("out.tga");
    test::Arguments arguments = {"convert", "--gpu=never", GetParam().path, output};
    arguments.insert(arguments.end(), options.begin(), options.end());
    mResult = RunTool(arguments);
    RImage* read = nullptr;
    if (mResult.code != 0 || !RImage::ReadFromDisk(output.c_str(), read, false)) return {};
    const RDestroyPtr<RImage> image(read);
    return test::ToPicture(image.get());
  }

  test::TemporaryFolder mFolder;
  test::ToolResult mResult;
};

bool HoldsFloats(const Sample& sample) { return sample.expect == Expect::kFloatPixels; }

TEST_P(TextureSamplesTest, ConvertsToTheExpectedPicture) {
  const Sample& sample = GetParam();
  const test::Picture picture = Convert();
  if (sample.expect == Expect::kPixelsOrPlaceholder) {
    EXPECT_EQ(mResult.code, 3) << "a placeholder is no picture";
    EXPECT_THAT(mResult.errors, HasSubstr("placeholder"));
    EXPECT_FALSE(std::filesystem::exists(mFolder.Path("out.tga")));
    return;
  }
  ASSERT_EQ(mResult.code, 0) << mResult.errors;
  EXPECT_EQ(picture.width, sample.width);
  EXPECT_EQ(picture.height, sample.height);
  // What the 8-bit mapping of signed numbers is, the tests of the reader tell.
  if (sample.expect == Expect::kSnormPixels || sample.expect == Expect::kNoCrash) return;
  test::Tolerance tolerance;
  tolerance.channel = sample.tolerance.channel;
  // The fourth byte of this one is no alpha: a texture has it, a picture is opaque.
  const bool opaque = sample.name == "magnum_bgrx8unorm.dds";
  EXPECT_TRUE(
      test::Matches(picture, test::LoadPicture(sample.expected), opaque ? "RGB" : sample.compare, tolerance));
}

TEST_P(TextureSamplesTest, ConvertsEveryLevelFaceAndSlice) {
  for (const test::SampleLevel& level : GetParam().levels) {
    const test::Picture picture =
        Convert({"--level", std::to_string(level.mip), "--face", std::to_string(level.face), "--slice",
                 std::to_string(level.slice)});
    ASSERT_EQ(mResult.code, 0) << mResult.errors;
    test::Tolerance tolerance;
    tolerance.channel = GetParam().tolerance.channel;
    EXPECT_TRUE(test::Matches(picture, test::LoadPicture(level.expected), GetParam().compare, tolerance))
        << "face " << level.face << ", level " << level.mip << ", slice " << level.slice;
  }
}

// A byte is the nearest one to the number times 2^stops, clamped to 0 to 1, times 255; alpha is not
// brightened, and what is no number becomes 0. The last places of the number are the decoders' own.
bool IsByteOf(unsigned char byte, double number, double stops) {
  if (std::isnan(number)) return byte == 0;
  const double level = std::clamp(number * std::exp2(stops), 0.0, 1.0) * 255;
  return std::abs(byte - level) <= 0.5 + 1e-4;
}

TEST_P(TextureSamplesTest, ConvertsNumbersByTheStatedMapping) {
  if (!HoldsFloats(GetParam())) return;
  const std::vector<float> numbers = test::LoadFloats(GetParam().floats);
  const auto channels = static_cast<std::size_t>(GetParam().channels);
  for (const double stops : {0.0, 1.5, -3.0}) {
    const test::Picture picture = Convert({"--exposure", std::to_string(stops)});
    ASSERT_EQ(picture.rgba.size() * channels, numbers.size() * 4);
    for (std::size_t i = 0; i < picture.rgba.size(); ++i) {
      const std::size_t channel = i % 4;
      const double absent = channel == 3 ? 1 : 0;
      const double number = channel < channels ? numbers[i / 4 * channels + channel] : absent;
      ASSERT_TRUE(IsByteOf(picture.rgba[i], number, channel == 3 ? 0 : stops))
          << "byte " << i << " is " << int{picture.rgba[i]} << " for " << number << ", stops " << stops;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Dds, TextureSamplesTest, testing::ValuesIn(test::LoadSamples("dds")),
                         test::SampleName);

TEST(TextureSamples, SomeHoldFloatsAndSomeSeveralPictures) {
  const auto samples = test::LoadSamples("dds");
  EXPECT_GE(std::ranges::count_if(samples, HoldsFloats), 5);
  EXPECT_GE(std::ranges::count_if(samples, [](const Sample& sample) { return sample.levels.size() > 1; }), 5);
}

// --- Files that are cut off.

struct Outcome {
  int code = -1;
  std::string errors;
  Bytes picture;
  bool operator==(const Outcome&) const = default;
};

// Fresh memory holds the complement of the byte.
Outcome ConvertIn(const test::TemporaryFolder& folder, const std::string& path, const std::string& byte) {
  const std::string output = folder.Path("out.tga");
  std::filesystem::remove(output);
  const auto result =
      RunTool({"convert", "--gpu=never", path, output}, {.environment = {{"MALLOC_PERTURB_", byte}}});
  return {result.code, result.errors, result.code == 0 ? test::ReadFile(output) : Bytes()};
}

TEST(CutTextures, GiveTheSameWhateverFreshMemoryHolds) {
  const test::TemporaryFolder folder;
  std::size_t read = 0;
  for (const Sample& sample : test::LoadSamples("dds")) {
    SCOPED_TRACE(sample.name);
    Bytes file = test::ReadFile(sample.path);
    constexpr std::size_t kHeaders = 148;
    if (file.size() > kHeaders) file.resize(kHeaders + (file.size() - kHeaders) / 3);
    const std::string path = folder.Write("cut.dds", file);
    const Outcome first = ConvertIn(folder, path, "85");
    EXPECT_EQ(first, ConvertIn(folder, path, "170"));
    EXPECT_TRUE(first.code == 0 || first.code == 3) << first.errors;
    read += first.code == 0 ? 1 : 0;
  }
  EXPECT_GT(read, 20U) << "the loader fills up what it keeps as it is";
}

// --- Files that cannot be decoded.

class BrokenTextures : public testing::Test {
 protected:
  void Refuse(const DdsBuilder& file, const std::string& reason) { Refuse(file.File(), reason); }
  void Refuse(const Bytes& file, const std::string& reason) {
    const std::string path = mFolder.Write("a.dds", file);
    const std::string output = mFolder.Path("out.png");
    for (const test::Arguments& arguments :
         {test::Arguments{"convert", "--gpu=never", path, output}, test::Arguments{"convert", path, output},
          test::Arguments{"info", path}, test::Arguments{"info", "--list", path}}) {
      const auto result = RunTool(arguments);
      EXPECT_EQ(result.code, 3) << arguments.front();
      EXPECT_THAT(result.errors, HasSubstr(reason)) << arguments.front();
      EXPECT_EQ(result.output, "");
    }
    EXPECT_FALSE(std::filesystem::exists(output));
  }

  test::TemporaryFolder mFolder;
};

constexpr const char* kPlaceholder = "cannot be decoded (readers show a 64 x 64 placeholder for it)";
constexpr const char* kDamaged = "the dds file is damaged";

TEST_F(BrokenTextures, LayoutsThatNobodyKnows) {
  Refuse(DdsBuilder(4, 4).Code("ABCD").RandomData(64), kPlaceholder);
  Refuse(DdsBuilder(4, 4).Dxgi(100).RandomData(64), kPlaceholder);
  Refuse(DdsBuilder(4, 4).Code("DXT2").RandomData(64), kPlaceholder);
  Refuse(test::RandomBytes(500, 1), kPlaceholder);
}

TEST_F(BrokenTextures, PixelsThatAreMissing) {
  Refuse(DdsBuilder(4, 4).Dxgi(98).RandomData(15), kPlaceholder);
  Refuse(DdsBuilder(4, 4).Code(116).RandomData(255), kPlaceholder);
  Refuse(DdsBuilder(4, 4).Code("DXT4").LinearSize(0xFFFFFFFF).RandomData(64), kPlaceholder);
}

TEST_F(BrokenTextures, BitFieldsThatAreNone) {
  Refuse(DdsBuilder(4, 4).Masks(0x40, 0, 0xFF, 0xFF00, 0xFF0000, 0).RandomData(64), kPlaceholder);
  Refuse(DdsBuilder(4, 4).Masks(0x40, 7, 0xFF, 0xFF00, 0xFF0000, 0).RandomData(64), kPlaceholder);
  Refuse(DdsBuilder(4, 4).Masks(0x40, 16, 0, 0, 0, 0).RandomData(64), kPlaceholder);
}

TEST_F(BrokenTextures, SizesThatNoFileHas) {
  Refuse(DdsBuilder(4, 0).Code("DXT1").RandomData(64), kDamaged);
  Refuse(DdsBuilder(65000, 65000).Code("DXT1").RandomData(64), kDamaged);
  Refuse(DdsBuilder(65000, 65000).Dxgi(98).RandomData(64), kPlaceholder);
  Refuse(DdsBuilder(4, 4).Code("DXT1").Mipmaps(0xFFFFFFFF).RandomData(64), kDamaged);
}

TEST_F(BrokenTextures, HeadersThatAreCutOff) {
  Bytes header = DdsBuilder(4, 4).Dxgi(98).File();
  header.resize(100);
  Refuse(header, kDamaged);
  Refuse(Bytes{'D', 'D', 'S', ' '}, kDamaged);
}

TEST_F(BrokenTextures, FacesThatAreMissingAreBlack) {
  const std::string path =
      mFolder.Write("a.dds", DdsBuilder(4, 4).Code("DXT5").Cubemap().RandomData(16).File());
  const std::string output = mFolder.Path("out.png");
  EXPECT_EQ(RunTool({"convert", "--gpu=never", "--face", "5", path, output}).code, 0);
  EXPECT_EQ(test::PixelsOf(test::Load(output)), test::Pixels(16, 0));
}

TEST_F(BrokenTextures, FivePixelsSquareAreRead) {
  const std::string output = mFolder.Path("out.png");
  for (const char* code : {"DXT1", "DXT5", "BC4S", "BC5U"}) {
    std::uint32_t number = 0;
    std::memcpy(&number, code, 4);
    const std::string path = mFolder.Write("a.dds", DdsBuilder(5, 5).Code(number).RandomData(64).File());
    EXPECT_EQ(RunTool({"convert", "--gpu=never", path, output}).code, 0) << code;
    EXPECT_EQ(test::Load(output).size(), QSize(5, 5)) << code;
  }
}

// --- What is told about textures.

class TextureInfo : public testing::Test {
 protected:
  std::string Put(const DdsBuilder& file) const { return mFolder.Write("a.dds", file.File()); }
  std::string List(const DdsBuilder& file) const {
    const auto result = RunTool({"info", "--list", Put(file)});
    EXPECT_EQ(result.code, 0) << result.errors;
    return result.output;
  }
  nlohmann::json Json(const DdsBuilder& file, const test::Arguments& options = {}) const {
    test::Arguments arguments = {"info", "--json", Put(file)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const auto result = RunTool(arguments);
    EXPECT_EQ(result.code, 0) << result.errors;
    return nlohmann::json::parse(result.output).at(0);
  }

  test::TemporaryFolder mFolder;
};

TEST_F(TextureInfo, ListsTheLevelsOfACubeMap) {
  const std::string text = List(DdsBuilder(8, 4).Code("DXT5").Cubemap().Mipmaps(4).RandomData(6 * 80));
  EXPECT_THAT(text, HasSubstr("  texture: DXT5 8 x 4 x 1, levels: 4, faces: 6 (cube map)\n"));
  EXPECT_THAT(text, HasSubstr("  level 0: 8 x 4, faces: 6, slices: 1\n"
                              "  level 1: 4 x 2, faces: 6, slices: 1\n"
                              "  level 2: 2 x 1, faces: 6, slices: 1\n"
                              "  level 3: 1 x 1, faces: 6, slices: 1\n"));
}

TEST_F(TextureInfo, ListsTheSlicesOfAVolume) {
  const std::string text = List(DdsBuilder(4, 4).Code("DXT1").Volume(5).Mipmaps(3).RandomData(64));
  EXPECT_THAT(text, HasSubstr("  texture: DXT1 4 x 4 x 5, levels: 3, faces: 1\n"));
  EXPECT_THAT(text, HasSubstr("  level 0: 4 x 4, faces: 1, slices: 5\n"
                              "  level 1: 2 x 2, faces: 1, slices: 2\n"
                              "  level 2: 1 x 1, faces: 1, slices: 1\n"));
}

TEST_F(TextureInfo, DescribesTheTextureInJson) {
  const nlohmann::json info = Json(DdsBuilder(4, 2).Dxgi(2, 0, 0, 3).Mipmaps(2).RandomData(3 * 160));
  EXPECT_EQ(info["texture"], nlohmann::json::parse(R"({
    "format": "R32G32B32A32_FLOAT", "width": 4, "height": 2, "depth": 1, "levels": 2, "faces": 3,
    "cubemap": false, "volume": false, "compressed": false, "float": true})"));
}

TEST_F(TextureInfo, DescribesThePictureThatIsAskedFor) {
  const DdsBuilder file = DdsBuilder(8, 4).Code("DXT1").Cubemap().Mipmaps(2).RandomData(6 * 24);
  const nlohmann::json info = Json(file, {"--level", "1", "--face", "5"});
  EXPECT_EQ(info["width"], 4);
  EXPECT_EQ(info["height"], 2);
  EXPECT_EQ(info["texture"]["width"], 8);
}

TEST_F(TextureInfo, TellsWhetherColoursAreMultipliedWithAlpha) {
  // One pixel of half transparent red as bytes, and a block of it: alpha 0x80 everywhere.
  const Bytes pixel = {128, 0, 0, 128};
  const Bytes block = {0x80, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x80, 0, 0, 0, 0, 0, 0};
  const auto alpha = [&](const DdsBuilder& file) { return Json(file)["alpha"].get<std::string>(); };
  EXPECT_EQ(alpha(DdsBuilder(4, 4).Code("DXT4").LinearSize(16).Data(block)), "premultiplied");
  EXPECT_EQ(alpha(DdsBuilder(4, 4).Dxgi(77, 2).Data(block)), "premultiplied");
  EXPECT_EQ(alpha(DdsBuilder(4, 4).Dxgi(77, 0).Data(block)), "straight");
  EXPECT_EQ(alpha(DdsBuilder(1, 1).Dxgi(28, 2).Data(pixel)), "premultiplied");
  EXPECT_EQ(alpha(DdsBuilder(1, 1).Dxgi(28, 1).Data(pixel)), "straight");
  EXPECT_EQ(alpha(DdsBuilder(4, 4).Code("DXT5").Data(block)), "straight");
}

TEST_F(TextureInfo, WhatIsSeenOfMultipliedColoursStays) {
  const std::string path = Put(DdsBuilder(1, 1).Dxgi(28, 2).Data({128, 0, 0, 128}));
  const std::string output = mFolder.Path("out.png");
  ASSERT_EQ(RunTool({"convert", "--gpu=never", path, output}).code, 0);
  EXPECT_EQ(test::PixelsOf(test::Load(output)), test::Pixels{qRgba(255, 0, 0, 128)});
}

TEST(TextureOptionsTest, PicturesThatTheTextureDoesNotHaveAreRefused) {
  const std::string path = test::DataPath("dds/oiio_dds_bc1.dds");
  for (const char* option : {"--level", "--face", "--slice"}) {
    for (const char* number : {"1", "40"}) {
      const auto result = RunTool({"info", option, number, path});
      EXPECT_EQ(result.code, 3) << option;
      EXPECT_THAT(result.errors, HasSubstr("counted from 0")) << option;
    }
    EXPECT_EQ(RunTool({"info", option, "0", path}).code, 0) << option;
    EXPECT_EQ(RunTool({"info", option, "-1", path}).code, 2) << option;
  }
}

TEST(TextureOptionsTest, OtherPicturesHaveNoneOfIt) {
  const test::TemporaryFolder folder;
  const std::string plain = folder.Path("plain.png");
  test::Save(test::MakeOpaque(16, 8), plain);
  for (const auto& [option, value] : {std::pair{"--level", "1"},
                                      {"--face", "1"},
                                      {"--face", "+x"},
                                      {"--slice", "1"},
                                      {"--exposure", "1"}}) {
    const std::string message =
        "rimage: " + plain + ": this is no texture (" + std::string(option) + " is for dds)\n";
    const auto info = RunTool({"info", option, value, plain});
    EXPECT_EQ(info.code, 2) << option;
    EXPECT_EQ(info.errors, message);
    const auto convert = RunTool({"convert", option, value, plain, folder.Path("out.png")});
    EXPECT_EQ(convert.code, 2) << option;
    EXPECT_EQ(convert.errors, message);
  }
  EXPECT_EQ(RunTool({"convert", "--level=0", plain, folder.Path("out.png")}).code, 0) << "this it has";
  const std::string texture = test::DataPath("dds/magnum_dxt1-cube-mips.dds");
  EXPECT_EQ(RunTool({"info", "--level", "1", plain, texture}).code, 1) << "one of two";
}

// The options are those of the mask, or the mask is an ordinary picture.
TEST(TextureOptionsTest, AreForMasksToo) {
  const test::TemporaryFolder folder;
  const std::string texture = test::DataPath("dds/magnum_dxt1-cube-mips.dds");
  const std::string level = folder.Path("level.png");
  ASSERT_EQ(RunTool({"convert", texture, "--level=1", level}).code, 0);
  const std::string out = folder.Path("out.png");
  EXPECT_EQ(RunTool({"convert", level, "--merge-alpha", texture, "--level=1", out}).code, 0);
  EXPECT_EQ(RunTool({"convert", texture, "--merge-alpha", level, "--level=1", out}).code, 0);
}

TEST(TextureOptionsTest, FacesHaveNames) {
  const test::TemporaryFolder folder;
  const std::string cube = test::DataPath("dds/magnum_rgba8unorm-cube.dds");
  int number = 0;
  for (const char* name : {"+x", "-x", "+y", "-y", "+z", "-Z"}) {
    const std::string path = folder.Path("named.png");
    ASSERT_EQ(RunTool({"convert", cube, "--face", name, path}).code, 0) << name;
    ASSERT_EQ(RunTool({"convert", cube, "--face=" + std::to_string(number++), folder.Path("n.png")}).code, 0);
    EXPECT_EQ(test::ReadFile(path), test::ReadFile(folder.Path("n.png"))) << name;
  }
  const std::string plain = test::DataPath("dds/oiio_dds_bc1.dds");
  const auto result = RunTool({"info", "--face", "+x", plain});
  EXPECT_EQ(result.code, 3);
  EXPECT_EQ(result.errors, "rimage: " + plain +
                               ": the texture is no cube map, whose faces have names (the elements of arrays "
                               "have numbers)\n");
}

TEST(TextureOptionsTest, InfoDescribesAndListsTheTexture) {
  const auto result = RunTool({"info", "--list", test::DataPath("dds/oiio_dds_bc1.dds")});
  EXPECT_EQ(result.code, 0);
  EXPECT_THAT(result.output, HasSubstr("texture: DXT1 16 x 8 x 1, levels: 1, faces: 1"));
  EXPECT_THAT(result.output, HasSubstr("level 0: 16 x 8"));
}

TEST(TextureOptionsTest, ExposureBrightensFloatsOnly) {
  const auto mean = [&](const char* stops, const char* file) {
    const auto result = RunTool({"info", "--json", "--exposure", stops, test::DataPath(file)});
    EXPECT_EQ(result.code, 0) << result.errors;
    return nlohmann::json::parse(result.output)[0]["channels"]["red"]["mean"].get<double>();
  };
  constexpr const char* kFloats = "dds/pillow_bc6h.dds";
  EXPECT_LT(mean("-2", kFloats), mean("0", kFloats));
  EXPECT_LT(mean("0", kFloats), mean("2", kFloats));
  EXPECT_EQ(mean("-64", kFloats), 0);
  constexpr const char* kBytes = "dds/oiio_dds_bc1.dds";
  EXPECT_EQ(mean("-2", kBytes), mean("2", kBytes));
  EXPECT_EQ(RunTool({"info", "--exposure", "65", test::DataPath(kFloats)}).code, 2);
}

TEST(TextureOptionsTest, AutomaticallyTheProcessorDecodes) {
  const test::TemporaryFolder folder;
  const std::string path = test::DataPath("dds/magnum_dxt1.dds");
  for (const char* mode : {"--gpu=auto", "--gpu=never"})
    EXPECT_EQ(RunTool({"convert", mode, path, folder.Path(std::string(mode + 6) + ".png")}).code, 0) << mode;
  EXPECT_EQ(test::ReadFile(folder.Path("auto.png")), test::ReadFile(folder.Path("never.png")));
}

}  // namespace
