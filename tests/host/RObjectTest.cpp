#include "rbaselib/RObject.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "rbaselib/RProperty.h"
#include "rbaselib/RPropertyTemplate.h"
#include "rbaselib/RStream.h"
#include "support/VirtualSlot.h"

namespace {

using testing::ElementsAre;
using Calls = std::vector<std::string>;

// Writes down the steps of its life.
class Recorder : public RObject {
 public:
  explicit Recorder(Calls& calls, const char* name = "recorder") : RObject(name, &calls), mCalls(calls) {}
  ~Recorder() override {
    RunTeardown();
    mCalls.emplace_back("~");
  }
  void Destruct() override {
    mCalls.push_back(IsTornDown() ? "Destruct" : "Destruct alone");
    if (mDestroysItself) Destroy(0);
    RObject::Destruct();
  }
  void SystemDetach() override {
    mCalls.emplace_back("SystemDetach");
    RObject::SystemDetach();
  }
  void PrepareDestruct() override {
    mCalls.push_back(GetEntity() ? "PrepareDestruct" : "PrepareDestruct without entity");
    RObject::PrepareDestruct();
  }
  bool mDestroysItself = false;

 protected:
  Calls& mCalls;
};

// A class below one with overrides, with an override of its own.
class DerivedRecorder : public Recorder {
 public:
  using Recorder::Recorder;
  ~DerivedRecorder() override { RunTeardown(); }
  void Destruct() override {
    mCalls.emplace_back("derived Destruct");
    Recorder::Destruct();
  }
};

TEST(RObject, TeardownRunsInOrderAndOnce) {
  Calls calls;
  (new Recorder(calls))->Destroy(0);
  EXPECT_THAT(calls, ElementsAre("SystemDetach", "PrepareDestruct", "Destruct", "~"));
}

TEST(RObject, TeardownReachesTheMostDerivedOverride) {
  Calls calls;
  (new DerivedRecorder(calls))->Destroy(0);
  EXPECT_THAT(calls, ElementsAre("SystemDetach", "PrepareDestruct", "derived Destruct", "Destruct", "~"));
}

TEST(RObject, TeardownRunsForStackObjects) {
  Calls calls;
  { const Recorder object(calls); }
  EXPECT_THAT(calls, ElementsAre("SystemDetach", "PrepareDestruct", "Destruct", "~"));
}

TEST(RObject, TeardownWithdrawsTheHandleLast) {
  struct Mapped : RObject {
    explicit Mapped(bool& found) : RObject(nullptr, nullptr), mFound(found), mNumber(HSDK_Map()) {}
    ~Mapped() override { RunTeardown(); }
    void Destruct() override { mFound = HSDK_Find(mNumber) == this; }
    bool& mFound;
    unsigned mNumber;
  };
  bool foundInDestruct = false;
  auto* object = new Mapped(foundInDestruct);
  const unsigned handle = object->mNumber;
  object->Destroy(0);
  EXPECT_TRUE(foundInDestruct);
  EXPECT_EQ(RObject::HSDK_Find(handle), nullptr);
}

TEST(RObject, DestroyOfAnEmbeddedObjectOnlyDestructs) {
  Calls calls;
  {
    Recorder object(calls);
    EXPECT_TRUE(object.IsDeletable());
    object.SetDeletable(false);
    object.Destroy(0);
    EXPECT_THAT(calls, ElementsAre("Destruct alone"));
    EXPECT_FALSE(object.IsTornDown());
    EXPECT_NE(object.GetEntity(), nullptr);
    calls.clear();
  }
  EXPECT_THAT(calls, ElementsAre("SystemDetach", "PrepareDestruct", "Destruct", "~"));
}

TEST(RObject, DestroyDuringTheTeardownDoesNothing) {
  Calls calls;
  auto* object = new Recorder(calls);
  object->mDestroysItself = true;
  object->Destroy(0);
  EXPECT_THAT(calls, ElementsAre("SystemDetach", "PrepareDestruct", "Destruct", "~"));
}

TEST(RObject, QueryZeroAnswersTheObjectAndOthersNull) {
  RObject object("a", nullptr);
  EXPECT_EQ(object.IQuery(0, 0), static_cast<IObject*>(&object));
  EXPECT_EQ(dynamic_cast<RObject*>(object.IQuery(0, 7)), &object);
  EXPECT_EQ(object.IQuery(1, 0), nullptr);
  EXPECT_EQ(object.IQuery(1001, 0), nullptr);
  EXPECT_EQ(object.IQuery(~0UL, 0), nullptr);
}

TEST(RObject, HoldsItself) {
  RObject object("a", nullptr);
  IVzObjectHolder& holder = object;
  EXPECT_EQ(holder.GetHeldObject(), &object);
}

TEST(RObject, CopiesItsName) {
  char name[] = "first";
  RObject object(name, nullptr);
  name[0] = 'F';
  EXPECT_STREQ(object.GetName(), "first");
  object.SetName(object.GetName() + 2);
  EXPECT_STREQ(object.GetName(), "rst");
  object.SetName(nullptr);
  EXPECT_STREQ(object.GetName(), "");
  EXPECT_STREQ(RObject(nullptr, nullptr).GetName(), "");
}

TEST(RObject, CopySharesNameAndEntityButNotTheLife) {
  int entity = 0;
  RPropertyTemplate<int> property;
  RObject original("original", &entity);
  original.PropertyAddToList(&property);
  original.SetDeletable(false);
  const unsigned handle = original.HSDK_Map();
  RObject copy(original);
  EXPECT_STREQ(copy.GetName(), "original");
  EXPECT_EQ(copy.GetEntity(), &entity);
  EXPECT_EQ(copy.GetPropertyCount(), 0);
  EXPECT_TRUE(copy.IsDeletable());
  EXPECT_NE(copy.HSDK_Map(), handle);
}

TEST(RObject, AssignmentTakesNameAndEntityOnly) {
  int entity = 0;
  RPropertyTemplate<int> property;
  RObject source("source", &entity);
  RObject target("target", nullptr);
  target.PropertyAddToList(&property);
  target.SetDeletable(false);
  const unsigned handle = target.HSDK_Map();
  target = source;
  EXPECT_STREQ(target.GetName(), "source");
  EXPECT_EQ(target.GetEntity(), &entity);
  EXPECT_EQ(target.GetPropertyCount(), 1);
  EXPECT_FALSE(target.IsDeletable());
  EXPECT_EQ(target.HSDK_Map(), handle);
  const RObject& itself = target;
  target = itself;
  EXPECT_STREQ(target.GetName(), "source");
}

TEST(RObject, AnswersItsClassInformation) {
  const RObject object(nullptr, nullptr);
  EXPECT_EQ(object.GetClassId(), RObject::ClassId);
  EXPECT_STREQ(object.GetClassIdName(), "RObject");
  EXPECT_EQ(object.GetClassDefinition(), &RObject::ClassDefinition);
  EXPECT_EQ(object.GetClassGroupId(), 0);
  EXPECT_STREQ(object.GetClassGroupName(), "Object");
  EXPECT_EQ(object.GetClassSize(), static_cast<int>(sizeof(RObject)));
  EXPECT_TRUE(object.Is(RObject::ClassId));
  EXPECT_FALSE(object.Is(RStream::ClassId));
  EXPECT_FALSE(object.Is(0));
  EXPECT_FALSE(object.Is(-1));
}

TEST(RObject, CountsLivingObjects) {
  const int before = RObject::ClassInstanceCount;
  {
    const RObject a(nullptr, nullptr);
    const RObject b(a);
    RObject c(nullptr, nullptr);
    c = a;
    EXPECT_EQ(a.GetClassInstanceCount(), before + 3);
  }
  EXPECT_EQ(RObject::ClassInstanceCount, before);
}

TEST(RObject, CountsAndMapsFromManyThreads) {
  const int before = RObject::ClassInstanceCount;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int round = 0; round < 2000; ++round) {
        auto* object = new RObject("threaded", nullptr);
        const unsigned handle = object->HSDK_Map();
        EXPECT_EQ(RObject::HSDK_Find(handle), object);
        object->Destroy(0);
        EXPECT_EQ(RObject::HSDK_Find(handle), nullptr);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(RObject::ClassInstanceCount, before);
}

TEST(RObject, MapsOnFirstUseAndFindsByHandle) {
  RObject a(nullptr, nullptr);
  RObject b(nullptr, nullptr);
  const unsigned handle = a.HSDK_Map();
  EXPECT_GE(handle, 1U);
  EXPECT_EQ(a.HSDK_Map(), handle);
  EXPECT_NE(b.HSDK_Map(), handle);
  EXPECT_EQ(RObject::HSDK_Find(handle), &a);
  a.HSDK_UnMap();
  EXPECT_EQ(RObject::HSDK_Find(handle), nullptr);
  EXPECT_EQ(RObject::HSDK_Find(b.HSDK_Map()), &b);
  a.HSDK_UnMap();
  EXPECT_NE(a.HSDK_Map(), handle) << "a withdrawn handle must not come back for another mapping";
  EXPECT_EQ(RObject::HSDK_Find(0), nullptr);
}

// --- The property list and its look-up.

struct Named {
  explicit Named(const char* name) : info{name, kPropertyInt, nullptr, nullptr} {
    property.SetPropertyInfo(&info, nullptr);
  }
  RPropertyInfo info;
  RPropertyTemplate<int> property;
};

// Gives tests the cached look-up with a cache of their own.
struct Cached : RObject {
  Cached() : RObject(nullptr, nullptr) {}
  using RObject::FastFindPropertyByName;
};

TEST(RObject, ListsPropertiesInTheOrderOfAdding) {
  RObject object(nullptr, nullptr);
  Named a("A");
  Named b("B");
  object.PropertyAddToList(&b.property);
  object.PropertyAddToList(&a.property);
  object.PropertyAddToList(&b.property);
  object.PropertyAddToList(nullptr);
  EXPECT_EQ(object.GetPropertyCount(), 2);
  EXPECT_EQ(object.GetProperty(0), &b.property);
  EXPECT_EQ(object.GetProperty(1), &a.property);
  EXPECT_EQ(object.GetProperty(2), nullptr);
  EXPECT_EQ(object.GetProperty(-1), nullptr);
}

TEST(RObject, APropertyIsOnOneListOnly) {
  Named a("A");
  RObject first(nullptr, nullptr);
  RObject second(nullptr, nullptr);
  first.PropertyAddToList(&a.property);
  second.PropertyAddToList(&a.property);
  EXPECT_EQ(first.GetPropertyCount(), 0);
  EXPECT_EQ(second.GetProperty(0), &a.property);
  first.PropertyRemoveFromList(&a.property);
  EXPECT_EQ(second.GetPropertyCount(), 1) << "it is not on that list";
  second.PropertyRemoveFromList(&a.property);
  second.PropertyRemoveFromList(nullptr);
  EXPECT_EQ(second.GetPropertyCount(), 0);
}

TEST(RObject, ADestroyedPropertyLeavesTheList) {
  RObject object(nullptr, nullptr);
  Named kept("Kept");
  {
    Named gone("Gone");
    object.PropertyAddToList(&gone.property);
    object.PropertyAddToList(&kept.property);
  }
  EXPECT_EQ(object.GetPropertyCount(), 1);
  EXPECT_EQ(object.GetProperty(0), &kept.property);
  EXPECT_EQ(object.FastFindPropertyByName("Gone"), nullptr);
}

TEST(RObject, APropertyMayOutliveItsObject) {
  Named a("A");
  (*std::make_unique<RObject>(nullptr, nullptr)).PropertyAddToList(&a.property);
  RObject other(nullptr, nullptr);
  other.PropertyAddToList(&a.property);
  EXPECT_EQ(other.GetPropertyCount(), 1);
}

TEST(RObject, DestructEmptiesTheListAndUnbindsTheSetters) {
  static int sets = 0;
  const RPropertyInfo info{"A", kPropertyInt, [](RObject*, const RPropertyValue&) { ++sets; }, nullptr};
  RPropertyTemplate<int> property;
  RObject object(nullptr, nullptr);
  property.SetPropertyInfo(&info, &object);
  object.PropertyAddToList(&property);
  object.SetDeletable(false);
  property.Set(1);
  EXPECT_EQ(sets, 1);
  object.Destroy(0);
  EXPECT_EQ(object.GetPropertyCount(), 0);
  property.Set(2);
  EXPECT_EQ(sets, 1);
  EXPECT_EQ(property.Get(), 2);
}

TEST(RObject, FindsPropertiesByTheirCharacters) {
  RObject object(nullptr, nullptr);
  Named gamma("Gamma");
  Named hue("Hue");
  object.PropertyAddToList(&gamma.property);
  object.PropertyAddToList(&hue.property);
  const std::string name = "Hue";
  EXPECT_EQ(object.FastFindPropertyByName(name.c_str()), &hue.property);
  EXPECT_EQ(object.FastFindPropertyByName("Gamma"), &gamma.property);
  EXPECT_EQ(object.FastFindPropertyByName("hue"), nullptr);
  EXPECT_EQ(object.FastFindPropertyByName("Hue "), nullptr);
  EXPECT_EQ(object.FastFindPropertyByName(""), nullptr);
  EXPECT_EQ(object.FastFindPropertyByName(nullptr), nullptr);
}

TEST(RObject, CacheHoldsTheIndexUnderThePropertysOwnName) {
  RPropertyHashMap cache;
  Cached object;
  Named gamma("Gamma");
  Named hue("Hue");
  object.PropertyAddToList(&gamma.property);
  object.PropertyAddToList(&hue.property);
  {
    const std::string callers = "Hue";
    object.FastFindPropertyByName(callers.c_str(), cache);
    object.FastFindPropertyByName("Missing", cache);
  }
  ASSERT_EQ(cache.GetCount(), 1);
  EXPECT_EQ(cache.begin()->first, hue.info.name) << "the caller's string may be gone by now";
  EXPECT_EQ(cache.begin()->second, 1);
}

TEST(RObject, CacheIsSharedByTheObjectsOfAClass) {
  RPropertyHashMap cache;
  Named first("Hue");
  Named second("Hue");
  {
    Cached gone;
    gone.PropertyAddToList(&first.property);
    EXPECT_EQ(gone.FastFindPropertyByName("Hue", cache), &first.property);
  }
  Cached object;
  object.PropertyAddToList(&second.property);
  EXPECT_EQ(object.FastFindPropertyByName("Hue", cache), &second.property);
}

TEST(RObject, CacheIsUsedForAHit) {
  RPropertyHashMap cache;
  Named first("Hue");
  Named second("Hue");
  Cached object;
  object.PropertyAddToList(&first.property);
  object.PropertyAddToList(&second.property);
  cache.Set("Hue", 1);
  EXPECT_EQ(object.FastFindPropertyByName("Hue", cache), &second.property);
}

TEST(RObject, AWrongCacheEntryIsCorrected) {
  Named hue("Hue");
  Named gain("Gain");
  for (const long long wrong : {1LL, 2LL, -1LL, 1LL << 40}) {
    RPropertyHashMap cache;
    Cached object;
    object.PropertyAddToList(&hue.property);
    object.PropertyAddToList(&gain.property);
    cache.Set("Hue", wrong);
    EXPECT_EQ(object.FastFindPropertyByName("Hue", cache), &hue.property) << wrong;
    EXPECT_EQ(*cache.Find("Hue"), 0) << wrong;
  }
}

TEST(RObject, LooksUpFromManyThreads) {
  RPropertyHashMap cache;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&cache, i] {
      Named a("A");
      Named b("B");
      Cached object;
      // The objects' orders differ, so that the threads keep correcting each other's entries.
      object.PropertyAddToList(i % 2 ? &a.property : &b.property);
      object.PropertyAddToList(i % 2 ? &b.property : &a.property);
      for (int round = 0; round < 2000; ++round) {
        EXPECT_EQ(object.FastFindPropertyByName("A", cache), &a.property);
        EXPECT_EQ(object.FastFindPropertyByName("B", cache), &b.property);
      }
    });
  }
  for (auto& thread : threads) thread.join();
}

