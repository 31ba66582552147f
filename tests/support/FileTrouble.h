// A disk that fails on demand: the system's calls on one file, as this program, the module and Qt make them.
#pragma once

#include <string>

namespace test {

/// What happens to the calls on a file.
enum class Trouble {
  kNone,
  kFails,            ///< one call fails with an error number
  kFailsFromThenOn,  ///< and all after it
  kShort,            ///< a read or write takes only a part, at least a byte; other calls go well
  kInterrupted,      ///< one call is interrupted by a signal and done when it is repeated
};

/// Watches the calls that open, read, write, seek in and close a file by its path; one at a time. The call
/// number `which`, from 0, gets into trouble. A close that fails has closed the file, as on Linux.
class FileTrouble {
 public:
  FileTrouble(std::string path, Trouble trouble, int which = -1, int error = 0);
  ~FileTrouble();
  FileTrouble(const FileTrouble&) = delete;
  FileTrouble& operator=(const FileTrouble&) = delete;

  /// Returns how many calls there were.
  int Calls() const;
  /// Returns the names of the calls, a letter each: open, read, write, seek, close.
  const std::string& Names() const;
};

}  // namespace test
