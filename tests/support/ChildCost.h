// What a piece of work costs, measured in a process of its own.
#pragma once

#include <functional>
#include <iosfwd>

namespace test {

struct ChildCost {
  bool ended = false;          ///< the child returned from the work and was not killed
  bool result = false;         ///< what the work returned
  double milliseconds = 0;     ///< processor time
  long residentKilobytes = 0;  ///< largest resident memory beyond that of a child that does nothing
};

/// Runs `work` in a forked child. The calling process must have one thread.
ChildCost RunInChild(const std::function<bool()>& work);

/// Whether this program carries checks that make it several times slower and larger, or is not optimised.
bool IsInstrumented();

}  // namespace test
