// What shells offer while a command is written.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

using test::Arguments;
using test::RunTool;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// What the program offers for the last word: first which files, then the words without their help.
struct Offer {
  std::string files;
  std::vector<std::string> words;
};

Offer OfferFor(Arguments words) {
  words.insert(words.begin(), {"help", "--complete", "--"});
  const auto result = RunTool(words, {.environment = {{"QT_QPA_PLATFORM", "none-such"}}});
  EXPECT_EQ(result.code, 0) << result.errors;
  Offer offer;
  for (const std::string& line : Lines(result.output)) {
    if (offer.files.empty())
      offer.files = line;
    else
      offer.words.push_back(line.substr(0, line.find('\t')));
  }
  return offer;
}

TEST(Completion, OffersSubCommandsAndOptions) {
  EXPECT_THAT(OfferFor({""}).words, IsSupersetOf({"convert", "blend", "help", "doctor"}));
  EXPECT_THAT(OfferFor({"co"}).words, ElementsAre("convert", "compare", "correct"));
  EXPECT_THAT(OfferFor({"--ve"}).words, ElementsAre("--version"));
  EXPECT_THAT(OfferFor({"convert", "--fr"}).words, ElementsAre("--frame", "--frames"));
  EXPECT_THAT(OfferFor({"convert", "a.png", "b.png", "--pre"}).words, ElementsAre("--premultiply"));
  EXPECT_THAT(OfferFor({"sheet", "--fr"}).words, IsEmpty());
  EXPECT_THAT(OfferFor({"help", "st"}).words, ElementsAre("stereo"));
}

// The value of an option is no argument, and no option either.
TEST(Completion, GoesOnBehindTheValueOfAnOption) {
  EXPECT_THAT(OfferFor({"convert", "--gpu", "never", "--pre"}).words, ElementsAre("--premultiply"));
  EXPECT_THAT(OfferFor({"blend", "--set", "Preset=A over B", "--gpu", ""}).words,
              ElementsAre("auto", "never", "require"));
}

TEST(Completion, OffersTheTextsOfValues) {
  EXPECT_THAT(OfferFor({"convert", "--gpu", ""}).words, ElementsAre("auto", "never", "require"));
  EXPECT_THAT(OfferFor({"convert", "--gpu=ne"}).words, ElementsAre("--gpu=never"));
  EXPECT_THAT(OfferFor({"convert", "--field", "t"}).words, ElementsAre("two"));
  EXPECT_THAT(OfferFor({"convert", "--format", "RGB"}).words, ElementsAre("RGBA", "RGB"));
  EXPECT_THAT(OfferFor({"stereo", "--mode", "s"}).words, ElementsAre("side-by-side", "side-by-side-swapped"));
  EXPECT_THAT(OfferFor({"blend", "--missing", ""}).words, ElementsAre("error", "skip", "hold", "black"));
  EXPECT_THAT(OfferFor({"blend", "--frames", ""}).words, ElementsAre("all"));
  EXPECT_THAT(OfferFor({"help", "--completion", ""}).words, ElementsAre("bash", "fish", "zsh"));
  EXPECT_THAT(OfferFor({"info", "--face=+"}).words, ElementsAre("--face=+x", "--face=+y", "--face=+z"));
  EXPECT_THAT(OfferFor({"convert", "--resize", ""}).words, IsEmpty());
  EXPECT_EQ(OfferFor({"convert", "--resize", ""}).files, "words");
}

// Whatever is offered is taken: an option of the table and the check of its value belong together.
TEST(Completion, EveryTextThatIsOfferedIsTaken) {
  for (const Arguments& option :
       {Arguments{"convert", "--gpu"}, Arguments{"convert", "--field"}, Arguments{"convert", "--format"},
        Arguments{"convert", "--missing"}, Arguments{"convert", "--progress"}, Arguments{"stereo", "--mode"},
        Arguments{"help", "--completion"}, Arguments{"convert", "--face"}}) {
    const auto words = OfferFor({option[0], option[1], ""}).words;
    EXPECT_GE(words.size(), 3U) << option[1];
    for (const std::string& word : words) {
      const auto result =
          RunTool({option[0], "none.png", "nor.png", "nowhere.png", option[1], word, "--frames", "1"});
      EXPECT_THAT(result.errors, Not(testing::HasSubstr(option[1]))) << word;
    }
  }
}

TEST(Completion, OffersPropertiesAndTheirTexts) {
  EXPECT_THAT(OfferFor({"blend", "--set", ""}).words, IsSupersetOf({"Preset=", "Alpha=", "FuncRGB="}));
  EXPECT_THAT(OfferFor({"blend", "--set", "Al"}).words, ElementsAre("Alpha="));
  EXPECT_THAT(OfferFor({"blend", "--set", "Preset=A o"}).words,
              ElementsAre("Preset=A over B", "Preset=A out B"));
  EXPECT_THAT(OfferFor({"correct", "--set", "Negative="}).words,
              ElementsAre("Negative=true", "Negative=false"));
  EXPECT_THAT(OfferFor({"correct", "--set", "Gamma="}).words, IsEmpty());
}

