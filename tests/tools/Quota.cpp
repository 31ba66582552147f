// A quota that is used up: preloaded, it lets no file in the folder that QUOTA_FOLDER names take another
// byte.
#include <dlfcn.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

bool IsUnderQuota(int descriptor) {
  const char* const folder = std::getenv("QUOTA_FOLDER");
  if (!folder) return false;
  std::array<char, 4096> name;
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  const ssize_t size = readlink(link.c_str(), name.data(), name.size());
  return size > 0 && std::string_view(name.data(), static_cast<std::size_t>(size)).starts_with(folder);
}

}  // namespace

extern "C" ssize_t write(int descriptor, const void* bytes, std::size_t size) {
  using Write = ssize_t (*)(int, const void*, std::size_t);
  static const auto next = reinterpret_cast<Write>(dlsym(RTLD_NEXT, "write"));
  if (size > 0 && IsUnderQuota(descriptor)) {
    errno = EDQUOT;
    return -1;
  }
  return next(descriptor, bytes, size);
}
