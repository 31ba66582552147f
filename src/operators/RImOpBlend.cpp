#include "operators/RImOpBlend.h"

#include <new>

#include "image/RDestroyPtr.h"
#include "operators/RGLRegistration.h"

namespace {

constexpr std::array kPresetTexts = {"custom",   "blend",    "dissolve", "clear",  "A",       "B",
                                     "A over B", "B over A", "A in B",   "B in A", "A out B", "B out A",
                                     "A atop B", "B atop A", "A xor B",  "A + B",  "A * B"};
constexpr std::array kFuncTexts = {"Add", "Subtract", "Reverse Subtract", "Min", "Max"};
constexpr std::array kAFactorTexts = {"0",
                                      "1",
                                      "Color(A)",
                                      "1 - Color(A)",
                                      "Alpha(A)",
                                      "1 - Alpha(A)",
                                      "Color(B)",
                                      "1 - Color(B)",
                                      "Alpha(B)",
                                      "1 - Alpha(B)",
                                      "Color(C)",
                                      "1 - Color(C)",
                                      "Alpha(C)",
                                      "1 - Alpha(C)",
                                      "Sat(Alpha(A))"};

constexpr std::size_t kModulatedFactor = 14;
constexpr int kConstantAlphaFactor = 12;

constexpr auto kBFactorTexts = [] {
  auto texts = kAFactorTexts;
  texts[kModulatedFactor] = "1 - Alpha(C)*Alpha(A)";
  return texts;
}();

constexpr int kPresetCustom = 0;
constexpr int kPresetA = 4;

struct Preset {
  int preset;
  int funcRGB;
  int funcAlpha;
  int aFactorRGB;
  int aFactorAlpha;
  int bFactorRGB;
  int bFactorAlpha;
};

constexpr std::array<Preset, 16> kPresets = {
    {{1, 0, 0, 12, 12, 14, 14},
     {2, 0, 0, 13, 13, 12, 12},
     {3, 0, 0, 0, 0, 0, 0},
     {4, 0, 0, 1, 1, 0, 0},
     {5, 0, 0, 0, 0, 1, 1},
     {6, 0, 0, 1, 1, 5, 5},
     {7, 0, 0, 9, 9, 1, 1},
     {8, 0, 0, 8, 8, 0, 0},
     {9, 0, 0, 0, 0, 4, 4},
     {10, 0, 0, 9, 9, 0, 0},
     {11, 0, 0, 0, 0, 5, 5},
     {12, 0, 0, 8, 8, 5, 5},
     {13, 0, 0, 9, 9, 4, 4},
     {14, 0, 0, 9, 9, 5, 5},
     {15, 0, 0, 1, 1, 1, 1},
     // The one preset whose factors differ between colours and alpha.
     {16, 0, 0, 6, 8, 0, 0}}};

consteval bool PresetsAreInOrder() {
  for (std::size_t i = 0; i < kPresets.size(); ++i) {
    if (kPresets[i].preset != static_cast<int>(i) + 1) return false;
  }
  return kPresetTexts.size() == kPresets.size() + 1;
}
static_assert(PresetsAreInOrder());

}  // namespace

#define ROW(Name, type, asString, readBack, animatable) \
  R_OPERATOR_PROPERTY_ROW(RImOpBlend, Name, type, asString, readBack, animatable, std::nullopt)

constinit const RImOpBlend::PropertyTable RImOpBlend::kProperties = {{
    ROW(Preset, kPropertyEnumeration, &PresetAsString, nullptr, false),
    ROW(Color, kPropertyRGB, nullptr, &RImOpBlend::ColorReadBack, true),
    ROW(Alpha, kPropertyDouble, nullptr, &RImOpBlend::AlphaReadBack, true),
    ROW(FuncRGB, kPropertyEnumeration, &FuncRGBAsString, nullptr, false),
    ROW(FuncAlpha, kPropertyEnumeration, &FuncAlphaAsString, nullptr, false),
    ROW(AFactorRGB, kPropertyEnumeration, &AFactorRGBAsString, nullptr, false),
    ROW(AFactorAlpha, kPropertyEnumeration, &AFactorAlphaAsString, nullptr, false),
    ROW(BFactorRGB, kPropertyEnumeration, &BFactorRGBAsString, nullptr, false),
    ROW(BFactorAlpha, kPropertyEnumeration, &BFactorAlphaAsString, nullptr, false),
}};

#undef ROW

RImOpBlend::RImOpBlend(const RString& name) : RImageOperator(name, false) {
  RGLRegistration registration(this);
  AppendPlug(kPlugInput, "IN_0");
  AppendPlug(kPlugInput, "IN_1");
  AppendPlug(kPlugOutput, "OUT_0");
  RAddProperties(*this, kProperties);
  SetProcessingNode(std::unique_ptr<RFpNode>(CreateBlendNode()));
  RImOpBlend::PresetSet(kPresetA);
  RReadBackProperties(*this, kProperties);
  mRegistered = registration.Keep();
}

RImOpBlend::~RImOpBlend() { RunTeardown(); }

