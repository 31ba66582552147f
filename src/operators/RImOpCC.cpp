#include "operators/RImOpCC.h"

#include <new>

#include "fp/RFpColorMatrix.h"
#include "image/RDestroyPtr.h"
#include "operators/RGLRegistration.h"

// --- Values between the properties and the node, in single precision there.

void RImOpCC::Store(Switch& property, bool (RFpCC::*setter)(bool), bool value) {
  RFpCC* const node = GetNode();
  property.Store(node ? (node->*setter)(value) : value);
}

void RImOpCC::Store(Number& property, float (RFpCC::*setter)(float), double value) {
  RFpCC* const node = GetNode();
  property.Store(node ? (node->*setter)(static_cast<float>(value)) : value);
}

void RImOpCC::StorePoint(Color& property, ZoneSetter setter, RgeRGBVector value) {
  RFpCC* const node = GetNode();
  for (int i = 0; node && i < 3; ++i) value[i] = (node->*setter)(i, static_cast<float>(value[i]));
  property.Store(value);
}

void RImOpCC::StoreInZone(Number& property, ZoneSetter setter, int zone, double value) {
  RFpCC* const node = GetNode();
  property.Store(node ? (node->*setter)(zone, static_cast<float>(value)) : value);
}

// Contrast and brightness lie in component 0 of the zone's gain and offset, the colours behind it.
void RImOpCC::StoreForAll(Number& property, ComponentSetter setter, int zone, double value) {
  RFpCC* const node = GetNode();
  property.Store(node ? (node->*setter)(zone, 0, static_cast<float>(value)) : value);
}

void RImOpCC::StoreForEach(Color& property, ComponentSetter setter, int zone, RgeRGBVector value) {
  RFpCC* const node = GetNode();
  for (int i = 0; node && i < 3; ++i) value[i] = (node->*setter)(zone, i + 1, static_cast<float>(value[i]));
  property.Store(value);
}

template <auto kProperty, auto kGetter>
void RImOpCC::ReadBack() {
  if (const RFpCC* const node = GetNode()) (this->*kProperty).Store((node->*kGetter)());
}

template <auto kProperty, RImOpCC::ZoneGetter kGetter>
void RImOpCC::ReadPoint() {
  if (const RFpCC* const node = GetNode())
    (this->*kProperty).Store({(node->*kGetter)(0), (node->*kGetter)(1), (node->*kGetter)(2)});
}

template <auto kProperty, RImOpCC::ZoneGetter kGetter, int kZone>
void RImOpCC::ReadFromZone() {
  if (const RFpCC* const node = GetNode()) (this->*kProperty).Store((node->*kGetter)(kZone));
}

template <auto kProperty, RImOpCC::ComponentGetter kGetter, int kZone>
void RImOpCC::ReadForAll() {
  if (const RFpCC* const node = GetNode()) (this->*kProperty).Store((node->*kGetter)(kZone, 0));
}

template <auto kProperty, RImOpCC::ComponentGetter kGetter, int kZone>
void RImOpCC::ReadForEach() {
  if (const RFpCC* const node = GetNode())
    (this->*kProperty)
        .Store({(node->*kGetter)(kZone, 1), (node->*kGetter)(kZone, 2), (node->*kGetter)(kZone, 3)});
}

#define ROW(Name, type, readBack, animatable, ...) \
  R_OPERATOR_PROPERTY_ROW(RImOpCC, Name, type, nullptr, readBack, animatable, __VA_ARGS__)
#define SIMPLE(Name) (&RImOpCC::ReadBack<&RImOpCC::m##Name, &RFpCC::Get##Name>)
#define POINT(Name) (&RImOpCC::ReadPoint<&RImOpCC::m##Name, &RFpCC::Get##Name>)

