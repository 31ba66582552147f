#include "support/CorrectionFormula.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace test {

namespace {

constexpr double kRed = 0.3086;
constexpr double kGreen = 0.6094;
constexpr double kBlue = 0.0820;

double Luminance(const Rgba& c) { return kRed * c[0] + kGreen * c[1] + kBlue * c[2]; }

double Saturate(double value) { return std::clamp(value, 0.0, 1.0); }

// Turns the colour about the grey axis (Rodrigues' formula) and moves it along that axis to its old
// luminance.
Rgba TurnHue(const Rgba& c, double degrees) {
  const double angle = degrees * std::acos(-1.0) / 180;
  const double third = (c[0] + c[1] + c[2]) / 3;
  const double root = std::sqrt(3.0);
  Rgba turned = c;
  for (std::size_t i = 0; i < 3; ++i) {
    const double cross = (c[(i + 2) % 3] - c[(i + 1) % 3]) / root;
    turned[i] = c[i] * std::cos(angle) + cross * std::sin(angle) + third * (1 - std::cos(angle));
  }
  const double lift = Luminance(c) - Luminance(turned);
  for (std::size_t i = 0; i < 3; ++i) turned[i] += lift;
  return turned;
}

// Offsets are shares of alpha, as in premultiplied colours.
Rgba CorrectZone(const ZoneSettings& zone, Rgba c, bool negative) {
  c = TurnHue(c, zone.hue);
  for (std::size_t i = 0; i < 3; ++i) c[i] = c[i] * zone.contrast + zone.brightness * c[3];
  const double grey = Luminance(c);
  for (std::size_t i = 0; i < 3; ++i) {
    c[i] = grey + zone.saturation * (c[i] - grey);
    c[i] = c[i] * zone.gain[i] + zone.offset[i] * c[3];
    if (negative) c[i] = c[3] - c[i];
  }
  return c;
}

Rgba ApplyPoints(const CorrectionSettings& s, Rgba c) {
  for (std::size_t i = 0; s.colorPoints && i < 3; ++i) {
    const double range = s.white[i] - s.black[i];
    c[i] = (c[i] - s.black[i] * c[3]) * (range == 0 ? 256 : 1 / range);
  }
  return c;
}

Rgba CorrectInZone(const CorrectionSettings& s, std::size_t zone, Rgba c) {
  const CurveLine line = CurveLines(s.gamma, s.midPoint)[zone];
  c = ApplyPoints(s, c);
  for (std::size_t i = 0; i < 3; ++i) c[i] = c[i] * line.scale + line.offset * c[3];
  return CorrectZone(s.zones[zone + 1], CorrectZone(s.zones[0], c, false), s.negative);
}

bool IsNeutral(const ZoneSettings& z) {
  const ZoneSettings neutral;
  return z.hue == neutral.hue && z.contrast == neutral.contrast && z.brightness == neutral.brightness &&
         z.saturation == neutral.saturation && z.gain == neutral.gain && z.offset == neutral.offset;
}

}  // namespace

void ApplyTo(RFpCC& node, const CorrectionSettings& s) {
  node.SetTransparency(s.transparency);
  node.SetNegative(s.negative);
  node.SetColorPoints(s.colorPoints);
  for (int i = 0; i < 3; ++i) {
    node.SetBlack(i, static_cast<float>(s.black[static_cast<std::size_t>(i)]));
    node.SetWhite(i, static_cast<float>(s.white[static_cast<std::size_t>(i)]));
  }
  node.SetGamma(static_cast<float>(s.gamma));
  node.SetMidPoint(static_cast<float>(s.midPoint));
  for (int zone = 0; zone < 4; ++zone) {
    const ZoneSettings& z = s.zones[static_cast<std::size_t>(zone)];
    node.SetZoneHue(zone, static_cast<float>(z.hue));
    node.SetZoneGain(zone, 0, static_cast<float>(z.contrast));
    node.SetZoneOffset(zone, 0, static_cast<float>(z.brightness));
    node.SetZoneSaturation(zone, static_cast<float>(z.saturation));
    for (int i = 0; i < 3; ++i) {
      node.SetZoneGain(zone, i + 1, static_cast<float>(z.gain[static_cast<std::size_t>(i)]));
      node.SetZoneOffset(zone, i + 1, static_cast<float>(z.offset[static_cast<std::size_t>(i)]));
    }
  }
}

CorrectionSettings ReadFrom(const RFpCC& node) {
  CorrectionSettings s;
  s.transparency = node.GetTransparency();
  s.negative = node.GetNegative();
  s.colorPoints = node.GetColorPoints();
  s.gamma = node.GetGamma();
  s.midPoint = node.GetMidPoint();
  for (int i = 0; i < 3; ++i) {
    s.black[static_cast<std::size_t>(i)] = node.GetBlack(i);
    s.white[static_cast<std::size_t>(i)] = node.GetWhite(i);
  }
  for (int zone = 0; zone < 4; ++zone) {
    ZoneSettings& z = s.zones[static_cast<std::size_t>(zone)];
    z.hue = node.GetZoneHue(zone);
    z.contrast = node.GetZoneGain(zone, 0);
    z.brightness = node.GetZoneOffset(zone, 0);
    z.saturation = node.GetZoneSaturation(zone);
    for (int i = 0; i < 3; ++i) {
      z.gain[static_cast<std::size_t>(i)] = node.GetZoneGain(zone, i + 1);
      z.offset[static_cast<std::size_t>(i)] = node.GetZoneOffset(zone, i + 1);
    }
  }
  return s;
}

