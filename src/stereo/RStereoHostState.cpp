#include "stereo/RStereoHostState.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <algorithm>

#include "rgl/RGLFunctions.h"

namespace {

// All attributes that OpenGL 1.1 has; later drivers count those of extensions in.
constexpr GLbitfield kAllAttributes = 0xFFFFF;

struct Stack {
  GLenum depth;
  GLenum limit;
  GLint levels;  // that a picture takes
};

constexpr Stack kStacks[] = {{GL_ATTRIB_STACK_DEPTH, GL_MAX_ATTRIB_STACK_DEPTH, 2},
                             {GL_CLIENT_ATTRIB_STACK_DEPTH, GL_MAX_CLIENT_ATTRIB_STACK_DEPTH, 1},
                             {GL_PROJECTION_STACK_DEPTH, GL_MAX_PROJECTION_STACK_DEPTH, 1},
                             {GL_MODELVIEW_STACK_DEPTH, GL_MAX_MODELVIEW_STACK_DEPTH, 1}};

// What the attribute stack brings back.
constexpr GLenum kTests[] = {GL_SCISSOR_TEST,
                             GL_STENCIL_TEST,
                             GL_DEPTH_TEST,
                             GL_ALPHA_TEST,
                             GL_BLEND,
                             GL_COLOR_LOGIC_OP,
                             GL_CULL_FACE,
                             GL_FOG,
                             GL_LIGHTING,
                             GL_POLYGON_STIPPLE,
                             GL_POLYGON_SMOOTH,
                             GL_DITHER,
                             GL_SAMPLE_ALPHA_TO_COVERAGE};
constexpr GLenum kTexturing[] = {GL_TEXTURE_1D,    GL_TEXTURE_2D,    GL_TEXTURE_3D,    GL_TEXTURE_CUBE_MAP,
                                 GL_TEXTURE_GEN_S, GL_TEXTURE_GEN_T, GL_TEXTURE_GEN_R, GL_TEXTURE_GEN_Q};

struct ExtensionCapability {
  const char* extension;  // null where every driver has it
  GLenum capability;
};

// What some drivers' stacks do not keep.
constexpr ExtensionCapability kOfExtensions[] = {{nullptr, GL_COLOR_SUM},
                                                 {nullptr, GL_RASTERIZER_DISCARD},
                                                 {"GL_ARB_vertex_program", GL_VERTEX_PROGRAM_ARB},
                                                 {"GL_ARB_fragment_program", GL_FRAGMENT_PROGRAM_ARB},
                                                 {"GL_NV_fragment_program", GL_FRAGMENT_PROGRAM_NV},
                                                 {"GL_NV_register_combiners", GL_REGISTER_COMBINERS_NV},
                                                 {"GL_NV_texture_shader", GL_TEXTURE_SHADER_NV},
                                                 {"GL_ATI_fragment_shader", GL_FRAGMENT_SHADER_ATI}};

GLint Get(GLenum name) {
  GLint value = 0;
  glGetIntegerv(name, &value);
  return value;
}

GLuint GetName(GLenum binding) { return static_cast<GLuint>(Get(binding)); }

bool HasRoom() {
  return std::ranges::all_of(
      kStacks, [](const Stack& stack) { return Get(stack.limit) - Get(stack.depth) >= stack.levels; });
}

bool Has(const char* extension) { return QOpenGLContext::currentContext()->hasExtension(extension); }
bool HasSamplers() { return Has("GL_ARB_sampler_objects"); }
bool HasPipelines() { return Has("GL_ARB_separate_shader_objects"); }
QOpenGLExtraFunctions& Extra() { return *QOpenGLContext::currentContext()->extraFunctions(); }

// A host may have its first row at the top, or depths from 0 to 1, outside of which the pictures lie.
void ResetClipSpace() {
  if (!Has("GL_ARB_clip_control")) return;
  const auto clipControl = reinterpret_cast<PFNGLCLIPCONTROLPROC>(
      QOpenGLContext::currentContext()->getProcAddress("glClipControl"));
  if (clipControl) clipControl(GL_LOWER_LEFT, GL_NEGATIVE_ONE_TO_ONE);
}

}  // namespace

RStereoHostState::RStereoHostState() {
  if (!opengl30() || !HasRoom()) return;
  mIsSaved = true;
  glGetFloatv(GL_CURRENT_COLOR, mColor.data());
  glPushClientAttrib(GL_CLIENT_ALL_ATTRIB_BITS);
  glPushAttrib(kAllAttributes);
  for (const GLenum capability : kTests) glDisable(capability);
  for (GLint plane = 0; plane < Get(GL_MAX_CLIP_PLANES); ++plane)
    glDisable(GL_CLIP_PLANE0 + static_cast<GLenum>(plane));
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
  glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
  ResetClipSpace();
  PutProgramsAside();
  PutTextureUnitsAside();
}

RStereoHostState::~RStereoHostState() {
  if (!mIsSaved) return;
  auto* const gl = opengl30();
  for (std::size_t unit = 0; unit < mSamplers.size(); ++unit)
    Extra().glBindSampler(static_cast<GLuint>(unit), mSamplers[unit]);
  glMatrixMode(GL_TEXTURE);
  glLoadMatrixd(mTextureMatrix.data());
  for (const unsigned int capability : mCapabilities) glEnable(capability);
  // A program in use can keep a driver from taking a pipeline on.
  gl->glUseProgram(0);
  if (mPipeline != 0) Extra().glBindProgramPipeline(mPipeline);
  gl->glUseProgram(mProgram);
  glPopAttrib();
  glPopClientAttrib();
  // Some drivers' stacks forget what was current before a quad.
  glColor4fv(mColor.data());
  glTexCoord4fv(mTextureCoordinate.data());
}

void RStereoHostState::PutProgramsAside() {
  auto* const gl = opengl30();
  for (const ExtensionCapability& row : kOfExtensions) {
    if ((row.extension && !Has(row.extension)) || !glIsEnabled(row.capability)) continue;
    glDisable(row.capability);
    mCapabilities.push_back(row.capability);
  }
  mProgram = GetName(GL_CURRENT_PROGRAM);
  if (mProgram != 0) gl->glUseProgram(0);
  mPipeline = HasPipelines() ? GetName(GL_PROGRAM_PIPELINE_BINDING) : 0;
  if (mPipeline != 0) Extra().glBindProgramPipeline(0);
}

void RStereoHostState::PutTextureUnitsAside() {
  const bool hasSamplers = HasSamplers();
  const bool hasRectangles = Has("GL_ARB_texture_rectangle");
  // The last unit first, so that unit 0 is the active one in the end.
  const auto units = static_cast<GLuint>(Get(GL_MAX_TEXTURE_UNITS));
  mSamplers.resize(hasSamplers ? units : 0);
  for (GLuint unit = units; unit-- > 0;) {
    opengl30()->glActiveTexture(GL_TEXTURE0 + unit);
    for (const GLenum capability : kTexturing) glDisable(capability);
    if (hasRectangles) glDisable(GL_TEXTURE_RECTANGLE);
    if (!hasSamplers) continue;
    mSamplers[unit] = GetName(GL_SAMPLER_BINDING);
    if (mSamplers[unit] != 0) Extra().glBindSampler(unit, 0);
  }
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
  glGetFloatv(GL_CURRENT_TEXTURE_COORDS, mTextureCoordinate.data());
  glGetDoublev(GL_TEXTURE_MATRIX, mTextureMatrix.data());
  glMatrixMode(GL_TEXTURE);
  glLoadIdentity();
}
