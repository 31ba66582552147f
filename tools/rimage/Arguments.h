// Reading the values that options take.
#pragma once

#include <array>
#include <optional>
#include <string_view>

struct Size {
  int width = 0;
  int height = 0;
};

struct Offset {
  int x = 0;
  int y = 0;
  bool wrap = false;
};

/// Red, green, blue, alpha; straight.
using Colour = std::array<unsigned char, 4>;

// Each returns nothing when the text is anything else.

/// "WxH", both above 0.
std::optional<Size> ParseSize(std::string_view text);
/// "X,Y" or "X,Y,wrap".
std::optional<Offset> ParseOffset(std::string_view text);
/// "#RRGGBB", "#RRGGBBAA" or a colour name as in SVG, also "transparent".
std::optional<Colour> ParseColour(std::string_view text);
/// A number from 0 to 1.
std::optional<float> ParseFraction(std::string_view text);
