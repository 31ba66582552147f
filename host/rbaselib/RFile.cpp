#include "rbaselib/RFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace {

static_assert(sizeof(off_t) == sizeof(std::int64_t), "positions are 64-bit");

// Repeats a system call that a signal interrupted.
template <class Call>
auto Uninterrupted(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

// Returns the flags of open for a mode of fopen, or nothing for another text.
std::optional<int> OpenFlags(std::string_view mode) {
  if (mode.empty()) return std::nullopt;
  const std::string_view options = mode.substr(1);
  if (!options.empty() && options != "b" && options != "+" && options != "+b" && options != "b+") {
    return std::nullopt;
  }
  const bool update = options.find('+') != std::string_view::npos;
  switch (mode.front()) {
    case 'r':
      return update ? O_RDWR : O_RDONLY;
    case 'w':
      return (update ? O_RDWR : O_WRONLY) | O_CREAT | O_TRUNC;
    case 'a':
      return (update ? O_RDWR : O_WRONLY) | O_CREAT | O_APPEND;
    default:
      return std::nullopt;
  }
}

// Returns a descriptor, or -1. The system opens directories too, and only the first read fails.
int OpenDescriptor(const char* path, int flags) {
  const int descriptor = Uninterrupted([&] { return open(path, flags | O_CLOEXEC, 0666); });
  if (descriptor == -1) return -1;
  struct stat status {};
  if (fstat(descriptor, &status) == 0 && !S_ISDIR(status.st_mode)) return descriptor;
  close(descriptor);
  return -1;
}

}  // namespace

std::FILE* WideCharFileOpen(const char* path, const char* mode) {
  const auto flags = path && mode ? OpenFlags(mode) : std::nullopt;
  const int descriptor = flags ? OpenDescriptor(path, *flags) : -1;
  if (descriptor == -1) return nullptr;
  std::FILE* file = fdopen(descriptor, mode);
  if (!file) close(descriptor);
  return file;
}

RFile::~RFile() { Close(); }

bool RFile::Open(const char* path, const char* mode) {
  Close();
  const auto flags = path && mode ? OpenFlags(mode) : std::nullopt;
  if (!flags) return false;
  mDescriptor = OpenDescriptor(path, *flags);
  mReadable = (*flags & O_ACCMODE) != O_WRONLY;
  mWritable = (*flags & O_ACCMODE) != O_RDONLY;
  // Appending starts at the end; a file that is read too starts, as always, at its first byte.
  if (IsOpen() && mWritable && !mReadable && (*flags & O_APPEND)) lseek(mDescriptor, 0, SEEK_END);
  return IsOpen();
}

bool RFile::Close() {
  if (!IsOpen()) return true;
  const bool flushed = Flush();
  // An interrupted close has closed nevertheless, and the number may belong to another file by now.
  const bool closed = close(std::exchange(mDescriptor, -1)) == 0 || errno == EINTR;
  mBegin = mEnd = mPending = 0;
  return !std::exchange(mFailed, false) && flushed && closed;
}

std::size_t RFile::ReadThrough(unsigned char* destination, std::size_t size) {
  const ssize_t count = Uninterrupted([&] { return read(mDescriptor, destination, size); });
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

std::size_t RFile::WriteThrough(const unsigned char* source, std::size_t size) {
  std::size_t written = 0;
  while (written < size && !mFailed) {
    const ssize_t count = Uninterrupted([&] { return write(mDescriptor, source + written, size - written); });
    mFailed = count <= 0;
    if (!mFailed) written += static_cast<std::size_t>(count);
  }
  return written;
}

std::size_t RFile::TakeBuffered(unsigned char* destination, std::size_t size) {
  const std::size_t count = std::min(size, mEnd - mBegin);
  std::memcpy(destination, mBuffer.data() + mBegin, count);
  mBegin += count;
  return count;
}

bool RFile::Flush() {
  if (mPending) WriteThrough(mBuffer.data(), std::exchange(mPending, 0));
  return !mFailed;
}

std::size_t RFile::Read(void* destination, std::size_t size) {
  if (!IsOpen() || !mReadable || !destination || !Flush()) return 0;
  auto* bytes = static_cast<unsigned char*>(destination);
  std::size_t done = 0;
  while (done < size) {
    std::size_t count = 0;
    if (mBegin == mEnd && size - done >= kBufferSize) {
      count = ReadThrough(bytes + done, size - done);
    } else {
      if (mBegin == mEnd) {
        mBegin = 0;
        mEnd = ReadThrough(mBuffer.data(), kBufferSize);
      }
      count = TakeBuffered(bytes + done, size - done);
    }
    if (count == 0) break;
    done += count;
  }
  return done;
}

std::size_t RFile::Write(const void* source, std::size_t size) {
  if (!IsOpen() || !mWritable || !source || mFailed) return 0;
  // Bytes that were read ahead are unread: writing goes on where reading stopped.
  if (mBegin != mEnd && !Seek(kSeekCurrent, 0)) return 0;
  const auto* bytes = static_cast<const unsigned char*>(source);
  if (size > kBufferSize - mPending && !Flush()) return 0;
  if (size >= kBufferSize) return WriteThrough(bytes, size);
  std::memcpy(mBuffer.data() + mPending, bytes, size);
  mPending += size;
  return size;
}

bool RFile::Seek(kSeekPos origin, std::int64_t offset) {
  static constexpr int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  if (!IsOpen() || origin < kSeekSet || origin > kSeekEnd || !Flush()) return false;
  // The system's position is ahead by the bytes that nobody has taken yet.
  const auto ahead = static_cast<std::int64_t>(mEnd - mBegin);
  if (origin == kSeekCurrent && __builtin_sub_overflow(offset, ahead, &offset)) return false;
  if (lseek(mDescriptor, offset, kWhence[origin]) == -1) return false;
  mBegin = mEnd = 0;
  return true;
}

std::int64_t RFile::GetPosition() const {
  const std::int64_t position = IsOpen() ? lseek(mDescriptor, 0, SEEK_CUR) : -1;
  if (position == -1) return -1;
  return position - static_cast<std::int64_t>(mEnd - mBegin) + static_cast<std::int64_t>(mPending);
}

std::int64_t RFile::GetSize() {
  if (!IsOpen() || !Flush()) return -1;
  // A search for the end, from which the way back may fail, is for devices alone.
  struct stat status {};
  if (fstat(mDescriptor, &status) == 0 && S_ISREG(status.st_mode)) return status.st_size;
  const off_t position = lseek(mDescriptor, 0, SEEK_CUR);
  if (position == -1) return -1;
  const off_t size = lseek(mDescriptor, 0, SEEK_END);
  return lseek(mDescriptor, position, SEEK_SET) == -1 ? -1 : size;
}

bool RFile::Remove(const char* path) { return path && unlink(path) == 0; }
