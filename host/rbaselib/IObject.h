// The root interface of everything that the host hands around.
#pragma once

#include "rbaselib/RBaseLibExport.h"

/// Root interface: answers for the other interfaces that an object carries.
struct RBASELIB_API IObject {
  /// Returns the interface with the number `id`, borrowed, or null when the object does not carry it.
  /// Id 0 is the object itself. The second argument is reserved and ignored.
  virtual IObject* IQuery(unsigned long id, int reserved) = 0;

 protected:
  IObject() = default;
  IObject(const IObject&) = default;
  IObject& operator=(const IObject&) = default;
  ~IObject() = default;
};
