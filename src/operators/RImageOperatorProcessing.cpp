// The evaluation of image operators.
#include <GL/gl.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "operators/RImageAccess.h"
#include "operators/RImageOperator.h"
#include "operators/ROffscreen.h"

namespace {

// The size of what a stage makes out of nothing.
constexpr int kDefaultWidth = 720;
constexpr int kDefaultHeight = 486;

// The output plug and as many input plugs as a stage can read.
using ProviderTable = std::array<IImageProvider*, kFpMaxInputs + 2>;

int LowestBit(int mask) { return mask & -mask; }

// Whether the caller wants the result in the colour buffer.
bool WantsBuffer(int mask) { return (mask & kFormGLMask) && !(mask & kFormTextureMask); }

// Runs the stages of a node, one after the other.
class StageLoop {
 public:
  StageLoop(RFpNode& node, const ProviderTable& providers, RFpContext* context, int flags)
      : mNode(node),
        mProviders(providers),
        mContext(context),
        mFlags(flags),
        mTarget(ROffscreenLock::GetTarget()) {}

  // Returns the forms in which the result is there, or 0 when a stage failed.
  int Run() {
    mStageCount = mNode.GetStageCount();
    if (mStageCount < 1) return kFormNone;
    for (mStage = 0; mStage < mStageCount; ++mStage) {
      if (!RunStage()) return kFormNone;
    }
    return ResultForms();
  }

  // Returns the form of the last stage.
  int Form() const { return mHasFeedback ? mChosen << 1 : mChosen; }

 private:
  bool RunStage();
  bool Choose();
  bool LockInputs();
  void UnlockInputs(int count, int mask);
  bool WriteStage();
  bool PrepareTarget();
  bool DrawNode();
  bool UsesFloats() const { return mTarget && mStageCount > 1 && (mChosen & kFormFrameBufferWriteMask); }
  int ResultForms() const;

  IImageProvider* GetProvider(int index) const {
    const bool exists = index >= 0 && index < static_cast<int>(mProviders.size());
    return exists ? mProviders[static_cast<std::size_t>(index)] : nullptr;
  }
  IImageProvider* GetInput(int index) const { return GetProvider(mNode.GetNextIndex(mStage, index)); }

  RFpNode& mNode;
  const ProviderTable& mProviders;
  RFpContext* mContext;
  int mFlags;
  ROffscreenTarget* mTarget;
  int mStageCount = 0;
  int mWidth = kDefaultWidth;
  int mHeight = kDefaultHeight;

