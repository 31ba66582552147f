#include "support/GLTest.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <array>
#include <utility>

#include "support/GLEnumNames.h"

namespace test {

namespace {

// Reading helpers use the driver directly, so that recorders see only what is tested.
template <class Function>
Function* Driver(const char* name) {
  return DriverEntryPoint<Function>(name);
}
#define DRIVER(name) Driver<decltype(::name)>(#name)
#define DRIVER_EXTENSION(type, name) reinterpret_cast<type>(DriverEntryPoint(#name))

int GetInteger(GLenum name) {
  GLint value = 0;
  DRIVER(glGetIntegerv)(name, &value);
  return value;
}

constexpr std::array<std::pair<GLenum, GLint>, 8> kTightStore{{{GL_PACK_ROW_LENGTH, 0},
                                                               {GL_PACK_SKIP_ROWS, 0},
                                                               {GL_PACK_SKIP_PIXELS, 0},
                                                               {GL_PACK_ALIGNMENT, 1},
                                                               {GL_UNPACK_ROW_LENGTH, 0},
                                                               {GL_UNPACK_SKIP_ROWS, 0},
                                                               {GL_UNPACK_SKIP_PIXELS, 0},
                                                               {GL_UNPACK_ALIGNMENT, 1}}};

class TightStore {
 public:
  TightStore() {
    for (std::size_t i = 0; i < kTightStore.size(); ++i) {
      mSaved[i] = GetInteger(kTightStore[i].first);
      DRIVER(glPixelStorei)(kTightStore[i].first, kTightStore[i].second);
    }
  }
  ~TightStore() {
    for (std::size_t i = 0; i < kTightStore.size(); ++i)
      DRIVER(glPixelStorei)(kTightStore[i].first, mSaved[i]);
  }
  TightStore(const TightStore&) = delete;
  TightStore& operator=(const TightStore&) = delete;

 private:
  std::array<GLint, kTightStore.size()> mSaved{};
};

GLenum BindingOf(GLenum target) {
  switch (target) {
    case GL_TEXTURE_1D:
      return GL_TEXTURE_BINDING_1D;
    case GL_TEXTURE_2D:
      return GL_TEXTURE_BINDING_2D;
    case GL_TEXTURE_3D:
      return GL_TEXTURE_BINDING_3D;
    case GL_TEXTURE_RECTANGLE:
      return GL_TEXTURE_BINDING_RECTANGLE;
    default:
      return GL_TEXTURE_BINDING_CUBE_MAP;
  }
}

bool IsCubeFace(GLenum target) {
  return target >= GL_TEXTURE_CUBE_MAP_POSITIVE_X && target <= GL_TEXTURE_CUBE_MAP_NEGATIVE_Z;
}

class BoundTexture {
 public:
  BoundTexture(GLenum target, GLuint texture)
      : mTarget(IsCubeFace(target) ? GL_TEXTURE_CUBE_MAP : target), mBefore(GetInteger(BindingOf(mTarget))) {
    DRIVER(glBindTexture)(mTarget, texture);
  }
  ~BoundTexture() { DRIVER(glBindTexture)(mTarget, static_cast<GLuint>(mBefore)); }
  BoundTexture(const BoundTexture&) = delete;
  BoundTexture& operator=(const BoundTexture&) = delete;