bool UsesZones(const CorrectionSettings& s) {
  return s.gamma != 1 || !IsNeutral(s.zones[1]) || !IsNeutral(s.zones[2]) || !IsNeutral(s.zones[3]);
}

std::array<CurveLine, 3> CurveLines(double gamma, double midPoint) {
  const auto curve = [gamma](double v) { return std::pow(v, 1 / gamma); };
  const double low = midPoint / 3;
  const double aboveMiddle = (2 * midPoint + 1) / 3;
  const double high = (midPoint + 2) / 3;
  const auto line = [&curve](double from, double to, double through) {
    const double scale = (curve(to) - curve(from)) / (to - from);
    return CurveLine{scale, curve(through) - scale * through};
  };
  constexpr double kStep = 1.0 / 256;
  if (gamma < 1) {
    return {line(high, high + kStep, low), line(aboveMiddle, high, high),
            line(high, high + kStep, aboveMiddle)};
  }
  return {line(low - kStep, low, aboveMiddle), line(high, high + kStep, high),
          line(high, high + kStep, high)};
}

std::array<double, 3> ZoneWeights(const CorrectionSettings& s, const Rgba& c) {
  const double m = std::clamp(s.midPoint, 1.0 / 256, 255.0 / 256);
  const double shadows = Saturate(1 - Luminance(c) / m);
  const double highlights = Saturate(1 - Luminance({1 - c[0], 1 - c[1], 1 - c[2], 0}) / m);
  return {shadows, 1 - shadows - highlights, highlights};
}

CorrectionModel::CorrectionModel(const CorrectionSettings& settings) : mSettings(settings) {
  const bool zones = UsesZones(settings);
  mZones.resize(zones ? 3 : 1);
  for (std::size_t zone = 0; zone < mZones.size(); ++zone) {
    for (std::size_t channel = 0; channel < 4; ++channel) {
      Rgba unit{};
      unit[channel] = 1;
      mZones[zone][channel] =
          zones ? CorrectInZone(settings, zone, unit)
                : CorrectZone(settings.zones[0], ApplyPoints(settings, unit), settings.negative);
    }
  }
}

Rgba CorrectionModel::Correct(const Rgba& colour) const {
  Rgba c = colour;
  if (!mSettings.transparency) c[3] = 1;
  std::array<double, 3> weights = {1, 0, 0};
  if (mZones.size() > 1) weights = ZoneWeights(mSettings, c);
  Rgba sum{};
  for (std::size_t zone = 0; zone < mZones.size(); ++zone) {
    for (std::size_t channel = 0; channel < 4; ++channel) {
      for (std::size_t i = 0; i < 4; ++i) sum[i] += weights[zone] * c[channel] * mZones[zone][channel][i];
    }
  }
  return sum;
}

double CorrectionModel::SumOfCoefficients() const {
  Rgba sums{};
  for (const auto& zone : mZones) {
    for (const Rgba& channel : zone) {
      for (std::size_t i = 0; i < 4; ++i) sums[i] += std::abs(channel[i]);
    }
  }
  return *std::max_element(sums.begin(), sums.end());
}

Rgba CorrectColour(const CorrectionSettings& s, const Rgba& colour) {
  return CorrectionModel(s).Correct(colour);
}

double SumOfCoefficients(const CorrectionSettings& s) { return CorrectionModel(s).SumOfCoefficients(); }

double CorrectionTolerance(const CorrectionSettings& s) {
  return 1.0 / 255 + std::ldexp(SumOfCoefficients(s), -20);
}

std::string Describe(const CorrectionSettings& s) {
  std::ostringstream text;
  text << "transparency " << s.transparency << ", negative " << s.negative;
  if (s.colorPoints) {
    text << ", points";
    for (std::size_t i = 0; i < 3; ++i) text << ' ' << s.black[i] << ".." << s.white[i];
  }
  text << ", gamma " << s.gamma << ", mid point " << s.midPoint << '\n';
  for (const ZoneSettings& z : s.zones) {
    text << "  hue " << z.hue << ", contrast " << z.contrast << ", brightness " << z.brightness
         << ", saturation " << z.saturation << ", gain " << z.gain[0] << ' ' << z.gain[1] << ' ' << z.gain[2]
         << ", offset " << z.offset[0] << ' ' << z.offset[1] << ' ' << z.offset[2] << '\n';
  }
  return text.str();
}

}  // namespace test
