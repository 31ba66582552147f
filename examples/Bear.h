// A toy bear before a coloured screen, drawn by following rays.
#pragma once

#include <vector>

#include "Drawing.h"

/// A picture with coverage, row by row from the top; colours are multiplied with it.
struct Film {
  Film(int width, int height) : colours(width, height), cover(colours.pixels.size(), 0) {}

  Canvas colours;
  std::vector<double> cover;
};

/// Draws the bear, which waves while the shutter is open. What the screen sheds on it is in its colours.
Film DrawBear(int width, int height, const Vector& screen);
