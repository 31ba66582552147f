// --save: the graph takes the place of no picture, and neither file is replaced when one of them cannot be.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <thread>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

namespace fs = std::filesystem;
using test::Arguments;
using test::RunTool;

using Bytes = std::vector<unsigned char>;

class SaveGraph : public testing::Test {
 protected:
  void SetUp() override {
    test::Save(test::MakeOpaque(4, 3), mFolder.Path("in.png"));
    for (const char* name : {"out.png", "g.json"}) (void)mFolder.Write(name, test::kEarlier);
    const std::string graph =
        R"({"nodes": {"x": {"operator": "correct", "inputs": ["in.png"], "properties": {"Gamma": 2}}}})";
    (void)mFolder.Write("graph.json", {graph.begin(), graph.end()});
  }

  std::map<std::string, Bytes> Contents() const {
    std::map<std::string, Bytes> contents;
    for (const std::string& name : test::ListFolder(mFolder.Path("")))
      contents[name] = fs::is_regular_file(mFolder.Path(name)) ? test::ReadFile(mFolder.Path(name)) : Bytes();
    return contents;
  }
  test::ToolResult Run(const Arguments& command, const std::string& save,
                       test::ToolSettings settings = {}) const {
    Arguments arguments = command;
    arguments.insert(arguments.end(), {"--gpu=never", "--save", save});
    settings.folder = mFolder.Path("");
    settings.obeyPermissions = true;
    return RunTool(arguments, settings);
  }
  // Runs what must fail and change nothing.
  void Refuse(const Arguments& command, const std::string& save, int code, const std::string& message,
              const test::ToolSettings& settings = {}) const {
    SCOPED_TRACE(testing::PrintToString(command) + save);
    const auto before = Contents();
    const auto result = Run(command, save, settings);
    EXPECT_EQ(result.code, code);
    EXPECT_EQ(result.errors, "rimage: " + message + "\n");
    EXPECT_EQ(Contents(), before);
  }

  test::TemporaryFolder mFolder;
};

const std::vector<Arguments> kCommands = {
    {"correct", "in.png", "out.png"}, {"key", "in.png", "out.png"}, {"graph", "graph.json", "out.png"}};

TEST_F(SaveGraph, BothFilesAreReplaced) {
  for (const Arguments& command : kCommands) {
    SCOPED_TRACE(command.front());
    for (const char* name : {"out.png", "g.json"}) (void)mFolder.Write(name, test::kEarlier);
    const auto result = Run(command, "g.json");
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output + result.errors, "");
    EXPECT_EQ(test::Load(mFolder.Path("out.png")).size(), QSize(4, 3));
    EXPECT_TRUE(nlohmann::json::parse(test::ReadFile(mFolder.Path("g.json"))).contains("nodes"));
    EXPECT_EQ(test::ListFolder(mFolder.Path("")),
              (std::vector<std::string>{"g.json", "graph.json", "in.png", "out.png"}));
  }
}

// The picture is damaged, which would be told if it were read first.
TEST_F(SaveGraph, NamesThatAreNoGraphsAreRefusedBeforeAnythingIsRead) {
  (void)mFolder.Write("in.png", {1, 2, 3});
  for (const Arguments& command : kCommands) {
    for (const std::string name : {"in.png", "out.png", "new.png", "g", "json", "g.json.tga", ".json/g"}) {
      Refuse(command, name, 2, "--save: wrong value '" + name + "' (a name that ends in .json)");
    }
  }
}

TEST_F(SaveGraph, FilesThatAreReadOrWrittenAreRefused) {
  (void)mFolder.Write("in.png", {1, 2, 3});
  fs::create_symlink("in.png", mFolder.Path("in.json"));
  fs::create_symlink("./out.png", mFolder.Path("out.json"));
  fs::create_symlink("new.png", mFolder.Path("new.json"));
  fs::create_directory_symlink(".", mFolder.Path("folder"));
  const std::string isRead = " is a file that is read (the graph needs a file of its own)";
  const std::string isOut = " is OUT (the graph needs a file of its own)";
  for (const Arguments& command : kCommands) {
    for (const std::string& save : {std::string("in.json"), mFolder.Path("folder/in.json")})
      Refuse(command, save, 2, "--save: " + save + isRead);
    for (const std::string save : {"out.json", "folder/folder/out.json"})
      Refuse(command, save, 2, "--save: " + save + isOut);
  }
  Refuse({"key", "in.png", "in.png", "new.png"}, "new.json", 2, "--save: new.json" + isOut);
  for (const std::string save : {"graph.json", "./graph.json", "folder/graph.json"})
    Refuse({"graph", "graph.json", "out.png"}, save, 2, "--save: " + save + isRead);
}

