// Inputs that cannot be read, each with every sub-command.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "EnvironmentMatrix.h"
#include "TestPictures.h"
#include "support/CaseName.h"
#include "support/TestData.h"

namespace {

namespace fs = std::filesystem;
using test::Command;
using test::Files;
using test::Matrix;
using test::TemporaryFolder;
using testing::ValuesIn;

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
    {"Folder", "this is a folder", [](const auto& f) { return test::MakeFolder(f.Path("folder.png")); }},
    {"FileAsFolder", "Not a directory", [](const auto& f) { return f.Path("good.png/in.png"); }},
    {"Empty", "the file is empty", [](const auto& f) { return f.Write("empty.png", {}); }},
    {"NamedPipe", "this is no regular file",
     [](const auto& f) { return test::MakePipe(f.Path("pipe.png")); }},
    {"Socket", "No such device or address",
     [](const auto& f) { return test::MakeSocket(f.Path("socket.png")); }},
    {"EndlessDevice", "this is no regular file",
     [](const auto& f) { return test::MakeLink(f.Path("zero.png"), "/dev/zero"); }},
    {"EmptyDevice", "this is no regular file",
     [](const auto& f) { return test::MakeLink(f.Path("null.png"), "/dev/null"); }},
    {"LinksInACircle", "Too many levels of symbolic links",
     [](const auto& f) { return test::MakeLinksInACircle(f); }},
    {"LinkToItself", "Too many levels of symbolic links",
     [](const auto& f) { return test::MakeLink(f.Path("self.png"), "self.png"); }},
    {"LinkToNothing", "No such file or directory",
     [](const auto& f) { return test::MakeLink(f.Path("link.png"), "nothing.png"); }},
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
    {"PathOver4096Bytes", "File name too long", [](const auto& f) { return test::LongPath(f, "good.png"); }},
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
       auto bytes = test::ReadFile(f.Path("good.png"));
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
  const Files files = FilesFor(path, mFolder.Write("out.png", test::kEarlier));
  Refuse(command.arguments(files), 3, path, input.reason);
}

INSTANTIATE_TEST_SUITE_P(Processor, Inputs, testing::Combine(ValuesIn(test::kOnProcessor), ValuesIn(kInputs)),
                         test::PairName());
INSTANTIATE_TEST_SUITE_P(OpenGL, Inputs, testing::Combine(ValuesIn(test::kWithOpenGL), ValuesIn(kInputs)),
                         test::PairName());

TEST_F(Matrix, ControlCharactersOfANameStayOnOneLine) {
  for (const Command& command : test::kOnProcessor) {
    SCOPED_TRACE(command.name);
    const Files files = FilesFor(mFolder.Path("new\nline\x1B.png"), mFolder.Write("out.png", test::kEarlier));
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
    {"Folder", 3, "this is a folder", [](const auto& f) { return test::MakeFolder(f.Path("folder.json")); }},
    {"NamedPipe", 3, "this is no regular file",
     [](const auto& f) { return test::MakePipe(f.Path("pipe.json")); }},
    {"EndlessDevice", 3, "this is no regular file", [](const auto&) { return std::string("/dev/zero"); }},
    {"LinkToItself", 3, "Too many levels of symbolic links",
     [](const auto& f) { return test::MakeLink(f.Path("self.json"), "self.json"); }},
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
  Refuse({"graph", path, mFolder.Write("out.png", test::kEarlier), "--gpu=never"}, GetParam().code, path,
         GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(Processor, Graphs, ValuesIn(kGraphs), test::CaseName());

}  // namespace