  // Of the stage at hand.
  int mStage = 0;
  int mChosen = kFormNone;
  int mInputCount = 0;
  bool mHasFeedback = false;
};

bool StageLoop::RunStage() {
  if (!Choose() || !LockInputs()) return false;
  IImageProvider* const feedback = mHasFeedback ? GetInput(mInputCount) : nullptr;
  if (mHasFeedback && !(feedback && feedback->ReadLock(mContext, kFormBufferToBuffer))) {
    // Deliberate: unlocked by the feedback's form, not by the one they were locked in.
    UnlockInputs(mInputCount, kFormBufferToBuffer);
    return false;
  }
  const bool drawn = WriteStage();
  if (feedback) feedback->ReadUnLock(mContext, kFormBufferToBuffer);
  UnlockInputs(mInputCount, mChosen);
  return drawn;
}

// Picks the form in which the stage reads and writes: the first one that suits both the node and what its
// inputs already are.
bool StageLoop::Choose() {
  int wanted = mNode.GetRequirementFlags(mStage);
  if (mFlags & kFormProcessorRequest) {
    wanted &= kFormProcessorMask;
    if (!wanted) return false;
  }
  mHasFeedback = (wanted & kFormFeedbackMask) != 0;
  mInputCount = mNode.GetInputRequirement(mStage) - (mHasFeedback ? 1 : 0);
  if (mInputCount < 0 || mInputCount > kFpMaxInputs) return false;
  // Each form that reads the target stands one bit above the same form without.
  if (mHasFeedback) wanted = (static_cast<std::int16_t>(wanted) >> 1) & kFormFeedbackInputMask;
  int available = kFormNone;
  for (int i = 0; i < mInputCount; ++i) {
    if (IImageProvider* const input = GetInput(i)) available |= input->ReadTest(mContext, wanted);
  }
  mChosen = LowestBit((available & wanted) ? available & wanted : wanted);
  return true;
}

bool StageLoop::LockInputs() {
  for (int i = 0; i < mInputCount; ++i) {
    IImageProvider* const input = GetInput(i);
    if (!input || !input->ReadLock(mContext, mChosen)) {
      UnlockInputs(i, mChosen);
      return false;
    }
    mWidth = input->GetWidth();
    mHeight = input->GetHeight();
  }
  return true;
}

void StageLoop::UnlockInputs(int count, int mask) {
  for (int i = count - 1; i >= 0; --i) GetInput(i)->ReadUnLock(mContext, mask);
}

bool StageLoop::WriteStage() {
  IImageProvider* const output = GetProvider(mNode.GetReserved(mStage));
  if (!output || !PrepareTarget() || !output->WriteLock(mContext, mChosen, mWidth, mHeight)) return false;
  mNode.Prepare(mContext, mStage, mChosen, mWidth, mHeight);
  for (int i = 0; i < mInputCount; ++i) GetInput(i)->ReadBind(mContext, mChosen, i, mInputCount);
  output->WriteBind(mContext, mChosen);
  const bool drawn = DrawNode();
  output->WriteUnBind(mContext, mChosen);
  for (int i = mInputCount - 1; i >= 0; --i) GetInput(i)->ReadUnBind(mContext, mChosen, i, mInputCount);
  mNode.Finish(mContext, mStage, mChosen, mWidth, mHeight);
  output->WriteUnLock(mContext, mChosen, drawn ? 1 : 0);
  return drawn;
}

// Makes room for the drawing. What the feedback does not cover counts as transparent black.
bool StageLoop::PrepareTarget() {
  if (!mTarget || !(mChosen & kFormFrameBufferWriteMask)) return true;
  if (!mTarget->Reserve(mWidth, mHeight)) return false;
  if (!mHasFeedback) return true;
  IImageProvider* const feedback = GetInput(mInputCount);
  mTarget->ClearAround(feedback->GetWidth(), feedback->GetHeight(), mWidth, mHeight);
  return true;
}

bool StageLoop::DrawNode() {
  const bool floats = UsesFloats();
  if (floats && !mTarget->UseFloats(mWidth, mHeight, mHasFeedback)) return false;
  const bool bound = mNode.Bind(mContext, mStage, mChosen) != 0;
  if (bound) {
    mNode.Draw(mContext, mStage, mChosen, mWidth, mHeight);
    mNode.Unbind(mContext, mStage, mChosen);
  }
  if (floats) mTarget->UseBytes();
  if (floats && bound && mStage == mStageCount - 1) mTarget->RoundFloats(mWidth, mHeight);
  if (mTarget) mTarget->Neutralize();
  return bound;
}

int StageLoop::ResultForms() const {
  int forms = kFormNone;
  if (mChosen & kFormRawWriteMask) forms |= kFormRawMask;
  if (mChosen & kFormTextureWriteMask) forms |= kFormTextureMask;
  if (mChosen & kFormFrameBufferWriteMask) forms |= kFormFrameBufferMask;
  return forms;
}

// Marks an operator as being locked.
class ScopedMark {
 public:
  explicit ScopedMark(bool& mark) : mMark(mark) { mMark = true; }
  ~ScopedMark() { mMark = false; }
  ScopedMark(const ScopedMark&) = delete;
  ScopedMark& operator=(const ScopedMark&) = delete;

 private:
  bool& mMark;
};

}  // namespace

int RImageOperator::ProcessLoop(RFpContext* context, int flags) {
  if (!mNode || GetNbPlugs(kPlugOutput) == 0) return 0;
  ProviderTable providers{};
  providers[0] = GetPlugImageProvider(0, kPlugOutput);
  const int inputs = std::min(GetNbPlugs(kPlugInput), kFpMaxInputs);
  for (int i = 0; i < inputs; ++i) {
    providers[static_cast<std::size_t>(i) + 1] = GetPlugImageProvider(i, kPlugInput);
  }
  StageLoop loop(*mNode, providers, context, flags);
  const int forms = loop.Run();
  if (forms != kFormNone) mProcessedForm = loop.Form();
  return forms;
}

