#include "PrivateDisplay.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string>

#include "ChildProcess.h"
#include "Failure.h"

namespace {

constexpr int kStartMilliseconds = 10'000;
// The descriptor on which the server tells its display number.
constexpr int kNumberDescriptor = 3;

[[noreturn]] void RunServer(int descriptor) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  // An interrupt of the tool is not the server's; it ends with the tool.
  setpgid(0, 0);
  if (const int null = open("/dev/null", O_RDWR); null >= 0) {
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(null, standard);
  }
  if (descriptor == kNumberDescriptor)
    fcntl(descriptor, F_SETFD, 0);
  else
    dup2(descriptor, kNumberDescriptor);
  execlp("Xvfb", "Xvfb", "-displayfd", "3", "-screen", "0", "1280x1024x24", "-nolisten", "tcp", "-noreset",
         static_cast<char*>(nullptr));
  _exit(127);
}

// The server writes its number and closes the descriptor, so the text ends by itself.
std::string ReadNumber(int descriptor) {
  const auto text = ReadUntilEnd(descriptor, kStartMilliseconds);
  return text ? text->substr(0, text->find('\n')) : std::string();
}

}  // namespace

std::unique_ptr<PrivateDisplay> PrivateDisplay::Start(std::string& reason) {
  std::array<int, 2> pipeEnds{};
  if (pipe2(pipeEnds.data(), O_CLOEXEC) != 0) {
    reason = ErrorText(errno);
    return nullptr;
  }
  const pid_t server = fork();
  if (server == 0) RunServer(pipeEnds[1]);
  close(pipeEnds[1]);
  const std::string number = server > 0 ? ReadNumber(pipeEnds[0]) : std::string();
  close(pipeEnds[0]);
  if (!number.empty()) return std::unique_ptr<PrivateDisplay>(new PrivateDisplay(server, ":" + number));
  if (server > 0) EndProcess(server);
  reason = "Xvfb is not installed or does not start";
  return nullptr;
}

PrivateDisplay::~PrivateDisplay() { EndProcess(mServer); }
