// Outputs are there whole or not at all: failures, interruptions, links and permissions.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

namespace fs = std::filesystem;
using test::RunTool;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

using Bytes = std::vector<unsigned char>;

class Output : public testing::Test {
 protected:
  void SetUp() override { test::Save(test::MakeOpaque(8, 6), mInput); }

  // Expects a failure to write with the reason.
  void Refuse(const std::string& output, const std::string& reason) const {
    const auto result = RunTool({"convert", mInput, output}, {.obeyPermissions = true});
    EXPECT_EQ(result.code, 4) << output;
    EXPECT_EQ(result.errors, "rimage: " + output + ": " + reason + "\n");
  }

  test::TemporaryFolder mFolder;
  std::string mInput = mFolder.Path("in.png");
};

// --- A write that fails in the middle.

struct FailingWrite {
  const char* extension;
  bool translucent;  // written by the tool itself, where the format has alpha
};

class FullDisk : public Output, public testing::WithParamInterface<FailingWrite> {};

TEST_P(FullDisk, LeavesTheEarlierFileAndNothingElse) {
  QImage picture = test::MakeNoise(200, 200);
  if (GetParam().translucent) {
    picture = picture.convertToFormat(QImage::Format_ARGB32);
    picture.setPixel(0, 0, 0x40123456);
  }
  test::Save(picture, mInput);
  const std::string output = mFolder.Write(std::string("out.") + GetParam().extension, test::kEarlier);
  const auto before = test::ListFolder(mFolder.Path(""));
  test::ToolSettings settings;
  if (std::string(GetParam().extension) == "png") {
    settings.environment = {
        {"LSAN_OPTIONS", "suppressions=" RIMAGE_FAILING_PNG_LEAKS ":print_suppressions=0"}};
  }
  test::Arguments arguments = {"convert", mInput, output};
  if (output.ends_with("jpg")) arguments.emplace_back("--quality=100");
  if (output.ends_with("png")) arguments.emplace_back("--compression=0");
  // The sizes end a write at its start, between two buffers of Qt, and in the last buffer.
  for (const long largest : {0L, 100L, 16384L, 20000L, 33000L}) {
    settings.largestFile = largest;
    const auto result = RunTool(arguments, settings);
    EXPECT_EQ(result.code, 4) << largest;
    EXPECT_EQ(result.errors, "rimage: " + output + ": File too large\n") << largest;
    EXPECT_EQ(test::ReadFile(output), test::kEarlier) << largest;
    EXPECT_EQ(test::ListFolder(mFolder.Path("")), before) << largest;
  }
}

INSTANTIATE_TEST_SUITE_P(All, FullDisk,
                         testing::Values(FailingWrite{"png", false}, FailingWrite{"png", true},
                                         FailingWrite{"tif", false}, FailingWrite{"tif", true},
                                         FailingWrite{"tga", false}, FailingWrite{"tga", true},
                                         FailingWrite{"bmp", false}, FailingWrite{"bmp", true},
                                         FailingWrite{"jpg", false}, FailingWrite{"jpg", true}),
                         [](const auto& row) {
                           return std::string(row.param.extension) +
                                  (row.param.translucent ? "Translucent" : "Opaque");
                         });

// The last bytes wait in a buffer until the file is closed; losing them is a failure as well.
class LastBytes : public Output, public testing::WithParamInterface<FailingWrite> {};

TEST_P(LastBytes, AreNotLostUnnoticed) {
  QImage picture = test::MakeNoise(40, 30);
  if (GetParam().translucent) {
    picture = picture.convertToFormat(QImage::Format_ARGB32);
    picture.setPixel(0, 0, 0x40123456);
  }
  test::Save(picture, mInput);
  const std::string output = mFolder.Path(std::string("out.") + GetParam().extension);
  ASSERT_EQ(RunTool({"convert", mInput, output}).code, 0);
  const Bytes whole = test::ReadFile(output);
  const auto result =
      RunTool({"convert", mInput, output}, {.largestFile = static_cast<long>(whole.size()) - 1});
  EXPECT_EQ(result.code, 4);
  EXPECT_EQ(test::ReadFile(output), whole);
  EXPECT_EQ(RunTool({"convert", mInput, output}, {.largestFile = static_cast<long>(whole.size())}).code, 0);
}

INSTANTIATE_TEST_SUITE_P(All, LastBytes,
                         testing::Values(FailingWrite{"png", false}, FailingWrite{"png", true},
                                         FailingWrite{"tif", false}, FailingWrite{"tga", false},
                                         FailingWrite{"bmp", false}, FailingWrite{"jpg", false}),
                         [](const auto& row) {
                           return std::string(row.param.extension) +
                                  (row.param.translucent ? "Translucent" : "Opaque");
                         });

// --- Targets that cannot be.

TEST_F(Output, MissingFolder) {
  Refuse(mFolder.Path("none/out.png"), "the folder '" + mFolder.Path("none") + "' does not exist");
}

TEST_F(Output, FileInPlaceOfTheFolder) { Refuse(mInput + "/out.png", "Not a directory"); }

