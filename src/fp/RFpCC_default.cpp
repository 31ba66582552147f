#include "fp/RFpCC_default.h"

#include <algorithm>

#include "fp/RFpColorKernels.h"
#include "fp/RFpDrawing.h"
#include "fp/RFpParameter.h"
#include "fp/RFpRgbaRows.h"

namespace {

bool IsZone(int zone) { return zone >= 0 && zone < kFpZoneCount; }
bool IsColor(int component) { return component >= 0 && component < 3; }
bool IsComponent(int component) { return component >= 0 && component < 4; }

// Pixels that are brought to RGBA at a time.
constexpr int kChunk = 1024;

}  // namespace

unsigned RFpCC_default::GetChangeCount() const { return mChangeCount; }
int RFpCC_default::GetInputCount() const { return 1; }
int RFpCC_default::GetStageCount() const { return 1; }
int RFpCC_default::GetRequirementFlags(int) const { return kFormProcessorMask; }
int RFpCC_default::GetInputRequirement(int) const { return 1; }
int RFpCC_default::GetNextIndex(int, int) const { return 1; }

void RFpCC_default::Derive() {
  if (mBuiltCount == mChangeCount) return;
  if (UsesZones()) {
    mMatrix = RFpZoneCorrection(mSettings.zones[kFpZoneGlobal], false).Round();
    mZoneMatrices = RFpZoneMatrices(mSettings);
  } else {
    mMatrix = RFpGlobalMatrix(mSettings);
  }
  mBuiltCount = mChangeCount;
}

int RFpCC_default::Bind(RFpContext* context, int, int form) {
  Derive();
  if (!(form & kFormProcessorMask)) return 1;
  return context && context->target.bits && RFpRgbaRows(context->sources[0]).IsReadable() ? 1 : 0;
}

// In memory one pass does everything, also where a variant draws in several stages.
void RFpCC_default::Draw(RFpContext* context, int stage, int form, int width, int height) {
  if (!(form & kFormProcessorMask))
    RFpDrawRectangle(context, form, 1, {.right = width, .top = height});
  else if (context && stage == 0)
    DrawMemory(*context, width, height);
}

void RFpCC_default::Unbind(RFpContext*, int, int) {}

void RFpCC_default::DrawMemory(const RFpContext& context, int width, int height) const {
  const RFpRgbaRows rows(context.sources[0]);
  const RFpPixels& target = context.target;
  const bool opaque = !mSettings.transparency;
  const RFpColorKernels& kernels = RFpGetColorKernels();
  const RFpMatrixRows matrix(mMatrix);
  const RFpZoneRows zones(mZoneMatrices, RFpLuminanceOverMidPoint(mSettings.midPoint));
  width = std::min({width, context.sources[0].width, target.width});
  height = std::min({height, context.sources[0].height, target.height});
  std::array<unsigned char, std::size_t{4} * kChunk> buffer;
  for (int y = 0; y < height; ++y) {
    unsigned char* const row = target.bits + std::size_t{4} * static_cast<std::size_t>(target.rowLength) *
                                                 static_cast<std::size_t>(y);
    for (int x = 0; x < width; x += rows.NeedsConversion() ? kChunk : width) {
      const int count = rows.NeedsConversion() ? std::min(kChunk, width - x) : width;
      const unsigned char* const source = rows.Get(x, y, count, buffer.data());
      unsigned char* const destination = row + std::size_t{4} * static_cast<std::size_t>(x);
      if (UsesZones())
        kernels.applyZones(destination, source, static_cast<std::size_t>(count), zones, opaque);
      else
        kernels.applyMatrix(destination, source, static_cast<std::size_t>(count), matrix, opaque);
    }
  }
}

bool RFpCC_default::SetTransparency(bool transparency) {
  return RFpAssign(mSettings.transparency, transparency, mChangeCount);
}
bool RFpCC_default::GetTransparency() const { return mSettings.transparency; }

bool RFpCC_default::SetNegative(bool negative) {
  return RFpAssign(mSettings.negative, negative, mChangeCount);
}
bool RFpCC_default::GetNegative() const { return mSettings.negative; }

