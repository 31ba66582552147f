// Counts threads: preloaded, it writes how many a program has started to the file that COUNTED_THREADS names.
#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace {

std::atomic<int> gCount = 0;

class AtExit {
 public:
  AtExit() = default;
  ~AtExit() {
    const char* const name = std::getenv("COUNTED_THREADS");
    std::FILE* const file = name ? std::fopen(name, "w") : nullptr;
    if (!file) return;
    (void)std::fprintf(file, "%d", gCount.load());
    (void)std::fclose(file);
  }
  AtExit(const AtExit&) = delete;
  AtExit& operator=(const AtExit&) = delete;
};
const AtExit gAtExit;

}  // namespace

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                              void* argument) noexcept {
  ++gCount;
  using Function = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "pthread_create"))(thread, attributes, run, argument);
}
