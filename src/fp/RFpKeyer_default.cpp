#include "fp/RFpKeyer_default.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "fp/RFpDrawing.h"
#include "fp/RFpKeyerKernels.h"
#include "fp/RFpParameter.h"
#include "fp/RFpRgbaRows.h"

namespace {

// Pixels that are brought to RGBA at a time.
constexpr int kChunk = 1024;

bool IsColor(int component) { return component >= 0 && component < 3; }
bool IsEdge(int edge) { return edge >= 0 && edge < 4; }

// The pixels that a mask covers, to the nearest.
int Cover(float fraction, int pixels) {
  return static_cast<int>(std::lround(static_cast<double>(fraction) * pixels));
}

// What the masks leave of a picture; nothing when there is nothing to key by. Masks of the same width cover
// as many pixels at either side.
RFpRectangle Unmasked(const RFpKeyerSettings& settings, int width, int height) {
  if (!RFpGetKeyerProgram(settings)) return {};
  const auto& mask = settings.mask;
  return {.left = Cover(mask[kFpEdgeLeft], width),
          .bottom = Cover(mask[kFpEdgeBottom], height),
          .right = width - Cover(mask[kFpEdgeRight], width),
          .top = height - Cover(mask[kFpEdgeTop], height)};
}

RFpRectangle Whole(const RFpPixels& pixels) { return {.right = pixels.width, .top = pixels.height}; }

// The pixels of one image, brought to RGBA in a buffer of its own.
class Source {
 public:
  explicit Source(const RFpPixels& pixels) : mRows(pixels) {}

  bool IsReadable() const { return mRows.IsReadable(); }
  bool NeedsConversion() const { return mRows.NeedsConversion(); }
  const unsigned char* Get(int x, int y, int count) { return mRows.Get(x, y, count, mBuffer.data()); }

 private:
  RFpRgbaRows mRows;
  std::array<unsigned char, std::size_t{4} * kChunk> mBuffer;
};

unsigned char* PixelAt(const RFpPixels& pixels, int x, int y) {
  const std::size_t row = static_cast<std::size_t>(y) * static_cast<std::size_t>(pixels.rowLength);
  return pixels.bits + 4 * (row + static_cast<std::size_t>(x));
}

void Clear(const RFpPixels& pixels, int from, int to, int y) {
  if (from < to)
    std::memset(PixelAt(pixels, from, y), 0, std::size_t{4} * static_cast<std::size_t>(to - from));
}

// Clears what lies outside the rectangle in an area of `width` x `height` pixels.
void ClearAround(const RFpPixels& pixels, const RFpRectangle& rectangle, int width, int height) {
  for (int y = 0; y < height; ++y) {
    const bool outside = rectangle.IsEmpty() || y < rectangle.bottom || y >= rectangle.top;
    Clear(pixels, 0, outside ? width : rectangle.left, y);
    if (!outside) Clear(pixels, rectangle.right, width, y);
  }
}

}  // namespace

unsigned RFpKeyer_default::GetChangeCount() const { return mChangeCount; }
int RFpKeyer_default::GetInputCount() const { return mSettings.mode == kFpKeyDifference ? 2 : 1; }
int RFpKeyer_default::GetStageCount() const { return 1; }
int RFpKeyer_default::GetRequirementFlags(int) const { return kFormProcessorMask; }
int RFpKeyer_default::GetInputRequirement(int) const { return GetInputCount(); }
int RFpKeyer_default::GetNextIndex(int, int index) const { return index + 1; }

void RFpKeyer_default::Derive() {
  if (mBuiltCount == mChangeCount) return;
  RFpDeriveKeyerParameters(mSettings, mParameters);
  mBuiltCount = mChangeCount;
}

int RFpKeyer_default::Bind(RFpContext*, int, int) {
  Derive();
  return 1;
}

void RFpKeyer_default::Draw(RFpContext* context, int, int form, int width, int height) {
  if (!(form & kFormProcessorMask))
    DrawOpenGL(context, form, width, height);
  else if (context && context->target.bits)
    DrawMemory(*context, width, height);
}

void RFpKeyer_default::Unbind(RFpContext*, int, int) {}

