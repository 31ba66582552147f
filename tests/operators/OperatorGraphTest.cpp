// Tests of graphs of operators on the graphics card: evaluation, forms, the host's state.
#include <GL/gl.h>
#include <GL/glext.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <tuple>

#include "support/BlendDrawing.h"
#include "support/HostileState.h"

namespace test {
namespace {

constexpr auto kIn = RImageOperator::kPlugInput;
constexpr auto kOut = RImageOperator::kPlugOutput;

BlendSettings Over() {
  BlendSettings settings;
  settings.bFactorRGB = settings.bFactorAlpha = 5;
  return settings;
}

// The picture that a blend makes, rounded as the card rounds it between operators.
Picture Blended(const BlendSettings& settings, const Picture& a, const Picture& b) {
  Picture result{a.width, a.height, {}};
  for (int y = 0; y < a.height; ++y) {
    for (int x = 0; x < a.width; ++x) {
      const auto pixel = BlendPixel(settings, PixelAt(a, x, y).data(), PixelAt(b, x, y).data());
      for (const double value : pixel) result.bytes.push_back(static_cast<unsigned char>(std::lround(value)));
    }
  }
  return result;
}

int LargestDifference(const Picture& a, const Picture& b) {
  if (a.bytes.size() != b.bytes.size()) return 1000;
  int largest = 0;
  for (std::size_t i = 0; i < a.bytes.size(); ++i)
    largest = std::max(largest, std::abs(a.bytes[i] - b.bytes[i]));
  return largest;
}

// The number of nodes drawn; transfers draw quads.
int NodesDrawn(const GLRecorder& recorder) { return recorder.Count("glRecti"); }

class OperatorGraphTest : public GLTest {
 protected:
  RDestroyPtr<RImOpBlend> MakeOver(RImageOperator* a, RImageOperator* b) {
    auto op = Make<RImOpBlend>("over");
    op->SetPlugInputOperator(0, kIn, a);
    op->SetPlugInputOperator(1, kIn, b);
    op->PresetSet(6);
    return op;
  }
  RFpContext context;
};

// --- The host's state.

class HostileHost : public OperatorGraphTest, public testing::WithParamInterface<HostileKind> {};

TEST_P(HostileHost, SpoilsNothingAndFindsItsStateAgain) {
  const Picture a = NoisePicture(64, 64, 1);
  const Picture b = NoisePicture(50, 70, 2);
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(a));
  PutImage(*op, 1, ToImage(b));
  op->PresetSet(6);
  const GLTarget target(64, 64);
  GetParam().set();
  const std::string before = FullStateText();
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0x307F0);
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
  op->ReadUnLock(&context, 0x40);
  EXPECT_EQ(Host().Context().surface(), &Host().Surface());
  const Picture drawn = FromTexture(*op->GetPlugImage(0, kOut), 64, 64);
  EXPECT_LE(LargestBlendError(Over(), a, b, drawn), 1 + 1e-9);

  // Again from the stored result, in every form, on the caller's own account.
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0x40);
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
  const bool canDraw = GetParam().name != std::string_view("Framebuffer");
  EXPECT_EQ(op->ReadLock(&context, 0x10), canDraw ? 0x10 : 0) << "into the caller's own framebuffer";
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
  EXPECT_EQ(op->ReadLock(&context, 0x1000), 0x1000);
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
  EXPECT_EQ(Corner(*op->GetPlugImage(0, kOut), 64, 64), drawn.bytes) << "read back";

  // A alone, before which nothing else is drawn.
  op->PresetSet(4);
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0x307F0);
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
  EXPECT_EQ(FromTexture(*op->GetPlugImage(0, kOut), 64, 64).bytes, a.bytes);
}

INSTANTIATE_TEST_SUITE_P(Kinds, HostileHost, testing::ValuesIn(HostileKinds()),
                         [](const auto& row) { return row.param.name; });

TEST_F(OperatorGraphTest, AllHostileStateAtOnce) {
  const Picture a = NoisePicture(64, 64, 1);
  const Picture b = NoisePicture(64, 64, 2);
  const Picture c = NoisePicture(64, 64, 3);
  const auto inner = Make<RImOpBlend>("inner");
  PutImage(*inner, 0, ToImage(a));
  PutImage(*inner, 1, ToImage(b));
  inner->PresetSet(6);
  const auto op = Make<RImOpBlend>("outer");
  PutImage(*op, 0, ToImage(c));
  op->SetPlugInputOperator(1, kIn, inner.get());
  op->PresetSet(6);
  SetHostileState();
  const std::string before = FullStateText();
  EXPECT_NE(op->ReadLock(&context, 0x40), 0);
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
  EXPECT_LE(LargestDifference(Blended(Over(), c, Blended(Over(), a, b)),
                              FromTexture(*op->GetPlugImage(0, kOut), 64, 64)),
            1);
}

TEST_F(OperatorGraphTest, AFailedEvaluationLeavesTheStateAsItWas) {
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(NoisePicture(4, 4, 1)));
  op->PresetSet(6);
  SetHostileState();
  const std::string before = FullStateText();
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0) << "there is no second image";
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
  EXPECT_EQ(Host().Context().surface(), &Host().Surface());
}

// --- When it computes.

TEST_F(OperatorGraphTest, ASecondLockDrawsNothing) {
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(NoisePicture(8, 8, 1)));
  PutImage(*op, 1, ToImage(NoisePicture(8, 8, 2)));
  op->PresetSet(6);
  {
    const GLRecorder recorder;
    EXPECT_EQ(op->ReadLock(&context, 0x40), 0x307F0);
    EXPECT_EQ(NodesDrawn(recorder), 1);
    EXPECT_EQ(recorder.Count("glBegin"), 1) << "the second image";
    EXPECT_EQ(recorder.Count("glCopyTexSubImage2D"), 1);
    EXPECT_EQ(recorder.Count("glReadPixels"), 0);
    EXPECT_EQ(recorder.Count("glGetTexImage"), 0);
  }
  const unsigned texture = op->GetPlugImage(0, kOut)->GetTextureID();
  const GLRecorder recorder;
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0x40);
  EXPECT_EQ(recorder.Text(),
            "glGetIntegerv(GL_TEXTURE_BINDING_2D, ptr)\n"
            "glBindTexture(GL_TEXTURE_2D, " +
                std::to_string(texture) +
                ")\n"
                "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST)\n"
                "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST)\n"
                "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP)\n"
                "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP)\n"
                "glBindTexture(GL_TEXTURE_2D, 0)\n");
}

