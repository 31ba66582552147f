#include "support/RandomCorrection.h"

namespace test {

namespace {

double Between(Random& random, double least, double most) {
  return least + (most - least) * random.Below(1000001) / 1000000.0;
}

ZoneSettings RandomZone(Random& random) {
  ZoneSettings z;
  z.hue = Between(random, 0, 360);
  z.contrast = Between(random, 0, 4);
  z.brightness = Between(random, -1, 1);
  z.saturation = Between(random, 0, 4);
  for (double& value : z.gain) value = Between(random, 1, 4);
  for (double& value : z.offset) value = Between(random, -1, 1);
  return z;
}

void DrawPoints(CorrectionSettings& s, Random& random) {
  s.colorPoints = true;
  for (std::size_t i = 0; i < 3; ++i) {
    s.black[i] = Between(random, 0, 0.9);
    s.white[i] = Between(random, s.black[i] + 0.1, 1);
  }
}

void DrawGamma(CorrectionSettings& s, Random& random) {
  s.gamma = Between(random, 0, 4);
  s.midPoint = Between(random, 0, 1);
}

}  // namespace

const char* NameOf(CorrectionFamily family) {
  static constexpr const char* kNames[] = {"points", "whole image", "points and whole image",
                                           "gamma",  "zones",       "everything"};
  return kNames[static_cast<int>(family)];
}

CorrectionSettings RandomCorrection(CorrectionFamily family, Random& random) {
  CorrectionSettings s;
  s.transparency = random.Below(2) == 0;
  s.negative = random.Below(2) == 0;
  const bool everything = family == CorrectionFamily::kEverything;
  if (everything || family == CorrectionFamily::kPoints || family == CorrectionFamily::kAllGlobal)
    DrawPoints(s, random);
  if (everything || family == CorrectionFamily::kGlobal || family == CorrectionFamily::kAllGlobal)
    s.zones[0] = RandomZone(random);
  if (everything || family == CorrectionFamily::kGamma) DrawGamma(s, random);
  if (everything || family == CorrectionFamily::kZones) {
    for (std::size_t zone = 1; zone < 4; ++zone) s.zones[zone] = RandomZone(random);
  }
  return s;
}

}  // namespace test
