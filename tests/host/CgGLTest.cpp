// The Cg runtime in OpenGL: what programs compute, and what is in use when.
#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>
#include <gmock/gmock.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "Cg/cgGL.h"
#include "support/CgGenerator.h"
#include "support/CgPrograms.h"
#include "support/GLTest.h"

namespace {

using test::FragmentProgram;
using test::GLRecorder;
using testing::HasSubstr;
using Colour = std::array<int, 4>;

GLuint Integer(GLenum name) {
  GLint value = 0;
  glGetIntegerv(name, &value);
  return static_cast<GLuint>(value);
}

void DrawQuad() {
  glBegin(GL_QUADS);
  for (const auto& [x, y] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 1}}) {
    glTexCoord2i(x, y);
    glVertex2i(2 * x - 1, 2 * y - 1);
  }
  glEnd();
}

class CgGLTest : public test::GLTest {
 protected:
  void SetUp() override {
    GLTest::SetUp();
    mContext = cgCreateContext();
    mTarget.emplace(1, 1);
    glViewport(0, 0, 1, 1);
    cgGetError();
  }
  void TearDown() override {
    if (cgIsContext(mContext)) cgDestroyContext(mContext);
    mTarget.reset();
    GLTest::TearDown();
  }

  CGprogram Load(const std::string& source, CGprofile profile) const {
    CGprogram program = cgCreateProgram(mContext, CG_SOURCE, source.c_str(), profile, "main", nullptr);
    CGerror error = CG_NO_ERROR;
    const char* text = cgGetLastErrorString(&error);
    EXPECT_EQ(error, CG_NO_ERROR) << text << "\n" << source;
    if (program) cgGLLoadProgram(program);
    return program;
  }
  CGprogram LoadFragment(const std::string& body) const {
    return Load(FragmentProgram(body), CG_PROFILE_GLSLF);
  }

  static void Use(CGprogram program, CGprofile profile) {
    cgGLBindProgram(program);
    cgGLEnableProfile(profile);
  }
  static void DisableBoth() {
    cgGLDisableProfile(CG_PROFILE_GLSLV);
    cgGLDisableProfile(CG_PROFILE_GLSLF);
  }
  Colour Pixel() const {
    const auto bytes = mTarget->Read().bytes;
    return {bytes[0], bytes[1], bytes[2], bytes[3]};
  }
  Colour DrawAndRead() const {
    DrawQuad();
    return Pixel();
  }

  CGcontext mContext = nullptr;
  std::optional<test::GLTarget> mTarget;
};

// --- What programs compute: the output of a body, 255 standing for 1.

struct Computation {
  const char* body;
  Colour colour;
};

