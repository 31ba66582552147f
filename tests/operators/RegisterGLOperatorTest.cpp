// Tests of the counting of operators that draw, and of what they draw on.
#include <GL/gl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QOpenGLContextGroup>

#include "support/BlendDrawing.h"
#include "support/HostileState.h"

namespace test {
namespace {

// The calls that set up the first surface.
const char* const kSetUp =
    "glViewport(0, 0, 1024, 1024)\n"
    "glOrtho(-0.5, 1023.5, -0.5, 1023.5, 0, 1)\n"
    "glTranslatef(-0.5, -0.5, 0)\n";

std::string Register() {
  const GLRecorder recorder;
  RImageOperator::RegisterGLOperator(nullptr);
  return recorder.Text({"glViewport", "glOrtho", "glTranslatef"});
}

void Unregister() { RImageOperator::UnregisterGLOperator(nullptr); }

// Whether an operator can be evaluated now.
bool CanDraw() {
  const auto op = Make<NodeOperator>(0, [] {
    auto node = std::make_unique<FakeNode>();
    node->stages = {{0x1, 0}};
    return node;
  }());
  RFpContext context;
  return op->ReadLock(&context, 0x40) != 0;
}

class RegisterGLOperatorTest : public GLTest {
 protected:
  void SetUp() override {
    GLTest::SetUp();
    ASSERT_FALSE(CanDraw()) << "an operator of another test is still registered";
  }
};

TEST_F(RegisterGLOperatorTest, TheFirstSetsUpTheSurfaceAndTheRestCount) {
  EXPECT_EQ(Register(), kSetUp);
  EXPECT_TRUE(CanDraw());
  EXPECT_EQ(Register(), "");
  Unregister();
  EXPECT_TRUE(CanDraw());
  Unregister();
  EXPECT_FALSE(CanDraw());
  EXPECT_EQ(Register(), kSetUp) << "and again from the start";
  Unregister();
}

TEST_F(RegisterGLOperatorTest, TheFirstMakesAContextThatSharesTheHostsObjects) {
  QOpenGLContext& host = Host().Context();
  ASSERT_EQ(host.shareGroup()->shares().size(), 1);
  for (int i = 0; i < 2; ++i) {
    Register();
    ASSERT_EQ(host.shareGroup()->shares().size(), 2) << "one context, however many register";
  }
  for (const QOpenGLContext* const context : host.shareGroup()->shares()) {
    EXPECT_TRUE(context->isValid());
    EXPECT_EQ(context->format(), host.format());
    if (context != &host) {
      EXPECT_EQ(context->shareContext(), &host);
    }
  }
  Unregister();
  EXPECT_EQ(host.shareGroup()->shares().size(), 2);
  Unregister();
  EXPECT_EQ(host.shareGroup()->shares().size(), 1);
}

TEST_F(RegisterGLOperatorTest, TheHostKeepsItsContextSurfaceAndState) {
  SetHostileState();
  const std::string before = FullStateText();
  Register();
  EXPECT_EQ(QOpenGLContext::currentContext(), &Host().Context());
  EXPECT_EQ(Host().Context().surface(), &Host().Surface());
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
  Unregister();
  EXPECT_EQ(QOpenGLContext::currentContext(), &Host().Context());
  EXPECT_EQ(Host().Context().surface(), &Host().Surface());
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
}

TEST_F(RegisterGLOperatorTest, WithoutAContextNoneIsMadeUntilAllHaveGone) {
  Host().Context().doneCurrent();
  EXPECT_EQ(Register(), "");
  ASSERT_TRUE(Host().MakeCurrent());
  EXPECT_FALSE(CanDraw());
  EXPECT_EQ(Register(), "") << "later registrations do not make it";
  EXPECT_FALSE(CanDraw());
  Unregister();
  Unregister();
  EXPECT_EQ(Register(), kSetUp);
  EXPECT_TRUE(CanDraw());
  Unregister();
}

TEST_F(RegisterGLOperatorTest, WithoutAContextALockFails) {
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(NoisePicture(4, 4, 1)));
  Host().Context().doneCurrent();
  RFpContext context;
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0);
  EXPECT_EQ(op->ReadLock(&context, 0x1000), 0);
  EXPECT_EQ(QOpenGLContext::currentContext(), nullptr);
  ASSERT_TRUE(Host().MakeCurrent());
  EXPECT_NE(op->ReadLock(&context, 0x40), 0);
  Host().Context().doneCurrent();
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0) << "a stored texture is out of reach, too";
  EXPECT_EQ(op->ReadLock(&context, 0x1000), 0);
  EXPECT_EQ(op->ImageTextureGetObject(), op->GetPlugImage(0, RImageOperator::kPlugOutput)->GetTextureID())
      << "its name is not";
  ASSERT_TRUE(Host().MakeCurrent());
  EXPECT_NE(op->ReadLock(&context, 0x40), 0);
}

TEST_F(RegisterGLOperatorTest, OneUnregistrationTooManyChangesNothing) {
  Unregister();
  EXPECT_EQ(Register(), kSetUp);
  EXPECT_TRUE(CanDraw());
  Unregister();
}

