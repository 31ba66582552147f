// The host's ordered map.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <new>
#include <utility>

#include "rbaselib/RBaseAllocator.h"

/// An ordered map from `Key` to `Value` whose nodes live on the heap that `Allocator` names.
template <class Key, class Value, class Compare = std::less<Key>, class Allocator = RBaseAllocator>
class RMap {
 public:
  /// Returns the value under `key`, borrowed until that entry goes, or null when there is none.
  const Value* Find(const Key& key) const {
    const auto entry = mEntries.find(key);
    return entry == mEntries.end() ? nullptr : &entry->second;
  }

  /// Stores `value` under `key`, in place of what was there; an entry keeps the key it was made with.
  void Set(const Key& key, const Value& value) { mEntries.insert_or_assign(key, value); }

  /// Returns whether there was an entry to remove.
  bool Remove(const Key& key) { return mEntries.erase(key) != 0; }

  void Clear() { mEntries.clear(); }
  int GetCount() const { return static_cast<int>(mEntries.size()); }
  auto begin() const { return mEntries.begin(); }
  auto end() const { return mEntries.end(); }

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
