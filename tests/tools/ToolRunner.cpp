#include "ToolRunner.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "support/TestData.h"

namespace test {

namespace {

void Redirect(int stream, const std::string& path) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (file < 0 || dup2(file, stream) < 0) _exit(126);
  close(file);
}

void Prepare(const ToolSettings& settings, const std::string& output, const std::string& errors) {
  Redirect(STDOUT_FILENO, settings.output.empty() ? output : settings.output);
  Redirect(STDERR_FILENO, errors);
  if (!settings.folder.empty() && chdir(settings.folder.c_str()) != 0) _exit(126);
  for (const auto& [name, value] : settings.environment) setenv(name.c_str(), value.c_str(), 1);
  if (settings.ignoreInterrupt) std::signal(SIGINT, SIG_IGN);
  if (settings.largestFile < 0) return;
  const auto limit = static_cast<rlim_t>(settings.largestFile);
  const rlimit limits{limit, limit};
  if (setrlimit(RLIMIT_FSIZE, &limits) != 0) _exit(126);
}

std::string ReadText(const std::string& path) {
  const auto bytes = ReadFile(path);
  return {bytes.begin(), bytes.end()};
}

}  // namespace

ToolProcess::ToolProcess(const Arguments& arguments, const ToolSettings& settings) {
  std::string pattern = (std::filesystem::temp_directory_path() / "rimage-run-XXXXXX").string();
  if (!mkdtemp(pattern.data())) ADD_FAILURE() << pattern << " cannot be made";
  mFolder = pattern;
  mOutput = mFolder + "/output";
  mErrors = mFolder + "/errors";
  std::vector<char*> argv = {const_cast<char*>("rimage")};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  mProcess = fork();
  if (mProcess != 0) return;
  Prepare(settings, mOutput, mErrors);
  execv(RIMAGE_TOOL, argv.data());
  _exit(127);
}

ToolProcess::~ToolProcess() {
  if (mProcess > 0) {
    kill(mProcess, SIGKILL);
    waitpid(mProcess, nullptr, 0);
  }
  std::error_code ignored;
  std::filesystem::remove_all(mFolder, ignored);
}

void ToolProcess::Signal(int signal) const { kill(mProcess, signal); }

ToolResult ToolProcess::Wait() {
  int status = 0;
  EXPECT_EQ(waitpid(mProcess, &status, 0), mProcess);
  mProcess = -1;
  const bool redirected = !std::filesystem::exists(mOutput);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), redirected ? "" : ReadText(mOutput),
          ReadText(mErrors)};
}

ToolResult RunTool(const Arguments& arguments, const ToolSettings& settings) {
  return ToolProcess(arguments, settings).Wait();
}

}  // namespace test
