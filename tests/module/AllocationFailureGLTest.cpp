// Memory that runs out at every allocation in turn, where OpenGL draws: in the reader of textures, uploads,
// the effects, and the stereo compositor with its Cg programs. None leaves OpenGL objects behind. The
// effects' back ends are those of the driver, which the driver shim plays: their cases run once for each.
#include <GL/gl.h>

#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "dds/nv_dds.h"
#include "module/EntryPointrimage.h"
#include "operators/RImOpBlend.h"
#include "operators/RImOpCC.h"
#include "operators/RImOpKeyer.h"
#include "rbaselib/RMessageHandler.h"
#include "stereo/RImageStereoCompostior.h"
#include "support/AllocationFailureTest.h"
#include "support/CaseName.h"
#include "support/GLTest.h"
#include "support/TestData.h"
#include "support/shim/GLShim.h"

namespace {

using test::Result;
using test::Work;

// --- Textures

// Textures that go whatever happens.
class Textures {
 public:
  explicit Textures(std::size_t count) : mNames(count) {
    glGenTextures(static_cast<GLsizei>(count), mNames.data());
  }
  ~Textures() { glDeleteTextures(static_cast<GLsizei>(mNames.size()), mNames.data()); }
  Textures(const Textures&) = delete;
  Textures& operator=(const Textures&) = delete;
  GLuint operator[](std::size_t index) const { return mNames[index]; }

 private:
  std::vector<GLuint> mNames;
};

Work ReaderOf(const char* file) {
  const std::string path = test::DataPath(std::string("dds/") + file + ".dds");
  return {std::string("Read_") + file,
          [path] { return test::TakeImage(RImage::ImageFileRead(path.c_str())); }};
}

Work UploadOf(const char* file) {
  const std::string path = test::DataPath(std::string("dds/") + file + ".dds");
  return {std::string("Upload_") + file, [path]() -> Result {
            nv_dds::CDDSImage image;
            if (!image.load(path.c_str(), false)) return std::nullopt;
            const Textures textures(1);
            glBindTexture(GL_TEXTURE_2D, textures[0]);
            if (!image.upload_texture2D(0, GL_TEXTURE_2D, 0)) return std::nullopt;
            return test::ReadTexture(textures[0], GL_RGBA).bytes;
          }};
}

Result PixelsOfTexture(RImage& image) { return test::ReadTexture(image.GetTextureID(), GL_RGBA).bytes; }

// To a texture and back.
Result ChangeIncarnation() {
  const test::ProbePtr image = test::MakeNoiseOrNull(kImageFormatBGRA);
  if (!image || !image->RequestGLIncarnation(true)) return std::nullopt;
  Result result = PixelsOfTexture(*image);
  if (!image->RequestIncarnation(RImage::kIncarnationRaw, true)) return std::nullopt;
  const auto raw = test::BytesOf(*image);
  result->insert(result->end(), raw.begin(), raw.end());
  return result;
}

// --- Effects

// An effect, with settings that its back ends take different ways for.
struct Effect {
  const char* name;
  const char* className;
  void (*set)(RImageOperator& op);
};

constexpr Effect kEffects[] = {
    {"Chroma", "RImOpKeyer", [](RImageOperator& op) { dynamic_cast<RImOpKeyer&>(op).ModeSet(kFpKeyChroma); }},
    {"Luminance", "RImOpKeyer",
     [](RImageOperator& op) { dynamic_cast<RImOpKeyer&>(op).ModeSet(kFpKeyLuminance); }},
    {"Difference", "RImOpKeyer",
     [](RImageOperator& op) { dynamic_cast<RImOpKeyer&>(op).ModeSet(kFpKeyDifference); }},
    {"Matrix", "RImOpCC", [](RImageOperator& op) { dynamic_cast<RImOpCC&>(op).SaturationSet(2); }},
    {"Zones", "RImOpCC", [](RImageOperator& op) { dynamic_cast<RImOpCC&>(op).ShadowSaturationSet(2); }},
    {"Blend", "RImOpBlend", [](RImageOperator& op) { dynamic_cast<RImOpBlend&>(op).PresetSet(1); }},
};

using OperatorPtr = RDestroyPtr<RImageOperator>;

// Makes the effect with inputs in memory or, if it `hasTextures`, in textures, which the back ends draw with
// where pictures in memory may be left to the processor.
OperatorPtr MakeEffect(const Effect& effect, bool hasTextures) {
  OperatorPtr op = test::MakeConnectedEffect(effect.className);
  if (!op) return op;
  effect.set(*op);
  for (int i = 0; hasTextures && i < op->GetNbPlugs(RImageOperator::kPlugInput); ++i) {
    if (!op->GetPlugImage(i, RImageOperator::kPlugInput)->RequestGLIncarnation(true)) return OperatorPtr();
  }
  return op;
}

Result Draw(RImageOperator& op) {
  RFpContext context;
  if (op.ReadLock(&context, kFormTextureMask) == 0) return std::nullopt;
  RImage* const image = op.GetPlugImage(0, RImageOperator::kPlugOutput);
  const Result result = image ? PixelsOfTexture(*image) : std::nullopt;
  (void)op.ReadUnLock(&context, kFormTextureMask);
  return result;
}

Work DrawingOf(const Effect& effect, bool hasTextures) {
  return {std::string("Draw_") + effect.name + (hasTextures ? "_textures" : "_memory"),
          [&effect, hasTextures]() -> Result {
            const auto op = MakeEffect(effect, hasTextures);
            return op ? Draw(*op) : std::nullopt;
          }};
}

// --- Stereo

// Notes that there was a warning, without keeping it, for which memory may lack.
class WarningCounter : public RMessageHandler {
 public:
  WarningCounter() { SetMainMessageHandler(this); }
  ~WarningCounter() override { SetMainMessageHandler(nullptr); }
  WarningCounter(const WarningCounter&) = delete;
  WarningCounter& operator=(const WarningCounter&) = delete;

