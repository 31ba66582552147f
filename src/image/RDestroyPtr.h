// Ownership of registered objects.
#pragma once

#include <memory>

#include "rbaselib/RObject.h"

/// Releases a registered object the way the host wants it: with `Destroy`, never with delete.
struct RDestroyDeleter {
  void operator()(RObject* object) const { object->Destroy(0); }
};

/// Owns a registered object.
template <class T>
using RDestroyPtr = std::unique_ptr<T, RDestroyDeleter>;
