#include "rbaselib/RObject.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <map>
#include <mutex>

#include "rbaselib/RArc.h"
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

const char* const RObject::ClassName = "RObject";
int RObject::ClassId = 0;
const int RObject::ClassSize = sizeof(RObject);
int RObject::ClassInstanceCount = 0;
RClassDefinition RObject::ClassDefinition(RObject::ClassId, RObject::ClassName, nullptr);
RPropertyHashMap RObject::PropertyHashMap;

namespace {
[[maybe_unused]] const int kRegistered = RObject::ClassDefinition.RegisterClassId();
}

RObject::RObject(const char* name, void* entity) : mName(name), mEntity(entity) {
  ++std::atomic_ref(ClassInstanceCount);
}

RObject::RObject(const RObject& other)
    : RPlug(other), IVzObjectHolder(other), mName(other.mName), mEntity(other.mEntity) {
  ++std::atomic_ref(ClassInstanceCount);
}

RObject& RObject::operator=(const RObject& other) {
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
  if (mDeletable)
    delete this;
  else
    Destruct();
}

void RObject::Destruct() { mProperties.clear(); }

void RObject::SystemDetach() {
  for (RProperty* property : mProperties) property->Detach();
}

void RObject::PrepareDestruct() { mTornDown = true; }

void RObject::RunTeardown() {
  if (mTornDown) return;
  SystemDetach();
  PrepareDestruct();
  Destruct();
  HSDK_UnMap();
}

int RObject::GetClassId() const { return ClassId; }
const char* RObject::GetClassIdName() const { return ClassDefinition.GetName(); }
const RClassDefinition* RObject::GetClassDefinition() const { return &ClassDefinition; }
int RObject::GetClassGroupId() const { return 0; }
const char* RObject::GetClassGroupName() const { return "Object"; }
int RObject::GetClassSize() const { return ClassSize; }
int RObject::GetClassInstanceCount() const { return ClassInstanceCount; }
bool RObject::Is(int classId) const { return classId == ClassId; }

RProperty* RObject::FastFindPropertyByName(const char* name) const {
  return FastFindPropertyByName(name, PropertyHashMap);
}

RProperty* RObject::FastFindPropertyByName(const char* name, RPropertyHashMap& cache) const {
  if (!name) return nullptr;
  // The list can differ between objects of a class while one of them is being built, so the hit is checked.
  if (const long long* index = cache.Find(name)) {
    RProperty* property = GetProperty(static_cast<int>(*index));
    if (property && !std::strcmp(property->GetName(), name)) return property;
  }
  for (int i = 0; i < GetPropertyCount(); ++i) {
    RProperty* property = mProperties[static_cast<std::size_t>(i)];
    if (std::strcmp(property->GetName(), name)) continue;
    cache.Set(property->GetName(), i);
    return property;
  }
  return nullptr;
}

void RObject::PropertyAddToList(RProperty* property) {
  if (property) mProperties.push_back(property);
}

RProperty* RObject::GetProperty(int index) const {
  return index >= 0 && index < GetPropertyCount() ? mProperties[static_cast<std::size_t>(index)] : nullptr;
}

namespace {

struct PropertyAssignment {
  RProperty* property;
  RPropertyValue value;
};

// A later setter may change an earlier property (choosing a preset, say), so what differs at the end is set
// again. Setting again is bounded: values that exclude each other would otherwise never settle.
bool AssignInOrder(const std::vector<PropertyAssignment>& assignments) {
  bool allAccepted = true;
  for (const auto& [property, value] : assignments) allAccepted &= property->SetValue(value);
  for (const auto& [property, value] : assignments) {
    if (property->GetValue() != value) property->SetValue(value);
  }
  return allAccepted;
}

}  // namespace

void RObject::TransferStaticPropertiesFrom(const RObject* source) {
  if (!source || source == this) return;
  std::vector<PropertyAssignment> assignments;
  for (const RProperty* theirs : source->mProperties) {
    if (RProperty* ours = FastFindPropertyByName(theirs->GetName())) {
      assignments.push_back({ours, theirs->GetValue()});
    }
  }
  AssignInOrder(assignments);
}

void RObject::PropertiesStore(RArc* arc) const {
  for (const RProperty* property : mProperties) {
    if (!arc->FieldWriteBegin(property->GetName())) continue;
    property->WriteValue(*arc);
    arc->FieldWriteEnd();
  }
}

bool RObject::PropertiesRestore(const RArc* arc) {
  bool allRead = true;
  std::vector<PropertyAssignment> assignments;
  for (RProperty* property : mProperties) {
    if (!arc->HasField(property->GetName())) continue;
    RPropertyValue value = property->GetValue();
    if (property->ReadValue(*arc, value))
      assignments.push_back({property, value});
    else
      allRead = false;
  }
  return AssignInOrder(assignments) && allRead;
}

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
  if (mHandle == 0) return;
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
