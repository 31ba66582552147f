// Tests of the keyer operator's properties, plugs and results, without OpenGL.
#include "operators/RImOpKeyer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "rbaselib/RArc.h"
#include "support/OperatorFakes.h"

namespace test {
namespace {

using testing::ElementsAre;

constexpr auto kIn = RImageOperator::kPlugInput;
constexpr auto kOut = RImageOperator::kPlugOutput;

RProperty& Property(RImOpKeyer& op, const std::string& name) {
  RProperty* const property = op.FastFindPropertyByName(name.c_str());
  EXPECT_NE(property, nullptr) << name;
  return *property;
}

int Int(RImOpKeyer& op, const char* name) { return std::get<int>(Property(op, name).GetValue()); }
bool Bool(RImOpKeyer& op, const char* name) { return std::get<bool>(Property(op, name).GetValue()); }
double Double(RImOpKeyer& op, const char* name) { return std::get<double>(Property(op, name).GetValue()); }
RgeRGBVector Key(RImOpKeyer& op) { return std::get<RgeRGBVector>(Property(op, "Key").GetValue()); }
void Set(RImOpKeyer& op, const char* name, const RPropertyValue& value) {
  EXPECT_TRUE(Property(op, name).SetValue(value)) << name;
}

std::vector<RPropertyValue> Values(RImOpKeyer& op) {
  std::vector<RPropertyValue> values;
  for (int i = 0; i < op.GetPropertyCount(); ++i) values.push_back(op.GetProperty(i)->GetValue());
  return values;
}

/// The node of an operator, through which the test looks at what reached it.
class ProbeKeyer : public RImOpKeyer {
 public:
  using RImOpKeyer::RImOpKeyer;
  RFpKeyer& Node() { return dynamic_cast<RFpKeyer&>(*GetProcessingNode()); }
};

// All numbers that a node holds, in a fixed order; the masks are the last four.
std::vector<float> Numbers(const RFpKeyer& node) {
  std::vector<float> list = {static_cast<float>(node.GetMode()), static_cast<float>(node.GetOutput()),
                             node.GetInvertMatte() ? 1.0F : 0.0F};
  for (int i = 0; i < 3; ++i) list.push_back(node.GetKey(i));
  list.insert(list.end(), {node.GetThreshold(), node.GetSoftness(), node.GetSuppression()});
  for (int i = 0; i < 4; ++i) list.push_back(node.GetMask(i));
  return list;
}

const std::vector<float> kReset = {0, 0, 0, 0.2F, 0.28F, 0.68F, 1, 0, 0, 0, 0, 0, 0};

// --- Properties of a new operator.

struct PropertyRow {
  const char* name;
  RPropertyDataType type;
  bool animatable;
};

constexpr PropertyRow kRows[] = {
    {"Mode", kPropertyEnumeration, false},  {"Output", kPropertyEnumeration, false},
    {"InvertMatte", kPropertyBool, false},  {"Key", kPropertyRGB, false},
    {"Threshold", kPropertyDouble, true},   {"Softness", kPropertyDouble, true},
    {"Suppression", kPropertyDouble, true}, {"LeftMask", kPropertyDouble, true},
    {"RightMask", kPropertyDouble, true},   {"BottomMask", kPropertyDouble, true},
    {"TopMask", kPropertyDouble, true},
};

TEST(RImOpKeyer, HasElevenPropertiesInOrderWithoutRanges) {
  const auto op = Make<RImOpKeyer>("key");
  ASSERT_EQ(op->GetPropertyCount(), 11);
  for (int i = 0; i < 11; ++i) {
    const PropertyRow& row = kRows[i];
    RProperty* const property = op->GetProperty(i);
    EXPECT_STREQ(property->GetName(), row.name);
    EXPECT_EQ(property->GetInfo()->type, row.type) << row.name;
    EXPECT_EQ(property->GetInfo()->asString != nullptr, row.type == kPropertyEnumeration) << row.name;
    EXPECT_EQ(op->IsAnimatableProperty(property), row.animatable) << row.name;
    EXPECT_FALSE(property->HasMinMax()) << row.name;
    EXPECT_EQ(op->FastFindPropertyByName(row.name), property);
  }
  EXPECT_EQ(op->FastFindPropertyByName("mode"), nullptr);
  EXPECT_EQ(op->FastFindPropertyByName("Mask"), nullptr);
}

TEST(RImOpKeyer, StartsWithWhatTheResetNodeHolds) {
  const auto op = Make<ProbeKeyer>("key");
  EXPECT_EQ(Int(*op, "Mode"), 0);
  EXPECT_EQ(Property(*op, "Mode").GetText(), "Chroma Keying");
  EXPECT_EQ(Int(*op, "Output"), 0);
  EXPECT_EQ(Property(*op, "Output").GetText(), "Key");
  EXPECT_FALSE(Bool(*op, "InvertMatte"));
  EXPECT_EQ(Key(*op),
            RgeRGBVector(static_cast<double>(0.2F), static_cast<double>(0.28F), static_cast<double>(0.68F)))
      << "in single precision, made wider";
  EXPECT_EQ(Double(*op, "Threshold"), 100);
  for (const char* name : {"Softness", "Suppression", "LeftMask", "RightMask", "BottomMask", "TopMask"})
    EXPECT_EQ(Double(*op, name), 0) << name;
  EXPECT_EQ(Numbers(op->Node()), kReset);
}

TEST(RImOpKeyer, TextsOfTheModes) {
  EXPECT_STREQ(RImOpKeyer::ModeAsString(0), "Chroma Keying");
  EXPECT_STREQ(RImOpKeyer::ModeAsString(1), "Luminance Keying");
  EXPECT_STREQ(RImOpKeyer::ModeAsString(2), "Difference Keying");
  for (const int value : {3, 4, -1, 1000, -0x7FFFFFFF, 0x7FFFFFFF})
    EXPECT_EQ(RImOpKeyer::ModeAsString(value), nullptr) << value;
  const auto op = Make<RImOpKeyer>("key");
  EXPECT_EQ(Property(*op, "Mode").GetInfo()->asString, RImOpKeyer::ModeAsString);
}

TEST(RImOpKeyer, TextsOfTheOutputs) {
  EXPECT_STREQ(RImOpKeyer::OutputAsString(0), "Key");
  EXPECT_STREQ(RImOpKeyer::OutputAsString(1), "Matte");
  for (const int value : {2, 3, -1, 1000, -0x7FFFFFFF, 0x7FFFFFFF})
    EXPECT_EQ(RImOpKeyer::OutputAsString(value), nullptr) << value;
  const auto op = Make<RImOpKeyer>("key");
  EXPECT_EQ(Property(*op, "Output").GetInfo()->asString, RImOpKeyer::OutputAsString);
}

TEST(RImOpKeyer, SettersKeepTheirOrder) {
  using Op = RImOpKeyer;
  const std::vector<int> slots = {
      VirtualSlot(&Op::ModeSet),        VirtualSlot(&Op::OutputSet),    VirtualSlot(&Op::InvertMatteSet),
      VirtualSlot(&Op::KeySet),         VirtualSlot(&Op::ThresholdSet), VirtualSlot(&Op::SoftnessSet),
      VirtualSlot(&Op::SuppressionSet), VirtualSlot(&Op::LeftMaskSet),  VirtualSlot(&Op::RightMaskSet),
      VirtualSlot(&Op::BottomMaskSet),  VirtualSlot(&Op::TopMaskSet)};
  EXPECT_GT(slots.front(), VirtualSlot(&Op::GetPlugImageProvider));
  for (std::size_t i = 1; i < slots.size(); ++i) EXPECT_EQ(slots[i], slots[i - 1] + 1) << "function " << i;
}

// --- Setters: every value reaches its own place in the node, and no other.

struct SetterRow {
  const char* name;
  RPropertyValue value;
  std::size_t number;  // the first of `Numbers` that changes
  std::vector<float> held;
};

void PrintTo(const SetterRow& row, std::ostream* out) { *out << row.name; }

class Setters : public testing::TestWithParam<SetterRow> {};

TEST_P(Setters, ReachTheirPlaceInTheNodeAndNoOther) {
  const SetterRow& row = GetParam();
  const auto op = Make<ProbeKeyer>("key");
  std::vector<RPropertyValue> values = Values(*op);
  for (int i = 0; i < 11; ++i) {
    if (op->GetProperty(i)->GetName() == std::string(row.name))
      values[static_cast<std::size_t>(i)] = row.value;
  }
  const int before = op->GetUpdateId();
  Set(*op, row.name, row.value);
  EXPECT_EQ(Values(*op), values);
  std::vector<float> numbers = kReset;
  std::copy(row.held.begin(), row.held.end(), numbers.begin() + static_cast<std::ptrdiff_t>(row.number));
  EXPECT_EQ(Numbers(op->Node()), numbers);
  const int changed = op->GetUpdateId();
  EXPECT_EQ(changed, before + static_cast<int>(row.held.size()));
  Set(*op, row.name, row.value);
  EXPECT_EQ(op->GetUpdateId(), changed) << "what is held already is no change";
}

INSTANTIATE_TEST_SUITE_P(
    Properties, Setters,
    testing::Values(SetterRow{"Mode", 1, 0, {1}}, SetterRow{"Output", 1, 1, {1}},
                    SetterRow{"InvertMatte", true, 2, {1}},
                    SetterRow{"Key", RgeRGBVector(0.125, 0.75, 0.25), 3, {0.125F, 0.75F, 0.25F}},
                    SetterRow{"Threshold", 25.0, 6, {0.25F}}, SetterRow{"Softness", 75.0, 7, {0.75F}},
                    SetterRow{"Suppression", 50.0, 8, {0.5F}}, SetterRow{"LeftMask", 12.5, 9, {0.125F}},
                    SetterRow{"RightMask", 25.0, 10, {0.25F}}, SetterRow{"BottomMask", 50.0, 11, {0.5F}},
                    SetterRow{"TopMask", 75.0, 12, {0.75F}}),
    [](const auto& row) { return row.param.name; });

constexpr const char* kPercents[] = {"Threshold", "Softness",   "Suppression", "LeftMask",
                                     "RightMask", "BottomMask", "TopMask"};

class Percents : public testing::TestWithParam<const char*> {};

TEST_P(Percents, ReachTheNodeAsFractionsInSinglePrecisionAndComeBack) {
  const auto op = Make<ProbeKeyer>("key");
  for (const double percent : {25.0, 33.3, 0.01, 7.0, 99.9, 100.0, 0.0}) {
    Set(*op, GetParam(), percent);
    const double held = Double(*op, GetParam());
    EXPECT_EQ(held, static_cast<double>(static_cast<float>(percent * 0.01)) * 100);
    EXPECT_NEAR(held, percent, 1e-7 * percent);
    const int changed = op->GetUpdateId();
    Set(*op, GetParam(), held);
    EXPECT_EQ(Double(*op, GetParam()), held) << "what it holds comes back the same";
    EXPECT_EQ(op->GetUpdateId(), changed);
  }
}

TEST_P(Percents, AreClampedByTheNode) {
  const auto op = Make<RImOpKeyer>("key");
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  for (const auto& [percent, held] : {std::pair(150.0, 100.0), std::pair(-1.0, 0.0), std::pair(1e300, 100.0),
                                      std::pair(-kInfinity, 0.0), std::pair(kInfinity, 100.0)}) {
    Set(*op, GetParam(), percent);
    EXPECT_EQ(Double(*op, GetParam()), held) << percent;
  }
}

TEST_P(Percents, NoNumberStaysInTheRange) {
  const auto op = Make<RImOpKeyer>("key");
  Set(*op, GetParam(), std::numeric_limits<double>::quiet_NaN());
  EXPECT_GE(Double(*op, GetParam()), 0);
  EXPECT_LE(Double(*op, GetParam()), 100);
}

INSTANTIATE_TEST_SUITE_P(Names, Percents, testing::ValuesIn(kPercents),
                         [](const auto& row) { return std::string(row.param); });

TEST(RImOpKeyer, ThresholdOf25ReachesTheNodeAsAQuarter) {
  const auto op = Make<ProbeKeyer>("key");
  Set(*op, "Threshold", 25.0);
  EXPECT_EQ(op->Node().GetThreshold(), 0.25F);
  EXPECT_EQ(Double(*op, "Threshold"), 25);
}

TEST(RImOpKeyer, KeyHoldsWhatTheNodeMakesOfEachComponent) {
  const auto op = Make<ProbeKeyer>("key");
  Set(*op, "Key", RgeRGBVector(0.1, 0.7, 0.3));
  EXPECT_EQ(Key(*op),
            RgeRGBVector(static_cast<double>(0.1F), static_cast<double>(0.7F), static_cast<double>(0.3F)));
  Set(*op, "Key", RgeRGBVector(-2, 0.5, 9));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(Key(*op)[i], static_cast<double>(op->Node().GetKey(i)));
  const int before = op->GetUpdateId();
  Set(*op, "Key", RgeRGBVector(Key(*op).r, 0.25, Key(*op).b));
  EXPECT_EQ(op->GetUpdateId(), before + 1) << "each component counts by itself";
}

// A mode beyond the list stays for good: the node looks at the mode that it holds.
TEST(RImOpKeyer, AModeBeyondTheListStaysForGood) {
  const auto op = Make<ProbeKeyer>("key");
  Set(*op, "Mode", 5);
  EXPECT_EQ(Int(*op, "Mode"), 5);
  EXPECT_EQ(Property(*op, "Mode").GetText(), "5");
  Set(*op, "Mode", 1);
  EXPECT_EQ(Int(*op, "Mode"), 5) << "the property tells what the node holds";
  EXPECT_EQ(op->Node().GetMode(), 5);
  EXPECT_EQ(op->Node().GetInputCount(), 1);
}

TEST(RImOpKeyer, AnyOutputIsHeld) {
  const auto op = Make<ProbeKeyer>("key");
  for (const int output : {2, 99, -1, 0}) {
    Set(*op, "Output", output);
    EXPECT_EQ(Int(*op, "Output"), output);
    EXPECT_EQ(op->Node().GetOutput(), output);
  }
}

// --- Copies and persistence.

using Change = void (*)(RImOpKeyer&);

void ChangeEverything(RImOpKeyer& op) {
  op.ModeSet(2);
  op.OutputSet(1);
  op.InvertMatteSet(true);
  op.KeySet({0.1, 0.7, 0.2});
  op.ThresholdSet(33.3);
  op.SoftnessSet(12.3);
  op.SuppressionSet(45.6);
  op.LeftMaskSet(1.1);
  op.RightMaskSet(2.2);
  op.BottomMaskSet(3.3);
  op.TopMaskSet(4.4);
}

class Copies : public testing::TestWithParam<Change> {};

TEST_P(Copies, ClonesEqualTheirSourceInEveryPropertyAndInTheirNode) {
  const auto op = Make<ProbeKeyer>("key");
  PutImage(*op, 0, MakeImage(1, 1));
  GetParam()(*op);
  const RDestroyPtr<RImageOperator> clone(op->Clone());
  auto* const keyer = dynamic_cast<RImOpKeyer*>(clone.get());
  ASSERT_NE(keyer, nullptr);
  EXPECT_STREQ(keyer->ArcGetObjectId(), "key");
  EXPECT_EQ(keyer->GetPlugImage(0, kIn), nullptr);
  EXPECT_EQ(Values(*keyer), Values(*op));
  const auto& node = dynamic_cast<const RFpKeyer&>(*keyer->GetProcessingNode());
  EXPECT_EQ(Numbers(node), Numbers(op->Node()));
}

TEST_P(Copies, StoredPropertiesComeBackWithTheirNode) {
  const auto op = Make<ProbeKeyer>("key");
  GetParam()(*op);
  RArc arc;
  op->PropertiesStore(&arc);
  RArc copy;
  ASSERT_TRUE(copy.SetText(arc.GetText()));
  const auto restored = Make<ProbeKeyer>("key");
  EXPECT_TRUE(restored->PropertiesRestore(&copy));
  EXPECT_EQ(Values(*restored), Values(*op));
  EXPECT_EQ(Numbers(restored->Node()), Numbers(op->Node()));
}

INSTANTIATE_TEST_SUITE_P(Sources, Copies,
                         testing::Values([](RImOpKeyer&) {}, ChangeEverything,
                                         [](RImOpKeyer& op) { op.ModeSet(5); },
                                         [](RImOpKeyer& op) {
                                           op.OutputSet(-3);
                                           op.ThresholdSet(0);
                                         }));

TEST(RImOpKeyer, ARecordHasOneLineForEachProperty) {
  const auto op = Make<RImOpKeyer>("key");
  op->ThresholdSet(25);
  op->InvertMatteSet(true);
  op->KeySet({0.125, 0.75, 0.25});
  RArc arc;
  op->PropertiesStore(&arc);
  EXPECT_EQ(
      arc.GetText(),
      "Mode 0\nOutput 0\nInvertMatte true\nKey 0.125 0.75 0.25\nThreshold 25\nSoftness 0\nSuppression 0\n"
      "LeftMask 0\nRightMask 0\nBottomMask 0\nTopMask 0\n");
}

// --- Results on the processor, where no OpenGL is needed. The numbers are worked out by hand.

using Bytes = std::vector<int>;

// The result's pixels, or nothing when the lock fails.
Bytes Evaluate(RImOpKeyer& op) {
  RFpContext context;
  if (op.ReadLock(&context, kFormRawMask) == 0) return {};
  op.ReadUnLock(&context, kFormRawMask);
  RImage& image = *op.GetPlugImage(0, kOut);
  const unsigned char* const bits = image.GetImageBits();
  return {bits, bits + 4L * image.GetWidth() * image.GetHeight()};
}

const RgeRGBVector kGreen(0, 1, 0);

// The hue of pure green weighs the channels by -1/2, 1, -1/2.
TEST(RImOpKeyer, GreenIsKeyedOutAndOtherColoursStay) {
  const auto op = Make<RImOpKeyer>("key");
  PutImage(*op, 0, MakeImage(4, 1, {0, 255, 0, 255, 255, 0, 0, 255, 128, 128, 128, 255, 200, 10, 250, 255}));
  op->KeySet(kGreen);
  op->ThresholdSet(50);
  EXPECT_THAT(Evaluate(*op), ElementsAre(0, 0, 0, 0, 255, 0, 0, 255, 128, 128, 128, 255, 200, 10, 250, 255));
  op->OutputSet(1);
  EXPECT_THAT(Evaluate(*op),
              ElementsAre(0, 0, 0, 0, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255));
  op->InvertMatteSet(true);
  EXPECT_THAT(Evaluate(*op), ElementsAre(255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

// A threshold of half and full softness: the matte is twice the chroma. A pixel of chroma 1/4 loses 1/6 and
// 1/3 of its spill, is half transparent, and what is behind it is the greyed key colour.
TEST(RImOpKeyer, SoftnessKeysInPartAndTakesTheSpillAway) {
  const auto op = Make<RImOpKeyer>("key");
  PutImage(*op, 0, MakeImage(1, 1, {64, 128, 64, 255}));
  op->KeySet(kGreen);
  op->ThresholdSet(50);
  op->SoftnessSet(100);
  const double matte = 64 / 127.5;
  const double grey = 64 + 255 * matte / 6;
  const double green = 128 - 255 * matte / 3;
  const auto keyed = [&](double colour, double key) {
    return colour - matte * ((1 - matte) * (255 * key - colour) + colour);
  };
  const Bytes result = Evaluate(*op);
  ASSERT_EQ(result.size(), 4U);
  EXPECT_NEAR(result[0], keyed(grey, 1.0 / 6), 1);
  EXPECT_NEAR(result[1], keyed(green, 2.0 / 3), 1);
  EXPECT_NEAR(result[2], keyed(grey, 1.0 / 6), 1);
  EXPECT_NEAR(result[3], 255 * (1 - matte), 1);
}

TEST(RImOpKeyer, LuminanceKeyingKeepsWhatIsFarFromTheThreshold) {
  const auto op = Make<RImOpKeyer>("key");
  PutImage(*op, 0, MakeImage(3, 1, {0, 0, 0, 255, 255, 255, 255, 255, 0, 255, 0, 255}));
  op->ModeSet(1);
  op->ThresholdSet(100);
  op->SoftnessSet(100);
  op->OutputSet(1);
  const int distant = static_cast<int>(std::lround(255 * std::pow(1 - 0.6094, 2)));
  EXPECT_THAT(Evaluate(*op), ElementsAre(255, 255, 255, 255, 0, 0, 0, 0, distant, distant, distant, distant));
}

TEST(RImOpKeyer, DifferenceKeyingReadsTheCleanBackground) {
  const auto op = Make<RImOpKeyer>("key");
  PutImage(*op, 0, MakeImage(2, 1, {10, 200, 30, 255, 250, 20, 40, 255}));
  PutImage(*op, 1, MakeImage(2, 1, {10, 200, 30, 255, 10, 200, 30, 255}));
  op->ModeSet(2);
  op->ThresholdSet(90);
  EXPECT_THAT(Evaluate(*op), ElementsAre(0, 0, 0, 0, 250, 20, 40, 255));
  op->OutputSet(1);
  EXPECT_THAT(Evaluate(*op), ElementsAre(0, 0, 0, 0, 255, 255, 255, 255));
  op->InvertMatteSet(true);
  EXPECT_THAT(Evaluate(*op), ElementsAre(255, 255, 255, 255, 0, 0, 0, 0));
}

// --- The plugs.

TEST(RImOpKeyer, TheCleanBackgroundIsReadInDifferenceKeyingOnly) {
  const auto op = Make<ProbeKeyer>("key");
  EXPECT_EQ(Evaluate(*op), Bytes()) << "nothing to key";
  PutImage(*op, 0, MakeImage(1, 1, {255, 0, 0, 255}));
  for (const int mode : {0, 1}) {
    op->ModeSet(mode);
    EXPECT_EQ(op->Node().GetInputCount(), 1);
    EXPECT_EQ(Evaluate(*op).size(), 4U) << "mode " << mode;
  }
  op->ModeSet(2);
  EXPECT_EQ(op->Node().GetInputCount(), 2);
  EXPECT_EQ(Evaluate(*op), Bytes()) << "there is no background";
  PutImage(*op, 1, MakeImage(1, 1, {255, 0, 0, 255}));
  EXPECT_THAT(Evaluate(*op), ElementsAre(0, 0, 0, 0));
  op->ModeSet(0);
  EXPECT_EQ(Evaluate(*op).size(), 4U);
}

TEST(RImOpKeyer, OnlyTheFirstInputIsKeyed) {
  const auto op = Make<RImOpKeyer>("key");
  PutImage(*op, 1, MakeImage(1, 1, {1, 2, 3, 4}));
  EXPECT_EQ(Evaluate(*op), Bytes());
  PutImage(*op, 0, MakeImage(1, 1, {255, 0, 0, 255}));
  op->KeySet(kGreen);
  EXPECT_THAT(Evaluate(*op), ElementsAre(255, 0, 0, 255));
}

TEST(RImOpKeyer, InputsMayBeOtherOperators) {
  const auto first = Make<RImOpKeyer>("first");
  const auto second = Make<RImOpKeyer>("second");
  const auto difference = Make<RImOpKeyer>("difference");
  for (RImOpKeyer* op : {first.get(), second.get()}) {
    op->KeySet(kGreen);
    op->ThresholdSet(50);
    PutImage(*op, 0, MakeImage(1, 1, {0, 0, 255, 255}));
  }
  difference->ModeSet(2);
  difference->SetPlugInputOperator(0, kIn, first.get());
  difference->SetPlugInputOperator(1, kIn, second.get());
  EXPECT_THAT(Evaluate(*difference), ElementsAre(0, 0, 0, 0));
  PutImage(*first, 0, MakeImage(1, 1, {255, 0, 0, 255}));
  first->IncUpdateId();
  difference->IncUpdateId();
  EXPECT_THAT(Evaluate(*difference), ElementsAre(255, 0, 0, 255)) << "through IN_0";
  PutImage(*second, 0, MakeImage(1, 1, {255, 0, 0, 255}));
  second->IncUpdateId();
  difference->IncUpdateId();
  EXPECT_THAT(Evaluate(*difference), ElementsAre(0, 0, 0, 0)) << "through IN_1";
}

TEST(RImOpKeyer, TheLastInputDecidesTheSize) {
  const auto op = Make<RImOpKeyer>("key");
  op->ModeSet(2);
  op->OutputSet(1);
  op->InvertMatteSet(true);
  PutImage(*op, 0, MakeImage(1, 2, {9, 9, 9, 255, 9, 9, 9, 255}));
  PutImage(*op, 1, MakeImage(2, 1, {9, 9, 9, 255, 9, 9, 9, 255}));
  EXPECT_THAT(Evaluate(*op), ElementsAre(255, 255, 255, 255, 0, 0, 0, 0)) << "what one of them lacks is 0";
  EXPECT_EQ(op->GetWidth(), 2);
  EXPECT_EQ(op->GetHeight(), 1);
}

TEST(RImOpKeyer, AResultStaysUntilAValueChanges) {
  const auto op = Make<RImOpKeyer>("key");
  RImage* const image = PutImage(*op, 0, MakeImage(1, 1, {255, 0, 0, 255}));
  op->KeySet(kGreen);
  EXPECT_THAT(Evaluate(*op), ElementsAre(255, 0, 0, 255));
  image->GetImageBits()[0] = 128;
  EXPECT_THAT(Evaluate(*op), ElementsAre(255, 0, 0, 255)) << "a changed image is not seen by itself";
  op->SuppressionSet(1);
  EXPECT_THAT(Evaluate(*op), ElementsAre(128, 0, 0, 255));
}

// --- The masks.

// Which pixels of a picture of 10 x 10 are left, the top row first.
std::string Left(RImOpKeyer& op) {
  PutImage(op, 0, MakeImage(10, 10, std::vector<unsigned char>(400, 255)));
  op.IncUpdateId();
  const Bytes bytes = Evaluate(op);
  EXPECT_EQ(bytes.size(), 400U);
  std::string text;
  for (std::size_t row = 10; row-- > 0;) {
    for (std::size_t column = 0; column < 10; ++column)
      text += bytes.at(4 * (10 * row + column) + 3) ? 'x' : '.';
    text += '\n';
  }
  return text;
}

struct MaskRow {
  const char* name;
  std::vector<std::pair<const char*, double>> masks;
  int left, right, bottom, top;  // pixels that are masked
};

void PrintTo(const MaskRow& row, std::ostream* out) { *out << row.name; }

class Masks : public testing::TestWithParam<MaskRow> {};

TEST_P(Masks, KeyOutStripsAtTheEdges) {
  const MaskRow& row = GetParam();
  const auto op = Make<RImOpKeyer>("key");
  for (const auto& [name, percent] : row.masks) Set(*op, name, percent);
  std::string expected;
  for (int y = 9; y >= 0; --y) {
    for (int x = 0; x < 10; ++x) {
      const bool isIn = x >= row.left && x < 10 - row.right && y >= row.bottom && y < 10 - row.top;
      expected += isIn ? 'x' : '.';
    }
    expected += '\n';
  }
  EXPECT_EQ(Left(*op), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Edges, Masks,
    testing::Values(
        MaskRow{"none", {}, 0, 0, 0, 0}, MaskRow{"left", {{"LeftMask", 20}}, 2, 0, 0, 0},
        MaskRow{"right", {{"RightMask", 30}}, 0, 3, 0, 0},
        MaskRow{"bottom", {{"BottomMask", 40}}, 0, 0, 4, 0}, MaskRow{"top", {{"TopMask", 10}}, 0, 0, 0, 1},
        MaskRow{"roundedDown", {{"LeftMask", 14}, {"TopMask", 4}}, 1, 0, 0, 0},
        MaskRow{"roundedUp", {{"RightMask", 16}, {"BottomMask", 6}}, 0, 2, 1, 0},
        MaskRow{
            "all", {{"LeftMask", 10}, {"RightMask", 20}, {"BottomMask", 30}, {"TopMask", 40}}, 1, 2, 3, 4},
        MaskRow{"overlapping", {{"LeftMask", 60}, {"RightMask", 60}}, 10, 0, 0, 0},
        MaskRow{"whole", {{"TopMask", 100}}, 0, 0, 0, 10}),
    [](const auto& row) { return row.param.name; });

TEST(RImOpKeyer, TopMaskChangesOnlyTheNodesEdge3) {
  const auto op = Make<ProbeKeyer>("key");
  Set(*op, "TopMask", 50.0);
  std::vector<float> expected = kReset;
  expected.back() = 0.5F;
  EXPECT_EQ(Numbers(op->Node()), expected);
}

}  // namespace
}  // namespace test
