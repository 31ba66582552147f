// Tests of the colour-correction node's parameters.
#include "fp/RFpCC.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "fp/RFpCC_default.h"
#include "support/Random.h"

namespace test {
namespace {

// One number of the node.
struct Setting {
  std::string name;
  std::function<float(RFpCC&, float)> set;
  std::function<float(const RFpCC&)> get;
  float start;
  float least;  // of the clamp; without one both are infinite
  float most;
  bool countsAsZone;
};

constexpr float kInfinity = std::numeric_limits<float>::infinity();

Setting Point(const char* name, int i, float (RFpCC::*set)(int, float), float (RFpCC::*get)(int) const,
              float start) {
  return {name + std::to_string(i),
          [=](RFpCC& n, float v) { return (n.*set)(i, v); },
          [=](const RFpCC& n) { return (n.*get)(i); },
          start,
          0,
          1,
          false};
}

Setting ZoneNumber(const char* name, int zone, float (RFpCC::*set)(int, float),
                   float (RFpCC::*get)(int) const, float start) {
  Setting setting = Point(name, zone, set, get, start);
  setting.least = -kInfinity;
  setting.most = kInfinity;
  setting.countsAsZone = zone != 0;
  return setting;
}

Setting ZoneComponent(const char* name, int zone, int i, float (RFpCC::*set)(int, int, float),
                      float (RFpCC::*get)(int, int) const, float start) {
  return {name + std::to_string(zone) + "Component" + std::to_string(i),
          [=](RFpCC& n, float v) { return (n.*set)(zone, i, v); },
          [=](const RFpCC& n) { return (n.*get)(zone, i); },
          start,
          -kInfinity,
          kInfinity,
          zone != 0};
}

std::vector<Setting> Settings() {
  std::vector<Setting> list;
  for (int i = 0; i < 3; ++i) {
    list.push_back(Point("Black", i, &RFpCC::SetBlack, &RFpCC::GetBlack, 0));
    list.push_back(Point("White", i, &RFpCC::SetWhite, &RFpCC::GetWhite, 1));
  }
  list.push_back({"MidPoint", &RFpCC::SetMidPoint, &RFpCC::GetMidPoint, 0.5F, 0.25F, 0.75F, false});
  list.push_back({"Gamma", &RFpCC::SetGamma, &RFpCC::GetGamma, 1, 0.25F, 4, true});
  for (int zone = 0; zone < 4; ++zone) {
    list.push_back(ZoneNumber("Hue", zone, &RFpCC::SetZoneHue, &RFpCC::GetZoneHue, 0));
    list.push_back(ZoneNumber("Saturation", zone, &RFpCC::SetZoneSaturation, &RFpCC::GetZoneSaturation, 1));
    for (int i = 0; i < 4; ++i) {
      list.push_back(ZoneComponent("Offset", zone, i, &RFpCC::SetZoneOffset, &RFpCC::GetZoneOffset, 0));
      list.push_back(ZoneComponent("Gain", zone, i, &RFpCC::SetZoneGain, &RFpCC::GetZoneGain, 1));
    }
  }
  return list;
}

class CCSetting : public testing::TestWithParam<Setting> {
 protected:
  RFpCC_default node;
};

TEST_P(CCSetting, StartsNeutralAndCountsRealChanges) {
  const Setting& s = GetParam();
  EXPECT_EQ(s.get(node), s.start);
  unsigned count = 0;
  for (const float value : {0.375F, 0.5F, 0.3F}) {
    if (s.get(node) != value) ++count;
    EXPECT_EQ(s.set(node, value), value);
    EXPECT_EQ(s.get(node), value);
    EXPECT_EQ(node.GetChangeCount(), count);
    EXPECT_EQ(s.set(node, value), value);
    EXPECT_EQ(node.GetChangeCount(), count) << "the value that is held already";
  }
}

TEST_P(CCSetting, IsClampedBeforeItIsCompared) {
  const Setting& s = GetParam();
  for (const float value : {-100.0F, 1.2F, 0.9F, 10.0F, 1e30F, -kInfinity, kInfinity}) {
    const float expected = std::min(std::max(value, s.least), s.most);
    EXPECT_EQ(s.set(node, value), expected) << value;
    EXPECT_EQ(s.get(node), expected) << value;
    const unsigned count = node.GetChangeCount();
    s.set(node, value);
    EXPECT_EQ(node.GetChangeCount(), count) << "clamped to what is held";
  }
}

TEST_P(CCSetting, NotANumberIsTheLeastValueOfARange) {
  const Setting& s = GetParam();
  if (s.most == kInfinity) return;
  EXPECT_EQ(s.set(node, std::numeric_limits<float>::quiet_NaN()), s.least);
}

TEST_P(CCSetting, TouchesNoOther) {
  GetParam().set(node, 0.375F);
  for (const Setting& other : Settings()) {
    if (other.name == GetParam().name) continue;
    EXPECT_EQ(other.get(node), other.start) << other.name;
  }
}

TEST_P(CCSetting, CountsAsAZoneWhileItIsAwayFromNeutral) {
  const Setting& s = GetParam();
  const int away = s.countsAsZone ? 1 : 0;
  EXPECT_EQ(node.GetZoneCount(), 0);
  s.set(node, 0.375F);
  EXPECT_EQ(node.GetZoneCount(), away);
  s.set(node, 0.5F);
  EXPECT_EQ(node.GetZoneCount(), s.start == 0.5F ? 0 : away) << "still away";
  s.set(node, s.start);
  EXPECT_EQ(node.GetZoneCount(), 0);
  s.set(node, s.start);
  EXPECT_EQ(node.GetZoneCount(), 0) << "neutral twice";
}

TEST_P(CCSetting, ResetBringsItBack) {
  GetParam().set(node, 0.375F);
  node.Reset();
  EXPECT_EQ(GetParam().get(node), GetParam().start);
  EXPECT_EQ(node.GetZoneCount(), 0);
  EXPECT_EQ(node.GetChangeCount(), 2U);
}

INSTANTIATE_TEST_SUITE_P(All, CCSetting, testing::ValuesIn(Settings()),
                         [](const auto& row) { return row.param.name; });

TEST(RFpCC, SwitchesCountRealChanges) {
  RFpCC_default node;
  const struct {
    bool (RFpCC::*set)(bool);
    bool (RFpCC::*get)() const;
  } rows[] = {{&RFpCC::SetTransparency, &RFpCC::GetTransparency},
              {&RFpCC::SetNegative, &RFpCC::GetNegative},
              {&RFpCC::SetColorPoints, &RFpCC::GetColorPoints}};
  unsigned count = 0;
  for (const auto& row : rows) {
    EXPECT_FALSE((node.*row.get)());
    EXPECT_FALSE((node.*row.set)(false));
    EXPECT_EQ(node.GetChangeCount(), count);
    EXPECT_TRUE((node.*row.set)(true));
    EXPECT_TRUE((node.*row.get)());
    EXPECT_EQ(node.GetChangeCount(), ++count);
  }
  EXPECT_EQ(node.GetZoneCount(), 0);
  node.Reset();
  for (const auto& row : rows) EXPECT_FALSE((node.*row.get)());
}

TEST(RFpCC, IndicesOutOfRangeChangeNothing) {
  RFpCC_default node;
  node.SetGamma(2);
  const unsigned count = node.GetChangeCount();
  for (const int index : {-1, 3, 4, 100, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    EXPECT_EQ(node.SetBlack(index, 0.5F), 0.0F);
    EXPECT_EQ(node.GetBlack(index), 0.0F);
    EXPECT_EQ(node.SetWhite(index, 0.5F), 0.0F);
    EXPECT_EQ(node.GetWhite(index), 0.0F);
    if (index == 3) continue;
    EXPECT_EQ(node.SetZoneHue(index, 9), 0.0F);
    EXPECT_EQ(node.GetZoneHue(index), 0.0F);
    EXPECT_EQ(node.SetZoneSaturation(index, 9), 0.0F);
    EXPECT_EQ(node.GetZoneSaturation(index), 0.0F);
    for (const auto& [zone, component] : {std::pair(index, 0), std::pair(0, index)}) {
      EXPECT_EQ(node.SetZoneOffset(zone, component, 9), 0.0F);
      EXPECT_EQ(node.GetZoneOffset(zone, component), 0.0F);
      EXPECT_EQ(node.SetZoneGain(zone, component, 9), 0.0F);
      EXPECT_EQ(node.GetZoneGain(zone, component), 0.0F);
    }
  }
  EXPECT_EQ(node.GetChangeCount(), count);
  EXPECT_EQ(node.GetZoneCount(), 1);
}

// Whatever the order of changes, the count is the number of settings that are away from neutral.
TEST(RFpCC, TheZoneCountHoldsOverRandomChanges) {
  const std::vector<Setting> settings = Settings();
  for (unsigned seed = 0; seed < 20; ++seed) {
    Random random(seed);
    RFpCC_default node;
    for (int step = 0; step < 500; ++step) {
      const Setting& s = settings[random.Below(static_cast<unsigned>(settings.size()))];
      s.set(node, random.Below(3) == 0 ? s.start : static_cast<float>(random.Below(5)) / 2 - 1);
      int away = 0;
      for (const Setting& other : settings)
        away += other.countsAsZone && other.get(node) != other.start ? 1 : 0;
      ASSERT_EQ(node.GetZoneCount(), away) << seed << ", " << step << ": " << s.name;
    }
    node.Reset();
    EXPECT_EQ(node.GetZoneCount(), 0);
  }
}

TEST(RFpCC, AShadowSaturationThatComesBackNeedsNoZones) {
  RFpCC_default node;
  node.SetZoneSaturation(1, 0.5F);
  EXPECT_EQ(node.GetZoneCount(), 1);
  node.SetZoneSaturation(1, 1.0F);
  EXPECT_EQ(node.GetZoneCount(), 0);
}

TEST(RFpCC, AnswersOfTheSlots) {
  RFpCC_default node;
  for (const float gamma : {1.0F, 2.0F}) {
    node.SetGamma(gamma);
    for (const int stage : {0, 1, 2}) {
      EXPECT_EQ(node.GetInputCount(), 1);
      EXPECT_EQ(node.GetStageCount(), 1);
      EXPECT_EQ(node.GetRequirementFlags(stage), 0xC0000);
      EXPECT_EQ(node.GetReserved(stage), 0);
      EXPECT_EQ(node.GetInputRequirement(stage), 1);
      EXPECT_EQ(node.GetNextIndex(stage, 0), 1);
      EXPECT_EQ(node.GetNextIndex(stage, 5), 1);
    }
  }
}

TEST(RFpCC, WithoutAContextTheFactoryMakesTheDefault) {
  const std::unique_ptr<RFpCC> node(CreateCCNode());
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(typeid(*node), typeid(RFpCC_default));
  EXPECT_EQ(node->GetChangeCount(), 0U) << "reset, which is how it starts";
}

}  // namespace
}  // namespace test
