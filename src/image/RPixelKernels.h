// The inner loops over pixels.
#pragma once

#include <cstddef>

/// One implementation of every loop over pixels; all of them give the same bytes.
///
/// Pixels are tightly packed; no alignment is needed. Source and destination must not overlap, but may be the
/// same where pixels keep their size. The names tell where the bytes of a pixel go: s0 ... s3 are the
/// source's.
struct RPixelKernels {
  using Convert = void (*)(unsigned char* destination, const unsigned char* source, std::size_t pixels);
  using InPlace = void (*)(unsigned char* pixels, std::size_t count);

  Convert swap02;         ///< 4 bytes: s2 s1 s0 s3
  Convert swap13;         ///< 4 bytes: s0 s3 s2 s1
  Convert rotate;         ///< 4 bytes: s1 s2 s3 s0
  Convert reverse;        ///< 4 bytes: s3 s2 s1 s0
  Convert reverse3;       ///< 3 bytes: s2 s1 s0
  Convert addAlpha;       ///< 3 to 4 bytes: s0 s1 s2 255
  Convert addAlphaSwap;   ///< 3 to 4 bytes: s2 s1 s0 255
  Convert dropAlpha;      ///< 4 to 3 bytes: s0 s1 s2
  Convert dropAlphaSwap;  ///< 4 to 3 bytes: s2 s1 s0
  Convert rgb555ToRgb;    ///< 2 to 3 bytes
  Convert rgb555ToRgba;   ///< 2 to 4 bytes, alpha 255

  InPlace premultiply;    ///< bytes 0 to 2: floor(byte x alpha / 255), which single precision gives too
  InPlace unpremultiply;  ///< bytes 0 to 2: min(255, byte x 255 / alpha); alpha 0 changes nothing
  /// Byte 3: the low 8 bits of byte x factor, truncated; 0 where that is no 32-bit integer.
  void (*scaleAlpha)(unsigned char* pixels, std::size_t count, float factor);
  /// Bytes 0 to 2: `invert` exclusive-or byte `channel` of the source; byte 3: 255.
  void (*alphaToGray)(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                      int channel, unsigned char invert);
  /// Bytes 0 to 2 from `colour`; byte 3 from byte 2 of `alpha`.
  void (*mergeAlpha)(unsigned char* destination, const unsigned char* colour, const unsigned char* alpha,
                     std::size_t pixels);
  /// Exchanges two rows that do not overlap.
  void (*swapRows)(unsigned char* a, unsigned char* b, std::size_t bytes);
  /// (a + b) / 2, truncated, to both destinations; the second may be null.
  void (*averageRows)(unsigned char* first, unsigned char* second, const unsigned char* a,
                      const unsigned char* b, std::size_t bytes);
};

/// The plain loops, right on any machine.
extern const RPixelKernels kPlainPixelKernels;

/// Returns the fastest implementation for this machine.
const RPixelKernels& RGetPixelKernels();