// Deliberate: the declared gains begin at 1, although the node takes any.
constinit const RImOpCC::PropertyTable RImOpCC::kProperties = {{
    ROW(Transparency, kPropertyBool, SIMPLE(Transparency), false, std::nullopt),
    ROW(Black, kPropertyRGB, POINT(Black), false, std::nullopt),
    ROW(White, kPropertyRGB, POINT(White), false, std::nullopt),
    ROW(ColorPoints, kPropertyBool, SIMPLE(ColorPoints), false, std::nullopt),
    ROW(Gamma, kPropertyDouble, SIMPLE(Gamma), true, ROperatorRange{0, 4}),
    ROW(MidPoint, kPropertyDouble, SIMPLE(MidPoint), true, ROperatorRange{0, 1}),
    ROW(Negative, kPropertyBool, SIMPLE(Negative), false, std::nullopt),
    ROW(Hue, kPropertyDouble, (&RImOpCC::ReadFromZone<&RImOpCC::mHue, &RFpCC::GetZoneHue, kFpZoneGlobal>),
        true, ROperatorRange{0, 360}),
    ROW(Contrast, kPropertyDouble,
        (&RImOpCC::ReadForAll<&RImOpCC::mContrast, &RFpCC::GetZoneGain, kFpZoneGlobal>), true,
        ROperatorRange{0, 4}),
    ROW(Brightness, kPropertyDouble,
        (&RImOpCC::ReadForAll<&RImOpCC::mBrightness, &RFpCC::GetZoneOffset, kFpZoneGlobal>), true,
        ROperatorRange{-1, 1}),
    ROW(Saturation, kPropertyDouble,
        (&RImOpCC::ReadFromZone<&RImOpCC::mSaturation, &RFpCC::GetZoneSaturation, kFpZoneGlobal>), true,
        ROperatorRange{0, 4}),
    ROW(Gain, kPropertyRGB, (&RImOpCC::ReadForEach<&RImOpCC::mGain, &RFpCC::GetZoneGain, kFpZoneGlobal>),
        true, ROperatorRange{1, 4}),
    ROW(Offset, kPropertyRGB,
        (&RImOpCC::ReadForEach<&RImOpCC::mOffset, &RFpCC::GetZoneOffset, kFpZoneGlobal>), true,
        ROperatorRange{-1, 1}),
    ROW(ShadowHue, kPropertyDouble,
        (&RImOpCC::ReadFromZone<&RImOpCC::mShadowHue, &RFpCC::GetZoneHue, kFpZoneShadows>), true,
        ROperatorRange{0, 360}),
    ROW(ShadowContrast, kPropertyDouble,
        (&RImOpCC::ReadForAll<&RImOpCC::mShadowContrast, &RFpCC::GetZoneGain, kFpZoneShadows>), true,
        ROperatorRange{0, 4}),
    ROW(ShadowBrightness, kPropertyDouble,
        (&RImOpCC::ReadForAll<&RImOpCC::mShadowBrightness, &RFpCC::GetZoneOffset, kFpZoneShadows>), true,
        ROperatorRange{-1, 1}),
    ROW(ShadowSaturation, kPropertyDouble,
        (&RImOpCC::ReadFromZone<&RImOpCC::mShadowSaturation, &RFpCC::GetZoneSaturation, kFpZoneShadows>),
        true, ROperatorRange{0, 4}),
    ROW(ShadowGain, kPropertyRGB,
        (&RImOpCC::ReadForEach<&RImOpCC::mShadowGain, &RFpCC::GetZoneGain, kFpZoneShadows>), true,
        ROperatorRange{1, 4}),
    ROW(ShadowOffset, kPropertyRGB,
        (&RImOpCC::ReadForEach<&RImOpCC::mShadowOffset, &RFpCC::GetZoneOffset, kFpZoneShadows>), true,
        ROperatorRange{-1, 1}),
    ROW(MidHue, kPropertyDouble,
        (&RImOpCC::ReadFromZone<&RImOpCC::mMidHue, &RFpCC::GetZoneHue, kFpZoneMidtones>), true,
        ROperatorRange{0, 360}),
    ROW(MidContrast, kPropertyDouble,
        (&RImOpCC::ReadForAll<&RImOpCC::mMidContrast, &RFpCC::GetZoneGain, kFpZoneMidtones>), true,
        ROperatorRange{0, 4}),
    ROW(MidBrightness, kPropertyDouble,
        (&RImOpCC::ReadForAll<&RImOpCC::mMidBrightness, &RFpCC::GetZoneOffset, kFpZoneMidtones>), true,
        ROperatorRange{-1, 1}),
    ROW(MidSaturation, kPropertyDouble,
        (&RImOpCC::ReadFromZone<&RImOpCC::mMidSaturation, &RFpCC::GetZoneSaturation, kFpZoneMidtones>), true,
        ROperatorRange{0, 4}),
    ROW(MidGain, kPropertyRGB,
        (&RImOpCC::ReadForEach<&RImOpCC::mMidGain, &RFpCC::GetZoneGain, kFpZoneMidtones>), true,
        ROperatorRange{1, 4}),
    ROW(MidOffset, kPropertyRGB,
        (&RImOpCC::ReadForEach<&RImOpCC::mMidOffset, &RFpCC::GetZoneOffset, kFpZoneMidtones>), true,
        ROperatorRange{-1, 1}),
    ROW(HighlightHue, kPropertyDouble,
        (&RImOpCC::ReadFromZone<&RImOpCC::mHighlightHue, &RFpCC::GetZoneHue, kFpZoneHighlights>), true,
        ROperatorRange{0, 360}),
    ROW(HighlightContrast, kPropertyDouble,
        (&RImOpCC::ReadForAll<&RImOpCC::mHighlightContrast, &RFpCC::GetZoneGain, kFpZoneHighlights>), true,
        ROperatorRange{0, 4}),
    ROW(HighlightBrightness, kPropertyDouble,
        (&RImOpCC::ReadForAll<&RImOpCC::mHighlightBrightness, &RFpCC::GetZoneOffset, kFpZoneHighlights>),
        true, ROperatorRange{-1, 1}),
    ROW(HighlightSaturation, kPropertyDouble,
        (&RImOpCC::ReadFromZone<&RImOpCC::mHighlightSaturation, &RFpCC::GetZoneSaturation,
                                kFpZoneHighlights>),
        true, ROperatorRange{0, 4}),
    ROW(HighlightGain, kPropertyRGB,
        (&RImOpCC::ReadForEach<&RImOpCC::mHighlightGain, &RFpCC::GetZoneGain, kFpZoneHighlights>), true,
        ROperatorRange{1, 4}),
    ROW(HighlightOffset, kPropertyRGB,
        (&RImOpCC::ReadForEach<&RImOpCC::mHighlightOffset, &RFpCC::GetZoneOffset, kFpZoneHighlights>), true,
        ROperatorRange{-1, 1}),
}};

