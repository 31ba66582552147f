// The command line as a whole: help, version, mistakes, and what is started.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

using test::RunTool;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// With a platform of this name no GUI application can start: the process is aborted.
const test::ToolSettings kNoGui{.environment = {{"QT_QPA_PLATFORM", "none-such"}}};

TEST(CommandLine, ShowsItsVersion) {
  const auto result = RunTool({"--version"}, kNoGui);
  EXPECT_EQ(result.code, 0);
  EXPECT_THAT(result.output, testing::MatchesRegex("rimage [0-9]+\\.[0-9]+\\.[0-9]+\n"));
  EXPECT_THAT(result.errors, IsEmpty());
}

TEST(CommandLine, HelpHasAShortNameToo) {
  EXPECT_EQ(RunTool({"-h"}, kNoGui).output, RunTool({"--help"}, kNoGui).output);
  EXPECT_EQ(RunTool({"info", "-h"}, kNoGui).output, RunTool({"info", "--help"}, kNoGui).output);
  EXPECT_EQ(RunTool({"info", "-h"}, kNoGui).code, 0);
}

TEST(CommandLine, HelpNamesEverySubCommand) {
  const auto result = RunTool({"--help"}, kNoGui);
  EXPECT_EQ(result.code, 0);
  for (const char* name : {"formats", "info", "convert", "compare", "sheet", "blend", "graph", "operators",
                           "properties", "stereo", "doctor"})
    EXPECT_THAT(result.output, HasSubstr(name));
  EXPECT_THAT(result.output, HasSubstr("Exit codes: 0 done, 1 pictures differ"));
  EXPECT_THAT(result.errors, IsEmpty());
}

class SubCommandHelp : public testing::TestWithParam<std::pair<const char*, std::vector<const char*>>> {};

TEST_P(SubCommandHelp, NamesItsOptions) {
  const auto result = RunTool({GetParam().first, "--help"}, kNoGui);
  EXPECT_EQ(result.code, 0);
  for (const char* option : GetParam().second) EXPECT_THAT(result.output, HasSubstr(option));
}

INSTANTIATE_TEST_SUITE_P(
    All, SubCommandHelp,
    testing::Values(
        std::pair{"formats", std::vector{"--json"}},
        std::pair{"info", std::vector{"FILE", "--json", "--no-orient", "--max-memory"}},
        std::pair{"convert", std::vector{"IN", "OUT", "--format", "--resize", "--square", "--flip",
                                         "--translate", "--premultiply", "--unpremultiply", "--apply-alpha",
                                         "--alpha", "--merge-alpha", "--field", "--frame", "--quality",
                                         "--compression", "--no-orient", "--max-memory"}},
        std::pair{"compare", std::vector{"--tolerance", "--diff", "--json", "--no-orient", "--max-memory"}},
        std::pair{"blend", std::vector{"A B OUT", "--set NAME=VALUE", "--gpu", "--explain", "--save",
                                       "--quality", "--compression", "--no-orient", "--max-memory"}},
        std::pair{"graph", std::vector{"GRAPH", "OUT", "--gpu", "--explain", "--save", "--quality",
                                       "--compression", "--no-orient", "--max-memory"}},
        std::pair{"operators", std::vector{"--json"}},
        std::pair{"properties", std::vector{"OPERATOR", "--json"}},
        std::pair{"sheet", std::vector{"--columns", "--size", "--no-orient", "--max-memory"}}),
    [](const auto& row) { return row.param.first; });

struct Mistake {
  const char* name;
  test::Arguments arguments;
  const char* message;
};

class Mistakes : public testing::TestWithParam<Mistake> {};

