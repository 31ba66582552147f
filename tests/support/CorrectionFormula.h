// The colour correction's result by its formula, written apart from the code under test: pixel by pixel, in
// double precision, without matrices.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "fp/RFpCC.h"

namespace test {

/// The settings of one zone, as the operator's properties name them.
struct ZoneSettings {
  double hue = 0;  ///< degrees
  double contrast = 1;
  double brightness = 0;
  double saturation = 1;
  std::array<double, 3> gain = {1, 1, 1};
  std::array<double, 3> offset = {0, 0, 0};
};

/// All settings of a correction; zones are the whole image, shadows, midtones, highlights.
struct CorrectionSettings {
  bool transparency = false;
  bool negative = false;
  bool colorPoints = false;
  std::array<double, 3> black = {0, 0, 0};
  std::array<double, 3> white = {1, 1, 1};
  double gamma = 1;
  double midPoint = 0.5;
  std::array<ZoneSettings, 4> zones;
};

using Rgba = std::array<double, 4>;

/// Hands the settings to a node, as single-precision numbers, clamped by the node.
void ApplyTo(RFpCC& node, const CorrectionSettings& settings);
/// Reads back what the node holds.
CorrectionSettings ReadFrom(const RFpCC& node);

/// Whether three zones are needed.
bool UsesZones(const CorrectionSettings& settings);

/// A line of the tonal curve: scale and offset.
struct CurveLine {
  double scale;
  double offset;
};
/// Returns the lines of shadows, midtones and highlights.
std::array<CurveLine, 3> CurveLines(double gamma, double midPoint);

/// The weights of shadows, midtones and highlights for a colour.
std::array<double, 3> ZoneWeights(const CorrectionSettings& settings, const Rgba& colour);

/// The formula for one set of settings. What is done to a colour is linear, so it is done once to each
/// channel by itself.
class CorrectionModel {
 public:
  explicit CorrectionModel(const CorrectionSettings& settings);

  /// Corrects a colour, 0 to 1, before the result is clamped.
  Rgba Correct(const Rgba& colour) const;
  /// Returns the largest sum of the absolute contributions of red, green, blue and alpha to a channel, all
  /// zones together: by it a rounding error of the inputs or the coefficients can grow.
  double SumOfCoefficients() const;

 private:
  CorrectionSettings mSettings;
  std::vector<std::array<Rgba, 4>> mZones;  // one zone when that is enough; by input channel
};

/// Corrects a colour, 0 to 1, before the result is clamped.
Rgba CorrectColour(const CorrectionSettings& settings, const Rgba& colour);
double SumOfCoefficients(const CorrectionSettings& settings);

/// Returns the largest difference, 0 to 1, by which an 8-bit result may differ from the formula.
double CorrectionTolerance(const CorrectionSettings& settings);

/// Returns the settings as text, for messages.
std::string Describe(const CorrectionSettings& settings);

}  // namespace test
