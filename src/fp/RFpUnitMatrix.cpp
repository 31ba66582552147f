#include "fp/RFpUnitMatrix.h"

#include <algorithm>
#include <cmath>

namespace {

// The largest sum of the absolute coefficients of red, green or blue.
double LargestRow(const RFpColorMatrix& matrix) {
  double largest = 0;
  for (std::size_t row = 0; row < 3; ++row) {
    double sum = 0;
    for (const auto& column : matrix.columns) sum += std::abs(static_cast<double>(column[row]));
    largest = std::max(largest, sum);
    if (!std::isfinite(sum)) return sum;
  }
  return largest;
}

}  // namespace

RFpUnitMatrix RFpMakeUnitMatrix(const RFpColorMatrix& matrix) {
  RFpUnitMatrix result{};
  const double largest = LargestRow(matrix);
  const bool finite = std::isfinite(largest);
  result.exponent = finite && largest > 1 ? static_cast<int>(std::ceil(std::log2(largest))) : 0;
  for (std::size_t column = 0; column < 4; ++column) {
    for (std::size_t row = 0; row < 4; ++row) {
      const double value = finite ? static_cast<double>(matrix.columns[column][row]) : 0;
      result.columns[column][row] = static_cast<float>((std::ldexp(value, -result.exponent) + 1) / 2);
    }
  }
  return result;
}
