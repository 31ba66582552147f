// Replaces the allocation functions of the whole program. Who asks is told by the address to which the
// allocation returns.
#include "support/AllocationFailure.h"

#include <link.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

// --- Where the module's code is

struct Range {
  std::uintptr_t begin;
  std::uintptr_t end;
};
std::array<Range, 16> gRanges{};
std::size_t gRangeCount = 0;

bool IsOurs(const char* library) {
  constexpr const char* kLibraries[] = {"/librimage.so", "/librbaselib.so", "/librgl.so", "/libcg.so",
                                        "/libstdc++.so"};
  return std::ranges::any_of(kLibraries, [&](const char* name) { return std::strstr(library, name); });
}

int AddRanges(dl_phdr_info* info, std::size_t, void*) {
  if (!IsOurs(info->dlpi_name)) return 0;
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const auto& header = info->dlpi_phdr[i];
    if (header.p_type != PT_LOAD || (header.p_flags & PF_X) == 0 || gRangeCount == gRanges.size()) continue;
    const std::uintptr_t begin = info->dlpi_addr + header.p_vaddr;
    gRanges[gRangeCount++] = {begin, begin + header.p_memsz};
  }
  return 0;
}

bool IsOurs(const void* caller) {
  const auto address = reinterpret_cast<std::uintptr_t>(caller);
  return std::any_of(gRanges.begin(), gRanges.begin() + gRangeCount,
                     [&](const Range& range) { return address >= range.begin && address < range.end; });
}

// --- What fails, and what is held

bool gIsArmed = false;
int gWhich = -1;
bool gAllAfter = false;
int gCount = 0;
std::size_t gFailedSize = 0;
std::array<void*, 1 << 14> gHeld{};
std::size_t gHeldEnd = 0;

bool Fails(std::size_t size) {
  const int number = gCount++;
  const bool fails = gWhich >= 0 && (gAllAfter ? number >= gWhich : number == gWhich);
  if (fails && gFailedSize == 0) gFailedSize = size;
  return fails;
}

void Remember(void* memory) {
  if (gHeldEnd == gHeld.size()) std::abort();
  gHeld[gHeldEnd++] = memory;
}

void* Allocate(std::size_t size, const void* caller) {
  const bool counts = gIsArmed && IsOurs(caller);
  if (counts && Fails(size)) return nullptr;
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (counts && memory) Remember(memory);
  return memory;
}

void Free(void* memory) {
  if (memory && gHeldEnd > 0) {
    auto* const end = gHeld.data() + gHeldEnd;
    auto* const place = std::find(gHeld.data(), end, memory);
    if (place != end) *place = gHeld[--gHeldEnd];
  }
  std::free(memory);
}

void* AllocateOrThrow(std::size_t size, const void* caller) {
  void* const memory = Allocate(size, caller);
  if (!memory) throw std::bad_alloc();
  return memory;
}

}  // namespace

void* operator new(std::size_t size) { return AllocateOrThrow(size, __builtin_return_address(0)); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size, __builtin_return_address(0)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size, __builtin_return_address(0));
}
void operator delete(void* memory) noexcept { Free(memory); }
void operator delete(void* memory, std::size_t) noexcept { Free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { Free(memory); }
void operator delete[](void* memory) noexcept { Free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { Free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { Free(memory); }

namespace test {

AllocationFailure::AllocationFailure(int which, Extent extent) {
  if (gRangeCount == 0) dl_iterate_phdr(AddRanges, nullptr);
  gWhich = which;
  gAllAfter = extent == kAndAllAfter;
  gCount = 0;
  gFailedSize = 0;
  gHeldEnd = 0;
  gIsArmed = true;
}

AllocationFailure::~AllocationFailure() { gIsArmed = false; }

int AllocationFailure::Count() const { return gCount; }

std::size_t AllocationFailure::FailedSize() const { return gFailedSize; }

int AllocationFailure::CountHeld() { return static_cast<int>(gHeldEnd); }

}  // namespace test
