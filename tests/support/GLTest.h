// The fixture of tests that need OpenGL.
#pragma once

#include <gtest/gtest.h>

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "support/GLInterposer.h"

namespace test {

/// Returns why the current context cannot carry the module's fixed-function drawing, or an empty text when it
/// can. A core context accepts none of it and reports nothing but errors.
std::string WhyNotCompatible();

/// A context with its off-screen surface.
class GLContext {
 public:
  /// Makes both in `format`, the context sharing objects with `share`; failures fail the test.
  explicit GLContext(const QSurfaceFormat& format = QSurfaceFormat::defaultFormat(),
                     QOpenGLContext* share = nullptr);

  /// Makes the context current on its surface.
  [[nodiscard]] bool MakeCurrent() { return mContext.makeCurrent(&mSurface); }
  QOpenGLContext& Context() { return mContext; }
  QOffscreenSurface& Surface() { return mSurface; }

 private:
  QOffscreenSurface mSurface;
  QOpenGLContext mContext;
};

/// A test with a new compatibility context current. It fails when there is no OpenGL, when the context is a
/// core context, when the driver reports an error, and when the test leaves OpenGL objects behind.
class GLTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  /// The context of the test.
  GLContext& Host() { return *mHost; }

 private:
  std::unique_ptr<GLContext> mHost;
};

/// Pixels read back from OpenGL: tightly packed rows, the bottom row first.
struct GLPixels {
  int width = 0;
  int height = 0;
  std::vector<unsigned char> bytes;
};

/// Reads level `level` of a texture. The bindings and pixel-store settings come back.
GLPixels ReadTexture(unsigned texture, unsigned format, unsigned target = 0x0DE1, int level = 0);
/// Reads a rectangle of the bound framebuffer.
GLPixels ReadFramebuffer(int x, int y, int width, int height, unsigned format = 0x1908);
/// Returns a parameter of a texture's level.
int TextureLevelParameter(unsigned texture, unsigned parameter, unsigned target = 0x0DE1, int level = 0);
/// Makes a texture of `width` x `height` whose pixels, tightly packed, are `bytes` in `format`; null leaves
/// it undefined. The caller deletes it.
unsigned MakeTexture(int width, int height, unsigned format, const unsigned char* bytes,
                     int internalFormat = 4);

/// A framebuffer object of RGBA bytes, bound as long as it lives, for tests that draw.
class GLTarget {
 public:
  GLTarget(int width, int height);
  ~GLTarget();
  GLTarget(const GLTarget&) = delete;
  GLTarget& operator=(const GLTarget&) = delete;

  GLPixels Read() const;
  unsigned Framebuffer() const { return mFramebuffer; }

 private:
  int mWidth;
  int mHeight;
  unsigned mTexture = 0;
  unsigned mFramebuffer = 0;
  int mBefore = 0;
};

/// `count` bytes without a pattern that a mistake could keep, the same every time for a seed.
std::vector<unsigned char> Noise(std::size_t count, std::uint32_t seed = 1);

/// Returns the state that a caller may expect to find again, one `name: values` a line: capabilities,
/// matrices, bindings, environment of two texture units, pixel store and transfer, blending, tests, current
/// values.
std::string GLStateText();

}  // namespace test
