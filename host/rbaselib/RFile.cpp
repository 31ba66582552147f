#include "rbaselib/RFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <vector>

std::FILE* WideCharFileOpen(const char* path, const char* mode) {
  if (!path || !mode) return nullptr;
  std::FILE* file = std::fopen(path, mode);
  if (!file) return nullptr;
  // fopen accepts a directory for reading and only the first read fails.
  struct stat status {};
  if (fstat(fileno(file), &status) == 0 && !S_ISDIR(status.st_mode)) return file;
  std::fclose(file);
  return nullptr;
}

RFile::~RFile() { Close(); }

bool RFile::Open(const char* path, const char* mode) {
  Close();
  mFile = WideCharFileOpen(path, mode);
  return mFile != nullptr;
}

bool RFile::Close() {
  if (!mFile) return true;
  const bool good = std::ferror(mFile) == 0;
  const bool flushed = std::fclose(mFile) == 0;
  mFile = nullptr;
  return good && flushed;
}

std::size_t RFile::Read(void* destination, std::size_t size) {
  return mFile && size ? std::fread(destination, 1, size, mFile) : 0;
}

std::size_t RFile::Write(const void* source, std::size_t size) {
  return mFile && size ? std::fwrite(source, 1, size, mFile) : 0;
}

bool RFile::Seek(kSeekPos origin, std::int64_t offset) {
  static constexpr int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  return mFile && origin >= kSeekSet && origin <= kSeekEnd && fseeko(mFile, offset, kWhence[origin]) == 0;
}

std::int64_t RFile::GetPosition() const { return mFile ? ftello(mFile) : -1; }

std::int64_t RFile::GetSize() {
  const std::int64_t position = GetPosition();
  if (position < 0 || !Seek(kSeekEnd, 0)) return -1;
  const std::int64_t size = GetPosition();
  Seek(kSeekSet, position);
  return size;
}

bool RFile::Remove(const char* path) { return path && unlink(path) == 0; }

std::string RCleanPath(const char* path) {
  std::string text = path ? path : "";
  std::replace(text.begin(), text.end(), '\\', '/');
  const bool absolute = text.starts_with('/');
  std::vector<std::string_view> segments;
  for (std::string_view rest = text; !rest.empty();) {
    const std::size_t length = std::min(rest.find('/'), rest.size());
    const std::string_view segment = rest.substr(0, length);
    rest.remove_prefix(std::min(length + 1, rest.size()));
    if (segment.empty() || segment == ".") continue;
    const bool climbs = segment == "..";
    if (climbs && !segments.empty() && segments.back() != "..")
      segments.pop_back();
    else if (!climbs || !absolute)
      segments.push_back(segment);
  }
  std::string clean = absolute ? "/" : "";
  for (std::size_t i = 0; i < segments.size(); ++i) {
    if (i) clean += '/';
    clean += segments[i];
  }
  return clean.empty() ? "." : clean;
}
