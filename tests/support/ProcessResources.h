// What a process holds of the system, for tests of leaks.
#pragma once

#include <malloc.h>

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <iterator>

namespace test {

/// Returns the number of open file descriptors.
inline std::size_t OpenFiles() {
  const std::filesystem::directory_iterator folder("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(folder), end(folder)));
}

/// Returns the bytes of the heap in use; 0 where a leak checker has its own heap.
inline std::size_t HeapBytes() {
  const auto heap = mallinfo2();
  return heap.uordblks + heap.hblkhd;  // large blocks lie outside of the arenas
}

/// Returns how often a test of leaks repeats its work: 200 times, or what RIMAGE_TEST_CYCLES says.
inline int Cycles() {
  constexpr int kUsual = 200;
  const char* text = std::getenv("RIMAGE_TEST_CYCLES");
  return text ? std::atoi(text) : kUsual;
}

/// Does `cycle` as often as `Cycles` says and returns by how many bytes of the heap each one has made the
/// process larger. What is made once and kept does not count.
template <class Cycle>
double HeapBytesLeftPerCycle(const Cycle& cycle) {
  constexpr int kBefore = 20;
  for (int i = 0; i < kBefore; ++i) cycle();
  const auto before = static_cast<double>(HeapBytes());
  const int cycles = Cycles();
  for (int i = 0; i < cycles; ++i) cycle();
  return (static_cast<double>(HeapBytes()) - before) / cycles;
}

}  // namespace test
