#include "operators/ROffscreen.h"

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <map>
#include <memory>

namespace {

struct Offscreen {
  int registered = 0;
  QOffscreenSurface* surface = nullptr;
  QOpenGLContext* shared = nullptr;
  std::map<QOpenGLContext*, std::unique_ptr<ROffscreenTarget>> targets;
  ROffscreenTarget* locked = nullptr;  // of the evaluation that is going on
};

// Never destroyed: what it points at must not outlive the application object, which static objects do.
Offscreen& State() {
  static Offscreen& state = *new Offscreen;
  return state;
}

// Makes another context current for a while.
class ScopedContext {
 public:
  ScopedContext(QOpenGLContext* context, QSurface* surface)
      : mBefore(QOpenGLContext::currentContext()), mSurface(mBefore ? mBefore->surface() : nullptr) {
    mCurrent = context->makeCurrent(surface);
  }
  ~ScopedContext() {
    if (mBefore && mSurface)
      mBefore->makeCurrent(mSurface);
    else if (QOpenGLContext* const context = QOpenGLContext::currentContext())
      context->doneCurrent();
  }
  ScopedContext(const ScopedContext&) = delete;
  ScopedContext& operator=(const ScopedContext&) = delete;
  bool IsCurrent() const { return mCurrent; }

 private:
  QOpenGLContext* mBefore;
  QSurface* mSurface;
  bool mCurrent = false;
};

// A target goes with its context current, so that its objects go too.
void DropTarget(QOpenGLContext* context) {
  Offscreen& state = State();
  const ScopedContext scope(context, state.surface);
  state.targets.erase(context);
}

ROffscreenTarget& TargetOf(QOpenGLContext* context) {
  Offscreen& state = State();
  auto& target = state.targets[context];
  if (!target) {
    // First, as memory may lack: a target that nobody drops would outlive its context.
    QObject::connect(context, &QOpenGLContext::aboutToBeDestroyed, state.surface,
                     [context] { DropTarget(context); });
    target = std::make_unique<ROffscreenTarget>();
  }
  return *target;
}

void MakeSurface(QOpenGLContext* context) {
  auto surface = std::make_unique<QOffscreenSurface>();
  auto shared = std::make_unique<QOpenGLContext>();
  surface->setFormat(context->format());
  surface->create();
  if (!surface->isValid()) return;
  {
    const ScopedContext host(context, context->surface());
    context->doneCurrent();
    shared->setFormat(context->format());
    shared->setShareContext(context);
    if (!shared->create()) shared.reset();
    if (context->makeCurrent(surface.get())) {
      // The viewport and the matrices belong to the host's context, which gets its own back.
      const RGLHostState hostState;
      if (hostState.IsSaved()) RSetImageDrawing(ROffscreenTarget::kLeastSize, ROffscreenTarget::kLeastSize);
    }
  }
  State().shared = shared.release();
  State().surface = surface.release();
}

}  // namespace

void ROffscreen::Register() {
  Offscreen& state = State();
  QOpenGLContext* const context = QOpenGLContext::currentContext();
  if (state.registered == 0 && context) MakeSurface(context);
  ++state.registered;
}

void ROffscreen::Unregister() {
  Offscreen& state = State();
  if (state.registered == 0 || --state.registered > 0) return;
  while (!state.targets.empty()) DropTarget(state.targets.begin()->first);
  delete state.shared;
  delete state.surface;
  state.shared = nullptr;
  state.surface = nullptr;
}

bool ROffscreen::IsReady() { return State().shared != nullptr; }

ROffscreenTarget* ROffscreenLock::GetTarget() { return State().locked; }

ROffscreenLock::ROffscreenLock() {
  if (GetTarget() || !QOpenGLContext::currentContext()) return;
  mContext = QOpenGLContext::currentContext();
  mSurface = mContext->surface();
  mContext->doneCurrent();
  try {
    if (!mContext->makeCurrent(State().surface) || !Begin()) End();
  } catch (...) {
    End();
    throw;
  }
}

ROffscreenLock::~ROffscreenLock() {
  if (mContext) End();
}

bool ROffscreenLock::Begin() {
  mHostState.emplace();
  if (!mHostState->IsSaved()) return false;
  ROffscreenTarget& target = TargetOf(mContext);
  if (!target.Bind()) return false;
  State().locked = &target;
  return true;
}

void ROffscreenLock::End() {
  State().locked = nullptr;
  mHostState.reset();
  if (mSurface) mContext->makeCurrent(mSurface);
  mContext = nullptr;
}
