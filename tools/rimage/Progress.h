// How far a sequence is, on standard error.
#pragma once

#include <chrono>
#include <string>

#include "Failure.h"

enum class ProgressMode {
  kBar,   ///< a line that is drawn over and over, where standard error is a terminal
  kJson,  ///< an object a line for each frame, and one at the end; messages are within
  kNone,
};

/// What became of a frame.
enum class FrameOutcome : int {
  kWritten,
  kUpToDate,  ///< its output was there already
  kLeftOut,   ///< a file of it is missing
  kFailed,
};

/// How many frames came to which end.
struct FrameCounts {
  int written = 0;
  int upToDate = 0;
  int leftOut = 0;
  int failed = 0;

  int Done() const { return written + upToDate + leftOut + failed; }
};

/// A frame that has come to its end.
struct FinishedFrame {
  int number = 0;
  std::string output;
  FrameOutcome outcome = FrameOutcome::kWritten;
  ExitCode code = ExitCode::kOk;
  std::string messages;  ///< what was said meanwhile, whole lines
};

/// Shows the progress of `total` frames.
class Progress {
 public:
  Progress(ProgressMode mode, int total);
  /// Takes the bar away.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  const FrameCounts& Counts() const { return mCounts; }
  /// Counts the frame and passes on its messages.
  void Finish(const FinishedFrame& frame);
  /// Draws the bar again; to be called from time to time.
  void Tick();
  /// Tells the counts, in JSON.
  void End();

 private:
  void Erase();
  double Seconds() const;
  /// Returns 0 before the first frame is written.
  double FramesPerSecond() const;
  double SecondsLeft() const;

  ProgressMode mMode;
  int mTotal;
  FrameCounts mCounts;
  bool mIsDrawn = false;
  std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
};
