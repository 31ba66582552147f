// Interface of objects that the host's archives store and retrieve.
#pragma once

#include "rbaselib/IArcObject.h"
#include "rbaselib/IObject.h"

/// The number under which `IQuery` answers an object's `IArcStorable` face.
inline constexpr unsigned long kIArcStorableId = 1001;

/// The bit of a storing or retrieving pass in which an object handles its own fields.
inline constexpr int kArcPassFields = 2;

/// A persistent object. The host calls the store and retrieve operations once a pass. By type and sub-type it
/// finds the factory that makes such an object again, group "ArcStorable/TYPE" and name SUBTYPE, and it
/// stores the properties' values itself (`RObject::PropertiesStore`): an object's own fields are the rest.
/// The embedded host offers the parts, and leaves it to programs to store anything.
struct RBASELIB_API IArcStorable : IObject {
  /// Returns the object's persistent name, borrowed until the object changes.
  virtual const char* ArcGetObjectId() = 0;
  /// Returns the storable group, the part after "ArcStorable/" of a factory's group; static text.
  virtual const char* ArcGetObjectType() = 0;
  /// Returns the name under which the object's factory is registered in that group; static text.
  virtual const char* ArcGetObjectSubType() = 0;
  /// Writes the fields of the given pass, a mask of bits such as `kArcPassFields`; returns false when the
  /// record cannot be written. A pass in which the object has nothing to write succeeds.
  virtual bool ArcStore(IArcObject* file, int pass) = 0;
  /// Reads the fields of the given pass, as they were written; returns false when the record cannot be read.
  /// A field that is missing leaves a default, since records can be older than the object's class.
  virtual bool ArcRetrieve(IArcObject* file, int pass) = 0;

 protected:
  ~IArcStorable() = default;
};
