#include "dds/DdsFormat.h"

#include <gtest/gtest.h>

#include <numeric>
#include <span>
#include <vector>

namespace {

// The values of bytes are their places, so that each field tells where it was read.
std::vector<unsigned char> Places(std::size_t size) {
  std::vector<unsigned char> bytes(size);
  std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
  return bytes;
}

constexpr std::uint32_t At(std::uint32_t place) {
  return place | (place + 1) << 8 | (place + 2) << 16 | (place + 3) << 24;
}

// Whether a structure cannot be read from any number of bytes below its size.
template <class Structure>
bool RefusesEveryCut(std::size_t size) {
  const auto bytes = Places(size);
  for (std::size_t length = 0; length < size; ++length) {
    RByteReader in(std::span<const unsigned char>(bytes).first(length));
    if (Structure().Read(in)) return false;
  }
  return true;
}

// The offsets are those of DDS_HEADER in Microsoft's "DDS file layout", from the size on.
TEST(DdsFormatTest, ReadsEachFieldOfTheHeaderAtItsPlace) {
  const auto bytes = Places(124);
  RByteReader in(bytes);
  DdsHeader header;
  ASSERT_TRUE(header.Read(in));
  EXPECT_EQ(in.Remaining(), 0U);
  EXPECT_EQ(header.size, At(0));
  EXPECT_EQ(header.flags, At(4));
  EXPECT_EQ(header.height, At(8));
  EXPECT_EQ(header.width, At(12));
  EXPECT_EQ(header.pitchOrLinearSize, At(16));
  EXPECT_EQ(header.depth, At(20));
  EXPECT_EQ(header.mipMapCount, At(24));
  EXPECT_EQ(header.pixelFormat.size, At(72));
  EXPECT_EQ(header.pixelFormat.flags, At(76));
  EXPECT_EQ(header.pixelFormat.fourCC, At(80));
  EXPECT_EQ(header.pixelFormat.rgbBitCount, At(84));
  EXPECT_EQ(header.pixelFormat.rBitMask, At(88));
  EXPECT_EQ(header.pixelFormat.gBitMask, At(92));
  EXPECT_EQ(header.pixelFormat.bBitMask, At(96));
  EXPECT_EQ(header.pixelFormat.aBitMask, At(100));
  EXPECT_EQ(header.caps1, At(104));
  EXPECT_EQ(header.caps2, At(108));
}

TEST(DdsFormatTest, ReadsEachFieldOfTheExtensionAtItsPlace) {
  const auto bytes = Places(20);
  RByteReader in(bytes);
  DdsHeaderDx10 extension;
  ASSERT_TRUE(extension.Read(in));
  EXPECT_EQ(in.Remaining(), 0U);
  EXPECT_EQ(extension.dxgiFormat, At(0));
  EXPECT_EQ(extension.resourceDimension, At(4));
  EXPECT_EQ(extension.miscFlag, At(8));
  EXPECT_EQ(extension.arraySize, At(12));
  EXPECT_EQ(extension.miscFlags2, At(16));
}

TEST(DdsFormatTest, FieldsThatAreCutAreRefused) {
  EXPECT_TRUE(RefusesEveryCut<DdsHeader>(124));
  EXPECT_TRUE(RefusesEveryCut<DdsHeaderDx10>(20));
}

TEST(DdsFormatTest, FieldsBehindTheCutStayAsTheyAre) {
  const auto bytes = Places(12);
  RByteReader in(bytes);
  DdsHeader header;
  header.width = 7;
  EXPECT_FALSE(header.Read(in));
  EXPECT_EQ(header.height, At(8));
  EXPECT_EQ(header.width, 7U);
}

TEST(DdsFormatTest, AVolumeNeedsTheFlagAndSlices) {
  DdsHeader header;
  EXPECT_FALSE(header.IsCubeMap());
  EXPECT_FALSE(header.IsVolume());
  header.caps2 = 0x200000;
  EXPECT_FALSE(header.IsVolume());
  header.depth = 1;
  EXPECT_TRUE(header.IsVolume());
  EXPECT_FALSE(header.IsCubeMap());
  header.caps2 = 0x200;
  EXPECT_TRUE(header.IsCubeMap());
  EXPECT_FALSE(header.IsVolume());
}

TEST(DdsFormatTest, TheAlphaModeIsInTheLowestThreeBits) {
  DdsHeaderDx10 extension;
  EXPECT_FALSE(extension.IsPremultiplied());
  extension.miscFlags2 = 0xFFFFFFFA;
  EXPECT_TRUE(extension.IsPremultiplied());
  extension.miscFlags2 = 3;
  EXPECT_FALSE(extension.IsPremultiplied());
}

}  // namespace
