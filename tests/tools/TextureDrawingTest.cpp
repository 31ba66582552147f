// Textures that the command-line host lets the graphics driver decode, beside its own decoders.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/DdsBuilder.h"
#include "support/SampleManifest.h"
#include "support/TestData.h"

namespace {

using test::DdsBuilder;
using test::RandomBytes;
using test::RunTool;
using testing::HasSubstr;

// Returns the largest difference of a channel, alpha included; 256 for different sizes.
int Difference(const QImage& a, const QImage& b) {
  if (a.isNull() || a.size() != b.size()) return 256;
  const test::Pixels left = test::PixelsOf(a);
  const test::Pixels right = test::PixelsOf(b);
  int worst = 0;
  for (std::size_t i = 0; i < left.size(); ++i) {
    for (int shift = 0; shift < 32; shift += 8) {
      const int difference =
          static_cast<int>(left[i] >> shift & 255U) - static_cast<int>(right[i] >> shift & 255U);
      worst = std::max(worst, std::abs(difference));
    }
  }
  return worst;
}

class TextureDrawingTest : public testing::Test {
 protected:
  /// Converts the texture by both ways and returns the difference.
  int DrawnFromDecoded(const std::string& texture) const {
    const std::string drawn = mFolder.Path("drawn.png");
    const std::string decoded = mFolder.Path("decoded.png");
    const auto first = RunTool({"convert", "--gpu=require", texture, drawn});
    EXPECT_EQ(first.code, 0) << first.errors;
    EXPECT_EQ(first.errors, "");
    const auto second = RunTool({"convert", "--gpu=never", texture, decoded});
    EXPECT_EQ(second.code, 0) << second.errors;
    return Difference(test::Load(drawn), test::Load(decoded));
  }

  int DrawnFromDecoded(const DdsBuilder& file) const {
    return DrawnFromDecoded(mFolder.Write("texture.dds", file.File()));
  }

