// The host's growable array of pointers.
#pragma once

#include <cstdint>

#include "rbaselib/RBaseLibExport.h"

/// Growth and release of the host's pointer arrays. An array is a header of two 32-bit numbers followed by
/// the pointers; an absent array is null and counts as empty. The array belongs to whoever holds it, who
/// gives it back with `Free`; what the elements point to is none of its business. Where memory runs out,
/// std::bad_alloc leaves the array as it was.
struct RBASELIB_API RArrayHelper {
  /// What stands before the pointers.
  struct Header {
    std::int32_t count = 0;     ///< elements in use
    std::int32_t capacity = 0;  ///< elements that there is room for
  };

  /// Returns the capacity to grow to so that `needed` elements fit: half as much again, at least 4.
  /// It stops at the largest 32-bit number.
  static std::int32_t GetNextArraySize(std::int32_t capacity, std::int32_t needed);
  /// Returns the number of elements; 0 for an absent array.
  static std::int32_t GetCount(const Header* array) { return array ? array->count : 0; }
  /// Returns element `index`, or null outside the array.
  static void* GetAt(const Header* array, std::int32_t index);
  /// Inserts before `index` (0 to count), growing and moving the array as needed; false for another index.
  static bool InsertAt(Header*& array, std::int32_t index, void* element);
  /// Replaces element `index`; false outside the array.
  static bool SetAt(Header* array, std::int32_t index, void* element);
  /// Removes element `index`; false outside the array.
  static bool RemoveAt(Header* array, std::int32_t index);
  /// Returns a new array of the same elements without room to spare, for the caller to free; absent for none.
  static Header* Copy(const Header* array);
  /// Forgets the elements and keeps the storage.
  static void Clear(Header* array);
  /// Releases the storage and sets the array to absent.
  static void Free(Header*& array);
};
