// Tests that every back end of the colour correction draws the same picture. The back end is that of the
// driver, which the driver shim plays: the test runs once for each.
#include <gtest/gtest.h>

#include <QImage>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "fp/RFpCC_ATI_fragment_shader.h"
#include "fp/RFpCC_NV_fragment_program.h"
#include "fp/RFpCC_NV_register_combiners2.h"
#include "fp/RFpCC_SGI_color_matrix.h"
#include "operators/RImOpCC.h"
#include "support/BlendDrawing.h"
#include "support/RandomCorrection.h"
#include "support/shim/GLShim.h"

namespace test {
namespace {

constexpr int kSetsOfAFamily = 40;

struct Size {
  int width;
  int height;
};
constexpr Size kSizes[] = {{1, 1}, {37, 23}, {100, 60}, {4096, 2}};

class ProbeCC : public RImOpCC {
 public:
  using RImOpCC::RImOpCC;
  RFpCC_default& Node() { return dynamic_cast<RFpCC_default&>(*GetProcessingNode()); }
};

// What the calls of a draw say about who drew.
struct BackEnd {
  const char* name;
  const std::type_info& node;
  bool readsTextures;
  /// Returns whether the calls are this back end's, for one matrix or for three zones.
  bool (*drew)(const GLRecorder& calls, bool zones);
};

bool NoneDrew(const GLRecorder& calls) {
  return calls.Count("glRecti") == 0 && calls.Count("glBegin") == 0 && calls.Count("glDrawPixels") == 0 &&
         calls.Count("glCopyPixels") == 0;
}

const BackEnd& GetBackEnd() {
  static const std::map<std::string, BackEnd> kBackEnds = {
      {"nv",
       {"NV fragment programs", typeid(RFpCC_NV_fragment_program), true,
        [](const GLRecorder& calls, bool zones) {
          return calls.Count("glBindProgramNV") == 1 && calls.Count("glRecti") == 1 &&
                 calls.Count("glProgramNamedParameter4fNV") == (zones ? 14 : 5);
        }}},
      {"rc",
       {"NV register combiners", typeid(RFpCC_NV_register_combiners2), true,
        [](const GLRecorder& calls, bool zones) {
          return calls.Count("glCallList") == (zones ? 3 : 1) && calls.Count("glRecti") == (zones ? 3 : 1) &&
                 calls.Text().find("glEnable(GL_REGISTER_COMBINERS_NV)") != std::string::npos;
        }}},
      {"ati",
       {"ATI fragment shaders", typeid(RFpCC_ATI_fragment_shader), true,
        [](const GLRecorder& calls, bool zones) {
          return calls.Count("glSetFragmentShaderConstantATI") == (zones ? 15 : 4) &&
                 calls.Count("glBegin") == (zones ? 3 : 1);
        }}},
      {"sgi",
       {"SGI colour matrix", typeid(RFpCC_SGI_color_matrix), true,
        [](const GLRecorder& calls, bool zones) {
          return zones ? NoneDrew(calls) : calls.Count("glCopyPixels") == 1;
        }}},
      {"plain",
       {"processor", typeid(RFpCC_default), false,
        [](const GLRecorder& calls, bool) { return NoneDrew(calls); }}},
  };
  // Mesa has ATI's fragment shaders of its own.
  return kBackEnds.at(shim::Name().empty() ? "ati" : shim::Name());
}

// A picture of noise whose alpha takes all values and whose first pixels are the extreme ones.
Picture Input(Size size) { return NoisePicture(size.width, size.height, 7); }

// Draws the picture's difference from the formula, red where it is too large, beside the test.
std::string WriteHeatMap(const Picture& picture, const std::vector<double>& differences, double tolerance,
                         const std::string& name) {
  QImage image(picture.width, picture.height, QImage::Format_RGB888);
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const double share = differences[static_cast<std::size_t>(y * picture.width + x)] / tolerance;
      const int grey = static_cast<int>(std::min(share, 1.0) * 255);
      image.setPixel(x, picture.height - 1 - y, share > 1 ? qRgb(255, 0, 0) : qRgb(grey, grey, grey));
    }
  }
  const std::string path = std::filesystem::absolute(name + ".png").string();
  return image.save(QString::fromStdString(path)) ? path : "(no heat map could be written)";
}

