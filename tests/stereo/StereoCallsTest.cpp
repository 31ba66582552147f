// What the stereo compositor asks of the Cg runtime and of OpenGL, and what it does when they fail.
#include <gmock/gmock.h>

#include <algorithm>

#include "support/StereoTest.h"

namespace {

using test::CgFailure;
using test::CgFailureKind;
using test::CgRecorder;
using test::GLRecorder;
using test::StereoCall;
using testing::ElementsAre;
using testing::IsEmpty;

class StereoCalls : public test::StereoTest {
 protected:
  /// Returns the warnings so far, which the test thereby expects.
  std::vector<std::string> TakeWarnings() {
    std::vector<std::string> warnings;
    warnings.swap(mWarnings.warnings);
    return warnings;
  }
};

std::string Replaced(std::string text, const std::string& mark, const std::string& value) {
  for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + value.size()))
    text.replace(at, mark.size(), value);
  return text;
}

// --- Cg.

TEST_F(StereoCalls, Mode4MakesNoCgCall) {
  const test::GLTarget target(16, 12);
  const CgRecorder recorder;
  for (const unsigned mode : {4U, 5U, 6U, 7U, 4U}) Process({mode});
  mCompositor.reset();
  EXPECT_THAT(recorder.Calls(), IsEmpty());
  EXPECT_EQ(recorder.ErrorQueries(), 0);
}

constexpr const char* kFirstSetUp =
    "cgCreateContext()\n"
    "cgIsContext(context)\n"
    "cgGLGetLatestProfile(vertex)\n"
    "cgGLGetLatestProfile(fragment)\n"
    "cgGLSetOptimalOptions(vertex)\n"
    "cgGLSetOptimalOptions(fragment)\n"
    "cgCreateProgram(4112, vertex, stereo_v)\n"
    "cgIsProgram(stereo_v)\n"
    "cgGLLoadProgram(stereo_v)\n"
    "cgIsProgram(null)\n";

constexpr const char* kFragmentSetUp =
    "cgCreateProgram(4112, fragment, stereo_f)\n"
    "cgIsProgram(stereo_f)\n"
    "cgGLLoadProgram(stereo_f)\n"
    "cgGetNamedParameter(stereo_f, leftImage)\n"
    "cgGetNamedParameter(stereo_f, rightImage)\n"
    "cgGetNamedParameter(stereo_f, screenHeight)\n"
    "cgGetNamedParameter(stereo_f, screenWidth)\n"
    "cgGetNamedParameter(stereo_f, x_base)\n"
    "cgGetNamedParameter(stereo_f, y_base)\n";

/// The calls that draw a picture in which the parameters `numbers` are used, each with its value.
std::string DrawingCalls(const StereoCall& call, unsigned left, unsigned right, const std::string& numbers) {
  std::string text =
      "cgGLBindProgram(stereo_v)\ncgGLEnableProfile(vertex)\ncgGLBindProgram(stereo_f)\ncgGLEnableProfile("
      "fragment)\n";
  for (const auto& [name, texture] : {std::pair{"leftImage", left}, {"rightImage", right}}) {
    text +=
        Replaced("cgIsParameterReferenced(NAME)\ncgGLSetTextureParameter(NAME, " + std::to_string(texture) +
                     ")\ncgGLEnableTextureParameter(NAME)\ncgGLGetTextureEnum(NAME)\n",
                 "NAME", name);
  }
  for (const auto& [name, value] : {std::pair{"screenHeight", call.height},
                                    {"screenWidth", call.width},
                                    {"x_base", call.xBase},
                                    {"y_base", call.yBase}}) {
    text += "cgIsParameterReferenced(" + std::string(name) + ")\n";
    if (numbers.find(name) != std::string::npos)
      text += "cgGLSetParameter1f(" + std::string(name) + ", " + std::to_string(value) + ")\n";
  }
  return text +
         "cgGLDisableProfile(vertex)\ncgGLDisableProfile(fragment)\n"
         "cgIsParameterReferenced(leftImage)\ncgGLDisableTextureParameter(leftImage)\n"
         "cgIsParameterReferenced(rightImage)\ncgGLDisableTextureParameter(rightImage)\n";
}

