#include "Statistics.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

Pixel PixelAt(std::span<const unsigned char> row, std::size_t x) {
  return {row[4 * x], row[4 * x + 1], row[4 * x + 2], row[4 * x + 3]};
}

// Sums over all pixels: 2^31 pixels times 255^2 fit easily.
struct Sums {
  std::array<std::uint64_t, 4> absolute{};
  std::array<std::uint64_t, 4> squared{};
};

// Returns the largest difference of a channel.
int AddPixel(const Pixel& a, const Pixel& b, Sums& sums, Comparison& result) {
  int most = 0;
  for (std::size_t c = 0; c < 4; ++c) {
    const int amount = std::abs(a[c] - b[c]);
    sums.absolute[c] += static_cast<std::uint64_t>(amount);
    sums.squared[c] += static_cast<std::uint64_t>(amount) * static_cast<std::uint64_t>(amount);
    result.channels[c].most = std::max(result.channels[c].most, amount);
    most = std::max(most, amount);
  }
  return most;
}

void Finish(const Sums& sums, Comparison& result) {
  const auto pixels = static_cast<double>(result.pixels);
  for (std::size_t c = 0; c < 4; ++c) {
    result.channels[c].mean = static_cast<double>(sums.absolute[c]) / pixels;
    if (sums.squared[c] == 0) continue;
    const double meanSquare = static_cast<double>(sums.squared[c]) / pixels;
    result.channels[c].psnr = 10 * std::log10(255.0 * 255.0 / meanSquare);
  }
}

}  // namespace

std::array<ChannelStatistics, 4> MeasureChannels(const Picture& picture) {
  RImage& image = *picture.image;
  std::array<ChannelStatistics, 4> channels;
  std::array<std::uint64_t, 4> sums{};
  RgbaRows rows(picture);
  for (int layer = 0; layer < image.GetDepth(); ++layer) {
    for (int y = 0; y < image.GetHeight(); ++y) {
      const auto row = rows.Row(layer, y);
      for (std::size_t i = 0; i < row.size(); ++i) {
        ChannelStatistics& channel = channels[i % 4];
        channel.least = std::min<int>(channel.least, row[i]);
        channel.most = std::max<int>(channel.most, row[i]);
        sums[i % 4] += row[i];
      }
    }
  }
  const double pixels = static_cast<double>(image.GetWidth()) * image.GetHeight() * image.GetDepth();
  for (std::size_t c = 0; c < 4; ++c) channels[c].mean = static_cast<double>(sums[c]) / pixels;
  return channels;
}

Comparison Compare(const Picture& a, const Picture& b, int tolerance, const RowSink& sink) {
  RImage& image = *a.image;
  const auto width = static_cast<std::size_t>(image.GetWidth());
  RgbaRows rowsOfA(a);
  RgbaRows rowsOfB(b);
  std::vector<unsigned char> amounts(width);
  Comparison result;
  Sums sums;
  for (int layer = 0; layer < image.GetDepth(); ++layer) {
    for (int y = 0; y < image.GetHeight(); ++y) {
      const auto rowOfA = rowsOfA.Row(layer, y);
      const auto rowOfB = rowsOfB.Row(layer, y);
      for (std::size_t x = 0; x < width; ++x) {
        Difference here{layer, static_cast<int>(x), y, PixelAt(rowOfA, x), PixelAt(rowOfB, x)};
        here.amount = AddPixel(here.a, here.b, sums, result);
        amounts[x] = static_cast<unsigned char>(here.amount);
        if (here.amount > tolerance && result.different++ == 0) result.first = here;
        if (here.amount > (result.worst ? result.worst->amount : 0)) result.worst = here;
      }
      sink(layer, y, amounts);
    }
  }
  result.pixels = static_cast<std::int64_t>(width) * image.GetHeight() * image.GetDepth();
  Finish(sums, result);
  return result;
}
