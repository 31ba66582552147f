// Tests of the OpenGL test support itself.
#include <GL/gl.h>
#include <GL/glext.h>
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>

#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions_2_0>
#include <QOpenGLVersionFunctionsFactory>
#include <thread>

#include "support/GLEnumNames.h"
#include "support/GLTest.h"

namespace test {
namespace {

using GLBenchTest = GLTest;

TEST_F(GLBenchTest, RecordsPlainCallsWithNamesOfEnumerants) {
  const GLTarget target(8, 8);
  GLuint texture = 0;
  GLRecorder recorder;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  glTexImage2D(GL_TEXTURE_2D, 0, 4, 512, 256, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 3);
  glBlendFunc(GL_ONE, GL_ZERO);
  glPushAttrib(GL_ENABLE_BIT | GL_CURRENT_BIT);
  glPopAttrib();
  glColor4f(1, 0.5F, 0, 1);
  glBegin(GL_QUADS);
  glEnd();
  glIsTexture(texture);
  glDeleteTextures(1, &texture);
  const std::string name = std::to_string(texture);
  EXPECT_EQ(recorder.Text(),
            "glGenTextures(1, {" + name + "})\n" +                //
                "glBindTexture(GL_TEXTURE_2D, " + name + ")\n" +  //
                "glTexImage2D(GL_TEXTURE_2D, 0, 4, 512, 256, 0, GL_RGBA, GL_UNSIGNED_BYTE, null)\n" +
                "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST)\n" +  //
                "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 3)\n" +            //
                "glBlendFunc(GL_ONE, GL_ZERO)\n" +                                       //
                "glPushAttrib(0x2001)\n" +                                               //
                "glPopAttrib()\n" +                                                      //
                "glColor4f(1, 0.5, 0, 1)\n" +                                            //
                "glBegin(GL_QUADS)\n" +                                                  //
                "glEnd()\n" +                                                            //
                "glIsTexture(" + name + ") = 1\n" +                                      //
                "glDeleteTextures(1, {" + name + "})\n");
  EXPECT_EQ(recorder.Text({"glPopAttrib", "glEnd"}), "glPopAttrib()\nglEnd()\n");
  EXPECT_EQ(recorder.Count("glTexParameteri"), 2);
  recorder.Clear();
  EXPECT_TRUE(recorder.Calls().empty());
}

TEST_F(GLBenchTest, RecordsCallsThroughQtsFunctionTablesAndAddresses) {
  auto* functions = QOpenGLVersionFunctionsFactory::get<QOpenGLFunctions_2_0>(&Host().Context());
  ASSERT_TRUE(functions);
  auto* byAddress =
      reinterpret_cast<decltype(&::glActiveTexture)>(Host().Context().getProcAddress("glActiveTexture"));
  const GLRecorder recorder;
  functions->glActiveTexture(GL_TEXTURE1);
  byAddress(GL_TEXTURE0);
  functions->glMatrixMode(GL_TEXTURE);
  EXPECT_EQ(recorder.Text(),
            "glActiveTexture(GL_TEXTURE1)\nglActiveTexture(GL_TEXTURE0)\nglMatrixMode(GL_TEXTURE)\n");
  glMatrixMode(GL_MODELVIEW);
}

TEST_F(GLBenchTest, RecordsOnlyTheThreadOfTheRecorder) {
  const GLRecorder recorder;
  std::thread([] { glGetError(); }).join();
  EXPECT_TRUE(recorder.Calls().empty());
}

TEST_F(GLBenchTest, RecordersNest) {
  const GLRecorder outer;
  {
    const GLRecorder inner;
    glFlush();
    EXPECT_EQ(inner.Count("glFlush"), 1);
  }
  glFinish();
  EXPECT_EQ(outer.Text(), "glFinish()\n");
}

TEST_F(GLBenchTest, AReplacementCarriesTheCallOutAndIsRecorded) {
  static int calls = 0;
  using Mode = void(GLenum);
  Mode* const replacement = [](GLenum) { ++calls; };
  const GLRecorder recorder;
  {
    const EntryPointReplacement shim("glShadeModel", replacement);
    glShadeModel(GL_FLAT);
  }
  GLint mode = 0;
  glGetIntegerv(GL_SHADE_MODEL, &mode);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(mode, GL_SMOOTH) << "the driver saw a call that was replaced";
  EXPECT_EQ(recorder.Count("glShadeModel"), 1);
}

TEST_F(GLBenchTest, QtSeesReplacedExtensions) {
  // The driver's answers are replaced before the context asks for the first time.
  using GetString = const GLubyte*(GLenum);
  static auto* const driver = DriverEntryPoint<GetString>("glGetString");
  GetString* const shim = [](GLenum name) -> const GLubyte* {
    if (name != GL_EXTENSIONS) return driver(name);
    return reinterpret_cast<const GLubyte*>("GL_NV_fragment_program GL_KHR_debug");
  };
  using GetStringi = const GLubyte*(GLenum, GLuint);
  static auto* const driveri = DriverEntryPoint<GetStringi>("glGetStringi");
  GetStringi* const shimi = [](GLenum name, GLuint index) -> const GLubyte* {
    // A driver shim may count other extensions than the driver has, so all others are the driver's first.
    if (name != GL_EXTENSIONS || index != 0) return driveri(name, 0);
    return reinterpret_cast<const GLubyte*>("GL_NV_fragment_program");
  };
  const EntryPointReplacement strings("glGetString", shim);
  const EntryPointReplacement indexed("glGetStringi", shimi);
  GLContext context;
  ASSERT_TRUE(context.MakeCurrent());
  EXPECT_TRUE(context.Context().hasExtension("GL_NV_fragment_program"));
  ASSERT_TRUE(Host().MakeCurrent());
}

TEST_F(GLBenchTest, ErrorsOfTheDriverFailTheTest) {
  EXPECT_NONFATAL_FAILURE(glEnable(0xFFFF), "OpenGL error");
  glGetError();
}

TEST_F(GLBenchTest, ErrorsOfEveryContextAreSeen) {
  GLContext other;
  ASSERT_TRUE(other.MakeCurrent());
  {
    const GLErrorCapture capture;
    glEnable(0xFFFF);
    EXPECT_EQ(capture.Messages().size(), 1U);
    glGetError();
  }
  ASSERT_TRUE(Host().MakeCurrent());
}

TEST_F(GLBenchTest, CountsLiveObjectsByKind) {
  GLuint names[3] = {};
  glGenTextures(3, names);
  const GLuint lists = glGenLists(4);
  {
    const QOpenGLFramebufferObject framebuffer(8, 8);
    EXPECT_EQ(LiveGLObjects(), "Framebuffer: 1\nList: 4\nTexture: 4\n");
  }
  EXPECT_EQ(LiveGLObjects(), "List: 4\nTexture: 3\n");
  glDeleteTextures(2, names);
  EXPECT_EQ(LiveGLObjects(), "List: 4\nTexture: 1\n");
  glDeleteTextures(2, names);
  EXPECT_EQ(LiveGLObjects(), "List: 4\nTexture: 1\n") << "names that are gone are not counted twice";
  glDeleteTextures(1, names + 2);
  glDeleteLists(lists, 4);
  EXPECT_EQ(LiveGLObjects(), "");
}

TEST_F(GLBenchTest, CountsEveryKindOfObject) {
  struct Kind {
    const char* make;
    const char* remove;
    std::string kind;
  };
  using Names = void(GLsizei, GLuint*);
  const auto call = [&](const char* name) {
    return reinterpret_cast<Names*>(Host().Context().getProcAddress(name));
  };
  for (const Kind& row : {Kind{"glGenFramebuffers", "glDeleteFramebuffers", "Framebuffer"},
                          Kind{"glGenRenderbuffers", "glDeleteRenderbuffers", "Renderbuffer"},
                          Kind{"glGenBuffers", "glDeleteBuffers", "Buffer"},
                          Kind{"glGenVertexArrays", "glDeleteVertexArrays", "VertexArray"},
                          Kind{"glGenProgramsARB", "glDeleteProgramsARB", "ProgramARB"}}) {
    GLuint names[2] = {};
    call(row.make)(2, names);
    EXPECT_EQ(LiveGLObjects(), row.kind + ": 2\n");
    call(row.remove)(2, names);
    EXPECT_EQ(LiveGLObjects(), "") << row.kind;
  }
  auto* functions = QOpenGLVersionFunctionsFactory::get<QOpenGLFunctions_2_0>(&Host().Context());
  const GLuint program = functions->glCreateProgram();
  const GLuint shader = functions->glCreateShader(GL_VERTEX_SHADER);
  EXPECT_EQ(LiveGLObjects(), "Program: 1\nShader: 1\n");
  functions->glDeleteShader(shader);
  functions->glDeleteProgram(program);
  EXPECT_EQ(LiveGLObjects(), "");
}

TEST_F(GLBenchTest, AnObjectLeftBehindFailsTheTest) {
  GLuint name = 0;
  glGenTextures(1, &name);
  EXPECT_NONFATAL_FAILURE(GLTest::TearDown(), "OpenGL objects are left behind");
  glDeleteTextures(1, &name);
}

TEST_F(GLBenchTest, ForgetsObjectsOnRequest) {
  GLuint name = 0;
  glGenTextures(1, &name);
  ForgetLiveGLObjects();
  EXPECT_EQ(LiveGLObjects(), "");
  glDeleteTextures(1, &name);
}

TEST_F(GLBenchTest, TheDefaultContextIsACompatibilityContext) { EXPECT_EQ(WhyNotCompatible(), ""); }

TEST_F(GLBenchTest, ACoreContextIsRefused) {
  QSurfaceFormat format;
  format.setVersion(3, 3);
  format.setProfile(QSurfaceFormat::CoreProfile);
  GLContext core(format);
  ASSERT_TRUE(core.MakeCurrent());
  EXPECT_THAT(WhyNotCompatible(), testing::StartsWith("a core context: "));
  ASSERT_TRUE(Host().MakeCurrent());
}

TEST_F(GLBenchTest, ACompatibilityProfileWithoutDeprecatedFunctionsIsACoreContext) {
  QSurfaceFormat format;
  format.setVersion(3, 3);
  format.setProfile(QSurfaceFormat::CompatibilityProfile);
  {
    GLContext core(format);
    ASSERT_TRUE(core.MakeCurrent());
    EXPECT_THAT(WhyNotCompatible(), testing::StartsWith("a core context: "));
  }
  format.setOption(QSurfaceFormat::DeprecatedFunctions);
  GLContext compatible(format);
  ASSERT_TRUE(compatible.MakeCurrent());
  EXPECT_EQ(WhyNotCompatible(), "");
  ASSERT_TRUE(Host().MakeCurrent());
}

TEST_F(GLBenchTest, NoContextIsRefused) {
  Host().Context().doneCurrent();
  EXPECT_EQ(WhyNotCompatible(), "no context is current");
  ASSERT_TRUE(Host().MakeCurrent());
}

TEST_F(GLBenchTest, MakingCurrentCanBeMadeToFail) {
  GLContext other;
  {
    const MakeCurrentFailure failure;
    EXPECT_FALSE(other.MakeCurrent());
  }
  EXPECT_TRUE(other.MakeCurrent());
  ASSERT_TRUE(Host().MakeCurrent());
}

TEST_F(GLBenchTest, SeesContextsThatAreMadeAtTheSameTime) {
  const auto make = [] {
    for (int i = 0; i < 5; ++i) {
      QOpenGLContext context;
      EXPECT_TRUE(context.create());
    }
  };
  const CreationWatch alone;
  make();
  EXPECT_GE(alone.Count(), 5);
  EXPECT_EQ(alone.MostAtOnce(), 1);
  const CreationWatch together;
  std::thread other(make);
  make();
  other.join();
  EXPECT_GE(together.Count(), 10);
  EXPECT_EQ(together.MostAtOnce(), 2);
}

TEST_F(GLBenchTest, ReadsTexturesAndFramebuffersByteForByte) {
  const std::vector<unsigned char> bytes = Noise(5 * 3 * 4);
  GLuint texture = MakeTexture(5, 3, GL_RGBA, bytes.data());
  glPixelStorei(GL_PACK_ROW_LENGTH, 77);
  const GLPixels read = ReadTexture(texture, GL_RGBA);
  EXPECT_EQ(read.width, 5);
  EXPECT_EQ(read.height, 3);
  EXPECT_EQ(read.bytes, bytes);
  EXPECT_EQ(TextureLevelParameter(texture, GL_TEXTURE_ALPHA_SIZE), 8);
  {
    const GLTarget target(4, 4);
    glClearColor(1, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    EXPECT_EQ(target.Read().bytes[0], 255);
    EXPECT_EQ(target.Read().bytes[1], 0);
  }
  GLint rowLength = 0;
  glGetIntegerv(GL_PACK_ROW_LENGTH, &rowLength);
  EXPECT_EQ(rowLength, 77);
  glPixelStorei(GL_PACK_ROW_LENGTH, 0);
  glClearColor(0, 0, 0, 0);
  glDeleteTextures(1, &texture);
}

TEST_F(GLBenchTest, TheStateTextShowsChanges) {
  const std::string before = GLStateText();
  EXPECT_EQ(GLStateText(), before) << "reading the state must not change it";
  glEnable(GL_CULL_FACE);
  EXPECT_NE(GLStateText(), before);
  glDisable(GL_CULL_FACE);
  EXPECT_EQ(GLStateText(), before);
}

TEST(GLEnumNames, NamesAndNumbers) {
  EXPECT_EQ(GLEnumName(GL_TEXTURE_2D), "GL_TEXTURE_2D");
  EXPECT_EQ(GLEnumName(0xFEDC), "0xFEDC");
  EXPECT_EQ(GLBlendFactorName(0), "GL_ZERO");
  EXPECT_EQ(GLBlendFactorName(GL_SRC_ALPHA), "GL_SRC_ALPHA");
  EXPECT_EQ(GLPrimitiveName(GL_QUADS), "GL_QUADS");
  EXPECT_EQ(GLPrimitiveName(99), "0x63");
}

}  // namespace
}  // namespace test
