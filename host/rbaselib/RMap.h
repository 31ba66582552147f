// The host's ordered map.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <new>
#include <utility>

#include "rbaselib/RBaseAllocator.h"

/// An ordered map from `Key` to `Value` whose nodes live on the heap that `Allocator` names. Keys and values
/// are copied in: of a pointer the pointer alone, so that what it points to has to outlive its entry. The map
/// itself is not locked.
template <class Key, class Value, class Compare = std::less<Key>, class Allocator = RBaseAllocator>
class RMap {
 public:
  /// Returns the value under `key`, borrowed until that entry goes, or null when there is none.
  const Value* Find(const Key& key) const {
    const auto entry = mEntries.find(key);
    return entry == mEntries.end() ? nullptr : &entry->second;
  }

  /// Stores `value` under `key`, in place of what was there; an entry keeps the key it was made with. Where
  /// memory for it runs out, std::bad_alloc leaves the map as it was.
  void Set(const Key& key, const Value& value) { mEntries.insert_or_assign(key, value); }

  /// Removes the entry under `key`; returns whether there was one.
  bool Remove(const Key& key) { return mEntries.erase(key) != 0; }

  void Clear() { mEntries.clear(); }                                  ///< removes all entries
  int GetCount() const { return static_cast<int>(mEntries.size()); }  ///< the number of entries
  ///@{
  /// The entries in the order of their keys, each a pair of key and value; good until the entry goes.
  auto begin() const { return mEntries.begin(); }
  auto end() const { return mEntries.end(); }
  ///@}

 private:
  template <class T>
  struct NodeAllocator {
    using value_type = T;
    NodeAllocator() = default;
    template <class U>
    // NOLINTNEXTLINE(google-explicit-constructor): containers convert their allocators without asking.
    NodeAllocator(const NodeAllocator<U>&) {}
    T* allocate(std::size_t count) {
      if (count > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_array_new_length();
      return static_cast<T*>(Allocator::Allocate(count * sizeof(T)));
    }
    void deallocate(T* memory, std::size_t) noexcept { Allocator::Free(memory); }
    friend bool operator==(const NodeAllocator&, const NodeAllocator&) { return true; }
  };

  std::map<Key, Value, Compare, NodeAllocator<std::pair<const Key, Value>>> mEntries;
};
