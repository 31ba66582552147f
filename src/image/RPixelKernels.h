// The inner loops over pixels.
#pragma once

#include <cstddef>

/// One implementation of every loop over pixels; all implementations give the same bytes.
///
/// Pixels are tightly packed; no alignment is needed. Source and destination do not overlap, but may be the
/// same where pixels keep their size. The names of conversions tell where the bytes of a pixel go: s0 ... s3
/// are the source's.
struct RPixelKernels {
  using Convert = void (*)(unsigned char* destination, const unsigned char* source, std::size_t pixels);

  Convert swap02;         ///< 4 bytes: s2 s1 s0 s3
  Convert swap13;         ///< 4 bytes: s0 s3 s2 s1
  Convert rotate;         ///< 4 bytes: s1 s2 s3 s0
  Convert reverse;        ///< 4 bytes: s3 s2 s1 s0
  Convert reverse3;       ///< 3 bytes: s2 s1 s0
  Convert addAlpha;       ///< 3 to 4 bytes: s0 s1 s2 255
  Convert addAlphaSwap;   ///< 3 to 4 bytes: s2 s1 s0 255
  Convert dropAlpha;      ///< 4 to 3 bytes: s0 s1 s2
  Convert dropAlphaSwap;  ///< 4 to 3 bytes: s2 s1 s0
  Convert swap02Opaque;   ///< 4 bytes: s2 s1 s0 255
  Convert grayToRgb;      ///< 1 to 3 bytes: s0 s0 s0
  Convert rgb555ToRgb;    ///< 2 to 3 bytes
  Convert rgb555ToRgba;   ///< 2 to 4 bytes, alpha 255

  /// Bytes 0 to 2: floor(byte x alpha / 255), which is what single precision gives too.
  void (*premultiply)(unsigned char* pixels, std::size_t count);
  /// Bytes 0 to 2: min(255, floor(byte x 255 / alpha)); alpha 0 changes nothing.
  void (*unpremultiply)(unsigned char* pixels, std::size_t count);
  /// Byte 3: the low 8 bits of byte x factor, truncated; 0 where that is no 32-bit integer.
  void (*scaleAlpha)(unsigned char* pixels, std::size_t count, float factor);
  /// Bytes 0 to 2: byte `channel` of the source, exclusive-or `invert`; byte 3: 255.
  void (*alphaToGray)(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                      int channel, unsigned char invert);
  /// Bytes 0 to 2 from `colour`; byte 3 is byte 2 of `alpha`.
  void (*mergeAlpha)(unsigned char* destination, const unsigned char* colour, const unsigned char* alpha,
                     std::size_t pixels);

  /// Exchanges two rows that do not overlap.
  void (*swapRows)(unsigned char* a, unsigned char* b, std::size_t bytes);
  /// Copies a rectangle; strides in bytes.
  void (*copyRows)(unsigned char* destination, std::size_t destinationStride, const unsigned char* source,
                   std::size_t sourceStride, std::size_t rowBytes, std::size_t rows);
  /// Replaces both rows of each pair by (a + b) / 2, truncated. Rows follow each other without padding.
  void (*averagePairs)(unsigned char* destination, const unsigned char* source, std::size_t rowBytes,
                       std::size_t pairs);
  /// 4-byte pixels: pixel i of the destination is pixel 2 x i of the source.
  Convert everySecond;
  /// 4-byte pixels: pixel i of the destination is pixel i / 2 of the source. `pixels` counts the
  /// destination's.
  Convert twice;
};

/// The plain loops, right on any machine.
extern const RPixelKernels kPlainPixelKernels;

#if defined(__x86_64__)
/// Outputs of this many bytes and more go past the caches: beside their sources they would not stay in them,
/// and a normal store first reads the line that it is about to replace.
inline constexpr std::size_t kStreamingBytes = std::size_t{14} << 20;

/// For processors with AVX2.
extern const RPixelKernels kAvx2PixelKernels;
/// For processors that `RHasAvx512Pixels` finds: the loops for AVX2, some of them replaced.
const RPixelKernels& RGetAvx512PixelKernels();
/// Whether this processor, and the system that runs on it, has AVX-512 with its operations on bytes and its
/// byte permutations.
bool RHasAvx512Pixels();
#endif

/// Returns the fastest implementation that this machine can run.
const RPixelKernels& RGetPixelKernels();
