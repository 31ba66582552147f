#include "Bear.h"

#include <array>
#include <optional>

namespace {

constexpr double kEye = 7;               // the camera's distance
constexpr double kPixels = 137.0 / 288;  // of the height, for one unit at the bear
constexpr int kFine = 2;                 // film pixels for one of the picture, each way
constexpr int kMoments = 6;              // of the shutter
constexpr double kHairs = 9000;          // on one square unit

const Vector kFur{0.60, 0.38, 0.20};
const Vector kLightFur{0.88, 0.72, 0.52};
const Vector kWool{0.72, 0.12, 0.13};
const Vector kBlack{0.035, 0.03, 0.035};

enum class Finish { kHair, kStripes, kGloss };

/// An ellipsoid, turned in the picture's plane.
struct Part {
  Vector centre;
  Vector radii;
  double turn;
  Vector colour;
  Finish finish;
  double hair;  // length
  bool waves;
};

// From back to front.
const std::array kParts{
    Part{{-0.46, 0.70, -0.10}, {0.20, 0.20, 0.12}, 0, kFur, Finish::kHair, 0.075, false},
    Part{{0.46, 0.70, -0.10}, {0.20, 0.20, 0.12}, 0, kFur, Finish::kHair, 0.075, false},
    Part{{-0.45, 0.69, 0.00}, {0.12, 0.12, 0.06}, 0, kLightFur, Finish::kHair, 0.04, false},
    Part{{0.45, 0.69, 0.00}, {0.12, 0.12, 0.06}, 0, kLightFur, Finish::kHair, 0.04, false},
    Part{{0.00, -0.98, -0.05}, {0.66, 0.72, 0.50}, 0, kFur, Finish::kHair, 0.09, false},
    Part{{0.00, -1.02, 0.20}, {0.43, 0.50, 0.31}, 0, kLightFur, Finish::kHair, 0.05, false},
    Part{{-0.66, -0.82, 0.08}, {0.19, 0.46, 0.20}, -0.22, kFur, Finish::kHair, 0.085, false},
    Part{{0.74, -0.20, 0.10}, {0.17, 0.44, 0.17}, -0.62, kFur, Finish::kHair, 0.085, true},
    Part{{1.00, 0.18, 0.20}, {0.20, 0.20, 0.16}, 0, kFur, Finish::kHair, 0.075, true},
    Part{{1.00, 0.18, 0.33}, {0.11, 0.12, 0.06}, 0, kLightFur, Finish::kHair, 0.03, true},
    Part{{0.00, 0.22, 0.00}, {0.60, 0.54, 0.53}, 0, kFur, Finish::kHair, 0.085, false},
    Part{{0.00, -0.31, 0.05}, {0.49, 0.14, 0.43}, 0.03, kWool, Finish::kStripes, 0.03, false},
    Part{{0.13, -0.56, 0.44}, {0.115, 0.25, 0.07}, -0.22, kWool, Finish::kStripes, 0.03, false},
    Part{{0.27, -0.62, 0.40}, {0.12, 0.31, 0.07}, 0.20, kWool, Finish::kStripes, 0.03, false},
    Part{{0.00, 0.07, 0.45}, {0.25, 0.20, 0.21}, 0, kLightFur, Finish::kHair, 0.04, false},
    Part{{0.00, 0.055, 0.652}, {0.014, 0.060, 0.045}, 0, kBlack, Finish::kGloss, 0, false},
    Part{{-0.056, -0.010, 0.650}, {0.066, 0.017, 0.050}, -0.42, kBlack, Finish::kGloss, 0, false},
    Part{{0.056, -0.010, 0.650}, {0.066, 0.017, 0.050}, 0.42, kBlack, Finish::kGloss, 0, false},
    Part{{0.00, 0.15, 0.64}, {0.090, 0.062, 0.055}, 0, kBlack, Finish::kGloss, 0, false},
    Part{{-0.22, 0.32, 0.475}, {0.068, 0.074, 0.055}, 0, kBlack, Finish::kGloss, 0, false},
    Part{{0.22, 0.32, 0.475}, {0.068, 0.074, 0.055}, 0, kBlack, Finish::kGloss, 0, false},
};
constexpr Vector kPlace{0.12, -0.02, 0};     // of the bear in the picture
constexpr Vector kShoulder{0.48, -0.52, 0};  // around which the arm waves
const Vector kLamp = Normalized({-0.6, 0.7, 0.62});
const Vector kBackLamp = Normalized({0.75, 0.45, -0.6});

Vector Turned(const Vector& v, double cosine, double sine) {
  return {cosine * v.x - sine * v.y, sine * v.x + cosine * v.y, v.z};
}

/// A part in its place, where it is the unit sphere to itself.
class Body {
 public:
  explicit Body(const Part& part) : mPart(part), mCosine(std::cos(part.turn)), mSine(std::sin(part.turn)) {}