TEST_F(CgGLTest, StatementsComputeWhatTheySay) {
  const std::vector<Computation> kComputations{
      {"color = float4(0.2, 0.4, 0.6, 0.8);", {51, 102, 153, 204}},
      {"color = 1;", {255, 255, 255, 255}},
      {"", {0, 0, 0, 0}},
      {"color.w = 1; color.x = 0.2;", {51, 0, 0, 255}},
      {"color.wzyx = float4(0.2, 0.4, 0.6, 0.8);", {204, 153, 102, 51}},
      {"float4 a = { 0.2, 0.4, { 0.6, 0.8 } }; color = a.bgra;", {153, 102, 51, 204}},
      {"color = float4(7 / 2, 7 % 4, 0, 0) * 0.2;", {153, 153, 0, 0}},
      {"int i = 2.9; color.x = i * 0.2;", {102, 0, 0, 0}},
      {"float f = trunc(2.9); color.x = f * 0.2; color.y = trunc(-0.5) + 0.2;", {102, 51, 0, 0}},
      {"color = saturate(float4(-1, 0.2, 1, 3)) * 0.6;", {0, 31, 153, 153}},
      {"color.x = dot(float3(0.1, 0.2, 0.3), float3(1, 2, 0.3 / 0.3));", {204, 0, 0, 0}},
      {"if (3 > 2 && !(1.5 == 1)) color.x = 1; else color.y = 1;", {255, 0, 0, 0}},
      {"if (0) color.x = 1; else if (x_base) color.y = 1; else color.z = 1;", {0, 0, 255, 0}},
      {"color.x = 0.2; if (true) return; color.x = 1;", {51, 0, 0, 0}},
      {"float a = 0.2; { float a = 0.4; color.x = a; } color.y = a;", {102, 51, 0, 0}},
      {"color = 0.2; color += 0.2; color.x *= 2; color.y -= 0.2; color.z /= 2;", {204, 51, 51, 102}},
      {"float1 s = 0.2; color = s.xxxx;", {51, 51, 51, 51}},
      {"color.x = (1 - 2 * 3 + 10 / 2) + 0.2;", {51, 0, 0, 0}},
      {"bool b = 1 <= 1 == true; color.x = b; color.y = b != false;", {255, 255, 0, 0}},
      {"color.xy = texCoord;", {128, 128, 0, 0}},
      {"texCoord.x = 0.2; color.xy = texCoord;", {51, 128, 0, 0}},
  };
  for (const Computation& computation : kComputations) {
    Use(LoadFragment(computation.body), CG_PROFILE_GLSLF);
    const Colour colour = DrawAndRead();
    for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(colour[i], computation.colour[i], 1) << computation.body;
    DisableBoth();
  }
  EXPECT_EQ(cgGetError(), CG_NO_ERROR);
}

TEST_F(CgGLTest, VerticesGoThroughTheMatrix) {
  struct Row {
    const char* product;
    double x, y, w;  // of the product at the centre, where x and y of the position are 0
  };
  for (const Row& row : {Row{"mul(m, p)", 0.2, 0.4, 1}, Row{"mul(p, m)", 0, 0, 1},
                         Row{"mul(mul(m, m), p)", 0.4, 0.8, 1}, Row{"mul(mul(p, m), m)", 0, 0, 1}}) {
    // Colours of vertices are clamped, so the product is brought into their range.
    Use(Load(std::string("void main(float4 p : POSITION, uniform float4x4 m : state.matrix.mvp,"
                         "out float4 o : POSITION, out float4 c : COLOR) { o = p; c = ") +
                 row.product + " * 0.2 + 0.4; }",
             CG_PROFILE_GLSLV),
        CG_PROFILE_GLSLV);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glTranslatef(0.2F, 0.4F, 0);
    const Colour colour = DrawAndRead();
    EXPECT_NEAR(colour[0], 255 * (0.2 * row.x + 0.4), 1) << row.product;
    EXPECT_NEAR(colour[1], 255 * (0.2 * row.y + 0.4), 1) << row.product;
    EXPECT_NEAR(colour[3], 255 * (0.2 * row.w + 0.4), 1) << row.product;
    DisableBoth();
  }
}

TEST_F(CgGLTest, InputsAndOutputsMeetTheFixedFunctions) {
  // A fragment program behind fixed functions: the colour and a texture coordinate of the vertices.
  Use(Load("void main(float4 c : COLOR, float2 t : TEXCOORD2, out float4 o : COLOR) { o = float4(c.xy, t); }",
           CG_PROFILE_GLSLF),
      CG_PROFILE_GLSLF);
  glColor4f(0.2F, 0.4F, 0, 1);
  glMultiTexCoord2f(GL_TEXTURE2, 0.6F, 0.8F);
  EXPECT_EQ(DrawAndRead(), (Colour{51, 102, 153, 204}));
  DisableBoth();

  // A vertex program in front of fixed functions: its texture coordinate reads the texture.
  const unsigned char pixels[] = {255, 0, 0, 255, 0, 255, 0, 255};
  GLuint texture = test::MakeTexture(2, 1, GL_RGBA, pixels);
  glBindTexture(GL_TEXTURE_2D, texture);
  glEnable(GL_TEXTURE_2D);
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
  Use(Load("void main(float4 p : POSITION, out float4 o : POSITION, out float2 t : TEXCOORD0)"
           "{ o = p; t = float2(0.75, 0.5); }",
           CG_PROFILE_GLSLV),
      CG_PROFILE_GLSLV);
  EXPECT_EQ(DrawAndRead(), (Colour{0, 255, 0, 255}));
  DisableBoth();
  glDeleteTextures(1, &texture);
  EXPECT_EQ(cgGetError(), CG_NO_ERROR);
}