TEST_F(SaveGraph, PlacesThatTakeNoFileAreRefusedBeforeAnythingIsRead) {
  (void)mFolder.Write("in.png", {1, 2, 3});
  fs::create_directory(mFolder.Path("folder.json"));
  fs::create_directory(mFolder.Path("closed"));
  chmod(mFolder.Path("closed").c_str(), 0500);
  chmod(mFolder.Write("protected.json", test::kEarlier).c_str(), 0400);
  for (const Arguments& command : kCommands) {
    Refuse(command, "none/g.json", 4, "none/g.json: the folder 'none' does not exist");
    Refuse(command, "in.png/g.json", 4, "in.png/g.json: Not a directory");
    Refuse(command, "folder.json", 4, "folder.json: this is a folder");
    Refuse(command, "closed/g.json", 4, "closed/g.json: Permission denied");
    Refuse(command, "protected.json", 4, "protected.json: Permission denied");
    Refuse(command, "/proc/g.json", 4, "/proc/g.json: the folder '/proc' takes no files");
  }
}

TEST_F(SaveGraph, AGraphThatDoesNotFitLeavesThePictureAsItWas) {
  constexpr long kRoom = 250;
  for (const Arguments& command : kCommands) {
    ASSERT_EQ(Run(command, "g.json").code, 0);
    ASSERT_LT(fs::file_size(mFolder.Path("out.png")), kRoom);
    ASSERT_GT(fs::file_size(mFolder.Path("g.json")), kRoom);
    for (const char* name : {"out.png", "g.json"}) (void)mFolder.Write(name, test::kEarlier);
    Refuse(command, "g.json", 4, "g.json: File too large", {.largestFile = kRoom});
  }
}

TEST_F(SaveGraph, APictureThatDoesNotFitLeavesTheGraphAsItWas) {
  test::Save(test::MakeNoise(200, 200), mFolder.Path("in.png"));
  Refuse({"correct", "in.png", "out.bmp"}, "g.json", 4, "out.bmp: File too large", {.largestFile = 50'000});
}

class InterruptedSaving : public SaveGraph, public testing::WithParamInterface<int> {};

TEST_P(InterruptedSaving, LeavesBothFilesAndNothingElse) {
  test::Save(test::MakeNoise(3000, 2000), mFolder.Path("in.png"));
  const auto before = Contents();
  test::ToolProcess tool(
      {"correct", "in.png", "out.png", "--gpu=never", "--compression", "100", "--save", "g.json"},
      {.folder = mFolder.Path("")});
  for (int i = 0; i < 3000 && test::ListFolder(mFolder.Path("")).size() < before.size() + 2; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_EQ(test::ListFolder(mFolder.Path("")).size(), before.size() + 2) << "the files that are begun";
  tool.Signal(GetParam());
  EXPECT_EQ(tool.Wait().code, 128 + GetParam());
  EXPECT_EQ(Contents(), before);
}

INSTANTIATE_TEST_SUITE_P(All, InterruptedSaving, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST_F(SaveGraph, SequencesSaveNoGraph) {
  fs::copy(mFolder.Path("in.png"), mFolder.Path("in.1.png"));
  for (const std::string save : {"g.json", "in.1.png", "out.1.png", "none/g.json"}) {
    for (const char* output : {"out.#.png", "in.#.png"}) {
      Refuse({"correct", "in.#.png", output, "--frames", "1-2"}, save, 2,
             "--save: it is for one picture (leave out --frames)");
    }
  }
}

}  // namespace
