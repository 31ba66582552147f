// An OpenGL library that fails: preloaded, it ends or stops the process where Qt first asks the driver for
// something.
#include <unistd.h>

#include <cstdlib>
#include <cstring>

extern "C" const char* glXQueryExtensionsString(void*, int) {
  const char* mode = std::getenv("BROKEN_GL");
  if (mode && std::strcmp(mode, "hang") == 0) {
    for (;;) pause();
  }
  std::abort();
}