// What an evaluation costs beside its draws: queries and changes of state that are saved and brought back.
TEST_F(OperatorGraphTest, AnEvaluationMakesABoundedNumberOfCalls) {
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(NoisePicture(8, 8, 1)));
  PutImage(*op, 1, ToImage(NoisePicture(8, 8, 2)));
  op->PresetSet(6);
  Evaluate(*op);
  const auto calls = [&] {
    op->IncUpdateId();
    const GLRecorder recorder;
    EXPECT_NE(op->ReadLock(&context, 0x40), 0);
    return recorder.Calls().size();
  };
  GLint units = 0;
  glGetIntegerv(GL_MAX_TEXTURE_UNITS, &units);
  const std::size_t first = calls();
  EXPECT_EQ(calls(), first) << "every evaluation alike";
  // Matrices, enables and samplers of each texture unit, and the rest once.
  EXPECT_LE(first, 200 + 25 * static_cast<std::size_t>(units));
  RecordProperty("calls", static_cast<int>(first));
  std::printf("%zu calls with %d texture units\n", first, units);
}

TEST_F(OperatorGraphTest, TheIdentityOnlyCopies) {
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(NoisePicture(8, 8, 1)));
  PutImage(*op, 1, ToImage(NoisePicture(8, 8, 2)));
  const GLRecorder recorder;
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0x307F0);
  EXPECT_EQ(NodesDrawn(recorder), 1);
  EXPECT_EQ(recorder.Count("glBegin"), 0) << "the second image is not read";
}

TEST_F(OperatorGraphTest, AChangeComputesTheDependentOperatorsOnce) {
  // source <- left, right <- top; apart stands by itself.
  const auto source = Make<RImOpBlend>("source");
  PutImage(*source, 0, ToImage(NoisePicture(8, 8, 1)));
  PutImage(*source, 1, ToImage(NoisePicture(8, 8, 2)));
  const auto apart = Make<RImOpBlend>("apart");
  PutImage(*apart, 0, ToImage(NoisePicture(8, 8, 3)));
  const auto left = MakeOver(source.get(), apart.get());
  const auto right = MakeOver(apart.get(), source.get());
  const auto top = MakeOver(left.get(), right.get());
  const auto drawn = [&] {
    const GLRecorder recorder;
    EXPECT_NE(top->ReadLock(&context, 0x40), 0);
    return NodesDrawn(recorder);
  };
  EXPECT_EQ(drawn(), 5);
  EXPECT_EQ(drawn(), 0);
  top->AlphaSet(50);
  EXPECT_EQ(drawn(), 1);
  left->AlphaSet(50);
  EXPECT_EQ(drawn(), 2);
  apart->AlphaSet(50);
  EXPECT_EQ(drawn(), 4);
  source->AlphaSet(50);
  EXPECT_EQ(drawn(), 4);
  source->AlphaSet(50);
  EXPECT_EQ(drawn(), 0) << "the value it has";
  source->PresetSet(15);
  EXPECT_EQ(drawn(), 4) << "several settings at once";
  EXPECT_EQ(drawn(), 0);
  right->IncUpdateId();
  EXPECT_EQ(drawn(), 0) << "forcing an operator is not seen downstream";
  top->IncUpdateId();
  EXPECT_EQ(drawn(), 2) << "but by the next lock that reaches it";
}

TEST_F(OperatorGraphTest, AChangedImageIsSeenAfterIncUpdateId) {
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage({1, 1, {1, 2, 3, 4}}));
  EXPECT_EQ(Evaluate(*op).bytes, (std::vector<unsigned char>{1, 2, 3, 4}));
  PutImage(*op, 0, ToImage({1, 1, {5, 6, 7, 8}}));
  EXPECT_EQ(Evaluate(*op).bytes, (std::vector<unsigned char>{1, 2, 3, 4}));
  op->IncUpdateId();
  EXPECT_EQ(Evaluate(*op).bytes, (std::vector<unsigned char>{5, 6, 7, 8}));
}

// --- Shapes of graphs.

TEST_F(OperatorGraphTest, AChainOfTen) {
  std::vector<RDestroyPtr<RImOpBlend>> chain;
  Picture expected = NoisePicture(33, 21, 100);
  for (unsigned i = 0; i < 10; ++i) {
    const Picture layer = NoisePicture(33, 21, i);
    chain.push_back(Make<RImOpBlend>("layer"));
    PutImage(*chain.back(), 0, ToImage(layer));
    if (i == 0)
      PutImage(*chain[0], 1, ToImage(expected));
    else
      chain[i]->SetPlugInputOperator(1, kIn, chain[i - 1].get());
    chain.back()->PresetSet(6);
    expected = Blended(Over(), layer, expected);
  }
  EXPECT_LE(LargestDifference(Evaluate(*chain.back()), expected), 1);
}

TEST_F(OperatorGraphTest, AChainOfTenOnTheFirstInput) {
  std::vector<RDestroyPtr<RImOpBlend>> chain;
  Picture expected = NoisePicture(33, 21, 100);
  for (unsigned i = 0; i < 10; ++i) {
    const Picture layer = NoisePicture(40, 10, i);
    chain.push_back(Make<RImOpBlend>("layer"));
    PutImage(*chain.back(), 1, ToImage(layer));
    if (i == 0)
      PutImage(*chain[0], 0, ToImage(expected));
    else
      chain[i]->SetPlugInputOperator(0, kIn, chain[i - 1].get());
    chain.back()->PresetSet(6);
    expected = Blended(Over(), expected, layer);
  }
  EXPECT_LE(LargestDifference(Evaluate(*chain.back()), expected), 1);
}

