// Transfer of property values between objects, and their way through a record, with a mock of an operator
// whose setters change each other's properties and drive a node.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "rbaselib/RArc.h"
#include "rbaselib/RObject.h"
#include "rbaselib/RProperty.h"
#include "rbaselib/RPropertyTemplate.h"

namespace {

// What an operator's node holds: single precision, as it was given.
struct Node {
  int funcRGB = 0, funcAlpha = 0, aRGB = 1, aAlpha = 1, bRGB = 0, bAlpha = 0;
  std::array<float, 4> color{1, 1, 1, 1};
  friend bool operator==(const Node&, const Node&) = default;
};

// Six settings, a preset that stands for them, a colour and a percentage, on a node.
class Blend : public RObject {
 public:
  Blend() : RObject("Blend", nullptr) {
    RProperty* properties[] = {&mPreset, &mColor,  &mAlpha, &mFuncRGB, &mFuncAlpha,
                               &mARGB,   &mAAlpha, &mBRGB,  &mBAlpha};
    static_assert(std::size(kInfos) == std::size(properties));
    for (std::size_t i = 0; i < std::size(properties); ++i) {
      properties[i]->SetPropertyInfo(&kInfos[i], this);
      PropertyAddToList(properties[i]);
    }
    Blend::PresetSet(4);
    mColor.Store({1, 1, 1});
    mAlpha.Store(100);
  }
  ~Blend() override { RunTeardown(); }

  virtual void PresetSet(int preset) {
    if (preset >= 1 && preset < static_cast<int>(std::size(kPresets))) {
      const auto& row = kPresets[preset];
      FuncRGBSet(row[0]);
      FuncAlphaSet(row[1]);
      AFactorRGBSet(row[2]);
      AFactorAlphaSet(row[3]);
      BFactorRGBSet(row[4]);
      BFactorAlphaSet(row[5]);
    }
    mPreset.Store(preset);
  }
  virtual void ColorSet(RgeRGBVector color) {
    for (int i = 0; i < 3; ++i) mNode.color[static_cast<std::size_t>(i)] = static_cast<float>(color[i]);
    mColor.Store({mNode.color[0], mNode.color[1], mNode.color[2]});
  }
  virtual void AlphaSet(double percent) {
    mNode.color[3] = static_cast<float>(percent * 0.01);
    mAlpha.Store(mNode.color[3] * 100.0);
  }
  virtual void FuncRGBSet(int value) { StoreSetting(mFuncRGB, mNode.funcRGB, value); }
  virtual void FuncAlphaSet(int value) { StoreSetting(mFuncAlpha, mNode.funcAlpha, value); }
  virtual void AFactorRGBSet(int value) { StoreSetting(mARGB, mNode.aRGB, value); }
  virtual void AFactorAlphaSet(int value) { StoreSetting(mAAlpha, mNode.aAlpha, value); }
  virtual void BFactorRGBSet(int value) {
    if (value == 14) mARGB.Store(mNode.aRGB = 12);
    StoreSetting(mBRGB, mNode.bRGB, value);
  }
  virtual void BFactorAlphaSet(int value) {
    if (value == 14) mAAlpha.Store(mNode.aAlpha = 12);
    StoreSetting(mBAlpha, mNode.bAlpha, value);
  }

  std::vector<std::string> Values() const {
    std::vector<std::string> values;
    for (int i = 0; i < GetPropertyCount(); ++i) {
      values.push_back(std::string(GetProperty(i)->GetName()) + '=' + GetProperty(i)->GetText());
    }
    return values;
  }

  RPropertyTemplate<int> mPreset;
  RPropertyTemplate<RgeRGBVector> mColor;
  RPropertyTemplate<double> mAlpha;
  RPropertyTemplate<int> mFuncRGB, mFuncAlpha, mARGB, mAAlpha, mBRGB, mBAlpha;
  Node mNode;
  int mSetterCalls = 0;

 private:
  void StoreSetting(RPropertyTemplate<int>& property, int& held, int value) {
    ++mSetterCalls;
    property.Store(held = value);
    mPreset.Store(0);
  }

