// Graphs whose effects run in different places: operators of the test's own beside the module's.
#include "GraphRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "EffectOperators.h"
#include "TestPictures.h"
#include "rbaselib/RObjectRegistry.h"
#include "support/OperatorFakes.h"
#include "support/TestData.h"

namespace {

using testing::HasSubstr;

// What the node of the operator that is made next can do; what its draws were, as "form width x height".
int gRequirement = 0;
test::Log gDraws;

// Whether the operator that is made next counts as one that draws.
bool gRegisters = true;

class FakeEffect : public test::NodeOperator {
 public:
  explicit FakeEffect(std::unique_ptr<RFpNode> node)
      : NodeOperator(1, std::move(node)), mRegistered(gRegisters) {
    if (mRegistered) RegisterGLOperator(this);
  }
  ~FakeEffect() override {
    RunTeardown();
    if (mRegistered) UnregisterGLOperator(this);
  }

 private:
  bool mRegistered;
};

// Makes an operator with one input that inverts in memory and copies on the graphics card.
IObject* MakeFake(IObject*, const char*, void*) {
  auto node = std::make_unique<test::FakeNode>();
  node->stages = {{gRequirement, 1}};
  node->draw = [](RFpContext* context, int, int form, int width, int height) {
    gDraws.push_back(std::to_string(form) + " " + std::to_string(width) + "x" + std::to_string(height));
    if (!(form & kFormProcessorMask)) return;
    const RFpPixels& source = context->sources[0];
    EXPECT_EQ(source.width, width);
    EXPECT_EQ(source.height, height);
    for (int i = 0; i < 4 * width * height; ++i)
      context->target.bits[i] = static_cast<unsigned char>(255 - source.bits[i]);
  };
  return (new FakeEffect(std::move(node)))->IQuery(0, 0);
}

class GraphRunTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    static std::array name{'r', 'i', 'm', 'a', 'g', 'e', '\0'};
    sHost = new Host(name.data());
    ASSERT_TRUE(sHost->StartGpu(GpuMode::kAuto).IsUsable()) << sHost->StartGpu(GpuMode::kAuto).Reason();
    ASSERT_TRUE(
        Object_Register("ArcStorable/ImageOperator", "Fake", "Fake", MakeFake, true, nullptr, nullptr));
  }
  static void TearDownTestSuite() {
    delete sHost;
    sHost = nullptr;
  }

  void SetUp() override {
    gDraws.clear();
    gRegisters = true;
    test::Save(test::MakeTranslucent(9, 5), mFile);
  }

  GraphNode Fake(const std::string& name, const std::string& input) const {
    return {name, "Fake", {input}, "", {}};
  }
  GraphNode Blend(const std::string& name, const std::string& input) const {
    return {name, "RImOpBlend", {input, mFile}, "", {{"Preset", "A + B"}}};
  }

  static test::Pixels Invert(const test::Pixels& premultiplied) {
    test::Pixels pixels;
    for (const QRgb pixel : premultiplied) pixels.push_back(~pixel);
    return pixels;
  }

  // The raw bytes of a result, as they are.
  static test::Pixels Evaluate(GraphRun& run) {
    const Picture picture = run.Evaluate({});
    EXPECT_EQ(picture.alpha, AlphaState::kPremultiplied);
    EXPECT_EQ(picture.image->GetWidth(), 9);
    EXPECT_EQ(picture.image->GetHeight(), 5);
    test::Pixels pixels(45);
    std::memcpy(pixels.data(), picture.image->GetImageBits(), 4 * pixels.size());
    return pixels;
  }
  static test::Pixels Evaluate(const std::vector<GraphNode>& nodes) {
    GraphRun run(*sHost, {"test", nodes, ""}, GpuMode::kAuto);
    return Evaluate(run);
  }

  static Host* sHost;
  test::TemporaryFolder mFolder;
  std::string mFile = mFolder.Path("a.png");
};

Host* GraphRunTest::sHost = nullptr;

// The blend has no form for memory; its picture is cut from the texture of 16 x 8 before it is handed over.
TEST_F(GraphRunTest, AnEffectInMemoryGetsThePictureOfTheBlendBeforeIt) {
  gRequirement = kFormProcessorMask;
  const test::Pixels blended = Evaluate({Blend("blend", mFile)});
  EXPECT_EQ(Evaluate({Blend("blend", mFile), Fake("fake", "blend")}), Invert(blended));
  EXPECT_EQ(gDraws, test::Log{"262144 9x5"});
}