TEST_F(OperatorGraphTest, ADeepChainOfCopies) {
  const Picture a = NoisePicture(5, 5, 1);
  std::vector<RDestroyPtr<RImOpBlend>> chain;
  for (unsigned i = 0; i < 300; ++i) {
    chain.push_back(Make<RImOpBlend>("copy"));
    if (i > 0) chain[i]->SetPlugInputOperator(0, kIn, chain[i - 1].get());
  }
  PutImage(*chain[0], 0, ToImage(a));
  EXPECT_EQ(Evaluate(*chain.back()).bytes, a.bytes);
}

TEST_F(OperatorGraphTest, NestedOperatorsOfDifferentSizesGrowTheArea) {
  const Picture small = NoisePicture(40, 30, 1);
  const Picture wide = NoisePicture(1600, 20, 2);
  const Picture tall = NoisePicture(20, 1200, 3);
  const Picture large = NoisePicture(1300, 1100, 4);
  const auto first = Make<RImOpBlend>("first");
  PutImage(*first, 0, ToImage(small));
  PutImage(*first, 1, ToImage(wide));
  first->PresetSet(6);
  const auto second = Make<RImOpBlend>("second");
  PutImage(*second, 0, ToImage(tall));
  second->SetPlugInputOperator(1, kIn, first.get());
  second->PresetSet(6);
  const auto third = Make<RImOpBlend>("third");
  PutImage(*third, 0, ToImage(large));
  third->SetPlugInputOperator(1, kIn, second.get());
  third->PresetSet(6);
  const Picture expected = Blended(Over(), large, Blended(Over(), tall, Blended(Over(), small, wide)));
  EXPECT_LE(LargestDifference(Evaluate(*third), expected), 1);
}

TEST_F(OperatorGraphTest, BothInputsFromOneOperator) {
  const Picture a = NoisePicture(16, 16, 1);
  const auto source = Make<RImOpBlend>("source");
  PutImage(*source, 0, ToImage(a));
  const auto op = MakeOver(source.get(), source.get());
  EXPECT_LE(LargestBlendError(Over(), a, a, Evaluate(*op)), 1 + 1e-9);
}

TEST_F(OperatorGraphTest, ACycleFailsAndLeavesTheStateAsItWas) {
  const auto first = Make<RImOpBlend>("first");
  const auto second = MakeOver(first.get(), first.get());
  first->SetPlugInputOperator(0, kIn, second.get());
  const std::string before = FullStateText();
  EXPECT_EQ(first->ReadLock(&context, 0x40), 0);
  EXPECT_EQ(second->ReadLock(&context, 0x40), 0);
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
}

// --- Forms of the result.

TEST_F(OperatorGraphTest, ReadTestTellsWhatIsThere) {
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(NoisePicture(6, 5, 1)));
  EXPECT_EQ(op->ReadTest(&context, 0x40), 0);
  EXPECT_NE(op->ReadLock(&context, 0x40), 0);
  EXPECT_EQ(op->ReadTest(&context, 0x40), 0x203C0);
  op->AlphaSet(3);
  EXPECT_EQ(op->ReadTest(&context, 0x40), 0x203C0) << "up to date or not";
  EXPECT_TRUE(op->GetPlugImage(0, kOut)->RequestRawIncarnation(true));
  EXPECT_EQ(op->ReadTest(&context, 0x40), 0xC7000);
}

struct FormRow {
  int mask;
  int first;   // of the lock that computes
  int second;  // of the next one
};

class ResultForms : public OperatorGraphTest, public testing::WithParamInterface<FormRow> {};

TEST_P(ResultForms, OfTheFirstAndTheSecondLock) {
  const GLTarget target(8, 8);
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(NoisePicture(6, 5, 1)));
  EXPECT_EQ(op->ReadLock(&context, GetParam().mask), GetParam().first);
  EXPECT_EQ(op->ReadLock(&context, GetParam().mask), GetParam().second);
}

// A read-back into memory delivers the pixels and yet reports failure once; forms for the processor fail.
INSTANTIATE_TEST_SUITE_P(Masks, ResultForms,
                         testing::Values(FormRow{0x40, 0x307F0, 0x40}, FormRow{0x80, 0x307F0, 0x80},
                                         FormRow{0x100, 0x307F0, 0x100}, FormRow{0x203C0, 0x307F0, 0x203C0},
                                         FormRow{0x20000, 0x307F0, 0x20000}, FormRow{0x10, 0x10, 0x10},
                                         FormRow{0x20, 0x20, 0x20}, FormRow{0x1010, 0x10, 0x10},
                                         FormRow{0x10430, 0x10430, 0x10430},
                                         FormRow{0x307F0, 0x307F0, 0x203C0}, FormRow{0x1000, 0, 0x1000},
                                         FormRow{0x2000, 0, 0x2000}, FormRow{0x4000, 0, 0x4000},
                                         FormRow{0x7000, 0, 0x7000}, FormRow{0x1040, 0x307F0, 0x40},
                                         FormRow{0x40000, 0, 0}, FormRow{0x80000, 0, 0},
                                         FormRow{0xC0040, 0, 0}, FormRow{0, 0, 0}, FormRow{0x1, 0, 0}));

TEST_F(OperatorGraphTest, AReadBackReportsFailureButFillsTheImage) {
  const Picture a = NoisePicture(6, 5, 1);
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(a));
  glPixelStorei(GL_PACK_ROW_LENGTH, 99);
  EXPECT_EQ(op->ReadLock(&context, 0x1000), 0);
  RImage& image = *op->GetPlugImage(0, kOut);
  EXPECT_EQ(image.GetIncarnation(), RImage::kIncarnationRaw);
  EXPECT_EQ(image.GetWidth(), 8) << "of the power of two";
  EXPECT_EQ(image.GetHeight(), 8);
  EXPECT_EQ(Corner(image, 6, 5), a.bytes) << "each row in its place";
  GLint rowLength = 0;
  glGetIntegerv(GL_PACK_ROW_LENGTH, &rowLength);
  EXPECT_EQ(rowLength, 99);
  glPixelStorei(GL_PACK_ROW_LENGTH, 0);
}

