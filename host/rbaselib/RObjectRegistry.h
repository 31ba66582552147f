// The named-factory registry.
#pragma once

#include <string>
#include <vector>

#include "rbaselib/IObject.h"

/// Makes an object and returns its own face (`IQuery(0, 0)`), or null; the caller owns the object, and
/// releases it with `RObject::Destroy`. The arguments are the parent, borrowed and often null, the name and
/// the factory's own data. The host calls factories on any thread on which it wants an object, and never
/// while the registry is locked.
using RObjectFactory = IObject* (*)(IObject* parent, const char* name, void* data);

/// One registration, as `Object_Register` was told.
struct RBASELIB_API RObjectRegistration {
  std::string group;                 ///< such as "Stream/Reader/Image"
  std::string name;                  ///< such as "tif"
  std::string type;                  ///< such as "Stream"
  RObjectFactory factory = nullptr;  ///< code of the module that registered: good while that is loaded
  bool enabled = false;              ///< whether the host chooses it
  void* data = nullptr;              ///< handed to the factory, borrowed
  void* reserved = nullptr;          ///< kept, and not looked at
};

/// Files a factory under a group and a name, for the rest of the process. Any thread may register and ask.
/// The strings are copied; none may be null. A second registration of the same group and name (compared
/// without case) takes the place of the first in the order. A factory that is not `enabled` is listed but not
/// chosen by `RStreamReadObject` or `Object_Create`. Returns false when a string or the factory is null.
RBASELIB_API bool Object_Register(const char* group, const char* name, const char* type,
                                  RObjectFactory factory, bool enabled, void* data, void* reserved);

/// Returns a copy of the registrations in their order; of one group only when `group` is not null.
RBASELIB_API std::vector<RObjectRegistration> Object_GetRegistrations(const char* group = nullptr);

/// Returns a new object from the first enabled factory of that group and name (compared without case), which
/// the caller owns, or null when there is none.
RBASELIB_API IObject* Object_Create(const char* group, const char* name, IObject* parent = nullptr);
