// The pictures of the stereo compositor.
#include "stereo/RImageStereoCompostior.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <type_traits>

#include "support/StereoTest.h"

namespace {

using test::Picture;
using test::StereoCall;
using test::StereoSettings;

using RImageStereoCompostiorTest = test::StereoTest;

static_assert(eColorAnaglyph == 0 && eGrayAnaglyph == 1 && eRowInterleaved == 2 && eCheckerboard == 3 &&
              eSideBySide == 4 && eSideBySideSwapped == 5);
static_assert(eCurrentBuffer == 0 && eOffscreenBuffer == 1);
static_assert(RImageStereoCompostior::eCheckerboard == eCheckerboard);
static_assert(std::is_same_v<std::underlying_type_t<EStereoDisplayMode>, unsigned int>);
static_assert(std::is_same_v<std::underlying_type_t<EBufferPolicy>, unsigned int>);
static_assert(sizeof(RImageStereoCompostior) == sizeof(void*), "the state is behind one pointer");
static_assert(!std::is_polymorphic_v<RImageStereoCompostior>);
static_assert(!std::is_copy_constructible_v<RImageStereoCompostior>);

// A whole frame in each mode, with eyes of the frame's size; the table of the documentation.
TEST_F(RImageStereoCompostiorTest, EveryModeGivesItsPicture) {
  std::array<double, test::kStereoModes> largest = {};
  for (const auto& [width, height] :
       {std::pair{16U, 12U}, {101U, 67U}, {64U, 33U}, {7U, 40U}, {2U, 4U}, {5U, 3U}}) {
    MakeEyes(static_cast<int>(width), static_cast<int>(height));
    const test::GLTarget target(static_cast<int>(width), static_cast<int>(height));
    for (unsigned mode = 0; mode < test::kStereoModes; ++mode) {
      for (const auto& [xBase, yBase] : {std::pair{0U, 0U}, {1U, 0U}, {0U, 1U}, {1U, 1U}, {1366U, 767U}}) {
        glClearColor(0, 0, 0, 0);
        glClear(GL_COLOR_BUFFER_BIT);
        const StereoCall call{mode, 0, xBase, yBase, 0, 0, width, height};
        Process(call);
        const Picture frame = Read(0, 0, static_cast<int>(width), static_cast<int>(height));
        EXPECT_TRUE(Shows(call, frame, 1, &largest[mode]))
            << "mode " << mode << ", " << width << " x " << height << ", base " << xBase << ", " << yBase;
      }
    }
  }
  for (unsigned mode = 0; mode < test::kStereoModes; ++mode)
    std::printf("mode %u: largest difference %.3f/255\n", mode, largest[mode]);
}

TEST_F(RImageStereoCompostiorTest, TheOwnBufferGetsTheSamePicture) {
  glClearColor(0, 0, 0, 0);
  for (const auto& [width, height] : {std::pair{16U, 12U}, {101U, 67U}, {33U, 64U}}) {
    MakeEyes(static_cast<int>(width), static_cast<int>(height));
    for (unsigned mode = 0; mode < test::kStereoModes; ++mode) {
      mCompositor = std::make_unique<RImageStereoCompostior>();
      for (unsigned base = 0; base < 3; ++base) {
        const StereoCall call{mode, 1, base, 2 * base, 0, 0, width, height};
        Process(call);
        EXPECT_TRUE(Shows(call, ReadOwn())) << "mode " << mode << ", " << width << " x " << height;
      }
    }
  }
}

TEST_F(RImageStereoCompostiorTest, EyesOfAnotherSizeAreReadBetweenTheirPixels) {
  MakeEyes(37, 23);
  const test::GLTarget target(101, 67);
  for (unsigned mode = 0; mode < test::kStereoModes; ++mode) {
    glClear(GL_COLOR_BUFFER_BIT);
    const StereoCall call{mode, 0, 0, 0, 0, 0, 101, 67};
    Process(call);
    // Drivers weigh neighbours in steps of 1/256, twice.
    double largest = 0;
    EXPECT_TRUE(Shows(call, Read(0, 0, 101, 67), 2.5, &largest)) << "mode " << mode;
    std::printf("mode %u: largest difference %.3f/255\n", mode, largest);
  }
}

TEST_F(RImageStereoCompostiorTest, NothingOutsideTheViewportIsTouched) {
  const test::GLTarget target(40, 30);
  for (unsigned mode = 0; mode < test::kStereoModes; ++mode) {
    glClearColor(0.2F, 0.4F, 0.6F, 0.8F);
    glClear(GL_COLOR_BUFFER_BIT);
    const Picture before = Read(0, 0, 40, 30);
    const StereoCall call{mode, 0, 0, 0, 5, 9, 17, 13};
    Process(call);
    StereoSettings settings = SettingsOf(call);
    settings.background = {0.2, 0.4, 0.6, 0.8};
    settings.isDividerWhite = false;
    const Picture after = Read(0, 0, 40, 30);
    EXPECT_TRUE(test::IsStereo(settings, mLeft, mRight, Read(5, 9, 17, 13), 2.5)) << "mode " << mode;
    for (int y = 0; y < 30; ++y) {
      for (int x = 0; x < 40; ++x) {
        if (x >= 5 && x < 22 && y >= 9 && y < 22) continue;
        ASSERT_EQ(PixelAt(after, x, y), PixelAt(before, x, y)) << "mode " << mode << " at " << x << ", " << y;
      }
    }
  }
}

// The pattern stays where it is on the screen, whichever part of the screen the viewport covers: rows are
// counted from the top, so a viewport that begins one row lower has a base that is one higher.
TEST_F(RImageStereoCompostiorTest, ThePatternIsLockedToTheScreen) {
  const std::vector<unsigned char> white(4UL * 16 * 12, 255);
  const std::vector<unsigned char> black(4UL * 16 * 12, 0);
  glBindTexture(GL_TEXTURE_2D, mEyes[0]);
  glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 16, 12, GL_RGBA, GL_UNSIGNED_BYTE, white.data());
  glBindTexture(GL_TEXTURE_2D, mEyes[1]);
  glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 16, 12, GL_RGBA, GL_UNSIGNED_BYTE, black.data());
  const test::GLTarget screen(20, 20);
  for (const unsigned mode : {2U, 3U}) {
    Process({mode, 0, 0, 0, 0, 0, 20, 20});
    const Picture whole = Read(0, 0, 20, 20);
    for (const auto& [x, top, width, height] :
         {std::array{3U, 4U, 9U, 7U}, {0U, 1U, 20U, 19U}, {1U, 0U, 10U, 10U}, {7U, 13U, 5U, 6U}}) {
      Process({mode, 0, x, top, x, 20 - top - height, width, height});
      EXPECT_EQ(Read(0, 0, 20, 20).bytes, whole.bytes) << "mode " << mode << " from " << x << ", " << top;
    }
  }
}