  static constexpr int kPresets[][6] = {{},
                                        {0, 0, 12, 12, 14, 14},
                                        {0, 0, 13, 13, 12, 12},
                                        {0, 0, 0, 0, 0, 0},
                                        {0, 0, 1, 1, 0, 0},
                                        {0, 0, 0, 0, 1, 1},
                                        {0, 0, 1, 1, 5, 5}};
  static const RPropertyInfo kInfos[9];
};

const RPropertyInfo Blend::kInfos[9] = {
    {"Preset", kPropertyEnumeration, RPropertySetter<&Blend::PresetSet>, nullptr},
    {"Color", kPropertyRGB, RPropertySetter<&Blend::ColorSet>, nullptr},
    {"Alpha", kPropertyDouble, RPropertySetter<&Blend::AlphaSet>, nullptr},
    {"FuncRGB", kPropertyEnumeration, RPropertySetter<&Blend::FuncRGBSet>, nullptr},
    {"FuncAlpha", kPropertyEnumeration, RPropertySetter<&Blend::FuncAlphaSet>, nullptr},
    {"AFactorRGB", kPropertyEnumeration, RPropertySetter<&Blend::AFactorRGBSet>, nullptr},
    {"AFactorAlpha", kPropertyEnumeration, RPropertySetter<&Blend::AFactorAlphaSet>, nullptr},
    {"BFactorRGB", kPropertyEnumeration, RPropertySetter<&Blend::BFactorRGBSet>, nullptr},
    {"BFactorAlpha", kPropertyEnumeration, RPropertySetter<&Blend::BFactorAlphaSet>, nullptr},
};

// --- Every state that an operator can get into, in a clone and through a record.

using Preparation = std::function<void(Blend&)>;
struct State {
  const char* name;
  Preparation prepare;
};

const State kStates[] = {
    {"Fresh", [](Blend&) {}},
    {"Preset6", [](Blend& blend) { blend.mPreset.Set(6); }},
    {"Preset1WithItsCoupledFactors", [](Blend& blend) { blend.mPreset.Set(1); }},
    {"Preset2", [](Blend& blend) { blend.mPreset.Set(2); }},
    {"PresetOutsideTheTable", [](Blend& blend) { blend.mPreset.Set(17); }},
    {"NegativePreset", [](Blend& blend) { blend.mPreset.Set(-1); }},
    {"CustomAfterPreset",
     [](Blend& blend) {
       blend.mPreset.Set(6);
       blend.mPreset.Set(0);
     }},
    {"CustomByASetting",
     [](Blend& blend) {
       blend.mPreset.Set(6);
       blend.mFuncAlpha.Set(3);
     }},
    {"CoupledFactor", [](Blend& blend) { blend.mBRGB.Set(14); }},
    {"CoupledAlphaFactor", [](Blend& blend) { blend.mBAlpha.Set(14); }},
    {"FactorAfterItsCoupling",
     [](Blend& blend) {
       blend.mBRGB.Set(14);
       blend.mARGB.Set(3);
     }},
    {"BothFactorsAfterTheirCoupling",
     [](Blend& blend) {
       blend.mBRGB.Set(14);
       blend.mBAlpha.Set(14);
       blend.mARGB.Set(3);
       blend.mAAlpha.Set(9);
     }},
    {"FactorAfterItsCouplingUnderAPresetOutsideTheTable",
     [](Blend& blend) {
       blend.mBRGB.Set(14);
       blend.mARGB.Set(3);
       blend.mPreset.Set(17);
     }},
    {"FactorAfterPreset1",
     [](Blend& blend) {
       blend.mPreset.Set(1);
       blend.mARGB.Set(2);
     }},
    {"SettingsOfAPresetChosenOneByOne",
     [](Blend& blend) {
       blend.mBRGB.Set(5);
       blend.mBAlpha.Set(5);
     }},
    {"ColoursAndPercentages",
     [](Blend& blend) {
       blend.mColor.Set({0.1, 1.0 / 3, 7});
       blend.mAlpha.Set(33.3);
       blend.mPreset.Set(5);
     }},
};

class RPropertyStateTest : public testing::TestWithParam<State> {
 protected:
  void SetUp() override { GetParam().prepare(mSource); }
  // The target starts from another state than a fresh object's.
  void Scramble() {
    mTarget.mPreset.Set(1);
    mTarget.mFuncRGB.Set(4);
    mTarget.mAlpha.Set(12.5);
    mTarget.mColor.Set({0.5, 0.5, 0.5});
  }
  void ExpectEqual() {
    EXPECT_EQ(mTarget.Values(), mSource.Values());
    EXPECT_EQ(mTarget.mNode, mSource.mNode);
  }
  Blend mSource;
  Blend mTarget;
};

TEST_P(RPropertyStateTest, CloneEqualsItsSource) {
  mTarget.TransferStaticPropertiesFrom(&mSource);
  ExpectEqual();
}

TEST_P(RPropertyStateTest, ScrambledTargetEqualsItsSource) {
  Scramble();
  mTarget.TransferStaticPropertiesFrom(&mSource);
  ExpectEqual();
}

TEST_P(RPropertyStateTest, RestoredObjectEqualsTheStoredOne) {
  RArc written;
  ASSERT_TRUE(mSource.PropertiesStore(&written));
  RArc arc;
  ASSERT_TRUE(arc.SetText(written.GetText()));
  EXPECT_TRUE(mTarget.PropertiesRestore(&arc));
  ExpectEqual();
}

TEST_P(RPropertyStateTest, ScrambledObjectIsRestored) {
  Scramble();
  RArc arc;
  ASSERT_TRUE(mSource.PropertiesStore(&arc));
  EXPECT_TRUE(mTarget.PropertiesRestore(&arc));
  ExpectEqual();
}

INSTANTIATE_TEST_SUITE_P(States, RPropertyStateTest, testing::ValuesIn(kStates),
                         [](const auto& row) { return row.param.name; });

// Every combination of a preset and one later setting.
TEST(RPropertyTransfer, EverySettingAfterEveryPreset) {
  for (int preset = -1; preset <= 7; ++preset) {
    for (int setting = 3; setting < 9; ++setting) {
      for (int value = 0; value <= 15; ++value) {
        Blend source;
        source.mPreset.Set(preset);
        source.GetProperty(setting)->SetValue(value);
        Blend target;
        target.TransferStaticPropertiesFrom(&source);
        ASSERT_EQ(target.Values(), source.Values());
        ASSERT_EQ(target.mNode, source.mNode);
      }
    }
  }
}

TEST(RPropertyTransfer, GoesThroughTheSetters) {
  Blend source;
  Blend target;
  target.mNode.funcRGB = 99;  // out of step, as after a node was replaced
  target.TransferStaticPropertiesFrom(&source);
  EXPECT_EQ(target.mNode, source.mNode);
  EXPECT_GE(target.mSetterCalls, 6);
}

// No setter leads to this state: the preset changes the factor and the factor the preset.
TEST(RPropertyTransfer, AStateThatNoSetterReachesIsStored) {
  Blend source;
  source.mPreset.Set(6);
  source.mARGB.Set(3);
  source.mPreset.Store(6);
  Blend target;
  target.TransferStaticPropertiesFrom(&source);
  EXPECT_EQ(target.Values(), source.Values());
  EXPECT_EQ(target.mNode, source.mNode);
  EXPECT_LT(target.mSetterCalls, 200) << "the attempts are bounded";
}

TEST(RPropertyTransfer, ARecordThatContradictsItselfIsWhatTheSettersMakeOfIt) {
  RArc arc;
  ASSERT_TRUE(arc.SetText("Preset 6\nAFactorRGB 3"));
  Blend target;
  EXPECT_TRUE(target.PropertiesRestore(&arc));
  EXPECT_EQ(target.mARGB.Get(), 3);
  EXPECT_EQ(target.mPreset.Get(), 0) << "the settings are no longer the preset's";
  EXPECT_EQ(target.mBRGB.Get(), 5) << "the preset's other settings stay";
  EXPECT_EQ(target.mNode.aRGB, 3);
}

TEST(RPropertyTransfer, NullAndItselfChangeNothing) {
  Blend blend;
  blend.mPreset.Set(6);
  const auto before = blend.Values();
  const int calls = blend.mSetterCalls;
  blend.TransferStaticPropertiesFrom(nullptr);
  blend.TransferStaticPropertiesFrom(&blend);
  EXPECT_EQ(blend.Values(), before);
  EXPECT_EQ(blend.mSetterCalls, calls);
}

TEST(RPropertyTransfer, NotANumberCrossesWithoutEndlessAttempts) {
  Blend source;
  source.mAlpha.Set(std::nan(""));
  source.mColor.Set({std::nan(""), 0, 1});
  source.mPreset.Set(6);
  Blend target;
  target.TransferStaticPropertiesFrom(&source);
  EXPECT_TRUE(std::isnan(target.mAlpha.Get()));
  EXPECT_TRUE(std::isnan(target.mColor.Get().r));
  EXPECT_EQ(target.mPreset.Get(), 6);
  EXPECT_LE(target.mSetterCalls, 6 + 12 + 6) << "construction, the first round and the preset again";
}

// --- Setters that hold back values.

// Two bounds that keep each other in order, on a node of their own.
class Bounds : public RObject {
 public:
  Bounds() : RObject("Bounds", nullptr) {
    mLow.SetPropertyInfo(&kInfos[0], this);
    mHigh.SetPropertyInfo(&kInfos[1], this);
    mLow.SetPropertyMinMax(0, 1, false, false);
    mHigh.SetPropertyMinMax(0, 1, false, false);
    PropertyAddToList(&mLow);
    PropertyAddToList(&mHigh);
    mHigh.Store(0.5);
  }
  ~Bounds() override { RunTeardown(); }
  virtual void LowSet(double value) { mLow.Store(std::min(value, mHigh.Get())); }
  virtual void HighSet(double value) { mHigh.Store(std::max(value, mLow.Get())); }
  RPropertyTemplate<double> mLow, mHigh;

