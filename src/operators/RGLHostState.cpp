#include "operators/RGLHostState.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>

#include "fp/RFpEntryPoints.h"
#include "rgl/RGLFunctions.h"

namespace {

// The levels that the state itself and the scopes within an evaluation take on the attribute stack.
constexpr GLint kAttributeLevels = 3;

constexpr GLenum kDisabled[] = {
    GL_ALPHA_TEST,   GL_BLEND,          GL_COLOR_LOGIC_OP,  GL_COLOR_MATERIAL,
    GL_CULL_FACE,    GL_DEPTH_TEST,     GL_DITHER,          GL_FOG,
    GL_LIGHTING,     GL_POLYGON_SMOOTH, GL_POLYGON_STIPPLE, GL_SAMPLE_ALPHA_TO_COVERAGE,
    GL_SCISSOR_TEST, GL_STENCIL_TEST};

struct ExtensionCapability {
  GLenum capability;
  const char* extension;  // null where every driver has it
};

// Enables that the attribute stack of one driver or another does not keep.
constexpr ExtensionCapability kDisabledExtensions[] = {{GL_COLOR_SUM, nullptr},
                                                       {GL_RASTERIZER_DISCARD, nullptr},
                                                       {GL_FRAMEBUFFER_SRGB, nullptr},
                                                       {GL_FRAGMENT_PROGRAM_ARB, "GL_ARB_fragment_program"},
                                                       {GL_VERTEX_PROGRAM_ARB, "GL_ARB_vertex_program"},
                                                       {GL_FRAGMENT_SHADER_ATI, "GL_ATI_fragment_shader"},
                                                       {GL_FRAGMENT_PROGRAM_NV, "GL_NV_fragment_program"},
                                                       {GL_REGISTER_COMBINERS_NV, "GL_NV_register_combiners"},
                                                       {GL_TEXTURE_SHADER_NV, "GL_NV_texture_shader"},
                                                       {GL_CONVOLUTION_2D, "GL_ARB_imaging"},
                                                       {GL_SEPARABLE_2D, "GL_ARB_imaging"},
                                                       {GL_HISTOGRAM, "GL_ARB_imaging"},
                                                       {GL_MINMAX, "GL_ARB_imaging"},
                                                       {GL_COLOR_TABLE, "GL_ARB_imaging"},
                                                       {GL_POST_CONVOLUTION_COLOR_TABLE, "GL_ARB_imaging"},
                                                       {GL_POST_COLOR_MATRIX_COLOR_TABLE, "GL_ARB_imaging"}};

struct PixelValue {
  GLenum name;
  GLint value;
};

constexpr PixelValue kPixelStore[] = {
    {GL_PACK_SWAP_BYTES, 0},   {GL_PACK_LSB_FIRST, 0},     {GL_PACK_ROW_LENGTH, 0},
    {GL_PACK_IMAGE_HEIGHT, 0}, {GL_PACK_SKIP_ROWS, 0},     {GL_PACK_SKIP_PIXELS, 0},
    {GL_PACK_SKIP_IMAGES, 0},  {GL_PACK_ALIGNMENT, 4},     {GL_UNPACK_SWAP_BYTES, 0},
    {GL_UNPACK_LSB_FIRST, 0},  {GL_UNPACK_ROW_LENGTH, 0},  {GL_UNPACK_IMAGE_HEIGHT, 0},
    {GL_UNPACK_SKIP_ROWS, 0},  {GL_UNPACK_SKIP_PIXELS, 0}, {GL_UNPACK_SKIP_IMAGES, 0},
    {GL_UNPACK_ALIGNMENT, 4}};

constexpr PixelValue kPixelTransfer[] = {{GL_MAP_COLOR, 0},   {GL_RED_SCALE, 1},   {GL_RED_BIAS, 0},
                                         {GL_GREEN_SCALE, 1}, {GL_GREEN_BIAS, 0},  {GL_BLUE_SCALE, 1},
                                         {GL_BLUE_BIAS, 0},   {GL_ALPHA_SCALE, 1}, {GL_ALPHA_BIAS, 0}};

constexpr PixelValue kColorMatrixTransfer[] = {
    {GL_POST_COLOR_MATRIX_RED_SCALE, 1},   {GL_POST_COLOR_MATRIX_RED_BIAS, 0},
    {GL_POST_COLOR_MATRIX_GREEN_SCALE, 1}, {GL_POST_COLOR_MATRIX_GREEN_BIAS, 0},
    {GL_POST_COLOR_MATRIX_BLUE_SCALE, 1},  {GL_POST_COLOR_MATRIX_BLUE_BIAS, 0},
    {GL_POST_COLOR_MATRIX_ALPHA_SCALE, 1}, {GL_POST_COLOR_MATRIX_ALPHA_BIAS, 0}};

// What fixed-function drawing reads from a texture unit beside the two-dimensional texture.
constexpr GLenum kDisabledInUnit[] = {GL_TEXTURE_1D,       GL_TEXTURE_2D,    GL_TEXTURE_3D,
                                      GL_TEXTURE_CUBE_MAP, GL_TEXTURE_GEN_S, GL_TEXTURE_GEN_T,
                                      GL_TEXTURE_GEN_R,    GL_TEXTURE_GEN_Q};

GLint GetInteger(GLenum name) {
  GLint value = 0;
  glGetIntegerv(name, &value);
  return value;
}

bool HasRoomOnStacks() {
  return GetInteger(GL_MAX_ATTRIB_STACK_DEPTH) - GetInteger(GL_ATTRIB_STACK_DEPTH) >= kAttributeLevels &&
         GetInteger(GL_MAX_CLIENT_ATTRIB_STACK_DEPTH) > GetInteger(GL_CLIENT_ATTRIB_STACK_DEPTH);
}

bool Advertises(const char* extension) { return RFpEntryPoints::Get().Advertises(extension); }

bool HasVersion(int major, int minor) {
  return QOpenGLContext::currentContext()->format().version() >= std::pair(major, minor);
}

QOpenGLExtraFunctions& Extra() { return *QOpenGLContext::currentContext()->extraFunctions(); }

void LoadMatrix(GLenum mode, const std::array<double, 16>& matrix) {
  glMatrixMode(mode);
  glLoadMatrixd(matrix.data());
}

}  // namespace