#undef POINT
#undef SIMPLE
#undef ROW

namespace {

// The order in which the ranges are declared.
constexpr std::array kRangeOrder = {"Gain",       "ShadowGain",       "MidGain",       "HighlightGain",
                                    "Offset",     "ShadowOffset",     "MidOffset",     "HighlightOffset",
                                    "Hue",        "ShadowHue",        "MidHue",        "HighlightHue",
                                    "Brightness", "ShadowBrightness", "MidBrightness", "HighlightBrightness",
                                    "Contrast",   "ShadowContrast",   "MidContrast",   "HighlightContrast",
                                    "Saturation", "ShadowSaturation", "MidSaturation", "HighlightSaturation",
                                    "Gamma",      "MidPoint"};

}  // namespace

RImOpCC::RImOpCC(const RString& name) : RImageOperator(name, false) {
  RGLRegistration registration(this);
  AppendPlug(kPlugInput, "IN_0");
  AppendPlug(kPlugOutput, "OUT_0");
  RAddProperties(*this, kProperties);
  RDeclareRanges(*this, kProperties, kRangeOrder);
  SetProcessingNode(std::unique_ptr<RFpNode>(CreateCCNode()));
  RReadBackProperties(*this, kProperties);
  mRegistered = registration.Keep();
}

RImOpCC::~RImOpCC() { RunTeardown(); }

void RImOpCC::Destruct() {
  SetProcessingNode(nullptr);
  if (std::exchange(mRegistered, false)) UnregisterGLOperator(this);
  RImageOperator::Destruct();
}

RImageOperator::ROperatorType RImOpCC::OperatorType() { return kOperatorEffect; }

RImageOperator* RImOpCC::Clone() {
  RDestroyPtr<RImOpCC> clone(new (std::nothrow) RImOpCC(GetPersistentName()));
  if (clone) clone->TransferStaticPropertiesFrom(this);
  return clone.release();
}

bool RImOpCC::IsAnimatableProperty(RProperty* property) { return RIsAnimatable(kProperties, property); }

const char* RImOpCC::ArcGetObjectSubType() { return ClassName; }

IObject* RImOpCC::Genesis(IObject*, const char*, void*) { return (new RImOpCC("CC"))->IQuery(0, 0); }

RFpCC* RImOpCC::GetNode() const { return static_cast<RFpCC*>(GetProcessingNode()); }

// --- Setters.

void RImOpCC::TransparencySet(bool transparency) {
  Store(mTransparency, &RFpCC::SetTransparency, transparency);
}
void RImOpCC::BlackSet(RgeRGBVector black) { StorePoint(mBlack, &RFpCC::SetBlack, black); }
void RImOpCC::WhiteSet(RgeRGBVector white) { StorePoint(mWhite, &RFpCC::SetWhite, white); }
void RImOpCC::ColorPointsSet(bool colorPoints) { Store(mColorPoints, &RFpCC::SetColorPoints, colorPoints); }
void RImOpCC::GammaSet(double gamma) { Store(mGamma, &RFpCC::SetGamma, gamma); }
void RImOpCC::MidPointSet(double midPoint) { Store(mMidPoint, &RFpCC::SetMidPoint, midPoint); }
void RImOpCC::NegativeSet(bool negative) { Store(mNegative, &RFpCC::SetNegative, negative); }

