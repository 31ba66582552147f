// Random numbers that are the same on every run and machine.
#pragma once

#include <random>

namespace test {

class Random {
 public:
  explicit Random(unsigned seed) : mEngine(seed + 1) {}

  /// Returns a number from 0 to `limit` - 1.
  unsigned Below(unsigned limit) { return static_cast<unsigned>(mEngine() >> 7) % limit; }
  unsigned char Byte() { return static_cast<unsigned char>(Below(256)); }

 private:
  std::minstd_rand mEngine;
};

}  // namespace test
