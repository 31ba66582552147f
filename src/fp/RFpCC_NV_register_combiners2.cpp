#include "fp/RFpCC_NV_register_combiners2.h"

#include <algorithm>
#include <cmath>

#include "fp/RFpUnitMatrix.h"
#include "fp/RFpZoneSum.h"

// The combiners know no colour channel by itself in the colour portion, so dot products with unit vectors
// spread red and green over a register, and the alpha portion takes blue. Coefficients lie in constants of
// 0..1, which the input mapping spreads to -1..1; the power of two that they were divided by comes back as
// the scale of the last stages, or, where results add up in the target, by the blending.
namespace {

constexpr int kZones = 3;

// The scale that a last stage can give: AB + CD with equal products, times 4.
constexpr int kStageExponent = 3;
// The stage that adds the two halves of the sum only has the factor 4.
constexpr int kSumExponent = 2;

constexpr RFpCombinerInput kOne = {GL_ZERO, GL_UNSIGNED_INVERT_NV, GL_RGB};

RFpCombinerInput Signed(GLenum input, GLenum usage = GL_RGB) { return {input, GL_SIGNED_IDENTITY_NV, usage}; }
RFpCombinerInput Coefficients(GLenum constant) { return {constant, GL_EXPAND_NORMAL_NV, GL_RGB}; }

GLenum ScaleOf(int exponent) {
  constexpr GLenum kScales[] = {GL_NONE, GL_SCALE_BY_TWO_NV, GL_SCALE_BY_FOUR_NV};
  return kScales[exponent];
}

// Red in SPARE0, green in SPARE1, blue in the alpha of SPARE1.
RFpCombinerStage SplitChannels() {
  RFpCombinerStage stage;
  const RFpCombinerInput texture = {GL_TEXTURE0, GL_UNSIGNED_IDENTITY_NV, GL_RGB};
  stage.rgb.inputs = {texture,
                      {GL_CONSTANT_COLOR0_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB},
                      texture,
                      {GL_CONSTANT_COLOR1_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB}};
  stage.rgb.productAB = GL_SPARE0_NV;
  stage.rgb.productCD = GL_SPARE1_NV;
  stage.rgb.dots = true;
  stage.constant0 = {1, 0, 0, 0};
  stage.constant1 = {0, 1, 0, 0};
  stage.alpha.inputs[0] = {GL_TEXTURE0, GL_UNSIGNED_IDENTITY_NV, GL_BLUE};
  stage.alpha.inputs[1] = {GL_ZERO, GL_UNSIGNED_INVERT_NV, GL_ALPHA};
  stage.alpha.productAB = GL_SPARE1_NV;
  return stage;
}

RFpCombinerStage RedAndGreen(const RFpUnitMatrix& matrix) {
  RFpCombinerStage stage;
  stage.rgb.inputs = {Signed(GL_SPARE0_NV), Coefficients(GL_CONSTANT_COLOR0_NV), Signed(GL_SPARE1_NV),
                      Coefficients(GL_CONSTANT_COLOR1_NV)};
  stage.rgb.sum = GL_SPARE0_NV;
  stage.constant0 = matrix.columns[0];
  stage.constant1 = matrix.columns[1];
  return stage;
}

// Without transparency alpha counts as 1.
RFpCombinerInput Alpha(bool transparency, GLenum usage) {
  return transparency ? RFpCombinerInput{GL_TEXTURE0, GL_UNSIGNED_IDENTITY_NV, GL_ALPHA}
                      : RFpCombinerInput{GL_ZERO, GL_UNSIGNED_INVERT_NV, usage};
}

RFpCombinerStage BlueAndAlpha(const RFpUnitMatrix& matrix, bool transparency) {
  RFpCombinerStage stage;
  stage.rgb.inputs = {Signed(GL_SPARE1_NV, GL_ALPHA), Coefficients(GL_CONSTANT_COLOR0_NV),
                      Alpha(transparency, GL_RGB), Coefficients(GL_CONSTANT_COLOR1_NV)};
  stage.rgb.sum = GL_SPARE1_NV;
  stage.constant0 = matrix.columns[2];
  stage.constant1 = matrix.columns[3];
  return stage;
}

// SPARE0 = first + second, times a power of two.
RFpCombinerStage Sum(GLenum first, GLenum second, int exponent) {
  RFpCombinerStage stage;
  stage.rgb.inputs = {Signed(first), kOne, Signed(second), kOne};
  stage.rgb.sum = GL_SPARE0_NV;
  stage.rgb.scale = ScaleOf(exponent);
  return stage;
}

void AppendMatrix(RFpCombinerSetup& setup, const RFpUnitMatrix& matrix, bool transparency, int exponent) {
  setup.stages.push_back(SplitChannels());
  setup.stages.push_back(RedAndGreen(matrix));
  setup.stages.push_back(BlueAndAlpha(matrix, transparency));
  setup.stages.push_back(Sum(GL_SPARE0_NV, GL_SPARE1_NV, exponent));
}

// The final combiner gives A x B + (1 - A) x C + D and G as alpha: SPARE0 limited to 0..1.
void Finish(RFpCombinerSetup& setup, bool transparency) {
  setup.finalInputs[3] = {GL_SPARE0_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB};
  setup.finalInputs[6] = Alpha(transparency, GL_ALPHA);
}

// What lies beyond the scale of all stages, 2^14, is lost: with such coefficients a picture has hardly a
// value between 0 and 1.
RFpCombinerSetup OneMatrix(const RFpColorMatrix& matrix, bool transparency) {
  const RFpUnitMatrix unit = RFpMakeUnitMatrix(matrix);
  int exponent = unit.exponent;
  const int first = std::min(exponent, kSumExponent);
  RFpCombinerSetup setup;
  AppendMatrix(setup, unit, transparency, first);
  exponent -= first;
  while (exponent > 0 && setup.stages.size() < kFpCombinerStages) {
    const int next = std::min(exponent, kStageExponent);
    setup.stages.push_back(Sum(GL_SPARE0_NV, GL_SPARE0_NV, next - 1));
    exponent -= next;
  }
  Finish(setup, transparency);
  return setup;
}

// SPARE0 = the luminance over the mid point, SPARE1 = the same of the inverted colour, both at most 1.
RFpCombinerStage Luminances(const std::array<float, 4>& overMidPoint) {
  RFpCombinerStage stage;
  stage.rgb.inputs = {{{GL_TEXTURE0, GL_UNSIGNED_IDENTITY_NV, GL_RGB},
                       {GL_CONSTANT_COLOR0_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB},
                       {GL_TEXTURE0, GL_UNSIGNED_INVERT_NV, GL_RGB},
                       {GL_CONSTANT_COLOR0_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB}}};
  stage.rgb.productAB = GL_SPARE0_NV;
  stage.rgb.productCD = GL_SPARE1_NV;
  stage.rgb.dots = true;
  stage.rgb.scale = GL_SCALE_BY_FOUR_NV;
  for (std::size_t i = 0; i < 3; ++i) stage.constant0[i] = overMidPoint[i] / 4;
  return stage;
}

// The weight of a zone into the primary colour: 1 less a luminance. The midtones' is what the two leave,
// SPARE0 + SPARE1 - 1; it is kept as half the sum, which the input mapping of its reader spreads.
RFpCombinerStage Weight(int zone) {
  RFpCombinerStage stage;
  if (zone == 1) {
    stage = Sum(GL_SPARE0_NV, GL_SPARE1_NV, 0);
    stage.rgb.sum = GL_PRIMARY_COLOR_NV;
    stage.rgb.scale = GL_SCALE_BY_ONE_HALF_NV;
    return stage;
  }
  const GLenum luminance = zone == 0 ? GL_SPARE0_NV : GL_SPARE1_NV;
  stage.rgb.inputs[0] = {luminance, GL_UNSIGNED_INVERT_NV, GL_RGB};
  stage.rgb.inputs[1] = kOne;
  stage.rgb.productAB = GL_PRIMARY_COLOR_NV;
  return stage;
}

// SPARE0 = (SPARE0 x weight + 1) / 2.
RFpCombinerStage Weigh(int zone) {
  const GLenum mapping = zone == 1 ? GL_EXPAND_NORMAL_NV : GL_UNSIGNED_IDENTITY_NV;
  RFpCombinerStage stage;
  stage.rgb.inputs = {Signed(GL_SPARE0_NV), {GL_PRIMARY_COLOR_NV, mapping, GL_RGB}, kOne, kOne};
  stage.rgb.sum = GL_SPARE0_NV;
  stage.rgb.scale = GL_SCALE_BY_ONE_HALF_NV;
  return stage;
}

RFpCombinerSetup ZoneSetup(int zone, const RFpUnitMatrix& matrix, const std::array<float, 4>& overMidPoint,
                           bool transparency) {
  RFpCombinerSetup setup;
  setup.stages.push_back(Luminances(overMidPoint));
  setup.stages.push_back(Weight(zone));
  AppendMatrix(setup, matrix, transparency, 0);
  setup.stages.push_back(Weigh(zone));
  Finish(setup, transparency);
  return setup;
}

}  // namespace

