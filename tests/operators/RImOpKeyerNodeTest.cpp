// Tests of what the keyer operator and its node tell each other: the program has its own `CreateKeyerNode`,
// which comes before the module's and makes a node that notes every call and has answers of its own. The
// registration of operators that draw is noted likewise.
#include <gtest/gtest.h>

#include <sstream>

#include "operators/RImOpKeyer.h"
#include "support/OperatorFakes.h"

namespace test {
namespace {

// What happens to operators and nodes, in order.
Log gLife;

/// Holds something else than what it is given, as a node may.
class NotingKeyer : public RFpKeyer {
 public:
  NotingKeyer() { gLife.emplace_back("node made"); }
  ~NotingKeyer() override { gLife.emplace_back("node destroyed"); }

  mutable Log log;
  std::string Taken() { return Join(std::exchange(log, {})); }

  unsigned GetChangeCount() const override { return 0; }
  int GetInputCount() const override { return 1; }
  int GetStageCount() const override { return 1; }
  int GetRequirementFlags(int) const override { return kFormProcessorMask; }
  int GetInputRequirement(int) const override { return 1; }
  int GetNextIndex(int, int index) const override { return index + 1; }
  int Bind(RFpContext*, int, int) override { return 0; }
  void Draw(RFpContext*, int, int, int, int) override {}
  void Unbind(RFpContext*, int, int) override {}

  int SetMode(int mode) override { return Note("SetMode", mode, 11); }
  int GetMode() const override { return Note("GetMode", 1); }
  int SetOutput(int output) override { return Note("SetOutput", output, 12); }
  int GetOutput() const override { return Note("GetOutput", 2); }
  bool SetInvertMatte(bool invert) override { return Note("SetInvertMatte", invert, !invert); }
  bool GetInvertMatte() const override { return Note("GetInvertMatte", true); }
  float SetKey(int component, float value) override {
    return Note("SetKey", component, value, 0.5F + 0.125F * static_cast<float>(component));
  }
  float GetKey(int component) const override {
    return Note("GetKey", component, 0.25F * static_cast<float>(component));
  }
  float SetThreshold(float value) override { return Note("SetThreshold", value, 0.375F); }
  float GetThreshold() const override { return Note("GetThreshold", 0.125F); }
  float SetSoftness(float value) override { return Note("SetSoftness", value, 0.625F); }
  float GetSoftness() const override { return Note("GetSoftness", 0.75F); }
  float SetSuppression(float value) override { return Note("SetSuppression", value, 0.875F); }
  float GetSuppression() const override { return Note("GetSuppression", 0.5F); }
  float SetMask(int index, float value) override {
    return Note("SetMask", index, value, 0.0625F * static_cast<float>(index + 1));
  }
  float GetMask(int index) const override {
    return Note("GetMask", index, 0.03125F * static_cast<float>(index + 1));
  }

