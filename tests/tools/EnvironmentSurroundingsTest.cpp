// Surroundings of the process, each with every sub-command: variables, limits of the system, streams that are
// closed, signals.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <ostream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "EnvironmentMatrix.h"
#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/CaseName.h"
#include "support/TestData.h"

namespace {

namespace fs = std::filesystem;
using test::Arguments;
using test::Command;
using test::Files;
using test::Matrix;
using test::RunTool;
using testing::ValuesIn;

using Bytes = std::vector<unsigned char>;

// --- Surroundings in which the work is done all the same

struct Surroundings {
  const char* name;
  const char* shell;  // what a shell does before it becomes the tool
};
void PrintTo(const Surroundings& surroundings, std::ostream* stream) { *stream << surroundings.name; }

const std::vector<Surroundings> kSurroundings = {
    {"CLocale", "export LC_ALL=C"},
    {"UnknownLocale", "export LC_ALL=xx_YY.UTF-8 LANG=xx_YY"},
    {"NoHome", "unset HOME"},
    {"HomeThatIsNotThere", "export HOME=/nowhere/at/all"},
    {"NoFolderForTemporaryFiles", "export TMPDIR=/nowhere XDG_RUNTIME_DIR=/nowhere XDG_CACHE_HOME=/nowhere"},
    {"NoPath", "unset PATH"},
    {"NoDisplay", "unset DISPLAY WAYLAND_DISPLAY"},
    {"WrongDisplay", "export DISPLAY=:4711 WAYLAND_DISPLAY=none"},
    {"ClosedInput", "exec <&-"},
    {"EndlessInput", "exec </dev/zero"},
    {"ClosedErrors", "exec 2>&-"},
    {"FullErrors", "exec 2>/dev/full"},
    {"FewFiles", "ulimit -n 16"},
    {"SmallStack", "ulimit -s 512"},
    {"NoCores", "ulimit -c 0"},
    {"IgnoredPipes", "trap '' PIPE"},
    {"IgnoredInterruptions", "trap '' INT TERM HUP"},
    {"PrivateMask", "umask 077"},
    {"FolderThatIsGone", "mkdir gone && cd gone && rmdir ../gone"},
    {"FolderThatTakesNothing", "cd /proc"},
};

class Around : public Matrix, public testing::WithParamInterface<std::tuple<Command, Surroundings>> {
 protected:
  // Returns what the tool writes, where it does.
  Bytes Run(const Command& command, const std::string& output,
            const test::ToolSettings& settings = {}) const {
    const auto result = RunTool(command.arguments(FilesFor(Good(), output)), settings);
    // The two pictures that are compared differ.
    EXPECT_EQ(result.code, command.name == std::string("Compare") ? 1 : 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    EXPECT_NE(result.output.empty(), command.prints);
    return command.writes ? test::ReadFile(output) : Bytes(result.output.begin(), result.output.end());
  }
};

TEST_P(Around, TheResultIsTheSame) {
  const auto& [command, surroundings] = GetParam();
  const Bytes usual = Run(command, mFolder.Path("usual.png"));
  const Bytes result =
      Run(command, mFolder.Path("out.png"), {.folder = mFolder.Path(""), .shell = surroundings.shell});
  EXPECT_FALSE(usual.empty());
  EXPECT_EQ(result, usual);
  auto names = test::ListFolder(mFolder.Path(""));
  std::erase_if(names, [](const std::string& name) { return name == "usual.png" || name == "out.png"; });
  EXPECT_THAT(names, testing::ElementsAre("good.png", "graph.json", "second.png"));
}

INSTANTIATE_TEST_SUITE_P(Processor, Around,
                         testing::Combine(ValuesIn(test::kOnProcessor), ValuesIn(kSurroundings)),
                         test::PairName());
// OpenGL needs a display.
std::vector<Surroundings> SurroundingsWithDisplay() {
  std::vector<Surroundings> rows = kSurroundings;
  std::erase_if(rows, [](const Surroundings& row) { return std::string(row.name).ends_with("Display"); });
  return rows;
}
INSTANTIATE_TEST_SUITE_P(OpenGL, Around,
                         testing::Combine(ValuesIn(test::kWithOpenGL), ValuesIn(SurroundingsWithDisplay())),
                         test::PairName());

// --- Standard output that takes nothing

class StandardOutput : public Matrix, public testing::WithParamInterface<Command> {};

TEST_P(StandardOutput, IsMissedByWhatPrintsOnly) {
  const Command& command = GetParam();
  const std::vector<std::pair<const char*, const char*>> kCases = {
      {"exec >&-", "Bad file descriptor"},
      {"exec >/dev/full", "No space left on device"},
      // Somebody reads from the pipe until it is open.
      {"(exec 3<pipe) & trap '' PIPE; exec >pipe; wait", "Broken pipe"},
  };
  for (const auto& [shell, reason] : kCases) {
    SCOPED_TRACE(shell);
    fs::remove(mFolder.Path("out.png"));
    const Files files = FilesFor(Good(), mFolder.Path("out.png"));
    (void)test::MakePipe(mFolder.Path("pipe"));
    const auto result = RunTool(command.arguments(files), {.folder = mFolder.Path(""), .shell = shell});
    fs::remove(mFolder.Path("pipe"));
    EXPECT_EQ(result.code, command.prints ? 4 : 0);
    EXPECT_EQ(result.errors,
              command.prints ? std::string("rimage: standard output: ") + reason + '\n' : std::string());
    EXPECT_EQ(fs::exists(mFolder.Path("out.png")), command.writes);
  }
}

INSTANTIATE_TEST_SUITE_P(Processor, StandardOutput, ValuesIn(test::kOnProcessor), test::CaseName());
INSTANTIATE_TEST_SUITE_P(WithoutFiles, StandardOutput, ValuesIn(test::kWithoutFiles), test::CaseName());
INSTANTIATE_TEST_SUITE_P(OpenGL, StandardOutput, ValuesIn(test::kWithOpenGL), test::CaseName());

// --- Signals

struct Interruption {
  const char* name;
  int signal;
};
void PrintTo(const Interruption& interruption, std::ostream* stream) { *stream << interruption.name; }
const std::vector<Interruption> kInterruptions = {
    {"Interrupt", SIGINT}, {"Termination", SIGTERM}, {"HangUp", SIGHUP}};

class Interrupted : public Matrix, public testing::WithParamInterface<std::tuple<Command, Interruption>> {};

TEST_P(Interrupted, LeavesEverythingAsItWas) {
  const auto& [command, interruption] = GetParam();
  // Takes long enough to read; the first line takes little room.
  QImage large(6000, 6000, QImage::Format_RGB32);
  large.fill(Qt::gray);
  large.save(QString::fromStdString(mFolder.Path("large.bmp")));
  const Files files = FilesFor(mFolder.Path("large.bmp"), mFolder.Write("out.png", test::kEarlier));
  const test::Contents before = test::TakeContents(mFolder.Path(""));
  test::ToolProcess tool(command.arguments(files));
  ASSERT_TRUE(tool.WaitUntilStarted());
  tool.Signal(interruption.signal);
  const auto result = tool.Wait();
  EXPECT_EQ(result.code, 128 + interruption.signal);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(test::TakeContents(mFolder.Path("")), before);
}

INSTANTIATE_TEST_SUITE_P(Processor, Interrupted,
                         testing::Combine(ValuesIn(test::kOnProcessor), ValuesIn(kInterruptions)),
                         test::PairName());
INSTANTIATE_TEST_SUITE_P(OpenGL, Interrupted,
                         testing::Combine(ValuesIn(test::kWithOpenGL), ValuesIn(kInterruptions)),
                         test::PairName());

// --- Memory

TEST_F(Matrix, TooLittleMemoryIsNamed) {
  QImage large(8000, 8000, QImage::Format_RGB32);
  large.fill(Qt::gray);
  large.save(QString::fromStdString(mFolder.Path("large.png")));
  const std::string path = mFolder.Path("large.png");
  for (const Command& command : test::kOnProcessor) {
    SCOPED_TRACE(command.name);
    const Files files = FilesFor(path, mFolder.Write("out.png", test::kEarlier));
    Arguments arguments = command.arguments(files);
    arguments.insert(arguments.end(), {"--max-memory", "100"});
    Refuse(arguments, 3, path, "8000 x 8000 pixels take 244 MiB, more than the limit of 100 MiB");
  }
}

// The system itself may set a limit, of the address space, of which the sanitizer takes all there is.
#ifndef __SANITIZE_ADDRESS__
class Starved : public Matrix, public testing::WithParamInterface<Command> {
 protected:
  test::ToolResult RunWith(long mib, const Files& files) const {
    return RunTool(GetParam().arguments(files), {.mostMemory = mib << 20});
  }
};

TEST_P(Starved, WhateverLacksMemoryTellsIt) {
  const std::string output = mFolder.Write("out.png", test::kEarlier);
  // With what is enough for a small picture, a large one lacks memory for its pixels and nothing else.
  long mib = 64;
  const Files small = FilesFor(Good(), mFolder.Path("small.png"));
  while (RunWith(mib, small).code != (GetParam().name == std::string("Compare") ? 1 : 0))
    ASSERT_LT(mib += 16, 4096);
  QImage large(2500, 2500, QImage::Format_RGB32);
  large.fill(Qt::gray);
  for (const char* name : {"large.png", "second.png"}) test::Save(large, mFolder.Path(name));
  const Files files = FilesFor(mFolder.Path("large.png"), output);
  int refused = 0;
  for (const test::Contents before = test::TakeContents(mFolder.Path(""));; mib += 4) {
    const auto result = RunWith(mib, files);
    if (result.code <= 1) break;
    SCOPED_TRACE(mib);
    ++refused;
    EXPECT_THAT(result.code, testing::AnyOf(3, 4));
    EXPECT_THAT(result.errors, testing::MatchesRegex("rimage: " + mFolder.Path("") +
                                                     "[a-z]+.(png|json): not enough memory[^\n]*\n"));
    EXPECT_EQ(test::TakeContents(mFolder.Path("")), before);
  }
  EXPECT_GE(refused, 3);
}

INSTANTIATE_TEST_SUITE_P(Processor, Starved, ValuesIn(test::kOnProcessor), test::CaseName());
#endif

}  // namespace
