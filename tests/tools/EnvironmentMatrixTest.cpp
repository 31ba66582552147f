// Surroundings that a program meets sooner or later, each with every sub-command: files that are not what
// their names promise, targets that take nothing, limits of the system, streams that are closed, signals. The
// exit code is the documented one, one line names the file and the reason, what was there stays as it was,
// and nothing is left behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>
#include <utility>

#include "SmallFileSystem.h"
#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/CaseName.h"
#include "support/TestData.h"

namespace {

namespace fs = std::filesystem;
using test::Arguments;
using test::RunTool;
using test::TemporaryFolder;
using testing::StartsWith;
using testing::ValuesIn;

using Bytes = std::vector<unsigned char>;
const Bytes kEarlier = {'e', 'a', 'r', 'l', 'i', 'e', 'r'};

// --- The sub-commands

// What a sub-command works on. The second picture is always a good one.
struct Files {
  std::string input;
  std::string second;
  std::string output;
  std::string graph;
};

struct Command {
  const char* name;
  Arguments (*arguments)(const Files& files);
  bool writes = true;
  bool prints = false;  // on standard output
};
void PrintTo(const Command& command, std::ostream* stream) { *stream << command.name; }

const std::vector<Command> kOnProcessor = {
    {"Info",
     [](const Files& f) {
       return Arguments{"info", f.input};
     },
     false, true},
    {"Convert",
     [](const Files& f) {
       return Arguments{"convert", f.input, "--flip", f.output};
     }},
    {"Compare",
     [](const Files& f) {
       return Arguments{"compare", f.input, f.second, "--diff", f.output};
     },
     true, true},
    {"Sheet",
     [](const Files& f) {
       return Arguments{"sheet", f.input, f.output};
     }},
    {"Correct",
     [](const Files& f) {
       return Arguments{"correct", f.input, f.output, "--gpu=never", "--set", "Gamma=2"};
     }},
    {"Key",
     [](const Files& f) {
       return Arguments{"key", f.input, f.second, f.output, "--gpu=never", "--set", "Mode=Difference Keying"};
     }},
    {"Graph", [](const Files& f) {
       return Arguments{"graph", f.graph, f.output, "--gpu=never"};
     }}};

const std::vector<Command> kWithOpenGL = {
    {"Blend",
     [](const Files& f) {
       return Arguments{"blend", f.input, f.second, f.output, "--set", "Preset=A over B"};
     }},
    {"Stereo", [](const Files& f) {
       return Arguments{"stereo", f.input, f.second, f.output, "--mode=color-anaglyph"};
     }}};

// Those that work on no file.
const std::vector<Command> kWithoutFiles = {
    {"Formats", [](const Files&) { return Arguments{"formats"}; }, false, true},
    {"Operators", [](const Files&) { return Arguments{"operators"}; }, false, true},
    {"Properties",
     [](const Files&) {
       return Arguments{"properties", "correct"};
     },
     false, true},
    {"Doctor", [](const Files&) { return Arguments{"doctor"}; }, false, true},
    {"Help",
     [](const Files&) {
       return Arguments{"help", "convert"};
     },
     false, true}};

// --- What is in a folder: for each name its contents, or what it is.

using Contents = std::map<std::string, std::string>;

Contents TakeContents(const std::string& folder) {
  Contents contents;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    std::string& text = contents[entry.path()];
    struct stat status {};
    if (lstat(entry.path().c_str(), &status) != 0) ADD_FAILURE() << entry.path();
    text = std::to_string(status.st_mode) + ' ';
    if (entry.is_symlink()) text += fs::read_symlink(entry.path()).string();
    // Sparse files of gigabytes are told by their size.
    if (!S_ISREG(status.st_mode)) continue;
    if (status.st_size > 1 << 24) {
      text += std::to_string(status.st_size);
      continue;
    }
    const Bytes bytes = test::ReadFile(entry.path());
    text.append(bytes.begin(), bytes.end());
  }
  return contents;
}

class Matrix : public testing::Test {
 protected:
  void SetUp() override {
    test::Save(test::MakeOpaque(24, 16), mFolder.Path("good.png"));
    test::Save(test::MakeOpaque(24, 16).mirrored(true, false), mFolder.Path("second.png"));
  }