float RFpCC_default::SetBlack(int component, float value) {
  if (!IsColor(component)) return 0.0F;
  return RFpAssign(mSettings.black[static_cast<std::size_t>(component)], RFpClamp(value, 0, 1), mChangeCount);
}
float RFpCC_default::GetBlack(int component) const {
  return IsColor(component) ? mSettings.black[static_cast<std::size_t>(component)] : 0.0F;
}

float RFpCC_default::SetWhite(int component, float value) {
  if (!IsColor(component)) return 0.0F;
  return RFpAssign(mSettings.white[static_cast<std::size_t>(component)], RFpClamp(value, 0, 1), mChangeCount);
}
float RFpCC_default::GetWhite(int component) const {
  return IsColor(component) ? mSettings.white[static_cast<std::size_t>(component)] : 0.0F;
}

bool RFpCC_default::SetColorPoints(bool colorPoints) {
  return RFpAssign(mSettings.colorPoints, colorPoints, mChangeCount);
}
bool RFpCC_default::GetColorPoints() const { return mSettings.colorPoints; }

float RFpCC_default::SetMidPoint(float midPoint) {
  return RFpAssign(mSettings.midPoint, RFpClamp(midPoint, 0.25F, 0.75F), mChangeCount);
}
float RFpCC_default::GetMidPoint() const { return mSettings.midPoint; }

// The gamma takes zones whatever the zones' own settings are, so it counts like a setting of zone 1.
float RFpCC_default::SetGamma(float gamma) {
  return AssignZoneValue(kFpZoneShadows, mSettings.gamma, RFpClamp(gamma, 0.25F, 4.0F), 1.0F);
}
float RFpCC_default::GetGamma() const { return mSettings.gamma; }

float RFpCC_default::AssignZoneValue(int zone, float& held, float value, float neutral) {
  const bool was = held != neutral;
  RFpAssign(held, value, mChangeCount);
  if (zone != kFpZoneGlobal) mZoneCount += static_cast<int>(held != neutral) - static_cast<int>(was);
  return held;
}

float RFpCC_default::SetZoneHue(int zone, float degrees) {
  if (!IsZone(zone)) return 0.0F;
  return AssignZoneValue(zone, mSettings.zones[static_cast<std::size_t>(zone)].hue, degrees, 0.0F);
}
float RFpCC_default::GetZoneHue(int zone) const {
  return IsZone(zone) ? mSettings.zones[static_cast<std::size_t>(zone)].hue : 0.0F;
}

float RFpCC_default::SetZoneOffset(int zone, int component, float value) {
  if (!IsZone(zone) || !IsComponent(component)) return 0.0F;
  auto& offset = mSettings.zones[static_cast<std::size_t>(zone)].offset;
  return AssignZoneValue(zone, offset[static_cast<std::size_t>(component)], value, 0.0F);
}
float RFpCC_default::GetZoneOffset(int zone, int component) const {
  if (!IsZone(zone) || !IsComponent(component)) return 0.0F;
  return mSettings.zones[static_cast<std::size_t>(zone)].offset[static_cast<std::size_t>(component)];
}

float RFpCC_default::SetZoneGain(int zone, int component, float value) {
  if (!IsZone(zone) || !IsComponent(component)) return 0.0F;
  auto& gain = mSettings.zones[static_cast<std::size_t>(zone)].gain;
  return AssignZoneValue(zone, gain[static_cast<std::size_t>(component)], value, 1.0F);
}
float RFpCC_default::GetZoneGain(int zone, int component) const {
  if (!IsZone(zone) || !IsComponent(component)) return 0.0F;
  return mSettings.zones[static_cast<std::size_t>(zone)].gain[static_cast<std::size_t>(component)];
}

float RFpCC_default::SetZoneSaturation(int zone, float saturation) {
  if (!IsZone(zone)) return 0.0F;
  return AssignZoneValue(zone, mSettings.zones[static_cast<std::size_t>(zone)].saturation, saturation, 1.0F);
}
float RFpCC_default::GetZoneSaturation(int zone) const {
  return IsZone(zone) ? mSettings.zones[static_cast<std::size_t>(zone)].saturation : 0.0F;
}