// --- Values.

TEST_F(CgGLTest, ValuesStayInTheParameters) {
  CGprogram first = LoadFragment("color.x = x_base; color.y = y_base;");
  CGprogram second = LoadFragment("color.z = x_base;");
  CGparameter x = cgGetNamedParameter(first, "x_base");
  CGparameter y = cgGetNamedParameter(first, "y_base");
  cgGLSetParameter1f(x, 0.2F);
  Use(first, CG_PROFILE_GLSLF);
  cgGLSetParameter1f(y, 0.4F);
  EXPECT_EQ(DrawAndRead(), (Colour{51, 102, 0, 0})) << "set before and after binding";
  cgGLSetParameter1f(cgGetNamedParameter(second, "x_base"), 0.6F);
  EXPECT_EQ(DrawAndRead(), (Colour{51, 102, 0, 0})) << "a parameter belongs to its program";
  cgGLBindProgram(second);
  cgGLSetParameter1f(x, 0.8F);
  EXPECT_EQ(DrawAndRead(), (Colour{0, 0, 153, 0}));
  cgGLBindProgram(first);
  EXPECT_EQ(DrawAndRead(), (Colour{204, 102, 0, 0})) << "set while another program was bound";
  DisableBoth();
}

TEST_F(CgGLTest, ValuesAreNotSentToTheHostsProgram) {
  CGprogram program = LoadFragment("color.x = x_base;");
  Use(program, CG_PROFILE_GLSLF);
  glUseProgram(0);
  cgGLSetParameter1f(cgGetNamedParameter(program, "x_base"), 0.2F);
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
  cgGLBindProgram(program);
  EXPECT_EQ(DrawAndRead(), (Colour{51, 0, 0, 0}));
  DisableBoth();
}

TEST_F(CgGLTest, UnusedParametersTakeValues) {
  CGprogram program = LoadFragment("color = 1;");
  Use(program, CG_PROFILE_GLSLF);
  cgGLSetParameter1f(cgGetNamedParameter(program, "x_base"), 1);
  EXPECT_EQ(cgGetError(), CG_NO_ERROR);
  EXPECT_EQ(DrawAndRead(), (Colour{255, 255, 255, 255}));
  DisableBoth();
}

// --- Textures.

TEST_F(CgGLTest, EachSamplerHasAUnit) {
  const unsigned char red[] = {255, 0, 0, 255};
  const unsigned char green[] = {0, 255, 0, 255};
  GLuint textures[] = {test::MakeTexture(1, 1, GL_RGBA, red), test::MakeTexture(1, 1, GL_RGBA, green)};
  CGprogram program =
      LoadFragment("color.x = tex2D(leftImage, texCoord).x; color.y = tex2D(rightImage, texCoord).y * 0.6;");
  CGparameter left = cgGetNamedParameter(program, "leftImage");
  CGparameter right = cgGetNamedParameter(program, "rightImage");
  EXPECT_EQ(cgGLGetTextureEnum(left), static_cast<GLenum>(GL_TEXTURE0));
  EXPECT_EQ(cgGLGetTextureEnum(right), static_cast<GLenum>(GL_TEXTURE1));
  Use(program, CG_PROFILE_GLSLF);
  cgGLSetTextureParameter(left, textures[0]);
  cgGLSetTextureParameter(right, textures[1]);
  EXPECT_EQ(DrawAndRead(), (Colour{0, 0, 0, 0})) << "set but not enabled";
  cgGLEnableTextureParameter(left);
  cgGLEnableTextureParameter(right);
  EXPECT_EQ(DrawAndRead(), (Colour{255, 153, 0, 0}));
  cgGLDisableTextureParameter(left);
  cgGLDisableTextureParameter(right);
  DisableBoth();
  glDeleteTextures(2, textures);
  EXPECT_EQ(cgGetError(), CG_NO_ERROR);
}

