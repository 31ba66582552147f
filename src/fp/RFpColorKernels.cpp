#include "fp/RFpColorKernels.h"

#include "fp/RFpPixelRounding.h"

namespace {

using Row = std::array<float, 4>;

float Sum(const Row& row, float red, float green, float blue, float constant) {
  return row[0] * red + row[1] * green + row[2] * blue + constant;
}

float Weight(float value) { return value > 0.0F ? (value < 1.0F ? value : 1.0F) : 0.0F; }

void ApplyMatrix(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                 const RFpMatrixRows& matrix, bool opaque) {
  for (std::size_t i = 0; i < 4 * pixels; i += 4) {
    const float red = source[i];
    const float green = source[i + 1];
    const float blue = source[i + 2];
    const unsigned char alpha = opaque ? 255 : source[i + 3];
    for (std::size_t c = 0; c < 3; ++c) {
      const Row& row = matrix.rows[c];
      destination[i + c] = RFpToByte(Sum(row, red, green, blue, row[3] * static_cast<float>(alpha)));
    }
    destination[i + 3] = alpha;
  }
}

void ApplyZones(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                const RFpZoneRows& zones, bool opaque) {
  const auto& weights = zones.luminance;
  for (std::size_t i = 0; i < 4 * pixels; i += 4) {
    const float red = source[i];
    const float green = source[i + 1];
    const float blue = source[i + 2];
    const unsigned char alpha = opaque ? 255 : source[i + 3];
    const float luminance = weights[0] * red + weights[1] * green + weights[2] * blue;
    const float shadow = Weight(1.0F - luminance);
    const float highlight = Weight(luminance + zones.highlightBase);
    for (std::size_t c = 0; c < 3; ++c) {
      const auto sum = [&](const RFpMatrixRows& matrix) {
        return Sum(matrix.rows[c], red, green, blue, matrix.rows[c][3] * static_cast<float>(alpha));
      };
      const float value =
          sum(zones.midtones) + shadow * sum(zones.shadows) + highlight * sum(zones.highlights);
      destination[i + c] = RFpToByte(value);
    }
    destination[i + 3] = alpha;
  }
}

RFpMatrixRows Difference(const RFpColorMatrix& matrix, const RFpColorMatrix& other) {
  RFpMatrixRows result;
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 4; ++column)
      result.rows[row][column] = matrix.columns[column][row] - other.columns[column][row];
  }
  return result;
}

}  // namespace

RFpMatrixRows::RFpMatrixRows(const RFpColorMatrix& matrix) {
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 4; ++column) rows[row][column] = matrix.columns[column][row];
  }
}

// A pixel's bytes are 255 times the numbers that the weights are for. The highlights' weight is
// 1 - (1 - colour) x luminance.
RFpZoneRows::RFpZoneRows(const std::array<RFpColorMatrix, 3>& matrices,
                         const std::array<float, 4>& overMidPoint)
    : midtones(matrices[1]),
      shadows(Difference(matrices[0], matrices[1])),
      highlights(Difference(matrices[2], matrices[1])),
      luminance{overMidPoint[0] / 255.0F, overMidPoint[1] / 255.0F, overMidPoint[2] / 255.0F},
      highlightBase(1.0F - (overMidPoint[0] + overMidPoint[1] + overMidPoint[2])) {}

const RFpColorKernels kPlainColorKernels = {.applyMatrix = ApplyMatrix, .applyZones = ApplyZones};

#if defined(__x86_64__)
bool RFpHasAvx512Color() {
  return __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vbmi");
}
#endif

const RFpColorKernels& RFpGetColorKernels() {
#if defined(__x86_64__)
  static const bool kHasAvx512 = RFpHasAvx512Color();
  static const bool kHasAvx2 = __builtin_cpu_supports("avx2") != 0;
  if (kHasAvx512) return kAvx512ColorKernels;
  if (kHasAvx2) return kAvx2ColorKernels;
#endif
  return kPlainColorKernels;
}
