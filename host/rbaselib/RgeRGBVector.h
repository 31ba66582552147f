// A colour of three doubles.
#pragma once

#include "rbaselib/RBaseLibExport.h"

/// Red, green and blue as doubles; colours run from 0 to 1, and nothing is clamped here.
struct RBASELIB_API RgeRGBVector {
  double r = 0;  ///< red
  double g = 0;  ///< green
  double b = 0;  ///< blue

  /// Black.
  RgeRGBVector() = default;
  /// The colour of these components.
  RgeRGBVector(double red, double green, double blue) : r(red), g(green), b(blue) {}

  ///@{
  /// Component 0 is red, 1 green, 2 (and every other index) blue.
  double& operator[](int component) { return component == 0 ? r : component == 1 ? g : b; }
  double operator[](int component) const { return component == 0 ? r : component == 1 ? g : b; }
  ///@}

  /// Whether all components are the same; NaN is not even equal to itself.
  friend bool operator==(const RgeRGBVector&, const RgeRGBVector&) = default;
};
