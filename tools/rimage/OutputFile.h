// Writing a file so that it is there whole or not at all.
#pragma once

#include <string>

#include "Interruption.h"

/// A file that is written under a temporary name beside its target and takes the target's place when it is
/// complete.
///
/// The temporary file has the target's extension. It goes when the object goes without `Commit`, and when the
/// process is interrupted. A target that is a symbolic link stays one: the file that it points to is
/// replaced. An existing target's permissions are kept, and its owner where the system allows it; other hard
/// links keep the old contents. Two objects at a time at most.
class OutputFile {
 public:
  /// Fails when the target cannot be written: its folder is missing, it is a folder itself, it is
  /// write-protected.
  explicit OutputFile(const std::string& target);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// The target as the caller calls it.
  const std::string& Name() const { return mName; }
  const std::string& TemporaryPath() const { return mTemporary; }
  /// Brings the contents to the disk and gives the file its permissions, so that what is left hardly fails.
  void Complete();
  /// Completes the file, unless that is done, and puts it in the target's place.
  void Commit();
  /// Tells why writing to the temporary file fails, such as "No space left on device"; spoils its contents.
  /// Empty when it does not fail.
  std::string FindReason() const;

 private:
  std::string mName;       // as the caller calls the target
  std::string mTarget;     // with links followed
  std::string mTemporary;  // empty once it is gone
  TemporaryName* mNote = nullptr;
  bool mIsComplete = false;
};
