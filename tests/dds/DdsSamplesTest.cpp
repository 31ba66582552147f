// Decodes the DDS sample files and compares them with the pictures that other decoders made of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <set>

#include "dds/RDDSDecoder.h"
#include "dds/nv_dds.h"
#include "support/SampleManifest.h"
#include "support/TestData.h"

namespace {

using test::Expect;
using test::Sample;

test::Picture DecodePicture(const RDDSDecoder& decoder, int face = 0, int level = 0, int slice = 0) {
  test::Picture picture;
  const RPixelBuffer pixels = decoder.DecodeBytes(face, level, slice);
  if (!pixels) return picture;
  picture.width = RDDSDecoder::LevelSize(decoder.GetInfo().width, level);
  picture.height = RDDSDecoder::LevelSize(decoder.GetInfo().height, level);
  picture.rgba.assign(pixels.get(), pixels.get() + 4L * picture.width * picture.height);
  return picture;
}

/// The first channels of each pixel.
std::vector<float> DecodeFloats(const RDDSDecoder& decoder, int channels) {
  const auto count = static_cast<std::size_t>(decoder.GetInfo().width * decoder.GetInfo().height);
  const RPixelBuffer pixels = decoder.DecodeFloats(0, 0, 0);
  std::vector<float> numbers;
  for (std::size_t i = 0; pixels && i < count; ++i) {
    std::array<float, 4> pixel{};
    std::memcpy(pixel.data(), pixels.get() + i * sizeof pixel, sizeof pixel);
    numbers.insert(numbers.end(), pixel.begin(), pixel.begin() + channels);
  }
  return numbers;
}

class DdsSamplesTest : public testing::TestWithParam<Sample> {
 protected:
  void SetUp() override { ASSERT_TRUE(mDecoder.Load(GetParam().path.c_str())); }

  RDDSDecoder mDecoder;
};

TEST_P(DdsSamplesTest, DecodesToTheExpectedPixels) {
  const Sample& sample = GetParam();
  if (sample.expect == Expect::kNoCrash || sample.expect == Expect::kSnormPixels) return;
  const std::string& expected =
      sample.expect == Expect::kPixelsOrPlaceholder ? sample.placeholder : sample.expected;
  // Layouts without alpha are opaque here, whatever the texture holds in its fourth channel.
  const std::string compare = mDecoder.GetInfo().hasAlpha ? sample.compare : sample.compare.substr(0, 3);
  test::Tolerance tolerance;
  tolerance.channel = sample.tolerance.channel;
  EXPECT_TRUE(test::Matches(DecodePicture(mDecoder), test::LoadPicture(expected), compare, tolerance));
}

TEST_P(DdsSamplesTest, DecodesToTheExpectedNumbers) {
  const Sample& sample = GetParam();
  if (sample.expect != Expect::kFloatPixels) return;
  EXPECT_TRUE(mDecoder.GetInfo().isFloat);
  EXPECT_TRUE(test::MatchesFloats(DecodeFloats(mDecoder, sample.channels), test::LoadFloats(sample.floats),
                                  sample.tolerance));
}

TEST_P(DdsSamplesTest, DecodesEveryLevelFaceAndSlice) {
  for (const test::SampleLevel& level : GetParam().levels) {
    test::Tolerance tolerance;
    tolerance.channel = GetParam().tolerance.channel;
    EXPECT_TRUE(test::Matches(DecodePicture(mDecoder, level.face, level.mip, level.slice),
                              test::LoadPicture(level.expected), GetParam().compare, tolerance))
        << "face " << level.face << ", level " << level.mip << ", slice " << level.slice;
  }
}

TEST_P(DdsSamplesTest, TheHeadersAloneTellTheSame) {
  if (mDecoder.IsPlaceholder()) return;
  RDDSInfo info;
  ASSERT_TRUE(RDDSDecoder::ReadInfo(GetParam().path.c_str(), info));
  const RDDSInfo& loaded = mDecoder.GetInfo();
  EXPECT_STREQ(info.format, loaded.format);
  EXPECT_EQ(info.width, loaded.width);
  EXPECT_EQ(info.height, loaded.height);
  EXPECT_EQ(info.depth, loaded.depth);
  EXPECT_EQ(info.levels, loaded.levels);
  EXPECT_EQ(info.faces, loaded.faces);
  EXPECT_EQ(info.isCubemap, loaded.isCubemap);
  EXPECT_EQ(info.isVolume, loaded.isVolume);
  EXPECT_EQ(info.isCompressed, loaded.isCompressed);
  EXPECT_EQ(info.isFloat, loaded.isFloat);
  EXPECT_EQ(info.isLuminance, loaded.isLuminance);
  EXPECT_EQ(info.hasAlpha, loaded.hasAlpha);
  EXPECT_EQ(info.isPremultiplied, loaded.isPremultiplied);
}

TEST_P(DdsSamplesTest, LayoutsWithoutAlphaAreOpaque) {
  if (mDecoder.GetInfo().hasAlpha) return;
  const test::Picture picture = DecodePicture(mDecoder);
  for (std::size_t i = 3; i < picture.rgba.size(); i += 4) ASSERT_EQ(picture.rgba[i], 255);
}

TEST_P(DdsSamplesTest, TheLoaderTakesTheFile) {
  nv_dds::CDDSImage image;
  ASSERT_TRUE(image.load(GetParam().path.c_str(), false));
  EXPECT_TRUE(image.is_valid());
  EXPECT_EQ(image.is_placeholder(), mDecoder.IsPlaceholder());
  EXPECT_EQ(image.is_placeholder(), GetParam().expect == Expect::kPixelsOrPlaceholder);
  if (image.is_placeholder()) return;
  EXPECT_EQ(image.get_width(), GetParam().width);
  EXPECT_EQ(image.get_height(), GetParam().height);
}

INSTANTIATE_TEST_SUITE_P(Files, DdsSamplesTest, testing::ValuesIn(test::LoadSamples("dds")),
                         test::SampleName);

TEST(DdsSnormSample, MapsMinusOneToOneOverAllLevels) {
  const auto samples = test::LoadSamples("dds");
  const auto sample = std::ranges::find(samples, Expect::kSnormPixels, &Sample::expect);
  ASSERT_NE(sample, samples.end());
  RDDSDecoder decoder;
  ASSERT_TRUE(decoder.Load(sample->path.c_str()));
  const RPixelBuffer pixels = decoder.DecodeBytes(0, 0, 0);
  ASSERT_NE(pixels, nullptr);
  const std::vector<float> numbers = test::LoadFloats(sample->floats);
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    // 16-bit channels lose their low byte first: 1 of 127 steps, 1 level and a rounding.
    EXPECT_NEAR(pixels.get()[i], (numbers[i] + 1) / 2 * 255, 2) << i;
  }
}

