// Every triple of components and every colour, against the arithmetic written down in the test.
#include <gtest/gtest.h>

#include <array>

#include "streams/YuvFormat.h"
#include "support/YuvReference.h"

namespace {

// A line has 360 even and 360 odd pixels: the 256 values of Y stand at both.
TEST(YuvLinesExhaustiveTest, EveryTripleGivesTheDefinedPixel) {
  std::array<unsigned char, kYuvLineBytes> line;
  std::array<unsigned char, kYuvRowBytes> pixels;
  for (int c1 = 0; c1 < 256; ++c1) {
    for (int c2 = 0; c2 < 256; ++c2) {
      for (std::size_t i = 0; i < 360; ++i) {
        const auto y = static_cast<unsigned char>(i);
        line[4 * i] = static_cast<unsigned char>(c1);
        line[4 * i + 1] = y;
        line[4 * i + 2] = static_cast<unsigned char>(c2);
        line[4 * i + 3] = static_cast<unsigned char>(255 - y);
      }
      RYuvToPixels(line, pixels);
      for (std::size_t x = 0; x < 512; ++x) {
        const int y = line[2 * x + 1];
        const test::YuvPixel expected = test::ReferencePixel(y, c1, c2);
        const test::YuvPixel actual = {pixels[3 * x], pixels[3 * x + 1], pixels[3 * x + 2]};
        ASSERT_EQ(actual, expected) << "Y " << y << " C1 " << c1 << " C2 " << c2 << " at " << x;
      }
    }
  }
}

// The colours stand at even pixels, which give all components, in steps of 360; the odd pixels between them
// have the same colours in reverse.
TEST(YuvLinesExhaustiveTest, EveryColourGivesTheDefinedComponents) {
  constexpr unsigned kColours = 1U << 24;
  std::array<unsigned char, kYuvRowBytes> pixels;
  std::array<unsigned char, kYuvLineBytes> line;
  const auto put = [&](std::size_t x, unsigned colour) {
    for (std::size_t i = 0; i < 3; ++i) pixels[3 * x + i] = static_cast<unsigned char>(colour >> (8 * i));
  };
  for (unsigned first = 0; first < kColours; first += 360) {
    for (unsigned i = 0; i < 360; ++i) {
      put(2 * std::size_t{i}, (first + i) % kColours);
      put(2 * std::size_t{i} + 1, (kColours - 1 - first - i) % kColours);
    }
    RPixelsToYuv(pixels, line);
    for (std::size_t x = 0; x < 720; ++x) {
      const int red = pixels[3 * x];
      const int green = pixels[3 * x + 1];
      const int blue = pixels[3 * x + 2];
      const test::YuvPixel expected = test::ReferenceComponents(red, green, blue);
      ASSERT_EQ(line[2 * x + 1], expected[0]) << red << ' ' << green << ' ' << blue;
      if (x % 2 != 0) continue;
      ASSERT_EQ(line[2 * x], expected[1]) << red << ' ' << green << ' ' << blue;
      ASSERT_EQ(line[2 * x + 2], expected[2]) << red << ' ' << green << ' ' << blue;
    }
  }
}

}  // namespace
