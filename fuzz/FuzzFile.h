// Hands fuzzed bytes to readers that take a path.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

/// A file in memory that goes with the object.
class FuzzFile {
 public:
  FuzzFile(const std::uint8_t* data, std::size_t size) : mFile(memfd_create("fuzz", 0)) {
    while (size > 0) {
      const ssize_t written = write(mFile, data, size);
      if (written <= 0) break;
      data += written;
      size -= static_cast<std::size_t>(written);
    }
  }
  ~FuzzFile() { close(mFile); }
  FuzzFile(const FuzzFile&) = delete;
  FuzzFile& operator=(const FuzzFile&) = delete;

  std::string Path() const { return "/proc/self/fd/" + std::to_string(mFile); }

 private:
  int mFile;
};
