// Tests of work in processes beside the tool: whatever happens there, the tool goes on.
#include "ChildProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

constexpr int kLong = 60'000;

void Write(int descriptor, const std::string& text) {
  for (std::size_t sent = 0; sent < text.size();) {
    const ssize_t count = write(descriptor, text.data() + sent, text.size() - sent);
    if (count < 1) return;
    sent += static_cast<std::size_t>(count);
  }
}

TEST(RunInChild, AnswersWhatTheWorkWrote) {
  std::string reason = "untouched";
  const auto answer = RunInChild([](int descriptor) { Write(descriptor, "the answer"); }, kLong, reason);
  EXPECT_EQ(answer, "the answer");
  EXPECT_EQ(reason, "untouched");
}

TEST(RunInChild, TakesMoreThanAPipeHolds) {
  const std::string text(1'000'000, 'x');
  std::string reason;
  EXPECT_EQ(RunInChild([&](int descriptor) { Write(descriptor, text); }, kLong, reason), text);
}

TEST(RunInChild, WorkThatHangsIsEnded) {
  std::string reason;
  const auto answer = RunInChild(
      [](int descriptor) {
        Write(descriptor, "half of the");
        for (;;) pause();
      },
      1000, reason);
  EXPECT_EQ(answer, std::nullopt);
  EXPECT_EQ(reason, "no answer within 1 seconds");
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a process is left behind";
  EXPECT_EQ(errno, ECHILD);
}

TEST(RunInChild, WorkThatCrashesIsReported) {
  for (const int signal : {SIGABRT, SIGSEGV, SIGKILL}) {
    std::string reason;
    EXPECT_EQ(RunInChild([signal](int) { raise(signal); }, kLong, reason), std::nullopt);
    EXPECT_EQ(reason, std::string("crashed: ") + strsignal(signal));
  }
}

TEST(RunInChild, WorkThatRefusesSaysWhy) {
  std::string reason;
  const auto refuse = [](int descriptor) {
    Write(descriptor, "nothing there");
    _exit(1);
  };
  EXPECT_EQ(RunInChild(refuse, kLong, reason), std::nullopt);
  EXPECT_EQ(reason, "nothing there");
  EXPECT_EQ(RunInChild([](int) { _exit(7); }, kLong, reason), std::nullopt);
  EXPECT_EQ(reason, "ended with code 7");
}

TEST(RunInChild, WorkSaysNothingOnStandardErrorAndLeavesNoCore) {
  testing::internal::CaptureStderr();
  std::string reason;
  const auto answer = RunInChild(
      [](int descriptor) {
        (void)std::fputs("a driver's complaint\n", stderr);
        rlimit cores{};
        getrlimit(RLIMIT_CORE, &cores);
        Write(descriptor, std::to_string(cores.rlim_cur));
      },
      kLong, reason);
  EXPECT_EQ(answer, "0");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(RunInChild, SaysWhenThereAreNoDescriptors) {
  rlimit files{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &files), 0);
  const rlimit none{0, files.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  std::string reason;
  const auto answer = RunInChild([](int) {}, kLong, reason);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &files), 0);
  EXPECT_EQ(answer, std::nullopt);
  EXPECT_EQ(reason, "Too many open files");
}

TEST(EndProcess, EndsAlsoWhatIgnoresTheRequest) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  const pid_t child = fork();
  if (child == 0) {
    std::signal(SIGTERM, SIG_IGN);
    Write(ends[1], "r");
    for (;;) pause();
  }
  char ready = 0;
  ASSERT_EQ(read(ends[0], &ready, 1), 1);
  EndProcess(child);
  EXPECT_EQ(kill(child, 0), -1);
  EXPECT_EQ(errno, ESRCH);
  close(ends[0]);
  close(ends[1]);
}

}  // namespace
