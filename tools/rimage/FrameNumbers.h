// The numbers of frames, and the names of their files.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The most frames of one run, and the largest number of one, also below 0.
inline constexpr std::size_t kMostFrames = 1'000'000;
inline constexpr int kLargestFrame = 999'999'999;

/// Reads a list of frames such as "1-100", "1-100x2", "100-1" or "1-10,20,-5". Each number appears once,
/// where it is met first. Nothing when the text is anything else or has more than `kMostFrames`.
std::optional<std::vector<int>> ParseFrames(std::string_view text);

/// One of so many equal parts.
struct Shard {
  int index = 1;  ///< from 1
  int count = 1;
};

/// Reads "I/N" with I from 1 to N.
std::optional<Shard> ParseShard(std::string_view text);

/// Returns the frames of a part: every N-th of the list, from the I-th on, so that costs that rise along a
/// sequence are shared.
std::vector<int> FramesOf(const std::vector<int>& frames, Shard shard);

/// Whether a name stands for those of many frames: it has a run of # or a %d, or %04d with any width up to
/// 9.
bool IsFramePattern(std::string_view name);

/// Returns the name of one frame: every run of # and every %d becomes the number, with zeros in front up to
/// the width of the run. Other names stay.
std::string FrameName(std::string_view pattern, int frame);

/// Returns the frames whose files a pattern finds on the disk, in rising order; none when the folder cannot
/// be read. The folder's part of the name must be no pattern.
std::vector<int> FindFrames(const std::string& pattern);