TEST_F(CgGLTest, DisablingBringsTheTextureBackThatWasThere) {
  GLuint textures[] = {test::MakeTexture(1, 1, GL_RGBA, nullptr), test::MakeTexture(1, 1, GL_RGBA, nullptr),
                       test::MakeTexture(1, 1, GL_RGBA, nullptr)};
  CGprogram program = LoadFragment("color = tex2D(rightImage, texCoord);");
  CGparameter right = cgGetNamedParameter(program, "rightImage");
  glActiveTexture(GL_TEXTURE1);
  glBindTexture(GL_TEXTURE_2D, textures[0]);
  glActiveTexture(GL_TEXTURE3);
  cgGLSetTextureParameter(right, textures[1]);
  cgGLEnableTextureParameter(right);
  cgGLSetTextureParameter(right, textures[2]);
  cgGLEnableTextureParameter(right);
  EXPECT_EQ(Integer(GL_ACTIVE_TEXTURE), static_cast<GLuint>(GL_TEXTURE3)) << "the active unit stays";
  glActiveTexture(GL_TEXTURE1);
  EXPECT_EQ(Integer(GL_TEXTURE_BINDING_2D), textures[2]);
  cgGLDisableTextureParameter(right);
  EXPECT_EQ(Integer(GL_TEXTURE_BINDING_2D), textures[0]);
  glBindTexture(GL_TEXTURE_2D, textures[1]);
  cgGLDisableTextureParameter(right);
  EXPECT_EQ(Integer(GL_TEXTURE_BINDING_2D), textures[1]) << "what is not enabled is not disabled";
  cgGLEnableTextureParameter(right);
  glDeleteTextures(1, &textures[1]);
  cgGLDisableTextureParameter(right);
  EXPECT_EQ(Integer(GL_TEXTURE_BINDING_2D), 0U) << "a deleted texture does not come back";
  glDeleteTextures(3, textures);
  EXPECT_EQ(cgGetError(), CG_NO_ERROR);
}

// --- Linking and what is in use.

TEST_F(CgGLTest, ProgramsAreLinkedWhenFirstUsedTogether) {
  const GLRecorder recorder;
  CGprogram vertex = Load(test::kPassVertex, CG_PROFILE_GLSLV);
  CGprogram first = LoadFragment("color = 1;");
  CGprogram second = LoadFragment("color = 0.2;");
  EXPECT_EQ(recorder.Count("glCompileShader"), 3);
  EXPECT_EQ(recorder.Count("glLinkProgram"), 0);
  cgGLBindProgram(vertex);
  cgGLBindProgram(first);
  EXPECT_EQ(recorder.Count("glLinkProgram"), 0) << "bound, but no profile is enabled";
  for (int round = 0; round < 3; ++round) {
    cgGLEnableProfile(CG_PROFILE_GLSLV);
    for (CGprogram program : {first, second}) {
      cgGLBindProgram(program);
      cgGLEnableProfile(CG_PROFILE_GLSLF);
      EXPECT_EQ(DrawAndRead()[0], program == first ? 255 : 51);
    }
    cgGLDisableProfile(CG_PROFILE_GLSLF);
    cgGLDisableProfile(CG_PROFILE_GLSLV);
    EXPECT_EQ(recorder.Count("glLinkProgram"), 3) << "the vertex program alone, and with each of the others";
  }
  EXPECT_EQ(recorder.Count("glCompileShader"), 3);
}

