#include "GLContext.h"

#include "Failure.h"

GLContext::GLContext(const std::string& subject) {
  const bool isMade = mContext.create();
  // A surface of another format could not be made current.
  mSurface.setFormat(mContext.format());
  mSurface.create();
  if (!isMade || !mContext.makeCurrent(&mSurface))
    throw Failure(ExitCode::kNoGpu, subject, "no OpenGL context can be made", "rimage doctor tells more");
}

GLContext::~GLContext() { mContext.doneCurrent(); }
