// The command line as a whole: help, version, mistakes, and what is started.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

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
        std::pair{"sheet", std::vector{"--columns", "--size", "--quality", "--compression", "--no-orient",
                                       "--max-memory"}},
        std::pair{"stereo", std::vector{"--mode", "--x-base", "--y-base", "--quality", "--compression"}}),
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
                "rimage: --resize: the value is missing (WxH)"}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Words, Mistakes,
    testing::Values(Mistake{"gpu",
                            {"convert", "a.png", "b.png", "--gpu=nevr"},
                            "rimage: --gpu: wrong value 'nevr' (did you mean never?)"},
                    Mistake{"missing",
                            {"convert", "a.png", "b.png", "--frames=1", "--missing=holt"},
                            "rimage: --missing: wrong value 'holt' (did you mean hold?)"},
                    Mistake{"progress",
                            {"convert", "a.png", "b.png", "--frames=1", "--progress=jsn"},
                            "rimage: --progress: wrong value 'jsn' (did you mean json?)"},
                    Mistake{"mode",
                            {"stereo", "a.png", "b.png", "c.png", "--mode=checkerbord"},
                            "rimage: --mode: wrong value 'checkerbord' (did you mean checkerboard?)"},
                    Mistake{"farWord",
                            {"convert", "a.png", "b.png", "--frames=1", "--missing=quietly"},
                            "rimage: --missing: wrong value 'quietly' (known: black, error, hold, skip)"}),
    [](const auto& row) { return row.param.name; });

// The subject is the option, whatever is wrong with it.
INSTANTIATE_TEST_SUITE_P(
    Options, Mistakes,
    testing::Values(
        Mistake{"negative",
                {"convert", "a.dds", "b.png", "--level", "-1"},
                "rimage: --level: wrong value '-1' (a whole number from 0 to 2147483647)"},
        Mistake{"fraction",
                {"info", "a.dds", "--slice=1.5"},
                "rimage: --slice: wrong value '1.5' (a whole number from 0 to 2147483647)"},
        Mistake{"octal",
                {"info", "a.dds", "--max-memory=0x10"},
                "rimage: --max-memory: wrong value '0x10' (a whole number from 1 to 1048576)"},
        Mistake{"tooLarge",
                {"info", "a.dds", "--slice=2147483648"},
                "rimage: --slice: wrong value '2147483648' (a whole number from 0 to 2147483647)"},
        Mistake{"farTooLarge",
                {"info", "a.png", "--max-seconds=99999999999999999999"},
                "rimage: --max-seconds: wrong value '99999999999999999999' (a whole number from 1 to 86400)"},
        Mistake{"word",
                {"convert", "a.png", "b.jpg", "--quality", "abc"},
                "rimage: --quality: wrong value 'abc' (a whole number from 0 to 100)"},
        Mistake{"controlCharacters",
                {"convert", "a.png", "b.jpg", "--quality", "1\n"},
                "rimage: --quality: wrong value '1\\n' (a whole number from 0 to 100)"},
        Mistake{"twoSigns",
                {"compare", "a.png", "b.png", "--tolerance=+-1"},
                "rimage: --tolerance: wrong value '+-1' (a whole number from 0 to 255)"},
        Mistake{"face",
                {"info", "a.dds", "--face", "up"},
                "rimage: --face: wrong value 'up' (+x, -x, +y, -y, +z, -z or a whole number from 0 to "
                "2147483647)"},
        Mistake{"noNumber",
                {"info", "a.dds", "--exposure", "nan"},
                "rimage: --exposure: wrong value 'nan' (a number from -64 to 64)"},
        Mistake{"negativeNoNumber",
                {"info", "a.dds", "--exposure=-nan"},
                "rimage: --exposure: wrong value '-nan' (a number from -64 to 64)"},
        Mistake{"infinite",
                {"info", "a.dds", "--exposure", "inf"},
                "rimage: --exposure: wrong value 'inf' (a number from -64 to 64)"},
        Mistake{"base",
                {"stereo", "a.png", "b.png", "c.png", "--x-base", "nan"},
                "rimage: --x-base: wrong value 'nan' (a whole number from 0 to 2147483647)"},
        Mistake{"nothingBehindTheEqualsSign",
                {"convert", "--quality=", "a.png", "b.jpg"},
                "rimage: --quality: the value is missing (a whole number from 0 to 100)"},
        Mistake{"empty",
                {"convert", "a.png", "b.png", "--frames", ""},
                "rimage: --frames: the value is missing (LIST)"},
        Mistake{"emptyName",
                {"correct", "a.png", "b.png", "--save", ""},
                "rimage: --save: the value is missing (GRAPH)"},
        Mistake{"bareWord",
                {"help", "--completion"},
                "rimage: --completion: the value is missing (bash|fish|zsh)"},
        Mistake{"bareSetting",
                {"blend", "a.png", "b.png", "c.png", "--set"},
                "rimage: --set: the value is missing (NAME=VALUE)"},
        Mistake{"twice",
                {"convert", "a.png", "b.png", "--frames=1", "--frames", "2"},
                "rimage: --frames: given 2 times (only one can count)"},
        Mistake{"alone", {"convert", "a.png", "b.png", "--resume"}, "rimage: --resume: it needs --frames"},
        Mistake{"flagWithAValue", {"info", "a.png", "--json=false"}, "rimage: --json: takes no value"},
        Mistake{"operationWithAValue",
                {"convert", "a.png", "--flip=true", "b.png"},
                "rimage: --flip: takes no value"},
        Mistake{"helpWithAValue", {"convert", "--help=0"}, "rimage: --help: takes no value"},
        Mistake{"wordOfItsOwn",
                {"convert", "--alpha", "invert", "a.png", "b.png"},
                "rimage: --alpha: the value stands behind an equals sign (--alpha=invert)"},
        Mistake{"driver",
                {"--gl-shim", "xx", "doctor"},
                "rimage: --gl-shim: wrong value 'xx' (known: nv, rc, ati, sgi, plain)"}),
    [](const auto& row) { return row.param.name; });

