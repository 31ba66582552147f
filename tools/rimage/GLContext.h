// OpenGL for drawing of the tool's own.
#pragma once

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <string>

/// A context on an off-screen surface, current as long as it lives. To be made where `Host::StartGpu` has
/// found OpenGL.
class GLContext {
 public:
  /// `subject` is what a failure is told of.
  explicit GLContext(const std::string& subject);
  ~GLContext();
  GLContext(const GLContext&) = delete;
  GLContext& operator=(const GLContext&) = delete;

 private:
  QOpenGLContext mContext;
  QOffscreenSurface mSurface;
};
