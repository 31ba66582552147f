// Tests of what the effects have in common: the object, its plugs, its table of properties, copies, and the
// registration of operators that draw, which is noted in the module's place.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "module/EntryPointrimage.h"
#include "operators/RImOpBlend.h"
#include "operators/RImOpCC.h"
#include "operators/RImOpKeyer.h"
#include "rbaselib/RArc.h"
#include "rbaselib/RObjectRegistry.h"
#include "support/OperatorFakes.h"

namespace test {
namespace {

constexpr auto kIn = RImageOperator::kPlugInput;
constexpr auto kOut = RImageOperator::kPlugOutput;

// What is registered and unregistered, in order.
Log gRegistrations;

struct Traits {
  const char* className;
  const char* name;  // of what the factory makes
  int inputs;
};

template <class Effect>
constexpr Traits kTraits{};
template <>
constexpr Traits kTraits<RImOpBlend>{"RImOpBlend", "Blend", 2};
template <>
constexpr Traits kTraits<RImOpCC>{"RImOpCC", "CC", 1};
template <>
constexpr Traits kTraits<RImOpKeyer>{"RImOpKeyer", "Keyer", 2};

struct EffectName {
  template <class Effect>
  static std::string GetName(int) {
    return kTraits<Effect>.name;
  }
};

// A value of the property's type that no node starts with and no range clamps, another for every `i`.
RPropertyValue AnotherValue(const RProperty& property, int i) {
  switch (property.GetInfo()->type) {
    case kPropertyBool:
      return !std::get<bool>(property.GetValue());
    case kPropertyDouble:
      return 0.3 + i / 64.0;
    case kPropertyRGB:
      return RgeRGBVector(0.9, 0.5, 1.5 + i);
    default:
      return 2;
  }
}

std::vector<RPropertyValue> Values(const RImageOperator& op) {
  std::vector<RPropertyValue> values;
  values.reserve(static_cast<std::size_t>(op.GetPropertyCount()));
  for (int i = 0; i < op.GetPropertyCount(); ++i) values.push_back(op.GetProperty(i)->GetValue());
  return values;
}

// The last property first, so that a preset comes behind what it would set.
void ChangeEverything(const RImageOperator& op) {
  for (int i = op.GetPropertyCount() - 1; i >= 0; --i) {
    RProperty* const property = op.GetProperty(i);
    EXPECT_TRUE(property->SetValue(AnotherValue(*property, i))) << property->GetName();
  }
}

template <class Effect>
class EffectTest : public testing::Test {};

using Effects = testing::Types<RImOpBlend, RImOpCC, RImOpKeyer>;
TYPED_TEST_SUITE(EffectTest, Effects, EffectName);

TYPED_TEST(EffectTest, HasItsPlugsWithoutImages) {
  const auto op = Make<TypeParam>("effect");
  ASSERT_EQ(op->GetNbPlugs(kIn), kTraits<TypeParam>.inputs);
  for (int i = 0; i < kTraits<TypeParam>.inputs; ++i) {
    EXPECT_STREQ(op->GetPlugName(i, kIn), ("IN_" + std::to_string(i)).c_str());
    EXPECT_EQ(op->GetPlugImage(i, kIn), nullptr);
  }
  ASSERT_EQ(op->GetNbPlugs(kOut), 1);
  EXPECT_STREQ(op->GetPlugName(0, kOut), "OUT_0");
  EXPECT_EQ(op->GetPlugImage(0, kOut), nullptr);
}

TYPED_TEST(EffectTest, TellsItsNameAndKind) {
  const auto op = Make<TypeParam>("effect");
  EXPECT_STREQ(op->GetName(), "effect");
  EXPECT_STREQ(op->ArcGetObjectId(), "effect");
  IArcStorable& face = *op;
  EXPECT_STREQ(face.ArcGetObjectType(), "ImageOperator");
  EXPECT_STREQ(face.ArcGetObjectSubType(), kTraits<TypeParam>.className);
  EXPECT_EQ(op->OperatorType(), 3);
}

TYPED_TEST(EffectTest, TheTableDescribesTheProperties) {
  const auto op = Make<TypeParam>("effect");
  const auto& table = TypeParam::GetPropertyTable();
  ASSERT_EQ(op->GetPropertyCount(), static_cast<int>(table.size()));
  for (std::size_t i = 0; i < table.size(); ++i) {
    RProperty* const property = op->GetProperty(static_cast<int>(i));
    EXPECT_EQ(&table[i].member(*op), property);
    EXPECT_EQ(&table[i].info, property->GetInfo());
    EXPECT_EQ(op->IsAnimatableProperty(property), table[i].animatable) << property->GetName();
    EXPECT_EQ(property->GetInfo()->asString != nullptr, property->GetInfo()->type == kPropertyEnumeration);
    ASSERT_EQ(property->HasMinMax(), table[i].range.has_value()) << property->GetName();
    if (!table[i].range) continue;
    EXPECT_EQ(property->GetMin(), table[i].range->minimum) << property->GetName();
    EXPECT_EQ(property->GetMax(), table[i].range->maximum) << property->GetName();
  }
}

TYPED_TEST(EffectTest, OtherPropertiesCanBeAnimated) {
  const auto op = Make<TypeParam>("effect");
  RPropertyTemplate<int> foreign;
  EXPECT_TRUE(op->IsAnimatableProperty(&foreign));
  EXPECT_TRUE(op->IsAnimatableProperty(nullptr));
  const auto other = Make<TypeParam>("other");
  EXPECT_FALSE(op->IsAnimatableProperty(other->GetProperty(0))) << "of another object of the class";
}

TYPED_TEST(EffectTest, AFactoryMakesItUnderItsOwnName) {
  IObject* const face = TypeParam::Genesis(nullptr, "ignored", nullptr);
  const RDestroyPtr<RObject> object(static_cast<RObject*>(face));
  EXPECT_STREQ(object->GetName(), kTraits<TypeParam>.name);
  EXPECT_TRUE(object->Is(TypeParam::ClassId));
}

TYPED_TEST(EffectTest, TheHostHasItsFactory) {
  EntryPointrimage(kDllStart);
  const auto effects = Object_GetRegistrations("ArcStorable/ImageOperator");
  const auto found = std::ranges::find(effects, kTraits<TypeParam>.className, &RObjectRegistration::name);
  ASSERT_NE(found, effects.end());
  EXPECT_EQ(found->factory, &TypeParam::Genesis);
}

TYPED_TEST(EffectTest, ACloneHasTheNameAndTheValuesAndNoImages) {
  const auto op = Make<TypeParam>("effect");
  PutImage(*op, 0, MakeImage(1, 1));
  for (const bool changed : {false, true}) {
    if (changed) ChangeEverything(*op);
    const RDestroyPtr<RImageOperator> clone(op->Clone());
    ASSERT_NE(dynamic_cast<TypeParam*>(clone.get()), nullptr);
    EXPECT_STREQ(clone->ArcGetObjectId(), "effect");
    EXPECT_EQ(clone->GetPlugImage(0, kIn), nullptr);
    EXPECT_EQ(Values(*clone), Values(*op));
    EXPECT_NE(clone->GetProcessingNode(), op->GetProcessingNode());
  }
}

TYPED_TEST(EffectTest, StoredPropertiesComeBack) {
  const auto op = Make<TypeParam>("effect");
  ChangeEverything(*op);
  RArc arc;
  op->PropertiesStore(&arc);
  const auto restored = Make<TypeParam>("restored");
  EXPECT_NE(Values(*restored), Values(*op));
  EXPECT_TRUE(restored->PropertiesRestore(&arc));
  EXPECT_EQ(Values(*restored), Values(*op));
}

// Without a node setters keep any number, and no other property changes.
TYPED_TEST(EffectTest, AfterItsTeardownValuesAreOnlyStored) {
  TypeParam op("embedded");
  op.SetDeletable(false);
  op.Destroy(0);
  for (const auto& row : TypeParam::GetPropertyTable()) {
    RProperty& property = row.member(op);
    RPropertyValue value = AnotherValue(property, 0);
    if (row.info.type == kPropertyDouble) value = -777.5;
    if (row.info.type == kPropertyRGB) value = RgeRGBVector(-7, 8, 900);
    if (row.info.type == kPropertyEnumeration) value = 99;
    row.info.setter(&op, value);
    EXPECT_EQ(property.GetValue(), value) << property.GetName();
  }
  EXPECT_EQ(op.GetProcessingNode(), nullptr);
  EXPECT_EQ(op.GetUpdateId(), 0);
  EXPECT_EQ(op.GetNbPlugs(kIn) + op.GetNbPlugs(kOut), 0);
  for (const int form : {kFormRawMask, kFormTextureMask}) {
    RFpContext context;
    EXPECT_EQ(op.ReadLock(&context, form), 0);
  }
}

TYPED_TEST(EffectTest, IsRegisteredOnceWhileItLives) {
  gRegistrations.clear();
  TypeParam op("embedded");
  op.SetDeletable(false);
  EXPECT_EQ(Join(gRegistrations), Join({"registered"}));
  op.Destroy(0);
  EXPECT_EQ(Join(gRegistrations), Join({"registered", "unregistered"}));
  op.Destroy(0);
  EXPECT_EQ(Join(gRegistrations), Join({"registered", "unregistered"})) << "once only";
}

}  // namespace
}  // namespace test

void RImageOperator::RegisterGLOperator(RImageOperator*) { test::gRegistrations.emplace_back("registered"); }
void RImageOperator::UnregisterGLOperator(RImageOperator*) {
  test::gRegistrations.emplace_back("unregistered");
}
