// The fixture of tests that compose stereo pictures.
#pragma once

#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>

#include <memory>
#include <string>
#include <vector>

#include "rbaselib/RMessageHandler.h"
#include "stereo/RImageStereoCompostior.h"
#include "support/BlendFormula.h"
#include "support/CgInterposer.h"
#include "support/GLTest.h"
#include "support/StereoFormula.h"

namespace test {

inline constexpr int kStereoModes = 6;

/// Keeps the warnings that the module shows, as "title|text|button".
class WarningKeeper : public RMessageHandler {
 public:
  WarningKeeper() { SetMainMessageHandler(this); }
  ~WarningKeeper() override { SetMainMessageHandler(nullptr); }
  WarningKeeper(const WarningKeeper&) = delete;
  WarningKeeper& operator=(const WarningKeeper&) = delete;

  void DisplayWarning(const char* title, const char* text, const char* button) override {
    warnings.push_back(std::string(title) + '|' + text + '|' + button);
  }
  std::vector<std::string> warnings;
};

/// One call of `Process`.
struct StereoCall {
  unsigned mode = 0;
  unsigned policy = 0;
  unsigned xBase = 0;
  unsigned yBase = 0;
  unsigned x = 0;
  unsigned y = 0;
  unsigned width = 16;
  unsigned height = 12;
};

/// A test with two eyes as textures and a compositor. A warning that the test does not expect fails it.
class StereoTest : public GLTest {
 protected:
  void SetUp() override {
    GLTest::SetUp();
    MakeEyes(16, 12);
    mCompositor = std::make_unique<RImageStereoCompostior>();
  }
  void TearDown() override {
    mCompositor.reset();
    glDeleteTextures(2, mEyes);
    EXPECT_TRUE(mWarnings.warnings.empty()) << mWarnings.warnings.front();
    GLTest::TearDown();
  }

  void MakeEyes(int width, int height) {
    glDeleteTextures(2, mEyes);
    mLeft = NoisePicture(width, height, 1);
    mRight = NoisePicture(width, height, 2);
    mEyes[0] = MakeTexture(width, height, GL_RGBA, mLeft.bytes.data());
    mEyes[1] = MakeTexture(width, height, GL_RGBA, mRight.bytes.data());
  }

  void Process(const StereoCall& call) {
    mCompositor->Process(static_cast<EStereoDisplayMode>(call.mode), static_cast<EBufferPolicy>(call.policy),
                         mEyes[0], mEyes[1], call.xBase, call.yBase, call.x, call.y, call.width, call.height);
  }

  /// Returns a rectangle of the bound framebuffer.
  static Picture Read(int x, int y, int width, int height) {
    return {width, height, ReadFramebuffer(x, y, width, height).bytes};
  }
  /// Returns the compositor's own buffer.
  Picture ReadOwn() const {
    const GLPixels pixels = ReadTexture(mCompositor->GetCompostionTextureId(), GL_RGBA);
    return {pixels.width, pixels.height, pixels.bytes};
  }

  static StereoSettings SettingsOf(const StereoCall& call) {
    StereoSettings settings;
    settings.mode = static_cast<int>(call.mode);
    settings.xBase = static_cast<int>(call.xBase);
    settings.yBase = static_cast<int>(call.yBase);
    settings.width = static_cast<int>(call.width);
    settings.height = static_cast<int>(call.height);
    return settings;
  }
  /// Whether a picture is what a call makes of the eyes, on black that shows nothing unless `settings` say
  /// more.
  testing::AssertionResult Shows(const StereoCall& call, const Picture& picture, double tolerance = 1,
                                 double* largest = nullptr) const {
    return IsStereo(SettingsOf(call), mLeft, mRight, picture, tolerance, largest);
  }

  WarningKeeper mWarnings;
  GLuint mEyes[2] = {0, 0};
  Picture mLeft;
  Picture mRight;
  std::unique_ptr<RImageStereoCompostior> mCompositor;
};

}  // namespace test
