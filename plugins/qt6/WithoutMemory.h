// What becomes of a call of Qt's when memory runs out.
#pragma once

#include <new>

/// Returns what the work returns, or `otherwise` where memory runs out in it. Qt keeps its locks when an
/// exception passes through it, and the next call waits for ever; so each function that Qt calls is such a
/// work.
template <class Result, class Work>
Result WithoutMemory(Result otherwise, Work work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return otherwise;
  }
}
