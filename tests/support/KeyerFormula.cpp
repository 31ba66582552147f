#include "support/KeyerFormula.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <sstream>

namespace test {

namespace {

double Saturate(double value) { return std::min(std::max(value, 0.0), 1.0); }

double Steepness(double length) { return length > 1.0 / 256 ? 1 / length : 256; }

double Number(Random& random) {
  constexpr double kSpecial[] = {0, 1, 1.0 / 1000};
  return random.Below(3) == 0 ? kSpecial[random.Below(3)] : random.Below(100001) / 100000.0;
}

int MaskedPixels(double fraction, int pixels) {
  return static_cast<int>(std::floor(fraction * pixels + 0.5));
}

KeyerModel::Colour ColourOf(const std::array<unsigned char, 4>& pixel) {
  return {pixel[0] / 255.0, pixel[1] / 255.0, pixel[2] / 255.0};
}

double LargestOf(const KeyerModel::Result& expected, const std::array<unsigned char, 4>& pixel) {
  double largest = 0;
  for (std::size_t i = 0; i < 4; ++i)
    largest = std::max(largest, std::abs(pixel[i] - 255 * Saturate(expected[i])));
  return largest;
}

}  // namespace

void ApplyTo(RFpKeyer& node, const KeyerSettings& s) {
  node.SetMode(s.mode);
  node.SetOutput(s.output);
  node.SetInvertMatte(s.inverted);
  for (int i = 0; i < 3; ++i) node.SetKey(i, static_cast<float>(s.key[static_cast<std::size_t>(i)]));
  node.SetThreshold(static_cast<float>(s.threshold));
  node.SetSoftness(static_cast<float>(s.softness));
  node.SetSuppression(static_cast<float>(s.suppression));
  for (int i = 0; i < 4; ++i) node.SetMask(i, static_cast<float>(s.mask[static_cast<std::size_t>(i)]));
}

KeyerSettings ReadFrom(const RFpKeyer& node) {
  KeyerSettings s;
  s.mode = node.GetMode();
  s.output = node.GetOutput();
  s.inverted = node.GetInvertMatte();
  for (int i = 0; i < 3; ++i) s.key[static_cast<std::size_t>(i)] = static_cast<double>(node.GetKey(i));
  s.threshold = static_cast<double>(node.GetThreshold());
  s.softness = static_cast<double>(node.GetSoftness());
  s.suppression = static_cast<double>(node.GetSuppression());
  for (int i = 0; i < 4; ++i) s.mask[static_cast<std::size_t>(i)] = static_cast<double>(node.GetMask(i));
  return s;
}

KeyerSettings RandomKey(int mode, int output, bool inverted, Random& random) {
  KeyerSettings s;
  s.mode = mode;
  s.output = output;
  s.inverted = inverted;
  for (double& component : s.key) component = random.Below(100001) / 100000.0;
  if (random.Below(5) == 0) s.key[1] = s.key[2] = random.Below(2) == 0 ? s.key[0] : 0;
  s.threshold = Number(random);
  s.softness = Number(random);
  s.suppression = Number(random);
  return s;
}

std::string Describe(const KeyerSettings& s) {
  std::ostringstream text;
  text.precision(9);
  text << "mode " << s.mode << ", output " << s.output << (s.inverted ? ", inverted" : "") << ", key "
       << s.key[0] << ' ' << s.key[1] << ' ' << s.key[2] << ", threshold " << s.threshold << ", softness "
       << s.softness << ", suppression " << s.suppression << ", masks " << s.mask[0] << ' ' << s.mask[1]
       << ' ' << s.mask[2] << ' ' << s.mask[3];
  return text.str();
}

KeyerModel::KeyerModel(const KeyerSettings& settings) : mSettings(settings) {
  const auto& [red, green, blue] = settings.key;
  // The hue is an angle of single precision, of which next to nothing is left for the smallest of its
  // numbers.
  const auto x = static_cast<float>((2 * red - green - blue) / std::sqrt(6.0));
  const auto y = static_cast<float>((green - blue) / std::sqrt(2.0));
  const double hue = std::atan2(y, x);
  mCosine = std::cos(hue);
  mSine = std::sin(hue);
  const double inner = settings.threshold - settings.softness * settings.threshold;
  mOuter = inner - settings.suppression * (inner + 1);
  mKeySlope = Steepness(settings.threshold - inner);
  mOuterSlope = Steepness(settings.threshold - mOuter);
}

// Red lies at 0, green at 120 and blue at 240 degrees.
double KeyerModel::AlongHue(const Colour& a) const {
  const double third = 2 * std::numbers::pi / 3;
  const double x = a[0] + a[1] * std::cos(third) + a[2] * std::cos(2 * third);
  const double y = a[1] * std::sin(third) + a[2] * std::sin(2 * third);
  return x * mCosine + y * mSine;
}

KeyerModel::Result KeyerModel::Chroma(const Colour& a) const {
  const double outer = Saturate(mOuterSlope * (AlongHue(a) - mOuter));
  const double key = Saturate(1 - mKeySlope / mOuterSlope * (1 - outer));
  if (mSettings.output == 1) {
    const double matte = mSettings.inverted ? key : 1 - key;
    return {matte, matte, matte, matte};
  }
  Result result{0, 0, 0, mSettings.inverted ? key : 1 - key};
  for (std::size_t i = 0; i < 3; ++i) {
    if (mSettings.inverted) {
      if (key > 0) result[i] = Saturate(a[i] - (1 - key) * mSettings.key[i]);
      continue;
    }
    // The part of the key's hue in this channel, by the two stated factors.
    const double angle = static_cast<double>(i) * 2 * std::numbers::pi / 3;
    const double along = mCosine * std::cos(angle) + mSine * std::sin(angle);
    const double cleaner = -0.6667 * mSettings.threshold * along;
    const double cleaned = a[i] + outer * cleaner;
    const double goal = mSettings.key[i] + cleaner;
    result[i] = cleaned - key * ((1 - key) * (goal - cleaned) + cleaned);
  }
  return result;
}

KeyerModel::Result KeyerModel::Key(const Colour& a, const Colour& b) const {
  if (mSettings.mode == 0) return Chroma(a);
  double matte = 0;
  if (mSettings.mode == 1) {
    const double luminance = 0.3086 * a[0] + 0.6094 * a[1] + 0.0820 * a[2];
    const double slope = mSettings.softness > 0 ? std::min(1 / mSettings.softness, 256.0) : 256;
    matte = Saturate(slope * (luminance - mSettings.threshold) * (luminance - mSettings.threshold));
  } else {
    double distance = 0;
    for (std::size_t i = 0; i < 3; ++i) distance += (a[i] - b[i]) * (a[i] - b[i]);
    const double start = 1 - mSettings.threshold;
    matte = Saturate(Steepness(mSettings.softness * mSettings.threshold) * (distance - start));
  }
  if (mSettings.inverted) matte = 1 - matte;
  if (mSettings.output == 1) return {matte, matte, matte, matte};
  return {a[0] * matte, a[1] * matte, a[2] * matte, matte};
}

bool KeyerModel::IsAtTheStep(const Colour& a) const {
  if (mSettings.mode != 0 || mSettings.output != 0 || !mSettings.inverted) return false;
  const double outer = mOuterSlope * (AlongHue(a) - mOuter);
  return std::abs(1 - mKeySlope / mOuterSlope * (1 - outer)) < 1e-6 * mKeySlope;
}

bool KeyerModel::IsMasked(int x, int y, int width, int height) const {
  const auto& m = mSettings.mask;
  return x < MaskedPixels(m[0], width) || x >= width - MaskedPixels(m[1], width) ||
         y < MaskedPixels(m[2], height) || y >= height - MaskedPixels(m[3], height);
}

KeyerDifference CompareWithKey(const KeyerSettings& settings, const Picture& a, const Picture& b,
                               const Picture& result) {
  const KeyerModel model(settings);
  const bool two = settings.mode == 2;
  KeyerDifference found;
  for (int y = 0; y < result.height; ++y) {
    for (int x = 0; x < result.width; ++x) {
      const bool inside = x < a.width && y < a.height && (!two || (x < b.width && y < b.height));
      const auto pixel = PixelAt(result, x, y);
      KeyerModel::Result expected{};
      double difference = 0;
      if (inside && !model.IsMasked(x, y, result.width, result.height)) {
        const KeyerModel::Colour colour = ColourOf(PixelAt(a, x, y));
        expected = model.Key(colour, two ? ColourOf(PixelAt(b, x, y)) : colour);
        difference = LargestOf(expected, pixel);
        if (model.IsAtTheStep(colour)) {
          ++found.atTheStep;
          const double key = expected[3];
          const KeyerModel::Result whole = {colour[0] - (1 - key) * settings.key[0],
                                            colour[1] - (1 - key) * settings.key[1],
                                            colour[2] - (1 - key) * settings.key[2], key};
          difference = std::min(LargestOf({0, 0, 0, key}, pixel), LargestOf(whole, pixel));
        }
      } else {
        difference = LargestOf(expected, pixel);
      }
      if (difference <= found.largest) continue;
      found.largest = difference;
      std::ostringstream text;
      text << "(" << x << ", " << y << ")";
      for (std::size_t i = 0; i < 4; ++i) text << ' ' << int{pixel[i]} << " for " << 255 * expected[i];
      found.where = text.str();
    }
  }
  return found;
}

}  // namespace test
