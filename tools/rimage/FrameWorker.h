// A process that works on frames.
#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>

#include "Interruption.h"
#include "Progress.h"

/// What became of a frame in the other process.
struct FrameResult {
  FrameOutcome outcome = FrameOutcome::kWritten;
  ExitCode code = ExitCode::kOk;
};

/// A copy of this process that works on one frame after the other as it is told to. It ends with the object,
/// and with the process that made it. What it says on standard error is kept for `TakeMessages`.
class FrameWorker {
 public:
  /// `work` runs in the copy, once a frame, and throws nothing. To be called before any thread exists. Fails
  /// when no more processes can be made.
  explicit FrameWorker(const std::function<FrameResult(int frame)>& work);
  ~FrameWorker();
  FrameWorker(const FrameWorker&) = delete;
  FrameWorker& operator=(const FrameWorker&) = delete;

  /// Hands over a frame; the worker must be idle.
  void Start(int frame);
  /// Returns the frame in work; nothing when idle.
  std::optional<int> Frame() const { return mFrame; }
  /// Becomes readable when the frame has come to its end, whichever.
  int Descriptor() const { return mSocket; }
  /// Takes the result of the frame; the worker is idle then. Nothing, with a `reason`, when the process has
  /// ended instead: no file that it had begun is left, and it works no more.
  std::optional<FrameResult> TakeResult(std::string& reason);
  std::string TakeMessages() const;

 private:
  [[noreturn]] void Serve(const std::function<FrameResult(int)>& work, int socket);
  std::string WaitForEnd();

  pid_t mProcess = -1;
  int mSocket = -1;
  int mMessages = -1;                      // a file in memory that is the copy's standard error
  TemporaryNames* mTemporaries = nullptr;  // the copy's temporary files, in memory that both see
  std::optional<int> mFrame;
};
