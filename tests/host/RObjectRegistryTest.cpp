#include "rbaselib/RObjectRegistry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "rbaselib/RObject.h"

namespace {

using testing::ElementsAre;

IObject* CreateNamed(IObject*, const char* name, void*) { return (new RObject(name, nullptr))->IQuery(0, 0); }
IObject* CreateNothing(IObject*, const char*, void*) { return nullptr; }

// Releases what a factory made and returns its name; "" for null.
std::string NameAndDestroy(IObject* face) {
  auto* object = dynamic_cast<RObject*>(face);
  if (!object) return "";
  std::string name = object->GetName();
  object->Destroy(0);
  return name;
}

std::vector<std::string> NamesOf(const char* group) {
  std::vector<std::string> names;
  for (const auto& entry : Object_GetRegistrations(group)) names.push_back(entry.name);
  return names;
}

TEST(RObjectRegistry, KeepsTheOrderAndAllArguments) {
  int data = 0;
  int reserved = 0;
  EXPECT_TRUE(Object_Register("Order", "b", "Type", CreateNamed, true, &data, &reserved));
  EXPECT_TRUE(Object_Register("Order", "a", "Other", CreateNothing, false, nullptr, nullptr));
  const auto entries = Object_GetRegistrations("Order");
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0].group, "Order");
  EXPECT_EQ(entries[0].name, "b");
  EXPECT_EQ(entries[0].type, "Type");
  EXPECT_EQ(entries[0].factory, &CreateNamed);
  EXPECT_TRUE(entries[0].enabled);
  EXPECT_EQ(entries[0].data, &data);
  EXPECT_EQ(entries[0].reserved, &reserved);
  EXPECT_EQ(entries[1].name, "a");
  EXPECT_FALSE(entries[1].enabled);
}

TEST(RObjectRegistry, CopiesItsStrings) {
  char group[] = "Copied";
  char name[] = "name";
  char type[] = "type";
  ASSERT_TRUE(Object_Register(group, name, type, CreateNamed, true, nullptr, nullptr));
  group[0] = name[0] = type[0] = '?';
  const auto entries = Object_GetRegistrations("Copied");
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0].name, "name");
  EXPECT_EQ(entries[0].type, "type");
}

TEST(RObjectRegistry, RefusesNulls) {
  EXPECT_FALSE(Object_Register(nullptr, "a", "T", CreateNamed, true, nullptr, nullptr));
  EXPECT_FALSE(Object_Register("Nulls", nullptr, "T", CreateNamed, true, nullptr, nullptr));
  EXPECT_FALSE(Object_Register("Nulls", "a", nullptr, CreateNamed, true, nullptr, nullptr));
  EXPECT_FALSE(Object_Register("Nulls", "a", "T", nullptr, true, nullptr, nullptr));
  EXPECT_TRUE(Object_GetRegistrations("Nulls").empty());
  EXPECT_EQ(Object_Create(nullptr, "a"), nullptr);
  EXPECT_EQ(Object_Create("Nulls", nullptr), nullptr);
}

TEST(RObjectRegistry, ASecondRegistrationTakesThePlaceOfTheFirst) {
  Object_Register("Again", "a", "First", CreateNothing, true, nullptr, nullptr);
  Object_Register("Again", "b", "First", CreateNamed, true, nullptr, nullptr);
  Object_Register("Again", "A", "Second", CreateNamed, true, nullptr, nullptr);
  EXPECT_THAT(NamesOf("Again"), ElementsAre("A", "b"));
  EXPECT_EQ(Object_GetRegistrations("Again")[0].type, "Second");
  EXPECT_EQ(NameAndDestroy(Object_Create("Again", "a")), "A");
}

TEST(RObjectRegistry, GroupsAreApart) {
  Object_Register("Group/Reader", "x", "T", CreateNamed, true, nullptr, nullptr);
  Object_Register("Group/Writer", "y", "T", CreateNamed, true, nullptr, nullptr);
  EXPECT_THAT(NamesOf("Group/Reader"), ElementsAre("x"));
  EXPECT_TRUE(NamesOf("Group").empty());
  EXPECT_TRUE(NamesOf("group/reader").empty()) << "groups are compared with case";
  EXPECT_EQ(Object_Create("Group/Reader", "y"), nullptr);
  EXPECT_GE(Object_GetRegistrations().size(), 2U) << "without a group every registration is listed";
}

TEST(RObjectRegistry, CreatesWithoutRegardToCase) {
  Object_Register("Case", "Tif", "T", CreateNamed, true, nullptr, nullptr);
  EXPECT_EQ(NameAndDestroy(Object_Create("Case", "tIF")), "Tif") << "the factory gets the registered name";
  EXPECT_EQ(Object_Create("Case", "ti"), nullptr);
  EXPECT_EQ(Object_Create("Case", "tiff"), nullptr);
  EXPECT_EQ(Object_Create("Case", ""), nullptr);
}

TEST(RObjectRegistry, CaseIsThatOfAsciiOnly) {
  Object_Register("Ascii", "[", "T", CreateNamed, true, nullptr, nullptr);
  EXPECT_EQ(Object_Create("Ascii", "{"), nullptr) << "these two are one bit apart, like a and A";
}

TEST(RObjectRegistry, DisabledFactoriesAreListedButNotChosen) {
  Object_Register("Disabled", "a", "T", CreateNamed, false, nullptr, nullptr);
  EXPECT_THAT(NamesOf("Disabled"), ElementsAre("a"));
  EXPECT_EQ(Object_Create("Disabled", "a"), nullptr);
}

TEST(RObjectRegistry, HandsParentAndDataToTheFactory) {
  struct Seen {
    IObject* parent = nullptr;
    std::string name;
  } seen;
  const RObjectFactory factory = [](IObject* parent, const char* name, void* data) -> IObject* {
    *static_cast<Seen*>(data) = {parent, name};
    return nullptr;
  };
  Object_Register("Arguments", "a", "T", factory, true, &seen, nullptr);
  RObject parent(nullptr, nullptr);
  EXPECT_EQ(Object_Create("Arguments", "a", &parent), nullptr);
  EXPECT_EQ(seen.parent, &parent);
  EXPECT_EQ(seen.name, "a");
}

TEST(RObjectRegistry, AFactoryMayRegisterAndCreate) {
  const RObjectFactory factory = [](IObject*, const char*, void*) {
    Object_Register("Nested", "inner", "T", CreateNamed, true, nullptr, nullptr);
    return Object_Create("Nested", "inner");
  };
  Object_Register("Nested", "outer", "T", factory, true, nullptr, nullptr);
  EXPECT_EQ(NameAndDestroy(Object_Create("Nested", "outer")), "inner");
}

TEST(RObjectRegistry, RegistersAndCreatesFromManyThreads) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < 100; ++i) {
        const std::string name = std::to_string(t) + '-' + std::to_string(i);
        EXPECT_TRUE(Object_Register("Threads", name.c_str(), "T", CreateNamed, true, nullptr, nullptr));
        EXPECT_EQ(NameAndDestroy(Object_Create("Threads", name.c_str())), name);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(Object_GetRegistrations("Threads").size(), 400U);
}

}  // namespace