TEST_F(OperatorGraphTest, AFailedFormOfAComputedResultIsNotComputedAgain) {
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(NoisePicture(6, 5, 1)));
  EXPECT_EQ(op->ReadLock(&context, 0x1000), 0);
  const GLRecorder recorder;
  EXPECT_EQ(op->ReadLock(&context, 0x1000), 0x1000);
  EXPECT_EQ(recorder.Text(), "");
}

// --- Textures for the host.

TEST_F(OperatorGraphTest, TheTextureObjectIsBoundAndNotBroughtUpToDate) {
  const auto op = Make<RImOpBlend>("blend");
  EXPECT_EQ(op->ImageTextureGetObject(), 0U) << "no image";
  PutImage(*op, 0, ToImage(NoisePicture(6, 5, 1)));
  EXPECT_NE(op->ReadLock(&context, 0x40), 0);
  RImage& image = *op->GetPlugImage(0, kOut);
  op->AlphaSet(1);
  const GLRecorder recorder;
  EXPECT_EQ(op->ImageTextureGetObject(), image.GetTextureID());
  EXPECT_EQ(recorder.Text(), "glBindTexture(GL_TEXTURE_2D, " + std::to_string(image.GetTextureID()) + ")\n");
  glBindTexture(GL_TEXTURE_2D, 0);
}

TEST_F(OperatorGraphTest, TheTextureObjectOfAMemoryImageIsMade) {
  const Picture a = NoisePicture(6, 5, 1);
  const auto op = Make<NodeOperator>(0);
  PutImage(*op, 0, ToImage(a), kOut);
  RImageOperator::RegisterGLOperator(op.get());
  for (const HostileKind& kind : HostileKinds()) {
    const std::string_view name = kind.name;
    if (name.starts_with("Pixel") || name == "UnpackBuffer") kind.set();
  }
  const std::string before = FullStateText();
  const unsigned long texture = op->ImageTextureGetObject();
  EXPECT_NE(texture, 0U);
  GLint bound = 0;
  glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
  EXPECT_EQ(static_cast<unsigned long>(bound), texture);
  glBindTexture(GL_TEXTURE_2D, 0);
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
  EXPECT_EQ(FromTexture(*op->GetPlugImage(0, kOut), 6, 5).bytes, a.bytes);
  RImageOperator::UnregisterGLOperator(op.get());
}

TEST_F(OperatorGraphTest, ATextureThatCannotBeMadeIsNone) {
  const auto op = Make<NodeOperator>(0);
  PutImage(*op, 0, MakeImage(4, 4, {}, kImageFormatUndefined), kOut);
  EXPECT_EQ(op->ImageTextureGetObject(), 0U);
}

TEST_F(OperatorGraphTest, ADetachedTextureIsReplacedByAnother) {
  const auto op = Make<RImOpBlend>("blend");
  const Picture a = NoisePicture(6, 5, 1);
  PutImage(*op, 0, ToImage(a));
  EXPECT_NE(op->ReadLock(&context, 0x40), 0);
  const ImagePtr kept(op->GetPlugImage(0, kOut));
  kept->IncReferenceCount();
  op->ImageDetachTextureObject();
  op->PresetSet(3);
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0) << "preset clear needs a second image";
  op->PresetSet(4);
  EXPECT_NE(op->ReadLock(&context, 0x40), 0);
  EXPECT_NE(op->GetPlugImage(0, kOut)->GetTextureID(), kept->GetTextureID());
  EXPECT_EQ(FromTexture(*kept, 6, 5).bytes, a.bytes);
}

class DrawCurrent : public OperatorGraphTest, public testing::WithParamInterface<bool> {};

TEST_P(DrawCurrent, DrawsIntoTheCallersBufferUnderHisMatrices) {
  const Picture a = NoisePicture(6, 5, 1);
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(a));
  if (GetParam()) Evaluate(*op);
  const GLTarget target(40, 30);
  glClearColor(0, 0, 0, 0);
  glClear(GL_COLOR_BUFFER_BIT);
  // Two pixels a unit, 10 to the right and 4 up.
  glViewport(10, 4, 20, 20);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(0, 10, 0, 10, -1, 1);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glEnable(GL_CULL_FACE);
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
  glColor4f(0, 0, 0, 0);
  const std::string before = FullStateText();
  const GLRecorder recorder;
  EXPECT_TRUE(op->ImageTextureDrawCurrent(0x10));
  EXPECT_EQ(NodesDrawn(recorder), GetParam() ? 0 : 1);
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
  const GLPixels drawn = target.Read();
  for (int y = 0; y < 30; ++y) {
    for (int x = 0; x < 40; ++x) {
      const bool inside = x >= 10 && x < 22 && y >= 4 && y < 14;
      const auto expected = inside ? PixelAt(a, (x - 10) / 2, (y - 4) / 2) : std::array<unsigned char, 4>{};
      const std::size_t at = static_cast<std::size_t>(4 * (40 * y + x));
      ASSERT_EQ(drawn.bytes[at], expected[0]) << x << ", " << y;
      ASSERT_EQ(drawn.bytes[at + 3], expected[3]) << x << ", " << y;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Stored, DrawCurrent, testing::Bool());

TEST_F(OperatorGraphTest, AStoredResultIsDrawnByOneQuad) {
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(NoisePicture(6, 5, 1)));
  Evaluate(*op);
  const GLTarget target(8, 8);
  const GLRecorder recorder;
  EXPECT_EQ(op->ReadLock(&context, 0x10), 0x10);
  EXPECT_EQ(recorder.Text({"glScaled", "glTexEnvi", "glBegin", "glTexCoord2i", "glVertex2i", "glEnd"}),
            "glScaled(0.75, 0.625, 1)\n"
            "glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE)\n"
            "glBegin(GL_QUADS)\n"
            "glTexCoord2i(0, 0)\nglVertex2i(0, 0)\n"
            "glTexCoord2i(0, 1)\nglVertex2i(0, 5)\n"
            "glTexCoord2i(1, 1)\nglVertex2i(6, 5)\n"
            "glTexCoord2i(1, 0)\nglVertex2i(6, 0)\n"
            "glEnd()\n");
}

