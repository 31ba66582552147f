// Files that the tests read and write.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace test {

/// Returns the path of a file under tests/data.
std::string DataPath(const std::string& relative);

/// Reads a whole file; an unreadable one fails the test and gives no bytes.
std::vector<unsigned char> ReadFile(const std::string& path);

void WriteFile(const std::string& path, const std::vector<unsigned char>& bytes);

/// A new empty folder that goes with the object.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  /// Returns the path of a file in the folder.
  std::string Path(const std::string& name) const;
  /// Writes a file into the folder and returns its path.
  std::string Write(const std::string& name, const std::vector<unsigned char>& bytes) const;

 private:
  std::filesystem::path mPath;
};

}  // namespace test
