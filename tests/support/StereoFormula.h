// Stereo pictures by their formula, written apart from the code under test.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "support/BlendFormula.h"

namespace test {

/// How two views are put together.
struct StereoSettings {
  int mode = 0;
  int xBase = 0;
  int yBase = 0;
  int width = 0;
  int height = 0;
  std::array<double, 4> background{};  ///< what is there before, 0 to 1
  bool isDividerWhite = true;
};

/// A pixel that a picture should have, 0 to 255 a channel; `isKnown` is false where a divider's edge runs
/// through its centre, so that the driver chooses the side.
struct StereoPixel {
  std::array<double, 4> rgba{};
  bool isKnown = true;
};

/// Returns the pixel at (x, y), counted from the lower left corner.
StereoPixel ExpectedStereoPixel(const StereoSettings& settings, const Picture& left, const Picture& right,
                                int x, int y);

/// Compares a picture, the bottom row first, with the formula's values rounded to bytes; no channel may
/// differ by more than `tolerance`. `largest` is raised to the largest difference from the formula's values
/// as they are, in 255ths.
testing::AssertionResult IsStereo(const StereoSettings& settings, const Picture& left, const Picture& right,
                                  const Picture& result, double tolerance = 1, double* largest = nullptr);

}  // namespace test