TEST_F(StereoCalls, TheFirstProgramModeSetsEverythingUp) {
  const test::GLTarget target(16, 12);
  const CgRecorder recorder;
  const StereoCall call{0, 0, 3, 4};
  Process(call);
  EXPECT_EQ(recorder.Text(),
            std::string(kFirstSetUp) + kFragmentSetUp + DrawingCalls(call, mEyes[0], mEyes[1], ""));
}

TEST_F(StereoCalls, OnlyWhatAProgramUsesIsSet) {
  const test::GLTarget target(16, 12);
  const char* const kNumbers[] = {"", "", "screenHeight y_base", "screenHeight screenWidth x_base y_base"};
  for (unsigned mode = 0; mode < 4; ++mode) {
    const StereoCall call{mode, 0, 3, 4};
    Process(call);
    const CgRecorder recorder;
    Process(call);
    EXPECT_EQ(recorder.Text(), DrawingCalls(call, mEyes[0], mEyes[1], kNumbers[mode])) << "mode " << mode;
  }
}

TEST_F(StereoCalls, From0To1RecompilesOnlyTheFragmentProgram) {
  const test::GLTarget target(16, 12);
  Process({0});
  const CgRecorder recorder;
  const GLRecorder gl;
  Process({1});
  EXPECT_EQ(recorder.Text(), "cgIsProgram(stereo_f)\ncgDestroyProgram(stereo_f)\n" +
                                 std::string(kFragmentSetUp) + DrawingCalls({}, mEyes[0], mEyes[1], ""));
  EXPECT_EQ(gl.Count("glCompileShader"), 1);
  EXPECT_EQ(Replaced(gl.Text({"glCreateShader"}), gl.Text({"glCreateShader"}).substr(34), ""),
            "glCreateShader(GL_FRAGMENT_SHADER)");
}

TEST_F(StereoCalls, TheFragmentProgramStaysDuringModesWithoutOne) {
  const test::GLTarget target(16, 12);
  Process({0});
  const CgRecorder recorder;
  Process({4});
  EXPECT_THAT(recorder.Calls(), IsEmpty());
  Process({0});
  EXPECT_EQ(std::ranges::count(recorder.Calls(), "cgCreateProgram(4112, fragment, stereo_f)"), 1)
      << "every change to a mode with a program makes it anew";
  EXPECT_EQ(std::ranges::count(recorder.Calls(), "cgCreateProgram(4112, vertex, stereo_v)"), 0);
}

// --- Destruction.

TEST_F(StereoCalls, TheDestructorDestroysProgramsThenContext) {
  const test::GLTarget target(16, 12);
  Process({3});
  const CgRecorder recorder;
  mCompositor.reset();
  EXPECT_THAT(recorder.Calls(),
              ElementsAre("cgIsProgram(stereo_v)", "cgDestroyProgram(stereo_v)", "cgIsProgram(stereo_f)",
                          "cgDestroyProgram(stereo_f)", "cgIsContext(context)", "cgDestroyContext(context)"));
  EXPECT_EQ(test::LiveGLObjects(), "Texture: 3\n") << "the eyes and the target";
}

TEST_F(StereoCalls, DestructionInEveryState) {
  const test::GLTarget target(16, 12);
  const std::string before = test::LiveGLObjects();
  for (unsigned first = 0; first <= test::kStereoModes; ++first) {
    for (unsigned second = 0; second <= test::kStereoModes; ++second) {
      for (unsigned policies = 0; policies < 4; ++policies) {
        mCompositor = std::make_unique<RImageStereoCompostior>();
        Process({first, policies & 1});
        Process({second, policies >> 1});
        mCompositor.reset();
        ASSERT_EQ(test::LiveGLObjects(), before) << first << " then " << second;
      }
    }
  }
}

TEST_F(StereoCalls, ACompositorMayOutliveItsContext) {
  RImageStereoCompostior compositor;
  {
    test::GLContext other(QSurfaceFormat::defaultFormat(), &Host().Context());
    ASSERT_TRUE(other.MakeCurrent());
    compositor.Process(eColorAnaglyph, eOffscreenBuffer, mEyes[0], mEyes[1], 0, 0, 0, 0, 16, 12);
    ASSERT_TRUE(Host().MakeCurrent());
  }
}

