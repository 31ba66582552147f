#include "FrameFiles.h"

#include <algorithm>
#include <filesystem>
#include <optional>

#include "FrameNumbers.h"

namespace {

namespace fs = std::filesystem;

bool Exists(const std::string& path) {
  std::error_code error;
  return fs::exists(path, error);
}

std::optional<int> ClosestBefore(const std::string& pattern, int frame, std::span<const int> frames) {
  const auto before =
      frames.first(static_cast<std::size_t>(std::ranges::lower_bound(frames, frame) - frames.begin()));
  const auto found = std::find_if(before.rbegin(), before.rend(),
                                  [&](int other) { return Exists(FrameName(pattern, other)); });
  return found == before.rend() ? std::nullopt : std::optional(*found);
}

std::optional<int> ClosestAfter(const std::string& pattern, int frame, std::span<const int> frames) {
  const auto found = std::find_if(std::ranges::upper_bound(frames, frame), frames.end(),
                                  [&](int other) { return Exists(FrameName(pattern, other)); });
  return found == frames.end() ? std::nullopt : std::optional(*found);
}

}  // namespace

FrameFiles::FrameFiles(const FrameNames& names) : mOutput(names.output) {
  for (const std::string& input : names.inputs) mInputs[input] = input;
}

FrameFiles::FrameFiles(const FrameNames& names, int frame, std::span<const int> frames, MissingPolicy policy)
    : mOutput(FrameName(names.output, frame)) {
  for (const std::string& input : names.inputs) {
    mInputs[input] = FrameName(input, frame);
    if (IsFramePattern(input) && !Exists(mInputs[input])) Find(input, frame, frames, policy);
  }
  // Files are read by their names, so that one cannot be both black and itself.
  for (const auto& [input, name] : mInputs) {
    if (!mBlackened.contains(name) || name != FrameName(input, frame)) continue;
    throw Failure(ExitCode::kRead, name,
                  "it would stand in as black for a missing frame and is read itself as well",
                  "--missing=hold lets it stand in as it is");
  }
}

void FrameFiles::Find(const std::string& pattern, int frame, std::span<const int> frames,
                      MissingPolicy policy) {
  if (policy == MissingPolicy::kSkip) {
    mIsLeftOut = true;
    return;
  }
  auto standIn = policy == MissingPolicy::kError ? std::nullopt : ClosestBefore(pattern, frame, frames);
  if (!standIn && policy == MissingPolicy::kBlack) standIn = ClosestAfter(pattern, frame, frames);
  std::string& name = mInputs[pattern];
  if (!standIn) {
    const char* hint = policy == MissingPolicy::kHold    ? "there is no earlier frame to hold"
                       : policy == MissingPolicy::kBlack ? "no frame of the range tells the size"
                                                         : "--missing tells what to do";
    throw Failure(ExitCode::kRead, name, "the frame is missing", hint);
  }
  name = FrameName(pattern, *standIn);
  if (policy == MissingPolicy::kBlack) mBlackened.insert(name);
}

bool FrameFiles::IsUpToDate() const {
  std::error_code error;
  const auto written = fs::last_write_time(mOutput, error);
  if (error || fs::file_size(mOutput, error) == 0 || error) return false;
  for (const auto& [pattern, name] : mInputs) {
    const auto changed = fs::last_write_time(name, error);
    if (error || changed >= written) return false;
  }
  return true;
}

ReadOptions FrameFiles::Reading(ReadOptions options) const {
  options.blackened = mBlackened;
  return options;
}
