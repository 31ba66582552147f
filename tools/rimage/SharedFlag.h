// What processes that work together tell each other.
#pragma once

#include <sys/mman.h>

#include <atomic>
#include <new>

/// A flag that a process shares with the processes that it makes while the flag lives.
class SharedFlag {
 public:
  SharedFlag() {
    void* const memory =
        mmap(nullptr, sizeof(std::atomic_flag), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    mFlag = new (memory) std::atomic_flag;
  }
  ~SharedFlag() { munmap(mFlag, sizeof(std::atomic_flag)); }
  SharedFlag(const SharedFlag&) = delete;
  SharedFlag& operator=(const SharedFlag&) = delete;

  /// Returns true to the first call in any of the processes, false to all others.
  bool IsFirst() { return !mFlag->test_and_set(); }

 private:
  std::atomic_flag* mFlag;
};
