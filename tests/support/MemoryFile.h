// Files without a disk behind them, for readers that want a path.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <string>

namespace test {

/// A file in memory where the system has such a folder, else among the temporary files; it goes with the
/// object.
class MemoryFile {
 public:
  /// The path ends with `suffix`. Ends the program when the file cannot be written.
  MemoryFile(std::span<const unsigned char> bytes, const std::string& suffix) {
    static unsigned count = 0;
    static const bool hasShm = access("/dev/shm", W_OK) == 0;
    const std::filesystem::path folder = hasShm ? "/dev/shm" : std::filesystem::temp_directory_path();
    mPath = folder / ("rimage-" + std::to_string(getpid()) + '-' + std::to_string(++count) + suffix);
    std::FILE* file = std::fopen(mPath.c_str(), "wb");
    // fwrite takes no null pointer, not even for no bytes.
    const bool written =
        file && (bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size());
    if (!file || std::fclose(file) != 0 || !written) std::abort();
  }
  ~MemoryFile() { unlink(mPath.c_str()); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  const char* Path() const { return mPath.c_str(); }

 private:
  std::filesystem::path mPath;
};

}  // namespace test
