// Tests of the keyer node's parameters.
#include "fp/RFpKeyer.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "fp/RFpKeyer_default.h"

namespace test {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// One number of the node.
struct Setting {
  std::string name;
  std::function<float(RFpKeyer&, float)> set;
  std::function<float(const RFpKeyer&)> get;
  float start;
};

Setting Indexed(const char* name, int i, float (RFpKeyer::*set)(int, float),
                float (RFpKeyer::*get)(int) const, float start) {
  return {name + std::to_string(i), [=](RFpKeyer& n, float v) { return (n.*set)(i, v); },
          [=](const RFpKeyer& n) { return (n.*get)(i); }, start};
}

std::vector<Setting> Settings() {
  std::vector<Setting> list = {{"Threshold", &RFpKeyer::SetThreshold, &RFpKeyer::GetThreshold, 1},
                               {"Softness", &RFpKeyer::SetSoftness, &RFpKeyer::GetSoftness, 0},
                               {"Suppression", &RFpKeyer::SetSuppression, &RFpKeyer::GetSuppression, 0}};
  constexpr float kKey[] = {0.2F, 0.28F, 0.68F};
  for (int i = 0; i < 3; ++i)
    list.push_back(Indexed("Key", i, &RFpKeyer::SetKey, &RFpKeyer::GetKey, kKey[i]));
  for (int i = 0; i < 4; ++i) list.push_back(Indexed("Mask", i, &RFpKeyer::SetMask, &RFpKeyer::GetMask, 0));
  return list;
}

class KeyerSetting : public testing::TestWithParam<Setting> {
 protected:
  RFpKeyer_default node;
};

TEST_P(KeyerSetting, StartsAsStatedAndCountsRealChanges) {
  const Setting& s = GetParam();
  EXPECT_EQ(s.get(node), s.start);
  unsigned count = 0;
  for (const float value : {0.375F, 0.5F, 0.0F, 1.0F}) {
    if (s.get(node) != value) ++count;
    EXPECT_EQ(s.set(node, value), value);
    EXPECT_EQ(s.get(node), value);
    EXPECT_EQ(node.GetChangeCount(), count);
    EXPECT_EQ(s.set(node, value), value);
    EXPECT_EQ(node.GetChangeCount(), count) << "the value that is held already";
  }
}

TEST_P(KeyerSetting, IsClampedBeforeItIsCompared) {
  const Setting& s = GetParam();
  for (const float value : {-1.0F, 1.5F, -1e30F, 1e30F, -kInfinity, kInfinity, kNaN, -kNaN}) {
    const float expected = value > 0 ? 1.0F : 0.0F;
    EXPECT_EQ(s.set(node, value), expected) << value;
    EXPECT_EQ(s.get(node), expected) << value;
    const unsigned count = node.GetChangeCount();
    s.set(node, value);
    EXPECT_EQ(node.GetChangeCount(), count) << "clamped to what is held";
  }
  EXPECT_EQ(s.set(node, 1e-40F), 1e-40F) << "small numbers are within the range";
}

TEST_P(KeyerSetting, TouchesNoOther) {
  GetParam().set(node, 0.375F);
  for (const Setting& other : Settings()) {
    if (other.name == GetParam().name) continue;
    EXPECT_EQ(other.get(node), other.start) << other.name;
  }
  EXPECT_EQ(node.GetMode(), 0);
  EXPECT_EQ(node.GetOutput(), 0);
  EXPECT_FALSE(node.GetInvertMatte());
}

TEST_P(KeyerSetting, ResetBringsItBack) {
  GetParam().set(node, 0.375F);
  node.Reset();
  EXPECT_EQ(GetParam().get(node), GetParam().start);
  EXPECT_EQ(node.GetChangeCount(), 2U);
}

INSTANTIATE_TEST_SUITE_P(All, KeyerSetting, testing::ValuesIn(Settings()),
                         [](const auto& row) { return row.param.name; });

TEST(RFpKeyer, TheModeThatIsStoredGuardsTheMode) {
  for (const int known : {0, 1, 2}) {
    for (const int next : {0, 1, 2, -7}) {
      RFpKeyer_default node;
      node.SetMode(known);
      EXPECT_EQ(node.SetMode(next), next);
      EXPECT_EQ(node.GetMode(), next);
    }
    for (const int unknown : {3, 5, std::numeric_limits<int>::max()}) {
      RFpKeyer_default node;
      node.SetMode(known);
      EXPECT_EQ(node.SetMode(unknown), unknown);
      const unsigned count = node.GetChangeCount();
      for (const int next : {0, 1, 2, 7}) EXPECT_EQ(node.SetMode(next), unknown) << next;
      EXPECT_EQ(node.GetMode(), unknown);
      EXPECT_EQ(node.GetChangeCount(), count);
      EXPECT_EQ(node.GetInputCount(), 1);
      EXPECT_EQ(node.GetInputRequirement(0), 1);
      node.Reset();
      EXPECT_EQ(node.GetMode(), unknown) << "for good";
    }
  }
}

TEST(RFpKeyer, ModeOutputAndInversionCountRealChanges) {
  RFpKeyer_default node;
  EXPECT_EQ(node.SetMode(0), 0);
  EXPECT_EQ(node.SetOutput(0), 0);
  EXPECT_FALSE(node.SetInvertMatte(false));
  EXPECT_EQ(node.GetChangeCount(), 0U);
  EXPECT_EQ(node.SetMode(2), 2);
  EXPECT_EQ(node.GetChangeCount(), 1U);
  EXPECT_EQ(node.SetOutput(1), 1);
  EXPECT_EQ(node.GetOutput(), 1);
  EXPECT_EQ(node.GetChangeCount(), 2U);
  EXPECT_TRUE(node.SetInvertMatte(true));
  EXPECT_TRUE(node.GetInvertMatte());
  EXPECT_EQ(node.GetChangeCount(), 3U);
  EXPECT_EQ(node.SetOutput(77), 77) << "not guarded";
  EXPECT_EQ(node.SetOutput(0), 0);
  node.Reset();
  EXPECT_EQ(node.GetMode(), 0);
  EXPECT_FALSE(node.GetInvertMatte());
}

TEST(RFpKeyer, IndicesOutOfRangeChangeNothing) {
  RFpKeyer_default node;
  for (const int index : {-1, 4, 100, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    EXPECT_EQ(node.SetKey(index, 0.5F), 0.0F);
    EXPECT_EQ(node.GetKey(index), 0.0F);
    EXPECT_EQ(node.SetMask(index, 0.5F), 0.0F);
    EXPECT_EQ(node.GetMask(index), 0.0F);
  }
  EXPECT_EQ(node.SetKey(3, 0.5F), 0.0F);
  EXPECT_EQ(node.GetKey(3), 0.0F);
  EXPECT_EQ(node.GetChangeCount(), 0U);
}

// Records what Reset sets.
class Setters : public RFpKeyer_default {
 public:
  std::string log;

  int SetMode(int v) override { return Note("mode", v), v; }
  int SetOutput(int v) override { return Note("output", v), v; }
  bool SetInvertMatte(bool v) override { return Note("invertMatte", v ? 1 : 0), v; }
  float SetKey(int i, float v) override { return Note("key" + std::to_string(i), v), v; }
  float SetThreshold(float v) override { return Note("threshold", v), v; }
  float SetSoftness(float v) override { return Note("softness", v), v; }
  float SetSuppression(float v) override { return Note("suppression", v), v; }
  float SetMask(int i, float v) override { return Note("mask" + std::to_string(i), v), v; }

 private:
  template <class T>
  void Note(const std::string& name, T value) {
    log += name + ' ' + std::to_string(value) + '\n';
  }
};

TEST(RFpKeyer, ResetSetsEverythingInOrder) {
  Setters node;
  node.Reset();
  EXPECT_EQ(node.log,
            "mode 0\noutput 0\ninvertMatte 0\nkey0 0.200000\nkey1 0.280000\nkey2 0.680000\n"
            "threshold 1.000000\nsoftness 0.000000\nsuppression 0.000000\n"
            "mask0 0.000000\nmask1 0.000000\nmask2 0.000000\nmask3 0.000000\n");
}

TEST(RFpKeyer, AnswersOfTheSlots) {
  RFpKeyer_default node;
  for (const int mode : {0, 1, 2}) {
    node.SetMode(mode);
    for (const int stage : {0, 1}) {
      EXPECT_EQ(node.GetInputCount(), mode == 2 ? 2 : 1);
      EXPECT_EQ(node.GetStageCount(), 1);
      EXPECT_EQ(node.GetRequirementFlags(stage), 0xC0000);
      EXPECT_EQ(node.GetReserved(stage), 0);
      EXPECT_EQ(node.GetInputRequirement(stage), mode == 2 ? 2 : 1);
      EXPECT_EQ(node.GetNextIndex(stage, 0), 1);
      EXPECT_EQ(node.GetNextIndex(stage, 1), 2);
      EXPECT_EQ(node.GetNextIndex(stage, 5), 6);
    }
  }
}

TEST(RFpKeyer, WithoutAContextTheFactoryMakesTheDefault) {
  const std::unique_ptr<RFpKeyer> node(CreateKeyerNode());
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(typeid(*node), typeid(RFpKeyer_default));
  EXPECT_EQ(node->GetChangeCount(), 0U) << "reset, which is how it starts";
}

}  // namespace
}  // namespace test
