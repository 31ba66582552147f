#include "fp/RFpKeyer_NV_register_combiners2.h"

#include <algorithm>
#include <cmath>

// A ramp's slope goes as a factor of 0..1 and a power of two, which the scales of the stages bring along.
// Clamping in between does not change what is within 0..1 in the end. Constants are 0..1; those of -1..1 are
// kept as (c + 1) / 2, which the input mapping spreads.
namespace {

// What a stage can multiply by: a sum by 4, and one of equal products by 8.
constexpr int kSumExponent = 2;
constexpr int kAmplifyExponent = 3;

// Colours beyond 0..1 are computed as a quarter.
constexpr float kQuarter = 0.25F;

constexpr RFpCombinerInput kTexture = RFpCombinerUnsigned(GL_TEXTURE0);

// A number as a factor of 0..1 and a power of two that is not negative.
struct Scaled {
  explicit Scaled(double value)
      : exponent(value > 1 ? static_cast<int>(std::ceil(std::log2(value))) : 0),
        factor(static_cast<float>(std::ldexp(value, -exponent))) {}
  /// Returns as much of the exponent as `most` allows, and keeps the rest.
  int Take(int most) {
    const int taken = std::min(exponent, most);
    exponent -= taken;
    return taken;
  }

  int exponent;
  float factor;
};

float Spread(double value) { return static_cast<float>((value + 1) / 2); }
RFpCombinerInput Expanded(GLenum constant, GLenum usage = GL_RGB) {
  return {constant, GL_EXPAND_NORMAL_NV, usage};
}
RFpCombinerInput Negative(GLenum reg, GLenum usage = GL_RGB) { return {reg, GL_SIGNED_NEGATE_NV, usage}; }
RFpCombinerInput Inverse(GLenum reg, GLenum usage = GL_RGB) { return {reg, GL_UNSIGNED_INVERT_NV, usage}; }

std::array<float, 4> AllOf(float value) { return {value, value, value, value}; }

// SPARE0 = two dot products' first, in all colours.
RFpCombinerStage Dot(const RFpCombinerInput& a, const RFpCombinerInput& b) {
  RFpCombinerStage stage;
  stage.rgb.inputs[0] = a;
  stage.rgb.inputs[1] = b;
  stage.rgb.productAB = GL_SPARE0_NV;
  stage.rgb.dots = true;
  return stage;
}

// Multiplies the colours of SPARE0 by what is left of `rgb`, and its alpha by what is left of `alpha`.
void AppendAmplifiers(RFpCombinerSetup& setup, Scaled rgb, Scaled alpha = Scaled(0)) {
  while (rgb.exponent > 0 || alpha.exponent > 0) {
    RFpCombinerStage& stage = setup.stages.emplace_back();
    RFpAmplify(stage.rgb, GL_SPARE0_NV, rgb.Take(kAmplifyExponent), GL_RGB);
    RFpAmplify(stage.alpha, GL_SPARE0_NV, alpha.Take(kAmplifyExponent), GL_ALPHA);
  }
}

// The final combiner gives A x B + (1 - A) x C + D and G as alpha; no input of it is used twice.
enum FinalInput : std::size_t { kFinalA = 0, kFinalB = 1, kFinalC = 2, kFinalD = 3, kFinalG = 6 };

// --- Chroma. SPARE0 holds m in its colours and n of what is not inverted in its alpha, both before they are
// clamped.

// The two ramps over the colour's part along the key's hue.
void AppendChromaRamps(RFpCombinerSetup& setup, const RFpKeyerParameters& p) {
  RFpCombinerStage& dot = setup.stages.emplace_back(Dot(kTexture, Expanded(GL_CONSTANT_COLOR0_NV)));
  for (std::size_t i = 0; i < 3; ++i) dot.constant0[i] = Spread(static_cast<double>(p[1][i]));

  const RFpChromaRamps ramps = RFpGetChromaRamps(p);
  Scaled outer(ramps.outer.slope);
  Scaled key(ramps.key.slope);
  RFpCombinerStage& stage = setup.stages.emplace_back();
  const auto ramp = [](RFpCombinerPortion& portion, GLenum value, GLenum usage, int exponent) {
    const RFpCombinerInput slope = RFpCombinerUnsigned(GL_CONSTANT_COLOR0_NV, usage);
    portion.inputs = {RFpCombinerSigned(GL_SPARE0_NV, value), slope, Expanded(GL_CONSTANT_COLOR1_NV, usage),
                      slope};
    portion.sum = GL_SPARE0_NV;
    portion.scale = RFpCombinerScale(exponent);
  };
  ramp(stage.rgb, GL_RGB, GL_RGB, outer.Take(kSumExponent));
  ramp(stage.alpha, GL_BLUE, GL_ALPHA, key.Take(kSumExponent));
  stage.constant0 = {outer.factor, outer.factor, outer.factor, key.factor};
  const float start = Spread(-ramps.outer.start);
  stage.constant1 = {start, start, start, Spread(-ramps.key.start)};
  AppendAmplifiers(setup, outer, key);
}

// c = colour + m x p2, result (1 - n) x c + n x (1 - n) x (c - p3), all but the last as a quarter.
void AppendChromaKey(RFpCombinerSetup& setup, const RFpKeyerUniforms& sent) {
  RFpCombinerStage clean;  // SPARE1 = c; n x (1 - n) in its alpha
  clean.rgb.inputs = {kTexture, RFpCombinerUnsigned(GL_CONSTANT_COLOR0_NV), RFpCombinerUnsigned(GL_SPARE0_NV),
                      Expanded(GL_CONSTANT_COLOR1_NV)};
  clean.rgb.sum = GL_SPARE1_NV;
  clean.constant0 = AllOf(kQuarter);
  clean.alpha.inputs[0] = RFpCombinerUnsigned(GL_SPARE0_NV, GL_ALPHA);
  clean.alpha.inputs[1] = Inverse(GL_SPARE0_NV, GL_ALPHA);
  clean.alpha.productAB = GL_SPARE1_NV;

  RFpCombinerStage distance;  // the primary colour = c - p3
  distance.rgb.inputs = {RFpCombinerSigned(GL_SPARE1_NV), RFpCombinerOne(), Expanded(GL_CONSTANT_COLOR0_NV),
                         RFpCombinerOne()};
  distance.rgb.sum = GL_PRIMARY_COLOR_NV;
  for (std::size_t i = 0; i < 3; ++i) {
    clean.constant1[i] = Spread(static_cast<double>(sent.values[2][i] * kQuarter));
    distance.constant0[i] = Spread(static_cast<double>(-sent.values[3][i] * kQuarter));
  }

  RFpCombinerStage mix;
  mix.rgb.inputs = {RFpCombinerSigned(GL_SPARE1_NV), Inverse(GL_SPARE0_NV, GL_ALPHA),
                    RFpCombinerSigned(GL_PRIMARY_COLOR_NV), RFpCombinerUnsigned(GL_SPARE1_NV, GL_ALPHA)};
  mix.rgb.sum = GL_SPARE0_NV;
  mix.rgb.scale = GL_SCALE_BY_FOUR_NV;

  setup.stages.insert(setup.stages.end(), {clean, distance, mix});
  setup.finalInputs[kFinalD] = RFpCombinerUnsigned(GL_SPARE0_NV);
  setup.finalInputs[kFinalG] = Inverse(GL_SPARE0_NV, GL_ALPHA);
}

// colour + (1 - n) x p3 where n is above 0, otherwise 0; p3 is not positive.
void AppendInvertedChromaKey(RFpCombinerSetup& setup, const RFpKeyerUniforms& sent) {
  RFpCombinerStage subtract;  // SPARE1 = the colour; n in its alpha
  subtract.rgb.inputs = {kTexture, RFpCombinerOne(), Inverse(GL_SPARE0_NV, GL_ALPHA),
                         Negative(GL_CONSTANT_COLOR0_NV)};
  subtract.rgb.sum = GL_SPARE1_NV;
  for (std::size_t i = 0; i < 3; ++i) subtract.constant0[i] = -sent.values[3][i];
  subtract.alpha.inputs[0] = RFpCombinerSigned(GL_SPARE0_NV, GL_ALPHA);
  subtract.alpha.inputs[1] = RFpCombinerOne(GL_ALPHA);
  subtract.alpha.productAB = GL_SPARE1_NV;

  RFpCombinerStage compare;  // the alpha that chooses: below 0.5 where n is above 0
  compare.alpha.inputs = {Negative(GL_SPARE0_NV, GL_ALPHA), RFpCombinerOne(GL_ALPHA),
                          RFpCombinerUnsigned(GL_CONSTANT_COLOR0_NV, GL_ALPHA), RFpCombinerOne(GL_ALPHA)};
  compare.alpha.sum = GL_SPARE0_NV;
  compare.constant0[3] = 0.5F;

  RFpCombinerStage choose;
  choose.rgb.inputs[0] = RFpCombinerSigned(GL_SPARE1_NV);
  choose.rgb.inputs[1] = RFpCombinerOne();
  choose.rgb.sum = GL_SPARE0_NV;
  choose.rgb.mux = true;

  setup.stages.insert(setup.stages.end(), {subtract, compare, choose});
  setup.finalInputs[kFinalD] = RFpCombinerUnsigned(GL_SPARE0_NV);
  setup.finalInputs[kFinalG] = RFpCombinerUnsigned(GL_SPARE1_NV, GL_ALPHA);
}

RFpCombinerSetup ChromaSetup(const RFpKeyerSettings& settings, const RFpKeyerParameters& parameters) {
  RFpCombinerSetup setup;
  AppendChromaRamps(setup, parameters);
  const RFpKeyerUniforms sent = RFpGetKeyerUniforms(settings, parameters);
  if (settings.output == kFpMatte) {
    const GLenum mapping = settings.invertMatte ? GL_UNSIGNED_IDENTITY_NV : GL_UNSIGNED_INVERT_NV;
    setup.finalInputs[kFinalD] = setup.finalInputs[kFinalG] = {GL_SPARE0_NV, mapping, GL_ALPHA};
  } else if (settings.invertMatte) {
    AppendInvertedChromaKey(setup, sent);
  } else {
    AppendChromaKey(setup, sent);
  }
  return setup;
}

// --- Luminance and difference: m in all colours of SPARE0.

// SPARE0 = SPARE0 x slope - start x slope, times a power of two.
RFpCombinerStage Ramp(float slope, double start, int exponent) {
  RFpCombinerStage stage;
  const RFpCombinerInput factor = RFpCombinerUnsigned(GL_CONSTANT_COLOR0_NV);
  stage.rgb.inputs = {RFpCombinerSigned(GL_SPARE0_NV), factor, Negative(GL_CONSTANT_COLOR1_NV), factor};
  stage.rgb.sum = GL_SPARE0_NV;
  stage.rgb.scale = RFpCombinerScale(exponent);
  stage.constant0 = AllOf(slope);
  stage.constant1 = AllOf(static_cast<float>(start));
  return stage;
}

// The factor of the slope is applied by its root, before the square.
void AppendLuminance(RFpCombinerSetup& setup, const RFpKeyerSettings& settings,
                     const RFpKeyerParameters& parameters) {
  RFpCombinerStage& dot =
      setup.stages.emplace_back(Dot(kTexture, RFpCombinerUnsigned(GL_CONSTANT_COLOR0_NV)));
  std::copy_n(parameters[1].begin(), 3, dot.constant0.begin());
  Scaled slope(static_cast<double>(parameters[0][0]));
  setup.stages.push_back(Ramp(std::sqrt(slope.factor), static_cast<double>(settings.threshold), 0));
  RFpCombinerStage& square = setup.stages.emplace_back();
  square.rgb.inputs[0] = square.rgb.inputs[1] = RFpCombinerSigned(GL_SPARE0_NV);
  square.rgb.productAB = GL_SPARE0_NV;
  square.rgb.scale = RFpCombinerScale(slope.Take(kSumExponent));
  AppendAmplifiers(setup, slope);
}

// |A - B|^2 can be 3, so it is computed as a quarter.
void AppendDifference(RFpCombinerSetup& setup, const RFpKeyerSettings& settings) {
  RFpCombinerStage& difference = setup.stages.emplace_back();
  const RFpCombinerInput minusOne = {GL_ZERO, GL_EXPAND_NORMAL_NV, GL_RGB};
  difference.rgb.inputs = {kTexture, RFpCombinerOne(), RFpCombinerUnsigned(GL_TEXTURE1), minusOne};
  difference.rgb.sum = GL_SPARE0_NV;
  difference.rgb.scale = GL_SCALE_BY_ONE_HALF_NV;
  setup.stages.push_back(Dot(RFpCombinerSigned(GL_SPARE0_NV), RFpCombinerSigned(GL_SPARE0_NV)));
  const RFpKeyerRamp ramp = RFpGetDifferenceRamp(settings);
  Scaled slope(4 * ramp.slope);
  const int exponent = slope.Take(kSumExponent);
  setup.stages.push_back(Ramp(slope.factor, ramp.start / 4, exponent));
  AppendAmplifiers(setup, slope);
}

RFpCombinerSetup MultiplyingSetup(const RFpKeyerSettings& settings, const RFpKeyerParameters& parameters) {
  RFpCombinerSetup setup;
  if (settings.mode == kFpKeyLuminance)
    AppendLuminance(setup, settings, parameters);
  else
    AppendDifference(setup, settings);
  const GLenum mapping = settings.invertMatte ? GL_UNSIGNED_INVERT_NV : GL_UNSIGNED_IDENTITY_NV;
  if (settings.output == kFpMatte) {
    setup.finalInputs[kFinalD] = {GL_SPARE0_NV, mapping, GL_RGB};
  } else {
    setup.finalInputs[kFinalA] = RFpCombinerUnsigned(GL_SPARE0_NV);
    setup.finalInputs[settings.invertMatte ? kFinalC : kFinalB] = kTexture;
  }
  setup.finalInputs[kFinalG] = {GL_SPARE0_NV, mapping, GL_BLUE};
  return setup;
}

}  // namespace

