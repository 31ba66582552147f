// Hue, saturation and brightness.
#include <algorithm>
#include <array>
#include <numeric>

#include "image/RImage.h"

const float kHueColor[7][4] = {{1, 0, 0, 0}, {1, 1, 0, 0}, {0, 1, 0, 0}, {0, 1, 1, 0},
                               {0, 0, 1, 0}, {1, 0, 1, 0}, {1, 0, 0, 0}};
const double kDoubleHueColor[7][4] = {{1, 0, 0, 0}, {1, 1, 0, 0}, {0, 1, 0, 0}, {0, 1, 1, 0},
                                      {0, 0, 1, 0}, {1, 0, 1, 0}, {1, 0, 0, 0}};

namespace {

constexpr int kSegments = 6;

template <class Real>
void HSBToRGB(const Real (&corners)[kSegments + 1][4], Real hue, Real saturation, Real brightness,
              Real* rgb) {
  // A hue that is no number compares false and counts as 0.
  const Real position = (hue > 0 ? std::min(hue, Real{1}) : Real{0}) * kSegments;
  const int segment = std::min(static_cast<int>(position), kSegments - 1);
  const Real fraction = position - static_cast<Real>(segment);
  for (int i = 0; i < 3; ++i) {
    const Real colour = (1 - fraction) * corners[segment][i] + fraction * corners[segment + 1][i];
    rgb[i] = ((1 - colour) * (1 - saturation) + colour) * brightness;
  }
}

using Channels = std::array<double, 3>;

// Stretches the channels so that the largest is 1 and the smallest 0: the colour's place on the hue circle.
Channels Saturate(const Channels& channels, double saturation) {
  std::array<std::size_t, 3> order{};
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return channels[a] > channels[b]; });
  Channels stretched{};
  stretched[order[0]] = 1;
  stretched[order[1]] = (channels[order[1]] - 1 + saturation) / std::max(saturation, 1e-9);
  stretched[order[2]] = 0;
  return stretched;
}

bool LiesInSegment(const Channels& channels, int segment) {
  for (std::size_t i = 0; i < channels.size(); ++i) {
    const auto [low, high] = std::minmax(kDoubleHueColor[segment][i], kDoubleHueColor[segment + 1][i]);
    if (!(low <= channels[i] && channels[i] <= high)) return false;
  }
  return true;
}

// Returns the place within a segment, 0 to 1: that of the one channel which changes along it.
double PlaceInSegment(const Channels& channels, int segment) {
  for (std::size_t i = 0; i < channels.size(); ++i) {
    const double from = kDoubleHueColor[segment][i];
    const double to = kDoubleHueColor[segment + 1][i];
    if (std::max(from - to, to - from) > 0.00001) return (channels[i] - from) / (to - from);
  }
  return 0;
}

double FindHue(const Channels& channels) {
  for (int segment = 0; segment < kSegments; ++segment) {
    if (LiesInSegment(channels, segment)) return (segment + PlaceInSegment(channels, segment)) / kSegments;
  }
  return 0;
}

}  // namespace

void GetHSBToRGBColor(float hue, float saturation, float brightness, float* rgb) {
  HSBToRGB(kHueColor, hue, saturation, brightness, rgb);
}

void GetHSBToRGBColor(double hue, double saturation, double brightness, double* rgb) {
  HSBToRGB(kDoubleHueColor, hue, saturation, brightness, rgb);
}

// NOLINTNEXTLINE(readability-non-const-parameter): the host passes its colours this way
void GetRGBToHSBColor(double* rgb, double* hsb) {
  Channels channels{rgb[0], rgb[1], rgb[2]};
  // The floor keeps black from dividing by zero; it comes out fully saturated.
  const double brightness = std::max(*std::max_element(channels.begin(), channels.end()), 1e-12);
  for (double& channel : channels) channel /= brightness;
  const double saturation = 1 - *std::min_element(channels.begin(), channels.end());
  hsb[0] = FindHue(Saturate(channels, saturation));
  hsb[1] = saturation;
  hsb[2] = brightness;
}
