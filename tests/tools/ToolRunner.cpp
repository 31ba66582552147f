#include "ToolRunner.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <thread>

namespace test {

namespace {

// Makes a pipe; the child process inherits neither end.
std::array<int, 2> MakePipe() {
  std::array<int, 2> ends = {-1, -1};
  EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  return ends;
}

void Limit(int resource, long most) {
  if (most < 0) return;
  const auto kind = static_cast<__rlimit_resource_t>(resource);
  rlimit limits{};
  if (getrlimit(kind, &limits) != 0) _exit(126);
  // What the process may raise it to stays: the counters of a coverage build are written in the end.
  limits.rlim_cur = static_cast<rlim_t>(most);
  if (setrlimit(kind, &limits) != 0) _exit(126);
}

// Runs in the child process.
void Prepare(const ToolSettings& settings, int output, int errors) {
  if (!settings.output.empty()) output = open(settings.output.c_str(), O_WRONLY);
  if (!settings.errors.empty()) errors = open(settings.errors.c_str(), O_WRONLY | O_NOCTTY);
  if (dup2(output, STDOUT_FILENO) < 0 || dup2(errors, STDERR_FILENO) < 0) _exit(126);
  if (!settings.folder.empty() && chdir(settings.folder.c_str()) != 0) _exit(126);
  for (const auto& [name, value] : settings.environment) setenv(name.c_str(), value.c_str(), 1);
  if (settings.ignoreInterrupt) std::signal(SIGINT, SIG_IGN);
  if (settings.obeyPermissions && geteuid() == 0) {
    for (const int power : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
      if (prctl(PR_CAPBSET_DROP, power, 0, 0, 0) != 0) _exit(126);
    }
  }
  Limit(RLIMIT_FSIZE, settings.largestFile);
  Limit(RLIMIT_AS, settings.mostMemory);
}

// Becomes a shell that becomes the tool.
void RunThroughShell(const std::string& commands, std::vector<char*> argv) {
  const std::string script = commands + "; exec \"$0\" \"$@\"";
  argv[0] = const_cast<char*>(RIMAGE_TOOL);
  for (const char* word : {script.c_str(), "-c", "sh"}) argv.insert(argv.begin(), const_cast<char*>(word));
  execv("/bin/sh", argv.data());
  _exit(127);
}

// Takes what is there; false at the end.
bool Take(int pipe, std::string& text) {
  std::array<char, 4096> part;
  const ssize_t size = read(pipe, part.data(), part.size());
  if (size > 0) text.append(part.data(), static_cast<std::size_t>(size));
  return size > 0;
}

}  // namespace

ToolProcess::ToolProcess(const Arguments& arguments, const ToolSettings& settings) {
  std::vector<char*> argv = {const_cast<char*>("rimage")};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const auto output = MakePipe();
  const auto errors = MakePipe();
  mOutput = output[0];
  mErrors = errors[0];
  mProcess = fork();
  if (mProcess == 0) {
    Prepare(settings, output[1], errors[1]);
    if (!settings.shell.empty()) RunThroughShell(settings.shell, argv);
    execv(settings.program.empty() ? RIMAGE_TOOL : settings.program.c_str(), argv.data());
    _exit(127);
  }
  close(output[1]);
  close(errors[1]);
}

ToolProcess::~ToolProcess() {
  if (mProcess > 0) {
    kill(mProcess, SIGKILL);
    waitpid(mProcess, nullptr, 0);
  }
  close(mOutput);
  close(mErrors);
}

bool ToolProcess::WaitUntilStarted() const {
  const std::string path = "/proc/" + std::to_string(mProcess) + "/status";
  for (int i = 0; i < 3000; ++i) {
    std::ifstream status(path);
    for (std::string line; std::getline(status, line);) {
      if (!line.starts_with("SigCgt:")) continue;
      const auto handled = std::stoull(line.substr(7), nullptr, 16);
      if ((handled & (1ULL << (SIGINT - 1))) != 0) return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

void ToolProcess::Signal(int signal) const { kill(mProcess, signal); }

ToolResult ToolProcess::Wait() {
  ToolResult result;
  std::array<pollfd, 2> pipes{pollfd{mOutput, POLLIN, 0}, pollfd{mErrors, POLLIN, 0}};
  const std::array<std::string*, 2> texts = {&result.output, &result.errors};
  // A pipe at its end is taken out by a negative descriptor.
  while (pipes[0].fd >= 0 || pipes[1].fd >= 0) {
    if (poll(pipes.data(), pipes.size(), -1) < 0) break;
    for (std::size_t i = 0; i < pipes.size(); ++i) {
      if (pipes[i].revents != 0 && !Take(pipes[i].fd, *texts[i])) pipes[i].fd = -1;
    }
  }
  int status = 0;
  rusage usage{};
  EXPECT_EQ(wait4(mProcess, &status, 0, &usage), mProcess);
  result.peakKib = usage.ru_maxrss;
  mProcess = -1;
  result.code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  return result;
}

ToolResult RunTool(const Arguments& arguments, const ToolSettings& settings) {
  return ToolProcess(arguments, settings).Wait();
}

}  // namespace test
