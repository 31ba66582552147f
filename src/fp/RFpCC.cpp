#include "fp/RFpCC.h"

#include <new>

#include "fp/RFpCC_default.h"

namespace {

constexpr int kZones = 4;

RFpCC* CreateVariant() { return new (std::nothrow) RFpCC_default; }

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
