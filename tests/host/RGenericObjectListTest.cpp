#include "rbaselib/RGenericObjectList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "rbaselib/RObject.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The typed faces over the list reach it through the same protected functions.
struct List : RGenericObjectList {
  using RGenericObjectList::InternalAdd;
  using RGenericObjectList::InternalInsertAt;
  using RGenericObjectList::InternalRemove;
  using RGenericObjectList::InternalSetAt;

  std::vector<RObject*> Elements() const {
    std::vector<RObject*> elements;
    for (int i = 0; i < GetCount(); ++i) elements.push_back(GetAt(i));
    return elements;
  }
};

class RGenericObjectListTest : public testing::Test {
 protected:
  RObject mA{"a", nullptr};
  RObject mB{"b", nullptr};
  RObject mC{"c", nullptr};
  List mList;
};

TEST_F(RGenericObjectListTest, StartsEmpty) {
  EXPECT_EQ(mList.GetCount(), 0);
  EXPECT_EQ(mList.GetAt(0), nullptr);
  EXPECT_EQ(mList.Find(&mA), -1);
  EXPECT_FALSE(mList.InternalRemove(&mA));
  EXPECT_EQ(mList.InternalSetAt(0, &mA), -1);
  mList.RemoveAll();
}

TEST_F(RGenericObjectListTest, AddReturnsTheIndex) {
  EXPECT_EQ(mList.InternalAdd(&mA), 0);
  EXPECT_EQ(mList.InternalAdd(&mB), 1);
  EXPECT_EQ(mList.InternalAdd(&mA), 2) << "an object may be listed twice";
  EXPECT_THAT(mList.Elements(), ElementsAre(&mA, &mB, &mA));
}

TEST_F(RGenericObjectListTest, GetAtOutsideIsNull) {
  mList.InternalAdd(&mA);
  EXPECT_EQ(mList.GetAt(-1), nullptr);
  EXPECT_EQ(mList.GetAt(1), nullptr);
}

TEST_F(RGenericObjectListTest, InsertReturnsTheIndexOrMinusOne) {
  EXPECT_EQ(mList.InternalInsertAt(0, &mB), 0);
  EXPECT_EQ(mList.InternalInsertAt(0, &mA), 0);
  EXPECT_EQ(mList.InternalInsertAt(2, &mC), 2);
  EXPECT_EQ(mList.InternalInsertAt(4, &mC), -1);
  EXPECT_EQ(mList.InternalInsertAt(-1, &mC), -1);
  EXPECT_THAT(mList.Elements(), ElementsAre(&mA, &mB, &mC));
}

TEST_F(RGenericObjectListTest, SetReplacesInPlace) {
  mList.InternalAdd(&mA);
  mList.InternalAdd(&mB);
  EXPECT_EQ(mList.InternalSetAt(0, &mC), 0);
  EXPECT_EQ(mList.InternalSetAt(2, &mC), -1);
  EXPECT_EQ(mList.InternalSetAt(-1, &mC), -1);
  EXPECT_THAT(mList.Elements(), ElementsAre(&mC, &mB));
}

TEST_F(RGenericObjectListTest, RemovesTheFirstPlaceOnly) {
  for (RObject* object : {&mA, &mB, &mA}) mList.InternalAdd(object);
  EXPECT_EQ(mList.Find(&mA), 0);
  EXPECT_TRUE(mList.InternalRemove(&mA));
  EXPECT_THAT(mList.Elements(), ElementsAre(&mB, &mA));
  EXPECT_FALSE(mList.InternalRemove(&mC));
  EXPECT_FALSE(mList.InternalRemove(nullptr));
}

TEST_F(RGenericObjectListTest, RemoveAllForgetsTheElements) {
  mList.InternalAdd(&mA);
  mList.RemoveAll();
  EXPECT_THAT(mList.Elements(), IsEmpty());
  EXPECT_EQ(mList.InternalAdd(&mB), 0);
}

TEST_F(RGenericObjectListTest, DoesNotOwnItsElements) {
  const int before = RObject::ClassInstanceCount;
  {
    List list;
    list.InternalAdd(&mA);
  }
  EXPECT_EQ(RObject::ClassInstanceCount, before);
}

TEST_F(RGenericObjectListTest, CopyHasAnArrayOfItsOwn) {
  mList.InternalAdd(&mA);
  mList.InternalAdd(&mB);
  List copy(mList);
  copy.InternalRemove(&mA);
  mList.InternalSetAt(1, &mC);
  EXPECT_THAT(copy.Elements(), ElementsAre(&mB));
  EXPECT_THAT(mList.Elements(), ElementsAre(&mA, &mC));
}

TEST_F(RGenericObjectListTest, AssignmentReplacesTheElements) {
  mList.InternalAdd(&mA);
  List other;
  other.InternalAdd(&mB);
  other.InternalAdd(&mC);
  mList = other;
  EXPECT_THAT(mList.Elements(), ElementsAre(&mB, &mC));
  EXPECT_THAT(other.Elements(), ElementsAre(&mB, &mC));
  const List& itself = mList;
  mList = itself;
  EXPECT_THAT(mList.Elements(), ElementsAre(&mB, &mC));
  mList = List();
  EXPECT_THAT(mList.Elements(), IsEmpty());
}

TEST_F(RGenericObjectListTest, MovingEmptiesTheSource) {
  mList.InternalAdd(&mA);
  List moved(std::move(mList));
  EXPECT_THAT(moved.Elements(), ElementsAre(&mA));
  EXPECT_THAT(mList.Elements(), IsEmpty());  // NOLINT(bugprone-use-after-move): that is the point
  List target;
  target.InternalAdd(&mB);
  target = std::move(moved);
  EXPECT_THAT(target.Elements(), ElementsAre(&mA));
  EXPECT_THAT(moved.Elements(), IsEmpty());  // NOLINT(bugprone-use-after-move): that is the point
  moved.InternalAdd(&mC);
  EXPECT_THAT(moved.Elements(), ElementsAre(&mC));
  List& itself = target;
  target = std::move(itself);
  EXPECT_THAT(target.Elements(), ElementsAre(&mA));
}

}  // namespace
