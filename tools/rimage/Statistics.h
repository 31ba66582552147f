// Numbers about pixels.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>

#include "Picture.h"

inline constexpr std::array kChannelNames = {"red", "green", "blue", "alpha"};

struct ChannelStatistics {
  int least = 255;
  int most = 0;
  double mean = 0;
};

/// Returns the statistics of red, green, blue and alpha over all layers, as the picture stores them; alpha
/// counts as 255 where there is none. The picture has at least one pixel.
std::array<ChannelStatistics, 4> MeasureChannels(const Picture& picture);

using Pixel = std::array<unsigned char, 4>;

/// A place where two pictures differ.
struct Difference {
  int layer = 0;
  int x = 0;  ///< from the left
  int y = 0;  ///< from the top
  Pixel a{};
  Pixel b{};
  int amount = 0;  ///< the largest difference of a channel
};

struct ChannelDifference {
  int most = 0;
  double mean = 0;             ///< of the absolute differences
  std::optional<double> psnr;  ///< in dB against the peak of 255; nothing for equal channels
};

/// How two pictures of one size differ.
struct Comparison {
  std::array<ChannelDifference, 4> channels;
  std::int64_t pixels = 0;
  std::int64_t different = 0;       ///< pixels with a channel beyond the tolerance
  std::optional<Difference> first;  ///< the first one, row by row from the top left
  std::optional<Difference>
      worst;  ///< the pixel with the largest difference; nothing when there is none at all
};

/// Called for each row with the largest channel difference of each of its pixels; `y` counts from the top.
using RowSink = std::function<void(int layer, int y, std::span<const unsigned char> amounts)>;

/// Compares two pictures of the same size and depth, channel by channel as they are stored.
Comparison Compare(const Picture& a, const Picture& b, int tolerance, const RowSink& sink);