void RFpKeyer_default::DrawOpenGL(const RFpContext* context, int form, int width, int height) const {
  const int inputs = GetInputCount();
  RFpRectangle keyed = Unmasked(mSettings, width, height);
  for (int i = 0; context && i < inputs; ++i) {
    const RFpPixels& source = context->sources[static_cast<std::size_t>(i)];
    // Without a size the source is not known here; it is as large as the picture.
    if (source.width > 0 && source.height > 0) keyed = keyed.Intersect(Whole(source));
  }
  if (keyed != RFpRectangle{.right = width, .top = height}) RFpClearRectangle(width, height);
  if (!keyed.IsEmpty()) RFpDrawRectangle(context, form, inputs, keyed);
}

void RFpKeyer_default::DrawMemory(const RFpContext& context, int width, int height) const {
  // What keys one image finds the same at both places.
  const RFpPixels& pixelsA = context.sources[0];
  const RFpPixels& pixelsB = context.sources[GetInputCount() == 2 ? 1 : 0];
  const RFpPixels& target = context.target;
  Source a(pixelsA);
  Source b(pixelsB);
  RFpRectangle keyed = Unmasked(mSettings, width, height);
  keyed = keyed.Intersect(Whole(pixelsA)).Intersect(Whole(pixelsB)).Intersect(Whole(target));
  if (!a.IsReadable() || !b.IsReadable()) keyed = {};
  width = std::min(width, target.width);
  height = std::min(height, target.height);
  ClearAround(target, keyed, width, height);
  if (keyed.IsEmpty()) return;
  const auto loop = RFpGetKeyerKernels()[*RFpGetKeyerProgram(mSettings)];
  const RFpKeyerCoefficients coefficients(mSettings.mode, RFpGetKeyerUniforms(mSettings, mParameters).values);
  const int step = a.NeedsConversion() || b.NeedsConversion() ? kChunk : keyed.right - keyed.left;
  for (int y = keyed.bottom; y < keyed.top; ++y) {
    for (int x = keyed.left; x < keyed.right; x += step) {
      const int count = std::min(step, keyed.right - x);
      loop(PixelAt(target, x, y), a.Get(x, y, count), b.Get(x, y, count), static_cast<std::size_t>(count),
           coefficients);
    }
  }
}

int RFpKeyer_default::SetMode(int mode) {
  // Deliberate: it is the stored mode that is asked, so one that is not known can be stored, and then stays.
  if (mSettings.mode > kFpKeyDifference) return mSettings.mode;
  return RFpAssign(mSettings.mode, mode, mChangeCount);
}
int RFpKeyer_default::GetMode() const { return mSettings.mode; }

int RFpKeyer_default::SetOutput(int output) { return RFpAssign(mSettings.output, output, mChangeCount); }
int RFpKeyer_default::GetOutput() const { return mSettings.output; }

bool RFpKeyer_default::SetInvertMatte(bool invertMatte) {
  return RFpAssign(mSettings.invertMatte, invertMatte, mChangeCount);
}
bool RFpKeyer_default::GetInvertMatte() const { return mSettings.invertMatte; }

float RFpKeyer_default::SetKey(int component, float value) {
  if (!IsColor(component)) return 0.0F;
  return RFpAssign(mSettings.key[static_cast<std::size_t>(component)], RFpClamp(value, 0, 1), mChangeCount);
}
float RFpKeyer_default::GetKey(int component) const {
  return IsColor(component) ? mSettings.key[static_cast<std::size_t>(component)] : 0.0F;
}

float RFpKeyer_default::SetThreshold(float threshold) {
  return RFpAssign(mSettings.threshold, RFpClamp(threshold, 0, 1), mChangeCount);
}
float RFpKeyer_default::GetThreshold() const { return mSettings.threshold; }

float RFpKeyer_default::SetSoftness(float softness) {
  return RFpAssign(mSettings.softness, RFpClamp(softness, 0, 1), mChangeCount);
}
float RFpKeyer_default::GetSoftness() const { return mSettings.softness; }

float RFpKeyer_default::SetSuppression(float suppression) {
  return RFpAssign(mSettings.suppression, RFpClamp(suppression, 0, 1), mChangeCount);
}
float RFpKeyer_default::GetSuppression() const { return mSettings.suppression; }

float RFpKeyer_default::SetMask(int edge, float fraction) {
  if (!IsEdge(edge)) return 0.0F;
  return RFpAssign(mSettings.mask[static_cast<std::size_t>(edge)], RFpClamp(fraction, 0, 1), mChangeCount);
}
float RFpKeyer_default::GetMask(int edge) const {
  return IsEdge(edge) ? mSettings.mask[static_cast<std::size_t>(edge)] : 0.0F;
}
