// Tests of the blend node's parameters.
#include "fp/RFpBlend.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "fp/RFpBlend_default.h"

namespace test {
namespace {

struct Setting {
  const char* name;
  int (RFpBlend::*set)(int);
  int (RFpBlend::*get)() const;
  int start;
};

const Setting kSettings[] = {
    {"FuncRGB", &RFpBlend::SetFuncRGB, &RFpBlend::GetFuncRGB, 0},
    {"FuncAlpha", &RFpBlend::SetFuncAlpha, &RFpBlend::GetFuncAlpha, 0},
    {"AFactorRGB", &RFpBlend::SetAFactorRGB, &RFpBlend::GetAFactorRGB, 1},
    {"AFactorAlpha", &RFpBlend::SetAFactorAlpha, &RFpBlend::GetAFactorAlpha, 1},
    {"BFactorRGB", &RFpBlend::SetBFactorRGB, &RFpBlend::GetBFactorRGB, 0},
    {"BFactorAlpha", &RFpBlend::SetBFactorAlpha, &RFpBlend::GetBFactorAlpha, 0},
};

class BlendSetting : public testing::TestWithParam<Setting> {
 protected:
  int Set(int value) { return (node.*GetParam().set)(value); }
  int Get() const { return (node.*GetParam().get)(); }
  RFpBlend_default node;
};

TEST_P(BlendSetting, HoldsAnyNumberAndCountsRealChanges) {
  EXPECT_EQ(Get(), GetParam().start);
  unsigned count = 0;
  EXPECT_EQ(node.GetChangeCount(), count);
  for (const int value :
       {3, 14, 15, 99, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    EXPECT_EQ(Set(value), value);
    EXPECT_EQ(Get(), value);
    EXPECT_EQ(node.GetChangeCount(), ++count);
    EXPECT_EQ(Set(value), value);
    EXPECT_EQ(node.GetChangeCount(), count) << "the value that is held already";
  }
}

TEST_P(BlendSetting, AnyDepartureNeedsBothImages) {
  EXPECT_EQ(node.GetInputCount(), 1);
  Set(GetParam().start + 1);
  EXPECT_EQ(node.GetInputCount(), 2);
  EXPECT_EQ(node.GetInputRequirement(0), 2);
  EXPECT_EQ(node.GetRequirementFlags(0), 0x80);
  Set(GetParam().start);
  EXPECT_EQ(node.GetInputCount(), 1);
  EXPECT_EQ(node.GetInputRequirement(0), 1);
  EXPECT_EQ(node.GetRequirementFlags(0), 0x40);
}

TEST_P(BlendSetting, LeavesTheOthersAlone) {
  Set(7);
  for (const Setting& other : kSettings) {
    if (other.name != GetParam().name) {
      EXPECT_EQ((node.*other.get)(), other.start) << other.name;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Settings, BlendSetting, testing::ValuesIn(kSettings),
                         [](const auto& row) { return row.param.name; });

TEST(RFpBlend, AFreshNodeIsTheIdentity) {
  const RFpBlend_default node;
  EXPECT_EQ(node.GetChangeCount(), 0U);
  EXPECT_EQ(node.GetInputCount(), 1);
  EXPECT_EQ(node.GetStageCount(), 1);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(node.GetColor(i), 1.0F);
}

TEST(RFpBlend, StagesBeyondTheFirstReadOneImage) {
  RFpBlend_default node;
  node.SetFuncRGB(1);
  for (const int stage : {-1, 1, 2}) {
    EXPECT_EQ(node.GetInputRequirement(stage), 1);
    EXPECT_EQ(node.GetRequirementFlags(stage), 0x40);
  }
}

TEST(RFpBlend, InputsComeInTheOrderOfThePlugs) {
  const RFpBlend_default node;
  for (const int index : {0, 1, 5}) {
    EXPECT_EQ(node.GetNextIndex(0, index), index + 1);
    EXPECT_EQ(node.GetNextIndex(3, index), index + 1);
  }
  EXPECT_EQ(node.GetReserved(0), 0);
}

TEST(RFpBlend, TheConstantColourIsHeldByComponent) {
  RFpBlend_default node;
  for (int i = 0; i < 4; ++i) {
    const float value = 0.25F * static_cast<float>(i);
    EXPECT_EQ(node.SetColor(i, value), value);
    EXPECT_EQ(node.GetColor(i), value);
    EXPECT_EQ(node.GetChangeCount(), static_cast<unsigned>(i + 1));
    EXPECT_EQ(node.SetColor(i, value), value);
    EXPECT_EQ(node.GetChangeCount(), static_cast<unsigned>(i + 1));
  }
  EXPECT_EQ(node.SetColor(0, -3.5F), -3.5F) << "nothing is clamped";
  EXPECT_EQ(node.SetColor(1, 1e30F), 1e30F);
  EXPECT_EQ(node.GetInputCount(), 1) << "the colour alone needs no second image";
}

TEST(RFpBlend, OtherComponentsChangeNothing) {
  RFpBlend_default node;
  for (const int component : {-1, 4, 100, std::numeric_limits<int>::min()}) {
    EXPECT_EQ(node.SetColor(component, 0.5F), 0.0F);
    EXPECT_EQ(node.GetColor(component), 0.0F);
  }
  EXPECT_EQ(node.GetChangeCount(), 0U);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(node.GetColor(i), 1.0F);
}

TEST(RFpBlend, ResetLeavesTheAlphaFactorOfBAlone) {
  RFpBlend_default node;
  for (const Setting& setting : kSettings) (node.*setting.set)(9);
  for (int i = 0; i < 4; ++i) node.SetColor(i, 0.5F);
  node.Reset();
  for (const Setting& setting : kSettings) {
    const bool kept = std::string(setting.name) == "BFactorAlpha";
    EXPECT_EQ((node.*setting.get)(), kept ? 9 : setting.start) << setting.name;
  }
  for (int i = 0; i < 4; ++i) EXPECT_EQ(node.GetColor(i), 1.0F);
}

TEST(RFpBlend, ResetGoesThroughTheSettersInOrder) {
  class Noting : public RFpBlend_default {
   public:
    std::string calls;
    int SetFuncRGB(int v) override { return Note("FuncRGB", v); }
    int SetFuncAlpha(int v) override { return Note("FuncAlpha", v); }
    int SetAFactorRGB(int v) override { return Note("AFactorRGB", v); }
    int SetAFactorAlpha(int v) override { return Note("AFactorAlpha", v); }
    int SetBFactorRGB(int v) override { return Note("BFactorRGB", v); }
    int SetBFactorAlpha(int v) override { return Note("BFactorAlpha", v); }
    float SetColor(int c, float v) override {
      calls += "Color" + std::to_string(c) + '=' + std::to_string(std::lround(v)) + ' ';
      return v;
    }

   private:
    int Note(const char* name, int v) {
      calls += name + ('=' + std::to_string(v)) + ' ';
      return v;
    }
  };
  Noting node;
  node.Reset();
  EXPECT_EQ(node.calls,
            "FuncRGB=0 FuncAlpha=0 AFactorRGB=1 AFactorAlpha=1 BFactorRGB=0 BFactorRGB=0 "
            "Color0=1 Color1=1 Color2=1 Color3=1 ");
}

TEST(RFpBlend, ResettingAFreshNodeCountsNothing) {
  const std::unique_ptr<RFpBlend> node(CreateBlendNode());
  EXPECT_EQ(node->GetChangeCount(), 0U);
}

}  // namespace
}  // namespace test
