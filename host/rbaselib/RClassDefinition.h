// The record of a class in the host's class registry.
#pragma once

#include <vector>

#include "rbaselib/RBaseLibExport.h"

/// A class as the host knows it: id, name, parent. A definition is a static of its class, and listed from its
/// construction to its destruction. Ids are given in the order of registration, so the host's base library
/// has to be initialised before the libraries that use it: `RObject` then has the first id, and parents come
/// before their children. Any thread may ask and list.
class RBASELIB_API RClassDefinition {
 public:
  /// Lists the class. `id` is a reference to the class's own `ClassId`; it is only remembered here and
  /// written by `RegisterClassId`. `name` must outlive the definition (it is the class's static name); null
  /// counts as the empty name. `parent` is null for a root class and must outlive the definition. `factory`
  /// is reserved for the host and kept as it is.
  RClassDefinition(int& id, const char* name, const RClassDefinition* parent, void* factory = nullptr);
  /// Takes the class off the list.
  ~RClassDefinition();
  RClassDefinition(const RClassDefinition&) = delete;
  RClassDefinition& operator=(const RClassDefinition&) = delete;

  /// Assigns the class its id, counted from 1, stores it in the class's `ClassId` and returns it. A name
  /// keeps its id for the life of the process, so that a module that is unloaded and loaded again gets its
  /// ids back; a second living class of the same name gets an id of its own.
  int RegisterClassId();

  int GetId() const { return mId; }                              ///< what the class's `ClassId` holds
  const char* GetName() const { return mName; }                  ///< never null
  const RClassDefinition* GetParent() const { return mParent; }  ///< null for a root class
  void* GetFactory() const { return mFactory; }                  ///< what the constructor was given

  /// Returns the first listed class with that name, borrowed, or null.
  static const RClassDefinition* Find(const char* name);
  /// Returns the listed classes, borrowed, in the order of their construction.
  static std::vector<const RClassDefinition*> GetAll();

 private:
  int& mId;
  const char* mName;
  const RClassDefinition* mParent;
  void* mFactory;
  bool mRegistered = false;
};
