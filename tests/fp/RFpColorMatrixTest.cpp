// Tests of the matrices of the colour correction, against formulas in double precision.
#include "fp/RFpColorMatrix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "fp/RFpCC_default.h"
#include "support/RandomCorrection.h"

namespace test {
namespace {

Rgba Apply(const RFpColorMatrix& matrix, const Rgba& c) {
  Rgba result{};
  for (std::size_t column = 0; column < 4; ++column) {
    for (std::size_t row = 0; row < 4; ++row)
      result[row] += static_cast<double>(matrix.columns[column][row]) * c[column];
  }
  return result;
}

Rgba Apply(const RFpColorTransform& transform, const Rgba& c) { return Apply(transform.Round(), c); }

double Luminance(const Rgba& c) { return 0.3086 * c[0] + 0.6094 * c[1] + 0.0820 * c[2]; }

void ExpectNear(const Rgba& actual, const Rgba& expected, double tolerance, const std::string& what) {
  for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(actual[i], expected[i], tolerance) << what << ": " << i;
}

const Rgba kColour = {0.7, 0.2, 0.5, 0.8};

TEST(RFpColorMatrix, StartsAsTheIdentity) {
  ExpectNear(Apply(RFpColorTransform(), kColour), kColour, 1e-7, "identity");
}

TEST(RFpColorMatrix, ColumnsHoldWhatAnInputContributes) {
  RFpColorTransform transform;
  transform.Scale(2, 3, 4).Offset(0.1, 0.2, 0.3);
  const RFpColorMatrix matrix = transform.Round();
  EXPECT_EQ(matrix.columns[0], (std::array<float, 4>{2, 0, 0, 0}));
  EXPECT_EQ(matrix.columns[1], (std::array<float, 4>{0, 3, 0, 0}));
  EXPECT_EQ(matrix.columns[2], (std::array<float, 4>{0, 0, 4, 0}));
  EXPECT_EQ(matrix.columns[3], (std::array<float, 4>{0.1F, 0.2F, 0.3F, 1}));
}

TEST(RFpColorMatrix, LaterCallsApplyAfterEarlierOnes) {
  RFpColorTransform scaled;
  scaled.Scale(2, 2, 2).Offset(0.5, 0.5, 0.5);
  ExpectNear(Apply(scaled, {0.1, 0.2, 0.3, 1}), {0.7, 0.9, 1.1, 1}, 1e-6, "scale first");
  RFpColorTransform moved;
  moved.Offset(0.5, 0.5, 0.5).Scale(2, 2, 2);
  ExpectNear(Apply(moved, {0.1, 0.2, 0.3, 1}), {1.2, 1.4, 1.6, 1}, 1e-6, "offset first");
  RFpColorTransform composed;
  composed.Scale(2, 2, 2).Apply(RFpColorTransform().Offset(0.5, 0.5, 0.5));
  ExpectNear(Apply(composed, {0.1, 0.2, 0.3, 1}), {0.7, 0.9, 1.1, 1}, 1e-6, "A, then B, is B x A");
}

TEST(RFpColorMatrix, SaturationMovesFromGrey) {
  const double grey = Luminance(kColour);
  ExpectNear(Apply(RFpColorTransform().Saturate(0), kColour), {grey, grey, grey, 0.8}, 1e-6, "none");
  ExpectNear(Apply(RFpColorTransform().Saturate(1), kColour), kColour, 1e-6, "as it is");
  Rgba twice = kColour;
  for (std::size_t i = 0; i < 3; ++i) twice[i] = 2 * kColour[i] - grey;
  ExpectNear(Apply(RFpColorTransform().Saturate(2), kColour), twice, 1e-6, "twice");
}

TEST(RFpColorMatrix, SaturationHasTheStatedColumns) {
  const RFpColorMatrix m = RFpColorTransform().Saturate(0.25).Round();
  const double weights[] = {0.3086, 0.6094, 0.0820};
  for (std::size_t column = 0; column < 3; ++column) {
    for (std::size_t row = 0; row < 3; ++row) {
      const double expected = weights[column] * 0.75 + (row == column ? 0.25 : 0);
      EXPECT_FLOAT_EQ(m.columns[column][row], static_cast<float>(expected));
    }
    EXPECT_EQ(m.columns[column][3], 0.0F);
  }
  EXPECT_EQ(m.columns[3], (std::array<float, 4>{0, 0, 0, 1}));
}

TEST(RFpColorMatrix, HueKeepsLuminanceAndGrey) {
  for (int degrees = -720; degrees <= 720; degrees += 7) {
    const RFpColorTransform turned = RFpColorTransform().RotateHue(degrees);
    const std::string what = std::to_string(degrees) + " degrees";
    EXPECT_NEAR(Luminance(Apply(turned, kColour)), Luminance(kColour), 2e-6) << what;
    ExpectNear(Apply(turned, {0.4, 0.4, 0.4, 0.3}), {0.4, 0.4, 0.4, 0.3}, 2e-6, what);
  }
}

// The hue is what is left of a colour when its grey is taken away; seen along the grey axis it turns by the
// angle.
TEST(RFpColorMatrix, HueTurnsByTheAngle) {
  const auto angle = [](const Rgba& c) {
    return std::atan2((c[1] - c[2]) * std::sqrt(3.0) / 2, c[0] - (c[1] + c[2]) / 2) * 180 / std::acos(-1.0);
  };
  for (int degrees = 0; degrees < 360; degrees += 15) {
    const double turned = angle(Apply(RFpColorTransform().RotateHue(degrees), kColour)) - angle(kColour);
    EXPECT_NEAR(std::remainder(turned - degrees, 360), 0, 1e-4) << degrees;
  }
}

TEST(RFpColorMatrix, NoHueAndAWholeTurnAreTheIdentity) {
  for (const double degrees : {0.0, 360.0, -360.0}) {
    ExpectNear(Apply(RFpColorTransform().RotateHue(degrees), kColour), kColour, 2e-6, "turn");
  }
}

// --- Composition.

RFpColorZone ZoneWith(void (*change)(RFpColorZone&)) {
  RFpColorZone zone;
  change(zone);
  return zone;
}

struct StepRow {
  const char* name;
  RFpColorZone zone;
  Rgba (*expected)(const Rgba& c);
};

const StepRow kSteps[] = {
    {"contrast", ZoneWith([](RFpColorZone& z) { z.gain[0] = 2; }),
     [](const Rgba& c) {
       return Rgba{2 * c[0], 2 * c[1], 2 * c[2], c[3]};
     }},
    {"brightness", ZoneWith([](RFpColorZone& z) { z.offset[0] = 0.25; }),
     [](const Rgba& c) {
       return Rgba{c[0] + 0.25 * c[3], c[1] + 0.25 * c[3], c[2] + 0.25 * c[3], c[3]};
     }},
    {"gain", ZoneWith([](RFpColorZone& z) {
       z.gain = {1, 2, 3, 4};
     }),
     [](const Rgba& c) {
       return Rgba{2 * c[0], 3 * c[1], 4 * c[2], c[3]};
     }},
    {"offset", ZoneWith([](RFpColorZone& z) {
       z.offset = {0, 0.25, 0.5, -1};
     }),
     [](const Rgba& c) {
       return Rgba{c[0] + 0.25 * c[3], c[1] + 0.5 * c[3], c[2] - c[3], c[3]};
     }},
    // The order: contrast, brightness, saturation, gain, offset.
    {"brightness after contrast", ZoneWith([](RFpColorZone& z) {
       z.gain[0] = 2;
       z.offset[0] = 0.25;
     }),
     [](const Rgba& c) {
       return Rgba{2 * c[0] + 0.25 * c[3], 2 * c[1] + 0.25 * c[3], 2 * c[2] + 0.25 * c[3], c[3]};
     }},
    {"gain after brightness", ZoneWith([](RFpColorZone& z) {
       z.offset[0] = 0.25;
       z.gain = {1, 2, 2, 2};
     }),
     [](const Rgba& c) {
       return Rgba{2 * c[0] + 0.5 * c[3], 2 * c[1] + 0.5 * c[3], 2 * c[2] + 0.5 * c[3], c[3]};
     }},
    {"gain after saturation", ZoneWith([](RFpColorZone& z) {
       z.saturation = 0;
       z.gain = {1, 1, 2, 3};
     }),
     [](const Rgba& c) {
       const double grey = Luminance(c);
       return Rgba{grey, 2 * grey, 3 * grey, c[3]};
     }},
    {"offset after gain", ZoneWith([](RFpColorZone& z) {
       z.gain = {1, 2, 2, 2};
       z.offset = {0, 0.5, 0.5, 0.5};
     }),
     [](const Rgba& c) {
       return Rgba{2 * c[0] + 0.5 * c[3], 2 * c[1] + 0.5 * c[3], 2 * c[2] + 0.5 * c[3], c[3]};
     }},
    {"saturation after hue", ZoneWith([](RFpColorZone& z) {
       z.hue = 90;
       z.saturation = 0;
     }),
     [](const Rgba& c) {
       return Rgba{Luminance(c), Luminance(c), Luminance(c), c[3]};
     }},
};

TEST(RFpColorMatrix, EachStepAndItsPlace) {
  for (const StepRow& row : kSteps) {
    ExpectNear(Apply(RFpZoneCorrection(row.zone, false), kColour), row.expected(kColour), 2e-6, row.name);
    Rgba negative = row.expected(kColour);
    for (std::size_t i = 0; i < 3; ++i) negative[i] = kColour[3] - negative[i];
    ExpectNear(Apply(RFpZoneCorrection(row.zone, true), kColour), negative, 2e-6,
               std::string(row.name) + ", negative");
  }
}

TEST(RFpColorMatrix, PointsSubtractBlackAndScaleToWhite) {
  RFpColorSettings settings;
  settings.black = {0.1F, 0.2F, 0.3F};
  settings.white = {0.6F, 0.45F, 0.4F};
  ExpectNear(Apply(RFpPointsCorrection(settings), kColour), kColour, 1e-6, "off");
  settings.colorPoints = true;
  ExpectNear(Apply(RFpPointsCorrection(settings), {0.1, 0.2, 0.3, 1}), {0, 0, 0, 1}, 1e-6, "black");
  ExpectNear(Apply(RFpPointsCorrection(settings), {0.6, 0.45, 0.4, 1}), {1, 1, 1, 1}, 2e-6, "white");
  ExpectNear(Apply(RFpPointsCorrection(settings), {0.35, 0.2, 0.5, 1}), {0.5, 0, 2, 1}, 2e-6, "between");
}

TEST(RFpColorMatrix, WhiteBelowBlackTurnsRound) {
  RFpColorSettings settings;
  settings.colorPoints = true;
  settings.black = {0.75F, 1, 1};
  settings.white = {0.25F, 0, 0};
  ExpectNear(Apply(RFpPointsCorrection(settings), {0.75, 0.25, 1, 1}), {0, 0.75, 0, 1}, 1e-6, "inverted");
}

TEST(RFpColorMatrix, WhiteEqualToBlackIsAHardEdge) {
  RFpColorSettings settings;
  settings.colorPoints = true;
  settings.black = settings.white = {0.5F, 0, 1};
  const Rgba result = Apply(RFpPointsCorrection(settings), {0.5, 1.0 / 255, 1, 1});
  ExpectNear(result, {0, 256.0 / 255, 0, 1}, 1e-5, "edge");
}

void ExpectModel(const CorrectionSettings& wanted) {
  RFpCC_default node;
  ApplyTo(node, wanted);
  const CorrectionSettings s = ReadFrom(node);
  RFpColorSettings settings;
  settings.colorPoints = s.colorPoints;
  settings.negative = s.negative;
  settings.gamma = static_cast<float>(s.gamma);
  settings.midPoint = static_cast<float>(s.midPoint);
  for (std::size_t i = 0; i < 3; ++i) {
    settings.black[i] = static_cast<float>(s.black[i]);
    settings.white[i] = static_cast<float>(s.white[i]);
  }
  for (std::size_t zone = 0; zone < 4; ++zone) {
    const ZoneSettings& from = s.zones[zone];
    RFpColorZone& to = settings.zones[zone];
    to.hue = static_cast<float>(from.hue);
    to.saturation = static_cast<float>(from.saturation);
    to.gain[0] = static_cast<float>(from.contrast);
    to.offset[0] = static_cast<float>(from.brightness);
    for (std::size_t i = 0; i < 3; ++i) {
      to.gain[i + 1] = static_cast<float>(from.gain[i]);
      to.offset[i + 1] = static_cast<float>(from.offset[i]);
    }
  }
  const double tolerance = 1e-6 + std::ldexp(SumOfCoefficients(s), -20);
  CorrectionSettings transparent = s;  // so that the model takes alpha as it comes
  transparent.transparency = true;
  for (const Rgba& colour : {Rgba{0, 0, 0, 1}, Rgba{1, 1, 1, 1}, kColour, Rgba{0.1, 0.9, 0.3, 1}, Rgba{}}) {
    Rgba result = Apply(RFpGlobalMatrix(settings), colour);
    if (UsesZones(s)) {
      const auto matrices = RFpZoneMatrices(settings);
      const auto weights = ZoneWeights(s, colour);
      result = {};
      for (std::size_t zone = 0; zone < 3; ++zone) {
        const Rgba part = Apply(matrices[zone], colour);
        for (std::size_t i = 0; i < 4; ++i) result[i] += weights[zone] * part[i];
      }
    }
    ExpectNear(result, CorrectColour(transparent, colour), tolerance, Describe(s));
  }
}

TEST(RFpColorMatrix, ComposesAsTheModelDoes) {
  for (const CorrectionFamily family : kCorrectionFamilies) {
    Random random(static_cast<unsigned>(family));
    for (int i = 0; i < 50; ++i) ExpectModel(RandomCorrection(family, random));
  }
}

TEST(RFpColorMatrix, AlphaIsNeverTouched) {
  Random random(1);
  for (int i = 0; i < 20; ++i) {
    RFpColorSettings settings;
    settings.zones[2].hue = static_cast<float>(random.Below(360));
    settings.zones[3].offset = {0.5F, 1, 1, 1};
    settings.negative = i % 2 != 0;
    settings.gamma = 2;
    for (const RFpColorMatrix& matrix : RFpZoneMatrices(settings)) {
      for (std::size_t column = 0; column < 4; ++column)
        EXPECT_EQ(matrix.columns[column][3], column == 3 ? 1.0F : 0.0F);
    }
  }
}

TEST(RFpColorMatrix, LuminanceOverTheMidPoint) {
  const auto half = RFpLuminanceOverMidPoint(0.5F);
  EXPECT_FLOAT_EQ(half[0], 0.6172F);
  EXPECT_FLOAT_EQ(half[1], 1.2188F);
  EXPECT_FLOAT_EQ(half[2], 0.1640F);
  EXPECT_EQ(half[3], 0.0F);
  EXPECT_FLOAT_EQ(RFpLuminanceOverMidPoint(0.0F)[0], 0.3086F * 256);
  EXPECT_FLOAT_EQ(RFpLuminanceOverMidPoint(1.0F)[0], static_cast<float>(0.3086 / 0.99609375));
}

// --- The tonal curve.

TEST(RFpZoneLines, AreTheIdentityAtGammaOne) {
  for (const double midPoint : {0.25, 0.3, 0.5, 0.75}) {
    for (const RFpZoneLine& line : RFpZoneLines(1, midPoint)) {
      EXPECT_DOUBLE_EQ(line.scale, 1);
      EXPECT_NEAR(line.offset, 0, 1e-15);
    }
  }
}

TEST(RFpZoneLines, DoNotJumpAtGammaOne) {
  const auto below = RFpZoneLines(std::nextafter(1.0F, 0.0F), 0.5);
  const auto above = RFpZoneLines(std::nextafter(1.0F, 2.0F), 0.5);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(below[i].scale, above[i].scale, 1e-6);
    EXPECT_NEAR(below[i].offset, above[i].offset, 1e-6);
  }
}

// One zone's share of the sum at every grey, for one way of choosing the zone's line.
struct Candidate {
  std::size_t from, to, through;
  int steps;
};

std::vector<Candidate> Candidates() {
  std::vector<Candidate> list;
  for (std::size_t through = 0; through < 4; ++through) {
    for (std::size_t from = 0; from < 4; ++from) {
      for (std::size_t to = from + 1; to < 4; ++to) list.push_back({from, to, through, 0});
      list.push_back({from, from, through, 1});
      list.push_back({from, from, through, -1});
    }
  }
  return list;
}

constexpr int kGreys = 257;
constexpr std::size_t kCases = 9;  // three gammas at three mid points
constexpr double kMidPoints[] = {0.25, 0.5, 0.75};
using Gammas = std::array<double, 3>;

double Curve(double value, double gamma) { return std::pow(value, 1 / gamma); }

RFpZoneLine LineOf(const Candidate& c, double gamma, double midPoint) {
  const double samples[] = {midPoint / 3, 2 * midPoint / 3, (2 * midPoint + 1) / 3, (midPoint + 2) / 3};
  const double to = samples[c.to] + c.steps / 256.0;
  const double scale = (Curve(to, gamma) - Curve(samples[c.from], gamma)) / (to - samples[c.from]);
  return {scale, Curve(samples[c.through], gamma) - scale * samples[c.through]};
}

CorrectionSettings Curved(double gamma, double midPoint) {
  CorrectionSettings s;
  s.gamma = gamma;
  s.midPoint = midPoint;
  return s;
}

// The largest deviation of three lines, weighted, from the curve.
double Deviation(const std::array<RFpZoneLine, 3>& lines, double gamma, double midPoint) {
  double largest = 0;
  for (int i = 0; i < kGreys; ++i) {
    const double v = i / (kGreys - 1.0);
    const auto weights = ZoneWeights(Curved(gamma, midPoint), {v, v, v, 1});
    double sum = 0;
    for (std::size_t zone = 0; zone < 3; ++zone)
      sum += weights[zone] * (lines[zone].scale * v + lines[zone].offset);
    largest = std::max(largest, std::abs(std::clamp(sum, 0.0, 1.0) - Curve(v, gamma)));
  }
  return largest;
}

// Tables of every candidate's weighted values, so that all triples can be tried.
struct Shares {
  std::vector<std::vector<double>> zones[3];  // by candidate, then by case and grey
  std::vector<double> curve;
};

Shares MakeShares(const Gammas& gammas) {
  Shares shares;
  const auto candidates = Candidates();
  for (auto& zone : shares.zones) zone.resize(candidates.size());
  for (const double gamma : gammas) {
    for (const double midPoint : kMidPoints) {
      for (int i = 0; i < kGreys; ++i) {
        const double v = i / (kGreys - 1.0);
        const auto weights = ZoneWeights(Curved(gamma, midPoint), {v, v, v, 1});
        shares.curve.push_back(Curve(v, gamma));
        for (std::size_t c = 0; c < candidates.size(); ++c) {
          const RFpZoneLine line = LineOf(candidates[c], gamma, midPoint);
          for (std::size_t zone = 0; zone < 3; ++zone)
            shares.zones[zone][c].push_back(weights[zone] * (line.scale * v + line.offset));
        }
      }
    }
  }
  return shares;
}

// How far an assignment is off, compared in this order.
struct Quality {
  double largest;      // deviation
  double meanOfCases;  // of the cases' largest
  double mean;         // deviation
};

// An assignment that is further off than `limit` is not measured to its end.
Quality Measure(const Shares& shares, std::size_t shadows, std::size_t midtones, std::size_t highlights,
                double limit) {
  Quality quality{0, 0, 0};
  for (std::size_t i = 0; i < kCases && quality.largest <= limit; ++i) {
    double largest = 0;
    for (std::size_t k = i * kGreys; k < (i + 1) * kGreys && largest <= limit; ++k) {
      const double sum =
          shares.zones[0][shadows][k] + shares.zones[1][midtones][k] + shares.zones[2][highlights][k];
      const double deviation = std::abs(std::clamp(sum, 0.0, 1.0) - shares.curve[k]);
      largest = std::max(largest, deviation);
      quality.mean += deviation / (kCases * kGreys);
    }
    quality.largest = std::max(quality.largest, largest);
    quality.meanOfCases += largest / kCases;
  }
  return quality;
}

// Returns the candidate that gives the module's line of a zone in all cases.
std::size_t Chosen(const Gammas& gammas, std::size_t zone) {
  const auto candidates = Candidates();
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    bool fits = true;
    for (const double gamma : gammas) {
      for (const double midPoint : kMidPoints) {
        const RFpZoneLine line = RFpZoneLines(gamma, midPoint)[zone];
        const RFpZoneLine own = LineOf(candidates[i], gamma, midPoint);
        fits = fits && std::abs(line.scale - own.scale) < 1e-9 && std::abs(line.offset - own.offset) < 1e-9;
      }
    }
    if (fits) return i;
  }
  ADD_FAILURE() << "zone " << zone << " follows no assignment";
  return 0;
}

