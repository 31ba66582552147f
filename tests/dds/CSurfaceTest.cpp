#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "dds/nv_dds.h"

namespace {

using nv_dds::CSurface;
using nv_dds::CTexture;

TEST(CSurface, StartsEmpty) {
  CSurface surface;
  EXPECT_EQ(static_cast<char*>(surface), nullptr);
  EXPECT_EQ(surface.get_width(), 0);
  EXPECT_EQ(surface.get_height(), 0);
  EXPECT_EQ(surface.get_depth(), 0);
  EXPECT_EQ(surface.get_size(), 0);
  EXPECT_EQ(surface.get_maxDimension(), 0);
  EXPECT_FALSE(surface.get_isFloat());
}

TEST(CSurface, CreateMakesZeroedPixels) {
  CSurface surface;
  ASSERT_TRUE(surface.create(3, 5, 2, 120, true));
  EXPECT_EQ(surface.get_width(), 3);
  EXPECT_EQ(surface.get_height(), 5);
  EXPECT_EQ(surface.get_depth(), 2);
  EXPECT_EQ(surface.get_size(), 120);
  EXPECT_TRUE(surface.get_isFloat());
  const char* pixels = surface;
  for (int i = 0; i < 120; ++i) EXPECT_EQ(pixels[i], 0);
}

TEST(CSurface, CreateReplacesWhatWasThere) {
  CSurface surface(4, 4, 1, 64, false);
  std::memset(surface, 7, 64);
  ASSERT_TRUE(surface.create(2, 2, 1, 16, false));
  EXPECT_EQ(surface.get_size(), 16);
  EXPECT_EQ(static_cast<char*>(surface)[0], 0);
}

TEST(CSurface, CreateOfNegativeSizeLeavesAnEmptySurface) {
  CSurface surface(4, 4, 1, 64, false);
  EXPECT_FALSE(surface.create(4, 4, 1, -1, false));
  EXPECT_EQ(static_cast<char*>(surface), nullptr);
  EXPECT_EQ(surface.get_size(), 0);
}

TEST(CSurface, ClearFreesThePixels) {
  CSurface surface(4, 4, 1, 64, true);
  surface.clear();
  EXPECT_EQ(static_cast<char*>(surface), nullptr);
  EXPECT_EQ(surface.get_size(), 0);
}

TEST(CSurface, CopiesHavePixelsOfTheirOwn) {
  CSurface surface(2, 1, 1, 8, true);
  std::memcpy(surface, "abcdefg", 8);
  CSurface copy(surface);
  CSurface assigned(9, 9, 9, 9, false);
  assigned = surface;
  std::memset(surface, 0, 8);
  EXPECT_STREQ(static_cast<char*>(copy), "abcdefg");
  EXPECT_STREQ(static_cast<char*>(assigned), "abcdefg");
  EXPECT_EQ(assigned.get_width(), 2);
  EXPECT_EQ(assigned.get_depth(), 1);
  EXPECT_TRUE(assigned.get_isFloat());
}

TEST(CSurface, AssignmentToItselfKeepsThePixels) {
  CSurface surface(2, 1, 1, 8, false);
  std::memcpy(surface, "abcdefg", 8);
  const CSurface& itself = surface;
  surface = itself;
  EXPECT_STREQ(static_cast<char*>(surface), "abcdefg");
}

TEST(CSurface, MaxDimensionIsTheLargestOfThree) {
  EXPECT_EQ(CSurface(3, 2, 1, 1, false).get_maxDimension(), 3);
  EXPECT_EQ(CSurface(2, 3, 1, 1, false).get_maxDimension(), 3);
  EXPECT_EQ(CSurface(1, 2, 3, 1, false).get_maxDimension(), 3);
}

TEST(CSurface, ADerivedTextureIsDestroyedThroughTheBase) {
  std::unique_ptr<CSurface> surface = std::make_unique<CTexture>(2, 2, 1, 16, false);
  EXPECT_EQ(surface->get_size(), 16);  // the leak checker sees the rest
}

TEST(CTexture, CopiesTheChain) {
  CTexture texture(4, 2, 1, 32, false);
  texture.add_mipmap(CSurface(2, 1, 1, 8, false));
  texture.add_mipmap(CSurface(1, 1, 1, 4, false));
  std::memcpy(texture.get_mipmap(1), "xyz", 4);
  CTexture copy(texture);
  CTexture assigned;
  assigned = texture;
  static_cast<char*>(texture.get_mipmap(1))[0] = 0;
  for (CTexture* other : {&copy, &assigned}) {
    EXPECT_EQ(other->get_width(), 4);
    ASSERT_EQ(other->get_num_mipmaps(), 2);
    EXPECT_EQ(other->get_mipmap(0).get_width(), 2);
    EXPECT_STREQ(static_cast<char*>(other->get_mipmap(1)), "xyz");
  }
}

TEST(CTexture, StartsWithoutMipmaps) {
  EXPECT_EQ(CTexture().get_num_mipmaps(), 0);
  EXPECT_EQ(CTexture(4, 4, 1, 64, true).get_num_mipmaps(), 0);
}

}  // namespace