void RImOpCC::HueSet(double degrees) { StoreInZone(mHue, &RFpCC::SetZoneHue, kFpZoneGlobal, degrees); }
void RImOpCC::ContrastSet(double contrast) {
  StoreForAll(mContrast, &RFpCC::SetZoneGain, kFpZoneGlobal, contrast);
}
void RImOpCC::BrightnessSet(double brightness) {
  StoreForAll(mBrightness, &RFpCC::SetZoneOffset, kFpZoneGlobal, brightness);
}
void RImOpCC::SaturationSet(double saturation) {
  StoreInZone(mSaturation, &RFpCC::SetZoneSaturation, kFpZoneGlobal, saturation);
}
void RImOpCC::GainSet(RgeRGBVector gain) { StoreForEach(mGain, &RFpCC::SetZoneGain, kFpZoneGlobal, gain); }
void RImOpCC::OffsetSet(RgeRGBVector offset) {
  StoreForEach(mOffset, &RFpCC::SetZoneOffset, kFpZoneGlobal, offset);
}

void RImOpCC::ShadowHueSet(double degrees) {
  StoreInZone(mShadowHue, &RFpCC::SetZoneHue, kFpZoneShadows, degrees);
}
void RImOpCC::ShadowContrastSet(double contrast) {
  StoreForAll(mShadowContrast, &RFpCC::SetZoneGain, kFpZoneShadows, contrast);
}
void RImOpCC::ShadowBrightnessSet(double brightness) {
  StoreForAll(mShadowBrightness, &RFpCC::SetZoneOffset, kFpZoneShadows, brightness);
}
void RImOpCC::ShadowSaturationSet(double saturation) {
  StoreInZone(mShadowSaturation, &RFpCC::SetZoneSaturation, kFpZoneShadows, saturation);
}
void RImOpCC::ShadowGainSet(RgeRGBVector gain) {
  StoreForEach(mShadowGain, &RFpCC::SetZoneGain, kFpZoneShadows, gain);
}
void RImOpCC::ShadowOffsetSet(RgeRGBVector offset) {
  StoreForEach(mShadowOffset, &RFpCC::SetZoneOffset, kFpZoneShadows, offset);
}

void RImOpCC::MidHueSet(double degrees) {
  StoreInZone(mMidHue, &RFpCC::SetZoneHue, kFpZoneMidtones, degrees);
}
void RImOpCC::MidContrastSet(double contrast) {
  StoreForAll(mMidContrast, &RFpCC::SetZoneGain, kFpZoneMidtones, contrast);
}
void RImOpCC::MidBrightnessSet(double brightness) {
  StoreForAll(mMidBrightness, &RFpCC::SetZoneOffset, kFpZoneMidtones, brightness);
}
void RImOpCC::MidSaturationSet(double saturation) {
  StoreInZone(mMidSaturation, &RFpCC::SetZoneSaturation, kFpZoneMidtones, saturation);
}
void RImOpCC::MidGainSet(RgeRGBVector gain) {
  StoreForEach(mMidGain, &RFpCC::SetZoneGain, kFpZoneMidtones, gain);
}
void RImOpCC::MidOffsetSet(RgeRGBVector offset) {
  StoreForEach(mMidOffset, &RFpCC::SetZoneOffset, kFpZoneMidtones, offset);
}

void RImOpCC::HighlightHueSet(double degrees) {
  StoreInZone(mHighlightHue, &RFpCC::SetZoneHue, kFpZoneHighlights, degrees);
}
void RImOpCC::HighlightContrastSet(double contrast) {
  StoreForAll(mHighlightContrast, &RFpCC::SetZoneGain, kFpZoneHighlights, contrast);
}
void RImOpCC::HighlightBrightnessSet(double brightness) {
  StoreForAll(mHighlightBrightness, &RFpCC::SetZoneOffset, kFpZoneHighlights, brightness);
}
void RImOpCC::HighlightSaturationSet(double saturation) {
  StoreInZone(mHighlightSaturation, &RFpCC::SetZoneSaturation, kFpZoneHighlights, saturation);
}
void RImOpCC::HighlightGainSet(RgeRGBVector gain) {
  StoreForEach(mHighlightGain, &RFpCC::SetZoneGain, kFpZoneHighlights, gain);
}
void RImOpCC::HighlightOffsetSet(RgeRGBVector offset) {
  StoreForEach(mHighlightOffset, &RFpCC::SetZoneOffset, kFpZoneHighlights, offset);
}