// --- Failures of Cg.

struct Failing {
  const char* call;
  CgFailureKind kind;
  std::vector<std::string> titles;
};

std::vector<std::string> WithText(const std::vector<std::string>& titles) {
  std::vector<std::string> warnings;
  for (const std::string& title : titles) warnings.push_back(title + "|" + CgFailure::kText + "|Ok");
  return warnings;
}

const std::vector<Failing>& Failures() {
  static const std::vector<Failing> kFailures{
      {"cgCreateContext()", CgFailureKind::kNull, {"creating context"}},
      {"cgCreateContext()", CgFailureKind::kResult, {"creating context"}},
      {"cgCreateContext()", CgFailureKind::kSilent, {}},
      {"cgCreateProgram(4112, vertex, stereo_v)", CgFailureKind::kNull, {"creating context"}},
      {"cgCreateProgram(4112, vertex, stereo_v)", CgFailureKind::kResult, {"creating context"}},
      {"cgCreateProgram(4112, vertex, stereo_v)", CgFailureKind::kSilent, {}},
      {"cgGLLoadProgram(stereo_v)", CgFailureKind::kNull, {"loading program"}},
      {"cgGLLoadProgram(stereo_v)", CgFailureKind::kResult, {"loading program"}},
      {"cgCreateProgram(4112, fragment, stereo_f)", CgFailureKind::kResult, {"creating fragment program"}},
      {"cgGLLoadProgram(stereo_f)", CgFailureKind::kNull, {"loading fragment program"}},
      {"cgGLLoadProgram(stereo_f)", CgFailureKind::kResult, {"loading fragment program"}},
      {"cgGetNamedParameter(stereo_f, leftImage)", CgFailureKind::kNull, {"unknown parameter leftImage"}},
      {"cgGetNamedParameter(stereo_f, rightImage)", CgFailureKind::kNull, {"unknown parameter rightImage"}},
      {"cgGetNamedParameter(stereo_f, screenHeight)",
       CgFailureKind::kNull,
       {"unknown parameter screenHeight"}},
      {"cgGetNamedParameter(stereo_f, screenWidth)", CgFailureKind::kNull, {"unknown parameter screenWidth"}},
      {"cgGetNamedParameter(stereo_f, x_base)", CgFailureKind::kNull, {"unknown parameter x_base"}},
      {"cgGetNamedParameter(stereo_f, y_base)", CgFailureKind::kNull, {"unknown parameter y_base"}},
      {"cgGetNamedParameter(stereo_f, y_base)", CgFailureKind::kSilent, {}}};
  return kFailures;
}

TEST_F(StereoCalls, EachFailureIsToldOnceAndDrawingGoesOn) {
  const test::GLTarget target(16, 12);
  const std::string before = test::LiveGLObjects();
  for (const Failing& failing : Failures()) {
    mCompositor = std::make_unique<RImageStereoCompostior>();
    {
      const CgFailure failure(failing.call, failing.kind);
      const GLRecorder recorder;
      Process({3});
      EXPECT_EQ(TakeWarnings(), WithText(failing.titles)) << failing.call;
      EXPECT_EQ(recorder.Count("glBegin"), 1) << failing.call << ": drawing goes on";
      Process({3});
      EXPECT_THAT(TakeWarnings(), IsEmpty()) << failing.call << ": the mode is stored, whatever came of it";
      Process({4});
      EXPECT_THAT(TakeWarnings(), IsEmpty()) << failing.call << ": other modes need no program";
      Process({2});
      const bool isKept = std::string(failing.call) == "cgGLLoadProgram(stereo_v)" ||
                          (std::string(failing.call) == "cgCreateProgram(4112, vertex, stereo_v)" &&
                           failing.kind == CgFailureKind::kResult);
      EXPECT_EQ(TakeWarnings(), isKept ? std::vector<std::string>() : WithText(failing.titles))
          << failing.call << ": a change of the mode tries again, but for a vertex program that is there";
    }
    mCompositor.reset();
    EXPECT_EQ(test::LiveGLObjects(), before) << failing.call;
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)) << failing.call;
  }
}

