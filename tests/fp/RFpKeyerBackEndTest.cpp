// Tests that every back end of the keyer draws the same picture. The back end is that of the driver, which
// the driver shim plays: the test runs once for each.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>

#include "fp/RFpKeyer_ATI_fragment_shader.h"
#include "fp/RFpKeyer_NV_fragment_program.h"
#include "fp/RFpKeyer_NV_register_combiners2.h"
#include "support/BlendDrawing.h"
#include "support/KeyerFormula.h"
#include "support/shim/GLShim.h"

namespace test {
namespace {

constexpr int kSetsOfAProgram = 50;

struct Size {
  int width;
  int height;
};
constexpr Size kSizes[] = {{1, 1}, {37, 23}, {100, 60}, {4096, 2}};

constexpr const char* kModes[] = {"chroma", "luminance", "difference"};

// What the calls of a draw say about who drew.
struct BackEnd {
  const char* name;
  const std::type_info& node;
  bool readsTextures;
  /// Returns whether the calls are this back end's.
  bool (*drew)(const GLRecorder& calls, int mode);
};

bool NoneDrew(const GLRecorder& calls, int) {
  return calls.Count("glRecti") == 0 && calls.Count("glBegin") == 0;
}

bool Has(const GLRecorder& calls, const char* call) { return calls.Text().find(call) != std::string::npos; }

const BackEnd& GetBackEnd() {
  static const std::map<std::string, BackEnd> kBackEnds = {
      {"nv",
       {"NV fragment programs", typeid(RFpKeyer_NV_fragment_program), true,
        [](const GLRecorder& calls, int mode) {
          constexpr int kParameters[] = {4, 2, 1};
          return calls.Count("glBindProgramNV") == 1 && calls.Count("glRecti") == 1 &&
                 calls.Count("glProgramNamedParameter4fNV") == kParameters[mode] &&
                 Has(calls, "glEnable(GL_FRAGMENT_PROGRAM_NV)");
        }}},
      {"rc",
       {"NV register combiners", typeid(RFpKeyer_NV_register_combiners2), true,
        [](const GLRecorder& calls, int) {
          return calls.Count("glFinalCombinerInputNV") == 7 && calls.Count("glRecti") == 1 &&
                 Has(calls, "glEnable(GL_REGISTER_COMBINERS_NV)");
        }}},
      {"ati",
       {"ATI fragment shaders", typeid(RFpKeyer_ATI_fragment_shader), true,
        [](const GLRecorder& calls, int) {
          return calls.Count("glSetFragmentShaderConstantATI") == 4 && calls.Count("glBegin") == 1 &&
                 Has(calls, "glEnable(GL_FRAGMENT_SHADER_ATI)");
        }}},
      {"plain", {"processor", typeid(RFpKeyer_default), false, NoneDrew}},
  };
  // Mesa has ATI's fragment shaders of its own.
  return kBackEnds.at(shim::Name().empty() ? "ati" : shim::Name());
}

/// An operator that keys its first input, in difference keying against its second.
class KeyerOperator : public NodeOperator {
 public:
  KeyerOperator() : NodeOperator(2, std::unique_ptr<RFpNode>(CreateKeyerNode())) {}
  RFpKeyer& Keyer() { return dynamic_cast<RFpKeyer&>(*GetProcessingNode()); }
};

class RFpKeyerBackEndTest : public GLTest {
 protected:
  void SetUp() override {
    GLTest::SetUp();
    RImageOperator::RegisterGLOperator(nullptr);
    mOperator = Make<KeyerOperator>();
  }
  void TearDown() override {
    mOperator.reset();
    RImageOperator::UnregisterGLOperator(nullptr);
    GLTest::TearDown();
  }

  RFpKeyer& Keyer() { return mOperator->Keyer(); }
  void Put(int input, const Picture& picture) {
    ImagePtr image = ToImage(picture);
    // A texture comes back to memory with sides of powers of two, so the processor gets memory.
    EXPECT_TRUE(!GetBackEnd().readsTextures || image->RequestGLIncarnation(true));
    PutImage(*mOperator, input, std::move(image));
  }
  // Draws, and returns the picture.
  Picture Draw() {
    mOperator->IncUpdateId();
    const GLRecorder calls;
    RFpContext context;
    EXPECT_NE(mOperator->ReadLock(&context, kFormTextureMask), 0);
    EXPECT_TRUE(GetBackEnd().drew(calls, Keyer().GetMode()))
        << GetBackEnd().name << '\n'
        << calls.Text({"glEnable", "glRecti", "glBegin", "glBindProgramNV", "glProgramNamedParameter4fNV",
                       "glFinalCombinerInputNV", "glSetFragmentShaderConstantATI"});
    return FromTexture(*mOperator->GetPlugImage(0, RImageOperator::kPlugOutput), mOperator->GetWidth(),
                       mOperator->GetHeight());
  }
  // Keys A, or A against B, and compares with the formula.
  KeyerDifference Compare(const KeyerSettings& wanted, const Picture& a, const Picture& b) {
    Put(0, a);
    Put(1, b);
    ApplyTo(Keyer(), wanted);
    const KeyerSettings settings = ReadFrom(Keyer());
    const KeyerDifference found = CompareWithKey(settings, a, b, Draw());
    EXPECT_LE(found.largest, 1) << Describe(settings) << '\n' << found.where;
    return found;
  }