  void DisplayWarning(const char*, const char*, const char*) override { ++count; }
  int count = 0;
};

// A new compositor draws two eyes into its buffer. What lacks programs is told.
Result Compose(unsigned mode) {
  constexpr int kWidth = 16;
  constexpr int kHeight = 12;
  WarningCounter warnings;
  const Textures eyes(2);
  for (unsigned i = 0; i < 2; ++i) {
    glBindTexture(GL_TEXTURE_2D, eyes[i]);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, kWidth, kHeight, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                 test::Noise(std::size_t{4} * kWidth * kHeight, i).data());
  }
  RImageStereoCompostior compositor;
  try {
    compositor.Process(static_cast<EStereoDisplayMode>(mode), eOffscreenBuffer, eyes[0], eyes[1], 0, 0, 0, 0,
                       kWidth, kHeight);
  } catch (const std::bad_alloc&) {
    return std::nullopt;  // of the Cg runtime, whatever the size of a program's text
  }
  const GLuint own = compositor.GetCompostionTextureId();
  if (own == 0 || warnings.count > 0) return std::nullopt;
  return test::ReadTexture(own, GL_RGBA).bytes;
}

std::vector<Work> Works() {
  EntryPointrimage(kDllStart);
  std::vector<Work> works = {ReaderOf("magnum_dxt3"),
                             ReaderOf("oiio_dds_rgba8"),
                             UploadOf("magnum_dxt3"),
                             UploadOf("oiio_dds_rgba8"),
                             {"ChangeIncarnation", ChangeIncarnation}};
  for (const Effect& effect : kEffects) {
    for (const bool hasTextures : {false, true}) works.push_back(DrawingOf(effect, hasTextures));
  }
  constexpr unsigned kModes = 6;
  for (unsigned mode = 0; mode < kModes; ++mode)
    works.push_back({"Compose_" + std::to_string(mode), [mode] { return Compose(mode); }});
  return works;
}

class AllocationFailureGLTest : public test::AllocationFailureTest<test::GLTest> {
 protected:
  // The reader of textures leaves no context current.
  void Prepare() override { ASSERT_TRUE(Host().MakeCurrent()); }
  void TearDown() override {
    Prepare();
    GLTest::TearDown();
  }
};