TEST_F(OperatorGraphTest, DrawCurrentWithATextureFormOnlyComputes) {
  const auto op = Make<RImOpBlend>("blend");
  EXPECT_FALSE(op->ImageTextureDrawCurrent(0x40)) << "there is no image";
  PutImage(*op, 0, ToImage(NoisePicture(6, 5, 1)));
  const GLRecorder recorder;
  EXPECT_TRUE(op->ImageTextureDrawCurrent(0x40));
  EXPECT_EQ(recorder.Count("glBegin"), 0);
}

// --- Binding by the caller.

class RectangleForm : public OperatorGraphTest, public testing::WithParamInterface<int> {};

TEST_P(RectangleForm, BindsATextureAtThePixelPositions) {
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(NoisePicture(6, 5, 1)));
  EXPECT_NE(op->ReadLock(&context, 0x40), 0);
  const std::string texture = std::to_string(op->GetPlugImage(0, kOut)->GetTextureID());
  const GLRecorder recorder;
  EXPECT_EQ(op->ReadBind(&context, GetParam(), 0, 1), 1);
  EXPECT_EQ(recorder.Text(), "glBindTexture(GL_TEXTURE_2D, " + texture +
                                 ")\n"
                                 "glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, ptr)\n"
                                 "glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, ptr)\n"
                                 "glPushAttrib(0x1000)\n"
                                 "glMatrixMode(GL_TEXTURE)\n"
                                 "glLoadIdentity()\n"
                                 "glScaled(0.125, 0.125, 1)\n"
                                 "glPopAttrib()\n"
                                 "glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE)\n"
                                 "glEnable(GL_TEXTURE_2D)\n"
                                 "glTexGeni(GL_S, GL_TEXTURE_GEN_MODE, GL_OBJECT_LINEAR)\n"
                                 "glTexGeni(GL_T, GL_TEXTURE_GEN_MODE, GL_OBJECT_LINEAR)\n"
                                 "glTexGendv(GL_S, GL_OBJECT_PLANE, {1, 0, 0, 0})\n"
                                 "glTexGendv(GL_T, GL_OBJECT_PLANE, {0, 1, 0, 0})\n"
                                 "glEnable(GL_TEXTURE_GEN_S)\n"
                                 "glEnable(GL_TEXTURE_GEN_T)\n");
  const GLRecorder undone;
  EXPECT_EQ(op->ReadUnBind(&context, GetParam(), 0, 1), 1);
  EXPECT_EQ(undone.Text(),
            "glPushAttrib(0x1000)\n"
            "glMatrixMode(GL_TEXTURE)\n"
            "glLoadIdentity()\n"
            "glPopAttrib()\n"
            "glDisable(GL_TEXTURE_2D)\n"
            "glDisable(GL_TEXTURE_GEN_S)\n"
            "glDisable(GL_TEXTURE_GEN_T)\n");
  glBindTexture(GL_TEXTURE_2D, 0);
}

INSTANTIATE_TEST_SUITE_P(Forms, RectangleForm, testing::Values(0x40, 0x80));

TEST_F(OperatorGraphTest, BindingATextureByQuadOnAUnit) {
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(NoisePicture(6, 5, 1)));
  EXPECT_NE(op->ReadLock(&context, 0x100), 0);
  RFpContext bound;
  for (const int form : {0x100, 0x200}) {
    const GLRecorder recorder;
    EXPECT_EQ(op->ReadBind(&bound, form, 1, 2), 1);
    EXPECT_EQ(recorder.Calls().front(), "glActiveTexture(GL_TEXTURE1)");
    EXPECT_EQ(recorder.Text({"glScaled"}), "glScaled(0.75, 0.625, 1)\n");
    EXPECT_EQ(recorder.Count("glTexGeni"), 0);
    const GLRecorder undone;
    EXPECT_EQ(op->ReadUnBind(&bound, form, 1, 2), 1);
    EXPECT_EQ(undone.Calls().front(), "glActiveTexture(GL_TEXTURE1)");
    EXPECT_EQ(undone.Count("glDisable"), 1);
  }
  EXPECT_EQ(bound.sources[1].width, 6);
  EXPECT_EQ(bound.sources[1].height, 5);
  EXPECT_EQ(bound.sources[1].bits, nullptr);
  EXPECT_EQ(bound.sources[0].width, 0);
}

TEST_F(OperatorGraphTest, BindingMemorySetsTheRowLength) {
  RImageOperatorPlug plug(kIn, "in", nullptr);
  const auto image = MakeImage(6, 5);
  plug.SetImage(image.get());
  for (const int form : {0x1000, 0x2000, 0x4000, 0x40000, 0x80000}) {
    const GLRecorder recorder;
    EXPECT_EQ(plug.ReadBind(&context, form, 0, 2), 1);
    EXPECT_EQ(recorder.Text(), "glPixelStorei(GL_UNPACK_ROW_LENGTH, 6)\n");
    const GLRecorder undone;
    EXPECT_EQ(plug.ReadUnBind(&context, form, 0, 2), 1);
    EXPECT_EQ(undone.Text(), form >= 0x40000 ? "" : "glPixelStorei(GL_UNPACK_ROW_LENGTH, 0)\n")
        << "the forms between memories leave it as it is";
  }
  glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
}

