// The inner loops of the colour correction.
#pragma once

#include <array>
#include <cstddef>

#include "fp/RFpColorMatrix.h"

/// Red, green and blue of the result, each as a sum over the bytes of a pixel.
struct RFpMatrixRows {
  RFpMatrixRows() = default;
  explicit RFpMatrixRows(const RFpColorMatrix& matrix);

  std::array<std::array<float, 4>, 3> rows{};
};

/// The correction by zones. The weights of the zones sum up to 1, so it is the matrix of the midtones and, by
/// the weights of shadows and highlights, what their matrices differ from it.
struct RFpZoneRows {
  RFpZoneRows() = default;
  /// `overMidPoint` is the vector whose product with a colour is the luminance over the mid point.
  RFpZoneRows(const std::array<RFpColorMatrix, 3>& matrices, const std::array<float, 4>& overMidPoint);

  RFpMatrixRows midtones;
  RFpMatrixRows shadows;     ///< less the midtones
  RFpMatrixRows highlights;  ///< less the midtones
  std::array<float, 3> luminance{};
  float highlightBase = 0;  ///< the weight of the highlights of black, before it is clamped
};

/// One implementation of each loop; all implementations give the same bytes.
///
/// Pixels are RGBA, tightly packed; no alignment is needed. Source and destination are the same or do not
/// overlap. `opaque` lets alpha count as 255, in the sums and in the result; otherwise it is the source's.
/// Sums are clamped and rounded to the nearest, ties to even.
struct RFpColorKernels {
  void (*applyMatrix)(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                      const RFpMatrixRows& matrix, bool opaque);
  void (*applyZones)(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                     const RFpZoneRows& zones, bool opaque);
};

/// The plain loops, right on any machine.
extern const RFpColorKernels kPlainColorKernels;

#if defined(__x86_64__)
/// For processors with AVX2.
extern const RFpColorKernels kAvx2ColorKernels;
/// For processors that `RFpHasAvx512Color` finds.
extern const RFpColorKernels kAvx512ColorKernels;
/// Whether this processor, and the system that runs on it, has AVX-512 with its operations on bytes, and its
/// byte permutations: they mark the processors that do not slow down for long vectors.
bool RFpHasAvx512Color();
#endif

/// Returns the fastest implementation that this machine can run.
const RFpColorKernels& RFpGetColorKernels();
