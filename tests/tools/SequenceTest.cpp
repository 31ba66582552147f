// Commands over sequences of frames: which files they read and write, and what becomes of the others.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "BadDecoder.h"
#include "SequenceFrames.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test::Arguments;
using test::RunTool;
using test::Sequence;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// --- Which frames.

TEST_F(Sequence, EveryFrameOfTheListIsWritten) {
  MakeFrames({1, 2, 3, 4, 5, 6});
  const auto result = Convert({"--frames", "1-4x2,6"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.output + result.errors, "");
  EXPECT_THAT(Written(), ElementsAre(1, 3, 6));
  for (const int frame : Written()) EXPECT_TRUE(Shows(frame, frame)) << frame;
}

TEST_F(Sequence, AllAreThoseThatTheInputFinds) {
  MakeFrames({2, 5, 9});
  EXPECT_EQ(Convert({"--frames", "all"}).code, 0);
  EXPECT_THAT(Written(), ElementsAre(2, 5, 9));
}

TEST_F(Sequence, BothSpellingsOfPatternsAreTaken) {
  MakeFrames({1, 2});
  const auto result =
      RunTool({"convert", mFolder.Path("in.%04d.png"), mFolder.Path("out_%d_###.png"), "--frames", "1-2"});
  EXPECT_EQ(result.code, 0) << result.errors;
  EXPECT_THAT(test::ListFolder(mFolder.Path("")),
              ElementsAre("in.0001.png", "in.0002.png", "out_1_001.png", "out_2_002.png"));
}

TEST_F(Sequence, WithoutFramesNamesAreNoPatterns) {
  MakeFrames({1});
  fs::copy(In(1), mFolder.Path("in.####.png"));
  EXPECT_EQ(Convert({}).code, 0);
  EXPECT_TRUE(fs::exists(mFolder.Path("out.####.png")));
}

TEST_F(Sequence, AStillMakesASequence) {
  MakeFrames({7});
  EXPECT_EQ(RunTool({"convert", In(7), mFolder.Path("out.####.png"), "--frames", "1-3"}).code, 0);
  EXPECT_THAT(Written(), ElementsAre(1, 2, 3));
  EXPECT_TRUE(Shows(2, 7));
}

TEST_F(Sequence, PicturesOfAlphaAreSequencesToo) {
  MakeFrames({1, 2});
  for (const int frame : {1, 2}) {
    const QRgb alpha = qRgb(0, 0, 100 * frame);
    test::Save(test::MakeImage(2, {alpha, alpha}), mFolder.Path(fmt::format("a.{}.png", frame)));
  }
  EXPECT_EQ(Convert({"--frames", "1-2", "--merge-alpha", mFolder.Path("a.#.png")}).code, 0);
  EXPECT_EQ(qAlpha(test::Load(Out(1)).pixel(0, 0)), 100);
  EXPECT_EQ(qAlpha(test::Load(Out(2)).pixel(0, 0)), 200);
}

struct Mistake {
  const char* name;
  Arguments arguments;
  int code;
  const char* message;
};

class SequenceMistakes : public Sequence, public testing::WithParamInterface<Mistake> {};

TEST_P(SequenceMistakes, AreTold) {
  const auto result = RunTool(GetParam().arguments, {.folder = mFolder.Path("")});
  EXPECT_EQ(result.code, GetParam().code);
  EXPECT_EQ(result.errors, std::string("rimage: ") + GetParam().message + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    All, SequenceMistakes,
    testing::Values(
        Mistake{
            "list",
            {"convert", "a.#.png", "b.#.png", "--frames", "1-x"},
            2,
            "--frames: wrong value '1-x' (such as 1-100, 1-100x2 or 1-9,20, up to 1000000 frames; or all)"},
        Mistake{"shard",
                {"convert", "a.#.png", "b.#.png", "--frames", "1-2", "--shard", "3/2"},
                2,
                "--shard: wrong value '3/2' (I/N with I from 1 to N, such as 2/8)"},
        Mistake{"output",
                {"convert", "a.#.png", "b.png", "--frames", "1-2"},
                2,
                "b.png: every frame would replace the one before (a name such as out.####.png has one file a "
                "frame)"},
        Mistake{"allWithoutPattern",
                {"convert", "a.png", "b.#.png", "--frames", "all"},
                2,
                "--frames: wrong value 'all' (no input is a pattern such as in.####.png)"},
        Mistake{"allOfNone",
                {"convert", "a.#.png", "b.#.png", "--frames", "all"},
                3,
                "a.#.png: there is no such frame"},
        Mistake{"resumeWithoutFrames",
                {"convert", "a.png", "b.png", "--resume"},
                2,
                "--resume: it needs --frames"},
        Mistake{
            "extension",
            {"convert", "a.#.png", "b.#.xyz", "--frames", "1-9"},
            4,
            "b.#.xyz: no way to write the extension 'xyz' (known: bmp, jpeg, jpg, png, tga, tif, tiff, yuv)"},
        Mistake{"explain",
                {"correct", "a.#.png", "b.#.png", "--frames", "1-2", "--explain"},
                2,
                "--explain: it is for one picture (leave out --frames)"},
        Mistake{"save",
                {"correct", "a.#.png", "b.#.png", "--frames", "1-2", "--save", "g.json"},
                2,
                "--save: it is for one picture (leave out --frames)"}),
    [](const auto& row) { return row.param.name; });

// --- Missing frames.

TEST_F(Sequence, AMissingFrameIsAnError) {
  MakeFrames({1, 3});
  const auto result = Convert({"--frames", "1-3"});
  EXPECT_EQ(result.code, 3);
  EXPECT_EQ(result.errors, "rimage: " + In(2) + ": the frame is missing (--missing tells what to do)\n" +
                               "rimage: convert: 1 of 3 frames failed, 1 written\n");
  EXPECT_THAT(Written(), ElementsAre(1));
}

TEST_F(Sequence, MissingFramesAreLeftOut) {
  MakeFrames({1, 4});
  const auto result = Convert({"--frames", "1-4", "--missing", "skip"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.errors, "rimage: convert: 2 of 4 frames are missing and left out\n");
  EXPECT_THAT(Written(), ElementsAre(1, 4));
}

TEST_F(Sequence, MissingFramesAreHeldFromTheOneBefore) {
  MakeFrames({2, 5});
  const auto result = Convert({"--frames", "1-6", "--missing=hold", "--keep-going"});
  EXPECT_EQ(result.code, 1);
  EXPECT_THAT(result.errors, StartsWith("rimage: " + In(1) +
                                        ": the frame is missing (there is no earlier frame to hold)\n"));
  EXPECT_THAT(Written(), ElementsAre(2, 3, 4, 5, 6));
  EXPECT_TRUE(Shows(3, 2));
  EXPECT_TRUE(Shows(4, 2));
  EXPECT_TRUE(Shows(6, 5));
}

TEST_F(Sequence, OnlyFramesOfTheListAreHeld) {
  MakeFrames({1, 2});
  EXPECT_EQ(Convert({"--frames", "1-3x2", "--missing=hold"}).code, 0);
  EXPECT_TRUE(Shows(3, 1));
}

// A part of the sequence holds frames of the others.
TEST_F(Sequence, PartsHoldFramesOfTheWhole) {
  MakeFrames({1});
  EXPECT_EQ(Convert({"--frames", "1-4", "--missing=hold", "--shard", "3/4"}).code, 0);
  EXPECT_THAT(Written(), ElementsAre(3));
  EXPECT_TRUE(Shows(3, 1));
}

TEST_F(Sequence, MissingFramesAreBlack) {
  test::Save(test::MakeTranslucent(5, 4), In(3));
  test::Save(test::MakeOpaque(7, 6), In(6));
  EXPECT_EQ(Convert({"--frames", "1-7", "--missing=black"}).code, 0);
  for (const int frame : {1, 2, 4, 5}) {
    const QImage image = test::Load(Out(frame));
    EXPECT_EQ(image.size(), QSize(5, 4)) << frame;
    EXPECT_EQ(test::PixelsOf(image), test::Pixels(20, 0)) << "transparent, as parts of the frame beside";
  }
  EXPECT_EQ(test::PixelsOf(test::Load(Out(3))), test::PixelsOf(test::MakeTranslucent(5, 4)));
  EXPECT_EQ(test::PixelsOf(test::Load(Out(7))), test::Pixels(42, 0xFF000000))
      << "opaque, as the frame before";
}

TEST_F(Sequence, BlackNeedsASize) {
  const auto result = Convert({"--frames", "1-2", "--missing=black"});
  EXPECT_EQ(result.code, 3);
  EXPECT_THAT(result.errors, HasSubstr("(no frame of the range tells the size)"));
}

// --- Failures.

TEST_F(Sequence, TheFirstFailureEndsIt) {
  MakeFrames({1, 2, 3, 4});
  (void)mFolder.Write("in.0002.png", {1, 2, 3});
  const auto result = Convert({"--frames", "1-4"});
  EXPECT_EQ(result.code, 3);
  EXPECT_THAT(result.errors, StartsWith("rimage: " + In(2) + ": "));
  EXPECT_THAT(Written(), ElementsAre(1));
}

TEST_F(Sequence, WithKeepGoingTheOthersAreWritten) {
  MakeFrames({1, 2, 3, 4});
  (void)mFolder.Write("in.0002.png", {1, 2, 3});
  const auto result = Convert({"--frames", "1-5", "--keep-going"});
  EXPECT_EQ(result.code, 1);
  EXPECT_THAT(result.errors, HasSubstr("rimage: convert: 2 of 5 frames failed, 3 written\n"));
  EXPECT_THAT(Written(), ElementsAre(1, 3, 4));
}

TEST_F(Sequence, WhenAllFailTheCodeIsTheirs) {
  EXPECT_EQ(Convert({"--frames", "1-3", "--keep-going"}).code, 3);
  MakeFrames({1, 2});
  EXPECT_EQ(RunTool({"convert", mFolder.Path("in.####.png"), mFolder.Path("none/out.#.png"), "--frames",
                     "1-2", "--keep-going"})
                .code,
            4);
}

TEST_F(Sequence, ACrashEndsOneFrameOnly) {
  MakeFrames({1, 2, 3});
  const auto result = Convert({"--frames", "1-3", "--keep-going"}, test::GoingWrong("crash"));
  EXPECT_EQ(result.code, 3);
  for (const int frame : {1, 2, 3}) {
    EXPECT_THAT(result.errors, HasSubstr("rimage: " + Out(frame) +
                                         ": the process that worked on it crashed: Segmentation fault\n"));
  }
  EXPECT_THAT(Written(), IsEmpty());
}

// The output file has been begun when the process ends.
TEST_F(Sequence, ACrashLeavesNoPartOfAFile) {
  MakeFrames({1, 2});
  const auto before = test::ListFolder(mFolder.Path(""));
  const auto result = Convert({"--frames", "1-2", "--keep-going"}, test::GoingWrong("crash-writing"));
  EXPECT_EQ(result.code, 3);
  EXPECT_THAT(result.errors, HasSubstr("crashed: Segmentation fault"));
  EXPECT_EQ(test::ListFolder(mFolder.Path("")), before);
}

// --- Going on where a run ended.

TEST_F(Sequence, ResumeLeavesWhatIsNewerAlone) {
  MakeFrames({1, 2, 3, 4, 5});
  ASSERT_EQ(Convert({"--frames", "1-5"}).code, 0);
  const std::vector<unsigned char> mark = {'m', 'a', 'r', 'k'};
  const auto now = fs::last_write_time(In(1));
  const auto later = now + std::chrono::seconds(10);
  for (const int frame : {1, 2, 3, 4}) {
    test::WriteFile(Out(frame), mark);
    fs::last_write_time(Out(frame), later);
  }
  fs::last_write_time(In(2), later);                            // as old as its output
  fs::last_write_time(In(3), later + std::chrono::seconds(1));  // changed since
  test::WriteFile(Out(4), {});                                  // not complete
  fs::last_write_time(Out(4), later);
  fs::remove(Out(5));
  EXPECT_EQ(Convert({"--frames", "1-5", "--resume"}).code, 0);
  EXPECT_EQ(test::ReadFile(Out(1)), mark);
  for (const int frame : {2, 3, 4, 5}) EXPECT_TRUE(Shows(frame, frame)) << frame;
}

TEST_F(Sequence, ResumeLooksAtEveryInput) {
  MakeFrames({1});
  test::Save(test::MakeImage(2, {0xFF0000FF, 0xFF0000FF}), mFolder.Path("mask.png"));
  const Arguments more = {"--frames", "1", "--resume", "--merge-alpha", mFolder.Path("mask.png")};
  ASSERT_EQ(Convert(more).code, 0);
  test::WriteFile(Out(1), {'m'});
  fs::last_write_time(mFolder.Path("mask.png"), fs::last_write_time(Out(1)) + std::chrono::seconds(5));
  EXPECT_EQ(Convert(more).code, 0);
  EXPECT_TRUE(Shows(1, 1));
}

// --- Several processes and several jobs.

TEST_F(Sequence, SeveralProcessesWriteTheSame) {
  for (int frame = 1; frame <= 30; ++frame) MakeFrame(frame);
  for (const char* jobs : {"4", "0", "100"}) {
    EXPECT_EQ(Convert({"--frames", "1-30", "--jobs", jobs}).code, 0);
    EXPECT_EQ(Written().size(), 30U);
    for (const int frame : Written()) {
      EXPECT_TRUE(Shows(frame, frame)) << frame;
      fs::remove(Out(frame));
    }
  }
}

TEST_F(Sequence, PartsMakeTheWholeAndShareNothing) {
  for (int frame = 1; frame <= 10; ++frame) MakeFrame(frame);
  std::vector<int> all;
  for (const char* part : {"1/3", "2/3", "3/3"}) {
    EXPECT_EQ(Convert({"--frames", "1-10", "--shard", part}).code, 0);
    for (const int frame : Written()) {
      all.push_back(frame);
      fs::remove(Out(frame));
    }
  }
  EXPECT_THAT(all, testing::UnorderedElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10));
}

TEST_F(Sequence, APartWithoutFramesIsDone) {
  MakeFrames({1, 2});
  const auto result = Convert({"--frames", "1-2", "--shard", "3/3", "--progress=json"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(json::parse(result.errors).at("total"), 0);
  EXPECT_THAT(Written(), IsEmpty());
}

// Runs a program that the documentation shows, in the test's folder.
test::ToolResult RunShown(const std::string& document, const std::string& marker, const std::string& folder) {
  const auto bytes = test::ReadFile(RIMAGE_DOCS "/" + document);
  const std::string text(bytes.begin(), bytes.end());
  const std::size_t at = text.find(marker);
  const std::size_t start = text.find("```sh\n", at) + 6;
  EXPECT_NE(at, std::string::npos) << marker;
  test::ToolSettings settings{.folder = folder, .program = "/bin/sh"};
  settings.environment = {{"PATH", std::string(RIMAGE_TOOL_FOLDER ":") + std::getenv("PATH")}};
  return RunTool({"-e", "-c", text.substr(start, text.find("```", start) - start)}, settings);
}

TEST_F(Sequence, TheExampleWithGnuParallelWorks) {
  if (std::system("command -v parallel >/dev/null") != 0) GTEST_SKIP() << "GNU parallel is not installed";
  for (int frame = 1; frame <= 20; ++frame) {
    test::SaveTga(test::MakeOpaque(4, 4), mFolder.Path(fmt::format("shot.{:04}.tga", frame)));
  }
  const auto result = RunShown("sequences.md", "<!-- run: parallel -->", mFolder.Path(""));
  EXPECT_EQ(result.code, 0) << result.errors;
  for (int frame = 1; frame <= 20; ++frame)
    EXPECT_EQ(test::Load(mFolder.Path(fmt::format("small.{:04}.png", frame))).size(), QSize(320, 200))
        << frame;
}

}  // namespace