  const Part& Get() const { return mPart; }
  Vector ToSphere(const Vector& place) const { return DirectionToSphere(place - mPart.centre); }
  Vector DirectionToSphere(const Vector& v) const { return Turned(v, mCosine, -mSine) / mPart.radii; }
  Vector FromSphere(const Vector& v) const { return mPart.centre + Turned(v * mPart.radii, mCosine, mSine); }
  /// Returns the direction away from the surface.
  Vector NormalAt(const Vector& sphere) const {
    return Normalized(Turned(sphere / mPart.radii, mCosine, mSine));
  }

 private:
  Part mPart;
  double mCosine;
  double mSine;
};

using Scene = std::vector<Body>;

/// Returns the bear at a moment of the shutter, -1/2 to 1/2.
Scene SceneAt(double moment) {
  Scene scene;
  const double angle = 0.11 * moment;
  for (Part part : kParts) {
    if (part.waves) {
      part.centre = kShoulder + Turned(part.centre - kShoulder, std::cos(angle), std::sin(angle));
      part.turn += angle;
    }
    part.centre = part.centre + kPlace;
    scene.emplace_back(part);
  }
  return scene;
}

/// Returns how far a ray goes before it meets the body, if it does.
std::optional<double> Meet(const Body& body, const Vector& from, const Vector& direction) {
  const Vector offset = body.ToSphere(from);
  const Vector step = body.DirectionToSphere(direction);
  const double square = Dot(step, step);
  const double half = Dot(offset, step);
  const double root = half * half - square * (Dot(offset, offset) - 1);
  if (root < 0) return std::nullopt;
  const double distance = (-half - std::sqrt(root)) / square;
  return distance > 1e-4 ? std::optional(distance) : std::nullopt;
}

bool IsOpen(const Scene& scene, const Vector& from, const Vector& direction, double far) {
  return std::none_of(scene.begin(), scene.end(), [&](const Body& body) {
    const auto met = Meet(body, from, direction);
    return met && *met < far;
  });
}

// --- Light.

/// Returns the light that reaches a place; hair lets some of it round the bend.
Vector LightAt(const Scene& scene, const Vector& place, const Vector& normal, Chance& chance) {
  constexpr double kBend = 0.3;
  const Vector from = place + 0.02 * normal;
  const Vector lamp = Normalized(kLamp + 0.16 * chance.Direction());
  const double open = IsOpen(scene, from, lamp, 9) ? 1 : 0;
  double sky = 0;
  constexpr int kProbes = 3;
  for (int i = 0; i < kProbes; ++i) {
    const Vector probe = Normalized(normal + 0.95 * chance.Direction());
    if (IsOpen(scene, from, probe, 0.7)) sky += 1.0 / kProbes;
  }
  const double front = std::max((Dot(normal, kLamp) + kBend) / (1 + kBend), 0.0) * open;
  const double back = std::max(Dot(normal, kBackLamp), 0.0);
  return front * Vector{1.02, 0.95, 0.84} + back * Vector{0.42, 0.42, 0.44} +
         (0.25 + 0.75 * sky) * Mix({0.20, 0.17, 0.15}, {0.38, 0.40, 0.45}, 0.5 + 0.5 * normal.y);
}

/// Returns what the screen sheds on a surface, the more the further it is turned towards the screen.
Vector SpillAt(const Vector& normal, const Vector& screen) {
  return (0.04 + 0.8 * std::pow(0.5 - 0.5 * normal.z, 1.6)) * screen;
}

Vector ColourOf(const Part& part, const Vector& sphere) {
  if (part.finish != Finish::kStripes) return part.colour;
  const double along = part.radii.x > part.radii.y ? 2.3 * std::atan2(sphere.x, sphere.z) : 3.4 * sphere.y;
  const double wave = std::sin(2.2 * along);
  return Mix(part.colour, {0.90, 0.84, 0.74}, Smooth(0.55, 0.75, wave));
}

Vector Shade(const Scene& scene, const Body& body, const Vector& place, const Vector& screen,
             Chance& chance) {
  const Vector sphere = body.ToSphere(place);
  const Vector normal = body.NormalAt(sphere);
  const Vector colour = ColourOf(body.Get(), sphere);
  const Vector light = LightAt(scene, place, normal, chance);
  const Vector spill = SpillAt(normal, screen);
  if (body.Get().finish != Finish::kGloss)
    return colour * light + (0.35 * colour + Vector{0.3, 0.3, 0.3}) * spill;
  const Vector half = Normalized(kLamp + Vector{0, 0, 1});
  const double shine = std::pow(std::max(Dot(normal, half), 0.0), 90);
  return colour * light + 0.9 * shine * Vector{1, 1, 1} + 0.2 * spill;
}

// --- One moment on film.

struct Exposure {
  Exposure(int width, int height) : film(width, height), depths(film.cover.size(), 1e9) {}

