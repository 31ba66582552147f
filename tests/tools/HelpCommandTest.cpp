// The help and what is made of it: all of them tell of the same sub-commands and options, and the examples
// work.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QImage>
#include <QRegularExpression>
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

namespace fs = std::filesystem;
using test::RunTool;
using testing::HasSubstr;
using testing::IsEmpty;

std::string Output(const test::Arguments& arguments) {
  const auto result = RunTool(arguments);
  EXPECT_EQ(result.code, 0) << result.errors;
  return result.output;
}

// What every match of a pattern has in its first group.
std::set<std::string> FindAll(const std::string& text, const std::string& pattern) {
  const QRegularExpression expression(QString::fromStdString(pattern), QRegularExpression::MultilineOption);
  std::set<std::string> found;
  for (const QRegularExpressionMatch& match : expression.globalMatch(QString::fromStdString(text)))
    found.insert(match.captured(1).toStdString());
  return found;
}

std::set<std::string> SubCommands() {
  return FindAll(Output({"help", "--complete", "--", ""}), "^([a-z]+)\t");
}

std::string WithoutAll(const std::string& text, const char* pattern) {
  return QString::fromStdString(text).remove(QRegularExpression(QString::fromLatin1(pattern))).toStdString();
}

// The part of a text between two others.
std::string Between(const std::string& text, const std::string& start, const std::string& end) {
  const std::size_t from = text.find(start);
  if (from == std::string::npos) return "";
  return text.substr(from, text.find(end, from + start.size()) - from);
}

TEST(Help, AllFormsTellTheSameOptions) {
  const std::string man = WithoutAll(Output({"help", "--man"}), R"(\\(?=-))");
  const std::string page = Output({"help", "--markdown"});
  const auto commands = SubCommands();
  EXPECT_GE(commands.size(), 13U);
  for (const std::string& command : commands) {
    const auto options = FindAll(Output({command, "--help"}), "^  ((-h, )?--[a-z-]+)");
    EXPECT_TRUE(options.contains("-h, --help")) << command;
    const std::string section =
        WithoutAll(Between(man, ".SS rimage " + command + " ", ".SS rimage "), R"(\\f[BR])");
    EXPECT_EQ(FindAll(section, R"(^\.TP\n((-h, )?--[a-z-]+))"), options) << command;
    EXPECT_EQ(FindAll(Between(page, "\n## " + command + "\n", "\n## "), R"(^\| `((-h, )?--[a-z-]+))"),
              options)
        << command;
    auto offered = FindAll(Output({"help", "--complete", "--", command, "-"}), "^(-[a-z-]+)\t");
    EXPECT_EQ(offered.erase("--help") + offered.erase("-h"), 2U) << command;
    offered.insert("-h, --help");
    EXPECT_EQ(offered, options) << command;
  }
}

TEST(Help, TheProgramsOwnOptionsAreInAllForms) {
  auto options = FindAll(Output({"--help"}), "^  ((-h, )?--[a-z-]+)");
  options.erase("--gl-shim");  // of development builds only
  EXPECT_THAT(options, testing::ElementsAre("--version", "-h, --help"));
  const std::string page = Output({"help", "--markdown"});
  EXPECT_EQ(FindAll(page.substr(0, page.find("\n## ")), R"(^\| `((-h, )?--[a-z-]+))"), options);
  EXPECT_EQ(FindAll(Between(Output({"help", "--man"}), ".SH OPTIONS", ".SH COMMANDS"), R"(\\-\\-([a-z-]+))"),
            (std::set<std::string>{"help", "version"}));
}

// What all sub-commands share is told once.
TEST(Help, ExitCodesAreToldOnce) {
  for (const char* form : {"--man", "--markdown"}) {
    const std::string page = Output({"help", form});
    const std::size_t first = page.find("Exit codes: ");
    EXPECT_NE(first, std::string::npos) << form;
    EXPECT_EQ(page.find("Exit codes: ", first + 1), std::string::npos) << form;
  }
  EXPECT_THAT(Output({"--help"}), HasSubstr("Exit codes: 0 done"));
  EXPECT_THAT(Output({"formats", "--help"}), testing::Not(HasSubstr("Exit codes")));
}

TEST(Help, EverySubCommandHasAnExample) {
  for (const std::string& command : SubCommands())
    EXPECT_THAT(Output({"help", command}),
                testing::ContainsRegex("\n    (eval .*)?rimage " + command + " ?"));
}

TEST(Help, ThePageInTheDocumentationIsUpToDate) {
  const auto bytes = test::ReadFile(RIMAGE_DOCS "/command-line.md");
  EXPECT_EQ(Output({"help", "--markdown"}), std::string(bytes.begin(), bytes.end()))
      << "./dev reference writes it anew";
}

TEST(Help, SubCommandsAreToldInBothWays) {
  for (const std::string& command : SubCommands())
    EXPECT_EQ(Output({"help", command}), Output({command, "--help"}));
  EXPECT_EQ(Output({"help"}), Output({"--help"}));
}

