// The stereo compositor in a host whose OpenGL state is not the usual one.
#include <gmock/gmock.h>

#include "support/HostileState.h"
#include "support/StereoTest.h"

namespace {

using test::FullStateText;
using test::HostileKind;
using test::Picture;
using test::StateDifference;
using test::StereoCall;
using test::StereoSettings;

using StereoHostState = test::StereoTest;

class StereoHostile : public StereoHostState, public testing::WithParamInterface<HostileKind> {
 protected:
  /// The clear colour decides on the divider's shade.
  static StereoSettings Settings(const StereoCall& call, const std::array<GLfloat, 4>& clear) {
    StereoSettings settings = SettingsOf(call);
    settings.isDividerWhite = clear[0] + clear[1] + clear[2] < 0.2F;
    return settings;
  }
  /// Reads the whole target, whatever is bound and however pixels are transferred.
  static Picture ReadTarget(const test::GLTarget& target) {
    glPushAttrib(GL_ALL_ATTRIB_BITS);
    for (const GLenum name :
         std::initializer_list<GLenum>{GL_RED_SCALE, GL_GREEN_SCALE, GL_BLUE_SCALE, GL_ALPHA_SCALE})
      glPixelTransferf(name, 1);
    for (const GLenum name :
         std::initializer_list<GLenum>{GL_RED_BIAS, GL_GREEN_BIAS, GL_BLUE_BIAS, GL_ALPHA_BIAS})
      glPixelTransferf(name, 0);
    glPixelTransferi(GL_MAP_COLOR, 0);
    GLint read = 0;
    GLint packBuffer = 0;
    glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &read);
    glGetIntegerv(GL_PIXEL_PACK_BUFFER_BINDING, &packBuffer);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, target.Framebuffer());
    const Picture picture{16, 12, target.Read().bytes};
    glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(read));
    glBindBuffer(GL_PIXEL_PACK_BUFFER, static_cast<GLuint>(packBuffer));
    glPopAttrib();
    return picture;
  }

  /// Draws in a mode, where `set` has made the state hostile, into the target and into the own buffer.
  void CheckMode(unsigned mode, void (*set)(), bool canDraw) {
    const test::GLTarget target(16, 12);
    glClear(GL_COLOR_BUFFER_BIT);
    set();
    std::array<GLfloat, 4> clear{};
    glGetFloatv(GL_COLOR_CLEAR_VALUE, clear.data());
    const std::string before = FullStateText();
    const StereoCall call{mode, 0, 1, 2};
    if (canDraw) {
      Process(call);
      EXPECT_EQ(StateDifference(before, FullStateText()), "") << "mode " << mode;
      EXPECT_TRUE(IsStereo(Settings(call, clear), mLeft, mRight, ReadTarget(target))) << "mode " << mode;
    }
    const StereoCall own{mode, 1, 1, 2};
    Process(own);
    EXPECT_EQ(StateDifference(before, FullStateText()), "") << "own buffer, mode " << mode;
    StereoSettings settings = Settings(own, clear);
    for (std::size_t i = 0; i < 4; ++i) settings.background[i] = clear[i];
    EXPECT_TRUE(IsStereo(settings, mLeft, mRight, ReadOwnNeutrally(target))) << "own buffer, mode " << mode;
    mCompositor.reset();
    glUseProgram(0);
  }

  /// Reads the own buffer through the target's framebuffer.
  Picture ReadOwnNeutrally(const test::GLTarget& target) const {
    GLint draw = 0;
    glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &draw);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, target.Framebuffer());
    glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D,
                           mCompositor->GetCompostionTextureId(), 0);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(draw));
    return ReadTarget(target);
  }
};

