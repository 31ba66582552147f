#include "FrameOverlap.h"

#include <algorithm>
#include <functional>
#include <vector>

#include "FrameNumbers.h"
#include "RealNames.h"

namespace {

// A file that a frame reads. Names themselves would take much memory for a long sequence.
struct ReadFile {
  std::size_t hash;
  const std::string* pattern;
  int frame;
};

std::size_t HashOf(const std::string& name) { return std::hash<std::string>()(name); }

std::vector<ReadFile> ListReadFiles(const FrameNames& names, std::span<const int> frames,
                                    RealNames& realNames) {
  std::vector<ReadFile> files;
  for (const std::string& input : names.inputs) {
    // A still is one file for all frames.
    for (const int frame : frames.first(IsFramePattern(input) ? frames.size() : 1))
      files.push_back({HashOf(realNames.Of(FrameName(input, frame))), &input, frame});
  }
  std::ranges::sort(files, {}, &ReadFile::hash);
  return files;
}

// A frame that reads the file, another one than the writer if there is one.
int ReaderOf(const ReadFile& file, std::span<const int> frames, int writer) {
  if (IsFramePattern(*file.pattern)) return file.frame;
  return frames.front() == writer ? frames.back() : frames.front();
}

}  // namespace

std::optional<FrameOverlap> FindOverlap(const FrameNames& names, std::span<const int> frames) {
  if (frames.empty()) return std::nullopt;
  RealNames realNames;
  const auto files = ListReadFiles(names, frames, realNames);
  std::optional<FrameOverlap> inPlace;
  for (const int frame : frames) {
    const std::string output = FrameName(names.output, frame);
    const std::string realName = realNames.Of(output);
    const std::size_t hash = HashOf(realName);
    for (auto file = std::ranges::lower_bound(files, hash, {}, &ReadFile::hash);
         file != files.end() && file->hash == hash; ++file) {
      if (realNames.Of(FrameName(*file->pattern, file->frame)) != realName) continue;
      FrameOverlap overlap{output, frame, ReaderOf(*file, frames, frame)};
      if (!overlap.IsInPlace()) return overlap;
      if (!inPlace) inPlace = std::move(overlap);
    }
  }
  return inPlace;
}