TEST_P(AllocationFailureGLTest, EachIsAFailureOfTheWhole) { RunWithoutEach(); }

INSTANTIATE_TEST_SUITE_P(OpenGL, AllocationFailureGLTest, testing::ValuesIn(Works()), test::CaseName());

// --- The effects' back ends

class EffectGLTest : public test::GLTest, public testing::WithParamInterface<Effect> {
 protected:
  static Result DrawNew(bool hasTextures) { return Draw(*MakeEffect(GetParam(), hasTextures)); }

  // Draws without each allocation in turn and with all of them afterwards, on the same operator.
  static void DrawWithoutEach(bool hasTextures, bool isDrawnBefore);

  // Returns an operator that is to draw with the effect's settings and, if it `isDrawnBefore`, has drawn with
  // others.
  static OperatorPtr Make(bool hasTextures, bool isDrawnBefore) {
    if (!isDrawnBefore) return MakeEffect(GetParam(), hasTextures);
    Effect plain = GetParam();
    plain.set = [](RImageOperator&) {};
    OperatorPtr op = MakeEffect(plain, hasTextures);
    EXPECT_TRUE(Draw(*op));
    GetParam().set(*op);
    op->IncUpdateId();
    return op;
  }
};

void EffectGLTest::DrawWithoutEach(bool hasTextures, bool isDrawnBefore) {
  const Result expected = DrawNew(hasTextures);
  ASSERT_TRUE(expected);
  bool failed = true;
  for (int which = 0; failed; ++which) {
    SCOPED_TRACE(testing::Message() << which << (hasTextures ? ", textures" : ", memory")
                                    << (isDrawnBefore ? ", drawn before" : ""));
    const OperatorPtr op = Make(hasTextures, isDrawnBefore);
    {
      const test::AllocationFailure failure(which);
      try {
        const Result result = Draw(*op);
        EXPECT_TRUE(!result || result == expected);
      } catch (const std::bad_alloc&) {
      }
      failed = failure.FailedSize() > 0;
    }
    EXPECT_TRUE(Draw(*op) == expected);
  }
}

// Returns a call by which the driver's back end draws the effect; null where no extension does.
const char* CallOf(const Effect& effect) {
  if (std::string_view(effect.className) == "RImOpBlend") return nullptr;
  const std::string_view driver = test::shim::Name();
  if (driver == "rc") return "glEnable(GL_REGISTER_COMBINERS_NV)";
  if (driver == "nv") return "glEnable(GL_FRAGMENT_PROGRAM_NV)";
  // Mesa has ATI's fragment shaders of its own.
  if (driver == "ati" || driver.empty()) return "glEnable(GL_FRAGMENT_SHADER_ATI)";
  return driver == "sgi" && std::string_view(effect.name) == "Matrix" ? "glCopyPixels" : nullptr;
}

TEST_P(EffectGLTest, IsDrawnByTheDriversBackEnd) {
  const test::GLRecorder calls;
  EXPECT_TRUE(DrawNew(true));
  for (const char* call : {"glEnable(GL_REGISTER_COMBINERS_NV)", "glEnable(GL_FRAGMENT_PROGRAM_NV)",
                           "glEnable(GL_FRAGMENT_SHADER_ATI)", "glCopyPixels"}) {
    const char* const own = CallOf(GetParam());
    EXPECT_EQ(calls.Text().find(call) != std::string::npos, own && std::string_view(own) == call) << call;
  }
}

// What was prepared in part is not taken for done.
TEST_P(EffectGLTest, IsDrawnAgainAfterAFailure) {
  for (const bool hasTextures : {false, true}) {
    for (const bool isDrawnBefore : {false, true}) DrawWithoutEach(hasTextures, isDrawnBefore);
  }
}

std::string NameOf(const testing::TestParamInfo<Effect>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(BackEnd, EffectGLTest, testing::ValuesIn(kEffects), NameOf);

}  // namespace
