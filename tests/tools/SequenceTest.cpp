// Commands over sequences of frames: which files they read and write, and what becomes of the others.
#include <fcntl.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <thread>

#include "BadDecoder.h"
#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test::Arguments;
using test::RunTool;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// A colour that tells the frame.
QRgb ColourOf(int frame) { return qRgb(frame % 256, 255 - frame % 256, frame / 256); }

class Sequence : public testing::Test {
 protected:
  void MakeFrames(std::initializer_list<int> frames) const {
    for (const int frame : frames) MakeFrame(frame);
  }
  void MakeFrame(int frame) const {
    test::Save(test::MakeImage(2, {ColourOf(frame), 0xFF102030}), In(frame));
  }

  std::string In(int frame) const { return mFolder.Path(fmt::format("in.{:04}.png", frame)); }
  std::string Out(int frame) const { return mFolder.Path(fmt::format("out.{:04}.png", frame)); }

  test::ToolResult Convert(const Arguments& more, const test::ToolSettings& settings = {}) const {
    Arguments arguments = {"convert", mFolder.Path("in.####.png"), mFolder.Path("out.####.png")};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunTool(arguments, settings);
  }

  // The frames whose outputs are there.
  std::vector<int> Written() const {
    std::vector<int> frames;
    for (const std::string& name : test::ListFolder(mFolder.Path(""))) {
      if (name.starts_with("out.")) frames.push_back(std::stoi(name.substr(4)));
    }
    return frames;
  }

  // Whether an output shows a frame.
  bool Shows(int output, int frame) const {
    const QImage image = test::Load(Out(output));
    return !image.isNull() && image.pixel(0, 0) == ColourOf(frame);
  }

  test::TemporaryFolder mFolder;
};

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

// --- Progress.

TEST_F(Sequence, ProgressIsToldAsJson) {
  MakeFrames({1, 2, 3, 5});
  (void)mFolder.Write("in.0003.png", {1});
  ASSERT_EQ(Convert({"--frames", "2"}).code, 0);
  fs::last_write_time(Out(2), fs::last_write_time(In(2)) + std::chrono::seconds(9));
  const auto result =
      Convert({"--frames", "1-5", "--progress=json", "--keep-going", "--resume", "--missing=skip"});
  EXPECT_EQ(result.code, 1);
  std::vector<json> events;
  std::istringstream lines(result.errors);
  for (std::string line; std::getline(lines, line);) events.push_back(json::parse(line));
  ASSERT_EQ(events.size(), 6U);
  const std::array outcomes = {"written", "up to date", "failed", "left out", "written"};
  for (std::size_t i = 0; i < outcomes.size(); ++i) {
    const json& event = events[i];
    EXPECT_EQ(event.at("event"), "frame");
    EXPECT_EQ(event.at("frame"), i + 1);
    EXPECT_EQ(event.at("output"), Out(static_cast<int>(i + 1)));
    EXPECT_EQ(event.at("outcome"), outcomes[i]);
    EXPECT_EQ(event.at("done"), i + 1);
    EXPECT_EQ(event.at("total"), 5);
    EXPECT_GT(event.at("frames_per_second"), 0);
    EXPECT_GE(event.at("seconds_left"), 0);
    EXPECT_EQ(event.contains("messages"), i == 2);
  }
  EXPECT_EQ(events[2].at("code"), 3);
  EXPECT_THAT(events[2].at("messages").at(0).get<std::string>(), StartsWith("rimage: " + In(3) + ": "));
  EXPECT_EQ(events[5].at("event"), "end");
  EXPECT_EQ(events[5].at("written"), 2);
  EXPECT_EQ(events[5].at("up to date"), 1);
  EXPECT_EQ(events[5].at("left out"), 1);
  EXPECT_EQ(events[5].at("failed"), 1);
}

TEST_F(Sequence, NoTimeIsToldBeforeAFrameIsWritten) {
  MakeFrames({2});
  const auto result = Convert({"--frames", "1-2", "--progress=json", "--missing=skip"});
  EXPECT_EQ(result.code, 0);
  std::istringstream lines(result.errors);
  std::string line;
  ASSERT_TRUE(std::getline(lines, line));
  EXPECT_TRUE(json::parse(line).at("seconds_left").is_null()) << line;
  ASSERT_TRUE(std::getline(lines, line));
  EXPECT_EQ(json::parse(line).at("seconds_left"), 0) << line;
}

