#include "fp/RFpColorMatrix.h"

#include <algorithm>
#include <cmath>

namespace {

using Vector = std::array<double, 4>;

// Single-precision values on purpose: the nodes of all back ends share them.
constexpr double kRadiansPerDegree = 0.017453292F;
constexpr double kSin45 = 0.70710677F;
constexpr double kGreenSine = -0.57735026F;

double GreenCosine() { return static_cast<float>(std::sqrt(6.0) / 3.0); }

// A hard edge where black and white points meet.
constexpr double kSteepest = 256;

// --- The three lines of the tonal curve.
//
// The curve is sampled in the thirds of both its halves: at m / 3, 2m / 3, (2m + 1) / 3 and (m + 2) / 3 with
// m the mid point. A zone's scale is the slope of the curve between two samples, or over one step of 1/256
// from a sample on; its offset lets the line pass through the curve at a sample.
//
// The weights of the zones overlap, so the best line of a zone need not touch the curve in that zone. The
// table holds the best of all assignments: that with the least maximum deviation from the curve on grey over
// gamma 0.25, 0.5, 0.8 (or 1.25, 2, 4) and mid points 0.25, 0.5, 0.75. Where the maximum leaves several,
// which it does for the highlights of bright curves, the mean of the nine cases' maxima decides, and then the
// mean deviation. A curve that bends the other way wants another assignment; at gamma 1, where the two meet,
// all lines are the identity, so nothing jumps. RFpColorMatrixTest tries all assignments.
struct LineSource {
  std::size_t from;     // the slope is taken from this sample
  std::size_t to;       // to this one,
  int steps;            // moved by so many steps of 1/256
  std::size_t through;  // the sample at which the line meets the curve
};

constexpr std::array<LineSource, 3> kDarkeningLines = {{{3, 3, 1, 0}, {2, 3, 0, 3}, {3, 3, 1, 2}}};
constexpr std::array<LineSource, 3> kBrighteningLines = {{{0, 0, -1, 2}, {3, 3, 1, 3}, {3, 3, 1, 3}}};
constexpr double kStep = 1.0 / 256;

}  // namespace

RFpColorTransform& RFpColorTransform::Apply(const RFpColorTransform& next) {
  std::array<Vector, 4> product{};
  for (std::size_t column = 0; column < 4; ++column) {
    for (std::size_t row = 0; row < 4; ++row) {
      for (std::size_t i = 0; i < 4; ++i) product[column][row] += next.mColumns[i][row] * mColumns[column][i];
    }
  }
  mColumns = product;
  return *this;
}

RFpColorTransform& RFpColorTransform::Scale(double red, double green, double blue) {
  RFpColorTransform scale;
  scale.mColumns[0][0] = red;
  scale.mColumns[1][1] = green;
  scale.mColumns[2][2] = blue;
  return Apply(scale);
}

RFpColorTransform& RFpColorTransform::Offset(double red, double green, double blue) {
  RFpColorTransform offset;
  offset.mColumns[3] = {red, green, blue, 1};
  return Apply(offset);
}

RFpColorTransform& RFpColorTransform::Saturate(double saturation) {
  RFpColorTransform mix;
  for (std::size_t column = 0; column < 3; ++column) {
    const double grey = kFpLuminance[column] * (1 - saturation);
    mix.mColumns[column] = {grey, grey, grey, 0};
    mix.mColumns[column][column] += saturation;
  }
  return Apply(mix);
}

namespace {

// A rotation by the angle of that sine and cosine: about red it turns green towards blue, about green blue
// towards red, about blue red towards green.
struct Rotation {
  std::size_t from;
  std::size_t to;
  double sine;
  double cosine;
};

}  // namespace

// Grey is turned onto the blue axis, and red and green are sheared so that colours of one luminance lie at
// one height of it. Then the hue turns about that axis, and everything is undone.
RFpColorTransform& RFpColorTransform::RotateHue(double degrees) {
  if (degrees == 0) return *this;  // exactly
  const auto rotation = [](const Rotation& r) {
    RFpColorTransform turn;
    turn.mColumns[r.from][r.from] = turn.mColumns[r.to][r.to] = r.cosine;
    turn.mColumns[r.from][r.to] = r.sine;
    turn.mColumns[r.to][r.from] = -r.sine;
    return turn;
  };
  const auto shear = [](double red, double green) {
    RFpColorTransform lift;
    lift.mColumns[0][2] = red;
    lift.mColumns[1][2] = green;
    return lift;
  };
  RFpColorTransform upright;
  upright.Apply(rotation({1, 2, kSin45, kSin45})).Apply(rotation({2, 0, kGreenSine, GreenCosine()}));
  Vector luminance{};
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column)
      luminance[row] += upright.mColumns[column][row] * kFpLuminance[column];
  }
  const double red = luminance[0] / luminance[2];
  const double green = luminance[1] / luminance[2];
  const double angle = degrees * kRadiansPerDegree;
  return Apply(upright)
      .Apply(shear(red, green))
      .Apply(rotation({0, 1, std::sin(angle), std::cos(angle)}))
      .Apply(shear(-red, -green))
      .Apply(rotation({2, 0, -kGreenSine, GreenCosine()}))
      .Apply(rotation({1, 2, -kSin45, kSin45}));
}

