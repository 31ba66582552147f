#include "EnvironmentMatrix.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "TestPictures.h"

namespace test {

namespace fs = std::filesystem;

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
       return Arguments{"sheet", f.input, f.output, "--replace"};
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
    const auto bytes = ReadFile(entry.path());
    text.append(bytes.begin(), bytes.end());
  }
  return contents;
}

std::string MakeSocket(const std::string& path) {
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  EXPECT_EQ(bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  close(socket);
  return path;
}

std::string MakeFolder(const std::string& path) {
  fs::create_directory(path);
  return path;
}

std::string MakeLinksInACircle(const TemporaryFolder& folder) {
  (void)MakeLink(folder.Path("b.png"), "a.png");
  return MakeLink(folder.Path("a.png"), "b.png");
}

std::string LongPath(const TemporaryFolder& folder, const std::string& name) {
  std::string path = folder.Path("");
  while (path.size() < 4096) path += "./";
  return path + name;
}

std::string MakePipe(const std::string& path) {
  EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
  return path;
}

std::string MakeLink(const std::string& path, const std::string& target) {
  fs::create_symlink(target, path);
  return path;
}

void Matrix::SetUp() {
  Save(MakeOpaque(24, 16), mFolder.Path("good.png"));
  Save(MakeOpaque(24, 16).mirrored(true, false), mFolder.Path("second.png"));
}

Files Matrix::FilesFor(const std::string& input, const std::string& output) const {
  Files files{input, mFolder.Path("second.png"), output, mFolder.Path("graph.json")};
  const nlohmann::json graph = {
      {"nodes", {{"only", {{"operator", "RImOpCC"}, {"inputs", {input}}, {"properties", {{"Gamma", 2}}}}}}},
      {"output", "only"}};
  const std::string text = graph.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  WriteFile(files.graph, {text.begin(), text.end()});
  return files;
}

void Matrix::Refuse(const Arguments& arguments, int code, const std::string& file, const std::string& reason,
                    ToolSettings settings) const {
  settings.obeyPermissions = true;
  const Contents before = TakeContents(mFolder.Path(""));
  const auto result = RunTool(arguments, settings);
  EXPECT_EQ(result.code, code);
  EXPECT_THAT(result.errors, testing::StartsWith("rimage: " + file + ": " + reason));
  EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
  EXPECT_EQ(TakeContents(mFolder.Path("")), before);
}

}  // namespace test