  Files FilesFor(const std::string& input, const std::string& output) const {
    Files files{input, mFolder.Path("second.png"), output, mFolder.Path("graph.json")};
    const nlohmann::json graph = {
        {"nodes", {{"only", {{"operator", "RImOpCC"}, {"inputs", {input}}, {"properties", {{"Gamma", 2}}}}}}},
        {"output", "only"}};
    const std::string text = graph.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    test::WriteFile(files.graph, {text.begin(), text.end()});
    return files;
  }
  std::string Good() const { return mFolder.Path("good.png"); }

  // Runs what must fail: with this code, and one line that names the file and starts with the reason.
  void Refuse(const Arguments& arguments, int code, const std::string& file, const std::string& reason,
              test::ToolSettings settings = {}) const {
    settings.obeyPermissions = true;
    const Contents before = TakeContents(mFolder.Path(""));
    const auto result = RunTool(arguments, settings);
    EXPECT_EQ(result.code, code);
    EXPECT_THAT(result.errors, StartsWith("rimage: " + file + ": " + reason));
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    EXPECT_EQ(TakeContents(mFolder.Path("")), before);
  }

  TemporaryFolder mFolder;
};

// --- Inputs that cannot be read

std::string MakeSocket(const std::string& path) {
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  EXPECT_EQ(bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  close(socket);
  return path;
}

std::string MakePipe(const std::string& path) {
  EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
  return path;
}

std::string MakeLink(const std::string& path, const std::string& target) {
  fs::create_symlink(target, path);
  return path;
}

std::string MakeSparse(const std::string& path) {
  test::WriteFile(path, {0});
  fs::resize_file(path, std::uintmax_t{1} << 32U);
  return path;
}

struct InputCase {
  const char* name;
  const char* reason;
  std::string (*make)(const TemporaryFolder& folder);  // returns the path
  bool isForGraph = true;                              // a graph can name it
};
void PrintTo(const InputCase& input, std::ostream* stream) { *stream << input.name; }

const std::vector<InputCase> kInputs = {
    {"Missing", "No such file or directory", [](const auto& f) { return f.Path("none.png"); }},
    {"MissingFolder", "No such file or directory", [](const auto& f) { return f.Path("none/in.png"); }},
    {"Folder", "this is a folder",
     [](const auto& f) {
       fs::create_directory(f.Path("folder.png"));
       return f.Path("folder.png");
     }},
    {"FileAsFolder", "Not a directory", [](const auto& f) { return f.Path("good.png/in.png"); }},
    {"Empty", "the file is empty", [](const auto& f) { return f.Write("empty.png", {}); }},
    {"NamedPipe", "this is no regular file", [](const auto& f) { return MakePipe(f.Path("pipe.png")); }},
    {"Socket", "No such device or address", [](const auto& f) { return MakeSocket(f.Path("socket.png")); }},
    {"EndlessDevice", "this is no regular file",
     [](const auto& f) { return MakeLink(f.Path("zero.png"), "/dev/zero"); }},
    {"EmptyDevice", "this is no regular file",
     [](const auto& f) { return MakeLink(f.Path("null.png"), "/dev/null"); }},
    {"LinksInACircle", "Too many levels of symbolic links",
     [](const auto& f) {
       (void)MakeLink(f.Path("b.png"), "a.png");
       return MakeLink(f.Path("a.png"), "b.png");
     }},
    {"LinkToItself", "Too many levels of symbolic links",
     [](const auto& f) { return MakeLink(f.Path("self.png"), "self.png"); }},
    {"LinkToNothing", "No such file or directory",
     [](const auto& f) { return MakeLink(f.Path("link.png"), "nothing.png"); }},
    {"NoPermission", "Permission denied",
     [](const auto& f) {
       chmod(f.Write("secret.png", {1}).c_str(), 0);
       return f.Path("secret.png");
     }},
    {"FolderThatCannotBeEntered", "Permission denied",
     [](const auto& f) {
       fs::create_directory(f.Path("closed"));
       test::WriteFile(f.Path("closed/in.png"), {1});
       chmod(f.Path("closed").c_str(), 0600);
       return f.Path("closed/in.png");
     }},
    {"NameOver255Bytes", "File name too long",
     [](const auto& f) { return f.Path(std::string(252, 'n') + ".png"); }},
    {"PathOver4096Bytes", "File name too long",
     [](const auto& f) {
       std::string path = f.Path("");
       while (path.size() < 4096) path += "./";
       return path + "good.png";
     }},
    {"NameThatIsNotUtf8", "the name is not UTF-8 (rename the file)",
     [](const auto& f) { return f.Write("\xFF.png", {1}); }, false},
    {"OtherContents", "the png file is damaged or of a kind that is not read",
     [](const auto& f) {
       return f.Write("text.png", {'t', 'e', 'x', 't'});
     }},
    {"SparseFileOf4GiB", "the png file is damaged or of a kind that is not read",
     [](const auto& f) { return MakeSparse(f.Path("sparse.png")); }},
    {"SparseSgiOf4GiB", "the sgi file is damaged or of a kind that is not read",
     [](const auto& f) { return MakeSparse(f.Path("sparse.sgi")); }},
    {"SparseTextureOf4GiB", "the dds file is damaged or of a layout that cannot be decoded",
     [](const auto& f) { return MakeSparse(f.Path("sparse.dds")); }},
    {"CutOff", "the png file is damaged or of a kind that is not read (libpng error: Read Error)",
     [](const auto& f) {
       Bytes bytes = test::ReadFile(f.Path("good.png"));
       bytes.resize(bytes.size() / 2);
       return f.Write("cut.png", bytes);
     }},
    {"UnknownExtension",
     "no way to read the extension 'xyz' (known: ", [](const auto& f) { return f.Write("in.xyz", {1}); }},
    {"NoExtension", "the name has no extension that tells how to read it (known: ",
     [](const auto& f) { return f.Write("in", {1}); }},
};

class Inputs : public Matrix, public testing::WithParamInterface<std::tuple<Command, InputCase>> {};

TEST_P(Inputs, AreRefused) {
  const auto& [command, input] = GetParam();
  if (!input.isForGraph && command.name == std::string("Graph")) return;  // its names are UTF-8
  const std::string path = input.make(mFolder);
  const Files files = FilesFor(path, mFolder.Write("out.png", kEarlier));
  Refuse(command.arguments(files), 3, path, input.reason);
}

struct PairName {
  template <class Info>
  std::string operator()(const Info& info) const {
    return std::string(std::get<0>(info.param).name) + std::get<1>(info.param).name;
  }
};

INSTANTIATE_TEST_SUITE_P(Processor, Inputs, testing::Combine(ValuesIn(kOnProcessor), ValuesIn(kInputs)),
                         PairName());
INSTANTIATE_TEST_SUITE_P(OpenGL, Inputs, testing::Combine(ValuesIn(kWithOpenGL), ValuesIn(kInputs)),
                         PairName());

TEST_F(Matrix, ControlCharactersOfANameStayOnOneLine) {
  for (const Command& command : kOnProcessor) {
    SCOPED_TRACE(command.name);
    const Files files = FilesFor(mFolder.Path("new\nline\x1B.png"), mFolder.Write("out.png", kEarlier));
    Refuse(command.arguments(files), 3, mFolder.Path("new\\nline\\x1B.png"), "No such file or directory");
  }
}

// A graph is a file as well.
struct GraphCase {
  const char* name;
  int code;
  const char* reason;
  std::string (*make)(const TemporaryFolder& folder);
};
void PrintTo(const GraphCase& graph, std::ostream* stream) { *stream << graph.name; }

const std::vector<GraphCase> kGraphs = {
    {"Missing", 3, "No such file or directory", [](const auto& f) { return f.Path("none.json"); }},
    {"Folder", 3, "this is a folder",
     [](const auto& f) {
       fs::create_directory(f.Path("folder.json"));
       return f.Path("folder.json");
     }},
    {"NamedPipe", 3, "this is no regular file", [](const auto& f) { return MakePipe(f.Path("pipe.json")); }},
    {"EndlessDevice", 3, "this is no regular file", [](const auto&) { return std::string("/dev/zero"); }},
    {"LinkToItself", 3, "Too many levels of symbolic links",
     [](const auto& f) { return MakeLink(f.Path("self.json"), "self.json"); }},
    {"NoPermission", 3, "Permission denied",
     [](const auto& f) {
       chmod(f.Write("secret.json", {'{', '}'}).c_str(), 0);
       return f.Path("secret.json");
     }},
    {"NameOver255Bytes", 3, "File name too long",
     [](const auto& f) { return f.Path(std::string(251, 'n') + ".json"); }},
    {"SparseFileOf4GiB", 3, "the file is too large for a graph",
     [](const auto& f) { return MakeSparse(f.Path("sparse.json")); }},
    {"Empty", 2, "this is no JSON (parse error at line 1",
     [](const auto& f) { return f.Write("empty.json", {}); }},
};

class Graphs : public Matrix, public testing::WithParamInterface<GraphCase> {};

TEST_P(Graphs, AreRefused) {
  const std::string path = GetParam().make(mFolder);
  Refuse({"graph", path, mFolder.Write("out.png", kEarlier), "--gpu=never"}, GetParam().code, path,
         GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(Processor, Graphs, ValuesIn(kGraphs), test::CaseName());

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
    {"Folder", "this is a folder",
     [](const auto& f) {
       fs::create_directory(f.Path("folder.png"));
       return f.Path("folder.png");
     }},
    {"ReadOnlyFolder", "Permission denied",
     [](const auto& f) {
       fs::create_directory(f.Path("folder"));
       test::WriteFile(f.Path("folder/out.png"), kEarlier);
       chmod(f.Path("folder").c_str(), 0500);
       return f.Path("folder/out.png");
     }},
    {"WriteProtected", "Permission denied",
     [](const auto& f) {
       chmod(f.Write("out.png", kEarlier).c_str(), 0400);
       return f.Path("out.png");
     }},
    {"NamedPipe", "this is no regular file", [](const auto& f) { return MakePipe(f.Path("pipe.png")); }},
    {"Socket", "this is no regular file", [](const auto& f) { return MakeSocket(f.Path("socket.png")); }},
    {"FullDevice", "this is no regular file",
     [](const auto& f) { return MakeLink(f.Path("full.png"), "/dev/full"); }},
    {"FolderThatTakesNoFiles", "the folder '/proc' takes no files",
     [](const auto&) { return std::string("/proc/out.png"); }},
    {"LinksInACircle", "Too many levels of symbolic links",
     [](const auto& f) {
       (void)MakeLink(f.Path("b.png"), "a.png");
       return MakeLink(f.Path("a.png"), "b.png");
     }},
    {"NameOver255Bytes", "File name too long",
     [](const auto& f) { return f.Path(std::string(252, 'n') + ".png"); }},
    {"PathOver4096Bytes", "File name too long",
     [](const auto& f) {
       std::string path = f.Path("");
       while (path.size() < 4096) path += "./";
       return path + "out.png";
     }},
    {"UnknownExtension", "no way to write the extension 'gif' (known: ",
     [](const auto& f) { return f.Write("out.gif", kEarlier); }},
    {"NoExtension", "the name has no extension that tells how to write it (known: ",
     [](const auto& f) { return f.Write("out", kEarlier); }},
    {"NoRoomAtAll", "File too large", [](const auto& f) { return f.Write("out.png", kEarlier); }, 0},
    {"RoomForAPart", "File too large", [](const auto& f) { return f.Write("out.bmp", kEarlier); }, 100},
    {"MaskThatForbidsAll", "Permission denied", [](const auto& f) { return f.Write("out.png", kEarlier); },
     -1, "umask 777"},
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

INSTANTIATE_TEST_SUITE_P(Processor, Outputs, testing::Combine(ValuesIn(kOnProcessor), ValuesIn(kOutputs)),
                         PairName());
// The drivers write caches of their own, which a limit of file sizes ends.
std::vector<OutputCase> OutputsWithoutLimits() {
  std::vector<OutputCase> cases = kOutputs;
  std::erase_if(cases, [](const OutputCase& output) { return output.largestFile >= 0; });
  return cases;
}
INSTANTIATE_TEST_SUITE_P(OpenGL, Outputs,
                         testing::Combine(ValuesIn(kWithOpenGL), ValuesIn(OutputsWithoutLimits())),
                         PairName());

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
  const std::string output = mFolder.Write("small/out.bmp", kEarlier);
  full.fill(files, mFolder.Path("small/filler"));
  Refuse(command.arguments(FilesFor(Good(), output)), 4, output, full.reason);
}

INSTANTIATE_TEST_SUITE_P(Processor, FullFileSystem, testing::Combine(ValuesIn(kOnProcessor), ValuesIn(kFull)),
                         PairName());
INSTANTIATE_TEST_SUITE_P(OpenGL, FullFileSystem, testing::Combine(ValuesIn(kWithOpenGL), ValuesIn(kFull)),
                         PairName());

// --- A quota that is used up

class Quota : public Matrix, public testing::WithParamInterface<Command> {};

TEST_P(Quota, IsRefused) {
  const Command& command = GetParam();
  if (!command.writes) return;
  const std::string output = mFolder.Write("out.png", kEarlier);
  Refuse(command.arguments(FilesFor(Good(), output)), 4, output, "Disk quota exceeded",
         {.environment = {{"LD_PRELOAD", RIMAGE_QUOTA},
                          {"QUOTA_FOLDER", mFolder.Path("")},
                          {"ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0"}}});
}

INSTANTIATE_TEST_SUITE_P(Processor, Quota, ValuesIn(kOnProcessor), test::CaseName());
INSTANTIATE_TEST_SUITE_P(OpenGL, Quota, ValuesIn(kWithOpenGL), test::CaseName());

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

INSTANTIATE_TEST_SUITE_P(Processor, Around, testing::Combine(ValuesIn(kOnProcessor), ValuesIn(kSurroundings)),
                         PairName());
// OpenGL needs a display.
std::vector<Surroundings> SurroundingsWithDisplay() {
  std::vector<Surroundings> rows = kSurroundings;
  std::erase_if(rows, [](const Surroundings& row) { return std::string(row.name).ends_with("Display"); });
  return rows;
}
INSTANTIATE_TEST_SUITE_P(OpenGL, Around,
                         testing::Combine(ValuesIn(kWithOpenGL), ValuesIn(SurroundingsWithDisplay())),
                         PairName());

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

INSTANTIATE_TEST_SUITE_P(Processor, Placed, ValuesIn(kOnProcessor), test::CaseName());
INSTANTIATE_TEST_SUITE_P(OpenGL, Placed, ValuesIn(kWithOpenGL), test::CaseName());

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
    (void)MakePipe(mFolder.Path("pipe"));
    const auto result = RunTool(command.arguments(files), {.folder = mFolder.Path(""), .shell = shell});
    fs::remove(mFolder.Path("pipe"));
    EXPECT_EQ(result.code, command.prints ? 4 : 0);
    EXPECT_EQ(result.errors,
              command.prints ? std::string("rimage: standard output: ") + reason + '\n' : std::string());
    EXPECT_EQ(fs::exists(mFolder.Path("out.png")), command.writes);
  }
}

