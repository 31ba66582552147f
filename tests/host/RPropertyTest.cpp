#include "rbaselib/RProperty.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "rbaselib/RArc.h"
#include "rbaselib/RObject.h"
#include "rbaselib/RPropertyTemplate.h"

namespace {

using testing::ElementsAre;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
const double kNaN = std::nan("");

const char* FruitAsString(int value) {
  static constexpr const char* kFruits[] = {"Apple", "Pear (green)", "1"};
  return value >= 0 && value < 3 ? kFruits[value] : nullptr;
}

// An object with one property of each type. Its setters note the call and store what they make of the value.
class Owner : public RObject {
 public:
  Owner() : RObject("owner", nullptr) {
    for (auto [property, info] : {std::pair<RProperty*, const RPropertyInfo*>{&mFlag, &kFlag},
                                  {&mCount, &kCount},
                                  {&mAmount, &kAmount},
                                  {&mColour, &kColour},
                                  {&mFruit, &kFruit}}) {
      property->SetPropertyInfo(info, this);
      PropertyAddToList(property);
    }
  }
  ~Owner() override { RunTeardown(); }

  virtual void FlagSet(bool value) { Note("Flag", mFlag, value); }
  virtual void CountSet(int value) { Note("Count", mCount, value); }
  virtual void AmountSet(double value) { Note("Amount", mAmount, static_cast<float>(value)); }
  virtual void ColourSet(RgeRGBVector value) { Note("Colour", mColour, value); }
  virtual void FruitSet(int value) { Note("Fruit", mFruit, value); }

  RPropertyTemplate<bool> mFlag;
  RPropertyTemplate<int> mCount;
  RPropertyTemplate<double> mAmount;
  RPropertyTemplate<RgeRGBVector> mColour;
  RPropertyTemplate<int> mFruit;
  std::vector<std::string> mCalls;

 private:
  template <class Property, class Value>
  void Note(const char* name, Property& property, const Value& value) {
    mCalls.emplace_back(name);
    property.Store(value);
  }

