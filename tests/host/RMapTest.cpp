#include "rbaselib/RMap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "rbaselib/RBaseAllocator.h"
#include "rbaselib/RCharPointerLessCompare.h"

namespace {

using testing::ElementsAre;
using testing::Pair;
using Names = RMap<const char*, long long, RCharPointerLessCompare, RBaseAllocator>;

TEST(RMap, FindsWhatWasSet) {
  RMap<int, std::string> map;
  EXPECT_EQ(map.Find(1), nullptr);
  map.Set(1, "one");
  map.Set(2, "two");
  ASSERT_NE(map.Find(1), nullptr);
  EXPECT_EQ(*map.Find(1), "one");
  EXPECT_EQ(map.GetCount(), 2);
  map.Set(1, "uno");
  EXPECT_EQ(*map.Find(1), "uno");
  EXPECT_EQ(map.GetCount(), 2);
}

TEST(RMap, RemovesAndClears) {
  RMap<int, int> map;
  map.Set(1, 10);
  map.Set(2, 20);
  EXPECT_TRUE(map.Remove(1));
  EXPECT_FALSE(map.Remove(1));
  EXPECT_EQ(map.Find(1), nullptr);
  map.Clear();
  EXPECT_EQ(map.GetCount(), 0);
  EXPECT_EQ(map.begin(), map.end());
}

TEST(RMap, ListsInTheOrderOfTheKeys) {
  Names map;
  map.Set("b", 1);
  map.Set("a", 2);
  map.Set("ab", 3);
  std::vector<std::pair<std::string, long long>> listed;
  for (const auto& [name, value] : map) listed.emplace_back(name, value);
  EXPECT_THAT(listed, ElementsAre(Pair("a", 2), Pair("ab", 3), Pair("b", 1)));
}

TEST(RMap, ComparesKeysByTheirCharacters) {
  Names map;
  const std::string key = "Gamma";
  map.Set("Gamma", 1LL << 40);
  ASSERT_NE(map.Find(key.c_str()), nullptr);
  EXPECT_EQ(*map.Find(key.c_str()), 1LL << 40);
}

TEST(RMap, AnEntryKeepsItsFirstKey) {
  Names map;
  static constexpr char kFirst[] = "Gamma";
  map.Set(kFirst, 1);
  {
    const std::string second = "Gamma";
    map.Set(second.c_str(), 2);
  }
  EXPECT_EQ(map.begin()->first, kFirst);
  EXPECT_EQ(*map.Find("Gamma"), 2);
}

struct CountingAllocator {
  static inline int living = 0;
  static void* Allocate(std::size_t bytes) {
    ++living;
    return RBaseAllocator::Allocate(bytes);
  }
  static void Free(void* memory) noexcept {
    --living;
    RBaseAllocator::Free(memory);
  }
};

TEST(RMap, TakesItsNodesFromTheAllocator) {
  {
    RMap<int, int, std::less<>, CountingAllocator> map;
    map.Set(1, 1);
    map.Set(2, 2);
    EXPECT_EQ(CountingAllocator::living, 2);
    const auto copy = map;
    EXPECT_EQ(CountingAllocator::living, 4);
    map.Remove(1);
    EXPECT_EQ(CountingAllocator::living, 3);
  }
  EXPECT_EQ(CountingAllocator::living, 0);
}

TEST(RCharPointerLessCompare, OrdersByCharacters) {
  const RCharPointerLessCompare less;
  EXPECT_TRUE(less("a", "b"));
  EXPECT_FALSE(less("b", "a"));
  EXPECT_FALSE(less("a", "a"));
  EXPECT_TRUE(less("", "a"));
  EXPECT_TRUE(less("B", "a"));
}

TEST(RCharPointerLessCompare, NullComesFirst) {
  const RCharPointerLessCompare less;
  EXPECT_TRUE(less(nullptr, ""));
  EXPECT_FALSE(less("", nullptr));
  EXPECT_FALSE(less(nullptr, nullptr));
}

TEST(RBaseAllocator, GivesAlignedMemory) {
  void* memory = RBaseAllocator::Allocate(100);
  ASSERT_NE(memory, nullptr);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % alignof(std::max_align_t), 0U);
  RBaseAllocator::Free(memory);
  RBaseAllocator::Free(nullptr);
}

}  // namespace