 private:
  GLenum mTarget;
  GLint mBefore;
};

int Channels(GLenum format) {
  switch (format) {
    case GL_RED:
    case GL_ALPHA:
    case GL_LUMINANCE:
      return 1;
    case GL_RG:
    case GL_LUMINANCE_ALPHA:
      return 2;
    case GL_RGB:
    case GL_BGR:
      return 3;
    default:
      return 4;
  }
}

std::size_t Bytes(int width, int height, int depth, GLenum format) {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
         static_cast<std::size_t>(depth) * static_cast<std::size_t>(Channels(format));
}

}  // namespace

void FailWith(const std::string& message) { ADD_FAILURE() << message; }

std::string WhyNotCompatible() {
  const auto* version = reinterpret_cast<const char*>(DRIVER(glGetString)(GL_VERSION));
  if (!QOpenGLContext::currentContext() || !version) return "no context is current";
  const bool hasProfiles = std::string(version) >= "3.2";
  if (hasProfiles && !(GetInteger(GL_CONTEXT_PROFILE_MASK) & GL_CONTEXT_COMPATIBILITY_PROFILE_BIT)) {
    return std::string("a core context: ") + version;
  }
  return {};
}

GLContext::GLContext(const QSurfaceFormat& format, QOpenGLContext* share) {
  mSurface.setFormat(format);
  mSurface.create();
  mContext.setFormat(format);
  mContext.setShareContext(share);
  EXPECT_TRUE(mContext.create()) << "no OpenGL context can be made";
}

void GLTest::SetUp() {
  ASSERT_EQ(LiveGLObjects(), "") << "left behind by code before the test";
  mHost = std::make_unique<GLContext>();
  ASSERT_TRUE(mHost->MakeCurrent()) << "the OpenGL context cannot be made current";
  ASSERT_EQ(WhyNotCompatible(), "");
}

void GLTest::TearDown() {
  EXPECT_EQ(LiveGLObjects(), "") << "OpenGL objects are left behind";
  ForgetLiveGLObjects();
}

GLPixels ReadTexture(unsigned texture, unsigned format, unsigned target, int level) {
  const BoundTexture bound(target, texture);
  const TightStore tight;
  GLPixels pixels;
  GLint depth = 0;
  DRIVER(glGetTexLevelParameteriv)(target, level, GL_TEXTURE_WIDTH, &pixels.width);
  DRIVER(glGetTexLevelParameteriv)(target, level, GL_TEXTURE_HEIGHT, &pixels.height);
  DRIVER(glGetTexLevelParameteriv)(target, level, GL_TEXTURE_DEPTH, &depth);
  pixels.bytes.resize(Bytes(pixels.width, pixels.height, std::max(depth, 1), format));
  if (!pixels.bytes.empty())
    DRIVER(glGetTexImage)(target, level, format, GL_UNSIGNED_BYTE, pixels.bytes.data());
  return pixels;
}

GLPixels ReadFramebuffer(int x, int y, int width, int height, unsigned format) {
  const TightStore tight;
  GLPixels pixels{width, height, std::vector<unsigned char>(Bytes(width, height, 1, format))};
  DRIVER(glReadPixels)(x, y, width, height, format, GL_UNSIGNED_BYTE, pixels.bytes.data());
  return pixels;
}

int TextureLevelParameter(unsigned texture, unsigned parameter, unsigned target, int level) {
  const BoundTexture bound(target, texture);
  GLint value = 0;
  DRIVER(glGetTexLevelParameteriv)(target, level, parameter, &value);
  return value;
}

unsigned MakeTexture(int width, int height, unsigned format, const unsigned char* bytes, int internalFormat) {
  GLuint texture = 0;
  glGenTextures(1, &texture);  // through the interposer, so that the object is counted
  const BoundTexture bound(GL_TEXTURE_2D, texture);
  const TightStore tight;
  DRIVER(glTexImage2D)(GL_TEXTURE_2D, 0, internalFormat, width, height, 0, format, GL_UNSIGNED_BYTE, bytes);
  DRIVER(glTexParameteri)(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  DRIVER(glTexParameteri)(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  return texture;
}

GLTarget::GLTarget(int width, int height)
    : mWidth(width), mHeight(height), mBefore(GetInteger(GL_FRAMEBUFFER_BINDING)) {
  mTexture = MakeTexture(width, height, GL_RGBA, nullptr, GL_RGBA8);
  DRIVER_EXTENSION(PFNGLGENFRAMEBUFFERSPROC, glGenFramebuffers)(1, &mFramebuffer);
  DRIVER_EXTENSION(PFNGLBINDFRAMEBUFFERPROC, glBindFramebuffer)(GL_FRAMEBUFFER, mFramebuffer);
  DRIVER_EXTENSION(PFNGLFRAMEBUFFERTEXTURE2DPROC, glFramebufferTexture2D)
  (GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, mTexture, 0);
  const GLenum status =
      DRIVER_EXTENSION(PFNGLCHECKFRAMEBUFFERSTATUSPROC, glCheckFramebufferStatus)(GL_FRAMEBUFFER);
  EXPECT_EQ(status, static_cast<GLenum>(GL_FRAMEBUFFER_COMPLETE));
}

GLTarget::~GLTarget() {
  DRIVER_EXTENSION(PFNGLBINDFRAMEBUFFERPROC, glBindFramebuffer)(GL_FRAMEBUFFER, static_cast<GLuint>(mBefore));
  DRIVER_EXTENSION(PFNGLDELETEFRAMEBUFFERSPROC, glDeleteFramebuffers)(1, &mFramebuffer);
  glDeleteTextures(1, &mTexture);
}

GLPixels GLTarget::Read() const { return ReadFramebuffer(0, 0, mWidth, mHeight); }

std::vector<unsigned char> Noise(std::size_t count, std::uint32_t seed) {
  std::vector<unsigned char> bytes(count);
  std::uint32_t state = seed * 2654435761U + 1U;
  for (unsigned char& byte : bytes) {
    state = state * 1664525U + 1013904223U;
    byte = static_cast<unsigned char>(state >> 24);
  }
  return bytes;
}

}  // namespace test
