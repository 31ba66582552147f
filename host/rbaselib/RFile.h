// Files of the host.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "rbaselib/RBaseLibExport.h"

/// Where a seek starts.
enum kSeekPos : int {
  kSeekSet = 0,      ///< at the first byte
  kSeekCurrent = 1,  ///< at the position
  kSeekEnd = 2,      ///< behind the last byte
};

/// A file on disk. Paths are UTF-8; positions and sizes are 64-bit. Short and interrupted system calls are
/// continued, so that fewer bytes than asked for mean the end of the file or an error. Small accesses are
/// buffered; reading and writing may alternate freely. An object is used by one thread at a time. The
/// destructor closes, and cannot tell of a failure: who writes calls `Close`.
class RBASELIB_API RFile {
 public:
  RFile() = default;
  /// Closes the file.
  ~RFile();
  RFile(const RFile&) = delete;
  RFile& operator=(const RFile&) = delete;

  /// Opens the file, after closing the one that was open. `mode` is "rb", "wb", "ab", "r+b", "w+b" or "a+b"
  /// as for fopen; the b may be missing. Fails for a directory and for another mode.
  bool Open(const char* path, const char* mode);
  /// Returns whether a file is open: from an `Open` that succeeded to `Close`.
  bool IsOpen() const { return mDescriptor != -1; }
  /// Returns whether everything written has reached the file system, now and at every call before; true when
  /// nothing is open.
  bool Close();

  /// Returns the number of bytes read: fewer than `size` at the end of the file or on an error, 0 when not
  /// open for reading.
  std::size_t Read(void* destination, std::size_t size);
  /// Returns the number of bytes taken: fewer than `size` on an error, 0 when not open for writing and after
  /// an error. What was taken reaches the file system at `Close` at the latest.
  std::size_t Write(const void* source, std::size_t size);
  /// Moves the position, also beyond the end; false, with the position as it was, when it would be negative,
  /// the file cannot seek (a pipe) or earlier writes failed.
  bool Seek(kSeekPos origin, std::int64_t offset);
  /// Returns the position in bytes from the start, or -1 when not open or not known (a pipe).
  std::int64_t GetPosition() const;
  /// Returns the size in bytes, or -1 when not open or not known (a pipe). The position stays.
  std::int64_t GetSize();

  /// Deletes the file at `path`; false when it cannot. Directories are not removed.
  static bool Remove(const char* path);

 private:
  static constexpr std::size_t kBufferSize = 16384;

  std::size_t ReadThrough(unsigned char* destination, std::size_t size);
  std::size_t WriteThrough(const unsigned char* source, std::size_t size);
  std::size_t TakeBuffered(unsigned char* destination, std::size_t size);
  bool Flush();

  int mDescriptor = -1;
  bool mReadable = false;
  bool mWritable = false;
  bool mFailed = false;  // a write failed since the file was opened
  // The buffer holds either bytes that were read ahead, from mBegin to mEnd, or mPending bytes to be written.
  std::size_t mBegin = 0;
  std::size_t mEnd = 0;
  std::size_t mPending = 0;
  std::array<unsigned char, kBufferSize> mBuffer;
};

/// Opens a C stream for a path in UTF-8 and a mode as for `RFile::Open`; null when that fails (also for a
/// directory). The caller closes it.
RBASELIB_API std::FILE* WideCharFileOpen(const char* path, const char* mode);

/// Returns the path with forward slashes, without doubled or closing slashes and without "." segments, with
/// ".." segments resolved where a named segment stands before them and dropped at the root. It does not look
/// at the disk. Null and the empty path give the empty path; where nothing else remains the result is "/" or
/// ".".
RBASELIB_API std::string RCleanPath(const char* path);
