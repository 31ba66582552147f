#include "ChildProcess.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "Descriptor.h"
#include "Failure.h"

namespace {

// What a process may answer at most: one that goes wrong must not fill the memory of this one.
constexpr std::size_t kMostText = std::size_t{16} << 20U;

[[noreturn]] void RunAndExit(const std::function<void(int)>& work, int descriptor) {
  // Nothing of the copy outlives this process, leaves a core file, or speaks on standard error.
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
  if (const int null = open("/dev/null", O_WRONLY | O_CLOEXEC); null >= 0) dup2(null, STDERR_FILENO);
  for (const int number : {SIGABRT, SIGSEGV, SIGBUS, SIGILL, SIGFPE}) std::signal(number, SIG_DFL);
  work(descriptor);
  _exit(0);
}

}  // namespace

std::string DescribeEnd(int status) {
  if (WIFSIGNALED(status)) return fmt::format("crashed: {}", strsignal(WTERMSIG(status)));
  return fmt::format("ended with code {}", WEXITSTATUS(status));
}

std::optional<std::string> ReadUntilEnd(int descriptor, int milliseconds) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
  std::string text;
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd waiting{descriptor, POLLIN, 0};
    const int ready = left > 0 ? poll(&waiting, 1, static_cast<int>(left)) : 0;
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) return std::nullopt;
    std::array<char, 4096> buffer{};
    const ssize_t count = Uninterrupted([&] { return read(descriptor, buffer.data(), buffer.size()); });
    if (count <= 0) return text;
    text.append(buffer.data(), static_cast<std::size_t>(count));
    if (text.size() > kMostText) return std::nullopt;
  }
}

void EndProcess(pid_t process) {
  kill(process, SIGTERM);
  for (int i = 0; i < 100; ++i) {
    if (waitpid(process, nullptr, WNOHANG) != 0) return;
    usleep(10'000);
  }
  kill(process, SIGKILL);
  (void)Uninterrupted([&] { return waitpid(process, nullptr, 0); });
}

std::optional<std::string> RunInChild(const std::function<void(int)>& work, int milliseconds,
                                      std::string& reason) {
  std::array<int, 2> pipeEnds{};
  if (pipe2(pipeEnds.data(), O_CLOEXEC) != 0) {
    reason = ErrorText(errno);
    return std::nullopt;
  }
  (void)std::fflush(nullptr);  // or the copy would hold the same text
  const pid_t child = fork();
  if (child == 0) RunAndExit(work, pipeEnds[1]);
  close(pipeEnds[1]);
  auto text = child > 0 ? ReadUntilEnd(pipeEnds[0], milliseconds) : std::nullopt;
  close(pipeEnds[0]);
  if (child < 0) {
    reason = ErrorText(EAGAIN);
    return std::nullopt;
  }
  if (!text) {
    kill(child, SIGKILL);
    (void)Uninterrupted([&] { return waitpid(child, nullptr, 0); });
    reason = fmt::format("no answer within {} seconds", milliseconds / 1000);
    return std::nullopt;
  }
  int status = 0;
  (void)Uninterrupted([&] { return waitpid(child, &status, 0); });
  if (status == 0) return text;
  reason = text->empty() ? DescribeEnd(status) : *text;
  return std::nullopt;
}