TEST_F(RImageStereoCompostiorTest, OddRowsOfTheScreenShowTheLeftEye) {
  const test::GLTarget target(16, 12);
  for (const unsigned base : {0U, 1U}) {
    Process({2, 0, 0, base, 0, 0, 16, 12});
    const Picture picture = Read(0, 0, 16, 12);
    for (int row = 0; row < 12; ++row) {
      const Picture& eye = (row + static_cast<int>(base)) % 2 == 1 ? mLeft : mRight;
      for (int x = 0; x < 16; ++x) ASSERT_EQ(PixelAt(picture, x, 11 - row), PixelAt(eye, x, 11 - row)) << row;
    }
  }
}

TEST_F(RImageStereoCompostiorTest, TheGreyAnaglyphExchangesTheWeightsOfRedAndBlue) {
  MakeEyes(1, 1);
  const test::GLTarget target(1, 1);
  for (const auto& [colour, grey] : {std::pair{std::array<unsigned char, 4>{255, 0, 0, 10}, 29.07},
                                     {std::array<unsigned char, 4>{0, 255, 0, 10}, 149.685},
                                     {std::array<unsigned char, 4>{0, 0, 255, 10}, 76.2195}}) {
    glBindTexture(GL_TEXTURE_2D, mEyes[0]);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, colour.data());
    Process({1, 0, 0, 0, 0, 0, 1, 1});
    EXPECT_NEAR(Read(0, 0, 1, 1).bytes[0], grey, 0.51);
    EXPECT_EQ(Read(0, 0, 1, 1).bytes[3], mRight.bytes[3]) << "alpha is the right eye's";
  }
}