TEST_F(CgGLTest, LoadingTwiceCompilesOnce) {
  const GLRecorder recorder;
  cgGLLoadProgram(LoadFragment("color = 1;"));
  EXPECT_EQ(recorder.Count("glCompileShader"), 1);
}

GLuint MakeHostProgram() {
  const char* source = "void main() { gl_FragColor = vec4(1.0, 0.0, 1.0, 1.0); }";
  const GLuint shader = glCreateShader(GL_FRAGMENT_SHADER);
  glShaderSource(shader, 1, &source, nullptr);
  glCompileShader(shader);
  const GLuint program = glCreateProgram();
  glAttachShader(program, shader);
  glLinkProgram(program);
  glDeleteShader(shader);
  return program;
}

TEST_F(CgGLTest, TheProgramInUseBeforeComesBack) {
  const GLuint host = MakeHostProgram();
  CGprogram vertex = Load(test::kPassVertex, CG_PROFILE_GLSLV);
  CGprogram fragment = LoadFragment("color = 1;");
  for (const GLuint before : {GLuint{0}, host}) {
    glUseProgram(before);
    Use(vertex, CG_PROFILE_GLSLV);
    EXPECT_NE(Integer(GL_CURRENT_PROGRAM), before);
    Use(fragment, CG_PROFILE_GLSLF);
    cgGLDisableProfile(CG_PROFILE_GLSLV);
    EXPECT_NE(Integer(GL_CURRENT_PROGRAM), before) << "the fragment program is still in use";
    cgGLDisableProfile(CG_PROFILE_GLSLF);
    EXPECT_EQ(Integer(GL_CURRENT_PROGRAM), before);
    cgGLDisableProfile(CG_PROFILE_GLSLF);
    EXPECT_EQ(Integer(GL_CURRENT_PROGRAM), before) << "disabling twice does nothing";
  }
  // A program that the host deletes meanwhile is not used again.
  Use(fragment, CG_PROFILE_GLSLF);
  glDeleteProgram(host);
  cgGLDisableProfile(CG_PROFILE_GLSLF);
  EXPECT_EQ(Integer(GL_CURRENT_PROGRAM), 0U);
  EXPECT_EQ(cgGetError(), CG_NO_ERROR);
}

TEST_F(CgGLTest, AnEnabledProfileWithoutAProgramUsesNone) {
  cgGLEnableProfile(CG_PROFILE_GLSLV);
  cgGLEnableProfile(CG_PROFILE_GLSLF);
  EXPECT_EQ(Integer(GL_CURRENT_PROGRAM), 0U);
  EXPECT_EQ(cgGetError(), CG_NO_ERROR);
  DisableBoth();
}

TEST_F(CgGLTest, ADestroyedProgramGoesOutOfUse) {
  CGprogram vertex = Load(test::kPassVertex, CG_PROFILE_GLSLV);
  CGprogram fragment = LoadFragment("color = 1;");
  Use(vertex, CG_PROFILE_GLSLV);
  Use(fragment, CG_PROFILE_GLSLF);
  cgDestroyProgram(fragment);
  EXPECT_NE(Integer(GL_CURRENT_PROGRAM), 0U) << "the vertex program is still in use";
  EXPECT_EQ(test::LiveGLObjects(), "Program: 1\nShader: 1\nTexture: 1\n");
  cgDestroyProgram(vertex);
  EXPECT_EQ(Integer(GL_CURRENT_PROGRAM), 0U);
  EXPECT_EQ(test::LiveGLObjects(), "Texture: 1\n");
  DisableBoth();
}

TEST_F(CgGLTest, ADestroyedContextTakesEverythingAlong) {
  Use(Load(test::kPassVertex, CG_PROFILE_GLSLV), CG_PROFILE_GLSLV);
  Use(LoadFragment("color = 1;"), CG_PROFILE_GLSLF);
  cgDestroyContext(mContext);
  EXPECT_EQ(Integer(GL_CURRENT_PROGRAM), 0U);
  EXPECT_EQ(test::LiveGLObjects(), "Texture: 1\n");
}

