// The files of one frame.
#pragma once

#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "PictureFile.h"

/// What happens to a frame of which a file is missing.
enum class MissingPolicy {
  kError,  ///< it fails
  kSkip,   ///< it is left out
  kHold,   ///< the closest earlier frame stands in for it
  kBlack,  ///< black of the size of the closest frame stands in for it, transparent unless that is opaque
};

/// The names that a command was given, which of them are files that it reads, and which it writes.
struct FrameNames {
  std::vector<std::string> inputs;
  std::string output;
};

/// The files of one frame: what the patterns that a command was given stand for.
class FrameFiles {
 public:
  /// Without a frame every name stands for itself.
  explicit FrameFiles(const FrameNames& names);
  /// Finds the files. Stand-ins are looked for among `frames`, which rise. Fails when a file is missing and
  /// the policy has nothing for it.
  FrameFiles(const FrameNames& names, int frame, std::span<const int> frames, MissingPolicy policy);

  /// Whether a file is missing and the frame is to be left out.
  bool IsLeftOut() const { return mIsLeftOut; }
  /// Whether the output is there, not empty, and newer than everything that the frame reads.
  bool IsUpToDate() const;
  /// Returns the file that is read for a name, which must be among those that were given.
  const std::string& Input(const std::string& name) const { return mInputs.at(name); }
  /// Returns the file that is written, which is the frame's own whatever stands in for what it reads.
  const std::string& Output() const { return mOutput; }
  /// Returns how to read the frame's files.
  ReadOptions Reading(ReadOptions options) const;

 private:
  void Find(const std::string& pattern, int frame, std::span<const int> frames, MissingPolicy policy);

  bool mIsLeftOut = false;
  std::string mOutput;
  std::map<std::string, std::string> mInputs;  // by name or pattern
  std::set<std::string> mBlackened;            // files that are read for their size only
};