TEST_F(StereoCalls, AFailedVertexProgramHasTheTitleOfAContext) {
  const test::GLTarget target(16, 12);
  const CgFailure failure("cgCreateProgram(4112, vertex, stereo_v)");
  Process({1});
  EXPECT_THAT(TakeWarnings(), ElementsAre("creating context|failed by the test|Ok"));
}

TEST_F(StereoCalls, AfterAFailureAnotherModeWorksAgain) {
  const test::GLTarget target(16, 12);
  for (const Failing& failing : Failures()) {
    const std::string call = failing.call;
    // A vertex program that could not be loaded is not loaded again.
    if (call == "cgGLLoadProgram(stereo_v)" && failing.kind == CgFailureKind::kNull) continue;
    // Nor is one that came with an error.
    if (call.starts_with("cgCreateProgram(4112, vertex") && failing.kind == CgFailureKind::kResult) continue;
    mCompositor = std::make_unique<RImageStereoCompostior>();
    {
      const CgFailure failure(call, failing.kind);
      Process({0});
      TakeWarnings();
    }
    const StereoCall next{1};
    Process(next);
    EXPECT_TRUE(Shows(next, Read(0, 0, 16, 12))) << call;
  }
}

TEST_F(StereoCalls, WithoutAFragmentProgramItsParametersAreUnknown) {
  const test::GLTarget target(16, 12);
  const CgFailure failure("cgCreateProgram(4112, fragment, stereo_f)");
  Process({0});
  EXPECT_THAT(TakeWarnings(), ElementsAre("creating fragment program|failed by the test|Ok",
                                          "unknown parameter leftImage|there is no such program|Ok"));
}

TEST_F(StereoCalls, AFailedContextIsMadeAgainAndNoneIsLost) {
  const test::GLTarget target(16, 12);
  const CgRecorder recorder;
  {
    const CgFailure failure("cgCreateContext()", CgFailureKind::kResult);
    Process({0});
    Process({1});
    EXPECT_THAT(TakeWarnings(), testing::SizeIs(2));
  }
  EXPECT_EQ(std::ranges::count(recorder.Calls(), "cgDestroyContext(context)"), 2);
  Process({2});
  EXPECT_TRUE(Shows({2}, Read(0, 0, 16, 12)));
}

// A host that is told of a failure finds the buffer as it was.
TEST_F(StereoCalls, ProgramsAreMadeBeforeThePolicyIsFollowed) {
  struct Looker : RMessageHandler {
    void DisplayWarning(const char*, const char*, const char*) override {
      textures.push_back(compositor->GetCompostionTextureId());
    }
    const RImageStereoCompostior* compositor = nullptr;
    std::vector<unsigned> textures;
  };
  const test::GLTarget target(16, 12);
  Looker looker;
  looker.compositor = mCompositor.get();
  SetMainMessageHandler(&looker);
  const CgFailure failure("cgCreateContext()");
  Process({0, 1});
  const unsigned texture = mCompositor->GetCompostionTextureId();
  Process({1, 0});
  EXPECT_THAT(looker.textures, ElementsAre(0U, texture));
  EXPECT_NE(texture, 0U);
  EXPECT_EQ(mCompositor->GetCompostionTextureId(), 0U);
  SetMainMessageHandler(&mWarnings);
}

TEST_F(StereoCalls, ErrorsOfOthersAreNotReported) {
  const test::GLTarget target(16, 12);
  test::LeaveCgError();
  Process({0});
  test::LeaveCgError();
  Process({1});
  EXPECT_THAT(TakeWarnings(), IsEmpty());
}

TEST_F(StereoCalls, OldHandlesAreNotUsedAfterAFailure) {
  const test::GLTarget target(16, 12);
  Process({3});
  const CgFailure failure("cgGetNamedParameter(stereo_f, rightImage)");
  const CgRecorder recorder;
  Process({2});
  EXPECT_THAT(TakeWarnings(), ElementsAre("unknown parameter rightImage|failed by the test|Ok"));
  for (const std::string& call : recorder.Calls()) {
    if (call.starts_with("cgIsParameterReferenced")) {
      EXPECT_EQ(call, "cgIsParameterReferenced(leftImage)");
    }
  }
}

