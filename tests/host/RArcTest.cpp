#include "rbaselib/RArc.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include "rbaselib/IArcStorable.h"

namespace {

// Returns the text of a record with one string field.
std::string TextOf(const char* value) {
  RArc arc;
  EXPECT_TRUE(arc.FieldWriteBegin("F"));
  arc.FieldWriteC(value);
  arc.FieldWriteEnd();
  return arc.GetText();
}

TEST(RArc, StartsEmpty) {
  const RArc arc;
  EXPECT_EQ(arc.GetText(), "");
  EXPECT_FALSE(arc.HasField("Name"));
}

TEST(RArc, IsItsOwnRecord) {
  RArc arc;
  IArcObject& object = arc;
  EXPECT_EQ(object.GetArc(), &arc);
  EXPECT_EQ(object.IQuery(0, 0), static_cast<IObject*>(&arc));
  EXPECT_EQ(object.IQuery(kIArcStorableId, 0), nullptr);
}

TEST(RArc, WritesALineAField) {
  RArc arc;
  ASSERT_TRUE(arc.FieldWriteBegin("Name"));
  arc.FieldWriteC("my image");
  arc.FieldWriteEnd();
  ASSERT_TRUE(arc.FieldWriteBegin("Mixed"));
  arc.FieldWriteB(true);
  arc.FieldWriteB(false);
  arc.FieldWriteI(-7);
  arc.FieldWriteD(0.1);
  arc.FieldWriteC("");
  arc.FieldWriteEnd();
  ASSERT_TRUE(arc.FieldWriteBegin("Bare"));
  arc.FieldWriteEnd();
  EXPECT_EQ(arc.GetText(), "Name \"my image\"\nMixed true false -7 0.1 \"\"\nBare\n");
}

TEST(RArc, ReadsWhatWasWritten) {
  RArc arc;
  ASSERT_TRUE(arc.SetText("Name \"my image\"\nMixed true -7 0.1\nBare\n"));
  EXPECT_STREQ(arc.FieldReadC("Name", ""), "my image");
  bool truth = false;
  int number = 0;
  double amount = 0;
  EXPECT_TRUE(arc.FieldReadB("Mixed", truth));
  EXPECT_TRUE(arc.FieldReadI("Mixed", number, 1));
  EXPECT_TRUE(arc.FieldReadD("Mixed", amount, 2));
  EXPECT_TRUE(truth);
  EXPECT_EQ(number, -7);
  EXPECT_EQ(amount, 0.1);
  EXPECT_TRUE(arc.HasField("Bare"));
  EXPECT_FALSE(arc.HasField("bare"));
  EXPECT_FALSE(arc.HasField(nullptr));
}

TEST(RArc, AFieldThatIsWrittenAgainIsReplacedInPlace) {
  RArc arc;
  ASSERT_TRUE(arc.SetText("A 1\nB 2\nC 3\n"));
  ASSERT_TRUE(arc.FieldWriteBegin("B"));
  arc.FieldWriteI(9);
  arc.FieldWriteI(8);
  arc.FieldWriteEnd();
  EXPECT_EQ(arc.GetText(), "A 1\nB 9 8\nC 3\n");
}

TEST(RArc, MissingFieldsGiveTheFallback) {
  RArc arc;
  ASSERT_TRUE(arc.SetText("Number 3\nBare\nFirstNumber 1 \"text\"\n"));
  EXPECT_STREQ(arc.FieldReadC("Name", "none"), "none");
  EXPECT_EQ(arc.FieldReadC("Name", nullptr), nullptr);
  EXPECT_STREQ(arc.FieldReadC("Number", "none"), "none");
  EXPECT_STREQ(arc.FieldReadC("Bare", "none"), "none");
  EXPECT_STREQ(arc.FieldReadC("FirstNumber", "none"), "none");
  EXPECT_STREQ(arc.FieldReadC(nullptr, "none"), "none");
}

TEST(RArc, ReadsOfAnotherTypeLeaveTheValue) {
  RArc arc;
  ASSERT_TRUE(arc.SetText("Text \"1\"\nTruth true\nWhole 3\nHalf 0.5\nHuge 3000000000\nWord abc\n"));
  bool truth = true;
  int number = 77;
  double amount = 77;
  for (const char* name : {"Text", "Whole", "Word", "Missing"})
    EXPECT_FALSE(arc.FieldReadB(name, truth)) << name;
  for (const char* name : {"Text", "Truth", "Half", "Huge", "Word", "Missing"}) {
    EXPECT_FALSE(arc.FieldReadI(name, number)) << name;
  }
  for (const char* name : {"Text", "Truth", "Word", "Missing"})
    EXPECT_FALSE(arc.FieldReadD(name, amount)) << name;
  for (const int index : {-1, 1, 1000}) EXPECT_FALSE(arc.FieldReadI("Whole", number, index)) << index;
  EXPECT_TRUE(truth);
  EXPECT_EQ(number, 77);
  EXPECT_EQ(amount, 77.0);
  EXPECT_TRUE(arc.FieldReadD("Whole", amount)) << "a whole number is a double too";
  EXPECT_EQ(amount, 3.0);
}

// --- Writing brackets.

TEST(RArc, RefusesNamesThatDoNotReadBack) {
  RArc arc;
  for (const char* name :
       {static_cast<const char*>(nullptr), "", "two words", "tab\tbed", "quo\"te", "line\n", "\x7F"}) {
    EXPECT_FALSE(arc.FieldWriteBegin(name));
    arc.FieldWriteI(1);
    arc.FieldWriteEnd();
  }
  EXPECT_EQ(arc.GetText(), "");
  EXPECT_TRUE(arc.FieldWriteBegin("\xC3\xA4\\{}"));
}

TEST(RArc, OneFieldIsOpenAtATime) {
  RArc arc;
  ASSERT_TRUE(arc.FieldWriteBegin("A"));
  EXPECT_FALSE(arc.FieldWriteBegin("B"));
  EXPECT_EQ(arc.GetText(), "") << "an open field is not in the record";
  arc.FieldWriteI(1);
  arc.FieldWriteEnd();
  EXPECT_EQ(arc.GetText(), "A 1\n");
}

TEST(RArc, ValuesOutsideTheBracketsAreDropped) {
  RArc arc;
  arc.FieldWriteI(1);
  arc.FieldWriteC("stray");
  arc.FieldWriteEnd();
  ASSERT_TRUE(arc.FieldWriteBegin("A"));
  arc.FieldWriteEnd();
  arc.FieldWriteD(2);
  EXPECT_EQ(arc.GetText(), "A\n");
}

TEST(RArc, AnOpenFieldOutlivesSetText) {
  RArc arc;
  ASSERT_TRUE(arc.FieldWriteBegin("A"));
  arc.FieldWriteI(1);
  ASSERT_TRUE(arc.SetText("B 2\n"));
  arc.FieldWriteEnd();
  EXPECT_EQ(arc.GetText(), "B 2\nA 1\n");
}

// --- Strings.

TEST(RArc, EscapesInStrings) {
  EXPECT_EQ(TextOf("say \"hi\" \\ bye"), "F \"say \\\"hi\\\" \\\\ bye\"\n");
  EXPECT_EQ(TextOf("a\nb\tc\x7F\x01"), "F \"a\\x0Ab\\x09c\\x7F\\x01\"\n");
  EXPECT_EQ(TextOf("\xC3\xA4"), "F \"\xC3\xA4\"\n");
  EXPECT_EQ(TextOf(nullptr), "F \"\"\n");
}

TEST(RArc, EveryCharacterComesBack) {
  std::string all;
  for (int c = 1; c < 256; ++c) all += static_cast<char>(c);
  RArc arc;
  ASSERT_TRUE(arc.SetText(TextOf(all.c_str())));
  EXPECT_EQ(arc.FieldReadC("F", ""), all);
}

TEST(RArc, HexadecimalEscapesTakeEitherCase) {
  RArc arc;
  ASSERT_TRUE(arc.SetText("F \"\\x4a\\x4A\""));
  EXPECT_STREQ(arc.FieldReadC("F", ""), "JJ");
}

// --- Numbers.

TEST(RArc, NumbersComeBackExactly) {
  constexpr double kValues[] = {0.1,   1.0 / 3,       -0.0,
                                1e300, 5e-324,        std::numeric_limits<double>::max(),
                                1e21,  123456789.125, std::numeric_limits<double>::infinity()};
  for (const double value : kValues) {
    RArc arc;
    ASSERT_TRUE(arc.FieldWriteBegin("D"));
    arc.FieldWriteD(value);
    arc.FieldWriteEnd();
    RArc read;
    ASSERT_TRUE(read.SetText(arc.GetText()));
    double back = 77;
    ASSERT_TRUE(read.FieldReadD("D", back));
    EXPECT_EQ(back, value);
    EXPECT_EQ(std::signbit(back), std::signbit(value));
  }
}

TEST(RArc, NotANumberComesBack) {
  RArc arc;
  ASSERT_TRUE(arc.FieldWriteBegin("D"));
  arc.FieldWriteD(std::nan(""));
  arc.FieldWriteEnd();
  double back = 0;
  EXPECT_TRUE(arc.FieldReadD("D", back));
  EXPECT_TRUE(std::isnan(back));
}

TEST(RArc, WholeNumbersComeBack) {
  for (const int value : {0, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    RArc arc;
    ASSERT_TRUE(arc.FieldWriteBegin("I"));
    arc.FieldWriteI(value);
    arc.FieldWriteEnd();
    int back = 77;
    EXPECT_TRUE(arc.FieldReadI("I", back));
    EXPECT_EQ(back, value);
  }
}

// --- Text.

struct TextCase {
  const char* name;
  std::string text;
  const char* written;  // null when the text is malformed
};

class RArcTextTest : public testing::TestWithParam<TextCase> {};

TEST_P(RArcTextTest, IsReadOrRefused) {
  RArc arc;
  ASSERT_TRUE(arc.SetText("Before 1\n"));
  EXPECT_EQ(arc.SetText(GetParam().text), GetParam().written != nullptr);
  EXPECT_EQ(arc.GetText(), GetParam().written ? GetParam().written : "Before 1\n");
}

const TextCase kTexts[] = {
    {"Empty", "", ""},
    {"OnlyLineEnds", "\n\n\n", ""},
    {"WithoutLastLineEnd", "A 1", "A 1\n"},
    {"EmptyLines", "\nA 1\n\n\nB 2\n\n", "A 1\nB 2\n"},
    {"CarriageReturns", "A 1\r\n\r\nB \"x\"\r\nC\r", "A 1\nB \"x\"\nC\n"},
    {"NameOnly", "A\n", "A\n"},
    {"Words", "A b c-d 1.5\n", "A b c-d 1.5\n"},
    {"TwiceTheSameName", "A 1\nB 2\nA 3\n", "A 3\nB 2\n"},
    {"EmptyString", "A \"\"\n", "A \"\"\n"},
    {"BlankInString", "A \" \" \"b\"\n", "A \" \" \"b\"\n"},
    {"EscapedZero", "A \"\\x00\"\n", "A \"\\x00\"\n"},
    {"LowerCaseEscape", "A \"\\x0a\"\n", "A \"\\x0A\"\n"},
    {"NeedlessEscape", "A \"\\x41\"\n", "A \"A\"\n"},
    {"LeadingBlank", " A 1\n", nullptr},
    {"TrailingBlank", "A 1 \n", nullptr},
    {"TwoBlanks", "A  1\n", nullptr},
    {"Tab", "A\t1\n", nullptr},
    {"QuoteInName", "A\"b 1\n", nullptr},
    {"QuoteInWord", "A b\"c\n", nullptr},
    {"StringAsName", "\"A\" 1\n", nullptr},
    {"OpenString", "A \"b\n", nullptr},
    {"StringAcrossLines", "A \"b\nc\"\n", nullptr},
    {"TextBehindString", "A \"b\"c\n", nullptr},
    {"ControlCharacterInString", "A \"b\x01\"\n", nullptr},
    {"ControlCharacterInWord", "A b\x02\n", nullptr},
    {"CarriageReturnWithinLine", "A b\rc\n", nullptr},
    {"ZeroByte", std::string("A b\0c\n", 6), nullptr},
    {"UnknownEscape", "A \"\\n\"\n", nullptr},
    {"EscapeAtTheEnd", "A \"\\", nullptr},
    {"ShortHexadecimalEscape", "A \"\\x4", nullptr},
    {"HexadecimalEscapeCutByQuote", "A \"\\x4\"\n", nullptr},
    {"HexadecimalEscapeWithSign", "A \"\\x-1\"\n", nullptr},
    {"HexadecimalEscapeWithLetters", "A \"\\xGG\"\n", nullptr},
    {"GoodLinesBeforeABadOne", "A 1\nB 2\nC \"\n", nullptr},
};
INSTANTIATE_TEST_SUITE_P(Texts, RArcTextTest, testing::ValuesIn(kTexts),
                         [](const auto& row) { return row.param.name; });

TEST(RArc, CopiesAreApart) {
  RArc arc;
  ASSERT_TRUE(arc.SetText("A 1\n"));
  RArc copy = arc;
  ASSERT_TRUE(copy.SetText("B 2\n"));
  EXPECT_EQ(arc.GetText(), "A 1\n");
  const RArc moved = std::move(copy);
  EXPECT_EQ(moved.GetText(), "B 2\n");
  EXPECT_TRUE(moved.HasField("B"));
}

TEST(RArc, ManyFieldsTakeNoTimeSquared) {
  std::string text;
  for (int i = 0; i < 200000; ++i) text += 'F' + std::to_string(i) + " 1\n";
  const auto start = std::chrono::steady_clock::now();
  RArc arc;
  ASSERT_TRUE(arc.SetText(text));
  EXPECT_TRUE(arc.HasField("F199999"));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

}  // namespace