TEST_F(Output, FolderThatTakesNoFiles) { Refuse("/proc/out.png", "the folder '/proc' takes no files"); }

TEST_F(Output, ReadOnlyFolder) {
  fs::create_directory(mFolder.Path("folder"));
  chmod(mFolder.Path("folder").c_str(), 0500);
  Refuse(mFolder.Path("folder/out.png"), "Permission denied");
}

TEST_F(Output, WriteProtectedFile) {
  const std::string output = mFolder.Write("out.png", test::kEarlier);
  chmod(output.c_str(), 0400);
  Refuse(output, "Permission denied");
}

TEST_F(Output, Folder) {
  fs::create_directory(mFolder.Path("out.png"));
  Refuse(mFolder.Path("out.png"), "this is a folder");
}

TEST_F(Output, NamedPipe) {
  ASSERT_EQ(mkfifo(mFolder.Path("pipe.png").c_str(), 0600), 0);
  Refuse(mFolder.Path("pipe.png"), "this is no regular file");
}

TEST_F(Output, UnknownExtensionNamesTheKnownOnes) {
  const auto result = RunTool({"convert", mInput, mFolder.Path("out.gif")});
  EXPECT_EQ(result.code, 4);
  EXPECT_THAT(result.errors,
              HasSubstr("no way to write the extension 'gif' (known: bmp, jpeg, jpg, png, tga, tif, tiff"));
  EXPECT_THAT(RunTool({"convert", mInput, mFolder.Path("out")}).errors,
              HasSubstr("the name has no extension that tells how to write it"));
}

TEST_F(Output, TheExtensionIsCheckedBeforeAnythingIsRead) {
  EXPECT_EQ(RunTool({"convert", "/nowhere/in.png", mFolder.Path("out.gif")}).code, 4);
}

TEST_F(Output, TooLargeForTga) {
  const std::string output = mFolder.Write("out.tga", test::kEarlier);
  const auto result = RunTool({"convert", mInput, "--resize", "70000x1", output});
  EXPECT_EQ(result.code, 4);
  EXPECT_EQ(result.errors, "rimage: " + output + ": the picture could not be written\n");
  EXPECT_EQ(test::ReadFile(output), test::kEarlier);
}

// --- Targets that are special.

TEST_F(Output, MayBeTheInput) {
  const auto before = test::ListFolder(mFolder.Path(""));
  EXPECT_EQ(RunTool({"convert", mInput, "--resize", "3x2", mInput}).code, 0);
  EXPECT_EQ(test::Load(mInput).size(), QSize(3, 2));
  EXPECT_EQ(test::ListFolder(mFolder.Path("")), before);
}

TEST_F(Output, ExtensionsOfEveryCaseAreKnown) {
  EXPECT_EQ(RunTool({"convert", mInput, mFolder.Path("OUT.TGA")}).code, 0);
  EXPECT_EQ(RunTool({"convert", mFolder.Path("OUT.TGA"), mFolder.Path("OUT.Png")}).code, 0);
  EXPECT_EQ(test::PixelsOf(test::Load(mFolder.Path("OUT.Png"))), test::PixelsOf(test::Load(mInput)));
}

TEST_F(Output, NamesOfEveryKindAreWritten) {
  for (const char* name : {"new\nline.png", "gr\xC3\xBC\xC3\x9F \xE7\x94\xBB.png", "-dash.png", ":colon.png",
                           "\xFF.png", "100%25.png", ".png"}) {
    for (const char* locale : {"C.UTF-8", "C"}) {
      const test::ToolSettings settings{.folder = mFolder.Path(""), .environment = {{"LC_ALL", locale}}};
      const auto result = RunTool({"convert", "--flip", "--", "in.png", name}, settings);
      EXPECT_EQ(result.code, 0) << name << result.errors;
      EXPECT_TRUE(fs::exists(mFolder.Path(name))) << name;
      fs::remove(mFolder.Path(name));
    }
  }
  EXPECT_THAT(test::ListFolder(mFolder.Path("")), ElementsAre("in.png"));
}

TEST_F(Output, TheLongestNameIsWritten) {
  const std::string output = mFolder.Path(std::string(251, 'n') + ".png");
  EXPECT_EQ(RunTool({"convert", mInput, output}).code, 0);
  EXPECT_TRUE(fs::exists(output));
}

