#include "fp/RFpKeyerParameters.h"

#include <algorithm>
#include <cmath>

namespace {

using Vector = std::array<float, 4>;

constexpr double kSteepest = 256;
constexpr double kRoot3 = 1.7320508;

// The weights of red, green and blue in the luminance.
constexpr std::array<float, 3> kLuminance = {0.3086F, 0.6094F, 0.0820F};

Vector Round(double x, double y, double z, double w) {
  return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z), static_cast<float>(w)};
}

// The slope from 0 at `start` to 1 at `end`.
double Slope(double start, double end) {
  return start == end ? kSteepest : std::clamp(1 / (end - start), 0.0, kSteepest);
}

// The angle of a colour about the grey axis.
float Hue(double red, double green, double blue) {
  const double root6 = std::sqrt(6.0);
  return std::atan2(static_cast<float>((green - blue) * 0.7071067811865476),
                    static_cast<float>(red * root6 / 3 - (green + blue) * root6 / 6));
}

void DeriveChroma(const RFpKeyerSettings& settings, RFpKeyerParameters& p) {
  const auto& key = settings.key;
  const auto hue = static_cast<double>(Hue(key[0], key[1], key[2]));
  const double cosine = std::cos(hue);
  const double sine = std::sin(hue);
  // Along the hue, red, green and blue lie a third of a turn apart.
  const double red = cosine;
  const double green = cosine - kRoot3 * sine;
  const double blue = cosine + kRoot3 * sine;

  const auto threshold = static_cast<double>(settings.threshold);
  const auto suppression = static_cast<double>(settings.suppression);
  const double inner = (1 - static_cast<double>(settings.softness)) * threshold;
  const double outer = (1 - suppression) * inner - suppression;
  const double keySlope = Slope(inner, threshold);
  const double outerSlope = Slope(outer, threshold);
  p[0] = Round(outerSlope, 0, keySlope / outerSlope, 1 - keySlope / outerSlope);
  p[1] = Round(red, -0.5 * green, -0.5 * blue, -outer);
  p[2] = Round(-0.6667 * threshold * red, 0.3333 * threshold * green, 0.3333 * threshold * blue, 0);
  for (std::size_t i = 0; i < 3; ++i) p[3][i] = -key[i] - p[2][i];
  p[3][3] = 1;
}

void DeriveLuminance(const RFpKeyerSettings& settings, RFpKeyerParameters& p) {
  p[0] = Round(Slope(0, static_cast<double>(settings.softness)), 0, 0, 0);
  p[1] = {kLuminance[0], kLuminance[1], kLuminance[2], -settings.threshold};
}

Vector Times(const Vector& vector, float factor) {
  return {vector[0] * factor, vector[1] * factor, vector[2] * factor, vector[3] * factor};
}

RFpKeyerUniforms ChromaUniforms(const RFpKeyerSettings& settings, const RFpKeyerParameters& p) {
  RFpKeyerUniforms sent{p, 4};
  sent.values[1] = Times(p[1], p[0][0]);
  if (settings.output != kFpKeyedImage) return sent;
  if (settings.invertMatte) {
    sent.values[0] = {p[0][0], p[0][1], -p[0][2], 1 - p[0][3]};
    for (std::size_t i = 0; i < 3; ++i) sent.values[3][i] = p[3][i] + p[2][i];
  } else {
    for (std::size_t i = 0; i < 3; ++i) sent.values[3][i] = -p[3][i];
  }
  return sent;
}

}  // namespace

std::optional<std::size_t> RFpGetKeyerProgram(const RFpKeyerSettings& settings) {
  const bool hasMode = settings.mode >= kFpKeyChroma && settings.mode <= kFpKeyDifference;
  const bool hasOutput = settings.output >= kFpKeyedImage && settings.output <= kFpMatte;
  if (!hasMode || !hasOutput) return std::nullopt;
  return static_cast<std::size_t>(settings.mode) * 4 + static_cast<std::size_t>(settings.output) * 2 +
         (settings.invertMatte ? 1 : 0);
}

void RFpDeriveKeyerParameters(const RFpKeyerSettings& settings, RFpKeyerParameters& parameters) {
  if (settings.mode == kFpKeyChroma) DeriveChroma(settings, parameters);
  if (settings.mode == kFpKeyLuminance) DeriveLuminance(settings, parameters);
}

RFpKeyerUniforms RFpGetKeyerUniforms(const RFpKeyerSettings& settings, const RFpKeyerParameters& parameters) {
  if (settings.mode == kFpKeyChroma) return ChromaUniforms(settings, parameters);
  if (settings.mode == kFpKeyLuminance) return {parameters, 2};
  const RFpKeyerRamp ramp = RFpGetDifferenceRamp(settings);
  return {{Round(ramp.slope, -ramp.slope * ramp.start, 0, 0)}, 1};
}

// Between its ends, n = 1 - (key slope / outer slope) x (1 - m) is the line that starts at where n is 0.
RFpChromaRamps RFpGetChromaRamps(const RFpKeyerParameters& parameters) {
  const auto outerSlope = static_cast<double>(parameters[0][0]);
  const double keySlope = std::min(outerSlope * static_cast<double>(parameters[0][2]), kSteepest);
  const double outer = -static_cast<double>(parameters[1][3]);
  return {{outerSlope, outer}, {keySlope, outer + 1 / outerSlope - 1 / keySlope}};
}

RFpKeyerRamp RFpGetDifferenceRamp(const RFpKeyerSettings& settings) {
  const double start = 1 - static_cast<double>(settings.threshold);
  const double end = 1 - (1 - static_cast<double>(settings.softness)) * (1 - start);
  return {Slope(start, end), start};
}
