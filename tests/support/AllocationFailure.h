// Memory that runs out on demand.
#pragma once

#include <cstddef>

namespace test {

/// Lets allocations of the module, of the host's libraries, of the Qt plugin and of what the C++ library does
/// for them fail; Qt, other libraries and the test itself get what they ask for. Those by malloc and calloc
/// are among them, unless an address sanitizer has functions of its own. One object at a time.
class AllocationFailure {
 public:
  enum Extent {
    kOne,         ///< one allocation fails
    kAndAllAfter  ///< and all that follow
  };

  /// Lets allocation number `which` fail, from 0; none for -1.
  explicit AllocationFailure(int which = -1, Extent extent = kOne);
  ~AllocationFailure();
  AllocationFailure(const AllocationFailure&) = delete;
  AllocationFailure& operator=(const AllocationFailure&) = delete;

  /// Returns how many allocations there were since this object was made.
  int Count() const;
  /// Returns the bytes of the first one that failed; 0 when none did.
  std::size_t FailedSize() const;
  /// Returns how many of the allocations made under the last object have not been freed, now.
  static int CountHeld();
};

}  // namespace test
