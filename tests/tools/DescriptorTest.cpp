// Tests of open descriptors, and of calls that signals interrupt.
#include "Descriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <thread>
#include <vector>

#include "support/TestData.h"

namespace {

volatile std::sig_atomic_t gAlarms = 0;

// Sends signals, each of which interrupts a call that waits in this thread.
class Alarms {
 public:
  Alarms() {
    gAlarms = 0;
    struct sigaction action {};
    action.sa_handler = [](int) { gAlarms = gAlarms + 1; };
    sigaction(SIGALRM, &action, &mBefore);
    const itimerval often{{0, 2000}, {0, 2000}};
    setitimer(ITIMER_REAL, &often, nullptr);
  }
  ~Alarms() {
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &mBefore, nullptr);
  }
  Alarms(const Alarms&) = delete;
  Alarms& operator=(const Alarms&) = delete;

 private:
  struct sigaction mBefore {};
};

TEST(DescriptorTest, IsClosedOnce) {
  const int number = open("/dev/null", O_RDONLY | O_CLOEXEC);
  {
    Descriptor descriptor(number);
    EXPECT_EQ(descriptor.Get(), number);
    EXPECT_TRUE(descriptor.Close());
    EXPECT_EQ(fcntl(number, F_GETFD), -1);
    EXPECT_EQ(open("/dev/null", O_RDONLY | O_CLOEXEC), number);
    EXPECT_TRUE(descriptor.Close());
  }
  EXPECT_NE(fcntl(number, F_GETFD), -1) << "the number belongs to another file by now";
  { const Descriptor other(number); }
  EXPECT_EQ(fcntl(number, F_GETFD), -1);
  EXPECT_TRUE(Descriptor(-1).Close());
}

TEST(DescriptorTest, AClosingThatFailsIsTold) {
  Descriptor descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC));
  close(descriptor.Get());
  EXPECT_FALSE(descriptor.Close());
}

TEST(DescriptorTest, InterruptedCallsAreMadeAgain) {
  int calls = 0;
  errno = 0;
  EXPECT_EQ(Uninterrupted([&] {
              errno = EINTR;
              return ++calls < 3 ? -1 : 7;
            }),
            7);
  EXPECT_EQ(calls, 3);
  EXPECT_EQ(Uninterrupted([&] {
              ++calls;
              errno = EIO;
              return -1;
            }),
            -1);
  EXPECT_EQ(calls, 4) << "other failures are not";
}

// A pipe takes a part at a time, and each part is waited for.
TEST(DescriptorTest, EverythingIsWrittenThroughInterruptions) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  std::vector<unsigned char> bytes(1 << 20);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i % 251);
  std::vector<unsigned char> received;
  const auto receive = [&] {
    sigset_t alarm;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    pthread_sigmask(SIG_BLOCK, &alarm, nullptr);
    std::array<unsigned char, 30000> part{};
    for (ssize_t size = 0; (size = read(ends[0], part.data(), part.size())) > 0;) {
      received.insert(received.end(), part.begin(), part.begin() + size);
      usleep(3000);
    }
  };
  bool isWritten = false;
  {
    std::jthread reader(receive);
    const Alarms alarms;
    isWritten = WriteWhole(ends[1], bytes.data(), bytes.size());
    close(ends[1]);
  }
  close(ends[0]);
  EXPECT_TRUE(isWritten);
  EXPECT_TRUE(received == bytes);
  EXPECT_GT(gAlarms, 5);
}

TEST(DescriptorTest, WhatDoesNotGoIsToldWithItsReason) {
  const Descriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
  errno = 0;
  EXPECT_FALSE(WriteWhole(full.Get(), "abc", 3));
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_TRUE(WriteWhole(full.Get(), "", 0));
}

TEST(DescriptorTest, FilesAreReadFromTheirStart) {
  const test::TemporaryFolder folder;
  const Descriptor file(open(folder.Write("a", {1, 2, 3}).c_str(), O_RDONLY | O_CLOEXEC));
  lseek(file.Get(), 2, SEEK_SET);
  std::array<unsigned char, 4> bytes{};
  EXPECT_TRUE(ReadWhole(file.Get(), bytes.data(), 3));
  EXPECT_EQ(bytes, (std::array<unsigned char, 4>{1, 2, 3, 0}));
  EXPECT_FALSE(ReadWhole(file.Get(), bytes.data(), 4)) << "the file is shorter";
}

}  // namespace