TEST_F(RImageStereoCompostiorTest, TheViewsSideBySideHaveNoAlpha) {
  const test::GLTarget target(16, 12);
  glClearColor(0, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  Process({4, 0, 0, 0, 0, 0, 16, 12});
  const Picture picture = Read(0, 0, 16, 12);
  EXPECT_EQ(PixelAt(picture, 2, 5)[3], 0) << "a view";
  EXPECT_EQ(PixelAt(picture, 2, 0), (std::array<unsigned char, 4>{0, 0, 0, 255})) << "beside them";
}

TEST_F(RImageStereoCompostiorTest, OtherModesDrawNothing) {
  const test::GLTarget target(16, 12);
  glClearColor(0.2F, 0.4F, 0.6F, 0.8F);
  glClear(GL_COLOR_BUFFER_BIT);
  const Picture before = Read(0, 0, 16, 12);
  for (const unsigned mode : {6U, 7U, 1000U, 0xFFFFFFFFU}) {
    const test::GLRecorder recorder;
    Process({mode, 0, 0, 0, 0, 0, 16, 12});
    EXPECT_EQ(recorder.Count("glBegin"), 0) << mode;
    EXPECT_EQ(Read(0, 0, 16, 12).bytes, before.bytes) << mode;
  }
  Process({0, 0, 0, 0, 0, 0, 16, 12});
  Process({6, 1, 0, 0, 0, 0, 16, 12});
  EXPECT_NE(mCompositor->GetCompostionTextureId(), 0U) << "the policy holds for them too";
}

TEST_F(RImageStereoCompostiorTest, ModesFollowEachOtherInAnyOrder) {
  const test::GLTarget target(16, 12);
  unsigned state = 1;
  for (int i = 0; i < 60; ++i) {
    state = state * 1664525U + 1013904223U;
    const StereoCall call{
        (state >> 24) % 6, (state >> 20) % 2, (state >> 8) % 7, (state >> 12) % 5, 0, 0, 16, 12};
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
    // A new buffer, so that nothing is left of the picture before.
    if (call.policy == 1) Process({6, 0, 0, 0, 0, 0, 16, 12});
    Process(call);
    EXPECT_TRUE(Shows(call, call.policy ? ReadOwn() : Read(0, 0, 16, 12)))
        << "call " << i << ", mode " << call.mode;
  }
}

TEST_F(RImageStereoCompostiorTest, RepeatedPicturesAreEqualAndLeaveNothingBehind) {
  const test::GLTarget target(16, 12);
  for (unsigned mode = 0; mode < test::kStereoModes; ++mode) {
    Process({mode});
    const Picture first = Read(0, 0, 16, 12);
    const std::string objects = test::LiveGLObjects();
    for (int i = 0; i < 20; ++i) Process({mode});
    EXPECT_EQ(Read(0, 0, 16, 12).bytes, first.bytes) << mode;
    EXPECT_EQ(test::LiveGLObjects(), objects) << mode;
  }
}

TEST_F(RImageStereoCompostiorTest, TwoCompositorsDoNotDisturbEachOther) {
  const test::GLTarget target(16, 12);
  RImageStereoCompostior other;
  for (int i = 0; i < 4; ++i) {
    const StereoCall call{static_cast<unsigned>(i)};
    Process(call);
    other.Process(eCheckerboard, eOffscreenBuffer, mEyes[1], mEyes[0], 3, 4, 0, 0, 16, 12);
    EXPECT_TRUE(Shows(call, Read(0, 0, 16, 12)));
    Process(call);
    EXPECT_TRUE(Shows(call, Read(0, 0, 16, 12)));
  }
}

// --- Dividers.

TEST_F(RImageStereoCompostiorTest, TheDividerStandsOutFromTheClearColour) {
  const test::GLTarget target(80, 80);
  for (const auto& [colour, shade] : {std::pair{std::array{0.0F, 0.0F, 0.0F}, 255},
                                      {std::array{1.0F, 1.0F, 1.0F}, 0},
                                      {std::array{0.06F, 0.06F, 0.06F}, 255},
                                      {std::array{0.07F, 0.07F, 0.07F}, 0},
                                      {std::array{0.0F, 0.0F, 0.25F}, 0},
                                      {std::array{0.1999F, 0.0F, 0.0F}, 255},
                                      {std::array{0.2001F, 0.0F, 0.0F}, 0}}) {
    for (const unsigned mode : {4U, 5U}) {
      glClearColor(colour[0], colour[1], colour[2], 0);
      Process({mode, 0, 0, 0, 0, 0, 80, 80});
      const auto pixel = PixelAt(Read(0, 0, 80, 80), 40, 40);
      EXPECT_EQ(pixel, (std::array<unsigned char, 4>{static_cast<unsigned char>(shade),
                                                     static_cast<unsigned char>(shade),
                                                     static_cast<unsigned char>(shade), 255}))
          << colour[0] << ' ' << colour[1] << ' ' << colour[2];
    }
  }
}

// 1/40 of the width and 1/80 of the height, at 400 x 400: whole pixels.
TEST_F(RImageStereoCompostiorTest, TheDividerHasThreeBars) {
  MakeEyes(1, 1);
  const unsigned char grey[] = {100, 100, 100, 100};
  for (const GLuint eye : mEyes) {
    glBindTexture(GL_TEXTURE_2D, eye);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, grey);
  }
  const test::GLTarget target(400, 400);
  glClear(GL_COLOR_BUFFER_BIT);
  Process({4, 0, 0, 0, 0, 0, 400, 400});
  const Picture picture = Read(0, 0, 400, 400);
  const auto shade = [&](int x, int fromTop) { return int{PixelAt(picture, x, 399 - fromTop)[0]}; };
  EXPECT_EQ(shade(194, 200), 100);
  EXPECT_EQ(shade(195, 200), 255) << "the vertical bar";
  EXPECT_EQ(shade(204, 200), 255);
  EXPECT_EQ(shade(205, 200), 100);
  for (const int x : {0, 100, 200, 399}) {
    EXPECT_EQ(shade(x, 99), 0);
    EXPECT_EQ(shade(x, 100), 255) << "the upper bar";
    EXPECT_EQ(shade(x, 104), 255);
    EXPECT_EQ(shade(x, 295), 255) << "the lower bar";
    EXPECT_EQ(shade(x, 299), 255);
    EXPECT_EQ(shade(x, 300), 0);
  }
  EXPECT_EQ(shade(100, 105), 100);
  EXPECT_EQ(shade(100, 294), 100);
}