class RImOpCCBackEndTest : public GLTest {
 protected:
  struct Differences {
    double largest = 0;
    double ofTolerance = 0;
  };

  // Draws the picture with the settings and compares every pixel with the formula.
  Differences Compare(ProbeCC& op, const Picture& input, const CorrectionSettings& settings);
};

RImOpCCBackEndTest::Differences RImOpCCBackEndTest::Compare(ProbeCC& op, const Picture& input,
                                                            const CorrectionSettings& wanted) {
  ImagePtr image = ToImage(input);
  const BackEnd& backEnd = GetBackEnd();
  // A texture comes back to memory with sides of powers of two, so that the processor gets memory.
  const bool textured = backEnd.readsTextures && !(shim::Name() == "sgi" && UsesZones(wanted));
  EXPECT_TRUE(!textured || image->RequestGLIncarnation(true));
  PutImage(op, 0, std::move(image));
  ApplyTo(op.Node(), wanted);
  op.IncUpdateId();
  const CorrectionSettings settings = ReadFrom(op.Node());
  Picture result;
  {
    const GLRecorder calls;
    RFpContext context;
    EXPECT_NE(op.ReadLock(&context, kFormTextureMask), 0);
    EXPECT_TRUE(backEnd.drew(calls, UsesZones(settings))) << backEnd.name << '\n' << calls.Text();
  }
  result = FromTexture(*op.GetPlugImage(0, RImageOperator::kPlugOutput), input.width, input.height);
  const CorrectionModel model(settings);
  const double tolerance = CorrectionTolerance(settings);
  Differences found;
  std::vector<double> differences;
  for (std::size_t pixel = 0; pixel < input.bytes.size(); pixel += 4) {
    Rgba colour{};
    for (std::size_t i = 0; i < 4; ++i) colour[i] = input.bytes[pixel + i] / 255.0;
    const Rgba expected = model.Correct(colour);
    double largest = 0;
    for (std::size_t i = 0; i < 4; ++i)
      largest =
          std::max(largest, std::abs(result.bytes[pixel + i] / 255.0 - std::clamp(expected[i], 0.0, 1.0)));
    differences.push_back(largest);
    found.largest = std::max(found.largest, largest);
  }
  found.ofTolerance = found.largest / tolerance;
  EXPECT_LE(found.largest, tolerance)
      << Describe(settings)
      << "heat map: " << WriteHeatMap(input, differences, tolerance, "correction_heat_" + shim::Name());
  return found;
}

TEST_F(RImOpCCBackEndTest, IsTheOneThatTheDriverHas) {
  const auto op = Make<ProbeCC>("correct");
  EXPECT_EQ(typeid(op->Node()), GetBackEnd().node);
}

// The table of the documentation.
TEST_F(RImOpCCBackEndTest, DrawsTheFormulaOverRandomSettings) {
  const auto op = Make<ProbeCC>("correct");
  std::printf("%-22s %-22s %10s %14s\n", "back end", "settings", "largest", "of the bound");
  for (const CorrectionFamily family : kCorrectionFamilies) {
    Random random(static_cast<unsigned>(family) + 100);
    Differences worst;
    for (int i = 0; i < kSetsOfAFamily; ++i) {
      const CorrectionSettings settings = RandomCorrection(family, random);
      for (const Size& size : kSizes) {
        const Differences found = Compare(*op, Input(size), settings);
        worst.largest = std::max(worst.largest, found.largest);
        worst.ofTolerance = std::max(worst.ofTolerance, found.ofTolerance);
        if (HasFailure()) return;
      }
    }
    std::printf("%-22s %-22s %6.3f/255 %13.0f%%\n", GetBackEnd().name, NameOf(family), worst.largest * 255,
                worst.ofTolerance * 100);
  }
}