// --- The files with every mode and partition really have them.

std::vector<std::array<unsigned char, 16>> BlocksOf(const std::string& name) {
  const std::vector<unsigned char> file = test::ReadFile(test::DataPath("dds/" + name));
  std::vector<std::array<unsigned char, 16>> blocks((file.size() - 148) / 16);
  std::memcpy(blocks.data(), &file[148], 16 * blocks.size());
  return blocks;
}

unsigned Field(const std::array<unsigned char, 16>& block, unsigned first, unsigned count) {
  unsigned value = 0;
  for (unsigned i = 0; i < count; ++i)
    value |= static_cast<unsigned>(block[(first + i) / 8] >> (first + i) % 8 & 1) << i;
  return value;
}

TEST(DdsAllModesSample, Bc7HasEveryModeWithEveryPartitionRotationAndSelection) {
  // The mode's fields behind its number: partition, or rotation and index selection.
  const std::array<unsigned, 8> bits = {4, 6, 6, 6, 3, 2, 0, 6};
  std::array<std::set<unsigned>, 9> seen;
  for (const auto& block : BlocksOf("gen_bc7_all_modes.dds")) {
    const auto mode = static_cast<unsigned>(std::countr_zero(block[0]));
    seen[mode].insert(mode < 8 ? Field(block, mode + 1, bits[mode]) : 0);
  }
  for (std::size_t mode = 0; mode < 8; ++mode) EXPECT_EQ(seen[mode].size(), 1U << bits[mode]) << mode;
  EXPECT_EQ(seen[8].size(), 1U) << "the reserved mode";
}

TEST(DdsAllModesSample, Bc6hHasEveryModeWithEveryPartition) {
  for (const char* name : {"gen_bc6h_uf16_all_modes.dds", "gen_bc6h_sf16_all_modes.dds"}) {
    std::map<unsigned, std::set<unsigned>> seen;
    for (const auto& block : BlocksOf(name)) {
      const unsigned low = Field(block, 0, 2);
      seen[low < 2 ? low : Field(block, 0, 5)].insert(Field(block, 77, 5));
    }
    EXPECT_EQ(seen.size(), 18U) << name;  // 14 modes and 4 reserved codes
    for (const unsigned mode : {0U, 1U, 2U, 6U, 10U, 14U, 18U, 22U, 26U, 30U})
      EXPECT_EQ(seen[mode].size(), 32U);
  }
}

}  // namespace