// --- The own buffer.

TEST_F(RImageStereoCompostiorTest, ThePolicyMakesAndDestroysTheOwnBuffer) {
  const test::GLTarget target(16, 12);
  EXPECT_EQ(mCompositor->GetCompostionTextureId(), 0U);
  Process({4, 0});
  EXPECT_EQ(mCompositor->GetCompostionTextureId(), 0U);
  EXPECT_EQ(test::LiveGLObjects(), "Texture: 3\n");
  Process({4, 1});
  const unsigned texture = mCompositor->GetCompostionTextureId();
  EXPECT_NE(texture, 0U);
  EXPECT_EQ(test::LiveGLObjects(), "Framebuffer: 1\nTexture: 4\n");
  Process({4, 2});
  EXPECT_EQ(mCompositor->GetCompostionTextureId(), texture) << "any value but 0 means the same";
  Process({4, 0xFFFFFFFF});
  EXPECT_EQ(mCompositor->GetCompostionTextureId(), texture);
  Process({4, 0});
  EXPECT_EQ(mCompositor->GetCompostionTextureId(), 0U);
  EXPECT_EQ(test::LiveGLObjects(), "Texture: 3\n");
}

TEST_F(RImageStereoCompostiorTest, TheOwnBufferFollowsTheSize) {
  for (const auto& [width, height] : {std::pair{16U, 12U}, {17U, 12U}, {17U, 11U}, {3U, 3U}}) {
    Process({0, 1, 0, 0, 0, 0, width, height});
    const unsigned texture = mCompositor->GetCompostionTextureId();
    EXPECT_EQ(test::TextureLevelParameter(texture, GL_TEXTURE_WIDTH), static_cast<int>(width));
    EXPECT_EQ(test::TextureLevelParameter(texture, GL_TEXTURE_HEIGHT), static_cast<int>(height));
    const test::GLRecorder recorder;
    Process({0, 1, 1, 1, 0, 0, width, height});
    EXPECT_EQ(recorder.Count("glTexImage2D"), 0) << "the size is the same";
  }
}

TEST_F(RImageStereoCompostiorTest, TheHostsFramebufferIsNotTouchedByTheOwnOne) {
  const test::GLTarget target(16, 12);
  glClearColor(0.2F, 0.4F, 0.6F, 0.8F);
  glClear(GL_COLOR_BUFFER_BIT);
  const Picture before = Read(0, 0, 16, 12);
  for (unsigned mode = 0; mode < test::kStereoModes; ++mode) {
    Process({mode, 1});
    GLint bound = 0;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &bound);
    EXPECT_EQ(static_cast<GLuint>(bound), target.Framebuffer());
    EXPECT_EQ(Read(0, 0, 16, 12).bytes, before.bytes) << mode;
  }
}

