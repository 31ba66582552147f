// What a process holds of the system, for tests of leaks.
#pragma once

#include <malloc.h>

#include <cstddef>
#include <filesystem>
#include <iterator>

namespace test {

/// Returns the number of open file descriptors.
inline std::size_t OpenFiles() {
  const std::filesystem::directory_iterator folder("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(folder), end(folder)));
}

/// Returns the bytes of the heap in use; 0 where a leak checker has its own heap.
inline std::size_t HeapBytes() { return mallinfo2().uordblks; }

}  // namespace test
