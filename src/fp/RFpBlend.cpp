#include "fp/RFpBlend.h"

#include <new>

#include "fp/RFpBlend_NV_register_combiners2.h"
#include "fp/RFpBlend_default.h"
#include "fp/RFpEntryPoints.h"

namespace {

#ifdef RIMAGE_BLEND_GPU
constexpr bool kGpuPath = true;
#else
constexpr bool kGpuPath = false;
#endif

RFpBlend* CreateVariant() {
  if constexpr (kGpuPath) {
    static const bool kAvailable = RFpIsAvailable(kFpFamilyNVRegisterCombiners2);
    if (kAvailable) return new (std::nothrow) RFpBlend_NV_register_combiners2;
  }
  return new (std::nothrow) RFpBlend_default;
}

}  // namespace

void RFpBlend::Reset() {
  SetFuncRGB(0);
  SetFuncAlpha(0);
  SetAFactorRGB(1);
  SetAFactorAlpha(1);
  SetBFactorRGB(0);
  SetBFactorRGB(0);
  for (int i = 0; i < 4; ++i) SetColor(i, 1.0F);
}

RFpBlend* CreateBlendNode() {
  RFpBlend* const node = CreateVariant();
  if (node) node->Reset();
  return node;
}