// What a stage in memory asks of OpenGL, in its order; the host's row length of uploads stays changed.
TEST_F(OperatorGraphTest, AStageInMemoryOnlySetsRowLengths) {
  auto node = std::make_unique<FakeNode>();
  node->stages = {{0xC0000, 2}};
  const auto op = Make<NodeOperator>(2, std::move(node));
  PutImage(*op, 0, MakeImage(3, 2));
  PutImage(*op, 1, MakeImage(6, 5));
  const GLRecorder recorder;
  EXPECT_EQ(op->ReadLock(&context, 0x40000), 0x40000);
  EXPECT_EQ(recorder.Text(),
            "glPixelStorei(GL_UNPACK_ROW_LENGTH, 3)\n"
            "glPixelStorei(GL_UNPACK_ROW_LENGTH, 6)\n"
            "glPixelStorei(GL_PACK_ROW_LENGTH, 6)\n"
            "glPixelStorei(GL_PACK_ROW_LENGTH, 0)\n");
  glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
}

TEST_F(OperatorGraphTest, APlugReadsItsTexture) {
  const Picture a = NoisePicture(6, 5, 1);
  const auto image = ToImage(a);
  RImageOperatorPlug plug(kIn, "in", image.get());
  EXPECT_EQ(plug.ReadTest(&context, 0x40), 0xC7000);
  EXPECT_EQ(plug.ReadLock(&context, 0x40), 0x40) << "moved to the card";
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationGL);
  EXPECT_EQ(plug.ReadTest(&context, 0x1000), 0x203C0);
  EXPECT_EQ(plug.ReadUnLock(&context, 0x40), 0x40);
  EXPECT_EQ(FromTexture(*image, 6, 5).bytes, a.bytes);
}

TEST_F(OperatorGraphTest, AFittingTextureIsWrittenAsItIs) {
  const auto image = MakeImage(6, 5);
  RImageOperatorPlug plug(kOut, "out", image.get());
  EXPECT_EQ(plug.WriteLock(&context, 0x40, 6, 5), 1);
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationGL);
  const unsigned texture = image->GetTextureID();
  const int updates = image->GetUpdateId();
  const GLRecorder recorder;
  for (const int form : {0x1, 0x2, 0x10, 0x20, 0x40, 0x80, 0x100, 0x200, 0x400, 0x1000, 0x2000, 0x4000}) {
    EXPECT_EQ(plug.WriteLock(&context, form, 6, 5), 1) << form;
  }
  EXPECT_EQ(recorder.Text(), "");
  EXPECT_EQ(image->GetTextureID(), texture);
  EXPECT_EQ(image->GetUpdateId(), updates + 12);
  EXPECT_EQ(plug.WriteLock(&context, 0x40000, 6, 5), 1) << "another incarnation";
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationRaw);
}

TEST_F(OperatorGraphTest, BindingForWriting) {
  const auto image = MakeImage(6, 5);
  RImageOperatorPlug plug(kOut, "out", image.get());
  for (const int form : {0x4, 0x10000, 0x20000, 0x40000, 0x80000}) {
    const GLRecorder recorder;
    EXPECT_EQ(plug.WriteBind(&context, form), form);
    EXPECT_EQ(plug.WriteUnBind(&context, form), form);
    EXPECT_EQ(recorder.Text(),
              "glPixelStorei(GL_PACK_ROW_LENGTH, 6)\nglPixelStorei(GL_PACK_ROW_LENGTH, 0)\n");
  }
  EXPECT_EQ(plug.WriteLock(&context, 0x40, 6, 5), 1);
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationGL);
  const std::string texture = std::to_string(image->GetTextureID());
  for (const int form : {0x2, 0x400, 0x4000}) {
    const GLRecorder recorder;
    EXPECT_EQ(plug.WriteBind(&context, form), form);
    EXPECT_EQ(plug.WriteUnBind(&context, form), form);
    EXPECT_EQ(recorder.Text(), "glBindTexture(GL_TEXTURE_2D, " + texture + ")\n");
  }
  const GLRecorder recorder;
  for (const int form : {0x1, 0x10, 0x40, 0x100, 0x1000}) {
    EXPECT_EQ(plug.WriteBind(&context, form), form);
    EXPECT_EQ(plug.WriteUnBind(&context, form), form);
  }
  EXPECT_EQ(recorder.Text(), "");
  glBindTexture(GL_TEXTURE_2D, 0);
}

TEST_F(OperatorGraphTest, APlugSelectsTheUnitBeforeItsOperatorDoes) {
  Log log;
  const auto upstream = Make<FakeOperator>("A", &log);
  RImageOperatorPlug plug(kIn);
  plug.SetInputOperator(upstream.get());
  const GLRecorder recorder;
  plug.ReadBind(&context, 0x40, 1, 2);
  plug.ReadUnBind(&context, 0x40, 1, 2);
  EXPECT_EQ(recorder.Text(), "glActiveTexture(GL_TEXTURE1)\nglActiveTexture(GL_TEXTURE1)\n");
  const GLRecorder none;
  plug.ReadBind(&context, 0x40, 1, 1);
  plug.ReadBind(&context, 0x40000, 1, 2);
  plug.ReadUnBind(&context, 0x1000, 1, 2);
  EXPECT_EQ(none.Text(), "") << "one input alone, or no texture";
  DriverEntryPoint<void(GLenum)>("glActiveTexture")(GL_TEXTURE0);
}

// --- Made-up nodes on the card.

std::unique_ptr<FakeNode> MakeNode(FakeNode::Stage stage) {
  auto node = std::make_unique<FakeNode>();
  node->stages = {std::move(stage)};
  return node;
}

class Registered {
 public:
  Registered() { RImageOperator::RegisterGLOperator(nullptr); }
  ~Registered() { RImageOperator::UnregisterGLOperator(nullptr); }
};

