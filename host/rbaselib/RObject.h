// The root class of the host's objects.
#pragma once

#include <vector>

#include "rbaselib/IVzObjectHolder.h"
#include "rbaselib/RBaseAllocator.h"
#include "rbaselib/RCharPointerLessCompare.h"
#include "rbaselib/RClassDefinition.h"
#include "rbaselib/RMap.h"
#include "rbaselib/RPlug.h"
#include "rbaselib/RString.h"

class RArc;
class RProperty;

/// The per-class cache of property look-ups: from a property's own static name to its index in the property
/// list. It never holds an object's pointer, because all objects of a class share it.
using RPropertyHashMap = RMap<const char*, long long, RCharPointerLessCompare, RBaseAllocator>;

/// Root of the host's object model: class information, life cycle and properties.
///
/// Life cycle. Objects are released with `Destroy`, never deleted. The teardown sequence is `SystemDetach`,
/// `PrepareDestruct`, `Destruct`, `HSDK_UnMap`, and runs once an object. A class that overrides one of them
/// or has properties calls `RunTeardown` in its own destructor, so that its overrides are reached while the
/// object still is of that class. A class that adds properties carries class information of its own: the
/// look-up cache refers to the properties' names and has to go with them.
///
/// Threads. An object is used by one thread at a time. What objects share, the counts, the caches and the
/// handles, may be used by all threads at once.
class RBASELIB_API RObject : public RPlug, public IVzObjectHolder {
 public:
  /// `name` is copied and may be null. `entity` is the host's own companion object, borrowed; it may be null.
  RObject(const char* name, void* entity);
  /// A copy shares the entity and the name and starts a life cycle of its own: it has no properties (they
  /// belong to the class that declares them, which adds them itself) and no host handle.
  RObject(const RObject& other);
  /// Takes over the other's entity and name; properties, handle and life cycle stay this object's own.
  RObject& operator=(const RObject& other);
  /// Runs the teardown sequence, unless a derived class has.
  ~RObject() override;

  /// Id 0 alone answers, with the object.
  IObject* IQuery(unsigned long id, int reserved) override;
  /// Returns the object itself.
  RObject* GetHeldObject() override;

  /// Releases the object: deletes a deletable one, else runs `Destruct` only; nothing while the teardown
  /// runs. The argument is reserved.
  virtual void Destroy(int reserved);
  /// Gives back what the object holds. Called once by the teardown sequence, and before that by each
  /// `Destroy` of an embedded object, so that a second call finds nothing left to do. The base empties the
  /// property list.
  virtual void Destruct();

  ///@{
  /// Return what is on record about the object's own class: its id, its name, static, and its definition,
  /// borrowed.
  virtual int GetClassId() const;
  virtual const char* GetClassIdName() const;
  virtual const RClassDefinition* GetClassDefinition() const;
  ///@}
  ///@{
  /// The family that the host files a class under: 0 "Object", 1 "Stream".
  virtual int GetClassGroupId() const;
  virtual const char* GetClassGroupName() const;
  ///@}
  /// Returns the size of an object of its class, in bytes.
  virtual int GetClassSize() const;
  /// Returns how many objects of its class are alive, those of derived classes included.
  virtual int GetClassInstanceCount() const;
  /// Returns whether the object is of the class with that id or of one derived from it.
  virtual bool Is(int classId) const;
  /// Returns the first property with that name, borrowed, or null. Look-ups are cached for the class; threads
  /// may look up in different objects at the same time.
  virtual RProperty* FastFindPropertyByName(const char* name) const;

  /// Returns the name, borrowed until it is set again; never null.
  const char* GetName() const { return mName.GetChars(); }
  /// Copies the name; null is the empty one.
  void SetName(const char* name) { mName = name; }
  /// Returns the host's companion object, borrowed; null when there is none, and after `PrepareDestruct`.
  void* GetEntity() const { return mEntity; }

  ///@{
  /// Whether `Destroy` deletes the object. True for a new object; the owner of an embedded or stack object
  /// clears it.
  bool IsDeletable() const { return mDeletable; }
  void SetDeletable(bool deletable) { mDeletable = deletable; }
  ///@}
  /// Whether the teardown sequence has begun.
  bool IsTornDown() const { return mTornDown; }

  /// Appends a property to the object's list, taking it off the list it was on; nothing happens when it is on
  /// this one. The object borrows it (it is a member of the derived object) until it is removed or destroyed.
  void PropertyAddToList(RProperty* property);
  /// Takes a property off the list; nothing happens when it is not on it.
  void PropertyRemoveFromList(RProperty* property);
  /// Returns the number of properties.
  int GetPropertyCount() const { return static_cast<int>(mProperties.size()); }
  /// Returns property `index` in the order of adding, borrowed, or null when there is none.
  RProperty* GetProperty(int index) const;

  /// Copies every property value of `source` through this object's setters, in list order, and again those
  /// that a later setter changed, until this object equals the source in every property that both have, and
  /// with its setters whatever follows them. A value that setters never leave alone is stored at last.
  /// Properties of the same name but another type stay as they are; one of another class's description is
  /// fitted to its own range.
  void TransferStaticPropertiesFrom(const RObject* source);

  /// Writes every property as one field of its name: an enumeration by number, a colour as three numbers.
  /// Returns false when there is no record or one does not take a field.
  bool PropertiesStore(RArc* arc) const;
  /// Sets every property that the record has a field for, through the setters, in list order, and again those
  /// that a later setter changed, until this object equals the record. Of values outside the range, or that
  /// the record contradicts, what the ranges and setters make of them stands. Returns false when there is no
  /// record or a field does not hold a value of its property's type; the others are set all the same.
  bool PropertiesRestore(const RArc* arc);

  /// Returns the handle under which the host's scripting side knows the object; assigned on first use,
  /// from 1.
  unsigned HSDK_Map();
  /// Withdraws the handle; nothing happens when there is none.
  void HSDK_UnMap();
  /// Returns the living object with that handle, borrowed, or null.
  static RObject* HSDK_Find(unsigned handle);

  // Every registered class has these six statics, all defined in one file in the order of the class tree.
  static RClassDefinition ClassDefinition;  ///< the class's record, which has to stand before its children's
  static int ClassId;                       ///< 0 until the definition is registered
  static const char* const ClassName;       ///< as written in the source
  static const int ClassSize;               ///< bytes
  static int ClassInstanceCount;            ///< changed through `std::atomic_ref` alone
  static RPropertyHashMap PropertyHashMap;  ///< used by `FastFindPropertyByName`, which locks it

 protected:
  /// The look-up that the classes' overrides share, with the cache of the object's own class.
  RProperty* FastFindPropertyByName(const char* name, RPropertyHashMap& cache) const;

  /// Takes the object out of the host: its properties no longer run their setters.
  virtual void SystemDetach();
  /// Called while the object is still whole. The base lets go of the host's companion object.
  virtual void PrepareDestruct();
  /// Runs the teardown sequence unless it has begun.
  void RunTeardown();

 private:
  RString mName;
  void* mEntity;
  std::vector<RProperty*> mProperties;
  unsigned mHandle = 0;
  bool mDeletable = true;
  bool mTornDown = false;
};
