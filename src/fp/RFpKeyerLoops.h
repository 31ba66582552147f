// The formulas of the keyer, for any number of pixels at a time.
#pragma once

#include <cstddef>
#include <utility>

#include "fp/RFpKeyerKernels.h"

/// The formulas of one program. `Lanes` provides the numbers: `Floats`, of which it takes `kCount` pixels
/// with `Load` and leaves them with `Store`; `Clear` leaves transparent black and `CopyOpaque` the colours as
/// they are, with full alpha; `Set` spreads a number; `Min`, `Max`, `WherePositive`, which keeps its first
/// argument where the second is above 0 and gives 0 elsewhere, and `AreZero`, whether all numbers are 0, none
/// being negative. A Lanes has internal linkage, and with it these functions.
template <class Lanes, std::size_t kProgram>
class RFpKeyerLoops {
 public:
  /// A loop of `RFpKeyerKernels`; what is left of the last block takes the plain loop.
  static void Run(unsigned char* destination, const unsigned char* a, const unsigned char* b,
                  std::size_t pixels, const RFpKeyerCoefficients& k) {
    std::size_t i = 0;
    for (; i + Lanes::kCount <= pixels; i += Lanes::kCount) {
      if constexpr (kMode == kFpKeyChroma)
        Chroma(destination + 4 * i, a + 4 * i, k);
      else
        Multiply(destination + 4 * i, a + 4 * i, b + 4 * i, k);
    }
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

  // A block of which nothing or everything is kept is done with, and most of a picture is one or the other.
  static bool IsDone(unsigned char* to, const unsigned char* from, Floats alpha, Floats change) {
    const bool none = Lanes::AreZero(alpha);
    if (none) Lanes::Clear(to);
    const bool all = !none && Lanes::AreZero(change);
    if (all) Lanes::CopyOpaque(to, from);
    return none || all;
  }

  static void StoreMatte(unsigned char* to, Floats matte) {
    const Floats value = matte * Set(255);
    Lanes::Store(to, {value, value, value, value});
  }

  static Floats Sum(const Pixels& p, const RFpKeyerCoefficients& k) {
    return Set(k.weights[0]) * p.red + Set(k.weights[1]) * p.green + Set(k.weights[2]) * p.blue +
           Set(k.offset);
  }

  static void Chroma(unsigned char* to, const unsigned char* from, const RFpKeyerCoefficients& k) {
    const Pixels p = Lanes::Load(from);
    const Floats matte = Saturate(Sum(p, k));
    const Floats key = Saturate(matte * Set(k.slope) + Set(k.base));
    const Floats alpha = Set(1) - key;
    if constexpr (kIsMatte) {
      StoreMatte(to, kInverted ? key : alpha);
    } else if constexpr (kInverted) {
      if (IsDone(to, from, alpha, key)) return;
      const auto subtract = [&](Floats colour, std::size_t i) {
        return Lanes::WherePositive(colour + key * Set(k.goal[i]), alpha);
      };
      Lanes::Store(to, {subtract(p.red, 0), subtract(p.green, 1), subtract(p.blue, 2), alpha * Set(255)});
    } else {
      if (IsDone(to, from, alpha, matte + key)) return;
      // c - n x ((1 - n) x (goal - c) + c), where c = colour + m x spill, by what each of them contributes.
      const Floats ofGoal = alpha * key;
      const Floats ofColour = alpha + ofGoal;
      const Floats ofSpill = ofColour * matte;
      const auto mix = [&](Floats colour, std::size_t i) {
        return ofColour * colour + ofSpill * Set(k.spill[i]) - ofGoal * Set(k.goal[i]);
      };
      Lanes::Store(to, {mix(p.red, 0), mix(p.green, 1), mix(p.blue, 2), alpha * Set(255)});
    }
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

  static void Multiply(unsigned char* to, const unsigned char* from, const unsigned char* b,
                       const RFpKeyerCoefficients& k) {
    const Pixels p = Lanes::Load(from);
    Floats keyed;
    if constexpr (kMode == kFpKeyLuminance)
      keyed = Luminance(p, k);
    else
      keyed = Difference(p, Lanes::Load(b), k);
    const Floats rest = Set(1) - keyed;
    const Floats alpha = kInverted ? rest : keyed;
    if constexpr (kIsMatte) {
      StoreMatte(to, alpha);
    } else {
      if (IsDone(to, from, alpha, kInverted ? keyed : rest)) return;
      Lanes::Store(to, {p.red * alpha, p.green * alpha, p.blue * alpha, alpha * Set(255)});
    }
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
