// Counts threads: preloaded, it writes how many a program has started to the file that COUNTED_THREADS names,
// and lets it have no more at a time than MOST_THREADS says. The machine has as many processors as PROCESSORS
// says.
#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>

namespace {

std::atomic<int> gCount = 0;
std::atomic<int> gRunning = 0;

int NumberFrom(const char* variable, int otherwise) {
  const char* const text = std::getenv(variable);
  return text ? std::atoi(text) : otherwise;
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
  if (++gRunning > NumberFrom("MOST_THREADS", std::numeric_limits<int>::max())) {
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

extern "C" int sched_getaffinity(pid_t process, std::size_t size, cpu_set_t* set) noexcept {
  using Function = int(pid_t, std::size_t, cpu_set_t*);
  const int result = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "sched_getaffinity"))(process, size, set);
  for (int i = 0; result == 0 && i < NumberFrom("PROCESSORS", 0); ++i) CPU_SET_S(i, size, set);
  return result;
}
