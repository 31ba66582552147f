// The inner loops of the keyer.
#pragma once

#include <array>
#include <cstddef>

#include "fp/RFpKeyerParameters.h"

/// What the loops compute with: the numbers of `RFpGetKeyerUniforms`, over bytes in place of 0..1.
struct RFpKeyerCoefficients {
  RFpKeyerCoefficients() = default;
  RFpKeyerCoefficients(int mode, const RFpKeyerParameters& uniforms);

  std::array<float, 3> weights{};  ///< of red, green, blue
  float offset = 0;
  float slope = 0;
  float base = 0;
  std::array<float, 3> spill{};  ///< what the matte adds to a colour
  std::array<float, 3> goal{};   ///< the colour that the matte leads to
};

/// Keys `pixels` pixels of `a`, in difference keying against those of `b`. Pixels are RGBA, tightly packed;
/// no alignment is needed. Source and destination are the same or do not overlap. Results are clamped and
/// rounded to the nearest, ties to even.
using RFpKeyerLoop = void (*)(unsigned char* destination, const unsigned char* a, const unsigned char* b,
                              std::size_t pixels, const RFpKeyerCoefficients& coefficients);

/// A loop for every program (see `RFpGetKeyerProgram`). All implementations give the same bytes.
using RFpKeyerKernels = std::array<RFpKeyerLoop, kFpKeyerPrograms>;

/// The plain loops, right on any machine.
extern const RFpKeyerKernels kPlainKeyerKernels;

#if defined(__x86_64__)
/// For processors with AVX2.
extern const RFpKeyerKernels kAvx2KeyerKernels;
#endif

/// Returns the fastest implementation that this machine can run.
const RFpKeyerKernels& RFpGetKeyerKernels();
