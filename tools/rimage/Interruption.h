// What an interruption (SIGINT, SIGTERM, SIGHUP) cleans up.
#pragma once

#include <sys/types.h>

#include <array>
#include <climits>
#include <csignal>
#include <string_view>

/// The most processes that `NoteChild` takes.
inline constexpr int kMostChildren = 256;

/// The names of files that must not stay, or empty strings. A picture and a graph are written at a time.
using TemporaryName = std::array<char, PATH_MAX>;
using TemporaryNames = std::array<TemporaryName, 2>;

/// From now on an interruption ends the noted processes, removes the noted files and ends this process with
/// 128 plus the signal's number, and a file that grows over the size limit fails like any other write. An
/// interruption that the caller has switched off stays off.
void InstallInterruptHandlers();

/// Notes a file that an interruption removes. There must be room for the note and its name, and interruptions
/// must be held back, also while the caller clears the note by its first character.
TemporaryName& NoteTemporaryFile(std::string_view name);

/// Keeps the notes of such files in other memory from now on, such as memory shared with another process.
void KeepTemporaryFilesIn(TemporaryNames& names);

/// Removes the files that are noted.
void RemoveTemporaryFiles(const TemporaryNames& names);

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
