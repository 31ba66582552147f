// The host's general heap.
#pragma once

#include <cstddef>

#include "rbaselib/RBaseLibExport.h"

/// The general heap of the host, as the allocator argument of its containers.
struct RBASELIB_API RBaseAllocator {
  /// Returns `bytes` bytes aligned for any scalar; the caller owns them. Throws std::bad_alloc when memory
  /// runs out.
  static void* Allocate(std::size_t bytes);
  /// Releases what `Allocate` returned; null is nothing. Any library may free what another one allocated.
  static void Free(void* memory) noexcept;
};
