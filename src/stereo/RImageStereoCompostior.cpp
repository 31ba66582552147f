#include "stereo/RImageStereoCompostior.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <climits>

#include "stereo/RStereoDrawing.h"
#include "stereo/RStereoHostState.h"
#include "stereo/RStereoSetUp.h"
#include "stereo/RStereoState.h"

namespace {

int ToSize(unsigned int value) { return static_cast<int>(std::min<unsigned int>(value, INT_MAX)); }

void ApplyPolicy(RStereoState& state, EBufferPolicy policy) {
  if (policy == state.policy) return;
  state.policy = policy;
  if (policy == eCurrentBuffer) {
    state.framebuffer.reset();
  } else if (!state.framebuffer) {
    state.framebuffer = std::make_unique<RGLFrameBufferObject>(GL_COLOR_ATTACHMENT0, GL_RGBA, GL_RGBA,
                                                               GL_UNSIGNED_BYTE, false, false);
  }
}

void Draw(const RStereoState& state, const RStereoFrame& frame, bool isNew) {
  const RStereoHostState hostState;
  if (!hostState.IsSaved()) return;
  const RStereoView view(frame);
  // A buffer begins with whatever was in its memory.
  if (isNew) glClear(GL_COLOR_BUFFER_BIT);
  RStereoDraw(state, frame);
}

}  // namespace

RImageStereoCompostior::RImageStereoCompostior() : mState(new RStereoState) {}

RImageStereoCompostior::~RImageStereoCompostior() {
  RStereoRelease(*mState);
  mState->framebuffer.reset();
  delete mState;
}

void RImageStereoCompostior::Process(::EStereoDisplayMode mode, ::EBufferPolicy policy,
                                     unsigned int leftTexture, unsigned int rightTexture, unsigned int xBase,
                                     unsigned int yBase, unsigned int x, unsigned int y, unsigned int width,
                                     unsigned int height) {
  RStereoState& state = *mState;
  // The set-up has told what is wrong; drawing goes on with what there is.
  if (mode != state.mode) (void)RStereoSetUp(state, mode);
  ApplyPolicy(state, policy);
  // Offsets wrap, so that a host can hand over negative ones.
  const RStereoFrame frame{leftTexture,         rightTexture,        xBase,         yBase,
                           static_cast<int>(x), static_cast<int>(y), ToSize(width), ToSize(height)};
  if (!state.framebuffer) {
    Draw(state, frame, false);
    return;
  }
  RGLFrameBufferObject& target = *state.framebuffer;
  const bool isNew = target.GetWidth() != frame.width || target.GetHeight() != frame.height;
  if (target.BuildFBO(frame.width, frame.height, RGLFrameBufferObject::kOwnTexture))
    Draw(state, frame, isNew);
  target.UnBindFBO();
}

unsigned int RImageStereoCompostior::GetCompostionTextureId() const {
  return mState->framebuffer ? mState->framebuffer->GetTextureId() : 0;
}
