#include "rbaselib/RStream.h"

#include <atomic>
#include <cstring>
#include <string>

#include "rbaselib/RMessageHandler.h"
#include "rbaselib/RObjectRegistry.h"

RStream::RStream() : RObject(nullptr, nullptr) { ++std::atomic_ref(ClassInstanceCount); }

RStream::~RStream() {
  RunTeardown();
  --std::atomic_ref(ClassInstanceCount);
}

bool RStream::StreamOpen(RStreamOptions*) { return false; }
bool RStream::StreamCreate(RStreamOptions*) { return false; }

void RStream::SetFileName(const char* name) {
  mHasFileName = name != nullptr;
  mFileName = name;
}

void RStream::Destruct() {
  mObject = nullptr;
  SetFileName(nullptr);
  RObject::Destruct();
}

int RStream::GetClassId() const { return ClassId; }
const char* RStream::GetClassIdName() const { return ClassDefinition.GetName(); }
const RClassDefinition* RStream::GetClassDefinition() const { return &ClassDefinition; }
int RStream::GetClassGroupId() const { return 1; }
const char* RStream::GetClassGroupName() const { return "Stream"; }
int RStream::GetClassSize() const { return ClassSize; }
int RStream::GetClassInstanceCount() const { return std::atomic_ref(ClassInstanceCount); }
bool RStream::Is(int classId) const { return classId == ClassId || RObject::Is(classId); }
RProperty* RStream::FastFindPropertyByName(const char* name) const {
  return RObject::FastFindPropertyByName(name, PropertyHashMap);
}

namespace {

void Warn(bool show, const char* path, const char* reason) {
  if (show) GetMainMessageHandler()->DisplayWarning(path ? path : "", reason, "Ok");
}

// A group can hold factories of any kind of object; only a stream is of use here.
RStream* CreateStream(const char* group, const char* extension) {
  IObject* face = Object_Create(group, extension);
  auto* object = face ? dynamic_cast<RObject*>(face->IQuery(0, 0)) : nullptr;
  auto* stream = dynamic_cast<RStream*>(object);
  if (object && !stream) object->Destroy(0);
  return stream;
}

// A stream that goes at the end, also when memory runs out. What a failed reader left attached is nobody
// else's.
class OwnedStream {
 public:
  explicit OwnedStream(RStream* stream) : mStream(stream) {}
  ~OwnedStream() {
    RObject* left = Detach();
    mStream->Destroy(0);
    if (left) left->Destroy(0);
  }
  OwnedStream(const OwnedStream&) = delete;
  OwnedStream& operator=(const OwnedStream&) = delete;

  RStream* operator->() const { return mStream; }
  // Returns what is attached, which the caller owns from now on.
  RObject* Detach() {
    RObject* object = mStream->GetObject();
    mStream->SetObject(nullptr);
    return object;
  }

 private:
  RStream* mStream;
};

// Returns what the reader read, or null. The stream goes.
RObject* ReadAndDestroy(RStream* stream, const char* path, RStreamOptions* options) {
  OwnedStream owned(stream);
  owned->SetFileName(path);
  return owned->StreamOpen(options) ? owned.Detach() : nullptr;
}

}  // namespace

RObject* RStreamReadObject(const char* path, RStreamOptions* options, const char* group, bool showMessages) {
  const char* dot = path ? std::strrchr(path, '.') : nullptr;
  RStream* stream = dot ? CreateStream(group, dot + 1) : nullptr;
  if (!stream) {
    Warn(showMessages, path, "no reader is registered for this file's extension");
    return nullptr;
  }
  RObject* object = ReadAndDestroy(stream, path, options);
  if (!object) Warn(showMessages, path, "the file could not be read");
  return object;
}