TEST_P(Mistakes, AreToldWithAHint) {
  const auto result = RunTool(GetParam().arguments, kNoGui);
  EXPECT_EQ(result.code, 2);
  EXPECT_THAT(result.output, IsEmpty());
  EXPECT_EQ(result.errors, std::string(GetParam().message) + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    All, Mistakes,
    testing::Values(
        Mistake{"nothing", {}, "rimage: command line: a sub-command is missing (rimage --help lists them)"},
        Mistake{"subCommand",
                {"conver"},
                "rimage: command line: unknown sub-command 'conver' (did you mean convert?)"},
        Mistake{"farSubCommand", {"frobnicate"}, "rimage: command line: unknown sub-command 'frobnicate'"},
        Mistake{"mainOption",
                {"--versoin"},
                "rimage: command line: unknown option '--versoin' (did you mean --version?)"},
        Mistake{"option",
                {"convert", "a.png", "--flop", "b.png"},
                "rimage: convert: unknown option '--flop' (did you mean --flip?)"},
        Mistake{"optionWithValue",
                {"convert", "a.png", "--resise=3x3", "b.png"},
                "rimage: convert: unknown option '--resise=3x3' (did you mean --resize?)"},
        Mistake{"nameOfAnArgument", {"compare", "a.png", "--in"}, "rimage: compare: unknown option '--in'"},
        Mistake{"capitalLetters",
                {"convert", "a.png", "--RESIZE=3x3", "b.png"},
                "rimage: convert: unknown option '--RESIZE=3x3' (did you mean --resize?)"},
        Mistake{"tooManyArguments",
                {"compare", "a.png", "b.png", "c.png"},
                "rimage: compare: unknown argument 'c.png'"},
        Mistake{"convertWithoutInput", {"convert"}, "rimage: convert: IN is missing (rimage convert --help)"},
        Mistake{"convertWithoutOutput",
                {"convert", "a.png"},
                "rimage: convert: OUT is missing (rimage convert --help)"},
        Mistake{"infoWithoutFile", {"info"}, "rimage: info: FILE is missing (rimage info --help)"},
        Mistake{
            "compareWithoutB", {"compare", "a.png"}, "rimage: compare: B is missing (rimage compare --help)"},
        Mistake{
            "sheetWithoutOutput", {"sheet", "a.png"}, "rimage: sheet: OUT is missing (rimage sheet --help)"},
        Mistake{"blendWithoutB", {"blend", "a.png"}, "rimage: blend: B is missing (rimage blend --help)"},
        Mistake{"blendWithoutOutput",
                {"blend", "a.png", "b.png"},
                "rimage: blend: OUT is missing (rimage blend --help)"},
        Mistake{
            "graphWithoutOutput", {"graph", "g.json"}, "rimage: graph: OUT is missing (rimage graph --help)"},
        Mistake{"missingValue",
                {"convert", "a.png", "b.png", "--resize"},
                "rimage: command line: --resize: 1 required WxH missing"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Words, Mistakes,
    testing::Values(
        Mistake{"gpu",
                {"convert", "a.png", "b.png", "--gpu=nevr"},
                "rimage: command line: --gpu: wrong value 'nevr' (did you mean never?)"},
        Mistake{"missing",
                {"convert", "a.png", "b.png", "--frames=1", "--missing=holt"},
                "rimage: command line: --missing: wrong value 'holt' (did you mean hold?)"},
        Mistake{"progress",
                {"convert", "a.png", "b.png", "--frames=1", "--progress=jsn"},
                "rimage: command line: --progress: wrong value 'jsn' (did you mean json?)"},
        Mistake{"mode",
                {"stereo", "a.png", "b.png", "c.png", "--mode=checkerbord"},
                "rimage: command line: --mode: wrong value 'checkerbord' (did you mean checkerboard?)"},
        Mistake{"farWord",
                {"convert", "a.png", "b.png", "--frames=1", "--missing=quietly"},
                "rimage: command line: --missing: wrong value 'quietly' (known: black, error, hold, skip)"}),
    [](const auto& row) { return row.param.name; });

TEST(CommandLine, OutOfRangeNumbersAreMistakes) {
  for (const test::Arguments& arguments :
       {test::Arguments{"convert", "a.png", "b.jpg", "--quality", "101"},
        test::Arguments{"convert", "a.png", "b.png", "--compression", "-1"},
        test::Arguments{"compare", "a.png", "b.png", "--tolerance", "256"},
        test::Arguments{"sheet", "a.png", "b.png", "--columns", "0"},
        test::Arguments{"sheet", "a.png", "b.png", "--size", "1"},
        test::Arguments{"info", "a.png", "--max-memory", "0"},
        test::Arguments{"info", "a.png", "--max-memory", "many"}}) {
    const auto result = RunTool(arguments, kNoGui);
    EXPECT_EQ(result.code, 2) << testing::PrintToString(arguments);
    EXPECT_THAT(result.errors, StartsWith("rimage: command line: --"));
  }
}

TEST(CommandLine, PlainPicturesNeedNoGuiApplication) {
  const test::TemporaryFolder folder;
  const std::string input = folder.Path("in.png");
  test::Save(test::MakeTranslucent(5, 4), input);
  for (const char* name : {"out.png", "out.tif", "out.tga", "out.jpg", "out.bmp"}) {
    const auto result = RunTool({"convert", input, "--resize", "9x9", folder.Path(name)}, kNoGui);
    EXPECT_EQ(result.code, 0) << name << result.errors;
  }
  EXPECT_EQ(RunTool({"info", input}, kNoGui).code, 0);
  EXPECT_EQ(RunTool({"compare", input, input}, kNoGui).code, 0);
  EXPECT_EQ(RunTool({"formats"}, kNoGui).code, 0);
}

TEST(CommandLine, VectorPicturesNeedNoDisplay) {
  const test::TemporaryFolder folder;
  const std::string svg =
      "<svg xmlns='http://www.w3.org/2000/svg' width='40' height='20'>"
      "<text x='2' y='15'>A</text></svg>";
  const std::string input = folder.Write("in.svg", {svg.begin(), svg.end()});
  const test::ToolSettings noDisplay{
      .environment = {{"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""}, {"QT_QPA_PLATFORM", ""}}};
  EXPECT_EQ(RunTool({"convert", input, folder.Path("out.png")}, noDisplay).code, 0);
  EXPECT_EQ(test::Load(folder.Path("out.png")).size(), QSize(40, 20));
}

TEST(CommandLine, TheChosenPlatformIsKept) {
  const test::TemporaryFolder folder;
  const std::string svg = "<svg xmlns='http://www.w3.org/2000/svg' width='4' height='2'/>";
  const std::string input = folder.Write("in.svg", {svg.begin(), svg.end()});
  const auto result = RunTool({"convert", input, folder.Path("out.png")}, kNoGui);
  EXPECT_LT(result.code, 0) << "the platform of the environment was not tried";
  EXPECT_EQ(test::ListFolder(folder.Path("")), std::vector<std::string>{"in.svg"});
}

TEST(CommandLine, AFullStandardOutputIsAFailure) {
  const auto result = RunTool({"formats"}, {.output = "/dev/full"});
  EXPECT_EQ(result.code, 4);
  EXPECT_EQ(result.errors, "rimage: standard output: No space left on device\n");
}

TEST(CommandLine, LongOutputFailsInTheSameWay) {
  const test::TemporaryFolder folder;
  const std::string input = folder.Path("in.png");
  test::Save(test::MakeOpaque(2, 2), input);
  test::Arguments arguments = {"info"};
  arguments.insert(arguments.end(), 200, input);
  const auto result = RunTool(arguments, {.output = "/dev/full"});
  EXPECT_EQ(result.code, 4);
  EXPECT_EQ(result.errors, "rimage: standard output: No space left on device\n");
}

}  // namespace