INSTANTIATE_TEST_SUITE_P(Processor, StandardOutput, ValuesIn(kOnProcessor), test::CaseName());
INSTANTIATE_TEST_SUITE_P(WithoutFiles, StandardOutput, ValuesIn(kWithoutFiles), test::CaseName());
INSTANTIATE_TEST_SUITE_P(OpenGL, StandardOutput, ValuesIn(kWithOpenGL), test::CaseName());

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
  const Files files = FilesFor(mFolder.Path("large.bmp"), mFolder.Write("out.png", kEarlier));
  const Contents before = TakeContents(mFolder.Path(""));
  test::ToolProcess tool(command.arguments(files));
  ASSERT_TRUE(tool.WaitUntilStarted());
  tool.Signal(interruption.signal);
  const auto result = tool.Wait();
  EXPECT_EQ(result.code, 128 + interruption.signal);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(TakeContents(mFolder.Path("")), before);
}

INSTANTIATE_TEST_SUITE_P(Processor, Interrupted,
                         testing::Combine(ValuesIn(kOnProcessor), ValuesIn(kInterruptions)), PairName());
INSTANTIATE_TEST_SUITE_P(OpenGL, Interrupted,
                         testing::Combine(ValuesIn(kWithOpenGL), ValuesIn(kInterruptions)), PairName());

