#include "fp/RFpKeyerKernels.h"

#include <algorithm>

#include "fp/RFpKeyerLoops.h"
#include "fp/RFpPixelRounding.h"

namespace {

// One pixel at a time.
struct Lane {
  using Floats = float;
  struct Pixels {
    Floats red;
    Floats green;
    Floats blue;
    Floats alpha;
  };
  static constexpr std::size_t kCount = 1;

  static Floats Set(float value) { return value; }
  static Floats Min(Floats a, Floats b) { return a < b ? a : b; }
  static Floats Max(Floats a, Floats b) { return a > b ? a : b; }
  static Floats WherePositive(Floats value, Floats condition) { return condition > 0 ? value : 0; }

  static bool AreZero(Floats value) { return value == 0; }

  static Pixels Load(const unsigned char* address) {
    return {static_cast<float>(address[0]), static_cast<float>(address[1]), static_cast<float>(address[2]),
            static_cast<float>(address[3])};
  }
  static void Store(unsigned char* address, const Pixels& p) {
    address[0] = RFpToByte(p.red);
    address[1] = RFpToByte(p.green);
    address[2] = RFpToByte(p.blue);
    address[3] = RFpToByte(p.alpha);
  }
  static void Clear(unsigned char* address) { std::fill_n(address, 4, 0); }
  static void CopyOpaque(unsigned char* to, const unsigned char* from) {
    std::copy_n(from, 3, to);
    to[3] = 255;
  }
};

std::array<float, 3> OfBytes(const std::array<float, 4>& vector, float factor) {
  return {vector[0] * factor, vector[1] * factor, vector[2] * factor};
}

}  // namespace

RFpKeyerCoefficients::RFpKeyerCoefficients(int mode, const RFpKeyerParameters& uniforms) {
  const auto& [p0, p1, p2, p3] = uniforms;
  if (mode == kFpKeyDifference) {
    slope = p0[0] / (255.0F * 255.0F);
    base = p0[1];
    return;
  }
  weights = OfBytes(p1, 1 / 255.0F);
  offset = p1[3];
  slope = mode == kFpKeyChroma ? p0[2] : p0[0];
  base = p0[3];
  spill = OfBytes(p2, 255.0F);
  goal = OfBytes(p3, 255.0F);
}

const RFpKeyerKernels kPlainKeyerKernels = RFpMakeKeyerKernels<Lane>();

const RFpKeyerKernels& RFpGetKeyerKernels() {
#if defined(__x86_64__)
  static const bool kHasAvx2 = __builtin_cpu_supports("avx2") != 0;
  if (kHasAvx2) return kAvx2KeyerKernels;
#endif
  return kPlainKeyerKernels;
}
