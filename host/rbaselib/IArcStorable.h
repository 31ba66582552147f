// Interface of objects that the host's archives store and retrieve.
#pragma once

#include "rbaselib/IArcObject.h"
#include "rbaselib/IObject.h"

/// The number under which `IQuery` answers an object's `IArcStorable` face.
inline constexpr unsigned long kIArcStorableId = 1001;

/// The bit of a storing or retrieving pass in which an object handles its own fields.
inline constexpr int kArcPassFields = 2;

/// A persistent object. The host calls the store and retrieve operations once a pass.
struct RBASELIB_API IArcStorable : IObject {
  /// Returns the object's persistent name, borrowed until the object changes.
  virtual const char* ArcGetObjectId() = 0;
  /// Returns the storable group, the part after "ArcStorable/" of a factory's group; static text.
  virtual const char* ArcGetObjectType() = 0;
  /// Returns the name under which the object's factory is registered in that group; static text.
  virtual const char* ArcGetObjectSubType() = 0;
  /// Writes the fields of the given pass; returns false when the record cannot be written.
  virtual bool ArcStore(IArcObject* file, int pass) = 0;
  /// Reads the fields of the given pass; returns false when the record cannot be read.
  virtual bool ArcRetrieve(IArcObject* file, int pass) = 0;

 protected:
  ~IArcStorable() = default;
};