TEST_F(StereoCalls, ThePrintingHandlerShowsWarningsByDefault) {
  const test::GLTarget target(16, 12);
  SetMainMessageHandler(nullptr);
  const CgFailure failure("cgCreateContext()");
  testing::internal::CaptureStderr();
  Process({0});
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Warning: creating context: failed by the test\n");
  SetMainMessageHandler(&mWarnings);
}

// --- OpenGL.

TEST_F(StereoCalls, SideBySideDrawsByFixedFunctions) {
  const test::GLTarget target(17, 13);
  Process({4, 0, 0, 0, 2, 3, 11, 9});
  const GLRecorder recorder;
  Process({4, 0, 0, 0, 2, 3, 11, 9});
  const auto view = [](unsigned texture) {
    return Replaced(
        "glPushAttrib(0x41C0)\n"
        "glColor4f(1, 1, 1, 0)\n"
        "glBindTexture(GL_TEXTURE_2D, @)\n"
        "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR)\n"
        "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR)\n"
        "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE)\n"
        "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE)\n"
        "glBegin(GL_QUADS)\n"
        "glTexCoord2f(0, 1)\nglVertex2f(0, 0)\nglTexCoord2f(0, 0)\nglVertex2f(0, 1)\n"
        "glTexCoord2f(1, 0)\nglVertex2f(1, 1)\nglTexCoord2f(1, 1)\nglVertex2f(1, 0)\n"
        "glEnd()\n"
        "glBindTexture(GL_TEXTURE_2D, 0)\n"
        "glPopAttrib()\n",
        "@", std::to_string(texture));
  };
  EXPECT_EQ(recorder.Text({"glPushClientAttrib", "glPushAttrib", "glPopAttrib", "glPopClientAttrib",
                           "glViewport", "glPushMatrix", "glPopMatrix", "glOrtho", "glBegin", "glEnd",
                           "glVertex2f", "glTexCoord2f", "glColor4f", "glBindTexture", "glTexParameteri"}),
            "glPushClientAttrib(0xFFFFFFFF)\n"
            "glPushAttrib(0xFFFFF)\n"
            "glViewport(2, 3, 11, 9)\n"
            "glPushMatrix()\n"
            "glOrtho(0, 1, 1, 0, -1, 1)\n"
            "glPushMatrix()\n"
            "glViewport(2, 5, 5, 4)\n" +
                view(mEyes[0]) + "glViewport(7, 5, 5, 4)\n" + view(mEyes[1]) +
                "glViewport(2, 3, 11, 9)\n"
                "glPushAttrib(0x140)\n"
                "glColor4f(1, 1, 1, 1)\n"
                "glBegin(GL_QUADS)\n"
                "glVertex2f(0.4875, 0.25)\nglVertex2f(0.4875, 0.75)\nglVertex2f(0.5125, "
                "0.75)\nglVertex2f(0.5125, 0.25)\n"
                "glVertex2f(0, 0.25)\nglVertex2f(0, 0.2625)\nglVertex2f(1, 0.2625)\nglVertex2f(1, 0.25)\n"
                "glVertex2f(0, 0.7375)\nglVertex2f(0, 0.75)\nglVertex2f(1, 0.75)\nglVertex2f(1, 0.7375)\n"
                "glEnd()\n"
                "glPopAttrib()\n"
                "glPopMatrix()\n"
                "glPopMatrix()\n"
                "glPopAttrib()\n"
                "glPopClientAttrib()\n");
}

TEST_F(StereoCalls, TheQuarterAboveTheViewsIsCutOffWithTheViewportsOffset) {
  const test::GLTarget target(16, 12);
  for (const auto& [y, height, top] :
       {std::array{0U, 7U, 1U}, {1U, 7U, 2U}, {5U, 11U, 7U}, {0U, 3U, 0U}, {2U, 8U, 4U}}) {
    const GLRecorder recorder;
    Process({4, 0, 0, 0, 0, y, 8, height});
    EXPECT_THAT(recorder.Text({"glViewport"}),
                testing::HasSubstr("glViewport(0, " + std::to_string(top) + ", 4, " +
                                   std::to_string(height / 2) + ")"));
  }
}

