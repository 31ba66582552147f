// Tests of the files of a frame, and of those that a sequence both reads and writes.
#include "FrameFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "FrameOverlap.h"
#include "RealNames.h"
#include "support/TestData.h"

namespace {

namespace fs = std::filesystem;

class FrameFilesTest : public testing::Test {
 protected:
  FrameNames Names(const std::vector<std::string>& inputs, const std::string& output) const {
    FrameNames names{{}, mFolder.Path(output)};
    for (const std::string& input : inputs) names.inputs.push_back(mFolder.Path(input));
    return names;
  }
  // "file: writer, reader", or nothing.
  std::string Overlap(const FrameNames& names, const std::vector<int>& frames) const {
    const auto overlap = FindOverlap(names, frames);
    if (!overlap) return "";
    return fs::path(overlap->file).filename().string() + ": " + std::to_string(overlap->writer) + ", " +
           std::to_string(overlap->reader);
  }

  test::TemporaryFolder mFolder;
};

TEST_F(FrameFilesTest, WithoutFramesEveryNameStandsForItself) {
  const FrameNames names = Names({"a.#.png", "b.png"}, "a.#.png");
  const FrameFiles files(names);
  EXPECT_EQ(files.Input(names.inputs[0]), names.inputs[0]);
  EXPECT_EQ(files.Input(names.inputs[1]), names.inputs[1]);
  EXPECT_EQ(files.Output(), names.output);
}

TEST_F(FrameFilesTest, TheOutputIsTheFramesOwnWhateverStandsInForAnInputOfThatName) {
  (void)mFolder.Write("a.2.png", {1});
  const FrameNames names = Names({"a.#.png"}, "a.#.png");
  const std::vector<int> frames = {1, 2, 3};
  for (const MissingPolicy policy : {MissingPolicy::kHold, MissingPolicy::kBlack}) {
    const FrameFiles files(names, 3, frames, policy);
    EXPECT_EQ(files.Input(names.inputs[0]), mFolder.Path("a.2.png"));
    EXPECT_EQ(files.Output(), mFolder.Path("a.3.png"));
  }
}

TEST_F(FrameFilesTest, NoFileIsBlackAndItselfInOneFrame) {
  (void)mFolder.Write("a.2.png", {1});
  const FrameNames names = Names({"a.2.png", "a.#.png"}, "b.#.png");
  const std::vector<int> frames = {1, 2, 3};
  for (const int frame : {1, 3}) {
    EXPECT_NO_THROW(FrameFiles(names, 3, frames, MissingPolicy::kHold)) << frame;
    try {
      const FrameFiles files(names, frame, frames, MissingPolicy::kBlack);
      ADD_FAILURE() << frame;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.Code(), ExitCode::kRead);
      EXPECT_EQ(failure.what(), "rimage: " + mFolder.Path("a.2.png") +
                                    ": it would stand in as black for a missing frame and is read itself as "
                                    "well (--missing=hold lets it stand in as it is)");
    }
  }
  EXPECT_EQ(FrameFiles(names, 2, frames, MissingPolicy::kBlack).Input(names.inputs[1]),
            mFolder.Path("a.2.png"));
}

TEST_F(FrameFilesTest, FramesThatReplaceThemselvesAreFound) {
  EXPECT_EQ(Overlap(Names({"a.#.png"}, "b.#.png"), {1, 2}), "");
  EXPECT_EQ(Overlap(Names({"a.#.png"}, "a.#.png"), {}), "");
  EXPECT_EQ(Overlap(Names({"a.#.png"}, "a.#.png"), {4, 2}), "a.4.png: 4, 4");
  EXPECT_EQ(Overlap(Names({"b.#.png", "a.%d.png"}, "a.#.png"), {1, 2}), "a.1.png: 1, 1");
  EXPECT_EQ(Overlap(Names({"a.2.png"}, "a.#.png"), {2}), "a.2.png: 2, 2");
  EXPECT_EQ(Overlap(Names({"a.####.png"}, "a.%d.png"), {1, 20, 1234}), "a.1234.png: 1234, 1234");
}

TEST_F(FrameFilesTest, FilesOfOtherFramesComeFirst) {
  EXPECT_EQ(Overlap(Names({"a.2.png"}, "a.#.png"), {1, 2, 3}), "a.2.png: 2, 1");
  EXPECT_EQ(Overlap(Names({"a.1.png"}, "a.#.png"), {1, 2, 3}), "a.1.png: 1, 3");
  EXPECT_EQ(Overlap(Names({"a.4.png"}, "a.#.png"), {1, 2, 3}), "") << "no frame of the list";
  EXPECT_EQ(Overlap(Names({"a.#.png", "a.3.png"}, "a.#.png"), {1, 2, 3}), "a.3.png: 3, 1");
  EXPECT_EQ(Overlap(Names({"a1#.png"}, "a#1.png"), {2, 12, 21}), "a121.png: 12, 21");
}

TEST_F(FrameFilesTest, OverlapsAreFoundThroughLinks) {
  fs::create_directory(mFolder.Path("real"));
  fs::create_directory_symlink("real", mFolder.Path("alias"));
  EXPECT_EQ(Overlap(Names({"real/a.#.png"}, "alias/a.#.png"), {1}), "a.1.png: 1, 1");
  EXPECT_EQ(Overlap(Names({"real/../real/a.#.png"}, "./alias//a.#.png"), {1}), "a.1.png: 1, 1");
  EXPECT_EQ(Overlap(Names({"a.#.png"}, "alias/a.#.png"), {1}), "");
  fs::create_symlink("../b.2.png", mFolder.Path("real/out.1.png"));
  EXPECT_EQ(Overlap(Names({"b.#.png"}, "real/out.#.png"), {1, 2}), "out.1.png: 1, 2") << "not there yet";
}

TEST_F(FrameFilesTest, HardLinksAreFilesOfTheirOwn) {
  fs::create_hard_link(mFolder.Write("a.1.png", {1}), mFolder.Path("b.1.png"));
  EXPECT_EQ(Overlap(Names({"a.#.png"}, "b.#.png"), {1}), "");
}

TEST_F(FrameFilesTest, LinksInACircleAndMissingFoldersHaveNamesAsWell) {
  fs::create_symlink("b.png", mFolder.Path("a.png"));
  fs::create_symlink("a.png", mFolder.Path("b.png"));
  EXPECT_TRUE(IsSameFile(mFolder.Path("a.png"), mFolder.Path("./a.png")));
  EXPECT_TRUE(IsSameFile(mFolder.Path("none/a.png"), mFolder.Path("none/../none/a.png")));
  EXPECT_FALSE(IsSameFile(mFolder.Path("none/a.png"), mFolder.Path("a.png")));
  EXPECT_TRUE(IsSameFile("x.png", "./x.png"));
  EXPECT_TRUE(IsSameFile("x.png", fs::absolute("x.png").string()));
}

}  // namespace
