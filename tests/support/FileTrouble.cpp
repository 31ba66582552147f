// The calls are found in the test program before those of the C library. Streams of the C library make theirs
// inside it, so a stream on the watched file becomes one whose calls come by here.
#undef _FORTIFY_SOURCE

#include "support/FileTrouble.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace {

struct State {
  std::string path;
  test::Trouble trouble = test::Trouble::kNone;
  int which = -1;
  int error = 0;
  std::string names;
  std::array<bool, 1024> watched{};  // by descriptor
};
State gState;
bool gIsArmed = false;

bool IsWatched(int file) {
  return gIsArmed && file >= 0 && file < static_cast<int>(gState.watched.size()) &&
         gState.watched[static_cast<std::size_t>(file)];
}

// Counts a call; whether it is to fail, with errno set.
bool Fails(char name) {
  const int call = static_cast<int>(gState.names.size());
  gState.names += name;
  const bool isThis = call == gState.which;
  switch (gState.trouble) {
    case test::Trouble::kFails:
      errno = gState.error;
      return isThis;
    case test::Trouble::kFailsFromThenOn:
      errno = gState.error;
      return gState.which >= 0 && call >= gState.which;
    case test::Trouble::kInterrupted:
      // Seeking and closing are not interrupted on files of a disk.
      errno = EINTR;
      return isThis && (name == 'o' || name == 'r' || name == 'w');
    default:
      return false;
  }
}

// How much of a transfer is made by the call that was counted last.
std::size_t Portion(std::size_t size) {
  const bool isThis = static_cast<int>(gState.names.size()) - 1 == gState.which;
  return gState.trouble == test::Trouble::kShort && isThis && size > 1 ? size / 2 : size;
}

int Open(const char* path, int flags, mode_t mode) {
  const bool isTarget = gIsArmed && gState.path == path;
  if (isTarget && Fails('o')) return -1;
  const auto file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
  if (isTarget && file >= 0 && file < static_cast<int>(gState.watched.size()))
    gState.watched[static_cast<std::size_t>(file)] = true;
  return file;
}

mode_t ModeOf(int flags, std::va_list arguments) {
  return (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
}

// --- A stream whose calls come by here.

int FileOf(void* cookie) { return static_cast<int>(reinterpret_cast<std::intptr_t>(cookie)); }
ssize_t ReadCookie(void* cookie, char* bytes, std::size_t size) { return read(FileOf(cookie), bytes, size); }
ssize_t WriteCookie(void* cookie, const char* bytes, std::size_t size) {
  return write(FileOf(cookie), bytes, size);
}
int SeekCookie(void* cookie, off64_t* position, int origin) {
  const off64_t result = lseek64(FileOf(cookie), *position, origin);
  if (result >= 0) *position = result;
  return result < 0 ? -1 : 0;
}
int CloseCookie(void* cookie) { return close(FileOf(cookie)); }

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const int file = Open(path, flags, ModeOf(flags, arguments));
  va_end(arguments);
  return file;
}

int open64(const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const int file = Open(path, flags, ModeOf(flags, arguments));
  va_end(arguments);
  return file;
}

int __open_2(const char* path, int flags) { return Open(path, flags, 0); }
int __open64_2(const char* path, int flags) { return Open(path, flags, 0); }

ssize_t read(int file, void* bytes, std::size_t size) {
  if (IsWatched(file)) {
    if (Fails('r')) return -1;
    size = Portion(size);
  }
  return syscall(SYS_read, file, bytes, size);
}

ssize_t __read_chk(int file, void* bytes, std::size_t size, std::size_t room) {
  if (size > room) std::abort();
  return read(file, bytes, size);
}

ssize_t write(int file, const void* bytes, std::size_t size) {
  if (IsWatched(file)) {
    if (Fails('w')) return -1;
    size = Portion(size);
  }
  return syscall(SYS_write, file, bytes, size);
}

off64_t lseek64(int file, off64_t offset, int origin) noexcept {
  if (IsWatched(file) && Fails('s')) return -1;
  return syscall(SYS_lseek, file, offset, origin);
}

off_t lseek(int file, off_t offset, int origin) noexcept { return lseek64(file, offset, origin); }

int close(int file) {
  const bool isWatched = IsWatched(file);
  const bool fails = isWatched && Fails('c');
  const int error = errno;
  if (isWatched) gState.watched[static_cast<std::size_t>(file)] = false;
  const auto result = static_cast<int>(syscall(SYS_close, file));
  if (!fails) return result;
  errno = error;
  return -1;
}

std::FILE* fdopen(int file, const char* mode) noexcept {
  if (IsWatched(file)) {
    void* const cookie = reinterpret_cast<void*>(static_cast<std::intptr_t>(file));
    return fopencookie(cookie, mode, {ReadCookie, WriteCookie, SeekCookie, CloseCookie});
  }
  static const auto kReal = reinterpret_cast<std::FILE* (*)(int, const char*)>(dlsym(RTLD_NEXT, "fdopen"));
  return kReal(file, mode);
}

}  // extern "C"

namespace test {

FileTrouble::FileTrouble(std::string path, Trouble trouble, int which, int error) {
  gState = {};
  gState.path = std::move(path);
  gState.trouble = trouble;
  gState.which = which;
  gState.error = error;
  gIsArmed = true;
}

FileTrouble::~FileTrouble() { gIsArmed = false; }

int FileTrouble::Calls() const { return static_cast<int>(gState.names.size()); }

const std::string& FileTrouble::Names() const { return gState.names; }

}  // namespace test
