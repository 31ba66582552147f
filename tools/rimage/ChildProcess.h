// Work in processes beside this one.
#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>

/// Reads from a descriptor until its end, but no longer than `milliseconds`; nothing when the time is over.
std::optional<std::string> ReadUntilEnd(int descriptor, int milliseconds);

/// Tells how a process ended, from what waiting for it gave: "crashed: Segmentation fault" or "ended with
/// code 3".
std::string DescribeEnd(int status);

/// Ends a process that this one started, and waits for it.
void EndProcess(pid_t process);

/// Runs `work` in a copy of this process and returns what it wrote to the descriptor that it is given.
/// Nothing, with a `reason`, when the copy crashed, reported failure, or took longer than `milliseconds`:
/// libraries that end the process when something is missing end only the copy. To be called before any thread
/// exists.
std::optional<std::string> RunInChild(const std::function<void(int descriptor)>& work, int milliseconds,
                                      std::string& reason);
