// A PNG library that goes wrong: preloaded, it does what BAD_DECODER says where reading or writing begins.
#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

// So much that no limit of a test is above it, and no machine below.
constexpr std::size_t kMost = std::size_t{2} << 30U;

void TakeMemory() {
  constexpr std::size_t kPart = std::size_t{16} << 20U;
  for (std::size_t taken = 0; taken < kMost; taken += kPart) {
    void* part = std::malloc(kPart);
    if (!part) std::abort();
    std::memset(part, 1, kPart);
  }
}

void GoWrong(std::string_view mode) {
  const char* wanted = std::getenv("BAD_DECODER");
  if (!wanted || mode != wanted) return;
  if (mode == "hang") {
    for (;;) pause();
  }
  if (mode == "spin") {
    for (;;) (void)getppid();
  }
  if (mode == "memory") return TakeMemory();
  if (mode == "abort") {
    constexpr std::string_view kReason = "the heap is damaged\n";
    (void)!write(STDERR_FILENO, kReason.data(), kReason.size());
    std::abort();
  }
  if (mode == "overrun") {
    const std::size_t size = std::strlen(wanted);
    auto* const row = static_cast<volatile char*>(std::malloc(size));
    row[size] = 0;
    return;
  }
  raise(SIGSEGV);
}

// Asks for more than anybody has when the pixels are read, behind the header.
bool Begs() {
  static int calls = 0;
  const char* wanted = std::getenv("BAD_DECODER");
  if (!wanted || wanted != std::string_view("beg") || ++calls < 2) return false;
  errno = ENOMEM;
  return true;
}

using Create = void*(const char*, void*, void*, void*);

void* CallNext(const char* name, const char* version, void* pointer, void* error, void* warning) {
  return reinterpret_cast<Create*>(dlsym(RTLD_NEXT, name))(version, pointer, error, warning);
}

}  // namespace

extern "C" void* png_create_read_struct(const char* version, void* pointer, void* error, void* warning) {
  for (const char* mode : {"abort", "crash", "hang", "memory", "overrun", "spin"}) GoWrong(mode);
  if (Begs()) return nullptr;
  return CallNext("png_create_read_struct", version, pointer, error, warning);
}

extern "C" void* png_create_write_struct(const char* version, void* pointer, void* error, void* warning) {
  GoWrong("crash-writing");
  return CallNext("png_create_write_struct", version, pointer, error, warning);
}