TEST_F(CgGLTest, ProgramsMayOutliveTheContextOfOpenGL) {
  {
    test::GLContext other;
    ASSERT_TRUE(other.MakeCurrent());
    Use(LoadFragment("color = 1;"), CG_PROFILE_GLSLF);
    other.Context().doneCurrent();
  }
  cgDestroyContext(mContext);  // nothing is current: the driver has released it all
  EXPECT_EQ(cgGetError(), CG_NO_ERROR);
  test::ForgetLiveGLObjects();
  ASSERT_TRUE(Host().MakeCurrent());
  mTarget.reset();
  test::ForgetLiveGLObjects();
}

// A context that shares nothing has other objects under the same names.
TEST_F(CgGLTest, ProgramsAreNothingInAnotherContext) {
  CGprogram program = LoadFragment("color = 1;");
  Use(program, CG_PROFILE_GLSLF);
  DisableBoth();
  test::GLContext other;
  ASSERT_TRUE(other.MakeCurrent());
  const test::GLRecorder recorder;
  cgGLBindProgram(program);
  EXPECT_EQ(cgGetError(), CG_PROGRAM_NOT_LOADED_ERROR);
  cgDestroyProgram(program);
  EXPECT_EQ(cgGetError(), CG_NO_ERROR);
  EXPECT_EQ(recorder.Text({"glDeleteProgram", "glDeleteShader", "glUseProgram"}), "");
  ASSERT_TRUE(Host().MakeCurrent());
  mTarget.reset();
  test::ForgetLiveGLObjects();
}

TEST_F(CgGLTest, BindingsBelongToTheirContextOfOpenGL) {
  CGprogram program = LoadFragment("color = 1;");
  Use(program, CG_PROFILE_GLSLF);
  const GLuint inUse = Integer(GL_CURRENT_PROGRAM);
  {
    test::GLContext other(QSurfaceFormat::defaultFormat(), &Host().Context());
    ASSERT_TRUE(other.MakeCurrent());
    cgGLEnableProfile(CG_PROFILE_GLSLF);
    EXPECT_EQ(Integer(GL_CURRENT_PROGRAM), 0U) << "bound elsewhere";
    cgGLBindProgram(program);
    EXPECT_EQ(Integer(GL_CURRENT_PROGRAM), inUse) << "linked once for contexts that share";
    cgGLDisableProfile(CG_PROFILE_GLSLF);
    ASSERT_TRUE(Host().MakeCurrent());
  }
  EXPECT_EQ(Integer(GL_CURRENT_PROGRAM), inUse);
  DisableBoth();
}

// --- Failures.

void RefuseShader(GLuint shader, GLenum name, GLint* value) {
  test::DriverEntryPoint<decltype(::glGetShaderiv)>("glGetShaderiv")(shader, name, value);
  if (name == GL_COMPILE_STATUS) *value = GL_FALSE;
}

void RefuseProgram(GLuint program, GLenum name, GLint* value) {
  test::DriverEntryPoint<decltype(::glGetProgramiv)>("glGetProgramiv")(program, name, value);
  if (name == GL_LINK_STATUS) *value = GL_FALSE;
}

void LogOfDriver(GLuint, GLsizei size, GLsizei*, GLchar* text) {
  if (size > 0) *text = '\0';
}