 private:
  static const RPropertyInfo kInfos[2];
};
const RPropertyInfo Bounds::kInfos[2] = {
    {"Low", kPropertyDouble, RPropertySetter<&Bounds::LowSet>, nullptr},
    {"High", kPropertyDouble, RPropertySetter<&Bounds::HighSet>, nullptr},
};

TEST(RPropertyTransfer, AValueThatWasHeldBackIsSetAgain) {
  Bounds source;
  source.mHigh.Set(0.9);
  source.mLow.Set(0.7);
  Bounds target;
  target.TransferStaticPropertiesFrom(&source);
  EXPECT_EQ(target.mLow.Get(), 0.7);
  EXPECT_EQ(target.mHigh.Get(), 0.9);
}

TEST(RPropertyTransfer, AValueThatASetterStoredPastTheRangeCrosses) {
  Bounds source;
  source.HighSet(3);
  Bounds target;
  target.TransferStaticPropertiesFrom(&source);
  EXPECT_EQ(target.mHigh.Get(), 3.0);
}

TEST(RPropertyTransfer, ARecordIsClampedToTheRange) {
  Bounds source;
  source.HighSet(3);
  RArc arc;
  ASSERT_TRUE(source.PropertiesStore(&arc));
  Bounds target;
  EXPECT_TRUE(target.PropertiesRestore(&arc));
  EXPECT_EQ(target.mHigh.Get(), 1.0);
}

// --- Objects of different classes.

class Other : public RObject {
 public:
  Other() : RObject("Other", nullptr) {
    RProperty* properties[] = {&mHigh, &mAlpha, &mColor, &mOwn, &mUnbound};
    for (std::size_t i = 0; i < 4; ++i) properties[i]->SetPropertyInfo(&kInfos[i], this);
    for (RProperty* property : properties) PropertyAddToList(property);
  }
  ~Other() override { RunTeardown(); }
  RPropertyTemplate<double> mHigh{0.25};
  RPropertyTemplate<int> mAlpha{40};
  RPropertyTemplate<bool> mColor{true};
  RPropertyTemplate<int> mOwn{3};
  RPropertyTemplate<int> mUnbound{4};

