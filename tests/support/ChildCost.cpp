#include "support/ChildCost.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

ChildCost Run(const std::function<bool()>& work) {
  const pid_t child = fork();
  if (child == 0) _exit(work() ? 1 : 0);
  int status = 0;
  rusage usage{};
  EXPECT_EQ(wait4(child, &status, 0, &usage), child);
  const auto milliseconds = [](const timeval& time) {
    return 1e3 * static_cast<double>(time.tv_sec) + 1e-3 * static_cast<double>(time.tv_usec);
  };
  return {WIFEXITED(status) && WEXITSTATUS(status) <= 1, WIFEXITED(status) && WEXITSTATUS(status) == 1,
          milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime), usage.ru_maxrss};
}

}  // namespace

ChildCost RunInChild(const std::function<bool()>& work) {
  const ChildCost nothing = Run([] { return true; });
  ChildCost cost = Run(work);
  cost.residentKilobytes -= nothing.residentKilobytes;
  return cost;
}

bool IsInstrumented() {
#if defined(__SANITIZE_ADDRESS__) || defined(RIMAGE_INSTRUMENTED) || !defined(__OPTIMIZE__)
  return true;
#elif defined(__has_feature)
  return __has_feature(address_sanitizer);
#else
  return false;
#endif
}

}  // namespace test
