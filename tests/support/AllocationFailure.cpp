// Replaces the allocation functions of the whole program. Who asks is told by the address to which the
// allocation returns.
#include "support/AllocationFailure.h"

#include <execinfo.h>
#include <link.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>

namespace {

// --- Where the module's code is, and that of the C++ library, which works for everybody

struct Range {
  std::uintptr_t begin;
  std::uintptr_t end;
};

class Code {
 public:
  void Add(const dl_phdr_info& info) {
    for (int i = 0; i < info.dlpi_phnum; ++i) {
      const auto& header = info.dlpi_phdr[i];
      if (header.p_type != PT_LOAD || (header.p_flags & PF_X) == 0 || mCount == std::ssize(mRanges)) continue;
      const std::uintptr_t begin = info.dlpi_addr + header.p_vaddr;
      mRanges[static_cast<std::size_t>(mCount++)] = {begin, begin + header.p_memsz};
    }
  }
  bool Has(const void* place) const {
    const auto address = reinterpret_cast<std::uintptr_t>(place);
    return std::any_of(mRanges.begin(), mRanges.begin() + mCount,
                       [&](const Range& range) { return address >= range.begin && address < range.end; });
  }
  void Clear() { mCount = 0; }

 private:
  std::array<Range, 16> mRanges{};
  std::ptrdiff_t mCount = 0;
};
Code gModule;
Code gRuntime;

int AddCode(dl_phdr_info* info, std::size_t, void*) {
  constexpr const char* kModule[] = {"/librimage.so", "/librbaselib.so", "/librgl.so", "/libcg.so",
                                     "/libqrimage.so"};
  const auto isThis = [&](const char* name) { return std::strstr(info->dlpi_name, name) != nullptr; };
  if (std::ranges::any_of(kModule, isThis)) gModule.Add(*info);
  if (isThis("/libstdc++.so")) gRuntime.Add(*info);
  return 0;
}

// Whether the C++ library allocates at `caller` for the module.
bool WorksForModule(const void* caller) {
  std::array<void*, 24> frames{};
  auto* const end = frames.data() + backtrace(frames.data(), static_cast<int>(frames.size()));
  auto* const library = std::find(frames.data(), end, caller);
  auto* const user = std::find_if_not(library, end, [](void* frame) { return gRuntime.Has(frame); });
  return user != end && gModule.Has(*user);
}

bool IsOurs(const void* caller) {
  return gModule.Has(caller) || (gRuntime.Has(caller) && WorksForModule(caller));
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

// Does the allocation unless it is to fail.
template <class Work>
void* AllocateBy(Work allocate, std::size_t size, bool counts) {
  if (counts && Fails(size)) return nullptr;
  void* const memory = allocate();
  if (counts && memory) Remember(memory);
  return memory;
}

void* Allocate(std::size_t size, const void* caller) {
  return AllocateBy([size] { return std::malloc(size == 0 ? 1 : size); }, size, gIsArmed && IsOurs(caller));
}

void Forget(void* memory) {
  if (!memory || gHeldEnd == 0) return;
  auto* const end = gHeld.data() + gHeldEnd;
  auto* const place = std::find(gHeld.data(), end, memory);
  if (place != end) *place = gHeld[--gHeldEnd];
}

void Free(void* memory) {
  Forget(memory);
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

// Those of C, which hosts share with the readers that hand them memory. A checker of addresses has its own.
#ifndef __SANITIZE_ADDRESS__
extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void __libc_free(void* memory);

void* malloc(std::size_t size) noexcept {
  const bool counts = gIsArmed && gModule.Has(__builtin_return_address(0));
  return AllocateBy([size] { return __libc_malloc(size); }, size, counts);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
  const bool counts = gIsArmed && gModule.Has(__builtin_return_address(0));
  return AllocateBy([count, size] { return __libc_calloc(count, size); }, count * size, counts);
}

void free(void* memory) noexcept {
  Forget(memory);
  __libc_free(memory);
}

}  // extern "C"
#endif

namespace test {

AllocationFailure::AllocationFailure(int which, Extent extent) {
  gModule.Clear();
  gRuntime.Clear();
  dl_iterate_phdr(AddCode, nullptr);
  // The first look at the stack loads what it needs.
  std::array<void*, 1> frame{};
  (void)backtrace(frame.data(), 1);
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
