#include "operators/RImageOperatorPlug.h"

#include <GL/gl.h>

#include "operators/RImageAccess.h"
#include "operators/RImageOperator.h"

RImageOperatorPlug::RImageOperatorPlug(long type) : RImageOperatorPlug(type, "undefined", nullptr) {}

// The host hands names over by reference. NOLINTNEXTLINE(modernize-pass-by-value)
RImageOperatorPlug::RImageOperatorPlug(long type, const RString& name, RImage* image)
    : mName(name), mImage(image), mFlags(static_cast<std::uint32_t>(type)) {}

RImageOperatorPlug::~RImageOperatorPlug() = default;

RImage* RImageOperatorPlug::GetImage() const { return mImage; }

void RImageOperatorPlug::SetImage(RImage* image) {
  if (image == mImage)
    mFlags &= ~kDirty;
  else
    mFlags |= kDirty;
  mImage = image;
}

void RImageOperatorPlug::SetInputOperator(RImageOperator* inputOperator) {
  if (IsInputPlug()) mInputOperator = inputOperator;
}

bool RImageOperatorPlug::TestAndResetDirty() {
  const bool dirty = (mFlags & kDirty) != 0;
  mFlags &= ~kDirty;
  return dirty;
}

int RImageOperatorPlug::GetUpdateId() { return mInputOperator ? mInputOperator->GetUpdateId() : 0; }

void RImageOperatorPlug::IncUpdateId() {
  if (mInputOperator) mInputOperator->IncUpdateId();
}

int RImageOperatorPlug::GetWidth() {
  if (mInputOperator) return mInputOperator->GetWidth();
  return mImage ? mImage->GetWidth() : 0;
}

int RImageOperatorPlug::GetHeight() {
  if (mInputOperator) return mInputOperator->GetHeight();
  return mImage ? mImage->GetHeight() : 0;
}

int RImageOperatorPlug::ReadTest(RFpContext* context, int want) {
  if (mInputOperator) return mInputOperator->ReadTest(context, want);
  return mImage ? RAvailableForms(*mImage) : 0;
}

int RImageOperatorPlug::ReadLock(RFpContext* context, int mask) {
  if (mInputOperator) return mInputOperator->ReadLock(context, mask);
  return mImage ? RTransferResult(*mImage, mask, kFormNone) : 0;
}

int RImageOperatorPlug::ReadBind(RFpContext* context, int mask, int unit, int count) {
  if (!mInputOperator) return mImage ? RBindForReading(*mImage, context, mask, unit, count) : 0;
  RSelectTextureUnit(mask, unit, count);
  return mInputOperator->ReadBind(context, mask, unit, count);
}

int RImageOperatorPlug::ReadUnBind(RFpContext* context, int mask, int unit, int count) {
  if (!mInputOperator) return mImage ? RUnBindForReading(mask, unit, count) : 0;
  RSelectTextureUnit(mask, unit, count);
  return mInputOperator->ReadUnBind(context, mask, unit, count);
}

int RImageOperatorPlug::ReadUnLock(RFpContext* context, int mask) {
  if (mInputOperator) return mInputOperator->ReadUnLock(context, mask);
  return mImage ? mask : 0;
}

int RImageOperatorPlug::WriteLock(RFpContext*, int mask, int width, int height) {
  return mImage ? RPrepareForWriting(*mImage, mask, width, height) : 0;
}

int RImageOperatorPlug::WriteBind(RFpContext* context, int mask) {
  return mImage ? RBindForWriting(*mImage, context, mask) : 0;
}

int RImageOperatorPlug::WriteUnBind(RFpContext*, int mask) {
  if (!mImage) return 0;
  if (mask & kFormRawWriteMask) glPixelStorei(GL_PACK_ROW_LENGTH, 0);
  return mask;
}

int RImageOperatorPlug::WriteUnLock(RFpContext* context, int mask, int drawn) {
  if (mInputOperator) return mInputOperator->WriteUnLock(context, mask, drawn);
  if (!mImage) return 0;
  mImage->Update();
  return mask;
}
