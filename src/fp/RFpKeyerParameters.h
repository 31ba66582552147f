// What the keyer's settings come to in numbers.
#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "fp/RFpKeyer.h"

/// What a key is made of, as a new node holds it.
struct RFpKeyerSettings {
  std::array<float, 3> key{0.2F, 0.28F, 0.68F};  ///< red, green, blue
  ///@{
  /// 0 to 1.
  float threshold = 1;
  float softness = 0;
  float suppression = 0;
  ///@}
  int mode = kFpKeyChroma;      ///< a `kFpKeyerMode`
  int output = kFpKeyedImage;   ///< a `kFpKeyerOutput`
  bool invertMatte = false;     ///< keeps what would go
  std::array<float, 4> mask{};  ///< by `kFpKeyerEdge`
};

/// The parameters p0 to p3 of four numbers each.
using RFpKeyerParameters = std::array<std::array<float, 4>, 4>;

/// One for every mode, output and inversion.
inline constexpr std::size_t kFpKeyerPrograms = 12;

/// Returns mode x 4 + output x 2 + inversion; nothing when the mode or the output is not known.
std::optional<std::size_t> RFpGetKeyerProgram(const RFpKeyerSettings& settings);

/// Derives the parameters of chroma and luminance keying; for other modes they stay as they are.
///
/// Chroma: p0 = (outer slope, 0, key slope / outer slope, 1 - that), p1 = (weights of a colour's part along
/// the key's hue, -outer limit), p2 = what is taken off a colour to be free of the key's hue, p3 = the
/// negative of the key colour without its hue, and 1. Luminance: p0.x = slope, p1 = (weights, -threshold).
void RFpDeriveKeyerParameters(const RFpKeyerSettings& settings, RFpKeyerParameters& parameters);

/// What a program is sent: the first `count` of p0 to p3.
struct RFpKeyerUniforms {
  RFpKeyerParameters values;  ///< p0 to p3
  std::size_t count;          ///< parameters that the program reads
};

/// Returns what the settings' program, which must be known, computes with:
///
/// Chroma, where x = p1 . colour: m = saturate(x + p1.w), n = saturate(m x p0.z + p0.w), alpha 1 - n.
/// Keyed, c = colour + m x p2, result c - n x ((1 - n) x (p3 - c) + c); inverted saturate(colour + n x p3)
/// where 1 - n is above 0, otherwise 0. The matte is 1 - n, inverted n.
///
/// Luminance: m = saturate(p0.x x (p1 . colour + p1.w)^2). Difference: m = saturate(p0.x x |A - B|^2 + p0.y).
/// The result is colour x m with alpha m, inverted with 1 - m in place of m.
RFpKeyerUniforms RFpGetKeyerUniforms(const RFpKeyerSettings& settings, const RFpKeyerParameters& parameters);

/// saturate(slope x (value - start)), for hardware whose numbers have a narrow range.
struct RFpKeyerRamp {
  double slope;  ///< 0 to 256
  double start;  ///< where it leaves 0
};

/// The two ramps of chroma keying over a colour's part along the key's hue: `outer` is m above, `key` is
/// n of what is not inverted.
struct RFpChromaRamps {
  ///@{
  /// A ramp.
  RFpKeyerRamp outer;
  RFpKeyerRamp key;
  ///@}
};
/// Returns the ramps of chroma keying.
RFpChromaRamps RFpGetChromaRamps(const RFpKeyerParameters& parameters);

/// The ramp of difference keying over |A - B|^2.
RFpKeyerRamp RFpGetDifferenceRamp(const RFpKeyerSettings& settings);
