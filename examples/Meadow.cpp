#include "Meadow.h"

namespace {

// Places run from 0 to 1 over the picture's height, down from the top; x likewise, to the right.

double Lattice(int x, int y) {
  Chance chance(static_cast<std::uint64_t>(x + 4096) * 8192U + static_cast<std::uint64_t>(y + 4096));
  for (int i = 0; i < 3; ++i) (void)chance.Next();
  return chance.Next();
}

double Noise(double x, double y) {
  const int column = static_cast<int>(std::floor(x));
  const int row = static_cast<int>(std::floor(y));
  const double dx = Smooth(0, 1, x - column);
  const double dy = Smooth(0, 1, y - row);
  const double top = (1 - dx) * Lattice(column, row) + dx * Lattice(column + 1, row);
  const double bottom = (1 - dx) * Lattice(column, row + 1) + dx * Lattice(column + 1, row + 1);
  return (1 - dy) * top + dy * bottom;
}

/// Noise of several sizes, 0 to 1.
double Clouds(double x, double y, int octaves) {
  double sum = 0;
  double size = 0.5;
  for (int i = 0; i < octaves; ++i, size /= 2, x = 2 * x + 17, y = 2 * y + 31) sum += size * Noise(x, y);
  return sum;
}

/// The outline of mountains, 0 to 1.
double Peaks(double x) {
  double sum = 0;
  double size = 0.55;
  for (int i = 0; i < 6; ++i, size *= 0.45, x = 2.1 * x + 17)
    sum += size * (1 - std::abs(2 * Noise(x, 0.5) - 1));
  return sum;
}

Vector SkyAt(double x, double y) {
  const Vector low = Mix({0.99, 0.84, 0.66}, {0.90, 0.80, 0.76}, x / 1.5);
  const Vector sky = Mix({0.36, 0.52, 0.74}, low, Smooth(0, 0.5, y));
  const double cloud = Smooth(0.44, 0.72, Clouds(2.2 * x, 7 * y + 2, 5)) * Smooth(0.55, 0.05, y);
  return Mix(sky, {1.0, 0.93, 0.85}, 0.8 * cloud);
}

struct Ridge {
  double base;
  double height;
  double scale;
  Vector colour;
};

// From far to near.
const Ridge kRidges[] = {
    {0.56, 0.38, 2.2, {0.56, 0.58, 0.67}},
    {0.58, 0.23, 3.1, {0.41, 0.47, 0.56}},
    {0.60, 0.13, 5.2, {0.27, 0.36, 0.37}},
};

Vector RidgeAt(const Ridge& ridge, double x, double y, double depth) {
  const double grain = Clouds(14 * x + 5 * y, 22 * y, 4);
  Vector colour = (0.80 + 0.4 * grain) * ridge.colour;
  const bool isHigh = ridge.height > 0.3;
  if (isHigh) colour = Mix({0.97, 0.93, 0.92}, colour, Smooth(0.015, 0.10, depth + 0.12 * (grain - 0.5)));
  return Mix(colour, {0.93, 0.83, 0.74}, 0.55 * Smooth(0, 0.30, depth));  // haze in the valleys
}

Vector MeadowAt(double x, double y) {
  const double far = Smooth(1.0, 0.58, y);
  const double tuft = Clouds(9 * x, 34 * y, 4);
  const Vector near = Mix({0.26, 0.36, 0.12}, {0.52, 0.56, 0.20}, tuft);
  const Vector lit = Mix(near, {0.74, 0.68, 0.34}, 0.55 * Smooth(1.1, 0.0, x) * Smooth(0.35, 0.65, tuft));
  return Mix(lit, {0.66, 0.66, 0.44}, 0.8 * far);
}

Vector ColourAt(double x, double y) {
  Vector colour = SkyAt(x, y);
  int number = 0;
  for (const Ridge& ridge : kRidges) {
    const double top = ridge.base - ridge.height * Peaks(ridge.scale * x + 3 + 7 * number++);
    if (y > top) colour = RidgeAt(ridge, x, y, y - top);
  }
  return y > 0.585 + 0.02 * Noise(3 * x, 9) ? MeadowAt(x, y) : colour;
}

/// Lays a round spot of light, as points far out of focus become.
void LaySpot(Canvas& canvas, double x, double y, double radius, const Vector& colour, double strength) {
  for (int row = std::max(0, static_cast<int>(y - radius - 1));
       row < std::min(canvas.height, static_cast<int>(y + radius + 2)); ++row) {
    for (int column = std::max(0, static_cast<int>(x - radius - 1));
         column < std::min(canvas.width, static_cast<int>(x + radius + 2)); ++column) {
      const double distance = std::hypot(column - x, row - y);
      Vector& pixel = canvas.At(column, row);
      pixel = Mix(pixel, colour, strength * Smooth(radius + 0.7, radius - 0.7, distance));
    }
  }
}

void LayFlowers(Canvas& canvas) {
  const Vector colours[] = {{0.98, 0.90, 0.55}, {0.98, 0.96, 0.92}, {0.93, 0.62, 0.66}, {0.80, 0.68, 0.92}};
  Chance chance(7);
  for (int i = 0; i < 150; ++i) {
    const double near = std::pow(chance.Next(), 0.8);
    const double x = chance.Next() * canvas.width;
    const double y = (0.63 + 0.40 * near) * canvas.height;
    const Vector& colour = colours[static_cast<int>(chance.Next() * 4)];
    LaySpot(canvas, x, y, (0.004 + 0.022 * near) * canvas.height * (0.7 + 0.6 * chance.Next()), colour,
            0.28 + 0.3 * chance.Next());
  }
}

}  // namespace

Canvas Softened(const Canvas& canvas, double width) {
  const int reach = static_cast<int>(std::ceil(3 * width));
  Canvas across = canvas;
  Canvas both = canvas;
  const auto soften = [&](const Canvas& from, Canvas& to, int dx, int dy) {
    for (int row = 0; row < from.height; ++row) {
      for (int column = 0; column < from.width; ++column) {
        Vector sum;
        double weights = 0;
        for (int i = -reach; i <= reach; ++i) {
          const double weight = std::exp(-0.5 * i * i / (width * width));
          sum = sum + weight * from.At(std::clamp(column + i * dx, 0, from.width - 1),
                                       std::clamp(row + i * dy, 0, from.height - 1));
          weights += weight;
        }
        to.At(column, row) = (1 / weights) * sum;
      }
    }
  };
  soften(canvas, across, 1, 0);
  soften(across, both, 0, 1);
  return both;
}

Canvas DrawMeadow(int width, int height) {
  Canvas canvas(width, height);
  for (int row = 0; row < height; ++row) {
    for (int column = 0; column < width; ++column)
      canvas.At(column, row) = ColourAt((column + 0.5) / height, (row + 0.5) / height);
  }
  canvas = Softened(canvas, 1.6);
  LayFlowers(canvas);
  return Softened(canvas, 0.7);
}
