// A typed face over the host's object list.
#pragma once

#include "rbaselib/RGenericObjectList.h"

/// A list of `T`, which derives from `RObject`. It neither copies nor owns the objects.
template <class T>
class RObjectListTemplate : public RGenericObjectList {
 public:
  /// Returns element `index`, borrowed, or null outside the list.
  T* operator[](int index) const { return static_cast<T*>(GetAt(index)); }
  /// Appends; returns the new element's index.
  int Add(T* object) { return InternalAdd(object); }
  /// Inserts before `index`; returns the index, or -1 when it is not within 0 to the count.
  int InsertAt(int index, T* object) { return InternalInsertAt(index, object); }
  /// Replaces element `index`; returns the index, or -1 outside the list.
  int SetAt(int index, T* object) { return InternalSetAt(index, object); }
  /// Removes the object's first place; returns whether it was there.
  bool Remove(T* object) { return InternalRemove(object); }
};
