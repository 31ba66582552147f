// Draws one scene from two eyes: stereo_pair LEFT RIGHT writes the two views, which `rimage stereo` puts
// together.
//
// Spheres stand on a floor of squares. Every pixel follows four rays from the eye into the scene.
#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "Drawing.h"
#include "module/EntryPointrimage.h"

namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 240;
constexpr double kEyeDistance = 0.3;
constexpr double kScreen = 6;  // what is this far away has the same place in both views

struct Sphere {
  Vector centre;
  double radius;
  Vector colour;
};

constexpr std::array kSpheres{
    Sphere{{0, 0, 6}, 1, {0.85, 0.3, 0.25}}, Sphere{{-1.7, -0.4, 4.6}, 0.6, {0.25, 0.6, 0.85}},
    Sphere{{1.3, -0.65, 3.9}, 0.35, {0.95, 0.8, 0.3}}, Sphere{{2.6, 0.2, 9}, 1.2, {0.4, 0.75, 0.4}},
    Sphere{{-3.2, 0.5, 11}, 1.5, {0.7, 0.5, 0.85}}};
const Vector kLight = Normalized({-0.5, 0.8, -0.45});

/// Returns how far a ray goes before it meets the sphere, if it does.
std::optional<double> Meet(const Sphere& sphere, const Vector& from, const Vector& direction) {
  const Vector offset = from - sphere.centre;
  const double half = Dot(offset, direction);
  const double square = half * half - Dot(offset, offset) + sphere.radius * sphere.radius;
  if (square < 0) return std::nullopt;
  const double distance = -half - std::sqrt(square);
  return distance > 1e-6 ? std::optional(distance) : std::nullopt;
}

bool IsLit(const Vector& place) {
  return std::none_of(kSpheres.begin(), kSpheres.end(),
                      [&](const Sphere& sphere) { return Meet(sphere, place, kLight).has_value(); });
}

Vector Shade(const Vector& place, const Vector& normal, const Vector& colour) {
  const double light = IsLit(place) ? std::max(Dot(normal, kLight), 0.0) : 0;
  return (0.25 + 0.75 * light) * colour;
}

Vector Sky(const Vector& direction) {
  return Vector{0.55, 0.7, 0.9} + std::clamp(direction.y * 2, 0.0, 1.0) * Vector{-0.3, -0.3, -0.15};
}

/// Returns the colour that a ray finds.
Vector Trace(const Vector& from, const Vector& direction) {
  const Sphere* nearest = nullptr;
  double distance = direction.y < 0 ? (-1 - from.y) / direction.y : 1e9;  // the floor
  const bool meetsFloor = direction.y < 0;
  for (const Sphere& sphere : kSpheres) {
    const auto met = Meet(sphere, from, direction);
    if (!met || *met >= distance) continue;
    nearest = &sphere;
    distance = *met;
  }
  const Vector place = from + distance * direction;
  if (nearest) return Shade(place, (1 / nearest->radius) * (place - nearest->centre), nearest->colour);
  if (!meetsFloor || distance > 60) return Sky(direction);
  const bool isDark =
      (static_cast<long>(std::floor(place.x)) + static_cast<long>(std::floor(place.z))) % 2 != 0;
  return Shade(place, {0, 1, 0}, isDark ? Vector{0.3, 0.32, 0.38} : Vector{0.9, 0.88, 0.82});
}

/// Returns the ray's direction through a point of the screen, whose middle stays between both eyes.
Vector Through(double eye, double column, double row) {
  const double scale = 1.6 / kWidth;
  const Vector target{(column - kWidth / 2.0) * scale * kScreen, (kHeight / 2.0 - row) * scale * kScreen,
                      kScreen};
  return Normalized(target - Vector{eye, 0, 0});
}

bool WriteView(double eye, const char* path) {
  Canvas view(kWidth, kHeight);
  for (int row = 0; row < kHeight; ++row) {
    for (int column = 0; column < kWidth; ++column) {
      Vector sum;
      for (const double dx : {0.25, 0.75}) {
        for (const double dy : {0.25, 0.75})
          sum = sum + Trace({eye, 0, 0}, Through(eye, column + dx, row + dy));
      }
      view.At(column, row) = 0.25 * sum;
    }
  }
  return Write(view, path);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  EntryPointrimage(kDllStart);
  return WriteView(-kEyeDistance / 2, argv[1]) && WriteView(kEyeDistance / 2, argv[2]) ? 0 : 4;
}