// A terminal that keeps what is shown on it.
class Terminal {
 public:
  Terminal() : mMaster(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    if (grantpt(mMaster) != 0 || unlockpt(mMaster) != 0) return;
    mSlave =
        open(Name().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);  // or the end of the tool would drop the text
  }
  ~Terminal() {
    close(mSlave);
    close(mMaster);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  /// False where the machine has no pseudo terminals, as in a bare change of root.
  bool IsOpen() const { return mSlave >= 0; }
  std::string Name() const { return ptsname(mMaster); }
  std::string Text() const {
    std::array<char, 65536> text;
    fcntl(mMaster, F_SETFL, O_NONBLOCK);
    const ssize_t size = read(mMaster, text.data(), text.size());
    return {text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
  }

 private:
  int mMaster;
  int mSlave = -1;
};

TEST_F(Sequence, ATerminalShowsABar) {
  MakeFrames({1, 2});
  (void)mFolder.Write("in.0003.png", {1});
  for (int frame = 4; frame < 12; ++frame) test::Save(test::MakeNoise(300, 300), In(frame));
  const Terminal terminal;
  if (!terminal.IsOpen()) GTEST_SKIP() << "no pseudo terminals";
  const Arguments more = {"--frames", "1-11", "--keep-going"};
  ASSERT_EQ(Convert(more, {.environment = {{"TERM", "xterm"}}, .errors = terminal.Name()}).code, 1);
  const std::string text = terminal.Text();
  EXPECT_THAT(text, HasSubstr("\r[                        ] 0/11\033[K"));
  EXPECT_THAT(text, testing::ContainsRegex("\r\\[####.* frames/s  0:[0-9][0-9] left  1 failed\033\\[K"));
  EXPECT_THAT(text, HasSubstr("\r\033[Krimage: " + In(3) + ": ")) << "the bar makes room for messages";
  EXPECT_THAT(text, testing::EndsWith("\r\033[Krimage: convert: 1 of 11 frames failed, 10 written\r\n"));
}

TEST_F(Sequence, OtherTerminalsAndFilesShowNone) {
  MakeFrames({1, 2});
  const Terminal terminal;
  if (!terminal.IsOpen()) GTEST_SKIP() << "no pseudo terminals";
  ASSERT_EQ(Convert({"--frames", "1-2"}, {.environment = {{"TERM", "dumb"}}, .errors = terminal.Name()}).code,
            0);
  ASSERT_EQ(Convert({"--frames", "1-2", "--progress=none"},
                    {.environment = {{"TERM", "xterm"}}, .errors = terminal.Name()})
                .code,
            0);
  EXPECT_EQ(terminal.Text(), "");
  EXPECT_EQ(Convert({"--frames", "1-2"}).errors, "");
}

// --- Memory and interruptions.

TEST_F(Sequence, MemoryDoesNotGrowWithTheFrames) {
  const std::string bytes = In(1);
  MakeFrames({1});
  const auto run = [&](const char* frames) {
    return RunTool(
        {"convert", In(1), mFolder.Path("out.####.png"), "--frames", frames, "--jobs", "2"},
        {.environment = {{"ASAN_OPTIONS", "quarantine_size_mb=0:thread_local_quarantine_size_kb=0"}}});
  };
  const auto few = run("1-20");
  const auto many = run("1-2000");
  ASSERT_EQ(few.code + many.code, 0) << few.errors << many.errors;
  EXPECT_EQ(Written().size(), 2000U);
  RecordProperty("few_kib", static_cast<int>(few.peakKib));
  RecordProperty("many_kib", static_cast<int>(many.peakKib));
  EXPECT_GT(few.peakKib, 1000);
  EXPECT_LT(static_cast<double>(many.peakKib), 1.1 * static_cast<double>(few.peakKib));
}

// The processes that run with a text among their arguments, but for this one.
int CountProcesses(const std::string& argument) {
  int count = 0;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    std::ifstream file(entry.path() / "cmdline");
    const std::string line((std::istreambuf_iterator<char>(file)), {});
    count += line.find(argument) != std::string::npos ? 1 : 0;
  }
  return count;
}

bool WaitFor(const std::function<bool()>& condition) {
  for (int i = 0; i < 3000 && !condition(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  return condition();
}

class InterruptedSequence : public Sequence, public testing::WithParamInterface<int> {};

TEST_P(InterruptedSequence, LeavesWholeFilesOnlyAndNoProcess) {
  test::Save(test::MakeNoise(600, 600), In(1));
  const std::string output = mFolder.Path("out.####.png");
  test::ToolProcess tool({"convert", In(1), output, "--resize", "1500x1500", "--compression", "100",
                          "--frames", "1-500", "--jobs", "3"});
  const auto isBusy = [&] {
    const auto names = test::ListFolder(mFolder.Path(""));
    return Written().size() >= 2 &&
           std::ranges::any_of(names, [](const auto& name) { return name.starts_with(".rimage-"); });
  };
  ASSERT_TRUE(WaitFor(isBusy));
  EXPECT_EQ(CountProcesses(output), 4);
  tool.Signal(GetParam());
  EXPECT_EQ(tool.Wait().code, GetParam() == SIGKILL ? -SIGKILL : 128 + GetParam());
  // When the first process is killed the others end by themselves, soon.
  EXPECT_TRUE(WaitFor([&] { return CountProcesses(output) == 0; }));
  EXPECT_LT(Written().size(), 400U);
  for (const std::string& name : test::ListFolder(mFolder.Path(""))) {
    EXPECT_FALSE(name.starts_with(".rimage-")) << name;
    EXPECT_FALSE(test::Load(mFolder.Path(name)).isNull()) << name;
  }
}

INSTANTIATE_TEST_SUITE_P(All, InterruptedSequence, testing::Values(SIGINT, SIGTERM, SIGHUP, SIGKILL));

TEST_F(Sequence, ProcessesAreStoppedAlsoWhereTheCallerIgnoresInterruptions) {
  test::Save(test::MakeNoise(600, 600), In(1));
  const std::string output = mFolder.Path("out.####.png");
  test::ToolProcess tool(
      {"convert", In(1), output, "--resize", "1500x1500", "--frames", "1-500", "--jobs", "2"},
      {.ignoreInterrupt = true});
  ASSERT_TRUE(WaitFor([&] { return Written().size() >= 2; }));
  tool.Signal(SIGTERM);
  EXPECT_EQ(tool.Wait().code, 128 + SIGTERM);
  EXPECT_EQ(CountProcesses(output), 0);
}

}  // namespace
