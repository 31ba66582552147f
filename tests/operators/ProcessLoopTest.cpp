// Tests of the processing loop by the calls it makes, on made-up nodes and inputs, without OpenGL.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/OperatorFakes.h"

namespace test {
namespace {

constexpr auto kIn = RImageOperator::kPlugInput;
constexpr auto kOut = RImageOperator::kPlugOutput;
constexpr int kProcessor = 0x80000;

// An operator with a fake node and fake operators "A", "B", "C" on its inputs.
class ProcessLoopTest : public testing::Test {
 protected:
  void Build(int inputs, FakeNode::Stage stage, bool withOutputImage = true) {
    auto node = std::make_unique<FakeNode>(&log);
    node->stages = {std::move(stage)};
    op = Make<NodeOperator>(inputs, std::move(node));
    if (withOutputImage) output = PutImage(*op, 0, MakeImage(1, 1), kOut);
    for (int i = 0; i < inputs; ++i) {
      upstream.push_back(Make<FakeOperator>(std::string(1, static_cast<char>('A' + i)), &log));
      upstream.back()->width = 10 * (i + 1);
      upstream.back()->height = i + 1;
      op->SetPlugInputOperator(i, kIn, upstream.back().get());
    }
  }

  int Run(int flags = kProcessor) { return op->ProcessLoop(&context, flags); }