// Memory is corrected in memory, but by the colour matrix, which takes it as it is.
TEST_F(RImOpCCBackEndTest, PicturesInMemory) {
  for (const bool zones : {false, true}) {
    const auto op = Make<ProbeCC>("correct");
    const Picture input = Input({37, 23});
    PutImage(*op, 0, ToImage(input));
    op->TransparencySet(true);
    op->ContrastSet(1.5);
    if (zones) op->ShadowHueSet(90);
    const GLRecorder calls;
    RFpContext context;
    ASSERT_NE(op->ReadLock(&context, kFormTextureMask), 0);
    const bool transfers = shim::Name() == "sgi" && !zones;
    EXPECT_EQ(calls.Count("glDrawPixels"), transfers ? 1 : 0);
    EXPECT_EQ(NoneDrew(calls), !transfers) << calls.Text();
    const Picture result = FromTexture(*op->GetPlugImage(0, RImageOperator::kPlugOutput), 37, 23);
    const CorrectionSettings settings = ReadFrom(op->Node());
    for (std::size_t i = 0; i < input.bytes.size(); i += 4) {
      Rgba colour{};
      for (std::size_t c = 0; c < 4; ++c) colour[c] = input.bytes[i + c] / 255.0;
      const Rgba expected = CorrectColour(settings, colour);
      for (std::size_t c = 0; c < 4; ++c)
        ASSERT_NEAR(result.bytes[i + c] / 255.0, std::clamp(expected[c], 0.0, 1.0),
                    CorrectionTolerance(settings));
    }
  }
}

// An operator behind another, both with zones: the inner evaluation must not disturb what the outer adds up.
TEST_F(RImOpCCBackEndTest, ChainsOfOperators) {
  const Picture input = Input({100, 60});
  const auto first = Make<ProbeCC>("first");
  const auto second = Make<ProbeCC>("second");
  PutImage(*first, 0, ToImage(input));
  second->SetPlugInputOperator(0, RImageOperator::kPlugInput, first.get());
  for (ProbeCC* const op : {first.get(), second.get()}) op->TransparencySet(true);
  first->ShadowHueSet(120);
  first->HighlightContrastSet(0.5);
  second->GammaSet(1.5);
  second->MidSaturationSet(2);
  const Picture result = Evaluate(*second);
  const CorrectionSettings settings = ReadFrom(second->Node());
  const CorrectionModel one(ReadFrom(first->Node()));
  const CorrectionModel two(settings);
  // What lies between is rounded to 8 bits, by which the second one's result can move.
  const double tolerance = CorrectionTolerance(settings) + two.SumOfCoefficients() * 0.51 / 255;
  for (std::size_t i = 0; i < input.bytes.size(); i += 4) {
    Rgba colour{};
    for (std::size_t c = 0; c < 4; ++c) colour[c] = input.bytes[i + c] / 255.0;
    colour = one.Correct(colour);
    for (double& value : colour) value = std::clamp(value, 0.0, 1.0);
    const Rgba expected = two.Correct(colour);
    for (std::size_t c = 0; c < 4; ++c)
      ASSERT_NEAR(result.bytes[i + c] / 255.0, std::clamp(expected[c], 0.0, 1.0), tolerance) << i / 4;
  }
}

TEST(HeatMap, ShowsWhatIsTooLargeInRed) {
  const Picture picture{2, 2, std::vector<unsigned char>(16)};
  const std::string path = WriteHeatMap(picture, {0, 0.5, 1, 1.5}, 1, "heat_map_test_" + shim::Name());
  const QImage image(QString::fromStdString(path));
  ASSERT_EQ(image.size(), QSize(2, 2)) << path;
  EXPECT_EQ(image.pixel(0, 1), qRgb(0, 0, 0)) << "the bottom row comes first";
  EXPECT_EQ(image.pixel(1, 1), qRgb(127, 127, 127));
  EXPECT_EQ(image.pixel(0, 0), qRgb(255, 255, 255));
  EXPECT_EQ(image.pixel(1, 0), qRgb(255, 0, 0));
  std::filesystem::remove(path);
}

}  // namespace
}  // namespace test
