// The life cycle, class information and handles of host objects.
#include "rbaselib/RObject.h"

#include <atomic>
#include <map>
#include <mutex>

#include "rbaselib/RProperty.h"

namespace {

struct HandleTable {
  std::mutex mutex;
  std::map<unsigned, RObject*> objects;
  unsigned last = 0;
};

// Lives until the process ends: static objects of modules unmap themselves late.
HandleTable& Handles() {
  static HandleTable& table = *new HandleTable;
  return table;
}

}  // namespace

RObject::RObject(const char* name, void* entity) : mName(name), mEntity(entity) {
  ++std::atomic_ref(ClassInstanceCount);
}

RObject::RObject(const RObject& other)
    : RPlug(other), IVzObjectHolder(other), mName(other.mName), mEntity(other.mEntity) {
  ++std::atomic_ref(ClassInstanceCount);
}

RObject& RObject::operator=(const RObject& other) {
  if (this == &other) return *this;
  mName = other.mName;
  mEntity = other.mEntity;
  return *this;
}

RObject::~RObject() {
  RunTeardown();
  --std::atomic_ref(ClassInstanceCount);
}

IObject* RObject::IQuery(unsigned long id, int) { return id == 0 ? this : nullptr; }

RObject* RObject::GetHeldObject() { return this; }

void RObject::Destroy(int) {
  if (mTornDown) return;
  if (mDeletable)
    delete this;
  else
    Destruct();
}

void RObject::Destruct() {
  while (!mProperties.empty()) {
    mProperties.back()->Detach();
    PropertyRemoveFromList(mProperties.back());
  }
}

void RObject::SystemDetach() {
  for (RProperty* property : mProperties) property->Detach();
}

void RObject::PrepareDestruct() { mEntity = nullptr; }

void RObject::RunTeardown() {
  if (mTornDown) return;
  mTornDown = true;
  // NOLINTBEGIN(clang-analyzer-optin.cplusplus.VirtualCall): every class with overrides runs this in its own
  // destructor; what reaches it from the destructor of this class has none.
  SystemDetach();
  PrepareDestruct();
  Destruct();
  // NOLINTEND(clang-analyzer-optin.cplusplus.VirtualCall)
  HSDK_UnMap();
}

int RObject::GetClassId() const { return ClassId; }
const char* RObject::GetClassIdName() const { return ClassDefinition.GetName(); }
const RClassDefinition* RObject::GetClassDefinition() const { return &ClassDefinition; }
int RObject::GetClassGroupId() const { return 0; }
const char* RObject::GetClassGroupName() const { return "Object"; }
int RObject::GetClassSize() const { return ClassSize; }
int RObject::GetClassInstanceCount() const { return std::atomic_ref(ClassInstanceCount); }
bool RObject::Is(int classId) const { return classId == ClassId; }

unsigned RObject::HSDK_Map() {
  HandleTable& table = Handles();
  const std::lock_guard lock(table.mutex);
  if (mHandle == 0) {
    mHandle = ++table.last;
    table.objects[mHandle] = this;
  }
  return mHandle;
}

void RObject::HSDK_UnMap() {
  HandleTable& table = Handles();
  const std::lock_guard lock(table.mutex);
  table.objects.erase(mHandle);
  mHandle = 0;
}

RObject* RObject::HSDK_Find(unsigned handle) {
  HandleTable& table = Handles();
  const std::lock_guard lock(table.mutex);
  const auto found = table.objects.find(handle);
  return found == table.objects.end() ? nullptr : found->second;
}
