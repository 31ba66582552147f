#include "FrameNumbers.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <unordered_set>

#include "TextTaking.h"

namespace {

// From one number to another, both included, by steps.
struct Range {
  int first = 0;
  int last = 0;
  int step = 1;

  std::size_t Count() const { return static_cast<std::size_t>(std::abs(last - first) / step) + 1; }
  int At(std::size_t i) const {
    const int distance = static_cast<int>(i) * step;
    return first <= last ? first + distance : first - distance;
  }
};

bool TakeBounded(std::string_view& text, int& number) {
  return TakeNumber(text, number) && std::abs(static_cast<long>(number)) <= kLargestFrame;
}

std::optional<Range> TakeRange(std::string_view& text) {
  Range range;
  if (!TakeBounded(text, range.first)) return std::nullopt;
  range.last = range.first;
  if (TakeCharacter(text, '-') && !TakeBounded(text, range.last)) return std::nullopt;
  if (TakeCharacter(text, 'x') && (!TakeBounded(text, range.step) || range.step < 1)) return std::nullopt;
  return range;
}

// A place in a name where the number goes.
struct Placeholder {
  std::size_t start = std::string_view::npos;
  std::size_t size = 0;
  int width = 1;
};

// Reads %d and %04d; nothing at any other percent sign.
std::optional<Placeholder> ReadPercent(std::string_view name, std::size_t start) {
  std::size_t end = start + 1;
  int width = 1;
  if (end < name.size() && name[end] == '0') {
    if (end + 1 >= name.size() || name[end + 1] < '1' || name[end + 1] > '9') return std::nullopt;
    width = name[end + 1] - '0';
    end += 2;
  }
  if (end >= name.size() || name[end] != 'd') return std::nullopt;
  return Placeholder{start, end + 1 - start, width};
}

std::optional<Placeholder> FindPlaceholder(std::string_view name, std::size_t from) {
  for (std::size_t i = from; i < name.size(); ++i) {
    if (name[i] == '#') {
      const std::size_t end = std::min(name.find_first_not_of('#', i), name.size());
      return Placeholder{i, end - i, static_cast<int>(end - i)};
    }
    if (name[i] != '%') continue;
    if (const auto found = ReadPercent(name, i)) return found;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::vector<int>> ParseFrames(std::string_view text) {
  std::vector<int> frames;
  std::unordered_set<int> known;
  do {
    const auto range = TakeRange(text);
    if (!range || frames.size() + range->Count() > kMostFrames) return std::nullopt;
    for (std::size_t i = 0; i < range->Count(); ++i) {
      if (known.insert(range->At(i)).second) frames.push_back(range->At(i));
    }
  } while (TakeCharacter(text, ','));
  if (!text.empty()) return std::nullopt;
  return frames;
}

std::optional<Shard> ParseShard(std::string_view text) {
  Shard shard;
  const bool parsed =
      TakeBounded(text, shard.index) && TakeCharacter(text, '/') && TakeBounded(text, shard.count);
  if (!parsed || !text.empty() || shard.index < 1 || shard.index > shard.count) return std::nullopt;
  return shard;
}

std::vector<int> FramesOf(const std::vector<int>& frames, Shard shard) {
  std::vector<int> part;
  for (auto i = static_cast<std::size_t>(shard.index - 1); i < frames.size();
       i += static_cast<std::size_t>(shard.count)) {
    part.push_back(frames[i]);
  }
  return part;
}

bool IsFramePattern(std::string_view name) { return FindPlaceholder(name, 0).has_value(); }

std::string FrameName(std::string_view pattern, int frame) {
  std::string name;
  std::size_t done = 0;
  while (const auto place = FindPlaceholder(pattern, done)) {
    name += pattern.substr(done, place->start - done);
    name += fmt::format("{:0{}}", frame, place->width);
    done = place->start + place->size;
  }
  return name += pattern.substr(done);
}

std::vector<int> FindFrames(const std::string& pattern) {
  const std::size_t slash = pattern.rfind('/');
  const std::size_t start = slash == std::string::npos ? 0 : slash + 1;
  const std::string folder = start == 0 ? "./" : pattern.substr(0, start);
  const std::string file = pattern.substr(start);
  const auto place = FindPlaceholder(file, 0);
  std::vector<int> frames;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(folder, error), end; place && !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    std::string_view rest = name;
    rest.remove_prefix(std::min(place->start, rest.size()));
    int frame = 0;
    // The number's name tells whether the rest fits, and zeros and plus signs are those of the pattern.
    if (TakeBounded(rest, frame) && FrameName(file, frame) == name) frames.push_back(frame);
  }
  std::ranges::sort(frames);
  return frames;
}
