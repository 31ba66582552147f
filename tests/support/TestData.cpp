#include "support/TestData.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

namespace test {

std::string DataPath(const std::string& relative) { return std::string(RIMAGE_TEST_DATA) + '/' + relative; }

std::vector<unsigned char> ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path << " cannot be read";
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteFile(const std::string& path, const std::vector<unsigned char>& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  ASSERT_TRUE(file.flush()) << path << " cannot be written";
}

TemporaryFolder::TemporaryFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "rimage-test-XXXXXX").string();
  if (!mkdtemp(pattern.data())) ADD_FAILURE() << pattern << " cannot be made";
  mPath = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(mPath, ignored);
}

std::string TemporaryFolder::Path(const std::string& name) const { return (mPath / name).string(); }

std::string TemporaryFolder::Write(const std::string& name, const std::vector<unsigned char>& bytes) const {
  const std::string path = Path(name);
  WriteFile(path, bytes);
  return path;
}

}  // namespace test
