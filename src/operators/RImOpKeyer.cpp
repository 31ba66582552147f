#include "operators/RImOpKeyer.h"

#include <new>

#include "image/RDestroyPtr.h"
#include "operators/RGLRegistration.h"

namespace {

constexpr std::array kModeTexts = {"Chroma Keying", "Luminance Keying", "Difference Keying"};
constexpr std::array kOutputTexts = {"Key", "Matte"};

}  // namespace

// --- Values between the properties and the node, in single precision there.

template <class Value>
void RImOpKeyer::Store(RPropertyTemplate<Value>& property, Value (RFpKeyer::*setter)(Value), Value value) {
  RFpKeyer* const node = GetNode();
  property.Store(node ? (node->*setter)(value) : value);
}

void RImOpKeyer::StorePercent(Percent& property, PercentSetter setter, double percent) {
  RFpKeyer* const node = GetNode();
  property.Store(node ? RFromNodePercent((node->*setter)(RToNodePercent(percent))) : percent);
}

void RImOpKeyer::StoreMask(Percent& property, int edge, double percent) {
  RFpKeyer* const node = GetNode();
  property.Store(node ? RFromNodePercent(node->SetMask(edge, RToNodePercent(percent))) : percent);
}

template <auto kProperty, auto kGetter>
void RImOpKeyer::ReadBack() {
  if (const RFpKeyer* const node = GetNode()) (this->*kProperty).Store((node->*kGetter)());
}

template <auto kProperty, RImOpKeyer::PercentGetter kGetter>
void RImOpKeyer::ReadPercent() {
  if (const RFpKeyer* const node = GetNode()) (this->*kProperty).Store(RFromNodePercent((node->*kGetter)()));
}

template <auto kProperty, int kEdge>
void RImOpKeyer::ReadMask() {
  if (const RFpKeyer* const node = GetNode())
    (this->*kProperty).Store(RFromNodePercent(node->GetMask(kEdge)));
}

void RImOpKeyer::ReadKey() {
  if (const RFpKeyer* const node = GetNode()) mKey.Store({node->GetKey(0), node->GetKey(1), node->GetKey(2)});
}

#define ROW(Name, type, asString, readBack, animatable) \
  R_OPERATOR_PROPERTY_ROW(RImOpKeyer, Name, type, asString, readBack, animatable, std::nullopt)
#define SIMPLE(Name) (&RImOpKeyer::ReadBack<&RImOpKeyer::m##Name, &RFpKeyer::Get##Name>)
#define PERCENT(Name) (&RImOpKeyer::ReadPercent<&RImOpKeyer::m##Name, &RFpKeyer::Get##Name>)
#define MASK(Edge) (&RImOpKeyer::ReadMask<&RImOpKeyer::m##Edge##Mask, kFpEdge##Edge>)

constinit const RImOpKeyer::PropertyTable RImOpKeyer::kProperties = {{
    ROW(Mode, kPropertyEnumeration, &ModeAsString, SIMPLE(Mode), false),
    ROW(Output, kPropertyEnumeration, &OutputAsString, SIMPLE(Output), false),
    ROW(InvertMatte, kPropertyBool, nullptr, SIMPLE(InvertMatte), false),
    ROW(Key, kPropertyRGB, nullptr, &RImOpKeyer::ReadKey, false),
    ROW(Threshold, kPropertyDouble, nullptr, PERCENT(Threshold), true),
    ROW(Softness, kPropertyDouble, nullptr, PERCENT(Softness), true),
    ROW(Suppression, kPropertyDouble, nullptr, PERCENT(Suppression), true),
    ROW(LeftMask, kPropertyDouble, nullptr, MASK(Left), true),
    ROW(RightMask, kPropertyDouble, nullptr, MASK(Right), true),
    ROW(BottomMask, kPropertyDouble, nullptr, MASK(Bottom), true),
    ROW(TopMask, kPropertyDouble, nullptr, MASK(Top), true),
}};

#undef MASK
#undef PERCENT
#undef SIMPLE
#undef ROW

