// Surroundings that a program meets sooner or later, each with every sub-command. The exit code is the
// documented one, one line names the file and the reason, what was there stays as it was, and nothing is left
// behind.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "ToolRunner.h"
#include "support/TestData.h"

namespace test {

/// What a sub-command works on. The second picture is always a good one.
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
  bool prints = false;  ///< on standard output
};
inline void PrintTo(const Command& command, std::ostream* stream) { *stream << command.name; }

extern const std::vector<Command> kOnProcessor;
extern const std::vector<Command> kWithOpenGL;
extern const std::vector<Command> kWithoutFiles;  ///< work on no file

/// The name of a case of two parts: of a sub-command and of what it meets.
struct PairName {
  template <class Info>
  std::string operator()(const Info& info) const {
    return std::string(std::get<0>(info.param).name) + std::get<1>(info.param).name;
  }
};

/// What is in a folder and below it: for each path the contents, or what it is.
using Contents = std::map<std::string, std::string>;
Contents TakeContents(const std::string& folder);

/// Make what is no regular file, and return its path.
std::string MakeFolder(const std::string& path);
std::string MakeSocket(const std::string& path);
std::string MakePipe(const std::string& path);
std::string MakeLink(const std::string& path, const std::string& target);
/// Makes two links in a folder that lead to each other, and returns the path of one.
std::string MakeLinksInACircle(const TemporaryFolder& folder);
/// Returns a path of more than 4096 bytes to a name in a folder.
std::string LongPath(const TemporaryFolder& folder, const std::string& name);

/// A folder with two pictures, good.png and second.png.
class Matrix : public testing::Test {
 protected:
  void SetUp() override;

  /// Returns the files for a sub-command, and writes the graph that reads the input.
  Files FilesFor(const std::string& input, const std::string& output) const;
  std::string Good() const { return mFolder.Path("good.png"); }

  /// Runs what must fail: with this code, and one line that names the file and starts with the reason.
  void Refuse(const Arguments& arguments, int code, const std::string& file, const std::string& reason,
              ToolSettings settings = {}) const;

  TemporaryFolder mFolder;
};

}  // namespace test