// The library in between would show what it checks and how it stores it.
TEST(Help, ValuesAreToldWithoutTheirTypes) {
  const std::string help = Output({"help", "convert"});
  EXPECT_THAT(help, HasSubstr("\n  --quality N                 Quality of JPEG, 0 to 100\n"));
  EXPECT_THAT(help,
              HasSubstr("\n  --gpu auto|never|require    auto and never decode textures on the processor"));
  EXPECT_THAT(help, HasSubstr("\n  --alpha [=invert]           Make a picture of the alpha\n"));
  EXPECT_THAT(help, HasSubstr("\n  --flip                      Exchange top and bottom\n"));
  for (const std::string& command : SubCommands())
    EXPECT_THAT(FindAll(Output({"help", command}), "^  --[a-z-]+ (INT|UINT|TEXT|FLOAT|BOOLEAN|[^ ]*:[^ ]*)"),
                IsEmpty())
        << command;
}

TEST(Help, LinesFitATerminalOfTheirWidth) {
  for (const std::string& command : SubCommands()) {
    std::istringstream lines(Output({"help", command}));
    for (std::string line; std::getline(lines, line);) {
      // Examples are shown as they are typed.
      if (line.starts_with("    rimage ")) continue;
      EXPECT_LE(line.size(), 110U) << line;
    }
  }
}

TEST(Help, MistakesHaveSuggestions) {
  EXPECT_EQ(RunTool({"help", "convrt"}).errors,
            "rimage: help: unknown sub-command 'convrt' (did you mean convert?)\n");
  EXPECT_EQ(RunTool({"help", "--completion", "zhs"}).errors,
            "rimage: --completion: unknown shell 'zhs' (did you mean zsh?)\n");
  EXPECT_EQ(RunTool({"help", "--completion", "powershell"}).errors,
            "rimage: --completion: unknown shell 'powershell' (known: bash, fish, zsh)\n");
  EXPECT_EQ(RunTool({"help", "--completion", "zhs"}).code, 2);
}

TEST(Help, TheManualPageIsWellFormed) {
  if (std::system("command -v groff >/dev/null") != 0) GTEST_SKIP() << "groff is not installed";
  const test::TemporaryFolder folder;
  const std::string page = Output({"help", "--man"});
  const std::string path = folder.Write("rimage.1", {page.begin(), page.end()});
  const auto result = RunTool({"-c", "groff -man -Tutf8 -ww '" + path + "'"}, {.program = "/bin/sh"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(result.output, HasSubstr("rimage stereo [OPTIONS] LEFT RIGHT OUT"));
}

// Of a keyed picture a good part is gone and a good part is left, with soft edges between them.
void ExpectKeyed(const QImage& image) {
  const test::Pixels pixels = test::PixelsOf(image);
  const auto part = [&](auto isOne) {
    return static_cast<double>(std::ranges::count_if(pixels, isOne)) / static_cast<double>(pixels.size());
  };
  EXPECT_GT(part([](QRgb pixel) { return qAlpha(pixel) == 0; }), 0.2);
  EXPECT_GT(part([](QRgb pixel) { return qAlpha(pixel) == 255; }), 0.2);
  EXPECT_GT(part([](QRgb pixel) { return qAlpha(pixel) % 255 != 0; }), 0.01);
}

TEST(Help, EveryExampleWorks) {
  const test::TemporaryFolder folder;
  for (const auto& entry : fs::directory_iterator(RIMAGE_SAMPLES)) {
    if (entry.path().extension() != ".sh") fs::copy(entry, folder.Path(entry.path().filename().string()));
  }
  const test::ToolSettings settings{
      .folder = folder.Path(""),
      .environment = {{"PATH", std::string(RIMAGE_TOOL_FOLDER ":") + std::getenv("PATH")}},
      .program = "/bin/bash"};
  // In the order of the page, as it says.
  std::istringstream lines(Output({"help", "--markdown"}));
  int count = 0;
  std::string before;
  for (std::string line; std::getline(lines, line);) {
    const bool isBehindText = line.empty() && before.ends_with(":");
    if (!line.empty()) before = line;
    if (!isBehindText) continue;
    before.clear();
    std::getline(lines, line);
    // What is indented further is a text of another kind.
    if (!line.starts_with("    ") || line[4] == ' ') continue;
    const auto result = RunTool({"-c", line.substr(4)}, settings);
    EXPECT_EQ(result.code, 0) << line << '\n' << result.errors;
    ++count;
  }
  EXPECT_GE(count, 18);
  for (const char* name : {"waves.tga", "field.png", "level.png", "shot.0012.png", "small.0011.jpg",
                           "heat.png", "sheet.png", "over.png", "bright.png", "again.png", "frame.png"})
    EXPECT_FALSE(test::Load(folder.Path(name)).isNull()) << name;
  ExpectKeyed(test::Load(folder.Path("keyed.png")));
}

}  // namespace
