// Tests of lists of frames and of the names that they make.
#include "FrameNumbers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "support/TestData.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

TEST(ParseFrames, ReadsNumbersRangesAndSteps) {
  EXPECT_THAT(ParseFrames("7"), Optional(ElementsAre(7)));
  EXPECT_THAT(ParseFrames("1-4"), Optional(ElementsAre(1, 2, 3, 4)));
  EXPECT_THAT(ParseFrames("1-10x3"), Optional(ElementsAre(1, 4, 7, 10)));
  EXPECT_THAT(ParseFrames("1-9x3"), Optional(ElementsAre(1, 4, 7)));
  EXPECT_THAT(ParseFrames("5-1x2"), Optional(ElementsAre(5, 3, 1)));
  EXPECT_THAT(ParseFrames("0008-0010"), Optional(ElementsAre(8, 9, 10)));
  EXPECT_THAT(ParseFrames("10,1-3,20-24x2"), Optional(ElementsAre(10, 1, 2, 3, 20, 22, 24)));
  EXPECT_THAT(ParseFrames("-2-1"), Optional(ElementsAre(-2, -1, 0, 1)));
  EXPECT_THAT(ParseFrames("-1--3"), Optional(ElementsAre(-1, -2, -3)));
}

TEST(ParseFrames, NamesEachNumberOnceWhereItIsMetFirst) {
  EXPECT_THAT(ParseFrames("3,1-5,5-7"), Optional(ElementsAre(3, 1, 2, 4, 5, 6, 7)));
}

TEST(ParseFrames, RefusesEverythingElse) {
  for (const char* text :
       {"",        ",",     "1,",        ",1",   "1-",         "-",          "x2",         "1x",
        "1-5x",    "1-5x0", "1-5x-1",    "1..5", "a",          "1 - 5",      "1-5 ",       "+1",
        "1-5x2x2", "1-2-3", "0x10-0x12", "1.5",  "9999999999", "1000000000", "-1000000000"}) {
    EXPECT_EQ(ParseFrames(text), std::nullopt) << text;
  }
}

TEST(ParseFrames, TakesAMillionFramesAndNoMore) {
  EXPECT_EQ(ParseFrames("1-1000000").value().size(), kMostFrames);
  EXPECT_EQ(ParseFrames("1-1000001"), std::nullopt);
  EXPECT_EQ(ParseFrames("1-999999,-1--2"), std::nullopt);
  EXPECT_EQ(ParseFrames("-999999999-999999999"), std::nullopt);
  EXPECT_THAT(ParseFrames("-999999999-999999999x999999999"), Optional(ElementsAre(-999999999, 0, 999999999)));
}

TEST(ParseShard, ReadsAPartOfAWhole) {
  const auto shard = ParseShard("2/8");
  ASSERT_TRUE(shard);
  EXPECT_EQ(shard->index, 2);
  EXPECT_EQ(shard->count, 8);
  for (const char* text : {"", "/", "1", "1/", "/2", "0/2", "3/2", "-1/2", "1/0", "1/2/3", "1/2 ", "a/b"})
    EXPECT_FALSE(ParseShard(text)) << text;
}

TEST(FramesOf, PartsAreDisjointAndMakeTheWhole) {
  const std::vector<int> frames = {5, 4, 3, 2, 1, 10, 20};
  for (int count = 1; count <= 9; ++count) {
    std::multiset<int> all;
    std::size_t least = frames.size();
    std::size_t most = 0;
    for (int index = 1; index <= count; ++index) {
      const auto part = FramesOf(frames, {index, count});
      all.insert(part.begin(), part.end());
      least = std::min(least, part.size());
      most = std::max(most, part.size());
    }
    EXPECT_EQ(all, std::multiset<int>(frames.begin(), frames.end())) << count;
    EXPECT_LE(most - least, 1U) << count;
  }
  EXPECT_THAT(FramesOf(frames, {2, 3}), ElementsAre(4, 1));
}

TEST(FrameName, PutsTheNumberInPlaceOfEveryPattern) {
  EXPECT_EQ(FrameName("shot.####.tga", 7), "shot.0007.tga");
  EXPECT_EQ(FrameName("shot.####.tga", 12345), "shot.12345.tga");
  EXPECT_EQ(FrameName("shot.#.tga", 12), "shot.12.tga");
  EXPECT_EQ(FrameName("shot.%04d.tga", 7), "shot.0007.tga");
  EXPECT_EQ(FrameName("shot.%d.tga", 7), "shot.7.tga");
  EXPECT_EQ(FrameName("%02d/shot.###.tga", 7), "07/shot.007.tga");
  EXPECT_EQ(FrameName("shot.####.tga", -7), "shot.-007.tga");
}

TEST(FrameName, LeavesOtherNames) {
  for (const char* name : {"", "shot.tga", "100%25.png", "50%.png", "%", "%0d.png", "%04.png", "%10d.png",
                           "%x.png", "%4d.png"}) {
    EXPECT_FALSE(IsFramePattern(name)) << name;
    EXPECT_EQ(FrameName(name, 7), name);
  }
  EXPECT_TRUE(IsFramePattern("a#.png"));
  EXPECT_TRUE(IsFramePattern("a%d.png"));
  EXPECT_TRUE(IsFramePattern("a%09d.png"));
}

TEST(FindFrames, FindsTheFilesOfThePatternAlone) {
  const test::TemporaryFolder folder;
  for (const char* name :
       {"a.0003.png", "a.0001.png", "a.12345.png", "a.-007.png", "a.01.png", "a.0002.png.old", "a.x.png",
        "b.0004.png", "a.00005.png", "a.0006", "a.", "a.+006.png"}) {
    (void)folder.Write(name, {1});
  }
  EXPECT_THAT(FindFrames(folder.Path("a.####.png")), ElementsAre(-7, 1, 3, 12345));
  EXPECT_THAT(FindFrames(folder.Path("a.%02d.png")), ElementsAre(1, 12345));
  EXPECT_THAT(FindFrames(folder.Path("c.####.png")), IsEmpty());
  EXPECT_THAT(FindFrames(folder.Path("none/a.####.png")), IsEmpty());
  EXPECT_THAT(FindFrames(folder.Path("a.0001.png")), IsEmpty());
}

TEST(FindFrames, NumbersThatStandTwiceMustBeTheSame) {
  const test::TemporaryFolder folder;
  for (const char* name : {"1_01.png", "1_02.png", "2_02.png"}) (void)folder.Write(name, {1});
  EXPECT_THAT(FindFrames(folder.Path("#_##.png")), ElementsAre(1, 2));
}

}  // namespace
