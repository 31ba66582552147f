// Tests of the loops of the colour correction: every implementation that this machine can run, against
// formulas in double precision and against each other.
#include "fp/RFpColorKernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "support/RandomPixels.h"

namespace test {
namespace {

using Bytes = std::vector<unsigned char>;

struct Implementation {
  const char* name;
  const RFpColorKernels* kernels;
};

std::vector<Implementation> Implementations() {
  std::vector<Implementation> list = {{"Plain", &kPlainColorKernels}};
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx2")) list.push_back({"Avx2", &kAvx2ColorKernels});
  if (RFpHasAvx512Color()) list.push_back({"Avx512", &kAvx512ColorKernels});
#endif
  return list;
}

RFpMatrixRows RandomRows(Random& random, float range) {
  RFpMatrixRows matrix;
  for (auto& row : matrix.rows) {
    for (float& value : row) value = RandomCoefficient(random, range);
  }
  return matrix;
}

RFpZoneRows RandomZones(Random& random, float range) {
  RFpZoneRows zones;
  zones.midtones = RandomRows(random, range);
  zones.shadows = RandomRows(random, range);
  zones.highlights = RandomRows(random, range);
  zones.luminance = {0.6F / 255, 1.2F / 255, 0.2F / 255};
  zones.highlightBase = -1.0F;
  return zones;
}

double Sum(const RFpMatrixRows& matrix, std::size_t row, const unsigned char* pixel, double alpha) {
  const auto& c = matrix.rows[row];
  return static_cast<double>(c[0]) * pixel[0] + static_cast<double>(c[1]) * pixel[1] +
         static_cast<double>(c[2]) * pixel[2] + static_cast<double>(c[3]) * alpha;
}

double Clamp(double value, double most) { return value > 0 ? (value < most ? value : most) : 0; }

double ZoneSum(const RFpZoneRows& zones, std::size_t row, const unsigned char* pixel, double alpha) {
  double luminance = 0;
  for (std::size_t i = 0; i < 3; ++i) luminance += static_cast<double>(zones.luminance[i]) * pixel[i];
  return Sum(zones.midtones, row, pixel, alpha) +
         Clamp(1 - luminance, 1) * Sum(zones.shadows, row, pixel, alpha) +
         Clamp(luminance + static_cast<double>(zones.highlightBase), 1) *
             Sum(zones.highlights, row, pixel, alpha);
}

class RFpColorKernelsTest : public testing::TestWithParam<Implementation> {
 protected:
  const RFpColorKernels& Kernels() const { return *GetParam().kernels; }
};

TEST_P(RFpColorKernelsTest, MatrixIsTheFormula) {
  Random random(1);
  const Bytes source = RandomBytes(4 * 1000, random);
  for (int round = 0; round < 20; ++round) {
    const bool opaque = round % 2 != 0;
    const RFpMatrixRows matrix = RandomRows(random, 2);
    Bytes result(source.size());
    Kernels().applyMatrix(result.data(), source.data(), 1000, matrix, opaque);
    for (std::size_t i = 0; i < source.size(); i += 4) {
      const double alpha = opaque ? 255 : source[i + 3];
      for (std::size_t c = 0; c < 3; ++c)
        ASSERT_NEAR(result[i + c], Clamp(Sum(matrix, c, &source[i], alpha), 255), 0.501) << i;
      ASSERT_EQ(result[i + 3], alpha);
    }
  }
}

TEST_P(RFpColorKernelsTest, ZonesAreTheFormula) {
  Random random(2);
  const Bytes source = RandomBytes(4 * 1000, random);
  for (int round = 0; round < 20; ++round) {
    const bool opaque = round % 2 != 0;
    const RFpZoneRows zones = RandomZones(random, 2);
    Bytes result(source.size());
    Kernels().applyZones(result.data(), source.data(), 1000, zones, opaque);
    for (std::size_t i = 0; i < source.size(); i += 4) {
      const double alpha = opaque ? 255 : source[i + 3];
      for (std::size_t c = 0; c < 3; ++c)
        ASSERT_NEAR(result[i + c], Clamp(ZoneSum(zones, c, &source[i], alpha), 255), 0.502) << i;
      ASSERT_EQ(result[i + 3], alpha);
    }
  }
}

TEST_P(RFpColorKernelsTest, RoundsToTheNearestTiesToEven) {
  RFpMatrixRows half;
  for (std::size_t i = 0; i < 3; ++i) half.rows[i][i] = 0.5F;
  Bytes pixels;
  for (int i = 0; i < 256; ++i) pixels.insert(pixels.end(), 4, static_cast<unsigned char>(i));
  Kernels().applyMatrix(pixels.data(), pixels.data(), 256, half, false);
  for (int i = 0; i < 256; ++i)
    EXPECT_EQ(pixels[static_cast<std::size_t>(4 * i)], static_cast<int>(std::nearbyint(i / 2.0))) << i;
}

TEST_P(RFpColorKernelsTest, TheIdentityChangesNothing) {
  RFpMatrixRows identity;
  for (std::size_t i = 0; i < 3; ++i) identity.rows[i][i] = 1;
  RFpZoneRows zones;
  zones.midtones = identity;
  zones.luminance = {1.0F / 255, 1.0F / 255, 1.0F / 255};
  Random random(3);
  const Bytes source = RandomBytes(4 * 777, random);
  Bytes result(source.size());
  Kernels().applyMatrix(result.data(), source.data(), 777, identity, false);
  EXPECT_EQ(result, source);
  Kernels().applyZones(result.data(), source.data(), 777, zones, false);
  EXPECT_EQ(result, source);
}

// Sums that no byte and no integer holds.
TEST_P(RFpColorKernelsTest, ExtremeSumsAreClamped) {
  const float infinity = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  RFpMatrixRows matrix;
  const Bytes white(4 * 19, 255);
  const struct {
    float coefficient;
    unsigned char byte;
  } rows[] = {{1e30F, 255}, {-1e30F, 0}, {infinity, 255}, {-infinity, 0}, {nan, 0}, {1e10F, 255}};
  for (const auto& row : rows) {
    matrix.rows[0][0] = matrix.rows[1][1] = matrix.rows[2][2] = row.coefficient;
    Bytes result(white.size());
    Kernels().applyMatrix(result.data(), white.data(), 19, matrix, true);
    for (std::size_t i = 0; i < result.size(); ++i)
      ASSERT_EQ(result[i], i % 4 == 3 ? 255 : row.byte) << row.coefficient;
  }
}

TEST_P(RFpColorKernelsTest, NoPixelsNeedNoMemory) {
  Kernels().applyMatrix(nullptr, nullptr, 0, {}, true);
  Kernels().applyZones(nullptr, nullptr, 0, {}, false);
}

// Every count and misalignment, with the bytes around the result as they were.
TEST_P(RFpColorKernelsTest, GivesThePlainBytesAndTouchesNoOthers) {
  Random random(4);
  constexpr std::size_t kGuard = 64;
  for (std::size_t count = 0; count < 70; ++count) {
    const std::size_t shift = count % 7;
    const Bytes source = RandomBytes(4 * count + shift, random);
    const bool opaque = count % 2 == 0;
    const float range = count % 3 == 0 ? 1000.0F : 1.5F;
    const RFpMatrixRows matrix = RandomRows(random, range);
    const RFpZoneRows zones = RandomZones(random, range);
    for (const bool useZones : {false, true}) {
      const auto run = [&](const RFpColorKernels& kernels) {
        Bytes result(4 * count + shift + 2 * kGuard, 0xA5);
        unsigned char* const to = result.data() + kGuard + shift;
        if (useZones)
          kernels.applyZones(to, source.data() + shift, count, zones, opaque);
        else
          kernels.applyMatrix(to, source.data() + shift, count, matrix, opaque);
        return result;
      };
      const Bytes result = run(Kernels());
      ASSERT_EQ(result, run(kPlainColorKernels)) << count;
      for (std::size_t i = 0; i < kGuard; ++i) {
        ASSERT_EQ(result[i], 0xA5);
        ASSERT_EQ(result[result.size() - 1 - i], 0xA5);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, RFpColorKernelsTest, testing::ValuesIn(Implementations()),
                         [](const auto& row) { return row.param.name; });

TEST(RFpColorKernels, TheLastThatRunsHereIsChosen) {
  EXPECT_EQ(&RFpGetColorKernels(), Implementations().back().kernels);
}

TEST(RFpColorKernels, ZoneRowsHoldDifferencesFromTheMidtones) {
  std::array<RFpColorMatrix, 3> matrices{};
  for (std::size_t zone = 0; zone < 3; ++zone) {
    for (std::size_t column = 0; column < 4; ++column) {
      for (std::size_t row = 0; row < 4; ++row)
        matrices[zone].columns[column][row] = static_cast<float>((zone + 1) * (10 * column + row));
    }
  }
  const RFpZoneRows zones(matrices, {0.5F, 1.0F, 0.25F, 0.0F});
  EXPECT_EQ(zones.midtones.rows[2][1], 24.0F);
  EXPECT_EQ(zones.shadows.rows[2][1], -12.0F);
  EXPECT_EQ(zones.highlights.rows[2][3], 32.0F);
  EXPECT_FLOAT_EQ(zones.luminance[1], 1.0F / 255);
  EXPECT_FLOAT_EQ(zones.highlightBase, -0.75F);
}

}  // namespace
}  // namespace test