int RImageOperator::ReadTest(RFpContext*, int) {
  RImage* const image = GetPlugImage(0, kPlugOutput);
  return image ? RAvailableForms(*image) : 0;
}

int RImageOperator::ReadLock(RFpContext* context, int mask) {
  if (mLocking || !EnsureOutputImage()) return 0;
  // Taken before computing: a lock that finds it again knows that nothing has changed upstream.
  const int updateId = GetUpdateId();
  if (mProcessedId == mUpdateCounter && mProcessedId == updateId) {
    RImage* const image = GetPlugImage(0, kPlugOutput);
    return RTransferResult(*image, mask, RAvailableForms(*image));
  }
  const ScopedMark locking(mLocking);
  if (!(mask & kFormProcessorMask) && ROffscreen::IsReady()) return ComputeOffscreen(context, mask, updateId);
  return Compute(context, kFormProcessorRequest, mask, updateId);
}

bool RImageOperator::EnsureOutputImage() {
  if (GetPlugImage(0, kPlugOutput)) return true;
  RImage* const image = GetNbPlugs(kPlugOutput) > 0 ? RImageCreate() : nullptr;
  if (!image) return false;
  SetPlugImage(0, kPlugOutput, image);
  mProcessedId.reset();
  return true;
}

int RImageOperator::ComputeOffscreen(RFpContext* context, int mask, int updateId) {
  bool drawsForCaller = false;
  int forms = 0;
  {
    const ROffscreenLock lock;
    if (!lock.IsActive()) return 0;
    drawsForCaller = lock.IsOutermost() && WantsBuffer(mask);
    forms = Compute(context, mask, mask, updateId);
  }
  if (forms == 0 || !drawsForCaller) return forms;
  // What was drawn so far lies in the operators' own area; the caller wants it in his.
  RImage* const image = GetPlugImage(0, kPlugOutput);
  return RTransferResult(*image, mask, RAvailableForms(*image));
}

int RImageOperator::Compute(RFpContext* context, int loopFlags, int mask, int updateId) {
  const int available = ProcessLoop(context, loopFlags);
  if (available == 0) return 0;
  const int forms = RTransferResult(*GetPlugImage(0, kPlugOutput), mask, available);
  mUpdateCounter = updateId;
  mProcessedId = updateId;
  return forms;
}

int RImageOperator::ReadBind(RFpContext* context, int mask, int unit, int count) {
  RImage* const image = GetPlugImage(0, kPlugOutput);
  return image ? RBindForReading(*image, context, mask, unit, count) : 0;
}

int RImageOperator::ReadUnBind(RFpContext*, int mask, int unit, int count) {
  return GetPlugImage(0, kPlugOutput) ? RUnBindForReading(mask, unit, count) : 0;
}

int RImageOperator::ReadUnLock(RFpContext*, int mask) { return mask; }

int RImageOperator::WriteLock(RFpContext*, int mask, int, int) { return mask; }

int RImageOperator::WriteUnLock(RFpContext*, int mask, int) { return mask; }

unsigned long RImageOperator::ImageTextureGetObject() {
  RImage* const image = GetPlugImage(0, kPlugOutput);
  if (!image) return 0;
  const bool isTexture = image->GetIncarnation() == RImage::kIncarnationGL;
  if (!isTexture && !RTransferResult(*image, kFormTextureMask, RAvailableForms(*image))) return 0;
  glBindTexture(GL_TEXTURE_2D, image->GetTextureID());
  return image->GetTextureID();
}

bool RImageOperator::ImageTextureDrawCurrent(int flags) {
  RFpContext context;
  if (!ReadLock(&context, flags)) return false;
  ReadUnLock(&context, flags);
  return true;
}

void RImageOperator::ImageDetachTextureObject() {
  if (!GetPlugImage(0, kPlugOutput)) return;
  SetPlugImage(0, kPlugOutput, nullptr);
  mProcessedId.reset();
}

void RImageOperator::RegisterGLOperator(RImageOperator*) { ROffscreen::Register(); }

void RImageOperator::UnregisterGLOperator(RImageOperator*) { ROffscreen::Unregister(); }
