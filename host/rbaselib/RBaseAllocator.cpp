#include "rbaselib/RBaseAllocator.h"

#include <new>

void* RBaseAllocator::Allocate(std::size_t bytes) { return ::operator new(bytes); }

void RBaseAllocator::Free(void* memory) noexcept { ::operator delete(memory); }
