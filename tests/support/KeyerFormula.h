// The keyer's result by its formula, written apart from the code under test: pixel by pixel, in double
// precision, with the primary colours at thirds of a turn.
#pragma once

#include <array>
#include <string>

#include "fp/RFpKeyer.h"
#include "support/BlendFormula.h"
#include "support/Random.h"

namespace test {

/// The settings of a key.
struct KeyerSettings {
  int mode = 0;
  int output = 0;
  bool inverted = false;
  std::array<double, 3> key = {0.2, 0.28, 0.68};
  double threshold = 1;
  double softness = 0;
  double suppression = 0;
  std::array<double, 4> mask = {0, 0, 0, 0};  ///< left, right, bottom, top
};

/// Hands the settings to a node, as single-precision numbers.
void ApplyTo(RFpKeyer& node, const KeyerSettings& settings);
/// Reads back what the node holds.
KeyerSettings ReadFrom(const RFpKeyer& node);

/// Draws the numbers of a key at random, its mode, output and inversion being given: every third number is 0,
/// 1 or close to 0, and every fifth key colour is grey or pure. There are no masks.
KeyerSettings RandomKey(int mode, int output, bool inverted, Random& random);

/// Returns the settings as text, for messages.
std::string Describe(const KeyerSettings& settings);

/// The formula for one set of settings; colours and results are 0 to 1, results before they are clamped.
class KeyerModel {
 public:
  using Colour = std::array<double, 3>;
  using Result = std::array<double, 4>;

  explicit KeyerModel(const KeyerSettings& settings);

  /// Keys colour `a`, in difference keying against `b`.
  Result Key(const Colour& a, const Colour& b) const;
  /// Whether `a` is so close to where an inverted chroma key lets colours vanish all at once, that the
  /// rounding of single precision decides.
  bool IsAtTheStep(const Colour& a) const;
  /// Whether masks cover pixel (x, y) of a picture.
  bool IsMasked(int x, int y, int width, int height) const;

 private:
  Result Chroma(const Colour& a) const;
  double AlongHue(const Colour& a) const;

  KeyerSettings mSettings;
  double mCosine = 1;
  double mSine = 0;
  double mKeySlope = 0;
  double mOuterSlope = 0;
  double mOuter = 0;
};

/// The largest difference of a picture from the formula, and where it is.
struct KeyerDifference {
  double largest = 0;  ///< 255ths
  int atTheStep = 0;   ///< pixels for which either side of a step was taken
  std::string where;
};

/// Compares a result with the key of `a`, in difference keying against `b`. What lies outside one of them, or
/// under a mask, is transparent black.
KeyerDifference CompareWithKey(const KeyerSettings& settings, const Picture& a, const Picture& b,
                               const Picture& result);

}  // namespace test