void RImOpBlend::Destruct() {
  SetProcessingNode(nullptr);
  if (std::exchange(mRegistered, false)) UnregisterGLOperator(this);
  RImageOperator::Destruct();
}

RImageOperator::ROperatorType RImOpBlend::OperatorType() { return kOperatorEffect; }

RImageOperator* RImOpBlend::Clone() {
  RDestroyPtr<RImOpBlend> clone(new (std::nothrow) RImOpBlend(GetPersistentName()));
  if (clone) clone->TransferStaticPropertiesFrom(this);
  return clone.release();
}

bool RImOpBlend::IsAnimatableProperty(RProperty* property) { return RIsAnimatable(kProperties, property); }

const char* RImOpBlend::ArcGetObjectSubType() { return ClassName; }

IObject* RImOpBlend::Genesis(IObject*, const char*, void*) { return (new RImOpBlend("Blend"))->IQuery(0, 0); }

RFpBlend* RImOpBlend::GetNode() const { return static_cast<RFpBlend*>(GetProcessingNode()); }

int RImOpBlend::ToNode(int (RFpBlend::*setter)(int), int value) const {
  RFpBlend* const node = GetNode();
  return node ? (node->*setter)(value) : value;
}

void RImOpBlend::StoreSetting(RPropertyTemplate<int>& property, int (RFpBlend::*setter)(int), int value) {
  property.Store(ToNode(setter, value));
  mPreset.Store(kPresetCustom);
}

void RImOpBlend::PresetSet(int preset) {
  if (preset >= 1 && static_cast<std::size_t>(preset) <= kPresets.size()) {
    const Preset& row = kPresets[static_cast<std::size_t>(preset) - 1];
    FuncRGBSet(row.funcRGB);
    FuncAlphaSet(row.funcAlpha);
    AFactorRGBSet(row.aFactorRGB);
    AFactorAlphaSet(row.aFactorAlpha);
    BFactorRGBSet(row.bFactorRGB);
    BFactorAlphaSet(row.bFactorAlpha);
  }
  mPreset.Store(preset);
}

void RImOpBlend::ColorSet(RgeRGBVector color) {
  RFpBlend* const node = GetNode();
  for (int i = 0; node && i < 3; ++i) color[i] = node->SetColor(i, static_cast<float>(color[i]));
  mColor.Store(color);
}

void RImOpBlend::AlphaSet(double percent) {
  RFpBlend* const node = GetNode();
  mAlpha.Store(node ? RFromNodePercent(node->SetColor(3, RToNodePercent(percent))) : percent);
}

void RImOpBlend::FuncRGBSet(int function) { StoreSetting(mFuncRGB, &RFpBlend::SetFuncRGB, function); }

void RImOpBlend::FuncAlphaSet(int function) { StoreSetting(mFuncAlpha, &RFpBlend::SetFuncAlpha, function); }

void RImOpBlend::AFactorRGBSet(int factor) { StoreSetting(mAFactorRGB, &RFpBlend::SetAFactorRGB, factor); }

void RImOpBlend::AFactorAlphaSet(int factor) {
  StoreSetting(mAFactorAlpha, &RFpBlend::SetAFactorAlpha, factor);
}

// Deliberate: B's factor 14 only makes sense with A's factor 12, so it brings it along; A's own factor 14 has
// no such tie.
void RImOpBlend::BFactorRGBSet(int factor) {
  if (factor == kModulatedFactor) mAFactorRGB.Store(ToNode(&RFpBlend::SetAFactorRGB, kConstantAlphaFactor));
  StoreSetting(mBFactorRGB, &RFpBlend::SetBFactorRGB, factor);
}

void RImOpBlend::BFactorAlphaSet(int factor) {
  if (factor == kModulatedFactor) {
    mAFactorAlpha.Store(ToNode(&RFpBlend::SetAFactorAlpha, kConstantAlphaFactor));
  }
  StoreSetting(mBFactorAlpha, &RFpBlend::SetBFactorAlpha, factor);
}

void RImOpBlend::ColorReadBack() {
  const RFpBlend* const node = GetNode();
  if (node) mColor.Store({node->GetColor(0), node->GetColor(1), node->GetColor(2)});
}

void RImOpBlend::AlphaReadBack() {
  const RFpBlend* const node = GetNode();
  if (node) mAlpha.Store(RFromNodePercent(node->GetColor(3)));
}

const char* RImOpBlend::PresetAsString(int value) { return RAsString(kPresetTexts, value); }
const char* RImOpBlend::FuncRGBAsString(int value) { return RAsString(kFuncTexts, value); }
const char* RImOpBlend::FuncAlphaAsString(int value) { return RAsString(kFuncTexts, value); }
const char* RImOpBlend::AFactorRGBAsString(int value) { return RAsString(kAFactorTexts, value); }
const char* RImOpBlend::AFactorAlphaAsString(int value) { return RAsString(kAFactorTexts, value); }
const char* RImOpBlend::BFactorRGBAsString(int value) { return RAsString(kBFactorTexts, value); }
const char* RImOpBlend::BFactorAlphaAsString(int value) { return RAsString(kBFactorTexts, value); }
