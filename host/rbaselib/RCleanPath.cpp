#include <algorithm>
#include <string_view>
#include <vector>

#include "rbaselib/RFile.h"

namespace {

// Takes the next segment and the slash behind it off the front of `rest`.
std::string_view TakeSegment(std::string_view& rest) {
  const std::size_t length = std::min(rest.find('/'), rest.size());
  const std::string_view segment = rest.substr(0, length);
  rest.remove_prefix(std::min(length + 1, rest.size()));
  return segment;
}

// A climb takes back the named segment before it; above the root there is nothing to climb to.
void AddSegment(std::vector<std::string_view>& segments, std::string_view segment, bool absolute) {
  if (segment.empty() || segment == ".") return;
  const bool climbs = segment == "..";
  if (climbs && !segments.empty() && segments.back() != "..")
    segments.pop_back();
  else if (!climbs || !absolute)
    segments.push_back(segment);
}

}  // namespace

std::string RCleanPath(const char* path) {
  std::string text = path ? path : "";
  if (text.empty()) return text;
  std::replace(text.begin(), text.end(), '\\', '/');
  const bool absolute = text.starts_with('/');
  std::vector<std::string_view> segments;
  for (std::string_view rest = text; !rest.empty();) AddSegment(segments, TakeSegment(rest), absolute);
  std::string clean = absolute ? "/" : "";
  for (std::size_t i = 0; i < segments.size(); ++i) {
    if (i) clean += '/';
    clean += segments[i];
  }
  return clean.empty() ? "." : clean;
}