TEST_F(RImageStereoCompostiorTest, TheOwnBufferKeepsTheViewportsOffset) {
  glClearColor(0.2F, 0.4F, 0.6F, 0.8F);
  Process({2, 1, 0, 0, 5, 3, 16, 12});
  const Picture picture = ReadOwn();
  EXPECT_EQ(PixelAt(picture, 4, 8), (std::array<unsigned char, 4>{51, 102, 153, 204}));
  EXPECT_EQ(PixelAt(picture, 8, 2), (std::array<unsigned char, 4>{51, 102, 153, 204}));
  EXPECT_EQ(PixelAt(picture, 5, 3), PixelAt(mLeft, 0, 0)) << "row 11 from the top";
}

TEST_F(RImageStereoCompostiorTest, OnlyANewOwnBufferIsCleared) {
  glClearColor(0.2F, 0.4F, 0.6F, 0.8F);
  glEnable(GL_SCISSOR_TEST);
  glScissor(0, 0, 1, 1);
  const std::array<unsigned char, 4> background{51, 102, 153, 204};
  Process({4, 1});
  EXPECT_EQ(PixelAt(ReadOwn(), 15, 0), background) << "beside the views";
  Process({0, 1});
  Process({4, 1});
  EXPECT_NE(PixelAt(ReadOwn(), 15, 0), background) << "what was there stays";
  Process({4, 1, 0, 0, 0, 0, 18, 12});
  EXPECT_EQ(PixelAt(ReadOwn(), 17, 0), background) << "another size is another buffer";
}

TEST_F(RImageStereoCompostiorTest, AnOwnBufferThatCannotBeMadeIsNotDrawn) {
  const test::GLTarget target(16, 12);
  glClear(GL_COLOR_BUFFER_BIT);
  const Picture before = Read(0, 0, 16, 12);
  for (const auto& [width, height] :
       {std::pair{0U, 12U}, {16U, 0U}, {1000000U, 12U}, {0xFFFFFFFFU, 0xFFFFFFFFU}}) {
    for (const unsigned mode : {0U, 4U}) {
      const test::GLRecorder recorder;
      Process({mode, 1, 0, 0, 0, 0, width, height});
      EXPECT_EQ(recorder.Count("glBegin"), 0);
      EXPECT_EQ(mCompositor->GetCompostionTextureId(), 0U);
      EXPECT_EQ(Read(0, 0, 16, 12).bytes, before.bytes);
    }
  }
  Process({0, 1});
  EXPECT_NE(mCompositor->GetCompostionTextureId(), 0U) << "a size that can be made is";
}

// --- Offsets at the edge of what there is.

TEST_F(RImageStereoCompostiorTest, OffsetsMayBeNegativeNumbersThatWrapped) {
  const test::GLTarget target(16, 12);
  for (const unsigned mode : {0U, 2U, 4U}) {
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
    Process({mode});
    const Picture whole = Read(0, 0, 16, 12);
    glClear(GL_COLOR_BUFFER_BIT);
    Process({mode, 0, 0, 0, static_cast<unsigned>(-4), static_cast<unsigned>(-3), 16, 12});
    const Picture part = Read(0, 0, 16, 12);
    for (int y = 0; y < 9; ++y) {
      for (int x = 0; x < 12; ++x) ASSERT_EQ(PixelAt(part, x, y), PixelAt(whole, x + 4, y + 3)) << mode;
    }
  }
}

TEST_F(RImageStereoCompostiorTest, EmptyAndHugeViewportsDrawNothingWrong) {
  const test::GLTarget target(16, 12);
  glClear(GL_COLOR_BUFFER_BIT);
  const Picture before = Read(0, 0, 16, 12);
  for (unsigned mode = 0; mode < test::kStereoModes; ++mode) {
    Process({mode, 0, 0, 0, 0, 0, 0, 0});
    Process({mode, 0, 0, 0, 0, 0, 0, 12});
    Process({mode, 0, 0, 0, 0x7FFFFFFF, 0x7FFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF});
    EXPECT_EQ(Read(0, 0, 16, 12).bytes, before.bytes) << mode;
    Process({mode, 0, 0xFFFFFFFF, 0xFFFFFFFF, 0, 0, 16, 12});
    glClear(GL_COLOR_BUFFER_BIT);
  }
}

}  // namespace
