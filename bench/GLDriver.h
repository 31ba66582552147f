// OpenGL for the benchmarks.
#pragma once

#include <GL/gl.h>
#include <benchmark/benchmark.h>

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <array>
#include <memory>
#include <string>

#include "Gpu.h"

namespace bench {

/// The display, the application and the context of the run.
class GLDriver {
 public:
  GLDriver() : mGpu(GpuMode::kAuto) {
    if (!mGpu.IsUsable()) return;
    // The stream's contexts are made after this one's likeness.
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    mApplication = std::make_unique<QGuiApplication>(mCount, mArguments.data());
    mSurface = std::make_unique<QOffscreenSurface>();
    mContext = std::make_unique<QOpenGLContext>();
    mSurface->create();
    mIsReady = mContext->create() && MakeCurrent();
  }
  bool IsReady() const { return mIsReady; }
  bool MakeCurrent() { return mContext->makeCurrent(mSurface.get()); }
  std::string Reason() const { return mGpu.IsUsable() ? "no OpenGL context" : mGpu.Reason(); }

 private:
  Gpu mGpu;
  std::array<char, 6> mName{'b', 'e', 'n', 'c', 'h', '\0'};
  int mCount = 1;
  std::array<char*, 2> mArguments{mName.data(), nullptr};
  std::unique_ptr<QGuiApplication> mApplication;
  std::unique_ptr<QOffscreenSurface> mSurface;
  std::unique_ptr<QOpenGLContext> mContext;
  bool mIsReady = false;
};

/// Lives until the process ends: drivers do not like to go after Qt's own statics.
inline GLDriver& TheDriver() {
  static auto* driver = new GLDriver;
  return *driver;
}

/// Whether there is OpenGL; a benchmark without it says why and measures nothing. Rows are packed without
/// gaps: an image that was read back before leaves the row length at its own.
inline bool Begin(benchmark::State& state) {
  if (!TheDriver().IsReady() || !TheDriver().MakeCurrent()) {
    state.SkipWithError(TheDriver().Reason().c_str());
    return false;
  }
  glPixelStorei(GL_PACK_ROW_LENGTH, 0);
  glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
  return true;
}

}  // namespace bench
