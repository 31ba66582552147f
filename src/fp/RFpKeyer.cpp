#include "fp/RFpKeyer.h"

#include <new>

#include "fp/RFpEntryPoints.h"
#include "fp/RFpKeyer_ATI_fragment_shader.h"
#include "fp/RFpKeyer_NV_fragment_program.h"
#include "fp/RFpKeyer_NV_register_combiners2.h"
#include "fp/RFpKeyer_default.h"

namespace {

// In the order of preference. A family is asked for once, and only when all before it are missing.
RFpKeyer* CreateVariant() {
  static const bool kHasPrograms = RFpIsAvailable(kFpFamilyNVFragmentProgram);
  if (kHasPrograms) return new (std::nothrow) RFpKeyer_NV_fragment_program;
  static const bool kHasCombiners = RFpIsAvailable(kFpFamilyNVRegisterCombiners2);
  if (kHasCombiners) return new (std::nothrow) RFpKeyer_NV_register_combiners2;
  static const bool kHasShaders = RFpIsAvailable(kFpFamilyATIFragmentShader);
  if (kHasShaders) return new (std::nothrow) RFpKeyer_ATI_fragment_shader;
  return new (std::nothrow) RFpKeyer_default;
}

}  // namespace

void RFpKeyer::Reset() {
  SetMode(kFpKeyChroma);
  SetOutput(kFpKeyedImage);
  SetInvertMatte(false);
  SetKey(0, 0.2F);
  SetKey(1, 0.28F);
  SetKey(2, 0.68F);
  SetThreshold(1.0F);
  SetSoftness(0.0F);
  SetSuppression(0.0F);
  for (int edge = 0; edge < 4; ++edge) SetMask(edge, 0.0F);
}

RFpKeyer* CreateKeyerNode() {
  RFpKeyer* const node = CreateVariant();
  if (node) node->Reset();
  return node;
}
