// Commands over the frames of a sequence.
#pragma once

#include <functional>
#include <string>

#include "CommandLineFwd.h"
#include "FrameFiles.h"
#include "FrameNumbers.h"
#include "Progress.h"

/// Over which frames a command runs, and how.
struct SequenceOptions {
  std::string frames;  ///< as it was written; empty: names are no patterns, and the command runs once
  std::string shard;   ///< as it was written; empty: all
  MissingPolicy missing = MissingPolicy::kError;
  bool keepGoing = false;
  bool resume = false;
  int jobs = 1;  ///< processes; 0: as many as processors
  ProgressMode progress = ProgressMode::kBar;

  bool IsGiven() const { return !frames.empty(); }
};

/// Adds --frames and what belongs to it.
void AddSequenceOptions(CLI::App& app, SequenceOptions& options);

/// What a command does for one frame, and for one picture without frames.
struct FrameTask {
  std::string command;  ///< its name, for failures
  FrameNames names;
  /// Runs once, before the processes for the frames are made: checks, and finds what they share. It must
  /// start no thread.
  std::function<void()> prepare;
  /// Runs for each frame, in any of the processes, in any order.
  std::function<ExitCode(const FrameFiles& files)> run;
};

/// Runs the task for every frame, or once. Without --keep-going the first failure ends it, after the frames
/// that are in work; with it the others go on, and the answer is 1 when some failed.
ExitCode RunFrames(const SequenceOptions& options, const FrameTask& task);