  static const RPropertyInfo kFlag, kCount, kAmount, kColour, kFruit;
};

const RPropertyInfo Owner::kFlag{"Flag", kPropertyBool, RPropertySetter<&Owner::FlagSet>, nullptr};
const RPropertyInfo Owner::kCount{"Count", kPropertyInt, RPropertySetter<&Owner::CountSet>, nullptr};
const RPropertyInfo Owner::kAmount{"Amount", kPropertyDouble, RPropertySetter<&Owner::AmountSet>, nullptr};
const RPropertyInfo Owner::kColour{"Colour", kPropertyRGB, RPropertySetter<&Owner::ColourSet>, nullptr};
const RPropertyInfo Owner::kFruit{"Fruit", kPropertyEnumeration, RPropertySetter<&Owner::FruitSet>,
                                  FruitAsString};

// --- Binding and setting.

TEST(RProperty, BeforeBindingItOnlyStores) {
  RPropertyTemplate<int> property(3);
  EXPECT_STREQ(property.GetName(), "");
  EXPECT_EQ(property.GetInfo(), nullptr);
  EXPECT_EQ(property.GetEnumerationText(0), nullptr);
  EXPECT_EQ(property.Get(), 3);
  property.Set(4);
  EXPECT_EQ(property.Get(), 4);
  EXPECT_EQ(property.GetText(), "4");
  EXPECT_FALSE(property.SetText("5")) << "the type of a text is the description's";
}

TEST(RProperty, StartsAtZero) {
  EXPECT_FALSE(RPropertyTemplate<bool>().Get());
  EXPECT_EQ(RPropertyTemplate<int>().Get(), 0);
  EXPECT_EQ(RPropertyTemplate<double>().Get(), 0.0);
  EXPECT_EQ(RPropertyTemplate<RgeRGBVector>().Get(), RgeRGBVector(0, 0, 0));
}

TEST(RProperty, ADescriptionWithoutNameIsUnnamed) {
  const RPropertyInfo info;
  RPropertyTemplate<int> property;
  property.SetPropertyInfo(&info, nullptr);
  EXPECT_STREQ(property.GetName(), "");
}

TEST(RProperty, StandsForItsValue) {
  const RPropertyTemplate<double> property(1.5);
  EXPECT_EQ(property * 2, 3.0);
}

TEST(RProperty, SetRunsTheVirtualSetter) {
  struct Derived : Owner {
    void CountSet(int value) override { mCount.Store(value * 10); }
  } owner;
  owner.mCount.Set(4);
  EXPECT_EQ(owner.mCount.Get(), 40);
}

TEST(RProperty, SetKeepsWhatTheSetterMakesOfTheValue) {
  Owner owner;
  owner.mAmount.Set(0.1);
  EXPECT_EQ(owner.mAmount.Get(), static_cast<double>(0.1F));
  EXPECT_THAT(owner.mCalls, ElementsAre("Amount"));
}

TEST(RProperty, StoreRunsNothing) {
  Owner owner;
  owner.mCount.SetPropertyMinMax(0, 1, false, false);
  owner.mCount.Store(7);
  EXPECT_EQ(owner.mCount.Get(), 7);
  EXPECT_TRUE(owner.mCount.StoreValue(8));
  EXPECT_EQ(owner.mCount.Get(), 8);
  EXPECT_FALSE(owner.mCount.StoreValue(8.5)) << "of another type";
  EXPECT_EQ(owner.mCount.Get(), 8);
  EXPECT_TRUE(owner.mCalls.empty());
}

TEST(RProperty, RunSetterPassesTheRange) {
  Owner owner;
  owner.mAmount.SetPropertyMinMax(0, 1, false, false);
  owner.mAmount.RunSetter(4.0);
  EXPECT_EQ(owner.mAmount.Get(), 4.0);
  EXPECT_THAT(owner.mCalls, ElementsAre("Amount"));
  owner.mAmount.RunSetter(true);
  EXPECT_EQ(owner.mAmount.Get(), 4.0) << "a value of another type does not reach the setter";
  EXPECT_THAT(owner.mCalls, ElementsAre("Amount"));
}

TEST(RProperty, DetachUnbindsTheSetterAndKeepsTheDescription) {
  Owner owner;
  owner.mCount.Detach();
  owner.mCount.Set(5);
  EXPECT_EQ(owner.mCount.Get(), 5);
  EXPECT_TRUE(owner.mCalls.empty());
  EXPECT_STREQ(owner.mCount.GetName(), "Count");
}

TEST(RProperty, SettersMayTakeReferences) {
  struct ByReference : Owner {
    virtual void BrightSet(const RgeRGBVector& value) { mColour.Store({value.r, 1, 1}); }
  } owner;
  const RPropertyInfo info{"Bright", kPropertyRGB, RPropertySetter<&ByReference::BrightSet>, nullptr};
  owner.mColour.SetPropertyInfo(&info, &owner);
  owner.mColour.Set({0.5, 0, 0});
  EXPECT_EQ(owner.mColour.Get(), RgeRGBVector(0.5, 1, 1));
}

TEST(RProperty, SetValueConvertsWholeNumbers) {
  Owner owner;
  EXPECT_TRUE(owner.mAmount.SetValue(2));
  EXPECT_EQ(owner.mAmount.Get(), 2.0);
  EXPECT_TRUE(owner.mFlag.SetValue(1));
  EXPECT_TRUE(owner.mFlag.Get());
  EXPECT_TRUE(owner.mFlag.SetValue(0));
  EXPECT_FALSE(owner.mFlag.Get());
}

TEST(RProperty, SetValueRefusesOtherTypes) {
  Owner owner;
  EXPECT_FALSE(owner.mFlag.SetValue(2));
  EXPECT_FALSE(owner.mFlag.SetValue(1.0));
  EXPECT_FALSE(owner.mCount.SetValue(1.0));
  EXPECT_FALSE(owner.mCount.SetValue(true));
  EXPECT_FALSE(owner.mAmount.SetValue(true));
  EXPECT_FALSE(owner.mColour.SetValue(1.0));
  EXPECT_FALSE(owner.mAmount.SetValue(RgeRGBVector(1, 1, 1)));
  EXPECT_TRUE(owner.mCalls.empty());
}

TEST(RProperty, FitLeavesAValueOfAnotherTypeUntouched) {
  Owner owner;
  RPropertyValue value = true;
  EXPECT_FALSE(owner.mAmount.Fit(value));
  EXPECT_EQ(value, RPropertyValue(true));
  owner.mAmount.SetPropertyMinMax(0, 1, false, false);
  value = 5;
  EXPECT_TRUE(owner.mAmount.Fit(value));
  EXPECT_EQ(value, RPropertyValue(1.0));
  EXPECT_TRUE(owner.mCalls.empty());
}

// --- Ranges.

TEST(RProperty, HasNoRangeAtFirst) {
  const RPropertyTemplate<double> property;
  EXPECT_FALSE(property.HasMinMax());
}

TEST(RProperty, KeepsItsRangeAndFlags) {
  RPropertyTemplate<double> property;
  property.SetPropertyMinMax(-1, 4, true, false);
  EXPECT_TRUE(property.HasMinMax());
  EXPECT_EQ(property.GetMin(), -1.0);
  EXPECT_EQ(property.GetMax(), 4.0);
  EXPECT_TRUE(property.IsMinMovable());
  EXPECT_FALSE(property.IsMaxMovable());
  property.SetPropertyMinMax(0, 1, false, true);
  EXPECT_FALSE(property.IsMinMovable());
  EXPECT_TRUE(property.IsMaxMovable());
}

struct ClampCase {
  double value, minimum, maximum, expected;
};

class RPropertyClampTest : public testing::TestWithParam<ClampCase> {};

TEST_P(RPropertyClampTest, SetClamps) {
  Owner owner;
  owner.mAmount.SetPropertyMinMax(GetParam().minimum, GetParam().maximum, false, false);
  owner.mAmount.Set(GetParam().value);
  EXPECT_EQ(owner.mAmount.Get(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Values, RPropertyClampTest,
                         testing::Values(ClampCase{0.5, 0, 1, 0.5}, ClampCase{-0.5, 0, 1, 0},
                                         ClampCase{1.5, 0, 1, 1}, ClampCase{0, 0, 1, 0},
                                         ClampCase{1, 0, 1, 1}, ClampCase{kInfinity, 0, 1, 1},
                                         ClampCase{-kInfinity, -1, 1, -1}, ClampCase{kNaN, -1, 1, -1},
                                         ClampCase{5, 2, 1, 2}, ClampCase{0, 2, 1, 2}));

TEST(RProperty, ColoursAreClampedComponentByComponent) {
  Owner owner;
  owner.mColour.SetPropertyMinMax(1, 4, false, false);
  owner.mColour.Set({0.5, 2, 9});
  EXPECT_EQ(owner.mColour.Get(), RgeRGBVector(1, 2, 4));
}

struct WholeCase {
  int value;
  double minimum, maximum;
  int expected;
};

class RPropertyClampWholeTest : public testing::TestWithParam<WholeCase> {};

TEST_P(RPropertyClampWholeTest, StaysWithinRangeAndType) {
  Owner owner;
  owner.mCount.SetPropertyMinMax(GetParam().minimum, GetParam().maximum, false, false);
  owner.mCount.Set(GetParam().value);
  EXPECT_EQ(owner.mCount.Get(), GetParam().expected);
}

constexpr int kMaxInt = std::numeric_limits<int>::max();
constexpr int kMinInt = std::numeric_limits<int>::min();
INSTANTIATE_TEST_SUITE_P(Values, RPropertyClampWholeTest,
                         testing::Values(WholeCase{5, 0, 3, 3}, WholeCase{-5, 0, 3, 0}, WholeCase{2, 0, 3, 2},
                                         WholeCase{0, 0.5, 2.5, 1}, WholeCase{9, 0.5, 2.5, 2},
                                         WholeCase{5, 1e10, 2e10, kMaxInt},
                                         WholeCase{5, -2e10, -1e10, kMinInt},
                                         WholeCase{kMaxInt, -1e300, 1e300, kMaxInt}));

TEST(RProperty, TruthsHaveNoRange) {
  Owner owner;
  owner.mFlag.SetPropertyMinMax(0, 0, false, false);
  owner.mFlag.Set(true);
  EXPECT_TRUE(owner.mFlag.Get());
}

// --- Text.

TEST(RProperty, WritesItsValueAsText) {
  Owner owner;
  EXPECT_EQ(owner.mFlag.GetText(), "false");
  owner.mFlag.Store(true);
  EXPECT_EQ(owner.mFlag.GetText(), "true");
  owner.mCount.Store(-3);
  EXPECT_EQ(owner.mCount.GetText(), "-3");
  owner.mAmount.Store(0.1);
  EXPECT_EQ(owner.mAmount.GetText(), "0.1");
  owner.mColour.Store({1, 0.5, 0.25});
  EXPECT_EQ(owner.mColour.GetText(), "1 0.5 0.25");
  owner.mFruit.Store(1);
  EXPECT_EQ(owner.mFruit.GetText(), "Pear (green)");
  owner.mFruit.Store(7);
  EXPECT_EQ(owner.mFruit.GetText(), "7") << "a value outside the enumeration";
}

TEST(RProperty, EnumerationTextsComeFromTheDescription) {
  const Owner owner;
  EXPECT_STREQ(owner.mFruit.GetEnumerationText(0), "Apple");
  EXPECT_EQ(owner.mFruit.GetEnumerationText(3), nullptr);
  EXPECT_EQ(owner.mFruit.GetEnumerationText(-1), nullptr);
  EXPECT_EQ(owner.mCount.GetEnumerationText(0), nullptr) << "no enumeration";
}

struct TextCase {
  const char* property;
  const char* text;
  const char* expected;  // null when the text is refused
};

class RPropertyTextTest : public testing::TestWithParam<TextCase> {};

TEST_P(RPropertyTextTest, IsRead) {
  const auto& [name, text, expected] = GetParam();
  Owner owner;
  RProperty* property = owner.FastFindPropertyByName(name);
  ASSERT_NE(property, nullptr);
  const std::string before = property->GetText();
  EXPECT_EQ(property->SetText(text), expected != nullptr);
  EXPECT_EQ(property->GetText(), expected ? expected : before);
  EXPECT_EQ(owner.mCalls.size(), expected ? 1U : 0U) << "a text goes through the setter";
}

constexpr TextCase kTexts[] = {
    {"Flag", "true", "true"},
    {"Flag", "TRUE", "true"},
    {"Flag", "1", "true"},
    {"Flag", "yes", "true"},
    {"Flag", "On", "true"},
    {"Flag", "off", "false"},
    {"Flag", "0", "false"},
    {"Flag", "no", "false"},
    {"Flag", "False", "false"},
    {"Flag", " true\n", "true"},
    {"Flag", "2", nullptr},
    {"Flag", "", nullptr},
    {"Flag", "maybe", nullptr},
    {"Count", "12", "12"},
    {"Count", "-12", "-12"},
    {"Count", "+12", "12"},
    {"Count", "\t12 ", "12"},
    {"Count", "2147483647", "2147483647"},
    {"Count", "2147483648", nullptr},
    {"Count", "+-12", nullptr},
    {"Count", "++12", nullptr},
    {"Count", "+", nullptr},
    {"Count", "1.0", nullptr},
    {"Count", "12x", nullptr},
    {"Count", "", nullptr},
    {"Count", nullptr, nullptr},
    {"Amount", "0.5", "0.5"},
    {"Amount", ".5", "0.5"},
    {"Amount", "5e-1", "0.5"},
    {"Amount", "+3", "3"},
    {"Amount", "-0.25", "-0.25"},
    {"Amount", "0,5", nullptr},
    {"Amount", "nan", nullptr},
    {"Amount", "inf", nullptr},
    {"Amount", "-infinity", nullptr},
    {"Amount", "1e999", nullptr},
    {"Amount", "0x10", nullptr},
    {"Amount", "half", nullptr},
    {"Colour", "1 0.5 0.25", "1 0.5 0.25"},
    {"Colour", "1,0.5,0.25", "1 0.5 0.25"},
    {"Colour", " 1, 0.5\t0.25 ", "1 0.5 0.25"},
    {"Colour", "1 0.5", nullptr},
    {"Colour", "1 0.5 0.25 1", nullptr},
    {"Colour", "1 red 0.25", nullptr},
    {"Colour", "1 nan 0", nullptr},
    {"Colour", "", nullptr},
    {"Fruit", "Apple", "Apple"},
    {"Fruit", "pear (GREEN)", "Pear (green)"},
    {"Fruit", "0", "Apple"},
    {"Fruit", "2", "1"},
    {"Fruit", "17", "17"},
    {"Fruit", "-1", "-1"},
    {"Fruit", "Plum", nullptr},
    {"Fruit", "App", nullptr},
};
INSTANTIATE_TEST_SUITE_P(Texts, RPropertyTextTest, testing::ValuesIn(kTexts));

TEST(RProperty, AnEnumerationsTextWinsOverItsNumber) {
  Owner owner;
  EXPECT_TRUE(owner.mFruit.SetText("1"));
  EXPECT_EQ(owner.mFruit.Get(), 2) << "the text \"1\" belongs to value 2";
}

TEST(RProperty, TextsAreClampedToTheRange) {
  Owner owner;
  owner.mAmount.SetPropertyMinMax(0, 1, false, false);
  EXPECT_TRUE(owner.mAmount.SetText("3"));
  EXPECT_EQ(owner.mAmount.Get(), 1.0);
}

TEST(RProperty, TextBringsTheSameNumberBack) {
  const RPropertyInfo info{"Exact", kPropertyDouble, nullptr, nullptr};
  for (const double value : {0.1, 1.0 / 3, 1e300, 5e-324, -0.0, 123456789.125, double{0.1F}}) {
    RPropertyTemplate<double> source(value);
    RPropertyTemplate<double> target;
    source.SetPropertyInfo(&info, nullptr);
    target.SetPropertyInfo(&info, nullptr);
    ASSERT_TRUE(target.SetText(source.GetText().c_str()));
    EXPECT_EQ(target.Get(), value);
    EXPECT_EQ(std::signbit(target.Get()), std::signbit(value));
  }
}

// --- Archive fields.

// Writes the property's value as a field and returns the record's text.
std::string Written(const RProperty& property) {
  RArc arc;
  EXPECT_TRUE(arc.FieldWriteBegin(property.GetName()));
  property.WriteValue(arc);
  arc.FieldWriteEnd();
  return arc.GetText();
}

TEST(RProperty, WritesItsFieldByType) {
  Owner owner;
  owner.mFlag.Store(true);
  owner.mCount.Store(-3);
  owner.mAmount.Store(0.5);
  owner.mColour.Store({1, 0.5, 0.25});
  owner.mFruit.Store(1);
  EXPECT_EQ(Written(owner.mFlag), "Flag true\n");
  EXPECT_EQ(Written(owner.mCount), "Count -3\n");
  EXPECT_EQ(Written(owner.mAmount), "Amount 0.5\n");
  EXPECT_EQ(Written(owner.mColour), "Colour 1 0.5 0.25\n");
  EXPECT_EQ(Written(owner.mFruit), "Fruit 1\n") << "an enumeration is written by number";
}

struct FieldCase {
  const char* record;
  const char* property;
  bool good;
};

class RPropertyFieldTest : public testing::TestWithParam<FieldCase> {};

TEST_P(RPropertyFieldTest, IsRead) {
  Owner owner;
  RArc arc;
  ASSERT_TRUE(arc.SetText(GetParam().record));
  const RProperty* property = owner.FastFindPropertyByName(GetParam().property);
  RPropertyValue value = 77;
  EXPECT_EQ(property->ReadValue(arc, value), GetParam().good);
  if (GetParam().good)
    EXPECT_EQ(value.index(), property->GetValue().index());
  else
    EXPECT_EQ(value, RPropertyValue(77)) << "a failed read leaves the value";
}

constexpr FieldCase kFields[] = {
    {"Flag true", "Flag", true},
    {"Flag 1", "Flag", false},
    {"Flag \"true\"", "Flag", false},
    {"Count 3", "Count", true},
    {"Count 3.5", "Count", false},
    {"Count true", "Count", false},
    {"Count", "Count", false},
    {"Amount 3", "Amount", true},
    {"Amount 3.5", "Amount", true},
    {"Amount \"3.5\"", "Amount", false},
    {"Amount nan", "Amount", false},
    {"Amount inf", "Amount", false},
    {"Colour 1 0.5 0", "Colour", true},
    {"Colour 1 0.5", "Colour", false},
    {"Colour 1 0.5 x", "Colour", false},
    {"Colour 1 nan 0", "Colour", false},
    {"Colour 1 0.5 0 9", "Colour", true},
    {"Fruit 9", "Fruit", true},
    {"Fruit \"Apple\"", "Fruit", false},
    {"Other 3", "Count", false},
};
INSTANTIATE_TEST_SUITE_P(Fields, RPropertyFieldTest, testing::ValuesIn(kFields));

TEST(RProperty, ReadsTheValuesOfAField) {
  Owner owner;
  RArc arc;
  ASSERT_TRUE(arc.SetText("Colour 1 0.5 0.25\nFlag true"));
  RPropertyValue value;
  ASSERT_TRUE(owner.mColour.ReadValue(arc, value));
  EXPECT_EQ(std::get<RgeRGBVector>(value), RgeRGBVector(1, 0.5, 0.25));
  ASSERT_TRUE(owner.mFlag.ReadValue(arc, value));
  EXPECT_TRUE(std::get<bool>(value));
}

}  // namespace
