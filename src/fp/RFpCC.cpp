#include "fp/RFpCC.h"

#include <new>

#include "fp/RFpCC_ATI_fragment_shader.h"
#include "fp/RFpCC_NV_fragment_program.h"
#include "fp/RFpCC_NV_register_combiners2.h"
#include "fp/RFpCC_SGI_color_matrix.h"
#include "fp/RFpCC_default.h"
#include "fp/RFpEntryPoints.h"

namespace {

constexpr int kZones = 4;

// In the order of preference. A family is asked for once, and only when all before it are missing.
RFpCC* CreateVariant() {
  static const bool kHasPrograms = RFpIsAvailable(kFpFamilyNVFragmentProgram);
  if (kHasPrograms) return new (std::nothrow) RFpCC_NV_fragment_program;
  static const bool kHasCombiners = RFpIsAvailable(kFpFamilyNVRegisterCombiners2);
  if (kHasCombiners) return new (std::nothrow) RFpCC_NV_register_combiners2;
  static const bool kHasShaders = RFpIsAvailable(kFpFamilyATIFragmentShader);
  if (kHasShaders) return new (std::nothrow) RFpCC_ATI_fragment_shader;
  static const bool kHasColorMatrix = RFpHasColorMatrix();
  if (kHasColorMatrix) return new (std::nothrow) RFpCC_SGI_color_matrix;
  return new (std::nothrow) RFpCC_default;
}

}  // namespace

void RFpCC::Reset() {
  SetTransparency(false);
  SetNegative(false);
  for (int i = 0; i < 3; ++i) SetBlack(i, 0.0F);
  for (int i = 0; i < 3; ++i) SetWhite(i, 1.0F);
  SetColorPoints(false);
  SetMidPoint(0.5F);
  SetGamma(1.0F);
  for (int zone = 0; zone < kZones; ++zone) {
    SetZoneHue(zone, 0.0F);
    for (int i = 0; i < 4; ++i) SetZoneOffset(zone, i, 0.0F);
    for (int i = 0; i < 4; ++i) SetZoneGain(zone, i, 1.0F);
    SetZoneSaturation(zone, 1.0F);
  }
}

RFpCC* CreateCCNode() {
  RFpCC* const node = CreateVariant();
  if (node) node->Reset();
  return node;
}