 private:
  template <class Answer>
  Answer Note(const char* call, Answer answer) const {
    log.push_back(std::string(call) + "()");
    return answer;
  }
  template <class Argument, class Answer>
  Answer Note(const char* call, Argument argument, Answer answer) const {
    log.push_back((std::ostringstream() << std::boolalpha << call << '(' << argument << ')').str());
    return answer;
  }
  template <class Answer>
  Answer Note(const char* call, int index, float value, Answer answer) const {
    log.push_back((std::ostringstream() << call << '(' << index << ", " << value << ')').str());
    return answer;
  }
};

class ProbeKeyer : public RImOpKeyer {
 public:
  using RImOpKeyer::RImOpKeyer;
  NotingKeyer& Node() { return dynamic_cast<NotingKeyer&>(*GetProcessingNode()); }
};

std::string Text(const RImOpKeyer& op, const char* name) {
  const RProperty* const property = op.FastFindPropertyByName(name);
  return property ? property->GetText() : "no such property";
}

TEST(RImOpKeyerNode, LivesWhileItsOperatorIsRegistered) {
  gLife.clear();
  RImOpKeyer op("embedded");
  op.SetDeletable(false);
  EXPECT_EQ(Join(gLife), Join({"registered", "node made"}));
  op.Destroy(0);
  const Log whole = {"registered", "node made", "node destroyed", "unregistered"};
  EXPECT_EQ(Join(gLife), Join(whole));
  op.Destroy(0);
  EXPECT_EQ(Join(gLife), Join(whole)) << "once only";
}

TEST(RImOpKeyerNode, ANewOperatorReadsItsNodeInOrderAndSetsNothing) {
  const auto op = Make<ProbeKeyer>("key");
  EXPECT_EQ(op->Node().Taken(), Join({"GetKey(0)", "GetKey(1)", "GetKey(2)", "GetThreshold()",
                                      "GetSoftness()", "GetSuppression()", "GetOutput()", "GetInvertMatte()",
                                      "GetMode()", "GetMask(0)", "GetMask(1)", "GetMask(2)", "GetMask(3)"}));
  EXPECT_EQ(Text(*op, "Mode"), "Luminance Keying");
  EXPECT_EQ(Text(*op, "Output"), "2") << "what the node holds, with a text or without";
  EXPECT_EQ(Text(*op, "InvertMatte"), "true");
  EXPECT_EQ(Text(*op, "Key"), "0 0.25 0.5");
  EXPECT_EQ(Text(*op, "Threshold"), "12.5");
  EXPECT_EQ(Text(*op, "Softness"), "75");
  EXPECT_EQ(Text(*op, "Suppression"), "50");
  EXPECT_EQ(Text(*op, "LeftMask"), "3.125");
  EXPECT_EQ(Text(*op, "RightMask"), "6.25");
  EXPECT_EQ(Text(*op, "BottomMask"), "9.375");
  EXPECT_EQ(Text(*op, "TopMask"), "12.5");
}

struct SetterRow {
  const char* name;
  RPropertyValue value;
  Log calls;
  const char* held;  // the node's answer
};

void PrintTo(const SetterRow& row, std::ostream* out) { *out << row.name; }

class Setters : public testing::TestWithParam<SetterRow> {};

TEST_P(Setters, HandTheValueToTheNodeAndStoreItsAnswer) {
  const SetterRow& row = GetParam();
  const auto op = Make<ProbeKeyer>("key");
  std::vector<RPropertyValue> before;
  for (int i = 0; i < 11; ++i) before.push_back(op->GetProperty(i)->GetValue());
  (void)op->Node().Taken();
  RProperty* const property = op->FastFindPropertyByName(row.name);
  ASSERT_NE(property, nullptr);
  EXPECT_TRUE(property->SetValue(row.value));
  EXPECT_EQ(op->Node().Taken(), Join(row.calls));
  EXPECT_EQ(property->GetText(), row.held);
  for (int i = 0; i < 11; ++i) {
    if (op->GetProperty(i) == property) continue;
    EXPECT_EQ(op->GetProperty(i)->GetValue(), before[static_cast<std::size_t>(i)])
        << op->GetProperty(i)->GetName() << ": no other property changes";
  }
}

INSTANTIATE_TEST_SUITE_P(Properties, Setters,
                         testing::Values(SetterRow{"Mode", 2, {"SetMode(2)"}, "11"},
                                         SetterRow{"Output", 1, {"SetOutput(1)"}, "12"},
                                         SetterRow{"InvertMatte", true, {"SetInvertMatte(true)"}, "false"},
                                         SetterRow{"Key",
                                                   RgeRGBVector(0.75, 0.25, 3),
                                                   {"SetKey(0, 0.75)", "SetKey(1, 0.25)", "SetKey(2, 3)"},
                                                   "0.5 0.625 0.75"},
                                         SetterRow{"Threshold", 25.0, {"SetThreshold(0.25)"}, "37.5"},
                                         SetterRow{"Softness", 50.0, {"SetSoftness(0.5)"}, "62.5"},
                                         SetterRow{"Suppression", -12.5, {"SetSuppression(-0.125)"}, "87.5"},
                                         SetterRow{"LeftMask", 75.0, {"SetMask(0, 0.75)"}, "6.25"},
                                         SetterRow{"RightMask", 75.0, {"SetMask(1, 0.75)"}, "12.5"},
                                         SetterRow{"BottomMask", 75.0, {"SetMask(2, 0.75)"}, "18.75"},
                                         SetterRow{"TopMask", 200.0, {"SetMask(3, 2)"}, "25"}),
                         [](const auto& row) { return row.param.name; });

// A node that cannot be made leaves the operator without one.
bool gOutOfMemory = false;

TEST(RImOpKeyerNode, WithoutANodeValuesAreOnlyStored) {
  gOutOfMemory = true;
  const auto op = Make<RImOpKeyer>("key");
  gOutOfMemory = false;
  EXPECT_EQ(op->GetProcessingNode(), nullptr);
  EXPECT_EQ(Text(*op, "Key"), "0 0 0");
  op->ThresholdSet(250);
  op->TopMaskSet(-3);
  op->KeySet({1, 2, 3});
  op->ModeSet(7);
  op->InvertMatteSet(true);
  EXPECT_EQ(Text(*op, "Threshold"), "250");
  EXPECT_EQ(Text(*op, "TopMask"), "-3");
  EXPECT_EQ(Text(*op, "Key"), "1 2 3");
  EXPECT_EQ(Text(*op, "Mode"), "7");
  EXPECT_EQ(Text(*op, "InvertMatte"), "true");
  RFpContext context;
  EXPECT_EQ(op->ReadLock(&context, kFormRawMask), 0);
}

}  // namespace
}  // namespace test

void RImageOperator::RegisterGLOperator(RImageOperator*) { test::gLife.emplace_back("registered"); }
void RImageOperator::UnregisterGLOperator(RImageOperator*) { test::gLife.emplace_back("unregistered"); }

RFpKeyer* CreateKeyerNode() { return test::gOutOfMemory ? nullptr : new test::NotingKeyer; }
