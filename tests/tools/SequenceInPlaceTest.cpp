// Sequences that are written where they are read: which are refused, before anything is read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "SequenceFrames.h"

namespace {

namespace fs = std::filesystem;
using test::Arguments;
using test::ColourOf;
using test::RunTool;
using test::Sequence;
using testing::ElementsAre;

TEST_F(Sequence, FramesMayReplaceThemselves) {
  MakeFrames({1, 2});
  const std::string pattern = mFolder.Path("in.####.png");
  EXPECT_EQ(RunTool({"convert", pattern, pattern, "--flip", "--frames", "all"}).code, 0);
  EXPECT_THAT(test::ListFolder(mFolder.Path("")), ElementsAre("in.0001.png", "in.0002.png"));
}

// Which frame comes first is nobody's choice, so that one that was replaced cannot be told from one that was
// not. Whatever the names are, it is found before anything is read: damaged frames and missing OpenGL do not
// matter.
class ReplacedFrames : public Sequence, public testing::WithParamInterface<Arguments> {
 protected:
  void SetUp() override {
    MakeFrames({1, 2, 4});
    (void)mFolder.Write("in.0005.png", {1, 2, 3});
    fs::create_directory_symlink(".", mFolder.Path("folder"));
    fs::create_symlink("in.0002.png", mFolder.Path("link.0002.png"));
    const std::string graph = R"({"nodes": {"x": {"operator": "correct", "inputs": ["in.####.png"]}}})";
    (void)mFolder.Write("graph.json", {graph.begin(), graph.end()});
  }

  std::map<std::string, std::vector<unsigned char>> Contents() const {
    std::map<std::string, std::vector<unsigned char>> contents;
    for (const std::string& name : test::ListFolder(mFolder.Path("")))
      if (fs::is_regular_file(mFolder.Path(name))) contents[name] = test::ReadFile(mFolder.Path(name));
    return contents;
  }
  // Runs the command from the folder, from the first word on to OUT, which is the last.
  void Refuse(const std::string& output, const Arguments& more, const std::string& message) const {
    Arguments arguments = GetParam();
    arguments.push_back(output);
    arguments.insert(arguments.end(), {"--frames", "1-5"});
    arguments.insert(arguments.end(), more.begin(), more.end());
    SCOPED_TRACE(testing::PrintToString(arguments));
    const auto before = Contents();
    const auto result = RunTool(arguments, {.folder = mFolder.Path("")});
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.errors, "rimage: " + message + "\n");
    EXPECT_EQ(Contents(), before);
  }
};

TEST_P(ReplacedFrames, StandInForNoOthers) {
  const std::string message = ", cannot stand in for others (another name for OUT keeps it)";
  for (const char* policy : {"hold", "black"}) {
    const Arguments missing = {"--missing", policy};
    for (const std::string& pattern :
         {std::string("in.####.png"), std::string("./in.%04d.png"), std::string("folder/in.####.png"),
          "folder/../" + fs::path(mFolder.Path("")).parent_path().filename().string() + "/in.####.png",
          mFolder.Path("in.####.png")}) {
      std::string first = pattern;
      first.replace(first.find_last_of("#d") - 3, 4, "0001");
      Refuse(pattern, missing, "--missing: frames that replace themselves, such as " + first + message);
    }
    Refuse("link.####.png", missing,
           "--missing: frames that replace themselves, such as link.0002.png" + message);
  }
}

TEST_P(ReplacedFrames, DoNotTellWhetherTheyAreDone) {
  Refuse("in.####.png", {"--resume"},
         "--resume: frames that replace themselves, such as in.0001.png, do not tell whether they are done "
         "(another name for OUT keeps it)");
}

INSTANTIATE_TEST_SUITE_P(
    All, ReplacedFrames,
    testing::Values(Arguments{"convert", "--flip", "in.####.png"},
                    Arguments{"correct", "--set", "Gamma=2", "in.####.png"}, Arguments{"key", "in.####.png"},
                    Arguments{"blend", "in.0009.png", "in.####.png"},
                    Arguments{"stereo", "--mode", "checkerboard", "in.####.png", "in.0009.png"},
                    Arguments{"graph", "graph.json"}),
    [](const auto& row) { return row.param.front(); });

TEST_F(Sequence, AFrameThatOthersReadIsNotReplaced) {
  MakeFrames({1, 2, 3});
  const auto before = test::ReadFile(In(3));
  const auto result = RunTool({"convert", In(3), mFolder.Path("in.####.png"), "--flip", "--frames", "1-4"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.errors, "rimage: " + In(3) +
                               ": frame 3 would replace it, and frame 1 reads it (another name for OUT keeps "
                               "it)\n");
  EXPECT_EQ(test::ReadFile(In(3)), before);
  EXPECT_FALSE(fs::exists(In(4)));
}

TEST_F(Sequence, MissingFramesOfWhatReplacesItselfAreSkipped) {
  for (const int frame : {1, 3}) test::Save(test::MakeImage(1, {0xFF102030, ColourOf(frame)}), In(frame));
  const std::string pattern = mFolder.Path("in.####.png");
  const auto result = RunTool({"convert", pattern, pattern, "--flip", "--frames", "1-4", "--missing=skip"});
  EXPECT_EQ(result.code, 0);
  EXPECT_THAT(test::ListFolder(mFolder.Path("")), ElementsAre("in.0001.png", "in.0003.png"));
  for (const int frame : {1, 3}) EXPECT_EQ(test::Load(In(frame)).pixel(0, 0), ColourOf(frame)) << frame;
}

}  // namespace