TEST_F(RegisterGLOperatorTest, OperatorsRegisterAndUnregisterThemselves) {
  {
    const auto first = Make<RImOpBlend>("first");
    const auto second = Make<RImOpBlend>("second");
    EXPECT_EQ(Register(), "");
    Unregister();
    EXPECT_TRUE(CanDraw());
  }
  EXPECT_FALSE(CanDraw());
  RImOpBlend embedded("embedded");
  embedded.SetDeletable(false);
  embedded.Destroy(0);
  EXPECT_FALSE(CanDraw());
  embedded.Destroy(0);
  EXPECT_EQ(Register(), kSetUp) << "a second teardown does not count";
  EXPECT_TRUE(CanDraw());
  Unregister();
}

TEST_F(RegisterGLOperatorTest, EveryContextHasItsOwnArea) {
  const auto op = Make<RImOpBlend>("blend");
  const Picture a = NoisePicture(30, 20, 1);
  PutImage(*op, 0, ToImage(a));
  EXPECT_EQ(Evaluate(*op).bytes, a.bytes);
  const std::string alone = LiveGLObjects();
  EXPECT_THAT(alone, testing::HasSubstr("Framebuffer: 1\nRenderbuffer: 1\n"));
  {
    GLContext other(QSurfaceFormat::defaultFormat(), &Host().Context());
    ASSERT_TRUE(other.MakeCurrent());
    op->IncUpdateId();
    const std::string before = FullStateText();
    EXPECT_EQ(Evaluate(*op).bytes, a.bytes);
    EXPECT_EQ(other.Context().surface(), &other.Surface());
    EXPECT_EQ(StateDifference(before, FullStateText()), "");
    EXPECT_THAT(LiveGLObjects(), testing::HasSubstr("Framebuffer: 2\nRenderbuffer: 2\n"));
    ASSERT_TRUE(Host().MakeCurrent());
  }
  EXPECT_EQ(LiveGLObjects(), alone) << "it goes with its context";
  EXPECT_EQ(QOpenGLContext::currentContext(), &Host().Context());
  EXPECT_EQ(Host().Context().surface(), &Host().Surface());
  op->IncUpdateId();
  EXPECT_EQ(Evaluate(*op).bytes, a.bytes);
}

TEST_F(RegisterGLOperatorTest, AContextCanGoWhileItIsCurrent) {
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(NoisePicture(30, 20, 1)));
  {
    GLContext other(QSurfaceFormat::defaultFormat(), &Host().Context());
    ASSERT_TRUE(other.MakeCurrent());
    Evaluate(*op);
  }
  EXPECT_EQ(QOpenGLContext::currentContext(), nullptr);
  ASSERT_TRUE(Host().MakeCurrent());
  op->IncUpdateId();
  EXPECT_EQ(Evaluate(*op).bytes, NoisePicture(30, 20, 1).bytes);
}

TEST_F(RegisterGLOperatorTest, TheLastOneFreesTheAreasOfAllContexts) {
  GLContext other(QSurfaceFormat::defaultFormat(), &Host().Context());
  {
    const auto op = Make<RImOpBlend>("blend");
    PutImage(*op, 0, ToImage(NoisePicture(30, 20, 1)));
    Evaluate(*op);
    ASSERT_TRUE(other.MakeCurrent());
    op->IncUpdateId();
    Evaluate(*op);
  }
  EXPECT_EQ(LiveGLObjects(), "");
  EXPECT_EQ(QOpenGLContext::currentContext(), &other.Context());
  ASSERT_TRUE(Host().MakeCurrent());
}

TEST_F(RegisterGLOperatorTest, AnOperatorMadeBeforeTheContextDrawsAfterARegistrationWithOne) {
  Host().Context().doneCurrent();
  auto early = Make<RImOpBlend>("early");
  ASSERT_TRUE(Host().MakeCurrent());
  PutImage(*early, 0, ToImage(NoisePicture(4, 4, 1)));
  RFpContext context;
  EXPECT_EQ(early->ReadLock(&context, 0x40), 0);
  early.reset();
  const auto late = Make<RImOpBlend>("late");
  PutImage(*late, 0, ToImage(NoisePicture(4, 4, 1)));
  EXPECT_NE(late->ReadLock(&context, 0x40), 0);
}

TEST_F(RegisterGLOperatorTest, ACoreContextFailsWithoutDrawing) {
  QSurfaceFormat format;
  format.setVersion(3, 3);
  format.setProfile(QSurfaceFormat::CoreProfile);
  GLContext core(format);
  ASSERT_TRUE(core.MakeCurrent());
  {
    const auto op = Make<RImOpBlend>("blend");
    PutImage(*op, 0, ToImage(NoisePicture(4, 4, 1)));
    RFpContext context;
    EXPECT_EQ(op->ReadLock(&context, 0x40), 0);
    EXPECT_EQ(core.Context().surface(), &core.Surface());
  }
  ASSERT_TRUE(Host().MakeCurrent());
}

TEST_F(RegisterGLOperatorTest, FullAttributeStacksFailWithoutDrawing) {
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(NoisePicture(4, 4, 1)));
  GLint depth = 0;
  glGetIntegerv(GL_MAX_ATTRIB_STACK_DEPTH, &depth);
  for (GLint i = 0; i < depth; ++i) glPushAttrib(GL_CURRENT_BIT);
  RFpContext context;
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0);
  for (GLint i = 0; i < depth; ++i) glPopAttrib();
  EXPECT_NE(op->ReadLock(&context, 0x40), 0);
}

}  // namespace
}  // namespace test
