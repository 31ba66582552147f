// Runs the command-line host as its users do.
#pragma once

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

namespace test {

/// The surroundings that the tool runs in.
struct ToolSettings {
  std::string folder = {};  ///< working folder; empty: this process's
  std::vector<std::pair<std::string, std::string>> environment =
      {};                        ///< variables to set beside the inherited ones
  long largestFile = -1;         ///< limit of file sizes in bytes; -1: none
  long mostMemory = -1;          ///< limit of the address space in bytes; -1: none
  std::string output = {};       ///< where standard output goes; empty: kept
  std::string errors = {};       ///< where standard error goes; empty: kept
  std::string program = {};      ///< what runs in place of the tool; empty: the tool
  bool ignoreInterrupt = false;  ///< start with SIGINT ignored
  bool obeyPermissions = false;  ///< also as root, whom they do not bind otherwise
  std::string shell = {};        ///< what a shell does before it becomes the tool; empty: no shell
};

struct ToolResult {
  int code = -1;  ///< the exit code, or minus the signal that ended the process
  std::string output;
  std::string errors;
  long peakKib = 0;  ///< the most memory that the process, or one that it waited for, had at a time
};

using Arguments = std::vector<std::string>;

/// A run of the tool that goes on beside the test.
class ToolProcess {
 public:
  explicit ToolProcess(const Arguments& arguments, const ToolSettings& settings = {});
  ~ToolProcess();
  ToolProcess(const ToolProcess&) = delete;
  ToolProcess& operator=(const ToolProcess&) = delete;

  /// Waits until the tool handles interruptions itself; false after half a minute.
  bool WaitUntilStarted() const;
  void Signal(int signal) const;
  ToolResult Wait();

 private:
  pid_t mProcess = -1;
  int mOutput = -1;  // ends of pipes from the process; files would count against its limit
  int mErrors = -1;
};

/// Runs the tool to its end.
ToolResult RunTool(const Arguments& arguments, const ToolSettings& settings = {});

}  // namespace test
