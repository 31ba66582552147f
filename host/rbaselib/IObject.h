// The root interface of everything that the host hands around.
#pragma once

#include "rbaselib/RBaseLibExport.h"

/// Root interface: answers for the other interfaces that an object carries. An interface is borrowed: nothing
/// can be deleted through it.
struct RBASELIB_API IObject {
  /// Returns the interface with the number `id`, borrowed, or null when the object does not carry it.
  /// Id 0 is the object itself: what an `RObject` answers to it, and to no other id, may be cast down to it.
  /// The second argument is reserved and ignored.
  virtual IObject* IQuery(unsigned long id, int reserved) = 0;

 protected:
  ///@{
  /// An interface holds nothing, so there is nothing to copy; the object behind it copies itself.
  IObject() = default;
  IObject(const IObject&) = default;
  IObject& operator=(const IObject&) = default;
  ///@}
  ~IObject() = default;
};