TEST_F(StereoCalls, ProgramModesDrawOneQuadWithPlainState) {
  const test::GLTarget target(16, 12);
  Process({0});
  const GLRecorder recorder;
  Process({0});
  EXPECT_EQ(recorder.Text({"glPushAttrib", "glPopAttrib", "glBegin", "glEnd", "glVertex2f", "glTexCoord2f",
                           "glTexParameteri", "glViewport"}),
            "glPushAttrib(0xFFFFF)\n"
            "glViewport(0, 0, 16, 12)\n"
            "glPushAttrib(0x41C0)\n" +
                Replaced("glTexParameteri(T, GL_TEXTURE_MIN_FILTER, GL_LINEAR)\n"
                         "glTexParameteri(T, GL_TEXTURE_MAG_FILTER, GL_LINEAR)\n"
                         "glTexParameteri(T, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE)\n"
                         "glTexParameteri(T, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE)\n"
                         "glTexParameteri(T, GL_TEXTURE_MIN_FILTER, GL_LINEAR)\n"
                         "glTexParameteri(T, GL_TEXTURE_MAG_FILTER, GL_LINEAR)\n"
                         "glTexParameteri(T, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE)\n"
                         "glTexParameteri(T, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE)\n",
                         "(T,", "(GL_TEXTURE_2D,") +
                "glBegin(GL_QUADS)\n"
                "glTexCoord2f(0, 1)\nglVertex2f(0, 0)\nglTexCoord2f(0, 0)\nglVertex2f(0, 1)\n"
                "glTexCoord2f(1, 0)\nglVertex2f(1, 1)\nglTexCoord2f(1, 1)\nglVertex2f(1, 0)\n"
                "glEnd()\n"
                "glPopAttrib()\n"
                "glPopAttrib()\n");
  EXPECT_EQ(recorder.Count("glCompileShader") + recorder.Count("glLinkProgram"), 0);
}

// Modes with and without programs switch off what stands between a quad and the buffer.
TEST_F(StereoCalls, EveryModeSwitchesTheSameFiveThingsOff) {
  const test::GLTarget target(16, 12);
  for (unsigned mode = 0; mode < test::kStereoModes; ++mode) {
    Process({mode});
    const GLRecorder recorder;
    Process({mode});
    const std::string calls = recorder.Text();
    EXPECT_THAT(calls, testing::HasSubstr("glPushAttrib(0x41C0)\n"
                                          "glDisable(GL_DEPTH_TEST)\n"
                                          "glDisable(GL_ALPHA_TEST)\n"
                                          "glDisable(GL_BLEND)\n"
                                          "glDisable(GL_LIGHTING)\n"
                                          "glDisable(GL_FOG)\n"));
  }
}

TEST_F(StereoCalls, BothTexturesKeepTheirFilters) {
  const test::GLTarget target(16, 12);
  for (const unsigned mode : {0U, 4U}) {
    MakeEyes(16, 12);
    Process({mode});
    for (const GLuint eye : mEyes) {
      glBindTexture(GL_TEXTURE_2D, eye);
      for (const auto& [name, value] : {std::pair{GL_TEXTURE_MIN_FILTER, GL_LINEAR},
                                        {GL_TEXTURE_MAG_FILTER, GL_LINEAR},
                                        {GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE},
                                        {GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE}}) {
        GLint is = 0;
        glGetTexParameteriv(GL_TEXTURE_2D, static_cast<GLenum>(name), &is);
        EXPECT_EQ(is, value);
      }
    }
    glBindTexture(GL_TEXTURE_2D, 0);
  }
}

// --- Without OpenGL.

TEST_F(StereoCalls, WithoutAContextNothingIsDrawnAndTheReasonIsTold) {
  const GLRecorder recorder;
  Host().Context().doneCurrent();
  Process({4});
  Process({4, 1});
  EXPECT_THAT(TakeWarnings(), IsEmpty());
  Process({0});
  EXPECT_THAT(TakeWarnings(),
              ElementsAre("loading program|no compatibility context of OpenGL is current|Ok"));
  EXPECT_EQ(recorder.Count("glBegin"), 0);
  ASSERT_TRUE(Host().MakeCurrent());
}

}  // namespace
