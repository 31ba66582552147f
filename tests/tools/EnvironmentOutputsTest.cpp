// Targets that take nothing, and those that take whatever is written, each with every sub-command.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "EnvironmentMatrix.h"
#include "SmallFileSystem.h"
#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/CaseName.h"
#include "support/TestData.h"

namespace {

namespace fs = std::filesystem;
using test::Command;
using test::Files;
using test::Matrix;
using test::RunTool;
using test::TemporaryFolder;
using testing::ValuesIn;

using Bytes = std::vector<unsigned char>;

// --- Targets that cannot be written

struct OutputCase {
  const char* name;
  std::string reason;
  std::string (*make)(const TemporaryFolder& folder);  // returns the path
  long largestFile = -1;
  const char* shell = "";
};
void PrintTo(const OutputCase& output, std::ostream* stream) { *stream << output.name; }

const std::vector<OutputCase> kOutputs = {
    {"MissingFolder", "the folder '", [](const auto& f) { return f.Path("none/out.png"); }},
    {"FileAsFolder", "Not a directory", [](const auto& f) { return f.Path("good.png/out.png"); }},
    {"Folder", "this is a folder", [](const auto& f) { return test::MakeFolder(f.Path("folder.png")); }},
    {"ReadOnlyFolder", "Permission denied",
     [](const auto& f) {
       fs::create_directory(f.Path("folder"));
       test::WriteFile(f.Path("folder/out.png"), test::kEarlier);
       chmod(f.Path("folder").c_str(), 0500);
       return f.Path("folder/out.png");
     }},
    {"WriteProtected", "Permission denied",
     [](const auto& f) {
       chmod(f.Write("out.png", test::kEarlier).c_str(), 0400);
       return f.Path("out.png");
     }},
    {"NamedPipe", "this is no regular file",
     [](const auto& f) { return test::MakePipe(f.Path("pipe.png")); }},
    {"Socket", "this is no regular file",
     [](const auto& f) { return test::MakeSocket(f.Path("socket.png")); }},
    {"FullDevice", "this is no regular file",
     [](const auto& f) { return test::MakeLink(f.Path("full.png"), "/dev/full"); }},
    {"FolderThatTakesNoFiles", "the folder '/proc' takes no files",
     [](const auto&) { return std::string("/proc/out.png"); }},
    {"LinksInACircle", "Too many levels of symbolic links",
     [](const auto& f) { return test::MakeLinksInACircle(f); }},
    {"NameOver255Bytes", "File name too long",
     [](const auto& f) { return f.Path(std::string(252, 'n') + ".png"); }},
    {"PathOver4096Bytes", "File name too long", [](const auto& f) { return test::LongPath(f, "out.png"); }},
    {"UnknownExtension", "no way to write the extension 'gif' (known: ",
     [](const auto& f) { return f.Write("out.gif", test::kEarlier); }},
    {"NoExtension", "the name has no extension that tells how to write it (known: ",
     [](const auto& f) { return f.Write("out", test::kEarlier); }},
    {"NoRoomAtAll", "File too large", [](const auto& f) { return f.Write("out.png", test::kEarlier); }, 0},
    {"RoomForAPart", "File too large", [](const auto& f) { return f.Write("out.bmp", test::kEarlier); }, 100},
    {"MaskThatForbidsAll", "Permission denied",
     [](const auto& f) { return f.Write("out.png", test::kEarlier); }, -1, "umask 777"},
};

class Outputs : public Matrix, public testing::WithParamInterface<std::tuple<Command, OutputCase>> {};

TEST_P(Outputs, AreRefused) {
  const auto& [command, output] = GetParam();
  if (!command.writes) return;
  const std::string path = output.make(mFolder);
  const Files files = FilesFor(Good(), path);
  Refuse(command.arguments(files), 4, path, output.reason,
         {.environment = {{"LSAN_OPTIONS", "suppressions=" RIMAGE_FAILING_PNG_LEAKS ":print_suppressions=0"}},
          .largestFile = output.largestFile,
          .shell = output.shell});
}

INSTANTIATE_TEST_SUITE_P(Processor, Outputs,
                         testing::Combine(ValuesIn(test::kOnProcessor), ValuesIn(kOutputs)),
                         test::PairName());
// The drivers write caches of their own, which a limit of file sizes ends.
std::vector<OutputCase> OutputsWithoutLimits() {
  std::vector<OutputCase> cases = kOutputs;
  std::erase_if(cases, [](const OutputCase& output) { return output.largestFile >= 0; });
  return cases;
}
INSTANTIATE_TEST_SUITE_P(OpenGL, Outputs,
                         testing::Combine(ValuesIn(test::kWithOpenGL), ValuesIn(OutputsWithoutLimits())),
                         test::PairName());

// --- Full file systems. The pictures that are written take more than what is left.

struct FullCase {
  const char* name;
  const char* reason;
  void (*fill)(const test::SmallFileSystem& files, const std::string& filler);
};
void PrintTo(const FullCase& full, std::ostream* stream) { *stream << full.name; }

const std::vector<FullCase> kFull = {
    {"NoRoomAtAll", "No space left on device", [](const auto& files, const auto&) { files.Fill("filler"); }},
    {"RoomForAPart", "No space left on device",
     [](const auto& files, const auto& filler) {
       files.Fill("filler");
       fs::resize_file(filler, fs::file_size(filler) - 8192);
     }},
    {"NoRoomForAName", "No space left on device",
     [](const auto& files, const auto&) { files.TakeAllNames(); }},
    {"ReadOnly", "Read-only file system", [](const auto& files, const auto&) { files.Protect(); }},
};

class FullFileSystem : public Matrix, public testing::WithParamInterface<std::tuple<Command, FullCase>> {};

TEST_P(FullFileSystem, IsRefused) {
  const auto& [command, full] = GetParam();
  if (!command.writes) return;
  for (const char* name : {"good.png", "second.png"})
    test::Save(test::MakeNoise(200, 200), mFolder.Path(name));
  const std::string folder = mFolder.Path("small");
  fs::create_directory(folder);
  const test::SmallFileSystem files(folder, "size=64k,nr_inodes=16");
  if (!files.Trouble().empty()) GTEST_SKIP() << files.Trouble();
  const std::string output = mFolder.Write("small/out.bmp", test::kEarlier);
  full.fill(files, mFolder.Path("small/filler"));
  Refuse(command.arguments(FilesFor(Good(), output)), 4, output, full.reason);
}

INSTANTIATE_TEST_SUITE_P(Processor, FullFileSystem,
                         testing::Combine(ValuesIn(test::kOnProcessor), ValuesIn(kFull)), test::PairName());
INSTANTIATE_TEST_SUITE_P(OpenGL, FullFileSystem,
                         testing::Combine(ValuesIn(test::kWithOpenGL), ValuesIn(kFull)), test::PairName());

// --- A quota that is used up

class Quota : public Matrix, public testing::WithParamInterface<Command> {};

TEST_P(Quota, IsRefused) {
  const Command& command = GetParam();
  if (!command.writes) return;
  const std::string output = mFolder.Write("out.png", test::kEarlier);
  Refuse(command.arguments(FilesFor(Good(), output)), 4, output, "Disk quota exceeded",
         {.environment = {{"LD_PRELOAD", RIMAGE_QUOTA},
                          {"QUOTA_FOLDER", mFolder.Path("")},
                          {"ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0"}}});
}

INSTANTIATE_TEST_SUITE_P(Processor, Quota, ValuesIn(test::kOnProcessor), test::CaseName());
INSTANTIATE_TEST_SUITE_P(OpenGL, Quota, ValuesIn(test::kWithOpenGL), test::CaseName());

// --- Names and places of the output

class Placed : public Matrix, public testing::WithParamInterface<Command> {
 protected:
  // Runs the tool and returns what it wrote into `output`.
  Bytes Write(const std::string& input, const std::string& output) const {
    const auto result = RunTool(GetParam().arguments(FilesFor(input, output)));
    EXPECT_LE(result.code, 1);
    EXPECT_EQ(result.errors, "");
    return test::ReadFile(output);
  }
};

TEST_P(Placed, TheOutputMayBeTheInput) {
  // A sheet is none of its pictures.
  if (!GetParam().writes || GetParam().name == std::string("Sheet")) return;
  fs::create_directory(mFolder.Path("other"));
  fs::copy_file(Good(), mFolder.Path("other/good.png"));
  const Bytes expected = Write(Good(), mFolder.Path("out.png"));
  fs::remove(mFolder.Path("out.png"));
  const auto before = test::ListFolder(mFolder.Path(""));
  EXPECT_EQ(Write(Good(), Good()), expected);
  EXPECT_EQ(test::ListFolder(mFolder.Path("")), before);
  fs::create_symlink("other/good.png", mFolder.Path("link.png"));
  EXPECT_EQ(Write(mFolder.Path("other/good.png"), mFolder.Path("link.png")), expected) << "through a link";
  EXPECT_TRUE(fs::is_symlink(mFolder.Path("link.png")));
}

TEST_P(Placed, TheOutputMayHaveAnyName) {
  if (!GetParam().writes) return;
  const Bytes expected = Write(Good(), mFolder.Path("out.png"));
  for (const std::string& name :
       {std::string("new\nline.png"), std::string("gr\xC3\xBC\xC3\x9F \xE7\x94\xBB.png"),
        std::string("\xFF.png"), std::string(251, 'n') + ".png"}) {
    EXPECT_EQ(Write(Good(), mFolder.Path(name)), expected) << name;
    fs::remove(mFolder.Path(name));
  }
  EXPECT_EQ(test::ListFolder(mFolder.Path("")),
            (std::vector<std::string>{"good.png", "graph.json", "out.png", "second.png"}));
}

TEST_P(Placed, TheInputMayHaveAnyName) {
  // A sheet shows the name of its input.
  const bool showsName = GetParam().name == std::string("Sheet");
  const std::string output = mFolder.Path("out.png");
  const auto run = [&](const std::string& input) {
    const auto result = RunTool(GetParam().arguments(FilesFor(input, output)));
    EXPECT_EQ(result.code, GetParam().name == std::string("Compare") ? 1 : 0);
    EXPECT_EQ(result.errors, "");
    return GetParam().writes ? test::ReadFile(output) : Bytes();
  };
  const Bytes expected = run(Good());
  for (const std::string& name :
       {std::string("new\nline.png"), std::string("gr\xC3\xBC\xC3\x9F \xE7\x94\xBB.png"),
        std::string(251, 'n') + ".png"}) {
    SCOPED_TRACE(name);
    fs::copy_file(Good(), mFolder.Path(name));
    const Bytes bytes = run(mFolder.Path(name));
    if (!showsName) {
      EXPECT_EQ(bytes, expected);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Processor, Placed, ValuesIn(test::kOnProcessor), test::CaseName());
INSTANTIATE_TEST_SUITE_P(OpenGL, Placed, ValuesIn(test::kWithOpenGL), test::CaseName());

}  // namespace
