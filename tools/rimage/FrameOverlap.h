// Files that a sequence both reads and writes.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "FrameFiles.h"

/// A file that one frame writes and one reads.
struct FrameOverlap {
  std::string file;
  int writer = 0;
  int reader = 0;

  /// Whether a frame replaces what it has read itself, which no other one sees.
  bool IsInPlace() const { return writer == reader; }
};

/// Finds a file that the frames read and write, missing or not, by whatever name; one that different frames
/// do if there is any. Nothing when there is none.
std::optional<FrameOverlap> FindOverlap(const FrameNames& names, std::span<const int> frames);
