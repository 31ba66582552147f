// The formulas of the keyer, for any number of pixels at a time.
#pragma once

#include <cstddef>
#include <utility>

#include "fp/RFpKeyerKernels.h"

/// The formulas of one program. `Lanes` provides the numbers: `Floats`, of which it takes `kCount` pixels
/// with `Load` and leaves them with `Store`, `Set`, which spreads a number, `Min`, `Max`, and
/// `WherePositive`, which keeps its first argument where the second is above 0 and gives 0 elsewhere. A Lanes
/// has internal linkage, and with it these functions.
template <class Lanes, std::size_t kProgram>
class RFpKeyerLoops {
 public:
  /// A loop of `RFpKeyerKernels`; what is left of the last block takes the plain loop.
  static void Run(unsigned char* destination, const unsigned char* a, const unsigned char* b,
                  std::size_t pixels, const RFpKeyerCoefficients& k) {
    std::size_t i = 0;
    for (; i + Lanes::kCount <= pixels; i += Lanes::kCount)
      Lanes::Store(destination + 4 * i, Key(Lanes::Load(a + 4 * i), b + 4 * i, k));
    if constexpr (Lanes::kCount > 1)
      kPlainKeyerKernels[kProgram](destination + 4 * i, a + 4 * i, b + 4 * i, pixels - i, k);
  }

 private:
  using Floats = typename Lanes::Floats;
  using Pixels = typename Lanes::Pixels;

  static constexpr int kMode = kProgram / 4;
  static constexpr bool kIsMatte = kProgram / 2 % 2 == kFpMatte;
  static constexpr bool kInverted = kProgram % 2 != 0;

  static Floats Set(float value) { return Lanes::Set(value); }
  static Floats Saturate(Floats value) { return Lanes::Min(Lanes::Max(value, Set(0)), Set(1)); }
  static Pixels Grey(Floats value) { return {value, value, value, value}; }

  static Pixels Key(const Pixels& a, const unsigned char* b, const RFpKeyerCoefficients& k) {
    if constexpr (kMode == kFpKeyChroma)
      return Chroma(a, k);
    else if constexpr (kMode == kFpKeyLuminance)
      return Multiply(a, Luminance(a, k));
    else
      return Multiply(a, Difference(a, Lanes::Load(b), k));
  }

  static Floats Sum(const Pixels& p, const RFpKeyerCoefficients& k) {
    return Set(k.weights[0]) * p.red + Set(k.weights[1]) * p.green + Set(k.weights[2]) * p.blue +
           Set(k.offset);
  }

  static Pixels Chroma(const Pixels& p, const RFpKeyerCoefficients& k) {
    const Floats matte = Saturate(Sum(p, k));
    const Floats key = Saturate(matte * Set(k.slope) + Set(k.base));
    const Floats alpha = Set(1) - key;
    if constexpr (kIsMatte) return Grey((kInverted ? key : alpha) * Set(255));
    const auto mix = [&](Floats colour, std::size_t i) {
      if constexpr (kInverted) return Lanes::WherePositive(colour + key * Set(k.goal[i]), alpha);
      const Floats cleaned = colour + matte * Set(k.spill[i]);
      return cleaned - key * (alpha * (Set(k.goal[i]) - cleaned) + cleaned);
    };
    return {mix(p.red, 0), mix(p.green, 1), mix(p.blue, 2), alpha * Set(255)};
  }

  static Floats Luminance(const Pixels& p, const RFpKeyerCoefficients& k) {
    const Floats distance = Sum(p, k);
    return Saturate(Set(k.slope) * (distance * distance));
  }

  static Floats Difference(const Pixels& a, const Pixels& b, const RFpKeyerCoefficients& k) {
    const Floats red = a.red - b.red;
    const Floats green = a.green - b.green;
    const Floats blue = a.blue - b.blue;
    return Saturate((red * red + green * green + blue * blue) * Set(k.slope) + Set(k.base));
  }

  static Pixels Multiply(const Pixels& p, Floats matte) {
    if constexpr (kInverted) matte = Set(1) - matte;
    const Floats alpha = matte * Set(255);
    if constexpr (kIsMatte) return Grey(alpha);
    return {p.red * matte, p.green * matte, p.blue * matte, alpha};
  }
};

/// Returns the loops of all programs.
template <class Lanes, std::size_t... kPrograms>
constexpr RFpKeyerKernels RFpMakeKeyerKernels(std::index_sequence<kPrograms...>) {
  return {RFpKeyerLoops<Lanes, kPrograms>::Run...};
}
template <class Lanes>
constexpr RFpKeyerKernels RFpMakeKeyerKernels() {
  return RFpMakeKeyerKernels<Lanes>(std::make_index_sequence<kFpKeyerPrograms>());
}
