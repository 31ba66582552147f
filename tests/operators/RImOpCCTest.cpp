// Tests of the colour-correction operator's properties and results, without OpenGL.
#include "operators/RImOpCC.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "fp/RFpCC_default.h"
#include "support/BlendFormula.h"
#include "support/CorrectionFormula.h"
#include "support/OperatorFakes.h"

namespace test {
namespace {

// The properties whose ranges were declared, in order.
std::vector<std::string> gDeclaredRanges;

}  // namespace
}  // namespace test

// The module reaches this one first; it notes the call and carries it out on the host.
void RProperty::SetPropertyMinMax(double minimum, double maximum, bool minimumMovable, bool maximumMovable) {
  test::gDeclaredRanges.emplace_back(GetName());
  using Function = void (*)(RProperty*, double, double, bool, bool);
  static const auto kHost =
      reinterpret_cast<Function>(dlsym(RTLD_NEXT, "_ZN9RProperty17SetPropertyMinMaxEddbb"));
  ASSERT_NE(kHost, nullptr);
  kHost(this, minimum, maximum, minimumMovable, maximumMovable);
}

namespace test {
namespace {

constexpr auto kIn = RImageOperator::kPlugInput;
constexpr auto kOut = RImageOperator::kPlugOutput;

RProperty& Property(RImOpCC& op, const std::string& name) {
  RProperty* const property = op.FastFindPropertyByName(name.c_str());
  EXPECT_NE(property, nullptr) << name;
  return *property;
}

double Double(RImOpCC& op, const std::string& name) {
  return std::get<double>(Property(op, name).GetValue());
}
RgeRGBVector Color(RImOpCC& op, const std::string& name) {
  return std::get<RgeRGBVector>(Property(op, name).GetValue());
}

/// The node of an operator, through which the test looks at what reached it.
class ProbeCC : public RImOpCC {
 public:
  using RImOpCC::RImOpCC;
  RFpCC_default& Node() { return dynamic_cast<RFpCC_default&>(*GetProcessingNode()); }
};

struct PropertyRow {
  const char* name;
  RPropertyDataType type;
  bool animatable;
  bool hasRange;
  double minimum;
  double maximum;
};

const PropertyRow kRows[] = {
    {"Transparency", kPropertyBool, false, false, 0, 0},
    {"Black", kPropertyRGB, false, false, 0, 0},
    {"White", kPropertyRGB, false, false, 0, 0},
    {"ColorPoints", kPropertyBool, false, false, 0, 0},
    {"Gamma", kPropertyDouble, true, true, 0, 4},
    {"MidPoint", kPropertyDouble, true, true, 0, 1},
    {"Negative", kPropertyBool, false, false, 0, 0},
    {"Hue", kPropertyDouble, true, true, 0, 360},
    {"Contrast", kPropertyDouble, true, true, 0, 4},
    {"Brightness", kPropertyDouble, true, true, -1, 1},
    {"Saturation", kPropertyDouble, true, true, 0, 4},
    {"Gain", kPropertyRGB, true, true, 1, 4},
    {"Offset", kPropertyRGB, true, true, -1, 1},
    {"ShadowHue", kPropertyDouble, true, true, 0, 360},
    {"ShadowContrast", kPropertyDouble, true, true, 0, 4},
    {"ShadowBrightness", kPropertyDouble, true, true, -1, 1},
    {"ShadowSaturation", kPropertyDouble, true, true, 0, 4},
    {"ShadowGain", kPropertyRGB, true, true, 1, 4},
    {"ShadowOffset", kPropertyRGB, true, true, -1, 1},
    {"MidHue", kPropertyDouble, true, true, 0, 360},
    {"MidContrast", kPropertyDouble, true, true, 0, 4},
    {"MidBrightness", kPropertyDouble, true, true, -1, 1},
    {"MidSaturation", kPropertyDouble, true, true, 0, 4},
    {"MidGain", kPropertyRGB, true, true, 1, 4},
    {"MidOffset", kPropertyRGB, true, true, -1, 1},
    {"HighlightHue", kPropertyDouble, true, true, 0, 360},
    {"HighlightContrast", kPropertyDouble, true, true, 0, 4},
    {"HighlightBrightness", kPropertyDouble, true, true, -1, 1},
    {"HighlightSaturation", kPropertyDouble, true, true, 0, 4},
    {"HighlightGain", kPropertyRGB, true, true, 1, 4},
    {"HighlightOffset", kPropertyRGB, true, true, -1, 1},
};

TEST(RImOpCC, HasThirtyOnePropertiesInOrder) {
  const auto op = Make<RImOpCC>("correct");
  ASSERT_EQ(op->GetPropertyCount(), 31);
  for (int i = 0; i < 31; ++i) {
    const PropertyRow& row = kRows[i];
    RProperty* const property = op->GetProperty(i);
    EXPECT_STREQ(property->GetName(), row.name);
    EXPECT_EQ(property->GetInfo()->type, row.type) << row.name;
    EXPECT_EQ(property->GetInfo()->asString, nullptr) << row.name;
    EXPECT_EQ(op->IsAnimatableProperty(property), row.animatable) << row.name;
    EXPECT_EQ(op->FastFindPropertyByName(row.name), property);
    ASSERT_EQ(property->HasMinMax(), row.hasRange) << row.name;
    if (!row.hasRange) continue;
    EXPECT_EQ(property->GetMin(), row.minimum) << row.name;
    EXPECT_EQ(property->GetMax(), row.maximum) << row.name;
    EXPECT_FALSE(property->IsMinMovable()) << row.name;
    EXPECT_FALSE(property->IsMaxMovable()) << row.name;
  }
}

TEST(RImOpCC, DeclaresItsRangesKindByKind) {
  gDeclaredRanges.clear();
  const auto op = Make<RImOpCC>("correct");
  std::vector<std::string> expected;
  for (const char* const kind : {"Gain", "Offset", "Hue", "Brightness", "Contrast", "Saturation"}) {
    for (const std::string prefix : {"", "Shadow", "Mid", "Highlight"}) expected.push_back(prefix + kind);
  }
  expected.insert(expected.end(), {"Gamma", "MidPoint"});
  EXPECT_EQ(gDeclaredRanges, expected);
}

TEST(RImOpCC, StartsWithWhatTheNodeHolds) {
  const auto op = Make<ProbeCC>("correct");
  EXPECT_FALSE(std::get<bool>(Property(*op, "Transparency").GetValue()));
  EXPECT_FALSE(std::get<bool>(Property(*op, "ColorPoints").GetValue()));
  EXPECT_FALSE(std::get<bool>(Property(*op, "Negative").GetValue()));
  EXPECT_EQ(Color(*op, "Black"), RgeRGBVector(0, 0, 0));
  EXPECT_EQ(Color(*op, "White"), RgeRGBVector(1, 1, 1));
  EXPECT_EQ(Double(*op, "Gamma"), 1);
  EXPECT_EQ(Double(*op, "MidPoint"), 0.5);
  int zone = 0;
  for (const std::string prefix : {"", "Shadow", "Mid", "Highlight"}) {
    const RFpCC& node = op->Node();
    EXPECT_EQ(Double(*op, prefix + "Hue"), 0);
    EXPECT_EQ(Double(*op, prefix + "Contrast"), 1);
    EXPECT_EQ(Double(*op, prefix + "Brightness"), 0);
    EXPECT_EQ(Double(*op, prefix + "Saturation"), 1);
    EXPECT_EQ(Color(*op, prefix + "Gain"), RgeRGBVector(1, 1, 1));
    EXPECT_EQ(Color(*op, prefix + "Offset"), RgeRGBVector(0, 0, 0));
    EXPECT_EQ(node.GetZoneHue(zone), 0.0F);
    EXPECT_EQ(node.GetZoneSaturation(zone), 1.0F);
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(node.GetZoneGain(zone, i), 1.0F);
      EXPECT_EQ(node.GetZoneOffset(zone, i), 0.0F);
    }
    ++zone;
  }
  EXPECT_EQ(op->GetUpdateId(), 0) << "the node starts with these values";
}

// --- Setters: every value reaches its own place in the node, and no other.

// All numbers that a node holds, in a fixed order.
std::vector<float> Numbers(const RFpCC& node) {
  std::vector<float> list = {node.GetTransparency() ? 1.0F : 0.0F, node.GetNegative() ? 1.0F : 0.0F,
                             node.GetColorPoints() ? 1.0F : 0.0F, node.GetGamma(), node.GetMidPoint()};
  for (int i = 0; i < 3; ++i) {
    list.push_back(node.GetBlack(i));
    list.push_back(node.GetWhite(i));
  }
  for (int zone = 0; zone < 4; ++zone) {
    list.push_back(node.GetZoneHue(zone));
    list.push_back(node.GetZoneSaturation(zone));
    for (int i = 0; i < 4; ++i) {
      list.push_back(node.GetZoneGain(zone, i));
      list.push_back(node.GetZoneOffset(zone, i));
    }
  }
  return list;
}

// What a node holds after a change of the test's.
template <class Change>
std::vector<float> NumbersAfter(Change change) {
  RFpCC_default node;
  change(node);
  return Numbers(node);
}

std::vector<RPropertyValue> Values(RImOpCC& op) {
  std::vector<RPropertyValue> values;
  for (int i = 0; i < op.GetPropertyCount(); ++i) values.push_back(op.GetProperty(i)->GetValue());
  return values;
}

void ExpectSet(const std::string& name, const RPropertyValue& value, const std::vector<float>& numbers) {
  const auto op = Make<ProbeCC>("correct");
  std::vector<RPropertyValue> expected = Values(*op);
  for (int i = 0; i < op->GetPropertyCount(); ++i) {
    if (op->GetProperty(i)->GetName() == name) expected[static_cast<std::size_t>(i)] = value;
  }
  EXPECT_TRUE(Property(*op, name).SetValue(value)) << name;
  EXPECT_EQ(Numbers(op->Node()), numbers) << name;
  EXPECT_EQ(Values(*op), expected) << name << ": no other property changes";
}

TEST(RImOpCC, SettersOfTheWholePicture) {
  ExpectSet("Transparency", true, NumbersAfter([](RFpCC& n) { n.SetTransparency(true); }));
  ExpectSet("Negative", true, NumbersAfter([](RFpCC& n) { n.SetNegative(true); }));
  ExpectSet("ColorPoints", true, NumbersAfter([](RFpCC& n) { n.SetColorPoints(true); }));
  ExpectSet("Gamma", 2.5, NumbersAfter([](RFpCC& n) { n.SetGamma(2.5F); }));
  ExpectSet("MidPoint", 0.375, NumbersAfter([](RFpCC& n) { n.SetMidPoint(0.375F); }));
  ExpectSet("Black", RgeRGBVector(0.125, 0.25, 0.375), NumbersAfter([](RFpCC& n) {
              for (int i = 0; i < 3; ++i) n.SetBlack(i, 0.125F * static_cast<float>(i + 1));
            }));
  ExpectSet("White", RgeRGBVector(0.5, 0.25, 0.75), NumbersAfter([](RFpCC& n) {
              n.SetWhite(0, 0.5F);
              n.SetWhite(1, 0.25F);
              n.SetWhite(2, 0.75F);
            }));
}

TEST(RImOpCC, SettersOfTheZones) {
  int zone = 0;
  for (const std::string prefix : {"", "Shadow", "Mid", "Highlight"}) {
    ExpectSet(prefix + "Hue", 90.0, NumbersAfter([zone](RFpCC& n) { n.SetZoneHue(zone, 90); }));
    ExpectSet(prefix + "Contrast", 2.0, NumbersAfter([zone](RFpCC& n) { n.SetZoneGain(zone, 0, 2); }));
    ExpectSet(prefix + "Brightness", -0.5,
              NumbersAfter([zone](RFpCC& n) { n.SetZoneOffset(zone, 0, -0.5F); }));
    ExpectSet(prefix + "Saturation", 0.5,
              NumbersAfter([zone](RFpCC& n) { n.SetZoneSaturation(zone, 0.5F); }));
    ExpectSet(prefix + "Gain", RgeRGBVector(1.5, 2, 2.5), NumbersAfter([zone](RFpCC& n) {
                for (int i = 1; i < 4; ++i) n.SetZoneGain(zone, i, 1 + 0.5F * static_cast<float>(i));
              }));
    ExpectSet(prefix + "Offset", RgeRGBVector(0.25, 0.5, -0.75), NumbersAfter([zone](RFpCC& n) {
                n.SetZoneOffset(zone, 1, 0.25F);
                n.SetZoneOffset(zone, 2, 0.5F);
                n.SetZoneOffset(zone, 3, -0.75F);
              }));
    ++zone;
  }
}

TEST(RImOpCC, StoresWhatTheNodeMakesOfAValue) {
  const auto op = Make<RImOpCC>("correct");
  op->GammaSet(0.1);
  EXPECT_EQ(Double(*op, "Gamma"), 0.25);
  op->GammaSet(10);
  EXPECT_EQ(Double(*op, "Gamma"), 4);
  op->MidPointSet(0.9);
  EXPECT_EQ(Double(*op, "MidPoint"), 0.75);
  op->BlackSet({1.2, -1, 0.1});
  EXPECT_EQ(Color(*op, "Black"), RgeRGBVector(1, 0, static_cast<double>(0.1F))) << "in single precision";
  op->HueSet(1000.1);
  EXPECT_EQ(Double(*op, "Hue"), static_cast<double>(1000.1F)) << "hue is not clamped";
}

TEST(RImOpCC, TheDeclaredRangeKeepsGainsFromOneOnThoughTheNodeTakesAny) {
  const auto op = Make<ProbeCC>("correct");
  EXPECT_TRUE(Property(*op, "Gain").SetValue(RgeRGBVector(0.5, 2, 9)));
  EXPECT_EQ(Color(*op, "Gain"), RgeRGBVector(1, 2, 4));
  op->GainSet({0.5, 2, 9});
  EXPECT_EQ(Color(*op, "Gain"), RgeRGBVector(0.5, 2, 9));
  EXPECT_EQ(op->Node().GetZoneGain(0, 1), 0.5F);
}

TEST(RImOpCC, AnimationOfGammaDownToZeroStopsAtAQuarter) {
  const auto op = Make<RImOpCC>("correct");
  EXPECT_TRUE(Property(*op, "Gamma").SetValue(0.0));
  EXPECT_EQ(Double(*op, "Gamma"), 0.25);
}

TEST(RImOpCC, SettersKeepTheirOrder) {
  const std::vector<int> slots = {
      VirtualSlot(&RImOpCC::TransparencySet),
      VirtualSlot(&RImOpCC::BlackSet),
      VirtualSlot(&RImOpCC::WhiteSet),
      VirtualSlot(&RImOpCC::ColorPointsSet),
      VirtualSlot(&RImOpCC::GammaSet),
      VirtualSlot(&RImOpCC::MidPointSet),
      VirtualSlot(&RImOpCC::NegativeSet),
#define ZONE(Zone)                                                                            \
  VirtualSlot(&RImOpCC::Zone##HueSet), VirtualSlot(&RImOpCC::Zone##ContrastSet),              \
      VirtualSlot(&RImOpCC::Zone##BrightnessSet), VirtualSlot(&RImOpCC::Zone##SaturationSet), \
      VirtualSlot(&RImOpCC::Zone##GainSet), VirtualSlot(&RImOpCC::Zone##OffsetSet)
      ZONE(),
      ZONE(Shadow),
      ZONE(Mid),
      ZONE(Highlight),
#undef ZONE
  };
  ASSERT_EQ(slots.size(), 31U);
  EXPECT_GT(slots[0], VirtualSlot(&RImageOperator::GetPlugImageProvider));
  for (std::size_t i = 1; i < slots.size(); ++i) EXPECT_EQ(slots[i], slots[i - 1] + 1) << "function " << i;
}

// --- Results on the processor, where no OpenGL is needed.

TEST(RImOpCC, CorrectsPixelMemoryWithoutOpenGL) {
  for (const auto& [width, height] : {std::pair(1, 1), std::pair(37, 5), std::pair(4096, 1)}) {
    const Picture picture = NoisePicture(width, height, 1);
    const auto op = Make<ProbeCC>("correct");
    PutImage(*op, 0, MakeImage(width, height, picture.bytes));
    op->GammaSet(1.4);
    op->ShadowSaturationSet(0.5);
    op->TransparencySet(true);
    RFpContext context;
    ASSERT_NE(op->ReadLock(&context, kFormRawMask), 0);
    RImage& result = *op->GetPlugImage(0, kOut);
    ASSERT_EQ(result.GetWidth(), width);
    ASSERT_EQ(result.GetHeight(), height);
    ASSERT_EQ(result.GetFormat(), kImageFormatRGBA);
    const CorrectionSettings settings = ReadFrom(op->Node());
    for (int i = 0; i < width * height; ++i) {
      const unsigned char* const from = &picture.bytes[static_cast<std::size_t>(4 * i)];
      const Rgba expected =
          CorrectColour(settings, {from[0] / 255.0, from[1] / 255.0, from[2] / 255.0, from[3] / 255.0});
      for (std::size_t c = 0; c < 4; ++c)
        ASSERT_NEAR(result.GetImageBits()[static_cast<std::size_t>(4 * i) + c] / 255.0,
                    std::min(std::max(expected[c], 0.0), 1.0), CorrectionTolerance(settings));
    }
  }
}

struct FormatRow {
  const char* name;
  kImageFormat format;
  std::vector<unsigned char> pixel;
  std::array<unsigned char, 4> rgba;
};

class CCFormats : public testing::TestWithParam<FormatRow> {};

TEST_P(CCFormats, ComeOutAsRgba) {
  const FormatRow& row = GetParam();
  std::vector<unsigned char> bytes;
  for (int i = 0; i < 15; ++i) bytes.insert(bytes.end(), row.pixel.begin(), row.pixel.end());
  const auto op = Make<RImOpCC>("correct");
  op->TransparencySet(true);
  PutImage(*op, 0, MakeImage(5, 3, bytes, row.format));
  RFpContext context;
  ASSERT_NE(op->ReadLock(&context, kFormRawMask), 0);
  const unsigned char* const result = op->GetPlugImage(0, kOut)->GetImageBits();
  for (std::size_t i = 0; i < 60; ++i) ASSERT_EQ(result[i], row.rgba[i % 4]) << i;
}

INSTANTIATE_TEST_SUITE_P(
    Formats, CCFormats,
    testing::Values(FormatRow{"RGBA", kImageFormatRGBA, {1, 2, 3, 4}, {1, 2, 3, 4}},
                    FormatRow{"RGB", kImageFormatRGB, {1, 2, 3}, {1, 2, 3, 255}},
                    FormatRow{"BGRA", kImageFormatBGRA, {1, 2, 3, 4}, {3, 2, 1, 4}},
                    FormatRow{"BGR", kImageFormatBGR, {1, 2, 3}, {3, 2, 1, 255}},
                    FormatRow{"ABGR", kImageFormatABGR, {1, 2, 3, 4}, {4, 3, 2, 1}},
                    FormatRow{"ARGBTakesItsBytesAsTheyStand", kImageFormatARGB, {1, 2, 3, 4}, {1, 2, 3, 4}},
                    FormatRow{"RGB555", kImageFormatRGB555, {0x10, 0x7C}, {240, 0, 128, 255}}),
    [](const auto& row) { return row.param.name; });

TEST(RImOpCC, AFormatWithoutPixelsFails) {
  const auto op = Make<RImOpCC>("correct");
  RFpContext context;
  EXPECT_EQ(op->ReadLock(&context, kFormRawMask), 0) << "no image";
  PutImage(*op, 0, MakeImage(4, 4, {}, kImageFormatEmpty));
  EXPECT_EQ(op->ReadLock(&context, kFormRawMask), 0);
  PutImage(*op, 0, MakeImage(4, 4));
  EXPECT_NE(op->ReadLock(&context, kFormRawMask), 0) << "a failed lock is tried again";
}

TEST(RImOpCC, ChainsOfOperators) {
  const auto first = Make<RImOpCC>("first");
  const auto second = Make<RImOpCC>("second");
  PutImage(*first, 0, MakeImage(1, 1, {10, 100, 200, 255}));
  second->SetPlugInputOperator(0, kIn, first.get());
  first->NegativeSet(true);
  second->NegativeSet(true);
  RFpContext context;
  ASSERT_NE(second->ReadLock(&context, kFormRawMask), 0);
  const unsigned char* bits = second->GetPlugImage(0, kOut)->GetImageBits();
  EXPECT_THAT(std::vector<int>(bits, bits + 4), testing::ElementsAre(10, 100, 200, 255));
  first->NegativeSet(false);
  ASSERT_NE(second->ReadLock(&context, kFormRawMask), 0);
  bits = second->GetPlugImage(0, kOut)->GetImageBits();
  EXPECT_THAT(std::vector<int>(bits, bits + 4), testing::ElementsAre(245, 155, 55, 255));
}

}  // namespace
}  // namespace test
