// Interface of objects that can stand in the host's scene views.
#pragma once

#include "rbaselib/RBaseLibExport.h"

class RObject;

/// Anything that carries a host object and can name it. The module's objects carry themselves; only the host
/// asks.
struct RBASELIB_API IVzObjectHolder {
  /// Returns the object that is held, borrowed; never null.
  virtual RObject* GetHeldObject() = 0;

 protected:
  ///@{
  /// An interface holds nothing, so there is nothing to copy.
  IVzObjectHolder() = default;
  IVzObjectHolder(const IVzObjectHolder&) = default;
  IVzObjectHolder& operator=(const IVzObjectHolder&) = default;
  ///@}
  ~IVzObjectHolder() = default;
};