// What the format of OUT cannot follow would be lost without a word.
INSTANTIATE_TEST_SUITE_P(
    Encoders, Mistakes,
    testing::Values(Mistake{"convert",
                            {"convert", "a.png", "b.png", "--quality", "90"},
                            "rimage: --quality: png files take none (it is for jpeg, jpg)"},
                    Mistake{"frames",
                            {"convert", "a.png", "b.##.TGA", "--quality", "90", "--frames=1-2"},
                            "rimage: --quality: tga files take none (it is for jpeg, jpg)"},
                    Mistake{"correct",
                            {"correct", "a.png", "b.jpg", "--compression=1"},
                            "rimage: --compression: jpg files take none (it is for png, tif, tiff)"},
                    Mistake{"blend",
                            {"blend", "a.png", "b.png", "c.yuv", "--quality=0"},
                            "rimage: --quality: yuv files take none (it is for jpeg, jpg)"},
                    Mistake{"sheet",
                            {"sheet", "a.png", "b.bmp", "--compression=0"},
                            "rimage: --compression: bmp files take none (it is for png, tif, tiff)"},
                    Mistake{"stereo",
                            {"stereo", "a.png", "b.png", "c.tiff", "--mode=checkerboard", "--quality=100"},
                            "rimage: --quality: tiff files take none (it is for jpeg, jpg)"}),
    [](const auto& row) { return row.param.name; });

TEST(CommandLine, FoldersAreNoOutput) {
  const test::TemporaryFolder folder;
  std::filesystem::create_directory(folder.Path("out"));
  test::Save(test::MakeOpaque(2, 2), folder.Path("in.png"));
  for (const std::string& name : {folder.Path("out"), folder.Path("out/")}) {
    const auto result = RunTool({"convert", folder.Path("in.png"), name});
    EXPECT_EQ(result.code, 4);
    EXPECT_EQ(result.errors, "rimage: " + name + ": this is a folder\n");
  }
}

TEST(CommandLine, UsageTellsHowManyFilesThereMayBe) {
  EXPECT_THAT(RunTool({"info", "--help"}).output, HasSubstr("Usage: rimage info [OPTIONS] FILE...\n"));
  EXPECT_THAT(RunTool({"sheet", "--help"}).output, HasSubstr("Usage: rimage sheet [OPTIONS] FILE... OUT\n"));
  EXPECT_THAT(RunTool({"help", "--help"}).output, HasSubstr("Usage: rimage help [OPTIONS] [COMMAND]...\n"));
}

TEST(CommandLine, NumbersAreDecimalAndMayHaveASign) {
  const test::TemporaryFolder folder;
  test::Save(test::MakeOpaque(8, 8), folder.Path("a.png"));
  const auto width = [&](const char* size) {
    EXPECT_EQ(RunTool({"sheet", folder.Path("a.png"), folder.Path("sheet.png"), size, "--replace"}).code, 0)
        << size;
    return test::Load(folder.Path("sheet.png")).width();
  };
  EXPECT_EQ(width("--size=020"), width("--size=20")) << "and not octal";
  EXPECT_EQ(width("--size=+20"), width("--size=20"));
  EXPECT_EQ(RunTool({"info", test::DataPath("dds/pillow_bc6h.dds"), "--exposure=+1.5e0"}).code, 0);
}

// A value is a value, whatever it looks like, and behind the mark all words are arguments.
TEST(CommandLine, EqualsSignsElsewhereAreNoMistakes) {
  EXPECT_EQ(RunTool({"help", "--complete", "--", "convert", "--quality="}, kNoGui).code, 0);
  EXPECT_THAT(RunTool({"convert", "--", "--flip=", "b.png"}, kNoGui).errors, StartsWith("rimage: --flip=: "));
}

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
    EXPECT_THAT(result.errors, StartsWith("rimage: --"));
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