RFpKeyer_NV_register_combiners2::RFpKeyer_NV_register_combiners2() {
  mUsable = RFpHasEnoughCombiners() && mFunctions.Resolve();
}

RFpKeyer_NV_register_combiners2::~RFpKeyer_NV_register_combiners2() = default;

int RFpKeyer_NV_register_combiners2::GetRequirementFlags(int stage) const {
  return RFpKeyer_default::GetRequirementFlags(stage) | kFormRectangleToBuffer;
}

int RFpKeyer_NV_register_combiners2::Bind(RFpContext*, int, int form) {
  Derive();
  if (!(form & kFormTextureMask)) return 1;
  if (!mUsable || !RFpGetKeyerProgram(GetSettings())) return 0;
  if (mSetupCount != GetChangeCount()) {
    mSetup = GetSettings().mode == kFpKeyChroma ? ChromaSetup(GetSettings(), GetParameters())
                                                : MultiplyingSetup(GetSettings(), GetParameters());
    mSetupCount = GetChangeCount();
  }
  glEnable(GL_PER_STAGE_CONSTANTS_NV);
  mSetup.Apply(mFunctions);
  glEnable(GL_REGISTER_COMBINERS_NV);
  return 1;
}

void RFpKeyer_NV_register_combiners2::Unbind(RFpContext*, int, int form) {
  if (form & kFormTextureMask) glDisable(GL_REGISTER_COMBINERS_NV);
}