RFpColorMatrix RFpColorTransform::Round() const {
  RFpColorMatrix matrix{};
  for (std::size_t column = 0; column < 4; ++column) {
    for (std::size_t row = 0; row < 4; ++row)
      matrix.columns[column][row] = static_cast<float>(mColumns[column][row]);
  }
  return matrix;
}

std::array<RFpZoneLine, 3> RFpZoneLines(double gamma, double midPoint) {
  const auto curve = [gamma](double value) { return std::pow(value, 1 / gamma); };
  const std::array<double, 4> samples = {midPoint / 3, 2 * midPoint / 3, (2 * midPoint + 1) / 3,
                                         (midPoint + 2) / 3};
  std::array<RFpZoneLine, 3> lines{};
  for (std::size_t zone = 0; zone < lines.size(); ++zone) {
    const LineSource& source = gamma < 1 ? kDarkeningLines[zone] : kBrighteningLines[zone];
    const double from = samples[source.from];
    const double to = samples[source.to] + source.steps * kStep;
    const double scale = (curve(to) - curve(from)) / (to - from);
    const double through = samples[source.through];
    lines[zone] = {scale, curve(through) - scale * through};
  }
  return lines;
}

RFpColorTransform RFpZoneCorrection(const RFpColorZone& zone, bool negative) {
  RFpColorTransform transform;
  const double contrast = zone.gain[0];
  const double brightness = zone.offset[0];
  transform.RotateHue(zone.hue)
      .Scale(contrast, contrast, contrast)
      .Offset(brightness, brightness, brightness)
      .Saturate(zone.saturation)
      .Scale(zone.gain[1], zone.gain[2], zone.gain[3])
      .Offset(zone.offset[1], zone.offset[2], zone.offset[3]);
  if (negative) transform.Scale(-1, -1, -1).Offset(1, 1, 1);
  return transform;
}

RFpColorTransform RFpPointsCorrection(const RFpColorSettings& settings) {
  RFpColorTransform transform;
  if (!settings.colorPoints) return transform;
  std::array<double, 3> scale{};
  for (std::size_t i = 0; i < 3; ++i) {
    const double range = static_cast<double>(settings.white[i]) - static_cast<double>(settings.black[i]);
    scale[i] = range == 0 ? kSteepest : 1 / range;
  }
  const auto& black = settings.black;
  return transform.Offset(-black[0], -black[1], -black[2]).Scale(scale[0], scale[1], scale[2]);
}

RFpColorMatrix RFpGlobalMatrix(const RFpColorSettings& settings) {
  return RFpPointsCorrection(settings)
      .Apply(RFpZoneCorrection(settings.zones[kFpZoneGlobal], settings.negative))
      .Round();
}

std::array<RFpColorMatrix, 3> RFpZoneMatrices(const RFpColorSettings& settings) {
  const auto lines = RFpZoneLines(settings.gamma, settings.midPoint);
  std::array<RFpColorMatrix, 3> matrices{};
  for (std::size_t zone = 0; zone < matrices.size(); ++zone) {
    const auto [scale, offset] = lines[zone];
    matrices[zone] = RFpPointsCorrection(settings)
                         .Scale(scale, scale, scale)
                         .Offset(offset, offset, offset)
                         .Apply(RFpZoneCorrection(settings.zones[kFpZoneGlobal], false))
                         .Apply(RFpZoneCorrection(settings.zones[zone + 1], settings.negative))
                         .Round();
  }
  return matrices;
}

std::array<float, 4> RFpLuminanceOverMidPoint(float midPoint) {
  const double m = std::clamp(static_cast<double>(midPoint), 0.00390625, 0.99609375);
  return {static_cast<float>(kFpLuminance[0] / m), static_cast<float>(kFpLuminance[1] / m),
          static_cast<float>(kFpLuminance[2] / m), 0.0F};
}