 private:
  RDestroyPtr<KeyerOperator> mOperator;
};

TEST_F(RFpKeyerBackEndTest, IsTheOneThatTheDriverHas) { EXPECT_EQ(typeid(Keyer()), GetBackEnd().node); }

// The table of the documentation.
TEST_F(RFpKeyerBackEndTest, DrawsTheFormulaOverRandomSettings) {
  std::printf("%-22s %-11s %-7s %-9s %10s\n", "back end", "mode", "output", "inverted", "largest");
  for (int program = 0; program < 12; ++program) {
    const int mode = program / 4;
    const int output = program / 2 % 2;
    const bool inverted = program % 2 != 0;
    Random random(static_cast<unsigned>(program) + 100);
    KeyerDifference worst;
    int pixels = 0;
    for (int i = 0; i < kSetsOfAProgram; ++i) {
      const KeyerSettings settings = RandomKey(mode, output, inverted, random);
      for (const Size& size : kSizes) {
        const Picture a = NoisePicture(size.width, size.height, 7);
        const KeyerDifference found = Compare(settings, a, NoisePicture(size.width, size.height, 8));
        worst.largest = std::max(worst.largest, found.largest);
        worst.atTheStep += found.atTheStep;
        pixels += size.width * size.height;
        if (HasFailure()) return;
      }
    }
    EXPECT_LT(worst.atTheStep, pixels / 1000) << "so few pixels that none hides a mistake";
    std::printf("%-22s %-11s %-7s %-9s %6.3f/255\n", GetBackEnd().name, kModes[mode],
                output == 0 ? "key" : "matte", inverted ? "yes" : "no", worst.largest);
  }
}

TEST_F(RFpKeyerBackEndTest, MasksCutOffEveryEdge) {
  const Picture a = NoisePicture(37, 23, 1);
  const Picture b = NoisePicture(37, 23, 2);
  Random random(1);
  for (int program = 0; program < 12; ++program) {
    for (int edges = 1; edges < 16; ++edges) {
      KeyerSettings settings = RandomKey(program / 4, program / 2 % 2, program % 2 != 0, random);
      for (unsigned edge = 0; edge < 4; ++edge) {
        if (edges >> edge & 1) settings.mask[edge] = 0.1 + 0.07 * edge;
      }
      Compare(settings, a, b);
      if (HasFailure()) return;
    }
  }
}

TEST_F(RFpKeyerBackEndTest, MasksThatOverlapLeaveNothing) {
  const Picture a = NoisePicture(37, 23, 1);
  for (const unsigned edge : {0U, 2U}) {
    KeyerSettings settings;
    settings.inverted = true;
    settings.output = 1;
    settings.mask[edge] = settings.mask[edge + 1] = 0.6;
    Put(0, a);
    ApplyTo(Keyer(), settings);
    RFpContext context;
    const GLTarget target(37, 23);
    glClearColor(1, 1, 1, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    const GLRecorder calls;
    Keyer().Draw(&context, 0, 0x40, 37, 23);
    EXPECT_EQ(calls.Count("glRecti"), 0);
    EXPECT_EQ(target.Read().bytes, std::vector<unsigned char>(std::size_t{4} * 37 * 23, 0));
  }
}

// The picture is as large as B; what A alone covers is not in it.
TEST_F(RFpKeyerBackEndTest, DifferenceKeysWhatBothImagesCover) {
  const Size sizes[][2] = {
      {{20, 30}, {37, 23}}, {{37, 23}, {20, 30}}, {{50, 40}, {37, 23}}, {{5, 4}, {37, 23}}};
  Random random(3);
  for (const auto& [sizeA, sizeB] : sizes) {
    for (int program = 8; program < 12; ++program) {
      KeyerSettings settings = RandomKey(2, program / 2 % 2, program % 2 != 0, random);
      settings.mask[1] = program % 2 == 0 ? 0.1 : 0;
      Compare(settings, NoisePicture(sizeA.width, sizeA.height, 4),
              NoisePicture(sizeB.width, sizeB.height, 5));
      if (HasFailure()) return;
    }
  }
}

TEST_F(RFpKeyerBackEndTest, ExtremeSettingsStayWithinTheFormula) {
  const Picture a = NoisePicture(37, 23, 1);
  const Picture b = NoisePicture(37, 23, 2);
  constexpr double kExtremes[] = {0, 1, 1.0 / 256, 255.0 / 256, 1e-30};
  for (int program = 0; program < 12; ++program) {
    for (const double threshold : kExtremes) {
      for (const double softness : kExtremes) {
        KeyerSettings settings;
        settings.mode = program / 4;
        settings.output = program / 2 % 2;
        settings.inverted = program % 2 != 0;
        settings.threshold = threshold;
        settings.softness = softness;
        for (const double suppression : {0.0, 1.0 / 256, 1.0}) {
          settings.suppression = suppression;
          Compare(settings, a, b);
          if (HasFailure()) return;
          if (settings.mode != 0) break;
        }
      }
    }
  }
}

// One after the other, so that nothing of a program stays behind for the next.
TEST_F(RFpKeyerBackEndTest, ProgramsFollowEachOther) {
  const Picture a = NoisePicture(37, 23, 1);
  const Picture b = NoisePicture(37, 23, 2);
  Random random(6);
  for (int i = 0; i < 60; ++i) {
    const auto program = static_cast<int>(random.Below(12));
    Compare(RandomKey(program / 4, program / 2 % 2, program % 2 != 0, random), a, b);
    if (HasFailure()) return;
  }
}

// An unknown mode or output: the processor clears, the others fail.
TEST_F(RFpKeyerBackEndTest, UnknownModesAndOutputs) {
  RFpContext context;
  for (const auto& [mode, output] : {std::pair(0, 2), std::pair(0, -1), std::pair(-1, 0), std::pair(3, 0)}) {
    Keyer().SetOutput(output);
    Keyer().SetMode(mode);
    for (const int form : {0x40, 0x80, 0x100, 0x200, 0x20000}) {
      const GLRecorder calls;
      EXPECT_EQ(Keyer().Bind(&context, 0, form), GetBackEnd().readsTextures ? 0 : 1) << mode << output;
      EXPECT_EQ(calls.Count("glEnable"), 0);
    }
    EXPECT_EQ(Keyer().Bind(&context, 0, 0x40000), 1);
    if (mode == -1) Keyer().SetMode(0);
  }
}

// What is in memory is keyed in memory, whatever the back end.
TEST_F(RFpKeyerBackEndTest, PicturesInMemory) {
  const Picture a = NoisePicture(37, 23, 1);
  const auto op = Make<KeyerOperator>();
  PutImage(*op, 0, ToImage(a));
  op->Keyer().SetThreshold(0.3F);
  op->Keyer().SetSoftness(0.5F);
  const GLRecorder calls;
  RFpContext context;
  ASSERT_NE(op->ReadLock(&context, kFormTextureMask), 0);
  EXPECT_TRUE(NoneDrew(calls, 0));
  const Picture result = FromTexture(*op->GetPlugImage(0, RImageOperator::kPlugOutput), 37, 23);
  const KeyerDifference found = CompareWithKey(ReadFrom(op->Keyer()), a, a, result);
  EXPECT_LE(found.largest, 1) << found.where;
}

// An operator behind another; the inner one's picture is rounded to 8 bits on the way.
TEST_F(RFpKeyerBackEndTest, ChainsOfOperators) {
  const Picture a = NoisePicture(100, 60, 1);
  Put(0, a);
  Keyer().SetThreshold(0.4F);
  Keyer().SetSoftness(0.7F);
  Keyer().SetMask(2, 0.2F);
  const Picture keyed = Draw();
  const auto second = Make<KeyerOperator>();
  Put(0, a);
  const auto first = Make<KeyerOperator>();
  ImagePtr image = ToImage(a);
  ASSERT_TRUE(!GetBackEnd().readsTextures || image->RequestGLIncarnation(true));
  PutImage(*first, 0, std::move(image));
  ApplyTo(first->Keyer(), ReadFrom(Keyer()));
  second->SetPlugInputOperator(0, RImageOperator::kPlugInput, first.get());
  second->Keyer().SetMode(1);
  second->Keyer().SetSoftness(1);
  second->Keyer().SetMask(0, 0.3F);
  RFpContext context;
  ASSERT_NE(second->ReadLock(&context, kFormTextureMask), 0);
  const Picture result = FromTexture(*second->GetPlugImage(0, RImageOperator::kPlugOutput), 100, 60);
  const KeyerDifference found = CompareWithKey(ReadFrom(second->Keyer()), keyed, keyed, result);
  EXPECT_LE(found.largest, 1) << found.where;
}

}  // namespace
}  // namespace test
