// Files of the host.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "rbaselib/RBaseLibExport.h"

/// Where a seek starts.
enum kSeekPos : int { kSeekSet = 0, kSeekCurrent = 1, kSeekEnd = 2 };

/// A file on disk. Paths are UTF-8; positions and sizes are 64-bit. The destructor closes.
class RBASELIB_API RFile {
 public:
  RFile() = default;
  ~RFile();
  RFile(const RFile&) = delete;
  RFile& operator=(const RFile&) = delete;

  /// Opens the file, after closing the one that was open. `mode` is "rb", "wb", "ab" or "r+b" as for fopen.
  /// Fails for a directory.
  bool Open(const char* path, const char* mode);
  bool IsOpen() const { return mFile != nullptr; }
  /// Returns whether everything written has reached the file system; true when nothing is open.
  bool Close();

  /// Returns the number of bytes read: fewer than `size` at the end of the file or on an error, 0 when not
  /// open.
  std::size_t Read(void* destination, std::size_t size);
  /// Returns the number of bytes written: fewer than `size` on an error, 0 when not open.
  std::size_t Write(const void* source, std::size_t size);
  bool Seek(kSeekPos origin, std::int64_t offset);
  /// Returns the position in bytes from the start, or -1 when not open.
  std::int64_t GetPosition() const;
  /// Returns the size in bytes, or -1 when not open or not known (a pipe). The position stays.
  std::int64_t GetSize();

  /// Deletes the file at `path`; false when it cannot. Directories are not removed.
  static bool Remove(const char* path);

 private:
  std::FILE* mFile = nullptr;
};

/// Opens a C stream for a path in UTF-8, null when that fails (also for a directory); the caller closes it.
RBASELIB_API std::FILE* WideCharFileOpen(const char* path, const char* mode);

/// Returns the path with forward slashes, without doubled slashes and without "." segments, with ".."
/// segments resolved where a named segment stands before them. It does not look at the disk; an empty result
/// is ".".
RBASELIB_API std::string RCleanPath(const char* path);