RGLHostState::RGLHostState() {
  if (!opengl30() || !HasRoomOnStacks() || GetInteger(GL_RENDER_MODE) != GL_RENDER) return;
  mSaved = true;
  glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
  glPushAttrib(GL_ALL_ATTRIB_BITS);
  mHasColorMatrix = RFpHasColorMatrix();
  mHasSamplers = HasVersion(3, 3) || Advertises("GL_ARB_sampler_objects");
  mHasPipelines = HasVersion(4, 1) || Advertises("GL_ARB_separate_shader_objects");
  SaveBindings();
  SaveMatrices();
  glGetFloatv(GL_CURRENT_COLOR, mCurrentColor.data());
  NeutralizeDrawing();
  NeutralizeExtensions();
  NeutralizeTextureUnits();
}

RGLHostState::~RGLHostState() {
  if (!mSaved) return;
  auto* const gl = opengl30();
  RestoreTextureUnits();
  RestoreMatrices();
  for (const GLenum capability : mEnabledExtensions) glEnable(capability);
  // A program in use can keep a driver from taking a pipeline off.
  gl->glUseProgram(0);
  if (mHasPipelines) Extra().glBindProgramPipeline(static_cast<GLuint>(mPipeline));
  gl->glUseProgram(static_cast<GLuint>(mProgram));
  gl->glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(mDrawFramebuffer));
  gl->glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(mReadFramebuffer));
  glPopAttrib();
  RestoreCurrentValues();
  gl->glBindBuffer(GL_PIXEL_PACK_BUFFER, static_cast<GLuint>(mPackBuffer));
  gl->glBindBuffer(GL_PIXEL_UNPACK_BUFFER, static_cast<GLuint>(mUnpackBuffer));
  glPopClientAttrib();
}

void RGLHostState::SaveBindings() {
  mProgram = GetInteger(GL_CURRENT_PROGRAM);
  mPipeline = mHasPipelines ? GetInteger(GL_PROGRAM_PIPELINE_BINDING) : 0;
  mDrawFramebuffer = GetInteger(GL_DRAW_FRAMEBUFFER_BINDING);
  mReadFramebuffer = GetInteger(GL_READ_FRAMEBUFFER_BINDING);
  mPackBuffer = GetInteger(GL_PIXEL_PACK_BUFFER_BINDING);
  mUnpackBuffer = GetInteger(GL_PIXEL_UNPACK_BUFFER_BINDING);
}

void RGLHostState::SaveMatrices() {
  glGetDoublev(GL_MODELVIEW_MATRIX, mModelView.data());
  glGetDoublev(GL_PROJECTION_MATRIX, mProjection.data());
  if (mHasColorMatrix) glGetDoublev(GL_COLOR_MATRIX, mColor.data());
}

