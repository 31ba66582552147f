// Open descriptors, and calls of the system that a signal may interrupt.
#pragma once

#include <cerrno>
#include <cstddef>

/// An open descriptor, closed at the end.
class Descriptor {
 public:
  /// Takes it over; a negative number is none.
  explicit Descriptor(int number) : mNumber(number) {}
  ~Descriptor() { (void)Close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int Get() const { return mNumber; }
  /// Closes it now. Fails when what was written did not arrive.
  bool Close();

 private:
  int mNumber;
};

/// Makes a call again as long as a signal interrupts it.
template <class Call>
auto Uninterrupted(const Call& call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

/// Writes all bytes where the descriptor stands; false, with errno, when they do not go.
bool WriteWhole(int descriptor, const void* bytes, std::size_t size);

/// Reads so many bytes from the start of a file; false when there are fewer.
bool ReadWhole(int descriptor, void* bytes, std::size_t size);