  Film film;
  std::vector<double> depths;  // from the camera
};

double PixelsAt(const Canvas& canvas, double depth) { return kPixels * canvas.height * kEye / depth; }

void ExposeSurface(const Scene& scene, const Vector& screen, Chance& chance, Exposure& exposure) {
  Canvas& canvas = exposure.film.colours;
  const double scale = 1 / PixelsAt(canvas, 1);
  for (int row = 0; row < canvas.height; ++row) {
    for (int column = 0; column < canvas.width; ++column) {
      const double x = column + chance.Next() - canvas.width / 2.0;
      const double y = canvas.height / 2.0 - row - chance.Next();
      const Vector direction{x * scale, y * scale, -1};
      const Body* nearest = nullptr;
      double distance = 1e9;
      for (const Body& body : scene) {
        const auto met = Meet(body, {0, 0, kEye}, direction);
        if (!met || *met >= distance) continue;
        distance = *met;
        nearest = &body;
      }
      if (!nearest) continue;
      const std::size_t i = canvas.Index(column, row);
      exposure.depths[i] = distance;
      exposure.film.cover[i] = 1;
      const Vector place = Vector{0, 0, kEye} + distance * direction;
      const double undercoat = nearest->Get().finish == Finish::kHair ? 0.72 : 1;
      canvas.pixels[i] = undercoat * Shade(scene, *nearest, place, screen, chance);
    }
  }
}

/// Lays a dot of about one film pixel over what is there.
void Dab(const Vector& place, const Vector& colour, double strength, Exposure& exposure) {
  Canvas& canvas = exposure.film.colours;
  const double depth = kEye - place.z;
  const double x = canvas.width / 2.0 + place.x * PixelsAt(canvas, depth) - 0.5;
  const double y = canvas.height / 2.0 - place.y * PixelsAt(canvas, depth) - 0.5;
  const int left = static_cast<int>(std::floor(x));
  const int top = static_cast<int>(std::floor(y));
  for (const int row : {top, top + 1}) {
    for (const int column : {left, left + 1}) {
      if (row < 0 || column < 0 || row >= canvas.height || column >= canvas.width) continue;
      const std::size_t i = canvas.Index(column, row);
      if (depth > exposure.depths[i] + 0.02) continue;
      const double share = strength * (1 - std::abs(x - column)) * (1 - std::abs(y - row));
      canvas.pixels[i] = Mix(canvas.pixels[i], colour, share);
      exposure.film.cover[i] += share * (1 - exposure.film.cover[i]);
    }
  }
}

struct Hair {
  Vector root;
  Vector direction;
  double length;
  Vector colour;
};

void DrawHair(const Hair& hair, Exposure& exposure) {
  const double pixels = hair.length * PixelsAt(exposure.film.colours, kEye);
  const int steps = std::max(static_cast<int>(pixels / 0.6), 2);
  for (int i = 0; i <= steps; ++i) {
    const double along = static_cast<double>(i) / steps;
    const double sag = 0.3 * hair.length * along * along;
    const Vector place = hair.root + along * hair.length * hair.direction - Vector{0, sag, 0};
    Dab(place, (0.75 + 0.4 * along) * hair.colour, 0.8 * (1 - 0.75 * along), exposure);
  }
}

bool IsInsideAnother(const Scene& scene, const Body& body, const Vector& place) {
  return std::any_of(scene.begin(), scene.end(), [&](const Body& other) {
    const Vector sphere = other.ToSphere(place);
    return &other != &body && Dot(sphere, sphere) < 0.96;
  });
}

/// Grows the hairs of a body. The same chance gives the same hairs, wherever it is.
void GrowHair(const Scene& scene, const Body& body, const Vector& screen, Chance chance, Exposure& exposure) {
  const Vector& r = body.Get().radii;
  const double area = 4.19 * (r.x * r.y + r.y * r.z + r.z * r.x);
  const double count = area * kHairs;
  for (int i = 0; i < count; ++i) {
    const Vector sphere = chance.Direction();
    const Vector bristle = chance.Direction();
    const double length = body.Get().hair * (0.55 + 0.75 * chance.Next());
    const double tone = 0.78 + 0.44 * chance.Next();
    Chance own(static_cast<std::uint64_t>(i) + 1);
    const Vector place = body.FromSphere(sphere);
    const Vector normal = body.NormalAt(sphere);
    if (normal.z < -0.35 || IsInsideAnother(scene, body, place)) continue;
    const Vector down = Vector{0, -1, 0} + normal.y * normal;
    const Vector direction = Normalized(0.75 * normal + 0.45 * down + 0.42 * bristle);
    DrawHair({place, direction, length, tone * Shade(scene, body, place, screen, own)}, exposure);
  }
}

}  // namespace

Film DrawBear(int width, int height, const Vector& screen) {
  Film sum(width, height);
  constexpr double kShare = 1.0 / (kMoments * kFine * kFine);
  for (int moment = 0; moment < kMoments; ++moment) {
    const Scene scene = SceneAt((moment + 0.5) / kMoments - 0.5);
    Exposure exposure(width * kFine, height * kFine);
    Chance chance(static_cast<std::uint64_t>(moment) + 1);
    ExposeSurface(scene, screen, chance, exposure);
    for (const Body& body : scene) {
      const auto seed = static_cast<std::uint64_t>(&body - scene.data()) + 100;
      if (body.Get().hair > 0) GrowHair(scene, body, screen, Chance(seed), exposure);
    }
    for (std::size_t i = 0; i < exposure.depths.size(); ++i) {
      const int column = static_cast<int>(i) % (width * kFine) / kFine;
      const int row = static_cast<int>(i) / (width * kFine) / kFine;
      const std::size_t to = sum.colours.Index(column, row);
      sum.colours.pixels[to] = sum.colours.pixels[to] + kShare * exposure.film.colours.pixels[i];
      sum.cover[to] += kShare * exposure.film.cover[i];
    }
  }
  return sum;
}
