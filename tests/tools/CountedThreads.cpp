// Counts threads: preloaded, it writes how many a program has started to the file that COUNTED_THREADS names,
// and lets it have no more at a time than MOST_THREADS says.
#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>

namespace {

std::atomic<int> gCount = 0;
std::atomic<int> gRunning = 0;

int MostThreads() {
  const char* const text = std::getenv("MOST_THREADS");
  return text ? std::atoi(text) : std::numeric_limits<int>::max();
}

struct Start {
  void* (*run)(void*);
  void* argument;
};

void* Run(void* argument) {
  const std::unique_ptr<Start> start(static_cast<Start*>(argument));
  void* const result = start->run(start->argument);
  --gRunning;
  return result;
}

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
  if (++gRunning > MostThreads()) {
    --gRunning;
    return EAGAIN;
  }
  ++gCount;
  using Function = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
  auto* const create = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "pthread_create"));
  auto start = std::make_unique<Start>(Start{run, argument});
  const int error = create(thread, attributes, Run, start.get());
  if (error == 0)
    (void)start.release();
  else
    --gRunning;
  return error;
}
