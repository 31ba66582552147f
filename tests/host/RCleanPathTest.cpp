#include <gtest/gtest.h>

#include <string>

#include "rbaselib/RFile.h"

namespace {

struct PathCase {
  const char* path;
  const char* clean;
};

class RCleanPathTest : public testing::TestWithParam<PathCase> {};

TEST_P(RCleanPathTest, Cleans) { EXPECT_EQ(RCleanPath(GetParam().path), GetParam().clean); }

TEST_P(RCleanPathTest, ACleanPathStaysAsItIs) { EXPECT_EQ(RCleanPath(GetParam().clean), GetParam().clean); }

constexpr PathCase kPaths[] = {
    {"file.dds", "file.dds"},
    {"folder/file.dds", "folder/file.dds"},
    {"/folder/file.dds", "/folder/file.dds"},
    {"folder\\file.dds", "folder/file.dds"},
    {"C:\\folder\\file.dds", "C:/folder/file.dds"},
    {"folder//file", "folder/file"},
    {"//folder///file", "/folder/file"},
    {"./file", "file"},
    {"folder/./file", "folder/file"},
    {"folder/.", "folder"},
    {"folder/", "folder"},
    {"folder/sub/../file", "folder/file"},
    {"folder/..", "."},
    {"a/b/../../c", "c"},
    {"../file", "../file"},
    {"../../file", "../../file"},
    {"a/../../file", "../file"},
    {"../a/../../b", "../../b"},
    {"/..", "/"},
    {"/../../file", "/file"},
    {"/a/../../file", "/file"},
    {"/", "/"},
    {"\\", "/"},
    {".", "."},
    {"./", "."},
    {"..", ".."},
    {"...", "..."},
    {".hidden", ".hidden"},
    {"..hidden/file", "..hidden/file"},
    {"a b/\xC3\xA4.dds", "a b/\xC3\xA4.dds"},
    {"", ""},
};
INSTANTIATE_TEST_SUITE_P(Paths, RCleanPathTest, testing::ValuesIn(kPaths));

TEST(RCleanPath, NullIsTheEmptyPath) { EXPECT_EQ(RCleanPath(nullptr), ""); }

}  // namespace