TEST_F(GraphRunTest, ABlendGetsThePictureOfTheEffectInMemoryBeforeIt) {
  gRequirement = kFormProcessorMask;
  const test::Pixels inverted = Evaluate({Fake("fake", mFile)});
  const test::Pixels blended = Evaluate({{"blend", "RImOpBlend", {"fake"}, "", {}}, Fake("fake", mFile)});
  EXPECT_EQ(blended, inverted);
}

// One result is read in both places, and by two readers in one of them.
TEST_F(GraphRunTest, AResultIsReadInBothPlaces) {
  gRequirement = kFormProcessorMask;
  const test::Pixels blended = Evaluate({Blend("blend", mFile)});
  const GraphNode sum = {"sum", "RImOpBlend", {"fake", "copy"}, "", {{"Preset", "A + B"}}};
  const GraphNode copy = {"copy", "RImOpBlend", {"blend"}, "", {}};
  const test::Pixels result = Evaluate({sum, copy, Fake("fake", "blend"), Blend("blend", mFile)});
  EXPECT_EQ(result, test::Pixels(45, 0xFFFFFFFF)) << "a picture and its inverse";
}

TEST_F(GraphRunTest, EffectsInMemoryAreConnected) {
  gRequirement = kFormProcessorMask;
  const test::Pixels once = Evaluate({Fake("one", mFile)});
  gDraws.clear();
  EXPECT_EQ(Evaluate({Fake("one", mFile), Fake("two", "one"), Fake("three", "two")}), once);
  EXPECT_EQ(gDraws.size(), 3U) << "each effect is evaluated once";
}

// With a form for the graphics card the picture goes there first: in memory the effect would stay in memory.
TEST_F(GraphRunTest, EffectsWithBothFormsRunOnTheGraphicsCard) {
  gRequirement = kFormProcessorMask | kFormQuadToBuffer;
  (void)Evaluate({Fake("fake", mFile)});
  EXPECT_EQ(gDraws, test::Log{"256 9x5"});
  gDraws.clear();
  (void)Evaluate({Fake("two", "one"), Fake("one", mFile)});
  EXPECT_EQ(gDraws, (test::Log{"256 9x5", "256 9x5"}));
}

TEST_F(GraphRunTest, AnEffectThatHasNothingToDrawOnFails) {
  gRequirement = kFormProcessorMask | kFormQuadToBuffer;
  gRegisters = false;
  try {
    (void)Evaluate({Fake("fake", mFile)});
    FAIL() << "it ran on the processor";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.Code(), ExitCode::kNoGpu);
    EXPECT_STREQ(failure.what(), "rimage: test: node fake: the driver did not draw the effect");
  }
}

TEST_F(GraphRunTest, ARequiredGraphicsCardIsNotReplacedByTheProcessor) {
  gRequirement = kFormProcessorMask;
  try {
    const GraphRun run(*sHost, {"test", {Fake("fake", mFile)}, ""}, GpuMode::kRequire);
    FAIL() << "it ran on the processor";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.Code(), ExitCode::kNoGpu);
    EXPECT_STREQ(
        failure.what(),
        "rimage: test: node fake: RImageOperator cannot run with this driver (rimage doctor tells more)");
  }
}

TEST_F(GraphRunTest, ExplainsPlacesAndForms) {
  gRequirement = kFormProcessorMask;
  GraphRun run(*sHost, {"test", {Fake("fake", "blend"), Blend("blend", mFile)}, ""}, GpuMode::kAuto);
  (void)Evaluate(run);
  const std::string text = run.Explain();
  EXPECT_THAT(
      text,
      HasSubstr("  IN_0      node blend: 9 x 5 RGBA, premultiplied, evaluated first and handed over\n"));
  EXPECT_THAT(text, HasSubstr("  back end  test::FakeNode\n  runs      on the processor\n"
                              "  form      0x40000: memory to memory\n"
                              "  result    9 x 5 RGBA, premultiplied, in memory\n"));
}

}  // namespace
