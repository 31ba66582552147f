#include "Descriptor.h"

#include <unistd.h>

#include <utility>

bool Descriptor::Close() {
  const int number = std::exchange(mNumber, -1);
  return number < 0 || close(number) == 0;
}

bool WriteWhole(int descriptor, const void* bytes, std::size_t size) {
  const auto* from = static_cast<const char*>(bytes);
  for (std::size_t done = 0; done < size;) {
    const ssize_t count = Uninterrupted([&] { return write(descriptor, from + done, size - done); });
    if (count < 1) return false;
    done += static_cast<std::size_t>(count);
  }
  return true;
}

bool ReadWhole(int descriptor, void* bytes, std::size_t size) {
  auto* const to = static_cast<char*>(bytes);
  for (std::size_t done = 0; done < size;) {
    const ssize_t count =
        Uninterrupted([&] { return pread(descriptor, to + done, size - done, static_cast<off_t>(done)); });
    if (count < 1) return false;
    done += static_cast<std::size_t>(count);
  }
  return true;
}