RFpCC_NV_register_combiners2::RFpCC_NV_register_combiners2() : mLists(kZones) {
  mUsable = RFpHasEnoughCombiners() && mFunctions.Resolve();
}

RFpCC_NV_register_combiners2::~RFpCC_NV_register_combiners2() = default;

int RFpCC_NV_register_combiners2::GetStageCount() const { return UsesZones() ? kZones : 1; }

int RFpCC_NV_register_combiners2::GetRequirementFlags(int stage) const {
  return RFpCC_default::GetRequirementFlags(stage) | kFormRectangleToBuffer;
}

int RFpCC_NV_register_combiners2::Bind(RFpContext* context, int stage, int form) {
  if (!(form & kFormTextureMask)) return RFpCC_default::Bind(context, stage, form);
  Derive();
  if (!mUsable || stage < 0 || stage >= GetStageCount()) return 0;
  const GLuint list = mLists.GetName(stage);
  if (list == 0) return 0;
  if (mListCount != GetChangeCount()) {
    Rebuild();
    // Where memory lacks, the lists are not up to date.
    mListCount = GetChangeCount();
  }
  glCallList(list);
  glEnable(GL_REGISTER_COMBINERS_NV);
  return 1;
}

void RFpCC_NV_register_combiners2::Rebuild() {
  const RFpColorSettings& settings = GetSettings();
  if (!UsesZones()) {
    mSetups[0] = OneMatrix(GetMatrix(), settings.transparency);
    Compile(0, mSetups[0]);
    return;
  }
  const auto overMidPoint = RFpLuminanceOverMidPoint(settings.midPoint);
  for (int zone = 0; zone < kZones; ++zone) {
    const auto index = static_cast<std::size_t>(zone);
    const RFpUnitMatrix matrix = RFpMakeUnitMatrix(GetZoneMatrix(zone));
    mSetups[index + 1] = ZoneSetup(zone, matrix, overMidPoint, settings.transparency);
    mScales[index] = std::ldexp(1.0F, matrix.exponent);
    Compile(zone, mSetups[index + 1]);
  }
}

void RFpCC_NV_register_combiners2::Compile(int list, const RFpCombinerSetup& setup) const {
  glNewList(mLists.GetName(list), GL_COMPILE);
  glEnable(GL_PER_STAGE_CONSTANTS_NV);
  setup.Apply(mFunctions);
  glEndList();
}

void RFpCC_NV_register_combiners2::Draw(RFpContext* context, int stage, int form, int width, int height) {
  if (!(form & kFormTextureMask) || !UsesZones()) {
    RFpCC_default::Draw(context, stage, form, width, height);
    return;
  }
  const RFpZoneSum sum(stage, mScales);
  RFpCC_default::Draw(context, stage, form, width, height);
}

void RFpCC_NV_register_combiners2::Unbind(RFpContext*, int, int form) {
  if (form & kFormTextureMask) glDisable(GL_REGISTER_COMBINERS_NV);
}
