#include "streams/RImageStream.h"

RImageStream::RImageStream() = default;

RImageStream::~RImageStream() { RunTeardown(); }

void RImageStream::SetImage(RImage* image) { SetObject(image); }

RImage* RImageStream::GetImage(bool create) {
  RObject* object = GetObject();
  if (object && object->Is(RImage::ClassId)) return static_cast<RImage*>(object);
  if (!create) return nullptr;
  RImage* image = RImageCreate();
  SetImage(image);
  return image;
}