  Log log;
  RFpContext context;
  std::vector<RDestroyPtr<FakeOperator>> upstream;
  RDestroyPtr<NodeOperator> op;
  RImage* output = nullptr;
};

TEST_F(ProcessLoopTest, DrivesAStageInOrder) {
  Build(2, {0xC0000, 2});
  upstream[0]->available = 0x40000;
  EXPECT_EQ(Run(), 0xC7000);
  EXPECT_EQ(Join(log),
            "A.ReadTest(0xC0000)\n"
            "B.ReadTest(0xC0000)\n"
            "A.ReadLock(0x40000)\n"
            "B.ReadLock(0x40000)\n"
            "node.Prepare(0, 0x40000, 20, 2)\n"
            "A.ReadBind(0x40000, 0, 2)\n"
            "B.ReadBind(0x40000, 1, 2)\n"
            "node.Bind(0, 0x40000)\n"
            "node.Draw(0, 0x40000, 20, 2)\n"
            "node.Unbind(0, 0x40000)\n"
            "B.ReadUnBind(0x40000, 1, 2)\n"
            "A.ReadUnBind(0x40000, 0, 2)\n"
            "node.Finish(0, 0x40000, 20, 2)\n"
            "B.ReadUnLock(0x40000)\n"
            "A.ReadUnLock(0x40000)\n");
  EXPECT_EQ(output->GetWidth(), 20) << "the last input decides the size";
  EXPECT_EQ(output->GetHeight(), 2);
  EXPECT_EQ(context.target.bits, output->GetImageBits());
}

TEST_F(ProcessLoopTest, WithoutNodeOutputPlugOrStagesThereIsNoResult) {
  const auto noNode = Make<NodeOperator>(1);
  EXPECT_EQ(noNode->ProcessLoop(&context, kProcessor), 0);
  const auto noOutput = Make<NodeOperator>(1, std::make_unique<FakeNode>(&log), false);
  EXPECT_EQ(noOutput->ProcessLoop(&context, kProcessor), 0);
  Build(1, {});
  op->Node().stages.clear();
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(Join(log), "");
}

TEST_F(ProcessLoopTest, WithoutAnOutputImageNothingIsWritten) {
  Build(1, {0xC0000, 1}, false);
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(Join(log), "A.ReadTest(0xC0000)\nA.ReadLock(0x40000)\nA.ReadUnLock(0x40000)\n");
}

TEST_F(ProcessLoopTest, WithoutInputsTheResultHasTheDefaultSize) {
  Build(0, {0xC0000, 0});
  EXPECT_EQ(Run(), 0xC7000);
  EXPECT_EQ(output->GetWidth(), 720);
  EXPECT_EQ(output->GetHeight(), 486);
  EXPECT_THAT(log, testing::Contains("node.Draw(0, 0x40000, 720, 486)"));
}

TEST_F(ProcessLoopTest, TheFormOfTheLastSuccessIsKept) {
  Build(0, {0xC0000, 0});
  EXPECT_EQ(op->GetProcessedForm(), 0);
  ASSERT_NE(Run(), 0);
  EXPECT_EQ(op->GetProcessedForm(), 0x40000);
  op->Node().bindResult = 0;
  op->Node().stages = {{0x80000, 0}};
  ASSERT_EQ(Run(), 0);
  EXPECT_EQ(op->GetProcessedForm(), 0x40000);
}

TEST_F(ProcessLoopTest, AStageThatCannotRunOnTheProcessorFailsTheProcessorRequest) {
  Build(1, {0x307F0, 1});
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(Join(log), "");
}

// What is wanted of the inputs, what they are, and the form that comes of it.
struct ChoiceRow {
  const char* name;
  int flags;
  int requirement;
  int available;
  int wanted;
  int chosen;
};

class FormChoice : public ProcessLoopTest, public testing::WithParamInterface<ChoiceRow> {};

TEST_P(FormChoice, FollowsRequirementAndInputs) {
  const ChoiceRow& row = GetParam();
  const bool feedback = (row.requirement & 0x22A0) != 0 && row.flags != kProcessor;
  Build(2, {row.requirement, feedback ? 2 : 1});
  upstream[0]->available = row.available;
  // The lock fails, so that no form that needs OpenGL is carried out.
  upstream[0]->lockFails = true;
  EXPECT_EQ(Run(row.flags), 0);
  std::ostringstream expected;
  expected << std::hex << std::uppercase << "A.ReadTest(0x" << row.wanted << ")\nA.ReadLock(0x" << row.chosen
           << ")\n";
  EXPECT_EQ(Join(log), expected.str());
}

INSTANTIATE_TEST_SUITE_P(
    Masks, FormChoice,
    testing::Values(ChoiceRow{"LowestOfTheRequirement", 0x40, 0xC0140, 0, 0xC0140, 0x40},
                    ChoiceRow{"LowestThatTheInputIs", 0x40, 0xC0140, 0xC7000, 0xC0140, 0x40000},
                    ChoiceRow{"TextureInput", 0x40, 0xC0100, 0x203C0, 0xC0100, 0x100},
                    ChoiceRow{"ProcessorKeepsProcessorForms", kProcessor, 0xC0140, 0x203C0, 0xC0000, 0x40000},
                    ChoiceRow{"ProcessorWithoutTheLowerForm", kProcessor, 0x80140, 0x203C0, 0x80000, 0x80000},
                    ChoiceRow{"ProcessorHasNoFeedback", kProcessor, 0xC00A0, 0, 0xC0000, 0x40000},
                    ChoiceRow{"ColourMatrixOfATexture", 0x40, 0xC5410, 0x203C0, 0xC5410, 0x10},
                    ChoiceRow{"ColourMatrixOfMemory", 0x40, 0xC5410, 0xC7000, 0xC5410, 0x1000},
                    ChoiceRow{"FeedbackOverTexture", 0x40, 0x80, 0x203C0, 0x40, 0x40},
                    ChoiceRow{"FeedbackOverMemoryMovesItToATexture", 0x40, 0x80, 0xC7000, 0x40, 0x40},
                    ChoiceRow{"FeedbackByQuad", 0x40, 0x200, 0, 0x100, 0x100},
                    ChoiceRow{"FeedbackOfBuffers", 0x40, 0x20, 0, 0x10, 0x10},
                    ChoiceRow{"FeedbackOfMemory", 0x40, 0x2000, 0xC7000, 0x1000, 0x1000},
                    ChoiceRow{"FeedbackOfSeveral", 0x40, 0x22A0, 0xC7000, 0x1150, 0x1000},
                    ChoiceRow{"FeedbackDropsProcessorForms", 0x40, 0xC0080, 0xC7000, 0x40, 0x40},
                    ChoiceRow{"FeedbackIsShiftedAs16Bits", 0x40, 0x8080, 0, 0x40, 0x40}),
    [](const auto& row) { return row.param.name; });

TEST_F(ProcessLoopTest, AllInputsSayWhatTheyAre) {
  Build(3, {0xC0140, 3});
  upstream[1]->available = 0x100;
  upstream[2]->available = 0x40000;
  upstream[0]->lockFails = true;
  EXPECT_EQ(Run(0x40), 0);
  EXPECT_EQ(log.back(), "A.ReadLock(0x100)") << "the lowest of what any of them is";
}

class FailingLock : public ProcessLoopTest, public testing::WithParamInterface<int> {};

TEST_P(FailingLock, UnlocksWhatWasLockedLastFirst) {
  Build(3, {0xC0000, 3});
  upstream[static_cast<std::size_t>(GetParam())]->lockFails = true;
  EXPECT_EQ(Run(), 0);
  Log expected = {"A.ReadTest(0xC0000)", "B.ReadTest(0xC0000)", "C.ReadTest(0xC0000)"};
  for (int i = 0; i <= GetParam(); ++i)
    expected.push_back(std::string{static_cast<char>('A' + i)} + ".ReadLock(0x40000)");
  for (int i = GetParam() - 1; i >= 0; --i) {
    expected.push_back(std::string{static_cast<char>('A' + i)} + ".ReadUnLock(0x40000)");
  }
  EXPECT_EQ(log, expected);
}

INSTANTIATE_TEST_SUITE_P(Inputs, FailingLock, testing::Values(0, 1, 2));

TEST_F(ProcessLoopTest, AFailedFeedbackUnlocksTheInputsByItsOwnForm) {
  Build(3, {0x80, 3});
  upstream[2]->lockFails = true;
  EXPECT_EQ(Run(0x40), 0);
  EXPECT_EQ(Join(log),
            "A.ReadTest(0x40)\n"
            "B.ReadTest(0x40)\n"
            "A.ReadLock(0x40)\n"
            "B.ReadLock(0x40)\n"
            "C.ReadLock(0x10)\n"
            "B.ReadUnLock(0x10)\n"
            "A.ReadUnLock(0x10)\n");
}

TEST_F(ProcessLoopTest, AFailedWriteLockUnlocksEverything) {
  Build(2, {0x80, 2});
  // Without a context the output cannot become a texture.
  EXPECT_EQ(Run(0x40), 0);
  EXPECT_EQ(Join(log),
            "A.ReadTest(0x40)\n"
            "A.ReadLock(0x40)\n"
            "B.ReadLock(0x10)\n"
            "B.ReadUnLock(0x10)\n"
            "A.ReadUnLock(0x40)\n");
}

TEST_F(ProcessLoopTest, ANodeThatDoesNotBindIsNotDrawnAndEverythingIsUndone) {
  Build(1, {0xC0000, 1});
  op->Node().bindResult = 0;
  const int updates = output->GetUpdateId();
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(Join(log),
            "A.ReadTest(0xC0000)\n"
            "A.ReadLock(0x40000)\n"
            "node.Prepare(0, 0x40000, 10, 1)\n"
            "A.ReadBind(0x40000, 0, 1)\n"
            "node.Bind(0, 0x40000)\n"
            "A.ReadUnBind(0x40000, 0, 1)\n"
            "node.Finish(0, 0x40000, 10, 1)\n"
            "A.ReadUnLock(0x40000)\n");
  EXPECT_GT(output->GetUpdateId(), updates) << "the write was locked and unlocked";
}

// Drawn or not: the image is locked for writing and unlocked.
TEST_F(ProcessLoopTest, AStageCountsTwoUpdatesOfItsImage) {
  Build(1, {0xC0000, 1});
  EXPECT_EQ(Run(), 0xC7000);
  for (const int bindResult : {1, 0, 1}) {
    op->Node().bindResult = bindResult;
    const int updates = output->GetUpdateId();
    Run();
    EXPECT_EQ(output->GetUpdateId(), updates + 2) << bindResult;
  }
}

TEST_F(ProcessLoopTest, RunsEveryStageWithTheSizeOfTheInputsBefore) {
  Build(2, {0xC0000, 2});
  op->Node().stages.push_back({0xC0000, 0});
  op->Node().stages.push_back({0xC0000, 1, {1}});
  EXPECT_EQ(Run(), 0xC7000);
  EXPECT_THAT(log, testing::IsSupersetOf({"node.Draw(0, 0x40000, 20, 2)", "node.Draw(1, 0x40000, 20, 2)",
                                          "node.Draw(2, 0x40000, 10, 1)"}));
  EXPECT_EQ(output->GetWidth(), 10);
}

TEST_F(ProcessLoopTest, AFailedStageEndsTheLoop) {
  Build(1, {0xC0000, 1});
  op->Node().stages.push_back({0x40, 1});
  op->Node().stages.push_back({0xC0000, 1});
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(std::count(log.begin(), log.end(), "node.Draw(0, 0x40000, 10, 1)"), 1);
  EXPECT_EQ(log.back(), "A.ReadUnLock(0x40000)");
}

TEST_F(ProcessLoopTest, InputsCanBeReadInAnyOrderAndTwice) {
  Build(3, {0xC0000, 3, {3, 1, 1}});
  EXPECT_EQ(Run(), 0xC7000);
  EXPECT_THAT(log, testing::IsSupersetOf({"C.ReadBind(0x40000, 0, 3)", "A.ReadBind(0x40000, 1, 3)",
                                          "A.ReadBind(0x40000, 2, 3)"}));
  EXPECT_EQ(output->GetWidth(), 10);
}

TEST_F(ProcessLoopTest, TheOutputItselfCanBeAnInput) {
  Build(0, {0xC0000, 1, {0}});
  const unsigned char* const bits = output->GetImageBits();
  EXPECT_EQ(Run(), 0xC7000);
  EXPECT_EQ(output->GetWidth(), 1);
  EXPECT_EQ(output->GetImageBits(), bits);
}

struct ProviderRow {
  const char* name;
  int inputs;
  std::vector<int> next;
  int reserved;
};

class MissingProvider : public ProcessLoopTest, public testing::WithParamInterface<ProviderRow> {};

TEST_P(MissingProvider, FailsTheStage) {
  const ProviderRow& row = GetParam();
  Build(1, {0xC0000, row.inputs, row.next, row.reserved});
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(
      std::count_if(log.begin(), log.end(), [](auto& line) { return line.starts_with("A.ReadLock"); }),
      std::count_if(log.begin(), log.end(), [](auto& line) { return line.starts_with("A.ReadUnLock"); }));
  EXPECT_THAT(log, testing::Not(testing::Contains(testing::HasSubstr("node."))));
}

INSTANTIATE_TEST_SUITE_P(
    Indices, MissingProvider,
    testing::Values(ProviderRow{"NoSuchPlug", 2, {1, 2}, 0}, ProviderRow{"FirstIsMissing", 2, {2, 1}, 0},
                    ProviderRow{"BeyondTheTable", 1, {18}, 0}, ProviderRow{"FarBeyond", 1, {0x7FFFFFFF}, 0},
                    ProviderRow{"Negative", 1, {-1}, 0}, ProviderRow{"NoSuchOutput", 1, {1}, 5},
                    ProviderRow{"NegativeInputs", -1, {}, 0}, ProviderRow{"TooManyInputs", 18, {}, 0}),
    [](const auto& row) { return row.param.name; });

TEST_F(ProcessLoopTest, SeventeenInputsAreReadAndNoMore) {
  Build(20, {0xC0000, 17});
  EXPECT_EQ(Run(), 0xC7000);
  EXPECT_EQ(std::count_if(log.begin(), log.end(),
                          [](auto& line) { return line.find(".ReadLock") != std::string::npos; }),
            17);
  log.clear();
  op->Node().stages = {{0xC0000, 1, {18}}};
  EXPECT_EQ(Run(), 0) << "the eighteenth input is out of reach";
}

TEST_F(ProcessLoopTest, PassesTheContextOn) {
  Build(1, {0xC0000, 1});
  RFpContext* seen = nullptr;
  op->Node().draw = [&seen](RFpContext* drawn, int, int, int, int) { seen = drawn; };
  EXPECT_EQ(Run(), 0xC7000);
  EXPECT_EQ(seen, &context);
}

TEST_F(ProcessLoopTest, MaskArithmeticOfTheResult) {
  Build(1, {0x80000, 1});
  EXPECT_EQ(Run(), 0xC7000);
  EXPECT_THAT(log, testing::Contains("node.Draw(0, 0x80000, 10, 1)"));
  op->Node().stages = {{0x20000, 1}};
  EXPECT_EQ(Run(0x40), 0xC7000) << "texture to memory";
  op->Node().stages = {{0x4, 0}};
  EXPECT_EQ(Run(0x40), 0xC7000) << "nothing to memory";
}

// --- Locks: when a result is computed, and what of it is handed out.

class ReadLockTest : public ProcessLoopTest {
 protected:
  int Lock(int mask = 0x40000) {
    log.clear();
    return op->ReadLock(&context, mask);
  }
  bool Drew() const {
    return std::any_of(log.begin(), log.end(), [](auto& line) { return line.starts_with("node.Draw"); });
  }
};

TEST_F(ReadLockTest, MakesAnOutputImage) {
  Build(1, {0xC0000, 1}, false);
  EXPECT_EQ(op->ReadTest(&context, 0x40000), 0);
  EXPECT_EQ(Lock(), 0x40000);
  EXPECT_TRUE(Drew());
  RImage* const image = op->GetPlugImage(0, kOut);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->GetReferenceCount(), 1);
  EXPECT_EQ(image->GetWidth(), 10);
  EXPECT_EQ(op->ReadTest(&context, 0x40000), 0xC7000);
}

TEST_F(ReadLockTest, TheSecondLockComputesNothing) {
  Build(1, {0xC0000, 1});
  EXPECT_EQ(Lock(), 0x40000);
  EXPECT_TRUE(Drew());
  EXPECT_EQ(Lock(), 0x40000);
  EXPECT_EQ(Join(log), "");
  EXPECT_EQ(Lock(0xC7000), 0xC7000);
  EXPECT_EQ(Join(log), "");
}

TEST_F(ReadLockTest, AChangeOfTheNodeComputesOnce) {
  Build(1, {0xC0000, 1});
  Lock();
  ++op->Node().changes;
  Lock();
  EXPECT_TRUE(Drew());
  Lock();
  EXPECT_FALSE(Drew());
}

TEST_F(ReadLockTest, AChangeUpstreamComputesOnce) {
  Build(2, {0xC0000, 1});
  Lock();
  upstream[1]->updateId = 7;
  Lock();
  EXPECT_TRUE(Drew()) << "every input plug counts, read or not";
  Lock();
  EXPECT_FALSE(Drew());
}

TEST_F(ReadLockTest, IncUpdateIdComputesExactlyOnce) {
  Build(1, {0xC0000, 1});
  for (int i = 0; i < 3; ++i) {
    Lock();
    op->IncUpdateId();
    Lock();
    EXPECT_TRUE(Drew());
    Lock();
    EXPECT_FALSE(Drew());
    Lock();
    EXPECT_FALSE(Drew());
  }
}

TEST_F(ReadLockTest, AReplacedImageOnAPlugIsSeenAfterIncUpdateId) {
  op = Make<NodeOperator>(1, std::make_unique<FakeNode>(&log));
  PutImage(*op, 0, MakeImage(2, 1, {1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(Lock(), 0x40000);
  PutImage(*op, 0, MakeImage(1, 1, {9, 9, 9, 9}));
  Lock();
  EXPECT_FALSE(Drew());
  op->IncUpdateId();
  EXPECT_EQ(Lock(), 0x40000);
  EXPECT_EQ(Corner(*op->GetPlugImage(0, kOut), 1, 1), std::vector<unsigned char>(4, 9));
}

TEST_F(ReadLockTest, AFailedComputationIsTriedAgain) {
  Build(1, {0xC0000, 1});
  op->Node().bindResult = 0;
  EXPECT_EQ(Lock(), 0);
  EXPECT_EQ(Lock(), 0);
  EXPECT_THAT(log, testing::Contains("node.Bind(0, 0x40000)"));
  op->Node().bindResult = 1;
  EXPECT_EQ(Lock(), 0x40000);
  EXPECT_EQ(Lock(), 0x40000);
  EXPECT_FALSE(Drew());
}

TEST_F(ReadLockTest, DetachingTheTextureComputesIntoANewImage) {
  Build(1, {0xC0000, 1});
  Lock();
  const ImagePtr held(output);
  output->IncReferenceCount();
  op->ImageDetachTextureObject();
  EXPECT_EQ(op->GetPlugImage(0, kOut), nullptr);
  EXPECT_EQ(held->GetReferenceCount(), 1);
  EXPECT_EQ(Lock(), 0x40000);
  EXPECT_TRUE(Drew());
  EXPECT_NE(op->GetPlugImage(0, kOut), held.get());
  op->ImageDetachTextureObject();
  op->ImageDetachTextureObject();
}

// The sum of the changes upstream can be any number, also the one that could stand for no result.
TEST_F(ReadLockTest, AnyUpdateIdIsComputedOnce) {
  for (const unsigned changes : {0xFFFFFFFFU, 0x80000000U, 0x7FFFFFFFU, 0U}) {
    Build(1, {0xC0000, 1});
    op->Node().changes = changes;
    EXPECT_EQ(Lock(), 0x40000);
    EXPECT_TRUE(Drew());
    EXPECT_EQ(Lock(), 0x40000);
    EXPECT_FALSE(Drew()) << changes;
    op->ImageDetachTextureObject();
    EXPECT_EQ(Lock(), 0x40000);
    EXPECT_TRUE(Drew()) << changes;
    const ImagePtr grabbed(op->GrabPlugImage(0, kOut));
    EXPECT_EQ(Lock(), 0x40000);
    EXPECT_TRUE(Drew()) << changes;
    op.reset();
    upstream.clear();
  }
}

TEST_F(ReadLockTest, AnotherImageAfterDetachingIsNotTakenForTheResult) {
  Build(1, {0xC0000, 1});
  Lock();
  op->ImageDetachTextureObject();
  PutImage(*op, 0, MakeImage(3, 3), kOut);
  EXPECT_EQ(Lock(), 0x40000);
  EXPECT_TRUE(Drew());
  EXPECT_EQ(op->GetWidth(), 10);
}

TEST_F(ReadLockTest, ATakenOutputImageIsComputedAnew) {
  Build(1, {0xC0000, 1});
  Lock();
  const ImagePtr grabbed(op->GrabPlugImage(0, kOut));
  EXPECT_EQ(Lock(), 0x40000);
  EXPECT_TRUE(Drew());
}

TEST_F(ReadLockTest, WithoutAnOutputPlugFails) {
  const auto none = Make<NodeOperator>(1, std::make_unique<FakeNode>(), false);
  EXPECT_EQ(none->ReadLock(&context, 0x40000), 0);
  EXPECT_EQ(none->ReadTest(&context, 0x40000), 0);
  EXPECT_EQ(none->ReadBind(&context, 0x40000, 0, 1), 0);
  EXPECT_EQ(none->ReadUnBind(&context, 0x40000, 0, 1), 0);
}

TEST_F(ReadLockTest, OfAFormThatCannotBeReachedFailsButKeepsTheResult) {
  Build(1, {0xC0000, 1});
  EXPECT_EQ(Lock(0x40), 0) << "no texture without a context";
  EXPECT_TRUE(Drew());
  EXPECT_EQ(Lock(0x40000), 0x40000);
  EXPECT_FALSE(Drew());
  EXPECT_FALSE(op->ImageTextureDrawCurrent(0x10));
  EXPECT_TRUE(op->ImageTextureDrawCurrent(0x40000));
  EXPECT_EQ(op->ImageTextureGetObject(), 0U);
}

TEST_F(ReadLockTest, TheWritingSideAnswersItsMask) {
  Build(0, {0xC0000, 0});
  EXPECT_EQ(op->WriteLock(&context, 0x1234, 5, 6), 0x1234);
  EXPECT_EQ(op->WriteUnLock(&context, 0x1234, 0), 0x1234);
  EXPECT_EQ(op->ReadUnLock(&context, 0x1234), 0x1234);
}

TEST_F(ReadLockTest, ACycleFails) {
  const auto first = Make<NodeOperator>(1, std::make_unique<FakeNode>(&log));
  const auto second = Make<NodeOperator>(1, std::make_unique<FakeNode>(&log));
  first->SetPlugInputOperator(0, kIn, second.get());
  second->SetPlugInputOperator(0, kIn, first.get());
  EXPECT_EQ(first->ReadLock(&context, 0x40000), 0);
  EXPECT_EQ(second->ReadLock(&context, 0x40000), 0);
  EXPECT_EQ(Join(log), "");
  second->SetPlugInputOperator(0, kIn, second.get());
  EXPECT_EQ(first->ReadLock(&context, 0x40000), 0);
  // The cycle is not remembered.
  second->SetPlugInputOperator(0, kIn, nullptr);
  PutImage(*second, 0, MakeImage(1, 1, {4, 3, 2, 1}));
  EXPECT_EQ(first->ReadLock(&context, 0x40000), 0x40000);
  EXPECT_EQ(Corner(*first->GetPlugImage(0, kOut), 1, 1), (std::vector<unsigned char>{4, 3, 2, 1}));
}

TEST_F(ReadLockTest, LongChainsAreEvaluatedFromTheFarEnd) {
  constexpr int kLength = 500;
  std::vector<RDestroyPtr<NodeOperator>> chain;
  for (int i = 0; i < kLength; ++i) {
    chain.push_back(Make<NodeOperator>(1, std::make_unique<FakeNode>(&log)));
    if (i > 0) chain.back()->SetPlugInputOperator(0, kIn, chain[chain.size() - 2].get());
  }
  PutImage(*chain[0], 0, MakeImage(2, 1, {1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(chain.back()->ReadLock(&context, 0x40000), 0x40000);
  EXPECT_EQ(std::count(log.begin(), log.end(), "node.Draw(0, 0x40000, 2, 1)"), kLength);
  EXPECT_EQ(Corner(*chain.back()->GetPlugImage(0, kOut), 2, 1),
            (std::vector<unsigned char>{1, 2, 3, 4, 5, 6, 7, 8}));
  log.clear();
  ++chain[kLength - 3]->Node().changes;
  EXPECT_EQ(chain.back()->ReadLock(&context, 0x40000), 0x40000);
  EXPECT_EQ(std::count(log.begin(), log.end(), "node.Draw(0, 0x40000, 2, 1)"), 3)
      << "a change is computed once by each operator that depends on it";
}

TEST_F(ReadLockTest, ASharedOperatorIsComputedOnce) {
  const auto shared = Make<NodeOperator>(1, std::make_unique<FakeNode>(&log));
  PutImage(*shared, 0, MakeImage(3, 1));
  auto node = std::make_unique<FakeNode>();
  node->stages = {{0xC0000, 2}};
  const auto both = Make<NodeOperator>(2, std::move(node));
  both->SetPlugInputOperator(0, kIn, shared.get());
  both->SetPlugInputOperator(1, kIn, shared.get());
  EXPECT_EQ(both->ReadLock(&context, 0x40000), 0x40000);
  EXPECT_EQ(std::count(log.begin(), log.end(), "node.Draw(0, 0x40000, 3, 1)"), 1);
}

}  // namespace
}  // namespace test
