// Tests of the blend operator's properties and identity, without OpenGL.
#include "operators/RImOpBlend.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "rbaselib/RArc.h"
#include "support/OperatorFakes.h"

namespace test {
namespace {

constexpr auto kIn = RImageOperator::kPlugInput;

RProperty& Property(RImOpBlend& op, const char* name) {
  RProperty* const property = op.FastFindPropertyByName(name);
  EXPECT_NE(property, nullptr) << name;
  return *property;
}

int Int(RImOpBlend& op, const char* name) { return std::get<int>(Property(op, name).GetValue()); }
double Double(RImOpBlend& op, const char* name) { return std::get<double>(Property(op, name).GetValue()); }
RgeRGBVector Color(RImOpBlend& op) { return std::get<RgeRGBVector>(Property(op, "Color").GetValue()); }
void Set(RImOpBlend& op, const char* name, const RPropertyValue& value) {
  EXPECT_TRUE(Property(op, name).SetValue(value)) << name;
}

// The six settings in the order of their properties.
std::vector<int> Settings(RImOpBlend& op) {
  return {Int(op, "FuncRGB"),      Int(op, "FuncAlpha"),  Int(op, "AFactorRGB"),
          Int(op, "AFactorAlpha"), Int(op, "BFactorRGB"), Int(op, "BFactorAlpha")};
}

TEST(RImOpBlend, StartsAsPresetA) {
  const auto op = Make<RImOpBlend>("mix");
  EXPECT_EQ(Int(*op, "Preset"), 4);
  EXPECT_THAT(Settings(*op), testing::ElementsAre(0, 0, 1, 1, 0, 0));
  EXPECT_EQ(Color(*op), RgeRGBVector(1, 1, 1));
  EXPECT_EQ(Double(*op, "Alpha"), 100);
  EXPECT_EQ(op->GetUpdateId(), 0) << "the node starts with these values";
}

struct PropertyRow {
  const char* name;
  RPropertyDataType type;
  bool animatable;
};

constexpr PropertyRow kProperties[] = {{"Preset", kPropertyEnumeration, false},
                                       {"Color", kPropertyRGB, true},
                                       {"Alpha", kPropertyDouble, true},
                                       {"FuncRGB", kPropertyEnumeration, false},
                                       {"FuncAlpha", kPropertyEnumeration, false},
                                       {"AFactorRGB", kPropertyEnumeration, false},
                                       {"AFactorAlpha", kPropertyEnumeration, false},
                                       {"BFactorRGB", kPropertyEnumeration, false},
                                       {"BFactorAlpha", kPropertyEnumeration, false}};

TEST(RImOpBlend, HasNinePropertiesInOrder) {
  const auto op = Make<RImOpBlend>("mix");
  ASSERT_EQ(op->GetPropertyCount(), 9);
  for (int i = 0; i < 9; ++i) {
    const PropertyRow& row = kProperties[i];
    RProperty* const property = op->GetProperty(i);
    EXPECT_STREQ(property->GetName(), row.name);
    EXPECT_EQ(property->GetInfo()->type, row.type) << row.name;
    EXPECT_EQ(op->IsAnimatableProperty(property), row.animatable) << row.name;
    EXPECT_FALSE(property->HasMinMax()) << row.name;
    EXPECT_EQ(property->GetInfo()->asString != nullptr, row.type == kPropertyEnumeration) << row.name;
    EXPECT_EQ(op->FastFindPropertyByName(row.name), property);
  }
  EXPECT_EQ(op->FastFindPropertyByName("preset"), nullptr);
  EXPECT_EQ(op->FastFindPropertyByName("Gamma"), nullptr);
}

// --- Texts.

const std::vector<std::string> kPresetTexts = {
    "custom", "blend",   "dissolve", "clear",    "A",        "B",       "A over B", "B over A", "A in B",
    "B in A", "A out B", "B out A",  "A atop B", "B atop A", "A xor B", "A + B",    "A * B"};
const std::vector<std::string> kFuncTexts = {"Add", "Subtract", "Reverse Subtract", "Min", "Max"};
std::vector<std::string> FactorTexts(const char* last) {
  return {"0",        "1",
          "Color(A)", "1 - Color(A)",
          "Alpha(A)", "1 - Alpha(A)",
          "Color(B)", "1 - Color(B)",
          "Alpha(B)", "1 - Alpha(B)",
          "Color(C)", "1 - Color(C)",
          "Alpha(C)", "1 - Alpha(C)",
          last};
}

struct TextRow {
  const char* name;
  const char* (*asString)(int);
  std::vector<std::string> texts;
};

class Texts : public testing::TestWithParam<TextRow> {};

TEST_P(Texts, OfEveryValueAndOfNoOther) {
  const TextRow& row = GetParam();
  for (std::size_t i = 0; i < row.texts.size(); ++i) {
    EXPECT_STREQ(row.asString(static_cast<int>(i)), row.texts[i].c_str());
  }
  const int count = static_cast<int>(row.texts.size());
  for (const int value : {count, count + 1, -1, 1000, -0x7FFFFFFF, 0x7FFFFFFF}) {
    EXPECT_EQ(row.asString(value), nullptr) << value;
  }
  const auto op = Make<RImOpBlend>("mix");
  EXPECT_EQ(Property(*op, row.name).GetInfo()->asString, row.asString);
}

INSTANTIATE_TEST_SUITE_P(
    Tables, Texts,
    testing::Values(
        TextRow{"Preset", RImOpBlend::PresetAsString, kPresetTexts},
        TextRow{"FuncRGB", RImOpBlend::FuncRGBAsString, kFuncTexts},
        TextRow{"FuncAlpha", RImOpBlend::FuncAlphaAsString, kFuncTexts},
        TextRow{"AFactorRGB", RImOpBlend::AFactorRGBAsString, FactorTexts("Sat(Alpha(A))")},
        TextRow{"AFactorAlpha", RImOpBlend::AFactorAlphaAsString, FactorTexts("Sat(Alpha(A))")},
        TextRow{"BFactorRGB", RImOpBlend::BFactorRGBAsString, FactorTexts("1 - Alpha(C)*Alpha(A)")},
        TextRow{"BFactorAlpha", RImOpBlend::BFactorAlphaAsString, FactorTexts("1 - Alpha(C)*Alpha(A)")}),
    [](const auto& row) { return row.param.name; });

// --- Presets.

struct PresetRow {
  int preset;
  const char* text;
  std::vector<int> settings;
};

const PresetRow kPresets[] = {
    {1, "blend", {0, 0, 12, 12, 14, 14}}, {2, "dissolve", {0, 0, 13, 13, 12, 12}},
    {3, "clear", {0, 0, 0, 0, 0, 0}},     {4, "A", {0, 0, 1, 1, 0, 0}},
    {5, "B", {0, 0, 0, 0, 1, 1}},         {6, "A over B", {0, 0, 1, 1, 5, 5}},
    {7, "B over A", {0, 0, 9, 9, 1, 1}},  {8, "A in B", {0, 0, 8, 8, 0, 0}},
    {9, "B in A", {0, 0, 0, 0, 4, 4}},    {10, "A out B", {0, 0, 9, 9, 0, 0}},
    {11, "B out A", {0, 0, 0, 0, 5, 5}},  {12, "A atop B", {0, 0, 8, 8, 5, 5}},
    {13, "B atop A", {0, 0, 9, 9, 4, 4}}, {14, "A xor B", {0, 0, 9, 9, 5, 5}},
    {15, "A + B", {0, 0, 1, 1, 1, 1}},    {16, "A * B", {0, 0, 6, 8, 0, 0}},
};

class Presets : public testing::TestWithParam<PresetRow> {};

TEST_P(Presets, SetTheFunctionsAndFactors) {
  const PresetRow& row = GetParam();
  const auto op = Make<RImOpBlend>("mix");
  for (const char* name : {"FuncRGB", "FuncAlpha", "AFactorRGB", "AFactorAlpha"}) Set(*op, name, 3);
  Set(*op, "Preset", row.preset);
  EXPECT_EQ(Int(*op, "Preset"), row.preset);
  EXPECT_EQ(Settings(*op), row.settings);
  EXPECT_STREQ(RImOpBlend::PresetAsString(row.preset), row.text);
}

TEST_P(Presets, GoThroughTheVirtualSettersInOrder) {
  class Noting : public RImOpBlend {
   public:
    Noting() : RImOpBlend("noting") {}
    ~Noting() override { RunTeardown(); }
    std::string calls;
    void FuncRGBSet(int v) override { Note("FuncRGB", v), RImOpBlend::FuncRGBSet(v); }
    void FuncAlphaSet(int v) override { Note("FuncAlpha", v), RImOpBlend::FuncAlphaSet(v); }
    void AFactorRGBSet(int v) override { Note("AFactorRGB", v), RImOpBlend::AFactorRGBSet(v); }
    void AFactorAlphaSet(int v) override { Note("AFactorAlpha", v), RImOpBlend::AFactorAlphaSet(v); }
    void BFactorRGBSet(int v) override { Note("BFactorRGB", v), RImOpBlend::BFactorRGBSet(v); }
    void BFactorAlphaSet(int v) override { Note("BFactorAlpha", v), RImOpBlend::BFactorAlphaSet(v); }

   private:
    void Note(const char* name, int v) {
      calls += std::string(name) + ' ' + std::to_string(v) + " preset " +
               std::to_string(Int(*this, "Preset")) + '\n';
    }
  };
  const auto op = Make<Noting>();
  op->PresetSet(GetParam().preset);
  const char* const names[] = {"FuncRGB",      "FuncAlpha",  "AFactorRGB",
                               "AFactorAlpha", "BFactorRGB", "BFactorAlpha"};
  std::string expected;
  for (std::size_t i = 0; i < 6; ++i) {
    expected += std::string(names[i]) + ' ' + std::to_string(GetParam().settings[i]) + " preset " +
                (i == 0 ? "4" : "0") + '\n';
  }
  EXPECT_EQ(op->calls, expected);
}

INSTANTIATE_TEST_SUITE_P(All, Presets, testing::ValuesIn(kPresets),
                         [](const auto& row) { return std::to_string(row.param.preset); });

class PresetOutside : public testing::TestWithParam<int> {};

TEST_P(PresetOutside, IsStoredAndChangesNothing) {
  const auto op = Make<RImOpBlend>("mix");
  Set(*op, "Preset", 14);
  const int before = op->GetUpdateId();
  Set(*op, "Preset", GetParam());
  EXPECT_EQ(Int(*op, "Preset"), GetParam());
  EXPECT_THAT(Settings(*op), testing::ElementsAre(0, 0, 9, 9, 5, 5));
  EXPECT_EQ(op->GetUpdateId(), before);
}

INSTANTIATE_TEST_SUITE_P(Values, PresetOutside, testing::Values(0, 17, 18, -1, 0x7FFFFFFF, -0x7FFFFFFF));

// --- Functions and factors.

class SettingProperty : public testing::TestWithParam<const char*> {};

TEST_P(SettingProperty, MakesThePresetCustomAndChangesNothingElse) {
  const auto op = Make<RImOpBlend>("mix");
  Set(*op, "Preset", 6);
  std::vector<int> expected = Settings(*op);
  const int before = op->GetUpdateId();
  Set(*op, GetParam(), 3);
  EXPECT_EQ(Int(*op, "Preset"), 0);
  EXPECT_EQ(Int(*op, GetParam()), 3);
  EXPECT_EQ(op->GetUpdateId(), before + 1) << "the node has changed once";
  const char* const names[] = {"FuncRGB",      "FuncAlpha",  "AFactorRGB",
                               "AFactorAlpha", "BFactorRGB", "BFactorAlpha"};
  for (std::size_t i = 0; i < 6; ++i) {
    if (names[i] == std::string(GetParam())) expected[i] = 3;
  }
  EXPECT_EQ(Settings(*op), expected);
  EXPECT_EQ(Color(*op), RgeRGBVector(1, 1, 1));
  EXPECT_EQ(Double(*op, "Alpha"), 100);
}

TEST_P(SettingProperty, MakesThePresetCustomEvenWithTheValueItHas) {
  const auto op = Make<RImOpBlend>("mix");
  const int before = op->GetUpdateId();
  Set(*op, GetParam(), Int(*op, GetParam()));
  EXPECT_EQ(Int(*op, "Preset"), 0);
  EXPECT_EQ(op->GetUpdateId(), before);
}

TEST_P(SettingProperty, HoldsAnyNumber) {
  const auto op = Make<RImOpBlend>("mix");
  for (const int value : {15, 99, -1, 0x7FFFFFFF}) {
    Set(*op, GetParam(), value);
    EXPECT_EQ(Int(*op, GetParam()), value);
  }
}

INSTANTIATE_TEST_SUITE_P(Names, SettingProperty,
                         testing::Values("FuncRGB", "FuncAlpha", "AFactorRGB", "AFactorAlpha", "BFactorRGB",
                                         "BFactorAlpha"),
                         [](const auto& row) { return std::string(row.param); });

TEST(RImOpBlend, Factor14OfBSetsFactor12OfA) {
  for (const int before : {0, 3, 12, 14}) {
    const auto op = Make<RImOpBlend>("mix");
    Set(*op, "AFactorRGB", before);
    Set(*op, "AFactorAlpha", before);
    Set(*op, "BFactorRGB", 14);
    EXPECT_EQ(Int(*op, "AFactorRGB"), 12);
    EXPECT_EQ(Int(*op, "AFactorAlpha"), before);
    EXPECT_EQ(Int(*op, "BFactorRGB"), 14);
    Set(*op, "BFactorAlpha", 14);
    EXPECT_EQ(Int(*op, "AFactorAlpha"), 12);
    EXPECT_EQ(Int(*op, "BFactorAlpha"), 14);
    EXPECT_EQ(Int(*op, "Preset"), 0);
  }
}

TEST(RImOpBlend, Factor14OfAHasNoSuchTie) {
  const auto op = Make<RImOpBlend>("mix");
  Set(*op, "AFactorRGB", 14);
  Set(*op, "AFactorAlpha", 14);
  EXPECT_THAT(Settings(*op), testing::ElementsAre(0, 0, 14, 14, 0, 0));
  Set(*op, "BFactorRGB", 14);
  Set(*op, "AFactorRGB", 3);
  EXPECT_EQ(Int(*op, "AFactorRGB"), 3) << "A can be set again afterwards";
  EXPECT_EQ(Int(*op, "BFactorRGB"), 14);
}

// --- The constant colour.

TEST(RImOpBlend, ColourAndAlphaLeaveThePresetAlone) {
  const auto op = Make<RImOpBlend>("mix");
  Set(*op, "Preset", 6);
  Set(*op, "Color", RgeRGBVector(0.5, 0.25, 0));
  Set(*op, "Alpha", 25.0);
  EXPECT_EQ(Int(*op, "Preset"), 6);
  EXPECT_EQ(Color(*op), RgeRGBVector(0.5, 0.25, 0));
  EXPECT_EQ(Double(*op, "Alpha"), 25);
}

TEST(RImOpBlend, ColoursAreHeldInSinglePrecision) {
  const auto op = Make<RImOpBlend>("mix");
  Set(*op, "Color", RgeRGBVector(0.1, -2.3, 1e300));
  const RgeRGBVector held = Color(*op);
  EXPECT_EQ(held.r, static_cast<double>(0.1F));
  EXPECT_EQ(held.g, static_cast<double>(-2.3F));
  EXPECT_TRUE(std::isinf(held.b));
}

class Percent : public testing::TestWithParam<double> {};

TEST_P(Percent, ReachesTheNodeAsAFractionAndComesBack) {
  const auto op = Make<RImOpBlend>("mix");
  const int before = op->GetUpdateId();
  Set(*op, "Alpha", GetParam());
  const double held = Double(*op, "Alpha");
  EXPECT_NEAR(held, GetParam(), std::abs(GetParam()) * 1e-7);
  EXPECT_EQ(held, static_cast<double>(static_cast<float>(GetParam() * 0.01)) * 100);
  const int changed = op->GetUpdateId();
  EXPECT_EQ(changed, before + (GetParam() == 100 ? 0 : 1));
  Set(*op, "Alpha", held);
  EXPECT_EQ(Double(*op, "Alpha"), held) << "what it holds comes back the same";
  EXPECT_EQ(op->GetUpdateId(), changed);
}

INSTANTIATE_TEST_SUITE_P(Values, Percent,
                         testing::Values(0.0, 50.0, 30.0, 100.0, 33.3, 7.0, 250.0, -10.0, 0.01));

TEST(RImOpBlend, FiftyPercentIsExact) {
  const auto op = Make<RImOpBlend>("mix");
  Set(*op, "Alpha", 50);
  EXPECT_EQ(Double(*op, "Alpha"), 50.0);
}

TEST(RImOpBlend, ColourCountsEachComponentThatChanges) {
  const auto op = Make<RImOpBlend>("mix");
  const int before = op->GetUpdateId();
  Set(*op, "Color", RgeRGBVector(1, 0.5, 1));
  EXPECT_EQ(op->GetUpdateId(), before + 1);
  Set(*op, "Color", RgeRGBVector(0, 0.5, 0));
  EXPECT_EQ(op->GetUpdateId(), before + 3);
  Set(*op, "Color", RgeRGBVector(0, 0.5, 0));
  EXPECT_EQ(op->GetUpdateId(), before + 3);
}

// --- Copies and persistence.

void ExpectSameProperties(RImOpBlend& a, RImOpBlend& b) {
  for (int i = 0; i < a.GetPropertyCount(); ++i) {
    EXPECT_TRUE(a.GetProperty(i)->GetValue() == b.GetProperty(i)->GetValue()) << a.GetProperty(i)->GetName();
  }
}

using Change = void (*)(RImOpBlend&);

class Clones : public testing::TestWithParam<Change> {};

TEST_P(Clones, EqualTheirSourceInEveryProperty) {
  const auto op = Make<RImOpBlend>("mix");
  PutImage(*op, 0, MakeImage(1, 1));
  GetParam()(*op);
  const RDestroyPtr<RImageOperator> clone(op->Clone());
  auto* const blend = dynamic_cast<RImOpBlend*>(clone.get());
  ASSERT_NE(blend, nullptr);
  EXPECT_STREQ(blend->ArcGetObjectId(), "mix");
  EXPECT_EQ(blend->GetPlugImage(0, kIn), nullptr);
  ExpectSameProperties(*op, *blend);
}

TEST_P(Clones, StoredPropertiesComeBack) {
  const auto op = Make<RImOpBlend>("mix");
  GetParam()(*op);
  RArc arc;
  op->PropertiesStore(&arc);
  RArc copy;
  ASSERT_TRUE(copy.SetText(arc.GetText()));
  const auto restored = Make<RImOpBlend>("mix");
  EXPECT_TRUE(restored->PropertiesRestore(&copy));
  ExpectSameProperties(*op, *restored);
}

INSTANTIATE_TEST_SUITE_P(Sources, Clones,
                         testing::Values([](RImOpBlend&) {}, [](RImOpBlend& op) { op.PresetSet(1); },
                                         [](RImOpBlend& op) { op.PresetSet(16); },
                                         [](RImOpBlend& op) { op.PresetSet(17); },
                                         [](RImOpBlend& op) {
                                           op.PresetSet(6);
                                           op.AlphaSet(33);
                                           op.ColorSet({0.1, 0.2, 0.3});
                                         },
                                         [](RImOpBlend& op) {
                                           op.BFactorRGBSet(14);
                                           op.AFactorRGBSet(3);
                                           op.BFactorAlphaSet(14);
                                           op.AFactorAlphaSet(99);
                                         }));

TEST(RImOpBlend, TheNodeOfACloneFollows) {
  const auto op = Make<RImOpBlend>("mix");
  const RDestroyPtr<RImageOperator> plain(op->Clone());
  EXPECT_EQ(plain->GetUpdateId(), 0);
  op->PresetSet(6);
  const RDestroyPtr<RImageOperator> clone(op->Clone());
  EXPECT_EQ(clone->GetUpdateId(), 2) << "two factors differ from a new node's";
}

TEST(RImOpBlend, SettersKeepTheirOrder) {
  using Op = RImOpBlend;
  const std::vector<int> slots = {
      VirtualSlot(&Op::PresetSet),       VirtualSlot(&Op::ColorSet),      VirtualSlot(&Op::AlphaSet),
      VirtualSlot(&Op::FuncRGBSet),      VirtualSlot(&Op::FuncAlphaSet),  VirtualSlot(&Op::AFactorRGBSet),
      VirtualSlot(&Op::AFactorAlphaSet), VirtualSlot(&Op::BFactorRGBSet), VirtualSlot(&Op::BFactorAlphaSet)};
  for (std::size_t i = 1; i < slots.size(); ++i) EXPECT_EQ(slots[i], slots[i - 1] + 1);
  EXPECT_GT(slots.front(), VirtualSlot(&Op::GetPlugImageProvider));
}

TEST(RImOpBlend, WithoutOpenGLThereIsNoResult) {
  const auto op = Make<RImOpBlend>("mix");
  PutImage(*op, 0, MakeImage(4, 4));
  RFpContext context;
  for (const int mask : {0x10, 0x40, 0x1000, 0x40000, 0x80000, 0xC7000, 0x307F0}) {
    EXPECT_EQ(op->ReadLock(&context, mask), 0) << mask;
  }
  EXPECT_FALSE(op->ImageTextureDrawCurrent(0x10));
}

}  // namespace
}  // namespace test