 private:
  static const RPropertyInfo kInfos[4];
};
const RPropertyInfo Other::kInfos[4] = {{"High", kPropertyDouble, nullptr, nullptr},
                                        {"Alpha", kPropertyInt, nullptr, nullptr},
                                        {"Color", kPropertyBool, nullptr, nullptr},
                                        {"Own", kPropertyInt, nullptr, nullptr}};

TEST(RPropertyTransfer, TakesWhatBothClassesHave) {
  const Other source;
  Blend target;
  target.TransferStaticPropertiesFrom(&source);
  EXPECT_FLOAT_EQ(static_cast<float>(target.mAlpha.Get()), 40) << "a whole number is taken for a double";
  EXPECT_EQ(target.mColor.Get(), RgeRGBVector(1, 1, 1)) << "a truth is no colour";
}

TEST(RPropertyTransfer, FitsAnotherClassesValuesToItsOwnRange) {
  Other source;
  source.mHigh.Store(7);
  Bounds target;
  target.TransferStaticPropertiesFrom(&source);
  EXPECT_EQ(target.mHigh.Get(), 1.0);
}

TEST(RPropertyTransfer, AnotherClassesValueIsNotForcedOnASetter) {
  Other source;
  source.mHigh.Store(0.1);
  Bounds target;
  target.mLow.Set(0.4);
  target.TransferStaticPropertiesFrom(&source);
  EXPECT_EQ(target.mHigh.Get(), 0.4) << "the setter's word stands";
}

TEST(RPropertyTransfer, UnboundPropertiesHaveNoPart) {
  Other source;
  Other target;
  source.mUnbound.Store(9);
  target.TransferStaticPropertiesFrom(&source);
  EXPECT_EQ(target.mUnbound.Get(), 4);
}

// --- Records.

TEST(RPropertyRecord, HoldsAFieldForEachPropertyInOrder) {
  Blend blend;
  blend.mPreset.Set(6);
  blend.mAlpha.Set(50);
  RArc arc;
  ASSERT_TRUE(blend.PropertiesStore(&arc));
  EXPECT_EQ(arc.GetText(),
            "Preset 6\nColor 1 1 1\nAlpha 50\nFuncRGB 0\nFuncAlpha 0\nAFactorRGB 1\nAFactorAlpha 1\n"
            "BFactorRGB 5\nBFactorAlpha 5\n");
}

TEST(RPropertyRecord, StandsBesideTheObjectsOwnFields) {
  Blend blend;
  RArc arc;
  ASSERT_TRUE(arc.FieldWriteBegin("Name"));
  arc.FieldWriteC("my blend");
  arc.FieldWriteEnd();
  ASSERT_TRUE(blend.PropertiesStore(&arc));
  Blend target;
  EXPECT_TRUE(target.PropertiesRestore(&arc));
  EXPECT_STREQ(arc.FieldReadC("Name", ""), "my blend");
}

TEST(RPropertyRecord, MissingFieldsLeaveTheirProperties) {
  RArc arc;
  ASSERT_TRUE(arc.SetText("Alpha 25\nUnknown 3"));
  Blend blend;
  blend.mPreset.Set(6);
  EXPECT_TRUE(blend.PropertiesRestore(&arc));
  EXPECT_EQ(blend.mAlpha.Get(), 25.0);
  EXPECT_EQ(blend.mPreset.Get(), 6);
  EXPECT_TRUE(Blend().PropertiesRestore(&(arc = RArc())));
}

TEST(RPropertyRecord, FieldsOfTheWrongTypeAreReportedAndTheOthersSet) {
  RArc arc;
  ASSERT_TRUE(arc.SetText("Color 1 0\nAlpha \"much\"\nFuncRGB 2\nFuncAlpha true"));
  Blend blend;
  EXPECT_FALSE(blend.PropertiesRestore(&arc));
  EXPECT_EQ(blend.mFuncRGB.Get(), 2);
  EXPECT_EQ(blend.mFuncAlpha.Get(), 0);
  EXPECT_EQ(blend.mAlpha.Get(), 100.0);
  EXPECT_EQ(blend.mColor.Get(), RgeRGBVector(1, 1, 1));
}

TEST(RPropertyRecord, NullRecordsFail) {
  Blend blend;
  const auto before = blend.Values();
  EXPECT_FALSE(blend.PropertiesStore(nullptr));
  EXPECT_FALSE(blend.PropertiesRestore(nullptr));
  EXPECT_EQ(blend.Values(), before);
}

TEST(RPropertyRecord, ARecordThatTakesNoFieldFails) {
  const Blend blend;
  RArc arc;
  ASSERT_TRUE(arc.FieldWriteBegin("Open"));
  EXPECT_FALSE(blend.PropertiesStore(&arc));
  arc.FieldWriteEnd();
  EXPECT_EQ(arc.GetText(), "Open\n");
}

}  // namespace