  test::TemporaryFolder mFolder;
};

class TextureDrawingSampleTest : public TextureDrawingTest,
                                 public testing::WithParamInterface<test::Sample> {};

TEST_P(TextureDrawingSampleTest, EqualsTheSoftwareDecoder) {
  const test::Sample& sample = GetParam();
  if (sample.expect == test::Expect::kPixelsOrPlaceholder) {
    const auto result = RunTool({"convert", "--gpu=require", sample.path, mFolder.Path("out.png")});
    EXPECT_EQ(result.code, 3) << "a placeholder is no picture";
    EXPECT_THAT(result.errors, HasSubstr("placeholder"));
    return;
  }
  const bool isSigned = sample.name.find("snorm") != std::string::npos;
  EXPECT_LE(DrawnFromDecoded(sample.path), isSigned ? 5 : 2);
}

INSTANTIATE_TEST_SUITE_P(Dds, TextureDrawingSampleTest, testing::ValuesIn(test::LoadSamples("dds")),
                         test::SampleName);

// --- The loader turns whole rows of blocks only; the tool shows the picture of the file all the same.

struct BlockCase {
  char code[5];
  std::uint32_t width;
  std::uint32_t height;
  std::size_t bytes;
};

TEST_F(TextureDrawingTest, BlocksOfAnySizeComeTheRightWayUp) {
  // One row of blocks, two, three with one in the middle, parts of blocks at the top and at the right.
  for (const BlockCase& row : {BlockCase{"DXT1", 1, 1, 8},
                               {"DXT1", 5, 7, 4 * 8},
                               {"DXT1", 8, 12, 6 * 8},
                               {"DXT5", 9, 13, 12 * 16},
                               {"BC5U", 6, 22, 12 * 16},
                               {"BC4U", 16, 9, 12 * 8}}) {
    DdsBuilder file(row.width, row.height);
    file.Code(row.code).Data(RandomBytes(row.bytes, row.width));
    EXPECT_LE(DrawnFromDecoded(file), 2) << row.code << ' ' << row.width << " x " << row.height;
  }
}

TEST_F(TextureDrawingTest, FacesOfCubeMapsComeTheRightWayUp) {
  DdsBuilder plain = DdsBuilder::Rgba(5, 4).Cubemap();
  DdsBuilder blocks = DdsBuilder(8, 8).Code("DXT1").Cubemap();
  for (unsigned face = 0; face < 6; ++face) {
    plain.Data(RandomBytes(80, face));
    blocks.Data(RandomBytes(32, face));
  }
  EXPECT_EQ(DrawnFromDecoded(plain), 0);
  EXPECT_LE(DrawnFromDecoded(blocks), 2);
}

TEST_F(TextureDrawingTest, TheFirstSliceOfAVolumeIsDrawn) {
  EXPECT_EQ(DrawnFromDecoded(DdsBuilder::Rgba(4, 3).Volume(3).Data(RandomBytes(144, 1))), 0);
}

// --- Layouts of fewer than four channels.

TEST_F(TextureDrawingTest, GreyStaysGreyAndOpaque) {
  EXPECT_EQ(DrawnFromDecoded(DdsBuilder(3, 2).Masks(0x20000, 8, 0xFF, 0, 0, 0).Data(RandomBytes(6, 1))), 0);
  EXPECT_LE(DrawnFromDecoded(DdsBuilder(3, 2).Masks(0x20000, 16, 0xFFFF, 0, 0, 0).Data(RandomBytes(12, 1))),
            1);
  EXPECT_EQ(
      DrawnFromDecoded(DdsBuilder(3, 2).Masks(0x20001, 16, 0xFF, 0, 0, 0xFF00).Data(RandomBytes(12, 1))), 0);
}

TEST_F(TextureDrawingTest, WithoutAlphaItIsOpaque) {
  EXPECT_EQ(
      DrawnFromDecoded(DdsBuilder(3, 2).Masks(0x40, 16, 0xF800, 0x7E0, 0x1F, 0).Data(RandomBytes(12, 1))), 0);
  EXPECT_EQ(
      DrawnFromDecoded(DdsBuilder(3, 2).Masks(0x40, 32, 0xFF0000, 0xFF00, 0xFF, 0).Data(RandomBytes(24, 1))),
      0);
}

TEST_F(TextureDrawingTest, PremultipliedCodesStayPremultiplied) {
  EXPECT_LE(DrawnFromDecoded(DdsBuilder(8, 8).Code("DXT4").LinearSize(64).Data(RandomBytes(64, 1))), 2);
}

// --- What the commands say.

TEST_F(TextureDrawingTest, InfoDescribesTheTextureAsWithoutOpenGL) {
  const std::string path = test::DataPath("dds/oiio_dds_npot_bc3_mips.dds");
  const auto describe = [&](const char* gpu) {
    const auto result = RunTool({"info", "--json", gpu, path});
    EXPECT_EQ(result.code, 0) << result.errors;
    return nlohmann::json::parse(result.output)[0]["texture"];
  };
  EXPECT_EQ(describe("--gpu=require"), describe("--gpu=never"));
  EXPECT_EQ(describe("--gpu=require")["levels"], 4);
}

TEST_F(TextureDrawingTest, WhatOpenGLDoesNotReadIsRefused) {
  const std::string path = test::DataPath("dds/oiio_dds_rgba8_mips.dds");
  for (const auto& [option, value] :
       {std::pair{"--level", "1"}, {"--face", "1"}, {"--slice", "1"}, {"--exposure", "1"}}) {
    const auto result = RunTool({"info", "--gpu=require", option, value, path});
    EXPECT_EQ(result.code, 2) << option;
    EXPECT_THAT(result.errors, HasSubstr("(leave out --gpu=require)\n")) << option;
  }
}

TEST_F(TextureDrawingTest, ATextureBeyondTheDriversLimitIsToldApartFromDamage) {
  constexpr std::uint32_t kWidth = 1U << 20;
  const std::string path = mFolder.Write(
      "wide.dds", DdsBuilder(kWidth, 1).Masks(0x20000, 8, 0xFF, 0, 0, 0).Data(RandomBytes(kWidth, 1)).File());
  const auto result = RunTool({"info", "--gpu=require", path});
  EXPECT_EQ(result.code, 3);
  EXPECT_THAT(result.errors, HasSubstr("the graphics driver cannot draw this texture"));
  EXPECT_EQ(RunTool({"info", "--gpu=never", path}).code, 0);
}

TEST_F(TextureDrawingTest, TheSlicesOfAVolumeCountAsMemory) {
  const std::string path = mFolder.Write(
      "volume.dds", DdsBuilder(1024, 1024).Masks(0x20000, 8, 0xFF, 0, 0, 0).Volume(8).Data({0}).File());
  EXPECT_EQ(RunTool({"info", "--gpu=require", "--max-memory", "64", path}).code, 0);
  const auto result = RunTool({"info", "--gpu=require", "--max-memory", "31", path});
  EXPECT_EQ(result.code, 3);
  EXPECT_THAT(result.errors, HasSubstr("--max-memory"));
}

}  // namespace
