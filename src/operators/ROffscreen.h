// What the operators draw on.
#pragma once

#include <optional>

#include "operators/RGLHostState.h"
#include "operators/ROffscreenTarget.h"

class QOffscreenSurface;
class QOpenGLContext;
class QSurface;

/// The process-wide surface and shared context, held as long as an operator is registered.
class ROffscreen {
 public:
  /// Counts one more operator; the first makes the surface and the context, if an OpenGL context is current.
  static void Register();
  /// Counts one less; the last takes everything away again.
  static void Unregister();
  /// Whether there is something to draw on.
  static bool IsReady();
};

/// The time of an evaluation on the graphics card. The outermost lock moves the current context to the
/// off-screen surface, puts the host's state aside, and binds the drawing area; its end brings all of that
/// back. A lock inside it does nothing.
class ROffscreenLock {
 public:
  ROffscreenLock();
  ~ROffscreenLock();
  ROffscreenLock(const ROffscreenLock&) = delete;
  ROffscreenLock& operator=(const ROffscreenLock&) = delete;

  /// Whether there is something to draw on now; false without a current context.
  bool IsActive() const { return GetTarget() != nullptr; }
  bool IsOutermost() const { return mContext != nullptr; }

  /// Returns the drawing area of the evaluation that is going on, borrowed, or null outside of one.
  static ROffscreenTarget* GetTarget();

 private:
  bool Begin();
  void End();

  QOpenGLContext* mContext = nullptr;  // of the outermost lock only
  QSurface* mSurface = nullptr;
  std::optional<RGLHostState> mHostState;
};