// Each mode has a context of its own, with which goes what the kind has made.
TEST_P(StereoHostile, SpoilsNoPictureAndComesBack) {
  // A host that draws into a framebuffer without a picture gets none.
  const bool canDraw = std::string(GetParam().name) != "Framebuffer";
  for (unsigned mode = 0; mode < test::kStereoModes; ++mode) {
    if (mode > 0) SetUp();
    CheckMode(mode, GetParam().set, canDraw);
    if (mode + 1 < test::kStereoModes) TearDown();
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, StereoHostile, testing::ValuesIn(test::HostileKinds()),
                         [](const auto& row) { return row.param.name; });

TEST_F(StereoHostState, EverythingAtOnceComesBack) {
  test::SetHostileState();
  const std::string before = FullStateText();
  for (const unsigned policy : {1U, 1U}) {
    for (unsigned mode = 0; mode <= test::kStereoModes; ++mode) {
      Process({mode, policy, 1, 1, 0, 0, 16 + mode, 12});
      EXPECT_EQ(StateDifference(before, FullStateText()), "") << "mode " << mode;
    }
  }
}

TEST_F(StereoHostState, FullStacksAreNotPushedFurther) {
  const test::GLTarget target(16, 12);
  glClear(GL_COLOR_BUFFER_BIT);
  const Picture before = Read(0, 0, 16, 12);
  struct Stack {
    GLenum depth;
    GLenum limit;
    void (*push)();
    void (*pop)();
    int levels;
  };
  for (const Stack& stack :
       {Stack{GL_ATTRIB_STACK_DEPTH, GL_MAX_ATTRIB_STACK_DEPTH, [] { glPushAttrib(GL_CURRENT_BIT); },
              [] { glPopAttrib(); }, 2},
        Stack{GL_CLIENT_ATTRIB_STACK_DEPTH, GL_MAX_CLIENT_ATTRIB_STACK_DEPTH,
              [] { glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT); }, [] { glPopClientAttrib(); }, 1},
        Stack{GL_PROJECTION_STACK_DEPTH, GL_MAX_PROJECTION_STACK_DEPTH,
              [] {
                glMatrixMode(GL_PROJECTION);
                glPushMatrix();
              },
              [] {
                glMatrixMode(GL_PROJECTION);
                glPopMatrix();
              },
              1},
        Stack{GL_MODELVIEW_STACK_DEPTH, GL_MAX_MODELVIEW_STACK_DEPTH,
              [] {
                glMatrixMode(GL_MODELVIEW);
                glPushMatrix();
              },
              [] {
                glMatrixMode(GL_MODELVIEW);
                glPopMatrix();
              },
              1}}) {
    GLint depth = 0;
    GLint limit = 0;
    glGetIntegerv(stack.depth, &depth);
    glGetIntegerv(stack.limit, &limit);
    const int pushed = limit - depth - stack.levels + 1;
    for (int i = 0; i < pushed; ++i) stack.push();
    Process({0});
    Process({4});
    EXPECT_EQ(Read(0, 0, 16, 12).bytes, before.bytes) << "a level too few for stack " << stack.depth;
    stack.pop();
    Process({0});
    EXPECT_TRUE(Shows({0}, Read(0, 0, 16, 12))) << "just enough levels";
    for (int i = 1; i < pushed; ++i) stack.pop();
    glClear(GL_COLOR_BUFFER_BIT);
  }
}

TEST_F(StereoHostState, TexturesThatTheHostHasBoundStayBound) {
  const test::GLTarget target(16, 12);
  for (GLuint unit = 0; unit < 3; ++unit) {
    glActiveTexture(GL_TEXTURE0 + unit);
    glBindTexture(GL_TEXTURE_2D, mEyes[unit % 2]);
  }
  const std::string before = FullStateText();
  for (unsigned mode = 0; mode < test::kStereoModes; ++mode) {
    Process({mode});
    EXPECT_EQ(StateDifference(before, FullStateText()), "") << "mode " << mode;
    EXPECT_TRUE(Shows({mode}, Read(0, 0, 16, 12)) || mode > 3) << "mode " << mode;
  }
  for (GLuint unit = 0; unit < 3; ++unit) {
    glActiveTexture(GL_TEXTURE0 + unit);
    glBindTexture(GL_TEXTURE_2D, 0);
  }
}

// The texture without a name is one of its own, which old hosts fill.
TEST_F(StereoHostState, TheNamelessTextureDoesNotCoverTheDivider) {
  const test::GLTarget target(16, 12);
  const unsigned char pixels[] = {9, 9, 9, 9};
  glBindTexture(GL_TEXTURE_2D, 0);
  glTexImage2D(GL_TEXTURE_2D, 0, 4, 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glClear(GL_COLOR_BUFFER_BIT);
  Process({4});
  EXPECT_TRUE(Shows({4}, Read(0, 0, 16, 12)));
}

}  // namespace
