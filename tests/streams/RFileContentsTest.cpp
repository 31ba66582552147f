#include "streams/RFileContents.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <vector>

#include "support/TestData.h"

namespace {

std::vector<unsigned char> BytesOf(const RFileContents& contents) {
  return {contents.Bytes().begin(), contents.Bytes().end()};
}

TEST(RFileContentsTest, NothingIsHeldAtFirst) { EXPECT_TRUE(RFileContents().Bytes().empty()); }

TEST(RFileContentsTest, HoldsTheWholeFile) {
  const test::TemporaryFolder folder;
  std::vector<unsigned char> bytes(100000);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i * 7);
  RFileContents contents;
  ASSERT_TRUE(contents.Read(folder.Write("file", bytes).c_str()));
  EXPECT_EQ(BytesOf(contents), bytes);
}

TEST(RFileContentsTest, EmptyFileHasNoBytes) {
  const test::TemporaryFolder folder;
  RFileContents contents;
  ASSERT_TRUE(contents.Read(folder.Write("full", {1, 2}).c_str()));
  ASSERT_TRUE(contents.Read(folder.Write("empty", {}).c_str()));
  EXPECT_TRUE(contents.Bytes().empty());
}

TEST(RFileContentsTest, NamesAreUtf8) {
  const test::TemporaryFolder folder;
  RFileContents contents;
  EXPECT_TRUE(contents.Read(folder
                                .Write("gr\xC3\xB6\xC3\x9F"
                                       "e",
                                       {5})
                                .c_str()));
  EXPECT_EQ(BytesOf(contents), (std::vector<unsigned char>{5}));
}

TEST(RFileContentsTest, FailureKeepsWhatWasHeld) {
  const test::TemporaryFolder folder;
  RFileContents contents;
  ASSERT_TRUE(contents.Read(folder.Write("file", {1, 2, 3}).c_str()));
  EXPECT_FALSE(contents.Read(folder.Path("absent").c_str()));
  EXPECT_FALSE(contents.Read(folder.Path("").c_str())) << "a folder";
  EXPECT_FALSE(contents.Read(nullptr));
  EXPECT_EQ(BytesOf(contents), (std::vector<unsigned char>{1, 2, 3}));
}

TEST(RFileContentsTest, MoreThanTwoGigabytesAreRefusedWithoutReading) {
  const test::TemporaryFolder folder;
  const std::string path = folder.Write("sparse", {});
  std::filesystem::resize_file(path, std::uintmax_t{1} << 31);
  RFileContents contents;
  EXPECT_FALSE(contents.Read(path.c_str()));
}

TEST(RFileContentsTest, PipeIsRefused) {
  const test::TemporaryFolder folder;
  const std::string path = folder.Path("pipe");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  // Opened for reading and writing, so that the reader does not wait for a writer.
  std::FILE* other = std::fopen(path.c_str(), "r+");
  ASSERT_NE(other, nullptr);
  RFileContents contents;
  EXPECT_FALSE(contents.Read(path.c_str()));
  std::fclose(other);
}

}  // namespace
