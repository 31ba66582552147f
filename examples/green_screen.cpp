// Draws what a green-screen composite is made of: green_screen PLATE CLEAN BACKGROUND writes a toy bear
// before a green screen, the screen without the bear, and a landscape. `rimage graph` puts them together.
//
// The plate has what makes keying hard: hairs, a hand that moves, green light on the bear, a screen that is
// lit unevenly and ends inside the picture, and grain.
#include "Bear.h"
#include "Drawing.h"
#include "Meadow.h"
#include "module/EntryPointrimage.h"

namespace {

constexpr int kWidth = 432;
constexpr int kHeight = 288;
constexpr double kGrain = 0.012;
constexpr double kCleanGrain = kGrain / 4;  // the clean plate is the mean of 16 pictures
const Vector kScreen{0.13, 0.61, 0.21};

/// Returns the studio behind the bear: the screen, and left of it the wall with a lamp's stand.
Vector StudioAt(double x, double y) {
  const double middle = std::hypot(x - 0.85, y - 0.45);
  const double folds = 0.012 * std::sin(19 * x + 2 * y) + 0.008 * std::sin(41 * x - 3 * y);
  const Vector screen = (1.03 - 0.17 * middle + folds) * kScreen;
  const double edge = 0.085 + 0.012 * y;
  const double stand = Smooth(0.007, 0.003, std::abs(x - 0.045 + 0.006 * y));
  const Vector wall = Mix((0.8 + 0.4 * y) * Vector{0.20, 0.19, 0.21}, {0.5, 0.5, 0.52}, stand);
  return Mix(wall, screen, Smooth(edge - 0.004, edge + 0.004, x));
}

Canvas DrawStudio() {
  Canvas canvas(kWidth, kHeight);
  for (int row = 0; row < kHeight; ++row) {
    for (int column = 0; column < kWidth; ++column)
      canvas.At(column, row) = StudioAt((column + 0.5) / kHeight, (row + 0.5) / kHeight);
  }
  return canvas;
}

Canvas Over(const Film& film, Canvas canvas) {
  for (std::size_t i = 0; i < canvas.pixels.size(); ++i)
    canvas.pixels[i] = film.colours.pixels[i] + (1 - film.cover[i]) * canvas.pixels[i];
  return canvas;
}

void AddGrain(Canvas& canvas, double strength, Chance chance) {
  for (Vector& pixel : canvas.pixels)
    pixel = pixel + strength * Vector{chance.Bell(), 0.8 * chance.Bell(), 1.2 * chance.Bell()};
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  EntryPointrimage(kDllStart);
  constexpr double kLens = 0.45;
  Canvas clean = Softened(DrawStudio(), kLens);
  Canvas plate = Softened(Over(DrawBear(kWidth, kHeight, kScreen), DrawStudio()), kLens);
  AddGrain(plate, kGrain, Chance(1));
  AddGrain(clean, kCleanGrain, Chance(2));
  return Write(plate, argv[1]) && Write(clean, argv[2]) && Write(DrawMeadow(kWidth, kHeight), argv[3], 92)
             ? 0
             : 4;
}