// No other assignment has a smaller maximum; of those with the same one, none is nearer on the whole.
void ExpectBest(const Gammas& gammas) {
  constexpr double kEqual = 1e-9;
  const Shares shares = MakeShares(gammas);
  const Quality own = Measure(shares, Chosen(gammas, 0), Chosen(gammas, 1), Chosen(gammas, 2), 1);
  const std::size_t count = shares.zones[0].size();
  for (std::size_t i = 0; i < count * count * count; ++i) {
    const Quality other =
        Measure(shares, i / count / count, i / count % count, i % count, own.largest + kEqual);
    if (other.largest > own.largest + kEqual) continue;
    ASSERT_GE(other.largest, own.largest - kEqual) << i;
    ASSERT_GE(other.meanOfCases, own.meanOfCases - kEqual) << i;
    if (other.meanOfCases > own.meanOfCases + kEqual) continue;
    ASSERT_GE(other.mean, own.mean - kEqual) << i;
  }
}

TEST(RFpZoneLines, NoOtherAssignmentOfSamplesIsBetter) {
  ASSERT_EQ(Candidates().size(), 56U);
  ExpectBest({0.25, 0.5, 0.8});
  ExpectBest({1.25, 2, 4});
}

struct DeviationRow {
  double gamma;
  std::array<double, 3> deviation;  // at mid point 0.25, 0.5, 0.75
};

// The table of the documentation.
constexpr DeviationRow kDeviations[] = {{0.25, {0.087, 0.095, 0.092}}, {0.5, {0.089, 0.066, 0.093}},
                                        {0.8, {0.034, 0.049, 0.067}},  {1.25, {0.074, 0.056, 0.046}},
                                        {2, {0.206, 0.125, 0.095}},    {4, {0.272, 0.259, 0.363}}};

TEST(RFpZoneLines, DeviateFromTheCurveByNoMoreThanDocumented) {
  std::printf("%8s %8s %8s %8s\n", "gamma", "m 0.25", "m 0.5", "m 0.75");
  for (const DeviationRow& row : kDeviations) {
    std::array<double, 3> found{};
    for (std::size_t i = 0; i < 3; ++i) {
      found[i] = Deviation(RFpZoneLines(row.gamma, kMidPoints[i]), row.gamma, kMidPoints[i]);
      EXPECT_NEAR(found[i], row.deviation[i], 0.0006) << row.gamma << ", " << kMidPoints[i];
    }
    std::printf("%8.2f %8.3f %8.3f %8.3f\n", row.gamma, found[0], found[1], found[2]);
  }
}

}  // namespace
}  // namespace test
