// The text of the OpenGL state for comparisons before and after.
#include <GL/gl.h>
#include <GL/glext.h>

#include <array>
#include <sstream>

#include "support/GLEnumNames.h"
#include "support/GLTest.h"

namespace test {

namespace {

constexpr GLenum kCapabilities[] = {GL_ALPHA_TEST,
                                    GL_BLEND,
                                    GL_CLIP_PLANE0,
                                    GL_CLIP_PLANE1,
                                    GL_CLIP_PLANE2,
                                    GL_CLIP_PLANE3,
                                    GL_CLIP_PLANE4,
                                    GL_CLIP_PLANE5,
                                    GL_COLOR_LOGIC_OP,
                                    GL_COLOR_MATERIAL,
                                    GL_CULL_FACE,
                                    GL_DEPTH_TEST,
                                    GL_DITHER,
                                    GL_FOG,
                                    GL_LIGHTING,
                                    GL_MULTISAMPLE,
                                    GL_NORMALIZE,
                                    GL_POLYGON_OFFSET_FILL,
                                    GL_POLYGON_SMOOTH,
                                    GL_POLYGON_STIPPLE,
                                    GL_SCISSOR_TEST,
                                    GL_STENCIL_TEST,
                                    GL_COLOR_SUM,
                                    GL_LINE_SMOOTH,
                                    GL_VERTEX_PROGRAM_ARB,
                                    GL_FRAGMENT_PROGRAM_ARB};

struct Value {
  GLenum name;
  int count;
};

constexpr Value kValues[] = {{GL_VIEWPORT, 4},
                             {GL_SCISSOR_BOX, 4},
                             {GL_MATRIX_MODE, 1},
                             {GL_MODELVIEW_MATRIX, 16},
                             {GL_PROJECTION_MATRIX, 16},
                             {GL_MODELVIEW_STACK_DEPTH, 1},
                             {GL_PROJECTION_STACK_DEPTH, 1},
                             {GL_ATTRIB_STACK_DEPTH, 1},
                             {GL_CLIENT_ATTRIB_STACK_DEPTH, 1},
                             {GL_ACTIVE_TEXTURE, 1},
                             {GL_CLIENT_ACTIVE_TEXTURE, 1},
                             {GL_DRAW_FRAMEBUFFER_BINDING, 1},
                             {GL_READ_FRAMEBUFFER_BINDING, 1},
                             {GL_RENDERBUFFER_BINDING, 1},
                             {GL_CURRENT_PROGRAM, 1},
                             {GL_CURRENT_COLOR, 4},
                             {GL_CURRENT_SECONDARY_COLOR, 4},
                             {GL_CURRENT_NORMAL, 3},
                             {GL_CURRENT_FOG_COORD, 1},
                             {GL_CURRENT_RASTER_POSITION, 4},
                             {GL_COLOR_CLEAR_VALUE, 4},
                             {GL_COLOR_WRITEMASK, 4},
                             {GL_BLEND_SRC, 1},
                             {GL_BLEND_DST, 1},
                             {GL_BLEND_SRC_ALPHA, 1},
                             {GL_BLEND_DST_ALPHA, 1},
                             {GL_BLEND_COLOR, 4},
                             {GL_BLEND_EQUATION_RGB, 1},
                             {GL_BLEND_EQUATION_ALPHA, 1},
                             {GL_ALPHA_TEST_FUNC, 1},
                             {GL_ALPHA_TEST_REF, 1},
                             {GL_DEPTH_FUNC, 1},
                             {GL_DEPTH_WRITEMASK, 1},
                             {GL_STENCIL_WRITEMASK, 1},
                             {GL_STENCIL_FUNC, 1},
                             {GL_CULL_FACE_MODE, 1},
                             {GL_FRONT_FACE, 1},
                             {GL_POLYGON_MODE, 2},
                             {GL_SHADE_MODEL, 1},
                             {GL_LOGIC_OP_MODE, 1},
                             {GL_DRAW_BUFFER, 1},
                             {GL_READ_BUFFER, 1},
                             {GL_PACK_ALIGNMENT, 1},
                             {GL_PACK_ROW_LENGTH, 1},
                             {GL_PACK_SKIP_ROWS, 1},
                             {GL_PACK_SKIP_PIXELS, 1},
                             {GL_PACK_SWAP_BYTES, 1},
                             {GL_PACK_LSB_FIRST, 1},
                             {GL_UNPACK_ALIGNMENT, 1},
                             {GL_UNPACK_ROW_LENGTH, 1},
                             {GL_UNPACK_SKIP_ROWS, 1},
                             {GL_UNPACK_SKIP_PIXELS, 1},
                             {GL_UNPACK_SWAP_BYTES, 1},
                             {GL_UNPACK_LSB_FIRST, 1},
                             {GL_MAP_COLOR, 1},
                             {GL_RED_SCALE, 1},
                             {GL_RED_BIAS, 1},
                             {GL_GREEN_SCALE, 1},
                             {GL_GREEN_BIAS, 1},
                             {GL_BLUE_SCALE, 1},
                             {GL_BLUE_BIAS, 1},
                             {GL_ALPHA_SCALE, 1},
                             {GL_ALPHA_BIAS, 1},
                             {GL_ARRAY_BUFFER_BINDING, 1},
                             {GL_PIXEL_PACK_BUFFER_BINDING, 1},
                             {GL_PIXEL_UNPACK_BUFFER_BINDING, 1},
                             {GL_LIST_INDEX, 1}};

constexpr GLenum kUnitCapabilities[] = {GL_TEXTURE_1D,       GL_TEXTURE_2D,    GL_TEXTURE_3D,
                                        GL_TEXTURE_CUBE_MAP, GL_TEXTURE_GEN_S, GL_TEXTURE_GEN_T,
                                        GL_TEXTURE_GEN_R,    GL_TEXTURE_GEN_Q};

constexpr Value kUnitValues[] = {{GL_TEXTURE_BINDING_1D, 1},        {GL_TEXTURE_BINDING_2D, 1},
                                 {GL_TEXTURE_BINDING_3D, 1},        {GL_TEXTURE_BINDING_CUBE_MAP, 1},
                                 {GL_TEXTURE_BINDING_RECTANGLE, 1}, {GL_TEXTURE_MATRIX, 16},
                                 {GL_TEXTURE_STACK_DEPTH, 1},       {GL_CURRENT_TEXTURE_COORDS, 4}};

constexpr GLenum kEnvironment[] = {GL_TEXTURE_ENV_MODE, GL_COMBINE_RGB,  GL_COMBINE_ALPHA, GL_SOURCE0_RGB,
                                   GL_SOURCE1_RGB,      GL_SOURCE2_RGB,  GL_SOURCE0_ALPHA, GL_SOURCE1_ALPHA,
                                   GL_SOURCE2_ALPHA,    GL_OPERAND0_RGB, GL_OPERAND1_RGB,  GL_OPERAND2_RGB,
                                   GL_RGB_SCALE,        GL_ALPHA_SCALE};

template <class Function>
Function* Driver(const char* name) {
  return DriverEntryPoint<Function>(name);
}
#define DRIVER(name) Driver<decltype(::name)>(#name)

void AppendValue(std::ostringstream& text, const Value& value) {
  std::array<GLdouble, 16> numbers{};
  DRIVER(glGetDoublev)(value.name, numbers.data());
  text << GLEnumName(value.name) << ':';
  for (int i = 0; i < value.count; ++i) text << ' ' << numbers[static_cast<std::size_t>(i)];
  text << '\n';
}

void AppendCapability(std::ostringstream& text, GLenum name) {
  text << GLEnumName(name) << ": " << int{DRIVER(glIsEnabled)(name)} << '\n';
}

void AppendUnit(std::ostringstream& text, GLenum unit) {
  reinterpret_cast<PFNGLACTIVETEXTUREPROC>(DriverEntryPoint("glActiveTexture"))(unit);
  text << "[" << GLEnumName(unit) << "]\n";
  for (const GLenum name : kUnitCapabilities) AppendCapability(text, name);
  for (const Value& value : kUnitValues) AppendValue(text, value);
  for (const GLenum name : kEnvironment) {
    GLint value = 0;
    DRIVER(glGetTexEnviv)(GL_TEXTURE_ENV, name, &value);
    text << GLEnumName(name) << ": " << GLEnumName(static_cast<unsigned>(value)) << '\n';
  }
}

}  // namespace

std::string GLStateText() {
  std::ostringstream text;
  for (const GLenum name : kCapabilities) AppendCapability(text, name);
  for (const Value& value : kValues) AppendValue(text, value);
  GLint active = 0;
  DRIVER(glGetIntegerv)(GL_ACTIVE_TEXTURE, &active);
  AppendUnit(text, GL_TEXTURE0);
  AppendUnit(text, GL_TEXTURE1);
  reinterpret_cast<PFNGLACTIVETEXTUREPROC>(DriverEntryPoint("glActiveTexture"))(static_cast<GLenum>(active));
  return text.str();
}

}  // namespace test
