#include "support/HostileState.h"

#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>

#include <QOpenGLContext>
#include <array>
#include <sstream>
#include <utility>

#include "support/GLEnumNames.h"
#include "support/GLTest.h"
#include "support/shim/GLShim.h"

namespace test {

namespace {

// Objects are made past the recorder, which would count them as left behind.
template <class Function>
Function* Driver(const char* name) {
  return DriverEntryPoint<Function>(name);
}
#define DRIVER(name) Driver<decltype(::name)>(#name)

GLuint MakeBuffer() {
  GLuint buffer = 0;
  DRIVER(glGenBuffers)(1, &buffer);
  DRIVER(glBindBuffer)(GL_PIXEL_PACK_BUFFER, buffer);
  DRIVER(glBufferData)(GL_PIXEL_PACK_BUFFER, 16, nullptr, GL_STATIC_DRAW);
  DRIVER(glBindBuffer)(GL_PIXEL_PACK_BUFFER, 0);
  return buffer;
}

GLuint MakeProgram() {
  const char* const source = "void main() { gl_FragColor = vec4(1.0, 0.0, 1.0, 0.5); }";
  const GLuint shader = DRIVER(glCreateShader)(GL_FRAGMENT_SHADER);
  DRIVER(glShaderSource)(shader, 1, &source, nullptr);
  DRIVER(glCompileShader)(shader);
  const GLuint program = DRIVER(glCreateProgram)();
  DRIVER(glProgramParameteri)(program, GL_PROGRAM_SEPARABLE, GL_TRUE);
  DRIVER(glAttachShader)(program, shader);
  DRIVER(glLinkProgram)(program);
  return program;
}

void BindPipeline() {
  GLuint pipeline = 0;
  DRIVER(glGenProgramPipelines)(1, &pipeline);
  DRIVER(glBindProgramPipeline)(pipeline);
  DRIVER(glUseProgramStages)(pipeline, GL_FRAGMENT_SHADER_BIT, MakeProgram());
}

void BindSamplers() {
  for (GLuint unit = 0; unit < 2; ++unit) {
    GLuint sampler = 0;
    DRIVER(glGenSamplers)(1, &sampler);
    DRIVER(glSamplerParameteri)(sampler, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_BORDER);
    DRIVER(glSamplerParameteri)(sampler, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    DRIVER(glSamplerParameteri)(sampler, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    DRIVER(glBindSampler)(unit, sampler);
  }
}

void BindARBProgram(GLenum target, const char* text) {
  GLuint program = 0;
  DRIVER(glGenProgramsARB)(1, &program);
  DRIVER(glBindProgramARB)(target, program);
  DRIVER(glProgramStringARB)
  (target, GL_PROGRAM_FORMAT_ASCII_ARB, static_cast<GLsizei>(std::char_traits<char>::length(text)), text);
  glEnable(target);
}

bool Advertises(const char* extension) { return QOpenGLContext::currentContext()->hasExtension(extension); }

// What colours fragments in place of the texture environment, of the kind that the driver has.
void BindATIShader();
void LoadColorMatrix();
void EnableFragmentExtension() {
  if (Advertises("GL_ATI_fragment_shader"))
    BindATIShader();
  else if (Advertises("GL_NV_fragment_program"))
    glEnable(GL_FRAGMENT_PROGRAM_NV);
  else if (Advertises("GL_NV_register_combiners"))
    glEnable(GL_REGISTER_COMBINERS_NV);
  else if (Advertises("GL_SGI_color_matrix"))
    LoadColorMatrix();
  else
    BindARBProgram(GL_FRAGMENT_PROGRAM_ARB, "!!ARBfp1.0\nMOV result.color, 1;\nEND\n");
}

// Everything turns white, alpha included.
void LoadColorMatrix() {
  static constexpr GLfloat kNothing[16] = {};
  glMatrixMode(GL_COLOR);
  glLoadMatrixf(kNothing);
  glMatrixMode(GL_MODELVIEW);
  glPixelTransferf(GL_POST_COLOR_MATRIX_RED_BIAS, 1);
  glPixelTransferf(GL_POST_COLOR_MATRIX_ALPHA_BIAS, 1);
}

void BindATIShader() {
  const GLuint shader = DRIVER(glGenFragmentShadersATI)(1);
  DRIVER(glBindFragmentShaderATI)(shader);
  DRIVER(glBeginFragmentShaderATI)();
  DRIVER(glPassTexCoordATI)(GL_REG_0_ATI, GL_TEXTURE0, GL_SWIZZLE_STR_ATI);
  DRIVER(glColorFragmentOp1ATI)(GL_MOV_ATI, GL_REG_0_ATI, GL_NONE, GL_NONE, GL_ONE, GL_NONE, GL_NONE);
  DRIVER(glAlphaFragmentOp1ATI)(GL_MOV_ATI, GL_REG_0_ATI, GL_NONE, GL_ONE, GL_NONE, GL_NONE);
  DRIVER(glEndFragmentShaderATI)();
  glEnable(GL_FRAGMENT_SHADER_ATI);
}

void EnableTextures() {
  static const unsigned char kPixel[4] = {255, 0, 255, 128};
  for (GLenum unit = 1; unit < 3; ++unit) {
    DRIVER(glActiveTexture)(GL_TEXTURE0 + unit);
    GLuint texture = 0;
    DRIVER(glGenTextures)(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    DRIVER(glTexImage2D)(GL_TEXTURE_2D, 0, 4, 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, kPixel);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    glEnable(GL_TEXTURE_2D);
  }
  DRIVER(glActiveTexture)(GL_TEXTURE0);
  GLuint texture = 0;
  DRIVER(glGenTextures)(1, &texture);
  glBindTexture(GL_TEXTURE_3D, texture);
  DRIVER(glTexImage3D)(GL_TEXTURE_3D, 0, 4, 1, 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, kPixel);
  glTexParameteri(GL_TEXTURE_3D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glEnable(GL_TEXTURE_3D);
}

void SetTextureMatrices() {
  glMatrixMode(GL_TEXTURE);
  for (GLenum unit = 0; unit < 2; ++unit) {
    DRIVER(glActiveTexture)(GL_TEXTURE0 + unit);
    glLoadIdentity();
    glRotatef(33, 0, 0, 1);
    glScalef(3, 0.5F, 2);
  }
  DRIVER(glActiveTexture)(GL_TEXTURE0);
}

void SetGeneration() {
  static const GLfloat kPlane[4] = {0.5F, 0.25F, 0, 0.125F};
  for (const GLenum coordinate : std::initializer_list<GLenum>{GL_S, GL_T, GL_R, GL_Q}) {
    const bool onSphere = coordinate == GL_S || coordinate == GL_T;
    glTexGeni(coordinate, GL_TEXTURE_GEN_MODE, onSphere ? GL_SPHERE_MAP : GL_EYE_LINEAR);
    glTexGenfv(coordinate, GL_OBJECT_PLANE, kPlane);
    glTexGenfv(coordinate, GL_EYE_PLANE, kPlane);
  }
  glEnable(GL_TEXTURE_GEN_S);
  glEnable(GL_TEXTURE_GEN_T);
  glEnable(GL_TEXTURE_GEN_R);
  glEnable(GL_TEXTURE_GEN_Q);
}

void SetMatrices() {
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glFrustum(-1, 2, -1, 3, 1, 50);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glRotatef(20, 1, 1, 0);
}

void SetPixelStore() {
  for (const GLenum name : std::initializer_list<GLenum>{GL_PACK_ROW_LENGTH, GL_UNPACK_ROW_LENGTH})
    glPixelStorei(name, 90);
  for (const GLenum name : std::initializer_list<GLenum>{GL_PACK_SKIP_ROWS, GL_PACK_SKIP_PIXELS,
                                                         GL_UNPACK_SKIP_ROWS, GL_UNPACK_SKIP_PIXELS}) {
    glPixelStorei(name, 3);
  }
  for (const GLenum name : std::initializer_list<GLenum>{GL_PACK_ALIGNMENT, GL_UNPACK_ALIGNMENT})
    glPixelStorei(name, 8);
  for (const GLenum name : std::initializer_list<GLenum>{GL_PACK_SWAP_BYTES, GL_PACK_LSB_FIRST,
                                                         GL_UNPACK_SWAP_BYTES, GL_UNPACK_LSB_FIRST}) {
    glPixelStorei(name, 1);
  }
}

void SetPixelTransfer() {
  glPixelTransferf(GL_RED_SCALE, 0.5F);
  glPixelTransferf(GL_GREEN_BIAS, 0.25F);
  glPixelTransferf(GL_ALPHA_SCALE, 0.25F);
  for (const GLenum name : std::initializer_list<GLenum>{GL_RED_BIAS, GL_BLUE_BIAS, GL_ALPHA_BIAS})
    glPixelTransferf(name, 0.125F);
  for (const GLenum name : std::initializer_list<GLenum>{GL_GREEN_SCALE, GL_BLUE_SCALE})
    glPixelTransferf(name, 0.75F);
  static const GLfloat kMap[2] = {1, 0};
  glPixelMapfv(GL_PIXEL_MAP_B_TO_B, 2, kMap);
  glPixelTransferi(GL_MAP_COLOR, 1);
}

void SetBlending() {
  glEnable(GL_BLEND);
  DRIVER(glBlendFuncSeparate)(GL_DST_COLOR, GL_SRC_COLOR, GL_ZERO, GL_ZERO);
  DRIVER(glBlendEquationSeparate)(GL_FUNC_REVERSE_SUBTRACT, GL_MAX);
  DRIVER(glBlendColor)(0.1F, 0.2F, 0.3F, 0.4F);
}

void SetClipPlane() {
  static const GLdouble kPlane[4] = {-1, 0, 0, 5};
  glClipPlane(GL_CLIP_PLANE1, kPlane);
  glEnable(GL_CLIP_PLANE1);
}

void SetStencil() {
  glEnable(GL_STENCIL_TEST);
  glStencilFunc(GL_NEVER, 1, 1);
}

void SetDepth() {
  glEnable(GL_DEPTH_TEST);
  glDepthFunc(GL_NEVER);
}

// The material follows the current colour.
void SetColorMaterial() {
  glEnable(GL_COLOR_MATERIAL);
  glColor4f(0.5F, 0.25F, 0.125F, 0.0625F);
}

void SetCurrentCoordinates() {
  for (GLenum unit = 0; unit < 3; ++unit) {
    const auto value = static_cast<GLfloat>(unit + 1);
    DRIVER(glMultiTexCoord4f)(GL_TEXTURE0 + unit, value, 2 * value, 3 * value, 4 * value);
  }
}

// Depths from 0 to 1, and the first row at the top.
void SetClipControl() {
  if (Advertises("GL_ARB_clip_control")) DRIVER(glClipControl)(GL_UPPER_LEFT, GL_ZERO_TO_ONE);
}

void SetFog() {
  glEnable(GL_FOG);
  glFogi(GL_FOG_MODE, GL_LINEAR);
  glFogf(GL_FOG_START, -1);
  glFogf(GL_FOG_END, 0);
}

void BindFramebuffer() {
  GLuint framebuffer = 0;
  DRIVER(glGenFramebuffers)(1, &framebuffer);
  DRIVER(glBindFramebuffer)(GL_DRAW_FRAMEBUFFER, framebuffer);
}

}  // namespace

const std::vector<HostileKind>& HostileKinds() {
  static const std::vector<HostileKind> kKinds = {
      {"Culling",
       [] {
         glEnable(GL_CULL_FACE);
         glCullFace(GL_FRONT_AND_BACK);
       }},
      {"Scissor",
       [] {
         glEnable(GL_SCISSOR_TEST);
         glScissor(3, 4, 5, 6);
       }},
      {"AlphaTest",
       [] {
         glEnable(GL_ALPHA_TEST);
         glAlphaFunc(GL_NEVER, 0);
       }},
      {"Lighting", [] { glEnable(GL_LIGHTING); }},
      {"Fog", SetFog},
      {"Stencil", SetStencil},
      {"Depth", SetDepth},
      {"ColorMask", [] { glColorMask(GL_FALSE, GL_TRUE, GL_FALSE, GL_FALSE); }},
      {"PolygonMode", [] { glPolygonMode(GL_FRONT_AND_BACK, GL_LINE); }},
      {"PolygonStipple",
       [] {
         static const std::array<GLubyte, 128> kNothing{};
         glPolygonStipple(kNothing.data());
         glEnable(GL_POLYGON_STIPPLE);
       }},
      {"PolygonSmooth", [] { glEnable(GL_POLYGON_SMOOTH); }},
      {"AlphaToCoverage", [] { glEnable(GL_SAMPLE_ALPHA_TO_COVERAGE); }},
      {"LogicOp",
       [] {
         glEnable(GL_COLOR_LOGIC_OP);
         glLogicOp(GL_INVERT);
       }},
      {"ClipPlane", SetClipPlane},
      {"ClipControl", SetClipControl},
      {"PixelZoom", [] { glPixelZoom(2, -3); }},
      {"Blending", SetBlending},
      {"CurrentColor", [] { glColor4f(0.5F, 0.25F, 0.125F, 0.0625F); }},
      {"ColorMaterial", SetColorMaterial},
      {"CurrentCoordinates", SetCurrentCoordinates},
      {"ColorSum",
       [] {
         glEnable(GL_COLOR_SUM);
         DRIVER(glSecondaryColor3f)(1, 1, 1);
       }},
      {"Program",
       [] {
         DRIVER(glUseProgram)
         (MakeProgram());
       }},
      {"Pipeline", BindPipeline},
      {"FragmentProgram",
       [] {
         BindARBProgram(GL_FRAGMENT_PROGRAM_ARB, "!!ARBfp1.0\nMOV result.color, {0.5, 0, 0, 1};\nEND\n");
       }},
      {"VertexProgram",
       [] {
         BindARBProgram(GL_VERTEX_PROGRAM_ARB, "!!ARBvp1.0\nMOV result.position, {0, 0, 0, 1};\nEND\n");
       }},
      {"FragmentShader", EnableFragmentExtension},
      {"TextureUnits", EnableTextures},
      {"PixelStore", SetPixelStore},
      {"PixelTransfer", SetPixelTransfer},
      {"PackBuffer",
       [] {
         DRIVER(glBindBuffer)
         (GL_PIXEL_PACK_BUFFER, MakeBuffer());
       }},
      {"UnpackBuffer",
       [] {
         DRIVER(glBindBuffer)
         (GL_PIXEL_UNPACK_BUFFER, MakeBuffer());
       }},
      {"Samplers", BindSamplers},
      {"TextureMatrices", SetTextureMatrices},
      {"TextureGeneration", SetGeneration},
      {"TextureEnvironment",
       [] {
         glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_COMBINE);
         glTexEnvi(GL_TEXTURE_ENV, GL_COMBINE_RGB, GL_SUBTRACT);
         glTexEnvf(GL_TEXTURE_ENV, GL_RGB_SCALE, 4);
       }},
      {"ActiveTexture",
       [] {
         DRIVER(glActiveTexture)(GL_TEXTURE1);
         DRIVER(glClientActiveTexture)(GL_TEXTURE1);
       }},
      {"Matrices", SetMatrices},
      {"MatrixMode", [] { glMatrixMode(GL_TEXTURE); }},
      {"Viewport", [] { glViewport(5, 6, 7, 8); }},
      {"ClearColor", [] { glClearColor(0.1F, 0.9F, 0.2F, 0.8F); }},
      {"RasterizerDiscard", [] { glEnable(GL_RASTERIZER_DISCARD); }},
      {"FramebufferSRGB", [] { glEnable(GL_FRAMEBUFFER_SRGB); }},
      {"ClampColor",
       [] {
         DRIVER(glClampColor)(GL_CLAMP_FRAGMENT_COLOR, GL_TRUE);
         DRIVER(glClampColor)(GL_CLAMP_VERTEX_COLOR, GL_FALSE);
         DRIVER(glClampColor)(GL_CLAMP_READ_COLOR, GL_TRUE);
       }},
      {"Framebuffer", BindFramebuffer},
  };
  return kKinds;
}

void SetHostileState() {
  for (const HostileKind& kind : HostileKinds()) kind.set();
}

namespace {

void AppendInteger(std::ostringstream& text, GLenum name, const char* label) {
  GLint value = 0;
  DRIVER(glGetIntegerv)(name, &value);
  text << label << ": " << value << '\n';
}

void AppendMaterial(std::ostringstream& text) {
  for (const GLenum name : std::initializer_list<GLenum>{GL_AMBIENT, GL_DIFFUSE}) {
    std::array<GLfloat, 4> color{};
    DRIVER(glGetMaterialfv)(GL_FRONT, name, color.data());
    text << "material:";
    for (const GLfloat value : color) text << ' ' << value;
    text << '\n';
  }
}

void AppendClipping(std::ostringstream& text) {
  if (!Advertises("GL_ARB_clip_control")) return;
  AppendInteger(text, GL_CLIP_ORIGIN, "clip origin");
  AppendInteger(text, GL_CLIP_DEPTH_MODE, "clip depths");
}

void AppendUnit(std::ostringstream& text, GLenum unit) {
  DRIVER(glActiveTexture)(unit);
  text << "[" << GLEnumName(unit) << "]\n";
  AppendInteger(text, GL_SAMPLER_BINDING, "sampler");
  for (const GLenum coordinate : std::initializer_list<GLenum>{GL_S, GL_T, GL_R, GL_Q}) {
    GLint mode = 0;
    std::array<GLfloat, 4> object{};
    std::array<GLfloat, 4> eye{};
    DRIVER(glGetTexGeniv)(coordinate, GL_TEXTURE_GEN_MODE, &mode);
    DRIVER(glGetTexGenfv)(coordinate, GL_OBJECT_PLANE, object.data());
    DRIVER(glGetTexGenfv)(coordinate, GL_EYE_PLANE, eye.data());
    text << "generation: " << mode;
    for (const GLfloat value : object) text << ' ' << value;
    for (const GLfloat value : eye) text << ' ' << value;
    text << '\n';
  }
}

// Asked past the recorder, but not past a driver shim.
template <class Function>
Function* Shown(const char* name) {
  void* const function = shim::EntryPoint(name);
  return function ? reinterpret_cast<Function*>(function) : Driver<Function>(name);
}

void AppendExtensions(std::ostringstream& text) {
  constexpr std::pair<const char*, GLenum> kEnables[] = {
      {"GL_ATI_fragment_shader", GL_FRAGMENT_SHADER_ATI},
      {"GL_NV_fragment_program", GL_FRAGMENT_PROGRAM_NV},
      {"GL_NV_register_combiners", GL_REGISTER_COMBINERS_NV}};
  for (const auto& [extension, capability] : kEnables) {
    if (!Advertises(extension)) continue;
    const GLboolean enabled = Shown<decltype(::glIsEnabled)>("glIsEnabled")(capability);
    text << GLEnumName(capability) << ": " << int{enabled} << '\n';
  }
  if (!Advertises("GL_SGI_color_matrix")) return;
  auto* const get = Shown<decltype(::glGetFloatv)>("glGetFloatv");
  std::array<GLfloat, 16> matrix{};
  get(GL_COLOR_MATRIX, matrix.data());
  text << "GL_COLOR_MATRIX:";
  for (const GLfloat value : matrix) text << ' ' << value;
  GLfloat bias = 0;
  get(GL_POST_COLOR_MATRIX_RED_BIAS, &bias);
  text << "\nGL_POST_COLOR_MATRIX_RED_BIAS: " << bias << '\n';
}

}  // namespace

std::string FullStateText() {
  std::ostringstream text;
  text << GLStateText();
  for (const GLenum capability : std::initializer_list<GLenum>{GL_RASTERIZER_DISCARD, GL_FRAMEBUFFER_SRGB,
                                                               GL_SAMPLE_ALPHA_TO_COVERAGE}) {
    text << GLEnumName(capability) << ": " << int{DRIVER(glIsEnabled)(capability)} << '\n';
  }
  AppendExtensions(text);
  AppendInteger(text, GL_PROGRAM_PIPELINE_BINDING, "pipeline");
  AppendInteger(text, GL_CLAMP_FRAGMENT_COLOR, "clamp fragment");
  AppendInteger(text, GL_CLAMP_VERTEX_COLOR, "clamp vertex");
  AppendInteger(text, GL_CLAMP_READ_COLOR, "clamp read");
  AppendInteger(text, GL_FOG_MODE, "fog mode");
  AppendInteger(text, GL_STENCIL_FUNC, "stencil function");
  AppendInteger(text, GL_ZOOM_X, "zoom of columns");
  AppendInteger(text, GL_ZOOM_Y, "zoom of rows");
  AppendMaterial(text);
  AppendClipping(text);
  GLint active = 0;
  DRIVER(glGetIntegerv)(GL_ACTIVE_TEXTURE, &active);
  for (const GLenum unit : std::initializer_list<GLenum>{GL_TEXTURE0, GL_TEXTURE1, GL_TEXTURE2})
    AppendUnit(text, unit);
  DRIVER(glActiveTexture)(static_cast<GLenum>(active));
  return text.str();
}

std::string StateDifference(const std::string& before, const std::string& after) {
  std::istringstream first(before);
  std::istringstream second(after);
  std::string difference;
  std::string was;
  std::string is;
  while (std::getline(first, was) && std::getline(second, is)) {
    if (was != is) difference += was + "  ->  " + is + '\n';
  }
  return difference;
}

}  // namespace test
