// The class information that every registered class carries.
#pragma once

#include <atomic>

#include "rbaselib/RObject.h"

/// Counts the living objects of a class, its derived ones included; one member of each registered class.
template <int* kCount>
struct RInstanceCount {
  RInstanceCount() { ++std::atomic_ref(*kCount); }
  ///@{
  /// A copy is an object of its own.
  RInstanceCount(const RInstanceCount&) : RInstanceCount() {}
  RInstanceCount& operator=(const RInstanceCount&) = default;
  ///@}
  ~RInstanceCount() { --std::atomic_ref(*kCount); }
};

/// Declares the statics and overrides of a registered class; `Parent` is the class it derives from. Leaves
/// the access at public. The statics are defined by `R_DEFINE_CLASS`, all in one file, because their order
/// counts.
#define R_CLASS(Class, Parent)                                                              \
 public:                                                                                    \
  static RClassDefinition ClassDefinition;                                                  \
  static int ClassId;                                                                       \
  static const char* const ClassName;                                                       \
  static const int ClassSize;                                                               \
  static int ClassInstanceCount;                                                            \
  static RPropertyHashMap PropertyHashMap;                                                  \
  int GetClassId() const override { return ClassId; }                                       \
  const char* GetClassIdName() const override { return ClassDefinition.GetName(); }         \
  const RClassDefinition* GetClassDefinition() const override { return &ClassDefinition; }  \
  int GetClassGroupId() const override { return Parent::GetClassGroupId(); }                \
  const char* GetClassGroupName() const override { return Parent::GetClassGroupName(); }    \
  int GetClassSize() const override { return ClassSize; }                                   \
  int GetClassInstanceCount() const override { return ClassInstanceCount; }                 \
  bool Is(int classId) const override { return classId == ClassId || Parent::Is(classId); } \
  RProperty* FastFindPropertyByName(const char* name) const override {                      \
    return RObject::FastFindPropertyByName(name, PropertyHashMap);                          \
  }                                                                                         \
                                                                                            \
 private:                                                                                   \
  [[no_unique_address]] RInstanceCount<&ClassInstanceCount> mInstanceCount;                 \
                                                                                            \
 public:

/// Defines what `R_CLASS` declares. Within a file the order of these lines is the order of construction: a
/// parent's line stands before its children's.
#define R_DEFINE_CLASS(Class, Parent)                                                                  \
  const char* const Class::ClassName = #Class;                                                         \
  int Class::ClassId = 0;                                                                              \
  const int Class::ClassSize = sizeof(Class);                                                          \
  int Class::ClassInstanceCount = 0;                                                                   \
  RClassDefinition Class::ClassDefinition(Class::ClassId, Class::ClassName, &Parent::ClassDefinition); \
  [[maybe_unused]] static const int kRegistered##Class = Class::ClassDefinition.RegisterClassId();     \
  RPropertyHashMap Class::PropertyHashMap;