TEST_F(Output, AnExistingFileKeepsItsPermissions) {
  const std::string output = mFolder.Write("out.png", test::kEarlier);
  chmod(output.c_str(), 0640);
  EXPECT_EQ(RunTool({"convert", mInput, output}).code, 0);
  struct stat status {};
  ASSERT_EQ(stat(output.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640U);
}

TEST_F(Output, ANewFileGetsTheUsualPermissions) {
  const mode_t before = umask(027);
  EXPECT_EQ(RunTool({"convert", mInput, mFolder.Path("out.png")}).code, 0);
  umask(before);
  struct stat status {};
  ASSERT_EQ(stat(mFolder.Path("out.png").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640U);
}

TEST_F(Output, ALinkStaysAndItsTargetIsReplaced) {
  fs::create_directory(mFolder.Path("far"));
  const std::string target = mFolder.Write("far/target.png", test::kEarlier);
  fs::create_symlink("far/target.png", mFolder.Path("link.png"));
  fs::create_symlink("link.png", mFolder.Path("second.png"));
  EXPECT_EQ(RunTool({"convert", mInput, mFolder.Path("second.png")}).code, 0);
  EXPECT_TRUE(fs::is_symlink(mFolder.Path("link.png")));
  EXPECT_TRUE(fs::is_symlink(mFolder.Path("second.png")));
  EXPECT_EQ(test::PixelsOf(test::Load(target)), test::PixelsOf(test::Load(mInput)));
  EXPECT_THAT(test::ListFolder(mFolder.Path("far")), ElementsAre("target.png"));
}

TEST_F(Output, TheLinksNameTellsTheFormat) {
  const std::string target = mFolder.Write("data", test::kEarlier);
  fs::create_symlink("data", mFolder.Path("link.png"));
  EXPECT_EQ(RunTool({"convert", mInput, mFolder.Path("link.png")}).code, 0);
  EXPECT_THAT(test::ReadFile(target), testing::Not(test::kEarlier));
}

TEST_F(Output, ALinkToNothingCreatesItsTarget) {
  fs::create_symlink(mFolder.Path("target.png"), mFolder.Path("link.png"));
  EXPECT_EQ(RunTool({"convert", mInput, mFolder.Path("link.png")}).code, 0);
  EXPECT_TRUE(fs::is_symlink(mFolder.Path("link.png")));
  EXPECT_TRUE(fs::is_regular_file(mFolder.Path("target.png")));
}

TEST_F(Output, LinksInACircleAreRefused) {
  fs::create_symlink("b.png", mFolder.Path("a.png"));
  fs::create_symlink("a.png", mFolder.Path("b.png"));
  Refuse(mFolder.Path("a.png"), "Too many levels of symbolic links");
}

TEST_F(Output, OtherHardLinksKeepTheOldContents) {
  const std::string output = mFolder.Write("out.png", test::kEarlier);
  fs::create_hard_link(output, mFolder.Path("other.png"));
  EXPECT_EQ(RunTool({"convert", mInput, output}).code, 0);
  EXPECT_EQ(test::ReadFile(mFolder.Path("other.png")), test::kEarlier);
  EXPECT_NE(test::ReadFile(output), test::kEarlier);
}

// --- Interruptions.

// Waits until there are that many entries in the folder; false after half a minute.
bool WaitForEntries(const std::string& folder, std::size_t count) {
  for (int i = 0; i < 3000; ++i) {
    if (test::ListFolder(folder).size() >= count) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

class Interruption : public Output, public testing::WithParamInterface<int> {};

TEST_P(Interruption, LeavesTheEarlierFileAndNothingElse) {
  test::Save(test::MakeNoise(500, 500), mInput);
  const std::string output = mFolder.Write("out.png", test::kEarlier);
  const auto before = test::ListFolder(mFolder.Path(""));
  test::ToolProcess tool({"convert", mInput, "--resize", "6000x6000", output, "--compression", "100"});
  ASSERT_TRUE(WaitForEntries(mFolder.Path(""), before.size() + 1)) << "no temporary file";
  tool.Signal(GetParam());
  const auto result = tool.Wait();
  EXPECT_EQ(result.code, 128 + GetParam());
  EXPECT_EQ(test::ReadFile(output), test::kEarlier);
  EXPECT_EQ(test::ListFolder(mFolder.Path("")), before);
}

INSTANTIATE_TEST_SUITE_P(All, Interruption, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST_F(Output, ALongBatchCanBeInterrupted) {
  test::Save(test::MakeNoise(1000, 1000), mInput);
  test::Arguments arguments = {"sheet"};
  arguments.insert(arguments.end(), 5000, mInput);
  arguments.push_back(mFolder.Path("sheet.png"));
  test::ToolProcess tool(arguments);
  ASSERT_TRUE(tool.WaitUntilStarted());
  tool.Signal(SIGINT);
  EXPECT_EQ(tool.Wait().code, 130);
  EXPECT_THAT(test::ListFolder(mFolder.Path("")), ElementsAre("in.png"));
}

TEST_F(Output, AnIgnoredInterruptionStaysIgnored) {
  test::Save(test::MakeNoise(500, 500), mInput);
  const std::string output = mFolder.Path("out.png");
  test::ToolProcess tool({"convert", mInput, "--resize", "3000x3000", output}, {.ignoreInterrupt = true});
  ASSERT_TRUE(WaitForEntries(mFolder.Path(""), 2));
  tool.Signal(SIGINT);
  EXPECT_EQ(tool.Wait().code, 0);
  EXPECT_THAT(test::ListFolder(mFolder.Path("")), ElementsAre("in.png", "out.png"));
}

}  // namespace
