// Numbers from the input of a fuzz target.
#pragma once

#include <cstddef>
#include <cstdint>

/// Takes numbers off the front of the input; zeros when it is used up.
class FuzzInput {
 public:
  FuzzInput(const std::uint8_t* data, std::size_t size) : mData(data), mSize(size) {}
  bool IsEmpty() const { return mSize == 0; }
  int Byte() { return mSize == 0 ? 0 : (--mSize, *mData++); }
  /// Returns 0 to below `count`, which is at most 256.
  int Range(int count) { return Byte() % count; }

 private:
  const std::uint8_t* mData;
  std::size_t mSize;
};
