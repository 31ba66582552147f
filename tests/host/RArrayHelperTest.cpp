#include "rbaselib/RArrayHelper.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

namespace {

constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();

// Owns an array for a test.
struct Array {
  Array() = default;
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;
  ~Array() { RArrayHelper::Free(header); }
  RArrayHelper::Header* header = nullptr;
};

std::vector<void*> Elements(const RArrayHelper::Header* array) {
  std::vector<void*> elements;
  for (std::int32_t i = 0; i < RArrayHelper::GetCount(array); ++i) {
    elements.push_back(RArrayHelper::GetAt(array, i));
  }
  return elements;
}

int gA, gB, gC, gD;
using Pointers = std::vector<void*>;

TEST(RArrayHelper, TheHeaderIsTwo32BitNumbers) {
  EXPECT_EQ(sizeof(RArrayHelper::Header), 8U);
  EXPECT_EQ(offsetof(RArrayHelper::Header, count), 0U);
  EXPECT_EQ(offsetof(RArrayHelper::Header, capacity), 4U);
}

TEST(RArrayHelper, ThePointersFollowTheHeader) {
  Array array;
  RArrayHelper::InsertAt(array.header, 0, &gA);
  RArrayHelper::InsertAt(array.header, 1, &gB);
  void* const* pointers = reinterpret_cast<void* const*>(array.header + 1);
  EXPECT_EQ(pointers[0], &gA);
  EXPECT_EQ(pointers[1], &gB);
}

TEST(RArrayHelper, AnAbsentArrayIsEmpty) {
  EXPECT_EQ(RArrayHelper::GetCount(nullptr), 0);
  EXPECT_EQ(RArrayHelper::GetAt(nullptr, 0), nullptr);
  EXPECT_FALSE(RArrayHelper::SetAt(nullptr, 0, &gA));
  EXPECT_FALSE(RArrayHelper::RemoveAt(nullptr, 0));
  EXPECT_EQ(RArrayHelper::Copy(nullptr), nullptr);
  RArrayHelper::Clear(nullptr);
  RArrayHelper::Header* absent = nullptr;
  RArrayHelper::Free(absent);
  EXPECT_EQ(absent, nullptr);
}

struct Growth {
  std::int32_t capacity, needed, expected;
};

TEST(RArrayHelper, GrowsByHalfAndAtLeastToFour) {
  for (const auto& [capacity, needed, expected] :
       {Growth{0, 0, 4}, Growth{0, 1, 4}, Growth{0, 5, 5}, Growth{4, 5, 6}, Growth{6, 7, 9},
        Growth{9, 10, 13}, Growth{10, 100, 100}, Growth{kMax - 1, kMax, kMax},
        Growth{kMax / 2, kMax / 2 + 1, kMax / 2 + kMax / 4}, Growth{kMax, kMax, kMax}}) {
    EXPECT_EQ(RArrayHelper::GetNextArraySize(capacity, needed), expected) << capacity << ' ' << needed;
  }
}

TEST(RArrayHelper, InsertsBeforeAnIndex) {
  Array array;
  EXPECT_TRUE(RArrayHelper::InsertAt(array.header, 0, &gB));
  EXPECT_TRUE(RArrayHelper::InsertAt(array.header, 1, &gD));
  EXPECT_TRUE(RArrayHelper::InsertAt(array.header, 0, &gA));
  EXPECT_TRUE(RArrayHelper::InsertAt(array.header, 2, &gC));
  EXPECT_EQ(Elements(array.header), (Pointers{&gA, &gB, &gC, &gD}));
  EXPECT_EQ(array.header->capacity, 4);
  EXPECT_TRUE(RArrayHelper::InsertAt(array.header, 4, nullptr));
  EXPECT_EQ(Elements(array.header), (Pointers{&gA, &gB, &gC, &gD, nullptr}));
  EXPECT_EQ(array.header->capacity, 6);
}

TEST(RArrayHelper, RefusesIndicesOutside) {
  Array array;
  EXPECT_FALSE(RArrayHelper::InsertAt(array.header, 1, &gA));
  EXPECT_FALSE(RArrayHelper::InsertAt(array.header, -1, &gA));
  EXPECT_EQ(array.header, nullptr) << "a refused insertion makes no array";
  RArrayHelper::InsertAt(array.header, 0, &gA);
  for (const std::int32_t outside : {-1, 1, kMax, std::numeric_limits<std::int32_t>::min()}) {
    EXPECT_EQ(RArrayHelper::GetAt(array.header, outside), nullptr);
    EXPECT_FALSE(RArrayHelper::SetAt(array.header, outside, &gB));
    EXPECT_FALSE(RArrayHelper::RemoveAt(array.header, outside));
  }
  EXPECT_EQ(Elements(array.header), (Pointers{&gA}));
}

TEST(RArrayHelper, AFullArrayOfTheLargestCountTakesNothing) {
  RArrayHelper::Header full{kMax, kMax};
  RArrayHelper::Header* array = &full;
  EXPECT_FALSE(RArrayHelper::InsertAt(array, 0, &gA));
  EXPECT_EQ(array, &full);
}

TEST(RArrayHelper, ReplacesInPlace) {
  Array array;
  RArrayHelper::InsertAt(array.header, 0, &gA);
  RArrayHelper::InsertAt(array.header, 1, &gB);
  EXPECT_TRUE(RArrayHelper::SetAt(array.header, 1, &gC));
  EXPECT_EQ(Elements(array.header), (Pointers{&gA, &gC}));
}

TEST(RArrayHelper, RemovesAndClosesTheGap) {
  Array array;
  for (void* element : {&gA, &gB, &gC})
    RArrayHelper::InsertAt(array.header, RArrayHelper::GetCount(array.header), element);
  EXPECT_TRUE(RArrayHelper::RemoveAt(array.header, 1));
  EXPECT_EQ(Elements(array.header), (Pointers{&gA, &gC}));
  EXPECT_TRUE(RArrayHelper::RemoveAt(array.header, 1));
  EXPECT_TRUE(RArrayHelper::RemoveAt(array.header, 0));
  EXPECT_FALSE(RArrayHelper::RemoveAt(array.header, 0));
  EXPECT_EQ(array.header->capacity, 4) << "removing keeps the storage";
}

TEST(RArrayHelper, ClearKeepsTheStorageAndFreeGivesItBack) {
  Array array;
  RArrayHelper::InsertAt(array.header, 0, &gA);
  RArrayHelper::Clear(array.header);
  ASSERT_NE(array.header, nullptr);
  EXPECT_EQ(array.header->count, 0);
  EXPECT_EQ(array.header->capacity, 4);
  RArrayHelper::Free(array.header);
  EXPECT_EQ(array.header, nullptr);
}

TEST(RArrayHelper, CopiesTheElements) {
  Array array;
  RArrayHelper::InsertAt(array.header, 0, &gA);
  RArrayHelper::InsertAt(array.header, 1, &gB);
  Array copy;
  copy.header = RArrayHelper::Copy(array.header);
  ASSERT_NE(copy.header, array.header);
  RArrayHelper::SetAt(array.header, 0, &gC);
  EXPECT_EQ(Elements(copy.header), (Pointers{&gA, &gB}));
  EXPECT_EQ(copy.header->capacity, 2);
  EXPECT_TRUE(RArrayHelper::InsertAt(copy.header, 2, &gD)) << "a copy grows like any array";
  RArrayHelper::Clear(array.header);
  EXPECT_EQ(RArrayHelper::Copy(array.header), nullptr) << "an empty array copies to an absent one";
}

TEST(RArrayHelper, HoldsManyElements) {
  Array array;
  std::vector<int> targets(10000);
  for (std::int32_t i = 0; i < 10000; ++i) {
    ASSERT_TRUE(RArrayHelper::InsertAt(array.header, i, &targets[static_cast<std::size_t>(i)]));
  }
  EXPECT_EQ(RArrayHelper::GetCount(array.header), 10000);
  for (std::int32_t i = 0; i < 10000; ++i) {
    ASSERT_EQ(RArrayHelper::GetAt(array.header, i), &targets[static_cast<std::size_t>(i)]);
  }
}

}  // namespace