// --- The order of virtual functions is an interface.

struct Slots : RObject {
  static std::vector<int> Own() {
    return {test::VirtualSlot(&Slots::IQuery),
            test::VirtualSlot(&Slots::GetHeldObject),
            test::VirtualSlot(&Slots::Destroy),
            test::VirtualSlot(&Slots::Destruct),
            test::VirtualSlot(&Slots::GetClassId),
            test::VirtualSlot(&Slots::GetClassIdName),
            test::VirtualSlot(&Slots::GetClassDefinition),
            test::VirtualSlot(&Slots::GetClassGroupId),
            test::VirtualSlot(&Slots::GetClassGroupName),
            test::VirtualSlot(&Slots::GetClassSize),
            test::VirtualSlot(&Slots::GetClassInstanceCount),
            test::VirtualSlot(&Slots::Is),
            test::VirtualSlot<RProperty* (RObject::*)(const char*) const>(&RObject::FastFindPropertyByName),
            test::VirtualSlot(&Slots::SystemDetach),
            test::VirtualSlot(&Slots::PrepareDestruct)};
  }
};

TEST(RObject, SlotsStandInTheirOrder) {
  // Slots 1 and 2 are the destructors.
  EXPECT_THAT(Slots::Own(), ElementsAre(0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16));
  EXPECT_EQ(test::VirtualSlot(&RObject::GetName), -1);
  EXPECT_EQ(test::VirtualSlot(&IObject::IQuery), 0);
  EXPECT_EQ(test::VirtualSlot(&IVzObjectHolder::GetHeldObject), 0);
}

}  // namespace
