// Colour matrices for hardware with a narrow range of numbers.
#pragma once

#include <array>

#include "fp/RFpColorMatrix.h"

/// A colour matrix divided by a power of two, so that no sum over a colour of 0..1, whole or in part, leaves
/// -1..1. Its coefficients are kept as (c + 1) / 2, which fits constants of 0..1 and which the hardware maps
/// back when it reads them.
struct RFpUnitMatrix {
  std::array<std::array<float, 4>, 4> columns;
  int exponent;  ///< what was divided by, as a power of two; never negative
};

/// A matrix with numbers that are not finite becomes zero.
RFpUnitMatrix RFpMakeUnitMatrix(const RFpColorMatrix& matrix);
