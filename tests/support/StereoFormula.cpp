#include "support/StereoFormula.h"

#include <algorithm>
#include <cmath>

namespace test {

namespace {

using Colour = std::array<double, 4>;

/// Reads a picture between its pixels, (0, 0) being its lower left corner and (1, 1) the upper right one; the
/// edges go on outside.
Colour ReadBetween(const Picture& picture, double s, double t) {
  const double x = s * picture.width - 0.5;
  const double y = t * picture.height - 0.5;
  const double left = std::floor(x);
  const double bottom = std::floor(y);
  Colour sum{};
  for (const int dx : {0, 1}) {
    for (const int dy : {0, 1}) {
      const double weight = (dx ? x - left : 1 - (x - left)) * (dy ? y - bottom : 1 - (y - bottom));
      const int column = std::clamp(static_cast<int>(left) + dx, 0, picture.width - 1);
      const int row = std::clamp(static_cast<int>(bottom) + dy, 0, picture.height - 1);
      const auto pixel = PixelAt(picture, column, row);
      for (std::size_t i = 0; i < 4; ++i) sum[i] += weight * pixel[i];
    }
  }
  return sum;
}

double Luminance(const Colour& colour) {
  return 0.1140 * colour[0] + 0.5870 * colour[1] + 0.2989 * colour[2];
}

Colour Combine(const StereoSettings& settings, const Colour& left, const Colour& right, int x, int row) {
  switch (settings.mode) {
    case 0:
      return {left[0], right[1], right[2], std::min(left[3] + right[3], 255.0)};
    case 1:
      return {Luminance(left), Luminance(right), Luminance(right), right[3]};
    case 2:
      return (row + settings.yBase) % 2 ? left : right;
    default:
      return (row + settings.yBase + x + settings.xBase) % 2 ? left : right;
  }
}

/// Where a point lies against the divider: 1 inside, 0 outside, -1 too close to an edge to tell.
int InDivider(const StereoSettings& settings, double x, double y) {
  constexpr double kBars[3][4] = {{0.4875, 0.25, 0.5125, 0.75}, {0, 0.25, 1, 0.2625}, {0, 0.7375, 1, 0.75}};
  constexpr double kClose = 1.0 / 64;  // drivers place corners on a grid of at least 1/16 to 1/256 pixel
  bool isClose = false;
  for (const auto& bar : kBars) {
    const double distances[] = {x - bar[0] * settings.width, bar[2] * settings.width - x,
                                y - bar[1] * settings.height, bar[3] * settings.height - y};
    const double least = *std::min_element(std::begin(distances), std::end(distances));
    if (least >= kClose) return 1;
    isClose = isClose || std::abs(least) < kClose;
  }
  return isClose ? -1 : 0;
}

StereoPixel SideBySide(const StereoSettings& settings, const Picture& first, const Picture& second, int x,
                       int y) {
  StereoPixel pixel;
  const int inDivider = InDivider(settings, x + 0.5, settings.height - y - 0.5);
  pixel.isKnown = inDivider >= 0;
  const double shade = settings.isDividerWhite ? 255 : 0;
  if (inDivider > 0) {
    pixel.rgba = {shade, shade, shade, 255};
    return pixel;
  }
  for (std::size_t i = 0; i < 4; ++i) pixel.rgba[i] = 255 * settings.background[i];
  const int width = settings.width / 2;
  const int height = settings.height / 2;
  const int bottom = settings.height / 4;
  if (y < bottom || y >= bottom + height || x >= 2 * width) return pixel;
  const Picture& picture = x < width ? first : second;
  pixel.rgba = ReadBetween(picture, (x % width + 0.5) / width, (y - bottom + 0.5) / height);
  pixel.rgba[3] = 0;
  return pixel;
}

}  // namespace

StereoPixel ExpectedStereoPixel(const StereoSettings& settings, const Picture& left, const Picture& right,
                                int x, int y) {
  if (settings.mode == 4) return SideBySide(settings, left, right, x, y);
  if (settings.mode == 5) return SideBySide(settings, right, left, x, y);
  const double s = (x + 0.5) / settings.width;
  const double t = (y + 0.5) / settings.height;
  return {Combine(settings, ReadBetween(left, s, t), ReadBetween(right, s, t), x, settings.height - 1 - y),
          true};
}

testing::AssertionResult IsStereo(const StereoSettings& settings, const Picture& left, const Picture& right,
                                  const Picture& result, double tolerance, double* largest) {
  if (result.width != settings.width || result.height != settings.height)
    return testing::AssertionFailure() << "the size is " << result.width << " x " << result.height;
  double worst = 0;
  int unknown = 0;
  for (int y = 0; y < settings.height; ++y) {
    for (int x = 0; x < settings.width; ++x) {
      const StereoPixel expected = ExpectedStereoPixel(settings, left, right, x, y);
      const auto actual = PixelAt(result, x, y);
      unknown += !expected.isKnown;
      for (std::size_t i = 0; expected.isKnown && i < 4; ++i) {
        const double error = std::abs(actual[i] - std::round(expected.rgba[i]));
        worst = std::max(worst, error);
        if (largest) *largest = std::max(*largest, std::abs(actual[i] - expected.rgba[i]));
        if (error <= tolerance) continue;
        return testing::AssertionFailure() << "channel " << i << " at (" << x << ", " << y << ") is "
                                           << int{actual[i]} << " instead of " << expected.rgba[i];
      }
    }
  }
  // Pictures whose every pixel is in doubt would prove nothing.
  if (2 * unknown > settings.width * settings.height + 1)
    return testing::AssertionFailure() << unknown << " pixels could not be judged";
  return testing::AssertionSuccess() << "largest difference " << worst;
}

}  // namespace test