TEST_F(CgGLTest, ADriverThatRefusesAProgramIsTold) {
  CGprogram program = nullptr;
  {
    const test::EntryPointReplacement refusal("glGetShaderiv", &RefuseShader);
    const test::EntryPointReplacement log("glGetShaderInfoLog", &LogOfDriver);
    program = LoadFragment("color = 1;");
  }
  CGerror error = CG_NO_ERROR;
  EXPECT_THAT(cgGetLastErrorString(&error), HasSubstr("the driver refuses the program"));
  EXPECT_EQ(error, CG_PROGRAM_LOAD_ERROR);
  cgGLBindProgram(program);
  EXPECT_EQ(cgGetError(), CG_PROGRAM_NOT_LOADED_ERROR);
  EXPECT_EQ(test::LiveGLObjects(), "Texture: 1\n");
  cgGLLoadProgram(program);
  EXPECT_EQ(cgGetError(), CG_NO_ERROR) << "it can be loaded later";
}

TEST_F(CgGLTest, ADriverThatCannotLinkIsTold) {
  CGprogram program = LoadFragment("color = 1;");
  {
    const test::EntryPointReplacement refusal("glGetProgramiv", &RefuseProgram);
    Use(program, CG_PROFILE_GLSLF);
  }
  CGerror error = CG_NO_ERROR;
  EXPECT_THAT(cgGetLastErrorString(&error), HasSubstr("the driver cannot link the programs"));
  EXPECT_EQ(error, CG_PROGRAM_BIND_ERROR);
  EXPECT_EQ(Integer(GL_CURRENT_PROGRAM), 0U);
  cgGLBindProgram(program);
  EXPECT_EQ(cgGetError(), CG_PROGRAM_BIND_ERROR) << "and is not asked again";
  DisableBoth();
  EXPECT_EQ(test::LiveGLObjects(), "Shader: 1\nTexture: 1\n");
}

TEST_F(CgGLTest, AProgramIsLoadedBeforeItIsBound) {
  CGprogram program =
      cgCreateProgram(mContext, CG_SOURCE, FragmentProgram("").c_str(), CG_PROFILE_GLSLF, "main", nullptr);
  cgGLBindProgram(program);
  EXPECT_EQ(cgGetError(), CG_PROGRAM_NOT_LOADED_ERROR);
  cgGLEnableProfile(CG_PROFILE_UNKNOWN);
  EXPECT_EQ(cgGetError(), CG_UNKNOWN_PROFILE_ERROR);
  cgGLDisableProfile(CG_PROFILE_UNKNOWN);
  EXPECT_EQ(cgGetError(), CG_UNKNOWN_PROFILE_ERROR);
}

// What follows the language is accepted by the translator, and by the driver what comes out of it.
TEST_F(CgGLTest, RandomProgramsCompileAndLink) {
  for (unsigned seed = 0; seed < 150; ++seed) {
    const std::string body = test::CgGenerator(seed).Statements(6);
    CGprogram program = LoadFragment(body);
    ASSERT_NE(program, nullptr) << "seed " << seed;
    Use(program, CG_PROFILE_GLSLF);
    CGerror error = CG_NO_ERROR;
    const char* text = cgGetLastErrorString(&error);
    ASSERT_EQ(error, CG_NO_ERROR) << text << "\n" << body;
    DisableBoth();
    cgDestroyProgram(program);
  }
}

// Whatever the translator accepts, the driver accepts.
TEST_F(CgGLTest, EverySampleOfTheFuzzerThatTranslatesCompiles) {
  int compiled = 0;
  for (const auto& entry : std::filesystem::directory_iterator(RIMAGE_CG_CORPUS)) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string source{std::istreambuf_iterator<char>(file), {}};
    for (const CGprofile profile : {CG_PROFILE_GLSLV, CG_PROFILE_GLSLF}) {
      CGprogram program = cgCreateProgram(mContext, CG_SOURCE, source.c_str(), profile, "main", nullptr);
      cgGetError();
      if (!program) continue;
      cgGLLoadProgram(program);
      CGerror error = CG_NO_ERROR;
      const char* text = cgGetLastErrorString(&error);
      EXPECT_EQ(error, CG_NO_ERROR) << entry.path() << ": " << text;
      ++compiled;
    }
  }
  EXPECT_GE(compiled, 10);
}

}  // namespace
