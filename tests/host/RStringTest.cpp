#include "rbaselib/RString.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>

namespace {

TEST(RString, StartsEmpty) {
  const RString text;
  EXPECT_TRUE(text.IsEmpty());
  EXPECT_EQ(text.GetLength(), 0);
  EXPECT_STREQ(text.GetChars(), "");
}

TEST(RString, NullIsEmpty) {
  RString text(nullptr);
  EXPECT_TRUE(text.IsEmpty());
  text = "full";
  text = nullptr;
  EXPECT_TRUE(text.IsEmpty());
  EXPECT_NE(text.GetChars(), nullptr);
}

TEST(RString, CopiesItsCharacters) {
  char source[] = "abc";
  const RString text(source);
  source[0] = '?';
  EXPECT_STREQ(text.GetChars(), "abc");
  EXPECT_EQ(text.GetLength(), 3);
}

TEST(RString, LengthCountsBytes) { EXPECT_EQ(RString("\xC3\xA4").GetLength(), 2); }

TEST(RString, TakesStandardStrings) { EXPECT_EQ(RString(std::string("abc")), "abc"); }

TEST(RString, StandsWhereATextIsAskedFor) {
  const RString text("abc");
  EXPECT_EQ(std::strlen(text), 3U);
  const auto length = [](const RString& asked) { return asked.GetLength(); };
  EXPECT_EQ(length("abcd"), 4);
}

TEST(RString, MayBeAssignedItsOwnCharacters) {
  RString text("abcdef");
  text = text.GetChars() + 3;
  EXPECT_EQ(text, "def");
  const RString& itself = text;
  text = itself;
  EXPECT_EQ(text, "def");
}

TEST(RString, CopiesAreApart) {
  RString a("a");
  const RString b = a;
  a = "c";
  EXPECT_EQ(b, "a");
  RString moved = std::move(a);
  EXPECT_EQ(moved, "c");
  moved.Empty();
  EXPECT_TRUE(moved.IsEmpty());
}

TEST(RString, ComparesByCharacters) {
  EXPECT_TRUE(RString("a") == RString("a"));
  EXPECT_TRUE(RString("a") != RString("b"));
  EXPECT_TRUE(RString("a") == "a");
  EXPECT_TRUE("a" == RString("a"));
  EXPECT_TRUE(RString("a") != "b");
  EXPECT_TRUE(RString("a") < RString("b"));
  EXPECT_FALSE(RString("b") < RString("a"));
}

TEST(RString, EqualsNoNullPointer) {
  const char* null = nullptr;
  EXPECT_FALSE(RString() == null);
  EXPECT_TRUE(RString() == "");
}

}  // namespace
