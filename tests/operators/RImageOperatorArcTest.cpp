// Tests of what an operator stores.
#include <gtest/gtest.h>

#include "operators/RImageOperator.h"
#include "rbaselib/RArc.h"
#include "support/OperatorFakes.h"

namespace test {
namespace {

// Hands out the archive of the test, or none.
struct Record : IArcObject {
  IObject* IQuery(unsigned long, int) override { return nullptr; }
  RArc* GetArc() override { return arc; }
  RArc* arc = nullptr;
};

IArcStorable& Face(RImageOperator& op) { return op; }

TEST(RImageOperatorArc, TellsWhatItIs) {
  const auto op = Make<RImageOperator>("Fog", true);
  IArcStorable& face = Face(*op);
  EXPECT_STREQ(face.ArcGetObjectId(), "Fog");
  EXPECT_STREQ(face.ArcGetObjectType(), "ImageOperator");
  EXPECT_STREQ(face.ArcGetObjectSubType(), "Default");
}

class ArcPass : public testing::TestWithParam<int> {};

TEST_P(ArcPass, OnlyTheSecondBitStoresAndRetrieves) {
  const bool handles = (GetParam() & 2) != 0;
  RArc arc;
  const auto op = Make<RImageOperator>("Fog", true);
  EXPECT_TRUE(Face(*op).ArcStore(&arc, GetParam()));
  EXPECT_EQ(arc.GetText(), handles ? "Name \"Fog\"\n" : "");

  RArc other;
  ASSERT_TRUE(other.SetText("Name \"Rain\"\n"));
  EXPECT_TRUE(Face(*op).ArcRetrieve(&other, GetParam()));
  EXPECT_STREQ(op->ArcGetObjectId(), handles ? "Rain" : "Fog");
}

INSTANTIATE_TEST_SUITE_P(Passes, ArcPass, testing::Values(0, 1, 2, 3, 4, 5, 6, 7, -1, -3));

TEST(RImageOperatorArc, ARecordWithoutANameEmptiesIt) {
  RArc arc;
  const auto op = Make<RImageOperator>("Fog", true);
  EXPECT_TRUE(Face(*op).ArcRetrieve(&arc, 2));
  EXPECT_STREQ(op->ArcGetObjectId(), "");
  EXPECT_STREQ(op->GetName(), "Fog") << "the object's own name stays";
}

TEST(RImageOperatorArc, ANameThatIsNoStringEmptiesIt) {
  RArc arc;
  ASSERT_TRUE(arc.SetText("Name 12\n"));
  const auto op = Make<RImageOperator>("Fog", true);
  EXPECT_TRUE(Face(*op).ArcRetrieve(&arc, 2));
  EXPECT_STREQ(op->ArcGetObjectId(), "");
}

TEST(RImageOperatorArc, NamesOfAnyKindComeBack) {
  for (const char* name : {"", "two words", "quote \" and \\", "ümlaut", "tab\tnewline\n"}) {
    RArc arc;
    const auto stored = Make<RImageOperator>(name, false);
    ASSERT_TRUE(Face(*stored).ArcStore(&arc, 2));
    RArc copy;
    ASSERT_TRUE(copy.SetText(arc.GetText()));
    const auto op = Make<RImageOperator>("before", false);
    ASSERT_TRUE(Face(*op).ArcRetrieve(&copy, 2));
    EXPECT_STREQ(op->ArcGetObjectId(), name);
  }
}

TEST(RImageOperatorArc, WithoutAnArchiveNothingHappens) {
  Record record;
  const auto op = Make<RImageOperator>("Fog", true);
  EXPECT_TRUE(Face(*op).ArcStore(&record, 2));
  EXPECT_TRUE(Face(*op).ArcRetrieve(&record, 2));
  EXPECT_TRUE(Face(*op).ArcStore(nullptr, 2));
  EXPECT_TRUE(Face(*op).ArcRetrieve(nullptr, 2));
  EXPECT_STREQ(op->ArcGetObjectId(), "Fog");
}

}  // namespace
}  // namespace test
