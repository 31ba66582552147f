#include "FrameWorker.h"

#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <new>

#include "ChildProcess.h"
#include "Descriptor.h"

namespace {

template <class T>
bool SendWhole(int socket, const T& message) {
  const ssize_t size = Uninterrupted([&] { return send(socket, &message, sizeof(T), MSG_NOSIGNAL); });
  return size == static_cast<ssize_t>(sizeof(T));
}

template <class T>
bool ReceiveWhole(int socket, T& message) {
  const ssize_t size = Uninterrupted([&] { return recv(socket, &message, sizeof(T), 0); });
  return size == static_cast<ssize_t>(sizeof(T));
}

TemporaryNames* MakeSharedNames() {
  void* memory =
      mmap(nullptr, sizeof(TemporaryNames), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  return memory == MAP_FAILED ? nullptr : new (memory) TemporaryNames{};
}

}  // namespace

FrameWorker::FrameWorker(const std::function<FrameResult(int)>& work) {
  std::array<int, 2> ends = {-1, -1};
  mTemporaries = MakeSharedNames();
  mMessages = memfd_create("rimage-messages", MFD_CLOEXEC);
  const bool ready = mTemporaries && mMessages >= 0 &&
                     socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) == 0;
  mSocket = ends[0];
  if (ready) {
    (void)std::fflush(nullptr);  // or the copy would hold the same text
    const InterruptionsHeld held;
    mProcess = fork();
    if (mProcess == 0) StartAsChild();
    if (mProcess > 0) (void)NoteChild(mProcess);
  }
  const int error = errno;
  if (ready && mProcess == 0) Serve(work, ends[1]);
  if (ends[1] >= 0) close(ends[1]);
  if (mProcess < 0) throw Failure(ExitCode::kWrite, "--jobs", ErrorText(error), "fewer processes need less");
}

FrameWorker::~FrameWorker() {
  if (mProcess > 0) (void)WaitForEnd();
  if (mSocket >= 0) close(mSocket);
  if (mMessages >= 0) close(mMessages);
  if (mTemporaries) munmap(mTemporaries, sizeof(TemporaryNames));
}

void FrameWorker::Serve(const std::function<FrameResult(int)>& work, int socket) {
  close(mSocket);
  dup2(mMessages, STDERR_FILENO);
  KeepTemporaryFilesIn(*mTemporaries);
  int frame = 0;
  while (ReceiveWhole(socket, frame)) {
    const FrameResult result = work(frame);
    (void)std::fflush(nullptr);
    if (!SendWhole(socket, result)) break;
  }
  _exit(0);
}

void FrameWorker::Start(int frame) {
  mFrame = frame;
  // Where the process has ended, so has the socket, which tells it.
  (void)SendWhole(mSocket, frame);
}

std::optional<FrameResult> FrameWorker::TakeResult(std::string& reason) {
  mFrame.reset();
  FrameResult result;
  if (ReceiveWhole(mSocket, result)) return result;
  reason = WaitForEnd();
  return std::nullopt;
}

std::string FrameWorker::WaitForEnd() {
  shutdown(mSocket, SHUT_RDWR);
  int status = 0;
  if (mFrame) kill(mProcess, SIGTERM);
  (void)Uninterrupted([&] { return waitpid(mProcess, &status, 0); });
  const InterruptionsHeld held;
  ForgetChild(mProcess);
  mProcess = -1;
  RemoveTemporaryFiles(*mTemporaries);
  return DescribeEnd(status);
}

std::string FrameWorker::TakeMessages() const {
  std::string text;
  std::array<char, 4096> part;
  for (ssize_t size = 0;
       (size = pread(mMessages, part.data(), part.size(), static_cast<off_t>(text.size()))) > 0;) {
    text.append(part.data(), static_cast<std::size_t>(size));
  }
  // The position is one for both processes.
  (void)!ftruncate(mMessages, 0);
  lseek(mMessages, 0, SEEK_SET);
  return text;
}
