// The host's list of objects.
#pragma once

#include "rbaselib/RArrayHelper.h"

class RObject;

/// An ordered list of object pointers. It neither copies nor owns the objects; a copy of the list has an
/// array of its own with the same pointers, a list that was moved from is empty.
class RBASELIB_API RGenericObjectList {
 public:
  RGenericObjectList() = default;
  ///@{
  /// Copies the pointers, not the objects; where memory runs out, std::bad_alloc leaves the list as it was.
  RGenericObjectList(const RGenericObjectList& other);
  RGenericObjectList& operator=(const RGenericObjectList& other);
  ///@}
  ///@{
  /// Takes the array over and leaves the other list empty.
  RGenericObjectList(RGenericObjectList&& other) noexcept;
  RGenericObjectList& operator=(RGenericObjectList&& other) noexcept;
  ///@}
  /// Releases the array; the objects stay.
  virtual ~RGenericObjectList();

  /// Returns the number of elements, the same object counted as often as it is there.
  int GetCount() const { return RArrayHelper::GetCount(mArray); }
  /// Returns element `index`, borrowed, or null outside the list.
  RObject* GetAt(int index) const;
  /// Returns the index of the object's first place, or -1.
  int Find(const RObject* object) const;
  /// Forgets all elements; the objects stay.
  void RemoveAll();

 protected:
  /// Appends; returns the new element's index.
  int InternalAdd(RObject* object);
  /// Inserts before `index` (0 to count); returns the index, or -1 for another one.
  int InternalInsertAt(int index, RObject* object);
  /// Replaces element `index`; returns the index, or -1 outside the list.
  int InternalSetAt(int index, RObject* object);
  /// Removes the object's first place; returns whether it was there.
  bool InternalRemove(RObject* object);

 private:
  RArrayHelper::Header* mArray = nullptr;
};
