// Image operators: plugs, update ids and persistence. The processing is in RImageOperatorProcessing.cpp.
#include "operators/RImageOperator.h"

#include "rbaselib/RArc.h"

RImageOperator::RImageOperator(const RString& name, bool createOutput)
    : RObject(name.GetChars(), nullptr), mPersistentName(name) {
  if (createOutput) AppendPlug(kPlugOutput, "OUT_0");
}

RImageOperator::~RImageOperator() { RunTeardown(); }

void RImageOperator::Destruct() {
  ClearAllPlugs();
  RObject::Destruct();
}

IObject* RImageOperator::IQuery(unsigned long id, int reserved) {
  if (id == kIArcStorableId) return static_cast<IArcStorable*>(this);
  return RObject::IQuery(id, reserved);
}

int RImageOperator::GetWidth() {
  RImage* image = GetPlugImage(0, kPlugOutput);
  return image ? image->GetWidth() : 0;
}

int RImageOperator::GetHeight() {
  RImage* image = GetPlugImage(0, kPlugOutput);
  return image ? image->GetHeight() : 0;
}

int RImageOperator::GetUpdateId() {
  // Graphs share operators, so a plain recursion could visit one exponentially often. The outermost call
  // starts a traversal; within it an operator adds itself up once, and answers 0 while it is doing so.
  static std::uint64_t sTraversal = 0;
  static bool sTraversing = false;
  const bool outermost = !sTraversing;
  if (outermost) ++sTraversal;
  if (mTraversal == sTraversal) return static_cast<int>(mTraversalSum);

  sTraversing = true;
  mTraversal = sTraversal;
  mTraversalSum = 0;
  unsigned sum = mNode ? mNode->GetChangeCount() : 0;
  for (int i = 0; i < GetNbPlugs(kPlugInput); ++i) {
    sum += static_cast<unsigned>(GetPlug(i, kPlugInput)->GetUpdateId());
  }
  mTraversalSum = sum;
  if (outermost) sTraversing = false;
  return static_cast<int>(sum);
}

void RImageOperator::IncUpdateId() {
  mUpdateCounter = static_cast<int>(static_cast<unsigned>(mUpdateCounter) + 1U);
}

RImageOperator::ROperatorType RImageOperator::OperatorType() { return kOperatorBase; }

RImageOperator* RImageOperator::Clone() { return nullptr; }

bool RImageOperator::IsAnimatableProperty(RProperty*) { return true; }

RImageOperatorPlug* RImageOperator::GetPlug(int index, RPlugType type) const {
  return static_cast<RImageOperatorPlug*>(RArrayHelper::GetAt(mPlugs[type], index));
}

int RImageOperator::GetNbPlugs(RPlugType type) const { return RArrayHelper::GetCount(mPlugs[type]); }

const RString& RImageOperator::GetPlugName(int index, RPlugType type) const {
  static const RString kError("Error");
  const RImageOperatorPlug* plug = GetPlug(index, type);
  return plug ? plug->GetName() : kError;
}

int RImageOperator::SetPlugName(int index, RPlugType type, const RString& name) {
  RImageOperatorPlug* plug = GetPlug(index, type);
  if (!plug) return -1;
  plug->SetName(name);
  return 0;
}

RImage* RImageOperator::GetPlugImage(int index, RPlugType type) const {
  const RImageOperatorPlug* plug = GetPlug(index, type);
  return plug ? plug->GetImage() : nullptr;
}

namespace {

// Gives back the reference to an image that a plug held, and with the last one the image.
void ReleaseReference(RImage* image) {
  if (!image) return;
  image->DecReferenceCount();
  if (image->GetReferenceCount() < 1) image->Destroy(0);
}

}  // namespace

int RImageOperator::SetPlugImage(int index, RPlugType type, RImage* image) {
  RImageOperatorPlug* plug = GetPlug(index, type);
  if (!plug) return -1;
  RImage* const old = plug->GetImage();
  if (old == image) return 0;
  SetPlugDirty(index, type);
  ReleaseReference(old);
  if (image) image->IncReferenceCount();
  plug->SetImage(image);
  return 0;
}

RImage* RImageOperator::GrabPlugImage(int index, RPlugType type) const {
  RImageOperatorPlug* plug = GetPlug(index, type);
  RImage* const image = plug ? plug->GetImage() : nullptr;
  if (plug) plug->SetImage(nullptr);
  if (image) image->DecReferenceCount();
  return image;
}

RImageOperator* RImageOperator::GetPlugInputOperator(int index, RPlugType type) const {
  const RImageOperatorPlug* plug = GetPlug(index, type);
  return plug ? plug->GetInputOperator() : nullptr;
}

int RImageOperator::SetPlugInputOperator(int index, RPlugType type, RImageOperator* inputOperator) {
  RImageOperatorPlug* plug = GetPlug(index, type);
  if (!plug) return -1;
  plug->SetInputOperator(inputOperator);
  return 0;
}

IImageProvider* RImageOperator::GetPlugImageProvider(int index, RPlugType type) {
  return GetPlug(index, type);
}

// Deliberate: asking clears the mark, although the operation is const; the answer is "since anyone last
// asked".
bool RImageOperator::IsPlugDirty(int index, RPlugType type) const {
  RImageOperatorPlug* plug = GetPlug(index, type);
  return plug && plug->TestAndResetDirty();
}

void RImageOperator::SetPlugDirty(int index, RPlugType type) {
  if (RImageOperatorPlug* plug = GetPlug(index, type)) plug->SetDirty();
}

void RImageOperator::AppendPlug(RPlugType type, const RString& name) {
  auto plug = std::make_unique<RImageOperatorPlug>(type, name, nullptr);
  if (RArrayHelper::InsertAt(mPlugs[type], GetNbPlugs(type), plug.get())) static_cast<void>(plug.release());
}

void RImageOperator::ClearPlugs(RPlugType type) {
  for (int i = 0; i < GetNbPlugs(type); ++i) {
    ReleaseReference(GetPlugImage(i, type));
    GetPlug(i, type)->SetImage(nullptr);
  }
  for (int i = GetNbPlugs(type) - 1; i >= 0; --i) delete GetPlug(i, type);
  RArrayHelper::Clear(mPlugs[type]);
  RArrayHelper::Free(mPlugs[type]);
}

void RImageOperator::ClearAllPlugs() {
  ClearPlugs(kPlugInput);
  ClearPlugs(kPlugOutput);
}

const char* RImageOperator::ArcGetObjectId() { return mPersistentName.GetChars(); }

const char* RImageOperator::ArcGetObjectType() { return "ImageOperator"; }

const char* RImageOperator::ArcGetObjectSubType() { return "Default"; }

bool RImageOperator::ArcStore(IArcObject* file, int pass) {
  RArc* const arc = (pass & kArcPassFields) && file ? file->GetArc() : nullptr;
  if (!arc) return true;
  arc->FieldWriteBegin("Name");
  arc->FieldWriteC(mPersistentName);
  arc->FieldWriteEnd();
  return true;
}

bool RImageOperator::ArcRetrieve(IArcObject* file, int pass) {
  RArc* const arc = (pass & kArcPassFields) && file ? file->GetArc() : nullptr;
  if (!arc) return true;
  if (const char* name = arc->FieldReadC("Name", ""))
    mPersistentName = name;
  else
    mPersistentName.Empty();
  return true;
}
