#include "rbaselib/RClassDefinition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "image/RImage.h"
#include "rbaselib/RStream.h"

namespace {

std::vector<std::string> Names() {
  std::vector<std::string> names;
  for (const RClassDefinition* definition : RClassDefinition::GetAll())
    names.emplace_back(definition->GetName());
  return names;
}

TEST(RClassDefinition, RootClassesHaveTheFirstIds) {
  EXPECT_EQ(RObject::ClassId, 1);
  EXPECT_EQ(RStream::ClassId, 2);
  EXPECT_EQ(RObject::ClassDefinition.GetId(), 1);
  EXPECT_EQ(RObject::ClassDefinition.GetParent(), nullptr);
  EXPECT_EQ(RStream::ClassDefinition.GetParent(), &RObject::ClassDefinition);
  EXPECT_GT(RImage::ClassId, RStream::ClassId);
}

TEST(RClassDefinition, RootClassesAreListedFirst) {
  const auto names = Names();
  ASSERT_GE(names.size(), 2U);
  EXPECT_EQ(names[0], "RObject");
  EXPECT_EQ(names[1], "RStream");
}

TEST(RClassDefinition, ListedFromConstructionToDestruction) {
  int id = 0;
  {
    const RClassDefinition definition(id, "Listed", &RObject::ClassDefinition);
    EXPECT_EQ(RClassDefinition::Find("Listed"), &definition);
    EXPECT_EQ(Names().back(), "Listed");
    EXPECT_EQ(id, 0) << "the id is written by RegisterClassId only";
  }
  EXPECT_EQ(RClassDefinition::Find("Listed"), nullptr);
}

TEST(RClassDefinition, KeepsWhatItIsBuiltFrom) {
  int id = 0;
  int factory = 0;
  const RClassDefinition definition(id, "Kept", &RStream::ClassDefinition, &factory);
  EXPECT_STREQ(definition.GetName(), "Kept");
  EXPECT_EQ(definition.GetParent(), &RStream::ClassDefinition);
  EXPECT_EQ(definition.GetFactory(), &factory);
  EXPECT_EQ(RObject::ClassDefinition.GetFactory(), nullptr);
}

TEST(RClassDefinition, RegisteringStoresAndReturnsTheNextId) {
  int firstId = 0;
  int secondId = 0;
  RClassDefinition first(firstId, "FirstOfTwo", nullptr);
  RClassDefinition second(secondId, "SecondOfTwo", &first);
  EXPECT_EQ(first.RegisterClassId(), firstId);
  EXPECT_GT(firstId, 0);
  EXPECT_EQ(second.RegisterClassId(), firstId + 1);
  EXPECT_EQ(second.GetId(), secondId);
}

TEST(RClassDefinition, RegisteringTwiceKeepsTheId) {
  int id = 0;
  int otherId = 0;
  RClassDefinition definition(id, "Twice", nullptr);
  const int first = definition.RegisterClassId();
  RClassDefinition other(otherId, "BetweenTwice", nullptr);
  other.RegisterClassId();
  EXPECT_EQ(definition.RegisterClassId(), first);
}

TEST(RClassDefinition, AModuleThatComesBackGetsItsIdsBack) {
  int id = 0;
  { RClassDefinition(id, "Reloaded", nullptr).RegisterClassId(); }
  const int before = id;
  int between = 0;
  RClassDefinition other(between, "LoadedBetween", nullptr);
  other.RegisterClassId();
  id = 0;
  RClassDefinition again(id, "Reloaded", nullptr);
  EXPECT_EQ(again.RegisterClassId(), before);
}

TEST(RClassDefinition, TwoLivingClassesOfOneNameHaveTwoIds) {
  int firstId = 0;
  int secondId = 0;
  RClassDefinition first(firstId, "Namesake", nullptr);
  RClassDefinition second(secondId, "Namesake", nullptr);
  first.RegisterClassId();
  EXPECT_NE(second.RegisterClassId(), firstId);
  EXPECT_EQ(second.RegisterClassId(), secondId);
  EXPECT_EQ(RClassDefinition::Find("Namesake"), &first);
}

TEST(RClassDefinition, TakesNullNames) {
  int id = 0;
  RClassDefinition definition(id, nullptr, nullptr);
  EXPECT_STREQ(definition.GetName(), "");
  EXPECT_GT(definition.RegisterClassId(), 0);
  EXPECT_EQ(RClassDefinition::Find(nullptr), nullptr);
  EXPECT_EQ(RClassDefinition::Find("no such class"), nullptr);
}

TEST(RClassDefinition, RegistersFromManyThreads) {
  constexpr int kThreads = 4;
  constexpr int kClasses = 200;
  std::vector<std::vector<int>> ids(kThreads, std::vector<int>(kClasses));
  std::vector<std::string> names;
  for (int i = 0; i < kThreads * kClasses; ++i) names.push_back("Threaded" + std::to_string(i));
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      std::vector<std::unique_ptr<RClassDefinition>> definitions;
      for (int i = 0; i < kClasses; ++i) {
        int& id = ids[static_cast<std::size_t>(t)][static_cast<std::size_t>(i)];
        const char* name = names[static_cast<std::size_t>(t * kClasses + i)].c_str();
        definitions.push_back(std::make_unique<RClassDefinition>(id, name, nullptr));
        definitions.back()->RegisterClassId();
        EXPECT_EQ(RClassDefinition::Find(name), definitions.back().get());
      }
    });
  }
  for (auto& thread : threads) thread.join();
  std::set<int> distinct;
  for (const auto& list : ids) distinct.insert(list.begin(), list.end());
  EXPECT_EQ(distinct.size(), static_cast<std::size_t>(kThreads * kClasses));
  EXPECT_EQ(distinct.count(0), 0U);
}

}  // namespace