TEST(Completion, OffersOperatorsAndFiles) {
  EXPECT_THAT(OfferFor({"properties", ""}).words,
              IsSupersetOf({"RImOpBlend", "RImOpCC", "blend", "correct", "key"}));
  EXPECT_EQ(OfferFor({"convert", ""}).files,
            "files bmp dds iff jpeg jpg pic png rgb rgba sgi svg tga tif tiff yuv");
  EXPECT_EQ(OfferFor({"graph", ""}).files, "files json");
  EXPECT_EQ(OfferFor({"correct", "--save", ""}).files, "files json");
  EXPECT_THAT(OfferFor({"graph", "g.json", ""}).files, StartsWith("files bmp "));
  EXPECT_EQ(OfferFor({"compare", "a.png", "b.png", "--diff", ""}).files, "files");
  EXPECT_EQ(OfferFor({"formats", ""}).files, "words");
  const Offer behind = OfferFor({"info", "--", "--js"});
  EXPECT_THAT(behind.files, StartsWith("files "));
  EXPECT_THAT(behind.words, IsEmpty());
}

// --- The scripts, in their shells.

class Shell : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"one.png", "two.PNG", "three.txt", "o k.png"}) (void)mFolder.Write(name, {1});
    std::filesystem::create_directory(mFolder.Path("folder"));
  }

  // Runs lines of a shell behind the completion's script; nothing where the shell is missing.
  std::vector<std::string> Run(const std::string& shell, const Arguments& options,
                               const std::string& lines) const {
    if (std::system(("command -v " + shell + " >/dev/null").c_str()) != 0) return {};
    const auto script = RunTool({"help", "--completion", shell}).output;
    const std::string path = mFolder.Write(".script", {script.begin(), script.end()});
    Arguments arguments = {shell};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.insert(arguments.end(), {"-c", lines});
    const auto result = RunTool(
        arguments, {.folder = mFolder.Path(""),
                    .environment = {{"PATH", std::string(RIMAGE_TOOL_FOLDER ":") + std::getenv("PATH")},
                                    {"SCRIPT", path},
                                    {"HOME", mFolder.Path("")}},
                    .program = "/usr/bin/env"});
    EXPECT_EQ(result.code, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    return Lines(result.output);
  }

  // `words` as bash splits them; the last is the one being written.
  std::vector<std::string> Bash(const std::string& words) const {
    return Run("bash", {"--norc"},
               "compopt() { :; }; source \"$SCRIPT\"; COMP_WORDS=(" + words +
                   "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _rimage; printf '%s\\n' \"${COMPREPLY[@]}\"");
  }
  std::vector<std::string> Fish(const std::string& line) const {
    return Run("fish", {"--no-config"}, "source $SCRIPT; complete -C '" + line + "'");
  }
  std::vector<std::string> Zsh(const std::string& words) const {
    return Run("zsh", {"-f"},
               "compdef() { }; _describe() { print -l -- \"${(@P)2}\" \"${@:3}\" }; _files() { print -- "
               "files \"$@\" };"
               "source $SCRIPT; words=(" +
                   words + "); CURRENT=$#words; _rimage");
  }

  test::TemporaryFolder mFolder;
};

TEST_F(Shell, BashCompletes) {
  EXPECT_THAT(Bash("rimage conv"), ElementsAre("convert"));
  EXPECT_THAT(Bash("rimage blend --gpu = ne"), ElementsAre("never"));
  EXPECT_THAT(Bash("rimage blend --set Pres"), ElementsAre("Preset="));
  EXPECT_THAT(Bash("rimage blend --set Preset = 'A\\ o'"), ElementsAre("A\\ over\\ B", "A\\ out\\ B"));
  EXPECT_THAT(Bash("rimage blend --set Preset ="), Contains("dissolve"));
  EXPECT_THAT(Bash("rimage info o"), testing::UnorderedElementsAre("one.png", "o k.png"));
  EXPECT_THAT(Bash("rimage info ''"),
              testing::UnorderedElementsAre("one.png", "two.PNG", "o k.png", "folder"));
}

TEST_F(Shell, FishCompletes) {
  if (std::system("command -v fish >/dev/null") != 0) GTEST_SKIP() << "fish is not installed";
  EXPECT_THAT(Fish("rimage conv"), ElementsAre("convert\tRead a picture, apply operations, write it"));
  EXPECT_THAT(Fish("rimage blend --gpu=ne"), ElementsAre("--gpu=never"));
  EXPECT_THAT(Fish("rimage blend --set Pres"), ElementsAre("Preset=\tenumeration"));
  EXPECT_THAT(Fish("rimage info on"), ElementsAre("one.png"));
  EXPECT_THAT(Fish("rimage info t"), ElementsAre("two.PNG"));
  EXPECT_THAT(Fish("rimage info "), Contains("folder/"));
}

TEST_F(Shell, ZshCompletes) {
  if (std::system("command -v zsh >/dev/null") != 0) GTEST_SKIP() << "zsh is not installed";
  EXPECT_THAT(Zsh("rimage conv"), ElementsAre("convert:Read a picture, apply operations, write it"));
  EXPECT_THAT(Zsh("rimage blend --gpu=ne"), ElementsAre("--gpu=never:"));
  EXPECT_THAT(Zsh("rimage blend --set Pres"), ElementsAre("Preset=:enumeration", "-S", ""));
  EXPECT_THAT(Zsh("rimage blend --set 'Preset=A\\ o'"), ElementsAre("Preset=A over B:", "Preset=A out B:"));
  EXPECT_THAT(
      Zsh("rimage info ''"),
      ElementsAre("files -g *.(#i)(bmp|dds|iff|jpeg|jpg|pic|png|rgb|rgba|sgi|svg|tga|tif|tiff|yuv)(-.)"));
}

}  // namespace
