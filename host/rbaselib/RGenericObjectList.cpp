#include "rbaselib/RGenericObjectList.h"

#include <utility>

#include "rbaselib/RObject.h"

RGenericObjectList::RGenericObjectList(const RGenericObjectList& other)
    : mArray(RArrayHelper::Copy(other.mArray)) {}

RGenericObjectList::RGenericObjectList(RGenericObjectList&& other) noexcept
    : mArray(std::exchange(other.mArray, nullptr)) {}

RGenericObjectList& RGenericObjectList::operator=(const RGenericObjectList& other) {
  if (this != &other) *this = RGenericObjectList(other);
  return *this;
}

RGenericObjectList& RGenericObjectList::operator=(RGenericObjectList&& other) noexcept {
  RArrayHelper::Header* taken = std::exchange(other.mArray, nullptr);
  RArrayHelper::Free(mArray);
  mArray = taken;
  return *this;
}

RGenericObjectList::~RGenericObjectList() { RArrayHelper::Free(mArray); }

RObject* RGenericObjectList::GetAt(int index) const {
  return static_cast<RObject*>(RArrayHelper::GetAt(mArray, index));
}

int RGenericObjectList::Find(const RObject* object) const {
  for (int i = 0; i < GetCount(); ++i) {
    if (GetAt(i) == object) return i;
  }
  return -1;
}

void RGenericObjectList::RemoveAll() { RArrayHelper::Clear(mArray); }

int RGenericObjectList::InternalAdd(RObject* object) { return InternalInsertAt(GetCount(), object); }

int RGenericObjectList::InternalInsertAt(int index, RObject* object) {
  return RArrayHelper::InsertAt(mArray, index, object) ? index : -1;
}

int RGenericObjectList::InternalSetAt(int index, RObject* object) {
  return RArrayHelper::SetAt(mArray, index, object) ? index : -1;
}

bool RGenericObjectList::InternalRemove(RObject* object) {
  return RArrayHelper::RemoveAt(mArray, Find(object));
}