// --- Memory

TEST_F(Matrix, TooLittleMemoryIsNamed) {
  QImage large(8000, 8000, QImage::Format_RGB32);
  large.fill(Qt::gray);
  large.save(QString::fromStdString(mFolder.Path("large.png")));
  const std::string path = mFolder.Path("large.png");
  for (const Command& command : kOnProcessor) {
    SCOPED_TRACE(command.name);
    const Files files = FilesFor(path, mFolder.Write("out.png", kEarlier));
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
  const std::string output = mFolder.Write("out.png", kEarlier);
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
  for (const Contents before = TakeContents(mFolder.Path(""));; mib += 4) {
    const auto result = RunWith(mib, files);
    if (result.code <= 1) break;
    SCOPED_TRACE(mib);
    ++refused;
    EXPECT_THAT(result.code, testing::AnyOf(3, 4));
    EXPECT_THAT(result.errors, testing::MatchesRegex("rimage: " + mFolder.Path("") +
                                                     "[a-z]+.(png|json): not enough memory[^\n]*\n"));
    EXPECT_EQ(TakeContents(mFolder.Path("")), before);
  }
  EXPECT_GE(refused, 3);
}

INSTANTIATE_TEST_SUITE_P(Processor, Starved, ValuesIn(kOnProcessor), test::CaseName());
#endif

}  // namespace