void RGLHostState::NeutralizeDrawing() {
  auto* const gl = opengl30();
  for (const GLenum capability : kDisabled) glDisable(capability);
  for (GLint i = 0; i < GetInteger(GL_MAX_CLIP_PLANES); ++i)
    glDisable(GL_CLIP_PLANE0 + static_cast<GLenum>(i));
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
  glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
  glBlendFunc(GL_ONE, GL_ZERO);
  gl->glBlendEquation(GL_FUNC_ADD);
  glColor4f(1, 1, 1, 1);
  gl->glClampColor(GL_CLAMP_VERTEX_COLOR, GL_TRUE);
  gl->glClampColor(GL_CLAMP_FRAGMENT_COLOR, GL_FIXED_ONLY);
  gl->glClampColor(GL_CLAMP_READ_COLOR, GL_FIXED_ONLY);
  gl->glUseProgram(0);
  if (mHasPipelines) Extra().glBindProgramPipeline(0);
  gl->glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
  gl->glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
  for (const PixelValue& row : kPixelStore) glPixelStorei(row.name, row.value);
  for (const PixelValue& row : kPixelTransfer) glPixelTransferi(row.name, row.value);
  if (!mHasColorMatrix) return;
  for (const PixelValue& row : kColorMatrixTransfer) glPixelTransferi(row.name, row.value);
  glMatrixMode(GL_COLOR);
  glLoadIdentity();
}

void RGLHostState::NeutralizeExtensions() {
  for (const ExtensionCapability& row : kDisabledExtensions) {
    if ((row.extension && !Advertises(row.extension)) || !glIsEnabled(row.capability)) continue;
    glDisable(row.capability);
    mEnabledExtensions.push_back(row.capability);
  }
}

void RGLHostState::NeutralizeTextureUnits() {
  mTextureUnits.resize(static_cast<std::size_t>(GetInteger(GL_MAX_TEXTURE_UNITS)));
  const bool hasRectangles = Advertises("GL_ARB_texture_rectangle");
  glMatrixMode(GL_TEXTURE);
  // The last unit first, so that unit 0 is the active one in the end.
  for (std::size_t i = mTextureUnits.size(); i-- > 0;) {
    TextureUnit& unit = mTextureUnits[i];
    const auto index = static_cast<GLuint>(i);
    opengl30()->glActiveTexture(GL_TEXTURE0 + index);
    glGetFloatv(GL_CURRENT_TEXTURE_COORDS, unit.coordinates.data());
    // Generated coordinates leave the last one, which divides the others, as it is.
    opengl30()->glMultiTexCoord4f(GL_TEXTURE0 + index, 0, 0, 0, 1);
    glGetDoublev(GL_TEXTURE_MATRIX, unit.matrix.data());
    glLoadIdentity();
    for (const GLenum capability : kDisabledInUnit) glDisable(capability);
    if (hasRectangles) glDisable(GL_TEXTURE_RECTANGLE);
    if (!mHasSamplers) continue;
    unit.sampler = GetInteger(GL_SAMPLER_BINDING);
    Extra().glBindSampler(index, 0);
  }
}

void RGLHostState::RestoreTextureUnits() const {
  glMatrixMode(GL_TEXTURE);
  for (std::size_t i = 0; i < mTextureUnits.size(); ++i) {
    const auto index = static_cast<GLuint>(i);
    opengl30()->glActiveTexture(GL_TEXTURE0 + index);
    glLoadMatrixd(mTextureUnits[i].matrix.data());
    if (mHasSamplers) Extra().glBindSampler(index, static_cast<GLuint>(mTextureUnits[i].sampler));
  }
}

void RGLHostState::RestoreMatrices() const {
  if (mHasColorMatrix) LoadMatrix(GL_COLOR, mColor);
  LoadMatrix(GL_PROJECTION, mProjection);
  LoadMatrix(GL_MODELVIEW, mModelView);
}

// Mesa takes note of values that were set between glBegin and glEnd only with the next change of state. When
// that falls between an inner push and its pop, the outer pop does not know that there is something to
// restore.
void RGLHostState::RestoreCurrentValues() const {
  for (std::size_t i = 0; i < mTextureUnits.size(); ++i) {
    opengl30()->glMultiTexCoord4fv(GL_TEXTURE0 + static_cast<GLenum>(i), mTextureUnits[i].coordinates.data());
  }
  glColor4fv(mCurrentColor.data());
}
