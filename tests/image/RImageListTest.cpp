// Tests of the list of images.
#include "image/RImageList.h"

#include <gtest/gtest.h>

#include <utility>

#include "support/ImageProbe.h"

namespace {

class RImageListTest : public testing::Test {
 protected:
  RImage mA;
  RImage mB;
  RImage mC;
  RImageList mList;
};

TEST_F(RImageListTest, StartsEmpty) {
  EXPECT_EQ(mList.GetCount(), 0);
  EXPECT_EQ(mList[0], nullptr);
  EXPECT_EQ(mList[-1], nullptr);
  EXPECT_FALSE(mList.Remove(&mA));
}

TEST_F(RImageListTest, AddReturnsTheIndex) {
  EXPECT_EQ(mList.Add(&mA), 0);
  EXPECT_EQ(mList.Add(&mB), 1);
  EXPECT_EQ(mList.Add(&mA), 2);
  EXPECT_EQ(mList.GetCount(), 3);
  EXPECT_EQ(mList[0], &mA);
  EXPECT_EQ(mList[1], &mB);
  EXPECT_EQ(mList[2], &mA);
  EXPECT_EQ(mList[3], nullptr);
}

TEST_F(RImageListTest, InsertAtMovesTheOthersUp) {
  mList.Add(&mA);
  mList.Add(&mB);
  EXPECT_EQ(mList.InsertAt(1, &mC), 1);
  EXPECT_EQ(mList[0], &mA);
  EXPECT_EQ(mList[1], &mC);
  EXPECT_EQ(mList[2], &mB);
  EXPECT_EQ(mList.InsertAt(3, &mA), 3) << "at the end";
  EXPECT_EQ(mList.InsertAt(5, &mA), -1);
  EXPECT_EQ(mList.InsertAt(-1, &mA), -1);
  EXPECT_EQ(mList.GetCount(), 4);
}

TEST_F(RImageListTest, SetAtReplaces) {
  mList.Add(&mA);
  EXPECT_EQ(mList.SetAt(0, &mB), 0);
  EXPECT_EQ(mList[0], &mB);
  EXPECT_EQ(mList.SetAt(1, &mB), -1);
  EXPECT_EQ(mList.GetCount(), 1);
}

TEST_F(RImageListTest, RemoveTakesTheFirstPlace) {
  mList.Add(&mA);
  mList.Add(&mB);
  mList.Add(&mA);
  EXPECT_TRUE(mList.Remove(&mA));
  EXPECT_EQ(mList.GetCount(), 2);
  EXPECT_EQ(mList[0], &mB);
  EXPECT_EQ(mList[1], &mA);
  EXPECT_FALSE(mList.Remove(&mC));
}

TEST_F(RImageListTest, NeitherCopiesNorOwnsTheImages) {
  const test::ProbePtr image = test::MakeNoiseImage(kImageFormatRGBA, 2, 2);
  {
    RImageList list;
    list.Add(image.get());
  }
  EXPECT_EQ(test::PixelsOf(*image), test::NoisePixels(16));
}

TEST_F(RImageListTest, CopiesAndMovesAreMemberWise) {
  mList.Add(&mA);
  RImageList copy(mList);
  copy.Add(&mB);
  EXPECT_EQ(mList.GetCount(), 1) << "a copy has pointers of its own";
  EXPECT_EQ(copy[0], &mA);

  RImageList moved(std::move(copy));
  EXPECT_EQ(moved.GetCount(), 2);
  EXPECT_EQ(moved[1], &mB);

  RImageList assigned;
  assigned.Add(&mC);
  assigned = mList;
  EXPECT_EQ(assigned.GetCount(), 1);
  EXPECT_EQ(assigned[0], &mA);
  assigned = std::move(moved);
  EXPECT_EQ(assigned.GetCount(), 2);
}

}  // namespace