namespace {

// The order in which a new operator asks its node.
constexpr std::array kReadBackOrder = {"Key",       "Threshold",   "Softness", "Suppression",
                                       "Output",    "InvertMatte", "Mode",     "LeftMask",
                                       "RightMask", "BottomMask",  "TopMask"};
static_assert(kReadBackOrder.size() == std::tuple_size_v<RImOpKeyer::PropertyTable>);

}  // namespace

RImOpKeyer::RImOpKeyer(const RString& name) : RImageOperator(name, false) {
  RGLRegistration registration(this);
  AppendPlug(kPlugInput, "IN_0");
  AppendPlug(kPlugInput, "IN_1");
  AppendPlug(kPlugOutput, "OUT_0");
  RAddProperties(*this, kProperties);
  SetProcessingNode(std::unique_ptr<RFpNode>(CreateKeyerNode()));
  RReadBackProperties(*this, kProperties, kReadBackOrder);
  mRegistered = registration.Keep();
}

RImOpKeyer::~RImOpKeyer() { RunTeardown(); }

void RImOpKeyer::Destruct() {
  SetProcessingNode(nullptr);
  if (std::exchange(mRegistered, false)) UnregisterGLOperator(this);
  RImageOperator::Destruct();
}

RImageOperator::ROperatorType RImOpKeyer::OperatorType() { return kOperatorEffect; }

RImageOperator* RImOpKeyer::Clone() {
  RDestroyPtr<RImOpKeyer> clone(new (std::nothrow) RImOpKeyer(GetPersistentName()));
  if (clone) clone->TransferStaticPropertiesFrom(this);
  return clone.release();
}

bool RImOpKeyer::IsAnimatableProperty(RProperty* property) { return RIsAnimatable(kProperties, property); }

const char* RImOpKeyer::ArcGetObjectSubType() { return ClassName; }

IObject* RImOpKeyer::Genesis(IObject*, const char*, void*) { return (new RImOpKeyer("Keyer"))->IQuery(0, 0); }

RFpKeyer* RImOpKeyer::GetNode() const { return static_cast<RFpKeyer*>(GetProcessingNode()); }

// --- Setters.

void RImOpKeyer::ModeSet(int mode) { Store(mMode, &RFpKeyer::SetMode, mode); }
void RImOpKeyer::OutputSet(int output) { Store(mOutput, &RFpKeyer::SetOutput, output); }
void RImOpKeyer::InvertMatteSet(bool invertMatte) {
  Store(mInvertMatte, &RFpKeyer::SetInvertMatte, invertMatte);
}
void RImOpKeyer::KeySet(RgeRGBVector key) {
  RFpKeyer* const node = GetNode();
  for (int i = 0; node && i < 3; ++i) key[i] = node->SetKey(i, static_cast<float>(key[i]));
  mKey.Store(key);
}
void RImOpKeyer::ThresholdSet(double percent) { StorePercent(mThreshold, &RFpKeyer::SetThreshold, percent); }
void RImOpKeyer::SoftnessSet(double percent) { StorePercent(mSoftness, &RFpKeyer::SetSoftness, percent); }
void RImOpKeyer::SuppressionSet(double percent) {
  StorePercent(mSuppression, &RFpKeyer::SetSuppression, percent);
}
void RImOpKeyer::LeftMaskSet(double percent) { StoreMask(mLeftMask, kFpEdgeLeft, percent); }
void RImOpKeyer::RightMaskSet(double percent) { StoreMask(mRightMask, kFpEdgeRight, percent); }
void RImOpKeyer::BottomMaskSet(double percent) { StoreMask(mBottomMask, kFpEdgeBottom, percent); }
void RImOpKeyer::TopMaskSet(double percent) { StoreMask(mTopMask, kFpEdgeTop, percent); }

const char* RImOpKeyer::ModeAsString(int value) { return RAsString(kModeTexts, value); }
const char* RImOpKeyer::OutputAsString(int value) { return RAsString(kOutputTexts, value); }
