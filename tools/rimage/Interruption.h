// What an interruption (SIGINT, SIGTERM, SIGHUP) cleans up.
#pragma once

#include <sys/types.h>

#include <array>
#include <climits>
#include <csignal>

/// The most processes that `NoteChild` takes.
inline constexpr int kMostChildren = 256;

/// The name of a file that must not stay, or the empty string.
using TemporaryName = std::array<char, PATH_MAX>;

/// From now on an interruption ends the noted processes, removes the noted file and ends this process with
/// 128 plus the signal's number, and a file that grows over the size limit fails like any other write. An
/// interruption that the caller has switched off stays off.
void InstallInterruptHandlers();

/// The file that an interruption removes. It may be changed while interruptions are held back only.
TemporaryName& TemporaryFile();

/// Keeps the name of that file in other memory from now on, such as memory shared with another process.
void KeepTemporaryFileIn(TemporaryName& name);

/// Notes a process that an interruption ends and waits for; false when there are too many.
bool NoteChild(pid_t child);
void ForgetChild(pid_t child);

/// Makes a new process one that its maker can interrupt, whatever the caller has switched off, and that
/// answers for nothing but itself. To be called in the new process with interruptions held back.
void StartAsChild();

/// Holds interruptions back while the object lives, so that what they clean up and its note change together.
class InterruptionsHeld {
 public:
  InterruptionsHeld();
  ~InterruptionsHeld();
  InterruptionsHeld(const InterruptionsHeld&) = delete;
  InterruptionsHeld& operator=(const InterruptionsHeld&) = delete;

 private:
  sigset_t mBefore{};
};