TEST_F(OperatorGraphTest, ANodeWithoutInputsDrawsTheDefaultSize) {
  const Registered registered;
  const auto op = Make<NodeOperator>(0, MakeNode({0x1, 0}));
  op->Node().draw = [](RFpContext*, int, int form, int width, int height) {
    EXPECT_EQ(form, 0x1);
    glColor4f(0, 1, 0, 0.5F);
    glRecti(0, 0, width, height);
  };
  const Picture result = Evaluate(*op);
  EXPECT_EQ(result.width, 720);
  EXPECT_EQ(result.height, 486);
  EXPECT_EQ(PixelAt(result, 719, 485)[1], 255);
  EXPECT_NEAR(PixelAt(result, 719, 485)[3], 127.5, 1);
}

TEST_F(OperatorGraphTest, StagesAddUpWithoutLosingWhatBytesCutOff) {
  const Registered registered;
  auto node = std::make_unique<FakeNode>();
  node->stages.assign(3, {0x40, 1, {1}});
  // A, minus twice A, plus twice A: in bytes the second stage would end at 0 and the third at 2 A.
  node->draw = [](RFpContext*, int stage, int, int width, int height) {
    static auto* const blendEquation = DriverEntryPoint<void(GLenum)>("glBlendEquation");
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    if (stage > 0) glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    blendEquation(stage == 1 ? GL_FUNC_REVERSE_SUBTRACT : GL_FUNC_ADD);
    glRecti(0, 0, width, height);
    if (stage > 0) glRecti(0, 0, width, height);
    blendEquation(GL_FUNC_ADD);
  };
  const Picture a = NoisePicture(1100, 9, 1);
  const auto op = Make<NodeOperator>(1, std::move(node));
  PutImage(*op, 0, ToImage(a));
  EXPECT_EQ(Evaluate(*op).bytes, a.bytes);
  // And as the second image of a blend, where it lies in the buffer itself.
  const auto top = Make<RImOpBlend>("top");
  PutImage(*top, 0, ToImage(NoisePicture(1100, 9, 2)));
  top->SetPlugInputOperator(1, kIn, op.get());
  top->PresetSet(5);
  op->IncUpdateId();
  EXPECT_EQ(Evaluate(*top).bytes, a.bytes);
}

TEST_F(OperatorGraphTest, StagesWithFeedbackStartFromIt) {
  const Registered registered;
  auto node = std::make_unique<FakeNode>();
  node->stages.assign(2, {0x80, 2, {1, 2}});
  node->draw = [](RFpContext*, int, int, int width, int height) {
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    glRecti(0, 0, width, height);
  };
  const Picture a{2, 1, {10, 20, 30, 40, 1, 2, 3, 4}};
  const Picture b{2, 1, {100, 100, 100, 100, 50, 60, 70, 80}};
  const auto op = Make<NodeOperator>(2, std::move(node));
  PutImage(*op, 0, ToImage(a));
  PutImage(*op, 1, ToImage(b));
  EXPECT_EQ(Evaluate(*op).bytes, (std::vector<unsigned char>{110, 120, 130, 140, 51, 62, 73, 84}))
      << "each stage starts from the feedback it asked for";
}

TEST_F(OperatorGraphTest, AStageThatWritesTheTextureItselfIsNotCopied) {
  const Registered registered;
  const auto op = Make<NodeOperator>(1, MakeNode({0x4000, 1}));
  op->Node().draw = [](RFpContext* drawn, int, int form, int width, int height) {
    EXPECT_EQ(form, 0x4000);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, drawn->sources[0].bits);
  };
  const Picture a = NoisePicture(6, 5, 1);
  PutImage(*op, 0, ToImage(a));
  const GLRecorder recorder;
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0x40);
  EXPECT_EQ(recorder.Count("glCopyTexSubImage2D"), 0);
  EXPECT_EQ(FromTexture(*op->GetPlugImage(0, kOut), 6, 5).bytes, a.bytes);
}

// The picture below is drawn with its texture, and nothing of that stays for the node.
TEST_F(OperatorGraphTest, AStageThatReadsTheFeedbackAloneDrawsWithoutTextures) {
  const Registered registered;
  const auto op = Make<NodeOperator>(1, MakeNode({0x20, 1}));
  op->Node().draw = [](RFpContext*, int, int form, int width, int height) {
    EXPECT_EQ(form, 0x10);
    glColor4f(1, 1, 1, 1);
    glRecti(1, 0, width, height);
  };
  const auto upstream = Make<RImOpBlend>("upstream");
  PutImage(*upstream, 0, ToImage({3, 1, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}}));
  op->SetPlugInputOperator(0, kIn, upstream.get());
  // Twice, so that the stored picture is drawn, and no other texture is made and bound in between.
  Evaluate(*op);
  op->IncUpdateId();
  const Picture result = Evaluate(*op);
  EXPECT_EQ(result.width, 720) << "no input decides the size";
  EXPECT_EQ(PixelAt(result, 0, 0), (std::array<unsigned char, 4>{1, 2, 3, 4})) << "the feedback";
  EXPECT_EQ(PixelAt(result, 1, 0), (std::array<unsigned char, 4>{255, 255, 255, 255}));
  EXPECT_EQ(PixelAt(result, 719, 485), (std::array<unsigned char, 4>{255, 255, 255, 255}));
}

TEST_F(OperatorGraphTest, ANodeThatFailsInTheMiddleLeavesTheStateAsItWas) {
  const Registered registered;
  auto node = std::make_unique<FakeNode>();
  node->stages = {{0x40, 1, {1}}, {0x40, 1, {1}}, {0x40, 1, {5}}};
  node->draw = [](RFpContext*, int, int, int width, int height) { glRecti(0, 0, width, height); };
  const auto op = Make<NodeOperator>(1, std::move(node));
  PutImage(*op, 0, ToImage(NoisePicture(8, 8, 1)));
  SetHostileState();
  const std::string before = FullStateText();
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0);
  op->Node().stages.resize(2);
  op->Node().bindResult = 0;
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0);
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
}

