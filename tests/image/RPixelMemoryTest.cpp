// Tests of pixel buffers.
#include "image/RPixelMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>

#include "image/RImageFormat.h"
#include "support/ChildCost.h"

namespace {

constexpr std::uint64_t kLimit = std::numeric_limits<std::int32_t>::max();

TEST(RPixelMemoryTest, BuffersOfEverySizeCanBeWrittenToTheLastByte) {
  for (const std::uint64_t bytes : {1ULL, 63ULL, 64ULL, 65ULL, 4096ULL, (4ULL << 20) - 1, 4ULL << 20,
                                    (4ULL << 20) + 1, (6ULL << 20) + 12345}) {
    const RPixelBuffer buffer = RAllocatePixels(bytes);
    ASSERT_NE(buffer, nullptr) << bytes;
    std::memset(buffer.get(), 0xA5, bytes);
    EXPECT_EQ(buffer.get()[bytes - 1], 0xA5);
  }
}

TEST(RPixelMemoryTest, BuffersStartOnACacheLine) {
  for (const std::uint64_t bytes : {1ULL, 100ULL, 5ULL << 20}) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(RAllocatePixels(bytes).get()) % 64, 0U);
  }
}

// The flags that the system keeps for the mapping around an address, such as "rd wr mr mw me ac hg".
std::string MappingFlags(const void* address) {
  std::ifstream maps("/proc/self/smaps");
  const auto wanted = reinterpret_cast<std::uintptr_t>(address);
  bool inside = false;
  for (std::string line; std::getline(maps, line);) {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    if (std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR " ", &begin, &end) == 2) {
      inside = begin <= wanted && wanted < end;
    }
    if (inside && line.starts_with("VmFlags:")) return line;
  }
  return {};
}

TEST(RPixelMemoryTest, LargeBuffersAskForHugePages) {
  if (!std::filesystem::exists("/sys/kernel/mm/transparent_hugepage")) GTEST_SKIP() << "none on this system";
  constexpr std::size_t kBytes = std::size_t{8} << 20;
  const RPixelBuffer buffer = RAllocatePixels(kBytes);
  EXPECT_NE(MappingFlags(buffer.get() + kBytes / 2).find(" hg"), std::string::npos);
}

TEST(RPixelMemoryTest, MemoryThatIsGivenBackServesTheNextBufferOfTheSize) {
  if (test::IsInstrumented()) GTEST_SKIP() << "the sanitizer keeps freed memory for a while";
  constexpr std::size_t kBytes = 22'400'000;
  (void)RAllocatePixels(kBytes);  // the first comes from the system, and those after it from the heap
  RPixelBuffer buffer = RAllocatePixels(kBytes);
  // What comes behind keeps the memory from growing.
  const RPixelBuffer behind = RAllocatePixels(kBytes / 2);
  for (int i = 0; i < 5; ++i) {
    const auto address = reinterpret_cast<std::uintptr_t>(buffer.get());
    buffer.reset();
    buffer = RAllocatePixels(kBytes);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer.get()), address);
  }
}

TEST(RPixelMemoryTest, ZeroBytesAreAValidBuffer) { EXPECT_NE(RAllocatePixels(0), nullptr); }

TEST(RPixelMemoryTest, ZeroedBufferIsZero) {
  for (const std::uint64_t bytes : {1ULL, 1000ULL, 5ULL << 20}) {
    // The memory of a buffer just given back is likely to come again, with what was in it.
    std::memset(RAllocatePixels(bytes).get(), 0xFF, bytes);
    const RPixelBuffer buffer = RAllocateZeroedPixels(bytes);
    EXPECT_TRUE(
        std::all_of(buffer.get(), buffer.get() + bytes, [](unsigned char byte) { return byte == 0; }));
  }
}

TEST(RPixelMemoryTest, NothingAboveTheLargestImageIsAllocated) {
  EXPECT_EQ(RAllocatePixels(kLimit + 1), nullptr);
  EXPECT_EQ(RAllocateZeroedPixels(kLimit + 1), nullptr);
  EXPECT_EQ(RAllocatePixels(std::numeric_limits<std::uint64_t>::max()), nullptr);
}

// --- Sizes.

TEST(RImageFormatTest, BytesPerPixelOfEveryFormat) {
  constexpr int kExpected[] = {4, 0, 4, 3, 4, 3, 2, 4, 4};
  ASSERT_EQ(kBytesPerPixel.size(), std::size(kExpected));
  for (int format = 0; format < 9; ++format) {
    EXPECT_TRUE(RIsImageFormat(static_cast<kImageFormat>(format)));
    EXPECT_EQ(RBytesPerPixel(static_cast<kImageFormat>(format)), kExpected[format]);
  }
  EXPECT_FALSE(RIsImageFormat(static_cast<kImageFormat>(-1)));
  EXPECT_FALSE(RIsImageFormat(static_cast<kImageFormat>(9)));
}

TEST(RImageFormatTest, ImageBytesAreExactUpToTheLimit) {
  EXPECT_EQ(RImageBytes(2, 3, 4, 3), 72);
  EXPECT_EQ(RImageBytes(1, static_cast<int>(kLimit), 1, 1), static_cast<std::int64_t>(kLimit));
  EXPECT_EQ(RImageBytes(1 << 16, 1 << 15, 1, 1), -1) << "one above";
  EXPECT_EQ(RImageBytes(65535, 65535, 1, 4), -1);
  EXPECT_EQ(RImageBytes(1 << 30, 1 << 30, 1 << 30, 4), -1);
  EXPECT_EQ(RImageBytes(0, 1 << 30, 1 << 30, 4), 0);
  EXPECT_EQ(RImageBytes(1 << 30, 1 << 30, 0, 4), 0);
  EXPECT_EQ(RImageBytes(1 << 30, 1 << 30, 1, 0), 0);
  EXPECT_EQ(RImageBytes(1 << 15, 1 << 15, 1 << 15, 0), 0);
  EXPECT_EQ(RImageBytes(-1, 1, 1, 1), -1);
  EXPECT_EQ(RImageBytes(1, -1, 1, 1), -1);
  EXPECT_EQ(RImageBytes(1, 1, -1, 1), -1);
  EXPECT_EQ(RImageBytes(1, 1, 1, -1), -1);
}

}  // namespace