TEST_F(OperatorGraphTest, WhatANodeLeavesBehindDoesNotReachTheNext) {
  const Registered registered;
  const auto messy = Make<NodeOperator>(0, MakeNode({0x1, 0}));
  messy->Node().draw = [](RFpContext*, int, int, int width, int height) {
    glColor4f(1, 1, 1, 1);
    glRecti(0, 0, width, height);
    glColor4f(0.5F, 0.5F, 0.5F, 0.5F);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ZERO, GL_ONE);
  };
  const auto op = Make<RImOpBlend>("over");
  op->SetPlugInputOperator(0, kIn, messy.get());
  PutImage(*op, 1,
           MakeImage(720, 486, std::vector<unsigned char>(std::size_t{3} * 720 * 486, 9), kImageFormatRGB));
  op->PresetSet(5);
  EXPECT_EQ(PixelAt(Evaluate(*op), 700, 400), (std::array<unsigned char, 4>{9, 9, 9, 255}));
}

// Drivers take note of a quad's colours and coordinates at the next change of state only.
TEST_F(OperatorGraphTest, WhatTheHostWouldDrawWithComesBackAfterANodeThatOnlyDraws) {
  const Registered registered;
  const auto op = Make<NodeOperator>(1, MakeNode({0x100, 1}));
  op->Node().draw = [](RFpContext*, int, int, int width, int height) {
    static auto* const coordinate = DriverEntryPoint<void(GLenum, GLfloat, GLfloat)>("glMultiTexCoord2f");
    glBegin(GL_QUADS);
    for (const auto& [x, y] : {std::pair(0, 0), std::pair(1, 0), std::pair(1, 1), std::pair(0, 1)}) {
      glColor4f(1, 0, 0, 0.5F);
      coordinate(GL_TEXTURE0, static_cast<GLfloat>(x), static_cast<GLfloat>(y));
      coordinate(GL_TEXTURE1, 7, 7);
      glVertex2i(x * width, y * height);
    }
    glEnd();
  };
  const Picture a = NoisePicture(6, 5, 1);
  PutImage(*op, 0, ToImage(a));
  const std::string before = FullStateText();
  EXPECT_NE(op->ReadLock(&context, 0x40), 0);
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
  EXPECT_EQ(FromTexture(*op->GetPlugImage(0, kOut), 6, 5).bytes, a.bytes);
}

// In these modes a driver draws nothing, and counts what would be drawn for the host.
TEST_F(OperatorGraphTest, AHostThatSelectsGetsNoNewResult) {
  const Picture a = NoisePicture(6, 5, 1);
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(a));
  std::array<GLuint, 8> hits{};
  glSelectBuffer(static_cast<GLsizei>(hits.size()), hits.data());
  glRenderMode(GL_SELECT);
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0);
  EXPECT_EQ(glRenderMode(GL_RENDER), 0);
  EXPECT_EQ(Evaluate(*op).bytes, a.bytes);
  glRenderMode(GL_SELECT);
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0x40) << "the stored texture is there";
  EXPECT_EQ(glRenderMode(GL_RENDER), 0);
}

// --- Where the inputs come from.

enum class Origin { kMemory, kTexture, kOperator };

class Origins : public OperatorGraphTest, public testing::WithParamInterface<std::tuple<Origin, Origin>> {
 protected:
  void TearDown() override {
    mUpstream.clear();
    OperatorGraphTest::TearDown();
  }
  void Attach(RImOpBlend& op, int plug, Origin origin, const Picture& picture) {
    if (origin == Origin::kOperator) {
      mUpstream.push_back(Make<RImOpBlend>("copy"));
      PutImage(*mUpstream.back(), 0, ToImage(picture));
      op.SetPlugInputOperator(plug, kIn, mUpstream.back().get());
      return;
    }
    RImage* const image = PutImage(op, plug, ToImage(picture));
    if (origin == Origin::kTexture) {
      EXPECT_TRUE(image->RequestGLIncarnation(true));
    }
  }

 private:
  std::vector<RDestroyPtr<RImOpBlend>> mUpstream;
};

TEST_P(Origins, MakeNoDifference) {
  const Picture a = NoisePicture(40, 21, 1);
  const Picture b = NoisePicture(33, 50, 2);
  const auto op = Make<RImOpBlend>("over");
  Attach(*op, 0, std::get<0>(GetParam()), a);
  Attach(*op, 1, std::get<1>(GetParam()), b);
  op->PresetSet(6);
  EXPECT_LE(LargestBlendError(Over(), a, b, Evaluate(*op)), 1 + 1e-9);
}

INSTANTIATE_TEST_SUITE_P(
    Pairs, Origins,
    testing::Combine(testing::Values(Origin::kMemory, Origin::kTexture, Origin::kOperator),
                     testing::Values(Origin::kMemory, Origin::kTexture, Origin::kOperator)));

TEST_F(OperatorGraphTest, AMemoryNodeInAGraphOfTextures) {
  const Registered registered;
  const Picture a = NoisePicture(8, 4, 1);
  const auto copy = Make<NodeOperator>(1, MakeNode({0xC0000, 1}));
  PutImage(*copy, 0, ToImage(a));
  const auto op = Make<RImOpBlend>("blend");
  op->SetPlugInputOperator(0, kIn, copy.get());
  const auto after = Make<NodeOperator>(1, MakeNode({0xC0000, 1}));
  after->SetPlugInputOperator(0, kIn, op.get());
  EXPECT_EQ(after->ReadLock(&context, 0x40000), 0) << "the blend cannot be computed without the card";
  EXPECT_EQ(Evaluate(*op).bytes, a.bytes) << "from memory to the card";
  EXPECT_EQ(after->ReadLock(&context, 0x40000), 0x40000) << "but its stored result can be read back";
  RImage& result = *after->GetPlugImage(0, kOut);
  EXPECT_EQ(result.GetIncarnation(), RImage::kIncarnationRaw);
  EXPECT_EQ(Corner(result, 8, 4), a.bytes);
}

}  // namespace
}  // namespace test
